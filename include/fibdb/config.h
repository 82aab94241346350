/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* fibdb/config.h: forwarding configuration: one ECMP record and one global record per virtual router, and the settings
 * in them one by one. The result processors of both are declared in runtime.h.
 *
 * A record has scalar fields and child nodes, groups of fields that are written and read together. Functions of a
 * setting X, with a value of the type that its prototypes show:
 *  - Get X: fills *value from the record that obj stands on. 0, or 1 with a logged code.
 *  - Set X: stages *value on obj; a FibDbEcmpCfgSetter by a cast of its second argument. 0, or 1 with a logged code.
 *  - Read X: the same as Get for the record of *vrId. 1 when there is none.
 *  - Write X: writes a whole new record for *vrId, with the library's defaults and this one setting. An existing record
 *    is replaced; nothing of it stays.
 *  - Update X: changes this one setting of the existing record.
 * vrId is a pointer; NULL is 1. Pointers to values and nodes are not checked. No setting has a range that the library
 * would check.
 *
 * validFlags of a record that was read: a set bit is a part that is valid.
 */
#ifndef FIBDB_CONFIG_H
#define FIBDB_CONFIG_H

#include "fibdb/common.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Index ids: the virtual router, in both tables. */
enum { FIB_DB_ECMP_CFG_PRIMARY = 0x00010004, FIB_DB_GLOBAL_CFG_PRIMARY = 0x00010004 };

/* Stages on obj what data says, or fills data from the record that obj stands on; data is what the caller of the write,
 * update or read handed over. 0, or anything else for a failure. */
typedef uint32_t (*FibDbEcmpCfgSetter)(uint64_t obj, const void* data);
typedef uint32_t (*FibDbEcmpCfgGetter)(uint64_t obj, void* data);

/* Child nodes. The first word of each is the caller's: the library neither reads nor writes it. The one-byte fields are
 * switches: the field takes part in the hash, or not. */
/* Which packet fields enter the hash. */
typedef struct FibDbEcmpProc {
  uint32_t callerWord;
  uint32_t profileId;
  uint8_t sip;
  uint8_t dip;
  uint8_t vlan;
  uint8_t l4sport;
  uint8_t l4dport;
  uint8_t protocol;
  uint8_t flowlabel;
  uint8_t sport;
  uint8_t dscp;
  uint8_t dpcf;
} FibDbEcmpProc;

typedef struct FibDbNvo3VxlanHash {
  uint32_t callerWord;
  uint32_t profileId;
  uint8_t sip;
  uint8_t dip;
  uint8_t l4sport;
  uint8_t l4dport;
  uint8_t protocol;
  uint8_t srcIntf;
  uint8_t vni;
} FibDbNvo3VxlanHash;

typedef struct FibDbEcmpTunnel {
  uint32_t callerWord;
  uint32_t profileId;
  uint8_t innerSip;
  uint8_t innerDip;
  uint8_t srcPort;
  uint8_t dstPort;
  uint8_t protocol;
  uint8_t srcIntf;
  uint8_t srcMac;
  uint8_t dstMac;
  uint32_t ecmpInnerHashFlag;
  uint8_t includeErspan;
} FibDbEcmpTunnel;

typedef struct FibDbEcmpHashMode {
  uint32_t callerWord;
  uint32_t hashmode;
  uint32_t overlay_hashmode;
  uint32_t underlay_hashmode;
} FibDbEcmpHashMode;

typedef struct FibDbEcmpUniversalId {
  uint32_t callerWord;
  uint32_t globalUniversalId;
  uint32_t underlayUniversalId;
  uint32_t overlayUniversalId;
  uint32_t globalRandom;
  uint32_t underlayRandom;
  uint32_t overlayRandom;
} FibDbEcmpUniversalId;

typedef struct FibDbEcmpSeed {
  uint32_t callerWord;
  uint32_t globalSeed;
  uint32_t underlaySeed;
  uint32_t overlaySeed;
} FibDbEcmpSeed;

/* The value of vxlanOverlayMode, localEnhanced, localChassis and gtpTeid that means: not set. */
#define FIB_DB_ECMP_NOT_SET 0xFFFFFFFFu

