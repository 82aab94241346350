// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/command.cc: see command.h.
#include "tools/fibdb/shell/command.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>

#include "fibdb/engine.h"
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/text.h"

namespace fibdb::program {
namespace {

std::vector<std::string_view> wordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  while (!text.empty()) {
    const size_t blank = text.find(' ');
    if (blank != 0) words.push_back(text.substr(0, blank));
    text.remove_prefix(blank == std::string_view::npos ? text.size() : blank + 1);
  }
  return words;
}

// Commands whose keywords all agree with what was typed so far, and the word each has at a place.
class Candidates {
 public:
  Candidates() {
    // A configuration file has a command on each of its lines.
    static const std::vector<Row> all = [] {
      std::vector<Row> rows;
      for (const Command* command : allCommands()) rows.push_back({command, wordsOf(command->words)});
      return rows;
    }();
    for (const Row& row : all) rows_.push_back(&row);
  }

  // Keywords that may stand at place.
  std::vector<std::string_view> keywordsAt(size_t place) const {
    std::vector<std::string_view> keywords;
    for (const Row* row : rows_) {
      if (row->words.size() > place) keywords.push_back(row->words[place]);
    }
    return keywords;
  }

  // The same, each once, with the help of its command, or the words that go on from it.
  std::vector<Choice> choicesAt(size_t place) const {
    std::map<std::string_view, std::vector<const Row*>> rows;
    for (const Row* row : rows_) {
      if (row->words.size() > place) rows[row->words[place]].push_back(row);
    }
    std::vector<Choice> choices;
    for (const auto& [word, behind] : rows) {
      const auto ending = std::ranges::find_if(behind, [&](const Row* row) { return row->words.size() == place + 1; });
      choices.push_back({std::string(word), ending != behind.end() ? std::string((*ending)->command->help)
                                                                   : nextWords(behind, place + 1)});
    }
    return choices;
  }

  void keep(size_t place, std::string_view keyword) {
    std::erase_if(rows_, [&](const Row* r) { return r->words.size() <= place || r->words[place] != keyword; });
  }

  // The command that has no further keyword at place.
  const Command* endingAt(size_t place) const {
    const auto row = std::find_if(rows_.begin(), rows_.end(), [&](const Row* r) { return r->words.size() == place; });
    return row == rows_.end() ? nullptr : (*row)->command;
  }

 private:
  struct Row {
    const Command* command;
    std::vector<std::string_view> words;
  };

  static std::string nextWords(const std::vector<const Row*>& rows, size_t place) {
    std::vector<std::string_view> next;
    next.reserve(rows.size());
    for (const Row* row : rows) next.push_back(row->words[place]);
    std::ranges::sort(next);
    next.erase(std::unique(next.begin(), next.end()), next.end());
    return join(next, ", ");
  }

