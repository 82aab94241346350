// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_group_node_test.cc: members of next-hop groups over the recorded platform.
#include <algorithm>
#include <cstddef>
#include <ostream>

#include "tests/nexthop/table_tests.h"
#include "tests/support/group_items.h"

namespace fibdb::test {
namespace {

using schema::TableId;

struct Member : NextHopTable<Member, FibDbNhpGroupNodeItem> {
  static constexpr TableId kTable = TableId::nhp_group_node;
  static constexpr const char* kName = "nhp_group_node";
  static constexpr uint32_t kStat = 2;
  static constexpr auto kMark = &Item::sequence;
  // The bytes of 42, 2, 3, 4, 5, 6, 7 and, in two of them, 13.
  static constexpr const char* kKey = "0x0001001E 2a0000000200000003000000040000000500000006000000070000000d00";

  static Item fullItem() { return fullMember(); }
  static Row rowOf(const Item& item) {
    Row row;
    const auto put = [&](std::string_view name, uint64_t value) { putField(kTable, row, name, value); };
    put("nhp_group_id", item.nhp_group_id);
    put("attribute_id", item.attribute_id);
    put("primary_nhp_id", item.primary_nhp_id);
    put("primary_label", item.primary_label);
    put("backup_nhp_id", item.backup_nhp_id);
    put("backup_label", item.backup_label);
    put("vr_id", item.vr_id);
    put("sequence", item.sequence);
    put("rsv", item.rsv);
    put("vrf_index", item.vrf_index);
    put("flags", item.flags);
    put("app_source_id", item.app_source_id);
    put("group_smooth_id", item.group_smooth_id);
    put("app_obj_id", item.app_obj_id);
    put("time_stamp_app", item.time_stamp_app);
    put("time_stamp_svc", item.time_stamp_svc);
    put("bandwidth", item.bandwidth);
    return row;
  }

  static Item keyOf(const Item& item) {
    Item key{};
    FIB_DB_SetNhpGroupNodeKey(&key, &item);
    return key;
  }

  // An object that fails is not said.
  static constexpr auto write = FIB_DB_WriteNhpGroupNode;
  static constexpr WriteTexts kWrite{.stage = "SetNhpGroupNodeItem setField failed, ret: -7",
                                     .failed = "WRITE fib nhp group node db fail. ret = -7"};
  static Calls staged() {
    return setCalls(kName,
                    "nhp_group_id=42 attribute_id=2 primary_nhp_id=3 primary_label=4 backup_nhp_id=5 "
                    "backup_label=6 vr_id=7 sequence=13 rsv=14 vrf_index=8 flags=9 bandwidth=17 "
                    "app_source_id=10 group_smooth_id=11 app_obj_id=77309411328 time_stamp_app=90194313216 "
                    "time_stamp_svc=94489280512");
  }

  static constexpr auto read = FIB_DB_ReadNhpGroupNode;
  static constexpr ReadTexts kRead{.failed = "ReadNhpGroupNode failed, ret: -7"};
  static Calls step() {
    return getCalls(kName,
                    "nhp_group_id attribute_id primary_nhp_id primary_label backup_nhp_id backup_label vr_id "
                    "sequence rsv vrf_index flags app_source_id bandwidth group_smooth_id app_obj_id "
                    "time_stamp_app time_stamp_svc");
  }

  static constexpr const char* kRemoveFailed = "REMOVE fib nhp group node db fail. ret = -7";
  static constexpr Removal<Item> kRemovals[] = {{"RemoveNhpGroupNode", kKey, nullptr, FIB_DB_RemoveNhpGroupNode}};

  static constexpr auto updateFields = FIB_DB_UpdateNhpGroupNodeFields;
  static constexpr UpdateTexts kUpdate{.failed = "UPDATE fib nhp group node db fail. ret = -7"};
  static std::vector<Update<Item>> updates() {
    return {{"UpdateNhpGroupNodeFlags", FIB_DB_UpdateNhpGroupNodeFlags, setCalls(kName, "flags=9"),
             "SetNhpGroupNodeFlags setField failed, ret: -7"},
            {"UpdateNhpGroupNodeSmoothID", FIB_DB_UpdateNhpGroupNodeSmoothID, setCalls(kName, "group_smooth_id=11"),
             "SetNhpGroupNodeSmoothID setField failed, ret: -7"}};
  }

