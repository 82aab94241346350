// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/whole_row_tests.h: what holds for every table whose records travel as whole rows, over the recorded
// platform. A table's test file describes the table, spells its texts out, and instantiates this suite with it.
#ifndef FIBDB_TESTS_NEXTHOP_WHOLE_ROW_TESTS_H
#define FIBDB_TESTS_NEXTHOP_WHOLE_ROW_TESTS_H

#include <algorithm>
#include <string>
#include <vector>

#include "platform/objdb_tables.h"
#include "tests/support/failing_code.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {

// The texts of a table, as they are printed for kCode.
struct IteratorTexts {
  const char* malloc;
  const char* createObj;
  const char* createIter;
  const char* setProperty;
};
struct WholeRowTexts {
  const char* writeCreate;
  const char* writeStage;
  const char* writeFailed;
  const char* removeCreate;
  const char* removeByIndexCreate;
  const char* removeFailed;
  const char* readCreate;
  const char* readIter;
  const char* readStep;
  const char* readRow;
  const char* countCreate;
  const char* countFailed;
  const char* updateCreate;
  const char* updateFailed;
  const char* context;
  IteratorTexts whole;
  IteratorTexts byKey;
  const char* step;
  const char* stepRow;
};

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

// What a service says of a record: the fields that context updates stage.
template <class Item>
void putContext(Item& item) {
  item.status_high_prio = 12;
  item.status_normal_prio = 13;
  item.errcode_high_prio = 14;
  item.errcode_normal_prio = 15;
  for (uint8_t i = 0; i < 16; ++i) {
    item.svc_ctx_high_prio[i] = static_cast<uint8_t>(0x10 + i);
    item.svc_ctx_normal_prio[i] = static_cast<uint8_t>(0xF0 - i);
  }
  item.time_stamp_svc = 0x2400000000;
}

// What was so when the last line was logged.
struct AtTheLine {
  bool alive = false;
  uint64_t counted = 0;
};
inline AtTheLine atTheLine;
inline int lookAround(const char*, ...) {
  atTheLine.alive = PlatformDouble::instance().leaks() != "";
  atTheLine.counted = 0;
  for (const auto& table : g_fibDbErrStat) {
    atTheLine.counted = std::accumulate(std::begin(table), std::end(table), atTheLine.counted);
  }
  return 0;
}

template <class Table>
class WholeRowTest : public TablesTest {
 protected:
  using Item = typename Table::Item;
  static constexpr uint32_t kSize = sizeof(Item);

  void SetUp() override { platform.record(Table::kTable) = Table::rowOf(Table::fullItem()); }

  // "db_create_<table>_obj" and its like.
  static std::string object(const char* before, const char* behind) {
    return before + std::string(Table::kName) + behind;
  }
  static std::string created(int kind) { return object("db_create_", "_obj(") + std::to_string(kind) + ")"; }
  static std::string released() { return object("db_release_", "_object(#1)"); }
  static std::string keyed(const char* call, const std::string& key) { return call + ("(#1, " + key + ")"); }
  static std::string rowRead() { return "db_read_obj_with_buf(#1, NULL, " + std::to_string(Table::kRowLength) + ")"; }

  void failCreate() { platform.fail(object("db_create_", "_obj"), kCode); }

  // Three records, told apart by their stamp.
  void stock() {
    for (uint64_t i = 0; i < 3; ++i) {
      Item entry = Table::fullItem();
      entry.time_stamp_svc = i;
      platform.entries.push_back(Table::rowOf(entry));
    }
  }
  // Slots that no record could be.
  void wipe() { std::memset(static_cast<void*>(items), 0x5A, sizeof items); }
  bool untouched(size_t slot) const {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(items + slot);
    return std::all_of(bytes, bytes + sizeof(Item), [](uint8_t byte) { return byte == 0x5A; });
  }

  Item item = Table::fullItem();
  Item items[4] = {};
  uint32_t filled = 77;
  FibDbKeyDesc desc{.indexId = 0x01090004, .rsv1 = 0, .rsv2 = 0};
  uint32_t key = 42;
};

TYPED_TEST_SUITE_P(WholeRowTest);

using testing::ElementsAre;
using testing::IsEmpty;

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
      this->platform.reset();
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

