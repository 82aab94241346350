// engine/store/table.cc: what a write does, step by step, and reading by key.
#include "engine/store/table.h"

#include <cstring>

#include "engine/store/servable.h"
#include "engine/store/word.h"
#include "fibdb/engine.h"

namespace fibdb::store {

using schema::IndexKind;

namespace {

void addOne(uint64_t& counter) { store(counter, counter + 1); }

// Why there was no extent.
uint32_t extentRefusal(const HeapState& heap) {
  const uint64_t wanted = heap.heldBytes.load(std::memory_order_relaxed) + kExtentBytes;
  return heap.limitBytes != 0 && wanted > heap.limitBytes ? DB_ERR_MEMORY_LIMIT : DB_ERR_NO_MEMORY;
}

}  // namespace

uint64_t Table::HashOfRecord::operator()(Ref record) const {
  Heap heap = table->heap();
  Key key;
  table->plans_[0].shape.fromRow(table->records(heap).row(record), key);
  return key.hash;
}

// One write: holds the lock, knows the time, and changes records in all indexes at once.
class Table::Writer {
 public:
  explicit Writer(Table& table)
      : table_(table), state_(*table.state_), heap_(table.heap()), records_(table.records(heap_)) {
    pthread_mutex_lock(&state_.writers);
    heap_.beginWrite();
  }
  ~Writer() { pthread_mutex_unlock(&state_.writers); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  Ref find(const Key& key) { return table_.find(heap_, key); }
  const uint8_t* row(Ref record) const { return records_.row(record); }

  uint32_t insert(const Key& key, const uint8_t* row);
  uint32_t change(Ref record, const uint8_t* row);
  uint32_t remove(const Key& key, Ref record);

 private:
  uint32_t refuse(uint32_t code) {
    addOne(state_.refused);
    return code;
  }
  uint32_t prepare();
  Ref enter(size_t index, const uint8_t* row, Ref record);
  void leave(size_t index, const uint8_t* row, Ref record);
  uint32_t enterMoved(std::span<const size_t> moved, const uint8_t* row, Ref record, Ref* keyBlocks);
  void grow();

  Table& table_;
  TableState& state_;
  Heap heap_;
  Records records_;
};

// What has to be there before the first record of a table can be entered.
uint32_t Table::Writer::prepare() {
  if (const uint32_t code = table_.primary(heap_).prepare()) return code;
  for (size_t i = 1; i < table_.planCount_; ++i) {
    uint32_t code = 0;
    if (table_.plans_[i].kind == IndexKind::kSecondary) code = table_.secondary(heap_, i).prepare();
    if (table_.plans_[i].kind == IndexKind::kLongest) code = table_.prefixes(heap_, i).prepare();
    if (code != 0) return code;
  }
  return heap_.ensure(table_.insertBytes_);
}

// Returns what is to be counted once the record is live: the block of a secondary key.
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
      table_.ordered(heap_, index).insert(plan.shape.orderedInRow(row, record));
      break;
    case IndexKind::kLongest:
      plan.leading.fromRow(row, key);
      table_.prefixes(heap_, index).enter(key, plan.prefixIn(row), record, [&](Ref other) {
        return plan.prefixIn(records_.row(other)).addr;
      });
      break;
  }
  return kNoRef;
}

void Table::Writer::leave(size_t index, const uint8_t* row, Ref record) {
  const Plan& plan = table_.plans_[index];
  Key key;
  switch (plan.kind) {
    case IndexKind::kPrimary:
      break;
    case IndexKind::kSecondary:
      plan.shape.fromRow(row, key);
      table_.secondary(heap_, index).leave(key, record);
      break;
    case IndexKind::kOrdered:
      table_.ordered(heap_, index).erase(plan.shape.orderedInRow(row, record));
      break;
    case IndexKind::kLongest:
      plan.leading.fromRow(row, key);
      table_.prefixes(heap_, index).leave(key, plan.prefixIn(row), record);
      break;
  }
}

void Table::Writer::grow() {
  table_.primary(heap_).grow();
  for (size_t i = 1; i < table_.planCount_; ++i) {
    if (table_.plans_[i].kind == IndexKind::kSecondary) table_.secondary(heap_, i).grow();
    if (table_.plans_[i].kind == IndexKind::kLongest) table_.prefixes(heap_, i).grow();
  }
}

