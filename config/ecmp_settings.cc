// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// config/ecmp_settings.cc: the settings of the ECMP record one by one: its field and its messages, then its functions,
// five as a rule.
#include "config/configuration.h"
#include "config/setting.h"
#include "platform/objdb_tables.h"

namespace {

using fibdb::OfCode;
using fibdb::OfCodeAndValue;
using fibdb::Setting;

template <const auto& kSetting, class Value>
uint32_t read(const uint32_t* vr, Value* value) {
  return FIB_DB_ReadEcmpCfgInfo(vr, value, fibdb::getterOf<kSetting>);
}
template <const auto& kSetting, class Value>
uint32_t write(const uint32_t* vr, Value value) {
  return FIB_DB_WriteEcmpCfg(vr, &value, fibdb::setterOf<kSetting>);
}
template <const auto& kSetting, class Value>
uint32_t update(const uint32_t* vr, Value value) {
  return FIB_DB_UpdateEcmpCfg(vr, &value, fibdb::setterOf<kSetting>);
}

template <auto kGet, class Node>
uint32_t readNode(const uint32_t* vr, Node* node) {
  return FIB_DB_ReadEcmpCfgInfo(vr, node, fibdb::asGetter<Node, kGet>);
}
template <auto kSet, class Node>
uint32_t writeNode(const uint32_t* vr, const Node* node) {
  return FIB_DB_WriteEcmpCfg(vr, node, fibdb::asSetter<Node, kSet>);
}
template <auto kSet, class Node>
uint32_t updateNode(const uint32_t* vr, const Node* node) {
  return FIB_DB_UpdateEcmpCfg(vr, node, fibdb::asSetter<Node, kSet>);
}

}  // namespace

// Required: the words of the messages, and the sign with which they print a code, differ from setting to setting.
// clang-format off
#define FIELD(name) db_get_ecmp_cfg_##name, db_set_ecmp_cfg_##name

constexpr Setting<uint32_t> kGtpTeid{FIELD(ecmp_gtp_teid),
    "GetEcmpGtpTeid field fail, ret=%u.",
    "SetEcmpGtpTeid set field failed. ret=%d."};
uint32_t FIB_DB_GetEcmpGtpTeid(uint64_t obj, uint32_t* value)         { return get(kGtpTeid, obj, value); }
uint32_t FIB_DB_SetEcmpGtpTeid(uint64_t obj, const uint32_t* value)   { return set(kGtpTeid, obj, value); }
uint32_t FIB_DB_ReadEcmpGtpTeid(const uint32_t* vr, uint32_t* value)  { return read<kGtpTeid>(vr, value); }
uint32_t FIB_DB_WriteEcmpGtpTeid(const uint32_t* vr, uint32_t value)  { return write<kGtpTeid>(vr, value); }
uint32_t FIB_DB_UpdateEcmpGtpTeid(const uint32_t* vr, uint32_t value) { return update<kGtpTeid>(vr, value); }

constexpr Setting<uint8_t> kHashBala{FIELD(ecmp_hash_bala),
    "GetEcmpHashBala field fail, ret=%u.",
    "SetEcmpHashBala set field failed. ret=%d."};
uint32_t FIB_DB_GetEcmpHashBala(uint64_t obj, uint8_t* value)         { return get(kHashBala, obj, value); }
uint32_t FIB_DB_SetEcmpHashBala(uint64_t obj, const uint8_t* value)   { return set(kHashBala, obj, value); }
uint32_t FIB_DB_ReadEcmpHashBala(const uint32_t* vr, uint8_t* value)  { return read<kHashBala>(vr, value); }
uint32_t FIB_DB_WriteEcmpHashBala(const uint32_t* vr, uint8_t value)  { return write<kHashBala>(vr, value); }
uint32_t FIB_DB_UpdateEcmpHashBala(const uint32_t* vr, uint8_t value) { return update<kHashBala>(vr, value); }

constexpr Setting<uint8_t> kEnhanced{FIELD(ecmp_stateful_enhanced),
    "GetStatefulEnhanced field fail, ret=%u.",
    "SetStatefulEnhanced set field failed. ret=%d."};
