// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/unsaved.cc: see unsaved.h.
#include "tools/fibdb/shell/unsaved.h"

#include <cstddef>

#include "fibdb/fibdb.h"

namespace fibdb::program {
namespace {

// The program asks for itself, not for a command.
uint64_t changesOf(uint32_t table) {
  FibDbEngineTableStats stats{};
  if (fibdb_engine_table_stats(table, &stats) != FIB_DB_OK) return 0;  // not traced
  return stats.inserted + stats.replaced + stats.updated + stats.removed;
}

uint64_t changesOf(Part part) {
  const uint32_t routes = fibdb_engine_find_table("ip4forward");  // not traced
  if (part == Part::kRoutes) return changesOf(routes);
  uint64_t changes = 0;
  for (uint32_t table = 0; table < fibdb_engine_table_count(); ++table) {  // not traced
    if (table != routes) changes += changesOf(table);
  }
  return changes;
}

}  // namespace

// What is in an arena stays when the program has gone.
bool Unsaved::holds(Part part) const {
  FibDbEngineShared shared;
  if (fibdb_engine_shared(&shared) == FIB_DB_OK) return false;  // not traced
  return changesOf(part) != settled_[static_cast<size_t>(part)];
}

void Unsaved::settle(Part part) { settled_[static_cast<size_t>(part)] = changesOf(part); }

}  // namespace fibdb::program
