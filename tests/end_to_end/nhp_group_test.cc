// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/nhp_group_test.cc: next-hop groups and the prefixes bound to them, against a model.
#include <algorithm>
#include <cstring>
#include <map>
#include <random>

#include "platform/objdb.h"
#include "platform/schema/catalog.h"
#include "platform/ufib.h"
#include "tests/end_to_end/engine_fixture.h"
#include "tests/support/group_items.h"

namespace fibdb::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

using Row = std::vector<uint8_t>;
using GroupKey = std::pair<uint32_t, uint32_t>;  // group, router

constexpr uint32_t kAny = FIB_DB_NO_PROPERTY;

uint64_t fieldOf(std::span<const schema::Field> fields, const Row& row, std::string_view name) {
  const schema::Field* field = schema::findField(fields, name);
  uint64_t value = 0;
  std::memcpy(&value, row.data() + field->offset, field->width);
  return value;
}

class GroupTest : public EngineTest {
 protected:
  static FibDbNhpGroupItem groupOf(uint32_t id, uint32_t vr = 0) { return {.nhp_group_id = id, .vr_id = vr}; }

  // Everything that both tables store, but for the service state.
  static auto fieldsOf(const FibDbNhpGroupItem& item) {
    return std::make_tuple(item.nhp_group_id, item.vr_id, item.vrf_index, item.flags, item.ref_count, item.new_vrf,
                           item.nhp_number, item.nhp_type_high_prio, item.nhp_type_normal_prio, item.app_source_id,
                           item.table_smooth_id, item.overlay_universal_id, item.underlay_universal_id,
                           item.db_attr_flag, item.time_stamp_app, item.time_stamp_svc);
  }
  static auto stateOf(const FibDbNhpGroupItem& item) {
    const auto bytes = [](const auto& block) { return Row(std::begin(block), std::end(block)); };
    return std::make_tuple(item.status_high_prio, item.status_normal_prio, bytes(item.errcode_high_prio),
                           bytes(item.errcode_normal_prio), bytes(item.svc_ctx_high_prio),
                           bytes(item.svc_ctx_normal_prio));
  }

  static std::vector<GroupKey> walk(FibDbIterator* iterator) {
    std::vector<GroupKey> keys;
    EXPECT_NE(iterator, nullptr);
    FibDbNhpGroupItem item{};
    while (FIB_DB_GetNextNhpGroup(iterator, &item) == 0) keys.emplace_back(item.nhp_group_id, item.vr_id);
    EXPECT_EQ(FIB_DB_GetNextNhpGroup(iterator, &item), 60u);
    FIB_DB_ReleaseNhpGroupIterator(iterator);
    std::ranges::sort(keys);
    return keys;
  }

  // The service's own iterator is stepped and released through the service.
  static std::vector<GroupKey> walkService(uint32_t vr, uint32_t vrf) {
    std::vector<GroupKey> keys;
    void* const iterator = FIB_DB_CreateNhpGroupIteratorByVridVrfIndex(vr, vrf, kAny);
    EXPECT_NE(iterator, nullptr);
    Row row(schema::rowLengthOf(schema::kFields_nhp_group));
    FibDbUfibData entry{.data = row.data(), .len = static_cast<uint32_t>(row.size())};
    uint32_t code = 0;
    while ((code = UFIB_DB_GetNextEntry(0, iterator, &entry)) == 0) {
      keys.emplace_back(fieldOf(schema::kFields_nhp_group, row, "nhp_group_id"),
                        fieldOf(schema::kFields_nhp_group, row, "vr_id"));
    }
    EXPECT_EQ(code, uint32_t{DB_ERR_ITER_END});
    EXPECT_EQ(UFIB_DB_ReleaseIterator(0, iterator), 0u);
    std::ranges::sort(keys);
    return keys;
  }

