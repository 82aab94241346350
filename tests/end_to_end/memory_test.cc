// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/memory_test.cc: every exported function over the engine, with each of its requests for memory
// refused in turn: by the caller's hooks, by the C library under the engine, by a table's limit, by the full arena.
//
// After each refusal the status must be the one that the function's row in the fault loop gives for the call that
// failed, nothing may be alive or released twice, and every record must be what it was. Then the same call, with
// memory, must do what it did before.
#include <algorithm>
#include <cstring>
#include <memory>
#include <set>
#include <utility>

#include "fibdb/fibdb.h"
#include "platform/objdb.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "tests/end_to_end/engine_fixture.h"
#include "tests/support/failing_memory.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

uint64_t connection;  // that the rows use

// A row that opens a connection leaves it to its caller.
void closeConnectionOfRow() {
  if (g_fibDbAsyncConn != connection) db_disconnect(g_fibDbAsyncConn);
  g_fibDbAsyncConn = connectionOfRows();
}

void closeConnections() {
  closeConnectionOfRow();
  EXPECT_EQ(db_disconnect(std::exchange(connection, 0)), 0u);
  g_fibDbAsyncConn = 0;
}

}  // namespace

uint64_t connectionOfRows() {
  FibDbEngineConnectionStats stats{};
  if (fibdb_engine_connection_stats(connection, &stats) != 0) {
    EXPECT_EQ(db_connect(4, 2, &connection), 0u);
  }
  return connection;
}

void giveBackBatchObject(uint64_t object) {
  EXPECT_EQ(db_release_ip4forward_object(object), 0u);
  g_fibAsyncBatchObject = 0;
}

namespace {

constexpr uint64_t kExtent = uint64_t{256} << 10;

bool rules(const Exported& row, std::string_view call) {
  return std::ranges::any_of(row.rules, [&](const Rule& rule) { return rule.covers(std::string(call)); });
}

// Which rules a refusal falls under, and the code with which the engine says it.
struct Refusal {
  bool (*falls)(const std::string& call);
  uint32_t code;
};

const Refusal kByHooks{[](const std::string& call) { return call == "alloc"; }, 0};
const Refusal kByProcess{[](const std::string& call) {
                           return (call.starts_with("db_create_") && call.ends_with("_obj")) ||
                                  call.ends_with("_specific_conn") || call.starts_with("UFIB_DB_") ||
                                  call == "db_set_ip4forward_all_fields" || call == "db_batch_add_oper" ||
                                  call == "db_batch_exec_async";
                         },
                         DB_ERR_NO_MEMORY};
bool writes(const std::string& call) {
  return call == "db_write_obj" || call == "db_update_obj" || call == "UFIB_DB_Create" || call == "UFIB_DB_Update";
}
const Refusal kByLimit{writes, DB_ERR_MEMORY_LIMIT};
const Refusal kByArena{writes, DB_ERR_NO_MEMORY};

std::set<uint32_t> statusesOf(const Exported& row, const Refusal& refusal) {
  std::set<uint32_t> statuses;
  for (const Rule& rule : row.rules) {
    if (refusal.falls(rule.call)) statuses.insert(rule.gives(refusal.code));
  }
  return statuses;
}

// Every row of every table, in no order that means anything.
using Snapshot = std::vector<std::vector<std::vector<uint8_t>>>;
Snapshot snapshot() {
  Snapshot tables(fibdb_engine_table_count());
  for (uint32_t table = 0; table < tables.size(); ++table) {
    const auto visit = [](const void* row, uint32_t length, void* context) {
      const auto* const bytes = static_cast<const uint8_t*>(row);
      static_cast<std::vector<std::vector<uint8_t>>*>(context)->emplace_back(bytes, bytes + length);
      return 0;
    };
    EXPECT_EQ(fibdb_engine_walk(table, visit, &tables[table]), 0u);
    std::ranges::sort(tables[table]);
  }
  return tables;
}

uint64_t refusedByTables() {
  uint64_t refused = 0;
  for (uint32_t table = 0; table < fibdb_engine_table_count(); ++table) {
    FibDbEngineTableStats stats{};
    EXPECT_EQ(fibdb_engine_table_stats(table, &stats), 0u);
    refused += stats.refused;
  }
  return refused;
}

void limitTables(uint64_t bytes) {
  for (uint32_t table = 0; table < fibdb_engine_table_count(); ++table) {
    EXPECT_EQ(fibdb_engine_set_limits(table, 0, bytes), 0u);
  }
}

uint64_t objectsAlive() {
  FibDbEngineArenaStats stats{};
  EXPECT_EQ(fibdb_engine_arena_stats(&stats), 0u);
  return stats.objects;
}

// Takes every object that the engine has memory for, so that the next one needs more.
class Crowd {
 public:
  Crowd() {
    engineRequests.failAll();
    uint64_t object = 0;
    while (db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object) == 0) objects_.push_back(object);
    engineRequests.arm(0);
  }
  ~Crowd() {
    for (const uint64_t object : objects_) EXPECT_EQ(db_release_nhp_object(object), 0u);
  }
  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

