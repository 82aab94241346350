// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/emulator.h: what an emulator of another machine cannot do.
#ifndef FIBDB_TESTS_SUPPORT_EMULATOR_H
#define FIBDB_TESTS_SUPPORT_EMULATOR_H

#include <cstdint>

namespace fibdb::emulation {

#ifdef FIBDB_EMULATED
inline constexpr bool kIsEmulated = true;
#else
inline constexpr bool kIsEmulated = false;
#endif

// qemu-user 7.2 takes the threads that a parent had for its child's, and aborts the child when that starts one.
constexpr bool childrenMayStartThreads() { return !kIsEmulated; }
// Nor does it hand the kernel the list of locks that a thread holds, so nobody is told that their owner died.
constexpr bool deathsAreTold() { return !kIsEmulated; }
// What the system calls a process of this name.
constexpr const char* nameInSystem(const char* name) { return kIsEmulated ? "qemu-aarch64" : name; }
inline constexpr const char* kNoThreadsInChildren = "the emulator ends a child of fork() that starts a thread";

}  // namespace fibdb::emulation

#endif
