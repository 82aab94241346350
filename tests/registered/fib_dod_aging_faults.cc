// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/fib_dod_aging_faults.cc: the rows of the aging records of on-demand routes for the fault loop.
#include "fibdb/registered.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbDodAgingItem item{.agingKey = 1};

const FaultRows kRows{
    {"FIB_DB_GetDodAgingFields", [] { return unpacked<FibDbDodAgingRow>(FIB_DB_GetDodAgingFields, &item); }, {}},
    {"FIB_DB_SetDodAgingPriKey", [] { return keyBuilt(FIB_DB_SetDodAgingPriKey, &item); }, {}},
    {"FIB_DB_CreateDodAging", [] { return FIB_DB_CreateDodAging(&item); }, {{"UFIB_DB_Create", raw}}},
    {"FIB_DB_ReadDodAging", [] { return FIB_DB_ReadDodAging(&item); }, {{"UFIB_DB_Read", raw}}},
    {"FIB_DB_DeleteDodAging", [] { return FIB_DB_DeleteDodAging(&item); }, {{"UFIB_DB_Delete", raw}}},
    {"FIB_DB_CreateDodAgingIterator",
     [] { return made(FIB_DB_CreateDodAgingIterator(0), FIB_DB_ReleaseDodAgingIterator); }, serviceIterator()},
    {"FIB_DB_GetNextDodAgingEntry",
     [] { return FIB_DB_GetNextDodAgingEntry(&item, &item); },
     {{"UFIB_DB_GetNextEntry", raw}}},
    {"FIB_DB_ReleaseDodAgingIterator", [] { return FIB_DB_ReleaseDodAgingIterator(nullptr); }, {}},
};

}  // namespace
}  // namespace fibdb::test::fault
