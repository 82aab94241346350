// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/route_commands.cc: load, save, show, add and delete routes.
#include "tools/fibdb/routes/route_commands.h"

#include <algorithm>
#include <array>

#include "tools/fibdb/base/call.h"
#include "tools/fibdb/base/clock.h"
#include "tools/fibdb/files/file_writer.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/text.h"
#include "tools/fibdb/routes/route_questions.h"

namespace fibdb::program {
namespace {

Route routeOf(const FibDbIp4forwardItem& item) {
  return {.prefix = prefixOf(item), .group = item.attr_word_a, .origin = originOf(item)};
}

Status addRoute(Session& session, Arguments& arguments) {
  constexpr std::array<std::string_view, 3> kWords{"group", "vr", "vrf"};
  Route route{arguments.prefix(), 0, 0};
  Vrf vrf;
  while (!arguments.empty()) {
    switch (arguments.keyword(kWords)) {
      case 0:
        route.group = static_cast<uint32_t>(arguments.number("a group", UINT32_MAX));
        break;
      case 1:
        vrf.vr = takeVr(arguments);
        break;
      default:
        vrf.index = takeVrfIndex(arguments);
    }
  }
  RouteLoader loader(++session.generation, vrf);
  loader.write(route);
  const LoadCounts& counts = loader.finish();
  const std::string prefix = formatPrefix(route.prefix);
  if (counts.refused > 0) throw Failure(Status::kFailed, prefix + " refused: " + codeText(counts.code));
  const bool replaced = counts.replaced > 0;
  session.output.done(
      (replaced ? "replaced " : "added ") + prefix + " group " + std::to_string(route.group) + inVrf(vrf),
      {{"prefix", prefix}, {"group", uint64_t{route.group}}, {"replaced", replaced}});
  return Status::kOk;
}

Status deleteRoute(Session& session, Arguments& arguments) {
  const Prefix prefix = arguments.prefix();
  const Vrf vrf = takeVrf(arguments);
  arguments.end();
  RouteLoader loader(session.generation, vrf);
  loader.remove(prefix);
  const LoadCounts& counts = loader.finish();
  const std::string name = formatPrefix(prefix) + inVrf(vrf);
  if (counts.code == DB_ERR_NO_DATA) throw Failure(Status::kFailed, "no route " + name);
  if (counts.refused > 0) throw Failure(Status::kFailed, name + ": " + codeText(counts.code));
  session.output.done("deleted " + name, {{"deleted", formatPrefix(prefix)}});
  return Status::kOk;
}

uint32_t routeTable() { return call<fibdb_engine_find_table>("ip4forward"); }

// One that a process left behind when it died is gone on with: nothing was removed by it.
void beginReplace(const Vrf& vrf) {
  FibDbEngineReplace state{};
  call<fibdb_engine_replace_state>(routeTable(), &state);
  if (state.active != 0 && state.isAlive == 0 && call<fibdb_engine_take_over_replace>(routeTable()) == FIB_DB_OK) {
    call<fibdb_engine_give_up_replace>(routeTable());
  }
  const uint32_t code = call<fibdb_engine_begin_replace>(routeTable(), vrf.vr);
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, codeText(code));
}

// Only a file that was read to its end, and is good, says what is no longer true.
void endReplace(LoadSummary& summary) {
  if (summary.status() != Status::kOk) {
    call<fibdb_engine_give_up_replace>(routeTable());
    return;
  }
  FibDbEngineReplace ended{};
  const uint32_t code = call<fibdb_engine_end_replace>(routeTable(), &ended);
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, codeText(code));
  summary.replace = ended;
}

Status loadRoutes(Session& session, Arguments& arguments) {
  const std::string file = arguments.file();
  const Vrf vrf = takeVrf(arguments);
  constexpr std::array<std::string_view, 2> kWords{"replace", "skip-bad"};
  bool replaces = false, skipBad = false;
  while (!arguments.empty()) (arguments.keyword(kWords) == 0 ? replaces : skipBad) = true;
  if (replaces) beginReplace(vrf);
  LoadSummary summary = loadRoutesFile(session, file, vrf, replaces);
  summary.skipsBad = skipBad;
  if (replaces) endReplace(summary);
  showLoadSummary(session, file, summary);
  return summary.status();
}

