/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* fibdb/registered.h: tables reached through the table service. Call FIB_DB_TableRegisterInit (runtime.h) first.
 *
 * The service's codes are returned unchanged, a missing record (15005, not 60) and the end of an iteration (110012, not
 * 60) included; nothing is logged and nothing is counted. Functions that go to the object database instead say so.
 * Reads fill the item and leave it untouched on any failure; room in an item is neither stored nor filled.
 * A second create, or write, with the same primary key is the service's error, not a replace.
 * Iterators are the service's, NULL when it refuses; releasing NULL gives 0.
 * Rows are byte-packed. Time stamps: microseconds since the Unix epoch.
 */
#ifndef FIBDB_REGISTERED_H
#define FIBDB_REGISTERED_H

#include "fibdb/common.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Index ids of the AR group attributes. */
enum {
  FIB_DB_AR_GROUP_ATTR_PRIMARY = 0x00010009,          /* keyWord1, keyWord2, keyByte */
  FIB_DB_AR_GROUP_ATTR_BY_ATTR_ID = 0x01090008,       /* keyWord1, keyWord2 */
  FIB_DB_AR_GROUP_ATTR_BY_ORIGINATOR_ID = 0x03090009, /* originType, group type 1, originatorId */
  FIB_DB_AR_GROUP_ATTR_BY_ORIGIN_ASN = 0x04090009     /* originType, group type 1, originAsn */
};

/* originType of a group that is known by its originator id; any other type: by its origin AS number. */
enum { FIB_DB_AR_ORIGIN_ORIGINATOR = 1 };
/* The only group type that the origin keys select. */
enum { FIB_DB_AR_GROUP_TYPE = 1 };

/* Attributes of one AR group. */
typedef struct FibDbArGroupAttrItem {
  uint32_t keyWord1;
  uint32_t attrWord1;
  uint32_t keyWord2;
  uint8_t keyByte;
  uint8_t originType;
  uint32_t originatorId;
  uint32_t originAsn;
  uint32_t attrWord2;
  uint32_t groupType;
  uint8_t attrBytes1[12];
  uint8_t attrBytes2[8];
  uint8_t attrBytes3[16];
  uint8_t reserved1[16]; /* never stored, never filled */
  uint8_t attrBytes4[16];
  uint8_t reserved2[16]; /* never stored, never filled */
  uint32_t smoothId;
  uint64_t reserved3[2]; /* never stored, never filled */
} FibDbArGroupAttrItem;

/* The same as the database stores it, 120 bytes. */
#pragma pack(push, 1)
typedef struct FibDbArGroupAttrRow {
  uint32_t keyWord1;
  uint32_t keyWord2;
  uint8_t keyByte;
  uint8_t originType;
  uint8_t zero1[2];
  uint32_t attrWord1;
  uint32_t originatorId;
  uint32_t originAsn;
  uint32_t attrWord2;
  uint32_t groupType;
  uint8_t attrBytes1[12];
  uint8_t zero2[8];
  uint8_t attrBytes2[8];
  uint8_t zero3[8];
  uint8_t attrBytes3[16];
  uint8_t attrBytes4[16];
  uint32_t table_smooth_id;
  uint64_t time_stamp_create;
  uint64_t time_stamp_smooth;
} FibDbArGroupAttrRow;
#pragma pack(pop)

/* Packs item into row (FibDbArGroupAttrRow, zeroed by the caller) and stamps it; returns the stamp. */
FIBDB_API uint64_t FIB_DB_SetArGroupAttrFields(const FibDbArGroupAttrItem* item, void* row);
FIBDB_API void FIB_DB_GetArGroupAttrFields(const void* row, FibDbArGroupAttrItem* item);

/* Key builders: the index id and the packed key (8 or 9 bytes). */
FIBDB_API void FIB_DB_SetArGroupAttrPriKey(const FibDbArGroupAttrItem* item, uint32_t* indexId, void* key);
FIBDB_API void FIB_DB_SetArGroupAttrAttrIdHashKey(const FibDbArGroupAttrItem* item, uint32_t* indexId, void* key);
FIBDB_API void FIB_DB_SetArGroupAttrOriginatorIdHashKey(const FibDbArGroupAttrItem* item, uint32_t* indexId, void* key);
FIBDB_API void FIB_DB_SetArGroupAttrOriginAsnHashKey(const FibDbArGroupAttrItem* item, uint32_t* indexId, void* key);
/* Prepares query: group type 1, item's originType and the origin value that goes with it. */
FIBDB_API void FIB_DB_SetArGroupAttrGroupTypeHashKey(FibDbArGroupAttrItem* query, const FibDbArGroupAttrItem* item);
/* Update callback: stages smooth id and smooth time stamp. 1 for a NULL ctx, else 0 or the database's code. */
FIBDB_API uint32_t FIB_DB_SetArGroupAttrSmoothID(const FibDbUfibData* ctx, uint64_t obj);

