// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/whole_row_tests.h: what holds for every table whose records travel as whole rows, over the recorded
// platform, beside what holds for every table of next hops.
#ifndef FIBDB_TESTS_NEXTHOP_WHOLE_ROW_TESTS_H
#define FIBDB_TESTS_NEXTHOP_WHOLE_ROW_TESTS_H

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "tests/nexthop/table_tests.h"

namespace fibdb::test {

// Four words in host byte order, as items hold addresses.
inline void putWords(uint8_t (&address)[16], uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
  const uint32_t words[] = {a, b, c, d};
  std::memcpy(address, words, sizeof address);
}

// The same as a row holds it, at an offset of the row.
inline void putNetworkOrder(Row& row, size_t at, const uint8_t (&address)[16]) {
  uint32_t words[4];
  std::memcpy(words, address, sizeof words);
  for (const uint32_t word : words) {
    for (const int shift : {24, 16, 8, 0}) row[at++] = static_cast<uint8_t>(word >> shift);
  }
}

// Whether anything was alive when the last line was logged.
inline std::optional<bool> aliveWhenSaid;
inline int noticeLife(const char*, ...) {
  aliveWhenSaid = PlatformDouble::instance().leaks() != "";
  return 0;
}

template <class Table>
using WholeRowTest = NextHopTableTest<Table>;

TYPED_TEST_SUITE_P(WholeRowTest);

// Conversions.
TYPED_TEST_P(WholeRowTest, An_item_is_packed_into_its_row_and_comes_back) {
  Row row(TypeParam::kRowLength);
  EXPECT_EQ(TypeParam::pack(row.data(), &this->item), 0u);
  EXPECT_EQ(row, TypeParam::rowOf(this->item));
  typename TypeParam::Item back{};
  EXPECT_EQ(TypeParam::unpack(&back, row.data()), 0u);
  EXPECT_EQ(TypeParam::rowOf(back), row);
  EXPECT_EQ(std::ranges::count(this->platform.allCalls, "memcpy_s"), 2 * TypeParam::kCopies);
}

TYPED_TEST_P(WholeRowTest, Conversions_go_on_behind_a_failed_copy_and_return_the_last_ones_result) {
  for (int failing = 0; failing < TypeParam::kCopies; ++failing) {
    for (const bool packing : {true, false}) {
      this->again();
      for (int i = 0; i < failing; ++i) this->platform.fail("memcpy_s", 0);
      this->platform.fail("memcpy_s", 1);
      Row row(TypeParam::kRowLength);
      typename TypeParam::Item back{};
      const Row full = TypeParam::rowOf(this->item);
      const uint32_t result =
          packing ? TypeParam::pack(row.data(), &this->item) : TypeParam::unpack(&back, full.data());
      EXPECT_EQ(result, failing == TypeParam::kCopies - 1 ? 22u : 0u) << failing;
      EXPECT_EQ(std::ranges::count(this->platform.allCalls, "memcpy_s"), TypeParam::kCopies);
      // Everything but the sixteen or thirty-two bytes of that copy is there.
      const Row got = packing ? row : TypeParam::rowOf(back);
      size_t missing = 0;
      for (size_t i = 0; i < got.size(); ++i) missing += got[i] != full[i] ? 1 : 0;
      EXPECT_GT(missing, 0u);
      EXPECT_LE(missing, 32u);
      EXPECT_TRUE(this->silent());
    }
  }
}

TYPED_TEST_P(WholeRowTest, The_primary_key_is_the_beginning_of_the_row) {
  FibDbKeyDesc out{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  Row bytes(TypeParam::kKeyLength + 1, 77);
  EXPECT_EQ(TypeParam::keyField(&out, bytes.data(), &this->item), 0u);
  EXPECT_EQ(out.rsv1, 2u);
  EXPECT_EQ(out.rsv2, 3u);
  EXPECT_EQ(out.indexId & 0xFFFF, TypeParam::kKeyLength);
  EXPECT_EQ(bytes.back(), 77);
  const Row row = TypeParam::rowOf(this->item);
  EXPECT_TRUE(std::equal(bytes.begin(), bytes.end() - 1, row.begin()));
  this->platform.fail("memcpy_s", 1);
  EXPECT_EQ(TypeParam::keyField(&out, bytes.data(), &this->item), 22u);
}

// Write and remove.
TYPED_TEST_P(WholeRowTest, Writes_and_removals_have_released_before_their_failure_is_said_and_updates_have_not) {
  const FibDbLogHooks hooks{.info = noticeLife, .error = noticeLife};
  FIB_DB_LogFuncInit(&hooks);
  const auto saidAlive = [&](const char* call, uint32_t (*run)(const typename TypeParam::Item*)) {
    aliveWhenSaid.reset();
    this->platform.fail(call, 7);
    EXPECT_EQ(run(&this->item), 7u) << call;
    return aliveWhenSaid;
  };
  EXPECT_EQ(saidAlive("db_write_obj", TypeParam::write), false);
  for (const auto& removal : TypeParam::kRemovals) EXPECT_EQ(saidAlive("db_remove_obj", removal.call), false);
  EXPECT_EQ(saidAlive("db_update_obj", TypeParam::updateContext), true);
}

TYPED_TEST_P(WholeRowTest, Publications_of_writes_and_removals_are_counted_behind_the_release) {
  std::vector<uint64_t> countedAtRelease;
  this->platform.watch = [&](std::string_view call) {
    if (call == this->object("db_release_", "_object")) countedAtRelease.push_back(this->allCounted());
  };
  this->platform.failAlways("db_write_obj", 13044);
  this->platform.failAlways("db_remove_obj", 13044);
  this->platform.failAlways("db_update_obj", 13044);
  EXPECT_EQ(TypeParam::write(&this->item), 0u);
  for (const auto& removal : TypeParam::kRemovals) EXPECT_EQ(removal.call(&this->item), 0u);
  EXPECT_EQ(TypeParam::updateContext(&this->item), 0u);
  EXPECT_THAT(countedAtRelease, ElementsAre(0u, 1u, 2u, 4u));
}

TYPED_TEST_P(WholeRowTest, Writes_and_removals_without_object_do_not_look_at_the_item) {
  this->platform.failAlways(this->createOf(), kCode);
  EXPECT_EQ(TypeParam::write(nullptr), kCode);
  EXPECT_EQ(TypeParam::remove(nullptr), kCode);
  EXPECT_THAT(this->platform.allCalls, testing::SizeIs(2));
}

// Reads and counts under a key.
TYPED_TEST_P(WholeRowTest, Reads_and_counts_hand_no_key_on_to_the_database) {
  EXPECT_EQ(TypeParam::readByKey(nullptr, nullptr, 0, nullptr, &this->filled), 0u);
  EXPECT_EQ(this->platform.calls[1], "db_create_root_iter(#1, NULL)");
  EXPECT_EQ(this->filled, 0u);
  this->again();
  EXPECT_EQ(TypeParam::countByKey(nullptr, nullptr, &this->filled), 0u);
  EXPECT_EQ(this->platform.calls[1], "db_get_table_record_count_by_key(#1, NULL)");
}

// Partial updates.
TYPED_TEST_P(WholeRowTest, The_setter_of_a_context_gives_1_for_any_field_that_fails) {
  const Calls staged = TypeParam::updates()[0].staged;
  for (const std::string& failing : staged) {
    this->platform.fail(nameOfCall(failing), 5);
    EXPECT_EQ(TypeParam::setContext(1, &this->item), 1u) << failing;
  }
  EXPECT_EQ(TypeParam::setContext(1, &this->item), 0u);
}

TYPED_TEST_P(WholeRowTest, Updates_are_not_timed) {
  g_fibGetDbOperTickCost = 1;
  EXPECT_EQ(TypeParam::updateContext(&this->item), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
  EXPECT_TRUE(this->silent());
}

// Iteration.
TYPED_TEST_P(WholeRowTest, Steps_whose_row_fails_return_1_count_READ_and_keep_the_item) {
  this->stock();
  const Row before = TypeParam::rowOf(this->item);
  FibDbIterator* const iterator = TypeParam::kIterators[0].call(0xFFFFFFFF);
  this->platform.fail("db_read_obj_with_buf", kCode);
  EXPECT_EQ(TypeParam::next(iterator, &this->item), 1u);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kStepRow));
  EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 0));
  EXPECT_EQ(TypeParam::rowOf(this->item), before);
  TypeParam::release(iterator);
}

