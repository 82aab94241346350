// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/interrupt.cc: see interrupt.h.
#include "tools/fibdb/base/interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "tools/fibdb/base/failure.h"

namespace fibdb::program {
namespace {

volatile std::sig_atomic_t pending = 0;

// The handler leaves a byte here, so that a wait which begins just after the signal still ends,
// whichever thread the signal meets.
std::array<int, 2> wakePipe{-1, -1};

void openWakePipe() {
  if (wakePipe[0] >= 0) return;
  if (pipe2(wakePipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) throw Failure(Status::kFailed, "no pipe can be had");
}

void emptyWakePipe() {
  std::array<char, 64> bytes;
  while (read(wakePipe[0], bytes.data(), bytes.size()) > 0) {
  }
}

void remember(int) {
  pending = 1;
  wakeWaiting();
}

}  // namespace

InterruptScope::InterruptScope() {
  openWakePipe();
  emptyWakePipe();
  pending = 0;
  struct sigaction action {};
  action.sa_handler = remember;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no SA_RESTART: what waits elsewhere is to return, too
  sigaction(SIGINT, &action, &before_);
}

InterruptScope::~InterruptScope() { sigaction(SIGINT, &before_, nullptr); }

void requestInterrupt() { remember(0); }

bool interrupted() { return pending != 0; }

void wakeWaiting() {
  const int error = errno;
  (void)!write(wakePipe[1], "", 1);
  errno = error;
}

Woken waitForAny(int descriptor) {
  std::array<pollfd, 2> waited{pollfd{descriptor, POLLIN, 0}, pollfd{wakePipe[0], POLLIN, 0}};
  while (!interrupted()) {
    const int ready = poll(waited.data(), waited.size(), -1);
    if (interrupted()) break;
    if (ready < 0 && errno != EINTR) return Woken::kByInput;  // the read will say what is wrong
    if (ready <= 0) continue;
    if (waited[1].revents != 0) {
      emptyWakePipe();
      return Woken::kBySignal;
    }
    return Woken::kByInput;
  }
  return Woken::kByInterrupt;
}

bool waitForInput(int descriptor) {
  Woken woken = Woken::kBySignal;
  while (woken == Woken::kBySignal) woken = waitForAny(descriptor);
  return woken == Woken::kByInput;
}

void pauseFor(int seconds) {
  pollfd woken{wakePipe[0], POLLIN, 0};
  if (!interrupted()) poll(&woken, 1, seconds * 1000);
}

void checkInterrupt() {
  if (interrupted()) throw Failure(Status::kInterrupted, "interrupted");
}

}  // namespace fibdb::program
