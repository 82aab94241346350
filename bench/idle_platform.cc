// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/idle_platform.cc: a platform whose calls do nothing and succeed: what is left is the library's own cost.
#include "platform/bounds.h"
#include "platform/objdb.h"
#include "platform/objdb_tables.h"
#include "platform/ufib.h"

#include <cstring>

namespace {

constexpr uint64_t kSomeHandle = 1;
constexpr uint8_t kSomeBytes[64] = {};

uint32_t hand(uint64_t* out) {
  *out = kSomeHandle;
  return 0;
}

}  // namespace

#define TABLE(t)                                                                              \
  uint32_t db_create_##t##_obj(uint32_t, uint32_t, uint64_t* outObj) { return hand(outObj); } \
  uint32_t db_release_##t##_object(uint64_t) { return 0; }
#define RESET(t) \
  uint32_t db_reset_##t##_object(uint64_t, uint32_t) { return 0; }
#define SET_ALL(t) \
  uint32_t db_set_##t##_all_fields(uint64_t, const void*, uint32_t) { return 0; }
#define GET_ALL(t) \
  uint32_t db_get_##t##_all_fields(uint64_t, void*, uint32_t) { return 0; }
#define GET_SP_ALL(t, name) \
  uint32_t db_get_##t##_sp_all_data(uint64_t, void*) { return 0; }
#define BATCH(t)                                                                                            \
  uint32_t db_create_##t##_obj_specific_conn(uint32_t, uint64_t, uint64_t* outObj) { return hand(outObj); } \
  uint32_t db_reset_##t##_batch_object(uint64_t, uint32_t) { return 0; }
#define SET_SCALAR(t, name, type) \
  uint32_t db_set_##t##_##name(uint64_t, type) { return 0; }
#define GET_SCALAR(t, name, type)                     \
  uint32_t db_get_##t##_##name(uint64_t, type* out) { \
    *out = 0;                                         \
    return 0;                                         \
  }
#define SET_BYTES(t, name, count) \
  uint32_t db_set_##t##_##name(uint64_t, const void*, uint32_t) { return 0; }
#define GET_BYTES(t, name, count)                                       \
  uint32_t db_get_##t##_##name(uint64_t, const void** out, uint32_t*) { \
    *out = kSomeBytes;                                                  \
    return 0;                                                           \
  }
#include "platform/schema/tables.def"

uint32_t db_write_obj(uint64_t) { return 0; }
uint32_t db_update_obj(uint64_t, const FibDbKeyDesc*, const void*) { return 0; }
uint32_t db_remove_obj(uint64_t, const FibDbKeyDesc*, const void*) { return 0; }
uint32_t db_read_obj(uint64_t, const FibDbKeyDesc*, const void*) { return 0; }
uint32_t db_read_obj_with_buf(uint64_t, const FibDbKeyDesc*, const void*, void*, uint32_t) { return 0; }
uint32_t db_get_table_record_count(uint64_t, uint64_t*) { return 0; }
uint32_t db_get_table_record_count_by_key(uint64_t, const FibDbKeyDesc*, const void*, uint64_t*) { return 0; }
uint32_t db_create_root_iter(uint64_t, const FibDbKeyDesc*, const void*, uint64_t* outIter) { return hand(outIter); }
uint32_t db_create_stmt(uint64_t, uint32_t, const char*, uint64_t) { return 0; }
uint32_t db_append_stmt_condition(uint64_t, const void*, uint64_t, uint32_t, const void*, uint64_t, const FibDbKeyDesc*,
                                  const void*, const void*) {
  return 0;
}
uint32_t db_create_root_iterator_by_filter(uint64_t, uint64_t* outIter) { return hand(outIter); }
uint32_t db_set_root_iterator_property(uint64_t, uint32_t, const void*, uint32_t) { return 0; }
uint32_t db_root_iterator_next(uint64_t) { return 0; }
uint32_t db_create_child_node(uint64_t, uint64_t, const char*, uint64_t, uint64_t, uint64_t* out) { return hand(out); }
uint32_t db_connect(uint64_t, uint64_t, uint64_t* outConn) { return hand(outConn); }
uint32_t db_disconnect(uint64_t) { return 0; }
uint32_t db_batch_add_oper(uint64_t, const FibDbKeyDesc*, const void*) { return 0; }
uint32_t db_batch_exec_async(uint64_t, uint64_t) { return 0; }

uint32_t UFIB_DB_TableRegister(uint32_t, const FibDbTableDesc*) { return 0; }
uint32_t UFIB_DB_Create(uint32_t, const FibDbUfibData*) { return 0; }
uint32_t UFIB_DB_Read(uint32_t, const FibDbUfibKey*, FibDbUfibData*) { return 0; }
uint32_t UFIB_DB_ReadUniqueHash(uint32_t, const FibDbUfibKey*, FibDbUfibData*) { return 0; }
uint32_t UFIB_DB_Update(uint32_t, const FibDbUfibKey*, const FibDbUfibData*, FibDbUfibSetter) { return 0; }
uint32_t UFIB_DB_Delete(uint32_t, const FibDbUfibKey*) { return 0; }
uint32_t UFIB_DB_CountByKey(uint32_t, const FibDbUfibKey*, uint32_t*) { return 0; }
void* UFIB_DB_CreateIterator(uint32_t, uint32_t) { return nullptr; }
void* UFIB_DB_CreateIteratorByKey(uint32_t, uint32_t, const FibDbUfibKey*) { return nullptr; }
uint32_t UFIB_DB_GetNextEntry(uint32_t, void*, FibDbUfibData*) { return 0; }
uint32_t UFIB_DB_ReleaseIterator(uint32_t, void*) { return 0; }
uint64_t UFIB_DB_GetSysTime(void) { return 0; }

int memcpy_s(void* dst, size_t, const void* src, size_t count) {
  std::memcpy(dst, src, count);
  return 0;
}
int memset_s(void* dst, size_t, int value, size_t count) {
  std::memset(dst, value, count);
  return 0;
}
int strcpy_s(char* dst, size_t, const char* src) {
  std::strcpy(dst, src);
  return 0;
}
int strncpy_s(char* dst, size_t, const char* src, size_t count) {
  std::strncpy(dst, src, count);
  return 0;
}
