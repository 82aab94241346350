// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/calls_bench.cc: what the exported calls do with the Internet's table, beside peers that a program might
// use instead.
//
//   fibdb-calls-bench ROUTES [--benchmark options]      ROUTES: lines "prefix origin-as N", as ./dev run extracts them
//
// Every case is named Work/Who; items per second are routes, lookups or records. Peers store the same routes: SQLite in
// memory with the route key as its primary key (inserts in one transaction, prepared statements), and one std::map.
// The longest match of a peer tries the mask lengths that occur from the longest down, as one would write it by hand.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "fibdb/fibdb.h"

namespace {

struct Route {
  uint32_t addr;
  uint8_t mask;
  uint32_t group;
};

std::vector<Route> routes;
std::vector<uint32_t> addresses;  // half random, half inside routes
std::vector<uint8_t> masks;       // that occur, longest first
constexpr size_t kAddresses = 1 << 16;
constexpr uint32_t kGroups = 256;

uint32_t maskBits(uint8_t length) { return length == 0 ? 0 : ~uint32_t{0} << (32 - length); }

void check(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fibdb-calls-bench: %s\n", what);
  std::exit(1);
}

void readRoutes(const char* path) {
  std::ifstream file(path);
  check(file.is_open(), "cannot read the routes file");
  std::set<uint8_t> lengths;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string prefix, keyword;
    uint32_t origin = 0;
    words >> prefix >> keyword >> origin;
    const size_t slash = prefix.find('/');
    in_addr addr{};
    check(slash != std::string::npos && inet_pton(AF_INET, prefix.substr(0, slash).c_str(), &addr) == 1, "bad line");
    const auto mask = static_cast<uint8_t>(std::stoi(prefix.substr(slash + 1)));
    routes.push_back({ntohl(addr.s_addr), mask, origin % kGroups});
    lengths.insert(mask);
  }
  check(!routes.empty(), "no routes");
  masks.assign(lengths.rbegin(), lengths.rend());
  std::mt19937 random(1);
  for (size_t i = 0; i < kAddresses; ++i) {
    const Route& route = routes[random() % routes.size()];
    addresses.push_back(i % 2 == 0 ? static_cast<uint32_t>(random())
                                   : route.addr | (static_cast<uint32_t>(random()) & ~maskBits(route.mask)));
  }
}

FibDbIp4forwardItem itemOf(const Route& route) {
  FibDbIp4forwardItem item{};
  item.dest_ip_addr = route.addr;
  item.mask_len = route.mask;
  item.attr_word_a = route.group;
  return item;
}

// fibdb, through its exported calls. One connection serves the whole run.

uint64_t batch = 0;

void loadFibdb() {
  uint64_t argument = 0;
  const auto execute = [&] {
    while (FIB_DB_BatchExecuteAsync(&batch, &argument) == FIB_DB_BATCH_NOT_EXECUTED) {
      fibdb_engine_drain(FIB_DB_GetAsyncConn());
    }
  };
  for (const Route& route : routes) {
    const FibDbIp4forwardItem item = itemOf(route);
    if (FIB_DB_BatchAddOperWriteIp4forward(&batch, &item, 0) == 0) continue;
    execute();
    check(FIB_DB_BatchAddOperWriteIp4forward(&batch, &item, 0) == 0, "a route was refused");
  }
  execute();
  fibdb_engine_drain(FIB_DB_GetAsyncConn());
}

// Loads are measured first, on empty tables; everything else loads once, outside the time taken.
bool fibdbIsLoaded = false;

void ensureLoaded() {
  if (!fibdbIsLoaded) loadFibdb();
  fibdbIsLoaded = true;
}

void emptyFibdb() {
  uint64_t argument = 0;
  for (const Route& route : routes) {
    const FibDbIp4forwardItem item = itemOf(route);
    while (FIB_DB_BatchAddOperRemoveIp4forward(&batch, &item) != 0) {
      if (FIB_DB_BatchExecuteAsync(&batch, &argument) != 0) fibdb_engine_drain(FIB_DB_GetAsyncConn());
    }
  }
  FIB_DB_BatchExecuteAsync(&batch, &argument);
  fibdb_engine_drain(FIB_DB_GetAsyncConn());
}