  std::vector<const Row*> rows_;
};

[[noreturn]] void failUnknown(std::string_view word, std::string_view what,
                              std::span<const std::string_view> candidates) {
  const std::string near = suggestion(word, candidates);
  throw Failure(Status::kUsage, "unknown " + std::string(what) + ' ' + inQuotes(word),
                near.empty() ? "try help" : near);
}

[[noreturn]] void failAmbiguous(std::string_view word, const KeywordMatch& match) {
  throw Failure(Status::kUsage, inQuotes(word) + " is ambiguous: " + join(match.matches, ", "));
}

bool isKeyword(std::string_view text) {
  const auto fits = [](unsigned char c) {
    return std::islower(c) != 0 || std::isdigit(c) != 0 || c == '-' || c == '_';
  };
  return !text.empty() && std::islower(static_cast<unsigned char>(text[0])) != 0 &&
         std::all_of(text.begin(), text.end(), fits);
}

// Words and place names of a usage, without its punctuation.
std::vector<std::string_view> usageParts(std::string_view usage) {
  constexpr std::string_view kPunctuation = " |[]{}.";
  std::vector<std::string_view> parts;
  while (!usage.empty()) {
    const size_t end = usage.find_first_of(kPunctuation);
    if (end != 0) parts.push_back(usage.substr(0, end));
    usage.remove_prefix(end == std::string_view::npos ? usage.size() : end + 1);
  }
  return parts;
}

// The keywords with which other commands go on from this one.
std::vector<std::string_view> keywordsBehind(const Command& command) {
  Candidates candidates;
  const auto words = wordsOf(command.words);
  for (size_t place = 0; place < words.size(); ++place) candidates.keep(place, words[place]);
  return candidates.keywordsAt(words.size());
}

std::string sizeText(const std::filesystem::directory_entry& file) {
  std::error_code error;
  if (file.is_directory(error)) return "folder";
  const auto size = file.is_regular_file(error) ? file.file_size(error) : 0;
  return error || size == 0 ? "" : formatBytes(size);
}

// The files that a word begins, in the word's own manner: what stands for the home stays so.
std::vector<Choice> filesNamed(const std::string& word) {
  namespace fs = std::filesystem;
  std::vector<Choice> files;
  const std::string beginning = expandHome(word);
  const size_t slash = beginning.rfind('/');
  const std::string folder = slash == std::string::npos ? "" : beginning.substr(0, slash + 1);
  const std::string shown = word == "~" ? "~/" : word.substr(0, word.rfind('/') + 1);
  const std::string name = beginning.substr(folder.size());
  std::error_code error;
  if (word == "~") return {{"~/", "folder"}};
  for (fs::directory_iterator file(folder.empty() ? "." : folder, error), end; !error && file != end;
       file.increment(error)) {
    const std::string found = file->path().filename().string();
    if (!found.starts_with(name) || (name.empty() && found.starts_with('.'))) continue;
    std::error_code none;
    files.push_back({shown + found + (file->is_directory(none) ? "/" : ""), sizeText(*file)});
  }
  return files;
}

std::vector<Choice> tablesNamed() {
  std::vector<Choice> tables;
  FibDbEngineTableStats stats{};
  // For a line that is being typed.
  for (uint32_t table = 0; table < fibdb_engine_table_count(); ++table) {  // not traced
    if (fibdb_engine_table_stats(table, &stats) != FIB_DB_OK) continue;    // not traced
    tables.push_back({stats.name, counted(stats.records, "record")});
  }
  return tables;
}

// Of keywords that stand in a usage without a value.
struct WordHelp {
  std::string_view word;
  std::string_view help;
};
constexpr WordHelp kWordHelps[] = {
    {"by", "length or group: what has the colours"},
    {"count", "how many they are"},
    {"covering", "all that cover it, longest first"},
    {"csv", "comma-separated values"},
    {"force", "with nothing to save, too"},
    {"group", "the routes' group"},
    {"in", "PREFIX and all inside it"},
    {"json", "one document for each list or record"},
    {"jsonl", "one object a line"},
    {"length", "that of the mask"},
    {"longer", "all inside it, in key order"},
    {"off", "no more"},
    {"on", "from now on"},
    {"prefix", "[in | covering] PREFIX"},
    {"replace", "routes that the file does not have go"},
    {"skip-bad", "bad lines are no failure"},
    {"structures", "what the memory of each table is for"},
    {"table", "rows below headings"},
    {"vertical", "a line for each value"},
};

// The words that a usage has behind this one, as far as they are no keywords: "group N" says what a group is.
std::string valueBehind(const std::vector<std::string_view>& parts, size_t place) {
  std::string value;
  for (size_t i = place + 1; i < parts.size() && !isKeyword(parts[i]); ++i) {
    value += (value.empty() ? "" : " ") + std::string(parts[i]);
  }
  if (!value.empty()) return value;
  const auto plain = std::ranges::find(kWordHelps, parts[place], &WordHelp::word);
  return plain == std::end(kWordHelps) ? "" : std::string(plain->help);
}

void append(std::vector<Choice>& choices, const std::vector<Choice>& more) {
  choices.insert(choices.end(), more.begin(), more.end());
}

std::vector<Choice> argumentChoices(const Command& command, const std::string& word) {
  std::vector<Choice> found;
  const auto parts = usageParts(command.arguments);
  for (size_t i = 0; i < parts.size(); ++i) {
    if (isKeyword(parts[i])) found.push_back({std::string(parts[i]), valueBehind(parts, i)});
    if (parts[i] == "FILE") append(found, filesNamed(word));
    if (parts[i] == "TABLE") append(found, tablesNamed());
    if (parts[i] == "COMMAND") append(found, Candidates().choicesAt(0));
  }
  return found;
}

// How an answer is to be seen, behind any command that shows one.
std::vector<Choice> viewChoices(const Command& command) {
  if (!command.words.starts_with("show ")) return {};
  return {{"all", "zeros, too"}, {"columns", "A,B,..."}};
}

}  // namespace

std::string usageOf(const Command& command) {
  std::string usage(command.words);
  if (!command.arguments.empty()) usage += ' ' + std::string(command.arguments);
  return usage;
}

CommandMatch findCommand(std::span<const std::string> words) {
  Candidates candidates;
  for (size_t place = 0;; ++place) {
    const Command* ending = candidates.endingAt(place);
    const auto keywords = candidates.keywordsAt(place);
    if (place == words.size() || keywords.empty()) {
      if (ending != nullptr) return {ending, place};
      throw Failure(Status::kUsage,
                    inQuotes(join(std::vector<std::string_view>(words.begin(), words.end()), " ")) + " is not complete",
                    "go on with: " + join(matchKeyword("", keywords).matches, ", "));
    }
    const KeywordMatch match = matchKeyword(words[place], keywords);
    if (match.keyword) {
      candidates.keep(place, *match.keyword);
      continue;
    }
    if (match.matches.size() > 1) failAmbiguous(words[place], match);
    if (ending != nullptr) return {ending, place};
    failUnknown(words[place], place == 0 ? "command" : "word", keywords);
  }
}

