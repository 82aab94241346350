// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/route_commands.cc: load, save, show, add and delete routes.
#include "tools/fibdb/routes/route_commands.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <map>

#include "tools/fibdb/files/file_writer.h"
#include "tools/fibdb/tables/resolve.h"

namespace fibdb::program {
namespace {

constexpr size_t kShownGroups = 10;

std::string timeText(uint64_t microseconds) {
  const auto seconds = static_cast<std::time_t>(microseconds / 1000000);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

// The attributes that the program never writes itself; shown when another writer set them.
struct Attribute {
  const char* name;
  uint64_t (*get)(const FibDbIp4forwardItem& item);
};
using Item = const FibDbIp4forwardItem&;
constexpr Attribute kAttributes[] = {
    {"attr_byte_a", [](Item i) -> uint64_t { return i.attr_byte_a; }},
    {"attr_half_a", [](Item i) -> uint64_t { return i.attr_half_a; }},
    {"attr_word_b", [](Item i) -> uint64_t { return i.attr_word_b; }},
    {"attr_word_c", [](Item i) -> uint64_t { return i.attr_word_c; }},
    {"attr_half_b", [](Item i) -> uint64_t { return i.attr_half_b; }},
    {"attr_byte_b", [](Item i) -> uint64_t { return i.attr_byte_b; }},
    {"attr_byte_c", [](Item i) -> uint64_t { return i.attr_byte_c; }},
    {"attr_half_c", [](Item i) -> uint64_t { return i.attr_half_c; }},
    {"attr_word_d", [](Item i) -> uint64_t { return i.attr_word_d; }},
    {"high_status", [](Item i) -> uint64_t { return i.high_status; }},
    {"attr_byte_e", [](Item i) -> uint64_t { return i.attr_byte_e; }},
    {"attr_byte_f", [](Item i) -> uint64_t { return i.attr_byte_f; }},
    {"attr_byte_g", [](Item i) -> uint64_t { return i.attr_byte_g; }},
    {"attr_dword_a", [](Item i) -> uint64_t { return i.attr_dword_a; }},
    {"attr_half_d", [](Item i) -> uint64_t { return i.attr_half_d; }},
    {"attr_byte_d", [](Item i) -> uint64_t { return i.attr_byte_d; }},
    {"attr_dword_b", [](Item i) -> uint64_t { return i.attr_dword_b; }},
    {"attr_dword_c", [](Item i) -> uint64_t { return i.attr_dword_c; }},
};

std::vector<Fact> routeFacts(const FibDbIp4forwardItem& item) {
  std::vector<Fact> facts{{"prefix", formatPrefix(prefixOf(item))}, {"group", uint64_t{item.attr_word_a}}};
  if (originOf(item) != 0) facts.push_back({"origin_as", uint64_t{originOf(item)}});
  facts.push_back({"generation", uint64_t{item.table_smooth_id}});
  facts.push_back({"source_pid", uint64_t{item.source_pid}});
  facts.push_back({"written", timeText(item.time_stamp_svc)});
  for (const Attribute& attribute : kAttributes) {
    if (attribute.get(item) != 0) facts.push_back({attribute.name, attribute.get(item)});
  }
  return facts;
}

Route routeOf(const FibDbIp4forwardItem& item) {
  return {.prefix = prefixOf(item), .group = item.attr_word_a, .origin = originOf(item)};
}

// The route's facts, and below its prefix the group that it names.
Tree treeOf(const FibDbIp4forwardItem& route) {
  return {.line = formatPrefix(prefixOf(route)),
          .facts = routeFacts(route),
          .below = "groups",
          .children = {treeOf(findGroup(route.attr_word_a, route.vr_id))}};
}

Status showExact(Session& session, const Prefix& prefix) {
  const auto route = readRoute(prefix);
  if (!route) throw Failure(Status::kFailed, "no route " + formatPrefix(prefix));
  session.output.tree(formatPrefix(prefix), treeOf(*route));
  return Status::kOk;
}

// Key order puts everything inside a prefix into one run: from its own address to its last one.
Status showLonger(Session& session, const Prefix& prefix) {
  RouteIterator routes(RouteIterator::Order::kKey);
  bool found = false;
  while (const FibDbIp4forwardItem* item = routes.next()) {
    if (item->dest_ip_addr > lastAddress(prefix)) break;
    if (!covers(prefix, item->dest_ip_addr) || item->mask_len < prefix.length) continue;
    if (!found) session.output.beginList({"routes", {{"prefix", Format::kPlain, 18}, {"group", Format::kPlain, 10}}});
    found = true;
    session.output.row({formatPrefix(prefixOf(*item)), uint64_t{item->attr_word_a}});
  }
  if (!found) throw Failure(Status::kFailed, "no route inside " + formatPrefix(prefix));
  session.output.endList();
  return Status::kOk;
}

Status showRoute(Session& session, Arguments& arguments) {
  if (arguments.empty()) arguments.fail("an address or a prefix is missing");
  Arguments peek = arguments;
  const std::string& text = peek.word("an address or a prefix");
  if (const auto address = parseAddress(text); address && peek.empty()) {
    showCoveringRoute(session, *address);
    return Status::kOk;
  }
  const Prefix prefix = arguments.prefix();
  if (arguments.empty()) return showExact(session, prefix);
  constexpr std::array<std::string_view, 1> kWords{"longer"};
  arguments.keyword(kWords);
  arguments.end();
  return showLonger(session, prefix);
}

struct RouteCounts {
  uint64_t routes = 0;
  std::array<uint64_t, 33> byLength{};
  std::map<uint32_t, uint64_t> byGroup;
};

RouteCounts countByLengthAndGroup() {
  RouteCounts counts;
  RouteIterator routes(RouteIterator::Order::kAny);
  while (const FibDbIp4forwardItem* item = routes.next()) {
    ++counts.routes;
    ++counts.byLength[std::min<size_t>(item->mask_len, 32)];
    ++counts.byGroup[item->attr_word_a];
  }
  return counts;
}

struct Bucket {
  uint64_t key;
  uint64_t routes;
};

void showBuckets(Session& session, const char* name, const char* key, const std::vector<Bucket>& buckets,
                 uint64_t total) {
  uint64_t most = 1;
  for (const Bucket& bucket : buckets) most = std::max(most, bucket.routes);
  session.output.beginList(
      {name, {{key}, {"routes", Format::kCount}, {"percent", Format::kPercent}, {"bar", Format::kBar}}, true});
  for (const Bucket& bucket : buckets) {
    const auto routes = static_cast<double>(bucket.routes);
    session.output.row(
        {bucket.key, bucket.routes, 100 * routes / static_cast<double>(total), routes / static_cast<double>(most)});
  }
  session.output.endList();
}

Status addRoute(Session& session, Arguments& arguments) {
  Route route{arguments.prefix(), 0, 0};
  if (!arguments.empty()) {
    constexpr std::array<std::string_view, 1> kWords{"group"};
    arguments.keyword(kWords);
    route.group = static_cast<uint32_t>(arguments.number("a group", UINT32_MAX));
  }
  arguments.end();
  RouteLoader loader(++session.generation);
  loader.write(route);
  const LoadCounts& counts = loader.finish();
  const std::string prefix = formatPrefix(route.prefix);
  if (counts.refused > 0) throw Failure(Status::kFailed, prefix + " refused: " + codeText(counts.code));
  const bool replaced = counts.replaced > 0;
  session.output.done((replaced ? "replaced " : "added ") + prefix + " group " + std::to_string(route.group),
                      {{"prefix", prefix}, {"group", uint64_t{route.group}}, {"replaced", replaced}});
  return Status::kOk;
}

Status deleteRoute(Session& session, Arguments& arguments) {
  const Prefix prefix = arguments.prefix();
  arguments.end();
  RouteLoader loader(session.generation);
  loader.remove(prefix);
  const LoadCounts& counts = loader.finish();
  if (counts.code == DB_ERR_NO_DATA) throw Failure(Status::kFailed, "no route " + formatPrefix(prefix));
  if (counts.refused > 0) throw Failure(Status::kFailed, formatPrefix(prefix) + ": " + codeText(counts.code));
  session.output.done("deleted " + formatPrefix(prefix), {{"deleted", formatPrefix(prefix)}});
  return Status::kOk;
}

Status loadRoutes(Session& session, Arguments& arguments) {
  const std::string file = arguments.file();
  const bool skipBad = arguments.lastKeyword("skip-bad");
  LoadSummary summary = loadRoutesFile(session, file);
  summary.skipsBad = skipBad;
  showLoadSummary(session, file, summary);
  return summary.status();
}

Status saveRoutes(Session& session, Arguments& arguments) {
  const std::string file = arguments.file();
  const bool force = arguments.lastKeyword("force");
  session.output.flush();
  FileWriter writer(file);
  RouteIterator routes(RouteIterator::Order::kKey);
  while (const FibDbIp4forwardItem* item = routes.next()) {
    if (item->vr_id != 0 || item->vrf_index != 0) {
      throw Failure(Status::kFailed, formatPrefix(prefixOf(*item)) + " belongs to another VRF: not saved");
    }
    writer.write(formatRouteLine(routeOf(*item)));
  }
  if (!force) writer.requireRecords(writer.count(), "save routes " + quoted(file) + " force");
  writer.commit();
  if (file == "-") return Status::kOk;
  session.unsaved.settle(Part::kRoutes);
  session.output.done(formatCount(writer.count()) + " routes saved to " + file,
                      {{"file", file}, {"saved", writer.count()}});
  return Status::kOk;
}

Status showSummary(Session& session, Arguments& arguments) {
  arguments.end();
  showRouteSummary(session);
  return Status::kOk;
}

constexpr Command kCommands[] = {
    {"load routes", "FILE [skip-bad]", "load a routing table; - reads standard input",
     "One route a line: PREFIX[/LENGTH] [group N] [origin-as N]. Without a length: /32. Without a group: N mod 256\n"
     "of the origin, or 0. `default` is 0.0.0.0/0, AS15169 the same as origin-as 15169. Blank lines and # comments\n"
     "are skipped. Plain text, gzip, xz, bzip2 or zstd.\n"
     "A bad line is reported with its number and its reason; the good lines are loaded. The status is 1 then, unless\n"
     "skip-bad is given; it is 1, too, for a file without a single route.\n"
     "Ctrl-C ends the load; what was read until then stays.",
     loadRoutes},
    {"save routes", "FILE [force]", "write all routes in key order; - writes standard output",
     "The format is that of load routes. The file appears, or is replaced, when it is complete. Without any route a\n"
     "file that holds something is kept, unless force is given.",
     saveRoutes},
    {"show route", "ADDRESS | PREFIX [longer]", "the route that covers an address, or the route of a prefix",
     "ADDRESS: the longest prefix that covers it. PREFIX/LENGTH: exactly this route. Both with the route's group,\n"
     "the group's members, and what is known of their next hops. With longer: all routes inside the prefix,\n"
     "in key order.",
     showRoute},
    {"show route summary", "", "routes by mask length, and the largest groups", "", showSummary},
    {"add route", "PREFIX [group N]", "add a route, or replace it", "", addRoute},
    {"delete route", "PREFIX", "delete a route", "", deleteRoute},
};

}  // namespace

std::span<const Command> routeCommands() { return kCommands; }

Status LoadSummary::status() const {
  if (report.interrupted) return Status::kInterrupted;
  const bool bad = (report.badLines > 0 && !skipsBad) || report.broken || report.routes == 0;
  return bad || counts.refused > 0 ? Status::kFailed : Status::kOk;
}

LoadSummary loadRoutesFile(Session& session, const std::string& file) {
  if (file == "-" && session.commandsOnInput) {
    throw Failure(Status::kFailed, "standard input holds the commands: it cannot be a routes file too");
  }
  LoadSummary summary;
  const Stopwatch watch;
  const bool clean = !session.unsaved.holds(Part::kRoutes);
  RouteLoader loader(++session.generation);
  {
    Progress progress(session.progress, "loading");
    summary.report = readRoutes(file, session.output, progress, [&](const Route& r) { loader.write(r); });
  }
  summary.counts = loader.finish();
  summary.seconds = watch.seconds();
  // What was read from a file need not be saved for that.
  if (clean) session.unsaved.settle(Part::kRoutes);
  if (summary.report.routes == 0 && !summary.report.broken && !summary.report.interrupted) {
    session.output.complain({"not a single route", {file, 0}});
  }
  for (const RefusedRoute& refused : summary.counts.firstRefused) {
    session.output.complain(
        {"refused: " + codeText(refused.code), {file, refused.route.line}, formatPrefix(refused.route.prefix), {}});
  }
  const uint64_t more = summary.counts.refused - summary.counts.firstRefused.size();
  if (more > 0) session.output.complain({"and " + formatCount(more) + " more routes refused", {file, 0}});
  return summary;
}

void showLoadSummary(Session& session, const std::string& file, const LoadSummary& summary) {
  const LoadCounts& counts = summary.counts;
  const uint64_t rate = perSecond(summary.loaded(), summary.seconds);
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.3f", summary.seconds);
  std::string sentence = summary.report.interrupted ? "interrupted: " : "";
  sentence += formatCount(summary.loaded()) + " routes loaded in " + seconds + " s (" + formatCount(rate) +
              "/s): " + formatCount(counts.inserted) + " new, " + formatCount(counts.replaced) + " replaced";
  if (counts.refused > 0) sentence += ", " + formatCount(counts.refused) + " refused";
  if (summary.report.badLines > 0) sentence += ", " + formatCount(summary.report.badLines) + " bad lines";
  session.output.done(sentence, {{"file", file},
                                 {"loaded", summary.loaded()},
                                 {"new", counts.inserted},
                                 {"replaced", counts.replaced},
                                 {"refused", counts.refused},
                                 {"bad_lines", summary.report.badLines},
                                 {"interrupted", summary.report.interrupted},
                                 {"seconds", summary.seconds},
                                 {"routes_per_second", rate}});
}

void showCoveringRoute(Session& session, uint32_t address) {
  const auto route = lookUpRoute(address);
  if (!route) throw Failure(Status::kFailed, "no route covers " + formatAddress(address));
  Tree tree = treeOf(*route);
  tree.facts.insert(tree.facts.begin(), {"address", formatAddress(address)});
  session.output.tree(formatAddress(address) + " is covered by " + formatPrefix(prefixOf(*route)), tree);
}

void showRouteSummary(Session& session) {
  const RouteCounts counts = countByLengthAndGroup();
  session.output.result(formatCount(counts.routes) + " routes in " + formatCount(counts.byGroup.size()) + " groups",
                        {{"routes", counts.routes}, {"groups", uint64_t{counts.byGroup.size()}}});
  if (counts.routes == 0) return;
  std::vector<Bucket> lengths;
  for (size_t length = 0; length < counts.byLength.size(); ++length) {
    if (counts.byLength[length] > 0) lengths.push_back({length, counts.byLength[length]});
  }
  showBuckets(session, "mask_lengths", "length", lengths, counts.routes);
  std::vector<Bucket> groups;
  for (const auto& [group, routes] : counts.byGroup) groups.push_back({group, routes});
  std::stable_sort(groups.begin(), groups.end(), [](auto& a, auto& b) { return a.routes > b.routes; });
  if (groups.size() > kShownGroups) groups.resize(kShownGroups);
  showBuckets(session, "largest_groups", "group", groups, counts.routes);
}

}  // namespace fibdb::program
