// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_ext_faults.cc: the rows of the next-hop extensions for the fault loop.
#include "fibdb/nexthop.h"
#include "fibdb/runtime.h"
#include "platform/objdb_tables.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpExtItem item{.keyWords = {1, 2, 3, 4}, .keyByte = 5};
FibDbNhpExtItem items[4];
FibDbNhpExtRow row;
uint32_t count;
const FibDbKeyDesc desc{.indexId = FIB_DB_NHP_EXT_BY_IID_INDEX, .rsv1 = 0, .rsv2 = 0};
const uint32_t key = 42;

// This table gives back no iterator of the object database.
void giveBack(FibDbIterator* iterator) {
  db_release_nhp_ext_object(iterator->obj);
  FIB_DB_Free(iterator);
}

template <class Step>
uint32_t stepByIidIndex(Step step) {
  return stepWith(FIB_DB_CreateNhpExtIteratorByIidIndex(42, 0), step, giveBack);
}

const Rules kCopying{{"memcpy_s", ignored}};
const Rules kRemoving = onObjectOf("nhp_ext", {{"db_remove_obj", written}});
const Rules kCounting = onObjectOf("nhp_ext", {{"db_get_table_record_count_by_key", raw}});
const Rules kReadingMany = onObjectOf(
    "nhp_ext",
    Rules{{"db_create_root_iter", raw}, {"db_root_iterator_next", counted}, {"db_read_obj_with_buf", read}} + kCopying);
const Rules kServiceIterator{{"UFIB_DB_CreateIteratorByKey", null}, {"UFIB_DB_ReleaseIterator", raw}};

const FaultRows kRows{
    // The last of its four copies is its result.
    {"FIB_DB_SetNhpExtItem",
     [] {
       FIB_DB_SetNhpExtItem(&row, &item);
       return 0u;
     },
     kCopying},
    {"FIB_DB_GetNhpExtItem", [] { return FIB_DB_GetNhpExtItem(&item, &row), 0u; }, kCopying},
    {"FIB_DB_SetNhpExtKeyField",
     [] {
       FibDbKeyDesc out{};
       uint8_t bytes[17];
       return FIB_DB_SetNhpExtKeyField(&out, bytes, &item), 0u;
     },
     {}},
    {"FIB_DB_WriteNhpExt", [] { return FIB_DB_WriteNhpExt(&item); },
     onObjectOf("nhp_ext", kCopying + Rules{{"db_set_nhp_ext_all_fields", raw}, {"db_write_obj", written}})},
    {"FIB_DB_ReadNhpExt", [] { return FIB_DB_ReadNhpExt(&item); },
     onObjectOf("nhp_ext", Rules{{"db_read_obj_with_buf", readOrRaw}} + kCopying)},
    {"FIB_DB_RemoveNhpExt", [] { return FIB_DB_RemoveNhpExt(&item); }, kRemoving},
    {"FIB_DB_RemoveNhpExtByIidIndex", [] { return FIB_DB_RemoveNhpExtByIidIndex(42); }, kRemoving},
    {"FIB_DB_UpdateNhpExtFields",
     [] { return FIB_DB_UpdateNhpExtFields(&item, [](uint64_t, const void*) { return 5u; }); },
     onObjectOf("nhp_ext", {{"db_update_obj", written}})},
    {"FIB_DB_SetNhpExtContext",
     [] { return FIB_DB_SetNhpExtContext(callersObject, &item); },
     {{"db_set_nhp_ext_*", one}}},
    {"FIB_DB_UpdateNhpExtContext", [] { return FIB_DB_UpdateNhpExtContext(&item); },
     onObjectOf("nhp_ext", {{"db_set_nhp_ext_*", ignored}, {"db_update_obj", written}})},
    {"FIB_DB_ReadNhpExtByKey", [] { return FIB_DB_ReadNhpExtByKey(&desc, &key, sizeof items, items, &count); },
     kReadingMany},
    {"FIB_DB_ReadNhpExtByKIterNext",
     [] {
       return stepByIidIndex(
           [](FibDbIterator* made) { return FIB_DB_ReadNhpExtByKIterNext(made->obj, made->rootIter, &row); });
     },
     iteratorOf("nhp_ext", {{"db_root_iterator_next", raw}, {"db_read_obj_with_buf", read}})},
    {"FIB_DB_ReadNhpExtByIidIndex", [] { return FIB_DB_ReadNhpExtByIidIndex(42, sizeof items, items, nullptr); },
     kReadingMany},
    {"FIB_DB_ReadNhpExtBySdwanKey", [] { return FIB_DB_ReadNhpExtBySdwanKey(4, 5, sizeof items, items, &count); },
     kReadingMany},
    {"FIB_DB_CountNhpExtByKey", [] { return FIB_DB_CountNhpExtByKey(&desc, &key, &count); }, kCounting},
    {"FIB_DB_CountNhpExtByIidIndex", [] { return FIB_DB_CountNhpExtByIidIndex(42, &count); }, kCounting},
    {"FIB_DB_CountNhpExtBySdwanKey", [] { return FIB_DB_CountNhpExtBySdwanKey(4, 5, &count); }, kCounting},
    {"FIB_DB_CreateNhpExtIteratorByIidIndex", [] { return stepByIidIndex([](FibDbIterator*) { return 0u; }); },
     iteratorOf("nhp_ext")},
    {"FIB_DB_CreateNhpExtIteratorByTunnelId",
     [] { return made(FIB_DB_CreateNhpExtIteratorByTunnelId(2, 3, 4, 5, 0), FIB_DB_ReleaseNhpExtIterator); },
     kServiceIterator},
    {"FIB_DB_CreateNhpExtIterByTnlIdAndType",
     [] { return made(FIB_DB_CreateNhpExtIterByTnlIdAndType(4, 5, 0), FIB_DB_ReleaseNhpExtIterator); },
     kServiceIterator},
    {"FIB_DB_GetNextNhpExtEntry", [] { return FIB_DB_GetNextNhpExtEntry(&item, &item); },
     Rules{{"UFIB_DB_GetNextEntry", raw}} + kCopying},
    {"FIB_DB_ReleaseNhpExtIterator", [] { return FIB_DB_ReleaseNhpExtIterator(nullptr); }, {}},
};

}  // namespace
}  // namespace fibdb::test::fault
