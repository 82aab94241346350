// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/death/deaths.h: a writer stopped before any of its stores, and the stores before it undone.
#ifndef FIBDB_TESTS_ENGINE_DEATH_DEATHS_H
#define FIBDB_TESTS_ENGINE_DEATH_DEATHS_H

#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/engine/watched/watched_word.h"

namespace fibdb::death {

using watched::Site;

using SiteName = std::pair<std::string_view, int>;  // file, without folders; line

// What was stored while it ran.
class Tape {
 public:
  static constexpr uint64_t kNever = UINT64_MAX;

  // Runs the writer up to its store number `death` (0: the first), or to its end: whether it came to that.
  bool run(const std::function<void()>& writer, uint64_t death = kNever);
  uint64_t stores() const { return stores_.size(); }
  SiteName siteOf(uint64_t store) const;
  // Makes memory what it was before the run.
  void rewind();

 private:
  static void beforeStore(void* at, unsigned bytes, uint64_t value, Site site);
  struct Store {
    void* at;
    unsigned bytes;
    uint64_t held;
    Site site;
  };
  std::vector<Store> stores_;
};

}  // namespace fibdb::death

#endif
