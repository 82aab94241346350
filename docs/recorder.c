/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* docs/recorder.c: a database that does nothing but say what it is asked: the smallest thing that can be put under the
 * library. Its calls of every table come from the schema. */
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "fibdb/fibdb.h"
#include "platform/bounds.h"
#include "platform/objdb.h"
#include "platform/objdb_tables.h"
#include "platform/ufib.h"

/* What handles look like is the database's own affair, but for 0, which is none. */
static const uint64_t kObject = 1, kIterator = 2, kChild = 3, kConnection = 4;
static const uint8_t kNoBytes[64];

/* Answers 0 to everything, and the end to the second step of an iterator. */
static uint32_t heard(const char* call) { return printf("  %s\n", call) < 0; }
static uint32_t heardOf(const char* call, uint32_t kind) { return printf("  %s(%" PRIu32 ")\n", call, kind) < 0; }
static uint32_t heardKey(const char* call, const FibDbKeyDesc* desc) {
  return desc == NULL ? heard(call) : (uint32_t)(printf("  %s(0x%08" PRIX32 ")\n", call, desc->indexId) < 0);
}
static uint32_t gives(uint64_t* out, uint64_t handle) { return *out = handle, 0; }

/* A row of zeros, or as much of it as is asked for. */
static uint32_t clears(void* out, uint32_t length) { return memset(out, 0, length), 0; }
static uint32_t lends(const void** out, uint32_t* length, uint32_t bytes) {
  *out = kNoBytes;
  if (length != NULL) *length = bytes;
  return 0;
}

#define TABLE(t)                                                                  \
  uint32_t db_create_##t##_obj(uint32_t kind, uint32_t zero, uint64_t* outObj) {  \
    return heardOf("db_create_" #t "_obj", kind) + gives(outObj, kObject) + zero; \
  }                                                                               \
  uint32_t db_release_##t##_object(uint64_t obj) { return heard("db_release_" #t "_object") + (obj != kObject); }
#define RESET(t) \
  uint32_t db_reset_##t##_object(uint64_t obj, uint32_t kind) { return heardOf("db_reset_" #t "_object", kind) + !obj; }
#define SET_ALL(t)                                                                     \
  uint32_t db_set_##t##_all_fields(uint64_t obj, const void* row, uint32_t len) {      \
    return heardOf("db_set_" #t "_all_fields", len) + (obj != kObject || row == NULL); \
  }
#define GET_ALL(t)                                                             \
  uint32_t db_get_##t##_all_fields(uint64_t obj, void* row, uint32_t len) {    \
    return heardOf("db_get_" #t "_all_fields", len) + clears(row, len) + !obj; \
  }
#define GET_SP_ALL(t, name)                                            \
  uint32_t db_get_##t##_sp_all_data(uint64_t obj, void* out) {         \
    return heard("db_get_" #t "_sp_all_data") + clears(out, 1) + !obj; \
  }
#define BATCH(t)                                                                                 \
  uint32_t db_create_##t##_obj_specific_conn(uint32_t kind, uint64_t conn, uint64_t* outObj) {   \
    return heardOf("db_create_" #t "_obj_specific_conn", kind) + gives(outObj, kObject) + !conn; \
  }                                                                                              \
  uint32_t db_reset_##t##_batch_object(uint64_t obj, uint32_t kind) {                            \
    return heardOf("db_reset_" #t "_batch_object", kind) + !obj;                                 \
  }
#define SET_SCALAR(t, name, type) \
  uint32_t db_set_##t##_##name(uint64_t obj, type value) { return (void)value, heard("db_set_" #t "_" #name) + !obj; }
#define GET_SCALAR(t, name, type) \
  uint32_t db_get_##t##_##name(uint64_t obj, type* out) { return *out = 0, heard("db_get_" #t "_" #name) + !obj; }
#define SET_BYTES(t, name, count)                                              \
  uint32_t db_set_##t##_##name(uint64_t obj, const void* data, uint32_t len) { \
    return heardOf("db_set_" #t "_" #name, len) + (!obj || data == NULL);      \
  }
#define GET_BYTES(t, name, count)                                               \
  uint32_t db_get_##t##_##name(uint64_t obj, const void** out, uint32_t* len) { \
    return heard("db_get_" #t "_" #name) + lends(out, len, count) + !obj;       \
  }
#include "platform/schema/tables.def"

