// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// registered/virtual_meth_host_route.cc: host routes of the virtual management interface, keyed by one word.
#include "fibdb/registered.h"
#include "platform/schema/catalog.h"
#include "runtime/registered.h"

namespace {

using Item = FibDbVirtualMethHostItem;
using Row = FibDbVirtualMethHostRow;

static_assert(sizeof(Item) == 24);
static_assert(fibdb::schema::kIsRow_virtual_meth_host_route<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_virtual_meth_host_route,
                                        {FIB_DB_VIRTUAL_METH_HOST_PRIMARY}));

// Between item and row, either way.
template <class From, class To>
void copyFields(const From* from, To* to) {
  to->hostKey = from->hostKey;
  to->hostWord = from->hostWord;
  to->hostByte1 = from->hostByte1;
  to->hostByte2 = from->hostByte2;
  to->hostValue = from->hostValue;
}

constexpr fibdb::RegisteredTable<Item, Row> kVirtualMethHost{
    .id = fibdb::kUfibVirtualMethHost,
    .pack = [](const Item* item, void* row) { copyFields(item, static_cast<Row*>(row)); },
    .unpack = FIB_DB_GetVirtualMethHostFields,
};

}  // namespace

void FIB_DB_GetVirtualMethHostFields(const void* row, FibDbVirtualMethHostItem* item) {
  copyFields(static_cast<const Row*>(row), item);
}

void FIB_DB_SetVirtualMethHostPriKey(const FibDbVirtualMethHostItem* item, uint32_t* indexId, uint32_t* key) {
  fibdb::giveKey<FIB_DB_VIRTUAL_METH_HOST_PRIMARY>(indexId, key, item->hostKey);
}

uint32_t FIB_DB_CreateVirtualMethHost(const FibDbVirtualMethHostItem* item) {
  return fibdb::createEntry(kVirtualMethHost, item);
}
uint32_t FIB_DB_ReadVirtualMethHost(FibDbVirtualMethHostItem* item) {
  return fibdb::readEntry(kVirtualMethHost, item, FIB_DB_SetVirtualMethHostPriKey, UFIB_DB_Read);
}
uint32_t FIB_DB_DeleteVirtualMethHost(const FibDbVirtualMethHostItem* item) {
  return fibdb::deleteEntry(kVirtualMethHost, item, FIB_DB_SetVirtualMethHostPriKey);
}
void* FIB_DB_CreateVirtualMethHostIterator(uint32_t property) {
  return UFIB_DB_CreateIterator(kVirtualMethHost.id, property);
}
uint32_t FIB_DB_GetNextVirtualMethHostEntry(void* iter, FibDbVirtualMethHostItem* item) {
  return fibdb::nextEntry(kVirtualMethHost, iter, item);
}
uint32_t FIB_DB_ReleaseVirtualMethHostIterator(void* iter) { return fibdb::releaseEntries(kVirtualMethHost, iter); }
