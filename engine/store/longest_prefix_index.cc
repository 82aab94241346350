// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/longest_prefix_index.cc: walking and rebuilding the nodes of a longest-prefix trie.
//
// An address is read as chunks of six bits, after five zero bits that stand before it so that the levels fall
// where the header says: the root ends at /0, then come /1 to /6, /7 to /12 and so on, and the last level has
// /31 and /32. In a node a prefix whose last r bits (0 to 5) lie in the node's chunk has the place 1 << r |
// those bits, as in a heap: a longer prefix has a higher place, and the longest that covers a chunk is the
// highest set bit among its ancestors.
#include "engine/store/longest_prefix_index.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#include "engine/store/word.h"

namespace fibdb::store {
namespace {

constexpr uint32_t kChunkBits = 6;
constexpr uint32_t kChunks = 1 << kChunkBits;
constexpr uint32_t kLeadingBits = kChunkBits - 1;
constexpr uint32_t kMaxLength = 32;
constexpr uint32_t kLevels = (kLeadingBits + kMaxLength) / kChunkBits + 1;

// Behind a node stand the Refs of its children, then the values of its prefixes, in the order of their bits.
struct Node {
  uint64_t children;
  uint64_t prefixes;
};
constexpr uint32_t kMaxRefs = kChunks + kChunks - 1;
constexpr uint32_t bytesFor(uint32_t refs) { return uint32_t{sizeof(Node)} + refs * uint32_t{sizeof(Ref)}; }
static_assert(bytesFor(kMaxRefs) <= kPieceBytes && kLevels + 1 <= LongestPrefixIndex::kMaxInsertPieces);

// A write copies one node, or begins a branch of nodes with one Ref each.
constexpr uint32_t roundedUp(uint32_t bytes) { return (bytes + uint32_t{kRefUnit} - 1) & ~(uint32_t{kRefUnit} - 1); }
static_assert(roundedUp(bytesFor(kMaxRefs)) + kLevels * roundedUp(bytesFor(1)) <= LongestPrefixIndex::kMaxWriteBytes);

Ref* refsOf(Node& node) { return reinterpret_cast<Ref*>(&node + 1); }
const Ref* refsOf(const Node& node) { return reinterpret_cast<const Ref*>(&node + 1); }

constexpr uint64_t bitOf(uint32_t place) { return uint64_t{1} << place; }
constexpr uint64_t bitsBelow(uint32_t place) { return bitOf(place) - 1; }

constexpr uint32_t chunkOf(uint32_t addr, uint32_t level) {
  return static_cast<uint32_t>(uint64_t{addr} << (32 - kLeadingBits) >> (64 - kChunkBits - kChunkBits * level)) %
         kChunks;
}

// The places of the prefixes that cover a chunk.
constexpr std::array<uint64_t, kChunks> kAncestors = [] {
  std::array<uint64_t, kChunks> ancestors{};
  for (uint32_t chunk = 0; chunk < kChunks; ++chunk) {
    for (uint32_t place = (kChunks | chunk) >> 1; place > 0; place >>= 1) ancestors[chunk] |= bitOf(place);
  }
  return ancestors;
}();

// Where prefixes of one length stand: the level of the node, and how many bits of its chunk they use.
struct Depth {
  uint32_t level;
  uint32_t bits;

  explicit constexpr Depth(uint32_t length)
      : level((length + kLeadingBits) / kChunkBits), bits((length + kLeadingBits) % kChunkBits) {}

