// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/nhp_vxlan_test.cc: next hops into a VXLAN tunnel over the engine, against a model.
#include <compare>
#include <tuple>

#include "tests/end_to_end/table_model.h"

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
  item.gwip[0] = 0x20;
  item.gwip[15] = key.gateway;
  return item;
}

Key keyOf(const FibDbNhpVxlanItem& item) {
  return {item.nhp_index,   item.vr_id,   item.tunnel_vrf_index, item.tunnel_id,
          item.tunnel_type, item.af_type, item.gwip[15]};
}

FibDbNhpVxlanItem fullItem(const Key& key) {
  FibDbNhpVxlanItem item = itemOf(key);
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

constexpr uint32_t kAny = FIB_DB_NO_PROPERTY;

struct Vxlan {
  using Item = FibDbNhpVxlanItem;
  static constexpr uint32_t kMissing = 60;

  static Key anyKey(std::mt19937& random) {
    const auto byte = [&](uint32_t bound) { return static_cast<uint8_t>(draw(random, bound)); };
    return {draw(random, 4), draw(random, 2), draw(random, 2), draw(random, 2), byte(2), byte(2), byte(3)};
  }
  static Item itemOf(const Key& key) { return test::itemOf(key); }
  static Key keyOf(const Item& item) { return test::keyOf(item); }
  static void scatter(Item& item, std::mt19937& random) {
    item = fullItem(keyOf(item));
    item.vn_id = draw(random, 3);
    item.app_version = draw(random, 100);
    item.status_high_prio = static_cast<uint8_t>(draw(random, 100));
  }
  static Item applied(const Item& item, Item stored) {
    stored.status_high_prio = item.status_high_prio;
    return stored;
  }
  static auto fieldsOf(const Item& item) { return std::make_tuple(lightFieldsOf(item), heavyFieldsOf(item)); }
  static auto bulkFieldsOf(const Item& item) { return lightFieldsOf(item); }

  static constexpr auto write = FIB_DB_WriteNhpVxlan;
  static constexpr auto read = FIB_DB_ReadNhpVxlan;
  static constexpr auto remove = FIB_DB_RemoveNhpVxlan;
  static constexpr auto removeByIndex = FIB_DB_RemoveNhpVxlanByNhpIndex;
  static constexpr auto update = FIB_DB_UpdateNhpVxlanContext;
  static constexpr auto readByIndex = FIB_DB_ReadNhpVxlanByNhpIndex;
  static constexpr auto next = FIB_DB_GetNextNhpVxlanItem;
  static constexpr auto release = FIB_DB_ReleaseNhpVxlanIterator;

  static bool sameIndex(const Item& record, const Item& item) { return record.nhp_index == item.nhp_index; }
  static std::vector<Index<Key, Item>> indexes() {
    return {{[](const Item&, const Item&) { return true; },
             [](const Item&) { return walk<Vxlan>(FIB_DB_CreateNhpVxlanIterator(kAny)); }},
            {[](const Item& record, const Item&) { return record.vr_id == 1; },
             [](const Item&) { return walk<Vxlan>(FIB_DB_CreateNhpVxlanIterator(1)); }},
            {sameIndex,
             [](const Item& i) { return walk<Vxlan>(FIB_DB_CreateNhpVxlanIteratorByNhpIndex(i.nhp_index, kAny)); },
             [](const Item& i, uint32_t* count) { return FIB_DB_CountNhpVxlanByNhpIndex(i.nhp_index, count); },
             [](const Item& i, uint32_t bufLen, Item* items, uint32_t* filled) {
               return FIB_DB_ReadNhpVxlanByNhpIndex(i.nhp_index, bufLen, items, filled);
             }},
            {[](const Item& record, const Item& item) { return sameIndex(record, item) && record.vr_id == 0; },
             [](const Item& i) { return walk<Vxlan>(FIB_DB_CreateNhpVxlanIteratorByNhpIndex(i.nhp_index, 0)); }},
            {[](const Item& a, const Item& b) {
               return a.vr_id == b.vr_id && a.tunnel_vrf_index == b.tunnel_vrf_index && a.tunnel_id == b.tunnel_id &&
                      a.tunnel_type == b.tunnel_type;
             },
             [](const Item& i) {
               return walk<Vxlan>(FIB_DB_CreateNhpVxlanIteratorByTunnelKey(i.vr_id, i.tunnel_vrf_index, i.tunnel_id,
                                                                           i.tunnel_type, kAny));
             }},
            {[](const Item& a, const Item& b) { return a.vr_id == b.vr_id && a.vn_id == b.vn_id; },
             [](const Item& i) { return walk<Vxlan>(FIB_DB_CreateNhpVxlanIteratorByVniKey(i.vr_id, i.vn_id, kAny)); }}};
  }
};

class NhpVxlanTest : public EngineTest {};

TEST_F(NhpVxlanTest, Lives_its_life) {
  const Key key{1, 2, 3, 4, 5, 6, 7};
  FibDbNhpVxlanItem item = fullItem(key);
  FibDbNhpVxlanItem read = item;
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&read), 60u);
  EXPECT_EQ(FIB_DB_WriteNhpVxlan(&item), 0u);
  read = itemOf(key);
  EXPECT_EQ(FIB_DB_ReadNhpVxlan(&read), 0u);
  EXPECT_TRUE(same(read, item));

  FibDbNhpVxlanItem change = itemOf(key);
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
  FibDbNhpVxlanItem slot{};
  std::memset(static_cast<void*>(&slot), 0xA5, sizeof slot);
  expectBulkReadsFillWhatThereIsRoomFor<Vxlan>(
      [](uint32_t index, uint32_t i) {
        return fullItem({index, 0, 0, i, 0, 0, static_cast<uint8_t>(i)});
      },
      [&](const FibDbNhpVxlanItem& item) {
        return lightFieldsOf(item) == lightFieldsOf(fullItem(keyOf(item))) &&
               heavyFieldsOf(item) == heavyFieldsOf(slot);
      });
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

