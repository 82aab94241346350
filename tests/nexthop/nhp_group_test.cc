// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_group_test.cc: next-hop groups over the recorded platform.
#include <algorithm>

#include "platform/ufib.h"
#include "tests/nexthop/group_rows.h"
#include "tests/nexthop/table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

std::string bytes(size_t count, const char* byte) {
  std::string text;
  for (size_t i = 0; i < count; ++i) text += byte;
  return text;
}

// The getters of a group in their two halves.
constexpr const char* kBase =
    "nhp_group_id vr_id vrf_index nhp_number flags overlay_universal_id underlay_universal_id ref_count new_vrf";
constexpr const char* kFurther =
    "nhp_type_high_prio nhp_type_normal_prio status_high_prio status_normal_prio errcode_normal_prio[] forwardVsId "
    "errcode_high_prio[] svc_ctx_high_prio[] svc_ctx_normal_prio[] app_source_id table_smooth_id db_attr_flag "
    "time_stamp_app time_stamp_svc";

struct Group : NextHopTable<Group, FibDbNhpGroupItem> {
  static constexpr TableId kTable = TableId::nhp_group;
  static constexpr const char* kName = "nhp_group";
  static constexpr uint32_t kStat = 1;
  static constexpr auto kMark = &Item::nhp_group_id;
  static constexpr const char* kKey = "0x00010008 2a00000002000000";

  static Item fullItem() { return fullGroup(); }
  static Row rowOf(const Item& item) {
    Row row = rowOfGroup(kTable, item);
    putField(kTable, row, "forwardVsId", item.forwardVsId);
    return row;
  }

  // A write stages a fresh service state, whatever the item holds.
  static constexpr auto write = FIB_DB_WriteNhpGroup;
  static constexpr WriteTexts kWrite{.create = "WriteNhpGroup failed, create object failed, ret:4294967289.",
                                     .stage = "SetNhpGroupItem failed.",
                                     .stageToo = "WriteNhpGroup failed, set item failed, ret:1.",
                                     .failed = "Write nhp group db fail. ret = -7"};
  static Row written() {
    Item item = fullItem();
    item.status_high_prio = item.status_normal_prio = 0;
    std::memset(item.errcode_high_prio, 0, sizeof item.errcode_high_prio);
    std::memset(item.errcode_normal_prio, 0, sizeof item.errcode_normal_prio);
    std::memset(item.svc_ctx_high_prio, 0xFF, sizeof item.svc_ctx_high_prio);
    std::memset(item.svc_ctx_normal_prio, 0xFF, sizeof item.svc_ctx_normal_prio);
    Row row = rowOf(item);
    putField(kTable, row, "oper_bitmap", 1);
    return row;
  }
  static Calls staged() {
    return setCalls(kName,
                    "nhp_group_id=42 vr_id=2 vrf_index=3 nhp_number=7 flags=4 ref_count=5 new_vrf=6 app_source_id=16 "
                    "table_smooth_id=17 db_attr_flag=137438953472 nhp_type_high_prio=8 nhp_type_normal_prio=9 "
                    "status_high_prio=0 status_normal_prio=0 errcode_high_prio=0000 errcode_normal_prio=0000 "
                    "svc_ctx_high_prio=" +
                        bytes(32, "ff") + " svc_ctx_normal_prio=" + bytes(32, "ff") +
                        " oper_bitmap=1 overlay_universal_id=18 underlay_universal_id=19 forwardVsId=27 "
                        "time_stamp_app=141733920768 time_stamp_svc=146028888064");
  }

  static constexpr const char* kRemoveFailed = "RemoveNhpGroup failed, ret: -7";
  static constexpr Removal<Item> kRemovals[] = {
      {"RemoveNhpGroup", kKey, "RemoveNhpGroup failed, create object failed, ret:4294967289.", FIB_DB_RemoveNhpGroup}};

