// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/call.cc: see call.h.
#include "tools/fibdb/base/call.h"

#include <cstdio>
#include <utility>

namespace fibdb::program {
namespace {

CallWatcher watcher;

}  // namespace

void watchCalls(CallWatcher whoWatches) { watcher = std::move(whoWatches); }

bool callsAreWatched() { return watcher != nullptr; }

void reportCall(std::string_view function, const std::string& answer, CallClock::time_point begun) {
  const std::chrono::duration<double, std::micro> taken = CallClock::now() - begun;
  char time[32];
  std::snprintf(time, sizeof time, "%.1f us", taken.count());
  watcher(std::string(function) + (answer.empty() ? "" : ": ") + answer + ", " + time);
}

}  // namespace fibdb::program
