// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/table_twin.h: what a table and its cursors should do, as a sorted map and linear scans.
#ifndef FIBDB_TESTS_SUPPORT_TABLE_TWIN_H
#define FIBDB_TESTS_SUPPORT_TABLE_TWIN_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/store/table.h"
#include "fibdb/engine.h"
#include "platform/schema/catalog.h"

namespace fibdb::test {

using Bytes = std::vector<uint8_t>;

inline uint64_t numberAt(const uint8_t* at, size_t size) {
  uint64_t value = 0;
  for (size_t i = 0; i < size; ++i) value |= uint64_t{at[i]} << 8 * i;
  return value;
}

// The key's columns, so that comparing the results compares the keys: numbers as numbers.
using Sortable = std::vector<std::pair<uint64_t, Bytes>>;

inline void appendColumn(Sortable& out, const schema::Column& column, const uint8_t* at) {
  if (column.kind == schema::FieldKind::kNumber) {
    out.push_back({numberAt(at, column.size), {}});
  } else {
    out.push_back({0, Bytes(at, at + column.size)});
  }
}

inline Sortable sortableInRow(const schema::Index& index, const Bytes& row) {
  Sortable key;
  for (const schema::Column& column : index.parts()) appendColumn(key, column, row.data() + column.offset);
  return key;
}

inline Sortable sortableOfKey(const schema::Index& index, const uint8_t* packed) {
  Sortable key;
  for (const schema::Column& column : index.parts()) {
    appendColumn(key, column, packed);
    packed += column.size;
  }
  return key;
}

inline Bytes packedKey(const schema::Index& index, const Bytes& row) {
  Bytes key;
  for (const schema::Column& column : index.parts()) {
    key.insert(key.end(), row.begin() + column.offset, row.begin() + column.offset + column.size);
  }
  return key;
}

inline bool covers(uint64_t prefix, uint64_t length, uint64_t addr) {
  return length == 0 || (prefix ^ addr) >> (32 - length) == 0;
}

class TableTwin {
 public:
  struct Record {
    uint64_t born;
    std::vector<std::pair<uint64_t, Bytes>> versions;  // since when, row

    const Bytes& row() const { return versions.back().second; }
  };

  explicit TableTwin(const schema::Table& schema) : schema_(schema) {}

  const schema::Table& layout() const { return schema_; }
  uint64_t now() const { return now_; }
  const std::map<Sortable, Record>& records() const { return records_; }

  uint32_t write(const Bytes& row, store::Change& change) {
    for (const schema::Index& index : schema_.indexes) {
      if (index.kind == schema::IndexKind::kLongest && row[index.parts().back().offset] > 32) return DB_ERR_BAD_KEY;
    }
    ++now_;
    const Sortable key = sortableInRow(schema_.primary(), row);
    const auto [at, isNew] = records_.try_emplace(key, Record{now_, {}});
    at->second.versions.push_back({now_, row});
    change = isNew ? store::Change::kInserted : store::Change::kReplaced;
    return 0;
  }

  uint32_t update(const Bytes& key, const Bytes& row, store::FieldSet staged) {
    const auto at = records_.find(sortableOfKey(schema_.primary(), key.data()));
    if (at == records_.end()) return DB_ERR_NO_DATA;
    Bytes changed = at->second.row();
    for (size_t i = 0; i < schema_.fields.size(); ++i) {
      const schema::Field& field = schema_.fields[i];
      if ((staged >> i & 1) == 0) continue;
      const uint8_t written = field.kind == schema::FieldKind::kNodes ? changed[field.offset] : 0;
      std::copy_n(row.begin() + field.offset, field.size(), changed.begin() + field.offset);
      changed[field.offset] |= written;  // an update adds to the child nodes
    }
    if (sortableInRow(schema_.primary(), changed) != at->first) return DB_ERR_KEY_MISMATCH;
    at->second.versions.push_back({++now_, changed});
    return 0;
  }

  uint32_t remove(const schema::Index& index, const Bytes& key, uint64_t& removed) {
    removed = 0;
    if (!isHash(index)) return DB_ERR_BAD_INDEX;
    ++now_;
    const Sortable wanted = sortableOfKey(index, key.data());
    removed =
        std::erase_if(records_, [&](const auto& entry) { return sortableInRow(index, entry.second.row()) == wanted; });
    return removed == 0 ? uint32_t{DB_ERR_NO_DATA} : 0;
  }

  uint32_t read(const schema::Index& index, const Bytes& key, Bytes& row) const {
    if (!isHash(index)) return DB_ERR_BAD_INDEX;
    const Sortable wanted = sortableOfKey(index, key.data());
    for (const auto& [primary, record] : records_) {
      if (sortableInRow(index, record.row()) != wanted) continue;
      row = record.row();
      return 0;
    }
    return DB_ERR_NO_DATA;
  }