  // Each stages the kind of change with its fields.
  static std::vector<Update<Item>> updates() {
    return {
        {"UpdateNhpGroupContext", FIB_DB_UpdateNhpGroupContext,
         setCalls(kName,
                  "db_attr_flag=137438953472 new_vrf=6 nhp_type_high_prio=8 nhp_type_normal_prio=9 "
                  "overlay_universal_id=18 underlay_universal_id=19 "
                  "svc_ctx_high_prio=" +
                      bytes(31, "14") + "ee svc_ctx_normal_prio=" + bytes(31, "15") +
                      "ff status_high_prio=10 status_normal_prio=11 errcode_high_prio=0c12 errcode_normal_prio=0d13 "
                      "oper_bitmap=8 time_stamp_svc=146028888064 forwardVsId=27")},
        {"UpdateNhpGroupRefCount", FIB_DB_UpdateNhpGroupRefCount, setCalls(kName, "ref_count=5 oper_bitmap=2")},
        {"UpdateNhpGroupSmoothID", FIB_DB_UpdateNhpGroupSmoothID, setCalls(kName, "table_smooth_id=17 oper_bitmap=4")},
        {"UpdateNhpGroupFlags", FIB_DB_UpdateNhpGroupFlags,
         setCalls(kName, "flags=4 db_attr_flag=137438953472 oper_bitmap=16")}};
  }

  static constexpr IteratorTexts kWhole{
      "CreateNhpGroupIterator malloc failed", "CreateNhpGroupIterator createObj failed, ret: -7",
      "CreateNhpGroupIterator createIter failed, ret: -7", "CreateNhpGroupIterator setProperty failed, ret: -7"};
  static constexpr IteratorTexts kByVrf{"CreateNhpGroupIteratorByVrf malloc failed",
                                        "CreateNhpGroupIteratorByVrf createObj failed, ret: -7",
                                        "CreateNhpGroupIteratorByVrf createIter failed, ret: -7",
                                        "CreateNhpGroupIteratorByVrf setProperty failed, ret: -7"};
  static constexpr Iterate kIterators[] = {
      {"whole", "NULL", kWhole, FIB_DB_CreateNhpGroupIterator},
      {"ByVrf", "0x0109000C 010000000200000003000000", kByVrf,
       [](uint32_t property) { return FIB_DB_CreateNhpGroupIteratorByVrf(1, 2, 3, property); }}};

  static constexpr auto next = FIB_DB_GetNextNhpGroup;
  static constexpr auto release = FIB_DB_ReleaseNhpGroupIterator;
  static constexpr StepTexts kStep{.failed = "GetNextNhpGroup failed, ret: -7"};
  static Calls step() { return getCalls(kName, kBase) + getCalls(kName, kFurther); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroup, NextHopWriteTest, Group);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroup, NextHopFieldsTest, Group);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroup, NextHopRemovalTest, Group);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroup, NextHopUpdateTest, Group);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroup, NextHopIteratorTest, Group);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroup, NextHopStepTest, Group);

class NhpGroupTest : public NextHopTableTest<Group> {};

// Keys.
TEST_F(NhpGroupTest, SetNhpGroupKey_stores_group_and_router) {
  FibDbNhpGroupKey key{};
  FIB_DB_SetNhpGroupKey(&key, 7, 8);
  EXPECT_EQ(key.nhp_group_id, 7u);
  EXPECT_EQ(key.vr_id, 8u);
}

