// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/fib_dod_aging_test.cc: aging records of on-demand routes over the recorded table service.
#include <array>

#include "tests/registered/service_table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

static_assert(sizeof(FibDbDodAgingItem) == 20);

struct DodAging {
  using Item = FibDbDodAgingItem;
  static constexpr TableId kTable = TableId::fib_dod_aging;
  static constexpr const char* kId = "30";
  static constexpr const char* kName = "fib_dod_aging";
  static constexpr uint32_t kRowLength = 22;
  static constexpr const char* kKey = "0x00010004 11111111";
  static constexpr std::array<Room, 0> kRoom{};
  static constexpr uint64_t kTimes = 0;

  static Item fullItem() {
    return {.agingKey = 0x11111111,
            .agingWord1 = 0x22222222,
            .agingWord2 = 0x33333333,
            .agingWord3 = 0x44444444,
            .agingWord4 = 0x55555555};
  }
  // Two bytes more than the item, zeros.
  static Row rowOf(const Item& item) {
    Row row(kRowLength);
    putAt(row, 0, item.agingKey);
    putAt(row, 4, item.agingWord1);
    putAt(row, 8, item.agingWord2);
    putAt(row, 12, item.agingWord3);
    putAt(row, 16, item.agingWord4);
    return row;
  }
  static Row createdRow(const Item& item) { return rowOf(item); }
  static void copyKey(const Item& from, Item& to) { to.agingKey = from.agingKey; }

  static constexpr auto build = FIB_DB_SetDodAgingPriKey;
  static constexpr auto unpack = FIB_DB_GetDodAgingFields;
  static constexpr auto create = FIB_DB_CreateDodAging;
  static constexpr auto read = FIB_DB_ReadDodAging;
  static constexpr auto remove = FIB_DB_DeleteDodAging;
  static constexpr auto iterate = FIB_DB_CreateDodAgingIterator;
  static constexpr auto next = FIB_DB_GetNextDodAgingEntry;
  static constexpr auto release = FIB_DB_ReleaseDodAgingIterator;
  static constexpr auto registerTable = FIB_DB_DodAgingRegister;
};

INSTANTIATE_TYPED_TEST_SUITE_P(DodAging, ServiceFieldsTest, DodAging);
INSTANTIATE_TYPED_TEST_SUITE_P(DodAging, ServiceRecordTest, DodAging);
INSTANTIATE_TYPED_TEST_SUITE_P(DodAging, ServiceWalkTest, DodAging);

}  // namespace
}  // namespace fibdb::test
