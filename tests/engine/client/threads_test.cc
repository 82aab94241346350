// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/threads_test.cc: threads with objects of their own, beside each other and beside a batch writer.
#include <array>
#include <atomic>
#include <thread>

#include "engine_fixture.h"

namespace fibdb::testing {
namespace {

class Threads : public EngineTest {};

void runTogether(std::vector<std::thread>& threads) {
  for (std::thread& thread : threads) thread.join();
}

// A row whose fields all tell the same number, so that a torn one shows.
Row stamped(uint32_t addr, uint32_t stamp) {
  return route(addr, 32, stamp)
      .set("attr_word_b", stamp)
      .set("attr_word_e", stamp)
      .set("table_smooth_id", stamp)
      .set("time_stamp_svc", stamp);
}

bool isWhole(const Row& row) {
  const uint64_t stamp = row.get("attr_word_a");
  return row.get("attr_word_b") == stamp && row.get("attr_word_e") == stamp && row.get("table_smooth_id") == stamp &&
         row.get("time_stamp_svc") == stamp;
}

TEST_F(Threads, objects_made_in_one_thread_are_released_in_another) {
  constexpr int kRounds = 300;
  constexpr size_t kBunch = 100;
  std::array<std::atomic<uint64_t>, kBunch> mailbox{};
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    for (int round = 0; round < kRounds; ++round) {
      for (auto& slot : mailbox) {
        while (slot.load() != 0) std::this_thread::yield();
        uint64_t object = 0;
        ASSERT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object), 0u);
        slot.store(object);
      }
    }
  });
  threads.emplace_back([&] {
    for (int round = 0; round < kRounds; ++round) {
      for (auto& slot : mailbox) {
        uint64_t object = 0;
        while ((object = slot.load()) == 0) std::this_thread::yield();
        ASSERT_EQ(db_release_nhp_object(object), 0u);
        slot.store(0);
      }
    }
  });
  runTogether(threads);
}

TEST_F(Threads, that_end_hand_their_free_objects_on) {
  FibDbEngineArenaStats stats{};
  for (int round = 0; round < 200; ++round) {
    std::thread([] {
      std::vector<uint64_t> objects(500);
      for (uint64_t& object : objects) ASSERT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object), 0u);
      for (const uint64_t object : objects) ASSERT_EQ(db_release_nhp_object(object), 0u);
    }).join();
  }
  // 200 threads times 500 objects would pass the limit if one thread's objects were lost to the next.
  ASSERT_EQ(fibdb_engine_arena_stats(&stats), 0u);
  EXPECT_EQ(stats.objects, 0u);
}

TEST_F(Threads, of_two_releases_of_one_handle_one_is_refused) {
  for (int round = 0; round < 300; ++round) {
    uint64_t object = 0;
    ASSERT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object), 0u);
    std::atomic<int> accepted{0};
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
      threads.emplace_back([&] {
        ++ready;
        while (ready < 2) std::this_thread::yield();
        const uint32_t code = db_release_nhp_object(object);
        if (code == 0) ++accepted;
        EXPECT_TRUE(code == 0 || code == DB_ERR_BAD_HANDLE) << code;
      });
    }
    runTogether(threads);
    ASSERT_EQ(accepted, 1);
  }
}

// The same where one of them is the thread that made it.
TEST_F(Threads, of_two_releases_one_by_the_maker_one_is_refused) {
  std::atomic<uint64_t> shared{0};
  std::atomic<int> accepted{0};
  std::atomic<int> done{0};
  std::atomic<bool> ended{false};
  std::thread other([&] {
    while (!ended) {
      const uint64_t object = shared.exchange(0);
      if (object == 0) continue;
      if (db_release_nhp_object(object) == 0) ++accepted;
      ++done;
    }
  });
  for (int round = 0; round < 20'000 && accepted == round; ++round) {
    uint64_t object = 0;
    EXPECT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object), 0u);
    shared = object;
    if (db_release_nhp_object(object) == 0) ++accepted;
    while (done != round + 1) std::this_thread::yield();
  }
  EXPECT_EQ(accepted, done);
  ended = true;
  other.join();
}

