// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/statistics_commands.cc: what the engine and the library counted, for people and for collectors.
#include <array>
#include <cstdio>
#include <optional>

#include "fibdb/fibdb.h"
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/base/clock.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/text.h"
#include "tools/fibdb/shell/command.h"
#include "tools/fibdb/tables/table_stats.h"

namespace fibdb::program {
namespace {

constexpr uint64_t kMicro = 1'000'000;

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
  for (uint32_t table = 0; table < call<fibdb_engine_table_count>(); ++table) {
    const FibDbEngineTableStats stats = statsOf(table);
    std::vector<Value> row{std::string(stats.name)};
    row.insert(row.end(), {stats.records, limitValue(stats.recordLimit), stats.bytes});
    row.insert(row.end(), {limitValue(stats.memoryLimit), bytesPerRecord(stats), stats.inserted});
    row.insert(row.end(), {stats.replaced, stats.updated, stats.removed, stats.refused});
    session.output.row(row);
  }
  session.output.endList();
}

// A list of one row: one thing with its properties, beside other lists.
void showOne(Session& session, const std::string& name, const std::vector<Fact>& facts) {
  ListHead head{name, {}, true};
  std::vector<Value> row;
  for (const Fact& fact : facts) {
    head.columns.push_back({fact.name, fact.format});
    row.push_back(fact.value);
  }
  session.output.beginList(std::move(head));
  session.output.row(row);
  session.output.endList();
}

// The library's connection exists from the first write of a route on.
std::optional<FibDbEngineConnectionStats> connectionStats() {
  FibDbEngineConnectionStats stats{};
  const uint64_t connection = FIB_DB_GetAsyncConn();
  if (connection == 0 || call<fibdb_engine_connection_stats>(connection, &stats) != FIB_DB_OK) return std::nullopt;
  return stats;
}

struct Structure {
  std::string name;
  uint32_t index;
  uint64_t bytes;
};

// An index by its id.
std::string nameOf(const Structure& structure) {
  if (structure.index == 0) return structure.name;
  char id[16];
  std::snprintf(id, sizeof id, " 0x%08X", structure.index);
  return structure.name + id;
}

void showStructuresOf(Session& session, uint32_t table) {
  std::vector<Structure> structures;
  const auto keep = [](const char* name, uint32_t index, uint64_t bytes, void* to) {
    static_cast<std::vector<Structure>*>(to)->push_back({name, index, bytes});
    return 0;
  };
  const FibDbEngineTableStats stats = statsOf(table);
  const uint32_t code = call<fibdb_engine_structures>(table, keep, &structures);
  if (code == DB_ERR_OVERTAKEN) return session.output.row({std::string(stats.name), codeText(code), {}, {}});
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, std::string(stats.name) + ": " + codeText(code));
  for (const Structure& structure : structures) {
    Value perRecord;
    if (stats.records > 0) perRecord = static_cast<double>(structure.bytes) / static_cast<double>(stats.records);
    session.output.row({std::string(stats.name), nameOf(structure), structure.bytes, perRecord});
  }
}

// Each table is walked through from end to end, so it takes a while.
Status showStructures(Session& session) {
  session.output.beginList(
      {"structures", {{"table"}, {"structure"}, {"bytes", Format::kBytes}, {"bytes_per_record", Format::kCount}}});
  for (uint32_t table = 0; table < call<fibdb_engine_table_count>(); ++table) showStructuresOf(session, table);
  session.output.endList();
  return Status::kOk;
}

Status showEngine(Session& session, Arguments& arguments) {
  if (arguments.lastKeyword("structures")) return showStructures(session);
  showTableStats(session);
  FibDbEngineArenaStats arena{};
  const uint32_t code = call<fibdb_engine_arena_stats>(&arena);
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, codeText(code));
  showOne(session, "arena",
          {{"reserved", arena.reserved, Format::kBytes},
           {"used", arena.used, Format::kBytes},
           {"objects", arena.objects, Format::kCount},
           {"connections", arena.connections, Format::kCount}});
  FibDbEngineShared shared{};
  if (call<fibdb_engine_shared>(&shared) == FIB_DB_OK) {
    showOne(session, "shared",
            {{"file", std::string(shared.path)},
             {"created", timeText(static_cast<std::time_t>(shared.createdAt / kMicro))},
             {"read_only", shared.readOnly != 0},
             {"repairs", shared.repairs, Format::kCount},
             {"writes_refused", shared.refused, Format::kAlarm}});
  }
  if (const auto connection = connectionStats()) {
    showOne(session, "connection",
            {{"batch_limit", connection->batchLimit, Format::kCount},
             {"queue_limit", connection->queueLimit, Format::kCount},
             {"waiting", connection->waiting, Format::kCount},
             {"batches", connection->batches, Format::kCount},
             {"operations", connection->operations, Format::kCount},
             {"failed", connection->failed, Format::kAlarm},
             {"refused_batches", connection->refusedBatches, Format::kCount}});
  }
  return Status::kOk;
}

struct Finding {
  std::string table, text;
};

