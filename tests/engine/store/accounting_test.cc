// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/accounting_test.cc: after any history every block has one owner, and every index is right.
#include "tests/engine/store/accounting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "fibdb/engine.h"
#include "tests/support/table_twin.h"
#include "tests/support/toy_tables.h"

namespace fibdb::test {
namespace {

using store::accountOf;
using store::Change;
using store::Store;
using store::Table;

// Random writes, moves and removals; small key spaces, so that keys meet, come and go.
void churn(Table& table, RowSource& source, size_t writes) {
  Change change;
  for (size_t i = 0; i < writes; ++i) {
    const Bytes row = source.row();
    uint64_t removed = 0;
    if (source.below(3) != 0) {
      table.write(row.data(), change);
    } else {
      const auto& indexes = table.layout().indexes;
      const schema::Index& index = indexes[source.below(4) == 0 ? source.below(indexes.size()) : 0];
      table.remove(index, packedKey(index, row).data(), removed);
    }
  }
}

class Account : public testing::Test {
 protected:
  const uint64_t seed_ = testSeed();
  testing::ScopedTrace trace_{__FILE__, __LINE__, testing::Message() << "FIBDB_SEED=" << seed_};
};

TEST_F(Account, of_an_empty_store_is_clean) {
  Store store(kToyTables, kSmallArena);
  EXPECT_EQ(accountOf(store), "");
}

TEST_F(Account, is_clean_after_every_round_of_a_random_history) {
  Store store(kToyTables, kSmallArena);
  for (int round = 0; round < 30; ++round) {
    for (size_t i = 0; i < store.tableCount(); ++i) {
      RowSource source(store.table(i).layout(), seed_ + static_cast<uint64_t>(round));
      churn(store.table(i), source, 200);
    }
    ASSERT_EQ(accountOf(store), "") << "round " << round;
  }
}

TEST_F(Account, is_clean_for_every_table_of_the_schema) {
  Store store(schema::kTables, kSmallArena * 4);
  for (size_t i = 0; i < store.tableCount(); ++i) {
    RowSource source(store.table(i).layout(), seed_);
    churn(store.table(i), source, 2000);
  }
  EXPECT_EQ(accountOf(store), "");
}

// Filled to the brim and emptied, by turns: nothing is lost, and nothing is owned twice.
void fillAndEmpty(Store& store, uint32_t refusal) {
  Table& table = store.table(kRouteTable);
  const auto row = [&](uint32_t n) {
    Bytes bytes(table.layout().rowLength);
    const uint32_t addr = n * 0x01000193;
    std::memcpy(bytes.data() + 4, &addr, sizeof addr);
    bytes[8] = static_cast<uint8_t>(8 + n % 25);
    bytes[9] = static_cast<uint8_t>(n % 50);
    return bytes;
  };
  Change change;
  uint32_t filled = 0;
  for (uint32_t round = 0; round < 3; ++round) {
    uint32_t code = 0;
    uint32_t next = 0;
    while ((code = table.write(row(next).data(), change)) == 0) ++next;
    ASSERT_EQ(code, refusal);
    filled = next;
    ASSERT_EQ(accountOf(store), "") << "full, round " << round;
    uint64_t removed = 0;
    for (uint32_t n = 0; n < filled; ++n) {
      const Bytes key = packedKey(table.layout().primary(), row(n * 7919 % filled));
      table.remove(table.layout().primary(), key.data(), removed);
    }
    ASSERT_EQ(accountOf(store), "") << "emptied, round " << round;
  }
}

TEST_F(Account, is_clean_at_a_memory_limit) {
  Store store(kToyTables, kSmallArena);
  store.table(kRouteTable).setLimits({.bytes = 8 * store::kExtentBytes});
  fillAndEmpty(store, DB_ERR_MEMORY_LIMIT);
}

TEST_F(Account, is_clean_at_the_end_of_the_arena) {
  Store store(kToyTables, 10 * store::kExtentBytes);
  fillAndEmpty(store, DB_ERR_NO_MEMORY);
}

// The account sees what is wrong: each of these is done to a clean store behind its back.
class Damaged : public testing::Test {
 protected:
  void SetUp() override {
    RowSource source(table_.layout(), 1);
    Change change;
    for (int i = 0; i < 500; ++i) table_.write(source.row().data(), change);
    ASSERT_EQ(accountOf(store_), "");
  }
  void expect(const std::string& finding) { EXPECT_THAT(accountOf(store_), testing::HasSubstr(finding)); }

