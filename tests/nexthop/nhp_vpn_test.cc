// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_vpn_test.cc: next hops into a VPN over the recorded platform.
#include <cstddef>

#include "platform/objdb_tables.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbNhpVpnItem, dst_vpn_id) == 12 && offsetof(FibDbNhpVpnItem, app_serial_id) == 20);
static_assert(offsetof(FibDbNhpVpnItem, app_obj_id) == 24 && offsetof(FibDbNhpVpnItem, app_version) == 32);
static_assert(offsetof(FibDbNhpVpnItem, time_stamp_app) == 40 && offsetof(FibDbNhpVpnItem, time_stamp_svc) == 48);
static_assert(sizeof(FibDbNhpVpnItem) == 56);

FibDbNhpVpnItem fullItem() {
  return {.nhp_index = 42,
          .vr_id = 2,
          .vrf_index = 3,
          .dst_vpn_id = 4,
          .app_source_id = 5,
          .app_serial_id = 6,
          .app_obj_id = 0x700000000,
          .app_version = 8,
          .time_stamp_app = 0x900000000,
          .time_stamp_svc = 0xA00000000};
}

Row rowOf(const FibDbNhpVpnItem& item) {
  Row row;
  const auto put = [&](std::string_view name, uint64_t value) { putField(TableId::nhp_vpn, row, name, value); };
  put("nhp_index", item.nhp_index);
  put("vr_id", item.vr_id);
  put("vrf_index", item.vrf_index);
  put("dst_vpn_id", item.dst_vpn_id);
  put("app_source_id", item.app_source_id);
  put("app_serial_id", item.app_serial_id);
  put("app_obj_id", item.app_obj_id);
  put("app_version", item.app_version);
  put("time_stamp_app", item.time_stamp_app);
  put("time_stamp_svc", item.time_stamp_svc);
  return row;
}

class NhpVpnTest : public TablesTest {
 protected:
  void SetUp() override { platform.record(TableId::nhp_vpn) = rowOf(fullItem()); }

  FibDbNhpVpnItem item = fullItem();
};

