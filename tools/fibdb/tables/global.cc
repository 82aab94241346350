// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/global.cc: global forwarding configuration, a record per virtual router.
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/tables/configuration.h"
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbGlbCfgItem;

// The whole record. A load balance that nothing was given of stays absent.
uint32_t stage(uint64_t object, const void* data) {
  const Item& item = *static_cast<const Item*>(data);
  uint32_t code = call<FIB_DB_SetMethIsolate>(object, &item.methIsolate);
  code |= call<FIB_DB_SetIcmpFast>(object, &item.icmpFast);
  code |= call<FIB_DB_SetInNextEn>(object, &item.inNextEn);
  code |= call<FIB_DB_SetIpv4IgnrMac>(object, &item.ipv4IgnrMac);
  code |= call<FIB_DB_SetIpv4GlbTtl>(object, &item.ipv4GlbTtl);
  code |= call<FIB_DB_SetMlagRouteEnhance>(object, &item.mlagRouteEnhance);
  code |= call<FIB_DB_SetDodEnable>(object, &item.dodEnable);
  code |= call<FIB_DB_SetBalanceReverse>(object, &item.balanceReverse);
  if (isValid<Item, FIB_DB_GLB_LOAD_BALANCE_VALID>(data))
    code |= call<FIB_DB_SetBalanceMode>(object, &item.loadBalance);
  return code;
}

uint32_t write(Item* item) { return call<FIB_DB_WriteGlbCfgFunc>(&item->vrId, item, stage); }
uint32_t remove(Item* item) { return call<FIB_DB_RemoveGlbCfg>(&item->vrId); }
uint32_t read(Item* item) {
  return call<FIB_DB_GlbCfgExist>(&item->vrId) != 0 ? call<FIB_DB_ReadGlbCfg>(item) : uint32_t{FIB_DB_NOT_FOUND};
}
uint32_t next(FibDbIterator* iterator, Item* item) {
  *item = {};
  return call<FIB_DB_GetNextGlbCfg>(iterator, item);
}

template <auto kMember, auto kUpdate>
constexpr Field setting(std::string_view name, FieldHow how = {}) {
  how.change = changeSetting<&Item::vrId, kMember, kUpdate>;
  return property<kMember>(name, how);
}

// Of the load balance, which is changed as a whole.
template <auto kMember>
constexpr Field balance(std::string_view name) {
  return property<&Item::loadBalance, kMember>(
      name, {.goesWith = makeValid<Item, FIB_DB_GLB_LOAD_BALANCE_VALID>,
             .change = changeSetting<&Item::vrId, &Item::loadBalance, FIB_DB_UpdateBalanceMode>,
             .isSet = isValid<Item, FIB_DB_GLB_LOAD_BALANCE_VALID>});
}

constexpr Field kFields[] = {
    key<&Item::vrId>("vr"),
    setting<&Item::methIsolate, FIB_DB_UpdateIsolate>("isolate", {.initial = 2}),
    setting<&Item::icmpFast, FIB_DB_UpdateIcmpFast>("icmp_fast", {.initial = 2}),
    setting<&Item::inNextEn, FIB_DB_UpdateInNextEn>("indirect", {.initial = 2}),
    setting<&Item::ipv4IgnrMac, FIB_DB_UpdateIpv4IgnrMac>("ignore_mac"),
    setting<&Item::ipv4GlbTtl, FIB_DB_UpdateIpv4GlbTtl>("keep_ttl"),
    setting<&Item::mlagRouteEnhance, FIB_DB_UpdateMlagRouteEnhance>("mlag"),
    setting<&Item::dodEnable, FIB_DB_UpdateDodEnable>("dod"),
    setting<&Item::balanceReverse, FIB_DB_UpdateBalanceReverse>("balance_reverse"),
    balance<&FibDbLoadBalance::mode>("balance_mode"),
    balance<&FibDbLoadBalance::sip>("balance_sip"),
    balance<&FibDbLoadBalance::dip>("balance_dip"),
    balance<&FibDbLoadBalance::l4sport>("balance_l4sport"),
    balance<&FibDbLoadBalance::l4dport>("balance_l4dport"),
};

}  // namespace

constexpr RecordTable kGlobal{
    .word = "global",
    .one = "a global configuration",
    .many = "global configurations",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<read>,
    .write = onItem<write>,
    .setAdds = true,
    .remove = onItem<remove>,
    .walk = walkOf<FIB_DB_CreateGlbCfgIterator, next, FIB_DB_ReleaseGlbCfgIterator>(),
    .details = "One record a router.",
};

}  // namespace fibdb::program
