// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_std_test.cc: standard next hops over the recorded platform.
#include <algorithm>
#include <cstddef>
#include <ostream>

#include "platform/objdb_tables.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbNhpStdItem, fwd_if_type) == 24 && offsetof(FibDbNhpStdItem, forwardVsId) == 26);
static_assert(offsetof(FibDbNhpStdItem, if_type) == 28 && offsetof(FibDbNhpStdItem, work_if_index) == 36);
static_assert(offsetof(FibDbNhpStdItem, status_high_prio) == 40 && offsetof(FibDbNhpStdItem, svc_ctx_high_prio) == 44);
static_assert(offsetof(FibDbNhpStdItem, svc_ctx_normal_prio) == 60 && offsetof(FibDbNhpStdItem, app_source_id) == 76);
static_assert(offsetof(FibDbNhpStdItem, app_obj_id) == 88 && offsetof(FibDbNhpStdItem, attr_flag) == 100);
static_assert(offsetof(FibDbNhpStdItem, time_stamp_svc) == 112 && offsetof(FibDbNhpStdItem, global_slotid) == 120);
static_assert(sizeof(FibDbNhpStdItem) == 128);

constexpr size_t kFields = 25;

FibDbNhpStdItem fullItem() {
  return {.nhp_index = 42,
          .next_hop = 0x0A000001,
          .out_if_index = 3,
          .vr_id = 4,
          .vrf_index = 5,
          .flags = 6,
          .fwd_if_type = 7,
          .forwardVsId = 8,
          .if_type = 9,
          .iid_flags = 10,
          .work_if_index = 11,
          .status_high_prio = 12,
          .status_normal_prio = 13,
          .errcode_high_prio = 14,
          .errcode_normal_prio = 15,
          .svc_ctx_high_prio = {0x16, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xEE},
          .svc_ctx_normal_prio = {0x17, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xFF},
          .app_source_id = 18,
          .group_smooth_id = 19,
          .app_obj_id = 0x2000000000,
          .app_version = 21,
          .attr_flag = 22,
          .time_stamp_app = 0x2300000000,
          .time_stamp_svc = 0x2400000000,
          .global_slotid = 25};
}

Row rowOf(const FibDbNhpStdItem& item) {
  Row row;
  const auto put = [&](std::string_view name, uint64_t value) { putField(TableId::nhp_std, row, name, value); };
  put("nhp_index", item.nhp_index);
  put("next_hop", item.next_hop);
  put("out_if_index", item.out_if_index);
  put("vr_id", item.vr_id);
  put("vrf_index", item.vrf_index);
  put("flags", item.flags);
  put("fwd_if_type", item.fwd_if_type);
  put("forwardVsId", item.forwardVsId);
  put("if_type", item.if_type);
  put("iid_flags", item.iid_flags);
  put("work_if_index", item.work_if_index);
  put("status_high_prio", item.status_high_prio);
  put("status_normal_prio", item.status_normal_prio);
  put("errcode_high_prio", item.errcode_high_prio);
  put("errcode_normal_prio", item.errcode_normal_prio);
  putBytes(TableId::nhp_std, row, "svc_ctx_high_prio", item.svc_ctx_high_prio);
  putBytes(TableId::nhp_std, row, "svc_ctx_normal_prio", item.svc_ctx_normal_prio);
  put("app_source_id", item.app_source_id);
  put("group_smooth_id", item.group_smooth_id);
  put("app_obj_id", item.app_obj_id);
  put("app_version", item.app_version);
  put("attr_flag", item.attr_flag);
  put("time_stamp_app", item.time_stamp_app);
  put("time_stamp_svc", item.time_stamp_svc);
  put("global_slotid", item.global_slotid);
  return row;
}

// The bytes of 42, 0x0A000001 and 3.
constexpr const char* kKey = "0x0001000C 2a0000000100000a03000000";

std::string called(const char* call, const std::string& key) { return std::string(call) + "(#1, " + key + ")"; }

class NhpStdTest : public TablesTest {
 protected:
  void SetUp() override { platform.record(TableId::nhp_std) = rowOf(fullItem()); }

  FibDbNhpStdItem item = fullItem();
  FibDbKeyDesc desc{.indexId = 0x01090004, .rsv1 = 0, .rsv2 = 0};
  uint32_t key = 42;
};

