// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/ip_force_frag_test.cc: forced fragmentation over the recorded database and table service.
#include <array>
#include <cstddef>

#include "tests/registered/service_table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbForceFragItem, statusHigh) == 8 && offsetof(FibDbForceFragItem, errcodeNormal) == 11);
static_assert(sizeof(FibDbForceFragItem) == 12);

struct ForceFrag {
  using Item = FibDbForceFragItem;
  static constexpr TableId kTable = TableId::ip_force_frag;
  static constexpr const char* kId = "12";
  static constexpr const char* kName = "force_frag";
  static constexpr uint32_t kRowLength = 20;
  static constexpr std::array<Room, 0> kRoom{};

  static Item fullItem() {
    return {.vrId = 0x11111111,
            .enable = 0x22222222,
            .statusHigh = 0x33,
            .statusNormal = 0x44,
            .errcodeHigh = 0x55,
            .errcodeNormal = 0x66};
  }
  static Row rowOf(const Item& item) {
    Row row(kRowLength);
    putAt(row, 0, item.vrId);
    putAt(row, 4, item.enable);
    putAt(row, 8, item.statusHigh);
    putAt(row, 9, item.statusNormal);
    putAt(row, 10, item.errcodeHigh);
    putAt(row, 11, item.errcodeNormal);
    putAt(row, 12, PlatformDouble::instance().sysTime);
    return row;
  }

  static constexpr auto unpack = FIB_DB_GetForceFragFields;
  static constexpr auto iterate = FIB_DB_CreateIpForceFragIterator;
  static constexpr auto next = FIB_DB_GetNextForceFragEntry;
  static constexpr auto release = FIB_DB_ReleaseIpForceFragIterator;
  static constexpr auto registerTable = FIB_DB_IpForceFragRegister;
};

INSTANTIATE_TYPED_TEST_SUITE_P(ForceFrag, ServiceFieldsTest, ForceFrag);
INSTANTIATE_TYPED_TEST_SUITE_P(ForceFrag, ServiceWalkTest, ForceFrag);

class ForceFragTest : public ServiceTest<ForceFrag> {};

