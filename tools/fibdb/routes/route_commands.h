// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/route_commands.h: what other commands use of the route commands.
#ifndef FIBDB_TOOLS_ROUTE_COMMANDS_H
#define FIBDB_TOOLS_ROUTE_COMMANDS_H

#include <optional>
#include <string>

#include "tools/fibdb/routes/routes.h"
#include "tools/fibdb/routes/routes_file.h"
#include "tools/fibdb/shell/command.h"

namespace fibdb::program {

struct LoadSummary {
  RoutesFileReport report;
  LoadCounts counts;
  double seconds = 0;
  std::optional<FibDbEngineReplace> replace = {};  // what became of those that were there
  bool skipsBad = false;                           // lines that were bad are no failure

  uint64_t loaded() const { return counts.inserted + counts.replaced; }
  Status status() const;
};

// Loads a routes file through the batch path and reports every refusal; the summary is the caller's to show.
// keepsSame: as RouteLoader has it.
LoadSummary loadRoutesFile(Session& session, const std::string& file, const Vrf& vrf = {}, bool keepsSame = false);
void showLoadSummary(Session& session, const std::string& file, const LoadSummary& summary);

}  // namespace fibdb::program

#endif
