// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/tsan_options.cc: for test programs whose children, made by fork() beside other threads, start threads
// of their own: the thread sanitizer ends such a child unless told not to.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "die_after_fork=0"; }
