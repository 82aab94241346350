// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// registered/pri_attr.cc: primary attributes, keyed by two words, those of a next-hop group's member, and a byte; found
// by the two words alone, too. A change of the smooth id is stamped.
#include "fibdb/registered.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/registered.h"

namespace {

using Item = FibDbPriAttrItem;
using Row = FibDbPriAttrRow;

static_assert(sizeof(Item) == 40);
static_assert(fibdb::schema::kIsRow_pri_attr<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_pri_attr,
                                        {FIB_DB_PRI_ATTR_PRIMARY, FIB_DB_PRI_ATTR_BY_HASH}));

constexpr fibdb::RegisteredTable<Item, Row> kPriAttr{
    .id = fibdb::kUfibPriAttr,
    .pack = [](const Item* item, void* row) { FIB_DB_SetPriAttrFields(item, row); },
    .unpack = FIB_DB_GetPriAttrFields,
};

}  // namespace

uint64_t FIB_DB_SetPriAttrFields(const FibDbPriAttrItem* item, void* row) {
  auto* const out = static_cast<Row*>(row);
  out->keyWord1 = item->keyWord1;
  out->keyWord2 = item->keyWord2;
  out->keyByte = item->keyByte;
  out->attrByte = item->attrByte;
  out->attrWord1 = item->attrWord1;
  out->attrWord2 = item->attrWord2;
  out->table_smooth_id = item->smoothId;
  const uint64_t now = UFIB_DB_GetSysTime();
  out->time_stamp_create = now;
  out->time_stamp_smooth = now;
  return now;
}

void FIB_DB_GetPriAttrFields(const void* row, FibDbPriAttrItem* item) {
  const auto* const in = static_cast<const Row*>(row);
  item->keyWord1 = in->keyWord1;
  item->keyWord2 = in->keyWord2;
  item->keyByte = in->keyByte;
  item->attrByte = in->attrByte;
  item->attrWord1 = in->attrWord1;
  item->attrWord2 = in->attrWord2;
  item->smoothId = in->table_smooth_id;
}

void FIB_DB_SetPriAttrPriKey(const FibDbPriAttrItem* item, uint32_t* indexId, void* key) {
  fibdb::giveKey<FIB_DB_PRI_ATTR_PRIMARY>(indexId, key, item->keyWord1, item->keyWord2, item->keyByte);
}

void FIB_DB_SetPriAttrHashKey(const FibDbPriAttrItem* item, uint32_t* indexId, void* key) {
  fibdb::giveKey<FIB_DB_PRI_ATTR_BY_HASH>(indexId, key, item->keyWord1, item->keyWord2);
}

void FIB_DB_SetPriAttrKeyByNhpGrpNode(FibDbPriAttrItem* item, uint32_t first, uint32_t second) {
  item->keyWord1 = first;
  item->keyWord2 = second;
}

uint32_t FIB_DB_SetPriAttrSmoothID(const FibDbUfibData* ctx, uint64_t obj) {
  return fibdb::stageSmoothId<Item>(ctx, obj, db_set_pri_attr_table_smooth_id, db_set_pri_attr_time_stamp_smooth);
}

uint32_t FIB_DB_CreatePriAttr(const FibDbPriAttrItem* item) { return fibdb::createEntry(kPriAttr, item); }
uint32_t FIB_DB_ReadPriAttr(FibDbPriAttrItem* item) {
  return fibdb::readEntry(kPriAttr, item, FIB_DB_SetPriAttrPriKey, UFIB_DB_Read);
}
uint32_t FIB_DB_ReadPriAttrByHash(FibDbPriAttrItem* item) {
  return fibdb::readEntry(kPriAttr, item, FIB_DB_SetPriAttrHashKey, UFIB_DB_ReadUniqueHash);
}
// Required: SmoothId here, SmoothID in the name of its setter.
uint32_t FIB_DB_UpdatePriAttrSmoothId(const FibDbPriAttrItem* item) {
  return fibdb::updateEntry(kPriAttr, item, FIB_DB_SetPriAttrPriKey, FIB_DB_SetPriAttrSmoothID);
}
uint32_t FIB_DB_DeletePriAttr(const FibDbPriAttrItem* item) {
  return fibdb::deleteEntry(kPriAttr, item, FIB_DB_SetPriAttrPriKey);
}
void* FIB_DB_CreatePriAttrIterator(uint32_t property) { return UFIB_DB_CreateIterator(kPriAttr.id, property); }
uint32_t FIB_DB_GetNextPriAttrEntry(void* iter, FibDbPriAttrItem* item) {
  return fibdb::nextEntry(kPriAttr, iter, item);
}
uint32_t FIB_DB_ReleasePriAttrIterator(void* iter) { return fibdb::releaseEntries(kPriAttr, iter); }