  // What the readers of the table are told about the last change.
  static uint64_t operBitmap(uint32_t id, uint32_t vr) {
    const FibDbNhpGroupItem item = groupOf(id, vr);
    FibDbKeyDesc desc{};
    FibDbNhpGroupKey key{};
    FIB_DB_SetNhpGroupKeyField(&desc, &key, &item);
    Row row(schema::rowLengthOf(schema::kFields_nhp_group));
    uint64_t obj = 0;
    EXPECT_EQ(db_create_nhp_group_obj(FIB_DB_OBJ_OP_READ, 0, &obj), 0u);
    EXPECT_EQ(db_read_obj_with_buf(obj, &desc, &key, row.data(), static_cast<uint32_t>(row.size())), 0u);
    db_release_nhp_group_object(obj);
    return fieldOf(schema::kFields_nhp_group, row, "oper_bitmap");
  }
};

TEST_F(GroupTest, A_group_starts_with_a_fresh_service_state_and_gets_one_from_its_service) {
  const FibDbNhpGroupItem group = fullGroup();
  FibDbNhpGroupItem read = groupOf(42, 2);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&read), 60u);
  EXPECT_EQ(FIB_DB_WriteNhpGroup(&group), 0u);
  read.skip_db_oper = 1;
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&read), 0u);
  EXPECT_TRUE(fieldsOf(read) == fieldsOf(group));
  EXPECT_EQ(read.forwardVsId, 27);
  EXPECT_EQ(read.skip_db_oper, 0u);
  EXPECT_EQ(read.status_high_prio, 0);
  EXPECT_EQ(read.status_normal_prio, 0);
  EXPECT_THAT(read.errcode_high_prio, Each(0));
  EXPECT_THAT(read.errcode_normal_prio, Each(0));
  EXPECT_THAT(read.svc_ctx_high_prio, Each(0xFF));
  EXPECT_THAT(read.svc_ctx_normal_prio, Each(0xFF));
  EXPECT_EQ(operBitmap(42, 2), 1u);

  EXPECT_EQ(FIB_DB_UpdateNhpGroupContext(&group), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&read), 0u);
  EXPECT_TRUE(stateOf(read) == stateOf(group));
  EXPECT_EQ(operBitmap(42, 2), 8u);

  EXPECT_EQ(FIB_DB_RemoveNhpGroup(&group), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&read), 60u);
}

TEST_F(GroupTest, Each_update_changes_its_own_fields_and_says_which_kind_of_change_it_is) {
  const FibDbNhpGroupItem group = fullGroup();
  ASSERT_EQ(FIB_DB_WriteNhpGroup(&group), 0u);
  FibDbNhpGroupItem change = groupOf(42, 2);
  change.ref_count = 50;
  change.table_smooth_id = 51;
  change.flags = 52;
  change.db_attr_flag = 53;
  change.vrf_index = 54;
  FibDbNhpGroupItem expected = group;
  const auto stored = [&] {
    FibDbNhpGroupItem read = groupOf(42, 2);
    EXPECT_EQ(FIB_DB_ReadNhpGroup(&read), 0u);
    return fieldsOf(read);
  };
  EXPECT_EQ(FIB_DB_UpdateNhpGroupRefCount(&change), 0u);
  expected.ref_count = 50;
  EXPECT_TRUE(stored() == fieldsOf(expected));
  EXPECT_EQ(operBitmap(42, 2), 2u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupSmoothID(&change), 0u);
  expected.table_smooth_id = 51;
  EXPECT_TRUE(stored() == fieldsOf(expected));
  EXPECT_EQ(operBitmap(42, 2), 4u);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupFlags(&change), 0u);
  expected.flags = 52;
  expected.db_attr_flag = 53;
  EXPECT_TRUE(stored() == fieldsOf(expected));
  EXPECT_EQ(operBitmap(42, 2), 16u);
}

