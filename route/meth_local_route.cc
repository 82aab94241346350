// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// route/meth_local_route.cc: prefixes that are local to the device: a key and nothing else.
#include "fibdb/route.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"

namespace {

using fibdb::Text;
using Item = FibDbMeLocalRouteItem;
using Key = fibdb::KeyBytes<FIB_DB_METH_LOCAL_ROUTE_PRIMARY>;

static_assert(sizeof(Item) == 16);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_meth_local_route, {FIB_DB_METH_LOCAL_ROUTE_PRIMARY}));

constexpr fibdb::Table<Item, Key> kLocalRoutes{
    .create = db_create_meth_local_route_obj,
    .release = db_release_meth_local_route_object,
    .stage = FIB_DB_SetMeLocalRouteItem,
    .key = [](FibDbKeyDesc* desc, Key* key, const Item* item) { FIB_DB_SetMeLocalRouteKeyField(desc, key, item); },
};

}  // namespace

void FIB_DB_SetMeLocalRouteKeyField(FibDbKeyDesc* desc, void* key, const FibDbMeLocalRouteItem* item) {
  desc->indexId = FIB_DB_METH_LOCAL_ROUTE_PRIMARY;
  fibdb::putKey<FIB_DB_METH_LOCAL_ROUTE_PRIMARY>(key, item->vr_id, item->vrf_index, item->dest_ip_addr, item->mask_len);
}

uint32_t FIB_DB_SetMeLocalRouteItem(uint64_t obj, const FibDbMeLocalRouteItem* item) {
  uint32_t code = db_set_meth_local_route_vr_id(obj, item->vr_id);
  code |= db_set_meth_local_route_vrf_index(obj, item->vrf_index);
  code |= db_set_meth_local_route_dest_ip_addr(obj, item->dest_ip_addr);
  code |= db_set_meth_local_route_mask_len(obj, item->mask_len);
  return fibdb::settleFields(code, "SetMeLocalRouteItem setField failed, ret: %d");
}

void FIB_DB_GetMeLocalRouteItem(uint64_t obj, FibDbMeLocalRouteItem* item) {
  constexpr Text<uint32_t> failed = "GetMeLocalRouteItem getField failed, ret: %d";
  if (item == nullptr) return;
  uint32_t code = db_get_meth_local_route_vr_id(obj, &item->vr_id);
  code |= db_get_meth_local_route_vrf_index(obj, &item->vrf_index);
  code |= db_get_meth_local_route_dest_ip_addr(obj, &item->dest_ip_addr);
  code |= db_get_meth_local_route_mask_len(obj, &item->mask_len);
  if (code != 0) failed.error(code);
}

uint32_t FIB_DB_WriteMeLocalRoute(const FibDbMeLocalRouteItem* item) {
  // Required: counted under the global configuration; the other operations are under the local routes.
  return fibdb::write(kLocalRoutes, item,
                      {.failure = {FIB_DB_TABLE_GLOBAL_CFG, FIB_DB_OPER_WRITE, "WriteMeLocalRoute failed, ret: %d"}});
}

uint32_t FIB_DB_RemoveMeLocalRoute(const FibDbMeLocalRouteItem* item) {
  return fibdb::remove(
      kLocalRoutes, item,
      {.failure = {FIB_DB_TABLE_METH_LOCAL_ROUTE, FIB_DB_OPER_REMOVE, "RemoveMeLocalRoute failed, ret: %d"}});
}

uint32_t FIB_DB_CountMeLocalRoute(uint32_t* count) { return fibdb::count(kLocalRoutes, count); }

uint32_t FIB_DB_ScanMeLocalRoute(uint32_t bufLen, FibDbMeLocalRouteItem* items) {
  if (items == nullptr) return FIB_DB_ERR;
  return fibdb::readUnder(
      kLocalRoutes, nullptr, nullptr, bufLen, items, nullptr,
      {.stepFailed = {FIB_DB_TABLE_METH_LOCAL_ROUTE, FIB_DB_OPER_ITERATOR, "ScanMeLocalRoute failed, ret: %d"},
       .arrive = fibdb::unpackCurrent<Item, FIB_DB_GetMeLocalRouteItem>,
       .unguarded = true});
}
