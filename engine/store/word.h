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

// The same where the shared side is 8-byte aligned: eight bytes at a time, and what is left. Few branches: rows are
// short.
template <class CopyWide, class CopyNarrow>
[[gnu::always_inline]] inline void inParts(size_t bytes, CopyWide&& copyWide, CopyNarrow&& copyNarrow) {
  constexpr size_t kWide = sizeof(uint64_t), kNarrow = sizeof(uint32_t);
  size_t at = 0;
  for (; at + 4 * kWide <= bytes; at += 4 * kWide) {
    copyWide(at), copyWide(at + kWide), copyWide(at + 2 * kWide), copyWide(at + 3 * kWide);
  }
  if ((bytes & 2 * kWide) != 0) copyWide(at), copyWide(at + kWide), at += 2 * kWide;
  if ((bytes & kWide) != 0) copyWide(at), at += kWide;
  if ((bytes & kNarrow) != 0) copyNarrow(at, kNarrow), at += kNarrow;
  if (const size_t left = bytes % kNarrow) copyNarrow(at, left);
}

inline void copyOutWide(void* to, const void* shared, size_t bytes) {
  const auto* const from = static_cast<const unsigned char*>(shared);
  auto* const out = static_cast<unsigned char*>(to);
  const auto copyWide = [&](size_t at) {
    const uint64_t word = load(*reinterpret_cast<const uint64_t*>(from + at));
    std::memcpy(out + at, &word, sizeof word);
  };
  const auto copyNarrow = [&](size_t at, size_t size) {
    const uint32_t word = load(*reinterpret_cast<const uint32_t*>(from + at));
    std::memcpy(out + at, &word, size);
  };
  inParts(bytes, copyWide, copyNarrow);
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
  auto* const to = static_cast<unsigned char*>(shared);
  const auto* const in = static_cast<const unsigned char*>(from);
  const auto copyWide = [&](size_t at) {
    uint64_t word;
    std::memcpy(&word, in + at, sizeof word);
    store(*reinterpret_cast<uint64_t*>(to + at), word);
  };
  const auto copyNarrow = [&](size_t at, size_t size) {
    uint32_t word = 0;
    std::memcpy(&word, in + at, size);
    store(*reinterpret_cast<uint32_t*>(to + at), word);
  };
  inParts(bytes, copyWide, copyNarrow);
}

}  // namespace fibdb::store

#endif
