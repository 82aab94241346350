// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/nhp_group_node.cc: members of next-hop groups, keyed by everything that tells them apart; found by group and
// by either next hop, and, through the table service, by primary attribute.
#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"
#include "runtime/registered.h"

namespace {

using fibdb::PackedKey;
using fibdb::Text;
using Item = FibDbNhpGroupNodeItem;
using Row = FibDbNhpGroupNodeRow;
using Key = fibdb::KeyBytes<FIB_DB_NHP_GROUP_NODE_PRIMARY>;

static_assert(sizeof(Item) == 88);
static_assert(fibdb::schema::kIsRow_nhp_group_node<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_nhp_group_node,
                                        {FIB_DB_NHP_GROUP_NODE_PRIMARY, FIB_DB_NHP_GROUP_NODE_BY_NHP_GROUP,
                                         FIB_DB_NHP_GROUP_NODE_BY_PRIMARY_NHP, FIB_DB_NHP_GROUP_NODE_BY_BACKUP_NHP,
                                         FIB_DB_NHP_GROUP_NODE_BY_PRI_ATTR}));

constexpr fibdb::Table<Item, Key> kNhpGroupNode{
    .create = db_create_nhp_group_node_obj,
    .release = db_release_nhp_group_node_object,
    .stage = FIB_DB_SetNhpGroupNodeItem,
    .key = [](FibDbKeyDesc* desc, Key* key, const Item* item) { FIB_DB_FillNhpGroupNodeKey(item, desc, key); },
    .fetch = fibdb::fetchFields<Item, FIB_DB_GetNhpGroupNodeItem>,
    .settle = FIB_DB_ProcNhpGrpNodeWriteDBResult,
};

// The same table as the table service knows it. Only a read goes that way.
constexpr fibdb::RegisteredTable<Item, Row> kRegistered{.id = fibdb::kUfibNhpGroupNode,
                                                        .unpack = FIB_DB_GetNhpGroupNodeFields};

using ReadHow = fibdb::ReadUnderHow<Item>;

// Reads the members under a key on an object of the caller's. Nothing is counted unless all went well.
template <uint32_t IndexId>
uint32_t readOn(uint64_t obj, const PackedKey<IndexId>& key, uint32_t capacity, uint32_t* count, Item* items,
                const ReadHow& how) {
  uint64_t rootIter = 0;
  if (const uint32_t code = db_create_root_iter(obj, &key.desc, &key.bytes, &rootIter)) return code;
  uint32_t arrived = 0;
  const uint32_t status = fibdb::takeRecords(obj, rootIter, capacity, items, arrived, how);
  if (status == FIB_DB_OK) *count = arrived;
  return status;
}

}  // namespace

void FIB_DB_FillNhpGroupNodeKey(const FibDbNhpGroupNodeItem* item, FibDbKeyDesc* desc, void* key) {
  if (item == nullptr || desc == nullptr || key == nullptr) return;
  desc->indexId = FIB_DB_NHP_GROUP_NODE_PRIMARY;
  fibdb::putKey<FIB_DB_NHP_GROUP_NODE_PRIMARY>(key, item->nhp_group_id, item->attribute_id, item->primary_nhp_id,
                                               item->primary_label, item->backup_nhp_id, item->backup_label,
                                               item->vr_id, item->sequence);
}

void FIB_DB_SetNhpGroupNodeKey(FibDbNhpGroupNodeItem* dst, const FibDbNhpGroupNodeItem* src) {
  dst->nhp_group_id = src->nhp_group_id;
  dst->attribute_id = src->attribute_id;
  dst->primary_nhp_id = src->primary_nhp_id;
  dst->primary_label = src->primary_label;
  dst->backup_nhp_id = src->backup_nhp_id;
  dst->backup_label = src->backup_label;
  dst->vr_id = src->vr_id;
  dst->sequence = src->sequence;
}

void FIB_DB_SetNhpGroupNodeKeyByPriAttr(FibDbNhpGroupNodeItem* item, uint32_t vrId, uint32_t attributeId) {
  item->vr_id = vrId;
  item->attribute_id = attributeId;
}

void FIB_DB_SetNhpGroupNodeAttrIdKey(const FibDbNhpGroupNodeItem* item, uint32_t* indexId, void* key) {
  *indexId = FIB_DB_NHP_GROUP_NODE_BY_PRI_ATTR;
  fibdb::putKey<FIB_DB_NHP_GROUP_NODE_BY_PRI_ATTR>(key, item->vr_id, item->attribute_id);
}

