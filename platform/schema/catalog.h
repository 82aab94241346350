// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// platform/schema/catalog.h: the schema as constant data: fields with their offsets, indexes with their columns.
//
// Expanded and checked at compile time: a column that names no field, or an index id whose key length is not the sum
// of its columns, does not compile.
#ifndef FIBDB_PLATFORM_SCHEMA_CATALOG_H
#define FIBDB_PLATFORM_SCHEMA_CATALOG_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>

namespace fibdb::schema {

// kNodes: a bit for each child node that was written, the first node's is the lowest. An update adds to them.
enum class FieldKind : uint8_t { kNumber, kBytes, kPad, kNodes };

struct Field {
  std::string_view name;  // empty: padding
  FieldKind kind;
  uint8_t width;   // bytes of one element
  uint16_t count;  // elements: more than one for byte blocks and arrays
  uint16_t offset = 0;

  constexpr uint16_t size() const { return static_cast<uint16_t>(width * count); }
};

enum class IndexKind : uint8_t { kPrimary = 1, kOrdered = 2, kLongest = 5, kSecondary = 9 };

// One part of a key: where it stands in the row, and how wide it is. Numbers are compared as numbers.
struct Column {
  uint16_t offset = 0;
  uint16_t size = 0;
  FieldKind kind = FieldKind::kNumber;
};

inline constexpr size_t kMaxColumns = 8;
inline constexpr size_t kMaxKeyLength = 64;
inline constexpr size_t kMaxRowLength = 320;
inline constexpr size_t kMaxFields = 64;  // one bit each in a set of staged fields
inline constexpr size_t kMaxNodes = 8;    // one bit each in the byte that says which were written

struct Index {
  uint8_t number = 0;
  IndexKind kind = IndexKind::kPrimary;
  uint16_t keyLength = 0;  // bytes of the packed key
  uint8_t columnCount = 0;
  std::array<Column, kMaxColumns> columns{};

  constexpr uint32_t id() const { return uint32_t{number} << 24 | static_cast<uint32_t>(kind) << 16 | keyLength; }
  constexpr std::span<const Column> parts() const { return {columns.data(), columnCount}; }
};

struct Table {
  std::string_view name;
  uint16_t rowLength;
  std::span<const Field> fields;
  std::span<const Index> indexes;  // the primary key is the first
  std::span<const std::string_view> nodes;

  constexpr const Index& primary() const { return indexes.front(); }
};

// Not constexpr, hence calling one of these while the schema is expanded is the compile error.
void columnNamesNoField();
void tooManyColumns();

template <size_t N>
constexpr std::array<Field, N> laidOut(const Field (&rows)[N]) {
  std::array<Field, N> fields{};
  uint16_t offset = 0;
  for (size_t i = 0; i < N; ++i) {
    fields[i] = rows[i];
    fields[i].offset = offset;
    offset = static_cast<uint16_t>(offset + rows[i].size());
  }
  return fields;
}

constexpr uint16_t rowLengthOf(std::span<const Field> fields) {
  return static_cast<uint16_t>(fields.back().offset + fields.back().size());
}

// While the schema is expanded, the C++ library compares strings in many small steps: every source would wait for them.
constexpr bool isSame(std::string_view a, std::string_view b) {
  return a.size() == b.size() && __builtin_memcmp(a.data(), b.data(), a.size()) == 0;
}

constexpr const Field* findField(std::span<const Field> fields, std::string_view name) {
  for (const Field& field : fields) {
    if (!field.name.empty() && isSame(field.name, name)) return &field;
  }
  return nullptr;
}

// "a", or "a[2]" for an element of an array.
consteval Column columnNamed(std::span<const Field> fields, std::string_view text) {
  const size_t bracket = text.find('[');
  const Field* field = findField(fields, text.substr(0, bracket));
  if (field == nullptr) columnNamesNoField();
  Column column{field->offset, field->size(), field->kind};
  if (bracket != std::string_view::npos) {
    const auto element = static_cast<uint16_t>(text[bracket + 1] - '0');
    if (element >= field->count) columnNamesNoField();
    column.offset = static_cast<uint16_t>(column.offset + element * field->width);
    column.size = field->width;
  }
  return column;
}

consteval Index indexOf(std::span<const Field> fields, uint8_t number, IndexKind kind, std::string_view columns) {
  Index index{number, kind, 0, 0, {}};
  while (!columns.empty()) {
    const size_t comma = columns.find(", ");
    if (index.columnCount == kMaxColumns) tooManyColumns();
    const Column column = columnNamed(fields, columns.substr(0, comma));
    index.columns[index.columnCount++] = column;
    index.keyLength = static_cast<uint16_t>(index.keyLength + column.size);
    columns = comma == std::string_view::npos ? std::string_view() : columns.substr(comma + 2);
  }
  return index;
}

// kFields_<t>: the fields of each table, in storage order.
#define TABLE(t) inline constexpr auto kFields_##t = laidOut({
#define SCALAR(t, name, type, access) Field{#name, FieldKind::kNumber, sizeof(type), 1},
#define BYTES(t, name, count, access) Field{#name, FieldKind::kBytes, 1, count},
#define ARRAY(t, name, type, count) Field{#name, FieldKind::kNumber, sizeof(type), count},
#define PAD(t, count) Field{"", FieldKind::kPad, 1, count},
#define NODES(t, name) Field{#name, FieldKind::kNodes, 1, 1},
#define END_TABLE(t) \
  });                \
  static_assert(kFields_##t.size() <= kMaxFields && rowLengthOf(kFields_##t) <= kMaxRowLength);
#include "platform/schema/tables.def"

namespace kind {
inline constexpr IndexKind PRIMARY = IndexKind::kPrimary;
inline constexpr IndexKind ORDERED = IndexKind::kOrdered;
inline constexpr IndexKind LONGEST = IndexKind::kLongest;
inline constexpr IndexKind SECONDARY = IndexKind::kSecondary;
}  // namespace kind

// kIndexes_<t>: the indexes of each table.
#define TABLE(t) inline constexpr Index kIndexes_##t[] = {
#define INDEX(t, number, kind_, id, columns) indexOf(kFields_##t, number, kind::kind_, columns),
#define END_TABLE(t) \
  }                  \
  ;                  \
  static_assert(kIndexes_##t[0].kind == IndexKind::kPrimary);
#include "platform/schema/tables.def"

// kNodes_<t>: the names of the child nodes of each table, and an empty one at the end.
#define TABLE(t) inline constexpr std::string_view kNodes_##t[] = {
#define NODE(t, node) #node,
#define END_TABLE(t) \
  std::string_view() \
  }                  \
  ;                  \
  static_assert(std::size(kNodes_##t) - 1 <= kMaxNodes);
#include "platform/schema/tables.def"

// Whether these are the ids of a table's indexes, all of them in order: what holds the ids that callers write.
consteval bool indexesAre(std::span<const Index> indexes, std::initializer_list<uint32_t> ids) {
  if (indexes.size() != ids.size()) return false;
  for (size_t i = 0; i < indexes.size(); ++i) {
    if (indexes[i].id() != ids.begin()[i]) return false;
  }
  return true;
}

consteval bool keysFit(std::span<const Index> indexes) {
  for (const Index& index : indexes) {
    if (index.keyLength > kMaxKeyLength) return false;
  }
  return true;
}

// The id literals say what the columns add up to.
#define TABLE(t) static_assert(keysFit(kIndexes_##t) && indexesAre(kIndexes_##t, {
#define INDEX(t, number, kind, id, columns) id,
#define END_TABLE(t) \
  }));
