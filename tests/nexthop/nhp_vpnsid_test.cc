// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_vpnsid_test.cc: VPN SID next hops over the recorded platform.
#include <cstddef>

#include "tests/nexthop/whole_row_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layouts that callers were compiled against: of the item,
#define ITEM_AT(name, offset) static_assert(offsetof(FibDbNhpVpnSidItem, name) == (offset))
ITEM_AT(key_word3, 8);
ITEM_AT(attr_word1, 12);
ITEM_AT(sid, 16);
ITEM_AT(addr2, 32);
ITEM_AT(addr3, 48);
ITEM_AT(attr_word2, 64);
ITEM_AT(attr_byte1, 72);
ITEM_AT(flags, 76);
ITEM_AT(status_high_prio, 80);
ITEM_AT(svc_ctx_high_prio, 84);
ITEM_AT(attr_word4, 116);
ITEM_AT(block16a, 124);
ITEM_AT(app_source_id, 156);
ITEM_AT(app_obj_id, 168);
ITEM_AT(app_version, 176);
ITEM_AT(time_stamp_app, 184);
ITEM_AT(block32a, 200);
ITEM_AT(block32b, 232);
#undef ITEM_AT
static_assert(sizeof(FibDbNhpVpnSidItem) == 264);
// and of the row.
static_assert(sizeof(FibDbNhpVpnSidRow) == 256);

struct VpnSid : NextHopTable<VpnSid, FibDbNhpVpnSidItem> {
  static constexpr TableId kTable = TableId::nhp_vpnsid;
  static constexpr const char* kName = "nhp_vpnsid";
  static constexpr uint32_t kStat = 16;
  static constexpr uint32_t kRowLength = 256;
  static constexpr auto kMark = &Item::time_stamp_svc;
  static constexpr uint32_t kKeyLength = 28;
  static constexpr int kCopies = 9;
  // 42, 2, 3 and the SID in network byte order.
  static constexpr const char* kKey = "0x0001001C 2a000000020000000300000020010db8000a000b000c000d000e000f";

  static Item fullItem() {
    Item item{.key_word1 = 42,
              .key_word2 = 2,
              .key_word3 = 3,
              .attr_word1 = 0x04040404,
              .attr_word2 = 0x08080808,
              .attr_word3 = 0x09090909,
              .attr_byte1 = 10,
              .attr_byte2 = 11,
              .attr_byte3 = 112,
              .flags = 0x13131313,
              .attr_word4 = 0x20202020,
              .attr_word5 = 0x21212121,
              .app_source_id = 0x24242424,
              .group_smooth_id = 0x25252525,
              .app_obj_id = 0x2600000026,
              .app_version = 0x27272727,
              .time_stamp_app = 0x2800000028};
    std::memset(item.block16a, 0x22, sizeof item.block16a);
    std::memset(item.block16b, 0x23, sizeof item.block16b);
    std::memset(item.block32a, 0x30, sizeof item.block32a);
    std::memset(item.block32b, 0x31, sizeof item.block32b);
    putWords(item.sid, 0x20010DB8, 0x000A000B, 0x000C000D, 0x000E000F);
    putWords(item.addr2, 0xFE800000, 0x01020304, 0x05060708, 0x090A0B0C);
    putWords(item.addr3, 0xFD000000, 0x11121314, 0x15161718, 0x191A1B1C);
    return withContext(item);
  }

