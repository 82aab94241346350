// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/ordered_index.cc: descending, splitting and merging the nodes of an ordered index.
//
// A node is a header and a row of items. In a leaf an item is an entry; above the leaves it is an entry and
// the Ref of the child that holds what is not below that entry. The entry of a first item means nothing: its
// child holds whatever is below the second. The writer edits a Draft in its own memory and commits it to a fresh block.
#include "engine/store/ordered_index.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "engine/store/word.h"

namespace fibdb::store {
namespace {

constexpr uint32_t kNodeBytes = kPieceBytes;
constexpr uint32_t kItemWords = kNodeBytes / sizeof(uint32_t) - 2;

struct Node {
  uint32_t fill;   // count, and in the upper half the slot of the latest insert, or kNoSlot
  uint32_t level;  // 0: leaf
  uint32_t items[kItemWords];
};
static_assert(sizeof(Node) == kNodeBytes && kNodeBytes <= kMaxBlockBytes);
static_assert(offsetof(Node, items) % sizeof(uint64_t) == 0, "items are copied in eights");

constexpr uint32_t kNoSlot = 0xffff;
constexpr uint32_t fillOf(uint32_t count, uint32_t latest) { return count | latest << 16; }
constexpr uint32_t countIn(uint32_t fill) { return fill & 0xffff; }
constexpr uint32_t latestIn(uint32_t fill) { return fill >> 16; }

// Only a full root splits, so each level takes twenty times the inserts that the one below it took.
constexpr uint32_t kMaxLevels = 12;

// The geometry of nodes of one kind of entry.
template <class Entry>
struct Shape {
  static_assert(sizeof(Entry) % sizeof(uint32_t) == 0);
  static constexpr uint32_t kEntryWords = sizeof(Entry) / sizeof(uint32_t);
  static constexpr uint32_t kMaxStride = kEntryWords + 1;
  static_assert(kItemWords / kMaxStride > 20);

  static constexpr uint32_t stride(uint32_t level) { return level == 0 ? kEntryWords : kMaxStride; }
  static constexpr uint32_t capacity(uint32_t level) {
    return level == 0 ? kItemWords / kEntryWords : kItemWords / kMaxStride;
  }

  // The count, made harmless in case the node is garbage.
  static uint32_t count(const Node& node, uint32_t level) {
    return std::min(countIn(follow(node.fill)), capacity(level));
  }
  static Entry entryAt(const Node& node, uint32_t level, uint32_t slot) {
    Entry entry;
    copyOut(&entry, &node.items[slot * stride(level)], sizeof entry);
    return entry;
  }
  static Ref& childAt(Node& node, uint32_t slot) { return node.items[slot * kMaxStride + kEntryWords]; }
  static const Ref& childAt(const Node& node, uint32_t slot) { return node.items[slot * kMaxStride + kEntryWords]; }

  // The first slot in [begin, end) whose entry is above the bound, or equal when inclusive; end if none is.
  static uint32_t firstAbove(const Node& node, uint32_t level, uint32_t begin, uint32_t end, const Entry& bound,
                             bool inclusive) {
    while (begin < end) {
      const uint32_t middle = (begin + end) / 2;
      const auto order = entryAt(node, level, middle) <=> bound;
      if (order < 0 || (order == 0 && !inclusive)) {
        begin = middle + 1;
      } else {
        end = middle;
      }
    }
    return begin;
  }
  // The slot of the child that holds the entry, if any does. REQUIRES: count > 0.
  static uint32_t childSlot(const Node& node, uint32_t level, uint32_t count, const Entry& entry) {
    return firstAbove(node, level, 1, count, entry, /*inclusive=*/false) - 1;
  }
};

// A node in the making; holds one item more than a node has room for.
template <class Entry>
struct Draft {
  using S = Shape<Entry>;

  uint32_t level;
  uint32_t count;
  uint32_t items[kItemWords + S::kMaxStride];