TEST_F(NhpVxlanTest, Counts_reads_and_iterators_agree_with_a_model) { expectAgreementWithAModel<Vxlan>(); }

TEST_F(NhpVxlanTest, Every_index_finds_its_own_fields_in_their_order) {
  const Key first{10, 20, 30, 40, 50, 60, 70};
  const Key second{11, 21, 31, 41, 51, 61, 71};
  for (const Key& key : {first, second}) {
    FibDbNhpVxlanItem item = itemOf(key);
    item.vn_id = key.index + 70;
    ASSERT_EQ(FIB_DB_WriteNhpVxlan(&item), 0u);
  }
  EXPECT_THAT(walk<Vxlan>(FIB_DB_CreateNhpVxlanIteratorByNhpIndex(11, kAny)), ElementsAre(second));
  EXPECT_THAT(walk<Vxlan>(FIB_DB_CreateNhpVxlanIteratorByTunnelKey(21, 31, 41, 51, kAny)), ElementsAre(second));
  EXPECT_THAT(walk<Vxlan>(FIB_DB_CreateNhpVxlanIteratorByTunnelKey(31, 21, 41, 51, kAny)), IsEmpty());
  EXPECT_THAT(walk<Vxlan>(FIB_DB_CreateNhpVxlanIteratorByVniKey(21, 81, kAny)), ElementsAre(second));
  EXPECT_THAT(walk<Vxlan>(FIB_DB_CreateNhpVxlanIteratorByVniKey(81, 21, kAny)), IsEmpty());

  const FibDbKeyDesc byVni{.indexId = FIB_DB_NHP_VXLAN_BY_VNI, .rsv1 = 0, .rsv2 = 0};
  const uint32_t vni[] = {21, 81};
  EXPECT_THAT(walk<Vxlan>(FIB_DB_CreateNhpVxlanIteratorByKey(&byVni, vni, kAny)), ElementsAre(second));
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
