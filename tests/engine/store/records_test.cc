// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/records_test.cc: slots: when they are used again, in which order they are walked.
#include "engine/store/records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/extents.h"

namespace fibdb::test {
namespace {

using store::Arena;
using store::Heap;
using store::HeapState;
using store::kNoRef;
using store::RecordLayout;
using store::Records;
using store::RecordsState;
using store::Ref;
using store::takeExtent;

// A table's slots on their own.
struct Ground {
  explicit Ground(uint16_t rowLength) : layout(rowLength), row(rowLength, 0xAB) {}

  Ref insert() {
    heap.beginWrite();
    if (!records.prepare()) return kNoRef;
    const Ref record = records.take(row.data(), 0);
    records.enliven(record);
    return record;
  }
  void remove(Ref record) {
    heap.beginWrite();
    records.bury(record);
    records.giveBack(record);
  }

  Arena arena{uint64_t{64} << 20};
  HeapState* heapState = arena.at<HeapState>(takeExtent(arena));
  RecordsState* state = reinterpret_cast<RecordsState*>(heapState + 1);
  Heap heap{arena, *heapState};
  RecordLayout layout;
  Records records{heap, *state, layout};
  std::vector<uint8_t> row;
};

TEST(Records, a_slot_given_back_is_taken_by_the_next_write_the_latest_first) {
  Ground ground(20);
  const Ref first = ground.insert(), second = ground.insert();
  ground.remove(first);
  ground.remove(second);
  EXPECT_EQ(ground.insert(), second);
  EXPECT_EQ(ground.insert(), first);
}

TEST(Records, a_slot_given_back_keeps_its_row_until_it_is_taken) {
  Ground ground(20);
  const Ref record = ground.insert(), other = ground.insert();
  ground.remove(other);
  ground.remove(record);
  EXPECT_EQ(std::vector<uint8_t>(ground.records.row(record), ground.records.row(record) + 20), ground.row);
}

TEST(Records, a_full_heap_takes_as_many_as_were_given_back_and_the_clock_stands_still) {
  Ground ground(20);
  const Ref first = ground.insert();
  ground.heapState->limitBytes = 1;
  while (ground.insert() != kNoRef) {
  }
  ground.remove(first);
  const uint64_t before = ground.heap.clock();
  EXPECT_EQ(ground.insert(), first);
  EXPECT_EQ(ground.heap.clock(), before + 1);
  EXPECT_EQ(ground.insert(), kNoRef);
}

TEST(Records, dead_or_too_young_are_not_read) {
  Ground ground(20);
  const Ref record = ground.insert();
  const uint64_t born = ground.heap.clock();
  std::vector<uint8_t> row(20);
  EXPECT_TRUE(ground.records.read(record, born, row.data()));
  EXPECT_EQ(row, ground.row);
  EXPECT_FALSE(ground.records.read(record, born - 1, row.data()));
  ground.remove(record);
  EXPECT_FALSE(ground.records.read(record, Records::kAnyTime, row.data()));
}

TEST(Records, a_walk_meets_every_slot_once_in_ascending_order_across_extents) {
  constexpr uint16_t kLengths[] = {1, 12, 13, 124, 320};
  for (const uint16_t length : kLengths) {
    Ground ground(length);
    std::vector<Ref> inserted, walked;
    const uint32_t count = ground.layout.slotsPerExtent * 2 + 3;
    for (uint32_t i = 0; i < count; ++i) inserted.push_back(ground.insert());
    store::RecordPosition position = ground.records.first();
    while (const Ref record = ground.records.next(position)) walked.push_back(record);
    ASSERT_EQ(walked, inserted) << length;
    ASSERT_TRUE(std::is_sorted(walked.begin(), walked.end())) << length;
    EXPECT_EQ(ground.records.next(position), kNoRef);
  }
}

TEST(RecordLayout, of_a_route_is_two_cache_lines) {
  const RecordLayout layout(124);
  EXPECT_EQ(layout.slotUnits * store::kRefUnit, 128U);
}

}  // namespace
}  // namespace fibdb::test
