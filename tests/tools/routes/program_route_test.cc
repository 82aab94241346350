// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/routes/program_route_test.cc: what the program answers about routes, and how it found out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/run_program.h"
#include "tests/tools/scratch_folder.h"

namespace fibdb::program {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const Args kRoutes = {"add route 0.0.0.0/0 group 9",    "add route 10.0.0.0/8 group 1",
                      "add route 10.1.0.0/16 group 2",  "add route 10.1.2.0/24 group 1",
                      "add route 11.0.0.0/8 group 1",   "add route 10.1.0.0/16 group 5 vr 1 vrf 7",
                      "add route 12.0.0.0/8 vr 1 vrf 7"};

Args afterRoutes(const std::string& line) {
  Args lines = kRoutes;
  lines.push_back(line);
  return lines;
}

std::vector<nlohmann::json> answersTo(const std::string& line) {
  std::vector<nlohmann::json> answers = jsonAnswers(afterRoutes(line));
  answers.erase(answers.begin(), answers.begin() + static_cast<std::ptrdiff_t>(kRoutes.size()));
  return answers;
}

std::vector<std::string> prefixesFor(const std::string& line) {
  std::vector<std::string> prefixes;
  for (const auto& answer : answersTo(line)) prefixes.push_back(answer.at("prefix"));
  return prefixes;
}

uint64_t countFor(const std::string& line) { return answersTo(line).at(0).at("routes"); }

// What the failing command says, its usage left out.
std::string refusalOf(const std::string& line) {
  const Outcome outcome = runProgram(commands(afterRoutes(line)));
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("\nusage: show route"));
  return outcome.err.substr(0, outcome.err.find("\nusage: "));
}

