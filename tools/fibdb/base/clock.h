// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/clock.h: how long things take, and when they were.
#ifndef FIBDB_TOOLS_CLOCK_H
#define FIBDB_TOOLS_CLOCK_H

#include <cstdint>
#include <ctime>
#include <string>

namespace fibdb::program {

// Nanoseconds of a clock that only goes forward.
int64_t clockNow();

// As 2026-11-22T05:22:53Z.
std::string timeText(std::time_t time);

// Seconds since it was made.
class Stopwatch {
 public:
  double seconds() const { return static_cast<double>(clockNow() - start_) / 1e9; }

 private:
  const int64_t start_ = clockNow();
};

}  // namespace fibdb::program

#endif
