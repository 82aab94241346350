// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// route/ip4forward.cc: IPv4 routes, keyed by virtual router, VRF, address and mask.
#include <cstddef>
#include <cstring>

#include "fibdb/route.h"
#include "platform/bounds.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"

namespace {

using fibdb::Text;
using Item = FibDbIp4forwardItem;
using Key = FibDbIp4forwardKey;
using Record = FibDbIp4forwardRecord;

static_assert(sizeof(Item) == 128);
static_assert(sizeof(Record) == fibdb::schema::rowLengthOf(fibdb::schema::kFields_ip4forward));
constexpr size_t kKeyBytes = offsetof(Key, mask_len) + sizeof(Key::mask_len);
static_assert(kKeyBytes == 13 && kKeyBytes == (FIB_DB_IP4FORWARD_PRIMARY & 0xFFFF));

static_assert(fibdb::schema::kIsRow_ip4forward<Record>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_ip4forward,
                                        {FIB_DB_IP4FORWARD_PRIMARY, FIB_DB_IP4FORWARD_BY_GROUP,
                                         FIB_DB_IP4FORWARD_BY_VRF, FIB_DB_IP4FORWARD_LONGEST,
                                         FIB_DB_IP4FORWARD_DICTIONARY}));

constexpr fibdb::Table<Item, Key> kIp4forward{
    .create = db_create_ip4forward_obj,
    .release = db_release_ip4forward_object,
    .key = FIB_DB_SetIp4forwardKeyField,
    .fetch = fibdb::fetchRow<Item, Record, FIB_DB_GetIp4forwardItem>,
};

uint32_t readFailed(uint32_t code, const Item*) { return FIB_DB_ProcIp4FwdReadDBResult(code, FIB_DB_OPER_READ); }

uint32_t fetchCurrent(uint64_t obj, Item* item) {
  return FIB_DB_ProcIp4FwdReadDBResult(kIp4forward.fetch(obj, nullptr, nullptr, item), FIB_DB_OPER_READ);
}

// A step that failed is said and counted before the object goes.
uint32_t stepFailed(uint32_t code, const Text<uint32_t>& failed) {
  failed.error(code);
  FIB_DB_RecordErrStat(FIB_DB_TABLE_IP4FORWARD, FIB_DB_OPER_ITERATOR);
  return code;
}

// Every route, in key order.
struct InKeyOrder {
  uint32_t operator()(uint64_t obj, uint64_t* rootIter) const {
    constexpr uint32_t kFilter = 2;
    constexpr uint32_t kRange = 6;
    const FibDbKeyDesc desc{.indexId = FIB_DB_IP4FORWARD_DICTIONARY, .rsv1 = 0, .rsv2 = 0};
    const Key low{};
    Key high{};
    FIB_DB_SetIp4forwardKey(&high, FIB_DB_MAX_VR_ID, FIB_DB_MAX_VRF_INDEX, 0xFFFFFFFF, 32);
    // Required: the results of these two are not looked at.
    db_create_stmt(obj, kFilter, "ip4forward", 0);
    db_append_stmt_condition(obj, nullptr, 0, kRange, nullptr, 0, &desc, &low, &high);
    return db_create_root_iterator_by_filter(obj, rootIter);
  }
};

}  // namespace

void FIB_DB_SetIp4forwardKey(FibDbIp4forwardKey* key, uint32_t vrId, uint32_t vrfIndex, uint32_t destIpAddr,
                             uint8_t maskLen) {
  key->vr_id = vrId;
  key->vrf_index = vrfIndex;
  key->dest_ip_addr = destIpAddr;
  key->mask_len = maskLen;
}

void FIB_DB_GetIp4forwardKey(const FibDbIp4forwardKey* src, FibDbIp4forwardKey* dst) {
  // Callers keep packed keys: what follows the key is not theirs to give, nor ours to write.
  if (src != nullptr && dst != nullptr) std::memcpy(dst, src, kKeyBytes);
}

void FIB_DB_SetIp4forwardItem(const FibDbIp4forwardItem* item, FibDbIp4forwardRecord* record) {
  if (item == nullptr || record == nullptr) return;
  record->vr_id = item->vr_id;
  record->vrf_index = item->vrf_index;
  record->dest_ip_addr = item->dest_ip_addr;
  record->mask_len = item->mask_len;
  record->attr_byte_a = item->attr_byte_a;
  record->attr_half_a = item->attr_half_a;
  record->attr_word_a = item->attr_word_a;
  record->attr_word_b = item->attr_word_b;
  record->attr_word_c = item->attr_word_c;
  record->attr_half_b = item->attr_half_b;
  record->attr_byte_b = item->attr_byte_b;
  record->attr_byte_c = item->attr_byte_c;
  record->attr_half_c = item->attr_half_c;
  record->attr_word_d = item->attr_word_d;
  record->attr_word_e = item->attr_word_e;
  record->high_status = item->high_status;
  record->attr_byte_e = item->attr_byte_e;
  record->attr_byte_f = item->attr_byte_f;
  record->attr_byte_g = item->attr_byte_g;
  int failed =
      memcpy_s(record->attr_block_a, sizeof record->attr_block_a, item->attr_block_a, sizeof item->attr_block_a);
  failed |= memcpy_s(record->attr_block_b, sizeof record->attr_block_b, item->attr_block_b, sizeof item->attr_block_b);
  // Required: the rest, and the process id, only after both copies.
  if (failed != 0) return;
  record->source_pid = item->source_pid;
  g_fibSourcePid = item->source_pid;
  record->table_smooth_id = item->table_smooth_id;
  record->attr_dword_a = item->attr_dword_a;
  record->attr_half_d = item->attr_half_d;
  record->attr_byte_d = item->attr_byte_d;
  record->attr_dword_b = item->attr_dword_b;
  record->attr_dword_c = item->attr_dword_c;
  record->time_stamp_svc = item->time_stamp_svc;
}

