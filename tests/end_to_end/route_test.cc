// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/route_test.cc: routes through the batch path and every way to read them back.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <tuple>

#include "tests/end_to_end/engine_fixture.h"
#include "tests/support/emulator.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class RouteTest : public EngineTest {
 protected:
  static std::vector<std::pair<uint32_t, int>> prefixes(FibDbIterator* iterator) {
    std::vector<std::pair<uint32_t, int>> found;
    EXPECT_NE(iterator, nullptr);
    FibDbIp4forwardItem item{};
    uint32_t status = 0;
    while ((status = FIB_DB_GetNextIp4forward(iterator, &item)) == 0) {
      found.emplace_back(item.dest_ip_addr, item.mask_len);
    }
    EXPECT_EQ(status, 60u);
    EXPECT_EQ(FIB_DB_GetNextIp4forward(iterator, &item), 60u);
    FIB_DB_ReleaseIp4forwardIterator(iterator);
    return found;
  }

  static uint32_t countAll() {
    uint32_t count = 0;
    EXPECT_EQ(FIB_DB_CountIp4forward(&count), 0u);
    return count;
  }
};

TEST_F(RouteTest, A_written_route_is_read_back_whole) {
  FibDbIp4forwardItem item = routeOf(0x0A000000, 8, 7);
  item.attr_half_d = 0x1234;
  item.attr_dword_b = 0x1122334455667788;
  item.attr_block_b[15] = 0xEE;
  item.source_pid = 4711;
  item.time_stamp_svc = 99;
  {
    Batch batch;
    ASSERT_EQ(batch.write(item), 0u);
  }
  FibDbIp4forwardItem read = routeOf(0x0A000000, 8);
  ASSERT_EQ(FIB_DB_ReadIp4forward(&read), 0u);
  EXPECT_EQ(read.attr_word_a, 7u);
  EXPECT_EQ(read.attr_half_d, 0x1234u);
  EXPECT_EQ(read.attr_dword_b, 0x1122334455667788u);
  EXPECT_EQ(read.attr_block_b[15], 0xEE);
  EXPECT_EQ(read.source_pid, 4711u);
  EXPECT_EQ(read.time_stamp_svc, 99u);
  EXPECT_EQ(FIB_DB_GetSourcePid(), 4711u);
}

TEST_F(RouteTest, Write_replaces_update_changes_two_fields_remove_removes) {
  FibDbIp4forwardItem item = routeOf(0x0A000000, 8, 7);
  Batch batch;
  ASSERT_EQ(batch.write(item), 0u);
  item.attr_word_a = 8;
  ASSERT_EQ(batch.write(item), 0u);
  batch.execute();
  EXPECT_EQ(countAll(), 1u);

  ASSERT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(batch.object()), 0u);
  item.attr_word_a = 9;
  item.table_smooth_id = 5;
  item.time_stamp_svc = 6;
  ASSERT_EQ(batch.update(item), 0u);
  batch.execute();
  FibDbIp4forwardItem read = routeOf(0x0A000000, 8);
  ASSERT_EQ(FIB_DB_ReadIp4forward(&read), 0u);
  EXPECT_EQ(read.attr_word_a, 8u);
  EXPECT_EQ(read.table_smooth_id, 5u);
  EXPECT_EQ(read.time_stamp_svc, 6u);

  ASSERT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(batch.object()), 0u);
  ASSERT_EQ(batch.remove(item), 0u);
  batch.execute();
  EXPECT_EQ(FIB_DB_ReadIp4forward(&read), 60u);
  EXPECT_EQ(countAll(), 0u);
}

