// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/shell.cc: see shell.h.
#include "tools/fibdb/shell/shell.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "tools/fibdb/base/clock.h"
#include "tools/fibdb/base/interrupt.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/pager.h"
#include "tools/fibdb/output/text.h"

namespace fibdb::program {
namespace {

constexpr size_t kLeastAbbreviation = 3;  // of `columns`: a shorter one could be a value

bool isCommand(const std::string& line) {
  try {
    return !splitWords(line).empty();
  } catch (const Failure&) {
    return true;
  }
}

bool begins(const Command& command, std::string_view verb) {
  return command.words.starts_with(verb) && command.words.substr(verb.size()).starts_with(' ');
}

// Answers that may be long, and that somebody wants to read.
bool isRead(const Command& command) {
  return begins(command, "show") || begins(command, "explain") || command.words == "help";
}

bool isChange(const Command& command) {
  constexpr std::array kVerbs{"add", "set", "delete", "load", "clear", "limit"};
  return command.words == "tour" ||
         std::ranges::any_of(kVerbs, [&](const char* verb) { return begins(command, verb); });
}

// Commands that look at no table.
bool isAside(const Command& command) {
  constexpr std::array kWords{"help", "quit", "trace", "timing", "watch"};
  return begins(command, "arena") || std::ranges::find(kWords, command.words) != kWords.end();
}

// A command that writes to standard output what is no answer but a file's content, or a collector's.
bool writesData(const std::string& line) {
  try {
    const Words words = splitWords(line);
    if (words.empty()) return false;
    const Command& command = *findCommand(words).command;
    if (command.words == "show metrics") return true;
    const bool toFile = begins(command, "save") || command.words == "show route map";
    return toFile && std::ranges::find(words, "-") != words.end();
  } catch (const Failure&) {
    return false;
  }
}

Words splitAtCommas(std::string_view text) {
  Words parts;
  for (size_t end = 0; end != std::string_view::npos; text.remove_prefix(std::min(end + 1, text.size()))) {
    end = text.find(',');
    parts.emplace_back(text.substr(0, end));
  }
  return parts;
}

// Takes the words off the end that say how an answer is to be seen.
AnswerView takeView(std::span<const std::string>& words) {
  AnswerView view;
  for (;;) {
    const size_t count = words.size();
    const bool columns = count >= 2 && words[count - 2].size() >= kLeastAbbreviation &&
                         std::string_view("columns").starts_with(words[count - 2]);
    if (columns) {
      view.columns = splitAtCommas(words.back());
      words = words.first(count - 2);
    } else if (count >= 1 && words.back() == "all") {
      view.all = true;
      words = words.first(count - 1);
    } else {
      return view;
    }
  }
}

// What an answer needs before and behind it, however its command ends.
class AnswerScope {
 public:
  AnswerScope(Session& session, const AnswerView& view, bool read) : session_(session) {
    session_.output.setView(view);
    if (session_.pager != nullptr) session_.pager->begin(read);
  }
  ~AnswerScope() {
    session_.output.endCommand();
    if (session_.pager != nullptr) session_.pager->end();
  }
  AnswerScope(const AnswerScope&) = delete;
  AnswerScope& operator=(const AnswerScope&) = delete;

