// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/accounting_test.cc: after any history every block has one owner, and every index is right.
#include "tests/engine/store/accounting.h"

#include <gtest/gtest.h>

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
  void expect(const std::string& finding) { EXPECT_NE(accountOf(store_).find(finding), std::string::npos) << finding; }

  store::TableState& state() { return store::Accounting::stateOf(table_); }

  Store store_{kToyTables, kSmallArena};
  Table& table_ = store_.table(kRouteTable);
};

TEST_F(Damaged, a_block_that_nobody_owns_is_missed) {
  state().heap.openUnits -= 2;
  expect("2 units belong to nobody");
}

TEST_F(Damaged, a_block_that_two_own_is_seen) {
  store::Heap heap(store_.arena(), state().heap);
  heap.release(state().indexes[3].order.root, store::kPieceBytes);
  expect("lies over route's free block");
}

TEST_F(Damaged, a_wrong_count_is_seen) {
  state().count.settleArrival(store::Heap(store_.arena(), state().heap).log());
  expect("counted");
}

TEST_F(Damaged, a_record_missing_from_an_index_is_seen) {
  state().indexes[3].order.root = store::kNoRef;
  expect("index 3: not entered");
}

TEST_F(Damaged, a_slot_that_is_lost_is_seen) {
  uint64_t removed = 0;
  RowSource source(table_.layout(), 1);
  const Bytes key = packedKey(table_.layout().primary(), source.row());
  ASSERT_EQ(table_.remove(table_.layout().primary(), key.data(), removed), 0U);
  state().records.free = store::kNoRef;
  expect("dead slots are lost");
}

}  // namespace
}  // namespace fibdb::test
