// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/fwd_vs_vpn_test.cc: bindings of forwarding virtual systems over the recorded table service.
#include <array>
#include <cstddef>

#include "tests/registered/service_table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against, which is the row's.
static_assert(offsetof(FibDbFwdVsVpnItem, fwdBlock1) == 8 && offsetof(FibDbFwdVsVpnItem, fwdBlock2) == 40);
static_assert(offsetof(FibDbFwdVsVpnItem, fwdWord2) == 72 && offsetof(FibDbFwdVsVpnItem, fwdHalf1) == 76);
static_assert(offsetof(FibDbFwdVsVpnItem, fwdHalf2) == 78 && offsetof(FibDbFwdVsVpnItem, fwdTimeStamp) == 80);
static_assert(sizeof(FibDbFwdVsVpnItem) == 88);

struct FwdVsVpn {
  using Item = FibDbFwdVsVpnItem;
  static constexpr TableId kTable = TableId::fwd_vs_vpn;
  static constexpr const char* kId = "33";
  static constexpr const char* kName = "fwd_vs_vpn";
  static constexpr uint32_t kRowLength = 88;
  static constexpr const char* kKey = "0x00010004 11111111";
  static constexpr std::array<Room, 0> kRoom{};
  static constexpr uint64_t kTimes = 1;

  static Item fullItem() {
    Item item{.fwdKey = 0x11111111,
              .fwdWord = 0x22222222,
              .fwdWord2 = 0x33333333,
              .fwdHalf1 = 0x4444,
              .fwdHalf2 = 0x5555,
              .fwdTimeStamp = 0x6666666666666666};
    fillBytes(item.fwdBlock1, 0x80);
    fillBytes(item.fwdBlock2, 0xC0);
    return item;
  }
  static Row rowOf(const Item& item) { return bytesOf(item); }
  // The time of the creation, whatever the item says.
  static Row createdRow(const Item& item) {
    Row row = rowOf(item);
    putAt(row, 80, PlatformDouble::instance().sysTime);
    return row;
  }
  static void copyKey(const Item& from, Item& to) { to.fwdKey = from.fwdKey; }

  static constexpr auto build = FIB_DB_SetFwdVsVpnPriKey;
  static constexpr auto unpack = FIB_DB_GetFwdVsVpnFields;
  static constexpr auto create = FIB_DB_CreateFwdVsVpn;
  static constexpr auto read = FIB_DB_ReadFwdVsVpn;
  static constexpr auto remove = FIB_DB_DeleteFwdVsVpn;
  static constexpr auto registerTable = FIB_DB_FwdVsVpnRegister;
};

INSTANTIATE_TYPED_TEST_SUITE_P(FwdVsVpn, ServiceFieldsTest, FwdVsVpn);
INSTANTIATE_TYPED_TEST_SUITE_P(FwdVsVpn, ServiceRecordTest, FwdVsVpn);

class FwdVsVpnTest : public ServiceTest<FwdVsVpn> {};

TEST_F(FwdVsVpnTest, A_copy_that_fails_fails_nothing_and_stops_nothing) {
  platform.failAlways("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_CreateFwdVsVpn(&item), 0u);
  Row expected = FwdVsVpn::createdRow(item);
  std::fill(expected.begin() + 8, expected.begin() + 72, uint8_t{0});
  EXPECT_THAT(platform.created, ElementsAre(expected));
  EXPECT_EQ(FIB_DB_ReadFwdVsVpn(&out), 0u);
  EXPECT_EQ(out.fwdWord2, 0x33333333u);
  EXPECT_EQ(out.fwdBlock1[0], 0x5A);
  EXPECT_EQ(out.fwdBlock2[31], 0x5A);
  EXPECT_THAT(platform.allCalls,
              ElementsAre("memcpy_s", "memcpy_s", "UFIB_DB_Create", "UFIB_DB_Read", "memcpy_s", "memcpy_s"));
  EXPECT_TRUE(silent());
}

}  // namespace
}  // namespace fibdb::test
