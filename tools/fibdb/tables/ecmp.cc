// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/ecmp.cc: ECMP configuration, a record per virtual router.
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/tables/configuration.h"
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbEcmpCfgItem;

// The whole record. Child nodes that nothing was given of stay absent.
uint32_t stage(uint64_t object, const void* data) {
  const Item& item = *static_cast<const Item*>(data);
  uint32_t code = call<FIB_DB_SetEcmpGtpTeid>(object, &item.gtpTeid);
  code |= call<FIB_DB_SetEcmpHashBala>(object, &item.hashBala);
  code |= call<FIB_DB_SetStatefulEnhanced>(object, &item.statefulEnhanced);
  code |= call<FIB_DB_SetEcmpStatefulNum>(object, &item.statefulNum);
  code |= call<FIB_DB_SetVxlanHashStateful>(object, &item.vxlanOverlayHashStateful);
  code |= call<FIB_DB_SetVxlanOverlayMode>(object, &item.vxlanOverlayMode);
  code |= call<FIB_DB_SetRailGroupEnable>(object, &item.railGroupEnable);
  code |= call<FIB_DB_SetHasRailGroupMem>(object, &item.hasRailGroupMember);
  code |= call<FIB_DB_SetEcmpDlb>(object, &item.dlbEnable);
  code |= call<FIB_DB_SetEcmpDlbGapTime>(object, &item.dlbGapTime);
  code |= call<FIB_DB_SetEcmpLocalEnhanced>(object, &item.localEnhanced);
  code |= call<FIB_DB_SetEcmpLocalChassis>(object, &item.localChassis);
  code |= call<FIB_DB_SetEcmpDpfrStatus>(object, &item.dpfrEnable);
  code |= call<FIB_DB_SetRocev2PerPacket>(object, &item.rocev2PerPacket);
  code |= call<FIB_DB_SetPerPacket>(object, &item.perPacket);
  code |= call<FIB_DB_SetPerPacketMode>(object, &item.perPacketMode);
  if (isValid<Item, FIB_DB_ECMP_HASH_MODE_VALID>(data)) code |= call<FIB_DB_SetEcmpHashMode>(object, &item.hashMode);
  if (isValid<Item, FIB_DB_ECMP_SEED_VALID>(data)) code |= call<FIB_DB_SetEcmpSeed>(object, &item.seed);
  if (isValid<Item, FIB_DB_ECMP_UNIVERSAL_ID_VALID>(data))
    code |= call<FIB_DB_SetEcmpUniversal>(object, &item.universalId);
  if (isValid<Item, FIB_DB_ECMP_PROC_VALID>(data)) code |= call<FIB_DB_SetEcmpProc>(object, &item.proc);
  if (isValid<Item, FIB_DB_ECMP_NVO3_VXLAN_HASH_VALID>(data))
    code |= call<FIB_DB_SetNvo3VxlanHash>(object, &item.nvo3VxlanHash);
  if (isValid<Item, FIB_DB_ECMP_TUNNEL_VALID>(data)) code |= call<FIB_DB_SetFeiEcmpTunnel>(object, &item.tunnel);
  return code;
}

uint32_t write(Item* item) { return call<FIB_DB_WriteEcmpCfg>(&item->vrId, item, stage); }
uint32_t remove(Item* item) { return call<FIB_DB_RemoveEcmpCfg>(&item->vrId); }

uint32_t read(Item* item) {
  const WithoutInformation quiet;
  return call<FIB_DB_IsEcmpCfgExist>(&item->vrId) != 0 ? call<FIB_DB_ReadEcmpCfg>(item) : uint32_t{FIB_DB_NOT_FOUND};
}
uint32_t next(FibDbIterator* iterator, Item* item) {
  const WithoutInformation quiet;
  *item = {};
  return call<FIB_DB_GetNextEcmpCfg>(iterator, item);
}

template <auto kMember, auto kUpdate>
constexpr Field setting(std::string_view name, FieldHow how = {}) {
  how.change = changeSetting<&Item::vrId, kMember, kUpdate>;
  return property<kMember>(name, how);
}

// Of a child node, which is changed as a whole.
template <auto kNode, uint32_t kBit, auto kMember, auto kUpdate>
constexpr Field part(std::string_view name) {
  return property<kNode, kMember>(name, {.listed = false,
                                         .goesWith = makeValid<Item, kBit>,
                                         .change = changeSetting<&Item::vrId, kNode, kUpdate>,
                                         .isSet = isValid<Item, kBit>});
}

