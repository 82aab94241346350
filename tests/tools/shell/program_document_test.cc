// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/shell/program_document_test.cc: every example in docs/program.md does what the document says.
//
// DESCRIPTION: an example is a block whose lines begin with `fibdb> ` (run at a terminal of 120 columns) or `$ ` (run
// by a shell), each followed by its answer. A comment in front of the block, `<!-- before: COMMAND; COMMAND -->`, makes
// the state that it begins with; `<!-- not run: WHY -->` takes it out. The files that examples name are in
// tests/tools/kept/document. In an answer "..." stands for anything, a line of it alone for any lines.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "tests/tools/masked.h"
#include "tests/tools/run_program.h"
#include "tests/tools/scratch_folder.h"

namespace fibdb::program {
namespace {

namespace fs = std::filesystem;

constexpr size_t kLeastExamples = 60;
constexpr size_t kMostNotRun = 7;

const fs::path kKept = FIBDB_KEPT_FOLDER;

std::string documentText() { return ScratchFolder::read(kKept / "../../../docs/program.md"); }

struct Step {
  std::string command;
  std::vector<std::string> answer;
  size_t line;  // of the document
};

struct Example {
  bool prompt;  // else a shell
  Args before;
  std::vector<Step> steps;
};

Args splitAt(const std::string& text, const std::string& separator) {
  Args parts;
  size_t begin = 0;
  for (size_t end = text.find(separator); end != std::string::npos; end = text.find(separator, begin)) {
    parts.push_back(text.substr(begin, end - begin));
    begin = end + separator.size();
  }
  parts.push_back(text.substr(begin));
  return parts;
}

struct Document {
  std::vector<Example> examples;
  size_t notRun = 0;
};

// What stands between a beginning and " -->", if the line has both.
std::optional<std::string> comment(const std::string& line, const std::string& beginning) {
  if (!line.starts_with(beginning) || !line.ends_with(" -->")) return std::nullopt;
  return line.substr(beginning.size(), line.size() - beginning.size() - 4);
}

Document readDocument() {
  Document document;
  const auto lines = linesOf(documentText());
  for (size_t i = 0; i + 1 < lines.size(); ++i) {
    if (lines[i] != "```") continue;
    const bool prompt = lines[i + 1].starts_with("fibdb> ");
    const std::string mark = prompt ? "fibdb> " : "$ ";
    const auto before = i == 0 ? std::nullopt : comment(lines[i - 1], "<!-- before: ");
    const bool runs = i == 0 || !comment(lines[i - 1], "<!-- not run: ");
    Example example{prompt, before ? splitAt(*before, "; ") : Args(), {}};
    const bool isExample = lines[i + 1].starts_with(mark);
    for (++i; i < lines.size() && lines[i] != "```"; ++i) {
      if (lines[i].starts_with(mark)) {
        example.steps.push_back({lines[i].substr(mark.size()), {}, i + 1});
      } else if (!example.steps.empty()) {
        example.steps.back().answer.push_back(lines[i]);
      }
    }
    if (isExample && runs) document.examples.push_back(example);
    if (!runs) ++document.notRun;
  }
  return document;
}

bool lineFits(const std::string& expected, const std::string& line) {
  if (expected == line) return true;
  const Args parts = splitAt(expected, "...");
  if (parts.size() == 1 || !line.starts_with(parts.front())) return false;
  size_t at = 0;
  for (const std::string& part : parts) {
    at = line.find(part, at);
    if (at == std::string::npos) return false;
    at += part.size();
  }
  return parts.back().empty() || line.ends_with(parts.back());
}

bool fits(std::span<const std::string> expected, std::span<const std::string> lines) {
  if (expected.empty()) return lines.empty();
  const std::string& line = expected.front();
  if (line.ends_with("...") && line.find_first_not_of(' ') == line.size() - 3) {
    for (size_t skipped = 0; skipped <= lines.size(); ++skipped) {
      if (fits(expected.subspan(1), lines.subspan(skipped))) return true;
    }
    return false;
  }
  return !lines.empty() && lineFits(line, lines.front()) && fits(expected.subspan(1), lines.subspan(1));
}

class Documented : public testing::Test {
 protected:
  Documented() {
    setenv("FIBDB_SEED", "1", 1);
    const std::string program = fs::path(FIBDB_PROGRAM_FILE).parent_path();
    setenv("PATH", (program + ":" + before_).c_str(), 1);
  }
  ~Documented() override {
    fs::current_path(folderBefore_);
    unsetenv("FIBDB_SEED");
    setenv("PATH", before_.c_str(), 1);
  }

