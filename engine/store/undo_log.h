// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/undo_log.h: what a write overwrites, noted first, so that it can be taken back if its writer dies.
//
// DESCRIPTION  A writer may end at any instruction, and leaves the words of its table as they are then. Whoever writes
// next finds here what was under way. Before a word that others may know is overwritten its content is noted; a word
// of a block that nobody knows yet need not be. Taken back in the opposite order, the notes make the table what it was
// when the write, or the step, began:
//
//   step     begin(kStep), changes that belong together, end() or the next begin(): taken back if it was cut short
//   write    begin(its kind), changes, commit(), the one store that makes the write visible, further changes, end():
//            cut short before that store it is taken back; cut short after it, what followed is taken back and done
//            again (table.cc)
//
// One store to `progress` begins, counts a note, ends: there is no moment in which the log says two things. A word's
// note stands before the word changes because the machine carries out the writer's stores in the order of its
// instructions, and the compiler is kept from changing that order. More is not needed: what a thread has stored when
// it dies the kernel makes visible to whoever is told of its death by the lock (EOWNERDEAD), on 64-bit Arm as on
// x86-64: it walks the dead thread's locks on that thread's processor, and hands each over with a barrier.
//
// Some words are never taken back, because readers may have gone by them: the clock of the heap, versions of records,
// the times of arrival of keys and tries. To store one of these twice does no harm.
//
// Nor is noted what can be told from the rest: whether a tally is settled (tally.h), of which sizes there are free
// blocks and how many pieces they are, the tag of a place that holds nothing, the most records there ever were.
//
// COST     A note: one store and a count, to memory that stays in the first-level cache.
// THREADS  One writer (REQUIRES the table's lock).
#ifndef FIBDB_ENGINE_STORE_UNDO_LOG_H
#define FIBDB_ENGINE_STORE_UNDO_LOG_H

#include <cstdint>
#include <type_traits>

#include "engine/store/arena.h"
#include "engine/store/word.h"

namespace fibdb::store {

// What is under way.
enum class Doing : uint32_t { kNothing, kStep, kInsert, kChange, kRemove };

// What one write or step may note; servable.h proves that it is enough.
inline constexpr uint32_t kMostNotes = 4096;

// The stored part; lives in the arena, zero is nothing under way.
struct UndoLogState {
  struct alignas(16) Note {  // one store, in one cache line
    uint64_t where;          // distance from the arena's start in bytes, and kWide
    uint64_t before;
  };
  uint64_t progress;  // Doing, the number of notes made before commit(), and that of all
  Note notes[kMostNotes];
};

class UndoLog {
 public:
  UndoLog(const Arena& arena, UndoLogState& state) : arena_(&arena), state_(&state) {}

  // What was under way before is complete.
  void begin(Doing what) { setProgress(what, 0, 0); }
  void end() { begin(Doing::kNothing); }
  // What the step did so far stands by itself. REQUIRES: a step is under way, or nothing.
  void stand() { begin(doing()); }
  // The next store but those of notes makes the write visible.
  void commit() { setProgress(doing(), notes(), notes()); }

  Doing doing() const { return static_cast<Doing>(state_->progress >> 2 * kCountBits); }
  uint32_t notes() const { return static_cast<uint16_t>(state_->progress); }
  bool hasRoom(uint32_t notes) const { return this->notes() + notes <= kMostNotes; }

  // Notes the word, which the caller then overwrites. Outside of steps and writes nothing is noted.
  template <class Word>
  Word& noted(Word& word) {
    static_assert(std::is_unsigned_v<Word> && (sizeof word == sizeof(uint32_t) || sizeof word == sizeof(uint64_t)));
    note(word, sizeof word == sizeof(uint64_t) ? kWide : 0);
    return word;
  }

  // The same of a word of which the caller remembers the latest note, in `last`, which stays when the write is taken
  // back: whether that note is one of those made since the write began, or since commit(), can be seen by the note.
  uint32_t& notedOnce(uint32_t& word, uint32_t& last) {
    const uint64_t where = arena_->distanceTo(&word);
    const bool isNoted = last >= committed() && last < notes() && state_->notes[last].where == where;
    if (isNoted) return word;
    store(last, notes());
    return noted(word);
  }

  // Notes the head of a list whose first block, in its lower half, the caller then takes out. The block's link, its
  // first word, will be content: taken back, the block is linked again.
  uint64_t& notedHead(uint64_t& head) {
    note(head, kWide | kHead);
    return head;
  }

  // Gives noted words back what they held: all of them, or those noted since commit(). May itself be cut short.
  void takeBack() { takeBackTo(0); }
  void takeBackToCommit() { takeBackTo(committed()); }

 private:
  // Of the parts of the progress.
  static constexpr unsigned kCountBits = 16;
  static_assert(kMostNotes < 1U << kCountBits);
  // What kind of word it is; words lie at multiples of four.
  static constexpr uint64_t kWide = 1;  // of eight bytes, not four
  static constexpr uint64_t kHead = 2;  // of a list that lost its first block
  static constexpr uint64_t kKinds = kWide | kHead;

  template <class Word>
  void note(Word& word, uint64_t kind) {
    const uint64_t progress = state_->progress;
    if (progress == 0) return;
    UndoLogState::Note& note = state_->notes[static_cast<uint16_t>(progress)];
    storeBoth(note.where, arena_->distanceTo(&word) | kind, note.before, uint64_t{word});
    keepOrder();
    store(state_->progress, progress + 1);
    keepOrder();
  }

  uint32_t committed() const { return static_cast<uint16_t>(state_->progress >> kCountBits); }
  void setProgress(Doing what, uint32_t committed, uint32_t notes) {
    keepOrder();
    store(state_->progress,
          uint64_t{static_cast<uint32_t>(what)} << 2 * kCountBits | uint64_t{committed} << kCountBits | notes);
    keepOrder();
  }
  void takeBackTo(uint32_t first) {
    for (uint32_t i = notes(); i-- > first;) {
      const UndoLogState::Note& note = state_->notes[i];
      auto* const word = arena_->atDistance(note.where & ~kKinds);
      // Who sees one of these stores sees those before it.
      if ((note.where & kWide) != 0) {
        auto& wide = *reinterpret_cast<uint64_t*>(word);
        if ((note.where & kHead) != 0) linkAgain(static_cast<Ref>(note.before), static_cast<Ref>(wide));
        publish(wide, note.before);
      } else {
        publish(*reinterpret_cast<uint32_t*>(word), static_cast<uint32_t>(note.before));
      }
      // One at a time: a link is made of what the head holds now.
      setProgress(doing(), committed(), i);
    }
  }
  // Unless the block was not yet taken out, or is back already.
  void linkAgain(Ref block, Ref head) const {
    if (head == block) return;
    store(*arena_->at<Ref>(block), head);
    keepOrder();
  }

  const Arena* arena_;
  UndoLogState* state_;
};

}  // namespace fibdb::store

#endif
