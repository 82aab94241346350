// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/words.cc: see words.h.
#include "tools/fibdb/base/words.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "tools/fibdb/base/failure.h"

namespace fibdb::program {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Reads one word at position i and leaves i behind it.
std::string takeWord(std::string_view line, size_t& i) {
  std::string word;
  char quote = 0;
  for (; i < line.size(); ++i) {
    const char c = line[i];
    if (quote == 0 && isBlank(c)) break;
    if (c == quote) {
      quote = 0;
    } else if (quote == 0 && (c == '"' || c == '\'')) {
      quote = c;
    } else if (c == '\\' && quote != '\'' && i + 1 < line.size()) {
      word += line[++i];
    } else {
      word += c;
    }
  }
  if (quote != 0) throw Failure(Status::kUsage, "a quote is not closed");
  return word;
}

// The whole of text as a number in this base, with no sign and no blanks.
std::optional<uint64_t> parseDigits(std::string_view text, int base, uint64_t most) {
  uint64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (error != std::errc() || stop != end || number > most) return std::nullopt;
  return number;
}

constexpr char kHexDigits[] = "0123456789abcdef";

bool isPrintable(char c) { return c >= 0x20 && c < 0x7f; }

// Edits between two words, a swap of neighbours counted as one. Three rows of the usual matrix suffice.
size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<size_t> older(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    older.swap(last);
    last.swap(row);
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t change = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({change, last[j] + 1, row[j - 1] + 1});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) row[j] = std::min(row[j], older[j - 2] + 1);
    }
  }
  return row[b.size()];
}

}  // namespace

std::string_view withoutByteOrderMark(std::string_view firstLine) {
  constexpr std::string_view kMark = "\xef\xbb\xbf";
  return firstLine.substr(firstLine.starts_with(kMark) ? kMark.size() : 0);
}

Words splitWords(std::string_view line) {
  Words words;
  for (size_t i = 0; i < line.size();) {
    if (isBlank(line[i])) {
      ++i;
    } else if (line[i] == '#') {
      break;
    } else {
      words.push_back(takeWord(line, i));
    }
  }
  return words;
}

std::string expandHome(std::string_view path) {
  const char* home = std::getenv("HOME");
  const bool inHome = path == "~" || path.starts_with("~/");
  if (!inHome || home == nullptr) return std::string(path);
  return home + std::string(path.substr(1));
}

std::string quoted(std::string_view word) {
  const auto isPlain = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
           std::string_view("-_.,:/+").find(c) != std::string_view::npos;
  };
  if (!word.empty() && std::ranges::all_of(word, isPlain)) return std::string(word);
  std::string text = "'";
  for (const char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return text + '\'';
}

std::optional<uint64_t> parseNumber(std::string_view text, uint64_t most) {
  if (text.starts_with("0x") || text.starts_with("0X")) return parseDigits(text.substr(2), 16, most);
  return parseDigits(text, 10, most);
}

const char* faultText(PrefixFault fault) {
  switch (fault) {
    case PrefixFault::kNone:
      return "a prefix";
    case PrefixFault::kNoPrefix:
      return "not an IPv4 prefix";
    case PrefixFault::kMaskAbove32:
      return "mask above 32";
    case PrefixFault::kBitsBeyondMask:
      return "bits set beyond the mask";
  }
  return "";
}

std::optional<uint32_t> parseAddress(std::string_view text) {
  uint32_t address = 0;
  for (int part = 0; part < 4; ++part) {
    const size_t dot = part < 3 ? text.find('.') : text.size();
    if (dot == std::string_view::npos) return std::nullopt;
    const std::string_view digits = text.substr(0, dot);
    if (digits.size() > 1 && digits[0] == '0') return std::nullopt;
    const auto number = parseDigits(digits, 10, 255);
    if (!number) return std::nullopt;
    address = address << 8 | static_cast<uint32_t>(*number);
    text.remove_prefix(part < 3 ? dot + 1 : dot);
  }
  return address;
}

PrefixFault parsePrefix(std::string_view text, Prefix& prefix) {
  if (text == "default") {
    prefix = {0, 0};
    return PrefixFault::kNone;
  }
  const size_t slash = text.find('/');
  const auto address = parseAddress(text.substr(0, slash));
  if (!address) return PrefixFault::kNoPrefix;
  uint64_t length = 32;
  if (slash != std::string_view::npos) {
    const auto number = parseDigits(text.substr(slash + 1), 10, UINT64_MAX);
    if (!number) return PrefixFault::kNoPrefix;
    length = *number;
  }
  if (length > 32) return PrefixFault::kMaskAbove32;
  prefix = {*address, static_cast<uint8_t>(length)};
  return covers(prefix, *address) ? PrefixFault::kNone : PrefixFault::kBitsBeyondMask;
}

