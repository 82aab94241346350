// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/table_test.cc: tables against their twin, and what they promise at limits.
#include <gtest/gtest.h>

#include <list>

#include "engine/store/table.h"
#include "fibdb/engine.h"
#include "tests/engine/store/accounting.h"
#include "tests/support/table_twin.h"
#include "tests/support/toy_tables.h"

namespace fibdb::test {
namespace {

using store::accountOf;
using store::Change;
using store::Cursor;
using store::Store;
using store::Table;

// One random operation after another on a table and its twin, cursors being opened and moved on in between.
class Game {
 public:
  Game(Table& table, uint64_t seed)
      : table_(table), twin_(table.layout()), source_(table.layout(), seed), row_(table.layout().rowLength) {}

  void play(size_t steps) {
    for (size_t step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
      SCOPED_TRACE(testing::Message() << table_.layout().name << ", step " << step);
      move();
    }
    while (!cursors_.empty() && !testing::Test::HasFailure()) moveOn(0);
  }

 private:
  struct Walk {
    Cursor cursor;
    CursorTwin twin;
  };

  const schema::Index& anyIndex() { return table_.layout().indexes[source_.below(table_.layout().indexes.size())]; }

  void move() {
    switch (source_.below(12)) {
      case 0:
      case 1:
      case 2:
      case 3:
        return write();
      case 4:
        return update();
      case 5:
        return remove(table_.layout().primary());
      case 6:
        return source_.below(4) == 0 ? remove(anyIndex()) : remove(table_.layout().primary());
      case 7: {
        const schema::Index& index = anyIndex();
        return index.kind == IndexKind::kLongest ? lookUpEach(index) : read(index);
      }
      case 8:
        return count(anyIndex());
      case 9:
        return open();
      default:
        if (!cursors_.empty()) moveOn(source_.below(cursors_.size()));
    }
  }

  void write() {
    const Bytes row = source_.row();
    Change mine{}, theirs{};
    const uint32_t code = twin_.write(row, theirs);
    ASSERT_EQ(table_.write(row.data(), mine), code);
    if (code == 0) {
      ASSERT_EQ(mine, theirs);
    }
  }

  void update() {
    const Bytes row = source_.row();
    const Bytes key =
        source_.below(2) == 0 ? source_.key(table_.layout().primary()) : packedKey(table_.layout().primary(), row);
    const store::FieldSet staged = source_.below(2) == 0 ? source_.below(1U << 16) : ~store::FieldSet{0};
    ASSERT_EQ(table_.update(key.data(), row.data(), staged), twin_.update(key, row, staged));
  }

  void remove(const schema::Index& index) {
    const Bytes key = source_.key(index);
    uint64_t mine = 0, theirs = 0;
    ASSERT_EQ(table_.remove(index, key.data(), mine), twin_.remove(index, key, theirs));
    ASSERT_EQ(mine, theirs);
  }

  void read(const schema::Index& index) {
    const Bytes key = source_.key(index);
    Bytes expected;
    const uint32_t code = twin_.read(index, key, expected);
    ASSERT_EQ(table_.read(index, key.data(), row_.data()), code);
    if (code == 0) {
      ASSERT_EQ(row_, expected);
    }
  }

  // Addresses below the same leading columns, each as it would be looked up alone.
  void lookUpEach(const schema::Index& index) {
    const size_t count = source_.below(80);
    const Bytes leading = source_.address(index);
    const size_t addrAt = index.keyLength - 5U;
    std::vector<uint32_t> addrs(count);
    for (uint32_t& addr : addrs) std::memcpy(&addr, source_.address(index).data() + addrAt, sizeof addr);
    Bytes rows(count * row_.size());
    std::vector<uint8_t> found(count, 9);
    ASSERT_EQ(
        table_.lookUpEach(index, leading.data(), addrs.data(), static_cast<uint32_t>(count), rows.data(), found.data()),
        0U);
    for (size_t i = 0; i < count; ++i) {
      Bytes key = leading;
      std::memcpy(key.data() + addrAt, &addrs[i], sizeof addrs[i]);
      key[addrAt + sizeof addrs[i]] = 32;
      CursorTwin twin(twin_, &index, key, {});
      const auto row = rows.begin() + static_cast<ptrdiff_t>(i * row_.size());
      ASSERT_LE(found[i], 1);
      ASSERT_EQ(found[i] == 1 ? twin.got(Bytes(row, row + static_cast<ptrdiff_t>(row_.size()))) : twin.end(), "");
    }
  }

