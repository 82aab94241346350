// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/death/dying_word.h: word.h's stores as places where a writer can die.
#ifndef FIBDB_TESTS_ENGINE_DEATH_DYING_WORD_H
#define FIBDB_TESTS_ENGINE_DEATH_DYING_WORD_H

#include <cstdint>
#include <cstring>

namespace fibdb::death {

// A store in the store's sources.
struct Site {
  const char* file;
  int line;
};

// Implemented by deaths.cc. Does not return where the writer dies.
void beforeStore(void* at, unsigned bytes, uint64_t held, Site site);

}  // namespace fibdb::death

// Where the caller stands.
#define FIBDB_HERE const char *file = __builtin_FILE(), int line = __builtin_LINE()

namespace fibdb::store {

template <class Word>
Word load(const Word& word) {
  return word;
}

template <class Word>
void store(Word& word, Word value, FIBDB_HERE) {
  uint64_t held = 0;
  std::memcpy(&held, &word, sizeof word);
  death::beforeStore(&word, sizeof word, held, {file, line});
  word = value;
}

template <class Word>
void publish(Word& word, Word value, FIBDB_HERE) {
  store(word, value, file, line);
}

template <class Word>
Word follow(const Word& word) {
  return word;
}

inline void releaseFence() {}
inline void acquireFence() {}

}  // namespace fibdb::store

#undef FIBDB_HERE

#endif
