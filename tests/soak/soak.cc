// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/soak/soak.cc: mixed load on every table, for as long as one likes, with flat memory.   fibdb-soak [SECONDS]
//
// DESCRIPTION  Two threads write the tables and compare them with their models, a third does so with the routes, and
//              opens and closes its connection time and again. Beside them readers look up, read, count and iterate
//              whatever there is; they come and go, and some of their iterators stand still. Every step is checked.
//              Once every table has held as much as it will, neither the engine's memory nor the resident size may
//              grow.
// THREADS      A table has one writer, so that its model is right; readers see any state of it.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "fibdb/fibdb.h"
#include "tests/support/input.h"
#include "tests/support/pace.h"
#include "tests/support/record_model.h"
#include "tests/support/route_model.h"
#include "tools/fibdb/output/progress.h"
#include "tools/fibdb/tables/record_walk.h"

namespace fibdb::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kMostRecords = 100;  // in one table; then it is emptied
constexpr int kStepsAtOnce = 20;
constexpr int kWarmUpSteps = pace::shareOf(3000);  // on each table
constexpr size_t kTableWriters = 2;
constexpr int kStepsPerConnection = 2000;
constexpr int kStepsPerReader = 500;
constexpr uint64_t kMiB = uint64_t{1} << 20;
// What may still come after the warm-up: an extent for a table here and there, more after a short one; and pages of
// threads.
constexpr uint64_t kEngineSlack = (pace::kIsSlow ? 8 : 2) * kMiB;
constexpr uint64_t kResidentSlack = 24 * kMiB;

struct Memory {
  uint64_t engine;
  uint64_t resident;
};

Memory memoryNow() {
  FibDbEngineArenaStats stats{};
  fibdb_engine_arena_stats(&stats);
  std::ifstream statm("/proc/self/statm");
  uint64_t size = 0, resident = 0;
  statm >> size >> resident;
  return {stats.used, resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE))};
}

class Soak {
 public:
  Soak(double seconds, uint64_t seed) : seconds_(seconds), seed_(seed) {}

  // 0, or 1 after a complaint.
  int run();

 private:
  double elapsed() const { return std::chrono::duration<double>(Clock::now() - start_.load()).count(); }
  bool isWarm() const { return warmWriters_ == kTableWriters; }
  bool goesOn() const { return !failed_ && (!isWarm() || elapsed() < seconds_); }
  void fail(const std::string& text) {
    const std::lock_guard lock(failing_);
    if (!failed_.exchange(true)) failure_ = text;
  }
  // Work on a thread of its own, with a seed of its own.
  template <class Work>
  std::thread start(Work work);

  void writeTables(RandomInput& input, size_t first);
  void writeRoutes(RandomInput& input);
  void read(RandomInput& input);
  void readSome(RandomInput& input);
  void look(RandomInput& input);
  void watchMemory();
  void check(bool quiet);

  const double seconds_;
  const uint64_t seed_;
  std::atomic<Clock::time_point> start_{Clock::now()};  // of what is measured
  std::atomic<size_t> warmWriters_{0};
  std::atomic<uint64_t> seeds_{0};
  std::atomic<uint64_t> writes_{0}, reads_{0}, connections_{0}, readers_{0};
  std::atomic<bool> failed_{false};
  std::mutex failing_;
  std::string failure_;
  Memory warm_{}, most_{};
};

template <class Work>
std::thread Soak::start(Work work) {
  return std::thread([this, work, seed = seed_ + ++seeds_] {
    RandomInput input(seed);
    try {
      work(input);
    } catch (const Disagreement& disagreement) {
      fail(disagreement.text);
    } catch (const program::Failure& failure) {
      fail(failure.what());
    }
  });
}

// Every second table, from the first on.
void Soak::writeTables(RandomInput& input, size_t first) {
  std::deque<RecordModel> models;
  for (size_t i = first; i < program::recordTables().size(); i += kTableWriters) {
    models.emplace_back(*program::recordTables()[i]);
  }
  const auto work = [&](RecordModel& model) {
    for (int i = 0; i < kStepsAtOnce; ++i) model.step(input);
    writes_ += kStepsAtOnce;
    if (model.size() > kMostRecords) model.removeAll();
  };
  for (RecordModel& model : models) {
    for (int i = 0; i < kWarmUpSteps / kStepsAtOnce && goesOn(); ++i) work(model);
  }
  ++warmWriters_;
  while (goesOn()) work(models[input.byte() % models.size()]);
  for (RecordModel& model : models) model.removeAll();
}

void Soak::writeRoutes(RandomInput& input) {
  while (goesOn()) {
    RouteModel model;
    ++connections_;
    for (int i = 0; i < kStepsPerConnection && goesOn(); ++i) model.step(input);
    writes_ += kStepsPerConnection;
    model.removeAll();
  }
}

