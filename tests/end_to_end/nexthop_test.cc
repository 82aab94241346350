// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/nexthop_test.cc: next hops of the two tables that are found under many keys, against a model.
#include "tests/end_to_end/table_model.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

void putAddress(uint8_t (&address)[16], uint32_t number) { std::memcpy(address + 12, &number, sizeof number); }

uint32_t numberOf(const uint8_t (&address)[16]) {
  uint32_t number = 0;
  std::memcpy(&number, address + 12, sizeof number);
  return number;
}

// A key in few enough values that records share every part of it.
struct Key {
  uint32_t index, address, interface;

  auto operator<=>(const Key&) const = default;
};

constexpr uint32_t kAny = FIB_DB_NO_PROPERTY;

// What is the same of both tables.
template <class Table, class ItemT>
struct Either {
  using Item = ItemT;
  static constexpr uint32_t kMissing = 60;

  static Key anyKey(std::mt19937& random) { return {draw(random, 6), draw(random, 4), draw(random, 5)}; }
  static void scatter(Item& item, std::mt19937& random) {
    item.global_slotid = draw(random, 3);
    item.vr_id = draw(random, 2);
    item.flags = draw(random, 100);
  }
  static uint32_t update(const Item* item) { return Table::updateFlags(item); }
  static Item applied(const Item& item, Item stored) {
    stored.flags = item.flags;
    return stored;
  }

  // Everything that is stored.
  static auto fieldsOf(const Item& item) {
    const auto bytes = [](const uint8_t(&block)[16]) { return std::vector<uint8_t>(block, block + sizeof block); };
    return std::make_tuple(Table::keyOf(item), item.vr_id, item.vrf_index, item.flags, item.fwd_if_type,
                           item.forwardVsId, item.if_type, item.work_if_index, item.iid_flags, item.status_high_prio,
                           item.status_normal_prio, item.errcode_high_prio, item.errcode_normal_prio,
                           bytes(item.svc_ctx_high_prio), bytes(item.svc_ctx_normal_prio), item.app_source_id,
                           item.group_smooth_id, item.app_obj_id, item.app_version, item.time_stamp_app,
                           item.time_stamp_svc, item.global_slotid);
  }
  static auto bulkFieldsOf(const Item& item) { return fieldsOf(item); }

  static std::vector<Index<Key, Item>> indexes() {
    return {
        {[](const Item&, const Item&) { return true; }, [](const Item&) { return walk<Table>(Table::iterate(kAny)); }},
        {[](const Item& record, const Item&) { return record.vr_id == 1; },
         [](const Item&) { return walk<Table>(Table::iterate(1)); }},
        {[](const Item& record, const Item& item) { return Table::keyOf(record).index == Table::keyOf(item).index; },
         [](const Item& item) { return walk<Table>(Table::iterateByIndex(Table::keyOf(item).index, kAny)); },
         [](const Item& item, uint32_t* count) { return Table::countByIndex(Table::keyOf(item).index, count); },
         [](const Item& item, uint32_t bufLen, Item* items, uint32_t* filled) {
           return Table::readByIndex(Table::keyOf(item).index, bufLen, items, filled);
         }},
        {[](const Item& record, const Item& item) {
           return Table::keyOf(record).address == Table::keyOf(item).address &&
                  record.out_if_index == item.out_if_index;
         },
         nullptr,
         [](const Item& item, uint32_t* count) {
           return Table::countByHash(Table::keyOf(item).address, item.out_if_index, count);
         },
         [](const Item& item, uint32_t bufLen, Item* items, uint32_t*) {
           return Table::readByHash(Table::keyOf(item).address, item.out_if_index, bufLen, items);
         }},
        {[](const Item& record, const Item& item) { return record.out_if_index == item.out_if_index; },
         [](const Item& item) { return walk<Table>(Table::iterateByInterface(item.out_if_index, kAny)); }},
        {[](const Item& record, const Item&) { return record.global_slotid == 2 && record.vr_id == 0; },
         [](const Item&) { return walk<Table>(Table::iterateBySlot(2, 0)); }}};
  }
};

struct Std : Either<Std, FibDbNhpStdItem> {
  static constexpr const char* kName = "nhp_std";

  static Item itemOf(const Key& key) {
    return {.nhp_index = key.index, .next_hop = key.address, .out_if_index = key.interface};
  }
  static Key keyOf(const Item& item) { return {item.nhp_index, item.next_hop, item.out_if_index}; }

