// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/accounting.h: an account of a whole arena.
//
// Every 16 bytes that were taken from the arena belong to exactly one owner: the states of the tables, a table's
// records, a node or block of one of its indexes, the blocks that rest, the free ones. Every live record stands in
// each index of its table exactly once, under its own key, and nothing else does; every count is right.
#ifndef FIBDB_TESTS_ENGINE_STORE_ACCOUNTING_H
#define FIBDB_TESTS_ENGINE_STORE_ACCOUNTING_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "engine/store/table.h"

namespace fibdb::store {

class Accounting {
 public:
  // REQUIRES: nobody writes, and none of the store's heaps gave an extent to anyone but tables.
  explicit Accounting(Store& store);

  // What is wrong, a line each; empty when nothing is.
  const std::vector<std::string>& findings() const { return findings_; }
  std::string text() const;

  // For tests that damage a store.
  static TableState& stateOf(Table& table) { return *table.state_; }

 private:
  using Entered = std::map<Ref, uint32_t>;  // how often a record stands in an index

  void checkTable(Table& table);
  void checkRecords(Heap& heap);
  void checkPrimary(Heap& heap);
  void checkSecondary(Heap& heap, size_t index);
  void checkOrdered(Heap& heap, size_t index);
  void checkPrefixes(Heap& heap, size_t index);
  void checkEntered(const std::string& index, const Entered& entered);
  void own(Ref block, uint64_t bytes, const std::string& owner);
  void find(const std::string& what);
  std::string name(const std::string& what, Ref ref) const;

  Table* table_ = nullptr;
  std::vector<uint16_t> owners_;  // of every unit: a place in names_, 0: nobody
  std::vector<std::string> names_{"nobody"};
  std::set<Ref> live_, dead_;
  std::vector<std::string> findings_;
};

// For EXPECT_EQ: empty, or what is wrong.
inline std::string accountOf(Store& store) { return Accounting(store).text(); }

}  // namespace fibdb::store

#endif