  static constexpr BulkReadTexts kBulkRead{.step = "ReadNhpGroupNodeByNhpGroup failed, ret: -7"};
  static constexpr BulkRead<Item> kBulkReads[] = {
      {"ByNhpGroup", "0x01090008 2a00000007000000",
       [](uint32_t bufLen, Item* items, uint32_t*) { return FIB_DB_ReadNhpGroupNodeByNhpGroup(42, 7, bufLen, items); },
       false}};

  static constexpr CountTexts kCount{};
  static constexpr Count kCounts[] = {
      {"ByNhpGroup", "0x01090008 2a00000007000000", kCount,
       [](uint32_t* count) { return FIB_DB_CountNhpGroupNodeByNhpGroup(42, 7, count); }},
      {"ByPrimaryNhpId", "0x02090004 03000000", kCount,
       [](uint32_t* count) { return FIB_DB_CountNhpGroupNodeByPrimaryNhpId(3, count); }},
      {"ByBackupNhpId", "0x03090004 05000000", kCount,
       [](uint32_t* count) { return FIB_DB_CountNhpGroupNodeByBackupNhpId(5, count); }}};

  static constexpr IteratorTexts kByKey{"CreateNhpGrpNodeIteratorByKey malloc failed",
                                        "CreateNhpGrpNodeIteratorByKey createObj failed, ret: -7",
                                        "CreateNhpGrpNodeIteratorByKey createIter failed, ret: -7",
                                        "CreateNhpGrpNodeIteratorByKey setProperty failed, ret: -7"};
  static constexpr Iterate kIterators[] = {
      {"ByNhpGrpId", "0x01090008 2a00000007000000", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpGrpNodeIteratorByNhpGrpId(42, 7, property); }},
      {"ByPrimaryNhpId", "0x02090004 03000000", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpGrpNodeIteratorByPrimaryNhpId(3, property); }},
      {"ByBackupNhpId", "0x03090004 05000000", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpGrpNodeIteratorByBackupNhpId(5, property); }},
      {"ByKey", "0x04090008 0700000002000000", kByKey,
       [](uint32_t property) {
         const FibDbKeyDesc desc{.indexId = FIB_DB_NHP_GROUP_NODE_BY_PRI_ATTR, .rsv1 = 0, .rsv2 = 0};
         const uint32_t key[2] = {7, 2};
         return FIB_DB_CreateNhpGrpNodeIteratorByKey(&desc, key, property);
       }},
      {"under no key", "NULL", kByKey,
       [](uint32_t property) { return FIB_DB_CreateNhpGrpNodeIteratorByKey(nullptr, nullptr, property); }}};

  static constexpr auto next = FIB_DB_GetNextNhpGroupNode;
  static constexpr auto release = FIB_DB_ReleaseNhpGrpNodeIterator;
  static constexpr StepTexts kStep{.failed = "GetNextNhpGroupNode failed, ret: -7"};
};

INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroupNode, NextHopWriteTest, Member);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroupNode, NextHopFieldsTest, Member);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroupNode, NextHopReadTest, Member);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroupNode, NextHopRemovalTest, Member);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroupNode, NextHopNullTest, Member);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroupNode, NextHopUpdateTest, Member);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroupNode, NextHopSetterTest, Member);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroupNode, NextHopBulkReadTest, Member);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroupNode, NextHopCountTest, Member);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroupNode, NextHopIteratorTest, Member);
INSTANTIATE_TYPED_TEST_SUITE_P(NhpGroupNode, NextHopStepTest, Member);

class NhpGroupNodeTest : public NextHopTableTest<Member> {
 protected:
  uint32_t count = 77;
};

