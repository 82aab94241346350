// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/nodes_to.cc: what finding a record costs, for those who ask how it was found.
#include <cstring>

#include "engine/store/table.h"
#include "fibdb/engine.h"

namespace fibdb::store {

using schema::IndexKind;

uint32_t Table::nodesInPrimary(const uint8_t* packed) const {
  Key key;
  plans_[0].shape.fromPacked(packed, key);
  Heap memory = heap();
  const Records rows = records(memory);
  return readStable(memory, [&] {
    uint32_t nodes = 0;
    const auto isIt = [&](Ref record) { return plans_[0].shape.isInStored(rows.row(record), key.bytes); };
    primary(memory).find(key.hash, isIt, [&] { ++nodes; });
    return nodes;
  });
}

uint32_t Table::nodesInSecondary(size_t index, const uint8_t* packed) const {
  Key key;
  plans_[index].shape.fromPacked(packed, key);
  Heap memory = heap();
  return readStable(memory, [&] { return secondary(memory, index).nodesTo(key); });
}

uint32_t Table::nodesInOrder(size_t index, const uint8_t* packed) const {
  const OrderedEntry first = plans_[index].shape.ordered(packed, kNoRef);
  Heap memory = heap();
  return readStable(memory, [&] {
    uint32_t nodes = 0;
    OrderedEntry found;
    if (plans_[index].tries != 0) prefixes(memory, plans_[index].tries).from(first, &found, 1, nodes);
    return nodes + ordered(memory, index).levels();
  });
}

uint32_t Table::nodesInTrie(size_t index, const uint8_t* packed) const {
  const uint8_t* const prefix = packed + plans_[index].leading.length();
  uint32_t addr;
  std::memcpy(&addr, prefix, sizeof addr);
  Heap memory = heap();
  return readStable(memory, [&] {
    uint32_t nodes = 0;
    const PrefixTables tables = prefixes(memory, index);
    if (const Ref trie = tables.find(packed)) tables.longest(trie, addr, prefix[sizeof addr], nodes);
    return nodes;
  });
}

uint32_t Table::nodesTo(const schema::Index& index, const uint8_t* key, uint32_t& nodes) const {
  const size_t number = numberOf(index);
  switch (index.kind) {
    case IndexKind::kPrimary:
      nodes = nodesInPrimary(key);
      break;
    case IndexKind::kSecondary:
      nodes = nodesInSecondary(number, key);
      break;
    case IndexKind::kOrdered:
      nodes = nodesInOrder(number, key);
      break;
    case IndexKind::kLongest:
      if (key[index.keyLength - 1] > kMaxPrefixLength) return DB_ERR_BAD_KEY;
      nodes = nodesInTrie(number, key);
      break;
  }
  return 0;
}

}  // namespace fibdb::store
