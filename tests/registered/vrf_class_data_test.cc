// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/vrf_class_data_test.cc: VRF class data over the recorded database and table service.
#include <cstddef>

#include "platform/objdb_tables.h"
#include "tests/registered/service_table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbVrfClassDataItem, vrf_index) == 12 && offsetof(FibDbVrfClassDataItem, smooth_flag) == 36);
static_assert(offsetof(FibDbVrfClassDataItem, time_stamp_verify_begin) == 40 && sizeof(FibDbVrfClassDataItem) == 72);

// In the order in which they are read.
const std::vector<std::string> kFields = {"table_id",
                                          "producer_pid",
                                          "vr_id",
                                          "vrf_index",
                                          "topology_id",
                                          "vrf_state",
                                          "vrf_data_machine",
                                          "vrf_state_version",
                                          "vrf_data_version",
                                          "smooth_flag",
                                          "time_stamp_verify_begin",
                                          "time_stamp_verify_end",
                                          "time_stamp_age_begin",
                                          "time_stamp_age_end"};

FibDbVrfClassDataItem fullItem() {
  return {.table_id = 0x11111111,
          .producer_pid = 0x22222222,
          .vr_id = 0x33333333,
          .vrf_index = 0x44444444,
          .topology_id = 0x55555555,
          .vrf_state = 0x66666666,
          .vrf_data_machine = 0x77777777,
          .vrf_state_version = 0x88888888,
          .vrf_data_version = 0x99999999,
          .smooth_flag = 0xAAAAAAAA,
          .time_stamp_verify_begin = 0xB1B1B1B1B1B1B1B1,
          .time_stamp_verify_end = 0xB2B2B2B2B2B2B2B2,
          .time_stamp_age_begin = 0xB3B3B3B3B3B3B3B3,
          .time_stamp_age_end = 0xB4B4B4B4B4B4B4B4};
}

std::string getter(const std::string& field) { return "db_get_vrf_class_data_" + field; }

class VrfClassDataTest : public TablesTest {
 protected:
  void SetUp() override {
    platform.record(TableId::vrf_class_data) = bytesOf(fullItem());
    std::memset(&out, 0x5A, sizeof out);
  }

  // What reading every field of the first object looks like.
  static std::vector<std::string> getters() {
    std::vector<std::string> calls;
    for (const std::string& field : kFields) calls.push_back(getter(field) + "(#1)");
    return calls;
  }

  const FibDbVrfClassDataItem item = fullItem();
  FibDbVrfClassDataItem out;
  uint32_t count = 777;
};

// Keys.
TEST_F(VrfClassDataTest, SetVrfClassDataKey_fills_the_four_words_of_the_key_and_nothing_else) {
  FIB_DB_SetVrfClassDataKey(&out, 1, 2, 3, 4);
  Row expected(72, 0x5A);
  for (uint32_t i = 0; i < 4; ++i) putAt(expected, size_t{4} * i, i + 1);
  EXPECT_EQ(bytesOf(out), expected);
}

TEST_F(VrfClassDataTest, SetVrfClassDataKeyField_packs_the_first_four_words) {
  // Unlike other builders it takes the item last.
  const auto build = +[](const FibDbVrfClassDataItem* from, uint32_t* indexId, void* key) {
    FIB_DB_SetVrfClassDataKeyField(indexId, key, from);
  };
  EXPECT_EQ(keyGiven(build, item), "0x00010010 11111111222222223333333344444444");
}

TEST_F(VrfClassDataTest, SetVrfClassDataSmoothEndHashKey_packs_table_state_and_flag) {
  EXPECT_EQ(keyGiven(FIB_DB_SetVrfClassDataSmoothEndHashKey, item), "0x0309000C 1111111166666666aaaaaaaa");
}

// Fields.
TEST_F(VrfClassDataTest, GetVrfClassDataItem_gets_every_field_in_order) {
  uint64_t object = 0;
  db_create_vrf_class_data_obj(3, 0, &object);
  platform.calls.clear();
  EXPECT_EQ(FIB_DB_GetVrfClassDataItem(object, &out), 0u);
  EXPECT_EQ(platform.calls, getters());
  EXPECT_EQ(bytesOf(out), bytesOf(item));
  EXPECT_TRUE(silent());
  db_release_vrf_class_data_object(object);
}

