// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/hash_index.h: references by the hash of what they refer to, growing one bucket at a time.
//
// DESCRIPTION  Linear hashing: buckets of one cache line (tags and references, overflow by chaining), and one
// bucket more, split off the oldest, whenever the load passes the bound, so no insert ever stalls. The index
// does not know keys: callers hand in a hash and, to look up, a predicate that says whether a reference is
// the one they want.
//
// COST     find, insert, erase: O(1), one or two cache lines beside what the predicate touches.
//          A split asks for the hashes of the references of one bucket, nine or so.
// MEMORY   Ten bytes per reference. What it has taken it keeps: buckets never become fewer.
// THREADS  One writer (REQUIRES the table's lock); find from any thread, inside readStable: a hit is what the
//          predicate makes of it, a miss is checked against a split that happened meanwhile.
// INVARIANTS
//   A reference stays where it is until it is erased or its bucket is split; a split enters it in the new
//   bucket, publishes the number of buckets, and only then clears it in the old one.
//   Only the last bucket of a chain is ever unlinked, once empty, and it serves again as an overflow bucket
//   of this index only: a reader that still looks at it has nothing more to see in its own chain, and sees a
//   bucket.
#ifndef FIBDB_ENGINE_STORE_HASH_INDEX_H
#define FIBDB_ENGINE_STORE_HASH_INDEX_H

#include <bit>
#include <cstdint>

#include "engine/store/heap.h"
#include "engine/store/probes.h"
#include "engine/store/word.h"

namespace fibdb::store {

// The stored part; lives in the arena, zero is empty.
struct HashIndexState {
  Ref directory;     // kNoRef: there are no buckets yet
  uint32_t buckets;  // how many a hash can go to
  uint64_t count;    // references held
  Ref freeOverflow;  // overflow buckets without a chain
};

struct HashBucket {
  static constexpr uint32_t kTagWords = 3;
  static constexpr uint32_t kSlots = kTagWords * sizeof(uint32_t);

  uint32_t tags[kTagWords];  // a byte of each reference's hash
  Ref refs[kSlots];          // kNoRef: a hole
  Ref next;
};
static_assert(sizeof(HashBucket) == 64);

// HashOf: callable as uint64_t(Ref), the hash under which a reference was inserted.
template <class HashOf>
class HashIndex {
 public:
  // The most that one insert allocates. prepare() and grow() ask the heap themselves.
  static constexpr uint32_t kMaxWriteBytes = sizeof(HashBucket);

  HashIndex(Heap heap, HashIndexState& state, HashOf hashOf) : heap_(heap), state_(&state), hashOf_(hashOf) {}

  // The reference inserted under hash that isIt accepts, or kNoRef. isIt may be asked about references with
  // other hashes, and about references that are being erased.
  template <class IsIt>
  Ref find(uint64_t hash, IsIt&& isIt) const {
    return find(hash, isIt, [] {});
  }
  // The same; each is called for each bucket that is looked at.
  template <class IsIt, class Each>
  Ref find(uint64_t hash, IsIt&& isIt, Each&& each) const;

  // Asks memory for the first bucket of a hash; once that is there, for what it may lead to.
  void fetchBucket(uint64_t hash) const;
  void fetchEntries(uint64_t hash) const;

  // Makes the first buckets: 0, or the heap's code. A write calls it before it changes anything.
  uint32_t prepare();
  // REQUIRES: prepared.
  void insert(uint64_t hash, Ref ref);
  bool erase(uint64_t hash, Ref ref);

  // Splits a bucket when the index has become crowded, unless that would leave less than `keep` bytes, or its chain is
  // so long as no hash makes it: crowded, the index only gets slower. Called when the write is complete, as a step.
  void grow(uint32_t keep);

  // The blocks of the directory and of buckets, and each reference: entry says whether it is one and, then, its hash;
  // same, whether two of them have the same key.
  using VisitEntry = Visit<bool(Ref, uint64_t&)>;
  using VisitPair = Visit<bool(Ref, Ref)>;
  void survey(const Surveyor& to, const VisitEntry& entry, const VisitPair& same) const;

