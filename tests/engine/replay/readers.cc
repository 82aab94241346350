// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/replay/readers.cc: single reads, which must have been right at some moment between call and return, and
// walks, which return every record that stays, none twice, in their order.
#include "tests/engine/replay/readers.h"

#include <algorithm>
#include <set>
#include <vector>

#include "fibdb/engine.h"

namespace fibdb::replay {
namespace {

using store::Cursor;

class Reader {
 public:
  Reader(History& history, uint64_t seed) : history_(history), memory_(history.memory()), random_(seed) {}

  std::string play() {
    // More often a write that stores much: it splits something.
    write_ = below(memory_.writes());
    for (int more = static_cast<int>(below(4)); more > 0; --more) {
      const size_t other = below(memory_.writes());
      if (memory_.storesOf(other) > memory_.storesOf(write_)) write_ = other;
    }
    memory_.replay(write_, random_(), [&] {
      first_ = static_cast<State>(memory_.writesKnown());
      // Walks are long, so there are fewer of them.
      switch (random_() % 32) {
        case 0:
          return walkAll();
        case 1:
          return walkRange();
        case 2:
          return walkGroup();
        case 3:
        case 4:
          return walkPrefixes();
        default:
          break;
      }
      switch (random_() % 6) {
        case 0:
          return readKeys();
        case 1:
          return below(3) == 0 ? lookUpEach() : lookUp();
        case 2:
          return readFirstOfGroup();
        case 3:
          return countAfterRead();
        default:
          return count();
      }
    });
    return fault_;
  }

 private:
  State last() const { return static_cast<State>(memory_.writesBegun()); }
  void fail(const std::string& what) {
    if (fault_.empty()) fault_ = what + " (states " + std::to_string(first_) + " to " + std::to_string(last()) + ")";
  }
  size_t below(size_t bound) { return static_cast<size_t>(random_() % bound); }
  static uint8_t* bytes(Row& row) { return row.bytes(); }

  // Any key, or one that is written about now.
  uint32_t someKey() {
    if (below(2) == 0) return static_cast<uint32_t>(below(history_.keys().size()));
    return history_.keyWritten(std::min(write_ - std::min<size_t>(write_, 1) + below(3), memory_.writes() - 1));
  }
  uint32_t someGroup() {
    const auto& versions = history_.versionsOf(someKey());
    return versions.empty() ? static_cast<uint32_t>(below(history_.groups()))
                            : versions[below(versions.size())].row.group;
  }

  // Whether `holds` does in one of the states that may have been the moment.
  template <class Holds>
  bool someMoment(Holds&& holds) const {
    for (State state = first_; state <= last(); ++state) {
      if (holds(state)) return true;
    }
    return false;
  }

  bool wasRecord(const Row& row, State from, State to) const {
    const uint32_t key = history_.placeOf({row.vrf, row.addr, row.mask});
    if (key == History::kNone) return false;
    return std::ranges::any_of(history_.versionsOf(key), [&](const Version& version) {
      return version.row == row && version.from <= to && version.to > from;
    });
  }
  bool isRowAt(uint32_t key, State state, const Row& row) const {
    const Version* version = history_.versionAt(key, state);
    return version != nullptr && version->row == row;
  }

  void readKeys() {
    for (size_t reads = 1 + below(12); reads > 0; --reads) {
      first_ = static_cast<State>(memory_.writesKnown());
      readByKey(someKey());
    }
  }

  void readByKey(uint32_t key) {
    Row row{};
    const uint32_t code = history_.table().read(kIndexes[0], history_.keys()[key].bytes(), bytes(row));
    const bool right = someMoment(
        [&](State state) { return code == 0 ? isRowAt(key, state, row) : history_.versionAt(key, state) == nullptr; });
    if (!right) fail(code == 0 ? "read: a row that never was the record" : "read: no data, though it was there");
  }

