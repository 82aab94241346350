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
using testing::Not;
using On = RunningProgram::On;

constexpr const char* kPrompt = "fibdb> ";

// What was changed is not to be kept.
void leave(RunningProgram& program, int status = 0) {
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("quit\n");
  ASSERT_TRUE(program.waitFor("leave all the same? [y/N] "));
  program.type("y\n");
  EXPECT_EQ(program.finish().status, status);
}

TEST(Prompt, answers_commands_until_quit_and_keeps_going_after_failures) {
  RunningProgram program(On::kTerminal, {});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("bogus\n");
  ASSERT_TRUE(program.waitFor("unknown command \"bogus\""));
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("add nexthop 5\n");
  ASSERT_TRUE(program.waitFor("added next hop 5\r\n"));
  program.type("delete nexthop 5\n");
  leave(program);
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
  EXPECT_TRUE(
      program.waitFor("engine  memory, limits and counters of the database\r\n"
                      "errors  failures that the library counted, and where others are counted\r\n"));
  program.type("\x03");
  ASSERT_TRUE(program.waitFor("^C"));  // the terminal drops what is typed before
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0);
}

TEST(Prompt, a_question_mark_explains_what_may_stand_there_and_keeps_the_line) {
  RunningProgram program(On::kTerminal, {});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("count vpn-n?");
  EXPECT_TRUE(program.waitFor("vpn-nexthop  how many VPN next hops there are\r\n"));
  ASSERT_TRUE(program.waitFor("count vpn-n"));
  program.type("\n");
  EXPECT_TRUE(program.waitFor("0\r\n"));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0);
}

TEST(Prompt, tab_quotes_blanks_and_knows_the_home) {
  const ScratchFolder home;
  home.write("two words", "10.0.0.0/8 group 1\n");
  RunningProgram program(On::kTerminal, {}, home.path("."));
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("load routes ~/tw\t\n");
  EXPECT_TRUE(program.waitFor("1 route loaded"));
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("load routes '~/tw\t\n");
  EXPECT_TRUE(program.waitFor("1 route loaded"));
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0);
}

TEST(Prompt, who_leaves_with_changes_is_asked_once_and_may_stay_to_save_them) {
  const ScratchFolder folder;
  RunningProgram program(On::kTerminal, {});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("add route 10.0.0.0/8\n");
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("\x04");
  ASSERT_TRUE(program.waitFor("routes were changed and not saved (save routes FILE)\r\n"));
  ASSERT_TRUE(program.waitFor("leave all the same? [y/N] "));
  program.type("\n");
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("save routes " + folder.path("f") + "\n");
  ASSERT_TRUE(program.waitFor("1 route saved"));
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0) << "what is saved is no question";
}

TEST(Prompt, what_was_loaded_from_a_file_need_not_be_saved) {
  const ScratchFolder folder;
  const std::string file = folder.write("f", "10.0.0.0/8\n");
  RunningProgram program(On::kTerminal, {"-i", "-c", "tour " + file});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0);
}

TEST(Prompt, after_a_failed_command_the_status_stays) {
  RunningProgram program(On::kTerminal, {"-i", "-c", "bogus"});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("count nhp\n");
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 2);
}

TEST(Prompt, a_stopped_line_is_whole_again_when_the_program_goes_on) {
  RunningProgram program(On::kTerminal, {});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("count n");
  ASSERT_TRUE(program.waitFor("count n"));
  program.type("\x1a");
  ASSERT_TRUE(program.waitUntilStopped());
  program.goOn();
  ASSERT_TRUE(program.waitFor("fibdb> count n")) << "the line is drawn again";
  program.type("hp\n");
  EXPECT_TRUE(program.waitFor("\n0\r\n"));
  program.type("quit\n");
  EXPECT_EQ(program.finish().status, 0);
}

TEST(Prompt, two_sessions_at_once_both_keep_their_history) {
  const ScratchFolder home;
  RunningProgram first(On::kTerminal, {}, home.path(""));
  RunningProgram second(On::kTerminal, {}, home.path(""));
  for (RunningProgram* program : {&first, &second}) ASSERT_TRUE(program->waitFor(kPrompt));
  first.type("count nhp\n");
  ASSERT_TRUE(first.waitFor(kPrompt));
  second.type("count nhp_std\n");
  ASSERT_TRUE(second.waitFor(kPrompt));
  first.type("quit\n");
  EXPECT_EQ(first.finish().status, 0);
  second.type("\x04");
  EXPECT_EQ(second.finish().status, 0);
  const std::string kept = ScratchFolder::read(home.path("fibdb_history"));
  for (const char* line : {"count\\040nhp\\012", "count\\040nhp_std\\012", "quit\\012"})
    EXPECT_THAT(kept, HasSubstr(line));
}

TEST(Prompt, in_json_there_is_no_banner) {
  RunningProgram program(On::kTerminal, {"--json"});
  ASSERT_TRUE(program.waitFor(kPrompt));
  program.type("quit\n");
  EXPECT_THAT(program.finish().out, Not(HasSubstr("help shows")));
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
  leave(program);
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
