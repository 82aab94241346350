// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/client/object.cc: the pool of table objects, and their life from create to release.
#include "engine/client/object.h"

#include <pthread.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

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

// Under poolMutex, as all that moves slots between lists.
void pushCommon(Object* object) {
  object->owner.store(nullptr, std::memory_order_relaxed);
  commonFree.push(object);
}

void handOnFree(FreeList& free, uint32_t most) {
  for (; most > 0 && free.size() > 0; --most) pushCommon(free.pop());
}

// Of a slot that another than its owner released: the owner looks at it when it wants more.
void returnToOwner(Object& object) {
  ThreadPool* const owner = object.owner.load(std::memory_order_relaxed);
  if (owner == nullptr) return pushCommon(&object);
  if (std::exchange(object.isReturned, true)) return;
  object.nextReturned = std::exchange(owner->returned, &object);
}

// Calls keep for each that is still the thread's: unless the owner released it itself at the same time, and has perhaps
// created another since, or let it go.
template <class Keep>
void takeReturned(ThreadPool& pool, Keep&& keep) {
  for (Object* next = std::exchange(pool.returned, nullptr); next != nullptr;) {
    Object& object = *std::exchange(next, next->nextReturned);
    object.isReturned = false;
    const bool isSame = makeHandle(HandleTag::kObject, object.generation, object.slot) == object.returnedAs;
    if (!isSame || object.isFree) continue;
    if (object.owner.load(std::memory_order_relaxed) == &pool) {
      keep(&object);
    } else {
      returnToOwner(object);
    }
  }
}

void takeBackReturned(ThreadPool& pool) {
  takeReturned(pool, [&](Object* object) { pool.free.push(object); });
}

template <class Each>
void eachSlot(Each&& each) {
  for (uint32_t i = chunksInUse * kObjectsPerChunk; i-- > 0;) {
    each(objectChunks[i / kObjectsPerChunk].load(std::memory_order_relaxed)[i % kObjectsPerChunk]);
  }
}

// When there is nothing else: what threads that create no more have not taken back.
void gatherReturned() {
  eachSlot([](Object& object) {
    ThreadPool* const owner = object.owner.load(std::memory_order_relaxed);
    if (object.isReturned && owner != nullptr) takeReturned(*owner, pushCommon);
  });
}

void handOn(void* ended) {
  auto* const pool = static_cast<ThreadPool*>(ended);
  const Lock lock(poolMutex);
  takeBackReturned(*pool);
  handOnFree(pool->free, kMaxObjects);
  // Objects that outlive the thread are nobody's.
  eachSlot([&](Object& object) {
    if (object.owner.load(std::memory_order_relaxed) == pool) object.owner.store(nullptr, std::memory_order_relaxed);
  });
  pool->watched = false;
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
    object->isReturned = false;
    pushCommon(object);
  }
  objectChunks[chunksInUse].store(memory, std::memory_order_release);
  ++chunksInUse;
  return 0;
}

}  // namespace

[[gnu::tls_model("initial-exec")]] thread_local constinit ThreadPool threadPool;

uint32_t refillPool() {
  if (!threadPool.watched) watchThread();
  const Lock lock(poolMutex);
  takeBackReturned(threadPool);
  if (threadPool.free.size() > 0) return 0;
  if (commonFree.size() == 0) {
    const uint32_t code = addChunk();
    if (code != 0) gatherReturned();
    if (commonFree.size() == 0) return code;
  }
  for (uint32_t most = kTransfer; most > 0 && commonFree.size() > 0; --most) {
    Object* const object = commonFree.pop();
    object->owner.store(&threadPool, std::memory_order_relaxed);
    threadPool.free.push(object);
  }
  return 0;
}

void thinPool() {
  const Lock lock(poolMutex);
  handOnFree(threadPool.free, kTransfer);
}

uint32_t releaseFor(Object& object, uint64_t handle) {
  uint64_t iterator = object.iterator.load(std::memory_order_acquire);
  uint64_t expected = handle;
  if (!object.handle.compare_exchange_strong(expected, kNoHandle, std::memory_order_relaxed)) {
    return DB_ERR_BAD_HANDLE;
  }
  // The owner may have released it, too, and be iterating again.
  object.iterator.compare_exchange_strong(iterator, kNoHandle, std::memory_order_relaxed);
  if (object.kind == FIB_DB_OBJ_OP_BATCH) dropBatch(object);
  if (object.owner.load(std::memory_order_relaxed) == &threadPool) {
    freeOwn(object);
    return 0;
  }
  const Lock lock(poolMutex);
  object.returnedAs = handle;
  returnToOwner(object);
  return 0;
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
  threadPool.returned = nullptr;
  eachSlot([](Object& object) {
    object.handle.store(kNoHandle, std::memory_order_relaxed);
    endIteration(object);
    object.isReturned = false;
    pushCommon(&object);
  });
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
