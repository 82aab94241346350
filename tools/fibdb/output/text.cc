// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/text.cc: see text.h.
#include "tools/fibdb/output/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace fibdb::program {
namespace {

std::string fixed(double number, int decimals, const char* unit) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f%s", decimals, number, unit);
  return text;
}

std::string textOfNumber(uint64_t number, Format format) {
  switch (format) {
    case Format::kCount:
    case Format::kAlarm:
      return formatCount(number);
    case Format::kBytes:
      return formatBytes(number);
    case Format::kRate:
      return formatCount(number) + "/s";
    default:
      return std::to_string(number);
  }
}

std::string textOfReal(double number, Format format, bool unicode, size_t barWidth) {
  switch (format) {
    case Format::kSeconds:
      return fixed(number, 3, " s");
    case Format::kPercent:
      return fixed(number, 1, " %");
    case Format::kBar:
      return drawBar(number, barWidth, unicode);
    default:
      return fixed(number, 1, "");
  }
}

bool continuesByte(char c) { return (c & 0xc0) == 0x80; }

// How many bytes of text fill at most width columns.
size_t bytesWithin(std::string_view text, size_t width) {
  size_t bytes = 0;
  while (bytes < text.size() && (continuesByte(text[bytes]) || width > 0)) {
    if (!continuesByte(text[bytes])) --width;
    ++bytes;
  }
  return bytes;
}

// How much of text goes on a line of that width: up to a blank if there is one, else as much as fits.
size_t pieceWithin(std::string_view text, size_t width) {
  const size_t fits = bytesWithin(text, std::max<size_t>(width, 1));
  if (fits == text.size()) return fits;
  const size_t blank = text.rfind(' ', fits);
  return blank == std::string_view::npos || blank == 0 ? fits : blank;
}

std::string_view takeLine(std::string_view& text) {
  const size_t end = std::min(text.find('\n'), text.size());
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

size_t indentOf(std::string_view line) { return std::min(line.find_first_not_of(' '), line.size()); }

bool anyLineBeyond(std::string_view text, size_t width) {
  while (!text.empty()) {
    if (displayWidth(takeLine(text)) > width) return true;
  }
  return false;
}

// Whether a sentence that is broken in the source of the text goes on in the next line.
bool goesOn(std::string_view line, std::string_view rest) {
  const bool ended = line.empty() || line.back() == '.' || line.back() == ':' || line.back() == '?';
  return !ended && !rest.empty() && rest.front() == ' ' && indentOf(line) == indentOf(rest);
}

}  // namespace

std::string formatCount(uint64_t number) {
  std::string text = std::to_string(number);
  for (size_t i = text.size(); i > 3; i -= 3) text.insert(i - 3, 1, ',');
  return text;
}

std::string counted(uint64_t number, const std::string& one) {
  return formatCount(number) + ' ' + one + (number == 1 ? "" : "s");
}

std::string formatBytes(uint64_t bytes) {
  constexpr std::array kUnits{" B", " KiB", " MiB", " GiB", " TiB"};
  if (bytes < 1024) return std::to_string(bytes) + kUnits[0];
  auto size = static_cast<double>(bytes);
  size_t unit = 0;
  while (size >= 1024 && unit + 1 < kUnits.size()) {
    size /= 1024;
    ++unit;
  }
  return fixed(size, 1, kUnits[unit]);
}

std::string drawBar(double share, size_t width, bool unicode) {
  constexpr std::array kEighths{"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  if (!(share > 0)) return "";
  const double length = std::min(share, 1.0) * static_cast<double>(width);
  if (!unicode) return std::string(static_cast<size_t>(std::max(1.0, std::round(length))), '#');
  const auto eighths = static_cast<size_t>(std::max(1.0, std::round(length * 8)));
  std::string bar;
  for (size_t i = 0; i < eighths / 8; ++i) bar += "█";
  return bar + kEighths[eighths % 8];
}

std::string textOf(const Value& value, Format format, bool unicode, size_t barWidth) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<uint64_t>(&value)) return textOfNumber(*number, format);
  if (const auto* real = std::get_if<double>(&value)) return textOfReal(*real, format, unicode, barWidth);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "yes" : "no";
  return "-";
}

bool isNumber(const Value& value) {
  return std::holds_alternative<uint64_t>(value) || std::holds_alternative<double>(value);
}

bool isZero(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    return text->empty() || *text == "0" || *text == "::" || *text == "0.0.0.0";
  }
  if (const auto* number = std::get_if<uint64_t>(&value)) return *number == 0;
  if (const auto* real = std::get_if<double>(&value)) return *real == 0;
  return std::holds_alternative<std::monostate>(value);
}

size_t displayWidth(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return !continuesByte(c); }));
}

std::string firstColumns(std::string_view text, size_t width) {
  return std::string(text.substr(0, bytesWithin(text, width)));
}

std::string wrapped(const std::string& text, size_t width, size_t hanging) {
  if (width == 0 || !anyLineBeyond(text, width)) return text;
  std::string result;
  for (std::string_view rest = text; !rest.empty();) {
    std::string line(takeLine(rest));
    const size_t indent = indentOf(line);
    while (goesOn(line, rest)) line += ' ' + std::string(takeLine(rest).substr(indent));
    const std::string beginning(indent, ' ');
    const std::string behind(std::min(indent + hanging, width / 2), ' ');
    if (!result.empty()) result += '\n';
    result += wrappedBehind(beginning, behind, std::string_view(line).substr(indent), width);
  }
  return text.ends_with('\n') ? result + '\n' : result;
}

std::string wrappedBehind(const std::string& beginning, const std::string& rest, std::string_view text, size_t width) {
  if (width == 0) return beginning + std::string(text);
  std::string result = beginning;
  size_t taken = displayWidth(beginning);
  for (;;) {
    const size_t piece = pieceWithin(text, width > taken ? width - taken : 1);
    result += text.substr(0, piece);
    text.remove_prefix(piece);
    text.remove_prefix(indentOf(text));
    if (text.empty()) return result;
    result += '\n' + rest;
    taken = displayWidth(rest);
  }
}

}  // namespace fibdb::program
