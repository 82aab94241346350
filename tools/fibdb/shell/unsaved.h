// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/unsaved.h: whether something was changed that no file holds.
//
// DESCRIPTION: the database counts its changes; who has saved or loaded a part notes how far they were then. THREADS:
// one.
#ifndef FIBDB_TOOLS_UNSAVED_H
#define FIBDB_TOOLS_UNSAVED_H

#include <array>
#include <cstdint>

namespace fibdb::program {

// What is saved as a whole: routes by `save routes`, the records of all other tables by `save config`.
enum class Part : uint8_t { kRoutes, kRecords };

class Unsaved {
 public:
  bool holds(Part part) const;
  // What is there now is in a file.
  void settle(Part part);

 private:
  std::array<uint64_t, 2> settled_{};  // changes by then, of each part
};

}  // namespace fibdb::program

#endif
