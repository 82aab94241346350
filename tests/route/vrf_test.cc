// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/route/vrf_test.cc: VRFs over the recorded platform.
#include <cstring>
#include <string>

#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbVrfItem, vrf_name) == 8 && offsetof(FibDbVrfItem, app_source_id) == 40);
static_assert(offsetof(FibDbVrfItem, app_obj_id) == 48 && offsetof(FibDbVrfItem, app_version) == 56);
static_assert(sizeof(FibDbVrfItem) == 64);

const std::string kRed = "726564" + std::string(58, '0');  // "red", 32 bytes

Row rowOf(uint32_t vr, uint32_t id, const char* name) {
  Row row;
  char padded[32] = {};
  std::strncpy(padded, name, sizeof padded - 1);
  putField(TableId::vrf, row, "vr_id", vr);
  putField(TableId::vrf, row, "vrf_id", id);
  putBytes(TableId::vrf, row, "vrf_name", padded);
  putField(TableId::vrf, row, "app_source_id", 4);
  putField(TableId::vrf, row, "table_smooth_id", 5);
  putField(TableId::vrf, row, "app_obj_id", 0x600000000);
  putField(TableId::vrf, row, "app_version", 7);
  putField(TableId::vrf, row, "time_stamp_create", UINT64_MAX);
  return row;
}

class VrfTest : public TablesTest {
 protected:
  VrfTest() { platform.record(TableId::vrf) = rowOf(1, 2, "red"); }

  FibDbVrfItem item{1, 2, "red", 4, 5, 0x600000000, 7};
};

// Write.
TEST_F(VrfTest, Write_stages_every_field_the_time_last_and_writes_once) {
  EXPECT_EQ(VRF_DB_Write(&item), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_vrf_obj(0)", "db_set_vrf_vr_id(#1, 1)", "db_set_vrf_vrf_id(#1, 2)",
                          "db_set_vrf_vrf_name(#1, " + kRed + ")", "db_set_vrf_app_source_id(#1, 4)",
                          "db_set_vrf_table_smooth_id(#1, 5)", "db_set_vrf_app_obj_id(#1, 25769803776)",
                          "db_set_vrf_app_version(#1, 7)", "db_set_vrf_time_stamp_create(#1, 1700000000000000)",
                          "db_write_obj(#1)", "db_release_vrf_object(#1)"));
  EXPECT_EQ(platform.sysTimeReads, 1u);
  EXPECT_TRUE(silent());
}

