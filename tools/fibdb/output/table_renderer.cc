// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/table_renderer.cc: answers for people: aligned columns, or a line for each value.
#include <algorithm>
#include <utility>

#include "tools/fibdb/base/words.h"
#include "tools/fibdb/output/renderer.h"
#include "tools/fibdb/output/text.h"

namespace fibdb::program {
namespace {

constexpr size_t kRowsPerBlock = 512;
constexpr size_t kGap = 2;               // between columns
constexpr size_t kLeastBar = 8;          // narrower ones say nothing
constexpr size_t kLeastLastColumn = 24;  // narrower ones are no text any more
constexpr size_t kHanging = 4;
constexpr const char* kBold = "\033[1m";
constexpr const char* kRed = "\033[1;31m";
constexpr const char* kCyan = "\033[36m";
constexpr const char* kFaint = "\033[2m";
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

bool isCounted(Format format) {
  return format == Format::kCount || format == Format::kAlarm || format == Format::kBytes || format == Format::kRate;
}

// A row that counts things, none of which there are.
bool countsNothing(const std::vector<Column>& columns, const Row& row) {
  bool counts = false;
  for (size_t i = 0; i < row.size(); ++i) {
    if (!isCounted(columns[i].format)) continue;
    counts = true;
    if (!isZero(row[i])) return false;
  }
  return counts;
}

class TableRenderer final : public Renderer {
 public:
  TableRenderer(std::ostream& answers, const TextStyle& style, Form form)
      : Renderer(style), answers_(answers), form_(form) {}

  void beginList(const ListHead& head, bool all) override {
    divide();
    head_ = head;
    screen_ = style().width();
    leavesOut_ = screen_ != 0 && !all;
    vertical_ = form_ == Form::kVertical;
    values_.clear();
    stacked_ = false;
    shown_.clear();
    block_.clear();
    rows_ = 0;
    dropped_ = 0;
    if (head_.titled) answers_ << painted(kBold, spaced(head_.name)) << '\n';
  }

  void row(const Row& values) override {
    if (leavesOut_ && countsNothing(head_.columns, values)) {
      ++dropped_;
      return;
    }
    block_.push_back(values);
    if (block_.size() == kRowsPerBlock) writeBlock();
  }

  void endList() override {
    if (!block_.empty()) writeBlock();
    if (rows_ == 0) {
      const std::string zeros = (head_.titled ? "" : spaced(head_.name) + ": ") + "nothing but zeros";
      answers_ << (dropped_ == 0 ? "no " + spaced(head_.name) : zeros) << '\n';
    }
    dividing_ = head_.titled;
  }

  void record(const std::string& title, const std::vector<Fact>& facts) override {
    divide();
    const size_t screen = style().width();
    answers_ << painted(kBold, wrapped(title, screen, kHanging)) << '\n';
    size_t width = 0;
    for (const Fact& fact : facts) width = std::max(width, fact.name.size());
    for (const Fact& fact : facts) writeFact(fact, width, screen);
  }

  void tree(const std::string& title, const Tree& root) override {
    record(title, root.facts);
    screen_ = style().width();
    answers_ << wrapped(root.line, screen_, kHanging) << '\n';
    drawBelow(root, "");
  }

  void answer(const std::string& sentence, const std::vector<Fact>&) override {
    divide();
    answers_ << wrapped(sentence, style().width(), kHanging) << '\n';
  }

  void endCommand() override { dividing_ = false; }

 private:
  // Between a titled list and what follows it in the same answer.
  void divide() {
    if (std::exchange(dividing_, false)) answers_ << '\n';
  }

  std::string painted(const char* color, const std::string& text) const {
    return style().color && !text.empty() ? color + text + kNormal : text;
  }

  std::string shown(const Value& value, Format format) const {
    std::string text = textOf(value, format, style().unicode, barWidth_);
    const bool zero = isZero(value);
    if (format == Format::kAlarm && isNumber(value) && !zero) return painted(kRed, text);
    if (format == Format::kBar) return painted(kCyan, text);
    return text;
  }

  // In a list zeros stand back, so that the others stand out.
  std::string shownInRow(const Value& value, Format format) const {
    const bool back = isZero(value) && format != Format::kBar;
    return back ? painted(kFaint, textOf(value, format, style().unicode)) : shown(value, format);
  }

