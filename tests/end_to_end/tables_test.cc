// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/tables_test.cc: next hops over the object database, AR group attributes through the table service.
#include "tests/end_to_end/engine_fixture.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class TablesTest : public EngineTest {
 protected:
  static std::vector<uint32_t> indexes(FibDbIterator* iterator) {
    std::vector<uint32_t> found;
    EXPECT_NE(iterator, nullptr);
    FibDbNhpItem item{};
    while (FIB_DB_GetNextNhpEntry(iterator, &item) == 0) found.push_back(item.nhp_index);
    EXPECT_EQ(FIB_DB_GetNextNhpEntry(iterator, &item), 60u);
    FIB_DB_ReleaseNhpIterator(iterator);
    return found;
  }
};

TEST_F(TablesTest, A_next_hop_lives_its_life) {
  FibDbNhpItem item{.nhp_index = 7, .vr_id = 1, .nhp_num = 3, .ref_cnt = 4, .flags = 5, .time_stamp_svc = 1ull << 40};
  EXPECT_EQ(FIB_DB_UpdateNhpRefCount(&item), 15005u);
  EXPECT_EQ(FIB_DB_ReadNhp(&item), 60u);
  EXPECT_EQ(FIB_DB_WriteNhp(&item), 0u);

  const FibDbNhpItem change{.nhp_index = 7, .nhp_num = 30, .ref_cnt = 40, .flags = 50, .table_smooth_id = 60};
  EXPECT_EQ(FIB_DB_UpdateNhpRefCount(&change), 0u);
  FibDbNhpItem read{.nhp_index = 7};
  EXPECT_EQ(FIB_DB_ReadNhp(&read), 0u);
  EXPECT_EQ(read.ref_cnt, 40u);
  EXPECT_EQ(read.flags, 5u);
  EXPECT_EQ(read.vr_id, 1u);
  EXPECT_EQ(read.time_stamp_svc, 1ull << 40);

  EXPECT_EQ(FIB_DB_UpdateNhpFlags(&change), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpNumAndSmoothID(&change), 0u);
  EXPECT_EQ(FIB_DB_UpdateNhpSmoothID(&change), 0u);
  EXPECT_EQ(FIB_DB_ReadNhp(&read), 0u);
  EXPECT_EQ(read.flags, 50u);
  EXPECT_EQ(read.nhp_num, 30);
  EXPECT_EQ(read.table_smooth_id, 60u);

  EXPECT_EQ(FIB_DB_RemoveNhp(&item), 0u);
  EXPECT_EQ(FIB_DB_ReadNhp(&read), 60u);
  EXPECT_EQ(FIB_DB_RemoveNhp(&item), 15005u);
}

