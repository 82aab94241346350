// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/btree_map_peer.cc: absl::btree_map, searched for what stands before an address.
#include <absl/container/btree_map.h>

#include <functional>
#include <optional>
#include <utility>

#include "bench/peers/counted.h"
#include "bench/peers/peer.h"

namespace fibdb::bench {
namespace {

using Map = absl::btree_map<PackedKey, Record, std::less<>, Counted<std::pair<const PackedKey, Record>>>;

class BtreeMapReader final : public ReaderOf<BtreeMapReader> {
 public:
  explicit BtreeMapReader(const Map& map) : map_(&map) {}

  bool readOne(const Key& key, Record& out) { return copyFrom(*map_, key, out); }
  bool longestOne(uint32_t addr, Record& out) {
    auto place = map_->end();
    const bool found = findLongest(addr, [&](const Key& wanted) -> std::optional<Key> {
      place = map_->upper_bound(PackedKey(wanted));
      if (place == map_->begin()) return std::nullopt;
      --place;
      return place->first.key();
    });
    if (found) out = place->second;
    return found;
  }
  size_t walk() override {
    size_t records = 0;
    for (const auto& [key, record] : *map_) {
      Record out = record;
      keep(out);
      ++records;
    }
    return records;
  }

 private:
  const Map* map_;
};

class BtreeMap final : public Peer {
 public:
  std::string name() const override { return "btree_map"; }
  uint32_t abilities() const override { return kKeyed | kLongest | kWalk | kThreads; }
  void renew(size_t) override { map_.clear(); }
  void write(std::span<const Route> routes, size_t) override {
    for (const Route& route : routes) map_.insert_or_assign(PackedKey(route.key), made<Record>(route));
  }
  void remove(std::span<const Route> routes, size_t) override {
    for (const Route& route : routes) require(map_.erase(PackedKey(route.key)) == 1, "btree_map: no such route");
  }
  size_t count() override { return map_.size(); }
  uint64_t bytes() override { return bytes_; }
  std::unique_ptr<Reader> reader() override { return std::make_unique<BtreeMapReader>(map_); }

 private:
  uint64_t bytes_ = 0;
  Map map_{Counted<Map::value_type>(bytes_)};
};

const Enlisted kBtreeMap("btree_map", make<BtreeMap>);

}  // namespace
}  // namespace fibdb::bench
