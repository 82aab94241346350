// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/nhp_vxlan_test.cc: next hops into a VXLAN tunnel over the engine, against a model.
#include <algorithm>
#include <compare>
#include <cstring>
#include <map>
#include <tuple>

#include "tests/end_to_end/engine_fixture.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A key in few enough values that records share every part of it.
struct Key {
  uint32_t index, vr, tunnelVrf, tunnel;
  uint8_t tunnelType, afType, gateway;

  auto operator<=>(const Key&) const = default;
};

FibDbNhpVxlanItem itemOf(const Key& key) {
  FibDbNhpVxlanItem item{.nhp_index = key.index,
                         .vr_id = key.vr,
                         .tunnel_vrf_index = key.tunnelVrf,
                         .tunnel_id = key.tunnel,
                         .tunnel_type = key.tunnelType,
                         .af_type = key.afType};
  item.gwip[15] = key.gateway;
  return item;
}

Key keyOf(const FibDbNhpVxlanItem& item) {
  return {item.nhp_index,   item.vr_id,   item.tunnel_vrf_index, item.tunnel_id,
          item.tunnel_type, item.af_type, item.gwip[15]};
}

FibDbNhpVxlanItem fullItem(const Key& key) {
  FibDbNhpVxlanItem item = itemOf(key);
  item.gwip[0] = 0x20;
  item.vrf_index = 1;
  item.flags = 2;
  item.vn_id = 3;
  item.aib_index = 4;
  item.overlay_type = 0x0506;
  std::memset(item.mac_addr, 7, sizeof item.mac_addr);
  item.status_high_prio = 8;
  item.status_normal_prio = 9;
  item.errcode_high_prio = 10;
  item.errcode_normal_prio = 11;
  std::memset(item.svc_ctx_high_prio, 12, sizeof item.svc_ctx_high_prio);
  std::memset(item.svc_ctx_normal_prio, 13, sizeof item.svc_ctx_normal_prio);
  item.app_source_id = 14;
  item.group_smooth_id = 15;
  item.app_obj_id = 1ull << 40;
  item.app_version = 16;
  item.vsi_index = 17;
  item.dvp_index = 18;
  item.time_stamp_app = 2ull << 40;
  item.time_stamp_svc = 3ull << 40;
  return item;
}

template <size_t Size>
std::vector<uint8_t> bytesOf(const uint8_t (&block)[Size]) {
  return {block, block + Size};
}

// What a bulk read delivers, and what it does not.
auto lightFieldsOf(const FibDbNhpVxlanItem& item) {
  return std::make_tuple(keyOf(item), bytesOf(item.gwip), item.vrf_index, item.flags, item.vn_id, item.aib_index,
                         item.overlay_type, bytesOf(item.mac_addr), item.status_high_prio, item.status_normal_prio,
                         item.errcode_high_prio, item.errcode_normal_prio, bytesOf(item.svc_ctx_high_prio),
                         bytesOf(item.svc_ctx_normal_prio), item.app_source_id, item.app_obj_id, item.app_version,
                         item.vsi_index, item.dvp_index);
}
auto heavyFieldsOf(const FibDbNhpVxlanItem& item) {
  return std::make_tuple(item.group_smooth_id, item.time_stamp_app, item.time_stamp_svc);
}

bool same(const FibDbNhpVxlanItem& a, const FibDbNhpVxlanItem& b) {
  return lightFieldsOf(a) == lightFieldsOf(b) && heavyFieldsOf(a) == heavyFieldsOf(b);
}

class NhpVxlanTest : public EngineTest {
 protected:
  using Model = std::map<Key, FibDbNhpVxlanItem>;
  static constexpr uint32_t kAny = FIB_DB_NO_PROPERTY;

  static std::vector<Key> walk(FibDbIterator* iterator) {
    std::vector<Key> keys;
    EXPECT_NE(iterator, nullptr);
    FibDbNhpVxlanItem item{};
    while (FIB_DB_GetNextNhpVxlanItem(iterator, &item) == 0) keys.push_back(keyOf(item));
    EXPECT_EQ(FIB_DB_GetNextNhpVxlanItem(iterator, &item), 60u);
    FIB_DB_ReleaseNhpVxlanIterator(iterator);
    std::ranges::sort(keys);
    return keys;
  }

