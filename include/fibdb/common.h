/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* fibdb/common.h: what every table shares: status values, operation kinds, keys, iterators, hooks.
 *
 * Conventions of all fibdb headers
 *  1. Plain C records and functions; the headers compile as C11 and as C++.
 *  2. An operation returns a uint32_t status: FIB_DB_OK (0), FIB_DB_ERR (1), FIB_DB_NOT_FOUND (60), or the
 *     object database's own code, unchanged. A prototype is commented where it deviates.
 *  3. The caller owns every item, key and buffer it passes; the library keeps no pointer after it returns.
 *     Iterator handles are the exception: they belong to the caller from Create... to the matching Release....
 *  4. A NULL item or handle gives FIB_DB_ERR unless the prototype says otherwise; Release functions ignore NULL.
 *     Key and item helpers (Set...Key, Set...KeyField, Get...Item) check nothing.
 *  5. IPv4 addresses, like all numbers, are in host byte order. Keys are packed without gaps.
 *  6. Functions run on the caller's thread and take no lock. Different threads may call at the same time; one
 *     iterator handle belongs to one thread at a time. The batch path of route.h has one writer.
 *     A child made by fork() has none of the parent's iterator handles, objects and connections: with the embedded
 *     engine they are stale there (engine.h), and the library's own state is a copy.
 *  7. Failures are logged through the error hook of runtime.h, unless a prototype says otherwise.
 */
#ifndef FIBDB_COMMON_H
#define FIBDB_COMMON_H

#include <stdint.h>

#if defined(__GNUC__)
#define FIBDB_API __attribute__((visibility("default")))
#define FIBDB_PRINTF __attribute__((format(printf, 1, 2)))
#else
#define FIBDB_API
#define FIBDB_PRINTF
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The release that these headers belong to. */
#define FIBDB_VERSION_MAJOR 0
#define FIBDB_VERSION_MINOR 1
#define FIBDB_VERSION_PATCH 0
#define FIBDB_VERSION "0.1.0"

/* Status values. */
enum {
  FIB_DB_OK = 0,
  FIB_DB_ERR = 1,                    /* NULL or out-of-range argument, failed allocation, or a failure the call maps */
  FIB_DB_NOT_FOUND = 60,             /* no record has this key, or the iteration has ended */
  FIB_DB_BATCH_NOT_EXECUTED = 10001, /* FIB_DB_BatchExecuteAsync: not now, try again */
  FIB_DB_NO_ROUTE = 10003            /* reads by longest match: no prefix covers the address */
};

/* Object database codes with a meaning of their own; any other non-zero code is a failure. */
enum {
  DB_ERR_FIELD_ABSENT = 10058,     /* the record never had this child node */
  DB_ERR_RETRY = 10740,            /* not taken now, may be retried: the batch is full */
  DB_RET_PUB_STATUS = 13044,       /* success, and the change waits for publication */
  DB_ERR_NO_DATA = 15005,          /* no record has this key */
  DB_ERR_BATCH_QUEUE_FULL = 60003, /* the batch was not taken: too many are waiting */
  DB_ERR_BATCH_BUSY = 60023,       /* the batch was not taken: the connection is busy */
  DB_ERR_ITER_END = 110012         /* the iteration has ended */
};

/* Operation kinds: the first argument of every db_create_<table>_obj. */
enum {
  FIB_DB_OBJ_OP_WRITE = 0,
  FIB_DB_OBJ_OP_UPDATE = 1,
  FIB_DB_OBJ_OP_READ = 3,
  FIB_DB_OBJ_OP_REMOVE = 4,
  FIB_DB_OBJ_OP_SCAN = 5,
  FIB_DB_OBJ_OP_BATCH = 6,
  FIB_DB_OBJ_OP_COUNT = 9
};

