// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/routes/program_load_test.cc: the program loads, saves, checks and measures routes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <set>

#include "tests/tools/run_program.h"
#include "tests/tools/scratch_folder.h"

namespace fibdb::program {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kRoutes =
    "# a few\n"
    "0.0.0.0/0 group 1\n"
    "10.0.0.0/8 group 2\n"
    "10.1.0.0/16 origin-as 259\n"
    "10.1.2.3\n";

std::string manyRoutes(uint32_t count) {
  std::string text;
  for (uint32_t i = 0; i < count; ++i) {
    char line[64];
    std::snprintf(line, sizeof line, "%u.%u.%u.0/24 group %u\n", 1 + (i >> 16), i >> 8 & 255, i & 255, i % 256);
    text += line;
  }
  return text;
}

TEST(LoadRoutes, from_a_file_counts_new_and_replaced_routes) {
  const ScratchFolder folder;
  const std::string load = "load routes " + folder.write("f", kRoutes);
  const Outcome twice = runProgram(commands({load, load, "count ip4forward"}));
  EXPECT_EQ(twice.status, 0) << twice.err;
  EXPECT_THAT(twice.out, StartsWith("4 routes loaded in "));
  EXPECT_THAT(twice.out, HasSubstr("4 new, 0 replaced"));
  EXPECT_THAT(twice.out, HasSubstr("0 new, 4 replaced\n4\n"));
}

TEST(LoadRoutes, from_standard_input_spans_many_batches) {
  const Outcome outcome = runProgram({"--json", "-c", "load routes -", "-c", "count ip4forward"}, manyRoutes(50000));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const auto answers = jsonLines(outcome.out);
  ASSERT_EQ(answers.size(), 2u);
  EXPECT_EQ(answers[0].at("loaded"), 50000);
  EXPECT_EQ(answers[0].at("new"), 50000);
  EXPECT_EQ(answers[1].at("records"), 50000);
}

TEST(LoadRoutes, a_route_twice_in_one_file_is_replaced_and_the_last_one_counts) {
  const Outcome outcome = runProgram(commands({"load routes -", "show route 10.0.0.0/8"}),
                                     "10.0.0.0/8 group 1\n11.0.0.0/8\n10.0.0.0/8 group 9\n");
  EXPECT_THAT(outcome.out, HasSubstr("2 new, 1 replaced"));
  EXPECT_THAT(outcome.out, HasSubstr("group       9\n"));
}

TEST(LoadRoutes, bad_lines_are_named_good_ones_loaded_and_the_status_says_so) {
  const ScratchFolder folder;
  const std::string file =
      folder.write("f", "10.0.0.0/8\nbogus\n10.0.0.1/8\n1.2.3.4/33\n11.0.0.0/8 group 1 x\n12.0.0.0/8\n");
  const Outcome outcome = runProgram(commands({"load routes " + file}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, file + ":2: \"bogus\": not an IPv4 prefix\n" +                 //
                             file + ":3: \"10.0.0.1/8\": bits set beyond the mask\n" +  //
                             file + ":4: \"1.2.3.4/33\": mask above 32\n" +             //
                             file + ":5: \"x\": words after the route\n");
  EXPECT_THAT(outcome.out, HasSubstr("2 new, 0 replaced, 4 bad lines\n"));
}

TEST(LoadRoutes, bad_lines_are_no_failure_where_they_are_to_be_skipped) {
  const Args load = {"-c", "load routes - skip-bad"};
  const Outcome outcome = runProgram(load, "10.0.0.0/8\nbogus\n");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "-:2: \"bogus\": not an IPv4 prefix\n");
  EXPECT_EQ(runProgram(load, "bogus\n").status, 1) << "there was not a single route";
}

TEST(LoadRoutes, a_file_without_a_single_route_is_a_failure) {
  for (const char* text : {"", "# a comment\n\n"}) {
    const Outcome outcome = runProgram(commands({"load routes -"}), text);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "-: not a single route\n");
  }
}

