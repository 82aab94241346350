// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/base/words_test.cc: splitting lines, numbers, prefixes, abbreviations and near misses.
#include "tools/fibdb/base/words.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

#include "tools/fibdb/base/failure.h"

namespace fibdb::program {
namespace {

TEST(SplitWords, blanks_of_any_number_and_kind_separate_words) {
  EXPECT_EQ(splitWords("  show \t route  8.8.8.8\r\n"), (Words{"show", "route", "8.8.8.8"}));
  EXPECT_EQ(splitWords("   "), Words{});
}

TEST(SplitWords, quotes_and_backslashes_keep_blanks) {
  EXPECT_EQ(splitWords(R"(load "a b" 'c "d"' e\ f "g\"h")"), (Words{"load", "a b", "c \"d\"", "e f", "g\"h"}));
  EXPECT_EQ(splitWords(R"('' "")"), (Words{"", ""}));
}

TEST(SplitWords, a_comment_begins_only_at_the_start_of_a_word) {
  EXPECT_EQ(splitWords("count a#b # rest"), (Words{"count", "a#b"}));
  EXPECT_EQ(splitWords("# all of it"), Words{});
}

TEST(SplitWords, an_open_quote_is_a_usage_failure) {
  try {
    splitWords("load 'x");
    FAIL() << "no failure";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status(), Status::kUsage);
  }
}

TEST(ParseNumber, decimal_and_hexadecimal_up_to_the_limit_are_taken) {
  EXPECT_EQ(parseNumber("0"), 0u);
  EXPECT_EQ(parseNumber("255", 255), 255u);
  EXPECT_EQ(parseNumber("0xff", 255), 255u);
  EXPECT_EQ(parseNumber("18446744073709551615"), UINT64_MAX);
}

TEST(ParseNumber, anything_else_is_refused) {
  for (const char* text : {"", "-1", "+1", " 1", "1 ", "1x", "0x", "x", "256", "0x100", "1.5"}) {
    EXPECT_EQ(parseNumber(text, 255), std::nullopt) << text;
  }
  EXPECT_EQ(parseNumber("18446744073709551616"), std::nullopt);
}

struct PrefixCase {
  const char* text;
  PrefixFault fault;
};

TEST(ParsePrefix, each_text_gets_its_verdict) {
  using enum PrefixFault;
  constexpr PrefixCase kCases[] = {
      {"0.0.0.0/0", kNone},
      {"10.0.0.0/8", kNone},
      {"255.255.255.255", kNone},
      {"255.255.255.255/32", kNone},
      {"10.0.0.1/8", kBitsBeyondMask},
      {"0.0.0.1/0", kBitsBeyondMask},
      {"255.255.255.255/31", kBitsBeyondMask},
      {"10.0.0.0/33", kMaskAbove32},
      {"10.0.0.0/4294967328", kMaskAbove32},
      {"10.0.0.0/", kNoPrefix},
      {"10.0.0.0/-1", kNoPrefix},
      {"10.0.0.0/8x", kNoPrefix},
      {"10.0.0.0/0x8", kNoPrefix},
      {"10.0.0/8", kNoPrefix},
      {"10.0.0.0.0/8", kNoPrefix},
      {"256.0.0.0/8", kNoPrefix},
      {"010.0.0.0/8", kNoPrefix},
      {"10..0.0/8", kNoPrefix},
      {"2001:db8::/32", kNoPrefix},
      {"", kNoPrefix},
      {"/8", kNoPrefix},
      {"default", kNone},
      {"default/0", kNoPrefix},
  };
  for (const PrefixCase& c : kCases) {
    Prefix prefix;
    EXPECT_EQ(parsePrefix(c.text, prefix), c.fault) << c.text;
  }
}

TEST(ParsePrefix, default_is_the_prefix_of_all_addresses) {
  Prefix prefix{7, 7};
  EXPECT_EQ(parsePrefix("default", prefix), PrefixFault::kNone);
  EXPECT_EQ(prefix, (Prefix{0, 0}));
}

TEST(ParsePrefix, without_a_length_it_is_a_host) {
  Prefix prefix;
  ASSERT_EQ(parsePrefix("1.2.3.4", prefix), PrefixFault::kNone);
  EXPECT_EQ(prefix, (Prefix{0x01020304, 32}));
}

TEST(ParsePrefix, what_is_formatted_is_read_back_for_every_length) {
  std::mt19937 random(7);
  for (uint8_t length = 0; length <= 32; ++length) {
    for (int i = 0; i < 100; ++i) {
      const Prefix prefix{static_cast<uint32_t>(random()) & maskOf(length), length};
      Prefix read;
      ASSERT_EQ(parsePrefix(formatPrefix(prefix), read), PrefixFault::kNone) << formatPrefix(prefix);
      ASSERT_EQ(read, prefix);
    }
  }
}

