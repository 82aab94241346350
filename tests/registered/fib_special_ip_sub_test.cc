// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/fib_special_ip_sub_test.cc: sub-entries of special addresses over the recorded table service.
#include <cstddef>

#include "tests/registered/service_table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbSpecialIpSubItem, subWord) == 20 && offsetof(FibDbSpecialIpSubItem, subKeyByte) == 24);
static_assert(offsetof(FibDbSpecialIpSubItem, subData) == 28 && sizeof(FibDbSpecialIpSubItem) == 92);

struct SpecialIpSub {
  using Item = FibDbSpecialIpSubItem;
  static constexpr TableId kTable = TableId::fib_special_ip_sub;
  static constexpr const char* kId = "35";
  static constexpr const char* kName = "fib_special_ip_sub";
  static constexpr uint32_t kRowLength = 80;
  static constexpr const char* kKey = "0x00010009 111111112222222233";
  static constexpr Room kRoom[] = {{8, 12}, {27, 1}};
  static constexpr uint64_t kTimes = 0;

  static Item fullItem() {
    Item item{.subKey1 = 0x11111111,
              .subKey2 = 0x22222222,
              .reserved1 = {0xE1E1E1E1, 0xE2E2E2E2, 0xE3E3E3E3},
              .subWord = 0x44444444,
              .subKeyByte = 0x33,
              .subByte1 = 0x55,
              .subByte2 = 0x66,
              .reserved2 = 0xE4};
    fillBytes(item.subData, 0x80);
    return item;
  }
  // The word stands behind the bytes here.
  static Row rowOf(const Item& item) {
    Row row(kRowLength);
    putAt(row, 0, item.subKey1);
    putAt(row, 4, item.subKey2);
    putAt(row, 8, item.subKeyByte);
    putAt(row, 9, item.subByte1);
    putAt(row, 10, item.subByte2);
    putAt(row, 12, item.subWord);
    std::memcpy(row.data() + 16, item.subData, 64);
    return row;
  }
  static Row createdRow(const Item& item) { return rowOf(item); }
  static void copyKey(const Item& from, Item& to) {
    to.subKey1 = from.subKey1;
    to.subKey2 = from.subKey2;
    to.subKeyByte = from.subKeyByte;
  }

  static constexpr auto build = FIB_DB_SetSpecialIpSubPriKey;
  static constexpr auto unpack = FIB_DB_GetSpecialIpSubFields;
  static constexpr auto create = FIB_DB_WriteSpecialIpSub;
  static constexpr auto read = FIB_DB_ReadSpecialIpSub;
  static constexpr auto remove = FIB_DB_DeleteSpecialIpSub;
  static constexpr auto iterate = FIB_DB_CreateSpecialIpSubIterator;
  static constexpr auto next = FIB_DB_GetNextSpecialIpSubEntry;
  static constexpr auto release = FIB_DB_ReleaseSpecialIpSubIterator;
  static constexpr auto registerTable = FIB_DB_SpecialIpSubRegister;
};

INSTANTIATE_TYPED_TEST_SUITE_P(SpecialIpSub, ServiceFieldsTest, SpecialIpSub);
INSTANTIATE_TYPED_TEST_SUITE_P(SpecialIpSub, ServiceRecordTest, SpecialIpSub);
INSTANTIATE_TYPED_TEST_SUITE_P(SpecialIpSub, ServiceWalkTest, SpecialIpSub);

class SpecialIpSubTest : public ServiceTest<SpecialIpSub> {};

TEST_F(SpecialIpSubTest, GetSpecialIpSubFields_returns_the_result_of_its_copy) {
  const Row row = SpecialIpSub::rowOf(item);
  EXPECT_EQ(FIB_DB_GetSpecialIpSubFields(row.data(), &out), 0u);
  EXPECT_THAT(platform.allCalls, ElementsAre("memcpy_s"));
  platform.fail("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_GetSpecialIpSubFields(row.data(), &out), 22u);
  EXPECT_TRUE(silent());
}

TEST_F(SpecialIpSubTest, A_copy_that_fails_fails_neither_a_write_nor_a_read) {
  platform.failAlways("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_WriteSpecialIpSub(&item), 0u);
  Row expected = SpecialIpSub::rowOf(item);
  std::fill(expected.begin() + 16, expected.end(), uint8_t{0});
  EXPECT_THAT(platform.created, ElementsAre(expected));
  EXPECT_EQ(FIB_DB_ReadSpecialIpSub(&out), 0u);
  EXPECT_EQ(out.subWord, 0x44444444u);
  EXPECT_EQ(out.subData[0], 0x5A);
  EXPECT_TRUE(silent());
}

}  // namespace
}  // namespace fibdb::test
