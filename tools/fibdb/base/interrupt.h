// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/interrupt.h: Ctrl-C ends the command that runs, not the program that holds the tables.
#ifndef FIBDB_TOOLS_INTERRUPT_H
#define FIBDB_TOOLS_INTERRUPT_H

#include <csignal>

namespace fibdb::program {

// While one exists, SIGINT sets a flag and wakes system calls that wait; afterwards it does what it did before.
class InterruptScope {
 public:
  InterruptScope();
  ~InterruptScope();
  InterruptScope(const InterruptScope&) = delete;
  InterruptScope& operator=(const InterruptScope&) = delete;

 private:
  struct sigaction before_ {};
};

bool interrupted();
// Has the same effect as SIGINT: whoever runs is to stop.
void requestInterrupt();
// Waits until the descriptor can be read, SIGINT has come, however early, or somebody wakes who waits.
enum class Woken { kByInput, kByInterrupt, kBySignal };
Woken waitForAny(int descriptor);
// For the handlers of other signals.
void wakeWaiting();
// False when SIGINT came instead.
bool waitForInput(int descriptor);
// Waits so many seconds, or until SIGINT comes.
void pauseFor(int seconds);
// For loops that take long: throws Failure (kInterrupted) once the flag is set.
void checkInterrupt();

}  // namespace fibdb::program

#endif