TEST_F(VrfTest, Write_whose_name_fails_tries_every_field_says_so_and_writes_nothing) {
  platform.fail("db_set_vrf_vrf_name", 4);
  EXPECT_EQ(VRF_DB_Write(&item), 1u);
  EXPECT_EQ(platform.calls.size(), 1u + 8u + 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("Write vrf DB failed, set fields failed."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(VrfTest, Write_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_vrf_obj", 9);
  EXPECT_EQ(VRF_DB_Write(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("Write vrf DB failed, create object failed. ret: 9"));
}

TEST_F(VrfTest, Write_that_the_database_refuses_is_said_counted_and_its_code) {
  platform.fail("db_write_obj", 7);
  EXPECT_EQ(VRF_DB_Write(&item), 7u);
  EXPECT_THAT(platform.errorLines, ElementsAre("Write vrf DB failed, ret: 7"));
  EXPECT_TRUE(countedOnce(12, 2));
}

TEST_F(VrfTest, Write_answered_with_a_publication_is_0_and_counts_PUB) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(VRF_DB_Write(&item), 0u);
  EXPECT_TRUE(countedOnce(12, 1));
  EXPECT_TRUE(silent());
}

// Read.
TEST_F(VrfTest, Read_fills_the_whole_item_at_once) {
  FibDbVrfItem out{};
  out.vr_id = 1;
  out.vrf_id = 2;
  EXPECT_EQ(VRF_DB_Read(&out), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_vrf_obj(3)", "db_read_obj(#1, 0x00010008 0100000002000000)",
                                          "db_get_vrf_sp_all_data(#1)", "db_release_vrf_object(#1)"));
  EXPECT_EQ(std::memcmp(&out, &item, offsetof(FibDbVrfItem, app_version) + 4), 0);
}

TEST_F(VrfTest, Read_of_a_missing_vrf_is_60_and_silent) {
  platform.fail("db_read_obj", 15005);
  EXPECT_EQ(VRF_DB_Read(&item), 60u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(VrfTest, Read_that_fails_is_said_counted_and_its_code) {
  platform.fail("db_read_obj", 7);
  EXPECT_EQ(VRF_DB_Read(&item), 7u);
  EXPECT_THAT(platform.errorLines, ElementsAre("Read vrf DB failed, ret: 7"));
  EXPECT_TRUE(countedOnce(12, 0));
}

TEST_F(VrfTest, Read_whose_record_cannot_be_copied_says_so_and_returns_its_code_uncounted) {
  platform.fail("db_get_vrf_sp_all_data", 15005);
  EXPECT_EQ(VRF_DB_Read(&item), 15005u);
  EXPECT_THAT(platform.errorLines, ElementsAre("Read vrf DB getSpAllData failed, ret: 15005"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(VrfTest, Read_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_vrf_obj", 9);
  EXPECT_EQ(VRF_DB_Read(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("read vrf DB failed, create object failed. ret: 9"));
}

// Remove.
TEST_F(VrfTest, Remove_removes_by_its_key) {
  EXPECT_EQ(VRF_DB_Remove(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_vrf_obj(4)", "db_remove_obj(#1, 0x00010008 0100000002000000)",
                                          "db_release_vrf_object(#1)"));
}

TEST_F(VrfTest, Remove_that_fails_is_said_counted_and_its_code) {
  platform.fail("db_remove_obj", 15005);
  EXPECT_EQ(VRF_DB_Remove(&item), 15005u);
  EXPECT_THAT(platform.errorLines, ElementsAre("Remove vrf DB failed, ret: 15005"));
  EXPECT_TRUE(countedOnce(12, 4));
}

TEST_F(VrfTest, Remove_answered_with_a_publication_is_0_and_counts_PUB) {
  platform.fail("db_remove_obj", 13044);
  EXPECT_EQ(VRF_DB_Remove(&item), 0u);
  EXPECT_TRUE(countedOnce(12, 1));
}

TEST_F(VrfTest, Remove_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_vrf_obj", 9);
  EXPECT_EQ(VRF_DB_Remove(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("remove vrf DB failed, create object failed. ret: 9"));
}

TEST_F(VrfTest, NULL_items_are_1_without_a_call) {
  EXPECT_EQ(VRF_DB_Write(nullptr), 1u);
  EXPECT_EQ(VRF_DB_Read(nullptr), 1u);
  EXPECT_EQ(VRF_DB_Remove(nullptr), 1u);
  EXPECT_EQ(FIB_DB_CountVrf(nullptr), 1u);
  EXPECT_EQ(FIB_DB_GetNextVrf(nullptr, &item), 1u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Names by ids.
TEST_F(VrfTest, GetNameById_copies_the_name) {
  char name[32] = "before";
  EXPECT_EQ(VRF_INTF_GetNameById(1, 2, name, sizeof name), 0u);
  EXPECT_STREQ(name, "red");
  EXPECT_EQ(platform.calls[1], "db_read_obj(#1, 0x00010008 0100000002000000)");
}

TEST_F(VrfTest, GetNameById_of_a_missing_vrf_is_1_and_leaves_an_empty_name) {
  platform.fail("db_read_obj", 15005);
  char name[32] = "before";
  EXPECT_EQ(VRF_INTF_GetNameById(1, 2, name, sizeof name), 1u);
  EXPECT_STREQ(name, "");
  EXPECT_TRUE(silent());
}

TEST_F(VrfTest, GetNameById_into_too_little_room_says_so_and_is_1) {
  char name[3] = "no";
  EXPECT_EQ(VRF_INTF_GetNameById(1, 2, name, sizeof name), 1u);
  ASSERT_EQ(platform.errorLines.size(), 1u);
  EXPECT_THAT(platform.errorLines[0], testing::StartsWith("GetNameById failed, strcpy failed. ret: "));
  EXPECT_STREQ(name, "");
}

// Ids by names.
TEST_F(VrfTest, GetIdByName_looks_under_router_and_padded_name) {
  platform.entries = {rowOf(1, 2, "red")};
  uint32_t id = 99;
  EXPECT_EQ(VRF_INTF_GetIdByName(1, "red", &id), 0u);
  EXPECT_EQ(id, 2u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_vrf_obj(5)", "db_create_root_iter(#1, 0x01090024 01000000" + kRed + ")",
                          "db_root_iterator_next(~1)", "db_get_vrf_vrf_id(#1)", "db_root_iterator_next(~1)",
                          "db_release_vrf_object(#1)"));
}

TEST_F(VrfTest, GetIdByName_gives_the_last_of_several) {
  platform.entries = {rowOf(1, 2, "red"), rowOf(1, 5, "red")};
  uint32_t id = 99;
  EXPECT_EQ(VRF_INTF_GetIdByName(1, "red", &id), 0u);
  EXPECT_EQ(id, 5u);
}

TEST_F(VrfTest, GetIdByName_of_an_unknown_name_is_0_and_leaves_the_id) {
  uint32_t id = 99;
  EXPECT_EQ(VRF_INTF_GetIdByName(1, "blue", &id), 0u);
  EXPECT_EQ(id, 99u);
  EXPECT_TRUE(silent());
}

TEST_F(VrfTest, GetIdByName_of_a_name_of_32_characters_is_1_before_any_object) {
  uint32_t id = 99;
  EXPECT_EQ(VRF_INTF_GetIdByName(1, std::string(32, 'x').c_str(), &id), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetIdByName failed, strcpy failed."));
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_EQ(VRF_INTF_GetIdByName(1, std::string(31, 'x').c_str(), &id), 0u);
}

TEST_F(VrfTest, GetIdByName_whose_step_fails_says_and_counts_it_and_is_0) {
  platform.fail("db_root_iterator_next", 7);
  uint32_t id = 99;
  EXPECT_EQ(VRF_INTF_GetIdByName(1, "red", &id), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("Vrf GetIdByName next failed, ret: 7"));
  EXPECT_TRUE(countedOnce(12, 6));
}

TEST_F(VrfTest, GetIdByName_whose_field_fails_says_so_and_is_0) {
  platform.entries = {rowOf(1, 2, "red"), rowOf(1, 5, "red")};
  platform.fail("db_get_vrf_vrf_id", 7);
  uint32_t id = 99;
  EXPECT_EQ(VRF_INTF_GetIdByName(1, "red", &id), 0u);
  EXPECT_EQ(id, 99u);
  EXPECT_THAT(platform.errorLines, ElementsAre("vrf GetIdByName get Field failed, ret: 7"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(VrfTest, GetIdByName_whose_object_copy_or_iterator_fails_says_so_and_returns_the_code) {
  struct {
    const char* call;
    uint32_t code;
    const char* line;
  } const expected[] = {
      {"db_create_vrf_obj", 9, "Get Id by name failed, create object failed. ret: 9"},
      {"memcpy_s", 22, "Get Id by name failed, memcpy failed. ret: 22"},
      {"db_create_root_iter", 9, "Get Id by name failed, create root iter failed. ret: 9"},
  };
  for (const auto& row : expected) {
    platform.reset();
    platform.fail(row.call, row.code);
    uint32_t id = 99;
    EXPECT_EQ(VRF_INTF_GetIdByName(1, "red", &id), row.code) << row.call;
    EXPECT_THAT(platform.errorLines, ElementsAre(row.line));
  }
}

// Iteration.
TEST_F(VrfTest, GetNextVrf_fills_three_fields_and_leaves_the_others) {
  platform.entries = {rowOf(1, 2, "red")};
  FibDbIterator* const iterator = FIB_DB_CreateVrfIterator(1);
  ASSERT_NE(iterator, nullptr);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_vrf_obj(5)", "db_create_root_iter(#1, NULL)",
                                          "db_set_root_iterator_property(~1, 0, 01000000)"));
  platform.calls.clear();
  FibDbVrfItem out{9, 9, "before", 91, 92, 93, 94};
  EXPECT_EQ(FIB_DB_GetNextVrf(iterator, &out), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_root_iterator_next(~1)", "db_get_vrf_vr_id(#1)", "db_get_vrf_vrf_id(#1)",
                                          "db_get_vrf_vrf_name(#1)"));
  EXPECT_EQ(out.vr_id, 1u);
  EXPECT_EQ(out.vrf_id, 2u);
  EXPECT_STREQ(out.vrf_name, "red");
  EXPECT_EQ(out.app_source_id, 91u);
  EXPECT_EQ(out.table_smooth_id, 92u);
  EXPECT_EQ(out.app_obj_id, 93u);
  EXPECT_EQ(out.app_version, 94u);
  EXPECT_EQ(FIB_DB_GetNextVrf(iterator, nullptr), 1u);
  EXPECT_EQ(FIB_DB_GetNextVrf(iterator, &out), 60u);
  EXPECT_TRUE(silent());
  FIB_DB_ReleaseVrfIterator(iterator);
  FIB_DB_ReleaseVrfIterator(nullptr);
}

TEST_F(VrfTest, GetNextVrf_that_fails_says_why) {
  platform.entries = {rowOf(1, 2, "red"), rowOf(1, 2, "red")};
  FibDbIterator* const iterator = FIB_DB_CreateVrfIterator(0xFFFFFFFF);
  EXPECT_EQ(platform.calls.size(), 2u);
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetNextVrf(iterator, &item), 1u);
  EXPECT_TRUE(countedOnce(12, 6));
  platform.fail("db_get_vrf_vr_id", 4);
  platform.fail("db_get_vrf_vrf_name", 3);
  EXPECT_EQ(FIB_DB_GetNextVrf(iterator, &item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNextVrf next failed, ret: 7", "GetNextVrf getField failed, ret: 7"));
  platform.fail("strncpy_s", 22);
  EXPECT_EQ(FIB_DB_GetNextVrf(iterator, &item), 1u);
  EXPECT_EQ(platform.errorLines.size(), 2u);
  EXPECT_EQ(allCounted(), 1u);
  FIB_DB_ReleaseVrfIterator(iterator);
}

TEST_F(VrfTest, CreateVrfIterator_that_fails_says_where) {
  struct {
    const char* call;
    const char* line;
  } const expected[] = {
      {"alloc", "CreateVrfIterator malloc failed"},
      {"db_create_vrf_obj", "CreateVrfIterator createObj failed, ret: 9"},
      {"db_create_root_iter", "CreateVrfIterator createIter failed, ret: 9"},
      {"db_set_root_iterator_property", "CreateVrfIterator setProperty failed, ret: 9"},
  };
  for (const auto& row : expected) {
    platform.reset();
    platform.fail(row.call, 9);
    EXPECT_EQ(FIB_DB_CreateVrfIterator(1), nullptr);
    EXPECT_THAT(platform.errorLines, ElementsAre(row.line));
    EXPECT_EQ(platform.leaks(), "");
  }
}

// Count.
TEST_F(VrfTest, CountVrf_stores_the_count_or_says_why_not) {
  platform.countResult = 3;
  uint32_t count = 5;
  EXPECT_EQ(FIB_DB_CountVrf(&count), 0u);
  EXPECT_EQ(count, 3u);
  platform.fail("db_create_vrf_obj", 9);
  EXPECT_EQ(FIB_DB_CountVrf(&count), 9u);
  platform.fail("db_get_table_record_count", 8);
  EXPECT_EQ(FIB_DB_CountVrf(&count), 8u);
  EXPECT_EQ(count, 3u);
  EXPECT_THAT(platform.errorLines, ElementsAre("CountVrf failed, create object failed. ret: 9",
                                               "CountVrf failed, get table record count failed. ret: 8"));
  EXPECT_EQ(allCounted(), 0u);
}

// Ids of a router.
class VrfByVrId : public VrfTest {
 protected:
  VrfByVrId() { platform.entries = {rowOf(1, 2, "a"), rowOf(1, 3, "b"), rowOf(1, 4, "c")}; }

  uint32_t ids[4] = {90, 91, 92, 93};
  uint32_t count = 10;
};

TEST_F(VrfByVrId, adds_what_it_stores_to_the_count) {
  EXPECT_EQ(FIB_DB_GetVrfByVrId(1, ids, 4, &count), 0u);
  EXPECT_THAT(ids, ElementsAre(2, 3, 4, 93));
  EXPECT_EQ(count, 13u);
  EXPECT_EQ(platform.calls[1], "db_create_root_iter(#1, 0x02090004 01000000)");
}

TEST_F(VrfByVrId, takes_one_step_beyond_a_full_array_and_does_not_look_at_it) {
  platform.fail("db_root_iterator_next", 0);
  platform.fail("db_root_iterator_next", 0);
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetVrfByVrId(1, ids, 2, &count), 0u);
  EXPECT_THAT(ids, ElementsAre(2, 3, 92, 93));
  EXPECT_EQ(count, 12u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_root_iterator_next"), 3);
  EXPECT_TRUE(silent());
}

TEST_F(VrfByVrId, without_room_takes_one_step_and_is_0_even_if_it_fails) {
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetVrfByVrId(1, ids, 0, &count), 0u);
  EXPECT_EQ(count, 10u);
  EXPECT_EQ(platform.calls[2], "db_root_iterator_next(~1)");
  EXPECT_EQ(platform.calls.size(), 4u);
  EXPECT_TRUE(silent());
}

TEST_F(VrfByVrId, releases_before_it_says_what_failed) {
  std::vector<size_t> linesAtRelease;
  platform.watch = [&](std::string_view call) {
    if (call == "db_release_vrf_object") linesAtRelease.push_back(platform.errorLines.size());
  };
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetVrfByVrId(1, ids, 4, &count), 1u);
  platform.fail("db_get_vrf_vrf_id", 8);
  EXPECT_EQ(FIB_DB_GetVrfByVrId(1, ids, 4, &count), 1u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("GetVrfByVrId get next rootIterator fail. ret = 7", "GetVrfByVrId getField failed, ret: 8"));
  EXPECT_THAT(linesAtRelease, ElementsAre(0, 1));
  EXPECT_EQ(count, 10u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(VrfByVrId, whose_object_or_iterator_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_vrf_obj", 9);
  EXPECT_EQ(FIB_DB_GetVrfByVrId(1, ids, 4, &count), 9u);
  platform.fail("db_create_root_iter", 8);
  EXPECT_EQ(FIB_DB_GetVrfByVrId(1, ids, 4, &count), 8u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("GetVrfByVrId createObj failed, ret: 9", "GetVrfByVrId, create root iter failed. ret: 8"));
}

}  // namespace
}  // namespace fibdb::test
