// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/peer.h: what the benchmark asks of fibdb, and of everything that could stand in its place.
#ifndef FIBDB_BENCH_PEERS_PEER_H
#define FIBDB_BENCH_PEERS_PEER_H

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "bench/route.h"

namespace fibdb::bench {

using Clock = std::chrono::steady_clock;

// Nanoseconds of single operations.
using Samples = std::vector<uint32_t>;

// Ends the program: a figure of a peer that failed would be no figure.
[[noreturn]] void fail(const std::string& what);
inline void require(bool holds, const char* what) {
  if (!holds) fail(what);
}

// The compiler must take it that the object is read.
template <class T>
void keep(T& object) {
  asm volatile("" : : "r"(&object) : "memory");
}

// What a peer can do beside storing routes and finding the longest prefix; bits.
enum Ability : uint32_t {
  kKeyed = 1,        // records by key, which can be written and removed one by one
  kWalk = 2,         // in key order
  kIndexOnly = 4,    // tells the longest prefix without a record
  kBulk = 8,         // looks many addresses up in one call
  kThreads = 16,     // several threads read at a time
  kOneWriter = 32,   // and one writes meanwhile
  kLongest = 64,     // with the record copied out
  kSlowToLoad = 128  // minutes for the whole table: left out of quick runs
};

inline constexpr size_t kBulkAddresses = 64;

// Reads; belongs to one thread. Each returns how many were found; every record found is copied out.
class Reader {
 public:
  virtual ~Reader() = default;
  // took: gets the time of each operation, unless it is null.
  virtual size_t read(std::span<const Key> keys, Samples* took) = 0;
  virtual size_t longest(std::span<const uint32_t> addrs, Samples* took) = 0;
  // A single one, to be compared.
  virtual bool answer(uint32_t addr, Record& out) = 0;
  virtual size_t walk() { fail("no walk"); }
  virtual size_t indexOnly(std::span<const uint32_t>) { fail("no index alone"); }
  // At most kBulkAddresses in one call, of which each has a route; out: room for as many records.
  virtual size_t longestBulk(std::span<const uint32_t>, Record*) { fail("no bulk lookup"); }
  virtual size_t indexOnlyBulk(std::span<const uint32_t>) { fail("no bulk lookup"); }
};

class Peer {
 public:
  virtual ~Peer() = default;
  virtual std::string name() const = 0;
  virtual uint32_t abilities() const = 0;
  // Empties it: as it is when it is new. routes: about how many are to come.
  virtual void renew(size_t routes) = 0;
  // Inserts or replaces, in batches of this many operations. Everything is applied when it returns; of batches of one,
  // each before the next is handed over.
  virtual void write(std::span<const Route> routes, size_t batch) = 0;
  virtual void remove(std::span<const Route> routes, size_t batch) = 0;
  virtual size_t count() = 0;
  // Memory that it holds for the routes; 0: it does not tell.
  virtual uint64_t bytes() = 0;
  virtual std::unique_ptr<Reader> reader() = 0;
};

// One operation after the other, timed one by one or not at all.
template <class Input, class Operation>
size_t each(std::span<const Input> inputs, Samples* took, Operation&& operation) {
  size_t found = 0;
  if (took == nullptr) {
    for (const Input& input : inputs) found += operation(input) ? 1 : 0;
    return found;
  }
  Clock::time_point begun = Clock::now();
  for (const Input& input : inputs) {
    found += operation(input) ? 1 : 0;
    const Clock::time_point ended = Clock::now();
    took->push_back(static_cast<uint32_t>((ended - begun) / std::chrono::nanoseconds(1)));
    begun = ended;
  }
  return found;
}

// All of them in order, at most so many at a time.
template <class Input, class Take>
void inParts(std::span<const Input> inputs, size_t most, Take&& take) {
  while (!inputs.empty()) {
    const auto part = inputs.first(std::min(most, inputs.size()));
    take(part);
    inputs = inputs.subspan(part.size());
  }
}

// What a reader repeats, around its own bool readOne(const Key&, Record&) and bool longestOne(uint32_t, Record&), which
// the compiler then sees.
template <class Own>
class ReaderOf : public Reader {
 public:
  size_t read(std::span<const Key> keys, Samples* took) override {
    Record out;
    return each(keys, took, [&](const Key& key) {
      const bool found = own().readOne(key, out);
      keep(out);
      return found;
    });
  }
  size_t longest(std::span<const uint32_t> addrs, Samples* took) override {
    Record out;
    return each(addrs, took, [&](uint32_t addr) {
      const bool found = own().longestOne(addr, out);
      keep(out);
      return found;
    });
  }
  bool answer(uint32_t addr, Record& out) override { return own().longestOne(addr, out); }

 private:
  Own& own() { return static_cast<Own&>(*this); }
};

// Of a map from packed keys to records.
template <class Map>
bool copyFrom(const Map& map, const Key& key, Record& out) {
  const auto found = map.find(PackedKey(key));
  if (found == map.end()) return false;
  out = found->second;
  return true;
}

// For peers without an order: the mask lengths that occur, longest first.
class Lengths {
 public:
  void add(uint8_t length) {
    if (counts_[length]++ == 0) list();
  }
  void drop(uint8_t length) {
    if (--counts_[length] == 0) list();
  }
  std::span<const uint8_t> longestFirst() const { return {list_, listed_}; }

 private:
  void list() {
    listed_ = 0;
    for (unsigned length = 33; length-- > 0;) {
      if (counts_[length] != 0) list_[listed_++] = static_cast<uint8_t>(length);
    }
  }

  uint64_t counts_[33] = {};
  uint8_t list_[33] = {};
  size_t listed_ = 0;
};

// A folder for files of peers, in TMPDIR or else in memory; gone when the program ends.
const std::string& scratch();

// Each peer's file enlists what it makes; a file is built when its library was found.
struct Enlisted {
  Enlisted(const char* name, std::unique_ptr<Peer> (*make)());
};
struct Entry {
  std::string name;
  std::unique_ptr<Peer> (*make)();
};
// fibdb first.
const std::vector<Entry>& roster();

template <class Made>
std::unique_ptr<Peer> make() {
  return std::make_unique<Made>();
}

}  // namespace fibdb::bench

#endif
