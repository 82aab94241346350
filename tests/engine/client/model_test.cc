// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/model_test.cc: long random runs over the C calls, checked against a plain map after every step.
#include <algorithm>
#include <map>
#include <thread>

#include "engine_fixture.h"

namespace fibdb::testing {
namespace {

class Model : public EngineTest {};

using Prefix = std::pair<uint32_t, unsigned>;  // orders as the route key does

constexpr uint32_t kGroups = 3;

uint32_t maskOf(unsigned length) { return length == 0 ? 0 : ~uint32_t{0} << (32 - length); }

constexpr uint32_t codeFor(bool found) { return found ? 0 : uint32_t{DB_ERR_NO_DATA}; }

// Routes over a small space of addresses, so that keys collide and prefixes nest.
class RouteModel {
 public:
  explicit RouteModel(uint32_t seed) : random_(seed) {}

  void step() {
    switch (below(10)) {
      case 0:
      case 1:
      case 2:
        return write();
      case 3:
        return update();
      case 4:
        return remove();
      case 5:
        return below(20) == 0 ? removeGroup() : readGroup();
      case 6:
        return read();
      case 7:
        return longestPrefix();
      case 8:
        return range();
      default:
        return walk();
    }
  }

 private:
  uint32_t below(uint32_t bound) { return static_cast<uint32_t>(random_() % bound); }

  Prefix anyPrefix() { return {below(8) << 29 | below(2) << 28 | below(2), below(3) == 0 ? 32u : below(5)}; }

  static Prefix prefixOf(const Row& row) {
    return {static_cast<uint32_t>(row.get("dest_ip_addr")), static_cast<unsigned>(row.get("mask_len"))};
  }
  static Key keyOf(const Prefix& prefix, uint32_t indexId = kRouteKey) {
    return routeKey(prefix.first, static_cast<uint8_t>(prefix.second), indexId);
  }
  static Key groupKey(uint32_t group) { return makeKey(TableId::ip4forward, kRouteByGroup, {group, 0}); }

  void write() {
    const Prefix prefix = anyPrefix();
    const Row row =
        route(prefix.first, static_cast<uint8_t>(prefix.second), below(kGroups)).set("source_pid", below(9));
    ASSERT_EQ(writeRoute(row), 0u);
    model_.insert_or_assign(prefix, row);
  }

  void update() {
    const Prefix prefix = anyPrefix();
    const Key key = keyOf(prefix);
    const uint32_t smoothId = below(1000);
    RouteObject object(FIB_DB_OBJ_OP_UPDATE);
    ASSERT_EQ(db_set_ip4forward_table_smooth_id(object, smoothId), 0u);
    const auto found = model_.find(prefix);
    ASSERT_EQ(db_update_obj(object, &key.desc, key.data()), codeFor(found != model_.end()));
    if (found != model_.end()) found->second.set("table_smooth_id", smoothId);
  }

  void remove() {
    const Prefix prefix = anyPrefix();
    ASSERT_EQ(removeRoutes(keyOf(prefix)), codeFor(model_.erase(prefix) > 0));
  }

  void removeGroup() {
    const uint32_t group = below(kGroups);
    const size_t removed =
        std::erase_if(model_, [&](const auto& entry) { return entry.second.get("attr_word_a") == group; });
    ASSERT_EQ(removeRoutes(groupKey(group)), codeFor(removed > 0));
  }

  void read() {
    const Prefix prefix = anyPrefix();
    const auto found = model_.find(prefix);
    Row row(TableId::ip4forward);
    ASSERT_EQ(readRoute(keyOf(prefix), row), codeFor(found != model_.end()));
    ASSERT_TRUE(found == model_.end() || row == found->second);
  }

  void readGroup() {
    const uint32_t group = below(kGroups);
    const auto inGroup = [&](const auto& entry) { return entry.second.get("attr_word_a") == group; };
    const auto first = std::find_if(model_.begin(), model_.end(), inGroup);
    Row row(TableId::ip4forward);
    ASSERT_EQ(readRoute(groupKey(group), row), codeFor(first != model_.end()));
    ASSERT_TRUE(first == model_.end() || row == first->second);
    RouteObject object(FIB_DB_OBJ_OP_COUNT);
    const Key key = groupKey(group);
    uint64_t count = 0;
    ASSERT_EQ(db_get_table_record_count_by_key(object, &key.desc, key.data(), &count), 0u);
    ASSERT_EQ(count, std::count_if(model_.begin(), model_.end(), inGroup));
  }

  // What an iterator returns, in its order.
  std::vector<Row> drain(uint64_t object, uint64_t iter) {
    std::vector<Row> rows;
    Row row(TableId::ip4forward);
    uint32_t code = 0;
    while ((code = db_root_iterator_next(iter)) == 0) {
      EXPECT_EQ(db_get_ip4forward_all_fields(object, row.data(), row.length()), 0u);
      rows.push_back(row);
    }
    EXPECT_EQ(code, DB_ERR_ITER_END);
    return rows;
  }

