// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/route/ip4forward_test.cc: conversions, reads, counts and iteration of IPv4 routes over the recorded platform.
#include <cstddef>
#include <ostream>

#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

// 10.0.0.0/8 with a different value in every field.
FibDbIp4forwardItem fullItem() {
  FibDbIp4forwardItem item{.vr_id = 1,
                           .vrf_index = 2,
                           .dest_ip_addr = 0x0A000000,
                           .mask_len = 8,
                           .attr_byte_a = 5,
                           .attr_half_a = 0x0606,
                           .attr_word_a = 0x07070707,
                           .attr_word_b = 0x08080808,
                           .attr_word_c = 0x09090909,
                           .attr_half_b = 0x1010,
                           .attr_byte_b = 0x11,
                           .attr_byte_c = 0x12,
                           .attr_half_c = 0x1313,
                           .attr_word_d = 0x14141414,
                           .attr_word_e = 0x15151515,
                           .high_status = 0x16,
                           .attr_byte_e = 0x17,
                           .attr_byte_f = 0x18,
                           .attr_byte_g = 0x19,
                           .source_pid = 0x20202020,
                           .table_smooth_id = 0x21212121,
                           .attr_dword_a = 0x2222222222222222,
                           .attr_half_d = 0x2323,
                           .attr_byte_d = 0x24,
                           .attr_dword_b = 0x2525252525252525,
                           .attr_dword_c = 0x2626262626262626,
                           .time_stamp_svc = 0x2727272727272727};
  std::memset(item.attr_block_a, 0xAA, sizeof item.attr_block_a);
  std::memset(item.attr_block_b, 0xBB, sizeof item.attr_block_b);
  return item;
}

Row rowOf(const FibDbIp4forwardItem& item) {
  FibDbIp4forwardRecord record{};
  FIB_DB_SetIp4forwardItem(&item, &record);
  Row row(sizeof record);
  std::memcpy(row.data(), &record, sizeof record);
  return row;
}

class Ip4forwardTest : public TablesTest {
 protected:
  void SetUp() override {
    platform.record(TableId::ip4forward) = rowOf(fullItem());
    platform.allCalls.clear();
  }

  FibDbIp4forwardItem item = fullItem();
  uint32_t count = 777;
};

// The flat record's layout, number for number.
TEST_F(Ip4forwardTest, Record_fields_stand_where_the_database_expects_them) {
  EXPECT_EQ(sizeof(FibDbIp4forwardRecord), 124u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, mask_len), 12u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, attr_word_d), 28u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, high_status), 36u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, attr_block_a), 40u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, attr_block_b), 56u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, source_pid), 72u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, table_smooth_id), 76u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, attr_dword_a), 80u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, attr_half_d), 88u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, attr_dword_b), 92u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, attr_half_b), 100u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, attr_byte_d), 106u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, attr_dword_c), 108u);
  EXPECT_EQ(offsetof(FibDbIp4forwardRecord, time_stamp_svc), 116u);
}

TEST_F(Ip4forwardTest, SetIp4forwardItem_puts_every_field_in_its_place) {
  const Row row = rowOf(item);
  const auto field = [&](const char* name) { return getField(TableId::ip4forward, row, name); };
  EXPECT_EQ(field("vr_id"), 1u);
  EXPECT_EQ(field("vrf_index"), 2u);
  EXPECT_EQ(field("dest_ip_addr"), 0x0A000000u);
  EXPECT_EQ(field("mask_len"), 8u);
  EXPECT_EQ(field("attr_byte_a"), 5u);
  EXPECT_EQ(field("attr_half_a"), 0x0606u);
  EXPECT_EQ(field("attr_word_a"), 0x07070707u);
  EXPECT_EQ(field("attr_word_b"), 0x08080808u);
  EXPECT_EQ(field("attr_word_c"), 0x09090909u);
  EXPECT_EQ(field("attr_half_b"), 0x1010u);
  EXPECT_EQ(field("attr_byte_b"), 0x11u);
  EXPECT_EQ(field("attr_byte_c"), 0x12u);
  EXPECT_EQ(field("attr_half_c"), 0x1313u);
  EXPECT_EQ(field("attr_word_d"), 0x14141414u);
  EXPECT_EQ(field("attr_word_e"), 0x15151515u);
  EXPECT_EQ(field("high_status"), 0x16u);
  EXPECT_EQ(field("attr_byte_e"), 0x17u);
  EXPECT_EQ(field("attr_byte_f"), 0x18u);
  EXPECT_EQ(field("attr_byte_g"), 0x19u);
  EXPECT_EQ(row[40], 0xAA);
  EXPECT_EQ(row[55], 0xAA);
  EXPECT_EQ(row[56], 0xBB);
  EXPECT_EQ(row[71], 0xBB);
  EXPECT_EQ(field("source_pid"), 0x20202020u);
  EXPECT_EQ(field("table_smooth_id"), 0x21212121u);
  EXPECT_EQ(field("attr_dword_a"), 0x2222222222222222u);
  EXPECT_EQ(field("attr_half_d"), 0x2323u);
  EXPECT_EQ(field("attr_byte_d"), 0x24u);
  EXPECT_EQ(field("attr_dword_b"), 0x2525252525252525u);
  EXPECT_EQ(field("attr_dword_c"), 0x2626262626262626u);
  EXPECT_EQ(field("time_stamp_svc"), 0x2727272727272727u);
  EXPECT_EQ(row[107], 0);
}

