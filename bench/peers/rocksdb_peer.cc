// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/rocksdb_peer.cc: RocksDB on files in memory, without a log, a write batch a batch.
#include <rocksdb/db.h>
#include <rocksdb/filter_policy.h>
#include <rocksdb/table.h>
#include <rocksdb/write_batch.h>

#include <optional>

#include "bench/peers/peer.h"

namespace fibdb::bench {
namespace {

constexpr size_t kCacheBytes = size_t{1} << 30;

void requireDone(const rocksdb::Status& status) {
  if (!status.ok()) fail("rocksdb: " + status.ToString());
}

rocksdb::Slice sliceOf(const PackedKey& key) { return {reinterpret_cast<const char*>(key.bytes), sizeof key.bytes}; }

// An iterator stands on what there was when it was made; it is renewed for every call.
class RocksdbReader final : public ReaderOf<RocksdbReader> {
 public:
  explicit RocksdbReader(rocksdb::DB* db) : db_(db) {}

  size_t longest(std::span<const uint32_t> addrs, Samples* took) override {
    renewIterator();
    return ReaderOf::longest(addrs, took);
  }
  bool answer(uint32_t addr, Record& out) override {
    renewIterator();
    return longestOne(addr, out);
  }
  size_t walk() override {
    renewIterator();
    size_t records = 0;
    for (iterator_->SeekToFirst(); iterator_->Valid(); iterator_->Next(), ++records) {
      Record out;
      std::memcpy(&out, iterator_->value().data(), sizeof out);
      keep(out);
    }
    return records;
  }

  bool readOne(const Key& key, Record& out) {
    value_.Reset();
    if (!db_->Get({}, db_->DefaultColumnFamily(), sliceOf(PackedKey(key)), &value_).ok()) return false;
    std::memcpy(&out, value_.data(), sizeof out);
    return true;
  }
  bool longestOne(uint32_t addr, Record& out) {
    const bool found = findLongest(addr, [&](const Key& wanted) -> std::optional<Key> {
      PackedKey packed(wanted);
      iterator_->SeekForPrev(sliceOf(packed));
      if (!iterator_->Valid()) return std::nullopt;
      std::memcpy(packed.bytes, iterator_->key().data(), sizeof packed.bytes);
      return packed.key();
    });
    if (found) std::memcpy(&out, iterator_->value().data(), sizeof out);
    return found;
  }

 private:
  void renewIterator() {
    if (iterator_ == nullptr || !iterator_->Refresh().ok()) iterator_.reset(db_->NewIterator({}));
  }

  rocksdb::DB* db_;
  std::unique_ptr<rocksdb::Iterator> iterator_;
  rocksdb::PinnableSlice value_;
};

class Rocksdb final : public Peer {
 public:
  Rocksdb() { open(); }
  ~Rocksdb() override { close(); }
  Rocksdb(const Rocksdb&) = delete;
  Rocksdb& operator=(const Rocksdb&) = delete;

  std::string name() const override { return "rocksdb"; }
  uint32_t abilities() const override { return kKeyed | kLongest | kWalk | kThreads | kOneWriter; }
  void renew(size_t) override {
    close();
    open();
  }
  void write(std::span<const Route> routes, size_t batch) override {
    inBatches(routes, batch, [](rocksdb::WriteBatch& changes, const Route& route) {
      const auto record = made<Record>(route);
      const rocksdb::Slice value(reinterpret_cast<const char*>(&record), sizeof record);
      return changes.Put(sliceOf(PackedKey(route.key)), value);
    });
  }
  void remove(std::span<const Route> routes, size_t batch) override {
    inBatches(routes, batch, [](rocksdb::WriteBatch& changes, const Route& route) {
      return changes.Delete(sliceOf(PackedKey(route.key)));
    });
  }
  size_t count() override {
    const std::unique_ptr<rocksdb::Iterator> all(db_->NewIterator({}));
    size_t records = 0;
    for (all->SeekToFirst(); all->Valid(); all->Next()) ++records;
    return records;
  }
  uint64_t bytes() override {
    uint64_t tables = 0, files = 0;
    db_->GetIntProperty(rocksdb::DB::Properties::kSizeAllMemTables, &tables);
    db_->GetIntProperty(rocksdb::DB::Properties::kTotalSstFilesSize, &files);
    return tables + files;
  }
  std::unique_ptr<Reader> reader() override { return std::make_unique<RocksdbReader>(db_); }

 private:
  void open() {
    path_ = scratch() + "/rocksdb";
    rocksdb::BlockBasedTableOptions table;
    table.block_cache = rocksdb::NewLRUCache(kCacheBytes);
    table.filter_policy.reset(rocksdb::NewBloomFilterPolicy(10, false));
    rocksdb::Options options;
    options.create_if_missing = true;
    options.compression = rocksdb::kNoCompression;
    options.table_factory.reset(rocksdb::NewBlockBasedTableFactory(table));
    requireDone(rocksdb::DB::Open(options, path_, &db_));
    unlogged_.disableWAL = true;
  }
  void close() {
    delete db_;
    rocksdb::DestroyDB(path_, {});
  }
  template <class Change>
  void inBatches(std::span<const Route> routes, size_t batch, Change&& change) {
    inParts(routes, batch, [&](std::span<const Route> part) {
      changes_.Clear();
      for (const Route& route : part) requireDone(change(changes_, route));
      requireDone(db_->Write(unlogged_, &changes_));
    });
  }

  std::string path_;
  rocksdb::DB* db_ = nullptr;
  rocksdb::WriteOptions unlogged_;
  rocksdb::WriteBatch changes_;
};

const Enlisted kRocksdb("rocksdb", make<Rocksdb>);

}  // namespace
}  // namespace fibdb::bench
