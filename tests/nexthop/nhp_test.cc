// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_test.cc: next hops over the recorded platform.
#include "tests/nexthop/table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

struct Nhp : NextHopTable<Nhp, FibDbNhpItem> {
  static constexpr TableId kTable = TableId::nhp;
  static constexpr const char* kName = "nhp";
  static constexpr uint32_t kStat = 3;
  static constexpr auto kMark = &Item::nhp_index;
  static constexpr const char* kKey = "0x00010004 2a000000";

  static Item fullItem() {
    return {.nhp_index = 42,
            .vr_id = 1,
            .vrf_index = 2,
            .origin_nhp = 3,
            .nhp_num = 4,
            .nhp_flag = 5,
            .ref_cnt = 6,
            .flags = 7,
            .iid_flags = 8,
            .app_source_id = 9,
            .table_smooth_id = 10,
            .app_obj_id = 0x1100000000,
            .app_version = 12,
            .time_stamp_app = 0x1300000000,
            .time_stamp_svc = 0x1400000000};
  }

  static Row rowOf(const Item& item) {
    Row row;
    putField(kTable, row, "nhp_index", item.nhp_index);
    putField(kTable, row, "vr_id", item.vr_id);
    putField(kTable, row, "vrf_index", item.vrf_index);
    putField(kTable, row, "origin_nhp", item.origin_nhp);
    putField(kTable, row, "nhp_num", item.nhp_num);
    putField(kTable, row, "nhp_flag", item.nhp_flag);
    putField(kTable, row, "ref_cnt", item.ref_cnt);
    putField(kTable, row, "flags", item.flags);
    putField(kTable, row, "iid_flags", item.iid_flags);
    putField(kTable, row, "app_source_id", item.app_source_id);
    putField(kTable, row, "table_smooth_id", item.table_smooth_id);
    putField(kTable, row, "app_obj_id", item.app_obj_id);
    putField(kTable, row, "app_version", item.app_version);
    putField(kTable, row, "time_stamp_app", item.time_stamp_app);
    putField(kTable, row, "time_stamp_svc", item.time_stamp_svc);
    return row;
  }

  static Item keyOf(const Item& item) { return {.nhp_index = item.nhp_index}; }

  // A write that fails is counted and not said, as removals and updates are.
  static constexpr auto write = FIB_DB_WriteNhp;
  static constexpr WriteTexts kWrite{.stage = "SetNhpItem setField failed, ret: -7"};
  static Calls staged() {
    return setCalls(kName,
                    "nhp_index=42 vr_id=1 vrf_index=2 origin_nhp=3 nhp_flag=5 nhp_num=4 ref_cnt=6 flags=7 "
                    "iid_flags=8 app_source_id=9 table_smooth_id=10 app_obj_id=73014444032 app_version=12 "
                    "time_stamp_app=81604378624 time_stamp_svc=85899345920");
  }

  static constexpr auto read = FIB_DB_ReadNhp;
  static constexpr ReadTexts kRead{.create = "ReadNhp failed, create object failed. ret: -7",
                                   .failed = "ReadNhp failed, ret: -7, key = 0x2a"};
  static Calls step() {
    return getCalls(kName,
                    "nhp_index vr_id vrf_index origin_nhp nhp_flag nhp_num ref_cnt flags iid_flags "
                    "app_source_id table_smooth_id app_obj_id app_version time_stamp_app time_stamp_svc");
  }

  static constexpr const char* kRemoveFailed = nullptr;
  static constexpr Removal<Item> kRemovals[] = {
      {"RemoveNhp", kKey, "RemoveNhp failed, create object failed. ret: -7", FIB_DB_RemoveNhp}};

  static constexpr auto updateFields = FIB_DB_UpdateNhpFields;
  static constexpr UpdateTexts kUpdate{.create = "UpdateNhpFields failed, create object failed. ret: -7"};
  static std::vector<Update<Item>> updates() {
    return {
        {"UpdateNhpRefCount", FIB_DB_UpdateNhpRefCount, setCalls(kName, "ref_cnt=6"),
         "SetNhpRefCount failed, set fields failed."},
        {"UpdateNhpFlags", FIB_DB_UpdateNhpFlags, setCalls(kName, "flags=7"), "SetNhpFlags failed, set fields failed."},
        {"UpdateNhpNumAndSmoothID", FIB_DB_UpdateNhpNumAndSmoothID, setCalls(kName, "nhp_num=4 table_smooth_id=10")},
        {"UpdateNhpSmoothID", FIB_DB_UpdateNhpSmoothID, setCalls(kName, "table_smooth_id=10"),
         "SetNhpSmoothID failed, set fields failed."}};
  }

  static constexpr IteratorTexts kWhole{
      "CreateNhpIterator malloc failed", "CreateNhpIterator createObj failed, ret: -7",
      "CreateNhpIterator createIter failed, ret: -7", "CreateNhpIterator setProperty failed, ret: -7"};
  static constexpr IteratorTexts kByVrf{
      "CreateNhpIteratorByVrf malloc failed", "CreateNhpIteratorByVrf createObj failed, ret: -7",
      "CreateNhpIteratorByVrf createIter failed, ret: -7", "CreateNhpIteratorByVrf setProperty failed, ret: -7"};
  static constexpr Iterate kIterators[] = {
      {"whole", "NULL", kWhole, FIB_DB_CreateNhpIterator},
      {"ByVrf", "0x0109000C 010000000200000003000000", kByVrf,
       [](uint32_t property) { return FIB_DB_CreateNhpIteratorByVrf(1, 2, 3, property); }}};

