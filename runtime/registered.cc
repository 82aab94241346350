// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// runtime/registered.cc: the descriptors of the registered tables, their register functions, and the start-up loop.
#include "runtime/registered.h"

#include <iterator>

#include "fibdb/runtime.h"
#include "platform/objdb_tables.h"
#include "runtime/text.h"

namespace {

static_assert(sizeof(FibDbTableDesc) == 56);

// The calls of one table of the object database, under the name by which the service knows it.
#define DESCRIPTOR(name, table)                                                            \
  {                                                                                        \
    name, db_create_##table##_obj, db_release_##table##_object, db_reset_##table##_object, \
        db_set_##table##_all_fields, 0, 0                                                  \
  }

constexpr FibDbTableDesc kNhpExt = DESCRIPTOR("nhp_ext", nhp_ext);
constexpr FibDbTableDesc kNhpExtLabel = DESCRIPTOR("nhp_ext_label", nhp_ext_label);
constexpr FibDbTableDesc kNhpVpnSid = DESCRIPTOR("nhp_vpnsid", nhp_vpnsid);
constexpr FibDbTableDesc kNhpGroupNode = DESCRIPTOR("nhp_group_node", nhp_group_node);
constexpr FibDbTableDesc kNhpGroup = DESCRIPTOR("nhp_group", nhp_group);
constexpr FibDbTableDesc kPriAttr = DESCRIPTOR("pri_attr", pri_attr);
constexpr FibDbTableDesc kArGroupAttr = DESCRIPTOR("ar_group_attr", ar_group_attr);
constexpr FibDbTableDesc kDodAging = DESCRIPTOR("fib_dod_aging", fib_dod_aging);
constexpr FibDbTableDesc kDodRule = DESCRIPTOR("fib_dod_rule", fib_dod_rule);
constexpr FibDbTableDesc kVrfClassData = DESCRIPTOR("vrf_class_data", vrf_class_data);
// Required: the service's name is not the database's.
constexpr FibDbTableDesc kIpForceFrag = DESCRIPTOR("force_frag", ip_force_frag);
constexpr FibDbTableDesc kVirtualMethHost = DESCRIPTOR("virtual_meth_host_route", virtual_meth_host_route);
constexpr FibDbTableDesc kFwdVsVpn = DESCRIPTOR("fwd_vs_vpn", fwd_vs_vpn);
constexpr FibDbTableDesc kSpecialIp = DESCRIPTOR("fib_special_ip", fib_special_ip);
constexpr FibDbTableDesc kSpecialIpSub = DESCRIPTOR("fib_special_ip_sub", fib_special_ip_sub);

#undef DESCRIPTOR

// The service gets a copy, which lives for this call only.
uint32_t registerTable(fibdb::UfibTableId id, FibDbTableDesc copy) { return UFIB_DB_TableRegister(id, &copy); }

}  // namespace

uint32_t FIB_DB_NhpExtRegister() { return registerTable(fibdb::kUfibNhpExt, kNhpExt); }
uint32_t FIB_DB_NhpExtLabelRegister() { return registerTable(fibdb::kUfibNhpExtLabel, kNhpExtLabel); }
uint32_t FIB_DB_NhpVpnSidRegister() { return registerTable(fibdb::kUfibNhpVpnSid, kNhpVpnSid); }
uint32_t FIB_DB_NhpGroupNodeRegister() { return registerTable(fibdb::kUfibNhpGroupNode, kNhpGroupNode); }
uint32_t FIB_DB_NhpGroupRegister() { return registerTable(fibdb::kUfibNhpGroup, kNhpGroup); }
uint32_t FIB_DB_PriAttrRegister() { return registerTable(fibdb::kUfibPriAttr, kPriAttr); }
uint32_t FIB_DB_ArGroupAttrRegister() { return registerTable(fibdb::kUfibArGroupAttr, kArGroupAttr); }
uint32_t FIB_DB_DodAgingRegister() { return registerTable(fibdb::kUfibDodAging, kDodAging); }
uint32_t FIB_DB_DodRuleRegister() { return registerTable(fibdb::kUfibDodRule, kDodRule); }
uint32_t FIB_DB_VrfClassDataRegister() { return registerTable(fibdb::kUfibVrfClassData, kVrfClassData); }
uint32_t FIB_DB_IpForceFragRegister() { return registerTable(fibdb::kUfibIpForceFrag, kIpForceFrag); }
uint32_t FIB_DB_VirtualMethHostRegister() { return registerTable(fibdb::kUfibVirtualMethHost, kVirtualMethHost); }
uint32_t FIB_DB_FwdVsVpnRegister() { return registerTable(fibdb::kUfibFwdVsVpn, kFwdVsVpn); }
uint32_t FIB_DB_SpecialIpRegister() { return registerTable(fibdb::kUfibSpecialIp, kSpecialIp); }
uint32_t FIB_DB_SpecialIpSubRegister() { return registerTable(fibdb::kUfibSpecialIpSub, kSpecialIpSub); }

uint32_t (*const g_fibDbTableRegister[15])() = {
    FIB_DB_NhpExtRegister,   FIB_DB_NhpExtLabelRegister,  FIB_DB_NhpVpnSidRegister,    FIB_DB_NhpGroupNodeRegister,
    FIB_DB_NhpGroupRegister, FIB_DB_PriAttrRegister,      FIB_DB_ArGroupAttrRegister,  FIB_DB_DodAgingRegister,
    FIB_DB_DodRuleRegister,  FIB_DB_VrfClassDataRegister, FIB_DB_IpForceFragRegister,  FIB_DB_VirtualMethHostRegister,
    FIB_DB_FwdVsVpnRegister, FIB_DB_SpecialIpRegister,    FIB_DB_SpecialIpSubRegister,
};

void FIB_DB_TableRegisterInit() {
  constexpr fibdb::Text<uint32_t, uint32_t> failed = "[FIB_DB] TableRegisterInit Fail, ret=%u,i=%u";
  for (uint32_t i = 0; i < std::size(g_fibDbTableRegister); ++i) {
    if (const uint32_t code = g_fibDbTableRegister[i]()) failed.error(code, i);
  }
}
