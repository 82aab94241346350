// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_vxlan_test.cc: next hops into a VXLAN tunnel over the recorded platform.
#include <algorithm>
#include <cstddef>
#include <ostream>

#include "platform/objdb_tables.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

// The layouts that callers were compiled against.
static_assert(offsetof(FibDbNhpVxlanItem, tunnel_type) == 16 && offsetof(FibDbNhpVxlanItem, gwip) == 18);
static_assert(offsetof(FibDbNhpVxlanItem, vrf_index) == 36 && offsetof(FibDbNhpVxlanItem, overlay_type) == 52);
static_assert(offsetof(FibDbNhpVxlanItem, mac_addr) == 54 && offsetof(FibDbNhpVxlanItem, status_high_prio) == 60);
static_assert(offsetof(FibDbNhpVxlanItem, svc_ctx_high_prio) == 64 && offsetof(FibDbNhpVxlanItem, app_source_id) == 96);
static_assert(offsetof(FibDbNhpVxlanItem, app_obj_id) == 104 && offsetof(FibDbNhpVxlanItem, vsi_index) == 116);
static_assert(offsetof(FibDbNhpVxlanItem, dvp_index) == 120 && offsetof(FibDbNhpVxlanItem, time_stamp_app) == 128);
static_assert(sizeof(FibDbNhpVxlanItem) == 144);
static_assert(offsetof(FibDbNhpVxlanRow, gwip) == 18 && offsetof(FibDbNhpVxlanRow, vrf_index) == 34);
static_assert(offsetof(FibDbNhpVxlanRow, overlay_type) == 50 && offsetof(FibDbNhpVxlanRow, mac_addr) == 52);
static_assert(offsetof(FibDbNhpVxlanRow, status_high_prio) == 58 &&
              offsetof(FibDbNhpVxlanRow, svc_ctx_high_prio) == 62);
static_assert(offsetof(FibDbNhpVxlanRow, svc_ctx_normal_prio) == 78 && offsetof(FibDbNhpVxlanRow, app_source_id) == 94);
static_assert(offsetof(FibDbNhpVxlanRow, app_obj_id) == 102 && offsetof(FibDbNhpVxlanRow, app_version) == 110);
static_assert(offsetof(FibDbNhpVxlanRow, vsi_index) == 114 && offsetof(FibDbNhpVxlanRow, time_stamp_app) == 122);
static_assert(offsetof(FibDbNhpVxlanRow, time_stamp_svc) == 130 && sizeof(FibDbNhpVxlanRow) == 138);

constexpr size_t kFields = 27;

FibDbNhpVxlanItem fullItem() {
  return {.nhp_index = 42,
          .vr_id = 2,
          .tunnel_vrf_index = 3,
          .tunnel_id = 4,
          .tunnel_type = 5,
          .af_type = 6,
          .gwip = {0x20, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xDD},
          .vrf_index = 8,
          .flags = 9,
          .vn_id = 10,
          .aib_index = 11,
          .overlay_type = 12,
          .mac_addr = {0x13, 1, 2, 3, 4, 0xCC},
          .status_high_prio = 14,
          .status_normal_prio = 15,
          .errcode_high_prio = 16,
          .errcode_normal_prio = 17,
          .svc_ctx_high_prio = {0x18, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xEE},
          .svc_ctx_normal_prio = {0x19, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xFF},
          .app_source_id = 20,
          .group_smooth_id = 21,
          .app_obj_id = 0x2200000000,
          .app_version = 23,
          .vsi_index = 24,
          .dvp_index = 25,
          .time_stamp_app = 0x2600000000,
          .time_stamp_svc = 0x2700000000};
}

Row rowOf(const FibDbNhpVxlanItem& item) {
  Row row;
  const auto put = [&](std::string_view name, uint64_t value) { putField(TableId::nhp_vxlan, row, name, value); };
  put("nhp_index", item.nhp_index);
  put("vr_id", item.vr_id);
  put("tunnel_vrf_index", item.tunnel_vrf_index);
  put("tunnel_id", item.tunnel_id);
  put("tunnel_type", item.tunnel_type);
  put("af_type", item.af_type);
  putBytes(TableId::nhp_vxlan, row, "gwip", item.gwip);
  put("vrf_index", item.vrf_index);
  put("flags", item.flags);
  put("vn_id", item.vn_id);
  put("aib_index", item.aib_index);
  put("overlay_type", item.overlay_type);
  putBytes(TableId::nhp_vxlan, row, "mac_addr", item.mac_addr);
  put("status_high_prio", item.status_high_prio);
  put("status_normal_prio", item.status_normal_prio);
  put("errcode_high_prio", item.errcode_high_prio);
  put("errcode_normal_prio", item.errcode_normal_prio);
  putBytes(TableId::nhp_vxlan, row, "svc_ctx_high_prio", item.svc_ctx_high_prio);
  putBytes(TableId::nhp_vxlan, row, "svc_ctx_normal_prio", item.svc_ctx_normal_prio);
  put("app_source_id", item.app_source_id);
  put("group_smooth_id", item.group_smooth_id);
  put("app_obj_id", item.app_obj_id);
  put("app_version", item.app_version);
  put("vsi_index", item.vsi_index);
  put("dvp_index", item.dvp_index);
  put("time_stamp_app", item.time_stamp_app);
  put("time_stamp_svc", item.time_stamp_svc);
  return row;
}

