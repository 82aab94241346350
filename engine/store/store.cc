// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/store.cc: the tables of a schema, their states in the arena.
#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "engine/store/servable.h"
#include "engine/store/table.h"

namespace fibdb::store {

namespace {

// Address space only; memory is taken as it is used.
constexpr uint64_t kReserveBytes = uint64_t{32} << 30;
static_assert(kReserveBytes <= kMaxArenaBytes);

static_assert(std::ranges::all_of(schema::kTables, isServable));

static_assert(sizeof(TableState) <= kExtentBytes);

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

alignas(Store) unsigned char theStore[sizeof(Store)];
pthread_once_t theStoreOnce = PTHREAD_ONCE_INIT;

}  // namespace

Store& Store::instance() {
  // Never destroyed: threads of the process may still be in it while it exits.
  pthread_once(&theStoreOnce, [] { new (theStore) Store(schema::kTables, kReserveBytes); });
  return *std::launder(reinterpret_cast<Store*>(theStore));
}

Store::Store(std::span<const schema::Table> tables, uint64_t reserveBytes) : arena_(reserveBytes), schema_(tables) {
  if (!arena_.valid() || !std::ranges::all_of(tables, isServable)) return;
  auto* room = static_cast<Table*>(std::calloc(tables.size(), sizeof(Table)));
  if (room == nullptr) return;
  tables_ = room;
  for (size_t i = 0; i < tables.size(); ++i) new (&tables_[i]) Table();
  if (!makeStates()) {
    std::free(room);
    tables_ = nullptr;
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

constexpr size_t kStatesPerExtent = kExtentBytes / sizeof(TableState);

uint64_t Store::stateBytes() const { return (schema_.size() + kStatesPerExtent - 1) / kStatesPerExtent * kExtentBytes; }

// A state for each table, and the table attached to it; false when the arena is too small.
bool Store::makeStates() {
  TableState* states = nullptr;
  for (size_t i = 0; i < schema_.size(); ++i) {
    if (i % kStatesPerExtent == 0) {
      Ref claimed = kNoRef;
      const Ref extent = arena_.takeExtent(kStoreOwner, claimed);
      if (extent == kNoRef) return false;
      states = arena_.at<TableState>(extent);
    }
    TableState& state = states[i % kStatesPerExtent];
    makeLock(state.writers);
    state.heap.owner = static_cast<uint32_t>(i);
    tables_[i].attach(schema_[i], arena_, state);
  }
  return true;
}

}  // namespace fibdb::store
