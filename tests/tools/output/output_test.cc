// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/output/output_test.cc: the same answers as text and as JSON.
#include "tools/fibdb/output/output.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tools/fibdb/base/failure.h"

namespace fibdb::program {
namespace {

struct Rendered {
  explicit Rendered(Form form, const TextStyle& style = {})
      : output(std::make_unique<Output>(answers, errors, style, form)) {}

  std::ostringstream answers;
  std::ostringstream errors;
  std::unique_ptr<Output> output;
};

std::unique_ptr<Rendered> as(Form form, const TextStyle& style = {}) { return std::make_unique<Rendered>(form, style); }
std::unique_ptr<Rendered> asText(const TextStyle& style = {}) { return as(Form::kTable, style); }
std::unique_ptr<Rendered> asJson() { return as(Form::kJsonLines); }

void writeList(Output& output, bool titled = false) {
  output.beginList({"some_things", {{"name"}, {"how_many", Format::kCount}, {"bar", Format::kBar}}, titled});
  output.row({std::string("a"), uint64_t{1234567}, 1.0});
  output.row({std::string("longer"), uint64_t{1}, 0.25});
  output.row({std::monostate(), std::monostate(), 0.0});
  output.endList();
}

TEST(TextOutput, list_columns_line_up_with_numbers_to_the_right) {
  auto text = asText();
  writeList(*text->output);
  EXPECT_EQ(text->answers.str(),
            "name     how many\n"
            "a       1,234,567  ########################################\n"
            "longer          1  ##########\n"
            "-               -\n");
}

TEST(TextOutput, a_titled_list_shows_its_name_and_an_empty_one_says_so) {
  auto text = asText();
  writeList(*text->output, true);
  EXPECT_EQ(text->answers.str().substr(0, 12), "some things\n");
  auto empty = asText();
  empty->output->beginList({"some_things", {{"name"}}});
  empty->output->endList();
  EXPECT_EQ(empty->answers.str(), "no some things\n");
}

TEST(TextOutput, a_blank_line_stands_between_the_parts_of_an_answer_and_not_behind_the_last) {
  auto text = asText();
  const auto writeTitled = [&] {
    text->output->beginList({"some_things", {{"name"}}, true});
    text->output->endList();
  };
  const std::string list = "some things\nno some things\n";
  writeTitled();
  writeTitled();
  text->output->record("one", {});
  text->output->result("two", {});
  writeTitled();
  text->output->endCommand();
  text->output->result("of the next command", {});
  EXPECT_EQ(text->answers.str(), list + "\n" + list + "\none\ntwo\n" + list + "of the next command\n");
}

TEST(TextOutput, a_list_longer_than_a_block_has_one_heading_and_every_row) {
  auto text = asText();
  text->output->beginList({"numbers", {{"number"}}});
  for (uint64_t i = 0; i < 2000; ++i) text->output->row({i});
  text->output->endList();
  std::istringstream lines(text->answers.str());
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "number");
  uint64_t expected = 0;
  while (std::getline(lines, line)) ASSERT_EQ(std::stoull(line), expected++);
  EXPECT_EQ(expected, 2000u);
}

TEST(TextOutput, colours_appear_only_when_asked_for) {
  auto plain = asText();
  writeList(*plain->output);
  EXPECT_EQ(plain->answers.str().find('\033'), std::string::npos);
  auto colored = asText({.color = true, .unicode = false});
  writeList(*colored->output);
  EXPECT_NE(colored->answers.str().find('\033'), std::string::npos);
}

TEST(TextOutput, an_alarm_is_highlighted_when_it_is_not_zero) {
  auto text = asText({.color = true, .unicode = false});
  text->output->record("counters", {{"good", uint64_t{0}, Format::kAlarm}, {"bad", uint64_t{7}, Format::kAlarm}});
  EXPECT_NE(text->answers.str().find("good  0\n"), std::string::npos);
  EXPECT_NE(text->answers.str().find("\033[1;31m7\033[0m"), std::string::npos);
}

TEST(TextOutput, errors_name_their_place_and_quote_the_input) {
  auto text = asText();
  text->output->complain({"wrong", {"f", 7}, "a\tb", "advice"});
  text->output->complain({.message = "at the prompt"});
  text->output->complain({"of the whole file", {"f", 0}});
  EXPECT_EQ(text->errors.str(), "f:7: \"a\\x09b\": wrong\nadvice\nfibdb: at the prompt\nf: of the whole file\n");
  EXPECT_EQ(text->answers.str(), "");
}

const Tree kTree{
    .line = "root, 1",
    .facts = {{"id", uint64_t{1}}},
    .below = "twigs",
    .children = {
        {.line = "first",
         .facts = {{"id", uint64_t{2}}},
         .below = "leaves",
         .children = {{.line = "leaf", .facts = {{"id", uint64_t{3}}}},
                      {.line = "last leaf", .facts = {{"id", uint64_t{4}}}}}},
        {.line = "second: bare", .facts = {{"id", uint64_t{5}}}, .below = "leaves"},
        {.line = "third", .facts = {}, .below = "leaves", .children = {{.line = "deep", .facts = {{"flag", true}}}}}}};

TEST(TextOutput, a_tree_is_drawn_below_its_facts) {
  auto text = asText();
  text->output->tree("title", kTree);
  EXPECT_EQ(text->answers.str(),
            "title\n"
            "  id  1\n"
            "root, 1\n"
            "|-- first\n"
            "|   |-- leaf\n"
            "|   `-- last leaf\n"
            "|-- second: bare\n"
            "`-- third\n"
            "    `-- deep\n");
}

TEST(TextOutput, a_tree_has_box_characters_where_there_are_some) {
  auto text = asText({.color = false, .unicode = true});
  text->output->tree("title", kTree);
  EXPECT_EQ(text->answers.str(),
            "title\n"
            "  id  1\n"
            "root, 1\n"
            "├── first\n"
            "│   ├── leaf\n"
            "│   └── last leaf\n"
            "├── second: bare\n"
            "└── third\n"
            "    └── deep\n");
}

TEST(JsonOutput, a_tree_is_one_object_and_says_by_empty_lists_that_nothing_is_there) {
  auto json = asJson();
  json->output->tree("title", kTree);
  EXPECT_EQ(json->answers.str(),
            "{\"id\":1,\"twigs\":["
            "{\"id\":2,\"leaves\":[{\"id\":3},{\"id\":4}]},"
            "{\"id\":5,\"leaves\":[]},"
            "{\"leaves\":[{\"flag\":true}]}]}\n");
}

TEST(JsonOutput, every_row_is_an_object_that_names_its_list_and_has_no_bars) {
  auto json = asJson();
  writeList(*json->output);
  EXPECT_EQ(json->answers.str(),
            "{\"list\":\"some_things\",\"name\":\"a\",\"how_many\":1234567}\n"
            "{\"list\":\"some_things\",\"name\":\"longer\",\"how_many\":1}\n"
            "{\"list\":\"some_things\",\"name\":null,\"how_many\":null}\n");
}

TEST(JsonOutput, results_are_their_facts_and_not_their_sentence) {
  auto json = asJson();
  json->output->result("sentence", {{"count", uint64_t{3}, Format::kCount}, {"yes", true}, {"share", 0.25}});
  EXPECT_EQ(json->answers.str(), "{\"count\":3,\"yes\":true,\"share\":0.25}\n");
}

TEST(JsonOutput, errors_are_objects_even_for_bytes_that_are_no_text) {
  auto json = asJson();
  json->output->complain({"wrong", {"f", 7}, "\xff\""});
  const auto error = nlohmann::json::parse(json->errors.str());
  EXPECT_EQ(error.at("error"), "wrong");
  EXPECT_EQ(error.at("file"), "f");
  EXPECT_EQ(error.at("line"), 7);
  EXPECT_EQ(error.at("text"), "\xef\xbf\xbd\"");
}

TEST(JsonOutput, a_document_holds_the_list_with_its_name_and_an_empty_one_too) {
  auto json = as(Form::kJson);
  json->output->beginList({"things", {{"id"}, {"bar", Format::kBar}}});
  json->output->row({uint64_t{1}, 0.5});
  json->output->row({uint64_t{2}, 0.5});
  json->output->endList();
  json->output->beginList({"none", {{"id"}}});
  json->output->endList();
  EXPECT_EQ(json->answers.str(),
            "{\n  \"list\": \"things\",\n  \"rows\": [\n    {\"id\":1},\n    {\"id\":2}\n  ]\n}\n"
            "{\n  \"list\": \"none\",\n  \"rows\": []\n}\n");
}

TEST(JsonOutput, a_list_that_its_command_left_open_is_closed) {
  auto json = as(Form::kJson);
  json->output->beginList({"things", {{"id"}}});
  json->output->row({uint64_t{1}});
  json->output->endCommand();
  EXPECT_TRUE(nlohmann::json::accept(json->answers.str()));
}

TEST(CsvOutput, lists_have_one_line_of_names_and_values_are_quoted_where_they_must_be) {
  auto csv = as(Form::kCsv);
  writeList(*csv->output);
  csv->output->record("title", {{"text", std::string("a,\"b\"\nc")}, {"share", 0.25}, {"yes", true}, {"no", Value()}});
  EXPECT_EQ(csv->answers.str(),
            "name,how_many\na,1234567\nlonger,1\n,\n"
            "\n"
            "text,share,yes,no\n\"a,\"\"b\"\"\nc\",0.25,yes,\n");
}

TEST(CsvOutput, a_tree_is_its_values_with_the_way_to_each) {
  auto csv = as(Form::kCsv);
  csv->output->tree("title", kTree);
  EXPECT_EQ(csv->answers.str(),
            "name,value\n"
            "id,1\n"
            "twigs.0.id,2\n"
            "twigs.0.leaves.0.id,3\n"
            "twigs.0.leaves.1.id,4\n"
            "twigs.1.id,5\n"
            "twigs.2.leaves.0.flag,yes\n");
}

TEST(VerticalOutput, every_value_has_a_line) {
  auto text = as(Form::kVertical);
  writeList(*text->output);
  EXPECT_EQ(text->answers.str(),
            "some things 1\n  name      a\n  how many  1,234,567\n\n"
            "some things 2\n  name      longer\n  how many  1\n\n"
            "some things 3\n  name      -\n  how many  -\n");
}

TEST(Sentences, of_what_was_done_spare_data_and_the_quiet) {
  for (const Form form : {Form::kTable, Form::kVertical, Form::kJson, Form::kJsonLines}) {
    auto rendered = as(form);
    rendered->output->done("done", {{"count", uint64_t{1}}});
    EXPECT_NE(rendered->answers.str(), "");
    EXPECT_EQ(rendered->errors.str(), "");
  }
  auto csv = as(Form::kCsv);
  csv->output->done("done", {{"count", uint64_t{1}}});
  EXPECT_EQ(csv->answers.str(), "");
  EXPECT_EQ(csv->errors.str(), "done\n");
  auto data = asText();
  data->output->expectData();
  data->output->done("done", {});
  EXPECT_EQ(data->answers.str(), "");
  EXPECT_EQ(data->errors.str(), "done\n");
  auto quiet = asJson();
  quiet->output->setQuiet(true);
  quiet->output->done("done", {{"count", uint64_t{1}}});
  quiet->output->result("answer", {{"count", uint64_t{1}}});
  EXPECT_EQ(quiet->answers.str() + quiet->errors.str(), "{\"count\":1}\n");
}

TEST(Columns, that_were_asked_for_are_shown_in_that_order) {
  auto text = asText();
  text->output->setView({.columns = {"how_many", "name"}});
  writeList(*text->output);
  EXPECT_EQ(text->answers.str(), " how many  name\n1,234,567  a\n        1  longer\n        -  -\n");
  text->output->endCommand();
  auto json = asJson();
  json->output->setView({.columns = {"id"}});
  json->output->tree("title", kTree);
  EXPECT_EQ(json->answers.str(), "{\"id\":1}\n");
}

TEST(Columns, that_do_not_exist_are_refused_with_the_nearest_or_all) {
  auto text = asText();
  const auto refusal = [&](const std::string& name) {
    text->output->setView({.columns = {name}});
    try {
      writeList(*text->output);
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status(), Status::kUsage);
      return failure.what() + std::string(" | ") + failure.advice();
    }
    return std::string("no failure");
  };
  EXPECT_EQ(refusal("nane"), "some things: no column \"nane\" | did you mean \"name\"?");
  EXPECT_EQ(refusal("xyzzy"), "some things: no column \"xyzzy\" | columns: name, how_many, bar");
}