  // Byte by byte, as a reader of the database sees it.
  static Row rowOf(const Item& item) {
    Row row(kRowLength);
    const auto put = [&row](size_t at, const auto& value) { std::memcpy(row.data() + at, &value, sizeof value); };
    put(0, item.key_word1);
    put(4, item.key_word2);
    put(8, item.key_word3);
    putNetworkOrder(row, 12, item.sid);
    put(28, item.attr_word1);
    putNetworkOrder(row, 32, item.addr2);
    putNetworkOrder(row, 48, item.addr3);
    put(64, item.attr_byte1);
    put(65, item.attr_byte2);
    put(66, item.attr_byte3);
    put(68, item.flags);
    put(72, item.attr_word2);
    put(76, item.attr_word3);
    put(80, item.status_high_prio);
    put(81, item.status_normal_prio);
    put(82, item.errcode_high_prio);
    put(83, item.errcode_normal_prio);
    put(84, item.svc_ctx_high_prio);
    put(100, item.svc_ctx_normal_prio);
    put(116, item.attr_word4);
    put(120, item.attr_word5);
    put(124, item.block16a);
    put(140, item.block16b);
    put(156, item.app_source_id);
    put(160, item.group_smooth_id);
    put(164, item.app_obj_id);
    put(172, item.app_version);
    put(176, item.time_stamp_app);
    put(184, item.time_stamp_svc);
    put(192, item.block32a);
    put(224, item.block32b);
    return row;
  }

  static constexpr auto pack = FIB_DB_SetNhpVpnSidItem;
  static constexpr auto unpack = FIB_DB_GetNhpVpnSidItem;
  static constexpr auto keyField = FIB_DB_SetNhpVpnSidKeyField;

  static constexpr auto write = FIB_DB_WriteNhpVpnSid;
  static constexpr WriteTexts kWrite{.create = "WriteNhpVpnSid create object failed, ret: -7.",
                                     .stage = "WritenhpVpnSidItem failed, set all fields failed. ret: -7",
                                     .failed = "WRITE nhp vpnsid db fail. ret = 4294967289",
                                     .stageStatus = kCode};
  static Calls staged() { return {"db_set_nhp_vpnsid_all_fields(#1, 256)"}; }

  static constexpr auto remove = FIB_DB_RemoveNhpVpnSid;
  static constexpr const char* kRemoveFailed = "REMOVE nhp vpnsid db fail. ret = 4294967289";
  static constexpr Removal<Item> kRemovals[] = {
      {"by the primary key", kKey, "RemoveNhpVpnSid create object failed, ret: -7.", remove},
      {"ByNhpIndex", kNhpIndexKey, "RemoveNhpVpnSidByIIDIndex create object failed, ret: -7.",
       ofNhpIndex<FIB_DB_RemoveNhpVpnSidByNhpIndex>}};

  static constexpr auto updateFields = FIB_DB_UpdateNhpVpnSidFields;
  static constexpr auto setContext = FIB_DB_SetNhpVpnSidContext;
  static constexpr auto updateContext = FIB_DB_UpdateNhpVpnSidContext;
  static constexpr UpdateTexts kUpdate{.create = "UpdateNhpVpnSidFields failed, create object failed. ret: -7",
                                       .failed = "UPDATE nhp vpnsid db fail. ret = 4294967289"};
  static std::vector<Update<Item>> updates() {
    return {
        {"context", updateContext, setCalls(kName, kContextStaged), "SetNhpVpnSidContext failed, set fields failed."},
        {"flags", FIB_DB_UpdateNhpVpnSidFlag, setCalls(kName, "flags=320017171"),
         "SetNhpVpnSidFlags setField failed, ret: -7."}};
  }

  static constexpr auto readByKey = FIB_DB_ReadNhpVpnSidByKey;
  static constexpr BulkReadTexts kBulkRead{
      .create = "ReadNhpVpnSidByKey failed, create object failed. ret: 4294967289",
      .createIter = "ReadNhpVpnSidByKey failed, create root iter failed. ret: 4294967289",
      .step = "ReadNhpVpnSidByKey failed, ret: 4294967289"};
  static Calls step() { return {"db_read_obj_with_buf(#1, NULL, 256)"}; }
  static constexpr BulkRead<Item> kBulkReads[] = {
      {.name = "ByKey", .key = kNhpIndexKey, .call = byKey<readByKey>, .itemsAreChecked = false},
      {"ByNhpIndex", kNhpIndexKey, byNhpIndex<FIB_DB_ReadNhpVpnSidByNhpIndex>}};
  static constexpr RowFailure kRow{
      .missing = 15005, .failed = kCode, .text = "ReadNhpVpnSidByKey read failed, ret: 4294967289"};

