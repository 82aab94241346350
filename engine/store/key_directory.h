// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/key_directory.h: what is kept once per key of an index: a payload, found by the key.
//
// DESCRIPTION  Every key in use has a block {payload, key bytes}; a hash index leads to it. The payload is
// the index's own: how many records stand under the key.
//
// COST     find, enter, remove: O(1).
// THREADS  One writer (REQUIRES the table's lock); find from any thread, inside readStable.
#ifndef FIBDB_ENGINE_STORE_KEY_DIRECTORY_H
#define FIBDB_ENGINE_STORE_KEY_DIRECTORY_H

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "engine/store/hash_index.h"
#include "engine/store/heap.h"
#include "engine/store/key.h"
#include "engine/store/word.h"

namespace fibdb::store {

// Payload: stored state for which zero is the start.
template <class Payload>
class KeyDirectory {
  static_assert(std::is_trivially_copyable_v<Payload> && sizeof(Payload) % sizeof(uint32_t) == 0);

  struct HashOfBlock {
    const KeyDirectory* directory;
    uint64_t operator()(Ref block) const {
      Key key;
      directory->keyOf(block, key);
      return key.hash;
    }
  };
  using Blocks = HashIndex<HashOfBlock>;

 public:
  static constexpr uint32_t kMaxWriteBytes =
      Blocks::kMaxWriteBytes + sizeof(Payload) + schema::kMaxKeyLength + kRefUnit;
  // The key's block and an overflow bucket.
  static constexpr uint32_t kMaxWritePieces = 2;
  static_assert(sizeof(Payload) + schema::kMaxKeyLength <= kPieceBytes);

  KeyDirectory(Heap heap, HashIndexState& state, const KeyShape& shape) : heap_(heap), state_(&state), shape_(&shape) {}

  Payload* payload(Ref block) const { return heap_.at<Payload>(block); }

  // The block of this key, or kNoRef.
  Ref find(const Key& key) const {
    return find(key, [] {});
  }
  // The same; each is called for each bucket that is looked at.
  template <class Each>
  Ref find(const Key& key, Each&& each) const {
    return blocks().find(
        key.hash, [&](Ref block) { return hasKey(block, key); }, each);
  }

  uint32_t prepare() { return blocks().prepare(); }
  // The same, made when there was none. REQUIRES: prepared.
  Ref enter(const Key& key) {
    const Ref known = find(key);
    if (known != kNoRef) return known;
    const Ref block = heap_.allocate(blockBytes());
    const Payload start{};
    copyIn(payload(block), &start, sizeof start);
    copyIn(payload(block) + 1, key.bytes, key.length);
    blocks().insert(key.hash, block);
    return block;
  }

  void remove(const Key& key, Ref block) {
    blocks().erase(key.hash, block);
    heap_.retire(block, blockBytes());
  }

  void grow(uint32_t keep) { blocks().grow(keep); }

  // All blocks, the keys' own among them; each key's block.
  void survey(const Surveyor& to, const Visit<void(Ref)>& key) const {
    const auto entry = [&](Ref block, uint64_t& hash) {
      if (!to.block(block, blockBytes())) return false;
      hash = HashOfBlock{this}(block);
      key(block);
      return true;
    };
    const auto same = [&](Ref a, Ref b) {
      Key key;
      keyOf(a, key);
      return hasKey(b, key);
    };
    blocks().survey(to, entry, same);
  }
  // The key of a block.
  void keyOf(Ref block, Key& key) const {
    alignas(uint64_t) uint8_t packed[schema::kMaxKeyLength];
    copyOut(packed, payload(block) + 1, shape_->length());
    shape_->fromPacked(packed, key);
  }

 private:
  Blocks blocks() const { return Blocks(heap_, *state_, HashOfBlock{this}); }
  uint32_t blockBytes() const { return static_cast<uint32_t>(sizeof(Payload)) + shape_->length(); }
  // Whole words: a key is padded with zeros here and there.
  bool hasKey(Ref block, const Key& key) const {
    const auto* stored = reinterpret_cast<const uint32_t*>(payload(block) + 1);
    for (size_t at = 0; at < key.length; at += sizeof(uint32_t)) {
      uint32_t word;
      std::memcpy(&word, key.bytes + at, sizeof word);
      if (load(*stored++) != word) return false;
    }
    return true;
  }

  Heap heap_;
  HashIndexState* state_;
  const KeyShape* shape_;
};

}  // namespace fibdb::store

#endif