// A terminal of 40 columns.
constexpr TextStyle kNarrow{
    .color = false, .unicode = false, .width = [] { return size_t{40}; }, .errorWidth = [] { return size_t{40}; }};

std::string onNarrow(const ListHead& head, const std::vector<Row>& rows, bool all = false) {
  auto text = asText(kNarrow);
  text->output->setView({.all = all});
  text->output->beginList(head);
  for (const Row& row : rows) text->output->row(row);
  text->output->endList();
  return text->answers.str();
}

TEST(Terminal, columns_of_zeros_are_left_out_unless_they_are_a_key_or_all_are_asked_for) {
  const ListHead head{"things", {{"id"}, {.name = "vr", .keep = true}, {"flag"}, {"address"}, {"size"}}};
  const std::vector<Row> rows{{uint64_t{0}, uint64_t{0}, uint64_t{0}, std::string("0.0.0.0"), uint64_t{0}},
                              {uint64_t{0}, uint64_t{0}, Value(), std::string("0.0.0.0"), uint64_t{7}}};
  EXPECT_EQ(onNarrow(head, rows), "id  vr  size\n 0   0     0\n 0   0     7\n");
  EXPECT_EQ(onNarrow(head, rows, true).substr(0, 28), "id  vr  flag  address  size\n");
}

