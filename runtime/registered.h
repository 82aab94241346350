// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// runtime/registered.h: the sequences behind tables that are reached through the table service.
//
// The service's code is the caller's status, unchanged; nothing is said and nothing is counted.
#ifndef FIBDB_RUNTIME_REGISTERED_H
#define FIBDB_RUNTIME_REGISTERED_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fibdb/common.h"
#include "platform/schema/catalog.h"
#include "platform/ufib.h"
#include "runtime/key.h"

namespace fibdb {

static_assert(offsetof(FibDbUfibKey, key) == 16 && sizeof(FibDbUfibKey) == 32);
static_assert(offsetof(FibDbUfibData, len) == 8 && sizeof(FibDbUfibData) == 16);

// What a sequence needs to know of a registered table.
template <class ItemT, class RowT>
struct RegisteredTable {
  using Item = ItemT;
  using Row = RowT;

  uint32_t id;                                          // the service's own number
  void (*pack)(const Item* item, void* row) = nullptr;  // into a zeroed row, where records are created
  void (*unpack)(const void* row, Item* item) = nullptr;
};

// Fills in the index id and the packed key of an item. The key is untyped, or a single word.
template <class Item, class Key>
using KeyBuilder = void(const Item* item, uint32_t* indexId, Key* key);

// What a key builder gives: the id of this index, and its key from the fields in their order.
template <uint32_t IndexId, class... Fields>
void giveKey(uint32_t* indexId, void* key, Fields... fields) {
  *indexId = IndexId;
  putKey<IndexId>(key, fields...);
}

// A record for the service, zero in every byte before its fields are set: in the gaps between them, too. It is kept as
// bytes, because a compiler that knows it as a record, or copies it, need not keep its gaps.
template <class Record>
class Zeroed {
 public:
  Zeroed() = default;
  Zeroed(const Zeroed&) = delete;
  Zeroed& operator=(const Zeroed&) = delete;

  Record* get() { return reinterpret_cast<Record*>(bytes_); }
  const Record* get() const { return reinterpret_cast<const Record*>(bytes_); }

 private:
  alignas(Record) unsigned char bytes_[sizeof(Record)]{};
};

// A key request together with the descriptor and the key it points at. The index id says how long the key is.
class KeyRequest {
 public:
  template <class Item, class Key>
  KeyRequest(const Item* item, KeyBuilder<Item, Key>* build) {
    build(item, &desc_.indexId, static_cast<Key*>(static_cast<void*>(key_)));
    pointAtKey();
  }
  // build(indexId, key), for keys that are not an item's.
  template <class Build>
  explicit KeyRequest(const Build& build) {
    build(&desc_.indexId, key_);
    pointAtKey();
  }
  template <uint32_t IndexId>
  explicit KeyRequest(const PackedKey<IndexId>& key) : desc_(key.desc) {
    std::memcpy(key_, key.bytes.data(), sizeof key.bytes);
    pointAtKey();
  }

  const FibDbUfibKey* get() const { return request_.get(); }

 private:
  void pointAtKey() {
    FibDbUfibKey& request = *request_.get();
    request.desc = &desc_;
    request.descLen = sizeof desc_;
    request.key = key_;
    request.keyLen = keyLengthOf(desc_.indexId);
  }

  FibDbKeyDesc desc_{};
  alignas(uint64_t) uint8_t key_[schema::kMaxKeyLength]{};
  Zeroed<FibDbUfibKey> request_;
};

// A pointer with a length: the entry buffer over a row, or the update context over an item.
class DataRequest {
 public:
  DataRequest(void* data, uint32_t length) {
    request_.get()->data = data;
    request_.get()->len = length;
  }

  FibDbUfibData* get() { return request_.get(); }
  const FibDbUfibData* get() const { return request_.get(); }

