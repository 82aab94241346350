// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/nhp_lla.cc: next hops with a 16-byte address, keyed by IID index, address and interface; found by the parts
// of the key and by global slot, too. Its partial updates and some of its lookups are counted as they begin and finish.
#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"

FibDbNhpLlaCnt g_fibDbNhpLlaCnt;

namespace {

using fibdb::PackedKey;
using fibdb::Text;
using Item = FibDbNhpLlaItem;
using Key = fibdb::KeyBytes<FIB_DB_NHP_LLA_PRIMARY>;
using LocalHash = PackedKey<FIB_DB_NHP_LLA_BY_LOCAL_HASH>;

static_assert(sizeof(Item) == 136);
static_assert(sizeof(FibDbNhpLlaCnt) == 40 + 4 * sizeof(uint32_t));
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_nhp_lla,
                                        {FIB_DB_NHP_LLA_PRIMARY, FIB_DB_NHP_LLA_BY_NHP_INDEX,
                                         FIB_DB_NHP_LLA_BY_LOCAL_HASH, FIB_DB_NHP_LLA_BY_IF_INDEX,
                                         FIB_DB_NHP_LLA_BY_GLOBAL_SLOT}));

constexpr fibdb::Table<Item, Key> kNhpLla{
    .create = db_create_nhp_lla_obj,
    .release = db_release_nhp_lla_object,
    .stage = FIB_DB_SetNhpLlaItem,
    .key = [](FibDbKeyDesc* desc, Key* key, const Item* item) { FIB_DB_SetNhpLlaKeyField(desc, key, item); },
    .fetch = fibdb::fetchFields<Item, FIB_DB_GetNhpLlaItem>,
    .settle = FIB_DB_ProcNhpLlaWriteDBResult,
};

// An address that cannot be got is copied from nowhere, which fails in its turn.
uint32_t unpackAddress(uint64_t obj, Item* item) {
  const void* address = nullptr;
  uint32_t length = 0;
  const uint32_t code = db_get_nhp_lla_next_hop(obj, &address, &length);
  // A stored address that is shorter fills its length; one that is longer fails.
  return code | static_cast<uint32_t>(memcpy_s(item->next_hop, sizeof item->next_hop, address, length));
}

}  // namespace

void FIB_DB_SetNhpLlaKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpLlaItem* item) {
  desc->indexId = FIB_DB_NHP_LLA_PRIMARY;
  fibdb::putKey<FIB_DB_NHP_LLA_PRIMARY>(key, item->iid_index, fibdb::addressAt(item->next_hop), item->out_if_index);
}

uint32_t FIB_DB_SetNhpLlaItem(uint64_t obj, const FibDbNhpLlaItem* item) {
  uint32_t code = db_set_nhp_lla_iid_index(obj, item->iid_index);
  code |= db_set_nhp_lla_next_hop(obj, item->next_hop, sizeof item->next_hop);
  code |= db_set_nhp_lla_out_if_index(obj, item->out_if_index);
  code |= db_set_nhp_lla_vr_id(obj, item->vr_id);
  code |= db_set_nhp_lla_vrf_index(obj, item->vrf_index);
  code |= db_set_nhp_lla_flags(obj, item->flags);
  code |= db_set_nhp_lla_iid_flags(obj, item->iid_flags);
  code |= db_set_nhp_lla_if_type(obj, item->if_type);
  code |= db_set_nhp_lla_fwd_if_type(obj, item->fwd_if_type);
  code |= db_set_nhp_lla_work_if_index(obj, item->work_if_index);
  code |= db_set_nhp_lla_global_slotid(obj, item->global_slotid);
  code |= db_set_nhp_lla_app_source_id(obj, item->app_source_id);
  code |= db_set_nhp_lla_group_smooth_id(obj, item->group_smooth_id);
  code |= db_set_nhp_lla_app_obj_id(obj, item->app_obj_id);
  code |= db_set_nhp_lla_app_version(obj, item->app_version);
  code |= db_set_nhp_lla_forwardVsId(obj, item->forwardVsId);
  code |= db_set_nhp_lla_status_high_prio(obj, item->status_high_prio);
  code |= db_set_nhp_lla_status_normal_prio(obj, item->status_normal_prio);
  code |= db_set_nhp_lla_errcode_high_prio(obj, item->errcode_high_prio);
  code |= db_set_nhp_lla_errcode_normal_prio(obj, item->errcode_normal_prio);
  code |= db_set_nhp_lla_svc_ctx_high_prio(obj, item->svc_ctx_high_prio, sizeof item->svc_ctx_high_prio);
  code |= db_set_nhp_lla_svc_ctx_normal_prio(obj, item->svc_ctx_normal_prio, sizeof item->svc_ctx_normal_prio);
  code |= db_set_nhp_lla_time_stamp_app(obj, item->time_stamp_app);
  code |= db_set_nhp_lla_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFields(code, "SetNhpLlaItem setField failed, ret: %d");
}