  // The keys of the model that a condition holds for, in order.
  template <class Condition>
  static std::vector<Key> keysOf(const Model& model, Condition holds) {
    std::vector<Key> keys;
    for (const auto& [key, item] : model) {
      if (holds(item)) keys.push_back(key);
    }
    return keys;
  }
};

TEST_F(NhpVxlanTest, Lives_its_life) {
  const Key key{1, 2, 3, 4, 5, 6, 7};
  FibDbNhpVxlanItem item = fullItem(key);
  FibDbNhpVxlanItem read = item;
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&read), 60u);
  EXPECT_EQ(FIB_DB_WriteNhpVxlan(&item), 0u);
  read = itemOf(key);
  read.gwip[0] = 0x20;
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&read), 0u);
  EXPECT_TRUE(same(read, item));

  FibDbNhpVxlanItem change = itemOf(key);
  change.gwip[0] = 0x20;
  change.status_high_prio = 81;
  change.errcode_normal_prio = 82;
  std::memset(change.svc_ctx_normal_prio, 83, sizeof change.svc_ctx_normal_prio);
  change.time_stamp_svc = 84;
  change.flags = 85;
  EXPECT_EQ(FIB_DB_UpdateNhpVxlanContext(&change), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&read), 0u);
  FibDbNhpVxlanItem expected = item;
  expected.status_high_prio = 81;
  expected.status_normal_prio = 0;
  expected.errcode_high_prio = 0;
  expected.errcode_normal_prio = 82;
  std::memset(expected.svc_ctx_high_prio, 0, sizeof expected.svc_ctx_high_prio);
  std::memset(expected.svc_ctx_normal_prio, 83, sizeof expected.svc_ctx_normal_prio);
  expected.time_stamp_svc = 84;
  EXPECT_TRUE(same(read, expected)) << "the context alone is changed";

  EXPECT_EQ(FIB_DB_RemoveNhpVxlan(&item), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&read), 60u);
}

TEST_F(NhpVxlanTest, Bulk_reads_fill_what_there_is_room_for_but_three_fields) {
  constexpr uint32_t kRecords = 3;
  constexpr uint32_t kSize = sizeof(FibDbNhpVxlanItem);
  Model model;
  for (uint8_t i = 0; i < kRecords; ++i) {
    const Key key{7, 0, 0, i, 0, 0, i};
    model[key] = fullItem(key);
    ASSERT_EQ(FIB_DB_WriteNhpVxlan(&model[key]), 0u);
    const FibDbNhpVxlanItem other = fullItem({8, 0, 0, i, 0, 0, i});
    ASSERT_EQ(FIB_DB_WriteNhpVxlan(&other), 0u);
  }
  // Every size from nothing to one item more than there are, byte by byte around the items' ends.
  for (uint32_t bufLen = 0; bufLen <= (kRecords + 1) * kSize + 1; ++bufLen) {
    if (bufLen % kSize > 1 && bufLen % kSize < kSize - 1) continue;
    std::vector<uint8_t> bytes((kRecords + 2) * kSize, 0xA5);
    auto* const items = reinterpret_cast<FibDbNhpVxlanItem*>(bytes.data());
    const auto untouched = heavyFieldsOf(items[0]);
    uint32_t filled = 77;
    ASSERT_EQ(FIB_DB_ReadNhpVxlanByNhpIndex(7, bufLen, items, &filled), 0u) << bufLen;
    ASSERT_EQ(filled, std::min(bufLen / kSize, kRecords)) << bufLen;
    std::vector<Key> keys;
    for (uint32_t i = 0; i < filled; ++i) {
      keys.push_back(keyOf(items[i]));
      ASSERT_TRUE(model.contains(keys.back()));
      EXPECT_TRUE(lightFieldsOf(items[i]) == lightFieldsOf(model[keys.back()])) << bufLen;
      EXPECT_TRUE(heavyFieldsOf(items[i]) == untouched) << bufLen;
    }
    std::ranges::sort(keys);
    EXPECT_EQ(std::ranges::adjacent_find(keys), keys.end()) << "each record once";
    EXPECT_TRUE(std::all_of(bytes.begin() + filled * kSize, bytes.end(), [](uint8_t byte) { return byte == 0xA5; }));
  }
  uint32_t filled = 77;
  FibDbNhpVxlanItem item{};
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByNhpIndex(9, sizeof item, &item, &filled), 0u) << "no record is no failure";
  EXPECT_EQ(filled, 0u);
}

