// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/cursor_test.cc: cursors against every short sequence of writes.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "engine/store/table.h"
#include "fibdb/engine.h"
#include "tests/support/table_twin.h"
#include "tests/support/toy_tables.h"

namespace fibdb::test {
namespace {

using store::Change;
using store::Cursor;
using store::Store;
using store::Table;

const schema::Table& kRoutes = kToyTables[kRouteTable];
const schema::Index& kPrimary = kRouteIndexes[0];
const schema::Index& kByGroup = kRouteIndexes[1];
const schema::Index& kLongest = kRouteIndexes[2];
const schema::Index& kOrdered = kRouteIndexes[3];

// Record n of the game in a group. The first two share a prefix: they differ below the mask.
Bytes routeRow(uint32_t n, uint16_t group) {
  static constexpr uint32_t kAddrs[] = {0x0A000000, 0x0A000001, 0x0A010000};
  static constexpr uint8_t kMasks[] = {8, 8, 16};
  Bytes row(kRoutes.rowLength);
  row[0] = 1;
  std::memcpy(row.data() + 4, &kAddrs[n], sizeof kAddrs[n]);
  row[8] = kMasks[n];
  std::memcpy(row.data() + 9, &group, sizeof group);
  return row;
}

// A table and its twin, with one cursor of each kind that every record of group 0 belongs to.
class Game {
 public:
  explicit Game(Table& table) : table_(table), twin_(kRoutes) {}

  void write(uint32_t n, uint16_t group) {
    const Bytes row = routeRow(n, group);
    Change mine{}, theirs{};
    EXPECT_EQ(twin_.write(row, theirs), table_.write(row.data(), mine));
  }
  void remove(uint32_t n) {
    const Bytes key = packedKey(kPrimary, routeRow(n, 0));
    uint64_t mine = 0, theirs = 0;
    EXPECT_EQ(twin_.remove(kPrimary, key, theirs), table_.remove(kPrimary, key.data(), mine));
  }
  void open() {
    const Bytes low = packedKey(kOrdered, routeRow(0, 0)), high = packedKey(kOrdered, routeRow(2, 0));
    const Bytes group = packedKey(kByGroup, routeRow(0, 0));
    Bytes host = high;
    host.back() = 32;
    Cursor all, grouped, range, covering;
    all.openAll(table_);
    EXPECT_EQ(grouped.openKey(table_, kByGroup, group.data()), 0U);
    EXPECT_EQ(range.openRange(table_, kOrdered, low.data(), high.data()), 0U);
    EXPECT_EQ(covering.openKey(table_, kLongest, host.data()), 0U);
    walks_.push_back({all, CursorTwin(twin_, nullptr, {}, {})});
    walks_.push_back({grouped, CursorTwin(twin_, &kByGroup, group, {})});
    walks_.push_back({range, CursorTwin(twin_, &kOrdered, low, high)});
    walks_.push_back({covering, CursorTwin(twin_, &kLongest, host, {})});
  }
  // Moves every cursor on and returns what is wrong; empty if nothing.
  std::string next() {
    for (Walk& walk : walks_) {
      const std::string wrong = step(walk);
      if (!wrong.empty()) return wrong;
    }
    return "";
  }
  std::string finish() {
    std::string wrong;
    for (int i = 0; i < 5 && wrong.empty(); ++i) wrong = next();
    for (const Walk& walk : walks_) {
      if (wrong.empty() && !walk.ended) wrong = "no end";
    }
    return wrong;
  }

 private:
  struct Walk {
    Cursor cursor;
    CursorTwin twin;
    bool ended = false;
  };

  std::string step(Walk& walk) {
    Bytes row(kRoutes.rowLength);
    const uint32_t code = walk.cursor.next(row.data());
    if (code == 0) return walk.twin.got(row);
    if (code != DB_ERR_ITER_END) return "a code that is not the end's";
    // Later writes do not concern a walk that has ended.
    const std::string wrong = walk.ended ? "" : walk.twin.end();
    walk.ended = true;
    return wrong;
  }

  Table& table_;
  TableTwin twin_;
  std::vector<Walk> walks_;
};

enum Move : uint8_t { kNext, kWrite0, kMove0, kRemove0, kWrite1, kMove1, kRemove1, kWrite2, kRemove2, kMoves };

std::string apply(Game& game, uint8_t move) {
  switch (move) {
    case kNext:
      return game.next();
    case kWrite0:
      return game.write(0, 0), "";
    case kMove0:
      return game.write(0, 1), "";
    case kRemove0:
      return game.remove(0), "";
    case kWrite1:
      return game.write(1, 0), "";
    case kMove1:
      return game.write(1, 1), "";
    case kRemove1:
      return game.remove(1), "";
    case kWrite2:
      return game.write(2, 0), "";
    default:
      return game.remove(2), "";
  }
}

// Plays every sequence of `length` moves out of `moves` after the records in `present` were written.
void playAll(size_t length, uint8_t moves, std::vector<uint32_t> present) {
  Store store(kToyTables, kSmallArena);
  Table& table = store.table(kRouteTable);
  std::vector<uint8_t> sequence(length, 0);
  for (;;) {
    Game game(table);
    for (const uint32_t n : present) game.write(n, 0);
    game.open();
    std::string wrong;
    for (size_t i = 0; i < length && wrong.empty(); ++i) wrong = apply(game, sequence[i]);
    if (wrong.empty()) wrong = game.finish();
    ASSERT_EQ(wrong, "") << "after " << testing::PrintToString(sequence);
    for (uint32_t n = 0; n < 3; ++n) game.remove(n);

    size_t digit = 0;
    while (digit < length && ++sequence[digit] == moves) sequence[digit++] = 0;
    if (digit == length) return;
  }
}

TEST(Cursor, over_two_records_survives_every_sequence_of_six_moves) { playAll(6, kWrite2, {0, 1}); }
TEST(Cursor, over_three_records_survives_every_sequence_of_five_moves) { playAll(5, kMoves, {0, 1, 2}); }
TEST(Cursor, over_nothing_survives_every_sequence_of_five_moves) { playAll(5, kWrite2, {}); }

// More records than a cursor reads ahead.
class LongWalk : public testing::Test {
 protected:
  static constexpr uint32_t kRecords = 500;

