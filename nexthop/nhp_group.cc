// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/nhp_group.cc: next-hop groups, keyed by group and router; found by VRF, too, and through the table service.
// Each change tells the readers of the table, in oper_bitmap, what kind of change it is.
#include <array>
#include <cstring>

#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "platform/ufib.h"
#include "runtime/ops.h"
#include "runtime/registered.h"

namespace {

using fibdb::Text;
using Item = FibDbNhpGroupItem;
using Key = FibDbNhpGroupKey;

static_assert(sizeof(Item) == 152);
static_assert(sizeof(Key) == fibdb::keyLengthOf(FIB_DB_NHP_GROUP_PRIMARY));
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_nhp_group,
                                        {FIB_DB_NHP_GROUP_PRIMARY, FIB_DB_NHP_GROUP_BY_VRF,
                                         FIB_DB_NHP_GROUP_BY_VR_AND_VRF}));

// Kinds of change.
enum OperBitmap : uint32_t { kWhole = 1, kRefCount = 2, kSmoothId = 4, kContext = 8, kFlags = 16 };

constexpr fibdb::Table<Item, Key> kNhpGroup{
    .create = db_create_nhp_group_obj,
    .release = db_release_nhp_group_object,
    .stage = FIB_DB_SetNhpGroupItem,
    .key = FIB_DB_SetNhpGroupKeyField,
    .fetch = fibdb::fetchFields<Item, FIB_DB_GetNhpGroupItem>,
};

// The service state that a written group starts with.
constexpr std::array<uint8_t, sizeof(Item::errcode_high_prio)> kNoErrcode{};
constexpr auto kFreshContext = [] {
  std::array<uint8_t, sizeof(Item::svc_ctx_high_prio)> ones{};
  ones.fill(0xFF);
  return ones;
}();

uint32_t readFailed(uint32_t code, const Item*) {
  // Required: counted under the ECMP configuration, and 1 whatever the code.
  constexpr fibdb::Failure failed{FIB_DB_TABLE_ECMP_CFG, FIB_DB_OPER_READ, "ReadNhpGroup failed, ret: %d"};
  failed(code);
  return FIB_DB_ERR;
}

template <fibdb::SetterOf<Item>* Set>
uint32_t updateWith(const Item* item) {
  if (item->skip_db_oper != 0) return FIB_DB_OK;
  return FIB_DB_UpdateNhpGroupFields(item, fibdb::asFieldSetter<Item, Set>);
}

}  // namespace

void FIB_DB_SetNhpGroupKey(FibDbNhpGroupKey* key, uint32_t nhpGroupId, uint32_t vrId) {
  key->nhp_group_id = nhpGroupId;
  key->vr_id = vrId;
}

void FIB_DB_SetNhpGroupKeyField(FibDbKeyDesc* desc, FibDbNhpGroupKey* key, const FibDbNhpGroupItem* item) {
  desc->indexId = FIB_DB_NHP_GROUP_PRIMARY;
  FIB_DB_SetNhpGroupKey(key, item->nhp_group_id, item->vr_id);
}

uint32_t FIB_DB_SetNhpGroupItem(uint64_t obj, const FibDbNhpGroupItem* item) {
  uint32_t code = db_set_nhp_group_nhp_group_id(obj, item->nhp_group_id);
  code |= db_set_nhp_group_vr_id(obj, item->vr_id);
  code |= db_set_nhp_group_vrf_index(obj, item->vrf_index);
  code |= db_set_nhp_group_nhp_number(obj, item->nhp_number);
  code |= db_set_nhp_group_flags(obj, item->flags);
  code |= db_set_nhp_group_ref_count(obj, item->ref_count);
  code |= db_set_nhp_group_new_vrf(obj, item->new_vrf);
  code |= db_set_nhp_group_app_source_id(obj, item->app_source_id);
  code |= db_set_nhp_group_table_smooth_id(obj, item->table_smooth_id);
  code |= db_set_nhp_group_db_attr_flag(obj, item->db_attr_flag);
  code |= db_set_nhp_group_nhp_type_high_prio(obj, item->nhp_type_high_prio);
  code |= db_set_nhp_group_nhp_type_normal_prio(obj, item->nhp_type_normal_prio);
  // Required: a written group starts afresh, whatever service state the item holds.
  code |= db_set_nhp_group_status_high_prio(obj, 0);
  code |= db_set_nhp_group_status_normal_prio(obj, 0);
  code |= db_set_nhp_group_errcode_high_prio(obj, kNoErrcode.data(), sizeof kNoErrcode);
  code |= db_set_nhp_group_errcode_normal_prio(obj, kNoErrcode.data(), sizeof kNoErrcode);
  code |= db_set_nhp_group_svc_ctx_high_prio(obj, kFreshContext.data(), sizeof kFreshContext);
  code |= db_set_nhp_group_svc_ctx_normal_prio(obj, kFreshContext.data(), sizeof kFreshContext);
  code |= db_set_nhp_group_oper_bitmap(obj, kWhole);
  code |= db_set_nhp_group_overlay_universal_id(obj, item->overlay_universal_id);
  code |= db_set_nhp_group_underlay_universal_id(obj, item->underlay_universal_id);
  code |= db_set_nhp_group_forwardVsId(obj, item->forwardVsId);
  code |= db_set_nhp_group_time_stamp_app(obj, item->time_stamp_app);
  code |= db_set_nhp_group_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFieldsUnsaid(code, "SetNhpGroupItem failed.");
}

