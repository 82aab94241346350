// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// config/ecmp_cfg.cc: the ECMP record of a virtual router. Its settings are in ecmp_settings.cc, its child nodes in
// ecmp_nodes.cc.
#include "config/configuration.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"

namespace {

using fibdb::Change;
using fibdb::Text;
using Item = FibDbEcmpCfgItem;

static_assert(sizeof(Item) == 160);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_ecmp_cfg, {FIB_DB_ECMP_CFG_PRIMARY}));

// A new record: router, defaults, and the caller's fields.
uint32_t stageNew(uint64_t obj, const Change* change) {
  uint32_t code = db_set_ecmp_cfg_vr_id(obj, change->vrId);
  code |= FIB_DB_InitEcmpCfg(obj);
  code |= change->setter(obj, change->data);
  return code == 0 ? FIB_DB_OK : FIB_DB_ERR;
}

void fillKey(FibDbKeyDesc* desc, uint32_t* key, const Change* change) {
  FIB_DB_FillEcmpCfgPrimaryKey(&desc->indexId, key, change->vrId);
}

constexpr fibdb::ConfigurationTable kEcmpCfg{
    .create = db_create_ecmp_cfg_obj,
    .release = db_release_ecmp_cfg_object,
    .stage = stageNew,
    .key = fillKey,
    .settle = FIB_DB_ProcEcmpCfgWriteDBResult,
};

// The same records, changed by the caller's setter alone.
constexpr fibdb::ConfigurationTable kEcmpCfgFields{
    .create = db_create_ecmp_cfg_obj,
    .release = db_release_ecmp_cfg_object,
    .stage = [](uint64_t obj, const Change* change) { return change->setter(obj, change->data); },
    .key = fillKey,
    // Required: an update tells no code of the database, a write does.
    .settle = [](uint32_t code, uint32_t oper) -> uint32_t {
      return FIB_DB_ProcEcmpCfgWriteDBResult(code, oper) == FIB_DB_OK ? FIB_DB_OK : FIB_DB_ERR;
    },
};

void clearIf(Item* item, bool invalid, uint32_t bit) {
  if (invalid) item->validFlags &= ~bit;
}

}  // namespace

void FIB_DB_FillEcmpCfgPrimaryKey(uint32_t* indexId, uint32_t* key, uint32_t vrId) {
  *indexId = FIB_DB_ECMP_CFG_PRIMARY;
  *key = vrId;
}

uint32_t FIB_DB_InitEcmpCfg(uint64_t obj) {
  uint32_t code = db_set_ecmp_cfg_vxlan_overlay_mode(obj, FIB_DB_ECMP_NOT_SET);
  code |= db_set_ecmp_cfg_local_enhanced(obj, FIB_DB_ECMP_NOT_SET);
  code |= db_set_ecmp_cfg_local_chassis(obj, FIB_DB_ECMP_NOT_SET);
  code |= db_set_ecmp_cfg_dlb_gap_time(obj, 2000);
  code |= db_set_ecmp_cfg_ecmp_gtp_teid(obj, FIB_DB_ECMP_NOT_SET);
  code |= db_set_ecmp_cfg_ecmp_perpacket_mode(obj, 1);
  return code;
}

void FIB_DB_HandleEcmpCfgDefaultValue(FibDbEcmpCfgItem* item) {
  clearIf(item, item->vxlanOverlayMode == FIB_DB_ECMP_NOT_SET, FIB_DB_ECMP_VXLAN_OVERLAY_MODE_VALID);
  clearIf(item, item->localEnhanced == FIB_DB_ECMP_NOT_SET, FIB_DB_ECMP_LOCAL_ENHANCED_VALID);
  clearIf(item, item->localChassis == FIB_DB_ECMP_NOT_SET, FIB_DB_ECMP_LOCAL_CHASSIS_VALID);
  clearIf(item, item->gtpTeid == FIB_DB_ECMP_NOT_SET, FIB_DB_ECMP_GTP_TEID_VALID);
}

