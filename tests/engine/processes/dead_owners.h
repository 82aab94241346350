// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/processes/dead_owners.h: the kernel's part when the owner of robust locks dies, for where an emulator
// does not hand the kernel the list of them.
#ifndef FIBDB_TESTS_ENGINE_PROCESSES_DEAD_OWNERS_H
#define FIBDB_TESTS_ENGINE_PROCESSES_DEAD_OWNERS_H

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "engine/store/arena.h"
#include "engine/store/table.h"
#include "tests/support/emulator.h"

namespace fibdb::testing {

// The writers' lock of a table, in the arena's file.
inline size_t placeOfLock(size_t table) {
  constexpr size_t kStatesPerExtent = store::kExtentBytes / sizeof(store::TableState);
  return uint64_t{store::Arena::extentAt(table / kStatesPerExtent)} * store::kRefUnit +
         table % kStatesPerExtent * sizeof(store::TableState) + offsetof(store::TableState, writers);
}

// Marks the writers' locks that the dead process held, and wakes one who waits, as the kernel does. The first word of a
// lock is its owner's number, and whether somebody waits. False when the arena cannot be mapped.
inline bool tellDeathOf(pid_t process, const std::string& arena) {
  if (emulation::deathsAreTold()) return true;
  const size_t bytes = placeOfLock(schema::kTableCount);
  const int file = open(arena.c_str(), O_RDWR | O_CLOEXEC);
  void* const mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (mapped == MAP_FAILED) return false;
  for (size_t table = 0; table < schema::kTableCount; ++table) {
    auto* const word = reinterpret_cast<uint32_t*>(static_cast<std::byte*>(mapped) + placeOfLock(table));
    const std::atomic_ref<uint32_t> lock(*word);
    for (uint32_t seen = lock.load(); (seen & FUTEX_TID_MASK) == static_cast<uint32_t>(process);) {
      if (lock.compare_exchange_weak(seen, (seen & FUTEX_WAITERS) | FUTEX_OWNER_DIED)) break;
    }
    // Also when it had let go, and died before it told who waits.
    syscall(SYS_futex, word, FUTEX_WAKE, 1, nullptr, nullptr, 0);
  }
  munmap(mapped, bytes);
  return true;
}

}  // namespace fibdb::testing

#endif
