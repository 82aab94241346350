// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/records.h: the records of one table: slots, their versions and births.
//
// DESCRIPTION  A record is a slot: the row, then a 32-bit version. Slots are cut from extents that hold
// nothing else, so a slot is a slot for ever: what once was a reference to a record can always be looked at.
// The version says whether the slot is live and whether its row is being changed; while it is, the row's
// previous content stands in the table's shadow row. A dead slot may be taken again by the very next write:
// whoever still holds its reference finds it dead, or its version changed, or another key in its row, or a
// birth later than it asked for. So a reference found in an index is a hint: only read() makes it a record,
// and its reader then looks whether the row has the key that led there.
//
// A writer that dies while it changes a row leaves the version saying so: restore() puts back what the shadow has.
// Slots come from extents that are linked before any is cut, and stay linked whatever is taken back: a walk may be in
// them.
//
// COST     prepare, take, giveBack, read: O(1).
// MEMORY   Rows and their versions, rounded up to 16 bytes, and 8 bytes for each stamp: when the record was born, and
//          in which generation of the table it was written last (replace.cc).
// THREADS  One writer (REQUIRES the table's lock); read, row and the walk from any thread.
// INVARIANTS
//   Every change of a slot changes its version, which comes round only after 2^30 of them.
//   Extents are linked in ascending order; slots that were never cut read as not live.
//   The list of free slots runs through their stamps; a free slot's row stays as it was.
#ifndef FIBDB_ENGINE_STORE_RECORDS_H
#define FIBDB_ENGINE_STORE_RECORDS_H

#include <cstdint>

#include "engine/store/heap.h"
#include "engine/store/word.h"
#include "platform/schema/catalog.h"

namespace fibdb::store {

// The stored part; lives in the arena, zero is empty.
struct RecordsState {
  Ref firstExtent, lastExtent;
  Ref free;   // slots that were given back
  Ref spare;  // an extent to be linked behind the last, or linked already
  alignas(uint64_t) uint8_t shadow[schema::kMaxRowLength];
};
static_assert(schema::kMaxRowLength % sizeof(uint64_t) == 0);

// Of all records of a table that are written between two moments; comes round.
using Generation = uint16_t;

// How the slots of a table lie in an extent; follows from the length of its rows.
struct RecordLayout {
  uint16_t rowLength = 0;
  uint16_t versionWord = 0;  // of a slot
  uint32_t slotUnits = 0;
  uint32_t slotsPerExtent = 0;
  uint32_t unitsPerExtent = 0;  // of all slots

  RecordLayout() = default;
  explicit RecordLayout(uint16_t rowLength);
};

// Where a walk over all slots stands: it has seen the slots of the extent below this one.
struct RecordPosition {
  Ref extent = kNoRef;
  uint32_t slot = 0;
};

class Records {
 public:
  // Any birth.
  static constexpr uint64_t kAnyTime = ~uint64_t{0};
  // Of what stands before the slots of an extent: slots of two cache lines stay on pairs, which are fetched together.
  static constexpr uint32_t kHeadBytes = 128;

  Records(Heap heap, RecordsState& state, const RecordLayout& layout) : heap_(heap), state_(&state), layout_(&layout) {}

  // Makes sure that there is a slot to take, as a step; false when memory is short.
  bool prepare();
  // A slot for a new record, born now, with this row but not live. REQUIRES: made sure of.
  Ref take(const uint8_t* row, Generation generation);
  Generation generationOf(Ref record) const { return static_cast<Generation>(load(*stamp(record)) >> kTimeBits); }
  void setGeneration(Ref record, Generation generation);

  // The three changes that readers see. Each ends with the store of a version that the slot never had before, which
  // ...Version() tells beforehand: so it can be told afterwards whether the change took place.
  // Makes the record live.
  void enliven(Ref record);
  uint32_t versionAlive(Ref record) const;
  // Changes the row of a live record.
  void change(Ref record, const uint8_t* row);
  uint32_t versionChanged(Ref record) const;
  // Makes the record dead: readers pass over it.
  void bury(Ref record);
  uint32_t versionBuried(Ref record) const;

