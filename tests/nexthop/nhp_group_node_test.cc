// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_group_node_test.cc: members of next-hop groups over the recorded platform.
#include <algorithm>
#include <cstddef>
#include <ostream>

#include "platform/objdb_tables.h"
#include "tests/support/group_items.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr size_t kFields = 17;

Row rowOf(const FibDbNhpGroupNodeItem& item) {
  Row row;
  const auto put = [&](std::string_view name, uint64_t value) { putField(TableId::nhp_group_node, row, name, value); };
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

class NhpGroupNodeTest : public TablesTest {
 protected:
  void SetUp() override { platform.record(TableId::nhp_group_node) = rowOf(fullMember()); }

  // The bytes of 42, 2, 3, 4, 5, 6, 7 and, in two of them, 13.
  static constexpr const char* kKey = "0x0001001E 2a0000000200000003000000040000000500000006000000070000000d00";

  FibDbNhpGroupNodeItem item = fullMember();
  uint32_t count = 77;
};

std::string called(const char* call, const std::string& key) { return std::string(call) + "(#1, " + key + ")"; }

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

// Write.
TEST_F(NhpGroupNodeTest, WriteNhpGroupNode_stages_every_field_in_order_and_writes_once) {
  EXPECT_EQ(FIB_DB_WriteNhpGroupNode(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre("db_create_nhp_group_node_obj(0)", "db_set_nhp_group_node_nhp_group_id(#1, 42)",
                  "db_set_nhp_group_node_attribute_id(#1, 2)", "db_set_nhp_group_node_primary_nhp_id(#1, 3)",
                  "db_set_nhp_group_node_primary_label(#1, 4)", "db_set_nhp_group_node_backup_nhp_id(#1, 5)",
                  "db_set_nhp_group_node_backup_label(#1, 6)", "db_set_nhp_group_node_vr_id(#1, 7)",
                  "db_set_nhp_group_node_sequence(#1, 13)", "db_set_nhp_group_node_rsv(#1, 14)",
                  "db_set_nhp_group_node_vrf_index(#1, 8)", "db_set_nhp_group_node_flags(#1, 9)",
                  "db_set_nhp_group_node_bandwidth(#1, 17)", "db_set_nhp_group_node_app_source_id(#1, 10)",
                  "db_set_nhp_group_node_group_smooth_id(#1, 11)", "db_set_nhp_group_node_app_obj_id(#1, 77309411328)",
                  "db_set_nhp_group_node_time_stamp_app(#1, 90194313216)",
                  "db_set_nhp_group_node_time_stamp_svc(#1, 94489280512)", "db_write_obj(#1)",
                  "db_release_nhp_group_node_object(#1)"));
  EXPECT_EQ(platform.staged(TableId::nhp_group_node), rowOf(item));
}

TEST_F(NhpGroupNodeTest, WriteNhpGroupNode_whose_fields_fail_tries_them_all_says_the_OR_and_does_not_write) {
  platform.fail("db_set_nhp_group_node_nhp_group_id", 4);
  platform.fail("db_set_nhp_group_node_time_stamp_svc", 3);
  EXPECT_EQ(FIB_DB_WriteNhpGroupNode(&item), 1u);
  EXPECT_EQ(platform.calls.size(), 1u + kFields + 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpGroupNodeItem setField failed, ret: 7"));
  EXPECT_EQ(allCounted(), 0u);
}

// Write, read, remove and update alike.
TEST_F(NhpGroupNodeTest, An_object_that_fails_is_not_said_and_gives_its_code) {
  platform.failAlways("db_create_nhp_group_node_obj", 9);
  EXPECT_EQ(FIB_DB_WriteNhpGroupNode(&item), 9u);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(&item), 9u);
  EXPECT_EQ(FIB_DB_RemoveNhpGroupNode(&item), 9u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeFlags(&item), 9u);
  EXPECT_EQ(FIB_DB_CountNhpGroupNodeByNhpGroup(1, 2, &count), 9u);
  EXPECT_EQ(FIB_DB_CountNhpGroupNodeByNhpIndex(1, &count), 9u);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpGroup(1, 2, sizeof item, &item), 9u);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(1, sizeof item, &item), 9u);
  EXPECT_EQ(count, 77u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupNodeTest, NULL_items_return_1_silently) {
  EXPECT_EQ(FIB_DB_WriteNhpGroupNode(nullptr), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(nullptr), 1u);
  EXPECT_EQ(FIB_DB_RemoveNhpGroupNode(nullptr), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeFields(nullptr, [](uint64_t, const void*) { return 0u; }), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeFields(&item, nullptr), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeFlags(nullptr), 1u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeSmoothID(nullptr), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByPriAttr(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupNodeTest, Changes_answered_with_a_publication_return_0_and_count_PUB) {
  platform.failAlways("db_write_obj", 13044);
  platform.failAlways("db_update_obj", 13044);
  platform.failAlways("db_remove_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteNhpGroupNode(&item), 0u);
  EXPECT_TRUE(countedOnce(2, 1));
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeFlags(&item), 0u);
  EXPECT_EQ(FIB_DB_RemoveNhpGroupNode(&item), 0u);
  EXPECT_EQ(counted(2, 1), 3u);
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupNodeTest, Changes_that_fail_return_the_code_say_so_and_count_under_their_operation) {
  platform.failAlways("db_write_obj", 7);
  platform.failAlways("db_update_obj", 15005);
  platform.failAlways("db_remove_obj", 15005);
  EXPECT_EQ(FIB_DB_WriteNhpGroupNode(&item), 7u);
  EXPECT_TRUE(countedOnce(2, 2));
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeSmoothID(&item), 15005u);
  EXPECT_EQ(counted(2, 3), 1u);
  EXPECT_EQ(FIB_DB_RemoveNhpGroupNode(&item), 15005u);
  EXPECT_EQ(counted(2, 4), 1u);
  EXPECT_EQ(allCounted(), 3u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("WRITE fib nhp group node db fail. ret = 7", "UPDATE fib nhp group node db fail. ret = 15005",
                          "REMOVE fib nhp group node db fail. ret = 15005"));
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

// Read by the primary key.
const std::vector<std::string> kGetters{"db_get_nhp_group_node_nhp_group_id(#1)",
                                        "db_get_nhp_group_node_attribute_id(#1)",
                                        "db_get_nhp_group_node_primary_nhp_id(#1)",
                                        "db_get_nhp_group_node_primary_label(#1)",
                                        "db_get_nhp_group_node_backup_nhp_id(#1)",
                                        "db_get_nhp_group_node_backup_label(#1)",
                                        "db_get_nhp_group_node_vr_id(#1)",
                                        "db_get_nhp_group_node_sequence(#1)",
                                        "db_get_nhp_group_node_rsv(#1)",
                                        "db_get_nhp_group_node_vrf_index(#1)",
                                        "db_get_nhp_group_node_flags(#1)",
                                        "db_get_nhp_group_node_app_source_id(#1)",
                                        "db_get_nhp_group_node_bandwidth(#1)",
                                        "db_get_nhp_group_node_group_smooth_id(#1)",
                                        "db_get_nhp_group_node_app_obj_id(#1)",
                                        "db_get_nhp_group_node_time_stamp_app(#1)",
                                        "db_get_nhp_group_node_time_stamp_svc(#1)"};

TEST_F(NhpGroupNodeTest, ReadNhpGroupNode_fills_every_field_in_order) {
  FibDbNhpGroupNodeItem out{};
  FIB_DB_SetNhpGroupNodeKey(&out, &item);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(&out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullMember()));
  std::vector<std::string> expected{"db_create_nhp_group_node_obj(3)", called("db_read_obj", kKey)};
  expected.insert(expected.end(), kGetters.begin(), kGetters.end());
  expected.emplace_back("db_release_nhp_group_node_object(#1)");
  EXPECT_EQ(platform.calls, expected);
}

TEST_F(NhpGroupNodeTest, ReadNhpGroupNode_missing_key_returns_60_and_keeps_the_item) {
  platform.fail("db_read_obj", 15005);
  item.flags = 99;
  const Row before = rowOf(item);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(&item), 60u);
  EXPECT_EQ(rowOf(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupNodeTest, ReadNhpGroupNode_failure_returns_the_code_says_so_and_counts_READ) {
  platform.fail("db_read_obj", 13044);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(&item), 13044u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpGroupNode failed, ret: 13044"));
  EXPECT_TRUE(countedOnce(2, 0));
}

TEST_F(NhpGroupNodeTest, ReadNhpGroupNode_with_failed_fields_says_the_OR_and_succeeds) {
  platform.fail("db_get_nhp_group_node_nhp_group_id", 1);
  platform.fail("db_get_nhp_group_node_time_stamp_svc", 4);
  FibDbNhpGroupNodeItem out{.nhp_group_id = 77, .time_stamp_svc = 78};
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupNodeItem getField failed, ret: 5"));
  EXPECT_EQ(platform.calls.size(), 2u + kFields + 1u);
  EXPECT_EQ(out.nhp_group_id, 77u);
  EXPECT_EQ(out.time_stamp_svc, 78u);
  EXPECT_EQ(out.bandwidth, 17u);
  EXPECT_EQ(allCounted(), 0u);
}

// Remove.
TEST_F(NhpGroupNodeTest, RemoveNhpGroupNode_removes_by_the_primary_key) {
  EXPECT_EQ(FIB_DB_RemoveNhpGroupNode(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_group_node_obj(4)", called("db_remove_obj", kKey),
                                          "db_release_nhp_group_node_object(#1)"));
}

// Partial updates.
TEST_F(NhpGroupNodeTest, Updates_stage_their_field_alone) {
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeFlags(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_group_node_obj(1)", "db_set_nhp_group_node_flags(#1, 9)",
                                          called("db_update_obj", kKey), "db_release_nhp_group_node_object(#1)"));
  platform.reset();
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeSmoothID(&item), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_group_node_obj(1)", "db_set_nhp_group_node_group_smooth_id(#1, 11)",
                          called("db_update_obj", kKey), "db_release_nhp_group_node_object(#1)"));
}

TEST_F(NhpGroupNodeTest, Updates_whose_setter_fails_say_so_and_are_sent_all_the_same) {
  platform.fail("db_set_nhp_group_node_flags", 5);
  platform.fail("db_set_nhp_group_node_group_smooth_id", 6);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeFlags(&item), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeSmoothID(&item), 0u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_update_obj"), 2);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpGroupNodeFlags setField failed, ret: 5",
                                               "SetNhpGroupNodeSmoothID setField failed, ret: 6"));
}

