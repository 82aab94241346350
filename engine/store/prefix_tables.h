// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/prefix_tables.h: the records under each prefix, in one trie per leading key (a VRF).
//
// DESCRIPTION  The tries stand in the order of their leading keys, and each has its prefixes in order, so that together
// they are the records in the order of {leading columns, address, mask} (from). A trie's value is the record of the
// prefix. Records whose addresses differ only below the mask share a prefix; from the second one on the value leads to
// a block with an ordered index of {address, record}, which serves the prefix until its last record leaves, so a reader
// that looks into it never finds it taken apart. A record is entered before it is live and taken out after it is dead,
// so what a trie leads to is a hint (records.h).
//
// Numbers of virtual routers and VRFs are small and dense, so most tries are found at once, in a table of places that
// the leading columns say; where two have the same place, the second is found in the order.
//
// Beside each trie stands when a record last became live in it. A lookup that finds the record of the longest
// prefix live, and this unchanged since it began, has an answer that was right when the record was looked at:
// meanwhile prefixes can only have gone.
//
// COST     enter, leave, longest: that of the trie. find: O(1), or O(log n) in the number of tries.
// THREADS  One writer (REQUIRES the table's lock); the const functions from any thread, inside readStable.
#ifndef FIBDB_ENGINE_STORE_PREFIX_TABLES_H
#define FIBDB_ENGINE_STORE_PREFIX_TABLES_H

#include <cstdint>
#include <cstring>

#include "engine/store/key.h"
#include "engine/store/longest_prefix_index.h"
#include "engine/store/ordered_index.h"

namespace fibdb::store {

inline constexpr uint8_t kMaxPrefixLength = 32;
struct Prefix {
  uint32_t addr;   // as written, bits below the mask included
  uint8_t length;  // at most kMaxPrefixLength

  bool covers(uint32_t other) const { return length == 0 || (addr ^ other) >> (kMaxPrefixLength - length) == 0; }
  bool hasBitsBelow() const { return length < kMaxPrefixLength && addr << length != 0; }
};

// What a prefix leads to: a record, or a block of several.
class PrefixValue {
 public:
  static constexpr uint32_t kSeveral = 1U << 31;
  static_assert(kMaxArenaBytes <= kRefUnit * kSeveral, "references stay below the mark");

  explicit PrefixValue(uint32_t word) : word_(word) {}
  static PrefixValue several(Ref block) { return PrefixValue(block | kSeveral); }

  uint32_t word() const { return word_; }
  bool none() const { return word_ == 0; }
  bool isSeveral() const { return (word_ & kSeveral) != 0; }
  Ref ref() const { return word_ & ~kSeveral; }

 private:
  uint32_t word_;
};

// The stored part; lives in the arena, zero is empty.
inline constexpr uint32_t kPlaceBlocks = 8;
struct PrefixTablesState {
  OrderedIndexState order;
  Ref places[kPlaceBlocks];  // blocks of Refs of tries; kNoRef: not made
};

class PrefixTables {
  // The packed leading columns, and the trie of those records.
  struct Trie {
    uint32_t leading[4];
    uint64_t arrivedAt;  // the heap's clock
    LongestPrefixState prefixes;
    uint32_t placed;  // 1: has a place, or has found it taken
    uint32_t unused;
  };
  static_assert(sizeof Trie::leading == KeyShape::kMaxOrderedKey);
  using Tries = OrderedIndex<OrderedEntry>;
  using Sharers = OrderedIndex<PostingEntry>;

 public:
  static constexpr uint32_t kMaxEnterBytes = Tries::kMaxInsertBytes + sizeof(Trie) +
                                             LongestPrefixIndex::kMaxWriteBytes + Sharers::kMaxInsertBytes +
                                             sizeof(OrderedIndexState);
  static constexpr uint32_t kMaxLeaveBytes =
      LongestPrefixIndex::kMaxWriteBytes + Sharers::kMaxEraseBytes + Tries::kMaxEraseBytes;
  // The same in pieces.
  static constexpr uint32_t kMaxEnterPieces = Tries::kMaxInsertBytes / kPieceBytes + 1 +
                                              LongestPrefixIndex::kMaxInsertPieces +
                                              Sharers::kMaxInsertBytes / kPieceBytes + 1;
  static constexpr uint32_t kMaxLeavePieces =
      LongestPrefixIndex::kMaxErasePieces + Sharers::kMaxEraseBytes / kPieceBytes + Tries::kMaxEraseBytes / kPieceBytes;