TEST_F(RouteTest, The_completion_record_tells_what_became_of_the_batch) {
  Completion completion;
  Batch batch;
  ASSERT_EQ(batch.write(routeOf(0x0A000000, 8)), 0u);
  ASSERT_EQ(batch.write(routeOf(0x0A000000, 8)), 0u);
  ASSERT_EQ(batch.update(routeOf(0x0A000000, 8)), 0u);
  ASSERT_EQ(batch.update(routeOf(0x0B000000, 8)), 0u);
  ASSERT_EQ(batch.remove(routeOf(0x0A000000, 8)), 0u);
  batch.execute(completion.record());
  const FibDbBatchResult& result = completion.result();
  EXPECT_EQ(result.operations, 5u);
  EXPECT_EQ(result.inserted, 1u);
  EXPECT_EQ(result.replaced, 1u);
  EXPECT_EQ(result.updated, 1u);
  EXPECT_EQ(result.removed, 1u);
  EXPECT_EQ(result.failed, 1u);
  EXPECT_EQ(result.code, uint32_t{DB_ERR_NO_DATA});
}

TEST_F(RouteTest, A_process_that_reconnects_writes_through_every_connection) {
  constexpr uint32_t kRounds = 20;
  for (uint32_t round = 0; round < kRounds; ++round) {
    ASSERT_EQ(FIB_DB_CreateAsyncConnect(0, 0), 0u);
    uint64_t object = 0, argument = 0;
    ASSERT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&object), 0u) << "in round " << round;
    const FibDbIp4forwardItem item = routeOf(round << 8, 24, round);
    ASSERT_EQ(FIB_DB_BatchAddOperWriteIp4forward(&object, &item, 0), 0u);
    ASSERT_EQ(FIB_DB_BatchExecuteAsync(&object, &argument), 0u);
    FIB_DB_DestroyAsyncConnect();
    EXPECT_EQ(db_release_ip4forward_object(std::exchange(g_fibAsyncBatchObject, 0)), 0u);
  }
  for (uint32_t round = 0; round < kRounds; ++round) {
    FibDbIp4forwardItem item = routeOf(round << 8, 24);
    EXPECT_EQ(FIB_DB_ReadIp4forward(&item), 0u);
    EXPECT_EQ(item.attr_word_a, round);
  }
  EXPECT_EQ(countAll(), kRounds);
}

TEST_F(RouteTest, A_process_that_reconnects_with_the_old_batch_object_is_told_so_and_loses_nothing_else) {
  ASSERT_EQ(FIB_DB_CreateAsyncConnect(0, 0), 0u);
  uint64_t object = 0;
  ASSERT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&object), 0u);
  FIB_DB_DestroyAsyncConnect();
  ASSERT_EQ(FIB_DB_CreateAsyncConnect(0, 0), 0u);
  EXPECT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&object), 20017u);
  EXPECT_THAT(std::exchange(logged, {}),
              ElementsAre("detIp4forwardBatchAsyncObject failed, reset ip4forward object failed. ret = 20017"));
  EXPECT_EQ(db_release_ip4forward_object(std::exchange(g_fibAsyncBatchObject, 0)), 0u);
  EXPECT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&object), 0u) << "a new one, on the new connection";
  FIB_DB_DestroyAsyncConnect();
  EXPECT_EQ(db_release_ip4forward_object(std::exchange(g_fibAsyncBatchObject, 0)), 0u);
}

// A child sets both handles to 0 and connects: the parent's connection goes on beside it.
TEST_F(RouteTest, A_child_of_fork_connects_anew_and_the_parents_connection_goes_on) {
  {
    Batch batch;
    ASSERT_EQ(batch.write(routeOf(0x0A000000, 8)), 0u);
    batch.execute();
    const auto connectAnew = [] {
      g_fibDbAsyncConn = 0;
      g_fibAsyncBatchObject = 0;
      uint64_t object = 0, argument = 0;
      const FibDbIp4forwardItem item = routeOf(0x0B000000, 8);
      if (FIB_DB_CreateAsyncConnect(0, 0) != 0 || FIB_DB_GetIp4forwardBatchAsyncObject(&object) != 0) return 1;
      if (FIB_DB_BatchAddOperWriteIp4forward(&object, &item, 0) != 0) return 2;
      if (FIB_DB_BatchExecuteAsync(&object, &argument) != 0) return 3;
      FIB_DB_DestroyAsyncConnect();
      return countAll() == 2 && logged.empty() ? 0 : 4;
    };
    const int status = emulation::onLastThread([&] {
      const pid_t child = fork();
      if (child == 0) _exit(connectAnew());
      int ended = 0;
      return waitpid(child, &ended, 0) == child ? ended : -1;
    });
    EXPECT_EQ(status, 0);
    ASSERT_EQ(batch.write(routeOf(0x0C000000, 8)), 0u);
  }
  EXPECT_EQ(countAll(), 2u);
}

