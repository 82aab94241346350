// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/report.cc: what a run prints and leaves behind.
#include "bench/report.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

namespace fibdb::bench {
namespace {

using Json = nlohmann::ordered_json;

std::string withUnit(double value, Unit unit) {
  char text[32];
  switch (unit) {
    case Unit::kPerSecond:
      std::snprintf(text, sizeof text, "%.3f M/s", value / 1e6);
      break;
    case Unit::kNanoseconds:
      std::snprintf(text, sizeof text, "%.0f ns", value);
      break;
    case Unit::kBytes:
      std::snprintf(text, sizeof text, "%.1f B", value);
      break;
    case Unit::kShare:
      std::snprintf(text, sizeof text, "%.3f x", value);
      break;
  }
  return text;
}

const char* nameOf(Unit unit) {
  switch (unit) {
    case Unit::kPerSecond:
      return "per second";
    case Unit::kNanoseconds:
      return "nanoseconds";
    case Unit::kBytes:
      return "bytes";
    case Unit::kShare:
      break;
  }
  return "share";
}

// How many times better ours is.
double ratioOf(const Figure& figure, const Figure::Line& ours, const Figure::Line& theirs) {
  const double own = ours.spread().median, other = theirs.spread().median;
  return moreIsBetter(figure.unit) ? own / other : other / own;
}

Json linesOf(const Figures& figures) {
  Json list = Json::array();
  for (const Figure& figure : figures.all()) {
    Json peers = Json::object();
    for (const Figure::Line& line : figure.lines) {
      const Spread spread = line.spread();
      peers[line.peer] = {
          {"median", spread.median}, {"min", spread.least}, {"max", spread.most}, {"rounds", line.rounds}};
    }
    Json one = {{"name", figure.name}, {"unit", nameOf(figure.unit)}, {"peers", peers}};
    const Figure::Line *best = figure.best(), *ours = figure.ours();
    if (best != nullptr) one["best peer"] = best->peer;
    if (best != nullptr && ours != nullptr) one["ratio to best peer"] = ratioOf(figure, *ours, *best);
    list.push_back(one);
  }
  return list;
}

std::string processor() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
  }
  return "unknown";
}

Json machine() {
  utsname system{};
  uname(&system);
  const std::time_t now = std::time(nullptr);
  char date[32];
  std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&now));
  return {{"processor", processor()},
          {"processors", sysconf(_SC_NPROCESSORS_ONLN)},
          {"system", std::string(system.sysname) + " " + system.release + " " + system.machine},
          {"compiler", __VERSION__},
          {"date", date}};
}

std::ofstream opened(const std::string& path) {
  std::ofstream file(path);
  require(file.is_open(), "cannot write the report");
  return file;
}

// A row a figure, a column a peer.
void writeThroughput(const Figures& figures, const std::string& path) {
  std::vector<std::string> peers;
  for (const Figure& figure : figures.all()) {
    for (const Figure::Line& line : figure.lines) {
      const bool counts = figure.unit == Unit::kPerSecond && std::ranges::find(peers, line.peer) == peers.end();
      if (counts) peers.push_back(line.peer);
    }
  }
  std::ofstream file = opened(path);
  file << "work";
  for (const std::string& peer : peers) file << "\t" << peer;
  file << "\n";
  for (const Figure& figure : figures.all()) {
    if (figure.unit != Unit::kPerSecond) continue;
    file << figure.name;
    for (const std::string& peer : peers) {
      const auto line = std::ranges::find(figure.lines, peer, &Figure::Line::peer);
      file << "\t" << (line == figure.lines.end() ? "NaN" : std::to_string(line->spread().median));
    }
    file << "\n";
  }
}

const Figure::Line& lineOf(const Figures& figures, const std::string& work, const std::string& peer) {
  const auto figure = std::ranges::find(figures.all(), work, &Figure::name);
  return *std::ranges::find(figure->lines, peer, &Figure::Line::peer);
}

// A file for each work, a block for each peer: routes, and nanoseconds per operation or bytes per route.
void writeSeries(const std::vector<SeriesPoint>& series, const std::string& folder) {
  if (series.empty()) return;
  unsigned number = 0;
  for (const Figure& work : series.front().figures.all()) {
    std::ofstream file = opened(folder + "/series-" + std::to_string(number++) + ".dat");
    for (const Figure::Line& line : work.lines) {
      file << "\"" << work.name << "\"\t\"" << line.peer << "\"\n";
      for (const SeriesPoint& point : series) {
        const double median = lineOf(point.figures, work.name, line.peer).spread().median;
        file << point.routes << "\t" << (work.unit == Unit::kPerSecond ? 1e9 / median : median) << "\n";
      }
      file << "\n\n";
    }
  }
}

