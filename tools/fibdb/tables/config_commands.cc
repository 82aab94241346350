// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/config_commands.cc: save and load every record of the tables that are described by data.
//
// A configuration file is text: a line `add TABLE KEY PROPERTY VALUE ...` for each record, as it would be typed. So it
// is a script, too; loading it goes on after a bad line, and replaces what is there.
#include "fibdb/engine.h"
#include "tools/fibdb/files/file_writer.h"
#include "tools/fibdb/files/lines.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/text.h"
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/record_words.h"

namespace fibdb::program {
namespace {

constexpr std::string_view kAdd = "add ";

bool isSaved(const RecordTable& table) {
  return table.walk.create != nullptr && (table.write != nullptr || table.create != nullptr);
}

// Answers how many records there were.
uint64_t saveTable(const RecordTable& table, FileWriter& writer) {
  uint64_t records = 0;
  for (const Record& record : recordsOf(table, table.walk, Record(table))) {
    const std::string words = wordsOf(table, record);
    if (words.find_first_of("\r\n") != std::string::npos) {
      throw Failure(Status::kFailed, titleOf(table, record.data()) + " has a name with a line break: not saved");
    }
    if (records == 0) writer.write("\n# " + std::string(table.many) + "\n");
    ++records;
    writer.write(std::string(kAdd) + words + '\n');
  }
  return records;
}

Status saveConfig(Session& session, Arguments& arguments) {
  const std::string file = arguments.file();
  const bool force = arguments.lastKeyword("force");
  session.output.flush();
  FileWriter writer(file);
  writer.write("# fibdb configuration: load it with `load config`.\n");
  uint64_t records = 0;
  for (const RecordTable* table : recordTables()) {
    if (isSaved(*table)) records += saveTable(*table, writer);
  }
  if (!force) writer.requireRecords(records, "save config " + quoted(file) + " force");
  writer.commit();
  if (file == "-") return Status::kOk;
  session.unsaved.settle(Part::kRecords);
  session.output.done(counted(records, "record") + " saved to " + file, {{"file", file}, {"saved", records}});
  return Status::kOk;
}

struct LoadCounts {
  uint64_t added = 0;
  uint64_t replaced = 0;
};

// Writes the record, whatever was under its key before.
void store(const RecordTable& table, Record& record, LoadCounts& counts) {
  Record before = record;
  const bool there = table.read != nullptr && readRecord(table, before.data());
  if (there && table.create != nullptr) table.remove(before.data());
  writeRecord(table, record.data());
  ++(there ? counts.replaced : counts.added);
}

// The first line of an advice that is one; the usage of a command helps nobody in a file.
std::string reasonOf(const Failure& failure) {
  const std::string advice = failure.advice().substr(0, failure.advice().find('\n'));
  const std::string text = failure.text().empty() ? "" : inQuotes(failure.text()) + ": ";
  return text + failure.what() + (advice.starts_with("did you mean") ? ": " + advice : "");
}

std::optional<LineFault> takeLine(std::string_view line, LoadCounts& counts) {
  try {
    const Words words = splitWords(line);
    if (words.empty()) return std::nullopt;
    const CommandMatch match = findCommand(words);
    if (match.command->table == nullptr || !match.command->words.starts_with(kAdd)) {
      return fault(line, "a configuration has nothing but lines that add records");
    }
    Arguments arguments(*match.command, std::span(words).subspan(match.wordCount));
    Record record = takeRecord(arguments);
    store(*match.command->table, record, counts);
    return std::nullopt;
  } catch (const Failure& failure) {
    if (failure.status() == Status::kInterrupted) throw;
    return fault(line, reasonOf(failure));
  }
}

Status loadConfig(Session& session, Arguments& arguments) {
  const std::string file = arguments.file();
  const bool skipBad = arguments.lastKeyword("skip-bad");
  if (file == "-" && session.commandsOnInput) {
    throw Failure(Status::kFailed, "standard input holds the commands: it cannot be a configuration too");
  }
  LoadCounts counts;
  FileReport report;
  const bool clean = !session.unsaved.holds(Part::kRecords);
  {
    Progress progress(session.progress, "loading");
    report = readLines(file, session.output, progress,
                       [&](std::string_view line, uint64_t) { return takeLine(line, counts); });
  }
  if (clean) session.unsaved.settle(Part::kRecords);
  const uint64_t loaded = counts.added + counts.replaced;
  std::string sentence = report.interrupted ? "interrupted: " : "";
  sentence += counted(loaded, "record") + " loaded: " + formatCount(counts.added) + " new, " +
              formatCount(counts.replaced) + " replaced";
  if (report.badLines > 0) sentence += ", " + counted(report.badLines, "bad line");
  session.output.done(sentence, {{"file", file},
                                 {"loaded", loaded},
                                 {"new", counts.added},
                                 {"replaced", counts.replaced},
                                 {"bad_lines", report.badLines},
                                 {"interrupted", report.interrupted}});
  if (report.interrupted) return Status::kInterrupted;
  return (report.badLines > 0 && !skipBad) || report.broken ? Status::kFailed : Status::kOk;
}

constexpr Command kCommands[] = {
    {"save config", "FILE [force]", "write every record but the routes; - writes standard output",
     "A line for each record: the command that adds it. What the service of a device keeps of a record (status,\n"
     "contexts, times) is not saved. The file appears, or is replaced, when it is complete. Without any record a\n"
     "file that holds something is kept, unless force is given.",
     saveConfig},
    {"load config", "FILE [skip-bad]", "read what save config wrote; - reads standard input",
     "Records that are there are replaced, others stay. A bad line is reported with its number and its reason;\n"
     "the good lines are loaded. The status is 1 then, unless skip-bad is given.",
     loadConfig},
};

}  // namespace

std::span<const Command> configCommands() { return kCommands; }

}  // namespace fibdb::program
