// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/nhp_ext_test.cc: next-hop extensions, over the object database and through the table service.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>

#include "platform/objdb.h"
#include "tests/end_to_end/engine_fixture.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The four words and the byte, in few enough values that records share every part of them.
using Key = std::array<uint32_t, 5>;

FibDbNhpExtItem itemOf(const Key& key) {
  return {.keyWords = {key[0], key[1], key[2], key[3]}, .keyByte = static_cast<uint8_t>(key[4])};
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

class NhpExtTest : public EngineTest {
 protected:
  using Model = std::map<Key, FibDbNhpExtItem>;

  // By tunnel: the service's iterators.
  static std::vector<Key> walk(void* iterator) {
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
  static std::vector<Key> walk(FibDbIterator* iterator) {
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

  // The keys of the model that a condition holds for, in order.
  template <class Condition>
  static std::vector<Key> keysOf(const Model& model, Condition holds) {
    std::vector<Key> keys;
    for (const auto& [key, item] : model) {
      if (holds(key)) keys.push_back(key);
    }
    return keys;
  }
};

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
  constexpr uint32_t kRecords = 3;
  constexpr uint32_t kSize = sizeof(FibDbNhpExtItem);
  for (uint32_t i = 0; i < kRecords; ++i) {
    for (const uint32_t iid : {7u, 8u}) {
      const FibDbNhpExtItem item = fullItem({iid, i, 2, 30 + iid, 4});
      ASSERT_EQ(FIB_DB_WriteNhpExt(&item), 0u);
    }
  }
  const auto bySdwanKey = [](uint32_t bufLen, FibDbNhpExtItem* items, uint32_t* filled) {
    return FIB_DB_ReadNhpExtBySdwanKey(37, 4, bufLen, items, filled);
  };
  const auto byIidIndex = [](uint32_t bufLen, FibDbNhpExtItem* items, uint32_t* filled) {
    return FIB_DB_ReadNhpExtByIidIndex(7, bufLen, items, filled);
  };
  uint32_t (*const reads[])(uint32_t, FibDbNhpExtItem*, uint32_t*) = {byIidIndex, bySdwanKey};
  for (const auto read : reads) {
    // Every size from nothing to one item more than there are, byte by byte around the items' ends and the row's.
    for (uint32_t bufLen = 0; bufLen <= (kRecords + 1) * kSize + 1; ++bufLen) {
      if (bufLen % kSize > 1 && bufLen % kSize < sizeof(FibDbNhpExtRow) - 1) continue;
      std::vector<uint8_t> bytes((kRecords + 2) * kSize, 0xA5);
      auto* const items = reinterpret_cast<FibDbNhpExtItem*>(bytes.data());
      uint32_t filled = 77;
      ASSERT_EQ(read(bufLen, items, &filled), 0u) << bufLen;
      ASSERT_EQ(filled, std::min(bufLen / kSize, kRecords)) << bufLen;
      std::vector<Key> keys;
      for (uint32_t i = 0; i < filled; ++i) {
        EXPECT_TRUE(fieldsOf(items[i]) == fieldsOf(fullItem({7, items[i].keyWords[1], 2, 37, 4})));
        keys.push_back(keyOf(items[i]));
      }
      std::ranges::sort(keys);
      EXPECT_EQ(std::ranges::adjacent_find(keys), keys.end()) << "each record once";
      EXPECT_TRUE(std::all_of(bytes.begin() + filled * kSize, bytes.end(), [](uint8_t byte) { return byte == 0xA5; }));
    }
  }
  uint32_t filled = 77;
  FibDbNhpExtItem item{};
  EXPECT_EQ(FIB_DB_ReadNhpExtByIidIndex(9, sizeof item, &item, &filled), 0u) << "no record is no failure";
  EXPECT_EQ(filled, 0u);
}

TEST_F(NhpExtTest, Every_index_finds_its_own_words) {
  for (uint32_t i = 1; i <= 2; ++i) {
    const FibDbNhpExtItem item = fullItem({10 * i, 20 * i, 30 * i, 40 * i, 50 * i});
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

TEST_F(NhpExtTest, Counts_reads_and_iterators_agree_with_a_model) {
  std::mt19937 random(seedOfToday());
  const auto below = [&](uint32_t bound) { return static_cast<uint32_t>(random() % bound); };
  Model model;
  for (int round = 0; round < 3000; ++round) {
    const Key key{below(5), below(2), below(2), below(3), below(2)};
    FibDbNhpExtItem item = itemOf(key);
    switch (below(8)) {
      case 0:
      case 1:
      case 2:
        item = fullItem(key);
        item.extWord2 = below(1000);
        ASSERT_EQ(FIB_DB_WriteNhpExt(&item), 0u);
        model[key] = item;
        break;
      case 3:
        ASSERT_EQ(FIB_DB_RemoveNhpExt(&item), model.erase(key) == 1 ? 0u : 15005u);
        logged.clear();  // a missing record is said
        break;
      case 4:
        item.time_stamp_svc = below(1000);
        ASSERT_EQ(FIB_DB_UpdateNhpExtContext(&item), model.contains(key) ? 0u : 15005u);
        logged.clear();
        if (model.contains(key)) {
          FibDbNhpExtItem& stored = model[key];
          stored.status_high_prio = stored.status_normal_prio = 0;
          stored.errcode_high_prio = stored.errcode_normal_prio = 0;
          std::memset(stored.svc_ctx_high_prio, 0, sizeof stored.svc_ctx_high_prio);
          std::memset(stored.svc_ctx_normal_prio, 0, sizeof stored.svc_ctx_normal_prio);
          stored.time_stamp_svc = item.time_stamp_svc;
        }
        break;
      case 5: {
        const uint32_t status = FIB_DB_ReadNhpExt(&item);
        ASSERT_EQ(status, model.contains(key) ? 0u : 60u);
        if (status == 0) {
          ASSERT_TRUE(fieldsOf(item) == fieldsOf(model[key]));
        }
        break;
      }
      default: {
        if (below(20) != 0) break;
        const uint64_t gone = std::erase_if(model, [&](const auto& entry) { return entry.first[0] == key[0]; });
        ASSERT_EQ(FIB_DB_RemoveNhpExtByIidIndex(key[0]), gone > 0 ? 0u : 15005u);
        logged.clear();
      }
    }
    const auto ofIid = keysOf(model, [&](const Key& other) { return other[0] == key[0]; });
    const auto ofSdwan = keysOf(model, [&](const Key& other) { return other[3] == key[3] && other[4] == key[4]; });
    uint32_t count = 77;
    ASSERT_EQ(FIB_DB_CountNhpExtByIidIndex(key[0], &count), 0u);
    ASSERT_EQ(count, ofIid.size());
    ASSERT_EQ(FIB_DB_CountNhpExtBySdwanKey(key[3], static_cast<uint8_t>(key[4]), &count), 0u);
    ASSERT_EQ(count, ofSdwan.size());
    if (round % 25 != 0) continue;
    ASSERT_EQ(walk(FIB_DB_CreateNhpExtIteratorByIidIndex(key[0], -1)), ofIid);
    ASSERT_EQ(walk(FIB_DB_CreateNhpExtIterByTnlIdAndType(key[3], static_cast<uint8_t>(key[4]), FIB_DB_NO_PROPERTY)),
              ofSdwan);
    ASSERT_EQ(
        walk(FIB_DB_CreateNhpExtIteratorByTunnelId(key[1], key[2], key[3], static_cast<uint8_t>(key[4]),
                                                   FIB_DB_NO_PROPERTY)),
        keysOf(model, [&](const Key& other) { return std::equal(key.begin() + 1, key.end(), other.begin() + 1); }));
    std::vector<FibDbNhpExtItem> items(30);
    ASSERT_EQ(FIB_DB_ReadNhpExtByIidIndex(key[0], static_cast<uint32_t>(items.size() * sizeof items[0]), items.data(),
                                          &count),
              0u);
    items.resize(count);
    ASSERT_EQ(count, ofIid.size());
    for (const FibDbNhpExtItem& read : items) ASSERT_TRUE(fieldsOf(read) == fieldsOf(model.at(keyOf(read))));
  }
}

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