  PrefixTables(Heap heap, PrefixTablesState& state, const KeyShape& leading)
      : heap_(heap), state_(&state), tries_(heap, state.order), leading_(&leading) {}

  // A record that becomes live: entered before, settled after. The block of its trie.
  // leading: the packed leading columns. addrOf: callable as uint32_t(Ref), the address of a record entered earlier.
  template <class AddrOf>
  Ref enter(const uint8_t* leading, const Prefix& prefix, Ref record, AddrOf&& addrOf);
  void settle(Ref block) { publish(at(block).arrivedAt, heap_.clock()); }
  // A record that is dead.
  void leave(const uint8_t* leading, const Prefix& prefix, Ref record);
  // keep: bytes that others must still be able to allocate.
  void grow(Ref block, uint32_t addr, uint32_t keep) {
    if (at(block).placed == 0) findPlace(block, keep);
    prefixes(block).grow(addr, keep);
  }

  // The block of the trie of these leading columns, or kNoRef.
  Ref find(const uint8_t* leading) const;
  uint64_t arrivedAt(Ref block) const { return follow(at(block).arrivedAt); }
  // The longest prefix that covers addr and is no longer than maxLength; value 0: there is none.
  PrefixMatch longest(Ref block, uint32_t addr, uint8_t maxLength) const {
    return prefixes(block).longest(addr, maxLength);
  }
  // The same; nodes: how many it looks at.
  PrefixMatch longest(Ref block, uint32_t addr, uint8_t maxLength, uint32_t& nodes) const {
    return prefixes(block).longest(addr, maxLength, nodes);
  }
  void longestOfEach(Ref block, const uint32_t* addrs, uint32_t count, PrefixMatch* out) const {
    prefixes(block).longestOfEach(addrs, count, out);
  }
  // The values of all of them, longest first.
  void match(Ref block, uint32_t addr, uint8_t maxLength, PrefixMatches& out) const {
    prefixes(block).match(addr, maxLength, out);
  }
  // Of the records that share a prefix, up to `most` that come after `after`, in order; 0: no more.
  uint32_t sharersAfter(PrefixValue value, const PostingEntry& after, PostingEntry* out, uint32_t most) const;

  // Asks memory for what a write with this key will look at: {leading columns, address, mask}, packed.
  void fetchFirst(const uint8_t* key) const;
  void fetchThen(const uint8_t* key) const;

  // Copies up to `most` prefixes of all tries, in order, from this key on; fewer only at the end. An entry's words are
  // its key, the address without bits below the mask, and in the place of a record stands the prefix's value.
  // nodes: how many it looks at.
  uint32_t from(const OrderedEntry& first, OrderedEntry* out, uint32_t most, uint32_t& nodes) const;
  uint32_t from(const OrderedEntry& first, OrderedEntry* out, uint32_t most) const {
    uint32_t nodes;
    return from(first, out, most, nodes);
  }
  // The address in such a key.
  uint32_t addrIn(const OrderedEntry& entry) const { return entry.words[addrWord()]; }
  // The key right behind.
  OrderedEntry behind(OrderedEntry entry) const {
    entry.words[addrWord() + 1] += 1U << kLengthShift;
    return entry;
  }

  // All blocks; each trie's block and leading columns, and behind it its records, each with its prefix: exact says
  // whether the address has the bits below the mask, as it has where records share it.
  using VisitTrie = Visit<void(Ref, const uint8_t*)>;
  using VisitRecord = Visit<void(const Prefix&, bool exact, Ref)>;
  void survey(const Surveyor& to, const VisitTrie& trie, const Visit<bool(Ref)>& isTrie,
              const VisitRecord& record) const;