uint32_t FIB_DB_GetNhpGroupBaseItem(uint64_t obj, FibDbNhpGroupItem* item) {
  uint32_t code = db_get_nhp_group_nhp_group_id(obj, &item->nhp_group_id);
  code |= db_get_nhp_group_vr_id(obj, &item->vr_id);
  code |= db_get_nhp_group_vrf_index(obj, &item->vrf_index);
  code |= db_get_nhp_group_nhp_number(obj, &item->nhp_number);
  code |= db_get_nhp_group_flags(obj, &item->flags);
  code |= db_get_nhp_group_overlay_universal_id(obj, &item->overlay_universal_id);
  code |= db_get_nhp_group_underlay_universal_id(obj, &item->underlay_universal_id);
  code |= db_get_nhp_group_ref_count(obj, &item->ref_count);
  code |= db_get_nhp_group_new_vrf(obj, &item->new_vrf);
  return code;
}

void FIB_DB_GetNhpGroupItem(uint64_t obj, FibDbNhpGroupItem* item) {
  // Required: what a failed copy is said with is 0, not its code.
  constexpr auto said = fibdb::Said::kZero;
  constexpr Text<uint32_t> highFailed = "GetNhpGroupItem memcpy nhp group high svcCtx failed, ret: %d.";
  constexpr Text<uint32_t> normalFailed = "GetNhpGroupItem memcpy nhp group normal svcCtx failed, ret: %d.";
  constexpr Text<uint32_t> failed = "GetNhpGroupItem failed, ret: %d.";
  item->skip_db_oper = 0;
  uint32_t code = FIB_DB_GetNhpGroupBaseItem(obj, item);
  code |= db_get_nhp_group_nhp_type_high_prio(obj, &item->nhp_type_high_prio);
  code |= db_get_nhp_group_nhp_type_normal_prio(obj, &item->nhp_type_normal_prio);
  code |= db_get_nhp_group_status_high_prio(obj, &item->status_high_prio);
  code |= db_get_nhp_group_status_normal_prio(obj, &item->status_normal_prio);
  // Required: the normal error code goes first, and is copied only if forwardVsId could be read.
  const void* errcode = nullptr;
  code |= db_get_nhp_group_errcode_normal_prio(obj, &errcode, nullptr);
  code |= db_get_nhp_group_forwardVsId(obj, &item->forwardVsId);
  if (code == 0) std::memcpy(item->errcode_normal_prio, errcode, sizeof item->errcode_normal_prio);
  fibdb::unpackErrcode(obj, db_get_nhp_group_errcode_high_prio, item->errcode_high_prio, code);
  if (!fibdb::unpackContext(obj, db_get_nhp_group_svc_ctx_high_prio, item->svc_ctx_high_prio, code, highFailed, said) ||
      !fibdb::unpackContext(obj, db_get_nhp_group_svc_ctx_normal_prio, item->svc_ctx_normal_prio, code, normalFailed,
                            said)) {
    return;
  }
  code |= db_get_nhp_group_app_source_id(obj, &item->app_source_id);
  code |= db_get_nhp_group_table_smooth_id(obj, &item->table_smooth_id);
  code |= db_get_nhp_group_db_attr_flag(obj, &item->db_attr_flag);
  code |= db_get_nhp_group_time_stamp_app(obj, &item->time_stamp_app);
  code |= db_get_nhp_group_time_stamp_svc(obj, &item->time_stamp_svc);
  if (code != 0) failed.error(code);
}