  Draft(const Node& node, uint32_t count) : level(node.level), count(count) {
    std::memcpy(items, node.items, count * S::stride(level) * sizeof(uint32_t));
  }
  Draft(uint32_t level, const Entry& entry, Ref child) : level(level), count(0) { insert(0, entry, child); }

  uint32_t* item(uint32_t slot) { return items + slot * S::stride(level); }

  void insert(uint32_t slot, const Entry& entry, Ref child) {
    std::memmove(item(slot + 1), item(slot), (count - slot) * S::stride(level) * sizeof(uint32_t));
    ++count;
    std::memcpy(item(slot), &entry, sizeof entry);
    if (level > 0) setChild(slot, child);
  }
  void remove(uint32_t slot) {
    --count;
    std::memmove(item(slot), item(slot + 1), (count - slot) * S::stride(level) * sizeof(uint32_t));
  }
  // Takes the items of the right neighbour, which begins at `bound`. REQUIRES: they fit.
  void append(const Draft& right, const Entry& bound) {
    std::memcpy(item(count), right.items, right.count * S::stride(level) * sizeof(uint32_t));
    if (level > 0) std::memcpy(item(count), &bound, sizeof bound);
    count += right.count;
  }
  Ref child(uint32_t slot) { return item(slot)[S::kEntryWords]; }
  void setChild(uint32_t slot, Ref child) { item(slot)[S::kEntryWords] = child; }
  Entry entry(uint32_t slot) {
    Entry entry;
    std::memcpy(&entry, item(slot), sizeof entry);
    return entry;
  }
};

// One change of a tree. REQUIRES: used for a single insert or erase.
template <class Entry>
class Writer {
 public:
  using S = Shape<Entry>;

  Writer(Heap& heap, Ref& root) : heap_(heap), root_(root) {}

  bool insert(const Entry& entry) {
    if (root_ == kNoRef) {
      publish(heap_.noted(root_), commit({0, entry, kNoRef}));
      return true;
    }
    if (descend(entry)) return false;
    place(entry);
    retireReplaced();
    return true;
  }

  bool erase(const Entry& entry) {
    if (root_ == kNoRef || !descend(entry)) return false;
    const Step& leaf = path_[0];
    Draft<Entry> draft(node(leaf.node), leaf.count);
    draft.remove(leaf.slot);
    settle(draft);
    retireReplaced();
    return true;
  }

 private:
  // One node on the way from the root down.
  struct Step {
    Ref node;
    uint32_t count;
    uint32_t slot;
  };

  // What inserting below a node asks of it: a new child behind the one descended through, and, where that was
  // copied, its copy.
  struct Growth {
    Entry bound;
    Ref added;
    Ref copied;
  };

  Node& node(Ref ref) { return *heap_.at<Node>(ref); }

  // Fills the path; the last slot is that of the entry or where it would go. True if it is there.
  bool descend(const Entry& entry) {
    Ref ref = root_;
    top_ = node(ref).level;
    for (uint32_t level = top_;; --level) {
      const Node& here = node(ref);
      const uint32_t count = countIn(here.fill);
      if (level == 0) {
        const uint32_t slot = S::firstAbove(here, 0, 0, count, entry, /*inclusive=*/true);
        path_[0] = {ref, count, slot};
        return slot < count && S::entryAt(here, 0, slot) == entry;
      }
      const uint32_t slot = S::childSlot(here, level, count, entry);
      path_[level] = {ref, count, slot};
      ref = S::childAt(here, slot);
      if (level == 1) fetch(ref);
    }
  }

  // All of a leaf, which is searched and, as a rule, copied.
  void fetch(Ref leaf) {
    for (uint32_t at = 0; at < kNodeBytes; at += kCacheLine) __builtin_prefetch(heap_.at<uint8_t>(leaf) + at);
  }

  void place(const Entry& entry) {
    Growth growth{entry, kNoRef, kNoRef};
    for (uint32_t level = 0; level <= top_; ++level) {
      if (!grow(level, growth)) return;
    }
    Draft<Entry> root(top_ + 1, growth.bound, growth.copied != kNoRef ? growth.copied : path_[top_].node);
    root.insert(1, growth.bound, growth.added);
    publish(heap_.noted(root_), commit(root));
  }