// Write.
TEST_F(ForceFragTest, WriteIpForceFrag_sets_every_field_in_order_the_time_last) {
  EXPECT_EQ(FIB_DB_WriteIpForceFrag(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre("db_create_ip_force_frag_obj(0)", "db_set_ip_force_frag_vr_id(#1, 286331153)",
                  "db_set_ip_force_frag_enable(#1, 572662306)", "db_set_ip_force_frag_status_high_prio(#1, 51)",
                  "db_set_ip_force_frag_status_normal_prio(#1, 68)", "db_set_ip_force_frag_errcode_high_prio(#1, 85)",
                  "db_set_ip_force_frag_errcode_normal_prio(#1, 102)",
                  "db_set_ip_force_frag_time_stamp_create(#1, 1700000000000000)", "db_write_obj(#1)",
                  "db_release_ip_force_frag_object(#1)"));
  EXPECT_EQ(platform.staged(TableId::ip_force_frag), ForceFrag::rowOf(item));
  EXPECT_EQ(platform.sysTimeReads, 1u);
  EXPECT_TRUE(silent());
}

TEST_F(ForceFragTest, WriteIpForceFrag_of_NULL_gives_1_and_calls_nothing) {
  EXPECT_EQ(FIB_DB_WriteIpForceFrag(nullptr), 1u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_EQ(platform.sysTimeReads, 0u);
  EXPECT_TRUE(silent());
}

TEST_F(ForceFragTest, WriteIpForceFrag_without_an_object_says_so_and_returns_the_code) {
  platform.fail("db_create_ip_force_frag_obj", kCode);
  EXPECT_EQ(FIB_DB_WriteIpForceFrag(&item), kCode);
  EXPECT_THAT(platform.errorLines, ElementsAre("Write force frag DB failed, create object failed. ret: -7"));
  EXPECT_EQ(platform.calls.size(), 1u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(ForceFragTest, WriteIpForceFrag_whose_field_fails_sets_the_others_says_so_and_gives_1) {
  for (const char* const setter : {"vr_id", "enable", "status_high_prio", "status_normal_prio", "errcode_high_prio",
                                   "errcode_normal_prio", "time_stamp_create"}) {
    platform.calls.clear();
    platform.errorLines.clear();
    platform.fail(std::string("db_set_ip_force_frag_") + setter, kCode);
    EXPECT_EQ(FIB_DB_WriteIpForceFrag(&item), 1u) << setter;
    EXPECT_THAT(platform.errorLines, ElementsAre("Write vrf DB failed, set fields failed."));
    EXPECT_EQ(platform.calls.size(), 9u) << "seven setters and no write";
  }
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(ForceFragTest, WriteIpForceFrag_that_fails_says_so_and_is_not_counted) {
  platform.fail("db_write_obj", kCode);
  EXPECT_EQ(FIB_DB_WriteIpForceFrag(&item), kCode);
  EXPECT_THAT(platform.errorLines, ElementsAre("Write vrf DB failed, ret: -7"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(ForceFragTest, WriteIpForceFrag_that_is_published_is_a_success_that_is_neither_said_nor_counted) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteIpForceFrag(&item), 0u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

// Read.
TEST_F(ForceFragTest, ReadIpForceFrag_goes_by_the_router_and_gets_every_field) {
  out.vrId = item.vrId;
  EXPECT_EQ(FIB_DB_ReadIpForceFrag(&out), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_ip_force_frag_obj(3)", "db_read_obj(#1, 0x00010004 11111111)",
                          "db_get_ip_force_frag_vr_id(#1)", "db_get_ip_force_frag_enable(#1)",
                          "db_get_ip_force_frag_status_high_prio(#1)", "db_get_ip_force_frag_status_normal_prio(#1)",
                          "db_get_ip_force_frag_errcode_high_prio(#1)", "db_get_ip_force_frag_errcode_normal_prio(#1)",
                          "db_release_ip_force_frag_object(#1)"));
  EXPECT_TRUE(filled(out));
  EXPECT_TRUE(silent());
}

TEST_F(ForceFragTest, ReadIpForceFrag_of_a_missing_router_gives_60_silently_and_keeps_the_item) {
  platform.fail("db_read_obj", 15005);
  EXPECT_EQ(FIB_DB_ReadIpForceFrag(&out), 60u);
  EXPECT_TRUE(isWiped());
  EXPECT_EQ(platform.calls.size(), 3u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(ForceFragTest, ReadIpForceFrag_that_fails_says_so_returns_the_code_and_is_not_counted) {
  platform.fail("db_create_ip_force_frag_obj", kCode);
  EXPECT_EQ(FIB_DB_ReadIpForceFrag(&out), kCode);
  platform.fail("db_read_obj", kCode);
  EXPECT_EQ(FIB_DB_ReadIpForceFrag(&out), kCode);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("read force frag DB failed, create object failed. ret: -7", "Read vrf DB failed, ret: -7"));
  EXPECT_TRUE(isWiped());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(ForceFragTest, ReadIpForceFrag_whose_field_fails_gets_the_others_and_gives_1_silently) {
  for (const char* const getter :
       {"vr_id", "enable", "status_high_prio", "status_normal_prio", "errcode_high_prio", "errcode_normal_prio"}) {
    platform.calls.clear();
    platform.fail(std::string("db_get_ip_force_frag_") + getter, 15005);
    EXPECT_EQ(FIB_DB_ReadIpForceFrag(&out), 1u) << getter;
    EXPECT_EQ(platform.calls.size(), 9u) << getter;
  }
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(ForceFragTest, ReadIpForceFrag_of_NULL_gives_1_and_calls_nothing) {
  EXPECT_EQ(FIB_DB_ReadIpForceFrag(nullptr), 1u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

}  // namespace
}  // namespace fibdb::test
