// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_lla_test.cc: next hops with a 16-byte address over the recorded platform.
#include <algorithm>
#include <cstddef>

#include "tests/nexthop/table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbNhpLlaItem, next_hop) == 4 && offsetof(FibDbNhpLlaItem, out_if_index) == 20);
static_assert(offsetof(FibDbNhpLlaItem, fwd_if_type) == 36 && offsetof(FibDbNhpLlaItem, forwardVsId) == 38);
static_assert(offsetof(FibDbNhpLlaItem, if_type) == 40 && offsetof(FibDbNhpLlaItem, iid_flags) == 48);
static_assert(offsetof(FibDbNhpLlaItem, status_high_prio) == 52 && offsetof(FibDbNhpLlaItem, svc_ctx_high_prio) == 56);
static_assert(offsetof(FibDbNhpLlaItem, app_source_id) == 88 && offsetof(FibDbNhpLlaItem, app_obj_id) == 96);
static_assert(offsetof(FibDbNhpLlaItem, reserved) == 104 && offsetof(FibDbNhpLlaItem, app_version) == 108);
static_assert(offsetof(FibDbNhpLlaItem, time_stamp_svc) == 120 && offsetof(FibDbNhpLlaItem, global_slotid) == 128);
static_assert(sizeof(FibDbNhpLlaItem) == 136);
static_assert(offsetof(FibDbNhpLlaCnt, updatesBegun) == 40 && offsetof(FibDbNhpLlaCnt, lookupsFinished) == 52);
static_assert(sizeof(FibDbNhpLlaCnt) == 56);

// fe80::1 to the eye, though the table takes any sixteen bytes.
constexpr uint8_t kAddress[16] = {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01};

// The bytes of the address and 3.
constexpr const char* kLocalHash = "0x02090014 fe80000000000000000000000000000103000000";

struct Lla : NextHopTable<Lla, FibDbNhpLlaItem> {
  static constexpr TableId kTable = TableId::nhp_lla;
  static constexpr const char* kName = "nhp_lla";
  static constexpr uint32_t kStat = 9;
  static constexpr auto kMark = &Item::app_version;
  // The bytes of 42, the address and 3.
  static constexpr const char* kKey = "0x00010018 2a000000fe80000000000000000000000000000103000000";

  static Item fullItem() {
    Item item{.iid_index = 42,
              .out_if_index = 3,
              .vr_id = 4,
              .vrf_index = 5,
              .flags = 6,
              .fwd_if_type = 7,
              .forwardVsId = 8,
              .if_type = 9,
              .work_if_index = 10,
              .iid_flags = 11,
              .app_source_id = 18,
              .group_smooth_id = 19,
              .app_obj_id = 0x2000000000,
              .reserved = 21,
              .app_version = 22,
              .time_stamp_app = 0x2300000000,
              .global_slotid = 25};
    std::memcpy(item.next_hop, kAddress, sizeof kAddress);
    return withContext(item);
  }

  static Row rowOf(const Item& item) {
    Row row;
    const auto put = [&](std::string_view name, uint64_t value) { putField(kTable, row, name, value); };
    put("iid_index", item.iid_index);
    putBytes(kTable, row, "next_hop", item.next_hop);
    put("out_if_index", item.out_if_index);
    put("vr_id", item.vr_id);
    put("vrf_index", item.vrf_index);
    put("flags", item.flags);
    put("fwd_if_type", item.fwd_if_type);
    put("forwardVsId", item.forwardVsId);
    put("if_type", item.if_type);
    put("iid_flags", item.iid_flags);
    put("work_if_index", item.work_if_index);
    putContext(kTable, row, item);
    put("app_source_id", item.app_source_id);
    put("group_smooth_id", item.group_smooth_id);
    put("app_obj_id", item.app_obj_id);
    put("app_version", item.app_version);
    put("time_stamp_app", item.time_stamp_app);
    put("global_slotid", item.global_slotid);
    return row;
  }

  static Item keyOf(const Item& item) {
    Item key{.iid_index = item.iid_index, .out_if_index = item.out_if_index};
    std::memcpy(key.next_hop, item.next_hop, sizeof key.next_hop);
    return key;
  }

