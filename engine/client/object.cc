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

Mutex poolMutex;
FreeList commonFree;   // under poolMutex
uint32_t chunksInUse;  // under poolMutex

pthread_key_t threadEnd;
pthread_once_t threadEndOnce = PTHREAD_ONCE_INIT;

// Under poolMutex.
void move(FreeList& from, FreeList& to, uint32_t most) {
  for (; most > 0 && from.size() > 0; --most) to.push(from.pop());
}

void handOn(void* ended) {
  auto* const pool = static_cast<ThreadPool*>(ended);
  const Lock lock(poolMutex);
  move(pool->free, commonFree, kMaxObjects);
  pool->watched = false;
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

}  // namespace

[[gnu::tls_model("initial-exec")]] thread_local constinit ThreadPool threadPool;

void watchThread() {
  pthread_once(&threadEndOnce, [] { pthread_key_create(&threadEnd, handOn); });
  pthread_setspecific(threadEnd, &threadPool);
  threadPool.watched = true;
}

uint32_t refillPool() {
  if (!threadPool.watched) watchThread();
  const Lock lock(poolMutex);
  if (commonFree.size() == 0) {
    if (const uint32_t code = addChunk()) return code;
  }
  move(commonFree, threadPool.free, kTransfer);
  return 0;
}

void thinPool() {
  const Lock lock(poolMutex);
  move(threadPool.free, commonFree, kTransfer);
}

uint32_t resetObject(uint64_t handle, TableId table, uint32_t kind) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(handle, table, kAnyKind, object)) return code;
  if (object->kind == FIB_DB_OBJ_OP_BATCH) {
    return kind == FIB_DB_OBJ_OP_BATCH ? emptyBatch(*object) : uint32_t{DB_ERR_WRONG_KIND};
  }
  if (!isDirect(kind)) return DB_ERR_WRONG_KIND;
  beginKind(*object, kind);
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