TEST_F(GroupTest, A_marked_item_changes_nothing_and_a_read_takes_the_mark_away) {
  FibDbNhpGroupItem marked = groupOf(1);
  marked.skip_db_oper = 1;
  EXPECT_EQ(FIB_DB_WriteNhpGroup(&marked), 0u);
  FibDbNhpGroupItem read = groupOf(1);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&read), 60u);

  const FibDbNhpGroupItem group = groupOf(1);
  ASSERT_EQ(FIB_DB_WriteNhpGroup(&group), 0u);
  marked.ref_count = 9;
  EXPECT_EQ(FIB_DB_UpdateNhpGroupRefCount(&marked), 0u);
  EXPECT_EQ(FIB_DB_RemoveNhpGroup(&marked), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&marked), 0u);
  EXPECT_EQ(marked.ref_count, 0u);
  EXPECT_EQ(FIB_DB_RemoveNhpGroup(&marked), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpGroup(&read), 60u);
}

TEST_F(GroupTest, To_update_a_missing_group_is_15005_silently_and_to_remove_it_is_said) {
  const FibDbNhpGroupItem group = groupOf(1);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupContext(&group), 15005u);
  EXPECT_THAT(logged, IsEmpty());
  EXPECT_EQ(FIB_DB_RemoveNhpGroup(&group), 15005u);
  EXPECT_THAT(logged, ElementsAre("RemoveNhpGroup failed, ret: 15005"));
  logged.clear();
}

TEST_F(GroupTest, Reads_updates_and_iterators_agree_with_a_model) {
  std::mt19937 random(seedOfToday());
  const auto below = [&](uint32_t bound) { return static_cast<uint32_t>(random() % bound); };
  std::map<GroupKey, FibDbNhpGroupItem> model;
  const auto keysOf = [&](auto holds) {
    std::vector<GroupKey> keys;
    for (const auto& [key, item] : model) {
      if (holds(item)) keys.push_back(key);
    }
    return keys;
  };
  for (int round = 0; round < 3000; ++round) {
    const GroupKey key{below(40), below(2)};
    FibDbNhpGroupItem item = groupOf(key.first, key.second);
    const bool there = model.contains(key);
    switch (below(5)) {
      case 0:
      case 1:
        item.vrf_index = below(3);
        item.app_source_id = below(2);
        item.ref_count = below(100);
        ASSERT_EQ(FIB_DB_WriteNhpGroup(&item), 0u);
        model[key] = item;
        break;
      case 2:
        ASSERT_EQ(FIB_DB_RemoveNhpGroup(&item), there ? 0u : 15005u);
        logged.clear();  // a missing record is said
        model.erase(key);
        break;
      case 3:
        item.ref_count = below(100);
        ASSERT_EQ(FIB_DB_UpdateNhpGroupRefCount(&item), there ? 0u : 15005u);
        if (there) model[key].ref_count = item.ref_count;
        break;
      default:
        ASSERT_EQ(FIB_DB_ReadNhpGroup(&item), there ? 0u : 60u);
        if (there) {
          ASSERT_TRUE(fieldsOf(item) == fieldsOf(model[key]));
        }
    }
    if (round % 50 != 0) continue;
    ASSERT_EQ(walk(FIB_DB_CreateNhpGroupIterator(kAny)), keysOf([](const auto&) { return true; }));
    ASSERT_EQ(walk(FIB_DB_CreateNhpGroupIterator(1)), keysOf([](const auto& i) { return i.vr_id == 1; }));
    ASSERT_EQ(walk(FIB_DB_CreateNhpGroupIteratorByVrf(1, 2, 1, kAny)),
              keysOf([](const auto& i) { return i.vr_id == 1 && i.vrf_index == 2 && i.app_source_id == 1; }));
    ASSERT_EQ(walkService(0, 2), keysOf([](const auto& i) { return i.vr_id == 0 && i.vrf_index == 2; }));
  }
}

