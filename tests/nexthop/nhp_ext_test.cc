// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_ext_test.cc: next-hop extensions over the recorded platform.
#include <algorithm>
#include <cstddef>

#include "platform/objdb.h"
#include "tests/nexthop/table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbNhpExtItem, keyByte) == 16 && offsetof(FibDbNhpExtItem, extByte1) == 18);
static_assert(offsetof(FibDbNhpExtItem, addr1) == 20 && offsetof(FibDbNhpExtItem, extWord1) == 52);
static_assert(offsetof(FibDbNhpExtItem, status_high_prio) == 64 && offsetof(FibDbNhpExtItem, svc_ctx_high_prio) == 68);
static_assert(offsetof(FibDbNhpExtItem, svc_ctx_normal_prio) == 84 && offsetof(FibDbNhpExtItem, extWord4) == 104);
static_assert(offsetof(FibDbNhpExtItem, extDword1) == 112 && offsetof(FibDbNhpExtItem, extWord5) == 120);
static_assert(offsetof(FibDbNhpExtItem, extDword2) == 128 && offsetof(FibDbNhpExtItem, time_stamp_svc) == 136);
static_assert(sizeof(FibDbNhpExtItem) == 144);

constexpr size_t kRowLength = 136;

struct Ext : NextHopTable<Ext, FibDbNhpExtItem> {
  static constexpr TableId kTable = TableId::nhp_ext;
  static constexpr const char* kName = "nhp_ext";
  static constexpr uint32_t kStat = 7;
  static constexpr auto kMark = &Item::extWord2;
  // The bytes of the four words and of 0x55.
  static constexpr const char* kKey = "0x00010011 1111111122222222333333334444444455";

  static Item fullItem() {
    return withContext(Item{.keyWords = {0x11111111, 0x22222222, 0x33333333, 0x44444444},
                            .keyByte = 0x55,
                            .reserved = 0xEE,
                            .extByte1 = 0x66,
                            .extByte2 = 0x77,
                            .addr1 = {0xA1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xA2},
                            .addr2 = {0xB1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xB2},
                            .extWord1 = 0x88888888,
                            .extBytes = {0xC1, 0xC2, 0xC3, 0xC4},
                            .extWord2 = 0x99999999,
                            .extWord3 = 0xAAAAAAAA,
                            .extWord4 = 0xBBBBBBBB,
                            .extDword1 = 0x1D1D1D1D1D1D1D1D,
                            .extWord5 = 0xDDDDDDDD,
                            .extDword2 = 0x2D2D2D2D2D2D2D2D});
  }

  // Spelt out without the library.
  static Row rowOf(const Item& item) {
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

  static Item keyOf(const Item& item) {
    return {.keyWords = {item.keyWords[0], item.keyWords[1], item.keyWords[2], item.keyWords[3]},
            .keyByte = item.keyByte};
  }

  static constexpr auto write = FIB_DB_WriteNhpExt;
  static constexpr WriteTexts kWrite{.create = "WriteNhpExt failed, create object failed. ret: -7",
                                     .stage = "WriteNhpExt failed, set all fields failed. ret: -7",
                                     .failed = "WRITE fib nhp ext db fail. ret = -7",
                                     .stageStatus = kCode};
  static Calls staged() { return {"db_set_nhp_ext_all_fields(#1, 136)"}; }

  static constexpr auto read = FIB_DB_ReadNhpExt;
  static constexpr ReadTexts kRead{.create = "ReadNhpExt failed, create object failed. ret: -7",
                                   .failed = "ReadNhpExt failed, ret: -7"};
  static Calls fetch() { return {std::string("db_read_obj_with_buf(#1, ") + kKey + ", 136)"}; }

  static constexpr const char* kRemoveFailed = "REMOVE fib nhp ext db fail. ret = -7";
  // The one by the primary key does not say that it has no object.
  static constexpr Removal<Item> kRemovals[] = {
      {"RemoveNhpExt", kKey, nullptr, FIB_DB_RemoveNhpExt},
      {"RemoveNhpExtByIidIndex", kNhpIndexKey, "RemoveNhpExtByIidIndex failed, create object failed. ret: -7",
       ofNhpIndex<FIB_DB_RemoveNhpExtByIidIndex>}};

  static constexpr auto updateFields = FIB_DB_UpdateNhpExtFields;
  static constexpr UpdateTexts kUpdate{.create = "UpdateNhpExtFields failed, create object failed. ret: -7",
                                       .failed = "UPDATE fib nhp ext db fail. ret = -7"};
  static std::vector<Update<Item>> updates() {
    return {{"UpdateNhpExtContext", FIB_DB_UpdateNhpExtContext, setCalls(kName, kContextStaged),
             "SetNhpExtContext failed, set fields failed."}};
  }

  static constexpr auto readByKey = FIB_DB_ReadNhpExtByKey;
  // A step is said in the words of its own function.
  static constexpr BulkReadTexts kBulkRead{.create = "ReadNhpExtByKey failed, create object failed. ret: -7",
                                           .createIter = "ReadNhpExtByKey failed, create root iter failed. ret: -7",
                                           .step = "ReadNhpExtByKIterNext next failed, ret: -7"};
  static Calls arrive() { return {"db_read_obj_with_buf(#1, NULL, 136)"}; }
  static constexpr BulkRead<Item> kBulkReads[] = {
      {"ByKey", kNhpIndexKey, byKey<FIB_DB_ReadNhpExtByKey>},
      {"ByIidIndex", kNhpIndexKey, byNhpIndex<FIB_DB_ReadNhpExtByIidIndex>},
      {"BySdwanKey", "0x03090005 0403020155", [](uint32_t bufLen, Item* items, uint32_t* filled) {
         return FIB_DB_ReadNhpExtBySdwanKey(0x01020304, 0x55, bufLen, items, filled);
       }}};
  static constexpr RowFailure kRow{.missing = 60, .failed = 1, .text = "ReadNhpExtByKIterNext read failed, ret: -7"};

  static constexpr auto countByKey = FIB_DB_CountNhpExtByKey;
  static constexpr CountTexts kCount{.create = "CountNhpExtByKey failed, create object failed. ret: -7",
                                     .failed = "CountNhpExtByKey failed, get record count by key failed. ret: -7"};
  static constexpr Count kCounts[] = {{"ByKey", kNhpIndexKey, kCount, byKey<FIB_DB_CountNhpExtByKey>},
                                      {"ByIidIndex", kNhpIndexKey, kCount, byNhpIndex<FIB_DB_CountNhpExtByIidIndex>},
                                      {"BySdwanKey", "0x03090005 0403020155", kCount, [](uint32_t* count) {
                                         return FIB_DB_CountNhpExtBySdwanKey(0x01020304, 0x55, count);
                                       }}};

  static constexpr IteratorTexts kByIid{"CreateNhpExtIteratorByIidIndex malloc failed",
                                        "CreateNhpExtIteratorByIidIndex createObj failed, ret: -7",
                                        "CreateNhpExtIteratorByIidIndex createIter failed, ret: -7",
                                        "CreateNhpExtIteratorByIidIndex setProperty failed, ret: -7"};
  static constexpr Iterate kIterators[] = {
      {"ByIidIndex", kNhpIndexKey, kByIid,
       [](uint32_t property) { return FIB_DB_CreateNhpExtIteratorByIidIndex(42, static_cast<int32_t>(property)); },
       true}};
  // The table has no function that steps that iterator or gives it back.
  static void release(FibDbIterator* iterator) {
    db_release_nhp_ext_object(iterator->obj);
    FIB_DB_Free(iterator);
  }
};

INSTANTIATE_TYPED_TEST_SUITE_P(NhpExt, NextHopWriteTest, Ext);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpExt, NextHopReadTest, Ext);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpExt, NextHopRemovalTest, Ext);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpExt, NextHopNullTest, Ext);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpExt, NextHopUpdateTest, Ext);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpExt, NextHopSetterTest, Ext);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpExt, NextHopBulkReadTest, Ext);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpExt, NextHopRowTest, Ext);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpExt, NextHopCallersKeyTest, Ext);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpExt, NextHopCountTest, Ext);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpExt, NextHopIteratorTest, Ext);

