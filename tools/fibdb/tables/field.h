// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/field.h: a field of a record: where it lies, how people write it, how it is shown.
//
// DESCRIPTION: a field is data. Its layout follows from the member it names; what else is to be said of it is a
// named cell. Numbers are decimal or, after 0x, hexadecimal; several are joined by commas. Bytes are hexadecimal
// digits, all of them or one 0. THREADS: plain functions without state.
#ifndef FIBDB_TOOLS_FIELD_H
#define FIBDB_TOOLS_FIELD_H

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "tools/fibdb/output/answer.h"

namespace fibdb::program {

enum class Kind {
  kNumber,         // 1, 2, 4 or 8 bytes, host byte order; count of them
  kAddress,        // 4 bytes, host byte order, shown with dots
  kAddress6,       // 16 bytes as on the wire
  kAddress6Words,  // the same as four numbers of 4 bytes, host byte order
  kBytes,          // count opaque bytes
  kText,           // count characters at most, the closing zero among them
  kPrefix,         // 4 bytes of address, host byte order, and behind them a byte of mask length
};

struct Layout {
  Kind kind = Kind::kNumber;
  size_t width = 0;  // bytes of one
  size_t count = 1;
};

inline constexpr size_t kPrefixBytes = 5;
constexpr size_t sizeOf(const Layout& layout) { return layout.width * layout.count; }
Value valueAt(const void* place, const Layout& layout);
// Stores what text says. Otherwise the place is untouched, and the answer says what is wrong with the text.
std::string storeAt(void* place, const Layout& layout, std::string_view text);
void storeNumber(void* place, size_t width, uint64_t number);
// By number, by byte, or as text.
std::strong_ordering compareAt(const void* a, const void* b, const Layout& layout);
// What stands in a usage for a value: "N", "ADDRESS".
std::string_view placeholderOf(const Layout& layout);

// An exported function over an item whose type only its table knows.
using ItemCall = uint32_t (*)(void* item);

enum class Role {
  kKey,       // given in this order with every command over one record
  kProperty,  // given by its name
  kShown,     // only shown
};

struct Field {
  std::string_view name;
  Role role = Role::kProperty;
  Layout layout = {};
  void* (*at)(void* item) = nullptr;
  uint64_t initial = 0;                       // of a new record
  bool listed = true;                         // shown in lists too, not only with the record alone
  bool optional = false;                      // of a key at the end, a number: not given, it is 0
  void (*goesWith)(void* item) = nullptr;     // sets what else a given value implies
  ItemCall change = nullptr;                  // gives this field of the stored record the item's value
  bool (*isSet)(const void* item) = nullptr;  // shown as nothing where it says no
};

// The cells of a field, by name; what is left out follows from the member.
struct FieldHow {
  std::optional<Kind> kind = std::nullopt;
  uint64_t initial = 0;
  bool listed = true;
  bool optional = false;
  void (*goesWith)(void* item) = nullptr;
  ItemCall change = nullptr;
  bool (*isSet)(const void* item) = nullptr;
};

template <class Member>
struct MemberClass;
template <class Class, class Type>
struct MemberClass<Type Class::*> {
  using type = Class;
};

template <class Part>
constexpr auto& partOf(Part& part) {
  return part;
}
template <auto kStep, auto... kMore, class Part>
constexpr auto& partOf(Part& part) {
  if constexpr (std::is_integral_v<decltype(kStep)>) {
    static_assert(kStep >= 0 && kStep < std::extent_v<Part>);
    return partOf<kMore...>(part[kStep]);
  } else {
    return partOf<kMore...>(part.*kStep);
  }
}

// The member at the end of a path of members: a field of a part of an item is &Item::part, &Part::field; an element of
// an array is &Item::array, 2.
template <auto kFirst, auto... kRest>
constexpr auto& memberOf(void* item) {
  using Item = typename MemberClass<decltype(kFirst)>::type;
  return partOf<kRest...>(static_cast<Item*>(item)->*kFirst);
}

template <class Type>
constexpr Layout layoutOf(std::optional<Kind> kind) {
  using Element = std::remove_all_extents_t<Type>;
  static_assert(std::is_integral_v<Element> && std::rank_v<Type> <= 1);
  constexpr bool kCharacters = std::is_same_v<Element, char>;
  constexpr bool kArrayOfBytes = std::is_array_v<Type> && sizeof(Element) == 1;
  const Kind natural = kCharacters ? Kind::kText : kArrayOfBytes ? Kind::kBytes : Kind::kNumber;
  return {kind.value_or(natural), sizeof(Element), std::is_array_v<Type> ? std::extent_v<Type> : 1};
}

template <auto... kPath>
constexpr Field fieldOf(Role role, std::string_view name, const FieldHow& how) {
  using Type = std::remove_reference_t<decltype(memberOf<kPath...>(nullptr))>;
  Layout layout = layoutOf<Type>(how.kind);
  if (layout.kind == Kind::kPrefix) layout.width = kPrefixBytes;
  // Not reached by a right table; a wrong one does not compile.
  const bool address4 = layout.kind == Kind::kAddress || layout.kind == Kind::kPrefix;
  if (address4 && sizeof(Type) != 4) throw "an address has four bytes";
  const bool address6 = layout.kind == Kind::kAddress6 || layout.kind == Kind::kAddress6Words;
  if (address6 && sizeof(Type) != 16) throw "an IPv6 address has sixteen bytes";
  return {.name = name,
          .role = role,
          .layout = layout,
          .at = [](void* item) -> void* { return &memberOf<kPath...>(item); },
          .initial = how.initial,
          .listed = how.listed,
          .optional = how.optional,
          .goesWith = how.goesWith,
          .change = how.change,
          .isSet = how.isSet};
}

template <auto... kPath>
constexpr Field key(std::string_view name, const FieldHow& how = {}) {
  return fieldOf<kPath...>(Role::kKey, name, how);
}
template <auto... kPath>
constexpr Field property(std::string_view name, const FieldHow& how = {}) {
  return fieldOf<kPath...>(Role::kProperty, name, how);
}
template <auto... kPath>
constexpr Field shown(std::string_view name, const FieldHow& how = {}) {
  return fieldOf<kPath...>(Role::kShown, name, how);
}

}  // namespace fibdb::program

#endif
