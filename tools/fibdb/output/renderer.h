// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/renderer.h: the forms that an answer can have.
//
// DESCRIPTION: a renderer writes lists, records and trees to the stream of answers, and puts complaints and sentences
// into words for whoever owns the streams. COST: lists are rendered in blocks of rows, so a list of any length needs
// constant memory; a column may grow wider from one block to the next, never inside one.
#ifndef FIBDB_TOOLS_RENDERER_H
#define FIBDB_TOOLS_RENDERER_H

#include <array>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include "tools/fibdb/output/answer.h"
#include "tools/fibdb/output/terminal.h"

namespace fibdb::program {

enum class Form : uint8_t {
  kTable,      // rows below headings; vertical where they do not fit the terminal
  kVertical,   // a line for each value
  kCsv,        // lists with one line of names
  kJson,       // one document for each list or record
  kJsonLines,  // one object a line
};
inline constexpr std::array<std::string_view, 5> kFormNames{"table", "vertical", "csv", "json", "jsonl"};

// Throws Failure (usage) with the list when there is none of that name.
Form parseForm(std::string_view name);

struct TextStyle {
  bool color = false;
  bool unicode = false;
  // Columns of the terminals that answers and errors go to; 0: none, nothing is wrapped or left out there.
  size_t (*width)() = anyWidth;
  size_t (*errorWidth)() = anyWidth;
};

class Renderer {
 public:
  explicit Renderer(const TextStyle& style) : style_(style) {}
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;
  virtual ~Renderer() = default;

  // all: columns and rows of nothing but zeros, too.
  virtual void beginList(const ListHead& head, bool all) = 0;
  virtual void row(const Row& values) = 0;
  virtual void endList() = 0;
  virtual void record(const std::string& title, const std::vector<Fact>& facts) = 0;
  virtual void tree(const std::string& title, const Tree& root) = 0;
  virtual void answer(const std::string& sentence, const std::vector<Fact>& facts) = 0;
  // What comes next answers another command.
  virtual void endCommand() {}

  // As people read them, unless a form has its own.
  virtual std::string done(const std::string& sentence, const std::vector<Fact>& facts, size_t width) const;
  virtual std::string complaint(const Complaint& complaint) const;
  virtual std::string log(const std::string& line) const;

 protected:
  const TextStyle& style() const { return style_; }

 private:
  const TextStyle style_;
};

std::unique_ptr<Renderer> makeTableRenderer(std::ostream& answers, const TextStyle& style, Form form);
std::unique_ptr<Renderer> makeCsvRenderer(std::ostream& answers, const TextStyle& style);
std::unique_ptr<Renderer> makeJsonRenderer(std::ostream& answers, const TextStyle& style, Form form);

}  // namespace fibdb::program

#endif
