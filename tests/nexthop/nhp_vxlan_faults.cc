// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_vxlan_faults.cc: the rows of the VXLAN next hops for the fault loop.
#include "fibdb/nexthop.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpVxlanItem item{.nhp_index = 42};
FibDbNhpVxlanItem items[4];
uint32_t count;
const FibDbKeyDesc desc{.indexId = FIB_DB_NHP_VXLAN_BY_NHP_INDEX, .rsv1 = 0, .rsv2 = 0};
const uint32_t key = 42;

template <class Step>
uint32_t step(Step step) {
  return stepWith(FIB_DB_CreateNhpVxlanIterator(0), step, FIB_DB_ReleaseNhpVxlanIterator);
}

// An iterator of one kind, made and given back.
uint32_t released(FibDbIterator* iterator) { return made(iterator, FIB_DB_ReleaseNhpVxlanIterator); }

// The bounded copy has a code of its own, whichever code it is told to fail with.
uint32_t refused(uint32_t) { return 22; }

const Rules kPackingKey{{"memcpy_s", ignored}};
const Rules kUnpacking{{"db_get_nhp_vxlan_*", ignored}, {"memcpy_s", ignored}};
const Rules kRemoving{{"db_remove_obj", written}};
const Rules kCounting = onObjectOf("nhp_vxlan", {{"db_get_table_record_count_by_key", raw}});
const Rules kReadingMany = onObjectOf("nhp_vxlan", {{"db_create_root_iter", raw},
                                                    {"db_root_iterator_next", counted},
                                                    {"db_read_obj_with_buf", read},
                                                    {"memcpy_s", ignored}});

const FaultRows kRows{
    {"FIB_DB_SetNhpVxlanKeyField",
     [] {
       FibDbKeyDesc out{};
       uint8_t bytes[34];
       return FIB_DB_SetNhpVxlanKeyField(&out, bytes, &item);
     },
     {{"memcpy_s", refused}}},
    {"FIB_DB_SetNhpVxlanItem",
     [] { return FIB_DB_SetNhpVxlanItem(callersObject, &item); },
     {{"db_set_nhp_vxlan_*", one}}},
    {"FIB_DB_GetNhpVxlanItem", [] { return FIB_DB_GetNhpVxlanItem(callersObject, &item), 0u; }, kUnpacking},
    {"FIB_DB_GetNhpVxlanItemLite",
     [] {
       const FibDbNhpVxlanRow row{};
       return FIB_DB_GetNhpVxlanItemLite(&item, &row), 0u;
     },
     {{"memcpy_s", ignored}}},
    {"FIB_DB_WriteNhpVxlan", [] { return FIB_DB_WriteNhpVxlan(&item); },
     onObjectOf("nhp_vxlan", {{"db_set_nhp_vxlan_*", one}, {"db_write_obj", written}})},
    {"FIB_DB_ReadNhpVxlan", [] { return FIB_DB_ReadNhpVxlan(&item); },
     onObjectOf("nhp_vxlan", Rules{{"db_read_obj", readOrRaw}} + kUnpacking)},
    {"FIB_DB_RemoveNhpVxlan", [] { return FIB_DB_RemoveNhpVxlan(&item); },
     onObjectOf("nhp_vxlan", kPackingKey + kRemoving)},
    {"FIB_DB_RemoveNhpVxlanByNhpIndex", [] { return FIB_DB_RemoveNhpVxlanByNhpIndex(42); },
     onObjectOf("nhp_vxlan", kRemoving)},
    {"FIB_DB_ReadNhpVxlanByKey", [] { return FIB_DB_ReadNhpVxlanByKey(&desc, &key, sizeof items, items, &count); },
     kReadingMany},
    {"FIB_DB_ReadNhpVxlanByNhpIndex", [] { return FIB_DB_ReadNhpVxlanByNhpIndex(42, sizeof items, items, nullptr); },
     kReadingMany},
    {"FIB_DB_CountNhpVxlanByKey", [] { return FIB_DB_CountNhpVxlanByKey(&desc, &key, &count); }, kCounting},
    {"FIB_DB_CountNhpVxlanByNhpIndex", [] { return FIB_DB_CountNhpVxlanByNhpIndex(42, &count); }, kCounting},
    {"FIB_DB_UpdateNhpVxlanContext", [] { return FIB_DB_UpdateNhpVxlanContext(&item); },
     onObjectOf("nhp_vxlan", kPackingKey + Rules{{"db_set_nhp_vxlan_*", one}, {"db_update_obj", written}})},
    {"FIB_DB_CreateNhpVxlanIterator", [] { return released(FIB_DB_CreateNhpVxlanIterator(0)); },
     iteratorOf("nhp_vxlan")},
    {"FIB_DB_CreateNhpVxlanIteratorByKey", [] { return released(FIB_DB_CreateNhpVxlanIteratorByKey(&desc, &key, 0)); },
     iteratorOf("nhp_vxlan")},
    {"FIB_DB_CreateNhpVxlanIteratorByNhpIndex", [] { return released(FIB_DB_CreateNhpVxlanIteratorByNhpIndex(42, 0)); },
     iteratorOf("nhp_vxlan")},
    {"FIB_DB_CreateNhpVxlanIteratorByTunnelKey",
     [] { return released(FIB_DB_CreateNhpVxlanIteratorByTunnelKey(1, 2, 3, 4, 0)); }, iteratorOf("nhp_vxlan")},
    {"FIB_DB_CreateNhpVxlanIteratorByVniKey", [] { return released(FIB_DB_CreateNhpVxlanIteratorByVniKey(1, 2, 0)); },
     iteratorOf("nhp_vxlan")},
    {"FIB_DB_GetNextNhpVxlanItem",
     [] { return step([](FibDbIterator* iterator) { return FIB_DB_GetNextNhpVxlanItem(iterator, &item); }); },
     iteratorOf("nhp_vxlan", Rules{{"db_root_iterator_next", stepped}} + kUnpacking)},
    {"FIB_DB_ReleaseNhpVxlanIterator", [] { return step([](FibDbIterator*) { return 0u; }); }, iteratorOf("nhp_vxlan")},
};

}  // namespace
}  // namespace fibdb::test::fault
