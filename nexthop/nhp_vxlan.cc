// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/nhp_vxlan.cc: next hops into a VXLAN tunnel, keyed by next-hop index, tunnel and gateway address; found by
// the index, the tunnel and the VNI, too.
#include <cstddef>

#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"

namespace {

using fibdb::PackedKey;
using fibdb::Text;
using Item = FibDbNhpVxlanItem;
using Row = FibDbNhpVxlanRow;
using Key = fibdb::KeyBytes<FIB_DB_NHP_VXLAN_PRIMARY>;

static_assert(sizeof(Item) == 144);
static_assert(fibdb::schema::kIsRow_nhp_vxlan<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_nhp_vxlan,
                                        {FIB_DB_NHP_VXLAN_PRIMARY, FIB_DB_NHP_VXLAN_BY_NHP_INDEX,
                                         FIB_DB_NHP_VXLAN_BY_TUNNEL, FIB_DB_NHP_VXLAN_BY_VNI}));

constexpr fibdb::Table<Item, Key> kNhpVxlan{
    .create = db_create_nhp_vxlan_obj,
    .release = db_release_nhp_vxlan_object,
    .stage = FIB_DB_SetNhpVxlanItem,
    // Required: whether gwip could be copied into the key is not looked at.
    .key = [](FibDbKeyDesc* desc, Key* key, const Item* item) { FIB_DB_SetNhpVxlanKeyField(desc, key, item); },
    .fetch = fibdb::fetchFields<Item, FIB_DB_GetNhpVxlanItem>,
    .settle = FIB_DB_ProcNhpVxlanWriteDBResult,
};

uint32_t stageContext(uint64_t obj, const Item* item) {
  uint32_t code = db_set_nhp_vxlan_svc_ctx_high_prio(obj, item->svc_ctx_high_prio, sizeof item->svc_ctx_high_prio);
  code |= db_set_nhp_vxlan_svc_ctx_normal_prio(obj, item->svc_ctx_normal_prio, sizeof item->svc_ctx_normal_prio);
  code |= db_set_nhp_vxlan_status_high_prio(obj, item->status_high_prio);
  code |= db_set_nhp_vxlan_status_normal_prio(obj, item->status_normal_prio);
  code |= db_set_nhp_vxlan_errcode_high_prio(obj, item->errcode_high_prio);
  code |= db_set_nhp_vxlan_errcode_normal_prio(obj, item->errcode_normal_prio);
  code |= db_set_nhp_vxlan_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFieldsUnsaid(code, "UpdateNhpVxlanContext failed, set fields failed.");
}

// The table as a context update sees it.
constexpr fibdb::Table<Item, Key> kContext = [] {
  fibdb::Table<Item, Key> table = kNhpVxlan;
  table.stage = stageContext;
  return table;
}();

// Copies a field of bytes out. One that could not be got is copied from where the pointer stood, all the same; from
// NULL that fails in its turn.
template <size_t Size>
uint32_t unpackBytes(uint64_t obj, uint32_t (*get)(uint64_t obj, const void** out, uint32_t* len), const void*& bytes,
                     uint8_t (&out)[Size]) {
  const uint32_t code = get(obj, &bytes, nullptr);
  return code | static_cast<uint32_t>(memcpy_s(out, Size, bytes, Size));
}

// A bulk read's arrival at a record.
uint32_t unpackRow(uint64_t obj, Item* item) {
  Row row{};
  const uint32_t code = db_read_obj_with_buf(obj, nullptr, nullptr, &row, sizeof row);
  const uint32_t status = FIB_DB_ProcNhpVxlanReadDBResult(code, FIB_DB_OPER_READ);
  if (status == FIB_DB_OK) FIB_DB_GetNhpVxlanItemLite(item, &row);
  return status;
}

}  // namespace

uint32_t FIB_DB_SetNhpVxlanKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpVxlanItem* item) {
  constexpr size_t kWords = 4 * sizeof(uint32_t);
  constexpr size_t kTypes = 2;
  static_assert(kWords + kTypes + sizeof item->gwip == sizeof(Key));
  desc->indexId = FIB_DB_NHP_VXLAN_PRIMARY;
  auto* at = fibdb::putKeyField(static_cast<uint8_t*>(key), item->nhp_index);
  at = fibdb::putKeyField(at, item->vr_id);
  at = fibdb::putKeyField(at, item->tunnel_vrf_index);
  at = fibdb::putKeyField(at, item->tunnel_id);
  at = fibdb::putKeyField(at, item->tunnel_type);
  at = fibdb::putKeyField(at, item->af_type);
  return static_cast<uint32_t>(memcpy_s(at, sizeof item->gwip, item->gwip, sizeof item->gwip));
}