  void count(const schema::Index& index) {
    const Bytes key = source_.key(index);
    uint64_t mine = 0, theirs = 0;
    ASSERT_EQ(table_.countByKey(index, key.data(), mine), twin_.countByKey(index, key, theirs));
    ASSERT_EQ(mine, theirs);
    ASSERT_EQ(table_.count(), twin_.records().size());
  }

  void open() {
    Cursor cursor;
    const bool whole = source_.below(4) == 0;
    const schema::Index* index = whole ? nullptr : &anyIndex();
    Bytes key, high;
    uint32_t code = 0, expected = 0;
    if (whole) {
      cursor.openAll(table_);
    } else if (index->kind == IndexKind::kOrdered) {
      key = source_.key(*index);
      high = source_.key(*index);
      code = cursor.openRange(table_, *index, key.data(), high.data());
    } else {
      key = index->kind == IndexKind::kLongest ? source_.address(*index) : source_.key(*index);
      if (index->kind == IndexKind::kLongest && key.back() > 32) expected = DB_ERR_BAD_KEY;
      code = cursor.openKey(table_, *index, key.data());
    }
    ASSERT_EQ(code, expected);
    if (code != 0) return;
    cursors_.push_back({cursor, CursorTwin(twin_, index, key, high)});
    const schema::Field* field = schema::findField(table_.layout().fields, "vr_id");
    if (field != nullptr && source_.below(3) == 0) {
      cursors_.back().cursor.keepOnly(field->offset, 1);
      cursors_.back().twin.keepOnly(*field, 1);
    }
  }

  void moveOn(size_t which) {
    const auto at = std::next(cursors_.begin(), static_cast<ptrdiff_t>(which));
    Walk& walk = *at;
    const uint32_t code = walk.cursor.next(row_.data());
    if (code == 0) {
      ASSERT_EQ(walk.twin.got(row_), "");
      return;
    }
    ASSERT_EQ(code, uint32_t{DB_ERR_ITER_END});
    ASSERT_EQ(walk.twin.end(), "");
    ASSERT_EQ(walk.cursor.next(row_.data()), uint32_t{DB_ERR_ITER_END});
    cursors_.erase(at);
  }

  Table& table_;
  TableTwin twin_;
  RowSource source_;
  Bytes row_;
  std::list<Walk> cursors_;
};

void playEveryTable(std::span<const schema::Table> tables, size_t steps) {
  const uint64_t seed = testSeed();
  SCOPED_TRACE(testing::Message() << "FIBDB_SEED=" << seed);
  std::printf("FIBDB_SEED=%llu\n", static_cast<unsigned long long>(seed));
  Store store(tables, kSmallArena);
  ASSERT_TRUE(store.valid());
  for (size_t i = 0; i < store.tableCount(); ++i) Game(store.table(i), seed + i).play(steps);
  EXPECT_EQ(accountOf(store), "");
}

TEST(Table, toy_tables_do_what_their_twins_do) { playEveryTable(kToyTables, 20000); }
TEST(Table, tables_of_the_schema_do_what_their_twins_do) { playEveryTable(schema::kTables, 3000); }

Bytes routeRow(uint32_t vr, uint32_t addr, uint8_t mask, uint16_t group) {
  Bytes row(kToyTables[kRouteTable].rowLength);
  std::memcpy(row.data(), &vr, sizeof vr);
  std::memcpy(row.data() + 4, &addr, sizeof addr);
  row[8] = mask;
  std::memcpy(row.data() + 9, &group, sizeof group);
  return row;
}

class RouteTable : public testing::Test {
 protected:
  const schema::Index& index(size_t place) const { return kRouteIndexes[place]; }
  uint32_t write(const Bytes& row) {
    Change change;
    return table_.write(row.data(), change);
  }
  uint32_t remove(const Bytes& row) {
    uint64_t removed = 0;
    return table_.remove(index(0), packedKey(index(0), row).data(), removed);
  }
  bool holds(const Bytes& row) {
    Bytes found(row.size());
    return table_.read(index(0), packedKey(index(0), row).data(), found.data()) == 0 && found == row;
  }
  std::vector<Bytes> allOf(Cursor& cursor) {
    std::vector<Bytes> rows;
    Bytes row(table_.layout().rowLength);
    while (cursor.next(row.data()) == 0) rows.push_back(row);
    return rows;
  }

