// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_ext_test.cc: next-hop extensions over the recorded platform.
#include <algorithm>
#include <cstddef>
#include <ostream>

#include "platform/objdb.h"
#include "platform/objdb_tables.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbNhpExtItem, keyByte) == 16 && offsetof(FibDbNhpExtItem, extByte1) == 18);
static_assert(offsetof(FibDbNhpExtItem, addr1) == 20 && offsetof(FibDbNhpExtItem, extWord1) == 52);
static_assert(offsetof(FibDbNhpExtItem, status_high_prio) == 64 && offsetof(FibDbNhpExtItem, svc_ctx_high_prio) == 68);
static_assert(offsetof(FibDbNhpExtItem, svc_ctx_normal_prio) == 84 && offsetof(FibDbNhpExtItem, extWord4) == 104);
static_assert(offsetof(FibDbNhpExtItem, extDword1) == 112 && offsetof(FibDbNhpExtItem, extWord5) == 120);
static_assert(offsetof(FibDbNhpExtItem, extDword2) == 128 && offsetof(FibDbNhpExtItem, time_stamp_svc) == 136);
static_assert(sizeof(FibDbNhpExtItem) == 144);

constexpr size_t kRowLength = 136;

FibDbNhpExtItem fullItem() {
  return {.keyWords = {0x11111111, 0x22222222, 0x33333333, 0x44444444},
          .keyByte = 0x55,
          .reserved = 0xEE,
          .extByte1 = 0x66,
          .extByte2 = 0x77,
          .addr1 = {0xA1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xA2},
          .addr2 = {0xB1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xB2},
          .extWord1 = 0x88888888,
          .extBytes = {0xC1, 0xC2, 0xC3, 0xC4},
          .extWord2 = 0x99999999,
          .status_high_prio = 12,
          .status_normal_prio = 13,
          .errcode_high_prio = 14,
          .errcode_normal_prio = 15,
          .svc_ctx_high_prio = {0x16, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xEE},
          .svc_ctx_normal_prio = {0x17, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xFF},
          .extWord3 = 0xAAAAAAAA,
          .extWord4 = 0xBBBBBBBB,
          .extDword1 = 0x1D1D1D1D1D1D1D1D,
          .extWord5 = 0xDDDDDDDD,
          .extDword2 = 0x2D2D2D2D2D2D2D2D,
          .time_stamp_svc = 0x2400000000};
}

// The row of an item, spelt out without the library.
Row rowOf(const FibDbNhpExtItem& item) {
  Row row(kRowLength);
  const auto put = [&](size_t offset, const auto& field) { std::memcpy(row.data() + offset, &field, sizeof field); };
  put(0, item.keyWords);
  put(16, item.keyByte);
  put(18, item.extByte1);
  put(19, item.extByte2);
  put(20, item.addr1);
  put(36, item.addr2);
  put(52, item.extWord1);
  put(56, item.extBytes);
  put(60, item.extWord2);
  put(64, item.status_high_prio);
  put(65, item.status_normal_prio);
  put(66, item.errcode_high_prio);
  put(67, item.errcode_normal_prio);
  put(68, item.svc_ctx_high_prio);
  put(84, item.svc_ctx_normal_prio);
  put(100, item.extWord3);
  put(104, item.extWord4);
  put(108, item.extDword1);
  put(116, item.extWord5);
  put(120, item.extDword2);
  put(128, item.time_stamp_svc);
  return row;
}

// The bytes of the four words and of 0x55.
constexpr const char* kKey = "0x00010011 1111111122222222333333334444444455";

std::string called(const char* call, const std::string& key) { return std::string(call) + "(#1, " + key + ")"; }

class NhpExtTest : public TablesTest {
 protected:
  void SetUp() override { platform.record(TableId::nhp_ext) = rowOf(fullItem()); }

  FibDbNhpExtItem item = fullItem();
  FibDbKeyDesc desc{.indexId = 0x01090004, .rsv1 = 0, .rsv2 = 0};
  uint32_t key = 42;
};

