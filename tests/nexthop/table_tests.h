// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/table_tests.h: what holds for one table of next hops as for another, over the recorded platform:
// records written, read, removed and updated, bulk reads and counts under a key, iterators. A table's test file
// describes the table, spells its texts out, and instantiates the suites that it has functions for.
#ifndef FIBDB_TESTS_NEXTHOP_TABLE_TESTS_H
#define FIBDB_TESTS_NEXTHOP_TABLE_TESTS_H

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

#include "platform/objdb_tables.h"
#include "tests/support/calls.h"
#include "tests/support/failing_code.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {

// Texts of a table, as they are printed for kCode; nullptr where nothing is said.
struct WriteTexts {
  const char* create = nullptr;
  const char* stage = nullptr;     // of the setters' codes
  const char* stageToo = nullptr;  // behind it
  const char* failed = nullptr;
  uint32_t stageStatus = 1;
};
struct ReadTexts {
  const char* create = nullptr;
  const char* failed = nullptr;
};
struct UpdateTexts {
  const char* create = nullptr;
  const char* failed = nullptr;
};
struct BulkReadTexts {
  const char* create = nullptr;
  const char* createIter = nullptr;
  const char* step = nullptr;
};
struct CountTexts {
  const char* create = nullptr;
  const char* failed = nullptr;
};
struct IteratorTexts {
  const char* malloc;
  const char* createObj;
  const char* createIter;
  const char* setProperty;
};
struct StepTexts {
  const char* failed;
  const char* null = nullptr;  // of NULL arguments
};

inline Calls said(std::initializer_list<const char*> texts) {
  Calls lines;
  for (const char* const text : texts) {
    if (text != nullptr) lines.emplace_back(text);
  }
  return lines;
}

// The exported functions of one kind, each with the key that it makes of what it is handed here.
template <class Item>
struct Removal {
  const char* name;
  const char* key;
  const char* create;  // the text
  uint32_t (*call)(const Item* item);
};
template <class Item>
struct Update {
  const char* name;
  uint32_t (*call)(const Item* item);
  Calls staged;
  const char* setterFailed = nullptr;  // the text
};
template <class Item>
struct BulkRead {
  const char* name;
  const char* key;
  uint32_t (*call)(uint32_t bufLen, Item* items, uint32_t* filled);
  bool tells = true;  // how many it filled
  bool itemsAreChecked = true;
};
struct Count {
  const char* name;
  const char* key;
  const CountTexts& texts;
  uint32_t (*call)(uint32_t* count);
  bool countIsChecked = true;
};
struct Iterate {
  const char* name;
  const char* key;
  const IteratorTexts& texts;
  FibDbIterator* (*call)(uint32_t property);
  bool madeInHandle = false;  // object and root iterator
};

// The index by next hop of most tables: the functions under the caller's own key, those that make it themselves, and
// those that make it and take no item.
constexpr FibDbKeyDesc kNhpIndexDesc{.indexId = 0x01090004, .rsv1 = 0, .rsv2 = 0};
constexpr uint32_t kNhpIndex = 42;
constexpr const char* kNhpIndexKey = "0x01090004 2a000000";
template <auto Function>
constexpr auto byKey = [](auto... rest) { return Function(&kNhpIndexDesc, &kNhpIndex, rest...); };
template <auto Function>
constexpr auto byNhpIndex = [](auto... rest) { return Function(kNhpIndex, rest...); };
template <auto Function>
constexpr auto ofNhpIndex = [](const auto*) { return Function(kNhpIndex); };

// What a service says of a record; as fields of a row, and as updates stage it.
template <class Item>
Item withContext(Item item) {
  item.status_high_prio = 12;
  item.status_normal_prio = 13;
  item.errcode_high_prio = 14;
  item.errcode_normal_prio = 15;
  for (uint8_t i = 0; i < 16; ++i) item.svc_ctx_high_prio[i] = item.svc_ctx_normal_prio[i] = i;
  item.svc_ctx_high_prio[0] = 0x16;
  item.svc_ctx_high_prio[15] = 0xEE;
  item.svc_ctx_normal_prio[0] = 0x17;
  item.svc_ctx_normal_prio[15] = 0xFF;
  item.time_stamp_svc = 0x2400000000;
  return item;
}
template <class Item>
void putContext(schema::TableId table, Row& row, const Item& item) {
  putField(table, row, "status_high_prio", item.status_high_prio);
  putField(table, row, "status_normal_prio", item.status_normal_prio);
  putField(table, row, "errcode_high_prio", item.errcode_high_prio);
  putField(table, row, "errcode_normal_prio", item.errcode_normal_prio);
  putBytes(table, row, "svc_ctx_high_prio", item.svc_ctx_high_prio);
  putBytes(table, row, "svc_ctx_normal_prio", item.svc_ctx_normal_prio);
  putField(table, row, "time_stamp_svc", item.time_stamp_svc);
}
constexpr const char* kContextStaged =
    "svc_ctx_high_prio=160102030405060708090a0b0c0d0eee svc_ctx_normal_prio=170102030405060708090a0b0c0d0eff "
    "status_high_prio=12 status_normal_prio=13 errcode_high_prio=14 errcode_normal_prio=15 time_stamp_svc=154618822656";

// A description of a table has
//   kTable, kName (the database's), kStat (its row of the error matrix)
//   fullItem(): every field set, and all different; kKey: how calls show its primary key
//   rowOf(item): the row of an item; kMark: a field that tells records apart, whatever is read of them
// and what its suites name, here as it is in most tables.
template <class Table, class ItemT>
struct NextHopTable {
  using Item = ItemT;
  static constexpr bool kReadChecksItem = true;
  static constexpr bool kStepsAreCounted = true;
  static Row written() { return Table::rowOf(Table::fullItem()); }
  static Calls fetch() { return Calls{"db_read_obj(#1, " + std::string(Table::kKey) + ")"} + Table::step(); }
  static Calls arrive() { return Table::step(); }
  static Item delivered(const Item& record, const Item&) { return record; }
};

