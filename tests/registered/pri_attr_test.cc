// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/pri_attr_test.cc: primary attributes over the recorded table service.
#include <cstddef>

#include "tests/registered/service_table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbPriAttrItem, keyWord2) == 8 && offsetof(FibDbPriAttrItem, attrByte) == 13);
static_assert(offsetof(FibDbPriAttrItem, smoothId) == 20 && sizeof(FibDbPriAttrItem) == 40);

struct PriAttr {
  using Item = FibDbPriAttrItem;
  static constexpr TableId kTable = TableId::pri_attr;
  static constexpr const char* kId = "10";
  static constexpr const char* kName = "pri_attr";
  static constexpr uint32_t kRowLength = 40;
  static constexpr const char* kKey = "0x00010009 111111113333333344";
  static constexpr Room kRoom[] = {{24, 16}};
  static constexpr uint64_t kTimes = 1;
  static constexpr uint64_t kTimesOfSetter = 1;
  static constexpr const char* kStaged[] = {"db_set_pri_attr_table_smooth_id(#0, 2004318071)",
                                            "db_set_pri_attr_time_stamp_smooth(#0, 1700000000000000)"};

  static Item fullItem() {
    return {.keyWord1 = 0x11111111,
            .attrWord1 = 0x22222222,
            .keyWord2 = 0x33333333,
            .keyByte = 0x44,
            .attrByte = 0x55,
            .attrWord2 = 0x66666666,
            .smoothId = 0x77777777,
            .reserved = {0xE1E1E1E1E1E1E1E1, 0xE2E2E2E2E2E2E2E2}};
  }
  // The second word of the attributes follows the key here.
  static Row rowOf(const Item& item) {
    Row row(kRowLength);
    putAt(row, 0, item.keyWord1);
    putAt(row, 4, item.keyWord2);
    putAt(row, 8, item.keyByte);
    putAt(row, 9, item.attrByte);
    putAt(row, 12, item.attrWord1);
    putAt(row, 16, item.attrWord2);
    putAt(row, 20, item.smoothId);
    putAt(row, 24, PlatformDouble::instance().sysTime);
    putAt(row, 32, PlatformDouble::instance().sysTime);
    return row;
  }
  static Row createdRow(const Item& item) { return rowOf(item); }
  static void copyKey(const Item& from, Item& to) {
    to.keyWord1 = from.keyWord1;
    to.keyWord2 = from.keyWord2;
    to.keyByte = from.keyByte;
  }

  static constexpr auto build = FIB_DB_SetPriAttrPriKey;
  static constexpr auto unpack = FIB_DB_GetPriAttrFields;
  static constexpr auto create = FIB_DB_CreatePriAttr;
  static constexpr auto read = FIB_DB_ReadPriAttr;
  static constexpr auto remove = FIB_DB_DeletePriAttr;
  static constexpr auto update = FIB_DB_UpdatePriAttrSmoothId;
  static constexpr auto set = FIB_DB_SetPriAttrSmoothID;
  static constexpr auto iterate = FIB_DB_CreatePriAttrIterator;
  static constexpr auto next = FIB_DB_GetNextPriAttrEntry;
  static constexpr auto release = FIB_DB_ReleasePriAttrIterator;
  static constexpr auto registerTable = FIB_DB_PriAttrRegister;
};

INSTANTIATE_TYPED_TEST_SUITE_P(PriAttr, ServiceFieldsTest, PriAttr);
INSTANTIATE_TYPED_TEST_SUITE_P(PriAttr, ServiceRecordTest, PriAttr);
INSTANTIATE_TYPED_TEST_SUITE_P(PriAttr, ServiceWalkTest, PriAttr);
INSTANTIATE_TYPED_TEST_SUITE_P(PriAttr, ServiceSmoothIdTest, PriAttr);

class PriAttrTest : public ServiceTest<PriAttr> {};

TEST_F(PriAttrTest, SetPriAttrFields_packs_stamps_twice_and_gives_the_time) {
  Row row(40);
  EXPECT_EQ(FIB_DB_SetPriAttrFields(&item, row.data()), platform.sysTime);
  EXPECT_EQ(row, PriAttr::rowOf(item));
  EXPECT_EQ(platform.sysTimeReads, 1u);
}

TEST_F(PriAttrTest, SetPriAttrFields_leaves_the_bytes_between_the_fields) {
  Row row(40, 0x5A);
  FIB_DB_SetPriAttrFields(&item, row.data());
  EXPECT_EQ(row[10], 0x5A);
  EXPECT_EQ(row[11], 0x5A);
}

TEST_F(PriAttrTest, SetPriAttrHashKey_packs_the_two_words) {
  EXPECT_EQ(keyGiven(FIB_DB_SetPriAttrHashKey, item), "0x01090008 1111111133333333");
}

TEST_F(PriAttrTest, SetPriAttrKeyByNhpGrpNode_sets_both_words_and_nothing_else) {
  FIB_DB_SetPriAttrKeyByNhpGrpNode(&out, 5, 6);
  Row expected(sizeof out, 0x5A);
  putAt(expected, 0, uint32_t{5});
  putAt(expected, 8, uint32_t{6});
  EXPECT_EQ(bytesOf(out), expected);
}

TEST_F(PriAttrTest, ReadPriAttrByHash_goes_by_the_two_words_and_fills_the_key_byte) {
  out.keyWord1 = item.keyWord1;
  out.keyWord2 = item.keyWord2;
  EXPECT_EQ(FIB_DB_ReadPriAttrByHash(&out), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_ReadUniqueHash(10, 0x01090008 1111111133333333, 40)"));
  EXPECT_TRUE(filled(out));
}

TEST_F(PriAttrTest, ReadPriAttrByHash_failure_returns_the_code_silently_and_keeps_the_item) {
  platform.fail("UFIB_DB_ReadUniqueHash", 15005);
  EXPECT_EQ(FIB_DB_ReadPriAttrByHash(&out), 15005u);
  EXPECT_TRUE(isWiped());
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
  EXPECT_EQ(FIB_DB_ReadPriAttrByHash(nullptr), 1u);
}

}  // namespace
}  // namespace fibdb::test
