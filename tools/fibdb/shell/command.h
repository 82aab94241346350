// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/command.h: a command as a row of data, the words it was given, and what it may use.
//
// DESCRIPTION: dispatch, help and completion all read the same rows. A row's words are keywords; what follows
// them are arguments. In `arguments`, words in lower case are keywords too (completion offers them), and the
// names TABLE and FILE stand for a table of the database and a file.
#ifndef FIBDB_TOOLS_COMMAND_H
#define FIBDB_TOOLS_COMMAND_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/fibdb/base/failure.h"
#include "tools/fibdb/base/words.h"
#include "tools/fibdb/output/progress.h"
#include "tools/fibdb/shell/arena.h"
#include "tools/fibdb/shell/unsaved.h"

namespace fibdb::program {

class Arguments;
class Output;
class Pager;
struct RecordTable;
struct Session;

struct Command {
  std::string_view words;      // "show route"
  std::string_view arguments;  // "ADDRESS | PREFIX [longer]"
  std::string_view help;       // one line
  std::string_view details;    // for `help COMMAND`; may be empty
  Status (*run)(Session& session, Arguments& arguments);
  const RecordTable* table = nullptr;  // whose records it is about, when many tables share the function
};

// What every command may use.
struct Session {
  Output& output;
  ProgressStyle progress;
  bool commandsOnInput = false;  // standard input is the script, and cannot be a routes file too
  uint32_t generation = 0;       // of the last load
  Unsaved unsaved = {};
  bool ended = false;      // quit was given
  bool timing = false;     // how long a command took is said
  Pager* pager = nullptr;  // behind the answers, on a terminal
  Arena arena = {};
};

std::string usageOf(const Command& command);

// The rows of each unit, and all of them in the order of help.
std::span<const Command> routeCommands();
std::span<const Command> routeQuestionCommands();
std::span<const Command> mapCommands();
std::span<const Command> recordCommands();
std::span<const Command> configCommands();
std::span<const Command> databaseCommands();
std::span<const Command> statisticsCommands();
std::span<const Command> arenaCommands();
std::span<const Command> measureCommands();
std::span<const Command> sessionCommands();
std::span<const Command> watchCommands();
const std::vector<const Command*>& allCommands();

// The command that the first words name, and how many they are. Throws Failure (usage) when there is none,
// with the nearest word as advice.
struct CommandMatch {
  const Command* command;
  size_t wordCount;
};
CommandMatch findCommand(std::span<const std::string> words);

// What may stand at the place of the last word, which may be empty or half typed, and what it is.
struct Choice {
  std::string word;
  std::string help = {};
};
std::vector<Choice> choices(std::span<const std::string> words);
// Shows what may follow these words.
Status showChoices(Session& session, std::span<const std::string> words);

// The words behind a command, taken one after the other. Every call throws Failure (usage) with the command's
// usage as advice when the word is missing or does not fit.
class Arguments {
 public:
  Arguments(const Command& command, std::span<const std::string> words) : command_(command), words_(words) {}

  const Command& command() const { return command_; }
  bool empty() const { return words_.empty(); }
  const std::string& word(std::string_view what);
  uint64_t number(std::string_view what, uint64_t most = UINT64_MAX);
  Prefix prefix();
  // The name of a file: ~/ at its beginning is the home.
  std::string file();
  // Whether the keyword, which may be left out, stands here; nothing may stand behind it.
  bool lastKeyword(std::string_view keyword);
  // The place of the keyword that the word abbreviates.
  size_t keyword(std::span<const std::string_view> keywords);
  // The number of a table of the database.
  uint32_t table();
  // No word is left.
  void end() const;

  // text: the word that is at fault, where the message does not say it.
  [[noreturn]] void fail(const std::string& message, const std::string& advice = {},
                         const std::string& text = {}) const;

 private:
  const Command& command_;
  std::span<const std::string> words_;
};

std::vector<std::string_view> tableNames();

uint64_t perSecond(uint64_t steps, double seconds);

}  // namespace fibdb::program

#endif