uint32_t FIB_DB_GetStatefulEnhanced(uint64_t obj, uint8_t* value)         { return get(kEnhanced, obj, value); }
uint32_t FIB_DB_SetStatefulEnhanced(uint64_t obj, const uint8_t* value)   { return set(kEnhanced, obj, value); }
uint32_t FIB_DB_ReadStatefulEnhanced(const uint32_t* vr, uint8_t* value)  { return read<kEnhanced>(vr, value); }
uint32_t FIB_DB_WriteStatefulEnhanced(const uint32_t* vr, uint8_t value)  { return write<kEnhanced>(vr, value); }
uint32_t FIB_DB_UpdateStatefulEnhanced(const uint32_t* vr, uint8_t value) { return update<kEnhanced>(vr, value); }

// Required: this setting cannot be read alone.
constexpr Setting<uint8_t> kHashStateful{FIELD(vxlan_overlay_hash_stateful), {},
    "SetVxlanHashStateful set field failed. ret=%u."};
uint32_t FIB_DB_SetVxlanHashStateful(uint64_t obj, const uint8_t* value)   { return set(kHashStateful, obj, value); }
uint32_t FIB_DB_WriteVxlanHashStateful(const uint32_t* vr, uint8_t value)  { return write<kHashStateful>(vr, value); }
uint32_t FIB_DB_UpdateVxlanHashStateful(const uint32_t* vr, uint8_t value) { return update<kHashStateful>(vr, value); }

constexpr Setting<uint8_t> kRailGroupEnable{FIELD(rail_group_enable),
    "GetRailGroupEnable field fail, ret=%u.",
    "SetRailGroupEnable set field failed. ret=%d."};
uint32_t FIB_DB_GetRailGroupEnable(uint64_t obj, uint8_t* value)         { return get(kRailGroupEnable, obj, value); }
uint32_t FIB_DB_SetRailGroupEnable(uint64_t obj, const uint8_t* value)   { return set(kRailGroupEnable, obj, value); }
uint32_t FIB_DB_ReadRailGroupEnable(const uint32_t* vr, uint8_t* value)  { return read<kRailGroupEnable>(vr, value); }
uint32_t FIB_DB_WriteRailGroupEnable(const uint32_t* vr, uint8_t value)  { return write<kRailGroupEnable>(vr, value); }
uint32_t FIB_DB_UpdateRailGroupEnable(const uint32_t* vr, uint8_t value) { return update<kRailGroupEnable>(vr, value); }

constexpr Setting<uint8_t> kHasRailGroupMem{FIELD(has_rail_group_member),
    "GetHasRailGroupMem field fail, ret=%u.",
    "SetHasRailGroupMem set field failed. ret=%d."};
uint32_t FIB_DB_GetHasRailGroupMem(uint64_t obj, uint8_t* value)         { return get(kHasRailGroupMem, obj, value); }
uint32_t FIB_DB_SetHasRailGroupMem(uint64_t obj, const uint8_t* value)   { return set(kHasRailGroupMem, obj, value); }
uint32_t FIB_DB_ReadHasRailGroupMem(const uint32_t* vr, uint8_t* value)  { return read<kHasRailGroupMem>(vr, value); }
uint32_t FIB_DB_WriteHasRailGroupMem(const uint32_t* vr, uint8_t value)  { return write<kHasRailGroupMem>(vr, value); }
uint32_t FIB_DB_UpdateHasRailGroupMem(const uint32_t* vr, uint8_t value) { return update<kHasRailGroupMem>(vr, value); }

constexpr Setting<uint32_t> kOverlayMode{FIELD(vxlan_overlay_mode),
    "GetVxlanOverlayMode field fail, ret=%u.",
    "SetVxlanOverlayMode set field failed. ret=%d."};
uint32_t FIB_DB_GetVxlanOverlayMode(uint64_t obj, uint32_t* value)         { return get(kOverlayMode, obj, value); }
uint32_t FIB_DB_SetVxlanOverlayMode(uint64_t obj, const uint32_t* value)   { return set(kOverlayMode, obj, value); }
uint32_t FIB_DB_ReadVxlanOverlayMode(const uint32_t* vr, uint32_t* value)  { return read<kOverlayMode>(vr, value); }
uint32_t FIB_DB_WriteVxlanOverlayMode(const uint32_t* vr, uint32_t value)  { return write<kOverlayMode>(vr, value); }
uint32_t FIB_DB_UpdateVxlanOverlayMode(const uint32_t* vr, uint32_t value) { return update<kOverlayMode>(vr, value); }

