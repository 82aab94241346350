// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/fib_dod_rule_test.cc: rules of on-demand routes over the recorded table service and database.
#include <cstddef>

#include "tests/registered/service_table_tests.h"

namespace fibdb::test {
namespace {

using schema::TableId;

// The layout that callers were compiled against, which is the row's.
static_assert(offsetof(FibDbDodRuleItem, ruleKeyLen) == 12 && offsetof(FibDbDodRuleItem, ruleFlag) == 13);
static_assert(offsetof(FibDbDodRuleItem, ruleData) == 16 && offsetof(FibDbDodRuleItem, smoothId) == 84);
static_assert(offsetof(FibDbDodRuleItem, ruleStamp1) == 88 && offsetof(FibDbDodRuleItem, ruleStamp2) == 96);
static_assert(sizeof(FibDbDodRuleItem) == 104);

struct DodRule {
  using Item = FibDbDodRuleItem;
  static constexpr TableId kTable = TableId::fib_dod_rule;
  static constexpr const char* kId = "28";
  static constexpr const char* kName = "fib_dod_rule";
  static constexpr uint32_t kRowLength = 104;
  static constexpr const char* kKey = "0x0001000D 11111111222222223333333344";
  static constexpr Room kRoom[] = {{14, 2}};
  static constexpr uint64_t kTimes = 0;
  static constexpr uint64_t kTimesOfSetter = 0;
  static constexpr const char* kStaged[] = {"db_set_fib_dod_rule_table_smooth_id(#0, 1717986918)"};

  static Item fullItem() {
    Item item{.ruleKey1 = 0x11111111,
              .ruleKey2 = 0x22222222,
              .ruleKey3 = 0x33333333,
              .ruleKeyLen = 0x44,
              .ruleFlag = 0x55,
              .reserved = {0xE1, 0xE2},
              .smoothId = 0x66666666,
              .ruleStamp1 = 0x7171717171717171,
              .ruleStamp2 = 0x7272727272727272};
    fillBytes(item.ruleData, 0x80);
    return item;
  }
  // The item, with zeros where it has bytes that are the caller's.
  static Row rowOf(const Item& item) {
    Row row = bytesOf(item);
    row[14] = row[15] = 0;
    return row;
  }
  // A creation hands the item over as it is.
  static Row createdRow(const Item& item) { return bytesOf(item); }
  static void copyKey(const Item& from, Item& to) {
    to.ruleKey1 = from.ruleKey1;
    to.ruleKey2 = from.ruleKey2;
    to.ruleKey3 = from.ruleKey3;
    to.ruleKeyLen = from.ruleKeyLen;
  }

  static constexpr auto build = FIB_DB_SetDodRulePriKey;
  static constexpr auto unpack = FIB_DB_GetDodRuleFields;
  static constexpr auto create = FIB_DB_CreatDodRule;
  static constexpr auto read = FIB_DB_ReadDodRule;
  static constexpr auto remove = FIB_DB_DeleteDodRule;
  static constexpr auto update = FIB_DB_UpdateDodRuleSmthId;
  static constexpr auto set = FIB_DB_SetDodRuleSmoothID;
  static constexpr auto iterate = FIB_DB_CreateDodRuleIterator;
  static constexpr auto next = FIB_DB_GetNextDodRuleEntry;
  static constexpr auto release = FIB_DB_ReleaseDodRuleIterator;
  static constexpr auto registerTable = FIB_DB_DodRuleRegister;
};

INSTANTIATE_TYPED_TEST_SUITE_P(DodRule, ServiceFieldsTest, DodRule);
INSTANTIATE_TYPED_TEST_SUITE_P(DodRule, ServiceRecordTest, DodRule);
INSTANTIATE_TYPED_TEST_SUITE_P(DodRule, ServiceWalkTest, DodRule);
INSTANTIATE_TYPED_TEST_SUITE_P(DodRule, ServiceSmoothIdTest, DodRule);

class DodRuleTest : public ServiceTest<DodRule> {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    DodRule::copyKey(item, out);
  }
};

TEST_F(DodRuleTest, CreatDodRule_hands_over_the_callers_own_bytes_without_a_copy) {
  const void* handedOver = nullptr;
  platform.watch = [&](std::string_view) {
    std::memcpy(&handedOver, platform.serviceRecords.back().data() + offsetof(FibDbUfibData, data), sizeof handedOver);
  };
  EXPECT_EQ(FIB_DB_CreatDodRule(&item), 0u);
  EXPECT_EQ(handedOver, &item);
}

TEST_F(DodRuleTest, ReadDodRuleByLpm_takes_the_first_entry_and_releases) {
  FibDbDodRuleItem first = item;
  first.ruleKeyLen = 8;
  platform.entries = {DodRule::rowOf(first), Row(104)};
  EXPECT_EQ(FIB_DB_ReadDodRuleByLpm(&out), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_fib_dod_rule_obj(5)",
                          "db_create_root_iter(#1, 0x0105000D 11111111222222223333333344)", "db_root_iterator_next(~1)",
                          "db_read_obj_with_buf(#1, NULL, 104)", "db_release_fib_dod_rule_object(#1)"));
  EXPECT_EQ(DodRule::rowOf(out), DodRule::rowOf(first));
  EXPECT_EQ(out.reserved[0], 0x5A);
  EXPECT_EQ(out.reserved[1], 0x5A);
}

TEST_F(DodRuleTest, ReadDodRuleByLpm_without_a_match_gives_10003_silently_and_keeps_the_item) {
  const Row before = bytesOf(out);
  EXPECT_EQ(FIB_DB_ReadDodRuleByLpm(&out), 10003u);
  EXPECT_EQ(platform.calls.back(), "db_release_fib_dod_rule_object(#1)");
  EXPECT_EQ(bytesOf(out), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(DodRuleTest, ReadDodRuleByLpm_failures_return_the_databases_code_silently_and_keep_the_item) {
  const Row before = bytesOf(out);
  const struct {
    const char* call;
    size_t calls;
  } steps[] = {{"db_create_fib_dod_rule_obj", 1},
               {"db_create_root_iter", 3},
               {"db_root_iterator_next", 4},
               {"db_read_obj_with_buf", 5}};
  for (const auto& step : steps) {
    for (const uint32_t code : {7u, 13044u, 15005u}) {
      platform.calls.clear();
      platform.entries = {DodRule::rowOf(item)};
      platform.fail(step.call, code);
      EXPECT_EQ(FIB_DB_ReadDodRuleByLpm(&out), code) << step.call;
      EXPECT_EQ(platform.calls.size(), step.calls) << step.call;
      EXPECT_EQ(platform.leaks(), "");
    }
  }
  EXPECT_EQ(bytesOf(out), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(DodRuleTest, ReadDodRuleByLpm_whose_row_fails_with_110012_returns_that) {
  platform.entries = {DodRule::rowOf(item)};
  platform.fail("db_read_obj_with_buf", 110012);
  EXPECT_EQ(FIB_DB_ReadDodRuleByLpm(&out), 110012u);
}

TEST_F(DodRuleTest, ReadDodRuleByLpm_of_NULL_gives_1_and_calls_nothing) {
  EXPECT_EQ(FIB_DB_ReadDodRuleByLpm(nullptr), 1u);
  EXPECT_THAT(platform.allCalls, IsEmpty());
}

}  // namespace
}  // namespace fibdb::test