// Packing and unpacking.
TEST_F(NhpExtTest, SetNhpExtItem_puts_every_field_at_its_offset_and_zero_at_17) {
  Row row(kRowLength + 1, 0xA5);
  EXPECT_EQ(FIB_DB_SetNhpExtItem(row.data(), &item), 0u);
  EXPECT_EQ(row.back(), 0xA5);
  row.pop_back();
  EXPECT_EQ(row[17], 0);
  EXPECT_EQ(row, rowOf(item));
  EXPECT_EQ(std::ranges::count(platform.allCalls, "memcpy_s"), 4);
}

TEST_F(NhpExtTest, SetNhpExtItem_whose_copy_fails_packs_the_rest) {
  // Blocks in the order of the fields; only the last copy's result is given.
  const size_t blocks[] = {20, 36, 68, 84};
  for (size_t failing = 0; failing < std::size(blocks); ++failing) {
    platform.reset();
    for (size_t i = 0; i < failing; ++i) platform.fail("memcpy_s", 0);
    platform.fail("memcpy_s", 1);
    Row row(kRowLength);
    EXPECT_EQ(FIB_DB_SetNhpExtItem(row.data(), &item), failing == 3 ? 22u : 0u) << failing;
    Row expected = rowOf(item);
    std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(blocks[failing]), 16, uint8_t{0});
    EXPECT_EQ(row, expected) << failing;
    EXPECT_TRUE(silent());
  }
}

TEST_F(NhpExtTest, GetNhpExtItem_fills_every_field_but_the_reserved_byte) {
  Row row = rowOf(item);
  row[17] = 0x99;
  FibDbNhpExtItem out{.reserved = 0x33};
  FIB_DB_GetNhpExtItem(&out, row.data());
  EXPECT_EQ(rowOf(out), rowOf(item));
  EXPECT_EQ(out.reserved, 0x33);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "memcpy_s"), 4);
}

