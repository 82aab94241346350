// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/shell/program_watch_test.cc: a command again and again, the calls that commands make, and what shells ask
// to complete a line.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "tests/tools/run_program.h"

namespace fibdb::program {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::vector<std::string> linesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// The functions that a run says it has called, in order.
std::vector<std::string> callsOf(const std::string& errors) {
  std::vector<std::string> calls;
  for (const std::string& line : linesOf(errors)) {
    const size_t begin = std::string("fibdb: ").size();
    calls.push_back(line.substr(begin, line.find_first_of(":,", begin) - begin));
  }
  return calls;
}

TEST(Watch, runs_a_command_as_often_as_it_is_told) {
  const auto answers = jsonAnswers({"add nexthop 1", "watch count nhp every 1 times 2"});
  ASSERT_EQ(answers.size(), 5u);
  EXPECT_EQ(answers[1].at("watched"), "count nhp");
  EXPECT_EQ(answers[2], (nlohmann::json{{"table", "nhp"}, {"records", 1}}));
  EXPECT_EQ(answers[3].at("watched"), "count nhp");
  EXPECT_EQ(answers[4], answers[2]);
}

TEST(Watch, marks_on_a_terminal_what_differs_from_the_answer_before) {
  const Args args = {"watch", "add", "route", "10.0.0.0/8", "every", "1", "times", "2"};
  RunningProgram program(RunningProgram::On::kTerminal, args);
  const Outcome outcome = program.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("added 10.0.0.0/8 group 0"));
  EXPECT_THAT(outcome.out, HasSubstr("\033[7mreplaced\033[27m 10.0.0.0/8 group 0"));
}

TEST(Watch, ends_with_the_failure_of_its_command) {
  const Outcome outcome = runProgram({"watch", "show", "route", "8.8.8.8", "every", "1"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "fibdb: no route covers 8.8.8.8\n");
}

TEST(Watch, is_ended_by_an_interrupt_while_it_waits) {
  RunningProgram program(RunningProgram::On::kPipes, {"watch", "count", "nhp", "every", "3600"});
  ASSERT_TRUE(program.waitFor("every 3600 s: count nhp\n0\n"));
  program.interrupt();
  EXPECT_EQ(program.finish().status, 130);
}

TEST(Watch, refuses_what_is_no_command_or_no_number) {
  EXPECT_EQ(runProgram({"watch"}).status, 2);
  EXPECT_THAT(runProgram({"watch", "cuont", "nhp"}).err, HasSubstr("did you mean \"count\"?"));
  EXPECT_THAT(runProgram({"watch", "count", "nhp", "every", "x"}).err, HasSubstr("\"x\" is not a number up to 86400"));
  EXPECT_THAT(runProgram({"watch", "count", "nhp", "times", "0"}).err, HasSubstr("times 0"));
}

TEST(Trace, shows_the_calls_between_on_and_off_with_answer_and_time) {
  const Outcome outcome = runProgram(commands(
      {"add nexthop 7", "trace on", "add nexthop 8", "add route 10.0.0.0/8", "trace off", "delete nexthop 8"}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(callsOf(outcome.err),
              ElementsAre("FIB_DB_ReadNhp", "FIB_DB_WriteNhp", "FIB_DB_CreateAsyncConnect",
                          "FIB_DB_GetIp4forwardBatchAsyncObject", "FIB_DB_BatchAddOperWriteIp4forward",
                          "FIB_DB_BatchExecuteAsync", "FIB_DB_GetIp4forwardBatchAsyncObject", "fibdb_engine_drain"));
  EXPECT_THAT(outcome.err, ContainsRegex("^fibdb: FIB_DB_ReadNhp: 60, [0-9.]+ us\n"));
  EXPECT_THAT(outcome.err, ContainsRegex("\nfibdb: FIB_DB_WriteNhp: 0, [0-9.]+ us\n"));
  EXPECT_THAT(outcome.out,
              HasSubstr("calls are shown\nadded next hop 8\nadded 10.0.0.0/8 group 0\ncalls are not shown"));
}

// The functions that a table's file puts together are no exported ones, what they call is.
TEST(Trace, shows_exported_functions_and_no_others) {
  const Outcome outcome = runProgram(
      commands({"trace on", "add ecmp 0 hash_mode 1", "set ecmp 0 stateful_num 3", "show ecmp", "add group member 1 2",
                "show group 1", "show vrf", "count nexthop", "show tables", "delete ecmp 0"}));
  const std::vector<std::string> calls = callsOf(outcome.err);
  EXPECT_GT(calls.size(), 50u);
  for (const std::string& call : calls) {
    EXPECT_THAT(call, testing::MatchesRegex("(FIB_DB_|VRF_|fibdb_engine_)[A-Za-z0-9_]+"));
  }
  for (const char* name : {"FIB_DB_IsEcmpCfgExist", "FIB_DB_SetEcmpHashMode", "FIB_DB_WriteEcmpCfg",
                           "FIB_DB_GetNextEcmpCfg", "FIB_DB_CreateNhpGrpNodeIteratorByNhpGrpId",
                           "FIB_DB_ReleaseVrfIterator", "FIB_DB_RemoveEcmpCfg", "fibdb_engine_table_stats"}) {
    EXPECT_THAT(calls, testing::Contains(name));
  }
}

TEST(Trace, is_a_log_line_in_json) {
  const Outcome outcome = runProgram({"--json", "-c", "trace on", "-c", "add nexthop 7"});
  EXPECT_EQ(jsonLines(outcome.out).at(0), (nlohmann::json{{"trace", true}}));
  EXPECT_THAT(jsonLines(outcome.err).at(0).at("log"), HasSubstr("FIB_DB_ReadNhp: 60, "));
  EXPECT_EQ(runProgram({"trace"}).status, 2);
  EXPECT_EQ(runProgram({"trace", "maybe"}).status, 2);
}

TEST(Completion, prints_what_may_stand_in_the_place_of_the_last_word) {
  const auto offered = [](const Args& words) {
    Args args = {"--complete", "--"};
    args.insert(args.end(), words.begin(), words.end());
    const Outcome outcome = runProgram(args);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    return linesOf(outcome.out);
  };
  EXPECT_THAT(offered({"expl"}), ElementsAre("explain"));
  EXPECT_THAT(offered({"show", "e"}), ElementsAre("ecmp", "engine", "errors"));
  EXPECT_THAT(offered({"show", "route", "where", "prefix", "cov"}), ElementsAre("covering"));
  EXPECT_THAT(offered({"count", "nhp_ex"}), ElementsAre("nhp_ext", "nhp_ext_label"));
  EXPECT_THAT(offered({"no", "such"}), IsEmpty());
  EXPECT_THAT(offered({}), testing::Contains("show"));
}

}  // namespace
}  // namespace fibdb::program
