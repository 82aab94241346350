// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/pager.cc: see pager.h.
#include "tools/fibdb/output/pager.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string_view>

#include "tools/fibdb/base/interrupt.h"
#include "tools/fibdb/output/terminal.h"

namespace fibdb::program {
namespace {

constexpr size_t kBufferSize = 1 << 16;

bool isInstalled(std::string_view program) {
  if (program.find('/') != std::string_view::npos) return access(std::string(program).c_str(), X_OK) == 0;
  const char* path = std::getenv("PATH");
  for (std::string_view rest = path == nullptr ? "" : path; !rest.empty();) {
    const size_t end = std::min(rest.find(':'), rest.size());
    const std::string file = std::string(rest.substr(0, end)) + '/' + std::string(program);
    if (access(file.c_str(), X_OK) == 0) return true;
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return false;
}

std::string pagerCommand() {
  if (isatty(STDOUT_FILENO) != 1) return {};
  const char* chosen = std::getenv("PAGER");
  if (chosen == nullptr) return isInstalled("less") ? "less -FRX" : "";
  const std::string_view command(chosen);
  const std::string_view program = command.substr(0, command.find(' '));
  // A shell that does not find the program would swallow the answer. What more than names it the shell understands.
  const bool named = program.find_first_of("=$`'\"\\~(;&|<>") == std::string_view::npos;
  return command == "cat" || (named && !isInstalled(program)) ? "" : chosen;
}

}  // namespace

Pager::Pager() : command_(pagerCommand()), descriptor_(STDOUT_FILENO) {}

Pager::~Pager() { end(); }

void Pager::begin(bool read) {
  sync();
  holding_ = read && !command_.empty();
  left_ = false;
}

void Pager::end() {
  release();
  if (process_ < 0) return;
  close(descriptor_);
  descriptor_ = STDOUT_FILENO;
  while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  std::signal(SIGPIPE, SIG_DFL);
  left_ = left_ || interrupted();
}

Pager::int_type Pager::overflow(int_type character) {
  const char text = traits_type::to_char_type(character);
  return put(&text, 1) ? character : traits_type::eof();
}

std::streamsize Pager::xsputn(const char* text, std::streamsize size) {
  return put(text, static_cast<size_t>(size)) ? size : 0;
}

// Who flushes wants it seen now.
int Pager::sync() { return release() && !failed_ ? 0 : -1; }

bool Pager::put(const char* text, size_t size) {
  held_.append(text, size);
  if (holding_) {
    if (!fits()) start();
    return true;
  }
  if (held_.size() < kBufferSize) return true;
  return release();
}

// One line of the screen is the prompt's.
bool Pager::fits() const {
  const auto lines = static_cast<size_t>(std::count(held_.begin(), held_.end(), '\n'));
  return lines < std::max<size_t>(terminalHeight(STDOUT_FILENO), 2);
}

bool Pager::release() {
  holding_ = false;
  const std::string text = std::move(held_);
  held_.clear();
  return writeOut(text.data(), text.size());
}

bool Pager::writeOut(const char* text, size_t size) {
  while (size > 0 && !left_) {
    const ssize_t written = write(descriptor_, text, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && process_ < 0) {
      failed_ = true;
      return false;
    }
    if (written < 0) {
      left_ = true;
      requestInterrupt();  // the command need not go on
      return true;
    }
    text += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

void Pager::start() {
  std::array<int, 2> ends{};
  holding_ = false;
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return;
  process_ = fork();
  if (process_ == 0) {
    dup2(ends[0], STDIN_FILENO);
    execl("/bin/sh", "sh", "-c", command_.c_str(), nullptr);
    _exit(127);
  }
  close(ends[0]);
  if (process_ < 0) {
    close(ends[1]);
    return;
  }
  // The pager's end must not be ours.
  std::signal(SIGPIPE, SIG_IGN);
  descriptor_ = ends[1];
}

}  // namespace fibdb::program
