// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/ar_group_attr_test.cc: AR group attributes over the recorded table service.
#include <cstddef>

#include "tests/support/service_records.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

FibDbArGroupAttrItem fullItem(uint8_t originType = 1) {
  FibDbArGroupAttrItem item{.keyWord1 = 0x11111111,
                            .attrWord1 = 0x22222222,
                            .keyWord2 = 0x33333333,
                            .keyByte = 0x44,
                            .originType = originType,
                            .originatorId = 0x55555555,
                            .originAsn = 0x66666666,
                            .attrWord2 = 0x77777777,
                            .groupType = 0x88888888,
                            .smoothId = 0x99999999};
  std::memset(item.attrBytes1, 0xA1, sizeof item.attrBytes1);
  std::memset(item.attrBytes2, 0xA2, sizeof item.attrBytes2);
  std::memset(item.attrBytes3, 0xA3, sizeof item.attrBytes3);
  std::memset(item.attrBytes4, 0xA4, sizeof item.attrBytes4);
  std::memset(item.reserved1, 0xE1, sizeof item.reserved1);
  std::memset(item.reserved2, 0xE2, sizeof item.reserved2);
  return item;
}

Row packed(const FibDbArGroupAttrItem& item) {
  Row row(120);
  FIB_DB_SetArGroupAttrFields(&item, row.data());
  return row;
}

uint32_t wordAt(const Row& row, size_t offset) {
  uint32_t word;
  std::memcpy(&word, row.data() + offset, sizeof word);
  return word;
}

uint64_t stampAt(const Row& row, size_t offset) {
  uint64_t stamp;
  std::memcpy(&stamp, row.data() + offset, sizeof stamp);
  return stamp;
}

class ArGroupAttrTest : public TablesTest {
 protected:
  void SetUp() override { platform.record(TableId::ar_group_attr) = packed(fullItem()); }

  FibDbArGroupAttrItem item = fullItem();
  uint32_t count = 777;
};

// Packing: the row's order is not the item's.
TEST_F(ArGroupAttrTest, SetArGroupAttrFields_puts_every_field_at_its_offset) {
  Row row(120);
  EXPECT_EQ(FIB_DB_SetArGroupAttrFields(&item, row.data()), platform.sysTime);
  EXPECT_EQ(wordAt(row, 0), 0x11111111u);
  EXPECT_EQ(wordAt(row, 4), 0x33333333u);
  EXPECT_EQ(row[8], 0x44);
  EXPECT_EQ(row[9], 1);
  EXPECT_EQ(row[10] | row[11], 0);
  EXPECT_EQ(wordAt(row, 12), 0x22222222u);
  EXPECT_EQ(wordAt(row, 16), 0x55555555u);
  EXPECT_EQ(wordAt(row, 20), 0x66666666u);
  EXPECT_EQ(wordAt(row, 24), 0x77777777u);
  EXPECT_EQ(wordAt(row, 28), 0x88888888u);
  for (size_t i = 32; i < 44; ++i) EXPECT_EQ(row[i], 0xA1);
  for (size_t i = 44; i < 52; ++i) EXPECT_EQ(row[i], 0);
  for (size_t i = 52; i < 60; ++i) EXPECT_EQ(row[i], 0xA2);
  for (size_t i = 60; i < 68; ++i) EXPECT_EQ(row[i], 0);
  for (size_t i = 68; i < 84; ++i) EXPECT_EQ(row[i], 0xA3);
  for (size_t i = 84; i < 100; ++i) EXPECT_EQ(row[i], 0xA4);
  EXPECT_EQ(wordAt(row, 100), 0x99999999u);
  EXPECT_EQ(stampAt(row, 104), platform.sysTime);
  EXPECT_EQ(stampAt(row, 112), platform.sysTime);
}

TEST_F(ArGroupAttrTest, GetArGroupAttrFields_leaves_the_reserved_blocks) {
  const Row row = packed(item);
  FibDbArGroupAttrItem out{};
  std::memset(&out, 0xEE, sizeof out);
  FIB_DB_GetArGroupAttrFields(row.data(), &out);
  EXPECT_EQ(packed(out), row);
  EXPECT_EQ(out.reserved1[0], 0xEE);
  EXPECT_EQ(out.reserved2[15], 0xEE);
}