/* Rows of the error matrix g_fibDbErrStat (runtime.h). */
typedef enum FibDbTableId {
  FIB_DB_TABLE_IP4FORWARD = 0,
  FIB_DB_TABLE_NHP_GROUP = 1,
  FIB_DB_TABLE_NHP_GROUP_NODE = 2,
  FIB_DB_TABLE_NHP = 3,
  FIB_DB_TABLE_NHP_STD = 4,
  FIB_DB_TABLE_NHP_VPN = 5,
  FIB_DB_TABLE_NHP_VXLAN = 6,
  FIB_DB_TABLE_NHP_EXT = 7,
  FIB_DB_TABLE_RESERVED = 8, /* counted like the others; nothing records under it */
  FIB_DB_TABLE_NHP_LLA = 9,
  FIB_DB_TABLE_RE4_DEFAULT = 10,
  FIB_DB_TABLE_METH_LOCAL_ROUTE = 11,
  FIB_DB_TABLE_VRF = 12,
  FIB_DB_TABLE_GLOBAL_CFG = 13,
  FIB_DB_TABLE_ECMP_CFG = 14,
  FIB_DB_TABLE_VRF_CLASS_DATA = 15,
  FIB_DB_TABLE_NHP_VPNSID = 16,
  FIB_DB_TABLE_PP4EXT_SRV6_TE = 17,
  FIB_DB_TABLE_NHP_GROUP_FTN = 18,
  FIB_DB_TABLE_COUNT = 19
} FibDbTableId;

/* Columns of the error matrix. FIB_DB_OPER_ERR has a name but no column. */
typedef enum FibDbOperType {
  FIB_DB_OPER_READ = 0,
  FIB_DB_OPER_PUB = 1,
  FIB_DB_OPER_WRITE = 2,
  FIB_DB_OPER_UPDATE = 3,
  FIB_DB_OPER_REMOVE = 4,
  FIB_DB_OPER_EXEC = 5,
  FIB_DB_OPER_ITERATOR = 6,
  FIB_DB_OPER_ERR = 7,
  FIB_DB_OPER_COUNT = 7 /* how many are counted */
} FibDbOperType;

/* An iterator's property value that sets no property. Any other value keeps only records of that vr_id. */
#define FIB_DB_NO_PROPERTY 0xFFFFFFFFu

/* Names an index and, by that, the packed key that travels beside it.
 * indexId: index number (bits 31..24, 0 is the primary key), kind (bits 23..16: 1 primary, 2 ordered,
 * 5 longest prefix match, 9 secondary), key length in bytes (bits 15..0). Only indexId is read. */
typedef struct FibDbKeyDesc {
  uint32_t indexId;
  uint32_t rsv1;
  uint64_t rsv2;
} FibDbKeyDesc;

/* What Create...Iterator returns; opaque to callers. */
typedef struct FibDbIterator {
  uint64_t obj;      /* the table object that the iterator reads through */
  uint64_t rootIter; /* the database's iterator on it */
  uint64_t rsv;      /* neither written nor read */
} FibDbIterator;

/* Stages the fields that a partial update changes: obj is the table object, item the caller's item record of the
 * table. A setter that is exported for one table takes that table's item type; cast it to pass it on. */
typedef uint32_t (*FibDbFieldSetter)(uint64_t obj, const void* item);

/* Key request of the table service: which index, and the packed key. */
typedef struct FibDbUfibKey {
  const FibDbKeyDesc* desc;
  uint32_t descLen; /* always sizeof(FibDbKeyDesc) */
  const void* key;
  uint32_t keyLen; /* bytes */
} FibDbUfibKey;

/* Entry buffer of the table service: a flat row and its length. The update context has the same shape; there it
 * points at the caller's item. */
typedef struct FibDbUfibData {
  void* data;
  uint32_t len; /* bytes */
} FibDbUfibData;

/* How the table service reaches a registered table. */
typedef struct FibDbTableDesc {
  const char* name;
  uint32_t (*create)(uint32_t kind, uint32_t zero, uint64_t* outObj);
  uint32_t (*release)(uint64_t obj);
  uint32_t (*reset)(uint64_t obj, uint32_t kind);
  uint32_t (*setAllFields)(uint64_t obj, const void* row, uint32_t len);
  uint64_t zero1;
  uint64_t zero2;
} FibDbTableDesc;

#ifdef __cplusplus
}
#endif

#endif