  static constexpr auto write = FIB_DB_WriteNhpStd;
  static constexpr auto read = FIB_DB_ReadNhpStd;
  static constexpr auto remove = FIB_DB_RemoveNhpStd;
  static constexpr auto removeByIndex = FIB_DB_RemoveNhpStdByNhpIndex;
  static constexpr auto updateFlags = FIB_DB_UpdateNhpStdFlags;
  static constexpr auto updateContext = FIB_DB_UpdateNhpStdContext;
  static constexpr auto readByIndex = FIB_DB_ReadNhpStdByNhpIndex;
  static constexpr auto countByIndex = FIB_DB_CountNhpStdByNhpIndex;
  static constexpr auto next = FIB_DB_GetNextNhpStdEntry;
  static constexpr auto release = FIB_DB_ReleaseNhpStdIterator;
  static constexpr auto iterate = FIB_DB_CreateNhpStdIterator;
  static constexpr auto iterateByIndex = FIB_DB_CreateNhpStdIteratorByNhpIndex;
  static constexpr auto iterateByInterface = FIB_DB_CreateNhpStdIteratorByIfIndex;
  static constexpr auto iterateBySlot = FIB_DB_CreateNhpStdIteratorByGlobalSlotId;

  static uint32_t countByHash(uint32_t address, uint32_t interface, uint32_t* count) {
    return FIB_DB_CountNhpStdByLocalhash(address, interface, count);
  }
  static uint32_t readByHash(uint32_t address, uint32_t interface, uint32_t bufLen, Item* buf) {
    return FIB_DB_ReadNhpStdByLocalhash(address, interface, bufLen, buf);
  }
};

struct Lla : Either<Lla, FibDbNhpLlaItem> {
  static constexpr const char* kName = "nhp_lla";

  static Item itemOf(const Key& key) {
    Item item{.iid_index = key.index, .out_if_index = key.interface};
    putAddress(item.next_hop, key.address);
    return item;
  }
  static Key keyOf(const Item& item) { return {item.iid_index, numberOf(item.next_hop), item.out_if_index}; }

  static constexpr auto write = FIB_DB_WriteNhpLla;
  static constexpr auto read = FIB_DB_ReadNhpLla;
  static constexpr auto remove = FIB_DB_RemoveNhpLLA;
  static constexpr auto removeByIndex = FIB_DB_RemoveNhpLlaByNhpIndex;
  static constexpr auto updateFlags = FIB_DB_UpdateNhpLlaFlag;
  static constexpr auto updateContext = FIB_DB_UpdateNhpLlaContext;
  static constexpr auto readByIndex = FIB_DB_ReadNhpLlaByNhpIndex;
  static constexpr auto countByIndex = FIB_DB_CountNhpLlaByNhpIndex;
  static constexpr auto next = FIB_DB_GetNextNhpLlaEntry;
  static constexpr auto release = FIB_DB_ReleaseNhpLlaIterator;
  static constexpr auto iterate = FIB_DB_CreateNhpLlaIterator;
  static constexpr auto iterateByIndex = FIB_DB_CreateNhpLlaIteratorByNhpIndex;
  static constexpr auto iterateByInterface = FIB_DB_CreateNhpLlaIteratorByIfIndex;
  static constexpr auto iterateBySlot = FIB_DB_CreateNhpLlaIteratorByGlobalSlotId;

  static uint32_t countByHash(uint32_t address, uint32_t interface, uint32_t* count) {
    uint8_t bytes[16] = {};
    putAddress(bytes, address);
    uint32_t plain = 0;
    EXPECT_EQ(FIB_DB_GetNhpLlaCountByLocalhash(bytes, 7, interface, &plain), 0u);
    const uint32_t status = FIB_DB_CountNhpLlaByLocalhash(bytes, 7, interface, count);
    EXPECT_EQ(*count, plain);
    return status;
  }
  static uint32_t readByHash(uint32_t address, uint32_t interface, uint32_t bufLen, Item* buf) {
    uint8_t bytes[16] = {};
    putAddress(bytes, address);
    return FIB_DB_ReadNhpLlaByLocalhash(bytes, 7, interface, bufLen, buf);
  }
};

template <class Table>
class NextHopTest : public EngineTest {
 protected:
  using Item = typename Table::Item;

