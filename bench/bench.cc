// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/bench.cc: fibdb and its peers, each work in turn, in one run. How it is measured: docs/performance.md.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <thread>

#include "bench/measure.h"
#include "bench/peers/peer.h"
#include "bench/report.h"
#include "bench/workload.h"

namespace fibdb::bench {
namespace {

// The engine's own, when a connection asks for none.
constexpr size_t kDefaultBatch = 4096;
constexpr size_t kStartBatch = 1000;
// Reads between two looks at the clock.
constexpr size_t kPart = 1024;
constexpr size_t kTraceLength = 1 << 20;
constexpr size_t kCompared = 10'000;
constexpr size_t kSpares = 20'000;
constexpr size_t kUpdates = 50'000;

struct Options {
  std::string routesFile;
  std::string folder = "build/bench";
  unsigned rounds = 5;
  unsigned loadRounds = 5;
  unsigned sliceMilliseconds = 100;
  uint64_t seed = 1;
  size_t changes = 1'000'000;
  size_t seriesUpTo = 1'000'000;
  bool quick = false;
  bool large = false;
  std::vector<std::string> peers;
};

// A table of some size, and what is asked of it.
struct Workload {
  Workload(std::vector<Route> table, size_t spareCount, uint64_t seed) : routes(std::move(table)) {
    spares = othersThan(routes, spareCount, seed);
    for (const Trace trace : kTraces) {
      traces[static_cast<size_t>(trace)] = makeTrace(routes, trace, kTraceLength, seed);
    }
    keys = makeKeys(routes, kTraceLength, seed);
  }

  std::vector<Route> routes;
  std::vector<Route> spares;  // not among them
  std::vector<uint32_t> traces[std::size(kTraces)];
  std::vector<Key> keys;
};

// Changes of one kind, in one batch.
struct Change {
  bool isRemoval;
  std::vector<Route> routes;
};

class Bench {
 public:
  explicit Bench(Options options)
      : options_(std::move(options)),
        slice_(options_.sliceMilliseconds),
        work_(readRoutes(options_.routesFile, options_.seed), kSpares + options_.changes / 8, options_.seed) {}

  void run(Report& report);

 private:
  using Candidates = std::vector<Candidate*>;

  void addPeers(Report& report);
  // Those that can do all of this.
  Candidates having(uint32_t abilities);
  void printNew();

  void loads();
  void compareAnswers();
  void reads();
  void index();
  void bulk();
  void twoThreads();
  void besideWriter(Report& report);
  void changes();
  void series(Report& report);

  // The same for tables of every size. name: of the figure; none, and nothing is told.
  void load(Figures& figures, Candidate& candidate, const std::vector<Route>& routes, size_t batch,
            const std::string& name);
  void longest(Figures& figures, const Workload& work, const Candidates& candidates, Trace trace);
  void keyed(Figures& figures, const Workload& work, const Candidates& candidates);
  void walk(Figures& figures, const Candidates& candidates);
  void single(Figures& figures, const Workload& work, const Candidates& candidates);
  void bytes(Figures& figures, const Candidates& candidates, const std::string& name);