uint32_t FIB_DB_SetNhpGroupNodeItem(uint64_t obj, const FibDbNhpGroupNodeItem* item) {
  uint32_t code = db_set_nhp_group_node_nhp_group_id(obj, item->nhp_group_id);
  code |= db_set_nhp_group_node_attribute_id(obj, item->attribute_id);
  code |= db_set_nhp_group_node_primary_nhp_id(obj, item->primary_nhp_id);
  code |= db_set_nhp_group_node_primary_label(obj, item->primary_label);
  code |= db_set_nhp_group_node_backup_nhp_id(obj, item->backup_nhp_id);
  code |= db_set_nhp_group_node_backup_label(obj, item->backup_label);
  code |= db_set_nhp_group_node_vr_id(obj, item->vr_id);
  code |= db_set_nhp_group_node_sequence(obj, item->sequence);
  code |= db_set_nhp_group_node_rsv(obj, item->rsv);
  code |= db_set_nhp_group_node_vrf_index(obj, item->vrf_index);
  code |= db_set_nhp_group_node_flags(obj, item->flags);
  code |= db_set_nhp_group_node_bandwidth(obj, item->bandwidth);
  code |= db_set_nhp_group_node_app_source_id(obj, item->app_source_id);
  code |= db_set_nhp_group_node_group_smooth_id(obj, item->group_smooth_id);
  code |= db_set_nhp_group_node_app_obj_id(obj, item->app_obj_id);
  code |= db_set_nhp_group_node_time_stamp_app(obj, item->time_stamp_app);
  code |= db_set_nhp_group_node_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFields(code, "SetNhpGroupNodeItem setField failed, ret: %d");
}

void FIB_DB_GetNhpGroupNodeItem(uint64_t obj, FibDbNhpGroupNodeItem* item) {
  constexpr Text<uint32_t> failed = "GetNhpGroupNodeItem getField failed, ret: %d";
  uint32_t code = db_get_nhp_group_node_nhp_group_id(obj, &item->nhp_group_id);
  code |= db_get_nhp_group_node_attribute_id(obj, &item->attribute_id);
  code |= db_get_nhp_group_node_primary_nhp_id(obj, &item->primary_nhp_id);
  code |= db_get_nhp_group_node_primary_label(obj, &item->primary_label);
  code |= db_get_nhp_group_node_backup_nhp_id(obj, &item->backup_nhp_id);
  code |= db_get_nhp_group_node_backup_label(obj, &item->backup_label);
  code |= db_get_nhp_group_node_vr_id(obj, &item->vr_id);
  code |= db_get_nhp_group_node_sequence(obj, &item->sequence);
  code |= db_get_nhp_group_node_rsv(obj, &item->rsv);
  code |= db_get_nhp_group_node_vrf_index(obj, &item->vrf_index);
  code |= db_get_nhp_group_node_flags(obj, &item->flags);
  // Required: app_source_id before bandwidth; they are set the other way round.
  code |= db_get_nhp_group_node_app_source_id(obj, &item->app_source_id);
  code |= db_get_nhp_group_node_bandwidth(obj, &item->bandwidth);
  code |= db_get_nhp_group_node_group_smooth_id(obj, &item->group_smooth_id);
  code |= db_get_nhp_group_node_app_obj_id(obj, &item->app_obj_id);
  code |= db_get_nhp_group_node_time_stamp_app(obj, &item->time_stamp_app);
  code |= db_get_nhp_group_node_time_stamp_svc(obj, &item->time_stamp_svc);
  if (code != 0) failed.error(code);
}

void FIB_DB_GetNhpGroupNodeFields(const void* record, FibDbNhpGroupNodeItem* item) {
  const auto* const in = static_cast<const Row*>(record);
  item->nhp_group_id = in->nhp_group_id;
  item->attribute_id = in->attribute_id;
  item->primary_nhp_id = in->primary_nhp_id;
  item->primary_label = in->primary_label;
  item->backup_nhp_id = in->backup_nhp_id;
  item->backup_label = in->backup_label;
  item->vr_id = in->vr_id;
  item->sequence = in->sequence;
  item->rsv = in->rsv;
  item->vrf_index = in->vrf_index;
  item->flags = in->flags;
  item->app_source_id = in->app_source_id;
  item->group_smooth_id = in->group_smooth_id;
  item->app_obj_id = in->app_obj_id;
  item->time_stamp_app = in->time_stamp_app;
  item->time_stamp_svc = in->time_stamp_svc;
  item->bandwidth = in->bandwidth;
}

uint32_t FIB_DB_WriteNhpGroupNode(const FibDbNhpGroupNodeItem* item) { return fibdb::write(kNhpGroupNode, item); }

uint32_t FIB_DB_ReadNhpGroupNode(FibDbNhpGroupNodeItem* item) {
  return fibdb::read(kNhpGroupNode, item,
                     {.failure = {FIB_DB_TABLE_NHP_GROUP_NODE, FIB_DB_OPER_READ, "ReadNhpGroupNode failed, ret: %d"}});
}

