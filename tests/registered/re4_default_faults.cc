// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/re4_default_faults.cc: the rows of the IPv4 default routes for the fault loop.
#include "fibdb/registered.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbRe4DefaultItem item{.fvrfIndex = 1};

const FaultRows kRows{
    {"FIB_DB_SetRe4DefaultItem",
     [] { return FIB_DB_SetRe4DefaultItem(callersObject, &item); },
     {{"db_set_re4_default_*", one}}},
    {"FIB_DB_WriteRe4Default", [] { return FIB_DB_WriteRe4Default(&item); },
     onObjectOf("re4_default", {{"db_set_re4_default_*", one}, {"db_write_obj", written}})},
    {"FIB_DB_RemoveRe4Default", [] { return FIB_DB_RemoveRe4Default(&item.fvrfIndex); },
     onObjectOf("re4_default", {{"db_remove_obj", written}})},
};

}  // namespace
}  // namespace fibdb::test::fault