  // Enters the growth at one level. True if the node split: then growth is what its parent must enter.
  bool grow(uint32_t level, Growth& growth) {
    const Step step = path_[level];
    const uint32_t slot = level == 0 ? step.slot : step.slot + 1;
    const bool atEnd = growth.copied == kNoRef && slot == step.count;
    const bool full = step.count == S::capacity(level);
    if (atEnd && !full) {
      append(node(step.node), level, step.count, growth);
      return false;
    }
    if (atEnd) {
      growth.added = commit({level, growth.bound, growth.added});
      return true;
    }

    Draft<Entry> draft(node(step.node), step.count);
    if (growth.copied != kNoRef) draft.setChild(step.slot, growth.copied);
    draft.insert(slot, growth.bound, growth.added);
    replace(step.node);
    if (!full) {
      publish(heap_.noted(link(level)), commit(draft, 0, draft.count, slot));
      return false;
    }
    const uint32_t cut = cutFor(draft.count, slot, latestIn(node(step.node).fill));
    growth.copied = commit(draft, 0, cut, slot < cut ? slot : kNoSlot);
    growth.bound = draft.entry(cut);
    growth.added = commit(draft, cut, draft.count, slot < cut ? kNoSlot : slot - cut);
    return true;
  }

  // Where to split. An insert right behind the latest one is taken for a run that goes on: it then goes on at
  // the end of a node, which becomes full and is never copied.
  static uint32_t cutFor(uint32_t count, uint32_t slot, uint32_t latest) {
    return slot == latest + 1 ? std::min(slot + 1, count - 1) : count / 2;
  }

  void append(Node& to, uint32_t level, uint32_t count, const Growth& growth) {
    copyIn(&to.items[count * S::stride(level)], &growth.bound, sizeof growth.bound);
    if (level > 0) store(S::childAt(to, count), growth.added);
    publish(heap_.noted(to.fill), fillOf(count + 1, count));
  }

  // Puts the draft in the place of the node of its level, and merges or unlinks what has become too thin.
  void settle(Draft<Entry>& draft) {
    for (;;) {
      const uint32_t level = draft.level;
      const Step step = path_[level];
      replace(step.node);
      if (level == top_) return settleRoot(draft);

      const Step up = path_[level + 1];
      if (draft.count > S::capacity(level) / 2) return publish(heap_.noted(link(level)), commit(draft));
      Draft<Entry> parent(node(up.node), up.count);
      if (draft.count == 0) {
        parent.remove(up.slot);
      } else if (!merge(draft, parent, up.slot)) {
        return publish(heap_.noted(link(level)), commit(draft));
      }
      draft = parent;
    }
  }

  // A root with one child gives way to it.
  void settleRoot(Draft<Entry>& draft) {
    Ref& root = heap_.noted(root_);
    if (draft.count == 0) return publish(root, kNoRef);
    if (draft.level > 0 && draft.count == 1) return publish(root, draft.child(0));
    publish(root, commit(draft));
  }

  // Joins the draft with a neighbour if they fill no more than three quarters of a node, so that the next
  // inserts do not split it again.
  bool merge(Draft<Entry>& draft, Draft<Entry>& parent, uint32_t slot) {
    for (const uint32_t left : {slot, slot - 1}) {
      if (left >= parent.count || left + 1 >= parent.count) continue;
      const Ref neighbour = parent.child(left == slot ? slot + 1 : slot - 1);
      const uint32_t count = countIn(node(neighbour).fill);
      if (draft.count + count > S::capacity(draft.level) * 3 / 4) continue;
      Draft<Entry> other(node(neighbour), count);
      Draft<Entry>& lower = left == slot ? draft : other;
      lower.append(left == slot ? other : draft, parent.entry(left + 1));
      replace(neighbour);
      parent.setChild(left, commit(lower));
      parent.remove(left + 1);
      return true;
    }
    return false;
  }