uint32_t FIB_DB_WriteNhpGroup(const FibDbNhpGroupItem* item) {
  // Required: the mark of the item is looked at before anything else, so that NULL is not caught.
  if (item->skip_db_oper != 0) return FIB_DB_OK;
  return fibdb::write(kNhpGroup, item,
                      {.createFailed = "WriteNhpGroup failed, create object failed, ret:%u.",
                       .stageFailed = "WriteNhpGroup failed, set item failed, ret:%u.",
                       .failure = {FIB_DB_TABLE_NHP_GROUP, FIB_DB_OPER_WRITE, "Write nhp group db fail. ret = %d"}});
}

uint32_t FIB_DB_ReadNhpGroup(FibDbNhpGroupItem* item) {
  return fibdb::read(kNhpGroup, item,
                     {.createFailed = "ReadNhpGroup failed, create object failed, ret:%u.", .failed = readFailed});
}

uint32_t FIB_DB_RemoveNhpGroup(const FibDbNhpGroupItem* item) {
  // Required: as for a write.
  if (item->skip_db_oper != 0) return FIB_DB_OK;
  return fibdb::remove(kNhpGroup, item,
                       {.createFailed = "RemoveNhpGroup failed, create object failed, ret:%u.",
                        .failure = {FIB_DB_TABLE_NHP_GROUP, FIB_DB_OPER_REMOVE, "RemoveNhpGroup failed, ret: %d"}});
}

uint32_t FIB_DB_UpdateNhpGroupFields(const FibDbNhpGroupItem* item, FibDbFieldSetter setter) {
  constexpr Text<uint32_t> createFailed = "UpdateNhpGroupFields failed, create object failed, ret:%u.";
  constexpr Text<> setFailed = "UpdateNhpGroupFields setField failed.";
  constexpr Text<uint32_t> failed = "UpdateNhpGroupFields failed, ret: %d";
  if (item == nullptr || setter == nullptr) return FIB_DB_ERR;
  const fibdb::Object obj(kNhpGroup, FIB_DB_OBJ_OP_UPDATE);
  if (const uint32_t code = obj.error()) return createFailed.error(code), code;
  const fibdb::KeyOf<Item, Key> key(kNhpGroup, item);
  // Required: a failing setter is said, and does not stop the update.
  if (setter(obj.handle(), item) != FIB_DB_OK) setFailed.error();
  const uint32_t code = db_update_obj(obj.handle(), &key.desc, &key.bytes);
  // Required: to update a missing group is 15005, uncounted, although to read one is 60.
  if (code == DB_ERR_NO_DATA) return code;
  // Required: any other failure is information, where every other function says an error.
  if (code != FIB_DB_OK && code != DB_RET_PUB_STATUS) failed.info(code);
  return fibdb::settleWrite(code, {FIB_DB_TABLE_NHP_GROUP, FIB_DB_OPER_UPDATE});
}

uint32_t FIB_DB_SetNhpGroupRefCount(uint64_t obj, const FibDbNhpGroupItem* item) {
  uint32_t code = db_set_nhp_group_ref_count(obj, item->ref_count);
  code |= db_set_nhp_group_oper_bitmap(obj, kRefCount);
  return code;
}

uint32_t FIB_DB_SetNhpGroupSmoothID(uint64_t obj, const FibDbNhpGroupItem* item) {
  uint32_t code = db_set_nhp_group_table_smooth_id(obj, item->table_smooth_id);
  code |= db_set_nhp_group_oper_bitmap(obj, kSmoothId);
  return code;
}

uint32_t FIB_DB_SetNhpGroupFlags(uint64_t obj, const FibDbNhpGroupItem* item) {
  uint32_t code = db_set_nhp_group_flags(obj, item->flags);
  code |= db_set_nhp_group_db_attr_flag(obj, item->db_attr_flag);
  code |= db_set_nhp_group_oper_bitmap(obj, kFlags);
  return code;
}

