// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// registered/ip_force_frag.cc: forced fragmentation, one record per virtual router. Written and read through the object
// database, which is logged and not counted; only walked through the table service. Nothing deletes here.
#include "fibdb/registered.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"
#include "runtime/registered.h"

namespace {

using fibdb::Text;
using Item = FibDbForceFragItem;
using Row = FibDbForceFragRow;
using Key = fibdb::PackedKey<FIB_DB_FORCE_FRAG_PRIMARY>;

static_assert(sizeof(Item) == 12);
static_assert(fibdb::schema::kIsRow_ip_force_frag<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_ip_force_frag, {FIB_DB_FORCE_FRAG_PRIMARY}));

uint32_t setFields(uint64_t obj, const Item* item) {
  uint32_t code = db_set_ip_force_frag_vr_id(obj, item->vrId);
  code |= db_set_ip_force_frag_enable(obj, item->enable);
  code |= db_set_ip_force_frag_status_high_prio(obj, item->statusHigh);
  code |= db_set_ip_force_frag_status_normal_prio(obj, item->statusNormal);
  code |= db_set_ip_force_frag_errcode_high_prio(obj, item->errcodeHigh);
  code |= db_set_ip_force_frag_errcode_normal_prio(obj, item->errcodeNormal);
  code |= db_set_ip_force_frag_time_stamp_create(obj, UFIB_DB_GetSysTime());
  // Required: said of the VRF table.
  return fibdb::settleFieldsUnsaid(code, "Write vrf DB failed, set fields failed.");
}

uint32_t getFields(uint64_t obj, Item* item) {
  uint32_t code = db_get_ip_force_frag_vr_id(obj, &item->vrId);
  code |= db_get_ip_force_frag_enable(obj, &item->enable);
  code |= db_get_ip_force_frag_status_high_prio(obj, &item->statusHigh);
  code |= db_get_ip_force_frag_status_normal_prio(obj, &item->statusNormal);
  code |= db_get_ip_force_frag_errcode_high_prio(obj, &item->errcodeHigh);
  code |= db_get_ip_force_frag_errcode_normal_prio(obj, &item->errcodeNormal);
  return code == 0 ? FIB_DB_OK : FIB_DB_ERR;
}

uint32_t settle(uint32_t code, uint32_t) {
  // Required: said of the VRF table, and nothing is counted, publications included.
  constexpr Text<uint32_t> writeFailed = "Write vrf DB failed, ret: %d";
  if (code == FIB_DB_OK || code == DB_RET_PUB_STATUS) return FIB_DB_OK;
  writeFailed.error(code);
  return code;
}

constexpr fibdb::Table<Item, Key> kForceFragObject{
    .create = db_create_ip_force_frag_obj,
    .release = db_release_ip_force_frag_object,
    .stage = setFields,
    .settle = settle,
};

constexpr fibdb::RegisteredTable<Item, Row> kForceFrag{
    .id = fibdb::kUfibIpForceFrag,
    .unpack = FIB_DB_GetForceFragFields,
};

}  // namespace

void FIB_DB_GetForceFragFields(const void* row, FibDbForceFragItem* item) {
  const auto* const in = static_cast<const Row*>(row);
  item->vrId = in->vr_id;
  item->enable = in->enable;
  item->statusHigh = in->status_high_prio;
  item->statusNormal = in->status_normal_prio;
  item->errcodeHigh = in->errcode_high_prio;
  item->errcodeNormal = in->errcode_normal_prio;
}

uint32_t FIB_DB_WriteIpForceFrag(const FibDbForceFragItem* item) {
  return fibdb::write(kForceFragObject, item,
                      {.createFailed = "Write force frag DB failed, create object failed. ret: %d"});
}

// Unlike other reads, one whose fields cannot be got is a failure, and a silent one.
uint32_t FIB_DB_ReadIpForceFrag(FibDbForceFragItem* item) {
  constexpr Text<uint32_t> createFailed = "read force frag DB failed, create object failed. ret: %d";
  // Required: said of the VRF table.
  constexpr Text<uint32_t> readFailed = "Read vrf DB failed, ret: %d";
  if (item == nullptr) return FIB_DB_ERR;
  const fibdb::Object obj(kForceFragObject, FIB_DB_OBJ_OP_READ);
  if (const uint32_t code = obj.error()) return createFailed.error(code), code;
  const Key key(item->vrId);
  const uint32_t code = db_read_obj(obj.handle(), &key.desc, &key.bytes);
  if (code == FIB_DB_OK) return getFields(obj.handle(), item);
  if (code == DB_ERR_NO_DATA) return FIB_DB_NOT_FOUND;
  return readFailed.error(code), code;
}

void* FIB_DB_CreateIpForceFragIterator(uint32_t property) { return UFIB_DB_CreateIterator(kForceFrag.id, property); }
// Required: the name has no Ip.
uint32_t FIB_DB_GetNextForceFragEntry(void* iter, FibDbForceFragItem* item) {
  return fibdb::nextEntry(kForceFrag, iter, item);
}
uint32_t FIB_DB_ReleaseIpForceFragIterator(void* iter) { return fibdb::releaseEntries(kForceFrag, iter); }
