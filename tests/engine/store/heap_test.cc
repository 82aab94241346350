// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/heap_test.cc: blocks, their rest, limits, and readers that were overtaken.
#include "engine/store/heap.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <stop_token>
#include <thread>
#include <vector>

#include "engine/store/word.h"
#include "fibdb/engine.h"
#include "tests/support/index_twins.h"

namespace fibdb::store {
namespace {

uint64_t bytesOf(uint32_t bytes) { return (bytes + kRefUnit - 1) / kRefUnit * kRefUnit; }

TEST(Heap, blocks_of_every_size_are_aligned_and_do_not_overlap) {
  Ground ground;
  std::map<uint64_t, uint64_t> blocks;  // begin, end
  for (uint32_t bytes = 1; bytes <= kMaxBlockBytes; bytes += 7) {
    ground.begin(kMaxBlockBytes);
    const uint64_t begin = ground.heap.allocate(bytes) * kRefUnit;
    blocks[begin] = begin + bytes;
  }
  uint64_t end = 1;
  for (const auto& [blockBegin, blockEnd] : blocks) {
    EXPECT_GE(blockBegin, end);
    EXPECT_EQ(blockBegin / kExtentBytes, (blockEnd - 1) / kExtentBytes) << "a block lies in one extent";
    end = blockEnd;
  }
}

TEST(Heap, a_released_block_is_the_next_of_its_size) {
  Ground ground;
  ground.begin(4096);
  const Ref block = ground.heap.allocate(100);
  ground.heap.release(block, 100);
  EXPECT_NE(ground.heap.allocate(128), block);
  EXPECT_EQ(ground.heap.allocate(112), block) << "100 and 112 bytes are the same number of units";
}

TEST(Heap, a_retired_block_is_reused_by_the_write_that_begins_kRestingWrites_later_and_by_none_before) {
  Ground ground;
  ground.begin(kMaxBlockBytes);
  const Ref block = ground.heap.allocate(64);
  ground.begin(kMaxBlockBytes);
  ground.heap.retire(block, 64);
  for (uint64_t write = 1; write < kRestingWrites; ++write) {
    ground.begin(kMaxBlockBytes);
    ASSERT_NE(ground.heap.allocate(64), block) << "after " << write << " writes";
  }
  ground.begin(kMaxBlockBytes);
  EXPECT_EQ(ground.heap.allocate(64), block);
}

TEST(Heap, a_resting_block_keeps_its_content) {
  Ground ground;
  ground.begin(kMaxBlockBytes);
  const Ref block = ground.heap.allocate(kMaxBlockBytes);
  auto* words = ground.heap.at<uint32_t>(block);
  for (uint32_t i = 0; i < kMaxBlockBytes / 4; ++i) store(words[i], i);
  ground.begin(kMaxBlockBytes);
  ground.heap.retire(block, kMaxBlockBytes);
  for (uint64_t write = 1; write < kRestingWrites; ++write) {
    ground.begin(kMaxBlockBytes);
    ground.heap.retire(ground.heap.allocate(32), 32);
  }
  for (uint32_t i = 0; i < kMaxBlockBytes / 4; ++i) ASSERT_EQ(words[i], i);
}

TEST(Heap, everything_retired_is_free_after_its_rest_including_the_queue) {
  Ground ground;
  for (int round = 0; round < 3; ++round) {
    std::vector<std::pair<Ref, uint32_t>> blocks;
    for (uint32_t i = 0; i < 5000; ++i) {
      const uint32_t bytes = 1 + i * 37 % kMaxBlockBytes;
      ground.begin(kMaxBlockBytes);
      blocks.emplace_back(ground.heap.allocate(bytes), bytes);
    }
    for (size_t i = 0; i < blocks.size(); ++i) {
      if (i % 100 == 0) ground.begin(0);
      ground.heap.retire(blocks[i].first, blocks[i].second);
    }
    EXPECT_GT(ground.bytesInUse(), 0u);
    ground.rest();
    EXPECT_EQ(ground.bytesInUse(), 0u);
  }
}

TEST(Heap, the_same_work_again_takes_no_more_memory) {
  Ground ground;
  uint64_t held = 0;
  for (int round = 0; round < 4; ++round) {
    for (uint32_t i = 0; i < 20000; ++i) {
      const uint32_t bytes = 16 + i % 32 * 16;
      ground.begin(bytes);
      ground.heap.retire(ground.heap.allocate(bytes), bytes);
    }
    ground.rest();
    if (round == 0) held = ground.heldBytes();
    EXPECT_EQ(ground.heldBytes(), held);
  }
}

TEST(Heap, ensure_vouches_for_blocks_of_any_size_and_for_what_the_write_retires) {
  Ground ground;
  Random random;
  for (int write = 0; write < 500; ++write) {
    ground.begin(kMaxEnsureBytes);
    const uint64_t held = ground.heldBytes();
    uint32_t left = kMaxEnsureBytes;
    std::vector<std::pair<Ref, uint32_t>> blocks;
    while (left >= kMaxBlockBytes) {
      const auto bytes = static_cast<uint32_t>(1 + random() % kMaxBlockBytes);
      left -= static_cast<uint32_t>(bytesOf(bytes));
      blocks.emplace_back(ground.heap.allocate(bytes), bytes);
      ASSERT_LE(ground.state.openUnits, kExtentBytes / kRefUnit) << "cut past the end of the extent";
    }
    for (size_t i = 0; i < blocks.size() && i < kMaxRetiredPerWrite; ++i) {
      ground.heap.retire(blocks[i].first, blocks[i].second);
    }
    ASSERT_LE(ground.state.openUnits, kExtentBytes / kRefUnit) << "cut past the end of the extent";
    ASSERT_EQ(ground.heldBytes(), held);
  }
}

// The least room with which ensure is content must do for a write that takes and gives back the most.
TEST(Heap, ensure_vouches_for_the_greatest_write_from_the_least_room) {
  uint32_t least = 0;
  {
    Ground ground;
    ground.begin(kMaxEnsureBytes);
    while (ground.heldBytes() == kExtentBytes) {
      least = ground.state.openUnits;
      ground.heap.allocate(kRefUnit);
      ASSERT_EQ(ground.heap.ensure(kMaxEnsureBytes), 0u);
    }
  }
  Ground ground;
  ground.begin(kMaxEnsureBytes);
  std::vector<Ref> known;
  while (ground.state.openUnits > least) known.push_back(ground.heap.allocate(kRefUnit));
  ground.begin(kMaxEnsureBytes);
  ASSERT_EQ(ground.heldBytes(), kExtentBytes);
  for (uint32_t bytes = 0; bytes < kMaxEnsureBytes; bytes += kRefUnit) known.push_back(ground.heap.allocate(kRefUnit));
  for (uint32_t i = 0; i < kMaxRetiredPerWrite; ++i) ground.heap.retire(known[i], kRefUnit);
  EXPECT_LE(ground.state.openUnits, least) << "cut past the end of the extent";
}

TEST(Heap, ensure_at_the_memory_limit_returns_DB_ERR_MEMORY_LIMIT_and_takes_nothing) {
  Ground ground;
  ground.state.limitBytes = 3 * kExtentBytes;
  uint32_t code = 0;
  while ((code = ground.heap.ensure(kMaxBlockBytes)) == 0) ground.heap.allocate(kMaxBlockBytes);
  EXPECT_EQ(code, uint32_t{DB_ERR_MEMORY_LIMIT});
  EXPECT_EQ(ground.heldBytes(), 3 * kExtentBytes);
  EXPECT_EQ(ground.heap.takeExtent(), kNoRef);
  EXPECT_EQ(ground.heldBytes(), 3 * kExtentBytes);

  ground.state.limitBytes = 0;
  EXPECT_EQ(ground.heap.ensure(kMaxBlockBytes), 0u) << "the limit was lifted";
}

TEST(Heap, ensureBeyondLimit_at_the_memory_limit_goes_on) {
  Ground ground;
  ground.state.limitBytes = kExtentBytes;
  while (ground.heap.ensure(kMaxBlockBytes) == 0) ground.heap.allocate(kMaxBlockBytes);
  EXPECT_EQ(ground.heap.ensureBeyondLimit(kMaxBlockBytes), 0u);
  EXPECT_EQ(ground.heldBytes(), 2 * kExtentBytes);
}

TEST(Heap, ensure_in_an_exhausted_arena_returns_DB_ERR_NO_MEMORY) {
  Ground ground(4 * kExtentBytes);
  uint32_t code = 0;
  while ((code = ground.heap.ensure(kMaxBlockBytes)) == 0) ground.heap.allocate(kMaxBlockBytes);
  EXPECT_EQ(code, uint32_t{DB_ERR_NO_MEMORY});
  EXPECT_EQ(ground.heap.ensureBeyondLimit(kMaxBlockBytes), uint32_t{DB_ERR_NO_MEMORY});
  EXPECT_EQ(ground.heap.takeExtent(), kNoRef);
  EXPECT_EQ(ground.heldBytes(), 3 * kExtentBytes);
}

TEST(Heap, takeExtent_counts_as_held) {
  Ground ground;
  EXPECT_NE(ground.heap.takeExtent(), kNoRef);
  EXPECT_EQ(ground.heldBytes(), kExtentBytes);
}

// A block holds one number in all its words; every write replaces it and retires the one before.
struct Replaced : Ground {
  static constexpr uint32_t kWords = 64;