TEST_F(RouteTest, A_full_batch_asks_for_a_retry_and_is_executed_without_loss) {
  {
    Batch batch(0, 4);
    for (uint32_t i = 0; i < 100; ++i) ASSERT_EQ(batch.write(routeOf(i << 8, 24)), 0u);
  }
  EXPECT_EQ(countAll(), 100u);
}

TEST_F(RouteTest, The_dictionary_gives_key_order) {
  {
    Batch batch;
    for (const auto& [addr, mask] : std::vector<std::pair<uint32_t, uint8_t>>{
             {0xC0A80000, 16}, {0x0A000000, 16}, {0x0A000000, 8}, {0xFFFFFFFF, 32}, {0, 0}, {0x0A010000, 16}}) {
      ASSERT_EQ(batch.write(routeOf(addr, mask)), 0u);
    }
  }
  using Prefix = std::pair<uint32_t, int>;
  EXPECT_THAT(prefixes(FIB_DB_CreateDictionaryIterator(FIB_DB_NO_PROPERTY)),
              ElementsAre(Prefix{0, 0}, Prefix{0x0A000000, 8}, Prefix{0x0A000000, 16}, Prefix{0x0A010000, 16},
                          Prefix{0xC0A80000, 16}, Prefix{0xFFFFFFFF, 32}));
}

TEST_F(RouteTest, Iterators_select_by_group_by_VRF_and_by_property) {
  {
    Batch batch;
    FibDbIp4forwardItem item = routeOf(0x01000000, 8, 5);
    item.source_pid = 70;
    ASSERT_EQ(batch.write(item), 0u);
    item = routeOf(0x02000000, 8, 5);
    item.vr_id = 3;
    item.source_pid = 70;
    ASSERT_EQ(batch.write(item), 0u);
    item = routeOf(0x03000000, 8, 6);
    item.vr_id = 3;
    item.source_pid = 71;
    ASSERT_EQ(batch.write(item), 0u);
  }
  using Prefix = std::pair<uint32_t, int>;
  const Prefix first{0x01000000, 8}, second{0x02000000, 8}, third{0x03000000, 8};
  EXPECT_THAT(prefixes(FIB_DB_CreateIp4forwardIterator(FIB_DB_NO_PROPERTY)),
              UnorderedElementsAre(first, second, third));
  EXPECT_THAT(prefixes(FIB_DB_CreateIp4forwardIterator(3)), UnorderedElementsAre(second, third));
  EXPECT_THAT(prefixes(FIB_DB_CreateDictionaryIterator(3)), ElementsAre(second, third));
  EXPECT_THAT(prefixes(FIB_DB_CreateIp4forwardIteratorByNhpGrpId(5, 0, -1)), ElementsAre(first));
  EXPECT_THAT(prefixes(FIB_DB_CreateIp4forwardIteratorByNhpGrpId(5, 3, -1)), ElementsAre(second));
  EXPECT_THAT(prefixes(FIB_DB_CreateIp4forwardIteratorByVrf(3, 0, 71, FIB_DB_NO_PROPERTY)), ElementsAre(third));
}

