// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/pace.h: how much is done where everything takes many times as long.
#ifndef FIBDB_TESTS_SUPPORT_PACE_H
#define FIBDB_TESTS_SUPPORT_PACE_H

#include <cstdint>

#include "tests/support/emulator.h"

namespace fibdb::pace {

// For a sanitizer, or to see which lines were reached.
#ifdef FIBDB_INSTRUMENTED
inline constexpr bool kIsInstrumented = true;
#else
inline constexpr bool kIsInstrumented = false;
#endif

// Other machines are here by an emulator, ten to twenty times as slow.
inline constexpr bool kIsSlow = emulation::kIsEmulated || kIsInstrumented;

// Of random work a part is done; where it goes at full speed, all.
constexpr uint32_t shareOf(uint32_t work) {
  if (emulation::kIsEmulated) return work / 8;
  return kIsInstrumented ? work / 4 : work;
}

}  // namespace fibdb::pace

#endif
