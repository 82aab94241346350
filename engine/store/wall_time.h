// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/wall_time.h: moments that people and other processes compare.
#ifndef FIBDB_ENGINE_STORE_WALL_TIME_H
#define FIBDB_ENGINE_STORE_WALL_TIME_H

#include <time.h>

#include <cstdint>

namespace fibdb::store {

inline constexpr uint64_t kMicrosPerSecond = 1'000'000;

// Microseconds since 1970. CLOCK_REALTIME_COARSE is right to some milliseconds, and costs next to nothing.
inline uint64_t microsecondsNow(clockid_t clock = CLOCK_REALTIME) {
  timespec now;
  clock_gettime(clock, &now);
  return static_cast<uint64_t>(now.tv_sec) * kMicrosPerSecond + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

}  // namespace fibdb::store

#endif
