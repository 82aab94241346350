// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/watch_commands.cc: a command again and again; the calls that commands make.
#include <unistd.h>

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
void beginAnswer(Session& session, const Watch& watch) {
  if (session.progress.enabled && isatty(STDOUT_FILENO) == 1) std::cout << "\033[H\033[2J";
  std::string command;
  for (const std::string& word : watch.words) command += (command.empty() ? "" : " ") + program::quoted(word);
  const std::string now = timeText(std::time(nullptr));
  session.output.result(now + ", every " + std::to_string(watch.seconds) + " s: " + command,
                        {{"watched", command}, {"at", now}});
}

Status watch(Session& session, Arguments& arguments) {
  const Watch watch = takeWatch(arguments);
  const CommandMatch match = findCommand(watch.words);
  for (uint64_t time = 0; time < watch.times && !session.ended; ++time) {
    if (time > 0) pauseFor(static_cast<int>(watch.seconds));
    checkInterrupt();
    beginAnswer(session, watch);
    Arguments inner(*match.command, std::span(watch.words).subspan(match.wordCount));
    const Status status = match.command->run(session, inner);
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
     "Every 2 seconds unless told otherwise; times ends it by itself. A failure ends it, too.", watch},
    {"trace", "on | off", "show every call of the library and the engine, what it answered, and its time",
     "Of the calls that reach the database; one line each, where errors go. The time is what the call took, and not\n"
     "what it took to show it.",
     trace},
};

}  // namespace

std::span<const Command> watchCommands() { return kCommands; }

}  // namespace fibdb::program
