// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_lla_test.cc: next hops with a 16-byte address over the recorded platform.
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
static_assert(offsetof(FibDbNhpLlaItem, next_hop) == 4 && offsetof(FibDbNhpLlaItem, out_if_index) == 20);
static_assert(offsetof(FibDbNhpLlaItem, fwd_if_type) == 36 && offsetof(FibDbNhpLlaItem, forwardVsId) == 38);
static_assert(offsetof(FibDbNhpLlaItem, if_type) == 40 && offsetof(FibDbNhpLlaItem, iid_flags) == 48);
static_assert(offsetof(FibDbNhpLlaItem, status_high_prio) == 52 && offsetof(FibDbNhpLlaItem, svc_ctx_high_prio) == 56);
static_assert(offsetof(FibDbNhpLlaItem, app_source_id) == 88 && offsetof(FibDbNhpLlaItem, app_obj_id) == 96);
static_assert(offsetof(FibDbNhpLlaItem, reserved) == 104 && offsetof(FibDbNhpLlaItem, app_version) == 108);
static_assert(offsetof(FibDbNhpLlaItem, time_stamp_svc) == 120 && offsetof(FibDbNhpLlaItem, global_slotid) == 128);
static_assert(sizeof(FibDbNhpLlaItem) == 136);
static_assert(offsetof(FibDbNhpLlaCnt, updatesBegun) == 40 && offsetof(FibDbNhpLlaCnt, lookupsFinished) == 52);
static_assert(sizeof(FibDbNhpLlaCnt) == 56);

constexpr size_t kFields = 24;

// fe80::1 to the eye, though the table takes any sixteen bytes.
constexpr uint8_t kAddress[16] = {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01};

FibDbNhpLlaItem fullItem() {
  FibDbNhpLlaItem item{.iid_index = 42,
                       .out_if_index = 3,
                       .vr_id = 4,
                       .vrf_index = 5,
                       .flags = 6,
                       .fwd_if_type = 7,
                       .forwardVsId = 8,
                       .if_type = 9,
                       .work_if_index = 10,
                       .iid_flags = 11,
                       .status_high_prio = 12,
                       .status_normal_prio = 13,
                       .errcode_high_prio = 14,
                       .errcode_normal_prio = 15,
                       .svc_ctx_high_prio = {0x16, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xEE},
                       .svc_ctx_normal_prio = {0x17, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xFF},
                       .app_source_id = 18,
                       .group_smooth_id = 19,
                       .app_obj_id = 0x2000000000,
                       .reserved = 21,
                       .app_version = 22,
                       .time_stamp_app = 0x2300000000,
                       .time_stamp_svc = 0x2400000000,
                       .global_slotid = 25};
  std::memcpy(item.next_hop, kAddress, sizeof kAddress);
  return item;
}

Row rowOf(const FibDbNhpLlaItem& item) {
  Row row;
  const auto put = [&](std::string_view name, uint64_t value) { putField(TableId::nhp_lla, row, name, value); };
  put("iid_index", item.iid_index);
  putBytes(TableId::nhp_lla, row, "next_hop", item.next_hop);
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
  putBytes(TableId::nhp_lla, row, "svc_ctx_high_prio", item.svc_ctx_high_prio);
  putBytes(TableId::nhp_lla, row, "svc_ctx_normal_prio", item.svc_ctx_normal_prio);
  put("app_source_id", item.app_source_id);
  put("group_smooth_id", item.group_smooth_id);
  put("app_obj_id", item.app_obj_id);
  put("app_version", item.app_version);
  put("time_stamp_app", item.time_stamp_app);
  put("time_stamp_svc", item.time_stamp_svc);
  put("global_slotid", item.global_slotid);
  return row;
}

// The bytes of 42, the address and 3.
constexpr const char* kKey = "0x00010018 2a000000fe80000000000000000000000000000103000000";
// The bytes of the address and 3.
constexpr const char* kLocalHash = "0x02090014 fe80000000000000000000000000000103000000";

std::string called(const char* call, const std::string& key) { return std::string(call) + "(#1, " + key + ")"; }

class NhpLlaTest : public TablesTest {
 protected:
  void SetUp() override { platform.record(TableId::nhp_lla) = rowOf(fullItem()); }

  FibDbNhpLlaItem item = fullItem();
  FibDbKeyDesc desc{.indexId = 0x01090004, .rsv1 = 0, .rsv2 = 0};
  uint32_t key = 42;
};

