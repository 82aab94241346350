// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/routes/route_map_test.cc: where addresses lie on the map, and what it is coloured with.
#include "tools/fibdb/routes/route_map.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <set>

namespace fibdb::program {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr uint32_t kNetworkSide = 32;  // of a /8, in cells

std::string textOf(const MapCell& cell) { return std::to_string(cell.x) + ',' + std::to_string(cell.y); }

// The colour of every cell that a path of the drawing goes through, as a program that shows it would find it.
std::map<std::pair<int, int>, std::string> cellsDrawn(const std::string& svg) {
  std::map<std::pair<int, int>, std::string> cells;
  for (size_t at = 0; (at = svg.find("<path stroke='#", at)) != std::string::npos;) {
    at += std::string("<path stroke='").size();
    const std::string color = svg.substr(at, svg.find('\'', at) - at);
    const size_t begin = svg.find(" d='M0 0", at);
    if (color == "#000" || begin == std::string::npos) continue;
    const char* text = svg.c_str() + begin + 8;
    int x = 0, y = 0;
    while (*text == 'm') {
      char* end = nullptr;
      x += static_cast<int>(std::strtol(text + 1, &end, 10));
      y += static_cast<int>(std::strtol(end, &end, 10));
      EXPECT_EQ(*end, 'h');
      for (long length = std::strtol(end + 1, &end, 10); length > 0; --length) {
        EXPECT_TRUE(cells.emplace(std::pair(x++, y), color).second) << x << ',' << y;
      }
      text = end;
    }
    EXPECT_EQ(*text, '\'');
  }
  return cells;
}

std::map<std::pair<int, int>, std::string> cellsOf(RouteMap::By by,
                                                   const std::vector<std::pair<Prefix, uint32_t>>& routes) {
  RouteMap map(by);
  for (const auto& [prefix, group] : routes) map.add(prefix, group);
  return cellsDrawn(map.svg());
}

constexpr Prefix kTen{10u << 24, 8};

TEST(MapCell, networks_lie_where_the_curve_leads) {
  EXPECT_EQ(cellOf(0, 4), (MapCell{0, 0}));
  EXPECT_EQ(cellOf(1u << 24, 4), (MapCell{1, 0}));
  EXPECT_EQ(cellOf(3u << 24, 4), (MapCell{0, 1}));
  EXPECT_EQ(cellOf(10u << 24, 4), (MapCell{3, 3}));
  EXPECT_EQ(cellOf(127u << 24, 4), (MapCell{7, 8}));
  EXPECT_EQ(cellOf(128u << 24, 4), (MapCell{8, 8}));
  EXPECT_EQ(cellOf(255u << 24, 4), (MapCell{15, 0}));
  EXPECT_EQ(cellOf(0), (MapCell{0, 0}));
  EXPECT_EQ(cellOf(UINT32_MAX), (MapCell{kMapSide - 1, 0}));
  // 224.0.0.0/4: the sixteenth that is third from the left in the upper row.
  for (uint32_t network = 224; network < 240; ++network) {
    const MapCell cell = cellOf(network << 24, 4);
    EXPECT_TRUE(cell.x >= 8 && cell.x < 12 && cell.y < 4) << network << " at " << textOf(cell);
  }
}

TEST(MapCell, neighbours_in_the_address_space_touch_and_no_cell_is_met_twice) {
  std::set<std::pair<uint32_t, uint32_t>> met;
  MapCell before = cellOf(0);
  for (uint32_t i = 0; i < kMapSide * kMapSide; ++i) {
    const MapCell cell = cellOf(i << (32 - kCellLength));
    ASSERT_TRUE(met.emplace(cell.x, cell.y).second) << textOf(cell);
    const uint32_t steps = std::max(cell.x, before.x) - std::min(cell.x, before.x) + std::max(cell.y, before.y) -
                           std::min(cell.y, before.y);
    ASSERT_EQ(steps, i == 0 ? 0u : 1u) << textOf(before) << " to " << textOf(cell);
    before = cell;
  }
}

TEST(RouteMap, a_network_is_drawn_as_its_square) {
  const auto cells = cellsOf(RouteMap::By::kLength, {{kTen, 1}});
  EXPECT_EQ(cells.size(), kNetworkSide * kNetworkSide);
  for (const int x : {96, 127}) {
    for (const int y : {96, 127}) EXPECT_TRUE(cells.contains({x, y})) << x << ',' << y;
  }
  for (const auto& [cell, color] : cells) {
    EXPECT_TRUE(cell.first >= 96 && cell.first < 128 && cell.second >= 96 && cell.second < 128);
  }
}

TEST(RouteMap, everything_is_drawn_when_a_default_route_covers_it) {
  EXPECT_EQ(cellsOf(RouteMap::By::kLength, {{{0, 0}, 1}}).size(), size_t{kMapSide} * kMapSide);
  EXPECT_TRUE(cellsOf(RouteMap::By::kLength, {}).empty());
}

TEST(RouteMap, a_cell_has_the_colour_of_most_of_its_addresses_by_their_longest_match) {
  const auto at = [](const auto& cells, uint32_t address) {
    const MapCell cell = cellOf(address);
    return cells.at({static_cast<int>(cell.x), static_cast<int>(cell.y)});
  };
  const Prefix wholeCell{10u << 24, 18};
  const Prefix halfCell{(10u << 24) + (1u << 14), 19};
  const Prefix threeQuarters[] = {{(10u << 24) + (2u << 14), 19}, {(10u << 24) + (2u << 14) + (1u << 13), 20}};
  const auto cells = cellsOf(RouteMap::By::kGroup, {{kTen, 1},
                                                    {wholeCell, 2},
                                                    {{halfCell.address, 20}, 3},
                                                    {threeQuarters[0], 4},
                                                    {threeQuarters[1], 4},
                                                    {{11u << 24, 32}, 5}});
  const std::string around = at(cells, 10u << 24 | 0xFFFFFF);
  EXPECT_NE(at(cells, wholeCell.address), around);
  EXPECT_EQ(at(cells, halfCell.address), around) << "a quarter of a cell does not outweigh the rest";
  EXPECT_NE(at(cells, threeQuarters[0].address), around);
  EXPECT_NE(at(cells, threeQuarters[0].address), at(cells, wholeCell.address));
  EXPECT_NE(at(cells, 11u << 24), around) << "a single address is seen where nothing else is";
}

TEST(RouteMap, the_legend_names_what_there_is_with_its_share_of_the_addresses) {
  RouteMap lengths(RouteMap::By::kLength);
  lengths.add({0, 1}, 7);
  lengths.add({1u << 31, 16}, 8);
  const std::string svg = lengths.svg();
  EXPECT_THAT(svg, HasSubstr(">2 IPv4 routes by mask length<"));
  EXPECT_THAT(svg, HasSubstr(">/1 to /8</text><text x='142' y='10' text-anchor='end'>50.00 %<"));
  EXPECT_THAT(svg, HasSubstr(">/16</text><text x='142' y='26' text-anchor='end'>0.00 %<"));
  EXPECT_THAT(svg, HasSubstr(">no route</text><text x='142' y='42' text-anchor='end'>50.00 %<"));
  EXPECT_THAT(svg, Not(HasSubstr(">/24<")));
}

TEST(RouteMap, the_largest_groups_have_colours_of_their_own_and_the_others_share_one) {
  RouteMap groups(RouteMap::By::kGroup);
  for (uint32_t i = 0; i < 20; ++i) groups.add({i << 24, static_cast<uint8_t>(i == 19 ? 8 : 9)}, i);
  const std::string svg = groups.svg();
  EXPECT_THAT(svg, HasSubstr("y='10'>group 19</text>"));
  EXPECT_THAT(svg, HasSubstr(">group 10</text>"));
  EXPECT_THAT(svg, Not(HasSubstr(">group 11</text>")));
  EXPECT_THAT(svg, HasSubstr(">other groups</text><text x='142' y='202' text-anchor='end'>1.56 %<"));
}

// Every cell another colour than its neighbours is the most that can be drawn.
TEST(RouteMap, the_largest_drawing_is_below_two_million_bytes) {
  RouteMap map(RouteMap::By::kLength);
  for (uint32_t i = 0; i < kMapSide * kMapSide; ++i) {
    const uint32_t address = i << (32 - kCellLength);
    const MapCell cell = cellOf(address);
    map.add({address, static_cast<uint8_t>(18 + (cell.x + cell.y) % 2 * 6)}, 0);
  }
  EXPECT_LT(map.svg().size(), 2'000'000u);
}

}  // namespace
}  // namespace fibdb::program