TEST(Terminal, a_column_that_turns_out_to_say_something_gets_new_headings) {
  std::vector<Row> rows(600, Row{uint64_t{1}, uint64_t{0}});
  rows.push_back({uint64_t{2}, uint64_t{3}});
  const std::string text = onNarrow({"things", {{"id"}, {"late"}}}, rows);
  EXPECT_EQ(text.find("late"), text.rfind("late"));
  EXPECT_NE(text.find("\n\nid  late\n"), std::string::npos);
  EXPECT_NE(text.find(" 2     3\n"), std::string::npos);
}

TEST(Terminal, rows_that_count_nothing_are_left_out) {
  const ListHead head{"counters", {{"table"}, {"read", Format::kAlarm}, {"write", Format::kAlarm}}};
  const Row none{std::string("a"), uint64_t{0}, uint64_t{0}};
  EXPECT_EQ(onNarrow(head, {none, {std::string("b"), uint64_t{0}, uint64_t{2}}}), "table  write\nb          2\n");
  EXPECT_EQ(onNarrow(head, {none}), "counters: nothing but zeros\n");
  EXPECT_EQ(onNarrow(head, {none}, true), "table  read  write\na         0      0\n");
}

TEST(Terminal, headings_that_are_too_wide_stand_in_several_lines) {
  const ListHead head{"things", {{"name"}, {"first_of_all_names"}, {"second_of_the_names"}}};
  EXPECT_EQ(
      onNarrow(head, {{std::string("a"), uint64_t{1}, uint64_t{2}}}),
      "      first  second\n         of      of\n        all     the\nname  names   names\na         1       2\n");
}

