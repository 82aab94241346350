// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/config/settings.h: the scalar settings of the two configuration records as data.
#ifndef FIBDB_TESTS_CONFIG_SETTINGS_H
#define FIBDB_TESTS_CONFIG_SETTINGS_H

#include <algorithm>
#include <functional>
#include <iterator>

#include "tests/config/records.h"

namespace fibdb::test {

// The functions take values as 64 bits: what is wider than the value is the caller's, and to be left alone.
struct Setting {
  const Record* record;
  std::string accessors;  // FIB_DB_Get<accessors>, FIB_DB_Set<accessors>
  std::string records;    // FIB_DB_Read<records>, FIB_DB_Write<records>, FIB_DB_Update<records>
  std::string field;
  size_t inItem;
  // As said for kCode and the value 77.
  std::string getFailed;
  std::string setFailed;

  size_t width = 0;
  std::function<uint32_t(uint64_t obj, uint64_t* value)> get;  // may be missing
  std::function<uint32_t(uint64_t obj, uint64_t value)> set;
  std::function<uint32_t(const uint32_t* vrId, uint64_t* value)> read;  // may be missing
  std::function<uint32_t(const uint32_t* vrId, uint64_t value)> write;
  std::function<uint32_t(const uint32_t* vrId, uint64_t value)> update;

