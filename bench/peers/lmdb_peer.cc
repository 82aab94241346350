// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/lmdb_peer.cc: LMDB on a file in memory, a transaction a batch, nothing synchronised to a disk.
#include <lmdb.h>

#include <cstdio>
#include <optional>

#include "bench/peers/peer.h"

namespace fibdb::bench {
namespace {

constexpr size_t kMapBytes = size_t{8} << 30;

void requireDone(int code) {
  if (code != MDB_SUCCESS) fail(std::string("lmdb: ") + mdb_strerror(code));
}

struct Handle {
  MDB_env* env = nullptr;
  MDB_dbi dbi = 0;
};

MDB_val valueOf(PackedKey& key) { return {sizeof key.bytes, key.bytes}; }
MDB_val valueOf(Record& record) { return {sizeof record, &record}; }

// Cursor and transaction are kept, and renewed for every call, so that it sees what was written before.
class LmdbReader final : public ReaderOf<LmdbReader> {
 public:
  explicit LmdbReader(const Handle& handle) : handle_(handle) {
    requireDone(mdb_txn_begin(handle.env, nullptr, MDB_RDONLY, &txn_));
    requireDone(mdb_cursor_open(txn_, handle.dbi, &cursor_));
    mdb_txn_reset(txn_);
  }
  ~LmdbReader() override {
    mdb_cursor_close(cursor_);
    mdb_txn_abort(txn_);
  }
  LmdbReader(const LmdbReader&) = delete;
  LmdbReader& operator=(const LmdbReader&) = delete;

  size_t read(std::span<const Key> keys, Samples* took) override {
    const Snapshot held(*this);
    return ReaderOf::read(keys, took);
  }
  size_t longest(std::span<const uint32_t> addrs, Samples* took) override {
    const Snapshot held(*this);
    return ReaderOf::longest(addrs, took);
  }
  bool answer(uint32_t addr, Record& out) override {
    const Snapshot held(*this);
    return longestOne(addr, out);
  }
  size_t walk() override {
    const Snapshot held(*this);
    size_t records = 0;
    MDB_val key, data;
    for (int code = mdb_cursor_get(cursor_, &key, &data, MDB_FIRST); code == MDB_SUCCESS;
         code = mdb_cursor_get(cursor_, &key, &data, MDB_NEXT)) {
      Record out;
      std::memcpy(&out, data.mv_data, sizeof out);
      keep(out);
      ++records;
    }
    return records;
  }

  bool readOne(const Key& key, Record& out) {
    PackedKey packed(key);
    MDB_val wanted = valueOf(packed), data;
    if (mdb_get(txn_, handle_.dbi, &wanted, &data) != MDB_SUCCESS) return false;
    std::memcpy(&out, data.mv_data, sizeof out);
    return true;
  }
  bool longestOne(uint32_t addr, Record& out) {
    MDB_val data{};
    const bool found = findLongest(addr, [&](const Key& wanted) { return before(wanted, data); });
    if (found) std::memcpy(&out, data.mv_data, sizeof out);
    return found;
  }

 private:
  struct Snapshot {
    explicit Snapshot(LmdbReader& reader) : txn(reader.txn_) {
      requireDone(mdb_txn_renew(txn));
      requireDone(mdb_cursor_renew(txn, reader.cursor_));
    }
    ~Snapshot() { mdb_txn_reset(txn); }
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;
    MDB_txn* txn;
  };

  std::optional<Key> before(const Key& wanted, MDB_val& data) {
    const PackedKey asked(wanted);
    PackedKey packed = asked;
    MDB_val key = valueOf(packed);
    const int code = mdb_cursor_get(cursor_, &key, &data, MDB_SET_RANGE);
    if (code == MDB_SUCCESS && std::memcmp(key.mv_data, asked.bytes, sizeof asked.bytes) == 0) return wanted;
    if (mdb_cursor_get(cursor_, &key, &data, code == MDB_SUCCESS ? MDB_PREV : MDB_LAST) != MDB_SUCCESS) return {};
    std::memcpy(packed.bytes, key.mv_data, sizeof packed.bytes);
    return packed.key();
  }

  Handle handle_;
  MDB_txn* txn_ = nullptr;
  MDB_cursor* cursor_ = nullptr;
};

class Lmdb final : public Peer {
 public:
  Lmdb() { open(); }
  ~Lmdb() override { close(); }
  Lmdb(const Lmdb&) = delete;
  Lmdb& operator=(const Lmdb&) = delete;

  std::string name() const override { return "lmdb"; }
  uint32_t abilities() const override { return kKeyed | kLongest | kWalk | kThreads | kOneWriter; }
  void renew(size_t) override {
    close();
    open();
  }
  void write(std::span<const Route> routes, size_t batch) override {
    inBatches(routes, batch, [this](MDB_txn* txn, const Route& route) {
      PackedKey packed(route.key);
      auto record = made<Record>(route);
      MDB_val key = valueOf(packed), data = valueOf(record);
      requireDone(mdb_put(txn, handle_.dbi, &key, &data, 0));
    });
  }
  void remove(std::span<const Route> routes, size_t batch) override {
    inBatches(routes, batch, [this](MDB_txn* txn, const Route& route) {
      PackedKey packed(route.key);
      MDB_val key = valueOf(packed);
      requireDone(mdb_del(txn, handle_.dbi, &key, nullptr));
    });
  }
  size_t count() override {
    MDB_stat stat{};
    requireDone(mdb_env_stat(handle_.env, &stat));
    return stat.ms_entries;
  }
  // Every page that was ever used: what the file takes.
  uint64_t bytes() override {
    MDB_stat stat{};
    MDB_envinfo info{};
    requireDone(mdb_env_stat(handle_.env, &stat));
    requireDone(mdb_env_info(handle_.env, &info));
    return (info.me_last_pgno + 1) * stat.ms_psize;
  }
  std::unique_ptr<Reader> reader() override { return std::make_unique<LmdbReader>(handle_); }

 private:
  void open() {
    path_ = scratch() + "/lmdb";
    requireDone(mdb_env_create(&handle_.env));
    requireDone(mdb_env_set_mapsize(handle_.env, kMapBytes));
    requireDone(mdb_env_open(handle_.env, path_.c_str(), MDB_NOSUBDIR | MDB_NOSYNC | MDB_WRITEMAP | MDB_NOTLS, 0600));
    MDB_txn* txn = nullptr;
    requireDone(mdb_txn_begin(handle_.env, nullptr, 0, &txn));
    requireDone(mdb_dbi_open(txn, nullptr, 0, &handle_.dbi));
    requireDone(mdb_txn_commit(txn));
  }
  void close() {
    mdb_env_close(handle_.env);
    std::remove(path_.c_str());
    std::remove((path_ + "-lock").c_str());
  }
  template <class Change>
  void inBatches(std::span<const Route> routes, size_t batch, Change&& change) {
    inParts(routes, batch, [&](std::span<const Route> part) {
      MDB_txn* txn = nullptr;
      requireDone(mdb_txn_begin(handle_.env, nullptr, 0, &txn));
      for (const Route& route : part) change(txn, route);
      requireDone(mdb_txn_commit(txn));
    });
  }

  std::string path_;
  Handle handle_;
};

const Enlisted kLmdb("lmdb", make<Lmdb>);

}  // namespace
}  // namespace fibdb::bench
