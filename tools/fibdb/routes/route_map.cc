// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/route_map.cc: see route_map.h.
#include "tools/fibdb/routes/route_map.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <utility>

namespace fibdb::program {
namespace {

constexpr uint64_t kCellAddresses = uint64_t{1} << (32 - kCellLength);
constexpr uint64_t kAllAddresses = uint64_t{1} << 32;

// Mask lengths that share a colour: those that tables are full of have one each. From few large networks in cold
// colours to many small ones in warm colours.
struct LengthClass {
  uint8_t longest;
  const char* name;
  const char* color;
};
constexpr std::array kLengthClasses = std::to_array<LengthClass>({
    {0, "/0", "#d9d9d9"},
    {8, "/1 to /8", "#313695"},
    {12, "/9 to /12", "#4575b4"},
    {15, "/13 to /15", "#74add1"},
    {16, "/16", "#abd9e9"},
    {19, "/17 to /19", "#66bd63"},
    {21, "/20, /21", "#a6d96a"},
    {22, "/22", "#fee08b"},
    {23, "/23", "#fdae61"},
    {24, "/24", "#f46d43"},
    {32, "/25 to /32", "#a50026"},
});

// The largest groups have one each, and all others the last.
constexpr std::array kGroupColors{"#1f77b4", "#ff7f0e", "#2ca02c", "#d62728", "#9467bd", "#8c564b", "#e377c2",
                                  "#bcbd22", "#17becf", "#393b79", "#e7ba52", "#637939", "#b0b0b0"};
constexpr const char* kUnroutedColor = "#f4f4f4";

constexpr int kMargin = 8;
constexpr int kHeading = 24;
constexpr int kLegendWidth = 150;
constexpr int kLegendLine = 16;

__attribute__((format(printf, 2, 3))) void append(std::string& text, const char* format, ...) {
  char part[256];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(part, sizeof part, format, arguments);
  va_end(arguments);
  text.append(part, static_cast<size_t>(length));
}

// The lines of one colour, from left to right and row by row: each starts where the last one ended.
class Pen {
 public:
  void line(const MapCell& from, uint32_t length) {
    append(path_, "m%d %dh%u", static_cast<int>(from.x) - static_cast<int>(at_.x),
           static_cast<int>(from.y) - static_cast<int>(at_.y), length);
    at_ = {from.x + length, from.y};
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  MapCell at_;
};

void drawGrid(std::string& svg) {
  constexpr unsigned kNetworksOrder = 4;
  constexpr uint32_t kStep = kMapSide >> kNetworksOrder;
  svg += "<path stroke='#000' stroke-opacity='.25' stroke-width='.3' d='";
  for (uint32_t i = 0; i <= kMapSide; i += kStep) append(svg, "M%u 0v%uM0 %uh%u", i, kMapSide, i, kMapSide);
  svg += "'/>\n<g font-size='6' fill-opacity='.8'>\n";
  for (uint32_t network = 0; network < 256; ++network) {
    const MapCell cell = cellOf(network << 24, kNetworksOrder);
    append(svg, "<text x='%u' y='%u'>%u</text>\n", cell.x * kStep + 2, cell.y * kStep + 7, network);
  }
  svg += "</g>\n";
}

}  // namespace

// Four quarters at every step: the curve goes down, right and up through them, and within the first and the last one
// it is turned over.
MapCell cellOf(uint32_t address, unsigned order) {
  MapCell cell;
  for (unsigned level = 0; level < order; ++level) {
    const uint32_t quarter = address >> (32 - 2 * order + 2 * level) & 3;
    const uint32_t side = 1u << level;
    if (quarter == 0) std::swap(cell.x, cell.y);
    if (quarter == 3) cell = {side - 1 - cell.y, side - 1 - cell.x};
    if (quarter >= 2) cell.x += side;
    if (quarter == 1 || quarter == 2) cell.y += side;
  }
  return cell;
}

void RouteMap::add(const Prefix& prefix, uint32_t group) {
  ++routes_;
  closeBefore(prefix.address);
  if (!open_.empty()) paint(prefix.address, open_.back().kind);
  paint(prefix.address, kUnrouted);
  open_.push_back({prefix, kindOf(prefix, group)});
}

RouteMap::Kind RouteMap::kindOf(const Prefix& prefix, uint32_t group) const {
  if (by_ == By::kGroup) return group;
  const auto isIn = [&](const LengthClass& lengths) { return prefix.length <= lengths.longest; };
  return static_cast<Kind>(std::ranges::find_if(kLengthClasses, isIn) - kLengthClasses.begin());
}

// Prefixes that end before the address: their rest is painted.
void RouteMap::closeBefore(uint64_t address) {
  while (!open_.empty() && lastAddress(open_.back().prefix) < address) {
    paint(uint64_t{lastAddress(open_.back().prefix)} + 1, open_.back().kind);
    open_.pop_back();
  }
}

void RouteMap::paint(uint64_t end, Kind kind) {
  while (painted_ < end) {
    const uint64_t cellEnd = (painted_ / kCellAddresses + 1) * kCellAddresses;
    const uint64_t until = std::min(end, cellEnd);
    if (kind != kUnrouted) cellKinds_[kind] += until - painted_;
    painted_ = until;
    if (painted_ == cellEnd) settleCell();
  }
}

void RouteMap::settleCell() {
  if (cellKinds_.empty()) return;
  const auto most = std::ranges::max_element(cellKinds_, {}, [](const auto& kind) { return kind.second; });
  cells_[painted_ / kCellAddresses - 1] = most->first;
  for (const auto& [kind, addresses] : cellKinds_) addresses_[kind] += addresses;
  cellKinds_.clear();
}

// Which ink each kind is drawn with.
std::map<RouteMap::Kind, size_t> RouteMap::chooseInks(std::vector<Ink>& inks) const {
  std::map<Kind, size_t> inkOf;
  std::vector<std::pair<Kind, uint64_t>> kinds(addresses_.begin(), addresses_.end());
  if (by_ == By::kGroup) std::ranges::stable_sort(kinds, std::greater(), [](const auto& kind) { return kind.second; });
  for (const auto& [kind, addresses] : kinds) {
    if (by_ == By::kLength) {
      inks.push_back({kLengthClasses[kind].color, kLengthClasses[kind].name, addresses});
    } else if (inks.size() + 1 < kGroupColors.size()) {
      inks.push_back({kGroupColors[inks.size()], "group " + std::to_string(kind), addresses});
    } else if (inks.size() < kGroupColors.size()) {
      inks.push_back({kGroupColors.back(), "other groups", addresses});
    } else {
      inks.back().addresses += addresses;
    }
    inkOf[kind] = inks.size() - 1;
  }
  return inkOf;
}

void RouteMap::drawCells(std::string& svg, const std::vector<Ink>& inks, const std::map<Kind, size_t>& inkOf) const {
  constexpr size_t kNoInk = SIZE_MAX;
  std::vector<size_t> picture(cells_.size(), kNoInk);
  for (size_t i = 0; i < cells_.size(); ++i) {
    const MapCell cell = cellOf(static_cast<uint32_t>(i * kCellAddresses));
    if (cells_[i] != kUnrouted) picture[cell.y * kMapSide + cell.x] = inkOf.at(cells_[i]);
  }
  std::vector<Pen> pens(inks.size());
  for (uint32_t y = 0; y < kMapSide; ++y) {
    const size_t* row = &picture[size_t{y} * kMapSide];
    for (uint32_t x = 0, end = 0; x < kMapSide; x = end) {
      while (end < kMapSide && row[end] == row[x]) ++end;
      if (row[x] != kNoInk) pens[row[x]].line({x, y}, end - x);
    }
  }
  svg += "<g fill='none' shape-rendering='crispEdges' transform='translate(0 .5)'>\n";
  for (size_t i = 0; i < inks.size(); ++i) {
    svg += "<path stroke='" + inks[i].color + "' d='M0 0" + pens[i].path() + "'/>\n";
  }
  svg += "</g>\n";
}

// What has no ink is named last.
void RouteMap::drawLegend(std::string& svg, std::vector<Ink> inks) {
  uint64_t unrouted = kAllAddresses;
  for (const Ink& ink : inks) unrouted -= ink.addresses;
  inks.push_back({kUnroutedColor, "no route", unrouted});
  for (size_t i = 0; i < inks.size(); ++i) {
    const double share = 100 * static_cast<double>(inks[i].addresses) / static_cast<double>(kAllAddresses);
    const int y = static_cast<int>(i) * kLegendLine;
    append(svg, "<rect y='%d' width='12' height='12' fill='%s' stroke='#888' stroke-width='.5'/>", y,
           inks[i].color.c_str());
    append(svg, "<text x='18' y='%d'>%s</text>", y + 10, inks[i].name.c_str());
    append(svg, "<text x='%d' y='%d' text-anchor='end'>%.2f %%</text>\n", kLegendWidth - kMargin, y + 10, share);
  }
}

std::string RouteMap::svg() {
  closeBefore(kAllAddresses);
  paint(kAllAddresses, kUnrouted);
  std::vector<Ink> inks;
  const std::map<Kind, size_t> inkOf = chooseInks(inks);

  constexpr int kWidth = static_cast<int>(kMapSide) + 2 * kMargin + kLegendWidth;
  constexpr int kHeight = static_cast<int>(kMapSide) + kMargin + kHeading;
  std::string svg;
  append(svg, "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 %d %d' font-family='sans-serif'>\n", kWidth,
         kHeight);
  append(svg, "<rect width='%d' height='%d' fill='#fff'/>\n", kWidth, kHeight);
  append(svg, "<text x='%d' y='16' font-size='12'>%llu IPv4 routes by %s</text>\n", kMargin,
         static_cast<unsigned long long>(routes_), by_ == By::kLength ? "mask length" : "group");
  append(svg, "<g transform='translate(%d %d)'>\n<rect width='%u' height='%u' fill='%s'/>\n", kMargin, kHeading,
         kMapSide, kMapSide, kUnroutedColor);
  drawCells(svg, inks, inkOf);
  drawGrid(svg);
  append(svg, "</g>\n<g font-size='10' transform='translate(%d %d)'>\n", static_cast<int>(kMapSide) + 2 * kMargin,
         kHeading);
  drawLegend(svg, std::move(inks));
  svg += "</g>\n</svg>\n";
  return svg;
}

}  // namespace fibdb::program