TEST(LoadRoutes, bad_lines_are_objects_in_json) {
  const Outcome outcome = runProgram({"--json", "-c", "load routes -"}, "10.0.0.0/8\nbogus\n");
  EXPECT_EQ(outcome.status, 1);
  const auto errors = jsonLines(outcome.err);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0],
            (nlohmann::json{{"error", "not an IPv4 prefix"}, {"text", "bogus"}, {"file", "-"}, {"line", 2}}));
  EXPECT_EQ(jsonLines(outcome.out).at(0).at("bad_lines"), 1);
}

TEST(LoadRoutes, at_the_record_limit_refused_routes_are_named_and_the_stored_ones_stay) {
  const ScratchFolder folder;
  const std::string file = folder.write("f", manyRoutes(5000));
  const Outcome outcome = runProgram({"--json", "-k", "-c", "set limit ip4forward records 4990", "-c",
                                      "load routes " + file, "-c", "count ip4forward", "-c", "show route 1.0.0.0/24"});
  EXPECT_EQ(outcome.status, 1);
  const auto answers = jsonLines(outcome.out);
  ASSERT_EQ(answers.size(), 4u);
  EXPECT_EQ(answers[1].at("new"), 4990);
  EXPECT_EQ(answers[1].at("refused"), 10);
  EXPECT_EQ(answers[2].at("records"), 4990);
  EXPECT_EQ(answers[3].at("prefix"), "1.0.0.0/24");
  const auto errors = jsonLines(outcome.err);
  ASSERT_EQ(errors.size(), 10u);
  for (size_t i = 0; i < errors.size(); ++i) {
    EXPECT_EQ(errors[i].at("line"), 4991 + i);
    EXPECT_THAT(errors[i].at("error"), HasSubstr("(code 20015)"));
  }
}

TEST(LoadRoutes, many_refusals_are_counted_after_the_first_ten) {
  const Outcome outcome = runProgram(commands({"set limit ip4forward records 5", "load routes -"}), manyRoutes(9000));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 11);
  EXPECT_THAT(outcome.err, HasSubstr("-: and 8,985 more routes refused\n"));
}

TEST(LoadRoutes, at_the_limit_known_routes_are_still_replaced) {
  const Outcome outcome = runProgram(commands({"add route 10.0.0.0/8", "set limit ip4forward records 1",
                                               "add route 10.0.0.0/8 group 5", "show route 10.0.0.0/8"}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("group       5\n"));
}

TEST(LoadRoutes, a_file_that_cannot_be_read_is_named_with_what_is_wrong_about_it) {
  const ScratchFolder folder;
  const std::string file = folder.write("file", "10.0.0.0/8\n");
  const auto errorOf = [](const std::string& named) {
    const Outcome outcome = runProgram(commands({"load routes " + named}));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    return outcome.err;
  };
  EXPECT_EQ(errorOf("/no/such"), "fibdb: /no/such: No such file or directory\n");
  EXPECT_EQ(runProgram({"--json", "load", "routes", "/no/such"}).err,
            "{\"error\":\"No such file or directory\",\"file\":\"/no/such\"}\n");
  EXPECT_EQ(runProgram({"--json", "-f", folder.write("script", "save routes /no/such\n")}).err,
            "{\"error\":\"No such file or directory\",\"file\":\"/no/such\",\"command\":{\"file\":\"" +
                folder.path("script") + "\",\"line\":1}}\n");
  EXPECT_EQ(errorOf(folder.path("")), "fibdb: " + folder.path("") + ": Is a directory\n");
  EXPECT_EQ(errorOf(file + "/inside"), "fibdb: " + file + "/inside: Not a directory\n");
  EXPECT_EQ(errorOf(file + "/"), "fibdb: " + file + "/: Not a directory\n");
  EXPECT_EQ(errorOf("\"\""), "fibdb: \"\": No such file or directory\n");
}

TEST(LoadRoutes, standard_input_cannot_be_script_and_routes_at_once) {
  const Outcome outcome = runProgram({}, "load routes -\n10.0.0.0/8\n");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, StartsWith("stdin:1: standard input holds the commands"));
}

