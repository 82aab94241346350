// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/fuzz/command_fuzz.cc: any lines as commands, and as the words of a command line.
//
// Commands that read or write a file, or take their time, are only completed, and run never. A line of words that is
// answered or refused leaves nothing behind but records.
#include <iostream>
#include <sstream>

#include "tests/fuzz/program_input.h"
#include "tools/fibdb/options.h"
#include "tools/fibdb/routes/routes.h"
#include "tools/fibdb/shell/shell.h"

namespace {

using namespace fibdb;
using program::Status;

bool mayRun(const program::Words& words) {
  try {
    const program::Command& command = *program::findCommand(words).command;
    return command.arguments.find("FILE") == std::string_view::npos && !command.words.starts_with("bench");
  } catch (const program::Failure&) {
    return true;  // what is no command is for the shell to refuse
  }
}

program::Words wordsOf(const std::string& line) {
  try {
    return program::splitWords(line);
  } catch (const program::Failure&) {
    return {};  // a quote that is not closed
  }
}

void runLines(std::string_view text, bool json) {
  test::startAnew();
  test::QuietOutput quiet(json);
  program::Session session{quiet.output(), {}};
  program::Shell shell(session, true);
  std::istringstream lines{std::string(text)};
  for (std::string line; std::getline(lines, line);) {
    program::Words words = wordsOf(line);
    if (words.empty() || mayRun(words)) {
      const Status status = shell.run(line, {});
      test::require(status == Status::kOk || status == Status::kFailed || status == Status::kUsage, "another status");
    }
    if (words.empty()) continue;
    for (const program::Choice& choice : program::choices(words)) {
      test::require(choice.word.starts_with(words.back()), "a completion of other words");
    }
  }
  program::closeConnection();
}

void parseOptions(std::string_view text) {
  std::vector<std::string> words{"fibdb"};
  std::istringstream lines{std::string(text)};
  for (std::string line; std::getline(lines, line);) words.push_back(line.substr(0, line.find('\0')));
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const auto parsed = program::parseOptions(static_cast<int>(words.size()), arguments.data());
  if (const auto* status = std::get_if<Status>(&parsed)) {
    test::require(*status == Status::kOk || *status == Status::kUsage, "options end with another status");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Help and refusals of options are written to the standard streams.
  static test::Nowhere nowhere;
  std::cout.rdbuf(&nowhere);
  std::cerr.rdbuf(&nowhere);
  const std::string_view text = test::textOf(data, size);
  if (text.starts_with('-')) {
    parseOptions(text);
  } else {
    runLines(text, text.starts_with('{'));
  }
  return 0;
}
