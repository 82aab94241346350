// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/tables/program_config_test.cc: VRFs, local routes and configuration, and the file that keeps all records.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/run_program.h"
#include "tests/tools/scratch_folder.h"

namespace fibdb::program {
namespace {

using testing::HasSubstr;
using testing::Not;

Outcome answer(const Args& lines) { return runProgram(commands(lines)); }

// VRFs.
TEST(Vrf, is_added_shown_by_id_router_and_name_changed_counted_and_deleted) {
  const Outcome outcome = answer({"add vrf 1 name red", "add vrf 2 1 name blue object 7", "show vrf",
                                  "show vrf name red", "show vrf vr 1 name blue", "show vrf vr 1",
                                  "set vrf 1 name 'dark red'", "count vrf", "delete vrf 2 1", "show vrf"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out,
            "added VRF 1\nadded VRF 2 1\n"
            "id  vr  name\n 1   0  red\n 2   1  blue\n"
            "id  vr  name\n 1   0  red\n"
            "id  vr  name\n 2   1  blue\n"
            "id  vr  name\n 2   1  blue\n"
            "changed VRF 1\n2\ndeleted VRF 2 1\n"
            "id  vr  name\n 1   0  dark red\n");
  const auto answers = jsonAnswers({"add vrf 2 1 name blue source 4 smooth 5 object 6 version 7", "show vrf 2 1"});
  EXPECT_EQ(answers.at(1),
            (nlohmann::json{
                {"id", 2}, {"vr", 1}, {"name", "blue"}, {"source", 4}, {"smooth", 5}, {"object", 6}, {"version", 7}}));
}

TEST(Vrf, that_is_not_there_and_a_name_too_long_are_refused) {
  EXPECT_EQ(answer({"show vrf 9"}).err, "fibdb: no VRF 9\n");
  EXPECT_EQ(answer({"show vrf name none"}).status, 0);
  const Outcome outcome = answer({"add vrf 1 name " + std::string(32, 'x')});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("is longer than 31 characters"));
  EXPECT_EQ(answer({"add vrf 1 name " + std::string(31, 'x')}).status, 0);
}

// Local routes.
TEST(LocalRoute, is_added_listed_in_order_counted_and_deleted) {
  const Outcome outcome =
      answer({"add local-route 10.0.0.1", "add local-route 10.0.0.0/8 1 2", "add local-route 9.0.0.0/8",
              "show local-route", "count local-route", "delete local-route 10.0.0.1/32", "show local-route"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("prefix       vrf  vr\n9.0.0.0/8      0   0\n10.0.0.0/8     1   2\n"
                                     "10.0.0.1/32    0   0\n3\n"));
  EXPECT_EQ(answer({"delete local-route 10.0.0.1/32"}).status, 1);
  EXPECT_EQ(answer({"add local-route 10.0.0.1/8"}).status, 2);
}

TEST(LocalRoute, lists_are_whole_whatever_their_length) {
  Args lines;
  for (int i = 0; i < 200; ++i) lines.push_back("add local-route 10.0." + std::to_string(i) + ".0/24");
  lines.emplace_back("add local-route 0.0.0.0/0");
  lines.emplace_back("show local-route");
  EXPECT_EQ(jsonAnswers(lines).size(), 201u + 201u);
}

// Configuration.
TEST(Ecmp, a_setting_of_a_router_without_a_record_adds_one_with_the_defaults) {
  const auto answers = jsonAnswers({"set ecmp 3 dlb 1", "show ecmp 3", "show ecmp"});
  EXPECT_EQ(answers.at(0), (nlohmann::json{{"vr", 3}, {"dlb", 1}}));
  EXPECT_EQ(answers.at(1).at("dlb"), 1);
  EXPECT_EQ(answers.at(1).at("dlb_gap"), 2000);
  EXPECT_EQ(answers.at(1).at("per_packet_mode"), 1);
  for (const char* absent : {"gtp_teid", "vxlan_mode", "local_enhanced", "local_chassis", "seed", "hash_sip",
                             "vxlan_vni", "tunnel_erspan", "hash_mode", "universal_id"}) {
    EXPECT_TRUE(answers.at(1).at(absent).is_null()) << absent;
  }
  EXPECT_EQ(answers.at(2).at("vr"), 3);
}

TEST(Ecmp, a_change_keeps_everything_else_child_nodes_field_by_field) {
  const auto answers =
      jsonAnswers({"add ecmp 0 seed 1 seed_overlay 2 gtp_teid 9", "set ecmp 0 seed_underlay 3 stateful_num 65535",
                   "set ecmp 0 hash_sip 1", "show ecmp 0"});
  const nlohmann::json& record = answers.at(3);
  EXPECT_EQ(record.at("seed"), 1);
  EXPECT_EQ(record.at("seed_overlay"), 2);
  EXPECT_EQ(record.at("seed_underlay"), 3);
  EXPECT_EQ(record.at("stateful_num"), 65535);
  EXPECT_EQ(record.at("gtp_teid"), 9);
  EXPECT_EQ(record.at("hash_sip"), 1);
  EXPECT_EQ(record.at("hash_dip"), 0);
  EXPECT_TRUE(record.at("hash_mode").is_null());
}

TEST(Ecmp, every_setting_is_kept_at_its_widest) {
  const auto fresh = jsonAnswers({"add ecmp 0", "show ecmp 0"}).at(1);
  for (const auto& [name, value] : fresh.items()) {
    if (name == "vr") continue;
    std::string widest;
    for (const char* most : {"4294967294", "65535", "255"}) {
      widest = most;
      if (answer({"set ecmp 0 " + name + ' ' + widest}).status == 0) break;
    }
    const auto kept = jsonAnswers({"set ecmp 0 " + name + ' ' + widest, "show ecmp 0"}).at(1);
    EXPECT_EQ(std::to_string(kept.at(name).get<uint64_t>()), widest) << name;
  }
}

TEST(Ecmp, wrong_settings_and_values_are_named) {
  const Outcome wide = answer({"set ecmp 0 dlb 256"});
  EXPECT_EQ(wide.status, 2);
  EXPECT_THAT(wide.err, HasSubstr("dlb: \"256\" is not a number up to 255"));
  EXPECT_THAT(answer({"set ecmp 0 sede 1"}).err, HasSubstr("unknown word \"sede\"\ndid you mean \"seed\"?"));
  EXPECT_THAT(answer({"set ecmp 0 gap 1"}).err, HasSubstr("did you mean \"dlb_gap\"?"));
  EXPECT_EQ(answer({"show ecmp 0"}).err, "fibdb: no ECMP configuration 0\n");
  EXPECT_THAT(answer({"help set ecmp"}).out, HasSubstr("Properties: gtp_teid hash_balance"));
}

TEST(Global, has_defaults_settings_and_a_load_balance_that_may_be_absent) {
  const auto answers = jsonAnswers({"set global 1 keep_ttl 3", "show global 1", "set global 1 balance_sip 1",
                                    "show global 1", "delete global 1", "count global"});
  EXPECT_EQ(answers.at(1).at("isolate"), 2);
  EXPECT_EQ(answers.at(1).at("icmp_fast"), 2);
  EXPECT_EQ(answers.at(1).at("indirect"), 2);
  EXPECT_EQ(answers.at(1).at("keep_ttl"), 3);
  EXPECT_TRUE(answers.at(1).at("balance_sip").is_null());
  EXPECT_EQ(answers.at(3).at("balance_sip"), 1);
  EXPECT_EQ(answers.at(3).at("balance_dip"), 0);
  EXPECT_EQ(answers.at(5).at("records"), 0);
  EXPECT_THAT(answer({"set global 0 ttl 3"}).err, HasSubstr("did you mean \"keep_ttl\"?"));
}

// The file of all records.
const Args kRecords = {"set ecmp 0 seed 0",
                       "set ecmp 0 gtp_teid 7",
                       "add ecmp 1",
                       "set global 1 balance_sip 3",
                       "add vrf 1 name 'red one'",
                       "add vrf 2 1 name \"it's #1\"",
                       "add local-route 10.0.0.0/8 1 2",
                       "add ar-group 1 2 3 asn 5 originator 7 bytes1 0102030405060708090a0b0c",
                       "add ar-group 1 2 4 originator 9 asn 8",
                       "add nexthop 7",
                       "add group 3 flags 7",
                       "add group member 3 1 2 bandwidth 7",
                       "add standard-nexthop 1 10.0.0.1 3 flags 1",
                       "add vpn-nexthop 1 2 3 4 object 18446744073709551615"};

Outcome afterRecords(const Args& lines) {
  Args all = kRecords;
  all.insert(all.end(), lines.begin(), lines.end());
  return answer(all);
}

TEST(Config, what_was_saved_is_the_same_when_it_is_loaded) {
  const ScratchFolder folder;
  const std::string first = folder.path("first");
  const std::string second = folder.path("second");
  const Outcome saved = afterRecords({"save config " + first});
  ASSERT_EQ(saved.status, 0) << saved.err;
  EXPECT_THAT(saved.out, HasSubstr("\n13 records saved to " + first + '\n'));
  const Outcome loaded = answer({"load config " + first, "save config " + second});
  ASSERT_EQ(loaded.status, 0) << loaded.err;
  EXPECT_EQ(loaded.out, "13 records loaded: 13 new, 0 replaced\n13 records saved to " + second + '\n');
  EXPECT_EQ(ScratchFolder::read(first), ScratchFolder::read(second));
  EXPECT_THAT(ScratchFolder::read(first), HasSubstr("\n# VRFs\nadd vrf 1 name 'red one'\n"));
}

TEST(Config, a_file_is_a_script_too) {
  const ScratchFolder folder;
  const std::string file = folder.path("config");
  ASSERT_EQ(afterRecords({"save config " + file}).status, 0);
  const Outcome outcome = runProgram({"-f", file});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("added VRF 2 1\n"));
}

TEST(Config, loading_replaces_what_is_there_and_keeps_what_is_not_in_the_file) {
  const ScratchFolder folder;
  const std::string file = folder.write("config", "add vrf 1 name blue\nadd ar-group 1 2 3 asn 6\n");
  const Outcome outcome = afterRecords({"load config " + file, "show vrf"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("2 records loaded: 0 new, 2 replaced\n"));
  EXPECT_THAT(outcome.out, HasSubstr(" 1   0  blue\n 2   1  it's #1\n"));
}

TEST(Config, bad_lines_are_named_by_number_and_reason_and_the_others_are_loaded) {
  const ScratchFolder folder;
  const std::string file = folder.write("config",
                                        "# a comment\n\nadd vrf 1 nme red\nadd vrf 7 name ok\ndelete vrf 7\n"
                                        "add ecmp 0 dlb 300\nadd vrf \"x\nfoo\nadd vrf 8 name ok");
  const Outcome outcome = answer({"load config " + file, "count vrf"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "2 records loaded: 2 new, 0 replaced, 5 bad lines\n");
  EXPECT_EQ(outcome.err, file + ":3: \"add vrf 1 nme red\": unknown word \"nme\": did you mean \"name\"?\n" + file +
                             ":5: \"delete vrf 7\": a configuration has nothing but lines that add records\n" + file +
                             ":6: \"add ecmp 0 dlb 300\": dlb: \"300\" is not a number up to 255\n" + file +
                             ":7: \"add vrf \\\"x\": a quote is not closed\n" + file +
                             ":8: \"foo\": unknown command \"foo\"\n" +
                             "fibdb: 1 command was not run\n-k goes on after a failure\n");
}

TEST(Config, a_record_that_is_refused_is_a_bad_line) {
  const ScratchFolder folder;
  const std::string file = folder.write("config", "add vrf 1 name a\nadd vrf 2 name b\n");
  const Outcome outcome = answer({"set limit vrf records 1", "load config " + file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr(file + ":2: \"add vrf 2 name b\": VRF 2 refused: "));
  EXPECT_THAT(outcome.out, HasSubstr("1 record loaded: 1 new, 0 replaced, 1 bad line"));
}

TEST(Config, goes_through_pipes_and_files_that_cannot_be_had_are_named) {
  const Outcome saved = afterRecords({"save config -"});
  EXPECT_THAT(saved.out, HasSubstr("add vrf 1 name 'red one'\n"));
  EXPECT_THAT(saved.out, Not(HasSubstr("records saved")));
  EXPECT_THAT(answer({"load config /no/such"}).err, HasSubstr("/no/such: No such file or directory"));
  EXPECT_THAT(answer({"save config /no/such"}).err, HasSubstr("/no/such: No such file or directory"));
  const Outcome piped = runProgram({"-c", "load config -", "-c", "count vrf"}, "add vrf 1 name x\n");
  EXPECT_EQ(piped.out, "1 record loaded: 1 new, 0 replaced\n1\n");
}

}  // namespace
}  // namespace fibdb::program
