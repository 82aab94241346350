// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_test.cc: next hops over the recorded platform.
#include <ostream>

#include "platform/objdb_tables.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

FibDbNhpItem fullItem() {
  return {.nhp_index = 42,
          .vr_id = 1,
          .vrf_index = 2,
          .origin_nhp = 3,
          .nhp_num = 4,
          .nhp_flag = 5,
          .ref_cnt = 6,
          .flags = 7,
          .iid_flags = 8,
          .app_source_id = 9,
          .table_smooth_id = 10,
          .app_obj_id = 0x1100000000,
          .app_version = 12,
          .time_stamp_app = 0x1300000000,
          .time_stamp_svc = 0x1400000000};
}

Row rowOf(const FibDbNhpItem& item) {
  Row row;
  putField(TableId::nhp, row, "nhp_index", item.nhp_index);
  putField(TableId::nhp, row, "vr_id", item.vr_id);
  putField(TableId::nhp, row, "vrf_index", item.vrf_index);
  putField(TableId::nhp, row, "origin_nhp", item.origin_nhp);
  putField(TableId::nhp, row, "nhp_num", item.nhp_num);
  putField(TableId::nhp, row, "nhp_flag", item.nhp_flag);
  putField(TableId::nhp, row, "ref_cnt", item.ref_cnt);
  putField(TableId::nhp, row, "flags", item.flags);
  putField(TableId::nhp, row, "iid_flags", item.iid_flags);
  putField(TableId::nhp, row, "app_source_id", item.app_source_id);
  putField(TableId::nhp, row, "table_smooth_id", item.table_smooth_id);
  putField(TableId::nhp, row, "app_obj_id", item.app_obj_id);
  putField(TableId::nhp, row, "app_version", item.app_version);
  putField(TableId::nhp, row, "time_stamp_app", item.time_stamp_app);
  putField(TableId::nhp, row, "time_stamp_svc", item.time_stamp_svc);
  return row;
}

class NhpTest : public TablesTest {
 protected:
  void SetUp() override { platform.record(TableId::nhp) = rowOf(fullItem()); }

  FibDbNhpItem item = fullItem();
};

// Keys.
TEST_F(NhpTest, SetNhpKey_stores_the_index) {
  uint32_t key = 0;
  FIB_DB_SetNhpKey(&key, 0xDEADBEEF);
  EXPECT_EQ(key, 0xDEADBEEFu);
}

