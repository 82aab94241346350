// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/special_ip_sub.cc: sub-entries of special addresses, keyed by two words and a byte, through the
// table service.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbSpecialIpSubItem;

constexpr Field kFields[] = {
    key<&Item::subKey1>("key1"),
    key<&Item::subKey2>("key2"),
    key<&Item::subKeyByte>("key_byte"),
    property<&Item::subByte1>("byte1"),
    property<&Item::subByte2>("byte2"),
    property<&Item::subWord>("word"),
    property<&Item::subData>("data", {.listed = false}),
};

}  // namespace

constexpr RecordTable kSpecialIpSubs{
    .word = "special-ip-sub",
    .one = "a special IP sub-entry",
    .many = "special IP sub-entries",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .codes = kServiceCodes,
    .read = onItem<FIB_DB_ReadSpecialIpSub>,
    .create = onItem<FIB_DB_WriteSpecialIpSub>,
    .remove = onItem<FIB_DB_DeleteSpecialIpSub>,
    .walk = walkOf<FIB_DB_CreateSpecialIpSubIterator, FIB_DB_GetNextSpecialIpSubEntry,
                   FIB_DB_ReleaseSpecialIpSubIterator>(),
};

}  // namespace fibdb::program