/* Bits of validFlags of the ECMP record. All 32 are set but for those whose part could not be read, or is not set; all
 * are clear when a scalar field could not be read. */
enum {
  FIB_DB_ECMP_PROC_VALID = 0x1,
  FIB_DB_ECMP_NVO3_VXLAN_HASH_VALID = 0x2,
  FIB_DB_ECMP_TUNNEL_VALID = 0x4,
  FIB_DB_ECMP_HASH_MODE_VALID = 0x8,
  FIB_DB_ECMP_UNIVERSAL_ID_VALID = 0x10,
  FIB_DB_ECMP_SEED_VALID = 0x40,
  FIB_DB_ECMP_VXLAN_OVERLAY_MODE_VALID = 0x80,
  FIB_DB_ECMP_LOCAL_ENHANCED_VALID = 0x100,
  FIB_DB_ECMP_LOCAL_CHASSIS_VALID = 0x200,
  FIB_DB_ECMP_GTP_TEID_VALID = 0x2000
};

/* The ECMP record of a virtual router. */
typedef struct FibDbEcmpCfgItem {
  uint32_t validFlags;
  uint32_t vrId;
  FibDbEcmpProc proc;
  FibDbNvo3VxlanHash nvo3VxlanHash;
  FibDbEcmpTunnel tunnel;
  FibDbEcmpHashMode hashMode;
  FibDbEcmpUniversalId universalId;
  uint8_t hashBala; /* hash balance */
  uint8_t statefulEnhanced;
  uint8_t railGroupEnable;
  uint8_t hasRailGroupMember;
  FibDbEcmpSeed seed;
  uint32_t vxlanOverlayMode;
  uint32_t localEnhanced; /* local-preference enhancement */
  uint32_t localChassis;
  uint32_t dlbGapTime; /* dynamic load balancing */
  uint32_t gtpTeid;    /* GTP TEID hashing */
  uint8_t dpfrEnable;
  uint8_t vxlanOverlayHashStateful;
  uint8_t rocev2PerPacket; /* per-packet spraying for RoCEv2 */
  uint8_t perPacket;       /* per-packet spraying */
  uint16_t statefulNum;    /* stateful ECMP number */
  uint8_t perPacketMode;
  uint8_t dlbEnable; /* dynamic load balancing */
} FibDbEcmpCfgItem;

FIBDB_API void FIB_DB_FillEcmpCfgPrimaryKey(uint32_t* indexId, uint32_t* key, uint32_t vrId);

/* Stages the defaults of a new record: the four settings that can be not set are, dlbGapTime is 2000, perPacketMode 1.
 * The results of the setters, ORed. */
FIBDB_API uint32_t FIB_DB_InitEcmpCfg(uint64_t obj);
/* Clears the bits of validFlags whose settings are not set. */
FIBDB_API void FIB_DB_HandleEcmpCfgDefaultValue(FibDbEcmpCfgItem* item);
/* Fills item from the record that obj stands on; validFlags says what became of its parts. The result means nothing. */
FIBDB_API uint32_t FIB_DB_GetEcmpCfgItem(uint64_t obj, FibDbEcmpCfgItem* item);

/* 0 with an object that stands on the record, for the caller to release; 60 when there is none, 1 on failure. */
FIBDB_API uint32_t FIB_DB_ReadEcmpCfgCommon(uint32_t vrId, uint64_t* outObj);
/* 1 when there is a record, or vrId is NULL; 0 when there is none, or none could be read. */
FIBDB_API uint32_t FIB_DB_IsEcmpCfgExist(const uint32_t* vrId);
/* Fills item by its vrId. 1 when there is no record. */
FIBDB_API uint32_t FIB_DB_ReadEcmpCfg(FibDbEcmpCfgItem* item);
/* Hands the record of *vrId and data to getter; the status is the getter's. 1 when there is no record, or a NULL vrId
 * or getter. */