  void writeFact(const Fact& fact, size_t width, size_t screen) {
    const std::string name = "  " + spaced(fact.name) + std::string(width + kGap - fact.name.size(), ' ');
    const std::string text = textOf(fact.value, fact.format, style().unicode);
    if (screen == 0 || name.size() + displayWidth(text) <= screen) {
      answers_ << name << shown(fact.value, fact.format) << '\n';
    } else {
      answers_ << wrappedBehind(name, std::string(name.size(), ' '), text, screen) << '\n';
    }
  }

  void drawBelow(const Tree& tree, const std::string& margin) {
    const TreeMarks& marks = style().unicode ? kBoxMarks : kPlainMarks;
    for (const Tree& child : tree.children) {
      const bool last = &child == &tree.children.back();
      const std::string below = margin + (last ? marks.belowLastBranch : marks.belowBranch);
      const std::string behind = below + (child.children.empty() ? "    " : marks.belowBranch);
      answers_ << wrappedBehind(margin + (last ? marks.lastBranch : marks.branch), behind, child.line, screen_) << '\n';
      drawBelow(child, below);
    }
  }

  // Lists. -----------------------------------------------------------------------------------------------------------
  // Columns that a block has something in join those that are shown; then there are new headings.
  void writeBlock() {
    const bool news = chooseColumns();
    measure();
    if (!vertical_) fitColumns();
    if (!vertical_ && news) {
      if (rows_ > 0) answers_ << '\n';
      writeHeadings();
    }
    for (const Row& values : block_) {
      ++rows_;
      if (vertical_) {
        writeVertically(values);
      } else {
        writeRow(values);
      }
    }
    block_.clear();
  }

  bool chooseColumns() {
    const size_t count = head_.columns.size();
    const bool first = shown_.empty();
    if (first) shown_.assign(count, !leavesOut_);
    bool news = first;
    for (size_t i = 0; i < count; ++i) {
      if (shown_[i]) continue;
      const bool keep = i == 0 || head_.columns[i].keep;
      shown_[i] = keep || std::any_of(block_.begin(), block_.end(), [i](const Row& row) { return !isZero(row[i]); });
      news = news || shown_[i];
    }
    return news;
  }

  void measure() {
    if (values_.empty()) measureHeadings();
    for (const Row& values : block_) {
      for (size_t i = 0; i < values.size(); ++i) {
        if (head_.columns[i].format == Format::kBar) continue;
        values_[i] = std::max(values_[i], displayWidth(textOf(values[i], head_.columns[i].format, style().unicode)));
      }
    }
    stackHeadings(stacked_);
  }

  // The words of a heading below one another need less room.
  void stackHeadings(bool stacked) {
    stacked_ = stacked;
    widths_ = values_;
    for (size_t i = 0; i < widths_.size(); ++i) {
      const Column& column = head_.columns[i];
      if (column.format == Format::kBar) continue;
      for (const std::string& line : headingOf(column)) widths_[i] = std::max(widths_[i], line.size());
    }
  }

  Words headingOf(const Column& column) const {
    if (column.format == Format::kBar) return {""};
    const std::string heading = spaced(column.name);
    return stacked_ ? splitWords(heading) : Words{heading};
  }

  // A column of numbers stands to the right: by its format, or by its first value that is there.
  void measureHeadings() {
    values_.resize(head_.columns.size());
    right_.assign(head_.columns.size(), false);
    for (size_t i = 0; i < values_.size(); ++i) {
      const Column& column = head_.columns[i];
      const bool bar = column.format == Format::kBar;
      values_[i] = bar ? kBarWidth : column.leastWidth;
      const auto there = std::find_if(block_.begin(), block_.end(),
                                      [i](const Row& row) { return !std::holds_alternative<std::monostate>(row[i]); });
      const bool number = there == block_.end() ? column.format != Format::kPlain : isNumber((*there)[i]);
      right_[i] = number && !bar;
    }
  }

  size_t wholeWidth() const {
    size_t width = 0;
    for (size_t i = 0; i < widths_.size(); ++i) {
      if (shown_[i]) width += widths_[i] + (width == 0 ? 0 : kGap);
    }
    return width;
  }

