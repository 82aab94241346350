// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/heap.h: one table's memory: blocks for index nodes and keys, out of arena extents.
//
// DESCRIPTION  Readers take no lock and leave no trace, so a block that a writer unlinks may still be under a
// reader's eyes. The heap therefore has a clock that counts writes, and a retired block rests: it is not
// handed out again until kRestingWrites further writes have begun. A reader notes the clock, reads, and looks
// at the clock again (readStable below): if fewer than kRestingWrites writes began meanwhile, nothing it
// followed can have been reused, so what it read was a true state of the table. If more began, it was asleep,
// and reads again. Nobody waits for anybody.
//
// A write makes sure of its memory before it changes anything (ensure, or where there is no new extent to be
// had, reclaim and pieces); allocate then does not fail. What lets a full table be emptied and filled again:
//   - every block that a write cannot do without is a piece or smaller, and pieces() counts how many of them
//     can be had without a new extent: whole free pieces, larger free blocks, the uncut rests of extents;
//   - reclaim() runs the clock on, so that all that rests is free at once. Readers that it overtakes read again.
//
// What a heap knows about its blocks is taken back with the write that changed it (undo_log.h), so a block is never
// lost and never in two places. Readers may then hold blocks that were handed out by the write that was taken back:
// overtakeReaders, before and after, makes them read again.
//
// COST         allocate, retire, release: O(1). beginWrite, reclaim: O(1) per block that has rested.
// INVARIANTS   A published block never changes, but for single words that are stored atomically (see word.h).
//              A block is retired once, after the store that unlinked it, in the same write.
//              The extents taken are: blocks in use, resting and free, and the uncut rests of two extents;
//              beside those that takeExtent handed out whole, and one that may be spare.
// THREADS      One writer at a time (the table's lock); readers only use clock() and Arena::at.
#ifndef FIBDB_ENGINE_STORE_HEAP_H
#define FIBDB_ENGINE_STORE_HEAP_H

#include <cstdint>

#include "engine/store/arena.h"
#include "engine/store/survey.h"
#include "engine/store/undo_log.h"
#include "engine/store/word.h"

namespace fibdb::store {

inline constexpr uint64_t kRestingWrites = 1024;

// Blocks are rounded up to kRefUnit; none is larger than kMaxBlockBytes.
inline constexpr uint32_t kMaxBlockBytes = 2048;
inline constexpr uint32_t kSizeClasses = kMaxBlockBytes / kRefUnit;
constexpr uint32_t unitsOf(uint32_t bytes) { return (bytes + uint32_t{kRefUnit} - 1) / uint32_t{kRefUnit}; }

// The largest block that a write cannot do without; larger ones only make an index faster.
inline constexpr uint32_t kPieceUnits = 33;
inline constexpr uint32_t kPieceBytes = kPieceUnits * uint32_t{kRefUnit};

// What one write may ask for and give back at most.
inline constexpr uint32_t kMaxEnsureBytes = kExtentBytes - 32 * 1024;
inline constexpr uint32_t kMaxRetiredPerWrite = 512;

// The free blocks of one size, in one word: the first of their list, and how many they are.
struct Shelf {
  uint64_t word;

  static uint64_t of(Ref first, uint32_t blocks) { return uint64_t{blocks} << 32 | first; }
  Ref first() const { return static_cast<Ref>(word); }
  uint32_t blocks() const { return static_cast<uint32_t>(word >> 32); }
};

// The stored part of a heap; lives in the arena, zero is an empty heap.
struct HeapState {
  uint64_t clock;                       // writes begun
  uint64_t heldBytes;                   // extents taken, but for the spare one
  uint64_t limitBytes;                  // 0: none
  Shelf free[kSizeClasses];             // by size
  uint64_t shelves[kSizeClasses / 64];  // a bit for each size of which there are free blocks
  uint32_t freePieces;                  // how many pieces can be cut from them; neither is noted: countShelves
  Ref open;                             // rest of the newest extent: what ensure vouches for
  uint32_t openUnits;
  Ref tail;  // rest of the extent before, used up first
  uint32_t tailUnits;
  Ref oldestResting, newestResting;  // queue of retired blocks, in chunks (heap.cc)
  uint32_t noteOfEnd;                // the latest of that queue's end
  // Extents come from the arena one at a time: claimed names the next before it is the table's, spare is the table's
  // and not yet used, or no longer, because the write that began to was taken back.
  Ref claimed, spare;
  uint32_t spareUsed;  // 1: need not read as zero
  uint32_t owner;      // what the table is called in the arena, less 1
  UndoLogState log;
};

class Heap {
 public:
  Heap(Arena& arena, HeapState& state) : arena_(&arena), state_(&state) {}

