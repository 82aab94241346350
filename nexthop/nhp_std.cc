// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/nhp_std.cc: standard next hops, keyed by next-hop index, IPv4 address and interface; found by the parts of
// the key, interface type, working interface and global slot, too.
#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"

namespace {

using fibdb::PackedKey;
using fibdb::Text;
using Item = FibDbNhpStdItem;
using Key = fibdb::KeyBytes<FIB_DB_NHP_STD_PRIMARY>;

static_assert(sizeof(Item) == 128);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_nhp_std,
                                        {FIB_DB_NHP_STD_PRIMARY, FIB_DB_NHP_STD_BY_NHP_INDEX,
                                         FIB_DB_NHP_STD_BY_LOCAL_HASH, FIB_DB_NHP_STD_BY_IF_INDEX,
                                         FIB_DB_NHP_STD_BY_IF_TYPE, FIB_DB_NHP_STD_BY_WORK_IF_INDEX,
                                         FIB_DB_NHP_STD_BY_GLOBAL_SLOT}));

constexpr fibdb::Table<Item, Key> kNhpStd{
    .create = db_create_nhp_std_obj,
    .release = db_release_nhp_std_object,
    .stage = FIB_DB_SetNhpStdItem,
    .key = [](FibDbKeyDesc* desc, Key* key, const Item* item) { FIB_DB_SetNhpStdKeyField(desc, key, item); },
    .fetch = fibdb::fetchFields<Item, FIB_DB_GetNhpStdItem>,
    .settle = FIB_DB_ProcNhpStdWriteDBResult,
};

}  // namespace

void FIB_DB_SetNhpStdKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpStdItem* item) {
  desc->indexId = FIB_DB_NHP_STD_PRIMARY;
  fibdb::putKey<FIB_DB_NHP_STD_PRIMARY>(key, item->nhp_index, item->next_hop, item->out_if_index);
}

uint32_t FIB_DB_SetNhpStdItem(uint64_t obj, const FibDbNhpStdItem* item) {
  uint32_t code = db_set_nhp_std_nhp_index(obj, item->nhp_index);
  code |= db_set_nhp_std_next_hop(obj, item->next_hop);
  code |= db_set_nhp_std_out_if_index(obj, item->out_if_index);
  code |= db_set_nhp_std_vr_id(obj, item->vr_id);
  code |= db_set_nhp_std_vrf_index(obj, item->vrf_index);
  code |= db_set_nhp_std_flags(obj, item->flags);
  code |= db_set_nhp_std_fwd_if_type(obj, item->fwd_if_type);
  code |= db_set_nhp_std_if_type(obj, item->if_type);
  code |= db_set_nhp_std_iid_flags(obj, item->iid_flags);
  code |= db_set_nhp_std_work_if_index(obj, item->work_if_index);
  code |= db_set_nhp_std_global_slotid(obj, item->global_slotid);
  code |= db_set_nhp_std_app_source_id(obj, item->app_source_id);
  code |= db_set_nhp_std_group_smooth_id(obj, item->group_smooth_id);
  code |= db_set_nhp_std_app_obj_id(obj, item->app_obj_id);
  code |= db_set_nhp_std_app_version(obj, item->app_version);
  code |= db_set_nhp_std_attr_flag(obj, item->attr_flag);
  code |= db_set_nhp_std_forwardVsId(obj, item->forwardVsId);
  code |= db_set_nhp_std_status_high_prio(obj, item->status_high_prio);
  code |= db_set_nhp_std_status_normal_prio(obj, item->status_normal_prio);
  code |= db_set_nhp_std_errcode_high_prio(obj, item->errcode_high_prio);
  code |= db_set_nhp_std_errcode_normal_prio(obj, item->errcode_normal_prio);
  code |= db_set_nhp_std_svc_ctx_high_prio(obj, item->svc_ctx_high_prio, sizeof item->svc_ctx_high_prio);
  code |= db_set_nhp_std_svc_ctx_normal_prio(obj, item->svc_ctx_normal_prio, sizeof item->svc_ctx_normal_prio);
  code |= db_set_nhp_std_time_stamp_app(obj, item->time_stamp_app);
  code |= db_set_nhp_std_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFields(code, "SetNhpStdItem setField failed, ret: %d");
}

