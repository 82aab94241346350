// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/client/generic.cc: the calls that are the same for every table: writes, reads, counts, iterators, statements.
#include "platform/objdb.h"

#include <cstring>

#include "engine/client/faults.h"
#include "engine/client/object.h"

namespace fibdb::client {
namespace {

constexpr uint32_t kFilterStatement = 2;
constexpr uint32_t kRangeCondition = 6;
constexpr uint32_t kVrProperty = 0;

constexpr Kinds kWriting = only(FIB_DB_OBJ_OP_WRITE);
constexpr Kinds kUpdating = only(FIB_DB_OBJ_OP_UPDATE);
constexpr Kinds kRemoving = only(FIB_DB_OBJ_OP_REMOVE);
constexpr Kinds kScanning = only(FIB_DB_OBJ_OP_SCAN);
constexpr Kinds kReading = only(FIB_DB_OBJ_OP_READ) | kScanning;
constexpr Kinds kCounting = only(FIB_DB_OBJ_OP_COUNT) | kScanning;

struct Fault {
  std::atomic<uint32_t> left;
  std::atomic<uint32_t> code;
};
Fault faults[schema::kTableCount];

// What a call that has committed its change returns: 0, or the code of an armed fault.
uint32_t committed(const Object& object) {
  Fault& fault = faults[static_cast<size_t>(object.tableId)];
  uint32_t left = fault.left.load(std::memory_order_acquire);
  while (left > 0) {
    if (fault.left.compare_exchange_weak(left, left - 1, std::memory_order_acquire)) return fault.code;
  }
  return 0;
}

uint32_t readInto(Object& object, const FibDbKeyDesc* desc, const void* key) {
  const schema::Index* index = nullptr;
  if (const uint32_t code = findIndex(object, desc, key, index)) return code;
  const uint32_t code = object.table->read(*index, static_cast<const uint8_t*>(key), object.row);
  object.standing = code == 0;
  return code;
}

uint32_t beginIteration(Object& object, uint64_t* out) {
  const uint64_t iterator = makeHandle(HandleTag::kIterator, ++object.iterations, object.slot);
  object.iterator.store(iterator, std::memory_order_relaxed);
  *out = iterator;
  return 0;
}

uint32_t openCursor(Object& object, const FibDbKeyDesc* desc, const void* key) {
  if (desc == nullptr && key == nullptr) {
    object.cursor.openAll(*object.table);
    return 0;
  }
  const schema::Index* index = nullptr;
  if (const uint32_t code = findIndex(object, desc, key, index)) return code;
  return object.cursor.openKey(*object.table, *index, static_cast<const uint8_t*>(key));
}

}  // namespace

uint32_t insertStaged(uint64_t handle) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(handle, kWriting, object)) return code;
  if (const uint32_t code = object->table->insert(stagedRowOf(*object))) return code;
  return committed(*object);
}

void armFault(schema::TableId table, uint32_t code, uint32_t count) {
  Fault& fault = faults[static_cast<size_t>(table)];
  fault.code.store(code, std::memory_order_relaxed);
  fault.left.store(count, std::memory_order_release);
}

void endFaults() {
  for (Fault& fault : faults) fault.left.store(0, std::memory_order_relaxed);
}

}  // namespace fibdb::client

using namespace fibdb;
using namespace fibdb::client;

uint32_t db_write_obj(uint64_t obj) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kWriting, object)) return code;
  store::Change change{};
  if (const uint32_t code = object->table->write(stagedRowOf(*object), change)) return code;
  return committed(*object);
}

uint32_t db_update_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kUpdating, object)) return code;
  const schema::Index* index = nullptr;
  if (const uint32_t code = findIndex(*object, desc, key, index)) return code;
  if (index->kind != schema::IndexKind::kPrimary) return DB_ERR_BAD_INDEX;
  const auto* keyBytes = static_cast<const uint8_t*>(key);
  if (const uint32_t code = object->table->update(keyBytes, stagedRowOf(*object), object->staged)) return code;
  return committed(*object);
}

uint32_t db_remove_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kRemoving, object)) return code;
  const schema::Index* index = nullptr;
  if (const uint32_t code = findIndex(*object, desc, key, index)) return code;
  uint64_t removed = 0;
  if (const uint32_t code = object->table->remove(*index, static_cast<const uint8_t*>(key), removed)) return code;
  return committed(*object);
}

uint32_t db_read_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kReading, object)) return code;
  return readInto(*object, desc, key);
}

uint32_t db_read_obj_with_buf(uint64_t obj, const FibDbKeyDesc* desc, const void* key, void* buf, uint32_t len) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kReading, object)) return code;
  if (const uint32_t code = checkRowBuffer(*object, buf, len)) return code;
  if (desc != nullptr || key != nullptr) {
    if (const uint32_t code = readInto(*object, desc, key)) return code;
  }
  if (!object->standing) return DB_ERR_NO_CURRENT;
  std::memcpy(buf, object->row, len);
  return 0;
}