TEST_F(ArGroupAttrTest, The_item_is_136_bytes_with_smoothId_at_116) {
  EXPECT_EQ(sizeof(FibDbArGroupAttrItem), 136u);
  EXPECT_EQ(offsetof(FibDbArGroupAttrItem, smoothId), 116u);
}

// Keys.
TEST_F(ArGroupAttrTest, Key_builders_pack_their_fields_without_gaps) {
  struct {
    void (*build)(const FibDbArGroupAttrItem*, uint32_t*, void*);
    uint32_t id;
    std::vector<uint8_t> key;
  } const builders[] = {
      {FIB_DB_SetArGroupAttrPriKey, 0x10009, {0x11, 0x11, 0x11, 0x11, 0x33, 0x33, 0x33, 0x33, 0x44}},
      {FIB_DB_SetArGroupAttrAttrIdHashKey, 0x1090008, {0x11, 0x11, 0x11, 0x11, 0x33, 0x33, 0x33, 0x33}},
      {FIB_DB_SetArGroupAttrOriginatorIdHashKey, 0x3090009, {1, 1, 0, 0, 0, 0x55, 0x55, 0x55, 0x55}},
      {FIB_DB_SetArGroupAttrOriginAsnHashKey, 0x4090009, {1, 1, 0, 0, 0, 0x66, 0x66, 0x66, 0x66}},
  };
  for (const auto& builder : builders) {
    uint32_t id = 0;
    std::vector<uint8_t> key(builder.key.size() + 1, 0xEE);
    builder.build(&item, &id, key.data());
    EXPECT_EQ(id, builder.id);
    EXPECT_EQ(key.back(), 0xEE);
    key.pop_back();
    EXPECT_EQ(key, builder.key);
  }
}

TEST_F(ArGroupAttrTest, SetArGroupAttrGroupTypeHashKey_copies_the_value_that_the_origin_type_selects) {
  for (const uint8_t originType : std::initializer_list<uint8_t>{1, 0, 2}) {
    const FibDbArGroupAttrItem from = fullItem(originType);
    FibDbArGroupAttrItem query{.originatorId = 1, .originAsn = 2, .attrWord2 = 3};
    FIB_DB_SetArGroupAttrGroupTypeHashKey(&query, &from);
    EXPECT_EQ(query.groupType, 1u);
    EXPECT_EQ(query.originType, originType);
    EXPECT_EQ(query.originatorId, originType == 1 ? 0x55555555u : 1u);
    EXPECT_EQ(query.originAsn, originType == 1 ? 2u : 0x66666666u);
    EXPECT_EQ(query.attrWord2, 3u);
    EXPECT_EQ(query.keyWord1, 0u);
  }
}

