// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/routes_file.h: the text form of a routing table.
//
// DESCRIPTION: one route a line, `prefix[/length] [group N] [origin-as N]`; blank lines and # comments are skipped.
// An origin without a group stands for group N mod 256. `default` is 0.0.0.0/0, and AS15169 the same as
// `origin-as 15169`.
#ifndef FIBDB_TOOLS_ROUTES_FILE_H
#define FIBDB_TOOLS_ROUTES_FILE_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <variant>

#include "tools/fibdb/base/words.h"
#include "tools/fibdb/files/lines.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/progress.h"

namespace fibdb::program {

inline constexpr uint32_t kOriginGroups = 256;

struct Route {
  Prefix prefix;
  uint32_t group = 0;
  uint64_t line = 0;    // 0: no file
  uint32_t origin = 0;  // an autonomous system; 0: not said

  bool operator==(const Route&) const = default;
};

// Nothing: a blank line or a comment.
using ParsedLine = std::variant<std::monostate, Route, LineFault>;
ParsedLine parseRouteLine(std::string_view line);

// What `save routes` writes and parseRouteLine reads. The group is left out where the origin says it.
std::string formatRouteLine(const Route& route);

struct RoutesFileReport : FileReport {
  uint64_t routes = 0;
};

// Hands every route of the file to visit; see readLines for what becomes of bad lines.
RoutesFileReport readRoutes(const std::string& file, Output& output, Progress& progress,
                            const std::function<void(const Route&)>& visit);

}  // namespace fibdb::program

#endif
