// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/fault_loop_test.cc: every exported function, with each of its platform calls failing in turn.
//
// Each function runs once per call that it makes and per code below. After each run nothing may be alive, nothing may
// have been released twice, and the status must be the one that the function's rules give for the call that failed. A
// call without a rule fails the test, and so does a rule whose call never came, and an exported function without a row.
// The rows stand beside the tests of their table, in <table>_faults.cc.
#include <algorithm>
#include <fstream>
#include <set>

#include "tests/support/each_of.h"
#include "tests/support/fault_rows.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test::fault {

uint64_t connectionOfRows() { return 77; }
void giveBackBatchObject(uint64_t object) { PlatformDouble::instance().releaseObject(object); }

namespace {

constexpr uint32_t kCodes[] = {7, 10740, 13044, 15005, 60003, 60023, 110012};

// By name: the files announce their rows in no particular order.
std::vector<const Exported*> sortedRows() {
  std::vector<const Exported*> rows = addressesOf(allRows());
  std::ranges::sort(rows, std::less<std::string_view>{}, &Exported::name);
  return rows;
}

class FaultLoop : public TablesTest, public testing::WithParamInterface<const Exported*> {
 protected:
  // Two entries to iterate over: rows of any table, of the longest length.
  void prepare() {
    platform.reset();
    platform.entries = {Row(schema::kMaxRowLength), Row(schema::kMaxRowLength)};
  }
};

TEST_P(FaultLoop, gives_the_required_status_and_leaves_nothing_behind) {
  const Exported& exported = *GetParam();
  prepare();
  EXPECT_EQ(exported.run(), 0u);
  EXPECT_EQ(platform.leaks(), "");
  const uint64_t calls = platform.allCalls.size();
  EXPECT_EQ(calls == 0, exported.rules.empty());

  std::set<std::string> used;
  for (const uint32_t code : kCodes) {
    for (uint64_t n = 1; n <= calls; ++n) {
      prepare();
      platform.failNth(n, code);
      const uint32_t status = exported.run();
      const std::string failed = platform.failedCall();
      const auto rule = std::ranges::find_if(exported.rules, [&](const Rule& r) { return r.covers(failed); });
      ASSERT_NE(rule, exported.rules.end()) << "no rule for " << failed << ", call " << n;
      used.insert(rule->call);
      EXPECT_EQ(status, rule->gives(code)) << failed << " failing with " << code << ", call " << n;
      EXPECT_EQ(platform.leaks(), "") << failed << " failing with " << code << ", call " << n;
    }
  }
  EXPECT_EQ(used.size(), exported.rules.size()) << "a rule whose call never came";
}

INSTANTIATE_TEST_SUITE_P(Exports, FaultLoop, testing::ValuesIn(sortedRows()),
                         [](const auto& info) { return info.param->name; });

// The checked-in list of what the library exports, functions only.
TEST(FaultLoopRows, cover_every_exported_function) {
  std::set<std::string> rows;
  for (const Exported& exported : allRows()) EXPECT_TRUE(rows.insert(exported.name).second) << exported.name;
  std::ifstream list(FIBDB_EXPORTS_FILE);
  std::set<std::string> functions;
  for (std::string line; std::getline(list, line);) {
    if (!line.empty() && line[0] != '#' && !line.starts_with("g_")) functions.insert(line);
  }
  EXPECT_FALSE(functions.empty());
  EXPECT_EQ(rows, functions);
}

}  // namespace
}  // namespace fibdb::test::fault