  static constexpr auto write = FIB_DB_WriteNhpLla;
  static constexpr WriteTexts kWrite{.create = "WriteNhpLla failed, create object failed. ret: -7",
                                     .stage = "SetNhpLlaItem setField failed, ret: -7",
                                     .failed = "WRITE fib nhp lla db fail. ret = -7"};
  static Calls staged() {
    return setCalls(kName,
                    "iid_index=42 next_hop=fe800000000000000000000000000001 out_if_index=3 vr_id=4 vrf_index=5 flags=6 "
                    "iid_flags=11 if_type=9 fwd_if_type=7 work_if_index=10 global_slotid=25 app_source_id=18 "
                    "group_smooth_id=19 app_obj_id=137438953472 app_version=22 forwardVsId=8 status_high_prio=12 "
                    "status_normal_prio=13 errcode_high_prio=14 errcode_normal_prio=15 "
                    "svc_ctx_high_prio=160102030405060708090a0b0c0d0eee "
                    "svc_ctx_normal_prio=170102030405060708090a0b0c0d0eff "
                    "time_stamp_app=150323855360 time_stamp_svc=154618822656");
  }

  static constexpr auto read = FIB_DB_ReadNhpLla;
  static constexpr ReadTexts kRead{.create = "ReadNhpLla not success, create object failed. ret: -7",
                                   .failed = "ReadNhpLla failed, ret: -7"};
  static Calls step() {
    return getCalls(kName,
                    "iid_index next_hop out_if_index vr_id vrf_index flags fwd_if_type if_type iid_flags "
                    "work_if_index global_slotid forwardVsId status_high_prio status_normal_prio "
                    "errcode_high_prio errcode_normal_prio svc_ctx_high_prio[] svc_ctx_normal_prio[] "
                    "app_source_id group_smooth_id app_obj_id app_version time_stamp_app time_stamp_svc");
  }

  static constexpr auto unpack = FIB_DB_GetNhpLlaItem;
  static constexpr int kCopiesBefore = 1;  // the address
  static constexpr UnpackTexts kUnpack{"GetNhpLlaItem getField failed, ret: -7",
                                       "GetNhpLlaItem failed to memcpy nhp lla high svcCtx, ret: 22.",
                                       "GetNhpLlaItem failed to memcpy nhp lla normal svcCtx, ret: 22."};

  static constexpr const char* kRemoveFailed = "REMOVE fib nhp lla db fail. ret = -7";
  static constexpr Removal<Item> kRemovals[] = {
      {"RemoveNhpLLA", kKey, "RemoveNhpLla failed, create object failed. ret: -7", FIB_DB_RemoveNhpLLA},
      {"RemoveNhpLlaByNhpIndex", kNhpIndexKey, "RemoveNhpLlaByNhpIndex failed, create object failed. ret: -7",
       ofNhpIndex<FIB_DB_RemoveNhpLlaByNhpIndex>}};

  static std::vector<Update<Item>> updates() {
    return {{"UpdateNhpLlaContext", FIB_DB_UpdateNhpLlaContext, setCalls(kName, kContextStaged)},
            {"UpdateNhpLlaFlag", FIB_DB_UpdateNhpLlaFlag, setCalls(kName, "flags=6")}};
  }

  static constexpr auto readByKey = FIB_DB_ReadNhpLlaByKey;
  static constexpr BulkReadTexts kBulkRead{.create = "ReadNhpLlaByKey failed, create object failed. ret: -7",
                                           .createIter = "ReadNhpLlaByKey failed, create root iter failed. ret: -7",
                                           .step = "ReadNhpLlaByKey failed, ret: -7"};
  static constexpr BulkRead<Item> kBulkReads[] = {{"ByKey", kNhpIndexKey, byKey<FIB_DB_ReadNhpLlaByKey>},
                                                  {"ByNhpIndex", kNhpIndexKey, byNhpIndex<FIB_DB_ReadNhpLlaByNhpIndex>},
                                                  {"ByLocalhash", kLocalHash,
                                                   [](uint32_t bufLen, Item* items, uint32_t*) {
                                                     return FIB_DB_ReadNhpLlaByLocalhash(kAddress, 99, 3, bufLen,
                                                                                         items);
                                                   },
                                                   false}};

