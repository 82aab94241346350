// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/nhp_ext.cc: next-hop extensions, keyed by four words and a byte; found by IID index, by tunnel and by SD-WAN
// key, too. Records travel as whole rows. Two families of iterators meet here: by IID index the object database's, by
// tunnel the table service's, and only the latter can be stepped by this table.
#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"
#include "runtime/registered.h"
#include "runtime/rows.h"

namespace {

using fibdb::Failure;
using fibdb::PackedKey;
using Item = FibDbNhpExtItem;
using Row = FibDbNhpExtRow;
using Key = fibdb::KeyBytes<FIB_DB_NHP_EXT_PRIMARY>;

static_assert(sizeof(Item) == 144);
static_assert(fibdb::schema::kIsRow_nhp_ext<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_nhp_ext,
                                        {FIB_DB_NHP_EXT_PRIMARY, FIB_DB_NHP_EXT_BY_IID_INDEX, FIB_DB_NHP_EXT_BY_TUNNEL,
                                         FIB_DB_NHP_EXT_BY_SDWAN_KEY}));

// Between item and row, every field in its order whatever becomes of the copies before it. Gives what the last of the
// four copies gave.
template <class From, class To>
int moveFields(const From* from, To* to) {
  std::memcpy(to->keyWords, from->keyWords, sizeof to->keyWords);
  to->keyByte = from->keyByte;
  to->extByte1 = from->extByte1;
  to->extByte2 = from->extByte2;
  memcpy_s(to->addr1, sizeof to->addr1, from->addr1, sizeof from->addr1);
  memcpy_s(to->addr2, sizeof to->addr2, from->addr2, sizeof from->addr2);
  to->extWord1 = from->extWord1;
  std::memcpy(to->extBytes, from->extBytes, sizeof to->extBytes);
  to->extWord2 = from->extWord2;
  to->status_high_prio = from->status_high_prio;
  to->status_normal_prio = from->status_normal_prio;
  to->errcode_high_prio = from->errcode_high_prio;
  to->errcode_normal_prio = from->errcode_normal_prio;
  memcpy_s(to->svc_ctx_high_prio, sizeof to->svc_ctx_high_prio, from->svc_ctx_high_prio,
           sizeof from->svc_ctx_high_prio);
  const int copied = memcpy_s(to->svc_ctx_normal_prio, sizeof to->svc_ctx_normal_prio, from->svc_ctx_normal_prio,
                              sizeof from->svc_ctx_normal_prio);
  to->extWord3 = from->extWord3;
  to->extWord4 = from->extWord4;
  to->extDword1 = from->extDword1;
  to->extWord5 = from->extWord5;
  to->extDword2 = from->extDword2;
  to->time_stamp_svc = from->time_stamp_svc;
  return copied;
}

void unpack(const void* row, Item* item) { FIB_DB_GetNhpExtItem(item, row); }

constexpr fibdb::Table<Item, Key> kNhpExt{
    .create = db_create_nhp_ext_obj,
    .release = db_release_nhp_ext_object,
    .stage = fibdb::stageRow<Item, Row, FIB_DB_SetNhpExtItem, db_set_nhp_ext_all_fields>,
    .key = [](FibDbKeyDesc* desc, Key* key, const Item* item) { FIB_DB_SetNhpExtKeyField(desc, key, item); },
    .fetch = fibdb::fetchRow<Item, Row, [](const Row* row, Item* item) { unpack(row, item); }>,
    .settle = FIB_DB_ProcNhpExtWriteDBResult,
};

// The same table as the service knows it.
constexpr fibdb::RegisteredTable<Item, Row> kNhpExtService{.id = fibdb::kUfibNhpExt, .unpack = unpack};

constexpr Failure kNextFailed{FIB_DB_TABLE_NHP_EXT, FIB_DB_OPER_ITERATOR, "ReadNhpExtByKIterNext next failed, ret: %d"};

// The row that the iterator stands on.
uint32_t readCurrent(uint64_t obj, void* row) {
  constexpr Failure failed{FIB_DB_TABLE_NHP_EXT, FIB_DB_OPER_READ, "ReadNhpExtByKIterNext read failed, ret: %d"};
  const uint32_t code = db_read_obj_with_buf(obj, nullptr, nullptr, row, sizeof(Row));
  if (code == FIB_DB_OK) return FIB_DB_OK;
  if (code == DB_ERR_NO_DATA) return FIB_DB_NOT_FOUND;
  failed(code);
  return FIB_DB_ERR;
}

