// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// registered/ar_group_attr.cc: AR group attributes, keyed by two words and a byte; found by attribute id, originator id
// or origin AS number, too. The pattern of the registered tables.
#include "fibdb/registered.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/registered.h"

namespace {

using Item = FibDbArGroupAttrItem;
using Row = FibDbArGroupAttrRow;

static_assert(sizeof(Item) == 136);
static_assert(fibdb::schema::kIsRow_ar_group_attr<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_ar_group_attr,
                                        {FIB_DB_AR_GROUP_ATTR_PRIMARY, FIB_DB_AR_GROUP_ATTR_BY_ATTR_ID,
                                         FIB_DB_AR_GROUP_ATTR_BY_ORIGINATOR_ID, FIB_DB_AR_GROUP_ATTR_BY_ORIGIN_ASN}));

constexpr fibdb::RegisteredTable<Item, Row> kArGroupAttr{
    .id = fibdb::kUfibArGroupAttr,
    .pack = [](const Item* item, void* row) { FIB_DB_SetArGroupAttrFields(item, row); },
    .unpack = FIB_DB_GetArGroupAttrFields,
};

// Both origin keys select group type 1, whatever the item's group type.
constexpr uint32_t kGroupType = FIB_DB_AR_GROUP_TYPE;

// The origin key that the item's origin type calls for.
void setGroupTypeKey(const Item* item, uint32_t* indexId, void* key) {
  if (item->originType == FIB_DB_AR_ORIGIN_ORIGINATOR) {
    FIB_DB_SetArGroupAttrOriginatorIdHashKey(item, indexId, key);
  } else {
    FIB_DB_SetArGroupAttrOriginAsnHashKey(item, indexId, key);
  }
}

}  // namespace

uint64_t FIB_DB_SetArGroupAttrFields(const FibDbArGroupAttrItem* item, void* row) {
  auto* const out = static_cast<Row*>(row);
  out->keyWord1 = item->keyWord1;
  out->keyWord2 = item->keyWord2;
  out->keyByte = item->keyByte;
  out->originType = item->originType;
  out->attrWord1 = item->attrWord1;
  out->originatorId = item->originatorId;
  out->originAsn = item->originAsn;
  out->attrWord2 = item->attrWord2;
  out->groupType = item->groupType;
  std::memcpy(out->attrBytes1, item->attrBytes1, sizeof out->attrBytes1);
  std::memcpy(out->attrBytes2, item->attrBytes2, sizeof out->attrBytes2);
  std::memcpy(out->attrBytes3, item->attrBytes3, sizeof out->attrBytes3);
  std::memcpy(out->attrBytes4, item->attrBytes4, sizeof out->attrBytes4);
  out->table_smooth_id = item->smoothId;
  const uint64_t now = UFIB_DB_GetSysTime();
  out->time_stamp_create = now;
  out->time_stamp_smooth = now;
  return now;
}

void FIB_DB_GetArGroupAttrFields(const void* row, FibDbArGroupAttrItem* item) {
  const auto* const in = static_cast<const Row*>(row);
  item->keyWord1 = in->keyWord1;
  item->keyWord2 = in->keyWord2;
  item->keyByte = in->keyByte;
  item->originType = in->originType;
  item->attrWord1 = in->attrWord1;
  item->originatorId = in->originatorId;
  item->originAsn = in->originAsn;
  item->attrWord2 = in->attrWord2;
  item->groupType = in->groupType;
  std::memcpy(item->attrBytes1, in->attrBytes1, sizeof item->attrBytes1);
  std::memcpy(item->attrBytes2, in->attrBytes2, sizeof item->attrBytes2);
  std::memcpy(item->attrBytes3, in->attrBytes3, sizeof item->attrBytes3);
  std::memcpy(item->attrBytes4, in->attrBytes4, sizeof item->attrBytes4);
  item->smoothId = in->table_smooth_id;
}

void FIB_DB_SetArGroupAttrPriKey(const FibDbArGroupAttrItem* item, uint32_t* indexId, void* key) {
  fibdb::giveKey<FIB_DB_AR_GROUP_ATTR_PRIMARY>(indexId, key, item->keyWord1, item->keyWord2, item->keyByte);
}

