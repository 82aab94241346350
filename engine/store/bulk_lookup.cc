// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/bulk_lookup.cc: many addresses looked up together, so that none waits for memory alone.
#include <algorithm>
#include <cstring>

#include "engine/store/table.h"
#include "engine/store/word.h"
#include "fibdb/engine.h"

namespace fibdb::store {

using schema::IndexKind;

namespace {

constexpr uint32_t kTogether = LongestPrefixIndex::kTogether;

}  // namespace

// A run of addresses, as one lookup would do it: what is found live is the answer if no record became live in the trie
// meanwhile. The addresses that this leaves open are looked up one by one.
class Table::BulkLookup {
 public:
  BulkLookup(const Table& table, size_t index, const uint8_t* leading)
      : plan_(table.plans_[index]),
        heap_(table.heap()),
        tables_(table.prefixes(heap_, index)),
        records_(table.records(heap_)),
        rowLength_(table.layout_->rowLength),
        leading_(leading) {}

  // found: 0 or 1, or kOpen.
  static constexpr uint8_t kOpen = 2;
  void run(const uint32_t* addrs, uint32_t count, uint8_t* rows, uint8_t* found) const {
    const bool undisturbed = readStable(heap_, [&] {
      const Ref trie = tables_.find(leading_);
      if (trie == kNoRef) return std::memset(found, 0, count), true;
      const uint64_t began = tables_.arrivedAt(trie);
      lookUp(trie, addrs, count, rows, found);
      acquireFence();
      return tables_.arrivedAt(trie) == began;
    });
    if (!undisturbed) std::memset(found, kOpen, count);
  }

 private:
  void lookUp(Ref trie, const uint32_t* addrs, uint32_t count, uint8_t* rows, uint8_t* found) const {
    PrefixMatch matches[kTogether];
    tables_.longestOfEach(trie, addrs, count, matches);
    for (uint32_t i = 0; i < count; ++i) {
      const PrefixValue value(matches[i].value);
      if (!value.none() && !value.isSeveral()) records_.fetch(value.ref());
    }
    for (uint32_t i = 0; i < count; ++i) found[i] = read(matches[i], addrs[i], rows + size_t{i} * rowLength_);
  }

  uint8_t read(const PrefixMatch& match, uint32_t addr, uint8_t* row) const {
    const PrefixValue value(match.value);
    if (value.none()) return 0;
    if (value.isSeveral() || !records_.canBe(value.ref())) return kOpen;
    if (!records_.read(value.ref(), Records::kAnyTime, row) || !plan_.leading.isIn(row, leading_)) return kOpen;
    const Prefix prefix = plan_.prefixIn(row);
    return prefix.length == match.length && prefix.covers(addr) ? 1 : kOpen;
  }

  const Plan& plan_;
  Heap heap_;
  const PrefixTables tables_;
  const Records records_;
  const uint32_t rowLength_;
  const uint8_t* const leading_;
};

uint32_t Table::lookUpEach(const schema::Index& index, const uint8_t* leading, const uint32_t* addrs, uint32_t count,
                           uint8_t* rows, uint8_t* found) const {
  if (index.kind != IndexKind::kLongest) return DB_ERR_BAD_INDEX;
  const size_t number = numberOf(index);
  const BulkLookup lookup(*this, number, leading);
  for (uint32_t done = 0; done < count; done += kTogether) {
    const uint32_t run = std::min(kTogether, count - done);
    lookup.run(addrs + done, run, rows + size_t{done} * layout_->rowLength, found + done);
  }
  uint8_t key[schema::kMaxKeyLength];
  const uint32_t leadingLength = plans_[number].leading.length();
  std::memcpy(key, leading, leadingLength);
  key[leadingLength + sizeof *addrs] = kMaxPrefixLength;
  for (uint32_t i = 0; i < count; ++i) {
    if (found[i] != BulkLookup::kOpen) continue;
    std::memcpy(key + leadingLength, &addrs[i], sizeof addrs[i]);
    Cursor cursor;
    cursor.openKey(*this, index, key);
    found[i] = cursor.next(rows + size_t{i} * layout_->rowLength) == 0 ? 1 : 0;
  }
  return 0;
}

}  // namespace fibdb::store