  static Item fullItem(const Key& key) {
    Item item = Table::itemOf(key);
    item.vr_id = 1;
    item.vrf_index = 2;
    item.flags = 3;
    item.fwd_if_type = 0x0405;
    item.forwardVsId = 6;
    item.if_type = 7;
    item.work_if_index = 8;
    item.iid_flags = 9;
    item.status_high_prio = 10;
    item.status_normal_prio = 11;
    item.errcode_high_prio = 12;
    item.errcode_normal_prio = 13;
    std::memset(item.svc_ctx_high_prio, 14, sizeof item.svc_ctx_high_prio);
    std::memset(item.svc_ctx_normal_prio, 15, sizeof item.svc_ctx_normal_prio);
    item.app_source_id = 16;
    item.group_smooth_id = 17;
    item.app_obj_id = 1ull << 40;
    item.app_version = 18;
    item.time_stamp_app = 2ull << 40;
    item.time_stamp_svc = 3ull << 40;
    item.global_slotid = 19;
    return item;
  }
};

using Tables = testing::Types<Std, Lla>;
TYPED_TEST_SUITE(NextHopTest, Tables, TableNames);

TYPED_TEST(NextHopTest, Lives_its_life) {
  using Item = typename TypeParam::Item;
  const Key key{42, 0x0A000001, 3};
  Item item = this->fullItem(key);
  Item read = TypeParam::itemOf(key);
  EXPECT_EQ(TypeParam::read(&read), 60u);
  EXPECT_EQ(TypeParam::write(&item), 0u);
  EXPECT_EQ(TypeParam::read(&read), 0u);
  EXPECT_TRUE(TypeParam::fieldsOf(read) == TypeParam::fieldsOf(item));

  Item change = TypeParam::itemOf(key);
  change.flags = 33;
  change.status_high_prio = 34;
  std::memset(change.svc_ctx_normal_prio, 35, sizeof change.svc_ctx_normal_prio);
  change.time_stamp_svc = 36;
  change.vr_id = 37;
  EXPECT_EQ(TypeParam::updateFlags(&change), 0u);
  item.flags = 33;
  EXPECT_EQ(TypeParam::read(&read), 0u);
  EXPECT_TRUE(TypeParam::fieldsOf(read) == TypeParam::fieldsOf(item));

  EXPECT_EQ(TypeParam::updateContext(&change), 0u);
  EXPECT_EQ(TypeParam::read(&read), 0u);
  EXPECT_EQ(read.status_high_prio, 34);
  EXPECT_EQ(read.status_normal_prio, 0);
  EXPECT_EQ(read.svc_ctx_high_prio[15], 0);
  EXPECT_EQ(read.svc_ctx_normal_prio[15], 35);
  EXPECT_EQ(read.time_stamp_svc, 36u);
  EXPECT_EQ(read.vr_id, 1u);
  EXPECT_EQ(read.forwardVsId, (std::is_same_v<TypeParam, Std> ? 0 : 6));

  EXPECT_EQ(TypeParam::remove(&item), 0u);
  EXPECT_EQ(TypeParam::read(&read), 60u);
}

TYPED_TEST(NextHopTest, Bulk_reads_fill_what_there_is_room_for) {
  using Item = typename TypeParam::Item;
  expectBulkReadsFillWhatThereIsRoomFor<TypeParam>(
      [this](uint32_t index, uint32_t i) {
        return this->fullItem({index, i, 5});
      },
      [](const Item& item) { return item.group_smooth_id == 17; });
}

TYPED_TEST(NextHopTest, Counts_reads_and_iterators_agree_with_a_model) { expectAgreementWithAModel<TypeParam>(); }

TYPED_TEST(NextHopTest, A_publication_is_a_success_of_a_write_that_is_counted) {
  const uint32_t stat = std::is_same_v<TypeParam, Std> ? FIB_DB_TABLE_NHP_STD : FIB_DB_TABLE_NHP_LLA;
  const uint32_t before = g_fibDbErrStat[stat][FIB_DB_OPER_PUB];
  const uint32_t table = fibdb_engine_find_table(TypeParam::kName);
  ASSERT_EQ(fibdb_engine_fault(table, DB_RET_PUB_STATUS, 1), 0u);
  const auto item = TypeParam::itemOf({1, 2, 3});
  EXPECT_EQ(TypeParam::write(&item), 0u);
  EXPECT_EQ(g_fibDbErrStat[stat][FIB_DB_OPER_PUB], before + 1);

  // Required: the partial update of nhp_lla hands the code on and counts nothing.
  ASSERT_EQ(fibdb_engine_fault(table, DB_RET_PUB_STATUS, 1), 0u);
  EXPECT_EQ(TypeParam::updateFlags(&item), (std::is_same_v<TypeParam, Std> ? 0u : 13044u));
  EXPECT_EQ(g_fibDbErrStat[stat][FIB_DB_OPER_PUB], before + (std::is_same_v<TypeParam, Std> ? 2 : 1));
}

