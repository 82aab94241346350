// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/fuzz/table_fuzz.cc: the input as a program of writes and reads, on a table and on its twin.
//
// The first byte chooses one of the toy schemas; then each operation is a byte that names it, followed by a row (and,
// for an update, the set of staged fields). Whatever the two answer must be the same.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "engine/store/table.h"
#include "tests/support/input.h"
#include "tests/support/table_twin.h"
#include "tests/support/toy_tables.h"

namespace {

using namespace fibdb;
using test::Bytes;

using test::Input;

void same(uint64_t table, uint64_t twin, const char* what) {
  if (table == twin) return;
  std::fprintf(stderr, "%s: the table says %lu, its twin %lu\n", what, static_cast<unsigned long>(table),
               static_cast<unsigned long>(twin));
  std::abort();
}

void step(Input& input, store::Table& table, test::TableTwin& twin) {
  const schema::Table& layout = table.layout();
  const uint8_t operation = input.byte();
  const schema::Index& index = layout.indexes[operation / 8 % layout.indexes.size()];
  Bytes row = input.bytes(layout.rowLength);
  const Bytes key = test::packedKey(index, row);
  switch (operation % 5) {
    case 0: {
      store::Change change{}, expected{};
      const uint32_t code = table.write(row.data(), change);
      same(code, twin.write(row, expected), "write");
      if (code == 0) same(static_cast<uint64_t>(change), static_cast<uint64_t>(expected), "change");
      break;
    }
    case 1: {
      const Bytes primary = test::packedKey(layout.primary(), row);
      const store::FieldSet staged = input.byte();
      same(table.update(primary.data(), row.data(), staged), twin.update(primary, row, staged), "update");
      break;
    }
    case 2: {
      uint64_t removed = 0, expected = 0;
      same(table.remove(index, key.data(), removed), twin.remove(index, key, expected), "remove");
      same(removed, expected, "removed");
      break;
    }
    case 3: {
      Bytes found(layout.rowLength), expected(layout.rowLength);
      const uint32_t code = table.read(index, key.data(), found.data());
      same(code, twin.read(index, key, expected), "read");
      if (code == 0) same(found == expected, true, "row");
      break;
    }
    default: {
      uint64_t count = 0, expected = 0;
      same(table.countByKey(index, key.data(), count), twin.countByKey(index, key, expected), "countByKey");
      same(count, expected, "count by key");
    }
  }
  same(table.count(), twin.records().size(), "count");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static store::Store store(test::kToyTables, uint64_t{1} << 30);
  Input input(data, size);
  const size_t number = input.byte() % std::size(test::kToyTables);
  store.clear();
  test::TableTwin twin(test::kToyTables[number]);
  while (!input.empty()) step(input, store.table(number), twin);
  return 0;
}