uint32_t db_get_table_record_count(uint64_t obj, uint64_t* count) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kCounting, object)) return code;
  if (count == nullptr) return DB_ERR_NULL_ARGUMENT;
  *count = object->table->count();
  return 0;
}

uint32_t db_get_table_record_count_by_key(uint64_t obj, const FibDbKeyDesc* desc, const void* key, uint64_t* count) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kCounting, object)) return code;
  if (count == nullptr) return DB_ERR_NULL_ARGUMENT;
  const schema::Index* index = nullptr;
  if (const uint32_t code = findIndex(*object, desc, key, index)) return code;
  return object->table->countByKey(*index, static_cast<const uint8_t*>(key), *count);
}

uint32_t db_create_root_iter(uint64_t obj, const FibDbKeyDesc* desc, const void* key, uint64_t* outIter) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kScanning, object)) return code;
  if (outIter == nullptr) return DB_ERR_NULL_ARGUMENT;
  endIteration(*object);
  if (const uint32_t code = openCursor(*object, desc, key)) return code;
  return beginIteration(*object, outIter);
}

uint32_t db_create_stmt(uint64_t obj, uint32_t stmtKind, const char* tableName, uint64_t) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kScanning, object)) return code;
  if (tableName == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (stmtKind != kFilterStatement) return DB_ERR_BAD_STATEMENT;
  if (object->table->layout().name != tableName) return DB_ERR_WRONG_TABLE;
  object->statement = StatementState::kStarted;
  return 0;
}

uint32_t db_append_stmt_condition(uint64_t obj, const void*, uint64_t, uint32_t condKind, const void*, uint64_t,
                                  const FibDbKeyDesc* desc, const void* lowKey, const void* highKey) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kScanning, object)) return code;
  // One condition is what an ordered walk can serve.
  if (object->statement != StatementState::kStarted || condKind != kRangeCondition) return DB_ERR_BAD_STATEMENT;
  if (highKey == nullptr) return DB_ERR_NULL_ARGUMENT;
  const schema::Index* index = nullptr;
  if (const uint32_t code = findIndex(*object, desc, lowKey, index)) return code;
  if (index->kind != schema::IndexKind::kOrdered) return DB_ERR_BAD_INDEX;
  object->rangeIndex = index;
  std::memcpy(object->low, lowKey, index->keyLength);
  std::memcpy(object->high, highKey, index->keyLength);
  object->statement = StatementState::kComplete;
  return 0;
}

uint32_t db_create_root_iterator_by_filter(uint64_t obj, uint64_t* outIter) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kScanning, object)) return code;
  if (outIter == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (object->statement != StatementState::kComplete) return DB_ERR_BAD_STATEMENT;
  endIteration(*object);
  const uint32_t code = object->cursor.openRange(*object->table, *object->rangeIndex, object->low, object->high);
  return code != 0 ? code : beginIteration(*object, outIter);
}

uint32_t db_set_root_iterator_property(uint64_t iter, uint32_t propertyId, const void* value, uint32_t len) {
  Object* object = nullptr;
  if (const uint32_t code = findIterator(iter, object)) return code;
  if (value == nullptr) return DB_ERR_NULL_ARGUMENT;
  uint32_t vr = 0;
  if (propertyId != kVrProperty || len != sizeof vr || !object->table->hasVr()) return DB_ERR_BAD_PROPERTY;
  std::memcpy(&vr, value, sizeof vr);
  object->cursor.keepOnly(object->table->vrOffset(), vr);
  return 0;
}

uint32_t db_root_iterator_next(uint64_t iter) {
  Object* object = nullptr;
  if (const uint32_t code = findIterator(iter, object)) return code;
  const uint32_t code = object->cursor.next(object->row);
  object->standing = code == 0;
  return code;
}

uint32_t db_create_child_node(uint64_t obj, uint64_t, const char* nodeName, uint64_t, uint64_t, uint64_t* outChild) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(obj, kWriting | kUpdating | kReading, object)) return code;
  if (nodeName == nullptr || outChild == nullptr) return DB_ERR_NULL_ARGUMENT;
  const schema::Table& layout = object->table->layout();
  const size_t node = schema::nodeNumber(layout.nodes, nodeName);
  if (node == layout.nodes.size()) return DB_ERR_BAD_NODE;
  const bool reads = (only(object->kind) & kReading) != 0;
  if (reads && !object->standing) return DB_ERR_NO_CURRENT;
  *outChild = nodeHandleOf(obj, node);
  // A node that was never written can be opened all the same; its fields read as zero.
  const bool absent = reads && (object->row[schema::nodesField(layout.fields)->offset] >> node & 1) == 0;
  return absent ? uint32_t{DB_ERR_FIELD_ABSENT} : 0;
}
