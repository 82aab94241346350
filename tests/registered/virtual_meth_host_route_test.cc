// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/virtual_meth_host_route_test.cc: host routes of the virtual management interface over the recorded
// table service.
#include <array>
#include <cstddef>

#include "tests/registered/service_table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbVirtualMethHostItem, hostByte2) == 9);
static_assert(offsetof(FibDbVirtualMethHostItem, hostValue) == 16 && sizeof(FibDbVirtualMethHostItem) == 24);

struct VirtualMethHost {
  using Item = FibDbVirtualMethHostItem;
  static constexpr TableId kTable = TableId::virtual_meth_host_route;
  static constexpr const char* kId = "32";
  static constexpr const char* kName = "virtual_meth_host_route";
  static constexpr uint32_t kRowLength = 20;
  static constexpr const char* kKey = "0x00010004 11111111";
  static constexpr std::array<Room, 0> kRoom{};
  static constexpr uint64_t kTimes = 0;

  static Item fullItem() {
    return {.hostKey = 0x11111111,
            .hostWord = 0x22222222,
            .hostByte1 = 0x33,
            .hostByte2 = 0x44,
            .hostValue = 0x5555555566666666};
  }
  static Row rowOf(const Item& item) {
    Row row(kRowLength);
    putAt(row, 0, item.hostKey);
    putAt(row, 4, item.hostWord);
    putAt(row, 8, item.hostByte1);
    putAt(row, 9, item.hostByte2);
    putAt(row, 12, item.hostValue);
    return row;
  }
  static Row createdRow(const Item& item) { return rowOf(item); }
  static void copyKey(const Item& from, Item& to) { to.hostKey = from.hostKey; }

  static constexpr auto build = FIB_DB_SetVirtualMethHostPriKey;
  static constexpr auto unpack = FIB_DB_GetVirtualMethHostFields;
  static constexpr auto create = FIB_DB_CreateVirtualMethHost;
  static constexpr auto read = FIB_DB_ReadVirtualMethHost;
  static constexpr auto remove = FIB_DB_DeleteVirtualMethHost;
  static constexpr auto iterate = FIB_DB_CreateVirtualMethHostIterator;
  static constexpr auto next = FIB_DB_GetNextVirtualMethHostEntry;
  static constexpr auto release = FIB_DB_ReleaseVirtualMethHostIterator;
  static constexpr auto registerTable = FIB_DB_VirtualMethHostRegister;
};

INSTANTIATE_TYPED_TEST_SUITE_P(VirtualMethHost, ServiceFieldsTest, VirtualMethHost);
INSTANTIATE_TYPED_TEST_SUITE_P(VirtualMethHost, ServiceRecordTest, VirtualMethHost);
INSTANTIATE_TYPED_TEST_SUITE_P(VirtualMethHost, ServiceWalkTest, VirtualMethHost);

}  // namespace
}  // namespace fibdb::test