constexpr Setting<uint32_t> kDlbGapTime{FIELD(dlb_gap_time),
    "GetEcmpDlbGapTime field fail, ret=%u.",
    "SetEcmpDlbGapTime set field failed. ret=%d."};
uint32_t FIB_DB_GetEcmpDlbGapTime(uint64_t obj, uint32_t* value)         { return get(kDlbGapTime, obj, value); }
uint32_t FIB_DB_SetEcmpDlbGapTime(uint64_t obj, const uint32_t* value)   { return set(kDlbGapTime, obj, value); }
uint32_t FIB_DB_ReadEcmpDlbGapTime(const uint32_t* vr, uint32_t* value)  { return read<kDlbGapTime>(vr, value); }
uint32_t FIB_DB_WriteEcmpDlbGapTime(const uint32_t* vr, uint32_t value)  { return write<kDlbGapTime>(vr, value); }
uint32_t FIB_DB_UpdateEcmpDlbGapTime(const uint32_t* vr, uint32_t value) { return update<kDlbGapTime>(vr, value); }

constexpr Setting<uint32_t> kPreference{FIELD(local_enhanced),
    "GetEcmpLocalEnhanced field fail, ret=%u.",
    "SetEcmpLocalEnhanced set field failed. ret=%d."};
uint32_t FIB_DB_GetEcmpLocalEnhanced(uint64_t obj, uint32_t* value)         { return get(kPreference, obj, value); }
uint32_t FIB_DB_SetEcmpLocalEnhanced(uint64_t obj, const uint32_t* value)   { return set(kPreference, obj, value); }
uint32_t FIB_DB_ReadEcmpLocalEnhanced(const uint32_t* vr, uint32_t* value)  { return read<kPreference>(vr, value); }
uint32_t FIB_DB_WriteEcmpLocalEnhanced(const uint32_t* vr, uint32_t value)  { return write<kPreference>(vr, value); }
uint32_t FIB_DB_UpdateEcmpLocalEnhanced(const uint32_t* vr, uint32_t value) { return update<kPreference>(vr, value); }

constexpr Setting<uint32_t> kLocalChassis{FIELD(local_chassis),
    "GetEcmpLocalChassis field fail, ret=%u.",
    "SetEcmpLocalChassis set field failed. ret=%d."};
uint32_t FIB_DB_GetEcmpLocalChassis(uint64_t obj, uint32_t* value)         { return get(kLocalChassis, obj, value); }
uint32_t FIB_DB_SetEcmpLocalChassis(uint64_t obj, const uint32_t* value)   { return set(kLocalChassis, obj, value); }
uint32_t FIB_DB_ReadEcmpLocalChassis(const uint32_t* vr, uint32_t* value)  { return read<kLocalChassis>(vr, value); }
uint32_t FIB_DB_WriteEcmpLocalChassis(const uint32_t* vr, uint32_t value)  { return write<kLocalChassis>(vr, value); }
uint32_t FIB_DB_UpdateEcmpLocalChassis(const uint32_t* vr, uint32_t value) { return update<kLocalChassis>(vr, value); }

// Required: this setting cannot be read alone, and its setter goes by another name.
constexpr Setting<uint8_t> kDpfrEnable{FIELD(ecmp_dpfr_enable), {}, "SetEcmpDpfrStatus set field failed. ret=%d."};
uint32_t FIB_DB_SetEcmpDpfrStatus(uint64_t obj, const uint8_t* value)   { return set(kDpfrEnable, obj, value); }
uint32_t FIB_DB_WriteEcmpDpfrEnable(const uint32_t* vr, uint8_t value)  { return write<kDpfrEnable>(vr, value); }
uint32_t FIB_DB_UpdateEcmpDpfrEnable(const uint32_t* vr, uint8_t value) { return update<kDpfrEnable>(vr, value); }

constexpr Setting<uint8_t> kRocev2PerPacket{FIELD(ecmp_rocev2_perpacket),
    "GetRocev2PerPacket field fail, ret=%u.",
    "SetRocev2PerPacket set field failed. ret=%u."};