uint32_t Table::Writer::insert(const Key& key, const uint8_t* row) {
  if (state_.recordLimit != 0 && state_.count >= state_.recordLimit) return refuse(DB_ERR_RECORD_LIMIT);
  if (const uint32_t code = prepare()) return refuse(code);
  const Ref record = records_.take(row);
  if (record == kNoRef) return refuse(extentRefusal(state_.heap));

  Ref keyBlocks[kMaxIndexes];
  table_.primary(heap_).insert(key.hash, record);
  for (size_t i = 1; i < table_.planCount_; ++i) keyBlocks[i] = enter(i, row, record);
  records_.enliven(record);
  publish(state_.count, state_.count + 1);
  for (size_t i = 1; i < table_.planCount_; ++i) {
    if (keyBlocks[i] != kNoRef) table_.secondary(heap_, i).count(keyBlocks[i]);
  }
  grow();
  return 0;
}

// Enters the record under the new keys of these indexes, or under none. At every step there is memory to
// leave as many keys as were entered: to take them back here, or for the old ones later.
uint32_t Table::Writer::enterMoved(std::span<const size_t> moved, const uint8_t* row, Ref record, Ref* keyBlocks) {
  for (size_t i = 0; i < moved.size(); ++i) {
    if (const uint32_t code = heap_.ensure(moveBytes(i + 1))) {
      while (i-- > 0) {
        Key key;
        table_.plans_[moved[i]].shape.fromRow(row, key);
        table_.secondary(heap_, moved[i]).withdraw(key, record);
      }
      return code;
    }
    keyBlocks[i] = enter(moved[i], row, record);
  }
  return 0;
}

// Only secondary keys can change: ordered and longest-prefix keys are part of the primary key.
uint32_t Table::Writer::change(Ref record, const uint8_t* row) {
  size_t moved[kMaxIndexes], moves = 0;
  for (size_t i = 1; i < table_.planCount_; ++i) {
    const Plan& plan = table_.plans_[i];
    if (plan.kind == IndexKind::kSecondary && !plan.shape.same(records_.row(record), row)) moved[moves++] = i;
  }
  if (moves == 0) {
    records_.change(record, row);
    return 0;
  }
  Ref keyBlocks[kMaxIndexes];
  if (const uint32_t code = enterMoved({moved, moves}, row, record, keyBlocks)) return refuse(code);

  uint8_t before[schema::kMaxRowLength];
  std::memcpy(before, records_.row(record), table_.layout_->rowLength);
  records_.change(record, row);
  for (size_t i = 0; i < moves; ++i) table_.secondary(heap_, moved[i]).count(keyBlocks[i]);
  for (size_t i = 0; i < moves; ++i) leave(moved[i], before, record);
  grow();
  return 0;
}

uint32_t Table::Writer::remove(const Key& key, Ref record) {
  if (const uint32_t code = heap_.ensureBeyondLimit(table_.removeBytes_)) return refuse(code);
  records_.bury(record);
  publish(state_.count, state_.count - 1);
  // The row stays as it was until the slot is given back.
  for (size_t i = 1; i < table_.planCount_; ++i) leave(i, records_.row(record), record);
  table_.primary(heap_).erase(key.hash, record);
  records_.retire(record);
  addOne(state_.removed);
  return 0;
}

void Table::attach(const schema::Table& layout, Arena& arena, TableState& state) {
  layout_ = &layout;
  arena_ = &arena;
  state_ = &state;
  recordLayout_ = RecordLayout(layout.rowLength);
  insertBytes_ = sumOver(layout, enterBytes);
  removeBytes_ = sumOver(layout, leaveBytes);
  planCount_ = layout.indexes.size();
  for (size_t i = 0; i < planCount_; ++i) {
    const auto columns = layout.indexes[i].parts();
    plans_[i].kind = layout.indexes[i].kind;
    plans_[i].shape = KeyShape(columns);
    if (plans_[i].kind != IndexKind::kLongest) continue;
    plans_[i].leading = KeyShape(columns.first(columns.size() - 2));
    plans_[i].addrOffset = columns[columns.size() - 2].offset;
    plans_[i].maskOffset = columns[columns.size() - 1].offset;
  }
}

const schema::Index* Table::findIndex(uint32_t indexId) const {
  for (const schema::Index& index : layout_->indexes) {
    if (index.id() == indexId) return &index;
  }
  return nullptr;
}

size_t Table::numberOf(const schema::Index& index) const {
  return static_cast<size_t>(&index - layout_->indexes.data());
}

