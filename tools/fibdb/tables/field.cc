// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/field.cc: see field.h.
#include "tools/fibdb/tables/field.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "tools/fibdb/base/words.h"

namespace fibdb::program {
namespace {

// Host byte order on a little-endian machine: the low bytes come first, whatever the width.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

uint64_t numberAt(const void* place, size_t width) {
  uint64_t number = 0;
  std::memcpy(&number, place, std::min(width, sizeof number));
  return number;
}

uint64_t mostOf(size_t width) { return width >= 8 ? UINT64_MAX : (uint64_t{1} << (8 * width)) - 1; }

std::vector<uint64_t> numbersAt(const void* place, const Layout& layout) {
  std::vector<uint64_t> numbers;
  for (size_t i = 0; i < layout.count; ++i) {
    numbers.push_back(numberAt(static_cast<const unsigned char*>(place) + i * layout.width, layout.width));
  }
  return numbers;
}

std::string numbersText(const std::vector<uint64_t>& numbers) {
  std::string text;
  for (const uint64_t number : numbers) text += (text.empty() ? "" : ",") + std::to_string(number);
  return text;
}

// Text of a field that may be filled to its last character.
std::string_view textAt(const void* place, const Layout& layout) {
  const auto* characters = static_cast<const char*>(place);
  return {characters, strnlen(characters, sizeOf(layout))};
}

std::string storeNumbers(void* place, const Layout& layout, std::string_view text) {
  const uint64_t most = mostOf(layout.width);
  std::vector<uint64_t> numbers;
  for (std::string_view rest = text;;) {
    const size_t comma = rest.find(',');
    const std::string_view word = rest.substr(0, comma);
    const auto number = parseNumber(word, most);
    if (!number) return inQuotes(word) + " is not a number up to " + std::to_string(most);
    numbers.push_back(*number);
    if (comma == std::string_view::npos) break;
    rest.remove_prefix(comma + 1);
  }
  if (numbers.size() > layout.count) {
    return inQuotes(text) + " is more than " +
           (layout.count == 1 ? "a number" : std::to_string(layout.count) + " numbers");
  }
  numbers.resize(layout.count);
  for (size_t i = 0; i < layout.count; ++i) {
    storeNumber(static_cast<unsigned char*>(place) + i * layout.width, layout.width, numbers[i]);
  }
  return {};
}

std::string storeAddress(void* place, std::string_view text) {
  const auto address = parseAddress(text);
  if (!address) return inQuotes(text) + " is not an IPv4 address";
  storeNumber(place, sizeof *address, *address);
  return {};
}

// Four numbers in host byte order as bytes on the wire, or the other way: the bytes of each number turned round.
std::array<unsigned char, 16> turned(const void* place) {
  std::array<unsigned char, 16> bytes;
  std::memcpy(bytes.data(), place, bytes.size());
  for (auto number = bytes.begin(); number != bytes.end(); number += 4) std::reverse(number, number + 4);
  return bytes;
}

std::string storeAddress6(void* place, Kind kind, std::string_view text) {
  auto address = parseAddress6(text);
  if (!address) return inQuotes(text) + " is not an IPv6 address";
  if (kind == Kind::kAddress6Words) address = turned(address->data());
  std::memcpy(place, address->data(), address->size());
  return {};
}

Prefix prefixAt(const void* place) {
  const auto* const bytes = static_cast<const unsigned char*>(place);
  return {static_cast<uint32_t>(numberAt(bytes, 4)), bytes[4]};
}

std::string storePrefix(void* place, std::string_view text) {
  Prefix prefix;
  const PrefixFault fault = parsePrefix(text, prefix);
  if (fault != PrefixFault::kNone) return inQuotes(text) + ": " + faultText(fault);
  storeNumber(place, 4, prefix.address);
  static_cast<unsigned char*>(place)[4] = prefix.length;
  return {};
}

std::string storeBytes(void* place, const Layout& layout, std::string_view text) {
  const size_t size = sizeOf(layout);
  const auto bytes = text == "0" ? std::vector<unsigned char>(size) : parseHex(text);
  if (bytes.size() != size) {
    return inQuotes(text) + " is not " + std::to_string(2 * size) + " hexadecimal digits, nor 0";
  }
  std::memcpy(place, bytes.data(), size);
  return {};
}

std::string storeText(void* place, const Layout& layout, std::string_view text) {
  const size_t most = sizeOf(layout) - 1;
  if (text.size() > most) return inQuotes(text) + " is longer than " + std::to_string(most) + " characters";
  std::memset(place, 0, sizeOf(layout));
  std::memcpy(place, text.data(), text.size());
  return {};
}

}  // namespace

void storeNumber(void* place, size_t width, uint64_t number) {
  std::memcpy(place, &number, std::min(width, sizeof number));
}

Value valueAt(const void* place, const Layout& layout) {
  switch (layout.kind) {
    case Kind::kAddress:
      return formatAddress(static_cast<uint32_t>(numberAt(place, layout.width)));
    case Kind::kAddress6:
      return formatAddress6(place);
    case Kind::kAddress6Words:
      return formatAddress6(turned(place).data());
    case Kind::kBytes:
      return formatHex(place, sizeOf(layout));
    case Kind::kText:
      return std::string(textAt(place, layout));
    case Kind::kPrefix:
      return formatPrefix(prefixAt(place));
    case Kind::kNumber:
      break;
  }
  if (layout.count > 1) return numbersText(numbersAt(place, layout));
  return numberAt(place, layout.width);
}

std::string storeAt(void* place, const Layout& layout, std::string_view text) {
  switch (layout.kind) {
    case Kind::kAddress:
      return storeAddress(place, text);
    case Kind::kAddress6:
    case Kind::kAddress6Words:
      return storeAddress6(place, layout.kind, text);
    case Kind::kBytes:
      return storeBytes(place, layout, text);
    case Kind::kText:
      return storeText(place, layout, text);
    case Kind::kPrefix:
      return storePrefix(place, text);
    case Kind::kNumber:
      break;
  }
  return storeNumbers(place, layout, text);
}

std::strong_ordering compareAt(const void* a, const void* b, const Layout& layout) {
  if (layout.kind == Kind::kText) return textAt(a, layout) <=> textAt(b, layout);
  if (layout.kind == Kind::kAddress6Words) return turned(a) <=> turned(b);
  if (layout.kind == Kind::kPrefix) return prefixAt(a) <=> prefixAt(b);
  return numbersAt(a, layout) <=> numbersAt(b, layout);
}

std::string_view placeholderOf(const Layout& layout) {
  switch (layout.kind) {
    case Kind::kAddress:
    case Kind::kAddress6:
    case Kind::kAddress6Words:
      return "ADDRESS";
    case Kind::kBytes:
      return "HEX";
    case Kind::kText:
      return "NAME";
    case Kind::kPrefix:
      return "PREFIX";
    case Kind::kNumber:
      break;
  }
  return layout.count > 1 ? "N,N" : "N";
}

}  // namespace fibdb::program