TEST_F(Ip4forwardTest, SetIp4forwardItem_stamps_the_source_process) {
  rowOf(item);
  EXPECT_EQ(FIB_DB_GetSourcePid(), 0x20202020u);
}

TEST_F(Ip4forwardTest, Conversion_there_and_back_gives_the_item_again) {
  FibDbIp4forwardRecord record{};
  FIB_DB_SetIp4forwardItem(&item, &record);
  FibDbIp4forwardItem back{};
  FIB_DB_GetIp4forwardItem(&record, &back);
  EXPECT_EQ(rowOf(back), rowOf(item));
}

TEST_F(Ip4forwardTest, GetIp4forwardItem_narrows_half_word_d) {
  FibDbIp4forwardRecord record{};
  record.attr_half_d = 0xABCD1234;
  FIB_DB_GetIp4forwardItem(&record, &item);
  EXPECT_EQ(item.attr_half_d, 0x1234u);
}

TEST_F(Ip4forwardTest, Conversions_of_NULL_do_nothing) {
  g_fibSourcePid = 1;
  FibDbIp4forwardRecord record{};
  FIB_DB_SetIp4forwardItem(nullptr, &record);
  FIB_DB_SetIp4forwardItem(&item, nullptr);
  FIB_DB_GetIp4forwardItem(nullptr, &item);
  FIB_DB_GetIp4forwardItem(&record, nullptr);
  EXPECT_EQ(g_fibSourcePid, 1u);
  EXPECT_EQ(rowOf(item), rowOf(fullItem()));
  EXPECT_EQ(record.vr_id, 0u);
}

TEST_F(Ip4forwardTest, SetIp4forwardItem_whose_block_copy_fails_tries_both_and_leaves_the_rest_and_the_pid) {
  for (const int failing : {1, 2}) {
    g_fibSourcePid = 1;
    if (failing == 2) platform.fail("memcpy_s", 0);
    platform.fail("memcpy_s", 22);
    platform.allCalls.clear();
    FibDbIp4forwardRecord record{};
    FIB_DB_SetIp4forwardItem(&item, &record);
    EXPECT_THAT(platform.allCalls, ElementsAre("memcpy_s", "memcpy_s"));
    EXPECT_EQ(record.attr_byte_g, 0x19);
    EXPECT_EQ(record.attr_block_b[0], failing == 1 ? 0xBB : 0);
    EXPECT_EQ(record.source_pid, 0u);
    EXPECT_EQ(uint64_t{record.time_stamp_svc}, 0u);
    EXPECT_EQ(g_fibSourcePid, 1u);
  }
}

TEST_F(Ip4forwardTest, GetIp4forwardItem_whose_block_copy_fails_leaves_the_rest) {
  FibDbIp4forwardRecord record{};
  record.vr_id = 99;
  platform.fail("memcpy_s", 22);
  FIB_DB_GetIp4forwardItem(&record, &item);
  EXPECT_EQ(item.vr_id, 99u);
  EXPECT_EQ(item.source_pid, 0x20202020u);
}