  // A node that the change does without. It is linked until the last store of the change, so it goes only then.
  void replace(Ref node) { replaced_[replacedCount_++] = node; }
  void retireReplaced() {
    while (replacedCount_ > 0) heap_.retire(replaced_[--replacedCount_], kNodeBytes);
  }

  // The word that leads to the path's node of this level.
  Ref& link(uint32_t level) {
    return level == top_ ? root_ : S::childAt(node(path_[level + 1].node), path_[level + 1].slot);
  }

  Ref commit(const Draft<Entry>& draft) { return commit(draft, 0, draft.count, kNoSlot); }
  Ref commit(const Draft<Entry>& draft, uint32_t begin, uint32_t end, uint32_t latest) {
    const uint32_t stride = S::stride(draft.level);
    const Ref ref = heap_.allocate(kNodeBytes);
    Node& fresh = node(ref);
    store(fresh.fill, fillOf(end - begin, latest));
    store(fresh.level, draft.level);
    copyInWide(fresh.items, draft.items + begin * stride, (end - begin) * stride * sizeof(uint32_t));
    return ref;
  }

  Heap& heap_;
  Ref& root_;
  uint32_t top_ = 0;
  Step path_[kMaxLevels];
  // On each level the node of the path, and a neighbour that it is merged with.
  Ref replaced_[2 * kMaxLevels];
  uint32_t replacedCount_ = 0;
};

// A reader's descent. What it meets may be garbage if it was overtaken, so it trusts no Ref and no count.
template <class Entry>
class Reader {
 public:
  using S = Shape<Entry>;

  explicit Reader(const Arena& arena) : arena_(arena) {}

  uint32_t above(Ref root, const Entry& bound, bool inclusive, Entry* out, uint32_t most) {
    const Node* leaf = descend(root, bound);
    if (leaf == nullptr) return 0;
    uint32_t count = S::count(*leaf, 0);
    uint32_t slot = S::firstAbove(*leaf, 0, 0, count, bound, inclusive);
    if (slot == count) {
      leaf = nextLeaf();
      if (leaf == nullptr) return 0;
      count = S::count(*leaf, 0);
      slot = 0;
    }
    const uint32_t copied = std::min(count - slot, most);
    copyOut(out, &leaf->items[slot * S::kEntryWords], copied * sizeof(Entry));
    return countAscending(bound, inclusive, out, copied);
  }

 private:
  // Whoever goes on from the last entry must get on, even in a damaged tree.
  static uint32_t countAscending(const Entry& bound, bool inclusive, const Entry* entries, uint32_t count) {
    if (count == 0 || entries[0] < bound || (!inclusive && entries[0] == bound)) return 0;
    uint32_t ascending = 1;
    while (ascending < count && entries[ascending - 1] < entries[ascending]) ++ascending;
    return ascending;
  }

  const Node* nodeAt(Ref ref) const { return arena_.readable(ref) ? arena_.at<Node>(ref) : nullptr; }

  const Node* descend(Ref root, const Entry& bound) {
    const Node* node = nodeAt(root);
    if (root == kNoRef || node == nullptr) return nullptr;
    top_ = std::min(load(node->level), kMaxLevels - 1);
    for (uint32_t level = top_; level > 0 && node != nullptr; --level) {
      const uint32_t count = S::count(*node, level);
      if (count == 0) return nullptr;
      const uint32_t slot = S::childSlot(*node, level, count, bound);
      path_[level] = {node, count, slot};
      node = nodeAt(follow(S::childAt(*node, slot)));
    }
    return node;
  }

  // The leaf after the one that the path leads to.
  const Node* nextLeaf() {
    uint32_t level = 1;
    while (level <= top_ && path_[level].slot + 1 == path_[level].count) ++level;
    if (level > top_) return nullptr;
    const Node* node = nodeAt(follow(S::childAt(*path_[level].node, path_[level].slot + 1)));
    for (--level; level > 0 && node != nullptr; --level) node = nodeAt(follow(S::childAt(*node, 0)));
    return node;
  }

