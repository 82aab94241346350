// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/records.cc: slots cut from extents, and the protocol of their versions.
#include "engine/store/records.h"

#include <algorithm>

#include "engine/store/word.h"

namespace fibdb::store {

namespace {

// An extent of records: this head, the slots, then a birth stamp for each slot.
struct ExtentHead {
  Ref next;
  uint32_t cut;  // slots in use so far
  uint8_t unused[120];
};
static_assert(sizeof(ExtentHead) == Records::kHeadBytes);

// Of a version, beside its bits.
constexpr uint32_t kOneChange = 4;

// Rows are copied in eights.
static_assert(kRefUnit % sizeof(uint64_t) == 0);

}  // namespace

RecordLayout::RecordLayout(uint16_t length)
    : rowLength(length), versionWord(static_cast<uint16_t>((length + sizeof(uint32_t) - 1) / sizeof(uint32_t))) {
  slotUnits = static_cast<uint32_t>(((versionWord + 1) * sizeof(uint32_t) + kRefUnit - 1) / kRefUnit);
  slotsPerExtent =
      static_cast<uint32_t>((kExtentBytes - sizeof(ExtentHead)) / (slotUnits * kRefUnit + sizeof(uint64_t)));
  unitsPerExtent = slotsPerExtent * slotUnits;
}

bool Records::isFull(Ref extent) const {
  return extent == kNoRef || heap_.at<ExtentHead>(extent)->cut == layout_->slotsPerExtent;
}

// An extent is the spare one until it is the last: whatever is taken back, nothing but records comes to stand in it.
bool Records::prepare() {
  if (state_->free != kNoRef || !isFull(state_->lastExtent)) return true;
  if (state_->spare == kNoRef) {
    const Ref fresh = heap_.takeExtent();
    if (fresh == kNoRef) return false;
    store(heap_.noted(state_->spare), fresh);
  }
  heap_.log().stand();
  linkSpare();
  return true;
}

void Records::linkSpare() {
  const Ref last = state_->lastExtent;
  publish(last == kNoRef ? state_->firstExtent : heap_.at<ExtentHead>(last)->next, state_->spare);
  store(heap_.noted(state_->lastExtent), state_->spare);
  store(heap_.noted(state_->spare), kNoRef);
}

Ref Records::take(const uint8_t* row, Generation generation) {
  Ref record = state_->free;
  if (record != kNoRef) {
    // The link will be a birth stamp.
    const auto next = static_cast<Ref>(heap_.noted(*stamp(record)));
    store(heap_.noted(state_->free), next);
    if (next != kNoRef) {
      // Whoever takes it fills a slot that nobody has looked at for long.
      Arena::fetchToFill(heap_.at<void>(next), layout_->rowLength + sizeof(uint32_t));
      Arena::fetchToFill(stamp(next), sizeof(uint64_t));
    }
  } else {
    auto* head = heap_.at<ExtentHead>(state_->lastExtent);
    record = state_->lastExtent + kHeadUnits + head->cut * layout_->slotUnits;
    publish(heap_.noted(head->cut), head->cut + 1);
  }
  store(*stamp(record), (heap_.clock() & kTimeMask) | uint64_t{generation} << kTimeBits);
  copyInWide(heap_.at<void>(record), row, layout_->rowLength);
  return record;
}

void Records::setGeneration(Ref record, Generation generation) {
  uint64_t& own = *stamp(record);
  store(heap_.noted(own), (own & kTimeMask) | uint64_t{generation} << kTimeBits);
}

uint32_t Records::versionAlive(Ref record) const { return (versionOf(record) + kOneChange) | kLive; }
uint32_t Records::versionChanged(Ref record) const { return (versionOf(record) + kOneChange) & ~kChanging; }
uint32_t Records::versionBuried(Ref record) const { return (versionOf(record) + kOneChange) & ~kLive; }

void Records::enliven(Ref record) { publish(versionOf(record), versionAlive(record)); }

void Records::change(Ref record, const uint8_t* row) {
  uint32_t& version = versionOf(record);
  auto* const slot = heap_.at<void>(record);
  // Fences keep each step behind the version that announces it, for readers, who look at the version last.
  releaseFence();
  copyInWide(state_->shadow, slot, layout_->rowLength);
  publish(version, version | kChanging);
  releaseFence();
  copyInWide(slot, row, layout_->rowLength);
  publish(version, versionChanged(record));
}

// To a version of its own: neither that of the row before, which readers may have seen change, nor that of the change.
void Records::restore(Ref record) {
  uint32_t& version = versionOf(record);
  if ((version & kChanging) == 0) return;
  copyInWide(heap_.at<void>(record), state_->shadow, layout_->rowLength);
  publish(version, (version + 2 * kOneChange) & ~kChanging);
}

void Records::bury(Ref record) {
  publish(versionOf(record), versionBuried(record));
  // Whatever is stored over the row is seen after the version.
  releaseFence();
}

void Records::giveBack(Ref record) {
  store(*stamp(record), uint64_t{state_->free});
  store(heap_.noted(state_->free), record);
}

bool Records::isLive(Ref record) const { return (follow(versionOf(record)) & kLive) != 0; }

void Records::survey(const Surveyor& to, const Visit<void(Ref, bool)>& slot, const Visit<bool(Ref)>& free) const {
  const Ref last = load(state_->lastExtent), spare = load(state_->spare);
  Ref before = kNoRef, end = kNoRef;  // the extent last seen, and the last that is not the spare one
  for (Ref ref = follow(state_->firstExtent); ref != kNoRef && to.block(ref, kExtentBytes);) {
    if (ref < before) to.wrong("an extent out of order", ref);
    if (ref != spare) end = ref;
    surveyExtent(ref, to, slot);
    before = ref;
    ref = follow(heap_.at<ExtentHead>(ref)->next);
  }
  if (end != last) to.wrong("do not end where they must", end);
  if (spare != kNoRef && spare != before) to.block(spare, kExtentBytes);
  for (Ref record = load(state_->free); record != kNoRef && free(record);) {
    record = static_cast<Ref>(load(*stamp(record)));
  }
}

void Records::surveyExtent(Ref extent, const Surveyor& to, const Visit<void(Ref, bool)>& slot) const {
  const uint32_t cut = follow(heap_.at<ExtentHead>(extent)->cut);
  const uint32_t least =
      extent == load(state_->lastExtent) || extent == load(state_->spare) ? 0 : layout_->slotsPerExtent;
  if (cut < least || cut > layout_->slotsPerExtent) to.wrong("another number of slots than there can be", extent);
  for (uint32_t i = 0; i < layout_->slotsPerExtent; ++i) {
    const Ref record = extent + kHeadUnits + i * layout_->slotUnits;
    const uint32_t version = follow(versionOf(record));
    const bool live = (version & kLive) != 0;
    if ((version & kChanging) != 0) to.wrong("a change is under way", record);
    if (live && i >= cut) to.wrong("live and never taken", record);
    if (live && (load(*stamp(record)) & kTimeMask) > heap_.clock()) to.wrong("born later than now", record);
    if (i < cut) slot(record, live);
  }
}

RecordPosition Records::first() const { return {follow(state_->firstExtent), 0}; }

Ref Records::next(RecordPosition& position) const {
  while (position.extent != kNoRef) {
    const auto* head = heap_.at<ExtentHead>(position.extent);
    if (position.slot < std::min(follow(head->cut), layout_->slotsPerExtent)) {
      return position.extent + kHeadUnits + position.slot++ * layout_->slotUnits;
    }
    // An extent that is still being cut is the last one. A damaged chain may be a circle.
    const Ref next = follow(head->next);
    position = {next > position.extent ? next : kNoRef, 0};
  }
  return kNoRef;
}

}  // namespace fibdb::store
