// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/options.cc: see options.h.
#include "tools/fibdb/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <span>
#include <string_view>

#include "fibdb/common.h"
#include "tools/fibdb/base/words.h"

namespace fibdb::program {
namespace {

void describe(CLI::App& app, Options& options) {
  app.set_version_flag("--version", "fibdb " FIBDB_VERSION);
  auto* commands = app.add_option("-c,--command", options.commands, "run a command; may be given several times");
  commands->type_name("COMMAND")->allow_extra_args(false);
  auto* script = app.add_option("-f,--file", options.script, "run the commands of a script; - reads standard input");
  script->type_name("FILE")->excludes(commands);
  app.add_option("words", options.words, "a command as plain arguments, run behind those of -c")->excludes(script);
  app.add_option("--arena", options.arena, "the tables of the processes in this arena, as FIBDB_ARENA names it")
      ->type_name("NAME");
  app.add_flag("-i,--interactive", options.interactive, "go on to the prompt afterwards, on a terminal");
  app.add_flag("-k,--keep-going", options.keepGoing, "run the other commands after a failure, too");
  app.add_flag("-q,--quiet", options.quiet, "say nothing of what was done: answers and errors alone");
  const auto setForm = [&options](const std::string& name) { options.form = parseForm(name); };
  app.add_option_function<std::string>("--format", setForm, "how answers look: " + join(kFormNames, ", "))
      ->type_name("FORMAT");
  app.add_flag_callback(
      "--json", [&options] { options.form = Form::kJsonLines; }, "answer in JSON, one object a line");
  app.add_flag("--complete", options.complete, "print what may stand in the place of the last word, for a shell");
  app.footer(
      "Without -c or -f: a prompt on a terminal, else commands from standard input.\n"
      "`fibdb -c help` lists the commands. Exit status: 0 done, 1 failed, 2 wrong usage, 130 interrupted.");
}

// Of words that could not be parsed: whether they ask for JSON.
Form formOf(std::span<const char* const> words) {
  const bool json = std::ranges::any_of(words, [](const char* text) {
    const std::string_view word(text);
    return word.starts_with("--json") || word == "json" || word == "jsonl" || word.starts_with("--format=json");
  });
  return json ? Form::kJsonLines : Form::kTable;
}

// A shell has split the words already: what they hold is kept. One alone that has blanks is a whole command, in quotes.
std::string lineOf(const std::vector<std::string>& words) {
  if (words.size() == 1 && words.front().find(' ') != std::string::npos) return words.front();
  std::string line;
  for (const std::string& word : words) line += (line.empty() ? "" : " ") + program::quoted(word);
  return line;
}

}  // namespace

std::variant<Options, Status, Refusal> parseOptions(int argc, const char* const* argv) {
  CLI::App app("Forwarding tables at hand: load, look up, show and measure.", "fibdb");
  Options options;
  describe(app, options);
  const Form form = formOf(std::span(argv, static_cast<size_t>(argc)));
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error) == 0 ? Status::kOk : Status::kUsage;
    return Refusal{error.what(), "try fibdb --help", form};
  } catch (const Failure& failure) {
    return Refusal{failure.what(), failure.advice(), form};
  }
  if (!options.words.empty() && !options.complete) options.commands.push_back(lineOf(options.words));
  return options;
}

}  // namespace fibdb::program
