// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/force_fragment.cc: forced fragmentation, one record per virtual router: read and written through
// the object database, walked through the table service. The library deletes none.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbForceFragItem;

constexpr Field kFields[] = {
    key<&Item::vrId>("vr"),
    property<&Item::enable>("enable"),
    property<&Item::statusHigh>("status_high"),
    property<&Item::statusNormal>("status_normal"),
    property<&Item::errcodeHigh>("error_high"),
    property<&Item::errcodeNormal>("error_normal"),
};

}  // namespace

constexpr RecordTable kForceFragments{
    .word = "force-fragment",
    .one = "a forced fragmentation",
    .many = "forced fragmentations",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .codes = {FIB_DB_NOT_FOUND, DB_ERR_ITER_END},
    .read = onItem<FIB_DB_ReadIpForceFrag>,
    .write = onItem<FIB_DB_WriteIpForceFrag>,
    .change = onItem<FIB_DB_WriteIpForceFrag>,
    .walk = walkOf<FIB_DB_CreateIpForceFragIterator, FIB_DB_GetNextForceFragEntry, FIB_DB_ReleaseIpForceFragIterator>(),
    .details = "The library deletes none: switch it off with \"set force-fragment VR enable 0\".",
};

}  // namespace fibdb::program