TEST_F(NhpVpnTest, SetNhpVpnKeyField_packs_four_words_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc out{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint32_t bytes[5] = {0, 0, 0, 0, 77};
  FIB_DB_SetNhpVpnKeyField(&out, bytes, &item);
  EXPECT_EQ(out.indexId, 0x00010010u);
  EXPECT_EQ(out.rsv1, 2u);
  EXPECT_EQ(out.rsv2, 3u);
  EXPECT_THAT(bytes, ElementsAre(42, 2, 3, 4, 77));
}

// Write.
TEST_F(NhpVpnTest, WriteNhpVpn_stages_every_field_in_order_and_writes_once) {
  EXPECT_EQ(FIB_DB_WriteNhpVpn(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre("db_create_nhp_vpn_obj(0)", "db_set_nhp_vpn_nhp_index(#1, 42)", "db_set_nhp_vpn_vr_id(#1, 2)",
                  "db_set_nhp_vpn_vrf_index(#1, 3)", "db_set_nhp_vpn_dst_vpn_id(#1, 4)",
                  "db_set_nhp_vpn_app_source_id(#1, 5)", "db_set_nhp_vpn_app_serial_id(#1, 6)",
                  "db_set_nhp_vpn_app_obj_id(#1, 30064771072)", "db_set_nhp_vpn_app_version(#1, 8)",
                  "db_set_nhp_vpn_time_stamp_app(#1, 38654705664)", "db_set_nhp_vpn_time_stamp_svc(#1, 42949672960)",
                  "db_write_obj(#1)", "db_release_nhp_vpn_object(#1)"));
  EXPECT_EQ(platform.staged(TableId::nhp_vpn), rowOf(item));
  EXPECT_TRUE(silent());
}

TEST_F(NhpVpnTest, WriteNhpVpn_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_WriteNhpVpn(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpVpnTest, WriteNhpVpn_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_vpn_obj", 9);
  EXPECT_EQ(FIB_DB_WriteNhpVpn(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteNhpVpn create object failed, ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVpnTest, WriteNhpVpn_whose_fields_fail_tries_them_all_says_so_twice_and_does_not_write) {
  platform.fail("db_set_nhp_vpn_nhp_index", 4);
  platform.fail("db_set_nhp_vpn_time_stamp_svc", 3);
  EXPECT_EQ(FIB_DB_WriteNhpVpn(&item), 1u);
  EXPECT_EQ(platform.calls.size(), 1u + 10u + 1u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("SetNhpVpnItem setField failed, ret: 7", "WriteNhpVpn set item failed, ret: 1"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVpnTest, WriteNhpVpn_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteNhpVpn(&item), 0u);
  EXPECT_TRUE(countedOnce(5, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpVpnTest, WriteNhpVpn_answered_with_another_code_says_so_in_the_words_of_the_global_configuration) {
  platform.fail("db_write_obj", 7);
  EXPECT_EQ(FIB_DB_WriteNhpVpn(&item), 7u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WRITE fib global cfg db fail. ret = 7"));
  EXPECT_TRUE(countedOnce(5, 2));
}

// Read by the primary key.
const std::vector<std::string> kGetters{"db_get_nhp_vpn_nhp_index(#1)",      "db_get_nhp_vpn_vr_id(#1)",
                                        "db_get_nhp_vpn_vrf_index(#1)",      "db_get_nhp_vpn_dst_vpn_id(#1)",
                                        "db_get_nhp_vpn_app_source_id(#1)",  "db_get_nhp_vpn_app_serial_id(#1)",
                                        "db_get_nhp_vpn_app_obj_id(#1)",     "db_get_nhp_vpn_app_version(#1)",
                                        "db_get_nhp_vpn_time_stamp_app(#1)", "db_get_nhp_vpn_time_stamp_svc(#1)"};

TEST_F(NhpVpnTest, ReadNhpVpn_fills_every_field_in_order) {
  FibDbNhpVpnItem out{.nhp_index = 42, .vr_id = 2, .vrf_index = 3, .dst_vpn_id = 4};
  EXPECT_EQ(FIB_DB_ReadNhpVpn(&out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullItem()));
  std::vector<std::string> expected{"db_create_nhp_vpn_obj(3)",
                                    "db_read_obj(#1, 0x00010010 2a000000020000000300000004000000)"};
  expected.insert(expected.end(), kGetters.begin(), kGetters.end());
  expected.emplace_back("db_release_nhp_vpn_object(#1)");
  EXPECT_EQ(platform.calls, expected);
}

TEST_F(NhpVpnTest, ReadNhpVpn_missing_key_returns_60_and_keeps_the_item) {
  platform.fail("db_read_obj", 15005);
  item.app_version = 99;
  const Row before = rowOf(item);
  EXPECT_EQ(FIB_DB_ReadNhpVpn(&item), 60u);
  EXPECT_EQ(rowOf(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVpnTest, ReadNhpVpn_failure_returns_the_code_says_so_and_counts_READ) {
  platform.fail("db_read_obj", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpVpn(&item), 13044u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpVpn failed, ret: 13044"));
  EXPECT_TRUE(countedOnce(5, 0));
}

TEST_F(NhpVpnTest, ReadNhpVpn_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_vpn_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpVpn(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpVpn create object failed, ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVpnTest, ReadNhpVpn_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpVpn(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpVpnTest, ReadNhpVpn_whose_fields_fail_succeeds_says_the_OR_and_fills_the_others) {
  platform.fail("db_get_nhp_vpn_vr_id", 1);
  platform.fail("db_get_nhp_vpn_app_version", 4);
  FibDbNhpVpnItem out{.vr_id = 77, .app_version = 78};
  EXPECT_EQ(FIB_DB_ReadNhpVpn(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpVpnItem getField failed, ret: 5"));
  EXPECT_EQ(out.vr_id, 77u);
  EXPECT_EQ(out.app_version, 78u);
  EXPECT_EQ(out.time_stamp_svc, fullItem().time_stamp_svc);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVpnTest, GetNhpVpnItem_of_NULL_does_nothing) {
  FIB_DB_GetNhpVpnItem(1, nullptr);
  EXPECT_THAT(platform.calls, IsEmpty());
}

// The first record of a next hop.
TEST_F(NhpVpnTest, ReadNhpVpnByNhpIndex_fills_the_first_record_and_steps_no_further) {
  FibDbNhpVpnItem first = fullItem();
  first.dst_vpn_id = 11;
  platform.entries = {rowOf(first), rowOf(fullItem())};
  FibDbNhpVpnItem out{};
  EXPECT_EQ(FIB_DB_ReadNhpVpnByNhpIndex(42, &out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(first));
  std::vector<std::string> expected{"db_create_nhp_vpn_obj(5)", "db_create_root_iter(#1, 0x01090004 2a000000)",
                                    "db_root_iterator_next(~1)"};
  expected.insert(expected.end(), kGetters.begin(), kGetters.end());
  expected.emplace_back("db_release_nhp_vpn_object(#1)");
  EXPECT_EQ(platform.calls, expected);
  EXPECT_TRUE(silent());
}

TEST_F(NhpVpnTest, ReadNhpVpnByNhpIndex_without_a_record_returns_110012_silently_and_keeps_the_item) {
  EXPECT_EQ(FIB_DB_ReadNhpVpnByNhpIndex(42, &item), 110012u);
  EXPECT_EQ(rowOf(item), rowOf(fullItem()));
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVpnTest, ReadNhpVpnByNhpIndex_whose_step_fails_returns_the_code_says_so_and_counts_ITERATOR) {
  for (const uint32_t code : {13044u, 15005u}) {
    platform.reset();
    platform.fail("db_root_iterator_next", code);
    EXPECT_EQ(FIB_DB_ReadNhpVpnByNhpIndex(42, &item), code);
    EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpVpnByNhpIndex next failed, ret: " + std::to_string(code)));
    EXPECT_TRUE(countedOnce(5, 6));
  }
}

TEST_F(NhpVpnTest, ReadNhpVpnByNhpIndex_whose_object_or_iterator_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_vpn_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpVpnByNhpIndex(42, &item), 9u);
  platform.fail("db_create_root_iter", 8);
  EXPECT_EQ(FIB_DB_ReadNhpVpnByNhpIndex(42, &item), 8u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpVpnByNhpIndex create object failed, ret: 9",
                                               "ReadNhpVpnByNhpIndex create root iter failed, ret: 8"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVpnTest, ReadNhpVpnByNhpIndex_into_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpVpnByNhpIndex(42, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Count.
TEST_F(NhpVpnTest, CountNhpVpnByNhpIndex_stores_the_low_byte_and_nothing_beside_it) {
  struct {
    uint64_t records;
    uint8_t count;
  } const cases[] = {{0, 0}, {7, 7}, {255, 255}, {256, 0}, {0x1234, 0x34}, {0x100000005, 5}};
  for (const auto& row : cases) {
    platform.calls.clear();
    platform.countResult = row.records;
    uint8_t bytes[3] = {0xA5, 0xA5, 0xA5};
    EXPECT_EQ(FIB_DB_CountNhpVpnByNhpIndex(42, &bytes[1]), 0u);
    EXPECT_THAT(bytes, ElementsAre(0xA5, row.count, 0xA5)) << row.records;
  }
  EXPECT_EQ(platform.calls[0], "db_create_nhp_vpn_obj(9)");
  EXPECT_EQ(platform.calls[1].substr(platform.calls[1].find(',')), ", 0x01090004 2a000000)");
  EXPECT_EQ(platform.calls.size(), 3u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpVpnTest, CountNhpVpnByNhpIndex_failures_say_so_leave_the_count_and_are_not_counted) {
  uint8_t count = 77;
  platform.fail("db_create_nhp_vpn_obj", 9);
  EXPECT_EQ(FIB_DB_CountNhpVpnByNhpIndex(42, &count), 9u);
  platform.fail("db_get_table_record_count_by_key", 8);
  EXPECT_EQ(FIB_DB_CountNhpVpnByNhpIndex(42, &count), 8u);
  EXPECT_EQ(count, 77);
  EXPECT_THAT(platform.errorLines, ElementsAre("CountNhpVpnByNhpIndex create object failed, ret: 9",
                                               "CountNhpVpnByNhpIndex get table record count by key failed, ret: 8"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVpnTest, CountNhpVpnByNhpIndex_into_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_CountNhpVpnByNhpIndex(42, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Remove.
TEST_F(NhpVpnTest, RemoveNhpVpn_removes_by_the_primary_key) {
  EXPECT_EQ(FIB_DB_RemoveNhpVpn(&item), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_vpn_obj(4)", "db_remove_obj(#1, 0x00010010 2a000000020000000300000004000000)",
                          "db_release_nhp_vpn_object(#1)"));
}

TEST_F(NhpVpnTest, RemoveNhpVpnByNhpIndex_removes_by_the_index_alone) {
  EXPECT_EQ(FIB_DB_RemoveNhpVpnByNhpIndex(42), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_vpn_obj(4)", "db_remove_obj(#1, 0x01090004 2a000000)",
                                          "db_release_nhp_vpn_object(#1)"));
}

TEST_F(NhpVpnTest, Removals_that_fail_return_the_code_say_so_and_count_REMOVE) {
  platform.failAlways("db_remove_obj", 15005);
  EXPECT_EQ(FIB_DB_RemoveNhpVpn(&item), 15005u);
  EXPECT_TRUE(countedOnce(5, 4));
  EXPECT_EQ(FIB_DB_RemoveNhpVpnByNhpIndex(42), 15005u);
  EXPECT_EQ(counted(5, 4), 2u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("REMOVE fib global cfg db fail. ret = 15005", "REMOVE fib global cfg db fail. ret = 15005"));
}

TEST_F(NhpVpnTest, Removals_answered_with_a_publication_return_0_and_count_PUB) {
  platform.failAlways("db_remove_obj", 13044);
  EXPECT_EQ(FIB_DB_RemoveNhpVpn(&item), 0u);
  EXPECT_TRUE(countedOnce(5, 1));
  EXPECT_EQ(FIB_DB_RemoveNhpVpnByNhpIndex(42), 0u);
  EXPECT_EQ(counted(5, 1), 2u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpVpnTest, Removals_whose_object_fails_say_so_and_return_the_code) {
  platform.failAlways("db_create_nhp_vpn_obj", 9);
  EXPECT_EQ(FIB_DB_RemoveNhpVpn(&item), 9u);
  EXPECT_EQ(FIB_DB_RemoveNhpVpnByNhpIndex(42), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveNhpVpn create object failed, ret: 9",
                                               "RemoveNhpVpnByNhpIndex create object failed, ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVpnTest, RemoveNhpVpn_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_RemoveNhpVpn(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

}  // namespace
}  // namespace fibdb::test
