// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/fwd_vs_vpn_faults.cc: the rows of the bindings of forwarding virtual systems for the fault loop.
#include "fibdb/registered.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbFwdVsVpnItem item{.fwdKey = 1};

const FaultRows kRows{
    {"FIB_DB_GetFwdVsVpnFields",
     [] { return unpacked<FibDbFwdVsVpnItem>(FIB_DB_GetFwdVsVpnFields, &item); },
     {{"memcpy_s", ignored}}},
    {"FIB_DB_SetFwdVsVpnPriKey", [] { return keyBuilt(FIB_DB_SetFwdVsVpnPriKey, &item); }, {}},
    {"FIB_DB_CreateFwdVsVpn",
     [] { return FIB_DB_CreateFwdVsVpn(&item); },
     {{"UFIB_DB_Create", raw}, {"memcpy_s", ignored}}},
    {"FIB_DB_ReadFwdVsVpn", [] { return FIB_DB_ReadFwdVsVpn(&item); }, {{"UFIB_DB_Read", raw}, {"memcpy_s", ignored}}},
    {"FIB_DB_DeleteFwdVsVpn", [] { return FIB_DB_DeleteFwdVsVpn(&item); }, {{"UFIB_DB_Delete", raw}}},
};

}  // namespace
}  // namespace fibdb::test::fault
