// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/pp4ext_srv6_te_faults.cc: the rows of the SRv6 traffic-engineering extensions for the fault loop.
#include "fibdb/nexthop.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpSrv6TeItem item{.key_word1 = 42};
FibDbNhpSrv6TeItem items[4];
uint32_t count;
const FibDbKeyDesc desc{.indexId = FIB_DB_PP4EXT_SRV6_TE_BY_NHP_INDEX, .rsv1 = 0, .rsv2 = 0};
const uint32_t key = 42;

template <class Step>
uint32_t step(Step step) {
  return stepWith(FIB_DB_CreateNhp4ExtSrv6TeIterator(0), step, FIB_DB_ReleaseNhp4ExtSrv6TeIterator);
}

// An iterator of one kind, made and given back.
uint32_t released(FibDbIterator* iterator) { return made(iterator, FIB_DB_ReleaseNhp4ExtSrv6TeIterator); }

const Rules kCopying{{"memcpy_s", ignored}};
const Rules kUpdating = onObjectOf("pp4ext_srv6_te", kCopying + Rules{{"db_update_obj", written}});
const Rules kStaging{{"db_set_pp4ext_srv6_te_*", ignored}};
const Rules kRemoving = onObjectOf("pp4ext_srv6_te", {{"db_remove_obj", written}});
const Rules kCounting = onObjectOf("pp4ext_srv6_te", {{"db_get_table_record_count_by_key", raw}});
const Rules kReadingMany = onObjectOf(
    "pp4ext_srv6_te",
    kCopying + Rules{{"db_create_root_iter", raw}, {"db_root_iterator_next", counted}, {"db_read_obj_with_buf", raw}});

const FaultRows kRows{
    {"FIB_DB_SetNhp4ExtSrv6TeItem",
     [] {
       FibDbNhpSrv6TeRow row{};
       return FIB_DB_SetNhp4ExtSrv6TeItem(&row, &item), 0u;
     },
     kCopying},
    {"FIB_DB_GetNhp4ExtSrv6TeItem",
     [] {
       const FibDbNhpSrv6TeRow row{};
       FibDbNhpSrv6TeItem out;
       return FIB_DB_GetNhp4ExtSrv6TeItem(&out, &row), 0u;
     },
     kCopying},
    {"FIB_DB_SetNhp4ExtSrv6TeKeyField",
     [] {
       FibDbKeyDesc out{};
       uint8_t bytes[33];
       return FIB_DB_SetNhp4ExtSrv6TeKeyField(&out, bytes, &item);
     },
     {{"memcpy_s", refused}}},
    {"FIB_DB_WriteNhp4ExtSrv6Te", [] { return FIB_DB_WriteNhp4ExtSrv6Te(&item); },
     onObjectOf("pp4ext_srv6_te",
                kCopying + Rules{{"db_set_pp4ext_srv6_te_all_fields", raw}, {"db_write_obj", written}})},
    {"FIB_DB_RemoveNhpPp4ExtSrv6Te", [] { return FIB_DB_RemoveNhpPp4ExtSrv6Te(&item); }, kCopying + kRemoving},
    {"FIB_DB_RemoveNhp4ExtSrv6TeByNhpIndex", [] { return FIB_DB_RemoveNhp4ExtSrv6TeByNhpIndex(42); }, kRemoving},
    {"FIB_DB_ReadNhp4ExtSrv6TeByKey",
     [] { return FIB_DB_ReadNhp4ExtSrv6TeByKey(&desc, &key, sizeof items, items, &count); }, kReadingMany},
    {"FIB_DB_ReadNhp4ExtSrv6TeByNhpIndex",
     [] { return FIB_DB_ReadNhp4ExtSrv6TeByNhpIndex(42, sizeof items, items, nullptr); }, kReadingMany},
    {"FIB_DB_CountNhp4ExtSrv6TeByKey", [] { return FIB_DB_CountNhp4ExtSrv6TeByKey(&desc, &key, &count); }, kCounting},
    {"FIB_DB_CountNhp4ExtSrv6TeByNhpIndex", [] { return FIB_DB_CountNhp4ExtSrv6TeByNhpIndex(42, &count); }, kCounting},
    {"FIB_DB_UpdateNhp4ExtSrv6TeFields",
     [] { return FIB_DB_UpdateNhp4ExtSrv6TeFields(&item, [](uint64_t, const void*) { return 5u; }); }, kUpdating},
    {"FIB_DB_SetNhp4ExtSrv6TeContext",
     [] { return FIB_DB_SetNhp4ExtSrv6TeContext(callersObject, &item); },
     {{"db_set_pp4ext_srv6_te_*", one}}},
    {"FIB_DB_UpdateNhp4ExtSrv6TeContext", [] { return FIB_DB_UpdateNhp4ExtSrv6TeContext(&item); },
     kStaging + kUpdating},
    {"FIB_DB_CreateNhp4ExtSrv6TeIterator", [] { return released(FIB_DB_CreateNhp4ExtSrv6TeIterator(0)); },
     iteratorOf("pp4ext_srv6_te")},
    {"FIB_DB_CreateNhp4ExtSrv6TeIteratorByKey",
     [] { return released(FIB_DB_CreateNhp4ExtSrv6TeIteratorByKey(&desc, &key, 0)); }, iteratorOf("pp4ext_srv6_te")},
    {"FIB_DB_CreateNhp4ExtSrv6TeIterByPolicyInfo",
     [] { return released(FIB_DB_CreateNhp4ExtSrv6TeIterByPolicyInfo(1, 2, 3, 4, 0)); }, iteratorOf("pp4ext_srv6_te")},
    {"FIB_DB_CreateNhp4ExtSrv6TeIterByNhpIndex",
     [] { return released(FIB_DB_CreateNhp4ExtSrv6TeIterByNhpIndex(42, 0)); }, iteratorOf("pp4ext_srv6_te")},
    {"FIB_DB_GetNextNhp4ExtSrv6TeEntry",
     [] { return step([](FibDbIterator* iterator) { return FIB_DB_GetNextNhp4ExtSrv6TeEntry(iterator, &item); }); },
     iteratorOf("pp4ext_srv6_te", kCopying + Rules{{"db_root_iterator_next", stepped}, {"db_read_obj_with_buf", one}})},
    {"FIB_DB_ReleaseNhp4ExtSrv6TeIterator", [] { return step([](FibDbIterator*) { return 0u; }); },
     iteratorOf("pp4ext_srv6_te")},
};

}  // namespace
}  // namespace fibdb::test::fault
