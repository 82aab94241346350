// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/replay/memory_model.h: what a reader may see of one writer's stores.
//
// DESCRIPTION  The stores of a writer into an arena are recorded in their order. A reader is then replayed over them:
// every load may return any value that the C++ memory model lets it see - release and acquire, fences, relaxed
// accesses, and coherence, as 64-bit Arm has them - while time moves on between two loads by nothing, a store, a
// write, or thousands of writes. What it returns is drawn from a seed.
//
// With one writer the stores form one sequence, so "all that happened before a store" is a place in it, and a reader
// is: known (it has synchronised with everything up to there), pending (it will at its next acquire fence), and now.
// Out of scope: values out of thin air, and loads that see what is stored later.
#ifndef FIBDB_TESTS_ENGINE_REPLAY_MEMORY_MODEL_H
#define FIBDB_TESTS_ENGINE_REPLAY_MEMORY_MODEL_H

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/store/arena.h"
#include "tests/engine/watched/watched_word.h"

namespace fibdb::replay {

using watched::Access;
using watched::Site;

// A place in the sequence of stores; 0 is before the first.
using Time = uint32_t;

// The file's and the function's own name, without folders and template arguments.
std::string fileOf(Site site);
std::string functionOf(Site site);

// An order taken from the store on purpose, to see whether it is missed.
struct Mutation {
  enum class Kind : uint8_t {
    kNone,
    kWeaken,  // publish is a store, follow a load, a fence nothing
    kDelay,   // a publish comes after the four stores that follow it
    kEnd,     // a publish comes after its write has ended
  };
  Kind kind = Kind::kNone;
  std::string file;
  int line = 0;
};

class MemoryModel {
 public:
  MemoryModel(const store::Arena& arena, const Mutation& mutation);
  ~MemoryModel();
  MemoryModel(const MemoryModel&) = delete;
  MemoryModel& operator=(const MemoryModel&) = delete;

  // Records the stores of one write.
  void record(const std::function<void()>& write);
  size_t writes() const { return writeEnds_.size(); }
  uint32_t storesOf(size_t write) const { return writeEnds_[write] - writeStart(write); }

  // Replays a reader that begins amid a write, having synchronised with all before, and knows how patient it is.
  void replay(size_t write, uint64_t seed, const std::function<void()>& read);

  // While a reader is replayed: how many writes it knows of, and how many had begun by now.
  size_t writesKnown() const { return endedBy(known_); }
  size_t writesBegun() const;

  // The accesses with an order that were passed.
  struct Passed {
    Site site;
    bool weakened = false;
    uint32_t delay = 0;  // stores
  };
  std::vector<Site> sites() const;
  // How often words were read that were not stored through word.h.
  uint64_t unrecordedReads() const { return unrecordedReads_; }

 private:
  // One store to one 32-bit word. released: what whoever acquires it has synchronised with.
  struct Message {
    Time time;
    uint32_t value;
    Time released;
    bool halfOfWide;
  };
  struct Delayed {
    uint32_t word;
    unsigned bytes;
    uint64_t value;
    Time released;
    uint32_t after;  // so many stores
  };

  void recordStore(const void* at, unsigned bytes, uint64_t value, Site site);
  uint64_t replayLoad(const void* at, unsigned bytes, Site site);
  void recordFence(Site site);
  void replayFence(Site site);

  bool inArena(const void* at) const;
  const Passed& pass(Site site);
  void append(uint32_t word, unsigned bytes, uint64_t value, Time released);
  void endDelays(bool all);
  size_t pick(uint32_t word);
  uint32_t loadWord(uint32_t word, bool acquire);
  void take(uint32_t word, size_t message, bool acquire);
  void passTime();
  Time writeStart(size_t write) const { return write == 0 ? 0 : writeEnds_[write - 1]; }
  size_t endedBy(Time time) const;

  const unsigned char* base_;
  uint64_t bytes_;
  Mutation mutation_;
  std::unordered_map<uint64_t, Passed> passed_;

  std::vector<uint32_t> historyOf_;  // of a word; 0: never stored while recording
  std::vector<std::vector<Message>> histories_;
  std::vector<uint32_t> before_;  // every word as it was before
  std::vector<Delayed> delayed_;
  Time stores_ = 0, lastFence_ = 0;
  std::vector<Time> writeEnds_;

  std::mt19937_64 random_;
  unsigned taste_ = 0, gait_ = 0;
  Time known_ = 0, pending_ = 0, now_ = 0;
  // Per history, for coherence: by which reader it was read last, and what that saw.
  struct Seen {
    uint64_t reader = 0;
    size_t message = 0;
  };
  uint64_t readers_ = 0;
  std::vector<Seen> lastSeen_;
  uint64_t unrecordedReads_ = 0;
};

}  // namespace fibdb::replay

#endif