  // All of them, in a folder that has the document's files.
  static std::string atTerminal(const Args& lines) {
    const ScratchFolder folder;
    enter(folder);
    Args args = {"-k", "-c", ""};
    for (const std::string& arg : commands(lines)) args.push_back(arg);
    RunningProgram program(RunningProgram::On::kTerminal, args, kNoHome, {.columns = 120, .locale = "C.UTF-8"});
    return masked(program.finish().out);
  }

  static std::string inShell(const std::string& command) {
    const ScratchFolder folder;
    enter(folder);
    const std::string line = "{ " + command + "\n} 2>&1";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> shell(popen(line.c_str(), "r"), pclose);
    std::string text;
    for (int c = std::fgetc(shell.get()); c != EOF; c = std::fgetc(shell.get())) text += static_cast<char>(c);
    return masked(text);
  }

  static void check(const Step& step, const std::string& text) {
    std::string expected;
    for (const std::string& line : step.answer) expected += line + '\n';
    expected = maskedFor(step.command, expected);
    const std::string actual = maskedFor(step.command, text);
    EXPECT_TRUE(fits(linesOf(expected), linesOf(actual)))
        << "docs/program.md:" << step.line << ": " << step.command << "\nsays:\n"
        << expected << "\nis:\n"
        << actual;
  }

 private:
  static void enter(const ScratchFolder& folder) {
    for (const auto& file : fs::directory_iterator(kKept / "document")) {
      fs::copy(file.path(), folder.path(file.path().filename()));
    }
    fs::current_path(folder.path(""));
  }

  const std::string before_ = std::getenv("PATH");
  const fs::path folderBefore_ = fs::current_path();
};

TEST_F(Documented, every_example_answers_as_the_document_says) {
  const Document document = readDocument();
  size_t steps = 0;
  for (const Example& example : document.examples) {
    Args lines = example.before;
    std::string before = example.prompt ? atTerminal(lines) : "";
    for (const Step& step : example.steps) {
      ++steps;
      if (!example.prompt) {
        check(step, inShell(step.command));
        continue;
      }
      lines.push_back(step.command);
      const std::string all = atTerminal(lines);
      ASSERT_TRUE(all.starts_with(before)) << step.command << ": " << all;
      check(step, all.substr(before.size()));
      before = all;
    }
  }
  EXPECT_GE(steps, kLeastExamples);
  EXPECT_LE(document.notRun, kMostNotRun);
}

// `show WORD` and the other four are described once for all tables.
TEST_F(Documented, every_command_is_there) {
  const std::string text = documentText();
  for (const auto& row : jsonAnswers({"help"})) {
    const std::string usage = row.at("command").get<std::string>();
    std::string words = usage.substr(0, usage.find_first_of("[ABCDEFGHIJKLMNOPQRSTUVWXYZ|."));
    words.erase(words.find_last_not_of(' ') + 1);
    const std::string table = words.substr(words.find(' ') + 1);
    const bool there = text.find(words) != std::string::npos || text.find("### " + table + ' ') != std::string::npos ||
                       text.find(", " + table + ' ') != std::string::npos;
    EXPECT_TRUE(there) << usage;
  }
}

}  // namespace
}  // namespace fibdb::program
