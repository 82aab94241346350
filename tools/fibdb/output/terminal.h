// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/terminal.h: how large the terminal is.
#ifndef FIBDB_TOOLS_TERMINAL_H
#define FIBDB_TOOLS_TERMINAL_H

#include <cstddef>

namespace fibdb::program {

// Columns and rows of the terminal behind a descriptor, asked anew each time; 0: there is none, or it does not say.
size_t terminalWidth(int descriptor);
size_t terminalHeight(int descriptor);

// Of standard output and standard error.
size_t answerWidth();
size_t errorWidth();

// Without an end: a pipe or a file.
inline size_t anyWidth() { return 0; }

}  // namespace fibdb::program

#endif
