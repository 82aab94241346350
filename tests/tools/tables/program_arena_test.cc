// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/tables/program_arena_test.cc: programs that share their tables.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/emulator.h"
#include "tests/tools/run_program.h"

namespace fibdb::program {
namespace {

using testing::HasSubstr;

class ProgramArena : public testing::Test {
 protected:
  ~ProgramArena() override { std::filesystem::remove(file()); }

  std::string file() const { return "/dev/shm/fibdb." + name_; }
  Outcome inArena(const Args& lines) const {
    Args args = commands(lines);
    args.insert(args.begin(), {"--arena", name_});
    return runProgram(args);
  }
  std::vector<nlohmann::json> jsonInArena(const Args& lines) const {
    Args args = commands(lines);
    args.insert(args.begin(), {"--json", "--arena", name_});
    return jsonLines(runProgram(args).out);
  }

  const std::string name_ = "program-test-" + std::to_string(getpid());
};

TEST_F(ProgramArena, what_one_run_wrote_the_next_finds) {
  EXPECT_EQ(inArena({"add route 10.0.0.0/8 group 3"}).status, 0);
  EXPECT_EQ(jsonInArena({"show route 10.1.2.3"}).at(0).at("group"), 3);
  EXPECT_EQ(inArena({"delete route 10.0.0.0/8"}).status, 0);
  EXPECT_THAT(inArena({"show route 10.1.2.3"}).err, HasSubstr("no route covers"));
}

TEST_F(ProgramArena, is_joined_for_reading_until_a_command_writes) {
  EXPECT_THAT(inArena({"show tables"}).err, HasSubstr(file() + ": No such file or directory"));
  EXPECT_FALSE(std::filesystem::exists(file())) << "to look makes none";
  const Args asked = {"show processes", "add route 10.0.0.0/8", "show processes"};
  EXPECT_EQ(inArena({"add route 11.0.0.0/8"}).status, 0);
  const auto answers = jsonInArena(asked);
  EXPECT_EQ(answers.at(0).at("mode"), "reads");
  EXPECT_EQ(answers.at(2).at("mode"), "writes");
  EXPECT_EQ(answers.at(2).at("program"), emulation::nameInSystem("fibdb"));
}

TEST_F(ProgramArena, is_listed_and_not_removed_while_somebody_is_in_it) {
  RunningProgram other(RunningProgram::On::kPipes, {"--arena", name_});
  other.type("add route 10.0.0.0/8\n");
  ASSERT_TRUE(other.waitFor("added 10.0.0.0/8"));
  const Outcome refused = runProgram({"arena", "remove", name_});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr("processes are in arena " + name_ + ": "));
  EXPECT_THAT(runProgram({"arena", "list"}).out, HasSubstr(name_));
  other.closeInput();
  EXPECT_EQ(other.finish().status, 0);
  EXPECT_EQ(runProgram({"arena", "remove", name_}).status, 0);
  EXPECT_FALSE(std::filesystem::exists(file()));
  EXPECT_THAT(runProgram({"arena", "remove", name_}).err, HasSubstr("cannot be opened"));
}

TEST_F(ProgramArena, a_file_that_replaces_removes_what_it_does_not_have) {
  EXPECT_EQ(
      inArena({"add route 10.0.0.0/8 group 1", "add route 11.0.0.0/8 group 1", "add route 12.0.0.0/8 group 1"}).status,
      0);
  const std::string routes = "10.0.0.0/8 group 1\n11.0.0.0/8 group 2\n13.0.0.0/8 group 1\n";
  const Args load = {"--json", "--arena", name_, "-c", "load routes - replace"};
  const auto answer = jsonLines(runProgram(load, routes).out).at(0);
  EXPECT_EQ(answer.at("kept"), 1);
  EXPECT_EQ(answer.at("changed"), 1);
  EXPECT_EQ(answer.at("new"), 1);
  EXPECT_EQ(answer.at("removed"), 1);
  EXPECT_THAT(inArena({"show route 12.0.0.0/8"}).err, HasSubstr("no route 12.0.0.0/8"));
  // A bad line, and nothing goes.
  EXPECT_EQ(runProgram(load, "10.0.0.0/8 group 1\nrubbish\n").status, 1);
  EXPECT_EQ(jsonInArena({"show route 13.0.0.0/8"}).at(0).at("group"), 1);
}

}  // namespace
}  // namespace fibdb::program
