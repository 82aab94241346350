/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* platform/objdb_tables.h: the object database client, per-table part, expanded from the schema:
 * db_create_<t>_obj, db_release_<t>_object, and per row of the schema db_set_<t>_<field>, db_get_<t>_<field>,
 * db_reset_<t>_object, db_set_<t>_all_fields, db_get_<t>_all_fields, db_create_<t>_obj_specific_conn,
 * db_reset_<t>_batch_object. Byte fields are set from (data, len) and got as (pointer into the object, len), valid
 * until the object is used again; a getter's len may be NULL. The accessors of a child node's fields take the node's
 * handle. db_get_<t>_sp_all_data copies the row as far as the schema says. */
#ifndef FIBDB_PLATFORM_OBJDB_TABLES_H
#define FIBDB_PLATFORM_OBJDB_TABLES_H

#include "fibdb/common.h"

#ifdef __cplusplus
extern "C" {
#endif

#define TABLE(t)                                                                          \
  FIBDB_API uint32_t db_create_##t##_obj(uint32_t kind, uint32_t zero, uint64_t* outObj); \
  FIBDB_API uint32_t db_release_##t##_object(uint64_t obj);
#define RESET(t) FIBDB_API uint32_t db_reset_##t##_object(uint64_t obj, uint32_t kind);
#define SET_ALL(t) FIBDB_API uint32_t db_set_##t##_all_fields(uint64_t obj, const void* row, uint32_t len);
#define GET_ALL(t) FIBDB_API uint32_t db_get_##t##_all_fields(uint64_t obj, void* row, uint32_t len);
#define GET_SP_ALL(t, name) FIBDB_API uint32_t db_get_##t##_sp_all_data(uint64_t obj, void* out);
#define BATCH(t)                                                                                        \
  FIBDB_API uint32_t db_create_##t##_obj_specific_conn(uint32_t kind, uint64_t conn, uint64_t* outObj); \
  FIBDB_API uint32_t db_reset_##t##_batch_object(uint64_t obj, uint32_t kind);
#define SET_SCALAR(t, name, type) FIBDB_API uint32_t db_set_##t##_##name(uint64_t obj, type value);
#define GET_SCALAR(t, name, type) FIBDB_API uint32_t db_get_##t##_##name(uint64_t obj, type* out);
#define SET_BYTES(t, name, count) FIBDB_API uint32_t db_set_##t##_##name(uint64_t obj, const void* data, uint32_t len);
#define GET_BYTES(t, name, count) FIBDB_API uint32_t db_get_##t##_##name(uint64_t obj, const void** out, uint32_t* len);
#include "platform/schema/tables.def"

#ifdef __cplusplus
}
#endif

#endif
