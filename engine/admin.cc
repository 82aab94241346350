// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/admin.cc: administration: texts of codes, statistics, limits, walks over any table, test faults; and fork().
#include <pthread.h>

#include <cstring>

#include "engine/client/batch.h"
#include "engine/client/faults.h"
#include "engine/client/object.h"
#include "engine/service/table_service.h"
#include "engine/store/check.h"
#include "fibdb/engine.h"
#include "platform/objdb.h"

namespace fibdb {
namespace {

struct ErrorText {
  uint32_t code;
  const char* text;
};

constexpr ErrorText kErrorTexts[] = {
    {FIB_DB_OK, "success"},
    {FIB_DB_ERR, "failed; as a rule the reason was logged"},
    {FIB_DB_NOT_FOUND, "there is no such record, or the iteration has ended"},
    {FIB_DB_BATCH_NOT_EXECUTED, "the batch was not executed now and is kept: try again"},
    {FIB_DB_NO_ROUTE, "no prefix covers the address"},
    {DB_ERR_FIELD_ABSENT, "the record never had this node"},
    {DB_ERR_RETRY, "not taken now, may be retried: the batch is full"},
    {DB_RET_PUB_STATUS, "success, and the change waits for publication"},
    {DB_ERR_NO_DATA, "no record has this key"},
    {DB_ERR_BATCH_QUEUE_FULL, "the batch was not taken: too many are waiting"},
    {DB_ERR_BATCH_BUSY, "not taken: the connection is busy"},
    {DB_ERR_ITER_END, "the iteration has ended"},
    {DB_ERR_BAD_HANDLE, "the handle is zero, stale or of another kind"},
    {DB_ERR_WRONG_TABLE, "the object belongs to another table"},
    {DB_ERR_WRONG_KIND, "the object was not created for this operation"},
    {DB_ERR_NULL_ARGUMENT, "a pointer that must not be NULL is NULL"},
    {DB_ERR_BAD_INDEX, "the table has no such index, or it cannot serve this operation"},
    {DB_ERR_BAD_KEY, "the key is outside its index: a mask above 32"},
    {DB_ERR_KEY_MISMATCH, "a staged key field differs from the key of the update"},
    {DB_ERR_BAD_LENGTH, "a field, row, key or buffer has the wrong length"},
    {DB_ERR_BAD_PROPERTY, "not property 0, not four bytes, or a table without vr_id"},
    {DB_ERR_NO_CURRENT, "the object stands on no record"},
    {DB_ERR_BAD_STATEMENT, "an unknown statement or condition, or no complete statement"},
    {DB_ERR_OBJECT_LIMIT, "too many objects or connections exist"},
    {DB_ERR_NO_MEMORY, "out of memory"},
    {DB_ERR_MEMORY_LIMIT, "the table's memory limit is reached"},
    {DB_ERR_RECORD_LIMIT, "the table's record limit is reached"},
    {DB_ERR_BATCH_EMPTY_OBJECT, "the batch object has no operation begun"},
    {DB_ERR_CONNECTION_CLOSED, "the connection of this batch object is closed"},
    {DB_ERR_BAD_NODE, "the table has no child node of this name, or the handle is another node's"},
    {DB_ERR_NOT_REGISTERED, "no table is registered under this id"},
    {DB_ERR_ALREADY_REGISTERED, "the id belongs to another table"},
    {DB_ERR_BAD_DESCRIPTOR, "a table descriptor without name or a function, or an id above 63"},
    {DB_ERR_EXISTS, "a record with this primary key exists"},
    {DB_ERR_READ_ONLY, "the process joined the arena for reading only"},
    {DB_ERR_ARENA_ACCESS, "the arena's file cannot be opened, made or mapped"},
    {DB_ERR_ARENA_FOREIGN, "the file is no arena"},
    {DB_ERR_ARENA_LAYOUT, "the arena was made by another version of the engine"},
    {DB_ERR_ARENA_CUT, "the arena's file is shorter than it was made"},
    {DB_ERR_ARENA_JOINED, "the process is in an arena already"},
    {DB_ERR_ARENA_BUSY, "processes are in the arena"},
    {DB_ERR_REPLACE_BUSY, "a process is telling the table anew"},
    {DB_ERR_NO_REPLACE, "nobody is telling the table anew"},
    {DB_ERR_OVERTAKEN, "writes to the table came between again and again"},
};

// 0 and the table, or DB_ERR_WRONG_TABLE for a number that no table has.
uint32_t findTable(uint32_t number, store::Table*& out) {
  if (number >= schema::kTableCount) return DB_ERR_WRONG_TABLE;
  store::Store& store = store::Store::instance();
  if (const uint32_t code = store.code()) return code;
  out = &store.table(number);
  return 0;
}

// Padding is no column.
bool isColumn(const schema::Field& field) { return field.kind != schema::FieldKind::kPad; }

const schema::Field* findColumn(const schema::Table& layout, uint32_t column) {
  for (const schema::Field& field : layout.fields) {
    if (isColumn(field) && column-- == 0) return &field;
  }
  return nullptr;
}

uint32_t visitAll(store::Cursor& cursor, uint32_t rowLength, FibDbEngineVisit visit, void* context) {
  alignas(8) uint8_t row[schema::kMaxRowLength];
  while (cursor.next(row) == 0 && visit(row, rowLength, context) == 0) {
  }
  return 0;
}

// Around fork(): whatever the other threads are doing comes to a point where no lock is held, so that the child finds
// nothing half done; but for shared tables, which the child shares. No call holds two of these locks; the order is for
// threads that fork at the same time.
void beforeFork() {
  client::holdConnections();
  client::holdObjects();
  store::Store::holdStore();
}

void afterForkInParent() {
  store::Store::letStoreGo();
  client::letObjectsGo();
  client::letConnectionsGo();
}

void afterForkInChild() {
  store::Store::remakeStore();
  client::forgetObjects();
  client::forgetConnections();
  service::forgetIterators();
}

// Threads may still write, as when the process is killed; that harms nobody.
[[gnu::destructor]] void leaveArena() {
  store::Store* const store = store::Store::known();
  if (store != nullptr && store->valid() && store->isShared()) store->arena().leave();
}

[[gnu::constructor]] void watchForks() { pthread_atfork(beforeFork, afterForkInParent, afterForkInChild); }

}  // namespace
}  // namespace fibdb

