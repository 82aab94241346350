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

// `group N` or `origin-as N`.
std::optional<LineFault> parseGroup(std::string_view keyword, std::string_view number, uint32_t& group) {
  const bool origin = keyword == "origin-as";
  if (!origin && keyword != "group") return fault(keyword, "neither group nor origin-as");
  if (number.empty()) return fault(keyword, "a number is missing");
  const auto value = parseNumber(number, UINT32_MAX);
  if (!value) return fault(number, "not a number below 2^32");
  group = static_cast<uint32_t>(origin ? *value % kOriginGroups : *value);
  return std::nullopt;
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
  const std::string_view keyword = takeWord(rest);
  if (keyword.empty()) return route;
  const std::string_view number = takeWord(rest);
  if (auto bad = parseGroup(keyword, number, route.group)) return *bad;
  const std::string_view trailing = takeWord(rest);
  if (!trailing.empty()) return fault(trailing, "words after the route");
  return route;
}

std::string formatRouteLine(const Route& route) {
  return formatPrefix(route.prefix) + " group " + std::to_string(route.group) + '\n';
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
