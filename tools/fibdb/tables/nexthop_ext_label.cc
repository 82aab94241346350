// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/nexthop_ext_label.cc: labels of next-hop extensions, keyed by seven words, through the table
// service.
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpExtLabelItem;

// The second and third word are named after what the index of the embedded engine takes them for.
constexpr Field kFields[] = {
    key<&Item::keyWords, 0>("key1"),
    key<&Item::keyWords, 1>("vr"),
    key<&Item::keyWords, 2>("vrf"),
    key<&Item::keyWords, 3>("key4"),
    key<&Item::keyWords, 4>("key5"),
    key<&Item::keyWords, 5>("key6"),
    key<&Item::keyWords, 6>("key7"),
    property<&Item::labelWord1>("word1"),
    property<&Item::labelWord2>("word2"),
    property<&Item::labelWord3>("word3"),
    property<&Item::labelByte1>("byte1"),
    property<&Item::labelByte2>("byte2"),
    property<&Item::labelData>("data", {.listed = false}),
    property<&Item::smoothId>("smooth", {.change = onItem<FIB_DB_UpdateNhpExtLabelSmoothId>}),
    property<&Item::stamp1>("stamp1"),
    property<&Item::stamp2>("stamp2"),
};

void* iterateByVrf(const Item* query, uint32_t property) {
  return call<FIB_DB_CreateNhpExtLabelIteratorByVrf>(query->keyWords[1], query->keyWords[2], property);
}

template <auto kCreate>
constexpr Walk walkFrom() {
  return walkOf<kCreate, FIB_DB_GetNextNhpExtLabel, FIB_DB_ReleaseNhpExtLabelIterator>();
}

constexpr Selection kSelections[] = {{"vr vrf", walkFrom<iterateByVrf>()}};

}  // namespace

constexpr RecordTable kNexthopExtLabels{
    .word = "nexthop-ext-label",
    .one = "a next-hop extension label",
    .many = "next-hop extension labels",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .codes = kServiceCodes,
    .read = onItem<FIB_DB_ReadNhpExtLabel>,
    .create = onItem<FIB_DB_CreateNhpExtLabel>,
    .remove = onItem<FIB_DB_DeleteNhpExtLabel>,
    .walk = walkFrom<FIB_DB_CreateNhpExtLabelIterator>(),
    .selections = kSelections,
};

}  // namespace fibdb::program
