// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/extents.h: extents for a test that is itself the owner of what it takes.
#ifndef FIBDB_TESTS_SUPPORT_EXTENTS_H
#define FIBDB_TESTS_SUPPORT_EXTENTS_H

#include "engine/store/arena.h"

namespace fibdb::store {

inline constexpr uint8_t kTestOwner = 99;

inline Ref takeExtent(Arena& arena) {
  Ref claimed = kNoRef;
  return arena.takeExtent(kTestOwner, claimed);
}

}  // namespace fibdb::store

#endif
