// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/options.h: the words of the command line.
#ifndef FIBDB_TOOLS_OPTIONS_H
#define FIBDB_TOOLS_OPTIONS_H

#include <string>
#include <variant>
#include <vector>

#include "tools/fibdb/base/failure.h"
#include "tools/fibdb/output/output.h"

namespace fibdb::program {

struct Options {
  std::vector<std::string> commands;
  std::vector<std::string> words;  // of a command given as plain arguments
  std::string script;
  std::string arena;
  bool interactive = false;
  bool keepGoing = false;
  bool quiet = false;
  bool complete = false;
  Form form = Form::kTable;
};

// Options that do not fit; answered in the form that the others ask for.
struct Refusal {
  std::string message;
  std::string advice;
  Form form;
};

// A status: the program ends with it; help or the version was written.
std::variant<Options, Status, Refusal> parseOptions(int argc, const char* const* argv);

}  // namespace fibdb::program

#endif
