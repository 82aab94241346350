// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_std_faults.cc: the rows of the standard next hops for the fault loop.
#include "fibdb/nexthop.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpStdItem item{.nhp_index = 42};
FibDbNhpStdItem items[4];
uint32_t count;
const FibDbKeyDesc desc{.indexId = FIB_DB_NHP_STD_BY_NHP_INDEX, .rsv1 = 0, .rsv2 = 0};
const uint32_t key = 42;

template <class Step>
uint32_t step(Step step) {
  return stepWith(FIB_DB_CreateNhpStdIterator(0), step, FIB_DB_ReleaseNhpStdIterator);
}

// An iterator of one kind, made and given back.
uint32_t released(FibDbIterator* iterator) { return made(iterator, FIB_DB_ReleaseNhpStdIterator); }

const Rules kUnpacking{{"db_get_nhp_std_*", ignored}, {"memcpy_s", ignored}};
const Rules kUpdating{{"db_set_nhp_std_*", ignored}, {"db_update_obj", written}};
const Rules kRemoving = onObjectOf("nhp_std", {{"db_remove_obj", written}});
const Rules kCounting = onObjectOf("nhp_std", {{"db_get_table_record_count_by_key", raw}});
const Rules kReadingMany =
    onObjectOf("nhp_std", Rules{{"db_create_root_iter", raw}, {"db_root_iterator_next", counted}} + kUnpacking);

const FaultRows kRows{
    {"FIB_DB_SetNhpStdKeyField",
     [] {
       FibDbKeyDesc out{};
       uint8_t bytes[12];
       return FIB_DB_SetNhpStdKeyField(&out, bytes, &item), 0u;
     },
     {}},
    {"FIB_DB_SetNhpStdItem", [] { return FIB_DB_SetNhpStdItem(callersObject, &item); }, {{"db_set_nhp_std_*", one}}},
    {"FIB_DB_GetNhpStdItem", [] { return FIB_DB_GetNhpStdItem(callersObject, &item), 0u; }, kUnpacking},
    {"FIB_DB_WriteNhpStd", [] { return FIB_DB_WriteNhpStd(&item); },
     onObjectOf("nhp_std", {{"db_set_nhp_std_*", one}, {"db_write_obj", written}})},
    {"FIB_DB_ReadNhpStd", [] { return FIB_DB_ReadNhpStd(&item); },
     onObjectOf("nhp_std", Rules{{"db_read_obj", readOrRaw}} + kUnpacking)},
    {"FIB_DB_RemoveNhpStd", [] { return FIB_DB_RemoveNhpStd(&item); }, kRemoving},
    {"FIB_DB_RemoveNhpStdByNhpIndex", [] { return FIB_DB_RemoveNhpStdByNhpIndex(42); }, kRemoving},
    {"FIB_DB_ReadNhpStdByKey", [] { return FIB_DB_ReadNhpStdByKey(&desc, &key, sizeof items, items, &count); },
     kReadingMany},
    {"FIB_DB_ReadNhpStdByNhpIndex", [] { return FIB_DB_ReadNhpStdByNhpIndex(42, sizeof items, items, nullptr); },
     kReadingMany},
    {"FIB_DB_ReadNhpStdByLocalhash", [] { return FIB_DB_ReadNhpStdByLocalhash(1, 2, sizeof items, items); },
     kReadingMany},
    {"FIB_DB_ReadNhpStdByIfIndex", [] { return FIB_DB_ReadNhpStdByIfIndex(1, sizeof items, items); }, kReadingMany},
    {"FIB_DB_ReadNhpStdByIfType", [] { return FIB_DB_ReadNhpStdByIfType(1, sizeof items, items); }, kReadingMany},
    {"FIB_DB_CountNhpStdByKey", [] { return FIB_DB_CountNhpStdByKey(&desc, &key, &count); }, kCounting},
    {"FIB_DB_CountNhpStdByNhpIndex", [] { return FIB_DB_CountNhpStdByNhpIndex(42, &count); }, kCounting},
    {"FIB_DB_CountNhpStdByLocalhash", [] { return FIB_DB_CountNhpStdByLocalhash(1, 2, &count); }, kCounting},
    {"FIB_DB_CountNhpStdByIfIndex", [] { return FIB_DB_CountNhpStdByIfIndex(1, &count); }, kCounting},
    {"FIB_DB_CountNhpStdByIfType", [] { return FIB_DB_CountNhpStdByIfType(1, &count); }, kCounting},
    {"FIB_DB_UpdateNhpStdFields",
     [] { return FIB_DB_UpdateNhpStdFields(&item, [](uint64_t, const void*) { return 5u; }); },
     onObjectOf("nhp_std", {{"db_update_obj", written}})},
    {"FIB_DB_SetNhpStdContext",
     [] { return FIB_DB_SetNhpStdContext(callersObject, &item); },
     {{"db_set_nhp_std_*", one}}},
    {"FIB_DB_SetNhpStdFlags",
     [] { return FIB_DB_SetNhpStdFlags(callersObject, &item); },
     {{"db_set_nhp_std_flags", raw}}},
    {"FIB_DB_UpdateNhpStdContext", [] { return FIB_DB_UpdateNhpStdContext(&item); }, onObjectOf("nhp_std", kUpdating)},
    {"FIB_DB_UpdateNhpStdFlags", [] { return FIB_DB_UpdateNhpStdFlags(&item); }, onObjectOf("nhp_std", kUpdating)},
    {"FIB_DB_CreateNhpStdIterator", [] { return released(FIB_DB_CreateNhpStdIterator(0)); }, iteratorOf("nhp_std")},
    {"FIB_DB_CreateNhpStdIteratorByKey", [] { return released(FIB_DB_CreateNhpStdIteratorByKey(&desc, &key, 0)); },
     iteratorOf("nhp_std")},
    {"FIB_DB_CreateNhpStdIteratorByNhpIndex", [] { return released(FIB_DB_CreateNhpStdIteratorByNhpIndex(42, 0)); },
     iteratorOf("nhp_std")},
    {"FIB_DB_CreateNhpStdIteratorByIpIfIndex", [] { return released(FIB_DB_CreateNhpStdIteratorByIpIfIndex(1, 2, 0)); },
     iteratorOf("nhp_std")},
    {"FIB_DB_CreateNhpStdIteratorByIfIndex", [] { return released(FIB_DB_CreateNhpStdIteratorByIfIndex(1, 0)); },
     iteratorOf("nhp_std")},
    {"FIB_DB_CreateNhpStdIteratorByWorkIfIndex",
     [] { return released(FIB_DB_CreateNhpStdIteratorByWorkIfIndex(1, 0)); }, iteratorOf("nhp_std")},
    {"FIB_DB_CreateNhpStdIteratorByGlobalSlotId",
     [] { return released(FIB_DB_CreateNhpStdIteratorByGlobalSlotId(1, 0)); }, iteratorOf("nhp_std")},
    {"FIB_DB_GetNextNhpStdEntry",
     [] { return step([](FibDbIterator* iterator) { return FIB_DB_GetNextNhpStdEntry(iterator, &item); }); },
     iteratorOf("nhp_std", Rules{{"db_root_iterator_next", stepped}} + kUnpacking)},
    {"FIB_DB_ReleaseNhpStdIterator", [] { return step([](FibDbIterator*) { return 0u; }); }, iteratorOf("nhp_std")},
};

}  // namespace
}  // namespace fibdb::test::fault
