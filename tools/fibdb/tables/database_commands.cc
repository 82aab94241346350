// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/database_commands.cc: any table of the database, its limits, and what was counted.
#include <algorithm>
#include <array>

#include "fibdb/fibdb.h"
#include "tools/fibdb/base/interrupt.h"
#include "tools/fibdb/shell/command.h"
#include "tools/fibdb/tables/field.h"

namespace fibdb::program {
namespace {

FibDbEngineTableStats statsOf(uint32_t table) {
  FibDbEngineTableStats stats{};
  const uint32_t code = fibdb_engine_table_stats(table, &stats);
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, "table " + std::to_string(table) + ": " + codeText(code));
  return stats;
}

std::vector<FibDbEngineColumn> columnsOf(uint32_t table) {
  std::vector<FibDbEngineColumn> columns(fibdb_engine_column_count(table));
  for (uint32_t i = 0; i < columns.size(); ++i) {
    const uint32_t code = fibdb_engine_column(table, i, &columns[i]);
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
    walk.output.row(std::move(values));
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
  const uint32_t code = fibdb_engine_walk(table, &TableWalk::visit, &walk);
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
  for (uint32_t table = 0; table < fibdb_engine_table_count(); ++table) {
    const FibDbEngineTableStats stats = statsOf(table);
    session.output.row({std::string(stats.name), stats.records, uint64_t{fibdb_engine_column_count(table)},
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

Value limitValue(uint64_t limit) { return limit == 0 ? Value() : Value(limit); }

Status setLimit(Session& session, Arguments& arguments) {
  constexpr std::array<std::string_view, 2> kWords{"records", "bytes"};
  const uint32_t table = arguments.table();
  FibDbEngineTableStats stats = statsOf(table);
  uint64_t& limit = arguments.keyword(kWords) == 0 ? stats.recordLimit : stats.memoryLimit;
  limit = arguments.number("a limit");
  arguments.end();
  const uint32_t code = fibdb_engine_set_limits(table, stats.recordLimit, stats.memoryLimit);
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, codeText(code));
  const auto shown = [](uint64_t value) { return value == 0 ? "any" : formatCount(value); };
  session.output.done(std::string(stats.name) + " may hold " + shown(stats.recordLimit) + " records, " +
                          shown(stats.memoryLimit) + " bytes",
                      {{"table", std::string(stats.name)},
                       {"record_limit", limitValue(stats.recordLimit)},
                       {"memory_limit", limitValue(stats.memoryLimit)}});
  return Status::kOk;
}

Value bytesPerRecord(const FibDbEngineTableStats& stats) {
  if (stats.records == 0) return {};
  return static_cast<double>(stats.bytes) / static_cast<double>(stats.records);
}

void showTableStats(Session& session) {
  session.output.beginList({"tables",
                            {{"table"},
                             {"records", Format::kCount},
                             {"record_limit", Format::kCount},
                             {"bytes", Format::kBytes},
                             {"memory_limit", Format::kBytes},
                             {"bytes_per_record", Format::kCount},
                             {"inserted", Format::kCount},
                             {"replaced", Format::kCount},
                             {"updated", Format::kCount},
                             {"removed", Format::kCount},
                             {"refused", Format::kAlarm}},
                            true});
  for (uint32_t table = 0; table < fibdb_engine_table_count(); ++table) {
    const FibDbEngineTableStats stats = statsOf(table);
    std::vector<Value> row{std::string(stats.name)};
    row.insert(row.end(), {stats.records, limitValue(stats.recordLimit), stats.bytes});
    row.insert(row.end(), {limitValue(stats.memoryLimit), bytesPerRecord(stats), stats.inserted});
    row.insert(row.end(), {stats.replaced, stats.updated, stats.removed, stats.refused});
    session.output.row(std::move(row));
  }
  session.output.endList();
}

// The connection exists from the first write of a route on.
void showConnection(Session& session) {
  FibDbEngineConnectionStats stats{};
  const uint64_t connection = FIB_DB_GetAsyncConn();
  if (connection == 0 || fibdb_engine_connection_stats(connection, &stats) != FIB_DB_OK) return;
  session.output.record("connection", {{"batch_limit", stats.batchLimit, Format::kCount},
                                       {"queue_limit", stats.queueLimit, Format::kCount},
                                       {"waiting", stats.waiting, Format::kCount},
                                       {"batches", stats.batches, Format::kCount},
                                       {"operations", stats.operations, Format::kCount},
                                       {"failed", stats.failed, Format::kAlarm},
                                       {"refused_batches", stats.refusedBatches, Format::kCount}});
}

Status showEngine(Session& session, Arguments& arguments) {
  arguments.end();
  showTableStats(session);
  FibDbEngineArenaStats arena{};
  const uint32_t code = fibdb_engine_arena_stats(&arena);
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, codeText(code));
  session.output.record("arena", {{"reserved", arena.reserved, Format::kBytes},
                                  {"used", arena.used, Format::kBytes},
                                  {"objects", arena.objects, Format::kCount},
                                  {"connections", arena.connections, Format::kCount}});
  showConnection(session);
  return Status::kOk;
}

// In the order of FibDbTableId.
constexpr std::array kErrorRows{"ip4forward", "nhp_group",      "nhp_group_node", "nhp",
                                "nhp_std",    "nhp_vpn",        "nhp_vxlan",      "nhp_ext",
                                "reserved",   "nhp_lla",        "re4_default",    "meth_local_route",
                                "vrf",        "global_cfg",     "ecmp_cfg",       "vrf_class_data",
                                "nhp_vpnsid", "pp4ext_srv6_te", "nhp_group_ftn"};
static_assert(kErrorRows.size() == FIB_DB_TABLE_COUNT);

Status showErrors(Session& session, Arguments& arguments) {
  arguments.end();
  ListHead head{"failures", {{"table"}}, true};
  for (uint32_t oper = 0; oper < FIB_DB_OPER_COUNT; ++oper) {
    head.columns.push_back({FIB_DB_GetDbErrOprStr(oper), Format::kAlarm});
  }
  session.output.beginList(std::move(head));
  for (size_t table = 0; table < kErrorRows.size(); ++table) {
    std::vector<Value> row{std::string(kErrorRows[table])};
    for (const uint32_t failures : g_fibDbErrStat[table]) row.push_back(uint64_t{failures});
    session.output.row(std::move(row));
  }
  session.output.endList();
  session.output.record("asked to try again",
                        {{"route_write_retries", uint64_t{g_ip4WriteDbSetDataRetry}, Format::kAlarm},
                         {"route_remove_retries", uint64_t{g_ip4RemoveDbAddOperRetry}, Format::kAlarm}});
  return Status::kOk;
}

constexpr Command kCommands[] = {
    {"show table", "TABLE [limit N]", "the records of any table, column by column",
     "Records come in no particular order. Blocks of bytes are hexadecimal.", showTable},
    {"show tables", "", "the tables of the database", "", showTables},
    {"count", "TABLE", "how many records a table holds", "", countTable},
    {"set limit", "TABLE records N | bytes N", "limit a table; 0 lifts the limit",
     "At the limit a new record is refused; everything stored stays.", setLimit},
    {"show engine", "", "memory, limits and counters of the database", "", showEngine},
    {"show errors", "", "failures that the library counted, by table and operation", "", showErrors},
};

}  // namespace

std::span<const Command> databaseCommands() { return kCommands; }

}  // namespace fibdb::program
