/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* platform/objdb.h: the object database client, generic part. A device supplies it; so does libfibdb-engine.
 *
 * All calls return 0 or a code. Handles are opaque and non-zero. An object serves one operation at a time and belongs
 * to one thread at a time; releasing it ends everything made from it.
 */
#ifndef FIBDB_PLATFORM_OBJDB_H
#define FIBDB_PLATFORM_OBJDB_H

#include "fibdb/common.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Inserts or replaces the record of the staged primary key. */
FIBDB_API uint32_t db_write_obj(uint64_t obj);
/* Changes the staged fields of the record with that key. */
FIBDB_API uint32_t db_update_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key);
FIBDB_API uint32_t db_remove_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key);
/* Reads the record into the object. */
FIBDB_API uint32_t db_read_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key);
/* The same, and copies the flat row into buf (len bytes). NULL desc and key: the record the iterator stands on. */
FIBDB_API uint32_t db_read_obj_with_buf(uint64_t obj, const FibDbKeyDesc* desc, const void* key, void* buf,
                                        uint32_t len);

FIBDB_API uint32_t db_get_table_record_count(uint64_t obj, uint64_t* count);
FIBDB_API uint32_t db_get_table_record_count_by_key(uint64_t obj, const FibDbKeyDesc* desc, const void* key,
                                                    uint64_t* count);

/* NULL desc and key: the whole table. */
FIBDB_API uint32_t db_create_root_iter(uint64_t obj, const FibDbKeyDesc* desc, const void* key, uint64_t* outIter);
/* A filter statement: kind 2; conditions: kind 6, a range between two keys of an ordered index, both included. */
FIBDB_API uint32_t db_create_stmt(uint64_t obj, uint32_t stmtKind, const char* tableName, uint64_t zero);
FIBDB_API uint32_t db_append_stmt_condition(uint64_t obj, const void* null1, uint64_t zero1, uint32_t condKind,
                                            const void* null2, uint64_t zero2, const FibDbKeyDesc* desc,
                                            const void* lowKey, const void* highKey);
FIBDB_API uint32_t db_create_root_iterator_by_filter(uint64_t obj, uint64_t* outIter);
FIBDB_API uint32_t db_set_root_iterator_property(uint64_t iter, uint32_t propertyId, const void* value, uint32_t len);
/* 0: the object stands on the next record. 110012: the end. */
FIBDB_API uint32_t db_root_iterator_next(uint64_t iter);

FIBDB_API uint32_t db_create_child_node(uint64_t obj, uint64_t zero1, const char* nodeName, uint64_t zero2,
                                        uint64_t zero3, uint64_t* outChild);

/* An asynchronous connection and its batches. */
FIBDB_API uint32_t db_connect(uint64_t p2, uint64_t p1, uint64_t* outConn);
FIBDB_API uint32_t db_disconnect(uint64_t conn);
FIBDB_API uint32_t db_batch_add_oper(uint64_t obj, const FibDbKeyDesc* desc, const void* key);
FIBDB_API uint32_t db_batch_exec_async(uint64_t obj, uint64_t argument);

#ifdef __cplusplus
}
#endif

#endif
