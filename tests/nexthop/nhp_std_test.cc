// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_std_test.cc: standard next hops over the recorded platform.
#include <cstddef>

#include "tests/nexthop/table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbNhpStdItem, fwd_if_type) == 24 && offsetof(FibDbNhpStdItem, forwardVsId) == 26);
static_assert(offsetof(FibDbNhpStdItem, if_type) == 28 && offsetof(FibDbNhpStdItem, work_if_index) == 36);
static_assert(offsetof(FibDbNhpStdItem, status_high_prio) == 40 && offsetof(FibDbNhpStdItem, svc_ctx_high_prio) == 44);
static_assert(offsetof(FibDbNhpStdItem, svc_ctx_normal_prio) == 60 && offsetof(FibDbNhpStdItem, app_source_id) == 76);
static_assert(offsetof(FibDbNhpStdItem, app_obj_id) == 88 && offsetof(FibDbNhpStdItem, attr_flag) == 100);
static_assert(offsetof(FibDbNhpStdItem, time_stamp_svc) == 112 && offsetof(FibDbNhpStdItem, global_slotid) == 120);
static_assert(sizeof(FibDbNhpStdItem) == 128);

struct Std : NextHopTable<Std, FibDbNhpStdItem> {
  static constexpr TableId kTable = TableId::nhp_std;
  static constexpr const char* kName = "nhp_std";
  static constexpr uint32_t kStat = 4;
  static constexpr auto kMark = &Item::next_hop;
  // The bytes of 42, 0x0A000001 and 3.
  static constexpr const char* kKey = "0x0001000C 2a0000000100000a03000000";

  static Item fullItem() {
    return withContext(Item{.nhp_index = 42,
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
                            .app_source_id = 18,
                            .group_smooth_id = 19,
                            .app_obj_id = 0x2000000000,
                            .app_version = 21,
                            .attr_flag = 22,
                            .time_stamp_app = 0x2300000000,
                            .global_slotid = 25});
  }

  static Row rowOf(const Item& item) {
    Row row;
    const auto put = [&](std::string_view name, uint64_t value) { putField(kTable, row, name, value); };
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
    putContext(kTable, row, item);
    put("app_source_id", item.app_source_id);
    put("group_smooth_id", item.group_smooth_id);
    put("app_obj_id", item.app_obj_id);
    put("app_version", item.app_version);
    put("attr_flag", item.attr_flag);
    put("time_stamp_app", item.time_stamp_app);
    put("global_slotid", item.global_slotid);
    return row;
  }

  static Item keyOf(const Item& item) {
    return {.nhp_index = item.nhp_index, .next_hop = item.next_hop, .out_if_index = item.out_if_index};
  }

  static constexpr auto write = FIB_DB_WriteNhpStd;
  static constexpr WriteTexts kWrite{.create = "WriteNhpStd failed, create object failed. ret: -7",
                                     .stage = "SetNhpStdItem setField failed, ret: -7",
                                     .failed = "WRITE fib nhp std db fail. ret = -7"};
  static Calls staged() {
    return setCalls(kName,
                    "nhp_index=42 next_hop=167772161 out_if_index=3 vr_id=4 vrf_index=5 flags=6 fwd_if_type=7 "
                    "if_type=9 iid_flags=10 work_if_index=11 global_slotid=25 app_source_id=18 group_smooth_id=19 "
                    "app_obj_id=137438953472 app_version=21 attr_flag=22 forwardVsId=8 status_high_prio=12 "
                    "status_normal_prio=13 errcode_high_prio=14 errcode_normal_prio=15 "
                    "svc_ctx_high_prio=160102030405060708090a0b0c0d0eee "
                    "svc_ctx_normal_prio=170102030405060708090a0b0c0d0eff "
                    "time_stamp_app=150323855360 time_stamp_svc=154618822656");
  }

