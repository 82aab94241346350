// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/output.cc: see output.h.
#include "tools/fibdb/output/output.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

#include "tools/fibdb/base/words.h"

namespace fibdb::program {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kRowsPerBlock = 512;
constexpr size_t kBarWidth = 40;
constexpr const char* kBold = "\033[1m";
constexpr const char* kRed = "\033[1;31m";
constexpr const char* kCyan = "\033[36m";
constexpr const char* kNormal = "\033[0m";

// What stands before a line of a tree, and before the lines below it.
struct TreeMarks {
  const char* branch;
  const char* lastBranch;
  const char* belowBranch;
  const char* belowLastBranch;
};
constexpr TreeMarks kBoxMarks{"├── ", "└── ", "│   ", "    "};
constexpr TreeMarks kPlainMarks{"|-- ", "`-- ", "|   ", "    "};

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

std::string textOfReal(double number, Format format, bool unicode) {
  switch (format) {
    case Format::kSeconds:
      return fixed(number, 3, " s");
    case Format::kPercent:
      return fixed(number, 1, " %");
    case Format::kBar:
      return drawBar(number, kBarWidth, unicode);
    default:
      return fixed(number, 1, "");
  }
}

std::string textOf(const Value& value, Format format, bool unicode) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<uint64_t>(&value)) return textOfNumber(*number, format);
  if (const auto* real = std::get_if<double>(&value)) return textOfReal(*real, format, unicode);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "yes" : "no";
  return "-";
}

// Columns on the terminal: code points, for nothing here is wider than one.
size_t displayWidth(const std::string& text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

bool isNumber(const Value& value) {
  return std::holds_alternative<uint64_t>(value) || std::holds_alternative<double>(value);
}

class TextOutput final : public Output {
 public:
  TextOutput(std::ostream& answers, std::ostream& errors, TextStyle style)
      : answers_(answers), errors_(errors), style_(style) {}

  void beginList(ListHead head) override {
    head_ = std::move(head);
    block_.clear();
    widths_.clear();
    if (head_.titled) answers_ << painted(kBold, spaced(head_.name)) << '\n';
  }

  void row(std::vector<Value> values) override {
    block_.push_back(std::move(values));
    if (block_.size() == kRowsPerBlock) writeBlock();
  }

  void endList() override {
    if (!block_.empty()) writeBlock();
    if (widths_.empty()) answers_ << "no " << spaced(head_.name) << '\n';
    if (head_.titled) answers_ << '\n';
  }

  void record(const std::string& title, const std::vector<Fact>& facts) override {
    size_t width = 0;
    for (const Fact& fact : facts) width = std::max(width, fact.name.size());
    answers_ << painted(kBold, title) << '\n';
    for (const Fact& fact : facts) {
      const std::string gap(width + 2 - fact.name.size(), ' ');
      answers_ << "  " << spaced(fact.name) << gap << shown(fact.value, fact.format) << '\n';
    }
  }

  void tree(const std::string& title, const Tree& root) override {
    record(title, root.facts);
    answers_ << root.line << '\n';
    drawBelow(root, "");
  }

  void result(const std::string& sentence, const std::vector<Fact>&) override { answers_ << sentence << '\n'; }

  void complain(const Complaint& complaint) override {
    flush();
    if (complaint.place.file.empty()) {
      errors_ << "fibdb: ";
    } else {
      errors_ << complaint.place.file << ':';
      if (complaint.place.line != 0) errors_ << complaint.place.line << ':';
      errors_ << ' ';
    }
    if (!complaint.text.empty()) errors_ << inQuotes(complaint.text) << ": ";
    errors_ << complaint.message << '\n';
    if (!complaint.advice.empty()) errors_ << complaint.advice << '\n';
    errors_.flush();
  }

  void log(const std::string& line) override {
    flush();
    errors_ << "fibdb: " << line << std::endl;
  }

  bool flush() override { return static_cast<bool>(answers_.flush()); }

 private:
  std::string painted(const char* color, const std::string& text) const {
    return style_.color && !text.empty() ? color + text + kNormal : text;
  }

  std::string shown(const Value& value, Format format) const {
    std::string text = textOf(value, format, style_.unicode);
    const uint64_t* number = std::get_if<uint64_t>(&value);
    if (format == Format::kAlarm && number != nullptr && *number != 0) return painted(kRed, text);
    return format == Format::kBar ? painted(kCyan, text) : text;
  }

  void drawBelow(const Tree& tree, const std::string& margin) {
    const TreeMarks& marks = style_.unicode ? kBoxMarks : kPlainMarks;
    for (const Tree& child : tree.children) {
      const bool last = &child == &tree.children.back();
      answers_ << margin << (last ? marks.lastBranch : marks.branch) << child.line << '\n';
      drawBelow(child, margin + (last ? marks.belowLastBranch : marks.belowBranch));
    }
  }

  void writeBlock() {
    const bool first = widths_.empty();
    if (first) measureHeadings();
    for (const auto& values : block_) {
      for (size_t i = 0; i < values.size(); ++i) {
        const std::string text = textOf(values[i], head_.columns[i].format, style_.unicode);
        widths_[i] = std::max(widths_[i], displayWidth(text));
      }
    }
    if (first) writeHeadings();
    for (const auto& values : block_) writeRow(values);
    block_.clear();
  }

  // A column of numbers stands to the right: by its format, or by its first value that is there.
  void measureHeadings() {
    widths_.resize(head_.columns.size());
    right_.assign(head_.columns.size(), false);
    for (size_t i = 0; i < widths_.size(); ++i) {
      const Column& column = head_.columns[i];
      widths_[i] = std::max(column.name.size(), column.leastWidth);
      const auto there = std::find_if(block_.begin(), block_.end(), [i](const auto& values) {
        return !std::holds_alternative<std::monostate>(values[i]);
      });
      const bool number = there == block_.end() ? column.format != Format::kPlain : isNumber((*there)[i]);
      right_[i] = number && column.format != Format::kBar;
    }
  }

  void writeHeadings() {
    std::string line;
    for (size_t i = 0; i < widths_.size(); ++i) {
      const Column& column = head_.columns[i];
      const std::string heading = column.format == Format::kBar ? "" : spaced(column.name);
      appendCell(line, i, painted(kBold, heading), heading.size());
    }
    writeLine(line);
  }

  void writeRow(const std::vector<Value>& values) {
    std::string line;
    for (size_t i = 0; i < values.size(); ++i) {
      const Format format = head_.columns[i].format;
      const size_t width = displayWidth(textOf(values[i], format, style_.unicode));
      appendCell(line, i, shown(values[i], format), width);
    }
    writeLine(line);
  }

  // text may hold colours; width is what the terminal shows of it.
  void appendCell(std::string& line, size_t i, const std::string& text, size_t width) const {
    const std::string gap(widths_[i] - width, ' ');
    if (i > 0) line += "  ";
    line += right_[i] ? gap + text : text + gap;
  }

  void writeLine(std::string& line) {
    line.erase(line.find_last_not_of(' ') + 1);
    answers_ << line << '\n';
  }

  std::ostream& answers_;
  std::ostream& errors_;
  TextStyle style_;
  ListHead head_;
  std::vector<std::vector<Value>> block_;
  std::vector<size_t> widths_;  // empty until the list has shown its headings
  std::vector<bool> right_;
};

// Six decimals are beyond what is measured here.
double rounded(double number) { return std::round(number * 1e6) / 1e6; }

Json jsonOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<uint64_t>(&value)) return *number;
  if (const auto* real = std::get_if<double>(&value)) return rounded(*real);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  return nullptr;
}