void FIB_DB_SetArGroupAttrAttrIdHashKey(const FibDbArGroupAttrItem* item, uint32_t* indexId, void* key) {
  fibdb::giveKey<FIB_DB_AR_GROUP_ATTR_BY_ATTR_ID>(indexId, key, item->keyWord1, item->keyWord2);
}

void FIB_DB_SetArGroupAttrOriginatorIdHashKey(const FibDbArGroupAttrItem* item, uint32_t* indexId, void* key) {
  fibdb::giveKey<FIB_DB_AR_GROUP_ATTR_BY_ORIGINATOR_ID>(indexId, key, item->originType, kGroupType, item->originatorId);
}

void FIB_DB_SetArGroupAttrOriginAsnHashKey(const FibDbArGroupAttrItem* item, uint32_t* indexId, void* key) {
  fibdb::giveKey<FIB_DB_AR_GROUP_ATTR_BY_ORIGIN_ASN>(indexId, key, item->originType, kGroupType, item->originAsn);
}

void FIB_DB_SetArGroupAttrGroupTypeHashKey(FibDbArGroupAttrItem* query, const FibDbArGroupAttrItem* item) {
  query->groupType = FIB_DB_AR_GROUP_TYPE;
  query->originType = item->originType;
  if (item->originType == FIB_DB_AR_ORIGIN_ORIGINATOR) {
    query->originatorId = item->originatorId;
  } else {
    query->originAsn = item->originAsn;
  }
}

uint32_t FIB_DB_SetArGroupAttrSmoothID(const FibDbUfibData* ctx, uint64_t obj) {
  return fibdb::stageSmoothId<Item>(ctx, obj, db_set_ar_group_attr_table_smooth_id,
                                    db_set_ar_group_attr_time_stamp_smooth);
}

uint32_t FIB_DB_CreateArGroupAttr(const FibDbArGroupAttrItem* item) { return fibdb::createEntry(kArGroupAttr, item); }
uint32_t FIB_DB_ReadArGroupAttr(FibDbArGroupAttrItem* item) {
  return fibdb::readEntry(kArGroupAttr, item, FIB_DB_SetArGroupAttrPriKey, UFIB_DB_Read);
}
uint32_t FIB_DB_ReadArGroupAttrByAttrIdHash(FibDbArGroupAttrItem* item) {
  return fibdb::readEntry(kArGroupAttr, item, FIB_DB_SetArGroupAttrAttrIdHashKey, UFIB_DB_ReadUniqueHash);
}
uint32_t FIB_DB_ReadArGroupAttrByGroupTypeHash(FibDbArGroupAttrItem* item) {
  return fibdb::readEntry(kArGroupAttr, item, setGroupTypeKey, UFIB_DB_ReadUniqueHash);
}
uint32_t FIB_DB_UpdateArGroupAttrSmoothId(const FibDbArGroupAttrItem* item) {
  return fibdb::updateEntry(kArGroupAttr, item, FIB_DB_SetArGroupAttrPriKey, FIB_DB_SetArGroupAttrSmoothID);
}
uint32_t FIB_DB_DeleteArGroupAttr(const FibDbArGroupAttrItem* item) {
  return fibdb::deleteEntry(kArGroupAttr, item, FIB_DB_SetArGroupAttrPriKey);
}
uint32_t FIB_DB_CountArGroupAttrByGroupTypeHash(const FibDbArGroupAttrItem* item, uint32_t* count) {
  return fibdb::countEntries(kArGroupAttr, item, setGroupTypeKey, count);
}
void* FIB_DB_CreateArGroupAttrIterator(uint32_t property) { return UFIB_DB_CreateIterator(kArGroupAttr.id, property); }
void* FIB_DB_CreateArGroupAttrIteratorByOriginValue(const FibDbArGroupAttrItem* item, uint32_t property) {
  return fibdb::iterateEntries(kArGroupAttr, item, setGroupTypeKey, property);
}
uint32_t FIB_DB_GetNextArGroupAttrEntry(void* iter, FibDbArGroupAttrItem* item) {
  return fibdb::nextEntry(kArGroupAttr, iter, item);
}
uint32_t FIB_DB_ReleaseArGroupAttrIterator(void* iter) { return fibdb::releaseEntries(kArGroupAttr, iter); }
