// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/cds_lfht_peer.cc: the lock-free hash table of liburcu, probed for every mask length that occurs.
#define _LGPL_SOURCE  // its read side inline
#include <urcu/rculfhash.h>
#include <urcu/urcu-memb.h>

#include <cstddef>

#include "bench/peers/peer.h"

namespace fibdb::bench {
namespace {

struct Node {
  explicit Node(const Route& route) : key(route.key), record(made<Record>(route)) {}

  cds_lfht_node entry{};
  rcu_head retired{};
  PackedKey key;
  Record record;
};

unsigned long hashOf(const PackedKey& key) {
  constexpr uint64_t kFactor = 0x9E3779B97F4A7C15;
  const uint64_t word = (key.head() ^ key.tail()) * kFactor;
  return (word ^ (word >> 32)) * kFactor >> 8;
}
Node* nodeOf(cds_lfht_node* entry) {
  return reinterpret_cast<Node*>(reinterpret_cast<char*>(entry) - offsetof(Node, entry));
}
int matches(cds_lfht_node* entry, const void* key) {
  return nodeOf(entry)->key == *static_cast<const PackedKey*>(key) ? 1 : 0;
}
void retire(Node* node) {
  urcu_memb_call_rcu(&node->retired, [](rcu_head* head) {
    delete reinterpret_cast<Node*>(reinterpret_cast<char*>(head) - offsetof(Node, retired));
  });
}

// Each thread that uses the table makes itself known to it.
void know() {
  struct Thread {
    Thread() { urcu_memb_register_thread(); }
    ~Thread() { urcu_memb_unregister_thread(); }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
  };
  thread_local const Thread thread;
}

class LfhtReader final : public ReaderOf<LfhtReader> {
 public:
  LfhtReader(cds_lfht* const& table, const Lengths& lengths) : table_(table), lengths_(&lengths) {}

  size_t read(std::span<const Key> keys, Samples* took) override {
    know();
    return ReaderOf::read(keys, took);
  }
  size_t longest(std::span<const uint32_t> addrs, Samples* took) override {
    know();
    return ReaderOf::longest(addrs, took);
  }
  bool readOne(const Key& key, Record& out) {
    const PackedKey packed(key);
    cds_lfht_iter iter;
    urcu_memb_read_lock();
    cds_lfht_lookup(table_, hashOf(packed), matches, &packed, &iter);
    cds_lfht_node* const entry = cds_lfht_iter_get_node(&iter);
    if (entry != nullptr) out = nodeOf(entry)->record;
    urcu_memb_read_unlock();
    return entry != nullptr;
  }
  bool longestOne(uint32_t addr, Record& out) {
    for (const uint8_t length : lengths_->longestFirst()) {
      if (readOne({addr & maskOf(length), length}, out)) return true;
    }
    return false;
  }

 private:
  cds_lfht* const& table_;
  const Lengths* lengths_;
};

class Lfht final : public Peer {
 public:
  Lfht() { open(1); }
  ~Lfht() override { close(); }
  Lfht(const Lfht&) = delete;
  Lfht& operator=(const Lfht&) = delete;

  std::string name() const override { return "cds_lfht"; }
  uint32_t abilities() const override { return kKeyed | kLongest | kThreads | kOneWriter; }
  void renew(size_t routes) override {
    close();
    open(std::bit_ceil(routes));
  }
  void write(std::span<const Route> routes, size_t) override {
    know();
    for (const Route& route : routes) {
      auto* const node = new Node(route);
      urcu_memb_read_lock();
      cds_lfht_node* const before = cds_lfht_add_replace(table_, hashOf(node->key), matches, &node->key, &node->entry);
      urcu_memb_read_unlock();
      if (before != nullptr) {
        retire(nodeOf(before));
      } else {
        lengths_.add(route.key.length);
        ++count_;
      }
    }
  }
  void remove(std::span<const Route> routes, size_t) override {
    know();
    for (const Route& route : routes) {
      const PackedKey key(route.key);
      cds_lfht_iter iter;
      urcu_memb_read_lock();
      cds_lfht_lookup(table_, hashOf(key), matches, &key, &iter);
      cds_lfht_node* const entry = cds_lfht_iter_get_node(&iter);
      require(entry != nullptr && cds_lfht_del(table_, entry) == 0, "cds_lfht: no such route");
      urcu_memb_read_unlock();
      retire(nodeOf(entry));
      lengths_.drop(route.key.length);
      --count_;
    }
  }
  size_t count() override { return count_; }
  uint64_t bytes() override { return 0; }
  std::unique_ptr<Reader> reader() override { return std::make_unique<LfhtReader>(table_, lengths_); }

 private:
  // With a bucket for each route from the start: growing it is another thread's work, which may come late.
  void open(size_t buckets) {
    know();
    table_ = cds_lfht_new_flavor(buckets, buckets, 0, 0, &urcu_memb_flavor, nullptr);
    require(table_ != nullptr, "cds_lfht: not created");
    lengths_ = {};
    count_ = 0;
  }
  void close() {
    cds_lfht_iter iter;
    urcu_memb_read_lock();
    for (cds_lfht_first(table_, &iter); cds_lfht_iter_get_node(&iter) != nullptr; cds_lfht_next(table_, &iter)) {
      cds_lfht_node* const entry = cds_lfht_iter_get_node(&iter);
      if (cds_lfht_del(table_, entry) == 0) retire(nodeOf(entry));
    }
    urcu_memb_read_unlock();
    urcu_memb_barrier();
    require(cds_lfht_destroy(table_, nullptr) == 0, "cds_lfht: not destroyed");
  }

  cds_lfht* table_ = nullptr;
  Lengths lengths_;
  size_t count_ = 0;
};

const Enlisted kLfht("cds_lfht", make<Lfht>);

}  // namespace
}  // namespace fibdb::bench
