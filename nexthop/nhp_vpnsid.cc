// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/nhp_vpnsid.cc: next hops with VPN segment identifiers, keyed by three words and a SID; found by next hop,
// XSID and VPN SID, too. Records travel as whole rows; one record is read through the table service.
#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"
#include "runtime/registered.h"
#include "runtime/rows.h"

namespace {

using fibdb::PackedKey;
using fibdb::Text;
using Item = FibDbNhpVpnSidItem;
using Row = FibDbNhpVpnSidRow;
using Key = fibdb::KeyBytes<FIB_DB_NHP_VPNSID_PRIMARY>;

static_assert(sizeof(Item) == 264);
static_assert(sizeof(Row) == 256);
static_assert(fibdb::schema::kIsRow_nhp_vpnsid<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_nhp_vpnsid,
                                        {FIB_DB_NHP_VPNSID_PRIMARY, FIB_DB_NHP_VPNSID_BY_NHP_INDEX,
                                         FIB_DB_NHP_VPNSID_BY_XSID_INFO, FIB_DB_NHP_VPNSID_BY_VPN_SID}));

constexpr fibdb::Table<Item, Key> kNhpVpnSid{
    .create = db_create_nhp_vpnsid_obj,
    .release = db_release_nhp_vpnsid_object,
    .stage = fibdb::stageRow<Item, Row, FIB_DB_SetNhpVpnSidItem, db_set_nhp_vpnsid_all_fields>,
    .key = [](FibDbKeyDesc* desc, Key* key, const Item* item) { FIB_DB_SetNhpVpnSidKeyField(desc, key, item); },
    .fetch = fibdb::fetchRow<Item, Row, [](const Row* row, Item* item) { FIB_DB_GetNhpVpnSidItem(item, row); }>,
    .settle = FIB_DB_NhpVpnSidLog,
};

constexpr fibdb::RegisteredTable<Item, Row> kService{
    .id = fibdb::kUfibNhpVpnSid,
    .unpack = [](const void* row, Item* item) { FIB_DB_GetNhpVpnSidItem(item, row); },
};

void primaryKey(const Item* item, uint32_t* indexId, void* key) {
  FibDbKeyDesc desc{};
  FIB_DB_SetNhpVpnSidKeyField(&desc, key, item);
  *indexId = desc.indexId;
}

// A caller's address as a key field. Required: one that cannot be copied is said, and leaves zeroes in the key.
fibdb::Address keyAddress(const uint8_t* address, const Text<uint32_t>& copyFailed) {
  fibdb::Address stored{};
  if (const uint32_t copied = fibdb::packAddress(stored.data(), address)) copyFailed.error(copied);
  return stored;
}

// Item to row and back, field by field in the order of the item; copyAddress says which way.
template <class To, class From>
uint32_t convert(To& to, const From& from, uint32_t (*copyAddress)(uint8_t*, const uint8_t*)) {
  to.key_word1 = from.key_word1;
  to.key_word2 = from.key_word2;
  to.key_word3 = from.key_word3;
  to.attr_word1 = from.attr_word1;
  copyAddress(to.sid, from.sid);
  copyAddress(to.addr2, from.addr2);
  copyAddress(to.addr3, from.addr3);
  to.attr_word2 = from.attr_word2;
  to.attr_word3 = from.attr_word3;
  to.attr_byte1 = from.attr_byte1;
  to.attr_byte2 = from.attr_byte2;
  to.attr_byte3 = from.attr_byte3;
  to.flags = from.flags;
  to.status_high_prio = from.status_high_prio;
  to.status_normal_prio = from.status_normal_prio;
  to.errcode_high_prio = from.errcode_high_prio;
  to.errcode_normal_prio = from.errcode_normal_prio;
  fibdb::copyBlock(to.svc_ctx_high_prio, from.svc_ctx_high_prio);
  fibdb::copyBlock(to.svc_ctx_normal_prio, from.svc_ctx_normal_prio);
  to.attr_word4 = from.attr_word4;
  to.attr_word5 = from.attr_word5;
  fibdb::copyBlock(to.block16a, from.block16a);
  fibdb::copyBlock(to.block16b, from.block16b);
  to.app_source_id = from.app_source_id;
  to.group_smooth_id = from.group_smooth_id;
  to.app_obj_id = from.app_obj_id;
  to.app_version = from.app_version;
  to.time_stamp_app = from.time_stamp_app;
  to.time_stamp_svc = from.time_stamp_svc;
  fibdb::copyBlock(to.block32a, from.block32a);
  return fibdb::copyBlock(to.block32b, from.block32b);
}

// Required: a record that vanishes while it is read ends a bulk read with 15005, and is 1 to a step; neither says it.
uint32_t arriveInBulk(uint64_t obj, Item* item) {
  return fibdb::fetchCurrent(kNhpVpnSid, obj, item,
                             {FIB_DB_TABLE_NHP_VPNSID, FIB_DB_OPER_READ, "ReadNhpVpnSidByKey read failed, ret: %u"});
}

