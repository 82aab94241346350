// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/nhp_vpn.cc: next hops into a VPN, keyed by next-hop index, VR, VRF and destination VPN; found by the index
// alone, too.
#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"

namespace {

using fibdb::PackedKey;
using fibdb::Text;
using Item = FibDbNhpVpnItem;
using Key = fibdb::KeyBytes<FIB_DB_NHP_VPN_PRIMARY>;
using ByNhpIndex = PackedKey<FIB_DB_NHP_VPN_BY_NHP_INDEX>;

static_assert(sizeof(Item) == 56);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_nhp_vpn,
                                        {FIB_DB_NHP_VPN_PRIMARY, FIB_DB_NHP_VPN_BY_NHP_INDEX}));

constexpr fibdb::Table<Item, Key> kNhpVpn{
    .create = db_create_nhp_vpn_obj,
    .release = db_release_nhp_vpn_object,
    .stage = FIB_DB_SetNhpVpnItem,
    .key = [](FibDbKeyDesc* desc, Key* key, const Item* item) { FIB_DB_SetNhpVpnKeyField(desc, key, item); },
    .fetch = fibdb::fetchFields<Item, FIB_DB_GetNhpVpnItem>,
    .settle = FIB_DB_ProcNhpVpnWriteDBResult,
};

}  // namespace

void FIB_DB_SetNhpVpnKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpVpnItem* item) {
  desc->indexId = FIB_DB_NHP_VPN_PRIMARY;
  fibdb::putKey<FIB_DB_NHP_VPN_PRIMARY>(key, item->nhp_index, item->vr_id, item->vrf_index, item->dst_vpn_id);
}

uint32_t FIB_DB_SetNhpVpnItem(uint64_t obj, const FibDbNhpVpnItem* item) {
  uint32_t code = db_set_nhp_vpn_nhp_index(obj, item->nhp_index);
  code |= db_set_nhp_vpn_vr_id(obj, item->vr_id);
  code |= db_set_nhp_vpn_vrf_index(obj, item->vrf_index);
  code |= db_set_nhp_vpn_dst_vpn_id(obj, item->dst_vpn_id);
  code |= db_set_nhp_vpn_app_source_id(obj, item->app_source_id);
  code |= db_set_nhp_vpn_app_serial_id(obj, item->app_serial_id);
  code |= db_set_nhp_vpn_app_obj_id(obj, item->app_obj_id);
  code |= db_set_nhp_vpn_app_version(obj, item->app_version);
  code |= db_set_nhp_vpn_time_stamp_app(obj, item->time_stamp_app);
  code |= db_set_nhp_vpn_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFields(code, "SetNhpVpnItem setField failed, ret: %d");
}

void FIB_DB_GetNhpVpnItem(uint64_t obj, FibDbNhpVpnItem* item) {
  constexpr Text<uint32_t> failed = "GetNhpVpnItem getField failed, ret: %d";
  if (item == nullptr) return;
  uint32_t code = db_get_nhp_vpn_nhp_index(obj, &item->nhp_index);
  code |= db_get_nhp_vpn_vr_id(obj, &item->vr_id);
  code |= db_get_nhp_vpn_vrf_index(obj, &item->vrf_index);
  code |= db_get_nhp_vpn_dst_vpn_id(obj, &item->dst_vpn_id);
  code |= db_get_nhp_vpn_app_source_id(obj, &item->app_source_id);
  code |= db_get_nhp_vpn_app_serial_id(obj, &item->app_serial_id);
  code |= db_get_nhp_vpn_app_obj_id(obj, &item->app_obj_id);
  code |= db_get_nhp_vpn_app_version(obj, &item->app_version);
  code |= db_get_nhp_vpn_time_stamp_app(obj, &item->time_stamp_app);
  code |= db_get_nhp_vpn_time_stamp_svc(obj, &item->time_stamp_svc);
  if (code != 0) failed.error(code);
}

uint32_t FIB_DB_WriteNhpVpn(const FibDbNhpVpnItem* item) {
  return fibdb::write(kNhpVpn, item,
                      {.createFailed = "WriteNhpVpn create object failed, ret: %d",
                       .stageFailed = "WriteNhpVpn set item failed, ret: %d"});
}

uint32_t FIB_DB_ReadNhpVpn(FibDbNhpVpnItem* item) {
  return fibdb::read(kNhpVpn, item,
                     {.createFailed = "ReadNhpVpn create object failed, ret: %d",
                      .failure = {FIB_DB_TABLE_NHP_VPN, FIB_DB_OPER_READ, "ReadNhpVpn failed, ret: %d"}});
}

// The first record that the index gives; further ones are not looked at.
uint32_t FIB_DB_ReadNhpVpnByNhpIndex(uint32_t nhpIndex, FibDbNhpVpnItem* item) {
  constexpr Text<uint32_t> createFailed = "ReadNhpVpnByNhpIndex create object failed, ret: %d";
  constexpr Text<uint32_t> createIterFailed = "ReadNhpVpnByNhpIndex create root iter failed, ret: %d";
  constexpr fibdb::Failure stepFailed{FIB_DB_TABLE_NHP_VPN, FIB_DB_OPER_ITERATOR,
                                      "ReadNhpVpnByNhpIndex next failed, ret: %d"};
  if (item == nullptr) return FIB_DB_ERR;
  const fibdb::Object obj(kNhpVpn, FIB_DB_OBJ_OP_SCAN);
  if (const uint32_t code = obj.error()) return createFailed.error(code), code;
  const ByNhpIndex key(nhpIndex);
  uint64_t rootIter = 0;
  if (const uint32_t code = db_create_root_iter(obj.handle(), &key.desc, &key.bytes, &rootIter)) {
    return createIterFailed.error(code), code;
  }
  const uint32_t code = db_root_iterator_next(rootIter);
  if (code == FIB_DB_OK) return fibdb::unpackCurrent<Item, FIB_DB_GetNhpVpnItem>(obj.handle(), item);
  // Required: no record is the end of the iteration to the caller, too, not 60.
  return code == DB_ERR_ITER_END ? code : stepFailed(code);
}

// Required: the count is one byte wide.
uint32_t FIB_DB_CountNhpVpnByNhpIndex(uint32_t nhpIndex, uint8_t* count) {
  const ByNhpIndex key(nhpIndex);
  return fibdb::countUnder(kNhpVpn, &key.desc, &key.bytes, count,
                           {.createFailed = "CountNhpVpnByNhpIndex create object failed, ret: %d",
                            .countFailed = "CountNhpVpnByNhpIndex get table record count by key failed, ret: %d"});
}

uint32_t FIB_DB_RemoveNhpVpn(const FibDbNhpVpnItem* item) {
  return fibdb::remove(kNhpVpn, item, {.createFailed = "RemoveNhpVpn create object failed, ret: %d"});
}

uint32_t FIB_DB_RemoveNhpVpnByNhpIndex(uint32_t nhpIndex) {
  return fibdb::removeUnder(kNhpVpn, ByNhpIndex(nhpIndex),
                            {.createFailed = "RemoveNhpVpnByNhpIndex create object failed, ret: %d"});
}