  void lookUp() {
    // Any address, or one that a key covers that is written about now.
    const RowKey& near = history_.keys()[someKey()];
    size_t probe = below(history_.probes().size());
    for (size_t tries = 0; tries < history_.probes().size(); ++tries) {
      const size_t other = (probe + tries) % history_.probes().size();
      if (!near.covers(history_.probes()[other].vrf, history_.probes()[other].addr)) continue;
      probe = other;
      break;
    }
    const auto [vrf, addr] = history_.probes()[probe];
    const RowKey key{vrf, addr, 32};
    Cursor cursor;
    Row row{};
    cursor.openKey(history_.table(), kIndexes[3], key.bytes());
    const uint32_t code = cursor.next(bytes(row));
    const bool right = someMoment([&](State state) {
      const uint32_t longest = history_.longest(probe, state);
      return code == 0 ? longest != History::kNone && isRowAt(longest, state, row) : longest == History::kNone;
    });
    if (!right) fail(code == 0 ? "lookup: a route that never was the longest" : "lookup: none, though there was one");
  }

  // Probes of one VRF, together.
  void lookUpEach() {
    const uint32_t vrf = history_.keys()[someKey()].vrf;
    std::vector<size_t> probes;
    std::vector<uint32_t> addrs;
    for (size_t probe = 0; probe < history_.probes().size() && probes.size() < 40; ++probe) {
      if (history_.probes()[probe].vrf != vrf || below(2) == 0) continue;
      probes.push_back(probe);
      addrs.push_back(history_.probes()[probe].addr);
    }
    std::vector<Row> rows(probes.size());
    std::vector<uint8_t> found(probes.size());
    if (probes.empty()) return;
    history_.table().lookUpEach(kIndexes[3], reinterpret_cast<const uint8_t*>(&vrf), addrs.data(),
                                static_cast<uint32_t>(addrs.size()), bytes(rows[0]), found.data());
    for (size_t i = 0; i < probes.size(); ++i) {
      const bool right = someMoment([&](State state) {
        const uint32_t longest = history_.longest(probes[i], state);
        return found[i] == 1 ? longest != History::kNone && isRowAt(longest, state, rows[i])
                             : longest == History::kNone;
      });
      if (!right) fail(found[i] == 1 ? "lookups: a route that never was the longest" : "lookups: none, though one was");
    }
  }

  void readFirstOfGroup() {
    const uint32_t group = someGroup();
    Row row{};
    const uint32_t code = history_.table().read(kIndexes[1], reinterpret_cast<const uint8_t*>(&group), bytes(row));
    const bool right = someMoment([&](State state) {
      const uint32_t first = history_.firstOf(group, state);
      return code == 0 ? first != History::kNone && isRowAt(first, state, row) : first == History::kNone;
    });
    if (!right) fail(code == 0 ? "read of a group: never its first" : "read of a group: none, though never empty");
  }

  // A count agrees with the read before it: it was right then or later.
  void countAfterRead() {
    const uint32_t key = someKey();
    Row row{};
    const uint32_t code = history_.table().read(kIndexes[0], history_.keys()[key].bytes(), bytes(row));
    const uint32_t group = code == 0 ? row.group : someGroup();
    uint64_t records = 0;
    const bool ofGroup = below(2) == 0;
    if (ofGroup) {
      history_.table().countByKey(kIndexes[1], reinterpret_cast<const uint8_t*>(&group), records);
    } else {
      records = history_.table().count();
    }
    bool readWasRight = false;
    const bool agrees = someMoment([&](State state) {
      readWasRight |= code == 0 ? isRowAt(key, state, row) : history_.versionAt(key, state) == nullptr;
      return readWasRight && (ofGroup ? history_.countOf(group, state) : history_.count(state)) == records;
    });
    if (!agrees) fail("a count that disagrees with the read before it");
  }

  void count() {
    const uint32_t group = someGroup();
    uint64_t records = 0;
    history_.table().countByKey(kIndexes[1], reinterpret_cast<const uint8_t*>(&group), records);
    if (!someMoment([&](State state) { return history_.countOf(group, state) == records; })) {
      fail("countByKey: never so many");
    }
    first_ = static_cast<State>(memory_.writesKnown());
    const uint64_t all = history_.table().count();
    if (!someMoment([&](State state) { return history_.count(state) == all; })) fail("count: never so many");
  }