  Store store_{kToyTables, kSmallArena};
  Table& table_ = store_.table(kRouteTable);
};

TEST_F(RouteTable, a_mask_above_32_is_refused_and_changes_nothing) {
  EXPECT_EQ(write(routeRow(0, 0, 33, 0)), uint32_t{DB_ERR_BAD_KEY});
  EXPECT_EQ(table_.count(), 0U);
}

TEST_F(RouteTable, keys_are_refused_by_indexes_that_cannot_serve_them) {
  const uint8_t key[16] = {};
  uint8_t row[32];
  uint64_t number = 0;
  Cursor cursor;
  EXPECT_EQ(table_.read(index(2), key, row), uint32_t{DB_ERR_BAD_INDEX});
  EXPECT_EQ(table_.read(index(3), key, row), uint32_t{DB_ERR_BAD_INDEX});
  EXPECT_EQ(table_.remove(index(3), key, number), uint32_t{DB_ERR_BAD_INDEX});
  EXPECT_EQ(table_.countByKey(index(2), key, number), uint32_t{DB_ERR_BAD_INDEX});
  EXPECT_EQ(cursor.openKey(table_, index(3), key), uint32_t{DB_ERR_BAD_INDEX});
  EXPECT_EQ(cursor.next(row), uint32_t{DB_ERR_ITER_END});
  EXPECT_EQ(cursor.openRange(table_, index(0), key, key), uint32_t{DB_ERR_BAD_INDEX});
  EXPECT_EQ(cursor.next(row), uint32_t{DB_ERR_ITER_END});
}

TEST_F(RouteTable, an_index_is_found_by_its_id_only) {
  EXPECT_EQ(table_.findIndex(0x03050009), &index(2));
  EXPECT_EQ(table_.findIndex(0x03050008), nullptr);
  EXPECT_EQ(table_.findIndex(0), nullptr);
}

TEST_F(RouteTable, prefixes_come_longest_first_and_sharers_by_address) {
  const Bytes wide = routeRow(7, 0, 0, 1), inner = routeRow(7, 0x0A000000, 8, 1), other = routeRow(8, 0, 0, 1);
  const Bytes twice = routeRow(7, 0x0A000005, 8, 1), host = routeRow(7, 0x0A010203, 32, 1);
  for (const Bytes& row : {twice, wide, other, host, inner}) ASSERT_EQ(write(row), 0U);
  Cursor cursor;
  const Bytes key = packedKey(index(2), routeRow(7, 0x0A010203, 32, 0));
  ASSERT_EQ(cursor.openKey(table_, index(2), key.data()), 0U);
  EXPECT_EQ(allOf(cursor), (std::vector<Bytes>{host, inner, twice, wide}));
  const Bytes shorter = packedKey(index(2), routeRow(7, 0x0A010203, 31, 0));
  ASSERT_EQ(cursor.openKey(table_, index(2), shorter.data()), 0U);
  EXPECT_EQ(allOf(cursor), (std::vector<Bytes>{inner, twice, wide}));
}

TEST_F(RouteTable, a_prefix_may_be_shared_by_more_records_than_a_node_holds) {
  std::vector<Bytes> rows;
  for (uint32_t host = 0; host < 3000; ++host) rows.push_back(routeRow(1, host * 7, 0, 1));
  for (size_t i = 0; i < rows.size(); ++i) ASSERT_EQ(write(rows[i * 1009 % rows.size()]), 0U);
  Cursor cursor;
  const Bytes key = packedKey(index(2), routeRow(1, 0xFFFFFFFF, 32, 0));
  ASSERT_EQ(cursor.openKey(table_, index(2), key.data()), 0U);
  EXPECT_EQ(allOf(cursor), rows);
  for (const Bytes& row : rows) ASSERT_EQ(remove(row), 0U);
  ASSERT_EQ(cursor.openKey(table_, index(2), key.data()), 0U);
  EXPECT_TRUE(allOf(cursor).empty());
}

TEST_F(RouteTable, statistics_count_what_happened) {
  const Bytes row = routeRow(1, 2, 3, 4);
  uint64_t removed = 0;
  ASSERT_EQ(write(row), 0U);
  ASSERT_EQ(write(row), 0U);
  ASSERT_EQ(table_.update(packedKey(index(0), row).data(), row.data(), 8), 0U);
  table_.setLimits({.records = 1});
  ASSERT_EQ(write(routeRow(1, 2, 4, 4)), uint32_t{DB_ERR_RECORD_LIMIT});
  const store::TableStats full = table_.stats();
  ASSERT_EQ(table_.remove(index(1), packedKey(index(1), row).data(), removed), 0U);
  const store::TableStats stats = table_.stats();
  EXPECT_EQ(full.records, 1U);
  EXPECT_EQ(full.limits.records, 1U);
  EXPECT_EQ(stats.records, 0U);
  EXPECT_EQ(stats.inserted, 1U);
  EXPECT_EQ(stats.replaced, 1U);
  EXPECT_EQ(stats.updated, 1U);
  EXPECT_EQ(stats.refused, 1U);
  EXPECT_EQ(stats.removed, 1U);
  EXPECT_GE(stats.bytes, store::kExtentBytes);
}

TEST_F(RouteTable, the_record_limit_lets_records_be_replaced_and_exchanged) {
  const Bytes first = routeRow(1, 0, 8, 1), second = routeRow(1, 0, 9, 1), replaced = routeRow(1, 0, 8, 2);
  table_.setLimits({.records = 1});
  ASSERT_EQ(write(first), 0U);
  EXPECT_EQ(write(second), uint32_t{DB_ERR_RECORD_LIMIT});
  EXPECT_FALSE(holds(second));
  EXPECT_EQ(write(replaced), 0U);
  EXPECT_EQ(remove(first), 0U);
  EXPECT_EQ(write(second), 0U);
  EXPECT_TRUE(holds(second));
}

// Fills the table until it refuses, then looks at what the refusal left behind.
class FullTable : public RouteTable {
 protected:
  Bytes nth(uint32_t n) const { return routeRow(n % 3, n * 0x01000193, 32, static_cast<uint16_t>(n % 50)); }

