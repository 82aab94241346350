// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/route/vrf_faults.cc: the rows of the VRFs for the fault loop.
#include "fibdb/route.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbVrfItem vrf{1, 2, "red", 3, 4, 5, 6};

const Rules kSearching{{"db_create_root_iter", raw}};

const FaultRows kRows{
    {"VRF_DB_Write", [] { return VRF_DB_Write(&vrf); },
     onObjectOf("vrf", {{"db_set_vrf_*", one}, {"db_write_obj", written}})},
    {"VRF_DB_Read", [] { return VRF_DB_Read(&vrf); },
     onObjectOf("vrf", {{"db_read_obj", readOrRaw}, {"db_get_vrf_sp_all_data", raw}})},
    {"VRF_DB_Remove", [] { return VRF_DB_Remove(&vrf); }, onObjectOf("vrf", {{"db_remove_obj", written}})},
    {"VRF_INTF_GetNameById",
     [] {
       char name[32];
       return VRF_INTF_GetNameById(1, 2, name, sizeof name);
     },
     {{"db_create_vrf_obj", one},
      {"db_read_obj", one},
      {"db_get_vrf_sp_all_data", one},
      {"db_release_vrf_object", ignored},
      {"strcpy_s", one}}},
    {"VRF_INTF_GetIdByName",
     [] {
       uint32_t id = 0;
       return VRF_INTF_GetIdByName(1, "red", &id);
     },
     Rules{{"strcpy_s", one}} + onObjectOf("vrf", kSearching + Rules{{"memcpy_s", refused},
                                                                     {"db_root_iterator_next", ignored},
                                                                     {"db_get_vrf_vrf_id", ignored}})},
    {"FIB_DB_CreateVrfIterator", [] { return made(FIB_DB_CreateVrfIterator(0), FIB_DB_ReleaseVrfIterator); },
     iteratorOf("vrf")},
    {"FIB_DB_GetNextVrf",
     [] {
       return stepWith(
           FIB_DB_CreateVrfIterator(0), [](FibDbIterator* iterator) { return FIB_DB_GetNextVrf(iterator, &vrf); },
           FIB_DB_ReleaseVrfIterator);
     },
     iteratorOf("vrf", {{"db_root_iterator_next", stepped}, {"db_get_vrf_*", one}, {"strncpy_s", one}})},
    {"FIB_DB_ReleaseVrfIterator", [] { return made(FIB_DB_CreateVrfIterator(0), FIB_DB_ReleaseVrfIterator); },
     iteratorOf("vrf")},
    {"FIB_DB_CountVrf",
     [] {
       uint32_t count = 0;
       return FIB_DB_CountVrf(&count);
     },
     onObjectOf("vrf", {{"db_get_table_record_count", raw}})},
    {"FIB_DB_GetVrfByVrId",
     [] {
       uint32_t ids[3];
       uint32_t count = 0;
       return FIB_DB_GetVrfByVrId(1, ids, 3, &count);
     },
     onObjectOf("vrf",
                kSearching + Rules{{"db_root_iterator_next", [](uint32_t code) { return code == 110012 ? 0u : 1u; }},
                                   {"db_get_vrf_vrf_id", one}})},
};

}  // namespace
}  // namespace fibdb::test::fault
