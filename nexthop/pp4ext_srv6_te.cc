// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/pp4ext_srv6_te.cc: what SRv6 traffic engineering adds to next hops, keyed by four words, an address and a
// type; found by next hop and by policy, too. Records travel as whole rows.
#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"
#include "runtime/rows.h"

namespace {

using fibdb::PackedKey;
using Item = FibDbNhpSrv6TeItem;
using Row = FibDbNhpSrv6TeRow;
using Key = fibdb::KeyBytes<FIB_DB_PP4EXT_SRV6_TE_PRIMARY>;

static_assert(sizeof(Item) == 160);
static_assert(sizeof(Row) == 156);
static_assert(fibdb::schema::kIsRow_pp4ext_srv6_te<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_pp4ext_srv6_te,
                                        {FIB_DB_PP4EXT_SRV6_TE_PRIMARY, FIB_DB_PP4EXT_SRV6_TE_BY_NHP_INDEX,
                                         FIB_DB_PP4EXT_SRV6_TE_BY_POLICY_INFO}));

constexpr fibdb::Table<Item, Key> kSrv6Te{
    .create = db_create_pp4ext_srv6_te_obj,
    .release = db_release_pp4ext_srv6_te_object,
    .stage = fibdb::stageRow<Item, Row, FIB_DB_SetNhp4ExtSrv6TeItem, db_set_pp4ext_srv6_te_all_fields>,
    .key = [](FibDbKeyDesc* desc, Key* key, const Item* item) { FIB_DB_SetNhp4ExtSrv6TeKeyField(desc, key, item); },
    .fetch = fibdb::fetchRow<Item, Row, [](const Row* row, Item* item) { FIB_DB_GetNhp4ExtSrv6TeItem(item, row); }>,
    .settle = FIB_DB_Nhp4ExtSrv6TeLog,
};

// Item to row and back, field by field in the order of the item; copyAddress says which way.
// Required: the address stands before the fourth key word in an item, and behind it in a row.
template <class To, class From>
uint32_t convert(To& to, const From& from, uint32_t (*copyAddress)(uint8_t*, const uint8_t*)) {
  to.key_word1 = from.key_word1;
  to.key_word2 = from.key_word2;
  to.key_word3 = from.key_word3;
  copyAddress(to.addr, from.addr);
  to.key_word4 = from.key_word4;
  to.type_byte = from.type_byte;
  to.attr_byte1 = from.attr_byte1;
  to.attr_word1 = from.attr_word1;
  copyAddress(to.addr2, from.addr2);
  to.attr_word2 = from.attr_word2;
  to.attr_word3 = from.attr_word3;
  to.status_high_prio = from.status_high_prio;
  to.status_normal_prio = from.status_normal_prio;
  to.errcode_high_prio = from.errcode_high_prio;
  to.errcode_normal_prio = from.errcode_normal_prio;
  to.attr_byte2 = from.attr_byte2;
  to.attr_byte3 = from.attr_byte3;
  fibdb::copyBlock(to.svc_ctx_high_prio, from.svc_ctx_high_prio);
  fibdb::copyBlock(to.svc_ctx_normal_prio, from.svc_ctx_normal_prio);
  fibdb::copyBlock(to.block1, from.block1);
  const uint32_t copied = fibdb::copyBlock(to.block2, from.block2);
  to.attr_word4 = from.attr_word4;
  to.time_stamp_app = from.time_stamp_app;
  to.time_stamp_svc = from.time_stamp_svc;
  return copied;
}

// Required: a record that vanishes while it is read ends a bulk read with 15005, and is 1 to a step; neither says it.
uint32_t arriveInBulk(uint64_t obj, Item* item) {
  return fibdb::fetchCurrent(
      kSrv6Te, obj, item,
      {FIB_DB_TABLE_PP4EXT_SRV6_TE, FIB_DB_OPER_READ, "ReadNhp4ExtSrv6TeByKey read failed, ret: %u"});
}

uint32_t arriveInStep(uint64_t obj, Item* item) {
  const uint32_t code = fibdb::fetchCurrent(
      kSrv6Te, obj, item, {FIB_DB_TABLE_PP4EXT_SRV6_TE, FIB_DB_OPER_READ, "Read Nhp4ExtSrv6Te Entry failed, ret: %u"});
  return code == FIB_DB_OK ? FIB_DB_OK : FIB_DB_ERR;
}