TEST_F(NhpGroupNodeTest, The_setters_give_the_raw_code) {
  platform.fail("db_set_nhp_group_node_flags", 5);
  EXPECT_EQ(FIB_DB_SetNhpGroupNodeFlags(1, &item), 5u);
  platform.fail("db_set_nhp_group_node_group_smooth_id", 6);
  EXPECT_EQ(FIB_DB_SetNhpGroupNodeSmoothID(1, &item), 6u);
}

// Counts by one index.
template <class Call>
struct Under {
  const char* name;
  const char* key;
  Call call;

  friend void PrintTo(const Under& row, std::ostream* out) { *out << row.name; }
};

using Count = Under<uint32_t (*)(uint32_t* count)>;
using Iterate = Under<FibDbIterator* (*)(uint32_t property)>;

class NhpGroupNodeCountBy : public NhpGroupNodeTest, public testing::WithParamInterface<Count> {};

TEST_P(NhpGroupNodeCountBy, counts_under_its_key) {
  platform.countResult = 0x100000005;
  EXPECT_EQ(GetParam().call(&count), 0u);
  EXPECT_EQ(count, 5u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_group_node_obj(9)", called("db_get_table_record_count_by_key", GetParam().key),
                          "db_release_nhp_group_node_object(#1)"));
}