// What only the standard next hops have.
class StdTest : public NextHopTest<Std> {};

TEST_F(StdTest, Every_index_finds_its_own_field) {
  // Two records that differ in everything that an index looks at.
  for (uint32_t i = 1; i <= 2; ++i) {
    FibDbNhpStdItem item = Std::itemOf({10 * i, 20 * i, 30 * i});
    item.if_type = 40 * i;
    item.work_if_index = 50 * i;
    item.global_slotid = 60 * i;
    item.attr_flag = 70 * i;
    ASSERT_EQ(FIB_DB_WriteNhpStd(&item), 0u);
  }
  const Key second{20, 40, 60};
  EXPECT_THAT(walk<Std>(FIB_DB_CreateNhpStdIteratorByNhpIndex(20, kAny)), ElementsAre(second));
  EXPECT_THAT(walk<Std>(FIB_DB_CreateNhpStdIteratorByIpIfIndex(40, 60, kAny)), ElementsAre(second));
  EXPECT_THAT(walk<Std>(FIB_DB_CreateNhpStdIteratorByIpIfIndex(60, 40, kAny)), IsEmpty());
  EXPECT_THAT(walk<Std>(FIB_DB_CreateNhpStdIteratorByIfIndex(60, kAny)), ElementsAre(second));
  EXPECT_THAT(walk<Std>(FIB_DB_CreateNhpStdIteratorByWorkIfIndex(100, kAny)), ElementsAre(second));
  EXPECT_THAT(walk<Std>(FIB_DB_CreateNhpStdIteratorByGlobalSlotId(120, kAny)), ElementsAre(second));
  const FibDbKeyDesc byType{.indexId = FIB_DB_NHP_STD_BY_IF_TYPE, .rsv1 = 0, .rsv2 = 0};
  const uint32_t type = 80;
  EXPECT_THAT(walk<Std>(FIB_DB_CreateNhpStdIteratorByKey(&byType, &type, kAny)), ElementsAre(second));

  FibDbNhpStdItem item{};
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_ReadNhpStdByIfIndex(60, sizeof item, &item), 0u);
  EXPECT_EQ(Std::keyOf(item), second);
  EXPECT_EQ(item.attr_flag, 140u);
  EXPECT_EQ(FIB_DB_CountNhpStdByIfIndex(60, &count), 0u);
  EXPECT_EQ(count, 1u);
  item = {};
  EXPECT_EQ(FIB_DB_ReadNhpStdByIfType(80, sizeof item, &item), 0u);
  EXPECT_EQ(Std::keyOf(item), second);
  EXPECT_EQ(FIB_DB_CountNhpStdByIfType(81, &count), 0u);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(FIB_DB_CountNhpStdByIfType(80, &count), 0u);
  EXPECT_EQ(count, 1u);
}

TEST_F(StdTest, An_updated_record_is_found_under_its_new_keys_only) {
  FibDbNhpStdItem item = Std::itemOf({1, 2, 3});
  item.work_if_index = 4;
  ASSERT_EQ(FIB_DB_WriteNhpStd(&item), 0u);
  const FibDbFieldSetter setter = [](uint64_t obj, const void*) { return db_set_nhp_std_work_if_index(obj, 5); };
  ASSERT_EQ(FIB_DB_UpdateNhpStdFields(&item, setter), 0u);
  EXPECT_THAT(walk<Std>(FIB_DB_CreateNhpStdIteratorByWorkIfIndex(4, kAny)), IsEmpty());
  EXPECT_THAT(walk<Std>(FIB_DB_CreateNhpStdIteratorByWorkIfIndex(5, kAny)), ElementsAre(Key{1, 2, 3}));
}

class LlaTest : public NextHopTest<Lla> {};

TEST_F(LlaTest, Begun_and_finished_agree_when_nothing_is_inside_the_database) {
  const FibDbNhpLlaCnt before = g_fibDbNhpLlaCnt;
  const FibDbNhpLlaItem item = Lla::itemOf({1, 2, 3});
  ASSERT_EQ(FIB_DB_WriteNhpLla(&item), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountNhpLlaByLocalhash(item.next_hop, 0, 3, &count), 0u);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesBegun, before.updatesBegun + 1);
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesFinished, before.updatesFinished + 1);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsBegun, before.lookupsBegun + 1);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsFinished, before.lookupsFinished + 1);
}

}  // namespace
}  // namespace fibdb::test
