// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/group.cc: next-hop groups, keyed by their id and router.
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/resolve.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpGroupItem;

// The whole record is staged with the service state of a new group; a second step gives this group its own back.
uint32_t rewrite(Item* item) {
  const uint32_t code = updateWith<FIB_DB_UpdateNhpGroupFields, FIB_DB_SetNhpGroupItem>(item);
  return code == FIB_DB_OK ? call<FIB_DB_UpdateNhpGroupContext>(item) : code;
}

constexpr auto changeContext = onItem<FIB_DB_UpdateNhpGroupContext>;

constexpr Field kFields[] = {
    key<&Item::nhp_group_id>("id"),
    key<&Item::vr_id>("vr", {.optional = true}),
    property<&Item::vrf_index>("vrf"),
    property<&Item::nhp_number>("nexthops"),
    property<&Item::ref_count>("refs", {.change = onItem<FIB_DB_UpdateNhpGroupRefCount>}),
    property<&Item::flags>("flags", {.change = onItem<FIB_DB_UpdateNhpGroupFlags>}),
    property<&Item::app_source_id>("source"),
    property<&Item::table_smooth_id>("smooth", {.change = onItem<FIB_DB_UpdateNhpGroupSmoothID>}),
    property<&Item::db_attr_flag>("attributes", {.listed = false, .change = onItem<FIB_DB_UpdateNhpGroupFlags>}),
    property<&Item::new_vrf>("new_vrf", {.listed = false, .change = changeContext}),
    property<&Item::nhp_type_high_prio>("type_high", {.listed = false, .change = changeContext}),
    property<&Item::nhp_type_normal_prio>("type_normal", {.listed = false, .change = changeContext}),
    property<&Item::overlay_universal_id>("overlay", {.listed = false, .change = changeContext}),
    property<&Item::underlay_universal_id>("underlay", {.listed = false, .change = changeContext}),
    property<&Item::forwardVsId>("system", {.listed = false, .change = changeContext}),
    shown<&Item::status_high_prio>("status_high"),
    shown<&Item::status_normal_prio>("status_normal"),
    shown<&Item::errcode_high_prio>("error_high", {.listed = false}),
    shown<&Item::errcode_normal_prio>("error_normal", {.listed = false}),
    shown<&Item::svc_ctx_high_prio>("context_high", {.listed = false}),
    shown<&Item::svc_ctx_normal_prio>("context_normal", {.listed = false}),
};

template <auto kCreate>
constexpr Walk walkFrom() {
  return walkOf<kCreate, FIB_DB_GetNextNhpGroup, FIB_DB_ReleaseNhpGroupIterator>();
}

FibDbIterator* iterateVrf(const Item* query, uint32_t property) {
  return call<FIB_DB_CreateNhpGroupIteratorByVrf>(query->vr_id, query->vrf_index, query->app_source_id, property);
}

constexpr Selection kSelections[] = {{"vr vrf source", walkFrom<iterateVrf>()}};

void showResolved(Session& session, const void* key) {
  const auto& item = *static_cast<const Item*>(key);
  const Group group = findGroup(item.nhp_group_id, item.vr_id);
  if (!group.exists()) failMissing(kGroups, key);
  session.output.tree(titleOf(kGroups, key), treeOf(group));
}

}  // namespace

constexpr RecordTable kGroups{
    .word = "group",
    .one = "a group",
    .many = "groups",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<FIB_DB_ReadNhpGroup>,
    .write = onItem<FIB_DB_WriteNhpGroup>,
    .change = onItem<rewrite>,
    .remove = onItem<FIB_DB_RemoveNhpGroup>,
    .walk = walkFrom<FIB_DB_CreateNhpGroupIterator>(),
    .selections = kSelections,
    .details = "Status, error codes and contexts are the service's: a group that is added has none.",
    .view = {showResolved, "One group is shown with its members, and with what is known of their next hops."},
};

}  // namespace fibdb::program