  uint32_t placeOf(uint32_t addr) const { return (kChunks | chunkOf(addr, level)) >> (kChunkBits - bits); }
  // The places in a node of this level that are no deeper.
  uint64_t reach() const { return bits + 1 == kChunkBits ? ~uint64_t{0} : bitsBelow(2u << bits); }
};
static_assert(Depth(0).level == 0 && Depth(0).bits == 5 && Depth(24).bits == 5 && Depth(25).level == 5);
static_assert(Depth(kMaxLength).level == kLevels - 1);

// What a node of a level can have: the root stands before the first bits of addresses, nothing below the last.
constexpr uint64_t childrenAt(uint32_t level) {
  if (level == 0) return bitsBelow(1U << (kChunkBits - kLeadingBits));
  return level == kLevels - 1 ? 0 : ~uint64_t{0};
}
// Readers of garbage look at no others: a prefix is no longer than an address.
constexpr uint64_t prefixesAt(uint32_t level) {
  if (level == 0) return bitOf(1U << kLeadingBits);
  return (level == kLevels - 1 ? Depth(kMaxLength).reach() : ~uint64_t{0}) & ~bitOf(0);
}

// REQUIRES: one is set. std::bit_width would look for it, and be a call.
[[gnu::always_inline]] constexpr uint32_t highestOf(uint64_t bits) {
  return static_cast<uint32_t>(__builtin_clzll(bits)) ^ 63U;
}

[[gnu::always_inline]] constexpr uint8_t lengthAt(uint32_t level, uint32_t place) {
  return static_cast<uint8_t>(level * kChunkBits + highestOf(place) - kLeadingBits);
}

// The number of bits set. Spelt out because the baseline x86-64 has no instruction for it and the compiler
// would call its own library; where the target has one (see counting below) it recognises the idiom, in what is
// inlined there.
[[gnu::always_inline]] constexpr uint32_t countOf(uint64_t bits) {
  bits -= bits >> 1 & 0x5555555555555555;
  bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
  bits = (bits + (bits >> 4)) & 0x0f0f0f0f0f0f0f0f;
  return static_cast<uint32_t>(bits * 0x0101010101010101 >> 56);
}
static_assert(countOf(0) == 0 && countOf(~uint64_t{0}) == 64 && countOf(0x8000000000000101) == 3);

// Which of the Refs behind a node belongs to a child or a prefix that is there.
[[gnu::always_inline]] constexpr uint32_t childRank(uint64_t children, uint32_t chunk) {
  return countOf(children & bitsBelow(chunk));
}
[[gnu::always_inline]] constexpr uint32_t valueRank(uint64_t children, uint64_t prefixes, uint32_t place) {
  return countOf(children) + countOf(prefixes & bitsBelow(place));
}

[[gnu::always_inline]] inline uint32_t bytesOf(const Node& node) {
  return bytesFor(countOf(node.children) + countOf(node.prefixes));
}

[[gnu::always_inline]] inline Ref& childOf(Node& node, uint32_t chunk) {
  return refsOf(node)[childRank(node.children, chunk)];
}
[[gnu::always_inline]] inline uint32_t& valueOf(Node& node, uint32_t place) {
  return refsOf(node)[valueRank(node.children, node.prefixes, place)];
}

// A node in the making. What counts bits is inlined where it is called (see counting below).
class Draft {
 public:
  Draft() : maps_{0, 0}, count_(0) {}
  [[gnu::always_inline]] explicit Draft(const Node& node)
      : maps_(node), count_(countOf(node.children) + countOf(node.prefixes)) {
    std::memcpy(refs_, refsOf(node), count_ * sizeof(Ref));
  }

  bool empty() const { return count_ == 0; }
  [[gnu::always_inline]] void addChild(uint32_t chunk, Ref child) {
    add(childRank(maps_.children, chunk), child);
    maps_.children |= bitOf(chunk);
  }
  [[gnu::always_inline]] void removeChild(uint32_t chunk) {
    remove(childRank(maps_.children, chunk));
    maps_.children &= ~bitOf(chunk);
  }
  [[gnu::always_inline]] void addPrefix(uint32_t place, uint32_t value) {
    add(valueRank(maps_.children, maps_.prefixes, place), value);
    maps_.prefixes |= bitOf(place);
  }
  [[gnu::always_inline]] void removePrefix(uint32_t place) {
    remove(valueRank(maps_.children, maps_.prefixes, place));
    maps_.prefixes &= ~bitOf(place);
  }

  Ref commit(Heap& heap) const {
    const Ref ref = heap.allocate(bytesFor(count_));
    Node& node = *heap.at<Node>(ref);
    store(node.children, maps_.children);
    store(node.prefixes, maps_.prefixes);
    copyInWide(refsOf(node), refs_, count_ * sizeof(Ref));
    return ref;
  }

 private:
  void add(uint32_t rank, Ref ref) {
    std::memmove(refs_ + rank + 1, refs_ + rank, (count_ - rank) * sizeof(Ref));
    refs_[rank] = ref;
    ++count_;
  }
  void remove(uint32_t rank) {
    --count_;
    std::memmove(refs_ + rank, refs_ + rank + 1, (count_ - rank) * sizeof(Ref));
  }

