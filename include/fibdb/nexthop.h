/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* fibdb/nexthop.h: next hops, keyed by a 32-bit next-hop index; standard (IPv4) next hops; next hops with a 16-byte
 * address; next hops into a VPN; next hops into a VXLAN tunnel; next-hop extensions and their labels; next-hop groups,
 * their members, and prefixes bound to them; VPN SID next hops; SRv6 traffic-engineering extensions.
 *
 * Functions over several records of a table that is found under many keys
 *  - Count...: stores how many records stand under a key; a failure is the database's code and stores nothing.
 *  - Read...By...: fills buf, an array of whole items of bufLen bytes, with the records under a key, as many as it has
 *    room for, and stores how many these are in *count (count may be NULL). That there were more is not told. An
 *    iteration that fails on its way is the database's code; the items before it are filled and counted.
 *  - The forms ...ByKey take a descriptor of any index of the table and its packed key.
 *  - Create...Iterator...: NULL on failure. property: a vr_id, or FIB_DB_NO_PROPERTY.
 *  - GetNext...: 0 with the next record in item, 60 at the end, 1 on failure.
 */
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

/* Index ids of the standard next-hop table. */
enum {
  FIB_DB_NHP_STD_PRIMARY = 0x0001000C,          /* nhp_index, next_hop, out_if_index */
  FIB_DB_NHP_STD_BY_NHP_INDEX = 0x01090004,     /* nhp_index */
  FIB_DB_NHP_STD_BY_LOCAL_HASH = 0x02090008,    /* next_hop, out_if_index */
  FIB_DB_NHP_STD_BY_IF_INDEX = 0x03090004,      /* out_if_index */
  FIB_DB_NHP_STD_BY_IF_TYPE = 0x04090004,       /* if_type */
  FIB_DB_NHP_STD_BY_WORK_IF_INDEX = 0x05090004, /* work_if_index */
  FIB_DB_NHP_STD_BY_GLOBAL_SLOT = 0x06090004    /* global_slotid */
};

/* One standard next hop. Stamps, states and contexts are the caller's: they are stored as given. */
typedef struct FibDbNhpStdItem {
  uint32_t nhp_index;
  uint32_t next_hop; /* IPv4 address, host byte order */
  uint32_t out_if_index;
  uint32_t vr_id;
  uint32_t vrf_index;
  uint32_t flags;
  uint16_t fwd_if_type;
  uint8_t forwardVsId;
  uint32_t if_type;
  uint32_t iid_flags;
  uint32_t work_if_index;
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio;
  uint8_t errcode_normal_prio;
  uint8_t svc_ctx_high_prio[16];
  uint8_t svc_ctx_normal_prio[16];
  uint32_t app_source_id;
  uint32_t group_smooth_id;
  uint64_t app_obj_id;
  uint32_t app_version;
  uint32_t attr_flag;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
  uint32_t global_slotid;
} FibDbNhpStdItem;

/* key: room for the 12 bytes of the primary key. */
FIBDB_API void FIB_DB_SetNhpStdKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpStdItem* item);
/* Stages all fields of item on obj: 0, or 1 if any field failed. */
FIBDB_API uint32_t FIB_DB_SetNhpStdItem(uint64_t obj, const FibDbNhpStdItem* item);
/* Fills item, unless it is NULL, from the record that obj stands on. A field that fails is logged and left as it was,
 * and so is a service context behind it; a context that cannot be copied ends the filling. */
FIBDB_API void FIB_DB_GetNhpStdItem(uint64_t obj, FibDbNhpStdItem* item);

/* Inserts or replaces. */
FIBDB_API uint32_t FIB_DB_WriteNhpStd(const FibDbNhpStdItem* item);
/* Fills item by its primary key; 60 when there is none. Other failures: the database's code. */
FIBDB_API uint32_t FIB_DB_ReadNhpStd(FibDbNhpStdItem* item);
FIBDB_API uint32_t FIB_DB_RemoveNhpStd(const FibDbNhpStdItem* item);
/* Every record of this next hop. */
FIBDB_API uint32_t FIB_DB_RemoveNhpStdByNhpIndex(uint32_t nhpIndex);

FIBDB_API uint32_t FIB_DB_ReadNhpStdByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen,
                                          FibDbNhpStdItem* buf, uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpStdByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count);
FIBDB_API uint32_t FIB_DB_ReadNhpStdByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpStdItem* buf,
                                               uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpStdByNhpIndex(uint32_t nhpIndex, uint32_t* count);
