// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/ar_group_attr_faults.cc: the rows of the AR group attributes for the fault loop.
#include "fibdb/registered.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbArGroupAttrItem group{.keyWord1 = 1, .originType = 1};
FibDbUfibData groupContext{.data = &group, .len = sizeof group};

const FaultRows kRows{
    {"FIB_DB_SetArGroupAttrFields",
     [] {
       FibDbArGroupAttrRow row{};
       return FIB_DB_SetArGroupAttrFields(&group, &row) == 0 ? kNull : 0u;
     },
     {}},
    {"FIB_DB_GetArGroupAttrFields",
     [] {
       FibDbArGroupAttrRow row{};
       return FIB_DB_GetArGroupAttrFields(&row, &group), 0u;
     },
     {}},
    {"FIB_DB_SetArGroupAttrPriKey", [] { return keyBuilt(FIB_DB_SetArGroupAttrPriKey, &group); }, {}},
    {"FIB_DB_SetArGroupAttrAttrIdHashKey", [] { return keyBuilt(FIB_DB_SetArGroupAttrAttrIdHashKey, &group); }, {}},
    {"FIB_DB_SetArGroupAttrOriginatorIdHashKey",
     [] { return keyBuilt(FIB_DB_SetArGroupAttrOriginatorIdHashKey, &group); },
     {}},
    {"FIB_DB_SetArGroupAttrOriginAsnHashKey",
     [] { return keyBuilt(FIB_DB_SetArGroupAttrOriginAsnHashKey, &group); },
     {}},
    {"FIB_DB_SetArGroupAttrGroupTypeHashKey",
     [] {
       FibDbArGroupAttrItem query{};
       return FIB_DB_SetArGroupAttrGroupTypeHashKey(&query, &group), 0u;
     },
     {}},
    {"FIB_DB_SetArGroupAttrSmoothID",
     [] { return FIB_DB_SetArGroupAttrSmoothID(&groupContext, callersObject); },
     {{"db_set_ar_group_attr_*", raw}}},
    {"FIB_DB_CreateArGroupAttr", [] { return FIB_DB_CreateArGroupAttr(&group); }, {{"UFIB_DB_Create", raw}}},
    {"FIB_DB_ReadArGroupAttr", [] { return FIB_DB_ReadArGroupAttr(&group); }, {{"UFIB_DB_Read", raw}}},
    {"FIB_DB_ReadArGroupAttrByAttrIdHash",
     [] { return FIB_DB_ReadArGroupAttrByAttrIdHash(&group); },
     {{"UFIB_DB_ReadUniqueHash", raw}}},
    {"FIB_DB_ReadArGroupAttrByGroupTypeHash",
     [] { return FIB_DB_ReadArGroupAttrByGroupTypeHash(&group); },
     {{"UFIB_DB_ReadUniqueHash", raw}}},
    {"FIB_DB_UpdateArGroupAttrSmoothId",
     [] { return FIB_DB_UpdateArGroupAttrSmoothId(&group); },
     {{"UFIB_DB_Update", raw}, {"db_set_ar_group_attr_*", raw}}},
    {"FIB_DB_DeleteArGroupAttr", [] { return FIB_DB_DeleteArGroupAttr(&group); }, {{"UFIB_DB_Delete", raw}}},
    {"FIB_DB_CountArGroupAttrByGroupTypeHash",
     [] {
       uint32_t count;
       return FIB_DB_CountArGroupAttrByGroupTypeHash(&group, &count);
     },
     {{"UFIB_DB_CountByKey", raw}}},
    {"FIB_DB_CreateArGroupAttrIterator",
     [] { return made(FIB_DB_CreateArGroupAttrIterator(0), FIB_DB_ReleaseArGroupAttrIterator); },
     {{"UFIB_DB_CreateIterator", null}, {"UFIB_DB_ReleaseIterator", raw}}},
    {"FIB_DB_CreateArGroupAttrIteratorByOriginValue",
     [] { return made(FIB_DB_CreateArGroupAttrIteratorByOriginValue(&group, 0), FIB_DB_ReleaseArGroupAttrIterator); },
     {{"UFIB_DB_CreateIteratorByKey", null}, {"UFIB_DB_ReleaseIterator", raw}}},
    {"FIB_DB_GetNextArGroupAttrEntry",
     [] { return FIB_DB_GetNextArGroupAttrEntry(&group, &group); },
     {{"UFIB_DB_GetNextEntry", raw}}},
    {"FIB_DB_ReleaseArGroupAttrIterator", [] { return FIB_DB_ReleaseArGroupAttrIterator(nullptr); }, {}},
};

}  // namespace
}  // namespace fibdb::test::fault
