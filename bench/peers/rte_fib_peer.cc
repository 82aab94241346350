// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/rte_fib_peer.cc: DPDK's forwarding table (DIR24_8, eight bytes a next hop), which leads to records in a
// flat array. Keys are found in the tree that it keeps beside.
#include <rte_fib.h>
#include <rte_memory.h>
#include <rte_rib.h>

#include <algorithm>

#include "bench/peers/flat_records.h"
#include "bench/peers/peer.h"
#include "bench/peers/rte_memory.h"

namespace fibdb::bench {
namespace {

constexpr uint64_t kNone = ~uint64_t{0} >> 1;  // one bit of a next hop is not its own
constexpr uint32_t kLongGroups = 4096;         // of /24 with longer prefixes, which are few
constexpr size_t kFewRoutes = 1000;
constexpr size_t kSpareRoutes = 200'000;

class RteFibReader final : public ReaderOf<RteFibReader> {
 public:
  RteFibReader(rte_fib* const& fib, const FlatRecords& records) : fib_(fib), records_(&records) {}

  bool readOne(const Key& key, Record& out) {
    const rte_rib_node* const node = rte_rib_lookup_exact(rte_fib_get_rib(fib_), key.addr, key.length);
    uint64_t number = 0;
    if (node == nullptr || rte_rib_get_nh(node, &number) != 0) return false;
    out = records_->at(number);
    return true;
  }
  bool longestOne(uint32_t addr, Record& out) {
    const uint64_t number = find(addr);
    if (number != kNone) out = records_->at(number);
    return number != kNone;
  }
  size_t indexOnly(std::span<const uint32_t> addrs) override {
    return each(addrs, nullptr, [this](uint32_t addr) {
      uint64_t number = find(addr);
      keep(number);
      return number != kNone;
    });
  }
  size_t longestBulk(std::span<const uint32_t> addrs, Record* out) override {
    return inBulks(addrs, [&](std::span<const uint64_t> numbers) {
      size_t found = 0;
      for (size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] == kNone) continue;
        out[i] = records_->at(numbers[i]);
        ++found;
      }
      return found;
    });
  }
  size_t indexOnlyBulk(std::span<const uint32_t> addrs) override {
    return inBulks(addrs, [](std::span<const uint64_t> numbers) {
      size_t found = 0;
      for (const uint64_t number : numbers) found += number != kNone ? 1 : 0;
      return found;
    });
  }

 private:
  uint64_t find(uint32_t addr) {
    uint64_t number;
    rte_fib_lookup_bulk(fib_, &addr, &number, 1);
    return number;
  }
  template <class Take>
  size_t inBulks(std::span<const uint32_t> addrs, Take&& take) {
    uint32_t asked[kBulkAddresses];
    uint64_t numbers[kBulkAddresses];
    size_t found = 0;
    inParts(addrs, kBulkAddresses, [&](std::span<const uint32_t> part) {
      std::ranges::copy(part, asked);
      rte_fib_lookup_bulk(fib_, asked, numbers, static_cast<int>(part.size()));
      found += take(std::span<const uint64_t>(numbers, part.size()));
    });
    return found;
  }

  rte_fib* const& fib_;
  const FlatRecords* records_;
};

class RteFib final : public Peer {
 public:
  RteFib() {
    startRte();
    create(kFewRoutes);
  }
  ~RteFib() override { rte_fib_free(fib_); }
  RteFib(const RteFib&) = delete;
  RteFib& operator=(const RteFib&) = delete;

  std::string name() const override { return "rte_fib"; }
  uint32_t abilities() const override { return kKeyed | kLongest | kIndexOnly | kBulk | kThreads; }
  void renew(size_t routes) override {
    rte_fib_free(fib_);
    records_.clear();
    create(routes);
  }
  void write(std::span<const Route> routes, size_t) override {
    for (const Route& route : routes) {
      const uint64_t before = numberOf(route.key);
      const uint32_t number = records_.put(made<Record>(route));
      require(rte_fib_add(fib_, route.key.addr, route.key.length, number) == 0, "rte_fib: a route was refused");
      if (before != kNone) records_.drop(static_cast<uint32_t>(before));
    }
  }
  void remove(std::span<const Route> routes, size_t) override {
    for (const Route& route : routes) {
      const uint64_t number = numberOf(route.key);
      require(number != kNone && rte_fib_delete(fib_, route.key.addr, route.key.length) == 0, "rte_fib: no such route");
      records_.drop(static_cast<uint32_t>(number));
    }
  }
  size_t count() override { return records_.count(); }
  uint64_t bytes() override { return rteBytes() - before_ + records_.bytes(); }
  std::unique_ptr<Reader> reader() override { return std::make_unique<RteFibReader>(fib_, records_); }

 private:
  void create(size_t routes) {
    before_ = rteBytes();
    rte_fib_conf conf{};
    conf.type = RTE_FIB_DIR24_8;
    conf.default_nh = kNone;
    conf.max_routes = static_cast<int>(routes + routes / 4 + kSpareRoutes);
    conf.dir24_8.nh_sz = RTE_FIB_DIR24_8_8B;
    conf.dir24_8.num_tbl8 = kLongGroups;
    fib_ = rte_fib_create("bench", SOCKET_ID_ANY, &conf);
    require(fib_ != nullptr, "rte_fib: not created");
  }
  uint64_t numberOf(const Key& key) const {
    const rte_rib_node* const node = rte_rib_lookup_exact(rte_fib_get_rib(fib_), key.addr, key.length);
    uint64_t number = kNone;
    if (node != nullptr) rte_rib_get_nh(node, &number);
    return number;
  }

  uint64_t before_ = 0;
  rte_fib* fib_ = nullptr;
  FlatRecords records_;
};

const Enlisted kRteFib("rte_fib", make<RteFib>);

}  // namespace
}  // namespace fibdb::bench