// The three fields that a bulk read leaves alone, as a caller's buffer may hold them.
FibDbNhpVxlanItem withOldStamps(FibDbNhpVxlanItem item) {
  item.group_smooth_id = 0xDEAD;
  item.time_stamp_app = 0xDEAD1;
  item.time_stamp_svc = 0xDEAD2;
  return item;
}

// The packed primary key of the full item.
constexpr const char* kKey = "0x00010022 2a0000000200000003000000040000000506200102030405060708090a0b0c0d0edd";

std::string called(const char* call, const std::string& key) { return std::string(call) + "(#1, " + key + ")"; }

class NhpVxlanTest : public TablesTest {
 protected:
  void SetUp() override { platform.record(TableId::nhp_vxlan) = rowOf(fullItem()); }

  FibDbNhpVxlanItem item = fullItem();
  FibDbKeyDesc desc{.indexId = 0x01090004, .rsv1 = 0, .rsv2 = 0};
  uint32_t key = 42;
};

// The primary key.
TEST_F(NhpVxlanTest, SetNhpVxlanKeyField_packs_34_bytes_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc out{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint8_t bytes[35] = {};
  bytes[34] = 77;
  EXPECT_EQ(FIB_DB_SetNhpVxlanKeyField(&out, bytes, &item), 0u);
  EXPECT_EQ(out.indexId, 0x00010022u);
  EXPECT_EQ(out.rsv1, 2u);
  EXPECT_EQ(out.rsv2, 3u);
  EXPECT_THAT(bytes, ElementsAre(42, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0, 5, 6, 0x20, 1, 2, 3, 4, 5, 6, 7, 8, 9,
                                 10, 11, 12, 13, 14, 0xDD, 77));
}

TEST_F(NhpVxlanTest, SetNhpVxlanKeyField_gives_the_code_of_the_address_copy) {
  FibDbKeyDesc out{};
  uint8_t bytes[34] = {};
  platform.fail("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_SetNhpVxlanKeyField(&out, bytes, &item), 22u);
  EXPECT_EQ(out.indexId, 0x00010022u);
  EXPECT_EQ(bytes[17], 6);
  EXPECT_EQ(bytes[18], 0);
}

TEST_F(NhpVxlanTest, A_key_whose_address_cannot_be_copied_is_used_all_the_same) {
  platform.fail("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_RemoveNhpVxlan(&item), 0u);
  EXPECT_EQ(platform.calls[1],
            "db_remove_obj(#1, 0x00010022 2a0000000200000003000000040000000506" + std::string(32, '0') + ")");
  EXPECT_TRUE(silent());
}

// Write.
TEST_F(NhpVxlanTest, WriteNhpVxlan_stages_every_field_in_order_and_writes_once) {
  EXPECT_EQ(FIB_DB_WriteNhpVxlan(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre(
          "db_create_nhp_vxlan_obj(0)", "db_set_nhp_vxlan_nhp_index(#1, 42)", "db_set_nhp_vxlan_vr_id(#1, 2)",
          "db_set_nhp_vxlan_vrf_index(#1, 8)", "db_set_nhp_vxlan_tunnel_vrf_index(#1, 3)",
          "db_set_nhp_vxlan_tunnel_id(#1, 4)", "db_set_nhp_vxlan_flags(#1, 9)", "db_set_nhp_vxlan_vn_id(#1, 10)",
          "db_set_nhp_vxlan_aib_index(#1, 11)", "db_set_nhp_vxlan_overlay_type(#1, 12)",
          "db_set_nhp_vxlan_mac_addr(#1, 1301020304cc)", "db_set_nhp_vxlan_tunnel_type(#1, 5)",
          "db_set_nhp_vxlan_af_type(#1, 6)", "db_set_nhp_vxlan_gwip(#1, 200102030405060708090a0b0c0d0edd)",
          "db_set_nhp_vxlan_app_source_id(#1, 20)", "db_set_nhp_vxlan_group_smooth_id(#1, 21)",
          "db_set_nhp_vxlan_app_obj_id(#1, 146028888064)", "db_set_nhp_vxlan_app_version(#1, 23)",
          "db_set_nhp_vxlan_vsi_index(#1, 24)", "db_set_nhp_vxlan_dvp_index(#1, 25)",
          "db_set_nhp_vxlan_status_high_prio(#1, 14)", "db_set_nhp_vxlan_status_normal_prio(#1, 15)",
          "db_set_nhp_vxlan_errcode_high_prio(#1, 16)", "db_set_nhp_vxlan_errcode_normal_prio(#1, 17)",
          "db_set_nhp_vxlan_svc_ctx_high_prio(#1, 180102030405060708090a0b0c0d0eee)",
          "db_set_nhp_vxlan_svc_ctx_normal_prio(#1, 190102030405060708090a0b0c0d0eff)",
          "db_set_nhp_vxlan_time_stamp_app(#1, 163208757248)", "db_set_nhp_vxlan_time_stamp_svc(#1, 167503724544)",
          "db_write_obj(#1)", "db_release_nhp_vxlan_object(#1)"));
  EXPECT_EQ(platform.staged(TableId::nhp_vxlan), rowOf(item));
}

TEST_F(NhpVxlanTest, WriteNhpVxlan_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_WriteNhpVxlan(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpVxlanTest, WriteNhpVxlan_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_vxlan_obj", 9);
  EXPECT_EQ(FIB_DB_WriteNhpVxlan(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteNhpVxlan failed, create object failed. ret: 9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanTest, WriteNhpVxlan_whose_fields_fail_tries_them_all_says_so_twice_and_does_not_write) {
  platform.fail("db_set_nhp_vxlan_nhp_index", 4);
  platform.fail("db_set_nhp_vxlan_time_stamp_svc", 3);
  EXPECT_EQ(FIB_DB_WriteNhpVxlan(&item), 1u);
  EXPECT_EQ(platform.calls.size(), 1u + kFields + 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpVxlanItem setField failed, ret: 7.",
                                               "WriteNhpVxlan failed, set item failed. ret: 1."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanTest, WriteNhpVxlan_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteNhpVxlan(&item), 0u);
  EXPECT_TRUE(countedOnce(6, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpVxlanTest, WriteNhpVxlan_answered_with_another_code_returns_it_says_so_and_counts_WRITE) {
  platform.fail("db_write_obj", 7);
  EXPECT_EQ(FIB_DB_WriteNhpVxlan(&item), 7u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WRITE fib nhp vxlan db fail. ret = 7"));
  EXPECT_TRUE(countedOnce(6, 2));
}

// Read by the primary key.
const std::vector<std::string> kGetters{"db_get_nhp_vxlan_nhp_index(#1)",
                                        "db_get_nhp_vxlan_vr_id(#1)",
                                        "db_get_nhp_vxlan_vrf_index(#1)",
                                        "db_get_nhp_vxlan_tunnel_vrf_index(#1)",
                                        "db_get_nhp_vxlan_tunnel_id(#1)",
                                        "db_get_nhp_vxlan_flags(#1)",
                                        "db_get_nhp_vxlan_vn_id(#1)",
                                        "db_get_nhp_vxlan_aib_index(#1)",
                                        "db_get_nhp_vxlan_overlay_type(#1)",
                                        "db_get_nhp_vxlan_mac_addr(#1, no length)",
                                        "db_get_nhp_vxlan_tunnel_type(#1)",
                                        "db_get_nhp_vxlan_gwip(#1, no length)",
                                        "db_get_nhp_vxlan_af_type(#1)",
                                        "db_get_nhp_vxlan_status_high_prio(#1)",
                                        "db_get_nhp_vxlan_status_normal_prio(#1)",
                                        "db_get_nhp_vxlan_errcode_high_prio(#1)",
                                        "db_get_nhp_vxlan_errcode_normal_prio(#1)",
                                        "db_get_nhp_vxlan_svc_ctx_high_prio(#1, no length)",
                                        "db_get_nhp_vxlan_svc_ctx_normal_prio(#1, no length)",
                                        "db_get_nhp_vxlan_app_source_id(#1)",
                                        "db_get_nhp_vxlan_group_smooth_id(#1)",
                                        "db_get_nhp_vxlan_app_obj_id(#1)",
                                        "db_get_nhp_vxlan_app_version(#1)",
                                        "db_get_nhp_vxlan_vsi_index(#1)",
                                        "db_get_nhp_vxlan_dvp_index(#1)",
                                        "db_get_nhp_vxlan_time_stamp_app(#1)",
                                        "db_get_nhp_vxlan_time_stamp_svc(#1)"};

TEST_F(NhpVxlanTest, ReadNhpVxlan_fills_every_field_in_order) {
  FibDbNhpVxlanItem out{
      .nhp_index = 42, .vr_id = 2, .tunnel_vrf_index = 3, .tunnel_id = 4, .tunnel_type = 5, .af_type = 6};
  std::copy_n(item.gwip, sizeof item.gwip, out.gwip);
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullItem()));
  std::vector<std::string> expected{"db_create_nhp_vxlan_obj(3)", called("db_read_obj", kKey)};
  expected.insert(expected.end(), kGetters.begin(), kGetters.end());
  expected.emplace_back("db_release_nhp_vxlan_object(#1)");
  EXPECT_EQ(platform.calls, expected);
}

TEST_F(NhpVxlanTest, ReadNhpVxlan_copies_each_block_of_bytes_right_after_it_was_got) {
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&item), 0u);
  std::vector<std::string> before;
  for (size_t i = 1; i < platform.allCalls.size(); ++i) {
    if (platform.allCalls[i] == "memcpy_s") before.push_back(platform.allCalls[i - 1]);
  }
  EXPECT_THAT(before, ElementsAre("db_create_nhp_vxlan_obj", "db_get_nhp_vxlan_mac_addr", "db_get_nhp_vxlan_gwip",
                                  "db_get_nhp_vxlan_svc_ctx_high_prio", "db_get_nhp_vxlan_svc_ctx_normal_prio"));
}

TEST_F(NhpVxlanTest, ReadNhpVxlan_missing_key_returns_60_and_keeps_the_item) {
  platform.fail("db_read_obj", 15005);
  item.flags = 99;
  const Row before = rowOf(item);
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&item), 60u);
  EXPECT_EQ(rowOf(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanTest, ReadNhpVxlan_failure_returns_the_code_says_so_and_counts_READ) {
  platform.fail("db_read_obj", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&item), 13044u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpVxlan failed, ret: 13044."));
  EXPECT_TRUE(countedOnce(6, 0));
}

TEST_F(NhpVxlanTest, ReadNhpVxlan_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_vxlan_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpVxlan failed, create object failed. ret: 9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanTest, ReadNhpVxlan_does_not_check_its_item) {
  // Only without an object does a NULL get as far as a status.
  platform.fail("db_create_nhp_vxlan_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(nullptr), 9u);
}

// Unpacking: every field and every copy is tried, whatever failed before it.
TEST_F(NhpVxlanTest, GetNhpVxlanItem_with_a_failed_number_fills_all_others_bytes_too) {
  platform.fail("db_get_nhp_vxlan_nhp_index", 1);
  platform.fail("db_get_nhp_vxlan_app_version", 4);
  FibDbNhpVxlanItem out{.nhp_index = 77, .app_version = 78};
  FIB_DB_GetNhpVxlanItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpVxlanItem getField failed, ret: 5"));
  EXPECT_EQ(platform.calls.size(), kFields);
  FibDbNhpVxlanItem expected = fullItem();
  expected.nhp_index = 77;
  expected.app_version = 78;
  EXPECT_EQ(rowOf(out), rowOf(expected));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanTest, GetNhpVxlanItem_whose_bytes_cannot_be_got_tries_to_copy_from_NULL_and_goes_on) {
  struct {
    const char* call;
    std::function<const uint8_t*(const FibDbNhpVxlanItem&)> at;
  } const blocks[] = {
      {"db_get_nhp_vxlan_mac_addr", [](const FibDbNhpVxlanItem& out) { return out.mac_addr; }},
      {"db_get_nhp_vxlan_gwip", [](const FibDbNhpVxlanItem& out) { return out.gwip; }},
      {"db_get_nhp_vxlan_svc_ctx_high_prio", [](const FibDbNhpVxlanItem& out) { return out.svc_ctx_high_prio; }},
  };
  for (const auto& block : blocks) {
    platform.reset();
    SetUp();
    platform.fail(block.call, 8);
    FibDbNhpVxlanItem out{};
    FIB_DB_GetNhpVxlanItem(1, &out);
    // 8, and the refusal of the copy: 22.
    EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpVxlanItem getField failed, ret: 30")) << block.call;
    EXPECT_EQ(block.at(out)[0], 0) << block.call;
    EXPECT_EQ(out.svc_ctx_normal_prio[15], 0xFF);
    EXPECT_EQ(out.time_stamp_svc, fullItem().time_stamp_svc);
  }
}

TEST_F(NhpVxlanTest, GetNhpVxlanItem_whose_normal_context_cannot_be_got_fills_it_with_the_high_one) {
  platform.fail("db_get_nhp_vxlan_svc_ctx_normal_prio", 8);
  FibDbNhpVxlanItem out{};
  FIB_DB_GetNhpVxlanItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpVxlanItem getField failed, ret: 8"));
  EXPECT_EQ(out.svc_ctx_normal_prio[0], 0x18);
  EXPECT_EQ(out.svc_ctx_normal_prio[15], 0xEE);
}

TEST_F(NhpVxlanTest, GetNhpVxlanItem_whose_copies_fail_goes_on_and_says_so_once) {
  for (uint32_t copy = 0; copy < 4; ++copy) {
    platform.reset();
    SetUp();
    for (uint32_t before = 0; before < copy; ++before) platform.fail("memcpy_s", 0);
    platform.fail("memcpy_s", 1);
    FibDbNhpVxlanItem out{};
    FIB_DB_GetNhpVxlanItem(1, &out);
    EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpVxlanItem getField failed, ret: 22")) << copy;
    EXPECT_EQ(platform.calls.size(), kFields) << copy;
    EXPECT_EQ(out.mac_addr[5], copy == 0 ? 0 : 0xCC);
    EXPECT_EQ(out.gwip[15], copy == 1 ? 0 : 0xDD);
    EXPECT_EQ(out.svc_ctx_high_prio[15], copy == 2 ? 0 : 0xEE);
    EXPECT_EQ(out.svc_ctx_normal_prio[15], copy == 3 ? 0 : 0xFF);
  }
}

TEST_F(NhpVxlanTest, GetNhpVxlanItem_of_NULL_does_nothing) {
  FIB_DB_GetNhpVxlanItem(1, nullptr);
  EXPECT_THAT(platform.calls, IsEmpty());
}

// The light conversion.
TEST_F(NhpVxlanTest, GetNhpVxlanItemLite_takes_everything_but_the_smooth_id_and_the_time_stamps) {
  const Row row = rowOf(fullItem());
  ASSERT_EQ(row.size(), 138u);
  FibDbNhpVxlanItem out = withOldStamps({});
  FIB_DB_GetNhpVxlanItemLite(&out, row.data());
  EXPECT_EQ(rowOf(out), rowOf(withOldStamps(fullItem())));
  EXPECT_THAT(platform.allCalls, ElementsAre("memcpy_s", "memcpy_s", "memcpy_s", "memcpy_s"));
}

TEST_F(NhpVxlanTest, GetNhpVxlanItemLite_whose_copies_fail_goes_on_silently) {
  const Row row = rowOf(fullItem());
  platform.failAlways("memcpy_s", 1);
  FibDbNhpVxlanItem out{};
  FIB_DB_GetNhpVxlanItemLite(&out, row.data());
  EXPECT_EQ(out.gwip[0], 0);
  EXPECT_EQ(out.mac_addr[0], 0);
  EXPECT_EQ(out.svc_ctx_high_prio[0], 0);
  EXPECT_EQ(out.svc_ctx_normal_prio[0], 0);
  EXPECT_EQ(out.dvp_index, 25u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpVxlanTest, GetNhpVxlanItemLite_of_NULL_does_nothing) {
  const Row row = rowOf(fullItem());
  FIB_DB_GetNhpVxlanItemLite(nullptr, row.data());
  FIB_DB_GetNhpVxlanItemLite(&item, nullptr);
  EXPECT_EQ(rowOf(item), rowOf(fullItem()));
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

// Remove.
TEST_F(NhpVxlanTest, RemoveNhpVxlan_removes_by_the_primary_key) {
  EXPECT_EQ(FIB_DB_RemoveNhpVxlan(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_vxlan_obj(4)", called("db_remove_obj", kKey),
                                          "db_release_nhp_vxlan_object(#1)"));
}

TEST_F(NhpVxlanTest, RemoveNhpVxlanByNhpIndex_removes_by_the_index_alone) {
  EXPECT_EQ(FIB_DB_RemoveNhpVxlanByNhpIndex(42), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_vxlan_obj(4)", "db_remove_obj(#1, 0x01090004 2a000000)",
                                          "db_release_nhp_vxlan_object(#1)"));
}

TEST_F(NhpVxlanTest, Removals_that_fail_return_the_code_say_so_and_count_REMOVE) {
  platform.failAlways("db_remove_obj", 15005);
  EXPECT_EQ(FIB_DB_RemoveNhpVxlan(&item), 15005u);
  EXPECT_TRUE(countedOnce(6, 4));
  EXPECT_EQ(FIB_DB_RemoveNhpVxlanByNhpIndex(42), 15005u);
  EXPECT_EQ(counted(6, 4), 2u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("REMOVE fib nhp vxlan db fail. ret = 15005", "REMOVE fib nhp vxlan db fail. ret = 15005"));
}

TEST_F(NhpVxlanTest, Removals_answered_with_a_publication_return_0_and_count_PUB) {
  platform.failAlways("db_remove_obj", 13044);
  EXPECT_EQ(FIB_DB_RemoveNhpVxlan(&item), 0u);
  EXPECT_TRUE(countedOnce(6, 1));
  EXPECT_EQ(FIB_DB_RemoveNhpVxlanByNhpIndex(42), 0u);
  EXPECT_EQ(counted(6, 1), 2u);
}

TEST_F(NhpVxlanTest, Removals_whose_object_fails_say_so_and_return_the_code) {
  platform.failAlways("db_create_nhp_vxlan_obj", 9);
  EXPECT_EQ(FIB_DB_RemoveNhpVxlan(&item), 9u);
  EXPECT_EQ(FIB_DB_RemoveNhpVxlanByNhpIndex(42), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveNhpVxlan failed, create object failed. ret: 9.",
                                               "RemoveNhpVxlanByNhpIndex failed, create object failed. ret: 9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanTest, RemoveNhpVxlan_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_RemoveNhpVxlan(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Bulk reads: as many whole items as there is room for, from flat rows.
class NhpVxlanBulk : public NhpVxlanTest {
 protected:
  void SetUp() override {
    NhpVxlanTest::SetUp();
    for (uint32_t i = 0; i < 3; ++i) {
      FibDbNhpVxlanItem entry = fullItem();
      entry.tunnel_id = i;
      platform.entries.push_back(rowOf(entry));
    }
    for (FibDbNhpVxlanItem& slot : items) slot = withOldStamps({.nhp_index = 0xDEAD});
  }

  static constexpr uint32_t kSize = sizeof(FibDbNhpVxlanItem);
  FibDbNhpVxlanItem items[4];
  uint32_t filled = 77;

  size_t steps() const { return static_cast<size_t>(std::ranges::count(platform.calls, "db_root_iterator_next(~1)")); }
};

TEST_F(NhpVxlanBulk, ReadNhpVxlanByKey_fetches_flat_rows_under_the_callers_key_and_releases) {
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, &key, 2 * kSize, items, &filled), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_vxlan_obj(5)", "db_create_root_iter(#1, 0x01090004 2a000000)",
                                          "db_root_iterator_next(~1)", "db_read_obj_with_buf(#1, NULL, 138)",
                                          "db_root_iterator_next(~1)", "db_read_obj_with_buf(#1, NULL, 138)",
                                          "db_release_nhp_vxlan_object(#1)"));
  EXPECT_EQ(filled, 2u);
}

TEST_F(NhpVxlanBulk, ReadNhpVxlanByKey_leaves_the_smooth_id_and_the_time_stamps_of_the_callers_items) {
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, &key, kSize, items, &filled), 0u);
  FibDbNhpVxlanItem expected = withOldStamps(fullItem());
  expected.tunnel_id = 0;
  EXPECT_EQ(rowOf(items[0]), rowOf(expected));
}

TEST_F(NhpVxlanBulk, ReadNhpVxlanByKey_reads_what_there_is_room_for_and_steps_no_further) {
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
    EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, &key, room.bufLen, items, &filled), 0u) << room.bufLen;
    EXPECT_EQ(filled, room.filled) << room.bufLen;
    EXPECT_EQ(steps(), room.steps) << room.bufLen;
    for (uint32_t i = 0; i < 4; ++i) {
      EXPECT_EQ(items[i].nhp_index, i < room.filled ? 42u : 0xDEADu) << room.bufLen;
      EXPECT_EQ(items[i].tunnel_id, i < room.filled ? i : 0u) << room.bufLen;
    }
    EXPECT_TRUE(silent());
    EXPECT_EQ(allCounted(), 0u);
  }
}

TEST_F(NhpVxlanBulk, ReadNhpVxlanByKey_without_a_count_just_reads) {
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, &key, 2 * kSize, items, nullptr), 0u);
  EXPECT_EQ(items[1].tunnel_id, 1u);
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, &key, 0, items, nullptr), 0u);
}

