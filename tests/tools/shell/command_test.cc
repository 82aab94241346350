// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/shell/command_test.cc: the command table: dispatch, arguments, completion.
#include "tools/fibdb/shell/command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace fibdb::program {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;

std::string found(const Words& words) {
  try {
    const CommandMatch match = findCommand(words);
    return std::string(match.command->words) + " +" + std::to_string(words.size() - match.wordCount);
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status(), Status::kUsage);
    return std::string(failure.what()) + " | " + failure.advice();
  }
}

TEST(CommandTable, every_row_has_a_function_a_help_line_and_words_of_its_own) {
  std::set<std::string_view> seen;
  for (const Command* command : allCommands()) {
    EXPECT_NE(command->run, nullptr) << command->words;
    EXPECT_FALSE(command->help.empty()) << command->words;
    EXPECT_EQ(command->help.find('\n'), std::string_view::npos) << command->words;
    EXPECT_TRUE(seen.insert(command->words).second) << command->words;
  }
}

TEST(FindCommand, every_command_is_found_by_its_own_words) {
  for (const Command* command : allCommands()) {
    EXPECT_EQ(findCommand(splitWords(command->words)).command, command) << command->words;
  }
}

TEST(FindCommand, keywords_may_be_abbreviated_and_the_rest_are_arguments) {
  EXPECT_EQ(found({"sh", "ro", "8.8.8.8"}), "show route +1");
  EXPECT_EQ(found({"show", "route", "sum"}), "show route summary +0");
  EXPECT_EQ(found({"show", "tab", "nhp"}), "show table +1");
  EXPECT_EQ(found({"show", "tables"}), "show tables +0");
  EXPECT_EQ(found({"q"}), "quit +0");
}

TEST(FindCommand, a_slip_names_the_word_and_the_nearest_one) {
  EXPECT_EQ(found({"shwo", "route"}), "unknown command \"shwo\" | did you mean \"show\"?");
  EXPECT_EQ(found({"show", "ruote"}), "unknown word \"ruote\" | did you mean \"route\"?");
  EXPECT_EQ(found({"xyzzy"}), "unknown command \"xyzzy\" | try help");
}

TEST(FindCommand, ambiguous_and_unfinished_commands_list_what_fits) {
  EXPECT_THAT(found({"s"}), HasSubstr("\"s\" is ambiguous: save, set, show"));
  EXPECT_THAT(found({"load"}), HasSubstr("\"load\" is not complete | go on with: config, routes"));
}

const Command kProbe{"probe", "NUMBER", "", "", nullptr};

template <class Take>
std::string usageFailure(const Words& words, Take take) {
  Arguments arguments(kProbe, words);
  try {
    take(arguments);
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status(), Status::kUsage);
    EXPECT_THAT(failure.advice(), HasSubstr("usage: probe NUMBER"));
    return (failure.text().empty() ? "" : failure.text() + ": ") + failure.what();
  }
  return "no failure";
}

TEST(Arguments, missing_wrong_and_extra_words_are_usage_failures) {
  const auto number = [](Arguments& a) { a.number("a number", 255); };
  EXPECT_EQ(usageFailure({}, number), "a number is missing");
  EXPECT_EQ(usageFailure({"256"}, number), "\"256\" is not a number up to 255");
  EXPECT_EQ(usageFailure({"x"}, [](Arguments& a) { a.end(); }), "unexpected word \"x\"");
  EXPECT_EQ(usageFailure({"1.2.3.4/40"}, [](Arguments& a) { a.prefix(); }), "1.2.3.4/40: mask above 32");
  EXPECT_EQ(usageFailure({"nosuch"}, [](Arguments& a) { a.table(); }), "unknown table \"nosuch\"");
}

std::vector<std::string> completions(const Words& words) {
  std::vector<std::string> found;
  for (const Choice& choice : choices(words)) found.push_back(choice.word);
  return found;
}

TEST(Completions, say_of_every_keyword_what_it_is) {
  for (const Command* command : allCommands()) {
    Words typed = splitWords(command->words);
    typed.emplace_back();
    for (const Choice& choice : choices(typed)) {
      const bool keyword = command->arguments.find(choice.word) != std::string_view::npos;
      EXPECT_TRUE(!keyword || !choice.help.empty()) << command->words << ' ' << choice.word;
    }
  }
}

TEST(Completions, begin_with_the_commands_themselves) {
  EXPECT_THAT(completions(Words{"sh"}), ElementsAre("show"));
  EXPECT_THAT(completions(Words{""}), Contains("load"));
  EXPECT_THAT(completions(Words{"show", "ro"}), ElementsAre("route"));
  EXPECT_THAT(completions(Words{"nosuch", ""}), IsEmpty());
}

TEST(Completions, behind_a_command_offer_keywords_and_tables) {
  EXPECT_THAT(completions(Words{"show", "route", "10.0.0.0/8", "l"}), ElementsAre("longer"));
  EXPECT_THAT(completions(Words{"show", "route", "s"}), ElementsAre("summary"));
  EXPECT_THAT(completions(Words{"count", "ip4"}), ElementsAre("ip4forward"));
  EXPECT_THAT(completions(Words{"set", "limit", "nhp", "rec"}), ElementsAre("records"));
}

TEST(Completions, behind_a_tables_command_offer_the_properties_it_takes) {
  EXPECT_THAT(completions(Words{"set", "n"}), Contains("nexthop"));
  EXPECT_THAT(completions(Words{"set", "nexthop", "7", "vr"}), ElementsAre("vr", "vrf"));
  EXPECT_THAT(completions(Words{"add", "ar-group", "1", "2", "3", "attr"}), ElementsAre("attr1", "attr2"));
  EXPECT_THAT(completions(Words{"set", "ar-group", "1", "2", "3", ""}), ElementsAre("smooth"));
  EXPECT_THAT(completions(Words{"show", "ar-group", ""}), ElementsAre("all", "asn", "columns", "originator"));
  EXPECT_THAT(completions(Words{"count", "n"}), IsSupersetOf({"nexthop", "nhp"}));
  EXPECT_THAT(completions(Words{"show", "group", ""}), ElementsAre("all", "columns", "member", "source", "vr", "vrf"));
  EXPECT_THAT(completions(Words{"show", "group", "member", ""}),
              ElementsAre("all", "backup", "columns", "group", "primary", "vr"));
}

TEST(Commands, are_all_known_to_read_to_write_or_to_look_at_no_table) {
  for (const Command* command : allCommands()) {
    EXPECT_NE(tableUseOf(command->words), TableUse::kUnknown) << command->words;
  }
  EXPECT_EQ(tableUseOf("load routes"), TableUse::kWrites);
  EXPECT_EQ(tableUseOf("show route"), TableUse::kReads);
  EXPECT_EQ(tableUseOf("format"), TableUse::kNone);
  EXPECT_EQ(tableUseOf("loads"), TableUse::kUnknown);
}

TEST(Completions, offer_files_where_a_file_is_meant) {
  EXPECT_THAT(completions(Words{"load", "routes", "/dev/nul"}), ElementsAre("/dev/null"));
  EXPECT_THAT(completions(Words{"load", "routes", "/de"}), Contains("/dev/"));
}

}  // namespace
}  // namespace fibdb::program
