// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/pri_attr_faults.cc: the rows of the primary attributes for the fault loop.
#include "fibdb/registered.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbPriAttrItem item{.keyWord1 = 1, .keyWord2 = 2, .keyByte = 3};
const FibDbUfibData context{.data = &item, .len = sizeof item};

const FaultRows kRows{
    {"FIB_DB_SetPriAttrFields",
     [] {
       FibDbPriAttrRow row{};
       return FIB_DB_SetPriAttrFields(&item, &row) == 0 ? kNull : 0u;
     },
     {}},
    {"FIB_DB_GetPriAttrFields", [] { return unpacked<FibDbPriAttrRow>(FIB_DB_GetPriAttrFields, &item); }, {}},
    {"FIB_DB_SetPriAttrPriKey", [] { return keyBuilt(FIB_DB_SetPriAttrPriKey, &item); }, {}},
    {"FIB_DB_SetPriAttrHashKey", [] { return keyBuilt(FIB_DB_SetPriAttrHashKey, &item); }, {}},
    {"FIB_DB_SetPriAttrKeyByNhpGrpNode", [] { return FIB_DB_SetPriAttrKeyByNhpGrpNode(&item, 1, 2), 0u; }, {}},
    {"FIB_DB_SetPriAttrSmoothID",
     [] { return FIB_DB_SetPriAttrSmoothID(&context, callersObject); },
     {{"db_set_pri_attr_*", raw}}},
    {"FIB_DB_CreatePriAttr", [] { return FIB_DB_CreatePriAttr(&item); }, {{"UFIB_DB_Create", raw}}},
    {"FIB_DB_ReadPriAttr", [] { return FIB_DB_ReadPriAttr(&item); }, {{"UFIB_DB_Read", raw}}},
    {"FIB_DB_ReadPriAttrByHash", [] { return FIB_DB_ReadPriAttrByHash(&item); }, {{"UFIB_DB_ReadUniqueHash", raw}}},
    {"FIB_DB_UpdatePriAttrSmoothId",
     [] { return FIB_DB_UpdatePriAttrSmoothId(&item); },
     {{"UFIB_DB_Update", raw}, {"db_set_pri_attr_*", raw}}},
    {"FIB_DB_DeletePriAttr", [] { return FIB_DB_DeletePriAttr(&item); }, {{"UFIB_DB_Delete", raw}}},
    {"FIB_DB_CreatePriAttrIterator",
     [] { return made(FIB_DB_CreatePriAttrIterator(0), FIB_DB_ReleasePriAttrIterator); }, serviceIterator()},
    {"FIB_DB_GetNextPriAttrEntry",
     [] { return FIB_DB_GetNextPriAttrEntry(&item, &item); },
     {{"UFIB_DB_GetNextEntry", raw}}},
    {"FIB_DB_ReleasePriAttrIterator", [] { return FIB_DB_ReleasePriAttrIterator(nullptr); }, {}},
};

}  // namespace
}  // namespace fibdb::test::fault