  static constexpr auto countByKey = FIB_DB_CountNhpLlaByKey;
  static constexpr CountTexts kCount{.create = "CountNhpLlaByKey failed, create object failed. ret: -7",
                                     .failed = "CountNhpLlaByKey failed, record count by key failed. ret: -7"};
  static constexpr CountTexts kLookup{.create = "GetNhpLlaCountByKey create object failed, ret: -7.",
                                      .failed = "GetNhpLlaCountByKey get record count failed, ret: -7."};
  // The two by local hash are crossed.
  static constexpr Count kCounts[] = {
      {"ByKey", kNhpIndexKey, kCount, byKey<FIB_DB_CountNhpLlaByKey>},
      {"ByNhpIndex", kNhpIndexKey, kCount, byNhpIndex<FIB_DB_CountNhpLlaByNhpIndex>},
      {"ByLocalhash", kLocalHash, kLookup,
       [](uint32_t* count) { return FIB_DB_CountNhpLlaByLocalhash(kAddress, 99, 3, count); }},
      {"GetByLocalhash", kLocalHash, kCount,
       [](uint32_t* count) { return FIB_DB_GetNhpLlaCountByLocalhash(kAddress, 99, 3, count); }},
      {"GetByKey", kNhpIndexKey, kLookup, byKey<FIB_DB_GetNhpLlaCountByKey>, false}};

  static constexpr auto iterateByKey = FIB_DB_CreateNhpLlaIteratorByKey;
  static constexpr IteratorTexts kWhole{
      "CreateNhpLlaIterator malloc failed", "CreateNhpLlaIterator createObj failed, ret: -7",
      "CreateNhpLlaIterator createIter failed, ret: -7", "CreateNhpLlaIterator setProperty failed, ret: -7"};
  static constexpr IteratorTexts kByKey{
      "CreateNhpLlaIteratorByKey malloc failed", "CreateNhpLlaIteratorByKey createObj failed, ret: -7",
      "CreateNhpLlaIteratorByKey createIter failed, ret: -7", "CreateNhpLlaIteratorByKey setProperty failed, ret: -7"};
  static constexpr Iterate kIterators[] = {
      {"whole", "NULL", kWhole, FIB_DB_CreateNhpLlaIterator},
      {"ByKey", kNhpIndexKey, kByKey, byKey<FIB_DB_CreateNhpLlaIteratorByKey>, true},
      {"ByNhpIndex", kNhpIndexKey, kByKey, byNhpIndex<FIB_DB_CreateNhpLlaIteratorByNhpIndex>, true},
      {"ByIfIndex", "0x03090004 03000000", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpLlaIteratorByIfIndex(3, property); }, true},
      {"ByGlobalSlotId", "0x05090004 19000000", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpLlaIteratorByGlobalSlotId(25, property); }, true}};

  static constexpr auto next = FIB_DB_GetNextNhpLlaEntry;
  static constexpr auto release = FIB_DB_ReleaseNhpLlaIterator;
  static constexpr StepTexts kStep{.failed = "GetNextNhpLlaEntry failed, ret: -7"};
};

INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopWriteTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopFieldsTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopReadTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopRemovalTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopNullTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopUpdateTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopBulkReadTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopContextTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopCallersKeyTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopCountTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopIteratorTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopCallersIteratorTest, Lla);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpLla, NextHopStepTest, Lla);

class NhpLlaTest : public NextHopTableTest<Lla> {};