 private:
  static constexpr uint32_t kBucketsPerBlock = kMaxBlockBytes / sizeof(HashBucket);
  static constexpr uint32_t kRefsPerBlock = kMaxBlockBytes / sizeof(Ref);
  static constexpr uint32_t kMaxBuckets = kBucketsPerBlock * kRefsPerBlock * kRefsPerBlock;
  // The directory's root and leaf, and a block of buckets.
  static constexpr uint32_t kMaxNewBucketBytes = 3 * kMaxBlockBytes;
  // References per bucket, on average, above which the index grows.
  static constexpr uint32_t kCrowded = 9;
  // What a reader follows at most: a damaged chain may be a circle.
  static constexpr uint32_t kMostInChain = 1U << 16;
  // Buckets of a chain that is split; each takes and gives away twelve references.
  static constexpr uint32_t kMostToSplit = 32;
  static_assert(kMostToSplit * 4 * HashBucket::kSlots < kMostNotes);
  static_assert(std::has_single_bit(kBucketsPerBlock) && std::has_single_bit(kRefsPerBlock));
  static_assert(kCrowded < HashBucket::kSlots);

  static uint32_t bucketOf(uint64_t hash, uint32_t buckets);
  static uint32_t tagPattern(uint64_t hash) { return static_cast<uint32_t>(hash >> 56) * 0x01010101; }
  static uint32_t equalBytes(uint32_t word, uint32_t pattern);

  HashBucket* bucketAt(uint32_t number) const;
  Ref zeroedBlock();
  void makeBucket(uint32_t number);
  HashBucket* appendOverflow(HashBucket* last);
  void place(HashBucket* chain, uint64_t hash, Ref ref);
  void trim(HashBucket* chain);
  void split(uint32_t from);

  uint32_t surveyChain(const HashBucket* chain, uint32_t number, const Surveyor& to, const VisitEntry& entry,
                       const VisitPair& same) const;

  template <class IsIt, class Each>
  Ref findIn(const HashBucket* chain, uint64_t hash, IsIt&& isIt, Each&& each) const;