template <class Table>
class NextHopTableTest : public TablesTest {
 protected:
  using Item = typename Table::Item;
  static constexpr uint32_t kSize = sizeof(Item);
  static constexpr uint32_t kRecords = 3;

  void SetUp() override { platform.record(Table::kTable) = rowOf(fullItem()); }

  static Item fullItem() { return Table::fullItem(); }
  static Row rowOf(const Item& item) { return Table::rowOf(item); }

  // "db_create_<table>_obj" and its like.
  static std::string object(const char* before, const char* behind) {
    return before + std::string(Table::kName) + behind;
  }
  static std::string createOf() { return object("db_create_", "_obj"); }
  static std::string created(int kind) { return createOf() + "(" + std::to_string(kind) + ")"; }
  static std::string released() { return object("db_release_", "_object(#1)"); }
  static std::string keyed(const char* call, const std::string& key) { return call + ("(#1, " + key + ")"); }

  // What one operation of a kind calls, the object's making and release with it.
  static Calls around(int kind, const Calls& calls) { return Calls{created(kind)} + calls + Calls{released()}; }

  // As the first test that this one runs.
  void again() {
    EXPECT_EQ(platform.leaks(), "");
    platform.reset();
    SetUp();
    filled = 77;
  }

  // The records of an iteration.
  static Item marked(Item item, uint32_t record) {
    item.*Table::kMark = static_cast<std::remove_cvref_t<decltype(item.*Table::kMark)>>(record);
    return item;
  }
  void stock() {
    for (uint32_t i = 0; i < kRecords; ++i) platform.entries.push_back(rowOf(marked(fullItem(), i)));
  }

  // Slots that no record could be.
  void wipe() { std::memset(static_cast<void*>(items), 0x5A, sizeof items); }
  bool untouched(size_t slot) const {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(items + slot);
    return std::all_of(bytes, bytes + sizeof(Item), [](uint8_t byte) { return byte == 0x5A; });
  }

  testing::AssertionResult saysAndCountsNothing() const {
    if (silent() && allCounted() == 0) return testing::AssertionSuccess();
    return testing::AssertionFailure() << silent().message() << allCounted() << " counted";
  }
  testing::AssertionResult nothingHappened() const {
    if (platform.allCalls.empty() && saysAndCountsNothing()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << testing::PrintToString(platform.allCalls) << saysAndCountsNothing().message();
  }
  // A call failed: its lines, nothing counted.
  testing::AssertionResult onlySaid(std::initializer_list<const char*> texts) const {
    if (platform.errorLines == said(texts) && platform.infoLines.empty() && allCounted() == 0) {
      return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << testing::PrintToString(platform.errorLines) << allCounted() << " counted";
  }

  Item item = fullItem();
  Item items[4] = {};
  uint32_t filled = 77;
  FibDbKeyDesc desc = kNhpIndexDesc;
  uint32_t key = kNhpIndex;
};

using testing::ElementsAre;
using testing::IsEmpty;

// Writes: write, kWrite (texts), staged(): the setters' calls, written(): the row that they leave. --------------------
template <class Table>
using NextHopWriteTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopWriteTest);

TYPED_TEST_P(NextHopWriteTest, A_write_stages_its_fields_in_order_and_writes_once) {
  EXPECT_EQ(TypeParam::write(&this->item), 0u);
  EXPECT_EQ(this->platform.calls, this->around(0, TypeParam::staged() + Calls{"db_write_obj(#1)"}));
  EXPECT_EQ(this->platform.staged(TypeParam::kTable), TypeParam::written());
  EXPECT_TRUE(this->saysAndCountsNothing());
}

TYPED_TEST_P(NextHopWriteTest, A_write_whose_object_fails_returns_the_code) {
  this->platform.fail(this->createOf(), kCode);
  EXPECT_EQ(TypeParam::write(&this->item), kCode);
  EXPECT_TRUE(this->onlySaid({TypeParam::kWrite.create}));
}

TYPED_TEST_P(NextHopWriteTest, A_write_whose_field_fails_tries_them_all_and_does_not_write) {
  const Calls staged = TypeParam::staged();
  for (const std::string& failing : staged) {
    this->again();
    this->platform.fail(nameOfCall(failing), kCode);
    EXPECT_EQ(TypeParam::write(&this->item), TypeParam::kWrite.stageStatus) << failing;
    EXPECT_EQ(this->platform.calls, this->around(0, staged)) << failing;
    EXPECT_TRUE(this->onlySaid({TypeParam::kWrite.stage, TypeParam::kWrite.stageToo})) << failing;
  }
}

TYPED_TEST_P(NextHopWriteTest, A_write_answered_with_a_publication_returns_0_and_counts_PUB) {
  this->platform.fail("db_write_obj", 13044);
  EXPECT_EQ(TypeParam::write(&this->item), 0u);
  EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 1));
  EXPECT_TRUE(this->silent());
}

TYPED_TEST_P(NextHopWriteTest, A_write_that_fails_returns_the_code_and_counts_WRITE) {
  this->platform.fail("db_write_obj", kCode);
  EXPECT_EQ(TypeParam::write(&this->item), kCode);
  EXPECT_EQ(this->platform.errorLines, said({TypeParam::kWrite.failed}));
  EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 2));
}

REGISTER_TYPED_TEST_SUITE_P(NextHopWriteTest, A_write_stages_its_fields_in_order_and_writes_once,
                            A_write_whose_object_fails_returns_the_code,
                            A_write_whose_field_fails_tries_them_all_and_does_not_write,
                            A_write_answered_with_a_publication_returns_0_and_counts_PUB,
                            A_write_that_fails_returns_the_code_and_counts_WRITE);

// Writes that stage field by field.
template <class Table>
using NextHopFieldsTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopFieldsTest);

