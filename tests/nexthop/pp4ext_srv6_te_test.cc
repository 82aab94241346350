// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/pp4ext_srv6_te_test.cc: SRv6 traffic-engineering extensions over the recorded platform.
#include <cstddef>

#include "tests/nexthop/whole_row_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layouts that callers were compiled against: of the item,
#define ITEM_AT(name, offset) static_assert(offsetof(FibDbNhpSrv6TeItem, name) == (offset))
ITEM_AT(addr, 12);
ITEM_AT(key_word4, 28);
ITEM_AT(type_byte, 32);
ITEM_AT(attr_word1, 36);
ITEM_AT(addr2, 40);
ITEM_AT(attr_word3, 60);
ITEM_AT(status_high_prio, 64);
ITEM_AT(attr_byte2, 68);
ITEM_AT(svc_ctx_high_prio, 70);
ITEM_AT(svc_ctx_normal_prio, 86);
ITEM_AT(block1, 102);
ITEM_AT(block2, 118);
ITEM_AT(attr_word4, 136);
ITEM_AT(time_stamp_app, 144);
ITEM_AT(time_stamp_svc, 152);
#undef ITEM_AT
static_assert(sizeof(FibDbNhpSrv6TeItem) == 160);
// and of the row.
static_assert(sizeof(FibDbNhpSrv6TeRow) == 156);

struct Srv6Te : NextHopTable<Srv6Te, FibDbNhpSrv6TeItem> {
  static constexpr TableId kTable = TableId::pp4ext_srv6_te;
  static constexpr const char* kName = "pp4ext_srv6_te";
  static constexpr uint32_t kStat = 17;
  static constexpr uint32_t kRowLength = 156;
  static constexpr auto kMark = &Item::time_stamp_svc;
  static constexpr uint32_t kKeyLength = 33;
  static constexpr int kCopies = 6;
  // 42, 2, 3, 5, the address in network byte order, and 6.
  static constexpr const char* kKey = "0x00010021 2a00000002000000030000000500000020010db8000a000b000c000d000e000f06";

  static Item fullItem() {
    Item item{.key_word1 = 42,
              .key_word2 = 2,
              .key_word3 = 3,
              .key_word4 = 5,
              .type_byte = 6,
              .attr_byte1 = 7,
              .attr_word1 = 0x08080808,
              .attr_word2 = 0x10101010,
              .attr_word3 = 0x11111111,
              .attr_byte2 = 116,
              .attr_byte3 = 117,
              .attr_word4 = 0x22222222,
              .time_stamp_app = 0x2300000023};
    std::memset(item.block1, 0x20, sizeof item.block1);
    std::memset(item.block2, 0x21, sizeof item.block2);
    putWords(item.addr, 0x20010DB8, 0x000A000B, 0x000C000D, 0x000E000F);
    putWords(item.addr2, 0xFE800000, 0x01020304, 0x05060708, 0x090A0B0C);
    return withContext(item);
  }

  // Byte by byte, as a reader of the database sees it.
  static Row rowOf(const Item& item) {
    Row row(kRowLength);
    const auto put = [&row](size_t at, const auto& value) { std::memcpy(row.data() + at, &value, sizeof value); };
    put(0, item.key_word1);
    put(4, item.key_word2);
    put(8, item.key_word3);
    put(12, item.key_word4);
    putNetworkOrder(row, 16, item.addr);
    put(32, item.type_byte);
    put(33, item.attr_byte1);
    put(36, item.attr_word1);
    putNetworkOrder(row, 40, item.addr2);
    put(56, item.attr_word2);
    put(60, item.attr_word3);
    put(64, item.status_high_prio);
    put(65, item.status_normal_prio);
    put(66, item.errcode_high_prio);
    put(67, item.errcode_normal_prio);
    put(70, item.attr_byte2);
    put(71, item.attr_byte3);
    put(72, item.svc_ctx_high_prio);
    put(88, item.svc_ctx_normal_prio);
    put(104, item.block1);
    put(120, item.block2);
    put(136, item.attr_word4);
    put(140, item.time_stamp_app);
    put(148, item.time_stamp_svc);
    return row;
  }

  static constexpr auto pack = FIB_DB_SetNhp4ExtSrv6TeItem;
  static constexpr auto unpack = FIB_DB_GetNhp4ExtSrv6TeItem;
  static constexpr auto keyField = FIB_DB_SetNhp4ExtSrv6TeKeyField;

