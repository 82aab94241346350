// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/runtime/hooks_test.cc: allocation and log hooks, the source process id.
#include <cstdlib>

#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;

class HooksTest : public TablesTest {};

int countedLines = 0;
int countLine(const char*, ...) { return ++countedLines; }

// Blocks come from the hooks, and a size of nothing never reaches them.
TEST_F(HooksTest, Malloc_returns_what_the_hook_returns) {
  void* const block = FIB_DB_Malloc(16);
  ASSERT_NE(block, nullptr);
  EXPECT_THAT(platform.allCalls, ElementsAre("alloc"));
  FIB_DB_Free(block);
}

TEST_F(HooksTest, Malloc_of_zero_returns_NULL_without_calling_the_hook) {
  EXPECT_EQ(FIB_DB_Malloc(0), nullptr);
  EXPECT_TRUE(platform.allCalls.empty());
}

TEST_F(HooksTest, Malloc_of_a_refused_size_returns_NULL) {
  platform.fail("alloc", 1);
  EXPECT_EQ(FIB_DB_Malloc(16), nullptr);
}

TEST_F(HooksTest, Free_hands_NULL_to_the_hook) {
  static int frees;
  frees = 0;
  const FibDbMemHooks hooks{.alloc = std::malloc, .free = [](void* block) { frees += block == nullptr; }};
  FIB_DB_InitMem(&hooks);
  FIB_DB_Free(nullptr);
  EXPECT_EQ(frees, 1);
}

TEST_F(HooksTest, InitMem_takes_over_both_members_unchecked) {
  const FibDbMemHooks hooks{.alloc = nullptr, .free = nullptr};
  FIB_DB_InitMem(&hooks);
  EXPECT_EQ(g_fibDbMemCallback.alloc, nullptr);
  EXPECT_EQ(g_fibDbMemCallback.free, nullptr);
}

// A filled block, or none.
TEST_F(HooksTest, MemCalloc_fills_the_block) {
  auto* const block = static_cast<uint8_t*>(FIB_DB_MemCalloc(4, 6, 0xAB));
  ASSERT_NE(block, nullptr);
  for (int i = 0; i < 24; ++i) EXPECT_EQ(block[i], 0xAB) << i;
  FIB_DB_Free(block);
}

TEST_F(HooksTest, MemCalloc_of_no_bytes_returns_NULL) { EXPECT_EQ(FIB_DB_MemCalloc(0, 100, 0), nullptr); }

TEST_F(HooksTest, MemCalloc_of_exactly_four_gibibytes_returns_NULL_because_the_cut_size_is_zero) {
  EXPECT_EQ(FIB_DB_MemCalloc(0x10000, 0x10000, 0), nullptr);
  EXPECT_TRUE(platform.allCalls.empty());
}

TEST_F(HooksTest, MemCalloc_of_more_than_four_gibibytes_gives_the_short_block_back) {
  EXPECT_EQ(FIB_DB_MemCalloc(0x10001, 0x10000, 0), nullptr);
  EXPECT_THAT(platform.allCalls, ElementsAre("alloc", "memset_s"));
}

TEST_F(HooksTest, MemCalloc_whose_fill_fails_frees_the_block) {
  platform.fail("memset_s", 22);
  EXPECT_EQ(FIB_DB_MemCalloc(1, 8, 0), nullptr);
  EXPECT_THAT(platform.allCalls, ElementsAre("alloc", "memset_s"));
}

TEST_F(HooksTest, MemCalloc_without_memory_does_not_fill) {
  platform.fail("alloc", 1);
  EXPECT_EQ(FIB_DB_MemCalloc(1, 8, 0), nullptr);
  EXPECT_THAT(platform.allCalls, ElementsAre("alloc"));
}

// Log hooks.
TEST_F(HooksTest, LogFuncInit_of_NULL_returns_1_and_keeps_the_hooks) {
  const FibDbLogFunc before = FIB_DB_GetErrLogCallBack();
  EXPECT_EQ(FIB_DB_LogFuncInit(nullptr), 1u);
  EXPECT_EQ(FIB_DB_GetErrLogCallBack(), before);
  EXPECT_NE(before, nullptr);
}

TEST_F(HooksTest, LogFuncInit_with_NULL_members_switches_both_severities_off) {
  const FibDbLogHooks off{.info = nullptr, .error = nullptr};
  EXPECT_EQ(FIB_DB_LogFuncInit(&off), 0u);
  EXPECT_EQ(FIB_DB_GetInfoLogCallBack(), nullptr);
  EXPECT_EQ(FIB_DB_GetErrLogCallBack(), nullptr);
  FIB_DB_RecordErrStat(19, 0);
  EXPECT_TRUE(silent());
}

TEST_F(HooksTest, LogFuncInit_takes_effect_at_the_next_message) {
  const FibDbLogHooks counting{.info = nullptr, .error = countLine};
  EXPECT_EQ(FIB_DB_LogFuncInit(&counting), 0u);
  FIB_DB_RecordErrStat(19, 0);
  EXPECT_EQ(countedLines, 1);
}

TEST_F(HooksTest, GetSourcePid_is_7415578_before_any_route_was_converted) {
  EXPECT_EQ(FIB_DB_GetSourcePid(), 7415578u);
}

}  // namespace
}  // namespace fibdb::test
