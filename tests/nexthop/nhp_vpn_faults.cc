// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_vpn_faults.cc: the rows of the VPN next hops for the fault loop.
#include "fibdb/nexthop.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpVpnItem item{.nhp_index = 42};

const Rules kUnpacking{{"db_get_nhp_vpn_*", ignored}};
const Rules kRemoving = onObjectOf("nhp_vpn", {{"db_remove_obj", written}});

const FaultRows kRows{
    {"FIB_DB_SetNhpVpnKeyField",
     [] {
       FibDbKeyDesc out{};
       uint8_t bytes[16];
       return FIB_DB_SetNhpVpnKeyField(&out, bytes, &item), 0u;
     },
     {}},
    {"FIB_DB_SetNhpVpnItem", [] { return FIB_DB_SetNhpVpnItem(callersObject, &item); }, {{"db_set_nhp_vpn_*", one}}},
    {"FIB_DB_GetNhpVpnItem", [] { return FIB_DB_GetNhpVpnItem(callersObject, &item), 0u; }, kUnpacking},
    {"FIB_DB_WriteNhpVpn", [] { return FIB_DB_WriteNhpVpn(&item); },
     onObjectOf("nhp_vpn", {{"db_set_nhp_vpn_*", one}, {"db_write_obj", written}})},
    {"FIB_DB_ReadNhpVpn", [] { return FIB_DB_ReadNhpVpn(&item); },
     onObjectOf("nhp_vpn", Rules{{"db_read_obj", readOrRaw}} + kUnpacking)},
    {"FIB_DB_ReadNhpVpnByNhpIndex", [] { return FIB_DB_ReadNhpVpnByNhpIndex(42, &item); },
     onObjectOf("nhp_vpn", Rules{{"db_create_root_iter", raw}, {"db_root_iterator_next", raw}} + kUnpacking)},
    {"FIB_DB_CountNhpVpnByNhpIndex",
     [] {
       uint8_t count = 0;
       return FIB_DB_CountNhpVpnByNhpIndex(42, &count);
     },
     onObjectOf("nhp_vpn", {{"db_get_table_record_count_by_key", raw}})},
    {"FIB_DB_RemoveNhpVpn", [] { return FIB_DB_RemoveNhpVpn(&item); }, kRemoving},
    {"FIB_DB_RemoveNhpVpnByNhpIndex", [] { return FIB_DB_RemoveNhpVpnByNhpIndex(42); }, kRemoving},
};

}  // namespace
}  // namespace fibdb::test::fault
