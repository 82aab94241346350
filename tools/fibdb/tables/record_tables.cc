// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/record_tables.cc: see record_tables.h.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

constexpr const RecordTable* kTables[] = {&kNexthops,       &kStandardNexthops, &kLlaNexthops,
                                          &kVpnNexthops,    &kVxlanNexthops,    &kVpnSidNexthops,
                                          &kSrv6TeNexthops, &kNexthopExts,      &kNexthopExtLabels,
                                          &kGroups,         &kGroupMembers,     &kFtns,
                                          &kVrfs,           &kLocalRoutes,      &kEcmp,
                                          &kGlobal,         &kArGroups,         &kPrimaryAttributes,
                                          &kDodRules,       &kDodAgings,        &kSpecialIps,
                                          &kSpecialIpSubs,  &kVrfClasses,       &kFwdVsVpns,
                                          &kForceFragments, &kMethHosts,        &kDefaultRoutes};

}  // namespace

std::span<const RecordTable* const> recordTables() { return kTables; }

std::span<const Command> recordCommands() {
  static const std::vector<Command> commands = [] {
    std::vector<Command> all;
    for (const RecordTable* table : kTables) {
      for (const Command& command : commandsOf(*table)) all.push_back(command);
    }
    return all;
  }();
  return commands;
}

}  // namespace fibdb::program