TEST_F(NhpVxlanBulk, ReadNhpVxlanByKey_whose_step_fails_returns_the_code_and_what_was_read) {
  platform.fail("db_root_iterator_next", 0);
  platform.fail("db_root_iterator_next", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, &key, sizeof items, items, &filled), 13044u);
  EXPECT_EQ(filled, 1u);
  EXPECT_EQ(items[1].nhp_index, 0xDEADu);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpVxlanByKey failed, ret: 13044"));
  EXPECT_TRUE(countedOnce(6, 6));
}

TEST_F(NhpVxlanBulk, ReadNhpVxlanByKey_whose_row_is_missing_returns_60_silently_and_what_was_read) {
  platform.fail("db_read_obj_with_buf", 0);
  platform.fail("db_read_obj_with_buf", 15005);
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, &key, sizeof items, items, &filled), 60u);
  EXPECT_EQ(filled, 1u);
  EXPECT_EQ(steps(), 2u);
  EXPECT_EQ(items[1].nhp_index, 0xDEADu);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanBulk, ReadNhpVxlanByKey_whose_row_fails_returns_1_says_so_and_counts_READ) {
  platform.fail("db_read_obj_with_buf", 0);
  platform.fail("db_read_obj_with_buf", 7);
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, &key, sizeof items, items, &filled), 1u);
  EXPECT_EQ(filled, 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("READ fib nhp vxlan db fail. ret = 7."));
  EXPECT_TRUE(countedOnce(6, 0));
}

