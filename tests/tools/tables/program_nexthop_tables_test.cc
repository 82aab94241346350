// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/tables/program_nexthop_tables_test.cc: the next hops of each kind, shown and changed by the program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/run_program.h"

namespace fibdb::program {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Json = nlohmann::json;

// The values of one field in the rows of a list, which begins behind the answers to the lines before it.
std::vector<Json> listed(const Args& before, const std::string& show, const char* field) {
  Args lines = before;
  lines.push_back(show);
  std::vector<Json> values;
  const std::vector<Json> answers = jsonAnswers(lines);
  for (size_t i = before.size(); i < answers.size(); ++i) values.push_back(answers[i].at(field));
  return values;
}

std::string errorOf(const std::string& line) {
  const Outcome outcome = runProgram(commands({line}));
  EXPECT_NE(outcome.status, 0);
  return outcome.err;
}

TEST(StandardNexthop, is_added_shown_changed_counted_and_deleted) {
  const auto answers =
      jsonAnswers({"add standard-nexthop 7 10.0.0.1 3 vr 1 vrf 2 flags 4 forward_type 5 forward_vs 6 "
                   "type 7 iid_flags 8 work_interface 9 slot 10 attributes 11 status_high 12 "
                   "status_normal 13 error_high 14 error_normal 15 "
                   "context_high 000102030405060708090a0b0c0d0e0f source 16 smooth 17 object 18 "
                   "version 19 stamp_app 20 stamp_svc 21",
                   "set standard-nexthop 7 10.0.0.1 3 flags 0x40 status_high 120", "show standard-nexthop 7 10.0.0.1 3",
                   "count standard-nexthop", "delete standard-nexthop 7 10.0.0.1 3", "count standard-nexthop"});
  EXPECT_EQ(answers.at(0), (Json{{"index", 7}, {"address", "10.0.0.1"}, {"interface", 3}, {"replaced", false}}));
  const Json expected{{"index", 7},
                      {"address", "10.0.0.1"},
                      {"interface", 3},
                      {"vr", 1},
                      {"vrf", 2},
                      {"flags", 64},
                      {"forward_type", 5},
                      {"forward_vs", 6},
                      {"type", 7},
                      {"iid_flags", 8},
                      {"work_interface", 9},
                      {"slot", 10},
                      {"attributes", 11},
                      {"status_high", 120},
                      {"status_normal", 13},
                      {"error_high", 14},
                      {"error_normal", 15},
                      {"context_high", "000102030405060708090a0b0c0d0e0f"},
                      {"context_normal", "0"},
                      {"source", 16},
                      {"smooth", 17},
                      {"object", 18},
                      {"version", 19},
                      {"stamp_app", 20},
                      {"stamp_svc", 21}};
  EXPECT_EQ(answers.at(2), expected);
  EXPECT_EQ(answers.at(3).at("records"), 1);
  EXPECT_EQ(answers.at(4).at("deleted"), true);
  EXPECT_EQ(answers.at(5).at("records"), 0);
}

TEST(StandardNexthop, is_found_by_every_index_and_listed_in_the_order_of_its_key) {
  const Args three{"add standard-nexthop 2 10.0.0.9 1 slot 8 work_interface 6",
                   "add standard-nexthop 1 10.0.0.10 1 slot 8 work_interface 7",
                   "add standard-nexthop 1 10.0.0.9 2 slot 9 work_interface 7"};
  EXPECT_THAT(listed(three, "show standard-nexthop", "address"), ElementsAre("10.0.0.9", "10.0.0.10", "10.0.0.9"));
  EXPECT_THAT(listed(three, "show standard-nexthop", "index"), ElementsAre(1, 1, 2));
  EXPECT_THAT(listed(three, "show standard-nexthop index 1", "interface"), ElementsAre(2, 1));
  EXPECT_THAT(listed(three, "show standard-nexthop interface 1", "index"), ElementsAre(1, 2));
  EXPECT_THAT(listed(three, "show standard-nexthop address 10.0.0.9 interface 2", "slot"), ElementsAre(9));
  EXPECT_THAT(listed(three, "show standard-nexthop interface 2 address 10.0.0.9", "slot"), ElementsAre(9));
  EXPECT_THAT(listed(three, "show standard-nexthop work_interface 7", "slot"), ElementsAre(9, 8));
  EXPECT_THAT(listed(three, "show standard-nexthop slot 8", "index"), ElementsAre(1, 2));
  EXPECT_THAT(listed(three, "show standard-nexthop slot 7", "index"), IsEmpty());
}

TEST(StandardNexthop, a_missing_one_and_wrong_words_are_refused) {
  EXPECT_EQ(errorOf("show standard-nexthop 7 10.0.0.1 3"), "fibdb: no standard next hop 7 10.0.0.1 3\n");
  EXPECT_EQ(errorOf("set standard-nexthop 7 10.0.0.1 3 flags 1"), "fibdb: no standard next hop 7 10.0.0.1 3\n");
  EXPECT_EQ(errorOf("delete standard-nexthop 7 10.0.0.1 3"), "fibdb: no standard next hop 7 10.0.0.1 3\n");
  EXPECT_THAT(errorOf("add standard-nexthop 7 10.0.0 3"), HasSubstr("\"10.0.0\" is not an IPv4 address"));
  EXPECT_THAT(errorOf("show standard-nexthop address 10.0.0.1"), HasSubstr("no index serves these words together"));
  EXPECT_THAT(errorOf("add standard-nexthop 7 10.0.0.1 3 context_high 00"), HasSubstr("is not 32 hexadecimal digits"));
}

TEST(LlaNexthop, is_added_shown_changed_counted_and_deleted) {
  const auto answers =
      jsonAnswers({"add lla-nexthop 7 fe80::1 3 vr 1 status_high 12 context_normal "
                   "000102030405060708090a0b0c0d0e0f stamp_svc 18446744073709551615",
                   "set lla-nexthop 7 FE80::1 3 vrf 5", "show lla-nexthop 7 fe80::1 3", "count lla-nexthop",
                   "delete lla-nexthop 7 fe80::1 3", "count lla-nexthop"});
  EXPECT_EQ(answers.at(1), (Json{{"index", 7}, {"address", "fe80::1"}, {"interface", 3}, {"vrf", 5}}));
  EXPECT_EQ(answers.at(2).at("vr"), 1);
  EXPECT_EQ(answers.at(2).at("vrf"), 5);
  EXPECT_EQ(answers.at(2).at("status_high"), 12);
  EXPECT_EQ(answers.at(2).at("context_high"), "0");
  EXPECT_EQ(answers.at(2).at("context_normal"), "000102030405060708090a0b0c0d0e0f");
  EXPECT_EQ(answers.at(2).at("stamp_svc"), 18446744073709551615u);
  EXPECT_EQ(answers.at(3).at("records"), 1);
  EXPECT_EQ(answers.at(5).at("records"), 0);
}

TEST(LlaNexthop, is_found_by_every_index) {
  const Args three{"add lla-nexthop 2 fe80::9 1 slot 8", "add lla-nexthop 1 fe80::10 1 slot 8",
                   "add lla-nexthop 1 fe80::9 2 slot 9"};
  EXPECT_THAT(listed(three, "show lla-nexthop", "address"), ElementsAre("fe80::9", "fe80::10", "fe80::9"));
  EXPECT_THAT(listed(three, "show lla-nexthop index 1", "interface"), ElementsAre(2, 1));
  EXPECT_THAT(listed(three, "show lla-nexthop interface 1", "index"), ElementsAre(1, 2));
  EXPECT_THAT(listed(three, "show lla-nexthop slot 9", "interface"), ElementsAre(2));
  EXPECT_EQ(errorOf("show lla-nexthop 7 fe80::1 3"), "fibdb: no LLA next hop 7 fe80::1 3\n");
}

TEST(VpnNexthop, is_added_shown_changed_counted_and_deleted) {
  const auto answers =
      jsonAnswers({"add vpn-nexthop 7 1 2 3 source 4 serial 5 object 6 version 7 stamp_app 8 "
                   "stamp_svc 9",
                   "set vpn-nexthop 7 1 2 3 serial 55", "show vpn-nexthop 7 1 2 3", "add vpn-nexthop 7 1 2 3",
                   "count nhp_vpn", "delete vpn-nexthop 7 1 2 3", "count nhp_vpn"});
  EXPECT_EQ(answers.at(2), (Json{{"index", 7},
                                 {"vr", 1},
                                 {"vrf", 2},
                                 {"vpn", 3},
                                 {"source", 4},
                                 {"serial", 55},
                                 {"object", 6},
                                 {"version", 7},
                                 {"stamp_app", 8},
                                 {"stamp_svc", 9}}));
  EXPECT_EQ(answers.at(3).at("replaced"), true);
  EXPECT_EQ(answers.at(4).at("records"), 1);
  EXPECT_EQ(answers.at(6).at("records"), 0);
}

TEST(VpnNexthop, those_of_all_indexes_are_listed_in_order) {
  const auto answers = jsonAnswers({"add vpn-nexthop 8 1 2 3 object 5", "add vpn-nexthop 7 1 2 4",
                                    "add vpn-nexthop 7 1 2 3", "show vpn-nexthop", "count vpn-nexthop"});
  EXPECT_EQ(answers.at(3).at("index"), 7);
  EXPECT_EQ(answers.at(3).at("vpn"), 3);
  EXPECT_EQ(answers.at(4).at("vpn"), 4);
  EXPECT_EQ(answers.at(5).at("object"), 5);
  EXPECT_EQ(answers.at(6).at("records"), 3);
}

TEST(VpnNexthop, one_that_is_not_there_is_refused) {
  EXPECT_EQ(errorOf("show vpn-nexthop 7 1 2 3"), "fibdb: no VPN next hop 7 1 2 3\n");
}

TEST(VxlanNexthop, is_added_shown_changed_counted_and_deleted) {
  const std::string hop = "vxlan-nexthop 7 1 2 3 4 6 2001:db8::1";
  const auto answers = jsonAnswers({"add " + hop +
                                        " vrf 5 flags 6 vni 5000 aib 8 overlay_type 9 mac 0a0b0c0d0e0f vsi 10 dvp 11 "
                                        "status_high 12 smooth 13 stamp_app 14 stamp_svc 15",
                                    "set " + hop + " vni 5001 status_normal 16", "show " + hop, "count vxlan-nexthop",
                                    "delete " + hop, "count vxlan-nexthop"});
  const Json& shown = answers.at(2);
  EXPECT_EQ(shown.at("tunnel_vrf"), 2);
  EXPECT_EQ(shown.at("tunnel"), 3);
  EXPECT_EQ(shown.at("tunnel_type"), 4);
  EXPECT_EQ(shown.at("family"), 6);
  EXPECT_EQ(shown.at("gateway"), "2001:db8::1");
  EXPECT_EQ(shown.at("vrf"), 5);
  EXPECT_EQ(shown.at("flags"), 6);
  EXPECT_EQ(shown.at("vni"), 5001);
  EXPECT_EQ(shown.at("aib"), 8);
  EXPECT_EQ(shown.at("overlay_type"), 9);
  EXPECT_EQ(shown.at("mac"), "0a0b0c0d0e0f");
  EXPECT_EQ(shown.at("vsi"), 10);
  EXPECT_EQ(shown.at("dvp"), 11);
  EXPECT_EQ(shown.at("status_high"), 12);
  EXPECT_EQ(shown.at("status_normal"), 16);
  EXPECT_EQ(shown.at("smooth"), 13);
  EXPECT_EQ(shown.at("stamp_app"), 14);
  EXPECT_EQ(shown.at("stamp_svc"), 15);
  EXPECT_EQ(answers.at(3).at("records"), 1);
  EXPECT_EQ(answers.at(5).at("records"), 0);
}

TEST(VxlanNexthop, is_found_by_every_index) {
  const Args three{"add vxlan-nexthop 2 1 2 3 4 6 2001:db8::1 vni 50",
                   "add vxlan-nexthop 1 1 2 3 4 6 2001:db8::2 vni 50",
                   "add vxlan-nexthop 1 1 2 3 5 6 2001:db8::3 vni 51"};
  EXPECT_THAT(listed(three, "show vxlan-nexthop", "gateway"), ElementsAre("2001:db8::2", "2001:db8::3", "2001:db8::1"));
  EXPECT_THAT(listed(three, "show vxlan-nexthop index 1", "tunnel_type"), ElementsAre(4, 5));
  EXPECT_THAT(listed(three, "show vxlan-nexthop vr 1 tunnel_vrf 2 tunnel 3 tunnel_type 4", "index"), ElementsAre(1, 2));
  EXPECT_THAT(listed(three, "show vxlan-nexthop vr 1 vni 51", "gateway"), ElementsAre("2001:db8::3"));
  EXPECT_THAT(listed(three, "show vxlan-nexthop vr 51 vni 1", "gateway"), IsEmpty());
}

TEST(VpnSidNexthop, is_added_changed_found_by_each_index_and_deleted) {
  const auto answers = jsonAnswers(
      {"add vpn-sid-nexthop 7 1 2 2001:db8::1 addr2 fe80::2 byte1 3 byte2 4 block3 "
       "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f",
       "add vpn-sid-nexthop 8 1 2 2001:db8::2", "set vpn-sid-nexthop 7 1 2 2001:db8::1 flags 0x80000000 attr5 9",
       "show vpn-sid-nexthop 7 1 2 2001:db8::1", "show vpn-sid-nexthop index 8",
       "show vpn-sid-nexthop key2 1 key3 2 sid 2001:db8::2",
       "show vpn-sid-nexthop key2 1 key3 2 addr2 fe80::2 byte1 3 byte2 4", "count vpn-sid-nexthop",
       "delete vpn-sid-nexthop 7 1 2 2001:db8::1", "show vpn-sid-nexthop", "show table nhp_vpnsid"});
  ASSERT_EQ(answers.size(), 11u);
  EXPECT_EQ(answers[2].at("flags"), 0x80000000);
  EXPECT_EQ(answers[3].at("sid"), "2001:db8::1");
  EXPECT_EQ(answers[3].at("addr2"), "fe80::2");
  EXPECT_EQ(answers[3].at("flags"), 0x80000000);
  EXPECT_EQ(answers[3].at("attr5"), 9);
  EXPECT_EQ(answers[3].at("byte2"), 4);
  EXPECT_EQ(answers[3].at("block3"), "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f");
  EXPECT_EQ(answers[4].at("index"), 8);
  EXPECT_EQ(answers[5].at("index"), 8);
  EXPECT_EQ(answers[6].at("index"), 7);
  EXPECT_EQ(answers[7].at("records"), 2);
  EXPECT_EQ(answers[9].at("sid"), "2001:db8::2");
  EXPECT_EQ(answers[10].at("sid"), "20010db8000000000000000000000002");
}

TEST(VpnSidNexthop, a_missing_one_is_refused_and_nothing_is_counted) {
  const Outcome outcome =
      runProgram({"-k", "-c", "show vpn-sid-nexthop 7 1 2 ::1", "-c", "set vpn-sid-nexthop 7 1 2 ::1 flags 1", "-c",
                  "delete vpn-sid-nexthop 7 1 2 ::1", "-c", "show vpn-sid-nexthop", "-c", "show errors"});
  EXPECT_EQ(outcome.status, 1);
  const std::string line = "fibdb: no VPN SID next hop 7 1 2 ::1\n";
  EXPECT_EQ(outcome.err, line + line + line);
  EXPECT_THAT(outcome.out, testing::StartsWith("no VPN SID next hops\n"));
  EXPECT_THAT(outcome.out, HasSubstr("nhp_vpnsid           0    0      0       0       0     0         0"));
  EXPECT_THAT(errorOf("add vpn-sid-nexthop 7 1 2 2001:db8"), HasSubstr("\"2001:db8\" is not an IPv6 address"));
}

TEST(Srv6TeNexthop, is_added_changed_found_by_each_index_and_deleted) {
  const auto answers = jsonAnswers(
      {"add srv6-te-nexthop 7 1 2 3 2001:db8::5 6 addr2 ::1 attr1 9", "add srv6-te-nexthop 8 1 2 4 2001:db8::5 6",
       "add srv6-te-nexthop 7 1 2 3 2001:db8::5 6 attr1 10", "set srv6-te-nexthop 7 1 2 3 2001:db8::5 6 attr4 11",
       "show srv6-te-nexthop 7 1 2 3 2001:db8::5 6", "show srv6-te-nexthop index 8",
       "show srv6-te-nexthop key2 1 key3 2 key4 3 type 6", "count srv6-te-nexthop",
       "delete srv6-te-nexthop 7 1 2 3 2001:db8::5 6", "show srv6-te-nexthop", "show table pp4ext_srv6_te"});
  ASSERT_EQ(answers.size(), 11u);
  EXPECT_EQ(answers[0].at("replaced"), false);
  EXPECT_EQ(answers[2].at("replaced"), true);
  EXPECT_EQ(answers[4].at("address"), "2001:db8::5");
  EXPECT_EQ(answers[4].at("addr2"), "::");
  EXPECT_EQ(answers[4].at("attr1"), 10);
  EXPECT_EQ(answers[4].at("attr4"), 11);
  EXPECT_EQ(answers[5].at("index"), 8);
  EXPECT_EQ(answers[6].at("index"), 7);
  EXPECT_EQ(answers[7].at("records"), 2);
  EXPECT_EQ(answers[9].at("index"), 8);
  EXPECT_EQ(answers[10].at("addr"), "20010db8000000000000000000000005");
}

TEST(Srv6TeNexthop, a_missing_one_is_refused) {
  const Outcome outcome =
      runProgram({"-k", "-c", "show srv6-te-nexthop 7 1 2 3 ::5 6", "-c", "set srv6-te-nexthop 7 1 2 3 ::5 6 attr1 1",
                  "-c", "delete srv6-te-nexthop 7 1 2 3 ::5 6", "-c", "show srv6-te-nexthop"});
  EXPECT_EQ(outcome.status, 1);
  const std::string line = "fibdb: no SRv6 TE next hop 7 1 2 3 ::5 6\n";
  EXPECT_EQ(outcome.err, line + line + line);
  EXPECT_EQ(outcome.out, "no SRv6 TE next hops\n");
}

}  // namespace
}  // namespace fibdb::program
