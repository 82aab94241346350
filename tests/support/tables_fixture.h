// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/tables_fixture.h: a fresh recorded platform per test, and nothing left alive after it.
#ifndef FIBDB_TESTS_SUPPORT_TABLES_FIXTURE_H
#define FIBDB_TESTS_SUPPORT_TABLES_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <numeric>
#include <string>
#include <vector>

#include "fibdb/fibdb.h"
#include "tests/support/platform_double.h"

namespace fibdb::test {

class TablesTest : public testing::Test {
 protected:
  TablesTest() { platform.reset(); }
  ~TablesTest() override { EXPECT_EQ(platform.leaks(), ""); }

  // Everything counted in the error matrix, and one cell of it.
  static uint64_t allCounted() {
    uint64_t sum = 0;
    for (const auto& table : g_fibDbErrStat) sum = std::accumulate(std::begin(table), std::end(table), sum);
    return sum;
  }
  static uint32_t counted(uint32_t table, uint32_t oper) { return g_fibDbErrStat[table][oper]; }

  // The one error counted, nothing else.
  static testing::AssertionResult countedOnce(uint32_t table, uint32_t oper) {
    if (allCounted() == 1 && counted(table, oper) == 1) return testing::AssertionSuccess();
    return testing::AssertionFailure() << allCounted() << " counted, " << counted(table, oper) << " there";
  }

  testing::AssertionResult silent() const {
    if (platform.errorLines.empty() && platform.infoLines.empty()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << testing::PrintToString(platform.errorLines)
                                       << testing::PrintToString(platform.infoLines);
  }

  PlatformDouble& platform = PlatformDouble::instance();
};

}  // namespace fibdb::test

#endif