TEST_F(NhpGroupTest, SetNhpGroupKeyField_fills_the_key_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc desc{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  FibDbNhpGroupKey key{};
  FIB_DB_SetNhpGroupKeyField(&desc, &key, &item);
  EXPECT_EQ(desc.indexId, 0x00010008u);
  EXPECT_EQ(desc.rsv1, 2u);
  EXPECT_EQ(desc.rsv2, 3u);
  EXPECT_EQ(key.nhp_group_id, 42u);
  EXPECT_EQ(key.vr_id, 2u);
}

// Read.
TEST_F(NhpGroupTest, ReadNhpGroup_fills_every_field_in_order_and_clears_the_mark) {
  FibDbNhpGroupItem out{.nhp_group_id = 42, .vr_id = 2, .reserved = 55, .skip_db_oper = 1, .dest_ip_addr = 66};
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullGroup()));
  EXPECT_EQ(out.skip_db_oper, 0u);
  EXPECT_EQ(out.reserved, 55u);
  EXPECT_EQ(out.dest_ip_addr, 66u);
  EXPECT_EQ(platform.calls, around(3, Calls{keyed("db_read_obj", Group::kKey)} + Group::step()));
}

TEST_F(NhpGroupTest, ReadNhpGroup_missing_key_returns_60_and_keeps_the_item) {
  platform.fail("db_read_obj", 15005);
  item.flags = 99;
  item.skip_db_oper = 1;
  const Row before = rowOf(item);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&item), 60u);
  EXPECT_EQ(rowOf(item), before);
  EXPECT_EQ(item.skip_db_oper, 1u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, ReadNhpGroup_failure_returns_1_says_the_code_and_counts_under_the_ECMP_configuration) {
  platform.fail("db_read_obj", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpGroup failed, ret: 13044"));
  EXPECT_TRUE(countedOnce(14, 0));
}

TEST_F(NhpGroupTest, ReadNhpGroup_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_group_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpGroup failed, create object failed, ret:9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, ReadNhpGroup_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpGroup(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Unpacking: error codes and contexts are copied only while no field has failed.
TEST_F(NhpGroupTest, GetNhpGroupBaseItem_gives_the_OR_of_the_codes_and_says_nothing) {
  platform.fail("db_get_nhp_group_vr_id", 4);
  platform.fail("db_get_nhp_group_new_vrf", 3);
  FibDbNhpGroupItem out{};
  EXPECT_EQ(FIB_DB_GetNhpGroupBaseItem(1, &out), 7u);
  EXPECT_EQ(platform.calls, getCalls("nhp_group", kBase, "1"));
  EXPECT_EQ(out.nhp_group_id, 42u);
  EXPECT_EQ(out.vr_id, 0u);
  EXPECT_EQ(out.ref_count, 5u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, ReadNhpGroup_with_a_failed_field_succeeds_without_the_blocks_behind_it) {
  platform.fail("db_get_nhp_group_flags", 1);
  platform.fail("db_get_nhp_group_db_attr_flag", 4);
  FibDbNhpGroupItem out{.flags = 77, .errcode_high_prio = {7}, .db_attr_flag = 78};
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupItem failed, ret: 5."));
  EXPECT_EQ(platform.calls.size(), 2u + Group::step().size() + 1u);
  EXPECT_EQ(out.flags, 77u);
  EXPECT_EQ(out.errcode_high_prio[0], 7);
  EXPECT_EQ(out.errcode_normal_prio[0], 0);
  EXPECT_EQ(out.svc_ctx_high_prio[31], 0);
  EXPECT_EQ(out.svc_ctx_normal_prio[31], 0);
  EXPECT_EQ(out.forwardVsId, 27);
  EXPECT_EQ(out.db_attr_flag, 78u);
  EXPECT_EQ(out.time_stamp_svc, fullGroup().time_stamp_svc);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, GetNhpGroupItem_copies_the_blocks_before_the_first_failure_only) {
  struct {
    const char* failing;
    bool normalErrcode, highErrcode, highContext, normalContext;
  } const cases[] = {
      {"db_get_nhp_group_errcode_normal_prio", false, false, false, false},
      {"db_get_nhp_group_forwardVsId", false, false, false, false},
      {"db_get_nhp_group_errcode_high_prio", true, false, false, false},
      {"db_get_nhp_group_svc_ctx_high_prio", true, true, false, false},
      {"db_get_nhp_group_svc_ctx_normal_prio", true, true, true, false},
      {"db_get_nhp_group_app_source_id", true, true, true, true},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.failing);
    platform.errorLines.clear();
    platform.fail(one.failing, 8);
    FibDbNhpGroupItem out{};
    FIB_DB_GetNhpGroupItem(1, &out);
    EXPECT_EQ(out.errcode_normal_prio[1], one.normalErrcode ? 0x13 : 0);
    EXPECT_EQ(out.errcode_high_prio[1], one.highErrcode ? 0x12 : 0);
    EXPECT_EQ(out.svc_ctx_high_prio[31], one.highContext ? 0xEE : 0);
    EXPECT_EQ(out.svc_ctx_normal_prio[31], one.normalContext ? 0xFF : 0);
    EXPECT_EQ(out.table_smooth_id, 17u);
    EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupItem failed, ret: 8."));
  }
}

TEST_F(NhpGroupTest, GetNhpGroupItem_whose_context_copy_fails_says_0_and_ends) {
  platform.fail("memcpy_s", 1);
  FibDbNhpGroupItem out{};
  FIB_DB_GetNhpGroupItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupItem memcpy nhp group high svcCtx failed, ret: 0."));
  EXPECT_EQ(platform.calls.back(), "db_get_nhp_group_svc_ctx_high_prio(1, no length)");
  EXPECT_EQ(out.app_source_id, 0u);

  platform.errorLines.clear();
  platform.fail("memcpy_s", 0);
  platform.fail("memcpy_s", 1);
  FIB_DB_GetNhpGroupItem(1, &out);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupItem memcpy nhp group normal svcCtx failed, ret: 0."));
  EXPECT_EQ(platform.calls.back(), "db_get_nhp_group_svc_ctx_normal_prio(1, no length)");
  EXPECT_EQ(out.svc_ctx_high_prio[31], 0xEE);
  EXPECT_EQ(out.app_source_id, 0u);
}

TEST_F(NhpGroupTest, ReadNhpGroup_whose_context_copy_fails_succeeds) {
  platform.fail("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&item), 0u);
  EXPECT_EQ(allCounted(), 0u);
}

// The mark of an item.
TEST_F(NhpGroupTest, A_marked_item_reaches_the_database_by_no_function_but_the_update_with_a_setter) {
  item.skip_db_oper = 0x80000000;
  EXPECT_EQ(FIB_DB_WriteNhpGroup(&item), 0u);
  EXPECT_EQ(FIB_DB_RemoveNhpGroup(&item), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupRefCount(&item), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupSmoothID(&item), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFlags(&item), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupContext(&item), 0u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
  EXPECT_TRUE(silent());
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFields(&item, [](uint64_t, const void*) { return 0u; }), 0u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_update_obj"), 1);
}

TEST_F(NhpGroupTest, Steps_clear_the_mark) {
  stock();
  item.skip_db_oper = 1;
  FibDbIterator* const iterator = FIB_DB_CreateNhpGroupIterator(0xFFFFFFFF);
  EXPECT_EQ(FIB_DB_GetNextNhpGroup(iterator, &item), 0u);
  EXPECT_EQ(item.skip_db_oper, 0u);
  FIB_DB_ReleaseNhpGroupIterator(iterator);
}

// Partial updates.
TEST_F(NhpGroupTest, The_setters_but_for_the_context_try_all_their_fields_and_give_the_OR_silently) {
  platform.failAlways("db_set_nhp_group_ref_count", 1);
  platform.failAlways("db_set_nhp_group_table_smooth_id", 2);
  platform.failAlways("db_set_nhp_group_flags", 4);
  platform.failAlways("db_set_nhp_group_db_attr_flag", 8);
  platform.failAlways("db_set_nhp_group_oper_bitmap", 16);
  EXPECT_EQ(FIB_DB_SetNhpGroupRefCount(1, &item), 17u);
  EXPECT_EQ(FIB_DB_SetNhpGroupSmoothID(1, &item), 18u);
  EXPECT_EQ(FIB_DB_SetNhpGroupFlags(1, &item), 28u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, SetNhpGroupContext_failure_is_information_with_the_OR_and_gives_1) {
  platform.fail("db_set_nhp_group_new_vrf", 4);
  platform.fail("db_set_nhp_group_forwardVsId", 3);
  EXPECT_EQ(FIB_DB_SetNhpGroupContext(1, &item), 1u);
  EXPECT_EQ(platform.calls.size(), 15u);
  EXPECT_THAT(platform.infoLines, ElementsAre("SetNhpGroupContext failed, ret: 7"));
  EXPECT_THAT(platform.errorLines, IsEmpty());
}

TEST_F(NhpGroupTest, SetNhpGroupContext_does_not_look_at_what_became_of_db_attr_flag) {
  platform.fail("db_set_nhp_group_db_attr_flag", 4);
  EXPECT_EQ(FIB_DB_SetNhpGroupContext(1, &item), 0u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, UpdateNhpGroupContext_whose_setter_fails_says_so_twice_and_is_sent_all_the_same) {
  platform.fail("db_set_nhp_group_status_high_prio", 5);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupContext(&item), 0u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_update_obj"), 1);
  EXPECT_THAT(platform.infoLines, ElementsAre("SetNhpGroupContext failed, ret: 5"));
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateNhpGroupFields setField failed."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, UpdateNhpGroupFields_failure_is_information_returns_the_code_and_counts_UPDATE) {
  platform.fail("db_update_obj", 7);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupRefCount(&item), 7u);
  EXPECT_THAT(platform.infoLines, ElementsAre("UpdateNhpGroupFields failed, ret: 7"));
  EXPECT_THAT(platform.errorLines, IsEmpty());
  EXPECT_TRUE(countedOnce(1, 3));
}

TEST_F(NhpGroupTest, UpdateNhpGroupFields_of_a_missing_group_returns_15005_silently) {
  platform.fail("db_update_obj", 15005);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFlags(&item), 15005u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, UpdateNhpGroupFields_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_update_obj", 13044);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupSmoothID(&item), 0u);
  EXPECT_TRUE(countedOnce(1, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupTest, UpdateNhpGroupFields_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_group_obj", 9);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFlags(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateNhpGroupFields failed, create object failed, ret:9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupTest, UpdateNhpGroupFields_of_NULL_or_without_setter_returns_1_silently) {
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFields(nullptr, [](uint64_t, const void*) { return 0u; }), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFields(&item, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Through the table service.
TEST_F(NhpGroupTest, SetNhpGroupVridVrfIndexHashKey_packs_router_and_VRF) {
  uint32_t indexId = 0;
  uint32_t key[3] = {0, 0, 77};
  FIB6_DB_SetNhpGroupVridVrfIndexHashKey(5, 6, &indexId, key);
  EXPECT_EQ(indexId, 0x02090008u);
  EXPECT_THAT(key, ElementsAre(5, 6, 77));
}

TEST_F(NhpGroupTest, CreateNhpGroupIteratorByVridVrfIndex_hands_out_the_services_iterator) {
  void* const iterator = FIB_DB_CreateNhpGroupIteratorByVridVrfIndex(5, 6, 7);
  EXPECT_NE(iterator, nullptr);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_CreateIteratorByKey(0, 7, 0x02090008 0500000006000000)"));
  EXPECT_EQ(std::ranges::count(platform.allCalls, "alloc"), 0);
  UFIB_DB_ReleaseIterator(0, iterator);
}

TEST_F(NhpGroupTest, CreateNhpGroupIteratorByVridVrfIndex_hands_the_services_failure_out_silently) {
  platform.fail("UFIB_DB_CreateIteratorByKey", 9);
  EXPECT_EQ(FIB_DB_CreateNhpGroupIteratorByVridVrfIndex(5, 6, 0xFFFFFFFF), nullptr);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

}  // namespace
}  // namespace fibdb::test
