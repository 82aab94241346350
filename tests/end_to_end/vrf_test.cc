// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/vrf_test.cc: VRFs and local routes over the engine.
#include <algorithm>
#include <cstring>

#include "tests/end_to_end/engine_fixture.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

FibDbVrfItem vrfOf(uint32_t vr, uint32_t id, const char* name) {
  FibDbVrfItem item{vr, id, {}, 4, 5, 6ull << 40, 7};
  std::strncpy(item.vrf_name, name, sizeof item.vrf_name - 1);
  return item;
}

class VrfTest : public EngineTest {
 protected:
  static FibDbVrfItem read(uint32_t vr, uint32_t id) {
    FibDbVrfItem item{};
    item.vr_id = vr;
    item.vrf_id = id;
    EXPECT_EQ(VRF_DB_Read(&item), 0u);
    return item;
  }
};

TEST_F(VrfTest, lives_its_life) {
  FibDbVrfItem item = vrfOf(1, 2, "red");
  EXPECT_EQ(VRF_DB_Read(&item), 60u);
  EXPECT_EQ(VRF_DB_Write(&item), 0u);
  const FibDbVrfItem found = read(1, 2);
  EXPECT_STREQ(found.vrf_name, "red");
  EXPECT_EQ(found.app_source_id, 4u);
  EXPECT_EQ(found.table_smooth_id, 5u);
  EXPECT_EQ(found.app_obj_id, 6ull << 40);
  EXPECT_EQ(found.app_version, 7u);
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountVrf(&count), 0u);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(VRF_DB_Remove(&item), 0u);
  EXPECT_EQ(VRF_DB_Read(&item), 60u);
  EXPECT_EQ(VRF_DB_Remove(&item), 15005u);
  EXPECT_THAT(std::exchange(logged, {}), ElementsAre("Remove vrf DB failed, ret: 15005"));
}

TEST_F(VrfTest, is_found_by_name_and_its_name_by_id) {
  const std::string longest(31, 'x');
  for (const auto& item : {vrfOf(1, 2, "red"), vrfOf(1, 3, longest.c_str()), vrfOf(2, 4, "red")}) {
    ASSERT_EQ(VRF_DB_Write(&item), 0u);
  }
  uint32_t id = 99;
  EXPECT_EQ(VRF_INTF_GetIdByName(1, "red", &id), 0u);
  EXPECT_EQ(id, 2u);
  EXPECT_EQ(VRF_INTF_GetIdByName(2, "red", &id), 0u);
  EXPECT_EQ(id, 4u);
  EXPECT_EQ(VRF_INTF_GetIdByName(1, longest.c_str(), &id), 0u);
  EXPECT_EQ(id, 3u);
  id = 99;
  EXPECT_EQ(VRF_INTF_GetIdByName(1, "re", &id), 0u);
  EXPECT_EQ(id, 99u);
  EXPECT_EQ(VRF_INTF_GetIdByName(1, (longest + "x").c_str(), &id), 1u);
  EXPECT_THAT(std::exchange(logged, {}), ElementsAre("GetIdByName failed, strcpy failed."));

  char name[32] = "before";
  EXPECT_EQ(VRF_INTF_GetNameById(1, 3, name, sizeof name), 0u);
  EXPECT_EQ(name, longest);
  EXPECT_EQ(VRF_INTF_GetNameById(1, 9, name, sizeof name), 1u);
  EXPECT_STREQ(name, "");
}

TEST_F(VrfTest, a_renamed_one_is_found_by_its_new_name_alone) {
  FibDbVrfItem item = vrfOf(1, 2, "red");
  ASSERT_EQ(VRF_DB_Write(&item), 0u);
  item = vrfOf(1, 2, "blue");
  ASSERT_EQ(VRF_DB_Write(&item), 0u);
  uint32_t id = 99;
  EXPECT_EQ(VRF_INTF_GetIdByName(1, "red", &id), 0u);
  EXPECT_EQ(id, 99u);
  EXPECT_EQ(VRF_INTF_GetIdByName(1, "blue", &id), 0u);
  EXPECT_EQ(id, 2u);
}

