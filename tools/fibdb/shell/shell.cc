// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/shell.cc: see shell.h.
#include "tools/fibdb/shell/shell.h"

#include <cerrno>
#include <cstring>

#include "tools/fibdb/base/interrupt.h"

namespace fibdb::program {

Status Shell::runCommand(const std::string& line) {
  const Words words = splitWords(line);
  if (words.empty()) return Status::kOk;
  const CommandMatch match = findCommand(words);
  Arguments arguments(*match.command, std::span(words).subspan(match.wordCount));
  const InterruptScope scope;
  return match.command->run(session_, arguments);
}

Status Shell::run(const std::string& line, const Place& place) {
  Status status = Status::kFailed;
  try {
    status = runCommand(line);
  } catch (const Failure& failure) {
    status = failure.status();
    session_.output.complain({.message = failure.what(), .place = place, .advice = failure.advice()});
  } catch (const std::exception& error) {
    session_.output.complain({error.what(), place});
  }
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

Status Shell::runAll(std::span<const std::string> lines) {
  Status first = Status::kOk;
  for (const std::string& line : lines) {
    if (!goesOn(run(line, {}), first)) break;
  }
  return first;
}

Status Shell::runScript(std::istream& script, const std::string& name) {
  Status first = Status::kOk;
  Place place{name, 0};
  std::string line;
  // A script that turns out to be a folder, say, opens well and fails at its first line; the stream keeps no reason.
  for (errno = 0; std::getline(script, line); errno = 0) {
    ++place.line;
    if (!goesOn(run(line, place), first)) return first;
  }
  if (!script.bad()) return first;
  session_.output.complain({errno != 0 ? std::strerror(errno) : "cannot be read further", place});
  return first == Status::kOk ? Status::kFailed : first;
}

}  // namespace fibdb::program
