// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_group_ftn_faults.cc: the rows of the prefixes bound to groups for the fault loop.
#include "fibdb/nexthop.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpGroupItem ftn{.dest_ip_addr = 0x0A000000, .dest_mask_len = 8};

const Rules kUnpacking{{"db_get_nhp_group_ftn_*", ignored}, {"memcpy_s", ignored}};

const FaultRows kRows{
    {"FIB_DB_SetNhpGroupFtnKeyField",
     [] {
       FibDbKeyDesc desc{};
       uint8_t key[13];
       return FIB_DB_SetNhpGroupFtnKeyField(&desc, key, &ftn), 0u;
     },
     {}},
    {"FIB_DB_SetNhpGroupFtnItem",
     [] { return FIB_DB_SetNhpGroupFtnItem(callersObject, &ftn); },
     {{"db_set_nhp_group_ftn_*", one}}},
    {"FIB_DB_GetNhpGroupFtnBaseItem",
     [] { return FIB_DB_GetNhpGroupFtnBaseItem(callersObject, &ftn); },
     {{"db_get_nhp_group_ftn_*", raw}}},
    {"FIB_DB_GetNhpGroupFtnItem", [] { return FIB_DB_GetNhpGroupFtnItem(callersObject, &ftn), 0u; }, kUnpacking},
    {"FIB_DB_WriteNhpGroupFtn", [] { return FIB_DB_WriteNhpGroupFtn(&ftn); },
     onObjectOf("nhp_group_ftn", {{"db_set_nhp_group_ftn_*", one}, {"db_write_obj", written}})},
    {"FIB_DB_ReadNhpGroupFtn", [] { return FIB_DB_ReadNhpGroupFtn(&ftn); },
     onObjectOf("nhp_group_ftn", Rules{{"db_read_obj", read}} + kUnpacking)},
    {"FIB_DB_RemoveNhpGroupFtn", [] { return FIB_DB_RemoveNhpGroupFtn(&ftn); },
     onObjectOf("nhp_group_ftn", {{"db_remove_obj", written}})},
};

}  // namespace
}  // namespace fibdb::test::fault