// Write.
TYPED_TEST_P(WholeRowTest, A_write_stages_the_whole_row_and_writes_once) {
  EXPECT_EQ(TypeParam::write(&this->item), 0u);
  EXPECT_THAT(this->platform.calls,
              ElementsAre(this->created(0),
                          this->object("db_set_", "_all_fields(#1, ") + std::to_string(TypeParam::kRowLength) + ")",
                          "db_write_obj(#1)", this->released()));
  EXPECT_EQ(this->platform.staged(TypeParam::kTable), TypeParam::rowOf(this->item));
  EXPECT_TRUE(this->silent());
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(WholeRowTest, A_write_whose_object_fails_says_so_before_it_looks_at_the_item) {
  this->failCreate();
  EXPECT_EQ(TypeParam::write(nullptr), kCode);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.writeCreate));
  EXPECT_THAT(this->platform.allCalls, testing::SizeIs(1));
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(WholeRowTest, A_write_whose_row_is_not_taken_says_so_returns_the_code_and_does_not_write) {
  this->platform.fail(this->object("db_set_", "_all_fields"), kCode);
  EXPECT_EQ(TypeParam::write(&this->item), kCode);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.writeStage));
  EXPECT_EQ(this->platform.calls.back(), this->released());
  EXPECT_EQ(std::ranges::count(this->platform.allCalls, "db_write_obj"), 0);
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(WholeRowTest, A_write_that_fails_returns_the_code_says_so_and_counts_WRITE) {
  this->platform.fail("db_write_obj", kCode);
  EXPECT_EQ(TypeParam::write(&this->item), kCode);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.writeFailed));
  EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 2));
}

TYPED_TEST_P(WholeRowTest, Publications_of_writes_removals_and_updates_return_0_and_count_PUB) {
  for (const char* const call : {"db_write_obj", "db_remove_obj", "db_update_obj"}) {
    this->platform.failAlways(call, 13044);
  }
  EXPECT_EQ(TypeParam::write(&this->item), 0u);
  EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 1));
  EXPECT_EQ(TypeParam::remove(&this->item), 0u);
  EXPECT_EQ(TypeParam::removeByIndex(42), 0u);
  EXPECT_EQ(TypeParam::updateContext(&this->item), 0u);
  EXPECT_EQ(this->counted(TypeParam::kStat, 1), 4u);
  EXPECT_EQ(this->allCounted(), 4u);
  EXPECT_TRUE(this->silent());
}

TYPED_TEST_P(WholeRowTest, Writes_and_removals_have_released_before_their_failure_is_said_and_updates_have_not) {
  const FibDbLogHooks hooks{.info = lookAround, .error = lookAround};
  FIB_DB_LogFuncInit(&hooks);
  this->platform.failAlways("db_write_obj", 7);
  this->platform.failAlways("db_remove_obj", 7);
  this->platform.failAlways("db_update_obj", 7);
  for (const auto call : {+[](typename TypeParam::Item* item) { return TypeParam::write(item); },
                          +[](typename TypeParam::Item* item) { return TypeParam::remove(item); },
                          +[](typename TypeParam::Item*) { return TypeParam::removeByIndex(42); }}) {
    atTheLine = {.alive = true};
    EXPECT_EQ(call(&this->item), 7u);
    EXPECT_FALSE(atTheLine.alive);
  }
  atTheLine = {};
  EXPECT_EQ(TypeParam::updateContext(&this->item), 7u);
  EXPECT_TRUE(atTheLine.alive);
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
  EXPECT_EQ(TypeParam::remove(&this->item), 0u);
  EXPECT_EQ(TypeParam::removeByIndex(42), 0u);
  EXPECT_EQ(TypeParam::updateContext(&this->item), 0u);
  EXPECT_THAT(countedAtRelease, ElementsAre(0u, 1u, 2u, 4u));
}

// Remove.
TYPED_TEST_P(WholeRowTest, A_removal_is_by_the_primary_key_or_by_the_next_hop) {
  EXPECT_EQ(TypeParam::remove(&this->item), 0u);
  EXPECT_THAT(this->platform.calls,
              ElementsAre(this->created(4), this->keyed("db_remove_obj", TypeParam::kKey), this->released()));
  this->platform.reset();
  EXPECT_EQ(TypeParam::removeByIndex(42), 0u);
  EXPECT_THAT(this->platform.calls,
              ElementsAre(this->created(4), "db_remove_obj(#1, 0x01090004 2a000000)", this->released()));
}