TEST_F(NhpVxlanTest, An_iterator_delivers_what_a_bulk_read_does_not) {
  const FibDbNhpVxlanItem item = fullItem({1, 2, 3, 4, 5, 6, 7});
  ASSERT_EQ(FIB_DB_WriteNhpVxlan(&item), 0u);
  FibDbIterator* const iterator = FIB_DB_CreateNhpVxlanIterator(kAny);
  FibDbNhpVxlanItem found{};
  EXPECT_EQ(FIB_DB_GetNextNhpVxlanItem(iterator, &found), 0u);
  EXPECT_TRUE(same(found, item));
  FIB_DB_ReleaseNhpVxlanIterator(iterator);
}

TEST_F(NhpVxlanTest, Counts_reads_and_iterators_agree_with_a_model) {
  std::mt19937 random(seedOfToday());
  const auto below = [&](uint32_t bound) { return static_cast<uint32_t>(random() % bound); };
  const auto byteBelow = [&](uint32_t bound) { return static_cast<uint8_t>(below(bound)); };
  Model model;
  for (int round = 0; round < 3000; ++round) {
    const Key key{below(4), below(2), below(2), below(2), byteBelow(2), byteBelow(2), byteBelow(3)};
    const auto sameIndex = [&](const FibDbNhpVxlanItem& item) { return item.nhp_index == key.index; };
    const bool stored = model.contains(key);
    FibDbNhpVxlanItem item = fullItem(key);
    switch (below(8)) {
      case 0:
      case 1:
      case 2:
        item.vn_id = below(3);
        item.app_version = below(100);
        ASSERT_EQ(FIB_DB_WriteNhpVxlan(&item), 0u);
        model[key] = item;
        break;
      case 3:
        ASSERT_EQ(FIB_DB_RemoveNhpVxlan(&item), stored ? 0u : 15005u);
        logged.clear();  // a missing record is said
        model.erase(key);
        break;
      case 4:
        item.status_high_prio = byteBelow(100);
        ASSERT_EQ(FIB_DB_UpdateNhpVxlanContext(&item), stored ? 0u : 15005u);
        logged.clear();
        if (stored) model[key].status_high_prio = item.status_high_prio;
        break;
      case 5:
        ASSERT_EQ(FIB_DB_ReadNhpVxlan(&item), stored ? 0u : 60u);
        if (stored) {
          ASSERT_TRUE(same(item, model[key]));
        }
        break;
      case 6: {
        std::vector<FibDbNhpVxlanItem> items(100);
        uint32_t filled = 77;
        const auto bufLen = static_cast<uint32_t>(items.size() * sizeof items[0]);
        ASSERT_EQ(FIB_DB_ReadNhpVxlanByNhpIndex(key.index, bufLen, items.data(), &filled), 0u);
        items.resize(filled);
        std::vector<Key> keys;
        std::ranges::transform(items, std::back_inserter(keys), keyOf);
        std::ranges::sort(keys);
        ASSERT_EQ(keys, keysOf(model, sameIndex));
        break;
      }
      default:
        if (below(20) != 0) break;
        ASSERT_EQ(FIB_DB_RemoveNhpVxlanByNhpIndex(key.index),
                  std::erase_if(model, [&](const auto& entry) { return sameIndex(entry.second); }) > 0 ? 0u : 15005u);
        logged.clear();
    }
    uint32_t count = 77;
    ASSERT_EQ(FIB_DB_CountNhpVxlanByNhpIndex(key.index, &count), 0u);
    ASSERT_EQ(count, keysOf(model, sameIndex).size());
    if (round % 50 != 0) continue;
    ASSERT_EQ(walk(FIB_DB_CreateNhpVxlanIterator(kAny)), keysOf(model, [](auto&) { return true; }));
    ASSERT_EQ(walk(FIB_DB_CreateNhpVxlanIterator(1)), keysOf(model, [](auto& i) { return i.vr_id == 1; }));
    ASSERT_EQ(walk(FIB_DB_CreateNhpVxlanIteratorByNhpIndex(key.index, kAny)), keysOf(model, sameIndex));
    ASSERT_EQ(walk(FIB_DB_CreateNhpVxlanIteratorByTunnelKey(key.vr, key.tunnelVrf, key.tunnel, key.tunnelType, kAny)),
              keysOf(model, [&](auto& i) {
                return i.vr_id == key.vr && i.tunnel_vrf_index == key.tunnelVrf && i.tunnel_id == key.tunnel &&
                       i.tunnel_type == key.tunnelType;
              }));
    ASSERT_EQ(walk(FIB_DB_CreateNhpVxlanIteratorByVniKey(key.vr, 2, kAny)),
              keysOf(model, [&](auto& i) { return i.vr_id == key.vr && i.vn_id == 2; }));
    ASSERT_EQ(walk(FIB_DB_CreateNhpVxlanIteratorByNhpIndex(key.index, 0)),
              keysOf(model, [&](auto& i) { return sameIndex(i) && i.vr_id == 0; }));
  }
}

