// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/routes/route_search_test.cc: what a search finds, against a look at every route, and what it costs.
#include "tools/fibdb/routes/route_search.h"

#include <algorithm>
#include <cstdlib>
#include <random>
#include <tuple>

#include "platform/objdb_tables.h"
#include "tests/end_to_end/engine_fixture.h"

namespace fibdb::program {
namespace {

using Random = std::mt19937;

struct Stored {
  Vrf vrf;
  Prefix prefix;
  uint32_t group;

  auto operator<=>(const Stored&) const = default;
};

Stored storedOf(const FibDbIp4forwardItem& item) { return {vrfOf(item), prefixOf(item), item.attr_word_a}; }

class RouteSearchTest : public test::EngineTest {
 protected:
  void TearDown() override {
    closeConnection();
    if (g_fibAsyncBatchObject != 0) db_release_ip4forward_object(std::exchange(g_fibAsyncBatchObject, 0));
    test::EngineTest::TearDown();
  }

  void add(const Vrf& vrf, const Prefix& prefix, uint32_t group) {
    RouteLoader loader(1, vrf);
    loader.write({prefix, group, 0});
    ASSERT_EQ(loader.finish().refused, 0u);
    std::erase_if(stored_, [&](const Stored& s) { return s.vrf == vrf && s.prefix == prefix; });
    stored_.push_back({vrf, prefix, group});
  }

  // As RouteQuery says it, in other words: address by address would take too long, bit by bit does not.
  static bool covers32(const Prefix& outer, const Prefix& inner) {
    if (outer.length > inner.length) return false;
    for (int bit = 0; bit < outer.length; ++bit) {
      if ((outer.address >> (31 - bit) & 1) != (inner.address >> (31 - bit) & 1)) return false;
    }
    return true;
  }
  static bool wanted(const RouteQuery& query, const Stored& s) {
    if (query.vr && *query.vr != s.vrf.vr) return false;
    if (query.vrf && *query.vrf != s.vrf.index) return false;
    if (query.group && *query.group != s.group) return false;
    if (s.prefix.length < query.shortest || s.prefix.length > query.longest) return false;
    if (query.inside && !covers32(*query.inside, s.prefix)) return false;
    return !query.covering || covers32(s.prefix, *query.covering);
  }

  std::vector<Stored> expected(const RouteQuery& query) const {
    std::vector<Stored> found;
    std::ranges::copy_if(stored_, std::back_inserter(found), [&](const Stored& s) { return wanted(query, s); });
    std::ranges::sort(found);
    if (query.covering) {
      std::ranges::stable_sort(found, [](const Stored& a, const Stored& b) {
        return std::tuple(a.vrf, 32 - a.prefix.length) < std::tuple(b.vrf, 32 - b.prefix.length);
      });
    }
    return found;
  }

  static std::vector<Stored> found(const RouteQuery& query, uint64_t most = UINT64_MAX) {
    std::vector<Stored> routes;
    const uint64_t said = RouteSearch(query).forEach(most, [&](const auto& item) { routes.push_back(storedOf(item)); });
    EXPECT_EQ(said, routes.size());
    return routes;
  }