// Required: a step fails in the words of the bulk read.
uint32_t arriveInStep(uint64_t obj, Item* item) {
  return arriveInBulk(obj, item) == FIB_DB_OK ? FIB_DB_OK : FIB_DB_ERR;
}

}  // namespace

uint32_t FIB_DB_SetNhpVpnSidItem(void* row, const FibDbNhpVpnSidItem* item) {
  return convert(*static_cast<Row*>(row), *item, fibdb::packAddress);
}
uint32_t FIB_DB_GetNhpVpnSidItem(FibDbNhpVpnSidItem* item, const void* row) {
  return convert(*item, *static_cast<const Row*>(row), fibdb::unpackAddress);
}

uint32_t FIB_DB_SetNhpVpnSidKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpVpnSidItem* item) {
  fibdb::Address sid{};
  const uint32_t copied = fibdb::packAddress(sid.data(), item->sid);
  desc->indexId = FIB_DB_NHP_VPNSID_PRIMARY;
  fibdb::putKey<FIB_DB_NHP_VPNSID_PRIMARY>(key, item->key_word1, item->key_word2, item->key_word3, sid);
  return copied;
}

// Required: neither a write nor a removal checks its item, and both release their object before its code is settled.
uint32_t FIB_DB_WriteNhpVpnSid(const FibDbNhpVpnSidItem* item) {
  return fibdb::write(kNhpVpnSid, item,
                      {.createFailed = "WriteNhpVpnSid create object failed, ret: %d.",
                       // Required: the small letters and the "Item" of the name.
                       .stageFailed = "WritenhpVpnSidItem failed, set all fields failed. ret: %d",
                       .unguarded = true,
                       .releaseFirst = true});
}

uint32_t FIB_DB_ReadNhpVpnSid(FibDbNhpVpnSidItem* item) {
  return fibdb::readEntry(kService, item, primaryKey, UFIB_DB_Read);
}

uint32_t FIB_DB_RemoveNhpVpnSid(const FibDbNhpVpnSidItem* item) {
  return fibdb::remove(
      kNhpVpnSid, item,
      {.createFailed = "RemoveNhpVpnSid create object failed, ret: %d.", .unguarded = true, .releaseFirst = true});
}

uint32_t FIB_DB_RemoveNhpVpnSidByNhpIndex(uint32_t nhpIndex) {
  // Required: the text names another function.
  return fibdb::removeUnder(
      kNhpVpnSid, PackedKey<FIB_DB_NHP_VPNSID_BY_NHP_INDEX>(nhpIndex),
      {.createFailed = "RemoveNhpVpnSidByIIDIndex create object failed, ret: %d.", .releaseFirst = true});
}

uint32_t FIB_DB_ReadNhpVpnSidByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen, FibDbNhpVpnSidItem* buf,
                                   uint32_t* count) {
  return fibdb::readUnder(
      kNhpVpnSid, desc, key, bufLen, buf, count,
      {.createFailed = "ReadNhpVpnSidByKey failed, create object failed. ret: %u",
       .createIterFailed = "ReadNhpVpnSidByKey failed, create root iter failed. ret: %u",
       .stepFailed = {FIB_DB_TABLE_NHP_VPNSID, FIB_DB_OPER_ITERATOR, "ReadNhpVpnSidByKey failed, ret: %u"},
       .arrive = arriveInBulk,
       .unguarded = true});
}

uint32_t FIB_DB_ReadNhpVpnSidByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpVpnSidItem* buf, uint32_t* count) {
  if (buf == nullptr) return FIB_DB_ERR;
  const PackedKey<FIB_DB_NHP_VPNSID_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_ReadNhpVpnSidByKey(&key.desc, &key.bytes, bufLen, buf, count);
}

uint32_t FIB_DB_CountNhpVpnSidByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count) {
  return fibdb::countUnder(kNhpVpnSid, desc, key, count,
                           {.createFailed = "CountNhpVpnSidByKey create object failed, ret: %d.",
                            .countFailed = "CountNhpVpnSidByKey get record count failed, ret: %d.",
                            .unguarded = true});
}

uint32_t FIB_DB_CountNhpVpnSidByNhpIndex(uint32_t nhpIndex, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_VPNSID_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_CountNhpVpnSidByKey(&key.desc, &key.bytes, count);
}

uint32_t FIB_DB_UpdateNhpVpnSidFields(const FibDbNhpVpnSidItem* item, FibDbFieldSetter setter) {
  return fibdb::update(kNhpVpnSid, item, setter,
                       {.createFailed = "UpdateNhpVpnSidFields failed, create object failed. ret: %d"});
}

