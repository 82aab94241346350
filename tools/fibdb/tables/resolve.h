// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/resolve.h: from a group to where its traffic goes.
//
// DESCRIPTION: a route names its group; a group has members; a member names a primary and a backup next hop by their
// indexes; and what an index is, is told by every table of next hops that has records under it. What is missing on the
// way is part of the answer, and fails nothing. Tables are walked as they are described: see RecordTable::nexthop.
#ifndef FIBDB_TOOLS_RESOLVE_H
#define FIBDB_TOOLS_RESOLVE_H

#include <cstdint>
#include <vector>

#include "tools/fibdb/tables/record_table.h"

namespace fibdb::program {

struct NexthopRecord {
  const RecordTable* table;
  Record record;
};

// What the tables of next hops know of an index: table after table in the order of help, each in that of its key.
std::vector<NexthopRecord> recordsOfNexthop(uint32_t index);
// With the word of its table.
std::vector<Fact> factsOf(const NexthopRecord& known);

struct Group {
  Record record;  // of kGroups; its key alone unless stored
  bool stored;
  std::vector<Record> members;  // of kGroupMembers

  bool exists() const { return stored || !members.empty(); }
};
Group findGroup(uint32_t id, uint32_t vr);
// The group, its members, their next hops, and the records of these.
Tree treeOf(const Group& group);

}  // namespace fibdb::program

#endif
