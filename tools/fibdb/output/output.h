// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/output.h: answers as data, rendered as text for people or as JSON for programs.
//
// DESCRIPTION: a command produces lists, records, trees and results once; the two renderers differ, the commands do
// not. Text: aligned columns, numbers to the right with thousands separators, bars. JSON: one object a line.
// Errors go to the error stream as "FILE:LINE: message" or {"error": ...}; the answer is flushed first, so
// that both read in order on one terminal. COST: lists are rendered in blocks of rows, so a list of any
// length needs constant memory; a column may grow wider from one block to the next, never inside one.
// THREADS: one thread at a time.
#ifndef FIBDB_TOOLS_OUTPUT_H
#define FIBDB_TOOLS_OUTPUT_H

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace fibdb::program {

// Nothing prints as "-" and as null.
using Value = std::variant<std::monostate, bool, uint64_t, double, std::string>;

// How text shows a number; JSON always has the number itself.
enum class Format {
  kPlain,    // digits: an identifier
  kCount,    // 1,234,567
  kAlarm,    // a count that should be zero: highlighted when it is not
  kBytes,    // 12.3 MiB
  kRate,     // 1,234,567/s
  kSeconds,  // 0.123 s
  kPercent,  // 99.3 %
  kBar,      // a share between 0 and 1, drawn; no part of JSON
};

struct Column {
  std::string name;  // the JSON key; text shows _ as a blank
  Format format = Format::kPlain;
  size_t leastWidth = 0;
};

struct Fact {
  std::string name;
  Value value;
  Format format = Format::kPlain;
};

// titled: the answer has several lists; text prints the name above, JSON puts it into every row as "list".
struct ListHead {
  std::string name;
  std::vector<Column> columns;
  bool titled = false;
};

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
};

// A thing and what hangs below it: text draws its line, JSON has its facts.
struct Tree {
  std::string line;
  std::vector<Fact> facts;
  // What the children are: in JSON the name of their array, which is there when they are not. Without it: a leaf.
  std::string below = {};
  std::vector<Tree> children = {};
};

class Output {
 public:
  Output() = default;
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  virtual ~Output() = default;

  virtual void beginList(ListHead head) = 0;
  virtual void row(std::vector<Value> values) = 0;  // REQUIRES: as many as there are columns
  virtual void endList() = 0;

  // One thing with its properties.
  virtual void record(const std::string& title, const std::vector<Fact>& facts) = 0;
  // One thing with its properties, and what hangs below it: facts above a drawn tree, or one nested object.
  virtual void tree(const std::string& title, const Tree& root) = 0;
  // What was done: a sentence for people, the facts for programs.
  virtual void result(const std::string& sentence, const std::vector<Fact>& facts) = 0;

  virtual void complain(const Complaint& complaint) = 0;
  // A line from inside the library.
  virtual void log(const std::string& line) = 0;
  // False when the answer could not be written.
  virtual bool flush() = 0;
};

struct TextStyle {
  bool color = false;
  bool unicode = false;
};

std::unique_ptr<Output> makeTextOutput(std::ostream& answers, std::ostream& errors, TextStyle style);
std::unique_ptr<Output> makeJsonOutput(std::ostream& answers, std::ostream& errors);

std::string formatCount(uint64_t number);
std::string formatBytes(uint64_t bytes);
// A horizontal bar of at most width characters; a share above 0 always shows something.
std::string drawBar(double share, size_t width, bool unicode);

}  // namespace fibdb::program

#endif
