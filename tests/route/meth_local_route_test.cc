// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/route/meth_local_route_test.cc: local routes over the recorded platform.
#include <cstring>

#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

Row rowOf(uint32_t vr, uint32_t vrf, uint32_t address, uint8_t mask) {
  Row row;
  putField(TableId::meth_local_route, row, "vr_id", vr);
  putField(TableId::meth_local_route, row, "vrf_index", vrf);
  putField(TableId::meth_local_route, row, "dest_ip_addr", address);
  putField(TableId::meth_local_route, row, "mask_len", mask);
  return row;
}

class MethLocalRouteTest : public TablesTest {
 protected:
  FibDbMeLocalRouteItem item{1, 2, 0x0A000001, 32, {7, 8, 9}};
};

TEST_F(MethLocalRouteTest, SetMeLocalRouteKeyField_packs_thirteen_bytes_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc desc{.indexId = 0, .rsv1 = 2, .rsv2 = 3};
  uint8_t key[14];
  std::memset(key, 0xEE, sizeof key);
  FIB_DB_SetMeLocalRouteKeyField(&desc, key, &item);
  EXPECT_EQ(desc.indexId, 0x0001000Du);
  EXPECT_EQ(desc.rsv1, 2u);
  EXPECT_EQ(desc.rsv2, 3u);
  EXPECT_THAT(key, ElementsAre(1, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0x0A, 32, 0xEE));
}

