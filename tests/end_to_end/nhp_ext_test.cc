// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/nhp_ext_test.cc: next-hop extensions, over the object database and through the table service.
#include "platform/objdb.h"
#include "tests/end_to_end/table_model.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The four words and the byte, in few enough values that records share every part of them.
struct Key {
  uint32_t index, second, third, tunnel;
  uint8_t type;

  auto operator<=>(const Key&) const = default;
};

FibDbNhpExtItem itemOf(const Key& key) {
  return {.keyWords = {key.index, key.second, key.third, key.tunnel}, .keyByte = key.type};
}

Key keyOf(const FibDbNhpExtItem& item) {
  return {item.keyWords[0], item.keyWords[1], item.keyWords[2], item.keyWords[3], item.keyByte};
}

FibDbNhpExtItem fullItem(const Key& key) {
  FibDbNhpExtItem item = itemOf(key);
  item.reserved = 0xEE;
  item.extByte1 = 1;
  item.extByte2 = 2;
  std::memset(item.addr1, 3, sizeof item.addr1);
  std::memset(item.addr2, 4, sizeof item.addr2);
  item.extWord1 = 5;
  std::memset(item.extBytes, 6, sizeof item.extBytes);
  item.extWord2 = 7;
  item.status_high_prio = 8;
  item.status_normal_prio = 9;
  item.errcode_high_prio = 10;
  item.errcode_normal_prio = 11;
  std::memset(item.svc_ctx_high_prio, 12, sizeof item.svc_ctx_high_prio);
  std::memset(item.svc_ctx_normal_prio, 13, sizeof item.svc_ctx_normal_prio);
  item.extWord3 = 14;
  item.extWord4 = 15;
  item.extDword1 = 16ull << 40;
  item.extWord5 = 17;
  item.extDword2 = 18ull << 40;
  item.time_stamp_svc = 19ull << 40;
  return item;
}

// Everything that is stored.
auto fieldsOf(const FibDbNhpExtItem& item) {
  const auto bytes = [](const auto& block) { return std::vector<uint8_t>(std::begin(block), std::end(block)); };
  return std::make_tuple(keyOf(item), item.extByte1, item.extByte2, bytes(item.addr1), bytes(item.addr2), item.extWord1,
                         bytes(item.extBytes), item.extWord2, item.status_high_prio, item.status_normal_prio,
                         item.errcode_high_prio, item.errcode_normal_prio, bytes(item.svc_ctx_high_prio),
                         bytes(item.svc_ctx_normal_prio), item.extWord3, item.extWord4, item.extDword1, item.extWord5,
                         item.extDword2, item.time_stamp_svc);
}

// By tunnel: the service's iterators.
std::vector<Key> walk(void* iterator) {
  std::vector<Key> keys;
  EXPECT_NE(iterator, nullptr);
  FibDbNhpExtItem item{};
  uint32_t status = 0;
  while ((status = FIB_DB_GetNextNhpExtEntry(iterator, &item)) == 0) keys.push_back(keyOf(item));
  EXPECT_EQ(status, uint32_t{DB_ERR_ITER_END});
  EXPECT_EQ(FIB_DB_ReleaseNhpExtIterator(iterator), 0u);
  std::ranges::sort(keys);
  return keys;
}

// By IID index: an iterator of the object database, stepped as the bulk read does.
std::vector<Key> walk(FibDbIterator* iterator) {
  std::vector<Key> keys;
  EXPECT_NE(iterator, nullptr);
  FibDbNhpExtRow row{};
  uint32_t status = 0;
  while ((status = FIB_DB_ReadNhpExtByKIterNext(iterator->obj, iterator->rootIter, &row)) == 0) {
    FibDbNhpExtItem item{};
    FIB_DB_GetNhpExtItem(&item, &row);
    keys.push_back(keyOf(item));
  }
  EXPECT_EQ(status, uint32_t{DB_ERR_ITER_END});
  EXPECT_EQ(db_release_nhp_ext_object(iterator->obj), 0u);
  FIB_DB_Free(iterator);
  std::ranges::sort(keys);
  return keys;
}

struct Ext {
  using Item = FibDbNhpExtItem;
  static constexpr uint32_t kMissing = 60;

  static Key anyKey(std::mt19937& random) {
    return {draw(random, 5), draw(random, 2), draw(random, 2), draw(random, 3), static_cast<uint8_t>(draw(random, 2))};
  }
  static Item itemOf(const Key& key) { return test::itemOf(key); }
  static Key keyOf(const Item& item) { return test::keyOf(item); }
  static void scatter(Item& item, std::mt19937& random) {
    item = fullItem(keyOf(item));
    item.extWord2 = draw(random, 1000);
    item.status_normal_prio = static_cast<uint8_t>(draw(random, 100));
    item.time_stamp_svc = draw(random, 1000);
  }
  static Item applied(const Item& item, Item stored) {
    stored.status_normal_prio = item.status_normal_prio;
    stored.time_stamp_svc = item.time_stamp_svc;
    return stored;
  }
  static auto fieldsOf(const Item& item) { return test::fieldsOf(item); }
  static auto bulkFieldsOf(const Item& item) { return test::fieldsOf(item); }

