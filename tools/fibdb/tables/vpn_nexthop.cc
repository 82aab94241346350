// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/vpn_nexthop.cc: next hops into a VPN, keyed by their index, VR, VRF and destination VPN. The
// library has no iterator over them.
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/rows.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpVpnItem;

constexpr Field kFields[] = {
    key<&Item::nhp_index>("index"),
    key<&Item::vr_id>("vr"),
    key<&Item::vrf_index>("vrf"),
    key<&Item::dst_vpn_id>("vpn"),
    property<&Item::app_source_id>("source"),
    property<&Item::app_serial_id>("serial"),
    property<&Item::app_obj_id>("object"),
    property<&Item::app_version>("version"),
    property<&Item::time_stamp_app>("stamp_app"),
    property<&Item::time_stamp_svc>("stamp_svc"),
};

constexpr Field kKeyColumns[] = {
    key<&Item::nhp_index>("nhp_index"),
    key<&Item::vr_id>("vr_id"),
    key<&Item::vrf_index>("vrf_index"),
    key<&Item::dst_vpn_id>("dst_vpn_id"),
};

std::optional<std::vector<Item>> findAll(const Item*) {
  return recordsOfRows<FIB_DB_ReadNhpVpn, FIB_DB_NOT_FOUND>("nhp_vpn", kKeyColumns);
}

// Of an index the library reads one record, whichever; the others are searched for only where there is one.
std::optional<std::vector<Item>> findByIndex(const Item* query) {
  Item any{};
  const uint32_t code = call<FIB_DB_ReadNhpVpnByNhpIndex>(query->nhp_index, &any);
  if (code == DB_ERR_ITER_END) return std::vector<Item>();
  auto items = code == FIB_DB_OK ? findAll(query) : std::nullopt;
  if (items) std::erase_if(*items, [&](const Item& item) { return item.nhp_index != query->nhp_index; });
  return items;
}

constexpr Selection kSelections[] = {{"index", foundWith<findByIndex, kObjectCodes.end>()}};

}  // namespace

constexpr RecordTable kVpnNexthops{
    .word = "vpn-nexthop",
    .one = "a VPN next hop",
    .many = "VPN next hops",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<FIB_DB_ReadNhpVpn>,
    .write = onItem<FIB_DB_WriteNhpVpn>,
    .change = onItem<FIB_DB_WriteNhpVpn>,
    .remove = onItem<FIB_DB_RemoveNhpVpn>,
    .walk = foundWith<findAll, kObjectCodes.end>(),
    .selections = kSelections,
    .nexthop = "index",
};

}  // namespace fibdb::program