  // A change of the row that was cut short is taken back.
  void restore(Ref record);
  bool hasVersion(Ref record, uint32_t version) const { return versionOf(record) == version; }
  // The row before the latest change.
  const uint8_t* rowBefore() const { return state_->shadow; }

  // Gives the slot of a dead record back.
  void giveBack(Ref record);

  // Whether there can be a slot: a reader that may have been overtaken asks before it takes a word for a reference.
  bool canBe(Ref record) const {
    const uint32_t unit = record & (kExtentUnits - 1);
    return heap_.arena().readable(record) && unit >= kHeadUnits && unit - kHeadUnits < layout_->unitsPerExtent;
  }
  // The row, which may be changing or dead: for looking at keys before read() decides.
  const uint8_t* row(Ref record) const { return heap_.at<uint8_t>(record); }
  bool isLive(Ref record) const;
  // Asks memory for all of a slot.
  void fetch(Ref record) const {
    for (uint32_t at = 0; at <= layout_->rowLength; at += kCacheLine) __builtin_prefetch(row(record) + at);
  }
  // Copies the row of a live record that was born at `latest` or before; false when it is not such a record.
  bool read(Ref record, uint64_t latest, uint8_t* row) const;
  // The same of any birth; false, too, when its row is being changed.
  bool readAtOnce(Ref record, uint8_t* row) const;

  // Every extent, the spare one among them; every slot that was ever in use, and whether it is live; every slot that
  // was given back, to which free says whether it can be one.
  void survey(const Surveyor& to, const Visit<void(Ref, bool)>& slot, const Visit<bool(Ref)>& free) const;

  RecordPosition first() const;
  // The next slot, live or not, and moves past it; kNoRef at the end.
  Ref next(RecordPosition& position) const;

 private:
  static constexpr uint32_t kExtentUnits = kExtentBytes / kRefUnit;
  static constexpr uint32_t kHeadUnits = kHeadBytes / kRefUnit;

  uint32_t& versionOf(Ref record) const { return heap_.at<uint32_t>(record)[layout_->versionWord]; }
  // Births are times of the heap's clock, which would take nine years of a million writes a second to come round.
  // Bits of a version; the rest counts changes.
  static constexpr uint32_t kChanging = 1;
  static constexpr uint32_t kLive = 2;
  static constexpr unsigned kTimeBits = 48;
  static constexpr uint64_t kTimeMask = (uint64_t{1} << kTimeBits) - 1;
  uint64_t* stamp(Ref record) const;
  bool isFull(Ref extent) const;
  void surveyExtent(Ref extent, const Surveyor& to, const Visit<void(Ref, bool)>& slot) const;
  void linkSpare();

  Heap heap_;
  RecordsState* state_;
  const RecordLayout* layout_;
};

inline uint64_t* Records::stamp(Ref record) const {
  const Ref extent = record & ~(kExtentUnits - 1);
  const uint32_t slot = (record - extent - kHeadUnits) / layout_->slotUnits;
  return heap_.at<uint64_t>(extent + kHeadUnits + layout_->unitsPerExtent) + slot;
}

inline bool Records::readAtOnce(Ref record, uint8_t* row) const {
  const auto* const slot = heap_.at<uint8_t>(record);
  __builtin_prefetch(slot);
  const uint32_t& current = versionOf(record);
  const uint32_t version = follow(current);
  if ((version & (kLive | kChanging)) != kLive) return false;
  copyOutWide(row, slot, layout_->rowLength);
  acquireFence();
  return load(current) == version;
}

inline bool Records::read(Ref record, uint64_t latest, uint8_t* row) const {
  const auto* const slot = heap_.at<uint8_t>(record);
  __builtin_prefetch(slot);
  const uint32_t& current = versionOf(record);
  for (;;) {
    const uint32_t version = follow(current);
    if ((version & kLive) == 0) return false;
    // While no write has begun since, nothing can be younger, and the stamp need not be fetched.
    const bool inTime = heap_.clock() <= latest || (load(*stamp(record)) & kTimeMask) <= latest;
    if (inTime) copyOutWide(row, (version & kChanging) != 0 ? state_->shadow : slot, layout_->rowLength);
    acquireFence();
    if (load(current) == version) return inTime;
  }
}

}  // namespace fibdb::store

#endif