TEST_F(NhpExtTest, GetNhpExtItem_of_NULL_does_nothing) {
  const Row row(kRowLength, 1);
  FIB_DB_GetNhpExtItem(nullptr, row.data());
  FIB_DB_GetNhpExtItem(&item, nullptr);
  EXPECT_EQ(rowOf(item), rowOf(fullItem()));
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

TEST_F(NhpExtTest, SetNhpExtKeyField_packs_17_bytes_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc out{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint8_t bytes[18] = {};
  bytes[17] = 77;
  FIB_DB_SetNhpExtKeyField(&out, bytes, &item);
  EXPECT_EQ(out.indexId, 0x00010011u);
  EXPECT_EQ(out.rsv1, 2u);
  EXPECT_EQ(out.rsv2, 3u);
  EXPECT_THAT(bytes, ElementsAre(0x11, 0x11, 0x11, 0x11, 0x22, 0x22, 0x22, 0x22, 0x33, 0x33, 0x33, 0x33, 0x44, 0x44,
                                 0x44, 0x44, 0x55, 77));
}

// Write.
TEST_F(NhpExtTest, WriteNhpExt_stages_the_whole_row_and_writes_once) {
  EXPECT_EQ(FIB_DB_WriteNhpExt(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_ext_obj(0)", "db_set_nhp_ext_all_fields(#1, 136)",
                                          "db_write_obj(#1)", "db_release_nhp_ext_object(#1)"));
  EXPECT_EQ(platform.staged(TableId::nhp_ext), rowOf(item));
  EXPECT_EQ(platform.staged(TableId::nhp_ext)[17], 0);
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtTest, WriteNhpExt_packs_after_the_object_is_made) {
  platform.watch = [this](std::string_view call) {
    if (call == "db_create_nhp_ext_obj") item.extWord1 = 5;
  };
  EXPECT_EQ(FIB_DB_WriteNhpExt(&item), 0u);
  EXPECT_EQ(platform.allCalls[0], "db_create_nhp_ext_obj");
  EXPECT_EQ(platform.allCalls[1], "memcpy_s");
  EXPECT_EQ(getField(TableId::nhp_ext, platform.staged(TableId::nhp_ext), "extWord1"), 5u);
}

TEST_F(NhpExtTest, WriteNhpExt_whose_packing_fails_writes_zeros_there) {
  platform.fail("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_WriteNhpExt(&item), 0u);
  std::memset(item.addr1, 0, sizeof item.addr1);
  EXPECT_EQ(platform.staged(TableId::nhp_ext), rowOf(item));
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtTest, WriteNhpExt_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_WriteNhpExt(nullptr), 1u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtTest, WriteNhpExt_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_ext_obj", 9);
  EXPECT_EQ(FIB_DB_WriteNhpExt(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteNhpExt failed, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtTest, WriteNhpExt_whose_row_is_refused_says_so_returns_the_code_and_does_not_write) {
  platform.fail("db_set_nhp_ext_all_fields", 8);
  EXPECT_EQ(FIB_DB_WriteNhpExt(&item), 8u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_ext_obj(0)", "db_set_nhp_ext_all_fields(#1, 136)",
                                          "db_release_nhp_ext_object(#1)"));
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteNhpExt failed, set all fields failed. ret: 8"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtTest, WriteNhpExt_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteNhpExt(&item), 0u);
  EXPECT_TRUE(countedOnce(7, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtTest, WriteNhpExt_answered_with_another_code_returns_it_says_so_and_counts_WRITE) {
  platform.fail("db_write_obj", 7);
  EXPECT_EQ(FIB_DB_WriteNhpExt(&item), 7u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WRITE fib nhp ext db fail. ret = 7"));
  EXPECT_TRUE(countedOnce(7, 2));
}

// Read by the primary key.
TEST_F(NhpExtTest, ReadNhpExt_reads_the_row_by_the_primary_key) {
  FibDbNhpExtItem out{.keyWords = {0x11111111, 0x22222222, 0x33333333, 0x44444444}, .keyByte = 0x55, .reserved = 0x33};
  EXPECT_EQ(FIB_DB_ReadNhpExt(&out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullItem()));
  EXPECT_EQ(out.reserved, 0x33);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_ext_obj(3)", called("db_read_obj_with_buf", std::string(kKey) + ", 136"),
                          "db_release_nhp_ext_object(#1)"));
}

TEST_F(NhpExtTest, ReadNhpExt_takes_the_key_before_the_object_is_made) {
  platform.watch = [this](std::string_view call) {
    if (call == "db_create_nhp_ext_obj") item.keyWords[0] = 5;
  };
  EXPECT_EQ(FIB_DB_ReadNhpExt(&item), 0u);
  EXPECT_EQ(platform.calls[1], called("db_read_obj_with_buf", std::string(kKey) + ", 136"));
}

TEST_F(NhpExtTest, ReadNhpExt_missing_key_returns_60_and_keeps_the_item) {
  platform.fail("db_read_obj_with_buf", 15005);
  item.extWord1 = 99;
  const Row before = rowOf(item);
  EXPECT_EQ(FIB_DB_ReadNhpExt(&item), 60u);
  EXPECT_EQ(rowOf(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtTest, ReadNhpExt_failure_returns_the_code_says_so_and_counts_READ) {
  platform.fail("db_read_obj_with_buf", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpExt(&item), 13044u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpExt failed, ret: 13044"));
  EXPECT_TRUE(countedOnce(7, 0));
}

TEST_F(NhpExtTest, ReadNhpExt_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_ext_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpExt(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpExt failed, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtTest, ReadNhpExt_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpExt(nullptr), 1u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Remove.
TEST_F(NhpExtTest, RemoveNhpExt_removes_by_the_primary_key) {
  EXPECT_EQ(FIB_DB_RemoveNhpExt(&item), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_ext_obj(4)", called("db_remove_obj", kKey), "db_release_nhp_ext_object(#1)"));
}

TEST_F(NhpExtTest, RemoveNhpExtByIidIndex_removes_by_the_index_alone) {
  EXPECT_EQ(FIB_DB_RemoveNhpExtByIidIndex(42), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_ext_obj(4)", "db_remove_obj(#1, 0x01090004 2a000000)",
                                          "db_release_nhp_ext_object(#1)"));
}

TEST_F(NhpExtTest, Removals_that_fail_return_the_code_say_so_and_count_REMOVE) {
  platform.failAlways("db_remove_obj", 15005);
  EXPECT_EQ(FIB_DB_RemoveNhpExt(&item), 15005u);
  EXPECT_TRUE(countedOnce(7, 4));
  EXPECT_EQ(FIB_DB_RemoveNhpExtByIidIndex(42), 15005u);
  EXPECT_EQ(counted(7, 4), 2u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("REMOVE fib nhp ext db fail. ret = 15005", "REMOVE fib nhp ext db fail. ret = 15005"));
}

TEST_F(NhpExtTest, Removals_answered_with_a_publication_return_0_and_count_PUB) {
  platform.failAlways("db_remove_obj", 13044);
  EXPECT_EQ(FIB_DB_RemoveNhpExt(&item), 0u);
  EXPECT_TRUE(countedOnce(7, 1));
  EXPECT_EQ(FIB_DB_RemoveNhpExtByIidIndex(42), 0u);
  EXPECT_EQ(counted(7, 1), 2u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtTest, RemoveNhpExt_whose_object_fails_returns_the_code_silently) {
  platform.fail("db_create_nhp_ext_obj", 9);
  EXPECT_EQ(FIB_DB_RemoveNhpExt(&item), 9u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtTest, RemoveNhpExtByIidIndex_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_ext_obj", 9);
  EXPECT_EQ(FIB_DB_RemoveNhpExtByIidIndex(42), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveNhpExtByIidIndex failed, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtTest, RemoveNhpExt_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_RemoveNhpExt(nullptr), 1u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Partial updates.
TEST_F(NhpExtTest, UpdateNhpExtContext_stages_its_seven_fields_in_order) {
  EXPECT_EQ(FIB_DB_UpdateNhpExtContext(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre("db_create_nhp_ext_obj(1)", "db_set_nhp_ext_svc_ctx_high_prio(#1, 160102030405060708090a0b0c0d0eee)",
                  "db_set_nhp_ext_svc_ctx_normal_prio(#1, 170102030405060708090a0b0c0d0eff)",
                  "db_set_nhp_ext_status_high_prio(#1, 12)", "db_set_nhp_ext_status_normal_prio(#1, 13)",
                  "db_set_nhp_ext_errcode_high_prio(#1, 14)", "db_set_nhp_ext_errcode_normal_prio(#1, 15)",
                  "db_set_nhp_ext_time_stamp_svc(#1, 154618822656)", called("db_update_obj", kKey),
                  "db_release_nhp_ext_object(#1)"));
}

TEST_F(NhpExtTest, UpdateNhpExtFields_sends_the_update_whatever_the_setter_says) {
  const auto refusing = [](uint64_t obj, const void*) { return db_set_nhp_ext_status_high_prio(obj, 1) + 5; };
  EXPECT_EQ(FIB_DB_UpdateNhpExtFields(&item, refusing), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_ext_obj(1)", "db_set_nhp_ext_status_high_prio(#1, 1)",
                                          called("db_update_obj", kKey), "db_release_nhp_ext_object(#1)"));
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtTest, Updates_of_NULL_or_without_setter_return_1_silently) {
  EXPECT_EQ(FIB_DB_UpdateNhpExtFields(nullptr, [](uint64_t, const void*) { return 0u; }), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpExtFields(&item, nullptr), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpExtContext(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtTest, UpdateNhpExtContext_whose_setter_fails_tries_all_says_so_and_is_sent_all_the_same) {
  platform.fail("db_set_nhp_ext_svc_ctx_high_prio", 5);
  EXPECT_EQ(FIB_DB_UpdateNhpExtContext(&item), 0u);
  EXPECT_EQ(platform.calls.size(), 10u);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpExtContext failed, set fields failed."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtTest, SetNhpExtContext_gives_1_for_any_field_that_fails) {
  EXPECT_EQ(FIB_DB_SetNhpExtContext(1, &item), 0u);
  EXPECT_TRUE(silent());
  for (const char* field : {"svc_ctx_high_prio", "svc_ctx_normal_prio", "status_high_prio", "status_normal_prio",
                            "errcode_high_prio", "errcode_normal_prio", "time_stamp_svc"}) {
    platform.errorLines.clear();
    platform.fail("db_set_nhp_ext_" + std::string(field), 5);
    EXPECT_EQ(FIB_DB_SetNhpExtContext(1, &item), 1u) << field;
    EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpExtContext failed, set fields failed.")) << field;
  }
}

TEST_F(NhpExtTest, Updates_that_fail_return_the_code_say_so_and_count_UPDATE) {
  platform.fail("db_update_obj", 15005);
  EXPECT_EQ(FIB_DB_UpdateNhpExtContext(&item), 15005u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UPDATE fib nhp ext db fail. ret = 15005"));
  EXPECT_TRUE(countedOnce(7, 3));
}

TEST_F(NhpExtTest, Updates_answered_with_a_publication_return_0_and_count_PUB) {
  platform.fail("db_update_obj", 13044);
  EXPECT_EQ(FIB_DB_UpdateNhpExtContext(&item), 0u);
  EXPECT_TRUE(countedOnce(7, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtTest, Updates_whose_object_fails_say_so_and_return_the_code) {
  platform.fail("db_create_nhp_ext_obj", 9);
  EXPECT_EQ(FIB_DB_UpdateNhpExtContext(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateNhpExtFields failed, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtTest, Updates_are_never_timed) {
  g_fibGetDbOperTickCost = 1;
  EXPECT_EQ(FIB_DB_UpdateNhpExtContext(&item), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
  EXPECT_TRUE(silent());
}

// Bulk reads: as many whole items as there is room for.
class NhpExtBulk : public NhpExtTest {
 protected:
  void SetUp() override {
    for (uint32_t i = 0; i < 3; ++i) {
      FibDbNhpExtItem entry = fullItem();
      entry.extWord2 = i;
      platform.entries.push_back(rowOf(entry));
    }
    for (FibDbNhpExtItem& slot : items) slot = {.keyByte = 0xDE};
  }

  static constexpr uint32_t kSize = sizeof(FibDbNhpExtItem);
  FibDbNhpExtItem items[4];
  uint32_t filled = 77;

  size_t steps() const { return static_cast<size_t>(std::ranges::count(platform.calls, "db_root_iterator_next(~1)")); }
};

TEST_F(NhpExtBulk, ReadNhpExtByKey_iterates_under_the_callers_key_and_reads_each_row) {
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, 2 * kSize, items, &filled), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_ext_obj(5)", "db_create_root_iter(#1, 0x01090004 2a000000)",
                                          "db_root_iterator_next(~1)", "db_read_obj_with_buf(#1, NULL, 136)",
                                          "db_root_iterator_next(~1)", "db_read_obj_with_buf(#1, NULL, 136)",
                                          "db_release_nhp_ext_object(#1)"));
  EXPECT_EQ(filled, 2u);
  FibDbNhpExtItem second = fullItem();
  second.extWord2 = 1;
  EXPECT_EQ(rowOf(items[1]), rowOf(second));
  EXPECT_EQ(items[1].reserved, 0);
}

TEST_F(NhpExtBulk, ReadNhpExtByKey_reads_what_there_is_room_for_and_steps_no_further) {
  struct {
    uint32_t bufLen, filled;
    size_t steps;
  } const rooms[] = {{0, 0, 0},         {1, 0, 0},         {136, 0, 0},           {kSize - 1, 0, 0}, {kSize, 1, 1},
                     {kSize + 1, 1, 1}, {2 * kSize, 2, 2}, {3 * kSize - 1, 2, 2}, {3 * kSize, 3, 3}, {4 * kSize, 3, 4}};
  for (const auto& room : rooms) {
    platform.reset();
    SetUp();
    filled = 77;
    EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, room.bufLen, items, &filled), 0u) << room.bufLen;
    EXPECT_EQ(filled, room.filled) << room.bufLen;
    EXPECT_EQ(steps(), room.steps) << room.bufLen;
    for (uint32_t i = 0; i < 4; ++i) {
      EXPECT_EQ(items[i].keyByte, i < room.filled ? 0x55 : 0xDE) << room.bufLen;
      EXPECT_EQ(items[i].extWord2, i < room.filled ? i : 0u) << room.bufLen;
    }
    EXPECT_TRUE(silent());
    EXPECT_EQ(allCounted(), 0u);
  }
}

TEST_F(NhpExtBulk, ReadNhpExtByKey_without_a_count_just_reads) {
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, 2 * kSize, items, nullptr), 0u);
  EXPECT_EQ(items[1].extWord2, 1u);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, 0, items, nullptr), 0u);
}

TEST_F(NhpExtBulk, ReadNhpExtByKey_whose_advance_fails_returns_the_code_and_what_was_read) {
  platform.fail("db_root_iterator_next", 0);
  platform.fail("db_root_iterator_next", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, sizeof items, items, &filled), 13044u);
  EXPECT_EQ(filled, 1u);
  EXPECT_EQ(items[1].keyByte, 0xDE);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpExtByKIterNext next failed, ret: 13044"));
  EXPECT_TRUE(countedOnce(7, 6));
}

TEST_F(NhpExtBulk, ReadNhpExtByKey_whose_second_row_cannot_be_read_returns_1_and_the_first) {
  platform.fail("db_read_obj_with_buf", 0);
  platform.fail("db_read_obj_with_buf", 8);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, sizeof items, items, &filled), 1u);
  EXPECT_EQ(filled, 1u);
  EXPECT_EQ(items[1].keyByte, 0xDE);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpExtByKIterNext read failed, ret: 8"));
  EXPECT_TRUE(countedOnce(7, 0));
}

TEST_F(NhpExtBulk, ReadNhpExtByKey_whose_row_is_gone_returns_60_silently) {
  platform.fail("db_read_obj_with_buf", 0);
  platform.fail("db_read_obj_with_buf", 15005);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, sizeof items, items, &filled), 60u);
  EXPECT_EQ(filled, 1u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtBulk, ReadNhpExtByKey_whose_row_read_gives_the_code_of_an_end_has_failed) {
  platform.fail("db_read_obj_with_buf", 110012);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, sizeof items, items, &filled), 1u);
  EXPECT_EQ(filled, 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpExtByKIterNext read failed, ret: 110012"));
}

TEST_F(NhpExtBulk, ReadNhpExtByKey_whose_object_or_iterator_fails_says_so_and_leaves_the_count) {
  platform.fail("db_create_nhp_ext_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, sizeof items, items, &filled), 9u);
  platform.fail("db_create_root_iter", 8);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, sizeof items, items, &filled), 8u);
  EXPECT_EQ(filled, 77u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpExtByKey failed, create object failed. ret: 9",
                                               "ReadNhpExtByKey failed, create root iter failed. ret: 8"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtBulk, ReadNhpExtByKey_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(nullptr, &key, kSize, items, &filled), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, nullptr, kSize, items, &filled), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, kSize, nullptr, &filled), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpExtByIidIndex(42, kSize, nullptr, &filled), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpExtBySdwanKey(42, 7, kSize, nullptr, &filled), 1u);
  EXPECT_EQ(filled, 77u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtBulk, Reads_by_one_index_go_by_its_key) {
  EXPECT_EQ(FIB_DB_ReadNhpExtByIidIndex(42, kSize, items, &filled), 0u);
  EXPECT_EQ(platform.calls[1], "db_create_root_iter(#1, 0x01090004 2a000000)");
  EXPECT_EQ(filled, 1u);
  platform.calls.clear();
  EXPECT_EQ(FIB_DB_ReadNhpExtBySdwanKey(0x01020304, 0x55, sizeof items, items, nullptr), 0u);
  EXPECT_EQ(platform.calls[1], "db_create_root_iter(#2, 0x03090005 0403020155)");
  EXPECT_EQ(items[1].extWord2, 2u);
}

// One step of the bulk read, by itself.
class NhpExtStep : public NhpExtBulk {
 protected:
  void SetUp() override {
    NhpExtBulk::SetUp();
    ASSERT_EQ(db_create_nhp_ext_obj(5, 0, &object), 0u);
    ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iterator), 0u);
    platform.calls.clear();
  }
  void TearDown() override { db_release_nhp_ext_object(object); }

  uint64_t object = 0;
  uint64_t iterator = 0;
  Row row = Row(kRowLength, 0xA5);
};

TEST_F(NhpExtStep, ReadNhpExtByKIterNext_fills_the_row_then_hands_the_end_on_every_time) {
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(FIB_DB_ReadNhpExtByKIterNext(object, iterator, row.data()), 0u);
    EXPECT_EQ(getField(TableId::nhp_ext, row, "extWord2"), i);
  }
  const Row last = row;
  EXPECT_EQ(FIB_DB_ReadNhpExtByKIterNext(object, iterator, row.data()), 110012u);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKIterNext(object, iterator, row.data()), 110012u);
  EXPECT_EQ(row, last);
  EXPECT_EQ(platform.calls[0], "db_root_iterator_next(~1)");
  EXPECT_EQ(platform.calls[1], "db_read_obj_with_buf(#1, NULL, 136)");
  EXPECT_EQ(platform.calls.size(), 8u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtStep, ReadNhpExtByKIterNext_whose_advance_fails_returns_the_code_says_so_and_counts_ITERATOR) {
  platform.fail("db_root_iterator_next", 15005);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKIterNext(object, iterator, row.data()), 15005u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpExtByKIterNext next failed, ret: 15005"));
  EXPECT_TRUE(countedOnce(7, 6));
  EXPECT_EQ(row, Row(kRowLength, 0xA5));
}

TEST_F(NhpExtStep, ReadNhpExtByKIterNext_whose_row_is_gone_returns_60_silently) {
  platform.fail("db_read_obj_with_buf", 15005);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKIterNext(object, iterator, row.data()), 60u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtStep, ReadNhpExtByKIterNext_whose_row_cannot_be_read_returns_1_says_so_and_counts_READ) {
  platform.fail("db_read_obj_with_buf", 8);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKIterNext(object, iterator, row.data()), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpExtByKIterNext read failed, ret: 8"));
  EXPECT_TRUE(countedOnce(7, 0));
}

// Counts.
TEST_F(NhpExtTest, CountNhpExtByKey_stores_the_low_word) {
  platform.countResult = 0x100000007;
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountNhpExtByKey(&desc, &key, &count), 0u);
  EXPECT_EQ(count, 7u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_ext_obj(9)", "db_get_table_record_count_by_key(#1, 0x01090004 2a000000)",
                          "db_release_nhp_ext_object(#1)"));
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtTest, Counts_by_one_index_go_by_its_key) {
  platform.countResult = 5;
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountNhpExtByIidIndex(42, &count), 0u);
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(platform.calls[1], "db_get_table_record_count_by_key(#1, 0x01090004 2a000000)");
  count = 0;
  EXPECT_EQ(FIB_DB_CountNhpExtBySdwanKey(0x01020304, 0x55, &count), 0u);
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(platform.calls[4], "db_get_table_record_count_by_key(#2, 0x03090005 0403020155)");
}

TEST_F(NhpExtTest, Counts_that_fail_say_so_leave_the_count_and_are_not_counted) {
  uint32_t count = 77;
  platform.fail("db_create_nhp_ext_obj", 9);
  EXPECT_EQ(FIB_DB_CountNhpExtByKey(&desc, &key, &count), 9u);
  platform.fail("db_get_table_record_count_by_key", 15005);
  EXPECT_EQ(FIB_DB_CountNhpExtByIidIndex(42, &count), 15005u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.errorLines, ElementsAre("CountNhpExtByKey failed, create object failed. ret: 9",
                                               "CountNhpExtByKey failed, get record count by key failed. ret: 15005"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtTest, Counts_into_NULL_return_1_silently) {
  EXPECT_EQ(FIB_DB_CountNhpExtByKey(&desc, &key, nullptr), 1u);
  EXPECT_EQ(FIB_DB_CountNhpExtByIidIndex(42, nullptr), 1u);
  EXPECT_EQ(FIB_DB_CountNhpExtBySdwanKey(42, 7, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// The iterator of the object database: this table has no function that steps it or gives it back.
void giveBack(FibDbIterator* iterator) {
  db_release_nhp_ext_object(iterator->obj);
  FIB_DB_Free(iterator);
}

TEST_F(NhpExtTest, CreateNhpExtIteratorByIidIndex_makes_object_and_iterator_in_the_handle) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpExtIteratorByIidIndex(42, 5);
  ASSERT_NE(iterator, nullptr);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_ext_obj(5)", "db_create_root_iter(#1, 0x01090004 2a000000)",
                                          "db_set_root_iterator_property(~1, 0, 05000000)"));
  ASSERT_EQ(platform.outWords.size(), 2u);
  EXPECT_EQ(platform.outWords[0].at, &iterator->obj);
  EXPECT_EQ(platform.outWords[0].before, 0u);
  EXPECT_EQ(platform.outWords[1].at, &iterator->rootIter);
  EXPECT_EQ(platform.outWords[1].before, 0u);
  giveBack(iterator);
}

TEST_F(NhpExtTest, CreateNhpExtIteratorByIidIndex_sets_any_property_but_minus_one) {
  for (const int32_t property : {0, 5, -2, INT32_MIN, -1}) {
    platform.calls.clear();
    giveBack(FIB_DB_CreateNhpExtIteratorByIidIndex(42, property));
    EXPECT_EQ(platform.calls.size(), property == -1 ? 3u : 4u) << property;
  }
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtTest, CreateNhpExtIteratorByIidIndex_failures_say_which_step_and_give_NULL) {
  struct {
    const char* call;
    const char* text;
  } const steps[] = {
      {"alloc", "CreateNhpExtIteratorByIidIndex malloc failed"},
      {"db_create_nhp_ext_obj", "CreateNhpExtIteratorByIidIndex createObj failed, ret: 9"},
      {"db_create_root_iter", "CreateNhpExtIteratorByIidIndex createIter failed, ret: 9"},
      {"db_set_root_iterator_property", "CreateNhpExtIteratorByIidIndex setProperty failed, ret: 9"},
  };
  for (const auto& step : steps) {
    platform.errorLines.clear();
    platform.fail(step.call, 9);
    EXPECT_EQ(FIB_DB_CreateNhpExtIteratorByIidIndex(42, 0), nullptr);
    EXPECT_THAT(platform.errorLines, ElementsAre(step.text));
    EXPECT_EQ(platform.leaks(), "");
  }
  EXPECT_EQ(allCounted(), 0u);
}

// The iterators of the table service.
TEST_F(NhpExtBulk, CreateNhpExtIteratorByTunnelId_goes_by_the_tunnel_key_and_passes_the_property_through) {
  void* const iterator = FIB_DB_CreateNhpExtIteratorByTunnelId(0x01020304, 0x11121314, 0x21222324, 0x55, 0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  EXPECT_EQ(FIB_DB_GetNextNhpExtEntry(iterator, &item), 0u);
  EXPECT_EQ(item.extWord2, 0u);
  EXPECT_EQ(item.reserved, 0xEE);
  EXPECT_EQ(FIB_DB_ReleaseNhpExtIterator(iterator), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("UFIB_DB_CreateIteratorByKey(6, 4294967295, 0x0209000D 04030201141312112423222155)",
                          "UFIB_DB_GetNextEntry(6, 136)", "UFIB_DB_ReleaseIterator(6)"));
}

TEST_F(NhpExtBulk, CreateNhpExtIterByTnlIdAndType_goes_by_the_SD_WAN_key) {
  FIB_DB_ReleaseNhpExtIterator(FIB_DB_CreateNhpExtIterByTnlIdAndType(0x01020304, 0x55, 7));
  EXPECT_EQ(platform.calls.front(), "UFIB_DB_CreateIteratorByKey(6, 7, 0x03090005 0403020155)");
}

TEST_F(NhpExtTest, Iterators_that_the_service_refuses_are_NULL_silently) {
  platform.failAlways("UFIB_DB_CreateIteratorByKey", 9);
  EXPECT_EQ(FIB_DB_CreateNhpExtIteratorByTunnelId(1, 2, 3, 4, 0), nullptr);
  EXPECT_EQ(FIB_DB_CreateNhpExtIterByTnlIdAndType(1, 2, 0), nullptr);
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtBulk, GetNextNhpExtEntry_hands_the_services_codes_on_silently_and_keeps_the_item) {
  void* const iterator = FIB_DB_CreateNhpExtIterByTnlIdAndType(1, 2, 0);
  platform.fail("UFIB_DB_GetNextEntry", 15005);
  EXPECT_EQ(FIB_DB_GetNextNhpExtEntry(iterator, &item), 15005u);
  platform.entries.clear();
  EXPECT_EQ(FIB_DB_GetNextNhpExtEntry(iterator, &item), 110012u);
  EXPECT_EQ(FIB_DB_GetNextNhpExtEntry(iterator, &item), 110012u);
  EXPECT_EQ(rowOf(item), rowOf(fullItem()));
  platform.fail("UFIB_DB_ReleaseIterator", 9);
  EXPECT_EQ(FIB_DB_ReleaseNhpExtIterator(iterator), 9u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpExtTest, Step_and_release_of_NULL_call_nothing) {
  EXPECT_EQ(FIB_DB_GetNextNhpExtEntry(nullptr, &item), 1u);
  EXPECT_EQ(FIB_DB_GetNextNhpExtEntry(&item, nullptr), 1u);
  EXPECT_EQ(FIB_DB_ReleaseNhpExtIterator(nullptr), 0u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

}  // namespace
}  // namespace fibdb::test
