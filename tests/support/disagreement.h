// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/disagreement.h: what a model throws when what it stands beside says something else.
#ifndef FIBDB_TESTS_SUPPORT_DISAGREEMENT_H
#define FIBDB_TESTS_SUPPORT_DISAGREEMENT_H

#include <string>

namespace fibdb::test {

struct Disagreement {
  std::string text;  // a sentence
};

}  // namespace fibdb::test

#endif