 private:
  Zeroed<FibDbUfibData> request_;
};

template <class Item, class Row>
uint32_t createEntry(const RegisteredTable<Item, Row>& table, const Item* item) {
  if (item == nullptr) return FIB_DB_ERR;
  Row row{};
  table.pack(item, &row);
  const DataRequest entry(&row, sizeof row);
  return UFIB_DB_Create(table.id, entry.get());
}

// UFIB_DB_Read or UFIB_DB_ReadUniqueHash into item, which stays as it is on a failure.
template <class Item, class Row, class Key>
uint32_t readEntry(const RegisteredTable<Item, Row>& table, Item* item, KeyBuilder<Item, Key>* build,
                   decltype(UFIB_DB_Read)* readCall) {
  if (item == nullptr) return FIB_DB_ERR;
  const KeyRequest key(item, build);
  Row row{};
  DataRequest entry(&row, sizeof row);
  const uint32_t code = readCall(table.id, key.get(), entry.get());
  if (code == FIB_DB_OK) table.unpack(&row, item);
  return code;
}

// The setter finds the item through the update context.
template <class Item, class Row, class Key>
uint32_t updateEntry(const RegisteredTable<Item, Row>& table, const Item* item, KeyBuilder<Item, Key>* build,
                     FibDbUfibSetter setter) {
  if (item == nullptr) return FIB_DB_ERR;
  const KeyRequest key(item, build);
  const DataRequest context(const_cast<Item*>(item), sizeof *item);
  return UFIB_DB_Update(table.id, key.get(), context.get(), setter);
}

template <class Item, class Row, class Key>
uint32_t deleteEntry(const RegisteredTable<Item, Row>& table, const Item* item, KeyBuilder<Item, Key>* build) {
  if (item == nullptr) return FIB_DB_ERR;
  const KeyRequest key(item, build);
  return UFIB_DB_Delete(table.id, key.get());
}

template <class Item, class Row, class Key>
uint32_t countEntries(const RegisteredTable<Item, Row>& table, const Item* item, KeyBuilder<Item, Key>* build,
                      uint32_t* count) {
  if (item == nullptr) return FIB_DB_ERR;
  const KeyRequest key(item, build);
  return UFIB_DB_CountByKey(table.id, key.get(), count);
}

template <class Item, class Row, class Key>
void* iterateEntries(const RegisteredTable<Item, Row>& table, const Item* item, KeyBuilder<Item, Key>* build,
                     uint32_t property) {
  if (item == nullptr) return nullptr;
  const KeyRequest key(item, build);
  return UFIB_DB_CreateIteratorByKey(table.id, property, key.get());
}

// The entries under a key that is not an item's.
template <class Item, class Row, uint32_t IndexId>
void* iterateUnder(const RegisteredTable<Item, Row>& table, const PackedKey<IndexId>& key, uint32_t property) {
  return UFIB_DB_CreateIteratorByKey(table.id, property, KeyRequest(key).get());
}

// An update's setter that stages the smooth id of the item behind the context.
template <class Item>
uint32_t stageSmoothId(const FibDbUfibData* ctx, uint64_t obj, uint32_t (*setId)(uint64_t obj, uint32_t value)) {
  return ctx == nullptr ? uint32_t{FIB_DB_ERR} : setId(obj, static_cast<const Item*>(ctx->data)->smoothId);
}

// The same, and then the time of the change.
template <class Item>
uint32_t stageSmoothId(const FibDbUfibData* ctx, uint64_t obj, uint32_t (*setId)(uint64_t obj, uint32_t value),
                       uint32_t (*setStamp)(uint64_t obj, uint64_t value)) {
  // Required: the time is taken before anything is checked.
  const uint64_t now = UFIB_DB_GetSysTime();
  const uint32_t code = stageSmoothId<Item>(ctx, obj, setId);
  return code == FIB_DB_OK ? setStamp(obj, now) : code;
}

template <class Item, class Row>
uint32_t nextEntry(const RegisteredTable<Item, Row>& table, void* iterator, Item* item) {
  if (iterator == nullptr || item == nullptr) return FIB_DB_ERR;
  Row row{};
  DataRequest entry(&row, sizeof row);
  const uint32_t code = UFIB_DB_GetNextEntry(table.id, iterator, entry.get());
  if (code == FIB_DB_OK) table.unpack(&row, item);
  return code;
}

template <class Item, class Row>
uint32_t releaseEntries(const RegisteredTable<Item, Row>& table, void* iterator) {
  return iterator == nullptr ? uint32_t{FIB_DB_OK} : UFIB_DB_ReleaseIterator(table.id, iterator);
}

// The service's own numbers of the registered tables.
enum UfibTableId : uint32_t {
  kUfibNhpGroup = 0,
  kUfibNhpGroupNode = 1,
  kUfibNhpExt = 6,
  kUfibNhpVpnSid = 8,
  kUfibPriAttr = 10,
  kUfibArGroupAttr = 11,
  kUfibIpForceFrag = 12,
  kUfibNhpExtLabel = 24,
  kUfibVrfClassData = 26,
  kUfibDodRule = 28,
  kUfibDodAging = 30,
  kUfibVirtualMethHost = 32,
  kUfibFwdVsVpn = 33,
  kUfibSpecialIp = 34,
  kUfibSpecialIpSub = 35,
};

}  // namespace fibdb

#endif
