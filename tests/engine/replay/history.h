// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/replay/history.h: a table's recorded history, and what was true in each of its states.
//
// State s is the table after s writes. The model behind the answers is plain: for every key its rows, each with the
// states between which it stood.
#ifndef FIBDB_TESTS_ENGINE_REPLAY_HISTORY_H
#define FIBDB_TESTS_ENGINE_REPLAY_HISTORY_H

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "engine/store/table.h"
#include "platform/schema/catalog.h"
#include "tests/engine/replay/memory_model.h"

namespace fibdb::replay {

// Rows whose fields are functions of each other: a mixture of two rows is none.
struct [[gnu::packed]] Row {
  uint32_t vrf, addr;
  uint8_t mask;
  uint16_t odd;
  uint32_t group, stamp, proof[3];
  uint8_t tail;

  const uint8_t* bytes() const { return reinterpret_cast<const uint8_t*>(this); }
  uint8_t* bytes() { return reinterpret_cast<uint8_t*>(this); }
  friend bool operator==(const Row& a, const Row& b) { return std::memcmp(&a, &b, sizeof a) == 0; }
};

inline constexpr auto kFields = schema::laidOut({
    schema::Field{"vrf", schema::FieldKind::kNumber, 4, 1},
    schema::Field{"addr", schema::FieldKind::kNumber, 4, 1},
    schema::Field{"mask", schema::FieldKind::kNumber, 1, 1},
    schema::Field{"odd", schema::FieldKind::kNumber, 2, 1},
    schema::Field{"group", schema::FieldKind::kNumber, 4, 1},
    schema::Field{"stamp", schema::FieldKind::kNumber, 4, 1},
    schema::Field{"proof", schema::FieldKind::kNumber, 4, 3},
    schema::Field{"tail", schema::FieldKind::kNumber, 1, 1},
});
static_assert(schema::rowLengthOf(kFields) == sizeof(Row));
inline constexpr schema::Index kIndexes[] = {
    schema::indexOf(kFields, 0, schema::IndexKind::kPrimary, "vrf, addr, mask"),
    schema::indexOf(kFields, 1, schema::IndexKind::kSecondary, "group"),
    schema::indexOf(kFields, 2, schema::IndexKind::kSecondary, "odd, vrf"),
    schema::indexOf(kFields, 3, schema::IndexKind::kLongest, "vrf, addr, mask"),
    schema::indexOf(kFields, 4, schema::IndexKind::kOrdered, "vrf, addr, mask"),
};
inline constexpr schema::Table kTables[] = {{"replayed", sizeof(Row), kFields, kIndexes}};

// Primary key, packed; also the key of the longest-prefix and of the ordered index.
struct [[gnu::packed]] RowKey {
  uint32_t vrf, addr;
  uint8_t mask;

  const uint8_t* bytes() const { return reinterpret_cast<const uint8_t*>(this); }
  friend bool operator==(const RowKey& a, const RowKey& b) {
    return a.vrf == b.vrf && a.addr == b.addr && a.mask == b.mask;
  }
  friend bool operator<(const RowKey& a, const RowKey& b) {
    if (a.vrf != b.vrf) return a.vrf < b.vrf;
    return a.addr != b.addr ? a.addr < b.addr : a.mask < b.mask;
  }
  bool covers(uint32_t otherVrf, uint32_t other) const {
    return vrf == otherVrf && (mask == 0 || (addr ^ other) >> (32 - mask) == 0);
  }
};

using State = uint32_t;
inline constexpr State kForEver = std::numeric_limits<State>::max();

// One row of a key, from a state on up to (and without) another; the record it belongs to lived as long or longer.
struct Version {
  State from, to;
  State born, died;
  Row row;
};

struct HistoryShape {
  uint32_t writes = 3000;
  uint32_t nests = 3;    // of prefixes inside each other, in each VRF
  uint32_t hosts = 300;  // keys beside them
  uint32_t groups = 5;
};

class History {
 public:
  static constexpr uint32_t kNone = UINT32_MAX;
  struct Probe {
    uint32_t vrf, addr;
  };

  History(uint64_t seed, const HistoryShape& shape, const Mutation& mutation = {});

  store::Table& table() { return table_; }
  store::Store& store() { return store_; }
  MemoryModel& memory() { return memory_; }
  uint32_t groups() const { return shape_.groups; }

  // In ascending order; the truth speaks of keys by their place.
  const std::vector<RowKey>& keys() const { return keys_; }
  const std::vector<Version>& versionsOf(uint32_t key) const { return versions_[key]; }
  uint32_t placeOf(const RowKey& key) const;
  uint32_t keyWritten(size_t write) const { return written_[write]; }
  const Version* versionAt(uint32_t key, State state) const;

  const std::vector<Probe>& probes() const { return probes_; }
  // The key of the longest prefix, the first key of a group, how many: in a state.
  uint32_t longest(size_t probe, State state) const { return longest_[probe][state]; }
  uint32_t firstOf(uint32_t group, State state) const { return first_[group][state]; }
  uint32_t countOf(uint32_t group, State state) const { return counts_[group][state]; }
  uint32_t count(State state) const { return counts_[shape_.groups][state]; }

 private:
  void makeKeys();
  void write(std::mt19937_64& random);
  void put(uint32_t key, const Row& row);
  void noteTruth();

  HistoryShape shape_;
  store::Store store_;
  store::Table& table_;
  std::vector<RowKey> keys_;
  std::vector<std::vector<Version>> versions_;
  std::vector<uint32_t> written_;
  State state_ = 0;
  uint32_t stamp_ = 1;
  std::vector<Probe> probes_;
  std::vector<std::vector<uint32_t>> longest_, first_, counts_;
  MemoryModel memory_;
};

}  // namespace fibdb::replay

#endif