  static constexpr auto write = FIB_DB_WriteNhp4ExtSrv6Te;
  static constexpr WriteTexts kWrite{.create = "WriteNhpPp4ExtSrv6Te create object failed, ret: -7.",
                                     .stage = "WriteNhpPp4ExtSrv6Te failed, set all fields failed. ret: -7",
                                     .failed = "WRITE nhp Nhp4ExtSrv6Te db fail. ret = 4294967289",
                                     .stageStatus = kCode};
  static Calls staged() { return {"db_set_pp4ext_srv6_te_all_fields(#1, 156)"}; }

  static constexpr auto remove = FIB_DB_RemoveNhpPp4ExtSrv6Te;
  static constexpr const char* kRemoveFailed = "REMOVE nhp Nhp4ExtSrv6Te db fail. ret = 4294967289";
  static constexpr Removal<Item> kRemovals[] = {
      {"by the primary key", kKey, "RemoveNhpPp4ExtSrv6Te create object failed, ret: -7.", remove},
      {"ByNhpIndex", kNhpIndexKey, "RemoveNhp4ExtSrv6TeByNhpIndex create object failed, ret: -7.",
       ofNhpIndex<FIB_DB_RemoveNhp4ExtSrv6TeByNhpIndex>}};

  static constexpr auto updateFields = FIB_DB_UpdateNhp4ExtSrv6TeFields;
  static constexpr auto setContext = FIB_DB_SetNhp4ExtSrv6TeContext;
  static constexpr auto updateContext = FIB_DB_UpdateNhp4ExtSrv6TeContext;
  static constexpr UpdateTexts kUpdate{.create = "UpdateNhp4ExtSrv6TeFields failed, create object failed. ret: -7",
                                       .failed = "UPDATE nhp Nhp4ExtSrv6Te db fail. ret = 4294967289"};
  static std::vector<Update<Item>> updates() {
    return {{"context", updateContext, setCalls(kName, kContextStaged),
             "SetNhp4ExtSrv6TeContext failed, set fields failed."}};
  }

  static constexpr auto readByKey = FIB_DB_ReadNhp4ExtSrv6TeByKey;
  static constexpr BulkReadTexts kBulkRead{
      .create = "ReadNhp4ExtSrv6TeByKey failed, create object failed. ret: 4294967289",
      .createIter = "ReadNhp4ExtSrv6TeByKey failed, create root iter failed. ret: 4294967289",
      .step = "ReadNhp4ExtSrv6TeByKey failed, ret: 4294967289"};
  static Calls step() { return {"db_read_obj_with_buf(#1, NULL, 156)"}; }
  static constexpr BulkRead<Item> kBulkReads[] = {
      {.name = "ByKey", .key = kNhpIndexKey, .call = byKey<readByKey>, .itemsAreChecked = false},
      {"ByNhpIndex", kNhpIndexKey, byNhpIndex<FIB_DB_ReadNhp4ExtSrv6TeByNhpIndex>}};
  static constexpr RowFailure kRow{
      .missing = 15005, .failed = kCode, .text = "ReadNhp4ExtSrv6TeByKey read failed, ret: 4294967289"};

  static constexpr auto countByKey = FIB_DB_CountNhp4ExtSrv6TeByKey;
  static constexpr CountTexts kCount{.create = "CountNhp4ExtSrv6TeByKey create object failed, ret: -7.",
                                     .failed = "CountNhp4ExtSrv6TeByKey get record count failed, ret: -7."};
  static constexpr Count kCounts[] = {
      {"ByKey", kNhpIndexKey, kCount, byKey<countByKey>, false},
      {"ByNhpIndex", kNhpIndexKey, kCount, byNhpIndex<FIB_DB_CountNhp4ExtSrv6TeByNhpIndex>, false}};