TEST(Terminal, rows_that_are_too_wide_stand_vertically) {
  const ListHead head{"things", {{"firstofthenames"}, {"secondofthenames"}, {"thirdone"}}};
  EXPECT_EQ(onNarrow(head, {{uint64_t{1}, uint64_t{2}, uint64_t{3}}}),
            "things 1\n  firstofthenames   1\n  secondofthenames  2\n  thirdone          3\n");
}

TEST(Terminal, words_of_the_last_column_go_on_below_and_two_columns_that_do_not_fit_are_lines) {
  EXPECT_EQ(onNarrow({"words", {{"word"}, {"help"}}}, {{std::string("add"), std::string("what stands there is longer "
                                                                                        "than a line of this")}}),
            "word  help\nadd   what stands there is longer than a\n      line of this\n");
  EXPECT_EQ(onNarrow({"words", {{"word"}, {"help"}}}, {{std::string(30, 'w'), std::string("some help for it")}}),
            std::string(30, 'w') + "\n    some help for it\n");
}

TEST(Terminal, bars_take_what_is_left) {
  const std::string text = onNarrow({"shares", {{"name"}, {"bar", Format::kBar}}}, {{std::string("a"), 1.0}});
  EXPECT_EQ(text, "name\na     " + std::string(34, '#') + '\n');
}