TEST(Prefix, covers_exactly_the_addresses_from_the_first_to_the_last) {
  const Prefix prefix{0x0a000100, 24};
  EXPECT_FALSE(covers(prefix, 0x0a0000ff));
  EXPECT_TRUE(covers(prefix, 0x0a000100));
  EXPECT_TRUE(covers(prefix, lastAddress(prefix)));
  EXPECT_EQ(lastAddress(prefix), 0x0a0001ffu);
  EXPECT_FALSE(covers(prefix, 0x0a000200));
  EXPECT_TRUE(covers({0, 0}, UINT32_MAX));
}

TEST(InQuotes, bytes_that_are_not_printable_are_escaped_and_long_text_is_cut) {
  EXPECT_EQ(inQuotes(std::string_view("a\0\x1b\n\xff", 5)), R"("a\x00\x1b\x0a\xff")");
  EXPECT_EQ(inQuotes(R"(a"b\c)"), R"("a\"b\\c")");
  EXPECT_EQ(inQuotes(std::string(100, 'x'), 10), "\"xxxxxxxxxx...\"");
}

constexpr std::array<std::string_view, 5> kWords{"show", "save", "set", "table", "tables"};

TEST(MatchKeyword, a_unique_beginning_is_enough) {
  EXPECT_EQ(matchKeyword("sh", kWords).keyword, "show");
  EXPECT_EQ(matchKeyword("show", kWords).keyword, "show");
}

TEST(MatchKeyword, several_words_with_this_beginning_are_ambiguous) {
  const KeywordMatch match = matchKeyword("s", kWords);
  EXPECT_EQ(match.keyword, std::nullopt);
  EXPECT_EQ(match.matches, (std::vector<std::string_view>{"save", "set", "show"}));
}

TEST(MatchKeyword, a_word_that_begins_the_others_is_meant) {
  EXPECT_EQ(matchKeyword("tab", kWords).keyword, "table");
  EXPECT_EQ(matchKeyword("table", kWords).keyword, "table");
  EXPECT_EQ(matchKeyword("tables", kWords).keyword, "tables");
}

TEST(MatchKeyword, unknown_words_and_no_word_match_nothing) {
  EXPECT_EQ(matchKeyword("x", kWords).keyword, std::nullopt);
  EXPECT_EQ(matchKeyword("showx", kWords).keyword, std::nullopt);
  EXPECT_EQ(matchKeyword("", kWords).keyword, std::nullopt);
}

TEST(NearestWord, one_slip_finds_the_word) {
  for (const char* slip : {"shw", "shoow", "shaw", "hsow"}) EXPECT_EQ(nearestWord(slip, kWords), "show") << slip;
  EXPECT_EQ(nearestWord("talbe", kWords), "table");
  const std::array<std::string_view, 3> parts{"keep_ttl", "dlb", "dlb_gap_time"};
  for (const char* word : {"gap", "time"}) EXPECT_EQ(nearestWord(word, parts), "dlb_gap_time") << word;
  EXPECT_EQ(nearestWord("ttl", parts), "keep_ttl");
  EXPECT_EQ(nearestWord("tl", parts), std::nullopt);
}

TEST(NearestWord, words_far_from_all_have_none) {
  for (const char* word : {"x", "quit", "routes", "zzzz"}) EXPECT_EQ(nearestWord(word, kWords), std::nullopt) << word;
}

TEST(Address6, texts_of_the_usual_forms_come_back_in_the_shortest) {
  const auto again = [](std::string_view text) {
    const auto address = parseAddress6(text);
    return address ? formatAddress6(address->data()) : "no address";
  };
  EXPECT_EQ(again("::"), "::");
  EXPECT_EQ(again("2001:DB8:0:0:0:0:0:1"), "2001:db8::1");
  EXPECT_EQ(again("::ffff:10.0.0.1"), "::ffff:10.0.0.1");
  EXPECT_EQ(again("2001:db8"), "no address");
  EXPECT_EQ(again("10.0.0.1"), "no address");
  EXPECT_EQ(again(""), "no address");
  EXPECT_EQ(again(std::string_view("::1\0", 4)), "no address");
}

TEST(Hex, bytes_come_back_and_zeros_are_one_digit) {
  const auto again = [](std::string_view text) {
    const auto bytes = parseHex(text);
    return formatHex(bytes.data(), bytes.size());
  };
  EXPECT_EQ(again("00ff7F"), "00ff7f");
  EXPECT_EQ(again("0000"), "0");
  for (const std::string_view wrong : {"", "0", "0g", "+1", "0x01"}) EXPECT_TRUE(parseHex(wrong).empty()) << wrong;
}

TEST(Quoted, a_word_is_taken_for_itself_again) {
  for (const char* word : {"", "red", "red one", "it's", "#1", "a\\b", "\"", "-1.5:2/8,x_y", "\xC3\xA9", "a'b'c"}) {
    EXPECT_EQ(splitWords("x " + quoted(word) + " y"), (Words{"x", word, "y"})) << word;
  }
  EXPECT_EQ(quoted("10.0.0.0/8"), "10.0.0.0/8");
  EXPECT_EQ(quoted("red one"), "'red one'");
}

}  // namespace
}  // namespace fibdb::program
