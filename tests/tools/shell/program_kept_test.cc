// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/shell/program_kept_test.cc: every command in every form, on a pipe and on terminals, as it was before.
//
// DESCRIPTION: kept/commands.txt has the commands, each of which is run by a program of its own that has loaded the
// kept configuration and routes before. What differs from run to run is masked. `./dev kept` writes the answers anew;
// what they are then goes in with the change that made them so. Where everything takes many times as long, each command
// is run in one of the forms, in turn.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "tests/support/pace.h"
#include "tests/tools/masked.h"
#include "tests/tools/run_program.h"
#include "tests/tools/scratch_folder.h"

namespace fibdb::program {
namespace {

namespace fs = std::filesystem;

const fs::path kKept = FIBDB_KEPT_FOLDER;

std::vector<std::string> keptCommands() {
  std::vector<std::string> commands = linesOf(ScratchFolder::read(kKept / "commands.txt"));
  std::erase_if(commands, [](const std::string& line) { return line.empty() || line.starts_with('#'); });
  return commands;
}

struct Mode {
  const char* name;
  Args options;
  unsigned short columns;  // 0: on pipes
};

const Mode kModes[] = {
    {"pipe-table", {}, 0},
    {"pipe-vertical", {"--format", "vertical"}, 0},
    {"pipe-csv", {"--format", "csv"}, 0},
    {"pipe-json", {"--format", "json"}, 0},
    {"pipe-jsonl", {"--json"}, 0},
    {"terminal-60", {}, 60},
    {"terminal-80", {}, 80},
    {"terminal-200", {}, 200},
};

// What was answered to a command, and in which line of the file.
struct Answer {
  std::vector<std::string> lines;
  size_t line;
};

// The kept answers to these commands, in their order; those behind a command that was not kept are missing.
std::vector<Answer> keptAnswers(const fs::path& file, const std::vector<std::string>& commands) {
  std::vector<Answer> answers;
  size_t number = 0;
  for (const std::string& line : linesOf(ScratchFolder::read(file))) {
    ++number;
    const bool isNext = answers.size() < commands.size() && line == "$ " + commands[answers.size()];
    if (isNext) answers.push_back({{}, number + 1});
    if (!isNext && !answers.empty()) answers.back().lines.push_back(line);
  }
  return answers;
}

// A folder to work in, with the files that are loaded.
class Kept : public testing::TestWithParam<size_t> {
 protected:
  static const Mode& mode() { return kModes[GetParam()]; }
  // Whether the command with this number is run in this mode.
  static bool isAsked(size_t command) { return !pace::kIsSlow || command % std::size(kModes) == GetParam(); }

  Kept() {
    for (const char* file : {"setup.conf", "setup.routes"}) fs::copy(kKept / file, folder_.path(file));
    fs::current_path(folder_.path(""));
    setenv("FIBDB_SEED", "1", 1);
  }
  ~Kept() override {
    fs::current_path(before_);
    unsetenv("FIBDB_SEED");
  }

  std::string answerTo(const std::vector<std::string>& lines) const {
    Args args = mode().options;
    for (const std::string& arg : commands(lines)) args.push_back(arg);
    if (mode().columns == 0) {
      const Outcome outcome = runProgram(args);
      return masked(outcome.out + (outcome.err.empty() ? "" : "--- errors\n" + outcome.err));
    }
    RunningProgram program(RunningProgram::On::kTerminal, args, kNoHome, {.columns = mode().columns});
    return masked(program.finish().out);
  }

  // Of the command alone: what the loads before it say is taken away.
  std::string answerOf(const std::string& command) {
    if (loaded_.empty()) loaded_ = answerTo({kLoads[0], kLoads[1]});
    std::string answer = answerTo({kLoads[0], kLoads[1], command});
    const size_t at = answer.find(loaded_);
    if (at != std::string::npos) answer.erase(at, loaded_.size());
    return maskedFor(command, answer);
  }

 private:
  static constexpr const char* kLoads[] = {"load config setup.conf", "load routes setup.routes"};

  const fs::path before_ = fs::current_path();
  const ScratchFolder folder_;
  std::string loaded_;  // what loading is answered with
};

size_t columnsOf(const std::string& line) {
  return static_cast<size_t>(std::count_if(line.begin(), line.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

void expectToFit(const std::string& command, const std::string& answer, size_t columns) {
  for (const std::string& line : linesOf(answer)) EXPECT_LE(columnsOf(line), columns) << command;
}

TEST_P(Kept, answers_are_as_they_were) {
  const fs::path file = kKept / (std::string(mode().name) + ".out");
  const bool renews = std::getenv("FIBDB_RENEW_KEPT") != nullptr;
  const auto commands = keptCommands();
  const auto kept = keptAnswers(file, commands);
  std::ofstream renewed;
  if (renews) {
    renewed.open(file, std::ios::binary);
  } else {
    ASSERT_EQ(kept.size(), commands.size()) << file << " knows fewer commands; ./dev kept writes the answers anew";
  }
  for (size_t i = 0; i < commands.size(); ++i) {
    if (!isAsked(i)) continue;
    const std::string answer = answerOf(commands[i]);
    const bool data = commands[i].starts_with("save");
    if (mode().columns != 0 && !data) expectToFit(commands[i], answer, mode().columns);
    if (renews) {
      renewed << "$ " << commands[i] << '\n' << answer << '\n';
      continue;
    }
    const auto lines = linesOf(answer + '\n');
    const auto [was, is] = std::ranges::mismatch(kept[i].lines, lines);
    if (was == kept[i].lines.end() && is == lines.end()) continue;
    ADD_FAILURE() << commands[i] << '\n'
                  << file << ':' << static_cast<size_t>(was - kept[i].lines.begin()) + kept[i].line
                  << ": was: " << (was == kept[i].lines.end() ? "(the end)" : *was)
                  << "\nis: " << (is == lines.end() ? "(the end)" : *is) << "\n./dev kept writes the answers anew";
  }
}

INSTANTIATE_TEST_SUITE_P(Program, Kept, testing::Range(size_t{0}, std::size(kModes)), [](const auto& info) {
  std::string name = kModes[info.param].name;
  std::ranges::replace(name, '-', '_');
  return name;
});

// The words of a command at the beginning of its usage.
std::string wordsOf(const std::string& usage) {
  std::string words;
  std::istringstream parts(usage);
  for (std::string part; parts >> part && std::islower(static_cast<unsigned char>(part[0])) != 0;) {
    words += (words.empty() ? "" : " ") + part;
  }
  return words;
}

TEST(KeptCommands, have_every_command_of_the_program) {
  const auto kept = keptCommands();
  for (const auto& row : jsonAnswers({"help"})) {
    const std::string words = wordsOf(row.at("command").get<std::string>());
    const bool there = std::any_of(kept.begin(), kept.end(),
                                   [&](const std::string& line) { return (line + ' ').starts_with(words + ' '); });
    EXPECT_TRUE(there) << words << ": not in commands.txt";
  }
}

}  // namespace
}  // namespace fibdb::program
