// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/fork_test.cc: what a child made by fork() has of the engine, and that it never hangs.
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <thread>

#include "engine_fixture.h"
#include "tests/support/emulator.h"

namespace fibdb::testing {
namespace {

// In a child nothing of the test framework may be used; what went wrong first is its exit status, by line.
#define CHECK_IN_CHILD(condition) \
  if (!(condition)) return __LINE__ % 255 + 1

// A child that hangs hangs the test, and ends with it.
pid_t forkChild() {
  const pid_t process = fork();
  if (process == 0) prctl(PR_SET_PDEATHSIG, SIGKILL);
  return process;
}

// What the child returned; -1 when a signal ended it.
int awaitChild(pid_t process) {
  int status = 0;
  if (process < 0 || waitpid(process, &status, 0) != process || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

template <class Work>
int inChild(Work work) {
  return emulation::onLastThread([&] {
    const pid_t process = forkChild();
    if (process == 0) _exit(work());
    return awaitChild(process);
  });
}

uint32_t createGroup(uint32_t word1, uint8_t byte) {
  Row row(TableId::ar_group_attr);
  row.set("keyWord1", word1).set("keyByte", byte);
  const FibDbUfibData entry{row.data(), row.length()};
  return UFIB_DB_Create(kArGroupId, &entry);
}

uint32_t addAndExecute(uint64_t batch, const Row& row) {
  if (const uint32_t code = db_reset_ip4forward_batch_object(batch, FIB_DB_OBJ_OP_WRITE)) return code;
  if (const uint32_t code = db_set_ip4forward_all_fields(batch, row.data(), row.length())) return code;
  if (const uint32_t code = db_batch_add_oper(batch, nullptr, nullptr)) return code;
  return db_batch_exec_async(batch, 0);
}

class Fork : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    ASSERT_EQ(UFIB_DB_TableRegister(kArGroupId, &kArGroup), 0u);
  }
};

TEST_F(Fork, gives_the_child_the_records_and_each_process_its_own_from_then_on) {
  ASSERT_EQ(writeRoute(route(1, 32)), 0u);
  EXPECT_EQ(inChild([] {
              CHECK_IN_CHILD(countRoutes() == 1);
              CHECK_IN_CHILD(writeRoute(route(2, 32)) == 0);
              CHECK_IN_CHILD(removeRoutes(routeKey(1, 32)) == 0);
              CHECK_IN_CHILD(countRoutes() == 1);
              return 0;
            }),
            0);
  Row row(TableId::ip4forward);
  EXPECT_EQ(readRoute(routeKey(1, 32), row), 0u);
  EXPECT_EQ(readRoute(routeKey(2, 32), row), DB_ERR_NO_DATA);
}

TEST_F(Fork, makes_the_parents_objects_and_iterators_stale_in_the_child_and_leaves_them_alone_in_the_parent) {
  for (uint32_t i = 0; i < 3; ++i) ASSERT_EQ(writeRoute(route(i, 32)), 0u);
  ASSERT_EQ(createGroup(1, 0), 0u);
  RouteObject object(FIB_DB_OBJ_OP_SCAN);
  uint64_t iter = 0;
  ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iter), 0u);
  ASSERT_EQ(db_root_iterator_next(iter), 0u);
  void* const entries = UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY);
  EXPECT_EQ(
      inChild([&] {
        FibDbEngineArenaStats stats{};
        CHECK_IN_CHILD(fibdb_engine_arena_stats(&stats) == 0 && stats.objects == 0);
        Row row(TableId::ip4forward);
        CHECK_IN_CHILD(db_root_iterator_next(iter) == DB_ERR_BAD_HANDLE);
        CHECK_IN_CHILD(db_read_obj_with_buf(object, nullptr, nullptr, row.data(), row.length()) == DB_ERR_BAD_HANDLE);
        CHECK_IN_CHILD(db_release_ip4forward_object(object) == DB_ERR_BAD_HANDLE);
        Row group(TableId::ar_group_attr);
        FibDbUfibData entry{group.data(), group.length()};
        CHECK_IN_CHILD(UFIB_DB_GetNextEntry(kArGroupId, entries, &entry) == DB_ERR_BAD_HANDLE);
        CHECK_IN_CHILD(UFIB_DB_ReleaseIterator(kArGroupId, entries) == DB_ERR_BAD_HANDLE);
        return 0;
      }),
      0);
  EXPECT_EQ(db_root_iterator_next(iter), 0u);
  EXPECT_EQ(db_root_iterator_next(iter), 0u);
  EXPECT_EQ(db_root_iterator_next(iter), DB_ERR_ITER_END);
  EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, entries), 0u);
}

