// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/index_twins.h: the indexes on memory of their own, and the linear scans that they must agree with.
//
// A twin is a list that is searched from one end to the other: slow, and right at a glance. Subject and twin
// have the same functions, so that one test body runs on both.
#ifndef FIBDB_TESTS_SUPPORT_INDEX_TWINS_H
#define FIBDB_TESTS_SUPPORT_INDEX_TWINS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "engine/store/arena.h"
#include "engine/store/heap.h"
#include "engine/store/longest_prefix_index.h"
#include "engine/store/ordered_index.h"
#include "tests/support/extents.h"

namespace fibdb::store {

// A seed from FIBDB_SEED, or a fresh one; printed, so that a failure can be repeated.
inline uint32_t testSeed() {
  const char* given = std::getenv("FIBDB_SEED");
  const uint32_t seed =
      given != nullptr ? static_cast<uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
  std::printf("FIBDB_SEED=%u\n", seed);
  return seed;
}

// The standard generator, with numbers of the width that it really has.
class Random {
 public:
  using result_type = uint32_t;
  explicit Random(uint32_t seed = testSeed()) : engine_(seed) {}
  static constexpr uint32_t min() { return 0; }
  static constexpr uint32_t max() { return UINT32_MAX; }
  uint32_t operator()() { return static_cast<uint32_t>(engine_()); }

 private:
  std::mt19937 engine_;
};

// An arena with one heap.
struct Ground {
  explicit Ground(uint64_t bytes = uint64_t{256} << 20) : arena(bytes) {}

  // Begins a write that may allocate `bytes`.
  void begin(uint32_t bytes) {
    heap.beginWrite();
    ASSERT_EQ(heap.ensure(bytes), 0u);
  }
  // Lets everything that was retired so far become free.
  void rest() {
    for (uint64_t write = 0; write < kRestingWrites; ++write) heap.beginWrite();
  }
  uint64_t heldBytes() const { return state.heldBytes; }
  // What is neither free nor uncut: live and resting blocks.
  uint64_t bytesInUse() const {
    uint64_t unused = (uint64_t{state.openUnits} + state.tailUnits) * kRefUnit;
    for (uint32_t units = 1; units <= kSizeClasses; ++units) {
      for (Ref block = state.free[units - 1].first(); block != kNoRef; block = *heap.at<Ref>(block))
        unused += units * kRefUnit;
    }
    return heldBytes() - unused;
  }

  Arena arena;
  HeapState state{};
  Heap heap{arena, state};
};

template <class EntryType>
class StoredOrdered : public Ground {
 public:
  using Entry = EntryType;

  bool insert(const Entry& entry) {
    begin(OrderedIndex<Entry>::kMaxInsertBytes);
    return index_.insert(entry);
  }
  bool erase(const Entry& entry) {
    begin(OrderedIndex<Entry>::kMaxEraseBytes);
    return index_.erase(entry);
  }
  bool contains(const Entry& entry) const { return index_.contains(entry); }
  // The tree as a reader holds it that has followed the root and no further.
  OrderedIndexState held() const { return root_; }
  uint32_t above(const Entry& bound, bool inclusive, Entry* out, uint32_t most) const {
    return index_.above(bound, inclusive, out, most);
  }

 private:
  OrderedIndexState root_{};
  OrderedIndex<Entry> index_{heap, root_};
};

template <class EntryType>
class LinearOrdered {
 public:
  using Entry = EntryType;

  bool insert(const Entry& entry) {
    if (contains(entry)) return false;
    entries_.insert(std::find_if(entries_.begin(), entries_.end(), [&](const Entry& e) { return e > entry; }), entry);
    return true;
  }
  bool erase(const Entry& entry) { return std::erase(entries_, entry) > 0; }
  bool contains(const Entry& entry) const {
    return std::find(entries_.begin(), entries_.end(), entry) != entries_.end();
  }
  uint32_t above(const Entry& bound, bool inclusive, Entry* out, uint32_t most) const {
    uint32_t count = 0;
    for (const Entry& entry : entries_) {
      if (count < most && (entry > bound || (inclusive && entry == bound))) out[count++] = entry;
    }
    return count;
  }

 private:
  std::vector<Entry> entries_;
};

class StoredPrefixes : public Ground {
 public:
  // Shortcuts are made with the first prefixes, not only once there are many.
  explicit StoredPrefixes(bool shortcuts = false) : shortcuts_(shortcuts) {}

