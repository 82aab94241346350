// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_vpnsid_faults.cc: the rows of the VPN SID next hops for the fault loop.
#include "fibdb/nexthop.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpVpnSidItem item{.key_word1 = 42};
FibDbNhpVpnSidItem items[4];
uint32_t count;
const uint8_t address[16] = {0x20, 0x01};
const FibDbKeyDesc desc{.indexId = FIB_DB_NHP_VPNSID_BY_NHP_INDEX, .rsv1 = 0, .rsv2 = 0};
const uint32_t key = 42;

template <class Step>
uint32_t step(Step step) {
  return stepWith(FIB_DB_CreateNhpVpnSidIterator(0), step, FIB_DB_ReleaseNhpVpnSidIterator);
}

// An iterator of one kind, made and given back.
uint32_t released(FibDbIterator* iterator) { return made(iterator, FIB_DB_ReleaseNhpVpnSidIterator); }

const Rules kCopying{{"memcpy_s", ignored}};
const Rules kUpdating = onObjectOf("nhp_vpnsid", kCopying + Rules{{"db_update_obj", written}});
const Rules kStaging{{"db_set_nhp_vpnsid_*", ignored}};
const Rules kRemoving = onObjectOf("nhp_vpnsid", {{"db_remove_obj", written}});
const Rules kCounting = onObjectOf("nhp_vpnsid", {{"db_get_table_record_count_by_key", raw}});
const Rules kReadingMany = onObjectOf(
    "nhp_vpnsid",
    kCopying + Rules{{"db_create_root_iter", raw}, {"db_root_iterator_next", counted}, {"db_read_obj_with_buf", raw}});

const FaultRows kRows{
    {"FIB_DB_SetNhpVpnSidItem",
     [] {
       FibDbNhpVpnSidRow row{};
       return FIB_DB_SetNhpVpnSidItem(&row, &item), 0u;
     },
     kCopying},
    {"FIB_DB_GetNhpVpnSidItem",
     [] {
       const FibDbNhpVpnSidRow row{};
       FibDbNhpVpnSidItem out;
       return FIB_DB_GetNhpVpnSidItem(&out, &row), 0u;
     },
     kCopying},
    {"FIB_DB_SetNhpVpnSidKeyField",
     [] {
       FibDbKeyDesc out{};
       uint8_t bytes[28];
       return FIB_DB_SetNhpVpnSidKeyField(&out, bytes, &item);
     },
     {{"memcpy_s", refused}}},
    {"FIB_DB_WriteNhpVpnSid", [] { return FIB_DB_WriteNhpVpnSid(&item); },
     onObjectOf("nhp_vpnsid", kCopying + Rules{{"db_set_nhp_vpnsid_all_fields", raw}, {"db_write_obj", written}})},
    {"FIB_DB_ReadNhpVpnSid", [] { return FIB_DB_ReadNhpVpnSid(&item); }, kCopying + Rules{{"UFIB_DB_Read", raw}}},
    {"FIB_DB_RemoveNhpVpnSid", [] { return FIB_DB_RemoveNhpVpnSid(&item); }, kCopying + kRemoving},
    {"FIB_DB_RemoveNhpVpnSidByNhpIndex", [] { return FIB_DB_RemoveNhpVpnSidByNhpIndex(42); }, kRemoving},
    {"FIB_DB_ReadNhpVpnSidByKey", [] { return FIB_DB_ReadNhpVpnSidByKey(&desc, &key, sizeof items, items, &count); },
     kReadingMany},
    {"FIB_DB_ReadNhpVpnSidByNhpIndex", [] { return FIB_DB_ReadNhpVpnSidByNhpIndex(42, sizeof items, items, nullptr); },
     kReadingMany},
    {"FIB_DB_CountNhpVpnSidByKey", [] { return FIB_DB_CountNhpVpnSidByKey(&desc, &key, &count); }, kCounting},
    {"FIB_DB_CountNhpVpnSidByNhpIndex", [] { return FIB_DB_CountNhpVpnSidByNhpIndex(42, &count); }, kCounting},
    {"FIB_DB_UpdateNhpVpnSidFields",
     [] { return FIB_DB_UpdateNhpVpnSidFields(&item, [](uint64_t, const void*) { return 5u; }); }, kUpdating},
    {"FIB_DB_SetNhpVpnSidContext",
     [] { return FIB_DB_SetNhpVpnSidContext(callersObject, &item); },
     {{"db_set_nhp_vpnsid_*", one}}},
    {"FIB_DB_SetNhpVpnSidFlag",
     [] { return FIB_DB_SetNhpVpnSidFlag(callersObject, &item); },
     {{"db_set_nhp_vpnsid_flags", raw}}},
    {"FIB_DB_UpdateNhpVpnSidContext", [] { return FIB_DB_UpdateNhpVpnSidContext(&item); }, kStaging + kUpdating},
    {"FIB_DB_UpdateNhpVpnSidFlag", [] { return FIB_DB_UpdateNhpVpnSidFlag(&item); }, kStaging + kUpdating},
    {"FIB_DB_CreateNhpVpnSidIterator", [] { return released(FIB_DB_CreateNhpVpnSidIterator(0)); },
     iteratorOf("nhp_vpnsid")},
    {"FIB_DB_CreateNhpVpnSidIteratorByKey",
     [] { return released(FIB_DB_CreateNhpVpnSidIteratorByKey(&desc, &key, 0)); }, iteratorOf("nhp_vpnsid")},
    {"FIB_DB_CreateNhpVpnSidIteratorByXsidInfo",
     [] { return released(FIB_DB_CreateNhpVpnSidIteratorByXsidInfo(1, 2, address, 3, 4, 0)); },
     iteratorOf("nhp_vpnsid", kCopying)},
    {"FIB_DB_CreateNhpVpnSidIteratorByVpnSid",
     [] { return released(FIB_DB_CreateNhpVpnSidIteratorByVpnSid(1, 2, address, 0)); },
     iteratorOf("nhp_vpnsid", kCopying)},
    {"FIB_DB_CreateNhpVpnSidIteratorByNhpIndex",
     [] { return released(FIB_DB_CreateNhpVpnSidIteratorByNhpIndex(42, 0)); }, iteratorOf("nhp_vpnsid")},
    {"FIB_DB_GetNextNhpVpnSidEntry",
     [] { return step([](FibDbIterator* iterator) { return FIB_DB_GetNextNhpVpnSidEntry(iterator, &item); }); },
     iteratorOf("nhp_vpnsid", kCopying + Rules{{"db_root_iterator_next", stepped}, {"db_read_obj_with_buf", one}})},
    {"FIB_DB_ReleaseNhpVpnSidIterator", [] { return step([](FibDbIterator*) { return 0u; }); },
     iteratorOf("nhp_vpnsid")},
};

}  // namespace
}  // namespace fibdb::test::fault