uint32_t FIB_DB_SetNhpVpnSidContext(uint64_t obj, const FibDbNhpVpnSidItem* item) {
  uint32_t code = db_set_nhp_vpnsid_svc_ctx_high_prio(obj, item->svc_ctx_high_prio, sizeof item->svc_ctx_high_prio);
  code |= db_set_nhp_vpnsid_svc_ctx_normal_prio(obj, item->svc_ctx_normal_prio, sizeof item->svc_ctx_normal_prio);
  code |= db_set_nhp_vpnsid_status_high_prio(obj, item->status_high_prio);
  code |= db_set_nhp_vpnsid_status_normal_prio(obj, item->status_normal_prio);
  code |= db_set_nhp_vpnsid_errcode_high_prio(obj, item->errcode_high_prio);
  code |= db_set_nhp_vpnsid_errcode_normal_prio(obj, item->errcode_normal_prio);
  code |= db_set_nhp_vpnsid_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFieldsUnsaid(code, "SetNhpVpnSidContext failed, set fields failed.");
}

uint32_t FIB_DB_SetNhpVpnSidFlag(uint64_t obj, const FibDbNhpVpnSidItem* item) {
  // Required: "Flags" in the text, although the name has one.
  constexpr Text<uint32_t> failed = "SetNhpVpnSidFlags setField failed, ret: %d.";
  const uint32_t code = db_set_nhp_vpnsid_flags(obj, item->flags);
  if (code != 0) failed.error(code);
  return code;
}

uint32_t FIB_DB_UpdateNhpVpnSidContext(const FibDbNhpVpnSidItem* item) {
  return FIB_DB_UpdateNhpVpnSidFields(item, fibdb::asFieldSetter<Item, FIB_DB_SetNhpVpnSidContext>);
}
uint32_t FIB_DB_UpdateNhpVpnSidFlag(const FibDbNhpVpnSidItem* item) {
  return FIB_DB_UpdateNhpVpnSidFields(item, fibdb::asFieldSetter<Item, FIB_DB_SetNhpVpnSidFlag>);
}

FibDbIterator* FIB_DB_CreateNhpVpnSidIterator(uint32_t property) {
  return fibdb::createIterator(kNhpVpnSid,
                               {.mallocFailed = "CreateNhpVpnSidIterator malloc failed",
                                .createObjFailed = "CreateNhpVpnSidIterator createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpVpnSidIterator createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpVpnSidIterator setProperty failed, ret: %d"},
                               property, fibdb::WholeTable());
}

FibDbIterator* FIB_DB_CreateNhpVpnSidIteratorByKey(const FibDbKeyDesc* desc, const void* key, uint32_t property) {
  return fibdb::createIterator(kNhpVpnSid,
                               {// Required: the capital I of the first text.
                                .mallocFailed = "CreateNhpVpnSIdIteratorByKey malloc failed",
                                .createObjFailed = "CreateNhpVpnSidIteratorByKey createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpVpnSidIteratorByKey createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpVpnSidIteratorByKey setProperty failed, ret: %d",
                                .madeInHandle = true},
                               property, fibdb::UnderKey{desc, key});
}

FibDbIterator* FIB_DB_CreateNhpVpnSidIteratorByXsidInfo(uint32_t key0, uint32_t key1, const uint8_t* xsid,
                                                        uint8_t byte0, uint8_t byte1, uint32_t property) {
  const PackedKey<FIB_DB_NHP_VPNSID_BY_XSID_INFO> key(
      key0, key1, keyAddress(xsid, "set vpnsidIterator keydata xsid failed, ret: %u"), byte0, byte1);
  return FIB_DB_CreateNhpVpnSidIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpVpnSidIteratorByVpnSid(uint32_t key0, uint32_t key1, const uint8_t* sid,
                                                      uint32_t property) {
  const PackedKey<FIB_DB_NHP_VPNSID_BY_VPN_SID> key(
      key0, key1, keyAddress(sid, "set nhp vpnsidIterator keydata vpnsid failed, ret:%u"));
  return FIB_DB_CreateNhpVpnSidIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhpVpnSidIteratorByNhpIndex(uint32_t nhpIndex, uint32_t property) {
  const PackedKey<FIB_DB_NHP_VPNSID_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_CreateNhpVpnSidIteratorByKey(&key.desc, &key.bytes, property);
}

uint32_t FIB_DB_GetNextNhpVpnSidEntry(FibDbIterator* handle, FibDbNhpVpnSidItem* item) {
  constexpr fibdb::Failure failed{FIB_DB_TABLE_NHP_VPNSID, FIB_DB_OPER_ITERATOR,
                                  "GetNextNhpVpnSidEntry failed, ret: %u"};
  return fibdb::next(handle, item, failed, arriveInStep);
}

void FIB_DB_ReleaseNhpVpnSidIterator(FibDbIterator* handle) { fibdb::releaseIterator(kNhpVpnSid, handle); }
