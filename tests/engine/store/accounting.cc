// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/accounting.cc: who owns what, and what stands where.
#include "tests/engine/store/accounting.h"

#include <algorithm>
#include <cstring>

namespace fibdb::store {

using schema::IndexKind;

Accounting::Accounting(Store& store) {
  const uint64_t bytes = store.arena().usedBytes() + kExtentBytes;
  owners_.resize(bytes / kRefUnit);
  own(0, kExtentBytes + store.stateBytes(), "the arena's own");
  for (size_t i = 0; i < store.tableCount(); ++i) checkTable(store.table(i));
  uint64_t lost = 0;
  Ref first = kNoRef;
  for (size_t unit = 0; unit < owners_.size(); ++unit) {
    if (owners_[unit] != 0) continue;
    if (lost++ == 0) first = static_cast<Ref>(unit);
  }
  if (lost > 0)
    findings_.push_back(std::to_string(lost) + " units belong to nobody, the first at " + std::to_string(first));
}

std::string Accounting::text() const {
  std::string all;
  for (const std::string& finding : findings_) all += finding + "\n";
  return all;
}

void Accounting::find(const std::string& what) {
  constexpr size_t kMost = 20;
  const std::string table(table_ == nullptr ? "" : table_->layout().name);
  if (findings_.size() < kMost) findings_.push_back(table + ": " + what);
}

std::string Accounting::name(const std::string& what, Ref ref) const { return what + " " + std::to_string(ref); }

void Accounting::own(Ref block, uint64_t bytes, const std::string& owner) {
  auto known = std::find(names_.begin(), names_.end(), owner);
  if (known == names_.end()) known = names_.insert(names_.end(), owner);
  const auto number = static_cast<uint16_t>(known - names_.begin());
  for (uint64_t unit = block; unit < block + (bytes + kRefUnit - 1) / kRefUnit; ++unit) {
    if (unit >= owners_.size()) return find(name(owner, block) + " lies outside what was taken");
    if (owners_[unit] != 0) return find(name(owner, block) + " lies over " + names_[owners_[unit]]);
    owners_[unit] = number;
  }
}

void Accounting::checkTable(Table& table) {
  table_ = &table;
  Heap heap = table.heap();
  const std::string of = std::string(table.layout().name) + "'s ";
  heap.survey([&](Ref block, uint32_t bytes) { own(block, bytes, of + "free block"); },
              [&](Ref block, uint32_t bytes) { own(block, bytes, of + "resting block"); },
              [&](Ref block, uint32_t bytes) { own(block, bytes, of + "queue"); });
  const HeapState& state = table.state_->heap;
  if (heap.log().doing() != Doing::kNothing || state.claimed != kNoRef) find("a write is under way");
  checkRecords(heap);
  checkPrimary(heap);
  for (size_t i = 1; i < table.planCount_; ++i) {
    if (table.plans_[i].kind == IndexKind::kSecondary) checkSecondary(heap, i);
    if (table.plans_[i].kind == IndexKind::kOrdered) checkOrdered(heap, i);
    if (table.plans_[i].kind == IndexKind::kLongest) checkPrefixes(heap, i);
  }
  table_ = nullptr;
}

void Accounting::checkRecords(Heap& heap) {
  live_.clear();
  dead_.clear();
  const Records records = table_->records(heap);
  records.surveyExtents(
      [&](Ref extent) { own(extent, kExtentBytes, std::string(table_->layout().name) + "'s records"); });
  RecordPosition position = records.first();
  while (const Ref record = records.next(position)) (records.isLive(record) ? live_ : dead_).insert(record);
  std::set<Ref> free;
  records.surveyFree([&](Ref record) {
    if (!dead_.contains(record)) find(name("a free slot is live or none:", record));
    if (!free.insert(record).second) find(name("twice in the list of free slots:", record));
  });
  if (free.size() < dead_.size()) find(std::to_string(dead_.size() - free.size()) + " dead slots are lost");
  const Tally::Reading count = table_->state_->count.read();
  if (count.settled != live_.size() || count.underWay != kNoRef) {
    find("counted " + std::to_string(count.settled) + " of " + std::to_string(live_.size()) + " records");
  }
}

void Accounting::checkEntered(const std::string& index, const Entered& entered) {
  for (const auto& [record, times] : entered) {
    if (!live_.contains(record)) find(name(index + ": not live but entered:", record));
    if (times != 1) find(name(index + ": entered more than once:", record));
  }
  for (const Ref record : live_) {
    if (!entered.contains(record)) find(name(index + ": not entered:", record));
  }
}

void Accounting::checkPrimary(Heap& heap) {
  Entered entered;
  const auto index = table_->primary(heap);
  index.survey([&](Ref block, uint32_t bytes) { own(block, bytes, "index 0"); },
               [&](Ref record, bool inPlace) {
                 ++entered[record];
                 if (!inPlace) find(name("index 0: in the wrong bucket:", record));
               });
  checkEntered("index 0", entered);
  if (table_->state_->indexes[0].hash.count != entered.size()) find("index 0: miscounted");
}

void Accounting::checkSecondary(Heap& heap, size_t number) {
  const std::string index = "index " + std::to_string(number);
  const SecondaryIndex postings = table_->secondary(heap, number);
  const KeyShape& shape = table_->plans_[number].shape;
  Entered entered;
  std::map<Ref, uint32_t> under;
  std::set<std::vector<uint8_t>> keys;
  const auto eachKey = [&](Ref block, bool inPlace) {
    const uint8_t* bytes = postings.keyBytes(block);
    if (!inPlace) find(name(index + ": a key in the wrong bucket:", block));
    if (!keys.emplace(bytes, bytes + shape.length()).second) find(name(index + ": a key for the second time:", block));
    under[block] = 0;
  };
  const auto eachPosting = [&](const PostingEntry& posting) {
    ++entered[posting.record];
    if (!under.contains(posting.key)) return find(name(index + ": under no key:", posting.record));
    ++under[posting.key];
    if (!shape.isIn(table_->records(heap).row(posting.record), postings.keyBytes(posting.key))) {
      find(name(index + ": under another key:", posting.record));
    }
  };
  postings.survey([&](Ref block, uint32_t bytes) { own(block, bytes, index); }, eachKey, eachPosting);
  checkEntered(index, entered);
  for (const auto& [block, records] : under) {
    const Tally::Reading tally = postings.tally(block);
    if (tally.settled != records || tally.underWay != kNoRef) find(name(index + ": a key miscounts:", block));
    if (records == 0) find(name(index + ": a key without records:", block));
  }
}

void Accounting::checkOrdered(Heap& heap, size_t number) {
  const std::string index = "index " + std::to_string(number);
  Entered entered;
  bool first = true;
  OrderedEntry before{};
  const auto eachEntry = [&](const OrderedEntry& entry) {
    ++entered[entry.record];
    if (!first && !(before < entry)) find(name(index + ": out of order:", entry.record));
    first = false;
    before = entry;
    if (!live_.contains(entry.record)) return;
    const uint8_t* row = table_->records(heap).row(entry.record);
    if (table_->plans_[number].shape.orderedInRow(row, entry.record) != entry) {
      find(name(index + ": under another key:", entry.record));
    }
  };
  const auto tree = table_->ordered(heap, number);
  tree.survey([&](Ref block, uint32_t bytes) { own(block, bytes, index); }, eachEntry);
  // Records that the tries have in order need no entry, and must have none.
  for (const Ref record : live_) {
    const bool apart = table_->isOrderedApart(number, table_->records(heap).row(record));
    if (!apart && ++entered[record] > 1) find(name(index + ": entered beside the tries:", record));
  }
  checkEntered(index, entered);
}

void Accounting::checkPrefixes(Heap& heap, size_t number) {
  const std::string index = "index " + std::to_string(number);
  const Table::Plan& plan = table_->plans_[number];
  const PrefixTables prefixes = table_->prefixes(heap, number);
  Entered entered;
  std::map<Ref, uint32_t> under;
  const auto eachTrie = [&](Ref trie, bool inPlace) {
    under[trie] = 0;
    if (!inPlace) find(name(index + ": a trie under another key:", trie));
    if (!prefixes.shortcutsLeadRight(trie)) find(name(index + ": a shortcut leads astray:", trie));
  };
  const auto eachRecord = [&](Ref trie, const Prefix& prefix, Ref record) {
    ++entered[record];
    ++under[trie];
    if (!live_.contains(record)) return;
    const uint8_t* row = table_->records(heap).row(record);
    const Prefix own = plan.prefixIn(row);
    if (!prefixes.isOf(trie, row)) find(name(index + ": in another trie:", record));
    if (own.length != prefix.length || !own.covers(prefix.addr)) find(name(index + ": at another prefix:", record));
  };
  if (!prefixes.placesLeadRight()) find(index + ": a place leads astray");
  prefixes.survey([&](Ref block, uint32_t bytes) { this->own(block, bytes, index); }, eachTrie, eachRecord);
  checkEntered(index, entered);
  for (const auto& [trie, records] : under) {
    if (records == 0) find(name(index + ": an empty trie:", trie));
  }
}

}  // namespace fibdb::store
