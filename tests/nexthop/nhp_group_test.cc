// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_group_test.cc: next-hop groups over the recorded platform.
#include <algorithm>

#include "platform/objdb_tables.h"
#include "platform/ufib.h"
#include "tests/nexthop/group_rows.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr size_t kFields = 24;

Row rowOf(const FibDbNhpGroupItem& item) {
  Row row = rowOfGroup(TableId::nhp_group, item);
  putField(TableId::nhp_group, row, "forwardVsId", item.forwardVsId);
  return row;
}

std::string bytes(size_t count, const char* byte) {
  std::string text;
  for (size_t i = 0; i < count; ++i) text += byte;
  return text;
}

class NhpGroupTest : public TablesTest {
 protected:
  void SetUp() override { platform.record(TableId::nhp_group) = rowOf(fullGroup()); }

  static constexpr const char* kKey = "0x00010008 2a00000002000000";

  FibDbNhpGroupItem item = fullGroup();
};

// Keys.
TEST_F(NhpGroupTest, SetNhpGroupKey_stores_group_and_router) {
  FibDbNhpGroupKey key{};
  FIB_DB_SetNhpGroupKey(&key, 7, 8);
  EXPECT_EQ(key.nhp_group_id, 7u);
  EXPECT_EQ(key.vr_id, 8u);
}