  Node maps_;
  uint32_t count_;
  Ref refs_[kMaxRefs];
};

// Puts the draft in the place of the node that the link leads to, or nothing if nothing is left in it. The node that
// stood there is to be retired once shortcuts lead past it, too.
[[nodiscard]] Ref replace(Heap& heap, Ref& link, const Draft& draft) {
  const Ref replaced = link;
  publish(heap.noted(link), draft.empty() ? kNoRef : draft.commit(heap));
  return replaced;
}

[[gnu::always_inline]] inline void retire(Heap& heap, Ref node) { heap.retire(node, bytesOf(*heap.at<Node>(node))); }

// Sets a value that readers may be looking at and returns the one before.
uint32_t exchange(Heap& heap, uint32_t& value, uint32_t to) {
  const uint32_t before = value;
  publish(heap.noted(value), to);
  return before;
}

// New nodes from `level` down to the one that holds the prefix.
Ref branch(Heap& heap, uint32_t level, uint32_t addr, Depth depth, uint32_t value) {
  Draft last;
  last.addPrefix(depth.placeOf(addr), value);
  Ref top = last.commit(heap);
  for (uint32_t above = depth.level; above > level; --above) {
    Draft node;
    node.addChild(chunkOf(addr, above - 1), top);
    top = node.commit(heap);
  }
  return top;
}

// Shortcuts lead to the nodes of this level; there is one for every way to them.
constexpr uint32_t kShortcutLevel = 3;
constexpr uint32_t kShortcutBits = kShortcutLevel * kChunkBits - kLeadingBits;
constexpr Depth kAboveShortcuts(kShortcutBits - 1);
static_assert(kAboveShortcuts.level == kShortcutLevel - 1 && kAboveShortcuts.bits == kChunkBits - 1);
constexpr uint32_t kShortcutsPerBlock = kMaxBlockBytes / sizeof(Ref);
static_assert(kShortcutsPerBlock * kShortcutBlocks == 1U << kShortcutBits);

// From so many prefixes on a trie has shortcuts. A test may want them in small ones.
#ifdef FIBDB_LARGE_TRIE
constexpr uint32_t kLargeTrie = FIBDB_LARGE_TRIE;
#else
constexpr uint32_t kLargeTrie = 2048;
#endif

constexpr uint32_t shortcutOf(uint32_t addr) { return addr >> (kMaxLength - kShortcutBits); }

// A node on the way; its second line is asked for with the first.
[[gnu::always_inline]] inline const Node& nodeAt(const Arena& arena, Ref ref) {
  const Node& node = *arena.at<Node>(ref);
  __builtin_prefetch(reinterpret_cast<const uint8_t*>(&node) + kCacheLine);
  return node;
}

// Calls visit(level, node, covering) for the nodes on the way to addr, from one of them on; covering has the
// places of the prefixes in the node that cover addr and are no longer than the depth. What a reader meets
// may be garbage if it was overtaken: it goes no further than the last level and follows no Ref out of the arena.
template <class Visit>
[[gnu::always_inline]] inline void walk(const Arena& arena, Ref from, uint32_t level, uint32_t addr, Depth depth,
                                        Visit&& visit) {
  for (Ref ref = from; ref != kNoRef && arena.readable(ref); ++level) {
    const Node& node = nodeAt(arena, ref);
    const uint32_t chunk = chunkOf(addr, level);
    const uint64_t children = load(node.children);
    const uint64_t covering = load(node.prefixes) & kAncestors[chunk] & prefixesAt(level);
    if (level == depth.level) return visit(level, node, covering & depth.reach());
    visit(level, node, covering);
    if ((children & bitOf(chunk)) == 0) return;
    ref = follow(refsOf(node)[childRank(children, chunk)]);
  }
}

[[gnu::always_inline]] inline uint32_t valueAt(const Node& node, uint32_t place) {
  return follow(refsOf(node)[valueRank(load(node.children), load(node.prefixes), place)]);
}

// Moves bit n to bit 2n.
constexpr uint64_t spread(uint64_t bits) {
  bits = (bits | bits << 16) & 0x0000ffff0000ffff;
  bits = (bits | bits << 8) & 0x00ff00ff00ff00ff;
  bits = (bits | bits << 4) & 0x0f0f0f0f0f0f0f0f;
  bits = (bits | bits << 2) & 0x3333333333333333;
  return (bits | bits << 1) & 0x5555555555555555;
}

// The chunks with which prefixes of the node begin.
constexpr uint64_t startsOf(uint64_t prefixes) {
  uint64_t starts = 0;
  for (uint32_t bits = 0; bits < kChunkBits; ++bits) {
    starts = spread(starts | (prefixes >> (1U << bits) & bitsBelow(1U << bits)));
  }
  return starts;
}
static_assert(startsOf(bitOf(1)) == bitOf(0) && startsOf(bitOf(3)) == bitOf(32) && startsOf(bitOf(63)) == bitOf(62));

// The depth of those who take every prefix.
struct AnyDepth {
  static constexpr uint32_t level = kLevels - 1;
  static constexpr uint64_t reach() { return ~uint64_t{0}; }
};

// The longest of the prefixes in a node that cover, if any does.
[[gnu::always_inline]] inline PrefixMatch longestOf(const Node& node, uint64_t children, uint64_t prefixes,
                                                    uint64_t covering, uint32_t level) {
  if (covering == 0) return {0, 0};
  const uint32_t place = highestOf(covering);
  return {follow(refsOf(node)[valueRank(children, prefixes, place)]), lengthAt(level, place)};
}

// The longest prefix that covers addr in a node of this level and those below it; each is called for each node. The
// levels are unrolled: what differs between them is known when they are compiled.
template <uint32_t kLevel, class Most, class Each>
[[gnu::always_inline]] inline PrefixMatch longestFrom(const Arena& arena, Ref from, uint32_t addr, Most depth,
                                                      Each each) {
  if (from == kNoRef || !arena.readable(from)) return {0, 0};
  const Node& node = nodeAt(arena, from);
  each();
  const uint32_t chunk = chunkOf(addr, kLevel);
  const uint64_t children = load(node.children);
  const uint64_t prefixes = load(node.prefixes);
  uint64_t covering = prefixes & kAncestors[chunk] & prefixesAt(kLevel);
  if (kLevel == depth.level) {
    covering &= depth.reach();
  } else if constexpr (kLevel + 1 < kLevels) {
    if ((children & bitOf(chunk)) != 0) {
      const Ref child = follow(refsOf(node)[childRank(children, chunk)]);
      const PrefixMatch below = longestFrom<kLevel + 1>(arena, child, addr, depth, each);
      if (below.value != 0) return below;
    }
  }
  return longestOf(node, children, prefixes, covering, kLevel);
}

// A reader's: nullptr when there is no shortcut. What it was overtaken by may have left garbage.
[[gnu::always_inline]] inline const Ref* shortcutFor(const Arena& arena, const LongestPrefixState& state,
                                                     uint32_t addr) {
  const Ref block = follow(state.shortcuts[shortcutOf(addr) / kShortcutsPerBlock]);
  if (block == kNoRef || !arena.readable(block)) return nullptr;
  return arena.at<Ref>(block) + shortcutOf(addr) % kShortcutsPerBlock;
}

// A whole lookup, to hand on.
struct LookUpAll {
  template <class Most, class Each>
  [[gnu::always_inline]] PrefixMatch operator()(const Arena* arena, const LongestPrefixState* state, uint32_t addr,
                                                Most depth, Each each) const {
    const Ref* const shortcut = depth.level < kShortcutLevel ? nullptr : shortcutFor(*arena, *state, addr);
    if (shortcut == nullptr) return longestFrom<0>(*arena, follow(state->root), addr, depth, each);
    const PrefixMatch below = longestFrom<kShortcutLevel>(*arena, follow(*shortcut), addr, depth, each);
    if (below.value != 0) return below;
    return longestFrom<0>(*arena, follow(state->root), addr, kAboveShortcuts, each);
  }
};

// A walk in the order of addresses, of one address the shorter prefix first: in a node chunk by chunk, first the
// prefixes that begin with the chunk, then its child. What a reader meets may be garbage if it was overtaken; the walk
// is then as short as any, since no trie has more than kLevels nodes to the next prefix.
class OrderedWalk {
 public:
  OrderedWalk(const Arena& arena, uint32_t addr, uint32_t length) : arena_(arena), addr_(addr), length_(length) {}

