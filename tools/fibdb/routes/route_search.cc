// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/route_search.cc: see route_search.h.
#include "tools/fibdb/routes/route_search.h"

#include "tools/fibdb/base/call.h"
#include "tools/fibdb/base/failure.h"
#include "tools/fibdb/base/interrupt.h"

#include <algorithm>
#include <cstring>
#include <tuple>

namespace fibdb::program {
namespace {

// Prefixes from here on are taken to hold fewer routes than a group.
constexpr uint8_t kNarrowPrefix = 8;
// A run of the key order that holds more than this part of the table is no faster than a look at all of it.
constexpr uint64_t kPartOfTable = 64;

RouteIndex chooseIndex(const RouteQuery& query) {
  if (query.covering) return RouteIndex::kLongestPrefix;
  const bool narrow = query.inside && query.inside->length >= kNarrowPrefix;
  return query.group && !narrow ? RouteIndex::kGroup : RouteIndex::kKeyOrder;
}

bool coversAll(const Prefix& outer, const Prefix& inner) {
  return outer.length <= inner.length && covers(outer, inner.address);
}

// No key of a route of the VRF is less, or greater.
FibDbIp4forwardKey lowestOf(const Vrf& vrf) { return keyOf(vrf, {0, 0}); }
FibDbIp4forwardKey highestOf(const Vrf& vrf) { return keyOf(vrf, {UINT32_MAX, 32}); }

auto orderOf(const FibDbIp4forwardItem& item) { return std::tuple(vrfOf(item), prefixOf(item)); }

}  // namespace

bool RouteQuery::fits(const Vrf& of, const Prefix& prefix, uint32_t ofGroup) const {
  return (!vr || *vr == of.vr) && (!vrf || *vrf == of.index) && (!group || *group == ofGroup) &&
         prefix.length >= shortest && prefix.length <= longest && (!inside || coversAll(*inside, prefix)) &&
         (!covering || coversAll(prefix, *covering));
}

bool RouteQuery::fits(const FibDbIp4forwardItem& route) const {
  return fits(vrfOf(route), prefixOf(route), route.attr_word_a);
}

const char* nameOf(RouteIndex index) {
  switch (index) {
    case RouteIndex::kLongestPrefix:
      return "longest prefix";
    case RouteIndex::kKeyOrder:
      return "key order";
    case RouteIndex::kGroup:
      return "group";
    case RouteIndex::kNone:
      return "none, every route";
  }
  return "";
}

uint64_t nodesTo(const RouteSeek& seek) {
  uint32_t nodes = 0;
  const uint32_t code =
      call<fibdb_engine_explain>(call<fibdb_engine_find_table>("ip4forward"), seek.indexId, &seek.key, &nodes);
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, "explaining the search: " + codeText(code));
  return nodes;
}

RouteSearch::RouteSearch(const RouteQuery& query) : query_(query), index_(chooseIndex(query)) {}

uint64_t RouteSearch::forEach(uint64_t most, const Visit& visit) {
  uint64_t found = 0;
  if (index_ == RouteIndex::kGroup) {
    std::vector<FibDbIp4forwardItem> routes;
    ofGroup([&](const FibDbIp4forwardItem& route) { return routes.push_back(route), true; });
    std::ranges::sort(routes, {}, orderOf);
    for (; found < std::min<uint64_t>(most, routes.size()); ++found) visit(routes[found]);
    return found;
  }
  if (most == 0) return 0;
  search([&](const FibDbIp4forwardItem& route) {
    visit(route);
    return ++found < most;
  });
  return found;
}

uint64_t RouteSearch::count() {
  uint64_t found = 0;
  const bool run = query_.vr || query_.vrf || query_.inside;
  if (index_ != RouteIndex::kKeyOrder || run) {
    const uint64_t most = index_ == RouteIndex::kKeyOrder ? countRoutes() / kPartOfTable : UINT64_MAX;
    const bool whole = search([&](const FibDbIp4forwardItem&) {
      ++found;
      return routesRead_ <= most;
    });
    if (whole) return found;
  }
  index_ = RouteIndex::kNone;
  return countEverywhere();
}

bool RouteSearch::search(const Take& take) {
  switch (index_) {
    case RouteIndex::kLongestPrefix:
      return inVrfs([&](const Vrf& vrf) { return coveringIn(vrf, take); });
    case RouteIndex::kKeyOrder:
      return inVrfs([&](const Vrf& vrf) { return insideOf(vrf, take); });
    case RouteIndex::kGroup:
      return ofGroup(take);
    case RouteIndex::kNone:
      break;  // counts alone do without an index
  }
  return true;
}

