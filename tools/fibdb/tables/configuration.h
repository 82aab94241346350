// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/configuration.h: what the tables of configuration have in common: settings that are changed one by
// one, child nodes that may be absent.
#ifndef FIBDB_TOOLS_CONFIGURATION_H
#define FIBDB_TOOLS_CONFIGURATION_H

#include <type_traits>

#include "tools/fibdb/tables/record_table.h"

namespace fibdb::program {

// A setting's own update, which takes the router and the value, or a pointer to the child node.
template <auto kRouter, auto kMember, auto kUpdate>
constexpr uint32_t changeSetting(void* record) {
  auto& item = *static_cast<typename MemberClass<decltype(kMember)>::type*>(record);
  auto& value = item.*kMember;
  if constexpr (std::is_class_v<std::remove_reference_t<decltype(value)>>) {
    return call<kUpdate>(&(item.*kRouter), &value);
  } else {
    return call<kUpdate>(&(item.*kRouter), value);
  }
}

// Whether this bit of the item's validity is set.
template <class Item, uint32_t kBit>
constexpr bool isValid(const void* item) {
  return (static_cast<const Item*>(item)->validFlags & kBit) != 0;
}

// A value that is given makes its part valid.
template <class Item, uint32_t kBit>
constexpr void makeValid(void* item) {
  static_cast<Item*>(item)->validFlags |= kBit;
}

// While it lives the library logs no information: that a node was never written is what reading it finds out.
class WithoutInformation {
 public:
  WithoutInformation() : before_(g_FibDbLogger) {
    const FibDbLogHooks errorsOnly{.info = nullptr, .error = before_.error};
    FIB_DB_LogFuncInit(&errorsOnly);
  }
  ~WithoutInformation() { FIB_DB_LogFuncInit(&before_); }
  WithoutInformation(const WithoutInformation&) = delete;
  WithoutInformation& operator=(const WithoutInformation&) = delete;

 private:
  const FibDbLogHooks before_;
};

}  // namespace fibdb::program

#endif