  uint64_t widest() const { return ~uint64_t{0} >> (64 - 8 * width); }
  uint64_t in(const Bytes& item) const { return numberIn(item, inItem, width); }
};

template <class Of, class Value>
std::function<uint32_t(Of, uint64_t*)> filling(uint32_t (*function)(Of, Value*)) {
  if (function == nullptr) return {};
  return [function](Of of, uint64_t* wide) {
    Value values[sizeof *wide / sizeof(Value)];
    std::memcpy(values, wide, sizeof values);
    const uint32_t status = function(of, values);
    std::memcpy(wide, values, sizeof values);
    return status;
  };
}

template <class Value>
Setting settingOf(Setting setting, uint32_t (*get)(uint64_t, Value*), uint32_t (*set)(uint64_t, const Value*),
                  uint32_t (*read)(const uint32_t*, Value*), uint32_t (*write)(const uint32_t*, Value),
                  uint32_t (*update)(const uint32_t*, Value)) {
  setting.width = sizeof(Value);
  setting.get = filling(get);
  setting.set = [set](uint64_t obj, uint64_t value) {
    const auto narrow = static_cast<Value>(value);
    return set(obj, &narrow);
  };
  setting.read = filling(read);
  setting.write = [write](const uint32_t* vrId, uint64_t value) { return write(vrId, static_cast<Value>(value)); };
  setting.update = [update](const uint32_t* vrId, uint64_t value) { return update(vrId, static_cast<Value>(value)); };
  return setting;
}

inline const std::vector<Setting>& allSettings() {
  const Record* const ecmp = &ecmpRecord();
  const Record* const global = &globalRecord();
#define FIVE(X) FIB_DB_Get##X, FIB_DB_Set##X, FIB_DB_Read##X, FIB_DB_Write##X, FIB_DB_Update##X
#define IN_ECMP(member) offsetof(FibDbEcmpCfgItem, member)
#define IN_GLOBAL(member) offsetof(FibDbGlbCfgItem, member)
  static const std::vector<Setting> settings{
      settingOf({ecmp, "EcmpGtpTeid", "EcmpGtpTeid", "ecmp_gtp_teid", IN_ECMP(gtpTeid),
                 "GetEcmpGtpTeid field fail, ret=4294967289.", "SetEcmpGtpTeid set field failed. ret=-7."},
                FIVE(EcmpGtpTeid)),
      settingOf({ecmp, "EcmpHashBala", "EcmpHashBala", "ecmp_hash_bala", IN_ECMP(hashBala),
                 "GetEcmpHashBala field fail, ret=4294967289.", "SetEcmpHashBala set field failed. ret=-7."},
                FIVE(EcmpHashBala)),
      settingOf({ecmp, "StatefulEnhanced", "StatefulEnhanced", "ecmp_stateful_enhanced", IN_ECMP(statefulEnhanced),
                 "GetStatefulEnhanced field fail, ret=4294967289.", "SetStatefulEnhanced set field failed. ret=-7."},
                FIVE(StatefulEnhanced)),
      settingOf<uint8_t>(
          {ecmp, "VxlanHashStateful", "VxlanHashStateful", "vxlan_overlay_hash_stateful",
           IN_ECMP(vxlanOverlayHashStateful), "", "SetVxlanHashStateful set field failed. ret=4294967289."},
          nullptr, FIB_DB_SetVxlanHashStateful, nullptr, FIB_DB_WriteVxlanHashStateful, FIB_DB_UpdateVxlanHashStateful),
      settingOf({ecmp, "RailGroupEnable", "RailGroupEnable", "rail_group_enable", IN_ECMP(railGroupEnable),
                 "GetRailGroupEnable field fail, ret=4294967289.", "SetRailGroupEnable set field failed. ret=-7."},
                FIVE(RailGroupEnable)),
      settingOf({ecmp, "HasRailGroupMem", "HasRailGroupMem", "has_rail_group_member", IN_ECMP(hasRailGroupMember),
                 "GetHasRailGroupMem field fail, ret=4294967289.", "SetHasRailGroupMem set field failed. ret=-7."},
                FIVE(HasRailGroupMem)),
      settingOf({ecmp, "VxlanOverlayMode", "VxlanOverlayMode", "vxlan_overlay_mode", IN_ECMP(vxlanOverlayMode),
                 "GetVxlanOverlayMode field fail, ret=4294967289.", "SetVxlanOverlayMode set field failed. ret=-7."},
                FIVE(VxlanOverlayMode)),
      settingOf({ecmp, "EcmpDlbGapTime", "EcmpDlbGapTime", "dlb_gap_time", IN_ECMP(dlbGapTime),
                 "GetEcmpDlbGapTime field fail, ret=4294967289.", "SetEcmpDlbGapTime set field failed. ret=-7."},
                FIVE(EcmpDlbGapTime)),
      settingOf({ecmp, "EcmpLocalEnhanced", "EcmpLocalEnhanced", "local_enhanced", IN_ECMP(localEnhanced),
                 "GetEcmpLocalEnhanced field fail, ret=4294967289.", "SetEcmpLocalEnhanced set field failed. ret=-7."},
                FIVE(EcmpLocalEnhanced)),
      settingOf({ecmp, "EcmpLocalChassis", "EcmpLocalChassis", "local_chassis", IN_ECMP(localChassis),
                 "GetEcmpLocalChassis field fail, ret=4294967289.", "SetEcmpLocalChassis set field failed. ret=-7."},
                FIVE(EcmpLocalChassis)),
      settingOf<uint8_t>({ecmp, "EcmpDpfrStatus", "EcmpDpfrEnable", "ecmp_dpfr_enable", IN_ECMP(dpfrEnable), "",
                          "SetEcmpDpfrStatus set field failed. ret=-7."},
                         nullptr, FIB_DB_SetEcmpDpfrStatus, nullptr, FIB_DB_WriteEcmpDpfrEnable,
                         FIB_DB_UpdateEcmpDpfrEnable),
      settingOf(
          {ecmp, "Rocev2PerPacket", "Rocev2PerPacket", "ecmp_rocev2_perpacket", IN_ECMP(rocev2PerPacket),
           "GetRocev2PerPacket field fail, ret=4294967289.", "SetRocev2PerPacket set field failed. ret=4294967289."},
          FIVE(Rocev2PerPacket)),
      settingOf(
          {ecmp, "PerPacket", "PerPacket", "ecmp_perpacket", IN_ECMP(perPacket),
           "Get PerPacket field not success, ret=4294967289.", "SetPerPacket set field not success. ret=4294967289."},
          FIVE(PerPacket)),
      settingOf({ecmp, "PerPacketMode", "PerPacketMode", "ecmp_perpacket_mode", IN_ECMP(perPacketMode),
                 "Get PerPacket Mode field not success, ret=4294967289.",
                 "SetPerPacketMode set field not success. ret=4294967289."},
                FIVE(PerPacketMode)),
      settingOf({ecmp, "EcmpStatefulNum", "EcmpStatefulNum", "ecmp_stateful_num", IN_ECMP(statefulNum),
                 "get ecmp stateful num field not success, ret=4294967289, statefulNum=77.",
                 "set ecmp stateful num field not success. ret=4294967289, statefulNum=77."},
                FIVE(EcmpStatefulNum)),
      settingOf({ecmp, "EcmpDlb", "EcmpDlb", "ecmp_dlb_enable", IN_ECMP(dlbEnable),
                 "get ecmp dlb enable field not success, ret=4294967289.",
                 "set ecmp dlb enable field not success. ret=4294967289, enable=77."},
                FIVE(EcmpDlb)),

      settingOf({global, "MethIsolate", "Isolate", "meth_isolate", IN_GLOBAL(methIsolate),
                 "GetMethIsolate field fail, ret=4294967289.", "SetMethIsolate set field failed. ret=-7."},
                FIB_DB_GetMethIsolate, FIB_DB_SetMethIsolate, FIB_DB_ReadIsolate, FIB_DB_WriteIsolate,
                FIB_DB_UpdateIsolate),
      settingOf({global, "IcmpFast", "IcmpFast", "icmp_echo_fast", IN_GLOBAL(icmpFast),
                 "GetIcmpFast field fail, ret=4294967289.", "SetIcmpFast set field failed. ret=4294967289."},
                FIVE(IcmpFast)),
      settingOf({global, "InNextEn", "InNextEn", "indirect_next", IN_GLOBAL(inNextEn),
                 "GetInNextEn field fail, ret=4294967289.", "SetInNextEn set field failed. ret=-7."},
                FIVE(InNextEn)),
      settingOf({global, "BalanceReverse", "BalanceReverse", "load_balance_reverse", IN_GLOBAL(balanceReverse),
                 "GetBalanceReverse field fail, ret=4294967289.", "SetBalanceReverse set field failed. ret=-7."},
                FIVE(BalanceReverse)),
      settingOf({global, "Ipv4IgnrMac", "Ipv4IgnrMac", "isIgnr", IN_GLOBAL(ipv4IgnrMac),
                 "GetIpv4IgnrMac field fail, ret=4294967289.", "SetIpv4IgnrMac set field failed. ret=-7."},
                FIVE(Ipv4IgnrMac)),
      settingOf({global, "Ipv4GlbTtl", "Ipv4GlbTtl", "doNotDecTtl", IN_GLOBAL(ipv4GlbTtl),
                 "GetIpv4GlbTtl field fail, ret=4294967289.", "SetIpv4GlbTtl set field failed. ret=-7."},
                FIVE(Ipv4GlbTtl)),
      settingOf({global, "MlagRouteEnhance", "MlagRouteEnhance", "mlag_route_enhance", IN_GLOBAL(mlagRouteEnhance),
                 "GetMlagRouteEnhance field fail, ret=4294967289.", "SetMlagRouteEnhance set field failed. ret=-7."},
                FIVE(MlagRouteEnhance)),
      settingOf({global, "DodEnable", "DodEnable", "dod_enable", IN_GLOBAL(dodEnable),
                 "GetDodEnable field fail, ret=4294967289.", "SetDodEnable set field failed. ret=-7."},
                FIVE(DodEnable)),
  };
#undef FIVE
#undef IN_ECMP
#undef IN_GLOBAL
  return settings;
}

// Those that a condition holds for.
template <class Condition>
std::vector<Setting> settingsThat(Condition holds) {
  std::vector<Setting> settings;
  std::ranges::copy_if(allSettings(), std::back_inserter(settings), holds);
  return settings;
}

inline std::vector<Setting> settingsOf(const Record& record) {
  return settingsThat([&](const Setting& setting) { return setting.record == &record; });
}

}  // namespace fibdb::test

#endif
