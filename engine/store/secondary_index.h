// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/secondary_index.h: the records under each key of an index that many records may share.
//
// DESCRIPTION  Each key in use has a block with the number of its records; postings {block, record} stand in
// one ordered index, so a key's records are neighbours, in the order of their references. A posting is entered
// before its record is live and taken out after it is dead, so it is a hint like every reference (records.h).
//
// The block also says when a record last became live under the key. While that stands still the records under
// the key only become fewer, and so a reader that looks at one after the other knows at its end: those that it
// found absent are absent still.
//
// COST     enter, leave, next: O(log n); tally: O(1).
// THREADS  One writer (REQUIRES the table's lock); find, nodesTo, tally, arrivedAt and next from any thread, inside
//          readStable.
#ifndef FIBDB_ENGINE_STORE_SECONDARY_INDEX_H
#define FIBDB_ENGINE_STORE_SECONDARY_INDEX_H

#include <cstdint>

#include "engine/store/key.h"
#include "engine/store/key_directory.h"
#include "engine/store/ordered_index.h"
#include "engine/store/tally.h"

namespace fibdb::store {

class SecondaryIndex {
 public:
  // What is stored of a key.
  struct KeyEntry {
    Tally tally;
    uint64_t arrivedAt;  // the heap's clock
  };

 private:
  using Keys = KeyDirectory<KeyEntry>;
  using Postings = OrderedIndex<PostingEntry>;

 public:
  static constexpr uint32_t kMaxEnterBytes = Keys::kMaxWriteBytes + Postings::kMaxInsertBytes;
  static constexpr uint32_t kMaxLeaveBytes = Postings::kMaxEraseBytes;

  SecondaryIndex(Heap heap, HashIndexState& keys, OrderedIndexState& postings, const KeyShape& shape)
      : heap_(heap), keys_(heap, keys, shape), postings_(heap, postings) {}

  // What a write calls before it changes anything: 0, or the heap's code.
  uint32_t prepare() { return keys_.prepare(); }
  uint32_t piecesToEnter() const { return Keys::kMaxWritePieces + postings_.piecesToInsert(); }
  uint32_t piecesToLeave() const { return postings_.piecesToErase(); }

  // A record that becomes live under the key: entered before, settled after. The key's block.
  Ref enter(const Key& key, Ref record) {
    const Ref block = keys_.enter(key);
    postings_.insert({block, record});
    keys_.payload(block)->tally.announceArrival(record);
    return block;
  }
  void settle(Ref block, Ref record) {
    KeyEntry& entry = *keys_.payload(block);
    entry.tally.settleArrival(record);
    publish(entry.arrivedAt, heap_.clock());
  }

  // A record that leaves the key: announced before, taken out after. A key without records is forgotten.
  Ref announceLeaving(const Key& key, Ref record) {
    const Ref block = keys_.find(key);
    keys_.payload(block)->tally.announceDeparture(heap_.log(), record);
    return block;
  }
  void leave(const Key& key, Ref block, Ref record) {
    KeyEntry& entry = *keys_.payload(block);
    entry.tally.settleDeparture(record);
    postings_.erase({block, record});
    if (entry.tally.settled() != 0) return;
    // Who still reads through this block must not take it for one that stands still.
    publish(entry.arrivedAt, heap_.clock());
    keys_.remove(key, block);
  }

  // keep: bytes that others must still be able to allocate.
  void grow(uint32_t keep) { keys_.grow(keep); }

  // The block of a key that has records, or kNoRef.
  Ref find(const Key& key) const { return keys_.find(key); }
  // The buckets and nodes on the way to the first record of a key.
  uint32_t nodesTo(const Key& key) const {
    uint32_t nodes = 0;
    const Ref block = keys_.find(key, [&] { ++nodes; });
    return block == kNoRef ? nodes : nodes + postings_.levels();
  }
  Tally::Reading tally(Ref block) const { return keys_.payload(block)->tally.read(); }
  uint64_t arrivedAt(Ref block) const { return follow(keys_.payload(block)->arrivedAt); }

  // Copies up to `most` references of records under the block's key that come after `after`, in order; 0: no more.
  uint32_t next(Ref block, Ref after, Ref* out, uint32_t most) const {
    PostingEntry entries[kMostAtOnce];
    const uint32_t got = postings_.above({block, after}, false, entries, most < kMostAtOnce ? most : kMostAtOnce);
    uint32_t found = 0;
    while (found < got && entries[found].key == block) {
      out[found] = entries[found].record;
      ++found;
    }
    return found;
  }

  // All blocks; each key's block; then each posting, in order.
  void survey(const Surveyor& to, const Visit<void(Ref)>& key, const Visit<void(const PostingEntry&)>& posting) const {
    keys_.survey(to, key);
    postings_.survey(to, posting);
  }
  void keyOf(Ref block, Key& key) const { keys_.keyOf(block, key); }

 private:
  static constexpr uint32_t kMostAtOnce = 32;

  Heap heap_;
  Keys keys_;
  Postings postings_;
};

}  // namespace fibdb::store

#endif