TYPED_TEST_P(NextHopFieldsTest, A_write_whose_fields_fail_says_the_OR_of_their_codes) {
  const Calls staged = TypeParam::staged();
  this->platform.fail(nameOfCall(staged.back()), kCode & 0xFFFF);
  this->platform.fail(nameOfCall(staged.front()), kCode & ~0xFFFFu);
  TypeParam::write(&this->item);
  EXPECT_TRUE(this->onlySaid({TypeParam::kWrite.stage, TypeParam::kWrite.stageToo}));
}

REGISTER_TYPED_TEST_SUITE_P(NextHopFieldsTest, A_write_whose_fields_fail_says_the_OR_of_their_codes);

// Reads of one record: read, kRead (texts), keyOf(item): an item of its key alone, fetch(): the calls that read it. ---
template <class Table>
using NextHopReadTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopReadTest);

TYPED_TEST_P(NextHopReadTest, A_read_goes_by_the_primary_key_and_fills_every_field_in_order) {
  typename TypeParam::Item out = TypeParam::keyOf(this->item);
  EXPECT_EQ(TypeParam::read(&out), 0u);
  EXPECT_EQ(TypeParam::rowOf(out), TypeParam::rowOf(this->item));
  EXPECT_EQ(this->platform.calls, this->around(3, TypeParam::fetch()));
  EXPECT_TRUE(this->saysAndCountsNothing());
}

TYPED_TEST_P(NextHopReadTest, A_read_of_what_is_missing_returns_60_silently_and_keeps_the_item) {
  this->item = TypeParam::keyOf(this->item);
  const Row before = TypeParam::rowOf(this->item);
  this->platform.fail(nameOfCall(TypeParam::fetch().front()), 15005);
  EXPECT_EQ(TypeParam::read(&this->item), 60u);
  EXPECT_EQ(TypeParam::rowOf(this->item), before);
  EXPECT_TRUE(this->saysAndCountsNothing());
}

TYPED_TEST_P(NextHopReadTest, A_read_that_fails_says_so_counts_READ_and_has_no_special_meaning_for_a_publication) {
  for (const uint32_t code : {kCode, 13044u}) {
    this->again();
    this->platform.fail(nameOfCall(TypeParam::fetch().front()), code);
    EXPECT_EQ(TypeParam::read(&this->item), code);
    EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 0));
    if (code == kCode) {
      EXPECT_EQ(this->platform.errorLines, said({TypeParam::kRead.failed}));
    }
  }
}

TYPED_TEST_P(NextHopReadTest, A_read_whose_object_fails_says_so_and_returns_the_code) {
  this->platform.fail(this->createOf(), kCode);
  EXPECT_EQ(TypeParam::read(&this->item), kCode);
  EXPECT_TRUE(this->onlySaid({TypeParam::kRead.create}));
}

REGISTER_TYPED_TEST_SUITE_P(NextHopReadTest, A_read_goes_by_the_primary_key_and_fills_every_field_in_order,
                            A_read_of_what_is_missing_returns_60_silently_and_keeps_the_item,
                            A_read_that_fails_says_so_counts_READ_and_has_no_special_meaning_for_a_publication,
                            A_read_whose_object_fails_says_so_and_returns_the_code);

// Removals: kRemovals, kRemoveFailed (a text). ------------------------------------------------------------------------
template <class Table>
using NextHopRemovalTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopRemovalTest);

TYPED_TEST_P(NextHopRemovalTest, Removals_go_by_their_key) {
  for (const auto& removal : TypeParam::kRemovals) {
    this->again();
    EXPECT_EQ(removal.call(&this->item), 0u) << removal.name;
    EXPECT_EQ(this->platform.calls, this->around(4, {this->keyed("db_remove_obj", removal.key)})) << removal.name;
    EXPECT_TRUE(this->saysAndCountsNothing()) << removal.name;
  }
}

TYPED_TEST_P(NextHopRemovalTest, Removals_that_fail_return_the_code_and_count_REMOVE) {
  for (const auto& removal : TypeParam::kRemovals) {
    this->again();
    this->platform.fail("db_remove_obj", kCode);
    EXPECT_EQ(removal.call(&this->item), kCode) << removal.name;
    EXPECT_EQ(this->platform.errorLines, said({TypeParam::kRemoveFailed})) << removal.name;
    EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 4)) << removal.name;
    this->platform.fail("db_remove_obj", 15005);
    EXPECT_EQ(removal.call(&this->item), 15005u) << "a missing record is a failure of " << removal.name;
    EXPECT_EQ(this->counted(TypeParam::kStat, 4), 2u) << removal.name;
  }
}

TYPED_TEST_P(NextHopRemovalTest, Removals_answered_with_a_publication_return_0_and_count_PUB) {
  for (const auto& removal : TypeParam::kRemovals) {
    this->again();
    this->platform.fail("db_remove_obj", 13044);
    EXPECT_EQ(removal.call(&this->item), 0u) << removal.name;
    EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 1)) << removal.name;
    EXPECT_TRUE(this->silent()) << removal.name;
  }
}

TYPED_TEST_P(NextHopRemovalTest, Removals_whose_object_fails_return_the_code) {
  for (const auto& removal : TypeParam::kRemovals) {
    this->again();
    this->platform.fail(this->createOf(), kCode);
    EXPECT_EQ(removal.call(&this->item), kCode) << removal.name;
    EXPECT_TRUE(this->onlySaid({removal.create})) << removal.name;
  }
}

REGISTER_TYPED_TEST_SUITE_P(NextHopRemovalTest, Removals_go_by_their_key,
                            Removals_that_fail_return_the_code_and_count_REMOVE,
                            Removals_answered_with_a_publication_return_0_and_count_PUB,
                            Removals_whose_object_fails_return_the_code);