 private:
  // The mask is one byte behind the address, and the rest of its word is empty.
  static constexpr unsigned kLengthShift = 24;

  static constexpr uint32_t kRefsPerBlock = kMaxBlockBytes / sizeof(Ref);
  static constexpr uint32_t kPlaces = kPlaceBlocks * kRefsPerBlock;

  Trie& at(Ref block) const { return *heap_.at<Trie>(block); }
  LongestPrefixIndex prefixes(Ref block) const { return LongestPrefixIndex(heap_, at(block).prefixes); }
  Sharers sharers(Ref block) const { return Sharers(heap_, *heap_.at<OrderedIndexState>(block)); }
  uint32_t addrWord() const { return leading_->length() / uint32_t{sizeof(uint32_t)}; }
  Ref makeTrie(const uint8_t* leading);
  Ref makeSharers();
  static uint32_t placeOf(const uint32_t* words, uint32_t count);
  Ref findPlaced(const uint32_t* words, uint32_t count) const;
  Ref* placeFor(const uint32_t* words, uint32_t count) const;
  void findPlace(Ref block, uint32_t keep);
  static Ref findAnyway(Heap heap, PrefixTablesState& state, const KeyShape& leading, const uint8_t* key);
  uint32_t surveyTrie(Ref block, const Surveyor& to, const VisitRecord& record) const;
  void surveyPlaces(const Surveyor& to, const Visit<bool(Ref)>& isTrie) const;

  Heap heap_;
  PrefixTablesState* state_;
  Tries tries_;
  const KeyShape* leading_;
};

// VRFs of one virtual router stand side by side, those of different ones anywhere.
[[gnu::always_inline]] inline uint32_t PrefixTables::placeOf(const uint32_t* words, uint32_t count) {
  uint32_t place = 0;
  for (uint32_t i = 0; i < count; ++i) place = place * 0x9E3779B1U + words[i];
  return place % kPlaces;
}

// nullptr when its block does not exist.
[[gnu::always_inline]] inline Ref* PrefixTables::placeFor(const uint32_t* words, uint32_t count) const {
  const uint32_t place = placeOf(words, count);
  const Ref block = follow(state_->places[place / kRefsPerBlock]);
  return block == kNoRef ? nullptr : &heap_.at<Ref>(block)[place % kRefsPerBlock];
}

// The trie in the place of these words, if it is theirs.
[[gnu::always_inline]] inline Ref PrefixTables::findPlaced(const uint32_t* words, uint32_t count) const {
  const Ref* const place = placeFor(words, count);
  const Ref block = place == nullptr ? kNoRef : follow(*place);
  if (block == kNoRef) return kNoRef;
  for (uint32_t i = 0; i < count; ++i) {
    if (load(at(block).leading[i]) != words[i]) return kNoRef;
  }
  return block;
}

[[gnu::always_inline]] inline Ref PrefixTables::find(const uint8_t* leading) const {
  constexpr uint32_t kVrAndVrf = 2;  // as nearly always: no loop, and no call
  if (addrWord() == kVrAndVrf) {
    uint32_t words[kVrAndVrf];
    std::memcpy(words, leading, sizeof words);
    if (const Ref placed = findPlaced(words, kVrAndVrf)) return placed;
  }
  return findAnyway(heap_, *state_, *leading_, leading);
}

template <class AddrOf>
Ref PrefixTables::enter(const uint8_t* leading, const Prefix& prefix, Ref record, AddrOf&& addrOf) {
  const Ref known = find(leading);
  const Ref block = known != kNoRef ? known : makeTrie(leading);
  LongestPrefixIndex trie = prefixes(block);
  const PrefixValue value(trie.insertNew(prefix.addr, prefix.length, record));
  if (value.isSeveral()) {
    sharers(value.ref()).insert({prefix.addr, record});
  } else if (!value.none()) {
    const Ref several = makeSharers();
    sharers(several).insert({addrOf(value.ref()), value.ref()});
    sharers(several).insert({prefix.addr, record});
    trie.insert(prefix.addr, prefix.length, PrefixValue::several(several).word());
  }
  return block;
}

}  // namespace fibdb::store

#endif
