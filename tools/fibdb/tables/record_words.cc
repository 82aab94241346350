// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/record_words.cc: see record_words.h.
#include "tools/fibdb/tables/record_words.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>

namespace fibdb::program {
namespace {

// Properties are typed by their names, keys only talked about.
std::string writtenName(const Field& field) {
  return field.role == Role::kKey ? spaced(field.name) : std::string(field.name);
}

void takeValue(Arguments& arguments, const Field& field, Record& item, const std::string& what) {
  const std::string fault = storeAt(field.at(item.data()), field.layout, arguments.word(what));
  if (!fault.empty()) arguments.fail(writtenName(field) + ": " + fault);
  if (field.goesWith != nullptr) field.goesWith(item.data());
}

// Keys begin with a digit where they may be left out, properties never do.
bool nextIsKey(Arguments arguments) {
  return !arguments.empty() && std::isdigit(static_cast<unsigned char>(arguments.word("a key").front())) != 0;
}

// Whether the record is what giving it this value makes of it: of several values that imply different things the one
// that was given last.
bool saysSo(const Field& field, const Record& record) {
  Record given = record;
  field.goesWith(given.data());
  return given == record;
}

}  // namespace

void takeKey(const RecordTable& table, Arguments& arguments, Record& item) {
  for (const Field* field : fieldsOf(table, Role::kKey)) {
    if (field->optional && !nextIsKey(arguments)) return;
    takeValue(arguments, *field, item, writtenName(*field));
  }
}

std::vector<const Field*> takeProperties(const std::vector<const Field*>& fields, Arguments& arguments, Record& item) {
  std::vector<std::string_view> words;
  std::ranges::transform(fields, std::back_inserter(words), &Field::name);
  std::vector<const Field*> given;
  do {
    const Field& field = *fields[arguments.keyword(words)];
    takeValue(arguments, field, item, "a value for " + std::string(field.name));
    given.push_back(&field);
  } while (!arguments.empty());
  return given;
}

Record newRecord(const RecordTable& table) {
  Record item(table);
  for (const Field& field : table.fields) {
    if (field.initial != 0) storeNumber(field.at(item.data()), field.layout.width, field.initial);
  }
  return item;
}

Record takeRecord(Arguments& arguments) {
  const RecordTable& table = *arguments.command().table;
  Record record = newRecord(table);
  takeKey(table, arguments, record);
  if (!arguments.empty()) takeProperties(fieldsOf(table, Role::kProperty), arguments, record);
  return record;
}

std::string wordsOf(const RecordTable& table, const Record& record) {
  std::string words(table.word);
  const auto append = [&](std::string_view word) { words += ' ' + quoted(word); };
  for (const Field* field : keysOf(table, record.data())) append(wordOf(*field, record.data()));
  const Record fresh = newRecord(table);
  std::vector<const Field*> given;
  std::vector<const Field*> last;
  for (const Field* field : fieldsOf(table, Role::kProperty)) {
    if (field->isSet != nullptr && !field->isSet(record.data())) continue;
    if (field->goesWith != nullptr && saysSo(*field, record)) {
      last.push_back(field);
    } else if (compareAt(placeOf(*field, record.data()), placeOf(*field, fresh.data()), field->layout) != 0) {
      given.push_back(field);
    }
  }
  given.insert(given.end(), last.begin(), last.end());
  for (const Field* field : given) {
    append(field->name);
    append(wordOf(*field, record.data()));
  }
  return words;
}

}  // namespace fibdb::program
