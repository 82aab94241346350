// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// config/global_cfg.cc: the global forwarding record of a virtual router, and its child node; the scalar settings are
// in global_settings.cc.
#include "config/configuration.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"

namespace {

using fibdb::Change;
using fibdb::Text;
using Item = FibDbGlbCfgItem;

static_assert(sizeof(Item) == 48 && sizeof(FibDbLoadBalance) == 12);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_global_cfg, {FIB_DB_GLOBAL_CFG_PRIMARY}));

// A new record: router, defaults, and the caller's fields; all are tried.
uint32_t stageNew(uint64_t obj, const Change* change) {
  uint32_t code = db_set_global_cfg_vr_id(obj, change->vrId);
  code |= FIB_DB_InitCfgValue(obj);
  code |= change->setter(obj, change->data);
  return code;
}

void fillKey(FibDbKeyDesc* desc, uint32_t* key, const Change* change) {
  FIB_DB_FillGlbCfgKey(key, &desc->indexId, &change->vrId);
}

constexpr fibdb::ConfigurationTable kGlobalCfg{
    .create = db_create_global_cfg_obj,
    .release = db_release_global_cfg_object,
    .stage = stageNew,
    .key = fillKey,
    .settle = FIB_DB_ProcGlbCfgWriteDBResult,
};

// The same records, changed by the caller's setter alone.
constexpr fibdb::ConfigurationTable kGlobalCfgFields{
    .create = db_create_global_cfg_obj,
    .release = db_release_global_cfg_object,
    .stage = [](uint64_t obj, const Change* change) { return change->setter(obj, change->data); },
    .key = fillKey,
    .settle = FIB_DB_ProcGlbCfgWriteDBResult,
};

uint32_t settleRead(uint32_t code, uint32_t) {
  constexpr fibdb::Failure failed{FIB_DB_TABLE_GLOBAL_CFG, FIB_DB_OPER_READ, "Get glb db fail. ret = %d."};
  if (code == DB_ERR_NO_DATA) return FIB_DB_NOT_FOUND;
  failed(code);
  return FIB_DB_ERR;
}

#define FIELD(name)                                                                \
  fibdb::NodeField<&FibDbLoadBalance::name, db_get_global_cfg_load_balance_##name, \
                   db_set_global_cfg_load_balance_##name>
constexpr fibdb::ChildNode<FIELD(mode), FIELD(sip), FIELD(dip), FIELD(l4sport), FIELD(l4dport)> kLoadBalance{
    "load_balance"};
#undef FIELD

}  // namespace

void FIB_DB_FillGlbCfgKey(uint32_t* key, uint32_t* indexId, const uint32_t* vrId) {
  *key = *vrId;
  *indexId = FIB_DB_GLOBAL_CFG_PRIMARY;
}

uint32_t FIB_DB_InitCfgValue(uint64_t obj) {
  uint32_t code = db_set_global_cfg_meth_isolate(obj, 2);
  code |= db_set_global_cfg_icmp_echo_fast(obj, 2);
  code |= db_set_global_cfg_indirect_next(obj, 2);
  return code;
}

uint32_t FIB_DB_SetBalanceMode(uint64_t obj, const FibDbLoadBalance* node) {
  uint64_t handle = 0;
  if (const uint32_t code = kLoadBalance.open(obj, handle)) {
    return fibdb::settleFields(code, "SetBalanceMode fail, create child node failed. ret = %u.");
  }
  return fibdb::settleFields(kLoadBalance.set(handle, node), "SetBalanceMode set field failed. ret=%d.");
}

uint32_t FIB_DB_GetBalanceMode(uint64_t obj, FibDbLoadBalance* node) {
  uint64_t handle = 0;
  const uint32_t code = kLoadBalance.open(obj, handle);
  // Required: a node that was never written is read all the same.
  if (code != FIB_DB_OK && code != DB_ERR_FIELD_ABSENT) {
    return fibdb::settleFields(code, "GetBalanceMode fail, create child node failed. ret = %d.");
  }
  return fibdb::settleFields(kLoadBalance.get(handle, node), "GetBalanceMode field fail, ret=%u.");
}

uint32_t FIB_DB_GetGlbCfgLoadBalance(uint64_t obj, FibDbLoadBalance* node) {
  constexpr Text<> failed = "Get global load balance rest fields fail.";
  uint64_t handle = 0;
  if (const uint32_t code = kLoadBalance.open(obj, handle)) return code;
  const uint32_t code = kLoadBalance.get(handle, node);
  if (code != FIB_DB_OK) failed.error();
  return code;
}

uint32_t FIB_DB_GetGlbCfgItem(uint64_t obj, FibDbGlbCfgItem* item) {
  // Required: the text names the load balance, though it is the scalar fields that failed.
  constexpr Text<> failed = "Get fib db global load balance fields fail.";
  item->validFlags = 0xFFFFFFFF;
  uint32_t code = db_get_global_cfg_vr_id(obj, &item->vrId);
  code |= db_get_global_cfg_meth_isolate(obj, &item->methIsolate);
  code |= db_get_global_cfg_icmp_echo_fast(obj, &item->icmpFast);
  code |= db_get_global_cfg_indirect_next(obj, &item->inNextEn);
  code |= db_get_global_cfg_isIgnr(obj, &item->ipv4IgnrMac);
  code |= db_get_global_cfg_doNotDecTtl(obj, &item->ipv4GlbTtl);
  code |= db_get_global_cfg_mlag_route_enhance(obj, &item->mlagRouteEnhance);
  code |= db_get_global_cfg_dod_enable(obj, &item->dodEnable);
  code |= db_get_global_cfg_load_balance_reverse(obj, &item->balanceReverse);
  if (code != 0) {
    item->validFlags = 0;
    return static_cast<uint32_t>(failed.error());
  }
  const uint32_t balance = FIB_DB_GetGlbCfgLoadBalance(obj, &item->loadBalance);
  if (balance != FIB_DB_OK) item->validFlags &= ~uint32_t{FIB_DB_GLB_LOAD_BALANCE_VALID};
  return balance;
}

