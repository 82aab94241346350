// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/fwd_vs_vpn.cc: bindings of forwarding virtual systems to VPNs, keyed by one word, through the
// table service. The library has no iterator over them.
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/rows.h"

namespace fibdb::program {
namespace {

using Item = FibDbFwdVsVpnItem;

constexpr Field kFields[] = {
    key<&Item::fwdKey>("key"),
    property<&Item::fwdWord>("word1"),
    property<&Item::fwdWord2>("word2"),
    property<&Item::fwdHalf1>("half1"),
    property<&Item::fwdHalf2>("half2"),
    property<&Item::fwdBlock1>("block1"),
    property<&Item::fwdBlock2>("block2"),
    shown<&Item::fwdTimeStamp>("created"),
};

constexpr Field kKeyColumns[] = {key<&Item::fwdKey>("fwdKey")};

std::optional<std::vector<Item>> findAll(const Item*) {
  return recordsOfRows<FIB_DB_ReadFwdVsVpn, kServiceCodes.missing>("fwd_vs_vpn", kKeyColumns);
}

}  // namespace

constexpr RecordTable kFwdVsVpns{
    .word = "fwd-vs-vpn",
    .one = "a forwarding VS binding",
    .many = "forwarding VS bindings",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .codes = kServiceCodes,
    .read = onItem<FIB_DB_ReadFwdVsVpn>,
    .create = onItem<FIB_DB_CreateFwdVsVpn>,
    .remove = onItem<FIB_DB_DeleteFwdVsVpn>,
    .walk = foundWith<findAll, kServiceCodes.end>(),
};

}  // namespace fibdb::program
