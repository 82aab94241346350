// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_ext_label_test.cc: labels of next-hop extensions over the recorded table service.
#include <algorithm>
#include <cstddef>

#include "tests/support/service_records.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

// The layout that callers were compiled against, which is the row's.
static_assert(offsetof(FibDbNhpExtLabelItem, labelWord1) == 28 && offsetof(FibDbNhpExtLabelItem, labelWord2) == 32);
static_assert(offsetof(FibDbNhpExtLabelItem, labelByte1) == 36 && offsetof(FibDbNhpExtLabelItem, labelByte2) == 37);
static_assert(offsetof(FibDbNhpExtLabelItem, labelData) == 40 && offsetof(FibDbNhpExtLabelItem, labelWord3) == 72);
static_assert(offsetof(FibDbNhpExtLabelItem, smoothId) == 76 && offsetof(FibDbNhpExtLabelItem, stamp1) == 80);
static_assert(offsetof(FibDbNhpExtLabelItem, stamp2) == 88 && sizeof(FibDbNhpExtLabelItem) == 96);

FibDbNhpExtLabelItem fullItem() {
  FibDbNhpExtLabelItem item{
      .keyWords = {0x11111111, 0x22222222, 0x33333333, 0x44444444, 0x55555555, 0x66666666, 0x77777777},
      .labelWord1 = 0x88888888,
      .labelWord2 = 0x99999999,
      .labelByte1 = 0xA1,
      .labelByte2 = 0xA2,
      .reserved = {0xE1, 0xE2},
      .labelWord3 = 0xBBBBBBBB,
      .smoothId = 0xCCCCCCCC,
      .stamp1 = 0x1D1D1D1D1D1D1D1D,
      .stamp2 = 0x2D2D2D2D2D2D2D2D};
  for (size_t i = 0; i < sizeof item.labelData; ++i) item.labelData[i] = static_cast<uint8_t>(0x40 + i);
  return item;
}

Row bytesOf(const FibDbNhpExtLabelItem& item) {
  Row bytes(sizeof item);
  std::memcpy(bytes.data(), &item, sizeof item);
  return bytes;
}

// The row of an item: its bytes, with zeros where it has bytes that are nobody's.
Row rowOf(const FibDbNhpExtLabelItem& item) {
  Row row = bytesOf(item);
  row[38] = row[39] = 0;
  return row;
}

constexpr const char* kKey = "0x0001001C 11111111222222223333333344444444555555556666666677777777";

std::string called(const char* call, const std::string& key, const char* more = "") {
  return std::string(call) + "(24, " + key + more + ")";
}

class NhpExtLabelTest : public TablesTest {
 protected:
  void SetUp() override { platform.record(TableId::nhp_ext_label) = rowOf(fullItem()); }

  FibDbNhpExtLabelItem item = fullItem();
};

// Packing and keys.
TEST_F(NhpExtLabelTest, SetNhpExtLabelFields_copies_all_but_the_bytes_that_are_nobodys) {
  Row row(96, 0x5A);
  FIB_DB_SetNhpExtLabelFields(&item, row.data());
  Row expected = bytesOf(item);
  expected[38] = expected[39] = 0x5A;
  EXPECT_EQ(row, expected);
}

TEST_F(NhpExtLabelTest, GetNhpExtLabelFields_copies_all_but_the_bytes_that_are_nobodys) {
  const Row row = bytesOf(item);
  FibDbNhpExtLabelItem out{};
  FIB_DB_GetNhpExtLabelFields(row.data(), &out);
  EXPECT_EQ(bytesOf(out), rowOf(item));
}

TEST_F(NhpExtLabelTest, SetNhpExtLabelPriKey_packs_seven_words) {
  uint32_t id = 0;
  uint32_t words[8] = {0, 0, 0, 0, 0, 0, 0, 77};
  FIB_DB_SetNhpExtLabelPriKey(&item, &id, words);
  EXPECT_EQ(id, 0x0001001Cu);
  EXPECT_THAT(words,
              ElementsAre(0x11111111, 0x22222222, 0x33333333, 0x44444444, 0x55555555, 0x66666666, 0x77777777, 77));
}