template <auto kMember>
constexpr Field hashMode(std::string_view name) {
  return part<&Item::hashMode, FIB_DB_ECMP_HASH_MODE_VALID, kMember, FIB_DB_UpdateEcmpHashMode>(name);
}
template <auto kMember>
constexpr Field seed(std::string_view name) {
  return part<&Item::seed, FIB_DB_ECMP_SEED_VALID, kMember, FIB_DB_UpdateEcmpSeed>(name);
}
template <auto kMember>
constexpr Field universal(std::string_view name) {
  return part<&Item::universalId, FIB_DB_ECMP_UNIVERSAL_ID_VALID, kMember, FIB_DB_UpdateEcmpUniversal>(name);
}
template <auto kMember>
constexpr Field packet(std::string_view name) {
  return part<&Item::proc, FIB_DB_ECMP_PROC_VALID, kMember, FIB_DB_UpdateEcmpProc>(name);
}
template <auto kMember>
constexpr Field vxlan(std::string_view name) {
  return part<&Item::nvo3VxlanHash, FIB_DB_ECMP_NVO3_VXLAN_HASH_VALID, kMember, FIB_DB_UpdateNvo3VxlanHash>(name);
}
template <auto kMember>
constexpr Field tunnel(std::string_view name) {
  return part<&Item::tunnel, FIB_DB_ECMP_TUNNEL_VALID, kMember, FIB_DB_UpdateFeiEcmpTunnel>(name);
}

