// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/table.h: one table: its records, its indexes, what writers and readers can rely on.
//
// DESCRIPTION  A record is a slot: a 32-bit version, then the row. The version says whether the slot is live
// and whether its row is being changed; changing it is the single store that makes a write visible, in all
// indexes and counts at once:
//
//   insert   fill the slot, enter it in every index (readers pass over slots that are not live), make it live
//   update   enter it under its new keys, change the row under its version, take it out of its old keys
//   remove   make it dead, take it out of every index, give the slot back
//
// While a row is being changed its previous content stands in the table's shadow row, so readers never wait.
//
// A writer may die at any instruction. Whoever gets the lock after it first takes back what was under way and not yet
// visible, or completes what was (undo_log.h): Intent says which record it was about, and what version makes it
// visible. Neither takes longer in a larger table, and neither makes readers wait.
//
// Single reads are linearizable: the answer of read, count, countByKey, and of the first step of a longest-prefix
// cursor was right at some moment between call and return. A read begins again when a record became live meanwhile
// under the key, or in the VRF, that it looks at (or, for a count, when another write began): never because of a
// write that is still under way or was broken off, so readers never wait, and one of two always gets on.
// Walks are made of steps: every record has a birth stamp (the heap's clock), and a cursor returns only records
// born before it was opened, in an order that does not change, which is why it returns none twice and misses none
// that stays.
//
// MEMORY   A table that gets no further extent, at its limit or with the arena exhausted, keeps back what its
// removals need (some 100 KiB), so that every record can be removed, and what was removed can be inserted again:
// as long as there are fewer records than there were (peak) an insert may use what others must leave, and even
// take a further extent beyond the limit, because an index that was filled in another order is packed more loosely.
//
// COST     A write: one hash index changed, and each further index that knows the record.
//          A read by primary key, and countByKey: O(1). A read by secondary key looks at each record under it.
// THREADS  Writers of one table are serialised by a lock in the arena; readers take none.
#ifndef FIBDB_ENGINE_STORE_TABLE_H
#define FIBDB_ENGINE_STORE_TABLE_H

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "engine/store/arena_file.h"
#include "engine/store/bus_guard.h"
#include "engine/store/hash_index.h"
#include "engine/store/heap.h"
#include "engine/store/key.h"
#include "engine/store/ordered_index.h"
#include "engine/store/prefix_tables.h"
#include "engine/store/records.h"
#include "engine/store/secondary_index.h"
#include "engine/store/tally.h"
#include "fibdb/engine.h"
#include "platform/schema/catalog.h"

