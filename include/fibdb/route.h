/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* fibdb/route.h: IPv4 routes: keyed and longest-prefix reads, counts, iteration, asynchronous batch writes; local
 * routes; VRFs.
 *
 * Routes are written through one asynchronous connection and one batch object per process, by one thread:
 * FIB_DB_CreateAsyncConnect once; per batch FIB_DB_GetIp4forwardBatchAsyncObject, then any number of
 * FIB_DB_BatchAddOper..., then FIB_DB_BatchExecuteAsync; FIB_DB_DestroyAsyncConnect at the end.
 *
 * To connect again: FIB_DB_DestroyAsyncConnect leaves the batch object cached in g_fibAsyncBatchObject, although it
 * belongs to the connection that is gone, and FIB_DB_GetIp4forwardBatchAsyncObject would go on trying to reset it. So
 * release it by the database's db_release_ip4forward_object and set g_fibAsyncBatchObject to 0, after
 * FIB_DB_DestroyAsyncConnect and before the next batch; operations that were added and not executed are gone.
 * docs/reconnect.c is such a loop. A child made by fork() that writes routes has the parent's connection and batch
 * object as stale handles: it sets g_fibDbAsyncConn and g_fibAsyncBatchObject to 0, releases nothing, and connects.
 */
#ifndef FIBDB_ROUTE_H
#define FIBDB_ROUTE_H

#include "fibdb/common.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Index ids of the table. */
enum {
  FIB_DB_IP4FORWARD_PRIMARY = 0x0001000D,   /* route key */
  FIB_DB_IP4FORWARD_BY_GROUP = 0x01090008,  /* next-hop group, second word */
  FIB_DB_IP4FORWARD_BY_VRF = 0x0209000C,    /* vr_id, vrf_index, third word */
  FIB_DB_IP4FORWARD_LONGEST = 0x0305000D,   /* route key, longest prefix match */
  FIB_DB_IP4FORWARD_DICTIONARY = 0x0402000D /* route key, in key order */
};

/* Bounds of FIB_DB_ReadIp4forwardByLpm and of the dictionary iterator. */
enum { FIB_DB_MAX_VR_ID = 16, FIB_DB_MAX_VRF_INDEX = 16384 };

/* Route key: the first 13 bytes are the packed key. */
typedef struct FibDbIp4forwardKey {
  uint32_t vr_id;
  uint32_t vrf_index;
  uint32_t dest_ip_addr; /* host byte order */
  uint8_t mask_len;      /* 0 to 32 */
} FibDbIp4forwardKey;

/* One route. attr_* are carried unchanged; attr_word_a is the route's next-hop group. */
typedef struct FibDbIp4forwardItem {
  uint32_t vr_id;
  uint32_t vrf_index;
  uint32_t dest_ip_addr; /* host byte order */
  uint8_t mask_len;      /* 0 to 32 */
  uint8_t attr_byte_a;
  uint16_t attr_half_a;
  uint32_t attr_word_a;
  uint32_t attr_word_b;
  uint32_t attr_word_c;
  uint16_t attr_half_b;
  uint8_t attr_byte_b;
  uint8_t attr_byte_c;
  uint16_t attr_half_c;
  uint32_t attr_word_d;
  uint32_t attr_word_e;
  uint8_t high_status; /* high-priority service status */
  uint8_t attr_byte_e;
  uint8_t attr_byte_f;
  uint8_t attr_byte_g;
  uint8_t attr_block_a[16];
  uint8_t attr_block_b[16];
  uint32_t source_pid;      /* process that wrote the route */
  uint32_t table_smooth_id; /* generation stamp */
  uint64_t attr_dword_a;
  uint16_t attr_half_d;
  uint8_t attr_byte_d;
  uint64_t attr_dword_b;
  uint64_t attr_dword_c;
  uint64_t time_stamp_svc;
} FibDbIp4forwardItem;