void FIB_DB_GetNhpStdItem(uint64_t obj, FibDbNhpStdItem* item) {
  constexpr Text<uint32_t> highFailed = "GetNhpStdItem failed to memcpy nhp std high svcCtx, ret: %d.";
  constexpr Text<uint32_t> normalFailed = "GetNhpStdItem failed to memcpy nhp std normal svcCtx, ret: %d.";
  constexpr Text<uint32_t> failed = "GetNhpStdItem getField failed, ret: %d";
  if (item == nullptr) return;
  uint32_t code = db_get_nhp_std_nhp_index(obj, &item->nhp_index);
  code |= db_get_nhp_std_next_hop(obj, &item->next_hop);
  code |= db_get_nhp_std_out_if_index(obj, &item->out_if_index);
  code |= db_get_nhp_std_vr_id(obj, &item->vr_id);
  code |= db_get_nhp_std_vrf_index(obj, &item->vrf_index);
  code |= db_get_nhp_std_flags(obj, &item->flags);
  code |= db_get_nhp_std_fwd_if_type(obj, &item->fwd_if_type);
  code |= db_get_nhp_std_if_type(obj, &item->if_type);
  code |= db_get_nhp_std_iid_flags(obj, &item->iid_flags);
  code |= db_get_nhp_std_work_if_index(obj, &item->work_if_index);
  code |= db_get_nhp_std_global_slotid(obj, &item->global_slotid);
  code |= db_get_nhp_std_forwardVsId(obj, &item->forwardVsId);
  code |= db_get_nhp_std_status_high_prio(obj, &item->status_high_prio);
  code |= db_get_nhp_std_status_normal_prio(obj, &item->status_normal_prio);
  code |= db_get_nhp_std_errcode_high_prio(obj, &item->errcode_high_prio);
  code |= db_get_nhp_std_errcode_normal_prio(obj, &item->errcode_normal_prio);
  if (!fibdb::unpackContext(obj, db_get_nhp_std_svc_ctx_high_prio, item->svc_ctx_high_prio, code, highFailed) ||
      !fibdb::unpackContext(obj, db_get_nhp_std_svc_ctx_normal_prio, item->svc_ctx_normal_prio, code, normalFailed)) {
    return;
  }
  code |= db_get_nhp_std_app_source_id(obj, &item->app_source_id);
  code |= db_get_nhp_std_group_smooth_id(obj, &item->group_smooth_id);
  code |= db_get_nhp_std_app_obj_id(obj, &item->app_obj_id);
  code |= db_get_nhp_std_app_version(obj, &item->app_version);
  code |= db_get_nhp_std_attr_flag(obj, &item->attr_flag);
  code |= db_get_nhp_std_time_stamp_app(obj, &item->time_stamp_app);
  code |= db_get_nhp_std_time_stamp_svc(obj, &item->time_stamp_svc);
  if (code != 0) failed.error(code);
}

uint32_t FIB_DB_WriteNhpStd(const FibDbNhpStdItem* item) {
  return fibdb::write(kNhpStd, item, {.createFailed = "WriteNhpStd failed, create object failed. ret: %d"});
}

uint32_t FIB_DB_ReadNhpStd(FibDbNhpStdItem* item) {
  return fibdb::read(kNhpStd, item,
                     {.createFailed = "ReadNhpStd failed, create object failed. ret: %d",
                      .failure = {FIB_DB_TABLE_NHP_STD, FIB_DB_OPER_READ, "ReadNhpStd failed, ret: %d"}});
}

uint32_t FIB_DB_RemoveNhpStd(const FibDbNhpStdItem* item) {
  return fibdb::remove(kNhpStd, item, {.createFailed = "RemoveNhpStd failed, create object failed. ret: %d"});
}

uint32_t FIB_DB_RemoveNhpStdByNhpIndex(uint32_t nhpIndex) {
  return fibdb::removeUnder(kNhpStd, PackedKey<FIB_DB_NHP_STD_BY_NHP_INDEX>(nhpIndex),
                            {.createFailed = "RemoveNhpStdByNhpIndex failed, create object failed. ret: %d"});
}