  // nodes: how many were entered.
  [[gnu::always_inline]] inline uint32_t copy(Ref root, PrefixEntry* out, uint32_t most, uint32_t& nodes) {
    const uint32_t mostNodes = (most + 1) * kLevels + 1;
    uint32_t count = 0;
    nodes = 1;
    enter(root, 0, /*amid=*/true);
    while (count < most) {
      Stop& stop = stops_[level_];
      if (stop.left == 0) {
        if (level_-- == 0) break;
        continue;
      }
      const auto chunk = static_cast<uint32_t>(std::countr_zero(stop.left));
      const bool amid = stop.amid && chunk == chunkOf(addr_, level_);
      if ((stop.starts & bitOf(chunk)) != 0) {
        count = copyStarting(stop, chunk, out, count, most);
        if (count == most) break;
      }
      stop.left &= stop.left - 1;
      if ((stop.children & bitOf(chunk)) == 0 || level_ + 1 == kLevels) continue;
      if (nodes++ == mostNodes) break;
      path_ = (path_ & ~(bitsBelow(kPathBits - kChunkBits * level_))) | uint64_t{chunk} << shiftAt(level_);
      enter(follow(refsOf(*stop.node)[childRank(stop.children, chunk)]), level_ + 1, amid);
    }
    return count;
  }

 private:
  // Where the walk stands in a node.
  struct Stop {
    const Node* node;
    uint64_t children, prefixes, starts;
    uint64_t left;  // chunks still to come
    bool amid;      // the node holds what is before the first prefix wanted
  };

  // A path is the chunks from the root on: an address with zero bits before and behind.
  static constexpr uint32_t kPathBits = kLevels * kChunkBits;
  static constexpr uint32_t kPathTail = kPathBits - kLeadingBits - kMaxLength;
  static constexpr uint32_t shiftAt(uint32_t level) { return kPathBits - kChunkBits * (level + 1); }

  [[gnu::always_inline]] inline void enter(Ref ref, uint32_t level, bool amid) {
    if (ref == kNoRef || !arena_.readable(ref)) {
      if (level == 0) stops_[0].left = 0;
      return;
    }
    Stop& stop = stops_[level];
    stop.node = arena_.at<Node>(ref);
    stop.children = load(stop.node->children);
    stop.prefixes = load(stop.node->prefixes) & prefixesAt(level);
    stop.starts = startsOf(stop.prefixes);
    stop.left = stop.children | stop.starts;
    if (amid) stop.left &= ~bitsBelow(chunkOf(addr_, level));
    stop.amid = amid;
    level_ = level;
  }

  [[gnu::always_inline]] inline uint32_t copyStarting(const Stop& stop, uint32_t chunk, PrefixEntry* out,
                                                      uint32_t count, uint32_t most) {
    const uint64_t path = (path_ & ~bitsBelow(kPathBits - kChunkBits * level_)) | uint64_t{chunk} << shiftAt(level_);
    const auto addr = static_cast<uint32_t>(path >> kPathTail);
    const uint32_t zeros = chunk == 0 ? kChunkBits : static_cast<uint32_t>(std::countr_zero(chunk));
    for (uint32_t bits = kChunkBits - zeros; bits < kChunkBits && count < most; ++bits) {
      const uint32_t place = (kChunks | chunk) >> (kChunkBits - bits);
      if ((stop.prefixes & bitOf(place)) == 0) continue;
      const uint8_t length = lengthAt(level_, place);
      if (addr < addr_ || (addr == addr_ && length < length_)) continue;
      out[count++] = {addr, length, follow(refsOf(*stop.node)[valueRank(stop.children, stop.prefixes, place)])};
    }
    return count;
  }

