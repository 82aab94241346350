// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/lookup_test.cc: longest-prefix reads of a table like the Internet's, against the program's
// sorted reference.
#include <random>

#include "tests/end_to_end/engine_fixture.h"
#include "tools/fibdb/routes/reference.h"

namespace fibdb::test {
namespace {

constexpr size_t kRoutes = 50'000;
constexpr size_t kLookups = 100'000;

uint32_t maskBits(uint8_t length) { return length == 0 ? 0 : ~uint32_t{0} << (32 - length); }

class LookupTest : public EngineTest {};

TEST_F(LookupTest, A_hundred_thousand_addresses_find_the_prefix_of_the_reference) {
  std::mt19937 generator(seedOfToday());
  const auto random = [&generator] { return static_cast<uint32_t>(generator()); };
  // Mask lengths as a full table has them: mostly 24, then 22, 23, 20, 21, 19, 16, and a few of all others.
  std::discrete_distribution<int> lengths{0,   0,   0,   0,    0,    0,    0,    1,     2, 1, 2, 5, 15, 25, 30, 50, 400,
                                          300, 500, 900, 1500, 1800, 4000, 3500, 18000, 2, 2, 2, 2, 2,  2,  2,  5};
  program::ReferenceTable reference;
  {
    Batch batch;
    for (size_t i = 0; i < kRoutes; ++i) {
      const auto length = static_cast<uint8_t>(lengths(generator));
      // Half of the routes crowd into 10/8, so that prefixes nest.
      const uint32_t addr = (i % 2 == 0 ? random() : 0x0A000000 | (random() & 0xFFFFFF)) & maskBits(length);
      ASSERT_EQ(batch.write(routeOf(addr, length, length)), 0u);
      reference.add({{addr, length}, length, 0});
    }
  }
  reference.sort();
  size_t hits = 0;
  for (size_t i = 0; i < kLookups; ++i) {
    const uint32_t addr = i % 2 == 0 ? random() : 0x0A000000 | (random() & 0xFFFFFF);
    FibDbIp4forwardItem item = routeOf(addr, 32);
    const uint32_t status = FIB_DB_ReadIp4forwardByLpm(&item);
    const program::Route* const expected = reference.find(addr);
    if (expected == nullptr) {
      ASSERT_EQ(status, uint32_t{FIB_DB_NO_ROUTE}) << std::hex << addr;
      continue;
    }
    ++hits;
    ASSERT_EQ(status, 0u) << std::hex << addr;
    ASSERT_EQ(item.mask_len, expected->prefix.length) << std::hex << addr;
    ASSERT_EQ(item.dest_ip_addr, addr & maskBits(item.mask_len));
    ASSERT_EQ(item.attr_word_a, item.mask_len);
  }
  EXPECT_GT(hits, kLookups / 4);
}

TEST_F(LookupTest, The_masks_of_the_key_bound_the_match) {
  {
    Batch batch;
    for (uint8_t length = 0; length <= 32; ++length) {
      ASSERT_EQ(batch.write(routeOf(0xC0A80101 & maskBits(length), length)), 0u);
    }
  }
  for (uint8_t length = 0; length <= 32; ++length) {
    FibDbIp4forwardItem item = routeOf(0xC0A80101, length);
    EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), 0u);
    EXPECT_EQ(item.mask_len, length);
  }
}

TEST_F(LookupTest, Tables_of_different_VRFs_and_routers_do_not_mix) {
  {
    Batch batch;
    for (uint32_t vrf : {0u, 1u, 16384u}) {
      FibDbIp4forwardItem item = routeOf(0x0A000000, 8, vrf + 100);
      item.vrf_index = vrf;
      item.vr_id = vrf == 1 ? 16 : 0;
      ASSERT_EQ(batch.write(item), 0u);
    }
  }
  FibDbIp4forwardItem item = routeOf(0x0A010203, 32);
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), 0u);
  EXPECT_EQ(item.attr_word_a, 100u);
  item = routeOf(0x0A010203, 32);
  item.vrf_index = 1;
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), uint32_t{FIB_DB_NO_ROUTE});
  item.vr_id = 16;
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), 0u);
  EXPECT_EQ(item.attr_word_a, 101u);
}

}  // namespace
}  // namespace fibdb::test