  uint32_t insert(uint32_t addr, uint8_t length, uint32_t value) {
    begin(LongestPrefixIndex::kMaxWriteBytes);
    const uint32_t before = index_.insert(addr, length, value);
    if (shortcuts_ && root_.shortcuts[addr >> 28] == kNoRef) index_.makeShortcuts(addr, 0);
    return before;
  }
  uint32_t insertNew(uint32_t addr, uint8_t length, uint32_t value) {
    begin(LongestPrefixIndex::kMaxWriteBytes);
    return index_.insertNew(addr, length, value);
  }
  uint32_t erase(uint32_t addr, uint8_t length) {
    begin(LongestPrefixIndex::kMaxWriteBytes);
    return index_.erase(addr, length);
  }
  void grow(uint32_t addr) { index_.grow(addr, 0); }
  uint32_t shortcutBlocks() const {
    return static_cast<uint32_t>(std::ranges::count_if(root_.shortcuts, [](Ref block) { return block != kNoRef; }));
  }
  bool shortcutsLeadRight() const { return index_.shortcutsLeadRight(); }
  // The trie as a reader holds it that has followed the root and no further.
  LongestPrefixState held() const { return root_; }
  uint32_t find(uint32_t addr, uint8_t length) const { return index_.find(addr, length); }
  PrefixMatch longest(uint32_t addr, uint8_t maxLength) const { return index_.longest(addr, maxLength); }
  void longestOfEach(const uint32_t* addrs, uint32_t count, PrefixMatch* out) const {
    index_.longestOfEach(addrs, count, out);
  }
  PrefixMatch longest(uint32_t addr, uint8_t maxLength, uint32_t& nodes) const {
    return index_.longest(addr, maxLength, nodes);
  }
  void match(uint32_t addr, uint8_t maxLength, PrefixMatches& out) const { index_.match(addr, maxLength, out); }
  uint32_t from(uint32_t addr, uint32_t length, PrefixEntry* out, uint32_t most) const {
    return index_.from(addr, length, out, most);
  }

 private:
  bool shortcuts_;
  LongestPrefixState root_{};
  LongestPrefixIndex index_{heap, root_};
};

class ShortenedPrefixes : public StoredPrefixes {
 public:
  ShortenedPrefixes() : StoredPrefixes(/*shortcuts=*/true) {}
};

class LinearPrefixes {
 public:
  uint32_t insert(uint32_t addr, uint8_t length, uint32_t value) {
    const uint32_t before = erase(addr, length);
    prefixes_.push_back({addr, length, value});
    return before;
  }
  uint32_t insertNew(uint32_t addr, uint8_t length, uint32_t value) {
    const uint32_t known = find(addr, length);
    return known != 0 ? known : insert(addr, length, value);
  }
  uint32_t erase(uint32_t addr, uint8_t length) {
    const uint32_t before = find(addr, length);
    std::erase_if(prefixes_, [&](const Prefix& p) { return p.length == length && p.covers(addr); });
    return before;
  }
  uint32_t find(uint32_t addr, uint8_t length) const {
    for (const Prefix& prefix : prefixes_) {
      if (prefix.length == length && prefix.covers(addr)) return prefix.value;
    }
    return 0;
  }
  PrefixMatch longest(uint32_t addr, uint8_t maxLength) const {
    PrefixMatches matches;
    match(addr, maxLength, matches);
    return matches.count == 0 ? PrefixMatch{0, 0} : PrefixMatch{matches.values[0], matches.lengths[0]};
  }
  void match(uint32_t addr, uint8_t maxLength, PrefixMatches& out) const {
    out.count = 0;
    for (int length = maxLength; length >= 0; --length) {
      const uint32_t value = find(addr, static_cast<uint8_t>(length));
      if (value == 0) continue;
      out.values[out.count] = value;
      out.lengths[out.count++] = static_cast<uint8_t>(length);
    }
  }
  uint32_t from(uint32_t addr, uint32_t length, PrefixEntry* out, uint32_t most) const {
    std::vector<PrefixEntry> wanted;
    for (const Prefix& prefix : prefixes_) {
      const uint32_t own = prefix.length == 0 ? 0 : prefix.addr >> (32 - prefix.length) << (32 - prefix.length);
      const PrefixEntry entry{own, prefix.length, prefix.value};
      if (std::pair(own, uint32_t{prefix.length}) >= std::pair(addr, length)) wanted.push_back(entry);
    }
    std::ranges::sort(wanted, {}, [](const PrefixEntry& entry) { return std::pair(entry.addr, entry.length); });
    const auto count = std::min<size_t>(most, wanted.size());
    std::copy_n(wanted.begin(), count, out);
    return static_cast<uint32_t>(count);
  }

 private:
  struct Prefix {
    uint32_t addr;
    uint8_t length;
    uint32_t value;

    bool covers(uint32_t other) const { return length == 0 || ((addr ^ other) >> (32 - length)) == 0; }
  };
  std::vector<Prefix> prefixes_;
};

}  // namespace fibdb::store

#endif