std::string formatAddress(uint32_t address) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    text += std::to_string(address >> shift & 0xff);
    if (shift > 0) text += '.';
  }
  return text;
}

std::optional<std::array<unsigned char, 16>> parseAddress6(std::string_view text) {
  std::array<unsigned char, 16> address{};
  // A zero inside the text would end it for the C function.
  const bool whole = text.find('\0') == std::string_view::npos;
  if (!whole || inet_pton(AF_INET6, std::string(text).c_str(), address.data()) != 1) return std::nullopt;
  return address;
}

std::string formatAddress6(const void* address) {
  char text[INET6_ADDRSTRLEN];
  return inet_ntop(AF_INET6, address, text, sizeof text);
}

std::vector<unsigned char> parseHex(std::string_view text) {
  std::vector<unsigned char> bytes;
  if (text.size() % 2 != 0) return bytes;
  for (; !text.empty(); text.remove_prefix(2)) {
    const auto byte = parseDigits(text.substr(0, 2), 16, 255);
    if (!byte) return {};
    bytes.push_back(static_cast<unsigned char>(*byte));
  }
  return bytes;
}

std::string formatHex(const void* bytes, size_t count) {
  const std::span all(static_cast<const unsigned char*>(bytes), count);
  if (std::all_of(all.begin(), all.end(), [](unsigned char byte) { return byte == 0; })) return "0";
  std::string text;
  for (const unsigned char byte : all) text += {kHexDigits[byte >> 4], kHexDigits[byte & 15]};
  return text;
}

std::string formatPrefix(const Prefix& prefix) {
  return formatAddress(prefix.address) + '/' + std::to_string(prefix.length);
}

std::string inQuotes(std::string_view text, size_t most) {
  std::string safe = "\"";
  for (size_t i = 0; i < text.size(); ++i) {
    if (safe.size() > most) {
      safe += "...";
      break;
    }
    const char c = text[i];
    if (c == '"' || c == '\\') {
      safe += {'\\', c};
    } else if (isPrintable(c)) {
      safe += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      safe += {'\\', 'x', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
    }
  }
  return safe + '"';
}

KeywordMatch matchKeyword(std::string_view word, std::span<const std::string_view> candidates) {
  KeywordMatch match;
  for (const std::string_view candidate : candidates) {
    if (candidate.starts_with(word)) match.matches.push_back(candidate);
  }
  std::sort(match.matches.begin(), match.matches.end());
  match.matches.erase(std::unique(match.matches.begin(), match.matches.end()), match.matches.end());
  // Sorted, a word that begins all the others comes first.
  const bool decided = std::all_of(match.matches.begin(), match.matches.end(),
                                   [&](std::string_view m) { return m.starts_with(match.matches.front()); });
  if (!word.empty() && !match.matches.empty() && decided) match.keyword = match.matches.front();
  return match;
}

// Whether word is one of the parts that the underscores of a candidate divide.
static bool isPartOf(std::string_view word, std::string_view candidate) {
  while (!candidate.empty()) {
    const size_t end = std::min(candidate.find('_'), candidate.size());
    if (candidate.substr(0, end) == word) return true;
    candidate.remove_prefix(std::min(end + 1, candidate.size()));
  }
  return false;
}

std::optional<std::string_view> nearestWord(std::string_view word, std::span<const std::string_view> candidates) {
  size_t best = 1 + word.size() / 4;
  std::optional<std::string_view> nearest;
  for (const std::string_view candidate : candidates) {
    const size_t distance = editDistance(word, candidate);
    const bool sharesAnything = distance < std::max(word.size(), candidate.size());
    if (!sharesAnything || distance > best || (nearest && distance == best)) continue;
    best = distance;
    nearest = candidate;
  }
  if (nearest) return nearest;
  const auto whole =
      std::ranges::find_if(candidates, [&](std::string_view candidate) { return isPartOf(word, candidate); });
  return whole == candidates.end() ? nearest : *whole;
}

std::string suggestion(std::string_view word, std::span<const std::string_view> candidates) {
  const auto nearest = nearestWord(word, candidates);
  return nearest ? "did you mean \"" + std::string(*nearest) + "\"?" : std::string();
}

std::string spaced(std::string_view name) {
  std::string text(name);
  std::replace(text.begin(), text.end(), '_', ' ');
  return text;
}

std::string join(std::span<const std::string_view> words, std::string_view separator) {
  std::string joined;
  for (const std::string_view word : words) {
    if (!joined.empty()) joined += separator;
    joined += word;
  }
  return joined;
}

}  // namespace fibdb::program