  const Arena& arena_;
  const uint32_t addr_, length_;
  Stop stops_[kLevels];
  uint32_t level_ = 0;
  uint64_t path_ = 0;
};

using VisitPrefix = Visit<void(uint32_t, uint8_t, uint32_t)>;

// All nodes of a trie.
class Survey {
 public:
  Survey(const Heap& heap, const Surveyor& to, const VisitPrefix& prefix) : heap_(heap), to_(to), prefix_(prefix) {}

  // chunks: those of the levels above, as an address shifted to the right.
  void node(Ref ref, uint32_t level, uint64_t chunks) {
    Node maps{};
    if (to_.holds(ref)) maps = {load(at(ref).children), load(at(ref).prefixes)};
    if (!to_.block(ref, bytesOf(maps))) return miss();
    const bool empty = (maps.children | maps.prefixes) == 0;
    if (empty || (maps.children & ~childrenAt(level)) != 0 || (maps.prefixes & ~prefixesAt(level)) != 0) {
      to_.wrong("a node as none can be", ref);
      return miss();
    }
    const Ref* refs = refsOf(at(ref));
    const uint32_t count = countOf(maps.children) + countOf(maps.prefixes);
    for (uint32_t i = 0; i < count; ++i) __builtin_prefetch(heap_.at<void>(load(refs[i])));
    for (uint64_t left = maps.children; left != 0; left &= left - 1) {
      const auto chunk = static_cast<uint32_t>(std::countr_zero(left));
      node(follow(*refs++), level + 1, chunks << kChunkBits | chunk);
    }
    for (uint64_t left = maps.prefixes; left != 0; left &= left - 1) {
      const auto place = static_cast<uint32_t>(std::countr_zero(left));
      const uint8_t length = lengthAt(level, place);
      const uint32_t bits = highestOf(place);
      const uint64_t known = chunks << bits | (place & bitsBelow(bits));
      ++prefixes_;
      prefix_(static_cast<uint32_t>(length == 0 ? 0 : known << (kMaxLength - length)), length, follow(*refs++));
    }
  }

  uint32_t prefixes() const { return prefixes_; }
  bool isWhole() const { return whole_; }

 private:
  const Node& at(Ref ref) const { return *heap_.at<Node>(ref); }
  void miss() { whole_ = false; }

  const Heap& heap_;
  const Surveyor& to_;
  const VisitPrefix& prefix_;
  uint32_t prefixes_ = 0;
  bool whole_ = true;
};

// Runs a lookup compiled for a machine that counts bits in one instruction and cuts them off in another, if this is
// one: on x86-64 all are since 2013 or so, but the baseline does not promise it. Whichever has the second has the
// first. REQUIRES: lookup is always_inline. What it captures goes through memory; arguments do not.
#if defined(__x86_64__)
template <class Lookup, class... Args>
[[gnu::target("popcnt,bmi2"), gnu::noinline]] auto runCounting(Lookup lookup, Args... args) {
  return lookup(args...);
}
template <class Lookup, class... Args>
[[gnu::noinline]] auto runPlainly(Lookup lookup, Args... args) {
  return lookup(args...);
}
template <class Lookup, class... Args>
[[gnu::always_inline]] inline auto counting(Lookup lookup, Args... args) {
  return __builtin_cpu_supports("bmi2") ? runCounting(lookup, args...) : runPlainly(lookup, args...);
}
#else
template <class Lookup, class... Args>
[[gnu::always_inline]] inline auto counting(Lookup lookup, Args... args) {
  return lookup(args...);
}
#endif

// The longest prefix of all, quickly where it stands in the node that a shortcut leads to or in the one below, as most
// do. Nothing of the first node is kept while the second is looked at, so there is little to remember, and a processor
// has room to begin the next lookups meanwhile.
struct LookUpShort {
  [[gnu::always_inline]] PrefixMatch operator()(const Arena* arena, const LongestPrefixState* state,
                                                uint32_t addr) const {
    const PrefixMatch match = tryShort(arena, state, addr);
    return match.value != 0 ? match : counting(LookUpAll{}, arena, state, addr, AnyDepth(), [] {});
  }

 private:
  // value 0: the answer may be elsewhere.
  [[gnu::always_inline]] static PrefixMatch tryShort(const Arena* arena, const LongestPrefixState* state,
                                                     uint32_t addr) {
    const Ref* const shortcut = shortcutFor(*arena, *state, addr);
    if (shortcut == nullptr) return {0, 0};
    const Ref upper = follow(*shortcut);
    if (upper == kNoRef || !arena->readable(upper)) return {0, 0};
    const Node& above = nodeAt(*arena, upper);
    const uint32_t chunk = chunkOf(addr, kShortcutLevel);
    const uint64_t children = load(above.children);
    if ((children & bitOf(chunk)) == 0) return answerOf<kShortcutLevel>(above, children, addr);
    const Ref lower = follow(refsOf(above)[childRank(children, chunk)]);
    if (lower == kNoRef || !arena->readable(lower)) return {0, 0};
    const Node& below = nodeAt(*arena, lower);
    const uint64_t others = load(below.children);
    if ((others & bitOf(chunkOf(addr, kShortcutLevel + 1))) != 0) return {0, 0};
    return answerOf<kShortcutLevel + 1>(below, others, addr);
  }

