// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/fib_special_ip_test.cc: special addresses over the recorded table service.
#include <cstddef>

#include "tests/registered/service_table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbSpecialIpItem, specialByte) == 8 && offsetof(FibDbSpecialIpItem, specialPart1) == 12);
static_assert(offsetof(FibDbSpecialIpItem, specialPart2) == 14 && sizeof(FibDbSpecialIpItem) == 16);

struct SpecialIp {
  using Item = FibDbSpecialIpItem;
  static constexpr TableId kTable = TableId::fib_special_ip;
  static constexpr const char* kId = "34";
  static constexpr const char* kName = "fib_special_ip";
  static constexpr uint32_t kRowLength = 16;
  static constexpr const char* kKey = "0x00010004 11111111";
  static constexpr Room kRoom[] = {{9, 3}};
  static constexpr uint64_t kTimes = 0;

  static Item fullItem() {
    return {.specialKey = 0x11111111,
            .specialWord = 0x22222222,
            .specialByte = 0x33,
            .reserved = {0xE1, 0xE2, 0xE3},
            .specialPart1 = {0x41, 0x42},
            .specialPart2 = {0x51, 0x52}};
  }
  static Row rowOf(const Item& item) {
    Row row(kRowLength);
    putAt(row, 0, item.specialKey);
    putAt(row, 4, item.specialWord);
    putAt(row, 8, item.specialByte);
    std::memcpy(row.data() + 12, item.specialPart1, 2);
    std::memcpy(row.data() + 14, item.specialPart2, 2);
    return row;
  }
  static Row createdRow(const Item& item) { return rowOf(item); }
  static void copyKey(const Item& from, Item& to) { to.specialKey = from.specialKey; }

  static constexpr auto build = FIB_DB_SetSpecialIpPriKey;
  static constexpr auto unpack = FIB_DB_GetSpecialIpFields;
  static constexpr auto create = FIB_DB_WriteSpecialIp;
  static constexpr auto read = FIB_DB_ReadSpecialIp;
  static constexpr auto remove = FIB_DB_DeleteSpecialIp;
  static constexpr auto iterate = FIB_DB_CreateSpecialIpIterator;
  static constexpr auto next = FIB_DB_GetNextSpecialEntry;
  static constexpr auto release = FIB_DB_ReleaseSpecialIpIterator;
  static constexpr auto registerTable = FIB_DB_SpecialIpRegister;
};

INSTANTIATE_TYPED_TEST_SUITE_P(SpecialIp, ServiceFieldsTest, SpecialIp);
INSTANTIATE_TYPED_TEST_SUITE_P(SpecialIp, ServiceRecordTest, SpecialIp);
INSTANTIATE_TYPED_TEST_SUITE_P(SpecialIp, ServiceWalkTest, SpecialIp);

class SpecialIpTest : public ServiceTest<SpecialIp> {};

TEST_F(SpecialIpTest, GetSpecialIpFields_returns_the_result_of_the_second_copy) {
  const Row row = SpecialIp::rowOf(item);
  EXPECT_EQ(FIB_DB_GetSpecialIpFields(row.data(), &out), 0u);
  EXPECT_THAT(platform.allCalls, ElementsAre("memcpy_s", "memcpy_s"));
  platform.fail("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_GetSpecialIpFields(row.data(), &out), 0u);
  platform.fail("memcpy_s", 0);
  platform.fail("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_GetSpecialIpFields(row.data(), &out), 22u);
  EXPECT_TRUE(silent());
}

TEST_F(SpecialIpTest, A_copy_that_fails_fails_neither_a_write_nor_a_read) {
  platform.failAlways("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_WriteSpecialIp(&item), 0u);
  Row expected = SpecialIp::rowOf(item);
  std::fill(expected.begin() + 12, expected.end(), uint8_t{0});
  EXPECT_THAT(platform.created, ElementsAre(expected));
  EXPECT_EQ(FIB_DB_ReadSpecialIp(&out), 0u);
  EXPECT_EQ(out.specialWord, 0x22222222u);
  EXPECT_EQ(out.specialPart1[0], 0x5A);
  EXPECT_TRUE(silent());
}

}  // namespace
}  // namespace fibdb::test
