// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/nhp_vpn_test.cc: next hops into a VPN over the engine, against a model.
#include <algorithm>
#include <compare>
#include <map>
#include <tuple>

#include "tests/end_to_end/engine_fixture.h"

namespace fibdb::test {
namespace {

// A key in few enough values that records share every part of it.
struct Key {
  uint32_t index, vr, vrf, vpn;

  auto operator<=>(const Key&) const = default;
};

FibDbNhpVpnItem itemOf(const Key& key) {
  return {.nhp_index = key.index, .vr_id = key.vr, .vrf_index = key.vrf, .dst_vpn_id = key.vpn};
}

Key keyOf(const FibDbNhpVpnItem& item) { return {item.nhp_index, item.vr_id, item.vrf_index, item.dst_vpn_id}; }

// Everything that is stored.
auto fieldsOf(const FibDbNhpVpnItem& item) {
  return std::make_tuple(keyOf(item), item.app_source_id, item.app_serial_id, item.app_obj_id, item.app_version,
                         item.time_stamp_app, item.time_stamp_svc);
}

class NhpVpnTest : public EngineTest {
 protected:
  static uint8_t countOf(uint32_t index) {
    uint8_t count = 77;
    EXPECT_EQ(FIB_DB_CountNhpVpnByNhpIndex(index, &count), 0u);
    return count;
  }
};

TEST_F(NhpVpnTest, Lives_its_life) {
  FibDbNhpVpnItem item{.nhp_index = 1,
                       .vr_id = 2,
                       .vrf_index = 3,
                       .dst_vpn_id = 4,
                       .app_source_id = 5,
                       .app_serial_id = 6,
                       .app_obj_id = 1ull << 40,
                       .app_version = 7,
                       .time_stamp_app = 2ull << 40,
                       .time_stamp_svc = 3ull << 40};
  FibDbNhpVpnItem read = itemOf({1, 2, 3, 4});
  EXPECT_EQ(FIB_DB_ReadNhpVpn(&read), 60u);
  EXPECT_EQ(FIB_DB_WriteNhpVpn(&item), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpVpn(&read), 0u);
  EXPECT_EQ(fieldsOf(read), fieldsOf(item));

  item.app_serial_id = 66;
  EXPECT_EQ(FIB_DB_WriteNhpVpn(&item), 0u) << "a second write replaces";
  read = {};
  EXPECT_EQ(FIB_DB_ReadNhpVpnByNhpIndex(1, &read), 0u);
  EXPECT_EQ(fieldsOf(read), fieldsOf(item));
  EXPECT_EQ(countOf(1), 1);

  EXPECT_EQ(FIB_DB_RemoveNhpVpn(&item), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpVpn(&read), 60u);
  EXPECT_EQ(FIB_DB_ReadNhpVpnByNhpIndex(1, &read), 110012u) << "no record is not 60 here";
}

TEST_F(NhpVpnTest, Counts_and_reads_agree_with_a_model) {
  std::mt19937 random(seedOfToday());
  const auto below = [&](uint32_t bound) { return static_cast<uint32_t>(random() % bound); };
  std::map<Key, FibDbNhpVpnItem> model;
  for (int round = 0; round < 5000; ++round) {
    const Key key{below(5), below(2), below(3), below(4)};
    const auto sameIndex = [&](const auto& entry) { return entry.first.index == key.index; };
    FibDbNhpVpnItem item = itemOf(key);
    switch (below(6)) {
      case 0:
      case 1:
        item.app_version = below(100);
        ASSERT_EQ(FIB_DB_WriteNhpVpn(&item), 0u);
        model[key] = item;
        break;
      case 2:
        ASSERT_EQ(FIB_DB_RemoveNhpVpn(&item), model.erase(key) == 1 ? 0u : 15005u);
        logged.clear();  // a missing record is said
        break;
      case 3: {
        const bool stored = model.contains(key);
        ASSERT_EQ(FIB_DB_ReadNhpVpn(&item), stored ? 0u : 60u);
        if (stored) {
          ASSERT_EQ(fieldsOf(item), fieldsOf(model[key]));
        }
        break;
      }
      case 4: {
        const uint32_t status = FIB_DB_ReadNhpVpnByNhpIndex(key.index, &item);
        ASSERT_EQ(status, std::ranges::any_of(model, sameIndex) ? 0u : 110012u);
        if (status == 0) {
          ASSERT_EQ(item.nhp_index, key.index);
          ASSERT_EQ(fieldsOf(item), fieldsOf(model.at(keyOf(item))));
        }
        break;
      }
      default:
        if (below(20) != 0) break;
        ASSERT_EQ(FIB_DB_RemoveNhpVpnByNhpIndex(key.index), std::erase_if(model, sameIndex) > 0 ? 0u : 15005u);
        logged.clear();
    }
    ASSERT_EQ(countOf(key.index), std::ranges::count_if(model, sameIndex));
  }
}

TEST_F(NhpVpnTest, A_count_is_the_low_byte_of_how_many_there_are) {
  for (uint32_t vpn = 1; vpn <= 258; ++vpn) {
    const FibDbNhpVpnItem item = itemOf({9, 0, 0, vpn});
    ASSERT_EQ(FIB_DB_WriteNhpVpn(&item), 0u);
    ASSERT_EQ(countOf(9), vpn % 256);
  }
  EXPECT_EQ(countOf(8), 0);
}

TEST_F(NhpVpnTest, A_publication_is_a_success_that_is_counted) {
  const uint32_t before = g_fibDbErrStat[FIB_DB_TABLE_NHP_VPN][FIB_DB_OPER_PUB];
  const uint32_t table = fibdb_engine_find_table("nhp_vpn");
  const FibDbNhpVpnItem item = itemOf({1, 2, 3, 4});
  ASSERT_EQ(fibdb_engine_fault(table, DB_RET_PUB_STATUS, 2), 0u);
  EXPECT_EQ(FIB_DB_WriteNhpVpn(&item), 0u);
  EXPECT_EQ(countOf(1), 1);
  EXPECT_EQ(FIB_DB_RemoveNhpVpn(&item), 0u);
  EXPECT_EQ(countOf(1), 0);
  EXPECT_EQ(g_fibDbErrStat[FIB_DB_TABLE_NHP_VPN][FIB_DB_OPER_PUB], before + 2);
}

}  // namespace
}  // namespace fibdb::test