 private:
  std::vector<uint64_t> objects_;
};

class Memory : public testing::Test {
 protected:
  Memory() {
    const FibDbLogHooks silent{.info = nullptr, .error = nullptr};
    FIB_DB_LogFuncInit(&silent);
    installFailingHooks();
  }
  ~Memory() override {
    closeConnections();
    EXPECT_EQ(fibdb_engine_reset(), 0u);
    EXPECT_EQ(blocksLeft(), "");
    EXPECT_EQ(objectsAlive(), 0u);
  }

  static void empty() {
    closeConnections();
    ASSERT_EQ(fibdb_engine_reset(), 0u);
    FIB_DB_TableRegisterInit();
    g_fibDbAsyncConn = connectionOfRows();
  }

  // What the writing rows write, and a route for the others.
  static void fill() {
    empty();
    for (const Exported& row : allRows()) {
      if (rules(row, "db_write_obj") || rules(row, "UFIB_DB_Create")) row.run();
    }
    const FibDbIp4forwardItem route{.vr_id = 1, .dest_ip_addr = 0x0A000000, .mask_len = 8};
    FibDbIp4forwardRecord record{};
    FIB_DB_SetIp4forwardItem(&route, &record);
    uint64_t object = 0;
    ASSERT_EQ(db_create_ip4forward_obj(FIB_DB_OBJ_OP_WRITE, 0, &object), 0u);
    ASSERT_EQ(db_set_ip4forward_all_fields(object, &record, sizeof record), 0u);
    ASSERT_EQ(db_write_obj(object), 0u);
    ASSERT_EQ(db_release_ip4forward_object(object), 0u);
  }

  // A run without a fault, after one more that leaves in the row's items what its function puts there.
  static uint32_t statusWithMemory(const Exported& row, void (*prepare)()) {
    prepare();
    row.run();
    prepare();
    return row.run();
  }

  // A run in which a request was refused.
  void expectRefused(const Exported& row, const Refusal& refusal, uint32_t status, const Snapshot& before,
                     uint64_t objectsBefore) {
    EXPECT_THAT(statusesOf(row, refusal), testing::Contains(status));
    EXPECT_EQ(snapshot(), before);
    EXPECT_EQ(objectsAlive(), objectsBefore);
    EXPECT_EQ(blocksLeft(), "");
    ++refused_;
    refusing_.insert(row.name);
  }

  // Every row with its n-th request refused, for every n that there is.
  void refuseEach(Requests& requests, const Refusal& refusal, bool crowded) {
    for (const Exported& row : allRows()) {
      SCOPED_TRACE(row.name);
      const uint32_t withMemory = statusWithMemory(row, fill);
      for (uint64_t n = 1;; ++n) {
        fill();
        const auto crowd = crowded ? std::make_unique<Crowd>() : nullptr;
        const Snapshot before = snapshot();
        const uint64_t objects = objectsAlive();
        requests.arm(n);
        const uint32_t status = row.run();
        const bool refused = requests.failed();
        requests.arm(0);
        if (!refused) {
          EXPECT_EQ(status, withMemory) << "with memory again";
          break;
        }
        SCOPED_TRACE("request " + std::to_string(n));
        expectRefused(row, refusal, status, before, objects);
      }
      if (HasFailure()) return;
    }
    report();
  }

  void report() const {
    std::printf("%llu faults injected, under %zu of %zu functions\n", static_cast<unsigned long long>(refused_),
                refusing_.size(), allRows().size());
  }

  uint64_t refused_ = 0;
  std::set<std::string> refusing_;
};

TEST_F(Memory, of_the_hooks_may_fail_at_any_request_of_any_function) {
  refuseEach(hookRequests, kByHooks, false);
  for (const Exported& row : allRows()) EXPECT_EQ(refusing_.contains(row.name), rules(row, "alloc")) << row.name;
}