// The primary key.
TEST_F(NhpStdTest, SetNhpStdKeyField_packs_three_words_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc out{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint32_t bytes[4] = {0, 0, 0, 77};
  FIB_DB_SetNhpStdKeyField(&out, bytes, &item);
  EXPECT_EQ(out.indexId, 0x0001000Cu);
  EXPECT_EQ(out.rsv1, 2u);
  EXPECT_EQ(out.rsv2, 3u);
  EXPECT_THAT(bytes, ElementsAre(42, 0x0A000001, 3, 77));
}

// Write.
TEST_F(NhpStdTest, WriteNhpStd_stages_every_field_in_order_and_writes_once) {
  EXPECT_EQ(FIB_DB_WriteNhpStd(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre(
          "db_create_nhp_std_obj(0)", "db_set_nhp_std_nhp_index(#1, 42)", "db_set_nhp_std_next_hop(#1, 167772161)",
          "db_set_nhp_std_out_if_index(#1, 3)", "db_set_nhp_std_vr_id(#1, 4)", "db_set_nhp_std_vrf_index(#1, 5)",
          "db_set_nhp_std_flags(#1, 6)", "db_set_nhp_std_fwd_if_type(#1, 7)", "db_set_nhp_std_if_type(#1, 9)",
          "db_set_nhp_std_iid_flags(#1, 10)", "db_set_nhp_std_work_if_index(#1, 11)",
          "db_set_nhp_std_global_slotid(#1, 25)", "db_set_nhp_std_app_source_id(#1, 18)",
          "db_set_nhp_std_group_smooth_id(#1, 19)", "db_set_nhp_std_app_obj_id(#1, 137438953472)",
          "db_set_nhp_std_app_version(#1, 21)", "db_set_nhp_std_attr_flag(#1, 22)", "db_set_nhp_std_forwardVsId(#1, 8)",
          "db_set_nhp_std_status_high_prio(#1, 12)", "db_set_nhp_std_status_normal_prio(#1, 13)",
          "db_set_nhp_std_errcode_high_prio(#1, 14)", "db_set_nhp_std_errcode_normal_prio(#1, 15)",
          "db_set_nhp_std_svc_ctx_high_prio(#1, 160102030405060708090a0b0c0d0eee)",
          "db_set_nhp_std_svc_ctx_normal_prio(#1, 170102030405060708090a0b0c0d0eff)",
          "db_set_nhp_std_time_stamp_app(#1, 150323855360)", "db_set_nhp_std_time_stamp_svc(#1, 154618822656)",
          "db_write_obj(#1)", "db_release_nhp_std_object(#1)"));
  EXPECT_EQ(platform.staged(TableId::nhp_std), rowOf(item));
}

TEST_F(NhpStdTest, WriteNhpStd_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_WriteNhpStd(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpStdTest, WriteNhpStd_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_std_obj", 9);
  EXPECT_EQ(FIB_DB_WriteNhpStd(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteNhpStd failed, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpStdTest, WriteNhpStd_whose_fields_fail_tries_them_all_says_the_OR_and_does_not_write) {
  platform.fail("db_set_nhp_std_nhp_index", 4);
  platform.fail("db_set_nhp_std_time_stamp_svc", 3);
  EXPECT_EQ(FIB_DB_WriteNhpStd(&item), 1u);
  EXPECT_EQ(platform.calls.size(), 1u + kFields + 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpStdItem setField failed, ret: 7"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpStdTest, WriteNhpStd_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteNhpStd(&item), 0u);
  EXPECT_TRUE(countedOnce(4, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpStdTest, WriteNhpStd_answered_with_another_code_returns_it_says_so_and_counts_WRITE) {
  platform.fail("db_write_obj", 7);
  EXPECT_EQ(FIB_DB_WriteNhpStd(&item), 7u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WRITE fib nhp std db fail. ret = 7"));
  EXPECT_TRUE(countedOnce(4, 2));
}

// Read by the primary key.
const std::vector<std::string> kGetters{"db_get_nhp_std_nhp_index(#1)",
                                        "db_get_nhp_std_next_hop(#1)",
                                        "db_get_nhp_std_out_if_index(#1)",
                                        "db_get_nhp_std_vr_id(#1)",
                                        "db_get_nhp_std_vrf_index(#1)",
                                        "db_get_nhp_std_flags(#1)",
                                        "db_get_nhp_std_fwd_if_type(#1)",
                                        "db_get_nhp_std_if_type(#1)",
                                        "db_get_nhp_std_iid_flags(#1)",
                                        "db_get_nhp_std_work_if_index(#1)",
                                        "db_get_nhp_std_global_slotid(#1)",
                                        "db_get_nhp_std_forwardVsId(#1)",
                                        "db_get_nhp_std_status_high_prio(#1)",
                                        "db_get_nhp_std_status_normal_prio(#1)",
                                        "db_get_nhp_std_errcode_high_prio(#1)",
                                        "db_get_nhp_std_errcode_normal_prio(#1)",
                                        "db_get_nhp_std_svc_ctx_high_prio(#1, no length)",
                                        "db_get_nhp_std_svc_ctx_normal_prio(#1, no length)",
                                        "db_get_nhp_std_app_source_id(#1)",
                                        "db_get_nhp_std_group_smooth_id(#1)",
                                        "db_get_nhp_std_app_obj_id(#1)",
                                        "db_get_nhp_std_app_version(#1)",
                                        "db_get_nhp_std_attr_flag(#1)",
                                        "db_get_nhp_std_time_stamp_app(#1)",
                                        "db_get_nhp_std_time_stamp_svc(#1)"};

TEST_F(NhpStdTest, ReadNhpStd_fills_every_field_in_order) {
  FibDbNhpStdItem out{.nhp_index = 42, .next_hop = 0x0A000001, .out_if_index = 3};
  EXPECT_EQ(FIB_DB_ReadNhpStd(&out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullItem()));
  std::vector<std::string> expected{"db_create_nhp_std_obj(3)", called("db_read_obj", kKey)};
  expected.insert(expected.end(), kGetters.begin(), kGetters.end());
  expected.emplace_back("db_release_nhp_std_object(#1)");
  EXPECT_EQ(platform.calls, expected);
}

TEST_F(NhpStdTest, ReadNhpStd_missing_key_returns_60_and_keeps_the_item) {
  platform.fail("db_read_obj", 15005);
  item.flags = 99;
  const Row before = rowOf(item);
  EXPECT_EQ(FIB_DB_ReadNhpStd(&item), 60u);
  EXPECT_EQ(rowOf(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpStdTest, ReadNhpStd_failure_returns_the_code_says_so_and_counts_READ) {
  platform.fail("db_read_obj", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpStd(&item), 13044u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpStd failed, ret: 13044"));
  EXPECT_TRUE(countedOnce(4, 0));
}

TEST_F(NhpStdTest, ReadNhpStd_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_std_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpStd(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpStd failed, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpStdTest, ReadNhpStd_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpStd(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Unpacking: contexts are copied only while no field has failed.
TEST_F(NhpStdTest, ReadNhpStd_with_a_failed_field_before_the_contexts_succeeds_without_them) {
  platform.fail("db_get_nhp_std_vr_id", 1);
  platform.fail("db_get_nhp_std_app_version", 4);
  FibDbNhpStdItem out{.vr_id = 77, .svc_ctx_high_prio = {0x55}, .svc_ctx_normal_prio = {0x66}, .app_version = 78};
  EXPECT_EQ(FIB_DB_ReadNhpStd(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpStdItem getField failed, ret: 5"));
  EXPECT_EQ(platform.calls.size(), 2u + kFields + 1u);
  EXPECT_EQ(out.vr_id, 77u);
  EXPECT_EQ(out.svc_ctx_high_prio[0], 0x55);
  EXPECT_EQ(out.svc_ctx_normal_prio[0], 0x66);
  EXPECT_EQ(out.app_version, 78u);
  EXPECT_EQ(out.time_stamp_svc, fullItem().time_stamp_svc);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpStdTest, GetNhpStdItem_with_a_failed_field_behind_the_contexts_keeps_them) {
  platform.fail("db_get_nhp_std_attr_flag", 6);
  FibDbNhpStdItem out{};
  FIB_DB_GetNhpStdItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpStdItem getField failed, ret: 6"));
  EXPECT_EQ(out.svc_ctx_high_prio[15], 0xEE);
  EXPECT_EQ(out.svc_ctx_normal_prio[15], 0xFF);
  EXPECT_EQ(out.attr_flag, 0u);
}

TEST_F(NhpStdTest, GetNhpStdItem_whose_high_context_cannot_be_got_leaves_both_and_goes_on) {
  platform.fail("db_get_nhp_std_svc_ctx_high_prio", 8);
  FibDbNhpStdItem out{};
  FIB_DB_GetNhpStdItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpStdItem getField failed, ret: 8"));
  EXPECT_EQ(out.svc_ctx_high_prio[0], 0);
  EXPECT_EQ(out.svc_ctx_normal_prio[0], 0);
  EXPECT_EQ(out.app_source_id, 18u);
}

TEST_F(NhpStdTest, GetNhpStdItem_whose_normal_context_cannot_be_got_keeps_the_high_one) {
  platform.fail("db_get_nhp_std_svc_ctx_normal_prio", 8);
  FibDbNhpStdItem out{};
  FIB_DB_GetNhpStdItem(1, &out);
  EXPECT_EQ(out.svc_ctx_high_prio[15], 0xEE);
  EXPECT_EQ(out.svc_ctx_normal_prio[15], 0);
  EXPECT_EQ(out.app_source_id, 18u);
}

TEST_F(NhpStdTest, GetNhpStdItem_whose_context_copy_fails_says_so_and_ends) {
  platform.fail("memcpy_s", 1);
  FibDbNhpStdItem out{};
  FIB_DB_GetNhpStdItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpStdItem failed to memcpy nhp std high svcCtx, ret: 22."));
  EXPECT_EQ(platform.calls.back(), "db_get_nhp_std_svc_ctx_high_prio(1, no length)");
  EXPECT_EQ(out.app_source_id, 0u);

  platform.errorLines.clear();
  platform.fail("memcpy_s", 0);
  platform.fail("memcpy_s", 1);
  FIB_DB_GetNhpStdItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpStdItem failed to memcpy nhp std normal svcCtx, ret: 22."));
  EXPECT_EQ(platform.calls.back(), "db_get_nhp_std_svc_ctx_normal_prio(1, no length)");
  EXPECT_EQ(out.svc_ctx_high_prio[15], 0xEE);
  EXPECT_EQ(out.app_source_id, 0u);
}

TEST_F(NhpStdTest, GetNhpStdItem_of_NULL_does_nothing) {
  FIB_DB_GetNhpStdItem(1, nullptr);
  EXPECT_THAT(platform.calls, IsEmpty());
}

// Remove.
TEST_F(NhpStdTest, RemoveNhpStd_removes_by_the_primary_key) {
  EXPECT_EQ(FIB_DB_RemoveNhpStd(&item), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_std_obj(4)", called("db_remove_obj", kKey), "db_release_nhp_std_object(#1)"));
}

TEST_F(NhpStdTest, RemoveNhpStdByNhpIndex_removes_by_the_index_alone) {
  EXPECT_EQ(FIB_DB_RemoveNhpStdByNhpIndex(42), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_std_obj(4)", "db_remove_obj(#1, 0x01090004 2a000000)",
                                          "db_release_nhp_std_object(#1)"));
}

TEST_F(NhpStdTest, Removals_that_fail_return_the_code_say_so_and_count_REMOVE) {
  platform.failAlways("db_remove_obj", 15005);
  EXPECT_EQ(FIB_DB_RemoveNhpStd(&item), 15005u);
  EXPECT_TRUE(countedOnce(4, 4));
  EXPECT_EQ(FIB_DB_RemoveNhpStdByNhpIndex(42), 15005u);
  EXPECT_EQ(counted(4, 4), 2u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("REMOVE fib nhp std db fail. ret = 15005", "REMOVE fib nhp std db fail. ret = 15005"));
}

TEST_F(NhpStdTest, Removals_answered_with_a_publication_return_0_and_count_PUB) {
  platform.failAlways("db_remove_obj", 13044);
  EXPECT_EQ(FIB_DB_RemoveNhpStd(&item), 0u);
  EXPECT_TRUE(countedOnce(4, 1));
  EXPECT_EQ(FIB_DB_RemoveNhpStdByNhpIndex(42), 0u);
  EXPECT_EQ(counted(4, 1), 2u);
}

TEST_F(NhpStdTest, Removals_whose_object_fails_say_so_and_return_the_code) {
  platform.failAlways("db_create_nhp_std_obj", 9);
  EXPECT_EQ(FIB_DB_RemoveNhpStd(&item), 9u);
  EXPECT_EQ(FIB_DB_RemoveNhpStdByNhpIndex(42), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveNhpStd failed, create object failed. ret: 9",
                                               "RemoveNhpStdByNhpIndex failed, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpStdTest, RemoveNhpStd_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_RemoveNhpStd(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Bulk reads: as many whole items as there is room for.
class NhpStdBulk : public NhpStdTest {
 protected:
  void SetUp() override {
    NhpStdTest::SetUp();
    for (uint32_t i = 0; i < 3; ++i) {
      FibDbNhpStdItem entry = fullItem();
      entry.next_hop = i;
      platform.entries.push_back(rowOf(entry));
    }
    for (FibDbNhpStdItem& slot : items) slot = {.nhp_index = 0xDEAD};
  }

  static constexpr uint32_t kSize = sizeof(FibDbNhpStdItem);
  FibDbNhpStdItem items[4];
  uint32_t filled = 77;

  size_t steps() const { return static_cast<size_t>(std::ranges::count(platform.calls, "db_root_iterator_next(~1)")); }
};

TEST_F(NhpStdBulk, ReadNhpStdByKey_iterates_under_the_callers_key_and_releases) {
  EXPECT_EQ(FIB_DB_ReadNhpStdByKey(&desc, &key, kSize, items, &filled), 0u);
  std::vector<std::string> expected{"db_create_nhp_std_obj(5)", "db_create_root_iter(#1, 0x01090004 2a000000)",
                                    "db_root_iterator_next(~1)"};
  expected.insert(expected.end(), kGetters.begin(), kGetters.end());
  expected.emplace_back("db_release_nhp_std_object(#1)");
  EXPECT_EQ(platform.calls, expected);
  EXPECT_EQ(filled, 1u);
}

TEST_F(NhpStdBulk, ReadNhpStdByKey_reads_what_there_is_room_for_and_steps_no_further) {
  struct {
    uint32_t bufLen, filled;
    size_t steps;
  } const rooms[] = {{0, 0, 0},         {1, 0, 0},         {kSize - 1, 0, 0},     {kSize, 1, 1},
                     {kSize + 1, 1, 1}, {2 * kSize, 2, 2}, {3 * kSize - 1, 2, 2}, {3 * kSize, 3, 3},
                     {4 * kSize, 3, 4}};
  for (const auto& room : rooms) {
    platform.reset();
    SetUp();
    filled = 77;
    EXPECT_EQ(FIB_DB_ReadNhpStdByKey(&desc, &key, room.bufLen, items, &filled), 0u) << room.bufLen;
    EXPECT_EQ(filled, room.filled) << room.bufLen;
    EXPECT_EQ(steps(), room.steps) << room.bufLen;
    for (uint32_t i = 0; i < 4; ++i) {
      EXPECT_EQ(items[i].nhp_index, i < room.filled ? 42u : 0xDEADu) << room.bufLen;
      EXPECT_EQ(items[i].next_hop, i < room.filled ? i : 0u) << room.bufLen;
    }
    EXPECT_TRUE(silent());
    EXPECT_EQ(allCounted(), 0u);
  }
}

TEST_F(NhpStdBulk, ReadNhpStdByKey_without_a_count_just_reads) {
  EXPECT_EQ(FIB_DB_ReadNhpStdByKey(&desc, &key, 2 * kSize, items, nullptr), 0u);
  EXPECT_EQ(items[1].next_hop, 1u);
  EXPECT_EQ(FIB_DB_ReadNhpStdByKey(&desc, &key, 0, items, nullptr), 0u);
}

TEST_F(NhpStdBulk, ReadNhpStdByKey_whose_step_fails_returns_the_code_and_what_was_read) {
  platform.fail("db_root_iterator_next", 0);
  platform.fail("db_root_iterator_next", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpStdByKey(&desc, &key, sizeof items, items, &filled), 13044u);
  EXPECT_EQ(filled, 1u);
  EXPECT_EQ(items[0].nhp_index, 42u);
  EXPECT_EQ(items[1].nhp_index, 0xDEADu);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpStdByKey failed, ret: 13044"));
  EXPECT_TRUE(countedOnce(4, 6));
}

TEST_F(NhpStdBulk, ReadNhpStdByKey_whose_fields_fail_goes_on) {
  platform.fail("db_get_nhp_std_flags", 5);
  EXPECT_EQ(FIB_DB_ReadNhpStdByKey(&desc, &key, sizeof items, items, &filled), 0u);
  EXPECT_EQ(filled, 3u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpStdItem getField failed, ret: 5"));
}

TEST_F(NhpStdBulk, ReadNhpStdByKey_whose_object_or_iterator_fails_says_so_and_leaves_the_count) {
  platform.fail("db_create_nhp_std_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpStdByKey(&desc, &key, sizeof items, items, &filled), 9u);
  platform.fail("db_create_root_iter", 8);
  EXPECT_EQ(FIB_DB_ReadNhpStdByKey(&desc, &key, sizeof items, items, &filled), 8u);
  EXPECT_EQ(filled, 77u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpStdByKey failed, create object failed. ret: 9",
                                               "ReadNhpStdByKey failed, create root iter failed. ret: 8"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpStdBulk, ReadNhpStdByKey_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpStdByKey(nullptr, &key, kSize, items, &filled), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpStdByKey(&desc, nullptr, kSize, items, &filled), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpStdByKey(&desc, &key, kSize, nullptr, &filled), 1u);
  EXPECT_EQ(filled, 77u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// The functions by one index: which key each of them makes.
template <class Call>
struct Under {
  const char* name;
  const char* key;
  Call call;

  friend void PrintTo(const Under& row, std::ostream* out) { *out << row.name; }
};

using Read = Under<uint32_t (*)(uint32_t bufLen, FibDbNhpStdItem* buf)>;
using Count = Under<uint32_t (*)(uint32_t* count)>;
using Iterate = Under<FibDbIterator* (*)(uint32_t property)>;

class NhpStdReadBy : public NhpStdBulk, public testing::WithParamInterface<Read> {};

TEST_P(NhpStdReadBy, reads_under_its_key) {
  EXPECT_EQ(GetParam().call(sizeof items, items), 0u);
  EXPECT_EQ(platform.calls[1], called("db_create_root_iter", GetParam().key));
  EXPECT_EQ(items[2].next_hop, 2u);
}

TEST_P(NhpStdReadBy, of_NULL_returns_1_silently) {
  EXPECT_EQ(GetParam().call(sizeof items, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_P(NhpStdReadBy, that_fails_says_so_in_the_words_of_the_read_by_key) {
  platform.fail("db_create_root_iter", 9);
  EXPECT_EQ(GetParam().call(sizeof items, items), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpStdByKey failed, create root iter failed. ret: 9"));
}

INSTANTIATE_TEST_SUITE_P(Indexes, NhpStdReadBy,
                         testing::Values(Read{"NhpIndex", "0x01090004 2a000000",
                                              [](uint32_t bufLen, FibDbNhpStdItem* buf) {
                                                return FIB_DB_ReadNhpStdByNhpIndex(42, bufLen, buf, nullptr);
                                              }},
                                         Read{"Localhash", "0x02090008 0100000a03000000",
                                              [](uint32_t bufLen, FibDbNhpStdItem* buf) {
                                                return FIB_DB_ReadNhpStdByLocalhash(0x0A000001, 3, bufLen, buf);
                                              }},
                                         Read{"IfIndex", "0x03090004 03000000",
                                              [](uint32_t bufLen, FibDbNhpStdItem* buf) {
                                                return FIB_DB_ReadNhpStdByIfIndex(3, bufLen, buf);
                                              }},
                                         Read{"IfType", "0x04090004 09000000",
                                              [](uint32_t bufLen, FibDbNhpStdItem* buf) {
                                                return FIB_DB_ReadNhpStdByIfType(9, bufLen, buf);
                                              }}),
                         [](const auto& info) { return info.param.name; });

class NhpStdCountBy : public NhpStdTest, public testing::WithParamInterface<Count> {};

TEST_P(NhpStdCountBy, counts_under_its_key) {
  platform.countResult = 5;
  uint32_t count = 0;
  EXPECT_EQ(GetParam().call(&count), 0u);
  EXPECT_EQ(count, 5u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_std_obj(9)", called("db_get_table_record_count_by_key", GetParam().key),
                          "db_release_nhp_std_object(#1)"));
}

TEST_P(NhpStdCountBy, into_NULL_returns_1_silently) {
  EXPECT_EQ(GetParam().call(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

INSTANTIATE_TEST_SUITE_P(Indexes, NhpStdCountBy,
                         testing::Values(Count{"NhpIndex", "0x01090004 2a000000",
                                               [](uint32_t* count) { return FIB_DB_CountNhpStdByNhpIndex(42, count); }},
                                         Count{"Localhash", "0x02090008 0100000a03000000",
                                               [](uint32_t* count) {
                                                 return FIB_DB_CountNhpStdByLocalhash(0x0A000001, 3, count);
                                               }},
                                         Count{"IfIndex", "0x03090004 03000000",
                                               [](uint32_t* count) { return FIB_DB_CountNhpStdByIfIndex(3, count); }},
                                         Count{"IfType", "0x04090004 09000000",
                                               [](uint32_t* count) { return FIB_DB_CountNhpStdByIfType(9, count); }}),
                         [](const auto& info) { return info.param.name; });

class NhpStdIterateBy : public NhpStdBulk, public testing::WithParamInterface<Iterate> {};

TEST_P(NhpStdIterateBy, iterates_under_its_key_with_the_property) {
  FibDbIterator* const iterator = GetParam().call(5);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_std_obj(5)", called("db_create_root_iter", GetParam().key),
                                          "db_set_root_iterator_property(~1, 0, 05000000)"));
  EXPECT_EQ(FIB_DB_GetNextNhpStdEntry(iterator, &item), 0u);
  FIB_DB_ReleaseNhpStdIterator(iterator);
}

TEST_P(NhpStdIterateBy, that_fails_says_so_in_the_words_of_the_iterator_by_key) {
  platform.fail("db_create_root_iter", 9);
  EXPECT_EQ(GetParam().call(5), nullptr);
  EXPECT_THAT(platform.errorLines, ElementsAre("CreateNhpStdIteratorByKey createIter failed, ret: 9"));
}

INSTANTIATE_TEST_SUITE_P(
    Indexes, NhpStdIterateBy,
    testing::Values(Iterate{"NhpIndex", "0x01090004 2a000000",
                            [](uint32_t property) { return FIB_DB_CreateNhpStdIteratorByNhpIndex(42, property); }},
                    Iterate{"IpIfIndex", "0x02090008 0100000a03000000",
                            [](uint32_t property) {
                              return FIB_DB_CreateNhpStdIteratorByIpIfIndex(0x0A000001, 3, property);
                            }},
                    Iterate{"IfIndex", "0x03090004 03000000",
                            [](uint32_t property) { return FIB_DB_CreateNhpStdIteratorByIfIndex(3, property); }},
                    Iterate{"WorkIfIndex", "0x05090004 0b000000",
                            [](uint32_t property) { return FIB_DB_CreateNhpStdIteratorByWorkIfIndex(11, property); }},
                    Iterate{"GlobalSlotId", "0x06090004 19000000",
                            [](uint32_t property) { return FIB_DB_CreateNhpStdIteratorByGlobalSlotId(25, property); }}),
    [](const auto& info) { return info.param.name; });

TEST_F(NhpStdBulk, ReadNhpStdByNhpIndex_passes_the_count_through) {
  EXPECT_EQ(FIB_DB_ReadNhpStdByNhpIndex(42, 2 * kSize, items, &filled), 0u);
  EXPECT_EQ(filled, 2u);
}

// Counts.
TEST_F(NhpStdTest, CountNhpStdByKey_stores_the_low_word) {
  platform.countResult = 0x100000007;
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountNhpStdByKey(&desc, &key, &count), 0u);
  EXPECT_EQ(count, 7u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpStdTest, CountNhpStdByKey_failures_say_so_leave_the_count_and_are_not_counted) {
  uint32_t count = 77;
  platform.fail("db_create_nhp_std_obj", 9);
  EXPECT_EQ(FIB_DB_CountNhpStdByKey(&desc, &key, &count), 9u);
  platform.fail("db_get_table_record_count_by_key", 8);
  EXPECT_EQ(FIB_DB_CountNhpStdByKey(&desc, &key, &count), 8u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.errorLines, ElementsAre("CountNhpStdByKey failed, create object failed. ret: 9",
                                               "CountNhpStdByKey failed, record count by key failed. ret: 8"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpStdTest, CountNhpStdByKey_of_NULL_returns_1_silently) {
  uint32_t count = 77;
  EXPECT_EQ(FIB_DB_CountNhpStdByKey(nullptr, &key, &count), 1u);
  EXPECT_EQ(FIB_DB_CountNhpStdByKey(&desc, nullptr, &count), 1u);
  EXPECT_EQ(FIB_DB_CountNhpStdByKey(&desc, &key, nullptr), 1u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Partial updates.
TEST_F(NhpStdTest, UpdateNhpStdContext_stages_its_eight_fields_in_order) {
  EXPECT_EQ(FIB_DB_UpdateNhpStdContext(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre("db_create_nhp_std_obj(1)", "db_set_nhp_std_svc_ctx_high_prio(#1, 160102030405060708090a0b0c0d0eee)",
                  "db_set_nhp_std_svc_ctx_normal_prio(#1, 170102030405060708090a0b0c0d0eff)",
                  "db_set_nhp_std_status_high_prio(#1, 12)", "db_set_nhp_std_status_normal_prio(#1, 13)",
                  "db_set_nhp_std_errcode_high_prio(#1, 14)", "db_set_nhp_std_errcode_normal_prio(#1, 15)",
                  "db_set_nhp_std_time_stamp_svc(#1, 154618822656)", "db_set_nhp_std_forwardVsId(#1, 8)",
                  called("db_update_obj", kKey), "db_release_nhp_std_object(#1)"));
}

TEST_F(NhpStdTest, UpdateNhpStdFlags_stages_the_flags_alone) {
  EXPECT_EQ(FIB_DB_UpdateNhpStdFlags(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_std_obj(1)", "db_set_nhp_std_flags(#1, 6)",
                                          called("db_update_obj", kKey), "db_release_nhp_std_object(#1)"));
}

TEST_F(NhpStdTest, Updates_of_NULL_or_without_setter_return_1_silently) {
  EXPECT_EQ(FIB_DB_UpdateNhpStdFields(nullptr, [](uint64_t, const void*) { return 0u; }), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpStdFields(&item, nullptr), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpStdContext(nullptr), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpStdFlags(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpStdTest, Updates_whose_setter_fails_say_so_and_are_sent_all_the_same) {
  platform.fail("db_set_nhp_std_flags", 5);
  EXPECT_EQ(FIB_DB_UpdateNhpStdFlags(&item), 0u);
  platform.fail("db_set_nhp_std_status_high_prio", 5);
  EXPECT_EQ(FIB_DB_UpdateNhpStdContext(&item), 0u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_update_obj"), 2);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_set_nhp_std_forwardVsId"), 1);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("SetNhpStdFlags failed, set fields failed.", "SetNhpStdContext failed, set fields failed."));
}

TEST_F(NhpStdTest, The_setters_give_1_for_the_context_and_the_raw_code_for_the_flags) {
  platform.fail("db_set_nhp_std_forwardVsId", 5);
  EXPECT_EQ(FIB_DB_SetNhpStdContext(1, &item), 1u);
  platform.fail("db_set_nhp_std_flags", 5);
  EXPECT_EQ(FIB_DB_SetNhpStdFlags(1, &item), 5u);
}

TEST_F(NhpStdTest, Updates_that_fail_return_the_code_say_so_and_count_UPDATE) {
  platform.fail("db_update_obj", 15005);
  EXPECT_EQ(FIB_DB_UpdateNhpStdFlags(&item), 15005u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UPDATE fib nhp std db fail. ret = 15005"));
  EXPECT_TRUE(countedOnce(4, 3));
}

TEST_F(NhpStdTest, Updates_answered_with_a_publication_return_0_and_count_PUB) {
  platform.fail("db_update_obj", 13044);
  EXPECT_EQ(FIB_DB_UpdateNhpStdContext(&item), 0u);
  EXPECT_TRUE(countedOnce(4, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpStdTest, Updates_whose_object_fails_say_so_and_take_no_time) {
  g_fibGetDbOperTickCost = 1;
  platform.fail("db_create_nhp_std_obj", 9);
  EXPECT_EQ(FIB_DB_UpdateNhpStdFlags(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateNhpStdFields failed, create object failed. ret: 9"));
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpStdTest, Updates_are_timed_while_the_switch_is_on) {
  EXPECT_EQ(FIB_DB_UpdateNhpStdFlags(&item), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
  g_fibGetDbOperTickCost = 1;
  EXPECT_EQ(FIB_DB_UpdateNhpStdFlags(&item), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 1u);
  std::vector<std::string> lines = platform.infoLines;
  lines.insert(lines.end(), platform.errorLines.begin(), platform.errorLines.end());
  EXPECT_THAT(lines, ElementsAre(testing::StartsWith("[fib nhp std] DB oper timeCost: latest=")));
}

// Iteration.
TEST_F(NhpStdBulk, Iteration_gives_every_next_hop_then_60_every_time) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpStdIterator(0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_std_obj(5)", "db_create_root_iter(#1, NULL)"));
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(FIB_DB_GetNextNhpStdEntry(iterator, &item), 0u);
    EXPECT_EQ(item.next_hop, i);
  }
  EXPECT_EQ(FIB_DB_GetNextNhpStdEntry(iterator, &item), 60u);
  EXPECT_EQ(FIB_DB_GetNextNhpStdEntry(iterator, &item), 60u);
  FIB_DB_ReleaseNhpStdIterator(iterator);
  EXPECT_EQ(platform.calls.back(), "db_release_nhp_std_object(#1)");
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpStdTest, Iterators_set_any_property_but_the_one_that_means_none) {
  for (const uint32_t property : {0u, 5u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    platform.calls.clear();
    FIB_DB_ReleaseNhpStdIterator(FIB_DB_CreateNhpStdIterator(property));
    EXPECT_EQ(platform.calls.size(), property == 0xFFFFFFFF ? 3u : 4u) << property;
    platform.calls.clear();
    FIB_DB_ReleaseNhpStdIterator(FIB_DB_CreateNhpStdIteratorByKey(&desc, &key, property));
    EXPECT_EQ(platform.calls.size(), property == 0xFFFFFFFF ? 3u : 4u) << property;
  }
}

TEST_F(NhpStdTest, CreateNhpStdIteratorByKey_of_NULL_gives_NULL_silently) {
  EXPECT_EQ(FIB_DB_CreateNhpStdIteratorByKey(nullptr, &key, 0), nullptr);
  EXPECT_EQ(FIB_DB_CreateNhpStdIteratorByKey(&desc, nullptr, 0), nullptr);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpStdTest, Iterator_creation_failures_say_which_step_and_give_NULL) {
  struct {
    const char* call;
    const char* whole;
    const char* byKey;
  } const steps[] = {
      {"alloc", "CreateNhpStdIterator malloc failed", "CreateNhpStdIteratorByKey malloc failed"},
      {"db_create_nhp_std_obj", "CreateNhpStdIterator createObj failed, ret: 9",
       "CreateNhpStdIteratorByKey createObj failed, ret: 9"},
      {"db_create_root_iter", "CreateNhpStdIterator createIter failed, ret: 9",
       "CreateNhpStdIteratorByKey createIter failed, ret: 9"},
      {"db_set_root_iterator_property", "CreateNhpStdIterator setProperty failed, ret: 9",
       "CreateNhpStdIteratorByKey setProperty failed, ret: 9"},
  };
  for (const auto& step : steps) {
    platform.errorLines.clear();
    platform.fail(step.call, 9);
    EXPECT_EQ(FIB_DB_CreateNhpStdIterator(0), nullptr);
    platform.fail(step.call, 9);
    EXPECT_EQ(FIB_DB_CreateNhpStdIteratorByKey(&desc, &key, 0), nullptr);
    EXPECT_THAT(platform.errorLines, ElementsAre(step.whole, step.byKey));
  }
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpStdTest, GetNextNhpStdEntry_failure_returns_1_not_the_code_and_counts_ITERATOR) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpStdIterator(0xFFFFFFFF);
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetNextNhpStdEntry(iterator, &item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNextNhpStdEntry failed, ret: 7"));
  EXPECT_TRUE(countedOnce(4, 6));
  FIB_DB_ReleaseNhpStdIterator(iterator);
}

TEST_F(NhpStdTest, GetNextNhpStdEntry_of_NULL_returns_1_silently) {
  FibDbIterator iterator{};
  EXPECT_EQ(FIB_DB_GetNextNhpStdEntry(nullptr, &item), 1u);
  EXPECT_EQ(FIB_DB_GetNextNhpStdEntry(&iterator, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpStdTest, ReleaseNhpStdIterator_of_NULL_does_nothing) {
  FIB_DB_ReleaseNhpStdIterator(nullptr);
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

}  // namespace
}  // namespace fibdb::test
