// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/client/object.h: table objects: what stages one operation and stands on one record. And their pool.
//
// DESCRIPTION  An object belongs to one table and one kind of operation. It has a row where fields are
// staged, a row it stands on after a read or a step of its iterator, one root iterator and one statement; a
// batch object also builds a batch (batch.h). Slots come in chunks that are never given back, so a lookup
// needs no lock; free slots wait in a list per thread, filled from and emptied to a common one.
//
// COST        create, find, reset, release: O(1), and no allocation once as many objects existed together.
// THREADS     Any thread may create, find and release. An object belongs to one thread at a time; a handle
//             that is used after its release, from any thread, is refused.
// FORK        The child's first sight of the pool is an empty one: the parent's handles are stale there, those
//             of its iterators, too. Slots keep their generation, so no new handle looks like an old one.
// INVARIANTS  handle is 0 exactly while the slot is free. Whatever else a free slot holds has no meaning:
//             create resets only what an operation reads before it writes it.
#ifndef FIBDB_ENGINE_CLIENT_OBJECT_H
#define FIBDB_ENGINE_CLIENT_OBJECT_H

#include <atomic>
#include <cstdint>
#include <cstring>

#include "engine/client/handle.h"
#include "engine/store/table.h"
#include "fibdb/engine.h"
#include "platform/schema/catalog.h"

namespace fibdb::client {

using schema::TableId;

struct Batch;
struct Connection;

// Sets of operation kinds.
using Kinds = uint32_t;
constexpr Kinds only(uint32_t kind) { return Kinds{1} << kind; }
inline constexpr Kinds kAnyKind = ~Kinds{0};

inline constexpr uint32_t kNoOperation = 0xFF;

// What a batch object has beside the rows.
struct BatchBuilding {
  Connection* connection;
  uint64_t connectionHandle;  // as it was at creation: tells a connection from a later one in the same slot
  uint32_t limit;             // operations per batch
  uint32_t operation;         // the kind begun and not yet added, or kNoOperation
  Batch* batch;               // nullptr: none needed yet
};

enum class StatementState : uint8_t { kNone, kStarted, kComplete };

struct alignas(64) Object {
  std::atomic<uint64_t> handle;
  std::atomic<uint64_t> iterator;  // the live root iterator, or kNoHandle
  store::Table* table;
  store::FieldSet staged;  // which fields of stagedRow count; stagedRow has no meaning while this is empty
  uint64_t generation;
  uint64_t iterations;  // generations of root iterators
  uint32_t slot;
  TableId tableId;
  uint8_t kind;
  bool standing;  // row is a record
  StatementState statement;
  BatchBuilding building;  // of batch objects
  Object* nextFree;

  alignas(8) uint8_t row[schema::kMaxRowLength];
  store::Cursor cursor;  // of the live root iterator
  alignas(8) uint8_t stagedRow[schema::kMaxRowLength];
  const schema::Index* rangeIndex;  // of a complete statement, with both ends
  uint8_t low[schema::kMaxKeyLength];
  uint8_t high[schema::kMaxKeyLength];
};

inline constexpr uint32_t kObjectsPerChunk = 64;
inline constexpr uint32_t kMaxChunks = 1024;
inline constexpr uint32_t kMaxObjects = kObjectsPerChunk * kMaxChunks;
static_assert(kMaxObjects <= uint32_t{1} << kSlotBits);

extern std::atomic<Object*> objectChunks[kMaxChunks];

// The slot that a handle names, whatever it holds now; nullptr when there is none.
inline Object* slotAt(uint64_t handle) {
  const uint32_t slot = slotOf(handle);
  if (slot >= kMaxObjects) return nullptr;
  Object* chunk = objectChunks[slot / kObjectsPerChunk].load(std::memory_order_acquire);
  return chunk == nullptr ? nullptr : chunk + slot % kObjectsPerChunk;
}

// 0 with the live object of one of these kinds, DB_ERR_BAD_HANDLE or DB_ERR_WRONG_KIND.
inline uint32_t findObject(uint64_t handle, Kinds kinds, Object*& out) {
  Object* object = slotAt(handle);
  if (object == nullptr || object->handle.load(std::memory_order_relaxed) != handle || handle == kNoHandle) {
    return DB_ERR_BAD_HANDLE;
  }
  out = object;
  return (only(object->kind) & kinds) != 0 ? 0 : uint32_t{DB_ERR_WRONG_KIND};
}

// The same, of one table: DB_ERR_WRONG_TABLE.
inline uint32_t findObject(uint64_t handle, TableId table, Kinds kinds, Object*& out) {
  const uint32_t code = findObject(handle, kinds, out);
  if (code == DB_ERR_BAD_HANDLE) return code;
  return out->tableId == table ? code : uint32_t{DB_ERR_WRONG_TABLE};
}

// 0 with the object whose live root iterator this is, or DB_ERR_BAD_HANDLE.
inline uint32_t findIterator(uint64_t handle, Object*& out) {
  Object* object = slotAt(handle);
  if (object == nullptr || object->iterator.load(std::memory_order_relaxed) != handle || handle == kNoHandle) {
    return DB_ERR_BAD_HANDLE;
  }
  out = object;
  return 0;
}

class FreeList {
 public:
  uint32_t size() const { return size_; }
  void push(Object* object) {
    object->nextFree = head_;
    head_ = object;
    ++size_;
  }
  Object* pop() {
    Object* object = head_;
    head_ = object->nextFree;
    --size_;
    return object;
  }

