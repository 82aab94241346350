// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/main.cc: the fibdb program: start-up of the library, where the commands come from.
#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

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
#include "tools/fibdb/options.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/pager.h"
#include "tools/fibdb/routes/routes.h"
#include "tools/fibdb/shell/prompt.h"
#include "tools/fibdb/shell/shell.h"

namespace fibdb::program {
namespace {

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
  session.arena = Arena(options.arena);
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

// What may stand in the place of the last word, a line each.
Status complete(std::vector<std::string> words) {
  if (words.empty()) words.emplace_back();
  for (const Choice& choice : choices(words)) std::cout << choice.word << '\n';
  return Status::kOk;
}

Status refuse(const Refusal& refusal) {
  Output output(std::cout, std::cerr, textStyle(), refusal.form);
  output.complain({.message = refusal.message, .advice = refusal.advice});
  return Status::kUsage;
}

Status run(const Options& options) { return options.complete ? complete(options.words) : runProgram(options); }
Status run(const Refusal& refusal) { return refuse(refusal); }
Status run(Status status) { return status; }

int start(int argc, char** argv) {
  holdStandardStreams();
  // Whoever closes our output wants no more of it: the usual quiet end, even under a parent that ignores SIGPIPE.
  std::signal(SIGPIPE, SIG_DFL);
  std::setlocale(LC_CTYPE, "");
  std::ios::sync_with_stdio(false);
  const auto parsed = parseOptions(argc, argv);
  return static_cast<int>(std::visit([](const auto& what) { return run(what); }, parsed));
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