// However many: none is lost with the thread that made it, or that released it.
TEST_F(Threads, objects_that_outlive_their_thread_are_released_by_others) {
  std::vector<uint64_t> objects(500);
  for (int round = 0; round < 200; ++round) {
    std::thread([&] {
      for (uint64_t& object : objects) ASSERT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object), 0u);
    }).join();
    for (const uint64_t object : objects) ASSERT_EQ(db_release_nhp_object(object), 0u);
    for (const uint64_t object : objects) ASSERT_EQ(db_release_nhp_object(object), DB_ERR_BAD_HANDLE);
  }
}

TEST_F(Threads, all_that_one_made_can_be_released_and_made_again_by_another) {
  std::vector<uint64_t> objects;
  uint64_t object = 0;
  while (db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object) == 0) objects.push_back(object);
  ASSERT_GT(objects.size(), 65'000u);
  std::thread([&] {
    for (const uint64_t each : objects) ASSERT_EQ(db_release_nhp_object(each), 0u);
    for (uint64_t& each : objects) ASSERT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &each), 0u);
    for (const uint64_t each : objects) ASSERT_EQ(db_release_nhp_object(each), 0u);
  }).join();
  ASSERT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object), 0u);
  EXPECT_EQ(db_release_nhp_object(object), 0u);
}

// An iterator ends with its object, whoever releases that.
TEST_F(Threads, the_iterator_of_an_object_that_another_thread_released_is_refused) {
  uint64_t object = 0, iterator = 0;
  ASSERT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_SCAN, 0, &object), 0u);
  ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iterator), 0u);
  std::thread([&] { ASSERT_EQ(db_release_nhp_object(object), 0u); }).join();
  EXPECT_EQ(db_root_iterator_next(iterator), DB_ERR_BAD_HANDLE);
}