  void longestPrefix() {
    const Prefix prefix = anyPrefix();
    std::vector<Row> expected;
    for (const auto& [stored, row] : model_) {
      const bool covers = ((stored.first ^ prefix.first) & maskOf(stored.second)) == 0;
      if (covers && stored.second <= prefix.second) expected.push_back(row);
    }
    std::stable_sort(expected.begin(), expected.end(),
                     [](const Row& a, const Row& b) { return a.get("mask_len") > b.get("mask_len"); });
    RouteObject object(FIB_DB_OBJ_OP_SCAN);
    const Key key = keyOf(prefix, kRouteLongest);
    uint64_t iter = 0;
    ASSERT_EQ(db_create_root_iter(object, &key.desc, key.data(), &iter), 0u);
    ASSERT_EQ(drain(object, iter), expected);
  }

  void range() {
    Prefix low = anyPrefix();
    Prefix high = anyPrefix();
    if (high < low && below(4) != 0) std::swap(low, high);
    std::vector<Row> expected;
    for (const auto& [prefix, row] : model_) {
      if (low <= prefix && prefix <= high) expected.push_back(row);
    }
    RouteObject object(FIB_DB_OBJ_OP_SCAN);
    const Key lowKey = keyOf(low, kRouteOrdered);
    const Key highKey = keyOf(high, kRouteOrdered);
    uint64_t iter = 0;
    ASSERT_EQ(db_create_stmt(object, 2, "ip4forward", 0), 0u);
    ASSERT_EQ(db_append_stmt_condition(object, nullptr, 0, 6, nullptr, 0, &lowKey.desc, lowKey.data(), highKey.data()),
              0u);
    ASSERT_EQ(db_create_root_iterator_by_filter(object, &iter), 0u);
    ASSERT_EQ(drain(object, iter), expected);
  }

  void walk() {
    RouteObject object(FIB_DB_OBJ_OP_SCAN);
    uint64_t iter = 0;
    ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iter), 0u);
    std::map<Prefix, Row> seen;
    for (const Row& row : drain(object, iter)) ASSERT_TRUE(seen.emplace(prefixOf(row), row).second);
    ASSERT_EQ(seen, model_);
    ASSERT_EQ(countRoutes(), model_.size());
  }

  std::mt19937 random_;
  std::map<Prefix, Row> model_;
};

TEST_F(Model, random_operations_agree_with_a_plain_map) {
  RouteModel model(testSeed());
  for (int i = 0; i < 20000 && !HasFatalFailure(); ++i) model.step();
}

// The same operations through batches end in the same table.
TEST_F(Model, random_batches_end_where_the_map_ends) {
  std::mt19937 random(testSeed());
  uint64_t connection = 0;
  uint64_t batch = 0;
  ASSERT_EQ(db_connect(64, 2, &connection), 0u);
  ASSERT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &batch), 0u);
  std::map<uint32_t, Row> model;
  const auto add = [&](uint32_t kind, uint32_t addr, const Row& row) {
    const Key key = routeKey(addr, 32);
    for (;;) {
      EXPECT_EQ(db_reset_ip4forward_batch_object(batch, kind), 0u);
      uint32_t code = 0;
      if (kind == FIB_DB_OBJ_OP_WRITE) code = db_set_ip4forward_all_fields(batch, row.data(), row.length());
      if (kind == FIB_DB_OBJ_OP_UPDATE) code = db_set_ip4forward_table_smooth_id(batch, 7);
      if (code == 0) code = db_batch_add_oper(batch, &key.desc, key.data());
      if (code == 0) return;
      ASSERT_EQ(code, DB_ERR_RETRY);
      while ((code = db_batch_exec_async(batch, 0)) == DB_ERR_BATCH_QUEUE_FULL) std::this_thread::yield();
      ASSERT_EQ(code, 0u);
    }
  };
  for (int i = 0; i < 20000 && !HasFatalFailure(); ++i) {
    const uint32_t addr = static_cast<uint32_t>(random() % 50);
    const Row row = route(addr, 32, static_cast<uint32_t>(random() % 5));
    const auto found = model.find(addr);
    switch (random() % 3) {
      case 0:
        add(FIB_DB_OBJ_OP_WRITE, addr, row);
        model.insert_or_assign(addr, row);
        break;
      case 1:
        add(FIB_DB_OBJ_OP_UPDATE, addr, row);
        if (found != model.end()) found->second.set("table_smooth_id", 7);
        break;
      default:
        add(FIB_DB_OBJ_OP_REMOVE, addr, row);
        model.erase(addr);
    }
  }
  uint32_t code = 0;
  while ((code = db_batch_exec_async(batch, 0)) == DB_ERR_BATCH_QUEUE_FULL) std::this_thread::yield();
  EXPECT_EQ(code, 0u);
  EXPECT_EQ(db_disconnect(connection), 0u);
  EXPECT_EQ(db_release_ip4forward_object(batch), 0u);
  EXPECT_EQ(countRoutes(), model.size());
  for (const auto& [addr, expected] : model) {
    Row row(TableId::ip4forward);
    ASSERT_EQ(readRoute(routeKey(addr, 32), row), 0u);
    EXPECT_EQ(row, expected);
  }
}

}  // namespace
}  // namespace fibdb::testing
