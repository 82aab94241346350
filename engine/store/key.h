// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/key.h: keys: taken out of rows, hashed, compared, turned into numbers that sort.
//
// DESCRIPTION  A KeyShape is worked out once from the columns of an index: neighbouring columns become one
// run of bytes, so taking a key is a few copies. A Key is a packed key with its hash at hand, padded with
// zeros to whole words, so that hashing and comparing never look at single bytes.
#ifndef FIBDB_ENGINE_STORE_KEY_H
#define FIBDB_ENGINE_STORE_KEY_H

#include <cstdint>
#include <cstring>
#include <span>

#include "engine/store/ordered_index.h"
#include "platform/schema/catalog.h"

namespace fibdb::store {

struct Key {
  uint64_t hash;
  uint16_t length;
  alignas(uint64_t) uint8_t bytes[schema::kMaxKeyLength];

  friend bool operator==(const Key& a, const Key& b) {
    return a.hash == b.hash && a.length == b.length && std::memcmp(a.bytes, b.bytes, a.length) == 0;
  }
};
static_assert(schema::kMaxKeyLength % sizeof(uint64_t) == 0);

class KeyShape {
 public:
  KeyShape() = default;
  explicit KeyShape(std::span<const schema::Column> columns);

  uint16_t length() const { return length_; }

  void fromPacked(const uint8_t* packed, Key& key) const;
  void fromRow(const uint8_t* row, Key& key) const;
  // The packed key alone.
  void pack(const uint8_t* row, uint8_t* packed) const;

  // Whether the row has this packed key.
  bool isIn(const uint8_t* row, const uint8_t* packed) const {
    return isShortRun() ? isSameShort(row + runs_[0].offset, packed, length_) : areIn(row, packed);
  }
  // The same of a row in the arena, which may be changing: the answer is then worth nothing, but no race.
  bool isInStored(const uint8_t* row, const uint8_t* packed) const;
  // Whether both rows have the same key.
  bool same(const uint8_t* a, const uint8_t* b) const;
  // Whether a's key comes before b's; numbers compare as numbers, column by column.
  bool less(const uint8_t* a, const uint8_t* b) const;
  // The packed key as numbers whose order is the order of the keys. REQUIRES: length() <= kMaxOrderedKey.
  OrderedEntry ordered(const uint8_t* packed, uint32_t record) const;
  OrderedEntry orderedInRow(const uint8_t* row, uint32_t record) const {
    uint8_t packed[kMaxOrderedKey];
    pack(row, packed);
    return ordered(packed, record);
  }

  static constexpr uint16_t kMaxOrderedKey = sizeof OrderedEntry::words;

 private:
  struct Run {
    uint16_t offset = 0, size = 0;
  };

  static uint64_t wordAt(const uint8_t* bytes) {
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
  }
  // Of runs of bytes that stand side by side in a row, of eight to sixteen the first eight and the last eight.
  static bool isShort(size_t size) { return size >= sizeof(uint64_t) && size <= 2 * sizeof(uint64_t); }
  static bool isSameShort(const uint8_t* a, const uint8_t* b, size_t size) {
    const size_t tail = size - sizeof(uint64_t);
    return wordAt(a) == wordAt(b) && wordAt(a + tail) == wordAt(b + tail);
  }
  static bool isSame(const uint8_t* a, const uint8_t* b, size_t size) {
    return isShort(size) ? isSameShort(a, b, size) : std::memcmp(a, b, size) == 0;
  }
  bool isShortRun() const { return runCount_ == 1 && isShort(length_); }
  void fromRun(const uint8_t* from, Key& key) const;
  bool areIn(const uint8_t* row, const uint8_t* packed) const;

  std::span<const schema::Column> columns_;
  Run runs_[schema::kMaxColumns];
  uint8_t runCount_ = 0;
  uint16_t length_ = 0;
};

}  // namespace fibdb::store

#endif
