// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/prefix_tables.h: the records under each prefix, in one trie per leading key (a VRF).
//
// DESCRIPTION  A trie's value is the record of the prefix. Records whose addresses differ only below the mask
// share a prefix; from the second one on the value leads to a block with an ordered index of {address,
// record}, which serves the prefix until its last record leaves, so a reader that looks into it never finds
// it taken apart. A record is entered before it is live and taken out after it is dead, so what a trie leads
// to is a hint (records.h).
//
// Beside each trie stands when a record last became live in it. A lookup that finds the record of the longest
// prefix live, and this unchanged since it began, has an answer that was right when the record was looked at:
// meanwhile prefixes can only have gone.
//
// COST     enter, leave, longest: that of the trie.
// THREADS  One writer (REQUIRES the table's lock); the const functions from any thread, inside readStable.
#ifndef FIBDB_ENGINE_STORE_PREFIX_TABLES_H
#define FIBDB_ENGINE_STORE_PREFIX_TABLES_H

#include <cstdint>

#include "engine/store/key.h"
#include "engine/store/key_directory.h"
#include "engine/store/longest_prefix_index.h"
#include "engine/store/ordered_index.h"

namespace fibdb::store {

inline constexpr uint8_t kMaxPrefixLength = 32;
struct Prefix {
  uint32_t addr;   // as written, bits below the mask included
  uint8_t length;  // at most kMaxPrefixLength

  bool covers(uint32_t other) const { return length == 0 || (addr ^ other) >> (kMaxPrefixLength - length) == 0; }
};

// What a prefix leads to: a record, or a block of several.
class PrefixValue {
 public:
  // References stay below the mark as long as the arena is no larger.
  static constexpr uint32_t kSeveral = 1U << 31;
  static constexpr uint64_t kMaxArena = kRefUnit * kSeveral;

  explicit PrefixValue(uint32_t word) : word_(word) {}
  static PrefixValue several(Ref block) { return PrefixValue(block | kSeveral); }

  uint32_t word() const { return word_; }
  bool none() const { return word_ == 0; }
  bool isSeveral() const { return (word_ & kSeveral) != 0; }
  Ref ref() const { return word_ & ~kSeveral; }

 private:
  uint32_t word_;
};

class PrefixTables {
  struct TrieEntry {
    LongestPrefixState trie;
    uint32_t unused;
    uint64_t arrivedAt;  // the heap's clock
  };
  using Tries = KeyDirectory<TrieEntry>;
  using Sharers = OrderedIndex<PostingEntry>;

 public:
  static constexpr uint32_t kMaxEnterBytes =
      Tries::kMaxWriteBytes + LongestPrefixIndex::kMaxWriteBytes + Sharers::kMaxInsertBytes + sizeof(OrderedIndexState);
  static constexpr uint32_t kMaxLeaveBytes = LongestPrefixIndex::kMaxWriteBytes + Sharers::kMaxEraseBytes;
  // The same in pieces.
  static constexpr uint32_t kMaxEnterPieces =
      Tries::kMaxWritePieces + LongestPrefixIndex::kMaxInsertPieces + Sharers::kMaxInsertBytes / kPieceBytes + 1;
  static constexpr uint32_t kMaxLeavePieces =
      LongestPrefixIndex::kMaxErasePieces + Sharers::kMaxEraseBytes / kPieceBytes;

  PrefixTables(Heap& heap, HashIndexState& tries, const KeyShape& shape) : heap_(&heap), tries_(heap, tries, shape) {}

  // What a write calls before it changes anything: 0, or the heap's code.
  uint32_t prepare() { return tries_.prepare(); }
  // A record that becomes live: entered before, settled after. The block of its trie.
  // addrOf: callable as uint32_t(Ref), the address of a record entered earlier.
  template <class AddrOf>
  Ref enter(const Key& leading, const Prefix& prefix, Ref record, AddrOf&& addrOf);
  void settle(Ref block) { publish(tries_.payload(block)->arrivedAt, heap_->clock()); }
  // A record that is dead.
  void leave(const Key& leading, const Prefix& prefix, Ref record);
  // keep: bytes that others must still be able to allocate.
  void grow(uint32_t keep) { tries_.grow(keep); }

  // The block of the trie of these leading columns, or kNoRef.
  Ref find(const Key& leading) const { return tries_.find(leading); }
  uint64_t arrivedAt(Ref block) const { return follow(tries_.payload(block)->arrivedAt); }
  // The longest prefix that covers addr and is no longer than maxLength; value 0: there is none.
  PrefixMatch longest(Ref block, uint32_t addr, uint8_t maxLength) const {
    return trie(block).longest(addr, maxLength);
  }
  // The values of all of them, longest first.
  void match(Ref block, uint32_t addr, uint8_t maxLength, PrefixMatches& out) const {
    trie(block).match(addr, maxLength, out);
  }
  // Of the records that share a prefix, up to `most` that come after `after`, in order; 0: no more.
  uint32_t sharersAfter(PrefixValue value, const PostingEntry& after, PostingEntry* out, uint32_t most) const;

  // All blocks; each trie's block, and whether it is in place; each record with its trie and its prefix, whose address
  // has the bits below the mask only where records share it.
  void survey(VisitBlock block, Visit<Ref, bool> trie, Visit<Ref, const Prefix&, Ref> record) const;
  const uint8_t* leadingBytes(Ref block) const { return tries_.keyBytes(block); }

 private:
  LongestPrefixIndex trie(Ref block) const { return LongestPrefixIndex(*heap_, tries_.payload(block)->trie); }
  Sharers sharers(Ref block) const { return Sharers(*heap_, *heap_->at<OrderedIndexState>(block)); }
  Ref makeSharers();

  Heap* heap_;
  Tries tries_;
};

template <class AddrOf>
Ref PrefixTables::enter(const Key& leading, const Prefix& prefix, Ref record, AddrOf&& addrOf) {
  const Ref table = tries_.enter(leading);
  LongestPrefixIndex prefixes = trie(table);
  const PrefixValue value(prefixes.find(prefix.addr, prefix.length));
  if (value.none()) {
    prefixes.insert(prefix.addr, prefix.length, record);
  } else if (value.isSeveral()) {
    sharers(value.ref()).insert({prefix.addr, record});
  } else {
    const Ref block = makeSharers();
    sharers(block).insert({addrOf(value.ref()), value.ref()});
    sharers(block).insert({prefix.addr, record});
    prefixes.insert(prefix.addr, prefix.length, PrefixValue::several(block).word());
  }
  return table;
}

}  // namespace fibdb::store

#endif
