// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_faults.cc: the rows of the next hops for the fault loop.
#include "fibdb/nexthop.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpItem nhp{.nhp_index = 42};

template <class Step>
uint32_t step(Step step) {
  return stepWith(FIB_DB_CreateNhpIterator(0), step, FIB_DB_ReleaseNhpIterator);
}

Rules updating(const char* setter) { return onObjectOf("nhp", {{setter, ignored}, {"db_update_obj", written}}); }

const FaultRows kRows{
    {"FIB_DB_SetNhpKey", [] { return FIB_DB_SetNhpKey(&nhp.vr_id, 0), 0u; }, {}},
    {"FIB_DB_SetNhpKeyField",
     [] {
       FibDbKeyDesc desc{};
       uint32_t key = 0;
       return FIB_DB_SetNhpKeyField(&desc, &key, &nhp), 0u;
     },
     {}},
    {"FIB_DB_SetNhpItem", [] { return FIB_DB_SetNhpItem(callersObject, &nhp); }, {{"db_set_nhp_*", one}}},
    {"FIB_DB_GetNhpItem", [] { return FIB_DB_GetNhpItem(callersObject, &nhp), 0u; }, {{"db_get_nhp_*", ignored}}},
    {"FIB_DB_WriteNhp", [] { return FIB_DB_WriteNhp(&nhp); },
     onObjectOf("nhp", {{"db_set_nhp_*", one}, {"db_write_obj", written}})},
    {"FIB_DB_ReadNhp", [] { return FIB_DB_ReadNhp(&nhp); },
     onObjectOf("nhp", {{"db_read_obj", readOrRaw}, {"db_get_nhp_*", ignored}})},
    {"FIB_DB_RemoveNhp", [] { return FIB_DB_RemoveNhp(&nhp); }, onObjectOf("nhp", {{"db_remove_obj", written}})},
    {"FIB_DB_UpdateNhpFields", [] { return FIB_DB_UpdateNhpFields(&nhp, [](uint64_t, const void*) { return 5u; }); },
     onObjectOf("nhp", {{"db_update_obj", written}})},
    {"FIB_DB_SetNhpRefCount", [] { return FIB_DB_SetNhpRefCount(callersObject, &nhp); }, {{"db_set_nhp_ref_cnt", raw}}},
    {"FIB_DB_SetNhpFlags", [] { return FIB_DB_SetNhpFlags(callersObject, &nhp); }, {{"db_set_nhp_flags", raw}}},
    {"FIB_DB_SetNhpNumAndSmoothID",
     [] { return FIB_DB_SetNhpNumAndSmoothID(callersObject, &nhp); },
     {{"db_set_nhp_*", one}}},
    {"FIB_DB_SetNhpSmoothID",
     [] { return FIB_DB_SetNhpSmoothID(callersObject, &nhp); },
     {{"db_set_nhp_table_smooth_id", one}}},
    {"FIB_DB_UpdateNhpRefCount", [] { return FIB_DB_UpdateNhpRefCount(&nhp); }, updating("db_set_nhp_ref_cnt")},
    {"FIB_DB_UpdateNhpFlags", [] { return FIB_DB_UpdateNhpFlags(&nhp); }, updating("db_set_nhp_flags")},
    {"FIB_DB_UpdateNhpNumAndSmoothID", [] { return FIB_DB_UpdateNhpNumAndSmoothID(&nhp); }, updating("db_set_nhp_*")},
    {"FIB_DB_UpdateNhpSmoothID", [] { return FIB_DB_UpdateNhpSmoothID(&nhp); }, updating("db_set_nhp_table_smooth_id")},
    {"FIB_DB_CreateNhpIterator", [] { return made(FIB_DB_CreateNhpIterator(0), FIB_DB_ReleaseNhpIterator); },
     iteratorOf("nhp")},
    {"FIB_DB_CreateNhpIteratorByVrf",
     [] { return made(FIB_DB_CreateNhpIteratorByVrf(1, 2, 3, 0), FIB_DB_ReleaseNhpIterator); }, iteratorOf("nhp")},
    {"FIB_DB_GetNextNhpEntry",
     [] { return step([](FibDbIterator* iterator) { return FIB_DB_GetNextNhpEntry(iterator, &nhp); }); },
     iteratorOf("nhp", {{"db_root_iterator_next", stepped}, {"db_get_nhp_*", ignored}})},
    {"FIB_DB_ReleaseNhpIterator", [] { return step([](FibDbIterator*) { return 0u; }); }, iteratorOf("nhp")},
};

}  // namespace
}  // namespace fibdb::test::fault