  // What is too wide gives way: headings, bars, the words of the last column, and then the table.
  void fitColumns() {
    barWidth_ = kBarWidth;
    lastWidth_ = 0;
    if (screen_ == 0 || wholeWidth() <= screen_) return;
    stackHeadings(true);
    if (wholeWidth() <= screen_) return;
    const size_t last = head_.columns.size() - 1;
    const size_t others = wholeWidth() - widths_[last];
    const size_t left = others < screen_ ? screen_ - others : 0;
    if (head_.columns[last].format == Format::kBar) {
      barWidth_ = left;
      shown_[last] = left >= kLeastBar;
      vertical_ = !shown_[last] && others > screen_ + kGap;
    } else if (shown_[last] && !right_[last] && left >= kLeastLastColumn) {
      lastWidth_ = left;
    } else {
      vertical_ = true;
    }
  }

  void writeHeadings() {
    size_t lines = 1;
    for (size_t i = 0; i < widths_.size(); ++i) {
      if (shown_[i]) lines = std::max(lines, headingOf(head_.columns[i]).size());
    }
    for (size_t below = lines; below > 0; --below) writeHeadings(below - 1);
  }

  // The line of the headings with this many others below it.
  void writeHeadings(size_t below) {
    std::string line;
    for (size_t i = 0; i < widths_.size(); ++i) {
      const Words heading = headingOf(head_.columns[i]);
      const std::string word = below < heading.size() ? heading[heading.size() - 1 - below] : "";
      appendCell(line, i, painted(kBold, word), word.size());
    }
    writeLine(line);
  }

  void writeRow(const Row& values) {
    std::string line;
    const size_t last = values.size() - 1;
    for (size_t i = 0; i < values.size(); ++i) {
      const Format format = head_.columns[i].format;
      const std::string text = textOf(values[i], format, style().unicode, barWidth_);
      if (i == last && lastWidth_ != 0 && displayWidth(text) > lastWidth_) {
        const std::string margin(screen_ - lastWidth_, ' ');
        line.resize(line.size() + kGap, ' ');
        line += wrappedBehind(margin, margin, text, screen_).substr(margin.size());
        writeLine(line);
        return;
      }
      appendCell(line, i, shownInRow(values[i], format), displayWidth(text));
    }
    writeLine(line);
  }

  // text may hold colours; width is what the terminal shows of it.
  void appendCell(std::string& line, size_t i, const std::string& text, size_t width) const {
    if (!shown_[i]) return;
    const std::string gap(widths_[i] - std::min(width, widths_[i]), ' ');
    if (i > 0) line += std::string(kGap, ' ');
    line += right_[i] ? gap + text : text + gap;
  }

  void writeLine(std::string& line) {
    line.erase(line.find_last_not_of(' ') + 1);
    answers_ << line << '\n';
  }

  // Two columns explain themselves: the second stands below the first.
  void writeVertically(const Row& values) {
    if (values.size() == 2 && form_ == Form::kTable) {
      answers_ << shown(values[0], head_.columns[0].format) << '\n'
               << wrappedBehind("    ", "    ", textOf(values[1], head_.columns[1].format, style().unicode), screen_)
               << '\n';
      return;
    }
    if (rows_ > 1) answers_ << '\n';
    std::vector<Fact> facts;
    for (size_t i = 0; i < values.size(); ++i) {
      const Column& column = head_.columns[i];
      if (shown_[i] && column.format != Format::kBar) facts.push_back({column.name, values[i], column.format});
    }
    record(spaced(head_.name) + ' ' + formatCount(rows_), facts);
  }

  std::ostream& answers_;
  const Form form_;
  ListHead head_;
  size_t screen_ = 0;       // 0: no end
  bool leavesOut_ = false;  // zeros that say nothing
  bool vertical_ = false;
  size_t barWidth_ = kBarWidth;
  size_t lastWidth_ = 0;  // of the last column, when its text goes on in further lines
  std::vector<Row> block_;
  std::vector<size_t> values_;  // widths of the values; empty until the first block
  std::vector<size_t> widths_;  // of the columns, headings included
  bool stacked_ = false;        // headings in several lines
  std::vector<bool> right_;
  std::vector<bool> shown_;
  bool dividing_ = false;  // what comes next stands behind a blank line
  uint64_t rows_ = 0;      // written
  uint64_t dropped_ = 0;   // that count nothing
};

}  // namespace

std::unique_ptr<Renderer> makeTableRenderer(std::ostream& answers, const TextStyle& style, Form form) {
  return std::make_unique<TableRenderer>(answers, style, form);
}

}  // namespace fibdb::program
