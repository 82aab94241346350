// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/bad_handles_test.cc: every call that takes a handle, given every sort of word that is none.
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <thread>

#include "engine_fixture.h"

namespace fibdb::testing {
namespace {

enum class Takes { kObject, kIterator, kConnection, kNode };

// A call with arguments that are right but for the handle. A child node's accessors are told by their table's name and
// the longer name of their field; what they take is the node's handle.
struct Call {
  const char* name;
  Takes takes;
  int table;  // -1: of any table
  uint32_t (*run)(uint64_t handle);
};

constexpr int kAnyTable = -1;
constexpr int number(TableId table) { return static_cast<int>(table); }
alignas(8) uint8_t bytes[schema::kMaxRowLength];
uint64_t out;
const FibDbKeyDesc kDesc{kNhpKey, 0, 0};

constexpr Call kCalls[] = {
#define TABLE(t)                                                   \
  {"db_release_" #t "_object", Takes::kObject, number(TableId::t), \
   [](uint64_t handle) { return db_release_##t##_object(handle); }},
#define RESET(t)                                                 \
  {"db_reset_" #t "_object", Takes::kObject, number(TableId::t), \
   [](uint64_t handle) { return db_reset_##t##_object(handle, FIB_DB_OBJ_OP_READ); }},
#define SET_ALL(t)                                                 \
  {"db_set_" #t "_all_fields", Takes::kObject, number(TableId::t), \
   [](uint64_t handle) { return db_set_##t##_all_fields(handle, bytes, layoutOf(TableId::t).rowLength); }},
#define GET_ALL(t)                                                 \
  {"db_get_" #t "_all_fields", Takes::kObject, number(TableId::t), \
   [](uint64_t handle) { return db_get_##t##_all_fields(handle, bytes, layoutOf(TableId::t).rowLength); }},
#define GET_SP_ALL(t, name)                                         \
  {"db_get_" #t "_sp_all_data", Takes::kObject, number(TableId::t), \
   [](uint64_t handle) { return db_get_##t##_sp_all_data(handle, bytes); }},
#define BATCH(t)                                                                                          \
  {"db_create_" #t "_obj_specific_conn", Takes::kConnection, kAnyTable,                                   \
   [](uint64_t handle) { return db_create_##t##_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, handle, &out); }}, \
      {"db_reset_" #t "_batch_object", Takes::kObject, number(TableId::t),                                \
       [](uint64_t handle) { return db_reset_##t##_batch_object(handle, FIB_DB_OBJ_OP_WRITE); }},
#define SET_SCALAR(t, name, type)                              \
  {"db_set_" #t "_" #name, Takes::kObject, number(TableId::t), \
   [](uint64_t handle) { return db_set_##t##_##name(handle, type{1}); }},
#define GET_SCALAR(t, name, type)                                                    \
  {"db_get_" #t "_" #name, Takes::kObject, number(TableId::t), [](uint64_t handle) { \
     type value{};                                                                   \
     return db_get_##t##_##name(handle, &value);                                     \
   }},
#define SET_NODE_SCALAR(t, node, name, type)                           \
  {"db_set_" #t "_" #node "_" #name, Takes::kNode, number(TableId::t), \
   [](uint64_t handle) { return db_set_##t##_##node##_##name(handle, type{1}); }},
#define GET_NODE_SCALAR(t, node, name, type)                                                 \
  {"db_get_" #t "_" #node "_" #name, Takes::kNode, number(TableId::t), [](uint64_t handle) { \
     type value{};                                                                           \
     return db_get_##t##_##node##_##name(handle, &value);                                    \
   }},
#define SET_BYTES(t, name, count)                              \
  {"db_set_" #t "_" #name, Takes::kObject, number(TableId::t), \
   [](uint64_t handle) { return db_set_##t##_##name(handle, bytes, count); }},
#define GET_BYTES(t, name, count)                                                    \
  {"db_get_" #t "_" #name, Takes::kObject, number(TableId::t), [](uint64_t handle) { \
     const void* data = nullptr;                                                     \
     uint32_t length = 0;                                                            \
     return db_get_##t##_##name(handle, &data, &length);                             \
   }},
#include "platform/schema/tables.def"
    {"db_write_obj", Takes::kObject, kAnyTable, db_write_obj},
    {"db_update_obj", Takes::kObject, kAnyTable, [](uint64_t handle) { return db_update_obj(handle, &kDesc, bytes); }},
    {"db_remove_obj", Takes::kObject, kAnyTable, [](uint64_t handle) { return db_remove_obj(handle, &kDesc, bytes); }},
    {"db_read_obj", Takes::kObject, kAnyTable, [](uint64_t handle) { return db_read_obj(handle, &kDesc, bytes); }},
    {"db_read_obj_with_buf", Takes::kObject, kAnyTable,
     [](uint64_t handle) { return db_read_obj_with_buf(handle, nullptr, nullptr, bytes, sizeof bytes); }},
    {"db_get_table_record_count", Takes::kObject, kAnyTable,
     [](uint64_t handle) { return db_get_table_record_count(handle, &out); }},
    {"db_get_table_record_count_by_key", Takes::kObject, kAnyTable,
     [](uint64_t handle) { return db_get_table_record_count_by_key(handle, &kDesc, bytes, &out); }},
    {"db_create_root_iter", Takes::kObject, kAnyTable,
     [](uint64_t handle) { return db_create_root_iter(handle, nullptr, nullptr, &out); }},
    {"db_create_stmt", Takes::kObject, kAnyTable, [](uint64_t handle) { return db_create_stmt(handle, 2, "nhp", 0); }},
    {"db_append_stmt_condition", Takes::kObject, kAnyTable,
     [](uint64_t handle) { return db_append_stmt_condition(handle, nullptr, 0, 6, nullptr, 0, &kDesc, bytes, bytes); }},
    {"db_create_root_iterator_by_filter", Takes::kObject, kAnyTable,
     [](uint64_t handle) { return db_create_root_iterator_by_filter(handle, &out); }},
    {"db_create_child_node", Takes::kObject, kAnyTable,
     [](uint64_t handle) { return db_create_child_node(handle, 0, "ecmp_proc", 0, 0, &out); }},
    {"db_batch_add_oper", Takes::kObject, kAnyTable,
     [](uint64_t handle) { return db_batch_add_oper(handle, nullptr, nullptr); }},
    {"db_batch_exec_async", Takes::kObject, kAnyTable, [](uint64_t handle) { return db_batch_exec_async(handle, 0); }},
    {"db_set_root_iterator_property", Takes::kIterator, kAnyTable,
     [](uint64_t handle) { return db_set_root_iterator_property(handle, 0, bytes, 4); }},
    {"db_root_iterator_next", Takes::kIterator, kAnyTable, db_root_iterator_next},
    {"db_disconnect", Takes::kConnection, kAnyTable, db_disconnect},
    {"fibdb_engine_drain", Takes::kConnection, kAnyTable, fibdb_engine_drain},
    {"fibdb_engine_connection_stats", Takes::kConnection, kAnyTable,
     [](uint64_t handle) {
       FibDbEngineConnectionStats stats;
       return fibdb_engine_connection_stats(handle, &stats);
     }},
};

void* pointerOf(uint64_t word) { return reinterpret_cast<void*>(static_cast<uintptr_t>(word)); }

// What is alive: one handle of each sort, of the table with child nodes.
struct Alive {
  uint64_t object = 0, iterator = 0, node = 0, connection = 0, other = 0;
  void* serviceIterator = nullptr;

  static uint64_t objectOf(uint32_t kind) {
    uint64_t object = 0;
    EXPECT_EQ(db_create_ecmp_cfg_obj(kind, 0, &object), 0u);
    return object;
  }

  Alive() : object(objectOf(FIB_DB_OBJ_OP_SCAN)), other(objectOf(FIB_DB_OBJ_OP_WRITE)) {
    EXPECT_EQ(db_create_root_iter(object, nullptr, nullptr, &iterator), 0u);
    EXPECT_EQ(db_create_child_node(other, 0, "ecmp_proc", 0, 0, &node), 0u);
    EXPECT_EQ(db_connect(1, 1, &connection), 0u);
    EXPECT_EQ(UFIB_DB_TableRegister(kArGroupId, &kArGroup), 0u);
    serviceIterator = UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY);
    EXPECT_NE(serviceIterator, nullptr);
  }

  void end() {
    EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, serviceIterator), 0u);
    EXPECT_EQ(db_disconnect(connection), 0u);
    EXPECT_EQ(db_release_ecmp_cfg_object(object), 0u);
    EXPECT_EQ(db_release_ecmp_cfg_object(other), 0u);
  }

  uint64_t serviceWord() const { return reinterpret_cast<uintptr_t>(serviceIterator); }
  std::array<uint64_t, 6> words() const { return {object, other, iterator, node, connection, serviceWord()}; }
};

// A word that looks like the handle of a node is told from that of another node before its object is looked for.
bool refuses(const Call& call, uint64_t word) {
  const uint32_t code = call.run(word);
  const bool looksLikeNode = call.takes == Takes::kNode && word >> 63 != 0;
  return code == DB_ERR_BAD_HANDLE || (looksLikeNode && code == DB_ERR_BAD_NODE);
}

// The first call, if any, that does not refuse this word.
std::string firstThatTakes(uint64_t word) {
  for (const Call& call : kCalls) {
    if (!refuses(call, word)) return call.name;
  }
  const uint32_t code = word == 0 ? DB_ERR_NULL_ARGUMENT : DB_ERR_BAD_HANDLE;
  FibDbUfibData entry{bytes, layoutOf(TableId::ar_group_attr).rowLength};
  if (UFIB_DB_GetNextEntry(kArGroupId, pointerOf(word), &entry) != code) return "UFIB_DB_GetNextEntry";
  if (UFIB_DB_ReleaseIterator(kArGroupId, pointerOf(word)) != code) return "UFIB_DB_ReleaseIterator";
  return "";
}

class BadHandles : public EngineTest {};

TEST_F(BadHandles, zero_and_all_ones_are_refused_by_every_call) {
  Alive alive;
  EXPECT_EQ(firstThatTakes(0), "");
  EXPECT_EQ(firstThatTakes(UINT64_MAX), "");
  alive.end();
}

TEST_F(BadHandles, of_what_has_ended_are_refused_by_every_call) {
  Alive ended;
  ended.end();
  Alive alive;
  for (const uint64_t word : ended.words()) EXPECT_EQ(firstThatTakes(word), "");
  alive.end();
  for (const uint64_t word : alive.words()) EXPECT_EQ(firstThatTakes(word), "");
}

TEST_F(BadHandles, of_what_another_thread_has_ended_are_refused_by_every_call) {
  Alive ended;
  std::thread([&] { ended.end(); }).join();
  for (const uint64_t word : ended.words()) EXPECT_EQ(firstThatTakes(word), "");
}

TEST_F(BadHandles, of_the_parent_are_refused_by_every_call_in_its_child) {
  Alive alive;
  const pid_t child = fork();
  if (child == 0) {
    int taken = 0;
    for (const uint64_t word : alive.words()) taken += firstThatTakes(word).empty() ? 0 : 1;
    _exit(taken);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0) << "words that a call took";
  alive.end();
}

// An object's own calls say of another table's object what it is, see below.
TEST_F(BadHandles, of_another_sort_are_refused_by_every_call) {
  Alive alive;
  const auto takenBy = [](const Call& call, uint64_t word) { return call.run(word) != DB_ERR_BAD_HANDLE; };
  for (const Call& call : kCalls) {
    SCOPED_TRACE(call.name);
    if (call.takes != Takes::kObject) {
      EXPECT_FALSE(takenBy(call, alive.object));
    }
    if (call.takes != Takes::kIterator) {
      EXPECT_FALSE(takenBy(call, alive.iterator));
    }
    if (call.takes != Takes::kConnection) {
      EXPECT_FALSE(takenBy(call, alive.connection));
    }
    if (call.takes != Takes::kNode) {
      EXPECT_FALSE(takenBy(call, alive.node));
    }
    EXPECT_FALSE(takenBy(call, alive.serviceWord()));
  }
  FibDbUfibData entry{bytes, layoutOf(TableId::ar_group_attr).rowLength};
  for (const uint64_t word : {alive.object, alive.iterator, alive.node, alive.connection}) {
    EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, pointerOf(word), &entry), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, pointerOf(word)), DB_ERR_BAD_HANDLE);
  }
  alive.end();
}

TEST_F(BadHandles, of_another_tables_object_are_refused_by_every_call_of_a_table) {
  Alive alive;
  for (const Call& call : kCalls) {
    if (call.takes != Takes::kObject || call.table == kAnyTable || call.table == number(TableId::ecmp_cfg)) continue;
    EXPECT_EQ(call.run(alive.object), DB_ERR_WRONG_TABLE) << call.name;
  }
  alive.end();
}

TEST_F(BadHandles, drawn_at_random_are_refused_by_every_call) {
  std::mt19937_64 random(testSeed());
  Alive alive;
  for (int i = 0; i < 300; ++i) {
    uint64_t word = random();
    // Nearly one that is alive: of another generation. Another slot's may be alive.
    if (i % 3 == 1) word = alive.words()[random() % alive.words().size()] ^ uint64_t { 1 } << (16 + random() % 44);
    if (i % 3 == 2) word >>= random() % 64;
    EXPECT_EQ(firstThatTakes(word), "") << std::hex << word;
  }
  alive.end();
}

// What the tests above rest on: the calls take what is right.
TEST_F(BadHandles, are_told_from_good_ones) {
  Alive alive;
  EXPECT_EQ(db_root_iterator_next(alive.iterator), DB_ERR_ITER_END);
  EXPECT_EQ(db_set_ecmp_cfg_ecmp_proc_sip(alive.node, 1), 0u);
  EXPECT_EQ(db_set_ecmp_cfg_vr_id(alive.other, 1), 0u);
  EXPECT_EQ(fibdb_engine_drain(alive.connection), 0u);
  FibDbUfibData entry{bytes, layoutOf(TableId::ar_group_attr).rowLength};
  EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, alive.serviceIterator, &entry), DB_ERR_ITER_END);
  alive.end();
  EXPECT_GT(std::size(kCalls), 600u);
}

}  // namespace
}  // namespace fibdb::testing
