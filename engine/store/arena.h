// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/arena.h: one stretch of address space that holds all stored state.
//
// DESCRIPTION  Everything stored is addressed by a Ref, a 32-bit count of 16-byte units from the arena's
// start, so the same bytes can be mapped at another address by another process. Address space is reserved
// once and touched as it is used; the arena never moves and never shrinks. Tables take extents from it and
// manage them themselves (heap.h). It is the process's own, or lies in a file that processes share (arena_file.h).
//
// COST         takeExtent: O(1), and the page faults of whoever touches the extent.
// THREADS      takeExtent may be called from any thread, and any process. at() is an addition.
// INVARIANTS   What the arena knows about itself stands in its own first extent, which is never handed out: among that
//              whose each extent is. Extents are never given back.
//              Of an arena in a file every Ref there can be lies in mapped memory: it may lead to nonsense, no more.
#ifndef FIBDB_ENGINE_STORE_ARENA_H
#define FIBDB_ENGINE_STORE_ARENA_H

#include <cstddef>
#include <cstdint>

#include "engine/store/visit.h"

namespace fibdb::store {

// A place in the arena in units of kRefUnit bytes; kNoRef is nowhere.
using Ref = uint32_t;
inline constexpr Ref kNoRef = 0;
inline constexpr uint64_t kRefUnit = 16;
// A bit of each Ref is left to those who keep it.
inline constexpr uint64_t kMaxArenaBytes = kRefUnit << 31;

// What memory brings at a time.
inline constexpr uint64_t kCacheLine = 64;

// Extents are aligned to their size, so the start of one follows from any place inside it.
inline constexpr uint64_t kExtentBytes = 256 * 1024;
inline constexpr uint64_t kMostExtents = kMaxArenaBytes / kExtentBytes;

class ArenaFile;

// A process that writes to a shared arena, as it tells the others.
struct ArenaWriter {
  uint32_t pid;
  uint64_t waiting;      // batches
  uint64_t lastWriteAt;  // microseconds since 1970; 0: none
};

class Arena {
 public:
  // Reserves up to `bytes` of address space, less where the system refuses; valid() says whether any was had.
  explicit Arena(uint64_t bytes);
  // The arena in a file, which it keeps; not valid() when it cannot be mapped. REQUIRES: the file is open.
  explicit Arena(ArenaFile& file);
  ~Arena();
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  bool valid() const { return base_ != nullptr; }
  uint64_t reservedBytes() const { return bytes_; }
  // In extents taken.
  uint64_t usedBytes() const;
  ArenaFile* file() const { return file_; }
  bool isReadOnly() const;
  // Maps the file anew, at the same place, as it is open now.
  bool mapFile();

  template <class T>
  T* at(Ref ref) const {
    return reinterpret_cast<T*>(base_ + uint64_t{ref} * kRefUnit);
  }

  // Asks memory for what is about to be stored to.
  static void fetchToFill(const void* place, uint64_t bytes) {
    for (uint64_t at = 0; at < bytes; at += kCacheLine) {
      __builtin_prefetch(static_cast<const std::byte*>(place) + at, /*for writing:*/ 1);
    }
  }

  // Places in the arena as distances in bytes from its start.
  uint64_t distanceTo(const void* place) const {
    return static_cast<uint64_t>(static_cast<const std::byte*>(place) - base_);
  }
  std::byte* atDistance(uint64_t distance) const { return base_ + distance; }

  // Whether kExtentBytes can be read from ref on. A reader that may have been overtaken asks before it
  // follows a word that may by now be something else than a Ref.
  bool readable(Ref ref) const { return uint64_t{ref} * kRefUnit < bytes_; }

  // A zeroed extent of kExtentBytes, or kNoRef when the arena is exhausted. owner: whose it is from now on, not 0.
  // claimed: a word of the owner's in which the extent is named before it is taken; the owner makes it kNoRef once it
  // has noted the extent. If it dies before, the word and isOwn tell whether the extent was got.
  Ref takeExtent(uint8_t owner, Ref& claimed);
  bool isOwn(Ref extent, uint8_t owner) const;
  // The first extents of the arena, in the order in which they are taken from an empty one.
  static constexpr Ref extentAt(uint64_t number) { return static_cast<Ref>((number + 1) * (kExtentBytes / kRefUnit)); }

  // This process in the arena: after it was joined for writing, and in the child after fork(). Of processes that have
  // ended it takes the place.
  void enter();
  // It ends in good order.
  void leave();
  // What it tells the others about itself.
  void noteWrite() {
    if (self_ != nullptr) noteTimeOfWrite();
  }
  void noteWaiting(uint64_t batches);
  // Calls visit for each process that ever wrote and was not swept.
  void eachWriter(Visit<void(const ArenaWriter&)> visit) const;

  // Forgets everything: the memory reads as zero again. REQUIRES: nobody uses the arena, and it is in no file.
  void clear();

 private:
  struct Seat;
  struct Header;
  Header* header() const;
  void noteTimeOfWrite();

  std::byte* base_ = nullptr;
  uint64_t bytes_ = 0;
  ArenaFile* file_ = nullptr;
  Seat* self_ = nullptr;  // of this process, in a shared arena
};

}  // namespace fibdb::store

#endif
