// engine/store/heap.cc: cutting extents into blocks, and the queue in which retired blocks rest.
#include "engine/store/heap.h"

#include <algorithm>
#include <cstdint>

#include "engine/store/word.h"
#include "fibdb/engine.h"

namespace fibdb::store {
namespace {

constexpr uint32_t kExtentUnits = kExtentBytes / kRefUnit;

struct FreeBlock {
  Ref next;
};
static_assert(sizeof(FreeBlock) <= kRefUnit);

struct Resting {
  uint64_t retiredAt;
  Ref block;
  uint32_t units;
};

// The queue runs through blocks of its own: a resting block is still being read, and keeps its content.
constexpr uint32_t kChunkEntries = (kMaxBlockBytes - sizeof(Resting)) / sizeof(Resting);
struct Chunk {
  Ref next;
  uint32_t begin, end;
  uint32_t unused;
  Resting entries[kChunkEntries];
};
static_assert(sizeof(Chunk) == kMaxBlockBytes);

// One chunk may be begun by the write that only completes another.
constexpr uint32_t kQueueBytes = (kMaxRetiredPerWrite / kChunkEntries + 2) * kMaxBlockBytes;
static_assert(kMaxEnsureBytes + kQueueBytes <= kExtentBytes);

uint32_t unitsOf(uint32_t bytes) { return (bytes + uint32_t{kRefUnit} - 1) / uint32_t{kRefUnit}; }

}  // namespace

void Heap::beginWrite() {
  const uint64_t now = state_->clock.load(std::memory_order_relaxed) + 1;
  // Whoever sees the tick sees the writes before it; whoever sees a store that follows it sees the tick.
  state_->clock.store(now, std::memory_order_release);
  std::atomic_thread_fence(std::memory_order_release);

  while (state_->oldestResting != kNoRef) {
    const Ref oldest = state_->oldestResting;
    auto* chunk = at<Chunk>(oldest);
    for (uint32_t next = chunk->begin; next < chunk->end; store(chunk->begin, ++next)) {
      const Resting& resting = chunk->entries[next];
      if (now - resting.retiredAt < kRestingWrites) return;
      shelve(resting.block, resting.units);
    }
    state_->oldestResting = chunk->next;
    if (chunk->next == kNoRef) state_->newestResting = kNoRef;
    release(oldest, sizeof(Chunk));
  }
}

uint32_t Heap::ensure(uint32_t bytes) {
  if (state_->openUnits >= unitsOf(bytes + kQueueBytes)) return 0;
  return atLimit() ? uint32_t{DB_ERR_MEMORY_LIMIT} : ensureBeyondLimit(bytes);
}

uint32_t Heap::ensureBeyondLimit(uint32_t bytes) {
  if (state_->openUnits >= unitsOf(bytes + kQueueBytes)) return 0;
  const Ref extent = takeExtentBeyondLimit();
  if (extent == kNoRef) return DB_ERR_NO_MEMORY;
  shelveTail();
  state_->tail = state_->open;
  state_->tailUnits = state_->openUnits;
  state_->open = extent;
  state_->openUnits = kExtentUnits;
  return 0;
}

Ref Heap::allocate(uint32_t bytes) {
  const uint32_t units = unitsOf(bytes);
  Ref& shelf = state_->free[units - 1];
  if (shelf != kNoRef) {
    const Ref block = shelf;
    shelf = at<FreeBlock>(block)->next;
    return block;
  }
  const bool fits = state_->tailUnits >= units;
  Ref& rest = fits ? state_->tail : state_->open;
  uint32_t& restUnits = fits ? state_->tailUnits : state_->openUnits;
  const Ref block = rest;
  rest += units;
  restUnits -= units;
  return block;
}

void Heap::retire(Ref block, uint32_t bytes) {
  auto* chunk = at<Chunk>(state_->newestResting);
  if (state_->newestResting == kNoRef || chunk->end == kChunkEntries) chunk = at<Chunk>(appendChunk());
  Resting& resting = chunk->entries[chunk->end];
  store(resting.retiredAt, state_->clock.load(std::memory_order_relaxed));
  store(resting.block, block);
  store(resting.units, unitsOf(bytes));
  store(chunk->end, chunk->end + 1);
}

void Heap::release(Ref block, uint32_t bytes) { shelve(block, unitsOf(bytes)); }

Ref Heap::takeExtent() { return atLimit() ? kNoRef : takeExtentBeyondLimit(); }

bool Heap::atLimit() const {
  return state_->limitBytes != 0 &&
         state_->heldBytes.load(std::memory_order_relaxed) + kExtentBytes > state_->limitBytes;
}

Ref Heap::takeExtentBeyondLimit() {
  const Ref extent = arena_->takeExtent();
  if (extent != kNoRef) state_->heldBytes.fetch_add(kExtentBytes, std::memory_order_relaxed);
  return extent;
}

void Heap::shelve(Ref block, uint32_t units) {
  Ref& shelf = state_->free[units - 1];
  store(at<FreeBlock>(block)->next, shelf);
  shelf = block;
}

Ref Heap::appendChunk() {
  const Ref fresh = allocate(sizeof(Chunk));
  auto* chunk = at<Chunk>(fresh);
  store(chunk->next, kNoRef);
  store(chunk->begin, 0u);
  store(chunk->end, 0u);
  if (state_->newestResting == kNoRef) {
    state_->oldestResting = fresh;
  } else {
    store(at<Chunk>(state_->newestResting)->next, fresh);
  }
  state_->newestResting = fresh;
  return fresh;
}

// What nothing fitted serves later allocations of its size.
void Heap::shelveTail() {
  while (state_->tailUnits > 0) {
    const uint32_t units = std::min(state_->tailUnits, kSizeClasses);
    shelve(state_->tail, units);
    state_->tail += units;
    state_->tailUnits -= units;
  }
}

}  // namespace fibdb::store
