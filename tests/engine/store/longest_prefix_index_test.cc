// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/longest_prefix_index_test.cc: the trie against the linear scan.
#include "engine/store/longest_prefix_index.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <stop_token>
#include <thread>
#include <vector>

#include "tests/support/index_twins.h"

namespace fibdb::store {
namespace {

constexpr uint32_t maskOf(uint32_t length) { return length == 0 ? 0 : ~uint32_t{0} << (32 - length); }
constexpr uint32_t ip(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
  return a << 24 | (b & 255) << 16 | (c & 255) << 8 | (d & 255);
}

template <class Index>
class PrefixContract : public testing::Test {
 protected:
  std::vector<uint32_t> matches(uint32_t addr, uint8_t maxLength) const {
    PrefixMatches out;
    index.match(addr, maxLength, out);
    return {out.values, out.values + out.count};
  }
  std::vector<uint32_t> from(uint32_t addr, uint32_t length, uint32_t most) const {
    std::vector<PrefixEntry> out(most);
    out.resize(index.from(addr, length, out.data(), most));
    std::vector<uint32_t> values;
    for (const PrefixEntry& entry : out) values.push_back(entry.value);
    return values;
  }
  Index index;
};
using Implementations = testing::Types<StoredPrefixes, ShortenedPrefixes, LinearPrefixes>;
TYPED_TEST_SUITE(PrefixContract, Implementations);

TYPED_TEST(PrefixContract, an_empty_index_matches_nothing) {
  EXPECT_EQ(this->index.longest(ip(10, 0, 0, 1), 32).value, 0u);
  EXPECT_EQ(this->index.find(0, 0), 0u);
  EXPECT_EQ(this->index.erase(0, 0), 0u);
  EXPECT_TRUE(this->matches(0, 32).empty());
}

TYPED_TEST(PrefixContract, the_default_route_matches_every_address_at_every_length) {
  EXPECT_EQ(this->index.insert(ip(1, 2, 3, 4), 0, 7), 0u);
  EXPECT_EQ(this->index.find(0, 0), 7u);
  for (const uint32_t addr : {0u, ip(1, 2, 3, 4), ~0u}) {
    for (uint8_t length = 0; length <= 32; ++length) EXPECT_EQ(this->index.longest(addr, length).value, 7u);
  }
}

TYPED_TEST(PrefixContract, a_host_route_matches_its_address_alone_and_only_at_length_32) {
  this->index.insert(~0u, 32, 7);
  EXPECT_EQ(this->index.longest(~0u, 32).value, 7u);
  EXPECT_EQ(this->index.longest(~0u, 31).value, 0u);
  EXPECT_EQ(this->index.longest(~0u - 1, 32).value, 0u);
}

TYPED_TEST(PrefixContract, bits_below_the_length_are_ignored) {
  this->index.insert(ip(10, 1, 2, 3), 16, 7);
  EXPECT_EQ(this->index.insert(ip(10, 1, 200, 0), 16, 8), 7u) << "the same prefix";
  EXPECT_EQ(this->index.find(ip(10, 1, 9, 9), 16), 8u);
  EXPECT_EQ(this->index.erase(ip(10, 1, 77, 0), 16), 8u);
  EXPECT_EQ(this->index.find(ip(10, 1, 0, 0), 16), 0u);
}

TYPED_TEST(PrefixContract, a_prefix_of_every_length_matches_longest_first) {
  const uint32_t addr = ip(203, 0, 113, 77);
  for (uint8_t length = 0; length <= 32; ++length) this->index.insert(addr, length, 100 + length);
  for (uint8_t most = 0; most <= 32; ++most) {
    EXPECT_EQ(this->index.longest(addr, most).value, 100u + most);
    const std::vector<uint32_t> found = this->matches(addr, most);
    ASSERT_EQ(found.size(), most + 1u);
    for (uint32_t i = 0; i < found.size(); ++i) EXPECT_EQ(found[i], 100 + most - i);
  }
  for (uint8_t differing = 1; differing <= 32; ++differing) {
    const uint32_t other = addr ^ 1u << (32 - differing);
    EXPECT_EQ(this->index.longest(other, 32).value, 99u + differing) << "agrees in all but bit " << int{differing};
  }
}

TYPED_TEST(PrefixContract, prefixes_come_by_address_and_of_one_address_the_shorter_first) {
  this->index.insert(ip(10, 0, 0, 0), 8, 2);
  this->index.insert(ip(10, 0, 1, 0), 24, 5);
  this->index.insert(0, 0, 1);
  this->index.insert(ip(10, 0, 0, 0), 32, 4);
  this->index.insert(ip(10, 0, 0, 0), 16, 3);
  this->index.insert(~0u, 32, 6);
  using testing::ElementsAre;
  EXPECT_THAT(this->from(0, 0, 9), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(this->from(0, 1, 9), ElementsAre(2, 3, 4, 5, 6));
  EXPECT_THAT(this->from(ip(10, 0, 0, 0), 9, 2), ElementsAre(3, 4));
  EXPECT_THAT(this->from(ip(10, 0, 0, 0), 33, 1), ElementsAre(5));
  EXPECT_THAT(this->from(ip(10, 0, 1, 1), 0, 9), ElementsAre(6));
  EXPECT_THAT(this->from(~0u, 33, 9), ElementsAre());
}

bool sameEntry(const PrefixEntry& a, const PrefixEntry& b) {
  return a.addr == b.addr && a.length == b.length && a.value == b.value;
}

void expectSameOrder(const StoredPrefixes& index, const LinearPrefixes& twin, uint32_t addr, uint32_t length,
                     uint32_t most) {
  std::vector<PrefixEntry> found(most), expected(most);
  found.resize(index.from(addr, length, found.data(), most));
  expected.resize(twin.from(addr, length, expected.data(), most));
  ASSERT_TRUE(std::ranges::equal(found, expected, sameEntry)) << "from " << std::hex << addr << "/" << length;
}

void expectSameAnswers(const StoredPrefixes& index, const LinearPrefixes& twin, uint32_t addr, uint8_t maxLength) {
  PrefixMatches expected, found;
  twin.match(addr, maxLength, expected);
  index.match(addr, maxLength, found);
  ASSERT_EQ(found.count, expected.count) << std::hex << addr << "/" << std::dec << int{maxLength};
  ASSERT_EQ(std::memcmp(found.values, expected.values, found.count * sizeof found.values[0]), 0);
  ASSERT_EQ(std::memcmp(found.lengths, expected.lengths, found.count), 0);
  const PrefixMatch longest = index.longest(addr, maxLength);
  ASSERT_EQ(longest.value, expected.count == 0 ? 0 : expected.values[0]);
  ASSERT_EQ(longest.length, expected.count == 0 ? 0 : expected.lengths[0]);
  uint32_t nodes = 0;
  const PrefixMatch counted = index.longest(addr, maxLength, nodes);
  ASSERT_TRUE(counted.value == longest.value && counted.length == longest.length);
  ASSERT_LE(nodes, 4u + 7) << "from a shortcut on, and then from the root";
  ASSERT_EQ(index.find(addr, maxLength), twin.find(addr, maxLength));
}

TEST(LongestPrefixIndex, a_lookup_by_a_shortcut_looks_at_what_is_above_last_and_at_no_node_twice) {
  StoredPrefixes plain;
  ShortenedPrefixes shortened;
  const uint32_t addr = ip(10, 0, 1, 0);
  for (StoredPrefixes* index : std::initializer_list<StoredPrefixes*>{&plain, &shortened}) {
    index->insert(ip(10, 0, 0, 0), 8, 1);
    index->insert(addr, 24, 2);
  }
  const auto nodesTo = [](const StoredPrefixes& index, uint32_t to, uint32_t value) {
    uint32_t nodes = 77;
    EXPECT_EQ(index.longest(to, 32, nodes).value, value);
    return nodes;
  };
  EXPECT_EQ(nodesTo(plain, addr, 2), 5u) << "they end at /0, /6, /12, /18, /24";
  EXPECT_EQ(nodesTo(shortened, addr, 2), 2u);
  const uint32_t neighbour = ip(10, 0, 2, 0);
  EXPECT_EQ(nodesTo(plain, neighbour, 1), 5u);
  EXPECT_EQ(nodesTo(shortened, neighbour, 1), 2u + 3);
}

// Every set of prefixes over addresses of four bits, which stand `shift` bits below the top of an address.
// Sets are grown and shrunk by one prefix, so erasing is exhausted with inserting.
class Exhaustive {
 public:
  Exhaustive(uint32_t shift, bool shortcuts) : shift_(shift), index_(shortcuts) {}

  void everySetUpTo(uint32_t size) {
    grow(0, size);
    index_.rest();
    EXPECT_EQ(index_.bytesInUse(), 0u);
  }

 private:
  static constexpr uint32_t kPrefixes = 31;  // as in a heap: number 1 is /0, 2 and 3 are /1, ...
  static constexpr uint32_t kAbove = 0xc3a55a3c;

  uint32_t place(uint32_t bits, uint32_t length) const {
    const uint32_t low = 32 - shift_ - length;
    return (kAbove & maskOf(shift_)) | (low == 32 ? 0 : bits << low);
  }

  void grow(uint32_t last, uint32_t room) {
    check();
    if (room == 0 || testing::Test::HasFatalFailure()) return;
    for (uint32_t number = last + 1; number <= kPrefixes; ++number) {
      const auto bits = static_cast<uint32_t>(std::bit_width(number)) - 1;
      const uint32_t addr = place(number - (1u << bits), bits);
      const auto length = static_cast<uint8_t>(shift_ + bits);
      ASSERT_EQ(index_.insert(addr, length, number), twin_.insert(addr, length, number));
      grow(number, room - 1);
      ASSERT_EQ(index_.erase(addr, length), twin_.erase(addr, length));
    }
    check();
  }

  void check() {
    for (uint32_t bits = 0; bits < 16; ++bits) {
      for (uint32_t length = 0; length <= 4; ++length) {
        expectSameAnswers(index_, twin_, place(bits, 4), static_cast<uint8_t>(shift_ + length));
        expectSameOrder(index_, twin_, place(bits, 4), shift_ + length, 1 + bits % 4);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
    ASSERT_TRUE(index_.shortcutsLeadRight());
  }

  const uint32_t shift_;
  StoredPrefixes index_;
  LinearPrefixes twin_;
};

TEST(LongestPrefixIndex, every_set_of_two_prefixes_at_every_depth_answers_like_the_scan) {
  for (uint32_t shift = 0; shift <= 28; ++shift) {
    SCOPED_TRACE(shift);
    Exhaustive(shift, false).everySetUpTo(2);
  }
}

TEST(LongestPrefixIndex, every_set_of_three_prefixes_across_node_boundaries_answers_like_the_scan) {
  for (const uint32_t shift : {0u, 5u, 22u, 28u}) {
    SCOPED_TRACE(shift);
    Exhaustive(shift, false).everySetUpTo(3);
  }
}

// Shortcuts lead to the nodes of /13.
TEST(LongestPrefixIndex, every_set_of_two_prefixes_around_shortcuts_answers_like_the_scan) {
  for (const uint32_t shift : {0u, 9u, 11u, 13u, 16u}) {
    SCOPED_TRACE(shift);
    Exhaustive(shift, true).everySetUpTo(2);
  }
}

// A prefix that is likely to have others above and below it.
struct RandomPrefix {
  uint32_t addr;
  uint8_t length;

  explicit RandomPrefix(Random& random) {
    static constexpr uint8_t kUsual[] = {8, 16, 20, 22, 24, 24, 24, 24};
    length = static_cast<uint8_t>(random() % 4 == 0 ? random() % 33 : kUsual[random() % 8]);
    addr = ip(10, random() % 4, random() % 8, random());
  }
};

// Lookups together answer as each alone.
void expectSameTogether(const StoredPrefixes& index, const LinearPrefixes& twin, Random& random) {
  std::vector<uint32_t> addrs(random() % (LongestPrefixIndex::kTogether + 1));
  for (uint32_t& addr : addrs) addr = RandomPrefix(random).addr;
  std::vector<PrefixMatch> found(addrs.size());
  index.longestOfEach(addrs.data(), static_cast<uint32_t>(addrs.size()), found.data());
  for (size_t i = 0; i < addrs.size(); ++i) {
    PrefixMatches expected;
    twin.match(addrs[i], 32, expected);
    ASSERT_EQ(found[i].value, expected.count == 0 ? 0 : expected.values[0]) << std::hex << addrs[i];
    ASSERT_EQ(found[i].length, expected.count == 0 ? 0 : expected.lengths[0]);
  }
}

class PrefixesAtRandom : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Shortcuts, PrefixesAtRandom, testing::Bool());

TEST_P(PrefixesAtRandom, inserts_and_erases_answer_like_the_scan) {
  Random random;
  StoredPrefixes index(GetParam());
  LinearPrefixes twin;
  for (uint32_t step = 1; step <= 12000; ++step) {
    ASSERT_TRUE(step % 1000 != 0 || index.shortcutsLeadRight());
    const RandomPrefix prefix(random);
    const bool growing = step / 3000 % 2 == 0;
    if (random() % 3 < (growing ? 2u : 1u)) {
      ASSERT_EQ(index.insert(prefix.addr, prefix.length, step), twin.insert(prefix.addr, prefix.length, step));
      ASSERT_EQ(index.insertNew(prefix.addr, 24, step), twin.insertNew(prefix.addr, 24, step));
    } else {
      ASSERT_EQ(index.erase(prefix.addr, prefix.length), twin.erase(prefix.addr, prefix.length));
    }
    const RandomPrefix probe(random);
    expectSameAnswers(index, twin, probe.addr, static_cast<uint8_t>(random() % 33));
    expectSameOrder(index, twin, probe.addr & maskOf(random() % 33), random() % 33, 1 + random() % 30);
    if (step % 8 == 0) expectSameTogether(index, twin, random);
    if (HasFatalFailure()) return;
  }
}

TEST(LongestPrefixIndex, erasing_a_hundred_thousand_prefixes_gives_back_all_memory) {
  Random random;
  std::vector<uint32_t> networks(100000);
  StoredPrefixes index;
  for (uint32_t& network : networks) {
    network = random() & maskOf(24);
    index.insert(network, 24, 1);
  }
  EXPECT_GT(index.bytesInUse(), networks.size() * sizeof(uint32_t));
  std::shuffle(networks.begin(), networks.end(), random);
  for (const uint32_t network : networks) index.erase(network, 24);
  index.rest();
  EXPECT_EQ(index.bytesInUse(), 0u);
}

// The shortcuts of a sixteenth of the address space come with an insert there, once the trie is large.
TEST(LongestPrefixIndex, a_large_trie_gets_shortcuts_and_gives_them_back_when_it_is_emptied) {
  StoredPrefixes index;
  constexpr uint32_t kMany = 2048;
  for (uint32_t n = 0; n < kMany; ++n) {
    EXPECT_EQ(index.shortcutBlocks(), 0u) << "after " << n;
    index.insert(ip(10, n >> 8, n, 0), 24, n + 1);
    index.grow(ip(10, n >> 8, n, 0));
  }
  EXPECT_EQ(index.shortcutBlocks(), 1u);
  index.insert(ip(192, 0, 2, 0), 24, 1);
  index.grow(ip(192, 0, 2, 0));
  EXPECT_EQ(index.shortcutBlocks(), 2u);
  EXPECT_TRUE(index.shortcutsLeadRight());
  index.erase(ip(192, 0, 2, 0), 24);
  for (uint32_t n = 0; n < kMany; ++n) index.erase(ip(10, n >> 8, n, 0), 24);
  EXPECT_EQ(index.shortcutBlocks(), 0u);
  index.rest();
  EXPECT_EQ(index.bytesInUse(), 0u);
}

TEST(LongestPrefixIndex, changing_a_value_copies_nothing) {
  StoredPrefixes index;
  index.insert(ip(192, 0, 2, 0), 24, 1);
  const uint64_t before = index.bytesInUse();
  for (uint32_t value = 2; value < 100; ++value) EXPECT_EQ(index.insert(ip(192, 0, 2, 0), 24, value), value - 1);
  EXPECT_EQ(index.bytesInUse(), before);
}

TEST(LongestPrefixIndex, a_reader_keeps_its_state_for_kRestingWrites_less_one) {
  StoredPrefixes index;
  index.insert(0, 0, 7);
  index.insert(ip(10, 0, 0, 0), 8, 8);
  LongestPrefixState held = index.held();
  const LongestPrefixIndex view(index.heap, held);
  for (uint64_t write = 0; write < kRestingWrites; ++write) {
    // The default route stands in the root, so every other write replaces the root.
    if (write % 2 == 0) {
      ASSERT_NE(index.erase(0, 0), 0u);
    } else {
      ASSERT_EQ(index.insert(0, 0, 100), 0u);
    }
    ASSERT_EQ(view.longest(ip(192, 0, 2, 1), 32).value, 7u) << "after " << write + 1 << " writes";
    ASSERT_EQ(view.longest(ip(10, 0, 0, 1), 32).value, 8u) << "after " << write + 1 << " writes";
  }
}

// A node that has everything and leads nowhere but to itself.
TEST(LongestPrefixIndex, reading_a_node_that_is_its_own_child_ends_within_bounds) {
  Ground ground;
  const Ref node = ground.heap.takeExtent();
  auto* words = ground.heap.at<uint32_t>(node);
  for (uint32_t i = 0; i < 4; ++i) words[i] = ~0u;
  for (uint32_t i = 4; i < kMaxBlockBytes / 4; ++i) words[i] = node;
  LongestPrefixState root{node, 1, {}};
  const LongestPrefixIndex index(ground.heap, root);
  PrefixMatches matches;
  index.match(ip(192, 0, 2, 1), 32, matches);
  EXPECT_EQ(matches.count, kMaxMatches);
  EXPECT_EQ(index.longest(ip(192, 0, 2, 1), 32).value, node);
  PrefixEntry entries[24];
  EXPECT_EQ(index.from(0, 0, entries, 24), 24u);
  EXPECT_LE(index.from(~0u, 33, entries, 24), 24u);
}

// A reader that was overtaken sees reused memory. It may answer anything, but it must answer.
TEST(LongestPrefixIndex, reading_garbage_ends_within_bounds) {
  Random random;
  constexpr uint64_t kBytes = 8 * kExtentBytes;
  constexpr uint32_t kStrayRefs = kBytes / kRefUnit + 2;
  Ground ground(kBytes);
  std::vector<Ref> extents;
  for (Ref extent = takeExtent(ground.arena); extent != kNoRef; extent = takeExtent(ground.arena)) {
    extents.push_back(extent);
    auto* words = ground.arena.at<uint32_t>(extent);
    for (uint32_t i = 0; i < kExtentBytes / 4; ++i) {
      const uint32_t kind = random() % 4;
      words[i] = kind == 0 ? random() : kind == 1 ? ~0u : random() % kStrayRefs;
    }
  }
  uint64_t answers = 0;
  for (int read = 0; read < 50000; ++read) {
    LongestPrefixState root{random() % kStrayRefs, 0, {}};
    for (Ref& shortcuts : root.shortcuts) shortcuts = random() % 2 == 0 ? kNoRef : random() % kStrayRefs;
    const LongestPrefixIndex index(ground.heap, root);
    PrefixMatches matches;
    index.match(random(), static_cast<uint8_t>(random() % 33), matches);
    ASSERT_LE(matches.count, kMaxMatches);
    for (uint32_t i = 0; i < matches.count; ++i) ASSERT_LE(matches.lengths[i], 32);
    const PrefixMatch longest = index.longest(random(), 32);
    ASSERT_LE(longest.length, 32) << "readers count bits with it";
    answers += longest.value != 0;
    const uint32_t addrs[] = {random(), random(), random()};
    PrefixMatch each[std::size(addrs)];
    index.longestOfEach(addrs, std::size(addrs), each);
    for (const PrefixMatch& match : each) ASSERT_LE(match.length, 32);
    answers += index.find(random(), static_cast<uint8_t>(random() % 33)) != 0;
    PrefixEntry entries[8];
    const uint32_t got = index.from(random(), random() % 34, entries, 8);
    ASSERT_LE(got, 8u);
    for (uint32_t i = 0; i < got; ++i) ASSERT_LE(entries[i].length, 32);
    answers += got;
  }
  EXPECT_GT(answers, 0u) << "the garbage was not interesting enough to be followed";
}

// Prefixes of 10.0.0.0/8 come and go; each value says which prefix it belongs to.
TEST(LongestPrefixIndexThreads, readers_beside_a_writer_get_a_prefix_that_covers_the_address) {
  const uint32_t seed = testSeed();
  StoredPrefixes index;
  const auto valueOf = [](uint32_t addr, uint32_t length) { return (addr & maskOf(length)) | (32 - length) | 0x80; };
  index.insert(ip(10, 0, 0, 0), 8, valueOf(ip(10, 0, 0, 0), 8));
  std::jthread writer([&](std::stop_token stop) {
    Random random(seed);
    while (!stop.stop_requested()) {
      const uint32_t addr = ip(10, random() % 2, random(), 0);
      const auto length = static_cast<uint8_t>(16 + random() % 9);
      if (random() % 2 == 0) {
        index.insert(addr, length, valueOf(addr, length));
      } else {
        index.erase(addr, length);
      }
    }
  });
  Random random(seed + 1);
  for (int read = 0; read < 100000; ++read) {
    const uint32_t addr = ip(10, random() % 2, random(), random());
    const uint32_t value = readStable(index.heap, [&] { return index.longest(addr, 32).value; });
    ASSERT_NE(value, 0u) << "10.0.0.0/8 is always there";
    const uint32_t length = 32 - (value & 0x1f);
    ASSERT_EQ(value, valueOf(addr, length));
    const PrefixMatches matches = readStable(index.heap, [&] {
      PrefixMatches out;
      index.match(addr, 20, out);
      return out;
    });
    ASSERT_GT(matches.count, 0u);
    for (uint32_t i = 0; i < matches.count; ++i) ASSERT_EQ(matches.values[i], valueOf(addr, matches.lengths[i]));
    ASSERT_EQ(matches.lengths[matches.count - 1], 8);
  }
}

}  // namespace
}  // namespace fibdb::store