FIBDB_API uint32_t FIB_DB_ReadEcmpCfgInfo(const uint32_t* vrId, void* data, FibDbEcmpCfgGetter getter);
/* Writes a whole new record: *vrId, the defaults, then what setter stages. 1 when a field fails, or for a NULL vrId or
 * setter; else the database's code. */
FIBDB_API uint32_t FIB_DB_WriteEcmpCfg(const uint32_t* vrId, const void* data, FibDbEcmpCfgSetter setter);
/* Changes what setter stages. The setter's status when it fails; 1 for any failure of the database. */
FIBDB_API uint32_t FIB_DB_UpdateEcmpCfg(const uint32_t* vrId, const void* data, FibDbEcmpCfgSetter setter);
FIBDB_API uint32_t FIB_DB_RemoveEcmpCfg(const uint32_t* vrId);

/* NULL on failure. vrId: the only router to visit, or FIB_DB_NO_PROPERTY for all. */
FIBDB_API FibDbIterator* FIB_DB_CreateEcmpCfgIterator(uint32_t vrId);
FIBDB_API uint32_t FIB_DB_GetNextEcmpCfg(FibDbIterator* handle, FibDbEcmpCfgItem* item);
FIBDB_API void FIB_DB_ReleaseEcmpCfgIterator(FibDbIterator* handle);

/* Settings of the ECMP record. */
FIBDB_API uint32_t FIB_DB_GetEcmpGtpTeid(uint64_t obj, uint32_t* value);
FIBDB_API uint32_t FIB_DB_SetEcmpGtpTeid(uint64_t obj, const uint32_t* value);
FIBDB_API uint32_t FIB_DB_ReadEcmpGtpTeid(const uint32_t* vrId, uint32_t* value);
FIBDB_API uint32_t FIB_DB_WriteEcmpGtpTeid(const uint32_t* vrId, uint32_t value);
FIBDB_API uint32_t FIB_DB_UpdateEcmpGtpTeid(const uint32_t* vrId, uint32_t value);

FIBDB_API uint32_t FIB_DB_GetEcmpHashBala(uint64_t obj, uint8_t* value);
FIBDB_API uint32_t FIB_DB_SetEcmpHashBala(uint64_t obj, const uint8_t* value);
FIBDB_API uint32_t FIB_DB_ReadEcmpHashBala(const uint32_t* vrId, uint8_t* value);
FIBDB_API uint32_t FIB_DB_WriteEcmpHashBala(const uint32_t* vrId, uint8_t value);
FIBDB_API uint32_t FIB_DB_UpdateEcmpHashBala(const uint32_t* vrId, uint8_t value);

FIBDB_API uint32_t FIB_DB_GetStatefulEnhanced(uint64_t obj, uint8_t* value);
FIBDB_API uint32_t FIB_DB_SetStatefulEnhanced(uint64_t obj, const uint8_t* value);
FIBDB_API uint32_t FIB_DB_ReadStatefulEnhanced(const uint32_t* vrId, uint8_t* value);
FIBDB_API uint32_t FIB_DB_WriteStatefulEnhanced(const uint32_t* vrId, uint8_t value);
FIBDB_API uint32_t FIB_DB_UpdateStatefulEnhanced(const uint32_t* vrId, uint8_t value);

/* Neither Get nor Read. */
FIBDB_API uint32_t FIB_DB_SetVxlanHashStateful(uint64_t obj, const uint8_t* value);
FIBDB_API uint32_t FIB_DB_WriteVxlanHashStateful(const uint32_t* vrId, uint8_t value);
FIBDB_API uint32_t FIB_DB_UpdateVxlanHashStateful(const uint32_t* vrId, uint8_t value);

FIBDB_API uint32_t FIB_DB_GetRailGroupEnable(uint64_t obj, uint8_t* value);
FIBDB_API uint32_t FIB_DB_SetRailGroupEnable(uint64_t obj, const uint8_t* value);
FIBDB_API uint32_t FIB_DB_ReadRailGroupEnable(const uint32_t* vrId, uint8_t* value);
FIBDB_API uint32_t FIB_DB_WriteRailGroupEnable(const uint32_t* vrId, uint8_t value);
FIBDB_API uint32_t FIB_DB_UpdateRailGroupEnable(const uint32_t* vrId, uint8_t value);