void FIB_DB_GetNhpLlaItem(uint64_t obj, FibDbNhpLlaItem* item) {
  constexpr Text<uint32_t> highFailed = "GetNhpLlaItem failed to memcpy nhp lla high svcCtx, ret: %d.";
  constexpr Text<uint32_t> normalFailed = "GetNhpLlaItem failed to memcpy nhp lla normal svcCtx, ret: %d.";
  constexpr Text<uint32_t> failed = "GetNhpLlaItem getField failed, ret: %d";
  uint32_t code = db_get_nhp_lla_iid_index(obj, &item->iid_index);
  code |= unpackAddress(obj, item);
  code |= db_get_nhp_lla_out_if_index(obj, &item->out_if_index);
  code |= db_get_nhp_lla_vr_id(obj, &item->vr_id);
  code |= db_get_nhp_lla_vrf_index(obj, &item->vrf_index);
  code |= db_get_nhp_lla_flags(obj, &item->flags);
  code |= db_get_nhp_lla_fwd_if_type(obj, &item->fwd_if_type);
  code |= db_get_nhp_lla_if_type(obj, &item->if_type);
  code |= db_get_nhp_lla_iid_flags(obj, &item->iid_flags);
  code |= db_get_nhp_lla_work_if_index(obj, &item->work_if_index);
  code |= db_get_nhp_lla_global_slotid(obj, &item->global_slotid);
  code |= db_get_nhp_lla_forwardVsId(obj, &item->forwardVsId);
  code |= db_get_nhp_lla_status_high_prio(obj, &item->status_high_prio);
  code |= db_get_nhp_lla_status_normal_prio(obj, &item->status_normal_prio);
  code |= db_get_nhp_lla_errcode_high_prio(obj, &item->errcode_high_prio);
  code |= db_get_nhp_lla_errcode_normal_prio(obj, &item->errcode_normal_prio);
  if (!fibdb::unpackContext(obj, db_get_nhp_lla_svc_ctx_high_prio, item->svc_ctx_high_prio, code, highFailed) ||
      !fibdb::unpackContext(obj, db_get_nhp_lla_svc_ctx_normal_prio, item->svc_ctx_normal_prio, code, normalFailed)) {
    return;
  }
  code |= db_get_nhp_lla_app_source_id(obj, &item->app_source_id);
  code |= db_get_nhp_lla_group_smooth_id(obj, &item->group_smooth_id);
  code |= db_get_nhp_lla_app_obj_id(obj, &item->app_obj_id);
  code |= db_get_nhp_lla_app_version(obj, &item->app_version);
  code |= db_get_nhp_lla_time_stamp_app(obj, &item->time_stamp_app);
  code |= db_get_nhp_lla_time_stamp_svc(obj, &item->time_stamp_svc);
  if (code != 0) failed.error(code);
}

uint32_t FIB_DB_WriteNhpLla(const FibDbNhpLlaItem* item) {
  return fibdb::write(kNhpLla, item, {.createFailed = "WriteNhpLla failed, create object failed. ret: %d"});
}

uint32_t FIB_DB_ReadNhpLla(FibDbNhpLlaItem* item) {
  // Required: "not success" in the one text, "failed" in the other.
  return fibdb::read(kNhpLla, item,
                     {.createFailed = "ReadNhpLla not success, create object failed. ret: %d",
                      .failure = {FIB_DB_TABLE_NHP_LLA, FIB_DB_OPER_READ, "ReadNhpLla failed, ret: %d"}});
}

// Required: the capitals of the name, which its text does not have.
uint32_t FIB_DB_RemoveNhpLLA(const FibDbNhpLlaItem* item) {
  return fibdb::remove(kNhpLla, item, {.createFailed = "RemoveNhpLla failed, create object failed. ret: %d"});
}

uint32_t FIB_DB_RemoveNhpLlaByNhpIndex(uint32_t nhpIndex) {
  return fibdb::removeUnder(kNhpLla, PackedKey<FIB_DB_NHP_LLA_BY_NHP_INDEX>(nhpIndex),
                            {.createFailed = "RemoveNhpLlaByNhpIndex failed, create object failed. ret: %d"});
}