// Required: the iterators by a key fail in the words of the one over the whole table.
template <class Open>
FibDbIterator* iterate(uint32_t property, const Open& open, bool madeInHandle) {
  return fibdb::createIterator(kSrv6Te,
                               {.mallocFailed = "CreateNhp4ExtSrv6TeIterator malloc failed",
                                .createObjFailed = "CreateNhp4ExtSrv6TeIterator createObj failed, ret: %d",
                                .createIterFailed = "CreateNhp4ExtSrv6TeIterator createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhp4ExtSrv6TeIterator setProperty failed, ret: %d",
                                .madeInHandle = madeInHandle},
                               property, open);
}

}  // namespace

uint32_t FIB_DB_SetNhp4ExtSrv6TeItem(void* row, const FibDbNhpSrv6TeItem* item) {
  return convert(*static_cast<Row*>(row), *item, fibdb::packAddress);
}
uint32_t FIB_DB_GetNhp4ExtSrv6TeItem(FibDbNhpSrv6TeItem* item, const void* row) {
  return convert(*item, *static_cast<const Row*>(row), fibdb::unpackAddress);
}

uint32_t FIB_DB_SetNhp4ExtSrv6TeKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpSrv6TeItem* item) {
  fibdb::Address addr{};
  const uint32_t copied = fibdb::packAddress(addr.data(), item->addr);
  desc->indexId = FIB_DB_PP4EXT_SRV6_TE_PRIMARY;
  fibdb::putKey<FIB_DB_PP4EXT_SRV6_TE_PRIMARY>(key, item->key_word1, item->key_word2, item->key_word3, item->key_word4,
                                               addr, item->type_byte);
  return copied;
}

// Required: neither a write nor a removal checks its item, both release their object before its code is settled, and
// both say "NhpPp4Ext".
uint32_t FIB_DB_WriteNhp4ExtSrv6Te(const FibDbNhpSrv6TeItem* item) {
  return fibdb::write(kSrv6Te, item,
                      {.createFailed = "WriteNhpPp4ExtSrv6Te create object failed, ret: %d.",
                       .stageFailed = "WriteNhpPp4ExtSrv6Te failed, set all fields failed. ret: %d",
                       .unguarded = true,
                       .releaseFirst = true});
}

// Required: the name, which is the only one that begins like its texts.
uint32_t FIB_DB_RemoveNhpPp4ExtSrv6Te(const FibDbNhpSrv6TeItem* item) {
  return fibdb::remove(kSrv6Te, item,
                       {.createFailed = "RemoveNhpPp4ExtSrv6Te create object failed, ret: %d.",
                        .unguarded = true,
                        .releaseFirst = true});
}

uint32_t FIB_DB_RemoveNhp4ExtSrv6TeByNhpIndex(uint32_t nhpIndex) {
  return fibdb::removeUnder(
      kSrv6Te, PackedKey<FIB_DB_PP4EXT_SRV6_TE_BY_NHP_INDEX>(nhpIndex),
      {.createFailed = "RemoveNhp4ExtSrv6TeByNhpIndex create object failed, ret: %d.", .releaseFirst = true});
}

uint32_t FIB_DB_ReadNhp4ExtSrv6TeByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen,
                                       FibDbNhpSrv6TeItem* buf, uint32_t* count) {
  return fibdb::readUnder(
      kSrv6Te, desc, key, bufLen, buf, count,
      {.createFailed = "ReadNhp4ExtSrv6TeByKey failed, create object failed. ret: %u",
       .createIterFailed = "ReadNhp4ExtSrv6TeByKey failed, create root iter failed. ret: %u",
       .stepFailed = {FIB_DB_TABLE_PP4EXT_SRV6_TE, FIB_DB_OPER_ITERATOR, "ReadNhp4ExtSrv6TeByKey failed, ret: %u"},
       .arrive = arriveInBulk,
       .unguarded = true});
}

uint32_t FIB_DB_ReadNhp4ExtSrv6TeByNhpIndex(uint32_t nhpIndex, uint32_t bufLen, FibDbNhpSrv6TeItem* buf,
                                            uint32_t* count) {
  if (buf == nullptr) return FIB_DB_ERR;
  const PackedKey<FIB_DB_PP4EXT_SRV6_TE_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_ReadNhp4ExtSrv6TeByKey(&key.desc, &key.bytes, bufLen, buf, count);
}