// Keys.
TEST_F(NhpGroupNodeTest, FillNhpGroupNodeKey_packs_30_bytes_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc desc{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint8_t key[31] = {};
  key[30] = 77;
  FIB_DB_FillNhpGroupNodeKey(&item, &desc, key);
  EXPECT_EQ(desc.indexId, 0x0001001Eu);
  EXPECT_EQ(desc.rsv1, 2u);
  EXPECT_EQ(desc.rsv2, 3u);
  EXPECT_THAT(
      key, ElementsAre(42, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0, 5, 0, 0, 0, 6, 0, 0, 0, 7, 0, 0, 0, 13, 0, 77));
}

TEST_F(NhpGroupNodeTest, FillNhpGroupNodeKey_of_NULL_does_nothing) {
  FibDbKeyDesc desc{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint8_t key[30] = {99};
  FIB_DB_FillNhpGroupNodeKey(nullptr, &desc, key);
  FIB_DB_FillNhpGroupNodeKey(&item, nullptr, key);
  FIB_DB_FillNhpGroupNodeKey(&item, &desc, nullptr);
  EXPECT_EQ(desc.indexId, 1u);
  EXPECT_EQ(key[0], 99);
}

TEST_F(NhpGroupNodeTest, SetNhpGroupNodeKey_copies_the_key_and_nothing_else) {
  FibDbNhpGroupNodeItem out{};
  FIB_DB_SetNhpGroupNodeKey(&out, &item);
  const FibDbNhpGroupNodeItem expected{.nhp_group_id = 42,
                                       .attribute_id = 2,
                                       .primary_nhp_id = 3,
                                       .primary_label = 4,
                                       .backup_nhp_id = 5,
                                       .backup_label = 6,
                                       .vr_id = 7,
                                       .sequence = 13};
  EXPECT_EQ(rowOf(out), rowOf(expected));
}

TEST_F(NhpGroupNodeTest, SetNhpGroupNodeKeyByPriAttr_stores_router_and_attribute) {
  FIB_DB_SetNhpGroupNodeKeyByPriAttr(&item, 70, 20);
  FibDbNhpGroupNodeItem expected = fullMember();
  expected.vr_id = 70;
  expected.attribute_id = 20;
  EXPECT_EQ(rowOf(item), rowOf(expected));
}

TEST_F(NhpGroupNodeTest, SetNhpGroupNodeAttrIdKey_packs_router_and_attribute) {
  uint32_t indexId = 0;
  uint32_t key[3] = {0, 0, 77};
  FIB_DB_SetNhpGroupNodeAttrIdKey(&item, &indexId, key);
  EXPECT_EQ(indexId, 0x04090008u);
  EXPECT_THAT(key, ElementsAre(7, 2, 77));
}

TEST_F(NhpGroupNodeTest, An_object_that_fails_is_not_said_by_the_functions_by_next_hop_and_gives_its_code) {
  platform.failAlways("db_create_nhp_group_node_obj", 9);
  EXPECT_EQ(FIB_DB_CountNhpGroupNodeByNhpIndex(1, &count), 9u);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(1, sizeof item, &item), 9u);
  EXPECT_EQ(count, 77u);
  EXPECT_TRUE(saysAndCountsNothing());
}

TEST_F(NhpGroupNodeTest, ReadNhpGroupNodeByPriAttr_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByPriAttr(nullptr), 1u);
  EXPECT_TRUE(nothingHappened());
}

// Whether the object was still alive when its failure was said.
bool aliveWhenSaid;
int notice(const char*, ...) {
  aliveWhenSaid = PlatformDouble::instance().leaks() != "";
  return 0;
}

TEST_F(NhpGroupNodeTest, Failures_are_said_before_the_object_is_released) {
  const FibDbLogHooks hooks{.info = notice, .error = notice};
  FIB_DB_LogFuncInit(&hooks);
  const auto saidAlive = [&](const char* call, auto run) {
    aliveWhenSaid = false;
    platform.fail(call, 7);
    run();
    return aliveWhenSaid;
  };
  EXPECT_TRUE(saidAlive("db_write_obj", [&] { FIB_DB_WriteNhpGroupNode(&item); }));
  EXPECT_TRUE(saidAlive("db_update_obj", [&] { FIB_DB_UpdateNhpGroupNodeFlags(&item); }));
  EXPECT_TRUE(saidAlive("db_remove_obj", [&] { FIB_DB_RemoveNhpGroupNode(&item); }));
  EXPECT_TRUE(saidAlive("db_read_obj", [&] { FIB_DB_ReadNhpGroupNode(&item); }));
  EXPECT_TRUE(saidAlive("db_root_iterator_next", [&] { FIB_DB_ReadNhpGroupNodeByNhpGroup(1, 2, sizeof item, &item); }));
}

