// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/failing_memory.h: memory that fails when it is told to: that of the library's hooks, and what the
// engine asks of the C library.
//
// A program that has failing_memory.cc among its sources takes the C library's place for the engine; the requests of
// everybody else pass. Its arena is as small as an arena may be, so that a test can fill it.
#ifndef FIBDB_TESTS_SUPPORT_FAILING_MEMORY_H
#define FIBDB_TESTS_SUPPORT_FAILING_MEMORY_H

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

namespace fibdb::test {

// The requests of one kind, from arm() on.
class Requests {
 public:
  // The n-th request from now on fails; 0: none does.
  void arm(uint64_t n) { failAt_ = n, count_ = 0; }
  void failAll() { arm(kEvery); }
  bool armed() const { return failAt_ != 0; }
  bool failsNow() { return ++count_ == failAt_ || failAt_ == kEvery; }
  // Whether the request that was to fail came.
  bool failed() const { return failAt_ != 0 && count_ >= failAt_; }

 private:
  static constexpr uint64_t kEvery = UINT64_MAX;
  uint64_t failAt_ = 0;
  uint64_t count_ = 0;
};

// Of the thread that tests: the engine's own threads are not told to fail.
extern Requests hookRequests;
extern thread_local Requests engineRequests;

// Hooks that fail as told, and know what is alive.
void installFailingHooks();
// Blocks of the hooks that are alive, and releases of what was not; empty when all is well.
std::string blocksLeft();

}  // namespace fibdb::test

#endif
