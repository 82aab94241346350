// tools/fibdb/tables/record_table.cc: see record_table.h.
#include "tools/fibdb/tables/record_table.h"

#include <algorithm>

#include "fibdb/engine.h"

namespace fibdb::program {

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

bool changes(const RecordTable& table, const Field& field) {
  return field.role == Role::kProperty && (field.change != nullptr || table.change != nullptr);
}

std::string_view nameOf(const RecordTable& table) { return table.one.substr(table.one.find(' ') + 1); }

// The members are found through a pointer that may be written through; who only reads it says so here.
const void* placeOf(const Field& field, const void* item) { return field.at(const_cast<void*>(item)); }

Value valueOf(const Field& field, const void* item) { return valueAt(placeOf(field, item), field.layout); }

std::string titleOf(const RecordTable& table, const void* item) {
  std::string title(nameOf(table));
  std::vector<const Field*> keys = fieldsOf(table, Role::kKey);
  const std::vector<unsigned char> zero(table.itemSize);
  while (keys.back()->optional && compareAt(placeOf(*keys.back(), item), zero.data(), keys.back()->layout) == 0) {
    keys.pop_back();
  }
  for (const Field* field : keys) {
    const Value value = valueOf(*field, item);
    const auto* text = std::get_if<std::string>(&value);
    title += ' ' + (text == nullptr ? std::to_string(std::get<uint64_t>(value)) : *text);
  }
  return title;
}

std::vector<Fact> factsOf(const RecordTable& table, const void* item) {
  std::vector<Fact> facts;
  for (const Field& field : table.fields) facts.push_back({std::string(field.name), valueOf(field, item)});
  return facts;
}

bool readRecord(const RecordTable& table, void* item) {
  const uint32_t code = table.read(item);
  if (code == table.codes.missing) return false;
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, "reading " + titleOf(table, item) + ": " + codeText(code));
  return true;
}

void writeRecord(const RecordTable& table, void* item) {
  const uint32_t code = (table.create != nullptr ? table.create : table.write)(item);
  if (code == FIB_DB_OK) return;
  const char* const says = code == DB_ERR_EXISTS ? ": " : " refused: ";
  throw Failure(Status::kFailed, titleOf(table, item) + says + codeText(code));
}

}  // namespace fibdb::program