TYPED_TEST_P(WholeRowTest, Removals_that_fail_return_the_code_say_so_and_count_REMOVE) {
  this->platform.failAlways("db_remove_obj", kCode);
  EXPECT_EQ(TypeParam::remove(&this->item), kCode);
  EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 4));
  EXPECT_EQ(TypeParam::removeByIndex(42), kCode);
  EXPECT_EQ(this->counted(TypeParam::kStat, 4), 2u);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.removeFailed, TypeParam::kTexts.removeFailed));
}

TYPED_TEST_P(WholeRowTest, Removals_whose_object_fails_say_so_before_they_look_at_the_item) {
  this->failCreate();
  EXPECT_EQ(TypeParam::remove(nullptr), kCode);
  this->failCreate();
  EXPECT_EQ(TypeParam::removeByIndex(42), kCode);
  EXPECT_THAT(this->platform.errorLines,
              ElementsAre(TypeParam::kTexts.removeCreate, TypeParam::kTexts.removeByIndexCreate));
  EXPECT_THAT(this->platform.allCalls, testing::SizeIs(2));
  EXPECT_EQ(this->allCounted(), 0u);
}

// Bulk reads: as many whole items as there is room for.
TYPED_TEST_P(WholeRowTest, A_bulk_read_reads_what_there_is_room_for_and_steps_no_further) {
  constexpr uint32_t kSize = sizeof(typename TypeParam::Item);
  struct {
    uint32_t bufLen, filled;
    long steps;
  } const rooms[] = {{0, 0, 0},         {1, 0, 0},         {kSize - 1, 0, 0},     {kSize, 1, 1},
                     {kSize + 1, 1, 1}, {2 * kSize, 2, 2}, {3 * kSize - 1, 2, 2}, {3 * kSize, 3, 3},
                     {4 * kSize, 3, 4}};
  for (const auto& room : rooms) {
    this->platform.reset();
    this->stock();
    this->wipe();
    this->filled = 77;
    EXPECT_EQ(TypeParam::readByKey(&this->desc, &this->key, room.bufLen, this->items, &this->filled), 0u);
    EXPECT_EQ(this->filled, room.filled) << room.bufLen;
    EXPECT_EQ(std::ranges::count(this->platform.calls, "db_root_iterator_next(~1)"), room.steps) << room.bufLen;
    EXPECT_EQ(std::ranges::count(this->platform.calls, this->rowRead()), room.filled) << room.bufLen;
    for (uint32_t i = 0; i < 4; ++i) {
      if (i >= room.filled) {
        EXPECT_TRUE(this->untouched(i)) << room.bufLen;
        continue;
      }
      typename TypeParam::Item expected = TypeParam::fullItem();
      expected.time_stamp_svc = i;
      EXPECT_EQ(TypeParam::rowOf(this->items[i]), TypeParam::rowOf(expected)) << room.bufLen;
    }
    EXPECT_TRUE(this->silent());
    EXPECT_EQ(this->allCounted(), 0u);
  }
}

TYPED_TEST_P(WholeRowTest, A_bulk_read_iterates_under_the_callers_key_and_releases) {
  this->stock();
  EXPECT_EQ(TypeParam::readByKey(&this->desc, &this->key, this->kSize, this->items, nullptr), 0u);
  EXPECT_THAT(this->platform.calls, ElementsAre(this->created(5), "db_create_root_iter(#1, 0x01090004 2a000000)",
                                                "db_root_iterator_next(~1)", this->rowRead(), this->released()));
}

TYPED_TEST_P(WholeRowTest, A_bulk_read_whose_step_fails_returns_the_code_and_what_was_read) {
  this->stock();
  this->wipe();
  this->platform.fail("db_root_iterator_next", 0);
  this->platform.fail("db_root_iterator_next", kCode);
  EXPECT_EQ(TypeParam::readByKey(&this->desc, &this->key, sizeof this->items, this->items, &this->filled), kCode);
  EXPECT_EQ(this->filled, 1u);
  EXPECT_FALSE(this->untouched(0));
  EXPECT_TRUE(this->untouched(1));
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.readStep));
  EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 6));
}

