// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/replay/replayed_word.h: word.h's accesses as hooks of the memory model (memory_model.h).
//
// Every access knows where in the store it stands, so that a test can take its order away. While nothing is
// recorded or replayed the accesses are what they say.
#ifndef FIBDB_TESTS_ENGINE_REPLAY_REPLAYED_WORD_H
#define FIBDB_TESTS_ENGINE_REPLAY_REPLAYED_WORD_H

#include <cstdint>
#include <cstring>

namespace fibdb::replay {

enum class Access : uint8_t { kLoad, kStore, kPublish, kFollow, kReleaseFence, kAcquireFence };

// An access in the store's sources.
struct Site {
  Access access;
  const char* file;
  const char* function;
  int line;
};

// Implemented by the memory model.
bool isRecording();
bool isReplaying();
void recordStore(const void* at, unsigned bytes, uint64_t value, Site site);
uint64_t replayLoad(const void* at, unsigned bytes, Site site);
void recordFence(Site site);
void replayFence(Site site);

template <class Word>
Word loadWord(const Word& word, Site site) {
  if (!isReplaying()) return word;
  const uint64_t bits = replayLoad(&word, sizeof word, site);
  Word value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

template <class Word>
void storeWord(Word& word, Word value, Site site) {
  if (isRecording()) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    recordStore(&word, sizeof word, bits, site);
  }
  word = value;
}

}  // namespace fibdb::replay

// Where the caller stands.
#define FIBDB_HERE \
  const char *file = __builtin_FILE(), const char *function = __builtin_FUNCTION(), int line = __builtin_LINE()

namespace fibdb::store {

using replay::Access;

template <class Word>
Word load(const Word& word, FIBDB_HERE) {
  return replay::loadWord(word, {Access::kLoad, file, function, line});
}

template <class Word>
void store(Word& word, Word value, FIBDB_HERE) {
  replay::storeWord(word, value, {Access::kStore, file, function, line});
}

template <class Word>
void publish(Word& word, Word value, FIBDB_HERE) {
  replay::storeWord(word, value, {Access::kPublish, file, function, line});
}

template <class Word>
Word follow(const Word& word, FIBDB_HERE) {
  return replay::loadWord(word, {Access::kFollow, file, function, line});
}

inline void releaseFence(FIBDB_HERE) {
  if (replay::isRecording()) replay::recordFence({Access::kReleaseFence, file, function, line});
}

inline void acquireFence(FIBDB_HERE) {
  if (replay::isReplaying()) replay::replayFence({Access::kAcquireFence, file, function, line});
}

}  // namespace fibdb::store

#undef FIBDB_HERE

#endif
