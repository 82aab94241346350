// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/runtime/registered_test.cc: the fifteen descriptors and the start-up loop.
#include "platform/objdb_tables.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;

class RegisteredTest : public TablesTest {};

TEST_F(RegisteredTest, TableRegisterInit_registers_all_fifteen_in_order) {
  FIB_DB_TableRegisterInit();
  EXPECT_THAT(platform.calls,
              ElementsAre("UFIB_DB_TableRegister(6, nhp_ext)", "UFIB_DB_TableRegister(24, nhp_ext_label)",
                          "UFIB_DB_TableRegister(8, nhp_vpnsid)", "UFIB_DB_TableRegister(1, nhp_group_node)",
                          "UFIB_DB_TableRegister(0, nhp_group)", "UFIB_DB_TableRegister(10, pri_attr)",
                          "UFIB_DB_TableRegister(11, ar_group_attr)", "UFIB_DB_TableRegister(30, fib_dod_aging)",
                          "UFIB_DB_TableRegister(28, fib_dod_rule)", "UFIB_DB_TableRegister(26, vrf_class_data)",
                          "UFIB_DB_TableRegister(12, force_frag)", "UFIB_DB_TableRegister(32, virtual_meth_host_route)",
                          "UFIB_DB_TableRegister(33, fwd_vs_vpn)", "UFIB_DB_TableRegister(34, fib_special_ip)",
                          "UFIB_DB_TableRegister(35, fib_special_ip_sub)"));
  EXPECT_TRUE(silent());
}

TEST_F(RegisteredTest, TableRegisterInit_goes_on_after_a_failure_and_logs_its_place) {
  platform.fail("UFIB_DB_TableRegister", 0);
  platform.fail("UFIB_DB_TableRegister", 0);
  platform.fail("UFIB_DB_TableRegister", 7);
  FIB_DB_TableRegisterInit();
  EXPECT_THAT(platform.errorLines, ElementsAre("[FIB_DB] TableRegisterInit Fail, ret=7,i=2"));
  EXPECT_EQ(platform.registered.size(), 14u);
  EXPECT_EQ(platform.registered.count(8), 0u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(RegisteredTest, Register_functions_return_the_code_of_the_service) {
  for (uint32_t (*const registerTable)() : g_fibDbTableRegister) {
    EXPECT_EQ(registerTable(), 0u);
    platform.fail("UFIB_DB_TableRegister", 4711);
    EXPECT_EQ(registerTable(), 4711u);
  }
  EXPECT_TRUE(silent());
}

TEST_F(RegisteredTest, The_array_holds_the_register_functions_in_order) {
  EXPECT_THAT(g_fibDbTableRegister,
              ElementsAre(FIB_DB_NhpExtRegister, FIB_DB_NhpExtLabelRegister, FIB_DB_NhpVpnSidRegister,
                          FIB_DB_NhpGroupNodeRegister, FIB_DB_NhpGroupRegister, FIB_DB_PriAttrRegister,
                          FIB_DB_ArGroupAttrRegister, FIB_DB_DodAgingRegister, FIB_DB_DodRuleRegister,
                          FIB_DB_VrfClassDataRegister, FIB_DB_IpForceFragRegister, FIB_DB_VirtualMethHostRegister,
                          FIB_DB_FwdVsVpnRegister, FIB_DB_SpecialIpRegister, FIB_DB_SpecialIpSubRegister));
}

// Each descriptor's functions are those of its own table of the database, in the descriptor's order.
TEST_F(RegisteredTest, Descriptors_reach_the_database_functions_of_their_table) {
  struct Expected {
    uint32_t (*registerTable)();
    const char* table;
  };
  const Expected all[] = {{FIB_DB_NhpExtRegister, "nhp_ext"},
                          {FIB_DB_NhpExtLabelRegister, "nhp_ext_label"},
                          {FIB_DB_NhpVpnSidRegister, "nhp_vpnsid"},
                          {FIB_DB_NhpGroupNodeRegister, "nhp_group_node"},
                          {FIB_DB_NhpGroupRegister, "nhp_group"},
                          {FIB_DB_PriAttrRegister, "pri_attr"},
                          {FIB_DB_ArGroupAttrRegister, "ar_group_attr"},
                          {FIB_DB_DodAgingRegister, "fib_dod_aging"},
                          {FIB_DB_DodRuleRegister, "fib_dod_rule"},
                          {FIB_DB_VrfClassDataRegister, "vrf_class_data"},
                          {FIB_DB_IpForceFragRegister, "ip_force_frag"},
                          {FIB_DB_VirtualMethHostRegister, "virtual_meth_host_route"},
                          {FIB_DB_FwdVsVpnRegister, "fwd_vs_vpn"},
                          {FIB_DB_SpecialIpRegister, "fib_special_ip"},
                          {FIB_DB_SpecialIpSubRegister, "fib_special_ip_sub"}};
  for (const Expected& expected : all) {
    platform.reset();
    expected.registerTable();
    const FibDbTableDesc& desc = platform.lastDescriptor;
    EXPECT_EQ(desc.zero1, 0u);
    EXPECT_EQ(desc.zero2, 0u);
    uint64_t object = 0;
    const Row row(schema::kMaxRowLength);
    desc.create(5, 0, &object);
    desc.reset(object, 4);
    desc.setAllFields(object, row.data(), 1);
    desc.release(object);
    platform.calls.erase(platform.calls.begin());
    const std::string table = expected.table;
    EXPECT_THAT(platform.calls,
                ElementsAre("db_create_" + table + "_obj(5)", "db_reset_" + table + "_object(#1, 4)",
                            "db_set_" + table + "_all_fields(#1, 1)", "db_release_" + table + "_object(#1)"));
  }
}

}  // namespace
}  // namespace fibdb::test
