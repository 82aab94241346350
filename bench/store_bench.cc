// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/store_bench.cc: what the store does on one core with a table of a million routes.
//
// The routes are /24 networks, spread over the address space; 256 groups take them in turn. Lookups come in a
// random order, over the whole table or over a few thousand routes that stay in the caches, as traffic does.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "engine/store/table.h"

namespace {

using namespace fibdb;

constexpr size_t kRoutes = 1'000'000;
constexpr size_t kFewRoutes = 4096;
constexpr uint32_t kGroups = 256;
constexpr auto& kLayout = schema::kTables[static_cast<size_t>(schema::TableId::ip4forward)];
constexpr size_t kRowLength = kLayout.rowLength;
constexpr size_t kAddrOffset = schema::offsetOf(kLayout.fields, "dest_ip_addr");
constexpr size_t kMaskOffset = schema::offsetOf(kLayout.fields, "mask_len");
constexpr size_t kGroupOffset = schema::offsetOf(kLayout.fields, "attr_word_a");

struct Row {
  uint8_t bytes[kRowLength];
};

// Packed keys are the row's first bytes: vr_id, vrf_index, dest_ip_addr, mask_len.
constexpr size_t kKeyLength = kLayout.primary().keyLength;
static_assert(kMaskOffset + 1 == kKeyLength);

const schema::Index& indexOfKind(schema::IndexKind kind) {
  return *std::ranges::find(kLayout.indexes, kind, &schema::Index::kind);
}

std::vector<Row> makeRows() {
  std::mt19937 random(42);
  std::vector<uint32_t> networks(kRoutes + kRoutes / 8);
  for (uint32_t& network : networks) network = static_cast<uint32_t>(random()) & 0xFFFFFF00;
  std::ranges::sort(networks);
  networks.erase(std::unique(networks.begin(), networks.end()), networks.end());
  networks.resize(kRoutes);
  std::vector<Row> rows(kRoutes);
  for (size_t i = 0; i < kRoutes; ++i) {
    std::memset(&rows[i], 0, sizeof rows[i]);
    const uint32_t group = static_cast<uint32_t>(i) % kGroups;
    std::memcpy(rows[i].bytes + kAddrOffset, &networks[i], sizeof networks[i]);
    rows[i].bytes[kMaskOffset] = 24;
    std::memcpy(rows[i].bytes + kGroupOffset, &group, sizeof group);
  }
  return rows;
}

const std::vector<Row>& sortedRows() {
  static const std::vector<Row> rows = makeRows();
  return rows;
}

const std::vector<Row>& shuffledRows() {
  static const std::vector<Row> rows = [] {
    std::vector<Row> shuffled = sortedRows();
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(43));
    return shuffled;
  }();
  return rows;
}

store::Table& emptyTable() {
  store::Store::instance().clear();
  return store::Store::instance().table(static_cast<size_t>(schema::TableId::ip4forward));
}

store::Table& fullTable() {
  store::Table& table = emptyTable();
  store::Change change;
  for (const Row& row : sortedRows()) table.write(row.bytes, change);
  return table;
}

void load(benchmark::State& state, const std::vector<Row>& rows) {
  store::TableStats stats;
  for (auto _ : state) {
    state.PauseTiming();
    store::Table& table = emptyTable();
    state.ResumeTiming();
    store::Change change;
    for (const Row& row : rows) {
      if (table.write(row.bytes, change) != 0) return state.SkipWithError("write failed");
    }
    stats = table.stats();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(rows.size()));
  state.counters["bytes/route"] = static_cast<double>(stats.bytes) / static_cast<double>(stats.records);
}

void LoadSorted(benchmark::State& state) { load(state, sortedRows()); }
void LoadRandom(benchmark::State& state) { load(state, shuffledRows()); }

void Replace(benchmark::State& state) {
  store::Table& table = fullTable();
  size_t i = 0;
  store::Change change;
  for (auto _ : state) {
    benchmark::DoNotOptimize(table.write(sortedRows()[i].bytes, change));
    i = i + 1 == kRoutes ? 0 : i + 1;
  }
  state.SetItemsProcessed(state.iterations());
}

// state.range(0): over how many routes the lookups spread.
void LongestPrefix(benchmark::State& state) {
  const store::Table& table = fullTable();
  const schema::Index& index = indexOfKind(schema::IndexKind::kLongest);
  const auto spread = static_cast<size_t>(state.range(0));
  size_t i = 0;
  Row row;
  for (auto _ : state) {
    uint8_t key[kKeyLength];
    std::memcpy(key, shuffledRows()[i].bytes, sizeof key);
    key[kAddrOffset] = 77;
    key[kMaskOffset] = 32;
    store::Cursor cursor;
    if (cursor.openKey(table, index, key) != 0 || cursor.next(row.bytes) != 0) return state.SkipWithError("no route");
    benchmark::DoNotOptimize(row);
    i = i + 1 == spread ? 0 : i + 1;
  }
  state.SetItemsProcessed(state.iterations());
}

void ReadByKey(benchmark::State& state) {
  const store::Table& table = fullTable();
  const auto spread = static_cast<size_t>(state.range(0));
  size_t i = 0;
  Row row;
  for (auto _ : state) {
    if (table.read(kLayout.primary(), shuffledRows()[i].bytes, row.bytes) != 0) return state.SkipWithError("no route");
    benchmark::DoNotOptimize(row);
    i = i + 1 == spread ? 0 : i + 1;
  }
  state.SetItemsProcessed(state.iterations());
}

template <class Open>
void walk(benchmark::State& state, Open&& open) {
  const store::Table& table = fullTable();
  Row row;
  int64_t rows = 0;
  for (auto _ : state) {
    store::Cursor cursor;
    open(table, cursor);
    for (; cursor.next(row.bytes) == 0; ++rows) benchmark::DoNotOptimize(row);
  }
  if (rows != state.iterations() * static_cast<int64_t>(kRoutes)) state.SkipWithError("rows are missing");
  state.SetItemsProcessed(rows);
}

void WalkTable(benchmark::State& state) {
  walk(state, [](const store::Table& table, store::Cursor& cursor) { cursor.openAll(table); });
}

void WalkRange(benchmark::State& state) {
  walk(state, [](const store::Table& table, store::Cursor& cursor) {
    uint8_t low[kKeyLength], high[kKeyLength];
    std::memset(low, 0, sizeof low);
    std::memset(high, 0xFF, sizeof high);
    cursor.openRange(table, indexOfKind(schema::IndexKind::kOrdered), low, high);
  });
}

void RemoveSorted(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    store::Table& table = fullTable();
    state.ResumeTiming();
    uint64_t removed = 0;
    for (const Row& row : sortedRows()) table.remove(kLayout.primary(), row.bytes, removed);
    if (table.count() != 0) return state.SkipWithError("records are left");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kRoutes));
}

BENCHMARK(LoadSorted)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(LoadRandom)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Replace);
BENCHMARK(LongestPrefix)->Arg(kRoutes)->Arg(kFewRoutes);
BENCHMARK(ReadByKey)->Arg(kRoutes)->Arg(kFewRoutes);
BENCHMARK(WalkTable)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkRange)->Unit(benchmark::kMillisecond);
BENCHMARK(RemoveSorted)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
