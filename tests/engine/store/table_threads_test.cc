// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/table_threads_test.cc: readers beside writers: no torn row, nothing missed, nothing twice.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "engine/store/table.h"
#include "fibdb/engine.h"
#include "tests/engine/store/accounting.h"
#include "tests/support/table_twin.h"
#include "tests/support/toy_tables.h"

namespace fibdb::test {
namespace {

using store::Change;
using store::Cursor;
using store::Store;
using store::Table;

// A row whose words all follow from its key and a stamp, so that a mixture of two rows shows.
inline constexpr auto kFields = schema::laidOut({
    Field{"vrf", FieldKind::kNumber, 4, 1},
    Field{"addr", FieldKind::kNumber, 4, 1},
    Field{"mask", FieldKind::kNumber, 1, 1},
    Field{"pad", FieldKind::kPad, 1, 3},
    Field{"group", FieldKind::kNumber, 4, 1},
    Field{"stamp", FieldKind::kNumber, 4, 1},
    Field{"proof", FieldKind::kNumber, 4, 26},
    Field{"tail", FieldKind::kNumber, 1, 1},
});
inline constexpr schema::Index kIndexes[] = {
    schema::indexOf(kFields, 0, IndexKind::kPrimary, "vrf, addr, mask"),
    schema::indexOf(kFields, 1, IndexKind::kSecondary, "group"),
    schema::indexOf(kFields, 3, IndexKind::kLongest, "vrf, addr, mask"),
    schema::indexOf(kFields, 4, IndexKind::kOrdered, "vrf, addr, mask"),
};
inline constexpr schema::Table kTables[] = {{"proved", schema::rowLengthOf(kFields), kFields, kIndexes}};

constexpr uint32_t kStaying = 64;   // records that are never removed; in group 0 when their number is even
constexpr uint32_t kPassing = 256;  // records that come and go
constexpr uint32_t kGroups = 4;

struct Row {
  uint32_t vrf, addr;
  uint8_t mask, pad[3];
  uint32_t group, stamp, proof[26];
  uint8_t tail;
};
static_assert(offsetof(Row, tail) == schema::offsetOf(kFields, "tail"));
constexpr size_t kRowLength = schema::rowLengthOf(kFields);

Row rowOf(uint32_t number, uint32_t group, uint32_t stamp) {
  Row row{};
  row.addr = number << 8;
  row.mask = 24;
  row.group = group;
  row.stamp = stamp;
  for (uint32_t i = 0; i < 26; ++i) row.proof[i] = (row.addr ^ stamp) * (2 * i + 1) + group;
  row.tail = static_cast<uint8_t>(row.proof[7]);
  return row;
}

bool isWhole(const Row& row) {
  const Row expected = rowOf(row.addr >> 8, row.group, row.stamp);
  return std::memcmp(&row, &expected, kRowLength) == 0;
}

uint32_t groupOf(uint32_t number, uint32_t stamp) {
  return number < kStaying && number % 2 == 0 ? 0 : 1 + stamp % (kGroups - 1);
}

class Threads : public testing::Test {
 protected:
  void write(uint32_t number, uint32_t stamp) {
    const Row row = rowOf(number, groupOf(number, stamp), stamp);
    Change change;
    expectThat(table_.write(bytes(row), change) == 0);
  }
  void remove(uint32_t number) {
    const Row row = rowOf(number, 0, 0);
    uint64_t removed = 0;
    table_.remove(kIndexes[0], bytes(row), removed);
  }
  static const uint8_t* bytes(const Row& row) { return reinterpret_cast<const uint8_t*>(&row); }
  static uint8_t* bytes(Row& row) { return reinterpret_cast<uint8_t*>(&row); }
  void expectThat(bool holds, int line = __builtin_LINE()) {
    if (holds) return;
    int none = 0;
    firstFailure_.compare_exchange_strong(none, line);
    ++failures_;
  }

  void scribble(uint64_t seed, uint32_t writes) {
    std::mt19937_64 random(seed);
    while (reads_ == 0) std::this_thread::yield();  // on a busy machine readers may come late
    for (uint32_t i = 0; i < writes; ++i) {
      const auto number = static_cast<uint32_t>(random() % (kStaying + kPassing));
      const auto stamp = static_cast<uint32_t>(random());
      if (number < kStaying || random() % 2 == 0) {
        write(number, stamp);
      } else {
        remove(number);
      }
    }
    --writers_;
  }