FIBDB_API uint32_t FIB_DB_GetHasRailGroupMem(uint64_t obj, uint8_t* value);
FIBDB_API uint32_t FIB_DB_SetHasRailGroupMem(uint64_t obj, const uint8_t* value);
FIBDB_API uint32_t FIB_DB_ReadHasRailGroupMem(const uint32_t* vrId, uint8_t* value);
FIBDB_API uint32_t FIB_DB_WriteHasRailGroupMem(const uint32_t* vrId, uint8_t value);
FIBDB_API uint32_t FIB_DB_UpdateHasRailGroupMem(const uint32_t* vrId, uint8_t value);

FIBDB_API uint32_t FIB_DB_GetVxlanOverlayMode(uint64_t obj, uint32_t* value);
FIBDB_API uint32_t FIB_DB_SetVxlanOverlayMode(uint64_t obj, const uint32_t* value);
FIBDB_API uint32_t FIB_DB_ReadVxlanOverlayMode(const uint32_t* vrId, uint32_t* value);
FIBDB_API uint32_t FIB_DB_WriteVxlanOverlayMode(const uint32_t* vrId, uint32_t value);
FIBDB_API uint32_t FIB_DB_UpdateVxlanOverlayMode(const uint32_t* vrId, uint32_t value);

FIBDB_API uint32_t FIB_DB_GetEcmpDlbGapTime(uint64_t obj, uint32_t* value);
FIBDB_API uint32_t FIB_DB_SetEcmpDlbGapTime(uint64_t obj, const uint32_t* value);
FIBDB_API uint32_t FIB_DB_ReadEcmpDlbGapTime(const uint32_t* vrId, uint32_t* value);
FIBDB_API uint32_t FIB_DB_WriteEcmpDlbGapTime(const uint32_t* vrId, uint32_t value);
FIBDB_API uint32_t FIB_DB_UpdateEcmpDlbGapTime(const uint32_t* vrId, uint32_t value);

FIBDB_API uint32_t FIB_DB_GetEcmpLocalEnhanced(uint64_t obj, uint32_t* value);
FIBDB_API uint32_t FIB_DB_SetEcmpLocalEnhanced(uint64_t obj, const uint32_t* value);
FIBDB_API uint32_t FIB_DB_ReadEcmpLocalEnhanced(const uint32_t* vrId, uint32_t* value);
FIBDB_API uint32_t FIB_DB_WriteEcmpLocalEnhanced(const uint32_t* vrId, uint32_t value);
FIBDB_API uint32_t FIB_DB_UpdateEcmpLocalEnhanced(const uint32_t* vrId, uint32_t value);

FIBDB_API uint32_t FIB_DB_GetEcmpLocalChassis(uint64_t obj, uint32_t* value);
FIBDB_API uint32_t FIB_DB_SetEcmpLocalChassis(uint64_t obj, const uint32_t* value);
FIBDB_API uint32_t FIB_DB_ReadEcmpLocalChassis(const uint32_t* vrId, uint32_t* value);
FIBDB_API uint32_t FIB_DB_WriteEcmpLocalChassis(const uint32_t* vrId, uint32_t value);
FIBDB_API uint32_t FIB_DB_UpdateEcmpLocalChassis(const uint32_t* vrId, uint32_t value);

/* Neither Get nor Read; the setter is named differently. */
FIBDB_API uint32_t FIB_DB_SetEcmpDpfrStatus(uint64_t obj, const uint8_t* value);
FIBDB_API uint32_t FIB_DB_WriteEcmpDpfrEnable(const uint32_t* vrId, uint8_t value);
FIBDB_API uint32_t FIB_DB_UpdateEcmpDpfrEnable(const uint32_t* vrId, uint8_t value);