// Far more than the parent had, so that every slot of the parent's is taken again.
TEST_F(Fork, lets_no_new_handle_of_the_child_look_like_one_of_the_parent) {
  std::vector<uint64_t> parents(200);
  for (uint64_t& object : parents) ASSERT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object), 0u);
  std::vector<void*> iterators(20);
  for (void*& iterator : iterators) iterator = UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY);
  EXPECT_EQ(inChild([&] {
              std::array<uint64_t, 500> own{};
              for (uint64_t& object : own) CHECK_IN_CHILD(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object) == 0);
              for (int i = 0; i < 20; ++i)
                CHECK_IN_CHILD(UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY) != nullptr);
              for (const uint64_t parent : parents) CHECK_IN_CHILD(db_release_nhp_object(parent) == DB_ERR_BAD_HANDLE);
              for (void* parent : iterators)
                CHECK_IN_CHILD(UFIB_DB_ReleaseIterator(kArGroupId, parent) == DB_ERR_BAD_HANDLE);
              for (const uint64_t object : own) CHECK_IN_CHILD(db_release_nhp_object(object) == 0);
              return 0;
            }),
            0);
  for (const uint64_t object : parents) EXPECT_EQ(db_release_nhp_object(object), 0u);
  for (void* iterator : iterators) EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, iterator), 0u);
}

TEST_F(Fork, leaves_connections_and_their_batches_to_the_parent) {
  uint64_t connection = 0, batch = 0;
  ASSERT_EQ(db_connect(0, 0, &connection), 0u);
  ASSERT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &batch), 0u);
  const Row row = route(1, 32);
  ASSERT_EQ(db_reset_ip4forward_batch_object(batch, FIB_DB_OBJ_OP_WRITE), 0u);
  ASSERT_EQ(db_set_ip4forward_all_fields(batch, row.data(), row.length()), 0u);
  ASSERT_EQ(db_batch_add_oper(batch, nullptr, nullptr), 0u);
  EXPECT_EQ(inChild([&] {
              FibDbEngineConnectionStats stats{};
              uint64_t out = 0;
              CHECK_IN_CHILD(db_batch_exec_async(batch, 0) == DB_ERR_BAD_HANDLE);
              CHECK_IN_CHILD(db_release_ip4forward_object(batch) == DB_ERR_BAD_HANDLE);
              CHECK_IN_CHILD(fibdb_engine_drain(connection) == DB_ERR_BAD_HANDLE);
              CHECK_IN_CHILD(fibdb_engine_connection_stats(connection, &stats) == DB_ERR_BAD_HANDLE);
              CHECK_IN_CHILD(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &out) ==
                             DB_ERR_BAD_HANDLE);
              CHECK_IN_CHILD(db_disconnect(connection) == DB_ERR_BAD_HANDLE);
              CHECK_IN_CHILD(countRoutes() == 0);
              return 0;
            }),
            0);
  ASSERT_EQ(db_batch_exec_async(batch, 0), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(countRoutes(), 1u);
  EXPECT_EQ(db_release_ip4forward_object(batch), 0u);
  EXPECT_EQ(db_disconnect(connection), 0u);
}

// Opens a connection, writes a route through it, closes it.
int writeThroughOwnConnection(uint64_t parents) {
  uint64_t connection = 0, batch = 0;
  CHECK_IN_CHILD(db_connect(0, 0, &connection) == 0);
  CHECK_IN_CHILD(connection != parents);
  CHECK_IN_CHILD(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &batch) == 0);
  const uint64_t before = countRoutes();
  CHECK_IN_CHILD(addAndExecute(batch, route(0xC0000000, 32)) == 0);
  CHECK_IN_CHILD(fibdb_engine_drain(connection) == 0);
  CHECK_IN_CHILD(countRoutes() == before + 1);
  CHECK_IN_CHILD(addAndExecute(batch, route(0xC0000001, 32)) == 0);
  CHECK_IN_CHILD(db_disconnect(connection) == 0);
  CHECK_IN_CHILD(countRoutes() == before + 2);
  CHECK_IN_CHILD(db_release_ip4forward_object(batch) == 0);
  return 0;
}

TEST_F(Fork, lets_the_child_open_a_connection_of_its_own_while_the_parents_is_busy) {
  uint64_t connection = 0, batch = 0;
  ASSERT_EQ(db_connect(0, 1000, &connection), 0u);
  ASSERT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &batch), 0u);
  for (uint32_t round = 0; round < 20; ++round) {
    for (uint32_t i = 0; i < 20; ++i) ASSERT_EQ(addAndExecute(batch, route(round << 8 | i, 32)), 0u);
    ASSERT_EQ(inChild([&] { return writeThroughOwnConnection(connection); }), 0);
  }
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(countRoutes(), 400u);
  EXPECT_EQ(db_release_ip4forward_object(batch), 0u);
  EXPECT_EQ(db_disconnect(connection), 0u);
}