// NULL items: write, read, kReadChecksItem, kRemovals by an item first. -----------------------------------------------
template <class Table>
using NextHopNullTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopNullTest);

TYPED_TEST_P(NextHopNullTest, NULL_items_return_1_silently_where_they_are_checked) {
  EXPECT_EQ(TypeParam::write(nullptr), 1u);
  EXPECT_EQ(TypeParam::kRemovals[0].call(nullptr), 1u);
  if (TypeParam::kReadChecksItem) {
    EXPECT_EQ(TypeParam::read(nullptr), 1u);
  }
  EXPECT_TRUE(this->nothingHappened());
  if (!TypeParam::kReadChecksItem) {
    // Only without an object does a NULL get as far as a status.
    this->platform.fail(this->createOf(), kCode);
    EXPECT_EQ(TypeParam::read(nullptr), kCode);
  }
}

REGISTER_TYPED_TEST_SUITE_P(NextHopNullTest, NULL_items_return_1_silently_where_they_are_checked);

// Partial updates: updates(). -----------------------------------------------------------------------------------------
template <class Table>
using NextHopUpdateTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopUpdateTest);

TYPED_TEST_P(NextHopUpdateTest, Updates_stage_their_fields_alone_in_order_under_the_primary_key) {
  for (const auto& update : TypeParam::updates()) {
    this->again();
    EXPECT_EQ(update.call(&this->item), 0u) << update.name;
    const Calls sent{this->keyed("db_update_obj", TypeParam::kKey)};
    EXPECT_EQ(this->platform.calls, this->around(1, update.staged + sent)) << update.name;
    EXPECT_TRUE(this->saysAndCountsNothing()) << update.name;
  }
}

REGISTER_TYPED_TEST_SUITE_P(NextHopUpdateTest, Updates_stage_their_fields_alone_in_order_under_the_primary_key);

// Updates that are sent whatever became of their setter: kUpdate (texts), updateFields. -------------------------------
template <class Table>
using NextHopSetterTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopSetterTest);

TYPED_TEST_P(NextHopSetterTest, An_update_whose_setter_fails_tries_every_field_says_so_and_is_sent_all_the_same) {
  for (const auto& update : TypeParam::updates()) {
    for (const std::string& failing : update.staged) {
      this->again();
      this->platform.fail(nameOfCall(failing), kCode);
      EXPECT_EQ(update.call(&this->item), 0u) << failing;
      EXPECT_EQ(this->platform.calls.size(), 1 + update.staged.size() + 2) << failing;
      EXPECT_EQ(std::ranges::count(this->platform.allCalls, "db_update_obj"), 1) << failing;
      EXPECT_TRUE(this->onlySaid({update.setterFailed})) << failing;
    }
  }
}

TYPED_TEST_P(NextHopSetterTest, The_item_is_handed_to_the_callers_setter) {
  static const void* seen;
  seen = nullptr;
  const FibDbFieldSetter setter = [](uint64_t, const void* handed) { return seen = handed, 5u; };
  EXPECT_EQ(TypeParam::updateFields(&this->item, setter), 0u);
  EXPECT_EQ(seen, &this->item);
  EXPECT_EQ(this->platform.calls, this->around(1, {this->keyed("db_update_obj", TypeParam::kKey)}));
  EXPECT_TRUE(this->saysAndCountsNothing());
}

TYPED_TEST_P(NextHopSetterTest, Updates_that_fail_return_the_code_and_count_UPDATE) {
  for (const auto& update : TypeParam::updates()) {
    this->again();
    this->platform.fail("db_update_obj", kCode);
    EXPECT_EQ(update.call(&this->item), kCode) << update.name;
    EXPECT_EQ(this->platform.errorLines, said({TypeParam::kUpdate.failed})) << update.name;
    EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 3)) << update.name;
  }
}

TYPED_TEST_P(NextHopSetterTest, Updates_answered_with_a_publication_return_0_and_count_PUB) {
  for (const auto& update : TypeParam::updates()) {
    this->again();
    this->platform.fail("db_update_obj", 13044);
    EXPECT_EQ(update.call(&this->item), 0u) << update.name;
    EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 1)) << update.name;
    EXPECT_TRUE(this->silent()) << update.name;
  }
}

TYPED_TEST_P(NextHopSetterTest, Updates_whose_object_fails_return_the_code) {
  for (const auto& update : TypeParam::updates()) {
    this->again();
    this->platform.fail(this->createOf(), kCode);
    EXPECT_EQ(update.call(&this->item), kCode) << update.name;
    EXPECT_TRUE(this->onlySaid({TypeParam::kUpdate.create})) << update.name;
  }
}

TYPED_TEST_P(NextHopSetterTest, Updates_of_NULL_or_without_setter_return_1_silently) {
  EXPECT_EQ(TypeParam::updateFields(nullptr, [](uint64_t, const void*) { return 0u; }), 1u);
  EXPECT_EQ(TypeParam::updateFields(&this->item, nullptr), 1u);
  for (const auto& update : TypeParam::updates()) EXPECT_EQ(update.call(nullptr), 1u) << update.name;
  EXPECT_TRUE(this->nothingHappened());
}

REGISTER_TYPED_TEST_SUITE_P(NextHopSetterTest,
                            An_update_whose_setter_fails_tries_every_field_says_so_and_is_sent_all_the_same,
                            The_item_is_handed_to_the_callers_setter,
                            Updates_that_fail_return_the_code_and_count_UPDATE,
                            Updates_answered_with_a_publication_return_0_and_count_PUB,
                            Updates_whose_object_fails_return_the_code,
                            Updates_of_NULL_or_without_setter_return_1_silently);

// Bulk reads, as many whole items as there is room for: kBulkReads, kBulkRead (texts), arrive(): the calls behind a
// step, delivered(record, slot): what becomes of a slot. --------------------------------------------------------------
template <class Table>
class NextHopBulkReadTest : public NextHopTableTest<Table> {
 protected:
  void SetUp() override {
    NextHopTableTest<Table>::SetUp();
    this->stock();
    this->wipe();
  }