TEST(Terminal, sentences_facts_trees_and_errors_break_at_words) {
  auto text = asText(kNarrow);
  text->output->result("a sentence that is longer than the forty columns of it", {});
  text->output->record("title", {{"hex", std::string(50, 'a')}});
  text->output->tree("t", {.line = "root",
                           .facts = {},
                           .below = "b",
                           .children = {{.line = "a child whose line is longer "
                                                 "than what is there",
                                         .facts = {}}}});
  text->output->complain({.message = "an error that is longer than the forty columns", .advice = "advice"});
  EXPECT_EQ(text->answers.str(),
            "a sentence that is longer than the forty\n    columns of it\n"
            "title\n  hex  " +
                std::string(33, 'a') + "\n       " + std::string(17, 'a') +
                "\nt\nroot\n`-- a child whose line is longer than\n        what is there\n");
  EXPECT_EQ(text->errors.str(), "fibdb: an error that is longer than the\n    forty columns\nadvice\n");
}

TEST(Wrapped, keeps_what_fits_and_joins_lines_that_the_text_was_broken_in) {
  EXPECT_EQ(wrapped("short\nlines", 20), "short\nlines");
  EXPECT_EQ(wrapped("one two three four five", 0), "one two three four five");
  EXPECT_EQ(wrapped("  a sentence that goes on\n  in the next line.\n  Another.", 20),
            "  a sentence that\n  goes on in the\n  next line.\n  Another.");
}

TEST(Flush, a_stream_that_cannot_be_written_is_noticed) {
  auto text = asText();
  EXPECT_TRUE(text->output->flush());
  text->answers.setstate(std::ios::badbit);
  EXPECT_FALSE(text->output->flush());
}

TEST(FormatCount, thousands_are_separated) {
  EXPECT_EQ(formatCount(0), "0");
  EXPECT_EQ(formatCount(999), "999");
  EXPECT_EQ(formatCount(1000), "1,000");
  EXPECT_EQ(formatCount(123456), "123,456");
  EXPECT_EQ(formatCount(18446744073709551615u), "18,446,744,073,709,551,615");
}

TEST(FormatBytes, the_unit_fits_the_size) {
  EXPECT_EQ(formatBytes(1023), "1023 B");
  EXPECT_EQ(formatBytes(1024), "1.0 KiB");
  EXPECT_EQ(formatBytes(uint64_t{3} << 29), "1.5 GiB");
}

TEST(DrawBar, its_length_is_its_share) {
  EXPECT_EQ(drawBar(0, 10, false), "");
  EXPECT_EQ(drawBar(0.5, 10, false), "#####");
  EXPECT_EQ(drawBar(1, 10, false), "##########");
  EXPECT_EQ(drawBar(7, 10, false), "##########");
  EXPECT_EQ(drawBar(1e-9, 10, false), "#");
  EXPECT_EQ(drawBar(0.25, 10, true), "██▌");
  EXPECT_EQ(drawBar(1e-9, 10, true), "▏");
}

}  // namespace
}  // namespace fibdb::program
