// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/report.h: what a run prints and leaves behind: tables, one JSON file, and the data of the plots.
#ifndef FIBDB_BENCH_REPORT_H
#define FIBDB_BENCH_REPORT_H

#include <string>
#include <vector>

#include "bench/measure.h"

namespace fibdb::bench {

// How long single reads took: the share of them, and what it did not exceed.
struct Distribution {
  std::string peer;
  bool besideWriter;
  std::vector<std::pair<double, uint32_t>> percentiles;
};

// The same work on tables of other sizes.
struct SeriesPoint {
  size_t routes;
  Figures figures;
};

struct Report {
  std::string command;
  std::string routesFile;
  size_t routes = 0;
  uint64_t seed = 0;
  unsigned rounds = 0;
  std::vector<std::string> leftOut;
  Figures figures;
  std::vector<Distribution> distributions;
  std::vector<SeriesPoint> series;
};

void printFigure(const Figure& figure);
// fibdb beside the best peer, a line a figure.
void printSummary(const Figures& figures);
void printSeries(const std::vector<SeriesPoint>& series);

// bench.json, and what bench/plots.gp draws: throughput.dat, series-*.dat, latency.dat.
void writeFiles(const Report& report, const std::string& folder);

}  // namespace fibdb::bench

#endif
