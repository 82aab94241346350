// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/check.h: an account of a whole store.
//
// DESCRIPTION  Every 16 bytes of the extents that a table has taken belong to exactly one owner: its records, a node or
// block of one of its indexes, the blocks that rest and the queue they rest in, the free ones. Every live record stands
// in each index of its table exactly once, under its own key, and nothing else does; trees are in order; every count is
// right; no reference leads elsewhere. Whatever is not so is a finding: a line of text, in which places are references
// (arena.h).
//
// The check only reads, takes no lock, and stands any content; see survey.h. A table is looked at as it stands between
// two writes: a look that a write overtakes is given up and begun again, some times. Then the table counts as
// overtaken, as does one whose writer stands still amid a write or has died there; the next write puts that right.
//
// COST     Each block of a table is looked at once, each record once in each index. Memory: a byte for 16 of the table.
// THREADS  Any, beside writers.
#ifndef FIBDB_ENGINE_STORE_CHECK_H
#define FIBDB_ENGINE_STORE_CHECK_H

#include <cstdint>

#include "engine/store/survey.h"
#include "engine/store/table.h"

namespace fibdb::store {

struct CheckResult {
  uint32_t checked = 0, overtaken = 0;  // tables
  uint64_t records = 0, blocks = 0;     // of the tables checked
  uint64_t findings = 0;
};

class Check {
 public:
  // The table's name and the finding, or nullptr for a table that was overtaken; false ends the check.
  using VisitFinding = Visit<bool(const char*, const char*)>;

  // 0, or DB_ERR_NO_MEMORY. REQUIRES: the store is valid, and none of its heaps gave an extent to anyone but its table.
  static uint32_t run(Store& store, const VisitFinding& visit, CheckResult& result);

  // What a part of a table's memory is for, the id of the index if it is one, and its bytes; false ends the visits.
  using VisitStructure = Visit<bool(const char*, uint32_t, uint64_t)>;
  // Where the memory of one table went: 0, DB_ERR_OVERTAKEN or DB_ERR_NO_MEMORY. REQUIRES: as run.
  static uint32_t measure(Store& store, size_t table, const VisitStructure& visit);

  // The stored part of a table.
  static TableState& stateOf(const Table& table) { return *table.state_; }

 private:
  class Look;

  // Looks until no write came between and `done` is content: 0, DB_ERR_OVERTAKEN or DB_ERR_NO_MEMORY.
  static uint32_t lookAt(Table& table, uint8_t owner, uint32_t* places, const Visit<bool(const Look&)>& done);
  static uint32_t checkTable(Table& table, uint8_t owner, uint32_t* places, const VisitFinding& visit,
                             CheckResult& result, bool& goOn);
};

}  // namespace fibdb::store

#endif
