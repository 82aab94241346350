// engine/store/secondary_index.h: the records under each key of an index that many records may share.
//
// DESCRIPTION  Each key in use has a block with the number of its records; postings {block, record} stand in
// one ordered index, so a key's records are neighbours, in the order of their references. Entering a posting
// and counting it are two steps: a record is entered before it is live and counted once it is.
//
// COST     enter, leave, next: O(log n); recordsUnder: O(1).
// THREADS  One writer (REQUIRES the table's lock); recordsUnder and next from any thread, inside readStable.
#ifndef FIBDB_ENGINE_STORE_SECONDARY_INDEX_H
#define FIBDB_ENGINE_STORE_SECONDARY_INDEX_H

#include <cstdint>

#include "engine/store/key.h"
#include "engine/store/key_directory.h"
#include "engine/store/ordered_index.h"

namespace fibdb::store {

class SecondaryIndex {
  struct KeyCount {
    uint32_t records;
  };
  using Keys = KeyDirectory<KeyCount>;
  using Postings = OrderedIndex<PostingEntry>;

 public:
  static constexpr uint32_t kMaxEnterBytes = Keys::kMaxWriteBytes + Postings::kMaxWriteBytes;
  static constexpr uint32_t kMaxLeaveBytes = Postings::kMaxWriteBytes;

  SecondaryIndex(Heap& heap, HashIndexState& keys, OrderedIndexState& postings, const KeyShape& shape)
      : keys_(heap, keys, shape), postings_(heap, postings) {}

  // What a write calls before it changes anything: 0, or the heap's code.
  uint32_t prepare() { return keys_.prepare(); }
  // Enters the record and returns the key's block, for count().
  Ref enter(const Key& key, Ref record) {
    const Ref block = keys_.enter(key);
    postings_.insert({block, record});
    return block;
  }
  void count(Ref block) { publish(keys_.payload(block)->records, keys_.payload(block)->records + 1); }

  // Takes out a record that was counted, or, withdraw, one that was not; a key without records is forgotten.
  void leave(const Key& key, Ref record) {
    KeyCount& count = *keys_.payload(keys_.find(key));
    publish(count.records, count.records - 1);
    withdraw(key, record);
  }
  void withdraw(const Key& key, Ref record) {
    const Ref block = keys_.find(key);
    postings_.erase({block, record});
    if (keys_.payload(block)->records == 0) keys_.remove(key, block);
  }

  void grow() { keys_.grow(); }

  uint32_t recordsUnder(const Key& key) const {
    const Ref block = keys_.find(key);
    return block == kNoRef ? 0 : follow(keys_.payload(block)->records);
  }

  // Copies up to `most` references of records under the key that come after `after`, in order; 0: no more.
  uint32_t next(const Key& key, Ref after, Ref* out, uint32_t most) const {
    const Ref block = keys_.find(key);
    if (block == kNoRef) return 0;
    PostingEntry entries[kMostAtOnce];
    const uint32_t got = postings_.above({block, after}, false, entries, most < kMostAtOnce ? most : kMostAtOnce);
    uint32_t found = 0;
    while (found < got && entries[found].key == block) {
      out[found] = entries[found].record;
      ++found;
    }
    return found;
  }

 private:
  static constexpr uint32_t kMostAtOnce = 32;

  Keys keys_;
  Postings postings_;
};

}  // namespace fibdb::store

#endif