uint32_t FIB_DB_ReadNhpStdByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen, FibDbNhpStdItem* buf,
                                uint32_t* count) {
  return fibdb::readUnder(
      kNhpStd, desc, key, bufLen, buf, count,
      {.createFailed = "ReadNhpStdByKey failed, create object failed. ret: %d",
       .createIterFailed = "ReadNhpStdByKey failed, create root iter failed. ret: %d",
       .stepFailed = {FIB_DB_TABLE_NHP_STD, FIB_DB_OPER_ITERATOR, "ReadNhpStdByKey failed, ret: %d"},
       .arrive = fibdb::unpackCurrent<Item, FIB_DB_GetNhpStdItem>});
}

uint32_t FIB_DB_CountNhpStdByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count) {
  return fibdb::countUnder(kNhpStd, desc, key, count,
                           {.createFailed = "CountNhpStdByKey failed, create object failed. ret: %d",
                            .countFailed = "CountNhpStdByKey failed, record count by key failed. ret: %d"});
}

uint32_t FIB_DB_ReadNhpStdByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpStdItem* buf, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_STD_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_ReadNhpStdByKey(&key.desc, &key.bytes, bufLen, buf, count);
}
uint32_t FIB_DB_CountNhpStdByNhpIndex(uint32_t nhpIndex, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_STD_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_CountNhpStdByKey(&key.desc, &key.bytes, count);
}
uint32_t FIB_DB_ReadNhpStdByLocalhash(uint32_t ip, uint32_t ifIndex, uint32_t bufLen, FibDbNhpStdItem* buf) {
  const PackedKey<FIB_DB_NHP_STD_BY_LOCAL_HASH> key(ip, ifIndex);
  return FIB_DB_ReadNhpStdByKey(&key.desc, &key.bytes, bufLen, buf, nullptr);
}
uint32_t FIB_DB_CountNhpStdByLocalhash(uint32_t ip, uint32_t ifIndex, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_STD_BY_LOCAL_HASH> key(ip, ifIndex);
  return FIB_DB_CountNhpStdByKey(&key.desc, &key.bytes, count);
}
uint32_t FIB_DB_ReadNhpStdByIfIndex(uint32_t ifIndex, uint32_t bufLen, FibDbNhpStdItem* buf) {
  const PackedKey<FIB_DB_NHP_STD_BY_IF_INDEX> key(ifIndex);
  return FIB_DB_ReadNhpStdByKey(&key.desc, &key.bytes, bufLen, buf, nullptr);
}
uint32_t FIB_DB_CountNhpStdByIfIndex(uint32_t ifIndex, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_STD_BY_IF_INDEX> key(ifIndex);
  return FIB_DB_CountNhpStdByKey(&key.desc, &key.bytes, count);
}
uint32_t FIB_DB_ReadNhpStdByIfType(uint32_t ifType, uint32_t bufLen, FibDbNhpStdItem* buf) {
  const PackedKey<FIB_DB_NHP_STD_BY_IF_TYPE> key(ifType);
  return FIB_DB_ReadNhpStdByKey(&key.desc, &key.bytes, bufLen, buf, nullptr);
}
uint32_t FIB_DB_CountNhpStdByIfType(uint32_t ifType, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_STD_BY_IF_TYPE> key(ifType);
  return FIB_DB_CountNhpStdByKey(&key.desc, &key.bytes, count);
}

uint32_t FIB_DB_UpdateNhpStdFields(const FibDbNhpStdItem* item, FibDbFieldSetter setter) {
  return fibdb::update(kNhpStd, item, setter,
                       {.createFailed = "UpdateNhpStdFields failed, create object failed. ret: %d", .timed = true});
}

uint32_t FIB_DB_SetNhpStdContext(uint64_t obj, const FibDbNhpStdItem* item) {
  uint32_t code = db_set_nhp_std_svc_ctx_high_prio(obj, item->svc_ctx_high_prio, sizeof item->svc_ctx_high_prio);
  code |= db_set_nhp_std_svc_ctx_normal_prio(obj, item->svc_ctx_normal_prio, sizeof item->svc_ctx_normal_prio);
  code |= db_set_nhp_std_status_high_prio(obj, item->status_high_prio);
  code |= db_set_nhp_std_status_normal_prio(obj, item->status_normal_prio);
  code |= db_set_nhp_std_errcode_high_prio(obj, item->errcode_high_prio);
  code |= db_set_nhp_std_errcode_normal_prio(obj, item->errcode_normal_prio);
  code |= db_set_nhp_std_time_stamp_svc(obj, item->time_stamp_svc);
  code |= db_set_nhp_std_forwardVsId(obj, item->forwardVsId);
  return fibdb::settleFieldsUnsaid(code, "SetNhpStdContext failed, set fields failed.");
}

