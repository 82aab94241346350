// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// registered/fwd_vs_vpn.cc: bindings of forwarding virtual systems to VPNs, keyed by one word. The row has the item's
// layout, and its time is that of the creation. Nothing iterates this table.
#include "fibdb/registered.h"
#include "platform/schema/catalog.h"
#include "runtime/registered.h"
#include "runtime/rows.h"

namespace {

using Item = FibDbFwdVsVpnItem;
using Row = FibDbFwdVsVpnItem;

static_assert(fibdb::schema::kIsRow_fwd_vs_vpn<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_fwd_vs_vpn, {FIB_DB_FWD_VS_VPN_PRIMARY}));

// Either way, whatever becomes of the two copies.
void copyFields(const Row* from, Item* to) {
  to->fwdKey = from->fwdKey;
  to->fwdWord = from->fwdWord;
  fibdb::copyBlock(to->fwdBlock1, from->fwdBlock1);
  fibdb::copyBlock(to->fwdBlock2, from->fwdBlock2);
  to->fwdWord2 = from->fwdWord2;
  to->fwdHalf1 = from->fwdHalf1;
  to->fwdHalf2 = from->fwdHalf2;
  to->fwdTimeStamp = from->fwdTimeStamp;
}

// The caller's item keeps its time.
void packStamped(const Item* item, void* row) {
  auto* const out = static_cast<Row*>(row);
  copyFields(item, out);
  out->fwdTimeStamp = UFIB_DB_GetSysTime();
}

constexpr fibdb::RegisteredTable<Item, Row> kFwdVsVpn{
    .id = fibdb::kUfibFwdVsVpn,
    .pack = packStamped,
    .unpack = FIB_DB_GetFwdVsVpnFields,
};

}  // namespace

void FIB_DB_GetFwdVsVpnFields(const void* row, FibDbFwdVsVpnItem* item) {
  copyFields(static_cast<const Row*>(row), item);
}

void FIB_DB_SetFwdVsVpnPriKey(const FibDbFwdVsVpnItem* item, uint32_t* indexId, uint32_t* key) {
  fibdb::giveKey<FIB_DB_FWD_VS_VPN_PRIMARY>(indexId, key, item->fwdKey);
}

uint32_t FIB_DB_CreateFwdVsVpn(const FibDbFwdVsVpnItem* item) { return fibdb::createEntry(kFwdVsVpn, item); }
uint32_t FIB_DB_ReadFwdVsVpn(FibDbFwdVsVpnItem* item) {
  return fibdb::readEntry(kFwdVsVpn, item, FIB_DB_SetFwdVsVpnPriKey, UFIB_DB_Read);
}
uint32_t FIB_DB_DeleteFwdVsVpn(const FibDbFwdVsVpnItem* item) {
  return fibdb::deleteEntry(kFwdVsVpn, item, FIB_DB_SetFwdVsVpnPriKey);
}
