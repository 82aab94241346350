// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/word.h: words that a writer stores while readers load them.
//
// Stored state is plain bytes in the arena, so it is accessed through these, never through std::atomic members of
// larger structures: relaxed copies for content (a block before it is published, a record under its version),
// publish/follow for the reference that makes content reachable, and fences where an order concerns many words.
// They are the only way to words that readers see, so a test can stand in their place and choose, for every load,
// any value that the memory model allows: FIBDB_WORD_HOOKS names the header with its versions of the first six.
#ifndef FIBDB_ENGINE_STORE_WORD_H
#define FIBDB_ENGINE_STORE_WORD_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef FIBDB_WORD_HOOKS
#include FIBDB_WORD_HOOKS
#else

namespace fibdb::store {

template <class Word>
[[gnu::always_inline]] inline Word load(const Word& word) {
  return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

template <class Word>
[[gnu::always_inline]] inline void store(Word& word, Word value) {
  __atomic_store_n(&word, value, __ATOMIC_RELAXED);
}

// Everything stored before is seen by whoever follows the word.
template <class Word>
[[gnu::always_inline]] inline void publish(Word& word, Word value) {
  __atomic_store_n(&word, value, __ATOMIC_RELEASE);
}

template <class Word>
[[gnu::always_inline]] inline Word follow(const Word& word) {
  return __atomic_load_n(&word, __ATOMIC_ACQUIRE);
}

// Whoever acquires after seeing a later store sees the stores before this.
inline void releaseFence() { __atomic_thread_fence(__ATOMIC_RELEASE); }
// What was seen before this makes what preceded it visible.
inline void acquireFence() { __atomic_thread_fence(__ATOMIC_ACQUIRE); }

}  // namespace fibdb::store

#endif

namespace fibdb::store {

// For whoever finds what this thread had stored when it died: the compiler keeps the stores before this before those
// behind it. The machine does so for a thread that is stopped.
inline void keepOrder() { __atomic_signal_fence(__ATOMIC_SEQ_CST); }

// Copies out of and into shared memory, word by word. REQUIRES: the shared side is 4-byte aligned; bytes may be any
// number, the shared side has room up to the next multiple of four.
inline void copyOut(void* to, const void* shared, size_t bytes) {
  const auto* from = static_cast<const uint32_t*>(shared);
  auto* out = static_cast<unsigned char*>(to);
  for (; bytes >= sizeof(uint32_t); bytes -= sizeof(uint32_t), ++from, out += sizeof(uint32_t)) {
    const uint32_t word = load(*from);
    std::memcpy(out, &word, sizeof word);
  }
  if (bytes > 0) {
    const uint32_t word = load(*from);
    std::memcpy(out, &word, bytes);
  }
}

#if defined(FIBDB_WORD_HOOKS) || defined(__SANITIZE_THREAD__)
#define FIBDB_WORDS_ARE_WATCHED
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define FIBDB_WORDS_ARE_WATCHED
#endif
#endif

// Where each word is watched, none is copied with another, or twice.
#ifdef FIBDB_WORDS_ARE_WATCHED
inline constexpr bool kInPairs = false;
#else
inline constexpr bool kInPairs = true;
#endif

// Two words at once. Whoever copies content finds out by a version whether it stayed as it was, so a pair may be torn
// as any two words may. The language has no such access; this is one to every compiler.
using WordPair [[gnu::vector_size(16), gnu::aligned(4), gnu::may_alias]] = uint64_t;

// Two words beside each other, in one store.
[[gnu::always_inline]] inline void storeBoth(uint64_t& first, uint64_t a, uint64_t& second, uint64_t b) {
  if constexpr (kInPairs) {
    *reinterpret_cast<volatile WordPair*>(&first) = WordPair{a, b};
  } else {
    store(first, a);
    store(second, b);
  }
}

// Copies where the shared side is 8-byte aligned and the content sixteen bytes or more, as rows are but for a few:
// sixteen at a time, the last ones up to the end, whatever was copied before. Few branches: rows are short.
template <class CopyPair>
[[gnu::always_inline]] inline void inPairs(size_t bytes, CopyPair&& copyPair) {
  constexpr size_t kPair = sizeof(WordPair);
  size_t at = 0;
  for (; at + 4 * kPair <= bytes; at += 4 * kPair) {
    copyPair(at), copyPair(at + kPair), copyPair(at + 2 * kPair), copyPair(at + 3 * kPair);
  }
  if ((bytes & 2 * kPair) != 0) copyPair(at), copyPair(at + kPair), at += 2 * kPair;
  if ((bytes & kPair) != 0) copyPair(at);
  if (bytes % kPair != 0) copyPair(bytes - kPair);
}

inline void copyOutWide(void* to, const void* shared, size_t bytes) {
  if (!kInPairs || bytes < sizeof(WordPair)) return copyOut(to, shared, bytes);
  const auto* const from = static_cast<const unsigned char*>(shared);
  auto* const out = static_cast<unsigned char*>(to);
  inPairs(bytes, [&](size_t at) {
    const WordPair pair = *reinterpret_cast<const volatile WordPair*>(from + at);
    std::memcpy(out + at, &pair, sizeof pair);
  });
}

inline void copyIn(void* shared, const void* from, size_t bytes) {
  auto* to = static_cast<uint32_t*>(shared);
  const auto* in = static_cast<const unsigned char*>(from);
  for (; bytes >= sizeof(uint32_t); bytes -= sizeof(uint32_t), ++to, in += sizeof(uint32_t)) {
    uint32_t word;
    std::memcpy(&word, in, sizeof word);
    store(*to, word);
  }
  if (bytes > 0) {
    uint32_t word = 0;
    std::memcpy(&word, in, bytes);
    store(*to, word);
  }
}

inline void copyInWide(void* shared, const void* from, size_t bytes) {
  if (!kInPairs || bytes < sizeof(WordPair)) return copyIn(shared, from, bytes);
  auto* const to = static_cast<unsigned char*>(shared);
  const auto* const in = static_cast<const unsigned char*>(from);
  inPairs(bytes, [&](size_t at) {
    WordPair pair;
    std::memcpy(&pair, in + at, sizeof pair);
    *reinterpret_cast<volatile WordPair*>(to + at) = pair;
  });
}

}  // namespace fibdb::store

#endif