uint32_t FIB_DB_ReadNhpLlaByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen, FibDbNhpLlaItem* buf,
                                uint32_t* count) {
  return fibdb::readUnder(
      kNhpLla, desc, key, bufLen, buf, count,
      {.createFailed = "ReadNhpLlaByKey failed, create object failed. ret: %d",
       .createIterFailed = "ReadNhpLlaByKey failed, create root iter failed. ret: %d",
       .stepFailed = {FIB_DB_TABLE_NHP_LLA, FIB_DB_OPER_ITERATOR, "ReadNhpLlaByKey failed, ret: %d"},
       .arrive = fibdb::unpackCurrent<Item, FIB_DB_GetNhpLlaItem>});
}

uint32_t FIB_DB_CountNhpLlaByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count) {
  return fibdb::countUnder(kNhpLla, desc, key, count,
                           {.createFailed = "CountNhpLlaByKey failed, create object failed. ret: %d",
                            .countFailed = "CountNhpLlaByKey failed, record count by key failed. ret: %d"});
}

uint32_t FIB_DB_GetNhpLlaCountByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count) {
  constexpr Text<uint32_t> createFailed = "GetNhpLlaCountByKey create object failed, ret: %d.";
  constexpr Text<uint32_t> countFailed = "GetNhpLlaCountByKey get record count failed, ret: %d.";
  fibdb::Object obj(kNhpLla, FIB_DB_OBJ_OP_COUNT);
  if (const uint32_t code = obj.error()) return createFailed.error(code), code;
  ++g_fibDbNhpLlaCnt.lookupsBegun;
  uint64_t records = 0;
  const uint32_t code = db_get_table_record_count_by_key(obj.handle(), desc, key, &records);
  // The lookup is finished when its object is gone, and only then told.
  obj.release();
  ++g_fibDbNhpLlaCnt.lookupsFinished;
  if (code != FIB_DB_OK) return countFailed.error(code), code;
  *count = static_cast<uint32_t>(records);
  return FIB_DB_OK;
}

uint32_t FIB_DB_ReadNhpLlaByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpLlaItem* buf, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_LLA_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_ReadNhpLlaByKey(&key.desc, &key.bytes, bufLen, buf, count);
}
uint32_t FIB_DB_CountNhpLlaByNhpIndex(uint32_t nhpIndex, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_LLA_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_CountNhpLlaByKey(&key.desc, &key.bytes, count);
}

uint32_t FIB_DB_ReadNhpLlaByLocalhash(const uint8_t* address, uint32_t, uint32_t ifIndex, uint32_t bufLen,
                                      FibDbNhpLlaItem* buf) {
  // Required: the items are checked, the address is not.
  if (buf == nullptr) return FIB_DB_ERR;
  const LocalHash key(fibdb::addressAt(address), ifIndex);
  return FIB_DB_ReadNhpLlaByKey(&key.desc, &key.bytes, bufLen, buf, nullptr);
}

// Required: the two counts by local hash are crossed. Count... is the counted lookup, Get...Count... the plain one.
uint32_t FIB_DB_CountNhpLlaByLocalhash(const uint8_t* address, uint32_t, uint32_t ifIndex, uint32_t* count) {
  if (address == nullptr || count == nullptr) return FIB_DB_ERR;
  const LocalHash key(fibdb::addressAt(address), ifIndex);
  return FIB_DB_GetNhpLlaCountByKey(&key.desc, &key.bytes, count);
}
uint32_t FIB_DB_GetNhpLlaCountByLocalhash(const uint8_t* address, uint32_t, uint32_t ifIndex, uint32_t* count) {
  if (address == nullptr || count == nullptr) return FIB_DB_ERR;
  const LocalHash key(fibdb::addressAt(address), ifIndex);
  return FIB_DB_CountNhpLlaByKey(&key.desc, &key.bytes, count);
}

// Required: the code goes to the caller as it is, a publication too; nothing is checked, said or counted but the begin
// and the end.
uint32_t FIB_DB_UpdateNhpLlaFields(const FibDbNhpLlaItem* item, FibDbFieldSetter setter) {
  // Required: the small letters of the name.
  constexpr Text<uint32_t> createFailed = "UpdateNhpllaFields createObj failed, ret: %d";
  fibdb::Stopwatch watch(true);
  fibdb::Object obj(kNhpLla, FIB_DB_OBJ_OP_UPDATE);
  if (const uint32_t code = obj.error()) {
    watch.cancel();
    createFailed.error(code);
    return code;
  }
  ++g_fibDbNhpLlaCnt.updatesBegun;
  const fibdb::KeyOf<Item, Key> key(kNhpLla, item);
  setter(obj.handle(), item);
  const uint32_t code = db_update_obj(obj.handle(), &key.desc, &key.bytes);
  obj.release();
  ++g_fibDbNhpLlaCnt.updatesFinished;
  return code;
}

