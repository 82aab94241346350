// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// runtime/stopwatch.h: times an update from before its object is made until after it is released.
#ifndef FIBDB_RUNTIME_STOPWATCH_H
#define FIBDB_RUNTIME_STOPWATCH_H

#include <sys/time.h>

#include <cstdint>

#include "fibdb/runtime.h"

namespace fibdb {

// Takes a sample only when the switch g_fibGetDbOperTickCost is on both when the watch starts and when it stops.
class Stopwatch {
 public:
  explicit Stopwatch(bool timed) : asked_(timed), running_(timed && FIB_DB_GetTickCost() != 0) {
    if (running_) gettimeofday(&start_, nullptr);
  }
  ~Stopwatch() {
    // Required: the switch is asked again at the end; a start that was never taken gives no sample.
    if (!asked_ || FIB_DB_GetTickCost() == 0 || !running_) return;
    timeval end;
    gettimeofday(&end, nullptr);
    // Signed, so that a clock set back gives a negative sample, not an enormous one.
    const int64_t micros = int64_t{end.tv_sec - start_.tv_sec} * kMicrosPerSec + int64_t{end.tv_usec - start_.tv_usec};
    FIB_DB_UpdateTick(static_cast<double>(micros) / kMicrosPerSec);
  }
  Stopwatch(const Stopwatch&) = delete;
  Stopwatch& operator=(const Stopwatch&) = delete;

  void cancel() { asked_ = false; }

 private:
  static constexpr int64_t kMicrosPerSec = 1'000'000;

  bool asked_;
  bool running_;
  timeval start_{};
};

}  // namespace fibdb

#endif