  Replaced() { replace(1); }
  void replace(uint32_t number) {
    begin(kWords * 4);
    const Ref fresh = heap.allocate(kWords * 4);
    for (uint32_t i = 0; i < kWords; ++i) store(heap.at<uint32_t>(fresh)[i], number);
    const Ref before = current;
    publish(current, fresh);
    if (before != kNoRef) heap.retire(before, kWords * 4);
  }
  Ref current = kNoRef;
};

TEST(ReadStable, a_reader_overtaken_by_kRestingWrites_reads_again) {
  Replaced block;
  uint32_t runs = 0;
  const uint32_t number = readStable(block.heap, [&] {
    const Ref ref = follow(block.current);
    if (++runs == 1) {
      for (uint32_t write = 0; write < kRestingWrites; ++write) block.replace(100 + write);
    }
    return load(*block.heap.at<uint32_t>(ref));
  });
  EXPECT_EQ(runs, 2u);
  EXPECT_EQ(number, 99 + kRestingWrites);
}

TEST(ReadStable, a_reader_overtaken_by_one_write_less_keeps_what_it_read) {
  Replaced block;
  uint32_t runs = 0;
  const uint32_t number = readStable(block.heap, [&] {
    const Ref ref = follow(block.current);
    ++runs;
    for (uint32_t write = 0; write < kRestingWrites - 1; ++write) block.replace(100 + write);
    return load(*block.heap.at<uint32_t>(ref));
  });
  EXPECT_EQ(runs, 1u);
  EXPECT_EQ(number, 1u);
}

TEST(ReadStableThreads, readers_beside_a_fast_writer_never_return_a_mixture) {
  Replaced block;
  std::jthread writer([&](std::stop_token stop) {
    for (uint32_t number = 2; !stop.stop_requested(); ++number) block.replace(number);
  });
  uint32_t latest = 0;
  for (int read = 0; read < 2000; ++read) {
    struct Seen {
      uint32_t first, last;
    };
    bool sleepy = read % 100 == 0;
    const Seen seen = readStable(block.heap, [&] {
      const auto* words = block.heap.at<uint32_t>(follow(block.current));
      Seen result{load(words[0]), 0};
      if (sleepy) std::this_thread::sleep_for(std::chrono::milliseconds(1));
      sleepy = false;
      result.last = load(words[Replaced::kWords - 1]);
      return result;
    });
    ASSERT_EQ(seen.first, seen.last);
    ASSERT_GE(seen.first, latest) << "time went backwards";
    latest = seen.first;
  }
}

}  // namespace
}  // namespace fibdb::store
