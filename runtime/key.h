// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// runtime/key.h: packed keys. Fields follow each other without gaps; the index id says how long they are together.
#ifndef FIBDB_RUNTIME_KEY_H
#define FIBDB_RUNTIME_KEY_H

#include <array>
#include <cstdint>
#include <cstring>

#include "fibdb/common.h"

namespace fibdb {

constexpr uint32_t keyLengthOf(uint32_t indexId) { return indexId & 0xFFFF; }

// The packed bytes of a key of this index.
template <uint32_t IndexId>
using KeyBytes = std::array<uint8_t, keyLengthOf(IndexId)>;

// A 16-byte address as a key field.
using Address = std::array<uint8_t, 16>;

inline Address addressAt(const uint8_t* bytes) {
  Address address;
  std::memcpy(address.data(), bytes, sizeof address);
  return address;
}

// Appends a key field without a gap.
template <class Field>
uint8_t* putKeyField(uint8_t* key, Field field) {
  std::memcpy(key, &field, sizeof field);
  return key + sizeof field;
}

// The key of this index from its fields, in order.
template <uint32_t IndexId, class... Fields>
void putKey(void* key, Fields... fields) {
  static_assert((sizeof(Fields) + ...) == keyLengthOf(IndexId));
  auto* at = static_cast<uint8_t*>(key);
  ((at = putKeyField(at, fields)), ...);
}

// Descriptor and packed key over the given fields.
template <uint32_t IndexId>
struct PackedKey {
  template <class... Fields>
  explicit PackedKey(Fields... fields) {
    putKey<IndexId>(&bytes, fields...);
  }

  FibDbKeyDesc desc{.indexId = IndexId, .rsv1 = 0, .rsv2 = 0};
  KeyBytes<IndexId> bytes;
};

}  // namespace fibdb

#endif
