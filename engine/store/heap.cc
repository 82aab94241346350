// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/heap.cc: cutting extents into blocks, and the queue in which retired blocks rest.
#include "engine/store/heap.h"

#include <algorithm>
#include <bit>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <span>

#include "fibdb/engine.h"

namespace fibdb::store {
namespace {

constexpr uint32_t kExtentUnits = kExtentBytes / kRefUnit;

// The link is the first word: the log gives it back (UndoLog::notedHead).
struct FreeBlock {
  Ref next;
};
static_assert(sizeof(FreeBlock) <= kRefUnit && offsetof(FreeBlock, next) == 0);

struct Resting {
  uint64_t retiredAt;
  Ref block;
  uint32_t units;
};

// The queue runs through blocks of its own: a resting block is still being read, and keeps its content.
constexpr uint32_t kChunkEntries = (kPieceBytes - sizeof(Resting)) / sizeof(Resting);
struct Chunk {
  Ref next;
  uint32_t begin, end;
  uint32_t unused;
  Resting entries[kChunkEntries];
};
static_assert(sizeof(Chunk) == kPieceBytes);

// One chunk may be begun by the write that only completes another.
constexpr uint32_t kQueueBytes = (kMaxRetiredPerWrite / kChunkEntries + 2) * kPieceBytes;
static_assert(kMaxEnsureBytes + kQueueBytes <= kExtentBytes);

// However many blocks have rested, the log keeps room for what the step does behind that: at most it puts the rest of
// an extent on shelves, in blocks of the largest size.
constexpr uint32_t kNotesKept = kMostNotes / 2;
static_assert(kExtentUnits / kSizeClasses * 8 < kNotesKept);

constexpr uint32_t kShelfBits = 64;
static_assert(kSizeClasses % kShelfBits == 0);

constexpr uint32_t piecesIn(uint32_t units) { return units / kPieceUnits; }

}  // namespace

void Heap::beginWrite() {
  tick(1);
  shelveRested();
}

void Heap::reclaim() {
  if (state_->oldestResting == kNoRef) return;
  tick(kRestingWrites);
  shelveRested();
}

void Heap::tick(uint64_t writes) {
  // Whoever sees the tick sees the writes before it; whoever sees a store that follows it sees the tick.
  publish(state_->clock, load(state_->clock) + writes);
  releaseFence();
}

void Heap::shelveRested() {
  // Of what the step noted already: it need not note it again.
  struct Noted {
    Ref chunk = kNoRef;
    std::bitset<kSizeClasses> shelves;
  };
  Noted done;
  const auto makeRoom = [&] {
    if (log().hasRoom(kNotesKept)) return;
    log().stand();
    done = {};
  };
  const uint64_t now = load(state_->clock);
  while (state_->oldestResting != kNoRef) {
    const Ref oldest = state_->oldestResting;
    auto* chunk = at<Chunk>(oldest);
    while (chunk->begin < chunk->end) {
      const Resting& resting = chunk->entries[chunk->begin];
      if (now - resting.retiredAt < kRestingWrites) return;
      makeRoom();
      if (done.chunk != oldest) noted(chunk->begin);
      done.chunk = oldest;
      store(chunk->begin, chunk->begin + 1);
      Shelf& shelf = state_->free[resting.units - 1];
      if (!done.shelves[resting.units - 1]) noted(shelf.word);
      done.shelves[resting.units - 1] = true;
      shelve(shelf, resting.block, resting.units);
    }
    makeRoom();
    if (chunk->next == kNoRef) store(noted(state_->newestResting), kNoRef);
    // The link gives way to that of the list of free blocks.
    store(noted(state_->oldestResting), noted(chunk->next));
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
  store(noted(state_->tail), state_->open);
  store(noted(state_->tailUnits), state_->openUnits);
  store(noted(state_->open), extent);
  store(noted(state_->openUnits), kExtentUnits);
  store(state_->spareUsed, 1U);
  return 0;
}

Ref Heap::allocate(uint32_t bytes) {
  const uint32_t units = unitsOf(bytes);
  if (state_->free[units - 1].first() != kNoRef) return takeShelved(units);
  const bool fits = state_->tailUnits >= units;
  // A larger free block is cut only where no extent has a rest that is large enough.
  if (!fits && state_->openUnits < units) return cutShelved(units);
  Ref& rest = fits ? state_->tail : state_->open;
  uint32_t& restUnits = fits ? state_->tailUnits : state_->openUnits;
  const Ref block = rest;
  store(noted(rest), rest + units);
  store(noted(restUnits), restUnits - units);
  return block;
}

void Heap::retire(Ref block, uint32_t bytes) {
  auto* chunk = at<Chunk>(state_->newestResting);
  if (state_->newestResting == kNoRef || chunk->end == kChunkEntries) chunk = at<Chunk>(appendChunk());
  Resting& resting = chunk->entries[chunk->end];
  store(resting.retiredAt, load(state_->clock));
  store(resting.block, block);
  store(resting.units, unitsOf(bytes));
  store(log().notedOnce(chunk->end, state_->noteOfEnd), chunk->end + 1);
}

void Heap::release(Ref block, uint32_t bytes) { shelve(block, unitsOf(bytes)); }

Ref Heap::takeExtent() {
  const Ref extent = atLimit() ? kNoRef : takeExtentBeyondLimit();
  if (extent == kNoRef || state_->spareUsed == 0) return extent;
  for (uint64_t& word : std::span(at<uint64_t>(extent), kExtentBytes / sizeof(uint64_t))) store(word, uint64_t{0});
  return extent;
}

bool Heap::atLimit() const { return state_->limitBytes != 0 && state_->heldBytes + kExtentBytes > state_->limitBytes; }

Ref Heap::takeExtentBeyondLimit() {
  if (state_->spare == kNoRef) {
    // What was spare before is in use for good: the log can bring one back, not two.
    if (log().doing() == Doing::kStep) log().stand();
    const Ref fresh = arena_->takeExtent(owner(), state_->claimed);
    if (fresh == kNoRef) return kNoRef;
    own(fresh);
  }
  const Ref extent = state_->spare;
  store(noted(state_->heldBytes), state_->heldBytes + kExtentBytes);
  store(noted(state_->spare), kNoRef);
  return extent;
}

void Heap::settleClaim() {
  const Ref claimed = state_->claimed;
  if (claimed == kNoRef) return;
  if (arena_->isOwn(claimed, owner())) return own(claimed);
  store(state_->claimed, kNoRef);
}

void Heap::countShelves() {
  uint32_t pieces = 0;
  for (uint32_t first = 0; first < kSizeClasses; first += kShelfBits) {
    uint64_t bits = 0;
    for (uint32_t i = 0; i < kShelfBits; ++i) {
      const Shelf& shelf = state_->free[first + i];
      bits |= uint64_t{shelf.first() != kNoRef} << i;
      pieces += shelf.blocks() * piecesIn(first + i + 1);
    }
    store(state_->shelves[first / kShelfBits], bits);
  }
  store(state_->freePieces, pieces);
}

// The extent that was claimed is spare now. To do so twice does no harm.
void Heap::own(Ref claimed) {
  keepOrder();
  store(state_->spareUsed, 0U);
  keepOrder();
  store(state_->spare, claimed);
  keepOrder();
  store(state_->claimed, kNoRef);
}

void Heap::shelve(Ref block, uint32_t units) {
  Shelf& shelf = state_->free[units - 1];
  noted(shelf.word);
  shelve(shelf, block, units);
}

// REQUIRES: the shelf is noted.
void Heap::shelve(Shelf& shelf, Ref block, uint32_t units) {
  uint64_t& shelves = state_->shelves[(units - 1) / kShelfBits];
  if (shelf.first() == kNoRef) store(shelves, shelves | uint64_t{1} << (units - 1) % kShelfBits);
  store(at<FreeBlock>(block)->next, shelf.first());
  store(shelf.word, Shelf::of(block, shelf.blocks() + 1));
  if (const uint32_t pieces = piecesIn(units)) store(state_->freePieces, state_->freePieces + pieces);
}

// REQUIRES: there is a free block of this size.
Ref Heap::takeShelved(uint32_t units) {
  Shelf& shelf = state_->free[units - 1];
  uint64_t& shelves = state_->shelves[(units - 1) / kShelfBits];
  const Ref block = shelf.first();
  const Ref next = at<FreeBlock>(block)->next;
  store(log().notedHead(shelf.word), Shelf::of(next, shelf.blocks() - 1));
  if (next == kNoRef) {
    store(shelves, shelves & ~(uint64_t{1} << (units - 1) % kShelfBits));
  } else {
    // Whoever asks for this size next fills a block that nobody has looked at for long.
    Arena::fetchToFill(at<void>(next), units * kRefUnit);
  }
  if (const uint32_t pieces = piecesIn(units)) store(state_->freePieces, state_->freePieces - pieces);
  return block;
}

// Cuts the smallest free block that is large enough. REQUIRES: there is one.
Ref Heap::cutShelved(uint32_t units) {
  uint32_t word = (units - 1) / kShelfBits;
  uint64_t larger = state_->shelves[word] & ~uint64_t{0} << (units - 1) % kShelfBits;
  while (larger == 0) larger = state_->shelves[++word];
  const uint32_t found = word * kShelfBits + static_cast<uint32_t>(std::countr_zero(larger)) + 1;
  const Ref block = takeShelved(found);
  if (found > units) shelve(block + units, found - units);
  return block;
}

Ref Heap::appendChunk() {
  const Ref fresh = allocate(sizeof(Chunk));
  auto* chunk = at<Chunk>(fresh);
  store(chunk->next, kNoRef);
  store(chunk->begin, 0u);
  store(chunk->end, 0u);
  if (state_->newestResting == kNoRef) {
    store(noted(state_->oldestResting), fresh);
  } else {
    store(noted(at<Chunk>(state_->newestResting)->next), fresh);
  }
  store(noted(state_->newestResting), fresh);
  return fresh;
}

void Heap::survey(const Surveyor& free, const Surveyor& resting, const Surveyor& queue) const {
  uint64_t pieces = 0;
  for (uint32_t units = 1; units <= kSizeClasses; ++units) {
    const Shelf shelf{load(state_->free[units - 1].word)};
    const uint64_t shelves = load(state_->shelves[(units - 1) / kShelfBits]);
    if ((shelves >> (units - 1) % kShelfBits & 1) != (shelf.first() != kNoRef)) {
      free.wrong("a size is marked wrongly", shelf.first());
    }
    uint32_t blocks = 0;
    for (Ref block = shelf.first(); block != kNoRef && free.block(block, units * kRefUnit); ++blocks) {
      block = load(at<FreeBlock>(block)->next);
    }
    if (blocks != shelf.blocks()) free.wrong("blocks of a size are miscounted", shelf.first());
    pieces += uint64_t{blocks} * piecesIn(units);
  }
  if (pieces != load(state_->freePieces)) free.wrong("pieces are miscounted", kNoRef);
  free.block(load(state_->open), load(state_->openUnits) * kRefUnit);
  free.block(load(state_->tail), load(state_->tailUnits) * kRefUnit);
  if (const Ref spare = load(state_->spare)) free.block(spare, kExtentBytes);

  Ref newest = kNoRef;
  uint64_t before = 0;
  for (Ref ref = load(state_->oldestResting); ref != kNoRef && queue.block(ref, sizeof(Chunk));) {
    const Chunk& chunk = *at<Chunk>(ref);
    const uint32_t end = load(chunk.end);
    if (end > kChunkEntries) return queue.wrong("more entries than there can be", ref);
    for (uint32_t i = load(chunk.begin); i < end; ++i) {
      const Resting& entry = chunk.entries[i];
      resting.block(load(entry.block), load(entry.units) * kRefUnit);
      const uint64_t retiredAt = load(entry.retiredAt);
      if (retiredAt < before || retiredAt > clock()) queue.wrong("times are out of order", ref);
      before = retiredAt;
    }
    newest = ref;
    ref = load(chunk.next);
  }
  if (newest != load(state_->newestResting)) queue.wrong("does not end where it must", newest);
}

// What nothing fitted serves later allocations of its size.
void Heap::shelveTail() {
  while (state_->tailUnits > 0) {
    const uint32_t units = std::min(state_->tailUnits, kSizeClasses);
    shelve(state_->tail, units);
    store(noted(state_->tail), state_->tail + units);
    store(noted(state_->tailUnits), state_->tailUnits - units);
  }
}

}  // namespace fibdb::store
