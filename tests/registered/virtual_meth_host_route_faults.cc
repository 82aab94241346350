// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/virtual_meth_host_route_faults.cc: the rows of the host routes of the virtual management interface
// for the fault loop.
#include "fibdb/registered.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbVirtualMethHostItem item{.hostKey = 1};

const FaultRows kRows{
    {"FIB_DB_GetVirtualMethHostFields",
     [] { return unpacked<FibDbVirtualMethHostRow>(FIB_DB_GetVirtualMethHostFields, &item); },
     {}},
    {"FIB_DB_SetVirtualMethHostPriKey", [] { return keyBuilt(FIB_DB_SetVirtualMethHostPriKey, &item); }, {}},
    {"FIB_DB_CreateVirtualMethHost", [] { return FIB_DB_CreateVirtualMethHost(&item); }, {{"UFIB_DB_Create", raw}}},
    {"FIB_DB_ReadVirtualMethHost", [] { return FIB_DB_ReadVirtualMethHost(&item); }, {{"UFIB_DB_Read", raw}}},
    {"FIB_DB_DeleteVirtualMethHost", [] { return FIB_DB_DeleteVirtualMethHost(&item); }, {{"UFIB_DB_Delete", raw}}},
    {"FIB_DB_CreateVirtualMethHostIterator",
     [] { return made(FIB_DB_CreateVirtualMethHostIterator(0), FIB_DB_ReleaseVirtualMethHostIterator); },
     serviceIterator()},
    {"FIB_DB_GetNextVirtualMethHostEntry",
     [] { return FIB_DB_GetNextVirtualMethHostEntry(&item, &item); },
     {{"UFIB_DB_GetNextEntry", raw}}},
    {"FIB_DB_ReleaseVirtualMethHostIterator", [] { return FIB_DB_ReleaseVirtualMethHostIterator(nullptr); }, {}},
};

}  // namespace
}  // namespace fibdb::test::fault