  // How many items are filled, and told where that is told.
  testing::AssertionResult filledAndTold(const BulkRead<typename Table::Item>& read, uint32_t expected) const {
    const uint32_t told = read.tells ? expected : 77;
    if (this->filled != told) return testing::AssertionFailure() << this->filled << " told";
    for (uint32_t i = 0; i < std::size(this->items); ++i) {
      if (this->untouched(i) != (i >= expected)) return testing::AssertionFailure() << "slot " << i;
    }
    return testing::AssertionSuccess();
  }
};
TYPED_TEST_SUITE_P(NextHopBulkReadTest);

TYPED_TEST_P(NextHopBulkReadTest, Bulk_reads_go_by_their_key_read_what_there_is_room_for_and_step_no_further) {
  for (const auto& read : TypeParam::kBulkReads) {
    for (uint32_t bufLen = 0; bufLen <= sizeof this->items; ++bufLen) {
      SCOPED_TRACE(read.name + (" of " + std::to_string(bufLen)));
      this->again();
      const typename TypeParam::Item slot = this->items[0];
      const uint32_t room = bufLen / this->kSize;
      const uint32_t expected = std::min(room, this->kRecords);
      ASSERT_EQ(read.call(bufLen, this->items, &this->filled), 0u);
      ASSERT_TRUE(this->filledAndTold(read, expected));
      for (uint32_t i = 0; i < expected; ++i) {
        const auto record = this->marked(this->fullItem(), i);
        ASSERT_EQ(this->rowOf(this->items[i]), this->rowOf(TypeParam::delivered(record, slot)));
      }
      Calls calls{this->keyed("db_create_root_iter", read.key)};
      for (uint32_t i = 0; i < room; ++i) {
        calls.emplace_back("db_root_iterator_next(~1)");
        if (i < this->kRecords) calls = calls + TypeParam::arrive();
      }
      ASSERT_EQ(this->platform.calls, this->around(5, calls));
      ASSERT_TRUE(this->saysAndCountsNothing());
    }
  }
}

TYPED_TEST_P(NextHopBulkReadTest, Bulk_reads_without_a_count_just_read) {
  for (const auto& read : TypeParam::kBulkReads) {
    this->again();
    EXPECT_EQ(read.call(2 * this->kSize, this->items, nullptr), 0u) << read.name;
    EXPECT_FALSE(this->untouched(1)) << read.name;
    EXPECT_EQ(read.call(0, this->items, nullptr), 0u) << read.name;
  }
}

TYPED_TEST_P(NextHopBulkReadTest, Bulk_reads_whose_step_fails_return_the_code_and_what_was_read_and_count_ITERATOR) {
  for (const auto& read : TypeParam::kBulkReads) {
    this->again();
    this->platform.fail("db_root_iterator_next", 0);
    this->platform.fail("db_root_iterator_next", kCode);
    EXPECT_EQ(read.call(sizeof this->items, this->items, &this->filled), kCode) << read.name;
    EXPECT_TRUE(this->filledAndTold(read, 1)) << read.name;
    EXPECT_EQ(this->platform.errorLines, said({TypeParam::kBulkRead.step})) << read.name;
    EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 6)) << read.name;
  }
}

TYPED_TEST_P(NextHopBulkReadTest, Bulk_reads_whose_object_or_iterator_fails_return_the_code_and_leave_the_count) {
  for (const auto& read : TypeParam::kBulkReads) {
    for (const bool object : {true, false}) {
      this->again();
      this->platform.fail(object ? this->createOf() : "db_create_root_iter", kCode);
      EXPECT_EQ(read.call(sizeof this->items, this->items, &this->filled), kCode) << read.name;
      EXPECT_EQ(this->filled, 77u) << read.name;
      EXPECT_TRUE(this->untouched(0)) << read.name;
      EXPECT_TRUE(this->onlySaid({object ? TypeParam::kBulkRead.create : TypeParam::kBulkRead.createIter}))
          << read.name;
    }
  }
}

TYPED_TEST_P(NextHopBulkReadTest, Bulk_reads_refuse_NULL_items_silently_where_they_check_them) {
  for (const auto& read : TypeParam::kBulkReads) {
    this->again();
    if (read.itemsAreChecked) {
      EXPECT_EQ(read.call(this->kSize, nullptr, &this->filled), 1u) << read.name;
      EXPECT_TRUE(this->nothingHappened()) << read.name;
    } else {
      EXPECT_EQ(read.call(0, nullptr, nullptr), 0u) << read.name;
    }
    EXPECT_EQ(this->filled, 77u) << read.name;
  }
}

REGISTER_TYPED_TEST_SUITE_P(NextHopBulkReadTest,
                            Bulk_reads_go_by_their_key_read_what_there_is_room_for_and_step_no_further,
                            Bulk_reads_without_a_count_just_read,
                            Bulk_reads_whose_step_fails_return_the_code_and_what_was_read_and_count_ITERATOR,
                            Bulk_reads_whose_object_or_iterator_fails_return_the_code_and_leave_the_count,
                            Bulk_reads_refuse_NULL_items_silently_where_they_check_them);

// Bulk reads of whole rows: kRow (what becomes of a row that cannot be read). -----------------------------------------
struct RowFailure {
  uint32_t missing;  // the status of a row that has vanished
  uint32_t failed;   // and of another failure
  const char* text;  // of that
};

template <class Table>
using NextHopRowTest = NextHopBulkReadTest<Table>;
TYPED_TEST_SUITE_P(NextHopRowTest);

