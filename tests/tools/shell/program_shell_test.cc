// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/shell/program_shell_test.cc: where commands come from, how failures end, what the shell sees of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "tests/tools/run_program.h"
#include "tests/tools/scratch_folder.h"

namespace fibdb::program {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(Options, version_and_help_answer_and_wrong_ones_are_usage) {
  EXPECT_THAT(runProgram({"--version"}).out, StartsWith("fibdb "));
  EXPECT_THAT(runProgram({"--help"}).out, HasSubstr("--keep-going"));
  EXPECT_EQ(runProgram({"--help"}).status, 0);
  for (const Args& args : {Args{"--bogus"}, Args{"-c"}, Args{"stray"}, Args{"-c", "quit", "-f", "x"}}) {
    const Outcome outcome = runProgram(args);
    EXPECT_EQ(outcome.status, 2) << args[0];
    EXPECT_NE(outcome.err, "");
  }
}

TEST(Commands, run_in_order_and_stop_at_the_first_failure) {
  const Outcome outcome = runProgram(commands({"count nhp", "show nexthop 1", "count nhp"}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "0\n");
}

TEST(Commands, keep_going_runs_all_and_reports_the_first_failure) {
  const Outcome outcome = runProgram({"-k", "-c", "show nexthop 1", "-c", "bogus", "-c", "count nhp"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "0\n");
  const Outcome usage = runProgram({"-k", "-c", "bogus", "-c", "show nexthop 1"});
  EXPECT_EQ(usage.status, 2);
}

TEST(Commands, quit_ends_the_run) {
  const Outcome outcome = runProgram(commands({"quit", "count nhp"}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
}

TEST(Commands, empty_ones_do_nothing) {
  const Outcome outcome = runProgram(commands({"", "  # only a comment"}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out + outcome.err, "");
}

TEST(Commands, unknown_words_are_usage_with_the_nearest_one) {
  const Outcome outcome = runProgram(commands({"shwo route"}));
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "fibdb: unknown command \"shwo\"\ndid you mean \"show\"?\n");
  EXPECT_EQ(runProgram(commands({"s"})).err, "fibdb: \"s\" is ambiguous: save, set, show\n");
  EXPECT_EQ(runProgram(commands({"count nhp nhp"})).err, "fibdb: unexpected word \"nhp\"\nusage: count TABLE\n");
  EXPECT_EQ(runProgram(commands({"count 'nhp"})).err, "fibdb: a quote is not closed\n");
}

TEST(Commands, control_characters_never_reach_the_terminal) {
  const Outcome outcome = runProgram(commands({"\x1b[31mboo"}));
  EXPECT_EQ(outcome.err, "fibdb: unknown command \"\\x1b[31mboo\"\ntry help\n");
}

TEST(Options, that_do_not_fit_are_answered_in_the_form_of_all_errors) {
  EXPECT_EQ(runProgram({"--bogus"}).err, "fibdb: The following argument was not expected: --bogus\ntry fibdb --help\n");
  for (const Args& form : {Args{"--json"}, Args{"--format", "json"}, Args{"--format=jsonl"}}) {
    Args args = form;
    args.emplace_back("--bogus");
    const auto errors = jsonLines(runProgram(args).err);
    ASSERT_EQ(errors.size(), 1u) << form[0];
    EXPECT_EQ(errors[0].at("advice"), "try fibdb --help");
  }
  const Outcome format = runProgram({"--format", "xml"});
  EXPECT_EQ(format.status, 2);
  EXPECT_EQ(format.err, "fibdb: unknown format \"xml\"\nformats: table, vertical, csv, json, jsonl\n");
}

TEST(Commands, that_were_not_run_are_counted_after_a_stop) {
  const Outcome two = runProgram(commands({"bogus", "count nhp", "# nothing", "count nhp"}));
  EXPECT_THAT(two.err, HasSubstr("\nfibdb: 2 commands were not run\n-k goes on after a failure\n"));
  EXPECT_THAT(runProgram({}, "bogus\ncount nhp\n\ncount nhp\n").err, HasSubstr("stdin: 2 commands were not run"));
  EXPECT_THAT(runProgram(commands({"count nhp", "bogus"})).err, Not(HasSubstr("not run"))) << "there was none left";
  EXPECT_THAT(runProgram({"-k", "-c", "bogus", "-c", "count nhp"}).err, Not(HasSubstr("not run")));
  EXPECT_EQ(runProgram(commands({"quit", "count nhp"})).err, "");
}

TEST(Commands, are_timed_when_asked) {
  const Outcome outcome = runProgram(commands({"timing on", "count nhp", "timing off", "count nhp"}));
  EXPECT_TRUE(std::regex_match(outcome.out, std::regex("0\ntime [0-9.]+ s\ntime [0-9.]+ s\n0\n"))) << outcome.out;
}

TEST(Pipe, what_one_program_saves_another_one_loads) {
  const std::string saved =
      runProgram(commands({"load routes -", "save routes -"}), "default group 1\n10.0.0.0/8 AS64512\n").out;
  EXPECT_EQ(saved, "0.0.0.0/0 group 1\n10.0.0.0/8 origin-as 64512\n");
  EXPECT_EQ(runProgram(commands({"load routes -", "save routes -"}), saved).out, saved);
}

TEST(Pipe, sentences_spare_data_in_scripts_and_csv) {
  const ScratchFolder folder;
  const std::string script = folder.write("script", "add vrf 1 name red\nsave config -\n");
  EXPECT_EQ(runProgram({"-f", script}).out,
            "# fibdb configuration: load it with `load config`.\n\n# VRFs\nadd vrf 1 name red\n");
  const Outcome csv = runProgram({"--format", "csv", "-c", "add vrf 1 name red", "-c", "show vrf columns id,name"});
  EXPECT_EQ(csv.out, "id,name\n1,red\n");
  EXPECT_EQ(csv.err, "added VRF 1\n");
}

TEST(Pipe, a_drawing_and_metrics_are_data_too) {
  const Outcome drawn = runProgram(commands({"add route 10.0.0.0/8", "show route map -"}));
  EXPECT_THAT(drawn.out, StartsWith("<svg"));
  EXPECT_EQ(drawn.err, "added 10.0.0.0/8 group 0\n");
  const Outcome measured = runProgram(commands({"add route 10.0.0.0/8", "show metrics"}));
  EXPECT_THAT(measured.out, StartsWith("# TYPE "));
  EXPECT_EQ(measured.err, "added 10.0.0.0/8 group 0\n");
}

TEST(Pipe, the_quiet_say_answers_and_errors_alone) {
  const Outcome outcome = runProgram({"-q", "-k", "-c", "add vrf 1", "-c", "count vrf", "-c", "bogus"});
  EXPECT_EQ(outcome.out, "1\n");
  EXPECT_THAT(outcome.err, StartsWith("fibdb: unknown command"));
}

TEST(Script, a_byte_order_mark_is_no_part_of_its_first_command) {
  EXPECT_EQ(runProgram({},
                       "\xef\xbb\xbf"
                       "count nhp\n")
                .out,
            "0\n");
}

TEST(Script, errors_carry_file_and_line) {
  const ScratchFolder folder;
  const std::string file = folder.write("script", "# one\n\ncount nhp\nbogus\ncount nhp\n");
  const Outcome outcome = runProgram({"-f", file});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.out, "0\n");
  EXPECT_EQ(outcome.err, file + ":4: unknown command \"bogus\"\ntry help\n" + file +
                             ": 1 command was not run\n-k goes on after a failure\n");
}

TEST(Script, from_standard_input_with_or_without_the_option) {
  for (const Args& args : {Args{}, Args{"-f", "-"}}) {
    const Outcome outcome = runProgram(args, "count nhp\ncount nhp\nbogus");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "0\n0\n");
    EXPECT_THAT(outcome.err, StartsWith("stdin:3: "));
  }
}

TEST(Script, errors_are_objects_in_json) {
  const Outcome outcome = runProgram({"--json"}, "count nhp\nshow nexthop 5\n");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(jsonLines(outcome.out).at(0), (nlohmann::json{{"table", "nhp"}, {"records", 0}}));
  EXPECT_EQ(jsonLines(outcome.err).at(0), (nlohmann::json{{"error", "no next hop 5"}, {"file", "stdin"}, {"line", 2}}));
}

TEST(Script, that_is_missing_is_named) {
  const Outcome outcome = runProgram({"-f", "/no/such"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "/no/such: No such file or directory\n");
}

TEST(Script, a_folder_is_no_script) {
  const Outcome outcome = runProgram({"-f", "/"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "/: Is a directory\n");
}

TEST(Output, a_reader_that_leaves_ends_the_program_as_shells_expect) {
  const Outcome outcome = runProgramIntoClosedPipe(commands({"help"}));
  EXPECT_EQ(outcome.status, 128 + 13);
}

TEST(Output, a_full_disk_is_a_failure) {
  EXPECT_EQ(runProgramInto("/dev/full", commands({"help", "count nhp"})).status, 1);
}

TEST(Output, on_a_pipe_there_are_no_escapes_and_no_progress) {
  std::string routes;
  for (int i = 0; i < 200000; ++i) routes += "10.0.0.0/8\n";
  const Outcome outcome = runProgram(commands({"load routes -", "show route summary"}), routes);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out.find('\033'), std::string::npos);
}

TEST(Terminal, a_long_answer_goes_through_the_pager_and_a_short_one_does_not) {
  using Running = RunningProgram;
  const auto answer = [](const Args& lines) {
    Running program(Running::On::kTerminal, commands(lines), kNoHome, {.columns = 80, .pager = "sed s/^/paged:/"});
    return program.finish().out;
  };
  EXPECT_THAT(answer({"help"}), StartsWith("paged:"));
  EXPECT_THAT(answer({"help quit"}), Not(HasSubstr("paged:")));
  EXPECT_THAT(runProgram(commands({"help"})).out, Not(HasSubstr("paged:")));
}

TEST(Terminal, a_pager_that_is_not_there_swallows_no_answer) {
  for (const char* pager : {"/no/such/pager -R", "no-such-pager"}) {
    RunningProgram program(RunningProgram::On::kTerminal, commands({"help"}), kNoHome, {.columns = 80, .pager = pager});
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("load routes FILE"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("not found")));
  }
}

TEST(Terminal, who_leaves_the_pager_early_has_seen_enough) {
  std::string routes;
  for (int i = 0; i < 100000; ++i)
    routes += "10." + std::to_string(i >> 8 & 255) + '.' + std::to_string(i & 255) + ".0/24\n";
  const ScratchFolder folder;
  const std::string load = "load routes " + folder.write("f", routes);
  RunningProgram program(RunningProgram::On::kTerminal, commands({load, "show route 10.0.0.0/8 longer", "count nhp"}),
                         kNoHome, {.columns = 80, .pager = "head -n 1"});
  const Outcome outcome = program.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, testing::EndsWith("\nprefix\r\n0\r\n"));
}

TEST(Columns, of_several_lists_are_picked_where_they_are) {
  const Outcome both = runProgram({"--format", "csv", "show", "errors", "columns", "table,count"});
  EXPECT_EQ(both.status, 0) << both.err;
  EXPECT_THAT(both.out, StartsWith("table\nip4forward\n"));
  EXPECT_THAT(both.out, HasSubstr("\n\ncount\n0\n"));
  EXPECT_THAT(runProgram({"show", "engine", "columns", "reserved"}).out, StartsWith("arena\nreserved\n"));
  const Outcome none = runProgram({"show", "engine", "columns", "resrved"});
  EXPECT_EQ(none.status, 2);
  EXPECT_EQ(none.out, "");
  EXPECT_EQ(none.err, "fibdb: these lists: no column \"resrved\"\ndid you mean \"reserved\"?\n");
}

TEST(Help, lists_every_command_on_a_line_and_explains_one) {
  const Outcome list = runProgram(commands({"help"}));
  EXPECT_EQ(list.status, 0);
  for (const char* line : {"load routes FILE", "show route where", "show errors", "quit"}) {
    EXPECT_THAT(list.out, HasSubstr(std::string("\n") + line));
  }
  EXPECT_THAT(runProgram(commands({"help load routes"})).out,
              StartsWith("load routes FILE [vr N] [vrf N] [replace] [skip-bad]\n  load a routing table"));
  EXPECT_THAT(runProgram(commands({"help sh ro"})).out, HasSubstr("show route summary"));
  const std::string named = runProgram(commands({"help add group"})).out;
  EXPECT_THAT(named, StartsWith("add group ID [VR] [vrf N]"));
  EXPECT_THAT(named, HasSubstr("What is not given is 0"));
  EXPECT_THAT(named, HasSubstr("\nadd group member"));
  const Outcome unknown = runProgram(commands({"help laod"}));
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.err, HasSubstr("did you mean \"load\"?"));
}

}  // namespace
}  // namespace fibdb::program
