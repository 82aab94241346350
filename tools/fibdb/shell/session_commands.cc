// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/session_commands.cc: help, and the way out.
#include <algorithm>
#include <array>

#include "tools/fibdb/output/output.h"
#include "tools/fibdb/shell/command.h"

namespace fibdb::program {
namespace {

constexpr size_t kLongestUsage = 56;  // beyond it the list shows the keywords alone

Status showList(Session& session, const std::vector<const Command*>& commands) {
  session.output.beginList({"commands", {{"command"}, {"help"}}});
  for (const Command* command : commands) {
    const std::string usage = usageOf(*command);
    const std::string shown = usage.size() <= kLongestUsage ? usage : std::string(command->words) + " ...";
    session.output.row({shown, std::string(command->help)});
  }
  session.output.endList();
  return Status::kOk;
}

Status showOne(Session& session, const Command& command) {
  std::string text = usageOf(command) + "\n  " + std::string(command.help) + '.';
  if (!command.details.empty()) text += "\n  ";
  for (const char c : command.details) text += c == '\n' ? std::string("\n  ") : std::string(1, c);
  session.output.result(text, {{"command", std::string(command.words)},
                               {"usage", usageOf(command)},
                               {"help", std::string(command.help)},
                               {"details", std::string(command.details)}});
  return Status::kOk;
}

// The commands that begin with these words, or else with words that these abbreviate.
std::vector<const Command*> commandsFor(const Words& words) {
  const auto beginning = [&](auto agree) {
    std::vector<const Command*> found;
    for (const Command* command : allCommands()) {
      const Words own = splitWords(command->words);
      if (words.size() <= own.size() && std::equal(words.begin(), words.end(), own.begin(), agree)) {
        found.push_back(command);
      }
    }
    return found;
  };
  const auto found = beginning([](auto& word, auto& own) { return word == own; });
  return found.empty() ? beginning([](auto& word, auto& own) { return own.starts_with(word); }) : found;
}

Status help(Session& session, Arguments& arguments) {
  if (arguments.empty()) return showList(session, allCommands());
  Words words;
  while (!arguments.empty()) words.push_back(arguments.word("a command"));
  std::vector<const Command*> found = commandsFor(words);
  if (found.empty()) found.push_back(findCommand(words).command);
  if (found.size() == 1) return showOne(session, *found.front());
  // A command that is named in full is meant, and those that go on from it are not kept back.
  const auto named = std::find_if(found.begin(), found.end(),
                                  [&](const Command* command) { return splitWords(command->words) == words; });
  if (named != found.end()) {
    showOne(session, **named);
    found.erase(named);
  }
  return showList(session, found);
}

Status format(Session& session, Arguments& arguments) {
  if (!arguments.empty()) session.output.setForm(parseForm(arguments.word("a format")));
  arguments.end();
  const std::string name(kFormNames[static_cast<size_t>(session.output.form())]);
  session.output.done("format " + name, {{"format", name}});
  return Status::kOk;
}

Status timing(Session& session, Arguments& arguments) {
  constexpr std::array<std::string_view, 2> kWords{"on", "off"};
  session.timing = arguments.keyword(kWords) == 0;
  arguments.end();
  return Status::kOk;
}

Status quit(Session& session, Arguments& arguments) {
  arguments.end();
  session.ended = true;
  return Status::kOk;
}

constexpr Command kCommands[] = {
    {"help", "[COMMAND]", "all commands, or one of them in detail",
     "Keywords may be abbreviated as long as one command fits: sh ro 8.8.8.8. A ? instead of a word lists the words\n"
     "that may stand there. Behind a command that shows something, `columns A,B` picks columns, and `all` keeps those\n"
     "that are 0 everywhere, which a terminal is spared.",
     help},
    {"format", "[table | vertical | csv | json | jsonl]", "how answers look from now on",
     "table: rows below headings, or vertical where they do not fit the terminal. vertical: a line for each value.\n"
     "csv: comma-separated values. json: one document for each list or record. jsonl: one object a line.",
     format},
    {"timing", "on | off", "whether to say how long each command took", "", timing},
    {"quit", "", "leave", "", quit},
    {"exit", "", "leave", "", quit},
};

}  // namespace

std::span<const Command> sessionCommands() { return kCommands; }

}  // namespace fibdb::program