  uint32_t countByKey(const schema::Index& index, const Bytes& key, uint64_t& count) const {
    if (!isHash(index)) return DB_ERR_BAD_INDEX;
    const Sortable wanted = sortableOfKey(index, key.data());
    count = static_cast<uint64_t>(std::ranges::count_if(
        records_, [&](const auto& entry) { return sortableInRow(index, entry.second.row()) == wanted; }));
    return 0;
  }

 private:
  static bool isHash(const schema::Index& index) {
    return index.kind == schema::IndexKind::kPrimary || index.kind == schema::IndexKind::kSecondary;
  }

  const schema::Table& schema_;
  uint64_t now_ = 0;
  std::map<Sortable, Record> records_;
};

// Judges what a cursor returns while its table is being written.
class CursorTwin {
 public:
  // index nullptr: the whole table. Ordered: from key to high.
  CursorTwin(const TableTwin& table, const schema::Index* index, Bytes key, Bytes high)
      : table_(table), index_(index), key_(std::move(key)), high_(std::move(high)), openedAt_(table.now()) {}

  void keepOnly(const schema::Field& field, uint32_t value) { filter_ = {&field, value}; }

  // What is wrong with getting this row now; empty if nothing.
  std::string got(const Bytes& row) {
    if (ended_) return "a record after the end";
    const Sortable primary = sortableInRow(table_.layout().primary(), row);
    const auto at = table_.records().find(primary);
    if (at == table_.records().end()) return "a record that does not exist";
    if (at->second.row() != row) return "a row that is not the record's";
    // A lookup is the first step along prefixes, and right for the moment in which it is made.
    const bool isLookup = index_ != nullptr && index_->kind == schema::IndexKind::kLongest && returned_.empty();
    if (at->second.born > openedAt_ && !isLookup) return "a record younger than the cursor";
    if (!wants(row)) return "a record outside the cursor's key";
    if (!returned_.insert({primary, at->second.born}).second) return "a record for the second time";
    const Sortable place = placeOf(row);
    if (place < last_) return "a record out of order";
    last_ = place;
    return "";
  }

  // What is wrong with the end having come now.
  std::string end() {
    ended_ = true;
    for (const auto& [primary, record] : table_.records()) {
      if (record.born > openedAt_ || !wantedThroughout(record)) continue;
      if (!returned_.contains({primary, record.born})) return "the end without a record that was there all the time";
    }
    return "";
  }

 private:
  bool wants(const Bytes& row) const {
    if (filter_.first != nullptr && numberAt(row.data() + filter_.first->offset, 4) != filter_.second) return false;
    if (index_ == nullptr) return true;
    const Sortable mine = sortableInRow(*index_, row), low = sortableOfKey(*index_, key_.data());
    switch (index_->kind) {
      case schema::IndexKind::kOrdered:
        return low <= mine && mine <= sortableOfKey(*index_, high_.data());
      case schema::IndexKind::kLongest: {
        const size_t leading = mine.size() - 2;
        return std::equal(mine.begin(), mine.begin() + static_cast<ptrdiff_t>(leading), low.begin()) &&
               mine[leading + 1].first <= low[leading + 1].first &&
               covers(mine[leading].first, mine[leading + 1].first, low[leading].first);
      }
      default:
        return mine == low;
    }
  }

  bool wantedThroughout(const TableTwin::Record& record) const {
    for (size_t i = 0; i < record.versions.size(); ++i) {
      const bool over = i + 1 < record.versions.size() && record.versions[i + 1].first <= openedAt_;
      if (!over && !wants(record.versions[i].second)) return false;
    }
    return true;
  }

  // Results come in ascending order of this.
  Sortable placeOf(const Bytes& row) const {
    if (index_ == nullptr) return {};
    Sortable mine = sortableInRow(*index_, row);
    if (index_->kind == schema::IndexKind::kOrdered) return mine;
    if (index_->kind != schema::IndexKind::kLongest) return {};
    const size_t leading = mine.size() - 2;
    return {{32 - mine[leading + 1].first, {}}, mine[leading]};
  }

  const TableTwin& table_;
  const schema::Index* index_;
  Bytes key_, high_;
  uint64_t openedAt_;
  std::pair<const schema::Field*, uint32_t> filter_ = {nullptr, 0};
  bool ended_ = false;
  std::set<std::pair<Sortable, uint64_t>> returned_;
  Sortable last_;
};

}  // namespace fibdb::test

#endif
