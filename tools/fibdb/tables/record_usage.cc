// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/record_usage.cc: see record_usage.h.
#include "tools/fibdb/tables/record_usage.h"

#include <cctype>
#include <vector>

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

// More properties than these are told apart by the help alone: a usage is a line.
constexpr size_t kMostInUsage = 20;
constexpr size_t kHelpWidth = 76;

bool any(const Field&) { return true; }

// Appends what asks for each of these selections.
void appendSelections(std::string& usage, const std::vector<const Selection*>& selections, const RecordTable& table) {
  for (const Selection* selection : selections) {
    std::string words;
    for (const Field* field : fieldsOf(table, *selection)) appendWord(words, valueUsage(*field));
    appendWord(usage, words, " | ");
  }
}

// Words that need not be there, when what they follow can do without.
std::string orNothing(const std::string& usage, bool canDoWithout) {
  return canDoWithout && !usage.empty() ? '[' + usage + ']' : usage;
}

template <class Wanted>
std::vector<const Field*> propertiesOf(const RecordTable& table, Wanted wanted) {
  std::vector<const Field*> properties = fieldsOf(table, Role::kProperty);
  std::erase_if(properties, [&](const Field* field) { return !wanted(*field); });
  return properties;
}

std::string propertiesUsage(const RecordTable& table, const std::vector<const Field*>& properties) {
  std::string usage = keyUsage(table);
  if (properties.size() > kMostInUsage) return usage + " [PROPERTY VALUE] ...";
  for (const Field* field : properties) appendWord(usage, '[' + valueUsage(*field) + ']');
  return usage;
}

// The names that the usage has left out.
std::string namesOf(const std::vector<const Field*>& properties) {
  if (properties.size() <= kMostInUsage) return {};
  std::string names = "\nProperties:";
  size_t width = names.size();
  for (const Field* field : properties) {
    const bool wraps = width + 1 + field->name.size() > kHelpWidth;
    names += wraps ? "\n" : " ";
    width = (wraps ? 0 : width + 1) + field->name.size();
    names += field->name;
  }
  return names;
}

std::vector<const Field*> changeable(const RecordTable& table) {
  return propertiesOf(table, [&](const Field& field) { return changes(table, field); });
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
  appendSelections(usage, selectionsOf(table, canBeListed), table);
  return orNothing(usage, table.walk.create != nullptr);
}

std::string countUsage(const RecordTable& table) {
  std::string usage;
  appendSelections(usage, selectionsOf(table, canBeCounted), table);
  return orNothing(usage, table.count != nullptr || table.walk.create != nullptr);
}

std::string addUsage(const RecordTable& table) { return propertiesUsage(table, propertiesOf(table, any)); }

std::string setUsage(const RecordTable& table) { return propertiesUsage(table, changeable(table)); }

std::string showHelp(const RecordTable& table) {
  std::string help = table.read == nullptr ? "" : "one " + std::string(nameOf(table));
  if (!selectionsOf(table, canBeListed).empty()) appendWord(help, "those with a property", ", ");
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
  return details + namesOf(propertiesOf(table, any));
}

std::string setDetails(const RecordTable& table) {
  std::string details = std::string(kNumbers) + " What is not given stays.";
  if (table.setAdds) details += "\nA record that is not there is added first.";
  return details + namesOf(changeable(table));
}

}  // namespace fibdb::program
