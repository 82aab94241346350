// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/record_table.cc: see record_table.h.
#include "tools/fibdb/tables/record_table.h"

#include <algorithm>
#include <memory>

#include "fibdb/engine.h"
#include "tools/fibdb/base/interrupt.h"
#include "tools/fibdb/tables/record_walk.h"

namespace fibdb::program {
namespace {

bool isZero(const Field& field, const void* item) {
  const std::vector<unsigned char> zero(sizeOf(field.layout));
  return compareAt(placeOf(field, item), zero.data(), field.layout) == 0;
}

bool precedes(const RecordTable& table, const Record& a, const Record& b) {
  for (const Field* field : fieldsOf(table, Role::kKey)) {
    const auto order = compareAt(placeOf(*field, a.data()), placeOf(*field, b.data()), field->layout);
    if (order != std::strong_ordering::equal) return order == std::strong_ordering::less;
  }
  return false;
}

}  // namespace

std::vector<const Field*> fieldsOf(const RecordTable& table, Role role) {
  std::vector<const Field*> fields;
  for (const Field& field : table.fields) {
    if (field.role == role) fields.push_back(&field);
  }
  return fields;
}

std::vector<const Field*> fieldsOf(const RecordTable& table, const Selection& selection) {
  std::vector<const Field*> fields;
  for (const std::string& name : splitWords(selection.fields)) {
    fields.push_back(&*std::find_if(table.fields.begin(), table.fields.end(),
                                    [&](const Field& field) { return field.name == name; }));
  }
  return fields;
}

bool canBeListed(const Selection& selection) { return selection.walk.create != nullptr; }
bool canBeCounted(const Selection& selection) { return selection.count != nullptr; }

std::vector<const Selection*> selectionsOf(const RecordTable& table, bool (*serves)(const Selection& selection)) {
  std::vector<const Selection*> selections;
  for (const Selection& selection : table.selections) {
    if (serves(selection)) selections.push_back(&selection);
  }
  return selections;
}

bool changes(const RecordTable& table, const Field& field) {
  return field.role == Role::kProperty && (field.change != nullptr || table.change != nullptr);
}

std::string_view nameOf(const RecordTable& table) { return table.one.substr(table.one.find(' ') + 1); }

// The members are found through a pointer that may be written through; who only reads it says so here.
const void* placeOf(const Field& field, const void* item) { return field.at(const_cast<void*>(item)); }

Value valueOf(const Field& field, const void* item) { return valueAt(placeOf(field, item), field.layout); }

Value shownOf(const Field& field, const void* item) {
  return field.isSet == nullptr || field.isSet(item) ? valueOf(field, item) : Value();
}

std::string wordOf(const Field& field, const void* item) {
  const Value value = valueOf(field, item);
  const auto* text = std::get_if<std::string>(&value);
  return text == nullptr ? std::to_string(std::get<uint64_t>(value)) : *text;
}

std::vector<const Field*> keysOf(const RecordTable& table, const void* item) {
  std::vector<const Field*> keys = fieldsOf(table, Role::kKey);
  while (keys.back()->optional && isZero(*keys.back(), item)) keys.pop_back();
  return keys;
}

std::string titleOf(const RecordTable& table, const void* item) {
  std::string title(nameOf(table));
  for (const Field* field : keysOf(table, item)) title += ' ' + wordOf(*field, item);
  return title;
}

std::string lineOf(const RecordTable& table, const void* item) {
  std::string line = titleOf(table, item);
  for (const Field& field : table.fields) {
    if (field.role == Role::kKey || !field.listed || isZero(field, item)) continue;
    if (field.isSet != nullptr && !field.isSet(item)) continue;
    line += ", " + spaced(field.name) + ' ' + wordOf(field, item);
  }
  return line;
}

std::vector<Fact> factsOf(const std::vector<const Field*>& fields, const void* item) {
  std::vector<Fact> facts;
  facts.reserve(fields.size());
  for (const Field* field : fields) facts.push_back({std::string(field->name), valueOf(*field, item)});
  return facts;
}

std::vector<Fact> factsOf(const RecordTable& table, const void* item) {
  std::vector<Fact> facts;
  for (const Field& field : table.fields) facts.push_back({std::string(field.name), shownOf(field, item)});
  return facts;
}

bool readRecord(const RecordTable& table, void* item) {
  const uint32_t code = table.read(item);
  if (code == table.codes.missing) return false;
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, "reading " + titleOf(table, item) + ": " + codeText(code));
  return true;
}

void failMissing(const RecordTable& table, const void* item) {
  throw Failure(Status::kFailed, "no " + titleOf(table, item));
}

void writeRecord(const RecordTable& table, void* item) {
  const uint32_t code = (table.create != nullptr ? table.create : table.write)(item);
  if (code == FIB_DB_OK) return;
  const char* const says = code == DB_ERR_EXISTS ? ": " : " refused: ";
  throw Failure(Status::kFailed, titleOf(table, item) + says + codeText(code));
}

void walkRecords(const RecordTable& table, const Walk& walk, const Record& query,
                 const std::function<void(const Record& record)>& visit) {
  const std::unique_ptr<void, void (*)(void*)> iterator(walk.create(query.data()), walk.release);
  if (iterator == nullptr) throw Failure(Status::kFailed, "the " + std::string(table.many) + " cannot be iterated");
  for (Record record(table);;) {
    checkInterrupt();
    const uint32_t code = walk.next(iterator.get(), record.data());
    if (code == table.codes.end) return;
    if (code != FIB_DB_OK) {
      throw Failure(Status::kFailed, "iterating the " + std::string(table.many) + ": " + codeText(code));
    }
    visit(record);
  }
}

std::vector<Record> recordsOf(const RecordTable& table, const Walk& walk, const Record& query) {
  std::vector<Record> records;
  walkRecords(table, walk, query, [&](const Record& record) { records.push_back(record); });
  std::sort(records.begin(), records.end(), [&](const Record& a, const Record& b) { return precedes(table, a, b); });
  return records;
}

std::vector<Record> recordsBy(const RecordTable& table, std::string_view fields, const Record& query) {
  const auto selection = std::ranges::find(table.selections, fields, &Selection::fields);
  if (selection != table.selections.end()) return recordsOf(table, selection->walk, query);
  Record record = query;
  if (!readRecord(table, record.data())) return {};
  return {record};
}

}  // namespace fibdb::program