namespace fibdb::store {

inline constexpr size_t kMaxIndexes = 8;

// What a write did.
enum class Change : uint32_t { kInserted, kReplaced, kUpdated, kRemoved };

struct Limits {
  uint64_t records = 0;  // 0: none
  uint64_t bytes = 0;    // 0: none; counted in extents
};

struct TableStats {
  uint64_t records = 0, bytes = 0;
  Limits limits;
  uint64_t inserted = 0, replaced = 0, updated = 0, removed = 0, refused = 0;
  uint64_t repairs = 0;
};

// Writes that this process asked for and may not make.
uint64_t refusedAsReader();

// What became of the records of a table that is told anew: by the first write of each.
struct ReplaceCounts {
  uint64_t kept;     // written as they were
  uint64_t changed;  // written otherwise
  uint64_t added;    // not there before
  uint64_t removed;  // at the end, not having been written
};

// Whether and by whom a table is being told anew. Lives in the arena; zero is nobody.
struct ReplaceState {
  uint32_t active;
  uint32_t pid;
  uint32_t generation;  // of what is written now; stays when it is over
  uint32_t vr;          // whose records may be removed; kEveryVr: all
  uint64_t beganAt;     // microseconds since 1970
  ReplaceCounts counts;
};
inline constexpr uint32_t kEveryVr = UINT32_MAX;

// What a write under way needs to be completed. Lives in the arena; means something while the log says that a write is
// under way.
struct Intent {
  Ref record;         // kNoRef: not yet chosen
  uint32_t version;   // the record's, once the write is visible
  uint64_t hash;      // of the primary key
  uint32_t change;    // Change
  uint32_t moved;     // a bit for each index of which the key changes
  uint64_t counted;   // how many writes there are then of its kind
  uint32_t replaces;  // 1: it counts for the replace that is under way
  // The blocks of what the record comes under, and of what it leaves, index by index.
  Ref entered[kMaxIndexes], left[kMaxIndexes];
};

// One bit per field of the schema, in its order.
using FieldSet = uint64_t;

// The stored part of an index; each kind uses what it needs. Lives in the arena, zero is empty.
struct IndexState {
  HashIndexState hash;
  OrderedIndexState order;
  PrefixTablesState prefixes;
};

// The stored part of a table; lives in the arena, zero but for the lock is empty.
struct TableState {
  pthread_mutex_t writers;
  HeapState heap;
  RecordsState records;
  IndexState indexes[kMaxIndexes];
  Intent intent;
  Tally count;
  uint64_t recordLimit;
  uint64_t peak;  // the most records there were since limits were set
  uint64_t inserted, replaced, updated, removed, refused;
  ReplaceState replace;
  uint64_t repairs;  // writes and steps of writers that died, taken back or completed
};

// Rows are the schema's packed rows; keys the packed keys of an index. Codes are those of fibdb/engine.h.
class Table {
 public:
  const schema::Table& layout() const { return *layout_; }
  // The index with this id, or nullptr.
  const schema::Index* findIndex(uint32_t indexId) const {
    // Nearly every id begins with the number of the index.
    const size_t likely = indexId >> 24;
    if (likely < planCount_ && plans_[likely].id == indexId) return &layout_->indexes[likely];
    return findIndexAmong(indexId);
  }
  // Where rows have the virtual router that they belong to, if they say.
  bool hasVr() const { return hasVr_; }
  uint16_t vrOffset() const { return vrOffset_; }

  // The primary key of a row; the key of an index as it was handed in, packed.
  void keyOf(const uint8_t* row, Key& key) const { plans_[0].shape.fromRow(row, key); }
  void keyOf(const schema::Index& index, const uint8_t* packed, Key& key) const {
    plans_[numberOf(index)].shape.fromPacked(packed, key);
  }

  // Inserts the row or replaces the record with its primary key. DB_ERR_BAD_KEY for a mask above 32 in a
  // longest-prefix key; DB_ERR_RECORD_LIMIT, DB_ERR_MEMORY_LIMIT, DB_ERR_NO_MEMORY: nothing changed. As every call that
  // writes, DB_ERR_READ_ONLY in an arena that was joined for reading only.
  uint32_t write(const uint8_t* row, Change& change);
  uint32_t write(const Key& key, const uint8_t* row, Change& change);  // key: the row's
  // Inserts the row; DB_ERR_EXISTS when there is a record with its primary key. Else as write.
  uint32_t insert(const uint8_t* row);
  // Changes the fields in `staged` of the record with this primary key to row's; child nodes that row marks as written
  // are added to those that are. DB_ERR_NO_DATA when there is none, DB_ERR_KEY_MISMATCH when a staged field of the
  // primary key differs from the key.
  uint32_t update(const Key& primaryKey, const uint8_t* row, FieldSet staged);
  uint32_t update(const uint8_t* primaryKey, const uint8_t* row, FieldSet staged);
  // Removes the record, or all records, with this key (primary or secondary); each removal is a write of its
  // own. DB_ERR_NO_DATA when there is none.
  uint32_t remove(const schema::Index& index, const Key& key, uint64_t& removed);
  uint32_t remove(const schema::Index& index, const uint8_t* key, uint64_t& removed);

