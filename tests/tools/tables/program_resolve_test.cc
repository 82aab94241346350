// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/tables/program_resolve_test.cc: from a route or a group to its next hops, as the program shows it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/run_program.h"

namespace fibdb::program {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using Json = nlohmann::json;

// A group of two members, one next hop known to two tables, one to one, one to none.
const Args kChain = {"add nexthop 65 vrf 2",         "add standard-nexthop 65 192.0.2.1 3",
                     "add lla-nexthop 66 fe80::1 4", "add group 3 nexthops 2",
                     "add group member 3 65 66 1",   "add group member 3 67 0 2 bandwidth 10",
                     "add route 10.0.0.0/8 group 3", "add route 11.0.0.0/8 group 4"};

Args afterChain(const std::string& line) {
  Args lines = kChain;
  lines.push_back(line);
  return lines;
}

// What the last line answers, as text.
std::string shown(const std::string& line) {
  const Outcome outcome = runProgram(commands(afterChain(line)));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const std::string last = "added 11.0.0.0/8 group 4\n";
  return outcome.out.substr(outcome.out.find(last) + last.size());
}

std::vector<Json> shownJson(const std::string& line) {
  std::vector<Json> answers = jsonAnswers(afterChain(line));
  answers.erase(answers.begin(), answers.begin() + static_cast<std::ptrdiff_t>(kChain.size()));
  return answers;
}

std::vector<Json> values(const Json& objects, const char* name) {
  std::vector<Json> found;
  for (const Json& object : objects) found.push_back(object.at(name));
  return found;
}

const std::string kGroupTree =
    "group 3, nexthops 2\n"
    "|-- group member 3 65 66 1\n"
    "|   |-- primary 65\n"
    "|   |   |-- next hop 65, vrf 2, num 1\n"
    "|   |   `-- standard next hop 65 192.0.2.1 3\n"
    "|   `-- backup 66\n"
    "|       `-- LLA next hop 66 fe80::1 4\n"
    "`-- group member 3 67 0 2, bandwidth 10\n"
    "    `-- primary 67: no next hop\n";

TEST(ShowNexthop, has_a_section_for_every_table_that_knows_the_index) {
  const std::string text = shown("show nexthop 65");
  EXPECT_THAT(text, StartsWith("next hop 65\n  table      nexthop\n  index      65\n"));
  EXPECT_THAT(text, HasSubstr("\nstandard next hop 65 192.0.2.1 3\n  table           standard-nexthop\n"));
  EXPECT_THAT(text, Not(HasSubstr("LLA")));
  const auto answers = shownJson("show nexthop 65");
  ASSERT_EQ(answers.size(), 2u);
  EXPECT_EQ(answers[0].at("table"), "nexthop");
  EXPECT_EQ(answers[0].at("vrf"), 2);
  EXPECT_EQ(answers[1].at("table"), "standard-nexthop");
  EXPECT_EQ(answers[1].at("address"), "192.0.2.1");
}

TEST(ShowNexthop, is_answered_by_other_tables_alone_and_refused_by_all_together) {
  const auto answers = shownJson("show nexthop 66");
  ASSERT_EQ(answers.size(), 1u);
  EXPECT_EQ(answers[0].at("table"), "lla-nexthop");
  const Outcome outcome = runProgram(commands(afterChain("show nexthop 67")));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "fibdb: no next hop 67\n");
}

TEST(ShowNexthop, without_an_index_lists_its_own_table) {
  EXPECT_THAT(values(shownJson("show nexthop"), "index"), ElementsAre(65));
}

TEST(ShowVpnNexthop, by_index_finds_all_that_it_has) {
  const auto answers = jsonAnswers({"add vpn-nexthop 65 1 2 3", "add vpn-nexthop 65 0 2 3", "add vpn-nexthop 66 0 2 3",
                                    "show vpn-nexthop index 65"});
  ASSERT_EQ(answers.size(), 5u);
  EXPECT_EQ(answers[3].at("vr"), 0);
  EXPECT_EQ(answers[4].at("vr"), 1);
}

TEST(ShowGroup, has_its_facts_and_below_them_the_tree_of_its_members) {
  const std::string text = shown("show group 3");
  EXPECT_THAT(text, StartsWith("group 3\n  id              3\n  vr              0\n"));
  EXPECT_THAT(text, HasSubstr("\n  nexthops        2\n"));
  EXPECT_THAT(text, EndsWith("\n  stored          yes\n" + kGroupTree));
}

TEST(ShowGroup, is_one_nested_object_in_json) {
  const auto answers = shownJson("show group 3 0");
  ASSERT_EQ(answers.size(), 1u);
  const Json& group = answers[0];
  EXPECT_EQ(group.at("id"), 3);
  EXPECT_EQ(group.at("nexthops"), 2);
  EXPECT_EQ(group.at("stored"), true);
  EXPECT_THAT(values(group.at("members"), "primary"), ElementsAre(65, 67));
  EXPECT_EQ(group.at("members")[1].at("bandwidth"), 10);
  const Json& nexthops = group.at("members")[0].at("nexthops");
  EXPECT_THAT(values(nexthops, "role"), ElementsAre("primary", "backup"));
  EXPECT_THAT(values(nexthops, "index"), ElementsAre(65, 66));
  EXPECT_THAT(values(nexthops[0].at("records"), "table"), ElementsAre("nexthop", "standard-nexthop"));
  EXPECT_EQ(nexthops[1].at("records")[0].at("address"), "fe80::1");
  EXPECT_FALSE(nexthops[1].at("records")[0].contains("records"));
  const Json& missing = group.at("members")[1].at("nexthops");
  EXPECT_EQ(missing, Json::parse(R"([{"role": "primary", "index": 67, "records": []}])"));
}

