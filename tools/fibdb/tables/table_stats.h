// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/table_stats.h: what the engine says of a table.
#ifndef FIBDB_TOOLS_TABLE_STATS_H
#define FIBDB_TOOLS_TABLE_STATS_H

#include "fibdb/engine.h"
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/output/answer.h"
#include "tools/fibdb/shell/command.h"

namespace fibdb::program {

inline FibDbEngineTableStats statsOf(uint32_t table) {
  FibDbEngineTableStats stats{};
  const uint32_t code = call<fibdb_engine_table_stats>(table, &stats);
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, "table " + std::to_string(table) + ": " + codeText(code));
  return stats;
}

inline Value limitValue(uint64_t limit) { return limit == 0 ? Value() : Value(limit); }

}  // namespace fibdb::program

#endif
