// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/masked.cc: see masked.h.
#include "tests/tools/masked.h"

#include <algorithm>
#include <array>
#include <regex>
#include <set>
#include <span>
#include <sstream>

namespace fibdb::program {
namespace {

constexpr std::array kMeasures{"bench", "explain", "show engine", "show metrics", "tour", "trace"};
// Where figures decide how wide a table is, and where a sentence breaks.
constexpr std::array kReflowed{"bench", "load routes", "tour"};

bool isAmong(std::span<const char* const> verbs, const std::string& command) {
  return std::any_of(verbs.begin(), verbs.end(), [&](const char* verb) { return command.starts_with(verb); });
}

// The words, each once.
std::string wordsOf(const std::string& text) {
  std::set<std::string> words;
  std::istringstream stream(text);
  for (std::string word; stream >> word;) words.insert(word);
  std::string all;
  for (const std::string& word : words) all += word + '\n';
  return all;
}

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
  text = replaced(text, "[0-9]+\\.[0-9]{3} s\\s+\\([0-9,]+/s\\)", "SECONDS (RATE)");
  text = replaced(text, "time [0-9]+\\.[0-9]{3} s", "time SECONDS");
  text = replaced(text, "(\"routes_per_second\": ?)[0-9]+", "$1RATE");
  return replaced(text, "([Ss]econds?\": ?)[0-9.e-]+", "$1SECONDS");
}

std::string maskedFor(const std::string& command, const std::string& text) {
  const bool reflowed = isAmong(kReflowed, command);
  if (!isAmong(kMeasures, command)) return reflowed ? wordsOf(masked(text)) : masked(text);
  std::string shape = replaced(masked(text), "[0-9][0-9.,]*( [KMGT]?i?B\\b|/s| s\\b)?", "N");
  shape = replaced(shape, "  +", " ");
  return reflowed ? wordsOf(shape) : shape;
}

}  // namespace fibdb::program
