// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/output.h: the way of every answer, sentence and error to its reader.
//
// DESCRIPTION: a command produces lists, records, trees and sentences once; the form decides how they look, and nothing
// that a command does. Answers go to standard output. What was done is said there too, but on standard error where the
// output is data that a sentence would spoil. Errors go to standard error, behind what was answered before, as
// "FILE:LINE: message" or {"error": ...}. THREADS: one thread at a time.
#ifndef FIBDB_TOOLS_OUTPUT_H
#define FIBDB_TOOLS_OUTPUT_H

#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tools/fibdb/output/answer.h"
#include "tools/fibdb/output/renderer.h"
#include "tools/fibdb/output/text.h"

namespace fibdb::program {

// What a command line wants to see of an answer.
struct AnswerView {
  bool all = false;                       // zeros, too
  std::vector<std::string> columns = {};  // none: all of them
};

class Output {
 public:
  Output(std::ostream& answers, std::ostream& errors, const TextStyle& style, Form form = Form::kTable);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  Form form() const { return form_; }
  void setForm(Form form);
  bool isJson() const { return form_ == Form::kJson || form_ == Form::kJsonLines; }
  void setView(const AnswerView& view) { view_ = view; }
  // Sentences are left out.
  void setQuiet(bool quiet) { quiet_ = quiet; }
  // Standard output is going to hold data beside the answers: sentences go to standard error from now on.
  void expectData() { dataExpected_ = true; }

  // Throws Failure (usage) when the list lacks a column that was asked for. Of an answer's several lists each shows
  // those that it has, and one that has none is left out.
  void beginList(ListHead head);
  void row(const Row& values);  // REQUIRES: as many as there are columns
  void endList();

  // One thing with its properties.
  void record(const std::string& title, const std::vector<Fact>& facts);
  // One thing with its properties, and what hangs below it: facts above a drawn tree, or one nested object.
  void tree(const std::string& title, const Tree& root);
  // An answer that is a sentence for people, and facts for programs.
  void result(const std::string& sentence, const std::vector<Fact>& facts);
  // What was done, in the same manner.
  void done(const std::string& sentence, const std::vector<Fact>& facts);

  void complain(const Complaint& complaint);
  // Throws Failure (usage) when none of an answer's several lists had a column that was asked for.
  void requireColumns() const;
  // A line from inside the library.
  void log(const std::string& line);
  // The command has ended: a list that it left open is closed, and its view is over.
  void endCommand();
  // What run() answers, instead of writing it.
  template <class Run>
  std::string captured(Run&& run) {
    std::ostringstream held;
    const Redirection redirection(answers_, held.rdbuf());
    run();
    answers_.flush();
    return std::move(held).str();
  }
  // As it is.
  void write(const std::string& text) { answers_ << text; }
  // False when the answer could not be written.
  bool flush() { return static_cast<bool>(answers_.flush()); }

 private:
  class Redirection {
   public:
    Redirection(std::ostream& stream, std::streambuf* to) : stream_(stream), before_(stream.rdbuf(to)) {}
    ~Redirection() { stream_.rdbuf(before_); }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

   private:
    std::ostream& stream_;
    std::streambuf* const before_;
  };

  std::vector<Fact> chosen(const std::string& title, const std::vector<Fact>& facts) const;
  void writeError(const std::string& text);

  std::ostream& answers_;
  std::ostream& errors_;
  const TextStyle style_;
  Form form_;
  std::unique_ptr<Renderer> renderer_;
  AnswerView view_;
  std::vector<size_t> places_;   // of the columns that were asked for; empty: all
  std::vector<Column> offered_;  // by the lists of an answer that has several
  bool listOpen_ = false;
  bool quiet_ = false;
  bool dataExpected_ = false;
};

}  // namespace fibdb::program

#endif