// One look at the routes, whatever they are at the moment.
void Soak::look(RandomInput& input) {
  FibDbIp4forwardItem item{};
  item.vr_id = input.byte() & 1;
  item.dest_ip_addr = uint32_t{input.byte()} << 24 | input.byte();
  item.mask_len = input.byte() % 33;
  const uint32_t code = item.dest_ip_addr % 2 == 0 ? FIB_DB_ReadIp4forward(&item) : FIB_DB_ReadIp4forwardByLpm(&item);
  if (code != 0 && code != FIB_DB_NOT_FOUND && code != FIB_DB_NO_ROUTE) fail("a lookup gives " + std::to_string(code));
}

// Records that others write meanwhile: how many they are nobody knows, but none is refused, and none is torn.
void Soak::readSome(RandomInput& input) {
  const program::RecordTable& table = *program::recordTables()[input.byte() % program::recordTables().size()];
  uint64_t records = 0;
  if (table.walk.create != nullptr) {
    program::walkRecords(table, table.walk, program::Record(table), [&](const program::Record&) {
      // Now and then an iterator stands still while much is written.
      if (++records == 3 && input.byte() == 0) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    });
  }
  const auto number = static_cast<uint32_t>(input.byte()) % fibdb_engine_table_count();
  const auto count = [](const void*, uint32_t, void* context) { return ++*static_cast<uint64_t*>(context), 0; };
  if (const uint32_t code = fibdb_engine_walk(number, count, &records)) fail("a walk gives " + std::to_string(code));
}

// Readers come and go: what the engine keeps for a thread goes with it.
void Soak::read(RandomInput& input) {
  while (goesOn()) {
    std::thread reader = start([this](RandomInput& own) {
      for (int i = 0; i < kStepsPerReader && goesOn(); ++i) {
        for (int looks = own.byte(); looks > 0; --looks) look(own);
        readSome(own);
        ++reads_;
      }
    });
    ++readers_;
    reader.join();
    std::this_thread::sleep_for(std::chrono::milliseconds(input.byte() % 8));
  }
}

void Soak::watchMemory() {
  program::Progress progress({isatty(STDERR_FILENO) == 1, false}, "soaking");
  while (goesOn()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    progress.update(isWarm() ? elapsed() / seconds_ : 0, writes_ + reads_);
    const Memory now = memoryNow();
    most_ = {std::max(most_.engine, now.engine), std::max(most_.resident, now.resident)};
    if (!isWarm()) {
      warm_ = most_;
      start_ = Clock::now();
    }
    check(/*quiet=*/false);
    if (most_.engine > warm_.engine + kEngineSlack) fail("the engine's memory grows");
    if (most_.resident > warm_.resident + kResidentSlack) fail("the resident size grows");
  }
}

// quiet: nobody writes.
void Soak::check(bool quiet) {
  std::string found;
  const auto keep = [](const char* table, const char* finding, void* to) {
    if (finding == nullptr) return 0;
    *static_cast<std::string*>(to) = std::string(table) + ": " + finding;
    return 1;
  };
  FibDbEngineCheck check{};
  const uint32_t code = fibdb_engine_check(keep, &found, &check);
  if (code != 0) fail("a check gives " + std::to_string(code));
  if (!found.empty()) fail(found);
  if (quiet && check.tables != fibdb_engine_table_count()) fail("a check is overtaken by nobody");
}

int Soak::run() {
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kTableWriters; ++i) {
    threads.push_back(start([this, i](RandomInput& input) { writeTables(input, i); }));
  }
  threads.push_back(start([this](RandomInput& input) { writeRoutes(input); }));
  for (int i = 0; i < 2; ++i) threads.push_back(start([this](RandomInput& input) { read(input); }));
  watchMemory();
  for (std::thread& thread : threads) thread.join();
  check(/*quiet=*/true);
  FibDbEngineArenaStats stats{};
  fibdb_engine_arena_stats(&stats);
  if (stats.objects != 0 || stats.connections != 0) fail("objects or connections are left");
  std::printf("%" PRIu64 " steps of writers, %" PRIu64 " walks of %" PRIu64 " readers, %" PRIu64
              " connections in %.0f s\n",
              writes_.load(), reads_.load(), readers_.load(), connections_.load(), elapsed());
  std::printf("engine: %.1f MiB warm, %.1f MiB at most; resident: %.1f MiB warm, %.1f MiB at most\n",
              static_cast<double>(warm_.engine) / kMiB, static_cast<double>(most_.engine) / kMiB,
              static_cast<double>(warm_.resident) / kMiB, static_cast<double>(most_.resident) / kMiB);
  if (failed_) std::fprintf(stderr, "failed: %s\n", failure_.c_str());
  return failed_ ? 1 : 0;
}

}  // namespace
}  // namespace fibdb::test

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 600;
  if (argc > 2 || seconds <= 0) {
    std::fprintf(stderr, "usage: fibdb-soak [SECONDS]\n");
    return 2;
  }
  const char* const given = std::getenv("FIBDB_SEED");
  const uint64_t seed = given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device()();
  std::printf("FIBDB_SEED=%" PRIu64 "\n", seed);
  std::fflush(stdout);
  FIB_DB_TableRegisterInit();
  return fibdb::test::Soak(seconds, seed).run();
}
