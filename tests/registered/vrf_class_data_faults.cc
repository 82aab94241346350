// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/vrf_class_data_faults.cc: the rows of the VRF class data for the fault loop.
#include "fibdb/registered.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbVrfClassDataItem item{.table_id = 1};

const FaultRows kRows{
    {"FIB_DB_SetVrfClassDataKey", [] { return FIB_DB_SetVrfClassDataKey(&item, 1, 2, 3, 4), 0u; }, {}},
    {"FIB_DB_SetVrfClassDataKeyField",
     [] {
       uint32_t indexId = 0;
       uint8_t key[16];
       return FIB_DB_SetVrfClassDataKeyField(&indexId, key, &item), 0u;
     },
     {}},
    {"FIB_DB_SetVrfClassDataSmoothEndHashKey",
     [] { return keyBuilt(FIB_DB_SetVrfClassDataSmoothEndHashKey, &item); },
     {}},
    {"FIB_DB_GetVrfClassDataItem",
     [] { return FIB_DB_GetVrfClassDataItem(callersObject, &item); },
     {{"db_get_vrf_class_data_*", raw}}},
    {"FIB_DB_ReadVrfClassData", [] { return FIB_DB_ReadVrfClassData(&item); },
     onObjectOf("vrf_class_data", {{"db_read_obj", readOrRaw}, {"db_get_vrf_class_data_*", ignored}})},
    {"FIB_DB_CountVrfClassDataByKey",
     [] {
       uint32_t count;
       return FIB_DB_CountVrfClassDataByKey(&item, &count);
     },
     {{"UFIB_DB_CountByKey", raw}}},
};

}  // namespace
}  // namespace fibdb::test::fault