  void fill(uint32_t refusal) {
    uint32_t code = 0;
    while ((code = write(nth(filled_))) == 0) ++filled_;
    ASSERT_EQ(code, refusal);
    ASSERT_GT(filled_, 100U);
    ASSERT_EQ(table_.count(), filled_);
  }

  void expectAllThere() {
    for (uint32_t n = 0; n < filled_; ++n) ASSERT_TRUE(holds(nth(n))) << n;
    EXPECT_FALSE(holds(nth(filled_)));
    uint64_t grouped = 0;
    for (uint32_t key = 0; key < 150; ++key) {
      uint64_t count = 0;
      const Bytes row = routeRow(key % 3, 0, 0, static_cast<uint16_t>(key / 3));
      ASSERT_EQ(table_.countByKey(index(1), packedKey(index(1), row).data(), count), 0U);
      grouped += count;
    }
    EXPECT_EQ(grouped, filled_);
    Cursor cursor;
    const Bytes low(index(3).keyLength, 0), high(index(3).keyLength, 0xFF);
    ASSERT_EQ(cursor.openRange(table_, index(3), low.data(), high.data()), 0U);
    EXPECT_EQ(allOf(cursor).size(), filled_);
    EXPECT_EQ(accountOf(store_), "");
  }

  void expectItCanBeEmptied() {
    for (uint32_t n = 0; n < filled_; ++n) ASSERT_EQ(remove(nth(n)), 0U) << n;
    EXPECT_EQ(table_.count(), 0U);
    Cursor cursor;
    cursor.openAll(table_);
    EXPECT_TRUE(allOf(cursor).empty());
    EXPECT_EQ(accountOf(store_), "");
  }

