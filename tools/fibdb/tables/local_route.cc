// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/local_route.cc: prefixes that are local to the device: a key and nothing else.
#include <cstddef>
#include <optional>
#include <vector>

#include "tools/fibdb/base/call.h"
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbMeLocalRouteItem;
static_assert(offsetof(Item, mask_len) == offsetof(Item, dest_ip_addr) + sizeof(Item::dest_ip_addr));

constexpr Field kFields[] = {
    key<&Item::dest_ip_addr>("prefix", {.kind = Kind::kPrefix}),
    key<&Item::vrf_index>("vrf", {.optional = true}),
    key<&Item::vr_id>("vr", {.optional = true}),
};

// The library fills an array and does not tell how far: a mask that no route has marks what it left.
constexpr uint8_t kUnfilled = 0xFF;
// Routes may come between the counting and the scan.
constexpr size_t kSlack = 64;

std::optional<std::vector<Item>> scan(const Item*) {
  uint32_t count = 0;
  if (call<FIB_DB_CountMeLocalRoute>(&count) != FIB_DB_OK) return std::nullopt;
  for (size_t room = count + kSlack;; room *= 2) {
    std::vector<Item> items(room,
                            Item{.vr_id = 0, .vrf_index = 0, .dest_ip_addr = 0, .mask_len = kUnfilled, .rsv = {}});
    if (call<FIB_DB_ScanMeLocalRoute>(static_cast<uint32_t>(room * sizeof(Item)), items.data()) != FIB_DB_OK) {
      return std::nullopt;
    }
    if (items.back().mask_len != kUnfilled) continue;
    std::erase_if(items, [](const Item& item) { return item.mask_len == kUnfilled; });
    return items;
  }
}

}  // namespace

constexpr RecordTable kLocalRoutes{
    .word = "local-route",
    .one = "a local route",
    .many = "local routes",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .write = onItem<FIB_DB_WriteMeLocalRoute>,
    .remove = onItem<FIB_DB_RemoveMeLocalRoute>,
    .walk = foundWith<scan, FIB_DB_NOT_FOUND>(),
    .count = countOf<FIB_DB_CountMeLocalRoute>,
};

}  // namespace fibdb::program
