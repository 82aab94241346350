// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/dod_aging.cc: aging records of on-demand routes, keyed by one word, through the table service.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbDodAgingItem;

constexpr Field kFields[] = {
    key<&Item::agingKey>("key"),          property<&Item::agingWord1>("word1"), property<&Item::agingWord2>("word2"),
    property<&Item::agingWord3>("word3"), property<&Item::agingWord4>("word4"),
};

}  // namespace

constexpr RecordTable kDodAgings{
    .word = "dod-aging",
    .one = "a DoD aging record",
    .many = "DoD aging records",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .codes = kServiceCodes,
    .read = onItem<FIB_DB_ReadDodAging>,
    .create = onItem<FIB_DB_CreateDodAging>,
    .remove = onItem<FIB_DB_DeleteDodAging>,
    .walk = walkOf<FIB_DB_CreateDodAgingIterator, FIB_DB_GetNextDodAgingEntry, FIB_DB_ReleaseDodAgingIterator>(),
};

}  // namespace fibdb::program
