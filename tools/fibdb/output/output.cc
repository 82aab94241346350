// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/output.cc: see output.h.
#include "tools/fibdb/output/output.h"

#include <algorithm>
#include <iterator>

#include "tools/fibdb/base/failure.h"
#include "tools/fibdb/base/words.h"

namespace fibdb::program {
namespace {

std::unique_ptr<Renderer> makeRenderer(std::ostream& answers, const TextStyle& style, Form form) {
  switch (form) {
    case Form::kTable:
    case Form::kVertical:
      return makeTableRenderer(answers, style, form);
    case Form::kCsv:
      return makeCsvRenderer(answers, style);
    case Form::kJson:
    case Form::kJsonLines:
      break;
  }
  return makeJsonRenderer(answers, style, form);
}

// The places of the wanted names among those of what is shown.
template <class Named>
std::vector<size_t> placesOf(const std::vector<std::string>& wanted, const std::vector<Named>& there,
                             const std::string& where) {
  std::vector<std::string_view> names;
  std::ranges::transform(there, std::back_inserter(names), &Named::name);
  std::vector<size_t> places;
  for (const std::string& name : wanted) {
    const auto match = std::ranges::find(names, name);
    if (match == names.end()) {
      const std::string near = suggestion(name, names);
      throw Failure(Status::kUsage, spaced(where) + ": no column " + inQuotes(name),
                    near.empty() ? "columns: " + join(names, ", ") : near);
    }
    places.push_back(static_cast<size_t>(match - names.begin()));
  }
  return places;
}

template <class Element>
std::vector<Element> elementsAt(const std::vector<size_t>& places, const std::vector<Element>& all) {
  std::vector<Element> some;
  some.reserve(places.size());
  for (const size_t place : places) some.push_back(all[place]);
  return some;
}

}  // namespace

Output::Output(std::ostream& answers, std::ostream& errors, const TextStyle& style, Form form)
    : answers_(answers), errors_(errors), style_(style), form_(form), renderer_(makeRenderer(answers, style, form)) {}

void Output::setForm(Form form) {
  form_ = form;
  renderer_ = makeRenderer(answers_, style_, form);
}

void Output::beginList(ListHead head) {
  std::vector<std::string> wanted = view_.columns;
  if (head.titled) {
    offered_.insert(offered_.end(), head.columns.begin(), head.columns.end());
    std::erase_if(wanted,
                  [&](const std::string& name) { return !std::ranges::count(head.columns, name, &Column::name); });
  }
  if (wanted.empty() && !view_.columns.empty()) return;
  places_ = placesOf(wanted, head.columns, head.name);
  if (!places_.empty()) head.columns = elementsAt(places_, head.columns);
  renderer_->beginList(head, view_.all || !places_.empty());
  listOpen_ = true;
}

void Output::row(const Row& values) {
  if (!listOpen_) return;
  renderer_->row(places_.empty() ? values : elementsAt(places_, values));
}

void Output::endList() {
  if (listOpen_) renderer_->endList();
  listOpen_ = false;
}

std::vector<Fact> Output::chosen(const std::string& title, const std::vector<Fact>& facts) const {
  return view_.columns.empty() ? facts : elementsAt(placesOf(view_.columns, facts, title), facts);
}

void Output::record(const std::string& title, const std::vector<Fact>& facts) {
  renderer_->record(title, chosen(title, facts));
}

void Output::tree(const std::string& title, const Tree& root) {
  if (view_.columns.empty()) {
    renderer_->tree(title, root);
  } else {
    record(title, root.facts);
  }
}

void Output::result(const std::string& sentence, const std::vector<Fact>& facts) { renderer_->answer(sentence, facts); }

void Output::done(const std::string& sentence, const std::vector<Fact>& facts) {
  if (quiet_) return;
  if (dataExpected_ || form_ == Form::kCsv) {
    writeError(renderer_->done(sentence, facts, style_.errorWidth()));
  } else {
    answers_ << renderer_->done(sentence, facts, style_.width());
  }
}

void Output::complain(const Complaint& complaint) { writeError(renderer_->complaint(complaint)); }

void Output::requireColumns() const {
  if (!offered_.empty()) placesOf(view_.columns, offered_, "these_lists");
}

void Output::log(const std::string& line) { writeError(renderer_->log(line)); }

void Output::endCommand() {
  endList();
  renderer_->endCommand();
  offered_.clear();
  view_ = {};
}

void Output::writeError(const std::string& text) {
  flush();
  errors_ << text << std::flush;
}

}  // namespace fibdb::program
