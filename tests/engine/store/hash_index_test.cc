// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/hash_index_test.cc: the hash index against a linear scan, and beside a reader.
#include "engine/store/hash_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/extents.h"
#include "tests/support/toy_tables.h"

namespace fibdb::test {
namespace {

using store::Arena;
using store::HashIndex;
using store::HashIndexState;
using store::Heap;
using store::HeapState;
using store::Ref;
using store::takeExtent;

constexpr uint64_t kSmallArena = uint64_t{64} << 20;

// References stand for themselves: their hash is computed from them. Few hash bits make long chains.
struct HashOfRef {
  uint64_t mask;
  uint64_t operator()(Ref ref) const { return ref * 0x9E3779B97F4A7C15 & mask; }
};
using Index = HashIndex<HashOfRef>;

class LinearTwin {
 public:
  void insert(Ref ref) { refs_.push_back(ref); }
  bool erase(Ref ref) { return std::erase(refs_, ref) > 0; }
  bool has(Ref ref) const { return std::ranges::find(refs_, ref) != refs_.end(); }
  size_t size() const { return refs_.size(); }

 private:
  std::vector<Ref> refs_;
};

struct Ground {
  Arena arena{kSmallArena};
  HeapState* heapState = arena.at<HeapState>(takeExtent(arena));
  HashIndexState* state = reinterpret_cast<HashIndexState*>(heapState + 1);
  Heap heap{arena, *heapState};