TYPED_TEST_P(WholeRowTest, A_bulk_read_whose_row_fails_returns_the_code_and_what_was_read) {
  this->stock();
  this->wipe();
  this->platform.fail("db_read_obj_with_buf", 0);
  this->platform.fail("db_read_obj_with_buf", kCode);
  EXPECT_EQ(TypeParam::readByKey(&this->desc, &this->key, sizeof this->items, this->items, &this->filled), kCode);
  EXPECT_EQ(this->filled, 1u);
  EXPECT_TRUE(this->untouched(1));
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.readRow));
  EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 0));
}

TYPED_TEST_P(WholeRowTest, A_bulk_read_ends_silently_with_15005_at_a_record_that_vanished) {
  this->stock();
  this->platform.fail("db_read_obj_with_buf", 0);
  this->platform.fail("db_read_obj_with_buf", 15005);
  EXPECT_EQ(TypeParam::readByKey(&this->desc, &this->key, sizeof this->items, this->items, &this->filled), 15005u);
  EXPECT_EQ(this->filled, 1u);
  EXPECT_TRUE(this->silent());
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(WholeRowTest, A_bulk_read_whose_object_or_iterator_fails_says_so_and_leaves_the_count) {
  this->failCreate();
  EXPECT_EQ(TypeParam::readByKey(nullptr, nullptr, sizeof this->items, nullptr, &this->filled), kCode);
  this->platform.fail("db_create_root_iter", kCode);
  EXPECT_EQ(TypeParam::readByKey(&this->desc, &this->key, sizeof this->items, this->items, &this->filled), kCode);
  EXPECT_EQ(this->filled, 77u);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.readCreate, TypeParam::kTexts.readIter));
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(WholeRowTest, A_bulk_read_hands_NULL_on_to_the_database) {
  EXPECT_EQ(TypeParam::readByKey(nullptr, nullptr, 0, nullptr, &this->filled), 0u);
  EXPECT_EQ(this->platform.calls[1], "db_create_root_iter(#1, NULL)");
  EXPECT_EQ(this->filled, 0u);
}

TYPED_TEST_P(WholeRowTest, A_bulk_read_by_next_hop_checks_the_items_alone) {
  EXPECT_EQ(TypeParam::readByIndex(42, sizeof this->items, nullptr, &this->filled), 1u);
  EXPECT_THAT(this->platform.allCalls, IsEmpty());
  EXPECT_TRUE(this->silent());
  EXPECT_EQ(this->filled, 77u);
  this->stock();
  EXPECT_EQ(TypeParam::readByIndex(42, 2 * this->kSize, this->items, &this->filled), 0u);
  EXPECT_EQ(this->filled, 2u);
  EXPECT_EQ(this->platform.calls[1], "db_create_root_iter(#1, 0x01090004 2a000000)");
  EXPECT_EQ(TypeParam::readByIndex(42, this->kSize, this->items, nullptr), 0u);
}

// Counts.
TYPED_TEST_P(WholeRowTest, A_count_stores_the_low_word) {
  this->platform.countResult = 0x100000007;
  EXPECT_EQ(TypeParam::countByKey(&this->desc, &this->key, &this->filled), 0u);
  EXPECT_EQ(this->filled, 7u);
  const auto calls =
      ElementsAre(this->created(9), "db_get_table_record_count_by_key(#1, 0x01090004 2a000000)", this->released());
  EXPECT_THAT(this->platform.calls, calls);
  this->platform.reset();
  this->platform.countResult = 8;
  EXPECT_EQ(TypeParam::countByIndex(42, &this->filled), 0u);
  EXPECT_EQ(this->filled, 8u);
  EXPECT_THAT(this->platform.calls, calls);
}