  // Asks memory for what a write with this primary key will look at, without waiting for it: fetchFirst a dozen writes
  // before, and fetchThen, which looks at what that brought, half as many before. Any thread may: overtaken by writes,
  // it asks for the wrong memory, which does no harm.
  void fetchFirst(const Key& primaryKey) const;
  void fetchThen(const Key& primaryKey) const;

  // Copies the record with this key; of several under a secondary key the first in primary-key order, which
  // takes a look at each of them. DB_ERR_NO_DATA when there is none. The row is overwritten in any case.
  uint32_t read(const schema::Index& index, const uint8_t* key, uint8_t* row) const;

  // The longest prefix that covers each address, below the same leading columns (packed): for each a row, and found: 1,
  // or 0 and a row that has no meaning. Each is a single read. DB_ERR_BAD_INDEX.
  uint32_t lookUpEach(const schema::Index& index, const uint8_t* leading, const uint32_t* addrs, uint32_t count,
                      uint8_t* rows, uint8_t* found) const;

  // Exact, as single reads are right: a record that a read returns is counted, one that it misses is not.
  uint64_t count() const;
  uint32_t countByKey(const schema::Index& index, const uint8_t* key, uint64_t& count) const;

  // The nodes of an index on the way to the first record of a key: buckets of a hash, nodes of trees and tries. As the
  // first step of a cursor takes it, of an ordered index to the first record from the key on; DB_ERR_BAD_KEY as there.
  uint32_t nodesTo(const schema::Index& index, const uint8_t* key, uint32_t& nodes) const;

  uint32_t setLimits(const Limits& limits);

  // Telling the table anew (replace.cc): what is not written between begin and end is removed by the end. Of one table
  // one at a time: DB_ERR_REPLACE_BUSY while another process is at it, or this one. One whose process died stands until
  // it is taken over or given up. DB_ERR_NO_REPLACE.
  uint32_t beginReplace(uint32_t vr);
  uint32_t takeOverReplace();
  uint32_t endReplace(ReplaceCounts& counts);
  uint32_t giveUpReplace();
  // As it stands; active is 0 when there is none.
  ReplaceState replaceState() const;
  // Whether its process is still there.
  bool isReplaceAlive() const;

  // Takes back or completes what a writer that died left, as the next write would.
  void repair();
  TableStats stats() const;

 private:
  friend class Store;
  friend class Cursor;
  friend class Check;  // which looks at every word

  // What the schema says about an index, worked out.
  struct Plan {
    uint32_t id = 0;
    schema::IndexKind kind = schema::IndexKind::kPrimary;
    KeyShape shape;
    // Longest prefix only: the columns before address and mask, and where those two stand in the row.
    KeyShape leading;
    uint16_t addrOffset = 0, maskOffset = 0;
    // Ordered only: the longest-prefix index with the same columns, whose tries keep the order; 0: there is none.
    // The index itself then has only what a trie cannot order: records with address bits below the mask.
    uint8_t tries = 0;

    Prefix prefixIn(const uint8_t* row) const {
      Prefix prefix;
      std::memcpy(&prefix.addr, row + addrOffset, sizeof prefix.addr);
      prefix.length = row[maskOffset];
      return prefix;
    }
  };
  struct HashOfRecord {
    const Table* table;
    uint64_t operator()(Ref record) const;
  };
  using PrimaryIndex = HashIndex<HashOfRecord>;
  class Writer;
  class PrefixLookup;

  void attach(const schema::Table& layout, Arena& arena, TableState& state);

  const schema::Index* findIndexAmong(uint32_t indexId) const;
  uint32_t checkWritable() const;
  size_t numberOf(const schema::Index& index) const { return static_cast<size_t>(&index - layout_->indexes.data()); }
  bool masksAreValid(const uint8_t* row) const;

