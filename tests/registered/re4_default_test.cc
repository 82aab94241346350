// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/re4_default_test.cc: IPv4 default routes over the recorded database.
#include <cstddef>

#include "tests/registered/service_table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbRe4DefaultItem, statusHigh) == 4 && offsetof(FibDbRe4DefaultItem, statusNormal) == 5);
static_assert(offsetof(FibDbRe4DefaultItem, sysTime) == 8 && sizeof(FibDbRe4DefaultItem) == 16);

class Re4DefaultTest : public TablesTest {
 protected:
  const FibDbRe4DefaultItem item{
      .fvrfIndex = 0x11111111, .statusHigh = 0x22, .statusNormal = 0x33, .sysTime = 0x4444444444444444};
  const uint32_t fvrf = 0x11111111;
};

// Staging.
TEST_F(Re4DefaultTest, SetRe4DefaultItem_sets_every_field_in_order) {
  EXPECT_EQ(FIB_DB_SetRe4DefaultItem(5, &item), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_set_re4_default_fvrf_index(5, 286331153)", "db_set_re4_default_status_high_prio(5, 34)",
                          "db_set_re4_default_status_normal_prio(5, 51)",
                          "db_set_re4_default_sys_time(5, 4919131752989213764)"));
  EXPECT_EQ(platform.sysTimeReads, 0u);
  EXPECT_TRUE(silent());
}

TEST_F(Re4DefaultTest, SetRe4DefaultItem_goes_on_behind_a_failure_says_the_ored_codes_and_gives_1) {
  for (const char* const field : {"fvrf_index", "status_high_prio", "status_normal_prio"}) {
    platform.calls.clear();
    platform.errorLines.clear();
    platform.fail(std::string("db_set_re4_default_") + field, 8);
    platform.fail("db_set_re4_default_sys_time", 1);
    EXPECT_EQ(FIB_DB_SetRe4DefaultItem(5, &item), 1u) << field;
    EXPECT_EQ(platform.calls.size(), 4u) << field;
    EXPECT_THAT(platform.errorLines, ElementsAre("SetRe4DefaultItem setField failed, ret: 9"));
  }
  platform.errorLines.clear();
  platform.fail("db_set_re4_default_sys_time", kCode);
  EXPECT_EQ(FIB_DB_SetRe4DefaultItem(5, &item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetRe4DefaultItem setField failed, ret: -7"));
  EXPECT_EQ(allCounted(), 0u);
}

// Write.
TEST_F(Re4DefaultTest, WriteRe4Default_stages_the_item_and_writes_it) {
  EXPECT_EQ(FIB_DB_WriteRe4Default(&item), 0u);
  ASSERT_EQ(platform.calls.size(), 7u);
  EXPECT_EQ(platform.calls[0], "db_create_re4_default_obj(0)");
  EXPECT_EQ(platform.calls[5], "db_write_obj(#1)");
  EXPECT_EQ(platform.calls[6], "db_release_re4_default_object(#1)");
  const Row& staged = platform.staged(TableId::re4_default);
  EXPECT_EQ(getField(TableId::re4_default, staged, "fvrf_index"), 0x11111111u);
  EXPECT_EQ(getField(TableId::re4_default, staged, "status_high_prio"), 0x22u);
  EXPECT_EQ(getField(TableId::re4_default, staged, "status_normal_prio"), 0x33u);
  EXPECT_EQ(getField(TableId::re4_default, staged, "sys_time"), 0x4444444444444444u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(Re4DefaultTest, WriteRe4Default_without_an_object_says_so_and_counts_nothing) {
  platform.fail("db_create_re4_default_obj", kCode);
  EXPECT_EQ(FIB_DB_WriteRe4Default(&item), kCode);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteRe4Default failed, create object failed. ret: -7"));
  EXPECT_EQ(platform.calls.size(), 1u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(Re4DefaultTest, WriteRe4Default_whose_field_fails_gives_1_without_a_write) {
  platform.fail("db_set_re4_default_status_high_prio", 7);
  EXPECT_EQ(FIB_DB_WriteRe4Default(&item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetRe4DefaultItem setField failed, ret: 7"));
  EXPECT_EQ(platform.calls.size(), 6u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(Re4DefaultTest, WriteRe4Default_that_fails_says_so_counts_WRITE_and_returns_the_code) {
  platform.fail("db_write_obj", kCode);
  EXPECT_EQ(FIB_DB_WriteRe4Default(&item), kCode);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteRe4Default failed, ret: -7"));
  EXPECT_TRUE(countedOnce(10, 2));
}

// Remove.
TEST_F(Re4DefaultTest, RemoveRe4Default_goes_by_the_forwarding_VRF) {
  EXPECT_EQ(FIB_DB_RemoveRe4Default(&fvrf), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_re4_default_obj(4)", "db_remove_obj(#1, 0x00010004 11111111)",
                                          "db_release_re4_default_object(#1)"));
  EXPECT_TRUE(silent());
}

TEST_F(Re4DefaultTest, RemoveRe4Default_without_an_object_says_so_and_counts_nothing) {
  platform.fail("db_create_re4_default_obj", kCode);
  EXPECT_EQ(FIB_DB_RemoveRe4Default(&fvrf), kCode);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveRe4Default failed, create object failed. ret: -7"));
  EXPECT_EQ(platform.calls.size(), 1u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(Re4DefaultTest, RemoveRe4Default_that_fails_says_so_counts_REMOVE_and_returns_the_code) {
  platform.fail("db_remove_obj", kCode);
  EXPECT_EQ(FIB_DB_RemoveRe4Default(&fvrf), kCode);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveRe4Default failed, ret: -7"));
  EXPECT_TRUE(countedOnce(10, 4));
  platform.fail("db_remove_obj", 15005);
  EXPECT_EQ(FIB_DB_RemoveRe4Default(&fvrf), 15005u);
  EXPECT_EQ(counted(10, 4), 2u);
}

TEST_F(Re4DefaultTest, Publications_give_0_silently_and_count_PUB) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteRe4Default(&item), 0u);
  EXPECT_TRUE(countedOnce(10, 1));
  platform.fail("db_remove_obj", 13044);
  EXPECT_EQ(FIB_DB_RemoveRe4Default(&fvrf), 0u);
  EXPECT_EQ(counted(10, 1), 2u);
  EXPECT_EQ(allCounted(), 2u);
  EXPECT_TRUE(silent());
}

TEST_F(Re4DefaultTest, NULL_gives_1_and_calls_nothing) {
  EXPECT_EQ(FIB_DB_WriteRe4Default(nullptr), 1u);
  EXPECT_EQ(FIB_DB_RemoveRe4Default(nullptr), 1u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
}

}  // namespace
}  // namespace fibdb::test