// The primary key.
TEST_F(NhpLlaTest, SetNhpLlaKeyField_packs_its_parts_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc out{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint8_t bytes[25];
  bytes[24] = 77;
  FIB_DB_SetNhpLlaKeyField(&out, bytes, &item);
  EXPECT_EQ(out.indexId, 0x00010018u);
  EXPECT_EQ(out.rsv1, 2u);
  EXPECT_EQ(out.rsv2, 3u);
  EXPECT_THAT(bytes, ElementsAre(42, 0, 0, 0, 0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 3, 0, 0, 0, 77));
}

// Write.
TEST_F(NhpLlaTest, WriteNhpLla_stages_every_field_in_order_and_writes_once) {
  EXPECT_EQ(FIB_DB_WriteNhpLla(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre("db_create_nhp_lla_obj(0)", "db_set_nhp_lla_iid_index(#1, 42)",
                  "db_set_nhp_lla_next_hop(#1, fe800000000000000000000000000001)", "db_set_nhp_lla_out_if_index(#1, 3)",
                  "db_set_nhp_lla_vr_id(#1, 4)", "db_set_nhp_lla_vrf_index(#1, 5)", "db_set_nhp_lla_flags(#1, 6)",
                  "db_set_nhp_lla_iid_flags(#1, 11)", "db_set_nhp_lla_if_type(#1, 9)",
                  "db_set_nhp_lla_fwd_if_type(#1, 7)", "db_set_nhp_lla_work_if_index(#1, 10)",
                  "db_set_nhp_lla_global_slotid(#1, 25)", "db_set_nhp_lla_app_source_id(#1, 18)",
                  "db_set_nhp_lla_group_smooth_id(#1, 19)", "db_set_nhp_lla_app_obj_id(#1, 137438953472)",
                  "db_set_nhp_lla_app_version(#1, 22)", "db_set_nhp_lla_forwardVsId(#1, 8)",
                  "db_set_nhp_lla_status_high_prio(#1, 12)", "db_set_nhp_lla_status_normal_prio(#1, 13)",
                  "db_set_nhp_lla_errcode_high_prio(#1, 14)", "db_set_nhp_lla_errcode_normal_prio(#1, 15)",
                  "db_set_nhp_lla_svc_ctx_high_prio(#1, 160102030405060708090a0b0c0d0eee)",
                  "db_set_nhp_lla_svc_ctx_normal_prio(#1, 170102030405060708090a0b0c0d0eff)",
                  "db_set_nhp_lla_time_stamp_app(#1, 150323855360)", "db_set_nhp_lla_time_stamp_svc(#1, 154618822656)",
                  "db_write_obj(#1)", "db_release_nhp_lla_object(#1)"));
  EXPECT_EQ(platform.staged(TableId::nhp_lla), rowOf(item));
}

TEST_F(NhpLlaTest, WriteNhpLla_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_WriteNhpLla(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpLlaTest, WriteNhpLla_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_lla_obj", 9);
  EXPECT_EQ(FIB_DB_WriteNhpLla(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteNhpLla failed, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, WriteNhpLla_whose_fields_fail_tries_them_all_says_the_OR_and_does_not_write) {
  platform.fail("db_set_nhp_lla_next_hop", 4);
  platform.fail("db_set_nhp_lla_time_stamp_svc", 3);
  EXPECT_EQ(FIB_DB_WriteNhpLla(&item), 1u);
  EXPECT_EQ(platform.calls.size(), 1u + kFields + 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpLlaItem setField failed, ret: 7"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, WriteNhpLla_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteNhpLla(&item), 0u);
  EXPECT_TRUE(countedOnce(9, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpLlaTest, WriteNhpLla_answered_with_another_code_returns_it_says_so_and_counts_WRITE) {
  platform.fail("db_write_obj", 7);
  EXPECT_EQ(FIB_DB_WriteNhpLla(&item), 7u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WRITE fib nhp lla db fail. ret = 7"));
  EXPECT_TRUE(countedOnce(9, 2));
}

// Read by the primary key.
const std::vector<std::string> kGetters{"db_get_nhp_lla_iid_index(#1)",
                                        "db_get_nhp_lla_next_hop(#1)",
                                        "db_get_nhp_lla_out_if_index(#1)",
                                        "db_get_nhp_lla_vr_id(#1)",
                                        "db_get_nhp_lla_vrf_index(#1)",
                                        "db_get_nhp_lla_flags(#1)",
                                        "db_get_nhp_lla_fwd_if_type(#1)",
                                        "db_get_nhp_lla_if_type(#1)",
                                        "db_get_nhp_lla_iid_flags(#1)",
                                        "db_get_nhp_lla_work_if_index(#1)",
                                        "db_get_nhp_lla_global_slotid(#1)",
                                        "db_get_nhp_lla_forwardVsId(#1)",
                                        "db_get_nhp_lla_status_high_prio(#1)",
                                        "db_get_nhp_lla_status_normal_prio(#1)",
                                        "db_get_nhp_lla_errcode_high_prio(#1)",
                                        "db_get_nhp_lla_errcode_normal_prio(#1)",
                                        "db_get_nhp_lla_svc_ctx_high_prio(#1, no length)",
                                        "db_get_nhp_lla_svc_ctx_normal_prio(#1, no length)",
                                        "db_get_nhp_lla_app_source_id(#1)",
                                        "db_get_nhp_lla_group_smooth_id(#1)",
                                        "db_get_nhp_lla_app_obj_id(#1)",
                                        "db_get_nhp_lla_app_version(#1)",
                                        "db_get_nhp_lla_time_stamp_app(#1)",
                                        "db_get_nhp_lla_time_stamp_svc(#1)"};

TEST_F(NhpLlaTest, ReadNhpLla_fills_every_field_in_order) {
  FibDbNhpLlaItem out{.iid_index = 42, .out_if_index = 3, .reserved = 78};
  std::memcpy(out.next_hop, kAddress, sizeof kAddress);
  EXPECT_EQ(FIB_DB_ReadNhpLla(&out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullItem()));
  EXPECT_EQ(out.reserved, 78u);
  std::vector<std::string> expected{"db_create_nhp_lla_obj(3)", called("db_read_obj", kKey)};
  expected.insert(expected.end(), kGetters.begin(), kGetters.end());
  expected.emplace_back("db_release_nhp_lla_object(#1)");
  EXPECT_EQ(platform.calls, expected);
}

TEST_F(NhpLlaTest, ReadNhpLla_missing_key_returns_60_and_keeps_the_item) {
  platform.fail("db_read_obj", 15005);
  item.flags = 99;
  const Row before = rowOf(item);
  EXPECT_EQ(FIB_DB_ReadNhpLla(&item), 60u);
  EXPECT_EQ(rowOf(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, ReadNhpLla_failure_returns_the_code_says_so_and_counts_READ) {
  platform.fail("db_read_obj", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpLla(&item), 13044u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpLla failed, ret: 13044"));
  EXPECT_TRUE(countedOnce(9, 0));
}

TEST_F(NhpLlaTest, ReadNhpLla_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_lla_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpLla(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpLla not success, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, ReadNhpLla_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpLla(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Unpacking: contexts are copied only while no field has failed.
TEST_F(NhpLlaTest, ReadNhpLla_with_a_failed_field_before_the_contexts_succeeds_without_them) {
  platform.fail("db_get_nhp_lla_vr_id", 1);
  platform.fail("db_get_nhp_lla_app_version", 4);
  FibDbNhpLlaItem out{.vr_id = 77, .svc_ctx_high_prio = {0x55}, .svc_ctx_normal_prio = {0x66}, .app_version = 78};
  EXPECT_EQ(FIB_DB_ReadNhpLla(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaItem getField failed, ret: 5"));
  EXPECT_EQ(platform.calls.size(), 2u + kFields + 1u);
  EXPECT_EQ(out.vr_id, 77u);
  EXPECT_EQ(out.svc_ctx_high_prio[0], 0x55);
  EXPECT_EQ(out.svc_ctx_normal_prio[0], 0x66);
  EXPECT_EQ(out.app_version, 78u);
  EXPECT_EQ(out.time_stamp_svc, fullItem().time_stamp_svc);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, GetNhpLlaItem_with_a_failed_field_behind_the_contexts_keeps_them) {
  platform.fail("db_get_nhp_lla_app_version", 6);
  FibDbNhpLlaItem out{};
  FIB_DB_GetNhpLlaItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaItem getField failed, ret: 6"));
  EXPECT_EQ(out.svc_ctx_high_prio[15], 0xEE);
  EXPECT_EQ(out.svc_ctx_normal_prio[15], 0xFF);
  EXPECT_EQ(out.app_version, 0u);
}

TEST_F(NhpLlaTest, GetNhpLlaItem_whose_high_context_cannot_be_got_leaves_both_and_goes_on) {
  platform.fail("db_get_nhp_lla_svc_ctx_high_prio", 8);
  FibDbNhpLlaItem out{};
  FIB_DB_GetNhpLlaItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaItem getField failed, ret: 8"));
  EXPECT_EQ(out.svc_ctx_high_prio[0], 0);
  EXPECT_EQ(out.svc_ctx_normal_prio[0], 0);
  EXPECT_EQ(out.app_source_id, 18u);
}

TEST_F(NhpLlaTest, GetNhpLlaItem_whose_normal_context_cannot_be_got_keeps_the_high_one) {
  platform.fail("db_get_nhp_lla_svc_ctx_normal_prio", 8);
  FibDbNhpLlaItem out{};
  FIB_DB_GetNhpLlaItem(1, &out);
  EXPECT_EQ(out.svc_ctx_high_prio[15], 0xEE);
  EXPECT_EQ(out.svc_ctx_normal_prio[15], 0);
  EXPECT_EQ(out.app_source_id, 18u);
}

TEST_F(NhpLlaTest, GetNhpLlaItem_whose_context_copy_fails_says_so_and_ends) {
  platform.fail("memcpy_s", 0);  // of the address
  platform.fail("memcpy_s", 1);
  FibDbNhpLlaItem out{};
  FIB_DB_GetNhpLlaItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaItem failed to memcpy nhp lla high svcCtx, ret: 22."));
  EXPECT_EQ(platform.calls.back(), "db_get_nhp_lla_svc_ctx_high_prio(1, no length)");
  EXPECT_EQ(out.app_source_id, 0u);

  platform.errorLines.clear();
  platform.fail("memcpy_s", 0);
  platform.fail("memcpy_s", 0);
  platform.fail("memcpy_s", 1);
  FIB_DB_GetNhpLlaItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaItem failed to memcpy nhp lla normal svcCtx, ret: 22."));
  EXPECT_EQ(platform.calls.back(), "db_get_nhp_lla_svc_ctx_normal_prio(1, no length)");
  EXPECT_EQ(out.svc_ctx_high_prio[15], 0xEE);
  EXPECT_EQ(out.app_source_id, 0u);
}

// The address: stored with its length.
TEST_F(NhpLlaTest, ReadNhpLla_of_an_address_longer_than_its_field_succeeds_without_it_and_the_contexts) {
  platform.byteLength = 17;
  FibDbNhpLlaItem out{.iid_index = 42, .svc_ctx_high_prio = {0x55}, .svc_ctx_normal_prio = {0x66}};
  EXPECT_EQ(FIB_DB_ReadNhpLla(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaItem getField failed, ret: 22"));
  EXPECT_EQ(out.next_hop[0], 0);
  EXPECT_EQ(out.svc_ctx_high_prio[0], 0x55);
  EXPECT_EQ(out.svc_ctx_normal_prio[0], 0x66);
  EXPECT_EQ(out.global_slotid, 25u);
  EXPECT_EQ(out.app_source_id, 18u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, GetNhpLlaItem_of_a_shorter_address_fills_its_length) {
  platform.byteLength = 4;
  FibDbNhpLlaItem out{};
  std::memset(out.next_hop, 0x77, sizeof out.next_hop);
  FIB_DB_GetNhpLlaItem(1, &out);
  EXPECT_THAT(out.next_hop,
              ElementsAre(0xFE, 0x80, 0, 0, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77));
  EXPECT_EQ(out.svc_ctx_high_prio[15], 0xEE);
  EXPECT_TRUE(silent());
}

TEST_F(NhpLlaTest, GetNhpLlaItem_whose_address_cannot_be_got_copies_from_nowhere_and_goes_on) {
  platform.fail("db_get_nhp_lla_next_hop", 8);
  FibDbNhpLlaItem out{};
  FIB_DB_GetNhpLlaItem(1, &out);
  // 8 of the getter and 22 of the copy.
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaItem getField failed, ret: 30"));
  EXPECT_EQ(std::ranges::count(platform.allCalls, "memcpy_s"), 1);
  EXPECT_EQ(out.out_if_index, 3u);
  EXPECT_EQ(out.svc_ctx_high_prio[15], 0);
}

// Remove.
TEST_F(NhpLlaTest, RemoveNhpLLA_removes_by_the_primary_key) {
  EXPECT_EQ(FIB_DB_RemoveNhpLLA(&item), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_lla_obj(4)", called("db_remove_obj", kKey), "db_release_nhp_lla_object(#1)"));
}

TEST_F(NhpLlaTest, RemoveNhpLlaByNhpIndex_removes_by_the_index_alone) {
  EXPECT_EQ(FIB_DB_RemoveNhpLlaByNhpIndex(42), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_lla_obj(4)", "db_remove_obj(#1, 0x01090004 2a000000)",
                                          "db_release_nhp_lla_object(#1)"));
}

TEST_F(NhpLlaTest, Removals_that_fail_return_the_code_say_so_and_count_REMOVE) {
  platform.failAlways("db_remove_obj", 15005);
  EXPECT_EQ(FIB_DB_RemoveNhpLLA(&item), 15005u);
  EXPECT_TRUE(countedOnce(9, 4));
  EXPECT_EQ(FIB_DB_RemoveNhpLlaByNhpIndex(42), 15005u);
  EXPECT_EQ(counted(9, 4), 2u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("REMOVE fib nhp lla db fail. ret = 15005", "REMOVE fib nhp lla db fail. ret = 15005"));
}

TEST_F(NhpLlaTest, Removals_answered_with_a_publication_return_0_and_count_PUB) {
  platform.failAlways("db_remove_obj", 13044);
  EXPECT_EQ(FIB_DB_RemoveNhpLLA(&item), 0u);
  EXPECT_TRUE(countedOnce(9, 1));
  EXPECT_EQ(FIB_DB_RemoveNhpLlaByNhpIndex(42), 0u);
  EXPECT_EQ(counted(9, 1), 2u);
}

TEST_F(NhpLlaTest, Removals_whose_object_fails_say_so_and_return_the_code) {
  platform.failAlways("db_create_nhp_lla_obj", 9);
  EXPECT_EQ(FIB_DB_RemoveNhpLLA(&item), 9u);
  EXPECT_EQ(FIB_DB_RemoveNhpLlaByNhpIndex(42), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveNhpLla failed, create object failed. ret: 9",
                                               "RemoveNhpLlaByNhpIndex failed, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, RemoveNhpLLA_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_RemoveNhpLLA(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Bulk reads: as many whole items as there is room for.
class NhpLlaBulk : public NhpLlaTest {
 protected:
  void SetUp() override {
    NhpLlaTest::SetUp();
    for (uint32_t i = 0; i < 3; ++i) {
      FibDbNhpLlaItem entry = fullItem();
      entry.app_version = i;
      platform.entries.push_back(rowOf(entry));
    }
    for (FibDbNhpLlaItem& slot : items) slot = {.iid_index = 0xDEAD};
  }

  static constexpr uint32_t kSize = sizeof(FibDbNhpLlaItem);
  FibDbNhpLlaItem items[4];
  uint32_t filled = 77;

  size_t steps() const { return static_cast<size_t>(std::ranges::count(platform.calls, "db_root_iterator_next(~1)")); }
};

TEST_F(NhpLlaBulk, ReadNhpLlaByKey_iterates_under_the_callers_key_and_releases) {
  EXPECT_EQ(FIB_DB_ReadNhpLlaByKey(&desc, &key, kSize, items, &filled), 0u);
  std::vector<std::string> expected{"db_create_nhp_lla_obj(5)", "db_create_root_iter(#1, 0x01090004 2a000000)",
                                    "db_root_iterator_next(~1)"};
  expected.insert(expected.end(), kGetters.begin(), kGetters.end());
  expected.emplace_back("db_release_nhp_lla_object(#1)");
  EXPECT_EQ(platform.calls, expected);
  EXPECT_EQ(filled, 1u);
}

TEST_F(NhpLlaBulk, ReadNhpLlaByKey_reads_what_there_is_room_for_and_steps_no_further) {
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
    EXPECT_EQ(FIB_DB_ReadNhpLlaByKey(&desc, &key, room.bufLen, items, &filled), 0u) << room.bufLen;
    EXPECT_EQ(filled, room.filled) << room.bufLen;
    EXPECT_EQ(steps(), room.steps) << room.bufLen;
    for (uint32_t i = 0; i < 4; ++i) {
      EXPECT_EQ(items[i].iid_index, i < room.filled ? 42u : 0xDEADu) << room.bufLen;
      EXPECT_EQ(items[i].app_version, i < room.filled ? i : 0u) << room.bufLen;
    }
    EXPECT_TRUE(silent());
    EXPECT_EQ(allCounted(), 0u);
  }
}

TEST_F(NhpLlaBulk, ReadNhpLlaByKey_without_a_count_just_reads) {
  EXPECT_EQ(FIB_DB_ReadNhpLlaByKey(&desc, &key, 2 * kSize, items, nullptr), 0u);
  EXPECT_EQ(items[1].app_version, 1u);
  EXPECT_EQ(FIB_DB_ReadNhpLlaByKey(&desc, &key, 0, items, nullptr), 0u);
}

TEST_F(NhpLlaBulk, ReadNhpLlaByKey_whose_step_fails_returns_the_code_and_what_was_read) {
  platform.fail("db_root_iterator_next", 0);
  platform.fail("db_root_iterator_next", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpLlaByKey(&desc, &key, sizeof items, items, &filled), 13044u);
  EXPECT_EQ(filled, 1u);
  EXPECT_EQ(items[0].iid_index, 42u);
  EXPECT_EQ(items[1].iid_index, 0xDEADu);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpLlaByKey failed, ret: 13044"));
  EXPECT_TRUE(countedOnce(9, 6));
}

TEST_F(NhpLlaBulk, ReadNhpLlaByKey_whose_fields_fail_goes_on) {
  platform.fail("db_get_nhp_lla_flags", 5);
  EXPECT_EQ(FIB_DB_ReadNhpLlaByKey(&desc, &key, sizeof items, items, &filled), 0u);
  EXPECT_EQ(filled, 3u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaItem getField failed, ret: 5"));
}

TEST_F(NhpLlaBulk, ReadNhpLlaByKey_whose_object_or_iterator_fails_says_so_and_leaves_the_count) {
  platform.fail("db_create_nhp_lla_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpLlaByKey(&desc, &key, sizeof items, items, &filled), 9u);
  platform.fail("db_create_root_iter", 8);
  EXPECT_EQ(FIB_DB_ReadNhpLlaByKey(&desc, &key, sizeof items, items, &filled), 8u);
  EXPECT_EQ(filled, 77u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpLlaByKey failed, create object failed. ret: 9",
                                               "ReadNhpLlaByKey failed, create root iter failed. ret: 8"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaBulk, ReadNhpLlaByKey_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpLlaByKey(nullptr, &key, kSize, items, &filled), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpLlaByKey(&desc, nullptr, kSize, items, &filled), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpLlaByKey(&desc, &key, kSize, nullptr, &filled), 1u);
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

using Read = Under<uint32_t (*)(uint32_t bufLen, FibDbNhpLlaItem* buf)>;
using Count = Under<uint32_t (*)(uint32_t* count)>;
using Iterate = Under<FibDbIterator* (*)(uint32_t property)>;

class NhpLlaReadBy : public NhpLlaBulk, public testing::WithParamInterface<Read> {};

TEST_P(NhpLlaReadBy, reads_under_its_key) {
  EXPECT_EQ(GetParam().call(sizeof items, items), 0u);
  EXPECT_EQ(platform.calls[1], called("db_create_root_iter", GetParam().key));
  EXPECT_EQ(items[2].app_version, 2u);
}

TEST_P(NhpLlaReadBy, of_NULL_returns_1_silently) {
  EXPECT_EQ(GetParam().call(sizeof items, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_P(NhpLlaReadBy, that_fails_says_so_in_the_words_of_the_read_by_key) {
  platform.fail("db_create_root_iter", 9);
  EXPECT_EQ(GetParam().call(sizeof items, items), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpLlaByKey failed, create root iter failed. ret: 9"));
}

INSTANTIATE_TEST_SUITE_P(Indexes, NhpLlaReadBy,
                         testing::Values(Read{"NhpIndex", "0x01090004 2a000000",
                                              [](uint32_t bufLen, FibDbNhpLlaItem* buf) {
                                                return FIB_DB_ReadNhpLlaByNhpIndex(42, bufLen, buf, nullptr);
                                              }},
                                         Read{"Localhash", kLocalHash,
                                              [](uint32_t bufLen, FibDbNhpLlaItem* buf) {
                                                return FIB_DB_ReadNhpLlaByLocalhash(kAddress, 99, 3, bufLen, buf);
                                              }}),
                         [](const auto& info) { return info.param.name; });

TEST_F(NhpLlaTest, ReadNhpLlaByLocalhash_checks_the_items_before_it_looks_at_the_address) {
  EXPECT_EQ(FIB_DB_ReadNhpLlaByLocalhash(nullptr, 0, 3, 0, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
}

class NhpLlaCountBy : public NhpLlaTest, public testing::WithParamInterface<Count> {};

TEST_P(NhpLlaCountBy, counts_under_its_key) {
  platform.countResult = 5;
  uint32_t count = 0;
  EXPECT_EQ(GetParam().call(&count), 0u);
  EXPECT_EQ(count, 5u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_lla_obj(9)", called("db_get_table_record_count_by_key", GetParam().key),
                          "db_release_nhp_lla_object(#1)"));
}

TEST_P(NhpLlaCountBy, into_NULL_returns_1_silently) {
  EXPECT_EQ(GetParam().call(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

INSTANTIATE_TEST_SUITE_P(
    Indexes, NhpLlaCountBy,
    testing::Values(Count{"NhpIndex", "0x01090004 2a000000",
                          [](uint32_t* count) { return FIB_DB_CountNhpLlaByNhpIndex(42, count); }},
                    Count{"Localhash", kLocalHash,
                          [](uint32_t* count) { return FIB_DB_CountNhpLlaByLocalhash(kAddress, 99, 3, count); }},
                    Count{"GetByLocalhash", kLocalHash,
                          [](uint32_t* count) { return FIB_DB_GetNhpLlaCountByLocalhash(kAddress, 99, 3, count); }}),
    [](const auto& info) { return info.param.name; });

TEST_F(NhpLlaTest, Counts_by_local_hash_of_a_NULL_address_return_1_silently) {
  uint32_t count = 77;
  EXPECT_EQ(FIB_DB_CountNhpLlaByLocalhash(nullptr, 0, 3, &count), 1u);
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByLocalhash(nullptr, 0, 3, &count), 1u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Which lookups the counter record counts: the two by local hash are crossed.
TEST_F(NhpLlaTest, CountNhpLlaByLocalhash_is_the_counted_lookup_and_GetNhpLlaCountByLocalhash_is_not) {
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByLocalhash(kAddress, 0, 3, &count), 0u);
  EXPECT_EQ(FIB_DB_CountNhpLlaByNhpIndex(42, &count), 0u);
  EXPECT_EQ(FIB_DB_CountNhpLlaByKey(&desc, &key, &count), 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsBegun, 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsFinished, 0u);
  EXPECT_EQ(FIB_DB_CountNhpLlaByLocalhash(kAddress, 0, 3, &count), 0u);
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count), 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsBegun, 2u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsFinished, 2u);
}

TEST_F(NhpLlaTest, The_two_counts_by_local_hash_fail_in_the_words_of_their_lookups) {
  uint32_t count = 77;
  platform.failAlways("db_get_table_record_count_by_key", 8);
  EXPECT_EQ(FIB_DB_CountNhpLlaByLocalhash(kAddress, 0, 3, &count), 8u);
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByLocalhash(kAddress, 0, 3, &count), 8u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaCountByKey get record count failed, ret: 8.",
                                               "CountNhpLlaByKey failed, record count by key failed. ret: 8"));
}

// The counted lookup.
TEST_F(NhpLlaTest, GetNhpLlaCountByKey_counts_under_the_callers_key) {
  platform.countResult = 0x100000007;
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count), 0u);
  EXPECT_EQ(count, 7u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_lla_obj(9)", "db_get_table_record_count_by_key(#1, 0x01090004 2a000000)",
                          "db_release_nhp_lla_object(#1)"));
  EXPECT_TRUE(silent());
}

TEST_F(NhpLlaTest, GetNhpLlaCountByKey_checks_nothing) {
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(nullptr, nullptr, &count), 0u);
  EXPECT_EQ(platform.calls[1], "db_get_table_record_count_by_key(#1, NULL)");
  platform.fail("db_get_table_record_count_by_key", 8);
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(nullptr, nullptr, nullptr), 8u);
}

TEST_F(NhpLlaTest, GetNhpLlaCountByKey_whose_object_fails_begins_nothing) {
  uint32_t count = 77;
  platform.fail("db_create_nhp_lla_obj", 9);
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count), 9u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaCountByKey create object failed, ret: 9."));
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsBegun, 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsFinished, 0u);
  EXPECT_EQ(allCounted(), 0u);
}

// What was so when the failure was said.
struct Seen {
  bool alive = false;
  FibDbNhpLlaCnt counters{};
};
Seen seen;
int look(const char*, ...) {
  seen = {PlatformDouble::instance().leaks() != "", g_fibDbNhpLlaCnt};
  return 0;
}

TEST_F(NhpLlaTest, GetNhpLlaCountByKey_has_released_and_finished_before_a_failure_is_said) {
  const FibDbLogHooks hooks{.info = look, .error = look};
  FIB_DB_LogFuncInit(&hooks);
  uint32_t count = 77;
  platform.fail("db_get_table_record_count_by_key", 8);
  seen = {.alive = true};
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count), 8u);
  EXPECT_FALSE(seen.alive);
  EXPECT_EQ(seen.counters.lookupsBegun, 1u);
  EXPECT_EQ(seen.counters.lookupsFinished, 1u);
  EXPECT_EQ(allCounted(), 0u);
}

class NhpLlaIterateBy : public NhpLlaBulk, public testing::WithParamInterface<Iterate> {};

TEST_P(NhpLlaIterateBy, iterates_under_its_key_with_the_property) {
  FibDbIterator* const iterator = GetParam().call(5);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_lla_obj(5)", called("db_create_root_iter", GetParam().key),
                                          "db_set_root_iterator_property(~1, 0, 05000000)"));
  EXPECT_EQ(FIB_DB_GetNextNhpLlaEntry(iterator, &item), 0u);
  FIB_DB_ReleaseNhpLlaIterator(iterator);
}

TEST_P(NhpLlaIterateBy, that_fails_says_so_in_the_words_of_the_iterator_by_key) {
  platform.fail("db_create_root_iter", 9);
  EXPECT_EQ(GetParam().call(5), nullptr);
  EXPECT_THAT(platform.errorLines, ElementsAre("CreateNhpLlaIteratorByKey createIter failed, ret: 9"));
}

INSTANTIATE_TEST_SUITE_P(
    Indexes, NhpLlaIterateBy,
    testing::Values(Iterate{"NhpIndex", "0x01090004 2a000000",
                            [](uint32_t property) { return FIB_DB_CreateNhpLlaIteratorByNhpIndex(42, property); }},
                    Iterate{"IfIndex", "0x03090004 03000000",
                            [](uint32_t property) { return FIB_DB_CreateNhpLlaIteratorByIfIndex(3, property); }},
                    Iterate{"GlobalSlotId", "0x05090004 19000000",
                            [](uint32_t property) { return FIB_DB_CreateNhpLlaIteratorByGlobalSlotId(25, property); }}),
    [](const auto& info) { return info.param.name; });

TEST_F(NhpLlaBulk, ReadNhpLlaByNhpIndex_passes_the_count_through) {
  EXPECT_EQ(FIB_DB_ReadNhpLlaByNhpIndex(42, 2 * kSize, items, &filled), 0u);
  EXPECT_EQ(filled, 2u);
}

// Counts.
TEST_F(NhpLlaTest, CountNhpLlaByKey_stores_the_low_word) {
  platform.countResult = 0x100000007;
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountNhpLlaByKey(&desc, &key, &count), 0u);
  EXPECT_EQ(count, 7u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpLlaTest, CountNhpLlaByKey_failures_say_so_leave_the_count_and_are_not_counted) {
  uint32_t count = 77;
  platform.fail("db_create_nhp_lla_obj", 9);
  EXPECT_EQ(FIB_DB_CountNhpLlaByKey(&desc, &key, &count), 9u);
  platform.fail("db_get_table_record_count_by_key", 8);
  EXPECT_EQ(FIB_DB_CountNhpLlaByKey(&desc, &key, &count), 8u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.errorLines, ElementsAre("CountNhpLlaByKey failed, create object failed. ret: 9",
                                               "CountNhpLlaByKey failed, record count by key failed. ret: 8"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, CountNhpLlaByKey_of_NULL_returns_1_silently) {
  uint32_t count = 77;
  EXPECT_EQ(FIB_DB_CountNhpLlaByKey(nullptr, &key, &count), 1u);
  EXPECT_EQ(FIB_DB_CountNhpLlaByKey(&desc, nullptr, &count), 1u);
  EXPECT_EQ(FIB_DB_CountNhpLlaByKey(&desc, &key, nullptr), 1u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Partial updates.
TEST_F(NhpLlaTest, UpdateNhpLlaContext_stages_its_seven_fields_in_order) {
  EXPECT_EQ(FIB_DB_UpdateNhpLlaContext(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre("db_create_nhp_lla_obj(1)", "db_set_nhp_lla_svc_ctx_high_prio(#1, 160102030405060708090a0b0c0d0eee)",
                  "db_set_nhp_lla_svc_ctx_normal_prio(#1, 170102030405060708090a0b0c0d0eff)",
                  "db_set_nhp_lla_status_high_prio(#1, 12)", "db_set_nhp_lla_status_normal_prio(#1, 13)",
                  "db_set_nhp_lla_errcode_high_prio(#1, 14)", "db_set_nhp_lla_errcode_normal_prio(#1, 15)",
                  "db_set_nhp_lla_time_stamp_svc(#1, 154618822656)", called("db_update_obj", kKey),
                  "db_release_nhp_lla_object(#1)"));
}

TEST_F(NhpLlaTest, UpdateNhpLlaFlag_stages_the_flags_alone) {
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_lla_obj(1)", "db_set_nhp_lla_flags(#1, 6)",
                                          called("db_update_obj", kKey), "db_release_nhp_lla_object(#1)"));
}

TEST_F(NhpLlaTest, Updates_whose_setter_fails_are_sent_all_the_same) {
  platform.fail("db_set_nhp_lla_flags", 5);
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_TRUE(silent());
  platform.fail("db_set_nhp_lla_status_high_prio", 5);
  EXPECT_EQ(FIB_DB_UpdateNhpLlaContext(&item), 0u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_update_obj"), 2);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_set_nhp_lla_time_stamp_svc"), 1);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpLlaContext failed, set fields failed."));
}

TEST_F(NhpLlaTest, The_setters_give_1_for_the_context_and_the_raw_code_for_the_flags) {
  platform.fail("db_set_nhp_lla_time_stamp_svc", 5);
  EXPECT_EQ(FIB_DB_SetNhpLlaContext(1, &item), 1u);
  platform.fail("db_set_nhp_lla_flags", 5);
  EXPECT_EQ(FIB_DB_SetNhpLlaFlag(1, &item), 5u);
}

TEST_F(NhpLlaTest, Updates_return_every_code_as_it_is_silently_and_uncounted) {
  for (const uint32_t code : {7u, 13044u, 15005u}) {
    platform.fail("db_update_obj", code);
    EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), code);
  }
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, Updates_whose_object_fails_say_so_begin_nothing_and_take_no_time) {
  g_fibGetDbOperTickCost = 1;
  platform.fail("db_create_nhp_lla_obj", 9);
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateNhpllaFields createObj failed, ret: 9"));
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesBegun, 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesFinished, 0u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, Updates_check_no_argument) {
  platform.fail("db_create_nhp_lla_obj", 9);
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFields(nullptr, nullptr), 9u);
}

// begun and finished, as each call found them.
TEST_F(NhpLlaTest, Updates_begin_before_the_setter_and_finish_behind_the_release) {
  std::vector<std::string> found;
  platform.watch = [&found](std::string_view call) {
    found.push_back(std::string(call) + " " + std::to_string(g_fibDbNhpLlaCnt.updatesBegun) + " " +
                    std::to_string(g_fibDbNhpLlaCnt.updatesFinished));
  };
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_THAT(found, ElementsAre("db_create_nhp_lla_obj 0 0", "db_set_nhp_lla_flags 1 0", "db_update_obj 1 0",
                                 "db_release_nhp_lla_object 1 0"));
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesBegun, 1u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesFinished, 1u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsBegun, 0u);
}

TEST_F(NhpLlaTest, Counted_lookups_begin_before_the_count_and_finish_behind_the_release) {
  std::vector<std::string> found;
  platform.watch = [&found](std::string_view call) {
    found.push_back(std::string(call) + " " + std::to_string(g_fibDbNhpLlaCnt.lookupsBegun) + " " +
                    std::to_string(g_fibDbNhpLlaCnt.lookupsFinished));
  };
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count), 0u);
  EXPECT_THAT(found, ElementsAre("db_create_nhp_lla_obj 0 0", "db_get_table_record_count_by_key 1 0",
                                 "db_release_nhp_lla_object 1 0"));
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsFinished, 1u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesBegun, 0u);
}

TEST_F(NhpLlaTest, Updates_are_timed_while_the_switch_is_on_and_said_when_all_is_finished) {
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
  g_fibGetDbOperTickCost = 1;
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 1u);
  std::vector<std::string> lines = platform.infoLines;
  lines.insert(lines.end(), platform.errorLines.begin(), platform.errorLines.end());
  EXPECT_THAT(lines, ElementsAre(testing::StartsWith("[fib nhp std] DB oper timeCost: latest=")));

  const FibDbLogHooks hooks{.info = look, .error = look};
  FIB_DB_LogFuncInit(&hooks);
  seen = {.alive = true};
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_FALSE(seen.alive);
  EXPECT_EQ(seen.counters.updatesFinished, 3u);
}

TEST_F(NhpLlaTest, The_counter_record_keeps_the_bytes_that_are_not_the_librarys) {
  std::memset(g_fibDbNhpLlaCnt.untouched, 0x5A, sizeof g_fibDbNhpLlaCnt.untouched);
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_THAT(g_fibDbNhpLlaCnt.untouched, testing::Each(0x5A));
}

// Iteration.
TEST_F(NhpLlaBulk, Iteration_gives_every_next_hop_then_60_every_time) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpLlaIterator(0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_lla_obj(5)", "db_create_root_iter(#1, NULL)"));
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(FIB_DB_GetNextNhpLlaEntry(iterator, &item), 0u);
    EXPECT_EQ(item.app_version, i);
  }
  EXPECT_EQ(FIB_DB_GetNextNhpLlaEntry(iterator, &item), 60u);
  EXPECT_EQ(FIB_DB_GetNextNhpLlaEntry(iterator, &item), 60u);
  FIB_DB_ReleaseNhpLlaIterator(iterator);
  EXPECT_EQ(platform.calls.back(), "db_release_nhp_lla_object(#1)");
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, Iterators_set_any_property_but_the_one_that_means_none) {
  for (const uint32_t property : {0u, 5u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    platform.calls.clear();
    FIB_DB_ReleaseNhpLlaIterator(FIB_DB_CreateNhpLlaIterator(property));
    EXPECT_EQ(platform.calls.size(), property == 0xFFFFFFFF ? 3u : 4u) << property;
    platform.calls.clear();
    FIB_DB_ReleaseNhpLlaIterator(FIB_DB_CreateNhpLlaIteratorByKey(&desc, &key, property));
    EXPECT_EQ(platform.calls.size(), property == 0xFFFFFFFF ? 3u : 4u) << property;
  }
}

TEST_F(NhpLlaTest, CreateNhpLlaIteratorByKey_of_NULL_gives_NULL_silently) {
  EXPECT_EQ(FIB_DB_CreateNhpLlaIteratorByKey(nullptr, &key, 0), nullptr);
  EXPECT_EQ(FIB_DB_CreateNhpLlaIteratorByKey(&desc, nullptr, 0), nullptr);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpLlaTest, Iterator_creation_failures_say_which_step_and_give_NULL) {
  struct {
    const char* call;
    const char* whole;
    const char* byKey;
  } const steps[] = {
      {"alloc", "CreateNhpLlaIterator malloc failed", "CreateNhpLlaIteratorByKey malloc failed"},
      {"db_create_nhp_lla_obj", "CreateNhpLlaIterator createObj failed, ret: 9",
       "CreateNhpLlaIteratorByKey createObj failed, ret: 9"},
      {"db_create_root_iter", "CreateNhpLlaIterator createIter failed, ret: 9",
       "CreateNhpLlaIteratorByKey createIter failed, ret: 9"},
      {"db_set_root_iterator_property", "CreateNhpLlaIterator setProperty failed, ret: 9",
       "CreateNhpLlaIteratorByKey setProperty failed, ret: 9"},
  };
  for (const auto& step : steps) {
    platform.errorLines.clear();
    platform.fail(step.call, 9);
    EXPECT_EQ(FIB_DB_CreateNhpLlaIterator(0), nullptr);
    platform.fail(step.call, 9);
    EXPECT_EQ(FIB_DB_CreateNhpLlaIteratorByKey(&desc, &key, 0), nullptr);
    EXPECT_THAT(platform.errorLines, ElementsAre(step.whole, step.byKey));
  }
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, GetNextNhpLlaEntry_failure_returns_1_not_the_code_and_counts_ITERATOR) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpLlaIterator(0xFFFFFFFF);
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetNextNhpLlaEntry(iterator, &item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNextNhpLlaEntry failed, ret: 7"));
  EXPECT_TRUE(countedOnce(9, 6));
  FIB_DB_ReleaseNhpLlaIterator(iterator);
}

TEST_F(NhpLlaTest, GetNextNhpLlaEntry_of_NULL_returns_1_silently) {
  FibDbIterator iterator{};
  EXPECT_EQ(FIB_DB_GetNextNhpLlaEntry(nullptr, &item), 1u);
  EXPECT_EQ(FIB_DB_GetNextNhpLlaEntry(&iterator, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpLlaTest, ReleaseNhpLlaIterator_of_NULL_does_nothing) {
  FIB_DB_ReleaseNhpLlaIterator(nullptr);
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

}  // namespace
}  // namespace fibdb::test