FIBDB_API uint32_t FIB_DB_GetRocev2PerPacket(uint64_t obj, uint8_t* value);
FIBDB_API uint32_t FIB_DB_SetRocev2PerPacket(uint64_t obj, const uint8_t* value);
FIBDB_API uint32_t FIB_DB_ReadRocev2PerPacket(const uint32_t* vrId, uint8_t* value);
FIBDB_API uint32_t FIB_DB_WriteRocev2PerPacket(const uint32_t* vrId, uint8_t value);
FIBDB_API uint32_t FIB_DB_UpdateRocev2PerPacket(const uint32_t* vrId, uint8_t value);

FIBDB_API uint32_t FIB_DB_GetPerPacket(uint64_t obj, uint8_t* value);
FIBDB_API uint32_t FIB_DB_SetPerPacket(uint64_t obj, const uint8_t* value);
FIBDB_API uint32_t FIB_DB_ReadPerPacket(const uint32_t* vrId, uint8_t* value);
FIBDB_API uint32_t FIB_DB_WritePerPacket(const uint32_t* vrId, uint8_t value);
FIBDB_API uint32_t FIB_DB_UpdatePerPacket(const uint32_t* vrId, uint8_t value);

FIBDB_API uint32_t FIB_DB_GetPerPacketMode(uint64_t obj, uint8_t* value);
FIBDB_API uint32_t FIB_DB_SetPerPacketMode(uint64_t obj, const uint8_t* value);
FIBDB_API uint32_t FIB_DB_ReadPerPacketMode(const uint32_t* vrId, uint8_t* value);
FIBDB_API uint32_t FIB_DB_WritePerPacketMode(const uint32_t* vrId, uint8_t value);
FIBDB_API uint32_t FIB_DB_UpdatePerPacketMode(const uint32_t* vrId, uint8_t value);

FIBDB_API uint32_t FIB_DB_GetEcmpStatefulNum(uint64_t obj, uint16_t* value);
FIBDB_API uint32_t FIB_DB_SetEcmpStatefulNum(uint64_t obj, const uint16_t* value);
FIBDB_API uint32_t FIB_DB_ReadEcmpStatefulNum(const uint32_t* vrId, uint16_t* value);
FIBDB_API uint32_t FIB_DB_WriteEcmpStatefulNum(const uint32_t* vrId, uint16_t value);
FIBDB_API uint32_t FIB_DB_UpdateEcmpStatefulNum(const uint32_t* vrId, uint16_t value);

FIBDB_API uint32_t FIB_DB_GetEcmpDlb(uint64_t obj, uint8_t* value);
FIBDB_API uint32_t FIB_DB_SetEcmpDlb(uint64_t obj, const uint8_t* value);
FIBDB_API uint32_t FIB_DB_ReadEcmpDlb(const uint32_t* vrId, uint8_t* value);
FIBDB_API uint32_t FIB_DB_WriteEcmpDlb(const uint32_t* vrId, uint8_t value);
FIBDB_API uint32_t FIB_DB_UpdateEcmpDlb(const uint32_t* vrId, uint8_t value);

/* Child nodes of the ECMP record. A node that was never written cannot be got. */
FIBDB_API uint32_t FIB_DB_GetEcmpUniversalId(uint64_t obj, FibDbEcmpUniversalId* node);
FIBDB_API uint32_t FIB_DB_SetEcmpUniversal(uint64_t obj, const FibDbEcmpUniversalId* node);
FIBDB_API uint32_t FIB_DB_ReadEcmpUniversal(const uint32_t* vrId, FibDbEcmpUniversalId* node);
FIBDB_API uint32_t FIB_DB_WriteEcmpUniversal(const uint32_t* vrId, const FibDbEcmpUniversalId* node);
FIBDB_API uint32_t FIB_DB_UpdateEcmpUniversal(const uint32_t* vrId, const FibDbEcmpUniversalId* node);

FIBDB_API uint32_t FIB_DB_GetEcmpHashMode(uint64_t obj, FibDbEcmpHashMode* node);
FIBDB_API uint32_t FIB_DB_SetEcmpHashMode(uint64_t obj, const FibDbEcmpHashMode* node);
FIBDB_API uint32_t FIB_DB_ReadEcmpHashMode(const uint32_t* vrId, FibDbEcmpHashMode* node);
FIBDB_API uint32_t FIB_DB_WriteEcmpHashMode(const uint32_t* vrId, const FibDbEcmpHashMode* node);
FIBDB_API uint32_t FIB_DB_UpdateEcmpHashMode(const uint32_t* vrId, const FibDbEcmpHashMode* node);

