// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/batch_test.cc: connections, batches, their limits, failures and completions.
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "engine_fixture.h"

namespace fibdb::testing {
namespace {

class Connection {
 public:
  explicit Connection(uint64_t mostOperations = 0, uint64_t mostWaiting = 0) {
    EXPECT_EQ(db_connect(mostOperations, mostWaiting, &handle_), 0u);
  }
  ~Connection() { close(); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  operator uint64_t() const { return handle_; }

  void close() {
    if (!open_) return;
    EXPECT_EQ(db_disconnect(handle_), 0u);
    open_ = false;
  }
  FibDbEngineConnectionStats stats() const {
    FibDbEngineConnectionStats stats{};
    EXPECT_EQ(fibdb_engine_connection_stats(handle_, &stats), 0u);
    return stats;
  }

 private:
  uint64_t handle_ = 0;
  bool open_ = true;
};

class BatchObject {
 public:
  explicit BatchObject(uint64_t connection) {
    EXPECT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &handle_), 0u);
  }
  ~BatchObject() { EXPECT_EQ(db_release_ip4forward_object(handle_), 0u); }
  BatchObject(const BatchObject&) = delete;
  BatchObject& operator=(const BatchObject&) = delete;
  operator uint64_t() const { return handle_; }

  uint32_t addWrite(const Row& row) const {
    EXPECT_EQ(db_reset_ip4forward_batch_object(handle_, FIB_DB_OBJ_OP_WRITE), 0u);
    const uint32_t code = db_set_ip4forward_all_fields(handle_, row.data(), row.length());
    return code != 0 ? code : db_batch_add_oper(handle_, nullptr, nullptr);
  }
  uint32_t addUpdate(const Key& key, uint32_t smoothId) const {
    EXPECT_EQ(db_reset_ip4forward_batch_object(handle_, FIB_DB_OBJ_OP_UPDATE), 0u);
    const uint32_t code = db_set_ip4forward_table_smooth_id(handle_, smoothId);
    return code != 0 ? code : db_batch_add_oper(handle_, &key.desc, key.data());
  }
  uint32_t addRemoval(const Key& key) const {
    EXPECT_EQ(db_reset_ip4forward_batch_object(handle_, FIB_DB_OBJ_OP_REMOVE), 0u);
    return db_batch_add_oper(handle_, &key.desc, key.data());
  }
  uint32_t execute(const FibDbBatchCompletion* completion = nullptr) const {
    return db_batch_exec_async(handle_, reinterpret_cast<uint64_t>(completion));
  }

 private:
  uint64_t handle_ = 0;
};

// A completion that keeps what it was told.
struct Outcome {
  FibDbBatchResult result{};
  std::atomic<int> calls{0};
  FibDbBatchCompletion completion{[](void* context, const FibDbBatchResult* result) {
                                    auto* self = static_cast<Outcome*>(context);
                                    self->result = *result;
                                    self->calls.fetch_add(1);
                                  },
                                  this};
};

// A completion that keeps the connection's thread until it is opened.
class Gate {
 public:
  FibDbBatchCompletion completion{[](void* context, const FibDbBatchResult*) { static_cast<Gate*>(context)->pass(); },
                                  this};
  void awaitArrival() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return arrived_; });
  }
  void open() {
    const std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }

 private:
  void pass() {
    std::unique_lock lock(mutex_);
    arrived_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_; });
  }
  std::mutex mutex_;
  std::condition_variable changed_;
  bool arrived_ = false;
  bool open_ = false;
};

class Batches : public EngineTest {};
class Connections : public EngineTest {};

