// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/ftn.cc: prefixes bound to next-hop groups, keyed by the prefix, router and VRF. The
// library has no iterator over them.
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/rows.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpGroupItem;

constexpr Field kFields[] = {
    key<&Item::dest_ip_addr>("address", {.kind = Kind::kAddress}),
    key<&Item::dest_mask_len>("length"),
    key<&Item::vr_id>("vr", {.optional = true}),
    key<&Item::vrf_index>("vrf", {.optional = true}),
    property<&Item::nhp_group_id>("group"),
    property<&Item::nhp_number>("nexthops"),
    property<&Item::ref_count>("refs"),
    property<&Item::flags>("flags"),
    property<&Item::app_source_id>("source"),
    property<&Item::table_smooth_id>("smooth"),
    property<&Item::db_attr_flag>("attributes"),
    property<&Item::new_vrf>("new_vrf"),
    property<&Item::nhp_type_high_prio>("type_high"),
    property<&Item::nhp_type_normal_prio>("type_normal"),
    property<&Item::overlay_universal_id>("overlay"),
    property<&Item::underlay_universal_id>("underlay"),
    property<&Item::status_high_prio>("status_high"),
    property<&Item::status_normal_prio>("status_normal"),
    property<&Item::errcode_high_prio>("error_high"),
    property<&Item::errcode_normal_prio>("error_normal"),
    property<&Item::svc_ctx_high_prio>("context_high"),
    property<&Item::svc_ctx_normal_prio>("context_normal"),
};

constexpr Field kKeyColumns[] = {
    key<&Item::dest_ip_addr>("dest_ip_addr"),
    key<&Item::dest_mask_len>("dest_mask_len"),
    key<&Item::vr_id>("vr_id"),
    key<&Item::vrf_index>("vrf_index"),
};

std::optional<std::vector<Item>> findAll(const Item*) {
  return recordsOfRows<FIB_DB_ReadNhpGroupFtn, FIB_DB_NOT_FOUND>("nhp_group_ftn", kKeyColumns);
}

}  // namespace

constexpr RecordTable kFtns{
    .word = "ftn",
    .one = "an FTN",
    .many = "FTNs",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<FIB_DB_ReadNhpGroupFtn>,
    .write = onItem<FIB_DB_WriteNhpGroupFtn>,
    .change = onItem<FIB_DB_WriteNhpGroupFtn>,
    .remove = onItem<FIB_DB_RemoveNhpGroupFtn>,
    .walk = foundWith<findAll, kObjectCodes.end>(),
};

}  // namespace fibdb::program
