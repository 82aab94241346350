// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/cursor.cc: the walks: over slots, under a key, along an ordered index, up covering prefixes.
#include <cstring>
#include <span>

#include "engine/store/prefix_lookup.h"
#include "engine/store/table.h"
#include "engine/store/word.h"
#include "fibdb/engine.h"

namespace fibdb::store {

using schema::IndexKind;

// What was read ahead needs no second look at its index: a record that is live and old enough is the one that
// was found there, and whether it still has the key, its row tells.

void Cursor::open(const Table& table, Kind kind, size_t index) {
  table_ = &table;
  openedAt_ = latest_ = table.heap().clock();
  kind_ = kind;
  filtered_ = false;
  index_ = static_cast<uint8_t>(index);
  runNext_ = runCount_ = 0;
}

void Cursor::openAll(const Table& table) {
  open(table, Kind::kAll, 0);
  Heap heap = table.heap();
  slot_ = table.records(heap).first();
}

uint32_t Cursor::openKey(const Table& table, const schema::Index& index, const uint8_t* key) {
  kind_ = Kind::kEnded;
  const size_t number = table.numberOf(index);
  const Table::Plan& plan = table.plans_[number];
  switch (index.kind) {
    case IndexKind::kOrdered:
      return DB_ERR_BAD_INDEX;
    case IndexKind::kPrimary:
      open(table, Kind::kOne, number);
      plan.shape.fromPacked(key, key_);
      return 0;
    case IndexKind::kSecondary:
      open(table, Kind::kUnderKey, number);
      plan.shape.fromPacked(key, key_);
      last_.record = kNoRef;
      return 0;
    case IndexKind::kLongest:
      const uint8_t* addr = key + plan.leading.length();
      if (addr[sizeof addr_] > kMaxPrefixLength) return DB_ERR_BAD_KEY;
      open(table, Kind::kLookUp, number);
      if (plan.leading.length() == sizeof(uint64_t)) {
        std::memcpy(key_.bytes, key, sizeof(uint64_t));  // as nearly always: no call
      } else {
        std::memcpy(key_.bytes, key, plan.leading.length());
      }
      std::memcpy(&addr_, addr, sizeof addr_);
      position_ = {addr[sizeof addr_], {0, kNoRef}};
      // A lookup is a cursor's first step, and right for the moment in which it is made.
      latest_ = Records::kAnyTime;
      return 0;
  }
  return DB_ERR_BAD_INDEX;
}

uint32_t Cursor::openRange(const Table& table, const schema::Index& index, const uint8_t* low, const uint8_t* high) {
  kind_ = Kind::kEnded;
  if (index.kind != IndexKind::kOrdered) return DB_ERR_BAD_INDEX;
  const size_t number = table.numberOf(index);
  open(table, Kind::kRange, number);
  last_ = table.plans_[number].shape.ordered(low, kNoRef);
  high_ = table.plans_[number].shape.ordered(high, ~Ref{0});
  return 0;
}

void Cursor::keepOnly(uint16_t offset, uint32_t value) {
  filtered_ = true;
  if (kind_ == Kind::kLookUp) kind_ = Kind::kPrefixes;
  filterOffset_ = offset;
  filterValue_ = value;
}

bool Cursor::keeps(const uint8_t* row) const {
  return !filtered_ || std::memcmp(row + filterOffset_, &filterValue_, sizeof filterValue_) == 0;
}

// The first step under a longest-prefix key, which is nearly always the only one.
uint32_t Cursor::lookUp(uint8_t* row) {
  kind_ = Kind::kPrefixes;
  Ref record;
  const auto answer = Table::PrefixLookup(*table_, index_).one(key_.bytes, addr_, position_.length, row, record);
  if (answer == Table::PrefixLookup::kOpen) return nextFrom(row);
  if (answer == Table::PrefixLookup::kNone) {
    kind_ = Kind::kEnded;
    return DB_ERR_ITER_END;
  }
  const Prefix prefix = table_->plans_[index_].prefixIn(row);
  position_ = {prefix.length, {prefix.addr, record}};
  latest_ = openedAt_;
  return 0;
}

uint32_t Cursor::nextFrom(uint8_t* row) {
  while (step(row)) {
    if (!keeps(row)) continue;
    latest_ = openedAt_;
    return 0;
  }
  kind_ = Kind::kEnded;
  return DB_ERR_ITER_END;
}

bool Cursor::step(uint8_t* row) {
  switch (kind_) {
    case Kind::kEnded:
      return false;
    case Kind::kAll:
      return stepAll(row);
    case Kind::kOne:
      return stepOne(row);
    case Kind::kUnderKey:
    case Kind::kRange:
      return stepRun(row);
    case Kind::kPrefixes:
      return stepPrefixes(row);
    case Kind::kLookUp:
      break;
  }
  return false;
}

bool Cursor::stepAll(uint8_t* row) {
  Heap heap = table_->heap();
  const Records records = table_->records(heap);
  while (const Ref record = records.next(slot_)) {
    if (records.read(record, openedAt_, row)) return true;
  }
  return false;
}

bool Cursor::stepOne(uint8_t* row) {
  kind_ = Kind::kEnded;
  Heap heap = table_->heap();
  return table_->readOne(heap, key_, openedAt_, row);
}

bool Cursor::stepRun(uint8_t* row) {
  Heap heap = table_->heap();
  const Records records = table_->records(heap);
  for (;;) {
    if (runNext_ == runCount_) {
      runNext_ = 0;
      runCount_ = kind_ == Kind::kRange ? refillRange() : refillUnderKey();
      if (runCount_ == 0) return false;
    }
    const Ref record = run_[runNext_++];
    if (!records.canBe(record) || !records.read(record, openedAt_, row)) continue;
    if (kind_ == Kind::kRange || table_->plans_[index_].shape.isIn(row, key_.bytes)) return true;
  }
}

uint32_t Cursor::refillUnderKey() {
  Heap heap = table_->heap();
  const SecondaryIndex index = table_->secondary(heap, index_);
  const uint32_t got = readStable(heap, [&] {
    const Ref block = index.find(key_);
    return block == kNoRef ? 0 : index.next(block, last_.record, run_, kRun);
  });
  if (got > 0) last_.record = run_[got - 1];
  return got;
}

uint32_t Cursor::refillRange() {
  if (table_->plans_[index_].tries != 0) return refillAlongTries();
  Heap heap = table_->heap();
  const auto index = table_->ordered(heap, index_);
  OrderedEntry entries[kRun];
  const uint32_t got = readStable(heap, [&] { return index.above(last_, false, entries, kRun); });
  uint32_t count = 0;
  while (count < got && entries[count] <= high_) {
    run_[count] = entries[count].record;
    last_ = entries[count++];
  }
  return count;
}

// Two runs in one order: what the tries have, and what is ordered apart. Where one of them may go on beyond what was
// read of it, the merged run ends. last_ is also moved over what is not a record of the tries' own.
uint32_t Cursor::refillAlongTries() {
  Heap heap = table_->heap();
  const PrefixTables tables = table_->prefixes(heap, table_->plans_[index_].tries);
  const auto apart = table_->ordered(heap, index_);
  OrderedEntry regular[kRun], others[kRun];
  for (;;) {
    struct Got {
      uint32_t regular, others;
    };
    const Got got = readStable(heap, [&]() -> Got {
      const uint32_t prefixes = tables.from(last_.record == kNoRef ? last_ : tables.behind(last_), regular, kRun);
      putOwnRecords(heap, tables, regular, prefixes);
      return {prefixes, apart.above(last_, false, others, kRun)};
    });
    uint32_t count = 0, i = 0, j = 0;
    while (i < got.regular || j < got.others) {
      if ((i == got.regular && got.regular == kRun) || (j == got.others && got.others > 0)) break;
      const bool isRegular = j == got.others || (i < got.regular && regular[i] < others[j]);
      const OrderedEntry& entry = isRegular ? regular[i++] : others[j++];
      if (!(entry <= high_)) return count;
      last_ = entry;
      if (entry.record != kNoRef) run_[count++] = entry.record;
      if (count == kRun) break;
      // Behind this key, whatever record had it.
      if (isRegular && entry.record == kNoRef) last_.record = ~Ref{0};
    }
    if (count > 0 || (got.regular < kRun && got.others == 0)) return count;
  }
}

// Puts the record with the prefix's own address in the place of the value that the tries have; kNoRef where the prefix
// has only records with address bits below the mask.
void Cursor::putOwnRecords(Heap& heap, const PrefixTables& tables, OrderedEntry* entries, uint32_t count) const {
  const Records records = table_->records(heap);
  const uint16_t addrOffset = table_->plans_[table_->plans_[index_].tries].addrOffset;
  for (const OrderedEntry& entry : std::span(entries, count)) {
    if (!PrefixValue(entry.record).isSeveral()) records.fetch(entry.record);
  }
  for (OrderedEntry& entry : std::span(entries, count)) {
    const PrefixValue value(entry.record);
    const uint32_t addr = tables.addrIn(entry);
    entry.record = kNoRef;
    if (value.isSeveral()) {
      PostingEntry first;
      const bool any = tables.sharersAfter(value, {addr, kNoRef}, &first, 1) > 0;
      if (any && first.key == addr) entry.record = first.record;
    } else if (records.canBe(value.ref())) {
      // A look at the row, which is wanted next anyway. Should it be another record's by now, this one has gone.
      uint32_t own;
      copyOut(&own, records.row(value.ref()) + addrOffset, sizeof own);
      if (own == addr) entry.record = value.ref();
    }
  }
}

// The next record in the order of PrefixPosition, found in a trie that no record entered meanwhile.
bool Cursor::stepPrefixes(uint8_t* row) {
  Heap heap = table_->heap();
  const PrefixTables tables = table_->prefixes(heap, index_);
  Ref found = kNoRef;
  const auto lookUndisturbed = [&] {
    const Ref trie = tables.find(key_.bytes);
    if (trie == kNoRef) {
      found = kNoRef;
      return true;
    }
    const uint64_t began = tables.arrivedAt(trie);
    found = findAmongMatches(trie, row);
    acquireFence();
    return tables.arrivedAt(trie) == began;
  };
  while (!readStable(heap, lookUndisturbed)) {
  }
  if (found == kNoRef) return false;
  const Prefix prefix = table_->plans_[index_].prefixIn(row);
  position_ = {prefix.length, {prefix.addr, found}};
  return true;
}

// Whether the record is one with a prefix of this length that covers the address, and is still to come.
bool Cursor::readPrefix(const Records& records, uint8_t length, Ref record, uint8_t* row) const {
  const Table::Plan& plan = table_->plans_[index_];
  if (!records.canBe(record) || !records.read(record, latest_, row) || !plan.leading.isIn(row, key_.bytes)) {
    return false;
  }
  const Prefix prefix = plan.prefixIn(row);
  return prefix.length == length && prefix.covers(addr_) && position_.isBefore(length, {prefix.addr, record});
}

// The first record of the trie that is still to come.
Ref Cursor::findAmongMatches(Ref trie, uint8_t* row) const {
  Heap heap = table_->heap();
  const PrefixTables tables = table_->prefixes(heap, index_);
  const Records records = table_->records(heap);
  const uint64_t begun = heap.clock();
  PrefixMatches matches;
  tables.match(trie, addr_, position_.length, matches);
  for (uint32_t i = 0; i < matches.count; ++i) {
    const PrefixValue value(matches.values[i]);
    const uint8_t length = matches.lengths[i];
    if (!value.isSeveral()) {
      if (readPrefix(records, length, value.ref(), row)) return value.ref();
      continue;
    }
    PostingEntry last = length == position_.length ? position_.passed : PostingEntry{0, kNoRef};
    PostingEntry run[kRun];
    while (const uint32_t got = tables.sharersAfter(value, last, run, kRun)) {
      for (const PostingEntry& entry : std::span(run, got)) {
        if (readPrefix(records, length, entry.record, row)) return entry.record;
      }
      last = run[got - 1];
      // Overtaken, we may be in what was a tree, which need not end.
      if (heap.clock() - begun >= kRestingWrites) return kNoRef;
    }
  }
  return kNoRef;
}

}  // namespace fibdb::store
