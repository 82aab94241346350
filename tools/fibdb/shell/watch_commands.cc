// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/watch_commands.cc: a command again and again; the calls that commands make.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <iostream>

#include "tools/fibdb/base/call_watch.h"
#include "tools/fibdb/base/clock.h"
#include "tools/fibdb/base/interrupt.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/shell/command.h"

namespace fibdb::program {
namespace {

constexpr uint64_t kDefaultSeconds = 2;
constexpr uint64_t kMostSeconds = 86400;

struct Watch {
  std::vector<std::string> words;  // of the command
  uint64_t seconds = kDefaultSeconds;
  uint64_t times = UINT64_MAX;
};

// `every N` and `times N` stand behind the command, whose words are taken as they are.
Watch takeWatch(Arguments& arguments) {
  Watch watch;
  do {
    watch.words.push_back(arguments.word("a command"));
  } while (!arguments.empty());
  std::vector<std::string>& words = watch.words;
  while (words.size() > 2) {
    const std::string& option = words[words.size() - 2];
    if (option != "every" && option != "times") break;
    Arguments number(arguments.command(), std::span(words).last(1));
    const bool every = option == "every";
    const uint64_t given = number.number("a number", every ? kMostSeconds : UINT64_MAX);
    if (given == 0) arguments.fail(option + " 0 is too often or never");
    (every ? watch.seconds : watch.times) = given;
    words.resize(words.size() - 2);
  }
  return watch;
}

// On a terminal every answer stands where the one before stood.
bool isInPlace(const Session& session) { return session.progress.enabled && isatty(STDOUT_FILENO) == 1; }

// The words of a line, each with the blanks before it.
std::vector<std::string_view> piecesOf(std::string_view line) {
  std::vector<std::string_view> pieces;
  while (!line.empty()) {
    const size_t begin = std::min(line.find_first_not_of(' '), line.size());
    const size_t end = std::min(line.find(' ', begin), line.size());
    pieces.push_back(line.substr(0, end));
    line.remove_prefix(end);
  }
  return pieces;
}

// A line with what differs from the line that stood there before.
std::string markedLine(std::string_view line, std::string_view before) {
  constexpr std::string_view kMark = "\033[7m", kEnd = "\033[27m";
  const auto pieces = piecesOf(line), known = piecesOf(before);
  std::string marked;
  for (size_t i = 0; i < pieces.size(); ++i) {
    const size_t blanks = std::min(pieces[i].find_first_not_of(' '), pieces[i].size());
    const bool same = i < known.size() && known[i].substr(std::min(known[i].find_first_not_of(' '), known[i].size())) ==
                                              pieces[i].substr(blanks);
    marked += pieces[i].substr(0, blanks);
    marked += same ? "" : kMark;
    marked += pieces[i].substr(blanks);
    marked += same ? "" : kEnd;
  }
  return marked;
}

std::string markedText(std::string_view text, std::string_view before) {
  std::string marked;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n')), known = before.substr(0, before.find('\n'));
    marked += markedLine(line, known) + '\n';
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    before.remove_prefix(std::min(known.size() + 1, before.size()));
  }
  return marked;
}

void beginAnswer(Session& session, const Watch& watch) {
  if (isInPlace(session)) std::cout << "\033[H\033[2J";
  std::string command;
  for (const std::string& word : watch.words) command += (command.empty() ? "" : " ") + program::quoted(word);
  const std::string now = timeText(std::time(nullptr));
  session.output.result(now + ", every " + std::to_string(watch.seconds) + " s: " + command,
                        {{"watched", command}, {"at", now}});
}

Status watch(Session& session, Arguments& arguments) {
  const Watch watch = takeWatch(arguments);
  const CommandMatch match = findCommand(watch.words);
  session.arena.enterFor(match.command->words);
  std::string before;
  for (uint64_t time = 0; time < watch.times && !session.ended; ++time) {
    if (time > 0) pauseFor(static_cast<int>(watch.seconds));
    checkInterrupt();
    beginAnswer(session, watch);
    Arguments inner(*match.command, std::span(watch.words).subspan(match.wordCount));
    Status status = Status::kOk;
    if (isInPlace(session)) {
      const std::string text = session.output.captured([&] { status = match.command->run(session, inner); });
      session.output.write(time == 0 ? text : markedText(text, before));
      before = text;
    } else {
      status = match.command->run(session, inner);
    }
    if (status != Status::kOk || !session.output.flush()) return status;
  }
  return Status::kOk;
}

Status trace(Session& session, Arguments& arguments) {
  constexpr std::array<std::string_view, 2> kWords{"on", "off"};
  const bool on = arguments.keyword(kWords) == 0;
  arguments.end();
  if (on) {
    watchCalls([&output = session.output](const std::string& line) { output.log(line); });
  } else {
    watchCalls(nullptr);
  }
  session.output.result(on ? "calls are shown" : "calls are not shown", {{"trace", on}});
  return Status::kOk;
}

constexpr Command kCommands[] = {
    {"watch", "COMMAND [every N] [times N]", "a command again and again, until Ctrl-C",
     "Every 2 seconds unless told otherwise; times ends it by itself. A failure ends it, too. On a terminal answers\n"
     "take each other's place, and what differs from the one before is marked.",
     watch},
    {"trace", "on | off", "show every call of the library and the engine, what it answered, and its time",
     "Of the calls that reach the database; one line each, where errors go. The time is what the call took, and not\n"
     "what it took to show it.",
     trace},
};

}  // namespace

std::span<const Command> watchCommands() { return kCommands; }

}  // namespace fibdb::program