uint32_t unpackCurrent(uint64_t obj, Item* item) {
  Row row{};
  const uint32_t status = readCurrent(obj, &row);
  if (status == FIB_DB_OK) unpack(&row, item);
  return status;
}

}  // namespace

uint32_t FIB_DB_SetNhpExtItem(void* row, const FibDbNhpExtItem* item) {
  auto* const out = static_cast<Row*>(row);
  out->zero = 0;
  // Required: the result is that of the last copy alone; the write does not look at it.
  return static_cast<uint32_t>(moveFields(item, out));
}

void FIB_DB_GetNhpExtItem(FibDbNhpExtItem* item, const void* row) {
  if (item == nullptr || row == nullptr) return;
  moveFields(static_cast<const Row*>(row), item);
}

void FIB_DB_SetNhpExtKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpExtItem* item) {
  desc->indexId = FIB_DB_NHP_EXT_PRIMARY;
  fibdb::putKey<FIB_DB_NHP_EXT_PRIMARY>(key, item->keyWords[0], item->keyWords[1], item->keyWords[2], item->keyWords[3],
                                        item->keyByte);
}

uint32_t FIB_DB_WriteNhpExt(const FibDbNhpExtItem* item) {
  return fibdb::write(kNhpExt, item,
                      {.createFailed = "WriteNhpExt failed, create object failed. ret: %d",
                       .stageFailed = "WriteNhpExt failed, set all fields failed. ret: %d"});
}

uint32_t FIB_DB_ReadNhpExt(FibDbNhpExtItem* item) {
  if (item == nullptr) return FIB_DB_ERR;
  // Required: the key is taken before there is an object.
  const fibdb::KeyOf<Item, Key> key(kNhpExt, item);
  return fibdb::readBy(kNhpExt, item,
                       {.createFailed = "ReadNhpExt failed, create object failed. ret: %d",
                        .failure = {FIB_DB_TABLE_NHP_EXT, FIB_DB_OPER_READ, "ReadNhpExt failed, ret: %d"}},
                       [&] { return key; });
}

uint32_t FIB_DB_RemoveNhpExt(const FibDbNhpExtItem* item) {
  // Required: a failed creation is not said, although the removal by IID index says it.
  return fibdb::remove(kNhpExt, item);
}

uint32_t FIB_DB_RemoveNhpExtByIidIndex(uint32_t iidIndex) {
  return fibdb::removeUnder(kNhpExt, PackedKey<FIB_DB_NHP_EXT_BY_IID_INDEX>(iidIndex),
                            {.createFailed = "RemoveNhpExtByIidIndex failed, create object failed. ret: %d"});
}

uint32_t FIB_DB_UpdateNhpExtFields(const FibDbNhpExtItem* item, FibDbFieldSetter setter) {
  return fibdb::update(kNhpExt, item, setter,
                       {.createFailed = "UpdateNhpExtFields failed, create object failed. ret: %d"});
}

uint32_t FIB_DB_SetNhpExtContext(uint64_t obj, const FibDbNhpExtItem* item) {
  uint32_t code = db_set_nhp_ext_svc_ctx_high_prio(obj, item->svc_ctx_high_prio, sizeof item->svc_ctx_high_prio);
  code |= db_set_nhp_ext_svc_ctx_normal_prio(obj, item->svc_ctx_normal_prio, sizeof item->svc_ctx_normal_prio);
  code |= db_set_nhp_ext_status_high_prio(obj, item->status_high_prio);
  code |= db_set_nhp_ext_status_normal_prio(obj, item->status_normal_prio);
  code |= db_set_nhp_ext_errcode_high_prio(obj, item->errcode_high_prio);
  code |= db_set_nhp_ext_errcode_normal_prio(obj, item->errcode_normal_prio);
  code |= db_set_nhp_ext_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFieldsUnsaid(code, "SetNhpExtContext failed, set fields failed.");
}

uint32_t FIB_DB_UpdateNhpExtContext(const FibDbNhpExtItem* item) {
  return FIB_DB_UpdateNhpExtFields(item, fibdb::asFieldSetter<Item, FIB_DB_SetNhpExtContext>);
}

