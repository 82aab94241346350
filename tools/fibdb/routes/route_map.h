// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/route_map.h: the address space as a picture: neighbours in it are neighbours on the map.
//
// DESCRIPTION: addresses lie along a Hilbert curve that begins in the upper left corner and ends in the upper right,
// so every prefix is a square or half of one. A cell takes the colour that most of its routed addresses have by their
// longest match. COST: one pass over the routes; a drawing of some hundred KiB, whatever the table's size.
#ifndef FIBDB_TOOLS_ROUTE_MAP_H
#define FIBDB_TOOLS_ROUTE_MAP_H

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/fibdb/base/words.h"

namespace fibdb::program {

// Cells a side, as a power of two; a cell is a prefix of twice that length.
inline constexpr unsigned kMapOrder = 9;
inline constexpr uint32_t kMapSide = 1u << kMapOrder;
inline constexpr uint8_t kCellLength = 2 * kMapOrder;

struct MapCell {
  uint32_t x = 0;  // from the left
  uint32_t y = 0;  // from the top

  bool operator==(const MapCell&) const = default;
};
// Where an address lies on a map of 2^order cells a side.
MapCell cellOf(uint32_t address, unsigned order = kMapOrder);

class RouteMap {
 public:
  enum class By { kLength, kGroup };

  explicit RouteMap(By by) : by_(by), cells_(size_t{kMapSide} * kMapSide, kUnrouted) {}

  // REQUIRES: in the order of prefixes, each once.
  void add(const Prefix& prefix, uint32_t group);
  uint64_t routes() const { return routes_; }

  // The drawing, with a grid and names of the /8 networks and a legend. Ends the adding.
  std::string svg();

 private:
  // What a cell is coloured by: a class of mask lengths, or a group.
  using Kind = uint64_t;
  static constexpr Kind kUnrouted = UINT64_MAX;

  struct Open {
    Prefix prefix;
    Kind kind;
  };
  struct Ink {
    std::string color;
    std::string name;
    uint64_t addresses;
  };

  Kind kindOf(const Prefix& prefix, uint32_t group) const;
  void closeBefore(uint64_t address);
  void paint(uint64_t end, Kind kind);
  void settleCell();
  std::map<Kind, size_t> chooseInks(std::vector<Ink>& inks) const;
  void drawCells(std::string& svg, const std::vector<Ink>& inks, const std::map<Kind, size_t>& inkOf) const;
  static void drawLegend(std::string& svg, std::vector<Ink> inks);

  const By by_;
  uint64_t routes_ = 0;
  std::vector<Open> open_;              // each inside the one before
  uint64_t painted_ = 0;                // addresses below are done
  std::map<Kind, uint64_t> cellKinds_;  // addresses in the cell that painted_ stands in
  std::map<Kind, uint64_t> addresses_;
  std::vector<Kind> cells_;  // in the order of addresses
};

}  // namespace fibdb::program

#endif
