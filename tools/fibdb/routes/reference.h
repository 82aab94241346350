// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/reference.h: longest prefix match the slow, obviously right way, to check the database against.
//
// DESCRIPTION: routes sorted by prefix; a lookup asks for every mask length from 32 down to 0 whether exactly
// that prefix is there. Of a prefix that was added twice, the last one counts, as in the table.
// COST: 33 binary searches a lookup.
// REQUIRES: sort() between the last add() and the first find().
#ifndef FIBDB_TOOLS_REFERENCE_H
#define FIBDB_TOOLS_REFERENCE_H

#include <cstdint>
#include <optional>
#include <vector>

#include "tools/fibdb/routes/routes_file.h"

namespace fibdb::program {

class ReferenceTable {
 public:
  void add(const Route& route) { routes_.push_back(route); }
  void sort();
  const Route* find(uint32_t address) const;
  const std::vector<Route>& routes() const { return routes_; }

 private:
  const Route* exactly(const Prefix& prefix) const;

  std::vector<Route> routes_;
};

}  // namespace fibdb::program

#endif