  Heap heap_;
  HashIndexState* state_;
  HashOf hashOf_;
};

template <class HashOf>
uint32_t HashIndex<HashOf>::bucketOf(uint64_t hash, uint32_t buckets) {
  const uint32_t mask = std::bit_ceil(buckets) - 1;
  const uint32_t bucket = static_cast<uint32_t>(hash) & mask;
  return bucket < buckets ? bucket : bucket & mask >> 1;
}

// The high bit of every byte in which word and pattern agree, exactly.
template <class HashOf>
uint32_t HashIndex<HashOf>::equalBytes(uint32_t word, uint32_t pattern) {
  const uint32_t differ = word ^ pattern;
  return ~(((differ & 0x7F7F7F7F) + 0x7F7F7F7F) | differ | 0x7F7F7F7F);
}

template <class HashOf>
HashBucket* HashIndex<HashOf>::bucketAt(uint32_t number) const {
  const uint32_t block = number / kBucketsPerBlock;
  const Ref* root = heap_.at<Ref>(follow(state_->directory));
  const Ref* leaf = heap_.at<Ref>(follow(root[block / kRefsPerBlock]));
  return heap_.at<HashBucket>(follow(leaf[block % kRefsPerBlock])) + number % kBucketsPerBlock;
}

template <class HashOf>
template <class IsIt, class Each>
Ref HashIndex<HashOf>::findIn(const HashBucket* chain, uint64_t hash, IsIt&& isIt, Each&& each) const {
  const uint32_t pattern = tagPattern(hash);
  for (uint32_t buckets = 0; buckets < kMostInChain; ++buckets) {
    each();
    for (uint32_t word = 0; word < HashBucket::kTagWords; ++word) {
      for (uint32_t hits = equalBytes(load(chain->tags[word]), pattern); hits != 0; hits &= hits - 1) {
        const uint32_t byte = static_cast<uint32_t>(std::countr_zero(hits)) / 8;
        const Ref ref = follow(chain->refs[word * sizeof(uint32_t) + byte]);
        if (ref != kNoRef && isIt(ref)) return ref;
      }
    }
    const Ref next = follow(chain->next);
    if (next == kNoRef) break;
    chain = heap_.at<HashBucket>(next);
  }
  return kNoRef;
}

template <class HashOf>
template <class IsIt, class Each>
Ref HashIndex<HashOf>::find(uint64_t hash, IsIt&& isIt, Each&& each) const {
  uint32_t buckets = follow(state_->buckets);
  while (buckets != 0) {
    const uint32_t bucket = bucketOf(hash, buckets);
    const Ref found = findIn(bucketAt(bucket), hash, isIt, each);
    if (found != kNoRef) return found;
    // Had a split taken the reference away before we looked, we would see now that hashes go elsewhere.
    acquireFence();
    const uint32_t now = follow(state_->buckets);
    if (bucketOf(hash, now) == bucket) return kNoRef;
    buckets = now;
  }
  return kNoRef;
}

template <class HashOf>
void HashIndex<HashOf>::fetchBucket(uint64_t hash) const {
  const uint32_t buckets = follow(state_->buckets);
  if (buckets != 0) __builtin_prefetch(bucketAt(bucketOf(hash, buckets)));
}

template <class HashOf>
void HashIndex<HashOf>::fetchEntries(uint64_t hash) const {
  const uint32_t buckets = follow(state_->buckets);
  if (buckets == 0) return;
  const HashBucket* const bucket = bucketAt(bucketOf(hash, buckets));
  for (uint32_t word = 0; word < HashBucket::kTagWords; ++word) {
    for (uint32_t hits = equalBytes(load(bucket->tags[word]), tagPattern(hash)); hits != 0; hits &= hits - 1) {
      const uint32_t byte = static_cast<uint32_t>(std::countr_zero(hits)) / 8;
      const auto* const entry = heap_.at<uint8_t>(load(bucket->refs[word * sizeof(uint32_t) + byte]));
      __builtin_prefetch(entry);
      __builtin_prefetch(entry + kCacheLine);
    }
  }
}

template <class HashOf>
Ref HashIndex<HashOf>::zeroedBlock() {
  const Ref block = heap_.allocate(kMaxBlockBytes);
  auto* words = heap_.at<uint32_t>(block);
  for (uint32_t i = 0; i < kMaxBlockBytes / sizeof(uint32_t); ++i) store(words[i], 0U);
  return block;
}

// Makes sure that the bucket's memory exists; it reads as empty.
template <class HashOf>
void HashIndex<HashOf>::makeBucket(uint32_t number) {
  if (number % kBucketsPerBlock != 0) return;  // the block came with its first bucket
  const uint32_t block = number / kBucketsPerBlock;
  if (state_->directory == kNoRef) publish(heap_.noted(state_->directory), zeroedBlock());
  Ref& leaf = heap_.at<Ref>(state_->directory)[block / kRefsPerBlock];
  if (leaf == kNoRef) publish(heap_.noted(leaf), zeroedBlock());
  publish(heap_.noted(heap_.at<Ref>(leaf)[block % kRefsPerBlock]), zeroedBlock());
}

template <class HashOf>
HashBucket* HashIndex<HashOf>::appendOverflow(HashBucket* last) {
  Ref ref = state_->freeOverflow;
  if (ref == kNoRef) {
    ref = heap_.allocate(sizeof(HashBucket));
  } else {
    store(heap_.noted(state_->freeOverflow), heap_.noted(heap_.at<HashBucket>(ref)->next));
  }
  auto* bucket = heap_.at<HashBucket>(ref);
  for (uint32_t& tags : bucket->tags) store(tags, 0U);
  for (Ref& hole : bucket->refs) store(hole, kNoRef);
  publish(bucket->next, kNoRef);
  publish(heap_.noted(last->next), ref);
  return bucket;
}

template <class HashOf>
void HashIndex<HashOf>::place(HashBucket* chain, uint64_t hash, Ref ref) {
  for (;;) {
    for (uint32_t slot = 0; slot < HashBucket::kSlots; ++slot) {
      if (chain->refs[slot] != kNoRef) continue;
      const uint32_t shift = slot % sizeof(uint32_t) * 8;
      uint32_t& tags = chain->tags[slot / sizeof(uint32_t)];
      // Not noted: the tag of a hole means nothing.
      store(tags, (tags & ~(0xFFU << shift)) | (tagPattern(hash) & 0xFFU << shift));
      publish(heap_.noted(chain->refs[slot]), ref);
      return;
    }
    chain = chain->next == kNoRef ? appendOverflow(chain) : heap_.at<HashBucket>(chain->next);
  }
}

template <class HashOf>
uint32_t HashIndex<HashOf>::prepare() {
  if (state_->buckets != 0) return 0;
  if (const uint32_t code = heap_.ensure(kMaxNewBucketBytes)) return code;
  makeBucket(0);
  publish(heap_.noted(state_->buckets), kBucketsPerBlock);
  return 0;
}

template <class HashOf>
void HashIndex<HashOf>::insert(uint64_t hash, Ref ref) {
  place(bucketAt(bucketOf(hash, state_->buckets)), hash, ref);
  store(heap_.noted(state_->count), state_->count + 1);
}

template <class HashOf>
bool HashIndex<HashOf>::erase(uint64_t hash, Ref ref) {
  if (state_->buckets == 0) return false;
  HashBucket* const chain = bucketAt(bucketOf(hash, state_->buckets));
  for (HashBucket* bucket = chain;; bucket = heap_.at<HashBucket>(bucket->next)) {
    for (Ref& held : bucket->refs) {
      if (held != ref) continue;
      publish(heap_.noted(held), kNoRef);
      store(heap_.noted(state_->count), state_->count - 1);
      trim(chain);
      return true;
    }
    if (bucket->next == kNoRef) return false;
  }
}

// Unlinks empty buckets from the end of a chain.
template <class HashOf>
void HashIndex<HashOf>::trim(HashBucket* chain) {
  while (chain->next != kNoRef) {
    HashBucket* before = chain;
    while (heap_.at<HashBucket>(before->next)->next != kNoRef) before = heap_.at<HashBucket>(before->next);
    const Ref last = before->next;
    for (const Ref held : heap_.at<HashBucket>(last)->refs) {
      if (held != kNoRef) return;
    }
    publish(heap_.noted(before->next), kNoRef);
    store(heap_.noted(heap_.at<HashBucket>(last)->next), state_->freeOverflow);
    store(heap_.noted(state_->freeOverflow), last);
  }
}

template <class HashOf>
void HashIndex<HashOf>::grow(uint32_t keep) {
  const uint32_t buckets = state_->buckets;
  if (state_->count <= uint64_t{buckets} * kCrowded || buckets >= kMaxBuckets) return;
  const uint32_t from = bucketOf(buckets, buckets);
  uint32_t bytes = kMaxNewBucketBytes, length = 1;
  for (const HashBucket* bucket = bucketAt(from);; bucket = heap_.at<HashBucket>(bucket->next)) {
    if (length++ > kMostToSplit) return;
    bytes += sizeof(HashBucket);
    for (const Ref ref : bucket->refs) __builtin_prefetch(heap_.at<void>(ref));
    if (bucket->next == kNoRef) break;
  }
  if (heap_.ensure(bytes + keep) != 0) return;
  FIBDB_PROBE(index_grown, buckets + 1, state_->count);
  split(from);
  heap_.log().stand();
}

template <class HashOf>
void HashIndex<HashOf>::survey(const Surveyor& to, const VisitEntry& entry, const VisitPair& same) const {
  const Ref directory = follow(state_->directory);
  const uint32_t buckets = follow(state_->buckets);
  if (buckets > kMaxBuckets) return to.wrong("more buckets than there can be", directory);
  if (buckets > 0 && !to.block(directory, kMaxBlockBytes)) return;
  uint64_t count = 0;
  Ref leaf = kNoRef;
  for (uint32_t first = 0; first < buckets; first += kBucketsPerBlock) {
    const uint32_t block = first / kBucketsPerBlock;
    if (block % kRefsPerBlock == 0) {
      leaf = follow(heap_.at<Ref>(directory)[block / kRefsPerBlock]);
      if (!to.block(leaf, kMaxBlockBytes)) leaf = kNoRef;
    }
    if (leaf == kNoRef) continue;
    const Ref ref = follow(heap_.at<Ref>(leaf)[block % kRefsPerBlock]);
    if (!to.block(ref, kMaxBlockBytes)) continue;
    for (uint32_t i = 0; i < kBucketsPerBlock && first + i < buckets; ++i) {
      count += surveyChain(heap_.at<HashBucket>(ref) + i, first + i, to, entry, same);
    }
  }
  if (count != load(state_->count)) to.wrong("miscounted", kNoRef);
  for (Ref ref = load(state_->freeOverflow); ref != kNoRef && to.block(ref, sizeof(HashBucket));) {
    ref = load(heap_.at<HashBucket>(ref)->next);
  }
}

// The references in the chain of the bucket with this number.
template <class HashOf>
uint32_t HashIndex<HashOf>::surveyChain(const HashBucket* chain, uint32_t number, const Surveyor& to,
                                        const VisitEntry& entry, const VisitPair& same) const {
  // As many as a chain mostly has: in one that is longer the rest is not compared with each other.
  constexpr uint32_t kCompared = 64;
  struct {
    uint64_t hash;
    Ref ref;
  } known[kCompared];
  uint32_t knownCount = 0, count = 0;
  const uint32_t buckets = follow(state_->buckets);
  for (;;) {
    for (const Ref& ref : chain->refs) __builtin_prefetch(heap_.at<void>(load(ref)));
    for (uint32_t slot = 0; slot < HashBucket::kSlots; ++slot) {
      const Ref ref = follow(chain->refs[slot]);
      if (ref == kNoRef) continue;
      ++count;
      uint64_t hash = 0;
      if (!entry(ref, hash)) continue;
      if (bucketOf(hash, buckets) != number) to.wrong("in the wrong bucket", ref);
      const uint32_t tags = load(chain->tags[slot / sizeof(uint32_t)]);
      if (((tags ^ tagPattern(hash)) >> slot % sizeof(uint32_t) * 8 & 0xFF) != 0) to.wrong("with a wrong tag", ref);
      for (uint32_t i = 0; i < knownCount; ++i) {
        if (known[i].hash == hash && same(known[i].ref, ref)) to.wrong("a key for the second time", ref);
      }
      if (knownCount < kCompared) known[knownCount++] = {hash, ref};
    }
    const Ref next = follow(chain->next);
    if (next == kNoRef || !to.block(next, sizeof(HashBucket))) return count;
    chain = heap_.at<HashBucket>(next);
  }
}

// Moves what belongs to the next new bucket there, out of the one whose hashes it takes over.
template <class HashOf>
void HashIndex<HashOf>::split(uint32_t from) {
  const uint32_t to = state_->buckets;
  makeBucket(to);
  HashBucket* const chain = bucketAt(from);
  HashBucket* const fresh = bucketAt(to);
  // Hashes are asked for once: which references move is remembered for as many as a chain mostly has.
  constexpr uint32_t kRemembered = 64;
  uint64_t moving = 0;
  const auto eachRef = [&](auto&& visit) {
    uint32_t place = 0;
    for (HashBucket* bucket = chain;; bucket = heap_.at<HashBucket>(bucket->next)) {
      for (Ref& ref : bucket->refs) {
        if (ref != kNoRef) visit(place, ref);
        ++place;
      }
      if (bucket->next == kNoRef) return;
    }
  };
  eachRef([&](uint32_t place, Ref& ref) {
    const uint64_t hash = hashOf_(ref);
    if (bucketOf(hash, to + 1) != to) return;
    if (place < kRemembered) moving |= uint64_t{1} << place;
    this->place(fresh, hash, ref);
  });
  publish(heap_.noted(state_->buckets), to + 1);
  eachRef([&](uint32_t place, Ref& ref) {
    const bool moved = place < kRemembered ? (moving >> place & 1) != 0 : bucketOf(hashOf_(ref), to + 1) == to;
    if (moved) publish(heap_.noted(ref), kNoRef);
  });
  trim(chain);
}

}  // namespace fibdb::store

#endif
