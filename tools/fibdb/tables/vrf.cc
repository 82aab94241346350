// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/vrf.cc: VRFs, keyed by their id and router; found by router, and by their name.
#include <optional>
#include <vector>

#include "tools/fibdb/base/call.h"
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbVrfItem;

constexpr Field kFields[] = {
    key<&Item::vrf_id>("id"),
    key<&Item::vr_id>("vr", {.optional = true}),
    property<&Item::vrf_name>("name"),
    property<&Item::app_source_id>("source", {.listed = false}),
    property<&Item::table_smooth_id>("smooth", {.listed = false}),
    property<&Item::app_obj_id>("object", {.listed = false}),
    property<&Item::app_version>("version", {.listed = false}),
};

// An iteration gives a VRF's ids and its name; what else there is of it is read.
uint32_t next(FibDbIterator* iterator, Item* item) {
  const uint32_t code = call<FIB_DB_GetNextVrf>(iterator, item);
  return code == FIB_DB_OK ? call<VRF_DB_Read>(item) : code;
}

FibDbIterator* iterateRouter(const Item* query, uint32_t) { return call<FIB_DB_CreateVrfIterator>(query->vr_id); }

// The library tells an unknown name from a known one by leaving the id as it was: asked with two ids, it gives the same
// one twice only for a known name.
std::optional<std::vector<Item>> findNamed(const Item* query) {
  Item item{};
  item.vr_id = query->vr_id;
  uint32_t again = ~item.vrf_id;
  if (call<VRF_INTF_GetIdByName>(query->vr_id, query->vrf_name, &item.vrf_id) != FIB_DB_OK) return std::nullopt;
  if (call<VRF_INTF_GetIdByName>(query->vr_id, query->vrf_name, &again) != FIB_DB_OK) return std::nullopt;
  if (item.vrf_id != again) return std::vector<Item>();
  const uint32_t code = call<VRF_DB_Read>(&item);
  if (code == FIB_DB_NOT_FOUND) return std::vector<Item>();
  return code == FIB_DB_OK ? std::optional(std::vector{item}) : std::nullopt;
}

constexpr Walk kByName = foundWith<findNamed, FIB_DB_NOT_FOUND>();

constexpr Selection kSelections[] = {
    {"vr", walkOf<iterateRouter, next, FIB_DB_ReleaseVrfIterator>()},
    {"name", kByName},
    {"vr name", kByName},
};

}  // namespace

constexpr RecordTable kVrfs{
    .word = "vrf",
    .one = "a VRF",
    .many = "VRFs",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<VRF_DB_Read>,
    .write = onItem<VRF_DB_Write>,
    .change = onItem<VRF_DB_Write>,
    .remove = onItem<VRF_DB_Remove>,
    .walk = walkOf<FIB_DB_CreateVrfIterator, next, FIB_DB_ReleaseVrfIterator>(),
    .selections = kSelections,
    .count = countOf<FIB_DB_CountVrf>,
    .details = "A name has 31 characters at most.",
};

}  // namespace fibdb::program