uint32_t FIB_DB_ReadCfgCommon(uint32_t vrId, uint64_t* outObj) {
  return fibdb::readObject(
      kGlobalCfg, vrId, outObj,
      {.createFailed = "Read cfg common fail, create object failed. ret = %d.", .settle = settleRead});
}

uint32_t FIB_DB_GlbCfgExist(const uint32_t* vrId) {
  // Required: NULL counts as a record that is there.
  if (vrId == nullptr) return 1;
  return fibdb::withRecord(kGlobalCfg, FIB_DB_ReadCfgCommon, *vrId, 0, [](uint64_t) { return 1u; });
}

uint32_t FIB_DB_ReadGlbCfg(FibDbGlbCfgItem* item) {
  if (item == nullptr) return FIB_DB_ERR;
  // Required: a missing record is 1, not 60; parts that cannot be read leave the reading a success.
  return fibdb::withRecord(kGlobalCfg, FIB_DB_ReadCfgCommon, item->vrId, FIB_DB_ERR,
                           [&](uint64_t obj) { return FIB_DB_GetGlbCfgItem(obj, item), uint32_t{FIB_DB_OK}; });
}

uint32_t FIB_DB_ReadGlbCfgFunc(const uint32_t* vrId, void* data, FibDbEcmpCfgGetter getter) {
  if (vrId == nullptr) return FIB_DB_ERR;
  return fibdb::withRecord(kGlobalCfg, FIB_DB_ReadCfgCommon, *vrId, FIB_DB_ERR,
                           [&](uint64_t obj) { return getter(obj, data); });
}

uint32_t FIB_DB_WriteGlbCfgFunc(const uint32_t* vrId, const void* data, FibDbEcmpCfgSetter setter) {
  if (vrId == nullptr) return FIB_DB_ERR;
  const Change change{*vrId, data, setter};
  const uint32_t code = fibdb::write(kGlobalCfg, &change,
                                     {.createFailed = "WriteGlbCfgFunc fail, create object failed. ret = %u.",
                                      .stageFailed = "WriteGlbCfgFunc fail, set fields failed. ret = %u."});
  // Required: a write tells no code of the database, an update does.
  return code == FIB_DB_OK ? FIB_DB_OK : FIB_DB_ERR;
}

uint32_t FIB_DB_UpdateGlbCfgFunc(const uint32_t* vrId, const void* data, FibDbEcmpCfgSetter setter) {
  if (vrId == nullptr) return FIB_DB_ERR;
  const Change change{*vrId, data, setter};
  // Required: the first text names the isolation, whatever is updated.
  return fibdb::updateWhole(kGlobalCfgFields, &change,
                            {.createFailed = "UpdateIsolate fail, create object failed. ret = %d.",
                             .stageFailed = "UpdateGlbCfgFunc set field failed. ret = %d."});
}

uint32_t FIB_DB_RemoveGlbCfg(const uint32_t* vrId) {
  if (vrId == nullptr) return FIB_DB_ERR;
  const Change record{*vrId};
  return fibdb::remove(kGlobalCfg, &record, {.createFailed = "RemoveGlbCfg fail, create object failed. ret = %d."});
}

FibDbIterator* FIB_DB_CreateGlbCfgIterator(uint32_t vrId) {
  return fibdb::createIterator(kGlobalCfg,
                               {.mallocFailed = "CreateGlbCfgIterator malloc failed",
                                .createObjFailed = "CreateGlbCfgIterator createObj failed, ret: %d",
                                .createIterFailed = "CreateGlbCfgIterator createIter failed, ret: %d",
                                .setPropertyFailed = "CreateGlbCfgIterator setProperty failed, ret: %d"},
                               vrId, fibdb::WholeTable());
}

uint32_t FIB_DB_GetNextGlbCfg(FibDbIterator* handle, FibDbGlbCfgItem* item) {
  constexpr fibdb::Failure failed{FIB_DB_TABLE_GLOBAL_CFG, FIB_DB_OPER_ITERATOR, "Get next glb cfg db fail. ret = %d"};
  return fibdb::next(handle, item, failed, fibdb::unpackCurrent<Item, FIB_DB_GetGlbCfgItem>);
}

void FIB_DB_ReleaseGlbCfgIterator(FibDbIterator* handle) { fibdb::releaseIterator(kGlobalCfg, handle); }

uint32_t FIB_DB_ReadBalanceMode(const uint32_t* vrId, FibDbLoadBalance* node) {
  return FIB_DB_ReadGlbCfgFunc(vrId, node, fibdb::asGetter<FibDbLoadBalance, FIB_DB_GetBalanceMode>);
}
uint32_t FIB_DB_WriteBalanceMode(const uint32_t* vrId, const FibDbLoadBalance* node) {
  return FIB_DB_WriteGlbCfgFunc(vrId, node, fibdb::asSetter<FibDbLoadBalance, FIB_DB_SetBalanceMode>);
}
uint32_t FIB_DB_UpdateBalanceMode(const uint32_t* vrId, const FibDbLoadBalance* node) {
  return FIB_DB_UpdateGlbCfgFunc(vrId, node, fibdb::asSetter<FibDbLoadBalance, FIB_DB_SetBalanceMode>);
}