uint32_t FIB_DB_CountNhp4ExtSrv6TeByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count) {
  return fibdb::countUnder(kSrv6Te, desc, key, count,
                           {.createFailed = "CountNhp4ExtSrv6TeByKey create object failed, ret: %d.",
                            .countFailed = "CountNhp4ExtSrv6TeByKey get record count failed, ret: %d.",
                            .unguarded = true});
}

uint32_t FIB_DB_CountNhp4ExtSrv6TeByNhpIndex(uint32_t nhpIndex, uint32_t* count) {
  const PackedKey<FIB_DB_PP4EXT_SRV6_TE_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_CountNhp4ExtSrv6TeByKey(&key.desc, &key.bytes, count);
}

uint32_t FIB_DB_UpdateNhp4ExtSrv6TeFields(const FibDbNhpSrv6TeItem* item, FibDbFieldSetter setter) {
  return fibdb::update(kSrv6Te, item, setter,
                       {.createFailed = "UpdateNhp4ExtSrv6TeFields failed, create object failed. ret: %d"});
}

uint32_t FIB_DB_SetNhp4ExtSrv6TeContext(uint64_t obj, const FibDbNhpSrv6TeItem* item) {
  uint32_t code = db_set_pp4ext_srv6_te_svc_ctx_high_prio(obj, item->svc_ctx_high_prio, sizeof item->svc_ctx_high_prio);
  code |= db_set_pp4ext_srv6_te_svc_ctx_normal_prio(obj, item->svc_ctx_normal_prio, sizeof item->svc_ctx_normal_prio);
  code |= db_set_pp4ext_srv6_te_status_high_prio(obj, item->status_high_prio);
  code |= db_set_pp4ext_srv6_te_status_normal_prio(obj, item->status_normal_prio);
  code |= db_set_pp4ext_srv6_te_errcode_high_prio(obj, item->errcode_high_prio);
  code |= db_set_pp4ext_srv6_te_errcode_normal_prio(obj, item->errcode_normal_prio);
  code |= db_set_pp4ext_srv6_te_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFieldsUnsaid(code, "SetNhp4ExtSrv6TeContext failed, set fields failed.");
}

uint32_t FIB_DB_UpdateNhp4ExtSrv6TeContext(const FibDbNhpSrv6TeItem* item) {
  return FIB_DB_UpdateNhp4ExtSrv6TeFields(item, fibdb::asFieldSetter<Item, FIB_DB_SetNhp4ExtSrv6TeContext>);
}

FibDbIterator* FIB_DB_CreateNhp4ExtSrv6TeIterator(uint32_t property) {
  return iterate(property, fibdb::WholeTable(), false);
}
FibDbIterator* FIB_DB_CreateNhp4ExtSrv6TeIteratorByKey(const FibDbKeyDesc* desc, const void* key, uint32_t property) {
  return iterate(property, fibdb::UnderKey{desc, key}, true);
}
FibDbIterator* FIB_DB_CreateNhp4ExtSrv6TeIterByPolicyInfo(uint32_t key0, uint32_t key1, uint32_t key2, uint8_t keyByte,
                                                          uint32_t property) {
  const PackedKey<FIB_DB_PP4EXT_SRV6_TE_BY_POLICY_INFO> key(key0, key1, key2, keyByte);
  return FIB_DB_CreateNhp4ExtSrv6TeIteratorByKey(&key.desc, &key.bytes, property);
}
FibDbIterator* FIB_DB_CreateNhp4ExtSrv6TeIterByNhpIndex(uint32_t nhpIndex, uint32_t property) {
  const PackedKey<FIB_DB_PP4EXT_SRV6_TE_BY_NHP_INDEX> key(nhpIndex);
  return FIB_DB_CreateNhp4ExtSrv6TeIteratorByKey(&key.desc, &key.bytes, property);
}

uint32_t FIB_DB_GetNextNhp4ExtSrv6TeEntry(FibDbIterator* handle, FibDbNhpSrv6TeItem* item) {
  // Required: the small letter of the name.
  constexpr fibdb::Failure failed{FIB_DB_TABLE_PP4EXT_SRV6_TE, FIB_DB_OPER_ITERATOR,
                                  "GetNextnhp4ExtSrv6TeEntry failed, ret: %u"};
  return fibdb::next(handle, item, failed, arriveInStep);
}

void FIB_DB_ReleaseNhp4ExtSrv6TeIterator(FibDbIterator* handle) { fibdb::releaseIterator(kSrv6Te, handle); }
