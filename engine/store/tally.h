// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/tally.h: a count that changes in the instant in which a record does.
//
// DESCRIPTION  A record becomes live, dead or another key's by one store to its version (records.h), and a count
// is another word. So a tally is two things in one word: how many records are settled, and at most one that is
// under way, which counts while it is live (and, for the tally of a key, while it has the key). A writer announces
// the record here, makes its one store, and then settles; whoever reads the tally in between looks at the record.
//
// An arrival that was taken back may stay announced: its record is not live, or not of this key, and if it comes to be,
// that is announced here. So it counts for nothing, and need not be noted.
//
// THREADS      One writer; read from any thread.
#ifndef FIBDB_ENGINE_STORE_TALLY_H
#define FIBDB_ENGINE_STORE_TALLY_H

#include <cstdint>

#include "engine/store/arena.h"
#include "engine/store/undo_log.h"
#include "engine/store/word.h"

namespace fibdb::store {

// The stored part; zero is none settled, none under way.
struct Tally {
  uint64_t word;

  struct Reading {
    uint32_t settled;
    Ref underWay;  // kNoRef: none
  };
  Reading read() const { return unpack(follow(word)); }

  // The writer's own view.
  uint32_t settled() const { return unpack(load(word)).settled; }

  // The record is about to be added: neither live nor, perhaps, of this key yet.
  void announceArrival(Ref record) { publish(word, pack(settled(), record)); }
  // The record is about to be taken away: it still counts.
  void announceDeparture(UndoLog log, Ref record) { publish(log.noted(word), pack(settled() - 1, record)); }
  // Of the record that was announced; once it is settled, to do so again does nothing. So nothing is noted: a write
  // that is completed anew settles what its dead writer had not.
  void settleArrival(Ref record) { settle(record, settled() + 1); }
  void settleDeparture(Ref record) { settle(record, settled()); }

 private:
  static Reading unpack(uint64_t word) { return {static_cast<uint32_t>(word >> 32), static_cast<Ref>(word)}; }
  static uint64_t pack(uint32_t settled, Ref underWay) { return uint64_t{settled} << 32 | underWay; }
  void settle(Ref record, uint32_t settled) {
    if (unpack(load(word)).underWay == record) publish(word, pack(settled, kNoRef));
  }
};

// What a tally amounts to. counts: callable as bool(Ref), whether a record that is under way counts now. The clock
// tells whether another write began meanwhile, to which reference and tally may belong by now.
template <class Clock, class TallyNow, class Counts>
uint32_t readTally(Clock&& clock, TallyNow&& tallyNow, Counts&& counts) {
  for (;;) {
    const uint64_t begun = clock();
    const Tally::Reading reading = tallyNow();
    const uint32_t count = reading.settled + (reading.underWay != kNoRef && counts(reading.underWay) ? 1 : 0);
    acquireFence();
    if (clock() == begun) return count;
  }
}

}  // namespace fibdb::store

#endif
