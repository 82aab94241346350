// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/reference.cc: see reference.h.
#include "tools/fibdb/routes/reference.h"

#include <algorithm>

namespace fibdb::program {

void ReferenceTable::sort() {
  std::stable_sort(routes_.begin(), routes_.end(), [](const Route& a, const Route& b) { return a.prefix < b.prefix; });
  // Equal prefixes stand in the order in which they came. unique() keeps the first of a run, so from the back.
  const auto last = std::unique(routes_.rbegin(), routes_.rend(),
                                [](const Route& a, const Route& b) { return a.prefix == b.prefix; });
  routes_.erase(routes_.begin(), last.base());
}

const Route* ReferenceTable::exactly(const Prefix& prefix) const {
  const auto route = std::lower_bound(routes_.begin(), routes_.end(), prefix,
                                      [](const Route& r, const Prefix& p) { return r.prefix < p; });
  return route != routes_.end() && route->prefix == prefix ? &*route : nullptr;
}

const Route* ReferenceTable::find(uint32_t address) const {
  for (int length = 32; length >= 0; --length) {
    const auto mask = static_cast<uint8_t>(length);
    const Route* route = exactly({address & maskOf(mask), mask});
    if (route != nullptr) return route;
  }
  return nullptr;
}

}  // namespace fibdb::program