  static constexpr auto write = FIB_DB_WriteNhpExt;
  static constexpr auto read = FIB_DB_ReadNhpExt;
  static constexpr auto remove = FIB_DB_RemoveNhpExt;
  static constexpr auto removeByIndex = FIB_DB_RemoveNhpExtByIidIndex;
  static constexpr auto update = FIB_DB_UpdateNhpExtContext;
  static constexpr auto readByIndex = FIB_DB_ReadNhpExtByIidIndex;
  static uint32_t readBySdwanKey(uint32_t index, uint32_t bufLen, Item* items, uint32_t* filled) {
    return FIB_DB_ReadNhpExtBySdwanKey(30 + index, 4, bufLen, items, filled);
  }

  static std::vector<Index<Key, Item>> indexes() {
    return {
        {[](const Item& a, const Item& b) { return a.keyWords[0] == b.keyWords[0]; },
         [](const Item& i) { return walk(FIB_DB_CreateNhpExtIteratorByIidIndex(i.keyWords[0], -1)); },
         [](const Item& i, uint32_t* count) { return FIB_DB_CountNhpExtByIidIndex(i.keyWords[0], count); },
         [](const Item& i, uint32_t bufLen, Item* items, uint32_t* filled) {
           return FIB_DB_ReadNhpExtByIidIndex(i.keyWords[0], bufLen, items, filled);
         }},
        {[](const Item& a, const Item& b) { return a.keyWords[3] == b.keyWords[3] && a.keyByte == b.keyByte; },
         [](const Item& i) {
           return walk(FIB_DB_CreateNhpExtIterByTnlIdAndType(i.keyWords[3], i.keyByte, FIB_DB_NO_PROPERTY));
         },
         [](const Item& i, uint32_t* count) { return FIB_DB_CountNhpExtBySdwanKey(i.keyWords[3], i.keyByte, count); },
         [](const Item& i, uint32_t bufLen, Item* items, uint32_t* filled) {
           return FIB_DB_ReadNhpExtBySdwanKey(i.keyWords[3], i.keyByte, bufLen, items, filled);
         }},
        {[](const Item& a, const Item& b) {
           return std::equal(a.keyWords + 1, a.keyWords + 4, b.keyWords + 1) && a.keyByte == b.keyByte;
         },
         [](const Item& i) {
           return walk(FIB_DB_CreateNhpExtIteratorByTunnelId(i.keyWords[1], i.keyWords[2], i.keyWords[3], i.keyByte,
                                                             FIB_DB_NO_PROPERTY));
         }}};
  }
};

class NhpExtTest : public EngineTest {};

TEST_F(NhpExtTest, Lives_its_life) {
  const Key key{1, 2, 3, 4, 5};
  FibDbNhpExtItem item = fullItem(key);
  FibDbNhpExtItem read = itemOf(key);
  EXPECT_EQ(FIB_DB_ReadNhpExt(&read), 60u);
  EXPECT_EQ(FIB_DB_WriteNhpExt(&item), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpExt(&read), 0u);
  EXPECT_TRUE(fieldsOf(read) == fieldsOf(item));
  EXPECT_EQ(read.reserved, 0);

  FibDbNhpExtItem change = itemOf(key);
  change.status_normal_prio = 90;
  std::memset(change.svc_ctx_high_prio, 91, sizeof change.svc_ctx_high_prio);
  change.time_stamp_svc = 92;
  change.extWord1 = 93;
  EXPECT_EQ(FIB_DB_UpdateNhpExtContext(&change), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpExt(&read), 0u);
  EXPECT_EQ(read.status_normal_prio, 90);
  EXPECT_EQ(read.status_high_prio, 0);
  EXPECT_EQ(read.svc_ctx_high_prio[15], 91);
  EXPECT_EQ(read.svc_ctx_normal_prio[0], 0);
  EXPECT_EQ(read.time_stamp_svc, 92u);
  EXPECT_EQ(read.extWord1, 5u);
  EXPECT_EQ(read.extDword1, 16ull << 40);

  item.extWord2 = 70;
  EXPECT_EQ(FIB_DB_WriteNhpExt(&item), 0u) << "replaces";
  EXPECT_EQ(FIB_DB_ReadNhpExt(&read), 0u);
  EXPECT_TRUE(fieldsOf(read) == fieldsOf(item));

  EXPECT_EQ(FIB_DB_RemoveNhpExt(&item), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpExt(&read), 60u);
}

