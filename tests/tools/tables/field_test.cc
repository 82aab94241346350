// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/tables/field_test.cc: addresses that an item holds as words in host byte order, and prefixes.
#include "tools/fibdb/tables/field.h"

#include <gtest/gtest.h>

#include <cstring>

namespace fibdb::program {
namespace {

constexpr Layout kWords{.kind = Kind::kAddress6Words, .width = 1, .count = 16};

// The bytes of an item that holds this address.
std::string stored(const char* text) {
  std::string bytes(16, '\0');
  EXPECT_EQ(storeAt(bytes.data(), kWords, text), "");
  return bytes;
}

TEST(AddressOfWords, is_stored_as_four_numbers_and_shown_as_it_was_typed) {
  const std::string bytes = stored("2001:db8:a:b::1");
  const uint32_t words[] = {0x20010DB8, 0x000A000B, 0, 1};
  EXPECT_EQ(std::memcmp(bytes.data(), words, sizeof words), 0);
  EXPECT_EQ(std::get<std::string>(valueAt(bytes.data(), kWords)), "2001:db8:a:b::1");
}

TEST(AddressOfWords, is_ordered_as_addresses_are_not_as_its_bytes_lie) {
  const std::string low = stored("::1:0");
  const std::string high = stored("::2:0");
  const std::string higher = stored("1::");
  EXPECT_EQ(compareAt(low.data(), high.data(), kWords), std::strong_ordering::less);
  EXPECT_EQ(compareAt(high.data(), higher.data(), kWords), std::strong_ordering::less);
  EXPECT_EQ(compareAt(stored("::100").data(), stored("::ff").data(), kWords), std::strong_ordering::greater);
  EXPECT_EQ(compareAt(low.data(), stored("::1:0").data(), kWords), std::strong_ordering::equal);
}

TEST(AddressOfWords, is_not_any_text) {
  std::string bytes(16, 'x');
  EXPECT_EQ(storeAt(bytes.data(), kWords, "1.2.3.4"), "\"1.2.3.4\" is not an IPv6 address");
  EXPECT_EQ(bytes, std::string(16, 'x'));
}

TEST(AddressOfWords, is_an_address_in_a_usage) { EXPECT_EQ(placeholderOf(kWords), "ADDRESS"); }

constexpr Layout kPrefix{.kind = Kind::kPrefix, .width = kPrefixBytes};

TEST(PrefixField, is_an_address_in_host_byte_order_and_a_mask_behind_it) {
  unsigned char bytes[6] = {0, 0, 0, 0, 0, 0xEE};
  EXPECT_EQ(storeAt(bytes, kPrefix, "10.1.0.0/16"), "");
  const unsigned char expected[] = {0, 0, 1, 10, 16, 0xEE};
  EXPECT_EQ(std::memcmp(bytes, expected, sizeof bytes), 0);
  EXPECT_EQ(std::get<std::string>(valueAt(bytes, kPrefix)), "10.1.0.0/16");
  EXPECT_EQ(placeholderOf(kPrefix), "PREFIX");
}

TEST(PrefixField, that_is_none_is_refused_and_changes_nothing) {
  unsigned char bytes[5] = {1, 2, 3, 4, 5};
  EXPECT_EQ(storeAt(bytes, kPrefix, "10.0.0.1/8"), "\"10.0.0.1/8\": bits set beyond the mask");
  EXPECT_EQ(storeAt(bytes, kPrefix, "10.0.0.0/33"), "\"10.0.0.0/33\": mask above 32");
  EXPECT_NE(storeAt(bytes, kPrefix, "ten"), "");
  EXPECT_EQ(bytes[0], 1);
  EXPECT_EQ(bytes[4], 5);
}

TEST(PrefixField, is_ordered_by_address_then_by_mask) {
  const auto stored = [](const char* text) {
    std::string bytes(kPrefixBytes, '\0');
    EXPECT_EQ(storeAt(bytes.data(), kPrefix, text), "");
    return bytes;
  };
  EXPECT_EQ(compareAt(stored("9.0.0.0/24").data(), stored("10.0.0.0/8").data(), kPrefix), std::strong_ordering::less);
  EXPECT_EQ(compareAt(stored("10.0.0.0/8").data(), stored("10.0.0.0/9").data(), kPrefix), std::strong_ordering::less);
}

}  // namespace
}  // namespace fibdb::program
