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

  uint32_t id;                                // the service's own number
  void (*pack)(const Item* item, void* row);  // into a zeroed row
  void (*unpack)(const void* row, Item* item);
};

// Fills in the index id and the packed key of an item.
template <class Item>
using KeyBuilder = void(const Item* item, uint32_t* indexId, void* key);

// A key request together with the descriptor and the key it points at. The index id says how long the key is.
class KeyRequest {
 public:
  template <class Item>
  KeyRequest(const Item* item, KeyBuilder<Item>* build) {
    build(item, &desc_.indexId, key_);
    std::memset(&request_, 0, sizeof request_);  // its gaps, too
    request_.desc = &desc_;
    request_.descLen = sizeof desc_;
    request_.key = key_;
    request_.keyLen = desc_.indexId & 0xFFFF;
  }
  KeyRequest(const KeyRequest&) = delete;
  KeyRequest& operator=(const KeyRequest&) = delete;

  const FibDbUfibKey* get() const { return &request_; }

 private:
  FibDbKeyDesc desc_{};
  uint8_t key_[schema::kMaxKeyLength]{};
  FibDbUfibKey request_;
};

// A pointer with a length: the entry buffer over a row, or the update context over an item.
inline FibDbUfibData dataOf(void* data, uint32_t length) {
  FibDbUfibData entry;
  std::memset(&entry, 0, sizeof entry);
  entry.data = data;
  entry.len = length;
  return entry;
}

template <class Item, class Row>
uint32_t createEntry(const RegisteredTable<Item, Row>& table, const Item* item) {
  if (item == nullptr) return FIB_DB_ERR;
  Row row{};
  table.pack(item, &row);
  const FibDbUfibData entry = dataOf(&row, sizeof row);
  return UFIB_DB_Create(table.id, &entry);
}

// UFIB_DB_Read or UFIB_DB_ReadUniqueHash into item, which stays as it is on a failure.
template <class Item, class Row>
uint32_t readEntry(const RegisteredTable<Item, Row>& table, Item* item, KeyBuilder<Item>* build,
                   decltype(UFIB_DB_Read)* readCall) {
  if (item == nullptr) return FIB_DB_ERR;
  const KeyRequest key(item, build);
  Row row{};
  FibDbUfibData entry = dataOf(&row, sizeof row);
  const uint32_t code = readCall(table.id, key.get(), &entry);
  if (code == FIB_DB_OK) table.unpack(&row, item);
  return code;
}

// The setter finds the item through the update context.
template <class Item, class Row>
uint32_t updateEntry(const RegisteredTable<Item, Row>& table, const Item* item, KeyBuilder<Item>* build,
                     FibDbUfibSetter setter) {
  if (item == nullptr) return FIB_DB_ERR;
  const KeyRequest key(item, build);
  const FibDbUfibData context = dataOf(const_cast<Item*>(item), sizeof *item);
  return UFIB_DB_Update(table.id, key.get(), &context, setter);
}

template <class Item, class Row>
uint32_t deleteEntry(const RegisteredTable<Item, Row>& table, const Item* item, KeyBuilder<Item>* build) {
  if (item == nullptr) return FIB_DB_ERR;
  const KeyRequest key(item, build);
  return UFIB_DB_Delete(table.id, key.get());
}

template <class Item, class Row>
uint32_t countEntries(const RegisteredTable<Item, Row>& table, const Item* item, KeyBuilder<Item>* build,
                      uint32_t* count) {
  if (item == nullptr) return FIB_DB_ERR;
  const KeyRequest key(item, build);
  return UFIB_DB_CountByKey(table.id, key.get(), count);
}

template <class Item, class Row>
void* iterateEntries(const RegisteredTable<Item, Row>& table, const Item* item, KeyBuilder<Item>* build,
                     uint32_t property) {
  if (item == nullptr) return nullptr;
  const KeyRequest key(item, build);
  return UFIB_DB_CreateIteratorByKey(table.id, property, key.get());
}

template <class Item, class Row>
uint32_t nextEntry(const RegisteredTable<Item, Row>& table, void* iterator, Item* item) {
  if (iterator == nullptr || item == nullptr) return FIB_DB_ERR;
  Row row{};
  FibDbUfibData entry = dataOf(&row, sizeof row);
  const uint32_t code = UFIB_DB_GetNextEntry(table.id, iterator, &entry);
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
