// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/lla_nexthop.cc: next hops with a 16-byte address, keyed by their index, address and interface.
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/service_state.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpLlaItem;

constexpr auto kFields = withServiceState<Item>({
    key<&Item::iid_index>("index"),
    key<&Item::next_hop>("address", {.kind = Kind::kAddress6}),
    key<&Item::out_if_index>("interface"),
    property<&Item::vr_id>("vr"),
    property<&Item::vrf_index>("vrf"),
    property<&Item::flags>("flags"),
    property<&Item::fwd_if_type>("forward_type", {.listed = false}),
    property<&Item::forwardVsId>("forward_vs", {.listed = false}),
    property<&Item::if_type>("type"),
    property<&Item::iid_flags>("iid_flags", {.listed = false}),
    property<&Item::work_if_index>("work_interface"),
    property<&Item::global_slotid>("slot"),
});

template <auto kCreate>
constexpr Walk walkFrom() {
  return walkOf<kCreate, FIB_DB_GetNextNhpLlaEntry, FIB_DB_ReleaseNhpLlaIterator>();
}

constexpr Selection kSelections[] = {
    {"index", walkFrom<under<FIB_DB_CreateNhpLlaIteratorByNhpIndex, &Item::iid_index>>()},
    {"interface", walkFrom<under<FIB_DB_CreateNhpLlaIteratorByIfIndex, &Item::out_if_index>>()},
    {"slot", walkFrom<under<FIB_DB_CreateNhpLlaIteratorByGlobalSlotId, &Item::global_slotid>>()},
};

}  // namespace

constexpr RecordTable kLlaNexthops{
    .word = "lla-nexthop",
    .one = "an LLA next hop",
    .many = "LLA next hops",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<FIB_DB_ReadNhpLla>,
    .write = onItem<FIB_DB_WriteNhpLla>,
    .change = updateWith<FIB_DB_UpdateNhpLlaFields, FIB_DB_SetNhpLlaItem>,
    .remove = onItem<FIB_DB_RemoveNhpLLA>,
    .walk = walkFrom<FIB_DB_CreateNhpLlaIterator>(),
    .selections = kSelections,
    .nexthop = "index",
};

}  // namespace fibdb::program
