// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/prefix_tables.cc: records that share a prefix.
#include "engine/store/prefix_tables.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "engine/store/word.h"

namespace fibdb::store {
Ref PrefixTables::makeTrie(const uint8_t* leading) {
  OrderedEntry entry = leading_->ordered(leading, kNoRef);
  Trie empty{};
  std::memcpy(empty.leading, leading, leading_->length());
  entry.record = heap_.allocate(sizeof(Trie));
  copyIn(heap_.at<void>(entry.record), &empty, sizeof empty);
  tries_.insert(entry);
  return entry.record;
}

Ref PrefixTables::makeSharers() {
  const Ref block = heap_.allocate(sizeof(OrderedIndexState));
  const OrderedIndexState empty{};
  copyIn(heap_.at<void>(block), &empty, sizeof empty);
  return block;
}

Ref PrefixTables::findAnyway(Heap heap, PrefixTablesState& state, const KeyShape& leading, const uint8_t* key) {
  const PrefixTables tables(heap, state, leading);
  uint32_t words[4] = {};
  std::memcpy(words, key, leading.length());
  if (const Ref placed = tables.findPlaced(words, tables.addrWord())) return placed;
  const OrderedEntry wanted = leading.ordered(key, kNoRef);
  OrderedEntry found;
  if (tables.tries_.above(wanted, /*inclusive=*/true, &found, 1) == 0) return kNoRef;
  const bool isIt = std::memcmp(found.words, wanted.words, sizeof wanted.words) == 0;
  // Overtaken, we may hold any word; the arena must be readable there all the same.
  return isIt && heap.arena().readable(found.record) ? found.record : kNoRef;
}

void PrefixTables::fetchFirst(const uint8_t* key) const {
  uint32_t addr;
  std::memcpy(&addr, key + leading_->length(), sizeof addr);
  if (const Ref block = find(key)) prefixes(block).fetchFirst(addr);
}

void PrefixTables::fetchThen(const uint8_t* key) const {
  uint32_t addr;
  std::memcpy(&addr, key + leading_->length(), sizeof addr);
  if (const Ref block = find(key)) prefixes(block).fetchThen(addr);
}

// Blocks of places are never given back, so who looks for one finds a block, and in it tries.
void PrefixTables::findPlace(Ref block, uint32_t keep) {
  const uint32_t place = placeOf(at(block).leading, leading_->length() / uint32_t{sizeof(uint32_t)});
  Ref& neighbours = state_->places[place / kRefsPerBlock];
  if (neighbours == kNoRef) {
    if (heap_.ensure(kMaxBlockBytes + keep) != 0) return;
    const Ref fresh = heap_.allocate(kMaxBlockBytes);
    for (uint32_t i = 0; i < kRefsPerBlock; ++i) store(heap_.at<Ref>(fresh)[i], kNoRef);
    publish(heap_.noted(neighbours), fresh);
  }
  Ref& own = heap_.at<Ref>(neighbours)[place % kRefsPerBlock];
  if (own == kNoRef) publish(heap_.noted(own), block);
  store(heap_.noted(at(block).placed), 1U);
}

void PrefixTables::leave(const uint8_t* leading, const Prefix& prefix, Ref record) {
  const Ref block = find(leading);
  LongestPrefixIndex trie = prefixes(block);
  const PrefixValue value(trie.find(prefix.addr, prefix.length));
  if (value.isSeveral()) {
    Sharers others = sharers(value.ref());
    others.erase({prefix.addr, record});
    PostingEntry any;
    if (others.above({0, kNoRef}, true, &any, 1) > 0) return;
    trie.erase(prefix.addr, prefix.length);
    heap_.retire(value.ref(), sizeof(OrderedIndexState));
  } else {
    trie.erase(prefix.addr, prefix.length);
  }
  if (at(block).prefixes.root != kNoRef) return;
  // Who still looks into this trie must not take it for one that stands still.
  settle(block);
  Ref* const place = placeFor(at(block).leading, addrWord());
  if (place != nullptr && *place == block) publish(heap_.noted(*place), kNoRef);
  tries_.erase(leading_->ordered(leading, block));
  heap_.retire(block, sizeof(Trie));
}

uint32_t PrefixTables::from(const OrderedEntry& first, OrderedEntry* out, uint32_t most, uint32_t& nodes) const {
  constexpr uint32_t kRun = 32;
  const uint32_t addrWord = this->addrWord();
  OrderedEntry wanted{};
  std::memcpy(wanted.words, first.words, addrWord * sizeof(uint32_t));
  PrefixEntry run[kRun];
  uint32_t count = 0;
  nodes = tries_.levels();
  // Every trie but one that is just being emptied has a prefix, so a walk that takes more tries was overtaken.
  for (uint32_t tries = most + 2; count < most && tries > 0; --tries) {
    OrderedEntry trie;
    if (tries_.above(wanted, /*inclusive=*/wanted.record == kNoRef, &trie, 1) == 0) break;
    if (!heap_.arena().readable(trie.record)) break;
    const bool amid = std::memcmp(trie.words, first.words, addrWord * sizeof(uint32_t)) == 0;
    uint32_t nodesHere;
    const uint32_t got =
        prefixes(trie.record)
            .from(amid ? first.words[addrWord] : 0, amid ? first.words[addrWord + 1] >> kLengthShift : 0, run,
                  std::min(most - count, kRun), nodesHere);
    nodes += nodesHere;
    for (const PrefixEntry& entry : std::span(run, got)) {
      OrderedEntry& to = out[count++] = trie;
      to.words[addrWord] = entry.addr;
      to.words[addrWord + 1] = uint32_t{entry.length} << kLengthShift;
      to.record = entry.value;
    }
    wanted = trie;
  }
  return count;
}

void PrefixTables::survey(const Surveyor& to, const VisitTrie& trie, const Visit<bool(Ref)>& isTrie,
                          const VisitRecord& record) const {
  tries_.survey(to, [&](const OrderedEntry& entry) {
    const Ref block = entry.record;
    if (!to.block(block, sizeof(Trie))) return;
    uint8_t leading[sizeof Trie::leading];
    copyOut(leading, at(block).leading, sizeof leading);
    if (leading_->ordered(leading, block) != entry) to.wrong("a trie under another key", block);
    trie(block, leading);
    if (surveyTrie(block, to, record) == 0) to.wrong("an empty trie", block);
  });
  surveyPlaces(to, isTrie);
}

// The records in it.
uint32_t PrefixTables::surveyTrie(Ref block, const Surveyor& to, const VisitRecord& record) const {
  uint32_t records = 0;
  prefixes(block).survey(to, [&](uint32_t addr, uint8_t length, uint32_t word) {
    const Prefix prefix{addr, length};
    const PrefixValue value(word);
    if (!value.isSeveral()) {
      ++records;
      return record(prefix, /*exact=*/false, value.ref());
    }
    if (!to.block(value.ref(), sizeof(OrderedIndexState))) return;
    const uint32_t before = records;
    sharers(value.ref()).survey(to, [&](const PostingEntry& sharer) {
      ++records;
      if (!prefix.covers(sharer.key)) to.wrong("beside its prefix", sharer.record);
      record({sharer.key, length}, /*exact=*/true, sharer.record);
    });
    if (records == before) to.wrong("a shared prefix without records", value.ref());
  });
  return records;
}

void PrefixTables::surveyPlaces(const Surveyor& to, const Visit<bool(Ref)>& isTrie) const {
  for (uint32_t first = 0; first < kPlaces; first += kRefsPerBlock) {
    const Ref neighbours = follow(state_->places[first / kRefsPerBlock]);
    if (neighbours == kNoRef || !to.block(neighbours, kMaxBlockBytes)) continue;
    for (uint32_t i = 0; i < kRefsPerBlock; ++i) {
      const Ref trie = follow(heap_.at<Ref>(neighbours)[i]);
      if (trie == kNoRef) continue;
      uint32_t words[4];
      const bool known = isTrie(trie);
      if (known) copyOut(words, at(trie).leading, sizeof words);
      if (!known || placeOf(words, addrWord()) != first + i) to.wrong("a place leads astray, to", trie);
    }
  }
}

uint32_t PrefixTables::sharersAfter(PrefixValue value, const PostingEntry& after, PostingEntry* out,
                                    uint32_t most) const {
  if (!heap_.arena().readable(value.ref())) return 0;
  return sharers(value.ref()).above(after, false, out, most);
}

}  // namespace fibdb::store
