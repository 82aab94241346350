// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/resolve.cc: see resolve.h.
#include "tools/fibdb/tables/resolve.h"

#include <algorithm>

#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

Tree treeOf(const NexthopRecord& known) {
  return {.line = lineOf(*known.table, known.record.data()), .facts = factsOf(known)};
}

Tree nexthopTree(const std::string& role, uint32_t index) {
  const std::vector<NexthopRecord> records = recordsOfNexthop(index);
  Tree tree{.line = role + ' ' + std::to_string(index) + (records.empty() ? ": no next hop" : ""),
            .facts = {{"role", role}, {"index", uint64_t{index}}},
            .below = "records"};
  for (const NexthopRecord& known : records) tree.children.push_back(treeOf(known));
  return tree;
}

Tree memberTree(const Record& member) {
  const auto& item = member.as<FibDbNhpGroupNodeItem>();
  Tree tree{.line = lineOf(kGroupMembers, member.data()),
            .facts = factsOf(kGroupMembers, member.data()),
            .below = "nexthops"};
  tree.children.push_back(nexthopTree("primary", item.primary_nhp_id));
  // A member without a backup has 0 in its place.
  if (item.backup_nhp_id != 0) tree.children.push_back(nexthopTree("backup", item.backup_nhp_id));
  return tree;
}

std::string lineOf(const Group& group) {
  const std::string title = titleOf(kGroups, group.record.data());
  if (!group.exists()) return "no " + title;
  if (!group.stored) return title + ": no record";
  return lineOf(kGroups, group.record.data()) + (group.members.empty() ? ": no members" : "");
}

}  // namespace

std::vector<NexthopRecord> recordsOfNexthop(uint32_t index) {
  std::vector<NexthopRecord> known;
  for (const RecordTable* table : recordTables()) {
    if (table->nexthop.empty()) continue;
    Record query(*table);
    const Field& field = *std::ranges::find(table->fields, table->nexthop, &Field::name);
    storeNumber(field.at(query.data()), field.layout.width, index);
    for (Record& record : recordsBy(*table, table->nexthop, query)) known.push_back({table, std::move(record)});
  }
  return known;
}

std::vector<Fact> factsOf(const NexthopRecord& known) {
  std::vector<Fact> facts = factsOf(*known.table, known.record.data());
  facts.insert(facts.begin(), {"table", std::string(known.table->word)});
  return facts;
}

Group findGroup(uint32_t id, uint32_t vr) {
  Group group{.record = Record(kGroups), .stored = false, .members = {}};
  auto& item = group.record.as<FibDbNhpGroupItem>();
  item.nhp_group_id = id;
  item.vr_id = vr;
  group.stored = readRecord(kGroups, &item);
  Record query(kGroupMembers);
  query.as<FibDbNhpGroupNodeItem>().nhp_group_id = id;
  query.as<FibDbNhpGroupNodeItem>().vr_id = vr;
  group.members = recordsBy(kGroupMembers, "group vr", query);
  return group;
}

Tree treeOf(const Group& group) {
  const void* item = group.record.data();
  Tree tree{.line = lineOf(group),
            .facts = group.stored ? factsOf(kGroups, item) : factsOf(fieldsOf(kGroups, Role::kKey), item),
            .below = "members"};
  tree.facts.push_back({"stored", group.stored});
  for (const Record& member : group.members) tree.children.push_back(memberTree(member));
  return tree;
}

}  // namespace fibdb::program