/* These three do not tell how many items they filled. */
FIBDB_API uint32_t FIB_DB_ReadNhpStdByLocalhash(uint32_t ip, uint32_t ifIndex, uint32_t bufLen, FibDbNhpStdItem* buf);
FIBDB_API uint32_t FIB_DB_ReadNhpStdByIfIndex(uint32_t ifIndex, uint32_t bufLen, FibDbNhpStdItem* buf);
FIBDB_API uint32_t FIB_DB_ReadNhpStdByIfType(uint32_t ifType, uint32_t bufLen, FibDbNhpStdItem* buf);
FIBDB_API uint32_t FIB_DB_CountNhpStdByLocalhash(uint32_t ip, uint32_t ifIndex, uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpStdByIfIndex(uint32_t ifIndex, uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpStdByIfType(uint32_t ifType, uint32_t* count);

/* Changes what setter stages in the record with item's primary key. The setter's own result is not looked at. The
 * update is timed while g_fibGetDbOperTickCost is on. */
FIBDB_API uint32_t FIB_DB_UpdateNhpStdFields(const FibDbNhpStdItem* item, FibDbFieldSetter setter);
/* Setters for partial updates. Context: both service contexts, the four states and error codes, time_stamp_svc and
 * forwardVsId; 0 or 1. Flags: flags alone; the database's code. */
FIBDB_API uint32_t FIB_DB_SetNhpStdContext(uint64_t obj, const FibDbNhpStdItem* item);
FIBDB_API uint32_t FIB_DB_SetNhpStdFlags(uint64_t obj, const FibDbNhpStdItem* item);
/* FIB_DB_UpdateNhpStdFields with the setter of that name. */
FIBDB_API uint32_t FIB_DB_UpdateNhpStdContext(const FibDbNhpStdItem* item);
FIBDB_API uint32_t FIB_DB_UpdateNhpStdFlags(const FibDbNhpStdItem* item);

FIBDB_API FibDbIterator* FIB_DB_CreateNhpStdIterator(uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpStdIteratorByKey(const FibDbKeyDesc* desc, const void* key, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpStdIteratorByNhpIndex(uint32_t nhpIndex, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpStdIteratorByIpIfIndex(uint32_t ip, uint32_t ifIndex, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpStdIteratorByIfIndex(uint32_t ifIndex, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpStdIteratorByWorkIfIndex(uint32_t workIfIndex, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpStdIteratorByGlobalSlotId(uint32_t globalSlotId, uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextNhpStdEntry(FibDbIterator* handle, FibDbNhpStdItem* item);
FIBDB_API void FIB_DB_ReleaseNhpStdIterator(FibDbIterator* handle);

/* Index ids of the table of next hops with a 16-byte address. */
enum {
  FIB_DB_NHP_LLA_PRIMARY = 0x00010018,       /* iid_index, next_hop, out_if_index */
  FIB_DB_NHP_LLA_BY_NHP_INDEX = 0x01090004,  /* iid_index */
  FIB_DB_NHP_LLA_BY_LOCAL_HASH = 0x02090014, /* next_hop, out_if_index */
  FIB_DB_NHP_LLA_BY_IF_INDEX = 0x03090004,   /* out_if_index */
  FIB_DB_NHP_LLA_BY_GLOBAL_SLOT = 0x05090004 /* global_slotid */
};

/* One next hop with a 16-byte address. Stamps, states and contexts are the caller's: they are stored as given. */
typedef struct FibDbNhpLlaItem {
  uint32_t iid_index;
  uint8_t next_hop[16];
  uint32_t out_if_index;
  uint32_t vr_id;
  uint32_t vrf_index;
  uint32_t flags;
  uint16_t fwd_if_type;
  uint8_t forwardVsId;
  uint32_t if_type;
  uint32_t work_if_index;
  uint32_t iid_flags;
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio;
  uint8_t errcode_normal_prio;
  uint8_t svc_ctx_high_prio[16];
  uint8_t svc_ctx_normal_prio[16];
  uint32_t app_source_id;
  uint32_t group_smooth_id;
  uint64_t app_obj_id;
  uint32_t reserved; /* neither stored nor read */
  uint32_t app_version;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
  uint32_t global_slotid;
} FibDbNhpLlaItem;

/* Partial updates and counted lookups of this table. A difference between begun and finished is a call that is inside
 * the database. Plain counters that wrap; the library only counts. */
typedef struct FibDbNhpLlaCnt {
  uint8_t untouched[40]; /* never written by the library */
  uint32_t updatesBegun;
  uint32_t updatesFinished;
  uint32_t lookupsBegun;
  uint32_t lookupsFinished;
} FibDbNhpLlaCnt;
extern FIBDB_API FibDbNhpLlaCnt g_fibDbNhpLlaCnt;

/* key: room for the 24 bytes of the primary key. */
FIBDB_API void FIB_DB_SetNhpLlaKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpLlaItem* item);
/* Stages all fields of item on obj: 0, or 1 if any field failed. */
FIBDB_API uint32_t FIB_DB_SetNhpLlaItem(uint64_t obj, const FibDbNhpLlaItem* item);
/* Fills item from the record that obj stands on. A field that fails, or an address longer than 16 bytes, is logged, and
 * a service context behind it left as it was; a context that cannot be copied ends the filling. */
FIBDB_API void FIB_DB_GetNhpLlaItem(uint64_t obj, FibDbNhpLlaItem* item);

/* Inserts or replaces. */
FIBDB_API uint32_t FIB_DB_WriteNhpLla(const FibDbNhpLlaItem* item);
/* Fills item by its primary key; 60 when there is none. Other failures: the database's code. */
FIBDB_API uint32_t FIB_DB_ReadNhpLla(FibDbNhpLlaItem* item);
FIBDB_API uint32_t FIB_DB_RemoveNhpLLA(const FibDbNhpLlaItem* item);
/* Every record of this next hop. */
FIBDB_API uint32_t FIB_DB_RemoveNhpLlaByNhpIndex(uint32_t nhpIndex);

FIBDB_API uint32_t FIB_DB_ReadNhpLlaByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen,
                                          FibDbNhpLlaItem* buf, uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpLlaByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count);
/* The same count as a lookup that g_fibDbNhpLlaCnt counts. Checks no argument. */
FIBDB_API uint32_t FIB_DB_GetNhpLlaCountByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count);
FIBDB_API uint32_t FIB_DB_ReadNhpLlaByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpLlaItem* buf,
                                               uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpLlaByNhpIndex(uint32_t nhpIndex, uint32_t* count);
/* address: 16 bytes. Of the two counts, CountNhpLlaByLocalhash is the one that g_fibDbNhpLlaCnt counts. The read does
 * not check address, and does not tell how many items it filled. */
FIBDB_API uint32_t FIB_DB_ReadNhpLlaByLocalhash(const uint8_t* address, uint32_t ignored, uint32_t ifIndex,
                                                uint32_t bufLen, FibDbNhpLlaItem* buf);
FIBDB_API uint32_t FIB_DB_CountNhpLlaByLocalhash(const uint8_t* address, uint32_t ignored, uint32_t ifIndex,
                                                 uint32_t* count);
FIBDB_API uint32_t FIB_DB_GetNhpLlaCountByLocalhash(const uint8_t* address, uint32_t ignored, uint32_t ifIndex,
                                                    uint32_t* count);

/* Changes what setter stages in the record with item's primary key. Checks no argument; the setter's own result is not
 * looked at. The database's code, 13044 too, unlogged and uncounted but for g_fibDbNhpLlaCnt. Timed while
 * g_fibGetDbOperTickCost is on. */
FIBDB_API uint32_t FIB_DB_UpdateNhpLlaFields(const FibDbNhpLlaItem* item, FibDbFieldSetter setter);
/* Setters for partial updates. Context: both service contexts, the four states and error codes, time_stamp_svc; 0 or 1.
 * Flag: flags alone; the database's code, unlogged. */
FIBDB_API uint32_t FIB_DB_SetNhpLlaContext(uint64_t obj, const FibDbNhpLlaItem* item);
FIBDB_API uint32_t FIB_DB_SetNhpLlaFlag(uint64_t obj, const FibDbNhpLlaItem* item);
/* FIB_DB_UpdateNhpLlaFields with the setter of that name. */
FIBDB_API uint32_t FIB_DB_UpdateNhpLlaContext(const FibDbNhpLlaItem* item);
FIBDB_API uint32_t FIB_DB_UpdateNhpLlaFlag(const FibDbNhpLlaItem* item);

FIBDB_API FibDbIterator* FIB_DB_CreateNhpLlaIterator(uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpLlaIteratorByKey(const FibDbKeyDesc* desc, const void* key, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpLlaIteratorByNhpIndex(uint32_t nhpIndex, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpLlaIteratorByIfIndex(uint32_t ifIndex, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpLlaIteratorByGlobalSlotId(uint32_t globalSlotId, uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextNhpLlaEntry(FibDbIterator* handle, FibDbNhpLlaItem* item);
FIBDB_API void FIB_DB_ReleaseNhpLlaIterator(FibDbIterator* handle);

/* Index ids of the VPN next-hop table. */
enum {
  FIB_DB_NHP_VPN_PRIMARY = 0x00010010,     /* nhp_index, vr_id, vrf_index, dst_vpn_id */
  FIB_DB_NHP_VPN_BY_NHP_INDEX = 0x01090004 /* nhp_index */
};

/* A next hop's way from a VR and VRF into a destination VPN. Stamps are the caller's: they are stored as given. */
typedef struct FibDbNhpVpnItem {
  uint32_t nhp_index;
  uint32_t vr_id;
  uint32_t vrf_index;
  uint32_t dst_vpn_id;
  uint32_t app_source_id;
  uint32_t app_serial_id;
  uint64_t app_obj_id;
  uint32_t app_version;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
} FibDbNhpVpnItem;

/* key: room for the 16 bytes of the primary key. */
FIBDB_API void FIB_DB_SetNhpVpnKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpVpnItem* item);
/* Stages all fields of item on obj: 0, or 1 if any field failed. */
FIBDB_API uint32_t FIB_DB_SetNhpVpnItem(uint64_t obj, const FibDbNhpVpnItem* item);
/* Fills item, unless it is NULL, from the record that obj stands on; a field that fails is logged and left as it was.
 */
FIBDB_API void FIB_DB_GetNhpVpnItem(uint64_t obj, FibDbNhpVpnItem* item);

/* Inserts or replaces. */
FIBDB_API uint32_t FIB_DB_WriteNhpVpn(const FibDbNhpVpnItem* item);
/* Fills item by its primary key; 60 when there is none. Other failures: the database's code. */
FIBDB_API uint32_t FIB_DB_ReadNhpVpn(FibDbNhpVpnItem* item);
/* Fills item with any one record of this next hop. DB_ERR_ITER_END (110012, not 60) when there is none. Other
 * failures: the database's code. */
FIBDB_API uint32_t FIB_DB_ReadNhpVpnByNhpIndex(uint32_t nhpIndex, FibDbNhpVpnItem* item);
/* Stores the low 8 bits of how many records this next hop has: 256 are 0. A failure is the database's code and stores
 * nothing. */
FIBDB_API uint32_t FIB_DB_CountNhpVpnByNhpIndex(uint32_t nhpIndex, uint8_t* count);
FIBDB_API uint32_t FIB_DB_RemoveNhpVpn(const FibDbNhpVpnItem* item);
/* Every record of this next hop. */
FIBDB_API uint32_t FIB_DB_RemoveNhpVpnByNhpIndex(uint32_t nhpIndex);

/* Index ids of the VXLAN next-hop table. */
enum {
  /* nhp_index, vr_id, tunnel_vrf_index, tunnel_id, tunnel_type, af_type, gwip */
  FIB_DB_NHP_VXLAN_PRIMARY = 0x00010022,
  FIB_DB_NHP_VXLAN_BY_NHP_INDEX = 0x01090004, /* nhp_index */
  /* three words and a byte; the embedded engine takes vr_id, tunnel_vrf_index, tunnel_id, tunnel_type */
  FIB_DB_NHP_VXLAN_BY_TUNNEL = 0x0209000D,
  FIB_DB_NHP_VXLAN_BY_VNI = 0x03090008 /* two words; the embedded engine takes vr_id, vn_id */
};

/* One next hop into a VXLAN tunnel. Stamps, states and contexts are the caller's: they are stored as given. */
typedef struct FibDbNhpVxlanItem {
  uint32_t nhp_index;
  uint32_t vr_id;
  uint32_t tunnel_vrf_index;
  uint32_t tunnel_id;
  uint8_t tunnel_type;
  uint8_t af_type;  /* of gwip */
  uint8_t gwip[16]; /* gateway address */
  uint32_t vrf_index;
  uint32_t flags;
  uint32_t vn_id;
  uint32_t aib_index;
  uint16_t overlay_type;
  uint8_t mac_addr[6];
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio;
  uint8_t errcode_normal_prio;
  uint8_t svc_ctx_high_prio[16];
  uint8_t svc_ctx_normal_prio[16];
  uint32_t app_source_id;
  uint32_t group_smooth_id;
  uint64_t app_obj_id;
  uint32_t app_version;
  uint32_t vsi_index;
  uint32_t dvp_index;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
} FibDbNhpVxlanItem;

/* The same as the database stores it: byte-packed, 138 bytes. */
#pragma pack(push, 1)
typedef struct FibDbNhpVxlanRow {
  uint32_t nhp_index;
  uint32_t vr_id;
  uint32_t tunnel_vrf_index;
  uint32_t tunnel_id;
  uint8_t tunnel_type;
  uint8_t af_type;
  uint8_t gwip[16];
  uint32_t vrf_index;
  uint32_t flags;
  uint32_t vn_id;
  uint32_t aib_index;
  uint16_t overlay_type;
  uint8_t mac_addr[6];
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio;
  uint8_t errcode_normal_prio;
  uint8_t svc_ctx_high_prio[16];
  uint8_t svc_ctx_normal_prio[16];
  uint32_t app_source_id;
  uint32_t group_smooth_id;
  uint64_t app_obj_id;
  uint32_t app_version;
  uint32_t vsi_index;
  uint32_t dvp_index;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
} FibDbNhpVxlanRow;
#pragma pack(pop)

/* key: room for the 34 bytes of the primary key. 0, or the code of the copy of gwip. */
FIBDB_API uint32_t FIB_DB_SetNhpVxlanKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpVxlanItem* item);
/* Stages all fields of item on obj: 0, or 1 if any field failed. */
FIBDB_API uint32_t FIB_DB_SetNhpVxlanItem(uint64_t obj, const FibDbNhpVxlanItem* item);
/* Fills item, unless it is NULL, from the record that obj stands on. Every field is tried, whatever failed before it;
 * failures are logged in one line. */
FIBDB_API void FIB_DB_GetNhpVxlanItem(uint64_t obj, FibDbNhpVxlanItem* item);
/* Fills dst from a FibDbNhpVxlanRow, but for group_smooth_id and the two time stamps, which stay as they were. Nothing
 * when either pointer is NULL. */
FIBDB_API void FIB_DB_GetNhpVxlanItemLite(FibDbNhpVxlanItem* dst, const void* row);

/* Inserts or replaces. */
FIBDB_API uint32_t FIB_DB_WriteNhpVxlan(const FibDbNhpVxlanItem* item);
/* Fills item by its primary key; 60 when there is none. Other failures: the database's code. item must not be NULL. */
FIBDB_API uint32_t FIB_DB_ReadNhpVxlan(FibDbNhpVxlanItem* item);
FIBDB_API uint32_t FIB_DB_RemoveNhpVxlan(const FibDbNhpVxlanItem* item);
/* Every record of this next hop. */
FIBDB_API uint32_t FIB_DB_RemoveNhpVxlanByNhpIndex(uint32_t nhpIndex);

/* The bulk reads of this table leave group_smooth_id and the two time stamps of each item in buf as they were. A record
 * that cannot be fetched ends them, with 60 when it is missing and 1 otherwise; the items before it are filled and
 * counted. */
FIBDB_API uint32_t FIB_DB_ReadNhpVxlanByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen,
                                            FibDbNhpVxlanItem* buf, uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpVxlanByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count);
FIBDB_API uint32_t FIB_DB_ReadNhpVxlanByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpVxlanItem* buf,
                                                 uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpVxlanByNhpIndex(uint32_t nhpIndex, uint32_t* count);

/* Changes both service contexts, the four states and error codes and time_stamp_svc of the record with item's primary
 * key. 1, and nothing is changed, when a field cannot be staged. */
FIBDB_API uint32_t FIB_DB_UpdateNhpVxlanContext(const FibDbNhpVxlanItem* item);

FIBDB_API FibDbIterator* FIB_DB_CreateNhpVxlanIterator(uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpVxlanIteratorByKey(const FibDbKeyDesc* desc, const void* key,
                                                            uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpVxlanIteratorByNhpIndex(uint32_t nhpIndex, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpVxlanIteratorByTunnelKey(uint32_t key0, uint32_t key1, uint32_t key2,
                                                                  uint8_t keyByte, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpVxlanIteratorByVniKey(uint32_t key0, uint32_t key1, uint32_t property);
/* A failure is not counted here, and a NULL argument, or a handle without its object or iterator, is logged. */
FIBDB_API uint32_t FIB_DB_GetNextNhpVxlanItem(FibDbIterator* handle, FibDbNhpVxlanItem* item);
FIBDB_API void FIB_DB_ReleaseNhpVxlanIterator(FibDbIterator* handle);

/* Index ids of the next-hop extensions. Which words of the record the open keys are is the database's; the embedded
 * engine's choice stands here. */
enum {
  FIB_DB_NHP_EXT_PRIMARY = 0x00010011,      /* keyWords[0] to keyWords[3], keyByte */
  FIB_DB_NHP_EXT_BY_IID_INDEX = 0x01090004, /* keyWords[0] */
  FIB_DB_NHP_EXT_BY_TUNNEL = 0x0209000D,    /* keyWords[1] to keyWords[3], keyByte */
  FIB_DB_NHP_EXT_BY_SDWAN_KEY = 0x03090005  /* tunnel id and type: keyWords[3], keyByte */
};

/* One next-hop extension. The library only moves the fields. */
typedef struct FibDbNhpExtItem {
  uint32_t keyWords[4];
  uint8_t keyByte;
  uint8_t reserved; /* neither stored nor filled */
  uint8_t extByte1;
  uint8_t extByte2;
  uint8_t addr1[16];
  uint8_t addr2[16];
  uint32_t extWord1;
  uint8_t extBytes[4];
  uint32_t extWord2;
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio;
  uint8_t errcode_normal_prio;
  uint8_t svc_ctx_high_prio[16];
  uint8_t svc_ctx_normal_prio[16];
  uint32_t extWord3;
  uint32_t extWord4;
  uint64_t extDword1;
  uint32_t extWord5;
  uint64_t extDword2;
  uint64_t time_stamp_svc;
} FibDbNhpExtItem;

/* The same as the database stores it: byte-packed, 136 bytes. */
#pragma pack(push, 1)
typedef struct FibDbNhpExtRow {
  uint32_t keyWords[4];
  uint8_t keyByte;
  uint8_t zero;
  uint8_t extByte1;
  uint8_t extByte2;
  uint8_t addr1[16];
  uint8_t addr2[16];
  uint32_t extWord1;
  uint8_t extBytes[4];
  uint32_t extWord2;
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio;
  uint8_t errcode_normal_prio;
  uint8_t svc_ctx_high_prio[16];
  uint8_t svc_ctx_normal_prio[16];
  uint32_t extWord3;
  uint32_t extWord4;
  uint64_t extDword1;
  uint32_t extWord5;
  uint64_t extDword2;
  uint64_t time_stamp_svc;
} FibDbNhpExtRow;
#pragma pack(pop)

/* Packs item into row (FibDbNhpExtRow), all of it; returns what the copy of the normal service context gave. */
FIBDB_API uint32_t FIB_DB_SetNhpExtItem(void* row, const FibDbNhpExtItem* item);
/* Does nothing if either is NULL. */
FIBDB_API void FIB_DB_GetNhpExtItem(FibDbNhpExtItem* item, const void* row);
/* key: room for the 17 bytes of the primary key. */
FIBDB_API void FIB_DB_SetNhpExtKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpExtItem* item);

/* Inserts or replaces. */
FIBDB_API uint32_t FIB_DB_WriteNhpExt(const FibDbNhpExtItem* item);
/* Fills item by its primary key; 60 when there is none. Other failures: the database's code. */
FIBDB_API uint32_t FIB_DB_ReadNhpExt(FibDbNhpExtItem* item);
/* A failed creation of the object is not logged. */
FIBDB_API uint32_t FIB_DB_RemoveNhpExt(const FibDbNhpExtItem* item);
/* Every record of this IID index. */
FIBDB_API uint32_t FIB_DB_RemoveNhpExtByIidIndex(uint32_t iidIndex);

/* Changes what setter stages in the record with item's primary key. The setter's own result is not looked at. */
FIBDB_API uint32_t FIB_DB_UpdateNhpExtFields(const FibDbNhpExtItem* item, FibDbFieldSetter setter);
/* Setter for partial updates: both service contexts, the four states and error codes, time_stamp_svc; 0 or 1. */
FIBDB_API uint32_t FIB_DB_SetNhpExtContext(uint64_t obj, const FibDbNhpExtItem* item);
/* FIB_DB_UpdateNhpExtFields with that setter. */
FIBDB_API uint32_t FIB_DB_UpdateNhpExtContext(const FibDbNhpExtItem* item);

/* A record that is gone when the iterator stands on it ends the reading with 60; one that cannot be read, with 1. */
FIBDB_API uint32_t FIB_DB_ReadNhpExtByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen,
                                          FibDbNhpExtItem* buf, uint32_t* count);
/* One step of that reading: advances rootIter, an iterator on obj, and fills row (FibDbNhpExtRow). A failed advance is
 * the database's code, the end included (110012); the rest as above. */
FIBDB_API uint32_t FIB_DB_ReadNhpExtByKIterNext(uint64_t obj, uint64_t rootIter, void* row);
FIBDB_API uint32_t FIB_DB_ReadNhpExtByIidIndex(uint32_t iidIndex, uint32_t bufLen, FibDbNhpExtItem* buf,
                                               uint32_t* count);
FIBDB_API uint32_t FIB_DB_ReadNhpExtBySdwanKey(uint32_t tunnelId, uint8_t type, uint32_t bufLen, FibDbNhpExtItem* buf,
                                               uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpExtByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpExtByIidIndex(uint32_t iidIndex, uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpExtBySdwanKey(uint32_t tunnelId, uint8_t type, uint32_t* count);

/* An iterator of the object database, property -1: none. The functions below are not for it, and this table has no
 * others: step it with db_root_iterator_next, give it back with db_release_nhp_ext_object and FIB_DB_Free. */
FIBDB_API FibDbIterator* FIB_DB_CreateNhpExtIteratorByIidIndex(uint32_t iidIndex, int32_t property);
/* The table service's iterators, or NULL; the table must be registered (runtime.h). */
FIBDB_API void* FIB_DB_CreateNhpExtIteratorByTunnelId(uint32_t key0, uint32_t key1, uint32_t key2, uint8_t keyByte,
                                                      uint32_t property);
FIBDB_API void* FIB_DB_CreateNhpExtIterByTnlIdAndType(uint32_t tunnelId, uint8_t type, uint32_t property);
/* The service's code, the end included (110012, not 60); item stays as it was unless that is 0. */
FIBDB_API uint32_t FIB_DB_GetNextNhpExtEntry(void* iter, FibDbNhpExtItem* item);
/* 0 for NULL. */
FIBDB_API uint32_t FIB_DB_ReleaseNhpExtIterator(void* iter);

/* Index ids of the next-hop extension labels. */
enum {
  FIB_DB_NHP_EXT_LABEL_PRIMARY = 0x0001001C, /* keyWords */
  FIB_DB_NHP_EXT_LABEL_BY_VRF = 0x01090008   /* two words; the embedded engine takes keyWords[1], keyWords[2] */
};

/* One label of a next-hop extension. The database stores it in the same layout. */
typedef struct FibDbNhpExtLabelItem {
  uint32_t keyWords[7];
  uint32_t labelWord1;
  uint32_t labelWord2;
  uint8_t labelByte1;
  uint8_t labelByte2;
  uint8_t reserved[2]; /* zero in the database; neither stored nor filled */
  uint8_t labelData[32];
  uint32_t labelWord3;
  uint32_t smoothId;
  uint64_t stamp1; /* stored as given, like the next */
  uint64_t stamp2;
} FibDbNhpExtLabelItem;

/* The labels go through the table service, in which the table must be registered (runtime.h). Its codes are returned
 * unchanged, the end of an iteration included (110012, not 60); nothing is logged and nothing is counted. */
FIBDB_API void FIB_DB_SetNhpExtLabelPriKey(const FibDbNhpExtLabelItem* item, uint32_t* indexId, void* key);
/* row: a FibDbNhpExtLabelItem; its reserved bytes are left as they are. */
FIBDB_API void FIB_DB_SetNhpExtLabelFields(const FibDbNhpExtLabelItem* item, void* row);
FIBDB_API void FIB_DB_GetNhpExtLabelFields(const void* row, FibDbNhpExtLabelItem* item);

/* A second create with the same primary key is the service's error, not a replace. */
FIBDB_API uint32_t FIB_DB_CreateNhpExtLabel(const FibDbNhpExtLabelItem* item);
/* Fills item by its primary key and leaves it untouched on any failure. A missing record is 15005. */
FIBDB_API uint32_t FIB_DB_ReadNhpExtLabel(FibDbNhpExtLabelItem* item);
/* Update callback: stages the smooth id, no stamp. 1 for a NULL ctx, else 0 or the database's code. */
FIBDB_API uint32_t FIB_DB_SetNhpExtLabelSmoothID(const FibDbUfibData* ctx, uint64_t obj);
FIBDB_API uint32_t FIB_DB_UpdateNhpExtLabelSmoothId(const FibDbNhpExtLabelItem* item);
FIBDB_API uint32_t FIB_DB_DeleteNhpExtLabel(const FibDbNhpExtLabelItem* item);

/* The service's iterator, or NULL. */
FIBDB_API void* FIB_DB_CreateNhpExtLabelIterator(uint32_t property);
FIBDB_API void* FIB_DB_CreateNhpExtLabelIteratorByVrf(uint32_t key0, uint32_t key1, uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextNhpExtLabel(void* iter, FibDbNhpExtLabelItem* item);
/* 0 for NULL. */
FIBDB_API uint32_t FIB_DB_ReleaseNhpExtLabelIterator(void* iter);

/* Index ids of the next-hop groups. */
enum {
  FIB_DB_NHP_GROUP_PRIMARY = 0x00010008, /* nhp_group_id, vr_id */
  FIB_DB_NHP_GROUP_BY_VRF = 0x0109000C,  /* three words; the embedded engine takes vr_id, vrf_index, app_source_id */
  FIB_DB_NHP_GROUP_BY_VR_AND_VRF = 0x02090008 /* vr_id, vrf_index; through the table service */
};

/* One next-hop group, or one prefix bound to a group: two tables share this item. Counts, flags and stamps are the
 * caller's: they are stored as given. */
typedef struct FibDbNhpGroupItem {
  uint32_t nhp_group_id;
  uint32_t vr_id;
  uint32_t vrf_index;
  uint32_t flags;
  uint32_t ref_count;
  uint32_t new_vrf;
  uint16_t nhp_number;
  uint8_t nhp_type_high_prio;
  uint8_t nhp_type_normal_prio;
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio[2];
  uint8_t errcode_normal_prio[2];
  uint8_t svc_ctx_high_prio[32];
  uint8_t svc_ctx_normal_prio[32];
  uint32_t app_source_id;
  uint32_t table_smooth_id;
  uint8_t overlay_universal_id;
  uint8_t underlay_universal_id;
  uint64_t db_attr_flag;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
  uint32_t reserved;     /* the caller's own; neither read nor written */
  uint32_t skip_db_oper; /* groups: non-zero keeps write, removal and the four updates by name from the database */
  uint32_t dest_ip_addr; /* prefixes: IPv4 address, host byte order */
  uint8_t dest_mask_len; /* prefixes */
  uint8_t forwardVsId;   /* groups */
} FibDbNhpGroupItem;

/* The primary key of a group. */
typedef struct FibDbNhpGroupKey {
  uint32_t nhp_group_id;
  uint32_t vr_id;
} FibDbNhpGroupKey;

FIBDB_API void FIB_DB_SetNhpGroupKey(FibDbNhpGroupKey* key, uint32_t nhpGroupId, uint32_t vrId);
FIBDB_API void FIB_DB_SetNhpGroupKeyField(FibDbKeyDesc* desc, FibDbNhpGroupKey* key, const FibDbNhpGroupItem* item);

/* Stages all fields of item on obj: 0, or 1 if any field failed. The service state is not the item's: states and error
 * codes are cleared, both service contexts are all ones. */
FIBDB_API uint32_t FIB_DB_SetNhpGroupItem(uint64_t obj, const FibDbNhpGroupItem* item);
/* Key, VRF, number of next hops, flags, universal ids, reference count and new VRF: the bitwise OR of the database's
 * codes, unlogged. */
FIBDB_API uint32_t FIB_DB_GetNhpGroupBaseItem(uint64_t obj, FibDbNhpGroupItem* item);
/* Fills item from the record that obj stands on and clears skip_db_oper. A field that fails is logged and left as it
 * was, and so are the error codes and service contexts behind it; a context that cannot be copied ends the filling. */
FIBDB_API void FIB_DB_GetNhpGroupItem(uint64_t obj, FibDbNhpGroupItem* item);

/* Inserts or replaces, with a fresh service state (FIB_DB_SetNhpGroupItem). Does nothing for an item with skip_db_oper.
 * item must not be NULL. */
FIBDB_API uint32_t FIB_DB_WriteNhpGroup(const FibDbNhpGroupItem* item);
/* Fills item by its primary key; 60 when there is none, 1 on any other failure. */
FIBDB_API uint32_t FIB_DB_ReadNhpGroup(FibDbNhpGroupItem* item);
/* Does nothing for an item with skip_db_oper. item must not be NULL. */
FIBDB_API uint32_t FIB_DB_RemoveNhpGroup(const FibDbNhpGroupItem* item);

/* Changes what setter stages in the record with item's primary key, whatever its skip_db_oper. A failing setter is
 * logged and does not stop the update. A missing record is 15005, unlogged; other failures of the database are logged
 * as information. */
FIBDB_API uint32_t FIB_DB_UpdateNhpGroupFields(const FibDbNhpGroupItem* item, FibDbFieldSetter setter);
/* Setters for partial updates; unlogged, the bitwise OR of the database's codes. Flags: flags and db_attr_flag. */
FIBDB_API uint32_t FIB_DB_SetNhpGroupRefCount(uint64_t obj, const FibDbNhpGroupItem* item);
FIBDB_API uint32_t FIB_DB_SetNhpGroupSmoothID(uint64_t obj, const FibDbNhpGroupItem* item);
FIBDB_API uint32_t FIB_DB_SetNhpGroupFlags(uint64_t obj, const FibDbNhpGroupItem* item);
/* How a service reports back: service contexts, states and error codes, next-hop types, universal ids, new_vrf,
 * db_attr_flag, forwardVsId and time_stamp_svc. 0, or 1 if any but db_attr_flag failed, logged as information. */
FIBDB_API uint32_t FIB_DB_SetNhpGroupContext(uint64_t obj, const FibDbNhpGroupItem* item);
/* FIB_DB_UpdateNhpGroupFields with the setter of that name; nothing for an item with skip_db_oper. item must not be
 * NULL. */
FIBDB_API uint32_t FIB_DB_UpdateNhpGroupRefCount(const FibDbNhpGroupItem* item);
FIBDB_API uint32_t FIB_DB_UpdateNhpGroupSmoothID(const FibDbNhpGroupItem* item);
FIBDB_API uint32_t FIB_DB_UpdateNhpGroupFlags(const FibDbNhpGroupItem* item);
FIBDB_API uint32_t FIB_DB_UpdateNhpGroupContext(const FibDbNhpGroupItem* item);

FIBDB_API FibDbIterator* FIB_DB_CreateNhpGroupIterator(uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpGroupIteratorByVrf(uint32_t key0, uint32_t key1, uint32_t key2,
                                                            uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextNhpGroup(FibDbIterator* handle, FibDbNhpGroupItem* item);
FIBDB_API void FIB_DB_ReleaseNhpGroupIterator(FibDbIterator* handle);

/* Key builder of the table service: the index id and the 8 bytes of the key. */
FIBDB_API void FIB6_DB_SetNhpGroupVridVrfIndexHashKey(uint32_t vrId, uint32_t vrfIndex, uint32_t* indexId, void* key);
/* The table service's iterator, or NULL, unlogged. The service steps and releases it, by its own number of the
 * table (0). */
FIBDB_API void* FIB_DB_CreateNhpGroupIteratorByVridVrfIndex(uint32_t vrId, uint32_t vrfIndex, uint32_t property);

/* Index id of the prefixes bound to groups. */
enum {
  FIB_DB_NHP_GROUP_FTN_PRIMARY = 0x0001000D /* vr_id, vrf_index, dest_ip_addr, dest_mask_len */
};

/* key: room for the 13 bytes of the primary key. */
FIBDB_API void FIB_DB_SetNhpGroupFtnKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpGroupItem* item);
/* Stages all fields of item on obj, its service state too: 0, or 1 if any field failed. */
FIBDB_API uint32_t FIB_DB_SetNhpGroupFtnItem(uint64_t obj, const FibDbNhpGroupItem* item);
/* As for the groups, and the prefix. */
FIBDB_API uint32_t FIB_DB_GetNhpGroupFtnBaseItem(uint64_t obj, FibDbNhpGroupItem* item);
/* As for the groups; skip_db_oper and forwardVsId stay as they are. */
FIBDB_API void FIB_DB_GetNhpGroupFtnItem(uint64_t obj, FibDbNhpGroupItem* item);
/* skip_db_oper means nothing to these three. */
FIBDB_API uint32_t FIB_DB_WriteNhpGroupFtn(const FibDbNhpGroupItem* item);
/* Fills item by its primary key; 60 when there is none, 1 on any other failure. */
FIBDB_API uint32_t FIB_DB_ReadNhpGroupFtn(FibDbNhpGroupItem* item);
FIBDB_API uint32_t FIB_DB_RemoveNhpGroupFtn(const FibDbNhpGroupItem* item);

/* Index ids of the members of next-hop groups. */
enum {
  FIB_DB_NHP_GROUP_NODE_PRIMARY = 0x0001001E,        /* the first seven words of the item, sequence */
  FIB_DB_NHP_GROUP_NODE_BY_NHP_GROUP = 0x01090008,   /* nhp_group_id, vr_id */
  FIB_DB_NHP_GROUP_NODE_BY_PRIMARY_NHP = 0x02090004, /* primary_nhp_id */
  FIB_DB_NHP_GROUP_NODE_BY_BACKUP_NHP = 0x03090004,  /* backup_nhp_id */
  FIB_DB_NHP_GROUP_NODE_BY_PRI_ATTR = 0x04090008     /* vr_id, attribute_id; through the table service */
};

/* One member: it ties a group to a primary and a backup next hop, each with a label. */
typedef struct FibDbNhpGroupNodeItem {
  uint32_t nhp_group_id;
  uint32_t attribute_id;
  uint32_t primary_nhp_id;
  uint32_t primary_label;
  uint32_t backup_nhp_id;
  uint32_t backup_label;
  uint32_t vr_id;
  uint32_t vrf_index;
  uint32_t flags;
  uint32_t app_source_id;
  uint32_t group_smooth_id;
  uint64_t app_obj_id;
  uint16_t sequence;
  uint16_t rsv;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
  uint32_t bandwidth;
} FibDbNhpGroupNodeItem;

/* The same as the database stores it: byte-packed, 76 bytes. */
#pragma pack(push, 1)
typedef struct FibDbNhpGroupNodeRow {
  uint32_t nhp_group_id;
  uint32_t attribute_id;
  uint32_t primary_nhp_id;
  uint32_t primary_label;
  uint32_t backup_nhp_id;
  uint32_t backup_label;
  uint32_t vr_id;
  uint16_t sequence;
  uint16_t rsv;
  uint32_t vrf_index;
  uint32_t flags;
  uint32_t app_source_id;
  uint32_t group_smooth_id;
  uint64_t app_obj_id;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
  uint32_t bandwidth;
} FibDbNhpGroupNodeRow;
#pragma pack(pop)

/* key: room for the 30 bytes of the primary key. Does nothing when any argument is NULL. */
FIBDB_API void FIB_DB_FillNhpGroupNodeKey(const FibDbNhpGroupNodeItem* item, FibDbKeyDesc* desc, void* key);
/* Copies the fields of the primary key from src to dst. */
FIBDB_API void FIB_DB_SetNhpGroupNodeKey(FibDbNhpGroupNodeItem* dst, const FibDbNhpGroupNodeItem* src);
/* Prepares item for FIB_DB_ReadNhpGroupNodeByPriAttr. */
FIBDB_API void FIB_DB_SetNhpGroupNodeKeyByPriAttr(FibDbNhpGroupNodeItem* item, uint32_t vrId, uint32_t attributeId);
/* Key builder of the table service: the index id and the 8 bytes of the key by primary attribute. */
FIBDB_API void FIB_DB_SetNhpGroupNodeAttrIdKey(const FibDbNhpGroupNodeItem* item, uint32_t* indexId, void* key);

/* Stages all fields of item on obj: 0, or 1 if any field failed. */
FIBDB_API uint32_t FIB_DB_SetNhpGroupNodeItem(uint64_t obj, const FibDbNhpGroupNodeItem* item);
/* Fills item from the record that obj stands on; a field that fails is logged and left as it was. */
FIBDB_API void FIB_DB_GetNhpGroupNodeItem(uint64_t obj, FibDbNhpGroupNodeItem* item);
/* record: a FibDbNhpGroupNodeRow, at any alignment. */
FIBDB_API void FIB_DB_GetNhpGroupNodeFields(const void* record, FibDbNhpGroupNodeItem* item);

/* Inserts or replaces. Here and below, a failed creation of the object is not logged. */
FIBDB_API uint32_t FIB_DB_WriteNhpGroupNode(const FibDbNhpGroupNodeItem* item);
/* Fills item by its primary key; 60 when there is none. Other failures: the database's code. */
FIBDB_API uint32_t FIB_DB_ReadNhpGroupNode(FibDbNhpGroupNodeItem* item);
FIBDB_API uint32_t FIB_DB_RemoveNhpGroupNode(const FibDbNhpGroupNodeItem* item);
/* Changes what setter stages in the record with item's primary key. The setter's own result is not looked at. */
FIBDB_API uint32_t FIB_DB_UpdateNhpGroupNodeFields(const FibDbNhpGroupNodeItem* item, FibDbFieldSetter setter);
/* Setters for partial updates: the database's code. */
FIBDB_API uint32_t FIB_DB_SetNhpGroupNodeFlags(uint64_t obj, const FibDbNhpGroupNodeItem* item);
FIBDB_API uint32_t FIB_DB_SetNhpGroupNodeSmoothID(uint64_t obj, const FibDbNhpGroupNodeItem* item);
/* FIB_DB_UpdateNhpGroupNodeFields with the setter of that name. */
FIBDB_API uint32_t FIB_DB_UpdateNhpGroupNodeFlags(const FibDbNhpGroupNodeItem* item);
FIBDB_API uint32_t FIB_DB_UpdateNhpGroupNodeSmoothID(const FibDbNhpGroupNodeItem* item);

/* Counts; a failure is not logged. */
FIBDB_API uint32_t FIB_DB_CountNhpGroupNodeByNhpGroup(uint32_t nhpGroupId, uint32_t vrId, uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpGroupNodeByPrimaryNhpId(uint32_t nhpIndex, uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpGroupNodeByBackupNhpId(uint32_t nhpIndex, uint32_t* count);
/* The sum of the two: a member whose primary and backup next hop are the same counts twice. */
FIBDB_API uint32_t FIB_DB_CountNhpGroupNodeByNhpIndex(uint32_t nhpIndex, uint32_t* count);

/* These two do not tell how many items they filled. The second fills in the members with this primary next hop, then
 * those with this backup next hop. */
FIBDB_API uint32_t FIB_DB_ReadNhpGroupNodeByNhpGroup(uint32_t nhpGroupId, uint32_t vrId, uint32_t bufLen,
                                                     FibDbNhpGroupNodeItem* buf);
FIBDB_API uint32_t FIB_DB_ReadNhpGroupNodeByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpGroupNodeItem* buf);
/* The two halves of the last, on obj, an object of this table of the kind FIB_DB_OBJ_OP_SCAN that stays the caller's;
 * capacity: items. On failure count stays as it is. The second checks neither count nor buf. */
FIBDB_API uint32_t FIB_DB_ReadNhpPriGroupNodeByNhpIndex(uint64_t obj, uint32_t nhpIndex, uint32_t capacity,
                                                        uint32_t* count, FibDbNhpGroupNodeItem* buf);
FIBDB_API uint32_t FIB_DB_ReadNhpBakGroupNodeByNhpIndex(uint64_t obj, uint32_t nhpIndex, uint32_t capacity,
                                                        uint32_t* count, FibDbNhpGroupNodeItem* buf);
/* Through the table service: fills item by vr_id and attribute_id, and leaves it untouched on any failure. The
 * service's code, unlogged: a missing member is 15005. */
FIBDB_API uint32_t FIB_DB_ReadNhpGroupNodeByPriAttr(FibDbNhpGroupNodeItem* item);

/* desc and key are handed on as they are: both NULL is the whole table. */
FIBDB_API FibDbIterator* FIB_DB_CreateNhpGrpNodeIteratorByKey(const FibDbKeyDesc* desc, const void* key,
                                                              uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpGrpNodeIteratorByNhpGrpId(uint32_t nhpGroupId, uint32_t vrId,
                                                                   uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpGrpNodeIteratorByPrimaryNhpId(uint32_t nhpIndex, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpGrpNodeIteratorByBackupNhpId(uint32_t nhpIndex, uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextNhpGroupNode(FibDbIterator* handle, FibDbNhpGroupNodeItem* item);
FIBDB_API void FIB_DB_ReleaseNhpGrpNodeIterator(FibDbIterator* handle);

/* Index ids of the VPN SID next hops. */
enum {
  FIB_DB_NHP_VPNSID_PRIMARY = 0x0001001C,      /* key_word1 to key_word3, sid */
  FIB_DB_NHP_VPNSID_BY_NHP_INDEX = 0x01090004, /* one word; the embedded engine takes key_word1 */
  /* Two words, an address, two bytes; the embedded engine takes key_word2, key_word3, addr2, attr_byte1, attr_byte2. */
  FIB_DB_NHP_VPNSID_BY_XSID_INFO = 0x0209001A,
  FIB_DB_NHP_VPNSID_BY_VPN_SID = 0x03090018 /* two words, an address; the engine takes key_word2, key_word3, sid */
};

/* One next hop with VPN segment identifiers. The three addresses are four 32-bit words each, in host byte order, most
 * significant word first. Stamps, states, contexts and blocks are the caller's: they are stored as given. */
typedef struct FibDbNhpVpnSidItem {
  uint32_t key_word1;
  uint32_t key_word2;
  uint32_t key_word3;
  uint32_t attr_word1;
  uint8_t sid[16];
  uint8_t addr2[16];
  uint8_t addr3[16];
  uint32_t attr_word2;
  uint32_t attr_word3;
  uint8_t attr_byte1;
  uint8_t attr_byte2;
  uint8_t attr_byte3;
  uint32_t flags;
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio;
  uint8_t errcode_normal_prio;
  uint8_t svc_ctx_high_prio[16];
  uint8_t svc_ctx_normal_prio[16];
  uint32_t attr_word4;
  uint32_t attr_word5;
  uint8_t block16a[16];
  uint8_t block16b[16];
  uint32_t app_source_id;
  uint32_t group_smooth_id;
  uint64_t app_obj_id;
  uint32_t app_version;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
  uint8_t block32a[32];
  uint8_t block32b[32];
} FibDbNhpVpnSidItem;

/* The same as the database stores it: byte-packed, 256 bytes, addresses in network byte order. */
#pragma pack(push, 1)
typedef struct FibDbNhpVpnSidRow {
  uint32_t key_word1;
  uint32_t key_word2;
  uint32_t key_word3;
  uint8_t sid[16];
  uint32_t attr_word1;
  uint8_t addr2[16];
  uint8_t addr3[16];
  uint8_t attr_byte1;
  uint8_t attr_byte2;
  uint8_t attr_byte3;
  uint8_t zero;
  uint32_t flags;
  uint32_t attr_word2;
  uint32_t attr_word3;
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio;
  uint8_t errcode_normal_prio;
  uint8_t svc_ctx_high_prio[16];
  uint8_t svc_ctx_normal_prio[16];
  uint32_t attr_word4;
  uint32_t attr_word5;
  uint8_t block16a[16];
  uint8_t block16b[16];
  uint32_t app_source_id;
  uint32_t group_smooth_id;
  uint64_t app_obj_id;
  uint32_t app_version;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
  uint8_t block32a[32];
  uint8_t block32b[32];
} FibDbNhpVpnSidRow;
#pragma pack(pop)

/* Packs item into row (FibDbNhpVpnSidRow, zeroed by the caller), and unpacks it again. The result is that of the last
 * block's copy, and a failed one stops nothing. */
FIBDB_API uint32_t FIB_DB_SetNhpVpnSidItem(void* row, const FibDbNhpVpnSidItem* item);
FIBDB_API uint32_t FIB_DB_GetNhpVpnSidItem(FibDbNhpVpnSidItem* item, const void* row);
/* key: room for the 28 bytes of the primary key. The result is that of the address's copy. */
FIBDB_API uint32_t FIB_DB_SetNhpVpnSidKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpVpnSidItem* item);

/* Inserts or replaces. Does not check item. */
FIBDB_API uint32_t FIB_DB_WriteNhpVpnSid(const FibDbNhpVpnSidItem* item);
/* Fills item by its primary key through the table service: call FIB_DB_TableRegisterInit (runtime.h) first. The
 * service's code, unlogged and uncounted; a missing record is 15005. */
FIBDB_API uint32_t FIB_DB_ReadNhpVpnSid(FibDbNhpVpnSidItem* item);
/* Does not check item. */
FIBDB_API uint32_t FIB_DB_RemoveNhpVpnSid(const FibDbNhpVpnSidItem* item);
/* Every record of this next hop. */
FIBDB_API uint32_t FIB_DB_RemoveNhpVpnSidByNhpIndex(uint32_t nhpIndex);

/* The two ByKey check no argument. A record that vanishes while it is read ends the reading with 15005, unlogged; the
 * items before it are filled and counted. */
FIBDB_API uint32_t FIB_DB_ReadNhpVpnSidByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen,
                                             FibDbNhpVpnSidItem* buf, uint32_t* count);
FIBDB_API uint32_t FIB_DB_ReadNhpVpnSidByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpVpnSidItem* buf,
                                                  uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhpVpnSidByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count);
/* Does not check count. */
FIBDB_API uint32_t FIB_DB_CountNhpVpnSidByNhpIndex(uint32_t nhpIndex, uint32_t* count);

/* Changes what setter stages in the record with item's primary key. The setter's own result is not looked at. */
FIBDB_API uint32_t FIB_DB_UpdateNhpVpnSidFields(const FibDbNhpVpnSidItem* item, FibDbFieldSetter setter);
/* Setters for partial updates. Context: both service contexts, the four states and error codes, time_stamp_svc; 0 or 1.
 * Flag: flags alone; the database's code. */
FIBDB_API uint32_t FIB_DB_SetNhpVpnSidContext(uint64_t obj, const FibDbNhpVpnSidItem* item);
FIBDB_API uint32_t FIB_DB_SetNhpVpnSidFlag(uint64_t obj, const FibDbNhpVpnSidItem* item);
/* FIB_DB_UpdateNhpVpnSidFields with the setter of that name. */
FIBDB_API uint32_t FIB_DB_UpdateNhpVpnSidContext(const FibDbNhpVpnSidItem* item);
FIBDB_API uint32_t FIB_DB_UpdateNhpVpnSidFlag(const FibDbNhpVpnSidItem* item);

/* These records have no vr_id: to the embedded engine any property but FIB_DB_NO_PROPERTY is an error. */
FIBDB_API FibDbIterator* FIB_DB_CreateNhpVpnSidIterator(uint32_t property);
/* Checks no argument. */
FIBDB_API FibDbIterator* FIB_DB_CreateNhpVpnSidIteratorByKey(const FibDbKeyDesc* desc, const void* key,
                                                             uint32_t property);
/* xsid, sid: 16 bytes in the form of the items' addresses. Not checked. */
FIBDB_API FibDbIterator* FIB_DB_CreateNhpVpnSidIteratorByXsidInfo(uint32_t key0, uint32_t key1, const uint8_t* xsid,
                                                                  uint8_t byte0, uint8_t byte1, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpVpnSidIteratorByVpnSid(uint32_t key0, uint32_t key1, const uint8_t* sid,
                                                                uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhpVpnSidIteratorByNhpIndex(uint32_t nhpIndex, uint32_t property);
/* 1, unlogged, for a record that vanishes while it is read, too. */
FIBDB_API uint32_t FIB_DB_GetNextNhpVpnSidEntry(FibDbIterator* handle, FibDbNhpVpnSidItem* item);
FIBDB_API void FIB_DB_ReleaseNhpVpnSidIterator(FibDbIterator* handle);

/* Index ids of the SRv6 traffic-engineering extensions. */
enum {
  FIB_DB_PP4EXT_SRV6_TE_PRIMARY = 0x00010021,      /* key_word1 to key_word4, addr, type_byte */
  FIB_DB_PP4EXT_SRV6_TE_BY_NHP_INDEX = 0x01090004, /* one word; the embedded engine takes key_word1 */
  /* Three words, one byte; the embedded engine takes key_word2 to key_word4, type_byte. */
  FIB_DB_PP4EXT_SRV6_TE_BY_POLICY_INFO = 0x0209000D
};

/* What SRv6 traffic engineering adds to a next hop. The two addresses are four 32-bit words each, in host byte order,
 * most significant word first. Stamps, states, contexts and blocks are the caller's: they are stored as given. */
typedef struct FibDbNhpSrv6TeItem {
  uint32_t key_word1;
  uint32_t key_word2;
  uint32_t key_word3;
  uint8_t addr[16];
  uint32_t key_word4; /* before addr in the key and in the row */
  uint8_t type_byte;
  uint8_t attr_byte1;
  uint32_t attr_word1;
  uint8_t addr2[16];
  uint32_t attr_word2;
  uint32_t attr_word3;
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio;
  uint8_t errcode_normal_prio;
  uint8_t attr_byte2;
  uint8_t attr_byte3;
  uint8_t svc_ctx_high_prio[16];
  uint8_t svc_ctx_normal_prio[16];
  uint8_t block1[16];
  uint8_t block2[16];
  uint32_t attr_word4;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
} FibDbNhpSrv6TeItem;

/* The same as the database stores it: byte-packed, 156 bytes, addresses in network byte order. */
#pragma pack(push, 1)
typedef struct FibDbNhpSrv6TeRow {
  uint32_t key_word1;
  uint32_t key_word2;
  uint32_t key_word3;
  uint32_t key_word4;
  uint8_t addr[16];
  uint8_t type_byte;
  uint8_t attr_byte1;
  uint8_t zero1[2];
  uint32_t attr_word1;
  uint8_t addr2[16];
  uint32_t attr_word2;
  uint32_t attr_word3;
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio;
  uint8_t errcode_normal_prio;
  uint8_t zero2[2];
  uint8_t attr_byte2;
  uint8_t attr_byte3;
  uint8_t svc_ctx_high_prio[16];
  uint8_t svc_ctx_normal_prio[16];
  uint8_t block1[16];
  uint8_t block2[16];
  uint32_t attr_word4;
  uint64_t time_stamp_app;
  uint64_t time_stamp_svc;
} FibDbNhpSrv6TeRow;
#pragma pack(pop)

/* Packs item into row (FibDbNhpSrv6TeRow, zeroed by the caller), and unpacks it again. The result is that of the last
 * block's copy, and a failed one stops nothing. */
FIBDB_API uint32_t FIB_DB_SetNhp4ExtSrv6TeItem(void* row, const FibDbNhpSrv6TeItem* item);
FIBDB_API uint32_t FIB_DB_GetNhp4ExtSrv6TeItem(FibDbNhpSrv6TeItem* item, const void* row);
/* key: room for the 33 bytes of the primary key. The result is that of the address's copy. */
FIBDB_API uint32_t FIB_DB_SetNhp4ExtSrv6TeKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpSrv6TeItem* item);

/* Inserts or replaces. Neither this nor the removal checks item. To read one record, read it ByKey. */
FIBDB_API uint32_t FIB_DB_WriteNhp4ExtSrv6Te(const FibDbNhpSrv6TeItem* item);
FIBDB_API uint32_t FIB_DB_RemoveNhpPp4ExtSrv6Te(const FibDbNhpSrv6TeItem* item);
/* Every record of this next hop. */
FIBDB_API uint32_t FIB_DB_RemoveNhp4ExtSrv6TeByNhpIndex(uint32_t nhpIndex);

/* The two ByKey check no argument. A record that vanishes while it is read ends the reading with 15005, unlogged; the
 * items before it are filled and counted. */
FIBDB_API uint32_t FIB_DB_ReadNhp4ExtSrv6TeByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen,
                                                 FibDbNhpSrv6TeItem* buf, uint32_t* count);
FIBDB_API uint32_t FIB_DB_ReadNhp4ExtSrv6TeByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpSrv6TeItem* buf,
                                                      uint32_t* count);
FIBDB_API uint32_t FIB_DB_CountNhp4ExtSrv6TeByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count);
/* Does not check count. */
FIBDB_API uint32_t FIB_DB_CountNhp4ExtSrv6TeByNhpIndex(uint32_t nhpIndex, uint32_t* count);

/* Changes what setter stages in the record with item's primary key. The setter's own result is not looked at. */
FIBDB_API uint32_t FIB_DB_UpdateNhp4ExtSrv6TeFields(const FibDbNhpSrv6TeItem* item, FibDbFieldSetter setter);
/* Setter of both service contexts, the four states and error codes, and time_stamp_svc; 0 or 1. */
FIBDB_API uint32_t FIB_DB_SetNhp4ExtSrv6TeContext(uint64_t obj, const FibDbNhpSrv6TeItem* item);
/* FIB_DB_UpdateNhp4ExtSrv6TeFields with it. */
FIBDB_API uint32_t FIB_DB_UpdateNhp4ExtSrv6TeContext(const FibDbNhpSrv6TeItem* item);

/* These records have no vr_id: to the embedded engine any property but FIB_DB_NO_PROPERTY is an error. */
FIBDB_API FibDbIterator* FIB_DB_CreateNhp4ExtSrv6TeIterator(uint32_t property);
/* Checks no argument. */
FIBDB_API FibDbIterator* FIB_DB_CreateNhp4ExtSrv6TeIteratorByKey(const FibDbKeyDesc* desc, const void* key,
                                                                 uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhp4ExtSrv6TeIterByPolicyInfo(uint32_t key0, uint32_t key1, uint32_t key2,
                                                                    uint8_t keyByte, uint32_t property);
FIBDB_API FibDbIterator* FIB_DB_CreateNhp4ExtSrv6TeIterByNhpIndex(uint32_t nhpIndex, uint32_t property);
/* 1, unlogged, for a record that vanishes while it is read, too. */
FIBDB_API uint32_t FIB_DB_GetNextNhp4ExtSrv6TeEntry(FibDbIterator* handle, FibDbNhpSrv6TeItem* item);
FIBDB_API void FIB_DB_ReleaseNhp4ExtSrv6TeIterator(FibDbIterator* handle);

#ifdef __cplusplus
}
#endif

#endif
