// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/tables/program_auxiliary_tables_test.cc: the auxiliary tables, shown and changed by the program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/run_program.h"

namespace fibdb::program {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Json = nlohmann::json;

// What a run says that goes on behind failures.
std::string errorsOf(const Args& lines) {
  Args args = commands(lines);
  args.emplace_back("-k");
  const Outcome outcome = runProgram(args);
  EXPECT_NE(outcome.status, 0);
  return outcome.err;
}

std::string helpOf(const std::string& command) { return runProgram(commands({"help " + command})).out; }

// Tables of the service that are alike: a key, what is given with it and how that is shown.
struct Plain {
  const char* word;
  const char* key;
  const char* given;
  Json shown;
  const char* missing;

  friend void PrintTo(const Plain& table, std::ostream* out) { *out << table.word; }
};

class PlainTable : public testing::TestWithParam<Plain> {};

TEST_P(PlainTable, is_added_once_shown_listed_counted_and_deleted) {
  const Plain& table = GetParam();
  const auto of = [&](const char* verb, const std::string& more = "") {
    return std::string(verb) + ' ' + table.word + more;
  };
  const std::string key = std::string(" ") + table.key;
  const auto answers = jsonAnswers(
      {of("add", key + ' ' + table.given), of("show", key), of("show"), of("count"), of("delete", key), of("count")});
  ASSERT_EQ(answers.size(), 6u);
  EXPECT_EQ(answers[0].at("replaced"), false);
  EXPECT_EQ(answers[1], table.shown);
  for (const auto& [field, value] : answers[2].items()) {
    if (field == "list") continue;
    EXPECT_EQ(value, table.shown.at(field)) << field;
  }
  EXPECT_EQ(answers[3].at("records"), 1);
  EXPECT_EQ(answers[4].at("deleted"), true);
  EXPECT_EQ(answers[5].at("records"), 0);
  EXPECT_THAT(errorsOf({of("add", key), of("add", key)}), HasSubstr("a record with this primary key exists"));
}

TEST_P(PlainTable, a_missing_one_is_refused) {
  const Plain& table = GetParam();
  const std::string rest = std::string(" ") + table.word + ' ' + table.key;
  const std::string line = std::string("fibdb: no ") + table.missing + ' ' + table.key + '\n';
  EXPECT_EQ(errorsOf({"show" + rest, "delete" + rest}), line + line);
}

const Plain kPlain[] = {
    {"primary-attribute",
     "1 2 3",
     "attr1 4 attr2 5 byte 6 smooth 7",
     {{"key1", 1}, {"key2", 2}, {"key_byte", 3}, {"attr1", 4}, {"attr2", 5}, {"byte", 6}, {"smooth", 7}},
     "primary attribute"},
    {"dod-rule",
     "1 2 10.1.0.0 16",
     "flag 4 smooth 5 stamp1 6 stamp2 7",
     {{"key1", 1},
      {"key2", 2},
      {"address", "10.1.0.0"},
      {"length", 16},
      {"flag", 4},
      {"data", "0"},
      {"smooth", 5},
      {"stamp1", 6},
      {"stamp2", 7}},
     "DoD rule"},
    {"dod-aging",
     "1",
     "word1 2 word2 3 word3 4 word4 5",
     {{"key", 1}, {"word1", 2}, {"word2", 3}, {"word3", 4}, {"word4", 5}},
     "DoD aging record"},
    {"special-ip",
     "1",
     "word 2 byte 3 part1 0405 part2 0607",
     {{"key", 1}, {"word", 2}, {"byte", 3}, {"part1", "0405"}, {"part2", "0607"}},
     "special IP"},
    {"special-ip-sub",
     "1 2 3",
     "byte1 4 byte2 5 word 6",
     {{"key1", 1}, {"key2", 2}, {"key_byte", 3}, {"byte1", 4}, {"byte2", 5}, {"word", 6}, {"data", "0"}},
     "special IP sub-entry"},
    {"meth-host",
     "1",
     "word 2 byte1 3 byte2 4 value 18446744073709551615",
     {{"key", 1}, {"word", 2}, {"byte1", 3}, {"byte2", 4}, {"value", 18446744073709551615u}},
     "management host route"},
};

INSTANTIATE_TEST_SUITE_P(Program, PlainTable, testing::ValuesIn(kPlain), [](const auto& info) {
  std::string name = info.param.word;
  std::erase(name, '-');
  return name;
});

TEST(PrimaryAttribute, has_a_smooth_id_to_set_and_is_found_by_two_words) {
  const auto answers = jsonAnswers({"add primary-attribute 1 2 3 smooth 4", "add primary-attribute 1 3 3 attr1 9",
                                    "set primary-attribute 1 2 3 smooth 5", "show primary-attribute key1 1 key2 2",
                                    "show primary-attribute key2 3 key1 1"});
  ASSERT_EQ(answers.size(), 5u);
  EXPECT_EQ(answers[3].at("smooth"), 5);
  EXPECT_EQ(answers[4].at("attr1"), 9);
  EXPECT_EQ(runProgram(commands({"show primary-attribute key1 1 key2 2"})).out, "no primary attributes\n");
  EXPECT_THAT(errorsOf({"set primary-attribute 1 2 3 attr1 5"}),
              HasSubstr("attr1 of a primary attribute cannot be changed"));
}

TEST(DodRule, has_a_smooth_id_to_set_and_is_found_by_the_longest_match) {
  const auto answers =
      jsonAnswers({"add dod-rule 1 2 10.0.0.0 8", "add dod-rule 1 2 10.1.0.0 16",
                   "set dod-rule 1 2 10.1.0.0 16 smooth 5", "show dod-rule key1 1 key2 2 address 10.1.2.3 length 32",
                   "show dod-rule key1 1 key2 2 address 10.2.2.3 length 32"});
  ASSERT_EQ(answers.size(), 5u);
  EXPECT_EQ(answers[3].at("length"), 16);
  EXPECT_EQ(answers[3].at("smooth"), 5);
  EXPECT_EQ(answers[4].at("length"), 8);
  EXPECT_EQ(runProgram(commands({"show dod-rule key1 1 key2 2 address 11.0.0.0 length 32"})).out, "no DoD rules\n");
}

TEST(FwdVsVpn, is_shown_with_its_time_deleted_and_not_listed) {
  const auto answers = jsonAnswers({"add fwd-vs-vpn 1 word1 2 word2 3 half1 4 half2 65535", "show fwd-vs-vpn 1",
                                    "show fwd-vs-vpn", "delete fwd-vs-vpn 1", "count fwd-vs-vpn"});
  ASSERT_EQ(answers.size(), 5u);
  EXPECT_EQ(answers[1].at("word2"), 3);
  EXPECT_EQ(answers[1].at("half2"), 65535);
  EXPECT_GT(answers[1].at("created"), 1'000'000'000'000'000u);
  EXPECT_EQ(answers[2].at("half1"), 4);
  EXPECT_EQ(answers[4].at("records"), 0);
}

TEST(ForceFragment, is_added_replaced_changed_and_listed_but_not_deleted) {
  const auto answers =
      jsonAnswers({"add force-fragment 7 enable 1 status_high 2 error_normal 3", "add force-fragment 7 enable 1",
                   "set force-fragment 7 status_normal 4 enable 0", "show force-fragment 7", "add force-fragment 3",
                   "show force-fragment", "count force-fragment"});
  ASSERT_EQ(answers.size(), 8u);
  EXPECT_EQ(answers[0].at("replaced"), false);
  EXPECT_EQ(answers[1].at("replaced"), true);
  EXPECT_EQ(
      answers[3],
      (Json{
          {"vr", 7}, {"enable", 0}, {"status_high", 0}, {"status_normal", 4}, {"error_high", 0}, {"error_normal", 0}}));
  EXPECT_THAT((std::vector<Json>{answers[5].at("vr"), answers[6].at("vr")}), ElementsAre(3, 7));
  EXPECT_EQ(answers[7].at("records"), 2);
  EXPECT_EQ(errorsOf({"show force-fragment 9"}), "fibdb: no forced fragmentation 9\n");
  EXPECT_THAT(errorsOf({"delete force-fragment 7"}), HasSubstr("unknown word"));
  EXPECT_THAT(helpOf("add force-fragment"), HasSubstr("The library deletes none"));
}

TEST(VrfClass, is_only_shown_and_counted_by_table_state_and_flag) {
  EXPECT_EQ(errorsOf({"show vrf-class 1 2 3 4"}), "fibdb: no VRF class record 1 2 3 4\n");
  EXPECT_EQ(jsonAnswers({"count vrf-class table 1 state 2 smooth_flag 3"}).at(0).at("records"), 0);
  const std::string usage = "usage: count vrf-class table N state N smooth_flag N\n";
  EXPECT_THAT(errorsOf({"count vrf-class"}), HasSubstr(usage));
  EXPECT_THAT(errorsOf({"count vrf-class table 1"}), HasSubstr("no index serves these words together\n" + usage));
  EXPECT_THAT(errorsOf({"add vrf-class 1 2 3 4"}), HasSubstr("unknown word"));
  EXPECT_THAT(helpOf("show vrf-class"), HasSubstr("The library neither writes nor lists them"));
}

TEST(DefaultRoute, is_written_listed_and_deleted) {
  const auto answers =
      jsonAnswers({"add default-route 5 status_high 1 time 7", "add default-route 5 status_normal 2 time 9",
                   "show default-route", "delete default-route 5", "count default-route"});
  ASSERT_EQ(answers.size(), 5u);
  EXPECT_EQ(
      answers[2],
      (nlohmann::json{{"list", "default routes"}, {"fvrf", 5}, {"status_high", 0}, {"status_normal", 2}, {"time", 9}}));
  EXPECT_EQ(answers[4].at("records"), 0);
  EXPECT_THAT(errorsOf({"delete default-route 5"}), HasSubstr("default route 5: no record has this key (code 15005)"));
  EXPECT_EQ(answers[4].at("records"), 0);
  EXPECT_EQ(runProgram(commands({"show default-route 5"})).status, 2);
}

}  // namespace
}  // namespace fibdb::program
