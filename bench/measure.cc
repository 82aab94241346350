// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/measure.cc: figures.
#include "bench/measure.h"

#include <algorithm>
#include <cmath>

namespace fibdb::bench {

Spread spreadOf(std::vector<double> values) {
  std::ranges::sort(values);
  const size_t half = values.size() / 2;
  const double median = values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
  return {median, values.front(), values.back()};
}

const Figure::Line* Figure::best() const {
  const Line* found = nullptr;
  for (const Line& line : lines) {
    if (line.peer.starts_with("fibdb")) continue;
    const bool isBetter = found == nullptr || (line.spread().median > found->spread().median) == moreIsBetter(unit);
    if (isBetter) found = &line;
  }
  return found;
}

const Figure::Line* Figure::ours() const {
  const auto found = std::ranges::find_if(lines, [](const Line& line) { return line.peer.starts_with("fibdb"); });
  return found == lines.end() ? nullptr : &*found;
}

void Figures::add(const std::string& name, Unit unit, const std::string& peer, double value) {
  auto figure = std::ranges::find(all_, name, &Figure::name);
  if (figure == all_.end()) figure = all_.insert(figure, {name, unit, {}});
  auto line = std::ranges::find(figure->lines, peer, &Figure::Line::peer);
  if (line == figure->lines.end()) line = figure->lines.insert(line, {peer, {}});
  line->rounds.push_back(value);
}

uint32_t percentile(Samples& samples, double share) {
  require(!samples.empty(), "no samples");
  const auto place = static_cast<std::ptrdiff_t>(std::ceil(share * static_cast<double>(samples.size()))) - 1;
  const auto nth = samples.begin() + std::max<std::ptrdiff_t>(place, 0);
  std::ranges::nth_element(samples, nth);
  return *nth;
}

}  // namespace fibdb::bench
