// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/measure_commands.cc: measure lookups, check them against a reference, and a tour of it all.
#include <array>
#include <cstdlib>
#include <functional>
#include <random>

#include "tools/fibdb/base/call.h"
#include "tools/fibdb/base/clock.h"
#include "tools/fibdb/base/interrupt.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/text.h"
#include "tools/fibdb/routes/reference.h"
#include "tools/fibdb/routes/route_commands.h"
#include "tools/fibdb/routes/route_questions.h"
#include "tools/fibdb/routes/routes.h"
#include "tools/fibdb/shell/command.h"
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

constexpr uint64_t kDefaultLookups = 1'000'000;
constexpr uint64_t kDefaultChecks = 100'000;
constexpr uint64_t kMostSteps = 10'000'000'000;
constexpr uint64_t kShownMismatches = 20;
constexpr uint64_t kStepsPerCheck = 4096;  // between looks at Ctrl-C and the progress line

using Random = std::mt19937_64;

// FIBDB_SEED repeats a run; its number is part of every answer that random numbers went into.
uint64_t chooseSeed() {
  const char* given = std::getenv("FIBDB_SEED");
  if (given == nullptr) return std::random_device()();
  const auto seed = parseNumber(given);
  if (!seed) throw Failure(Status::kUsage, "FIBDB_SEED: " + inQuotes(given) + " is not a number");
  return *seed;
}

uint32_t anyAddress(Random& random) { return static_cast<uint32_t>(random()); }

uint32_t addressInside(const Prefix& prefix, Random& random) {
  return prefix.address | (anyAddress(random) & ~maskOf(prefix.length));
}

uint64_t takeCount(Arguments& arguments, uint64_t otherwise) {
  const bool given = !arguments.empty() && !namesVrf(arguments);
  const uint64_t count = given ? arguments.number("a number", kMostSteps) : otherwise;
  if (count == 0) arguments.fail("the number must be above 0");
  return count;
}

struct Measure {
  uint64_t steps = 0;
  uint64_t hits = 0;
  double seconds = 0;
};

template <class Step>
Measure measure(uint64_t steps, Step step) {
  Measure measure{steps};
  const Stopwatch watch;
  for (uint64_t i = 0; i < steps; ++i) {
    if (i % kStepsPerCheck == 0) checkInterrupt();
    measure.hits += step(i) ? 1 : 0;
  }
  measure.seconds = watch.seconds();
  return measure;
}

Measure measureWalk(RouteIterator::Order order, const Vrf& vrf, std::vector<Prefix>* prefixes) {
  Measure measure;
  const Stopwatch watch;
  RouteIterator routes(order);
  while (const FibDbIp4forwardItem* item = routes.next()) {
    ++measure.steps;
    if (prefixes != nullptr && vrfOf(*item) == vrf) prefixes->push_back(prefixOf(*item));
  }
  measure.seconds = watch.seconds();
  measure.hits = measure.steps;
  return measure;
}

void showMeasure(Session& session, const char* work, const Measure& measure) {
  const double hits = 100 * static_cast<double>(measure.hits) / static_cast<double>(measure.steps);
  session.output.row(
      {std::string(work), measure.steps, measure.seconds, perSecond(measure.steps, measure.seconds), hits});
}

// Addresses and keys are drawn before the clock starts; every figure includes one call of the library a step.
Status benchLookup(Session& session, Arguments& arguments) {
  const uint64_t count = takeCount(arguments, kDefaultLookups);
  const Vrf vrf = takeVrf(arguments);
  arguments.end();
  std::vector<Prefix> prefixes;
  prefixes.reserve(countRoutes());
  const Measure ordered = measureWalk(RouteIterator::Order::kKey, vrf, &prefixes);
  if (prefixes.empty()) throw Failure(Status::kFailed, "there are no routes: load some first");
  const uint64_t seed = chooseSeed();
  Random random(seed);
  constexpr size_t kDrawn = 1 << 16;
  std::vector<uint32_t> anywhere(kDrawn), inside(kDrawn);
  std::vector<Prefix> keys(kDrawn);
  for (size_t i = 0; i < kDrawn; ++i) {
    anywhere[i] = anyAddress(random);
    inside[i] = addressInside(prefixes[random() % prefixes.size()], random);
    keys[i] = prefixes[random() % prefixes.size()];
  }
  session.output.result("seed " + std::to_string(seed), {{"seed", seed}});
  session.output.beginList({"measures",
                            {{"work"},
                             {"operations", Format::kCount},
                             {"seconds", Format::kSeconds},
                             {"per_second", Format::kRate},
                             {"hits", Format::kPercent}},
                            true});
  showMeasure(session, "longest match, random address",
              measure(count, [&](uint64_t i) { return lookUpRoute(anywhere[i % kDrawn], vrf).has_value(); }));
  showMeasure(session, "longest match, address inside a route",
              measure(count, [&](uint64_t i) { return lookUpRoute(inside[i % kDrawn], vrf).has_value(); }));
  showMeasure(session, "keyed read",
              measure(count, [&](uint64_t i) { return readRoute(keys[i % kDrawn], vrf).has_value(); }));
  showMeasure(session, "walk in key order", ordered);
  showMeasure(session, "walk in any order", measureWalk(RouteIterator::Order::kAny, vrf, nullptr));
  session.output.endList();
  return Status::kOk;
}