// Keys.
TEST_F(Ip4forwardTest, Keys_are_filled_and_copied) {
  FibDbIp4forwardKey key{};
  FIB_DB_SetIp4forwardKey(&key, 1, 2, 3, 4);
  FibDbIp4forwardKey copy{};
  FIB_DB_GetIp4forwardKey(&key, &copy);
  EXPECT_EQ(copy.vr_id, 1u);
  EXPECT_EQ(copy.vrf_index, 2u);
  EXPECT_EQ(copy.dest_ip_addr, 3u);
  EXPECT_EQ(copy.mask_len, 4u);
  FIB_DB_GetIp4forwardKey(nullptr, &copy);
  FIB_DB_GetIp4forwardKey(&key, nullptr);
  EXPECT_EQ(copy.vr_id, 1u);
}

TEST_F(Ip4forwardTest, GetIp4forwardKey_copies_the_13_bytes_of_a_packed_key_and_no_more) {
  alignas(FibDbIp4forwardKey) uint8_t from[16];
  alignas(FibDbIp4forwardKey) uint8_t to[16];
  for (uint8_t i = 0; i < 16; ++i) from[i] = i;
  std::memset(to, 0xEE, sizeof to);
  FIB_DB_GetIp4forwardKey(reinterpret_cast<const FibDbIp4forwardKey*>(from), reinterpret_cast<FibDbIp4forwardKey*>(to));
  EXPECT_THAT(to, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0xEE, 0xEE, 0xEE));
}

TEST_F(Ip4forwardTest, SetIp4forwardKeyField_names_the_primary_key) {
  FibDbKeyDesc desc{.indexId = 0, .rsv1 = 2, .rsv2 = 3};
  FibDbIp4forwardKey key{};
  FIB_DB_SetIp4forwardKeyField(&desc, &key, &item);
  EXPECT_EQ(desc.indexId, 0x0001000Du);
  EXPECT_EQ(desc.rsv1, 2u);
  EXPECT_EQ(key.dest_ip_addr, 0x0A000000u);
  EXPECT_EQ(key.mask_len, 8u);
}

// Keyed read.
TEST_F(Ip4forwardTest, ReadIp4forward_replaces_the_whole_item) {
  FibDbIp4forwardItem out{.vr_id = 1, .vrf_index = 2, .dest_ip_addr = 0x0A000000, .mask_len = 8, .attr_word_b = 1};
  EXPECT_EQ(FIB_DB_ReadIp4forward(&out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullItem()));
  EXPECT_THAT(platform.calls, ElementsAre("db_create_ip4forward_obj(3)",
                                          "db_read_obj_with_buf(#1, 0x0001000D 01000000020000000000000a08, 124)",
                                          "db_release_ip4forward_object(#1)"));
}