void loadOfFibdb(benchmark::State& state) {
  double bytesPerRoute = 0;
  for (auto _ : state) {
    loadFibdb();
    state.PauseTiming();
    FibDbEngineTableStats stats{};
    fibdb_engine_table_stats(fibdb_engine_find_table("ip4forward"), &stats);
    check(stats.records == routes.size(), "not every route is there");
    bytesPerRoute = static_cast<double>(stats.bytes) / static_cast<double>(stats.records);
    emptyFibdb();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(routes.size()));
  state.SetLabel(std::to_string(bytesPerRoute));
}

void lookupOfFibdb(benchmark::State& state) {
  ensureLoaded();
  size_t next = 0;
  FibDbIp4forwardItem item{};
  for (auto _ : state) {
    item.vr_id = 0;
    item.vrf_index = 0;
    item.dest_ip_addr = addresses[next++ % kAddresses];
    item.mask_len = 32;
    benchmark::DoNotOptimize(FIB_DB_ReadIp4forwardByLpm(&item));
  }
  state.SetItemsProcessed(state.iterations());
}

void readOfFibdb(benchmark::State& state) {
  ensureLoaded();
  std::mt19937 random(2);
  for (auto _ : state) {
    const Route& route = routes[random() % routes.size()];
    FibDbIp4forwardItem item = itemOf(route);
    check(FIB_DB_ReadIp4forward(&item) == 0, "a route is missing");
  }
  state.SetItemsProcessed(state.iterations());
}

void walkOfFibdb(benchmark::State& state, FibDbIterator* (*create)(uint32_t)) {
  ensureLoaded();
  for (auto _ : state) {
    FibDbIterator* const iterator = create(FIB_DB_NO_PROPERTY);
    FibDbIp4forwardItem item{};
    size_t records = 0;
    while (FIB_DB_GetNextIp4forward(iterator, &item) == 0) ++records;
    check(records == routes.size(), "the walk missed routes");
    FIB_DB_ReleaseIp4forwardIterator(iterator);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(routes.size()));
}

// SQLite, in memory.

class Sqlite {
 public:
  Sqlite() {
    check(sqlite3_open(":memory:", &db_) == SQLITE_OK, "no SQLite");
    run("CREATE TABLE route (vr INT, vrf INT, addr INT, mask INT, grp INT, row BLOB,"
        " PRIMARY KEY (vr, vrf, addr, mask)) WITHOUT ROWID");
    run("CREATE INDEX by_group ON route (grp, vr)");
    insert_ = prepare("INSERT OR REPLACE INTO route VALUES (0, 0, ?, ?, ?, ?)");
    read_ = prepare("SELECT row FROM route WHERE vr = 0 AND vrf = 0 AND addr = ? AND mask = ?");
  }
  ~Sqlite() {
    sqlite3_finalize(insert_);
    sqlite3_finalize(read_);
    sqlite3_close(db_);
  }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  void load() {
    run("BEGIN");
    for (const Route& route : routes) {
      const FibDbIp4forwardItem item = itemOf(route);
      sqlite3_bind_int64(insert_, 1, route.addr);
      sqlite3_bind_int64(insert_, 2, route.mask);
      sqlite3_bind_int64(insert_, 3, route.group);
      sqlite3_bind_blob(insert_, 4, &item, sizeof item, SQLITE_STATIC);
      check(sqlite3_step(insert_) == SQLITE_DONE, "SQLite refused a route");
      sqlite3_reset(insert_);
    }
    run("COMMIT");
  }
  void empty() { run("DELETE FROM route"); }

  bool read(uint32_t addr, uint8_t mask, FibDbIp4forwardItem& item) {
    sqlite3_bind_int64(read_, 1, addr);
    sqlite3_bind_int64(read_, 2, mask);
    const bool found = sqlite3_step(read_) == SQLITE_ROW;
    if (found) std::memcpy(&item, sqlite3_column_blob(read_, 0), sizeof item);
    sqlite3_reset(read_);
    return found;
  }

  size_t walk() {
    sqlite3_stmt* const all = prepare("SELECT row FROM route ORDER BY vr, vrf, addr, mask");
    size_t records = 0;
    FibDbIp4forwardItem item;
    for (; sqlite3_step(all) == SQLITE_ROW; ++records) {
      std::memcpy(&item, sqlite3_column_blob(all, 0), sizeof item);
      benchmark::DoNotOptimize(item);
    }
    sqlite3_finalize(all);
    return records;
  }