using namespace fibdb;

const char* fibdb_engine_version(void) { return FIBDB_VERSION; }

const char* fibdb_engine_error_text(uint32_t code) {
  for (const ErrorText& entry : kErrorTexts) {
    if (entry.code == code) return entry.text;
  }
  return "unknown code";
}

uint32_t fibdb_engine_table_count(void) { return schema::kTableCount; }

uint32_t fibdb_engine_find_table(const char* name) {
  for (uint32_t i = 0; name != nullptr && i < schema::kTableCount; ++i) {
    if (schema::kTables[i].name == name) return i;
  }
  return UINT32_MAX;
}

uint32_t fibdb_engine_table_stats(uint32_t table, FibDbEngineTableStats* out) {
  store::Table* found = nullptr;
  if (out == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (const uint32_t code = findTable(table, found)) return code;
  const store::TableStats stats = found->stats();
  *out = {
      .name = found->layout().name.data(),
      .rowLength = found->layout().rowLength,
      .indexCount = static_cast<uint32_t>(found->layout().indexes.size()),
      .records = stats.records,
      .bytes = stats.bytes,
      .recordLimit = stats.limits.records,
      .memoryLimit = stats.limits.bytes,
      .inserted = stats.inserted,
      .replaced = stats.replaced,
      .updated = stats.updated,
      .removed = stats.removed,
      .refused = stats.refused,
  };
  return 0;
}

uint32_t fibdb_engine_set_limits(uint32_t table, uint64_t records, uint64_t bytes) {
  store::Table* found = nullptr;
  if (const uint32_t code = findTable(table, found)) return code;
  return found->setLimits({.records = records, .bytes = bytes});
}

uint32_t fibdb_engine_column_count(uint32_t table) {
  if (table >= schema::kTableCount) return 0;
  uint32_t count = 0;
  for (const schema::Field& field : schema::kTables[table].fields) count += isColumn(field);
  return count;
}

uint32_t fibdb_engine_column(uint32_t table, uint32_t column, FibDbEngineColumn* out) {
  if (out == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (table >= schema::kTableCount) return DB_ERR_WRONG_TABLE;
  const schema::Field* field = findColumn(schema::kTables[table], column);
  if (field == nullptr) return DB_ERR_NO_DATA;
  const bool bytes = field->kind == schema::FieldKind::kBytes;
  *out = {field->name.data(), bytes ? FIBDB_ENGINE_BYTES : FIBDB_ENGINE_NUMBER, field->offset, field->width,
          field->count};
  return 0;
}

uint32_t fibdb_engine_walk(uint32_t table, FibDbEngineVisit visit, void* context) {
  store::Table* found = nullptr;
  if (visit == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (const uint32_t code = findTable(table, found)) return code;
  store::Cursor cursor;
  cursor.openAll(*found);
  return visitAll(cursor, found->layout().rowLength, visit, context);
}

uint32_t fibdb_engine_lookup_each(uint32_t table, uint32_t index, const void* leading, const uint32_t* addresses,
                                  uint32_t count, void* rows, uint8_t* found) {
  store::Table* in = nullptr;
  const bool nothing = count == 0;
  if (leading == nullptr || (!nothing && (addresses == nullptr || rows == nullptr || found == nullptr))) {
    return DB_ERR_NULL_ARGUMENT;
  }
  if (const uint32_t code = findTable(table, in)) return code;
  const schema::Index* prefixes = in->findIndex(index);
  if (prefixes == nullptr) return DB_ERR_BAD_INDEX;
  const auto* key = static_cast<const uint8_t*>(leading);
  return in->lookUpEach(*prefixes, key, addresses, count, static_cast<uint8_t*>(rows), found);
}

uint32_t fibdb_engine_walk_range(uint32_t table, uint32_t index, const void* low, const void* high,
                                 FibDbEngineVisit visit, void* context) {
  store::Table* found = nullptr;
  if (low == nullptr || high == nullptr || visit == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (const uint32_t code = findTable(table, found)) return code;
  const schema::Index* order = found->findIndex(index);
  if (order == nullptr) return DB_ERR_BAD_INDEX;
  store::Cursor cursor;
  const auto* from = static_cast<const uint8_t*>(low);
  if (const uint32_t code = cursor.openRange(*found, *order, from, static_cast<const uint8_t*>(high))) return code;
  return visitAll(cursor, found->layout().rowLength, visit, context);
}

uint32_t fibdb_engine_explain(uint32_t table, uint32_t index, const void* key, uint32_t* nodes) {
  store::Table* found = nullptr;
  if (key == nullptr || nodes == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (const uint32_t code = findTable(table, found)) return code;
  const schema::Index* asked = found->findIndex(index);
  return asked == nullptr ? uint32_t{DB_ERR_BAD_INDEX}
                          : found->nodesTo(*asked, static_cast<const uint8_t*>(key), *nodes);
}

uint32_t fibdb_engine_clear(uint32_t table, uint64_t* removed) {
  store::Table* found = nullptr;
  if (const uint32_t code = findTable(table, found)) return code;
  const schema::Index& primary = found->layout().primary();
  uint64_t gone = 0;
  store::Cursor cursor;
  cursor.openAll(*found);
  alignas(8) uint8_t row[schema::kMaxRowLength];
  store::Key key;
  uint32_t code = 0;
  while (code == 0 && cursor.next(row) == 0) {
    uint64_t one = 0;
    found->keyOf(row, key);
    code = found->remove(primary, key, one);
    gone += one;
    if (code == DB_ERR_NO_DATA) code = 0;  // another was faster
  }
  if (removed != nullptr) *removed = gone;
  return code;
}

uint32_t fibdb_engine_check(FibDbEngineFinding visit, void* context, FibDbEngineCheck* out) {
  if (visit == nullptr || out == nullptr) return DB_ERR_NULL_ARGUMENT;
  store::Store& store = store::Store::instance();
  if (const uint32_t code = store.code()) return code;
  store::CheckResult result;
  const auto each = [&](const char* table, const char* finding) { return visit(table, finding, context) == 0; };
  const uint32_t code = store::Check::run(store, each, result);
  *out = {.tables = result.checked,
          .overtaken = result.overtaken,
          .records = result.records,
          .blocks = result.blocks,
          .findings = result.findings};
  // What was lost meanwhile was not what was checked.
  return code != 0 ? code : store.code();
}

uint32_t fibdb_engine_structures(uint32_t table, FibDbEngineStructure visit, void* context) {
  if (visit == nullptr) return DB_ERR_NULL_ARGUMENT;
  store::Table* found = nullptr;
  if (const uint32_t code = findTable(table, found)) return code;
  store::Store& store = store::Store::instance();
  const auto each = [&](const char* structure, uint32_t index, uint64_t bytes) {
    return visit(structure, index, bytes, context) == 0;
  };
  const uint32_t code = store::Check::measure(store, table, each);
  return code != 0 ? code : store.code();
}

uint32_t fibdb_engine_begin_replace(uint32_t table, uint32_t vr) {
  store::Table* found = nullptr;
  if (const uint32_t code = findTable(table, found)) return code;
  return found->beginReplace(vr);
}

uint32_t fibdb_engine_end_replace(uint32_t table, FibDbEngineReplace* out) {
  store::Table* found = nullptr;
  if (const uint32_t code = findTable(table, found)) return code;
  store::ReplaceCounts counts;
  if (const uint32_t code = found->endReplace(counts)) return code;
  return out != nullptr ? fibdb_engine_replace_state(table, out) : 0;
}

uint32_t fibdb_engine_take_over_replace(uint32_t table) {
  store::Table* found = nullptr;
  if (const uint32_t code = findTable(table, found)) return code;
  return found->takeOverReplace();
}

uint32_t fibdb_engine_give_up_replace(uint32_t table) {
  store::Table* found = nullptr;
  if (const uint32_t code = findTable(table, found)) return code;
  return found->giveUpReplace();
}

uint32_t fibdb_engine_replace_state(uint32_t table, FibDbEngineReplace* out) {
  if (out == nullptr) return DB_ERR_NULL_ARGUMENT;
  store::Table* found = nullptr;
  if (const uint32_t code = findTable(table, found)) return code;
  const store::ReplaceState state = found->replaceState();
  *out = {
      .active = state.active,
      .pid = state.pid,
      .isAlive = state.active != 0 && found->isReplaceAlive(),
      .vr = state.vr,
      .beganAt = state.beganAt,
      .kept = state.counts.kept,
      .changed = state.counts.changed,
      .added = state.counts.added,
      .removed = state.counts.removed,
  };
  return 0;
}

uint32_t fibdb_engine_arena_stats(FibDbEngineArenaStats* out) {
  if (out == nullptr) return DB_ERR_NULL_ARGUMENT;
  const store::Arena& arena = store::Store::instance().arena();
  *out = {arena.reservedBytes(), arena.usedBytes(), client::countObjects(), client::countConnections()};
  return 0;
}

uint32_t fibdb_engine_connection_stats(uint64_t connection, FibDbEngineConnectionStats* out) {
  return out == nullptr ? uint32_t{DB_ERR_NULL_ARGUMENT} : client::connectionStats(connection, *out);
}

uint32_t fibdb_engine_drain(uint64_t connection) { return client::drain(connection); }

uint32_t fibdb_engine_fault(uint32_t table, uint32_t code, uint32_t count) {
  if (table >= schema::kTableCount) return DB_ERR_WRONG_TABLE;
  client::armFault(static_cast<schema::TableId>(table), code, count);
  return 0;
}

uint32_t fibdb_engine_reset(void) {
  if (client::countConnections() != 0) return DB_ERR_BATCH_BUSY;
  store::Store& store = store::Store::instance();
  if (const uint32_t code = store.code()) return code;
  if (store.isShared()) return DB_ERR_ARENA_JOINED;
  store.clear();
  client::endFaults();
  service::forgetTables();
  return 0;
}