  static constexpr auto read = FIB_DB_ReadNhpStd;
  static constexpr ReadTexts kRead{.create = "ReadNhpStd failed, create object failed. ret: -7",
                                   .failed = "ReadNhpStd failed, ret: -7"};
  static Calls step() {
    return getCalls(kName,
                    "nhp_index next_hop out_if_index vr_id vrf_index flags fwd_if_type if_type iid_flags work_if_index "
                    "global_slotid forwardVsId status_high_prio status_normal_prio errcode_high_prio "
                    "errcode_normal_prio svc_ctx_high_prio[] svc_ctx_normal_prio[] app_source_id group_smooth_id "
                    "app_obj_id app_version attr_flag time_stamp_app time_stamp_svc");
  }

  static constexpr auto unpack = FIB_DB_GetNhpStdItem;
  static constexpr int kCopiesBefore = 0;
  static constexpr UnpackTexts kUnpack{"GetNhpStdItem getField failed, ret: -7",
                                       "GetNhpStdItem failed to memcpy nhp std high svcCtx, ret: 22.",
                                       "GetNhpStdItem failed to memcpy nhp std normal svcCtx, ret: 22."};

  static constexpr const char* kRemoveFailed = "REMOVE fib nhp std db fail. ret = -7";
  static constexpr Removal<Item> kRemovals[] = {
      {"RemoveNhpStd", kKey, "RemoveNhpStd failed, create object failed. ret: -7", FIB_DB_RemoveNhpStd},
      {"RemoveNhpStdByNhpIndex", kNhpIndexKey, "RemoveNhpStdByNhpIndex failed, create object failed. ret: -7",
       ofNhpIndex<FIB_DB_RemoveNhpStdByNhpIndex>}};

  static constexpr auto updateFields = FIB_DB_UpdateNhpStdFields;
  static constexpr UpdateTexts kUpdate{.create = "UpdateNhpStdFields failed, create object failed. ret: -7",
                                       .failed = "UPDATE fib nhp std db fail. ret = -7"};
  static std::vector<Update<Item>> updates() {
    return {{"UpdateNhpStdContext", FIB_DB_UpdateNhpStdContext,
             setCalls(kName, kContextStaged + std::string(" forwardVsId=8")),
             "SetNhpStdContext failed, set fields failed."},
            {"UpdateNhpStdFlags", FIB_DB_UpdateNhpStdFlags, setCalls(kName, "flags=6"),
             "SetNhpStdFlags failed, set fields failed."}};
  }

  static constexpr auto readByKey = FIB_DB_ReadNhpStdByKey;
  static constexpr BulkReadTexts kBulkRead{.create = "ReadNhpStdByKey failed, create object failed. ret: -7",
                                           .createIter = "ReadNhpStdByKey failed, create root iter failed. ret: -7",
                                           .step = "ReadNhpStdByKey failed, ret: -7"};
  static constexpr BulkRead<Item> kBulkReads[] = {
      {"ByKey", kNhpIndexKey, byKey<FIB_DB_ReadNhpStdByKey>},
      {"ByNhpIndex", kNhpIndexKey, byNhpIndex<FIB_DB_ReadNhpStdByNhpIndex>},
      {"ByLocalhash", "0x02090008 0100000a03000000",
       [](uint32_t bufLen, Item* items, uint32_t*) {
         return FIB_DB_ReadNhpStdByLocalhash(0x0A000001, 3, bufLen, items);
       },
       false},
      {"ByIfIndex", "0x03090004 03000000",
       [](uint32_t bufLen, Item* items, uint32_t*) { return FIB_DB_ReadNhpStdByIfIndex(3, bufLen, items); }, false},
      {"ByIfType", "0x04090004 09000000",
       [](uint32_t bufLen, Item* items, uint32_t*) { return FIB_DB_ReadNhpStdByIfType(9, bufLen, items); }, false}};

  static constexpr auto countByKey = FIB_DB_CountNhpStdByKey;
  static constexpr CountTexts kCount{.create = "CountNhpStdByKey failed, create object failed. ret: -7",
                                     .failed = "CountNhpStdByKey failed, record count by key failed. ret: -7"};
  static constexpr Count kCounts[] = {
      {"ByKey", kNhpIndexKey, kCount, byKey<FIB_DB_CountNhpStdByKey>},
      {"ByNhpIndex", kNhpIndexKey, kCount, byNhpIndex<FIB_DB_CountNhpStdByNhpIndex>},
      {"ByLocalhash", "0x02090008 0100000a03000000", kCount,
       [](uint32_t* count) { return FIB_DB_CountNhpStdByLocalhash(0x0A000001, 3, count); }},
      {"ByIfIndex", "0x03090004 03000000", kCount,
       [](uint32_t* count) { return FIB_DB_CountNhpStdByIfIndex(3, count); }},
      {"ByIfType", "0x04090004 09000000", kCount,
       [](uint32_t* count) { return FIB_DB_CountNhpStdByIfType(9, count); }}};