TYPED_TEST_P(WholeRowTest, Counts_that_fail_say_so_leave_the_count_and_are_not_counted) {
  this->failCreate();
  EXPECT_EQ(TypeParam::countByKey(&this->desc, &this->key, &this->filled), kCode);
  this->platform.fail("db_get_table_record_count_by_key", kCode);
  EXPECT_EQ(TypeParam::countByIndex(42, &this->filled), kCode);
  EXPECT_EQ(this->filled, 77u);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.countCreate, TypeParam::kTexts.countFailed));
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(WholeRowTest, Counts_check_nothing) {
  EXPECT_EQ(TypeParam::countByKey(nullptr, nullptr, &this->filled), 0u);
  EXPECT_EQ(this->platform.calls[1], "db_get_table_record_count_by_key(#1, NULL)");
  this->platform.failAlways("db_get_table_record_count_by_key", 8);
  EXPECT_EQ(TypeParam::countByKey(nullptr, nullptr, nullptr), 8u);
  EXPECT_EQ(TypeParam::countByIndex(42, nullptr), 8u);
}

// Partial updates.
TYPED_TEST_P(WholeRowTest, A_context_update_stages_its_seven_fields_in_order) {
  EXPECT_EQ(TypeParam::updateContext(&this->item), 0u);
  const auto set = [&](const char* rest) { return this->object("db_set_", rest); };
  EXPECT_THAT(
      this->platform.calls,
      ElementsAre(this->created(1), set("_svc_ctx_high_prio(#1, 101112131415161718191a1b1c1d1e1f)"),
                  set("_svc_ctx_normal_prio(#1, f0efeeedecebeae9e8e7e6e5e4e3e2e1)"), set("_status_high_prio(#1, 12)"),
                  set("_status_normal_prio(#1, 13)"), set("_errcode_high_prio(#1, 14)"),
                  set("_errcode_normal_prio(#1, 15)"), set("_time_stamp_svc(#1, 154618822656)"),
                  this->keyed("db_update_obj", TypeParam::kKey), this->released()));
}

TYPED_TEST_P(WholeRowTest, A_context_update_whose_setter_fails_tries_every_field_and_is_sent_all_the_same) {
  this->platform.fail(this->object("db_set_", "_svc_ctx_high_prio"), 5);
  EXPECT_EQ(TypeParam::updateContext(&this->item), 0u);
  EXPECT_EQ(this->platform.calls.size(), 10u);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.context));
  this->platform.fail(this->object("db_set_", "_time_stamp_svc"), 5);
  EXPECT_EQ(TypeParam::setContext(1, &this->item), 1u);
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(WholeRowTest, Updates_that_fail_return_the_code_say_so_and_count_UPDATE) {
  this->platform.fail("db_update_obj", kCode);
  EXPECT_EQ(TypeParam::updateContext(&this->item), kCode);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.updateFailed));
  EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 3));
}

TYPED_TEST_P(WholeRowTest, Updates_whose_object_fails_say_so) {
  this->failCreate();
  EXPECT_EQ(TypeParam::updateContext(&this->item), kCode);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.updateCreate));
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(WholeRowTest, Updates_of_NULL_return_1_silently) {
  EXPECT_EQ(TypeParam::update(nullptr, [](uint64_t, const void*) { return 0u; }), 1u);
  EXPECT_EQ(TypeParam::update(&this->item, nullptr), 1u);
  EXPECT_EQ(TypeParam::updateContext(nullptr), 1u);
  EXPECT_THAT(this->platform.allCalls, IsEmpty());
  EXPECT_TRUE(this->silent());
}

TYPED_TEST_P(WholeRowTest, Updates_are_not_timed) {
  g_fibGetDbOperTickCost = 1;
  EXPECT_EQ(TypeParam::updateContext(&this->item), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
  EXPECT_TRUE(this->silent());
}

// Iteration.
TYPED_TEST_P(WholeRowTest, Iteration_gives_every_record_then_60_every_time) {
  this->stock();
  FibDbIterator* const iterator = TypeParam::iterate(0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  EXPECT_THAT(this->platform.calls, ElementsAre(this->created(5), "db_create_root_iter(#1, NULL)"));
  for (uint64_t i = 0; i < 3; ++i) {
    EXPECT_EQ(TypeParam::next(iterator, &this->item), 0u);
    typename TypeParam::Item expected = TypeParam::fullItem();
    expected.time_stamp_svc = i;
    EXPECT_EQ(TypeParam::rowOf(this->item), TypeParam::rowOf(expected));
    EXPECT_EQ(this->platform.calls.back(), this->rowRead());
  }
  EXPECT_EQ(TypeParam::next(iterator, &this->item), 60u);
  EXPECT_EQ(TypeParam::next(iterator, &this->item), 60u);
  TypeParam::release(iterator);
  EXPECT_EQ(this->platform.calls.back(), this->released());
  EXPECT_TRUE(this->silent());
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(WholeRowTest, Steps_that_fail_return_1_not_the_code_and_count_ITERATOR) {
  FibDbIterator* const iterator = TypeParam::iterate(0xFFFFFFFF);
  this->platform.fail("db_root_iterator_next", kCode);
  EXPECT_EQ(TypeParam::next(iterator, &this->item), 1u);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.step));
  EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 6));
  TypeParam::release(iterator);
}