uint32_t FIB_DB_GetRocev2PerPacket(uint64_t obj, uint8_t* value)         { return get(kRocev2PerPacket, obj, value); }
uint32_t FIB_DB_SetRocev2PerPacket(uint64_t obj, const uint8_t* value)   { return set(kRocev2PerPacket, obj, value); }
uint32_t FIB_DB_ReadRocev2PerPacket(const uint32_t* vr, uint8_t* value)  { return read<kRocev2PerPacket>(vr, value); }
uint32_t FIB_DB_WriteRocev2PerPacket(const uint32_t* vr, uint8_t value)  { return write<kRocev2PerPacket>(vr, value); }
uint32_t FIB_DB_UpdateRocev2PerPacket(const uint32_t* vr, uint8_t value) { return update<kRocev2PerPacket>(vr, value); }

constexpr Setting<uint8_t> kPerPacket{FIELD(ecmp_perpacket),
    "Get PerPacket field not success, ret=%u.",
    "SetPerPacket set field not success. ret=%u."};
uint32_t FIB_DB_GetPerPacket(uint64_t obj, uint8_t* value)         { return get(kPerPacket, obj, value); }
uint32_t FIB_DB_SetPerPacket(uint64_t obj, const uint8_t* value)   { return set(kPerPacket, obj, value); }
uint32_t FIB_DB_ReadPerPacket(const uint32_t* vr, uint8_t* value)  { return read<kPerPacket>(vr, value); }
uint32_t FIB_DB_WritePerPacket(const uint32_t* vr, uint8_t value)  { return write<kPerPacket>(vr, value); }
uint32_t FIB_DB_UpdatePerPacket(const uint32_t* vr, uint8_t value) { return update<kPerPacket>(vr, value); }

constexpr Setting<uint8_t> kPerPacketMode{FIELD(ecmp_perpacket_mode),
    "Get PerPacket Mode field not success, ret=%u.",
    "SetPerPacketMode set field not success. ret=%u."};
uint32_t FIB_DB_GetPerPacketMode(uint64_t obj, uint8_t* value)         { return get(kPerPacketMode, obj, value); }
uint32_t FIB_DB_SetPerPacketMode(uint64_t obj, const uint8_t* value)   { return set(kPerPacketMode, obj, value); }
uint32_t FIB_DB_ReadPerPacketMode(const uint32_t* vr, uint8_t* value)  { return read<kPerPacketMode>(vr, value); }
uint32_t FIB_DB_WritePerPacketMode(const uint32_t* vr, uint8_t value)  { return write<kPerPacketMode>(vr, value); }
uint32_t FIB_DB_UpdatePerPacketMode(const uint32_t* vr, uint8_t value) { return update<kPerPacketMode>(vr, value); }

constexpr Setting<uint16_t, OfCodeAndValue, OfCodeAndValue> kStatefulNum{FIELD(ecmp_stateful_num),
    "get ecmp stateful num field not success, ret=%u, statefulNum=%u.",
    "set ecmp stateful num field not success. ret=%u, statefulNum=%u."};
uint32_t FIB_DB_GetEcmpStatefulNum(uint64_t obj, uint16_t* value)         { return get(kStatefulNum, obj, value); }
uint32_t FIB_DB_SetEcmpStatefulNum(uint64_t obj, const uint16_t* value)   { return set(kStatefulNum, obj, value); }
uint32_t FIB_DB_ReadEcmpStatefulNum(const uint32_t* vr, uint16_t* value)  { return read<kStatefulNum>(vr, value); }
uint32_t FIB_DB_WriteEcmpStatefulNum(const uint32_t* vr, uint16_t value)  { return write<kStatefulNum>(vr, value); }
uint32_t FIB_DB_UpdateEcmpStatefulNum(const uint32_t* vr, uint16_t value) { return update<kStatefulNum>(vr, value); }

constexpr Setting<uint8_t, OfCode, OfCodeAndValue> kDlb{FIELD(ecmp_dlb_enable),
    "get ecmp dlb enable field not success, ret=%u.",
    "set ecmp dlb enable field not success. ret=%u, enable=%u."};
uint32_t FIB_DB_GetEcmpDlb(uint64_t obj, uint8_t* value)         { return get(kDlb, obj, value); }
uint32_t FIB_DB_SetEcmpDlb(uint64_t obj, const uint8_t* value)   { return set(kDlb, obj, value); }
uint32_t FIB_DB_ReadEcmpDlb(const uint32_t* vr, uint8_t* value)  { return read<kDlb>(vr, value); }
uint32_t FIB_DB_WriteEcmpDlb(const uint32_t* vr, uint8_t value)  { return write<kDlb>(vr, value); }
uint32_t FIB_DB_UpdateEcmpDlb(const uint32_t* vr, uint8_t value) { return update<kDlb>(vr, value); }

