// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/client/object.cc: the pool of table objects, and their life from create to release.
#include "engine/client/object.h"

#include <pthread.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include "engine/client/batch.h"
#include "engine/client/mutex.h"

namespace fibdb::client {

std::atomic<Object*> objectChunks[kMaxChunks];

namespace {

constexpr Kinds kDirectKinds = only(FIB_DB_OBJ_OP_WRITE) | only(FIB_DB_OBJ_OP_UPDATE) | only(FIB_DB_OBJ_OP_READ) |
                               only(FIB_DB_OBJ_OP_REMOVE) | only(FIB_DB_OBJ_OP_SCAN) | only(FIB_DB_OBJ_OP_COUNT);

constexpr bool isDirect(uint32_t kind) { return kind < 32 && (only(kind) & kDirectKinds) != 0; }

// How many slots move between a thread's list and the common one at a time.
constexpr uint32_t kTransfer = 32;
static_assert(kObjectsPerChunk % kTransfer == 0);

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
  void moveTo(FreeList& other, uint32_t most) {
    for (; most > 0 && size_ > 0; --most) other.push(pop());
  }

 private:
  Object* head_ = nullptr;
  uint32_t size_ = 0;
};

Mutex poolMutex;
FreeList commonFree;   // under poolMutex
uint32_t chunksInUse;  // under poolMutex

struct ThreadPool {
  FreeList free;
  bool watched = false;  // the list is handed on when the thread ends
};

// Initial-exec: the address costs one instruction, not a call. It takes 24 bytes of a reserve that every process has.
[[gnu::tls_model("initial-exec")]] thread_local constinit ThreadPool threadPool;

pthread_key_t threadEnd;
pthread_once_t threadEndOnce = PTHREAD_ONCE_INIT;

void handOn(void* pool) {
  auto* ending = static_cast<ThreadPool*>(pool);
  const Lock lock(poolMutex);
  ending->free.moveTo(commonFree, kMaxObjects);
  ending->watched = false;
}

void watchThread() {
  pthread_once(&threadEndOnce, [] { pthread_key_create(&threadEnd, handOn); });
  pthread_setspecific(threadEnd, &threadPool);
  threadPool.watched = true;
}

uint32_t addChunk() {
  if (chunksInUse == kMaxChunks) return DB_ERR_OBJECT_LIMIT;
  auto* memory = static_cast<Object*>(std::aligned_alloc(alignof(Object), kObjectsPerChunk * sizeof(Object)));
  if (memory == nullptr) return DB_ERR_NO_MEMORY;
  for (uint32_t i = kObjectsPerChunk; i-- > 0;) {
    auto* object = new (memory + i) Object;
    object->handle.store(kNoHandle, std::memory_order_relaxed);
    object->iterator.store(kNoHandle, std::memory_order_relaxed);
    object->slot = chunksInUse * kObjectsPerChunk + i;
    object->generation = 0;
    object->iterations = 0;
    commonFree.push(object);
  }
  objectChunks[chunksInUse].store(memory, std::memory_order_release);
  ++chunksInUse;
  return 0;
}

uint32_t refill(FreeList& list) {
  const Lock lock(poolMutex);
  if (commonFree.size() == 0) {
    if (const uint32_t code = addChunk()) return code;
  }
  commonFree.moveTo(list, kTransfer);
  return 0;
}

void giveBack(Object* object) {
  FreeList& list = threadPool.free;
  if (!threadPool.watched) watchThread();
  list.push(object);
  if (list.size() < 2 * kTransfer) return;
  const Lock lock(poolMutex);
  list.moveTo(commonFree, kTransfer);
}

void clearStaging(Object& object, uint32_t kind) {
  object.kind = static_cast<uint8_t>(kind);
  object.staged = 0;
  object.statement = StatementState::kNone;
  endIteration(object);
}

}  // namespace

uint32_t takeObject(TableId table, uint32_t kind, Object*& out) {
  store::Store& store = store::Store::instance();
  if (const uint32_t code = store.code()) return code;
  FreeList& list = threadPool.free;
  if (list.size() == 0) {
    if (!threadPool.watched) watchThread();
    if (const uint32_t code = refill(list)) return code;
  }
  Object* object = list.pop();
  object->table = &store.table(static_cast<size_t>(table));
  object->tableId = table;
  clearStaging(*object, kind);
  ++object->generation;
  object->handle.store(makeHandle(HandleTag::kObject, object->generation, object->slot), std::memory_order_relaxed);
  out = object;
  return 0;
}

uint32_t createObject(TableId table, uint32_t kind, uint64_t* out) {
  if (!isDirect(kind)) return DB_ERR_WRONG_KIND;
  if (out == nullptr) return DB_ERR_NULL_ARGUMENT;
  Object* object = nullptr;
  if (const uint32_t code = takeObject(table, kind, object)) return code;
  *out = object->handle.load(std::memory_order_relaxed);
  return 0;
}

uint32_t releaseObject(uint64_t handle, TableId table) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(handle, table, kAnyKind, object)) return code;
  // Of two releases at the same time one must lose, or the slot would be free twice.
  uint64_t expected = handle;
  if (!object->handle.compare_exchange_strong(expected, kNoHandle, std::memory_order_relaxed)) {
    return DB_ERR_BAD_HANDLE;
  }
  endIteration(*object);
  if (object->kind == FIB_DB_OBJ_OP_BATCH) dropBatch(*object);
  giveBack(object);
  return 0;
}

uint32_t resetObject(uint64_t handle, TableId table, uint32_t kind) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(handle, table, kAnyKind, object)) return code;
  if (object->kind == FIB_DB_OBJ_OP_BATCH) {
    return kind == FIB_DB_OBJ_OP_BATCH ? emptyBatch(*object) : uint32_t{DB_ERR_WRONG_KIND};
  }
  if (!isDirect(kind)) return DB_ERR_WRONG_KIND;
  clearStaging(*object, kind);
  return 0;
}

void holdObjects() { poolMutex.hold(); }
void letObjectsGo() { poolMutex.letGo(); }

// The lists of threads that are not in the child are gone with them, so all slots are gathered from their chunks. What
// batch objects were building stays behind: a thread may have been at it.
void forgetObjects() {
  poolMutex.letGo();
  poolMutex.makeAnew();
  commonFree = {};
  threadPool.free = {};
  for (uint32_t i = chunksInUse * kObjectsPerChunk; i-- > 0;) {
    Object& object = objectChunks[i / kObjectsPerChunk].load(std::memory_order_relaxed)[i % kObjectsPerChunk];
    object.handle.store(kNoHandle, std::memory_order_relaxed);
    endIteration(object);
    commonFree.push(&object);
  }
}

uint64_t countObjects() {
  uint64_t alive = 0;
  for (const std::atomic<Object*>& entry : objectChunks) {
    const Object* chunk = entry.load(std::memory_order_acquire);
    if (chunk == nullptr) break;
    for (uint32_t i = 0; i < kObjectsPerChunk; ++i) {
      if (chunk[i].handle.load(std::memory_order_relaxed) != kNoHandle) ++alive;
    }
  }
  return alive;
}

}  // namespace fibdb::client