TEST(PlainArguments, are_a_command) {
  const Outcome outcome = runProgram({"show", "route", "8.8.8.8"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "fibdb: no route covers 8.8.8.8\n");
  EXPECT_EQ(runProgram({"count", "nhp"}).out, "0\n");
  EXPECT_EQ(runProgram({"--json", "count", "nhp"}).out, "{\"table\":\"nhp\",\"records\":0}\n");
}

TEST(PlainArguments, are_a_command_in_quotes_too) {
  EXPECT_EQ(runProgram({"count nhp"}).out, "0\n");
  EXPECT_EQ(runProgram({"-c", "count nhp", "show vrf"}).out, "0\nno VRFs\n");
}

TEST(PlainArguments, keep_the_blanks_that_they_have) {
  EXPECT_THAT(runProgram({"load", "routes", "no such file"}).err, HasSubstr("no such file: No such file"));
}

TEST(PlainArguments, come_behind_commands_by_option_and_not_with_a_script) {
  EXPECT_EQ(runProgram({"-c", "add route 10.0.0.0/8", "count", "ip4forward"}).out, "added 10.0.0.0/8 group 0\n1\n");
  EXPECT_EQ(runProgram({"-f", "-", "count", "ip4forward"}).status, 2);
}

TEST(ShowRoute, without_a_prefix_lists_every_route_of_every_vrf_in_key_order) {
  EXPECT_THAT(prefixesFor("show route"), ElementsAre("0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24",
                                                     "11.0.0.0/8", "10.1.0.0/16", "12.0.0.0/8"));
  EXPECT_THAT(prefixesFor("show route vr 1 vrf 7"), ElementsAre("10.1.0.0/16", "12.0.0.0/8"));
  EXPECT_EQ(answersTo("show route vr 1").at(0),
            (nlohmann::json{{"list", "routes"}, {"prefix", "10.1.0.0/16"}, {"group", 5}, {"vr", 1}, {"vrf", 7}}));
  EXPECT_THAT(jsonAnswers({"show route"}), IsEmpty());
}

TEST(ShowRoute, covering_lists_what_covers_longest_first) {
  EXPECT_THAT(prefixesFor("show route 10.1.2.3 covering"),
              ElementsAre("10.1.2.0/24", "10.1.0.0/16", "10.0.0.0/8", "0.0.0.0/0"));
  EXPECT_THAT(prefixesFor("show route 10.1.0.0/16 covering"), ElementsAre("10.1.0.0/16", "10.0.0.0/8", "0.0.0.0/0"));
  EXPECT_THAT(prefixesFor("show route 10.1.2.3 covering vr 1 vrf 7"), ElementsAre("10.1.0.0/16"));
}

TEST(ShowRoute, of_another_vrf_is_found_there_alone) {
  EXPECT_EQ(answersTo("show route 10.1.2.3 vr 1 vrf 7").at(0).at("group"), 5);
  EXPECT_EQ(answersTo("show route 10.1.2.3 vr 1 vrf 7").at(0).at("vrf"), 7);
  EXPECT_EQ(answersTo("show route 10.1.0.0/16 vrf 7 vr 1").at(0).at("group"), 5);
  EXPECT_THAT(prefixesFor("show route 8.0.0.0/5 longer vr 1 vrf 7"), ElementsAre("10.1.0.0/16", "12.0.0.0/8"));
  const auto failure = [](const std::string& line) { return runProgram(commands(afterRoutes(line))).err; };
  EXPECT_EQ(failure("show route 9.9.9.9 vr 1 vrf 7"), "fibdb: no route covers 9.9.9.9, vr 1 vrf 7\n");
  EXPECT_EQ(failure("show route 11.0.0.0/8 vr 1"), "fibdb: no route 11.0.0.0/8, vr 1 vrf 0\n");
  EXPECT_EQ(failure("show route 11.0.0.0/8 covering vr 1"), "fibdb: no route covers 11.0.0.0/8, vr 1 vrf 0\n");
}

TEST(DeleteRoute, takes_the_route_of_its_vrf) {
  Args lines = afterRoutes("delete route 10.1.0.0/16 vr 1 vrf 7");
  lines.insert(lines.end(), {"show route where prefix 10.1.0.0/16"});
  const Outcome outcome = runProgram(commands(lines));
  EXPECT_THAT(outcome.out, HasSubstr("added 10.1.0.0/16 group 5, vr 1 vrf 7\n"));
  EXPECT_THAT(outcome.out, HasSubstr("deleted 10.1.0.0/16, vr 1 vrf 7\n"));
  EXPECT_THAT(outcome.out, HasSubstr("10.1.0.0/16                  2   0    0\n"));
  EXPECT_THAT(outcome.out, testing::Not(HasSubstr("10.1.0.0/16                  5")));
}

TEST(ShowRouteWhere, filters_by_each_column) {
  EXPECT_THAT(prefixesFor("show route where group 1"), ElementsAre("10.0.0.0/8", "10.1.2.0/24", "11.0.0.0/8"));
  EXPECT_THAT(prefixesFor("show route where length 16"), ElementsAre("10.1.0.0/16", "10.1.0.0/16"));
  EXPECT_THAT(prefixesFor("show route where length 9-24 vr 0"), ElementsAre("10.1.0.0/16", "10.1.2.0/24"));
  EXPECT_THAT(prefixesFor("show route where vrf 7"), ElementsAre("10.1.0.0/16", "12.0.0.0/8"));
  EXPECT_THAT(prefixesFor("show route where prefix in 10.1.0.0/16"),
              ElementsAre("10.1.0.0/16", "10.1.2.0/24", "10.1.0.0/16"));
  EXPECT_THAT(prefixesFor("show route where prefix covering 10.1.0.0/16 vr 0"),
              ElementsAre("10.1.0.0/16", "10.0.0.0/8", "0.0.0.0/0"));
  EXPECT_THAT(prefixesFor("show route where prefix 10.0.0.0/8"), ElementsAre("10.0.0.0/8"));
  EXPECT_THAT(prefixesFor("show route where group 1 length 8 prefix in 10.0.0.0/7 limit 1"), ElementsAre("10.0.0.0/8"));
  EXPECT_THAT(prefixesFor("show route where group 77"), IsEmpty());
}

TEST(ShowRouteWhere, counts) {
  EXPECT_EQ(countFor("show route where count"), 7u);
  EXPECT_EQ(countFor("show route where group 1 count"), 3u);
  EXPECT_EQ(countFor("show route where vr 0 vrf 0 count"), 5u);
  EXPECT_EQ(countFor("show route where count length 8"), 3u);
  EXPECT_EQ(countFor("show route where prefix in 10.0.0.0/8 count"), 4u);
  EXPECT_EQ(runProgram(commands(afterRoutes("show route where count"))).out.substr(0, 6), "added ");
}

TEST(ShowRouteWhere, says_why_nothing_can_match) {
  EXPECT_EQ(refusalOf("show route where group 4294967296"),
            "fibdb: a group is at most 4294967295: no route has 4294967296");
  EXPECT_EQ(refusalOf("show route where length 33"), "fibdb: a length is at most 32: no route has 33");
  EXPECT_EQ(refusalOf("show route where length 24-8"), "fibdb: no route can match: no length is in 24-8");
  EXPECT_EQ(refusalOf("show route where vr 17"), "fibdb: a vr is at most 16: no route has 17");
  EXPECT_EQ(refusalOf("show route where vrf 16385"), "fibdb: a vrf is at most 16384: no route has 16385");
  EXPECT_EQ(refusalOf("show route where prefix in 10.0.0.0/8 length 7"),
            "fibdb: no route can match: what lies in 10.0.0.0/8 is no shorter than it");
  EXPECT_EQ(refusalOf("show route where prefix covering 10.0.0.0/8 length 9"),
            "fibdb: no route can match: what covers 10.0.0.0/8 is no longer than it");
  EXPECT_EQ(refusalOf("show route where limit 0"), "fibdb: limit 0 would show nothing");
}

TEST(ShowRoute, suggests_the_word_that_a_slip_was_meant_to_be) {
  EXPECT_EQ(refusalOf("show route wheer group 1"), "fibdb: \"wheer\": not an IPv4 prefix\ndid you mean \"where\"?");
  EXPECT_EQ(refusalOf("show route sumary"), "fibdb: \"sumary\": not an IPv4 prefix\ndid you mean \"summary\"?");
  EXPECT_EQ(refusalOf("show route 1.2.3"), "fibdb: \"1.2.3\": not an IPv4 prefix");
}

TEST(ShowRouteWhere, refuses_words_that_name_no_column_or_one_twice) {
  EXPECT_EQ(refusalOf("show route where grup 1"), "fibdb: unknown word \"grup\"\ndid you mean \"group\"?");
  EXPECT_EQ(refusalOf("show route where group 1 group 2"), "fibdb: group is given twice");
  EXPECT_EQ(refusalOf("show route where group"), "fibdb: a value for group is missing");
  EXPECT_EQ(refusalOf("show route where group x"), "fibdb: group: \"x\" is not a number");
  EXPECT_EQ(refusalOf("show route where count limit 3"), "fibdb: a count has no limit");
  EXPECT_EQ(refusalOf("show route 10.0.0.0/8 longer covering"), "fibdb: longer or covering, once");
}

TEST(ShowRouteMap, writes_a_drawing_of_one_vrf) {
  const ScratchFolder folder;
  const std::string file = folder.path("map.svg");
  EXPECT_EQ(answersTo("show route map " + file + " by group vr 1 vrf 7").at(0),
            (nlohmann::json{{"file", file}, {"routes", 2}}));
  EXPECT_THAT(ScratchFolder::read(file), StartsWith("<svg xmlns='http://www.w3.org/2000/svg' "));
  EXPECT_THAT(ScratchFolder::read(file), HasSubstr(">2 IPv4 routes by group<"));
  const Outcome outcome = runProgram({"show", "route", "map", "-"});
  EXPECT_THAT(outcome.out, StartsWith("<svg "));
  EXPECT_THAT(outcome.out, testing::EndsWith("</svg>\n"));
  EXPECT_EQ(runProgram({"show", "route", "map"}).status, 2);
  EXPECT_EQ(runProgram({"show", "route", "map", "-", "by", "colour"}).status, 2);
}

TEST(ShowRouteMap, is_written_into_the_home_where_a_name_begins_with_it) {
  const ScratchFolder home;
  RunningProgram program(RunningProgram::On::kPipes, commands({"show route map ~/map.svg"}), home.path(""));
  EXPECT_EQ(program.finish().status, 0);
  EXPECT_THAT(ScratchFolder::read(home.path("map.svg")), StartsWith("<svg"));
}

TEST(RoutesOfAVrf, are_loaded_saved_checked_and_measured) {
  const ScratchFolder folder;
  const std::string file = folder.write("in", "10.0.0.0/8 group 2\n10.1.0.0/16 group 3\n");
  const std::string saved = folder.path("out");
  const auto answers = jsonAnswers({"add route 10.0.0.0/8 group 9", "load routes " + file + " vr 2 vrf 5",
                                    "show route where vr 2 vrf 5 count", "check lookup " + file + " 100 vr 2 vrf 5",
                                    "save routes " + saved + " vr 2 vrf 5", "bench lookup 10 vr 2 vrf 5"});
  EXPECT_EQ(answers.at(1).at("loaded"), 2);
  EXPECT_EQ(answers.at(2).at("routes"), 2);
  EXPECT_EQ(answers.at(3).at("mismatches"), 0);
  EXPECT_EQ(ScratchFolder::read(saved), "10.0.0.0/8 group 2\n10.1.0.0/16 group 3\n");
  EXPECT_EQ(answers.at(7).at("hits"), 100.0) << "addresses inside a route";
  const Outcome outcome =
      runProgram(commands({"add route 10.0.0.0/8 vr 1", "check lookup " + file + " 100", "save routes " + saved}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("the database says no route"));
}

TEST(RoutesOfAVrf, are_not_saved_with_those_of_another_unless_they_are_named) {
  const ScratchFolder folder;
  const std::string saved = folder.path("out");
  const Outcome outcome = runProgram(commands(afterRoutes("save routes " + saved)));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, StartsWith("fibdb: 10.1.0.0/16 belongs to another VRF: not saved\nsay which VRF"));
  EXPECT_EQ(runProgram(commands(afterRoutes("save routes " + saved + " vr 0"))).status, 0);
  EXPECT_THAT(ScratchFolder::read(saved), StartsWith("0.0.0.0/0 group 9\n10.0.0.0/8 group 1\n"));
}

TEST(ShowRouteSummary, of_a_vrf_counts_its_routes_alone) {
  EXPECT_EQ(answersTo("show route summary vr 1 vrf 7").at(0), (nlohmann::json{{"routes", 2}, {"groups", 2}}));
}

TEST(ExplainShowRoute, names_the_index_and_what_was_read) {
  const auto cost = [](const std::string& line) {
    nlohmann::json answer = answersTo("explain show route " + line).at(0);
    EXPECT_GT(answer.at("microseconds"), 0.0);
    answer.erase("microseconds");
    return answer;
  };
  const auto expected = [](const char* index, int seeks, int nodes, int read, int found) {
    return nlohmann::json{
        {"index", index}, {"seeks", seeks}, {"nodes", nodes}, {"routes_read", read}, {"routes_found", found}};
  };
  EXPECT_EQ(cost("10.1.2.3"), expected("longest prefix", 1, 5, 1, 1));
  EXPECT_EQ(cost("200.1.2.3 vr 1"), expected("longest prefix", 1, 0, 0, 0));
  EXPECT_EQ(cost("10.0.0.0/8"), expected("primary key", 1, 1, 1, 1));
  EXPECT_EQ(cost("10.1.0.0/16 longer"), expected("key order", 1, 5, 2, 2));
  EXPECT_EQ(cost("10.1.2.3 covering"), expected("longest prefix", 4, 5 + 5 + 4 + 3, 4, 4));
  EXPECT_EQ(cost("where group 1 vr 0"), expected("group", 1, 2, 3, 3));
  EXPECT_EQ(cost("where length 8 count"), expected("none, every route", 0, 0, 7, 3));
}

}  // namespace
}  // namespace fibdb::program
