// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/servable.h: which schemas tables can serve, and how much memory their writes can need.
#ifndef FIBDB_ENGINE_STORE_SERVABLE_H
#define FIBDB_ENGINE_STORE_SERVABLE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "engine/store/heap.h"
#include "engine/store/table.h"
#include "platform/schema/catalog.h"

namespace fibdb::store {

// The column of the primary key that is this column, or nullptr.
constexpr const schema::Column* inPrimary(const schema::Table& table, const schema::Column& column) {
  for (const schema::Column& part : table.primary().parts()) {
    if (part.offset == column.offset && part.size == column.size && part.kind == column.kind) return &part;
  }
  return nullptr;
}

// The most that a write allocates for one index of a kind: to enter a record, and to take one out.
constexpr uint32_t enterBytes(schema::IndexKind kind) {
  switch (kind) {
    case schema::IndexKind::kPrimary:
      return sizeof(HashBucket);
    case schema::IndexKind::kSecondary:
      return SecondaryIndex::kMaxEnterBytes;
    case schema::IndexKind::kOrdered:
      return OrderedIndex<OrderedEntry>::kMaxInsertBytes;
    case schema::IndexKind::kLongest:
      return PrefixTables::kMaxEnterBytes;
  }
  return 0;
}

constexpr uint32_t leaveBytes(schema::IndexKind kind) {
  switch (kind) {
    case schema::IndexKind::kPrimary:
      return 0;
    case schema::IndexKind::kSecondary:
      return SecondaryIndex::kMaxLeaveBytes;
    case schema::IndexKind::kOrdered:
      return OrderedIndex<OrderedEntry>::kMaxEraseBytes;
    case schema::IndexKind::kLongest:
      return PrefixTables::kMaxLeaveBytes;
  }
  return 0;
}

// What moving a record from one key to another in so many secondary indexes allocates.
constexpr uint32_t moveBytes(size_t keys) {
  return static_cast<uint32_t>(keys) * (SecondaryIndex::kMaxEnterBytes + SecondaryIndex::kMaxLeaveBytes);
}

// A removal gives back as many pieces as it takes, but for the nodes of tries: of each of their sizes one may have
// been cut from a piece that comes back smaller. How many pieces many removals in a row can lose by that.
inline constexpr uint32_t kSlackPieces = kPieceUnits + 7;

constexpr uint32_t sumOver(const schema::Table& table, uint32_t (*bytesOf)(schema::IndexKind)) {
  uint32_t sum = 0;
  for (const schema::Index& index : table.indexes) sum += bytesOf(index.kind);
  return sum;
}

// What a write that is not a removal leaves for the removal of any record.
constexpr uint32_t keptBytes(const schema::Table& table) {
  return sumOver(table, leaveBytes) + kSlackPieces * kPieceBytes;
}

// Whether any write to the table stays within what the heap can promise it.
constexpr bool writesFit(const schema::Table& table) {
  const auto secondary = std::ranges::count(table.indexes, schema::IndexKind::kSecondary, &schema::Index::kind);
  return sumOver(table, enterBytes) + keptBytes(table) <= kMaxEnsureBytes &&
         moveBytes(static_cast<size_t>(secondary)) + keptBytes(table) <= kMaxEnsureBytes;
}

// What a write notes in the log at most (undo_log.h), reckoned from what it allocates: the smallest blocks that are
// many are a trie's, of which it makes no more than pieces; of every block that it takes or gives back it notes no more
// than kNotesPerBlock words, the links to it among them. What it overwrites beside blocks are a few words per index.
inline constexpr uint32_t kNotesPerBlock = 12;
inline constexpr uint32_t kNotesPerIndex = 64;
constexpr uint32_t mostNotes(const schema::Table& table) {
  uint32_t blocks = 0;
  for (const schema::Index& index : table.indexes) {
    switch (index.kind) {
      case schema::IndexKind::kPrimary:
        blocks += 1;
        break;
      case schema::IndexKind::kSecondary:
      case schema::IndexKind::kOrdered:
        blocks += (enterBytes(index.kind) + leaveBytes(index.kind)) / kPieceBytes + 2;
        break;
      case schema::IndexKind::kLongest:
        blocks += PrefixTables::kMaxEnterPieces + PrefixTables::kMaxLeavePieces + kShortcutBlocks;
        break;
    }
  }
  return blocks * kNotesPerBlock + static_cast<uint32_t>(table.indexes.size()) * kNotesPerIndex;
}

// Ordered and longest-prefix keys must be made of columns of the primary key: they then never change while a
// record lives. If they did, a walk in their order could meet a record twice, or never.
constexpr bool neverChanges(const schema::Table& table, const schema::Index& index) {
  return std::ranges::all_of(index.parts(),
                             [&](const schema::Column& column) { return inPrimary(table, column) != nullptr; });
}

// The last two columns of a longest-prefix key are the address and the mask.
constexpr bool endsInPrefix(const schema::Index& index) {
  const auto columns = index.parts();
  return columns.size() >= 2 && columns[columns.size() - 2].size == sizeof Prefix::addr &&
         columns[columns.size() - 1].size == sizeof Prefix::length;
}

// The index whose tries keep the order of this one: that with the same columns. nullptr when there is none, or when its
// keys are not words that tries sort as numbers.
constexpr const schema::Index* triesOf(const schema::Table& table, const schema::Index& ordered) {
  const auto sameColumn = [](const schema::Column& a, const schema::Column& b) {
    return a.offset == b.offset && a.size == b.size && a.kind == b.kind;
  };
  for (const schema::Index& index : table.indexes) {
    if (index.kind != schema::IndexKind::kLongest || !endsInPrefix(index)) continue;
    if (!std::ranges::equal(index.parts(), ordered.parts(), sameColumn)) continue;
    const schema::Column& addr = index.parts()[index.parts().size() - 2];
    const size_t leading = index.keyLength - sizeof Prefix::addr - sizeof Prefix::length;
    const bool isWords = leading % sizeof(uint32_t) == 0 && addr.offset % sizeof(uint32_t) == 0 &&
                         addr.kind == schema::FieldKind::kNumber;
    return isWords ? &index : nullptr;
  }
  return nullptr;
}

constexpr bool servable(const schema::Table& table, const schema::Index& index) {
  if (index.keyLength > schema::kMaxKeyLength) return false;
  for (const schema::Column& column : index.parts()) {
    if (column.kind == schema::FieldKind::kNumber && column.size > sizeof(uint64_t)) return false;
  }
  switch (index.kind) {
    case schema::IndexKind::kPrimary:
      return &index == &table.primary();
    case schema::IndexKind::kSecondary:
      return true;
    case schema::IndexKind::kOrdered:
      return neverChanges(table, index) && index.keyLength <= KeyShape::kMaxOrderedKey;
    case schema::IndexKind::kLongest:
      return neverChanges(table, index) && endsInPrefix(index) &&
             index.keyLength <= KeyShape::kMaxOrderedKey + sizeof Prefix::addr + sizeof Prefix::length;
  }
  return false;
}

// Whether a table can serve this schema.
constexpr bool isServable(const schema::Table& table) {
  return !table.indexes.empty() && table.indexes.size() <= kMaxIndexes &&
         table.primary().kind == schema::IndexKind::kPrimary && table.rowLength <= schema::kMaxRowLength &&
         table.fields.size() <= schema::kMaxFields && writesFit(table) && mostNotes(table) <= kMostNotes &&
         std::ranges::all_of(table.indexes, [&](const schema::Index& index) { return servable(table, index); });
}

}  // namespace fibdb::store

#endif
