// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/config/ecmp_cfg_test.cc: what is the ECMP record's alone, over the recorded platform; record_test.cc has what
// it shares with the global record.
#include "tests/config/config_fixture.h"

namespace fibdb::test {
namespace {

// The layout that callers were compiled against.
static_assert(offsetof(FibDbEcmpProc, profileId) == 4 && offsetof(FibDbEcmpProc, sip) == 8);
static_assert(offsetof(FibDbEcmpProc, dpcf) == 17 && sizeof(FibDbEcmpProc) == 20);
static_assert(offsetof(FibDbNvo3VxlanHash, sip) == 8 && offsetof(FibDbNvo3VxlanHash, vni) == 14);
static_assert(sizeof(FibDbNvo3VxlanHash) == 16);
static_assert(offsetof(FibDbEcmpTunnel, dstMac) == 15 && offsetof(FibDbEcmpTunnel, ecmpInnerHashFlag) == 16);
static_assert(offsetof(FibDbEcmpTunnel, includeErspan) == 20 && sizeof(FibDbEcmpTunnel) == 24);
static_assert(offsetof(FibDbEcmpHashMode, underlay_hashmode) == 12 && sizeof(FibDbEcmpHashMode) == 16);
static_assert(offsetof(FibDbEcmpUniversalId, overlayRandom) == 24 && sizeof(FibDbEcmpUniversalId) == 28);
static_assert(offsetof(FibDbEcmpSeed, overlaySeed) == 12 && sizeof(FibDbEcmpSeed) == 16);
static_assert(offsetof(FibDbEcmpCfgItem, proc) == 8 && offsetof(FibDbEcmpCfgItem, nvo3VxlanHash) == 28);
static_assert(offsetof(FibDbEcmpCfgItem, tunnel) == 44 && offsetof(FibDbEcmpCfgItem, hashMode) == 68);
static_assert(offsetof(FibDbEcmpCfgItem, universalId) == 84 && offsetof(FibDbEcmpCfgItem, hashBala) == 112);
static_assert(offsetof(FibDbEcmpCfgItem, hasRailGroupMember) == 115 && offsetof(FibDbEcmpCfgItem, seed) == 116);
static_assert(offsetof(FibDbEcmpCfgItem, vxlanOverlayMode) == 132 && offsetof(FibDbEcmpCfgItem, gtpTeid) == 148);
static_assert(offsetof(FibDbEcmpCfgItem, dpfrEnable) == 152 && offsetof(FibDbEcmpCfgItem, perPacket) == 155);
static_assert(offsetof(FibDbEcmpCfgItem, statefulNum) == 156 && offsetof(FibDbEcmpCfgItem, perPacketMode) == 158);
static_assert(offsetof(FibDbEcmpCfgItem, dlbEnable) == 159 && sizeof(FibDbEcmpCfgItem) == 160);

class EcmpCfgTest : public ConfigTest {
 protected:
  FibDbEcmpCfgItem item{};
};

TEST_F(EcmpCfgTest, FillEcmpCfgPrimaryKey_writes_index_and_router) {
  uint32_t indexId = 1;
  uint32_t key = 2;
  FIB_DB_FillEcmpCfgPrimaryKey(&indexId, &key, 42);
  EXPECT_EQ(indexId, 0x00010004u);
  EXPECT_EQ(key, 42u);
  EXPECT_TRUE(nothingHappened());
}

// Values that are not set.
TEST_F(EcmpCfgTest, HandleEcmpCfgDefaultValue_clears_the_flag_of_each_value_that_is_not_set) {
  const struct {
    uint32_t FibDbEcmpCfgItem::*value;
    uint32_t flag;
  } values[] = {{&FibDbEcmpCfgItem::vxlanOverlayMode, 0x80},
                {&FibDbEcmpCfgItem::localEnhanced, 0x100},
                {&FibDbEcmpCfgItem::localChassis, 0x200},
                {&FibDbEcmpCfgItem::gtpTeid, 0x2000}};
  for (const auto& [value, flag] : values) {
    item = {.validFlags = 0xFFFFFFFF};
    item.*value = 0xFFFFFFFF;
    FIB_DB_HandleEcmpCfgDefaultValue(&item);
    EXPECT_EQ(item.validFlags, ~flag);
    item.validFlags = 0xFFFFFFFF;
    item.*value = 0xFFFFFFFE;
    FIB_DB_HandleEcmpCfgDefaultValue(&item);
    EXPECT_EQ(item.validFlags, 0xFFFFFFFFu);
  }
  for (const auto& [value, flag] : values) item.*value = 0xFFFFFFFF;
  item.validFlags = 0xFFFFFFFF;
  FIB_DB_HandleEcmpCfgDefaultValue(&item);
  EXPECT_EQ(item.validFlags, 0xFFFFDC7Fu);
  item = {.validFlags = 0, .vxlanOverlayMode = 5};
  FIB_DB_HandleEcmpCfgDefaultValue(&item);
  EXPECT_EQ(item.validFlags, 0u) << "flags are never set";
  EXPECT_TRUE(nothingHappened());
}

TEST_F(EcmpCfgTest, GetEcmpCfgItem_clears_the_flags_of_values_that_are_not_set_and_only_of_those) {
  const std::pair<const char*, uint32_t> fields[] = {{"vxlan_overlay_mode", 0x80},
                                                     {"local_enhanced", 0x100},
                                                     {"local_chassis", 0x200},
                                                     {"ecmp_gtp_teid", 0x2000},
                                                     {"dlb_gap_time", 0}};
  for (const auto& [field, flag] : fields) {
    Row row;
    putField(schema::TableId::ecmp_cfg, row, field, 0xFFFFFFFF);
    platform.record(schema::TableId::ecmp_cfg) = row;
    EXPECT_EQ(FIB_DB_GetEcmpCfgItem(7, &item), 0u);
    EXPECT_EQ(item.validFlags, ~flag) << field;
  }
}

// The result of filling an item is that of its last part.
TEST_F(EcmpCfgTest, GetEcmpCfgItem_gives_what_the_universal_id_gave_and_nothing_of_the_other_nodes) {
  for (int failing = 0; failing < 6; ++failing) {
    for (int i = 0; i < failing; ++i) platform.fail("db_create_child_node", 0);
    platform.fail("db_create_child_node", kCode);
    EXPECT_EQ(FIB_DB_GetEcmpCfgItem(7, &item), failing == 5 ? 1u : 0u) << failing;
  }
  platform.fail("db_get_ecmp_cfg_ecmp_universalId_overlayRandom", kCode);
  EXPECT_EQ(FIB_DB_GetEcmpCfgItem(7, &item), 1u);
}

TEST_F(EcmpCfgTest, GetEcmpCfgItem_says_the_codes_of_its_scalars_ORed) {
  platform.fail("db_get_ecmp_cfg_vr_id", 5);
  platform.fail("db_get_ecmp_cfg_ecmp_dlb_enable", 8);
  EXPECT_EQ(FIB_DB_GetEcmpCfgItem(7, &item), 0u);
  EXPECT_THAT(platform.errorLines, testing::ElementsAre("GetEcmpCfgItem basic fields fail, ret=13."));
}

// Callbacks.
TEST_F(EcmpCfgTest, Callbacks_of_NULL_give_1_without_a_call) {
  EXPECT_EQ(FIB_DB_ReadEcmpCfgInfo(&vr, &item, nullptr), 1u);
  EXPECT_EQ(FIB_DB_WriteEcmpCfg(&vr, &item, nullptr), 1u);
  EXPECT_EQ(FIB_DB_UpdateEcmpCfg(&vr, &item, nullptr), 1u);
  EXPECT_TRUE(nothingHappened());
}

TEST_F(EcmpCfgTest, A_setter_that_fails_gives_1_in_a_write_and_its_own_result_in_an_update) {
  const auto setter = [](uint64_t, const void*) { return kCode; };
  expectFailed(FIB_DB_WriteEcmpCfg(&vr, nullptr, setter), {1, {}});
  expectFailed(FIB_DB_UpdateEcmpCfg(&vr, nullptr, setter), {kCode, {}});
}

}  // namespace
}  // namespace fibdb::test