  static constexpr auto next = FIB_DB_GetNextNhpEntry;
  static constexpr auto release = FIB_DB_ReleaseNhpIterator;
  static constexpr StepTexts kStep{.failed = "GetNextNhpEntry next failed, ret: -7",
                                   .null = "GetNextNhpEntry next failed, para is NULL."};
};

INSTANTIATE_TYPED_TEST_SUITE_P(Nhp, NextHopWriteTest, Nhp);
INSTANTIATE_TYPED_TEST_SUITE_P(Nhp, NextHopFieldsTest, Nhp);
INSTANTIATE_TYPED_TEST_SUITE_P(Nhp, NextHopReadTest, Nhp);
INSTANTIATE_TYPED_TEST_SUITE_P(Nhp, NextHopRemovalTest, Nhp);
INSTANTIATE_TYPED_TEST_SUITE_P(Nhp, NextHopNullTest, Nhp);
INSTANTIATE_TYPED_TEST_SUITE_P(Nhp, NextHopUpdateTest, Nhp);
INSTANTIATE_TYPED_TEST_SUITE_P(Nhp, NextHopSetterTest, Nhp);
INSTANTIATE_TYPED_TEST_SUITE_P(Nhp, NextHopIteratorTest, Nhp);
INSTANTIATE_TYPED_TEST_SUITE_P(Nhp, NextHopStepTest, Nhp);

class NhpTest : public NextHopTableTest<Nhp> {};

// Keys.
TEST_F(NhpTest, SetNhpKey_stores_the_index) {
  uint32_t key = 0;
  FIB_DB_SetNhpKey(&key, 0xDEADBEEF);
  EXPECT_EQ(key, 0xDEADBEEFu);
}

TEST_F(NhpTest, SetNhpKeyField_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc desc{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint32_t key = 0;
  FIB_DB_SetNhpKeyField(&desc, &key, &item);
  EXPECT_EQ(desc.indexId, 0x00010004u);
  EXPECT_EQ(desc.rsv1, 2u);
  EXPECT_EQ(desc.rsv2, 3u);
  EXPECT_EQ(key, 42u);
}

TEST_F(NhpTest, ReadNhp_overwrites_the_index_with_the_records_own) {
  item.nhp_index = 43;
  EXPECT_EQ(FIB_DB_ReadNhp(&item), 0u);
  EXPECT_EQ(item.nhp_index, 42u);
}

TEST_F(NhpTest, ReadNhp_whose_getters_partly_fail_is_a_success_with_one_line) {
  platform.fail("db_get_nhp_vr_id", 1);
  platform.fail("db_get_nhp_flags", 4);
  FibDbNhpItem out{.nhp_index = 42, .vr_id = 77, .flags = 78};
  EXPECT_EQ(FIB_DB_ReadNhp(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpItem getField failed, ret: 5"));
  EXPECT_EQ(out.vr_id, 77u);
  EXPECT_EQ(out.flags, 78u);
  EXPECT_EQ(out.time_stamp_svc, fullItem().time_stamp_svc);
}

// Partial updates.
TEST_F(NhpTest, Updates_of_a_missing_record_give_15005_uncounted_and_silent) {
  for (const auto& update : Nhp::updates()) {
    platform.fail("db_update_obj", 15005);
    EXPECT_EQ(update.call(&item), 15005u) << update.name;
  }
  EXPECT_TRUE(saysAndCountsNothing());
}

// The setters by themselves.
TEST_F(NhpTest, SetNhpRefCount_and_SetNhpFlags_return_the_raw_code_and_say_so) {
  platform.fail("db_set_nhp_ref_cnt", 5);
  platform.fail("db_set_nhp_flags", 6);
  EXPECT_EQ(FIB_DB_SetNhpRefCount(1, &item), 5u);
  EXPECT_EQ(FIB_DB_SetNhpFlags(1, &item), 6u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("SetNhpRefCount failed, set fields failed.", "SetNhpFlags failed, set fields failed."));
}

TEST_F(NhpTest, SetNhpNumAndSmoothID_returns_1_silently_and_tries_both) {
  platform.fail("db_set_nhp_nhp_num", 5);
  EXPECT_EQ(FIB_DB_SetNhpNumAndSmoothID(1, &item), 1u);
  EXPECT_THAT(platform.calls, ElementsAre("db_set_nhp_nhp_num(1, 4)", "db_set_nhp_table_smooth_id(1, 10)"));
  platform.fail("db_set_nhp_table_smooth_id", 5);
  EXPECT_EQ(FIB_DB_SetNhpNumAndSmoothID(1, &item), 1u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(FIB_DB_SetNhpNumAndSmoothID(1, &item), 0u);
}

TEST_F(NhpTest, SetNhpSmoothID_returns_1_and_says_so) {
  platform.fail("db_set_nhp_table_smooth_id", 5);
  EXPECT_EQ(FIB_DB_SetNhpSmoothID(1, &item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpSmoothID failed, set fields failed."));
  EXPECT_EQ(FIB_DB_SetNhpSmoothID(1, &item), 0u);
}

}  // namespace
}  // namespace fibdb::test