constexpr Field kFields[] = {
    key<&Item::vrId>("vr"),
    setting<&Item::gtpTeid, FIB_DB_UpdateEcmpGtpTeid>("gtp_teid",
                                                      {.initial = FIB_DB_ECMP_NOT_SET,
                                                       .listed = false,
                                                       .goesWith = makeValid<Item, FIB_DB_ECMP_GTP_TEID_VALID>,
                                                       .isSet = isValid<Item, FIB_DB_ECMP_GTP_TEID_VALID>}),
    setting<&Item::hashBala, FIB_DB_UpdateEcmpHashBala>("hash_balance"),
    setting<&Item::statefulEnhanced, FIB_DB_UpdateStatefulEnhanced>("stateful"),
    setting<&Item::statefulNum, FIB_DB_UpdateEcmpStatefulNum>("stateful_num", {.listed = false}),
    setting<&Item::vxlanOverlayHashStateful, FIB_DB_UpdateVxlanHashStateful>("vxlan_stateful", {.listed = false}),
    setting<&Item::vxlanOverlayMode, FIB_DB_UpdateVxlanOverlayMode>(
        "vxlan_mode", {.initial = FIB_DB_ECMP_NOT_SET,
                       .listed = false,
                       .goesWith = makeValid<Item, FIB_DB_ECMP_VXLAN_OVERLAY_MODE_VALID>,
                       .isSet = isValid<Item, FIB_DB_ECMP_VXLAN_OVERLAY_MODE_VALID>}),
    setting<&Item::railGroupEnable, FIB_DB_UpdateRailGroupEnable>("rail_group"),
    setting<&Item::hasRailGroupMember, FIB_DB_UpdateHasRailGroupMem>("rail_member", {.listed = false}),
    setting<&Item::dlbEnable, FIB_DB_UpdateEcmpDlb>("dlb"),
    setting<&Item::dlbGapTime, FIB_DB_UpdateEcmpDlbGapTime>("dlb_gap", {.initial = 2000}),
    setting<&Item::localEnhanced, FIB_DB_UpdateEcmpLocalEnhanced>(
        "local_enhanced", {.initial = FIB_DB_ECMP_NOT_SET,
                           .listed = false,
                           .goesWith = makeValid<Item, FIB_DB_ECMP_LOCAL_ENHANCED_VALID>,
                           .isSet = isValid<Item, FIB_DB_ECMP_LOCAL_ENHANCED_VALID>}),
    setting<&Item::localChassis, FIB_DB_UpdateEcmpLocalChassis>(
        "local_chassis", {.initial = FIB_DB_ECMP_NOT_SET,
                          .listed = false,
                          .goesWith = makeValid<Item, FIB_DB_ECMP_LOCAL_CHASSIS_VALID>,
                          .isSet = isValid<Item, FIB_DB_ECMP_LOCAL_CHASSIS_VALID>}),
    setting<&Item::dpfrEnable, FIB_DB_UpdateEcmpDpfrEnable>("dpfr"),
    setting<&Item::rocev2PerPacket, FIB_DB_UpdateRocev2PerPacket>("rocev2"),
    setting<&Item::perPacket, FIB_DB_UpdatePerPacket>("per_packet"),
    setting<&Item::perPacketMode, FIB_DB_UpdatePerPacketMode>("per_packet_mode", {.initial = 1}),
    hashMode<&FibDbEcmpHashMode::hashmode>("hash_mode"),
    hashMode<&FibDbEcmpHashMode::overlay_hashmode>("hash_mode_overlay"),
    hashMode<&FibDbEcmpHashMode::underlay_hashmode>("hash_mode_underlay"),
    seed<&FibDbEcmpSeed::globalSeed>("seed"),
    seed<&FibDbEcmpSeed::overlaySeed>("seed_overlay"),
    seed<&FibDbEcmpSeed::underlaySeed>("seed_underlay"),
    universal<&FibDbEcmpUniversalId::globalUniversalId>("universal_id"),
    universal<&FibDbEcmpUniversalId::overlayUniversalId>("universal_id_overlay"),
    universal<&FibDbEcmpUniversalId::underlayUniversalId>("universal_id_underlay"),
    universal<&FibDbEcmpUniversalId::globalRandom>("random"),
    universal<&FibDbEcmpUniversalId::overlayRandom>("random_overlay"),
    universal<&FibDbEcmpUniversalId::underlayRandom>("random_underlay"),
    packet<&FibDbEcmpProc::profileId>("hash_profile"),
    packet<&FibDbEcmpProc::sip>("hash_sip"),
    packet<&FibDbEcmpProc::dip>("hash_dip"),
    packet<&FibDbEcmpProc::vlan>("hash_vlan"),
    packet<&FibDbEcmpProc::l4sport>("hash_l4sport"),
    packet<&FibDbEcmpProc::l4dport>("hash_l4dport"),
    packet<&FibDbEcmpProc::protocol>("hash_protocol"),
    packet<&FibDbEcmpProc::flowlabel>("hash_flowlabel"),
    packet<&FibDbEcmpProc::sport>("hash_sport"),
    packet<&FibDbEcmpProc::dscp>("hash_dscp"),
    packet<&FibDbEcmpProc::dpcf>("hash_dpcf"),
    vxlan<&FibDbNvo3VxlanHash::profileId>("vxlan_profile"),
    vxlan<&FibDbNvo3VxlanHash::sip>("vxlan_sip"),
    vxlan<&FibDbNvo3VxlanHash::dip>("vxlan_dip"),
    vxlan<&FibDbNvo3VxlanHash::l4sport>("vxlan_l4sport"),
    vxlan<&FibDbNvo3VxlanHash::l4dport>("vxlan_l4dport"),
    vxlan<&FibDbNvo3VxlanHash::protocol>("vxlan_protocol"),
    vxlan<&FibDbNvo3VxlanHash::srcIntf>("vxlan_source_if"),
    vxlan<&FibDbNvo3VxlanHash::vni>("vxlan_vni"),
    tunnel<&FibDbEcmpTunnel::profileId>("tunnel_profile"),
    tunnel<&FibDbEcmpTunnel::innerSip>("tunnel_inner_sip"),
    tunnel<&FibDbEcmpTunnel::innerDip>("tunnel_inner_dip"),
    tunnel<&FibDbEcmpTunnel::srcPort>("tunnel_source_port"),
    tunnel<&FibDbEcmpTunnel::dstPort>("tunnel_dest_port"),
    tunnel<&FibDbEcmpTunnel::protocol>("tunnel_protocol"),
    tunnel<&FibDbEcmpTunnel::srcIntf>("tunnel_source_if"),
    tunnel<&FibDbEcmpTunnel::srcMac>("tunnel_source_mac"),
    tunnel<&FibDbEcmpTunnel::dstMac>("tunnel_dest_mac"),
    tunnel<&FibDbEcmpTunnel::ecmpInnerHashFlag>("tunnel_inner_hash"),
    tunnel<&FibDbEcmpTunnel::includeErspan>("tunnel_erspan"),
};

}  // namespace

constexpr RecordTable kEcmp{
    .word = "ecmp",
    .one = "an ECMP configuration",
    .many = "ECMP configurations",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<read>,
    .write = onItem<write>,
    .setAdds = true,
    .remove = onItem<remove>,
    .walk = walkOf<FIB_DB_CreateEcmpCfgIterator, next, FIB_DB_ReleaseEcmpCfgIterator>(),
    .details = "One record a router. 4294967295 is: not set.",
};

}  // namespace fibdb::program