TEST_F(TablesTest, Next_hops_are_walked_whole_by_VRF_and_by_router) {
  for (uint32_t i = 1; i <= 6; ++i) {
    const FibDbNhpItem item{.nhp_index = i, .vr_id = i % 2, .vrf_index = i % 3, .app_source_id = 9};
    ASSERT_EQ(FIB_DB_WriteNhp(&item), 0u);
  }
  EXPECT_THAT(indexes(FIB_DB_CreateNhpIterator(FIB_DB_NO_PROPERTY)), UnorderedElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(indexes(FIB_DB_CreateNhpIterator(1)), UnorderedElementsAre(1, 3, 5));
  EXPECT_THAT(indexes(FIB_DB_CreateNhpIteratorByVrf(1, 2, 9, FIB_DB_NO_PROPERTY)), ElementsAre(5));
  EXPECT_THAT(indexes(FIB_DB_CreateNhpIteratorByVrf(1, 2, 8, FIB_DB_NO_PROPERTY)), ElementsAre());
}

TEST_F(TablesTest, A_publication_is_a_success_that_is_counted) {
  const uint32_t before = g_fibDbErrStat[FIB_DB_TABLE_NHP][FIB_DB_OPER_PUB];
  ASSERT_EQ(fibdb_engine_fault(fibdb_engine_find_table("nhp"), DB_RET_PUB_STATUS, 1), 0u);
  const FibDbNhpItem item{.nhp_index = 7};
  EXPECT_EQ(FIB_DB_WriteNhp(&item), 0u);
  EXPECT_EQ(g_fibDbErrStat[FIB_DB_TABLE_NHP][FIB_DB_OPER_PUB], before + 1);
  FibDbNhpItem read{.nhp_index = 7};
  EXPECT_EQ(FIB_DB_ReadNhp(&read), 0u);
}

class ArGroupTest : public EngineTest {
 protected:
  static FibDbArGroupAttrItem groupOf(uint32_t id, uint8_t originType, uint32_t origin) {
    return {.keyWord1 = id,
            .attrWord1 = id + 1,
            .keyWord2 = 2,
            .keyByte = 3,
            .originType = originType,
            .originatorId = originType == 1 ? origin : 0,
            .originAsn = originType == 1 ? 0 : origin,
            .groupType = 1,
            .smoothId = 10};
  }
};

TEST_F(ArGroupTest, A_group_is_created_once_read_by_all_keys_and_deleted) {
  const FibDbArGroupAttrItem group = groupOf(100, 1, 55);
  EXPECT_EQ(FIB_DB_CreateArGroupAttr(&group), 0u);
  EXPECT_EQ(FIB_DB_CreateArGroupAttr(&group), uint32_t{DB_ERR_EXISTS});

  FibDbArGroupAttrItem read{.keyWord1 = 100, .keyWord2 = 2, .keyByte = 3};
  EXPECT_EQ(FIB_DB_ReadArGroupAttr(&read), 0u);
  EXPECT_EQ(read.attrWord1, 101u);
  EXPECT_EQ(read.smoothId, 10u);
  read = {.keyWord1 = 100, .keyWord2 = 2};
  EXPECT_EQ(FIB_DB_ReadArGroupAttrByAttrIdHash(&read), 0u);
  EXPECT_EQ(read.originatorId, 55u);
  FibDbArGroupAttrItem query{};
  FIB_DB_SetArGroupAttrGroupTypeHashKey(&query, &group);
  EXPECT_EQ(FIB_DB_ReadArGroupAttrByGroupTypeHash(&query), 0u);
  EXPECT_EQ(query.keyWord1, 100u);

  EXPECT_EQ(FIB_DB_DeleteArGroupAttr(&group), 0u);
  EXPECT_EQ(FIB_DB_DeleteArGroupAttr(&group), 15005u);
  EXPECT_EQ(FIB_DB_ReadArGroupAttr(&read), 15005u);
}

TEST_F(ArGroupTest, The_smooth_id_is_updated_and_nothing_else) {
  FibDbArGroupAttrItem group = groupOf(100, 0, 64512);
  EXPECT_EQ(FIB_DB_UpdateArGroupAttrSmoothId(&group), 15005u);
  EXPECT_EQ(FIB_DB_CreateArGroupAttr(&group), 0u);
  group.smoothId = 11;
  group.attrWord1 = 999;
  EXPECT_EQ(FIB_DB_UpdateArGroupAttrSmoothId(&group), 0u);
  FibDbArGroupAttrItem read{.keyWord1 = 100, .keyWord2 = 2, .keyByte = 3};
  EXPECT_EQ(FIB_DB_ReadArGroupAttr(&read), 0u);
  EXPECT_EQ(read.smoothId, 11u);
  EXPECT_EQ(read.attrWord1, 101u);
}

TEST_F(ArGroupTest, Groups_are_counted_and_walked_by_origin) {
  for (uint32_t id = 1; id <= 5; ++id) {
    const FibDbArGroupAttrItem group = groupOf(id, id % 2 == 0 ? 1 : 2, id < 4 ? 7 : 8);
    ASSERT_EQ(FIB_DB_CreateArGroupAttr(&group), 0u);
  }
  uint32_t count = 0;
  const FibDbArGroupAttrItem byAsn = groupOf(0, 2, 7);
  EXPECT_EQ(FIB_DB_CountArGroupAttrByGroupTypeHash(&byAsn, &count), 0u);
  EXPECT_EQ(count, 2u);

  std::vector<uint32_t> found;
  void* iterator = FIB_DB_CreateArGroupAttrIteratorByOriginValue(&byAsn, FIB_DB_NO_PROPERTY);
  FibDbArGroupAttrItem item{};
  uint32_t status = 0;
  while ((status = FIB_DB_GetNextArGroupAttrEntry(iterator, &item)) == 0) found.push_back(item.keyWord1);
  EXPECT_EQ(status, uint32_t{DB_ERR_ITER_END});
  EXPECT_EQ(FIB_DB_ReleaseArGroupAttrIterator(iterator), 0u);
  EXPECT_THAT(found, UnorderedElementsAre(1, 3));

  uint32_t walked = 0;
  // The table has no vr_id, so the property is ignored.
  iterator = FIB_DB_CreateArGroupAttrIterator(5);
  while (FIB_DB_GetNextArGroupAttrEntry(iterator, &item) == 0) ++walked;
  EXPECT_EQ(FIB_DB_ReleaseArGroupAttrIterator(iterator), 0u);
  EXPECT_EQ(walked, 5u);
}

TEST_F(ArGroupTest, Without_registration_the_service_says_so) {
  fibdb_engine_reset();
  const FibDbArGroupAttrItem group = groupOf(1, 1, 1);
  EXPECT_EQ(FIB_DB_CreateArGroupAttr(&group), uint32_t{DB_ERR_NOT_REGISTERED});
  EXPECT_EQ(FIB_DB_CreateArGroupAttrIterator(FIB_DB_NO_PROPERTY), nullptr);
}

}  // namespace
}  // namespace fibdb::test
