// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// runtime/rows.h: tables whose records travel as whole rows, laid out and byte-ordered differently from the items.
//
// An item holds a 16-byte address as four 32-bit words in host byte order, a row holds its bytes in network order. To
// come from the one to the other, either way, the bytes of each word are reversed and the words keep their places.
// Copies are checked ones; a row is converted to its end whatever they say, and the last one's result is the status.
#ifndef FIBDB_RUNTIME_ROWS_H
#define FIBDB_RUNTIME_ROWS_H

#include <cstdint>
#include <cstring>

#include "platform/bounds.h"
#include "runtime/key.h"
#include "runtime/ops.h"

namespace fibdb {

inline Address swapped(const uint8_t* address) {
  Address bytes;
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = address[i ^ 3];
  return bytes;
}

// An item's address into a row or a key.
inline uint32_t packAddress(uint8_t* stored, const uint8_t* address) {
  const Address bytes = swapped(address);
  return static_cast<uint32_t>(memcpy_s(stored, sizeof bytes, bytes.data(), sizeof bytes));
}

// A row's address into an item.
inline uint32_t unpackAddress(uint8_t* address, const uint8_t* stored) {
  const int copied = memcpy_s(address, sizeof(Address), stored, sizeof(Address));
  const Address words = swapped(address);
  std::memcpy(address, words.data(), sizeof words);
  return static_cast<uint32_t>(copied);
}

// An opaque block, either way.
template <size_t Size>
uint32_t copyBlock(uint8_t (&to)[Size], const uint8_t (&from)[Size]) {
  return static_cast<uint32_t>(memcpy_s(to, Size, from, Size));
}

// Table::stage of a table that is written as a flat row.
template <class Item, class Row, uint32_t (*Pack)(void* row, const Item* item),
          uint32_t (*SetAll)(uint64_t obj, const void* row, uint32_t len)>
uint32_t stageRow(uint64_t obj, const Item* item) {
  Row row{};
  Pack(&row, item);
  return SetAll(obj, &row, sizeof row);
}

// The record that an iteration stands on, into item. One that was removed meanwhile is DB_ERR_NO_DATA and nobody's
// fault.
template <class Item, class Key>
uint32_t fetchCurrent(const Table<Item, Key>& table, uint64_t obj, Item* item, const Failure& failed) {
  const uint32_t code = table.fetch(obj, nullptr, nullptr, item);
  return code == FIB_DB_OK || code == DB_ERR_NO_DATA ? code : failed(code);
}

}  // namespace fibdb

#endif