FIBDB_API uint32_t FIB_DB_GetEcmpSeed(uint64_t obj, FibDbEcmpSeed* node);
FIBDB_API uint32_t FIB_DB_SetEcmpSeed(uint64_t obj, const FibDbEcmpSeed* node);
FIBDB_API uint32_t FIB_DB_ReadEcmpSeed(const uint32_t* vrId, FibDbEcmpSeed* node);
FIBDB_API uint32_t FIB_DB_WriteEcmpSeed(const uint32_t* vrId, const FibDbEcmpSeed* node);
FIBDB_API uint32_t FIB_DB_UpdateEcmpSeed(const uint32_t* vrId, const FibDbEcmpSeed* node);

FIBDB_API uint32_t FIB_DB_GetEcmpProc(uint64_t obj, FibDbEcmpProc* node);
FIBDB_API uint32_t FIB_DB_SetEcmpProc(uint64_t obj, const FibDbEcmpProc* node);
FIBDB_API uint32_t FIB_DB_ReadEcmpProc(const uint32_t* vrId, FibDbEcmpProc* node);
FIBDB_API uint32_t FIB_DB_WriteEcmpProc(const uint32_t* vrId, const FibDbEcmpProc* node);
FIBDB_API uint32_t FIB_DB_UpdateEcmpProc(const uint32_t* vrId, const FibDbEcmpProc* node);

FIBDB_API uint32_t FIB_DB_GetNvo3VxlanHash(uint64_t obj, FibDbNvo3VxlanHash* node);
FIBDB_API uint32_t FIB_DB_SetNvo3VxlanHash(uint64_t obj, const FibDbNvo3VxlanHash* node);
FIBDB_API uint32_t FIB_DB_ReadNvo3VxlanHash(const uint32_t* vrId, FibDbNvo3VxlanHash* node);
FIBDB_API uint32_t FIB_DB_WriteNvo3VxlanHash(const uint32_t* vrId, const FibDbNvo3VxlanHash* node);
FIBDB_API uint32_t FIB_DB_UpdateNvo3VxlanHash(const uint32_t* vrId, const FibDbNvo3VxlanHash* node);

FIBDB_API uint32_t FIB_DB_GetFeiEcmpTunnel(uint64_t obj, FibDbEcmpTunnel* node);
FIBDB_API uint32_t FIB_DB_SetFeiEcmpTunnel(uint64_t obj, const FibDbEcmpTunnel* node);
FIBDB_API uint32_t FIB_DB_ReadFeiEcmpTunnel(const uint32_t* vrId, FibDbEcmpTunnel* node);
FIBDB_API uint32_t FIB_DB_WriteFeiEcmpTunnel(const uint32_t* vrId, const FibDbEcmpTunnel* node);
FIBDB_API uint32_t FIB_DB_UpdateFeiEcmpTunnel(const uint32_t* vrId, const FibDbEcmpTunnel* node);

/* Load balancing: a child node of the global record. */
typedef struct FibDbLoadBalance {
  uint32_t callerWord; /* neither read nor written */
  uint8_t mode;
  uint8_t sip;
  uint8_t dip;
  uint8_t l4sport;
  uint8_t l4dport;
  uint8_t rsv[3]; /* neither read nor written */
} FibDbLoadBalance;

/* Bits of validFlags of the global record, as those of the ECMP record. */
enum { FIB_DB_GLB_LOAD_BALANCE_VALID = 0x4 };

/* The global record of a virtual router. */
typedef struct FibDbGlbCfgItem {
  uint32_t validFlags;
  uint32_t vrId;
  uint16_t methIsolate; /* management port isolation */
  uint16_t icmpFast;    /* fast ICMP echo */
  FibDbLoadBalance loadBalance;
  uint8_t balanceReverse;
  uint32_t inNextEn;    /* indirect next hops */
  uint32_t ipv4IgnrMac; /* ignore the MAC for IPv4 */
  uint32_t ipv4GlbTtl;  /* do not decrement the TTL */
  uint32_t mlagRouteEnhance;
  uint32_t dodEnable;
} FibDbGlbCfgItem;