 private:
  void run(const char* statement) {
    check(sqlite3_exec(db_, statement, nullptr, nullptr, nullptr) == SQLITE_OK, statement);
  }
  sqlite3_stmt* prepare(const char* text) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v2(db_, text, -1, &statement, nullptr) == SQLITE_OK, text);
    return statement;
  }

  sqlite3* db_ = nullptr;
  sqlite3_stmt* insert_ = nullptr;
  sqlite3_stmt* read_ = nullptr;
};

// std::map.

class Map {
 public:
  void load() {
    for (const Route& route : routes) items_.emplace(std::pair(route.addr, route.mask), itemOf(route));
  }
  void empty() { items_.clear(); }
  bool read(uint32_t addr, uint8_t mask, FibDbIp4forwardItem& item) const {
    const auto found = items_.find({addr, mask});
    if (found == items_.end()) return false;
    item = found->second;
    return true;
  }
  size_t walk() const {
    size_t records = 0;
    for (const auto& [key, item] : items_) {
      FibDbIp4forwardItem copy = item;
      benchmark::DoNotOptimize(copy);
      ++records;
    }
    return records;
  }

 private:
  std::map<std::pair<uint32_t, uint8_t>, FibDbIp4forwardItem> items_;
};

// The same work on any peer.

template <class Peer>
void loadOf(benchmark::State& state, Peer& peer) {
  for (auto _ : state) {
    peer.load();
    state.PauseTiming();
    peer.empty();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(routes.size()));
}

template <class Peer>
void lookupOf(benchmark::State& state, Peer& peer) {
  size_t next = 0;
  FibDbIp4forwardItem item{};
  for (auto _ : state) {
    const uint32_t addr = addresses[next++ % kAddresses];
    for (const uint8_t mask : masks) {
      if (peer.read(addr & maskBits(mask), mask, item)) break;
    }
    benchmark::DoNotOptimize(item);
  }
  state.SetItemsProcessed(state.iterations());
}

template <class Peer>
void readOf(benchmark::State& state, Peer& peer) {
  std::mt19937 random(2);
  FibDbIp4forwardItem item{};
  for (auto _ : state) {
    const Route& route = routes[random() % routes.size()];
    check(peer.read(route.addr, route.mask, item), "a route is missing");
  }
  state.SetItemsProcessed(state.iterations());
}

template <class Peer>
void walkOf(benchmark::State& state, Peer& peer) {
  for (auto _ : state) check(peer.walk() == routes.size(), "the walk missed routes");
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(routes.size()));
}

template <class Work>
benchmark::internal::Benchmark* add(const char* name, Work work) {
  return benchmark::RegisterBenchmark(name, work)->UseRealTime();
}

template <class Peer>
Peer& loadedPeer() {
  static Peer* const peer = [] {
    auto* made = new Peer;
    made->load();
    return made;
  }();
  return *peer;
}

template <class Peer>
void addPeer(const std::string& who) {
  add(("Lookup/" + who).c_str(), [](benchmark::State& state) { lookupOf(state, loadedPeer<Peer>()); });
  add(("Read/" + who).c_str(), [](benchmark::State& state) { readOf(state, loadedPeer<Peer>()); });
  add(("Walk/" + who).c_str(), [](benchmark::State& state) { walkOf(state, loadedPeer<Peer>()); });
}

}  // namespace

int main(int count, char** words) {
  benchmark::Initialize(&count, words);
  check(count == 2, "usage: fibdb-calls-bench ROUTES [--benchmark options]");
  readRoutes(words[1]);
  check(FIB_DB_CreateAsyncConnect(0, 0) == 0, "no connection");
  check(FIB_DB_GetIp4forwardBatchAsyncObject(&batch) == 0, "no batch object");

  Sqlite sqlite;
  Map map;
  add("Load/fibdb", loadOfFibdb);
  add("Load/sqlite", [&](benchmark::State& state) { loadOf(state, sqlite); });
  add("Load/map", [&](benchmark::State& state) { loadOf(state, map); });
  add("Lookup/fibdb", lookupOfFibdb);
  add("Read/fibdb", readOfFibdb);
  add("Walk/fibdb", [](benchmark::State& state) { walkOfFibdb(state, FIB_DB_CreateDictionaryIterator); });
  add("WalkAnyOrder/fibdb", [](benchmark::State& state) { walkOfFibdb(state, FIB_DB_CreateIp4forwardIterator); });
  addPeer<Sqlite>("sqlite");
  addPeer<Map>("map");
  benchmark::RunSpecifiedBenchmarks();
  FIB_DB_DestroyAsyncConnect();
  return 0;
}
