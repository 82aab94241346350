// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/index_peer.cc: the engine's longest-prefix index alone, with the records in a flat array.
#include "bench/peers/flat_records.h"
#include "bench/peers/peer.h"
#include "engine/store/longest_prefix_index.h"

namespace fibdb::bench {
namespace {

constexpr uint64_t kArenaBytes = uint64_t{4} << 30;

// Values are not 0, so they are the numbers of records plus one.
class IndexReader final : public ReaderOf<IndexReader> {
 public:
  IndexReader(const store::Heap& heap, const store::LongestPrefixIndex& index, const FlatRecords& records)
      : heap_(&heap), index_(&index), records_(&records) {}

  bool readOne(const Key&, Record&) { fail("no keyed read"); }
  bool longestOne(uint32_t addr, Record& out) {
    const uint32_t value = find(addr);
    if (value != 0) out = records_->at(value - 1);
    return value != 0;
  }
  size_t indexOnly(std::span<const uint32_t> addrs) override {
    return each(addrs, nullptr, [this](uint32_t addr) {
      uint32_t value = find(addr);
      keep(value);
      return value != 0;
    });
  }
  size_t indexOnlyBulk(std::span<const uint32_t> addrs) override {
    store::PrefixMatch matches[store::LongestPrefixIndex::kTogether];
    size_t found = 0;
    inParts(addrs, store::LongestPrefixIndex::kTogether, [&](std::span<const uint32_t> part) {
      store::readStable(*heap_, [&] {
        index_->longestOfEach(part.data(), static_cast<uint32_t>(part.size()), matches);
        return true;
      });
      for (const store::PrefixMatch& match : std::span(matches).first(part.size())) found += match.value != 0 ? 1 : 0;
    });
    return found;
  }

 private:
  uint32_t find(uint32_t addr) const {
    return store::readStable(*heap_, [&] { return index_->longest(addr, 32).value; });
  }

  const store::Heap* heap_;
  const store::LongestPrefixIndex* index_;
  const FlatRecords* records_;
};

class Index final : public Peer {
 public:
  Index() : arena_(kArenaBytes), heap_(arena_, heapState_), index_(heap_, state_) {}

  std::string name() const override { return "fibdb index"; }
  uint32_t abilities() const override { return kIndexOnly | kBulk; }
  void renew(size_t) override {
    arena_.clear();
    heapState_ = {};
    state_ = {};
    records_.clear();
  }
  void write(std::span<const Route> routes, size_t) override {
    for (const Route& route : routes) {
      const auto record = made<Record>(route);
      begin();
      const uint32_t number = records_.put(record);
      const uint32_t before = index_.insert(route.key.addr, route.key.length, number + 1);
      index_.grow(route.key.addr, 0);
      if (before != 0) records_.drop(before - 1);
    }
  }
  void remove(std::span<const Route> routes, size_t) override {
    for (const Route& route : routes) {
      begin();
      const uint32_t value = index_.erase(route.key.addr, route.key.length);
      require(value != 0, "fibdb index: no such prefix");
      records_.drop(value - 1);
    }
  }
  size_t count() override { return state_.count; }
  uint64_t bytes() override { return heapState_.heldBytes; }
  std::unique_ptr<Reader> reader() override { return std::make_unique<IndexReader>(heap_, index_, records_); }

 private:
  void begin() {
    heap_.beginWrite();
    require(heap_.ensure(store::LongestPrefixIndex::kMaxWriteBytes) == 0, "fibdb index: no memory");
  }

  store::Arena arena_;
  store::HeapState heapState_{};
  store::LongestPrefixState state_{};
  store::Heap heap_;
  store::LongestPrefixIndex index_;
  FlatRecords records_;
};

const Enlisted kIndex("fibdb index", make<Index>);

}  // namespace
}  // namespace fibdb::bench
