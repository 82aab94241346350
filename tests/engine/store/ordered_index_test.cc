// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/ordered_index_test.cc: the tree against the linear scan.
#include "engine/store/ordered_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <stop_token>
#include <thread>
#include <vector>

#include "tests/support/index_twins.h"

namespace fibdb::store {
namespace {

// The n-th entry in ascending order; neighbours differ in one word or in several.
void set(PostingEntry& entry, uint32_t n) { entry = {n / 3, n % 3}; }
void set(OrderedEntry& entry, uint32_t n) { entry = {{7, n / 9, 0xfffffff0u, n / 3 % 3}, n % 3}; }

template <class Entry>
Entry entry(uint32_t n) {
  Entry result;
  set(result, n);
  return result;
}

// A walk that continues above the last entry seen, `most` at a time.
template <class Index>
std::vector<typename Index::Entry> walk(const Index& index, uint32_t most) {
  std::vector<typename Index::Entry> seen;
  std::vector<typename Index::Entry> some(most);
  auto bound = entry<typename Index::Entry>(0);
  bool inclusive = true;
  while (const uint32_t count = index.above(bound, inclusive, some.data(), most)) {
    seen.insert(seen.end(), some.begin(), some.begin() + count);
    bound = seen.back();
    inclusive = false;
  }
  return seen;
}

template <class Index>
class OrderedContract : public testing::Test {
 protected:
  using Entry = typename Index::Entry;
  static Entry at(uint32_t n) { return entry<Entry>(n); }
  Index index;
};
using Implementations = testing::Types<StoredOrdered<PostingEntry>, StoredOrdered<OrderedEntry>,
                                       LinearOrdered<PostingEntry>, LinearOrdered<OrderedEntry>>;
TYPED_TEST_SUITE(OrderedContract, Implementations);

TYPED_TEST(OrderedContract, an_empty_index_holds_nothing) {
  typename TypeParam::Entry out;
  EXPECT_FALSE(this->index.contains(this->at(0)));
  EXPECT_FALSE(this->index.erase(this->at(0)));
  EXPECT_EQ(this->index.above(this->at(0), true, &out, 1), 0u);
}

TYPED_TEST(OrderedContract, an_entry_goes_in_once_and_out_once) {
  EXPECT_TRUE(this->index.insert(this->at(5)));
  EXPECT_FALSE(this->index.insert(this->at(5)));
  EXPECT_TRUE(this->index.contains(this->at(5)));
  EXPECT_TRUE(this->index.erase(this->at(5)));
  EXPECT_FALSE(this->index.erase(this->at(5)));
  EXPECT_FALSE(this->index.contains(this->at(5)));
}

TYPED_TEST(OrderedContract, above_starts_behind_the_bound_or_at_it) {
  for (uint32_t n = 0; n < 500; ++n) this->index.insert(this->at(2 * n));
  for (uint32_t n = 0; n < 499; ++n) {
    typename TypeParam::Entry out;
    ASSERT_EQ(this->index.above(this->at(2 * n), true, &out, 1), 1u);
    EXPECT_EQ(out, this->at(2 * n));
    ASSERT_EQ(this->index.above(this->at(2 * n), false, &out, 1), 1u);
    EXPECT_EQ(out, this->at(2 * n + 2));
    ASSERT_EQ(this->index.above(this->at(2 * n + 1), true, &out, 1), 1u);
    EXPECT_EQ(out, this->at(2 * n + 2));
  }
  typename TypeParam::Entry out;
  EXPECT_EQ(this->index.above(this->at(998), false, &out, 1), 0u);
}

TYPED_TEST(OrderedContract, a_walk_sees_every_entry_once_in_order_however_few_it_takes_at_a_time) {
  std::vector<typename TypeParam::Entry> expected;
  for (uint32_t n = 0; n < 700; ++n) {
    this->index.insert(this->at(n * 389 % 700));  // 389 and 700 have no common divisor
    expected.push_back(this->at(n));
  }
  for (const uint32_t most : {1u, 2u, 24u, 63u, 64u, 1000u}) EXPECT_EQ(walk(this->index, most), expected);
}

// Trees of every size from none to two levels full of leaves, each with one more entry at every place.
template <class Entry>
void insertAndEraseEverywhere(uint32_t most) {
  std::vector<Entry> expected;
  for (uint32_t size = 0; size <= most; ++size) {
    StoredOrdered<Entry> index;
    for (uint32_t n = 0; n < size; ++n) ASSERT_TRUE(index.insert(entry<Entry>(2 * n + 1)));
    for (uint32_t gap = 0; gap <= size; ++gap) {
      ASSERT_TRUE(index.insert(entry<Entry>(2 * gap)));
      if (gap % 8 == 0) {
        expected.insert(expected.begin() + gap, entry<Entry>(2 * gap));
        ASSERT_EQ(walk(index, 64), expected) << "size " << size << ", gap " << gap;
        expected.erase(expected.begin() + gap);
      }
      ASSERT_TRUE(index.erase(entry<Entry>(2 * gap)));
    }
    ASSERT_EQ(walk(index, 64), expected);
    expected.push_back(entry<Entry>(2 * size + 1));
  }
}

TEST(OrderedIndex, posting_entries_go_in_and_out_at_every_place_of_every_size) {
  insertAndEraseEverywhere<PostingEntry>(200);
}
TEST(OrderedIndex, ordered_entries_go_in_and_out_at_every_place_of_every_size) {
  insertAndEraseEverywhere<OrderedEntry>(120);
}

template <class Entry>
void randomAgainstScan() {
  Random random;
  constexpr uint32_t kKeys = 3000;
  StoredOrdered<Entry> index;
  LinearOrdered<Entry> twin;
  for (uint32_t step = 0; step < 24000; ++step) {
    const Entry one = entry<Entry>(random() % kKeys);
    const bool growing = step / 6000 % 2 == 0;
    if (random() % 4 < (growing ? 3u : 1u)) {
      ASSERT_EQ(index.insert(one), twin.insert(one));
    } else {
      ASSERT_EQ(index.erase(one), twin.erase(one));
    }
    const Entry bound = entry<Entry>(random() % kKeys);
    const bool inclusive = random() % 2 == 0;
    Entry found{}, expected{};
    const uint32_t count = index.above(bound, inclusive, &found, 1);
    ASSERT_EQ(count, twin.above(bound, inclusive, &expected, 1));
    ASSERT_TRUE(count == 0 || found == expected);
    if (step % 500 == 0) {
      ASSERT_EQ(walk(index, 40), walk(twin, kKeys));
    }
  }
}

TEST(OrderedIndex, random_posting_entries_answer_like_the_scan) { randomAgainstScan<PostingEntry>(); }
TEST(OrderedIndex, random_ordered_entries_answer_like_the_scan) { randomAgainstScan<OrderedEntry>(); }

// Stretches that are filled and emptied make whole subtrees come and go.
template <class Entry>
void fillAndEmptyStretches(uint32_t keys, uint32_t rounds) {
  Random random;
  StoredOrdered<Entry> index;
  std::set<Entry> expected;
  for (uint32_t round = 0; round < rounds; ++round) {
    const uint32_t begin = random() % keys;
    const uint32_t end = std::min(begin + random() % (keys / 3), keys);
    const bool fill = random() % 2 == 0;
    const uint32_t step = 1 + random() % 3;
    for (uint32_t n = begin; n < end; n += step) {
      const Entry one = entry<Entry>(n);
      if (fill) {
        ASSERT_EQ(index.insert(one), expected.insert(one).second);
      } else {
        ASSERT_EQ(index.erase(one), expected.erase(one) == 1);
      }
    }
    ASSERT_EQ(walk(index, 64), std::vector<Entry>(expected.begin(), expected.end()));
    for (uint32_t n = 0; n < keys; n += 1 + random() % 8) {
      ASSERT_EQ(index.contains(entry<Entry>(n)), expected.contains(entry<Entry>(n)));
    }
  }
}

TEST(OrderedIndex, stretches_of_posting_entries_come_and_go) { fillAndEmptyStretches<PostingEntry>(12000, 60); }
TEST(OrderedIndex, stretches_of_ordered_entries_come_and_go) { fillAndEmptyStretches<OrderedEntry>(6000, 120); }

// Too many for the scan, and enough for four levels: a sorted set stands in for it.
template <class Entry>
void growAndShrink(uint32_t size) {
  Random random;
  std::vector<uint32_t> numbers(size);
  for (uint32_t n = 0; n < size; ++n) numbers[n] = n;
  std::shuffle(numbers.begin(), numbers.end(), random);
  StoredOrdered<Entry> index;
  std::set<Entry> expected;
  for (const uint32_t n : numbers) {
    ASSERT_TRUE(index.insert(entry<Entry>(n)));
    expected.insert(entry<Entry>(n));
  }
  std::shuffle(numbers.begin(), numbers.end(), random);
  while (!numbers.empty()) {
    ASSERT_TRUE(index.erase(entry<Entry>(numbers.back())));
    expected.erase(entry<Entry>(numbers.back()));
    numbers.pop_back();
    if (numbers.size() % 8192 == 0) {
      ASSERT_EQ(walk(index, 64), std::vector<Entry>(expected.begin(), expected.end()));
      index.rest();
      ASSERT_LE(index.bytesInUse(), 4 * expected.size() * sizeof(Entry)) << "thin nodes are merged";
    }
  }
  EXPECT_EQ(index.bytesInUse(), 0u);
}

TEST(OrderedIndex, many_posting_entries_in_and_out_in_random_order_leave_nothing) {
  growAndShrink<PostingEntry>(100000);
}
TEST(OrderedIndex, many_ordered_entries_in_and_out_in_random_order_leave_nothing) {
  growAndShrink<OrderedEntry>(50000);
}

TEST(OrderedIndex, erasing_from_either_end_or_the_middle_leaves_nothing) {
  constexpr uint32_t kSize = 20000;
  for (int order = 0; order < 3; ++order) {
    StoredOrdered<PostingEntry> index;
    for (uint32_t n = 0; n < kSize; ++n) index.insert(entry<PostingEntry>(n));
    for (uint32_t n = 0; n < kSize; ++n) {
      const uint32_t middle = n % 2 == 0 ? kSize / 2 + n / 2 : kSize / 2 - 1 - n / 2;
      ASSERT_TRUE(index.erase(entry<PostingEntry>(order == 0 ? n : order == 1 ? kSize - 1 - n : middle)));
    }
    index.rest();
    EXPECT_EQ(index.bytesInUse(), 0u) << "order " << order;
  }
}

template <class Entry>
double bytesPerEntry(StoredOrdered<Entry>& index, uint32_t entries) {
  index.rest();
  return static_cast<double>(index.bytesInUse()) / entries;
}

TEST(OrderedIndex, an_ascending_load_leaves_full_nodes) {
  constexpr uint32_t kSize = 100000;
  StoredOrdered<PostingEntry> postings;
  StoredOrdered<OrderedEntry> ordered;
  for (uint32_t n = 0; n < kSize; ++n) {
    postings.insert(entry<PostingEntry>(n));
    ordered.insert(entry<OrderedEntry>(n));
  }
  EXPECT_LT(bytesPerEntry(postings, kSize), 1.1 * sizeof(PostingEntry));
  EXPECT_LT(bytesPerEntry(ordered, kSize), 1.15 * sizeof(OrderedEntry));
}

TEST(OrderedIndex, a_load_of_interleaved_ascending_runs_leaves_nearly_full_nodes) {
  constexpr uint32_t kSize = 200000;
  StoredOrdered<PostingEntry> index;
  for (uint32_t n = 0; n < kSize; ++n) index.insert({n % 256, n});
  EXPECT_LT(bytesPerEntry(index, kSize), 1.4 * sizeof(PostingEntry));
}

TEST(OrderedIndex, an_insert_or_erase_that_changes_nothing_takes_no_memory) {
  StoredOrdered<PostingEntry> index;
  for (uint32_t n = 0; n < 1000; ++n) index.insert(entry<PostingEntry>(2 * n));
  const uint64_t before = index.bytesInUse();
  for (uint32_t n = 0; n < 1000; ++n) {
    EXPECT_FALSE(index.insert(entry<PostingEntry>(2 * n)));
    EXPECT_FALSE(index.erase(entry<PostingEntry>(2 * n + 1)));
  }
  EXPECT_LE(index.bytesInUse(), before);
}

TEST(OrderedIndex, a_reader_keeps_its_state_for_kRestingWrites_less_one) {
  // Two leaves, both thinned until they are merged, which replaces all that the root led to.
  StoredOrdered<PostingEntry> index;
  for (uint32_t n = 0; n < 2 * 63; ++n) index.insert(entry<PostingEntry>(n));
  for (uint32_t n = 2 * 63 - 1; n >= 63 + 20; --n) index.erase(entry<PostingEntry>(n));
  OrderedIndexState held = index.held();
  std::vector<PostingEntry> before;
  for (uint32_t n = 0; index.held().root == held.root; ++n) {
    before = walk(index, 64);
    ASSERT_TRUE(index.erase(entry<PostingEntry>(n)));
  }
  ASSERT_GT(before.size(), 40u);
  struct View {
    using Entry = PostingEntry;
    OrderedIndex<PostingEntry> index;
    uint32_t above(const Entry& bound, bool inclusive, Entry* out, uint32_t most) const {
      return index.above(bound, inclusive, out, most);
    }
  };
  const View view{{index.heap, held}};
  for (uint64_t write = 1; write < kRestingWrites; ++write) {
    ASSERT_EQ(walk(view, 64), before) << "after " << write << " writes";
    index.insert(entry<PostingEntry>(1000 + static_cast<uint32_t>(write * 7 % 1000)));
  }
}

// A reader that was overtaken sees reused memory. It may answer anything, but it must answer.
TEST(OrderedIndex, reading_garbage_ends_within_bounds) {
  Random random;
  constexpr uint64_t kBytes = 8 * kExtentBytes;
  constexpr uint32_t kStrayRefs = kBytes / kRefUnit + 2;
  Ground ground(kBytes);
  for (Ref extent = takeExtent(ground.arena); extent != kNoRef; extent = takeExtent(ground.arena)) {
    auto* words = ground.arena.at<uint32_t>(extent);
    for (uint32_t i = 0; i < kExtentBytes / 4; ++i) {
      const uint32_t kind = random() % 4;
      words[i] = kind == 0 ? random() : kind == 1 ? random() % 64 : random() % kStrayRefs;
    }
  }
  uint64_t answers = 0;
  for (int read = 0; read < 50000; ++read) {
    OrderedIndexState root{random() % kStrayRefs};
    OrderedEntry out[40];
    const uint32_t count =
        OrderedIndex<OrderedEntry>(ground.heap, root).above(entry<OrderedEntry>(random()), true, out, 40);
    ASSERT_LE(count, 40u);
    answers += count;
    PostingEntry posting[100];
    ASSERT_LE(OrderedIndex<PostingEntry>(ground.heap, root).above({random(), random()}, false, posting, 100), 65u);
  }
  EXPECT_GT(answers, 0u) << "the garbage was not interesting enough to be followed";
}

// Multiples of three stay; the others come and go. A walk beside that sees every multiple of three, once, in order.
TEST(OrderedIndexThreads, a_walk_beside_a_writer_sees_what_stays_and_nothing_twice) {
  constexpr uint32_t kSize = 3000;
  const uint32_t seed = testSeed();
  StoredOrdered<PostingEntry> index;
  for (uint32_t n = 0; n < kSize; n += 3) index.insert({n, n});
  std::jthread writer([&](std::stop_token stop) {
    Random random(seed);
    while (!stop.stop_requested()) {
      // Whole stretches, so that leaves split and merge under the walk.
      const uint32_t begin = random() % kSize;
      const bool fill = random() % 2 == 0;
      for (uint32_t n = begin; n < std::min(begin + 300, kSize); ++n) {
        if (n % 3 == 0) continue;
        if (fill) {
          index.insert({n, n});
        } else {
          index.erase({n, n});
        }
      }
    }
  });
  for (int round = 0; round < 200; ++round) {
    PostingEntry bound{0, 0};
    bool inclusive = true;
    uint32_t due = 0;
    for (;;) {
      struct Some {
        uint32_t count;
        PostingEntry entries[20];
      };
      const Some some = readStable(index.heap, [&] {
        Some result;
        result.count = index.above(bound, inclusive, result.entries, 20);
        return result;
      });
      if (some.count == 0) break;
      for (uint32_t i = 0; i < some.count; ++i) {
        const PostingEntry& seen = some.entries[i];
        ASSERT_EQ(seen.key, seen.record);
        ASSERT_LT(seen.key, kSize);
        ASSERT_TRUE(inclusive || seen > bound);
        ASSERT_LE(seen.key, due) << "passed over an entry that stayed";
        if (seen.key == due) due += 3;
        bound = seen;
        inclusive = false;
      }
    }
    ASSERT_EQ(due, kSize);
  }
}

}  // namespace
}  // namespace fibdb::store
