// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/iterator_test.cc: root iterators over tables, keys, ranges and covering prefixes.
#include <algorithm>
#include <memory>
#include <set>

#include "engine_fixture.h"

namespace fibdb::testing {
namespace {

// An iterator over routes with the object that it reads through.
class RouteWalk {
 public:
  RouteWalk() { EXPECT_EQ(db_create_root_iter(object_, nullptr, nullptr, &iter_), 0u); }
  explicit RouteWalk(const Key& key) { EXPECT_EQ(db_create_root_iter(object_, &key.desc, key.data(), &iter_), 0u); }
  RouteWalk(const Key& low, const Key& high) {
    EXPECT_EQ(db_create_stmt(object_, 2, "ip4forward", 0), 0u);
    EXPECT_EQ(db_append_stmt_condition(object_, nullptr, 0, 6, nullptr, 0, &low.desc, low.data(), high.data()), 0u);
    EXPECT_EQ(db_create_root_iterator_by_filter(object_, &iter_), 0u);
  }

  uint64_t object() const { return object_; }
  uint64_t iterator() const { return iter_; }

  // The next record; false at the end.
  bool next(Row& row) {
    const uint32_t code = db_root_iterator_next(iter_);
    if (code != 0) {
      EXPECT_EQ(code, DB_ERR_ITER_END);
      return false;
    }
    EXPECT_EQ(db_read_obj_with_buf(object_, nullptr, nullptr, row.data(), row.length()), 0u);
    return true;
  }
  std::vector<std::pair<uint32_t, unsigned>> rest() {
    std::vector<std::pair<uint32_t, unsigned>> prefixes;
    Row row(TableId::ip4forward);
    while (next(row)) {
      prefixes.emplace_back(static_cast<uint32_t>(row.get("dest_ip_addr")), static_cast<unsigned>(row.get("mask_len")));
    }
    return prefixes;
  }

 private:
  RouteObject object_{FIB_DB_OBJ_OP_SCAN};
  uint64_t iter_ = 0;
};

using Prefixes = std::vector<std::pair<uint32_t, unsigned>>;

Key lowest() { return routeKey(0, 0, kRouteOrdered); }
Key highest() { return makeKey(TableId::ip4forward, kRouteOrdered, {16, 16384, 0xFFFFFFFF, 32}); }

class Iterators : public EngineTest {};
class Statements : public EngineTest {};
class LongestPrefix : public EngineTest {};
class Properties : public EngineTest {};

TEST_F(Iterators, over_an_empty_table_end_at_once_and_for_ever) {
  RouteWalk walk;
  for (int i = 0; i < 5; ++i) EXPECT_EQ(db_root_iterator_next(walk.iterator()), DB_ERR_ITER_END);
}

TEST_F(Iterators, return_every_record_once_and_end_for_ever) {
  std::set<uint32_t> expected;
  for (uint32_t i = 0; i < 1000; ++i) {
    ASSERT_EQ(writeRoute(route(i << 8, 24)), 0u);
    expected.insert(i << 8);
  }
  RouteWalk walk;
  std::set<uint32_t> seen;
  for (const auto& [addr, mask] : walk.rest()) EXPECT_TRUE(seen.insert(addr).second);
  EXPECT_EQ(seen, expected);
  ASSERT_EQ(writeRoute(route(0xF0000000, 24)), 0u);
  EXPECT_EQ(db_root_iterator_next(walk.iterator()), DB_ERR_ITER_END) << "the end is the end";
}

TEST_F(Iterators, by_key_return_the_records_of_the_key) {
  for (uint32_t i = 0; i < 100; ++i) ASSERT_EQ(writeRoute(route(i << 8, 24, i % 7)), 0u);
  RouteWalk walk(makeKey(TableId::ip4forward, kRouteByGroup, {3, 0}));
  Prefixes expected;
  for (uint32_t i = 3; i < 100; i += 7) expected.emplace_back(i << 8, 24);
  Prefixes seen = walk.rest();
  std::sort(seen.begin(), seen.end());
  EXPECT_EQ(seen, expected);
  EXPECT_EQ(RouteWalk(routeKey(5 << 8, 24)).rest(), (Prefixes{{5 << 8, 24}}));
  EXPECT_EQ(RouteWalk(routeKey(5 << 8, 25)).rest(), Prefixes{});
}

TEST_F(Iterators, getters_read_the_record_the_object_stands_on) {
  ASSERT_EQ(writeNhp(7, 2), 0u);
  NhpObject object(FIB_DB_OBJ_OP_SCAN);
  uint64_t iter = 0;
  ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iter), 0u);
  uint32_t value = 0;
  EXPECT_EQ(db_get_nhp_nhp_index(object, &value), DB_ERR_NO_CURRENT);
  ASSERT_EQ(db_root_iterator_next(iter), 0u);
  EXPECT_EQ(db_get_nhp_nhp_index(object, &value), 0u);
  EXPECT_EQ(value, 7u);
  EXPECT_EQ(db_root_iterator_next(iter), DB_ERR_ITER_END);
  EXPECT_EQ(db_get_nhp_nhp_index(object, &value), DB_ERR_NO_CURRENT);
}

