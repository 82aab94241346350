// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/answer.h: answers as data: values, lists, facts, trees and complaints.
#ifndef FIBDB_TOOLS_ANSWER_H
#define FIBDB_TOOLS_ANSWER_H

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace fibdb::program {

// Nothing prints as "-" and as null.
using Value = std::variant<std::monostate, bool, uint64_t, double, std::string>;

// How text shows a number; the forms for programs always have the number itself.
enum class Format {
  kPlain,    // digits: an identifier
  kCount,    // 1,234,567
  kAlarm,    // a count that should be zero: highlighted when it is not
  kBytes,    // 12.3 MiB
  kRate,     // 1,234,567/s
  kSeconds,  // 0.123 s
  kPercent,  // 99.3 %
  kBar,      // a share between 0 and 1, drawn; for people alone
};

struct Column {
  std::string name;  // the key in JSON; text shows _ as a blank
  Format format = Format::kPlain;
  size_t leastWidth = 0;
  bool keep = false;  // shown on a terminal even if all of it is zero; so is the first column
};

struct Fact {
  std::string name;
  Value value;
  Format format = Format::kPlain;
};

// titled: the answer has several lists; text prints the name above.
struct ListHead {
  std::string name;
  std::vector<Column> columns;
  bool titled = false;
};

using Row = std::vector<Value>;

// Where an error stands: a line of a script or of a routes file. Without a file: the command line or the prompt.
struct Place {
  std::string file;
  uint64_t line = 0;
};

inline const Place kNoPlace;

struct Complaint {
  std::string message;
  Place place = kNoPlace;
  std::string text = {};    // the offending input, unquoted
  std::string advice = {};  // a second line
  std::string file = {};    // that a command names, and which is at fault; the command stands at the place
};

// A thing and what hangs below it: text draws its line, JSON has its facts.
struct Tree {
  std::string line;
  std::vector<Fact> facts;
  // What the children are: in JSON the name of their array, which is there when they are not. Without it: a leaf.
  std::string below = {};
  std::vector<Tree> children = {};
};

}  // namespace fibdb::program

#endif