// The VRF that is asked for, or those that have routes: behind each one the next is sought.
bool RouteSearch::inVrfs(const std::function<bool(const Vrf& vrf)>& search) {
  if (query_.vr && query_.vrf) return search({*query_.vr, *query_.vrf});
  const Vrf last{query_.vr.value_or(UINT32_MAX), UINT32_MAX};
  for (Vrf next{query_.vr.value_or(0), 0};;) {
    seeks_.push_back({FIB_DB_IP4FORWARD_DICTIONARY, lowestOf(next)});
    RouteRange range(lowestOf(next), highestOf(last), 1);
    const FibDbIp4forwardItem* first = range.next();
    if (first == nullptr) return true;
    const Vrf vrf = vrfOf(*first);
    if ((!query_.vrf || *query_.vrf == vrf.index) && !search(vrf)) return false;
    if (vrf == last) return true;
    next = vrf.index == UINT32_MAX ? Vrf{vrf.vr + 1, 0} : Vrf{vrf.vr, vrf.index + 1};
  }
}

// Each lookup finds the longest prefix that is still to come.
bool RouteSearch::coveringIn(const Vrf& vrf, const Take& take) {
  for (Prefix rest = *query_.covering;;) {
    seeks_.push_back({FIB_DB_IP4FORWARD_LONGEST, keyOf(vrf, rest)});
    const auto route = lookUpCovering(rest, vrf);
    if (!route) return true;
    ++routesRead_;
    if (query_.fits(*route) && !take(*route)) return false;
    if (route->mask_len == 0) return true;
    rest.length = static_cast<uint8_t>(route->mask_len - 1);
    rest.address &= maskOf(rest.length);
  }
}

bool RouteSearch::insideOf(const Vrf& vrf, const Take& take) {
  const Prefix inside = query_.inside.value_or(Prefix{0, 0});
  // A shorter prefix with the same address stands before it.
  RouteRange range(keyOf(vrf, inside), keyOf(vrf, {lastAddress(inside), 32}));
  seeks_.push_back({FIB_DB_IP4FORWARD_DICTIONARY, keyOf(vrf, inside)});
  const uint64_t before = routesRead_;
  while (const FibDbIp4forwardItem* route = range.next()) {
    routesRead_ = before + range.routesRead();
    if (query_.fits(*route) && !take(*route)) return false;
  }
  return true;
}

// The index has the virtual router in its key.
bool RouteSearch::ofGroup(const Take& take) {
  for (uint32_t vr = query_.vr.value_or(0); vr <= query_.vr.value_or(FIB_DB_MAX_VR_ID); ++vr) {
    seeks_.push_back({FIB_DB_IP4FORWARD_BY_GROUP, {*query_.group, vr, 0, 0}});
    RouteIterator routes(call<FIB_DB_CreateIp4forwardIteratorByNhpGrpId>(*query_.group, vr, -1));
    while (const FibDbIp4forwardItem* route = routes.next()) {
      ++routesRead_;
      if (query_.fits(*route) && !take(*route)) return false;
    }
  }
  return true;
}

// Over the rows as they are stored: to make an item of each would take longer than all the rest.
uint64_t RouteSearch::countEverywhere() {
  struct Counting {
    const RouteQuery& query;
    uint64_t read = 0;
    uint64_t found = 0;
  };
  Counting counting{query_};
  const auto visit = [](const void* row, uint32_t, void* context) {
    auto& counting = *static_cast<Counting*>(context);
    FibDbIp4forwardRecord record{};
    std::memcpy(&record, row, sizeof record);
    ++counting.read;
    const Prefix prefix{record.dest_ip_addr, record.mask_len};
    if (counting.query.fits(Vrf{record.vr_id, record.vrf_index}, prefix, record.attr_word_a)) ++counting.found;
    return interrupted() ? 1 : 0;
  };
  const uint32_t table = call<fibdb_engine_find_table>("ip4forward");
  const uint32_t code = call<fibdb_engine_walk>(table, visit, &counting);
  checkInterrupt();
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, "walking the routes: " + codeText(code));
  routesRead_ += counting.read;
  return counting.found;
}

}  // namespace fibdb::program
