// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/measure.h: rounds in which every peer has its turn, and the figures that they give.
#ifndef FIBDB_BENCH_MEASURE_H
#define FIBDB_BENCH_MEASURE_H

#include <algorithm>
#include <chrono>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "bench/peers/peer.h"

namespace fibdb::bench {

enum class Unit : uint8_t { kPerSecond, kNanoseconds, kBytes, kShare };
inline bool moreIsBetter(Unit unit) { return unit == Unit::kPerSecond || unit == Unit::kShare; }

struct Spread {
  double median, least, most;
};
Spread spreadOf(std::vector<double> values);

// What one kind of work gave, peer by peer, a value a round.
struct Figure {
  struct Line {
    std::string peer;
    std::vector<double> rounds;
    Spread spread() const { return spreadOf(rounds); }
  };
  std::string name;
  Unit unit;
  std::vector<Line> lines;

  // The best of those that are not fibdb's, or nullptr.
  const Line* best() const;
  // fibdb's own, or nullptr.
  const Line* ours() const;
};

class Figures {
 public:
  void add(const std::string& name, Unit unit, const std::string& peer, double value);
  const std::vector<Figure>& all() const { return all_; }

 private:
  std::vector<Figure> all_;
};

// A peer that takes part, with the reader of the main thread.
class Candidate {
 public:
  explicit Candidate(std::unique_ptr<Peer> peer) : peer_(std::move(peer)), reader_(peer_->reader()) {}

  Peer& peer() { return *peer_; }
  Reader& reader() { return *reader_; }
  std::string name() const { return peer_->name(); }
  bool can(uint32_t abilities) const { return (peer_->abilities() & abilities) == abilities; }
  void renew(size_t routes) {
    reader_.reset();
    peer_->renew(routes);
    reader_ = peer_->reader();
  }

 private:
  std::unique_ptr<Peer> peer_;
  std::unique_ptr<Reader> reader_;
};

inline double secondsSince(Clock::time_point begun) {
  return std::chrono::duration<double>(Clock::now() - begun).count();
}

// The inputs from a place on, round and round.
template <class Input>
class Wheel {
 public:
  explicit Wheel(std::span<const Input> inputs, size_t place = 0) : inputs_(inputs), place_(place % inputs.size()) {}

  // Up to `most` of them; fewer only at the end.
  std::span<const Input> next(size_t most) {
    if (place_ == inputs_.size()) place_ = 0;
    const auto part = inputs_.subspan(place_, std::min(most, inputs_.size() - place_));
    place_ += part.size();
    return part;
  }

 private:
  std::span<const Input> inputs_;
  size_t place_;
};

// Operations per second: work does a part and returns how many these were, until the time is over.
template <class Work>
double rateOf(std::chrono::milliseconds slice, Work&& work) {
  const Clock::time_point begun = Clock::now();
  uint64_t operations = 0;
  do {
    operations += work();
  } while (Clock::now() - begun < slice);
  return static_cast<double>(operations) / secondsSince(begun);
}

// Each candidate once a round; another one begins every time.
template <class Work>
void inRounds(unsigned rounds, const std::vector<Candidate*>& candidates, Work&& work) {
  for (unsigned round = 0; round < rounds; ++round) {
    for (size_t i = 0; i < candidates.size(); ++i) work(*candidates[(i + round) % candidates.size()], round);
  }
}

// The value that this share of the samples does not exceed. Sorts them.
uint32_t percentile(Samples& samples, double share);

}  // namespace fibdb::bench

#endif
