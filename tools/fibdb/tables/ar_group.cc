// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/ar_group.cc: AR group attributes, keyed by two words and a byte, through the table service.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbArGroupAttrItem;

// Any origin type that is not FIB_DB_AR_ORIGIN_ORIGINATOR means: known by its AS number.
constexpr uint8_t kOriginAsn = 2;
static_assert(kOriginAsn != FIB_DB_AR_ORIGIN_ORIGINATOR);

void knownByOriginator(Item* item) { item->originType = FIB_DB_AR_ORIGIN_ORIGINATOR; }
void knownByAsn(Item* item) { item->originType = kOriginAsn; }

constexpr Field kFields[] = {
    key<&Item::keyWord1>("key1"),
    key<&Item::keyWord2>("key2"),
    key<&Item::keyByte>("key_byte"),
    shown<&Item::originType>("origin_type"),
    property<&Item::originatorId>("originator", {.goesWith = onItem<knownByOriginator>}),
    property<&Item::originAsn>("asn", {.goesWith = onItem<knownByAsn>}),
    property<&Item::groupType>("group_type", {.initial = FIB_DB_AR_GROUP_TYPE}),
    property<&Item::smoothId>("smooth", {.change = onItem<FIB_DB_UpdateArGroupAttrSmoothId>}),
    property<&Item::attrWord1>("attr1"),
    property<&Item::attrWord2>("attr2"),
    property<&Item::attrBytes1>("bytes1", {.listed = false}),
    property<&Item::attrBytes2>("bytes2", {.listed = false}),
    property<&Item::attrBytes3>("bytes3", {.listed = false}),
    property<&Item::attrBytes4>("bytes4", {.listed = false}),
};

template <auto kCreate>
constexpr Walk walkFrom() {
  return walkOf<kCreate, FIB_DB_GetNextArGroupAttrEntry, FIB_DB_ReleaseArGroupAttrIterator>();
}

constexpr Selection kSelections[] = {
    {"originator", walkFrom<FIB_DB_CreateArGroupAttrIteratorByOriginValue>()},
    {"asn", walkFrom<FIB_DB_CreateArGroupAttrIteratorByOriginValue>()},
};

}  // namespace

constexpr RecordTable kArGroups{
    .word = "ar-group",
    .one = "an AR group",
    .many = "AR groups",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .codes = kServiceCodes,
    .read = onItem<FIB_DB_ReadArGroupAttr>,
    .create = onItem<FIB_DB_CreateArGroupAttr>,
    .remove = onItem<FIB_DB_DeleteArGroupAttr>,
    .walk = walkFrom<FIB_DB_CreateArGroupAttrIterator>(),
    .selections = kSelections,
    .details = "A group has an originator or an AS number: the one that is given last.",
};

}  // namespace fibdb::program