// A check that not every table stood still for has not found the engine in order.
Status checkEngine(Session& session, Arguments& arguments) {
  arguments.end();
  std::vector<Finding> findings;
  const auto keep = [](const char* table, const char* finding, void* to) {
    const char* const text = finding == nullptr ? "not checked: it was being written at every look" : finding;
    static_cast<std::vector<Finding>*>(to)->push_back({table, text});
    return 0;
  };
  FibDbEngineCheck check{};
  const uint32_t code = call<fibdb_engine_check>(keep, &findings, &check);
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, codeText(code));
  if (!findings.empty()) {
    session.output.beginList({"findings", {{"table"}, {"finding"}}});
    for (const Finding& finding : findings) session.output.row({finding.table, finding.text});
    session.output.endList();
  }
  session.output.result(counted(check.tables, "table") + " checked, " + counted(check.records, "record") + " in " +
                            counted(check.blocks, "block") + " of memory: " + counted(check.findings, "finding") +
                            (check.overtaken > 0 ? ", " + counted(check.overtaken, "table") + " not checked" : ""),
                        {{"tables", uint64_t{check.tables}},
                         {"overtaken", uint64_t{check.overtaken}},
                         {"records", check.records},
                         {"blocks", check.blocks},
                         {"findings", check.findings}});
  return check.findings + check.overtaken > 0 ? Status::kFailed : Status::kOk;
}

// In the order of FibDbTableId.
constexpr std::array kErrorRows{"ip4forward", "nhp_group",      "nhp_group_node", "nhp",
                                "nhp_std",    "nhp_vpn",        "nhp_vxlan",      "nhp_ext",
                                "reserved",   "nhp_lla",        "re4_default",    "meth_local_route",
                                "vrf",        "global_cfg",     "ecmp_cfg",       "vrf_class_data",
                                "nhp_vpnsid", "pp4ext_srv6_te", "nhp_group_ftn"};
static_assert(kErrorRows.size() == FIB_DB_TABLE_COUNT);

uint64_t refusedWrites() {
  uint64_t refused = 0;
  for (uint32_t table = 0; table < call<fibdb_engine_table_count>(); ++table) refused += statsOf(table).refused;
  return refused;
}

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
    session.output.row(row);
  }
  session.output.endList();
  // What the matrix cannot know: nobody in the library learns of it.
  const FibDbEngineConnectionStats connection = connectionStats().value_or(FibDbEngineConnectionStats{});
  session.output.beginList({"elsewhere", {{"failures"}, {"count", Format::kAlarm}, {"counted_in"}}, true});
  const auto add = [&](const char* what, uint64_t count, const char* where) {
    session.output.row({std::string(what), count, std::string(where)});
  };
  add("operations refused inside batches", connection.failed, "show engine: failed, of the connection");
  add("batches that found the queue full", connection.refusedBatches, "show engine: refused batches");
  add("writes refused at a limit", refusedWrites(), "show engine: refused, of each table");
  add("route writes asked to try again", g_ip4WriteDbSetDataRetry, "g_ip4WriteDbSetDataRetry");
  add("route removals asked to try again", g_ip4RemoveDbAddOperRetry, "g_ip4RemoveDbAddOperRetry");
  session.output.endList();
  return Status::kOk;
}

std::string engineMetrics() {
  std::string text;
  size_t length = 0;
  uint32_t code = call<fibdb_engine_metrics>(nullptr, 0, &length);
  // Numbers may have grown by a digit until the next look.
  while (code == DB_ERR_BAD_LENGTH) {
    text.resize(length + 1);
    code = call<fibdb_engine_metrics>(text.data(), text.size(), &length);
  }
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, codeText(code));
  text.resize(length);
  return text;
}

std::string errorMetrics() {
  std::string text = "# TYPE fibdb_errors counter\n# HELP fibdb_errors Failures that the library counted.\n";
  for (size_t table = 0; table < kErrorRows.size(); ++table) {
    for (uint32_t oper = 0; oper < FIB_DB_OPER_COUNT; ++oper) {
      text += std::string("fibdb_errors_total{table=\"") + kErrorRows[table] + "\",operation=\"" +
              FIB_DB_GetDbErrOprStr(oper) + "\"} " + std::to_string(g_fibDbErrStat[table][oper]) + '\n';
    }
  }
  return text + "# TYPE fibdb_route_retries counter\n# HELP fibdb_route_retries Adds that found the batch full.\n" +
         "fibdb_route_retries_total{operation=\"write\"} " + std::to_string(g_ip4WriteDbSetDataRetry) + '\n' +
         "fibdb_route_retries_total{operation=\"remove\"} " + std::to_string(g_ip4RemoveDbAddOperRetry) + '\n';
}

// The engine's text, the library's counters before its closing line.
Status showMetrics(Session& session, Arguments& arguments) {
  constexpr std::string_view kEnd = "# EOF";
  arguments.end();
  std::string text = engineMetrics();
  text.insert(text.rfind(kEnd), errorMetrics());
  text.pop_back();  // a result ends its last line itself
  session.output.result(text, {{"metrics", text}});
  return Status::kOk;
}

constexpr Command kCommands[] = {
    {"show engine", "[structures]", "memory, limits and counters of the database",
     "structures: where the memory of each table went, to its records, to each index by its id, and to what is free\n"
     "or rests until no reader can look at it any more. Every word is looked at, as by check engine.",
     showEngine},
    {"show errors", "", "failures that the library counted, and where others are counted",
     "The library counts by table and operation. It does not learn of what the engine refuses inside a batch;\n"
     "the second list says how much that was, and where it is counted.",
     showErrors},
    {"show metrics", "", "the counters of the engine and the library as OpenMetrics text", "", showMetrics},
    {"check engine", "", "check every word of the database: who owns it, and whether indexes and counts agree",
     "Each finding is a line; numbers behind a colon are places in the arena, in units of 16 bytes. Nothing is\n"
     "changed, and writers go on: a table that they do not leave alone long enough is said not to be checked.",
     checkEngine},
};

}  // namespace

std::span<const Command> statisticsCommands() { return kCommands; }

}  // namespace fibdb::program
