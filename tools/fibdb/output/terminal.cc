// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/terminal.cc: see terminal.h.
#include "tools/fibdb/output/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace fibdb::program {
namespace {

winsize sizeOf(int descriptor) {
  winsize size{};
  return ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size : winsize{};
}

}  // namespace

size_t terminalWidth(int descriptor) { return sizeOf(descriptor).ws_col; }
size_t terminalHeight(int descriptor) { return sizeOf(descriptor).ws_row; }

size_t answerWidth() { return terminalWidth(STDOUT_FILENO); }
size_t errorWidth() { return terminalWidth(STDERR_FILENO); }

}  // namespace fibdb::program
