// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/table_model.h: a table beside its model, a map from keys to items.
//
// A table is a struct of its names: Item, kName, keyOf, and the exported functions as next, release, readByIndex,
// write. Its Key is ordered, and begins with the index of the next hop.
#ifndef FIBDB_TESTS_END_TO_END_TABLE_MODEL_H
#define FIBDB_TESTS_END_TO_END_TABLE_MODEL_H

#include <algorithm>
#include <cstring>
#include <map>
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
// byte by byte around the items' ends. full(index, n) is the n-th record of a next hop, whole(item) says that it is.
template <class Table, class Full, class Whole>
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
    if (bufLen % kSize > 1 && bufLen % kSize < kSize - 1) continue;
    std::vector<Item> items(kRecords + 2);
    std::memset(static_cast<void*>(items.data()), 0xA5, items.size() * kSize);
    uint32_t filled = 77;
    ASSERT_EQ(Table::readByIndex(7, bufLen, items.data(), &filled), 0u) << bufLen;
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
  EXPECT_EQ(Table::readByIndex(9, sizeof item, &item, &filled), 0u) << "no record is no failure";
  EXPECT_EQ(filled, 0u);
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