TEST_F(NhpGroupTest, SetNhpGroupKeyField_fills_the_key_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc desc{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  FibDbNhpGroupKey key{};
  FIB_DB_SetNhpGroupKeyField(&desc, &key, &item);
  EXPECT_EQ(desc.indexId, 0x00010008u);
  EXPECT_EQ(desc.rsv1, 2u);
  EXPECT_EQ(desc.rsv2, 3u);
  EXPECT_EQ(key.nhp_group_id, 42u);
  EXPECT_EQ(key.vr_id, 2u);
}

// Write.
TEST_F(NhpGroupTest, WriteNhpGroup_stages_a_fresh_service_state_whatever_the_item_holds) {
  EXPECT_EQ(FIB_DB_WriteNhpGroup(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre(
          "db_create_nhp_group_obj(0)", "db_set_nhp_group_nhp_group_id(#1, 42)", "db_set_nhp_group_vr_id(#1, 2)",
          "db_set_nhp_group_vrf_index(#1, 3)", "db_set_nhp_group_nhp_number(#1, 7)", "db_set_nhp_group_flags(#1, 4)",
          "db_set_nhp_group_ref_count(#1, 5)", "db_set_nhp_group_new_vrf(#1, 6)",
          "db_set_nhp_group_app_source_id(#1, 16)", "db_set_nhp_group_table_smooth_id(#1, 17)",
          "db_set_nhp_group_db_attr_flag(#1, 137438953472)", "db_set_nhp_group_nhp_type_high_prio(#1, 8)",
          "db_set_nhp_group_nhp_type_normal_prio(#1, 9)", "db_set_nhp_group_status_high_prio(#1, 0)",
          "db_set_nhp_group_status_normal_prio(#1, 0)", "db_set_nhp_group_errcode_high_prio(#1, 0000)",
          "db_set_nhp_group_errcode_normal_prio(#1, 0000)",
          "db_set_nhp_group_svc_ctx_high_prio(#1, " + bytes(32, "ff") + ")",
          "db_set_nhp_group_svc_ctx_normal_prio(#1, " + bytes(32, "ff") + ")", "db_set_nhp_group_oper_bitmap(#1, 1)",
          "db_set_nhp_group_overlay_universal_id(#1, 18)", "db_set_nhp_group_underlay_universal_id(#1, 19)",
          "db_set_nhp_group_forwardVsId(#1, 27)", "db_set_nhp_group_time_stamp_app(#1, 141733920768)",
          "db_set_nhp_group_time_stamp_svc(#1, 146028888064)", "db_write_obj(#1)", "db_release_nhp_group_object(#1)"));
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, WriteNhpGroup_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_group_obj", 9);
  EXPECT_EQ(FIB_DB_WriteNhpGroup(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteNhpGroup failed, create object failed, ret:9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, WriteNhpGroup_whose_fields_fail_tries_them_all_says_so_twice_and_does_not_write) {
  platform.fail("db_set_nhp_group_nhp_group_id", 4);
  platform.fail("db_set_nhp_group_time_stamp_svc", 3);
  EXPECT_EQ(FIB_DB_WriteNhpGroup(&item), 1u);
  EXPECT_EQ(platform.calls.size(), 1u + kFields + 1u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("SetNhpGroupItem failed.", "WriteNhpGroup failed, set item failed, ret:1."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, WriteNhpGroup_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteNhpGroup(&item), 0u);
  EXPECT_TRUE(countedOnce(1, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, WriteNhpGroup_answered_with_another_code_returns_it_says_so_and_counts_WRITE) {
  platform.fail("db_write_obj", 7);
  EXPECT_EQ(FIB_DB_WriteNhpGroup(&item), 7u);
  EXPECT_THAT(platform.errorLines, ElementsAre("Write nhp group db fail. ret = 7"));
  EXPECT_TRUE(countedOnce(1, 2));
}

// Read.
const std::vector<std::string> kBaseGetters{
    "nhp_group_id",          "vr_id",     "vrf_index", "nhp_number", "flags", "overlay_universal_id",
    "underlay_universal_id", "ref_count", "new_vrf"};
const std::vector<std::string> kFurtherGetters{
    "nhp_type_high_prio", "nhp_type_normal_prio", "status_high_prio",  "status_normal_prio",  "errcode_normal_prio",
    "forwardVsId",        "errcode_high_prio",    "svc_ctx_high_prio", "svc_ctx_normal_prio", "app_source_id",
    "table_smooth_id",    "db_attr_flag",         "time_stamp_app",    "time_stamp_svc"};

// The calls of these getters on an object.
std::vector<std::string> getting(const std::vector<std::string>& fields, const std::string& object) {
  std::vector<std::string> calls;
  for (const std::string& field : fields) {
    const bool isBlock = field.starts_with("errcode") || field.starts_with("svc_ctx");
    calls.push_back("db_get_nhp_group_" + field + "(" + object + (isBlock ? ", no length)" : ")"));
  }
  return calls;
}

TEST_F(NhpGroupTest, ReadNhpGroup_fills_every_field_in_order_and_clears_the_mark) {
  FibDbNhpGroupItem out{.nhp_group_id = 42, .vr_id = 2, .reserved = 55, .skip_db_oper = 1, .dest_ip_addr = 66};
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullGroup()));
  EXPECT_EQ(out.skip_db_oper, 0u);
  EXPECT_EQ(out.reserved, 55u);
  EXPECT_EQ(out.dest_ip_addr, 66u);
  std::vector<std::string> expected{"db_create_nhp_group_obj(3)", std::string("db_read_obj(#1, ") + kKey + ")"};
  for (const std::string& call : getting(kBaseGetters, "#1")) expected.push_back(call);
  for (const std::string& call : getting(kFurtherGetters, "#1")) expected.push_back(call);
  expected.emplace_back("db_release_nhp_group_object(#1)");
  EXPECT_EQ(platform.calls, expected);
}

TEST_F(NhpGroupTest, ReadNhpGroup_missing_key_returns_60_and_keeps_the_item) {
  platform.fail("db_read_obj", 15005);
  item.flags = 99;
  item.skip_db_oper = 1;
  const Row before = rowOf(item);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&item), 60u);
  EXPECT_EQ(rowOf(item), before);
  EXPECT_EQ(item.skip_db_oper, 1u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, ReadNhpGroup_failure_returns_1_says_the_code_and_counts_under_the_ECMP_configuration) {
  platform.fail("db_read_obj", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpGroup failed, ret: 13044"));
  EXPECT_TRUE(countedOnce(14, 0));
}

TEST_F(NhpGroupTest, ReadNhpGroup_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_group_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpGroup failed, create object failed, ret:9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, ReadNhpGroup_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpGroup(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Unpacking: error codes and contexts are copied only while no field has failed.
TEST_F(NhpGroupTest, GetNhpGroupBaseItem_gives_the_OR_of_the_codes_and_says_nothing) {
  platform.fail("db_get_nhp_group_vr_id", 4);
  platform.fail("db_get_nhp_group_new_vrf", 3);
  FibDbNhpGroupItem out{};
  EXPECT_EQ(FIB_DB_GetNhpGroupBaseItem(1, &out), 7u);
  EXPECT_EQ(platform.calls, getting(kBaseGetters, "1"));
  EXPECT_EQ(out.nhp_group_id, 42u);
  EXPECT_EQ(out.vr_id, 0u);
  EXPECT_EQ(out.ref_count, 5u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, ReadNhpGroup_with_a_failed_field_succeeds_without_the_blocks_behind_it) {
  platform.fail("db_get_nhp_group_flags", 1);
  platform.fail("db_get_nhp_group_db_attr_flag", 4);
  FibDbNhpGroupItem out{.flags = 77, .errcode_high_prio = {7}, .db_attr_flag = 78};
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupItem failed, ret: 5."));
  EXPECT_EQ(platform.calls.size(), 2u + kBaseGetters.size() + kFurtherGetters.size() + 1u);
  EXPECT_EQ(out.flags, 77u);
  EXPECT_EQ(out.errcode_high_prio[0], 7);
  EXPECT_EQ(out.errcode_normal_prio[0], 0);
  EXPECT_EQ(out.svc_ctx_high_prio[31], 0);
  EXPECT_EQ(out.svc_ctx_normal_prio[31], 0);
  EXPECT_EQ(out.forwardVsId, 27);
  EXPECT_EQ(out.db_attr_flag, 78u);
  EXPECT_EQ(out.time_stamp_svc, fullGroup().time_stamp_svc);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, GetNhpGroupItem_copies_the_blocks_before_the_first_failure_only) {
  struct {
    const char* failing;
    bool normalErrcode, highErrcode, highContext, normalContext;
  } const cases[] = {
      {"db_get_nhp_group_errcode_normal_prio", false, false, false, false},
      {"db_get_nhp_group_forwardVsId", false, false, false, false},
      {"db_get_nhp_group_errcode_high_prio", true, false, false, false},
      {"db_get_nhp_group_svc_ctx_high_prio", true, true, false, false},
      {"db_get_nhp_group_svc_ctx_normal_prio", true, true, true, false},
      {"db_get_nhp_group_app_source_id", true, true, true, true},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.failing);
    platform.errorLines.clear();
    platform.fail(one.failing, 8);
    FibDbNhpGroupItem out{};
    FIB_DB_GetNhpGroupItem(1, &out);
    EXPECT_EQ(out.errcode_normal_prio[1], one.normalErrcode ? 0x13 : 0);
    EXPECT_EQ(out.errcode_high_prio[1], one.highErrcode ? 0x12 : 0);
    EXPECT_EQ(out.svc_ctx_high_prio[31], one.highContext ? 0xEE : 0);
    EXPECT_EQ(out.svc_ctx_normal_prio[31], one.normalContext ? 0xFF : 0);
    EXPECT_EQ(out.table_smooth_id, 17u);
    EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupItem failed, ret: 8."));
  }
}

TEST_F(NhpGroupTest, GetNhpGroupItem_whose_context_copy_fails_says_0_and_ends) {
  platform.fail("memcpy_s", 1);
  FibDbNhpGroupItem out{};
  FIB_DB_GetNhpGroupItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupItem memcpy nhp group high svcCtx failed, ret: 0."));
  EXPECT_EQ(platform.calls.back(), "db_get_nhp_group_svc_ctx_high_prio(1, no length)");
  EXPECT_EQ(out.app_source_id, 0u);

  platform.errorLines.clear();
  platform.fail("memcpy_s", 0);
  platform.fail("memcpy_s", 1);
  FIB_DB_GetNhpGroupItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupItem memcpy nhp group normal svcCtx failed, ret: 0."));
  EXPECT_EQ(platform.calls.back(), "db_get_nhp_group_svc_ctx_normal_prio(1, no length)");
  EXPECT_EQ(out.svc_ctx_high_prio[31], 0xEE);
  EXPECT_EQ(out.app_source_id, 0u);
}

TEST_F(NhpGroupTest, ReadNhpGroup_whose_context_copy_fails_succeeds) {
  platform.fail("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&item), 0u);
  EXPECT_EQ(allCounted(), 0u);
}

// Remove.
TEST_F(NhpGroupTest, RemoveNhpGroup_removes_by_the_primary_key) {
  EXPECT_EQ(FIB_DB_RemoveNhpGroup(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_group_obj(4)", std::string("db_remove_obj(#1, ") + kKey + ")",
                                          "db_release_nhp_group_object(#1)"));
}

TEST_F(NhpGroupTest, RemoveNhpGroup_failure_returns_the_code_says_so_and_counts_REMOVE) {
  platform.fail("db_remove_obj", 15005);
  EXPECT_EQ(FIB_DB_RemoveNhpGroup(&item), 15005u);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveNhpGroup failed, ret: 15005"));
  EXPECT_TRUE(countedOnce(1, 4));
}

TEST_F(NhpGroupTest, RemoveNhpGroup_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_remove_obj", 13044);
  EXPECT_EQ(FIB_DB_RemoveNhpGroup(&item), 0u);
  EXPECT_TRUE(countedOnce(1, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, RemoveNhpGroup_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_group_obj", 9);
  EXPECT_EQ(FIB_DB_RemoveNhpGroup(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveNhpGroup failed, create object failed, ret:9."));
  EXPECT_EQ(allCounted(), 0u);
}

// The mark of an item.
TEST_F(NhpGroupTest, A_marked_item_reaches_the_database_by_no_function_but_the_update_with_a_setter) {
  item.skip_db_oper = 0x80000000;
  EXPECT_EQ(FIB_DB_WriteNhpGroup(&item), 0u);
  EXPECT_EQ(FIB_DB_RemoveNhpGroup(&item), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupRefCount(&item), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupSmoothID(&item), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFlags(&item), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupContext(&item), 0u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFields(&item, [](uint64_t, const void*) { return 0u; }), 0u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_update_obj"), 1);
}

// Partial updates.
TEST_F(NhpGroupTest, UpdateNhpGroupContext_stages_what_a_service_reports_in_order) {
  EXPECT_EQ(FIB_DB_UpdateNhpGroupContext(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre("db_create_nhp_group_obj(1)", "db_set_nhp_group_db_attr_flag(#1, 137438953472)",
                  "db_set_nhp_group_new_vrf(#1, 6)", "db_set_nhp_group_nhp_type_high_prio(#1, 8)",
                  "db_set_nhp_group_nhp_type_normal_prio(#1, 9)", "db_set_nhp_group_overlay_universal_id(#1, 18)",
                  "db_set_nhp_group_underlay_universal_id(#1, 19)",
                  "db_set_nhp_group_svc_ctx_high_prio(#1, " + bytes(31, "14") + "ee)",
                  "db_set_nhp_group_svc_ctx_normal_prio(#1, " + bytes(31, "15") + "ff)",
                  "db_set_nhp_group_status_high_prio(#1, 10)", "db_set_nhp_group_status_normal_prio(#1, 11)",
                  "db_set_nhp_group_errcode_high_prio(#1, 0c12)", "db_set_nhp_group_errcode_normal_prio(#1, 0d13)",
                  "db_set_nhp_group_oper_bitmap(#1, 8)", "db_set_nhp_group_time_stamp_svc(#1, 146028888064)",
                  "db_set_nhp_group_forwardVsId(#1, 27)", std::string("db_update_obj(#1, ") + kKey + ")",
                  "db_release_nhp_group_object(#1)"));
}

TEST_F(NhpGroupTest, The_other_updates_stage_their_fields_and_the_kind_of_change) {
  struct {
    uint32_t (*update)(const FibDbNhpGroupItem*);
    std::vector<std::string> staged;
  } const updates[] = {
      {FIB_DB_UpdateNhpGroupRefCount, {"db_set_nhp_group_ref_count(#1, 5)", "db_set_nhp_group_oper_bitmap(#1, 2)"}},
      {FIB_DB_UpdateNhpGroupSmoothID,
       {"db_set_nhp_group_table_smooth_id(#1, 17)", "db_set_nhp_group_oper_bitmap(#1, 4)"}},
      {FIB_DB_UpdateNhpGroupFlags,
       {"db_set_nhp_group_flags(#1, 4)", "db_set_nhp_group_db_attr_flag(#1, 137438953472)",
        "db_set_nhp_group_oper_bitmap(#1, 16)"}},
  };
  for (const auto& row : updates) {
    platform.reset();
    EXPECT_EQ(row.update(&item), 0u);
    std::vector<std::string> expected{"db_create_nhp_group_obj(1)"};
    expected.insert(expected.end(), row.staged.begin(), row.staged.end());
    expected.push_back(std::string("db_update_obj(#1, ") + kKey + ")");
    expected.emplace_back("db_release_nhp_group_object(#1)");
    EXPECT_EQ(platform.calls, expected);
  }
}

TEST_F(NhpGroupTest, The_setters_but_for_the_context_try_all_their_fields_and_give_the_OR_silently) {
  platform.failAlways("db_set_nhp_group_ref_count", 1);
  platform.failAlways("db_set_nhp_group_table_smooth_id", 2);
  platform.failAlways("db_set_nhp_group_flags", 4);
  platform.failAlways("db_set_nhp_group_db_attr_flag", 8);
  platform.failAlways("db_set_nhp_group_oper_bitmap", 16);
  EXPECT_EQ(FIB_DB_SetNhpGroupRefCount(1, &item), 17u);
  EXPECT_EQ(FIB_DB_SetNhpGroupSmoothID(1, &item), 18u);
  EXPECT_EQ(FIB_DB_SetNhpGroupFlags(1, &item), 28u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, SetNhpGroupContext_failure_is_information_with_the_OR_and_gives_1) {
  platform.fail("db_set_nhp_group_new_vrf", 4);
  platform.fail("db_set_nhp_group_forwardVsId", 3);
  EXPECT_EQ(FIB_DB_SetNhpGroupContext(1, &item), 1u);
  EXPECT_EQ(platform.calls.size(), 15u);
  EXPECT_THAT(platform.infoLines, ElementsAre("SetNhpGroupContext failed, ret: 7"));
  EXPECT_THAT(platform.errorLines, IsEmpty());
}

TEST_F(NhpGroupTest, SetNhpGroupContext_does_not_look_at_what_became_of_db_attr_flag) {
  platform.fail("db_set_nhp_group_db_attr_flag", 4);
  EXPECT_EQ(FIB_DB_SetNhpGroupContext(1, &item), 0u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, UpdateNhpGroupContext_whose_setter_fails_says_so_twice_and_is_sent_all_the_same) {
  platform.fail("db_set_nhp_group_status_high_prio", 5);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupContext(&item), 0u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_update_obj"), 1);
  EXPECT_THAT(platform.infoLines, ElementsAre("SetNhpGroupContext failed, ret: 5"));
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateNhpGroupFields setField failed."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, UpdateNhpGroupFields_failure_is_information_returns_the_code_and_counts_UPDATE) {
  platform.fail("db_update_obj", 7);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupRefCount(&item), 7u);
  EXPECT_THAT(platform.infoLines, ElementsAre("UpdateNhpGroupFields failed, ret: 7"));
  EXPECT_THAT(platform.errorLines, IsEmpty());
  EXPECT_TRUE(countedOnce(1, 3));
}

TEST_F(NhpGroupTest, UpdateNhpGroupFields_of_a_missing_group_returns_15005_silently) {
  platform.fail("db_update_obj", 15005);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFlags(&item), 15005u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, UpdateNhpGroupFields_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_update_obj", 13044);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupSmoothID(&item), 0u);
  EXPECT_TRUE(countedOnce(1, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, UpdateNhpGroupFields_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_group_obj", 9);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFlags(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateNhpGroupFields failed, create object failed, ret:9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, UpdateNhpGroupFields_of_NULL_or_without_setter_returns_1_silently) {
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFields(nullptr, [](uint64_t, const void*) { return 0u; }), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFields(&item, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Iteration.
TEST_F(NhpGroupTest, Iteration_gives_every_group_then_60_every_time) {
  for (uint32_t id = 1; id <= 3; ++id) {
    FibDbNhpGroupItem entry = fullGroup();
    entry.nhp_group_id = id;
    platform.entries.push_back(rowOf(entry));
  }
  FibDbIterator* const iterator = FIB_DB_CreateNhpGroupIterator(0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_group_obj(5)", "db_create_root_iter(#1, NULL)"));
  for (uint32_t id = 1; id <= 3; ++id) {
    item.skip_db_oper = 1;
    EXPECT_EQ(FIB_DB_GetNextNhpGroup(iterator, &item), 0u);
    EXPECT_EQ(item.nhp_group_id, id);
    EXPECT_EQ(item.skip_db_oper, 0u);
  }
  EXPECT_EQ(FIB_DB_GetNextNhpGroup(iterator, &item), 60u);
  EXPECT_EQ(FIB_DB_GetNextNhpGroup(iterator, &item), 60u);
  FIB_DB_ReleaseNhpGroupIterator(iterator);
  EXPECT_EQ(platform.calls.back(), "db_release_nhp_group_object(#1)");
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, CreateNhpGroupIteratorByVrf_hands_three_words_on_in_order) {
  FIB_DB_ReleaseNhpGroupIterator(FIB_DB_CreateNhpGroupIteratorByVrf(1, 2, 3, 5));
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_group_obj(5)", "db_create_root_iter(#1, 0x0109000C 010000000200000003000000)",
                          "db_set_root_iterator_property(~1, 0, 05000000)", "db_release_nhp_group_object(#1)"));
}

TEST_F(NhpGroupTest, Iterators_set_any_property_but_the_one_that_means_none) {
  for (const uint32_t property : {0u, 5u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    platform.calls.clear();
    FIB_DB_ReleaseNhpGroupIterator(FIB_DB_CreateNhpGroupIterator(property));
    EXPECT_EQ(platform.calls.size(), property == 0xFFFFFFFF ? 3u : 4u) << property;
    platform.calls.clear();
    FIB_DB_ReleaseNhpGroupIterator(FIB_DB_CreateNhpGroupIteratorByVrf(1, 2, 3, property));
    EXPECT_EQ(platform.calls.size(), property == 0xFFFFFFFF ? 3u : 4u) << property;
  }
}

TEST_F(NhpGroupTest, Iterator_creation_failures_say_which_step_and_give_NULL) {
  struct {
    const char* call;
    const char* whole;
    const char* byVrf;
  } const steps[] = {
      {"alloc", "CreateNhpGroupIterator malloc failed", "CreateNhpGroupIteratorByVrf malloc failed"},
      {"db_create_nhp_group_obj", "CreateNhpGroupIterator createObj failed, ret: 9",
       "CreateNhpGroupIteratorByVrf createObj failed, ret: 9"},
      {"db_create_root_iter", "CreateNhpGroupIterator createIter failed, ret: 9",
       "CreateNhpGroupIteratorByVrf createIter failed, ret: 9"},
      {"db_set_root_iterator_property", "CreateNhpGroupIterator setProperty failed, ret: 9",
       "CreateNhpGroupIteratorByVrf setProperty failed, ret: 9"},
  };
  for (const auto& step : steps) {
    platform.errorLines.clear();
    platform.fail(step.call, 9);
    EXPECT_EQ(FIB_DB_CreateNhpGroupIterator(0), nullptr);
    platform.fail(step.call, 9);
    EXPECT_EQ(FIB_DB_CreateNhpGroupIteratorByVrf(1, 2, 3, 0), nullptr);
    EXPECT_THAT(platform.errorLines, ElementsAre(step.whole, step.byVrf));
  }
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, GetNextNhpGroup_failure_returns_1_not_the_code_and_counts_ITERATOR) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpGroupIterator(0xFFFFFFFF);
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetNextNhpGroup(iterator, &item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNextNhpGroup failed, ret: 7"));
  EXPECT_TRUE(countedOnce(1, 6));
  FIB_DB_ReleaseNhpGroupIterator(iterator);
}

TEST_F(NhpGroupTest, GetNextNhpGroup_of_NULL_returns_1_silently) {
  FibDbIterator iterator{};
  EXPECT_EQ(FIB_DB_GetNextNhpGroup(nullptr, &item), 1u);
  EXPECT_EQ(FIB_DB_GetNextNhpGroup(&iterator, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, ReleaseNhpGroupIterator_of_NULL_does_nothing) {
  FIB_DB_ReleaseNhpGroupIterator(nullptr);
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

// Through the table service.
TEST_F(NhpGroupTest, SetNhpGroupVridVrfIndexHashKey_packs_router_and_VRF) {
  uint32_t indexId = 0;
  uint32_t key[3] = {0, 0, 77};
  FIB6_DB_SetNhpGroupVridVrfIndexHashKey(5, 6, &indexId, key);
  EXPECT_EQ(indexId, 0x02090008u);
  EXPECT_THAT(key, ElementsAre(5, 6, 77));
}

TEST_F(NhpGroupTest, CreateNhpGroupIteratorByVridVrfIndex_hands_out_the_services_iterator) {
  void* const iterator = FIB_DB_CreateNhpGroupIteratorByVridVrfIndex(5, 6, 7);
  EXPECT_NE(iterator, nullptr);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_CreateIteratorByKey(0, 7, 0x02090008 0500000006000000)"));
  EXPECT_EQ(std::ranges::count(platform.allCalls, "alloc"), 0);
  UFIB_DB_ReleaseIterator(0, iterator);
}

TEST_F(NhpGroupTest, CreateNhpGroupIteratorByVridVrfIndex_hands_the_services_failure_out_silently) {
  platform.fail("UFIB_DB_CreateIteratorByKey", 9);
  EXPECT_EQ(FIB_DB_CreateNhpGroupIteratorByVridVrfIndex(5, 6, 0xFFFFFFFF), nullptr);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

}  // namespace
}  // namespace fibdb::test