  template <uint32_t kLevel>
  [[gnu::always_inline]] static PrefixMatch answerOf(const Node& node, uint64_t children, uint32_t addr) {
    const uint64_t prefixes = load(node.prefixes);
    const uint64_t covering = prefixes & kAncestors[chunkOf(addr, kLevel)] & prefixesAt(kLevel);
    return longestOf(node, children, prefixes, covering, kLevel);
  }
};

}  // namespace

// The node of the shortcuts' level on the way to addr, by the way from the root.
[[gnu::always_inline]] inline Ref LongestPrefixIndex::nodeAbove(uint32_t addr) const {
  Ref ref = state_->root;
  for (uint32_t level = 0; level < kShortcutLevel && ref != kNoRef && heap_.arena().readable(ref); ++level) {
    const Node& node = *heap_.at<Node>(ref);
    const uint64_t children = load(node.children);
    const uint32_t chunk = chunkOf(addr, level);
    ref = (children & bitOf(chunk)) == 0 ? kNoRef : load(refsOf(node)[childRank(children, chunk)]);
  }
  return ref;
}

// Sets the shortcut to what the way from the root leads to now.
[[gnu::always_inline]] inline void LongestPrefixIndex::lead(uint32_t addr) {
  const Ref block = state_->shortcuts[shortcutOf(addr) / kShortcutsPerBlock];
  if (block == kNoRef) return;
  publish(heap_.noted(heap_.at<Ref>(block)[shortcutOf(addr) % kShortcutsPerBlock]), nodeAbove(addr));
}

uint32_t LongestPrefixIndex::insert(uint32_t addr, uint8_t length, uint32_t value) {
  return place(addr, length, value, /*replaces=*/true);
}

uint32_t LongestPrefixIndex::insertNew(uint32_t addr, uint8_t length, uint32_t value) {
  return place(addr, length, value, /*replaces=*/false);
}

uint32_t LongestPrefixIndex::place(uint32_t addr, uint8_t length, uint32_t value, bool replaces) {
  return counting([&]() __attribute__((always_inline)) { return placeHere(addr, length, value, replaces); });
}

[[gnu::always_inline]] inline uint32_t LongestPrefixIndex::placeHere(uint32_t addr, uint8_t length, uint32_t value,
                                                                     bool replaces) {
  const Depth depth(length);
  Ref* link = &state_->root;
  uint32_t level = 0;
  for (; *link != kNoRef; ++level) {
    Node& node = *heap_.at<Node>(*link);
    const uint32_t chunk = chunkOf(addr, level);
    if (level == depth.level) {
      const uint32_t place = depth.placeOf(addr);
      if ((node.prefixes & bitOf(place)) == 0) break;
      uint32_t& own = valueOf(node, place);
      return replaces ? exchange(heap_, own, value) : own;
    }
    if ((node.children & bitOf(chunk)) == 0) break;
    link = &childOf(node, chunk);
  }
  Ref replaced = kNoRef;
  if (*link == kNoRef) {
    publish(heap_.noted(*link), branch(heap_, 0, addr, depth, value));
  } else {
    Draft draft(*heap_.at<Node>(*link));
    if (level == depth.level) {
      draft.addPrefix(depth.placeOf(addr), value);
    } else {
      draft.addChild(chunkOf(addr, level), branch(heap_, level + 1, addr, depth, value));
    }
    replaced = replace(heap_, *link, draft);
  }
  store(heap_.noted(state_->count), state_->count + 1);
  if (level <= kShortcutLevel && depth.level >= kShortcutLevel) lead(addr);
  if (replaced != kNoRef) retire(heap_, replaced);
  return 0;
}

uint32_t LongestPrefixIndex::erase(uint32_t addr, uint8_t length) {
  return counting([&]() __attribute__((always_inline)) { return eraseHere(addr, length); });
}

[[gnu::always_inline]] inline uint32_t LongestPrefixIndex::eraseHere(uint32_t addr, uint8_t length) {
  const Depth depth(length);
  Ref* links[kLevels];
  Ref* link = &state_->root;
  for (uint32_t level = 0; level < depth.level; ++level) {
    if (*link == kNoRef) return 0;
    Node& node = *heap_.at<Node>(*link);
    const uint32_t chunk = chunkOf(addr, level);
    if ((node.children & bitOf(chunk)) == 0) return 0;
    links[level] = link;
    link = &childOf(node, chunk);
  }
  if (*link == kNoRef) return 0;
  Node& node = *heap_.at<Node>(*link);
  const uint32_t place = depth.placeOf(addr);
  if ((node.prefixes & bitOf(place)) == 0) return 0;
  const uint32_t value = valueOf(node, place);

  Draft draft(node);
  draft.removePrefix(place);
  uint32_t level = depth.level;
  // An emptied node leaves its parent, which may be emptied by that. It goes once nothing leads to it any more.
  Ref emptied[kLevels];
  uint32_t emptiedCount = 0;
  for (; draft.empty() && level > 0; --level) {
    emptied[emptiedCount++] = *link;
    link = links[level - 1];
    draft = Draft(*heap_.at<Node>(*link));
    draft.removeChild(chunkOf(addr, level - 1));
  }
  const Ref replaced = replace(heap_, *link, draft);
  if (level <= kShortcutLevel && depth.level >= kShortcutLevel) lead(addr);
  retire(heap_, replaced);
  while (emptiedCount > 0) retire(heap_, emptied[--emptiedCount]);
  store(heap_.noted(state_->count), state_->count - 1);
  if (state_->root == kNoRef) retireShortcuts();
  return value;
}

void LongestPrefixIndex::grow(uint32_t addr, uint32_t keep) {
  if (state_->count >= kLargeTrie && state_->shortcuts[shortcutOf(addr) / kShortcutsPerBlock] == kNoRef) {
    makeShortcuts(addr, keep);
  }
}

void LongestPrefixIndex::makeShortcuts(uint32_t addr, uint32_t keep) {
  const uint32_t number = shortcutOf(addr) / kShortcutsPerBlock;
  if (heap_.ensure(kMaxBlockBytes + keep) != 0) return;
  const Ref block = heap_.allocate(kMaxBlockBytes);
  for (uint32_t i = 0; i < kShortcutsPerBlock; ++i) {
    const uint32_t way = (number * kShortcutsPerBlock + i) << (kMaxLength - kShortcutBits);
    store(heap_.at<Ref>(block)[i], nodeAbove(way));
  }
  publish(heap_.noted(state_->shortcuts[number]), block);
}

void LongestPrefixIndex::retireShortcuts() {
  for (Ref& shortcuts : state_->shortcuts) {
    if (shortcuts == kNoRef) continue;
    const Ref block = shortcuts;
    publish(heap_.noted(shortcuts), kNoRef);
    heap_.retire(block, kMaxBlockBytes);
  }
}

// The node that the shortcut leads to; kNoRef when there is none.
inline Ref LongestPrefixIndex::shortcutTo(uint32_t addr) const {
  const Ref* const shortcut = shortcutFor(heap_.arena(), *state_, addr);
  return shortcut != nullptr ? follow(*shortcut) : kNoRef;
}

namespace {

// The largest nodes are longer, but few are.
void fetchNode(const Arena& arena, Ref ref) {
  for (uint64_t line = 0; line < 3; ++line) __builtin_prefetch(arena.at<uint8_t>(ref) + line * kCacheLine);
}

}  // namespace

void LongestPrefixIndex::fetchFirst(uint32_t addr) const {
  if (const Ref ref = shortcutTo(addr)) fetchNode(heap_.arena(), ref);
}

void LongestPrefixIndex::fetchThen(uint32_t addr) const {
  const Ref ref = shortcutTo(addr);
  if (ref == kNoRef || !heap_.arena().readable(ref)) return;
  const Node& node = *heap_.at<Node>(ref);
  const uint64_t children = load(node.children);
  const uint32_t chunk = chunkOf(addr, kShortcutLevel);
  if ((children & bitOf(chunk)) == 0) return;
  fetchNode(heap_.arena(), load(refsOf(node)[childRank(children, chunk)]));
}

bool LongestPrefixIndex::leadsRight(Ref block, uint32_t number) const {
  for (uint32_t i = 0; i < kShortcutsPerBlock; ++i) {
    const uint32_t way = (number * kShortcutsPerBlock + i) << (kMaxLength - kShortcutBits);
    if (load(heap_.at<Ref>(block)[i]) != nodeAbove(way)) return false;
  }
  return true;
}

bool LongestPrefixIndex::shortcutsLeadRight() const {
  for (uint32_t number = 0; number < kShortcutBlocks; ++number) {
    const Ref block = state_->shortcuts[number];
    if (block != kNoRef && !leadsRight(block, number)) return false;
  }
  return true;
}

uint32_t LongestPrefixIndex::find(uint32_t addr, uint8_t length) const {
  return counting([&]() __attribute__((always_inline)) {
    const Depth depth(length);
    const Ref below = depth.level < kShortcutLevel ? kNoRef : shortcutTo(addr);
    uint32_t value = 0;
    walk(heap_.arena(), below != kNoRef ? below : follow(state_->root), below != kNoRef ? kShortcutLevel : 0, addr,
         depth, [&](uint32_t level, const Node& node, uint64_t covering) {
           const uint32_t place = depth.placeOf(addr);
           if (level == depth.level && (covering & bitOf(place)) != 0) value = valueAt(node, place);
         });
    return value;
  });
}

PrefixMatch LongestPrefixIndex::longestOfAll(const Arena& arena, const LongestPrefixState& state, uint32_t addr) {
  return counting(LookUpShort{}, &arena, &state, addr);
}

PrefixMatch LongestPrefixIndex::longestUpTo(const Arena& arena, const LongestPrefixState& state, uint32_t addr,
                                            uint8_t maxLength) {
  return counting(LookUpAll{}, &arena, &state, addr, Depth(maxLength), [] {});
}

PrefixMatch LongestPrefixIndex::longest(uint32_t addr, uint8_t maxLength, uint32_t& nodes) const {
  nodes = 0;
  return counting(LookUpAll{}, &heap_.arena(), state_, addr, Depth(maxLength), [&nodes] { ++nodes; });
}

namespace {

// Where one of several lookups stands.
struct Descent {
  Ref node;              // the next one on the way; kNoRef: at its end
  const Ref* child;      // where that stands
  const uint32_t* best;  // the value of the longest prefix so far
  uint8_t bestLength;
};

// Looks at the node of this level. What it finds out is the place of two words, which the caller loads later.
[[gnu::always_inline]] inline void descend(const Arena& arena, Descent& descent, uint32_t level, uint32_t addr) {
  const Node& node = *arena.at<Node>(descent.node);
  const uint32_t chunk = chunkOf(addr, level);
  const uint64_t children = load(node.children);
  const uint64_t prefixes = load(node.prefixes);
  if (const uint64_t covering = prefixes & kAncestors[chunk] & prefixesAt(level)) {
    const uint32_t place = highestOf(covering);
    descent.best = refsOf(node) + valueRank(children, prefixes, place);
    descent.bestLength = lengthAt(level, place);
    __builtin_prefetch(descent.best);
  }
  descent.node = kNoRef;
  if (level + 1 == kLevels || (children & bitOf(chunk)) == 0) return;
  descent.child = refsOf(node) + childRank(children, chunk);
  __builtin_prefetch(descent.child);
}

}  // namespace

void LongestPrefixIndex::longestOfEach(const uint32_t* addrs, uint32_t count, PrefixMatch* out) const {
  counting([&]() __attribute__((always_inline)) {
    const Arena& arena = heap_.arena();
    Descent descents[kTogether];
    const auto enter = [&](Descent& descent, Ref node) {
      descent.node = node != kNoRef && arena.readable(node) ? node : kNoRef;
      if (descent.node != kNoRef) __builtin_prefetch(arena.at<Node>(node));
    };
    for (uint32_t i = 0; i < count; ++i) {
      descents[i].best = nullptr;
      descents[i].child = nullptr;
      enter(descents[i], shortcutTo(addrs[i]));
    }
    for (uint32_t level = kShortcutLevel; level < kLevels; ++level) {
      for (uint32_t i = 0; i < count; ++i) {
        if (descents[i].node != kNoRef) descend(arena, descents[i], level, addrs[i]);
      }
      for (uint32_t i = 0; i < count; ++i) {
        if (descents[i].child != nullptr) enter(descents[i], follow(*std::exchange(descents[i].child, nullptr)));
      }
    }
    for (uint32_t i = 0; i < count; ++i) {
      const Descent& descent = descents[i];
      if (descent.best != nullptr) {
        out[i] = {follow(*descent.best), descent.bestLength};
      } else {
        const bool isShort = shortcutFor(arena, *state_, addrs[i]) != nullptr;
        const Depth depth = isShort ? kAboveShortcuts : Depth(kMaxLength);
        out[i] = longestFrom<0>(arena, follow(state_->root), addrs[i], depth, [] {});
      }
    }
  });
}

uint32_t LongestPrefixIndex::from(uint32_t addr, uint32_t length, PrefixEntry* out, uint32_t most,
                                  uint32_t& nodes) const {
  const Ref root = follow(state_->root);
  return counting([&]() __attribute__((always_inline)) {
    return OrderedWalk(heap_.arena(), addr, length).copy(root, out, most, nodes);
  });
}

void LongestPrefixIndex::survey(const Surveyor& to, const VisitPrefix& prefix) const {
  const Ref root = follow(state_->root);
  Survey nodes(heap_, to, prefix);
  if (root != kNoRef) nodes.node(root, 0, 0);
  if (nodes.prefixes() != load(state_->count)) to.wrong("prefixes are miscounted, the root", root);
  for (uint32_t number = 0; number < kShortcutBlocks; ++number) {
    const Ref block = follow(state_->shortcuts[number]);
    if (block == kNoRef || !to.block(block, kMaxBlockBytes)) continue;
    if (nodes.isWhole() && !leadsRight(block, number)) to.wrong("a shortcut leads astray", block);
  }
}

void LongestPrefixIndex::match(uint32_t addr, uint8_t maxLength, PrefixMatches& out) const {
  struct Stop {
    const Node* node;
    uint64_t covering;
  };
  out.count = counting([&]() __attribute__((always_inline)) {
    Stop stops[kLevels];
    uint32_t levels = 0;
    walk(heap_.arena(), follow(state_->root), 0, addr, Depth(maxLength),
         [&](uint32_t level, const Node& node, uint64_t covering) {
           stops[level] = {&node, covering};
           levels = level + 1;
         });
    uint32_t count = 0;
    while (levels > 0) {
      const Node& node = *stops[--levels].node;
      // That there may be too many matters only to a reader of garbage.
      for (uint64_t left = stops[levels].covering; left != 0 && count < kMaxMatches; ++count) {
        const uint32_t place = highestOf(left);
        left &= ~bitOf(place);
        out.values[count] = valueAt(node, place);
        out.lengths[count] = lengthAt(levels, place);
      }
    }
    return count;
  });
}

}  // namespace fibdb::store