  uint32_t filled_ = 0;
};

TEST_F(FullTable, at_the_memory_limit_everything_stays_readable_and_removable) {
  table_.setLimits({.bytes = 12 * store::kExtentBytes});
  fill(DB_ERR_MEMORY_LIMIT);
  EXPECT_LE(table_.stats().bytes, 12 * store::kExtentBytes);
  expectAllThere();
  expectItCanBeEmptied();
}

TEST_F(FullTable, at_the_memory_limit_rows_can_be_replaced_in_place) {
  table_.setLimits({.bytes = 12 * store::kExtentBytes});
  fill(DB_ERR_MEMORY_LIMIT);
  Bytes row = nth(0);
  row.back() = 0xEE;
  EXPECT_EQ(write(row), 0U);
  EXPECT_TRUE(holds(row));
}

TEST_F(FullTable, a_lifted_memory_limit_lets_it_grow_again) {
  table_.setLimits({.bytes = 12 * store::kExtentBytes});
  fill(DB_ERR_MEMORY_LIMIT);
  table_.setLimits({});
  EXPECT_EQ(write(nth(filled_)), 0U);
}

TEST_F(FullTable, at_the_end_of_the_arena_everything_stays_readable_and_removable) {
  fill(DB_ERR_NO_MEMORY);
  expectAllThere();
  expectItCanBeEmptied();
  EXPECT_EQ(write(nth(0)), 0U);
}

TEST_F(FullTable, slots_are_used_again_at_the_limit) {
  // One table of bytes: nothing but slots takes memory, so the limit is met by slots.
  Table& table = store_.table(0);
  Change change;
  for (int value = 0; value < 256; ++value) {
    const auto key = static_cast<uint8_t>(value);
    ASSERT_EQ(table.write(&key, change), 0U);
  }
  const uint64_t before = table.stats().bytes;
  table.setLimits({.bytes = before});
  for (int round = 0; round < 200; ++round) {
    for (int value = 0; value < 256; ++value) {
      const auto key = static_cast<uint8_t>(value);
      uint64_t removed = 0;
      ASSERT_EQ(table.remove(table.layout().primary(), &key, removed), 0U);
      ASSERT_EQ(table.write(&key, change), 0U) << round << " " << value;
    }
  }
  EXPECT_EQ(table.stats().bytes, before);
}

TEST_F(RouteTable, keys_that_come_and_go_leave_no_memory_behind) {
  uint64_t settled = 0;
  for (uint32_t n = 0; n < 60000; ++n) {
    ASSERT_EQ(write(routeRow(1, 0x0A000000, 24, static_cast<uint16_t>(n))), 0U);
    ASSERT_EQ(write(routeRow(n + 2, n, 24, 0)), 0U);
    ASSERT_EQ(remove(routeRow(n + 2, n, 24, 0)), 0U);
    if (n == 3 * store::kRestingWrites) settled = table_.stats().bytes;
  }
  EXPECT_EQ(table_.stats().bytes, settled);
}

TEST(ManyKeys, a_move_that_memory_refuses_is_taken_back) {
  Store store(kToyTables, kSmallArena);
  Table& table = store.table(4);
  ASSERT_EQ(table.layout().name, "many");
  const auto row = [](uint32_t key, uint8_t value) {
    Bytes bytes(10, value);
    std::memcpy(bytes.data(), &key, sizeof key);
    return bytes;
  };
  Change change;
  uint32_t refused = 0, keys = 0;
  table.setLimits({.bytes = 6 * store::kExtentBytes});
  while (table.write(row(keys, 1).data(), change) == 0) ++keys;
  ASSERT_EQ(table.count(), keys);
  for (uint32_t round = 0; round < 200 && refused < 50; ++round) {
    for (uint32_t key = 0; key < keys && refused < 50; ++key) {
      const Bytes wanted = row(key, static_cast<uint8_t>(2 + (round + key) % 250));
      Bytes before(10), after(10);
      ASSERT_EQ(table.read(table.layout().primary(), row(key, 0).data(), before.data()), 0U);
      const uint32_t code = table.write(wanted.data(), change);
      ASSERT_EQ(table.read(table.layout().primary(), row(key, 0).data(), after.data()), 0U);
      ASSERT_EQ(after, code == 0 ? wanted : before);
      if (code == 0) continue;
      ASSERT_EQ(code, uint32_t{DB_ERR_MEMORY_LIMIT});
      ++refused;
      for (const schema::Index& index : table.layout().indexes.subspan(1)) {
        uint64_t count = 0, walked = 0;
        const Bytes missed = packedKey(index, wanted);
        ASSERT_EQ(table.countByKey(index, missed.data(), count), 0U);
        Cursor cursor;
        ASSERT_EQ(cursor.openKey(table, index, missed.data()), 0U);
        for (Bytes each(10); cursor.next(each.data()) == 0; ++walked) ASSERT_NE(each, wanted);
        ASSERT_EQ(walked, count);
      }
    }
  }
  EXPECT_GT(refused, 0U);
  EXPECT_EQ(accountOf(store), "");
}

TEST(Store, cleared_it_is_as_new) {
  Store store(kToyTables, kSmallArena);
  Table& table = store.table(kRouteTable);
  Change change;
  table.setLimits({.records = 5});
  for (uint32_t n = 0; n < 5; ++n) ASSERT_EQ(table.write(routeRow(1, n, 32, 1).data(), change), 0U);
  store.clear();
  EXPECT_EQ(table.count(), 0U);
  EXPECT_EQ(table.stats().limits.records, 0U);
  EXPECT_EQ(table.stats().inserted, 0U);
  EXPECT_EQ(table.write(routeRow(1, 0, 32, 1).data(), change), 0U);
  EXPECT_EQ(change, Change::kInserted);
}

TEST(Store, a_schema_whose_ordered_key_can_change_is_not_served) {
  static constexpr schema::Index kIndexes[] = {
      schema::indexOf(kRouteFields, 0, IndexKind::kPrimary, "vr_id, addr, mask"),
      schema::indexOf(kRouteFields, 1, IndexKind::kOrdered, "group"),
  };
  const schema::Table tables[] = {{"bad", schema::rowLengthOf(kRouteFields), kRouteFields, kIndexes}};
  EXPECT_FALSE(Store(tables, kSmallArena).valid());
}

TEST(Store, the_engines_own_store_has_every_table) {
  EXPECT_TRUE(Store::instance().valid());
  EXPECT_EQ(Store::instance().tableCount(), schema::kTableCount);
  EXPECT_EQ(&Store::instance(), &Store::instance());
}

}  // namespace
}  // namespace fibdb::test
