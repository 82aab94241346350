// tools/fibdb/tables/record_usage.cc: see record_usage.h.
#include "tools/fibdb/tables/record_usage.h"

#include <cctype>

namespace fibdb::program {
namespace {

constexpr std::string_view kNumbers = "Numbers are decimal, or hexadecimal after 0x.";

void appendWord(std::string& text, std::string_view word, std::string_view separator = " ") {
  if (!text.empty()) text += separator;
  text += word;
}

std::string valueUsage(const Field& field) {
  return std::string(field.name) + ' ' + std::string(placeholderOf(field.layout));
}

template <class Wanted>
std::string propertiesUsage(const RecordTable& table, Wanted wanted) {
  std::string usage = keyUsage(table);
  for (const Field* field : fieldsOf(table, Role::kProperty)) {
    if (wanted(*field)) appendWord(usage, '[' + valueUsage(*field) + ']');
  }
  return usage;
}

}  // namespace

std::string keyUsage(const RecordTable& table) {
  std::string usage;
  for (const Field* field : fieldsOf(table, Role::kKey)) {
    std::string name;
    for (const char c : field->name) {
      if (c != '_') name += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    appendWord(usage, field->optional ? '[' + name + ']' : name);
  }
  return usage;
}

std::string showUsage(const RecordTable& table) {
  std::string usage = table.read == nullptr ? "" : keyUsage(table);
  for (const Selection& selection : table.selections) {
    std::string words;
    for (const Field* field : fieldsOf(table, selection)) appendWord(words, valueUsage(*field));
    appendWord(usage, words, " | ");
  }
  return table.walk.create == nullptr || usage.empty() ? usage : '[' + usage + ']';
}

std::string addUsage(const RecordTable& table) {
  return propertiesUsage(table, [](const Field&) { return true; });
}

std::string setUsage(const RecordTable& table) {
  return propertiesUsage(table, [&](const Field& field) { return changes(table, field); });
}

std::string showHelp(const RecordTable& table) {
  std::string help = table.read == nullptr ? "" : "one " + std::string(nameOf(table));
  if (!table.selections.empty()) appendWord(help, "those with a property", ", ");
  if (table.walk.create != nullptr) appendWord(help, "all of them in order", help.empty() ? "" : ", or ");
  return help;
}

std::string addHelp(const RecordTable& table) {
  const std::string help = "add " + std::string(table.one);
  return table.create == nullptr ? help + ", or replace it" : help;
}

std::string addDetails(const RecordTable& table) {
  std::string details = std::string(kNumbers) + " What is not given is 0";
  for (const Field* field : fieldsOf(table, Role::kProperty)) {
    if (field->initial != 0) details += "; " + std::string(field->name) + " is " + std::to_string(field->initial);
  }
  details += '.';
  if (table.create != nullptr) details += "\nOne that exists is refused, not replaced: delete it first.";
  if (!table.details.empty()) appendWord(details, table.details, "\n");
  return details;
}

std::string setDetails() { return std::string(kNumbers) + " What is not given stays."; }

}  // namespace fibdb::program