// Half of the addresses anywhere; half inside a route or just beside it, where neighbours are confused.
uint32_t checkedAddress(const ReferenceTable& reference, Random& random) {
  const uint64_t draw = random() % 8;
  if (draw < 4 || reference.routes().empty()) return anyAddress(random);
  const Prefix& prefix = reference.routes()[random() % reference.routes().size()].prefix;
  switch (draw) {
    case 4:
      return prefix.address;
    case 5:
      return lastAddress(prefix);
    case 6:
      return lastAddress(prefix) + 1;
    default:
      return addressInside(prefix, random);
  }
}

std::string answerText(const std::optional<Route>& route) {
  return route ? formatPrefix(route->prefix) + " group " + std::to_string(route->group) : "no route";
}

std::optional<Route> databaseAnswer(uint32_t address, const Vrf& vrf) {
  const auto item = lookUpRoute(address, vrf);
  if (!item) return std::nullopt;
  return Route{prefixOf(*item), item->attr_word_a, 0};
}

std::optional<Route> referenceAnswer(const ReferenceTable& reference, uint32_t address) {
  const Route* route = reference.find(address);
  if (route == nullptr) return std::nullopt;
  return Route{route->prefix, route->group, 0};
}

struct CheckCounts {
  uint64_t mismatches = 0;
  uint64_t matched = 0;  // addresses that a route covers
};

CheckCounts compareAnswers(Session& session, const ReferenceTable& reference, const Vrf& vrf, uint64_t count,
                           Random& random) {
  CheckCounts counts;
  Progress progress(session.progress, "checking");
  for (uint64_t i = 0; i < count; ++i) {
    if (i % kStepsPerCheck == 0) {
      checkInterrupt();
      progress.update(static_cast<double>(i) / static_cast<double>(count), i);
    }
    const uint32_t address = checkedAddress(reference, random);
    const auto expected = referenceAnswer(reference, address);
    const auto answer = databaseAnswer(address, vrf);
    if (expected) ++counts.matched;
    if (answer == expected) continue;
    if (++counts.mismatches > kShownMismatches) continue;
    progress.clear();
    const std::string message = "the database says " + answerText(answer) + ", the file " + answerText(expected);
    session.output.complain({.message = message, .text = formatAddress(address)});
  }
  return counts;
}

Status checkLookup(Session& session, Arguments& arguments) {
  const std::string file = arguments.file();
  const uint64_t count = takeCount(arguments, kDefaultChecks);
  const Vrf vrf = takeVrf(arguments);
  arguments.end();
  const uint64_t seed = chooseSeed();
  if (file == "-" && session.commandsOnInput) arguments.fail("standard input holds the commands");
  ReferenceTable reference;
  RoutesFileReport report;
  {
    Progress progress(session.progress, "reading");
    report = readRoutes(file, session.output, progress, [&](const Route& route) { reference.add(route); });
  }
  checkInterrupt();
  reference.sort();
  Random random(seed);
  const CheckCounts counts = compareAnswers(session, reference, vrf, count, random);
  session.output.result(formatCount(count) + " addresses checked against " + file + ", " + formatCount(counts.matched) +
                            " of them covered: " + formatCount(counts.mismatches) + " mismatches (seed " +
                            std::to_string(seed) + ")",
                        {{"file", file},
                         {"checked", count},
                         {"covered", counts.matched},
                         {"mismatches", counts.mismatches},
                         {"seed", seed}});
  return counts.mismatches > 0 || report.badLines > 0 || report.broken ? Status::kFailed : Status::kOk;
}

constexpr std::array kWellKnown{"8.8.8.8", "1.1.1.1", "9.9.9.9", "208.67.222.222", "193.0.14.129", "192.0.2.1"};
constexpr size_t kShownResolved = 2;  // of them: with their group and its next hops
constexpr uint32_t kFirstNexthop = 1000;