TEST_F(NhpLlaTest, SetNhpLlaKeyField_packs_its_parts_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc out{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint8_t bytes[25];
  bytes[24] = 77;
  FIB_DB_SetNhpLlaKeyField(&out, bytes, &item);
  EXPECT_EQ(out.indexId, 0x00010018u);
  EXPECT_EQ(out.rsv1, 2u);
  EXPECT_EQ(out.rsv2, 3u);
  EXPECT_THAT(bytes, ElementsAre(42, 0, 0, 0, 0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 3, 0, 0, 0, 77));
}

TEST_F(NhpLlaTest, ReadNhpLla_leaves_the_reserved_word) {
  item.reserved = 78;
  EXPECT_EQ(FIB_DB_ReadNhpLla(&item), 0u);
  EXPECT_EQ(item.reserved, 78u);
}

// The address: stored with its length.
TEST_F(NhpLlaTest, ReadNhpLla_of_an_address_longer_than_its_field_succeeds_without_it_and_the_contexts) {
  platform.byteLength = 17;
  FibDbNhpLlaItem out{.iid_index = 42, .svc_ctx_high_prio = {0x55}, .svc_ctx_normal_prio = {0x66}};
  EXPECT_EQ(FIB_DB_ReadNhpLla(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaItem getField failed, ret: 22"));
  EXPECT_EQ(out.next_hop[0], 0);
  EXPECT_EQ(out.svc_ctx_high_prio[0], 0x55);
  EXPECT_EQ(out.svc_ctx_normal_prio[0], 0x66);
  EXPECT_EQ(out.global_slotid, 25u);
  EXPECT_EQ(out.app_source_id, 18u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, GetNhpLlaItem_of_a_shorter_address_fills_its_length) {
  platform.byteLength = 4;
  FibDbNhpLlaItem out{};
  std::memset(out.next_hop, 0x77, sizeof out.next_hop);
  FIB_DB_GetNhpLlaItem(1, &out);
  EXPECT_THAT(out.next_hop,
              ElementsAre(0xFE, 0x80, 0, 0, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77, 0x77));
  EXPECT_EQ(out.svc_ctx_high_prio[15], 0xEE);
  EXPECT_TRUE(silent());
}

TEST_F(NhpLlaTest, GetNhpLlaItem_whose_address_cannot_be_got_copies_from_nowhere_and_goes_on) {
  platform.fail("db_get_nhp_lla_next_hop", 8);
  FibDbNhpLlaItem out{};
  FIB_DB_GetNhpLlaItem(1, &out);
  // 8 of the getter and 22 of the copy.
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaItem getField failed, ret: 30"));
  EXPECT_EQ(std::ranges::count(platform.allCalls, "memcpy_s"), 1);
  EXPECT_EQ(out.out_if_index, 3u);
  EXPECT_EQ(out.svc_ctx_high_prio[15], 0);
}

TEST_F(NhpLlaTest, ReadNhpLlaByLocalhash_checks_the_items_before_it_looks_at_the_address) {
  EXPECT_EQ(FIB_DB_ReadNhpLlaByLocalhash(nullptr, 0, 3, 0, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
}

// Counts.
TEST_F(NhpLlaTest, Counts_by_local_hash_of_a_NULL_address_return_1_silently) {
  uint32_t count = 77;
  EXPECT_EQ(FIB_DB_CountNhpLlaByLocalhash(nullptr, 0, 3, &count), 1u);
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByLocalhash(nullptr, 0, 3, &count), 1u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Which lookups the counter record counts: the two by local hash are crossed.
TEST_F(NhpLlaTest, CountNhpLlaByLocalhash_is_the_counted_lookup_and_GetNhpLlaCountByLocalhash_is_not) {
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByLocalhash(kAddress, 0, 3, &count), 0u);
  EXPECT_EQ(FIB_DB_CountNhpLlaByNhpIndex(42, &count), 0u);
  EXPECT_EQ(FIB_DB_CountNhpLlaByKey(&desc, &key, &count), 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsBegun, 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsFinished, 0u);
  EXPECT_EQ(FIB_DB_CountNhpLlaByLocalhash(kAddress, 0, 3, &count), 0u);
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count), 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsBegun, 2u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsFinished, 2u);
}

TEST_F(NhpLlaTest, GetNhpLlaCountByKey_whose_object_fails_begins_nothing) {
  uint32_t count = 77;
  platform.fail("db_create_nhp_lla_obj", 9);
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count), 9u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpLlaCountByKey create object failed, ret: 9."));
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsBegun, 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsFinished, 0u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, GetNhpLlaCountByKey_hands_NULL_on_to_the_database) {
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(nullptr, nullptr, &filled), 0u);
  EXPECT_EQ(platform.calls[1], "db_get_table_record_count_by_key(#1, NULL)");
}

// What was so when the failure was said.
struct Seen {
  bool alive = false;
  FibDbNhpLlaCnt counters{};
};
Seen seen;
int look(const char*, ...) {
  seen = {PlatformDouble::instance().leaks() != "", g_fibDbNhpLlaCnt};
  return 0;
}

TEST_F(NhpLlaTest, GetNhpLlaCountByKey_has_released_and_finished_before_a_failure_is_said) {
  const FibDbLogHooks hooks{.info = look, .error = look};
  FIB_DB_LogFuncInit(&hooks);
  uint32_t count = 77;
  platform.fail("db_get_table_record_count_by_key", 8);
  seen = {.alive = true};
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count), 8u);
  EXPECT_FALSE(seen.alive);
  EXPECT_EQ(seen.counters.lookupsBegun, 1u);
  EXPECT_EQ(seen.counters.lookupsFinished, 1u);
  EXPECT_EQ(allCounted(), 0u);
}