uint32_t db_write_obj(uint64_t obj) { return heard("db_write_obj") + !obj; }
uint32_t db_update_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  return heardKey("db_update_obj", desc) + (!obj || !key);
}
uint32_t db_remove_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  return heardKey("db_remove_obj", desc) + (!obj || !key);
}
uint32_t db_read_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  return heardKey("db_read_obj", desc) + (!obj || !key);
}
uint32_t db_read_obj_with_buf(uint64_t obj, const FibDbKeyDesc* desc, const void* key, void* buf, uint32_t len) {
  return heardKey("db_read_obj_with_buf", desc) + clears(buf, len) + (!obj || !desc != !key);
}
uint32_t db_get_table_record_count(uint64_t obj, uint64_t* count) {
  return heard("db_get_table_record_count") + gives(count, 0) + !obj;
}
uint32_t db_get_table_record_count_by_key(uint64_t obj, const FibDbKeyDesc* desc, const void* key, uint64_t* count) {
  return heardKey("db_get_table_record_count_by_key", desc) + gives(count, 0) + (!obj || !key);
}

static int steps;
uint32_t db_create_root_iter(uint64_t obj, const FibDbKeyDesc* desc, const void* key, uint64_t* outIter) {
  steps = 0;
  return heardKey("db_create_root_iter", desc) + gives(outIter, kIterator) + (!obj || !desc != !key);
}
uint32_t db_create_stmt(uint64_t obj, uint32_t stmtKind, const char* tableName, uint64_t zero) {
  return heardOf("db_create_stmt", stmtKind) + (!obj || !tableName || zero);
}
uint32_t db_append_stmt_condition(uint64_t obj, const void* null1, uint64_t zero1, uint32_t condKind, const void* null2,
                                  uint64_t zero2, const FibDbKeyDesc* desc, const void* lowKey, const void* highKey) {
  return heardOf("db_append_stmt_condition", condKind) +
         (!obj || null1 || zero1 || null2 || zero2 || !desc || !lowKey || !highKey);
}
uint32_t db_create_root_iterator_by_filter(uint64_t obj, uint64_t* outIter) {
  steps = 0;
  return heard("db_create_root_iterator_by_filter") + gives(outIter, kIterator) + !obj;
}
uint32_t db_set_root_iterator_property(uint64_t iter, uint32_t propertyId, const void* value, uint32_t len) {
  return heardOf("db_set_root_iterator_property", propertyId) + (iter != kIterator || !value || len != 4);
}
uint32_t db_root_iterator_next(uint64_t iter) {
  const uint32_t code = steps++ == 0 ? 0 : (uint32_t)DB_ERR_ITER_END;
  return heard("db_root_iterator_next") + (iter != kIterator) + code;
}
uint32_t db_create_child_node(uint64_t obj, uint64_t zero1, const char* nodeName, uint64_t zero2, uint64_t zero3,
                              uint64_t* outChild) {
  return heard(nodeName) + gives(outChild, kChild) + (!obj || zero1 || zero2 || zero3);
}
uint32_t db_connect(uint64_t p2, uint64_t p1, uint64_t* outConn) {
  return (void)p1, (void)p2, heard("db_connect") + gives(outConn, kConnection);
}
uint32_t db_disconnect(uint64_t conn) { return heard("db_disconnect") + (conn != kConnection); }
uint32_t db_batch_add_oper(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  return heardKey("db_batch_add_oper", desc) + (!obj || !desc != !key);
}
uint32_t db_batch_exec_async(uint64_t obj, uint64_t argument) {
  return (void)argument, heard("db_batch_exec_async") + !obj;
}

uint32_t UFIB_DB_TableRegister(uint32_t id, const FibDbTableDesc* desc) {
  return heardOf("UFIB_DB_TableRegister", id) + !desc;
}
uint32_t UFIB_DB_Create(uint32_t id, const FibDbUfibData* entry) { return heardOf("UFIB_DB_Create", id) + !entry; }
uint32_t UFIB_DB_Read(uint32_t id, const FibDbUfibKey* key, FibDbUfibData* entry) {
  return heardOf("UFIB_DB_Read", id) + (!key || !entry);
}
uint32_t UFIB_DB_ReadUniqueHash(uint32_t id, const FibDbUfibKey* key, FibDbUfibData* entry) {
  return heardOf("UFIB_DB_ReadUniqueHash", id) + (!key || !entry);
}
uint32_t UFIB_DB_Update(uint32_t id, const FibDbUfibKey* key, const FibDbUfibData* ctx, FibDbUfibSetter setter) {
  return heardOf("UFIB_DB_Update", id) + !key + setter(ctx, kObject);
}
uint32_t UFIB_DB_Delete(uint32_t id, const FibDbUfibKey* key) { return heardOf("UFIB_DB_Delete", id) + !key; }
uint32_t UFIB_DB_CountByKey(uint32_t id, const FibDbUfibKey* key, uint32_t* count) {
  return *count = 0, heardOf("UFIB_DB_CountByKey", id) + !key;
}
void* UFIB_DB_CreateIterator(uint32_t id, uint32_t property) {
  return (void)property, heardOf("UFIB_DB_CreateIterator", id) == 0 ? &steps : NULL;
}
void* UFIB_DB_CreateIteratorByKey(uint32_t id, uint32_t property, const FibDbUfibKey* key) {
  return (void)property, heardOf("UFIB_DB_CreateIteratorByKey", id) == 0 && key != NULL ? &steps : NULL;
}
uint32_t UFIB_DB_GetNextEntry(uint32_t id, void* iter, FibDbUfibData* entry) {
  return heardOf("UFIB_DB_GetNextEntry", id) + (!iter || !entry);
}
uint32_t UFIB_DB_ReleaseIterator(uint32_t id, void* iter) { return heardOf("UFIB_DB_ReleaseIterator", id) + !iter; }
uint64_t UFIB_DB_GetSysTime(void) { return 0; }