  Options options_;
  std::chrono::milliseconds slice_;
  Workload work_;
  std::vector<std::unique_ptr<Candidate>> all_;
  Figures figures_;
  size_t printed_ = 0;
};

void Bench::addPeers(Report& report) {
  std::istringstream absent(FIBDB_PEERS_ABSENT);
  for (std::string name; absent >> name;) report.leftOut.push_back(name + " (its library is not installed)");
  for (const Entry& entry : roster()) {
    const bool isAsked = options_.peers.empty() || std::ranges::count(options_.peers, entry.name) != 0;
    if (!isAsked) continue;
    auto candidate = std::make_unique<Candidate>(entry.make());
    if (options_.quick && candidate->can(kSlowToLoad)) {
      report.leftOut.push_back(entry.name + " (minutes to load)");
      continue;
    }
    all_.push_back(std::move(candidate));
  }
}

Bench::Candidates Bench::having(uint32_t abilities) {
  Candidates those;
  for (const auto& candidate : all_) {
    if (candidate->can(abilities)) those.push_back(candidate.get());
  }
  return those;
}

void Bench::printNew() {
  for (; printed_ < figures_.all().size(); ++printed_) printFigure(figures_.all()[printed_]);
}

void Bench::load(Figures& figures, Candidate& candidate, const std::vector<Route>& routes, size_t batch,
                 const std::string& name) {
  candidate.renew(routes.size());
  const Clock::time_point begun = Clock::now();
  candidate.peer().write(routes, batch);
  const double seconds = secondsSince(begun);
  require(candidate.peer().count() == routes.size(), "not every route was loaded");
  if (!name.empty()) {
    figures.add(name, Unit::kPerSecond, candidate.name(), static_cast<double>(routes.size()) / seconds);
  }
}

// The last of them is what everything after works on.
void Bench::loads() {
  std::vector<Route> sorted = work_.routes;
  std::ranges::sort(sorted, {}, &Route::key);
  const auto rounds = [&](const std::vector<Route>& routes, size_t batch, const char* name) {
    inRounds(options_.loadRounds, having(kKeyed),
             [&](Candidate& candidate, unsigned) { load(figures_, candidate, routes, batch, name); });
    printNew();
  };
  rounds(sorted, kStartBatch, "load, sorted, batches of 1,000");
  if (!options_.quick) rounds(work_.routes, kStartBatch, "load, shuffled, batches of 1,000");
  rounds(work_.routes, kDefaultBatch, "load, shuffled, batches of 4,096");
  for (const auto& candidate : all_) {
    if (!candidate->can(kKeyed)) load(figures_, *candidate, work_.routes, kDefaultBatch, "");
  }
}

void Bench::compareAnswers() {
  const auto compare = [](Candidate& candidate, uint32_t addr, const Record& record, const Record& expected) {
    if (std::memcmp(&record, &expected, sizeof record) == 0) return;
    char what[64];
    std::snprintf(what, sizeof what, ": another answer than the first peer's for 0x%08X", addr);
    fail(candidate.name() + what);
  };
  for (const Trace trace : kTraces) {
    const std::span<const uint32_t> addrs = std::span(work_.traces[static_cast<size_t>(trace)]).first(kCompared);
    std::vector<Record> expected(addrs.size());
    for (const auto& candidate : all_) {
      for (size_t i = 0; i < addrs.size(); ++i) {
        Record record{};
        require(candidate->reader().answer(addrs[i], record), "an address that is covered has no route");
        if (candidate == all_.front()) expected[i] = record;
        compare(*candidate, addrs[i], record, expected[i]);
      }
    }
    for (Candidate* candidate : having(kBulk | kLongest)) {
      std::vector<Record> records(addrs.size());
      for (size_t i = 0; i < addrs.size(); i += kBulkAddresses) {
        const auto part = addrs.subspan(i, std::min(kBulkAddresses, addrs.size() - i));
        candidate->reader().longestBulk(part, &records[i]);
      }
      for (size_t i = 0; i < addrs.size(); ++i) compare(*candidate, addrs[i], records[i], expected[i]);
    }
  }
  std::printf("%zu lookups of each trace have the same answers from %zu peers\n", kCompared, all_.size());
}

void Bench::bytes(Figures& figures, const Candidates& candidates, const std::string& name) {
  for (Candidate* candidate : candidates) {
    const auto held = static_cast<double>(candidate->peer().bytes());
    if (held != 0) {
      figures.add(name, Unit::kBytes, candidate->name(), held / static_cast<double>(candidate->peer().count()));
    }
  }
}

// The rate at which a peer goes through inputs, in parts; each must be found.
template <class Input, class Ask>
double rateThrough(std::span<const Input> inputs, unsigned round, std::chrono::milliseconds slice, Ask&& ask) {
  Wheel<Input> wheel(inputs, round * inputs.size() / 8);
  return rateOf(slice, [&] {
    const auto part = wheel.next(kPart);
    require(ask(part) == part.size(), "what is there was not found");
    return part.size();
  });
}

void Bench::longest(Figures& figures, const Workload& work, const Candidates& candidates, Trace trace) {
  const std::string name = std::string("longest prefix, record out, trace ") + letterOf(trace);
  const std::span<const uint32_t> addrs = work.traces[static_cast<size_t>(trace)];
  inRounds(options_.rounds, candidates, [&](Candidate& candidate, unsigned round) {
    figures.add(name, Unit::kPerSecond, candidate.name(), rateThrough(addrs, round, slice_, [&](auto part) {
                  return candidate.reader().longest(part, nullptr);
                }));
  });
}

void Bench::keyed(Figures& figures, const Workload& work, const Candidates& candidates) {
  const std::span<const Key> keys = work.keys;
  inRounds(options_.rounds, candidates, [&](Candidate& candidate, unsigned round) {
    figures.add("keyed read", Unit::kPerSecond, candidate.name(),
                rateThrough(keys, round, slice_, [&](auto part) { return candidate.reader().read(part, nullptr); }));
  });
}

void Bench::reads() {
  for (const Trace trace : kTraces) longest(figures_, work_, having(kLongest), trace);
  keyed(figures_, work_, having(kKeyed));
}

void Bench::index() {
  for (const Trace trace : kTraces) {
    const std::string name = std::string("index only, trace ") + letterOf(trace);
    const std::span<const uint32_t> addrs = work_.traces[static_cast<size_t>(trace)];
    inRounds(options_.rounds, having(kIndexOnly), [&](Candidate& candidate, unsigned round) {
      figures_.add(name, Unit::kPerSecond, candidate.name(),
                   rateThrough(addrs, round, slice_, [&](auto part) { return candidate.reader().indexOnly(part); }));
    });
  }
  const std::span<const Route> some = std::span(work_.routes).first(std::min(kUpdates, work_.routes.size()));
  inRounds(options_.rounds, having(kIndexOnly), [&](Candidate& candidate, unsigned) {
    if (candidate.can(kSlowToLoad)) return;
    const Clock::time_point begun = Clock::now();
    candidate.peer().remove(some, kStartBatch);
    candidate.peer().write(some, kStartBatch);
    figures_.add("index only, updates", Unit::kPerSecond, candidate.name(),
                 2.0 * static_cast<double>(some.size()) / secondsSince(begun));
  });
}

size_t inBulks(Reader& reader, std::span<const uint32_t> addrs) {
  Record out[kBulkAddresses];
  size_t found = 0;
  inParts(addrs, kBulkAddresses, [&](std::span<const uint32_t> part) {
    found += reader.longestBulk(part, out);
    keep(out);
  });
  return found;
}

void Bench::bulk() {
  for (const Trace trace : kTraces) {
    const std::string of = std::string(", trace ") + letterOf(trace);
    const std::span<const uint32_t> addrs = work_.traces[static_cast<size_t>(trace)];
    inRounds(options_.rounds, having(kBulk), [&](Candidate& candidate, unsigned round) {
      if (candidate.can(kLongest)) {
        figures_.add("bulk of 64, record out" + of, Unit::kPerSecond, candidate.name(),
                     rateThrough(addrs, round, slice_, [&](auto part) { return inBulks(candidate.reader(), part); }));
      }
      if (!candidate.can(kIndexOnly)) return;
      figures_.add(
          "bulk of 64, index only" + of, Unit::kPerSecond, candidate.name(),
          rateThrough(addrs, round, slice_, [&](auto part) { return candidate.reader().indexOnlyBulk(part); }));
    });
  }
}

// Room for so many samples, in memory that has been touched: the operations that are timed do not wait for it.
Samples roomFor(size_t samples) {
  Samples made(samples);
  made.clear();
  return made;
}

// Runs an operation on the first of these routes, each in a batch of its own, for half a slice; then with a look at the
// clock behind each.
template <class Operation>
size_t oneByOne(std::span<const Route> routes, std::chrono::milliseconds slice, double& rate, Samples& took,
                Operation&& operation) {
  constexpr size_t kRun = 64;
  size_t done = 0;
  const auto part = [&] {
    const auto run = routes.subspan(done, std::min(kRun, routes.size() - done));
    done += run.size();
    return run;
  };
  const Clock::time_point begun = Clock::now();
  while (done < routes.size() / 2 && Clock::now() - begun < slice / 2) operation(part());
  rate = static_cast<double>(done) / secondsSince(begun);
  const Clock::time_point timed = Clock::now();
  while (done < routes.size() && Clock::now() - timed < slice / 2) {
    const auto run = part();
    each(run, &took, [&](const Route& route) {
      operation(std::span(&route, 1));
      return true;
    });
  }
  return done;
}

// The same routes with other contents.
std::vector<Route> newer(std::span<const Route> routes, uint32_t by) {
  std::vector<Route> changed(routes.begin(), routes.end());
  for (Route& route : changed) route.generation += by;
  return changed;
}

void Bench::single(Figures& figures, const Workload& work, const Candidates& candidates) {
  constexpr double kShare = 0.99;
  const std::span<const Route> spares = std::span(work.spares).first(kSpares);
  const std::span<const Route> first = std::span(work.routes).first(std::min(kSpares, work.routes.size()));
  inRounds(options_.rounds, candidates, [&](Candidate& candidate, unsigned round) {
    const std::vector<Route> known = newer(first, round + 1);
    Peer& peer = candidate.peer();
    double rate = 0;
    Samples took = roomFor(kSpares);
    const auto tell = [&](const std::string& name) {
      figures.add(name, Unit::kPerSecond, candidate.name(), rate);
      figures.add(name + ", 99th percentile", Unit::kNanoseconds, candidate.name(), percentile(took, kShare));
      took.clear();
    };
    const auto write = [&](std::span<const Route> routes) { peer.write(routes, 1); };
    const auto remove = [&](std::span<const Route> routes) { peer.remove(routes, 1); };
    const size_t written = oneByOne(spares, slice_, rate, took, write);
    tell("one insert");
    const size_t removed = oneByOne(spares.first(written), slice_, rate, took, remove);
    tell("one removal");
    peer.remove(spares.subspan(removed, written - removed), kStartBatch);
    const size_t overwritten = oneByOne(known, slice_, rate, took, write);
    tell("one overwrite");
    for (const Route& route : std::span(known).first(overwritten)) {
      Record record{};
      const bool isFound = candidate.reader().answer(route.key.addr, record);
      const bool isOther = record.mask_len != route.key.length;  // a longer prefix of this address
      const bool isThere = isFound && (isOther || record.table_smooth_id == route.generation);
      require(isThere, (candidate.name() + ": an overwrite is not there").c_str());
    }
  });
}

void Bench::walk(Figures& figures, const Candidates& candidates) {
  inRounds(options_.rounds, candidates, [&](Candidate& candidate, unsigned) {
    const size_t there = candidate.peer().count();
    figures.add("ordered walk", Unit::kPerSecond, candidate.name(), rateOf(slice_ / 2, [&] {
                  const size_t records = candidate.reader().walk();
                  require(records == there, "the walk missed routes");
                  return records;
                }));
  });
}

// Lookups per second of several threads, each with a reader of its own.
double rateOfThreads(Peer& peer, unsigned count, std::span<const uint32_t> addrs, std::chrono::milliseconds slice) {
  std::atomic<unsigned> ready{0};
  std::atomic<bool> begun{false};
  std::vector<double> rates(count);
  std::vector<std::thread> threads;
  for (unsigned number = 0; number < count; ++number) {
    threads.emplace_back([&, number] {
      const std::unique_ptr<Reader> reader = peer.reader();
      // The caches are another peer's at first.
      rateThrough(addrs, number + 4, slice / 4, [&](auto part) { return reader->longest(part, nullptr); });
      ++ready;
      while (!begun) std::this_thread::yield();
      rates[number] = rateThrough(addrs, number, slice, [&](auto part) { return reader->longest(part, nullptr); });
    });
  }
  while (ready != count) std::this_thread::yield();
  begun = true;
  double sum = 0;
  for (unsigned number = 0; number < count; ++number) {
    threads[number].join();
    sum += rates[number];
  }
  return sum;
}

void Bench::twoThreads() {
  const std::span<const uint32_t> addrs = work_.traces[static_cast<size_t>(Trace::kPrefix)];
  inRounds(options_.rounds, having(kThreads | kLongest), [&](Candidate& candidate, unsigned) {
    const double one = rateOfThreads(candidate.peer(), 1, addrs, slice_);
    const double two = rateOfThreads(candidate.peer(), 2, addrs, slice_);
    figures_.add("two threads, longest prefix, trace b", Unit::kPerSecond, candidate.name(), two);
    figures_.add("two threads against one", Unit::kShare, candidate.name(), two / one);
  });
}

// Overwrites, inserts and removes without a pause until it is told to stop. Operations per second.
double writeOn(Peer& peer, const Workload& work, const std::atomic<bool>& stop) {
  Wheel<Route> known(work.routes), spares(work.spares);
  uint64_t operations = 0;
  uint32_t generation = 0;
  const Clock::time_point begun = Clock::now();
  while (!stop) {
    peer.write(newer(known.next(kStartBatch), ++generation), kStartBatch);
    const auto more = spares.next(kStartBatch);
    peer.write(more, kStartBatch);
    peer.remove(more, kStartBatch);
    operations += kStartBatch + 2 * more.size();
  }
  return static_cast<double>(operations) / secondsSince(begun);
}

void Bench::besideWriter(Report& report) {
  constexpr int kLonger = 5;  // of so rare a latency many samples are needed
  constexpr double kRare = 0.9999;
  constexpr size_t kMostReads = 20'000;  // a millisecond
  constexpr double kShares[] = {0.5, 0.9, 0.99, 0.999, kRare, 0.99999, 1};
  const std::chrono::milliseconds slice = slice_ * kLonger;
  const size_t most = kMostReads * static_cast<size_t>(slice.count());
  const std::span<const uint32_t> addrs = work_.traces[static_cast<size_t>(Trace::kPrefix)];
  const Candidates those = having(kOneWriter | kLongest);
  std::vector<Samples> samples(2 * those.size());

  inRounds(options_.rounds, those, [&](Candidate& candidate, unsigned round) {
    Peer& peer = candidate.peer();
    const std::string who = candidate.name();
    const auto place = static_cast<size_t>(std::ranges::find(those, &candidate) - those.begin());
    const auto read = [&](Samples& took) {
      return rateThrough(addrs, round, slice,
                         [&](std::span<const uint32_t> part) { return candidate.reader().longest(part, &took); });
    };
    Samples alone = roomFor(most), beside = roomFor(most);
    // The caches are another peer's at first.
    rateThrough(addrs, round + 4, slice / 8, [&](auto part) { return candidate.reader().longest(part, nullptr); });
    const double readsAlone = read(alone);
    std::atomic<bool> stop{false};
    double writesAlone = 0, writesBeside = 0;
    std::thread writer([&] { writesAlone = writeOn(peer, work_, stop); });
    std::this_thread::sleep_for(slice);
    stop = true;
    writer.join();
    stop = false;
    writer = std::thread([&] { writesBeside = writeOn(peer, work_, stop); });
    const double readsBeside = read(beside);
    stop = true;
    writer.join();

    figures_.add("reads beside a writer", Unit::kPerSecond, who, readsBeside);
    figures_.add("reads beside a writer against alone", Unit::kShare, who, readsBeside / readsAlone);
    figures_.add("a read alone, 99.99th percentile", Unit::kNanoseconds, who, percentile(alone, kRare));
    figures_.add("a read beside a writer, 99.99th percentile", Unit::kNanoseconds, who, percentile(beside, kRare));
    figures_.add("the writer beside reads", Unit::kPerSecond, who, writesBeside);
    figures_.add("the writer beside reads against alone", Unit::kShare, who, writesBeside / writesAlone);
    samples[2 * place].insert(samples[2 * place].end(), alone.begin(), alone.end());
    samples[2 * place + 1].insert(samples[2 * place + 1].end(), beside.begin(), beside.end());
  });
  for (size_t i = 0; i < samples.size(); ++i) {
    Distribution one{those[i / 2]->name(), i % 2 == 1, {}};
    for (const double share : kShares) one.percentiles.emplace_back(share, percentile(samples[i], share));
    report.distributions.push_back(one);
  }
}

// Random replacements, insertions and removals, as many of each. What is removed may come back.
std::vector<Change> makeChanges(const Workload& work, size_t count, uint64_t seed) {
  constexpr size_t kRun = 100;
  Random random(seed);
  std::vector<Route> in = work.routes, out = work.spares;
  const auto takeFrom = [&](std::vector<Route>& pool) {
    std::swap(pool[random() % pool.size()], pool.back());
    const Route route = pool.back();
    pool.pop_back();
    return route;
  };
  std::vector<Change> changes;
  for (size_t made = 0; made < count; made += kRun) {
    const uint64_t kind = random() % 3;
    std::vector<Route>& from = kind == 0 ? out : in;
    Change change{kind == 2, {}};
    while (change.routes.size() < kRun && !from.empty()) change.routes.push_back(takeFrom(from));
    std::vector<Route>& to = kind == 2 ? out : in;
    for (Route& route : change.routes) {
      ++route.generation;
      to.push_back(route);
    }
    changes.push_back(std::move(change));
  }
  return changes;
}

void Bench::changes() {
  const std::vector<Change> changes = makeChanges(work_, options_.changes, options_.seed);
  for (Candidate* candidate : having(kKeyed)) {
    const Clock::time_point begun = Clock::now();
    size_t operations = 0;
    for (const Change& change : changes) {
      operations += change.routes.size();
      if (change.isRemoval) {
        candidate->peer().remove(change.routes, change.routes.size());
      } else {
        candidate->peer().write(change.routes, change.routes.size());
      }
    }
    figures_.add("random changes, batches of 100", Unit::kPerSecond, candidate->name(),
                 static_cast<double>(operations) / secondsSince(begun));
  }
  bytes(figures_, having(kKeyed), "bytes per route after random changes");
}

void Bench::series(Report& report) {
  constexpr const char* kPeers[] = {"fibdb", "flat_hash_map", "btree_map", "lmdb", "rte_fib"};
  Candidates those;
  for (const auto& candidate : all_) {
    if (std::ranges::count(kPeers, candidate->name()) != 0) {
      those.push_back(candidate.get());
    } else {
      candidate->renew(0);  // to have its memory
    }
  }
  Candidates walkers = those;
  std::erase_if(walkers, [](const Candidate* candidate) { return !candidate->can(kWalk); });
  for (size_t routes = 1000; routes <= options_.seriesUpTo; routes *= 10) {
    const Workload work(scaledTo(work_.routes, routes, options_.seed), kSpares, options_.seed);
    SeriesPoint point{routes, {}};
    for (Candidate* candidate : those) load(point.figures, *candidate, work.routes, kDefaultBatch, "load");
    bytes(point.figures, those, "bytes per route");
    longest(point.figures, work, those, Trace::kPrefix);
    keyed(point.figures, work, those);
    single(point.figures, work, those);
    walk(point.figures, walkers);
    report.series.push_back(point);
  }
}

void Bench::run(Report& report) {
  addPeers(report);
  report.routes = work_.routes.size();
  std::printf("%zu routes, seed %llu, %u rounds\n", work_.routes.size(), static_cast<unsigned long long>(options_.seed),
              options_.rounds);
  for (const std::string& name : report.leftOut) std::printf("left out: %s\n", name.c_str());
  std::fflush(stdout);
  loads();
  compareAnswers();
  bytes(figures_, having(kKeyed), "bytes per route");
  printNew();
  reads();
  printNew();
  walk(figures_, having(kWalk));
  printNew();
  index();
  printNew();
  bulk();
  printNew();
  single(figures_, work_, having(kKeyed));
  printNew();
  twoThreads();
  printNew();
  besideWriter(report);
  printNew();
  changes();
  printNew();
  series(report);
  printSeries(report.series);
  printSummary(figures_);
  report.figures = figures_;
}

// The engine's memory may take huge pages, so that of every peer may, too: the allocator is told before the program
// begins.
void beginWithHugePages(char** words) {
  constexpr const char* kName = "GLIBC_TUNABLES";
  if (std::getenv(kName) != nullptr) return;
  setenv(kName, "glibc.malloc.hugetlb=1", 1);
  execv(std::filesystem::read_symlink("/proc/self/exe").c_str(), words);
}

}  // namespace
}  // namespace fibdb::bench