// Partial updates.
TEST_F(NhpLlaTest, Updates_whose_setter_fails_are_sent_all_the_same) {
  platform.fail("db_set_nhp_lla_flags", 5);
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_TRUE(silent());
  platform.fail("db_set_nhp_lla_status_high_prio", 5);
  EXPECT_EQ(FIB_DB_UpdateNhpLlaContext(&item), 0u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_update_obj"), 2);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_set_nhp_lla_time_stamp_svc"), 1);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpLlaContext failed, set fields failed."));
}

TEST_F(NhpLlaTest, The_setters_give_1_for_the_context_and_the_raw_code_for_the_flags) {
  platform.fail("db_set_nhp_lla_time_stamp_svc", 5);
  EXPECT_EQ(FIB_DB_SetNhpLlaContext(1, &item), 1u);
  platform.fail("db_set_nhp_lla_flags", 5);
  EXPECT_EQ(FIB_DB_SetNhpLlaFlag(1, &item), 5u);
}

TEST_F(NhpLlaTest, Updates_return_every_code_as_it_is_silently_and_uncounted) {
  for (const uint32_t code : {7u, 13044u, 15005u}) {
    platform.fail("db_update_obj", code);
    EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), code);
  }
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, Updates_whose_object_fails_say_so_begin_nothing_and_take_no_time) {
  g_fibGetDbOperTickCost = 1;
  platform.fail("db_create_nhp_lla_obj", 9);
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateNhpllaFields createObj failed, ret: 9"));
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesBegun, 0u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesFinished, 0u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpLlaTest, Updates_check_no_argument) {
  platform.fail("db_create_nhp_lla_obj", 9);
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFields(nullptr, nullptr), 9u);
}

// begun and finished, as each call found them.
TEST_F(NhpLlaTest, Updates_begin_before_the_setter_and_finish_behind_the_release) {
  std::vector<std::string> found;
  platform.watch = [&found](std::string_view call) {
    found.push_back(std::string(call) + " " + std::to_string(g_fibDbNhpLlaCnt.updatesBegun) + " " +
                    std::to_string(g_fibDbNhpLlaCnt.updatesFinished));
  };
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_THAT(found, ElementsAre("db_create_nhp_lla_obj 0 0", "db_set_nhp_lla_flags 1 0", "db_update_obj 1 0",
                                 "db_release_nhp_lla_object 1 0"));
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesBegun, 1u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesFinished, 1u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsBegun, 0u);
}

TEST_F(NhpLlaTest, Counted_lookups_begin_before_the_count_and_finish_behind_the_release) {
  std::vector<std::string> found;
  platform.watch = [&found](std::string_view call) {
    found.push_back(std::string(call) + " " + std::to_string(g_fibDbNhpLlaCnt.lookupsBegun) + " " +
                    std::to_string(g_fibDbNhpLlaCnt.lookupsFinished));
  };
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count), 0u);
  EXPECT_THAT(found, ElementsAre("db_create_nhp_lla_obj 0 0", "db_get_table_record_count_by_key 1 0",
                                 "db_release_nhp_lla_object 1 0"));
  EXPECT_EQ(g_fibDbNhpLlaCnt.lookupsFinished, 1u);
  EXPECT_EQ(g_fibDbNhpLlaCnt.updatesBegun, 0u);
}

TEST_F(NhpLlaTest, Updates_are_timed_while_the_switch_is_on_and_said_when_all_is_finished) {
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
  g_fibGetDbOperTickCost = 1;
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 1u);
  std::vector<std::string> lines = platform.infoLines;
  lines.insert(lines.end(), platform.errorLines.begin(), platform.errorLines.end());
  EXPECT_THAT(lines, ElementsAre(testing::StartsWith("[fib nhp std] DB oper timeCost: latest=")));

  const FibDbLogHooks hooks{.info = look, .error = look};
  FIB_DB_LogFuncInit(&hooks);
  seen = {.alive = true};
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_FALSE(seen.alive);
  EXPECT_EQ(seen.counters.updatesFinished, 3u);
}

TEST_F(NhpLlaTest, The_counter_record_keeps_the_bytes_that_are_not_the_librarys) {
  std::memset(g_fibDbNhpLlaCnt.untouched, 0x5A, sizeof g_fibDbNhpLlaCnt.untouched);
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpLlaFlag(&item), 0u);
  EXPECT_THAT(g_fibDbNhpLlaCnt.untouched, testing::Each(0x5A));
}

}  // namespace
}  // namespace fibdb::test
