// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/primary_attribute.cc: primary attributes, keyed by two words and a byte, through the table
// service.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbPriAttrItem;

constexpr Field kFields[] = {
    key<&Item::keyWord1>("key1"),
    key<&Item::keyWord2>("key2"),
    key<&Item::keyByte>("key_byte"),
    property<&Item::attrWord1>("attr1"),
    property<&Item::attrWord2>("attr2"),
    property<&Item::attrByte>("byte"),
    property<&Item::smoothId>("smooth", {.change = onItem<FIB_DB_UpdatePriAttrSmoothId>}),
};

constexpr Selection kSelections[] = {{"key1 key2", walkTo<FIB_DB_ReadPriAttrByHash, kServiceCodes>()}};

}  // namespace

constexpr RecordTable kPrimaryAttributes{
    .word = "primary-attribute",
    .one = "a primary attribute",
    .many = "primary attributes",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .codes = kServiceCodes,
    .read = onItem<FIB_DB_ReadPriAttr>,
    .create = onItem<FIB_DB_CreatePriAttr>,
    .remove = onItem<FIB_DB_DeletePriAttr>,
    .walk = walkOf<FIB_DB_CreatePriAttrIterator, FIB_DB_GetNextPriAttrEntry, FIB_DB_ReleasePriAttrIterator>(),
    .selections = kSelections,
    .details = "Of several with the same KEY1 and KEY2, show by these two finds one.",
};

}  // namespace fibdb::program