// The batch of a child's own connection, in the slot of the parent's: it must be the only one that is counted there.
struct OwnBatch {
  uint64_t connection = 0;
  static void done(void* context, const FibDbBatchResult*) {
    usleep(50'000);  // the thread that forked returns to the engine meanwhile
    FibDbEngineConnectionStats stats{};
    const uint32_t code = fibdb_engine_connection_stats(static_cast<OwnBatch*>(context)->connection, &stats);
    _exit(code == 0 && stats.waiting == 1 && stats.batches == 0 ? 0 : 253);
  }
};

TEST_F(Fork, in_a_completion_gives_a_child_whose_own_connections_work_and_that_leaves_the_parents) {
  struct Forking {
    uint64_t connection = 0;
    int status = -1;
  } forking;
  ASSERT_EQ(db_connect(0, 0, &forking.connection), 0u);
  uint64_t batch = 0;
  ASSERT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, forking.connection, &batch), 0u);
  const auto forkNow = [](void* context, const FibDbBatchResult*) {
    auto* const out = static_cast<Forking*>(context);
    const pid_t process = forkChild();
    if (process != 0) {
      out->status = awaitChild(process);
      return;
    }
    if (const int wrong = writeThroughOwnConnection(out->connection)) _exit(wrong);
    static OwnBatch own;
    static const FibDbBatchCompletion completion{OwnBatch::done, &own};
    uint64_t ownBatch = 0;
    if (db_connect(0, 0, &own.connection) != 0) _exit(254);
    if (db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, own.connection, &ownBatch) != 0) _exit(254);
    if (db_batch_exec_async(ownBatch, reinterpret_cast<uint64_t>(&completion)) != 0) _exit(254);
  };
  const FibDbBatchCompletion completion{forkNow, &forking};
  ASSERT_EQ(db_batch_exec_async(batch, reinterpret_cast<uint64_t>(&completion)), 0u);
  ASSERT_EQ(fibdb_engine_drain(forking.connection), 0u);
  EXPECT_EQ(forking.status, 0);
  EXPECT_EQ(db_release_ip4forward_object(batch), 0u);
  EXPECT_EQ(db_disconnect(forking.connection), 0u);
}

// Everything that takes a lock, in threads of the parent, while it forks; each child does the same things once.
TEST_F(Fork, beside_busy_threads_gives_children_that_never_hang) {
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
  GTEST_SKIP() << "the sanitizer's own allocator hangs in a child whose parent was allocating in another thread";
#endif
#endif
  constexpr int kForks = 60;
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    for (uint32_t i = 0; !done; ++i) ASSERT_EQ(writeRoute(route(i % 1000, 32)), 0u);
  });
  const auto startThreads = [&] {
    while (!done) {  // an own thread each time: its slots come from and go to the common pool
      std::thread([] {
        std::array<uint64_t, 100> objects{};
        for (uint64_t& object : objects) ASSERT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object), 0u);
        for (const uint64_t object : objects) ASSERT_EQ(db_release_nhp_object(object), 0u);
      }).join();
    }
  };
  const auto connect = [&] {
    while (!done) {
      uint64_t connection = 0, batch = 0;
      ASSERT_EQ(db_connect(16, 4, &connection), 0u);
      ASSERT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &batch), 0u);
      for (uint32_t i = 0; i < 20; ++i) {
        const uint32_t code = addAndExecute(batch, route(0x0A000000 + i, 32));
        ASSERT_TRUE(code == 0 || code == DB_ERR_BATCH_QUEUE_FULL || code == DB_ERR_RETRY) << code;
      }
      ASSERT_EQ(fibdb_engine_drain(connection), 0u);
      ASSERT_EQ(db_disconnect(connection), 0u);
      ASSERT_EQ(db_release_ip4forward_object(batch), 0u);
    }
  };
  if (emulation::threadsMayComeBesideFork()) {
    threads.emplace_back(startThreads);
    threads.emplace_back(connect);
  }
  threads.emplace_back([&] {
    for (uint32_t i = 0; !done; ++i) {
      const uint32_t code = createGroup(i % 5000, 1);
      ASSERT_TRUE(code == 0 || code == DB_ERR_EXISTS) << code;
      ASSERT_EQ(UFIB_DB_TableRegister(kArGroupId, &kArGroup), 0u);
      ASSERT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY)), 0u);
    }
  });
  int wrong = 0;
  for (int i = 0; i < kForks && wrong == 0; ++i) {
    wrong = inChild([] {
      CHECK_IN_CHILD(writeRoute(route(0xB0000000, 32)) == 0);
      CHECK_IN_CHILD(removeRoutes(routeKey(0xB0000000, 32)) == 0);
      CHECK_IN_CHILD(createGroup(7, 2) == 0);
      void* const entries = UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY);
      CHECK_IN_CHILD(UFIB_DB_ReleaseIterator(kArGroupId, entries) == 0);
      CHECK_IN_CHILD(UFIB_DB_TableRegister(kArGroupId, &kArGroup) == 0);
      FibDbEngineArenaStats stats{};
      CHECK_IN_CHILD(fibdb_engine_arena_stats(&stats) == 0 && stats.objects == 0 && stats.connections == 0);
      return writeThroughOwnConnection(0);
    });
  }
  done = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0) << "the check that failed stands at this line, modulo 255, less one";
}

TEST_F(Fork, may_be_repeated_by_the_child) {
  ASSERT_EQ(writeRoute(route(1, 32)), 0u);
  EXPECT_EQ(inChild([] {
              CHECK_IN_CHILD(writeRoute(route(2, 32)) == 0);
              return inChild([] {
                CHECK_IN_CHILD(countRoutes() == 2);
                return writeThroughOwnConnection(0);
              });
            }),
            0);
}

}  // namespace
}  // namespace fibdb::testing
