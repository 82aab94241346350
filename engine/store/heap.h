// engine/store/heap.h: one table's memory: blocks for records, index nodes and keys, out of arena extents.
//
// DESCRIPTION  Readers take no lock and leave no trace, so a block that a writer unlinks may still be under a
// reader's eyes. The heap therefore has a clock that counts writes, and a retired block rests: it is not
// handed out again until kRestingWrites further writes have begun. A reader notes the clock, reads, and looks
// at the clock again (readStable below): if fewer than kRestingWrites writes began meanwhile, nothing it
// followed can have been reused, so what it read was a true state of the table. If more began, it was asleep,
// and reads again. Nobody waits for anybody.
//
// COST         allocate, retire, release: O(1). beginWrite: O(1) per block that has rested.
// INVARIANTS   A published block never changes, but for single words that are stored atomically (see word.h).
//              A block is retired once, in the write that unlinked it.
//              heldBytes is live, resting and free blocks, the uncut rests of two extents, and whole extents.
// THREADS      One writer at a time (the table's lock); readers only use clock() and Arena::at.
#ifndef FIBDB_ENGINE_STORE_HEAP_H
#define FIBDB_ENGINE_STORE_HEAP_H

#include <atomic>
#include <cstdint>

#include "engine/store/arena.h"

namespace fibdb::store {

inline constexpr uint64_t kRestingWrites = 1024;

// Blocks are rounded up to kRefUnit; none is larger than kMaxBlockBytes.
inline constexpr uint32_t kMaxBlockBytes = 2048;
inline constexpr uint32_t kSizeClasses = kMaxBlockBytes / kRefUnit;

// What one write may ask for and give back at most.
inline constexpr uint32_t kMaxEnsureBytes = kExtentBytes - 16 * 1024;
inline constexpr uint32_t kMaxRetiredPerWrite = 512;

// The stored part of a heap; lives in the arena, zero is an empty heap.
struct HeapState {
  std::atomic<uint64_t> clock;      // writes begun
  std::atomic<uint64_t> heldBytes;  // extents taken
  uint64_t limitBytes;              // 0: none
  Ref free[kSizeClasses];           // lists of free blocks by size
  Ref open;                         // rest of the newest extent: what ensure vouches for
  uint32_t openUnits;
  Ref tail;  // rest of the extent before, used up first
  uint32_t tailUnits;
  Ref oldestResting, newestResting;  // queue of retired blocks, in chunks (heap.cc)
};
static_assert(std::atomic<uint64_t>::is_always_lock_free);

class Heap {
 public:
  Heap(Arena& arena, HeapState& state) : arena_(&arena), state_(&state) {}

  Arena& arena() const { return *arena_; }
  uint64_t clock() const { return state_->clock.load(std::memory_order_acquire); }

  // Begins a write: ticks the clock and frees what has rested long enough.
  void beginWrite();

  // Makes sure that blocks of `bytes` in total can be allocated: 0, DB_ERR_MEMORY_LIMIT or DB_ERR_NO_MEMORY.
  // A write asks once, for the most it can need, before it changes anything; afterwards allocate does not
  // fail. REQUIRES: bytes <= kMaxEnsureBytes, counting each block as rounded up; the write retires no more
  // than kMaxRetiredPerWrite blocks.
  uint32_t ensure(uint32_t bytes);
  // The same for a write that removes. Removing copies nodes too, and what it gives back rests first; at a
  // limit the way out must stay open, so the limit does not bind it.
  uint32_t ensureBeyondLimit(uint32_t bytes);

  // A block with arbitrary content. REQUIRES: 0 < bytes <= kMaxBlockBytes, covered by ensure.
  Ref allocate(uint32_t bytes);
  // Gives back a block that readers may know: it rests first. bytes: as allocated.
  void retire(Ref block, uint32_t bytes);
  // Gives back a block that was never published.
  void release(Ref block, uint32_t bytes);

  // A whole zeroed extent of kExtentBytes for the caller to cut (records); kNoRef at a limit. Never given back.
  Ref takeExtent();

  template <class T>
  T* at(Ref ref) const {
    return arena_->at<T>(ref);
  }

 private:
  bool atLimit() const;
  Ref takeExtentBeyondLimit();
  void shelve(Ref block, uint32_t units);
  void shelveTail();
  Ref appendChunk();

  Arena* arena_;
  HeapState* state_;
};

// Runs read until it was undisturbed, and returns its result. read may run more than once and must have no
// effect but in what it returns or overwrites.
template <class Read>
auto readStable(const Heap& heap, Read&& read) {
  for (;;) {
    const uint64_t begun = heap.clock();
    auto result = read();
    std::atomic_thread_fence(std::memory_order_acquire);
    if (heap.clock() - begun < kRestingWrites) return result;
  }
}

}  // namespace fibdb::store

#endif