std::vector<Choice> choices(std::span<const std::string> words) {
  const std::string& last = words.back();
  Candidates candidates;
  std::vector<Choice> found;
  size_t place = 0;
  for (; place + 1 < words.size(); ++place) {
    const KeywordMatch match = matchKeyword(words[place], candidates.keywordsAt(place));
    if (!match.keyword) break;
    candidates.keep(place, *match.keyword);
  }
  const Command* ending = candidates.endingAt(place);
  const bool keywordPlace = place + 1 == words.size();
  if (keywordPlace) append(found, candidates.choicesAt(place));
  if (ending != nullptr) append(found, argumentChoices(*ending, last));
  if (ending != nullptr) append(found, viewChoices(*ending));
  std::erase_if(found, [&](const Choice& choice) { return !choice.word.starts_with(last); });
  std::ranges::stable_sort(found, {}, &Choice::word);
  const auto same = [](const Choice& a, const Choice& b) { return a.word == b.word; };
  found.erase(std::unique(found.begin(), found.end(), same), found.end());
  return found;
}

Status showChoices(Session& session, std::span<const std::string> words) {
  Words typed(words.begin(), words.end());
  typed.emplace_back();
  session.output.beginList({"words", {{"word"}, {"help"}}});
  for (const Choice& choice : choices(typed)) session.output.row({choice.word, choice.help});
  session.output.endList();
  return Status::kOk;
}

void Arguments::fail(const std::string& message, const std::string& advice, const std::string& text) const {
  const std::string usage = "usage: " + usageOf(command_);
  throw Failure(Status::kUsage, message, advice.empty() ? usage : advice + '\n' + usage).of(text);
}

const std::string& Arguments::word(std::string_view what) {
  if (words_.empty()) fail(std::string(what) + " is missing");
  const std::string& word = words_.front();
  words_ = words_.subspan(1);
  return word;
}

uint64_t Arguments::number(std::string_view what, uint64_t most) {
  const std::string& text = word(what);
  const auto number = parseNumber(text, most);
  if (!number) fail(inQuotes(text) + " is not a number up to " + std::to_string(most));
  return *number;
}

Prefix Arguments::prefix() {
  const std::string& text = word("a prefix");
  Prefix prefix;
  const PrefixFault fault = parsePrefix(text, prefix);
  if (fault == PrefixFault::kNone) return prefix;
  const Prefix masked{prefix.address & maskOf(prefix.length), prefix.length};
  const bool beyond = fault == PrefixFault::kBitsBeyondMask;
  const std::string near = suggestion(text, keywordsBehind(command_));
  fail(faultText(fault), beyond ? "did you mean " + formatPrefix(masked) + "?" : near, text);
}

size_t Arguments::keyword(std::span<const std::string_view> keywords) {
  const std::string& text = word("one of " + join(keywords, ", "));
  const KeywordMatch match = matchKeyword(text, keywords);
  if (!match.keyword && match.matches.size() > 1) failAmbiguous(text, match);
  if (!match.keyword) fail("unknown word " + inQuotes(text), suggestion(text, keywords));
  return static_cast<size_t>(std::find(keywords.begin(), keywords.end(), *match.keyword) - keywords.begin());
}

std::string Arguments::file() { return expandHome(word("a file")); }

bool Arguments::lastKeyword(std::string_view word) {
  if (empty()) return false;
  keyword(std::span(&word, 1));
  end();
  return true;
}

uint32_t Arguments::table() {
  const std::string& name = word("a table");
  const auto names = tableNames();
  const KeywordMatch match = matchKeyword(name, names);
  if (match.keyword) return call<fibdb_engine_find_table>(std::string(*match.keyword).c_str());
  if (match.matches.size() > 1) failAmbiguous(name, match);
  const std::string near = suggestion(name, names);
  fail("unknown table " + inQuotes(name), near.empty() ? "try show tables" : near);
}

void Arguments::end() const {
  if (!words_.empty()) fail("unexpected word " + inQuotes(words_.front()));
}

std::vector<std::string_view> tableNames() {
  std::vector<std::string_view> names;
  FibDbEngineTableStats stats{};
  for (uint32_t table = 0; table < call<fibdb_engine_table_count>(); ++table) {
    if (call<fibdb_engine_table_stats>(table, &stats) == FIB_DB_OK) names.emplace_back(stats.name);
  }
  return names;
}

uint64_t perSecond(uint64_t steps, double seconds) {
  return seconds > 0 ? static_cast<uint64_t>(static_cast<double>(steps) / seconds) : 0;
}

}  // namespace fibdb::program
