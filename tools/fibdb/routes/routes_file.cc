// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/routes_file.cc: see routes_file.h.
#include "tools/fibdb/routes/routes_file.h"

#include <algorithm>
#include <optional>

namespace fibdb::program {
namespace {

constexpr std::string_view kBlanks = " \t\r\v\f";

// Takes the next word off the front of rest; empty at the end.
std::string_view takeWord(std::string_view& rest) {
  rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
  const std::string_view word = rest.substr(0, rest.find_first_of(kBlanks));
  rest.remove_prefix(word.size());
  return word;
}

std::optional<LineFault> parseWord(std::string_view keyword, std::string_view number, uint32_t& word) {
  if (number.empty()) return fault(keyword, "a number is missing");
  const auto value = parseNumber(number, UINT32_MAX);
  if (!value) return fault(number, "not a number below 2^32");
  word = static_cast<uint32_t>(*value);
  return std::nullopt;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// AS15169 without its letters; any other word as it is.
std::string_view numberOf(std::string_view system) {
  const bool letters = system.size() > 2 && (system[0] | 0x20) == 'a' && (system[1] | 0x20) == 's';
  return system.substr(letters && isDigit(system[2]) ? 2 : 0);
}

// `origin-as N`, `origin-as ASN` or `ASN`, if that is what stands at word, which then moves behind it.
std::optional<LineFault> parseOrigin(std::string_view& word, std::string_view& rest, Route& route) {
  const bool named = word == "origin-as";
  if (!named && numberOf(word) == word) return std::nullopt;
  const std::string_view number = named ? takeWord(rest) : word;
  if (auto bad = parseWord(word, numberOf(number), route.origin)) return bad;
  word = takeWord(rest);
  return std::nullopt;
}

// What stands behind the prefix.
std::optional<LineFault> parseRest(std::string_view rest, Route& route) {
  std::string_view word = takeWord(rest);
  const bool grouped = word == "group";
  if (grouped) {
    if (auto bad = parseWord(word, takeWord(rest), route.group)) return bad;
    word = takeWord(rest);
  }
  const std::string_view origin = word;
  if (auto bad = parseOrigin(word, rest, route)) return bad;
  if (!grouped) route.group = route.origin % kOriginGroups;
  if (word.empty()) return std::nullopt;
  const bool nothingRead = !grouped && word.data() == origin.data();
  return fault(word, nothingRead ? "neither group nor origin-as" : "words after the route");
}

}  // namespace

ParsedLine parseRouteLine(std::string_view line) {
  if (line.find('\0') != std::string_view::npos) return fault(line, "binary content");
  std::string_view rest = line.substr(0, line.find('#'));
  const std::string_view prefix = takeWord(rest);
  if (prefix.empty()) return std::monostate();
  Route route;
  const PrefixFault wrong = parsePrefix(prefix, route.prefix);
  if (wrong != PrefixFault::kNone) return fault(prefix, faultText(wrong));
  if (auto bad = parseRest(rest, route)) return *bad;
  return route;
}

std::string formatRouteLine(const Route& route) {
  std::string line = formatPrefix(route.prefix);
  const bool said = route.origin != 0 && route.origin % kOriginGroups == route.group;
  if (!said) line += " group " + std::to_string(route.group);
  if (route.origin != 0) line += " origin-as " + std::to_string(route.origin);
  return line + '\n';
}

RoutesFileReport readRoutes(const std::string& file, Output& output, Progress& progress,
                            const std::function<void(const Route&)>& visit) {
  uint64_t routes = 0;
  const auto take = [&](std::string_view line, uint64_t number) -> std::optional<LineFault> {
    ParsedLine parsed = parseRouteLine(line);
    if (auto* route = std::get_if<Route>(&parsed)) {
      route->line = number;
      ++routes;
      visit(*route);
    }
    const auto* wrong = std::get_if<LineFault>(&parsed);
    return wrong == nullptr ? std::nullopt : std::optional(*wrong);
  };
  return {readLines(file, output, progress, take), routes};
}

}  // namespace fibdb::program