// Neighbours of a router: every second one in one of two networks set aside for documentation.
FibDbNhpStdItem standardNexthop(uint32_t number) {
  constexpr uint32_t kNetworks[] = {0xC0000200, 0xC6336400};  // 192.0.2.0/24, 198.51.100.0/24
  constexpr uint32_t kInterfaces = 8;
  FibDbNhpStdItem item{};
  item.nhp_index = kFirstNexthop + number;
  item.next_hop = kNetworks[number % 2] + 1 + number / 2;
  item.out_if_index = 1 + number % kInterfaces;
  item.work_if_index = item.out_if_index;
  return item;
}

void writeMember(uint32_t group, uint32_t primary, uint32_t backup, uint16_t sequence) {
  FibDbNhpGroupNodeItem item{};
  item.nhp_group_id = group;
  item.primary_nhp_id = kFirstNexthop + primary;
  item.backup_nhp_id = kFirstNexthop + backup;
  item.sequence = sequence;
  writeRecord(kGroupMembers, &item);
}

// Every group shares its traffic between two next hops, each of which stands in for the other.
void writeGroups(Session& session) {
  constexpr uint32_t kGroupCount = kOriginGroups;
  constexpr uint16_t kMembers = 2;
  static_assert(kGroupCount % 2 == 0 && kGroupCount / 2 < 255, "a host number of its own for every next hop");
  for (uint32_t number = 0; number < kGroupCount; ++number) {
    const uint32_t other = (number + 1) % kGroupCount;
    FibDbNhpStdItem nexthop = standardNexthop(number);
    writeRecord(kStandardNexthops, &nexthop);
    FibDbNhpGroupItem group{};
    group.nhp_group_id = number;
    group.nhp_number = kMembers;
    writeRecord(kGroups, &group);
    writeMember(number, number, other, 1);
    writeMember(number, other, number, 2);
  }
  session.output.done(counted(kGroupCount, "group") + " of 2 members written, and their next hops",
                      {{"groups", uint64_t{kGroupCount}},
                       {"members", uint64_t{kMembers * kGroupCount}},
                       {"nexthops", uint64_t{kGroupCount}}});
}

void showMemory(Session& session) {
  FibDbEngineTableStats stats{};
  const uint32_t table = call<fibdb_engine_find_table>("ip4forward");
  if (call<fibdb_engine_table_stats>(table, &stats) != FIB_DB_OK || stats.records == 0) return;
  const uint64_t each = stats.bytes / stats.records;
  session.output.result(formatBytes(stats.bytes) + " of memory for " + counted(stats.records, "route") + ", " +
                            std::to_string(each) + " bytes a route with all its indexes",
                        {{"routes", stats.records}, {"bytes", stats.bytes}, {"bytes_per_route", each}});
}

// The addresses that a route covers.
std::vector<uint32_t> showLookups(Session& session) {
  std::vector<uint32_t> covered;
  session.output.beginList({"lookups", {{"address"}, {"route"}, {"group"}}, true});
  for (const char* text : kWellKnown) {
    const uint32_t address = *parseAddress(text);
    const auto route = lookUpRoute(address);
    if (route) covered.push_back(address);
    session.output.row({std::string(text), route ? Value(formatPrefix(prefixOf(*route))) : Value(),
                        route ? Value(uint64_t{route->attr_word_a}) : Value()});
  }
  session.output.endList();
  return covered;
}

Status tour(Session& session, Arguments& arguments) {
  const std::string file = arguments.file();
  arguments.end();
  const bool clean = !session.unsaved.holds(Part::kRecords);
  writeGroups(session);
  if (clean) session.unsaved.settle(Part::kRecords);
  const LoadSummary summary = loadRoutesFile(session, file);
  showLoadSummary(session, file, summary);
  if (summary.report.interrupted) return summary.status();
  showMemory(session);
  showRouteSummary(session);
  std::vector<uint32_t> covered = showLookups(session);
  if (covered.size() > kShownResolved) covered.resize(kShownResolved);
  for (const uint32_t address : covered) showCoveringRoute(session, address);
  return summary.status();
}

constexpr Command kCommands[] = {
    {"bench lookup", "[N] [vr N] [vrf N]", "measure lookups, keyed reads and walks on the loaded routes",
     "N operations each, a million unless given, on one thread. FIBDB_SEED repeats a run.", benchLookup},
    {"check lookup", "FILE [N] [vr N] [vrf N]", "compare longest matches with a plain search in a routes file",
     "N addresses, 100,000 unless given: half anywhere, half in and beside routes. The table should hold the\n"
     "routes of FILE and no others. FIBDB_SEED repeats a run.",
     checkLookup},
    {"tour", "FILE", "groups, a routes file, a summary and some lookups in one go", "", tour},
};

}  // namespace

std::span<const Command> measureCommands() { return kCommands; }

}  // namespace fibdb::program
