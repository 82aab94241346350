// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/workload.h: the routes and the addresses that are looked up; the same ones in every run with the same seed.
#ifndef FIBDB_BENCH_WORKLOAD_H
#define FIBDB_BENCH_WORKLOAD_H

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bench/route.h"

namespace fibdb::bench {

using Random = std::mt19937_64;

enum class Trace : uint8_t {
  kUniform,  // a: every covered address equally likely
  kPrefix,   // b: every prefix equally likely, then any of its addresses
  kZipf      // c: prefixes by Zipf's law with exponent 1.1, then any of its addresses
};
inline constexpr Trace kTraces[] = {Trace::kUniform, Trace::kPrefix, Trace::kZipf};
inline constexpr char letterOf(Trace trace) { return static_cast<char>('a' + static_cast<int>(trace)); }

// Lines "prefix origin-as N", in no order.
std::vector<Route> readRoutes(const std::string& path, uint64_t seed);

// So many routes like these: the first of them, or all of them and copies that stand elsewhere in the address space.
// A copy's addresses differ from the original's by one number, so its prefixes lie in each other as the original's do.
std::vector<Route> scaledTo(const std::vector<Route>& routes, size_t count, uint64_t seed);

// Routes of which none is among these.
std::vector<Route> othersThan(const std::vector<Route>& routes, size_t count, uint64_t seed);

std::vector<uint32_t> makeTrace(const std::vector<Route>& routes, Trace trace, size_t count, uint64_t seed);

// Keys that are there, every one equally likely.
std::vector<Key> makeKeys(const std::vector<Route>& routes, size_t count, uint64_t seed);

}  // namespace fibdb::bench

#endif
