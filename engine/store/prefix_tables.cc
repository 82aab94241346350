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
  if (tries_.payload(block)->root == kNoRef) tries_.remove(leading, block);
}

void PrefixTables::match(const Key& leading, uint32_t addr, uint8_t maxLength, PrefixMatches& out) const {
  out.count = 0;
  const Ref block = tries_.find(leading);
  if (block != kNoRef) trie(block).match(addr, maxLength, out);
}

Ref PrefixTables::nextSharer(const Key& leading, const Prefix& prefix, PostingEntry& after) const {
  const Ref block = tries_.find(leading);
  if (block == kNoRef) return kNoRef;
  const PrefixValue value(trie(block).find(prefix.addr, prefix.length));
  // Overtaken, we may hold any word; the arena must be readable there all the same.
  if (!value.isSeveral() || !heap_->arena().readable(value.ref())) return kNoRef;
  PostingEntry entry;
  if (sharers(value.ref()).above(after, false, &entry, 1) == 0) return kNoRef;
  after = entry;
  return entry.record;
}

}  // namespace fibdb::store