#include "platform/schema/tables.def"

// TableId::<t>: the table's place in kTables.
enum class TableId : uint16_t {
#define TABLE(t) t,
#include "platform/schema/tables.def"
};

inline constexpr Table kTables[] = {
#define TABLE(t) \
  {#t, rowLengthOf(kFields_##t), kFields_##t, kIndexes_##t, std::span(kNodes_##t).first(std::size(kNodes_##t) - 1)},
#include "platform/schema/tables.def"
};
inline constexpr size_t kTableCount = std::size(kTables);

// The number of a child node, or how many there are.
constexpr size_t nodeNumber(std::span<const std::string_view> nodes, std::string_view name) {
  size_t number = 0;
  while (number < nodes.size() && nodes[number] != name) ++number;
  return number;
}

// The field that says which nodes were written; nullptr for a table without nodes.
constexpr const Field* nodesField(std::span<const Field> fields) {
  for (const Field& field : fields) {
    if (field.kind == FieldKind::kNodes) return &field;
  }
  return nullptr;
}

consteval bool allMarkTheirNodes() {
  for (const Table& table : kTables) {
    if (table.nodes.empty() != (nodesField(table.fields) == nullptr)) return false;
  }
  return true;
}
static_assert(allMarkTheirNodes());

// Where a named field stands, for checks of records that mirror a row: offsetOf(kFields_nhp, "vr_id").
consteval size_t offsetOf(std::span<const Field> fields, std::string_view name) {
  const Field* field = findField(fields, name);
  if (field == nullptr) columnNamesNoField();
  return field->offset;
}

// Whether a record's member stands where the column of this name stands, and is as large.
constexpr bool stands(std::span<const Field> fields, std::string_view column, size_t offset, size_t size) {
  const Field* field = findField(fields, column);
  return field != nullptr && field->offset == offset && field->size() == size;
}

// kIsRow_<t><Record>: whether every column of the table is a member of this record, at its place and of its size.
#define TABLE(t)          \
  template <class Record> \
  inline constexpr bool kIsRow_##t =
#define SCALAR_AS(t, column, name, type, access) \
  stands(kFields_##t, #column, offsetof(Record, name), sizeof(Record::name))&&
#define SCALAR(t, name, type, access) SCALAR_AS(t, name, name, type, access)
#define BYTES(t, name, count, access) SCALAR_AS(t, name, name, uint8_t[count], access)
#define ARRAY(t, name, type, count) SCALAR_AS(t, name, name, type[count], NONE)
#define END_TABLE(t) sizeof(Record) == rowLengthOf(kFields_##t);
#include "platform/schema/tables.def"

}  // namespace fibdb::schema

#endif
