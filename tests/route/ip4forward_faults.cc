// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/route/ip4forward_faults.cc: the rows of the routes for the fault loop, those of the batch path apart.
#include "fibdb/route.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbIp4forwardItem route{.vr_id = 1, .dest_ip_addr = 0x0A000000, .mask_len = 8};
FibDbIp4forwardItem routes[4];

template <class Step>
uint32_t step(Step step) {
  return stepWith(FIB_DB_CreateIp4forwardIteratorByNhpGrpId(1, 2, 0), step, FIB_DB_ReleaseIp4forwardByNhpGrpId);
}

uint32_t matched(uint32_t code) { return code == 110012 ? 10003 : code; }

const Rules kMakeDictionary{{"alloc", null},
                            {"db_create_ip4forward_obj", null},
                            {"db_create_stmt", ignored},
                            {"db_append_stmt_condition", ignored},
                            {"db_create_root_iterator_by_filter", null},
                            {"db_set_root_iterator_property", null},
                            {"db_release_ip4forward_object", ignored}};

const FaultRows kRows{
    {"FIB_DB_SetIp4forwardKey",
     [] {
       FibDbIp4forwardKey key;
       return FIB_DB_SetIp4forwardKey(&key, 1, 2, 3, 4), 0u;
     },
     {}},
    {"FIB_DB_GetIp4forwardKey",
     [] {
       FibDbIp4forwardKey key{}, copy;
       return FIB_DB_GetIp4forwardKey(&key, &copy), 0u;
     },
     {}},
    {"FIB_DB_SetIp4forwardItem",
     [] {
       FibDbIp4forwardRecord record;
       return FIB_DB_SetIp4forwardItem(&route, &record), 0u;
     },
     {{"memcpy_s", ignored}}},
    {"FIB_DB_GetIp4forwardItem",
     [] {
       FibDbIp4forwardRecord record{};
       return FIB_DB_GetIp4forwardItem(&record, &route), 0u;
     },
     {{"memcpy_s", ignored}}},
    {"FIB_DB_SetIp4forwardKeyField",
     [] {
       FibDbKeyDesc desc{};
       FibDbIp4forwardKey key;
       return FIB_DB_SetIp4forwardKeyField(&desc, &key, &route), 0u;
     },
     {}},
    {"FIB_DB_ReadIp4forward", [] { return FIB_DB_ReadIp4forward(&route); },
     onObjectOf("ip4forward", {{"db_read_obj_with_buf", read}, {"memcpy_s", ignored}})},
    {"FIB_DB_ReadIp4forwardByLpm", [] { return FIB_DB_ReadIp4forwardByLpm(&route); },
     onObjectOf("ip4forward", {{"db_create_root_iter", raw},
                               {"db_root_iterator_next", matched},
                               {"db_read_obj_with_buf", read},
                               {"memcpy_s", ignored}})},
    {"FIB_DB_CountIp4forward",
     [] {
       uint32_t count;
       return FIB_DB_CountIp4forward(&count);
     },
     onObjectOf("ip4forward", {{"db_get_table_record_count", raw}})},
    {"FIB_DB_CountIp4forwardByHighStatus",
     [] {
       uint32_t count;
       return FIB_DB_CountIp4forwardByHighStatus(0, &count);
     },
     onObjectOf(
         "ip4forward",
         {{"db_create_root_iter", raw}, {"db_root_iterator_next", counted}, {"db_get_ip4forward_all_fields", raw}})},
    {"FIB_DB_CreateIp4forwardIterator",
     [] { return made(FIB_DB_CreateIp4forwardIterator(0), FIB_DB_ReleaseIp4forwardIterator); },
     iteratorOf("ip4forward")},
    {"FIB_DB_CreateDictionaryIterator",
     [] { return made(FIB_DB_CreateDictionaryIterator(0), FIB_DB_ReleaseIp4forwardIterator); }, kMakeDictionary},
    {"FIB_DB_CreateIp4forwardIteratorByVrf",
     [] { return made(FIB_DB_CreateIp4forwardIteratorByVrf(1, 2, 3, 0), FIB_DB_ReleaseIp4forwardIterator); },
     iteratorOf("ip4forward")},
    {"FIB_DB_CreateIp4forwardIteratorByNhpGrpId",
     [] { return made(FIB_DB_CreateIp4forwardIteratorByNhpGrpId(1, 2, 0), FIB_DB_ReleaseIp4forwardByNhpGrpId); },
     iteratorOf("ip4forward")},
    {"FIB_DB_GetNextIp4forward",
     [] { return step([](FibDbIterator* iterator) { return FIB_DB_GetNextIp4forward(iterator, &route); }); },
     iteratorOf("ip4forward",
                {{"db_root_iterator_next", stepped}, {"db_read_obj_with_buf", read}, {"memcpy_s", ignored}})},
    {"FIB_DB_GetNextIp4forwardByNhpGrpId",
     [] {
       return step([](FibDbIterator* iterator) {
         uint32_t filled = 0;
         return FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, sizeof routes, routes, &filled);
       });
     },
     iteratorOf("ip4forward",
                {{"db_root_iterator_next", ignored}, {"db_read_obj_with_buf", ignored}, {"memcpy_s", ignored}})},
    {"FIB_DB_ReleaseIp4forwardIterator",
     [] { return made(FIB_DB_CreateIp4forwardIterator(0), FIB_DB_ReleaseIp4forwardIterator); },
     iteratorOf("ip4forward")},
    {"FIB_DB_ReleaseIp4forwardByNhpGrpId", [] { return step([](FibDbIterator*) { return 0u; }); },
     iteratorOf("ip4forward")},
};

}  // namespace
}  // namespace fibdb::test::fault
