// tests/engine/replay/replay_test.cc
#include <chrono>
#include <algorithm>
#include <map>
#include <cstdio>
#include <cstdlib>
#include "tests/engine/replay/readers.h"
using namespace fibdb::replay;
int main(int argc, char** argv) {
  const uint64_t seed = argc > 1 ? strtoull(argv[1], nullptr, 0) : 1;
  const unsigned runs = argc > 2 ? (unsigned)atoi(argv[2]) : 20000;
  auto t0 = std::chrono::steady_clock::now();
  auto secs = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count(); };
  History h(seed, {});
  printf("history %.2f s\n", secs());
  std::map<std::string, unsigned> faults;
  for (unsigned i = 0; i < runs; ++i) { auto f = replayReader(h, seed * 1000003 + i); if (!f.empty()) { if (faults[f.substr(0, f.find(" (states"))]++ < 2) printf("%u: %s\n", i, f.c_str()); } }
  printf("%u runs %.2f s, unrecorded %llu\n", runs, secs(), (unsigned long long)h.memory().unrecordedReads());
  for (auto& [f, n] : faults) printf("%6u %s\n", n, f.c_str());
  if (argc > 3) {
    auto sites = h.memory().sites();
    std::sort(sites.begin(), sites.end(), [](auto& a, auto& b) { return fileOf(a) != fileOf(b) ? fileOf(a) > fileOf(b) : a.line < b.line; });
    for (auto& s : sites) {
      for (auto kind : {Mutation::Kind::kWeaken, Mutation::Kind::kDelay, Mutation::Kind::kEnd}) {
        if (kind != Mutation::Kind::kWeaken && s.access != Access::kPublish) continue;
        if (fileOf(s) == "hash_index.h" && s.access == Access::kFollow) continue;
        unsigned found = 0; std::string what; double b = secs();
        for (uint64_t k = 0; k < 3 && !found; ++k) {
          History m(seed + k, {.writes = 2000}, {kind, fileOf(s), s.line});
          for (unsigned i = 0; i < runs / 3; ++i) { auto f = replayReader(m, (seed + k) * 777 + i); if (!f.empty()) { found = i + 1 + k * (runs / 3); what = f; break; } }
        }
        printf("%s %s:%d %s(%d) %s %u %s  (%.1f s)\n", kind == Mutation::Kind::kWeaken ? "weaken" : kind == Mutation::Kind::kDelay ? "delay" : "end", fileOf(s).c_str(), s.line, s.function, (int)s.access, found ? "FOUND" : "-", found, what.c_str(), secs() - b); fflush(stdout);
      }
    }
  }
}
