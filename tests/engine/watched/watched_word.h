// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/watched/watched_word.h: word.h's accesses, each shown to who watches it with the place where it stands.
//
// A memory model watches loads, to say what they find, and records stores (tests/engine/replay); a writer's death
// watches stores, to stop at one of them (tests/engine/death). While nobody watches, the accesses are what they say.
#ifndef FIBDB_TESTS_ENGINE_WATCHED_WATCHED_WORD_H
#define FIBDB_TESTS_ENGINE_WATCHED_WATCHED_WORD_H

#include <cstdint>
#include <cstring>

namespace fibdb::watched {

enum class Access : uint8_t { kLoad, kStore, kPublish, kFollow, kReleaseFence, kAcquireFence };

// An access in the store's sources.
struct Site {
  Access access;
  const char* file;
  const char* function;
  int line;
};

// Who watches what; nullptr: nobody.
struct Watcher {
  // Says what the load finds.
  uint64_t (*load)(const void* at, unsigned bytes, Site site) = nullptr;
  // Is there before the store, which need not come to be.
  void (*store)(void* at, unsigned bytes, uint64_t value, Site site) = nullptr;
  void (*releaseFence)(Site site) = nullptr;
  void (*acquireFence)(Site site) = nullptr;
};
inline constinit Watcher watcher;

template <class Word>
Word loadWord(const Word& word, Site site) {
  if (watcher.load == nullptr) return word;
  const uint64_t bits = watcher.load(&word, sizeof word, site);
  Word value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

template <class Word>
void storeWord(Word& word, Word value, Site site) {
  if (watcher.store != nullptr) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    watcher.store(&word, sizeof word, bits, site);
  }
  word = value;
}

}  // namespace fibdb::watched

// Where the caller stands.
#define FIBDB_HERE \
  const char *file = __builtin_FILE(), const char *function = __builtin_FUNCTION(), int line = __builtin_LINE()

namespace fibdb::store {

template <class Word>
Word load(const Word& word, FIBDB_HERE) {
  return watched::loadWord(word, {watched::Access::kLoad, file, function, line});
}

template <class Word>
void store(Word& word, Word value, FIBDB_HERE) {
  watched::storeWord(word, value, {watched::Access::kStore, file, function, line});
}

template <class Word>
void publish(Word& word, Word value, FIBDB_HERE) {
  watched::storeWord(word, value, {watched::Access::kPublish, file, function, line});
}

template <class Word>
Word follow(const Word& word, FIBDB_HERE) {
  return watched::loadWord(word, {watched::Access::kFollow, file, function, line});
}

inline void releaseFence(FIBDB_HERE) {
  if (watched::watcher.releaseFence == nullptr) return;
  watched::watcher.releaseFence({watched::Access::kReleaseFence, file, function, line});
}

inline void acquireFence(FIBDB_HERE) {
  if (watched::watcher.acquireFence == nullptr) return;
  watched::watcher.acquireFence({watched::Access::kAcquireFence, file, function, line});
}

}  // namespace fibdb::store

#undef FIBDB_HERE

#endif