  Arena& arena() const { return *arena_; }
  UndoLog log() const { return UndoLog(*arena_, state_->log); }
  // A word that others may know, to be overwritten: store(heap.noted(word), value).
  template <class Word>
  Word& noted(Word& word) const {
    return log().noted(word);
  }
  uint64_t clock() const { return follow(state_->clock); }

  // Begins a write: ticks the clock and frees what has rested long enough.
  void beginWrite();

  // Makes sure that blocks of `bytes` in total, of any sizes, can be allocated: 0, DB_ERR_MEMORY_LIMIT or
  // DB_ERR_NO_MEMORY. REQUIRES: bytes <= kMaxEnsureBytes, counting each block as rounded up; what is
  // allocated upon it belongs to one write, which retires no more than kMaxRetiredPerWrite blocks. Ensuring is a step:
  // what that did so far stands by itself, and the write has not begun to change anything.
  uint32_t ensure(uint32_t bytes);
  // The same by an extent beyond the table's limit; fails only with the arena.
  uint32_t ensureBeyondLimit(uint32_t bytes);

  bool isBeyondLimit() const { return state_->limitBytes != 0 && state_->heldBytes > state_->limitBytes; }

  // Frees all that rests, at once, by letting the clock run on. REQUIRES: what the step did so far stands by itself.
  void reclaim();

  // Whatever a reader is about, it reads again.
  void overtakeReaders() { tick(kRestingWrites); }
  // What an owner that died may have begun beside its log.
  void settleClaim();
  // Finds anew of which sizes there are free blocks and how many pieces they are, once all else is as it was.
  void countShelves();
  // How many blocks of up to kPieceBytes can be allocated without a new extent, chunks of the queue included.
  uint32_t pieces() const {
    return state_->freePieces + state_->openUnits / kPieceUnits + state_->tailUnits / kPieceUnits;
  }

  // A block with arbitrary content. REQUIRES: 0 < bytes <= kMaxBlockBytes; made sure of.
  Ref allocate(uint32_t bytes);
  // Gives back a block that readers may know: it rests first. bytes: as allocated.
  void retire(Ref block, uint32_t bytes);
  // Gives back a block that was never published.
  void release(Ref block, uint32_t bytes);

  // A whole zeroed extent of kExtentBytes for the caller to cut (records); kNoRef at a limit. Never given back.
  Ref takeExtent();

  // Free blocks, the uncut rests of extents and the spare one; blocks that rest; the queue's own.
  void survey(const Surveyor& free, const Surveyor& resting, const Surveyor& queue) const;

  template <class T>
  T* at(Ref ref) const {
    return arena_->at<T>(ref);
  }

 private:
  bool atLimit() const;
  void tick(uint64_t writes);
  void shelveRested();
  uint8_t owner() const { return static_cast<uint8_t>(state_->owner + 1); }
  Ref takeExtentBeyondLimit();
  void own(Ref claimed);
  void shelve(Ref block, uint32_t units);
  void shelve(Shelf& shelf, Ref block, uint32_t units);
  void shelveTail();
  Ref takeShelved(uint32_t units);
  Ref cutShelved(uint32_t units);
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
    acquireFence();
    if (heap.clock() - begun < kRestingWrites) return result;
  }
}

}  // namespace fibdb::store

#endif
