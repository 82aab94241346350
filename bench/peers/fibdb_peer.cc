// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/fibdb_peer.cc: fibdb through its exported calls, over the embedded engine.
#include <algorithm>

#include "bench/peers/peer.h"
#include "fibdb/fibdb.h"
#include "platform/objdb_tables.h"

namespace fibdb::bench {
namespace {

class FibdbReader final : public Reader {
 public:
  size_t read(std::span<const Key> keys, Samples* took) override {
    Item item{};
    return each(keys, took, [&](const Key& key) {
      item.vr_id = 0;
      item.vrf_index = 0;
      item.dest_ip_addr = key.addr;
      item.mask_len = key.length;
      const bool found = FIB_DB_ReadIp4forward(&item) == FIB_DB_OK;
      keep(item);
      return found;
    });
  }
  size_t longest(std::span<const uint32_t> addrs, Samples* took) override {
    Item item{};
    return each(addrs, took, [&](uint32_t addr) {
      const bool found = lookUp(addr, item);
      keep(item);
      return found;
    });
  }
  bool answer(uint32_t addr, Record& out) override {
    Item item{};
    const bool found = lookUp(addr, item);
    out = {};
    FIB_DB_SetIp4forwardItem(&item, &out);
    return found;
  }
  size_t longestBulk(std::span<const uint32_t> addrs, Record* out) override {
    const uint32_t leading[2] = {};
    uint8_t found[kBulkAddresses];
    const uint32_t status = fibdb_engine_lookup_each(table_, FIB_DB_IP4FORWARD_LONGEST, leading, addrs.data(),
                                                     static_cast<uint32_t>(addrs.size()), out, found);
    require(status == 0, "fibdb: no bulk lookup");
    return static_cast<size_t>(std::ranges::count(std::span(found).first(addrs.size()), 1));
  }
  size_t walk() override {
    FibDbIterator* const iterator = FIB_DB_CreateDictionaryIterator(FIB_DB_NO_PROPERTY);
    size_t records = 0;
    for (Item item{}; FIB_DB_GetNextIp4forward(iterator, &item) == FIB_DB_OK; ++records) keep(item);
    FIB_DB_ReleaseIp4forwardIterator(iterator);
    return records;
  }

 private:
  static bool lookUp(uint32_t addr, Item& item) {
    item.vr_id = 0;
    item.vrf_index = 0;
    item.dest_ip_addr = addr;
    item.mask_len = 32;
    return FIB_DB_ReadIp4forwardByLpm(&item) == FIB_DB_OK;
  }

  uint32_t table_ = fibdb_engine_find_table("ip4forward");
};

// One in a process: the connection and the batch object are the library's.
class Fibdb final : public Peer {
 public:
  Fibdb() { connect(); }
  ~Fibdb() override { disconnect(); }
  Fibdb(const Fibdb&) = delete;
  Fibdb& operator=(const Fibdb&) = delete;

  std::string name() const override { return "fibdb"; }
  uint32_t abilities() const override { return kKeyed | kLongest | kWalk | kBulk | kThreads | kOneWriter; }
  void renew(size_t) override {
    disconnect();
    require(fibdb_engine_reset() == 0, "fibdb: not reset");
    connect();
  }
  void write(std::span<const Route> routes, size_t batch) override {
    apply(routes, batch, [this](const Route& route) {
      const Item item = made<Item>(route);
      return FIB_DB_BatchAddOperWriteIp4forward(&batch_, &item, 0);
    });
  }
  void remove(std::span<const Route> routes, size_t batch) override {
    apply(routes, batch, [this](const Route& route) {
      Item item{};
      item.dest_ip_addr = route.key.addr;
      item.mask_len = route.key.length;
      return FIB_DB_BatchAddOperRemoveIp4forward(&batch_, &item);
    });
  }
  size_t count() override { return stats().records; }
  uint64_t bytes() override { return stats().bytes; }
  std::unique_ptr<Reader> reader() override { return std::make_unique<FibdbReader>(); }

 private:
  void connect() {
    require(FIB_DB_CreateAsyncConnect(0, 0) == FIB_DB_OK, "fibdb: no connection");
    require(FIB_DB_GetIp4forwardBatchAsyncObject(&batch_) == FIB_DB_OK, "fibdb: no batch object");
  }
  void disconnect() {
    FIB_DB_DestroyAsyncConnect();
    db_release_ip4forward_object(g_fibAsyncBatchObject);
    g_fibAsyncBatchObject = 0;
  }
  template <class Add>
  void apply(std::span<const Route> routes, size_t batch, Add&& add) {
    const uint64_t failedBefore = connection().failed;
    inParts(routes, batch, [&](std::span<const Route> part) {
      for (const Route& route : part) require(add(route) == FIB_DB_OK, "fibdb: an operation was refused");
      execute();
      if (batch == 1) fibdb_engine_drain(FIB_DB_GetAsyncConn());
    });
    fibdb_engine_drain(FIB_DB_GetAsyncConn());
    require(connection().failed == failedBefore, "fibdb: an operation failed");
  }
  void execute() {
    uint64_t argument = 0;
    uint32_t status = 0;
    while ((status = FIB_DB_BatchExecuteAsync(&batch_, &argument)) == FIB_DB_BATCH_NOT_EXECUTED) {
      fibdb_engine_drain(FIB_DB_GetAsyncConn());
    }
    require(status == FIB_DB_OK, "fibdb: a batch was refused");
  }
  static FibDbEngineConnectionStats connection() {
    FibDbEngineConnectionStats stats{};
    fibdb_engine_connection_stats(FIB_DB_GetAsyncConn(), &stats);
    return stats;
  }
  static FibDbEngineTableStats stats() {
    FibDbEngineTableStats stats{};
    fibdb_engine_table_stats(fibdb_engine_find_table("ip4forward"), &stats);
    return stats;
  }

  uint64_t batch_ = 0;
};

const Enlisted kFibdb("fibdb", make<Fibdb>);

}  // namespace
}  // namespace fibdb::bench