// Write.
TEST_F(MethLocalRouteTest, WriteMeLocalRoute_stages_the_four_fields_and_writes_once) {
  EXPECT_EQ(FIB_DB_WriteMeLocalRoute(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_meth_local_route_obj(0)", "db_set_meth_local_route_vr_id(#1, 1)",
                                          "db_set_meth_local_route_vrf_index(#1, 2)",
                                          "db_set_meth_local_route_dest_ip_addr(#1, 167772161)",
                                          "db_set_meth_local_route_mask_len(#1, 32)", "db_write_obj(#1)",
                                          "db_release_meth_local_route_object(#1)"));
  EXPECT_TRUE(silent());
}

TEST_F(MethLocalRouteTest, WriteMeLocalRoute_whose_fields_fail_tries_them_all_and_does_not_write) {
  platform.fail("db_set_meth_local_route_vr_id", 4);
  platform.fail("db_set_meth_local_route_mask_len", 3);
  EXPECT_EQ(FIB_DB_WriteMeLocalRoute(&item), 1u);
  EXPECT_EQ(platform.calls.size(), 1u + 4u + 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetMeLocalRouteItem setField failed, ret: 7"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(MethLocalRouteTest, WriteMeLocalRoute_counts_under_the_global_configuration) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteMeLocalRoute(&item), 0u);
  EXPECT_TRUE(countedOnce(13, 1));
  EXPECT_TRUE(silent());
  platform.reset();
  platform.fail("db_write_obj", 7);
  EXPECT_EQ(FIB_DB_WriteMeLocalRoute(&item), 7u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteMeLocalRoute failed, ret: 7"));
  EXPECT_TRUE(countedOnce(13, 2));
}

// Remove.
TEST_F(MethLocalRouteTest, RemoveMeLocalRoute_removes_by_its_key) {
  EXPECT_EQ(FIB_DB_RemoveMeLocalRoute(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_meth_local_route_obj(4)",
                                          "db_remove_obj(#1, 0x0001000D 01000000020000000100000a20)",
                                          "db_release_meth_local_route_object(#1)"));
}

TEST_F(MethLocalRouteTest, RemoveMeLocalRoute_of_a_missing_route_is_the_databases_code) {
  platform.fail("db_remove_obj", 15005);
  EXPECT_EQ(FIB_DB_RemoveMeLocalRoute(&item), 15005u);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveMeLocalRoute failed, ret: 15005"));
  EXPECT_TRUE(countedOnce(11, 4));
}

TEST_F(MethLocalRouteTest, RemoveMeLocalRoute_answered_with_a_publication_counts_PUB_of_its_own_table) {
  platform.fail("db_remove_obj", 13044);
  EXPECT_EQ(FIB_DB_RemoveMeLocalRoute(&item), 0u);
  EXPECT_TRUE(countedOnce(11, 1));
  EXPECT_TRUE(silent());
}

// Count.
TEST_F(MethLocalRouteTest, CountMeLocalRoute_counts_the_table) {
  platform.countResult = 3;
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountMeLocalRoute(&count), 0u);
  EXPECT_EQ(count, 3u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_meth_local_route_obj(9)", "db_get_table_record_count(#1)",
                                          "db_release_meth_local_route_object(#1)"));
}

// Scan.
class MethLocalRouteScan : public MethLocalRouteTest {
 protected:
  MethLocalRouteScan() {
    for (uint8_t i = 1; i <= 3; ++i) platform.entries.push_back(rowOf(i, 2, 0x0A000000u + i, 32));
    std::memset(items, 0xEE, sizeof items);
  }

  FibDbMeLocalRouteItem items[4];
};

TEST_F(MethLocalRouteScan, fills_whole_items_and_leaves_their_padding) {
  EXPECT_EQ(FIB_DB_ScanMeLocalRoute(sizeof items, items), 0u);
  EXPECT_THAT(platform.calls,
              testing::IsSupersetOf({"db_create_meth_local_route_obj(5)", "db_create_root_iter(#1, NULL)",
                                     "db_release_meth_local_route_object(#1)"}));
  for (uint8_t i = 0; i < 3; ++i) {
    EXPECT_EQ(items[i].vr_id, i + 1u);
    EXPECT_EQ(items[i].dest_ip_addr, 0x0A000001u + i);
    EXPECT_EQ(items[i].mask_len, 32);
    EXPECT_THAT(items[i].rsv, ElementsAre(0xEE, 0xEE, 0xEE));
  }
  EXPECT_EQ(items[3].vr_id, 0xEEEEEEEEu);
}

TEST_F(MethLocalRouteScan, takes_no_step_beyond_its_room) {
  struct {
    uint32_t bytes;
    size_t steps;
  } const expected[] = {{0, 0}, {15, 0}, {16, 1}, {31, 1}, {32, 2}, {47, 2}, {64, 4}};
  for (const auto& row : expected) {
    platform.reset();
    for (uint8_t i = 1; i <= 3; ++i) platform.entries.push_back(rowOf(i, 2, i, 32));
    EXPECT_EQ(FIB_DB_ScanMeLocalRoute(row.bytes, items), 0u) << row.bytes;
    EXPECT_EQ(std::ranges::count(platform.allCalls, "db_root_iterator_next"), row.steps) << row.bytes;
  }
}

TEST_F(MethLocalRouteScan, of_a_failing_step_says_and_counts_it_and_keeps_what_was_filled) {
  platform.fail("db_root_iterator_next", 0);
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_ScanMeLocalRoute(sizeof items, items), 7u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ScanMeLocalRoute failed, ret: 7"));
  EXPECT_TRUE(countedOnce(11, 6));
  EXPECT_EQ(items[0].vr_id, 1u);
  EXPECT_EQ(items[1].vr_id, 0xEEEEEEEEu);
}

TEST_F(MethLocalRouteScan, goes_on_after_a_field_that_cannot_be_read) {
  platform.fail("db_get_meth_local_route_vr_id", 5);
  EXPECT_EQ(FIB_DB_ScanMeLocalRoute(sizeof items, items), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetMeLocalRouteItem getField failed, ret: 5"));
  EXPECT_EQ(items[0].vr_id, 0xEEEEEEEEu);
  EXPECT_EQ(items[0].dest_ip_addr, 0x0A000001u);
  EXPECT_EQ(items[2].vr_id, 3u);
}

TEST_F(MethLocalRouteScan, of_NULL_is_1_even_without_room) { EXPECT_EQ(FIB_DB_ScanMeLocalRoute(0, nullptr), 1u); }

TEST_F(MethLocalRouteTest, NULL_arguments_are_1_without_a_call) {
  EXPECT_EQ(FIB_DB_WriteMeLocalRoute(nullptr), 1u);
  EXPECT_EQ(FIB_DB_RemoveMeLocalRoute(nullptr), 1u);
  EXPECT_EQ(FIB_DB_CountMeLocalRoute(nullptr), 1u);
  FIB_DB_GetMeLocalRouteItem(1, nullptr);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(MethLocalRouteTest, a_failed_creation_is_its_code_and_silent) {
  platform.failAlways("db_create_meth_local_route_obj", 9);
  uint32_t count = 5;
  EXPECT_EQ(FIB_DB_WriteMeLocalRoute(&item), 9u);
  EXPECT_EQ(FIB_DB_RemoveMeLocalRoute(&item), 9u);
  EXPECT_EQ(FIB_DB_CountMeLocalRoute(&count), 9u);
  EXPECT_EQ(FIB_DB_ScanMeLocalRoute(sizeof item, &item), 9u);
  EXPECT_EQ(count, 5u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

}  // namespace
}  // namespace fibdb::test
