// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/route/ip4forward_batch_faults.cc: the rows of the routes' batch path for the fault loop.
#include "fibdb/route.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbIp4forwardItem route{.vr_id = 1, .dest_ip_addr = 0x0A000000, .mask_len = 8};

// A batch object is the platform's to give back: the library never does.
template <class Use>
uint32_t withBatchObject(Use use) {
  g_fibDbAsyncConn = connectionOfRows();
  uint64_t object = 0;
  uint32_t status = FIB_DB_GetIp4forwardBatchAsyncObject(&object);
  if (status == 0) status = use(&object);
  if (g_fibAsyncBatchObject != 0) giveBackBatchObject(g_fibAsyncBatchObject);
  return status;
}

uint32_t executed(uint32_t code) { return code == 60003 || code == 60023 ? 10001 : 1; }

Rules onBatchObject(const Rules& calls) { return Rules{{"db_create_ip4forward_obj_specific_conn", raw}} + calls; }

const FaultRows kRows{
    {"FIB_DB_CreateAsyncConnect", [] { return FIB_DB_CreateAsyncConnect(1, 2); }, {{"db_connect", raw}}},
    {"FIB_DB_DestroyAsyncConnect",
     [] {
       g_fibDbAsyncConn = connectionOfRows();
       return FIB_DB_DestroyAsyncConnect(), 0u;
     },
     {{"db_disconnect", ignored}}},
    {"FIB_DB_GetAsyncConn", [] { return FIB_DB_GetAsyncConn() == g_fibDbAsyncConn ? 0u : kNull; }, {}},
    {"FIB_DB_GetIp4forwardBatchAsyncObject",
     [] { return withBatchObject([](uint64_t* object) { return FIB_DB_GetIp4forwardBatchAsyncObject(object); }); },
     onBatchObject({{"db_reset_ip4forward_object", raw}})},
    {"FIB_DB_BatchAddOperWriteIp4forward",
     [] {
       return withBatchObject([](uint64_t* object) { return FIB_DB_BatchAddOperWriteIp4forward(object, &route, 0); });
     },
     onBatchObject({{"memcpy_s", ignored},
                    {"db_reset_ip4forward_batch_object", raw},
                    {"db_set_ip4forward_all_fields", raw},
                    {"db_batch_add_oper", raw}})},
    {"FIB_DB_WriteIp4forward",
     [] { return withBatchObject([](uint64_t* object) { return FIB_DB_WriteIp4forward(*object, &route); }); },
     onBatchObject({{"memcpy_s", ignored},
                    {"db_reset_ip4forward_batch_object", raw},
                    {"db_set_ip4forward_all_fields", raw},
                    {"db_batch_add_oper", raw}})},
    {"FIB_DB_UpdateIp4forward",
     [] { return withBatchObject([](uint64_t* object) { return FIB_DB_UpdateIp4forward(*object, &route); }); },
     onBatchObject({{"db_reset_ip4forward_batch_object", raw},
                    {"db_set_ip4forward_table_smooth_id", raw},
                    {"db_set_ip4forward_time_stamp_svc", raw},
                    {"db_batch_add_oper", raw}})},
    {"FIB_DB_BatchAddOperRemoveIp4forward",
     [] {
       return withBatchObject([](uint64_t* object) { return FIB_DB_BatchAddOperRemoveIp4forward(object, &route); });
     },
     onBatchObject({{"db_reset_ip4forward_batch_object", raw}, {"db_batch_add_oper", raw}})},
    {"FIB_DB_BatchExecuteAsync",
     [] {
       uint64_t argument = 0;
       return withBatchObject([&](uint64_t* object) { return FIB_DB_BatchExecuteAsync(object, &argument); });
     },
     onBatchObject({{"db_batch_exec_async", executed}})},
};

}  // namespace
}  // namespace fibdb::test::fault
