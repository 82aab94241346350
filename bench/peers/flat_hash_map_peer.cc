// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/flat_hash_map_peer.cc: absl::flat_hash_map, probed for every mask length that occurs.
#include <absl/container/flat_hash_map.h>

#include "bench/peers/counted.h"
#include "bench/peers/peer.h"

namespace fibdb::bench {

template <class State>
State AbslHashValue(State state, const PackedKey& key) {
  return State::combine(std::move(state), key.head(), key.tail());
}

namespace {

using Map = absl::flat_hash_map<PackedKey, Record, absl::Hash<PackedKey>, std::equal_to<>,
                                Counted<std::pair<const PackedKey, Record>>>;

class HashMapReader final : public ReaderOf<HashMapReader> {
 public:
  HashMapReader(const Map& map, const Lengths& lengths) : map_(&map), lengths_(&lengths) {}

  bool readOne(const Key& key, Record& out) { return copyFrom(*map_, key, out); }
  bool longestOne(uint32_t addr, Record& out) {
    for (const uint8_t length : lengths_->longestFirst()) {
      if (readOne({addr & maskOf(length), length}, out)) return true;
    }
    return false;
  }

 private:
  const Map* map_;
  const Lengths* lengths_;
};

class HashMap final : public Peer {
 public:
  std::string name() const override { return "flat_hash_map"; }
  uint32_t abilities() const override { return kKeyed | kLongest | kThreads; }
  void renew(size_t) override {
    map_ = emptyMap();
    lengths_ = {};
  }
  void write(std::span<const Route> routes, size_t) override {
    for (const Route& route : routes) {
      const auto [place, isNew] = map_.insert_or_assign(PackedKey(route.key), made<Record>(route));
      if (isNew) lengths_.add(route.key.length);
    }
  }
  void remove(std::span<const Route> routes, size_t) override {
    for (const Route& route : routes) {
      require(map_.erase(PackedKey(route.key)) == 1, "flat_hash_map: no such route");
      lengths_.drop(route.key.length);
    }
  }
  size_t count() override { return map_.size(); }
  uint64_t bytes() override { return bytes_; }
  std::unique_ptr<Reader> reader() override { return std::make_unique<HashMapReader>(map_, lengths_); }

 private:
  Map emptyMap() { return Map(Counted<Map::value_type>(bytes_)); }

  uint64_t bytes_ = 0;
  Map map_ = emptyMap();
  Lengths lengths_;
};

const Enlisted kHashMap("flat_hash_map", make<HashMap>);

}  // namespace
}  // namespace fibdb::bench
