// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/service_table_tests.h: what holds for every table whose records go through the table service, over
// the recorded platform. A table's test file describes the table and instantiates the suites that it has functions for.
#ifndef FIBDB_TESTS_REGISTERED_SERVICE_TABLE_TESTS_H
#define FIBDB_TESTS_REGISTERED_SERVICE_TABLE_TESTS_H

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/service_records.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {

// A code that shows whether a text prints it with a sign.
constexpr uint32_t kCode = 0xFFFFFFF9;

// Puts a number at an offset of a row.
template <class Number>
void putAt(Row& row, size_t offset, Number number) {
  std::memcpy(row.data() + offset, &number, sizeof number);
}

// Puts so many bytes that are all different there.
inline void putBytesAt(Row& row, size_t offset, size_t count, uint8_t first) {
  for (size_t i = 0; i < count; ++i) row[offset + i] = static_cast<uint8_t>(first + i);
}
template <size_t Size>
void fillBytes(uint8_t (&bytes)[Size], uint8_t first) {
  for (size_t i = 0; i < Size; ++i) bytes[i] = static_cast<uint8_t>(first + i);
}

template <class Item>
Row bytesOf(const Item& item) {
  Row bytes(sizeof item);
  std::memcpy(bytes.data(), &item, sizeof item);
  return bytes;
}

// What a key builder gives, as calls are recorded: "0x00010004 2a000000". The byte behind the key must stay.
template <class Item, class Key>
std::string keyGiven(void (*build)(const Item*, uint32_t*, Key*), const Item& item) {
  uint32_t id = 0;
  alignas(uint64_t) uint8_t key[64];
  std::memset(key, 0xEE, sizeof key);
  build(&item, &id, static_cast<Key*>(static_cast<void*>(key)));
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X ", id);
  std::string given = text;
  for (size_t i = 0; i < (id & 0xFFFF); ++i) {
    std::snprintf(text, sizeof text, "%02x", key[i]);
    given += text;
  }
  return key[id & 0xFFFF] == 0xEE ? given : given + " and more";
}

// A description of a table has
//   Item, kTable, kId ("10"), kName (the service's), kRowLength
//   kKey: how calls show the primary key of fullItem()
//   kRoom: the parts {offset, bytes} of an item that reads leave alone
//   fullItem(): every field set, and all different; rowOf(item): the row that gives this item; createdRow(item): the
//   row that creating it hands over; copyKey(from, to): the primary key of an item
//   kTimes: how often a creation asks the time
//   the functions: build, unpack, create, read, remove, registerTable; iterate, next, release; update, set

struct Room {
  size_t offset;
  size_t bytes;
};

template <class Table>
class ServiceTest : public TablesTest {
 protected:
  using Item = typename Table::Item;

  void SetUp() override {
    platform.record(Table::kTable) = Table::rowOf(Table::fullItem());
    wipe();
  }

  // "UFIB_DB_Read(10, 0x00010009 ..., 40)", by the primary key.
  static std::string keyed(const char* call, bool withRow) {
    return std::string(call) + "(" + Table::kId + ", " + Table::kKey +
           (withRow ? ", " + std::to_string(Table::kRowLength) : "") + ")";
  }
  static std::string stepped() {
    return std::string("UFIB_DB_GetNextEntry(") + Table::kId + ", " + std::to_string(Table::kRowLength) + ")";
  }
  static std::string called(const char* call, const char* more = "") {
    return std::string(call) + "(" + Table::kId + more + ")";
  }

  // Whether item has all of the record's fields, and its room is still wiped.
  static testing::AssertionResult filled(const Item& item) {
    if (Table::rowOf(item) != Table::rowOf(Table::fullItem())) {
      return testing::AssertionFailure() << testing::PrintToString(Table::rowOf(item));
    }
    const Row bytes = bytesOf(item);
    for (const Room& room : Table::kRoom) {
      for (size_t i = room.offset; i < room.offset + room.bytes; ++i) {
        if (bytes[i] != 0x5A) return testing::AssertionFailure() << "byte " << i << " of the room";
      }
    }
    return testing::AssertionSuccess();
  }

  void wipe() { std::memset(static_cast<void*>(&out), 0x5A, sizeof out); }
  bool isWiped() const { return bytesOf(out) == Row(sizeof out, 0x5A); }

  const Item item = Table::fullItem();
  Item out;  // an item that no record could be
};

using testing::ElementsAre;
using testing::IsEmpty;

// Fields, registration. -----------------------------------------------------------------------------------------------
template <class Table>
using ServiceFieldsTest = ServiceTest<Table>;
TYPED_TEST_SUITE_P(ServiceFieldsTest);

TYPED_TEST_P(ServiceFieldsTest, A_row_fills_every_field_of_an_item_and_not_its_room) {
  const Row row = TypeParam::rowOf(this->item);
  ASSERT_EQ(row.size(), TypeParam::kRowLength);
  TypeParam::unpack(row.data(), &this->out);
  EXPECT_TRUE(this->filled(this->out));
  EXPECT_THAT(this->platform.calls, IsEmpty());
}

TYPED_TEST_P(ServiceFieldsTest, Registering_hands_over_the_descriptor_and_returns_the_services_code) {
  this->platform.fail("UFIB_DB_TableRegister", 4711);
  EXPECT_EQ(TypeParam::registerTable(), 4711u);
  EXPECT_EQ(TypeParam::registerTable(), 0u);
  const std::string call = this->called("UFIB_DB_TableRegister", (std::string(", ") + TypeParam::kName).c_str());
  EXPECT_THAT(this->platform.calls, ElementsAre(call, call));
  EXPECT_TRUE(this->silent());
}

REGISTER_TYPED_TEST_SUITE_P(ServiceFieldsTest, A_row_fills_every_field_of_an_item_and_not_its_room,
                            Registering_hands_over_the_descriptor_and_returns_the_services_code);

// Create, read, delete. -----------------------------------------------------------------------------------------------
template <class Table>
using ServiceRecordTest = ServiceTest<Table>;
TYPED_TEST_SUITE_P(ServiceRecordTest);

TYPED_TEST_P(ServiceRecordTest, The_primary_key_is_packed_without_gaps) {
  EXPECT_EQ(keyGiven(TypeParam::build, this->item), TypeParam::kKey);
}

TYPED_TEST_P(ServiceRecordTest, Creating_hands_over_the_row_and_leaves_the_item) {
  const Row before = bytesOf(this->item);
  EXPECT_EQ(TypeParam::create(&this->item), 0u);
  EXPECT_THAT(this->platform.calls,
              ElementsAre(this->called("UFIB_DB_Create", (", " + std::to_string(TypeParam::kRowLength)).c_str())));
  EXPECT_THAT(this->platform.created, ElementsAre(TypeParam::createdRow(this->item)));
  EXPECT_EQ(this->platform.sysTimeReads, TypeParam::kTimes);
  EXPECT_EQ(bytesOf(this->item), before);
}

TYPED_TEST_P(ServiceRecordTest, A_read_goes_by_the_primary_key_and_fills_every_field) {
  TypeParam::copyKey(this->item, this->out);
  EXPECT_EQ(TypeParam::read(&this->out), 0u);
  EXPECT_THAT(this->platform.calls, ElementsAre(this->keyed("UFIB_DB_Read", true)));
  EXPECT_TRUE(this->filled(this->out));
}

TYPED_TEST_P(ServiceRecordTest, Codes_of_the_service_are_returned_silently_and_a_failed_read_keeps_the_item) {
  TypeParam::copyKey(this->item, this->out);
  const Row before = bytesOf(this->out);
  for (const uint32_t code : {15005u, 13044u, 4711u}) {
    this->platform.fail("UFIB_DB_Create", code);
    this->platform.fail("UFIB_DB_Read", code);
    this->platform.fail("UFIB_DB_Delete", code);
    EXPECT_EQ(TypeParam::create(&this->item), code);
    EXPECT_EQ(TypeParam::read(&this->out), code);
    EXPECT_EQ(TypeParam::remove(&this->item), code);
  }
  EXPECT_EQ(bytesOf(this->out), before);
  EXPECT_TRUE(this->silent());
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(ServiceRecordTest, Deleting_goes_by_the_primary_key) {
  EXPECT_EQ(TypeParam::remove(&this->item), 0u);
  EXPECT_THAT(this->platform.calls, ElementsAre(this->keyed("UFIB_DB_Delete", false)));
}

TYPED_TEST_P(ServiceRecordTest, Requests_are_zero_between_and_behind_their_fields) {
  dirtyTheStack(), TypeParam::create(&this->item);
  dirtyTheStack(), TypeParam::read(&this->out);
  dirtyTheStack(), TypeParam::remove(&this->item);
  ASSERT_EQ(this->platform.serviceRecords.size(), 4u);
  for (const Row& record : this->platform.serviceRecords) EXPECT_EQ(besideFields(record), Row(record.size()));
}

TYPED_TEST_P(ServiceRecordTest, NULL_items_give_1_and_call_nothing) {
  EXPECT_EQ(TypeParam::create(nullptr), 1u);
  EXPECT_EQ(TypeParam::read(nullptr), 1u);
  EXPECT_EQ(TypeParam::remove(nullptr), 1u);
  EXPECT_THAT(this->platform.allCalls, IsEmpty());
  EXPECT_TRUE(this->silent());
}

REGISTER_TYPED_TEST_SUITE_P(ServiceRecordTest, The_primary_key_is_packed_without_gaps,
                            Creating_hands_over_the_row_and_leaves_the_item,
                            A_read_goes_by_the_primary_key_and_fills_every_field,
                            Codes_of_the_service_are_returned_silently_and_a_failed_read_keeps_the_item,
                            Deleting_goes_by_the_primary_key, Requests_are_zero_between_and_behind_their_fields,
                            NULL_items_give_1_and_call_nothing);

// Iteration. ----------------------------------------------------------------------------------------------------------
template <class Table>
using ServiceWalkTest = ServiceTest<Table>;
TYPED_TEST_SUITE_P(ServiceWalkTest);

TYPED_TEST_P(ServiceWalkTest, Steps_fill_the_item_and_pass_the_services_end_on_unchanged) {
  this->platform.entries = {TypeParam::rowOf(this->item)};
  void* const iterator = TypeParam::iterate(7);
  ASSERT_NE(iterator, nullptr);
  EXPECT_EQ(TypeParam::next(iterator, &this->out), 0u);
  EXPECT_TRUE(this->filled(this->out));
  this->wipe();
  EXPECT_EQ(TypeParam::next(iterator, &this->out), 110012u);
  EXPECT_EQ(TypeParam::next(iterator, &this->out), 110012u);
  EXPECT_TRUE(this->isWiped());
  EXPECT_EQ(TypeParam::release(iterator), 0u);
  EXPECT_THAT(this->platform.calls,
              ElementsAre(this->called("UFIB_DB_CreateIterator", ", 7"), this->stepped(), this->stepped(),
                          this->stepped(), this->called("UFIB_DB_ReleaseIterator")));
  EXPECT_TRUE(this->silent());
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(ServiceWalkTest, Codes_of_the_service_are_returned_and_its_refusal_is_NULL_silently) {
  this->platform.fail("UFIB_DB_CreateIterator", 9);
  EXPECT_EQ(TypeParam::iterate(0xFFFFFFFF), nullptr);
  void* const iterator = TypeParam::iterate(0xFFFFFFFF);
  this->platform.fail("UFIB_DB_GetNextEntry", 15005);
  EXPECT_EQ(TypeParam::next(iterator, &this->out), 15005u);
  EXPECT_TRUE(this->isWiped());
  this->platform.fail("UFIB_DB_ReleaseIterator", 9);
  EXPECT_EQ(TypeParam::release(iterator), 9u);
  EXPECT_EQ(this->platform.calls.front(), this->called("UFIB_DB_CreateIterator", ", 4294967295"));
  EXPECT_TRUE(this->silent());
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(ServiceWalkTest, Entry_buffers_are_zero_behind_their_fields) {
  void* const iterator = TypeParam::iterate(0);
  dirtyTheStack(), TypeParam::next(iterator, &this->out);
  TypeParam::release(iterator);
  ASSERT_EQ(this->platform.serviceRecords.size(), 1u);
  EXPECT_EQ(besideFields(this->platform.serviceRecords[0]), Row(sizeof(FibDbUfibData)));
}

TYPED_TEST_P(ServiceWalkTest, NULL_arguments_of_a_step_give_1_and_releasing_NULL_gives_0) {
  EXPECT_EQ(TypeParam::next(nullptr, &this->out), 1u);
  EXPECT_EQ(TypeParam::next(&this->out, nullptr), 1u);
  EXPECT_EQ(TypeParam::release(nullptr), 0u);
  EXPECT_THAT(this->platform.allCalls, IsEmpty());
  EXPECT_TRUE(this->silent());
}

REGISTER_TYPED_TEST_SUITE_P(ServiceWalkTest, Steps_fill_the_item_and_pass_the_services_end_on_unchanged,
                            Codes_of_the_service_are_returned_and_its_refusal_is_NULL_silently,
                            Entry_buffers_are_zero_behind_their_fields,
                            NULL_arguments_of_a_step_give_1_and_releasing_NULL_gives_0);

// Updates of the smooth id. -------------------------------------------------------------------------------------------
template <class Table>
using ServiceSmoothIdTest = ServiceTest<Table>;
TYPED_TEST_SUITE_P(ServiceSmoothIdTest);

TYPED_TEST_P(ServiceSmoothIdTest, An_update_goes_by_the_primary_key_and_hands_the_item_to_the_setter) {
  EXPECT_EQ(TypeParam::update(&this->item), 0u);
  std::vector<std::string> expected = {this->called(
      "UFIB_DB_Update", (std::string(", ") + TypeParam::kKey + ", " + std::to_string(sizeof this->item)).c_str())};
  for (const char* const call : TypeParam::kStaged) expected.emplace_back(call);
  EXPECT_EQ(this->platform.calls, expected);
  this->platform.fail("UFIB_DB_Update", 15005);
  EXPECT_EQ(TypeParam::update(&this->item), 15005u);
  EXPECT_TRUE(this->silent());
  EXPECT_EQ(this->allCounted(), 0u);
}

TYPED_TEST_P(ServiceSmoothIdTest, The_setter_stops_at_the_first_failure_with_its_code) {
  typename TypeParam::Item changed = this->item;
  const FibDbUfibData context{.data = &changed, .len = sizeof changed};
  size_t staged = 0;
  for (const std::string call : TypeParam::kStaged) {
    this->platform.calls.clear();
    this->platform.fail(call.substr(0, call.find('(')), 13044);
    EXPECT_EQ(TypeParam::set(&context, 5), 13044u);
    EXPECT_EQ(this->platform.calls.size(), ++staged);
  }
  EXPECT_EQ(TypeParam::set(&context, 5), 0u);
  EXPECT_TRUE(this->silent());
}

TYPED_TEST_P(ServiceSmoothIdTest, NULL_gives_1) {
  EXPECT_EQ(TypeParam::update(nullptr), 1u);
  EXPECT_EQ(TypeParam::set(nullptr, 5), 1u);
  EXPECT_THAT(this->platform.calls, IsEmpty());
  EXPECT_EQ(this->platform.sysTimeReads, TypeParam::kTimesOfSetter);
  EXPECT_TRUE(this->silent());
}

TYPED_TEST_P(ServiceSmoothIdTest, Requests_are_zero_between_and_behind_their_fields) {
  dirtyTheStack(), TypeParam::update(&this->item);
  ASSERT_EQ(this->platform.serviceRecords.size(), 2u);
  for (const Row& record : this->platform.serviceRecords) EXPECT_EQ(besideFields(record), Row(record.size()));
}

REGISTER_TYPED_TEST_SUITE_P(ServiceSmoothIdTest, An_update_goes_by_the_primary_key_and_hands_the_item_to_the_setter,
                            The_setter_stops_at_the_first_failure_with_its_code, NULL_gives_1,
                            Requests_are_zero_between_and_behind_their_fields);

}  // namespace fibdb::test

#endif
