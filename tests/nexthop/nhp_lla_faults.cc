// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_lla_faults.cc: the rows of the next hops with a 16-byte address for the fault loop.
#include "fibdb/nexthop.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpLlaItem item{.iid_index = 42};
FibDbNhpLlaItem items[4];
uint32_t count;
const uint8_t address[16] = {0xFE, 0x80};
const FibDbKeyDesc desc{.indexId = FIB_DB_NHP_LLA_BY_NHP_INDEX, .rsv1 = 0, .rsv2 = 0};
const uint32_t key = 42;

template <class Step>
uint32_t step(Step step) {
  return stepWith(FIB_DB_CreateNhpLlaIterator(0), step, FIB_DB_ReleaseNhpLlaIterator);
}

// An iterator of one kind, made and given back.
uint32_t released(FibDbIterator* iterator) { return made(iterator, FIB_DB_ReleaseNhpLlaIterator); }

const Rules kUnpacking{{"db_get_nhp_lla_*", ignored}, {"memcpy_s", ignored}};
const Rules kUpdating{{"db_set_nhp_lla_*", ignored}, {"db_update_obj", raw}};
const Rules kRemoving = onObjectOf("nhp_lla", {{"db_remove_obj", written}});
const Rules kCounting = onObjectOf("nhp_lla", {{"db_get_table_record_count_by_key", raw}});
const Rules kReadingMany =
    onObjectOf("nhp_lla", Rules{{"db_create_root_iter", raw}, {"db_root_iterator_next", counted}} + kUnpacking);

const FaultRows kRows{
    {"FIB_DB_SetNhpLlaKeyField",
     [] {
       FibDbKeyDesc out{};
       uint8_t bytes[24];
       return FIB_DB_SetNhpLlaKeyField(&out, bytes, &item), 0u;
     },
     {}},
    {"FIB_DB_SetNhpLlaItem", [] { return FIB_DB_SetNhpLlaItem(callersObject, &item); }, {{"db_set_nhp_lla_*", one}}},
    {"FIB_DB_GetNhpLlaItem", [] { return FIB_DB_GetNhpLlaItem(callersObject, &item), 0u; }, kUnpacking},
    {"FIB_DB_WriteNhpLla", [] { return FIB_DB_WriteNhpLla(&item); },
     onObjectOf("nhp_lla", {{"db_set_nhp_lla_*", one}, {"db_write_obj", written}})},
    {"FIB_DB_ReadNhpLla", [] { return FIB_DB_ReadNhpLla(&item); },
     onObjectOf("nhp_lla", Rules{{"db_read_obj", readOrRaw}} + kUnpacking)},
    {"FIB_DB_RemoveNhpLLA", [] { return FIB_DB_RemoveNhpLLA(&item); }, kRemoving},
    {"FIB_DB_RemoveNhpLlaByNhpIndex", [] { return FIB_DB_RemoveNhpLlaByNhpIndex(42); }, kRemoving},
    {"FIB_DB_ReadNhpLlaByKey", [] { return FIB_DB_ReadNhpLlaByKey(&desc, &key, sizeof items, items, &count); },
     kReadingMany},
    {"FIB_DB_ReadNhpLlaByNhpIndex", [] { return FIB_DB_ReadNhpLlaByNhpIndex(42, sizeof items, items, nullptr); },
     kReadingMany},
    {"FIB_DB_ReadNhpLlaByLocalhash", [] { return FIB_DB_ReadNhpLlaByLocalhash(address, 0, 2, sizeof items, items); },
     kReadingMany},
    {"FIB_DB_CountNhpLlaByKey", [] { return FIB_DB_CountNhpLlaByKey(&desc, &key, &count); }, kCounting},
    {"FIB_DB_GetNhpLlaCountByKey", [] { return FIB_DB_GetNhpLlaCountByKey(&desc, &key, &count); }, kCounting},
    {"FIB_DB_GetNhpLlaCountByLocalhash", [] { return FIB_DB_GetNhpLlaCountByLocalhash(address, 0, 2, &count); },
     kCounting},
    {"FIB_DB_CountNhpLlaByNhpIndex", [] { return FIB_DB_CountNhpLlaByNhpIndex(42, &count); }, kCounting},
    {"FIB_DB_CountNhpLlaByLocalhash", [] { return FIB_DB_CountNhpLlaByLocalhash(address, 0, 2, &count); }, kCounting},
    {"FIB_DB_UpdateNhpLlaFields",
     [] { return FIB_DB_UpdateNhpLlaFields(&item, [](uint64_t, const void*) { return 5u; }); },
     onObjectOf("nhp_lla", {{"db_update_obj", raw}})},
    {"FIB_DB_SetNhpLlaContext",
     [] { return FIB_DB_SetNhpLlaContext(callersObject, &item); },
     {{"db_set_nhp_lla_*", one}}},
    {"FIB_DB_SetNhpLlaFlag",
     [] { return FIB_DB_SetNhpLlaFlag(callersObject, &item); },
     {{"db_set_nhp_lla_flags", raw}}},
    {"FIB_DB_UpdateNhpLlaContext", [] { return FIB_DB_UpdateNhpLlaContext(&item); }, onObjectOf("nhp_lla", kUpdating)},
    {"FIB_DB_UpdateNhpLlaFlag", [] { return FIB_DB_UpdateNhpLlaFlag(&item); }, onObjectOf("nhp_lla", kUpdating)},
    {"FIB_DB_CreateNhpLlaIterator", [] { return released(FIB_DB_CreateNhpLlaIterator(0)); }, iteratorOf("nhp_lla")},
    {"FIB_DB_CreateNhpLlaIteratorByKey", [] { return released(FIB_DB_CreateNhpLlaIteratorByKey(&desc, &key, 0)); },
     iteratorOf("nhp_lla")},
    {"FIB_DB_CreateNhpLlaIteratorByNhpIndex", [] { return released(FIB_DB_CreateNhpLlaIteratorByNhpIndex(42, 0)); },
     iteratorOf("nhp_lla")},
    {"FIB_DB_CreateNhpLlaIteratorByIfIndex", [] { return released(FIB_DB_CreateNhpLlaIteratorByIfIndex(1, 0)); },
     iteratorOf("nhp_lla")},
    {"FIB_DB_CreateNhpLlaIteratorByGlobalSlotId",
     [] { return released(FIB_DB_CreateNhpLlaIteratorByGlobalSlotId(1, 0)); }, iteratorOf("nhp_lla")},
    {"FIB_DB_GetNextNhpLlaEntry",
     [] { return step([](FibDbIterator* iterator) { return FIB_DB_GetNextNhpLlaEntry(iterator, &item); }); },
     iteratorOf("nhp_lla", Rules{{"db_root_iterator_next", stepped}} + kUnpacking)},
    {"FIB_DB_ReleaseNhpLlaIterator", [] { return step([](FibDbIterator*) { return 0u; }); }, iteratorOf("nhp_lla")},
};

}  // namespace
}  // namespace fibdb::test::fault