TEST_P(NhpGroupNodeCountBy, that_fails_gives_the_code_silently_and_leaves_the_count) {
  platform.fail("db_get_table_record_count_by_key", 15005);
  EXPECT_EQ(GetParam().call(&count), 15005u);
  EXPECT_EQ(count, 77u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_P(NhpGroupNodeCountBy, into_NULL_returns_1_silently) {
  EXPECT_EQ(GetParam().call(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

INSTANTIATE_TEST_SUITE_P(
    Indexes, NhpGroupNodeCountBy,
    testing::Values(Count{"NhpGroup", "0x01090008 2a00000007000000",
                          [](uint32_t* count) { return FIB_DB_CountNhpGroupNodeByNhpGroup(42, 7, count); }},
                    Count{"PrimaryNhpId", "0x02090004 03000000",
                          [](uint32_t* count) { return FIB_DB_CountNhpGroupNodeByPrimaryNhpId(3, count); }},
                    Count{"BackupNhpId", "0x03090004 05000000",
                          [](uint32_t* count) { return FIB_DB_CountNhpGroupNodeByBackupNhpId(5, count); }}),
    [](const auto& info) { return info.param.name; });

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
    for (FibDbNhpGroupNodeItem& slot : items) slot = {.nhp_group_id = 0xDEAD};
  }

  // Records whose sequences are first, first + 1, and so on.
  void fillEntries(uint16_t first, uint16_t howMany) {
    for (uint16_t i = 0; i < howMany; ++i) {
      FibDbNhpGroupNodeItem entry = fullMember();
      entry.sequence = static_cast<uint16_t>(first + i);
      platform.entries.push_back(rowOf(entry));
    }
  }

  size_t filled() const {
    return static_cast<size_t>(std::ranges::count(items, 42u, &FibDbNhpGroupNodeItem::nhp_group_id));
  }
  size_t steps() const { return static_cast<size_t>(std::ranges::count(platform.allCalls, "db_root_iterator_next")); }

  static constexpr uint32_t kSize = 88;
  FibDbNhpGroupNodeItem items[8];
};

TEST_F(NhpGroupNodeBulk, ReadNhpGroupNodeByNhpGroup_iterates_under_group_and_router_and_releases) {
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpGroup(42, 7, kSize, items), 0u);
  std::vector<std::string> expected{"db_create_nhp_group_node_obj(5)",
                                    "db_create_root_iter(#1, 0x01090008 2a00000007000000)",
                                    "db_root_iterator_next(~1)"};
  expected.insert(expected.end(), kGetters.begin(), kGetters.end());
  expected.emplace_back("db_release_nhp_group_node_object(#1)");
  EXPECT_EQ(platform.calls, expected);
}

TEST_F(NhpGroupNodeBulk, ReadNhpGroupNodeByNhpGroup_reads_what_there_is_room_for_and_steps_no_further) {
  struct {
    uint32_t bufLen;
    size_t filled, steps;
  } const rooms[] = {{0, 0, 0},         {1, 0, 0},         {kSize - 1, 0, 0},     {kSize, 1, 1},
                     {kSize + 1, 1, 1}, {2 * kSize, 2, 2}, {3 * kSize - 1, 2, 2}, {3 * kSize, 3, 3},
                     {4 * kSize, 3, 4}};
  for (const auto& room : rooms) {
    SCOPED_TRACE(room.bufLen);
    platform.reset();
    SetUp();
    EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpGroup(42, 7, room.bufLen, items), 0u);
    EXPECT_EQ(filled(), room.filled);
    EXPECT_EQ(steps(), room.steps);
    for (uint16_t i = 0; i < 4; ++i) EXPECT_EQ(items[i].sequence, i < room.filled ? i + 1 : 0);
    EXPECT_TRUE(silent());
  }
}

TEST_F(NhpGroupNodeBulk, ReadNhpGroupNodeByNhpGroup_failures_give_the_code_and_only_a_step_is_said_and_counted) {
  platform.fail("db_create_root_iter", 8);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpGroup(42, 7, sizeof items, items), 8u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
  platform.fail("db_root_iterator_next", 0);
  platform.fail("db_root_iterator_next", 15005);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpGroup(42, 7, sizeof items, items), 15005u);
  EXPECT_EQ(filled(), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpGroupNodeByNhpGroup failed, ret: 15005"));
  EXPECT_TRUE(countedOnce(2, 6));
}

TEST_F(NhpGroupNodeBulk, Bulk_reads_into_NULL_return_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpGroup(42, 7, kSize, nullptr), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(3, kSize, nullptr), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpPriGroupNodeByNhpIndex(1, 3, 1, nullptr, items), 1u);
  EXPECT_EQ(FIB_DB_ReadNhpPriGroupNodeByNhpIndex(1, 3, 1, &count, nullptr), 1u);
  EXPECT_EQ(count, 77u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
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

  uint32_t read(uint32_t capacity) { return GetParam().read(obj, 9, capacity, &count, items); }

  uint64_t obj = 0;
};

TEST_P(NhpGroupNodeHalf, reads_up_to_its_capacity_and_leaves_the_object_to_the_caller) {
  EXPECT_EQ(read(2), 0u);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(filled(), 2u);
  EXPECT_EQ(steps(), 2u);
  EXPECT_EQ(items[1].sequence, 2);
  EXPECT_EQ(platform.calls.front(), called("db_create_root_iter", GetParam().key));
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_release_nhp_group_node_object"), 0);
}

TEST_P(NhpGroupNodeHalf, ends_where_the_records_end) {
  EXPECT_EQ(read(8), 0u);
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(filled(), 3u);
  EXPECT_EQ(steps(), 4u);
  EXPECT_TRUE(silent());
}

TEST_P(NhpGroupNodeHalf, without_capacity_makes_its_iterator_and_counts_0) {
  EXPECT_EQ(read(0), 0u);
  EXPECT_EQ(count, 0u);
  EXPECT_THAT(platform.calls, ElementsAre(called("db_create_root_iter", GetParam().key)));
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
  EXPECT_EQ(filled(), 1u);
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
    for (const FibDbNhpGroupNodeItem& slot : items) {
      if (slot.nhp_group_id != 0xDEAD) found.push_back(slot.sequence);
    }
    return found;
  }
};

