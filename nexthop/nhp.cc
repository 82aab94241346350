// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/nhp.cc: next hops, keyed by nhp_index. The plainest table, and the pattern that the others vary.
#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"

namespace {

using fibdb::Text;
using Item = FibDbNhpItem;

static_assert(sizeof(Item) == 72);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_nhp, {FIB_DB_NHP_PRIMARY, FIB_DB_NHP_BY_VRF}));

constexpr fibdb::Table<Item, uint32_t> kNhp{
    .create = db_create_nhp_obj,
    .release = db_release_nhp_object,
    .stage = FIB_DB_SetNhpItem,
    .key = FIB_DB_SetNhpKeyField,
    .fetch = fibdb::fetchFields<Item, FIB_DB_GetNhpItem>,
    .settle = FIB_DB_ProcNhpWriteDBResult,
};

uint32_t readFailed(uint32_t code, const Item* item) {
  constexpr Text<uint32_t, uint32_t> failed = "ReadNhp failed, ret: %d, key = 0x%x";
  failed.error(code, item->nhp_index);
  FIB_DB_RecordErrStat(FIB_DB_TABLE_NHP, FIB_DB_OPER_READ);
  return code;
}

// Required: to update a missing next hop is 15005, uncounted, although to read one is 60.
uint32_t settleUpdate(uint32_t code, uint32_t oper) {
  return code == DB_ERR_NO_DATA ? code : FIB_DB_ProcNhpWriteDBResult(code, oper);
}

template <fibdb::SetterOf<Item>* Set>
uint32_t updateWith(const Item* item) {
  return FIB_DB_UpdateNhpFields(item, fibdb::asFieldSetter<Item, Set>);
}

}  // namespace

void FIB_DB_SetNhpKey(uint32_t* key, uint32_t nhpIndex) { *key = nhpIndex; }

void FIB_DB_SetNhpKeyField(FibDbKeyDesc* desc, uint32_t* key, const FibDbNhpItem* item) {
  desc->indexId = FIB_DB_NHP_PRIMARY;
  *key = item->nhp_index;
}

uint32_t FIB_DB_SetNhpItem(uint64_t obj, const FibDbNhpItem* item) {
  // Required: nhp_flag goes before nhp_num, and every field is tried.
  uint32_t code = db_set_nhp_nhp_index(obj, item->nhp_index);
  code |= db_set_nhp_vr_id(obj, item->vr_id);
  code |= db_set_nhp_vrf_index(obj, item->vrf_index);
  code |= db_set_nhp_origin_nhp(obj, item->origin_nhp);
  code |= db_set_nhp_nhp_flag(obj, item->nhp_flag);
  code |= db_set_nhp_nhp_num(obj, item->nhp_num);
  code |= db_set_nhp_ref_cnt(obj, item->ref_cnt);
  code |= db_set_nhp_flags(obj, item->flags);
  code |= db_set_nhp_iid_flags(obj, item->iid_flags);
  code |= db_set_nhp_app_source_id(obj, item->app_source_id);
  code |= db_set_nhp_table_smooth_id(obj, item->table_smooth_id);
  code |= db_set_nhp_app_obj_id(obj, item->app_obj_id);
  code |= db_set_nhp_app_version(obj, item->app_version);
  code |= db_set_nhp_time_stamp_app(obj, item->time_stamp_app);
  code |= db_set_nhp_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFields(code, "SetNhpItem setField failed, ret: %d");
}

void FIB_DB_GetNhpItem(uint64_t obj, FibDbNhpItem* item) {
  constexpr Text<uint32_t> failed = "GetNhpItem getField failed, ret: %d";
  uint32_t code = db_get_nhp_nhp_index(obj, &item->nhp_index);
  code |= db_get_nhp_vr_id(obj, &item->vr_id);
  code |= db_get_nhp_vrf_index(obj, &item->vrf_index);
  code |= db_get_nhp_origin_nhp(obj, &item->origin_nhp);
  code |= db_get_nhp_nhp_flag(obj, &item->nhp_flag);
  code |= db_get_nhp_nhp_num(obj, &item->nhp_num);
  code |= db_get_nhp_ref_cnt(obj, &item->ref_cnt);
  code |= db_get_nhp_flags(obj, &item->flags);
  code |= db_get_nhp_iid_flags(obj, &item->iid_flags);
  code |= db_get_nhp_app_source_id(obj, &item->app_source_id);
  code |= db_get_nhp_table_smooth_id(obj, &item->table_smooth_id);
  code |= db_get_nhp_app_obj_id(obj, &item->app_obj_id);
  code |= db_get_nhp_app_version(obj, &item->app_version);
  code |= db_get_nhp_time_stamp_app(obj, &item->time_stamp_app);
  code |= db_get_nhp_time_stamp_svc(obj, &item->time_stamp_svc);
  if (code != 0) failed.error(code);
}