TYPED_TEST_P(WholeRowTest, Steps_whose_row_fails_return_1_count_READ_and_keep_the_item) {
  this->stock();
  const Row before = TypeParam::rowOf(this->item);
  FibDbIterator* const iterator = TypeParam::iterate(0xFFFFFFFF);
  this->platform.fail("db_read_obj_with_buf", kCode);
  EXPECT_EQ(TypeParam::next(iterator, &this->item), 1u);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kTexts.stepRow));
  EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 0));
  EXPECT_EQ(TypeParam::rowOf(this->item), before);
  TypeParam::release(iterator);
}

TYPED_TEST_P(WholeRowTest, Steps_to_a_record_that_vanished_return_1_silently_and_uncounted) {
  this->stock();
  FibDbIterator* const iterator = TypeParam::iterate(0xFFFFFFFF);
  this->platform.fail("db_read_obj_with_buf", 15005);
  EXPECT_EQ(TypeParam::next(iterator, &this->item), 1u);
  EXPECT_TRUE(this->silent());
  EXPECT_EQ(this->allCounted(), 0u);
  TypeParam::release(iterator);
}

TYPED_TEST_P(WholeRowTest, Steps_of_NULL_return_1_silently_and_releasing_NULL_does_nothing) {
  FibDbIterator iterator{};
  EXPECT_EQ(TypeParam::next(nullptr, &this->item), 1u);
  EXPECT_EQ(TypeParam::next(&iterator, nullptr), 1u);
  TypeParam::release(nullptr);
  EXPECT_THAT(this->platform.allCalls, IsEmpty());
  EXPECT_TRUE(this->silent());
}

