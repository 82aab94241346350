// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/text.h: values as people read them, and text that fits a width.
#ifndef FIBDB_TOOLS_TEXT_H
#define FIBDB_TOOLS_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/fibdb/output/answer.h"

namespace fibdb::program {

inline constexpr size_t kBarWidth = 40;

std::string formatCount(uint64_t number);
// With what is counted, one of it: "1 route", "2,000 routes".
std::string counted(uint64_t number, const std::string& one);
std::string formatBytes(uint64_t bytes);
// A horizontal bar of at most width characters; a share above 0 always shows something.
std::string drawBar(double share, size_t width, bool unicode);

std::string textOf(const Value& value, Format format, bool unicode, size_t barWidth = kBarWidth);
bool isNumber(const Value& value);
// Whether it says no more than 0 does: nothing, no text, the address of all zeros.
bool isZero(const Value& value);

// Columns on the terminal: code points, for nothing here is wider than one.
size_t displayWidth(std::string_view text);
// What of the text fills at most that many.
std::string firstColumns(std::string_view text, size_t width);

// Text of any number of lines broken at blanks so that none is wider than width, as far as its words allow. What goes
// on stands as far to the right as its line began, and hanging more. A line that does not end a sentence goes on with
// the next one, where anything had to be broken at all. width 0: as it is.
std::string wrapped(const std::string& text, size_t width, size_t hanging = 0);

// The text behind a beginning that is not broken, such as a margin or a name; what goes on stands behind rest. A word
// that is too long is cut.
std::string wrappedBehind(const std::string& beginning, const std::string& rest, std::string_view text, size_t width);

}  // namespace fibdb::program

#endif