TEST(LoadRoutes, an_interrupt_keeps_what_was_read_and_ends_with_130) {
  RunningProgram program(RunningProgram::On::kPipes, commands({"load routes -", "count ip4forward"}));
  // More than pipes hold: once it is taken, the load is under way.
  program.type(manyRoutes(60000));
  program.interrupt();
  const Outcome outcome = program.finish();
  EXPECT_EQ(outcome.status, 130);
  EXPECT_THAT(outcome.out, StartsWith("interrupted: "));
  EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 1) << "the next command must not run";
}

TEST(SaveRoutes, what_is_saved_loads_again_as_the_same_table_in_key_order) {
  const ScratchFolder folder;
  const std::string first = folder.path("first"), second = folder.path("second");
  folder.write("f", std::string("10.1.2.3\n10.1.0.0/16 origin-as 259\n10.0.0.0/8 group 2\n0.0.0.0/0 group 1\n"));
  const Outcome save = runProgram(commands({"load routes " + folder.path("f"), "save routes " + first}));
  EXPECT_EQ(save.status, 0) << save.err;
  EXPECT_THAT(save.out, HasSubstr("4 routes saved to " + first));
  EXPECT_EQ(ScratchFolder::read(first),
            "0.0.0.0/0 group 1\n10.0.0.0/8 group 2\n10.1.0.0/16 origin-as 259\n10.1.2.3/32 group 0\n");
  EXPECT_EQ(runProgram(commands({"load routes " + first, "save routes " + second})).status, 0);
  EXPECT_EQ(ScratchFolder::read(first), ScratchFolder::read(second));
}