TEST_F(Batches, nothing_happens_before_execution_and_all_after_a_drain) {
  Connection connection;
  BatchObject batch(connection);
  for (uint32_t i = 0; i < 100; ++i) ASSERT_EQ(batch.addWrite(route(i << 8, 24)), 0u);
  EXPECT_EQ(countRoutes(), 0u);
  ASSERT_EQ(batch.execute(), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(countRoutes(), 100u);
}

TEST_F(Batches, few_operations_that_nobody_waits_for_are_applied_when_the_execution_returns) {
  Connection connection;
  BatchObject batch(connection);
  for (uint32_t i = 1; i <= 50; ++i) {
    ASSERT_EQ(batch.addWrite(route(i << 8, 24, i)), 0u);
    ASSERT_EQ(batch.addWrite(route(i << 8, 25, i)), 0u);
    ASSERT_EQ(batch.addUpdate(routeKey(i << 8, 24), i), 0u);
    ASSERT_EQ(batch.addRemoval(routeKey(i << 8, 25)), 0u);
    ASSERT_EQ(batch.execute(), 0u);
    EXPECT_EQ(connection.stats().waiting, 0u);
    EXPECT_EQ(countRoutes(), i);
    Row row(TableId::ip4forward);
    ASSERT_EQ(readRoute(routeKey(i << 8, 24), row), 0u);
    EXPECT_EQ(row, route(i << 8, 24, i).set("table_smooth_id", i));
  }
  EXPECT_EQ(connection.stats().batches, 50u);
  EXPECT_EQ(connection.stats().operations, 200u);
  EXPECT_EQ(connection.stats().failed, 0u);
  ASSERT_EQ(batch.addRemoval(routeKey(0, 8)), 0u);
  ASSERT_EQ(batch.execute(), 0u);
  EXPECT_EQ(connection.stats().failed, 1u);
}

TEST_F(Batches, few_operations_do_not_overtake_a_batch_that_waits) {
  Connection connection;
  BatchObject batch(connection);
  Gate gate;
  ASSERT_EQ(batch.execute(&gate.completion), 0u);
  gate.awaitArrival();
  ASSERT_EQ(batch.addWrite(route(0x01000000, 8, 1)), 0u);
  ASSERT_EQ(batch.execute(), 0u);
  ASSERT_EQ(batch.addWrite(route(0x01000000, 8, 2)), 0u);
  ASSERT_EQ(batch.execute(), 0u);
  EXPECT_EQ(countRoutes(), 0u);
  EXPECT_EQ(connection.stats().waiting, 3u);
  gate.open();
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  Row row(TableId::ip4forward);
  ASSERT_EQ(readRoute(routeKey(0x01000000, 8), row), 0u);
  EXPECT_EQ(row, route(0x01000000, 8, 2));
}

TEST_F(Batches, the_completion_tells_once_what_became_of_each_operation) {
  ASSERT_EQ(writeRoute(route(0x01000000, 8, 1)), 0u);
  ASSERT_EQ(writeRoute(route(0x02000000, 8, 1)), 0u);
  ASSERT_EQ(writeRoute(route(0x03000000, 8, 2)), 0u);
  Connection connection;
  BatchObject batch(connection);
  Outcome outcome;
  ASSERT_EQ(batch.addWrite(route(0x04000000, 8, 3)), 0u);
  ASSERT_EQ(batch.addWrite(route(0x03000000, 8, 3)), 0u);
  ASSERT_EQ(batch.addUpdate(routeKey(0x04000000, 8), 55), 0u);
  ASSERT_EQ(batch.addUpdate(routeKey(0x05000000, 8), 55), 0u);
  ASSERT_EQ(batch.addWrite(route(0x06000000, 77)), 0u);
  ASSERT_EQ(batch.addRemoval(makeKey(TableId::ip4forward, kRouteByGroup, {1, 0})), 0u);
  ASSERT_EQ(batch.addRemoval(routeKey(0x07000000, 8)), 0u);
  ASSERT_EQ(batch.execute(&outcome.completion), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(outcome.calls, 1);
  EXPECT_EQ(outcome.result.operations, 7u);
  EXPECT_EQ(outcome.result.inserted, 1u);
  EXPECT_EQ(outcome.result.replaced, 1u);
  EXPECT_EQ(outcome.result.updated, 1u);
  EXPECT_EQ(outcome.result.removed, 2u);
  EXPECT_EQ(outcome.result.failed, 3u);
  EXPECT_EQ(outcome.result.code, DB_ERR_NO_DATA) << "the first failure";
  EXPECT_EQ(countRoutes(), 2u);
  Row row(TableId::ip4forward);
  ASSERT_EQ(readRoute(routeKey(0x04000000, 8), row), 0u);
  EXPECT_EQ(row, route(0x04000000, 8, 3).set("table_smooth_id", 55));
  EXPECT_EQ(connection.stats().batches, 1u);
  EXPECT_EQ(connection.stats().operations, 7u);
  EXPECT_EQ(connection.stats().failed, 3u);
}

TEST_F(Batches, operations_are_applied_in_the_order_they_were_added) {
  Connection connection(16, 4);
  BatchObject batch(connection);
  for (uint32_t round = 0; round < 50; ++round) {
    ASSERT_EQ(batch.addWrite(route(0x0A000000, 8, round)), 0u);
    ASSERT_EQ(batch.addRemoval(routeKey(0x0A000000, 8)), 0u);
    ASSERT_EQ(batch.addWrite(route(0x0A000000, 8, round + 1000)), 0u);
    while (batch.execute() == DB_ERR_BATCH_QUEUE_FULL) ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  }
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  Row row(TableId::ip4forward);
  ASSERT_EQ(readRoute(routeKey(0x0A000000, 8), row), 0u);
  EXPECT_EQ(row.get("attr_word_a"), 1049u);
  EXPECT_EQ(connection.stats().failed, 0u);
}

TEST_F(Batches, a_full_batch_answers_10740_to_staging_and_adding_and_keeps_what_it_has) {
  Connection connection(3);
  BatchObject batch(connection);
  for (uint32_t i = 0; i < 3; ++i) ASSERT_EQ(batch.addWrite(route(i << 8, 24)), 0u);
  EXPECT_EQ(batch.addWrite(route(0x0A000000, 8)), DB_ERR_RETRY);
  EXPECT_EQ(batch.addUpdate(routeKey(0, 24), 1), DB_ERR_RETRY);
  EXPECT_EQ(batch.addRemoval(routeKey(0, 24)), DB_ERR_RETRY);
  EXPECT_EQ(batch.addRemoval(routeKey(0, 24)), DB_ERR_RETRY);
  ASSERT_EQ(batch.execute(), 0u);
  ASSERT_EQ(batch.addWrite(route(0x0A000000, 8)), 0u) << "there is room again at once";
  ASSERT_EQ(batch.execute(), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(countRoutes(), 4u);
  EXPECT_EQ(connection.stats().batchLimit, 3u);
}

TEST_F(Batches, an_add_that_was_refused_may_be_repeated_after_execution) {
  Connection connection(1);
  BatchObject batch(connection);
  ASSERT_EQ(batch.addWrite(route(0x0A000000, 8)), 0u);
  const Key key = routeKey(0x0A000000, 8);
  ASSERT_EQ(batch.addRemoval(key), DB_ERR_RETRY);
  ASSERT_EQ(batch.execute(), 0u);
  EXPECT_EQ(db_batch_add_oper(batch, &key.desc, key.data()), 0u) << "the operation is still begun";
  ASSERT_EQ(batch.execute(), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(countRoutes(), 0u);
}

TEST_F(Batches, a_full_queue_answers_60003_and_the_batch_waits_for_a_retry) {
  Connection connection(8, 2);
  BatchObject batch(connection);
  Gate gate;
  ASSERT_EQ(batch.addWrite(route(0x01000000, 8)), 0u);
  ASSERT_EQ(batch.execute(&gate.completion), 0u);
  gate.awaitArrival();
  ASSERT_EQ(batch.addWrite(route(0x02000000, 8)), 0u);
  ASSERT_EQ(batch.execute(), 0u);
  ASSERT_EQ(batch.addWrite(route(0x03000000, 8)), 0u);
  EXPECT_EQ(batch.execute(), DB_ERR_BATCH_QUEUE_FULL);
  EXPECT_EQ(batch.execute(), DB_ERR_BATCH_QUEUE_FULL);
  EXPECT_EQ(connection.stats().refusedBatches, 2u);
  EXPECT_EQ(connection.stats().waiting, 2u);
  ASSERT_EQ(batch.addWrite(route(0x04000000, 8)), 0u) << "a refused batch may still grow";
  gate.open();
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(countRoutes(), 2u);
  Outcome outcome;
  ASSERT_EQ(batch.execute(&outcome.completion), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(outcome.result.operations, 2u);
  EXPECT_EQ(countRoutes(), 4u);
  EXPECT_EQ(connection.stats().waiting, 0u);
}

TEST_F(Batches, discarding_drops_what_was_added_and_not_executed) {
  Connection connection;
  BatchObject batch(connection);
  ASSERT_EQ(batch.addWrite(route(0x01000000, 8)), 0u);
  ASSERT_EQ(db_reset_ip4forward_object(batch, FIB_DB_OBJ_OP_BATCH), 0u);
  EXPECT_EQ(db_batch_add_oper(batch, nullptr, nullptr), DB_ERR_BATCH_EMPTY_OBJECT);
  ASSERT_EQ(batch.addWrite(route(0x02000000, 8)), 0u);
  Outcome outcome;
  ASSERT_EQ(batch.execute(&outcome.completion), 0u);
  ASSERT_EQ(db_reset_ip4forward_object(batch, FIB_DB_OBJ_OP_BATCH), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(outcome.result.operations, 1u);
  EXPECT_EQ(countRoutes(), 1u);
  EXPECT_EQ(db_reset_ip4forward_object(batch, FIB_DB_OBJ_OP_WRITE), DB_ERR_WRONG_KIND);
}

TEST_F(Batches, an_empty_batch_completes_with_nothing_done) {
  Connection connection;
  BatchObject batch(connection);
  Outcome outcome;
  ASSERT_EQ(batch.execute(&outcome.completion), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(outcome.calls, 1);
  EXPECT_EQ(outcome.result.operations, 0u);
  EXPECT_EQ(outcome.result.code, 0u);
}

TEST_F(Batches, each_operation_must_be_begun_and_is_begun_once) {
  Connection connection;
  BatchObject batch(connection);
  const Row row = route(0x01000000, 8);
  EXPECT_EQ(db_set_ip4forward_all_fields(batch, row.data(), row.length()), DB_ERR_BATCH_EMPTY_OBJECT);
  EXPECT_EQ(db_batch_add_oper(batch, nullptr, nullptr), DB_ERR_BATCH_EMPTY_OBJECT);
  ASSERT_EQ(batch.addWrite(row), 0u);
  EXPECT_EQ(db_batch_add_oper(batch, nullptr, nullptr), DB_ERR_BATCH_EMPTY_OBJECT);
  for (const uint32_t kind : {2u, 3u, 5u, 6u, 9u, UINT32_MAX}) {
    EXPECT_EQ(db_reset_ip4forward_batch_object(batch, kind), DB_ERR_WRONG_KIND);
  }
  ASSERT_EQ(db_reset_ip4forward_batch_object(batch, FIB_DB_OBJ_OP_REMOVE), 0u);
  EXPECT_EQ(db_set_ip4forward_table_smooth_id(batch, 1), DB_ERR_WRONG_KIND) << "a removal has no fields";
}

TEST_F(Batches, updates_and_removals_need_a_key_of_an_index_that_serves_them) {
  Connection connection;
  BatchObject batch(connection);
  const Key group = makeKey(TableId::ip4forward, kRouteByGroup, {1, 0});
  EXPECT_EQ(batch.addUpdate(group, 1), DB_ERR_BAD_INDEX);
  EXPECT_EQ(batch.addRemoval(routeKey(0, 0, kRouteLongest)), DB_ERR_BAD_INDEX);
  EXPECT_EQ(batch.addRemoval(routeKey(0, 0, kRouteOrdered)), DB_ERR_BAD_INDEX);
  EXPECT_EQ(db_batch_add_oper(batch, nullptr, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_batch_add_oper(batch, &group.desc, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(batch.addRemoval(group), 0u);
}

TEST_F(Batches, at_a_record_limit_further_routes_fail_and_are_counted) {
  ASSERT_EQ(fibdb_engine_set_limits(numberOf(TableId::ip4forward), 10, 0), 0u);
  Connection connection;
  BatchObject batch(connection);
  Outcome outcome;
  for (uint32_t i = 0; i < 15; ++i) ASSERT_EQ(batch.addWrite(route(i << 8, 24)), 0u);
  ASSERT_EQ(batch.execute(&outcome.completion), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(outcome.result.inserted, 10u);
  EXPECT_EQ(outcome.result.failed, 5u);
  EXPECT_EQ(outcome.result.code, DB_ERR_RECORD_LIMIT);
}

TEST_F(Batches, an_object_released_with_operations_left_drops_them) {
  Connection connection;
  {
    BatchObject batch(connection);
    ASSERT_EQ(batch.addWrite(route(0x01000000, 8)), 0u);
  }
  BatchObject next(connection);
  Outcome outcome;
  ASSERT_EQ(next.addWrite(route(0x02000000, 8)), 0u);
  ASSERT_EQ(next.execute(&outcome.completion), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(outcome.result.operations, 1u);
}

TEST_F(Batches, an_object_of_a_batch_serves_no_direct_call) {
  Connection connection;
  BatchObject batch(connection);
  const Key key = routeKey(0, 0);
  uint64_t out = 0;
  EXPECT_EQ(db_write_obj(batch), DB_ERR_WRONG_KIND);
  EXPECT_EQ(db_update_obj(batch, &key.desc, key.data()), DB_ERR_WRONG_KIND);
  EXPECT_EQ(db_remove_obj(batch, &key.desc, key.data()), DB_ERR_WRONG_KIND);
  EXPECT_EQ(db_create_root_iter(batch, nullptr, nullptr, &out), DB_ERR_WRONG_KIND);
  EXPECT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_WRITE, connection, &out), DB_ERR_WRONG_KIND);
  EXPECT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, nullptr), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Connections, disconnecting_applies_everything_that_was_handed_over) {
  Connection connection(64, 100);
  Outcome outcome;
  {
    BatchObject batch(connection);
    for (uint32_t i = 0; i < 50; ++i) {
      for (uint32_t j = 0; j < 64; ++j) ASSERT_EQ(batch.addWrite(route(i << 16 | j << 8, 24)), 0u);
      ASSERT_EQ(batch.execute(&outcome.completion), 0u);
    }
  }
  connection.close();
  EXPECT_EQ(outcome.calls, 50);
  EXPECT_EQ(countRoutes(), 3200u);
}

TEST_F(Connections, once_closed_are_stale_and_their_objects_can_only_be_released) {
  Connection connection;
  BatchObject batch(connection);
  ASSERT_EQ(batch.addWrite(route(0x01000000, 8)), 0u);
  connection.close();
  FibDbEngineConnectionStats stats{};
  EXPECT_EQ(db_disconnect(connection), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(fibdb_engine_drain(connection), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(fibdb_engine_connection_stats(connection, &stats), DB_ERR_BAD_HANDLE);
  uint64_t object = 0;
  EXPECT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &object), DB_ERR_BAD_HANDLE);
  Connection next;
  EXPECT_NE(static_cast<uint64_t>(next), static_cast<uint64_t>(connection));
  EXPECT_EQ(db_reset_ip4forward_object(batch, FIB_DB_OBJ_OP_BATCH), DB_ERR_CONNECTION_CLOSED);
  EXPECT_EQ(db_reset_ip4forward_batch_object(batch, FIB_DB_OBJ_OP_WRITE), DB_ERR_CONNECTION_CLOSED);
  EXPECT_EQ(db_set_ip4forward_table_smooth_id(batch, 1), DB_ERR_CONNECTION_CLOSED);
  EXPECT_EQ(db_batch_add_oper(batch, nullptr, nullptr), DB_ERR_CONNECTION_CLOSED);
  EXPECT_EQ(batch.execute(), DB_ERR_CONNECTION_CLOSED);
  EXPECT_EQ(countRoutes(), 0u);
}

TEST_F(Connections, a_completion_can_neither_drain_nor_close_its_own_connection) {
  struct Codes {
    uint64_t connection;
    uint32_t drain;
    uint32_t disconnect;
  };
  Connection connection;
  Codes codes{connection, 0, 0};
  FibDbBatchCompletion completion{[](void* context, const FibDbBatchResult*) {
                                    auto* out = static_cast<Codes*>(context);
                                    out->drain = fibdb_engine_drain(out->connection);
                                    out->disconnect = db_disconnect(out->connection);
                                  },
                                  &codes};
  BatchObject batch(connection);
  ASSERT_EQ(batch.execute(&completion), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(codes.drain, DB_ERR_BATCH_BUSY);
  EXPECT_EQ(codes.disconnect, DB_ERR_BATCH_BUSY);
}

// Cancels a thread that does work beside a batch whose completion waits at the gate; once the thread is inside.
void cancelBesideAGate(uint64_t connection, void* (*work)(void*)) {
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, nullptr, work, &connection), 0);
  // Wherever in the call the thread is reached, the outcome must be the same.
  usleep(50'000);
  ASSERT_EQ(pthread_cancel(thread), 0);
  void* result = nullptr;
  ASSERT_EQ(pthread_join(thread, &result), 0);
  EXPECT_EQ(result, PTHREAD_CANCELED);
}

TEST_F(Connections, a_thread_cancelled_in_a_drain_leaves_the_connection_usable) {
  Connection connection;
  BatchObject batch(connection);
  for (int round = 0; round < 3; ++round) {
    Gate gate;
    ASSERT_EQ(batch.addWrite(route(1, 32)), 0u);
    ASSERT_EQ(batch.execute(&gate.completion), 0u);
    gate.awaitArrival();
    cancelBesideAGate(connection, [](void* handle) -> void* {
      fibdb_engine_drain(*static_cast<uint64_t*>(handle));
      return nullptr;
    });
    EXPECT_EQ(connection.stats().waiting, 1u);
    ASSERT_EQ(batch.addWrite(route(2, 32)), 0u);
    ASSERT_EQ(batch.execute(), 0u);
    gate.open();
    EXPECT_EQ(fibdb_engine_drain(connection), 0u);
    EXPECT_EQ(connection.stats().waiting, 0u);
  }
  EXPECT_EQ(countRoutes(), 2u);
}

TEST_F(Connections, a_thread_cancelled_while_it_disconnects_finishes_the_disconnection) {
  uint64_t connection = 0;
  ASSERT_EQ(db_connect(0, 0, &connection), 0u);
  Gate gate;
  {
    BatchObject batch(connection);
    ASSERT_EQ(batch.execute(&gate.completion), 0u);
  }
  gate.awaitArrival();
  pthread_t thread{};
  // Nothing of the thread's is on its stack when it ends in the middle: the address sanitizer would miss its going.
  static std::atomic<uint32_t> code;
  code = 1;
  const auto disconnect = [](void* handle) -> void* {
    code = db_disconnect(*static_cast<uint64_t*>(handle));
    pthread_testcancel();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, nullptr, disconnect, &connection), 0);
  FibDbEngineConnectionStats stats{};
  while (fibdb_engine_connection_stats(connection, &stats) == 0) sched_yield();  // until it is closing
  ASSERT_EQ(pthread_cancel(thread), 0);
  gate.open();
  void* result = nullptr;
  ASSERT_EQ(pthread_join(thread, &result), 0);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  EXPECT_EQ(code, 0u);
  FibDbEngineArenaStats engine{};
  ASSERT_EQ(fibdb_engine_arena_stats(&engine), 0u);
  EXPECT_EQ(engine.connections, 0u) << "its slot is free again";
}

TEST_F(Connections, have_defaults_and_bounds) {
  Connection connection;
  EXPECT_EQ(connection.stats().batchLimit, 4096u);
  EXPECT_EQ(connection.stats().queueLimit, 8u);
  uint64_t handle = 0;
  EXPECT_EQ(db_connect(0, 0, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_connect(UINT64_MAX, 1, &handle), DB_ERR_NO_MEMORY);
  EXPECT_EQ(handle, 0u);
  std::vector<uint64_t> more;
  while (db_connect(1, 1, &handle) == 0) more.push_back(handle);
  EXPECT_EQ(db_connect(1, 1, &handle), DB_ERR_OBJECT_LIMIT);
  EXPECT_EQ(more.size(), 63u);
  for (const uint64_t open : more) ASSERT_EQ(db_disconnect(open), 0u);
}

TEST_F(Connections, more_than_one_may_write_at_the_same_time) {
  Connection first, second;
  BatchObject a(first), b(second);
  for (uint32_t i = 0; i < 1000; ++i) {
    ASSERT_EQ(a.addWrite(route(i << 8, 24, 1)), 0u);
    ASSERT_EQ(b.addWrite(route(i << 8, 25, 2)), 0u);
  }
  ASSERT_EQ(a.execute(), 0u);
  ASSERT_EQ(b.execute(), 0u);
  ASSERT_EQ(fibdb_engine_drain(first), 0u);
  ASSERT_EQ(fibdb_engine_drain(second), 0u);
  EXPECT_EQ(countRoutes(), 2000u);
}

}  // namespace
}  // namespace fibdb::testing
