// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/call.cc: see call.h.
#include "tools/fibdb/base/call.h"

#include <cstdio>
#include <utility>

#include "tools/fibdb/base/call_watch.h"

namespace fibdb::program {
namespace {

CallWatcher watcher;

}  // namespace

void watchCalls(CallWatcher whoWatches) { watcher = std::move(whoWatches); }

bool callsAreWatched() { return watcher != nullptr; }

void reportCall(std::string_view function, const std::string& answer, int64_t begun) {
  char time[32];
  std::snprintf(time, sizeof time, "%.1f us", static_cast<double>(clockNow() - begun) / 1e3);
  watcher(std::string(function) + (answer.empty() ? "" : ": ") + answer + ", " + time);
}

}  // namespace fibdb::program