TYPED_TEST_P(WholeRowTest, Iterators_set_any_property_but_the_one_that_means_none) {
  for (const uint32_t property : {0u, 5u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    const size_t calls = property == 0xFFFFFFFF ? 3 : 4;
    this->platform.calls.clear();
    TypeParam::release(TypeParam::iterate(property));
    EXPECT_EQ(this->platform.calls.size(), calls) << property;
    this->platform.calls.clear();
    TypeParam::release(TypeParam::iterateByKey(&this->desc, &this->key, property));
    EXPECT_EQ(this->platform.calls.size(), calls) << property;
  }
  TypeParam::release(TypeParam::iterate(5));
  EXPECT_THAT(this->platform.calls,
              testing::Contains(testing::MatchesRegex("db_set_root_iterator_property\\(~[0-9]+, 0, 05000000\\)")));
}

TYPED_TEST_P(WholeRowTest, Keyed_iterators_check_nothing_and_are_made_in_their_handle) {
  FibDbIterator* const iterator = TypeParam::iterateByKey(nullptr, nullptr, 0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  EXPECT_EQ(this->platform.calls[1], "db_create_root_iter(#1, NULL)");
  ASSERT_EQ(this->platform.outWords.size(), 2u);
  EXPECT_EQ(this->platform.outWords[0].at, &iterator->obj);
  EXPECT_EQ(this->platform.outWords[1].at, &iterator->rootIter);
  EXPECT_EQ(this->platform.outWords[0].before, 0u);
  EXPECT_EQ(this->platform.outWords[1].before, 0u);
  EXPECT_EQ(iterator->rsv, 0xA5A5A5A5A5A5A5A5u);
  TypeParam::release(iterator);
}

TYPED_TEST_P(WholeRowTest, Iterators_under_a_next_hop_carry_its_key) {
  TypeParam::release(TypeParam::iterateByIndex(42, 0xFFFFFFFF));
  EXPECT_EQ(this->platform.calls[1], "db_create_root_iter(#1, 0x01090004 2a000000)");
}

TYPED_TEST_P(WholeRowTest, Iterator_creation_failures_say_which_step_and_give_NULL) {
  const IteratorTexts& whole = TypeParam::kTexts.whole;
  const IteratorTexts& byKey = TypeParam::kTexts.byKey;
  const struct {
    std::string call;
    const char* whole;
    const char* byKey;
  } steps[] = {{"alloc", whole.malloc, byKey.malloc},
               {this->object("db_create_", "_obj"), whole.createObj, byKey.createObj},
               {"db_create_root_iter", whole.createIter, byKey.createIter},
               {"db_set_root_iterator_property", whole.setProperty, byKey.setProperty}};
  for (const auto& step : steps) {
    this->platform.errorLines.clear();
    this->platform.fail(step.call, kCode);
    EXPECT_EQ(TypeParam::iterate(0), nullptr);
    this->platform.fail(step.call, kCode);
    EXPECT_EQ(TypeParam::iterateByKey(&this->desc, &this->key, 0), nullptr);
    this->platform.fail(step.call, kCode);
    EXPECT_EQ(TypeParam::iterateByIndex(42, 0), nullptr);
    EXPECT_THAT(this->platform.errorLines, ElementsAre(step.whole, step.byKey, step.byKey));
  }
  EXPECT_EQ(this->allCounted(), 0u);
}

REGISTER_TYPED_TEST_SUITE_P(
    WholeRowTest, An_item_is_packed_into_its_row_and_comes_back,
    Conversions_go_on_behind_a_failed_copy_and_return_the_last_ones_result, The_primary_key_is_the_beginning_of_the_row,
    A_write_stages_the_whole_row_and_writes_once, A_write_whose_object_fails_says_so_before_it_looks_at_the_item,
    A_write_whose_row_is_not_taken_says_so_returns_the_code_and_does_not_write,
    A_write_that_fails_returns_the_code_says_so_and_counts_WRITE,
    Publications_of_writes_removals_and_updates_return_0_and_count_PUB,
    Writes_and_removals_have_released_before_their_failure_is_said_and_updates_have_not,
    Publications_of_writes_and_removals_are_counted_behind_the_release,
    A_removal_is_by_the_primary_key_or_by_the_next_hop, Removals_that_fail_return_the_code_say_so_and_count_REMOVE,
    Removals_whose_object_fails_say_so_before_they_look_at_the_item,
    A_bulk_read_reads_what_there_is_room_for_and_steps_no_further,
    A_bulk_read_iterates_under_the_callers_key_and_releases,
    A_bulk_read_whose_step_fails_returns_the_code_and_what_was_read,
    A_bulk_read_whose_row_fails_returns_the_code_and_what_was_read,
    A_bulk_read_ends_silently_with_15005_at_a_record_that_vanished,
    A_bulk_read_whose_object_or_iterator_fails_says_so_and_leaves_the_count, A_bulk_read_hands_NULL_on_to_the_database,
    A_bulk_read_by_next_hop_checks_the_items_alone, A_count_stores_the_low_word,
    Counts_that_fail_say_so_leave_the_count_and_are_not_counted, Counts_check_nothing,
    A_context_update_stages_its_seven_fields_in_order,
    A_context_update_whose_setter_fails_tries_every_field_and_is_sent_all_the_same,
    Updates_that_fail_return_the_code_say_so_and_count_UPDATE, Updates_whose_object_fails_say_so,
    Updates_of_NULL_return_1_silently, Updates_are_not_timed, Iteration_gives_every_record_then_60_every_time,
    Steps_that_fail_return_1_not_the_code_and_count_ITERATOR,
    Steps_whose_row_fails_return_1_count_READ_and_keep_the_item,
    Steps_to_a_record_that_vanished_return_1_silently_and_uncounted,
    Steps_of_NULL_return_1_silently_and_releasing_NULL_does_nothing,
    Iterators_set_any_property_but_the_one_that_means_none, Keyed_iterators_check_nothing_and_are_made_in_their_handle,
    Iterators_under_a_next_hop_carry_its_key, Iterator_creation_failures_say_which_step_and_give_NULL);

}  // namespace fibdb::test

#endif
