// tools/fibdb/tables/default_route.cc: IPv4 default routes, keyed by forwarding VRF. The library writes and removes
// them, and leaves reading to others.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbRe4DefaultItem;

constexpr Field kFields[] = {
    key<&Item::fvrfIndex>("fvrf"),
    property<&Item::statusHigh>("status_high"),
    property<&Item::statusNormal>("status_normal"),
    property<&Item::sysTime>("time"),
};

uint32_t removeOf(const Item* item) { return FIB_DB_RemoveRe4Default(&item->fvrfIndex); }

}  // namespace

constexpr RecordTable kDefaultRoutes{
    .word = "default-route",
    .one = "a default route",
    .many = "default routes",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .write = onItem<FIB_DB_WriteRe4Default>,
    .remove = onItem<removeOf>,
    .details = "The library neither reads nor lists them: \"show table re4_default\" does.",
};

}  // namespace fibdb::program
