// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/replay/memory_model.cc: recording stores, and choosing what loads return.
#include "tests/engine/replay/memory_model.h"

#include <algorithm>
#include <cstring>

#include "engine/store/heap.h"

namespace fibdb::replay {
namespace {

MemoryModel* theModel = nullptr;

constexpr unsigned kWordBytes = 4;

}  // namespace

std::string fileOf(Site site) {
  const char* slash = std::strrchr(site.file, '/');
  return slash == nullptr ? site.file : slash + 1;
}

std::string functionOf(Site site) {
  const std::string whole = site.function;
  return whole.substr(0, whole.find('<'));
}

MemoryModel::MemoryModel(const store::Arena& arena, const Mutation& mutation)
    : base_(arena.at<unsigned char>(0)), bytes_(arena.reservedBytes()), mutation_(mutation) {
  const size_t words = (bytes_ + store::kExtentBytes) / kWordBytes;
  historyOf_.resize(words);
  histories_.resize(1);
  before_.resize((arena.usedBytes() + store::kExtentBytes) / kWordBytes);
  std::memcpy(before_.data(), base_, before_.size() * kWordBytes);
  before_.resize(words);
  theModel = this;
}

MemoryModel::~MemoryModel() { theModel = nullptr; }

bool MemoryModel::inArena(const void* at) const {
  const auto* byte = static_cast<const unsigned char*>(at);
  return byte >= base_ && byte < base_ + bytes_;
}

const MemoryModel::Passed& MemoryModel::pass(Site site) {
  constexpr uint64_t kLines = 4096;
  const uint64_t key = reinterpret_cast<uintptr_t>(site.file) * kLines + static_cast<uint64_t>(site.line);
  const auto [known, isNew] = passed_.try_emplace(key, Passed{site});
  Passed& passed = known->second;
  if (isNew && site.line == mutation_.line && fileOf(site) == mutation_.file) {
    passed.weakened = mutation_.kind == Mutation::Kind::kWeaken;
    if (mutation_.kind == Mutation::Kind::kDelay) passed.delay = 4;
    if (mutation_.kind == Mutation::Kind::kEnd) passed.delay = UINT32_MAX;
  }
  return passed;
}

std::vector<Site> MemoryModel::sites() const {
  std::vector<Site> sites;
  for (const auto& [key, passed] : passed_) sites.push_back(passed.site);
  return sites;
}

void MemoryModel::record(const std::function<void()>& write) {
  watched::watcher.store = [](void* at, unsigned bytes, uint64_t value, Site site) {
    theModel->recordStore(at, bytes, value, site);
  };
  watched::watcher.releaseFence = [](Site site) { theModel->recordFence(site); };
  write();
  watched::watcher = {};
  writeEnds_.push_back(stores_);
  endDelays(/*all=*/true);
}

void MemoryModel::append(uint32_t word, unsigned bytes, uint64_t value, Time released) {
  ++stores_;
  for (unsigned half = 0; half < bytes / kWordBytes; ++half) {
    uint32_t& history = historyOf_[word + half];
    if (history == 0) {
      history = static_cast<uint32_t>(histories_.size());
      histories_.push_back({{0, before_[word + half], 0, bytes > kWordBytes}});
    }
    histories_[history].push_back({stores_, static_cast<uint32_t>(value >> (32 * half)), released, bytes > kWordBytes});
  }
}

void MemoryModel::endDelays(bool all) {
  for (Delayed& store : delayed_) {
    if (all || --store.after == 0) append(store.word, store.bytes, store.value, store.released), store.after = 0;
  }
  std::erase_if(delayed_, [](const Delayed& store) { return store.after == 0; });
}

void MemoryModel::recordStore(const void* at, unsigned bytes, uint64_t value, Site site) {
  if (!inArena(at)) return;
  const auto word = static_cast<uint32_t>((static_cast<const unsigned char*>(at) - base_) / kWordBytes);
  Time released = lastFence_;
  if (site.access == Access::kPublish) {
    const Passed& passed = pass(site);
    if (passed.delay > 0) return delayed_.push_back({word, bytes, value, stores_, passed.delay});
    if (!passed.weakened) released = stores_ + 1;
  }
  append(word, bytes, value, released);
  endDelays(/*all=*/false);
}

void MemoryModel::recordFence(Site site) {
  if (!pass(site).weakened) lastFence_ = stores_;
}

size_t MemoryModel::endedBy(Time time) const {
  return static_cast<size_t>(std::upper_bound(writeEnds_.begin(), writeEnds_.end(), time) - writeEnds_.begin());
}

size_t MemoryModel::writesBegun() const { return std::min(endedBy(now_) + 1, writes()); }

void MemoryModel::replay(size_t write, uint64_t seed, const std::function<void()>& read) {
  random_.seed(seed);
  ++readers_;
  lastSeen_.resize(histories_.size());
  taste_ = static_cast<unsigned>(random_() % 4);
  gait_ = static_cast<unsigned>(random_() % 5);
  // What goes wrong at the edge of a write shows to who comes just then.
  const bool atEdge = random_() % 3 == 0;
  const Time begin = writeStart(write) + (atEdge ? 0 : static_cast<Time>(random_() % (storesOf(write) + 1)));
  known_ = pending_ = now_ = begin;
  // It may have synchronised long ago.
  if (random_() % 4 == 0) now_ = std::min(stores_, begin + static_cast<Time>(random_() % 3000));
  watched::watcher.load = [](const void* at, unsigned bytes, Site site) {
    return theModel->replayLoad(at, bytes, site);
  };
  watched::watcher.acquireFence = [](Site site) { theModel->replayFence(site); };
  read();
  watched::watcher = {};
}

// How readers walk through time: by stores, by writes, through long sleeps, and by just as long a sleep as blocks rest.
void MemoryModel::passTime() {
  const auto chance = static_cast<unsigned>(random_() % 1000);
  const auto toWrite = [&](size_t write) -> Time {
    return write < writes() ? writeStart(write) + static_cast<Time>(random_() % 100) : stores_;
  };
  Time then = now_;
  switch (gait_) {
    case 0:
      if (chance < 300) then += static_cast<Time>(random_() % 6);
      if (chance < 30) then += static_cast<Time>(random_() % 300);
      break;
    case 1:
      if (chance < 100) then += static_cast<Time>(random_() % 40);
      if (chance < 10) then = toWrite(endedBy(now_) + random_() % 12);
      break;
    case 2:
      if (chance < 20) then = toWrite(endedBy(now_) + random_() % (4 * store::kRestingWrites));
      break;
    case 3:
      if (chance < 15) then = toWrite(endedBy(now_) + store::kRestingWrites - 2 + random_() % 5);
      break;
    default:
      break;
  }
  now_ = std::min(std::max(now_, then), stores_);
}

// Which of the stores to a word a load returns: one that is neither older than what is known, nor than what this
// reader saw there before, nor later than now.
size_t MemoryModel::pick(uint32_t word) {
  const std::vector<Message>& history = histories_[historyOf_[word]];
  const auto latestBy = [&](Time time) {
    return static_cast<size_t>(std::upper_bound(history.begin(), history.end(), time,
                                                [](Time t, const Message& message) { return t < message.time; }) -
                               history.begin()) -
           1;
  };
  size_t oldest = latestBy(known_);
  if (const Seen& seen = lastSeen_[historyOf_[word]]; seen.reader == readers_) oldest = std::max(oldest, seen.message);
  const size_t newest = std::max(latestBy(now_), oldest);
  if (newest == oldest) return newest;
  const auto any = [&] { return oldest + random_() % (newest - oldest + 1); };
  const auto chance = static_cast<unsigned>(random_() % 100);
  switch (taste_) {
    case 1:
      return chance < 20 ? any() : chance < 30 ? oldest : newest;
    case 2:
      return chance < 50 ? oldest : chance < 70 ? any() : newest;
    case 3:
      return chance < 3 ? any() : newest;
    default:
      return newest;
  }
}

void MemoryModel::take(uint32_t word, size_t message, bool acquire) {
  lastSeen_[historyOf_[word]] = {readers_, message};
  const Time released = histories_[historyOf_[word]][message].released;
  pending_ = std::max(pending_, released);
  if (acquire) known_ = std::max(known_, released);
}

uint32_t MemoryModel::loadWord(uint32_t word, bool acquire) {
  if (historyOf_[word] == 0) {
    uint32_t value;
    std::memcpy(&value, base_ + uint64_t{word} * kWordBytes, sizeof value);
    // The arena's own extent has atomics; only a reader that was overtaken comes there.
    if (value != before_[word] && word >= store::kExtentBytes / kWordBytes) ++unrecordedReads_;
    return value;
  }
  const size_t message = pick(word);
  take(word, message, acquire);
  return histories_[historyOf_[word]][message].value;
}

uint64_t MemoryModel::replayLoad(const void* at, unsigned bytes, Site site) {
  if (!inArena(at)) {
    uint64_t value = 0;
    std::memcpy(&value, at, bytes);
    return value;
  }
  passTime();
  const bool acquire = site.access == Access::kFollow && !pass(site).weakened;
  const auto offset = static_cast<uint64_t>(static_cast<const unsigned char*>(at) - base_);
  const auto word = static_cast<uint32_t>(offset / kWordBytes);
  if (bytes <= kWordBytes) {
    const uint64_t value = loadWord(word, acquire);
    return bytes == kWordBytes ? value : value >> (8 * (offset % kWordBytes)) & ((1U << 8 * bytes) - 1);
  }
  // Eight bytes that were stored at once are seen at once.
  if (historyOf_[word] != 0 && historyOf_[word + 1] != 0) {
    const auto& low = histories_[historyOf_[word]];
    const auto& high = histories_[historyOf_[word + 1]];
    const size_t message = pick(word);
    const auto other =
        std::find_if(high.begin(), high.end(), [&](const auto& half) { return half.time == low[message].time; });
    if (low[message].halfOfWide && other != high.end()) {
      take(word, message, acquire);
      take(word + 1, static_cast<size_t>(other - high.begin()), acquire);
      return low[message].value | uint64_t{other->value} << 32;
    }
  }
  const uint64_t low = loadWord(word, acquire);
  return low | uint64_t{loadWord(word + 1, acquire)} << 32;
}

void MemoryModel::replayFence(Site site) {
  if (!pass(site).weakened) known_ = std::max(known_, pending_);
}

}  // namespace fibdb::replay