 private:
  Session& session_;
};

// The commands that are still to come, as far as they are there: nobody waits for who may never write them.
uint64_t countFurther(std::istream& script) {
  uint64_t commands = 0;
  std::string line;
  const bool file = script.tellg() != std::istream::pos_type(-1);
  while ((file || script.rdbuf()->in_avail() > 0) && std::getline(script, line)) commands += isCommand(line) ? 1 : 0;
  return commands;
}

// Looks through a script that can be read again.
bool willWriteData(std::istream& script) {
  const auto start = script.tellg();
  bool found = false;
  std::string line;
  while (start != std::istream::pos_type(-1) && !found && std::getline(script, line)) found = writesData(line);
  script.clear();
  if (start != std::istream::pos_type(-1)) script.seekg(start);
  return found;
}

}  // namespace

Status Shell::runCommand(const std::string& line) {
  const Words words = splitWords(line);
  if (words.empty()) return Status::kOk;
  if (words.back() == "?") return showChoices(session_, std::span(words).first(words.size() - 1));
  const CommandMatch match = findCommand(words);
  std::span<const std::string> rest = std::span(words).subspan(match.wordCount);
  const AnswerView view = begins(*match.command, "show") ? takeView(rest) : AnswerView();
  Arguments arguments(*match.command, rest);
  if (writesData(line)) session_.output.expectData();
  if (!isAside(*match.command)) session_.arena.enter(isChange(*match.command));
  const InterruptScope scope;
  const AnswerScope answer(session_, view, isRead(*match.command));
  const Status status = match.command->run(session_, arguments);
  session_.output.requireColumns();
  return status;
}

Status Shell::run(const std::string& line, const Place& place) {
  Status status = Status::kFailed;
  const bool timed = session_.timing && isCommand(line);
  const Stopwatch watch;
  try {
    status = runCommand(line);
  } catch (const Failure& failure) {
    // Who leaves the pager early has seen enough.
    const bool left = session_.pager != nullptr && session_.pager->wasLeft();
    status = left ? Status::kOk : failure.status();
    if (!left) {
      session_.output.complain({.message = failure.what(),
                                .place = place,
                                .text = failure.text(),
                                .advice = failure.advice(),
                                .file = failure.file()});
    }
  } catch (const std::exception& error) {
    session_.output.complain({error.what(), place});
  }
  const double seconds = watch.seconds();
  if (timed) session_.output.done("time " + textOf(seconds, Format::kSeconds, false), {{"seconds", seconds}});
  if (session_.output.flush()) return status;
  session_.output.complain({std::string("the answer cannot be written: ") + std::strerror(errno), place});
  session_.ended = true;
  return Status::kFailed;
}

bool Shell::goesOn(Status status, Status& first) const {
  if (status == Status::kOk) return !session_.ended;
  if (first == Status::kOk) first = status;
  return keepGoing_ && status != Status::kInterrupted && !session_.ended;
}

void Shell::reportSkipped(uint64_t commands, Status status, const Place& place) {
  if (commands == 0 || status == Status::kOk) return;
  const std::string message = counted(commands, "command") + (commands == 1 ? " was not run" : " were not run");
  const bool stopped = status != Status::kInterrupted && !session_.ended;
  session_.output.complain({.message = message, .place = place, .advice = stopped ? "-k goes on after a failure" : ""});
}

Status Shell::runAll(std::span<const std::string> lines) {
  Status first = Status::kOk;
  if (std::ranges::any_of(lines, writesData)) session_.output.expectData();
  for (size_t i = 0; i < lines.size(); ++i) {
    if (goesOn(run(lines[i], {}), first)) continue;
    reportSkipped(static_cast<uint64_t>(std::ranges::count_if(lines.subspan(i + 1), isCommand)), first, {});
    break;
  }
  return first;
}

Status Shell::runScript(std::istream& script, const std::string& name) {
  Status first = Status::kOk;
  Place place{name, 0};
  std::string line;
  if (willWriteData(script)) session_.output.expectData();
  // A script that turns out to be a folder, say, opens well and fails at its first line; the stream keeps no reason.
  for (errno = 0; std::getline(script, line); errno = 0) {
    if (++place.line == 1) line = withoutByteOrderMark(line);
    if (goesOn(run(line, place), first)) continue;
    reportSkipped(countFurther(script), first, {name, 0});
    return first;
  }
  if (!script.bad()) return first;
  session_.output.complain({errno != 0 ? std::strerror(errno) : "cannot be read further", place});
  return first == Status::kOk ? Status::kFailed : first;
}

}  // namespace fibdb::program
