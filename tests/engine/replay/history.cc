// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/replay/history.cc: random writes into a table, recorded, and their model.
#include "tests/engine/replay/history.h"

#include <algorithm>
#include <cstdlib>
#include <span>

namespace fibdb::replay {
namespace {

constexpr uint32_t kVrfs = 2;

Row makeRow(const RowKey& key, uint32_t stamp, uint32_t groups) {
  Row row{};
  row.vrf = key.vrf;
  row.addr = key.addr;
  row.mask = key.mask;
  row.stamp = stamp;
  row.group = stamp % groups;
  row.odd = static_cast<uint16_t>(stamp / 7 % 3);
  for (uint32_t i = 0; i < 3; ++i) row.proof[i] = (key.addr ^ stamp) * (2 * i + 1) + key.mask;
  row.tail = static_cast<uint8_t>(row.proof[1]);
  return row;
}

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

// Some rows stand before the recording begins, so that readers also meet what was never stored while it ran.
History::History(uint64_t seed, const HistoryShape& shape, const Mutation& mutation)
    : shape_(shape), store_(kTables, uint64_t{64} << 20), table_(store_.table(0)), memory_([&]() -> MemoryModel {
        makeKeys();
        std::mt19937_64 random(seed);
        for (uint32_t key = 0; key < keys_.size(); ++key) {
          if (random() % 3 == 0) put(key, makeRow(keys_[key], stamp_++ * 13, shape_.groups));
        }
        return MemoryModel(store_.arena(), mutation);
      }()) {
  noteTruth();
  std::mt19937_64 random(seed ^ 0x5EED);
  for (uint32_t i = 0; i < shape_.writes; ++i) write(random);
}

void History::makeKeys() {
  for (uint32_t vrf = 0; vrf < kVrfs; ++vrf) {
    constexpr uint32_t kNets[] = {0x0A000000U, 0x0A0B0C00U, 0xC0A80100U};
    for (const uint32_t net : std::span(kNets).first(shape_.nests)) {
      constexpr uint8_t kMasks[] = {0, 8, 12, 16, 20, 23, 24, 25, 30, 32};
      for (const uint8_t mask : kMasks) {
        const uint32_t bits = mask == 0 ? 0 : ~0U << (32 - mask);
        keys_.push_back({vrf, net & bits, mask});
        // Records that share a prefix differ below its mask.
        if (mask < 32) keys_.push_back({vrf, (net & bits) | (5 & ~bits), mask});
        if (mask < 32) keys_.push_back({vrf, (net & bits) | (9 & ~bits), mask});
      }
      for (const uint32_t host : {0U, 1U, 6U, 200U, 5000U}) probes_.push_back({vrf, net + host});
    }
  }
  // Half of them with bits below their mask.
  for (uint32_t i = 0; i < shape_.hosts; ++i) {
    keys_.push_back({i % kVrfs, 0x14000000 + i * 37, static_cast<uint8_t>(i / kVrfs % 2 == 0 ? 32 : 28)});
  }
  std::sort(keys_.begin(), keys_.end());
  keys_.erase(std::unique(keys_.begin(), keys_.end()), keys_.end());
  versions_.resize(keys_.size());
  longest_.resize(probes_.size());
  first_.resize(shape_.groups);
  counts_.resize(shape_.groups + 1);
}

uint32_t History::placeOf(const RowKey& key) const {
  const auto at = std::lower_bound(keys_.begin(), keys_.end(), key);
  return at != keys_.end() && *at == key ? static_cast<uint32_t>(at - keys_.begin()) : kNone;
}

const Version* History::versionAt(uint32_t key, State state) const {
  for (const Version& version : versions_[key]) {
    if (version.from <= state && state < version.to) return &version;
  }
  return nullptr;
}

void History::put(uint32_t key, const Row& row) {
  store::Change change;
  require(table_.write(row.bytes(), change) == 0);
  std::vector<Version>& versions = versions_[key];
  const bool replaces = !versions.empty() && versions.back().to == kForEver;
  require((change == store::Change::kReplaced) == replaces);
  if (replaces) versions.back().to = state_;
  versions.push_back({state_, kForEver, replaces ? versions.back().born : state_, kForEver, row});
}

void History::write(std::mt19937_64& random) {
  const auto key = static_cast<uint32_t>(random() % keys_.size());
  std::vector<Version>& versions = versions_[key];
  const bool there = !versions.empty() && versions.back().to == kForEver;
  written_.push_back(key);
  // It grows and shrinks by turns.
  const uint32_t removals = state_ * 4 / shape_.writes % 2 == 0 ? 3 : 6;
  ++state_;
  memory_.record([&] {
    if (there && random() % 10 < removals) {
      uint64_t removed = 0;
      require(table_.remove(kIndexes[0], keys_[key].bytes(), removed) == 0);
      versions.back().to = state_;
      const State born = versions.back().born;
      for (Version& version : versions) {
        if (version.born == born) version.died = state_;
      }
      return;
    }
    Row row = makeRow(keys_[key], stamp_++ * 13 + static_cast<uint32_t>(random() % 5), shape_.groups);
    if (there && random() % 3 == 0) {
      // Changed in place: every key as it was.
      row.group = versions.back().row.group;
      row.odd = versions.back().row.odd;
    }
    put(key, row);
  });
  noteTruth();
}

void History::noteTruth() {
  const auto isThere = [&](uint32_t key) { return !versions_[key].empty() && versions_[key].back().to == kForEver; };
  std::vector<uint32_t> first(shape_.groups, kNone), counts(shape_.groups + 1);
  std::vector<uint32_t> longest(probes_.size(), kNone);
  for (uint32_t key = 0; key < keys_.size(); ++key) {
    if (!isThere(key)) continue;
    const uint32_t group = versions_[key].back().row.group;
    ++counts[group];
    ++counts[shape_.groups];
    if (first[group] == kNone) first[group] = key;
    for (size_t i = 0; i < probes_.size(); ++i) {
      if (!keys_[key].covers(probes_[i].vrf, probes_[i].addr)) continue;
      if (longest[i] == kNone || keys_[longest[i]].mask < keys_[key].mask) longest[i] = key;
    }
  }
  for (uint32_t group = 0; group < shape_.groups; ++group) first_[group].push_back(first[group]);
  for (uint32_t group = 0; group <= shape_.groups; ++group) counts_[group].push_back(counts[group]);
  for (size_t i = 0; i < probes_.size(); ++i) longest_[i].push_back(longest[i]);
}

}  // namespace fibdb::replay