TYPED_TEST_P(NextHopRowTest, Bulk_reads_end_silently_at_a_record_that_vanished) {
  for (const auto& read : TypeParam::kBulkReads) {
    this->again();
    this->platform.fail("db_read_obj_with_buf", 0);
    this->platform.fail("db_read_obj_with_buf", 15005);
    EXPECT_EQ(read.call(sizeof this->items, this->items, &this->filled), TypeParam::kRow.missing) << read.name;
    EXPECT_TRUE(this->filledAndTold(read, 1)) << read.name;
    EXPECT_EQ(std::ranges::count(this->platform.allCalls, "db_root_iterator_next"), 2) << read.name;
    EXPECT_TRUE(this->saysAndCountsNothing()) << read.name;
  }
}

TYPED_TEST_P(NextHopRowTest, Bulk_reads_whose_row_fails_say_so_return_what_was_read_and_count_READ) {
  for (const auto& read : TypeParam::kBulkReads) {
    this->again();
    this->platform.fail("db_read_obj_with_buf", 0);
    this->platform.fail("db_read_obj_with_buf", kCode);
    EXPECT_EQ(read.call(sizeof this->items, this->items, &this->filled), TypeParam::kRow.failed) << read.name;
    EXPECT_TRUE(this->filledAndTold(read, 1)) << read.name;
    EXPECT_EQ(this->platform.errorLines, said({TypeParam::kRow.text})) << read.name;
    EXPECT_TRUE(this->countedOnce(TypeParam::kStat, 0)) << read.name;
  }
}

REGISTER_TYPED_TEST_SUITE_P(NextHopRowTest, Bulk_reads_end_silently_at_a_record_that_vanished,
                            Bulk_reads_whose_row_fails_say_so_return_what_was_read_and_count_READ);

// Unpacking field by field, the contexts only while no field has failed: unpack, kUnpack (texts; the copies fail with
// 22), kCopiesBefore: how many blocks stand before the contexts. ------------------------------------------------------
struct UnpackTexts {
  const char* fields;
  const char* highContext;
  const char* normalContext;
};

template <class Table>
class NextHopContextTest : public NextHopBulkReadTest<Table> {
 protected:
  static std::string getter(const char* field) { return NextHopContextTest::object("db_get_", field); }
  // The last byte of a context in the slot: of the record, or as it was.
  static constexpr uint8_t kWas = 0x5A;
  static uint8_t highOf(const typename Table::Item& item) { return item.svc_ctx_high_prio[15]; }
  static uint8_t normalOf(const typename Table::Item& item) { return item.svc_ctx_normal_prio[15]; }

  typename Table::Item& slot = this->items[0];
};
TYPED_TEST_SUITE_P(NextHopContextTest);

TYPED_TEST_P(NextHopContextTest, A_read_with_a_failed_field_before_the_contexts_succeeds_without_them) {
  this->platform.fail(this->getter("_vr_id"), kCode & 0xFFFF);
  this->platform.fail(this->getter("_app_version"), kCode & ~0xFFFFu);
  this->slot = TypeParam::keyOf(this->item);
  this->slot.vr_id = 77;
  this->slot.app_version = 78;
  this->slot.svc_ctx_high_prio[15] = this->slot.svc_ctx_normal_prio[15] = this->kWas;
  EXPECT_EQ(TypeParam::read(&this->slot), 0u);
  EXPECT_TRUE(this->onlySaid({TypeParam::kUnpack.fields}));
  EXPECT_EQ(this->platform.calls.size(), 1 + TypeParam::fetch().size() + 1);
  EXPECT_EQ(this->slot.vr_id, 77u);
  EXPECT_EQ(this->slot.app_version, 78u);
  EXPECT_EQ(this->highOf(this->slot), this->kWas);
  EXPECT_EQ(this->normalOf(this->slot), this->kWas);
  EXPECT_EQ(this->slot.time_stamp_svc, this->item.time_stamp_svc);
}

TYPED_TEST_P(NextHopContextTest, A_failed_field_behind_the_contexts_leaves_them_read) {
  this->platform.fail(this->getter("_app_version"), kCode);
  TypeParam::unpack(1, &this->slot);
  EXPECT_TRUE(this->onlySaid({TypeParam::kUnpack.fields}));
  EXPECT_EQ(this->highOf(this->slot), this->highOf(this->item));
  EXPECT_EQ(this->normalOf(this->slot), this->normalOf(this->item));
  EXPECT_EQ(this->slot.app_version, 0x5A5A5A5Au);
}

TYPED_TEST_P(NextHopContextTest, A_context_that_cannot_be_got_is_left_with_the_one_behind_it_and_the_rest_is_read) {
  for (const bool high : {true, false}) {
    this->again();
    this->platform.fail(this->getter(high ? "_svc_ctx_high_prio" : "_svc_ctx_normal_prio"), kCode);
    TypeParam::unpack(1, &this->slot);
    EXPECT_TRUE(this->onlySaid({TypeParam::kUnpack.fields}));
    EXPECT_EQ(this->highOf(this->slot), high ? this->kWas : this->highOf(this->item));
    EXPECT_EQ(this->normalOf(this->slot), this->kWas);
    EXPECT_EQ(this->slot.app_source_id, this->item.app_source_id);
  }
}

TYPED_TEST_P(NextHopContextTest, A_context_whose_copy_fails_is_said_and_ends_the_unpacking) {
  for (const bool high : {true, false}) {
    this->again();
    for (int i = high ? 1 : 0; i < TypeParam::kCopiesBefore + 1; ++i) this->platform.fail("memcpy_s", 0);
    this->platform.fail("memcpy_s", 1);
    TypeParam::unpack(1, &this->slot);
    EXPECT_TRUE(this->onlySaid({high ? TypeParam::kUnpack.highContext : TypeParam::kUnpack.normalContext}));
    EXPECT_EQ(nameOfCall(this->platform.calls.back()),
              this->getter(high ? "_svc_ctx_high_prio" : "_svc_ctx_normal_prio"));
    EXPECT_EQ(this->highOf(this->slot), high ? this->kWas : this->highOf(this->item));
    EXPECT_EQ(this->slot.app_source_id, 0x5A5A5A5Au);
  }
}

