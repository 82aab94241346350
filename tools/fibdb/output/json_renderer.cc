// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/json_renderer.cc: answers as JSON: one object a line, or one document for each list or record.
#include <cmath>
#include <nlohmann/json.hpp>

#include "tools/fibdb/output/renderer.h"

namespace fibdb::program {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kIndent = 2;
constexpr int kOneLine = -1;

// Six decimals are beyond what is measured here.
double rounded(double number) { return std::round(number * 1e6) / 1e6; }

Json jsonOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<uint64_t>(&value)) return *number;
  if (const auto* real = std::get_if<double>(&value)) return rounded(*real);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  return nullptr;
}

Json objectOf(const std::vector<Fact>& facts) {
  Json object = Json::object();
  for (const Fact& fact : facts) object[fact.name] = jsonOf(fact.value);
  return object;
}

Json objectOf(const Tree& tree) {
  Json object = objectOf(tree.facts);
  if (tree.below.empty()) return object;
  Json& children = object[tree.below] = Json::array();
  for (const Tree& child : tree.children) children.push_back(objectOf(child));
  return object;
}

// File names and file contents may be no UTF-8; such bytes are replaced rather than refused.
std::string textOf(const Json& json, int indent = kOneLine) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

class JsonRenderer final : public Renderer {
 public:
  JsonRenderer(std::ostream& answers, const TextStyle& style, Form form)
      : Renderer(style), answers_(answers), lines_(form == Form::kJsonLines) {}

  void beginList(const ListHead& head, bool) override {
    head_ = head;
    rows_ = 0;
    if (!lines_) answers_ << "{\n  \"list\": " << textOf(head_.name) << ",\n  \"rows\": [";
  }

  void row(const Row& values) override {
    Json object = Json::object();
    if (lines_) object["list"] = head_.name;
    for (size_t i = 0; i < values.size(); ++i) {
      const Column& column = head_.columns[i];
      if (column.format != Format::kBar) object[column.name] = jsonOf(values[i]);
    }
    if (lines_) {
      answers_ << textOf(object) << '\n';
    } else {
      answers_ << (rows_ == 0 ? "\n    " : ",\n    ") << textOf(object);
    }
    ++rows_;
  }

  void endList() override {
    if (!lines_) answers_ << (rows_ == 0 ? "]\n}\n" : "\n  ]\n}\n");
  }

  void record(const std::string&, const std::vector<Fact>& facts) override { write(objectOf(facts)); }
  void tree(const std::string&, const Tree& root) override { write(objectOf(root)); }
  void answer(const std::string&, const std::vector<Fact>& facts) override { write(objectOf(facts)); }

  std::string done(const std::string&, const std::vector<Fact>& facts, size_t) const override {
    return textOf(objectOf(facts), indent()) + '\n';
  }

  std::string complaint(const Complaint& complaint) const override {
    Json object{{"error", complaint.message}};
    if (!complaint.text.empty()) object["text"] = complaint.text;
    Json* at = &object;
    if (!complaint.file.empty()) {
      object["file"] = complaint.file;
      if (!complaint.place.file.empty()) at = &object["command"];
    }
    if (!complaint.place.file.empty()) (*at)["file"] = complaint.place.file;
    if (complaint.place.line != 0) (*at)["line"] = complaint.place.line;
    if (!complaint.advice.empty()) object["advice"] = complaint.advice;
    return textOf(object) + '\n';
  }

  std::string log(const std::string& line) const override { return textOf(Json{{"log", line}}) + '\n'; }

 private:
  int indent() const { return lines_ ? kOneLine : kIndent; }
  void write(const Json& object) { answers_ << textOf(object, indent()) << '\n'; }

  std::ostream& answers_;
  const bool lines_;
  ListHead head_;
  uint64_t rows_ = 0;
};

}  // namespace

std::unique_ptr<Renderer> makeJsonRenderer(std::ostream& answers, const TextStyle& style, Form form) {
  return std::make_unique<JsonRenderer>(answers, style, form);
}

}  // namespace fibdb::program