  // Views of the stored parts.
  Heap heap() const { return Heap(*arena_, state_->heap); }
  Records records(Heap& heap) const { return Records(heap, state_->records, recordLayout_); }
  PrimaryIndex primary(Heap& heap) const;
  SecondaryIndex secondary(Heap& heap, size_t index) const;
  OrderedIndex<OrderedEntry> ordered(Heap& heap, size_t index) const;
  PrefixTables prefixes(Heap& heap, size_t index) const {
    return PrefixTables(heap, state_->indexes[index].prefixes, plans_[index].leading);
  }
  // Whether an ordered index has an entry of its own for the row.
  bool isOrderedApart(size_t index, const uint8_t* row) const;
  bool isLeftOver(const Records& rows, Ref record) const;

  Ref find(Heap& heap, const Key& primaryKey) const;
  uint32_t nodesInPrimary(const uint8_t* key) const;
  uint32_t nodesInSecondary(size_t index, const uint8_t* key) const;
  uint32_t nodesInOrder(size_t index, const uint8_t* key) const;
  uint32_t nodesInTrie(size_t index, const uint8_t* key) const;
  bool readOne(Heap& heap, const Key& primaryKey, uint64_t latest, uint8_t* row) const;
  uint32_t readFirst(size_t index, const Key& key, uint8_t* row) const;
  bool readUnder(const Records& records, size_t index, const Key& key, Ref record, uint8_t* row) const;

  const schema::Table* layout_ = nullptr;
  Arena* arena_ = nullptr;
  TableState* state_ = nullptr;
  RecordLayout recordLayout_;
  uint16_t vrOffset_ = 0;  // of vr_id in the row
  bool hasVr_ = false;
  Plan plans_[kMaxIndexes];
  size_t planCount_ = 0;
  size_t primaryTries_ = 0;  // the longest-prefix index with the columns of the primary key; 0: there is none
  uint32_t insertBytes_ = 0, removeBytes_ = 0;  // what such a write hands to Heap::ensure
  uint32_t keptBytes_ = 0;                      // what an insert leaves to removals
};

// The records of a longest-prefix key come in one order, longer prefixes first, and of one prefix those with the
// lower address first (then the lower reference); where a cursor stands in it is the last one that it returned.
struct PrefixPosition {
  uint8_t length;       // no longer prefix is still to come
  PostingEntry passed;  // of this length, nothing up to this {address, record} is still to come

  bool isBefore(uint8_t otherLength, const PostingEntry& entry) const {
    return otherLength < length || (otherLength == length && passed < entry);
  }
};

// A walk over records. Needs no release; takes no memory. One thread at a time.
// open... return 0, DB_ERR_BAD_INDEX or DB_ERR_BAD_KEY. A cursor must not be used before it is opened.
class Cursor {
 public:
  // The whole table.
  void openAll(const Table& table);
  // Primary or secondary key: the records under it. Longest prefix: the prefixes that cover the key's address
  // and are no longer than its mask, longest first; those that differ only below the mask, by address.
  uint32_t openKey(const Table& table, const schema::Index& index, const uint8_t* key);
  // Ordered index: the records between two keys, both included, in ascending key order.
  uint32_t openRange(const Table& table, const schema::Index& index, const uint8_t* low, const uint8_t* high);

  // From now on only records whose four-byte column at `offset` of the row equals value.
  void keepOnly(uint16_t offset, uint32_t value);

  // Copies the next record to row: 0, or DB_ERR_ITER_END, then and for ever after.
  uint32_t next(uint8_t* row) { return kind_ == Kind::kLookUp ? lookUp(row) : nextFrom(row); }

 private:
  // kLookUp: kPrefixes before the first step.
  enum class Kind : uint8_t { kEnded, kAll, kOne, kUnderKey, kRange, kPrefixes, kLookUp };

