// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/table.cc: what a write does, step by step, and reading by key.
#include "engine/store/table.h"

#include <atomic>
#include <bit>
#include <cstring>
#include <span>

#include "engine/store/probes.h"
#include "engine/store/servable.h"
#include "engine/store/table_writer.h"
#include "engine/store/word.h"
#include "fibdb/engine.h"

namespace fibdb::store {

using schema::IndexKind;

namespace {

// Beyond what it needs itself, an insert that makes a table larger than it ever was leaves this to those that put
// back what was removed: their trees may be packed more loosely than the ones before.
constexpr uint32_t kReturnPieces = 64;

std::atomic<uint64_t> writesRefused;

// Why there was no extent.
uint32_t extentRefusal(const HeapState& heap) {
  const uint64_t wanted = heap.heldBytes + kExtentBytes;
  return heap.limitBytes != 0 && wanted > heap.limitBytes ? DB_ERR_MEMORY_LIMIT : DB_ERR_NO_MEMORY;
}

}  // namespace

uint64_t Table::HashOfRecord::operator()(Ref record) const {
  Heap heap = table->heap();
  Key key;
  table->plans_[0].shape.fromRow(table->records(heap).row(record), key);
  return key.hash;
}

// What has to be there before the first record of a table can be entered.
uint32_t Table::Writer::prepare() {
  if (const uint32_t code = table_.primary(heap_).prepare()) return code;
  for (size_t i = 1; i < table_.planCount_; ++i) {
    if (table_.plans_[i].kind != IndexKind::kSecondary) continue;
    if (const uint32_t code = table_.secondary(heap_, i).prepare()) return code;
  }
  return 0;
}

// The chunks of the queue in which the nodes of such a write rest.
constexpr uint32_t withQueue(uint32_t pieces) { return pieces + pieces / 16 + 2; }

// To enter a record everywhere, trees being as high as they are.
uint32_t Table::Writer::piecesToEnter() {
  uint32_t pieces = 1;
  for (size_t i = 1; i < table_.planCount_; ++i) {
    const IndexKind kind = table_.plans_[i].kind;
    if (kind == IndexKind::kSecondary) pieces += table_.secondary(heap_, i).piecesToEnter();
    if (kind == IndexKind::kOrdered) pieces += table_.ordered(heap_, i).piecesToInsert();
    if (kind == IndexKind::kLongest) pieces += PrefixTables::kMaxEnterPieces;
  }
  return withQueue(pieces);
}

// To take one out, trees being a level higher than they are.
uint32_t Table::Writer::piecesToLeave() {
  uint32_t pieces = 0;
  for (size_t i = 1; i < table_.planCount_; ++i) {
    const IndexKind kind = table_.plans_[i].kind;
    if (kind == IndexKind::kSecondary) pieces += table_.secondary(heap_, i).piecesToLeave() + 1;
    if (kind == IndexKind::kOrdered) pieces += table_.ordered(heap_, i).piecesToErase() + 1;
    if (kind == IndexKind::kLongest) pieces += PrefixTables::kMaxLeavePieces;
  }
  return withQueue(pieces);
}

bool Table::Writer::canHave(uint32_t pieces) {
  if (heap_.pieces() >= pieces) return true;
  heap_.reclaim();
  return heap_.pieces() >= pieces;
}

// Whether a write that no extent was to be had for may take so many pieces all the same: it leaves what removals need,
// and `left` beside.
bool Table::Writer::hasRoom(uint32_t pieces, uint32_t left) {
  short_ = canHave(pieces + piecesToLeave() + kSlackPieces + left);
  return short_;
}

// The table was never larger. What returns have taken beyond the limit is not for growth.
uint32_t Table::Writer::admitGrowth() {
  if (heap_.isBeyondLimit()) return DB_ERR_MEMORY_LIMIT;
  const uint32_t code = heap_.ensure(table_.insertBytes_ + table_.keptBytes_);
  if (code == 0) return 0;
  const uint32_t pieces = piecesToEnter();
  return hasRoom(pieces, pieces + kReturnPieces) ? 0 : code;
}

// The table had more records before: what was removed may come back, beyond the limit if need be.
uint32_t Table::Writer::admitReturn() {
  const uint32_t bytes = table_.insertBytes_ + table_.keptBytes_;
  if (heap_.ensure(bytes) == 0 || hasRoom(piecesToEnter(), 0)) return 0;
  return heap_.ensureBeyondLimit(bytes);
}

uint32_t Table::Writer::admitRemoval() {
  const uint32_t code = heap_.ensure(table_.removeBytes_);
  return code == 0 || canHave(piecesToLeave()) ? 0 : code;
}

uint32_t Table::Writer::admitMoves(std::span<const size_t> indexes) {
  const uint32_t code = heap_.ensure(moveBytes(indexes.size()) + table_.keptBytes_);
  if (code == 0) return 0;
  uint32_t pieces = 0;
  for (const size_t i : indexes) {
    const SecondaryIndex index = table_.secondary(heap_, i);
    pieces += index.piecesToEnter() + index.piecesToLeave() + 2;
  }
  return hasRoom(withQueue(pieces), 0) ? 0 : code;
}

// Returns the block of what the record was entered under: a secondary key, or a trie.
Ref Table::Writer::enter(size_t index, const uint8_t* row, Ref record) {
  const Plan& plan = table_.plans_[index];
  Key key;
  switch (plan.kind) {
    case IndexKind::kPrimary:
      break;
    case IndexKind::kSecondary:
      plan.shape.fromRow(row, key);
      return table_.secondary(heap_, index).enter(key, record);
    case IndexKind::kOrdered:
      if (table_.isOrderedApart(index, row)) {
        table_.ordered(heap_, index).insert(plan.shape.orderedInRow(row, record));
      }
      break;
    case IndexKind::kLongest:
      plan.leading.pack(row, key.bytes);
      return table_.prefixes(heap_, index).enter(key.bytes, plan.prefixIn(row), record, [&](Ref other) {
        return plan.prefixIn(records_.row(other)).addr;
      });
  }
  return kNoRef;
}

// The record is live now under what it was entered.
void Table::Writer::settle(size_t index, Ref block, Ref record) {
  if (table_.plans_[index].kind == IndexKind::kSecondary) table_.secondary(heap_, index).settle(block, record);
  if (table_.plans_[index].kind == IndexKind::kLongest) table_.prefixes(heap_, index).settle(block);
}

// block: of a secondary key, as announced.
void Table::Writer::leave(size_t index, const uint8_t* row, Ref block, Ref record) {
  const Plan& plan = table_.plans_[index];
  Key key;
  switch (plan.kind) {
    case IndexKind::kPrimary:
      break;
    case IndexKind::kSecondary:
      plan.shape.fromRow(row, key);
      table_.secondary(heap_, index).leave(key, block, record);
      break;
    case IndexKind::kOrdered:
      if (table_.isOrderedApart(index, row)) {
        table_.ordered(heap_, index).erase(plan.shape.orderedInRow(row, record));
      }
      break;
    case IndexKind::kLongest:
      plan.leading.pack(row, key.bytes);
      table_.prefixes(heap_, index).leave(key.bytes, plan.prefixIn(row), record);
      break;
  }
}

void Table::Writer::grow() {
  if (short_) return;
  table_.primary(heap_).grow(table_.keptBytes_);
  for (size_t i = 1; i < table_.planCount_; ++i) {
    if (table_.plans_[i].kind == IndexKind::kSecondary) table_.secondary(heap_, i).grow(table_.keptBytes_);
  }
}

void Table::Writer::growTries(const uint8_t* row) {
  if (short_) return;
  for (size_t i = 1; i < table_.planCount_; ++i) {
    const Plan& plan = table_.plans_[i];
    if (plan.kind != IndexKind::kLongest) continue;
    table_.prefixes(heap_, i).grow(state_.intent.entered[i], plan.prefixIn(row).addr, table_.keptBytes_);
  }
}

uint32_t Table::Writer::insert(const Key& key, const uint8_t* row) {
  const uint64_t count = state_.count.settled();
  if (state_.recordLimit != 0 && count >= state_.recordLimit) return refuse(DB_ERR_RECORD_LIMIT);
  if (const uint32_t code = prepare()) return refuse(code);
  const uint32_t code = count < state_.peak ? admitReturn() : admitGrowth();
  if (code != 0) return refuse(code);
  if (!records_.prepare()) return refuse(extentRefusal(state_.heap));

  Intent& intent = state_.intent;
  intend(Doing::kInsert, kNoRef, 0, key.hash, Change::kInserted);
  const Ref record = records_.take(row, generation());
  state_.count.announceArrival(record);
  table_.primary(heap_).insert(key.hash, record);
  for (size_t i = 1; i < table_.planCount_; ++i) store(intent.entered[i], enter(i, row, record));
  // The version first: the record is what makes it count.
  store(intent.version, records_.versionAlive(record));
  publish(intent.record, record);
  log_.commit();
  records_.enliven(record);
  complete();
  grow();
  growTries(row);
  return 0;
}

void Table::Writer::completeInsert() {
  state_.count.settleArrival(state_.intent.record);
  for (size_t i = 1; i < table_.planCount_; ++i) settle(i, state_.intent.entered[i], state_.intent.record);
  const uint64_t count = state_.count.settled();
  if (count > state_.peak) store(state_.peak, count);
  if (state_.replace.active != 0) addOne(log_.noted(state_.replace.counts.added));
}

// Only secondary keys can change: ordered and longest-prefix keys are part of the primary key.
uint32_t Table::Writer::change(Ref record, const uint8_t* row, Change change) {
  size_t moved[kMaxIndexes], moves = 0;
  for (size_t i = 1; i < table_.planCount_; ++i) {
    const Plan& plan = table_.plans_[i];
    if (plan.kind == IndexKind::kSecondary && !plan.shape.same(records_.row(record), row)) moved[moves++] = i;
  }
  if (moves > 0) {
    if (const uint32_t code = admitMoves(std::span(moved, moves))) return refuse(code);
  }
  const bool isFirst = state_.replace.active != 0 && records_.generationOf(record) != generation();
  if (isFirst && std::memcmp(records_.row(record), row, table_.layout_->rowLength) == 0) return keep(record, change);
  Intent& intent = state_.intent;
  store(intent.replaces, uint32_t{isFirst});
  uint32_t movedBits = 0;
  for (const size_t i : std::span(moved, moves)) movedBits |= 1U << i;
  store(intent.moved, movedBits);
  intend(Doing::kChange, record, records_.versionChanged(record), 0, change);
  for (const size_t i : std::span(moved, moves)) {
    Key key;
    table_.plans_[i].shape.fromRow(records_.row(record), key);
    store(intent.entered[i], enter(i, row, record));
    store(intent.left[i], table_.secondary(heap_, i).announceLeaving(key, record));
  }
  log_.commit();
  records_.change(record, row);
  complete();
  if (moves > 0) grow();
  return 0;
}

void Table::Writer::completeChange() {
  const Intent& intent = state_.intent;
  const auto eachMoved = [&](auto&& visit) {
    for (uint32_t left = intent.moved; left != 0; left &= left - 1) visit(static_cast<size_t>(std::countr_zero(left)));
  };
  eachMoved([&](size_t i) { settle(i, intent.entered[i], intent.record); });
  eachMoved([&](size_t i) { leave(i, records_.rowBefore(), intent.left[i], intent.record); });
  if (intent.replaces == 0) return;
  records_.setGeneration(intent.record, generation());
  addOne(log_.noted(state_.replace.counts.changed));
}

// Written as it was: nothing that readers could see.
uint32_t Table::Writer::keep(Ref record, Change change) {
  log_.stand();
  addOne(log_.noted(counterOf(change)));
  addOne(log_.noted(state_.replace.counts.kept));
  records_.setGeneration(record, generation());
  return 0;
}

uint32_t Table::Writer::remove(const Key& key, Ref record, bool isLeftOver) {
  if (const uint32_t code = admitRemoval()) return refuse(code);
  Intent& intent = state_.intent;
  store(intent.replaces, uint32_t{isLeftOver});
  intend(Doing::kRemove, record, records_.versionBuried(record), key.hash, Change::kRemoved);
  state_.count.announceDeparture(log_, record);
  for (size_t i = 1; i < table_.planCount_; ++i) {
    if (table_.plans_[i].kind != IndexKind::kSecondary) continue;
    Key under;
    table_.plans_[i].shape.fromRow(records_.row(record), under);
    store(intent.left[i], table_.secondary(heap_, i).announceLeaving(under, record));
  }
  log_.commit();
  records_.bury(record);
  complete();
  return 0;
}

void Table::Writer::completeRemoval() {
  const Intent& intent = state_.intent;
  // The row stays as it is until the slot is taken again.
  const uint8_t* const row = records_.row(intent.record);
  state_.count.settleDeparture(intent.record);
  for (size_t i = 1; i < table_.planCount_; ++i) leave(i, row, intent.left[i], intent.record);
  table_.primary(heap_).erase(intent.hash, intent.record);
  records_.giveBack(intent.record);
  if (intent.replaces != 0) addOne(log_.noted(state_.replace.counts.removed));
}

// What the write is about; from here on the log has it under way. Steps before it stand.
void Table::Writer::intend(Doing what, Ref record, uint32_t version, uint64_t hash, Change change) {
  Intent& intent = state_.intent;
  store(intent.record, record);
  store(intent.version, version);
  store(intent.hash, hash);
  store(intent.change, static_cast<uint32_t>(change));
  store(intent.counted, counterOf(change) + 1);
  log_.begin(what);
}

// What follows from a write that is visible. After it the log has steps again.
void Table::Writer::complete() {
  switch (log_.doing()) {
    case Doing::kInsert:
      completeInsert();
      break;
    case Doing::kChange:
      completeChange();
      break;
    default:
      completeRemoval();
      break;
  }
  store(counterOf(static_cast<Change>(state_.intent.change)), state_.intent.counted);
  log_.begin(Doing::kStep);
}

uint64_t& Table::Writer::counterOf(Change change) {
  switch (change) {
    case Change::kInserted:
      return state_.inserted;
    case Change::kReplaced:
      return state_.replaced;
    case Change::kUpdated:
      return state_.updated;
    default:
      return state_.removed;
  }
}

// A writer died. Readers may hold what it handed out, which is free again once it is taken back, and may have missed
// what it had moved about: before and after, they are made to read again.
void Table::Writer::repair() {
  heap_.settleClaim();
  const Doing was = log_.doing();
  if (was == Doing::kNothing) return;
  const Intent& intent = state_.intent;
  heap_.overtakeReaders();
  if (was == Doing::kChange) records_.restore(intent.record);
  const bool visible =
      was != Doing::kStep && intent.record != kNoRef && records_.hasVersion(intent.record, intent.version);
  if (visible) {
    log_.takeBackToCommit();
  } else {
    log_.takeBack();
  }
  heap_.countShelves();
  heap_.overtakeReaders();
  if (visible) complete();
  log_.end();
  addOne(state_.repairs);
  FIBDB_PROBE(write_repaired, table_.layout().name.data(), visible);
}

void Table::repair() { const Writer writer(*this); }

void Table::attach(const schema::Table& layout, Arena& arena, TableState& state) {
  layout_ = &layout;
  arena_ = &arena;
  state_ = &state;
  recordLayout_ = RecordLayout(layout.rowLength);
  insertBytes_ = sumOver(layout, enterBytes);
  removeBytes_ = sumOver(layout, leaveBytes);
  keptBytes_ = keptBytes(layout);
  planCount_ = layout.indexes.size();
  const schema::Field* const vr = schema::findField(layout.fields, "vr_id");
  hasVr_ = vr != nullptr && vr->size() == sizeof(uint32_t);
  if (hasVr_) vrOffset_ = vr->offset;
  for (size_t i = 0; i < planCount_; ++i) {
    const auto columns = layout.indexes[i].parts();
    plans_[i].id = layout.indexes[i].id();
    plans_[i].kind = layout.indexes[i].kind;
    plans_[i].shape = KeyShape(columns);
    if (plans_[i].kind == IndexKind::kOrdered) {
      const schema::Index* const tries = triesOf(layout, layout.indexes[i]);
      if (tries != nullptr) plans_[i].tries = static_cast<uint8_t>(numberOf(*tries));
    }
    if (plans_[i].kind != IndexKind::kLongest) continue;
    if (triesOf(layout, layout.primary()) == &layout.indexes[i]) primaryTries_ = i;
    plans_[i].leading = KeyShape(columns.first(columns.size() - 2));
    plans_[i].addrOffset = columns[columns.size() - 2].offset;
    plans_[i].maskOffset = columns[columns.size() - 1].offset;
  }
}

const schema::Index* Table::findIndexAmong(uint32_t indexId) const {
  for (size_t i = 0; i < planCount_; ++i) {
    if (plans_[i].id == indexId) return &layout_->indexes[i];
  }
  return nullptr;
}

bool Table::masksAreValid(const uint8_t* row) const {
  for (size_t i = 1; i < planCount_; ++i) {
    if (plans_[i].kind == IndexKind::kLongest && row[plans_[i].maskOffset] > kMaxPrefixLength) return false;
  }
  return true;
}

Table::PrimaryIndex Table::primary(Heap& heap) const {
  return PrimaryIndex(heap, state_->indexes[0].hash, HashOfRecord{this});
}

SecondaryIndex Table::secondary(Heap& heap, size_t index) const {
  return SecondaryIndex(heap, state_->indexes[index].hash, state_->indexes[index].order, plans_[index].shape);
}

OrderedIndex<OrderedEntry> Table::ordered(Heap& heap, size_t index) const {
  return OrderedIndex<OrderedEntry>(heap, state_->indexes[index].order);
}

bool Table::isOrderedApart(size_t index, const uint8_t* row) const {
  const uint8_t tries = plans_[index].tries;
  return tries == 0 || plans_[tries].prefixIn(row).hasBitsBelow();
}

// The writer's own look: what it finds is live, since a write leaves no dead record in an index.
Ref Table::find(Heap& heap, const Key& key) const {
  const KeyShape& shape = plans_[0].shape;
  const Records rows = records(heap);
  return primary(heap).find(key.hash, [&](Ref record) { return shape.isInStored(rows.row(record), key.bytes); });
}

// A look at the stored row decides most cases without a copy. Should the row be in the making just then, no record
// has this key at that moment.
bool Table::readOne(Heap& heap, const Key& key, uint64_t latest, uint8_t* row) const {
  const KeyShape& shape = plans_[0].shape;
  const Records rows = records(heap);
  return readStable(heap, [&] {
           return primary(heap).find(key.hash, [&](Ref record) {
             rows.fetch(record);
             return shape.isInStored(rows.row(record), key.bytes) && rows.read(record, latest, row) &&
                    shape.isIn(row, key.bytes);
           });
         }) != kNoRef;
}

uint32_t Table::checkWritable() const {
  if (!arena_->isReadOnly()) return 0;
  writesRefused.fetch_add(1, std::memory_order_relaxed);
  return DB_ERR_READ_ONLY;
}

uint64_t refusedAsReader() { return writesRefused.load(std::memory_order_relaxed); }

uint32_t Table::write(const uint8_t* row, Change& change) {
  Key key;
  keyOf(row, key);
  return write(key, row, change);
}

uint32_t Table::write(const Key& key, const uint8_t* row, Change& change) {
  if (!masksAreValid(row)) return DB_ERR_BAD_KEY;
  if (const uint32_t code = checkWritable()) return code;
  Writer writer(*this);
  const Ref record = writer.find(key);
  change = record == kNoRef ? Change::kInserted : Change::kReplaced;
  return record == kNoRef ? writer.insert(key, row) : writer.change(record, row, change);
}

uint32_t Table::insert(const uint8_t* row) {
  if (!masksAreValid(row)) return DB_ERR_BAD_KEY;
  Key key;
  plans_[0].shape.fromRow(row, key);
  if (const uint32_t code = checkWritable()) return code;
  Writer writer(*this);
  if (writer.find(key) != kNoRef) return DB_ERR_EXISTS;
  return writer.insert(key, row);
}

uint32_t Table::update(const Key& key, const uint8_t* row, FieldSet staged) {
  if (const uint32_t code = checkWritable()) return code;
  Writer writer(*this);
  const Ref record = writer.find(key);
  if (record == kNoRef) return DB_ERR_NO_DATA;
  uint8_t changed[schema::kMaxRowLength];
  std::memcpy(changed, writer.row(record), layout_->rowLength);
  for (size_t i = 0; i < layout_->fields.size(); ++i) {
    const schema::Field& field = layout_->fields[i];
    if ((staged >> i & 1) == 0) continue;
    if (field.kind == schema::FieldKind::kNodes) {
      changed[field.offset] |= row[field.offset];
    } else {
      std::memcpy(changed + field.offset, row + field.offset, field.size());
    }
  }
  if (!plans_[0].shape.isIn(changed, key.bytes)) return DB_ERR_KEY_MISMATCH;
  return writer.change(record, changed, Change::kUpdated);
}

uint32_t Table::update(const uint8_t* primaryKey, const uint8_t* row, FieldSet staged) {
  Key key;
  keyOf(layout_->primary(), primaryKey, key);
  return update(key, row, staged);
}

uint32_t Table::remove(const schema::Index& index, const uint8_t* packed, uint64_t& removed) {
  Key key;
  keyOf(index, packed, key);
  return remove(index, key, removed);
}

uint32_t Table::remove(const schema::Index& index, const Key& key, uint64_t& removed) {
  removed = 0;
  if (const uint32_t code = checkWritable()) return code;
  if (index.kind == IndexKind::kPrimary) {
    Writer writer(*this);
    const Ref record = writer.find(key);
    if (record == kNoRef) return DB_ERR_NO_DATA;
    const uint32_t code = writer.remove(key, record);
    if (code == 0) removed = 1;
    return code;
  }
  if (index.kind != IndexKind::kSecondary) return DB_ERR_BAD_INDEX;
  const KeyShape& shape = plans_[numberOf(index)].shape;
  Cursor cursor;
  if (const uint32_t code = cursor.openKey(*this, index, key.bytes)) return code;
  uint8_t row[schema::kMaxRowLength];
  while (cursor.next(row) == 0) {
    Key primaryKey;
    plans_[0].shape.fromRow(row, primaryKey);
    Writer writer(*this);
    const Ref record = writer.find(primaryKey);
    // It may have gone, or gone elsewhere, since the cursor saw it.
    if (record == kNoRef || !shape.isIn(writer.row(record), key.bytes)) continue;
    if (const uint32_t code = writer.remove(primaryKey, record)) return code;
    ++removed;
  }
  return removed == 0 ? uint32_t{DB_ERR_NO_DATA} : 0;
}

uint32_t Table::read(const schema::Index& index, const uint8_t* key, uint8_t* row) const {
  if (index.kind != IndexKind::kPrimary && index.kind != IndexKind::kSecondary) return DB_ERR_BAD_INDEX;
  const size_t number = numberOf(index);
  Key wanted;
  plans_[number].shape.fromPacked(key, wanted);
  if (index.kind == IndexKind::kSecondary) return readFirst(number, wanted, row);
  Heap memory = heap();
  return readOne(memory, wanted, Records::kAnyTime, row) ? 0 : uint32_t{DB_ERR_NO_DATA};
}

void Table::fetchFirst(const Key& key) const {
  Heap memory = heap();
  primary(memory).fetchBucket(key.hash);
  if (primaryTries_ != 0) prefixes(memory, primaryTries_).fetchFirst(key.bytes);
}

void Table::fetchThen(const Key& key) const {
  Heap memory = heap();
  primary(memory).fetchEntries(key.hash);
  if (primaryTries_ != 0) prefixes(memory, primaryTries_).fetchThen(key.bytes);
}

bool Table::readUnder(const Records& rows, size_t index, const Key& key, Ref record, uint8_t* row) const {
  return rows.canBe(record) && rows.read(record, Records::kAnyTime, row) && plans_[index].shape.isIn(row, key.bytes);
}

// Looks at all records under the key, then once more at the first of them. If none became live under the key
// meanwhile, all that would come before it were gone when it was looked at last.
uint32_t Table::readFirst(size_t index, const Key& key, uint8_t* row) const {
  constexpr uint32_t kRun = 24;
  Heap memory = heap();
  const SecondaryIndex postings = secondary(memory, index);
  const Records rows = records(memory);
  const auto findBlock = [&] { return readStable(memory, [&] { return postings.find(key); }); };
  const auto arrivedAt = [&](Ref block) { return readStable(memory, [&] { return postings.arrivedAt(block); }); };
  for (;;) {
    const Ref block = findBlock();
    if (block == kNoRef) return DB_ERR_NO_DATA;
    const uint64_t began = arrivedAt(block);
    Ref first = kNoRef, last = kNoRef, run[kRun];
    while (const uint32_t got = readStable(memory, [&] { return postings.next(block, last, run, kRun); })) {
      for (const Ref record : std::span(run, got)) {
        uint8_t other[schema::kMaxRowLength];
        if (!readUnder(rows, index, key, record, other)) continue;
        if (first != kNoRef && !plans_[0].shape.less(other, row)) continue;
        std::memcpy(row, other, layout_->rowLength);
        first = record;
      }
      last = run[got - 1];
    }
    // The slot may have become another record's.
    uint8_t again[schema::kMaxRowLength];
    const bool none = first == kNoRef;
    const bool found = !none && readUnder(rows, index, key, first, again) && plans_[0].shape.same(row, again);
    acquireFence();
    if (!(none || found) || findBlock() != block || arrivedAt(block) != began) continue;
    if (none) return DB_ERR_NO_DATA;
    std::memcpy(row, again, layout_->rowLength);
    return 0;
  }
}

uint64_t Table::count() const {
  Heap memory = heap();
  const Records rows = records(memory);
  return readTally([&] { return memory.clock(); }, [&] { return state_->count.read(); },
                   [&](Ref record) { return rows.isLive(record); });
}

uint32_t Table::countByKey(const schema::Index& index, const uint8_t* key, uint64_t& count) const {
  if (index.kind == IndexKind::kPrimary) {
    uint8_t row[schema::kMaxRowLength];
    count = read(index, key, row) == 0 ? 1 : 0;
    return 0;
  }
  if (index.kind != IndexKind::kSecondary) return DB_ERR_BAD_INDEX;
  const size_t number = numberOf(index);
  Key wanted;
  plans_[number].shape.fromPacked(key, wanted);
  Heap memory = heap();
  const SecondaryIndex keys = secondary(memory, number);
  const Records rows = records(memory);
  const auto tallyNow = [&] {
    const Ref block = keys.find(wanted);
    return block == kNoRef ? Tally::Reading{0, kNoRef} : keys.tally(block);
  };
  count = readTally([&] { return memory.clock(); }, tallyNow,
                    [&](Ref record) {
                      uint8_t row[schema::kMaxRowLength];
                      return readUnder(rows, number, wanted, record, row);
                    });
  return 0;
}

uint32_t Table::setLimits(const Limits& limits) {
  if (const uint32_t code = checkWritable()) return code;
  const Writer writer(*this);
  store(state_->recordLimit, limits.records);
  store(state_->heap.limitBytes, limits.bytes);
  store(state_->peak, uint64_t{state_->count.settled()});
  return 0;
}

TableStats Table::stats() const {
  const TableState& state = *state_;
  return {
      .records = count(),
      .bytes = load(state.heap.heldBytes),
      .limits = {.records = load(state.recordLimit), .bytes = load(state.heap.limitBytes)},
      .inserted = load(state.inserted),
      .replaced = load(state.replaced),
      .updated = load(state.updated),
      .removed = load(state.removed),
      .refused = load(state.refused),
      .repairs = load(state.repairs),
  };
}

}  // namespace fibdb::store