FIBDB_API void FIB_DB_FillGlbCfgKey(uint32_t* key, uint32_t* indexId, const uint32_t* vrId);

/* Stages the defaults of a new record: methIsolate, icmpFast and inNextEn are 2. The results of the setters, ORed. */
FIBDB_API uint32_t FIB_DB_InitCfgValue(uint64_t obj);
/* Fills item from the record that obj stands on; validFlags says what became of its parts. The result means nothing. */
FIBDB_API uint32_t FIB_DB_GetGlbCfgItem(uint64_t obj, FibDbGlbCfgItem* item);
/* Fills node; 10058 when it was never written, which FIB_DB_GetBalanceMode lets pass and reads as zeros. */
FIBDB_API uint32_t FIB_DB_GetGlbCfgLoadBalance(uint64_t obj, FibDbLoadBalance* node);

/* As for the ECMP record, above. Getters and setters are not checked for NULL; a write that fails is 1, an update the
 * database's code. */
FIBDB_API uint32_t FIB_DB_ReadCfgCommon(uint32_t vrId, uint64_t* outObj);
FIBDB_API uint32_t FIB_DB_GlbCfgExist(const uint32_t* vrId);
FIBDB_API uint32_t FIB_DB_ReadGlbCfg(FibDbGlbCfgItem* item);
FIBDB_API uint32_t FIB_DB_ReadGlbCfgFunc(const uint32_t* vrId, void* data, FibDbEcmpCfgGetter getter);
FIBDB_API uint32_t FIB_DB_WriteGlbCfgFunc(const uint32_t* vrId, const void* data, FibDbEcmpCfgSetter setter);
FIBDB_API uint32_t FIB_DB_UpdateGlbCfgFunc(const uint32_t* vrId, const void* data, FibDbEcmpCfgSetter setter);
FIBDB_API uint32_t FIB_DB_RemoveGlbCfg(const uint32_t* vrId);
FIBDB_API FibDbIterator* FIB_DB_CreateGlbCfgIterator(uint32_t vrId);
FIBDB_API uint32_t FIB_DB_GetNextGlbCfg(FibDbIterator* handle, FibDbGlbCfgItem* item);
FIBDB_API void FIB_DB_ReleaseGlbCfgIterator(FibDbIterator* handle);

/* Settings of the global record. */
FIBDB_API uint32_t FIB_DB_GetMethIsolate(uint64_t obj, uint16_t* value);
FIBDB_API uint32_t FIB_DB_SetMethIsolate(uint64_t obj, const uint16_t* value);
FIBDB_API uint32_t FIB_DB_ReadIsolate(const uint32_t* vrId, uint16_t* value);
FIBDB_API uint32_t FIB_DB_WriteIsolate(const uint32_t* vrId, uint16_t value);
FIBDB_API uint32_t FIB_DB_UpdateIsolate(const uint32_t* vrId, uint16_t value);

FIBDB_API uint32_t FIB_DB_GetIcmpFast(uint64_t obj, uint16_t* value);
FIBDB_API uint32_t FIB_DB_SetIcmpFast(uint64_t obj, const uint16_t* value);
FIBDB_API uint32_t FIB_DB_ReadIcmpFast(const uint32_t* vrId, uint16_t* value);
FIBDB_API uint32_t FIB_DB_WriteIcmpFast(const uint32_t* vrId, uint16_t value);
FIBDB_API uint32_t FIB_DB_UpdateIcmpFast(const uint32_t* vrId, uint16_t value);

FIBDB_API uint32_t FIB_DB_GetInNextEn(uint64_t obj, uint32_t* value);
FIBDB_API uint32_t FIB_DB_SetInNextEn(uint64_t obj, const uint32_t* value);
FIBDB_API uint32_t FIB_DB_ReadInNextEn(const uint32_t* vrId, uint32_t* value);
FIBDB_API uint32_t FIB_DB_WriteInNextEn(const uint32_t* vrId, uint32_t value);
FIBDB_API uint32_t FIB_DB_UpdateInNextEn(const uint32_t* vrId, uint32_t value);