  template <class T>
  T* at(store::Ref ref) {
    return store_.arena().at<T>(ref);
  }
  store::TableState& state() { return store::Check::stateOf(table_); }
  // A bucket with references in it, and the first of them.
  store::HashBucket& bucketOf(size_t index, uint32_t*& first) {
    const store::Ref leaf = *at<store::Ref>(state().indexes[index].hash.directory);
    auto* bucket = at<store::HashBucket>(*at<store::Ref>(leaf));
    for (;; ++bucket) {
      first = std::find_if(bucket->refs, std::end(bucket->refs), [](uint32_t ref) { return ref != store::kNoRef; });
      if (first != std::end(bucket->refs)) return *bucket;
    }
  }
  // A leaf of an ordered index in words: how many entries, the level, the entries.
  uint32_t* leafOf(const store::OrderedIndexState& index) {
    auto* node = at<uint32_t>(index.root);
    while (node[1] > 0) node = at<uint32_t>(node[2 + kEntryWords]);
    return node;
  }
  // The first trie, in words: leading columns, a time, the root, how many prefixes.
  uint32_t* trie() { return at<uint32_t>(leafOf(state().indexes[2].prefixes.order)[2 + kEntryWords - 1]); }

  static constexpr store::Ref kHeadUnits = 8;  // before the slots of an extent of records
  static constexpr size_t kEntryWords = sizeof(store::OrderedEntry) / sizeof(uint32_t);
  Store store_{kToyTables, kSmallArena};
  Table& table_ = store_.table(kRouteTable);
};

TEST_F(Damaged, a_block_that_nobody_owns_is_missed) {
  state().heap.openUnits -= 2;
  expect("route: 2 units belong to nobody, the first at ");
}

TEST_F(Damaged, a_block_that_two_own_is_seen) {
  store::Heap heap(store_.arena(), state().heap);
  heap.release(state().indexes[3].order.root, store::kPieceBytes);
  expect("route: index 3: lies over free block: ");
}

TEST_F(Damaged, a_block_outside_of_what_the_table_has_taken_is_seen) {
  state().indexes[3].order.root += store::kExtentBytes / store::kRefUnit * 100;
  expect("route: index 3: lies outside of the table's memory: ");
}

TEST_F(Damaged, a_block_longer_than_its_extent_is_seen) {
  state().heap.openUnits = ~0U;
  expect("route: free block: lies outside of the table's memory: ");
}

TEST_F(Damaged, a_block_in_the_memory_of_another_table_is_seen) {
  Change change;
  RowSource source(store_.table(0).layout(), 1);
  store_.table(0).write(source.row().data(), change);
  state().indexes[3].order.root = store::Check::stateOf(store_.table(0)).heap.open;
  expect("route: index 3: lies outside of the table's memory: ");
}

TEST_F(Damaged, a_chain_that_runs_in_a_circle_is_seen) {
  uint32_t* first;
  store::HashBucket& bucket = bucketOf(0, first);
  bucket.next = *at<store::Ref>(*at<store::Ref>(state().indexes[0].hash.directory));
  expect("route: index 0: lies over index 0: ");
}

TEST_F(Damaged, a_list_of_free_slots_that_runs_in_a_circle_is_seen) {
  RowSource source(table_.layout(), 1);
  for (int i = 0; i < 2; ++i) {
    uint64_t removed = 0;
    const Bytes key = packedKey(table_.layout().primary(), source.row());
    ASSERT_EQ(table_.remove(table_.layout().primary(), key.data(), removed), 0U);
  }
  // The list runs through the stamps behind the slots: of its two slots, that of the first names the second.
  const store::Ref extent = state().records.firstExtent;
  auto* const words = at<uint64_t>(extent);
  const store::Ref first = state().records.free;
  const auto* const link = std::find_if(words + 16, words + store::kExtentBytes / sizeof(uint64_t), [&](uint64_t word) {
    return word > extent && word != first && word < extent + store::kExtentBytes / store::kRefUnit;
  });
  const_cast<uint64_t&>(*link) = first;
  expect("route: records: twice in the list of free slots: ");
}

TEST_F(Damaged, absurd_numbers_of_buckets_entries_and_levels_are_seen) {
  state().indexes[0].hash.buckets = ~0U;
  uint32_t* const leaf = leafOf(state().indexes[3].order);
  leaf[0] = 0xFFFF;
  expect("route: index 0: more buckets than there can be");
  expect("route: index 3: a node of another size: ");
  leaf[1] = ~0U;
  expect("route: index 3: a node of another level: ");
}

TEST_F(Damaged, a_wrong_count_is_seen) {
  state().count.settleArrival(store::kNoRef);
  ++state().indexes[0].hash.count;
  state().heap.heldBytes += store::kExtentBytes;
  ++state().heap.freePieces;
  state().heap.free[store::kSizeClasses - 1].word += uint64_t{1} << 32;
  expect("route: records: counted");
  expect("route: index 0: miscounted");
  expect(" bytes are held, and ");
  expect("route: free block: pieces are miscounted");
  expect("route: free block: blocks of a size are miscounted");
}

TEST_F(Damaged, a_live_record_that_is_announced_once_more_is_seen) {
  uint32_t* first;
  bucketOf(0, first);
  state().count.announceArrival(*first);
  expect("route: records: counted");
}

TEST_F(Damaged, free_blocks_on_the_wrong_shelf_are_seen) {
  state().heap.shelves[0] ^= 1;
  state().heap.shelves[1] ^= 1;
  expect("route: free block: a size is marked wrongly");
}

TEST_F(Damaged, a_queue_that_is_out_of_order_is_seen) {
  auto* const chunk = at<uint32_t>(state().heap.oldestResting);  // the next, begin, end, and from the fifth on: entries
  at<uint64_t>(state().heap.oldestResting)[2 + 2 * chunk[1]] = ~uint64_t{0};
  state().heap.newestResting = state().records.firstExtent;
  expect("route: queue: times are out of order: ");
  expect("route: queue: does not end where it must: ");
  chunk[2] = 0xFFFF;
  expect("route: queue: more entries than there can be: ");
}

TEST_F(Damaged, extents_of_records_that_are_out_of_order_are_seen) {
  const store::Ref extent = state().records.firstExtent;
  ++at<uint32_t>(extent)[1];  // the slots in use
  expect("route: records: 1 dead slots are lost");
  at<uint32_t>(extent)[1] = 0xFFFFFF;
  state().records.lastExtent = store::kNoRef;
  expect("route: records: another number of slots than there can be: ");
  expect("route: records: do not end where they must: ");
}

TEST_F(Damaged, a_record_as_none_can_be_is_seen) {
  const store::RecordLayout layout(table_.layout().rowLength);
  const store::Ref extent = state().records.firstExtent, first = extent + kHeadUnits;
  const store::Ref last = first + (layout.slotsPerExtent - 1) * layout.slotUnits;
  constexpr uint32_t kChanging = 1, kLive = 2;
  at<uint32_t>(first)[layout.versionWord] |= kChanging | kLive;
  at<uint32_t>(last)[layout.versionWord] |= kLive;
  at<uint64_t>(last + layout.slotUnits)[0] = ~uint64_t{0};  // the first of the births
  expect("route: records: a change is under way: " + std::to_string(first));
  expect("route: records: live and never taken: " + std::to_string(last));
  expect("route: records: born later than now: " + std::to_string(first));
}

TEST_F(Damaged, keys_without_records_are_seen) {
  state().indexes[1].order.root = store::kNoRef;
  expect("route: index 1: keys without records");
}

TEST_F(Damaged, a_shortcut_that_leads_astray_is_seen) {
  constexpr uint8_t kVirtualRouter = 77;
  Bytes row(table_.layout().rowLength);
  row[0] = kVirtualRouter;
  Change change;
  for (uint32_t n = 0; n < 4000; ++n) {
    const uint32_t addr = 0x0A000000 + (n << 8);
    std::memcpy(row.data() + 4, &addr, sizeof addr);
    row[8] = 24;
    ASSERT_EQ(table_.write(row.data(), change), 0U);
  }
  ASSERT_EQ(accountOf(store_), "");
  auto* const large = at<uint32_t>(at<uint32_t>(state().indexes[2].prefixes.places[0])[kVirtualRouter]);
  const auto shortcuts = std::find_if(large + 8, large + 24, [](uint32_t block) { return block != 0; });
  ASSERT_NE(shortcuts, large + 24);
  auto* const shortcut = at<uint32_t>(*shortcuts);
  *std::find_if(shortcut, shortcut + 512, [](uint32_t node) { return node != 0; }) += 1;
  expect("route: index 2: a shortcut leads astray: ");
}

TEST_F(Damaged, a_record_among_those_of_another_prefix_is_seen) {
  uint32_t* first;
  bucketOf(0, first);
  auto* const row = at<uint8_t>(*first);
  row[4] ^= 0x80;
  row[8] ^= 0x80;  // a mask of more bits than there are
  expect("route: index 2: at another prefix: " + std::to_string(*first));
  row[0] ^= 0x80;
  expect("route: index 2: in another trie: " + std::to_string(*first));
}

TEST_F(Damaged, an_extent_that_no_table_has_is_seen) {
  store::Ref claimed = store::kNoRef;
  ASSERT_NE(store_.arena().takeExtent(77, claimed), store::kNoRef);
  expect("arena: an extent has a wrong owner: ");
}

TEST_F(Damaged, a_key_that_miscounts_is_seen) {
  uint32_t* key;
  bucketOf(1, key);
  *at<uint64_t>(*key) += uint64_t{1} << 32;
  expect("route: index 1: a key miscounts: ");
}

TEST_F(Damaged, a_key_that_is_not_its_records_is_seen) {
  uint32_t* key;
  bucketOf(1, key);
  at<uint32_t>(*key)[4] ^= 0xFF;
  expect("route: index 1: in the wrong bucket: ");
  expect("route: index 1: under another key: ");
}

TEST_F(Damaged, a_tag_that_is_not_of_the_hash_is_seen) {
  uint32_t* first;
  store::HashBucket& bucket = bucketOf(0, first);
  bucket.tags[(first - bucket.refs) / 4] ^= 0xFFFFFFFF;
  expect("route: index 0: with a wrong tag: ");
}

TEST_F(Damaged, a_key_that_two_records_have_is_seen) {
  uint32_t* first;
  bucketOf(0, first);
  uint32_t* const second = std::find_if(first + 1, first + 12, [](uint32_t ref) { return ref != store::kNoRef; });
  std::memcpy(at<void>(*second), at<void>(*first), table_.layout().rowLength);
  expect("route: index 0: a key for the second time: ");
}

TEST_F(Damaged, entries_out_of_order_are_seen) {
  uint32_t* const first = leafOf(state().indexes[3].order) + 2;
  std::swap_ranges(first, first + kEntryWords, first + kEntryWords);
  expect("route: index 3: out of order: ");
}

TEST_F(Damaged, a_node_of_a_trie_as_none_can_be_is_seen) {
  *at<uint64_t>(trie()[6]) |= uint64_t{1} << 63;
  expect("route: index 2: a node as none can be: ");
}

TEST_F(Damaged, a_trie_that_miscounts_is_seen) {
  ++trie()[7];
  expect("route: index 2: prefixes are miscounted, the root: ");
}

TEST_F(Damaged, a_place_that_leads_to_no_trie_is_seen) {
  for (const store::Ref block : state().indexes[2].prefixes.places) {
    if (block != store::kNoRef) at<uint32_t>(block)[1] = state().records.firstExtent;
  }
  expect("route: index 2: a place leads astray, to: ");
}

TEST_F(Damaged, a_record_missing_from_an_index_is_seen) {
  state().indexes[3].order.root = store::kNoRef;
  expect("route: index 3: not entered: ");
}

TEST_F(Damaged, a_slot_that_is_lost_is_seen) {
  uint64_t removed = 0;
  RowSource source(table_.layout(), 1);
  const Bytes key = packedKey(table_.layout().primary(), source.row());
  ASSERT_EQ(table_.remove(table_.layout().primary(), key.data(), removed), 0U);
  state().records.free = store::kNoRef;
  expect("route: records: 1 dead slots are lost");
}

TEST_F(Damaged, an_extent_that_changed_hands_is_seen) {
  state().heap.owner = 0;
  expect("route: takes extents for another table");
}

TEST_F(Damaged, what_is_found_again_and_again_is_one_line_with_its_number) {
  const std::string live = std::to_string(state().count.settled() - 1);
  state().indexes[1].order.root = store::kNoRef;
  expect(" (and " + live + " more)\n");
}

TEST_F(Damaged, a_table_whose_writer_stands_amid_a_write_counts_as_overtaken) {
  store::Heap(store_.arena(), state().heap).log().begin(store::Doing::kStep);
  EXPECT_EQ(accountOf(store_), "route: overtaken\n");
  const auto none = [](const char*, uint32_t, uint64_t) { return true; };
  EXPECT_EQ(store::Check::measure(store_, kRouteTable, none), DB_ERR_OVERTAKEN);
}

TEST_F(Damaged, a_check_ends_when_it_is_told_and_counts_the_tables_before) {
  static_assert(kRouteTable + 1 < std::size(kToyTables), "there are tables behind");
  store::Heap(store_.arena(), state().heap).log().begin(store::Doing::kStep);
  uint32_t visits = 0;
  store::CheckResult result;
  const auto endAtOnce = [&](const char* table, const char* finding) {
    EXPECT_STREQ(table, "route");
    EXPECT_EQ(finding, nullptr);
    ++visits;
    return false;
  };
  ASSERT_EQ(store::Check::run(store_, endAtOnce, result), 0U);
  EXPECT_EQ(visits, 1U);
  EXPECT_EQ(result.overtaken, 1U);
  EXPECT_EQ(result.checked, kRouteTable);
}

// Bytes, words and pages of an arena that is then put right again.
class Vandal {
 public:
  Vandal(Store& store, uint64_t seed)
      : first_(store.arena().at<uint8_t>(0)),
        kept_(first_, first_ + store.arena().usedBytes() + store::kExtentBytes),
        random_(seed) {}

