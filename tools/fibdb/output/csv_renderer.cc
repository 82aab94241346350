// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/csv_renderer.cc: answers as comma-separated values.
#include "tools/fibdb/output/renderer.h"
#include "tools/fibdb/output/text.h"

namespace fibdb::program {
namespace {

// Six decimals at most, which is beyond what is measured here, and no exponent, which not every reader knows.
std::string cellOf(double number) {
  char text[512];
  std::snprintf(text, sizeof text, "%.6f", number);
  std::string cell = text;
  cell.erase(cell.find_last_not_of('0') + 1);
  if (cell.ends_with('.')) cell.pop_back();
  return cell;
}

std::string cellOf(const Value& value) {
  if (const auto* real = std::get_if<double>(&value)) return cellOf(*real);
  if (std::holds_alternative<std::monostate>(value)) return "";
  std::string text = textOf(value, Format::kPlain, false);
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + '"';
}

class CsvRenderer final : public Renderer {
 public:
  CsvRenderer(std::ostream& answers, const TextStyle& style) : Renderer(style), answers_(answers) {}

  void beginList(const ListHead& head, bool) override {
    head_ = head;
    Row names;
    for (const Column& column : head_.columns) names.emplace_back(column.name);
    begin(names);
  }

  void row(const Row& values) override {
    std::string line;
    bool first = true;
    for (size_t i = 0; i < values.size(); ++i) {
      if (head_.columns[i].format == Format::kBar) continue;
      if (!first) line += ',';
      first = false;
      line += cellOf(values[i]);
    }
    answers_ << line << '\n';
  }

  void endList() override {}

  void record(const std::string&, const std::vector<Fact>& facts) override {
    ListHead head;
    Row values;
    for (const Fact& fact : facts) {
      head.columns.push_back({fact.name});
      values.push_back(fact.value);
    }
    beginList(head, true);
    row(values);
  }

  // A tree has no columns: its values, with the way to each.
  void tree(const std::string&, const Tree& root) override {
    beginList({{}, {{"name"}, {"value"}}}, true);
    values(root, "");
  }

  void answer(const std::string& sentence, const std::vector<Fact>& facts) override { record(sentence, facts); }

 private:
  // A blank line divides what has different columns.
  void begin(const Row& names) {
    if (started_) answers_ << '\n';
    started_ = true;
    row(names);
  }

  void values(const Tree& tree, const std::string& way) {
    for (const Fact& fact : tree.facts) row({way + fact.name, fact.value});
    for (size_t i = 0; i < tree.children.size(); ++i) {
      values(tree.children[i], way + tree.below + '.' + std::to_string(i) + '.');
    }
  }

  std::ostream& answers_;
  ListHead head_;
  bool started_ = false;
};

}  // namespace

std::unique_ptr<Renderer> makeCsvRenderer(std::ostream& answers, const TextStyle& style) {
  return std::make_unique<CsvRenderer>(answers, style);
}

}  // namespace fibdb::program
