// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/run_program.cc: see run_program.h.
#include "tests/tools/run_program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <system_error>

namespace fibdb::program {
namespace {

// Milliseconds without a byte, after which the program counts as hanging: before the test does.
constexpr int kPatience = FIBDB_TEST_TIMEOUT * 1000 / 2;

constexpr int kMoment = 20;  // milliseconds

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
    read = ends[0];
    write = ends[1];
  }
  int read;
  int write;
};

[[noreturn]] void execute(const Args& args, const std::string& home, const RunningProgram::Terminal& terminal = {}) {
  std::vector<char*> words{const_cast<char*>(FIBDB_PROGRAM_FILE)};
  for (const std::string& arg : args) words.push_back(const_cast<char*>(arg.c_str()));
  words.push_back(nullptr);
  setenv("LC_ALL", terminal.locale.c_str(), 1);
  setenv("HOME", home.c_str(), 1);
  setenv("XDG_STATE_HOME", home.c_str(), 1);
  setenv("TERM", "xterm", 1);
  setenv("NO_COLOR", "1", 1);
  setenv("PAGER", terminal.pager.c_str(), 1);
  std::signal(SIGPIPE, SIG_DFL);
  execv(FIBDB_PROGRAM_FILE, words.data());
  _exit(127);
}

// Appends what the descriptor has; closes it at its end. A terminal whose program is gone answers EIO.
void readInto(int& descriptor, std::string& text) {
  std::array<char, 65536> buffer;
  const ssize_t got = read(descriptor, buffer.data(), buffer.size());
  if (got > 0) {
    text.append(buffer.data(), static_cast<size_t>(got));
  } else if (got == 0 || errno != EINTR) {
    close(descriptor);
    descriptor = -1;
  }
}

int shellStatus(int status) { return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status); }

Outcome runOn(int standardOutput, const Args& args) {
  const pid_t process = fork();
  if (process == 0) {
    dup2(standardOutput, STDOUT_FILENO);
    execute(args, kNoHome);
  }
  close(standardOutput);
  int status = 0;
  waitpid(process, &status, 0);
  return {shellStatus(status), {}, {}};
}

// A process that could not be started fails the test here: signals sent to "process -1" would go to everybody.
pid_t started(pid_t process, const char* failure) {
  if (process < 0) throw std::system_error(errno, std::generic_category(), failure);
  return process;
}

}  // namespace

Args commands(const Args& lines) {
  Args args;
  for (const std::string& line : lines) {
    args.emplace_back("-c");
    args.push_back(line);
  }
  return args;
}

RunningProgram::RunningProgram(On on, const Args& args, const std::string& home, const Terminal& terminal) {
  std::signal(SIGPIPE, SIG_IGN);
  if (on == On::kTerminal) {
    const winsize size{50, terminal.columns, 0, 0};
    process_ = started(forkpty(&input_, nullptr, nullptr, &size), "no terminal for the program");
    if (process_ == 0) execute(args, home, terminal);
    output_ = fcntl(input_, F_DUPFD_CLOEXEC, 0);
    return;
  }
  const Pipe in, out, err;
  process_ = started(fork(), "no process for the program");
  if (process_ == 0) {
    dup2(in.read, STDIN_FILENO);
    dup2(out.write, STDOUT_FILENO);
    dup2(err.write, STDERR_FILENO);
    execute(args, home);
  }
  for (const int end : {in.read, out.write, err.write}) close(end);
  input_ = in.write;
  output_ = out.read;
  errors_ = err.read;
  fcntl(input_, F_SETFL, O_NONBLOCK);
}

RunningProgram::~RunningProgram() {
  for (const int descriptor : {input_, output_, errors_}) {
    if (descriptor >= 0) close(descriptor);
  }
  if (process_ <= 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

// Moves bytes both ways once something happens. False when both outputs have ended, or time is up.
bool RunningProgram::pump(int milliseconds) {
  std::array<pollfd, 3> polled{pollfd{output_, POLLIN, 0}, pollfd{errors_, POLLIN, 0},
                               pollfd{pendingInput_.empty() ? -1 : input_, POLLOUT, 0}};
  if (output_ < 0 && errors_ < 0) return false;
  if (poll(polled.data(), polled.size(), milliseconds) <= 0) return false;
  if (polled[0].revents != 0) readInto(output_, outcome_.out);
  if (polled[1].revents != 0) readInto(errors_, outcome_.err);
  if (polled[2].revents != 0) {
    const ssize_t written = write(input_, pendingInput_.data(), pendingInput_.size());
    const bool gone = written < 0 && errno != EAGAIN;
    pendingInput_.erase(0, gone ? pendingInput_.size() : static_cast<size_t>(std::max<ssize_t>(written, 0)));
  }
  if (closing_ && pendingInput_.empty() && input_ >= 0) {
    close(input_);
    input_ = -1;
  }
  return true;
}

void RunningProgram::type(const std::string& text) {
  pendingInput_ += text;
  while (!pendingInput_.empty() && pump(kPatience)) {
  }
}

void RunningProgram::closeInput() {
  closing_ = true;
  if (!pendingInput_.empty() || input_ < 0) return;
  close(input_);
  input_ = -1;
}

bool RunningProgram::waitUntilStopped() {
  int status = 0;
  return waitpid(process_, &status, WUNTRACED) == process_ && WIFSTOPPED(status);
}

void RunningProgram::goOn() { kill(process_, SIGCONT); }

void RunningProgram::interrupt() { kill(process_, SIGINT); }

bool RunningProgram::waitFor(const std::string& text) {
  for (;;) {
    const size_t at = outcome_.out.find(text, consumed_);
    if (at != std::string::npos) {
      consumed_ = at + text.size();
      return true;
    }
    if (!pump(kPatience)) return false;
  }
}

bool RunningProgram::hasWritten(const std::string& text) {
  pump(kMoment);
  return outcome_.out.find(text) != std::string::npos;
}

Outcome RunningProgram::finish() {
  while (pump(kPatience)) {
  }
  if (output_ >= 0 || errors_ >= 0) {
    ADD_FAILURE() << "the program hangs; it wrote: " << outcome_.out << outcome_.err;
    kill(process_, SIGKILL);
  }
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = -1;
  outcome_.status = shellStatus(status);
  return outcome_;
}

Outcome runProgram(const Args& args, const std::string& input) {
  RunningProgram program(RunningProgram::On::kPipes, args);
  program.pendingInput_ = input;
  program.closeInput();
  return program.finish();
}

Outcome runProgramInto(const std::string& file, const Args& args) {
  return runOn(open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), args);
}

Outcome runProgramIntoClosedPipe(const Args& args) {
  const Pipe out;
  close(out.read);
  return runOn(out.write, args);
}

std::vector<nlohmann::json> jsonLines(const std::string& text) {
  std::vector<nlohmann::json> objects;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) objects.push_back(nlohmann::json::parse(line));
  return objects;
}

std::vector<nlohmann::json> jsonAnswers(const Args& lines) {
  Args args = commands(lines);
  args.emplace_back("--json");
  const Outcome outcome = runProgram(args);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  return jsonLines(outcome.out);
}

}  // namespace fibdb::program
