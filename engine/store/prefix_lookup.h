// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/prefix_lookup.h: the longest prefix of an address, with its record, in one attempt.
//
// DESCRIPTION  What is found live is the answer if no record became live in the trie meanwhile. What a write came in
// the way of, and what is not simply a prefix with one record, is left open, to a cursor, which can do everything: so
// the way of nearly every lookup has no loop, and little to remember.
#ifndef FIBDB_ENGINE_STORE_PREFIX_LOOKUP_H
#define FIBDB_ENGINE_STORE_PREFIX_LOOKUP_H

#include "engine/store/table.h"

namespace fibdb::store {

class Table::PrefixLookup {
 public:
  enum Answer : uint8_t { kNone = 0, kFound = 1, kOpen = 2 };

  PrefixLookup(const Table& table, size_t index)
      : plan_(&table.plans_[index]),
        heap_(table.heap()),
        tables_(table.prefixes(heap_, index)),
        records_(table.records(heap_)) {}

  // leading: the packed leading columns. record: where it was found.
  [[gnu::always_inline]] Answer one(const uint8_t* leading, uint32_t addr, uint8_t maxLength, uint8_t* row,
                                    Ref& record) const {
    Answer answer = kNone;
    const bool undisturbed = lookAt(leading, [&](Ref trie) {
      const PrefixMatch match = tables_.longest(trie, addr, maxLength);
      answer = read(match, leading, addr, row);
      record = PrefixValue(match.value).ref();
    });
    return undisturbed ? answer : kOpen;
  }

  // The same of many below the same leading columns, so that none waits for memory alone: an Answer for each. rows:
  // one behind the other. REQUIRES: count <= kTogether.
  static constexpr uint32_t kTogether = LongestPrefixIndex::kTogether;
  void each(const uint8_t* leading, const uint32_t* addrs, uint32_t count, uint8_t* rows, size_t rowLength,
            uint8_t* answers) const {
    std::memset(answers, kNone, count);
    const bool undisturbed = lookAt(leading, [&](Ref trie) {
      PrefixMatch matches[kTogether];
      tables_.longestOfEach(trie, addrs, count, matches);
      for (uint32_t i = 0; i < count; ++i) {
        const PrefixValue value(matches[i].value);
        if (!value.none() && !value.isSeveral()) records_.fetch(value.ref());
      }
      for (uint32_t i = 0; i < count; ++i) answers[i] = read(matches[i], leading, addrs[i], rows + i * rowLength);
    });
    if (!undisturbed) std::memset(answers, kOpen, count);
  }

 private:
  // Looks at the trie of the leading columns, if there is one; false when what was seen there is worth nothing.
  template <class Look>
  [[gnu::always_inline]] bool lookAt(const uint8_t* leading, Look&& look) const {
    const uint64_t begun = heap_.clock();
    const Ref trie = tables_.find(leading);
    bool undisturbed = true;
    if (trie != kNoRef) {
      const uint64_t arrived = tables_.arrivedAt(trie);
      look(trie);
      acquireFence();
      undisturbed = tables_.arrivedAt(trie) == arrived;
    }
    acquireFence();
    return undisturbed && heap_.clock() - begun < kRestingWrites;
  }

  Answer read(const PrefixMatch& match, const uint8_t* leading, uint32_t addr, uint8_t* row) const {
    const PrefixValue value(match.value);
    if (value.none()) return kNone;
    if (value.isSeveral() || !records_.canBe(value.ref())) return kOpen;
    if (!records_.readAtOnce(value.ref(), row) || !plan_->leading.isIn(row, leading)) return kOpen;
    const Prefix prefix = plan_->prefixIn(row);
    return prefix.length == match.length && prefix.covers(addr) ? kFound : kOpen;
  }

  const Plan* plan_;
  Heap heap_;
  PrefixTables tables_;
  Records records_;
};

}  // namespace fibdb::store

#endif
