// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/longest_prefix_index.h: IPv4 prefixes with one value each, as a compressed multibit trie.
//
// DESCRIPTION  Nodes of six bits: a node has a 64-bit map of its children and a 64-bit map of the prefixes
// that end inside it, and the children and values of the set bits stand behind them in order, found by
// counting bits. The levels are laid so that /6, /12, /18, /24 and /30 are the longest prefixes of their
// nodes, and neighbours share one. insert and erase copy the node they change, publish the copy with one
// store and retire the original; changing a value is one store.
//
// Beside a large trie stand shortcuts: for each thirteen bits with which an address can begin, the node that the way
// from the root leads to. Nearly every lookup begins there, and only one that finds nothing below looks above, too.
//
// COST     match: at most seven nodes, one for every six bits. insert, erase: one node copied, plus new nodes on
//          the way to a prefix that nothing shared before. from: the nodes between, each once.
//          A shortcut's way is seven nodes less three.
// MEMORY   Four bytes per prefix and per node, and 16 bytes in every node, rounded up to 16. Shortcuts: 2 KiB for each
//          sixteenth of the address space that has prefixes.
// THREADS  One writer (REQUIRES the table's lock); find, longest, match and from, from any thread, inside readStable.
#ifndef FIBDB_ENGINE_STORE_LONGEST_PREFIX_INDEX_H
#define FIBDB_ENGINE_STORE_LONGEST_PREFIX_INDEX_H

#include <cstdint>

#include "engine/store/heap.h"

namespace fibdb::store {

// The stored part; lives in the arena, zero is an empty trie. A table has one per set of leading key columns: a VRF.
inline constexpr uint32_t kShortcutBlocks = 16;
struct LongestPrefixState {
  Ref root;
  uint32_t count;                  // of prefixes
  Ref shortcuts[kShortcutBlocks];  // blocks of Refs of nodes; kNoRef: not made
};

struct PrefixMatch {
  uint32_t value;  // 0: none
  uint8_t length;
};

// A prefix as it stands in a trie. In order: by address, of one address the shorter prefix first.
struct PrefixEntry {
  uint32_t addr;  // bits below length are zero
  uint8_t length;
  uint32_t value;
};

// What one address can match: a prefix of every length, longest first.
inline constexpr uint32_t kMaxMatches = 33;
struct PrefixMatches {
  uint32_t count = 0;
  uint32_t values[kMaxMatches];
  uint8_t lengths[kMaxMatches];
};

class LongestPrefixIndex {
 public:
  // The most that one insert or erase allocates; what a write hands to Heap::ensure.
  static constexpr uint32_t kMaxWriteBytes = 1024;
  // The same in pieces: a copy, and a branch of seven levels.
  static constexpr uint32_t kMaxInsertPieces = 8;
  static constexpr uint32_t kMaxErasePieces = 1;

  LongestPrefixIndex(Heap heap, LongestPrefixState& state) : heap_(heap), state_(&state) {}

  // Prefixes are addr with bits below length ignored; length is at most 32, a value is not 0.
  // Sets the value of a prefix and returns the one it had, or 0.
  uint32_t insert(uint32_t addr, uint8_t length, uint32_t value);
  // Sets the value of a prefix that has none and returns 0, or returns the one that it has.
  uint32_t insertNew(uint32_t addr, uint8_t length, uint32_t value);
  // Removes a prefix and returns the value it had, or 0 when it was not there. An empty trie holds no memory.
  uint32_t erase(uint32_t addr, uint8_t length);
  // Makes the shortcuts around an address if the trie has become large, unless that would leave less than `keep` bytes.
  // A write calls it last, when it needs no more memory of its own.
  void grow(uint32_t addr, uint32_t keep);
  // The same, large or not.
  void makeShortcuts(uint32_t addr, uint32_t keep);

  // The value of exactly this prefix, or 0.
  uint32_t find(uint32_t addr, uint8_t length) const;
  // The longest prefix that covers addr and is no longer than maxLength.
  PrefixMatch longest(uint32_t addr, uint8_t maxLength) const {
    return maxLength == kAddrBits ? longestOfAll(heap_.arena(), *state_, addr)
                                  : longestUpTo(heap_.arena(), *state_, addr, maxLength);
  }
  // The same; nodes: how many it looks at.
  PrefixMatch longest(uint32_t addr, uint8_t maxLength, uint32_t& nodes) const;
  // Of many addresses, by prefixes of any length. They go down the levels together: what one of them wants to
  // look at next is asked for while the others look.
  static constexpr uint32_t kTogether = 64;
  void longestOfEach(const uint32_t* addrs, uint32_t count, PrefixMatch* out) const;  // REQUIRES: count <= kTogether
  // All prefixes that cover addr and are no longer than maxLength, longest first.
  void match(uint32_t addr, uint8_t maxLength, PrefixMatches& out) const;
  // Asks memory for the node that a shortcut leads to; once that is there, for the one below.
  void fetchFirst(uint32_t addr) const;
  void fetchThen(uint32_t addr) const;
  // Copies up to `most` prefixes, in order, from {addr, length} on; fewer only at the end. REQUIRES: most > 0.
  // nodes: how many it looks at.
  uint32_t from(uint32_t addr, uint32_t length, PrefixEntry* out, uint32_t most, uint32_t& nodes) const;
  uint32_t from(uint32_t addr, uint32_t length, PrefixEntry* out, uint32_t most) const {
    uint32_t nodes;
    return from(addr, length, out, most, nodes);
  }

  // The nodes and shortcuts, and every prefix: address, length, value.
  void survey(const Surveyor& to, const Visit<void(uint32_t, uint8_t, uint32_t)>& prefix) const;
  // Whether every shortcut leads to where the way from the root leads.
  bool shortcutsLeadRight() const;

 private:
  static constexpr uint8_t kAddrBits = 32;

  // What they need comes in registers.
  static PrefixMatch longestOfAll(const Arena& arena, const LongestPrefixState& state, uint32_t addr);
  static PrefixMatch longestUpTo(const Arena& arena, const LongestPrefixState& state, uint32_t addr, uint8_t maxLength);
  uint32_t place(uint32_t addr, uint8_t length, uint32_t value, bool replaces);
  uint32_t placeHere(uint32_t addr, uint8_t length, uint32_t value, bool replaces);
  uint32_t eraseHere(uint32_t addr, uint8_t length);
  Ref shortcutTo(uint32_t addr) const;
  Ref nodeAbove(uint32_t addr) const;
  bool leadsRight(Ref block, uint32_t number) const;
  void lead(uint32_t addr);
  void retireShortcuts();

  Heap heap_;
  LongestPrefixState* state_;
};

}  // namespace fibdb::store

#endif