  static constexpr IteratorTexts kIterator{"CreateNhp4ExtSrv6TeIterator malloc failed",
                                           "CreateNhp4ExtSrv6TeIterator createObj failed, ret: -7",
                                           "CreateNhp4ExtSrv6TeIterator createIter failed, ret: -7",
                                           "CreateNhp4ExtSrv6TeIterator setProperty failed, ret: -7"};
  static constexpr Iterate kIterators[] = {
      {"whole", "NULL", kIterator, FIB_DB_CreateNhp4ExtSrv6TeIterator},
      {"ByKey", kNhpIndexKey, kIterator, byKey<FIB_DB_CreateNhp4ExtSrv6TeIteratorByKey>, true},
      {"under no key", "NULL", kIterator,
       [](uint32_t property) { return FIB_DB_CreateNhp4ExtSrv6TeIteratorByKey(nullptr, nullptr, property); }, true},
      {"ByNhpIndex", kNhpIndexKey, kIterator, byNhpIndex<FIB_DB_CreateNhp4ExtSrv6TeIterByNhpIndex>, true},
      {"ByPolicyInfo", "0x0209000D 01000000020000000300000004", kIterator,
       [](uint32_t property) { return FIB_DB_CreateNhp4ExtSrv6TeIterByPolicyInfo(1, 2, 3, 4, property); }, true}};

  static constexpr auto next = FIB_DB_GetNextNhp4ExtSrv6TeEntry;
  static constexpr auto release = FIB_DB_ReleaseNhp4ExtSrv6TeIterator;
  static constexpr StepTexts kStep{.failed = "GetNextnhp4ExtSrv6TeEntry failed, ret: 4294967289"};
  static constexpr const char* kStepRow = "Read Nhp4ExtSrv6Te Entry failed, ret: 4294967289";
};

INSTANTIATE_TYPED_TEST_SUITE_P(Pp4ExtSrv6Te, NextHopWriteTest, Srv6Te);
INSTANTIATE_TYPED_TEST_SUITE_P(Pp4ExtSrv6Te, NextHopRemovalTest, Srv6Te);
INSTANTIATE_TYPED_TEST_SUITE_P(Pp4ExtSrv6Te, NextHopUpdateTest, Srv6Te);
INSTANTIATE_TYPED_TEST_SUITE_P(Pp4ExtSrv6Te, NextHopSetterTest, Srv6Te);
INSTANTIATE_TYPED_TEST_SUITE_P(Pp4ExtSrv6Te, NextHopBulkReadTest, Srv6Te);
INSTANTIATE_TYPED_TEST_SUITE_P(Pp4ExtSrv6Te, NextHopRowTest, Srv6Te);
INSTANTIATE_TYPED_TEST_SUITE_P(Pp4ExtSrv6Te, NextHopCountTest, Srv6Te);
INSTANTIATE_TYPED_TEST_SUITE_P(Pp4ExtSrv6Te, NextHopIteratorTest, Srv6Te);
INSTANTIATE_TYPED_TEST_SUITE_P(Pp4ExtSrv6Te, NextHopStepTest, Srv6Te);
INSTANTIATE_TYPED_TEST_SUITE_P(Pp4ExtSrv6Te, WholeRowTest, Srv6Te);

class Pp4ExtSrv6TeTest : public WholeRowTest<Srv6Te> {};

TEST_F(Pp4ExtSrv6TeTest, The_fourth_key_word_stands_before_the_address_in_the_row_and_behind_it_in_the_item) {
  Row row(Srv6Te::kRowLength, 0xEE);
  FIB_DB_SetNhp4ExtSrv6TeItem(row.data(), &item);
  EXPECT_EQ(Row(row.begin() + 12, row.begin() + 33),
            (Row{5, 0, 0, 0, 0x20, 0x01, 0x0D, 0xB8, 0, 0x0A, 0, 0x0B, 0, 0x0C, 0, 0x0D, 0, 0x0E, 0, 0x0F, 6}));
  // The unused bytes are the caller's to zero.
  for (const size_t unused : {34u, 35u, 68u, 69u}) {
    EXPECT_EQ(row[unused], 0xEE);
    row[unused] = 0;
  }
  EXPECT_EQ(row, Srv6Te::rowOf(item));
}

TEST_F(Pp4ExtSrv6TeTest, SetNhp4ExtSrv6TeKeyField_names_the_primary_key) {
  FibDbKeyDesc out{};
  uint8_t bytes[33];
  EXPECT_EQ(FIB_DB_SetNhp4ExtSrv6TeKeyField(&out, bytes, &item), 0u);
  EXPECT_EQ(out.indexId, 0x00010021u);
}

}  // namespace
}  // namespace fibdb::test