uint32_t FIB_DB_SetNhpVxlanItem(uint64_t obj, const FibDbNhpVxlanItem* item) {
  uint32_t code = db_set_nhp_vxlan_nhp_index(obj, item->nhp_index);
  code |= db_set_nhp_vxlan_vr_id(obj, item->vr_id);
  code |= db_set_nhp_vxlan_vrf_index(obj, item->vrf_index);
  code |= db_set_nhp_vxlan_tunnel_vrf_index(obj, item->tunnel_vrf_index);
  code |= db_set_nhp_vxlan_tunnel_id(obj, item->tunnel_id);
  code |= db_set_nhp_vxlan_flags(obj, item->flags);
  code |= db_set_nhp_vxlan_vn_id(obj, item->vn_id);
  code |= db_set_nhp_vxlan_aib_index(obj, item->aib_index);
  code |= db_set_nhp_vxlan_overlay_type(obj, item->overlay_type);
  code |= db_set_nhp_vxlan_mac_addr(obj, item->mac_addr, sizeof item->mac_addr);
  code |= db_set_nhp_vxlan_tunnel_type(obj, item->tunnel_type);
  code |= db_set_nhp_vxlan_af_type(obj, item->af_type);
  code |= db_set_nhp_vxlan_gwip(obj, item->gwip, sizeof item->gwip);
  code |= db_set_nhp_vxlan_app_source_id(obj, item->app_source_id);
  code |= db_set_nhp_vxlan_group_smooth_id(obj, item->group_smooth_id);
  code |= db_set_nhp_vxlan_app_obj_id(obj, item->app_obj_id);
  code |= db_set_nhp_vxlan_app_version(obj, item->app_version);
  code |= db_set_nhp_vxlan_vsi_index(obj, item->vsi_index);
  code |= db_set_nhp_vxlan_dvp_index(obj, item->dvp_index);
  code |= db_set_nhp_vxlan_status_high_prio(obj, item->status_high_prio);
  code |= db_set_nhp_vxlan_status_normal_prio(obj, item->status_normal_prio);
  code |= db_set_nhp_vxlan_errcode_high_prio(obj, item->errcode_high_prio);
  code |= db_set_nhp_vxlan_errcode_normal_prio(obj, item->errcode_normal_prio);
  code |= db_set_nhp_vxlan_svc_ctx_high_prio(obj, item->svc_ctx_high_prio, sizeof item->svc_ctx_high_prio);
  code |= db_set_nhp_vxlan_svc_ctx_normal_prio(obj, item->svc_ctx_normal_prio, sizeof item->svc_ctx_normal_prio);
  code |= db_set_nhp_vxlan_time_stamp_app(obj, item->time_stamp_app);
  code |= db_set_nhp_vxlan_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFields(code, "SetNhpVxlanItem setField failed, ret: %d.");
}

void FIB_DB_GetNhpVxlanItem(uint64_t obj, FibDbNhpVxlanItem* item) {
  constexpr Text<uint32_t> failed = "GetNhpVxlanItem getField failed, ret: %d";
  if (item == nullptr) return;
  const void* mac = nullptr;
  const void* gateway = nullptr;
  // Required: both contexts are got through one pointer. A normal one that cannot be got is filled with the high one.
  const void* context = nullptr;
  uint32_t code = db_get_nhp_vxlan_nhp_index(obj, &item->nhp_index);
  code |= db_get_nhp_vxlan_vr_id(obj, &item->vr_id);
  code |= db_get_nhp_vxlan_vrf_index(obj, &item->vrf_index);
  code |= db_get_nhp_vxlan_tunnel_vrf_index(obj, &item->tunnel_vrf_index);
  code |= db_get_nhp_vxlan_tunnel_id(obj, &item->tunnel_id);
  code |= db_get_nhp_vxlan_flags(obj, &item->flags);
  code |= db_get_nhp_vxlan_vn_id(obj, &item->vn_id);
  code |= db_get_nhp_vxlan_aib_index(obj, &item->aib_index);
  code |= db_get_nhp_vxlan_overlay_type(obj, &item->overlay_type);
  code |= unpackBytes(obj, db_get_nhp_vxlan_mac_addr, mac, item->mac_addr);
  code |= db_get_nhp_vxlan_tunnel_type(obj, &item->tunnel_type);
  code |= unpackBytes(obj, db_get_nhp_vxlan_gwip, gateway, item->gwip);
  code |= db_get_nhp_vxlan_af_type(obj, &item->af_type);
  code |= db_get_nhp_vxlan_status_high_prio(obj, &item->status_high_prio);
  code |= db_get_nhp_vxlan_status_normal_prio(obj, &item->status_normal_prio);
  code |= db_get_nhp_vxlan_errcode_high_prio(obj, &item->errcode_high_prio);
  code |= db_get_nhp_vxlan_errcode_normal_prio(obj, &item->errcode_normal_prio);
  code |= unpackBytes(obj, db_get_nhp_vxlan_svc_ctx_high_prio, context, item->svc_ctx_high_prio);
  code |= unpackBytes(obj, db_get_nhp_vxlan_svc_ctx_normal_prio, context, item->svc_ctx_normal_prio);
  code |= db_get_nhp_vxlan_app_source_id(obj, &item->app_source_id);
  code |= db_get_nhp_vxlan_group_smooth_id(obj, &item->group_smooth_id);
  code |= db_get_nhp_vxlan_app_obj_id(obj, &item->app_obj_id);
  code |= db_get_nhp_vxlan_app_version(obj, &item->app_version);
  code |= db_get_nhp_vxlan_vsi_index(obj, &item->vsi_index);
  code |= db_get_nhp_vxlan_dvp_index(obj, &item->dvp_index);
  code |= db_get_nhp_vxlan_time_stamp_app(obj, &item->time_stamp_app);
  code |= db_get_nhp_vxlan_time_stamp_svc(obj, &item->time_stamp_svc);
  if (code != 0) failed.error(code);
}

