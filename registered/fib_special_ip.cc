// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// registered/fib_special_ip.cc: special addresses, keyed by one word. The row has the item's layout.
#include "fibdb/registered.h"
#include "platform/schema/catalog.h"
#include "runtime/registered.h"
#include "runtime/rows.h"

namespace {

using Item = FibDbSpecialIpItem;
using Row = FibDbSpecialIpItem;

static_assert(fibdb::schema::kIsRow_fib_special_ip<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_fib_special_ip, {FIB_DB_SPECIAL_IP_PRIMARY}));

// All but the room, either way. Gives what the last of the two copies gave.
uint32_t copyFields(const Row* from, Item* to) {
  to->specialKey = from->specialKey;
  to->specialWord = from->specialWord;
  to->specialByte = from->specialByte;
  fibdb::copyBlock(to->specialPart1, from->specialPart1);
  return fibdb::copyBlock(to->specialPart2, from->specialPart2);
}

constexpr fibdb::RegisteredTable<Item, Row> kSpecialIp{
    .id = fibdb::kUfibSpecialIp,
    .pack = [](const Item* item, void* row) { copyFields(item, static_cast<Row*>(row)); },
    .unpack = [](const void* row, Item* item) { FIB_DB_GetSpecialIpFields(row, item); },
};

}  // namespace

uint32_t FIB_DB_GetSpecialIpFields(const void* row, FibDbSpecialIpItem* item) {
  return copyFields(static_cast<const Row*>(row), item);
}

void FIB_DB_SetSpecialIpPriKey(const FibDbSpecialIpItem* item, uint32_t* indexId, uint32_t* key) {
  fibdb::giveKey<FIB_DB_SPECIAL_IP_PRIMARY>(indexId, key, item->specialKey);
}

// Required: named a write, although it creates.
uint32_t FIB_DB_WriteSpecialIp(const FibDbSpecialIpItem* item) { return fibdb::createEntry(kSpecialIp, item); }
uint32_t FIB_DB_ReadSpecialIp(FibDbSpecialIpItem* item) {
  return fibdb::readEntry(kSpecialIp, item, FIB_DB_SetSpecialIpPriKey, UFIB_DB_Read);
}
uint32_t FIB_DB_DeleteSpecialIp(const FibDbSpecialIpItem* item) {
  return fibdb::deleteEntry(kSpecialIp, item, FIB_DB_SetSpecialIpPriKey);
}
void* FIB_DB_CreateSpecialIpIterator(uint32_t property) { return UFIB_DB_CreateIterator(kSpecialIp.id, property); }
// Required: the name has no Ip.
uint32_t FIB_DB_GetNextSpecialEntry(void* iter, FibDbSpecialIpItem* item) {
  return fibdb::nextEntry(kSpecialIp, iter, item);
}
uint32_t FIB_DB_ReleaseSpecialIpIterator(void* iter) { return fibdb::releaseEntries(kSpecialIp, iter); }
