// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/main.cc: the fibdb program: options, start-up of the library, where the commands come from.
#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <span>

#include "fibdb/fibdb.h"
#include "tools/fibdb/routes/routes.h"
#include "tools/fibdb/shell/prompt.h"
#include "tools/fibdb/shell/shell.h"

namespace fibdb::program {
namespace {

struct Options {
  std::vector<std::string> commands;
  std::vector<std::string> words;  // of a command given as plain arguments
  std::string script;
  bool interactive = false;
  bool keepGoing = false;
  bool quiet = false;
  bool complete = false;
  Form form = Form::kTable;
};

// The library's hooks take no context.
Output* logOutput = nullptr;

__attribute__((format(printf, 1, 2))) int logLine(const char* format, ...) {
  char line[1024];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  if (logOutput != nullptr) logOutput->log(line);
  return length;
}

void startLibrary(Output& output) {
  logOutput = &output;
  const FibDbLogHooks hooks{logLine, logLine};
  FIB_DB_LogFuncInit(&hooks);
  FIB_DB_TableRegisterInit();
}

// A file opened later must not get the number of a standard stream that the caller has closed. Standard
// output is held by a descriptor that cannot be written, so that answers are refused instead of lost.
void holdStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) == -1 && errno == EBADF) {
      (void)!open("/dev/null", stream == STDERR_FILENO ? O_WRONLY : O_RDONLY);
    }
  }
}

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

bool isColorTerminal() {
  const char* terminal = std::getenv("TERM");
  const bool dumb = terminal == nullptr || std::strcmp(terminal, "dumb") == 0;
  return isatty(STDOUT_FILENO) == 1 && !dumb && !isSet("NO_COLOR");
}

Status runCommands(Shell& shell, const Options& options) {
  if (!options.script.empty() && options.script != "-") {
    std::ifstream script(options.script);
    if (script) return shell.runScript(script, options.script);
    shell.session().output.complain({std::strerror(errno), {options.script, 0}});
    return Status::kFailed;
  }
  if (!options.commands.empty()) return shell.runAll(options.commands);
  const bool terminal = isatty(STDIN_FILENO) == 1 && options.script.empty();
  if (terminal) return Status::kOk;
  shell.session().commandsOnInput = true;
  return shell.runScript(std::cin, "stdin");
}

bool endsAtPrompt(const Options& options) {
  const bool nothingElse = options.commands.empty() && options.script.empty();
  return (nothingElse || options.interactive) && options.script != "-" && isatty(STDIN_FILENO) == 1;
}

bool isUnicode() { return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0; }

TextStyle textStyle() {
  return {isColorTerminal(), isUnicode() && isatty(STDOUT_FILENO) == 1, answerWidth, errorWidth};
}

Status runProgram(const Options& options) {
  Pager pager;
  std::ostream answers(&pager);
  Output output(answers, std::cerr, textStyle(), options.form);
  output.setQuiet(options.quiet);
  startLibrary(output);
  Session session{output, {isatty(STDERR_FILENO) == 1 && !output.isJson(), isUnicode()}};
  session.pager = &pager;
  Shell shell(session, options.keepGoing);
  Status status = runCommands(shell, options);
  if (endsAtPrompt(options) && !session.ended) {
    const bool greets = options.commands.empty() && options.script.empty() && !output.isJson() && !options.quiet;
    if (greets) output.result("fibdb " FIBDB_VERSION ": help shows the commands, quit leaves", {});
    output.flush();
    const Status last = runPrompt(shell);
    if (status == Status::kOk) status = last;
  }
  closeConnection();
  return status;
}

void describe(CLI::App& app, Options& options) {
  app.set_version_flag("--version", "fibdb " FIBDB_VERSION);
  auto* commands = app.add_option("-c,--command", options.commands, "run a command; may be given several times");
  commands->type_name("COMMAND")->allow_extra_args(false);
  auto* script = app.add_option("-f,--file", options.script, "run the commands of a script; - reads standard input");
  script->type_name("FILE")->excludes(commands);
  app.add_option("words", options.words, "a command as plain arguments, run behind those of -c")->excludes(script);
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

// Options that do not fit are answered in the form that the others ask for.
Status refuse(std::span<char* const> words, const std::string& message, const std::string& advice) {
  const bool json = std::ranges::any_of(words, [](const char* text) {
    const std::string_view word(text);
    return word.starts_with("--json") || word == "json" || word == "jsonl" || word.starts_with("--format=json");
  });
  Output output(std::cout, std::cerr, textStyle(), json ? Form::kJsonLines : Form::kTable);
  output.complain({.message = message, .advice = advice});
  return Status::kUsage;
}

// A shell has split the words already: what they hold is kept.
std::string lineOf(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) line += (line.empty() ? "" : " ") + program::quoted(word);
  return line;
}

int start(int argc, char** argv) {
  holdStandardStreams();
  // Whoever closes our output wants no more of it: the usual quiet end, even under a parent that ignores SIGPIPE.
  std::signal(SIGPIPE, SIG_DFL);
  std::setlocale(LC_CTYPE, "");
  std::ios::sync_with_stdio(false);
  CLI::App app("Forwarding tables at hand: load, look up, show and measure.", "fibdb");
  Options options;
  describe(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    return static_cast<int>(refuse(std::span(argv, static_cast<size_t>(argc)), error.what(), "try fibdb --help"));
  } catch (const Failure& failure) {
    return static_cast<int>(refuse(std::span(argv, static_cast<size_t>(argc)), failure.what(), failure.advice()));
  }
  if (options.complete) {
    if (options.words.empty()) options.words.emplace_back();
    for (const std::string& text : completions(options.words)) std::cout << text << '\n';
    return static_cast<int>(Status::kOk);
  }
  if (!options.words.empty()) options.commands.push_back(lineOf(options.words));
  return static_cast<int>(runProgram(options));
}

}  // namespace
}  // namespace fibdb::program

int main(int argc, char** argv) {
  try {
    return fibdb::program::start(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "fibdb: %s\n", error.what());
    return static_cast<int>(fibdb::program::Status::kFailed);
  }
}
