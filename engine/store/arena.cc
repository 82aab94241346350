// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/arena.cc: reserving or mapping the arena and handing out its extents.
#include "engine/store/arena.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "engine/store/arena_file.h"
#include "engine/store/bus_guard.h"
#include "engine/store/wall_time.h"
#include "engine/store/word.h"

namespace fibdb::store {
namespace {

constexpr uint32_t kSeats = 256;

constexpr uint64_t numberOf(Ref extent) { return extent / (kExtentBytes / kRefUnit) - 1; }

constexpr uint64_t kLeastBytes = uint64_t{64} << 20;

// Lookups jump about in the whole arena, so it is laid out to be backed by huge pages where the system has them.
constexpr uint64_t kHugePageBytes = uint64_t{2} << 20;
constexpr uint64_t kAlignment = std::max(kHugePageBytes, kExtentBytes);
static_assert(kAlignment % kExtentBytes == 0);

// Mapped behind the last extent, so that a stray read that starts in the arena ends in mapped memory; see readable().
constexpr uint64_t kTailBytes = kExtentBytes;
// Of a file that others may have damaged, wherever a word leads that is taken for a Ref.
constexpr uint64_t kReach = (kRefUnit << 32) + kTailBytes;

std::byte* reserve(uint64_t mapped, int protection) {
  void* start = mmap(nullptr, mapped + kAlignment, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (start == MAP_FAILED) return nullptr;
  auto* first = static_cast<std::byte*>(start);
  const uint64_t before = -reinterpret_cast<uintptr_t>(start) % kAlignment;
  if (before > 0) munmap(first, before);
  if (before < kAlignment) munmap(first + before + mapped, kAlignment - before);
  return first + before;
}

}  // namespace

// Where a process that writes sits; pid 0: nobody.
struct Arena::Seat {
  std::atomic<uint32_t> pid;
  std::atomic<uint64_t> waiting;
  std::atomic<uint64_t> lastWriteAt;
};

// The first extent; zero, but for the head, is an arena of which nothing was taken.
struct Arena::Header {
  ArenaHead head;
  Seat seats[kSeats];
  std::atomic<uint64_t> extentsTaken;
  std::atomic<uint8_t> owners[kMostExtents];
};
static_assert(std::atomic<uint64_t>::is_always_lock_free && std::atomic<uint8_t>::is_always_lock_free);
static_assert(std::atomic<uint32_t>::is_always_lock_free);

Arena::Header* Arena::header() const {
  static_assert(sizeof(Header) <= kExtentBytes);
  return at<Header>(0);
}

Arena::Arena(uint64_t bytes) {
  bytes = std::min(bytes, kMaxArenaBytes) / kExtentBytes * kExtentBytes;
  const uint64_t least = std::min(bytes, kLeastBytes);
  for (; bytes > 0 && bytes >= least; bytes = bytes / 2 / kExtentBytes * kExtentBytes) {
    base_ = reserve(bytes + kTailBytes, PROT_READ | PROT_WRITE);
    if (base_ == nullptr) continue;
    madvise(base_, bytes, MADV_HUGEPAGE);
    bytes_ = bytes;
    return;
  }
}

Arena::Arena(ArenaFile& file) : file_(&file) {
  base_ = reserve(kReach, PROT_READ);
  if (base_ == nullptr) return;
  bytes_ = file.bytes();
  if (!mapFile()) {
    munmap(base_, kReach);
    base_ = nullptr;
    return;
  }
  if (file.isNew()) header()->head = file.head();
}

bool Arena::mapFile() {
  const int protection = file_->readOnly() ? PROT_READ : PROT_READ | PROT_WRITE;
  if (mmap(base_, bytes_, protection, MAP_SHARED | MAP_FIXED, file_->descriptor(), 0) == MAP_FAILED) return false;
  madvise(base_, bytes_, MADV_HUGEPAGE);
  guardArena(base_, bytes_);
  return true;
}

Arena::~Arena() {
  if (base_ == nullptr) return;
  if (file_ != nullptr) endGuard();
  munmap(base_, file_ != nullptr ? kReach : bytes_ + kTailBytes);
}

// Who joined stands in the locks; a seat of one who is not there is free.
void Arena::enter() {
  file_->enter();
  self_ = nullptr;
  if (file_->readOnly()) return;
  const auto own = static_cast<uint32_t>(getpid());
  for (Seat& seat : header()->seats) {
    uint32_t sitting = seat.pid.load(std::memory_order_relaxed);
    if (sitting != 0 && sitting != own && file_->hasProcess(sitting)) continue;
    if (!seat.pid.compare_exchange_strong(sitting, own, std::memory_order_relaxed)) continue;
    seat.waiting.store(0, std::memory_order_relaxed);
    seat.lastWriteAt.store(0, std::memory_order_relaxed);
    self_ = &seat;
    break;
  }
}

void Arena::leave() {
  if (self_ != nullptr) self_->pid.store(0, std::memory_order_relaxed);
}

void Arena::noteTimeOfWrite() {
  self_->lastWriteAt.store(microsecondsNow(CLOCK_REALTIME_COARSE), std::memory_order_relaxed);
}

void Arena::noteWaiting(uint64_t batches) {
  if (self_ != nullptr) self_->waiting.store(batches, std::memory_order_relaxed);
}

void Arena::eachWriter(Visit<void(const ArenaWriter&)> visit) const {
  for (const Seat& seat : header()->seats) {
    const uint32_t pid = seat.pid.load(std::memory_order_relaxed);
    if (pid == 0) continue;
    visit({pid, seat.waiting.load(std::memory_order_relaxed), seat.lastWriteAt.load(std::memory_order_relaxed)});
  }
}

bool Arena::isReadOnly() const { return file_ != nullptr && file_->readOnly(); }

uint64_t Arena::usedBytes() const {
  return std::min(header()->extentsTaken.load(std::memory_order_relaxed) * kExtentBytes, bytes_ - kExtentBytes);
}

// The count of extents taken says where to begin to look; whose an extent is its own entry alone says.
Ref Arena::takeExtent(uint8_t owner, Ref& claimed) {
  Header* const header = this->header();
  uint64_t taken = header->extentsTaken.load(std::memory_order_relaxed);
  for (uint64_t number = taken; (number + 2) * kExtentBytes <= bytes_; ++number) {
    if (file_ != nullptr && !file_->allocateAt((number + 1) * kExtentBytes, base_)) break;
    store(claimed, extentAt(number));
    keepOrder();
    uint8_t nobody = 0;
    if (!header->owners[number].compare_exchange_strong(nobody, owner, std::memory_order_relaxed)) continue;
    while (taken <= number &&
           !header->extentsTaken.compare_exchange_weak(taken, number + 1, std::memory_order_relaxed)) {
    }
    return extentAt(number);
  }
  store(claimed, kNoRef);
  return kNoRef;
}

bool Arena::isOwn(Ref extent, uint8_t owner) const {
  return header()->owners[numberOf(extent)].load(std::memory_order_relaxed) == owner;
}

void Arena::clear() { madvise(base_, usedBytes() + kExtentBytes, MADV_DONTNEED); }

}  // namespace fibdb::store
