// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/emulator.h: what an emulator of another machine cannot do.
#ifndef FIBDB_TESTS_SUPPORT_EMULATOR_H
#define FIBDB_TESTS_SUPPORT_EMULATOR_H

#include <cstdint>
#include <thread>

namespace fibdb::emulation {

#ifdef FIBDB_EMULATED
inline constexpr bool kIsEmulated = true;
#else
inline constexpr bool kIsEmulated = false;
#endif

// In qemu-user 7.2 the threads of a child of fork() get the numbers behind that of the thread which called it, and the
// child is aborted when its parent had one of that number: fork() is called on the thread that came last, and no other
// may come meanwhile.
constexpr bool threadsMayComeBesideFork() { return !kIsEmulated; }
template <class Work>
int onLastThread(Work&& work) {
  if (!kIsEmulated) return work();
  int result = 0;
  std::thread([&] { result = work(); }).join();
  return result;
}

// It does not hand the kernel the list of locks that a thread holds, so nobody is told that their owner died.
constexpr bool deathsAreTold() { return !kIsEmulated; }
// What the system calls a process of this name.
constexpr const char* nameInSystem(const char* name) { return kIsEmulated ? "qemu-aarch64" : name; }

}  // namespace fibdb::emulation

#endif