TEST_F(Ip4forwardTest, ReadIp4forward_missing_route_returns_60_and_keeps_the_item) {
  platform.fail("db_read_obj_with_buf", 15005);
  item.attr_word_b = 4711;
  EXPECT_EQ(FIB_DB_ReadIp4forward(&item), 60u);
  EXPECT_EQ(item.attr_word_b, 4711u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(Ip4forwardTest, ReadIp4forward_failure_returns_1_and_counts_READ) {
  platform.fail("db_read_obj_with_buf", 7);
  EXPECT_EQ(FIB_DB_ReadIp4forward(&item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("READ fib ipv4 forward db fail. ret = 7."));
  EXPECT_TRUE(countedOnce(0, 0));
}

TEST_F(Ip4forwardTest, ReadIp4forward_whose_object_fails_returns_the_code_silently) {
  platform.fail("db_create_ip4forward_obj", 9);
  EXPECT_EQ(FIB_DB_ReadIp4forward(&item), 9u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(FIB_DB_ReadIp4forward(nullptr), 1u);
}

TEST_F(Ip4forwardTest, ReadIp4forward_whose_block_copy_fails_is_a_success_half_filled) {
  platform.fail("memcpy_s", 22);
  FibDbIp4forwardItem out{};
  EXPECT_EQ(FIB_DB_ReadIp4forward(&out), 0u);
  EXPECT_EQ(out.vr_id, 1u);
  EXPECT_EQ(out.time_stamp_svc, 0u);
}

// Counts.
TEST_F(Ip4forwardTest, CountIp4forward_gives_the_low_32_bits) {
  platform.countResult = 0x100000005;
  EXPECT_EQ(FIB_DB_CountIp4forward(&count), 0u);
  EXPECT_EQ(count, 5u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_ip4forward_obj(9)", "db_get_table_record_count(#1)",
                                          "db_release_ip4forward_object(#1)"));
}

TEST_F(Ip4forwardTest, CountIp4forward_failures_are_silent_and_raw) {
  EXPECT_EQ(FIB_DB_CountIp4forward(nullptr), 1u);
  platform.fail("db_create_ip4forward_obj", 9);
  EXPECT_EQ(FIB_DB_CountIp4forward(&count), 9u);
  platform.fail("db_get_table_record_count", 8);
  EXPECT_EQ(FIB_DB_CountIp4forward(&count), 8u);
  EXPECT_EQ(count, 777u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(Ip4forwardTest, CountIp4forwardByHighStatus_of_an_empty_table_is_0) {
  EXPECT_EQ(FIB_DB_CountIp4forwardByHighStatus(3, &count), 0u);
  EXPECT_EQ(count, 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_ip4forward_obj(5)", "db_create_root_iter(#1, NULL)",
                                          "db_root_iterator_next(~1)", "db_release_ip4forward_object(#1)"));
}

TEST_F(Ip4forwardTest, CountIp4forwardByHighStatus_counts_equal_bytes_only) {
  for (const uint8_t status : std::initializer_list<uint8_t>{3, 4, 3, 0}) {
    item.high_status = status;
    platform.entries.push_back(rowOf(item));
  }
  EXPECT_EQ(FIB_DB_CountIp4forwardByHighStatus(3, &count), 0u);
  EXPECT_EQ(count, 2u);
}

TEST_F(Ip4forwardTest, CountIp4forwardByHighStatus_step_failure_is_said_counted_raw_and_stores_nothing) {
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_CountIp4forwardByHighStatus(3, &count), 7u);
  EXPECT_EQ(count, 777u);
  EXPECT_THAT(platform.errorLines, ElementsAre("CountIp4forwardByHighStatus next failed, ret: 7"));
  EXPECT_TRUE(countedOnce(0, 6));
}

TEST_F(Ip4forwardTest, CountIp4forwardByHighStatus_other_failures_are_silent_and_raw) {
  for (const char* const call : {"db_create_ip4forward_obj", "db_create_root_iter", "db_get_ip4forward_all_fields"}) {
    platform.entries = {rowOf(item)};
    platform.fail(call, 9);
    EXPECT_EQ(FIB_DB_CountIp4forwardByHighStatus(3, &count), 9u) << call;
  }
  EXPECT_EQ(count, 777u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

// Longest prefix match.
TEST_F(Ip4forwardTest, ReadIp4forwardByLpm_replaces_the_item_with_the_first_entry) {
  platform.entries = {rowOf(fullItem())};
  FibDbIp4forwardItem out{.vr_id = 16, .vrf_index = 16384, .dest_ip_addr = 0x0A010203, .mask_len = 32};
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&out), 0u);
  EXPECT_EQ(out.dest_ip_addr, 0x0A000000u);
  EXPECT_EQ(out.mask_len, 8);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_ip4forward_obj(5)",
                          "db_create_root_iter(#1, 0x0305000D 10000000004000000302010a20)", "db_root_iterator_next(~1)",
                          "db_read_obj_with_buf(#1, NULL, 124)", "db_release_ip4forward_object(#1)"));
}

TEST_F(Ip4forwardTest, ReadIp4forwardByLpm_without_covering_route_returns_10003_and_keeps_the_item) {
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), 10003u);
  EXPECT_EQ(rowOf(item), rowOf(fullItem()));
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(Ip4forwardTest, ReadIp4forwardByLpm_rejects_a_key_out_of_range_before_anything_else) {
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(nullptr), 1u);
  item.vr_id = 17;
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), 1u);
  item.vr_id = 16;
  item.vrf_index = 16385;
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(Ip4forwardTest, ReadIp4forwardByLpm_failures) {
  platform.fail("db_create_ip4forward_obj", 9);
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), 9u);
  platform.fail("db_create_root_iter", 8);
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), 8u);
  EXPECT_EQ(allCounted(), 0u);
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), 7u);
  EXPECT_TRUE(countedOnce(0, 6));
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadIp4forwardByLpm failed, create object failed. ret: 9",
                                               "ReadIp4forwardByLpm failed, create root iter failed. ret: 8",
                                               "ReadIp4forwardByLpm next failed, ret: 7"));
}

