// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/record_tables.h: the tables that have commands of their own, each in the file of its name.
#ifndef FIBDB_TOOLS_RECORD_TABLES_H
#define FIBDB_TOOLS_RECORD_TABLES_H

#include "tools/fibdb/tables/record_table.h"

namespace fibdb::program {

extern const RecordTable kNexthops;
extern const RecordTable kStandardNexthops;
extern const RecordTable kLlaNexthops;
extern const RecordTable kVpnNexthops;
extern const RecordTable kVxlanNexthops;
extern const RecordTable kNexthopExts;
extern const RecordTable kNexthopExtLabels;
extern const RecordTable kGroups;
extern const RecordTable kGroupMembers;
extern const RecordTable kFtns;
extern const RecordTable kVpnSidNexthops;
extern const RecordTable kSrv6TeNexthops;
extern const RecordTable kArGroups;
extern const RecordTable kVrfs;
extern const RecordTable kLocalRoutes;
extern const RecordTable kEcmp;
extern const RecordTable kGlobal;
extern const RecordTable kPrimaryAttributes;
extern const RecordTable kDodRules;
extern const RecordTable kDodAgings;
extern const RecordTable kSpecialIps;
extern const RecordTable kSpecialIpSubs;
extern const RecordTable kVrfClasses;
extern const RecordTable kFwdVsVpns;
extern const RecordTable kForceFragments;
extern const RecordTable kMethHosts;
extern const RecordTable kDefaultRoutes;

// In the order of help.
std::span<const RecordTable* const> recordTables();

}  // namespace fibdb::program

#endif
