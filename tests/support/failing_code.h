// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/failing_code.h: the code that calls fail with where a text is compared.
#ifndef FIBDB_TESTS_SUPPORT_FAILING_CODE_H
#define FIBDB_TESTS_SUPPORT_FAILING_CODE_H

#include <cstdint>

namespace fibdb::test {

// Shows whether a text prints it with a sign: -7, or 4294967289.
constexpr uint32_t kCode = 0xFFFFFFF9;

}  // namespace fibdb::test

#endif
