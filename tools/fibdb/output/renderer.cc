// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/renderer.cc: see renderer.h.
#include "tools/fibdb/output/renderer.h"

#include <algorithm>

#include "tools/fibdb/base/failure.h"
#include "tools/fibdb/base/words.h"
#include "tools/fibdb/output/text.h"

namespace fibdb::program {
namespace {

constexpr size_t kHanging = 4;  // what goes on from a line of an error

std::string placeText(const Place& place) {
  if (place.file.empty()) return "fibdb: ";
  return place.file + ':' + (place.line == 0 ? "" : std::to_string(place.line) + ':') + ' ';
}

}  // namespace

Form parseForm(std::string_view name) {
  const KeywordMatch match = matchKeyword(name, kFormNames);
  if (!match.keyword) {
    throw Failure(Status::kUsage, "unknown format " + inQuotes(name), "formats: " + join(kFormNames, ", "));
  }
  return static_cast<Form>(std::ranges::find(kFormNames, *match.keyword) - kFormNames.begin());
}

std::string Renderer::done(const std::string& sentence, const std::vector<Fact>&, size_t width) const {
  return wrapped(sentence, width) + '\n';
}

std::string Renderer::complaint(const Complaint& complaint) const {
  std::string text = placeText(complaint.place);
  if (!complaint.file.empty()) text += complaint.file + ": ";
  if (!complaint.text.empty()) text += inQuotes(complaint.text) + ": ";
  text += complaint.message + '\n';
  if (!complaint.advice.empty()) text += complaint.advice + '\n';
  return wrapped(text, style_.errorWidth(), kHanging);
}

std::string Renderer::log(const std::string& line) const { return "fibdb: " + line + '\n'; }

}  // namespace fibdb::program
