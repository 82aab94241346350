// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/output/output_test.cc: the same answers as text and as JSON.
#include "tools/fibdb/output/output.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

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