  static Bytes nth(uint32_t n, uint16_t group) {
    Bytes row(kRoutes.rowLength);
    std::memcpy(row.data() + 4, &n, sizeof n);
    row[8] = 32;
    std::memcpy(row.data() + 9, &group, sizeof group);
    return row;
  }
  void write(uint32_t n, uint16_t group) {
    Change change;
    ASSERT_EQ(table_.write(nth(n, group).data(), change), 0U);
  }
  void remove(uint32_t n) {
    uint64_t removed = 0;
    ASSERT_EQ(table_.remove(kPrimary, packedKey(kPrimary, nth(n, 0)).data(), removed), 0U);
  }
  std::set<uint32_t> rest(Cursor& cursor) {
    std::set<uint32_t> seen;
    Bytes row(kRoutes.rowLength);
    while (cursor.next(row.data()) == 0) {
      EXPECT_TRUE(seen.insert(static_cast<uint32_t>(numberAt(row.data() + 4, 4))).second);
    }
    return seen;
  }
  void SetUp() override {
    for (uint32_t n = 0; n < kRecords; ++n) write(n, 0);
  }

  Store store_{kToyTables, kSmallArena};
  Table& table_ = store_.table(kRouteTable);
  const Bytes group_ = packedKey(kByGroup, nth(0, 0));
};

TEST_F(LongWalk, under_a_key_that_vanishes_and_returns_goes_on_behind_its_position) {
  Cursor cursor;
  Bytes row(kRoutes.rowLength);
  ASSERT_EQ(cursor.openKey(table_, kByGroup, group_.data()), 0U);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(cursor.next(row.data()), 0U);
  for (uint32_t n = 0; n < kRecords; ++n) write(n, 1);
  // The block of the key rests and is given away before the key comes back.
  for (uint32_t n = 0; n < 3 * store::kRestingWrites; ++n) write(n % kRecords, static_cast<uint16_t>(2 + n % 7));
  for (uint32_t n = 0; n < kRecords; ++n) write(n, 0);
  EXPECT_EQ(rest(cursor).size(), kRecords - 100);
}

TEST_F(LongWalk, over_a_range_whose_records_are_replaced_by_young_ones_returns_only_the_old) {
  Cursor cursor;
  const Bytes low = packedKey(kOrdered, nth(100, 0)), high = packedKey(kOrdered, nth(299, 0));
  ASSERT_EQ(cursor.openRange(table_, kOrdered, low.data(), high.data()), 0U);
  for (uint32_t n = 0; n < kRecords; n += 2) {
    remove(n);
    write(n, 0);
  }
  const std::set<uint32_t> seen = rest(cursor);
  EXPECT_EQ(seen.size(), 100U);
  for (const uint32_t n : seen) EXPECT_TRUE(n % 2 == 1 && n >= 100 && n <= 299) << n;
}

TEST_F(LongWalk, that_removes_what_it_returns_empties_the_table) {
  Cursor cursor;
  Bytes row(kRoutes.rowLength);
  cursor.openAll(table_);
  uint32_t returned = 0;
  for (; cursor.next(row.data()) == 0; ++returned) remove(static_cast<uint32_t>(numberAt(row.data() + 4, 4)));
  EXPECT_EQ(returned, kRecords);
  EXPECT_EQ(table_.count(), 0U);
}

TEST_F(LongWalk, over_all_does_not_chase_records_that_are_written_meanwhile) {
  Cursor cursor;
  Bytes row(kRoutes.rowLength);
  cursor.openAll(table_);
  uint32_t returned = 0;
  for (; cursor.next(row.data()) == 0; ++returned) write(kRecords + returned, 0);
  EXPECT_EQ(returned, kRecords);
}

TEST_F(LongWalk, in_an_empty_range_ends_at_once) {
  Cursor cursor;
  Bytes row(kRoutes.rowLength);
  const Bytes low = packedKey(kOrdered, nth(300, 0)), high = packedKey(kOrdered, nth(299, 0));
  ASSERT_EQ(cursor.openRange(table_, kOrdered, low.data(), high.data()), 0U);
  EXPECT_EQ(cursor.next(row.data()), uint32_t{DB_ERR_ITER_END});
}

}  // namespace
}  // namespace fibdb::test
