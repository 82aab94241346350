// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// config/global_settings.cc: the settings of the global record one by one: its field and its messages, then its
// functions, five.
#include "config/configuration.h"
#include "config/setting.h"
#include "platform/objdb_tables.h"

namespace {

using fibdb::Setting;

template <const auto& kSetting, class Value>
uint32_t read(const uint32_t* vr, Value* value) {
  return FIB_DB_ReadGlbCfgFunc(vr, value, fibdb::getterOf<kSetting>);
}
template <const auto& kSetting, class Value>
uint32_t write(const uint32_t* vr, Value value) {
  return FIB_DB_WriteGlbCfgFunc(vr, &value, fibdb::setterOf<kSetting>);
}
template <const auto& kSetting, class Value>
uint32_t update(const uint32_t* vr, Value value) {
  return FIB_DB_UpdateGlbCfgFunc(vr, &value, fibdb::setterOf<kSetting>);
}

}  // namespace

// clang-format off
#define FIELD(name) db_get_global_cfg_##name, db_set_global_cfg_##name

// Required: the getter and the setter go by another name.
constexpr Setting<uint16_t> kMethIsolate{FIELD(meth_isolate),
    "GetMethIsolate field fail, ret=%u.",
    "SetMethIsolate set field failed. ret=%d."};
uint32_t FIB_DB_GetMethIsolate(uint64_t obj, uint16_t* value)       { return get(kMethIsolate, obj, value); }
uint32_t FIB_DB_SetMethIsolate(uint64_t obj, const uint16_t* value) { return set(kMethIsolate, obj, value); }
uint32_t FIB_DB_ReadIsolate(const uint32_t* vr, uint16_t* value)    { return read<kMethIsolate>(vr, value); }
uint32_t FIB_DB_WriteIsolate(const uint32_t* vr, uint16_t value)    { return write<kMethIsolate>(vr, value); }
uint32_t FIB_DB_UpdateIsolate(const uint32_t* vr, uint16_t value)   { return update<kMethIsolate>(vr, value); }

// Required: the setter that alone prints its code without a sign.
constexpr Setting<uint16_t> kIcmpFast{FIELD(icmp_echo_fast),
    "GetIcmpFast field fail, ret=%u.",
    "SetIcmpFast set field failed. ret=%u."};
uint32_t FIB_DB_GetIcmpFast(uint64_t obj, uint16_t* value)         { return get(kIcmpFast, obj, value); }
uint32_t FIB_DB_SetIcmpFast(uint64_t obj, const uint16_t* value)   { return set(kIcmpFast, obj, value); }
uint32_t FIB_DB_ReadIcmpFast(const uint32_t* vr, uint16_t* value)  { return read<kIcmpFast>(vr, value); }
uint32_t FIB_DB_WriteIcmpFast(const uint32_t* vr, uint16_t value)  { return write<kIcmpFast>(vr, value); }
uint32_t FIB_DB_UpdateIcmpFast(const uint32_t* vr, uint16_t value) { return update<kIcmpFast>(vr, value); }

constexpr Setting<uint32_t> kInNextEn{FIELD(indirect_next),
    "GetInNextEn field fail, ret=%u.",
    "SetInNextEn set field failed. ret=%d."};
uint32_t FIB_DB_GetInNextEn(uint64_t obj, uint32_t* value)         { return get(kInNextEn, obj, value); }
uint32_t FIB_DB_SetInNextEn(uint64_t obj, const uint32_t* value)   { return set(kInNextEn, obj, value); }
uint32_t FIB_DB_ReadInNextEn(const uint32_t* vr, uint32_t* value)  { return read<kInNextEn>(vr, value); }
uint32_t FIB_DB_WriteInNextEn(const uint32_t* vr, uint32_t value)  { return write<kInNextEn>(vr, value); }
uint32_t FIB_DB_UpdateInNextEn(const uint32_t* vr, uint32_t value) { return update<kInNextEn>(vr, value); }

constexpr Setting<uint8_t> kBalanceReverse{FIELD(load_balance_reverse),
    "GetBalanceReverse field fail, ret=%u.",
    "SetBalanceReverse set field failed. ret=%d."};