// A file of routes does not name their VRF: it holds those of one.
Status saveRoutes(Session& session, Arguments& arguments) {
  const std::string file = arguments.file();
  const bool chosen = namesVrf(arguments);
  const RouteQuery which = takeVrfOrAll(arguments);
  const bool force = arguments.lastKeyword("force");
  session.output.flush();
  FileWriter writer(file);
  RouteSearch(which).forEach(UINT64_MAX, [&](const FibDbIp4forwardItem& route) {
    if (!chosen && vrfOf(route) != Vrf()) {
      throw Failure(Status::kFailed, formatPrefix(prefixOf(route)) + " belongs to another VRF: not saved",
                    "say which VRF is to be saved, by vr and vrf");
    }
    writer.write(formatRouteLine(routeOf(route)));
  });
  if (!force) writer.requireRecords(writer.count(), "save routes " + quoted(file) + " force");
  writer.commit();
  if (file == "-") return Status::kOk;
  session.unsaved.settle(Part::kRoutes);
  session.output.done(counted(writer.count(), "route") + " saved to " + file,
                      {{"file", file}, {"saved", writer.count()}});
  return Status::kOk;
}

constexpr Command kCommands[] = {
    {"load routes", "FILE [vr N] [vrf N] [replace] [skip-bad]", "load a routing table; - reads standard input",
     "One route a line: PREFIX[/LENGTH] [group N] [origin-as N]. Without a length: /32. Without a group: N mod 256\n"
     "of the origin, or 0. `default` is 0.0.0.0/0, AS15169 the same as origin-as 15169. Blank lines and # comments\n"
     "are skipped. Plain text, gzip, xz, bzip2 or zstd.\n"
     "A bad line is reported with its number and its reason; the good lines are loaded. The status is 1 then, unless\n"
     "skip-bad is given; it is 1, too, for a file without a single route.\n"
     "With replace the routes of the virtual router that the file does not have are removed behind it, if all of it\n"
     "was good. Ctrl-C ends the load; what was read until then stays.",
     loadRoutes},
    {"save routes", "FILE [vr N] [vrf N] [force]", "write all routes in key order; - writes standard output",
     "The format is that of load routes. The file appears, or is replaced, when it is complete. It holds the routes\n"
     "of one VRF. Without any route a file that holds something is kept, unless force is given.",
     saveRoutes},
    {"add route", "PREFIX [group N] [vr N] [vrf N]", "add a route, or replace it", "", addRoute},
    {"delete route", "PREFIX [vr N] [vrf N]", "delete a route", "", deleteRoute},
};

}  // namespace

std::span<const Command> routeCommands() { return kCommands; }

Status LoadSummary::status() const {
  if (report.interrupted) return Status::kInterrupted;
  const bool bad = (report.badLines > 0 && !skipsBad) || report.broken || report.routes == 0;
  return bad || counts.refused > 0 ? Status::kFailed : Status::kOk;
}

LoadSummary loadRoutesFile(Session& session, const std::string& file, const Vrf& vrf, bool keepsSame) {
  if (file == "-" && session.commandsOnInput) {
    throw Failure(Status::kFailed, "standard input holds the commands: it cannot be a routes file too");
  }
  LoadSummary summary;
  const Stopwatch watch;
  const bool clean = !session.unsaved.holds(Part::kRoutes);
  RouteLoader loader(++session.generation, vrf, keepsSame);
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
  if (more > 0) session.output.complain({"and " + counted(more, "more route") + " refused", {file, 0}});
  return summary;
}

void showLoadSummary(Session& session, const std::string& file, const LoadSummary& summary) {
  const LoadCounts& counts = summary.counts;
  const uint64_t rate = perSecond(summary.loaded(), summary.seconds);
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.3f", summary.seconds);
  std::string sentence = summary.report.interrupted ? "interrupted: " : "";
  sentence += counted(summary.loaded(), "route") + " loaded in " + seconds + " s (" + formatCount(rate) +
              "/s): " + formatCount(counts.inserted) + " new, " + formatCount(counts.replaced) + " replaced";
  if (counts.refused > 0) sentence += ", " + formatCount(counts.refused) + " refused";
  if (summary.report.badLines > 0) sentence += ", " + counted(summary.report.badLines, "bad line");
  std::vector<Fact> facts{{"file", file},
                          {"loaded", summary.loaded()},
                          {"new", counts.inserted},
                          {"replaced", counts.replaced},
                          {"refused", counts.refused},
                          {"bad_lines", summary.report.badLines},
                          {"interrupted", summary.report.interrupted},
                          {"seconds", summary.seconds},
                          {"routes_per_second", rate}};
  if (summary.replace) {
    const FibDbEngineReplace& ended = *summary.replace;
    sentence += "; " + formatCount(ended.kept) + " kept as they were, " + formatCount(ended.changed) + " changed, " +
                formatCount(ended.removed) + " removed";
    facts.insert(facts.end(), {{"kept", ended.kept}, {"changed", ended.changed}, {"removed", ended.removed}});
  }
  session.output.done(sentence, facts);
}

}  // namespace fibdb::program