void FIB_DB_GetIp4forwardItem(const FibDbIp4forwardRecord* record, FibDbIp4forwardItem* item) {
  if (record == nullptr || item == nullptr) return;
  item->vr_id = record->vr_id;
  item->vrf_index = record->vrf_index;
  item->dest_ip_addr = record->dest_ip_addr;
  item->mask_len = record->mask_len;
  item->attr_byte_a = record->attr_byte_a;
  item->attr_half_a = record->attr_half_a;
  item->attr_word_a = record->attr_word_a;
  item->attr_word_b = record->attr_word_b;
  item->attr_word_c = record->attr_word_c;
  item->attr_half_b = record->attr_half_b;
  item->attr_byte_b = record->attr_byte_b;
  item->attr_byte_c = record->attr_byte_c;
  item->attr_half_c = record->attr_half_c;
  item->attr_word_d = record->attr_word_d;
  item->attr_word_e = record->attr_word_e;
  item->high_status = record->high_status;
  item->attr_byte_e = record->attr_byte_e;
  item->attr_byte_f = record->attr_byte_f;
  item->attr_byte_g = record->attr_byte_g;
  int failed =
      memcpy_s(item->attr_block_a, sizeof item->attr_block_a, record->attr_block_a, sizeof record->attr_block_a);
  failed |= memcpy_s(item->attr_block_b, sizeof item->attr_block_b, record->attr_block_b, sizeof record->attr_block_b);
  if (failed != 0) return;
  item->source_pid = record->source_pid;
  item->table_smooth_id = record->table_smooth_id;
  item->attr_dword_a = record->attr_dword_a;
  item->attr_half_d = static_cast<uint16_t>(record->attr_half_d);
  item->attr_byte_d = record->attr_byte_d;
  item->attr_dword_b = record->attr_dword_b;
  item->attr_dword_c = record->attr_dword_c;
  item->time_stamp_svc = record->time_stamp_svc;
}

void FIB_DB_SetIp4forwardKeyField(FibDbKeyDesc* desc, FibDbIp4forwardKey* key, const FibDbIp4forwardItem* item) {
  desc->indexId = FIB_DB_IP4FORWARD_PRIMARY;
  FIB_DB_SetIp4forwardKey(key, item->vr_id, item->vrf_index, item->dest_ip_addr, item->mask_len);
}

uint32_t FIB_DB_ReadIp4forward(FibDbIp4forwardItem* item) {
  return fibdb::read(kIp4forward, item, {.failed = readFailed});
}

uint32_t FIB_DB_ReadIp4forwardByLpm(FibDbIp4forwardItem* item) {
  constexpr Text<uint32_t> createFailed = "ReadIp4forwardByLpm failed, create object failed. ret: %d";
  constexpr Text<uint32_t> iterFailed = "ReadIp4forwardByLpm failed, create root iter failed. ret: %d";
  if (item == nullptr || item->vr_id > FIB_DB_MAX_VR_ID || item->vrf_index > FIB_DB_MAX_VRF_INDEX) return FIB_DB_ERR;
  const fibdb::Object obj(kIp4forward, FIB_DB_OBJ_OP_SCAN);
  if (const uint32_t code = obj.error()) return createFailed.error(code), code;
  fibdb::KeyOf<Item, Key> key(kIp4forward, item);
  key.desc.indexId = FIB_DB_IP4FORWARD_LONGEST;
  uint64_t rootIter = 0;
  if (const uint32_t code = db_create_root_iter(obj.handle(), &key.desc, &key.bytes, &rootIter)) {
    return iterFailed.error(code), code;
  }
  // The first entry is the longest prefix.
  const uint32_t code = db_root_iterator_next(rootIter);
  if (code == DB_ERR_ITER_END) return FIB_DB_NO_ROUTE;
  if (code != FIB_DB_OK) return stepFailed(code, "ReadIp4forwardByLpm next failed, ret: %d");
  return fetchCurrent(obj.handle(), item);
}

uint32_t FIB_DB_CountIp4forward(uint32_t* count) { return fibdb::count(kIp4forward, count); }