int memcpy_s(void* dst, size_t dstMax, const void* src, size_t count) {
  if (count > dstMax) return 34;
  memcpy(dst, src, count);
  return 0;
}
int memset_s(void* dst, size_t dstMax, int value, size_t count) {
  if (count > dstMax) return 34;
  memset(dst, value, count);
  return 0;
}
int strncpy_s(char* dst, size_t dstMax, const char* src, size_t count) {
  size_t length = 0;
  while (length < count && src[length] != '\0') ++length;
  if (length >= dstMax) return 34;
  memcpy(dst, src, length);
  dst[length] = '\0';
  return 0;
}
int strcpy_s(char* dst, size_t dstMax, const char* src) { return strncpy_s(dst, dstMax, src, SIZE_MAX); }

static int failures;
static void report(const char* call, uint32_t status) {
  printf("%s: %" PRIu32 "\n\n", call, status);
  if (status != FIB_DB_OK) ++failures;
}

int main(void) {
  FibDbNhpItem nextHop = {.nhp_index = 7};
  FibDbNhpStdItem standard = {.nhp_index = 7};
  FibDbIp4forwardItem route = {.mask_len = 32};
  FibDbPriAttrItem attribute = {.keyWord1 = 1};
  uint32_t count = 0;
  uint64_t batch = 0, argument = 0;

  report("FIB_DB_WriteNhp", FIB_DB_WriteNhp(&nextHop));
  report("FIB_DB_ReadNhp", FIB_DB_ReadNhp(&nextHop));
  report("FIB_DB_UpdateNhpFlags", FIB_DB_UpdateNhpFlags(&nextHop));
  report("FIB_DB_RemoveNhp", FIB_DB_RemoveNhp(&nextHop));
  report("FIB_DB_ReadNhpStdByNhpIndex", FIB_DB_ReadNhpStdByNhpIndex(7, sizeof standard, &standard, &count));
  report("FIB_DB_CountNhpStdByNhpIndex", FIB_DB_CountNhpStdByNhpIndex(7, &count));
  report("FIB_DB_ReadIp4forward", FIB_DB_ReadIp4forward(&route));
  report("FIB_DB_ReadIp4forwardByLpm", FIB_DB_ReadIp4forwardByLpm(&route));

  FibDbIterator* iterator = FIB_DB_CreateDictionaryIterator(3);
  printf("FIB_DB_CreateDictionaryIterator\n\n");
  report("FIB_DB_GetNextIp4forward", FIB_DB_GetNextIp4forward(iterator, &route));
  FIB_DB_ReleaseIp4forwardIterator(iterator);
  printf("FIB_DB_ReleaseIp4forwardIterator\n\n");

  report("FIB_DB_CreateAsyncConnect", FIB_DB_CreateAsyncConnect(1, 2));
  report("FIB_DB_GetIp4forwardBatchAsyncObject", FIB_DB_GetIp4forwardBatchAsyncObject(&batch));
  report("FIB_DB_BatchAddOperWriteIp4forward", FIB_DB_BatchAddOperWriteIp4forward(&batch, &route, 0));
  report("FIB_DB_BatchAddOperWriteIp4forward, update", FIB_DB_BatchAddOperWriteIp4forward(&batch, &route, 1));
  report("FIB_DB_BatchAddOperRemoveIp4forward", FIB_DB_BatchAddOperRemoveIp4forward(&batch, &route));
  report("FIB_DB_BatchExecuteAsync", FIB_DB_BatchExecuteAsync(&batch, &argument));
  report("FIB_DB_GetIp4forwardBatchAsyncObject, again", FIB_DB_GetIp4forwardBatchAsyncObject(&batch));
  FIB_DB_DestroyAsyncConnect();
  printf("FIB_DB_DestroyAsyncConnect\n\n");

  report("FIB_DB_CreatePriAttr", FIB_DB_CreatePriAttr(&attribute));
  report("FIB_DB_UpdatePriAttrSmoothId", FIB_DB_UpdatePriAttrSmoothId(&attribute));
  printf("%d failures\n", failures);
  return failures;
}