uint32_t FIB_DB_RemoveNhpGroupNode(const FibDbNhpGroupNodeItem* item) { return fibdb::remove(kNhpGroupNode, item); }

uint32_t FIB_DB_UpdateNhpGroupNodeFields(const FibDbNhpGroupNodeItem* item, FibDbFieldSetter setter) {
  return fibdb::update(kNhpGroupNode, item, setter);
}

uint32_t FIB_DB_SetNhpGroupNodeFlags(uint64_t obj, const FibDbNhpGroupNodeItem* item) {
  constexpr Text<uint32_t> failed = "SetNhpGroupNodeFlags setField failed, ret: %d";
  const uint32_t code = db_set_nhp_group_node_flags(obj, item->flags);
  if (code != 0) failed.error(code);
  return code;
}

uint32_t FIB_DB_SetNhpGroupNodeSmoothID(uint64_t obj, const FibDbNhpGroupNodeItem* item) {
  constexpr Text<uint32_t> failed = "SetNhpGroupNodeSmoothID setField failed, ret: %d";
  const uint32_t code = db_set_nhp_group_node_group_smooth_id(obj, item->group_smooth_id);
  if (code != 0) failed.error(code);
  return code;
}

uint32_t FIB_DB_UpdateNhpGroupNodeFlags(const FibDbNhpGroupNodeItem* item) {
  return FIB_DB_UpdateNhpGroupNodeFields(item, fibdb::asFieldSetter<Item, FIB_DB_SetNhpGroupNodeFlags>);
}
uint32_t FIB_DB_UpdateNhpGroupNodeSmoothID(const FibDbNhpGroupNodeItem* item) {
  return FIB_DB_UpdateNhpGroupNodeFields(item, fibdb::asFieldSetter<Item, FIB_DB_SetNhpGroupNodeSmoothID>);
}

uint32_t FIB_DB_CountNhpGroupNodeByNhpGroup(uint32_t nhpGroupId, uint32_t vrId, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_GROUP_NODE_BY_NHP_GROUP> key(nhpGroupId, vrId);
  return fibdb::countUnder(kNhpGroupNode, &key.desc, &key.bytes, count, {});
}
uint32_t FIB_DB_CountNhpGroupNodeByPrimaryNhpId(uint32_t nhpIndex, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_GROUP_NODE_BY_PRIMARY_NHP> key(nhpIndex);
  return fibdb::countUnder(kNhpGroupNode, &key.desc, &key.bytes, count, {});
}
uint32_t FIB_DB_CountNhpGroupNodeByBackupNhpId(uint32_t nhpIndex, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_GROUP_NODE_BY_BACKUP_NHP> key(nhpIndex);
  return fibdb::countUnder(kNhpGroupNode, &key.desc, &key.bytes, count, {});
}

uint32_t FIB_DB_CountNhpGroupNodeByNhpIndex(uint32_t nhpIndex, uint32_t* count) {
  if (count == nullptr) return FIB_DB_ERR;
  uint32_t primary = 0;
  if (const uint32_t code = FIB_DB_CountNhpGroupNodeByPrimaryNhpId(nhpIndex, &primary)) return code;
  uint32_t backup = 0;
  if (const uint32_t code = FIB_DB_CountNhpGroupNodeByBackupNhpId(nhpIndex, &backup)) return code;
  *count = primary + backup;
  return FIB_DB_OK;
}

uint32_t FIB_DB_ReadNhpGroupNodeByNhpGroup(uint32_t nhpGroupId, uint32_t vrId, uint32_t bufLen,
                                           FibDbNhpGroupNodeItem* buf) {
  const PackedKey<FIB_DB_NHP_GROUP_NODE_BY_NHP_GROUP> key(nhpGroupId, vrId);
  return fibdb::readUnder(
      kNhpGroupNode, &key.desc, &key.bytes, bufLen, buf, nullptr,
      {.stepFailed = {FIB_DB_TABLE_NHP_GROUP_NODE, FIB_DB_OPER_ITERATOR, "ReadNhpGroupNodeByNhpGroup failed, ret: %d"},
       .arrive = fibdb::unpackCurrent<Item, FIB_DB_GetNhpGroupNodeItem>});
}

uint32_t FIB_DB_ReadNhpPriGroupNodeByNhpIndex(uint64_t obj, uint32_t nhpIndex, uint32_t capacity, uint32_t* count,
                                              FibDbNhpGroupNodeItem* buf) {
  constexpr ReadHow how{.stepFailed = {FIB_DB_TABLE_NHP_GROUP_NODE, FIB_DB_OPER_ITERATOR,
                                       "ReadNhpPriGroupNodeByNhpIndex failed, ret: %d"},
                        .arrive = fibdb::unpackCurrent<Item, FIB_DB_GetNhpGroupNodeItem>};
  if (count == nullptr || buf == nullptr) return FIB_DB_ERR;
  return readOn(obj, PackedKey<FIB_DB_NHP_GROUP_NODE_BY_PRIMARY_NHP>(nhpIndex), capacity, count, buf, how);
}