uint32_t FIB_DB_GetEcmpCfgItem(uint64_t obj, FibDbEcmpCfgItem* item) {
  constexpr Text<uint32_t> failed = "GetEcmpCfgItem basic fields fail, ret=%u.";
  item->validFlags = 0xFFFFFFFF;
  uint32_t code = db_get_ecmp_cfg_vr_id(obj, &item->vrId);
  code |= db_get_ecmp_cfg_ecmp_hash_bala(obj, &item->hashBala);
  code |= db_get_ecmp_cfg_ecmp_stateful_enhanced(obj, &item->statefulEnhanced);
  code |= db_get_ecmp_cfg_rail_group_enable(obj, &item->railGroupEnable);
  code |= db_get_ecmp_cfg_has_rail_group_member(obj, &item->hasRailGroupMember);
  code |= db_get_ecmp_cfg_vxlan_overlay_mode(obj, &item->vxlanOverlayMode);
  code |= db_get_ecmp_cfg_local_enhanced(obj, &item->localEnhanced);
  code |= db_get_ecmp_cfg_local_chassis(obj, &item->localChassis);
  code |= db_get_ecmp_cfg_dlb_gap_time(obj, &item->dlbGapTime);
  code |= db_get_ecmp_cfg_ecmp_gtp_teid(obj, &item->gtpTeid);
  code |= db_get_ecmp_cfg_ecmp_dpfr_enable(obj, &item->dpfrEnable);
  code |= db_get_ecmp_cfg_vxlan_overlay_hash_stateful(obj, &item->vxlanOverlayHashStateful);
  code |= db_get_ecmp_cfg_ecmp_rocev2_perpacket(obj, &item->rocev2PerPacket);
  code |= db_get_ecmp_cfg_ecmp_perpacket(obj, &item->perPacket);
  code |= db_get_ecmp_cfg_ecmp_perpacket_mode(obj, &item->perPacketMode);
  code |= db_get_ecmp_cfg_ecmp_stateful_num(obj, &item->statefulNum);
  code |= db_get_ecmp_cfg_ecmp_dlb_enable(obj, &item->dlbEnable);
  if (code != 0) {
    item->validFlags = 0;
    // Required: the hook's own result, which nobody looks at.
    return static_cast<uint32_t>(failed.error(code));
  }
  FIB_DB_HandleEcmpCfgDefaultValue(item);
  clearIf(item, FIB_DB_GetEcmpHashMode(obj, &item->hashMode) != FIB_DB_OK, FIB_DB_ECMP_HASH_MODE_VALID);
  clearIf(item, FIB_DB_GetEcmpSeed(obj, &item->seed) != FIB_DB_OK, FIB_DB_ECMP_SEED_VALID);
  clearIf(item, FIB_DB_GetEcmpProc(obj, &item->proc) != FIB_DB_OK, FIB_DB_ECMP_PROC_VALID);
  clearIf(item, FIB_DB_GetFeiEcmpTunnel(obj, &item->tunnel) != FIB_DB_OK, FIB_DB_ECMP_TUNNEL_VALID);
  clearIf(item, FIB_DB_GetNvo3VxlanHash(obj, &item->nvo3VxlanHash) != FIB_DB_OK, FIB_DB_ECMP_NVO3_VXLAN_HASH_VALID);
  const uint32_t universal = FIB_DB_GetEcmpUniversalId(obj, &item->universalId);
  clearIf(item, universal != FIB_DB_OK, FIB_DB_ECMP_UNIVERSAL_ID_VALID);
  return universal;
}

uint32_t FIB_DB_ReadEcmpCfgCommon(uint32_t vrId, uint64_t* outObj) {
  return fibdb::readObject(kEcmpCfg, vrId, outObj,
                           {.createFailed = "read ecmp cfg common fail, create object failed, ret: %u.",
                            .settle = FIB_DB_ProcEcmpCfgReadDBErrResult});
}

