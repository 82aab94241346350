// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/record_commands.cc: show, add, set, delete and count of every table that is described by data.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <deque>
#include <iterator>

#include "fibdb/engine.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/tables/record_usage.h"
#include "tools/fibdb/tables/record_walk.h"
#include "tools/fibdb/tables/record_words.h"

namespace fibdb::program {
namespace {

void requireRecord(const RecordTable& table, Record& item) {
  if (!readRecord(table, item.data())) failMissing(table, item.data());
}

// Selecting. ---------------------------------------------------------------------------------------------------------
std::vector<const Field*> selectingFields(const RecordTable& table, const std::vector<const Selection*>& selections) {
  std::vector<const Field*> all;
  for (const Selection* selection : selections) {
    for (const Field* field : fieldsOf(table, *selection)) {
      if (std::find(all.begin(), all.end(), field) == all.end()) all.push_back(field);
    }
  }
  return all;
}

// Takes what a query says of the selecting fields; gives the selection that asks for exactly these.
const Selection& takeSelection(const RecordTable& table, const std::vector<const Selection*>& selections,
                               Arguments& arguments, Record& query) {
  const auto given = takeProperties(selectingFields(table, selections), arguments, query);
  const auto asksFor = [&](const Selection* selection) {
    const auto fields = fieldsOf(table, *selection);
    return std::is_permutation(fields.begin(), fields.end(), given.begin(), given.end());
  };
  const auto found = std::find_if(selections.begin(), selections.end(), asksFor);
  if (found == selections.end()) arguments.fail("no index serves these words together");
  return **found;
}

// A key is meant unless its first word is the name of a selecting field, or no value that the key could have.
bool beginsKey(const RecordTable& table, const Arguments& arguments) {
  if (table.read == nullptr) return false;
  const auto selections = selectionsOf(table, canBeListed);
  if (selections.empty()) return true;
  Arguments peek = arguments;
  const std::string& word = peek.word("a key");
  const auto fields = selectingFields(table, selections);
  if (std::any_of(fields.begin(), fields.end(), [&](const Field* field) { return field->name == word; })) return false;
  const Field& first = *fieldsOf(table, Role::kKey).front();
  Record scratch(table);
  return storeAt(first.at(scratch.data()), first.layout, word).empty();
}

Status showList(Session& session, const RecordTable& table, const Walk& walk, const Record& query) {
  const std::vector<Record> records = recordsOf(table, walk, query);
  ListHead head{std::string(table.many), {}};
  for (const Field& field : table.fields) {
    const bool keep = field.role == Role::kKey && !field.optional;
    if (field.listed) head.columns.push_back({.name = std::string(field.name), .keep = keep});
  }
  session.output.beginList(std::move(head));
  for (const Record& item : records) {
    std::vector<Value> row;
    for (const Field& field : table.fields) {
      if (field.listed) row.push_back(shownOf(field, item.data()));
    }
    session.output.row(row);
  }
  session.output.endList();
  return Status::kOk;
}

// Commands. -----------------------------------------------------------------------------------------------------------
void report(Session& session, const RecordTable& table, const Record& item, const std::string& done,
            const std::vector<Fact>& more) {
  std::vector<Fact> facts = factsOf(fieldsOf(table, Role::kKey), item.data());
  facts.insert(facts.end(), more.begin(), more.end());
  session.output.done(done + ' ' + titleOf(table, item.data()), facts);
}

Status showRecords(Session& session, Arguments& arguments) {
  const RecordTable& table = *arguments.command().table;
  Record item(table);
  if (arguments.empty() && table.walk.create != nullptr) return showList(session, table, table.walk, item);
  if (arguments.empty() || beginsKey(table, arguments)) {
    takeKey(table, arguments, item);
    arguments.end();
    if (table.view.show != nullptr) return table.view.show(session, item.data()), Status::kOk;
    requireRecord(table, item);
    session.output.record(titleOf(table, item.data()), factsOf(table, item.data()));
    return Status::kOk;
  }
  const Selection& selection = takeSelection(table, selectionsOf(table, canBeListed), arguments, item);
  return showList(session, table, selection.walk, item);
}

Status addRecord(Session& session, Arguments& arguments) {
  const RecordTable& table = *arguments.command().table;
  Record item = takeRecord(arguments);
  Record before = item;
  const bool replaced = table.create == nullptr && table.read != nullptr && readRecord(table, before.data());
  writeRecord(table, item.data());
  report(session, table, item, replaced ? "replaced" : "added", {{"replaced", replaced}});
  return Status::kOk;
}

void copyValue(const Field& field, const Record& from, Record& to) {
  std::memcpy(field.at(to.data()), placeOf(field, from.data()), sizeOf(field.layout));
  if (field.goesWith != nullptr) field.goesWith(to.data());
}

// A record that a property was to be set of and that is not there: added, where its table does that.
void addMissing(const RecordTable& table, Record& item) {
  if (!table.setAdds) failMissing(table, item.data());
  Record added = newRecord(table);
  for (const Field* field : fieldsOf(table, Role::kKey)) copyValue(*field, item, added);
  writeRecord(table, added.data());
  requireRecord(table, item);
}

// Calls that bring the given fields into the stored record: the fields' own, and the table's once for all others.
void changeRecord(const RecordTable& table, const std::vector<const Field*>& given, Record& item) {
  const auto call = [&](ItemCall change, const std::string& what) {
    const uint32_t code = change(item.data());
    if (code == table.codes.missing || code == DB_ERR_NO_DATA) failMissing(table, item.data());
    if (code != FIB_DB_OK) throw Failure(Status::kFailed, what + " refused: " + codeText(code));
  };
  const std::string title = titleOf(table, item.data());
  if (std::any_of(given.begin(), given.end(), [](const Field* field) { return field->change == nullptr; })) {
    call(table.change, title);
  }
  for (const Field* field : given) {
    if (field->change != nullptr) call(field->change, std::string(field->name) + " of " + title);
  }
}

Status setRecord(Session& session, Arguments& arguments) {
  const RecordTable& table = *arguments.command().table;
  Record item(table);
  takeKey(table, arguments, item);
  Record wanted = item;
  std::vector<const Field*> given = takeProperties(fieldsOf(table, Role::kProperty), arguments, wanted);
  for (const Field* field : given) {
    if (!changes(table, *field)) {
      arguments.fail(std::string(field->name) + " of " + std::string(table.one) + " cannot be changed",
                     "delete it and add it again");
    }
  }
  std::sort(given.begin(), given.end());
  given.erase(std::unique(given.begin(), given.end()), given.end());
  if (!readRecord(table, item.data())) addMissing(table, item);
  for (const Field* field : given) copyValue(*field, wanted, item);
  changeRecord(table, given, item);
  report(session, table, item, "changed", factsOf(given, item.data()));
  return Status::kOk;
}

Status deleteRecord(Session& session, Arguments& arguments) {
  const RecordTable& table = *arguments.command().table;
  Record item(table);
  takeKey(table, arguments, item);
  arguments.end();
  // A removal of nothing would be counted as a failure of the table.
  if (table.read != nullptr) requireRecord(table, item);
  const uint32_t code = table.remove(item.data());
  if (code != FIB_DB_OK) throw Failure(Status::kFailed, titleOf(table, item.data()) + ": " + codeText(code));
  report(session, table, item, "deleted", {{"deleted", true}});
  return Status::kOk;
}

uint32_t countWhole(const RecordTable& table, uint64_t& records) {
  if (table.count != nullptr) return table.count(&records);
  walkRecords(table, table.walk, Record(table), [&](const Record&) { ++records; });
  return FIB_DB_OK;
}

Status countRecords(Session& session, Arguments& arguments) {
  const RecordTable& table = *arguments.command().table;
  const auto selections = selectionsOf(table, canBeCounted);
  const bool whole = table.count != nullptr || table.walk.create != nullptr;
  uint64_t records = 0;
  uint32_t code = FIB_DB_OK;
  if (selections.empty() || (whole && arguments.empty())) {
    arguments.end();
    code = countWhole(table, records);
  } else {
    Record query(table);
    code = takeSelection(table, selections, arguments, query).count(query.data(), &records);
  }
  if (code != FIB_DB_OK) {
    throw Failure(Status::kFailed, "counting the " + std::string(table.many) + ": " + codeText(code));
  }
  session.output.result(formatCount(records), {{"table", std::string(table.word)}, {"records", records}});
  return Status::kOk;
}

// Commands are views of texts; texts that are put together stay here.
std::string_view kept(std::string text) {
  static std::deque<std::string> texts;
  return texts.emplace_back(std::move(text));
}

}  // namespace

std::vector<Command> commandsOf(const RecordTable& table) {
  std::vector<Command> commands;
  const auto add = [&](bool there, std::string_view verb, const std::string& usage, const std::string& help,
                       const std::string& details, Status (*run)(Session&, Arguments&)) {
    if (!there) return;
    commands.push_back(
        {kept(std::string(verb) + ' ' + std::string(table.word)), kept(usage), kept(help), kept(details), run, &table});
  };
  const bool walks = table.walk.create != nullptr;
  const bool changing = table.read != nullptr && std::any_of(table.fields.begin(), table.fields.end(),
                                                             [&](auto& field) { return changes(table, field); });
  const std::string one(table.one);
  const bool adding = table.write != nullptr || table.create != nullptr;
  add(table.read != nullptr || walks, "show", showUsage(table), showHelp(table),
      std::string(adding ? table.view.details : table.details), showRecords);
  add(adding, "add", addUsage(table), addHelp(table), addDetails(table), addRecord);
  add(changing, "set", setUsage(table), "change properties of " + one, setDetails(table), setRecord);
  add(table.remove != nullptr, "delete", keyUsage(table), "delete " + one, "", deleteRecord);
  add(walks || table.count != nullptr || !selectionsOf(table, canBeCounted).empty(), "count", countUsage(table),
      "how many " + std::string(table.many) + " there are", "", countRecords);
  return commands;
}

}  // namespace fibdb::program