  // Steps a cursor to its end. isIn: whether a row belongs to the walk; isBefore: its order, if it has one.
  template <class IsIn, class IsBefore>
  void walk(Cursor& cursor, const std::string& name, IsIn&& isIn, IsBefore&& isBefore) {
    constexpr size_t kMost = 5000;
    std::set<uint32_t> met;
    Row row{}, before{};
    for (size_t steps = 0;; ++steps) {
      const auto known = static_cast<State>(memory_.writesKnown());
      if (cursor.next(bytes(row)) != 0) break;
      if (!wasRecord(row, known, last())) return fail(name + ": a row that was no record then");
      if (!isIn(row)) return fail(name + ": a record that does not belong there");
      if (!met.insert(history_.placeOf({row.vrf, row.addr, row.mask})).second) return fail(name + ": a record twice");
      if (steps > 0 && !isBefore(before, row)) return fail(name + ": out of order");
      if (steps > kMost) return fail(name + ": no end");
      before = row;
    }
    const State end = last();
    for (uint32_t key = 0; key < history_.keys().size(); ++key) {
      if (met.contains(key)) continue;
      // Belonging all the time: every version of the record that overlaps the walk does.
      bool stayed = false;
      for (const Version& version : history_.versionsOf(key)) {
        if (version.born > first_ || version.died <= end || version.to <= first_ || version.from > end) continue;
        stayed = isIn(version.row);
        if (!stayed) break;
      }
      if (stayed) return fail(name + ": a record that stayed was missed");
    }
  }

  static bool anyOrder(const Row&, const Row&) { return true; }
  static bool keyOrder(const Row& a, const Row& b) {
    return RowKey{a.vrf, a.addr, a.mask} < RowKey{b.vrf, b.addr, b.mask};
  }

  void walkAll() {
    Cursor cursor;
    cursor.openAll(history_.table());
    const bool filtered = below(3) == 0;
    if (filtered) cursor.keepOnly(kFields[0].offset, 1);
    walk(
        cursor, "walk", [&](const Row& row) { return !filtered || row.vrf == 1; }, anyOrder);
  }

  void walkRange() {
    RowKey low = history_.keys()[below(history_.keys().size())], high = history_.keys()[below(history_.keys().size())];
    if (high < low) std::swap(low, high);
    Cursor cursor;
    cursor.openRange(history_.table(), kIndexes[4], low.bytes(), high.bytes());
    const auto isIn = [&](const Row& row) {
      const RowKey key{row.vrf, row.addr, row.mask};
      return !(key < low) && !(high < key);
    };
    walk(cursor, "range", isIn, keyOrder);
  }

  void walkGroup() {
    const auto group = static_cast<uint32_t>(below(history_.groups()));
    Cursor cursor;
    cursor.openKey(history_.table(), kIndexes[1], reinterpret_cast<const uint8_t*>(&group));
    walk(
        cursor, "group", [&](const Row& row) { return row.group == group; }, anyOrder);
  }

  void walkPrefixes() {
    const auto [vrf, addr] = history_.probes()[below(history_.probes().size())];
    const RowKey key{vrf, addr, static_cast<uint8_t>(below(33))};
    Cursor cursor;
    cursor.openKey(history_.table(), kIndexes[3], key.bytes());
    const auto isIn = [&](const Row& row) {
      return row.mask <= key.mask && RowKey{row.vrf, row.addr, row.mask}.covers(key.vrf, key.addr);
    };
    walk(cursor, "prefixes", isIn,
         [](const Row& a, const Row& b) { return a.mask != b.mask ? a.mask > b.mask : a.addr < b.addr; });
  }

  History& history_;
  MemoryModel& memory_;
  std::mt19937_64 random_;
  size_t write_ = 0;
  State first_ = 0;
  std::string fault_;
};

}  // namespace

std::string replayReader(History& history, uint64_t seed) { return Reader(history, seed).play(); }

}  // namespace fibdb::replay
