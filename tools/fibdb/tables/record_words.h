// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/record_words.h: records as words: what stands behind `add TABLE`, and in a configuration file.
#ifndef FIBDB_TOOLS_RECORD_WORDS_H
#define FIBDB_TOOLS_RECORD_WORDS_H

#include <string>
#include <vector>

#include "tools/fibdb/tables/record_table.h"

namespace fibdb::program {

// Words of a key; those that may be left out end it.
void takeKey(const RecordTable& table, Arguments& arguments, Record& record);
// Words and values of these fields until no word is left; which were given.
std::vector<const Field*> takeProperties(const std::vector<const Field*>& fields, Arguments& arguments, Record& record);
// A record of no words: the initial values.
Record newRecord(const RecordTable& table);
// Key and properties until no word is left.
Record takeRecord(Arguments& arguments);

// The other way: the table's word, then what takeRecord makes the same record of.
std::string wordsOf(const RecordTable& table, const Record& record);

}  // namespace fibdb::program

#endif
