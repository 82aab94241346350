// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/rows.cc: see rows.h.
#include "tools/fibdb/tables/rows.h"

#include "tools/fibdb/base/call.h"

namespace fibdb::program {

std::optional<std::vector<FibDbEngineColumn>> columnsNamed(uint32_t table, std::span<const Field> fields) {
  std::vector<FibDbEngineColumn> columns;
  for (const Field& field : fields) {
    FibDbEngineColumn column{};
    const auto isIt = [&](uint32_t i) {
      return call<fibdb_engine_column>(table, i, &column) == FIB_DB_OK && field.name == column.name;
    };
    uint32_t i = 0;
    while (i < call<fibdb_engine_column_count>(table) && !isIt(i)) ++i;
    if (i == call<fibdb_engine_column_count>(table)) return std::nullopt;
    if (column.width * column.count != sizeOf(field.layout)) return std::nullopt;
    columns.push_back(column);
  }
  return columns;
}

}  // namespace fibdb::program