FIBDB_API uint32_t FIB_DB_CreateArGroupAttr(const FibDbArGroupAttrItem* item);
FIBDB_API uint32_t FIB_DB_ReadArGroupAttr(FibDbArGroupAttrItem* item);
FIBDB_API uint32_t FIB_DB_ReadArGroupAttrByAttrIdHash(FibDbArGroupAttrItem* item);
FIBDB_API uint32_t FIB_DB_ReadArGroupAttrByGroupTypeHash(FibDbArGroupAttrItem* item);
FIBDB_API uint32_t FIB_DB_UpdateArGroupAttrSmoothId(const FibDbArGroupAttrItem* item);
FIBDB_API uint32_t FIB_DB_DeleteArGroupAttr(const FibDbArGroupAttrItem* item);
/* count must not be NULL. */
FIBDB_API uint32_t FIB_DB_CountArGroupAttrByGroupTypeHash(const FibDbArGroupAttrItem* item, uint32_t* count);

FIBDB_API void* FIB_DB_CreateArGroupAttrIterator(uint32_t property);
FIBDB_API void* FIB_DB_CreateArGroupAttrIteratorByOriginValue(const FibDbArGroupAttrItem* item, uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextArGroupAttrEntry(void* iter, FibDbArGroupAttrItem* item);
FIBDB_API uint32_t FIB_DB_ReleaseArGroupAttrIterator(void* iter);

/* Index ids of the primary attributes. */
enum {
  FIB_DB_PRI_ATTR_PRIMARY = 0x00010009, /* keyWord1, keyWord2, keyByte */
  FIB_DB_PRI_ATTR_BY_HASH = 0x01090008  /* keyWord1, keyWord2 */
};

/* Attributes of a member of a next-hop group. */
typedef struct FibDbPriAttrItem {
  uint32_t keyWord1;
  uint32_t attrWord1;
  uint32_t keyWord2;
  uint8_t keyByte;
  uint8_t attrByte;
  uint32_t attrWord2;
  uint32_t smoothId;
  uint64_t reserved[2]; /* never stored, never filled */
} FibDbPriAttrItem;

/* The same as the database stores it, 40 bytes. */
#pragma pack(push, 1)
typedef struct FibDbPriAttrRow {
  uint32_t keyWord1;
  uint32_t keyWord2;
  uint8_t keyByte;
  uint8_t attrByte;
  uint8_t zero[2];
  uint32_t attrWord1;
  uint32_t attrWord2;
  uint32_t table_smooth_id;
  uint64_t time_stamp_create;
  uint64_t time_stamp_smooth;
} FibDbPriAttrRow;
#pragma pack(pop)

/* Packs item into row (FibDbPriAttrRow, zeroed by the caller) and stamps it; returns the stamp. */
FIBDB_API uint64_t FIB_DB_SetPriAttrFields(const FibDbPriAttrItem* item, void* row);
FIBDB_API void FIB_DB_GetPriAttrFields(const void* row, FibDbPriAttrItem* item);
/* Key builders: the index id and the packed key (9 and 8 bytes). */
FIBDB_API void FIB_DB_SetPriAttrPriKey(const FibDbPriAttrItem* item, uint32_t* indexId, void* key);
FIBDB_API void FIB_DB_SetPriAttrHashKey(const FibDbPriAttrItem* item, uint32_t* indexId, void* key);
/* Sets both key words, from the identifiers of a group member. */
FIBDB_API void FIB_DB_SetPriAttrKeyByNhpGrpNode(FibDbPriAttrItem* item, uint32_t first, uint32_t second);
/* Update callback: stages smooth id and smooth time stamp. 1 for a NULL ctx, else 0 or the database's code. */
FIBDB_API uint32_t FIB_DB_SetPriAttrSmoothID(const FibDbUfibData* ctx, uint64_t obj);

FIBDB_API uint32_t FIB_DB_CreatePriAttr(const FibDbPriAttrItem* item);
FIBDB_API uint32_t FIB_DB_ReadPriAttr(FibDbPriAttrItem* item);
/* One of the records that share both key words. */
FIBDB_API uint32_t FIB_DB_ReadPriAttrByHash(FibDbPriAttrItem* item);
FIBDB_API uint32_t FIB_DB_UpdatePriAttrSmoothId(const FibDbPriAttrItem* item);
FIBDB_API uint32_t FIB_DB_DeletePriAttr(const FibDbPriAttrItem* item);
FIBDB_API void* FIB_DB_CreatePriAttrIterator(uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextPriAttrEntry(void* iter, FibDbPriAttrItem* item);
FIBDB_API uint32_t FIB_DB_ReleasePriAttrIterator(void* iter);

/* Index ids of the rules of on-demand routes. */
enum {
  FIB_DB_DOD_RULE_PRIMARY = 0x0001000D, /* ruleKey1, ruleKey2, ruleKey3, ruleKeyLen */
  FIB_DB_DOD_RULE_LONGEST = 0x0105000D  /* the same, the longest prefix of ruleKey3 */
};

/* A rule of on-demand routes; the row is the item. */
typedef struct FibDbDodRuleItem {
  uint32_t ruleKey1;
  uint32_t ruleKey2;
  uint32_t ruleKey3;  /* an address */
  uint8_t ruleKeyLen; /* bits of its mask */
  uint8_t ruleFlag;
  uint8_t reserved[2]; /* stored as given, never filled */
  uint8_t ruleData[68];
  uint32_t smoothId;
  uint64_t ruleStamp1; /* as given: nothing here is stamped by the library */
  uint64_t ruleStamp2;
} FibDbDodRuleItem;

/* All fields but the reserved bytes; row is a FibDbDodRuleItem. */
FIBDB_API void FIB_DB_GetDodRuleFields(const void* row, FibDbDodRuleItem* item);
/* Key builder: the index id and the packed key (13 bytes). */
FIBDB_API void FIB_DB_SetDodRulePriKey(const FibDbDodRuleItem* item, uint32_t* indexId, void* key);
/* Update callback: stages the smooth id alone. 1 for a NULL ctx, else 0 or the database's code. */
FIBDB_API uint32_t FIB_DB_SetDodRuleSmoothID(const FibDbUfibData* ctx, uint64_t obj);

FIBDB_API uint32_t FIB_DB_CreatDodRule(const FibDbDodRuleItem* item);
FIBDB_API uint32_t FIB_DB_ReadDodRule(FibDbDodRuleItem* item);
/* The rule with the longest prefix that covers the item's key; FIB_DB_NO_ROUTE when there is none. Goes to the object
 * database, whose other codes are returned unchanged; nothing is logged and nothing is counted here either. */
FIBDB_API uint32_t FIB_DB_ReadDodRuleByLpm(FibDbDodRuleItem* item);
FIBDB_API uint32_t FIB_DB_UpdateDodRuleSmthId(const FibDbDodRuleItem* item);
FIBDB_API uint32_t FIB_DB_DeleteDodRule(const FibDbDodRuleItem* item);
FIBDB_API void* FIB_DB_CreateDodRuleIterator(uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextDodRuleEntry(void* iter, FibDbDodRuleItem* item);
FIBDB_API uint32_t FIB_DB_ReleaseDodRuleIterator(void* iter);

/* Index id of the aging records of on-demand routes: agingKey. */
enum { FIB_DB_DOD_AGING_PRIMARY = 0x00010004 };

/* An aging record of on-demand routes. */
typedef struct FibDbDodAgingItem {
  uint32_t agingKey;
  uint32_t agingWord1;
  uint32_t agingWord2;
  uint32_t agingWord3;
  uint32_t agingWord4;
} FibDbDodAgingItem;

/* The same as the database stores it, 22 bytes. */
#pragma pack(push, 1)
typedef struct FibDbDodAgingRow {
  uint32_t agingKey;
  uint32_t agingWord1;
  uint32_t agingWord2;
  uint32_t agingWord3;
  uint32_t agingWord4;
  uint8_t zero[2];
} FibDbDodAgingRow;
#pragma pack(pop)

FIBDB_API void FIB_DB_GetDodAgingFields(const void* row, FibDbDodAgingItem* item);
FIBDB_API void FIB_DB_SetDodAgingPriKey(const FibDbDodAgingItem* item, uint32_t* indexId, uint32_t* key);

FIBDB_API uint32_t FIB_DB_CreateDodAging(const FibDbDodAgingItem* item);
FIBDB_API uint32_t FIB_DB_ReadDodAging(FibDbDodAgingItem* item);
FIBDB_API uint32_t FIB_DB_DeleteDodAging(const FibDbDodAgingItem* item);
FIBDB_API void* FIB_DB_CreateDodAgingIterator(uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextDodAgingEntry(void* iter, FibDbDodAgingItem* item);
FIBDB_API uint32_t FIB_DB_ReleaseDodAgingIterator(void* iter);

/* Index id of the special addresses: specialKey. */
enum { FIB_DB_SPECIAL_IP_PRIMARY = 0x00010004 };

/* A special address. The row has the same layout, with zeros for the room. */
typedef struct FibDbSpecialIpItem {
  uint32_t specialKey;
  uint32_t specialWord;
  uint8_t specialByte;
  uint8_t reserved[3]; /* never stored, never filled */
  uint8_t specialPart1[2];
  uint8_t specialPart2[2];
} FibDbSpecialIpItem;

/* Gives what the checked copy of specialPart2 gave. */
FIBDB_API uint32_t FIB_DB_GetSpecialIpFields(const void* row, FibDbSpecialIpItem* item);
FIBDB_API void FIB_DB_SetSpecialIpPriKey(const FibDbSpecialIpItem* item, uint32_t* indexId, uint32_t* key);

/* Creates the record, and refuses one that exists, like the Create functions of the other tables. */
FIBDB_API uint32_t FIB_DB_WriteSpecialIp(const FibDbSpecialIpItem* item);
FIBDB_API uint32_t FIB_DB_ReadSpecialIp(FibDbSpecialIpItem* item);
FIBDB_API uint32_t FIB_DB_DeleteSpecialIp(const FibDbSpecialIpItem* item);
FIBDB_API void* FIB_DB_CreateSpecialIpIterator(uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextSpecialEntry(void* iter, FibDbSpecialIpItem* item);
FIBDB_API uint32_t FIB_DB_ReleaseSpecialIpIterator(void* iter);

/* Index id of the sub-entries of special addresses: subKey1, subKey2, subKeyByte. */
enum { FIB_DB_SPECIAL_IP_SUB_PRIMARY = 0x00010009 };

/* A sub-entry of a special address. */
typedef struct FibDbSpecialIpSubItem {
  uint32_t subKey1;
  uint32_t subKey2;
  uint32_t reserved1[3]; /* never stored, never filled */
  uint32_t subWord;
  uint8_t subKeyByte;
  uint8_t subByte1;
  uint8_t subByte2;
  uint8_t reserved2; /* never stored, never filled */
  uint8_t subData[64];
} FibDbSpecialIpSubItem;

/* The same as the database stores it, 80 bytes. */
#pragma pack(push, 1)
typedef struct FibDbSpecialIpSubRow {
  uint32_t subKey1;
  uint32_t subKey2;
  uint8_t subKeyByte;
  uint8_t subByte1;
  uint8_t subByte2;
  uint8_t zero;
  uint32_t subWord;
  uint8_t subData[64];
} FibDbSpecialIpSubRow;
#pragma pack(pop)

/* Gives what the checked copy of subData gave. */
FIBDB_API uint32_t FIB_DB_GetSpecialIpSubFields(const void* row, FibDbSpecialIpSubItem* item);
/* Key builder: the index id and the packed key (9 bytes). */
FIBDB_API void FIB_DB_SetSpecialIpSubPriKey(const FibDbSpecialIpSubItem* item, uint32_t* indexId, void* key);

/* Creates the record, as above. */
FIBDB_API uint32_t FIB_DB_WriteSpecialIpSub(const FibDbSpecialIpSubItem* item);
FIBDB_API uint32_t FIB_DB_ReadSpecialIpSub(FibDbSpecialIpSubItem* item);
FIBDB_API uint32_t FIB_DB_DeleteSpecialIpSub(const FibDbSpecialIpSubItem* item);
FIBDB_API void* FIB_DB_CreateSpecialIpSubIterator(uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextSpecialIpSubEntry(void* iter, FibDbSpecialIpSubItem* item);
FIBDB_API uint32_t FIB_DB_ReleaseSpecialIpSubIterator(void* iter);

/* Index ids of the VRF class data. */
enum {
  FIB_DB_VRF_CLASS_DATA_PRIMARY = 0x00010010,      /* table_id, producer_pid, vr_id, vrf_index */
  FIB_DB_VRF_CLASS_DATA_BY_SMOOTH_END = 0x0309000C /* table_id, vrf_state, smooth_flag */
};

/* How far a producer's data of a VRF have come. */
typedef struct FibDbVrfClassDataItem {
  uint32_t table_id;
  uint32_t producer_pid;
  uint32_t vr_id;
  uint32_t vrf_index;
  uint32_t topology_id;
  uint32_t vrf_state;
  uint32_t vrf_data_machine;
  uint32_t vrf_state_version;
  uint32_t vrf_data_version;
  uint32_t smooth_flag;
  uint64_t time_stamp_verify_begin;
  uint64_t time_stamp_verify_end;
  uint64_t time_stamp_age_begin;
  uint64_t time_stamp_age_end;
} FibDbVrfClassDataItem;

FIBDB_API void FIB_DB_SetVrfClassDataKey(FibDbVrfClassDataItem* item, uint32_t tableId, uint32_t producerPid,
                                         uint32_t vrId, uint32_t vrfIndex);
/* Key builders: the index id and the packed key (16 and 12 bytes). */
FIBDB_API void FIB_DB_SetVrfClassDataKeyField(uint32_t* indexId, void* key, const FibDbVrfClassDataItem* item);
FIBDB_API void FIB_DB_SetVrfClassDataSmoothEndHashKey(const FibDbVrfClassDataItem* item, uint32_t* indexId, void* key);
/* Fills item from the record that obj stands on: all that can be read, and the results of all getters or-ed together,
 * logged when not 0. 1 for a NULL item. */
FIBDB_API uint32_t FIB_DB_GetVrfClassDataItem(uint64_t obj, FibDbVrfClassDataItem* item);

/* From the object database: FIB_DB_NOT_FOUND for a missing record; other failures are logged, counted and returned as
 * they are. A field that cannot be read is logged, and leaves the read a success. */
FIBDB_API uint32_t FIB_DB_ReadVrfClassData(FibDbVrfClassDataItem* item);
/* How many share item's table_id, vrf_state and smooth_flag. Neither argument may be NULL. */
FIBDB_API uint32_t FIB_DB_CountVrfClassDataByKey(const FibDbVrfClassDataItem* item, uint32_t* count);

/* Index id of the bindings of forwarding virtual systems to VPNs: fwdKey. */
enum { FIB_DB_FWD_VS_VPN_PRIMARY = 0x00010004 };

/* A binding of a forwarding virtual system to a VPN; the row has the same layout. */
typedef struct FibDbFwdVsVpnItem {
  uint32_t fwdKey;
  uint32_t fwdWord;
  uint8_t fwdBlock1[32];
  uint8_t fwdBlock2[32];
  uint32_t fwdWord2;
  uint16_t fwdHalf1;
  uint16_t fwdHalf2;
  uint64_t fwdTimeStamp; /* of the creation, whatever the item says then */
} FibDbFwdVsVpnItem;

FIBDB_API void FIB_DB_GetFwdVsVpnFields(const void* row, FibDbFwdVsVpnItem* item);
FIBDB_API void FIB_DB_SetFwdVsVpnPriKey(const FibDbFwdVsVpnItem* item, uint32_t* indexId, uint32_t* key);

FIBDB_API uint32_t FIB_DB_CreateFwdVsVpn(const FibDbFwdVsVpnItem* item);
FIBDB_API uint32_t FIB_DB_ReadFwdVsVpn(FibDbFwdVsVpnItem* item);
FIBDB_API uint32_t FIB_DB_DeleteFwdVsVpn(const FibDbFwdVsVpnItem* item);

/* Index id of the forced fragmentation: vr_id. */
enum { FIB_DB_FORCE_FRAG_PRIMARY = 0x00010004 };

/* Forced fragmentation of a virtual router. */
typedef struct FibDbForceFragItem {
  uint32_t vrId;
  uint32_t enable;
  uint8_t statusHigh;
  uint8_t statusNormal;
  uint8_t errcodeHigh;
  uint8_t errcodeNormal;
} FibDbForceFragItem;

/* The same as the database stores it, 20 bytes. */
#pragma pack(push, 1)
typedef struct FibDbForceFragRow {
  uint32_t vr_id;
  uint32_t enable;
  uint8_t status_high_prio;
  uint8_t status_normal_prio;
  uint8_t errcode_high_prio;
  uint8_t errcode_normal_prio;
  uint64_t time_stamp_create;
} FibDbForceFragRow;
#pragma pack(pop)

FIBDB_API void FIB_DB_GetForceFragFields(const void* row, FibDbForceFragItem* item);

/* Through the object database: inserts or replaces, and stamps. Failures are logged, and not counted; a field that
 * cannot be set gives FIB_DB_ERR, any other failure is returned as it is. */
FIBDB_API uint32_t FIB_DB_WriteIpForceFrag(const FibDbForceFragItem* item);
/* From the object database: FIB_DB_NOT_FOUND for a missing record; other failures are logged, not counted, and returned
 * as they are. A field that cannot be read gives FIB_DB_ERR silently, and the item may be filled in part. */
FIBDB_API uint32_t FIB_DB_ReadIpForceFrag(FibDbForceFragItem* item);
FIBDB_API void* FIB_DB_CreateIpForceFragIterator(uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextForceFragEntry(void* iter, FibDbForceFragItem* item);
FIBDB_API uint32_t FIB_DB_ReleaseIpForceFragIterator(void* iter);

/* Index id of the host routes of the virtual management interface: hostKey. */
enum { FIB_DB_VIRTUAL_METH_HOST_PRIMARY = 0x00010004 };

/* A host route of the virtual management interface. */
typedef struct FibDbVirtualMethHostItem {
  uint32_t hostKey;
  uint32_t hostWord;
  uint8_t hostByte1;
  uint8_t hostByte2;
  uint64_t hostValue;
} FibDbVirtualMethHostItem;

/* The same as the database stores it, 20 bytes. */
#pragma pack(push, 1)
typedef struct FibDbVirtualMethHostRow {
  uint32_t hostKey;
  uint32_t hostWord;
  uint8_t hostByte1;
  uint8_t hostByte2;
  uint8_t zero[2];
  uint64_t hostValue;
} FibDbVirtualMethHostRow;
#pragma pack(pop)

FIBDB_API void FIB_DB_GetVirtualMethHostFields(const void* row, FibDbVirtualMethHostItem* item);
FIBDB_API void FIB_DB_SetVirtualMethHostPriKey(const FibDbVirtualMethHostItem* item, uint32_t* indexId, uint32_t* key);

FIBDB_API uint32_t FIB_DB_CreateVirtualMethHost(const FibDbVirtualMethHostItem* item);
FIBDB_API uint32_t FIB_DB_ReadVirtualMethHost(FibDbVirtualMethHostItem* item);
FIBDB_API uint32_t FIB_DB_DeleteVirtualMethHost(const FibDbVirtualMethHostItem* item);
FIBDB_API void* FIB_DB_CreateVirtualMethHostIterator(uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextVirtualMethHostEntry(void* iter, FibDbVirtualMethHostItem* item);
FIBDB_API uint32_t FIB_DB_ReleaseVirtualMethHostIterator(void* iter);

/* Index id of the IPv4 default routes: fvrf_index. */
enum { FIB_DB_RE4_DEFAULT_PRIMARY = 0x00010004 };

/* The IPv4 default route of a forwarding VRF. This table is not registered: all its functions go to the object
 * database, and log and count what fails. The library does not read it. */
typedef struct FibDbRe4DefaultItem {
  uint32_t fvrfIndex;
  uint8_t statusHigh;
  uint8_t statusNormal;
  uint64_t sysTime; /* as given: nothing here is stamped by the library */
} FibDbRe4DefaultItem;

/* Stages all fields; FIB_DB_ERR, logged, when one cannot be set. */
FIBDB_API uint32_t FIB_DB_SetRe4DefaultItem(uint64_t obj, const FibDbRe4DefaultItem* item);
/* Inserts or replaces. */
FIBDB_API uint32_t FIB_DB_WriteRe4Default(const FibDbRe4DefaultItem* item);
FIBDB_API uint32_t FIB_DB_RemoveRe4Default(const uint32_t* fvrfIndex);

#ifdef __cplusplus
}
#endif

#endif