  std::vector<Stored> stored_;
};

uint32_t below(uint32_t bound, Random& random) { return static_cast<uint32_t>(random() % bound); }

Prefix anyPrefix(Random& random) {
  const auto length = static_cast<uint8_t>(random() % 6);
  return {static_cast<uint32_t>(random()) & maskOf(length), length};
}

RouteQuery anyQuery(Random& random) {
  RouteQuery query;
  if (random() % 3 == 0) query.vr = below(3, random);
  if (random() % 3 == 0) query.vrf = below(3, random);
  if (random() % 3 == 0) query.group = below(4, random);
  if (random() % 3 == 0) query.shortest = static_cast<uint8_t>(random() % 5);
  if (random() % 3 == 0) query.longest = static_cast<uint8_t>(random() % 6);
  if (random() % 3 == 0) query.inside = anyPrefix(random);
  if (random() % 3 == 0) query.covering = anyPrefix(random);
  return query;
}

// Prefixes of at most five bits, in nine VRFs: so few that they lie in each other in every way.
TEST_F(RouteSearchTest, finds_and_counts_what_a_look_at_every_route_does) {
  const char* given = std::getenv("FIBDB_SEED");
  const auto seed = given != nullptr ? std::strtoul(given, nullptr, 10) : std::random_device()();
  std::printf("FIBDB_SEED=%lu\n", static_cast<unsigned long>(seed));
  Random random(static_cast<Random::result_type>(seed));
  for (int i = 0; i < 150; ++i) add({below(3, random), below(3, random)}, anyPrefix(random), below(4, random));
  for (int i = 0; i < 3000; ++i) {
    const RouteQuery query = anyQuery(random);
    std::vector<Stored> routes = expected(query);
    ASSERT_EQ(RouteSearch(query).count(), routes.size()) << "FIBDB_SEED=" << seed << ", query " << i;
    ASSERT_EQ(found(query), routes) << "FIBDB_SEED=" << seed << ", query " << i;
    const size_t most = random() % 5;
    routes.resize(std::min(most, routes.size()));
    ASSERT_EQ(found(query, most), routes) << "FIBDB_SEED=" << seed << ", query " << i;
  }
}

TEST_F(RouteSearchTest, reads_no_route_outside_a_prefix) {
  for (uint32_t i = 0; i < 500; ++i) add({}, {i << 8, 24}, 1);
  RouteSearch search({.vr = 0, .vrf = 0, .inside = Prefix{499u << 8, 24}});
  EXPECT_EQ(search.forEach(UINT64_MAX, [](const auto&) {}), 1u);
  EXPECT_EQ(search.routesRead(), 1u);
  EXPECT_EQ(search.seeks().size(), 1u);
  EXPECT_STREQ(nameOf(search.index()), "key order");
}

TEST_F(RouteSearchTest, of_what_covers_an_address_reads_what_it_finds) {
  for (uint32_t i = 0; i < 500; ++i) add({}, {i << 8, 24}, 1);
  add({}, {0, 0}, 1);
  add({}, {0, 9}, 1);
  RouteSearch search({.vr = 0, .vrf = 0, .covering = Prefix{77u << 8 | 5, 32}});
  EXPECT_EQ(search.count(), 3u);
  EXPECT_EQ(search.routesRead(), 3u);
  EXPECT_STREQ(nameOf(search.index()), "longest prefix");
}

TEST_F(RouteSearchTest, of_a_group_reads_its_routes_alone) {
  for (uint32_t i = 0; i < 500; ++i) add({i % 2, 0}, {i << 8, 24}, i % 10);
  RouteSearch search({.group = 3});
  EXPECT_EQ(search.count(), 50u);
  EXPECT_EQ(search.routesRead(), 50u);
  EXPECT_STREQ(nameOf(search.index()), "group");
}

TEST_F(RouteSearchTest, counts_most_of_the_table_by_looking_at_all_of_it) {
  for (uint32_t i = 0; i < 1000; ++i) add({}, {i << 8, 24}, 1);
  RouteSearch search({.vr = 0, .vrf = 0});
  EXPECT_EQ(search.count(), 1000u);
  EXPECT_STREQ(nameOf(search.index()), "none, every route");
  EXPECT_LT(search.routesRead(), 1100u);
}

TEST_F(RouteSearchTest, a_range_gives_routes_over_many_reads_once_each_while_others_go) {
  for (uint32_t i = 0; i < 3000; ++i) add({}, {i << 8, 24}, 1);
  RouteRange range({0, 0, 0, 0}, {0, 0, UINT32_MAX, 32});
  uint32_t next = 0;
  while (const FibDbIp4forwardItem* item = range.next()) {
    ASSERT_EQ(item->dest_ip_addr, next++ << 8);
    if (next % 100 != 0) continue;
    RouteLoader loader(1);
    loader.remove(prefixOf(*item));
    ASSERT_EQ(loader.finish().removed, 1u);
  }
  EXPECT_EQ(next, 3000u);
}

}  // namespace
}  // namespace fibdb::program
