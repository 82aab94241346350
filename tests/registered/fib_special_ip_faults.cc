// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/fib_special_ip_faults.cc: the rows of the special addresses for the fault loop.
#include "fibdb/registered.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbSpecialIpItem item{.specialKey = 1};

const FaultRows kRows{
    {"FIB_DB_GetSpecialIpFields",
     [] {
       // Of the two copies only the second has a say.
       return unpacked<FibDbSpecialIpItem>(FIB_DB_GetSpecialIpFields, &item);
     },
     {{"memcpy_s", ignored}}},
    {"FIB_DB_SetSpecialIpPriKey", [] { return keyBuilt(FIB_DB_SetSpecialIpPriKey, &item); }, {}},
    {"FIB_DB_WriteSpecialIp",
     [] { return FIB_DB_WriteSpecialIp(&item); },
     {{"UFIB_DB_Create", raw}, {"memcpy_s", ignored}}},
    {"FIB_DB_ReadSpecialIp",
     [] { return FIB_DB_ReadSpecialIp(&item); },
     {{"UFIB_DB_Read", raw}, {"memcpy_s", ignored}}},
    {"FIB_DB_DeleteSpecialIp", [] { return FIB_DB_DeleteSpecialIp(&item); }, {{"UFIB_DB_Delete", raw}}},
    {"FIB_DB_CreateSpecialIpIterator",
     [] { return made(FIB_DB_CreateSpecialIpIterator(0), FIB_DB_ReleaseSpecialIpIterator); }, serviceIterator()},
    {"FIB_DB_GetNextSpecialEntry",
     [] { return FIB_DB_GetNextSpecialEntry(&item, &item); },
     {{"UFIB_DB_GetNextEntry", raw}, {"memcpy_s", ignored}}},
    {"FIB_DB_ReleaseSpecialIpIterator", [] { return FIB_DB_ReleaseSpecialIpIterator(nullptr); }, {}},
};

}  // namespace
}  // namespace fibdb::test::fault
