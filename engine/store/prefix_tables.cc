// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/prefix_tables.cc: records that share a prefix.
#include "engine/store/prefix_tables.h"

#include "engine/store/word.h"

namespace fibdb::store {

Ref PrefixTables::makeSharers() {
  const Ref block = heap_->allocate(sizeof(OrderedIndexState));
  const OrderedIndexState empty{};
  copyIn(heap_->at<void>(block), &empty, sizeof empty);
  return block;
}

void PrefixTables::leave(const Key& leading, const Prefix& prefix, Ref record) {
  const Ref block = tries_.find(leading);
  LongestPrefixIndex prefixes = trie(block);
  const PrefixValue value(prefixes.find(prefix.addr, prefix.length));
  if (value.isSeveral()) {
    Sharers others = sharers(value.ref());
    others.erase({prefix.addr, record});
    PostingEntry any;
    if (others.above({0, kNoRef}, true, &any, 1) > 0) return;
    prefixes.erase(prefix.addr, prefix.length);
    heap_->retire(value.ref(), sizeof(OrderedIndexState));
  } else {
    prefixes.erase(prefix.addr, prefix.length);
  }
  if (tries_.payload(block)->trie.root != kNoRef) return;
  // Who still looks into this trie must not take it for one that stands still.
  settle(block);
  tries_.remove(leading, block);
}

void PrefixTables::survey(VisitBlock block, Visit<Ref, bool> eachTrie, Visit<Ref, const Prefix&, Ref> record) const {
  tries_.survey(block, [&](Ref table, bool inPlace) {
    eachTrie(table, inPlace);
    trie(table).survey(block, [&](uint32_t addr, uint8_t length, uint32_t word) {
      const PrefixValue value(word);
      if (!value.isSeveral()) return record(table, Prefix{addr, length}, value.ref());
      block(value.ref(), sizeof(OrderedIndexState));
      sharers(value.ref()).survey(block, [&](const PostingEntry& sharer) {
        record(table, Prefix{sharer.key, length}, sharer.record);
      });
    });
  });
}

uint32_t PrefixTables::sharersAfter(PrefixValue value, const PostingEntry& after, PostingEntry* out,
                                    uint32_t most) const {
  // Overtaken, we may hold any word; the arena must be readable there all the same.
  if (!heap_->arena().readable(value.ref())) return 0;
  return sharers(value.ref()).above(after, false, out, most);
}

}  // namespace fibdb::store
