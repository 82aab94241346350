// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/dod_rule.cc: rules of on-demand routes, keyed by two words and a prefix, through the table
// service; the longest match through the object database.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbDodRuleItem;

constexpr Field kFields[] = {
    key<&Item::ruleKey1>("key1"),
    key<&Item::ruleKey2>("key2"),
    key<&Item::ruleKey3>("address", {.kind = Kind::kAddress}),
    key<&Item::ruleKeyLen>("length"),
    property<&Item::ruleFlag>("flag"),
    property<&Item::ruleData>("data", {.listed = false}),
    property<&Item::smoothId>("smooth", {.change = onItem<FIB_DB_UpdateDodRuleSmthId>}),
    property<&Item::ruleStamp1>("stamp1"),
    property<&Item::ruleStamp2>("stamp2"),
};

constexpr Codes kMatchCodes{FIB_DB_NO_ROUTE, DB_ERR_ITER_END};
constexpr Selection kSelections[] = {{"key1 key2 address length", walkTo<FIB_DB_ReadDodRuleByLpm, kMatchCodes>()}};

}  // namespace

constexpr RecordTable kDodRules{
    .word = "dod-rule",
    .one = "a DoD rule",
    .many = "DoD rules",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .codes = kServiceCodes,
    .read = onItem<FIB_DB_ReadDodRule>,
    .create = onItem<FIB_DB_CreatDodRule>,
    .remove = onItem<FIB_DB_DeleteDodRule>,
    .walk = walkOf<FIB_DB_CreateDodRuleIterator, FIB_DB_GetNextDodRuleEntry, FIB_DB_ReleaseDodRuleIterator>(),
    .selections = kSelections,
    .details = "show with the names of the key finds the longest prefix that covers it.",
};

}  // namespace fibdb::program
