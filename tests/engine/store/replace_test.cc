// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/replace_test.cc: a table that is told anew.
#include <gtest/gtest.h>

#include <set>

#include "engine/store/table.h"
#include "fibdb/engine.h"
#include "tests/engine/store/accounting.h"
#include "tests/support/toy_tables.h"

namespace fibdb::test {
namespace {

using store::kEveryVr;
using store::ReplaceCounts;

class Replace : public testing::Test {
 protected:
  Bytes row(uint32_t vr, uint32_t addr, uint8_t note) const {
    Bytes row(table_.layout().rowLength);
    std::memcpy(row.data(), &vr, sizeof vr);
    std::memcpy(row.data() + 4, &addr, sizeof addr);
    row[8] = 32;
    row.back() = note;
    return row;
  }
  void write(const Bytes& row) {
    store::Change change;
    ASSERT_EQ(table_.write(row.data(), change), 0U);
  }
  std::set<Bytes> rows() const {
    std::set<Bytes> rows;
    store::Cursor cursor;
    cursor.openAll(table_);
    Bytes row(table_.layout().rowLength);
    while (cursor.next(row.data()) == 0) rows.insert(row);
    return rows;
  }
  ReplaceCounts end() {
    ReplaceCounts counts{};
    EXPECT_EQ(table_.endReplace(counts), 0U);
    EXPECT_EQ(store::accountOf(store_), "");
    return counts;
  }

  store::Store store_{kToyTables, kSmallArena};
  store::Table& table_ = store_.table(kRouteTable);
};

TEST_F(Replace, what_is_not_written_again_goes_and_the_rest_is_counted) {
  for (uint32_t addr = 0; addr < 1000; ++addr) write(row(1, addr, 0));
  ASSERT_EQ(table_.beginReplace(kEveryVr), 0U);
  std::set<Bytes> told;
  for (uint32_t addr = 100; addr < 1100; ++addr) {
    told.insert(row(1, addr, static_cast<uint8_t>(addr % 2)));
    write(row(1, addr, static_cast<uint8_t>(addr % 2)));
  }
  const ReplaceCounts counts = end();
  EXPECT_EQ(counts.kept, 450U);
  EXPECT_EQ(counts.changed, 450U);
  EXPECT_EQ(counts.added, 100U);
  EXPECT_EQ(counts.removed, 100U);
  EXPECT_EQ(rows(), told);
  EXPECT_EQ(table_.replaceState().active, 0U);
}

TEST_F(Replace, the_first_write_of_a_record_decides_what_it_counts_as) {
  write(row(1, 1, 0));
  ASSERT_EQ(table_.beginReplace(kEveryVr), 0U);
  for (const uint8_t note : {uint8_t{0}, uint8_t{1}, uint8_t{2}, uint8_t{2}}) write(row(1, 1, note));
  for (const uint8_t note : {uint8_t{0}, uint8_t{1}}) write(row(1, 2, note));
  const ReplaceCounts counts = end();
  EXPECT_EQ(counts.kept, 1U);
  EXPECT_EQ(counts.changed, 0U);
  EXPECT_EQ(counts.added, 1U);
  EXPECT_EQ(rows(), (std::set<Bytes>{row(1, 1, 2), row(1, 2, 1)}));
}

TEST_F(Replace, an_update_and_a_removed_record_that_comes_again_are_told) {
  for (uint32_t addr = 0; addr < 3; ++addr) write(row(1, addr, 0));
  ASSERT_EQ(table_.beginReplace(kEveryVr), 0U);
  const schema::Index& primary = table_.layout().primary();
  ASSERT_EQ(table_.update(packedKey(primary, row(1, 0, 0)).data(), row(1, 0, 9).data(), ~store::FieldSet{0}), 0U);
  uint64_t removed = 0;
  ASSERT_EQ(table_.remove(primary, packedKey(primary, row(1, 1, 0)).data(), removed), 0U);
  write(row(1, 1, 5));
  EXPECT_EQ(end().removed, 1U);
  EXPECT_EQ(rows(), (std::set<Bytes>{row(1, 0, 9), row(1, 1, 5)}));
}

TEST_F(Replace, of_one_virtual_router_leaves_the_others) {
  for (const uint32_t vr : {1U, 2U}) write(row(vr, 1, 0));
  ASSERT_EQ(table_.beginReplace(2), 0U);
  EXPECT_EQ(end().removed, 1U);
  EXPECT_EQ(rows(), std::set<Bytes>{row(1, 1, 0)});
  EXPECT_EQ(store_.table(1).beginReplace(2), uint32_t{DB_ERR_BAD_PROPERTY});
}

TEST_F(Replace, one_at_a_time_and_given_up_removes_nothing) {
  write(row(1, 1, 0));
  ReplaceCounts counts{};
  EXPECT_EQ(table_.endReplace(counts), uint32_t{DB_ERR_NO_REPLACE});
  EXPECT_EQ(table_.giveUpReplace(), uint32_t{DB_ERR_NO_REPLACE});
  EXPECT_EQ(table_.takeOverReplace(), uint32_t{DB_ERR_NO_REPLACE});
  ASSERT_EQ(table_.beginReplace(kEveryVr), 0U);
  EXPECT_EQ(table_.beginReplace(kEveryVr), uint32_t{DB_ERR_REPLACE_BUSY});
  EXPECT_EQ(table_.takeOverReplace(), uint32_t{DB_ERR_REPLACE_BUSY});
  ASSERT_EQ(table_.giveUpReplace(), 0U);
  EXPECT_EQ(rows().size(), 1U);
  // More of them than generations have numbers.
  for (uint32_t i = 0; i < 70000; ++i) {
    ASSERT_EQ(table_.beginReplace(kEveryVr), 0U);
    ASSERT_EQ(table_.giveUpReplace(), 0U);
  }
}

TEST_F(Replace, of_a_process_that_died_is_taken_over) {
  for (uint32_t addr = 0; addr < 10; ++addr) write(row(1, addr, 0));
  ASSERT_EQ(table_.beginReplace(kEveryVr), 0U);
  write(row(1, 0, 0));
  store::Check::stateOf(table_).replace.pid = UINT32_MAX;
  ReplaceCounts counts{};
  EXPECT_EQ(table_.endReplace(counts), uint32_t{DB_ERR_REPLACE_BUSY});
  EXPECT_FALSE(table_.isReplaceAlive());
  EXPECT_EQ(table_.takeOverReplace(), 0U);
  write(row(1, 1, 0));
  counts = end();
  EXPECT_EQ(counts.kept, 2U);
  EXPECT_EQ(counts.removed, 8U);
  EXPECT_EQ(rows(), (std::set<Bytes>{row(1, 0, 0), row(1, 1, 0)}));
}

}  // namespace
}  // namespace fibdb::test
