// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_group_faults.cc: the rows of the next-hop groups for the fault loop.
#include "fibdb/nexthop.h"
#include "platform/ufib.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpGroupItem group{.nhp_group_id = 42, .vr_id = 1};
FibDbNhpGroupKey key;

template <class Step>
uint32_t step(Step step) {
  return stepWith(FIB_DB_CreateNhpGroupIterator(0), step, FIB_DB_ReleaseNhpGroupIterator);
}

const Rules kUnpacking{{"db_get_nhp_group_*", ignored}, {"memcpy_s", ignored}};
const Rules kUpdating = onObjectOf("nhp_group", {{"db_set_nhp_group_*", ignored}, {"db_update_obj", written}});

const FaultRows kRows{
    {"FIB_DB_SetNhpGroupKey", [] { return FIB_DB_SetNhpGroupKey(&key, 1, 2), 0u; }, {}},
    {"FIB_DB_SetNhpGroupKeyField",
     [] {
       FibDbKeyDesc desc{};
       return FIB_DB_SetNhpGroupKeyField(&desc, &key, &group), 0u;
     },
     {}},
    {"FIB_DB_SetNhpGroupItem",
     [] { return FIB_DB_SetNhpGroupItem(callersObject, &group); },
     {{"db_set_nhp_group_*", one}}},
    {"FIB_DB_GetNhpGroupBaseItem",
     [] { return FIB_DB_GetNhpGroupBaseItem(callersObject, &group); },
     {{"db_get_nhp_group_*", raw}}},
    {"FIB_DB_GetNhpGroupItem", [] { return FIB_DB_GetNhpGroupItem(callersObject, &group), 0u; }, kUnpacking},
    {"FIB_DB_WriteNhpGroup", [] { return FIB_DB_WriteNhpGroup(&group); },
     onObjectOf("nhp_group", {{"db_set_nhp_group_*", one}, {"db_write_obj", written}})},
    {"FIB_DB_ReadNhpGroup", [] { return FIB_DB_ReadNhpGroup(&group); },
     onObjectOf("nhp_group", Rules{{"db_read_obj", read}} + kUnpacking)},
    {"FIB_DB_RemoveNhpGroup", [] { return FIB_DB_RemoveNhpGroup(&group); },
     onObjectOf("nhp_group", {{"db_remove_obj", written}})},
    {"FIB_DB_UpdateNhpGroupFields",
     [] { return FIB_DB_UpdateNhpGroupFields(&group, [](uint64_t, const void*) { return 5u; }); },
     onObjectOf("nhp_group", {{"db_update_obj", written}})},
    {"FIB_DB_SetNhpGroupRefCount",
     [] { return FIB_DB_SetNhpGroupRefCount(callersObject, &group); },
     {{"db_set_nhp_group_*", raw}}},
    {"FIB_DB_SetNhpGroupSmoothID",
     [] { return FIB_DB_SetNhpGroupSmoothID(callersObject, &group); },
     {{"db_set_nhp_group_*", raw}}},
    {"FIB_DB_SetNhpGroupFlags",
     [] { return FIB_DB_SetNhpGroupFlags(callersObject, &group); },
     {{"db_set_nhp_group_*", raw}}},
    {"FIB_DB_SetNhpGroupContext",
     [] { return FIB_DB_SetNhpGroupContext(callersObject, &group); },
     {{"db_set_nhp_group_db_attr_flag", ignored}, {"db_set_nhp_group_*", one}}},
    {"FIB_DB_UpdateNhpGroupRefCount", [] { return FIB_DB_UpdateNhpGroupRefCount(&group); }, kUpdating},
    {"FIB_DB_UpdateNhpGroupSmoothID", [] { return FIB_DB_UpdateNhpGroupSmoothID(&group); }, kUpdating},
    {"FIB_DB_UpdateNhpGroupFlags", [] { return FIB_DB_UpdateNhpGroupFlags(&group); }, kUpdating},
    {"FIB_DB_UpdateNhpGroupContext", [] { return FIB_DB_UpdateNhpGroupContext(&group); }, kUpdating},
    {"FIB_DB_CreateNhpGroupIterator",
     [] { return made(FIB_DB_CreateNhpGroupIterator(0), FIB_DB_ReleaseNhpGroupIterator); }, iteratorOf("nhp_group")},
    {"FIB_DB_CreateNhpGroupIteratorByVrf",
     [] { return made(FIB_DB_CreateNhpGroupIteratorByVrf(1, 2, 3, 0), FIB_DB_ReleaseNhpGroupIterator); },
     iteratorOf("nhp_group")},
    {"FIB6_DB_SetNhpGroupVridVrfIndexHashKey",
     [] {
       uint32_t indexId = 0;
       uint8_t bytes[8];
       return FIB6_DB_SetNhpGroupVridVrfIndexHashKey(1, 2, &indexId, bytes), 0u;
     },
     {}},
    {"FIB_DB_CreateNhpGroupIteratorByVridVrfIndex",
     [] {
       return made(FIB_DB_CreateNhpGroupIteratorByVridVrfIndex(1, 2, 0),
                   [](void* iterator) { return UFIB_DB_ReleaseIterator(0, iterator); });
     },
     {{"UFIB_DB_CreateIteratorByKey", null}, {"UFIB_DB_ReleaseIterator", raw}}},
    {"FIB_DB_GetNextNhpGroup",
     [] { return step([](FibDbIterator* iterator) { return FIB_DB_GetNextNhpGroup(iterator, &group); }); },
     iteratorOf("nhp_group", Rules{{"db_root_iterator_next", stepped}} + kUnpacking)},
    {"FIB_DB_ReleaseNhpGroupIterator", [] { return step([](FibDbIterator*) { return 0u; }); }, iteratorOf("nhp_group")},
};

}  // namespace
}  // namespace fibdb::test::fault