TEST_F(Iterators, a_second_one_ends_the_first) {
  ASSERT_EQ(writeRoute(route(0, 8)), 0u);
  RouteObject object(FIB_DB_OBJ_OP_SCAN);
  uint64_t first = 0;
  uint64_t second = 0;
  ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &first), 0u);
  ASSERT_EQ(db_root_iterator_next(first), 0u);
  ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &second), 0u);
  EXPECT_NE(first, second);
  EXPECT_EQ(db_root_iterator_next(first), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(db_root_iterator_next(second), 0u);
}

TEST_F(Iterators, one_that_cannot_be_made_leaves_none) {
  RouteObject object(FIB_DB_OBJ_OP_SCAN);
  uint64_t iter = 0;
  uint64_t none = 0;
  ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iter), 0u);
  const Key ordered = lowest();
  const Key unknown{{0x07090004, 0, 0}, std::string(4, '\0')};
  EXPECT_EQ(db_create_root_iter(object, &ordered.desc, ordered.data(), &none), DB_ERR_BAD_INDEX);
  EXPECT_EQ(db_create_root_iter(object, &unknown.desc, unknown.data(), &none), DB_ERR_BAD_INDEX);
  EXPECT_EQ(db_create_root_iter(object, &ordered.desc, nullptr, &none), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_create_root_iter(object, nullptr, ordered.data(), &none), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(none, 0u);
  EXPECT_EQ(db_root_iterator_next(iter), DB_ERR_BAD_HANDLE);
}