TYPED_TEST_P(NextHopContextTest, A_bulk_read_goes_on_behind_a_failed_field) {
  this->platform.fail(this->getter("_flags"), kCode);
  EXPECT_EQ(TypeParam::kBulkReads[0].call(sizeof this->items, this->items, &this->filled), 0u);
  EXPECT_TRUE(this->filledAndTold(TypeParam::kBulkReads[0], this->kRecords));
  EXPECT_TRUE(this->onlySaid({TypeParam::kUnpack.fields}));
}

REGISTER_TYPED_TEST_SUITE_P(NextHopContextTest, A_read_with_a_failed_field_before_the_contexts_succeeds_without_them,
                            A_failed_field_behind_the_contexts_leaves_them_read,
                            A_context_that_cannot_be_got_is_left_with_the_one_behind_it_and_the_rest_is_read,
                            A_context_whose_copy_fails_is_said_and_ends_the_unpacking,
                            A_bulk_read_goes_on_behind_a_failed_field);

// Bulk reads and counts under a key that is the caller's: readByKey, countByKey. --------------------------------------
template <class Table>
using NextHopCallersKeyTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopCallersKeyTest);

TYPED_TEST_P(NextHopCallersKeyTest, Reads_and_counts_under_no_key_return_1_silently) {
  EXPECT_EQ(TypeParam::readByKey(nullptr, &this->key, this->kSize, this->items, &this->filled), 1u);
  EXPECT_EQ(TypeParam::readByKey(&this->desc, nullptr, this->kSize, this->items, &this->filled), 1u);
  EXPECT_EQ(TypeParam::countByKey(nullptr, &this->key, &this->filled), 1u);
  EXPECT_EQ(TypeParam::countByKey(&this->desc, nullptr, &this->filled), 1u);
  EXPECT_EQ(this->filled, 77u);
  EXPECT_TRUE(this->nothingHappened());
}

REGISTER_TYPED_TEST_SUITE_P(NextHopCallersKeyTest, Reads_and_counts_under_no_key_return_1_silently);

// Counts: kCounts. ----------------------------------------------------------------------------------------------------
template <class Table>
using NextHopCountTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopCountTest);

TYPED_TEST_P(NextHopCountTest, Counts_go_by_their_key_and_store_the_low_word) {
  for (const auto& count : TypeParam::kCounts) {
    this->again();
    this->platform.countResult = 0x100000007;
    EXPECT_EQ(count.call(&this->filled), 0u) << count.name;
    EXPECT_EQ(this->filled, 7u) << count.name;
    EXPECT_EQ(this->platform.calls, this->around(9, {this->keyed("db_get_table_record_count_by_key", count.key)}))
        << count.name;
    EXPECT_TRUE(this->saysAndCountsNothing()) << count.name;
  }
}

TYPED_TEST_P(NextHopCountTest, Counts_that_fail_return_the_code_leave_the_count_and_are_not_counted) {
  for (const auto& count : TypeParam::kCounts) {
    for (const bool object : {true, false}) {
      this->again();
      this->platform.fail(object ? this->createOf() : "db_get_table_record_count_by_key", kCode);
      EXPECT_EQ(count.call(&this->filled), kCode) << count.name;
      EXPECT_EQ(this->filled, 77u) << count.name;
      EXPECT_TRUE(this->onlySaid({object ? count.texts.create : count.texts.failed})) << count.name;
    }
  }
}

TYPED_TEST_P(NextHopCountTest, Counts_into_NULL_return_1_silently_where_that_is_checked) {
  for (const auto& count : TypeParam::kCounts) {
    this->again();
    this->platform.fail("db_get_table_record_count_by_key", kCode);
    EXPECT_EQ(count.call(nullptr), count.countIsChecked ? 1 : kCode) << count.name;
    EXPECT_EQ(this->platform.calls.size(), count.countIsChecked ? 0u : 3u) << count.name;
    EXPECT_EQ(this->platform.errorLines, said({count.countIsChecked ? nullptr : count.texts.failed})) << count.name;
  }
}

REGISTER_TYPED_TEST_SUITE_P(NextHopCountTest, Counts_go_by_their_key_and_store_the_low_word,
                            Counts_that_fail_return_the_code_leave_the_count_and_are_not_counted,
                            Counts_into_NULL_return_1_silently_where_that_is_checked);

// Iterators made: kIterators, release. --------------------------------------------------------------------------------
template <class Table>
using NextHopIteratorTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopIteratorTest);

TYPED_TEST_P(NextHopIteratorTest, Iterators_go_by_their_key_with_any_property_but_the_one_that_means_none) {
  const struct {
    uint32_t property;
    const char* bytes;
  } properties[] = {{0, "00000000"},          {5, "05000000"},          {0x01020304, "04030201"},
                    {0x80000000, "00000080"}, {0xFFFFFFFE, "feffffff"}, {0xFFFFFFFF, nullptr}};
  for (const auto& iterate : TypeParam::kIterators) {
    for (const auto& [property, bytes] : properties) {
      this->again();
      FibDbIterator* const iterator = iterate.call(property);
      ASSERT_NE(iterator, nullptr) << iterate.name;
      Calls calls{this->created(5), this->keyed("db_create_root_iter", iterate.key)};
      if (bytes != nullptr) calls.push_back(std::string("db_set_root_iterator_property(~1, 0, ") + bytes + ")");
      EXPECT_EQ(this->platform.calls, calls) << iterate.name;
      TypeParam::release(iterator);
      EXPECT_EQ(this->platform.calls, calls + Calls{this->released()}) << iterate.name;
      EXPECT_TRUE(this->saysAndCountsNothing()) << iterate.name;
    }
  }
}