  static constexpr auto countByKey = FIB_DB_CountNhpVpnSidByKey;
  static constexpr CountTexts kCount{.create = "CountNhpVpnSidByKey create object failed, ret: -7.",
                                     .failed = "CountNhpVpnSidByKey get record count failed, ret: -7."};
  static constexpr Count kCounts[] = {
      {"ByKey", kNhpIndexKey, kCount, byKey<countByKey>, false},
      {"ByNhpIndex", kNhpIndexKey, kCount, byNhpIndex<FIB_DB_CountNhpVpnSidByNhpIndex>, false}};

  static constexpr IteratorTexts kWhole{
      "CreateNhpVpnSidIterator malloc failed", "CreateNhpVpnSidIterator createObj failed, ret: -7",
      "CreateNhpVpnSidIterator createIter failed, ret: -7", "CreateNhpVpnSidIterator setProperty failed, ret: -7"};
  static constexpr IteratorTexts kByKey{"CreateNhpVpnSIdIteratorByKey malloc failed",
                                        "CreateNhpVpnSidIteratorByKey createObj failed, ret: -7",
                                        "CreateNhpVpnSidIteratorByKey createIter failed, ret: -7",
                                        "CreateNhpVpnSidIteratorByKey setProperty failed, ret: -7"};
  static constexpr Iterate kIterators[] = {
      {"whole", "NULL", kWhole, FIB_DB_CreateNhpVpnSidIterator},
      {"ByKey", kNhpIndexKey, kByKey, byKey<FIB_DB_CreateNhpVpnSidIteratorByKey>, true},
      {"under no key", "NULL", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpVpnSidIteratorByKey(nullptr, nullptr, property); }, true},
      {"ByNhpIndex", kNhpIndexKey, kByKey, byNhpIndex<FIB_DB_CreateNhpVpnSidIteratorByNhpIndex>, true},
      {"ByXsidInfo", "0x0209001A 0100000002000000fe8000000102030405060708090a0b0c0304", kByKey,
       [](uint32_t property) {
         return FIB_DB_CreateNhpVpnSidIteratorByXsidInfo(1, 2, fullItem().addr2, 3, 4, property);
       },
       true},
      {"ByVpnSid", "0x03090018 010000000200000020010db8000a000b000c000d000e000f", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpVpnSidIteratorByVpnSid(1, 2, fullItem().sid, property); }, true}};

  static constexpr auto next = FIB_DB_GetNextNhpVpnSidEntry;
  static constexpr auto release = FIB_DB_ReleaseNhpVpnSidIterator;
  static constexpr StepTexts kStep{.failed = "GetNextNhpVpnSidEntry failed, ret: 4294967289"};
  static constexpr const char* kStepRow = "ReadNhpVpnSidByKey read failed, ret: 4294967289";
};

INSTANTIATE_TYPED_TEST_SUITE_P(NhpVpnSid, NextHopWriteTest, VpnSid);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVpnSid, NextHopRemovalTest, VpnSid);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVpnSid, NextHopUpdateTest, VpnSid);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVpnSid, NextHopSetterTest, VpnSid);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVpnSid, NextHopBulkReadTest, VpnSid);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVpnSid, NextHopRowTest, VpnSid);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVpnSid, NextHopCountTest, VpnSid);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVpnSid, NextHopIteratorTest, VpnSid);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVpnSid, NextHopStepTest, VpnSid);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpVpnSid, WholeRowTest, VpnSid);

class NhpVpnSidTest : public WholeRowTest<VpnSid> {};