uint32_t FIB_DB_SetNhpStdFlags(uint64_t obj, const FibDbNhpStdItem* item) {
  constexpr Text<> failed = "SetNhpStdFlags failed, set fields failed.";
  const uint32_t code = db_set_nhp_std_flags(obj, item->flags);
  if (code != 0) failed.error();
  return code;
}

uint32_t FIB_DB_UpdateNhpStdContext(const FibDbNhpStdItem* item) {
  return FIB_DB_UpdateNhpStdFields(item, fibdb::asFieldSetter<Item, FIB_DB_SetNhpStdContext>);
}
uint32_t FIB_DB_UpdateNhpStdFlags(const FibDbNhpStdItem* item) {
  return FIB_DB_UpdateNhpStdFields(item, fibdb::asFieldSetter<Item, FIB_DB_SetNhpStdFlags>);
}

FibDbIterator* FIB_DB_CreateNhpStdIterator(uint32_t property) {
  return fibdb::createIterator(kNhpStd,
                               {.mallocFailed = "CreateNhpStdIterator malloc failed",
                                .createObjFailed = "CreateNhpStdIterator createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpStdIterator createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpStdIterator setProperty failed, ret: %d"},
                               property, fibdb::WholeTable());
}

FibDbIterator* FIB_DB_CreateNhpStdIteratorByKey(const FibDbKeyDesc* desc, const void* key, uint32_t property) {
  if (desc == nullptr || key == nullptr) return nullptr;
  return fibdb::createIterator(kNhpStd,
                               {.mallocFailed = "CreateNhpStdIteratorByKey malloc failed",
                                .createObjFailed = "CreateNhpStdIteratorByKey createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpStdIteratorByKey createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpStdIteratorByKey setProperty failed, ret: %d",
                                .madeInHandle = true},
                               property, fibdb::UnderKey{desc, key});
}

FibDbIterator* FIB_DB_CreateNhpStdIteratorByNhpIndex(uint32_t nhpIndex, uint32_t property) {
  const PackedKey<FIB_DB_NHP_STD_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_CreateNhpStdIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpStdIteratorByIpIfIndex(uint32_t ip, uint32_t ifIndex, uint32_t property) {
  const PackedKey<FIB_DB_NHP_STD_BY_LOCAL_HASH> key(ip, ifIndex);
  return FIB_DB_CreateNhpStdIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpStdIteratorByIfIndex(uint32_t ifIndex, uint32_t property) {
  const PackedKey<FIB_DB_NHP_STD_BY_IF_INDEX> key(ifIndex);
  return FIB_DB_CreateNhpStdIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpStdIteratorByWorkIfIndex(uint32_t workIfIndex, uint32_t property) {
  const PackedKey<FIB_DB_NHP_STD_BY_WORK_IF_INDEX> key(workIfIndex);
  return FIB_DB_CreateNhpStdIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpStdIteratorByGlobalSlotId(uint32_t globalSlotId, uint32_t property) {
  const PackedKey<FIB_DB_NHP_STD_BY_GLOBAL_SLOT> key(globalSlotId);
  return FIB_DB_CreateNhpStdIteratorByKey(&key.desc, &key.bytes, property);
}

uint32_t FIB_DB_GetNextNhpStdEntry(FibDbIterator* handle, FibDbNhpStdItem* item) {
  constexpr fibdb::Failure failed{FIB_DB_TABLE_NHP_STD, FIB_DB_OPER_ITERATOR, "GetNextNhpStdEntry failed, ret: %d"};
  return fibdb::next(handle, item, failed, fibdb::unpackCurrent<Item, FIB_DB_GetNhpStdItem>);
}

void FIB_DB_ReleaseNhpStdIterator(FibDbIterator* handle) { fibdb::releaseIterator(kNhpStd, handle); }