  void damage() {
    const size_t page = below(kept_.size() / kPage) * kPage;
    const size_t word = page + below(kPage / sizeof(uint32_t)) * sizeof(uint32_t);
    hit_.push_back(page);
    switch (below(6)) {
      case 0:
        first_[page + below(kPage)] ^= static_cast<uint8_t>(1 + below(255));
        break;
      case 1:
        putWord(word, static_cast<uint32_t>(random_()));
        break;
      case 2:
        putWord(word, static_cast<uint32_t>(below(kept_.size() / store::kRefUnit)));  // a place in the arena
        break;
      case 3:
        putWord(word, below(2) == 0 ? 0 : ~0U);
        break;
      case 4:
        std::generate_n(first_ + page, kPage, [&] { return static_cast<uint8_t>(random_()); });
        break;
      default:
        std::memcpy(first_ + page, &kept_[below(kept_.size() / kPage) * kPage], kPage);
        break;
    }
  }
  // A word that means something: most are zero.
  void damageContent() {
    for (;;) {
      const size_t at = below(kept_.size() / sizeof(uint32_t)) * sizeof(uint32_t);
      if (wordAt(at) == 0) continue;
      hit_.push_back(at / kPage * kPage);
      return putWord(at, below(2) == 0 ? static_cast<uint32_t>(random_()) : wordAt(at) + 1);
    }
  }
  void putRight() {
    for (const size_t page : hit_) std::memcpy(first_ + page, &kept_[page], kPage);
    hit_.clear();
  }
  bool isRight() const { return std::memcmp(first_, kept_.data(), kept_.size()) == 0; }
  size_t size() const { return kept_.size(); }
  size_t below(size_t bound) { return random_() % bound; }

