// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/run_program.h: runs the fibdb program as a shell would, on pipes or on a terminal.
//
// DESCRIPTION: the child gets a clean environment: C locale, no colours, a home of its own or none, so that
// it writes nothing outside the test's folder. Waiting has a generous bound (cmake's FIBDB_TEST_TIMEOUT) that
// only a hanging program reaches; nothing here measures time.
#ifndef FIBDB_TESTS_TOOLS_RUN_PROGRAM_H
#define FIBDB_TESTS_TOOLS_RUN_PROGRAM_H

#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace fibdb::program {

struct Outcome {
  int status = -1;  // as shells count: 128 + n for a signal n
  std::string out;
  std::string err;
};

using Args = std::vector<std::string>;

// The arguments `-c x -c y ...`.
Args commands(const Args& lines);

Outcome runProgram(const Args& args, const std::string& input = {});
// Standard output goes to this file.
Outcome runProgramInto(const std::string& file, const Args& args);
// Standard output is a pipe that nobody reads any more.
Outcome runProgramIntoClosedPipe(const Args& args);

std::vector<nlohmann::json> jsonLines(const std::string& text);
// What these commands answer in JSON, all of which must be done.
std::vector<nlohmann::json> jsonAnswers(const Args& lines);

// A home that nobody can make, not even root, who could make any folder that is only missing.
inline constexpr const char* kNoHome = "/dev/null/home";

// A program that is talked to while it runs.
class RunningProgram {
 public:
  enum class On { kPipes, kTerminal };

  // What the terminal is like, and what reads long answers there.
  struct Terminal {
    unsigned short columns = 200;
    std::string pager = {};
    std::string locale = "C";
  };

  RunningProgram(On on, const Args& args, const std::string& home = kNoHome) : RunningProgram(on, args, home, {}) {}
  RunningProgram(On on, const Args& args, const std::string& home, const Terminal& terminal);
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  void type(const std::string& text);
  void closeInput();
  void interrupt();
  bool waitUntilStopped();
  void goOn();
  // Reads until the output that was not yet consumed holds text, and consumes it. False at the end.
  bool waitFor(const std::string& text);
  // Whether text has been written by now, or within a moment.
  bool hasWritten(const std::string& text);
  // Reads everything to the end, and waits.
  Outcome finish();

 private:
  friend Outcome runProgram(const Args& args, const std::string& input);

  bool pump(int milliseconds);

  pid_t process_ = -1;
  int input_ = -1;
  int output_ = -1;
  int errors_ = -1;
  std::string pendingInput_;
  bool closing_ = false;
  size_t consumed_ = 0;
  Outcome outcome_;
};

}  // namespace fibdb::program

#endif