TEST_F(Ip4forwardTest, ReadIp4forwardByLpm_maps_the_read_like_any_read) {
  platform.entries = {rowOf(item), rowOf(item)};
  platform.fail("db_read_obj_with_buf", 15005);
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), 60u);
  EXPECT_EQ(allCounted(), 0u);
  platform.fail("db_read_obj_with_buf", 6);
  EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&item), 1u);
  EXPECT_TRUE(countedOnce(0, 0));
}

// Iterators: four ways to make one, the same four steps each.
struct Creator {
  const char* name;
  FibDbIterator* (*create)(uint32_t property);
  std::vector<std::string> opens;
  const char* opener;
  std::vector<std::string> texts;

  friend void PrintTo(const Creator& row, std::ostream* out) { *out << row.name; }
};

const Creator kCreators[] = {
    {"Whole",
     FIB_DB_CreateIp4forwardIterator,
     {"db_create_root_iter(#1, NULL)"},
     "db_create_root_iter",
     {"CreateIp4forwardIterator malloc failed", "CreateIp4forwardIterator createObj failed, ret: 9",
      "CreateIp4forwardIterator createIter failed, ret: 9", "CreateIp4forwardIterator setProperty failed, ret: 9"}},
    {"Dictionary",
     FIB_DB_CreateDictionaryIterator,
     {"db_create_stmt(#1, 2, ip4forward)",
      "db_append_stmt_condition(#1, 6, 0x0402000D 00000000000000000000000000 to "
      "0x0402000D 1000000000400000ffffffff20)",
      "db_create_root_iterator_by_filter(#1)"},
     "db_create_root_iterator_by_filter",
     {"CreateIp4forwardDictionaryIterator malloc failed", "CreateIp4forwardDictionaryIterator createObj failed, ret: 9",
      "CreateIp4forwardDictionaryIterator createIter by local sort failed, ret: 9",
      "CreateIp4forwardDictionaryIterator setProperty failed, ret: 9"}},
    {"ByVrf",
     [](uint32_t property) { return FIB_DB_CreateIp4forwardIteratorByVrf(1, 2, 3, property); },
     {"db_create_root_iter(#1, 0x0209000C 010000000200000003000000)"},
     "db_create_root_iter",
     {"CreateIp4forwardIteratorByVrf malloc failed", "CreateIp4forwardIteratorByVrf createObj failed, ret: 9",
      "CreateIp4forwardIteratorByVrf createIter failed, ret: 9",
      "CreateIp4forwardIteratorByVrf setProperty failed, ret: 9"}},
    {"ByNhpGrpId",
     [](uint32_t property) { return FIB_DB_CreateIp4forwardIteratorByNhpGrpId(1, 2, static_cast<int32_t>(property)); },
     {"db_create_root_iter(#1, 0x01090008 0100000002000000)"},
     "db_create_root_iter",
     {"CreateIp4forwardIteratorByNhpGrpId malloc failed", "CreateIp4forwardIteratorByNhpGrpId createObj failed, ret: 9",
      "CreateIp4forwardIteratorByNhpGrpId createIter failed, ret: 9",
      "CreateIp4forwardIteratorByNhpGrpId setProperty failed, ret: 9"}},
};

class Ip4forwardIterator : public TablesTest, public testing::WithParamInterface<Creator> {};

