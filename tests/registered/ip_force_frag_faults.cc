// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/ip_force_frag_faults.cc: the rows of the forced fragmentation for the fault loop.
#include "fibdb/registered.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbForceFragItem item{.vrId = 1};

const FaultRows kRows{
    {"FIB_DB_GetForceFragFields", [] { return unpacked<FibDbForceFragRow>(FIB_DB_GetForceFragFields, &item); }, {}},
    {"FIB_DB_WriteIpForceFrag", [] { return FIB_DB_WriteIpForceFrag(&item); },
     onObjectOf("ip_force_frag", {{"db_set_ip_force_frag_*", one}, {"db_write_obj", written}})},
    {"FIB_DB_ReadIpForceFrag", [] { return FIB_DB_ReadIpForceFrag(&item); },
     onObjectOf("ip_force_frag", {{"db_read_obj", readOrRaw}, {"db_get_ip_force_frag_*", one}})},
    {"FIB_DB_CreateIpForceFragIterator",
     [] { return made(FIB_DB_CreateIpForceFragIterator(0), FIB_DB_ReleaseIpForceFragIterator); }, serviceIterator()},
    {"FIB_DB_GetNextForceFragEntry",
     [] { return FIB_DB_GetNextForceFragEntry(&item, &item); },
     {{"UFIB_DB_GetNextEntry", raw}}},
    {"FIB_DB_ReleaseIpForceFragIterator", [] { return FIB_DB_ReleaseIpForceFragIterator(nullptr); }, {}},
};

}  // namespace
}  // namespace fibdb::test::fault
