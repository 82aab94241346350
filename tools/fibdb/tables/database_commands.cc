// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/database_commands.cc: any table of the database, its limits, and its end.
#include <array>

#include "fibdb/fibdb.h"
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/base/interrupt.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/text.h"
#include "tools/fibdb/shell/command.h"
#include "tools/fibdb/tables/field.h"
#include "tools/fibdb/tables/table_stats.h"

namespace fibdb::program {
namespace {

std::vector<FibDbEngineColumn> columnsOf(uint32_t table) {
  std::vector<FibDbEngineColumn> columns(call<fibdb_engine_column_count>(table));
  for (uint32_t i = 0; i < columns.size(); ++i) {
    const uint32_t code = call<fibdb_engine_column>(table, i, &columns[i]);
    if (code != FIB_DB_OK) throw Failure(Status::kFailed, "column " + std::to_string(i) + ": " + codeText(code));
  }
  return columns;
}

Layout layoutOf(const FibDbEngineColumn& column) {
  const bool address = std::string_view(column.name) == "dest_ip_addr";
  const Kind number = address ? Kind::kAddress : Kind::kNumber;
  return {column.kind == FIBDB_ENGINE_BYTES ? Kind::kBytes : number, column.width, column.count};
}

// Shows rows until the walk ends, the limit is reached, or Ctrl-C stops it.
struct TableWalk {
  Output& output;
  std::vector<FibDbEngineColumn> columns;
  uint64_t left;

  static int visit(const void* row, uint32_t, void* context) {
    auto& walk = *static_cast<TableWalk*>(context);
    if (walk.left == 0 || interrupted()) return 1;
    std::vector<Value> values;
    values.reserve(walk.columns.size());
    for (const auto& column : walk.columns) {
      values.push_back(valueAt(static_cast<const unsigned char*>(row) + column.offset, layoutOf(column)));
    }
    walk.output.row(values);
    --walk.left;
    return 0;
  }
};

Status showTable(Session& session, Arguments& arguments) {
  const uint32_t table = arguments.table();
  uint64_t limit = UINT64_MAX;
  if (!arguments.empty()) {
    constexpr std::array<std::string_view, 1> kWords{"limit"};
    arguments.keyword(kWords);
    limit = arguments.number("a number of rows");
  }
  arguments.end();
  TableWalk walk{session.output, columnsOf(table), limit};
  ListHead head{std::string("records in ") + statsOf(table).name, {}};
  for (const auto& column : walk.columns) head.columns.push_back({column.name});
  session.output.beginList(std::move(head));
  const uint32_t code = call<fibdb_engine_walk>(table, &TableWalk::visit, &walk);
  session.output.endList();
  checkInterrupt();
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, codeText(code));
  return Status::kOk;
}

Status showTables(Session& session, Arguments& arguments) {
  arguments.end();
  session.output.beginList({"tables",
                            {{"table"},
                             {"records", Format::kCount},
                             {"columns", Format::kCount},
                             {"indexes", Format::kCount},
                             {"row_bytes", Format::kCount}}});
  for (uint32_t table = 0; table < call<fibdb_engine_table_count>(); ++table) {
    const FibDbEngineTableStats stats = statsOf(table);
    session.output.row({std::string(stats.name), stats.records, uint64_t{call<fibdb_engine_column_count>(table)},
                        uint64_t{stats.indexCount}, uint64_t{stats.rowLength}});
  }
  session.output.endList();
  return Status::kOk;
}

Status countTable(Session& session, Arguments& arguments) {
  const FibDbEngineTableStats stats = statsOf(arguments.table());
  arguments.end();
  session.output.result(formatCount(stats.records), {{"table", std::string(stats.name)}, {"records", stats.records}});
  return Status::kOk;
}

Status setLimit(Session& session, Arguments& arguments) {
  constexpr std::array<std::string_view, 2> kWords{"records", "bytes"};
  const uint32_t table = arguments.table();
  FibDbEngineTableStats stats = statsOf(table);
  uint64_t& limit = arguments.keyword(kWords) == 0 ? stats.recordLimit : stats.memoryLimit;
  limit = arguments.number("a limit");
  arguments.end();
  const uint32_t code = call<fibdb_engine_set_limits>(table, stats.recordLimit, stats.memoryLimit);
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, codeText(code));
  const auto shown = [](uint64_t value) { return value == 0 ? "any" : formatCount(value); };
  session.output.done(std::string(stats.name) + " may hold " + shown(stats.recordLimit) + " records, " +
                          shown(stats.memoryLimit) + " bytes",
                      {{"table", std::string(stats.name)},
                       {"record_limit", limitValue(stats.recordLimit)},
                       {"memory_limit", limitValue(stats.memoryLimit)}});
  return Status::kOk;
}

Status clearTable(Session& session, Arguments& arguments) {
  const uint32_t table = arguments.table();
  arguments.end();
  uint64_t removed = 0;
  const uint32_t code = call<fibdb_engine_clear>(table, &removed);
  const std::string name = statsOf(table).name;
  if (code != FIB_DB_OK) {
    throw Failure(Status::kFailed, name + " after " + counted(removed, "record") + ": " + codeText(code));
  }
  session.output.result(counted(removed, "record") + " removed from " + name, {{"table", name}, {"removed", removed}});
  return Status::kOk;
}

constexpr Command kCommands[] = {
    {"show table", "TABLE [limit N]", "the records of any table, column by column",
     "Records come in no particular order. Blocks of bytes are hexadecimal.", showTable},
    {"show tables", "", "the tables of the database", "", showTables},
    {"count", "TABLE", "how many records a table holds", "", countTable},
    {"set limit", "TABLE records N | bytes N", "limit a table; 0 lifts the limit",
     "At the limit a new record is refused; everything stored stays.", setLimit},
    {"clear", "TABLE", "remove every record of a table",
     "Its limits and counters stay. What refers to the records, and is in other tables, stays, too.", clearTable},
};

}  // namespace

std::span<const Command> databaseCommands() { return kCommands; }

}  // namespace fibdb::program
