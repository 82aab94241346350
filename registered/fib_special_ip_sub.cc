// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// registered/fib_special_ip_sub.cc: sub-entries of special addresses, keyed by two words and a byte.
#include "fibdb/registered.h"
#include "platform/schema/catalog.h"
#include "runtime/registered.h"
#include "runtime/rows.h"

namespace {

using Item = FibDbSpecialIpSubItem;
using Row = FibDbSpecialIpSubRow;

static_assert(sizeof(Item) == 92);
static_assert(fibdb::schema::kIsRow_fib_special_ip_sub<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_fib_special_ip_sub, {FIB_DB_SPECIAL_IP_SUB_PRIMARY}));

// Between item and row, either way, each in its own order. Gives what the copy of the data gave.
template <class From, class To>
uint32_t copyFields(const From* from, To* to) {
  to->subKey1 = from->subKey1;
  to->subKey2 = from->subKey2;
  to->subKeyByte = from->subKeyByte;
  to->subByte1 = from->subByte1;
  to->subByte2 = from->subByte2;
  to->subWord = from->subWord;
  return fibdb::copyBlock(to->subData, from->subData);
}

constexpr fibdb::RegisteredTable<Item, Row> kSpecialIpSub{
    .id = fibdb::kUfibSpecialIpSub,
    .pack = [](const Item* item, void* row) { copyFields(item, static_cast<Row*>(row)); },
    .unpack = [](const void* row, Item* item) { FIB_DB_GetSpecialIpSubFields(row, item); },
};

}  // namespace

uint32_t FIB_DB_GetSpecialIpSubFields(const void* row, FibDbSpecialIpSubItem* item) {
  return copyFields(static_cast<const Row*>(row), item);
}

void FIB_DB_SetSpecialIpSubPriKey(const FibDbSpecialIpSubItem* item, uint32_t* indexId, void* key) {
  fibdb::giveKey<FIB_DB_SPECIAL_IP_SUB_PRIMARY>(indexId, key, item->subKey1, item->subKey2, item->subKeyByte);
}

// Required: named a write, although it creates.
uint32_t FIB_DB_WriteSpecialIpSub(const FibDbSpecialIpSubItem* item) { return fibdb::createEntry(kSpecialIpSub, item); }
uint32_t FIB_DB_ReadSpecialIpSub(FibDbSpecialIpSubItem* item) {
  return fibdb::readEntry(kSpecialIpSub, item, FIB_DB_SetSpecialIpSubPriKey, UFIB_DB_Read);
}
uint32_t FIB_DB_DeleteSpecialIpSub(const FibDbSpecialIpSubItem* item) {
  return fibdb::deleteEntry(kSpecialIpSub, item, FIB_DB_SetSpecialIpSubPriKey);
}
void* FIB_DB_CreateSpecialIpSubIterator(uint32_t property) {
  return UFIB_DB_CreateIterator(kSpecialIpSub.id, property);
}
uint32_t FIB_DB_GetNextSpecialIpSubEntry(void* iter, FibDbSpecialIpSubItem* item) {
  return fibdb::nextEntry(kSpecialIpSub, iter, item);
}
uint32_t FIB_DB_ReleaseSpecialIpSubIterator(void* iter) { return fibdb::releaseEntries(kSpecialIpSub, iter); }
