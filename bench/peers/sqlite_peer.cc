// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/sqlite_peer.cc: SQLite in memory, one table under its primary key, a transaction a batch.
#include <sqlite3.h>

#include <optional>

#include "bench/peers/peer.h"

namespace fibdb::bench {
namespace {

class Statement {
 public:
  Statement(sqlite3* db, const char* text) {
    require(sqlite3_prepare_v3(db, text, -1, SQLITE_PREPARE_PERSISTENT, &statement_, nullptr) == SQLITE_OK, text);
  }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  void bind(int place, const void* bytes, size_t length) {
    sqlite3_bind_blob(statement_, place, bytes, static_cast<int>(length), SQLITE_STATIC);
  }
  bool step() { return sqlite3_step(statement_) == SQLITE_ROW; }
  void run() {
    require(sqlite3_step(statement_) == SQLITE_DONE, "sqlite: a statement failed");
    reset();
  }
  void reset() { sqlite3_reset(statement_); }
  void copy(int column, void* out, size_t length) const {
    std::memcpy(out, sqlite3_column_blob(statement_, column), length);
  }
  int64_t number(int column) const { return sqlite3_column_int64(statement_, column); }

 private:
  sqlite3_stmt* statement_ = nullptr;
};

class SqliteReader final : public ReaderOf<SqliteReader> {
 public:
  explicit SqliteReader(sqlite3* db)
      : one_(db, "SELECT row FROM route WHERE key = ?"),
        before_(db, "SELECT key, row FROM route WHERE key <= ? ORDER BY key DESC LIMIT 1"),
        all_(db, "SELECT row FROM route ORDER BY key") {}

  bool readOne(const Key& key, Record& out) {
    const PackedKey packed(key);
    one_.bind(1, packed.bytes, sizeof packed.bytes);
    const bool found = one_.step();
    if (found) one_.copy(0, &out, sizeof out);
    one_.reset();
    return found;
  }
  bool longestOne(uint32_t addr, Record& out) {
    return findLongest(addr, [&](const Key& wanted) -> std::optional<Key> {
      PackedKey packed(wanted);
      before_.bind(1, packed.bytes, sizeof packed.bytes);
      const bool found = before_.step();
      if (found) {
        before_.copy(0, packed.bytes, sizeof packed.bytes);
        before_.copy(1, &out, sizeof out);
      }
      before_.reset();
      if (!found) return std::nullopt;
      return packed.key();
    });
  }
  size_t walk() override {
    size_t records = 0;
    for (Record out; all_.step(); ++records) {
      all_.copy(0, &out, sizeof out);
      keep(out);
    }
    all_.reset();
    return records;
  }

 private:
  Statement one_, before_, all_;
};

class Sqlite final : public Peer {
 public:
  Sqlite() { open(); }
  ~Sqlite() override { close(); }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  std::string name() const override { return "sqlite"; }
  uint32_t abilities() const override { return kKeyed | kLongest | kWalk; }
  void renew(size_t) override {
    close();
    open();
  }
  void write(std::span<const Route> routes, size_t batch) override {
    inBatches(routes, batch, [this](const Route& route) {
      const PackedKey key(route.key);
      const auto record = made<Record>(route);
      write_->bind(1, key.bytes, sizeof key.bytes);
      write_->bind(2, &record, sizeof record);
      write_->run();
    });
  }
  void remove(std::span<const Route> routes, size_t batch) override {
    inBatches(routes, batch, [this](const Route& route) {
      const PackedKey key(route.key);
      remove_->bind(1, key.bytes, sizeof key.bytes);
      remove_->run();
    });
  }
  size_t count() override {
    Statement all(db_, "SELECT count(*) FROM route");
    require(all.step(), "sqlite: no count");
    return static_cast<size_t>(all.number(0));
  }
  // SQLite counts for the whole process, in which there is no other.
  uint64_t bytes() override { return static_cast<uint64_t>(sqlite3_memory_used()); }
  std::unique_ptr<Reader> reader() override { return std::make_unique<SqliteReader>(db_); }

 private:
  void open() {
    require(sqlite3_open(":memory:", &db_) == SQLITE_OK, "sqlite: not opened");
    Statement(db_, "CREATE TABLE route (key BLOB PRIMARY KEY, row BLOB) WITHOUT ROWID").run();
    begin_.emplace(db_, "BEGIN");
    commit_.emplace(db_, "COMMIT");
    write_.emplace(db_, "INSERT OR REPLACE INTO route VALUES (?, ?)");
    remove_.emplace(db_, "DELETE FROM route WHERE key = ?");
  }
  void close() {
    for (auto* statement : {&begin_, &commit_, &write_, &remove_}) statement->reset();
    sqlite3_close_v2(db_);
  }
  template <class Change>
  void inBatches(std::span<const Route> routes, size_t batch, Change&& change) {
    inParts(routes, batch, [&](std::span<const Route> part) {
      if (batch > 1) begin_->run();
      for (const Route& route : part) change(route);
      if (batch > 1) commit_->run();
    });
  }

  sqlite3* db_ = nullptr;
  std::optional<Statement> begin_, commit_, write_, remove_;
};

const Enlisted kSqlite("sqlite", make<Sqlite>);

}  // namespace
}  // namespace fibdb::bench
