// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/clock.cc: see clock.h.
#include "tools/fibdb/base/clock.h"

#include <chrono>

namespace fibdb::program {

int64_t clockNow() { return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count(); }

std::string timeText(std::time_t time) {
  std::tm parts{};
  gmtime_r(&time, &parts);
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

}  // namespace fibdb::program