int main(int count, char** words) {
  using namespace fibdb::bench;
  beginWithHugePages(words);
  Options options;
  CLI::App app("fibdb and its peers, each work in turn, in one run", "fibdb-bench");
  app.add_option("ROUTES", options.routesFile, "lines \"prefix origin-as N\", as ./dev run extracts them")->required();
  app.add_option("--folder", options.folder, "where bench.json and the data of the plots go")->capture_default_str();
  app.add_option("--rounds", options.rounds, "turns of every peer")->check(CLI::PositiveNumber)->capture_default_str();
  app.add_option("--load-rounds", options.loadRounds, "the same, of loads")->check(CLI::PositiveNumber);
  app.add_option("--slice", options.sliceMilliseconds, "milliseconds of a turn")->capture_default_str();
  app.add_option("--seed", options.seed, "of everything that is drawn")->capture_default_str();
  app.add_option("--peers", options.peers, "these alone, fibdb among them")->delimiter(',');
  app.add_flag("--quick", options.quick, "fewer rounds, shorter turns, no peer that takes minutes to load");
  app.add_flag("--large", options.large, "ten million routes, too");
  CLI11_PARSE(app, count, words);
  if (options.quick) {
    options.rounds = 3;
    options.loadRounds = 1;
    options.sliceMilliseconds = 30;
    options.changes = 100'000;
    options.seriesUpTo = 100'000;
  }
  if (options.large) options.seriesUpTo = 10'000'000;
  Report report;
  for (int i = 0; i < count; ++i) report.command += (i == 0 ? "" : " ") + std::string(words[i]);
  report.routesFile = std::filesystem::path(options.routesFile).filename();
  report.seed = options.seed;
  report.rounds = options.rounds;
  Bench(options).run(report);
  writeFiles(report, options.folder);
  std::printf("\n%s/bench.json\n", options.folder.c_str());
  return 0;
}
