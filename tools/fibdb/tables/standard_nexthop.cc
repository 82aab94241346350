// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/standard_nexthop.cc: standard next hops, keyed by their index, IPv4 address and interface.
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/service_state.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpStdItem;

constexpr auto kFields = withServiceState<Item>({
    key<&Item::nhp_index>("index"),
    key<&Item::next_hop>("address", {.kind = Kind::kAddress}),
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
    property<&Item::attr_flag>("attributes", {.listed = false}),
});

template <auto kCreate>
constexpr Walk walkFrom() {
  return walkOf<kCreate, FIB_DB_GetNextNhpStdEntry, FIB_DB_ReleaseNhpStdIterator>();
}

constexpr Selection kSelections[] = {
    {"index", walkFrom<under<FIB_DB_CreateNhpStdIteratorByNhpIndex, &Item::nhp_index>>()},
    {"address interface",
     walkFrom<under<FIB_DB_CreateNhpStdIteratorByIpIfIndex, &Item::next_hop, &Item::out_if_index>>()},
    {"interface", walkFrom<under<FIB_DB_CreateNhpStdIteratorByIfIndex, &Item::out_if_index>>()},
    {"work_interface", walkFrom<under<FIB_DB_CreateNhpStdIteratorByWorkIfIndex, &Item::work_if_index>>()},
    {"slot", walkFrom<under<FIB_DB_CreateNhpStdIteratorByGlobalSlotId, &Item::global_slotid>>()},
};

}  // namespace

constexpr RecordTable kStandardNexthops{
    .word = "standard-nexthop",
    .one = "a standard next hop",
    .many = "standard next hops",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<FIB_DB_ReadNhpStd>,
    .write = onItem<FIB_DB_WriteNhpStd>,
    .change = updateWith<FIB_DB_UpdateNhpStdFields, FIB_DB_SetNhpStdItem>,
    .remove = onItem<FIB_DB_RemoveNhpStd>,
    .walk = walkFrom<FIB_DB_CreateNhpStdIterator>(),
    .selections = kSelections,
    .nexthop = "index",
};

}  // namespace fibdb::program
