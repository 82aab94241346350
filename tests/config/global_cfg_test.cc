// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/config/global_cfg_test.cc: what is the global record's alone, over the recorded platform; record_test.cc has
// what it shares with the ECMP record.
#include "tests/config/config_fixture.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;

// The layout that callers were compiled against.
static_assert(offsetof(FibDbLoadBalance, mode) == 4 && offsetof(FibDbLoadBalance, sip) == 5);
static_assert(offsetof(FibDbLoadBalance, l4dport) == 8 && sizeof(FibDbLoadBalance) == 12);
static_assert(offsetof(FibDbGlbCfgItem, methIsolate) == 8 && offsetof(FibDbGlbCfgItem, icmpFast) == 10);
static_assert(offsetof(FibDbGlbCfgItem, loadBalance) == 12 && offsetof(FibDbGlbCfgItem, balanceReverse) == 24);
static_assert(offsetof(FibDbGlbCfgItem, inNextEn) == 28 && offsetof(FibDbGlbCfgItem, ipv4IgnrMac) == 32);
static_assert(offsetof(FibDbGlbCfgItem, ipv4GlbTtl) == 36 && offsetof(FibDbGlbCfgItem, mlagRouteEnhance) == 40);
static_assert(offsetof(FibDbGlbCfgItem, dodEnable) == 44 && sizeof(FibDbGlbCfgItem) == 48);

class GlobalCfgTest : public ConfigTest {
 protected:
  void SetUp() override {
    uint64_t value = 1;
    for (const char* const field : {"load_balance_mode", "load_balance_sip", "load_balance_dip", "load_balance_l4sport",
                                    "load_balance_l4dport"}) {
      putField(schema::TableId::global_cfg, platform.record(schema::TableId::global_cfg), field, value++);
    }
  }
  static auto fieldsOf(const FibDbLoadBalance& node) {
    return std::vector<int>{node.mode, node.sip, node.dip, node.l4sport, node.l4dport};
  }
  // The getters of the node, through its handle.
  static Calls getCalls(const std::string& handle) {
    return {"db_get_global_cfg_load_balance_mode(" + handle + ")", "db_get_global_cfg_load_balance_sip(" + handle + ")",
            "db_get_global_cfg_load_balance_dip(" + handle + ")",
            "db_get_global_cfg_load_balance_l4sport(" + handle + ")",
            "db_get_global_cfg_load_balance_l4dport(" + handle + ")"};
  }

  FibDbLoadBalance node{.callerWord = 77, .rsv = {7, 8, 9}};
};

TEST_F(GlobalCfgTest, FillGlbCfgKey_writes_index_and_router) {
  uint32_t indexId = 1;
  uint32_t key = 2;
  FIB_DB_FillGlbCfgKey(&key, &indexId, &vr);
  EXPECT_EQ(indexId, 0x00010004u);
  EXPECT_EQ(key, 42u);
  EXPECT_TRUE(nothingHappened());
}

