// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/service_records.h: what the records for the table service hold beside their fields.
#ifndef FIBDB_TESTS_SUPPORT_SERVICE_RECORDS_H
#define FIBDB_TESTS_SUPPORT_SERVICE_RECORDS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "fibdb/common.h"
#include "tests/support/platform_double.h"

namespace fibdb::test {

// Leaves a pattern where the next call's locals will stand.
[[gnu::noinline]] inline void dirtyTheStack() {
  volatile uint8_t stack[4096];
  for (volatile uint8_t& byte : stack) byte = 0xEE;
}

template <class Field>
void clearAt(Row& record, size_t offset) {
  std::fill_n(record.begin() + static_cast<std::ptrdiff_t>(offset), sizeof(Field), uint8_t{0});
}

// The bytes of a key request, an entry buffer or an update context between and behind its fields; zero elsewhere.
inline Row besideFields(Row record) {
  if (record.size() == sizeof(FibDbUfibKey)) {
    clearAt<const FibDbKeyDesc*>(record, offsetof(FibDbUfibKey, desc));
    clearAt<uint32_t>(record, offsetof(FibDbUfibKey, descLen));
    clearAt<const void*>(record, offsetof(FibDbUfibKey, key));
    clearAt<uint32_t>(record, offsetof(FibDbUfibKey, keyLen));
  } else {
    clearAt<void*>(record, offsetof(FibDbUfibData, data));
    clearAt<uint32_t>(record, offsetof(FibDbUfibData, len));
  }
  return record;
}

}  // namespace fibdb::test

#endif
