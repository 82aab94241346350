// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/key.cc: how keys are taken out of rows.
#include "engine/store/key.h"

#include <bit>

#include "engine/store/word.h"

namespace fibdb::store {

namespace {

// Both halves of a 128-bit product, folded: every bit of the result depends on every bit of the word.
uint64_t mix(uint64_t word) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = Wide{word ^ 0xA0761D6478BD642F} * 0xE7037ED1A0B428DB;
  return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

// A run of bytes, most of them a few words: what overlaps is copied twice.
inline void copyRun(uint8_t* to, const uint8_t* from, size_t size) {
  uint64_t head, tail;
  if (size < sizeof head || size > 2 * sizeof head) {
    if (size != sizeof(uint32_t)) return static_cast<void>(std::memcpy(to, from, size));
    std::memcpy(to, from, sizeof(uint32_t));
    return;
  }
  std::memcpy(&head, from, sizeof head);
  std::memcpy(&tail, from + size - sizeof tail, sizeof tail);
  std::memcpy(to, &head, sizeof head);
  std::memcpy(to + size - sizeof tail, &tail, sizeof tail);
}

// Pads what a key of this length leaves of its last word; before the key is filled in, that is one store.
void pad(Key& key, uint16_t length) {
  constexpr size_t kWord = sizeof(uint64_t);
  if (length % kWord != 0) std::memset(key.bytes + length / kWord * kWord, 0, kWord);
}

// Of a key of nine to sixteen bytes those behind the eighth, as a word that is padded with zeros. Routes' keys are made
// of two numbers and a byte just before: what was stored in pieces is loaded in the same ones, which need not wait for
// the cache to join them.
uint64_t secondWord(const uint8_t* from, uint16_t length) {
  constexpr uint16_t kWord = sizeof(uint64_t), kHalf = sizeof(uint32_t);
  if (length == kWord + kHalf || length == kWord + kHalf + 1) {
    uint32_t half;
    std::memcpy(&half, from + kWord, sizeof half);
    return length == kWord + kHalf ? half : half | uint64_t{from[kWord + kHalf]} << 32;
  }
  uint64_t tail;
  std::memcpy(&tail, from + length - kWord, sizeof tail);
  return tail >> 8 * (2 * kWord - length);
}

void seal(Key& key, uint16_t length) {
  uint64_t hash = length;
  for (size_t at = 0; at < length; at += sizeof(uint64_t)) {
    uint64_t word;
    std::memcpy(&word, key.bytes + at, sizeof word);
    hash = mix(hash ^ word);
  }
  key.length = length;
  key.hash = mix(hash);
}

// A number of up to eight bytes in host byte order.
uint64_t number(const uint8_t* bytes, size_t size) {
  uint64_t value = 0;
  std::memcpy(&value, bytes, size);
  return value;
}

bool lessColumn(const schema::Column& column, const uint8_t* a, const uint8_t* b, bool& equal) {
  if (column.kind == schema::FieldKind::kNumber) {
    const uint64_t x = number(a, column.size), y = number(b, column.size);
    equal = x == y;
    return x < y;
  }
  const int order = std::memcmp(a, b, column.size);
  equal = order == 0;
  return order < 0;
}

}  // namespace

static_assert(std::endian::native == std::endian::little, "number() and ordered() copy the low bytes first");

KeyShape::KeyShape(std::span<const schema::Column> columns) : columns_(columns) {
  for (const schema::Column& column : columns) {
    const bool adjoins = runCount_ > 0 && runs_[runCount_ - 1].offset + runs_[runCount_ - 1].size == column.offset;
    if (!adjoins) runs_[runCount_++].offset = column.offset;
    Run& run = runs_[runCount_ - 1];
    run.size = static_cast<uint16_t>(run.size + column.size);
    length_ = static_cast<uint16_t>(length_ + column.size);
  }
}

// A key that is one run of eight to sixteen bytes, as most are, without a detour through memory.
inline void KeyShape::fromRun(const uint8_t* from, Key& key) const {
  const uint64_t first = wordAt(from);
  uint64_t hash = mix(length_ ^ first);
  std::memcpy(key.bytes, &first, sizeof first);
  if (length_ > sizeof first) {
    const uint64_t second = secondWord(from, length_);
    hash = mix(hash ^ second);
    std::memcpy(key.bytes + sizeof first, &second, sizeof second);
  }
  key.length = length_;
  key.hash = mix(hash);
}

void KeyShape::fromPacked(const uint8_t* packed, Key& key) const {
  if (isShortRun()) return fromRun(packed, key);
  pad(key, length_);
  copyRun(key.bytes, packed, length_);
  seal(key, length_);
}

void KeyShape::pack(const uint8_t* row, uint8_t* packed) const {
  for (uint8_t i = 0; i < runCount_; packed += runs_[i++].size) {
    copyRun(packed, row + runs_[i].offset, runs_[i].size);
  }
}

void KeyShape::fromRow(const uint8_t* row, Key& key) const {
  if (isShortRun()) return fromRun(row + runs_[0].offset, key);
  pad(key, length_);
  pack(row, key.bytes);
  seal(key, length_);
}

bool KeyShape::areIn(const uint8_t* row, const uint8_t* packed) const {
  for (uint8_t i = 0; i < runCount_; packed += runs_[i++].size) {
    if (!isSame(row + runs_[i].offset, packed, runs_[i].size)) return false;
  }
  return true;
}

bool KeyShape::isInStored(const uint8_t* row, const uint8_t* packed) const {
  for (uint8_t i = 0; i < runCount_; ++i) {
    const uint8_t* from = row + runs_[i].offset;
    uint16_t left = runs_[i].size;
    if (runs_[i].offset % sizeof(uint64_t) == 0) {
      for (; left >= sizeof(uint64_t); left = static_cast<uint16_t>(left - sizeof(uint64_t))) {
        if (load(*reinterpret_cast<const uint64_t*>(from)) != wordAt(packed)) return false;
        from += sizeof(uint64_t);
        packed += sizeof(uint64_t);
      }
    }
    if (runs_[i].offset % sizeof(uint32_t) == 0) {
      for (; left >= sizeof(uint32_t); left = static_cast<uint16_t>(left - sizeof(uint32_t))) {
        uint32_t word;
        std::memcpy(&word, packed, sizeof word);
        if (load(*reinterpret_cast<const uint32_t*>(from)) != word) return false;
        from += sizeof word;
        packed += sizeof word;
      }
    }
    for (; left > 0; --left) {
      if (load(*from++) != *packed++) return false;
    }
  }
  return true;
}

bool KeyShape::same(const uint8_t* a, const uint8_t* b) const {
  for (uint8_t i = 0; i < runCount_; ++i) {
    if (!isSame(a + runs_[i].offset, b + runs_[i].offset, runs_[i].size)) return false;
  }
  return true;
}

bool KeyShape::less(const uint8_t* a, const uint8_t* b) const {
  for (const schema::Column& column : columns_) {
    bool equal;
    const bool less = lessColumn(column, a + column.offset, b + column.offset, equal);
    if (!equal) return less;
  }
  return false;
}

OrderedEntry KeyShape::ordered(const uint8_t* packed, uint32_t record) const {
  uint8_t bytes[kMaxOrderedKey] = {};
  uint8_t* to = bytes;
  for (const schema::Column& column : columns_) {
    const bool isNumber = column.kind == schema::FieldKind::kNumber;
    for (uint16_t i = 0; i < column.size; ++i) to[i] = packed[isNumber ? column.size - 1 - i : i];
    to += column.size;
    packed += column.size;
  }
  OrderedEntry entry;
  std::memcpy(entry.words, bytes, sizeof entry.words);
  for (uint32_t& word : entry.words) word = __builtin_bswap32(word);
  entry.record = record;
  return entry;
}

}  // namespace fibdb::store