  void readKeys(uint64_t seed) {
    std::mt19937_64 random(seed);
    while (writers_ > 0) {
      const auto number = static_cast<uint32_t>(random() % (kStaying + kPassing));
      Row row = rowOf(number, 0, 0);
      const Row key = row;
      const uint32_t code = table_.read(kIndexes[0], bytes(key), bytes(row));
      expectThat(code == 0 ? isWhole(row) && row.addr == key.addr : number >= kStaying);
      ++reads_;
    }
  }

  void readPrefixes(uint64_t seed) {
    std::mt19937_64 random(seed);
    while (writers_ > 0) {
      const auto number = static_cast<uint32_t>(random() % kStaying);
      Row row = rowOf(number, 0, 0);
      uint8_t key[9] = {};
      const uint32_t host = row.addr + 7;
      std::memcpy(key + 4, &host, sizeof host);
      key[8] = 32;
      Cursor cursor;
      expectThat(cursor.openKey(table_, kIndexes[2], key) == 0 && cursor.next(bytes(row)) == 0);
      expectThat(isWhole(row) && row.addr >> 8 == number);
      expectThat(cursor.next(bytes(row)) == DB_ERR_ITER_END);
      ++reads_;
    }
  }

  // Every record that stays is met once, whole; no record is met twice.
  void expectWalk(Cursor& cursor, uint32_t staying) {
    std::set<uint32_t> seen;
    uint32_t stayed = 0;
    for (Row row{}; cursor.next(bytes(row)) == 0;) {
      expectThat(isWhole(row) && seen.insert(row.addr).second);
      stayed += row.addr >> 8 < kStaying ? 1 : 0;
    }
    expectThat(stayed == staying);
    ++reads_;
  }

  void walk() {
    const uint8_t low[9] = {};
    const uint8_t high[9] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    while (writers_ > 0) {
      Cursor cursor;
      cursor.openAll(table_);
      expectWalk(cursor, kStaying);
      cursor.openRange(table_, kIndexes[3], low, high);
      expectWalk(cursor, kStaying);
      cursor.openKey(table_, kIndexes[1], low);
      expectWalk(cursor, kStaying / 2);
    }
  }

