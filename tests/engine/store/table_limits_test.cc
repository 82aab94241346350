// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/table_limits_test.cc: tables that get no more memory: the way out, and back in, stays open.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <random>
#include <vector>

#include "engine/store/table.h"
#include "fibdb/engine.h"
#include "tests/engine/store/accounting.h"
#include "tests/support/table_twin.h"
#include "tests/support/toy_tables.h"

namespace fibdb::test {
namespace {

using store::Store;
using store::Table;

// Of every table: what refuses at a limit or at the end of the arena lets everything go, and takes it again.
class Refusing : public testing::TestWithParam<bool> {
 protected:
  static constexpr uint64_t kLimit = 8 * store::kExtentBytes;

  bool atLimit() const { return GetParam(); }
  uint32_t refusal() const { return atLimit() ? DB_ERR_MEMORY_LIMIT : DB_ERR_NO_MEMORY; }

  // A table of its own store, filled until it refuses; small tables never do.
  void fill(std::span<const schema::Table> schema) {
    store_.emplace(schema, (atLimit() ? 256 : 10) * (kLimit / 8));
    ASSERT_TRUE(store_->valid());
    table_ = &store_->table(0);
    if (atLimit()) table_->setLimits({.bytes = kLimit});
    rows_.clear();
    uint32_t code = 0;
    for (size_t tries = 0; code == 0 && tries < kMostRows; ++tries) code = insertAnother();
    ASSERT_TRUE(code == 0 || code == refusal()) << code;
    refused_ = code != 0;
    ASSERT_EQ(table_->count(), rows_.size());
  }
  uint32_t insertAnother() {
    Bytes row = source_->row();
    for (const schema::Column& column : table_->layout().primary().parts()) {
      for (uint16_t i = 0; i < column.size; ++i) row[column.offset + i] = static_cast<uint8_t>(source_->below(256));
    }
    for (const schema::Index& index : table_->layout().indexes) {
      if (index.kind == IndexKind::kLongest) row[index.parts().back().offset] %= 33;
    }
    const uint32_t code = table_->insert(row.data());
    if (code == 0) rows_.push_back(row);
    return code == DB_ERR_EXISTS ? 0 : code;
  }
  uint32_t remove(const Bytes& row) {
    uint64_t removed = 0;
    return table_->remove(table_->layout().primary(), packedKey(table_->layout().primary(), row).data(), removed);
  }
  void shuffle() { std::shuffle(rows_.begin(), rows_.end(), random_); }

  // Calls test for every table of the schema and every toy.
  void forEveryTable(const std::function<void()>& test) {
    const uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "FIBDB_SEED=" << seed);
    random_.seed(seed);
    const auto run = [&](std::span<const schema::Table> one) {
      SCOPED_TRACE(one[0].name);
      source_.emplace(one[0], seed);
      fill(one);
      if (testing::Test::HasFatalFailure()) return;
      test();
      EXPECT_EQ(store::accountOf(*store_), "");
    };
    for (const schema::Table& table : kToyTables) run({&table, 1});
    for (const schema::Table& table : schema::kTables) run({&table, 1});
  }

  static constexpr size_t kMostRows = 40000;

  std::optional<Store> store_;
  Table* table_ = nullptr;
  std::optional<RowSource> source_;
  std::vector<Bytes> rows_;
  bool refused_ = false;
  std::mt19937_64 random_;
};

TEST_P(Refusing, everything_can_be_removed_in_any_order) {
  forEveryTable([&] {
    shuffle();
    for (size_t i = 0; i < rows_.size(); ++i) ASSERT_EQ(remove(rows_[i]), 0U) << i << " of " << rows_.size();
    ASSERT_EQ(table_->count(), 0U);
  });
}

TEST_P(Refusing, what_was_removed_can_be_inserted_again_one_at_a_time) {
  forEveryTable([&] {
    shuffle();
    for (size_t i = 0; i < rows_.size() && i < 5000; ++i) {
      ASSERT_EQ(remove(rows_[i]), 0U) << i;
      ASSERT_EQ(table_->insert(rows_[i].data()), 0U) << i;
    }
    ASSERT_EQ(table_->count(), rows_.size());
  });
}

INSTANTIATE_TEST_SUITE_P(AtTheMemoryLimit, Refusing, testing::Values(true));
INSTANTIATE_TEST_SUITE_P(AtTheEndOfTheArena, Refusing, testing::Values(false));

// Only a limit promises this of many records at a time: in another order they may need more than an arena has left.
class Limited : public Refusing {};

TEST_P(Limited, all_that_was_removed_can_be_inserted_again_in_another_order_within_a_quarter_beyond) {
  forEveryTable([&] {
    for (const size_t share : {1U, 2U, 4U, 1U, 2U}) {
      shuffle();
      const size_t count = rows_.size() / share;
      for (size_t i = 0; i < count; ++i) ASSERT_EQ(remove(rows_[i]), 0U) << i;
      ASSERT_LE(table_->stats().bytes, kLimit + kLimit / 4) << "removals took memory";
      std::shuffle(rows_.begin(), rows_.begin() + static_cast<ptrdiff_t>(count), random_);
      for (size_t i = 0; i < count; ++i) ASSERT_EQ(table_->insert(rows_[i].data()), 0U) << i << " of " << count;
      ASSERT_LE(table_->stats().bytes, kLimit + kLimit / 4);
    }
    // And then it is as full as it was.
    size_t more = 0;
    while (refused_ && insertAnother() == 0) ASSERT_LT(++more, 100U);
  });
}

TEST_P(Limited, removals_alone_take_no_memory) {
  forEveryTable([&] {
    const uint64_t before = table_->stats().bytes;
    shuffle();
    for (const Bytes& row : rows_) ASSERT_EQ(remove(row), 0U);
    EXPECT_EQ(table_->stats().bytes, before);
  });
}

INSTANTIATE_TEST_SUITE_P(AtTheMemoryLimit, Limited, testing::Values(true));

}  // namespace
}  // namespace fibdb::test
