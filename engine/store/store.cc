// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/store.cc: the tables of a schema, their states in the arena.
#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string_view>

#include "engine/store/servable.h"
#include "engine/store/table.h"

namespace fibdb::store {

namespace {

static_assert(std::ranges::all_of(schema::kTables, isServable));

static_assert(sizeof(TableState) <= kExtentBytes);
constexpr size_t kStatesPerExtent = kExtentBytes / sizeof(TableState);
constexpr size_t extentsFor(size_t tables) { return (tables + kStatesPerExtent - 1) / kStatesPerExtent; }

// What the extents with the states of the tables belong to; those of tables belong to their number and 1.
constexpr uint8_t kStoreOwner = UINT8_MAX;
static_assert(schema::kTableCount < kStoreOwner);

void makeLock(pthread_mutex_t& lock) {
  pthread_mutexattr_t shared;
  pthread_mutexattr_init(&shared);
  pthread_mutexattr_setpshared(&shared, PTHREAD_PROCESS_SHARED);
  pthread_mutexattr_setrobust(&shared, PTHREAD_MUTEX_ROBUST);
  pthread_mutex_init(&lock, &shared);
  pthread_mutexattr_destroy(&shared);
}

// A schema in one number (FNV-1a): names, shapes and keys in their order.
class SchemaHash {
 public:
  uint64_t value() const { return value_; }
  void add(uint64_t number) {
    for (unsigned shift = 0; shift < 64; shift += 8) addByte(static_cast<uint8_t>(number >> shift));
  }
  void add(std::string_view text) {
    for (const char letter : text) addByte(static_cast<uint8_t>(letter));
    addByte(0);
  }
  void add(const schema::Table& table) {
    add(table.name);
    add(table.rowLength);
    for (const schema::Field& field : table.fields) {
      add(field.name);
      add(uint64_t{field.offset} << 32 | uint64_t{field.count} << 16 | uint64_t{field.width} << 8 |
          static_cast<uint64_t>(field.kind));
    }
    for (const schema::Index& index : table.indexes) {
      add(index.id());
      for (const schema::Column& column : index.parts()) {
        add(uint64_t{column.offset} << 32 | uint64_t{column.size} << 8 | static_cast<uint64_t>(column.kind));
      }
    }
  }

 private:
  void addByte(uint8_t byte) { value_ = (value_ ^ byte) * 0x100000001B3; }

  uint64_t value_ = 0xCBF29CE484222325;
};

constexpr StoredSize kStoredSizes[] = {
    {"a word", sizeof(void*)},
    {"a lock", sizeof(pthread_mutex_t)},
    {"an extent", kExtentBytes},
    {"a table's state", sizeof(TableState)},
    {"a heap's state", sizeof(HeapState)},
    {"a log of overwritten words", sizeof(UndoLogState)},
    {"the state of records", sizeof(RecordsState)},
    {"an index's state", sizeof(IndexState)},
    {"a write's intent", sizeof(Intent)},
    {"a bucket", sizeof(HashBucket)},
    {"a node", kPieceBytes},
    {"a trie's state", sizeof(LongestPrefixState)},
};
static_assert(std::size(kStoredSizes) <= kMostSizes);

}  // namespace

ArenaIdentity Store::identityOf(std::span<const schema::Table> tables) {
  SchemaHash hash;
  for (const schema::Table& table : tables) hash.add(table);
  return {kStoredSizes, hash.value()};
}

Store::Store(std::span<const schema::Table> tables, uint64_t reserveBytes) : arena_(reserveBytes), schema_(tables) {
  takeUp();
}

Store::Store(std::span<const schema::Table> tables, ArenaFile& file) : arena_(file), schema_(tables) { takeUp(); }

void Store::takeUp() {
  code_ = DB_ERR_NO_MEMORY;
  if (!arena_.valid() || !std::ranges::all_of(schema_, isServable)) return;
  auto* room = static_cast<Table*>(std::calloc(schema_.size(), sizeof(Table)));
  if (room == nullptr) return;
  tables_ = room;
  for (size_t i = 0; i < schema_.size(); ++i) new (&tables_[i]) Table();
  const bool joins = isShared() && !arena_.file()->isNew();
  if (joins ? findStates() : makeStates()) {
    code_ = 0;
  } else if (joins) {
    code_ = DB_ERR_ARENA_FOREIGN;
  }
}

Store::~Store() { std::free(tables_); }

void Store::clear() {
  arena_.clear();
  makeStates();
}

void Store::holdWriters() {
  for (size_t i = 0; i < schema_.size(); ++i) pthread_mutex_lock(&tables_[i].state_->writers);
}

void Store::letWritersGo() {
  for (size_t i = 0; i < schema_.size(); ++i) pthread_mutex_unlock(&tables_[i].state_->writers);
}

void Store::remakeLocks() {
  letWritersGo();
  for (size_t i = 0; i < schema_.size(); ++i) makeLock(tables_[i].state_->writers);
}

uint64_t Store::stateBytes() const { return extentsFor(schema_.size()) * kExtentBytes; }

// They are the first that is taken from an arena, so who joins knows where they are.
bool Store::makeStates() {
  for (size_t i = 0; i < extentsFor(schema_.size()); ++i) {
    Ref claimed = kNoRef;
    if (arena_.takeExtent(kStoreOwner, claimed) != Arena::extentAt(i)) return false;
  }
  for (size_t i = 0; i < schema_.size(); ++i) {
    attach(i, Arena::extentAt(i / kStatesPerExtent));
    makeLock(tables_[i].state_->writers);
    tables_[i].state_->heap.owner = static_cast<uint32_t>(i);
  }
  return true;
}

bool Store::findStates() {
  if (arena_.reservedBytes() < stateBytes() + kExtentBytes) return false;
  for (size_t i = 0; i < extentsFor(schema_.size()); ++i) {
    if (!arena_.isOwn(Arena::extentAt(i), kStoreOwner)) return false;
  }
  for (size_t i = 0; i < schema_.size(); ++i) attach(i, Arena::extentAt(i / kStatesPerExtent));
  return true;
}

void Store::attach(size_t number, Ref extent) {
  tables_[number].attach(schema_[number], arena_, arena_.at<TableState>(extent)[number % kStatesPerExtent]);
}

}  // namespace fibdb::store
