// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/route_search.h: the routes that fit a question, found through the index that serves it.
//
// DESCRIPTION: a prefix that routes must cover is looked up, one length after the other; what lies inside a prefix or a
// VRF is a run of the key order; a group has an index of its own. Where the VRF is not given, those that there are are
// found by one seek each. COST: what is found, and where no index serves the question, a look at every route.
#ifndef FIBDB_TOOLS_ROUTE_SEARCH_H
#define FIBDB_TOOLS_ROUTE_SEARCH_H

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "tools/fibdb/routes/routes.h"

namespace fibdb::program {

// What is asked of routes. What is not given may be anything.
struct RouteQuery {
  std::optional<uint32_t> vr = std::nullopt;
  std::optional<uint32_t> vrf = std::nullopt;
  std::optional<uint32_t> group = std::nullopt;
  uint8_t shortest = 0;
  uint8_t longest = 32;
  std::optional<Prefix> inside = std::nullopt;    // it and all that it covers
  std::optional<Prefix> covering = std::nullopt;  // it and all that cover it

  bool fits(const Vrf& vrf, const Prefix& prefix, uint32_t group) const;
  bool fits(const FibDbIp4forwardItem& route) const;
};

// A place that an index was asked for. The key of the group index, {group, vr_id}, is its first two words.
struct RouteSeek {
  uint32_t indexId;
  FibDbIp4forwardKey key;
};
// The nodes of the index on the way to that place.
uint64_t nodesTo(const RouteSeek& seek);

enum class RouteIndex { kLongestPrefix, kKeyOrder, kGroup, kNone };
const char* nameOf(RouteIndex index);

class RouteSearch {
 public:
  using Visit = std::function<void(const FibDbIp4forwardItem& route)>;

  explicit RouteSearch(const RouteQuery& query);

  // The first `most` of them, in key order; those that cover a prefix, longest first. How many these were.
  uint64_t forEach(uint64_t most, const Visit& visit);
  // How many there are. A run of the key order that turns out to be a good part of the table is counted by a look at
  // every route in the order of memory, which is faster.
  uint64_t count();

  RouteIndex index() const { return index_; }
  const std::vector<RouteSeek>& seeks() const { return seeks_; }
  uint64_t routesRead() const { return routesRead_; }

 private:
  // False when no more routes are wanted.
  using Take = std::function<bool(const FibDbIp4forwardItem& route)>;

  bool search(const Take& take);
  bool inVrfs(const std::function<bool(const Vrf& vrf)>& search);
  bool coveringIn(const Vrf& vrf, const Take& take);
  bool insideOf(const Vrf& vrf, const Take& take);
  bool ofGroup(const Take& take);
  uint64_t countEverywhere();

  const RouteQuery query_;
  RouteIndex index_;
  std::vector<RouteSeek> seeks_;
  uint64_t routesRead_ = 0;
};

}  // namespace fibdb::program

#endif