Prefix Table::Plan::prefixIn(const uint8_t* row) const {
  Prefix prefix;
  std::memcpy(&prefix.addr, row + addrOffset, sizeof prefix.addr);
  prefix.length = row[maskOffset];
  return prefix;
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

PrefixTables Table::prefixes(Heap& heap, size_t index) const {
  return PrefixTables(heap, state_->indexes[index].hash, plans_[index].leading);
}

// The record with this key, perhaps no longer or not yet live.
Ref Table::find(Heap& heap, const Key& key) const {
  const KeyShape& shape = plans_[0].shape;
  const Records rows = records(heap);
  return primary(heap).find(key.hash, [&](Ref record) { return shape.isInStored(rows.row(record), key.bytes); });
}

uint32_t Table::write(const uint8_t* row, Change& change) {
  if (!masksAreValid(row)) return DB_ERR_BAD_KEY;
  Key key;
  plans_[0].shape.fromRow(row, key);
  Writer writer(*this);
  const Ref record = writer.find(key);
  change = record == kNoRef ? Change::kInserted : Change::kReplaced;
  const uint32_t code = record == kNoRef ? writer.insert(key, row) : writer.change(record, row);
  if (code == 0) addOne(record == kNoRef ? state_->inserted : state_->replaced);
  return code;
}

uint32_t Table::update(const uint8_t* primaryKey, const uint8_t* row, FieldSet staged) {
  Key key;
  plans_[0].shape.fromPacked(primaryKey, key);
  Writer writer(*this);
  const Ref record = writer.find(key);
  if (record == kNoRef) return DB_ERR_NO_DATA;
  uint8_t changed[schema::kMaxRowLength];
  std::memcpy(changed, writer.row(record), layout_->rowLength);
  for (size_t i = 0; i < layout_->fields.size(); ++i) {
    const schema::Field& field = layout_->fields[i];
    if ((staged >> i & 1) != 0) std::memcpy(changed + field.offset, row + field.offset, field.size());
  }
  if (!plans_[0].shape.isIn(changed, primaryKey)) return DB_ERR_KEY_MISMATCH;
  const uint32_t code = writer.change(record, changed);
  if (code == 0) addOne(state_->updated);
  return code;
}

uint32_t Table::remove(const schema::Index& index, const uint8_t* key, uint64_t& removed) {
  removed = 0;
  if (index.kind != IndexKind::kPrimary && index.kind != IndexKind::kSecondary) return DB_ERR_BAD_INDEX;
  const KeyShape& shape = plans_[numberOf(index)].shape;
  Cursor cursor;
  if (const uint32_t code = cursor.openKey(*this, index, key)) return code;
  uint8_t row[schema::kMaxRowLength];
  while (cursor.next(row) == 0) {
    Key primaryKey;
    plans_[0].shape.fromRow(row, primaryKey);
    Writer writer(*this);
    const Ref record = writer.find(primaryKey);
    // It may have gone, or gone elsewhere, since the cursor saw it.
    if (record == kNoRef || !shape.isIn(writer.row(record), key)) continue;
    if (const uint32_t code = writer.remove(primaryKey, record)) return code;
    ++removed;
  }
  return removed == 0 ? uint32_t{DB_ERR_NO_DATA} : 0;
}

uint32_t Table::read(const schema::Index& index, const uint8_t* key, uint8_t* row) const {
  if (index.kind == IndexKind::kSecondary) return readFirst(index, key, row);
  if (index.kind != IndexKind::kPrimary) return DB_ERR_BAD_INDEX;
  Key wanted;
  plans_[0].shape.fromPacked(key, wanted);
  Heap memory = heap();
  const Ref record = readStable(memory, [&] { return find(memory, wanted); });
  if (record == kNoRef || !records(memory).read(record, Records::kAnyTime, row)) return DB_ERR_NO_DATA;
  // Another key: the record went, and its slot has been given to another one.
  return plans_[0].shape.isIn(row, key) ? 0 : uint32_t{DB_ERR_NO_DATA};
}

uint32_t Table::readFirst(const schema::Index& index, const uint8_t* key, uint8_t* row) const {
  Cursor cursor;
  cursor.openKey(*this, index, key);
  if (cursor.next(row) != 0) return DB_ERR_NO_DATA;
  uint8_t other[schema::kMaxRowLength];
  while (cursor.next(other) == 0) {
    if (plans_[0].shape.less(other, row)) std::memcpy(row, other, layout_->rowLength);
  }
  return 0;
}

uint64_t Table::count() const { return follow(state_->count); }

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
  count = readStable(memory, [&] { return secondary(memory, number).recordsUnder(wanted); });
  return 0;
}

void Table::setLimits(const Limits& limits) {
  pthread_mutex_lock(&state_->writers);
  store(state_->recordLimit, limits.records);
  store(state_->heap.limitBytes, limits.bytes);
  pthread_mutex_unlock(&state_->writers);
}

TableStats Table::stats() const {
  const TableState& state = *state_;
  return {
      .records = count(),
      .bytes = state.heap.heldBytes.load(std::memory_order_relaxed),
      .limits = {.records = load(state.recordLimit), .bytes = load(state.heap.limitBytes)},
      .inserted = load(state.inserted),
      .replaced = load(state.replaced),
      .updated = load(state.updated),
      .removed = load(state.removed),
      .refused = load(state.refused),
  };
}

}  // namespace fibdb::store