uint32_t FIB_DB_SetNhpGroupContext(uint64_t obj, const FibDbNhpGroupItem* item) {
  // Required: information, not an error.
  constexpr Text<uint32_t> failed = "SetNhpGroupContext failed, ret: %d";
  // Required: whether db_attr_flag could be set is not looked at.
  db_set_nhp_group_db_attr_flag(obj, item->db_attr_flag);
  uint32_t code = db_set_nhp_group_new_vrf(obj, item->new_vrf);
  code |= db_set_nhp_group_nhp_type_high_prio(obj, item->nhp_type_high_prio);
  code |= db_set_nhp_group_nhp_type_normal_prio(obj, item->nhp_type_normal_prio);
  code |= db_set_nhp_group_overlay_universal_id(obj, item->overlay_universal_id);
  code |= db_set_nhp_group_underlay_universal_id(obj, item->underlay_universal_id);
  code |= db_set_nhp_group_svc_ctx_high_prio(obj, item->svc_ctx_high_prio, sizeof item->svc_ctx_high_prio);
  code |= db_set_nhp_group_svc_ctx_normal_prio(obj, item->svc_ctx_normal_prio, sizeof item->svc_ctx_normal_prio);
  code |= db_set_nhp_group_status_high_prio(obj, item->status_high_prio);
  code |= db_set_nhp_group_status_normal_prio(obj, item->status_normal_prio);
  code |= db_set_nhp_group_errcode_high_prio(obj, item->errcode_high_prio, sizeof item->errcode_high_prio);
  code |= db_set_nhp_group_errcode_normal_prio(obj, item->errcode_normal_prio, sizeof item->errcode_normal_prio);
  code |= db_set_nhp_group_oper_bitmap(obj, kContext);
  code |= db_set_nhp_group_time_stamp_svc(obj, item->time_stamp_svc);
  code |= db_set_nhp_group_forwardVsId(obj, item->forwardVsId);
  if (code == 0) return FIB_DB_OK;
  failed.info(code);
  return FIB_DB_ERR;
}

uint32_t FIB_DB_UpdateNhpGroupRefCount(const FibDbNhpGroupItem* item) {
  return updateWith<FIB_DB_SetNhpGroupRefCount>(item);
}
uint32_t FIB_DB_UpdateNhpGroupSmoothID(const FibDbNhpGroupItem* item) {
  return updateWith<FIB_DB_SetNhpGroupSmoothID>(item);
}
uint32_t FIB_DB_UpdateNhpGroupFlags(const FibDbNhpGroupItem* item) { return updateWith<FIB_DB_SetNhpGroupFlags>(item); }
uint32_t FIB_DB_UpdateNhpGroupContext(const FibDbNhpGroupItem* item) {
  return updateWith<FIB_DB_SetNhpGroupContext>(item);
}

FibDbIterator* FIB_DB_CreateNhpGroupIterator(uint32_t property) {
  return fibdb::createIterator(kNhpGroup,
                               {.mallocFailed = "CreateNhpGroupIterator malloc failed",
                                .createObjFailed = "CreateNhpGroupIterator createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpGroupIterator createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpGroupIterator setProperty failed, ret: %d"},
                               property, fibdb::WholeTable());
}

FibDbIterator* FIB_DB_CreateNhpGroupIteratorByVrf(uint32_t key0, uint32_t key1, uint32_t key2, uint32_t property) {
  return fibdb::createIterator(kNhpGroup,
                               {.mallocFailed = "CreateNhpGroupIteratorByVrf malloc failed",
                                .createObjFailed = "CreateNhpGroupIteratorByVrf createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpGroupIteratorByVrf createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpGroupIteratorByVrf setProperty failed, ret: %d"},
                               property, fibdb::UnderWords<3>{FIB_DB_NHP_GROUP_BY_VRF, {key0, key1, key2}});
}

uint32_t FIB_DB_GetNextNhpGroup(FibDbIterator* handle, FibDbNhpGroupItem* item) {
  constexpr fibdb::Failure failed{FIB_DB_TABLE_NHP_GROUP, FIB_DB_OPER_ITERATOR, "GetNextNhpGroup failed, ret: %d"};
  return fibdb::next(handle, item, failed, fibdb::unpackCurrent<Item, FIB_DB_GetNhpGroupItem>);
}

void FIB_DB_ReleaseNhpGroupIterator(FibDbIterator* handle) { fibdb::releaseIterator(kNhpGroup, handle); }

void FIB6_DB_SetNhpGroupVridVrfIndexHashKey(uint32_t vrId, uint32_t vrfIndex, uint32_t* indexId, void* key) {
  *indexId = FIB_DB_NHP_GROUP_BY_VR_AND_VRF;
  fibdb::putKey<FIB_DB_NHP_GROUP_BY_VR_AND_VRF>(key, vrId, vrfIndex);
}

void* FIB_DB_CreateNhpGroupIteratorByVridVrfIndex(uint32_t vrId, uint32_t vrfIndex, uint32_t property) {
  const fibdb::KeyRequest key(
      [=](uint32_t* indexId, void* bytes) { FIB6_DB_SetNhpGroupVridVrfIndexHashKey(vrId, vrfIndex, indexId, bytes); });
  return UFIB_DB_CreateIteratorByKey(fibdb::kUfibNhpGroup, property, key.get());
}
