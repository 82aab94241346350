// engine/store/prefix_tables.h: the records under each prefix, in one trie per leading key (a VRF).
//
// DESCRIPTION  A trie's value is the record of the prefix. Records whose addresses differ only below the mask
// share a prefix; from the second one on the value leads to a block with an ordered index of {address,
// record}, which serves the prefix until its last record leaves, so a reader that looks into it never finds
// it taken apart.
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

struct Prefix {
  uint32_t addr;   // as written, bits below the mask included
  uint8_t length;  // at most kMaxPrefixLength
};
inline constexpr uint8_t kMaxPrefixLength = 32;

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
  using Tries = KeyDirectory<LongestPrefixState>;
  using Sharers = OrderedIndex<PostingEntry>;

 public:
  static constexpr uint32_t kMaxWriteBytes =
      Tries::kMaxWriteBytes + LongestPrefixIndex::kMaxWriteBytes + Sharers::kMaxWriteBytes + sizeof(OrderedIndexState);

  PrefixTables(Heap& heap, HashIndexState& tries, const KeyShape& shape) : heap_(&heap), tries_(heap, tries, shape) {}

  // What a write calls before it changes anything: 0, or the heap's code.
  uint32_t prepare() { return tries_.prepare(); }
  // addrOf: callable as uint32_t(Ref), the address of a record entered earlier.
  template <class AddrOf>
  void enter(const Key& leading, const Prefix& prefix, Ref record, AddrOf&& addrOf);
  void leave(const Key& leading, const Prefix& prefix, Ref record);
  void grow() { tries_.grow(); }

  // The value of the longest prefix that covers addr and is no longer than maxLength.
  PrefixValue longest(const Key& leading, uint32_t addr, uint8_t maxLength) const {
    const Ref block = tries_.find(leading);
    return PrefixValue(block == kNoRef ? 0 : trie(block).longest(addr, maxLength));
  }
  // The values of all of them, longest first.
  void match(const Key& leading, uint32_t addr, uint8_t maxLength, PrefixMatches& out) const;
  // Of several records under one prefix, the first after `after`, which moves on to it.
  Ref nextSharer(const Key& leading, const Prefix& prefix, PostingEntry& after) const;

 private:
  LongestPrefixIndex trie(Ref block) const { return LongestPrefixIndex(*heap_, *tries_.payload(block)); }
  Sharers sharers(Ref block) const { return Sharers(*heap_, *heap_->at<OrderedIndexState>(block)); }
  Ref makeSharers();

  Heap* heap_;
  Tries tries_;
};

template <class AddrOf>
void PrefixTables::enter(const Key& leading, const Prefix& prefix, Ref record, AddrOf&& addrOf) {
  LongestPrefixIndex prefixes = trie(tries_.enter(leading));
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
}

}  // namespace fibdb::store

#endif
