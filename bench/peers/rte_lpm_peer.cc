// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/rte_lpm_peer.cc: DPDK's older forwarding table, which leads to records in a flat array. It searches its
// list of routes from the start for every change, so it is loaded once and not changed.
#include <rte_lpm.h>
#include <rte_memory.h>

#include <algorithm>

#include "bench/peers/flat_records.h"
#include "bench/peers/peer.h"
#include "bench/peers/rte_memory.h"

namespace fibdb::bench {
namespace {

constexpr uint32_t kLongGroups = 4096;
constexpr uint32_t kFewRoutes = 1000;

class RteLpmReader final : public ReaderOf<RteLpmReader> {
 public:
  RteLpmReader(const rte_lpm* lpm, const FlatRecords& records) : lpm_(lpm), records_(&records) {}

  bool readOne(const Key&, Record&) { fail("rte_lpm: no keyed read"); }
  bool longestOne(uint32_t addr, Record& out) {
    uint32_t number = 0;
    if (rte_lpm_lookup(lpm_, addr, &number) != 0) return false;
    out = records_->at(number);
    return true;
  }
  size_t indexOnly(std::span<const uint32_t> addrs) override {
    return each(addrs, nullptr, [this](uint32_t addr) {
      uint32_t number = 0;
      const bool found = rte_lpm_lookup(lpm_, addr, &number) == 0;
      keep(number);
      return found;
    });
  }

 private:
  const rte_lpm* lpm_;
  const FlatRecords* records_;
};

class RteLpm final : public Peer {
 public:
  RteLpm() {
    startRte();
    create(kFewRoutes);
  }
  ~RteLpm() override { rte_lpm_free(lpm_); }
  RteLpm(const RteLpm&) = delete;
  RteLpm& operator=(const RteLpm&) = delete;

  std::string name() const override { return "rte_lpm"; }
  uint32_t abilities() const override { return kLongest | kIndexOnly | kThreads | kSlowToLoad; }
  void renew(size_t routes) override {
    rte_lpm_free(lpm_);
    records_.clear();
    create(std::max(static_cast<uint32_t>(routes), kFewRoutes));
  }
  void write(std::span<const Route> routes, size_t) override {
    for (const Route& route : routes) {
      const uint32_t number = records_.put(made<Record>(route));
      require(rte_lpm_add(lpm_, route.key.addr, route.key.length, number) == 0, "rte_lpm: a route was refused");
    }
  }
  void remove(std::span<const Route>, size_t) override { fail("rte_lpm: no removal"); }
  size_t count() override { return records_.count(); }
  uint64_t bytes() override { return 0; }
  std::unique_ptr<Reader> reader() override { return std::make_unique<RteLpmReader>(lpm_, records_); }

 private:
  void create(uint32_t routes) {
    rte_lpm_config config{};
    config.max_rules = routes;
    config.number_tbl8s = kLongGroups;
    lpm_ = rte_lpm_create("bench", SOCKET_ID_ANY, &config);
    require(lpm_ != nullptr, "rte_lpm: not created");
  }

  rte_lpm* lpm_ = nullptr;
  FlatRecords records_;
};

const Enlisted kRteLpm("rte_lpm", make<RteLpm>);

}  // namespace
}  // namespace fibdb::bench
