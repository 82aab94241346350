// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_vxlan_test.cc: next hops into a VXLAN tunnel over the recorded platform.
#include <algorithm>
#include <cstddef>

#include "tests/nexthop/table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::Each;

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

// The three fields that a bulk read leaves alone, as a caller's buffer may hold them.
FibDbNhpVxlanItem withOldStamps(FibDbNhpVxlanItem item) {
  item.group_smooth_id = 0xDEAD;
  item.time_stamp_app = 0xDEAD1;
  item.time_stamp_svc = 0xDEAD2;
  return item;
}

struct Vxlan : NextHopTable<Vxlan, FibDbNhpVxlanItem> {
  static constexpr TableId kTable = TableId::nhp_vxlan;
  static constexpr const char* kName = "nhp_vxlan";
  static constexpr uint32_t kStat = 6;
  static constexpr auto kMark = &Item::tunnel_id;
  static constexpr const char* kKey = "0x00010022 2a0000000200000003000000040000000506200102030405060708090a0b0c0d0edd";

  static Item fullItem() {
    return withContext(Item{.nhp_index = 42,
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
                            .overlay_type = 112,
                            .mac_addr = {0x13, 1, 2, 3, 4, 0xCC},
                            .app_source_id = 20,
                            .group_smooth_id = 21,
                            .app_obj_id = 0x2200000000,
                            .app_version = 23,
                            .vsi_index = 24,
                            .dvp_index = 25,
                            .time_stamp_app = 0x2600000000});
  }

  static Row rowOf(const Item& item) {
    Row row;
    const auto put = [&](std::string_view name, uint64_t value) { putField(kTable, row, name, value); };
    put("nhp_index", item.nhp_index);
    put("vr_id", item.vr_id);
    put("tunnel_vrf_index", item.tunnel_vrf_index);
    put("tunnel_id", item.tunnel_id);
    put("tunnel_type", item.tunnel_type);
    put("af_type", item.af_type);
    putBytes(kTable, row, "gwip", item.gwip);
    put("vrf_index", item.vrf_index);
    put("flags", item.flags);
    put("vn_id", item.vn_id);
    put("aib_index", item.aib_index);
    put("overlay_type", item.overlay_type);
    putBytes(kTable, row, "mac_addr", item.mac_addr);
    putContext(kTable, row, item);
    put("app_source_id", item.app_source_id);
    put("group_smooth_id", item.group_smooth_id);
    put("app_obj_id", item.app_obj_id);
    put("app_version", item.app_version);
    put("vsi_index", item.vsi_index);
    put("dvp_index", item.dvp_index);
    put("time_stamp_app", item.time_stamp_app);
    return row;
  }

  static Item keyOf(const Item& item) {
    Item key{.nhp_index = item.nhp_index,
             .vr_id = item.vr_id,
             .tunnel_vrf_index = item.tunnel_vrf_index,
             .tunnel_id = item.tunnel_id,
             .tunnel_type = item.tunnel_type,
             .af_type = item.af_type};
    std::copy_n(item.gwip, sizeof item.gwip, key.gwip);
    return key;
  }

  static constexpr auto write = FIB_DB_WriteNhpVxlan;
  static constexpr WriteTexts kWrite{.create = "WriteNhpVxlan failed, create object failed. ret: -7.",
                                     .stage = "SetNhpVxlanItem setField failed, ret: -7.",
                                     .stageToo = "WriteNhpVxlan failed, set item failed. ret: 1.",
                                     .failed = "WRITE fib nhp vxlan db fail. ret = -7"};
  static Calls staged() {
    return setCalls(kName,
                    "nhp_index=42 vr_id=2 vrf_index=8 tunnel_vrf_index=3 tunnel_id=4 flags=9 vn_id=10 "
                    "aib_index=11 overlay_type=112 mac_addr=1301020304cc tunnel_type=5 af_type=6 "
                    "gwip=200102030405060708090a0b0c0d0edd app_source_id=20 group_smooth_id=21 "
                    "app_obj_id=146028888064 app_version=23 vsi_index=24 dvp_index=25 status_high_prio=12 "
                    "status_normal_prio=13 errcode_high_prio=14 errcode_normal_prio=15 "
                    "svc_ctx_high_prio=160102030405060708090a0b0c0d0eee "
                    "svc_ctx_normal_prio=170102030405060708090a0b0c0d0eff time_stamp_app=163208757248 "
                    "time_stamp_svc=154618822656");
  }

  static constexpr auto read = FIB_DB_ReadNhpVxlan;
  static constexpr bool kReadChecksItem = false;
  static constexpr ReadTexts kRead{.create = "ReadNhpVxlan failed, create object failed. ret: -7.",
                                   .failed = "ReadNhpVxlan failed, ret: -7."};
  static Calls step() {
    return getCalls(kName,
                    "nhp_index vr_id vrf_index tunnel_vrf_index tunnel_id flags vn_id aib_index overlay_type "
                    "mac_addr[] tunnel_type gwip[] af_type status_high_prio status_normal_prio "
                    "errcode_high_prio errcode_normal_prio svc_ctx_high_prio[] svc_ctx_normal_prio[] "
                    "app_source_id group_smooth_id app_obj_id app_version vsi_index dvp_index time_stamp_app "
                    "time_stamp_svc");
  }

  static constexpr const char* kRemoveFailed = "REMOVE fib nhp vxlan db fail. ret = -7";
  static constexpr Removal<Item> kRemovals[] = {
      {"RemoveNhpVxlan", kKey, "RemoveNhpVxlan failed, create object failed. ret: -7.", FIB_DB_RemoveNhpVxlan},
      {"RemoveNhpVxlanByNhpIndex", kNhpIndexKey, "RemoveNhpVxlanByNhpIndex failed, create object failed. ret: -7.",
       ofNhpIndex<FIB_DB_RemoveNhpVxlanByNhpIndex>}};

