// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/toy_tables.h: small schemas that reach into the corners: odd rows, one index, many, shared prefixes.
#ifndef FIBDB_TESTS_SUPPORT_TOY_TABLES_H
#define FIBDB_TESTS_SUPPORT_TOY_TABLES_H

#include <cstdint>
#include <cstdlib>
#include <random>

#include "platform/schema/catalog.h"
#include "tests/support/table_twin.h"

namespace fibdb::test {

using schema::Field;
using schema::FieldKind;
using schema::IndexKind;

// A row of one byte that is the key.
inline constexpr auto kByteFields = schema::laidOut({Field{"k", FieldKind::kNumber, 1, 1}});
inline constexpr schema::Index kByteIndexes[] = {schema::indexOf(kByteFields, 0, IndexKind::kPrimary, "k")};

// Thirteen bytes, columns out of order and not aligned, two secondary keys.
inline constexpr auto kOddFields = schema::laidOut({
    Field{"a", FieldKind::kNumber, 1, 1},
    Field{"b", FieldKind::kNumber, 4, 1},
    Field{"k", FieldKind::kNumber, 2, 1},
    Field{"name", FieldKind::kBytes, 1, 3},
    Field{"words", FieldKind::kNumber, 1, 3},
});
inline constexpr schema::Index kOddIndexes[] = {
    schema::indexOf(kOddFields, 0, IndexKind::kPrimary, "k, name"),
    schema::indexOf(kOddFields, 1, IndexKind::kSecondary, "b, a"),
    schema::indexOf(kOddFields, 2, IndexKind::kSecondary, "words[1]"),
};

// Every kind of index, as routes have them.
inline constexpr auto kRouteFields = schema::laidOut({
    Field{"vr_id", FieldKind::kNumber, 4, 1},
    Field{"addr", FieldKind::kNumber, 4, 1},
    Field{"mask", FieldKind::kNumber, 1, 1},
    Field{"group", FieldKind::kNumber, 2, 1},
    Field{"note", FieldKind::kBytes, 1, 6},
});
inline constexpr schema::Index kRouteIndexes[] = {
    schema::indexOf(kRouteFields, 0, IndexKind::kPrimary, "vr_id, addr, mask"),
    schema::indexOf(kRouteFields, 1, IndexKind::kSecondary, "group, vr_id"),
    schema::indexOf(kRouteFields, 3, IndexKind::kLongest, "vr_id, addr, mask"),
    schema::indexOf(kRouteFields, 4, IndexKind::kOrdered, "vr_id, addr, mask"),
};

// A prefix without leading columns that several records can have, and an ordered key that is not unique.
inline constexpr auto kSharedFields = schema::laidOut({
    Field{"mask", FieldKind::kNumber, 1, 1},
    Field{"pad", FieldKind::kPad, 1, 3},
    Field{"addr", FieldKind::kNumber, 4, 1},
    Field{"owner", FieldKind::kNumber, 8, 1},
});
inline constexpr schema::Index kSharedIndexes[] = {
    schema::indexOf(kSharedFields, 0, IndexKind::kPrimary, "owner, addr, mask"),
    schema::indexOf(kSharedFields, 1, IndexKind::kLongest, "addr, mask"),
    schema::indexOf(kSharedFields, 2, IndexKind::kOrdered, "mask, owner"),
};

// As many secondary keys as a table can have.
inline constexpr auto kManyFields = schema::laidOut({
    Field{"k", FieldKind::kNumber, 4, 1},
    Field{"s", FieldKind::kNumber, 1, 6},
});
inline constexpr schema::Index kManyIndexes[] = {
    schema::indexOf(kManyFields, 0, IndexKind::kPrimary, "k"),
    schema::indexOf(kManyFields, 1, IndexKind::kSecondary, "s[0]"),
    schema::indexOf(kManyFields, 2, IndexKind::kSecondary, "s[1]"),
    schema::indexOf(kManyFields, 3, IndexKind::kSecondary, "s[2]"),
    schema::indexOf(kManyFields, 4, IndexKind::kSecondary, "s[3]"),
    schema::indexOf(kManyFields, 5, IndexKind::kSecondary, "s[4]"),
    schema::indexOf(kManyFields, 6, IndexKind::kSecondary, "s[5]"),
};

inline constexpr schema::Table kToyTables[] = {
    {"byte", schema::rowLengthOf(kByteFields), kByteFields, kByteIndexes},
    {"odd", schema::rowLengthOf(kOddFields), kOddFields, kOddIndexes},
    {"route", schema::rowLengthOf(kRouteFields), kRouteFields, kRouteIndexes},
    {"shared", schema::rowLengthOf(kSharedFields), kSharedFields, kSharedIndexes},
    {"many", schema::rowLengthOf(kManyFields), kManyFields, kManyIndexes},
};
inline constexpr size_t kRouteTable = 2;

// Room enough for the stores of tests.
inline constexpr uint64_t kSmallArena = uint64_t{64} << 20;

// Taken from FIBDB_SEED when it is set, to repeat a run.
inline uint64_t testSeed() {
  const char* text = std::getenv("FIBDB_SEED");
  return text != nullptr ? std::strtoull(text, nullptr, 0) : std::random_device{}();
}

// Rows whose key columns take few values, so that keys meet.
class RowSource {
 public:
  RowSource(const schema::Table& schema, uint64_t seed) : schema_(schema), random_(seed) {}

  size_t below(size_t bound) { return static_cast<size_t>(random_() % bound); }

  Bytes row() {
    Bytes row(schema_.rowLength);
    for (uint8_t& byte : row) byte = static_cast<uint8_t>(random_());
    for (const schema::Index& index : schema_.indexes) {
      for (const schema::Column& column : index.parts()) {
        std::fill_n(row.begin() + column.offset, column.size, uint8_t{0});
        row[column.offset + (below(2) != 0 ? 0U : column.size - 1U)] = static_cast<uint8_t>(below(3));
      }
    }
    for (const schema::Index& index : schema_.indexes) {
      if (index.kind == IndexKind::kLongest) putPrefix(row, index);
    }
    return row;
  }

  // The bytes of a key: mostly one that some row has.
  Bytes key(const schema::Index& index) { return packedKey(index, row()); }

  // A key of a longest-prefix index to look up: mostly a host.
  Bytes address(const schema::Index& index) {
    Bytes row = this->row();
    if (below(4) != 0) row[index.parts().back().offset] = 32;
    return packedKey(index, row);
  }

 private:
  void putPrefix(Bytes& row, const schema::Index& index) {
    static constexpr uint8_t kMasks[] = {0, 1, 2, 3, 24, 31, 32, 32, 33};
    const auto columns = index.parts();
    const uint32_t addr = static_cast<uint32_t>(below(4)) << 30 | static_cast<uint32_t>(below(3));
    std::memcpy(row.data() + columns[columns.size() - 2].offset, &addr, sizeof addr);
    row[columns.back().offset] = kMasks[below(std::size(kMasks))];
  }

  const schema::Table& schema_;
  std::mt19937_64 random_;
};

}  // namespace fibdb::test

#endif
