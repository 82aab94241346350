// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/table_writer.h: one write to a table. table.cc has what it does.
#ifndef FIBDB_ENGINE_STORE_TABLE_WRITER_H
#define FIBDB_ENGINE_STORE_TABLE_WRITER_H

#include <errno.h>
#include <pthread.h>

#include <cstdint>
#include <span>

#include "engine/store/probes.h"
#include "engine/store/table.h"
#include "engine/store/word.h"

namespace fibdb::store {

inline void addOne(uint64_t& counter) { store(counter, counter + 1); }

// One write: holds the lock, knows the time, and changes records in all indexes at once.
//
// A write begins with steps, each of which stands by itself whatever comes after: blocks that have rested become free,
// memory is made sure of. Then come the changes of the write proper, up to the store that makes it visible; then what
// follows from that (complete); and then steps again, which make indexes grow.
class Table::Writer {
 public:
  explicit Writer(Table& table)
      : table_(table), state_(*table.state_), heap_(table.heap()), records_(table.records(heap_)), log_(heap_.log()) {
    const bool inherited = pthread_mutex_lock(&state_.writers) == EOWNERDEAD;
    if (inherited || log_.doing() != Doing::kNothing) repair();
    if (inherited) pthread_mutex_consistent(&state_.writers);
    log_.begin(Doing::kStep);
    heap_.beginWrite();
  }
  ~Writer() {
    log_.end();
    heap_.arena().noteWrite();
    pthread_mutex_unlock(&state_.writers);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  Ref find(const Key& key) { return table_.find(heap_, key); }
  const uint8_t* row(Ref record) const { return records_.row(record); }

  uint32_t insert(const Key& key, const uint8_t* row);
  uint32_t change(Ref record, const uint8_t* row, Change change);
  // isLeftOver: the replace that is under way takes it away.
  uint32_t remove(const Key& key, Ref record, bool isLeftOver = false);

 private:
  uint32_t refuse(uint32_t code) {
    addOne(state_.refused);
    FIBDB_PROBE(write_refused, table_.layout().name.data(), code);
    return code;
  }
  uint32_t prepare();
  bool hasRoom(uint32_t pieces, uint32_t left);
  uint32_t admitGrowth();
  uint32_t admitReturn();
  uint32_t admitRemoval();
  uint32_t admitMoves(std::span<const size_t> indexes);
  uint32_t piecesToEnter();
  uint32_t piecesToLeave();
  bool canHave(uint32_t pieces);
  Ref enter(size_t index, const uint8_t* row, Ref record);
  void settle(size_t index, Ref block, Ref record);
  void leave(size_t index, const uint8_t* row, Ref block, Ref record);
  void grow();
  void growTries(const uint8_t* row);
  void intend(Doing what, Ref record, uint32_t version, uint64_t hash, Change change);
  void complete();
  void completeInsert();
  void completeChange();
  void completeRemoval();
  uint32_t keep(Ref record, Change change);
  uint64_t& counterOf(Change change);
  Generation generation() const { return static_cast<Generation>(state_.replace.generation); }
  void repair();

  Table& table_;
  TableState& state_;
  Heap heap_;
  Records records_;
  UndoLog log_;
  bool short_ = false;  // no extent was to be had: what is left is counted out
};

}  // namespace fibdb::store

#endif