#undef FIELD

// The child nodes; their getters and setters are in ecmp_nodes.cc.
// Required: the getter is named after the identifier, all others are not.
uint32_t FIB_DB_ReadEcmpUniversal(const uint32_t* vr, FibDbEcmpUniversalId* node) {
  return readNode<FIB_DB_GetEcmpUniversalId>(vr, node);
}
uint32_t FIB_DB_WriteEcmpUniversal(const uint32_t* vr, const FibDbEcmpUniversalId* node) {
  return writeNode<FIB_DB_SetEcmpUniversal>(vr, node);
}
uint32_t FIB_DB_UpdateEcmpUniversal(const uint32_t* vr, const FibDbEcmpUniversalId* node) {
  return updateNode<FIB_DB_SetEcmpUniversal>(vr, node);
}

uint32_t FIB_DB_ReadEcmpHashMode(const uint32_t* vr, FibDbEcmpHashMode* node) {
  return readNode<FIB_DB_GetEcmpHashMode>(vr, node);
}
uint32_t FIB_DB_WriteEcmpHashMode(const uint32_t* vr, const FibDbEcmpHashMode* node) {
  return writeNode<FIB_DB_SetEcmpHashMode>(vr, node);
}
uint32_t FIB_DB_UpdateEcmpHashMode(const uint32_t* vr, const FibDbEcmpHashMode* node) {
  return updateNode<FIB_DB_SetEcmpHashMode>(vr, node);
}

uint32_t FIB_DB_ReadEcmpSeed(const uint32_t* vr, FibDbEcmpSeed* node) {
  return readNode<FIB_DB_GetEcmpSeed>(vr, node);
}
uint32_t FIB_DB_WriteEcmpSeed(const uint32_t* vr, const FibDbEcmpSeed* node) {
  return writeNode<FIB_DB_SetEcmpSeed>(vr, node);
}
uint32_t FIB_DB_UpdateEcmpSeed(const uint32_t* vr, const FibDbEcmpSeed* node) {
  return updateNode<FIB_DB_SetEcmpSeed>(vr, node);
}

uint32_t FIB_DB_ReadEcmpProc(const uint32_t* vr, FibDbEcmpProc* node) {
  return readNode<FIB_DB_GetEcmpProc>(vr, node);
}
uint32_t FIB_DB_WriteEcmpProc(const uint32_t* vr, const FibDbEcmpProc* node) {
  return writeNode<FIB_DB_SetEcmpProc>(vr, node);
}
uint32_t FIB_DB_UpdateEcmpProc(const uint32_t* vr, const FibDbEcmpProc* node) {
  return updateNode<FIB_DB_SetEcmpProc>(vr, node);
}

uint32_t FIB_DB_ReadNvo3VxlanHash(const uint32_t* vr, FibDbNvo3VxlanHash* node) {
  return readNode<FIB_DB_GetNvo3VxlanHash>(vr, node);
}
uint32_t FIB_DB_WriteNvo3VxlanHash(const uint32_t* vr, const FibDbNvo3VxlanHash* node) {
  return writeNode<FIB_DB_SetNvo3VxlanHash>(vr, node);
}
uint32_t FIB_DB_UpdateNvo3VxlanHash(const uint32_t* vr, const FibDbNvo3VxlanHash* node) {
  return updateNode<FIB_DB_SetNvo3VxlanHash>(vr, node);
}

uint32_t FIB_DB_ReadFeiEcmpTunnel(const uint32_t* vr, FibDbEcmpTunnel* node) {
  return readNode<FIB_DB_GetFeiEcmpTunnel>(vr, node);
}
uint32_t FIB_DB_WriteFeiEcmpTunnel(const uint32_t* vr, const FibDbEcmpTunnel* node) {
  return writeNode<FIB_DB_SetFeiEcmpTunnel>(vr, node);
}
uint32_t FIB_DB_UpdateFeiEcmpTunnel(const uint32_t* vr, const FibDbEcmpTunnel* node) {
  return updateNode<FIB_DB_SetFeiEcmpTunnel>(vr, node);
}

// clang-format on
