// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/vxlan_nexthop.cc: next hops into a VXLAN tunnel, keyed by their index, tunnel and gateway.
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/service_state.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpVxlanItem;

constexpr auto kFields = withServiceState<Item>({
    key<&Item::nhp_index>("index"),
    key<&Item::vr_id>("vr"),
    key<&Item::tunnel_vrf_index>("tunnel_vrf"),
    key<&Item::tunnel_id>("tunnel"),
    key<&Item::tunnel_type>("tunnel_type"),
    key<&Item::af_type>("family"),
    key<&Item::gwip>("gateway", {.kind = Kind::kAddress6}),
    property<&Item::vrf_index>("vrf"),
    property<&Item::flags>("flags"),
    property<&Item::vn_id>("vni"),
    property<&Item::aib_index>("aib", {.listed = false}),
    property<&Item::overlay_type>("overlay_type"),
    property<&Item::mac_addr>("mac"),
    property<&Item::vsi_index>("vsi", {.listed = false}),
    property<&Item::dvp_index>("dvp", {.listed = false}),
});

template <auto kCreate>
constexpr Walk walkFrom() {
  return walkOf<kCreate, FIB_DB_GetNextNhpVxlanItem, FIB_DB_ReleaseNhpVxlanIterator>();
}

constexpr Selection kSelections[] = {
    {"index", walkFrom<under<FIB_DB_CreateNhpVxlanIteratorByNhpIndex, &Item::nhp_index>>()},
    {"vr tunnel_vrf tunnel tunnel_type",
     walkFrom<under<FIB_DB_CreateNhpVxlanIteratorByTunnelKey, &Item::vr_id, &Item::tunnel_vrf_index, &Item::tunnel_id,
                    &Item::tunnel_type>>()},
    {"vr vni", walkFrom<under<FIB_DB_CreateNhpVxlanIteratorByVniKey, &Item::vr_id, &Item::vn_id>>()},
};

}  // namespace

constexpr RecordTable kVxlanNexthops{
    .word = "vxlan-nexthop",
    .one = "a VXLAN next hop",
    .many = "VXLAN next hops",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<FIB_DB_ReadNhpVxlan>,
    .write = onItem<FIB_DB_WriteNhpVxlan>,
    .change = onItem<FIB_DB_WriteNhpVxlan>,
    .remove = onItem<FIB_DB_RemoveNhpVxlan>,
    .walk = walkFrom<FIB_DB_CreateNhpVxlanIterator>(),
    .selections = kSelections,
    .nexthop = "index",
};

}  // namespace fibdb::program