TEST_F(NhpVxlanTest, Every_index_finds_its_own_fields_in_their_order) {
  const Key first{10, 20, 30, 40, 50, 60, 70};
  const Key second{11, 21, 31, 41, 51, 61, 71};
  for (const Key& key : {first, second}) {
    FibDbNhpVxlanItem item = itemOf(key);
    item.vn_id = key.index + 70;
    ASSERT_EQ(FIB_DB_WriteNhpVxlan(&item), 0u);
  }
  EXPECT_THAT(walk(FIB_DB_CreateNhpVxlanIteratorByNhpIndex(11, kAny)), ElementsAre(second));
  EXPECT_THAT(walk(FIB_DB_CreateNhpVxlanIteratorByTunnelKey(21, 31, 41, 51, kAny)), ElementsAre(second));
  EXPECT_THAT(walk(FIB_DB_CreateNhpVxlanIteratorByTunnelKey(31, 21, 41, 51, kAny)), IsEmpty());
  EXPECT_THAT(walk(FIB_DB_CreateNhpVxlanIteratorByVniKey(21, 81, kAny)), ElementsAre(second));
  EXPECT_THAT(walk(FIB_DB_CreateNhpVxlanIteratorByVniKey(81, 21, kAny)), IsEmpty());

  const FibDbKeyDesc byVni{.indexId = FIB_DB_NHP_VXLAN_BY_VNI, .rsv1 = 0, .rsv2 = 0};
  const uint32_t vni[] = {21, 81};
  EXPECT_THAT(walk(FIB_DB_CreateNhpVxlanIteratorByKey(&byVni, vni, kAny)), ElementsAre(second));
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountNhpVxlanByKey(&byVni, vni, &count), 0u);
  EXPECT_EQ(count, 1u);
  FibDbNhpVxlanItem item{};
  EXPECT_EQ(FIB_DB_ReadNhpVxlanByKey(&byVni, vni, sizeof item, &item, &count), 0u);
  EXPECT_EQ(keyOf(item), second);
}

TEST_F(NhpVxlanTest, A_publication_is_a_success_that_is_counted) {
  const uint32_t before = g_fibDbErrStat[FIB_DB_TABLE_NHP_VXLAN][FIB_DB_OPER_PUB];
  const uint32_t table = fibdb_engine_find_table("nhp_vxlan");
  const FibDbNhpVxlanItem item = fullItem({1, 2, 3, 4, 5, 6, 7});
  ASSERT_EQ(fibdb_engine_fault(table, DB_RET_PUB_STATUS, 3), 0u);
  EXPECT_EQ(FIB_DB_WriteNhpVxlan(&item), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpVxlanContext(&item), 0u);
  EXPECT_EQ(FIB_DB_RemoveNhpVxlan(&item), 0u);
  EXPECT_EQ(g_fibDbErrStat[FIB_DB_TABLE_NHP_VXLAN][FIB_DB_OPER_PUB], before + 3);
}

}  // namespace
}  // namespace fibdb::test
