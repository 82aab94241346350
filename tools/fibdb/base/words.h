// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/words.h: from text to words, numbers, addresses and prefixes, and back.
//
// DESCRIPTION: everything an operator or a routes file can write is understood here and nowhere else. Parsers
// take the whole text they are given: trailing characters are an error, never ignored. THREADS: plain
// functions without state.
#ifndef FIBDB_TOOLS_WORDS_H
#define FIBDB_TOOLS_WORDS_H

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fibdb::program {

using Words = std::vector<std::string>;

// Editors of some systems begin a file with one.
std::string_view withoutByteOrderMark(std::string_view firstLine);

// Splits a command line. 'single' and "double" quotes keep blanks, \ keeps the next character, # at the start
// of a word begins a comment. Throws Failure (usage) for a quote that is not closed.
Words splitWords(std::string_view line);

// A path that begins with ~/ is one in the home, as in other shells.
std::string expandHome(std::string_view path);

// The word as splitWords takes it for one.
std::string quoted(std::string_view word);

// Decimal, or hexadecimal after 0x. Nothing for any other text and for numbers above most.
std::optional<uint64_t> parseNumber(std::string_view text, uint64_t most = UINT64_MAX);

// Host byte order, like every number here.
struct Prefix {
  uint32_t address = 0;
  uint8_t length = 32;

  auto operator<=>(const Prefix&) const = default;
};

constexpr uint32_t maskOf(uint8_t length) { return length == 0 ? 0 : UINT32_MAX << (32 - length); }
constexpr bool covers(const Prefix& prefix, uint32_t address) {
  return (address & maskOf(prefix.length)) == prefix.address;
}
constexpr uint32_t lastAddress(const Prefix& prefix) { return prefix.address | ~maskOf(prefix.length); }

enum class PrefixFault { kNone, kNoPrefix, kMaskAbove32, kBitsBeyondMask };
const char* faultText(PrefixFault fault);

// Four decimal numbers without leading zeros, which some readers take for octal.
std::optional<uint32_t> parseAddress(std::string_view text);
// address[/length], without a length: /32; or `default`. With kBitsBeyondMask the prefix is filled, bits and all.
PrefixFault parsePrefix(std::string_view text, Prefix& prefix);

std::string formatAddress(uint32_t address);
// IPv6 addresses are sixteen bytes as on the wire.
std::optional<std::array<unsigned char, 16>> parseAddress6(std::string_view text);
std::string formatAddress6(const void* address);

// Two hexadecimal digits a byte. Nothing for any other text.
std::vector<unsigned char> parseHex(std::string_view text);
// A block of zeros, which most are, as one 0.
std::string formatHex(const void* bytes, size_t count);

std::string formatPrefix(const Prefix& prefix);

// Text of unknown origin, made safe for a terminal: bytes outside printable ASCII as \xNN, shortened to about most.
std::string inQuotes(std::string_view text, size_t most = 60);

// The candidate that word abbreviates. An exact word wins over longer ones, and a candidate over those it
// begins
// ("table" over "tables"); otherwise several make it ambiguous, and are all in matches.
struct KeywordMatch {
  std::optional<std::string_view> keyword;
  std::vector<std::string_view> matches;
};
KeywordMatch matchKeyword(std::string_view word, std::span<const std::string_view> candidates);

// The candidate that is at most a slip of the keyboard away: insertions, deletions, changes, swapped neighbours. Else
// one of which the word is a part: "gap" of "dlb_gap".
std::optional<std::string_view> nearestWord(std::string_view word, std::span<const std::string_view> candidates);

// "did you mean X?", or nothing.
std::string suggestion(std::string_view word, std::span<const std::string_view> candidates);

// A name with blanks for its underscores.
std::string spaced(std::string_view name);

std::string join(std::span<const std::string_view> words, std::string_view separator);

}  // namespace fibdb::program

#endif
