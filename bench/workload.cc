// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/workload.cc: the routes and the addresses that are looked up.
#include "bench/workload.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <unordered_set>

#include "bench/peers/peer.h"

namespace fibdb::bench {
namespace {

constexpr uint32_t kGroups = 256;
constexpr double kZipfExponent = 1.1;

uint64_t wordOf(const Key& key) { return (uint64_t{key.addr} << 8) | key.length; }

uint32_t addressIn(const Key& key, Random& random) {
  return key.addr | (static_cast<uint32_t>(random()) & ~maskOf(key.length));
}

// Where one prefix lies in another one and both end the address space, rte_fib (22.11) takes the outer one for all of
// the space.
bool endsTheSpace(const Key& key) { return (key.addr | ~maskOf(key.length)) == ~uint32_t{0}; }

// What makes routes until enough were new.
class Copies {
 public:
  Copies(const std::vector<Route>& routes, uint64_t seed) : routes_(&routes), random_(seed) {
    for (const Route& route : routes) known_.insert(wordOf(route.key));
  }

  void append(std::vector<Route>& out, size_t count) {
    while (out.size() < count) {
      const auto shift = static_cast<uint32_t>(random_());
      for (const Route& route : *routes_) {
        if (out.size() == count) return;
        Route copy = route;
        copy.key.addr = (route.key.addr ^ shift) & maskOf(route.key.length);
        if (!endsTheSpace(copy.key) && known_.insert(wordOf(copy.key)).second) out.push_back(copy);
      }
    }
  }

 private:
  const std::vector<Route>* routes_;
  Random random_;
  std::unordered_set<uint64_t> known_;
};

// Ranges of addresses that some prefix covers, with how many addresses lie before each.
struct Covered {
  uint32_t first;
  uint64_t before;
};
std::vector<Covered> coveredBy(const std::vector<Route>& routes, uint64_t& total) {
  std::vector<Key> keys;
  for (const Route& route : routes) keys.push_back(route.key);
  std::ranges::sort(keys);
  std::vector<Covered> ranges;
  uint64_t end = 0;
  total = 0;
  for (const Key& key : keys) {
    const uint64_t last = uint64_t{key.addr} + (uint64_t{1} << (32 - key.length));
    if (last <= end) continue;  // lies in one that came before
    ranges.push_back({key.addr, total});
    total += last - key.addr;
    end = last;
  }
  return ranges;
}

std::vector<uint32_t> uniform(const std::vector<Route>& routes, size_t count, Random& random) {
  uint64_t total = 0;
  const std::vector<Covered> ranges = coveredBy(routes, total);
  std::uniform_int_distribution<uint64_t> any(0, total - 1);
  std::vector<uint32_t> addrs(count);
  for (uint32_t& addr : addrs) {
    const uint64_t nth = any(random);
    const auto range = std::ranges::upper_bound(ranges, nth, {}, &Covered::before) - 1;
    addr = static_cast<uint32_t>(range->first + (nth - range->before));
  }
  return addrs;
}

std::vector<uint32_t> byZipf(const std::vector<Route>& routes, size_t count, Random& random) {
  std::vector<double> upTo(routes.size());
  double sum = 0;
  for (size_t i = 0; i < routes.size(); ++i) upTo[i] = sum += std::pow(static_cast<double>(i + 1), -kZipfExponent);
  std::uniform_real_distribution<double> any(0, sum);
  std::vector<uint32_t> addrs(count);
  for (uint32_t& addr : addrs) {
    const auto rank = static_cast<size_t>(std::ranges::upper_bound(upTo, any(random)) - upTo.begin());
    addr = addressIn(routes[std::min(rank, routes.size() - 1)].key, random);
  }
  return addrs;
}

}  // namespace

std::vector<Route> readRoutes(const std::string& path, uint64_t seed) {
  std::ifstream file(path);
  require(file.is_open(), "cannot read the routes file");
  std::vector<Route> routes;
  std::string prefix, keyword;
  for (uint32_t origin = 0; file >> prefix >> keyword >> origin;) {
    const size_t slash = prefix.find('/');
    require(slash != std::string::npos, "a line of the routes file is no route");
    uint8_t length = 33;
    std::from_chars(prefix.data() + slash + 1, prefix.data() + prefix.size(), length);
    prefix[slash] = '\0';
    in_addr addr{};
    require(inet_pton(AF_INET, prefix.c_str(), &addr) == 1 && length <= 32, "a line of the routes file is no route");
    routes.push_back({{ntohl(addr.s_addr) & maskOf(length), length}, origin % kGroups, 1});
  }
  require(!routes.empty(), "no routes");
  std::ranges::sort(routes, {}, &Route::key);
  const auto isSame = [](const Route& a, const Route& b) { return a.key == b.key; };
  routes.erase(std::unique(routes.begin(), routes.end(), isSame), routes.end());
  std::ranges::shuffle(routes, Random(seed));
  return routes;
}

std::vector<Route> scaledTo(const std::vector<Route>& routes, size_t count, uint64_t seed) {
  if (count <= routes.size()) return {routes.begin(), routes.begin() + static_cast<std::ptrdiff_t>(count)};
  std::vector<Route> scaled = routes;
  scaled.reserve(count);
  Copies(routes, seed).append(scaled, count);
  std::ranges::shuffle(scaled, Random(seed));
  return scaled;
}

std::vector<Route> othersThan(const std::vector<Route>& routes, size_t count, uint64_t seed) {
  std::vector<Route> others;
  others.reserve(count);
  Copies(routes, seed).append(others, count);
  std::ranges::shuffle(others, Random(seed));
  return others;
}

std::vector<uint32_t> makeTrace(const std::vector<Route>& routes, Trace trace, size_t count, uint64_t seed) {
  Random random(seed + static_cast<uint64_t>(trace));
  switch (trace) {
    case Trace::kUniform:
      return uniform(routes, count, random);
    case Trace::kZipf:
      return byZipf(routes, count, random);
    case Trace::kPrefix:
      break;
  }
  std::vector<uint32_t> addrs(count);
  for (uint32_t& addr : addrs) addr = addressIn(routes[random() % routes.size()].key, random);
  return addrs;
}

std::vector<Key> makeKeys(const std::vector<Route>& routes, size_t count, uint64_t seed) {
  Random random(seed);
  std::vector<Key> keys(count);
  for (Key& key : keys) key = routes[random() % routes.size()].key;
  return keys;
}

}  // namespace fibdb::bench