uint32_t FIB_DB_WriteNhp(const FibDbNhpItem* item) { return fibdb::write(kNhp, item); }

uint32_t FIB_DB_ReadNhp(FibDbNhpItem* item) {
  return fibdb::read(kNhp, item,
                     {.createFailed = "ReadNhp failed, create object failed. ret: %d", .failed = readFailed});
}

uint32_t FIB_DB_RemoveNhp(const FibDbNhpItem* item) {
  return fibdb::remove(kNhp, item, {.createFailed = "RemoveNhp failed, create object failed. ret: %d"});
}

uint32_t FIB_DB_UpdateNhpFields(const FibDbNhpItem* item, FibDbFieldSetter setter) {
  return fibdb::update(
      kNhp, item, setter,
      {.createFailed = "UpdateNhpFields failed, create object failed. ret: %d", .settle = settleUpdate});
}

uint32_t FIB_DB_SetNhpRefCount(uint64_t obj, const FibDbNhpItem* item) {
  constexpr Text<> failed = "SetNhpRefCount failed, set fields failed.";
  const uint32_t code = db_set_nhp_ref_cnt(obj, item->ref_cnt);
  if (code != 0) failed.error();
  return code;
}

uint32_t FIB_DB_SetNhpFlags(uint64_t obj, const FibDbNhpItem* item) {
  constexpr Text<> failed = "SetNhpFlags failed, set fields failed.";
  const uint32_t code = db_set_nhp_flags(obj, item->flags);
  if (code != 0) failed.error();
  return code;
}

uint32_t FIB_DB_SetNhpNumAndSmoothID(uint64_t obj, const FibDbNhpItem* item) {
  // Required: both are tried, nothing is said.
  uint32_t code = db_set_nhp_nhp_num(obj, item->nhp_num);
  code |= db_set_nhp_table_smooth_id(obj, item->table_smooth_id);
  return code == 0 ? FIB_DB_OK : FIB_DB_ERR;
}

uint32_t FIB_DB_SetNhpSmoothID(uint64_t obj, const FibDbNhpItem* item) {
  constexpr Text<> failed = "SetNhpSmoothID failed, set fields failed.";
  if (db_set_nhp_table_smooth_id(obj, item->table_smooth_id) == 0) return FIB_DB_OK;
  failed.error();
  return FIB_DB_ERR;
}

uint32_t FIB_DB_UpdateNhpRefCount(const FibDbNhpItem* item) { return updateWith<FIB_DB_SetNhpRefCount>(item); }
uint32_t FIB_DB_UpdateNhpFlags(const FibDbNhpItem* item) { return updateWith<FIB_DB_SetNhpFlags>(item); }
uint32_t FIB_DB_UpdateNhpNumAndSmoothID(const FibDbNhpItem* item) {
  return updateWith<FIB_DB_SetNhpNumAndSmoothID>(item);
}
uint32_t FIB_DB_UpdateNhpSmoothID(const FibDbNhpItem* item) { return updateWith<FIB_DB_SetNhpSmoothID>(item); }

FibDbIterator* FIB_DB_CreateNhpIterator(uint32_t property) {
  return fibdb::createIterator(kNhp,
                               {.mallocFailed = "CreateNhpIterator malloc failed",
                                .createObjFailed = "CreateNhpIterator createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpIterator createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpIterator setProperty failed, ret: %d"},
                               property, fibdb::WholeTable());
}

FibDbIterator* FIB_DB_CreateNhpIteratorByVrf(uint32_t key0, uint32_t key1, uint32_t key2, uint32_t property) {
  return fibdb::createIterator(kNhp,
                               {.mallocFailed = "CreateNhpIteratorByVrf malloc failed",
                                .createObjFailed = "CreateNhpIteratorByVrf createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpIteratorByVrf createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpIteratorByVrf setProperty failed, ret: %d"},
                               property, fibdb::UnderWords<3>{FIB_DB_NHP_BY_VRF, {key0, key1, key2}});
}

uint32_t FIB_DB_GetNextNhpEntry(FibDbIterator* handle, FibDbNhpItem* item) {
  constexpr Text<> isNull = "GetNextNhpEntry next failed, para is NULL.";
  constexpr fibdb::Failure failed{FIB_DB_TABLE_NHP, FIB_DB_OPER_ITERATOR, "GetNextNhpEntry next failed, ret: %d"};
  if (handle == nullptr || item == nullptr) isNull.error();
  return fibdb::next(handle, item, failed, fibdb::unpackCurrent<Item, FIB_DB_GetNhpItem>);
}

void FIB_DB_ReleaseNhpIterator(FibDbIterator* handle) { fibdb::releaseIterator(kNhp, handle); }
