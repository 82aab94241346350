// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_ext_label_faults.cc: the rows of the next-hop extension labels for the fault loop.
#include "fibdb/nexthop.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpExtLabelItem label{.keyWords = {1, 2, 3, 4, 5, 6, 7}};
const FibDbUfibData context{.data = &label, .len = sizeof label};

const FaultRows kRows{
    {"FIB_DB_SetNhpExtLabelPriKey", [] { return keyBuilt(FIB_DB_SetNhpExtLabelPriKey, &label); }, {}},
    {"FIB_DB_SetNhpExtLabelFields",
     [] {
       FibDbNhpExtLabelItem row{};
       return FIB_DB_SetNhpExtLabelFields(&label, &row), 0u;
     },
     {}},
    {"FIB_DB_GetNhpExtLabelFields",
     [] {
       const FibDbNhpExtLabelItem row{};
       return FIB_DB_GetNhpExtLabelFields(&row, &label), 0u;
     },
     {}},
    {"FIB_DB_CreateNhpExtLabel", [] { return FIB_DB_CreateNhpExtLabel(&label); }, {{"UFIB_DB_Create", raw}}},
    {"FIB_DB_ReadNhpExtLabel", [] { return FIB_DB_ReadNhpExtLabel(&label); }, {{"UFIB_DB_Read", raw}}},
    {"FIB_DB_SetNhpExtLabelSmoothID",
     [] { return FIB_DB_SetNhpExtLabelSmoothID(&context, callersObject); },
     {{"db_set_nhp_ext_label_table_smooth_id", raw}}},
    {"FIB_DB_UpdateNhpExtLabelSmoothId",
     [] { return FIB_DB_UpdateNhpExtLabelSmoothId(&label); },
     {{"UFIB_DB_Update", raw}, {"db_set_nhp_ext_label_table_smooth_id", raw}}},
    {"FIB_DB_DeleteNhpExtLabel", [] { return FIB_DB_DeleteNhpExtLabel(&label); }, {{"UFIB_DB_Delete", raw}}},
    {"FIB_DB_CreateNhpExtLabelIterator",
     [] { return made(FIB_DB_CreateNhpExtLabelIterator(0), FIB_DB_ReleaseNhpExtLabelIterator); },
     {{"UFIB_DB_CreateIterator", null}, {"UFIB_DB_ReleaseIterator", raw}}},
    {"FIB_DB_CreateNhpExtLabelIteratorByVrf",
     [] { return made(FIB_DB_CreateNhpExtLabelIteratorByVrf(2, 3, 0), FIB_DB_ReleaseNhpExtLabelIterator); },
     {{"UFIB_DB_CreateIteratorByKey", null}, {"UFIB_DB_ReleaseIterator", raw}}},
    {"FIB_DB_GetNextNhpExtLabel",
     [] { return FIB_DB_GetNextNhpExtLabel(&label, &label); },
     {{"UFIB_DB_GetNextEntry", raw}}},
    {"FIB_DB_ReleaseNhpExtLabelIterator", [] { return FIB_DB_ReleaseNhpExtLabelIterator(nullptr); }, {}},
};

}  // namespace
}  // namespace fibdb::test::fault