TEST_F(Threads, readers_beside_a_batch_writer_see_whole_records_and_every_route_that_stays) {
  constexpr uint32_t kStaying = 64;
  constexpr uint32_t kChanging = 64;
  constexpr uint32_t kRounds = 200;
  for (uint32_t i = 0; i < kStaying; ++i) ASSERT_EQ(writeRoute(stamped(i, 0)), 0u);
  std::atomic<bool> done{false};

  const auto keyed = [&] {
    Row row(TableId::ip4forward);
    for (uint32_t i = 0; !done; i = (i + 1) % (kStaying + kChanging)) {
      const uint32_t code = readRoute(routeKey(i, 32), row);
      const bool whole = code == 0 && isWhole(row);
      const bool absent = code == DB_ERR_NO_DATA && i >= kStaying;
      ASSERT_TRUE(whole || absent) << code;
    }
  };
  const auto walking = [&] {
    Row row(TableId::ip4forward);
    while (!done) {
      RouteObject object(FIB_DB_OBJ_OP_SCAN);
      uint64_t iter = 0;
      ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iter), 0u);
      uint32_t staying = 0;
      while (db_root_iterator_next(iter) == 0) {
        ASSERT_EQ(db_read_obj_with_buf(object, nullptr, nullptr, row.data(), row.length()), 0u);
        ASSERT_TRUE(isWhole(row));
        staying += row.get("dest_ip_addr") < kStaying;
      }
      ASSERT_EQ(staying, kStaying);
    }
  };
  const auto matching = [&] {
    Row row(TableId::ip4forward);
    for (uint32_t i = 0; !done; i = (i + 1) % kStaying) {
      RouteObject object(FIB_DB_OBJ_OP_SCAN);
      const Key key = routeKey(i, 32, kRouteLongest);
      uint64_t iter = 0;
      ASSERT_EQ(db_create_root_iter(object, &key.desc, key.data(), &iter), 0u);
      ASSERT_EQ(db_root_iterator_next(iter), 0u);
      ASSERT_EQ(db_read_obj_with_buf(object, nullptr, nullptr, row.data(), row.length()), 0u);
      ASSERT_TRUE(isWhole(row));
      ASSERT_EQ(row.get("dest_ip_addr"), i);
    }
  };
  std::vector<std::thread> readers;
  readers.emplace_back(keyed);
  readers.emplace_back(walking);
  readers.emplace_back(matching);

  uint64_t connection = 0;
  uint64_t batch = 0;
  EXPECT_EQ(db_connect(0, 2, &connection), 0u);
  EXPECT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &batch), 0u);
  for (uint32_t round = 1; round <= kRounds; ++round) {
    for (uint32_t i = 0; i < kStaying + kChanging; ++i) {
      const bool remove = i >= kStaying && (round + i) % 2 == 0;
      const Key key = routeKey(i, 32);
      const Row row = stamped(i, round);
      EXPECT_EQ(db_reset_ip4forward_batch_object(batch, remove ? FIB_DB_OBJ_OP_REMOVE : FIB_DB_OBJ_OP_WRITE), 0u);
      if (!remove) {
        EXPECT_EQ(db_set_ip4forward_all_fields(batch, row.data(), row.length()), 0u);
      }
      EXPECT_EQ(db_batch_add_oper(batch, &key.desc, key.data()), 0u);
    }
    while (db_batch_exec_async(batch, 0) == DB_ERR_BATCH_QUEUE_FULL) std::this_thread::yield();
  }
  EXPECT_EQ(fibdb_engine_drain(connection), 0u);
  done = true;
  runTogether(readers);
  EXPECT_EQ(db_disconnect(connection), 0u);
  EXPECT_EQ(db_release_ip4forward_object(batch), 0u);
}

TEST_F(Threads, writers_of_one_table_lose_nothing) {
  constexpr uint32_t kWriters = 4;
  constexpr uint32_t kEach = 2000;
  std::vector<std::thread> writers;
  for (uint32_t writer = 0; writer < kWriters; ++writer) {
    writers.emplace_back([writer] {
      for (uint32_t i = 0; i < kEach; ++i) {
        ASSERT_EQ(writeRoute(route(writer << 24 | i, 32, writer)), 0u);
        if (i % 2 == 1) {
          ASSERT_EQ(removeRoutes(routeKey(writer << 24 | i, 32)), 0u);
        }
      }
    });
  }
  runTogether(writers);
  EXPECT_EQ(countRoutes(), kWriters * kEach / 2);
}

TEST_F(Threads, a_batch_writer_beside_a_disconnection_is_told_so) {
  for (int round = 0; round < 50; ++round) {
    uint64_t connection = 0;
    uint64_t batch = 0;
    ASSERT_EQ(db_connect(4, 4, &connection), 0u);
    ASSERT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &batch), 0u);
    std::atomic<bool> started{false};
    std::thread writer([&] {
      const Row row = route(1, 32);
      for (;;) {
        const uint32_t begun = db_reset_ip4forward_batch_object(batch, FIB_DB_OBJ_OP_WRITE);
        if (begun != 0) {
          ASSERT_EQ(begun, DB_ERR_CONNECTION_CLOSED);
          return;
        }
        const uint32_t staged = db_set_ip4forward_all_fields(batch, row.data(), row.length());
        if (staged == 0) db_batch_add_oper(batch, nullptr, nullptr);
        db_batch_exec_async(batch, 0);
        started = true;
      }
    });
    while (!started) std::this_thread::yield();
    EXPECT_EQ(db_disconnect(connection), 0u);
    writer.join();
    EXPECT_EQ(db_release_ip4forward_object(batch), 0u);
  }
}

}  // namespace
}  // namespace fibdb::testing