TYPED_TEST_P(NextHopIteratorTest, Iterators_are_made_in_their_handle_from_zero_words_or_beside_it) {
  for (const auto& iterate : TypeParam::kIterators) {
    this->again();
    FibDbIterator* const iterator = iterate.call(0xFFFFFFFF);
    ASSERT_EQ(this->platform.outWords.size(), 2u) << iterate.name;
    EXPECT_EQ(this->platform.outWords[0].at == &iterator->obj, iterate.madeInHandle) << iterate.name;
    EXPECT_EQ(this->platform.outWords[1].at == &iterator->rootIter, iterate.madeInHandle) << iterate.name;
    EXPECT_EQ(this->platform.outWords[0].before, 0u) << iterate.name;
    EXPECT_EQ(this->platform.outWords[1].before, 0u) << iterate.name;
    EXPECT_EQ(iterator->rsv, 0xA5A5A5A5A5A5A5A5u) << iterate.name;
    TypeParam::release(iterator);
  }
}

TYPED_TEST_P(NextHopIteratorTest, Iterators_that_cannot_be_made_say_which_step_failed_and_are_NULL) {
  for (const auto& iterate : TypeParam::kIterators) {
    const struct {
      std::string call;
      const char* text;
    } steps[] = {{"alloc", iterate.texts.malloc},
                 {this->createOf(), iterate.texts.createObj},
                 {"db_create_root_iter", iterate.texts.createIter},
                 {"db_set_root_iterator_property", iterate.texts.setProperty}};
    for (const auto& step : steps) {
      this->again();
      this->platform.fail(step.call, kCode);
      EXPECT_EQ(iterate.call(0), nullptr) << iterate.name;
      EXPECT_TRUE(this->onlySaid({step.text})) << iterate.name;
      EXPECT_EQ(this->platform.leaks(), "") << iterate.name;
    }
  }
}

REGISTER_TYPED_TEST_SUITE_P(NextHopIteratorTest,
                            Iterators_go_by_their_key_with_any_property_but_the_one_that_means_none,
                            Iterators_are_made_in_their_handle_from_zero_words_or_beside_it,
                            Iterators_that_cannot_be_made_say_which_step_failed_and_are_NULL);

// Iterators under a key that is the caller's: iterateByKey. -----------------------------------------------------------
template <class Table>
using NextHopCallersIteratorTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopCallersIteratorTest);

TYPED_TEST_P(NextHopCallersIteratorTest, Iterators_under_no_key_are_NULL_silently) {
  EXPECT_EQ(TypeParam::iterateByKey(nullptr, &this->key, 0), nullptr);
  EXPECT_EQ(TypeParam::iterateByKey(&this->desc, nullptr, 0), nullptr);
  EXPECT_TRUE(this->nothingHappened());
}

REGISTER_TYPED_TEST_SUITE_P(NextHopCallersIteratorTest, Iterators_under_no_key_are_NULL_silently);

// Steps of the first of kIterators: next, release, kStep (texts), step(): the calls behind one, kStepsAreCounted. -----
template <class Table>
using NextHopStepTest = NextHopTableTest<Table>;
TYPED_TEST_SUITE_P(NextHopStepTest);

TYPED_TEST_P(NextHopStepTest, Iteration_gives_every_record_in_full_then_60_every_time) {
  this->stock();
  FibDbIterator* const iterator = TypeParam::kIterators[0].call(0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  const Calls stepped = Calls{"db_root_iterator_next(~1)"} + TypeParam::step();
  for (uint32_t i = 0; i < this->kRecords; ++i) {
    this->wipe();
    this->platform.calls.clear();
    EXPECT_EQ(TypeParam::next(iterator, this->items), 0u);
    EXPECT_EQ(this->rowOf(this->items[0]), this->rowOf(this->marked(this->fullItem(), i)));
    EXPECT_TRUE(this->untouched(1));
    EXPECT_EQ(this->platform.calls, stepped);
  }
  this->wipe();
  EXPECT_EQ(TypeParam::next(iterator, this->items), 60u);
  EXPECT_EQ(TypeParam::next(iterator, this->items), 60u);
  EXPECT_TRUE(this->untouched(0));
  TypeParam::release(iterator);
  EXPECT_EQ(this->platform.calls.back(), this->released());
  EXPECT_TRUE(this->saysAndCountsNothing());
}

TYPED_TEST_P(NextHopStepTest, Steps_that_fail_say_so_and_return_1_not_the_code) {
  FibDbIterator* const iterator = TypeParam::kIterators[0].call(0xFFFFFFFF);
  this->platform.fail("db_root_iterator_next", kCode);
  EXPECT_EQ(TypeParam::next(iterator, &this->item), 1u);
  EXPECT_THAT(this->platform.errorLines, ElementsAre(TypeParam::kStep.failed));
  EXPECT_EQ(this->counted(TypeParam::kStat, 6), TypeParam::kStepsAreCounted ? 1u : 0u);
  EXPECT_EQ(this->allCounted(), TypeParam::kStepsAreCounted ? 1u : 0u);
  TypeParam::release(iterator);
}

TYPED_TEST_P(NextHopStepTest, Steps_of_NULL_return_1_and_releasing_NULL_does_nothing) {
  FibDbIterator iterator{.obj = 1, .rootIter = 2};
  EXPECT_EQ(TypeParam::next(nullptr, &this->item), 1u);
  EXPECT_EQ(TypeParam::next(&iterator, nullptr), 1u);
  TypeParam::release(nullptr);
  EXPECT_THAT(this->platform.allCalls, IsEmpty());
  EXPECT_TRUE(this->onlySaid({TypeParam::kStep.null, TypeParam::kStep.null}));
}

REGISTER_TYPED_TEST_SUITE_P(NextHopStepTest, Iteration_gives_every_record_in_full_then_60_every_time,
                            Steps_that_fail_say_so_and_return_1_not_the_code,
                            Steps_of_NULL_return_1_and_releasing_NULL_does_nothing);

}  // namespace fibdb::test

#endif