TEST_F(NhpGroupNodeTest, ReadNhpGroupNode_with_failed_fields_says_the_OR_and_succeeds) {
  platform.fail("db_get_nhp_group_node_nhp_group_id", 1);
  platform.fail("db_get_nhp_group_node_time_stamp_svc", 4);
  FibDbNhpGroupNodeItem out{.nhp_group_id = 77, .time_stamp_svc = 78};
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupNodeItem getField failed, ret: 5"));
  EXPECT_EQ(platform.calls.size(), 1u + Member::fetch().size() + 1u);
  EXPECT_EQ(out.nhp_group_id, 77u);
  EXPECT_EQ(out.time_stamp_svc, 78u);
  EXPECT_EQ(out.bandwidth, 17u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupNodeTest, The_setters_give_the_raw_code) {
  platform.fail("db_set_nhp_group_node_flags", 5);
  EXPECT_EQ(FIB_DB_SetNhpGroupNodeFlags(1, &item), 5u);
  platform.fail("db_set_nhp_group_node_group_smooth_id", 6);
  EXPECT_EQ(FIB_DB_SetNhpGroupNodeSmoothID(1, &item), 6u);
}

// Counts of both halves.
TEST_F(NhpGroupNodeTest, CountNhpGroupNodeByNhpIndex_is_the_sum_of_primary_and_backup) {
  platform.countResult = 4;
  platform.watch = [&](std::string_view call) {
    if (call == "db_release_nhp_group_node_object") platform.countResult = 3;
  };
  EXPECT_EQ(FIB_DB_CountNhpGroupNodeByNhpIndex(9, &count), 0u);
  EXPECT_EQ(count, 7u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre("db_create_nhp_group_node_obj(9)", "db_get_table_record_count_by_key(#1, 0x02090004 09000000)",
                  "db_release_nhp_group_node_object(#1)", "db_create_nhp_group_node_obj(9)",
                  "db_get_table_record_count_by_key(#2, 0x03090004 09000000)", "db_release_nhp_group_node_object(#2)"));
}

TEST_F(NhpGroupNodeTest, CountNhpGroupNodeByNhpIndex_stops_at_the_first_failure_and_leaves_the_count) {
  platform.fail("db_get_table_record_count_by_key", 8);
  EXPECT_EQ(FIB_DB_CountNhpGroupNodeByNhpIndex(9, &count), 8u);
  EXPECT_EQ(platform.calls.size(), 3u);
  platform.fail("db_get_table_record_count_by_key", 0);
  platform.fail("db_get_table_record_count_by_key", 7);
  EXPECT_EQ(FIB_DB_CountNhpGroupNodeByNhpIndex(9, &count), 7u);
  EXPECT_EQ(count, 77u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupNodeTest, CountNhpGroupNodeByNhpIndex_into_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_CountNhpGroupNodeByNhpIndex(9, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
}

// Bulk reads.
class NhpGroupNodeBulk : public NhpGroupNodeTest {
 protected:
  void SetUp() override {
    NhpGroupNodeTest::SetUp();
    fillEntries(1, 3);
    for (FibDbNhpGroupNodeItem& slot : members) slot = {.nhp_group_id = 0xDEAD};
  }

  // Records whose sequences are first, first + 1, and so on.
  void fillEntries(uint16_t first, uint16_t howMany) {
    for (uint16_t i = 0; i < howMany; ++i) {
      FibDbNhpGroupNodeItem entry = fullMember();
      entry.sequence = static_cast<uint16_t>(first + i);
      platform.entries.push_back(rowOf(entry));
    }
  }

  size_t filledMembers() const {
    return static_cast<size_t>(std::ranges::count(members, 42u, &FibDbNhpGroupNodeItem::nhp_group_id));
  }
  size_t steps() const { return static_cast<size_t>(std::ranges::count(platform.allCalls, "db_root_iterator_next")); }

  FibDbNhpGroupNodeItem members[8];  // room for both halves
};

TEST_F(NhpGroupNodeBulk, Bulk_reads_by_next_hop_into_NULL_return_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(3, kSize, nullptr), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpPriGroupNodeByNhpIndex(1, 3, 1, nullptr, members), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpPriGroupNodeByNhpIndex(1, 3, 1, &count, nullptr), 1u);
  EXPECT_EQ(count, 77u);
  EXPECT_TRUE(nothingHappened());
}

// The two halves of the read by next hop, on an object of the caller's.
struct Half {
  const char* name;
  const char* key;
  const char* failed;
  uint32_t (*read)(uint64_t obj, uint32_t nhpIndex, uint32_t capacity, uint32_t* count, FibDbNhpGroupNodeItem* buf);

  friend void PrintTo(const Half& row, std::ostream* out) { *out << row.name; }
};

class NhpGroupNodeHalf : public NhpGroupNodeBulk, public testing::WithParamInterface<Half> {
 protected:
  void SetUp() override {
    NhpGroupNodeBulk::SetUp();
    ASSERT_EQ(db_create_nhp_group_node_obj(5, 0, &obj), 0u);
    platform.calls.clear();
  }
  void TearDown() override { db_release_nhp_group_node_object(obj); }

  uint32_t read(uint32_t capacity) { return GetParam().read(obj, 9, capacity, &count, members); }

  uint64_t obj = 0;
};

TEST_P(NhpGroupNodeHalf, reads_up_to_its_capacity_and_leaves_the_object_to_the_caller) {
  EXPECT_EQ(read(2), 0u);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(filledMembers(), 2u);
  EXPECT_EQ(steps(), 2u);
  EXPECT_EQ(members[1].sequence, 2);
  EXPECT_EQ(platform.calls.front(), keyed("db_create_root_iter", GetParam().key));
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_release_nhp_group_node_object"), 0);
}

TEST_P(NhpGroupNodeHalf, ends_where_the_records_end) {
  EXPECT_EQ(read(8), 0u);
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(filledMembers(), 3u);
  EXPECT_EQ(steps(), 4u);
  EXPECT_TRUE(silent());
}

TEST_P(NhpGroupNodeHalf, without_capacity_makes_its_iterator_and_counts_0) {
  EXPECT_EQ(read(0), 0u);
  EXPECT_EQ(count, 0u);
  EXPECT_THAT(platform.calls, ElementsAre(keyed("db_create_root_iter", GetParam().key)));
}

TEST_P(NhpGroupNodeHalf, whose_iterator_fails_gives_the_code_silently_and_leaves_the_count) {
  platform.fail("db_create_root_iter", 8);
  EXPECT_EQ(read(2), 8u);
  EXPECT_EQ(count, 77u);
  EXPECT_TRUE(silent());
}

TEST_P(NhpGroupNodeHalf, whose_step_fails_gives_the_code_says_so_and_leaves_the_count) {
  platform.fail("db_root_iterator_next", 0);
  platform.fail("db_root_iterator_next", 15005);
  EXPECT_EQ(read(4), 15005u);
  EXPECT_EQ(count, 77u);
  EXPECT_EQ(filledMembers(), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre(std::string(GetParam().failed) + ", ret: 15005"));
  EXPECT_TRUE(countedOnce(2, 6));
}

INSTANTIATE_TEST_SUITE_P(Halves, NhpGroupNodeHalf,
                         testing::Values(Half{"Pri", "0x02090004 09000000", "ReadNhpPriGroupNodeByNhpIndex failed",
                                              FIB_DB_ReadNhpPriGroupNodeByNhpIndex},
                                         Half{"Bak", "0x03090004 09000000", "ReadNhpBakGroupNodeByNhpIndex failed",
                                              FIB_DB_ReadNhpBakGroupNodeByNhpIndex}),
                         [](const auto& info) { return info.param.name; });

// Both halves on one object.
class NhpGroupNodeByNhpIndex : public NhpGroupNodeBulk {
 protected:
  // Three primary members; the reset brings two backup members.
  void SetUp() override {
    NhpGroupNodeBulk::SetUp();
    platform.watch = [this](std::string_view call) {
      if (call != "db_reset_nhp_group_node_object") return;
      platform.entries.clear();
      fillEntries(101, 2);
    };
  }

  std::vector<uint16_t> sequences() const {
    std::vector<uint16_t> found;
    for (const FibDbNhpGroupNodeItem& slot : members) {
      if (slot.nhp_group_id != 0xDEAD) found.push_back(slot.sequence);
    }
    return found;
  }
};

TEST_F(NhpGroupNodeByNhpIndex, reads_primary_members_then_backup_members_on_one_object_reset_between) {
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(9, sizeof members, members), 0u);
  EXPECT_THAT(sequences(), ElementsAre(1, 2, 3, 101, 102));
  std::vector<std::string> calls = platform.calls;
  std::erase_if(calls, [](const std::string& call) { return call.starts_with("db_get_"); });
  EXPECT_THAT(calls, ElementsAre("db_create_nhp_group_node_obj(5)", "db_create_root_iter(#1, 0x02090004 09000000)",
                                 "db_root_iterator_next(~1)", "db_root_iterator_next(~1)", "db_root_iterator_next(~1)",
                                 "db_root_iterator_next(~1)", "db_reset_nhp_group_node_object(#1, 5)",
                                 "db_create_root_iter(#1, 0x03090004 09000000)", "db_root_iterator_next(~2)",
                                 "db_root_iterator_next(~2)", "db_root_iterator_next(~2)",
                                 "db_release_nhp_group_node_object(#1)"));
}

TEST_F(NhpGroupNodeByNhpIndex, fills_what_there_is_room_for_primary_members_first) {
  const std::vector<uint16_t> all{1, 2, 3, 101, 102};
  for (uint32_t bufLen = 0; bufLen <= 6 * kSize; bufLen += kSize / 2) {
    SCOPED_TRACE(bufLen);
    platform.reset();
    SetUp();
    EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(9, bufLen, members), 0u);
    const size_t room = std::min<size_t>(bufLen / kSize, all.size());
    EXPECT_EQ(sequences(), std::vector<uint16_t>(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(room)));
    EXPECT_EQ(std::ranges::count(platform.allCalls, "db_create_root_iter"), 2) << "with or without room";
    EXPECT_EQ(std::ranges::count(platform.allCalls, "db_reset_nhp_group_node_object"), 1);
  }
}

