// tests/engine/store/records_test.cc: slots: when they are used again, in which order they are walked.
#include "engine/store/records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

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

// A table's slots on their own.
struct Ground {
  explicit Ground(uint16_t rowLength) : layout(rowLength), row(rowLength, 0xAB) {}

  Ref insert() {
    heap.beginWrite();
    const Ref record = records.take(row.data());
    if (record != kNoRef) records.enliven(record);
    return record;
  }
  void remove(Ref record) {
    heap.beginWrite();
    records.bury(record);
    records.retire(record);
  }

  Arena arena{uint64_t{64} << 20};
  HeapState* heapState = arena.at<HeapState>(arena.takeExtent());
  RecordsState* state = reinterpret_cast<RecordsState*>(heapState + 1);
  Heap heap{arena, *heapState};
  RecordLayout layout;
  Records records{heap, *state, layout};
  std::vector<uint8_t> row;
};

TEST(Records, a_retired_slot_is_used_again_after_it_has_rested_and_not_before) {
  Ground ground(20);
  const Ref retired = ground.insert();
  ground.remove(retired);
  for (uint64_t write = 1; write < store::kRestingWrites; ++write) ASSERT_NE(ground.insert(), retired) << write;
  EXPECT_EQ(ground.insert(), retired);
}

TEST(Records, a_full_heap_lets_a_resting_slot_go_early_but_lets_the_clock_run_first) {
  Ground ground(20);
  const Ref first = ground.insert();
  ground.heapState->limitBytes = 1;
  while (ground.insert() != kNoRef) {
  }
  ground.remove(first);
  const uint64_t before = ground.heap.clock();
  EXPECT_EQ(ground.insert(), first);
  EXPECT_GE(ground.heap.clock() - before, store::kRestingWrites);
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
