// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/arena_test.cc: reserving, handing out and forgetting.
#include "engine/store/arena.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include "tests/support/extents.h"

namespace fibdb::store {
namespace {

constexpr uint64_t kSmall = 16 * kExtentBytes;

bool isZero(const Arena& arena, Ref extent) {
  const auto* bytes = arena.at<unsigned char>(extent);
  return std::all_of(bytes, bytes + kExtentBytes, [](unsigned char byte) { return byte == 0; });
}

TEST(Arena, reserves_what_is_asked_for_and_has_used_nothing) {
  const Arena arena(kSmall);
  ASSERT_TRUE(arena.valid());
  EXPECT_EQ(arena.reservedBytes(), kSmall);
  EXPECT_EQ(arena.usedBytes(), 0u);
}

TEST(Arena, asked_for_more_than_refs_can_address_reserves_no_more_than_that) {
  const Arena arena(UINT64_MAX);
  ASSERT_TRUE(arena.valid());
  EXPECT_LE(arena.reservedBytes(), kMaxArenaBytes);
}

TEST(Arena, asked_for_nothing_is_not_valid) { EXPECT_FALSE(Arena(0).valid()); }

TEST(Arena, takeExtent_gives_zeroed_aligned_extents_that_do_not_overlap) {
  Arena arena(kSmall);
  std::set<Ref> taken;
  for (int i = 0; i < 8; ++i) {
    const Ref extent = takeExtent(arena);
    ASSERT_NE(extent, kNoRef);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(arena.at<char>(extent)) % kExtentBytes, 0u);
    EXPECT_EQ(extent * kRefUnit % kExtentBytes, 0u);
    EXPECT_TRUE(isZero(arena, extent));
    std::memset(arena.at<char>(extent), 0xa5, kExtentBytes);
    EXPECT_TRUE(taken.insert(extent).second);
  }
  EXPECT_EQ(arena.usedBytes(), 8 * kExtentBytes);
}

TEST(Arena, takeExtent_of_an_exhausted_arena_returns_kNoRef_for_ever) {
  Arena arena(kSmall);
  uint64_t extents = 0;
  while (takeExtent(arena) != kNoRef) ++extents;
  EXPECT_EQ(extents, kSmall / kExtentBytes - 1) << "one extent is the arena's own";
  EXPECT_EQ(takeExtent(arena), kNoRef);
  EXPECT_EQ(arena.usedBytes(), extents * kExtentBytes);
}

TEST(ArenaThreads, takeExtent_from_many_gives_every_extent_once) {
  Arena arena(256 * kExtentBytes);
  std::vector<std::vector<Ref>> taken(4);
  std::vector<std::thread> threads;
  for (auto& mine : taken) {
    threads.emplace_back([&] {
      for (Ref extent = takeExtent(arena); extent != kNoRef; extent = takeExtent(arena)) mine.push_back(extent);
    });
  }
  for (auto& thread : threads) thread.join();
  std::set<Ref> all;
  size_t count = 0;
  for (const auto& mine : taken) {
    all.insert(mine.begin(), mine.end());
    count += mine.size();
  }
  EXPECT_EQ(count, 255u);
  EXPECT_EQ(all.size(), count);
}

TEST(Arena, clear_makes_everything_zero_and_available_again) {
  Arena arena(kSmall);
  std::vector<Ref> before;
  for (int i = 0; i < 4; ++i) {
    before.push_back(takeExtent(arena));
    std::memset(arena.at<char>(before.back()), 0xff, kExtentBytes);
  }
  arena.clear();
  EXPECT_EQ(arena.usedBytes(), 0u);
  for (const Ref extent : before) {
    EXPECT_EQ(takeExtent(arena), extent);
    EXPECT_TRUE(isZero(arena, extent));
  }
}

TEST(Arena, readable_refs_can_be_read_for_an_extent_and_others_are_refused) {
  const Arena arena(kSmall);
  constexpr Ref kUnits = kSmall / kRefUnit;
  EXPECT_TRUE(arena.readable(0));
  ASSERT_TRUE(arena.readable(kUnits - 1));
  EXPECT_EQ(arena.at<volatile char>(kUnits - 1)[kExtentBytes - 1], 0);
  EXPECT_FALSE(arena.readable(kUnits));
  EXPECT_FALSE(arena.readable(UINT32_MAX));
}

}  // namespace
}  // namespace fibdb::store