TEST_F(NhpVxlanBulk, ReadNhpVxlanByKey_whose_object_or_iterator_fails_says_so_and_leaves_the_count) {
  platform.fail("db_create_nhp_vxlan_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, &key, sizeof items, items, &filled), 9u);
  platform.fail("db_create_root_iter", 8);
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, &key, sizeof items, items, &filled), 8u);
  EXPECT_EQ(filled, 77u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpVxlanByKey failed, create object failed. ret: 9.",
                                               "ReadNhpVxlanByKey failed, create root iter failed. ret: 8."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanBulk, Bulk_reads_of_NULL_return_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(nullptr, &key, kSize, items, &filled), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, nullptr, kSize, items, &filled), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&desc, &key, kSize, nullptr, &filled), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByNhpIndex(42, kSize, nullptr, &filled), 1u);
  EXPECT_EQ(filled, 77u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpVxlanBulk, ReadNhpVxlanByNhpIndex_reads_under_the_index_and_passes_the_count_through) {
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByNhpIndex(42, sizeof items, items, &filled), 0u);
  EXPECT_EQ(platform.calls[1], "db_create_root_iter(#1, 0x01090004 2a000000)");
  EXPECT_EQ(filled, 3u);
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByNhpIndex(42, sizeof items, items, nullptr), 0u);
}