TEST(SaveRoutes, to_standard_output_writes_routes_and_nothing_else) {
  const Outcome outcome = runProgram(commands({"save routes -"}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  const Outcome one = runProgram(commands({"add route 10.0.0.0/8 group 7", "save routes -"}));
  EXPECT_EQ(one.out, "10.0.0.0/8 group 7\n");
  EXPECT_EQ(one.err, "added 10.0.0.0/8 group 7\n") << "what was done is no part of the data";
}

TEST(SaveRoutes, without_routes_a_full_file_stays_unless_force_is_given) {
  const ScratchFolder folder;
  const std::string file = folder.write("f", kRoutes);
  const Outcome kept = runProgram(commands({"save routes " + file}));
  EXPECT_EQ(kept.status, 1);
  EXPECT_EQ(kept.err, "fibdb: " + file + ": kept, for it holds something and there is nothing to save\n" +
                          "to replace it all the same: save routes " + file + " force\n");
  EXPECT_EQ(ScratchFolder::read(file), kRoutes);
  EXPECT_EQ(runProgram(commands({"save routes " + file + " force"})).status, 0);
  EXPECT_EQ(ScratchFolder::read(file), "");
}

TEST(SaveRoutes, into_a_folder_that_is_missing_fails_by_name) {
  const Outcome outcome = runProgram(commands({"save routes /no/such/file"}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "fibdb: /no/such/file: No such file or directory\n");
}

TEST(CheckLookup, the_loaded_file_agrees_and_the_seed_repeats_the_run) {
  const ScratchFolder folder;
  const std::string file = folder.write("f", std::string(kRoutes) + manyRoutes(3000));
  const Args args = {"--json", "-c", "load routes " + file, "-c", "check lookup " + file + " 5000"};
  const Outcome outcome = runProgram(args);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const auto answer = jsonLines(outcome.out).at(1);
  EXPECT_EQ(answer.at("checked"), 5000);
  EXPECT_EQ(answer.at("covered"), 5000);
  EXPECT_EQ(answer.at("mismatches"), 0);
}

TEST(CheckLookup, a_route_that_the_file_lacks_is_a_mismatch_and_status_1) {
  const ScratchFolder folder;
  const std::string file = folder.write("f", "10.0.0.0/8 group 2\n");
  const Outcome outcome =
      runProgram(commands({"load routes " + file, "add route 0.0.0.0/1 group 9", "check lookup " + file + " 2000"}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("the database says 0.0.0.0/1 group 9, the file no route"));
  EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 20);
}

TEST(BenchLookup, every_measure_is_a_row_and_an_empty_table_is_refused) {
  const Outcome outcome = runProgram({"--json", "-c", "load routes -", "-c", "bench lookup 1000"}, kRoutes);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const auto answers = jsonLines(outcome.out);
  ASSERT_EQ(answers.size(), 7u);
  EXPECT_EQ(answers[2].at("operations"), 1000);
  EXPECT_EQ(answers[2].at("hits"), 100.0) << "a default route covers everything";
  EXPECT_EQ(answers[4].at("hits"), 100.0);
  EXPECT_EQ(answers[5].at("operations"), 4);
  const Outcome empty = runProgram(commands({"bench lookup"}));
  EXPECT_EQ(empty.status, 1);
  EXPECT_EQ(empty.err, "fibdb: there are no routes: load some first\n");
}

TEST(Tour, shows_everything_and_ends_well) {
  const ScratchFolder folder;
  const std::string file = folder.write("f", "8.8.8.0/24 origin-as 15169\n");
  const Outcome outcome = runProgram(commands({"tour " + file}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, StartsWith("256 groups of 2 members written, and their next hops\n1 route loaded"));
  EXPECT_THAT(outcome.out, HasSubstr("8.8.8.8         8.8.8.0/24     65\n"));
  EXPECT_THAT(outcome.out, HasSubstr("192.0.2.1       -               -\n"));
  EXPECT_THAT(outcome.out, EndsWith("8.8.8.0/24\n"
                                    "`-- group 65, nexthops 2\n"
                                    "    |-- group member 65 1065 1066 1\n"
                                    "    |   |-- primary 1065\n"
                                    "    |   |   `-- standard next hop 1065 198.51.100.33 2, work interface 2\n"
                                    "    |   `-- backup 1066\n"
                                    "    |       `-- standard next hop 1066 192.0.2.34 3, work interface 3\n"
                                    "    `-- group member 65 1066 1065 2\n"
                                    "        |-- primary 1066\n"
                                    "        |   `-- standard next hop 1066 192.0.2.34 3, work interface 3\n"
                                    "        `-- backup 1065\n"
                                    "            `-- standard next hop 1065 198.51.100.33 2, work interface 2\n"));
}

TEST(Tour, every_group_is_whole_and_no_two_next_hops_are_the_same) {
  const ScratchFolder folder;
  Args lines = {"tour " + folder.write("f", "8.8.8.0/24\n"), "count group", "count group member",
                "show standard-nexthop"};
  for (uint32_t group = 0; group < 256; ++group) lines.push_back("show group " + std::to_string(group));
  const auto answers = jsonAnswers(lines);
  std::set<std::string> neighbours;
  size_t whole = 0;
  for (const auto& answer : answers) {
    if (answer.contains("work_interface")) neighbours.insert(answer.at("address").get<std::string>());
    if (!answer.contains("members") || !answer.contains("id")) continue;
    const auto& members = answer.at("members");
    ASSERT_EQ(members.size(), 2u);
    EXPECT_EQ(members[0].at("primary"), members[1].at("backup"));
    EXPECT_EQ(members[1].at("primary"), members[0].at("backup"));
    for (const auto& member : members) {
      for (const auto& nexthop : member.at("nexthops")) EXPECT_EQ(nexthop.at("records").size(), 1u);
    }
    ++whole;
  }
  EXPECT_EQ(whole, 256u);
  EXPECT_EQ(neighbours.size(), 256u);
  EXPECT_EQ(answers.at(0), (nlohmann::json{{"groups", 256}, {"members", 512}, {"nexthops", 256}}));
}

}  // namespace
}  // namespace fibdb::program
