// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/shell/program_prompt_test.cc: the program on a terminal: prompt, completion, history, Ctrl-C.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "tests/tools/run_program.h"
#include "tests/tools/scratch_folder.h"

namespace fibdb::program {
namespace {

using testing::HasSubstr;
using On = RunningProgram::On;

constexpr const char* kPrompt = "fibdb> ";

TEST(Prompt, answers_commands_until_quit_and_keeps_going_after_failures) {
  RunningProgram program(On::kTerminal, {});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("bogus\n");
  ASSERT_TRUE(program.waitFor("unknown command \"bogus\""));
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("add nexthop 5\n");
  ASSERT_TRUE(program.waitFor("added next hop 5\r\n"));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0);
}

TEST(Prompt, end_of_input_leaves) {
  RunningProgram program(On::kTerminal, {});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("\x04");
  EXPECT_EQ(program.finish().status, 0);
}

TEST(Prompt, an_interrupt_takes_the_line_back) {
  RunningProgram program(On::kTerminal, {});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("add nexthop 5");
  ASSERT_TRUE(program.waitFor("nexthop 5"));
  program.type("\x03");
  ASSERT_TRUE(program.waitFor("^C"));
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("show nexthop\n");
  EXPECT_TRUE(program.waitFor("no next hops\r\n"));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0);
}

TEST(Prompt, tab_completes_commands_and_tables) {
  RunningProgram program(On::kTerminal, {});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("cou\tip4\t\n");
  EXPECT_TRUE(program.waitFor("\n0\r\n"));
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("show e\t");
  EXPECT_TRUE(program.waitFor("engine  errors"));
  program.type("\x03");
  ASSERT_TRUE(program.waitFor("^C"));  // the terminal drops what is typed before
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0);
}

TEST(Prompt, history_is_kept_from_one_run_to_the_next) {
  const ScratchFolder home;
  for (const char* line : {"count nhp\n", "\x1b[A\n"}) {  // the second run recalls with the up arrow
    RunningProgram program(On::kTerminal, {}, home.path(""));
    ASSERT_TRUE(program.waitFor(kPrompt));
    program.type(line);
    EXPECT_TRUE(program.waitFor("\n0\r\n"));
    ASSERT_TRUE(program.waitFor(kPrompt));
    program.type("\x04");
    EXPECT_EQ(program.finish().status, 0);
  }
  EXPECT_THAT(ScratchFolder::read(home.path("fibdb_history")), HasSubstr("count"));
}

TEST(Prompt, without_a_home_answers_all_the_same_and_leaves_nothing_behind) {
  RunningProgram program(On::kTerminal, {});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("count nhp\n");
  EXPECT_TRUE(program.waitFor("\n0\r\n"));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0);
  EXPECT_FALSE(std::filesystem::exists(kNoHome)) << "a home that can be made is left behind by every test";
}

TEST(Prompt, interactive_goes_on_to_the_prompt_after_the_commands) {
  RunningProgram program(On::kTerminal, {"-i", "-c", "add nexthop 5"});
  ASSERT_TRUE(program.waitFor("added next hop 5"));
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0);
  EXPECT_EQ(runProgram({"-i", "-c", "count nhp"}).out, "0\n") << "no prompt without a terminal";
}

TEST(Prompt, an_interrupted_load_keeps_its_routes_and_returns_to_the_prompt) {
  const ScratchFolder folder;
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  RunningProgram program(On::kTerminal, {});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("load routes " + fifo + "\n");
  std::ofstream routes(fifo);  // opens when the program reads
  for (int i = 0; i < 20000; ++i) routes << "10." << i / 256 << '.' << i % 256 << ".0/24\n";
  routes.flush();
  program.interrupt();
  ASSERT_TRUE(program.waitFor("interrupted: "));
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("show route 10.0.0.1\n");
  EXPECT_TRUE(program.waitFor("10.0.0.1 is covered by 10.0.0.0/24"));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0);
}

TEST(Terminal, a_long_load_draws_progress_and_takes_it_away) {
  const ScratchFolder folder;
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  RunningProgram program(On::kTerminal, {"-c", "load routes " + fifo});
  std::ofstream routes(fifo);
  bool drawn = false;
  // A line appears with the first look at the clock after its pause; routes are fed until it does.
  for (int i = 0; i < 200 && !drawn; ++i) {
    for (int j = 0; j < 4096; ++j) routes << "10.0.0.0/8\n";
    routes.flush();
    drawn = program.hasWritten("loading");
  }
  EXPECT_TRUE(drawn);
  routes.close();
  EXPECT_TRUE(program.waitFor("\r\033[K"));
  EXPECT_TRUE(program.waitFor("routes loaded"));
  EXPECT_EQ(program.finish().status, 0);
}

}  // namespace
}  // namespace fibdb::program
