// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/arena.cc: reserving the arena and handing out its extents.
#include "engine/store/arena.h"

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "engine/store/word.h"

namespace fibdb::store {
namespace {

// The first extent; zero is an arena of which nothing was taken.
struct Header {
  std::atomic<uint64_t> extentsTaken;
  std::atomic<uint8_t> owners[kMostExtents];
};
static_assert(std::atomic<uint64_t>::is_always_lock_free && std::atomic<uint8_t>::is_always_lock_free);
static_assert(sizeof(Header) <= kExtentBytes);

constexpr Ref extentAt(uint64_t number) { return static_cast<Ref>((number + 1) * (kExtentBytes / kRefUnit)); }
constexpr uint64_t numberOf(Ref extent) { return extent / (kExtentBytes / kRefUnit) - 1; }

constexpr uint64_t kLeastBytes = uint64_t{64} << 20;

// Lookups jump about in the whole arena, so it is laid out to be backed by huge pages where the system has them.
constexpr uint64_t kHugePageBytes = uint64_t{2} << 20;
constexpr uint64_t kAlignment = std::max(kHugePageBytes, kExtentBytes);
static_assert(kAlignment % kExtentBytes == 0);

// Mapped behind the last extent, so that a stray read that starts in the arena ends in mapped memory; see readable().
constexpr uint64_t kTailBytes = kExtentBytes;

std::byte* reserve(uint64_t bytes) {
  const uint64_t mapped = bytes + kTailBytes;
  void* start =
      mmap(nullptr, mapped + kAlignment, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (start == MAP_FAILED) return nullptr;
  auto* first = static_cast<std::byte*>(start);
  const uint64_t before = -reinterpret_cast<uintptr_t>(start) % kAlignment;
  if (before > 0) munmap(first, before);
  if (before < kAlignment) munmap(first + before + mapped, kAlignment - before);
  madvise(first + before, bytes, MADV_HUGEPAGE);
  return first + before;
}

}  // namespace

Arena::Arena(uint64_t bytes) {
  bytes = std::min(bytes, kMaxArenaBytes) / kExtentBytes * kExtentBytes;
  const uint64_t least = std::min(bytes, kLeastBytes);
  for (; bytes > 0 && bytes >= least; bytes = bytes / 2 / kExtentBytes * kExtentBytes) {
    base_ = reserve(bytes);
    if (base_ == nullptr) continue;
    bytes_ = bytes;
    return;
  }
}

Arena::~Arena() {
  if (base_ != nullptr) munmap(base_, bytes_ + kTailBytes);
}

uint64_t Arena::usedBytes() const { return at<Header>(0)->extentsTaken.load(std::memory_order_relaxed) * kExtentBytes; }

// The count of extents taken says where to begin to look; whose an extent is its own entry alone says.
Ref Arena::takeExtent(uint8_t owner, Ref& claimed) {
  auto* const header = at<Header>(0);
  uint64_t taken = header->extentsTaken.load(std::memory_order_relaxed);
  for (uint64_t number = taken; (number + 2) * kExtentBytes <= bytes_; ++number) {
    store(claimed, extentAt(number));
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
  return at<Header>(0)->owners[numberOf(extent)].load(std::memory_order_relaxed) == owner;
}

void Arena::clear() { madvise(base_, usedBytes() + kExtentBytes, MADV_DONTNEED); }

}  // namespace fibdb::store