// Required: group_smooth_id, time_stamp_app and time_stamp_svc are not taken over, and no copy's code is looked at.
void FIB_DB_GetNhpVxlanItemLite(FibDbNhpVxlanItem* dst, const void* row) {
  if (dst == nullptr || row == nullptr) return;
  const auto* const in = static_cast<const Row*>(row);
  dst->nhp_index = in->nhp_index;
  dst->vr_id = in->vr_id;
  dst->tunnel_vrf_index = in->tunnel_vrf_index;
  dst->tunnel_id = in->tunnel_id;
  dst->tunnel_type = in->tunnel_type;
  dst->af_type = in->af_type;
  memcpy_s(dst->gwip, sizeof dst->gwip, in->gwip, sizeof in->gwip);
  dst->vrf_index = in->vrf_index;
  dst->flags = in->flags;
  dst->vn_id = in->vn_id;
  dst->aib_index = in->aib_index;
  dst->overlay_type = in->overlay_type;
  memcpy_s(dst->mac_addr, sizeof dst->mac_addr, in->mac_addr, sizeof in->mac_addr);
  dst->status_high_prio = in->status_high_prio;
  dst->status_normal_prio = in->status_normal_prio;
  dst->errcode_high_prio = in->errcode_high_prio;
  dst->errcode_normal_prio = in->errcode_normal_prio;
  memcpy_s(dst->svc_ctx_high_prio, sizeof dst->svc_ctx_high_prio, in->svc_ctx_high_prio, sizeof in->svc_ctx_high_prio);
  memcpy_s(dst->svc_ctx_normal_prio, sizeof dst->svc_ctx_normal_prio, in->svc_ctx_normal_prio,
           sizeof in->svc_ctx_normal_prio);
  dst->app_source_id = in->app_source_id;
  dst->app_obj_id = in->app_obj_id;
  dst->app_version = in->app_version;
  dst->vsi_index = in->vsi_index;
  dst->dvp_index = in->dvp_index;
}

uint32_t FIB_DB_WriteNhpVxlan(const FibDbNhpVxlanItem* item) {
  return fibdb::write(kNhpVxlan, item,
                      {.createFailed = "WriteNhpVxlan failed, create object failed. ret: %d.",
                       .stageFailed = "WriteNhpVxlan failed, set item failed. ret: %d."});
}

uint32_t FIB_DB_ReadNhpVxlan(FibDbNhpVxlanItem* item) {
  // Required: the item is not checked.
  return fibdb::read(kNhpVxlan, item,
                     {.createFailed = "ReadNhpVxlan failed, create object failed. ret: %d.",
                      .failure = {FIB_DB_TABLE_NHP_VXLAN, FIB_DB_OPER_READ, "ReadNhpVxlan failed, ret: %d."},
                      .unguarded = true});
}

uint32_t FIB_DB_RemoveNhpVxlan(const FibDbNhpVxlanItem* item) {
  return fibdb::remove(kNhpVxlan, item, {.createFailed = "RemoveNhpVxlan failed, create object failed. ret: %d."});
}

uint32_t FIB_DB_RemoveNhpVxlanByNhpIndex(uint32_t nhpIndex) {
  return fibdb::removeUnder(kNhpVxlan, PackedKey<FIB_DB_NHP_VXLAN_BY_NHP_INDEX>(nhpIndex),
                            {.createFailed = "RemoveNhpVxlanByNhpIndex failed, create object failed. ret: %d."});
}