TEST_F(NhpGroupNodeByNhpIndex, ends_at_the_first_failure_with_its_code) {
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(9, sizeof members, members), 7u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_reset_nhp_group_node_object"), 0);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpPriGroupNodeByNhpIndex failed, ret: 7"));
  EXPECT_EQ(counted(2, 6), 1u);

  platform.errorLines.clear();
  platform.fail("db_reset_nhp_group_node_object", 6);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(9, sizeof members, members), 6u);
  EXPECT_EQ(platform.calls.back(), "db_release_nhp_group_node_object(#2)");
  EXPECT_TRUE(silent());
  EXPECT_EQ(counted(2, 6), 1u);

  platform.fail("db_create_root_iter", 0);
  platform.fail("db_create_root_iter", 5);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(9, sizeof members, members), 5u);
  EXPECT_TRUE(silent());
}

// Through the table service.
TEST_F(NhpGroupNodeTest, ReadNhpGroupNodeByPriAttr_is_a_unique_read_by_router_and_attribute) {
  FibDbNhpGroupNodeItem out{};
  FIB_DB_SetNhpGroupNodeKeyByPriAttr(&out, 7, 2);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByPriAttr(&out), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("UFIB_DB_ReadUniqueHash(1, 0x04090008 0700000002000000, 76)"));
  EXPECT_EQ(rowOf(out), rowOf(fullMember()));
}

TEST_F(NhpGroupNodeTest, ReadNhpGroupNodeByPriAttr_failure_is_the_services_code_silently_and_keeps_the_item) {
  platform.fail("UFIB_DB_ReadUniqueHash", 15005);
  item.flags = 99;
  const Row before = rowOf(item);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByPriAttr(&item), 15005u);
  EXPECT_EQ(rowOf(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupNodeTest, GetNhpGroupNodeFields_copies_a_record_at_any_alignment) {
  Row unaligned(77);
  const Row row = rowOf(fullMember());
  std::ranges::copy(row, unaligned.begin() + 1);
  FibDbNhpGroupNodeItem out{};
  FIB_DB_GetNhpGroupNodeFields(unaligned.data() + 1, &out);
  EXPECT_EQ(rowOf(out), row);
}

}  // namespace
}  // namespace fibdb::test