uint32_t FIB_DB_SetNhpLlaContext(uint64_t obj, const FibDbNhpLlaItem* item) {
  uint32_t code = db_set_nhp_lla_svc_ctx_high_prio(obj, item->svc_ctx_high_prio, sizeof item->svc_ctx_high_prio);
  code |= db_set_nhp_lla_svc_ctx_normal_prio(obj, item->svc_ctx_normal_prio, sizeof item->svc_ctx_normal_prio);
  code |= db_set_nhp_lla_status_high_prio(obj, item->status_high_prio);
  code |= db_set_nhp_lla_status_normal_prio(obj, item->status_normal_prio);
  code |= db_set_nhp_lla_errcode_high_prio(obj, item->errcode_high_prio);
  code |= db_set_nhp_lla_errcode_normal_prio(obj, item->errcode_normal_prio);
  code |= db_set_nhp_lla_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFieldsUnsaid(code, "SetNhpLlaContext failed, set fields failed.");
}

uint32_t FIB_DB_SetNhpLlaFlag(uint64_t obj, const FibDbNhpLlaItem* item) {
  return db_set_nhp_lla_flags(obj, item->flags);
}

uint32_t FIB_DB_UpdateNhpLlaContext(const FibDbNhpLlaItem* item) {
  return FIB_DB_UpdateNhpLlaFields(item, fibdb::asFieldSetter<Item, FIB_DB_SetNhpLlaContext>);
}
uint32_t FIB_DB_UpdateNhpLlaFlag(const FibDbNhpLlaItem* item) {
  return FIB_DB_UpdateNhpLlaFields(item, fibdb::asFieldSetter<Item, FIB_DB_SetNhpLlaFlag>);
}

FibDbIterator* FIB_DB_CreateNhpLlaIterator(uint32_t property) {
  return fibdb::createIterator(kNhpLla,
                               {.mallocFailed = "CreateNhpLlaIterator malloc failed",
                                .createObjFailed = "CreateNhpLlaIterator createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpLlaIterator createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpLlaIterator setProperty failed, ret: %d"},
                               property, fibdb::WholeTable());
}

FibDbIterator* FIB_DB_CreateNhpLlaIteratorByKey(const FibDbKeyDesc* desc, const void* key, uint32_t property) {
  if (desc == nullptr || key == nullptr) return nullptr;
  return fibdb::createIterator(kNhpLla,
                               {.mallocFailed = "CreateNhpLlaIteratorByKey malloc failed",
                                .createObjFailed = "CreateNhpLlaIteratorByKey createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpLlaIteratorByKey createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpLlaIteratorByKey setProperty failed, ret: %d",
                                .madeInHandle = true},
                               property, fibdb::UnderKey{desc, key});
}

FibDbIterator* FIB_DB_CreateNhpLlaIteratorByNhpIndex(uint32_t nhpIndex, uint32_t property) {
  const PackedKey<FIB_DB_NHP_LLA_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_CreateNhpLlaIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpLlaIteratorByIfIndex(uint32_t ifIndex, uint32_t property) {
  const PackedKey<FIB_DB_NHP_LLA_BY_IF_INDEX> key(ifIndex);
  return FIB_DB_CreateNhpLlaIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpLlaIteratorByGlobalSlotId(uint32_t globalSlotId, uint32_t property) {
  const PackedKey<FIB_DB_NHP_LLA_BY_GLOBAL_SLOT> key(globalSlotId);
  return FIB_DB_CreateNhpLlaIteratorByKey(&key.desc, &key.bytes, property);
}

uint32_t FIB_DB_GetNextNhpLlaEntry(FibDbIterator* handle, FibDbNhpLlaItem* item) {
  constexpr fibdb::Failure failed{FIB_DB_TABLE_NHP_LLA, FIB_DB_OPER_ITERATOR, "GetNextNhpLlaEntry failed, ret: %d"};
  return fibdb::next(handle, item, failed, fibdb::unpackCurrent<Item, FIB_DB_GetNhpLlaItem>);
}

void FIB_DB_ReleaseNhpLlaIterator(FibDbIterator* handle) { fibdb::releaseIterator(kNhpLla, handle); }
