/* fibdb/registered.h: tables reached through the table service. Call FIB_DB_TableRegisterInit (runtime.h) first.
 *
 * The service's codes are returned unchanged, the end of an iteration included (110012, not 60); nothing is logged
 * and nothing is counted.
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

/* The same as the database stores it: byte-packed, 120 bytes. Time stamps: microseconds since the Unix epoch. */
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

/* A second create with the same primary key is the service's error, not a replace. */
FIBDB_API uint32_t FIB_DB_CreateArGroupAttr(const FibDbArGroupAttrItem* item);
/* Reads fill item and leave it untouched on any failure. A missing record is 15005. */
FIBDB_API uint32_t FIB_DB_ReadArGroupAttr(FibDbArGroupAttrItem* item);
FIBDB_API uint32_t FIB_DB_ReadArGroupAttrByAttrIdHash(FibDbArGroupAttrItem* item);
FIBDB_API uint32_t FIB_DB_ReadArGroupAttrByGroupTypeHash(FibDbArGroupAttrItem* item);
FIBDB_API uint32_t FIB_DB_UpdateArGroupAttrSmoothId(const FibDbArGroupAttrItem* item);
FIBDB_API uint32_t FIB_DB_DeleteArGroupAttr(const FibDbArGroupAttrItem* item);
/* count must not be NULL. */
FIBDB_API uint32_t FIB_DB_CountArGroupAttrByGroupTypeHash(const FibDbArGroupAttrItem* item, uint32_t* count);

/* The service's iterator, or NULL. */
FIBDB_API void* FIB_DB_CreateArGroupAttrIterator(uint32_t property);
FIBDB_API void* FIB_DB_CreateArGroupAttrIteratorByOriginValue(const FibDbArGroupAttrItem* item, uint32_t property);
FIBDB_API uint32_t FIB_DB_GetNextArGroupAttrEntry(void* iter, FibDbArGroupAttrItem* item);
/* 0 for NULL. */
FIBDB_API uint32_t FIB_DB_ReleaseArGroupAttrIterator(void* iter);

#ifdef __cplusplus
}
#endif

#endif
