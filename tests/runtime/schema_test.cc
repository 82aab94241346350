// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/runtime/schema_test.cc: what the schema expands to, on a table of this test and on the real ones.
#include "platform/schema/catalog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace fibdb::schema {
namespace {

constexpr auto kToy = laidOut({Field{"index", FieldKind::kNumber, 4, 1}, Field{"byte", FieldKind::kNumber, 1, 1},
                               Field{"", FieldKind::kPad, 1, 2}, Field{"words", FieldKind::kNumber, 4, 3},
                               Field{"block", FieldKind::kBytes, 1, 5}});

TEST(Schema, lays_fields_out_without_gaps) {
  EXPECT_EQ(offsetOf(kToy, "index"), 0u);
  EXPECT_EQ(offsetOf(kToy, "byte"), 4u);
  EXPECT_EQ(offsetOf(kToy, "words"), 7u);
  EXPECT_EQ(offsetOf(kToy, "block"), 19u);
  EXPECT_EQ(rowLengthOf(kToy), 24u);
}

TEST(Schema, packs_number_kind_and_key_length_into_the_index_id) {
  constexpr Index index = indexOf(kToy, 3, IndexKind::kSecondary, "byte, words[1], block");
  EXPECT_EQ(index.id(), 0x0309000Au);
  ASSERT_EQ(index.columnCount, 3);
  EXPECT_EQ(index.columns[1].offset, 11u);
  EXPECT_EQ(index.columns[1].size, 4u);
  EXPECT_EQ(index.columns[2].size, 5u);
}

// A record is a table's row when each column is a member at its place, of its size, and nothing follows the last one.
struct LikeSpecialIp {
  uint32_t specialKey, specialWord;
  uint8_t specialByte, zero[3], specialPart1[2], specialPart2[2];
};
struct Swapped {
  uint32_t specialWord, specialKey;
  uint8_t specialByte, zero[3], specialPart1[2], specialPart2[2];
};
struct Wider {
  uint32_t specialKey, specialWord;
  uint16_t specialByte;
  uint8_t zero[2], specialPart1[2], specialPart2[2];
};
struct Longer {
  uint32_t specialKey, specialWord;
  uint8_t specialByte, zero[3], specialPart1[2], specialPart2[2];
  uint32_t more;
};

TEST(Schema, tells_a_tables_row_from_records_that_are_not) {
  EXPECT_TRUE(kIsRow_fib_special_ip<LikeSpecialIp>);
  EXPECT_FALSE(kIsRow_fib_special_ip<Swapped>);
  EXPECT_FALSE(kIsRow_fib_special_ip<Wider>);
  EXPECT_FALSE(kIsRow_fib_special_ip<Longer>);
}

TEST(Schema, indexesAre_wants_every_id_and_no_other) {
  constexpr Index indexes[] = {indexOf(kToy, 0, IndexKind::kPrimary, "index"),
                               indexOf(kToy, 2, IndexKind::kSecondary, "byte")};
  EXPECT_TRUE(indexesAre(indexes, {0x00010004, 0x02090001}));
  EXPECT_FALSE(indexesAre(indexes, {0x02090001, 0x00010004}));
  EXPECT_FALSE(indexesAre(indexes, {0x00010004, 0x01090001}));
  EXPECT_FALSE(indexesAre(indexes, {0x00010004}));
  EXPECT_FALSE(indexesAre(indexes, {0x00010004, 0x02090001, 0x03090001}));
}

TEST(Schema, names_each_table_once) {
  std::set<std::string_view> names;
  for (const Table& table : kTables) names.insert(table.name);
  EXPECT_EQ(names.size(), kTableCount);
  EXPECT_EQ(kTableCount, 28u);
}

// Row lengths as the callers of the flat calls know them.
TEST(Schema, rows_have_their_lengths) {
  struct {
    const char* table;
    uint16_t length;
  } const expected[] = {
      {"ip4forward", 124},   {"ar_group_attr", 120}, {"nhp_ext", 136},           {"nhp_ext_label", 96},
      {"nhp_vpnsid", 256},   {"nhp_group_node", 76}, {"pri_attr", 40},           {"fib_dod_aging", 22},
      {"fib_dod_rule", 104}, {"vrf_class_data", 72}, {"ip_force_frag", 20},      {"virtual_meth_host_route", 20},
      {"fwd_vs_vpn", 88},    {"fib_special_ip", 16}, {"fib_special_ip_sub", 80}, {"pp4ext_srv6_te", 156}};
  for (const auto& row : expected) {
    const auto* const table = std::ranges::find(kTables, std::string_view(row.table), &Table::name);
    ASSERT_NE(table, std::end(kTables)) << row.table;
    EXPECT_EQ(table->rowLength, row.length) << row.table;
  }
}

TEST(Schema, index_numbers_are_unique_within_a_table) {
  for (const Table& table : kTables) {
    std::set<uint8_t> numbers;
    for (const Index& index : table.indexes) EXPECT_TRUE(numbers.insert(index.number).second) << table.name;
  }
}

}  // namespace
}  // namespace fibdb::schema