// Create, read, delete.
TEST_F(ArGroupAttrTest, CreateArGroupAttr_hands_over_the_packed_row) {
  EXPECT_EQ(FIB_DB_CreateArGroupAttr(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_Create(11, 120)"));
  EXPECT_THAT(platform.created, ElementsAre(packed(item)));
}

TEST_F(ArGroupAttrTest, Reads_go_by_the_key_they_name) {
  item.originType = 1;
  EXPECT_EQ(FIB_DB_ReadArGroupAttr(&item), 0u);
  EXPECT_EQ(FIB_DB_ReadArGroupAttrByAttrIdHash(&item), 0u);
  EXPECT_EQ(FIB_DB_ReadArGroupAttrByGroupTypeHash(&item), 0u);
  FibDbArGroupAttrItem byAsn = fullItem(0);
  EXPECT_EQ(FIB_DB_ReadArGroupAttrByGroupTypeHash(&byAsn), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_Read(11, 0x00010009 111111113333333344, 120)",
                                          "UFIB_DB_ReadUniqueHash(11, 0x01090008 1111111133333333, 120)",
                                          "UFIB_DB_ReadUniqueHash(11, 0x03090009 010100000055555555, 120)",
                                          "UFIB_DB_ReadUniqueHash(11, 0x04090009 000100000066666666, 120)"));
}

TEST_F(ArGroupAttrTest, A_read_fills_the_item_but_its_reserved_blocks) {
  FibDbArGroupAttrItem out{.keyWord1 = 1, .keyWord2 = 2, .keyByte = 3};
  std::memset(out.reserved1, 0xEE, sizeof out.reserved1);
  EXPECT_EQ(FIB_DB_ReadArGroupAttr(&out), 0u);
  EXPECT_EQ(packed(out), packed(fullItem()));
  EXPECT_EQ(out.reserved1[0], 0xEE);
}

TEST_F(ArGroupAttrTest, A_failed_read_returns_the_services_code_silently_and_keeps_the_item) {
  platform.failAlways("UFIB_DB_Read", 15005);
  platform.failAlways("UFIB_DB_ReadUniqueHash", 4711);
  item.keyWord1 = 5;
  const Row before = packed(item);
  EXPECT_EQ(FIB_DB_ReadArGroupAttr(&item), 15005u);
  EXPECT_EQ(FIB_DB_ReadArGroupAttrByAttrIdHash(&item), 4711u);
  EXPECT_EQ(FIB_DB_ReadArGroupAttrByGroupTypeHash(&item), 4711u);
  EXPECT_EQ(packed(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(ArGroupAttrTest, DeleteArGroupAttr_goes_by_the_primary_key) {
  platform.fail("UFIB_DB_Delete", 15005);
  EXPECT_EQ(FIB_DB_DeleteArGroupAttr(&item), 15005u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_Delete(11, 0x00010009 111111113333333344)"));
}

TEST_F(ArGroupAttrTest, CountArGroupAttrByGroupTypeHash_goes_by_the_origin_key) {
  platform.countResult = 3;
  EXPECT_EQ(FIB_DB_CountArGroupAttrByGroupTypeHash(&item, &count), 0u);
  EXPECT_EQ(count, 3u);
  const FibDbArGroupAttrItem byAsn = fullItem(2);
  EXPECT_EQ(FIB_DB_CountArGroupAttrByGroupTypeHash(&byAsn, &count), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_CountByKey(11, 0x03090009 010100000055555555)",
                                          "UFIB_DB_CountByKey(11, 0x04090009 020100000066666666)"));
}

// What the service is handed, byte for byte.
TEST_F(ArGroupAttrTest, Records_for_the_service_are_zero_between_and_behind_their_fields) {
  void* const iterator = FIB_DB_CreateArGroupAttrIterator(0xFFFFFFFF);
  platform.entries = {packed(item)};
  dirtyTheStack(), FIB_DB_CreateArGroupAttr(&item);
  dirtyTheStack(), FIB_DB_ReadArGroupAttr(&item);
  dirtyTheStack(), FIB_DB_ReadArGroupAttrByAttrIdHash(&item);
  dirtyTheStack(), FIB_DB_UpdateArGroupAttrSmoothId(&item);
  dirtyTheStack(), FIB_DB_DeleteArGroupAttr(&item);
  dirtyTheStack(), FIB_DB_CountArGroupAttrByGroupTypeHash(&item, &count);
  dirtyTheStack(), FIB_DB_GetNextArGroupAttrEntry(iterator, &item);
  dirtyTheStack();
  FIB_DB_ReleaseArGroupAttrIterator(FIB_DB_CreateArGroupAttrIteratorByOriginValue(&item, 0));
  FIB_DB_ReleaseArGroupAttrIterator(iterator);
  ASSERT_EQ(platform.serviceRecords.size(), 11u);
  for (const Row& record : platform.serviceRecords) EXPECT_EQ(besideFields(record), Row(record.size()));
}

// Update of the smooth id.
TEST_F(ArGroupAttrTest, UpdateArGroupAttrSmoothId_stages_smooth_id_and_stamp_through_the_service) {
  EXPECT_EQ(FIB_DB_UpdateArGroupAttrSmoothId(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_Update(11, 0x00010009 111111113333333344, 136)",
                                          "db_set_ar_group_attr_table_smooth_id(#0, 2576980377)",
                                          "db_set_ar_group_attr_time_stamp_smooth(#0, 1700000000000000)"));
}

TEST_F(ArGroupAttrTest, SetArGroupAttrSmoothID_of_NULL_returns_1_after_asking_the_time) {
  EXPECT_EQ(FIB_DB_SetArGroupAttrSmoothID(nullptr, 5), 1u);
  EXPECT_EQ(platform.sysTimeReads, 2u);  // one while packing the record of this test
  EXPECT_THAT(platform.calls, IsEmpty());
}

TEST_F(ArGroupAttrTest, SetArGroupAttrSmoothID_stops_at_the_first_failure_with_its_code) {
  const FibDbUfibData context{.data = &item, .len = sizeof item};
  platform.fail("db_set_ar_group_attr_table_smooth_id", 9);
  EXPECT_EQ(FIB_DB_SetArGroupAttrSmoothID(&context, 5), 9u);
  EXPECT_EQ(platform.calls.size(), 1u);
  platform.fail("db_set_ar_group_attr_time_stamp_smooth", 8);
  EXPECT_EQ(FIB_DB_SetArGroupAttrSmoothID(&context, 5), 8u);
  EXPECT_TRUE(silent());
}

// Iteration.
TEST_F(ArGroupAttrTest, Iteration_passes_the_services_end_on_unchanged) {
  platform.entries = {packed(fullItem(0))};
  void* const iterator = FIB_DB_CreateArGroupAttrIterator(0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  EXPECT_EQ(FIB_DB_GetNextArGroupAttrEntry(iterator, &item), 0u);
  EXPECT_EQ(packed(item), packed(fullItem(0)));
  EXPECT_EQ(FIB_DB_GetNextArGroupAttrEntry(iterator, &item), 110012u);
  EXPECT_EQ(packed(item), packed(fullItem(0)));
  EXPECT_EQ(FIB_DB_ReleaseArGroupAttrIterator(iterator), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_CreateIterator(11, 4294967295)", "UFIB_DB_GetNextEntry(11, 120)",
                                          "UFIB_DB_GetNextEntry(11, 120)", "UFIB_DB_ReleaseIterator(11)"));
}

TEST_F(ArGroupAttrTest, CreateArGroupAttrIteratorByOriginValue_goes_by_the_origin_key) {
  FIB_DB_ReleaseArGroupAttrIterator(FIB_DB_CreateArGroupAttrIteratorByOriginValue(&item, 7));
  EXPECT_EQ(platform.calls.front(), "UFIB_DB_CreateIteratorByKey(11, 7, 0x03090009 010100000055555555)");
  EXPECT_EQ(FIB_DB_CreateArGroupAttrIteratorByOriginValue(nullptr, 7), nullptr);
}

TEST_F(ArGroupAttrTest, Release_returns_the_services_result_and_0_for_NULL) {
  void* const iterator = FIB_DB_CreateArGroupAttrIterator(0);
  platform.fail("UFIB_DB_ReleaseIterator", 9);
  EXPECT_EQ(FIB_DB_ReleaseArGroupAttrIterator(iterator), 9u);
  EXPECT_EQ(FIB_DB_ReleaseArGroupAttrIterator(nullptr), 0u);
}

TEST_F(ArGroupAttrTest, NULL_arguments_return_1_and_call_nothing) {
  EXPECT_EQ(FIB_DB_CreateArGroupAttr(nullptr), 1u);
  EXPECT_EQ(FIB_DB_ReadArGroupAttr(nullptr), 1u);
  EXPECT_EQ(FIB_DB_ReadArGroupAttrByAttrIdHash(nullptr), 1u);
  EXPECT_EQ(FIB_DB_ReadArGroupAttrByGroupTypeHash(nullptr), 1u);
  EXPECT_EQ(FIB_DB_UpdateArGroupAttrSmoothId(nullptr), 1u);
  EXPECT_EQ(FIB_DB_DeleteArGroupAttr(nullptr), 1u);
  EXPECT_EQ(FIB_DB_CountArGroupAttrByGroupTypeHash(nullptr, &count), 1u);
  EXPECT_EQ(FIB_DB_GetNextArGroupAttrEntry(nullptr, &item), 1u);
  EXPECT_EQ(FIB_DB_GetNextArGroupAttrEntry(&item, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

}  // namespace
}  // namespace fibdb::test