uint32_t FIB_DB_GetBalanceReverse(uint64_t obj, uint8_t* value)         { return get(kBalanceReverse, obj, value); }
uint32_t FIB_DB_SetBalanceReverse(uint64_t obj, const uint8_t* value)   { return set(kBalanceReverse, obj, value); }
uint32_t FIB_DB_ReadBalanceReverse(const uint32_t* vr, uint8_t* value)  { return read<kBalanceReverse>(vr, value); }
uint32_t FIB_DB_WriteBalanceReverse(const uint32_t* vr, uint8_t value)  { return write<kBalanceReverse>(vr, value); }
uint32_t FIB_DB_UpdateBalanceReverse(const uint32_t* vr, uint8_t value) { return update<kBalanceReverse>(vr, value); }

constexpr Setting<uint32_t> kIpv4IgnrMac{FIELD(isIgnr),
    "GetIpv4IgnrMac field fail, ret=%u.",
    "SetIpv4IgnrMac set field failed. ret=%d."};
uint32_t FIB_DB_GetIpv4IgnrMac(uint64_t obj, uint32_t* value)         { return get(kIpv4IgnrMac, obj, value); }
uint32_t FIB_DB_SetIpv4IgnrMac(uint64_t obj, const uint32_t* value)   { return set(kIpv4IgnrMac, obj, value); }
uint32_t FIB_DB_ReadIpv4IgnrMac(const uint32_t* vr, uint32_t* value)  { return read<kIpv4IgnrMac>(vr, value); }
uint32_t FIB_DB_WriteIpv4IgnrMac(const uint32_t* vr, uint32_t value)  { return write<kIpv4IgnrMac>(vr, value); }
uint32_t FIB_DB_UpdateIpv4IgnrMac(const uint32_t* vr, uint32_t value) { return update<kIpv4IgnrMac>(vr, value); }

constexpr Setting<uint32_t> kIpv4GlbTtl{FIELD(doNotDecTtl),
    "GetIpv4GlbTtl field fail, ret=%u.",
    "SetIpv4GlbTtl set field failed. ret=%d."};
uint32_t FIB_DB_GetIpv4GlbTtl(uint64_t obj, uint32_t* value)         { return get(kIpv4GlbTtl, obj, value); }
uint32_t FIB_DB_SetIpv4GlbTtl(uint64_t obj, const uint32_t* value)   { return set(kIpv4GlbTtl, obj, value); }
uint32_t FIB_DB_ReadIpv4GlbTtl(const uint32_t* vr, uint32_t* value)  { return read<kIpv4GlbTtl>(vr, value); }
uint32_t FIB_DB_WriteIpv4GlbTtl(const uint32_t* vr, uint32_t value)  { return write<kIpv4GlbTtl>(vr, value); }
uint32_t FIB_DB_UpdateIpv4GlbTtl(const uint32_t* vr, uint32_t value) { return update<kIpv4GlbTtl>(vr, value); }

constexpr Setting<uint32_t> kMlagEnhance{FIELD(mlag_route_enhance),
    "GetMlagRouteEnhance field fail, ret=%u.",
    "SetMlagRouteEnhance set field failed. ret=%d."};
uint32_t FIB_DB_GetMlagRouteEnhance(uint64_t obj, uint32_t* value)         { return get(kMlagEnhance, obj, value); }
uint32_t FIB_DB_SetMlagRouteEnhance(uint64_t obj, const uint32_t* value)   { return set(kMlagEnhance, obj, value); }
uint32_t FIB_DB_ReadMlagRouteEnhance(const uint32_t* vr, uint32_t* value)  { return read<kMlagEnhance>(vr, value); }
uint32_t FIB_DB_WriteMlagRouteEnhance(const uint32_t* vr, uint32_t value)  { return write<kMlagEnhance>(vr, value); }
uint32_t FIB_DB_UpdateMlagRouteEnhance(const uint32_t* vr, uint32_t value) { return update<kMlagEnhance>(vr, value); }

constexpr Setting<uint32_t> kDodEnable{FIELD(dod_enable),
    "GetDodEnable field fail, ret=%u.",
    "SetDodEnable set field failed. ret=%d."};
uint32_t FIB_DB_GetDodEnable(uint64_t obj, uint32_t* value)         { return get(kDodEnable, obj, value); }
uint32_t FIB_DB_SetDodEnable(uint64_t obj, const uint32_t* value)   { return set(kDodEnable, obj, value); }
uint32_t FIB_DB_ReadDodEnable(const uint32_t* vr, uint32_t* value)  { return read<kDodEnable>(vr, value); }
uint32_t FIB_DB_WriteDodEnable(const uint32_t* vr, uint32_t value)  { return write<kDodEnable>(vr, value); }
uint32_t FIB_DB_UpdateDodEnable(const uint32_t* vr, uint32_t value) { return update<kDodEnable>(vr, value); }

#undef FIELD
// clang-format on