TEST_F(VrfClassDataTest, GetVrfClassDataItem_goes_on_behind_a_failure_ors_the_codes_and_says_so) {
  for (const std::string& field : kFields) {
    platform.calls.clear();
    platform.errorLines.clear();
    platform.fail(getter(field), 8);
    platform.fail(getter(kFields.back()), field == kFields.back() ? 3 : 1);
    const uint32_t expected = field == kFields.back() ? 8 : 9;
    EXPECT_EQ(FIB_DB_GetVrfClassDataItem(1, &out), expected) << field;
    EXPECT_EQ(platform.calls.size(), kFields.size());
    EXPECT_THAT(platform.errorLines,
                ElementsAre("GetVrfClassDataItem getField failed, ret: " + std::to_string(expected) + "."));
  }
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(VrfClassDataTest, GetVrfClassDataItem_says_a_code_with_its_sign) {
  platform.fail(getter("vr_id"), kCode);
  EXPECT_EQ(FIB_DB_GetVrfClassDataItem(1, &out), kCode);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetVrfClassDataItem getField failed, ret: -7."));
}

TEST_F(VrfClassDataTest, GetVrfClassDataItem_of_NULL_is_not_0_and_calls_nothing) {
  EXPECT_NE(FIB_DB_GetVrfClassDataItem(1, nullptr), 0u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Read.
TEST_F(VrfClassDataTest, ReadVrfClassData_goes_by_the_primary_key_and_fills_the_item) {
  FIB_DB_SetVrfClassDataKey(&out, 0x11111111, 0x22222222, 0x33333333, 0x44444444);
  EXPECT_EQ(FIB_DB_ReadVrfClassData(&out), 0u);
  std::vector<std::string> expected = {"db_create_vrf_class_data_obj(3)",
                                       "db_read_obj(#1, 0x00010010 11111111222222223333333344444444)"};
  for (const std::string& call : getters()) expected.push_back(call);
  expected.emplace_back("db_release_vrf_class_data_object(#1)");
  EXPECT_EQ(platform.calls, expected);
  EXPECT_EQ(bytesOf(out), bytesOf(item));
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(VrfClassDataTest, ReadVrfClassData_of_a_missing_record_gives_60_silently_and_keeps_the_item) {
  platform.fail("db_read_obj", 15005);
  EXPECT_EQ(FIB_DB_ReadVrfClassData(&out), 60u);
  EXPECT_EQ(bytesOf(out), Row(72, 0x5A));
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(VrfClassDataTest, ReadVrfClassData_that_fails_says_so_counts_READ_and_returns_the_code) {
  platform.fail("db_read_obj", kCode);
  EXPECT_EQ(FIB_DB_ReadVrfClassData(&out), kCode);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadVrfClassData read failed, ret: -7"));
  EXPECT_TRUE(countedOnce(15, 0));
  EXPECT_EQ(bytesOf(out), Row(72, 0x5A));
  platform.fail("db_read_obj", 13044);
  EXPECT_EQ(FIB_DB_ReadVrfClassData(&out), 13044u);
}

TEST_F(VrfClassDataTest, ReadVrfClassData_without_an_object_says_so_and_counts_nothing) {
  platform.fail("db_create_vrf_class_data_obj", kCode);
  EXPECT_EQ(FIB_DB_ReadVrfClassData(&out), kCode);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadVrfClassData createObj failed, ret: -7"));
  EXPECT_EQ(platform.calls.size(), 1u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(VrfClassDataTest, ReadVrfClassData_with_an_unreadable_field_says_so_and_is_a_success) {
  platform.fail(getter("vrf_state"), 7);
  EXPECT_EQ(FIB_DB_ReadVrfClassData(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetVrfClassDataItem getField failed, ret: 7."));
  EXPECT_EQ(out.vrf_state, 0x5A5A5A5Au);
  EXPECT_EQ(out.time_stamp_age_end, item.time_stamp_age_end);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(VrfClassDataTest, ReadVrfClassData_of_NULL_gives_1_and_calls_nothing) {
  EXPECT_EQ(FIB_DB_ReadVrfClassData(nullptr), 1u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

// Count, registration.
TEST_F(VrfClassDataTest, CountVrfClassDataByKey_goes_by_the_hash_key_and_returns_the_services_code) {
  platform.countResult = 3;
  EXPECT_EQ(FIB_DB_CountVrfClassDataByKey(&item, &count), 0u);
  EXPECT_EQ(count, 3u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_CountByKey(26, 0x0309000C 1111111166666666aaaaaaaa)"));
  platform.fail("UFIB_DB_CountByKey", 15005);
  count = 777;
  EXPECT_EQ(FIB_DB_CountVrfClassDataByKey(&item, &count), 15005u);
  EXPECT_EQ(count, 777u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(VrfClassDataTest, CountVrfClassDataByKey_requests_are_zero_between_and_behind_their_fields) {
  dirtyTheStack(), FIB_DB_CountVrfClassDataByKey(&item, &count);
  ASSERT_EQ(platform.serviceRecords.size(), 1u);
  EXPECT_EQ(besideFields(platform.serviceRecords[0]), Row(sizeof(FibDbUfibKey)));
}

TEST_F(VrfClassDataTest, VrfClassDataRegister_returns_the_services_code) {
  platform.fail("UFIB_DB_TableRegister", 4711);
  EXPECT_EQ(FIB_DB_VrfClassDataRegister(), 4711u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_TableRegister(26, vrf_class_data)"));
}

}  // namespace
}  // namespace fibdb::test
