// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/rows.h: records found through the rows of the database, in tables that the library does not list.
#ifndef FIBDB_TOOLS_ROWS_H
#define FIBDB_TOOLS_ROWS_H

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

#include "fibdb/engine.h"
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/tables/record_table.h"

namespace fibdb::program {

// The columns of a table that have these fields' names, in the order of the fields. Nothing when one is missing or of
// another size.
std::optional<std::vector<FibDbEngineColumn>> columnsNamed(uint32_t table, std::span<const Field> fields);

// Every row of a table as an item of which these fields are filled, by the columns of their names. Nothing on failure.
template <class Item>
std::optional<std::vector<Item>> itemsOfRows(const char* name, std::span<const Field> fields) {
  struct Reading {
    std::span<const Field> fields;
    std::vector<FibDbEngineColumn> columns;
    std::vector<Item> items = {};
  };
  const uint32_t table = call<fibdb_engine_find_table>(name);
  auto columns = columnsNamed(table, fields);
  if (!columns) return std::nullopt;
  Reading reading{fields, std::move(*columns)};
  const auto visit = [](const void* row, uint32_t, void* context) {
    auto& to = *static_cast<Reading*>(context);
    Item& item = to.items.emplace_back();
    for (size_t i = 0; i < to.fields.size(); ++i) {
      const auto* place = static_cast<const unsigned char*>(row) + to.columns[i].offset;
      std::memcpy(to.fields[i].at(&item), place, sizeOf(to.fields[i].layout));
    }
    return 0;
  };
  if (call<fibdb_engine_walk>(table, visit, &reading) != FIB_DB_OK) return std::nullopt;
  return std::move(reading.items);
}

// The same, with the fields as the key by which the library reads each record whole. One that went meanwhile is left
// out.
template <auto kRead, uint32_t kMissing, class Item = typename ItemOf<decltype(kRead)>::type>
std::optional<std::vector<Item>> recordsOfRows(const char* name, std::span<const Field> keys) {
  auto items = itemsOfRows<Item>(name, keys);
  if (!items) return std::nullopt;
  bool failed = false;
  std::erase_if(*items, [&](Item& item) {
    const uint32_t code = kRead(&item);
    failed = failed || (code != FIB_DB_OK && code != kMissing);
    return code != FIB_DB_OK;
  });
  return failed ? std::nullopt : std::move(items);
}

}  // namespace fibdb::program

#endif