TYPED_TEST_P(WholeRowTest, Steps_to_a_record_that_vanished_return_1_silently_and_uncounted) {
  this->stock();
  FibDbIterator* const iterator = TypeParam::kIterators[0].call(0xFFFFFFFF);
  this->platform.fail("db_read_obj_with_buf", 15005);
  EXPECT_EQ(TypeParam::next(iterator, &this->item), 1u);
  EXPECT_TRUE(this->silent());
  EXPECT_EQ(this->allCounted(), 0u);
  TypeParam::release(iterator);
}

REGISTER_TYPED_TEST_SUITE_P(WholeRowTest, An_item_is_packed_into_its_row_and_comes_back,
                            Conversions_go_on_behind_a_failed_copy_and_return_the_last_ones_result,
                            The_primary_key_is_the_beginning_of_the_row,
                            Writes_and_removals_have_released_before_their_failure_is_said_and_updates_have_not,
                            Publications_of_writes_and_removals_are_counted_behind_the_release,
                            Writes_and_removals_without_object_do_not_look_at_the_item,
                            Reads_and_counts_hand_no_key_on_to_the_database,
                            The_setter_of_a_context_gives_1_for_any_field_that_fails, Updates_are_not_timed,
                            Steps_whose_row_fails_return_1_count_READ_and_keep_the_item,
                            Steps_to_a_record_that_vanished_return_1_silently_and_uncounted);

}  // namespace fibdb::test

#endif