TEST_F(NhpVpnSidTest, The_SID_stands_in_the_row_in_network_byte_order) {
  const Row row = VpnSid::rowOf(item);
  EXPECT_EQ(Row(row.begin() + 12, row.begin() + 28),
            (Row{0x20, 0x01, 0x0D, 0xB8, 0, 0x0A, 0, 0x0B, 0, 0x0C, 0, 0x0D, 0, 0x0E, 0, 0x0F}));
  Row packed(VpnSid::kRowLength);
  FIB_DB_SetNhpVpnSidItem(packed.data(), &item);
  EXPECT_EQ(packed, row);
}

TEST_F(NhpVpnSidTest, SetNhpVpnSidItem_leaves_the_unused_byte_to_the_caller) {
  Row row(VpnSid::kRowLength, 0xEE);
  FIB_DB_SetNhpVpnSidItem(row.data(), &item);
  EXPECT_EQ(row[67], 0xEE);
  row[67] = 0;
  EXPECT_EQ(row, VpnSid::rowOf(item));
}

TEST_F(NhpVpnSidTest, SetNhpVpnSidKeyField_names_the_primary_key) {
  FibDbKeyDesc out{};
  uint8_t bytes[28];
  EXPECT_EQ(FIB_DB_SetNhpVpnSidKeyField(&out, bytes, &item), 0u);
  EXPECT_EQ(out.indexId, 0x0001001Cu);
}

// Read of one record, through the table service.
TEST_F(NhpVpnSidTest, ReadNhpVpnSid_asks_the_service_and_fills_every_field) {
  FibDbNhpVpnSidItem out{.key_word1 = 42, .key_word2 = 2, .key_word3 = 3};
  std::memcpy(out.sid, item.sid, sizeof out.sid);
  EXPECT_EQ(FIB_DB_ReadNhpVpnSid(&out), 0u);
  EXPECT_EQ(VpnSid::rowOf(out), VpnSid::rowOf(item));
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_Read(8, " + std::string(VpnSid::kKey) + ", 256)"));
}

TEST_F(NhpVpnSidTest, ReadNhpVpnSid_returns_every_code_as_it_is_and_keeps_the_item) {
  item.flags = 99;
  const Row before = VpnSid::rowOf(item);
  for (const uint32_t code : {7u, 13044u, 15005u, 110012u}) {
    platform.fail("UFIB_DB_Read", code);
    EXPECT_EQ(FIB_DB_ReadNhpVpnSid(&item), code);
  }
  EXPECT_EQ(VpnSid::rowOf(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVpnSidTest, ReadNhpVpnSid_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpVpnSid(nullptr), 1u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpVpnSidTest, SetNhpVpnSidFlag_gives_the_raw_code) {
  platform.fail("db_set_nhp_vpnsid_flags", 5);
  EXPECT_EQ(FIB_DB_SetNhpVpnSidFlag(1, &item), 5u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpVpnSidTest, Iterators_by_an_address_that_cannot_be_copied_say_so_and_are_made_without_it) {
  platform.fail("memcpy_s", 1);
  FIB_DB_ReleaseNhpVpnSidIterator(FIB_DB_CreateNhpVpnSidIteratorByXsidInfo(1, 2, item.addr2, 3, 4, 5));
  EXPECT_EQ(platform.calls[1],
            "db_create_root_iter(#1, 0x0209001A 0100000002000000000000000000000000000000000000000304)");
  platform.calls.clear();
  platform.fail("memcpy_s", 1);
  FIB_DB_ReleaseNhpVpnSidIterator(FIB_DB_CreateNhpVpnSidIteratorByVpnSid(1, 2, item.sid, 5));
  EXPECT_EQ(platform.calls[1], "db_create_root_iter(#2, 0x03090018 010000000200000000000000000000000000000000000000)");
  EXPECT_THAT(platform.errorLines, ElementsAre("set vpnsidIterator keydata xsid failed, ret: 22",
                                               "set nhp vpnsidIterator keydata vpnsid failed, ret:22"));
  EXPECT_EQ(allCounted(), 0u);
}

}  // namespace
}  // namespace fibdb::test