/* The same route as the database stores it: another order, 4-byte packing, one unused byte at 107. */
#pragma pack(push, 4)
typedef struct FibDbIp4forwardRecord {
  uint32_t vr_id;
  uint32_t vrf_index;
  uint32_t dest_ip_addr;
  uint8_t mask_len;
  uint8_t attr_byte_a;
  uint16_t attr_half_a;
  uint32_t attr_word_a;
  uint32_t attr_word_b;
  uint32_t attr_word_c;
  uint32_t attr_word_d;
  uint32_t attr_word_e;
  uint8_t high_status;
  uint8_t attr_byte_e;
  uint8_t attr_byte_f;
  uint8_t attr_byte_g;
  uint8_t attr_block_a[16];
  uint8_t attr_block_b[16];
  uint32_t source_pid;
  uint32_t table_smooth_id;
  uint64_t attr_dword_a;
  uint32_t attr_half_d; /* 16 bits in the item */
  uint64_t attr_dword_b;
  uint16_t attr_half_b;
  uint8_t attr_byte_b;
  uint8_t attr_byte_c;
  uint16_t attr_half_c;
  uint8_t attr_byte_d;
  uint64_t attr_dword_c;
  uint64_t time_stamp_svc;
} FibDbIp4forwardRecord;
#pragma pack(pop)

/* The asynchronous connection, the cached batch object (0: none), and how often the database asked for a retry. */
extern FIBDB_API uint64_t g_fibDbAsyncConn;
extern FIBDB_API uint64_t g_fibAsyncBatchObject;
extern FIBDB_API uint32_t g_ip4WriteDbSetDataRetry;
extern FIBDB_API uint32_t g_ip4RemoveDbAddOperRetry;

FIBDB_API void FIB_DB_SetIp4forwardKey(FibDbIp4forwardKey* key, uint32_t vrId, uint32_t vrfIndex, uint32_t destIpAddr,
                                       uint8_t maskLen);
/* Copies the 13 bytes of the packed key; nothing when either pointer is NULL. */
FIBDB_API void FIB_DB_GetIp4forwardKey(const FibDbIp4forwardKey* src, FibDbIp4forwardKey* dst);
/* Conversions; nothing when either pointer is NULL. The first also sets g_fibSourcePid. */
FIBDB_API void FIB_DB_SetIp4forwardItem(const FibDbIp4forwardItem* item, FibDbIp4forwardRecord* record);
FIBDB_API void FIB_DB_GetIp4forwardItem(const FibDbIp4forwardRecord* record, FibDbIp4forwardItem* item);
FIBDB_API void FIB_DB_SetIp4forwardKeyField(FibDbKeyDesc* desc, FibDbIp4forwardKey* key,
                                            const FibDbIp4forwardItem* item);

/* The route with exactly the item's key replaces the item. 60 when there is none; other read failures give 1. */
FIBDB_API uint32_t FIB_DB_ReadIp4forward(FibDbIp4forwardItem* item);

/* The longest prefix that covers the item's dest_ip_addr, no longer than its mask_len, replaces the item.
 * FIB_DB_NO_ROUTE (10003, not 60) when none does. FIB_DB_ERR when vr_id is above 16 or vrf_index above 16384. */
FIBDB_API uint32_t FIB_DB_ReadIp4forwardByLpm(FibDbIp4forwardItem* item);

FIBDB_API uint32_t FIB_DB_CountIp4forward(uint32_t* count);
/* Routes whose high_status equals status; walks the whole table. count must not be NULL. */
FIBDB_API uint32_t FIB_DB_CountIp4forwardByHighStatus(uint8_t status, uint32_t* count);

