// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/bus_guard.cc: the handler of bus errors.
#include "engine/store/bus_guard.h"

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

namespace fibdb::store {

std::atomic<bool> arenaLost;

namespace {

std::atomic<uintptr_t> guardedFrom, guardedTo;
struct sigaction before;

bool replaceFrom(uintptr_t address) {
  const uintptr_t end = guardedTo.load(std::memory_order_relaxed);
  if (address < guardedFrom.load(std::memory_order_relaxed) || address >= end) return false;
  const uintptr_t page = address & ~(static_cast<uintptr_t>(sysconf(_SC_PAGESIZE)) - 1);
  constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_NORESERVE;
  if (mmap(reinterpret_cast<void*>(page), end - page, PROT_READ | PROT_WRITE, kFlags, -1, 0) == MAP_FAILED)
    return false;
  arenaLost.store(true, std::memory_order_relaxed);
  return true;
}

void onBusError(int signal, siginfo_t* what, void* context) {
  if (replaceFrom(reinterpret_cast<uintptr_t>(what->si_addr))) return;
  if ((before.sa_flags & SA_SIGINFO) != 0) return before.sa_sigaction(signal, what, context);
  if (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN) return before.sa_handler(signal);
  // Back to the instruction, which now ends the process as it would have.
  sigaction(SIGBUS, &before, nullptr);
}

}  // namespace

void guardArena(std::byte* base, uint64_t bytes) {
  const auto from = reinterpret_cast<uintptr_t>(base);
  arenaLost.store(false, std::memory_order_relaxed);
  guardedFrom.store(from, std::memory_order_relaxed);
  guardedTo.store(from + bytes, std::memory_order_relaxed);
  static pthread_once_t once = PTHREAD_ONCE_INIT;
  pthread_once(&once, [] {
    struct sigaction own {};
    own.sa_sigaction = onBusError;
    own.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&own.sa_mask);
    sigaction(SIGBUS, &own, &before);
  });
}

void endGuard() {
  guardedTo.store(0, std::memory_order_relaxed);
  guardedFrom.store(0, std::memory_order_relaxed);
}

}  // namespace fibdb::store