 private:
  Object* head_ = nullptr;
  uint32_t size_ = 0;
};

// The slots that are free to one thread.
struct ThreadPool {
  FreeList free;
  bool watched = false;  // they are handed on when the thread ends
};

// Initial-exec: the address costs one instruction, not a call. It takes 24 bytes of a reserve that every process has.
[[gnu::tls_model("initial-exec")]] extern thread_local constinit ThreadPool threadPool;

// How many slots move between a thread's list and the common one at a time.
inline constexpr uint32_t kTransfer = 32;
static_assert(kObjectsPerChunk % kTransfer == 0);

// Slots for a thread that has none: 0, DB_ERR_OBJECT_LIMIT or DB_ERR_NO_MEMORY.
uint32_t refillPool();
// Some of a thread's many, for others.
void thinPool();
// Has the thread's slots handed on when it ends.
void watchThread();
// A batch object ends: its operations are discarded, its buffer goes back, to the connection if that still lives.
void dropBatch(Object& object);

inline constexpr Kinds kDirectKinds = only(FIB_DB_OBJ_OP_WRITE) | only(FIB_DB_OBJ_OP_UPDATE) |
                                      only(FIB_DB_OBJ_OP_READ) | only(FIB_DB_OBJ_OP_REMOVE) | only(FIB_DB_OBJ_OP_SCAN) |
                                      only(FIB_DB_OBJ_OP_COUNT);
constexpr bool isDirect(uint32_t kind) { return kind < 32 && (only(kind) & kDirectKinds) != 0; }

inline void beginKind(Object& object, uint32_t kind);

// An object of any kind, batch objects included: 0, DB_ERR_OBJECT_LIMIT or DB_ERR_NO_MEMORY.
inline uint32_t takeObject(TableId table, uint32_t kind, Object*& out) {
  store::Store& store = store::Store::instance();
  if (const uint32_t code = store.code()) return code;
  if (threadPool.free.size() == 0) {
    if (const uint32_t code = refillPool()) return code;
  }
  Object* const object = threadPool.free.pop();
  object->table = &store.table(static_cast<size_t>(table));
  object->tableId = table;
  beginKind(*object, kind);
  ++object->generation;
  object->handle.store(makeHandle(HandleTag::kObject, object->generation, object->slot), std::memory_order_relaxed);
  out = object;
  return 0;
}

// db_create_<t>_obj, db_release_<t>_object, db_reset_<t>_object.
inline uint32_t createObject(TableId table, uint32_t kind, uint64_t* out) {
  if (!isDirect(kind)) return DB_ERR_WRONG_KIND;
  if (out == nullptr) return DB_ERR_NULL_ARGUMENT;
  Object* object = nullptr;
  if (const uint32_t code = takeObject(table, kind, object)) return code;
  *out = object->handle.load(std::memory_order_relaxed);
  return 0;
}
inline uint32_t releaseObject(uint64_t handle, TableId table);
uint32_t resetObject(uint64_t handle, TableId table, uint32_t kind);

// Around fork(), of the pool: held before, let go in the parent. In the child every object of the parent is stale, and
// its slot free.
void holdObjects();
void letObjectsGo();
void forgetObjects();

// How many objects are alive; exact when none is made or released meanwhile.
uint64_t countObjects();

// Ends the root iterator, forgets the record the object stands on.
inline void endIteration(Object& object) {
  object.iterator.store(kNoHandle, std::memory_order_relaxed);
  object.standing = false;
}

inline void beginKind(Object& object, uint32_t kind) {
  object.kind = static_cast<uint8_t>(kind);
  object.staged = 0;
  object.statement = StatementState::kNone;
  endIteration(object);
}

inline uint32_t releaseObject(uint64_t handle, TableId table) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(handle, table, kAnyKind, object)) return code;
  // Of two releases at the same time one must lose, or the slot would be free twice.
  uint64_t expected = handle;
  if (!object->handle.compare_exchange_strong(expected, kNoHandle, std::memory_order_relaxed)) {
    return DB_ERR_BAD_HANDLE;
  }
  endIteration(*object);
  if (object->kind == FIB_DB_OBJ_OP_BATCH) dropBatch(*object);
  if (!threadPool.watched) watchThread();
  threadPool.free.push(object);
  if (threadPool.free.size() >= 2 * kTransfer) thinPool();
  return 0;
}

// The index that a key descriptor names, with the key's presence checked: 0, DB_ERR_NULL_ARGUMENT or
// DB_ERR_BAD_INDEX.
inline uint32_t findIndex(const Object& object, const FibDbKeyDesc* desc, const void* key, const schema::Index*& out) {
  if (desc == nullptr || key == nullptr) return DB_ERR_NULL_ARGUMENT;
  out = object.table->findIndex(desc->indexId);
  return out != nullptr ? 0 : uint32_t{DB_ERR_BAD_INDEX};
}

// Whether a whole row can be copied to buf.
inline uint32_t checkRowBuffer(const Object& object, const void* buf, uint32_t len) {
  if (buf == nullptr) return DB_ERR_NULL_ARGUMENT;
  return len == object.table->layout().rowLength ? 0 : uint32_t{DB_ERR_BAD_LENGTH};
}

// The staged row. Fields that are not staged have their initial value, zero.
inline uint8_t* stagedRowOf(Object& object) {
  if (object.staged == 0) std::memset(object.stagedRow, 0, object.table->layout().rowLength);
  return object.stagedRow;
}

// What db_write_obj does, but a record with the primary key of the staged row is DB_ERR_EXISTS: what the table
// service cannot say through db_* calls.
uint32_t insertStaged(uint64_t handle);

}  // namespace fibdb::client

#endif
