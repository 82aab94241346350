// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/metrics.cc: the engine's statistics as OpenMetrics text.
#include <cstdarg>
#include <cstdio>

#include "engine/client/batch.h"
#include "fibdb/engine.h"
#include "platform/schema/catalog.h"

namespace fibdb {
namespace {

// Text into a caller's buffer, of which the length is known even where there is no room for it.
class Text {
 public:
  Text(char* buffer, size_t size) : buffer_(buffer), size_(size) {}

  __attribute__((format(printf, 2, 3))) void add(const char* format, ...) {
    const size_t room = length_ < size_ ? size_ - length_ : 0;
    va_list arguments;
    va_start(arguments, format);
    const int added = std::vsnprintf(room > 0 ? buffer_ + length_ : nullptr, room, format, arguments);
    va_end(arguments);
    if (added > 0) length_ += static_cast<size_t>(added);
  }

  void family(const char* name, const char* type, const char* unit, const char* help) {
    add("# TYPE %s %s\n", name, type);
    if (unit[0] != '\0') add("# UNIT %s %s\n", name, unit);
    add("# HELP %s %s\n", name, help);
  }

  // A family of one sample.
  void gauge(const char* name, const char* unit, const char* help, uint64_t number) {
    family(name, "gauge", unit, help);
    add("%s %llu\n", name, static_cast<unsigned long long>(number));
  }
  void counter(const char* name, const char* help, uint64_t number) {
    family(name, "counter", "", help);
    add("%s_total %llu\n", name, static_cast<unsigned long long>(number));
  }

  size_t length() const { return length_; }

 private:
  char* const buffer_;
  const size_t size_;
  size_t length_ = 0;
};

// A family with a sample for every table.
struct TableFamily {
  const char* name;
  const char* unit;
  const char* help;
  uint64_t FibDbEngineTableStats::*value;
  bool zeroIsNone;  // of limits: without one there is no sample
};
constexpr TableFamily kTableFamilies[] = {
    {"fibdb_table_records", "", "Records stored.", &FibDbEngineTableStats::records, false},
    {"fibdb_table_bytes", "bytes", "Memory held: records, indexes, free and resting blocks.",
     &FibDbEngineTableStats::bytes, false},
    {"fibdb_table_record_limit", "", "Records that may be stored.", &FibDbEngineTableStats::recordLimit, true},
    {"fibdb_table_memory_limit_bytes", "bytes", "Memory that may be held.", &FibDbEngineTableStats::memoryLimit, true},
};

struct Outcome {
  const char* name;
  uint64_t FibDbEngineTableStats::*value;
};
constexpr Outcome kOutcomes[] = {
    {"inserted", &FibDbEngineTableStats::inserted}, {"replaced", &FibDbEngineTableStats::replaced},
    {"updated", &FibDbEngineTableStats::updated},   {"removed", &FibDbEngineTableStats::removed},
    {"refused", &FibDbEngineTableStats::refused},
};

using AllTables = FibDbEngineTableStats[schema::kTableCount];

void addTables(Text& text, const AllTables& tables) {
  for (const TableFamily& family : kTableFamilies) {
    text.family(family.name, "gauge", family.unit, family.help);
    for (const FibDbEngineTableStats& table : tables) {
      const auto number = static_cast<unsigned long long>(table.*family.value);
      if (number == 0 && family.zeroIsNone) continue;
      text.add("%s{table=\"%s\"} %llu\n", family.name, table.name, number);
    }
  }
  text.family("fibdb_table_writes", "counter", "", "Writes by outcome; refused: at a limit.");
  for (const FibDbEngineTableStats& table : tables) {
    for (const Outcome& outcome : kOutcomes) {
      text.add("fibdb_table_writes_total{table=\"%s\",outcome=\"%s\"} %llu\n", table.name, outcome.name,
               static_cast<unsigned long long>(table.*outcome.value));
    }
  }
}

void addArena(Text& text, const FibDbEngineArenaStats& arena) {
  text.gauge("fibdb_arena_reserved_bytes", "bytes", "Address space of all tables.", arena.reserved);
  text.gauge("fibdb_arena_used_bytes", "bytes", "Memory handed to tables.", arena.used);
  text.gauge("fibdb_objects", "", "Table objects alive.", arena.objects);
  text.gauge("fibdb_connections", "", "Asynchronous connections open.", arena.connections);
}

void addBatches(Text& text, const FibDbEngineConnectionStats& batches) {
  text.gauge("fibdb_batches_waiting", "", "Batches handed over and not yet applied.", batches.waiting);
  text.counter("fibdb_batches", "Batches applied.", batches.batches);
  text.counter("fibdb_batches_refused", "Batches that found the queue full.", batches.refusedBatches);
  text.counter("fibdb_batch_operations", "Operations of applied batches, failed ones included.", batches.operations);
  text.counter("fibdb_batch_operations_failed", "Operations of applied batches that failed.", batches.failed);
}

}  // namespace
}  // namespace fibdb

using namespace fibdb;

uint32_t fibdb_engine_metrics(char* buffer, size_t size, size_t* length) {
  if (length == nullptr || (buffer == nullptr && size != 0)) return DB_ERR_NULL_ARGUMENT;
  AllTables tables{};
  FibDbEngineArenaStats arena{};
  for (uint32_t table = 0; table < schema::kTableCount; ++table) {
    if (const uint32_t code = fibdb_engine_table_stats(table, &tables[table])) return code;
  }
  if (const uint32_t code = fibdb_engine_arena_stats(&arena)) return code;
  Text text(buffer, size);
  addTables(text, tables);
  addArena(text, arena);
  addBatches(text, client::batchTotals());
  text.add("# EOF\n");
  *length = text.length();
  return *length < size ? 0 : uint32_t{DB_ERR_BAD_LENGTH};
}
