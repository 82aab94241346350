// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/record_usage.h: the texts of a table's commands, made from its fields: usages and help.
#ifndef FIBDB_TOOLS_RECORD_USAGE_H
#define FIBDB_TOOLS_RECORD_USAGE_H

#include <string>

#include "tools/fibdb/tables/record_table.h"

namespace fibdb::program {

// What follows the words of a command.
std::string keyUsage(const RecordTable& table);
std::string showUsage(const RecordTable& table);
std::string addUsage(const RecordTable& table);
std::string setUsage(const RecordTable& table);
std::string countUsage(const RecordTable& table);

std::string showHelp(const RecordTable& table);
std::string addHelp(const RecordTable& table);
std::string addDetails(const RecordTable& table);
std::string setDetails(const RecordTable& table);

}  // namespace fibdb::program

#endif