TEST_F(VrfTest, those_of_a_router_are_listed_as_far_as_there_is_room) {
  for (uint32_t id = 1; id <= 3; ++id) {
    const FibDbVrfItem item = vrfOf(1, id, "x");
    ASSERT_EQ(VRF_DB_Write(&item), 0u);
  }
  const FibDbVrfItem other = vrfOf(2, 9, "x");
  ASSERT_EQ(VRF_DB_Write(&other), 0u);
  uint32_t ids[4] = {};
  uint32_t count = 10;
  EXPECT_EQ(FIB_DB_GetVrfByVrId(1, ids, 4, &count), 0u);
  EXPECT_THAT(ids, UnorderedElementsAre(0, 1, 2, 3));
  EXPECT_EQ(count, 13u);
  EXPECT_EQ(FIB_DB_GetVrfByVrId(1, ids, 2, &count), 0u);
  EXPECT_EQ(count, 15u);
  EXPECT_EQ(FIB_DB_GetVrfByVrId(1, ids, 0, &count), 0u);
  EXPECT_EQ(FIB_DB_GetVrfByVrId(7, ids, 4, &count), 0u);
  EXPECT_EQ(count, 15u);

  const auto walk = [](uint32_t property) {
    std::vector<uint32_t> found;
    FibDbIterator* const iterator = FIB_DB_CreateVrfIterator(property);
    FibDbVrfItem item{};
    while (FIB_DB_GetNextVrf(iterator, &item) == 0) found.push_back(item.vrf_id);
    EXPECT_EQ(FIB_DB_GetNextVrf(iterator, &item), 60u);
    FIB_DB_ReleaseVrfIterator(iterator);
    return found;
  };
  EXPECT_THAT(walk(FIB_DB_NO_PROPERTY), UnorderedElementsAre(1, 2, 3, 9));
  EXPECT_THAT(walk(1), UnorderedElementsAre(1, 2, 3));
  EXPECT_THAT(walk(7), IsEmpty());
}

class LocalRouteTest : public EngineTest {
 protected:
  static FibDbMeLocalRouteItem routeOf(uint32_t address) { return {1, 2, address, 32, {}}; }
};

TEST_F(LocalRouteTest, lives_its_life) {
  const FibDbMeLocalRouteItem item = routeOf(0x0A000001);
  EXPECT_EQ(FIB_DB_WriteMeLocalRoute(&item), 0u);
  EXPECT_EQ(FIB_DB_WriteMeLocalRoute(&item), 0u);  // the same one again
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountMeLocalRoute(&count), 0u);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(FIB_DB_RemoveMeLocalRoute(&item), 0u);
  EXPECT_EQ(FIB_DB_RemoveMeLocalRoute(&item), 15005u);
  EXPECT_THAT(std::exchange(logged, {}), ElementsAre("RemoveMeLocalRoute failed, ret: 15005"));
}

TEST_F(LocalRouteTest, is_scanned_at_every_buffer_size) {
  for (uint32_t i = 1; i <= 3; ++i) {
    const FibDbMeLocalRouteItem item = routeOf(i);
    ASSERT_EQ(FIB_DB_WriteMeLocalRoute(&item), 0u);
  }
  for (uint32_t bytes = 0; bytes <= 80; ++bytes) {
    std::vector<FibDbMeLocalRouteItem> items(5, routeOf(0));
    EXPECT_EQ(FIB_DB_ScanMeLocalRoute(bytes, items.data()), 0u);
    const auto filled = std::ranges::count_if(items, [](const auto& item) { return item.dest_ip_addr != 0; });
    EXPECT_EQ(filled, std::min<uint32_t>(bytes / 16, 3)) << bytes;
  }
}

}  // namespace
}  // namespace fibdb::test
