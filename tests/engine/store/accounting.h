// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/store/accounting.h: the engine's check of a store, for EXPECT_EQ.
#ifndef FIBDB_TESTS_ENGINE_STORE_ACCOUNTING_H
#define FIBDB_TESTS_ENGINE_STORE_ACCOUNTING_H

#include <string>

#include "engine/store/check.h"

namespace fibdb::store {

// Empty, or what is wrong, a line each; a table that was overtaken is a line, too. REQUIRES: nobody writes.
inline std::string accountOf(Store& store) {
  std::string text;
  const auto visit = [&](const char* table, const char* finding) {
    text += std::string(table) + ": " + (finding == nullptr ? "overtaken" : finding) + "\n";
    return true;
  };
  CheckResult result;
  if (Check::run(store, visit, result) != 0) text += "no memory\n";
  return text;
}

}  // namespace fibdb::store

#endif