  Index index(uint64_t mask) { return Index(heap, *state, HashOfRef{mask}); }
};

bool has(const Index& index, uint64_t hash, Ref ref) {
  return index.find(hash, [&](Ref each) { return each == ref; }) == ref;
}

// As a table does: room first, then the change, growth last.
void insert(Ground& ground, Index& index, uint64_t hash, Ref ref) {
  ground.heap.beginWrite();
  ASSERT_EQ(index.prepare(), 0U);
  ASSERT_EQ(ground.heap.ensure(Index::kMaxWriteBytes), 0U);
  index.insert(hash, ref);
  index.grow(0);
}

void playAgainstTwin(uint64_t mask, Ref span, size_t steps) {
  const uint64_t seed = testSeed();
  SCOPED_TRACE(testing::Message() << "FIBDB_SEED=" << seed);
  std::printf("FIBDB_SEED=%llu\n", static_cast<unsigned long long>(seed));
  std::mt19937_64 random(seed);
  Ground ground;
  Index index = ground.index(mask);
  LinearTwin twin;
  const HashOfRef hashOf{mask};
  for (size_t step = 0; step < steps; ++step) {
    const Ref ref = 1 + static_cast<Ref>(random() % span);
    ASSERT_EQ(has(index, hashOf(ref), ref), twin.has(ref)) << step;
    // Rises for a while, then falls, so that chains grow and are trimmed.
    const bool rising = step / (4 * span) % 2 == 0;
    if (!twin.has(ref) && (rising || random() % 4 == 0)) {
      insert(ground, index, hashOf(ref), ref);
      twin.insert(ref);
    } else if (twin.has(ref) && (!rising || random() % 4 == 0)) {
      ASSERT_TRUE(index.erase(hashOf(ref), ref));
      twin.erase(ref);
    } else if (!twin.has(ref)) {
      ASSERT_FALSE(index.erase(hashOf(ref), ref));
    }
    ASSERT_EQ(ground.state->count, twin.size());
  }
  for (Ref ref = 1; ref <= span; ++ref) ASSERT_EQ(has(index, hashOf(ref), ref), twin.has(ref)) << ref;
}

TEST(HashIndex, with_good_hashes_does_what_a_scan_does) { playAgainstTwin(~uint64_t{0}, 3000, 60000); }
TEST(HashIndex, with_four_bits_of_hash_does_what_a_scan_does) { playAgainstTwin(0xF, 600, 20000); }
TEST(HashIndex, with_one_hash_for_all_does_what_a_scan_does) { playAgainstTwin(0, 100, 5000); }

TEST(HashIndex, empty_finds_and_erases_nothing) {
  Ground ground;
  Index index = ground.index(~uint64_t{0});
  EXPECT_FALSE(has(index, 7, 7));
  EXPECT_FALSE(index.erase(7, 7));
}

TEST(HashIndex, grown_by_many_splits_keeps_every_reference) {
  Ground ground;
  Index index = ground.index(~uint64_t{0});
  const HashOfRef hashOf{~uint64_t{0}};
  constexpr Ref kRefs = 200000;
  for (Ref ref = 1; ref <= kRefs; ++ref) ASSERT_NO_FATAL_FAILURE(insert(ground, index, hashOf(ref), ref));
  EXPECT_GT(ground.state->buckets, kRefs / 10);
  for (Ref ref = 1; ref <= kRefs; ++ref) ASSERT_TRUE(has(index, hashOf(ref), ref)) << ref;
}

TEST(HashIndex, without_memory_to_grow_still_takes_references) {
  Ground ground;
  Index index = ground.index(~uint64_t{0});
  const HashOfRef hashOf{~uint64_t{0}};
  ground.heap.beginWrite();
  ASSERT_EQ(index.prepare(), 0U);
  ground.heapState->limitBytes = 1;
  Ref taken = 0;
  while (ground.heap.ensure(Index::kMaxWriteBytes) == 0) {
    index.insert(hashOf(taken + 1), taken + 1);
    index.grow(0);
    ++taken;
  }
  EXPECT_GT(taken, 1000U);
  for (Ref ref = 1; ref <= taken; ++ref) ASSERT_TRUE(has(index, hashOf(ref), ref)) << ref;
}

// Hashes by choice: reference n has the n-th.
struct ChosenHash {
  const std::vector<uint64_t>* hashes;
  uint64_t operator()(Ref ref) const { return (*hashes)[ref]; }
};

TEST(HashIndex, a_reference_that_a_split_moves_during_a_find_is_found) {
  // Both share a tag and the first of the 32 buckets, until the first split moves the second one.
  constexpr uint64_t kTag = uint64_t{0x55} << 56;
  constexpr Ref kStays = 1, kMoves = 2, kOthers = 400;
  std::vector<uint64_t> hashes(kOthers, kTag >> 1);
  for (Ref ref = kMoves + 1; ref < kOthers; ++ref) hashes[ref] = ref % 31 + 1;
  hashes[kStays] = kTag;
  hashes[kMoves] = kTag | 32;
  Ground ground;
  HashIndex<ChosenHash> index(ground.heap, *ground.state, ChosenHash{&hashes});
  const auto insertAll = [&](Ref from, Ref to) {
    for (Ref ref = from; ref < to; ++ref) {
      ground.heap.beginWrite();
      ASSERT_EQ(index.prepare(), 0U);
      ASSERT_EQ(ground.heap.ensure(index.kMaxWriteBytes), 0U);
      index.insert(hashes[ref], ref);
      index.grow(0);
    }
  };
  insertAll(kStays, kMoves + 1);
  const uint32_t before = ground.state->buckets;
  bool interrupted = false;
  const Ref found = index.find(hashes[kMoves], [&](Ref ref) {
    if (!interrupted) insertAll(kMoves + 1, kOthers);
    interrupted = true;
    return ref == kMoves;
  });
  EXPECT_TRUE(interrupted);
  EXPECT_GT(ground.state->buckets, before);
  EXPECT_EQ(found, kMoves);
}

TEST(HashIndexThreads, read_beside_a_writer_that_splits_misses_nothing_that_is_there) {
  Ground ground;
  Index index = ground.index(~uint64_t{0});
  const HashOfRef hashOf{~uint64_t{0}};
  constexpr Ref kStaying = 300, kPassing = 30000;
  for (Ref ref = 1; ref <= kStaying; ++ref) ASSERT_NO_FATAL_FAILURE(insert(ground, index, hashOf(ref), ref));
  std::atomic<bool> done{false};
  uint64_t missed = 0, rounds = 0;
  std::thread reader([&] {
    do {
      for (Ref ref = 1; ref <= kStaying; ++ref) missed += has(index, hashOf(ref), ref) ? 0 : 1;
      ++rounds;
    } while (!done.load());
  });
  for (int round = 0; round < 3; ++round) {
    for (Ref ref = kStaying + 1; ref <= kPassing; ++ref) insert(ground, index, hashOf(ref), ref);
    for (Ref ref = kStaying + 1; ref <= kPassing; ++ref) EXPECT_TRUE(index.erase(hashOf(ref), ref));
  }
  done.store(true);
  reader.join();
  EXPECT_GT(rounds, 0U);
  EXPECT_EQ(missed, 0U);
}

}  // namespace
}  // namespace fibdb::test
