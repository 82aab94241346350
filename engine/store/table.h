// engine/store/table.h: one table: its records, its indexes, and the promises that writers and readers rely on.
//
// DESCRIPTION  A record is a slot: a 32-bit version, then the row. The version says whether the slot is live and whether
// its row is being changed; changing it is the single store that makes a write visible, in all indexes at once:
//   insert   fill the slot, enter it in every index (readers pass over slots that are not live), then make it live
//   update   enter it under changed keys, change the row under its version, then take it out of the old keys
//   remove   make it dead, take it out of every index, retire the slot
// While a row is being changed its previous content stands in the table's shadow row, so readers never wait.
// Every record also has a birth stamp (the heap's clock); a cursor returns only records born before it was opened, in
// an order that does not change, which is why it returns none twice and misses none that stays.
//
// THREADS  writers of one table are serialised by a lock in the arena; readers take none.
#ifndef FIBDB_ENGINE_STORE_TABLE_H
#define FIBDB_ENGINE_STORE_TABLE_H

#include <cstdint>

#include "engine/store/heap.h"
#include "schema/catalog.h"

namespace fibdb::store {

// What a write did.
enum class Change : uint8_t { kInserted, kReplaced, kUpdated, kRemoved };

struct Limits {
  uint64_t records = 0;  // 0: none
  uint64_t bytes = 0;    // 0: none
};

struct TableStats {
  uint64_t records = 0, bytes = 0;
  Limits limits;
  uint64_t inserted = 0, replaced = 0, updated = 0, removed = 0, refused = 0;
};

// One bit per field of the schema, in its order.
using FieldSet = uint64_t;

struct TableState;  // lives in the arena

// Rows are the schema's packed rows; keys the packed keys of an index. Codes are those of fibdb/engine.h; 0 is success.
class Table {
 public:
  const schema::Table& layout() const { return *layout_; }
  // The index with this id, or nullptr.
  const schema::Index* findIndex(uint32_t indexId) const;

  // Inserts the row or replaces the record with its primary key.
  uint32_t write(const uint8_t* row, Change& change);
  // Changes the fields in `staged` of the record with this primary key to row's. DB_ERR_NO_DATA when there is none,
  // DB_ERR_KEY_MISMATCH when a staged field of the primary key differs from the key.
  uint32_t update(const uint8_t* primaryKey, const uint8_t* row, FieldSet staged);
  // Removes the record, or all records, with this key (primary or secondary). DB_ERR_NO_DATA when there is none.
  uint32_t remove(const schema::Index& index, const uint8_t* key, uint64_t& removed);

  // Copies the record with this key; of several under a secondary key the first in primary-key order.
  uint32_t read(const schema::Index& index, const uint8_t* key, uint8_t* row) const;

  uint64_t count() const;
  uint32_t countByKey(const schema::Index& index, const uint8_t* key, uint64_t& count) const;

  void setLimits(const Limits& limits);
  TableStats stats() const;

 private:
  friend class Store;
  friend class Cursor;
  const schema::Table* layout_ = nullptr;
  Arena* arena_ = nullptr;
  TableState* state_ = nullptr;
};

// A walk over records. Needs no release; takes no memory. One thread at a time.
// open... return 0, DB_ERR_BAD_INDEX or DB_ERR_BAD_KEY.
class Cursor {
 public:
  // The whole table.
  void openAll(const Table& table);
  // Primary or secondary key: the records under it. Longest prefix: the prefixes that cover the key, longest first.
  uint32_t openKey(const Table& table, const schema::Index& index, const uint8_t* key);
  // Ordered index: the records between two keys, both included, in ascending key order.
  uint32_t openRange(const Table& table, const schema::Index& index, const uint8_t* low, const uint8_t* high);

  // From now on only records whose four-byte column at `offset` of the row equals value.
  void keepOnly(uint16_t offset, uint32_t value);

  // Copies the next record to row: 0, or DB_ERR_ITER_END, then and for ever after.
  uint32_t next(uint8_t* row);
};

// All tables of a schema in one arena.
class Store {
 public:
  // The engine's own store, over schema::kTables.
  static Store& instance();

  Store(std::span<const schema::Table> tables, uint64_t reserveBytes);
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  bool valid() const;
  size_t tableCount() const;
  Table& table(size_t number);
  const Arena& arena() const;

  // Empties everything. REQUIRES: nobody uses the store.
  void clear();
};

}  // namespace fibdb::store

#endif