  struct Step {
    const Node* node;
    uint32_t count;
    uint32_t slot;
  };

  const Arena& arena_;
  uint32_t top_ = 0;
  Step path_[kMaxLevels];
};

// All nodes of a tree from left to right. What comes next is above the entry that was last, and not below the bound in
// an inner node that was last.
template <class Entry>
class Survey {
 public:
  using S = Shape<Entry>;

  Survey(const Heap& heap, const Surveyor& to, const Visit<void(const Entry&)>& entry)
      : heap_(heap), to_(to), entry_(entry) {}

  // above: the level of the node that led here; of the root the first that no tree has.
  void node(Ref ref, uint32_t above, bool isRoot) {
    if (!to_.block(ref, kNodeBytes)) return;
    const Node& here = *heap_.at<Node>(ref);
    const uint32_t level = load(here.level);
    if (isRoot ? level >= above : level + 1 != above) return to_.wrong("a node of another level", ref);
    const uint32_t count = countIn(follow(here.fill));
    if (count == 0 || count > S::capacity(level)) return to_.wrong("a node of another size", ref);
    for (uint32_t slot = 0; slot < count; ++slot) {
      if (level == 0) __builtin_prefetch(heap_.at<void>(S::entryAt(here, 0, slot).record));
    }
    for (uint32_t slot = 0; slot < count; ++slot) {
      const Entry entry = S::entryAt(here, level, slot);
      if (level == 0 || slot > 0) inOrder(entry, /*isBound=*/level > 0);
      if (level == 0) {
        entry_(entry);
      } else {
        node(follow(S::childAt(here, slot)), level, /*isRoot=*/false);
      }
    }
  }

 private:
  void inOrder(const Entry& entry, bool isBound) {
    const auto order = last_ <=> entry;
    if (any_ && (order > 0 || (order == 0 && !lastIsBound_))) to_.wrong("out of order", entry.record);
    last_ = entry;
    lastIsBound_ = isBound;
    any_ = true;
  }

  const Heap& heap_;
  const Surveyor& to_;
  const Visit<void(const Entry&)>& entry_;
  Entry last_{};
  bool any_ = false, lastIsBound_ = false;
};

}  // namespace

// Two fresh nodes per level and a new root; erasing takes one per level.
static_assert((2 * kMaxLevels + 1) * kNodeBytes <= OrderedIndex<PostingEntry>::kMaxInsertBytes);
static_assert(kMaxLevels * kNodeBytes <= OrderedIndex<PostingEntry>::kMaxEraseBytes);

template <class Entry>
bool OrderedIndex<Entry>::insert(const Entry& entry) {
  return Writer<Entry>(heap_, state_->root).insert(entry);
}

template <class Entry>
bool OrderedIndex<Entry>::erase(const Entry& entry) {
  return Writer<Entry>(heap_, state_->root).erase(entry);
}

template <class Entry>
bool OrderedIndex<Entry>::contains(const Entry& entry) const {
  Entry found{};
  return above(entry, /*inclusive=*/true, &found, 1) == 1 && found == entry;
}

template <class Entry>
uint32_t OrderedIndex<Entry>::above(const Entry& bound, bool inclusive, Entry* out, uint32_t most) const {
  return Reader<Entry>(heap_.arena()).above(follow(state_->root), bound, inclusive, out, most);
}

template <class Entry>
uint32_t OrderedIndex<Entry>::levels() const {
  const Ref root = follow(state_->root);
  return root == kNoRef || !heap_.arena().readable(root) ? 0 : load(heap_.at<Node>(root)->level) + 1;
}

template <class Entry>
void OrderedIndex<Entry>::survey(const Surveyor& to, const Visit<void(const Entry&)>& entry) const {
  const Ref root = follow(state_->root);
  if (root != kNoRef) Survey<Entry>(heap_, to, entry).node(root, kMaxLevels, /*isRoot=*/true);
}

template class OrderedIndex<PostingEntry>;
template class OrderedIndex<OrderedEntry>;

}  // namespace fibdb::store