FIBDB_API uint32_t FIB_DB_GetBalanceReverse(uint64_t obj, uint8_t* value);
FIBDB_API uint32_t FIB_DB_SetBalanceReverse(uint64_t obj, const uint8_t* value);
FIBDB_API uint32_t FIB_DB_ReadBalanceReverse(const uint32_t* vrId, uint8_t* value);
FIBDB_API uint32_t FIB_DB_WriteBalanceReverse(const uint32_t* vrId, uint8_t value);
FIBDB_API uint32_t FIB_DB_UpdateBalanceReverse(const uint32_t* vrId, uint8_t value);

FIBDB_API uint32_t FIB_DB_GetIpv4IgnrMac(uint64_t obj, uint32_t* value);
FIBDB_API uint32_t FIB_DB_SetIpv4IgnrMac(uint64_t obj, const uint32_t* value);
FIBDB_API uint32_t FIB_DB_ReadIpv4IgnrMac(const uint32_t* vrId, uint32_t* value);
FIBDB_API uint32_t FIB_DB_WriteIpv4IgnrMac(const uint32_t* vrId, uint32_t value);
FIBDB_API uint32_t FIB_DB_UpdateIpv4IgnrMac(const uint32_t* vrId, uint32_t value);

FIBDB_API uint32_t FIB_DB_GetIpv4GlbTtl(uint64_t obj, uint32_t* value);
FIBDB_API uint32_t FIB_DB_SetIpv4GlbTtl(uint64_t obj, const uint32_t* value);
FIBDB_API uint32_t FIB_DB_ReadIpv4GlbTtl(const uint32_t* vrId, uint32_t* value);
FIBDB_API uint32_t FIB_DB_WriteIpv4GlbTtl(const uint32_t* vrId, uint32_t value);
FIBDB_API uint32_t FIB_DB_UpdateIpv4GlbTtl(const uint32_t* vrId, uint32_t value);

FIBDB_API uint32_t FIB_DB_GetMlagRouteEnhance(uint64_t obj, uint32_t* value);
FIBDB_API uint32_t FIB_DB_SetMlagRouteEnhance(uint64_t obj, const uint32_t* value);
FIBDB_API uint32_t FIB_DB_ReadMlagRouteEnhance(const uint32_t* vrId, uint32_t* value);
FIBDB_API uint32_t FIB_DB_WriteMlagRouteEnhance(const uint32_t* vrId, uint32_t value);
FIBDB_API uint32_t FIB_DB_UpdateMlagRouteEnhance(const uint32_t* vrId, uint32_t value);

FIBDB_API uint32_t FIB_DB_GetDodEnable(uint64_t obj, uint32_t* value);
FIBDB_API uint32_t FIB_DB_SetDodEnable(uint64_t obj, const uint32_t* value);
FIBDB_API uint32_t FIB_DB_ReadDodEnable(const uint32_t* vrId, uint32_t* value);
FIBDB_API uint32_t FIB_DB_WriteDodEnable(const uint32_t* vrId, uint32_t value);
FIBDB_API uint32_t FIB_DB_UpdateDodEnable(const uint32_t* vrId, uint32_t value);

/* Its child node. */
FIBDB_API uint32_t FIB_DB_GetBalanceMode(uint64_t obj, FibDbLoadBalance* value);
FIBDB_API uint32_t FIB_DB_SetBalanceMode(uint64_t obj, const FibDbLoadBalance* value);
FIBDB_API uint32_t FIB_DB_ReadBalanceMode(const uint32_t* vrId, FibDbLoadBalance* value);
FIBDB_API uint32_t FIB_DB_WriteBalanceMode(const uint32_t* vrId, const FibDbLoadBalance* value);
FIBDB_API uint32_t FIB_DB_UpdateBalanceMode(const uint32_t* vrId, const FibDbLoadBalance* value);

#ifdef __cplusplus
}
#endif

#endif
