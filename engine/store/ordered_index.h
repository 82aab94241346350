// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/ordered_index.h: a set of fixed-size entries in ascending order, as a B+tree of copied nodes.
//
// DESCRIPTION  Entry is a plain value with a total order (operator<=>), a multiple of four bytes. insert and
// erase copy the leaf they change (and the inner nodes above it that split or empty), publish the copy with
// one store and then retire the originals, so a reader always descends through a consistent tree. An entry that
// goes to the end of a leaf is written behind the others and published by the leaf's count, without a copy.
// There are no links between leaves: an iteration continues by asking for the entries above its last.
//
// COST     insert, erase, above: O(log n), about one node copied per change, none per insert at the end of a leaf.
// MEMORY   Entries + 4 to 40 %. Entries that arrive in ascending order, or in several ascending runs, leave full
//          nodes; nodes that erasing left thin are merged.
// THREADS  One writer (REQUIRES the table's lock); above(), contains() and levels() from any thread, inside readStable.
#ifndef FIBDB_ENGINE_STORE_ORDERED_INDEX_H
#define FIBDB_ENGINE_STORE_ORDERED_INDEX_H

#include <compare>
#include <cstdint>

#include "engine/store/heap.h"

namespace fibdb::store {

// The stored part; lives in the arena, zero is an empty tree. A node knows its level, so the root tells the height.
struct OrderedIndexState {
  Ref root;
};

template <class Entry>
class OrderedIndex {
 public:
  // The most that one insert or erase allocates; what a write hands to Heap::ensure.
  static constexpr uint32_t kMaxInsertBytes = 25 * kPieceBytes;
  static constexpr uint32_t kMaxEraseBytes = 12 * kPieceBytes;

  OrderedIndex(Heap heap, OrderedIndexState& state) : heap_(heap), state_(&state) {}

  // The same for this tree as it stands, in pieces.
  uint32_t piecesToInsert() const { return 2 * levels() + 1; }
  uint32_t piecesToErase() const { return levels() + 1; }

  // False when the entry was there (insert) or not there (erase); then nothing changed.
  bool insert(const Entry& entry);
  bool erase(const Entry& entry);

  bool contains(const Entry& entry) const;
  // The nodes from the root to a leaf.
  uint32_t levels() const;

  // Copies up to `most` entries that are > bound (or >= bound when inclusive) to `out` in ascending order,
  // all from one leaf; 0 only when there is none. REQUIRES: most > 0.
  uint32_t above(const Entry& bound, bool inclusive, Entry* out, uint32_t most) const;

  // The nodes, and the entries in ascending order.
  void survey(const Surveyor& to, const Visit<void(const Entry&)>& entry) const;

 private:
  Heap heap_;
  OrderedIndexState* state_;
};

// The two kinds of entries that tables use; ordered_index.cc instantiates them.

// A record under a secondary key: key is the Ref of the key's block, record the Ref of the record.
struct PostingEntry {
  uint32_t key;
  uint32_t record;

  // Both words as one number: one comparison.
  constexpr uint64_t asNumber() const { return uint64_t{key} << 32 | record; }
  friend constexpr bool operator==(const PostingEntry& a, const PostingEntry& b) {
    return a.asNumber() == b.asNumber();
  }
  friend constexpr auto operator<=>(const PostingEntry& a, const PostingEntry& b) {
    return a.asNumber() <=> b.asNumber();
  }
};

// A record under an ordered key of up to 16 bytes, normalised so that comparing numbers compares keys.
struct OrderedEntry {
  uint32_t words[4];  // most significant first
  uint32_t record;

  friend auto operator<=>(const OrderedEntry&, const OrderedEntry&) = default;
};

extern template class OrderedIndex<PostingEntry>;
extern template class OrderedIndex<OrderedEntry>;

}  // namespace fibdb::store

#endif