class NhpExtTest : public NextHopTableTest<Ext> {};

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

// Read by the primary key.
TEST_F(NhpExtTest, ReadNhpExt_leaves_the_reserved_byte) {
  item.reserved = 0x33;
  EXPECT_EQ(FIB_DB_ReadNhpExt(&item), 0u);
  EXPECT_EQ(item.reserved, 0x33);
}

TEST_F(NhpExtTest, ReadNhpExt_takes_the_key_before_the_object_is_made) {
  platform.watch = [this](std::string_view call) {
    if (call == "db_create_nhp_ext_obj") item.keyWords[0] = 5;
  };
  EXPECT_EQ(FIB_DB_ReadNhpExt(&item), 0u);
  EXPECT_EQ(platform.calls[1], keyed("db_read_obj_with_buf", std::string(Ext::kKey) + ", 136"));
}

// Partial updates.
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

TEST_F(NhpExtTest, Updates_are_never_timed) {
  g_fibGetDbOperTickCost = 1;
  EXPECT_EQ(FIB_DB_UpdateNhpExtContext(&item), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
  EXPECT_TRUE(silent());
}

// Bulk reads.
TEST_F(NhpExtTest, ReadNhpExtByKey_leaves_the_reserved_byte) {
  stock();
  wipe();
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, kSize, items, nullptr), 0u);
  EXPECT_EQ(items[0].reserved, 0x5A);
}

TEST_F(NhpExtTest, ReadNhpExtByKey_whose_row_read_gives_the_code_of_an_end_has_failed) {
  stock();
  platform.fail("db_read_obj_with_buf", 110012);
  EXPECT_EQ(FIB_DB_ReadNhpExtByKey(&desc, &key, sizeof items, items, &filled), 1u);
  EXPECT_EQ(filled, 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpExtByKIterNext read failed, ret: 110012"));
}

// One step of the bulk read, by itself.
class NhpExtStep : public NhpExtTest {
 protected:
  void SetUp() override {
    NhpExtTest::SetUp();
    stock();
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

// The iterators of the table service.
TEST_F(NhpExtTest, CreateNhpExtIteratorByTunnelId_goes_by_the_tunnel_key_and_passes_the_property_through) {
  stock();
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

TEST_F(NhpExtTest, CreateNhpExtIterByTnlIdAndType_goes_by_the_SD_WAN_key) {
  FIB_DB_ReleaseNhpExtIterator(FIB_DB_CreateNhpExtIterByTnlIdAndType(0x01020304, 0x55, 7));
  EXPECT_EQ(platform.calls.front(), "UFIB_DB_CreateIteratorByKey(6, 7, 0x03090005 0403020155)");
}

TEST_F(NhpExtTest, Iterators_that_the_service_refuses_are_NULL_silently) {
  platform.failAlways("UFIB_DB_CreateIteratorByKey", 9);
  EXPECT_EQ(FIB_DB_CreateNhpExtIteratorByTunnelId(1, 2, 3, 4, 0), nullptr);
  EXPECT_EQ(FIB_DB_CreateNhpExtIterByTnlIdAndType(1, 2, 0), nullptr);
  EXPECT_TRUE(silent());
}

TEST_F(NhpExtTest, GetNextNhpExtEntry_hands_the_services_codes_on_silently_and_keeps_the_item) {
  stock();
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