TEST(ShowGroup, without_a_record_or_without_members_is_said_and_no_error) {
  const auto text = [](const Args& lines) { return runProgram(commands(lines)).out; };
  EXPECT_EQ(text({"add group member 3 65", "show group 3"}),
            "added group member 3 65\n"
            "group 3\n"
            "  id      3\n"
            "  vr      0\n"
            "  stored  no\n"
            "group 3: no record\n"
            "`-- group member 3 65\n"
            "    `-- primary 65: no next hop\n");
  EXPECT_THAT(text({"add group 3 1 refs 2", "show group 3 1"}),
              EndsWith("\n  stored          yes\ngroup 3 1, refs 2: no members\n"));
  const auto answers = jsonAnswers({"add group 3", "show group 3"});
  EXPECT_THAT(answers.at(1).at("members"), IsEmpty());
  const auto memberOnly = jsonAnswers({"add group member 3 65", "show group 3"}).at(1);
  EXPECT_EQ(memberOnly.at("stored"), false);
  EXPECT_FALSE(memberOnly.contains("vrf"));
  EXPECT_EQ(memberOnly.at("members").size(), 1u);
}

TEST(ShowGroup, that_nothing_knows_of_is_refused) {
  const Outcome outcome = runProgram(commands(afterChain("show group 3 1")));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "fibdb: no group 3 1\n");
}

TEST(ShowGroup, on_a_terminal_without_box_characters_is_drawn_without_them) {
  RunningProgram program(RunningProgram::On::kTerminal,
                         commands({"add group member 3 65", "add group member 3 66", "show group 3"}));
  EXPECT_TRUE(program.waitFor("\n|-- group member 3 65"));
  EXPECT_EQ(program.finish().status, 0);
}

std::string indented(const std::string& text) {
  std::string lines;
  for (size_t from = 0; from < text.size();) {
    const size_t end = text.find('\n', from) + 1;
    lines += (from == 0 ? "`-- " : "    ") + text.substr(from, end - from);
    from = end;
  }
  return lines;
}

TEST(ShowRoute, leads_from_the_prefix_over_its_group_to_the_next_hops) {
  const std::string covering = shown("show route 10.1.2.3");
  EXPECT_THAT(covering, StartsWith("10.1.2.3 is covered by 10.0.0.0/8\n"
                                   "  address     10.1.2.3\n"
                                   "  prefix      10.0.0.0/8\n"
                                   "  group       3\n"
                                   "  generation  1\n"));
  EXPECT_THAT(covering, EndsWith("\n10.0.0.0/8\n" + indented(kGroupTree)));
  const std::string exact = shown("show route 10.0.0.0/8");
  EXPECT_THAT(exact, StartsWith("10.0.0.0/8\n  prefix      10.0.0.0/8\n"));
  EXPECT_THAT(exact, EndsWith("\n10.0.0.0/8\n" + indented(kGroupTree)));
}

TEST(ShowRoute, is_one_nested_object_in_json) {
  const auto answers = shownJson("show route 10.1.2.3");
  ASSERT_EQ(answers.size(), 1u);
  EXPECT_EQ(answers[0].at("address"), "10.1.2.3");
  EXPECT_EQ(answers[0].at("group"), 3);
  ASSERT_EQ(answers[0].at("groups").size(), 1u);
  EXPECT_EQ(answers[0].at("groups")[0], shownJson("show group 3").at(0));
}

TEST(ShowRoute, whose_group_does_not_exist_says_so) {
  EXPECT_THAT(shown("show route 11.0.0.0/8"), EndsWith("\n11.0.0.0/8\n`-- no group 4\n"));
  EXPECT_EQ(shownJson("show route 11.1.1.1").at(0).at("groups"),
            Json::parse(R"([{"id": 4, "vr": 0, "stored": false, "members": []}])"));
}

TEST(ShowRoute, whose_group_is_another_routers_has_none) {
  const Outcome outcome = runProgram(commands(
      {"add group 4 1", "add group member 4 65 0 0 1", "add route 11.0.0.0/8 group 4", "show route 11.0.0.0/8"}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, EndsWith("\n`-- no group 4\n"));
}

TEST(Resolving, counts_no_failures_for_what_is_missing) {
  Args lines = afterChain("show group 3");
  lines.insert(lines.end(), {"show route 11.1.1.1", "show nexthop 66", "show errors"});
  const auto answers = jsonAnswers(lines);
  size_t tables = 0;
  for (const Json& row : answers) {
    if (row.value("list", "") != "failures") continue;
    ++tables;
    for (const char* operation : {"READ", "ITERATOR"}) EXPECT_EQ(row.at(operation), 0) << row.at("table");
  }
  EXPECT_EQ(tables, 19u);
}

}  // namespace
}  // namespace fibdb::program