// Required: nothing is checked here, although the primary half checks both pointers.
uint32_t FIB_DB_ReadNhpBakGroupNodeByNhpIndex(uint64_t obj, uint32_t nhpIndex, uint32_t capacity, uint32_t* count,
                                              FibDbNhpGroupNodeItem* buf) {
  constexpr ReadHow how{.stepFailed = {FIB_DB_TABLE_NHP_GROUP_NODE, FIB_DB_OPER_ITERATOR,
                                       "ReadNhpBakGroupNodeByNhpIndex failed, ret: %d"},
                        .arrive = fibdb::unpackCurrent<Item, FIB_DB_GetNhpGroupNodeItem>};
  return readOn(obj, PackedKey<FIB_DB_NHP_GROUP_NODE_BY_BACKUP_NHP>(nhpIndex), capacity, count, buf, how);
}

// One object serves both halves, reset between them. A full array is asked for its backup half all the same.
uint32_t FIB_DB_ReadNhpGroupNodeByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpGroupNodeItem* buf) {
  if (buf == nullptr) return FIB_DB_ERR;
  const fibdb::Object obj(kNhpGroupNode, FIB_DB_OBJ_OP_SCAN);
  if (const uint32_t code = obj.error()) return code;
  const uint32_t capacity = bufLen / sizeof(Item);
  uint32_t primary = 0;
  if (const uint32_t code = FIB_DB_ReadNhpPriGroupNodeByNhpIndex(obj.handle(), nhpIndex, capacity, &primary, buf)) {
    return code;
  }
  if (const uint32_t code = db_reset_nhp_group_node_object(obj.handle(), FIB_DB_OBJ_OP_SCAN)) return code;
  uint32_t backup = 0;
  return FIB_DB_ReadNhpBakGroupNodeByNhpIndex(obj.handle(), nhpIndex, capacity - primary, &backup, buf + primary);
}

uint32_t FIB_DB_ReadNhpGroupNodeByPriAttr(FibDbNhpGroupNodeItem* item) {
  return fibdb::readEntry(kRegistered, item, FIB_DB_SetNhpGroupNodeAttrIdKey, UFIB_DB_ReadUniqueHash);
}

FibDbIterator* FIB_DB_CreateNhpGrpNodeIteratorByKey(const FibDbKeyDesc* desc, const void* key, uint32_t property) {
  return fibdb::createIterator(kNhpGroupNode,
                               {.mallocFailed = "CreateNhpGrpNodeIteratorByKey malloc failed",
                                .createObjFailed = "CreateNhpGrpNodeIteratorByKey createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpGrpNodeIteratorByKey createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpGrpNodeIteratorByKey setProperty failed, ret: %d"},
                               property, fibdb::UnderKey{desc, key});
}

FibDbIterator* FIB_DB_CreateNhpGrpNodeIteratorByNhpGrpId(uint32_t nhpGroupId, uint32_t vrId, uint32_t property) {
  const PackedKey<FIB_DB_NHP_GROUP_NODE_BY_NHP_GROUP> key(nhpGroupId, vrId);
  return FIB_DB_CreateNhpGrpNodeIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpGrpNodeIteratorByPrimaryNhpId(uint32_t nhpIndex, uint32_t property) {
  const PackedKey<FIB_DB_NHP_GROUP_NODE_BY_PRIMARY_NHP> key(nhpIndex);
  return FIB_DB_CreateNhpGrpNodeIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpGrpNodeIteratorByBackupNhpId(uint32_t nhpIndex, uint32_t property) {
  const PackedKey<FIB_DB_NHP_GROUP_NODE_BY_BACKUP_NHP> key(nhpIndex);
  return FIB_DB_CreateNhpGrpNodeIteratorByKey(&key.desc, &key.bytes, property);
}

uint32_t FIB_DB_GetNextNhpGroupNode(FibDbIterator* handle, FibDbNhpGroupNodeItem* item) {
  constexpr fibdb::Failure failed{FIB_DB_TABLE_NHP_GROUP_NODE, FIB_DB_OPER_ITERATOR,
                                  "GetNextNhpGroupNode failed, ret: %d"};
  return fibdb::next(handle, item, failed, fibdb::unpackCurrent<Item, FIB_DB_GetNhpGroupNodeItem>);
}

void FIB_DB_ReleaseNhpGrpNodeIterator(FibDbIterator* handle) { fibdb::releaseIterator(kNhpGroupNode, handle); }
