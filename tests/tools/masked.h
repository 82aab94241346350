// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/masked.h: answers without what differs from run to run, so that they can be compared with kept ones.
#ifndef FIBDB_TESTS_TOOLS_MASKED_H
#define FIBDB_TESTS_TOOLS_MASKED_H

#include <string>
#include <vector>

namespace fibdb::program {

std::vector<std::string> linesOf(const std::string& text);

// A terminal ends its lines with two characters. Times, rates and the process are masked.
std::string masked(std::string text);

// The same for the answer to this command: what is measured, and memory, keeps its shape without its numbers; where
// these decide the shape, too, the words are left, each once.
std::string maskedFor(const std::string& command, const std::string& text);

}  // namespace fibdb::program

#endif
