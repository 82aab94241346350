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

#ifdef __cplusplus
}
#endif

#endif