uint32_t FIB_DB_ReadNhpExtByKey(const FibDbKeyDesc* desc, const void* key, uint32_t bufLen, FibDbNhpExtItem* buf,
                                uint32_t* count) {
  // Required: a step that fails is said in the words of ReadNhpExtByKIterNext.
  return fibdb::readUnder(kNhpExt, desc, key, bufLen, buf, count,
                          {.createFailed = "ReadNhpExtByKey failed, create object failed. ret: %d",
                           .createIterFailed = "ReadNhpExtByKey failed, create root iter failed. ret: %d",
                           .stepFailed = kNextFailed,
                           .arrive = unpackCurrent});
}

uint32_t FIB_DB_ReadNhpExtByKIterNext(uint64_t obj, uint64_t rootIter, void* row) {
  const uint32_t code = db_root_iterator_next(rootIter);
  if (code == FIB_DB_OK) return readCurrent(obj, row);
  // Required: the end is handed on as it is.
  return code == DB_ERR_ITER_END ? code : kNextFailed(code);
}

uint32_t FIB_DB_ReadNhpExtByIidIndex(uint32_t iidIndex, uint32_t bufLen, FibDbNhpExtItem* buf, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_EXT_BY_IID_INDEX> key(iidIndex);
  return FIB_DB_ReadNhpExtByKey(&key.desc, &key.bytes, bufLen, buf, count);
}
uint32_t FIB_DB_ReadNhpExtBySdwanKey(uint32_t tunnelId, uint8_t type, uint32_t bufLen, FibDbNhpExtItem* buf,
                                     uint32_t* count) {
  const PackedKey<FIB_DB_NHP_EXT_BY_SDWAN_KEY> key(tunnelId, type);
  return FIB_DB_ReadNhpExtByKey(&key.desc, &key.bytes, bufLen, buf, count);
}

uint32_t FIB_DB_CountNhpExtByKey(const FibDbKeyDesc* desc, const void* key, uint32_t* count) {
  return fibdb::countUnder(kNhpExt, desc, key, count,
                           {.createFailed = "CountNhpExtByKey failed, create object failed. ret: %d",
                            .countFailed = "CountNhpExtByKey failed, get record count by key failed. ret: %d"});
}
uint32_t FIB_DB_CountNhpExtByIidIndex(uint32_t iidIndex, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_EXT_BY_IID_INDEX> key(iidIndex);
  return FIB_DB_CountNhpExtByKey(&key.desc, &key.bytes, count);
}
uint32_t FIB_DB_CountNhpExtBySdwanKey(uint32_t tunnelId, uint8_t type, uint32_t* count) {
  const PackedKey<FIB_DB_NHP_EXT_BY_SDWAN_KEY> key(tunnelId, type);
  return FIB_DB_CountNhpExtByKey(&key.desc, &key.bytes, count);
}

// Required: an iterator that no function of this table steps or releases.
FibDbIterator* FIB_DB_CreateNhpExtIteratorByIidIndex(uint32_t iidIndex, int32_t property) {
  const PackedKey<FIB_DB_NHP_EXT_BY_IID_INDEX> key(iidIndex);
  return fibdb::createIterator(kNhpExt,
                               {.mallocFailed = "CreateNhpExtIteratorByIidIndex malloc failed",
                                .createObjFailed = "CreateNhpExtIteratorByIidIndex createObj failed, ret: %d",
                                .createIterFailed = "CreateNhpExtIteratorByIidIndex createIter failed, ret: %d",
                                .setPropertyFailed = "CreateNhpExtIteratorByIidIndex setProperty failed, ret: %d",
                                .madeInHandle = true},
                               static_cast<uint32_t>(property), fibdb::UnderKey{&key.desc, &key.bytes});
}

void* FIB_DB_CreateNhpExtIteratorByTunnelId(uint32_t key0, uint32_t key1, uint32_t key2, uint8_t keyByte,
                                            uint32_t property) {
  return fibdb::iterateUnder(kNhpExtService, PackedKey<FIB_DB_NHP_EXT_BY_TUNNEL>(key0, key1, key2, keyByte), property);
}
void* FIB_DB_CreateNhpExtIterByTnlIdAndType(uint32_t tunnelId, uint8_t type, uint32_t property) {
  return fibdb::iterateUnder(kNhpExtService, PackedKey<FIB_DB_NHP_EXT_BY_SDWAN_KEY>(tunnelId, type), property);
}
uint32_t FIB_DB_GetNextNhpExtEntry(void* iter, FibDbNhpExtItem* item) {
  return fibdb::nextEntry(kNhpExtService, iter, item);
}
uint32_t FIB_DB_ReleaseNhpExtIterator(void* iter) { return fibdb::releaseEntries(kNhpExtService, iter); }