  static std::vector<Update<Item>> updates() {
    return {{"UpdateNhpVxlanContext", FIB_DB_UpdateNhpVxlanContext, setCalls(kName, kContextStaged)}};
  }

  static constexpr auto readByKey = FIB_DB_ReadNhpVxlanByKey;
  static constexpr BulkReadTexts kBulkRead{.create = "ReadNhpVxlanByKey failed, create object failed. ret: -7.",
                                           .createIter = "ReadNhpVxlanByKey failed, create root iter failed. ret: -7.",
                                           .step = "ReadNhpVxlanByKey failed, ret: -7"};
  static Calls arrive() { return {"db_read_obj_with_buf(#1, NULL, 138)"}; }
  // The smooth id and the time stamps are the caller's.
  static Item delivered(Item record, const Item& slot) {
    record.group_smooth_id = slot.group_smooth_id;
    record.time_stamp_app = slot.time_stamp_app;
    record.time_stamp_svc = slot.time_stamp_svc;
    return record;
  }
  static constexpr BulkRead<Item> kBulkReads[] = {
      {"ByKey", kNhpIndexKey, byKey<FIB_DB_ReadNhpVxlanByKey>},
      {"ByNhpIndex", kNhpIndexKey, byNhpIndex<FIB_DB_ReadNhpVxlanByNhpIndex>}};
  static constexpr RowFailure kRow{.missing = 60, .failed = 1, .text = "READ fib nhp vxlan db fail. ret = -7."};

  static constexpr auto countByKey = FIB_DB_CountNhpVxlanByKey;
  static constexpr CountTexts kCount{.create = "CountNhpVxlanByKey failed, create object failed. ret: -7.",
                                     .failed = "CountNhpVxlanByKey failed, get record count failed. ret: -7."};
  static constexpr Count kCounts[] = {{"ByKey", kNhpIndexKey, kCount, byKey<FIB_DB_CountNhpVxlanByKey>},
                                      {"ByNhpIndex", kNhpIndexKey, kCount, byNhpIndex<FIB_DB_CountNhpVxlanByNhpIndex>}};

  static constexpr auto iterateByKey = FIB_DB_CreateNhpVxlanIteratorByKey;
  static constexpr IteratorTexts kWhole{
      "CreateNhpVxlanIterator malloc failed", "CreateNhpVxlanIterator createObj failed, ret: -7",
      "CreateNhpVxlanIterator createIter failed, ret: -7", "CreateNhpVxlanIterator setProperty failed, ret: -7"};
  // A property that cannot be set is said in the words of the standard next hops.
  static constexpr IteratorTexts kByKey{"CreateNhpVxlanIteratorByKey malloc failed",
                                        "CreateNhpVxlanIteratorByKey createObj failed, ret: -7",
                                        "CreateNhpVxlanIteratorByKey createIter failed, ret: -7",
                                        "CreateNhpStdIteratorByKey setProperty failed, ret: -7"};
  static constexpr Iterate kIterators[] = {
      {"whole", "NULL", kWhole, FIB_DB_CreateNhpVxlanIterator},
      {"ByKey", kNhpIndexKey, kByKey, byKey<FIB_DB_CreateNhpVxlanIteratorByKey>, true},
      {"ByNhpIndex", kNhpIndexKey, kByKey, byNhpIndex<FIB_DB_CreateNhpVxlanIteratorByNhpIndex>, true},
      {"ByTunnelKey", "0x0209000D 02000000030000000400000005", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpVxlanIteratorByTunnelKey(2, 3, 4, 5, property); }, true},
      {"ByVniKey", "0x03090008 020000000a000000", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpVxlanIteratorByVniKey(2, 10, property); }, true}};

  static constexpr auto next = FIB_DB_GetNextNhpVxlanItem;
  static constexpr auto release = FIB_DB_ReleaseNhpVxlanIterator;
  static constexpr StepTexts kStep{.failed = "get vxlan entry next iter failed, get next root iter failed. ret: -7",
                                   .null = "get vxlan entry next iter failed, para is NULL"};
  static constexpr bool kStepsAreCounted = false;
};

INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopWriteTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopFieldsTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopReadTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopRemovalTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopNullTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopUpdateTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopBulkReadTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopRowTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopCallersKeyTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopCountTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopIteratorTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopCallersIteratorTest, Vxlan);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVxlan, NextHopStepTest, Vxlan);

constexpr size_t kFields = 27;

class NhpVxlanTest : public NextHopTableTest<Vxlan> {};

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

TEST_F(NhpVxlanTest, ReadNhpVxlan_copies_each_block_of_bytes_right_after_it_was_got) {
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&item), 0u);
  std::vector<std::string> before;
  for (size_t i = 1; i < platform.allCalls.size(); ++i) {
    if (platform.allCalls[i] == "memcpy_s") before.push_back(platform.allCalls[i - 1]);
  }
  EXPECT_THAT(before, ElementsAre("db_create_nhp_vxlan_obj", "db_get_nhp_vxlan_mac_addr", "db_get_nhp_vxlan_gwip",
                                  "db_get_nhp_vxlan_svc_ctx_high_prio", "db_get_nhp_vxlan_svc_ctx_normal_prio"));
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
  EXPECT_EQ(out.svc_ctx_normal_prio[0], 0x16);
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

// The context update.
TEST_F(NhpVxlanTest, UpdateNhpVxlanContext_takes_no_time_and_builds_its_key_before_anything_is_staged) {
  g_fibGetDbOperTickCost = 1;
  EXPECT_EQ(FIB_DB_UpdateNhpVxlanContext(&item), 0u);
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

}  // namespace
}  // namespace fibdb::test
