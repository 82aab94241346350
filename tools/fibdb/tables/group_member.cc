// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/group_member.cc: members of next-hop groups, keyed by everything that tells them apart; what is
// mostly 0 comes last in their key.
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpGroupNodeItem;

constexpr Field kFields[] = {
    key<&Item::nhp_group_id>("group"),
    key<&Item::primary_nhp_id>("primary"),
    key<&Item::backup_nhp_id>("backup", {.optional = true}),
    key<&Item::sequence>("sequence", {.optional = true}),
    key<&Item::vr_id>("vr", {.optional = true}),
    key<&Item::attribute_id>("attribute", {.optional = true}),
    key<&Item::primary_label>("primary_label", {.optional = true}),
    key<&Item::backup_label>("backup_label", {.optional = true}),
    property<&Item::vrf_index>("vrf"),
    property<&Item::bandwidth>("bandwidth"),
    property<&Item::flags>("flags"),
    property<&Item::app_source_id>("source"),
    property<&Item::group_smooth_id>("smooth"),
    property<&Item::app_obj_id>("object"),
};

template <auto kCreate>
constexpr Walk walkFrom() {
  return walkOf<kCreate, FIB_DB_GetNextNhpGroupNode, FIB_DB_ReleaseNhpGrpNodeIterator>();
}

FibDbIterator* iterateAll(const Item*, uint32_t property) {
  return call<FIB_DB_CreateNhpGrpNodeIteratorByKey>(nullptr, nullptr, property);
}
FibDbIterator* iterateGroup(const Item* query, uint32_t property) {
  return call<FIB_DB_CreateNhpGrpNodeIteratorByNhpGrpId>(query->nhp_group_id, query->vr_id, property);
}
FibDbIterator* iteratePrimary(const Item* query, uint32_t property) {
  return call<FIB_DB_CreateNhpGrpNodeIteratorByPrimaryNhpId>(query->primary_nhp_id, property);
}
FibDbIterator* iterateBackup(const Item* query, uint32_t property) {
  return call<FIB_DB_CreateNhpGrpNodeIteratorByBackupNhpId>(query->backup_nhp_id, property);
}

constexpr Selection kSelections[] = {
    {"group", walkFrom<iterateGroup>()},
    {"group vr", walkFrom<iterateGroup>()},
    {"primary", walkFrom<iteratePrimary>()},
    {"backup", walkFrom<iterateBackup>()},
};

}  // namespace

constexpr RecordTable kGroupMembers{
    .word = "group member",
    .one = "a group member",
    .many = "group members",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<FIB_DB_ReadNhpGroupNode>,
    .write = onItem<FIB_DB_WriteNhpGroupNode>,
    .change = updateWith<FIB_DB_UpdateNhpGroupNodeFields, FIB_DB_SetNhpGroupNodeItem>,
    .remove = onItem<FIB_DB_RemoveNhpGroupNode>,
    .walk = walkFrom<iterateAll>(),
    .selections = kSelections,
};

}  // namespace fibdb::program