// A block for each peer, alone and beside a writer: the share of reads that took longer, and nanoseconds.
void writeLatencies(const std::vector<Distribution>& distributions, const std::string& path) {
  std::ofstream file = opened(path);
  for (const Distribution& one : distributions) {
    file << "\"share\"\t\"" << one.peer << (one.besideWriter ? " beside a writer" : " alone") << "\"\n";
    for (const auto& [share, nanoseconds] : one.percentiles) {
      if (share < 1) file << 1 - share << "\t" << nanoseconds << "\n";
    }
    file << "\n\n";
  }
}

}  // namespace

void printFigure(const Figure& figure) {
  std::printf("\n%-46s %14s %14s %14s  %s\n", figure.name.c_str(), "median", "least", "most", "fibdb is better by");
  const Figure::Line* const ours = figure.ours();
  std::vector<const Figure::Line*> lines;
  for (const Figure::Line& line : figure.lines) lines.push_back(&line);
  const bool more = moreIsBetter(figure.unit);
  std::ranges::sort(lines, [&](const auto* a, const auto* b) {
    if ((a == ours) != (b == ours)) return a == ours;
    return (a->spread().median > b->spread().median) == more;
  });
  for (const Figure::Line* line : lines) {
    const Spread spread = line->spread();
    std::printf("  %-44s %14s %14s %14s", line->peer.c_str(), withUnit(spread.median, figure.unit).c_str(),
                withUnit(spread.least, figure.unit).c_str(), withUnit(spread.most, figure.unit).c_str());
    if (ours != nullptr && line != ours) std::printf("  %8.2f", ratioOf(figure, *ours, *line));
    std::printf("\n");
  }
  std::fflush(stdout);
}

void printSummary(const Figures& figures) {
  std::printf("\n%-46s %14s   %-14s %14s %8s\n", "fibdb beside the best peer", "fibdb", "best peer", "", "ratio");
  for (const Figure& figure : figures.all()) {
    const Figure::Line *ours = figure.ours(), *best = figure.best();
    if (ours == nullptr) continue;
    std::printf("%-46s %14s", figure.name.c_str(), withUnit(ours->spread().median, figure.unit).c_str());
    if (best != nullptr) {
      std::printf("   %-14s %14s %8.2f", best->peer.c_str(), withUnit(best->spread().median, figure.unit).c_str(),
                  ratioOf(figure, *ours, *best));
    }
    std::printf("\n");
  }
}

void printSeries(const std::vector<SeriesPoint>& series) {
  if (series.empty()) return;
  for (const Figure& first : series.front().figures.all()) {
    std::printf("\n%-46s", (first.name + ", by number of routes").c_str());
    for (const SeriesPoint& point : series) std::printf(" %12zu", point.routes);
    std::printf("\n");
    for (const Figure::Line& line : first.lines) {
      std::printf("  %-44s", line.peer.c_str());
      for (const SeriesPoint& point : series) {
        const double median = lineOf(point.figures, first.name, line.peer).spread().median;
        std::printf(" %12s", withUnit(median, first.unit).c_str());
      }
      std::printf("\n");
    }
  }
}

void writeFiles(const Report& report, const std::string& folder) {
  std::filesystem::create_directories(folder);
  Json all = {{"command", report.command},
              {"machine", machine()},
              {"routes file", report.routesFile},
              {"routes", report.routes},
              {"seed", report.seed},
              {"rounds", report.rounds},
              {"peers left out", report.leftOut},
              {"figures", linesOf(report.figures)}};
  Json series = Json::array();
  for (const SeriesPoint& point : report.series) {
    series.push_back({{"routes", point.routes}, {"figures", linesOf(point.figures)}});
  }
  all["series"] = series;
  Json distributions = Json::array();
  for (const Distribution& one : report.distributions) {
    Json percentiles = Json::array();
    for (const auto& [share, nanoseconds] : one.percentiles) percentiles.push_back({share, nanoseconds});
    distributions.push_back(
        {{"peer", one.peer}, {"beside a writer", one.besideWriter}, {"nanoseconds by share of reads", percentiles}});
  }
  all["latency of a read"] = distributions;
  opened(folder + "/bench.json") << all.dump(2) << "\n";
  writeThroughput(report.figures, folder + "/throughput.dat");
  writeSeries(report.series, folder);
  writeLatencies(report.distributions, folder + "/latency.dat");
}

}  // namespace fibdb::bench