uint32_t FIB_DB_IsEcmpCfgExist(const uint32_t* vrId) {
  // Required: NULL counts as a record that is there.
  if (vrId == nullptr) return 1;
  return fibdb::withRecord(kEcmpCfg, FIB_DB_ReadEcmpCfgCommon, *vrId, 0, [](uint64_t) { return 1u; });
}

uint32_t FIB_DB_ReadEcmpCfg(FibDbEcmpCfgItem* item) {
  if (item == nullptr) return FIB_DB_ERR;
  // Required: a missing record is 1, not 60; parts that cannot be read leave the reading a success.
  return fibdb::withRecord(kEcmpCfg, FIB_DB_ReadEcmpCfgCommon, item->vrId, FIB_DB_ERR,
                           [&](uint64_t obj) { return FIB_DB_GetEcmpCfgItem(obj, item), uint32_t{FIB_DB_OK}; });
}

uint32_t FIB_DB_ReadEcmpCfgInfo(const uint32_t* vrId, void* data, FibDbEcmpCfgGetter getter) {
  if (vrId == nullptr || getter == nullptr) return FIB_DB_ERR;
  return fibdb::withRecord(kEcmpCfg, FIB_DB_ReadEcmpCfgCommon, *vrId, FIB_DB_ERR,
                           [&](uint64_t obj) { return getter(obj, data); });
}

uint32_t FIB_DB_WriteEcmpCfg(const uint32_t* vrId, const void* data, FibDbEcmpCfgSetter setter) {
  if (vrId == nullptr || setter == nullptr) return FIB_DB_ERR;
  const Change change{*vrId, data, setter};
  return fibdb::write(kEcmpCfg, &change, {.createFailed = "WriteEcmpCfg fail, create object failed, ret: %u."});
}

uint32_t FIB_DB_UpdateEcmpCfg(const uint32_t* vrId, const void* data, FibDbEcmpCfgSetter setter) {
  if (vrId == nullptr || setter == nullptr) return FIB_DB_ERR;
  const Change change{*vrId, data, setter};
  // Required: nothing is said when there is no object, nor when the setter fails.
  return fibdb::updateWhole(kEcmpCfgFields, &change, {.createFailedIsErr = true});
}

uint32_t FIB_DB_RemoveEcmpCfg(const uint32_t* vrId) {
  if (vrId == nullptr) return FIB_DB_ERR;
  const Change record{*vrId};
  return fibdb::remove(kEcmpCfg, &record, {.createFailed = "remove ecmp cfg fail, create object fail, ret:%u."});
}

FibDbIterator* FIB_DB_CreateEcmpCfgIterator(uint32_t vrId) {
  return fibdb::createIterator(kEcmpCfg,
                               {.mallocFailed = "CreateEcmpCfgIterator malloc failed",
                                .createObjFailed = "CreateEcmpCfgIterator createObj failed, ret: %d",
                                .createIterFailed = "CreateEcmpCfgIterator createIter failed, ret: %d",
                                .setPropertyFailed = "CreateEcmpCfgIterator setProperty failed, ret: %d"},
                               vrId, fibdb::WholeTable());
}

uint32_t FIB_DB_GetNextEcmpCfg(FibDbIterator* handle, FibDbEcmpCfgItem* item) {
  constexpr fibdb::Failure failed{FIB_DB_TABLE_ECMP_CFG, FIB_DB_OPER_ITERATOR, "Get next ecmp cfg db fail. ret = %d"};
  return fibdb::next(handle, item, failed, fibdb::unpackCurrent<Item, FIB_DB_GetEcmpCfgItem>);
}

void FIB_DB_ReleaseEcmpCfgIterator(FibDbIterator* handle) { fibdb::releaseIterator(kEcmpCfg, handle); }
