// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/shell.h: runs command lines from the command line, a script or the prompt.
//
// DESCRIPTION: a line is one command. Its failure is reported with its place and becomes its status; nothing
// is thrown out of here. Ctrl-C ends the command that runs. Behind a command that shows something may stand how it is
// to be seen: `all`, `columns A,B,...`. Where a run stops it is said how many commands were not run.
#ifndef FIBDB_TOOLS_SHELL_H
#define FIBDB_TOOLS_SHELL_H

#include <istream>
#include <span>
#include <string>

#include "tools/fibdb/output/answer.h"
#include "tools/fibdb/shell/command.h"

namespace fibdb::program {

class Shell {
 public:
  // keepGoing: a failure does not end a run of commands; its status is still the run's.
  Shell(Session& session, bool keepGoing) : session_(session), keepGoing_(keepGoing) {}

  Status run(const std::string& line, const Place& place);

  // In order until one fails, `quit` or the end. Status of the first failure.
  Status runAll(std::span<const std::string> lines);
  Status runScript(std::istream& script, const std::string& name);

  Session& session() { return session_; }

 private:
  Status runCommand(const std::string& line);
  // Whether the run goes on after this status, which is noted when it is the first failure.
  bool goesOn(Status status, Status& first) const;
  void reportSkipped(uint64_t commands, Status status, const Place& place);

  Session& session_;
  const bool keepGoing_;
};

}  // namespace fibdb::program

#endif