/* Iterators; NULL on failure. property: a vr_id, or FIB_DB_NO_PROPERTY. */
FIBDB_API FibDbIterator* FIB_DB_CreateIp4forwardIterator(uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateDictionaryIterator(uint32_t property); /* in route-key order */
FIBDB_API FibDbIterator* FIB_DB_CreateIp4forwardIteratorByVrf(uint32_t vrId, uint32_t vrfIndex, uint32_t word3,
                                                              uint32_t property);
/* property -1: none. */
FIBDB_API FibDbIterator* FIB_DB_CreateIp4forwardIteratorByNhpGrpId(uint32_t nhpGroupId, uint32_t word2,
                                                                   int32_t property);

/* 0 with the next route in item, 60 at the end (every time it is asked), 1 on failure. */
FIBDB_API uint32_t FIB_DB_GetNextIp4forward(FibDbIterator* handle, FibDbIp4forwardItem* item);

/* Fills items (bufLen: bytes of the array) and adds the number filled to *count, which the caller sets first.
 * 1: the array is full, call again for more (also: bufLen holds no item). 0: the iteration ended or failed
 * (also: items is NULL). handle must not be NULL. */
FIBDB_API uint32_t FIB_DB_GetNextIp4forwardByNhpGrpId(FibDbIterator* handle, uint32_t bufLen,
                                                      FibDbIp4forwardItem* items, uint32_t* count);
FIBDB_API void FIB_DB_ReleaseIp4forwardIterator(FibDbIterator* handle);
FIBDB_API void FIB_DB_ReleaseIp4forwardByNhpGrpId(FibDbIterator* handle);

/* The parameters reach db_connect in swapped order. With the embedded engine: param2 is the most operations in one
 * batch, param1 the most batches waiting; 0 takes the default. */
FIBDB_API uint32_t FIB_DB_CreateAsyncConnect(uint64_t param1, uint64_t param2);
/* Leaves g_fibAsyncBatchObject as it is: see the top of this file. */
FIBDB_API void FIB_DB_DestroyAsyncConnect(void);
FIBDB_API uint64_t FIB_DB_GetAsyncConn(void);

/* The cached batch object, reset, or a new one. FIB_DB_ERR without a connection. The database's code when the cached
 * one's connection is gone (with the embedded engine 20017). outObject must not be NULL. */
FIBDB_API uint32_t FIB_DB_GetIp4forwardBatchAsyncObject(uint64_t* outObject);

/* Adds an insert-or-replace (updateFlag 0) or an update of table_smooth_id and time_stamp_svc (any other value).
 * DB_ERR_RETRY (10740) when the batch is full. */
FIBDB_API uint32_t FIB_DB_BatchAddOperWriteIp4forward(uint64_t* object, const FibDbIp4forwardItem* item,
                                                      uint32_t updateFlag);
/* The same two on a batch object handle that is not checked. */
FIBDB_API uint32_t FIB_DB_WriteIp4forward(uint64_t object, const FibDbIp4forwardItem* item);
FIBDB_API uint32_t FIB_DB_UpdateIp4forward(uint64_t object, const FibDbIp4forwardItem* item);
/* A refused removal is logged through the info hook. */
FIBDB_API uint32_t FIB_DB_BatchAddOperRemoveIp4forward(uint64_t* object, const FibDbIp4forwardItem* item);

/* Hands the batch over; argument points at 0 or at the address of a completion record (engine.h) as a 64-bit value.
 * FIB_DB_BATCH_NOT_EXECUTED (10001): not now, the batch is kept, try again. Other failures give 1. */
FIBDB_API uint32_t FIB_DB_BatchExecuteAsync(uint64_t* object, uint64_t* argument);

/* Index id of the local routes. */
enum { FIB_DB_METH_LOCAL_ROUTE_PRIMARY = 0x0001000D /* vr_id, vrf_index, dest_ip_addr, mask_len */ };

/* A prefix that is local to the device: a key and nothing else. */
typedef struct FibDbMeLocalRouteItem {
  uint32_t vr_id;
  uint32_t vrf_index;
  uint32_t dest_ip_addr; /* host byte order */
  uint8_t mask_len;      /* 0 to 32 */
  uint8_t rsv[3];        /* neither read nor written */
} FibDbMeLocalRouteItem;

/* key: room for 13 bytes. */
FIBDB_API void FIB_DB_SetMeLocalRouteKeyField(FibDbKeyDesc* desc, void* key, const FibDbMeLocalRouteItem* item);
/* Stages all fields of item on obj: 0, or 1 if any field failed. */
FIBDB_API uint32_t FIB_DB_SetMeLocalRouteItem(uint64_t obj, const FibDbMeLocalRouteItem* item);
/* Fills item from the record that obj stands on; a field that fails is logged and left as it was. */
FIBDB_API void FIB_DB_GetMeLocalRouteItem(uint64_t obj, FibDbMeLocalRouteItem* item);
/* Inserts or replaces. Failures are counted under the global configuration. */
FIBDB_API uint32_t FIB_DB_WriteMeLocalRoute(const FibDbMeLocalRouteItem* item);
/* A missing route is the database's 15005. */
FIBDB_API uint32_t FIB_DB_RemoveMeLocalRoute(const FibDbMeLocalRouteItem* item);
FIBDB_API uint32_t FIB_DB_CountMeLocalRoute(uint32_t* count);
/* Fills items, an array of bufLen bytes, with as many routes as it has room for. How many these are, or that there were
 * more, is not told: count first, and clear the array. */
FIBDB_API uint32_t FIB_DB_ScanMeLocalRoute(uint32_t bufLen, FibDbMeLocalRouteItem* items);

/* Index ids of the VRFs. */
enum {
  FIB_DB_VRF_PRIMARY = 0x00010008, /* vr_id, vrf_id */
  FIB_DB_VRF_BY_NAME = 0x01090024, /* vr_id, vrf_name */
  FIB_DB_VRF_BY_VR_ID = 0x02090004 /* vr_id */
};

enum { FIB_DB_VRF_NAME_SIZE = 32 }; /* the closing zero included */

/* A VRF of a virtual router. The time of its writing is stored beside it. */
typedef struct FibDbVrfItem {
  uint32_t vr_id;
  uint32_t vrf_id;
  char vrf_name[FIB_DB_VRF_NAME_SIZE];
  uint32_t app_source_id;
  uint32_t table_smooth_id;
  uint64_t app_obj_id;
  uint32_t app_version;
} FibDbVrfItem;

/* Inserts or replaces. */
FIBDB_API uint32_t VRF_DB_Write(const FibDbVrfItem* item);
/* Fills item by its vr_id and vrf_id; 60 when there is none. Other failures: the database's code. */
FIBDB_API uint32_t VRF_DB_Read(FibDbVrfItem* item);
FIBDB_API uint32_t VRF_DB_Remove(const FibDbVrfItem* item);

/* name: size bytes; the empty string and 1 when there is no such VRF, or name is too small for it. */
FIBDB_API uint32_t VRF_INTF_GetNameById(uint32_t vrId, uint32_t vrfId, char* name, uint32_t size);
/* *vrfId stays as it was when no VRF has this name, and the result is 0 all the same: set it to a value that tells. Of
 * several VRFs the last one found. 1 for a name of 32 characters or more. */
FIBDB_API uint32_t VRF_INTF_GetIdByName(uint32_t vrId, const char* name, uint32_t* vrfId);

/* NULL on failure. property: a vr_id, or FIB_DB_NO_PROPERTY. */
FIBDB_API FibDbIterator* FIB_DB_CreateVrfIterator(uint32_t property);
/* Fills vr_id, vrf_id and vrf_name of item, nothing else: 0, 60 at the end, 1 on failure. */
FIBDB_API uint32_t FIB_DB_GetNextVrf(FibDbIterator* handle, FibDbVrfItem* item);
FIBDB_API void FIB_DB_ReleaseVrfIterator(FibDbIterator* handle);

FIBDB_API uint32_t FIB_DB_CountVrf(uint32_t* count);
/* Stores the ids of a router's VRFs in ids, capacity at most, and adds how many these are to *count. */
FIBDB_API uint32_t FIB_DB_GetVrfByVrId(uint32_t vrId, uint32_t* ids, uint32_t capacity, uint32_t* count);

#ifdef __cplusplus
}
#endif

#endif
