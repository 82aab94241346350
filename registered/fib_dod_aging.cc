// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// registered/fib_dod_aging.cc: aging records of on-demand routes, keyed by one word.
#include "fibdb/registered.h"
#include "platform/schema/catalog.h"
#include "runtime/registered.h"

namespace {

using Item = FibDbDodAgingItem;
using Row = FibDbDodAgingRow;

static_assert(sizeof(Item) == 20);
static_assert(fibdb::schema::kIsRow_fib_dod_aging<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_fib_dod_aging, {FIB_DB_DOD_AGING_PRIMARY}));

// Between item and row, either way.
template <class From, class To>
void copyFields(const From* from, To* to) {
  to->agingKey = from->agingKey;
  to->agingWord1 = from->agingWord1;
  to->agingWord2 = from->agingWord2;
  to->agingWord3 = from->agingWord3;
  to->agingWord4 = from->agingWord4;
}

constexpr fibdb::RegisteredTable<Item, Row> kDodAging{
    .id = fibdb::kUfibDodAging,
    .pack = [](const Item* item, void* row) { copyFields(item, static_cast<Row*>(row)); },
    .unpack = FIB_DB_GetDodAgingFields,
};

}  // namespace

void FIB_DB_GetDodAgingFields(const void* row, FibDbDodAgingItem* item) {
  copyFields(static_cast<const Row*>(row), item);
}

void FIB_DB_SetDodAgingPriKey(const FibDbDodAgingItem* item, uint32_t* indexId, uint32_t* key) {
  fibdb::giveKey<FIB_DB_DOD_AGING_PRIMARY>(indexId, key, item->agingKey);
}

uint32_t FIB_DB_CreateDodAging(const FibDbDodAgingItem* item) { return fibdb::createEntry(kDodAging, item); }
uint32_t FIB_DB_ReadDodAging(FibDbDodAgingItem* item) {
  return fibdb::readEntry(kDodAging, item, FIB_DB_SetDodAgingPriKey, UFIB_DB_Read);
}
uint32_t FIB_DB_DeleteDodAging(const FibDbDodAgingItem* item) {
  return fibdb::deleteEntry(kDodAging, item, FIB_DB_SetDodAgingPriKey);
}
void* FIB_DB_CreateDodAgingIterator(uint32_t property) { return UFIB_DB_CreateIterator(kDodAging.id, property); }
uint32_t FIB_DB_GetNextDodAgingEntry(void* iter, FibDbDodAgingItem* item) {
  return fibdb::nextEntry(kDodAging, iter, item);
}
uint32_t FIB_DB_ReleaseDodAgingIterator(void* iter) { return fibdb::releaseEntries(kDodAging, iter); }
