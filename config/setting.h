// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// config/setting.h: a scalar setting of a configuration record as data, and what its getter and setter do.
#ifndef FIBDB_CONFIG_SETTING_H
#define FIBDB_CONFIG_SETTING_H

#include <cstdint>
#include <type_traits>

#include "runtime/diagnostics.h"

namespace fibdb {

// What a failure is said with: its code, or its code and the value.
using OfCode = Text<uint32_t>;
using OfCodeAndValue = Text<uint32_t, uint32_t>;

template <class ValueT, class GetText = OfCode, class SetText = OfCode>
struct Setting {
  using Value = ValueT;

  uint32_t (*getField)(uint64_t obj, Value* out);
  uint32_t (*setField)(uint64_t obj, Value value);
  GetText getFailed;  // empty: the setting has no getter
  SetText setFailed;
};

template <class Value>
uint32_t settleSetting(uint32_t code, const OfCode& failed, const Value*) {
  return settleFields(code, failed);
}
template <class Value>
uint32_t settleSetting(uint32_t code, const OfCodeAndValue& failed, const Value* value) {
  if (code == FIB_DB_OK) return FIB_DB_OK;
  // Required: the value as it stands after the failure, which of a getter is the caller's own.
  failed.error(code, *value);
  return FIB_DB_ERR;
}

template <class Setting>
uint32_t get(const Setting& setting, uint64_t obj, typename Setting::Value* value) {
  return settleSetting(setting.getField(obj, value), setting.getFailed, value);
}
template <class Setting>
uint32_t set(const Setting& setting, uint64_t obj, const typename Setting::Value* value) {
  return settleSetting(setting.setField(obj, *value), setting.setFailed, value);
}

// The same as the callbacks that the generic functions take.
template <const auto& kSetting>
uint32_t getterOf(uint64_t obj, void* value) {
  return get(kSetting, obj, static_cast<typename std::remove_cvref_t<decltype(kSetting)>::Value*>(value));
}
template <const auto& kSetting>
uint32_t setterOf(uint64_t obj, const void* value) {
  return set(kSetting, obj, static_cast<const typename std::remove_cvref_t<decltype(kSetting)>::Value*>(value));
}

}  // namespace fibdb

#endif