// The load balance, as a part of an item.
TEST_F(GlobalCfgTest, GetGlbCfgLoadBalance_fills_every_field_in_order_and_nothing_beside_them) {
  EXPECT_EQ(FIB_DB_GetGlbCfgLoadBalance(7, &node), 0u);
  EXPECT_EQ(platform.calls, Calls{opened("load_balance", "7")} + getCalls("+1"));
  EXPECT_THAT(fieldsOf(node), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_EQ(node.callerWord, 77u);
  EXPECT_THAT(node.rsv, ElementsAre(7, 8, 9));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_F(GlobalCfgTest, GetGlbCfgLoadBalance_returns_whatever_code_the_node_cannot_be_opened_with_silently) {
  for (const uint32_t code : {10058u, kCode, 1u}) {
    platform.reset();
    platform.fail("db_create_child_node", code);
    expectFailed(FIB_DB_GetGlbCfgLoadBalance(7, &node), {code, {}});
    EXPECT_EQ(platform.calls, Calls{opened("load_balance", "7")});
    EXPECT_THAT(fieldsOf(node), ElementsAre(0, 0, 0, 0, 0));
  }
}

TEST_F(GlobalCfgTest, GetGlbCfgLoadBalance_whose_fields_fail_says_so_and_returns_their_codes_ORed) {
  platform.fail("db_get_global_cfg_load_balance_mode", 5);
  platform.fail("db_get_global_cfg_load_balance_l4dport", 8);
  expectFailed(FIB_DB_GetGlbCfgLoadBalance(7, &node), {13, {"Get global load balance rest fields fail."}});
  EXPECT_THAT(fieldsOf(node), ElementsAre(0, 2, 3, 4, 0));
}

// The load balance, as a setting.
TEST_F(GlobalCfgTest, GetBalanceMode_reads_a_node_that_was_never_written_through_whatever_handle_there_is) {
  platform.fail("db_create_child_node", 10058);
  EXPECT_EQ(FIB_DB_GetBalanceMode(7, &node), 0u);
  EXPECT_EQ(platform.calls, Calls{opened("load_balance", "7")} + getCalls("0"));
  EXPECT_THAT(fieldsOf(node), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_F(GlobalCfgTest, GetBalanceMode_of_a_node_that_was_never_written_says_fields_that_fail) {
  platform.fail("db_create_child_node", 10058);
  platform.fail("db_get_global_cfg_load_balance_sip", 5);
  expectFailed(FIB_DB_GetBalanceMode(7, &node), {1, {"GetBalanceMode field fail, ret=5."}});
}

TEST_F(GlobalCfgTest, GetBalanceMode_lets_that_one_code_pass_and_no_other) {
  for (const uint32_t code : {10057u, 10059u, 15005u, 13044u}) {
    platform.reset();
    platform.fail("db_create_child_node", code);
    EXPECT_EQ(FIB_DB_GetBalanceMode(7, &node), 1u);
    EXPECT_THAT(platform.errorLines,
                ElementsAre("GetBalanceMode fail, create child node failed. ret = " + std::to_string(code) + "."));
    EXPECT_EQ(platform.calls.size(), 1u);
  }
}

TEST_F(GlobalCfgTest, SetBalanceMode_lets_no_code_pass) {
  platform.fail("db_create_child_node", 10058);
  expectFailed(FIB_DB_SetBalanceMode(7, &node), {1, {"SetBalanceMode fail, create child node failed. ret = 10058."}});
  EXPECT_EQ(platform.calls.size(), 1u);
}

// The item.
TEST_F(GlobalCfgTest, GetGlbCfgItem_gives_what_the_load_balance_gave) {
  FibDbGlbCfgItem item{};
  platform.fail("db_create_child_node", 10058);
  EXPECT_EQ(FIB_DB_GetGlbCfgItem(7, &item), 10058u);
  EXPECT_EQ(item.validFlags, 0xFFFFFFFBu);
  EXPECT_TRUE(nothingSaidOrCounted());
}

// Callbacks.
TEST_F(GlobalCfgTest, WriteGlbCfgFunc_says_the_codes_of_router_defaults_and_setter_ORed) {
  platform.fail("db_set_global_cfg_vr_id", 1);
  platform.fail("db_set_global_cfg_icmp_echo_fast", 2);
  const auto setter = [](uint64_t, const void*) { return 4u; };
  expectFailed(FIB_DB_WriteGlbCfgFunc(&vr, nullptr, setter),
               {1, {"WriteGlbCfgFunc fail, set fields failed. ret = 7."}});
  platform.errorLines.clear();
  const auto signedOne = [](uint64_t, const void*) { return kCode; };
  expectFailed(FIB_DB_WriteGlbCfgFunc(&vr, nullptr, signedOne),
               {1, {"WriteGlbCfgFunc fail, set fields failed. ret = 4294967289."}});
}

TEST_F(GlobalCfgTest, UpdateGlbCfgFunc_says_and_returns_what_the_setter_returned) {
  const auto setter = [](uint64_t, const void*) { return kCode; };
  expectFailed(FIB_DB_UpdateGlbCfgFunc(&vr, nullptr, setter),
               {kCode, {"UpdateGlbCfgFunc set field failed. ret = -7."}});
}

}  // namespace
}  // namespace fibdb::test