TEST_P(Ip4forwardIterator, opens_its_records_and_sets_a_property_only_when_there_is_one) {
  FibDbIterator* iterator = GetParam().create(0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  std::vector<std::string> expected{"db_create_ip4forward_obj(5)"};
  expected.insert(expected.end(), GetParam().opens.begin(), GetParam().opens.end());
  EXPECT_EQ(platform.calls, expected);
  FIB_DB_ReleaseIp4forwardIterator(iterator);

  platform.calls.clear();
  iterator = GetParam().create(0xFFFFFFFE);
  EXPECT_EQ(platform.calls.back(), "db_set_root_iterator_property(~2, 0, feffffff)");
  FIB_DB_ReleaseIp4forwardByNhpGrpId(iterator);
}

TEST_P(Ip4forwardIterator, creation_failures_say_which_step_and_give_NULL) {
  for (const char* const call :
       {"alloc", "db_create_ip4forward_obj", GetParam().opener, "db_set_root_iterator_property"}) {
    platform.fail(call, 9);
    EXPECT_EQ(GetParam().create(0), nullptr) << call;
  }
  EXPECT_EQ(platform.errorLines, GetParam().texts);
  EXPECT_EQ(allCounted(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Creators, Ip4forwardIterator, testing::ValuesIn(kCreators),
                         [](const auto& info) { return std::string(info.param.name); });

// The platform's blocks are not zeroed: what the library does not write keeps 0xA5.
TEST_F(Ip4forwardTest, CreateIp4forwardIteratorByNhpGrpId_makes_object_and_root_iterator_in_the_handle) {
  FibDbIterator* const iterator = FIB_DB_CreateIp4forwardIteratorByNhpGrpId(1, 2, -1);
  ASSERT_EQ(platform.outWords.size(), 2u);
  EXPECT_EQ(platform.outWords[0].at, &iterator->obj);
  EXPECT_EQ(platform.outWords[0].before, 0u);
  EXPECT_EQ(platform.outWords[1].at, &iterator->rootIter);
  EXPECT_EQ(platform.outWords[1].before, 0u);
  EXPECT_EQ(iterator->rsv, 0xA5A5A5A5A5A5A5A5u);
  FIB_DB_ReleaseIp4forwardByNhpGrpId(iterator);
}

TEST_F(Ip4forwardTest, CreateIp4forwardIterator_fills_the_handle_once_all_is_made) {
  FibDbIterator* const iterator = FIB_DB_CreateIp4forwardIterator(0xFFFFFFFF);
  ASSERT_EQ(platform.outWords.size(), 2u);
  EXPECT_NE(platform.outWords[0].at, &iterator->obj);
  EXPECT_EQ(platform.outWords[0].before, 0u);
  EXPECT_NE(platform.outWords[1].at, &iterator->rootIter);
  EXPECT_EQ(platform.outWords[1].before, 0u);
  EXPECT_EQ(iterator->rsv, 0xA5A5A5A5A5A5A5A5u);
  FIB_DB_ReleaseIp4forwardIterator(iterator);
}

TEST_F(Ip4forwardTest, CreateDictionaryIterator_does_not_look_at_the_statements_results) {
  platform.fail("db_create_stmt", 9);
  platform.fail("db_append_stmt_condition", 9);
  FibDbIterator* const iterator = FIB_DB_CreateDictionaryIterator(0xFFFFFFFF);
  EXPECT_NE(iterator, nullptr);
  EXPECT_TRUE(silent());
  FIB_DB_ReleaseIp4forwardIterator(iterator);
}

TEST_F(Ip4forwardTest, GetNextIp4forward_gives_every_route_then_60_every_time) {
  FibDbIp4forwardItem second = fullItem();
  second.mask_len = 9;
  platform.entries = {rowOf(fullItem()), rowOf(second)};
  FibDbIterator* const iterator = FIB_DB_CreateIp4forwardIterator(0xFFFFFFFF);
  FibDbIp4forwardItem out{};
  EXPECT_EQ(FIB_DB_GetNextIp4forward(iterator, &out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullItem()));
  EXPECT_EQ(FIB_DB_GetNextIp4forward(iterator, &out), 0u);
  EXPECT_EQ(out.mask_len, 9);
  EXPECT_EQ(FIB_DB_GetNextIp4forward(iterator, &out), 60u);
  EXPECT_EQ(FIB_DB_GetNextIp4forward(iterator, &out), 60u);
  EXPECT_TRUE(silent());
  FIB_DB_ReleaseIp4forwardIterator(iterator);
}

TEST_F(Ip4forwardTest, GetNextIp4forward_failures) {
  FibDbIterator* const iterator = FIB_DB_CreateIp4forwardIterator(0xFFFFFFFF);
  EXPECT_EQ(FIB_DB_GetNextIp4forward(nullptr, &item), 1u);
  EXPECT_EQ(FIB_DB_GetNextIp4forward(iterator, nullptr), 1u);
  EXPECT_TRUE(silent());
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetNextIp4forward(iterator, &item), 1u);
  EXPECT_TRUE(countedOnce(0, 6));
  platform.entries = {rowOf(item), rowOf(item)};
  platform.fail("db_read_obj_with_buf", 15005);
  EXPECT_EQ(FIB_DB_GetNextIp4forward(iterator, &item), 60u);
  platform.fail("db_read_obj_with_buf", 6);
  EXPECT_EQ(FIB_DB_GetNextIp4forward(iterator, &item), 1u);
  EXPECT_EQ(counted(0, 0), 1u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("Get next ipv4 forward db fail. ret = 7", "READ fib ipv4 forward db fail. ret = 6."));
  FIB_DB_ReleaseIp4forwardIterator(iterator);
}

TEST_F(Ip4forwardTest, Release_of_NULL_does_nothing) {
  FIB_DB_ReleaseIp4forwardIterator(nullptr);
  FIB_DB_ReleaseIp4forwardByNhpGrpId(nullptr);
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

// Fetching many at a time by next-hop group.
class Ip4forwardBatchFetch : public Ip4forwardTest {
 protected:
  void SetUp() override {
    Ip4forwardTest::SetUp();
    for (uint8_t mask = 1; mask <= 5; ++mask) {
      item.mask_len = mask;
      platform.entries.push_back(rowOf(item));
    }
    iterator = FIB_DB_CreateIp4forwardIteratorByNhpGrpId(1, 0, -1);
    platform.calls.clear();
  }
  void TearDown() override { FIB_DB_ReleaseIp4forwardByNhpGrpId(iterator); }

  FibDbIterator* iterator = nullptr;
  FibDbIp4forwardItem items[8]{};
  uint32_t filled = 0;
};

TEST_F(Ip4forwardBatchFetch, GetNextIp4forwardByNhpGrpId_fills_as_many_as_fit_whole) {
  EXPECT_EQ(FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, 255, items, &filled), 1u);
  EXPECT_EQ(filled, 1u);
  EXPECT_EQ(FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, 256, items + 1, &filled), 1u);
  EXPECT_EQ(filled, 3u);
  EXPECT_EQ(items[2].mask_len, 3);
}

TEST_F(Ip4forwardBatchFetch, GetNextIp4forwardByNhpGrpId_takes_no_step_once_the_array_is_full) {
  EXPECT_EQ(FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, 256, items, &filled), 1u);
  EXPECT_THAT(platform.calls, ElementsAre("db_root_iterator_next(~1)", "db_read_obj_with_buf(#1, NULL, 124)",
                                          "db_root_iterator_next(~1)", "db_read_obj_with_buf(#1, NULL, 124)"));
}

