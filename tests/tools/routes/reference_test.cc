// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/routes/reference_test.cc: the reference against the definition of the longest match.
#include "tools/fibdb/routes/reference.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace fibdb::program {
namespace {

// Reads the routes in the order in which they came: the longest that covers, the later of two equal ones.
const Route* scan(const std::vector<Route>& routes, uint32_t address) {
  const Route* best = nullptr;
  for (const Route& route : routes) {
    if (!covers(route.prefix, address)) continue;
    if (best == nullptr || route.prefix.length >= best->prefix.length) best = &route;
  }
  return best;
}

// Prefixes of at most four bits: so few that random sets overlap and repeat themselves in every way.
TEST(ReferenceTable, find_agrees_with_a_scan_for_random_sets_of_short_prefixes) {
  const char* given = std::getenv("FIBDB_SEED");
  const auto seed = given != nullptr ? std::strtoul(given, nullptr, 10) : std::random_device()();
  SCOPED_TRACE("FIBDB_SEED=" + std::to_string(seed));
  std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
  for (int round = 0; round < 2000; ++round) {
    ReferenceTable table;
    std::vector<Route> routes;
    for (auto i = static_cast<uint32_t>(random() % 12); i > 0; --i) {
      const auto length = static_cast<uint8_t>(random() % 5);
      const Route route{{static_cast<uint32_t>(random()) & maskOf(length), length}, i, 0};
      table.add(route);
      routes.push_back(route);
    }
    table.sort();
    for (uint32_t top = 0; top < 16; ++top) {
      const uint32_t address = top << 28 | (static_cast<uint32_t>(random()) >> 4);
      const Route* expected = scan(routes, address);
      const Route* found = table.find(address);
      ASSERT_EQ(found != nullptr, expected != nullptr);
      if (found == nullptr) continue;
      ASSERT_EQ(*found, *expected);
    }
  }
}

TEST(ReferenceTable, an_empty_table_covers_nothing) {
  ReferenceTable table;
  table.sort();
  EXPECT_EQ(table.find(0), nullptr);
  EXPECT_EQ(table.find(UINT32_MAX), nullptr);
}

}  // namespace
}  // namespace fibdb::program