class JsonOutput final : public Output {
 public:
  JsonOutput(std::ostream& answers, std::ostream& errors) : answers_(answers), errors_(errors) {}

  void beginList(ListHead head) override { head_ = std::move(head); }

  void row(std::vector<Value> values) override {
    Json object = Json::object();
    if (head_.titled) object["list"] = head_.name;
    for (size_t i = 0; i < values.size(); ++i) {
      const Column& column = head_.columns[i];
      if (column.format != Format::kBar) object[column.name] = jsonOf(values[i]);
    }
    write(answers_, object);
  }

  void endList() override {}

  void record(const std::string&, const std::vector<Fact>& facts) override { write(answers_, objectOf(facts)); }
  void tree(const std::string&, const Tree& root) override { write(answers_, objectOf(root)); }
  void result(const std::string&, const std::vector<Fact>& facts) override { write(answers_, objectOf(facts)); }

  void complain(const Complaint& complaint) override {
    Json object{{"error", complaint.message}};
    if (!complaint.text.empty()) object["text"] = complaint.text;
    if (!complaint.place.file.empty()) object["file"] = complaint.place.file;
    if (complaint.place.line != 0) object["line"] = complaint.place.line;
    if (!complaint.advice.empty()) object["advice"] = complaint.advice;
    report(object);
  }

  void log(const std::string& line) override { report(Json{{"log", line}}); }

  bool flush() override { return static_cast<bool>(answers_.flush()); }

 private:
  static Json objectOf(const std::vector<Fact>& facts) {
    Json object = Json::object();
    for (const Fact& fact : facts) object[fact.name] = jsonOf(fact.value);
    return object;
  }

  static Json objectOf(const Tree& tree) {
    Json object = objectOf(tree.facts);
    if (tree.below.empty()) return object;
    Json& children = object[tree.below] = Json::array();
    for (const Tree& child : tree.children) children.push_back(objectOf(child));
    return object;
  }

  // File names and file contents may be no UTF-8; such bytes are replaced rather than refused.
  static void write(std::ostream& stream, const Json& object) {
    stream << object.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
  }

  void report(const Json& object) {
    flush();
    write(errors_, object);
    errors_.flush();
  }

  std::ostream& answers_;
  std::ostream& errors_;
  ListHead head_;
};

}  // namespace

std::unique_ptr<Output> makeTextOutput(std::ostream& answers, std::ostream& errors, TextStyle style) {
  return std::make_unique<TextOutput>(answers, errors, style);
}

std::unique_ptr<Output> makeJsonOutput(std::ostream& answers, std::ostream& errors) {
  return std::make_unique<JsonOutput>(answers, errors);
}

std::string formatCount(uint64_t number) {
  std::string text = std::to_string(number);
  for (size_t i = text.size(); i > 3; i -= 3) text.insert(i - 3, 1, ',');
  return text;
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

}  // namespace fibdb::program