// Create, read, delete.
TEST_F(NhpExtLabelTest, CreateNhpExtLabel_hands_over_the_row_with_zeros_at_38_and_the_stamps_as_given) {
  EXPECT_EQ(FIB_DB_CreateNhpExtLabel(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_Create(24, 96)"));
  ASSERT_EQ(platform.created.size(), 1u);
  EXPECT_EQ(platform.created[0], rowOf(item));
  EXPECT_EQ(platform.sysTimeReads, 0u);
}

TEST_F(NhpExtLabelTest, ReadNhpExtLabel_fills_the_item_but_the_bytes_that_are_nobodys) {
  FibDbNhpExtLabelItem out{.reserved = {0x31, 0x32}};
  std::copy_n(item.keyWords, 7, out.keyWords);
  EXPECT_EQ(FIB_DB_ReadNhpExtLabel(&out), 0u);
  EXPECT_THAT(platform.calls, ElementsAre(called("UFIB_DB_Read", kKey, ", 96")));
  EXPECT_EQ(rowOf(out), rowOf(item));
  EXPECT_EQ(out.reserved[0], 0x31);
  EXPECT_EQ(out.reserved[1], 0x32);
}

TEST_F(NhpExtLabelTest, ReadNhpExtLabel_failure_returns_the_services_code_silently_and_keeps_the_item) {
  item.labelWord1 = 5;
  const Row before = bytesOf(item);
  for (const uint32_t code : {15005u, 13044u, 4711u}) {
    platform.fail("UFIB_DB_Read", code);
    EXPECT_EQ(FIB_DB_ReadNhpExtLabel(&item), code);
  }
  EXPECT_EQ(bytesOf(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtLabelTest, DeleteNhpExtLabel_goes_by_the_primary_key_and_returns_the_services_code) {
  platform.fail("UFIB_DB_Delete", 15005);
  EXPECT_EQ(FIB_DB_DeleteNhpExtLabel(&item), 15005u);
  EXPECT_EQ(FIB_DB_DeleteNhpExtLabel(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre(called("UFIB_DB_Delete", kKey), called("UFIB_DB_Delete", kKey)));
  EXPECT_TRUE(silent());
}

// What the service is handed, byte for byte.
TEST_F(NhpExtLabelTest, Requests_under_words_are_zero_between_and_behind_their_fields) {
  dirtyTheStack();
  FIB_DB_ReleaseNhpExtLabelIterator(FIB_DB_CreateNhpExtLabelIteratorByVrf(1, 2, 0));
  ASSERT_EQ(platform.serviceRecords.size(), 1u);
  EXPECT_EQ(besideFields(platform.serviceRecords[0]), Row(sizeof(FibDbUfibKey)));
}

// Update of the smooth id.
TEST_F(NhpExtLabelTest, UpdateNhpExtLabelSmoothId_stages_the_smooth_id_alone_through_the_service) {
  EXPECT_EQ(FIB_DB_UpdateNhpExtLabelSmoothId(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre(called("UFIB_DB_Update", kKey, ", 96"),
                                          "db_set_nhp_ext_label_table_smooth_id(#0, 3435973836)"));
  EXPECT_EQ(platform.sysTimeReads, 0u);
}

TEST_F(NhpExtLabelTest, UpdateNhpExtLabelSmoothId_failure_is_the_services_code) {
  platform.fail("UFIB_DB_Update", 15005);
  EXPECT_EQ(FIB_DB_UpdateNhpExtLabelSmoothId(&item), 15005u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtLabelTest, SetNhpExtLabelSmoothID_returns_1_for_NULL_and_else_the_code) {
  EXPECT_EQ(FIB_DB_SetNhpExtLabelSmoothID(nullptr, 5), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  const FibDbUfibData context{.data = &item, .len = sizeof item};
  platform.fail("db_set_nhp_ext_label_table_smooth_id", 13044);
  EXPECT_EQ(FIB_DB_SetNhpExtLabelSmoothID(&context, 5), 13044u);
  EXPECT_EQ(FIB_DB_SetNhpExtLabelSmoothID(&context, 5), 0u);
  EXPECT_TRUE(silent());
}

// Iteration.
TEST_F(NhpExtLabelTest, Iteration_passes_the_services_end_on_unchanged) {
  platform.entries = {rowOf(item)};
  void* const iterator = FIB_DB_CreateNhpExtLabelIterator(0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  FibDbNhpExtLabelItem out{.reserved = {0x31, 0x32}};
  EXPECT_EQ(FIB_DB_GetNextNhpExtLabel(iterator, &out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(item));
  EXPECT_EQ(out.reserved[0], 0x31);
  EXPECT_EQ(FIB_DB_GetNextNhpExtLabel(iterator, &out), 110012u);
  EXPECT_EQ(rowOf(out), rowOf(item));
  EXPECT_EQ(FIB_DB_ReleaseNhpExtLabelIterator(iterator), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_CreateIterator(24, 4294967295)", "UFIB_DB_GetNextEntry(24, 96)",
                                          "UFIB_DB_GetNextEntry(24, 96)", "UFIB_DB_ReleaseIterator(24)"));
}

TEST_F(NhpExtLabelTest, CreateNhpExtLabelIteratorByVrf_packs_its_words_in_order) {
  FIB_DB_ReleaseNhpExtLabelIterator(FIB_DB_CreateNhpExtLabelIteratorByVrf(0x01020304, 0x11121314, 7));
  EXPECT_EQ(platform.calls.front(), "UFIB_DB_CreateIteratorByKey(24, 7, 0x01090008 0403020114131211)");
}

TEST_F(NhpExtLabelTest, Iterators_that_the_service_refuses_are_NULL_silently) {
  platform.fail("UFIB_DB_CreateIterator", 9);
  platform.fail("UFIB_DB_CreateIteratorByKey", 9);
  EXPECT_EQ(FIB_DB_CreateNhpExtLabelIterator(0), nullptr);
  EXPECT_EQ(FIB_DB_CreateNhpExtLabelIteratorByVrf(0, 0, 0), nullptr);
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtLabelTest, Release_returns_the_services_result_and_0_for_NULL) {
  void* const iterator = FIB_DB_CreateNhpExtLabelIterator(0);
  platform.fail("UFIB_DB_ReleaseIterator", 9);
  EXPECT_EQ(FIB_DB_ReleaseNhpExtLabelIterator(iterator), 9u);
  EXPECT_EQ(FIB_DB_ReleaseNhpExtLabelIterator(nullptr), 0u);
}

TEST_F(NhpExtLabelTest, NULL_arguments_return_1_and_call_nothing) {
  EXPECT_EQ(FIB_DB_CreateNhpExtLabel(nullptr), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpExtLabel(nullptr), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpExtLabelSmoothId(nullptr), 1u);
  EXPECT_EQ(FIB_DB_DeleteNhpExtLabel(nullptr), 1u);
  EXPECT_EQ(FIB_DB_GetNextNhpExtLabel(nullptr, &item), 1u);
  EXPECT_EQ(FIB_DB_GetNextNhpExtLabel(&item, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

}  // namespace
}  // namespace fibdb::test
