// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/special_ip.cc: special addresses, keyed by one word, through the table service.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbSpecialIpItem;

constexpr Field kFields[] = {
    key<&Item::specialKey>("key"),          property<&Item::specialWord>("word"),
    property<&Item::specialByte>("byte"),   property<&Item::specialPart1>("part1"),
    property<&Item::specialPart2>("part2"),
};

}  // namespace

constexpr RecordTable kSpecialIps{
    .word = "special-ip",
    .one = "a special IP",
    .many = "special IPs",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .codes = kServiceCodes,
    .read = onItem<FIB_DB_ReadSpecialIp>,
    .create = onItem<FIB_DB_WriteSpecialIp>,
    .remove = onItem<FIB_DB_DeleteSpecialIp>,
    .walk = walkOf<FIB_DB_CreateSpecialIpIterator, FIB_DB_GetNextSpecialEntry, FIB_DB_ReleaseSpecialIpIterator>(),
};

}  // namespace fibdb::program