 private:
  static constexpr size_t kPage = 4096;

  void putWord(size_t at, uint32_t word) { std::memcpy(first_ + at, &word, sizeof word); }
  uint32_t wordAt(size_t at) const {
    uint32_t word;
    std::memcpy(&word, first_ + at, sizeof word);
    return word;
  }

  uint8_t* first_;
  std::vector<uint8_t> kept_;
  std::vector<size_t> hit_;
  std::mt19937_64 random_;
};

TEST_F(Account, of_an_arena_damaged_at_random_ends_changes_nothing_and_stays_in_what_was_taken) {
  Store store(kToyTables, kSmallArena);
  for (size_t i = 0; i < store.tableCount(); ++i) {
    RowSource source(store.table(i).layout(), seed_);
    churn(store.table(i), source, 600);
  }
  ASSERT_EQ(accountOf(store), "");
  Vandal vandal(store, seed_);
  auto* const behind = store.arena().at<uint8_t>(0) + vandal.size();
  ASSERT_EQ(mprotect(behind, store.arena().reservedBytes() - vandal.size(), PROT_NONE), 0);
  size_t named = 0;
  constexpr size_t kRounds = 2000;
  for (size_t round = 0; round < kRounds; ++round) {
    for (size_t left = 1 + vandal.below(4); left > 0; --left)
      vandal.below(2) == 0 ? vandal.damage() : vandal.damageContent();
    named += accountOf(store).empty() ? 0 : 1;
    vandal.putRight();
  }
  ASSERT_TRUE(vandal.isRight());
  EXPECT_EQ(accountOf(store), "");
  EXPECT_GT(named, kRounds / 10);
}

using AccountThreads = Account;
TEST_F(AccountThreads, beside_a_writer_finds_nothing_and_says_when_it_was_overtaken) {
  using namespace std::chrono_literals;
  Store store(kToyTables, kSmallArena);
  std::atomic<bool> done{false};
  std::thread writer([&] {
    RowSource source(store.table(kRouteTable).layout(), seed_);
    while (!done) {
      for (const auto end = std::chrono::steady_clock::now() + 100ms; std::chrono::steady_clock::now() < end;) {
        churn(store.table(kRouteTable), source, 100);
      }
      std::this_thread::sleep_for(20ms);
    }
  });
  store::CheckResult result;
  std::string found;
  const auto visit = [&](const char*, const char* finding) {
    if (finding != nullptr) found += std::string(finding) + "\n";
    return true;
  };
  uint32_t tables = 0;
  const auto end = std::chrono::steady_clock::now() + 20s;
  for (uint32_t checks = 0; checks < 20 || result.overtaken == 0; ++checks) {
    ASSERT_EQ(store::Check::run(store, visit, result), 0U);
    tables += static_cast<uint32_t>(store.tableCount());
    if (std::chrono::steady_clock::now() > end) break;
  }
  done = true;
  writer.join();
  EXPECT_EQ(found, "");
  EXPECT_EQ(result.checked + result.overtaken, tables);
  EXPECT_GT(result.overtaken, 0U);
  EXPECT_EQ(accountOf(store), "");
}

}  // namespace
}  // namespace fibdb::test