TEST_F(NhpGroupNodeByNhpIndex, reads_primary_members_then_backup_members_on_one_object_reset_between) {
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(9, sizeof items, items), 0u);
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
    EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(9, bufLen, items), 0u);
    const size_t room = std::min<size_t>(bufLen / kSize, all.size());
    EXPECT_EQ(sequences(), std::vector<uint16_t>(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(room)));
    EXPECT_EQ(std::ranges::count(platform.allCalls, "db_create_root_iter"), 2) << "with or without room";
    EXPECT_EQ(std::ranges::count(platform.allCalls, "db_reset_nhp_group_node_object"), 1);
  }
}

TEST_F(NhpGroupNodeByNhpIndex, ends_at_the_first_failure_with_its_code) {
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(9, sizeof items, items), 7u);
  EXPECT_EQ(std::ranges::count(platform.allCalls, "db_reset_nhp_group_node_object"), 0);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpPriGroupNodeByNhpIndex failed, ret: 7"));
  EXPECT_EQ(counted(2, 6), 1u);

  platform.errorLines.clear();
  platform.fail("db_reset_nhp_group_node_object", 6);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(9, sizeof items, items), 6u);
  EXPECT_EQ(platform.calls.back(), "db_release_nhp_group_node_object(#2)");
  EXPECT_TRUE(silent());
  EXPECT_EQ(counted(2, 6), 1u);

  platform.fail("db_create_root_iter", 0);
  platform.fail("db_create_root_iter", 5);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(9, sizeof items, items), 5u);
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