  Store store_{kTables, kSmallArena};
  Table& table_ = store_.table(0);
  std::atomic<int> writers_{0};
  std::atomic<uint64_t> failures_{0}, reads_{0};
  std::atomic<int> firstFailure_{0};  // its line
};

TEST_F(Threads, readers_beside_two_writers_see_whole_rows_and_every_record_that_stays) {
  const uint64_t seed = testSeed();
  SCOPED_TRACE(testing::Message() << "FIBDB_SEED=" << seed);
  std::printf("FIBDB_SEED=%llu\n", static_cast<unsigned long long>(seed));
  for (uint32_t number = 0; number < kStaying; ++number) write(number, number);
  writers_ = 2;
  std::vector<std::thread> threads;
  threads.emplace_back([&] { scribble(seed, 40000); });
  threads.emplace_back([&] { scribble(seed + 1, 40000); });
  threads.emplace_back([&] { readKeys(seed + 2); });
  threads.emplace_back([&] { readPrefixes(seed + 3); });
  threads.emplace_back([&] { walk(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_GT(reads_, 0U);
  EXPECT_EQ(failures_, 0U) << "the first in line " << firstFailure_;

  Cursor cursor;
  cursor.openAll(table_);
  uint64_t found = 0;
  for (Row row{}; cursor.next(bytes(row)) == 0;) ++found;
  EXPECT_EQ(found, table_.count());
  EXPECT_EQ(store::accountOf(store_), "");
}

// Of a wide and a narrow prefix, and of the two records of a group, one is always there: each is written before the
// other is removed. Whoever looks while they are exchanged finds one of them, and counts one or two.
TEST_F(Threads, a_single_read_beside_an_exchange_never_answers_what_was_never_true) {
  const auto prefix = [](uint8_t mask, uint32_t group) {
    Row row = rowOf(0x0A0000, group, mask);
    row.mask = mask;
    return row;
  };
  const Row always = prefix(0, 1), wide = prefix(20, 2), narrow = prefix(24, 2);
  const auto put = [&](const Row& row) {
    Change change;
    expectThat(table_.write(bytes(row), change) == 0);
  };
  const auto drop = [&](const Row& row) {
    uint64_t removed = 0;
    expectThat(table_.remove(kIndexes[0], bytes(row), removed) == 0);
  };
  put(always);
  put(narrow);
  writers_ = 1;
  std::thread writer([&] {
    for (int i = 0; i < 60000; ++i) {
      put(wide);
      drop(narrow);
      put(narrow);
      drop(wide);
    }
    --writers_;
  });
  uint8_t host[9] = {};
  std::memcpy(host + 4, &narrow.addr, sizeof narrow.addr);
  host[8] = 32;
  constexpr uint32_t kAddresses = 40;
  uint32_t addresses[kAddresses];
  std::ranges::fill(addresses, narrow.addr);
  const auto* group = reinterpret_cast<const uint8_t*>(&wide.group);
  while (writers_ > 0) {
    Row row{};
    Cursor cursor;
    uint64_t inGroup = 0;
    expectThat(cursor.openKey(table_, kIndexes[2], host) == 0 && cursor.next(bytes(row)) == 0 && row.mask >= 20);
    // The addresses lie at both sides of a run.
    uint8_t each[kAddresses][kRowLength], found[kAddresses];
    expectThat(table_.lookUpEach(kIndexes[2], host, addresses, kAddresses, each[0], found) == 0);
    for (uint32_t i = 0; i < kAddresses; ++i) expectThat(found[i] == 1 && each[i][offsetof(Row, mask)] >= 20);
    expectThat(table_.read(kIndexes[1], group, bytes(row)) == 0 && row.group == wide.group);
    expectThat(table_.countByKey(kIndexes[1], group, inGroup) == 0 && (inGroup == 1 || inGroup == 2));
    const uint64_t all = table_.count();
    expectThat(all == 2 || all == 3);
    ++reads_;
  }
  writer.join();
  EXPECT_GT(reads_, 0U);
  EXPECT_EQ(failures_, 0U) << "the first in line " << firstFailure_;
}

// Two records whose keys meet in one bucket with one tag; one comes and goes, the other is not touched.
TEST_F(Threads, a_record_that_nobody_touches_is_always_there) {
  const store::KeyShape shape(kIndexes[0].parts());
  const auto hashOf = [&](const Row& row) {
    store::Key key;
    shape.fromRow(bytes(row), key);
    return key.hash;
  };
  const Row kept = rowOf(1, 0, 0);
  Row passing = rowOf(1, 0, 0);
  // The keys differ in their first word only, over which the store once wrote a link when it removed a record.
  const auto meet = [](uint64_t a, uint64_t b) { return (a & 31) == (b & 31) && a >> 56 == b >> 56; };
  while (passing.vrf == 0 || !meet(hashOf(kept), hashOf(passing))) ++passing.vrf;
  Change change;
  expectThat(table_.write(bytes(passing), change) == 0 && table_.write(bytes(kept), change) == 0);
  writers_ = 1;
  std::thread writer([&] {
    for (int i = 0; i < 200000; ++i) {
      uint64_t removed = 0;
      expectThat(table_.remove(kIndexes[0], bytes(passing), removed) == 0);
      expectThat(table_.write(bytes(passing), change) == 0);
    }
    --writers_;
  });
  while (writers_ > 0) {
    Row row{};
    expectThat(table_.read(kIndexes[0], bytes(kept), bytes(row)) == 0 && isWhole(row));
  }
  writer.join();
  EXPECT_EQ(failures_, 0U) << "the first in line " << firstFailure_;
}

TEST_F(Threads, one_row_changed_over_and_over_is_always_read_whole) {
  write(0, 0);
  writers_ = 1;
  std::thread writer([&] {
    for (uint32_t stamp = 0; stamp < 100000; ++stamp) write(0, stamp);
    --writers_;
  });
  const Row key = rowOf(0, 0, 0);
  while (writers_ > 0) {
    Row row{};
    expectThat(table_.read(kIndexes[0], bytes(key), bytes(row)) == 0 && isWhole(row));
  }
  writer.join();
  EXPECT_EQ(failures_, 0U) << "the first in line " << firstFailure_;
}

}  // namespace
}  // namespace fibdb::test