  void open(const Table& table, Kind kind, size_t index);
  bool step(uint8_t* row);
  bool stepAll(uint8_t* row);
  bool stepOne(uint8_t* row);
  bool stepRun(uint8_t* row);
  uint32_t lookUp(uint8_t* row);
  uint32_t nextFrom(uint8_t* row);
  bool stepPrefixes(uint8_t* row);
  Ref findAmongMatches(Ref trie, uint8_t* row) const;
  bool readPrefix(const Records& records, uint8_t length, Ref record, uint8_t* row) const;
  uint32_t refillUnderKey();
  uint32_t refillRange();
  uint32_t refillAlongTries();
  void putOwnRecords(Heap& heap, const PrefixTables& tables, OrderedEntry* entries, uint32_t count) const;
  bool keeps(const uint8_t* row) const;

  static constexpr uint32_t kRun = 24;

  const Table* table_;
  uint64_t openedAt_;  // the heap's clock
  uint64_t latest_;  // births after this are not returned: openedAt_, but for the first record of a longest-prefix key
  Kind kind_;
  bool filtered_;
  uint16_t filterOffset_;
  uint32_t filterValue_;
  uint8_t index_;

  uint32_t addr_;  // longest prefix
  PrefixPosition position_;

  RecordPosition slot_;  // whole table
  Key key_;              // under a key; the leading columns of a longest-prefix key

  // Under a key and range: references read ahead. The last one seen is where reading goes on.
  uint32_t runNext_, runCount_;
  Ref run_[kRun];
  OrderedEntry last_, high_;
};

class Store;
// The engine's own, once it has come to be; joining.cc's.
extern std::atomic<Store*> theStore;

// All tables of a schema in one arena.
class Store {
 public:
  // The engine's own store, over schema::kTables: in an arena of the process's own, or in the one that it joined
  // (joining.cc).
  static Store& instance() {
    Store* const made = known();
    return made != nullptr ? *made : makeInstance();
  }
  // The same if it has come to be, or nullptr.
  static Store* known() { return theStore.load(std::memory_order_acquire); }
  // What fibdb_engine_join does. nullptr: as the environment says. text(): why it failed.
  static uint32_t join(const ArenaRequest* request);
  static const char* joinText();

  // REQUIRES: tables outlives the store. A schema that tables cannot serve, or no memory: not valid().
  Store(std::span<const schema::Table> tables, uint64_t reserveBytes);
  // In the file of a shared arena, which is filled if it is new, and else must have been filled by such a store.
  Store(std::span<const schema::Table> tables, ArenaFile& file);
  // A store that cannot be used, and why.
  explicit Store(uint32_t code) : arena_(0), code_(code) {}
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  // 0, or why no table can be used: memory, the join, or a file that was cut.
  uint32_t code() const { return code_ == 0 && isArenaLost() && isShared() ? uint32_t{DB_ERR_ARENA_CUT} : code_; }
  bool valid() const { return code() == 0; }
  bool isShared() const { return arena_.file() != nullptr; }
  size_t tableCount() const { return schema_.size(); }
  Table& table(size_t number) { return tables_[number]; }
  Arena& arena() { return arena_; }
  const Arena& arena() const { return arena_; }

  // The extents that hold the states of the tables.
  uint64_t stateBytes() const;

  // What the head of a shared arena must agree with.
  static ArenaIdentity identityOf(std::span<const schema::Table> tables);

  // Empties everything, limits included. REQUIRES: nobody uses the store, and it is not shared.
  void clear();

  // Around fork(): the store cannot come to be between holding it and letting it go, in the parent, or making it anew,
  // in the child; and, if it is not shared, no write is under way.
  static void holdStore();
  static void letStoreGo();
  static void remakeStore();
  void holdWriters();
  void letWritersGo();
  void remakeLocks();

 private:
  static Store& makeInstance();
  void takeUp();
  bool makeStates();
  bool findStates();
  void attach(size_t number, Ref extent);

  Arena arena_;
  uint32_t code_ = 0;
  std::span<const schema::Table> schema_;
  Table* tables_ = nullptr;
};

}  // namespace fibdb::store

#endif
