// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/nexthop.cc: next hops, keyed by their index.
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/resolve.h"

namespace fibdb::program {
namespace {

constexpr Field kFields[] = {
    key<&FibDbNhpItem::nhp_index>("index"),
    property<&FibDbNhpItem::vr_id>("vr"),
    property<&FibDbNhpItem::vrf_index>("vrf"),
    property<&FibDbNhpItem::origin_nhp>("origin"),
    property<&FibDbNhpItem::nhp_num>("num", {.initial = 1}),
    property<&FibDbNhpItem::nhp_flag>("flag"),
    property<&FibDbNhpItem::ref_cnt>("refs"),
    property<&FibDbNhpItem::flags>("flags"),
    property<&FibDbNhpItem::iid_flags>("iid_flags"),
    property<&FibDbNhpItem::app_source_id>("source"),
    property<&FibDbNhpItem::table_smooth_id>("smooth"),
    property<&FibDbNhpItem::app_obj_id>("object"),
    property<&FibDbNhpItem::app_version>("version"),
};

// An index may be known to other tables alone.
void showEverythingKnown(Session& session, const void* key) {
  const auto records = recordsOfNexthop(static_cast<const FibDbNhpItem*>(key)->nhp_index);
  if (records.empty()) failMissing(kNexthops, key);
  for (const NexthopRecord& known : records) {
    session.output.record(titleOf(*known.table, known.record.data()), factsOf(known));
  }
}

}  // namespace

constexpr RecordTable kNexthops{
    .word = "nexthop",
    .one = "a next hop",
    .many = "next hops",
    .itemSize = sizeof(FibDbNhpItem),
    .fields = kFields,
    .read = onItem<FIB_DB_ReadNhp>,
    .write = onItem<FIB_DB_WriteNhp>,
    .change = updateWith<FIB_DB_UpdateNhpFields, FIB_DB_SetNhpItem>,
    .remove = onItem<FIB_DB_RemoveNhp>,
    .walk = walkOf<FIB_DB_CreateNhpIterator, FIB_DB_GetNextNhpEntry, FIB_DB_ReleaseNhpIterator>(),
    .view = {showEverythingKnown, "One next hop is shown with what every other table of next hops knows of its index."},
    .nexthop = "index",
};

}  // namespace fibdb::program