  static constexpr auto iterateByKey = FIB_DB_CreateNhpStdIteratorByKey;
  static constexpr IteratorTexts kWhole{
      "CreateNhpStdIterator malloc failed", "CreateNhpStdIterator createObj failed, ret: -7",
      "CreateNhpStdIterator createIter failed, ret: -7", "CreateNhpStdIterator setProperty failed, ret: -7"};
  static constexpr IteratorTexts kByKey{
      "CreateNhpStdIteratorByKey malloc failed", "CreateNhpStdIteratorByKey createObj failed, ret: -7",
      "CreateNhpStdIteratorByKey createIter failed, ret: -7", "CreateNhpStdIteratorByKey setProperty failed, ret: -7"};
  static constexpr Iterate kIterators[] = {
      {"whole", "NULL", kWhole, FIB_DB_CreateNhpStdIterator},
      {"ByKey", kNhpIndexKey, kByKey, byKey<FIB_DB_CreateNhpStdIteratorByKey>, true},
      {"ByNhpIndex", kNhpIndexKey, kByKey, byNhpIndex<FIB_DB_CreateNhpStdIteratorByNhpIndex>, true},
      {"ByIpIfIndex", "0x02090008 0100000a03000000", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpStdIteratorByIpIfIndex(0x0A000001, 3, property); }, true},
      {"ByIfIndex", "0x03090004 03000000", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpStdIteratorByIfIndex(3, property); }, true},
      {"ByWorkIfIndex", "0x05090004 0b000000", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpStdIteratorByWorkIfIndex(11, property); }, true},
      {"ByGlobalSlotId", "0x06090004 19000000", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpStdIteratorByGlobalSlotId(25, property); }, true}};

  static constexpr auto next = FIB_DB_GetNextNhpStdEntry;
  static constexpr auto release = FIB_DB_ReleaseNhpStdIterator;
  static constexpr StepTexts kStep{.failed = "GetNextNhpStdEntry failed, ret: -7"};
};

INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopWriteTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopFieldsTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopReadTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopRemovalTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopNullTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopUpdateTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopSetterTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopBulkReadTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopContextTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopCallersKeyTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopCountTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopIteratorTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopCallersIteratorTest, Std);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpStd, NextHopStepTest, Std);

class NhpStdTest : public NextHopTableTest<Std> {};

TEST_F(NhpStdTest, SetNhpStdKeyField_packs_three_words_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc out{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint32_t bytes[4] = {0, 0, 0, 77};
  FIB_DB_SetNhpStdKeyField(&out, bytes, &item);
  EXPECT_EQ(out.indexId, 0x0001000Cu);
  EXPECT_EQ(out.rsv1, 2u);
  EXPECT_EQ(out.rsv2, 3u);
  EXPECT_THAT(bytes, ElementsAre(42, 0x0A000001, 3, 77));
}

TEST_F(NhpStdTest, GetNhpStdItem_of_NULL_does_nothing) {
  FIB_DB_GetNhpStdItem(1, nullptr);
  EXPECT_THAT(platform.calls, IsEmpty());
}

TEST_F(NhpStdTest, The_setters_give_1_for_the_context_and_the_raw_code_for_the_flags) {
  platform.fail("db_set_nhp_std_forwardVsId", 5);
  EXPECT_EQ(FIB_DB_SetNhpStdContext(1, &item), 1u);
  platform.fail("db_set_nhp_std_flags", 5);
  EXPECT_EQ(FIB_DB_SetNhpStdFlags(1, &item), 5u);
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

}  // namespace
}  // namespace fibdb::test
