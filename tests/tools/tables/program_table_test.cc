// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/tables/program_table_test.cc: routes, next hops, AR groups and any table, shown and changed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

#include "tests/tools/run_program.h"

namespace fibdb::program {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

Outcome answer(const Args& lines) { return runProgram(commands(lines)); }

const Args kNested = {"add route 10.0.0.0/8 group 1", "add route 10.1.0.0/16 group 2", "add route 10.1.2.0/24 group 3",
                      "add route 11.0.0.0/8 group 4"};

Args afterNested(const Args& lines) {
  Args all = kNested;
  all.insert(all.end(), lines.begin(), lines.end());
  return all;
}

TEST(ShowRoute, an_address_gets_its_longest_prefix) {
  const auto answers = jsonAnswers(
      afterNested({"show route 10.1.2.3", "show route 10.1.3.1", "show route 10.255.255.255", "show route 11.0.0.0"}));
  EXPECT_EQ(answers.at(4).at("prefix"), "10.1.2.0/24");
  EXPECT_EQ(answers.at(5).at("prefix"), "10.1.0.0/16");
  EXPECT_EQ(answers.at(6).at("prefix"), "10.0.0.0/8");
  EXPECT_EQ(answers.at(7).at("prefix"), "11.0.0.0/8");
  EXPECT_EQ(answers.at(7).at("group"), 4);
  EXPECT_EQ(answers.at(7).at("address"), "11.0.0.0");
}

TEST(ShowRoute, an_address_that_nothing_covers_is_refused_with_status_1) {
  const Outcome outcome = answer(afterNested({"show route 12.0.0.0"}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "fibdb: no route covers 12.0.0.0\n");
}

TEST(ShowRoute, a_prefix_is_found_exactly_or_not_at_all) {
  EXPECT_EQ(jsonAnswers(afterNested({"show route 10.1.0.0/16"})).at(4).at("group"), 2);
  const Outcome outcome = answer(afterNested({"show route 10.1.0.0/17"}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "fibdb: no route 10.1.0.0/17\n");
}

TEST(ShowRoute, longer_lists_the_routes_inside_in_key_order) {
  const Outcome outcome = answer({"add route 10.1.2.0/24", "add route 10.1.0.0/16", "add route 10.2.0.0/16",
                                  "add route 10.0.0.0/8", "add route 10.1.2.128/25", "show route 10.1.0.0/16 longer"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("prefix                   group\n"
                                     "10.1.0.0/16                  0\n"
                                     "10.1.2.0/24                  0\n"
                                     "10.1.2.128/25                0\n"));
  EXPECT_THAT(outcome.out, testing::Not(HasSubstr("10.2.0.0/16      ")));
}

TEST(ShowRoute, longer_of_everything_is_the_whole_table_and_of_nothing_is_refused) {
  EXPECT_EQ(jsonAnswers(afterNested({"show route 0.0.0.0/0 longer"})).size(), 8u);
  const Outcome outcome = answer(afterNested({"show route 12.0.0.0/8 longer"}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "fibdb: no route inside 12.0.0.0/8\n");
}

TEST(ShowRoute, wrong_words_are_usage_with_advice) {
  const Outcome bits = answer({"show route 10.0.0.1/8"});
  EXPECT_EQ(bits.status, 2);
  EXPECT_THAT(bits.err,
              HasSubstr("\"10.0.0.1/8\": bits set beyond the mask\ndid you mean 10.0.0.0/8?\nusage: show route"));
  EXPECT_EQ(answer({"show route 10.0.0.0/8 shorter"}).status, 2);
  EXPECT_EQ(answer({"show route 10.0.0.0/8 longer 3"}).status, 2);
}

TEST(ShowRouteSummary, counts_by_length_and_by_group) {
  const auto answers = jsonAnswers(afterNested({"add route 12.0.0.0/8 group 4", "show route summary"}));
  EXPECT_EQ(answers.at(5), (nlohmann::json{{"routes", 5}, {"groups", 4}}));
  EXPECT_EQ(answers.at(6), (nlohmann::json{{"list", "mask_lengths"}, {"length", 8}, {"routes", 3}, {"percent", 60.0}}));
  EXPECT_EQ(answers.at(9),
            (nlohmann::json{{"list", "largest_groups"}, {"group", 4}, {"routes", 2}, {"percent", 40.0}}));
  EXPECT_EQ(answer({"show route summary"}).out, "0 routes in 0 groups\n");
}

TEST(AddRoute, adds_then_replaces_and_delete_takes_it_away_once) {
  const Outcome outcome = answer({"add route 10.0.0.0/8 group 1", "add route 10.0.0.0/8 group 2",
                                  "delete route 10.0.0.0/8", "count ip4forward", "delete route 10.0.0.0/8"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "added 10.0.0.0/8 group 1\nreplaced 10.0.0.0/8 group 2\ndeleted 10.0.0.0/8\n0\n");
  EXPECT_EQ(outcome.err, "fibdb: no route 10.0.0.0/8\n");
}

TEST(AddRoute, at_the_limit_is_refused_with_the_code) {
  const Outcome outcome = answer({"set limit ip4forward records 1", "add route 1.0.0.0/8", "add route 2.0.0.0/8"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, StartsWith("fibdb: 2.0.0.0/8 refused: "));
  EXPECT_THAT(outcome.err, HasSubstr("(code 20015)"));
}

TEST(Nexthop, is_written_shown_listed_in_order_and_deleted) {
  const Outcome outcome =
      answer({"add nexthop 300 vr 1 vrf 2 origin 3 num 4 flag 5 refs 6 flags 0xff iid_flags 8 source 9 "
              "smooth 10 object 18446744073709551615 version 12",
              "add nexthop 7", "show nexthop", "delete nexthop 7", "count nhp"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out,
            "added next hop 300\n"
            "added next hop 7\n"
            "index  vr  vrf  origin  num  flag  refs  flags  iid flags  source  smooth                object "
            " version\n"
            "    7   0    0       0    1     0     0      0          0       0       0                     0 "
            "       0\n"
            "  300   1    2       3    4     5     6    255          8       9      10  18446744073709551615 "
            "      12\n"
            "deleted next hop 7\n"
            "1\n");
}

TEST(Nexthop, values_beyond_their_field_and_missing_records_are_refused) {
  EXPECT_THAT(answer({"add nexthop 1 flag 256"}).err, HasSubstr("\"256\" is not a number up to 255"));
  EXPECT_THAT(answer({"add nexthop 1 vrff 2"}).err, HasSubstr("unknown word \"vrff\"\ndid you mean \"vrf\"?"));
  EXPECT_THAT(answer({"add nexthop 1 vr"}).err, HasSubstr("a value for vr is missing"));
  const Outcome show = answer({"show nexthop 1"});
  EXPECT_EQ(show.status, 1);
  EXPECT_EQ(show.err, "fibdb: no next hop 1\n");
  EXPECT_EQ(answer({"delete nexthop 1"}).err, "fibdb: no next hop 1\n");
}

TEST(Nexthop, set_changes_what_is_given_and_keeps_the_rest) {
  const auto answers = jsonAnswers({"add nexthop 7 vr 1 vrf 2 object 3", "set nexthop 7 vrf 0x20 refs 4294967295",
                                    "show nexthop 7", "count nexthop"});
  EXPECT_EQ(answers.at(0), (nlohmann::json{{"index", 7}, {"replaced", false}}));
  EXPECT_EQ(answers.at(1), (nlohmann::json{{"index", 7}, {"vrf", 32}, {"refs", 4294967295}}));
  EXPECT_EQ(answers.at(2).at("vr"), 1);
  EXPECT_EQ(answers.at(2).at("vrf"), 32);
  EXPECT_EQ(answers.at(2).at("refs"), 4294967295);
  EXPECT_EQ(answers.at(2).at("object"), 3);
  EXPECT_EQ(answers.at(3), (nlohmann::json{{"table", "nexthop"}, {"records", 1}}));
}

TEST(Nexthop, set_of_a_missing_one_or_with_wrong_words_changes_nothing) {
  const Outcome missing = runProgram({"-k", "-c", "set nexthop 1 vr 1", "-c", "show nexthop"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "fibdb: no next hop 1\n");
  EXPECT_EQ(missing.out, "no next hops\n");
  EXPECT_THAT(answer({"set nexthop"}).err, HasSubstr("index is missing\nusage: set nexthop INDEX [vr N] "));
  EXPECT_THAT(answer({"set nexthop 1"}).err, HasSubstr("one of vr, vrf, "));
  EXPECT_THAT(answer({"set nexthop 1 flag 256"}).err, HasSubstr("flag: \"256\" is not a number up to 255"));
  EXPECT_THAT(answer({"set nexthop 1 fags 1"}).err, HasSubstr("did you mean \"flags\"?"));
}

TEST(Nexthop, help_of_its_words_is_not_that_of_longer_ones) {
  EXPECT_EQ(answer({"help delete nexthop"}).out, "delete nexthop INDEX\n  delete a next hop.\n");
  EXPECT_THAT(answer({"help del nexth"}).out, HasSubstr("delete nexthop-ext IID KEY2 KEY3 TUNNEL TYPE"));
}

TEST(NexthopExt, is_added_shown_changed_counted_and_deleted) {
  const auto answers =
      jsonAnswers({"add nexthop-ext 1 2 3 4 5 addr1 2001:db8::1 word1 6 dword1 0xffffffffffffffff "
                   "ctx_high 000102030405060708090a0b0c0d0e0f",
                   "set nexthop-ext 1 2 3 4 5 status_high 7 word5 8", "show nexthop-ext 1 2 3 4 5",
                   "add nexthop-ext 1 2 3 4 5", "count nhp_ext", "delete nexthop-ext 1 2 3 4 5", "count nhp_ext"});
  ASSERT_EQ(answers.size(), 7u);
  EXPECT_EQ(answers[0],
            (nlohmann::json{{"iid", 1}, {"key2", 2}, {"key3", 3}, {"tunnel", 4}, {"type", 5}, {"replaced", false}}));
  EXPECT_EQ(answers[2].at("addr1"), "2001:db8::1");
  EXPECT_EQ(answers[2].at("word1"), 6);
  EXPECT_EQ(answers[2].at("word5"), 8);
  EXPECT_EQ(answers[2].at("dword1"), UINT64_MAX);
  EXPECT_EQ(answers[2].at("status_high"), 7);
  EXPECT_EQ(answers[2].at("ctx_high"), "000102030405060708090a0b0c0d0e0f");
  EXPECT_EQ(answers[3].at("replaced"), true);
  EXPECT_EQ(answers[4].at("records"), 1);
  EXPECT_EQ(answers[5].at("deleted"), true);
  EXPECT_EQ(answers[6].at("records"), 0);
}

TEST(NexthopExt, is_found_by_iid_by_tunnel_and_by_its_type) {
  const auto answers = jsonAnswers(
      {"add nexthop-ext 1 2 3 4 5", "add nexthop-ext 1 2 0 4 6", "add nexthop-ext 7 2 3 4 5", "show nexthop-ext iid 1",
       "show nexthop-ext type 5 tunnel 4", "show nexthop-ext key2 2 key3 0 tunnel 4 type 6"});
  ASSERT_EQ(answers.size(), 8u);
  EXPECT_EQ(answers[3].at("type"), 6);
  EXPECT_EQ(answers[4].at("type"), 5);
  EXPECT_EQ(answers[5].at("iid"), 1);
  EXPECT_EQ(answers[6].at("iid"), 7);
  EXPECT_EQ(answers[7].at("key3"), 0);
  EXPECT_EQ(answer({"show nexthop-ext iid 9"}).out, "no next-hop extensions\n");
}

TEST(NexthopExt, what_is_missing_is_refused) {
  EXPECT_EQ(answer({"show nexthop-ext 1 2 3 4 5"}).err, "fibdb: no next-hop extension 1 2 3 4 5\n");
  EXPECT_EQ(answer({"set nexthop-ext 1 2 3 4 5 status_high 1"}).err, "fibdb: no next-hop extension 1 2 3 4 5\n");
  EXPECT_EQ(answer({"delete nexthop-ext 1 2 3 4 5"}).err, "fibdb: no next-hop extension 1 2 3 4 5\n");
  EXPECT_EQ(answer({"show nexthop-ext"}).out, "no next-hop extensions\n");
  EXPECT_THAT(answer({"show nexthop-ext iid 1 type 2"}).err, HasSubstr("no index serves these words together"));
}

TEST(NexthopExtLabel, is_created_once_walked_by_VRF_and_deleted) {
  const auto answers =
      jsonAnswers({"add nexthop-ext-label 1 2 3 4 5 6 7 word2 8 stamp1 9", "add nexthop-ext-label 1 2 0 4 5 6 7",
                   "set nexthop-ext-label 1 2 3 4 5 6 7 smooth 10", "show nexthop-ext-label vr 2 vrf 3",
                   "show nexthop-ext-label 1 2 3 4 5 6 7", "count nexthop-ext-label",
                   "delete nexthop-ext-label 1 2 3 4 5 6 7", "show nexthop-ext-label"});
  ASSERT_EQ(answers.size(), 8u);
  EXPECT_EQ(answers[3].at("vrf"), 3);
  EXPECT_EQ(answers[3].at("smooth"), 10);
  EXPECT_EQ(answers[4].at("word2"), 8);
  EXPECT_EQ(answers[4].at("stamp1"), 9);
  EXPECT_EQ(answers[4].at("data"), "0");
  EXPECT_EQ(answers[5].at("records"), 2);
  EXPECT_EQ(answers[7].at("vrf"), 0);
}

TEST(NexthopExtLabel, a_second_creation_and_what_cannot_change_are_refused) {
  const Outcome twice = answer({"add nexthop-ext-label 1 2 3 4 5 6 7", "add nexthop-ext-label 1 2 3 4 5 6 7"});
  EXPECT_EQ(twice.status, 1);
  EXPECT_THAT(twice.err, StartsWith("fibdb: next-hop extension label 1 2 3 4 5 6 7: "));
  EXPECT_THAT(twice.err, HasSubstr("(code 20022)"));
  EXPECT_THAT(answer({"set nexthop-ext-label 1 2 3 4 5 6 7 word1 4"}).err,
              HasSubstr("word1 of a next-hop extension label cannot be changed"));
}

TEST(Group, is_written_shown_listed_in_order_and_deleted) {
  const Outcome outcome = answer({"add group 300 1 vrf 2 nexthops 3 refs 4 flags 5 source 6 smooth 7", "add group 7",
                                  "show group", "count group", "delete group 300 1", "count nhp_group"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out,
            "added group 300 1\n"
            "added group 7\n"
            " id  vr  vrf  nexthops  refs  flags  source  smooth  status high  status normal\n"
            "  7   0    0         0     0      0       0       0            0              0\n"
            "300   1    2         3     4      5       6       7            0              0\n"
            "2\n"
            "deleted group 300 1\n"
            "1\n");
}

TEST(Group, set_changes_what_is_given_and_keeps_the_rest) {
  const auto answers =
      jsonAnswers({"add group 3 vrf 1 refs 2 flags 3 smooth 4 attributes 5 new_vrf 6 type_high 7 "
                   "type_normal 8 overlay 9 underlay 10 system 11 source 12",
                   "set group 3 nexthops 20 refs 21 overlay 22", "show group 3",
                   "set group 3 0 flags 30 smooth 31 attributes 32", "show group 3 0"});
  EXPECT_EQ(answers.at(0), (nlohmann::json{{"id", 3}, {"vr", 0}, {"replaced", false}}));
  nlohmann::json expected{{"id", 3},
                          {"vr", 0},
                          {"vrf", 1},
                          {"nexthops", 20},
                          {"refs", 21},
                          {"flags", 3},
                          {"source", 12},
                          {"smooth", 4},
                          {"attributes", 5},
                          {"new_vrf", 6},
                          {"type_high", 7},
                          {"type_normal", 8},
                          {"overlay", 22},
                          {"underlay", 10},
                          {"system", 11},
                          {"status_high", 0},
                          {"status_normal", 0},
                          {"error_high", "0"},
                          {"error_normal", "0"}};
  const std::string allOnes(64, 'f');
  expected["context_high"] = allOnes;
  expected["context_normal"] = allOnes;
  expected["stored"] = true;
  expected["members"] = nlohmann::json::array();
  EXPECT_EQ(answers.at(2), expected);
  expected["flags"] = 30;
  expected["smooth"] = 31;
  expected["attributes"] = 32;
  EXPECT_EQ(answers.at(4), expected);
}

TEST(Group, is_found_by_router_VRF_and_source_together) {
  const auto answers =
      jsonAnswers({"add group 1 vrf 2 source 3", "add group 2 vrf 2 source 4", "show group vr 0 vrf 2 source 4"});
  ASSERT_EQ(answers.size(), 3u);
  EXPECT_EQ(answers[2].at("id"), 2);
  EXPECT_THAT(answer({"show group vrf 2"}).err, HasSubstr("no index serves these words together"));
}

TEST(Group, that_is_missing_or_given_a_state_is_refused) {
  EXPECT_EQ(answer({"show group 3"}).err, "fibdb: no group 3\n");
  EXPECT_EQ(answer({"set group 3 refs 1"}).err, "fibdb: no group 3\n");
  EXPECT_EQ(answer({"delete group 3 4"}).err, "fibdb: no group 3 4\n");
  EXPECT_THAT(answer({"add group 3 status_high 1"}).err, HasSubstr("unknown word \"status_high\""));
}

TEST(GroupMember, is_written_shown_listed_in_order_changed_and_deleted) {
  const auto answers =
      jsonAnswers({"add group member 3 66 0 2", "add group member 3 65 66 1 0 5 100 200 bandwidth 9",
                   "set group member 3 65 66 1 0 5 100 200 flags 4 smooth 5", "show group member 3 65 66 1 0 5 100 200",
                   "show group member", "count group member", "delete group member 3 66 0 2", "count nhp_group_node"});
  ASSERT_EQ(answers.size(), 9u);
  EXPECT_EQ(answers[3], (nlohmann::json{{"group", 3},
                                        {"primary", 65},
                                        {"backup", 66},
                                        {"sequence", 1},
                                        {"vr", 0},
                                        {"attribute", 5},
                                        {"primary_label", 100},
                                        {"backup_label", 200},
                                        {"vrf", 0},
                                        {"bandwidth", 9},
                                        {"flags", 4},
                                        {"source", 0},
                                        {"smooth", 5},
                                        {"object", 0}}));
  EXPECT_EQ(answers[4].at("primary"), 65);
  EXPECT_EQ(answers[5].at("primary"), 66);
  EXPECT_EQ(answers[6], (nlohmann::json{{"table", "group member"}, {"records", 2}}));
  EXPECT_EQ(answers[8].at("records"), 1);
}

TEST(GroupMember, is_found_by_its_group_and_by_either_next_hop) {
  const Args members = {"add group member 3 65 66", "add group member 3 66 65", "add group member 4 65 0",
                        "add group member 3 67 0 0 1"};
  const auto found = [&](const char* line) {
    Args lines = members;
    lines.emplace_back(line);
    std::vector<std::string> titles;
    const auto answers = jsonAnswers(lines);
    for (size_t i = members.size(); i < answers.size(); ++i) {
      titles.push_back(answers[i].at("group").dump() + ' ' + answers[i].at("primary").dump());
    }
    return titles;
  };
  EXPECT_THAT(found("show group member group 3"), testing::ElementsAre("3 65", "3 66"));
  EXPECT_THAT(found("show group member group 3 vr 1"), testing::ElementsAre("3 67"));
  EXPECT_THAT(found("show group member primary 65"), testing::ElementsAre("3 65", "4 65"));
  EXPECT_THAT(found("show group member backup 65"), testing::ElementsAre("3 66"));
}

TEST(Ftn, is_written_shown_changed_and_deleted) {
  const auto answers = jsonAnswers({"add ftn 10.0.0.0 8 group 3 status_high 1", "add ftn 10.0.0.0 8 1 2 group 4",
                                    "set ftn 10.0.0.0 8 group 5 refs 6", "show ftn 10.0.0.0 8",
                                    "show ftn 10.0.0.0 8 1 2", "delete ftn 10.0.0.0 8", "show ftn"});
  EXPECT_EQ(answers.at(3).at("group"), 5);
  EXPECT_EQ(answers.at(3).at("refs"), 6);
  EXPECT_EQ(answers.at(3).at("status_high"), 1);
  EXPECT_EQ(answers.at(4).at("group"), 4);
  EXPECT_EQ(answers.at(5),
            (nlohmann::json{{"address", "10.0.0.0"}, {"length", 8}, {"vr", 0}, {"vrf", 0}, {"deleted", true}}));
  ASSERT_EQ(answers.size(), 7u);
  EXPECT_EQ(answers.at(6).at("group"), 4);
  EXPECT_EQ(answer({"show ftn 10.0.0.0 8"}).err, "fibdb: no FTN 10.0.0.0 8\n");
}

TEST(ArGroup, set_changes_the_smooth_id_and_nothing_else) {
  const auto answers = jsonAnswers({"add ar-group 1 2 3 asn 9 attr1 4 bytes2 0102030405060708",
                                    "set ar-group 1 2 3 smooth 77", "show ar-group 1 2 3", "count ar-group"});
  EXPECT_EQ(answers.at(1), (nlohmann::json{{"key1", 1}, {"key2", 2}, {"key_byte", 3}, {"smooth", 77}}));
  EXPECT_EQ(answers.at(2).at("smooth"), 77);
  EXPECT_EQ(answers.at(2).at("asn"), 9);
  EXPECT_EQ(answers.at(2).at("attr1"), 4);
  EXPECT_EQ(answers.at(2).at("bytes2"), "0102030405060708");
  EXPECT_EQ(answers.at(2).at("bytes1"), "0");
  EXPECT_EQ(answers.at(3).at("records"), 1);
  EXPECT_THAT(answer({"set ar-group 1 2 3 asn 4"}).err, HasSubstr("asn of an AR group cannot be changed\ndelete it"));
}

TEST(ArGroup, is_created_once_found_by_origin_and_deleted) {
  const auto answers = jsonAnswers({"add ar-group 1 2 3 originator 77 smooth 5", "add ar-group 1 2 4 asn 65000",
                                    "show ar-group originator 77", "show ar-group asn 65000", "show ar-group 1 2 3",
                                    "delete ar-group 1 2 3", "show ar-group"});
  ASSERT_EQ(answers.size(), 7u);
  EXPECT_EQ(answers[2].at("key_byte"), 3);
  EXPECT_EQ(answers[2].at("originator"), 77);
  EXPECT_EQ(answers[3].at("key_byte"), 4);
  EXPECT_EQ(answers[4].at("smooth"), 5);
  EXPECT_EQ(answers[6].at("asn"), 65000);
}

TEST(ArGroup, a_second_creation_and_a_missing_one_are_refused) {
  const Outcome twice = answer({"add ar-group 1 2 3", "add ar-group 1 2 3"});
  EXPECT_EQ(twice.status, 1);
  EXPECT_THAT(twice.err, StartsWith("fibdb: AR group 1 2 3: "));
  EXPECT_THAT(twice.err, HasSubstr("(code 20022)"));
  EXPECT_EQ(answer({"delete ar-group 1 2 3"}).err, "fibdb: no AR group 1 2 3\n");
  EXPECT_EQ(answer({"show ar-group 1 2 3"}).err, "fibdb: no AR group 1 2 3\n");
  EXPECT_EQ(answer({"show ar-group asn 1"}).out, "no AR groups\n");
}

TEST(ShowTable, has_the_columns_of_the_database_and_its_rows) {
  const auto answers = jsonAnswers(afterNested({"show table ip4forward", "show table ip4forward limit 2"}));
  ASSERT_EQ(answers.size(), 4u + 4 + 2);
  for (size_t i = 4; i < answers.size(); ++i) {
    EXPECT_EQ(answers[i].at("vr_id"), 0);
    EXPECT_THAT(answers[i].at("dest_ip_addr").get<std::string>(), StartsWith("1"));
    EXPECT_EQ(answers[i].at("attr_block_a"), "0");
    EXPECT_GT(answers[i].at("time_stamp_svc").get<uint64_t>(), 1'500'000'000'000'000u);
  }
}

TEST(ShowTable, an_unknown_table_names_the_nearest_one) {
  const Outcome outcome = answer({"show table ip4forwrad"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "fibdb: unknown table \"ip4forwrad\"\ndid you mean \"ip4forward\"?\nusage: show table TABLE "
            "[limit N]\n");
  EXPECT_EQ(answer({"show table nhp limit x"}).status, 2);
  EXPECT_EQ(answer({"show table nhp"}).out, "no records in nhp\n");
}

TEST(ShowTables, lists_the_tables_with_their_records) {
  bool seen = false;
  for (const auto& row : jsonAnswers({"add nexthop 1", "show tables"})) {
    if (row.value("table", "") != "nhp") continue;
    seen = true;
    EXPECT_EQ(row.at("records"), 1);
    EXPECT_GT(row.at("columns"), 10);
  }
  EXPECT_TRUE(seen);
}

TEST(SetLimit, holds_until_it_is_lifted) {
  const Outcome outcome = answer({"set limit nhp records 1", "set limit nhp bytes 100000000", "add nexthop 1",
                                  "set limit nhp records 0", "add nexthop 2", "count nhp"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out,
              StartsWith("nhp may hold 1 records, any bytes\nnhp may hold 1 records, 100,000,000 bytes\n"));
  EXPECT_THAT(outcome.out, HasSubstr("nhp may hold any records, 100,000,000 bytes\nadded next hop 2\n2\n"));
  EXPECT_EQ(answer({"set limit nhp rows 1"}).status, 2);
}

TEST(ShowEngine, counts_what_was_done) {
  const auto answers =
      jsonAnswers({"add route 1.0.0.0/8", "add route 1.0.0.0/8", "delete route 1.0.0.0/8", "show engine"});
  bool seen = false;
  for (const auto& row : answers) {
    if (row.value("table", "") != "ip4forward") continue;
    seen = true;
    EXPECT_EQ(row.at("inserted"), 1);
    EXPECT_EQ(row.at("replaced"), 1);
    EXPECT_EQ(row.at("removed"), 1);
  }
  EXPECT_TRUE(seen);
  EXPECT_EQ(answers.back().at("operations"), 3);
  EXPECT_EQ(answers.back().at("waiting"), 0);
}

TEST(ShowEngine, says_by_structure_what_the_memory_of_a_table_is_for) {
  uint64_t all = 0, table = 0;
  std::set<std::string> structures;
  for (const auto& row : jsonAnswers({"add route 1.0.0.0/8", "show engine structures", "show engine"})) {
    if (row.value("table", "") != "ip4forward") continue;
    if (!row.contains("structure")) {
      table = row.at("bytes");
      continue;
    }
    structures.insert(row.at("structure"));
    all += row.at("bytes").get<uint64_t>();
    EXPECT_EQ(row.at("bytes_per_record"), row.at("bytes")) << "of one record";
  }
  EXPECT_GT(table, 0U);
  EXPECT_EQ(all, table);
  EXPECT_TRUE(structures.contains("records") && structures.contains("longest-prefix index 0x0305000D"));
  EXPECT_THAT(answer({"show engine structure-less"}).err, HasSubstr("\"structure-less\""));
}

TEST(ShowEngine, is_lists_that_name_themselves) {
  std::vector<std::string> lists;
  for (const auto& row : jsonAnswers({"add route 1.0.0.0/8", "show engine"})) {
    const std::string list = row.value("list", "");
    if (lists.empty() || lists.back() != list) lists.push_back(list);
  }
  EXPECT_THAT(lists, testing::ElementsAre("", "tables", "arena", "connection"));
}

TEST(CheckEngine, finds_a_database_in_order) {
  const auto answers = jsonAnswers({"add route 1.0.0.0/8", "add nexthop 1", "check engine"});
  const nlohmann::json& check = answers.back();
  EXPECT_EQ(check.at("tables"), 28);
  EXPECT_EQ(check.at("records"), 2);
  EXPECT_GT(check.at("blocks"), 2);
  EXPECT_EQ(check.at("overtaken"), 0);
  EXPECT_EQ(check.at("findings"), 0);
  const Outcome outcome = runProgram(commands({"check engine"}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "28 tables checked, 0 records in 0 blocks of memory: 0 findings\n");
}

TEST(ShowErrors, is_a_matrix_of_19_tables_and_7_operations) {
  const auto answers = jsonAnswers({"show errors"});
  ASSERT_EQ(answers.size(), 24u);
  for (size_t i = 0; i < 19; ++i) {
    EXPECT_EQ(answers[i].size(), 2u + 7u);
    EXPECT_EQ(answers[i].at("ITERATOR"), 0);
  }
  EXPECT_EQ(answers[0].at("table"), "ip4forward");
  EXPECT_EQ(answers[18].at("table"), "nhp_group_ftn");
}

TEST(ShowErrors, says_what_is_counted_elsewhere_and_where) {
  const Outcome outcome =
      runProgram({"--json", "-k", "-c", "set limit ip4forward records 1", "-c", "add route 1.0.0.0/8", "-c",
                  "add route 2.0.0.0/8", "-c", "delete route 3.0.0.0/8", "-c", "show errors"});
  std::map<std::string, nlohmann::json> elsewhere;
  for (const auto& row : jsonLines(outcome.out)) {
    if (row.value("list", "") == "elsewhere") elsewhere[row.at("failures")] = row;
  }
  ASSERT_EQ(elsewhere.size(), 5u);
  EXPECT_EQ(elsewhere["operations refused inside batches"].at("count"), 2);
  EXPECT_EQ(elsewhere["operations refused inside batches"].at("counted_in"), "show engine: failed, of the connection");
  EXPECT_EQ(elsewhere["writes refused at a limit"].at("count"), 1);
  EXPECT_EQ(elsewhere["batches that found the queue full"].at("count"), 0);
  EXPECT_EQ(elsewhere["route writes asked to try again"].at("counted_in"), "g_ip4WriteDbSetDataRetry");
}

TEST(ShowErrors, a_refused_next_hop_is_counted_and_logged) {
  const Outcome outcome = runProgram(
      {"-k", "-c", "add nexthop 1", "-c", "set limit nhp records 1", "-c", "add nexthop 2", "-c", "show errors"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("fibdb: next hop 2 refused: "));
  EXPECT_THAT(outcome.out, HasSubstr("nhp                  0    0      1"));
}

TEST(ShowMetrics, is_one_text_of_the_engine_and_the_library) {
  const Args lines = {"set limit nhp records 1", "add nexthop 1", "add nexthop 2", "add route 1.0.0.0/8"};
  Args args = {"-k"};
  for (const std::string& line : lines) args.insert(args.end(), {"-c", line});
  args.insert(args.end(), {"-c", "show metrics"});
  const std::string out = runProgram(args).out;
  const std::string text = out.substr(out.find("# TYPE"));
  EXPECT_THAT(text, HasSubstr("\nfibdb_table_records{table=\"nhp\"} 1\n"));
  EXPECT_THAT(text, HasSubstr("\nfibdb_table_record_limit{table=\"nhp\"} 1\n"));
  EXPECT_THAT(text, HasSubstr("\nfibdb_table_writes_total{table=\"nhp\",outcome=\"refused\"} 1\n"));
  EXPECT_THAT(text, HasSubstr("\nfibdb_batch_operations_total 1\n"));
  EXPECT_THAT(text, HasSubstr("\nfibdb_errors_total{table=\"nhp\",operation=\"WRITE\"} 1\n"));
  EXPECT_THAT(text, HasSubstr("\nfibdb_route_retries_total{operation=\"remove\"} 0\n"));
  EXPECT_EQ(text.find("# EOF"), text.size() - 6) << "once, at the end";
}

// What a collector asks of the text: every sample belongs to the family whose type was said last.
TEST(ShowMetrics, names_every_family_before_its_samples_and_once) {
  std::istringstream text(runProgram({"show", "metrics"}).out);
  std::set<std::string> families;
  std::string line, family, type;
  size_t samples = 0;
  while (std::getline(text, line) && line != "# EOF") {
    std::istringstream words(line);
    std::string first, keyword;
    words >> first;
    if (first == "#") {
      std::string name;
      words >> keyword >> name;
      if (keyword == "TYPE") {
        family = name;
        words >> type;
        EXPECT_TRUE(families.insert(family).second) << family;
      }
      EXPECT_EQ(name, family) << line;
      continue;
    }
    ++samples;
    const std::string name = first.substr(0, first.find('{'));
    EXPECT_EQ(name, type == "counter" ? family + "_total" : family) << line;
    std::string number;
    words >> number;
    EXPECT_THAT(number, testing::MatchesRegex("[0-9]+")) << line;
  }
  EXPECT_EQ(line, "# EOF");
  EXPECT_GT(samples, 300u);
}

TEST(Clear, removes_every_record_of_one_table) {
  const Outcome outcome = answer(afterNested(
      {"add nexthop 7", "clear ip4forward", "count ip4forward", "count nhp", "clear ip4forward", "show route"}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("4 records removed from ip4forward\n0\n1\n0 records removed from ip4forward\n"));
  EXPECT_EQ(answer({"clear"}).status, 2);
  EXPECT_EQ(answer({"clear routes"}).status, 2);
}

}  // namespace
}  // namespace fibdb::program
