/* fibdb/nexthop.h: next hops, keyed by a 32-bit next-hop index. */
#ifndef FIBDB_NEXTHOP_H
#define FIBDB_NEXTHOP_H

#include "fibdb/common.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Index ids of the next-hop table. */
enum {
  FIB_DB_NHP_PRIMARY = 0x00010004, /* nhp_index */
  FIB_DB_NHP_BY_VRF = 0x0109000C   /* three words; the embedded engine takes vr_id, vrf_index, app_source_id */
};

/* One next hop. Flags, stamps and counts are the caller's: they are stored as given, never added to. */
typedef struct FibDbNhpItem {
  uint32_t nhp_index;
  uint32_t vr_id;
  uint32_t vrf_index;
  uint32_t origin_nhp;
  uint16_t nhp_num;
  uint8_t nhp_flag;
  uint32_t ref_cnt;
  uint32_t flags;
  uint32_t iid_flags;
  uint32_t app_source_id;
  uint32_t table_smooth_id;
  uint64_t app_obj_id;
  uint32_t app_version;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
} FibDbNhpItem;

FIBDB_API void FIB_DB_SetNhpKey(uint32_t* key, uint32_t nhpIndex);
FIBDB_API void FIB_DB_SetNhpKeyField(FibDbKeyDesc* desc, uint32_t* key, const FibDbNhpItem* item);

/* Stages all fields of item on obj: 0, or 1 if any field failed. */
FIBDB_API uint32_t FIB_DB_SetNhpItem(uint64_t obj, const FibDbNhpItem* item);
/* Fills item from the record that obj stands on; a field that fails is logged and left as it was. */
FIBDB_API void FIB_DB_GetNhpItem(uint64_t obj, FibDbNhpItem* item);

/* Inserts or replaces. A failed creation of the object is not logged. */
FIBDB_API uint32_t FIB_DB_WriteNhp(const FibDbNhpItem* item);
/* Fills item by its nhp_index; 60 when there is none. Other failures: the database's code. */
FIBDB_API uint32_t FIB_DB_ReadNhp(FibDbNhpItem* item);
FIBDB_API uint32_t FIB_DB_RemoveNhp(const FibDbNhpItem* item);

/* Changes what setter stages in the record with item's nhp_index. A missing record is 15005 here, not 60. The
 * setter's own result is not looked at. */
FIBDB_API uint32_t FIB_DB_UpdateNhpFields(const FibDbNhpItem* item, FibDbFieldSetter setter);

/* Setters for partial updates. The first two return the database's code, the others 0 or 1. */
FIBDB_API uint32_t FIB_DB_SetNhpRefCount(uint64_t obj, const FibDbNhpItem* item);
FIBDB_API uint32_t FIB_DB_SetNhpFlags(uint64_t obj, const FibDbNhpItem* item);
FIBDB_API uint32_t FIB_DB_SetNhpNumAndSmoothID(uint64_t obj, const FibDbNhpItem* item);
FIBDB_API uint32_t FIB_DB_SetNhpSmoothID(uint64_t obj, const FibDbNhpItem* item);

/* FIB_DB_UpdateNhpFields with the setter of that name. */
FIBDB_API uint32_t FIB_DB_UpdateNhpRefCount(const FibDbNhpItem* item);
FIBDB_API uint32_t FIB_DB_UpdateNhpFlags(const FibDbNhpItem* item);
FIBDB_API uint32_t FIB_DB_UpdateNhpNumAndSmoothID(const FibDbNhpItem* item);
FIBDB_API uint32_t FIB_DB_UpdateNhpSmoothID(const FibDbNhpItem* item);

/* Iterators; NULL on failure. property: a vr_id, or FIB_DB_NO_PROPERTY. */
FIBDB_API FibDbIterator* FIB_DB_CreateNhpIterator(uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpIteratorByVrf(uint32_t key0, uint32_t key1, uint32_t key2, uint32_t property);
/* 0 with the next hop in item, 60 at the end, 1 on failure (a NULL argument is logged). */
FIBDB_API uint32_t FIB_DB_GetNextNhpEntry(FibDbIterator* handle, FibDbNhpItem* item);
FIBDB_API void FIB_DB_ReleaseNhpIterator(FibDbIterator* handle);

#ifdef __cplusplus
}
#endif

#endif
