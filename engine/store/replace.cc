// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/replace.cc: telling a table anew: what is not told again goes.
//
// A table has a generation, and every record that of the write that wrote it last, kept only while somebody tells the
// table anew. To begin is to begin a generation; to end is to remove the records of earlier ones, each by a write of
// its own that looks once more. Whatever ends in between, the records are all there.
#include <unistd.h>

#include <cstring>

#include "engine/store/table.h"
#include "engine/store/table_writer.h"
#include "engine/store/wall_time.h"

namespace fibdb::store {
namespace {

uint32_t ownPid() { return static_cast<uint32_t>(getpid()); }

}  // namespace

ReplaceState Table::replaceState() const {
  const ReplaceState& state = state_->replace;
  return {.active = load(state.active),
          .pid = load(state.pid),
          .generation = load(state.generation),
          .vr = load(state.vr),
          .beganAt = load(state.beganAt),
          .counts = {.kept = load(state.counts.kept),
                     .changed = load(state.counts.changed),
                     .added = load(state.counts.added),
                     .removed = load(state.counts.removed)}};
}

bool Table::isReplaceAlive() const {
  const uint32_t pid = load(state_->replace.pid);
  return pid == ownPid() || (arena_->file() != nullptr && arena_->file()->hasProcess(pid));
}

uint32_t Table::beginReplace(uint32_t vr) {
  if (vr != kEveryVr && !hasVr_) return DB_ERR_BAD_PROPERTY;
  if (const uint32_t code = checkWritable()) return code;
  const Writer writer(*this);
  ReplaceState& state = state_->replace;
  if (state.active != 0) return DB_ERR_REPLACE_BUSY;
  store(state.pid, ownPid());
  store(state.vr, vr);
  store(state.beganAt, microsecondsNow());
  store(state.counts.kept, uint64_t{0});
  store(state.counts.changed, uint64_t{0});
  store(state.counts.added, uint64_t{0});
  store(state.counts.removed, uint64_t{0});
  store(state.generation, uint32_t{static_cast<Generation>(state.generation + 1)});
  publish(state.active, 1U);
  return 0;
}

uint32_t Table::takeOverReplace() {
  if (const uint32_t code = checkWritable()) return code;
  const Writer writer(*this);
  if (state_->replace.active == 0) return DB_ERR_NO_REPLACE;
  if (isReplaceAlive()) return DB_ERR_REPLACE_BUSY;
  store(state_->replace.pid, ownPid());
  return 0;
}

uint32_t Table::giveUpReplace() {
  if (const uint32_t code = checkWritable()) return code;
  const Writer writer(*this);
  if (state_->replace.active == 0) return DB_ERR_NO_REPLACE;
  if (state_->replace.pid != ownPid() && isReplaceAlive()) return DB_ERR_REPLACE_BUSY;
  store(state_->replace.active, 0U);
  return 0;
}

// Whether a record is of an earlier generation and may be removed.
bool Table::isLeftOver(const Records& rows, Ref record) const {
  const ReplaceState& state = state_->replace;
  uint32_t vr = load(state.vr);
  if (vr != kEveryVr) std::memcpy(&vr, rows.row(record) + vrOffset_, sizeof vr);
  return rows.generationOf(record) != static_cast<Generation>(load(state.generation)) && vr == load(state.vr);
}

uint32_t Table::endReplace(ReplaceCounts& counts) {
  counts = {};
  if (const uint32_t code = checkWritable()) return code;
  ReplaceState& state = state_->replace;
  if (load(state.active) == 0) return DB_ERR_NO_REPLACE;
  if (load(state.pid) != ownPid()) return DB_ERR_REPLACE_BUSY;
  Heap memory = heap();
  const Records rows = records(memory);
  RecordPosition position = rows.first();
  uint8_t row[schema::kMaxRowLength];
  while (const Ref record = rows.next(position)) {
    if (!rows.isLive(record) || !isLeftOver(rows, record) || !rows.read(record, Records::kAnyTime, row)) continue;
    Key key;
    keyOf(row, key);
    Writer writer(*this);
    // Another process may have written or removed it, or something else there, in between.
    if (writer.find(key) != record || !isLeftOver(rows, record)) continue;
    if (const uint32_t code = writer.remove(key, record, /*isLeftOver=*/true)) return code;
  }
  const Writer writer(*this);
  counts = replaceState().counts;
  store(state.active, 0U);
  return 0;
}

}  // namespace fibdb::store
