// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/bus_guard.h: what becomes of a process whose arena's file is cut while it is mapped.
//
// DESCRIPTION  To touch a page that the file no longer has is a bus error. The guard catches it: from the first missing
// page on the arena is replaced by memory of zeros, the process's own, and the arena is lost: calls say so from then
// on, and whoever was in one comes out of it. Bus errors elsewhere go to whoever was there before.
#ifndef FIBDB_ENGINE_STORE_BUS_GUARD_H
#define FIBDB_ENGINE_STORE_BUS_GUARD_H

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace fibdb::store {

// One arena at a time; the latest.
void guardArena(std::byte* base, uint64_t bytes);
void endGuard();

extern std::atomic<bool> arenaLost;
inline bool isArenaLost() { return arenaLost.load(std::memory_order_relaxed); }

}  // namespace fibdb::store

#endif