// Iteration.
class NhpGroupNodeIterateBy : public NhpGroupNodeBulk, public testing::WithParamInterface<Iterate> {};

TEST_P(NhpGroupNodeIterateBy, iterates_under_its_key_with_the_property) {
  FibDbIterator* const iterator = GetParam().call(5);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_group_node_obj(5)", called("db_create_root_iter", GetParam().key),
                          "db_set_root_iterator_property(~1, 0, 05000000)"));
  for (uint16_t sequence = 1; sequence <= 3; ++sequence) {
    EXPECT_EQ(FIB_DB_GetNextNhpGroupNode(iterator, &item), 0u);
    EXPECT_EQ(item.sequence, sequence);
  }
  EXPECT_EQ(FIB_DB_GetNextNhpGroupNode(iterator, &item), 60u);
  EXPECT_EQ(FIB_DB_GetNextNhpGroupNode(iterator, &item), 60u);
  FIB_DB_ReleaseNhpGrpNodeIterator(iterator);
  EXPECT_EQ(platform.calls.back(), "db_release_nhp_group_node_object(#1)");
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_P(NhpGroupNodeIterateBy, sets_any_property_but_the_one_that_means_none) {
  for (const uint32_t property : {0u, 5u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    platform.calls.clear();
    FIB_DB_ReleaseNhpGrpNodeIterator(GetParam().call(property));
    EXPECT_EQ(platform.calls.size(), property == 0xFFFFFFFF ? 3u : 4u) << property;
  }
}

TEST_P(NhpGroupNodeIterateBy, that_fails_says_which_step_in_the_words_of_the_iterator_by_key) {
  struct {
    const char* call;
    const char* line;
  } const steps[] = {
      {"alloc", "CreateNhpGrpNodeIteratorByKey malloc failed"},
      {"db_create_nhp_group_node_obj", "CreateNhpGrpNodeIteratorByKey createObj failed, ret: 9"},
      {"db_create_root_iter", "CreateNhpGrpNodeIteratorByKey createIter failed, ret: 9"},
      {"db_set_root_iterator_property", "CreateNhpGrpNodeIteratorByKey setProperty failed, ret: 9"},
  };
  for (const auto& step : steps) {
    platform.errorLines.clear();
    platform.fail(step.call, 9);
    EXPECT_EQ(GetParam().call(0), nullptr);
    EXPECT_THAT(platform.errorLines, ElementsAre(step.line));
  }
  EXPECT_EQ(allCounted(), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Indexes, NhpGroupNodeIterateBy,
    testing::Values(
        Iterate{"NhpGrpId", "0x01090008 2a00000007000000",
                [](uint32_t property) { return FIB_DB_CreateNhpGrpNodeIteratorByNhpGrpId(42, 7, property); }},
        Iterate{"PrimaryNhpId", "0x02090004 03000000",
                [](uint32_t property) { return FIB_DB_CreateNhpGrpNodeIteratorByPrimaryNhpId(3, property); }},
        Iterate{"BackupNhpId", "0x03090004 05000000",
                [](uint32_t property) { return FIB_DB_CreateNhpGrpNodeIteratorByBackupNhpId(5, property); }},
        Iterate{"Key_of_the_caller", "0x04090008 0700000002000000",
                [](uint32_t property) {
                  const FibDbKeyDesc desc{.indexId = FIB_DB_NHP_GROUP_NODE_BY_PRI_ATTR, .rsv1 = 0, .rsv2 = 0};
                  const uint32_t key[2] = {7, 2};
                  return FIB_DB_CreateNhpGrpNodeIteratorByKey(&desc, key, property);
                }},
        Iterate{"No_key", "NULL",
                [](uint32_t property) { return FIB_DB_CreateNhpGrpNodeIteratorByKey(nullptr, nullptr, property); }}),
    [](const auto& info) { return info.param.name; });

TEST_F(NhpGroupNodeTest, GetNextNhpGroupNode_failure_returns_1_not_the_code_and_counts_ITERATOR) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpGrpNodeIteratorByNhpGrpId(42, 7, 0xFFFFFFFF);
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetNextNhpGroupNode(iterator, &item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNextNhpGroupNode failed, ret: 7"));
  EXPECT_TRUE(countedOnce(2, 6));
  FIB_DB_ReleaseNhpGrpNodeIterator(iterator);
}

TEST_F(NhpGroupNodeTest, GetNextNhpGroupNode_of_NULL_returns_1_silently) {
  FibDbIterator iterator{};
  EXPECT_EQ(FIB_DB_GetNextNhpGroupNode(nullptr, &item), 1u);
  EXPECT_EQ(FIB_DB_GetNextNhpGroupNode(&iterator, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupNodeTest, ReleaseNhpGrpNodeIterator_of_NULL_does_nothing) {
  FIB_DB_ReleaseNhpGrpNodeIterator(nullptr);
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

}  // namespace
}  // namespace fibdb::test