TEST_F(NhpTest, SetNhpKeyField_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc desc{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint32_t key = 0;
  FIB_DB_SetNhpKeyField(&desc, &key, &item);
  EXPECT_EQ(desc.indexId, 0x00010004u);
  EXPECT_EQ(desc.rsv1, 2u);
  EXPECT_EQ(desc.rsv2, 3u);
  EXPECT_EQ(key, 42u);
}

// Write: an object, fifteen fields in their order, one write, the release.
TEST_F(NhpTest, WriteNhp_stages_every_field_and_writes_once) {
  EXPECT_EQ(FIB_DB_WriteNhp(&item), 0u);
  EXPECT_THAT(
      platform.calls,
      ElementsAre("db_create_nhp_obj(0)", "db_set_nhp_nhp_index(#1, 42)", "db_set_nhp_vr_id(#1, 1)",
                  "db_set_nhp_vrf_index(#1, 2)", "db_set_nhp_origin_nhp(#1, 3)", "db_set_nhp_nhp_flag(#1, 5)",
                  "db_set_nhp_nhp_num(#1, 4)", "db_set_nhp_ref_cnt(#1, 6)", "db_set_nhp_flags(#1, 7)",
                  "db_set_nhp_iid_flags(#1, 8)", "db_set_nhp_app_source_id(#1, 9)",
                  "db_set_nhp_table_smooth_id(#1, 10)", "db_set_nhp_app_obj_id(#1, 73014444032)",
                  "db_set_nhp_app_version(#1, 12)", "db_set_nhp_time_stamp_app(#1, 81604378624)",
                  "db_set_nhp_time_stamp_svc(#1, 85899345920)", "db_write_obj(#1)", "db_release_nhp_object(#1)"));
  EXPECT_EQ(platform.staged(TableId::nhp), rowOf(item));
}

TEST_F(NhpTest, WriteNhp_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_WriteNhp(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpTest, WriteNhp_whose_object_fails_returns_the_code_silently) {
  platform.fail("db_create_nhp_obj", 9);
  EXPECT_EQ(FIB_DB_WriteNhp(&item), 9u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpTest, WriteNhp_whose_fields_fail_tries_them_all_says_the_OR_and_does_not_write) {
  platform.fail("db_set_nhp_vr_id", 4);
  platform.fail("db_set_nhp_time_stamp_svc", 3);
  EXPECT_EQ(FIB_DB_WriteNhp(&item), 1u);
  EXPECT_EQ(platform.calls.size(), 1u + 15u + 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpItem setField failed, ret: 7"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpTest, WriteNhp_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteNhp(&item), 0u);
  EXPECT_TRUE(countedOnce(3, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpTest, WriteNhp_answered_with_another_code_returns_it_counts_WRITE_and_logs_nothing) {
  platform.fail("db_write_obj", 7);
  EXPECT_EQ(FIB_DB_WriteNhp(&item), 7u);
  EXPECT_TRUE(countedOnce(3, 2));
  EXPECT_TRUE(silent());
}

// Read: by index; a missing record is nobody's fault.
TEST_F(NhpTest, ReadNhp_fills_every_field) {
  FibDbNhpItem out{.nhp_index = 42};
  EXPECT_EQ(FIB_DB_ReadNhp(&out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullItem()));
  EXPECT_THAT(
      platform.calls,
      ElementsAre("db_create_nhp_obj(3)", "db_read_obj(#1, 0x00010004 2a000000)", "db_get_nhp_nhp_index(#1)",
                  "db_get_nhp_vr_id(#1)", "db_get_nhp_vrf_index(#1)", "db_get_nhp_origin_nhp(#1)",
                  "db_get_nhp_nhp_flag(#1)", "db_get_nhp_nhp_num(#1)", "db_get_nhp_ref_cnt(#1)", "db_get_nhp_flags(#1)",
                  "db_get_nhp_iid_flags(#1)", "db_get_nhp_app_source_id(#1)", "db_get_nhp_table_smooth_id(#1)",
                  "db_get_nhp_app_obj_id(#1)", "db_get_nhp_app_version(#1)", "db_get_nhp_time_stamp_app(#1)",
                  "db_get_nhp_time_stamp_svc(#1)", "db_release_nhp_object(#1)"));
}

TEST_F(NhpTest, ReadNhp_overwrites_the_index_with_the_records_own) {
  item.nhp_index = 43;
  EXPECT_EQ(FIB_DB_ReadNhp(&item), 0u);
  EXPECT_EQ(item.nhp_index, 42u);
}

TEST_F(NhpTest, ReadNhp_missing_index_returns_60_and_keeps_the_item) {
  platform.fail("db_read_obj", 15005);
  item.nhp_index = 99;
  const Row before = rowOf(item);
  EXPECT_EQ(FIB_DB_ReadNhp(&item), 60u);
  EXPECT_EQ(rowOf(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpTest, ReadNhp_failure_returns_the_code_says_the_key_and_counts_READ) {
  platform.fail("db_read_obj", 7);
  EXPECT_EQ(FIB_DB_ReadNhp(&item), 7u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhp failed, ret: 7, key = 0x2a"));
  EXPECT_TRUE(countedOnce(3, 0));
}

TEST_F(NhpTest, ReadNhp_has_no_special_meaning_for_a_publication) {
  platform.fail("db_read_obj", 13044);
  EXPECT_EQ(FIB_DB_ReadNhp(&item), 13044u);
  EXPECT_TRUE(countedOnce(3, 0));
}

TEST_F(NhpTest, ReadNhp_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhp(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhp failed, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpTest, ReadNhp_whose_getters_partly_fail_is_a_success_with_one_line) {
  platform.fail("db_get_nhp_vr_id", 1);
  platform.fail("db_get_nhp_flags", 4);
  FibDbNhpItem out{.nhp_index = 42, .vr_id = 77, .flags = 78};
  EXPECT_EQ(FIB_DB_ReadNhp(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpItem getField failed, ret: 5"));
  EXPECT_EQ(out.vr_id, 77u);
  EXPECT_EQ(out.flags, 78u);
  EXPECT_EQ(out.time_stamp_svc, fullItem().time_stamp_svc);
}

TEST_F(NhpTest, ReadNhp_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhp(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Remove.
TEST_F(NhpTest, RemoveNhp_removes_by_index) {
  EXPECT_EQ(FIB_DB_RemoveNhp(&item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_obj(4)", "db_remove_obj(#1, 0x00010004 2a000000)",
                                          "db_release_nhp_object(#1)"));
}

TEST_F(NhpTest, RemoveNhp_of_a_missing_record_returns_its_code_and_counts_REMOVE) {
  platform.fail("db_remove_obj", 15005);
  EXPECT_EQ(FIB_DB_RemoveNhp(&item), 15005u);
  EXPECT_TRUE(countedOnce(3, 4));
  EXPECT_TRUE(silent());
}

TEST_F(NhpTest, RemoveNhp_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_remove_obj", 13044);
  EXPECT_EQ(FIB_DB_RemoveNhp(&item), 0u);
  EXPECT_TRUE(countedOnce(3, 1));
}

TEST_F(NhpTest, RemoveNhp_whose_object_fails_says_so) {
  platform.fail("db_create_nhp_obj", 9);
  EXPECT_EQ(FIB_DB_RemoveNhp(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveNhp failed, create object failed. ret: 9"));
}

TEST_F(NhpTest, RemoveNhp_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_RemoveNhp(nullptr), 1u);
  EXPECT_TRUE(silent());
}

// Partial updates: only what the setter stages.
struct Update {
  const char* name;
  uint32_t (*call)(const FibDbNhpItem*);
  std::vector<std::string> sets;

  friend void PrintTo(const Update& row, std::ostream* out) { *out << row.name; }
};

class NhpUpdate : public TablesTest, public testing::WithParamInterface<Update> {};

TEST_P(NhpUpdate, stages_its_fields_and_nothing_else) {
  const FibDbNhpItem item = fullItem();
  EXPECT_EQ(GetParam().call(&item), 0u);
  std::vector<std::string> expected{"db_create_nhp_obj(1)"};
  expected.insert(expected.end(), GetParam().sets.begin(), GetParam().sets.end());
  expected.insert(expected.end(), {"db_update_obj(#1, 0x00010004 2a000000)", "db_release_nhp_object(#1)"});
  EXPECT_EQ(platform.calls, expected);
}

TEST_P(NhpUpdate, of_NULL_returns_1_silently) {
  EXPECT_EQ(GetParam().call(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_P(NhpUpdate, of_a_missing_record_is_15005_uncounted_and_silent) {
  const FibDbNhpItem item = fullItem();
  platform.fail("db_update_obj", 15005);
  EXPECT_EQ(GetParam().call(&item), 15005u);
  EXPECT_EQ(allCounted(), 0u);
  EXPECT_TRUE(silent());
}

INSTANTIATE_TEST_SUITE_P(
    Fields, NhpUpdate,
    testing::Values(Update{"RefCount", FIB_DB_UpdateNhpRefCount, {"db_set_nhp_ref_cnt(#1, 6)"}},
                    Update{"Flags", FIB_DB_UpdateNhpFlags, {"db_set_nhp_flags(#1, 7)"}},
                    Update{"NumAndSmoothID",
                           FIB_DB_UpdateNhpNumAndSmoothID,
                           {"db_set_nhp_nhp_num(#1, 4)", "db_set_nhp_table_smooth_id(#1, 10)"}},
                    Update{"SmoothID", FIB_DB_UpdateNhpSmoothID, {"db_set_nhp_table_smooth_id(#1, 10)"}}),
    [](const auto& info) { return info.param.name; });

TEST_F(NhpTest, UpdateNhpFields_hands_the_item_to_the_callers_setter) {
  static const void* seen;
  seen = nullptr;
  const FibDbFieldSetter setter = [](uint64_t obj, const void* handed) {
    seen = handed;
    return db_set_nhp_vrf_index(obj, 5);
  };
  EXPECT_EQ(FIB_DB_UpdateNhpFields(&item, setter), 0u);
  EXPECT_EQ(seen, &item);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_obj(1)", "db_set_nhp_vrf_index(#1, 5)",
                                          "db_update_obj(#1, 0x00010004 2a000000)", "db_release_nhp_object(#1)"));
}

TEST_F(NhpTest, UpdateNhpFields_without_setter_returns_1_silently) {
  EXPECT_EQ(FIB_DB_UpdateNhpFields(&item, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpTest, UpdateNhpFields_goes_on_when_the_setter_fails) {
  platform.fail("db_set_nhp_ref_cnt", 5);
  EXPECT_EQ(FIB_DB_UpdateNhpRefCount(&item), 0u);
  EXPECT_EQ(platform.calls[2], "db_update_obj(#1, 0x00010004 2a000000)");
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpRefCount failed, set fields failed."));
}

TEST_F(NhpTest, UpdateNhpFields_failure_returns_the_code_and_counts_UPDATE_silently) {
  platform.fail("db_update_obj", 7);
  EXPECT_EQ(FIB_DB_UpdateNhpFlags(&item), 7u);
  EXPECT_TRUE(countedOnce(3, 3));
  EXPECT_TRUE(silent());
}

TEST_F(NhpTest, UpdateNhpFields_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_update_obj", 13044);
  EXPECT_EQ(FIB_DB_UpdateNhpFlags(&item), 0u);
  EXPECT_TRUE(countedOnce(3, 1));
}

TEST_F(NhpTest, UpdateNhpFields_whose_object_fails_says_so) {
  platform.fail("db_create_nhp_obj", 9);
  EXPECT_EQ(FIB_DB_UpdateNhpSmoothID(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateNhpFields failed, create object failed. ret: 9"));
  EXPECT_EQ(allCounted(), 0u);
}

// The setters by themselves.
TEST_F(NhpTest, SetNhpRefCount_and_SetNhpFlags_return_the_raw_code_and_say_so) {
  platform.fail("db_set_nhp_ref_cnt", 5);
  platform.fail("db_set_nhp_flags", 6);
  EXPECT_EQ(FIB_DB_SetNhpRefCount(1, &item), 5u);
  EXPECT_EQ(FIB_DB_SetNhpFlags(1, &item), 6u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("SetNhpRefCount failed, set fields failed.", "SetNhpFlags failed, set fields failed."));
}

TEST_F(NhpTest, SetNhpNumAndSmoothID_returns_1_silently_and_tries_both) {
  platform.fail("db_set_nhp_nhp_num", 5);
  EXPECT_EQ(FIB_DB_SetNhpNumAndSmoothID(1, &item), 1u);
  EXPECT_THAT(platform.calls, ElementsAre("db_set_nhp_nhp_num(1, 4)", "db_set_nhp_table_smooth_id(1, 10)"));
  platform.fail("db_set_nhp_table_smooth_id", 5);
  EXPECT_EQ(FIB_DB_SetNhpNumAndSmoothID(1, &item), 1u);
  EXPECT_TRUE(silent());
  EXPECT_EQ(FIB_DB_SetNhpNumAndSmoothID(1, &item), 0u);
}

TEST_F(NhpTest, SetNhpSmoothID_returns_1_and_says_so) {
  platform.fail("db_set_nhp_table_smooth_id", 5);
  EXPECT_EQ(FIB_DB_SetNhpSmoothID(1, &item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("SetNhpSmoothID failed, set fields failed."));
  EXPECT_EQ(FIB_DB_SetNhpSmoothID(1, &item), 0u);
}

// Iteration.
TEST_F(NhpTest, Iteration_gives_every_next_hop_then_60_every_time) {
  FibDbNhpItem second = fullItem();
  second.nhp_index = 43;
  platform.entries = {rowOf(fullItem()), rowOf(second)};
  FibDbIterator* const iterator = FIB_DB_CreateNhpIterator(0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  EXPECT_EQ(FIB_DB_GetNextNhpEntry(iterator, &item), 0u);
  EXPECT_EQ(rowOf(item), rowOf(fullItem()));
  EXPECT_EQ(FIB_DB_GetNextNhpEntry(iterator, &item), 0u);
  EXPECT_EQ(item.nhp_index, 43u);
  EXPECT_EQ(FIB_DB_GetNextNhpEntry(iterator, &item), 60u);
  EXPECT_EQ(FIB_DB_GetNextNhpEntry(iterator, &item), 60u);
  FIB_DB_ReleaseNhpIterator(iterator);
  EXPECT_EQ(platform.calls.front(), "db_create_nhp_obj(5)");
  EXPECT_EQ(platform.calls[1], "db_create_root_iter(#1, NULL)");
  EXPECT_EQ(platform.calls.back(), "db_release_nhp_object(#1)");
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpTest, CreateNhpIterator_sets_any_property_but_the_one_that_means_none) {
  for (const uint32_t property : {0u, 5u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    platform.calls.clear();
    FIB_DB_ReleaseNhpIterator(FIB_DB_CreateNhpIterator(property));
    EXPECT_EQ(platform.calls.size(), property == 0xFFFFFFFF ? 3u : 4u) << property;
  }
  FIB_DB_ReleaseNhpIterator(FIB_DB_CreateNhpIterator(0x01020304));
  EXPECT_EQ(platform.calls[platform.calls.size() - 2], "db_set_root_iterator_property(~5, 0, 04030201)");
}

TEST_F(NhpTest, CreateNhpIteratorByVrf_passes_its_words_in_order) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpIteratorByVrf(1, 2, 3, 0xFFFFFFFF);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_obj(5)", "db_create_root_iter(#1, 0x0109000C 010000000200000003000000)"));
  FIB_DB_ReleaseNhpIterator(iterator);
}

TEST_F(NhpTest, Iterator_creation_failures_say_which_step_and_give_NULL) {
  struct {
    const char* call;
    const char* whole;
    const char* byVrf;
  } const steps[] = {
      {"alloc", "CreateNhpIterator malloc failed", "CreateNhpIteratorByVrf malloc failed"},
      {"db_create_nhp_obj", "CreateNhpIterator createObj failed, ret: 9",
       "CreateNhpIteratorByVrf createObj failed, ret: 9"},
      {"db_create_root_iter", "CreateNhpIterator createIter failed, ret: 9",
       "CreateNhpIteratorByVrf createIter failed, ret: 9"},
      {"db_set_root_iterator_property", "CreateNhpIterator setProperty failed, ret: 9",
       "CreateNhpIteratorByVrf setProperty failed, ret: 9"},
  };
  for (const auto& step : steps) {
    platform.errorLines.clear();
    platform.fail(step.call, 9);
    EXPECT_EQ(FIB_DB_CreateNhpIterator(0), nullptr);
    platform.fail(step.call, 9);
    EXPECT_EQ(FIB_DB_CreateNhpIteratorByVrf(1, 2, 3, 0), nullptr);
    EXPECT_THAT(platform.errorLines, ElementsAre(step.whole, step.byVrf));
  }
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpTest, GetNextNhpEntry_of_NULL_says_so_and_returns_1) {
  FibDbIterator iterator{};
  EXPECT_EQ(FIB_DB_GetNextNhpEntry(nullptr, &item), 1u);
  EXPECT_EQ(FIB_DB_GetNextNhpEntry(&iterator, nullptr), 1u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("GetNextNhpEntry next failed, para is NULL.", "GetNextNhpEntry next failed, para is NULL."));
  EXPECT_THAT(platform.calls, IsEmpty());
}

TEST_F(NhpTest, GetNextNhpEntry_failure_returns_1_not_the_code_and_counts_ITERATOR) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpIterator(0xFFFFFFFF);
  platform.fail("db_root_iterator_next", 7);
  EXPECT_EQ(FIB_DB_GetNextNhpEntry(iterator, &item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNextNhpEntry next failed, ret: 7"));
  EXPECT_TRUE(countedOnce(3, 6));
  FIB_DB_ReleaseNhpIterator(iterator);
}

TEST_F(NhpTest, ReleaseNhpIterator_of_NULL_does_nothing) {
  FIB_DB_ReleaseNhpIterator(nullptr);
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

}  // namespace
}  // namespace fibdb::test
