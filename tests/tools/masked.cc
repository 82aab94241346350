// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/masked.cc: see masked.h.
#include "tests/tools/masked.h"

#include <algorithm>
#include <array>
#include <regex>
#include <sstream>

namespace fibdb::program {
namespace {

constexpr std::array kMeasures{"bench", "explain", "show engine", "show metrics", "tour"};

std::string replaced(const std::string& text, const char* pattern, const char* by) {
  return std::regex_replace(text, std::regex(pattern), by);
}

}  // namespace

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string masked(std::string text) {
  text = replaced(text, "\r", "");
  text = replaced(text, "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]+Z", "TIME");
  text = replaced(text, "\\b1[0-9]{15}\\b", "STAMP");
  text = replaced(text, "(source.pid\"?[ :,]+)[0-9]+", "$1PID");
  text = replaced(text, "[0-9]+\\.[0-9]{3} s \\([0-9,]+/s\\)", "SECONDS (RATE)");
  text = replaced(text, "time [0-9]+\\.[0-9]{3} s", "time SECONDS");
  text = replaced(text, "(\"routes_per_second\": ?)[0-9]+", "$1RATE");
  return replaced(text, "([Ss]econds?\": ?)[0-9.e-]+", "$1SECONDS");
}

std::string maskedFor(const std::string& command, const std::string& text) {
  const bool measures =
      std::any_of(kMeasures.begin(), kMeasures.end(), [&](const char* verb) { return command.starts_with(verb); });
  if (!measures) return masked(text);
  const std::string shape = replaced(masked(text), "[0-9][0-9.,]*( [KMGT]?i?B\\b|/s| s\\b)?", "N");
  return replaced(shape, "  +", " ");
}

}  // namespace fibdb::program
