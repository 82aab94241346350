// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/table_model.h: a table beside its model, a map from keys to items.
//
// A table is a struct of its names: Item, kName, keyOf, and the exported functions as next, release, readByIndex,
// write and so on. Its Key is ordered, and begins with the index of the next hop.
#ifndef FIBDB_TESTS_END_TO_END_TABLE_MODEL_H
#define FIBDB_TESTS_END_TO_END_TABLE_MODEL_H

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "tests/end_to_end/engine_fixture.h"

namespace fibdb::test {

// The keys that an iterator gives, in order.
template <class Table>
auto walk(FibDbIterator* iterator) {
  typename Table::Item item{};
  std::vector<decltype(Table::keyOf(item))> keys;
  EXPECT_NE(iterator, nullptr);
  while (Table::next(iterator, &item) == 0) keys.push_back(Table::keyOf(item));
  EXPECT_EQ(Table::next(iterator, &item), 60u);
  Table::release(iterator);
  std::ranges::sort(keys);
  return keys;
}

// The keys of the model that a condition holds for, in order.
template <class Key, class Item, class Condition>
std::vector<Key> keysOf(const std::map<Key, Item>& model, Condition holds) {
  std::vector<Key> keys;
  for (const auto& [key, item] : model) {
    if (holds(item)) keys.push_back(key);
  }
  return keys;
}

// Bulk reads by next hop of three records among others, into every size from nothing to one item more than there are,
// byte by byte around the items' ends and those of their rows, which are shorter. full(index, n) is the n-th record of
// a next hop, whole(item) says that it is.
template <class Table, auto ReadByIndex = Table::readByIndex, class Full, class Whole>
void expectBulkReadsFillWhatThereIsRoomFor(Full full, Whole whole) {
  using Item = typename Table::Item;
  constexpr uint32_t kRecords = 3;
  constexpr uint32_t kSize = sizeof(Item);
  for (uint32_t i = 0; i < kRecords; ++i) {
    for (const uint32_t index : {7u, 8u}) {
      const Item item = full(index, i);
      ASSERT_EQ(Table::write(&item), 0u);
    }
  }
  for (uint32_t bufLen = 0; bufLen <= (kRecords + 1) * kSize + 1; ++bufLen) {
    if (bufLen % kSize > 1 && bufLen % kSize < kSize - 9) continue;
    std::vector<Item> items(kRecords + 2);
    std::memset(static_cast<void*>(items.data()), 0xA5, items.size() * kSize);
    uint32_t filled = 77;
    ASSERT_EQ(ReadByIndex(7, bufLen, items.data(), &filled), 0u) << bufLen;
    ASSERT_EQ(filled, std::min(bufLen / kSize, kRecords)) << bufLen;
    std::vector<decltype(Table::keyOf(items[0]))> keys;
    for (uint32_t i = 0; i < filled; ++i) {
      EXPECT_TRUE(whole(items[i])) << bufLen;
      keys.push_back(Table::keyOf(items[i]));
      EXPECT_EQ(keys[i].index, 7u);
    }
    std::ranges::sort(keys);
    EXPECT_EQ(std::ranges::adjacent_find(keys), keys.end()) << "each record once";
    const auto* const bytes = reinterpret_cast<const uint8_t*>(items.data());
    EXPECT_TRUE(
        std::all_of(bytes + filled * kSize, bytes + items.size() * kSize, [](uint8_t byte) { return byte == 0xA5; }));
  }
  uint32_t filled = 77;
  Item item{};
  EXPECT_EQ(ReadByIndex(9, sizeof item, &item, &filled), 0u) << "no record is no failure";
  EXPECT_EQ(filled, 0u);
}

inline uint32_t draw(std::mt19937& random, uint32_t bound) { return static_cast<uint32_t>(random() % bound); }

// The records that stand with an item under one key, and the functions that find them.
template <class Key, class Item>
struct Index {
  bool (*same)(const Item& record, const Item& item);
  std::vector<Key> (*keys)(const Item& item) = nullptr;  // that its iterator gives
  uint32_t (*count)(const Item& item, uint32_t* count) = nullptr;
  uint32_t (*read)(const Item& item, uint32_t bufLen, Item* items, uint32_t* filled) = nullptr;
};

// Writes, removals, updates and reads at random, and what every index then finds. A table says besides: kMissing, the
// status of a read of nothing; anyKey(random) and itemOf(key); scatter(item, random): what a write and an update give
// it and an index looks at; update, and applied(item, stored): what that makes of a record; fieldsOf(item), and
// bulkFieldsOf(item), those that a bulk read delivers; indexes().
template <class Table>
void expectAgreementWithAModel() {
  using Item = typename Table::Item;
  using Key = decltype(Table::keyOf(Item{}));
  std::mt19937 random(seedOfToday());
  std::map<Key, Item> model;
  const std::vector<Index<Key, Item>> indexes = Table::indexes();
  for (int round = 0; round < 3000; ++round) {
    const Key key = Table::anyKey(random);
    const bool stored = model.contains(key);
    Item item = Table::itemOf(key);
    switch (draw(random, 8)) {
      case 0:
      case 1:
      case 2:
        Table::scatter(item, random);
        ASSERT_EQ(Table::write(&item), 0u);
        model[key] = item;
        break;
      case 3:
        ASSERT_EQ(Table::remove(&item), stored ? 0u : 15005u);
        model.erase(key);
        break;
      case 4:
        Table::scatter(item, random);
        ASSERT_EQ(Table::update(&item), stored ? 0u : 15005u);
        if (stored) model[key] = Table::applied(item, model[key]);
        break;
      case 5:
      case 6:
        ASSERT_EQ(Table::read(&item), stored ? 0u : Table::kMissing);
        if (stored) {
          ASSERT_TRUE(Table::fieldsOf(item) == Table::fieldsOf(model[key]));
        }
        break;
      default: {
        if (draw(random, 20) != 0) break;
        const uint64_t gone = std::erase_if(model, [&](const auto& entry) { return entry.first.index == key.index; });
        ASSERT_EQ(Table::removeByIndex(key.index), gone > 0 ? 0u : 15005u);
      }
    }
    logged.clear();  // a missing record is said
    for (const auto& index : indexes) {
      const std::vector<Key> expected = keysOf(model, [&](const Item& record) { return index.same(record, item); });
      if (index.count != nullptr) {
        uint32_t count = 77;
        ASSERT_EQ(index.count(item, &count), 0u);
        ASSERT_EQ(count, expected.size());
      }
      if (round % 25 != 0) continue;
      if (index.keys != nullptr) {
        ASSERT_EQ(index.keys(item), expected);
      }
      if (index.read != nullptr) {
        std::vector<Item> items(expected.size() + 1);
        auto filled = static_cast<uint32_t>(expected.size());  // unless it is told
        ASSERT_EQ(index.read(item, static_cast<uint32_t>(items.size() * sizeof(Item)), items.data(), &filled), 0u);
        items.resize(filled);
        std::vector<Key> keys;
        for (const Item& read : items) {
          keys.push_back(Table::keyOf(read));
          ASSERT_TRUE(model.contains(keys.back()));
          ASSERT_TRUE(Table::bulkFieldsOf(read) == Table::bulkFieldsOf(model[keys.back()]));
        }
        std::ranges::sort(keys);
        ASSERT_EQ(keys, expected);
      }
    }
  }
  EXPECT_THAT(logged, testing::IsEmpty());
}

// Names of the instances of a typed suite.
struct TableNames {
  template <class Table>
  static std::string GetName(int) {
    return Table::kName;
  }
};

}  // namespace fibdb::test

#endif
