// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/default_route.cc: IPv4 default routes, keyed by forwarding VRF. The library writes and removes
// them, and leaves reading to others: they are listed from rows of the database.
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/rows.h"

namespace fibdb::program {
namespace {

using Item = FibDbRe4DefaultItem;

constexpr Field kFields[] = {
    key<&Item::fvrfIndex>("fvrf"),
    property<&Item::statusHigh>("status_high"),
    property<&Item::statusNormal>("status_normal"),
    property<&Item::sysTime>("time"),
};

constexpr Field kColumns[] = {
    key<&Item::fvrfIndex>("fvrf_index"),
    property<&Item::statusHigh>("status_high_prio"),
    property<&Item::statusNormal>("status_normal_prio"),
    property<&Item::sysTime>("sys_time"),
};

std::optional<std::vector<Item>> findAll(const Item*) { return itemsOfRows<Item>("re4_default", kColumns); }

uint32_t removeOf(const Item* item) { return call<FIB_DB_RemoveRe4Default>(&item->fvrfIndex); }

}  // namespace

constexpr RecordTable kDefaultRoutes{
    .word = "default-route",
    .one = "a default route",
    .many = "default routes",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .write = onItem<FIB_DB_WriteRe4Default>,
    .remove = onItem<removeOf>,
    .walk = foundWith<findAll, kObjectCodes.end>(),
};

}  // namespace fibdb::program
