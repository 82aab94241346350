// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/record_walk.h: record after record of a table, where all of them need not be held at once.
#ifndef FIBDB_TOOLS_RECORD_WALK_H
#define FIBDB_TOOLS_RECORD_WALK_H

#include <functional>

#include "tools/fibdb/tables/record_table.h"

namespace fibdb::program {

// Ctrl-C ends it, too.
void walkRecords(const RecordTable& table, const Walk& walk, const Record& query,
                 const std::function<void(const Record& record)>& visit);

}  // namespace fibdb::program

#endif