TEST_F(GroupTest, A_publication_is_a_success_that_is_counted_under_its_table) {
  const auto published = [&](const char* table, uint32_t stat, auto write) {
    const uint32_t before = g_fibDbErrStat[stat][FIB_DB_OPER_PUB];
    EXPECT_EQ(fibdb_engine_fault(fibdb_engine_find_table(table), DB_RET_PUB_STATUS, 1), 0u);
    const FibDbNhpGroupItem item = groupOf(1);
    EXPECT_EQ(write(&item), 0u);
    return g_fibDbErrStat[stat][FIB_DB_OPER_PUB] - before;
  };
  EXPECT_EQ(published("nhp_group", FIB_DB_TABLE_NHP_GROUP, FIB_DB_WriteNhpGroup), 1u);
  EXPECT_EQ(published("nhp_group", FIB_DB_TABLE_NHP_GROUP, FIB_DB_UpdateNhpGroupFlags), 1u);
  EXPECT_EQ(published("nhp_group_ftn", FIB_DB_TABLE_NHP_GROUP_FTN, FIB_DB_WriteNhpGroupFtn), 1u);
}

// Prefixes bound to groups.
class FtnTest : public GroupTest {
 protected:
  static FibDbNhpGroupItem ftnOf(uint32_t addr, uint8_t mask, uint32_t vr = 0, uint32_t vrf = 0) {
    FibDbNhpGroupItem item{};
    item.vr_id = vr;
    item.vrf_index = vrf;
    item.dest_ip_addr = addr;
    item.dest_mask_len = mask;
    return item;
  }
};

TEST_F(FtnTest, A_bound_prefix_keeps_the_service_state_that_it_is_written_with) {
  const FibDbNhpGroupItem ftn = fullGroup();
  FibDbNhpGroupItem read = ftnOf(0x0A000100, 24, 2, 3);
  EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(&read), 60u);
  EXPECT_EQ(FIB_DB_WriteNhpGroupFtn(&ftn), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(&read), 0u);
  EXPECT_TRUE(fieldsOf(read) == fieldsOf(ftn));
  EXPECT_TRUE(stateOf(read) == stateOf(ftn));
  EXPECT_EQ(read.forwardVsId, 0);
  EXPECT_EQ(FIB_DB_RemoveNhpGroupFtn(&read), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(&read), 60u);
  EXPECT_EQ(FIB_DB_RemoveNhpGroupFtn(&read), 15005u);
  EXPECT_THAT(logged, ElementsAre("RemoveNhpGroup failed, ret: 15005"));
  logged.clear();
}

TEST_F(FtnTest, Every_part_of_the_prefix_tells_records_apart_and_the_group_does_not) {
  const FibDbNhpGroupItem prefixes[] = {ftnOf(0x0A000000, 8), ftnOf(0x0A000000, 9), ftnOf(0x0B000000, 8),
                                        ftnOf(0x0A000000, 8, 1), ftnOf(0x0A000000, 8, 0, 1)};
  uint32_t group = 0;
  for (FibDbNhpGroupItem item : prefixes) {
    item.nhp_group_id = ++group;
    ASSERT_EQ(FIB_DB_WriteNhpGroupFtn(&item), 0u);
  }
  group = 0;
  for (FibDbNhpGroupItem item : prefixes) {
    EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(&item), 0u);
    EXPECT_EQ(item.nhp_group_id, ++group);
  }
  FibDbNhpGroupItem other = prefixes[0];
  other.nhp_group_id = 99;
  EXPECT_EQ(FIB_DB_WriteNhpGroupFtn(&other), 0u);
  FibDbEngineTableStats stats{};
  ASSERT_EQ(fibdb_engine_table_stats(fibdb_engine_find_table("nhp_group_ftn"), &stats), 0u);
  EXPECT_EQ(stats.records, 5u);
  FibDbNhpGroupItem read = prefixes[0];
  EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(&read), 0u);
  EXPECT_EQ(read.nhp_group_id, 99u);
}

}  // namespace
}  // namespace fibdb::test