TEST_F(Ip4forwardBatchFetch, GetNextIp4forwardByNhpGrpId_at_the_end_returns_0_and_adds_to_the_count) {
  filled = 100;
  EXPECT_EQ(FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, sizeof items, items, &filled), 0u);
  EXPECT_EQ(filled, 105u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(Ip4forwardBatchFetch, GetNextIp4forwardByNhpGrpId_without_array_returns_0_without_room_1) {
  EXPECT_EQ(FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, 0, nullptr, &filled), 0u);
  EXPECT_EQ(FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, 127, items, &filled), 1u);
  EXPECT_EQ(filled, 0u);
  EXPECT_THAT(platform.calls, IsEmpty());
}

TEST_F(Ip4forwardBatchFetch, GetNextIp4forwardByNhpGrpId_failures_are_said_counted_and_return_0) {
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, sizeof items, items, &filled), 0u);
  EXPECT_EQ(counted(0, 6), 1u);
  platform.fail("db_read_obj_with_buf", 6);
  EXPECT_EQ(FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, sizeof items, items, &filled), 0u);
  EXPECT_EQ(counted(0, 0), 1u);
  platform.fail("db_read_obj_with_buf", 15005);
  EXPECT_EQ(FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, sizeof items, items, &filled), 0u);
  EXPECT_EQ(allCounted(), 2u);
  EXPECT_EQ(filled, 0u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("Get next ipv4 forward db fail. ret = 7", "Get ipv4 forward db fail. ret = 6."));
}

}  // namespace
}  // namespace fibdb::test