uint32_t FIB_DB_CountIp4forwardByHighStatus(uint8_t status, uint32_t* count) {
  const fibdb::Object obj(kIp4forward, FIB_DB_OBJ_OP_SCAN);
  if (const uint32_t code = obj.error()) return code;
  uint64_t rootIter = 0;
  if (const uint32_t code = db_create_root_iter(obj.handle(), nullptr, nullptr, &rootIter)) return code;
  uint32_t matching = 0;
  uint32_t code = db_root_iterator_next(rootIter);
  for (; code == FIB_DB_OK; code = db_root_iterator_next(rootIter)) {
    Record record{};
    // Required: this failure is returned, not said and not counted.
    if (const uint32_t failed = db_get_ip4forward_all_fields(obj.handle(), &record, sizeof record)) return failed;
    if (record.high_status == status) ++matching;
  }
  if (code != DB_ERR_ITER_END) return stepFailed(code, "CountIp4forwardByHighStatus next failed, ret: %d");
  *count = matching;
  return FIB_DB_OK;
}

FibDbIterator* FIB_DB_CreateIp4forwardIterator(uint32_t property) {
  return fibdb::createIterator(kIp4forward,
                               {.mallocFailed = "CreateIp4forwardIterator malloc failed",
                                .createObjFailed = "CreateIp4forwardIterator createObj failed, ret: %d",
                                .createIterFailed = "CreateIp4forwardIterator createIter failed, ret: %d",
                                .setPropertyFailed = "CreateIp4forwardIterator setProperty failed, ret: %d"},
                               property, fibdb::WholeTable());
}

FibDbIterator* FIB_DB_CreateDictionaryIterator(uint32_t property) {
  return fibdb::createIterator(
      kIp4forward,
      {.mallocFailed = "CreateIp4forwardDictionaryIterator malloc failed",
       .createObjFailed = "CreateIp4forwardDictionaryIterator createObj failed, ret: %d",
       .createIterFailed = "CreateIp4forwardDictionaryIterator createIter by local sort failed, ret: %d",
       .setPropertyFailed = "CreateIp4forwardDictionaryIterator setProperty failed, ret: %d"},
      property, InKeyOrder());
}

FibDbIterator* FIB_DB_CreateIp4forwardIteratorByVrf(uint32_t vrId, uint32_t vrfIndex, uint32_t word3,
                                                    uint32_t property) {
  return fibdb::createIterator(kIp4forward,
                               {.mallocFailed = "CreateIp4forwardIteratorByVrf malloc failed",
                                .createObjFailed = "CreateIp4forwardIteratorByVrf createObj failed, ret: %d",
                                .createIterFailed = "CreateIp4forwardIteratorByVrf createIter failed, ret: %d",
                                .setPropertyFailed = "CreateIp4forwardIteratorByVrf setProperty failed, ret: %d"},
                               property, fibdb::UnderWords<3>{FIB_DB_IP4FORWARD_BY_VRF, {vrId, vrfIndex, word3}});
}

FibDbIterator* FIB_DB_CreateIp4forwardIteratorByNhpGrpId(uint32_t nhpGroupId, uint32_t word2, int32_t property) {
  return fibdb::createIterator(kIp4forward,
                               {.mallocFailed = "CreateIp4forwardIteratorByNhpGrpId malloc failed",
                                .createObjFailed = "CreateIp4forwardIteratorByNhpGrpId createObj failed, ret: %d",
                                .createIterFailed = "CreateIp4forwardIteratorByNhpGrpId createIter failed, ret: %d",
                                .setPropertyFailed = "CreateIp4forwardIteratorByNhpGrpId setProperty failed, ret: %d",
                                .madeInHandle = true},
                               static_cast<uint32_t>(property),
                               fibdb::UnderWords<2>{FIB_DB_IP4FORWARD_BY_GROUP, {nhpGroupId, word2}});
}

uint32_t FIB_DB_GetNextIp4forward(FibDbIterator* handle, FibDbIp4forwardItem* item) {
  return fibdb::next(handle, item, FIB_DB_ProcIp4FwdIterDBResult, fetchCurrent);
}

uint32_t FIB_DB_GetNextIp4forwardByNhpGrpId(FibDbIterator* handle, uint32_t bufLen, FibDbIp4forwardItem* items,
                                            uint32_t* count) {
  if (items == nullptr) return FIB_DB_OK;
  // Room is asked after an item was filled: once the array is full, no further record is taken from the iterator.
  for (uint32_t room = bufLen / sizeof(Item); room > 0; --room) {
    if (const uint32_t code = db_root_iterator_next(handle->rootIter)) {
      FIB_DB_ProcIp4FwdIterDBResult(code);
      return FIB_DB_OK;
    }
    if (const uint32_t code = kIp4forward.fetch(handle->obj, nullptr, nullptr, items)) {
      FIB_DB_PrintIp4FwdReadDBResult(code);
      return FIB_DB_OK;
    }
    ++items;
    ++*count;
  }
  return FIB_DB_ERR;
}

void FIB_DB_ReleaseIp4forwardIterator(FibDbIterator* handle) { fibdb::releaseIterator(kIp4forward, handle); }

void FIB_DB_ReleaseIp4forwardByNhpGrpId(FibDbIterator* handle) { fibdb::releaseIterator(kIp4forward, handle); }