uint32_t FIB_DB_ReadNhpVxlanByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen, FibDbNhpVxlanItem* buf,
                                  uint32_t* count) {
  // Required: the last of these texts has no full stop.
  return fibdb::readUnder(
      kNhpVxlan, desc, key, bufLen, buf, count,
      {.createFailed = "ReadNhpVxlanByKey failed, create object failed. ret: %d.",
       .createIterFailed = "ReadNhpVxlanByKey failed, create root iter failed. ret: %d.",
       .stepFailed = {FIB_DB_TABLE_NHP_VXLAN, FIB_DB_OPER_ITERATOR, "ReadNhpVxlanByKey failed, ret: %d"},
       .arrive = unpackRow});
}

uint32_t FIB_DB_CountNhpVxlanByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count) {
  return fibdb::countUnder(kNhpVxlan, desc, key, count,
                           {.createFailed = "CountNhpVxlanByKey failed, create object failed. ret: %d.",
                            .countFailed = "CountNhpVxlanByKey failed, get record count failed. ret: %d."});
}

uint32_t FIB_DB_ReadNhpVxlanByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpVxlanItem* buf, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_VXLAN_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_ReadNhpVxlanByKey(&key.desc, &key.bytes, bufLen, buf, count);
}
uint32_t FIB_DB_CountNhpVxlanByNhpIndex(uint32_t nhpIndex, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_VXLAN_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_CountNhpVxlanByKey(&key.desc, &key.bytes, count);
}

// Required: a field that cannot be staged stops this update, which takes no setter and is not timed.
uint32_t FIB_DB_UpdateNhpVxlanContext(const FibDbNhpVxlanItem* item) {
  return fibdb::updateWhole(kContext, item,
                            {.createFailed = "UpdateNhpVxlanContext failed, create object failed. ret: %d."});
}

FibDbIterator* FIB_DB_CreateNhpVxlanIterator(uint32_t property) {
  return fibdb::createIterator(kNhpVxlan,
                               {.mallocFailed = "CreateNhpVxlanIterator malloc failed",
                                .createObjFailed = "CreateNhpVxlanIterator createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpVxlanIterator createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpVxlanIterator setProperty failed, ret: %d"},
                               property, fibdb::WholeTable());
}

FibDbIterator* FIB_DB_CreateNhpVxlanIteratorByKey(const FibDbKeyDesc* desc, const void* key, uint32_t property) {
  if (desc == nullptr || key == nullptr) return nullptr;
  // Required: a property that cannot be set is said in the words of the standard next hops.
  return fibdb::createIterator(kNhpVxlan,
                               {.mallocFailed = "CreateNhpVxlanIteratorByKey malloc failed",
                                .createObjFailed = "CreateNhpVxlanIteratorByKey createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpVxlanIteratorByKey createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpStdIteratorByKey setProperty failed, ret: %d",
                                .madeInHandle = true},
                               property, fibdb::UnderKey{desc, key});
}

FibDbIterator* FIB_DB_CreateNhpVxlanIteratorByNhpIndex(uint32_t nhpIndex, uint32_t property) {
  const PackedKey<FIB_DB_NHP_VXLAN_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_CreateNhpVxlanIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpVxlanIteratorByTunnelKey(uint32_t key0, uint32_t key1, uint32_t key2, uint8_t keyByte,
                                                        uint32_t property) {
  const PackedKey<FIB_DB_NHP_VXLAN_BY_TUNNEL> key(key0, key1, key2, keyByte);
  return FIB_DB_CreateNhpVxlanIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpVxlanIteratorByVniKey(uint32_t key0, uint32_t key1, uint32_t property) {
  const PackedKey<FIB_DB_NHP_VXLAN_BY_VNI> key(key0, key1);
  return FIB_DB_CreateNhpVxlanIteratorByKey(&key.desc, &key.bytes, property);
}

// Required: what is missing is said, and a failure is not counted.
uint32_t FIB_DB_GetNextNhpVxlanItem(FibDbIterator* handle, FibDbNhpVxlanItem* item) {
  constexpr Text<> isNull = "get vxlan entry next iter failed, para is NULL";
  constexpr Text<uint32_t> failed = "get vxlan entry next iter failed, get next root iter failed. ret: %d";
  if (handle == nullptr || handle->rootIter == 0 || item == nullptr || handle->obj == 0) {
    isNull.error();
    return FIB_DB_ERR;
  }
  return fibdb::next(
      handle, item, [&](uint32_t code) { failed.error(code); }, fibdb::unpackCurrent<Item, FIB_DB_GetNhpVxlanItem>);
}

void FIB_DB_ReleaseNhpVxlanIterator(FibDbIterator* handle) {
  if (handle == nullptr) return;
  db_release_nhp_vxlan_object(handle->obj);
  // The free hook may keep the block: it goes back without handles in it.
  handle->obj = 0;
  handle->rootIter = 0;
  FIB_DB_Free(handle);
}
