// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/bulk_lookup.cc: many addresses looked up together, so that none waits for memory alone.
#include <algorithm>
#include <cstring>

#include "engine/store/prefix_lookup.h"
#include "fibdb/engine.h"

namespace fibdb::store {

using schema::IndexKind;

uint32_t Table::lookUpEach(const schema::Index& index, const uint8_t* leading, const uint32_t* addrs, uint32_t count,
                           uint8_t* rows, uint8_t* found) const {
  if (index.kind != IndexKind::kLongest) return DB_ERR_BAD_INDEX;
  const size_t number = numberOf(index);
  const PrefixLookup lookup(*this, number);
  for (uint32_t done = 0; done < count; done += PrefixLookup::kTogether) {
    const uint32_t run = std::min(PrefixLookup::kTogether, count - done);
    lookup.each(leading, addrs + done, run, rows + size_t{done} * layout_->rowLength, layout_->rowLength, found + done);
  }
  // What is open is looked up alone.
  uint8_t key[schema::kMaxKeyLength];
  const uint32_t leadingLength = plans_[number].leading.length();
  std::memcpy(key, leading, leadingLength);
  key[leadingLength + sizeof *addrs] = kMaxPrefixLength;
  for (uint32_t i = 0; i < count; ++i) {
    if (found[i] != PrefixLookup::kOpen) continue;
    std::memcpy(key + leadingLength, &addrs[i], sizeof addrs[i]);
    Cursor cursor;
    cursor.openKey(*this, index, key);
    found[i] = cursor.next(rows + size_t{i} * layout_->rowLength) == 0 ? 1 : 0;
  }
  return 0;
}

}  // namespace fibdb::store