TEST_F(Iterators, without_room_for_the_handle_keep_the_one_before) {
  RouteObject object(FIB_DB_OBJ_OP_SCAN);
  uint64_t iter = 0;
  ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iter), 0u);
  EXPECT_EQ(db_create_root_iter(object, nullptr, nullptr, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_create_root_iterator_by_filter(object, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_root_iterator_next(iter), DB_ERR_ITER_END);
}

// A record present from start to end comes exactly once, one removed meanwhile not after its removal, none
// twice. Every way to write between the steps of a walk, up to length six, over three nested prefixes, on
// every kind of walk.
enum class WalkKind { kTable, kSecondaryKey, kSecondaryKeyThatMoves, kRange, kLongestPrefix };

class Interleavings : public ::testing::TestWithParam<WalkKind> {
 protected:
  static constexpr uint32_t kRecords = 3;
  static constexpr int kLength = 6;

  static uint8_t maskOf(uint32_t record) { return static_cast<uint8_t>(8 * (record + 1)); }
  static Key keyOf(uint32_t record) { return routeKey(0, maskOf(record)); }

  static std::unique_ptr<RouteWalk> startWalk() {
    switch (GetParam()) {
      case WalkKind::kTable:
        return std::make_unique<RouteWalk>();
      case WalkKind::kSecondaryKey:
        return std::make_unique<RouteWalk>(makeKey(TableId::ip4forward, kRouteByVrf, {0, 0, 0}));
      case WalkKind::kSecondaryKeyThatMoves:
        return std::make_unique<RouteWalk>(makeKey(TableId::ip4forward, kRouteByGroup, {0, 0}));
      case WalkKind::kRange:
        return std::make_unique<RouteWalk>(lowest(), highest());
      case WalkKind::kLongestPrefix:
        break;
    }
    return std::make_unique<RouteWalk>(routeKey(0, 32, kRouteLongest));
  }
};

// Steps: 0 next, 1 to 3 remove or insert a record, 4 write record 1 again with its group changed.
TEST_P(Interleavings, keep_the_promise_of_an_iterator) {
  constexpr int kSteps = 5;
  int sequences = 1;
  for (int i = 0; i < kLength; ++i) sequences *= kSteps;
  ASSERT_EQ(fibdb_engine_reset(), 0u);
  for (int sequence = 0; sequence < sequences; ++sequence) {
    SCOPED_TRACE(sequence);
    removeRoutes(makeKey(TableId::ip4forward, kRouteByVrf, {0, 0, 0}));
    ASSERT_EQ(countRoutes(), 0u);
    bool stored[kRecords] = {true, true, false};
    bool stayed[kRecords] = {true, true, false};
    int seen[kRecords] = {};
    uint32_t group = 0;  // of record 1
    for (uint32_t i = 0; i < 2; ++i) ASSERT_EQ(writeRoute(route(0, maskOf(i))), 0u);
    const std::unique_ptr<RouteWalk> walk = startWalk();
    const auto step = [&] {
      Row row(TableId::ip4forward);
      if (!walk->next(row)) return false;
      const uint64_t which = row.get("mask_len") / 8 - 1;
      EXPECT_TRUE(stored[which]) << "removed before this step";
      EXPECT_TRUE(GetParam() != WalkKind::kSecondaryKeyThatMoves || row.get("attr_word_a") == 0);
      ++seen[which];
      return true;
    };
    int code = sequence;
    for (int i = 0; i < kLength; ++i, code /= kSteps) {
      const int action = code % kSteps;
      const auto which = static_cast<uint32_t>(action - 1);
      if (action == 0) {
        step();
      } else if (which < kRecords) {
        const Row row = route(0, maskOf(which), which == 1 ? group : 0);
        ASSERT_EQ(stored[which] ? removeRoutes(keyOf(which)) : writeRoute(row), 0u);
        stored[which] = !stored[which];
        stayed[which] = false;
      } else if (stored[1]) {
        group = 9 - group;
        ASSERT_EQ(writeRoute(route(0, maskOf(1), group)), 0u);
        if (GetParam() == WalkKind::kSecondaryKeyThatMoves) stayed[1] = false;
      }
    }
    while (step()) {
    }
    for (uint32_t i = 0; i < kRecords; ++i) {
      ASSERT_LE(seen[i], 1);
      ASSERT_TRUE(seen[i] == 1 || !stayed[i]);
    }
    ASSERT_EQ(db_root_iterator_next(walk->iterator()), DB_ERR_ITER_END);
  }
}
std::string nameOf(const ::testing::TestParamInfo<WalkKind>& walk) {
  constexpr const char* kNames[] = {"table", "key", "moving_key", "range", "longest_prefix"};
  return kNames[static_cast<size_t>(walk.param)];
}
INSTANTIATE_TEST_SUITE_P(Walks, Interleavings,
                         ::testing::Values(WalkKind::kTable, WalkKind::kSecondaryKey, WalkKind::kSecondaryKeyThatMoves,
                                           WalkKind::kRange, WalkKind::kLongestPrefix),
                         nameOf);

// A filter statement walks an ordered index between two keys, comparing numbers, not bytes.

TEST_F(Statements, walk_in_the_order_of_the_key_fields_as_numbers) {
  const Prefixes sorted = {{0, 0},          {1, 32},          {0x100, 24},     {0x100, 32},
                           {0xFFFF, 32},    {0x10000, 16},    {0x01000000, 8}, {0x7FFFFFFF, 32},
                           {0x80000000, 1}, {0x80000000, 32}, {0xFFFFFFFF, 32}};
  for (const size_t i : {7u, 2u, 10u, 0u, 4u, 9u, 1u, 3u, 8u, 5u, 6u}) {
    ASSERT_EQ(writeRoute(route(sorted[i].first, static_cast<uint8_t>(sorted[i].second))), 0u);
  }
  EXPECT_EQ(RouteWalk(lowest(), highest()).rest(), sorted);
}

TEST_F(Statements, include_both_ends) {
  for (uint32_t i = 0; i < 10; ++i) ASSERT_EQ(writeRoute(route(i << 8, 24)), 0u);
  RouteWalk walk(routeKey(3 << 8, 24, kRouteOrdered), routeKey(5 << 8, 24, kRouteOrdered));
  EXPECT_EQ(walk.rest(), (Prefixes{{3 << 8, 24}, {4 << 8, 24}, {5 << 8, 24}}));
  RouteWalk backwards(routeKey(5 << 8, 24, kRouteOrdered), routeKey(3 << 8, 24, kRouteOrdered));
  EXPECT_EQ(backwards.rest(), Prefixes{});
}

TEST_F(Statements, serve_more_than_one_iterator_until_the_object_is_reset) {
  ASSERT_EQ(writeRoute(route(0, 8)), 0u);
  RouteWalk walk(lowest(), highest());
  uint64_t again = 0;
  ASSERT_EQ(db_create_root_iterator_by_filter(walk.object(), &again), 0u);
  EXPECT_EQ(db_root_iterator_next(again), 0u);
  ASSERT_EQ(db_reset_ip4forward_object(walk.object(), FIB_DB_OBJ_OP_SCAN), 0u);
  EXPECT_EQ(db_create_root_iterator_by_filter(walk.object(), &again), DB_ERR_BAD_STATEMENT);
}

TEST_F(Statements, that_are_not_understood_are_refused) {
  RouteObject object(FIB_DB_OBJ_OP_SCAN);
  const Key low = lowest();
  const Key high = highest();
  uint64_t iter = 0;
  const auto append = [&](uint32_t kind, const Key& a, const Key& b) {
    return db_append_stmt_condition(object, nullptr, 0, kind, nullptr, 0, &a.desc, a.data(), b.data());
  };
  EXPECT_EQ(append(6, low, high), DB_ERR_BAD_STATEMENT) << "no statement yet";
  EXPECT_EQ(db_create_stmt(object, 1, "ip4forward", 0), DB_ERR_BAD_STATEMENT);
  EXPECT_EQ(db_create_stmt(object, 2, "nhp", 0), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(db_create_stmt(object, 2, "ip4forward2", 0), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(db_create_stmt(object, 2, nullptr, 0), DB_ERR_NULL_ARGUMENT);
  ASSERT_EQ(db_create_stmt(object, 2, "ip4forward", 0), 0u);
  EXPECT_EQ(db_create_root_iterator_by_filter(object, &iter), DB_ERR_BAD_STATEMENT) << "no condition yet";
  EXPECT_EQ(append(5, low, high), DB_ERR_BAD_STATEMENT);
  EXPECT_EQ(append(6, routeKey(0, 0), high), DB_ERR_BAD_INDEX);
  EXPECT_EQ(db_append_stmt_condition(object, nullptr, 0, 6, nullptr, 0, &low.desc, low.data(), nullptr),
            DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_append_stmt_condition(object, nullptr, 0, 6, nullptr, 0, nullptr, low.data(), high.data()),
            DB_ERR_NULL_ARGUMENT);
  ASSERT_EQ(append(6, low, high), 0u);
  EXPECT_EQ(append(6, low, high), DB_ERR_BAD_STATEMENT) << "one condition";
  EXPECT_EQ(db_create_root_iterator_by_filter(object, &iter), 0u);
}

// The longest prefix that covers the key comes first, then the shorter ones.

TEST_F(LongestPrefix, returns_covering_prefixes_longest_first) {
  for (const auto& [addr, mask] :
       Prefixes{{0, 0}, {0x0A000000, 8}, {0x0A010000, 16}, {0x0A010200, 24}, {0x0B000000, 8}}) {
    ASSERT_EQ(writeRoute(route(addr, static_cast<uint8_t>(mask))), 0u);
  }
  EXPECT_EQ(RouteWalk(routeKey(0x0A010203, 32, kRouteLongest)).rest(),
            (Prefixes{{0x0A010200, 24}, {0x0A010000, 16}, {0x0A000000, 8}, {0, 0}}));
  EXPECT_EQ(RouteWalk(routeKey(0x0AFF0000, 32, kRouteLongest)).rest(), (Prefixes{{0x0A000000, 8}, {0, 0}}));
  EXPECT_EQ(RouteWalk(routeKey(0x01000000, 32, kRouteLongest)).rest(), (Prefixes{{0, 0}}));
}

TEST_F(LongestPrefix, takes_none_longer_than_the_mask_of_the_key) {
  for (const uint8_t mask : {uint8_t{8}, uint8_t{16}, uint8_t{24}}) {
    ASSERT_EQ(writeRoute(route(0x0A000000, mask)), 0u);
  }
  EXPECT_EQ(RouteWalk(routeKey(0x0A000001, 23, kRouteLongest)).rest(), (Prefixes{{0x0A000000, 16}, {0x0A000000, 8}}));
  EXPECT_EQ(RouteWalk(routeKey(0x0A000001, 7, kRouteLongest)).rest(), Prefixes{});
}

TEST_F(LongestPrefix, ignores_bits_below_the_mask_of_a_stored_prefix) {
  ASSERT_EQ(writeRoute(route(0x0A0000FF, 24)), 0u);
  EXPECT_EQ(RouteWalk(routeKey(0x0A000001, 32, kRouteLongest)).rest(), (Prefixes{{0x0A0000FF, 24}}));
}

TEST_F(LongestPrefix, stays_within_the_vr_and_vrf_of_the_key) {
  ASSERT_EQ(writeRoute(route(0x0A000000, 8).set("vr_id", 1)), 0u);
  ASSERT_EQ(writeRoute(route(0x0A000000, 16).set("vrf_index", 1)), 0u);
  EXPECT_EQ(RouteWalk(routeKey(0x0A000000, 32, kRouteLongest)).rest(), Prefixes{});
  EXPECT_EQ(RouteWalk(makeKey(TableId::ip4forward, kRouteLongest, {1, 0, 0x0A000000, 32})).rest(),
            (Prefixes{{0x0A000000, 8}}));
}

TEST_F(LongestPrefix, refuses_a_mask_above_32) {
  RouteObject object(FIB_DB_OBJ_OP_SCAN);
  const Key key = routeKey(0, 33, kRouteLongest);
  uint64_t iter = 0;
  EXPECT_EQ(db_create_root_iter(object, &key.desc, key.data(), &iter), DB_ERR_BAD_KEY);
}

// Property 0 keeps the records of one vr_id.

TEST_F(Properties, keep_only_records_of_that_vr) {
  for (uint32_t i = 0; i < 30; ++i) ASSERT_EQ(writeRoute(route(i << 8, 24, i).set("vr_id", i % 3)), 0u);
  for (const uint32_t vr : {0u, 1u, 2u, 3u}) {
    RouteWalk whole;
    ASSERT_EQ(db_set_root_iterator_property(whole.iterator(), 0, &vr, sizeof vr), 0u);
    EXPECT_EQ(whole.rest().size(), vr < 3 ? 10u : 0u);
    RouteWalk ordered(lowest(), highest());
    ASSERT_EQ(db_set_root_iterator_property(ordered.iterator(), 0, &vr, sizeof vr), 0u);
    EXPECT_EQ(ordered.rest().size(), vr < 3 ? 10u : 0u);
  }
}

TEST_F(Properties, other_than_a_four_byte_vr_are_refused) {
  RouteWalk walk;
  const uint64_t value = 0;
  EXPECT_EQ(db_set_root_iterator_property(walk.iterator(), 1, &value, 4), DB_ERR_BAD_PROPERTY);
  EXPECT_EQ(db_set_root_iterator_property(walk.iterator(), 0, &value, 8), DB_ERR_BAD_PROPERTY);
  EXPECT_EQ(db_set_root_iterator_property(walk.iterator(), 0, nullptr, 4), DB_ERR_NULL_ARGUMENT);
  ArGroupObject groups(FIB_DB_OBJ_OP_SCAN);
  uint64_t iter = 0;
  ASSERT_EQ(db_create_root_iter(groups, nullptr, nullptr, &iter), 0u);
  EXPECT_EQ(db_set_root_iterator_property(iter, 0, &value, 4), DB_ERR_BAD_PROPERTY);
}

}  // namespace
}  // namespace fibdb::testing
