// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/fib_special_ip_sub_faults.cc: the rows of the sub-entries of special addresses for the fault loop.
#include "fibdb/registered.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbSpecialIpSubItem item{.subKey1 = 1};

const FaultRows kRows{
    {"FIB_DB_GetSpecialIpSubFields",
     [] {
       const FibDbSpecialIpSubRow row{};
       return FIB_DB_GetSpecialIpSubFields(&row, &item);
     },
     {{"memcpy_s", refused}}},
    {"FIB_DB_SetSpecialIpSubPriKey", [] { return keyBuilt(FIB_DB_SetSpecialIpSubPriKey, &item); }, {}},
    {"FIB_DB_WriteSpecialIpSub",
     [] { return FIB_DB_WriteSpecialIpSub(&item); },
     {{"UFIB_DB_Create", raw}, {"memcpy_s", ignored}}},
    {"FIB_DB_ReadSpecialIpSub",
     [] { return FIB_DB_ReadSpecialIpSub(&item); },
     {{"UFIB_DB_Read", raw}, {"memcpy_s", ignored}}},
    {"FIB_DB_DeleteSpecialIpSub", [] { return FIB_DB_DeleteSpecialIpSub(&item); }, {{"UFIB_DB_Delete", raw}}},
    {"FIB_DB_CreateSpecialIpSubIterator",
     [] { return made(FIB_DB_CreateSpecialIpSubIterator(0), FIB_DB_ReleaseSpecialIpSubIterator); }, serviceIterator()},
    {"FIB_DB_GetNextSpecialIpSubEntry",
     [] { return FIB_DB_GetNextSpecialIpSubEntry(&item, &item); },
     {{"UFIB_DB_GetNextEntry", raw}, {"memcpy_s", ignored}}},
    {"FIB_DB_ReleaseSpecialIpSubIterator", [] { return FIB_DB_ReleaseSpecialIpSubIterator(nullptr); }, {}},
};

}  // namespace
}  // namespace fibdb::test::fault
