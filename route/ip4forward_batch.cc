// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// route/ip4forward_batch.cc: asynchronous batch writes of IPv4 routes: one connection and one batch object per process.
#include "fibdb/route.h"
#include "platform/objdb.h"
#include "platform/objdb_tables.h"
#include "runtime/text.h"

uint64_t g_fibDbAsyncConn;
uint64_t g_fibAsyncBatchObject;
uint32_t g_ip4WriteDbSetDataRetry;
uint32_t g_ip4RemoveDbAddOperRetry;

namespace {

using fibdb::Text;

struct RouteKey {
  explicit RouteKey(const FibDbIp4forwardItem* item) { FIB_DB_SetIp4forwardKeyField(&desc, &bytes, item); }

  FibDbKeyDesc desc{};
  FibDbIp4forwardKey bytes{};
};

uint32_t fail(uint32_t code, const Text<uint32_t>& failed) { return failed.error(code), code; }

// The database asks for another try: counted before the failure is said.
void countRetry(uint32_t code, uint32_t& retries) {
  if (code == DB_ERR_RETRY) ++retries;
}

bool isNull(const uint64_t* object, const FibDbIp4forwardItem* item) {
  return object == nullptr || item == nullptr || *object == 0;
}

}  // namespace

uint32_t FIB_DB_CreateAsyncConnect(uint64_t param1, uint64_t param2) {
  uint64_t connection = 0;
  // Required: the parameters change places.
  const uint32_t code = db_connect(param2, param1, &connection);
  if (code == FIB_DB_OK) g_fibDbAsyncConn = connection;
  return code;
}

void FIB_DB_DestroyAsyncConnect() {
  constexpr Text<> noConnection = "disconnect db Async failed, para is NULL";
  constexpr Text<uint32_t> failed = "disconnect db Async failed. ret = %d";
  if (g_fibDbAsyncConn == 0) {
    noConnection.error();
    return;
  }
  if (const uint32_t code = db_disconnect(g_fibDbAsyncConn)) failed.error(code);
  // Required: whatever the result; and the batch object stays cached, although its connection is gone.
  g_fibDbAsyncConn = 0;
}

uint64_t FIB_DB_GetAsyncConn() { return g_fibDbAsyncConn; }

uint32_t FIB_DB_GetIp4forwardBatchAsyncObject(uint64_t* outObject) {
  // Required: "det" in all three texts.
  constexpr Text<> noConnection = "detIp4forwardBatchAsyncObject failed, para is NULL.";
  if (g_fibAsyncBatchObject != 0) {
    if (const uint32_t code = db_reset_ip4forward_object(g_fibAsyncBatchObject, FIB_DB_OBJ_OP_BATCH)) {
      return fail(code, "detIp4forwardBatchAsyncObject failed, reset ip4forward object failed. ret = %u");
    }
    *outObject = g_fibAsyncBatchObject;
    return FIB_DB_OK;
  }
  if (g_fibDbAsyncConn == 0) return noConnection.error(), FIB_DB_ERR;
  if (const uint32_t code = db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, g_fibDbAsyncConn, outObject)) {
    g_fibAsyncBatchObject = 0;
    return fail(code, "detIp4forwardBatchAsyncObject failed, create object conn failed. ret = %u");
  }
  g_fibAsyncBatchObject = *outObject;
  return FIB_DB_OK;
}

uint32_t FIB_DB_BatchAddOperWriteIp4forward(uint64_t* object, const FibDbIp4forwardItem* item, uint32_t updateFlag) {
  if (isNull(object, item)) return FIB_DB_ERR;
  return updateFlag == 0 ? FIB_DB_WriteIp4forward(*object, item) : FIB_DB_UpdateIp4forward(*object, item);
}

uint32_t FIB_DB_WriteIp4forward(uint64_t object, const FibDbIp4forwardItem* item) {
  if (item == nullptr) return FIB_DB_ERR;
  FibDbIp4forwardRecord record{};
  // Required: converted first, so g_fibSourcePid follows the item even when the reset fails.
  FIB_DB_SetIp4forwardItem(item, &record);
  if (const uint32_t code = db_reset_ip4forward_batch_object(object, FIB_DB_OBJ_OP_WRITE)) {
    return fail(code, "WriteIp4forward failed, reset object failed. ret = %u");
  }
  if (const uint32_t code = db_set_ip4forward_all_fields(object, &record, sizeof record)) {
    countRetry(code, g_ip4WriteDbSetDataRetry);
    return fail(code, "WriteIp4forward failed, set all fields failed. ret = %u");
  }
  if (const uint32_t code = db_batch_add_oper(object, nullptr, nullptr)) {
    return fail(code, "WriteIp4forward failed, add oper failed. ret = %u");
  }
  return FIB_DB_OK;
}

uint32_t FIB_DB_UpdateIp4forward(uint64_t object, const FibDbIp4forwardItem* item) {
  if (item == nullptr) return FIB_DB_ERR;
  if (const uint32_t code = db_reset_ip4forward_batch_object(object, FIB_DB_OBJ_OP_UPDATE)) {
    return fail(code, "UpdateIp4forward failed, reset object failed. ret = %u");
  }
  const RouteKey key(item);
  // Required: both are staged and the codes ORed; only exactly 10740 is a retry.
  uint32_t staged = db_set_ip4forward_table_smooth_id(object, item->table_smooth_id);
  staged |= db_set_ip4forward_time_stamp_svc(object, item->time_stamp_svc);
  if (staged != 0) {
    countRetry(staged, g_ip4WriteDbSetDataRetry);
    return fail(staged, "UpdateIp4forward failed, set all fields failed. ret = %u");
  }
  if (const uint32_t code = db_batch_add_oper(object, &key.desc, &key.bytes)) {
    return fail(code, "UpdateIp4forward failed, batch add oper failed. ret = %u");
  }
  return FIB_DB_OK;
}

uint32_t FIB_DB_BatchAddOperRemoveIp4forward(uint64_t* object, const FibDbIp4forwardItem* item) {
  constexpr Text<uint32_t> refused = "BatchAddOperRemoveIp4forward failed, add oper failed. ret = %u";
  if (isNull(object, item)) return FIB_DB_ERR;
  const RouteKey key(item);
  if (const uint32_t code = db_reset_ip4forward_batch_object(*object, FIB_DB_OBJ_OP_REMOVE)) {
    return fail(code, "BatchAddOperRemoveIp4forward failed, reset object failed. ret = %u");
  }
  if (const uint32_t code = db_batch_add_oper(*object, &key.desc, &key.bytes)) {
    countRetry(code, g_ip4RemoveDbAddOperRetry);
    // Required: through the info hook; a refused removal is expected.
    return refused.info(code), code;
  }
  return FIB_DB_OK;
}

uint32_t FIB_DB_BatchExecuteAsync(uint64_t* object, uint64_t* argument) {
  constexpr Text<uint32_t> failed = "BatchExecuteAsync failed, ret: %d";
  if (object == nullptr) return FIB_DB_ERR;
  const uint32_t code = db_batch_exec_async(*object, *argument);
  if (code == FIB_DB_OK) return FIB_DB_OK;
  if (code == DB_ERR_BATCH_QUEUE_FULL || code == DB_ERR_BATCH_BUSY) return FIB_DB_BATCH_NOT_EXECUTED;
  failed.error(code);
  // Required: counted under nhp_std, although the batch is of routes.
  FIB_DB_RecordErrStat(FIB_DB_TABLE_NHP_STD, FIB_DB_OPER_EXEC);
  return FIB_DB_ERR;
}