// Objects and batches are what the engine asks the C library for.
TEST_F(Memory, of_the_process_may_fail_at_any_request_of_the_engine_under_any_function) {
  refuseEach(engineRequests, kByProcess, true);
  for (const Exported& row : allRows()) {
    const bool makesObject = std::ranges::any_of(row.rules, [](const Rule& rule) {
      return rule.call.starts_with("db_create_") && (rule.call.ends_with("_obj") || rule.call.ends_with("_conn"));
    });
    EXPECT_TRUE(!makesObject || refusing_.contains(row.name)) << row.name;
  }
}

TEST_F(Memory, of_a_table_may_end_after_any_number_of_extents) {
  for (const Exported& row : allRows()) {
    SCOPED_TRACE(row.name);
    const uint32_t withMemory = statusWithMemory(row, empty);
    for (uint64_t extents = 0;; ++extents) {
      empty();
      limitTables(std::max<uint64_t>(extents * kExtent, 1));
      const Snapshot before = snapshot();
      const uint64_t objects = objectsAlive();
      const uint32_t status = row.run();
      if (refusedByTables() == 0) {
        EXPECT_EQ(status, withMemory);
        break;
      }
      SCOPED_TRACE(std::to_string(extents) + " extents");
      expectRefused(row, kByLimit, status, before, objects);
      if (extents == 0) continue;
      limitTables(0);
      EXPECT_EQ(row.run(), withMemory) << "with memory again";
    }
    if (HasFailure()) return;
  }
  report();
  for (const Exported& row : allRows()) {
    const bool inserts = rules(row, "db_write_obj") || rules(row, "UFIB_DB_Create");
    EXPECT_EQ(refusing_.contains(row.name), inserts) << row.name;
  }
}

class FullArena : public Memory {
 protected:
  // Of a router that no row's iterator asks for.
  static FibDbNhpItem filler(uint32_t index) { return {.nhp_index = index, .vr_id = 9, .ref_cnt = index}; }

  // Next hops until there is no more room for one.
  void fillArena() {
    uint32_t status = 0;
    for (fillers_ = 0; status == 0; ++fillers_) {
      const FibDbNhpItem item = filler(kFirst + fillers_);
      status = FIB_DB_WriteNhp(&item);
    }
    --fillers_;
    ASSERT_EQ(status, DB_ERR_NO_MEMORY);
    FibDbEngineArenaStats stats{};
    ASSERT_EQ(fibdb_engine_arena_stats(&stats), 0u);
    ASSERT_LE(stats.reserved, uint64_t{64} << 20) << "the arena is not the small one";
  }

  void expectFillersAreReadable() const {
    for (uint32_t i = 0; i < fillers_; ++i) {
      FibDbNhpItem item{.nhp_index = kFirst + i};
      ASSERT_EQ(FIB_DB_ReadNhp(&item), 0u);
      ASSERT_EQ(item.ref_cnt, kFirst + i);
    }
  }

  static constexpr uint32_t kFirst = 1000;
  uint32_t fillers_ = 0;
};

TEST_F(FullArena, refuses_what_needs_room_and_keeps_what_is_stored) {
  empty();
  fillArena();
  for (const Exported& row : allRows()) {
    SCOPED_TRACE(row.name);
    const uint64_t refusedBefore = refusedByTables();
    const uint64_t objects = objectsAlive();
    const uint32_t status = row.run();
    if (refusedByTables() != refusedBefore) {
      EXPECT_THAT(statusesOf(row, kByArena), testing::Contains(status));
      ++refused_;
      refusing_.insert(row.name);
    }
    closeConnectionOfRow();
    EXPECT_EQ(objectsAlive(), objects);
    EXPECT_EQ(blocksLeft(), "");
  }
  report();
  EXPECT_FALSE(refusing_.empty());
  expectFillersAreReadable();
}

// The same sequence of all rows, beginning from the same records, with and without room for more.
TEST_F(FullArena, serves_all_that_needs_no_room) {
  const auto runAll = [] {
    std::vector<std::pair<std::string, uint32_t>> statuses;
    for (const Exported& row : allRows()) {
      statuses.emplace_back(row.name, row.run());
      closeConnectionOfRow();
    }
    return statuses;
  };
  fill();
  runAll();  // leaves in the rows' items what their functions put there
  fill();
  const auto withRoom = runAll();
  fill();
  fillArena();
  const uint64_t refused = refusedByTables();
  EXPECT_EQ(runAll(), withRoom);
  EXPECT_EQ(refusedByTables(), refused);
  expectFillersAreReadable();
}

}  // namespace
}  // namespace fibdb::test::fault