TEST_F(NhpExtTest, What_is_missing_is_15005_to_updates_and_removals_which_say_so) {
  const FibDbNhpExtItem item = itemOf({1, 2, 3, 4, 5});
  EXPECT_EQ(FIB_DB_UpdateNhpExtContext(&item), 15005u);
  EXPECT_EQ(FIB_DB_RemoveNhpExt(&item), 15005u);
  EXPECT_EQ(FIB_DB_RemoveNhpExtByIidIndex(1), 15005u);
  EXPECT_THAT(std::exchange(logged, {}),
              ElementsAre("UPDATE fib nhp ext db fail. ret = 15005", "REMOVE fib nhp ext db fail. ret = 15005",
                          "REMOVE fib nhp ext db fail. ret = 15005"));
}

TEST_F(NhpExtTest, Bulk_reads_fill_what_there_is_room_for) {
  const auto full = [](uint32_t index, uint32_t i) { return fullItem({index, i, 2, 30 + index, 4}); };
  const auto whole = [](const FibDbNhpExtItem& item) { return fieldsOf(item) == fieldsOf(fullItem(keyOf(item))); };
  expectBulkReadsFillWhatThereIsRoomFor<Ext>(full, whole);
  expectBulkReadsFillWhatThereIsRoomFor<Ext, Ext::readBySdwanKey>(full, whole);
}

TEST_F(NhpExtTest, Every_index_finds_its_own_words) {
  for (uint32_t i = 1; i <= 2; ++i) {
    const FibDbNhpExtItem item = fullItem({10 * i, 20 * i, 30 * i, 40 * i, static_cast<uint8_t>(50 * i)});
    ASSERT_EQ(FIB_DB_WriteNhpExt(&item), 0u);
  }
  const Key second{20, 40, 60, 80, 100};
  EXPECT_THAT(walk(FIB_DB_CreateNhpExtIteratorByIidIndex(20, -1)), ElementsAre(second));
  EXPECT_THAT(walk(FIB_DB_CreateNhpExtIteratorByTunnelId(40, 60, 80, 100, FIB_DB_NO_PROPERTY)), ElementsAre(second));
  EXPECT_THAT(walk(FIB_DB_CreateNhpExtIteratorByTunnelId(40, 80, 60, 100, FIB_DB_NO_PROPERTY)), IsEmpty());
  EXPECT_THAT(walk(FIB_DB_CreateNhpExtIterByTnlIdAndType(80, 100, FIB_DB_NO_PROPERTY)), ElementsAre(second));
  EXPECT_THAT(walk(FIB_DB_CreateNhpExtIterByTnlIdAndType(100, 80, FIB_DB_NO_PROPERTY)), IsEmpty());
}

TEST_F(NhpExtTest, A_property_is_refused_by_the_database_and_ignored_by_the_service) {
  const FibDbNhpExtItem item = itemOf({1, 2, 3, 4, 5});
  ASSERT_EQ(FIB_DB_WriteNhpExt(&item), 0u);
  EXPECT_EQ(FIB_DB_CreateNhpExtIteratorByIidIndex(1, 9), nullptr);
  EXPECT_THAT(std::exchange(logged, {}), ElementsAre("CreateNhpExtIteratorByIidIndex setProperty failed, ret: " +
                                                     std::to_string(uint32_t{DB_ERR_BAD_PROPERTY})));
  EXPECT_THAT(walk(FIB_DB_CreateNhpExtIterByTnlIdAndType(4, 5, 9)), ElementsAre(Key{1, 2, 3, 4, 5}));
}

TEST_F(NhpExtTest, Counts_reads_and_iterators_agree_with_a_model) { expectAgreementWithAModel<Ext>(); }

TEST_F(NhpExtTest, A_publication_is_a_success_that_is_counted) {
  const uint32_t before = g_fibDbErrStat[FIB_DB_TABLE_NHP_EXT][FIB_DB_OPER_PUB];
  ASSERT_EQ(fibdb_engine_fault(fibdb_engine_find_table("nhp_ext"), DB_RET_PUB_STATUS, 1), 0u);
  const FibDbNhpExtItem item = itemOf({1, 2, 3, 4, 5});
  EXPECT_EQ(FIB_DB_WriteNhpExt(&item), 0u);
  EXPECT_EQ(g_fibDbErrStat[FIB_DB_TABLE_NHP_EXT][FIB_DB_OPER_PUB], before + 1);
  FibDbNhpExtItem read = item;
  EXPECT_EQ(FIB_DB_ReadNhpExt(&read), 0u);
}

TEST_F(NhpExtTest, Without_registration_only_the_iterators_of_the_service_are_missing) {
  fibdb_engine_reset();
  const FibDbNhpExtItem item = itemOf({1, 2, 3, 4, 5});
  EXPECT_EQ(FIB_DB_WriteNhpExt(&item), 0u);
  EXPECT_THAT(walk(FIB_DB_CreateNhpExtIteratorByIidIndex(1, -1)), ElementsAre(Key{1, 2, 3, 4, 5}));
  EXPECT_EQ(FIB_DB_CreateNhpExtIterByTnlIdAndType(4, 5, FIB_DB_NO_PROPERTY), nullptr);
}

}  // namespace
}  // namespace fibdb::test