TEST_F(RouteTest, The_batch_fetch_gives_every_route_of_a_group) {
  {
    Batch batch;
    for (uint32_t i = 0; i < 1000; ++i) ASSERT_EQ(batch.write(routeOf(i << 8, 24, i % 3)), 0u);
  }
  FibDbIterator* const iterator = FIB_DB_CreateIp4forwardIteratorByNhpGrpId(1, 0, -1);
  std::vector<FibDbIp4forwardItem> items(64);
  std::vector<uint32_t> seen;
  uint32_t status = 1;
  while (status == 1) {
    uint32_t filled = 0;
    status = FIB_DB_GetNextIp4forwardByNhpGrpId(
        iterator, static_cast<uint32_t>(items.size() * sizeof(FibDbIp4forwardItem)), items.data(), &filled);
    for (uint32_t i = 0; i < filled; ++i) seen.push_back(items[i].dest_ip_addr >> 8);
  }
  FIB_DB_ReleaseIp4forwardByNhpGrpId(iterator);
  std::ranges::sort(seen);
  ASSERT_EQ(seen.size(), 333u);
  for (uint32_t i = 0; i < 333; ++i) EXPECT_EQ(seen[i], 3 * i + 1);
}

TEST_F(RouteTest, CountIp4forwardByHighStatus_counts_the_stored_byte) {
  {
    Batch batch;
    for (uint32_t i = 0; i < 10; ++i) {
      FibDbIp4forwardItem item = routeOf(i << 8, 24);
      item.high_status = i < 4 ? 1 : 2;
      ASSERT_EQ(batch.write(item), 0u);
    }
  }
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountIp4forwardByHighStatus(1, &count), 0u);
  EXPECT_EQ(count, 4u);
  EXPECT_EQ(FIB_DB_CountIp4forwardByHighStatus(3, &count), 0u);
  EXPECT_EQ(count, 0u);
}

TEST_F(RouteTest, At_a_record_limit_routes_are_refused_and_the_stored_ones_stay) {
  const uint32_t table = fibdb_engine_find_table("ip4forward");
  ASSERT_EQ(fibdb_engine_set_limits(table, 10, 0), 0u);
  Completion completion;
  Batch batch;
  for (uint32_t i = 0; i < 15; ++i) ASSERT_EQ(batch.write(routeOf(i << 8, 24)), 0u);
  batch.execute(completion.record());
  const FibDbBatchResult& result = completion.result();
  EXPECT_EQ(result.inserted, 10u);
  EXPECT_EQ(result.failed, 5u);
  EXPECT_EQ(result.code, uint32_t{DB_ERR_RECORD_LIMIT});
  EXPECT_EQ(countAll(), 10u);
  FibDbIp4forwardItem item = routeOf(9 << 8, 24);
  EXPECT_EQ(FIB_DB_ReadIp4forward(&item), 0u);
}

TEST_F(RouteTest, A_walk_meets_every_route_that_stays_once_while_others_come_and_go) {
  Batch batch;
  for (uint32_t i = 0; i < 1000; ++i) ASSERT_EQ(batch.write(routeOf(i << 8, 24)), 0u);
  batch.execute();
  FibDbIterator* const iterator = FIB_DB_CreateIp4forwardIterator(FIB_DB_NO_PROPERTY);
  std::vector<int> met(2000);
  FibDbIp4forwardItem item{};
  for (uint32_t step = 0; FIB_DB_GetNextIp4forward(iterator, &item) == 0; ++step) {
    ++met[item.dest_ip_addr >> 8];
    if (step % 10 != 0) continue;
    // Odd routes go and come back, new ones appear; even ones stay.
    ASSERT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(batch.object()), 0u);
    const uint32_t odd = 2 * (step % 500) + 1;
    ASSERT_EQ(batch.remove(routeOf(odd << 8, 24)), 0u);
    ASSERT_EQ(batch.write(routeOf(odd << 8, 24)), 0u);
    ASSERT_EQ(batch.write(routeOf((1000 + step / 10) << 8, 24)), 0u);
    batch.execute();
  }
  FIB_DB_ReleaseIp4forwardIterator(iterator);
  for (uint32_t i = 0; i < 1000; i += 2) EXPECT_EQ(met[i], 1) << i;
  for (uint32_t i = 0; i < met.size(); ++i) EXPECT_LE(met[i], 1) << i;
}

}  // namespace
}  // namespace fibdb::test
