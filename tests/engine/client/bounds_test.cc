// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/bounds_test.cc: the bounds-checked functions, each rule with a buffer around it.
#include "platform/bounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>

namespace fibdb::testing {
namespace {

constexpr size_t kMost = INT32_MAX;

// Eight bytes to work on between guards that must survive.
struct Guarded {
  char before[4] = {'b', 'b', 'b', 'b'};
  char bytes[8] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
  char after[4] = {'a', 'a', 'a', 'a'};

  std::string content() const { return {bytes, sizeof bytes}; }
  ~Guarded() {
    EXPECT_EQ(std::string(before, 4), "bbbb");
    EXPECT_EQ(std::string(after, 4), "aaaa");
  }
};

const std::string kZeros(8, '\0');

TEST(memcpy_s, copies_exactly_count_bytes) {
  Guarded to;
  EXPECT_EQ(memcpy_s(to.bytes, 8, "abcd", 4), 0);
  EXPECT_EQ(to.content(), "abcdxxxx");
  EXPECT_EQ(memcpy_s(to.bytes, 8, "12345678", 8), 0);
  EXPECT_EQ(to.content(), "12345678");
  EXPECT_EQ(memcpy_s(to.bytes, 8, "y", 0), 0);
  EXPECT_EQ(memcpy_s(to.bytes, 0, "y", 0), 0);
  EXPECT_EQ(to.content(), "12345678");
}

TEST(memcpy_s, too_much_is_refused_and_the_destination_zeroed) {
  Guarded to;
  EXPECT_EQ(memcpy_s(to.bytes, 8, "123456789", 9), ERANGE);
  EXPECT_EQ(to.content(), kZeros);
  Guarded negative;
  EXPECT_EQ(memcpy_s(negative.bytes, 8, "1", SIZE_MAX), ERANGE);
  EXPECT_EQ(negative.content(), kZeros);
}

TEST(memcpy_s, null_is_refused_and_a_destination_zeroed) {
  Guarded to;
  EXPECT_EQ(memcpy_s(nullptr, 8, "1", 1), EINVAL);
  EXPECT_EQ(memcpy_s(to.bytes, 8, nullptr, 1), EINVAL);
  EXPECT_EQ(to.content(), kZeros);
}

TEST(memcpy_s, a_huge_destination_size_is_refused_without_writing) {
  for (const size_t size : {kMost + 1, size_t{1} << 32, SIZE_MAX}) {
    Guarded to;
    EXPECT_EQ(memcpy_s(to.bytes, size, "1", 1), ERANGE);
    EXPECT_EQ(to.content(), "xxxxxxxx");
  }
}

TEST(memcpy_s, every_overlap_and_no_neighbourhood_is_refused) {
  for (size_t to = 0; to < 8; ++to) {
    for (size_t from = 0; from < 8; ++from) {
      for (size_t count = 0; count <= 8 - std::max(to, from); ++count) {
        char bytes[] = "01234567";
        const std::string source(bytes + from, count);
        const bool overlaps = count > 0 && to < from + count && from < to + count;
        EXPECT_EQ(memcpy_s(bytes + to, 8 - to, bytes + from, count), overlaps ? EINVAL : 0);
        EXPECT_EQ(std::string(bytes + to, overlaps ? 8 - to : count), overlaps ? std::string(8 - to, '\0') : source);
      }
    }
  }
}

TEST(memset_s, fills_exactly_count_bytes) {
  Guarded to;
  EXPECT_EQ(memset_s(to.bytes, 8, 'z', 3), 0);
  EXPECT_EQ(to.content(), "zzzxxxxx");
  EXPECT_EQ(memset_s(to.bytes, 8, 0, 8), 0);
  EXPECT_EQ(to.content(), kZeros);
}

TEST(memset_s, too_much_is_refused_and_the_whole_destination_filled) {
  for (const size_t count : {size_t{9}, kMost + 1, SIZE_MAX}) {
    Guarded to;
    EXPECT_EQ(memset_s(to.bytes, 8, 'z', count), ERANGE);
    EXPECT_EQ(to.content(), "zzzzzzzz");
  }
}

TEST(memset_s, null_and_a_huge_destination_size_are_refused_without_writing) {
  EXPECT_EQ(memset_s(nullptr, 8, 'z', 8), EINVAL);
  for (const size_t size : {kMost + 1, size_t{1} << 32, SIZE_MAX}) {
    Guarded to;
    EXPECT_EQ(memset_s(to.bytes, size, 'z', 8), ERANGE);
    EXPECT_EQ(to.content(), "xxxxxxxx");
  }
}

TEST(strcpy_s, copies_a_string_that_fits_with_its_end) {
  Guarded to;
  EXPECT_EQ(strcpy_s(to.bytes, 8, "abc"), 0);
  EXPECT_EQ(to.content(), std::string("abc\0xxxx", 8));
  EXPECT_EQ(strcpy_s(to.bytes, 8, "1234567"), 0);
  EXPECT_STREQ(to.bytes, "1234567");
  EXPECT_EQ(strcpy_s(to.bytes, 1, ""), 0);
  EXPECT_STREQ(to.bytes, "");
}

TEST(strcpy_s, one_that_does_not_fit_is_refused_and_leaves_an_empty_string) {
  Guarded to;
  EXPECT_EQ(strcpy_s(to.bytes, 8, "12345678"), ERANGE);
  EXPECT_STREQ(to.bytes, "");
  EXPECT_EQ(strcpy_s(to.bytes, 0, ""), ERANGE);
  EXPECT_EQ(strcpy_s(to.bytes, kMost + 1, "a"), ERANGE);
  EXPECT_STREQ(to.bytes, "");
}

TEST(strcpy_s, null_and_overlap_are_refused) {
  Guarded to;
  EXPECT_EQ(strcpy_s(nullptr, 8, "a"), EINVAL);
  EXPECT_EQ(strcpy_s(to.bytes, 8, nullptr), EINVAL);
  EXPECT_STREQ(to.bytes, "");
  char bytes[8] = "ab";
  EXPECT_EQ(strcpy_s(bytes + 1, 7, bytes), EINVAL);
  EXPECT_EQ(strcpy_s(bytes, 8, bytes), EINVAL);
}

TEST(strncpy_s, copies_at_most_count_characters_and_ends_the_string) {
  Guarded to;
  EXPECT_EQ(strncpy_s(to.bytes, 8, "abcdefghijk", 3), 0);
  EXPECT_EQ(to.content(), std::string("abc\0xxxx", 8));
  EXPECT_EQ(strncpy_s(to.bytes, 8, "abcdefghijk", 7), 0);
  EXPECT_STREQ(to.bytes, "abcdefg");
  EXPECT_EQ(strncpy_s(to.bytes, 8, "ab", 100), 0);
  EXPECT_STREQ(to.bytes, "ab");
  EXPECT_EQ(strncpy_s(to.bytes, 8, "ab", 0), 0);
  EXPECT_STREQ(to.bytes, "");
}

TEST(strncpy_s, reads_no_further_than_count) {
  const char unterminated[3] = {'a', 'b', 'c'};
  Guarded to;
  EXPECT_EQ(strncpy_s(to.bytes, 8, unterminated, 3), 0);
  EXPECT_STREQ(to.bytes, "abc");
}

TEST(strncpy_s, what_does_not_fit_is_refused_and_leaves_an_empty_string) {
  Guarded to;
  EXPECT_EQ(strncpy_s(to.bytes, 8, "123456789", 8), ERANGE);
  EXPECT_STREQ(to.bytes, "");
  EXPECT_EQ(strncpy_s(to.bytes, 8, "a", kMost + 1), ERANGE);
  EXPECT_EQ(strncpy_s(to.bytes, 0, "a", 1), ERANGE);
  EXPECT_EQ(strncpy_s(nullptr, 8, "a", 1), EINVAL);
  EXPECT_EQ(strncpy_s(to.bytes, 8, nullptr, 1), EINVAL);
}

}  // namespace
}  // namespace fibdb::testing