// Counts.
TEST_F(NhpVxlanTest, CountNhpVxlanByNhpIndex_counts_under_the_index_and_stores_the_low_word) {
  platform.countResult = 0x100000007;
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountNhpVxlanByNhpIndex(42, &count), 0u);
  EXPECT_EQ(count, 7u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_vxlan_obj(9)", "db_get_table_record_count_by_key(#1, 0x01090004 2a000000)",
                          "db_release_nhp_vxlan_object(#1)"));
  EXPECT_TRUE(silent());
}

TEST_F(NhpVxlanTest, CountNhpVxlanByKey_failures_say_so_leave_the_count_and_are_not_counted) {
  uint32_t count = 77;
  platform.fail("db_create_nhp_vxlan_obj", 9);
  EXPECT_EQ(FIB_DB_CountNhpVxlanByKey(&desc, &key, &count), 9u);
  platform.fail("db_get_table_record_count_by_key", 8);
  EXPECT_EQ(FIB_DB_CountNhpVxlanByKey(&desc, &key, &count), 8u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.errorLines, ElementsAre("CountNhpVxlanByKey failed, create object failed. ret: 9.",
                                               "CountNhpVxlanByKey failed, get record count failed. ret: 8."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanTest, Counts_of_NULL_return_1_silently) {
  uint32_t count = 77;
  EXPECT_EQ(FIB_DB_CountNhpVxlanByKey(nullptr, &key, &count), 1u);
  EXPECT_EQ(FIB_DB_CountNhpVxlanByKey(&desc, nullptr, &count), 1u);
  EXPECT_EQ(FIB_DB_CountNhpVxlanByKey(&desc, &key, nullptr), 1u);
  EXPECT_EQ(FIB_DB_CountNhpVxlanByNhpIndex(42, nullptr), 1u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// The context update.
TEST_F(NhpVxlanTest, UpdateNhpVxlanContext_stages_its_seven_fields_in_order_and_takes_no_time) {
  g_fibGetDbOperTickCost = 1;
  EXPECT_EQ(FIB_DB_UpdateNhpVxlanContext(&item), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_vxlan_obj(1)",
                          "db_set_nhp_vxlan_svc_ctx_high_prio(#1, 180102030405060708090a0b0c0d0eee)",
                          "db_set_nhp_vxlan_svc_ctx_normal_prio(#1, 190102030405060708090a0b0c0d0eff)",
                          "db_set_nhp_vxlan_status_high_prio(#1, 14)", "db_set_nhp_vxlan_status_normal_prio(#1, 15)",
                          "db_set_nhp_vxlan_errcode_high_prio(#1, 16)", "db_set_nhp_vxlan_errcode_normal_prio(#1, 17)",
                          "db_set_nhp_vxlan_time_stamp_svc(#1, 167503724544)", called("db_update_obj", kKey),
                          "db_release_nhp_vxlan_object(#1)"));
  // The key is built before anything is staged.
  EXPECT_EQ(platform.allCalls[1], "memcpy_s");
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpVxlanTest, UpdateNhpVxlanContext_whose_field_fails_tries_the_others_says_so_and_updates_nothing) {
  platform.fail("db_set_nhp_vxlan_svc_ctx_high_prio", 5);
  EXPECT_EQ(FIB_DB_UpdateNhpVxlanContext(&item), 1u);
  EXPECT_EQ(platform.calls.size(), 1u + 7u + 1u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_update_obj"), 0);
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateNhpVxlanContext failed, set fields failed."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanTest, UpdateNhpVxlanContext_that_fails_returns_the_code_says_so_and_counts_UPDATE) {
  platform.fail("db_update_obj", 15005);
  EXPECT_EQ(FIB_DB_UpdateNhpVxlanContext(&item), 15005u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UPDATE fib nhp vxlan db fail. ret = 15005"));
  EXPECT_TRUE(countedOnce(6, 3));
}

TEST_F(NhpVxlanTest, UpdateNhpVxlanContext_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_update_obj", 13044);
  EXPECT_EQ(FIB_DB_UpdateNhpVxlanContext(&item), 0u);
  EXPECT_TRUE(countedOnce(6, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpVxlanTest, UpdateNhpVxlanContext_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_vxlan_obj", 9);
  EXPECT_EQ(FIB_DB_UpdateNhpVxlanContext(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateNhpVxlanContext failed, create object failed. ret: 9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanTest, UpdateNhpVxlanContext_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_UpdateNhpVxlanContext(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Iteration.
struct Iterate {
  const char* name;
  const char* key;
  FibDbIterator* (*call)(uint32_t property);

  friend void PrintTo(const Iterate& row, std::ostream* out) { *out << row.name; }
};

class NhpVxlanIterateBy : public NhpVxlanBulk, public testing::WithParamInterface<Iterate> {};

TEST_P(NhpVxlanIterateBy, iterates_under_its_key_with_the_property) {
  FibDbIterator* const iterator = GetParam().call(5);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_vxlan_obj(5)", called("db_create_root_iter", GetParam().key),
                                          "db_set_root_iterator_property(~1, 0, 05000000)"));
  EXPECT_EQ(FIB_DB_GetNextNhpVxlanItem(iterator, &item), 0u);
  EXPECT_EQ(item.tunnel_id, 0u);
  FIB_DB_ReleaseNhpVxlanIterator(iterator);
}

TEST_P(NhpVxlanIterateBy, that_fails_says_so_in_the_words_of_the_iterator_by_key) {
  platform.fail("db_create_root_iter", 9);
  EXPECT_EQ(GetParam().call(5), nullptr);
  EXPECT_THAT(platform.errorLines, ElementsAre("CreateNhpVxlanIteratorByKey createIter failed, ret: 9"));
}

INSTANTIATE_TEST_SUITE_P(
    Indexes, NhpVxlanIterateBy,
    testing::Values(Iterate{"NhpIndex", "0x01090004 2a000000",
                            [](uint32_t property) { return FIB_DB_CreateNhpVxlanIteratorByNhpIndex(42, property); }},
                    Iterate{"TunnelKey", "0x0209000D 02000000030000000400000005",
                            [](uint32_t property) {
                              return FIB_DB_CreateNhpVxlanIteratorByTunnelKey(2, 3, 4, 5, property);
                            }},
                    Iterate{"VniKey", "0x03090008 020000000a000000",
                            [](uint32_t property) { return FIB_DB_CreateNhpVxlanIteratorByVniKey(2, 10, property); }}),
    [](const auto& info) { return info.param.name; });

TEST_F(NhpVxlanBulk, Iteration_gives_every_next_hop_in_full_then_60_every_time) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpVxlanIterator(0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_vxlan_obj(5)", "db_create_root_iter(#1, NULL)"));
  for (uint32_t i = 0; i < 3; ++i) {
    item = {};
    platform.calls.clear();
    EXPECT_EQ(FIB_DB_GetNextNhpVxlanItem(iterator, &item), 0u);
    FibDbNhpVxlanItem expected = fullItem();
    expected.tunnel_id = i;
    EXPECT_EQ(rowOf(item), rowOf(expected)) << "the smooth id and the time stamps, too";
    std::vector<std::string> calls{"db_root_iterator_next(~1)"};
    calls.insert(calls.end(), kGetters.begin(), kGetters.end());
    EXPECT_EQ(platform.calls, calls);
  }
  EXPECT_EQ(FIB_DB_GetNextNhpVxlanItem(iterator, &item), 60u);
  EXPECT_EQ(FIB_DB_GetNextNhpVxlanItem(iterator, &item), 60u);
  FIB_DB_ReleaseNhpVxlanIterator(iterator);
  EXPECT_EQ(platform.calls.back(), "db_release_nhp_vxlan_object(#1)");
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanTest, Iterators_set_any_property_but_the_one_that_means_none) {
  for (const uint32_t property : {0u, 5u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    platform.calls.clear();
    FIB_DB_ReleaseNhpVxlanIterator(FIB_DB_CreateNhpVxlanIterator(property));
    EXPECT_EQ(platform.calls.size(), property == 0xFFFFFFFF ? 3u : 4u) << property;
    platform.calls.clear();
    FIB_DB_ReleaseNhpVxlanIterator(FIB_DB_CreateNhpVxlanIteratorByKey(&desc, &key, property));
    EXPECT_EQ(platform.calls.size(), property == 0xFFFFFFFF ? 3u : 4u) << property;
  }
}

TEST_F(NhpVxlanTest, The_iterator_by_key_is_made_in_its_handle_from_zero_words) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpVxlanIteratorByKey(&desc, &key, 0xFFFFFFFF);
  ASSERT_EQ(platform.outWords.size(), 2u);
  EXPECT_EQ(platform.outWords[0].at, &iterator->obj);
  EXPECT_EQ(platform.outWords[1].at, &iterator->rootIter);
  EXPECT_EQ(platform.outWords[0].before, 0u);
  EXPECT_EQ(platform.outWords[1].before, 0u);
  FIB_DB_ReleaseNhpVxlanIterator(iterator);
}

TEST_F(NhpVxlanTest, CreateNhpVxlanIteratorByKey_of_NULL_gives_NULL_silently) {
  EXPECT_EQ(FIB_DB_CreateNhpVxlanIteratorByKey(nullptr, &key, 0), nullptr);
  EXPECT_EQ(FIB_DB_CreateNhpVxlanIteratorByKey(&desc, nullptr, 0), nullptr);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpVxlanTest, Iterator_creation_failures_say_which_step_and_give_NULL) {
  struct {
    const char* call;
    const char* whole;
    const char* byKey;
  } const steps[] = {
      {"alloc", "CreateNhpVxlanIterator malloc failed", "CreateNhpVxlanIteratorByKey malloc failed"},
      {"db_create_nhp_vxlan_obj", "CreateNhpVxlanIterator createObj failed, ret: 9",
       "CreateNhpVxlanIteratorByKey createObj failed, ret: 9"},
      {"db_create_root_iter", "CreateNhpVxlanIterator createIter failed, ret: 9",
       "CreateNhpVxlanIteratorByKey createIter failed, ret: 9"},
      {"db_set_root_iterator_property", "CreateNhpVxlanIterator setProperty failed, ret: 9",
       "CreateNhpStdIteratorByKey setProperty failed, ret: 9"},
  };
  for (const auto& step : steps) {
    platform.errorLines.clear();
    platform.fail(step.call, 9);
    EXPECT_EQ(FIB_DB_CreateNhpVxlanIterator(0), nullptr);
    platform.fail(step.call, 9);
    EXPECT_EQ(FIB_DB_CreateNhpVxlanIteratorByKey(&desc, &key, 0), nullptr);
    EXPECT_THAT(platform.errorLines, ElementsAre(step.whole, step.byKey));
  }
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVxlanTest, GetNextNhpVxlanItem_failure_returns_1_says_so_and_is_not_counted) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpVxlanIterator(0xFFFFFFFF);
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetNextNhpVxlanItem(iterator, &item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("get vxlan entry next iter failed, get next root iter failed. ret: 7"));
  EXPECT_EQ(allCounted(), 0u);
  FIB_DB_ReleaseNhpVxlanIterator(iterator);
}

TEST_F(NhpVxlanTest, GetNextNhpVxlanItem_of_NULL_or_of_a_handle_without_its_words_says_so_and_returns_1) {
  FibDbIterator whole{.obj = 1, .rootIter = 2};
  FibDbIterator noObject{.obj = 0, .rootIter = 2};
  FibDbIterator noIterator{.obj = 1, .rootIter = 0};
  EXPECT_EQ(FIB_DB_GetNextNhpVxlanItem(nullptr, &item), 1u);
  EXPECT_EQ(FIB_DB_GetNextNhpVxlanItem(&whole, nullptr), 1u);
  EXPECT_EQ(FIB_DB_GetNextNhpVxlanItem(&noObject, &item), 1u);
  EXPECT_EQ(FIB_DB_GetNextNhpVxlanItem(&noIterator, &item), 1u);
  EXPECT_EQ(platform.errorLines.size(), 4u);
  EXPECT_THAT(platform.errorLines, Each("get vxlan entry next iter failed, para is NULL"));
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_EQ(allCounted(), 0u);
}

// What the free hook was handed, for the test below: it keeps the block.
FibDbIterator* givenBack;

TEST_F(NhpVxlanTest, ReleaseNhpVxlanIterator_gives_the_block_back_without_handles_in_it) {
  FibDbIterator handle{.obj = 0, .rootIter = 77, .rsv = 78};
  ASSERT_EQ(db_create_nhp_vxlan_obj(5, 0, &handle.obj), 0u);
  const FibDbMemHooks keeping{.alloc = [](size_t) -> void* { return nullptr; },
                              .free = [](void* block) { givenBack = static_cast<FibDbIterator*>(block); }};
  FIB_DB_InitMem(&keeping);
  FIB_DB_ReleaseNhpVxlanIterator(&handle);
  EXPECT_EQ(givenBack, &handle);
  EXPECT_EQ(handle.obj, 0u);
  EXPECT_EQ(handle.rootIter, 0u);
  EXPECT_EQ(handle.rsv, 78u);
  EXPECT_EQ(platform.calls.back(), "db_release_nhp_vxlan_object(#1)");
}

TEST_F(NhpVxlanTest, ReleaseNhpVxlanIterator_of_NULL_does_nothing) {
  FIB_DB_ReleaseNhpVxlanIterator(nullptr);
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

}  // namespace
}  // namespace fibdb::test
