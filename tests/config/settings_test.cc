// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/config/settings_test.cc: the scalar settings of both configuration records over the recorded platform.
#include "tests/config/settings.h"

#include "tests/config/config_fixture.h"
#include "tests/support/each_of.h"

namespace fibdb::test {
namespace {

class SettingTest : public ConfigTest, public testing::WithParamInterface<const Setting*> {
 protected:
  std::string getter() const { return getterOf(record, setting.field); }
  std::string setter() const { return setterOf(record, setting.field); }
  // The record of router 42 holds this.
  void stock(uint64_t value) { putField(record.table, platform.record(record.table), setting.field, value); }
  // What the failing getter or setter says, and then its sequence.
  static Failed after(const std::string& line, Failed failed) {
    failed.lines.insert(failed.lines.begin(), line);
    return failed;
  }

  const Setting& setting = *GetParam();
  const Record& record = *setting.record;
};

// Those that can be read alone.
class ReadableSettingTest : public SettingTest {};
const std::vector<Setting>& readableSettings() {
  static const std::vector<Setting> settings = settingsThat([](const Setting& setting) { return bool{setting.get}; });
  return settings;
}

TEST(Settings, are_twenty_four_and_all_but_two_can_be_read_alone) {
  EXPECT_EQ(settingsOf(ecmpRecord()).size(), 16u);
  EXPECT_EQ(settingsOf(globalRecord()).size(), 8u);
  std::vector<std::string> writeOnly;
  for (const Setting& setting : allSettings()) {
    if (!setting.get || !setting.read) writeOnly.push_back(setting.records);
  }
  EXPECT_THAT(writeOnly, testing::ElementsAre("VxlanHashStateful", "EcmpDpfrEnable"));
}

TEST_P(ReadableSettingTest, Get_fills_the_value_and_nothing_beside_it) {
  stock(setting.widest());
  uint64_t value = 0;
  EXPECT_EQ(setting.get(7, &value), 0u);
  EXPECT_EQ(value, setting.widest());
  stock(0);
  value = ~uint64_t{0};
  EXPECT_EQ(setting.get(7, &value), 0u);
  EXPECT_EQ(value, ~setting.widest());
  EXPECT_EQ(platform.calls, Calls({getter() + "(7)", getter() + "(7)"}));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(ReadableSettingTest, Get_that_fails_says_so_returns_1_and_leaves_the_value) {
  stock(setting.widest());
  uint64_t value = 77;
  platform.fail(getter(), kCode);
  expectFailed(setting.get(7, &value), {1, {setting.getFailed}});
  EXPECT_EQ(value, 77u);
}

TEST_P(ReadableSettingTest, Get_that_fails_returns_1_without_hooks) {
  const FibDbLogHooks none{};
  FIB_DB_LogFuncInit(&none);
  uint64_t value = 77;
  platform.fail(getter(), kCode);
  expectFailed(setting.get(7, &value), {1, {}});
}

TEST_P(SettingTest, Set_stages_the_widest_value_unchanged) {
  EXPECT_EQ(setting.set(7, setting.widest()), 0u);
  EXPECT_EQ(platform.calls, Calls{setCall(record, setting.field, setting.widest(), "7")});
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(SettingTest, Set_that_fails_says_so_and_returns_1) {
  platform.fail(setter(), kCode);
  expectFailed(setting.set(7, 77), {1, {setting.setFailed}});
}

TEST_P(SettingTest, Set_that_fails_returns_1_without_hooks) {
  const FibDbLogHooks none{};
  FIB_DB_LogFuncInit(&none);
  platform.fail(setter(), kCode);
  expectFailed(setting.set(7, 77), {1, {}});
}

// Read.
TEST_P(ReadableSettingTest, Read_fills_the_value_from_the_record_of_the_router) {
  stock(setting.widest());
  uint64_t value = 0;
  EXPECT_EQ(setting.read(&vr, &value), 0u);
  EXPECT_EQ(value, setting.widest());
  EXPECT_EQ(platform.calls, readCalls(record, {getCall(record, setting.field)}));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(ReadableSettingTest, Read_of_a_missing_record_returns_1_silently) {
  uint64_t value = 77;
  platform.fail("db_read_obj", 15005);
  expectFailed(setting.read(&vr, &value), {1, {}});
  EXPECT_EQ(platform.calls, readCalls(record, {}));
  EXPECT_EQ(value, 77u);
}

TEST_P(ReadableSettingTest, Read_that_fails_returns_1_says_so_and_counts_READ) {
  uint64_t value = 77;
  platform.fail("db_read_obj", kCode);
  expectCounted(setting.read(&vr, &value), record.read, record.stat, 0);
  EXPECT_EQ(value, 77u);
}

TEST_P(ReadableSettingTest, Read_whose_object_fails_says_so) {
  uint64_t value = 77;
  platform.fail(createOf(record), kCode);
  expectFailed(setting.read(&vr, &value), record.readCreate);
  EXPECT_EQ(value, 77u);
}

TEST_P(ReadableSettingTest, Read_whose_field_fails_says_so_returns_1_and_releases) {
  uint64_t value = 77;
  platform.fail(getter(), kCode);
  expectFailed(setting.read(&vr, &value), {1, {setting.getFailed}});
  EXPECT_EQ(platform.calls, readCalls(record, {getCall(record, setting.field)}));
  EXPECT_EQ(value, 77u);
}

TEST_P(ReadableSettingTest, Read_of_NULL_returns_1_without_a_call) {
  uint64_t value = 77;
  EXPECT_EQ(setting.read(nullptr, &value), 1u);
  EXPECT_TRUE(nothingHappened());
  EXPECT_EQ(value, 77u);
}

// Write.
TEST_P(SettingTest, Write_stages_router_defaults_and_value_in_order_and_writes_once) {
  EXPECT_EQ(setting.write(&vr, setting.widest()), 0u);
  EXPECT_EQ(platform.calls, writeCalls(record, {setCall(record, setting.field, setting.widest())}));
  Row expected = newRow(record);
  putField(record.table, expected, setting.field, setting.widest());
  EXPECT_EQ(platform.staged(record.table), expected);
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(SettingTest, Write_of_0_stages_0_whatever_the_default_is) {
  EXPECT_EQ(setting.write(&vr, 0), 0u);
  EXPECT_EQ(getField(record.table, platform.staged(record.table), setting.field), 0u);
}

TEST_P(SettingTest, Write_whose_field_fails_says_so_returns_1_and_writes_nothing) {
  for (const auto& [field, value] : record.defaults) {
    if (field == setting.field) platform.fail(setter(), 0);  // the default itself is staged
  }
  platform.fail(setter(), kCode);
  expectFailed(setting.write(&vr, 77), after(setting.setFailed, record.writeStage));
  EXPECT_EQ(platform.calls, stageCalls(record, {setCall(record, setting.field, 77)}) + released(record));
}

TEST_P(SettingTest, Write_refused_by_the_database_says_so_and_counts_WRITE) {
  platform.fail("db_write_obj", kCode);
  expectCounted(setting.write(&vr, 77), record.write, record.stat, 2);
}

TEST_P(SettingTest, Write_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_write_obj", 13044);
  expectCounted(setting.write(&vr, 77), {0, {}}, record.stat, 1);
}

TEST_P(SettingTest, Write_whose_object_fails_says_so) {
  platform.fail(createOf(record), kCode);
  expectFailed(setting.write(&vr, 77), record.writeCreate);
}

// Update.
TEST_P(SettingTest, Update_stages_the_value_alone_and_updates_once) {
  EXPECT_EQ(setting.update(&vr, setting.widest()), 0u);
  EXPECT_EQ(platform.calls, updateCalls(record, {setCall(record, setting.field, setting.widest())}));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(SettingTest, Update_whose_field_fails_says_so_returns_1_and_updates_nothing) {
  platform.fail(setter(), kCode);
  expectFailed(setting.update(&vr, 77), after(setting.setFailed, record.updateStage));
  EXPECT_EQ(platform.calls, created(record, 1) + Calls{setCall(record, setting.field, 77)} + released(record));
}

TEST_P(SettingTest, Update_refused_by_the_database_says_so_and_counts_UPDATE) {
  platform.fail("db_update_obj", kCode);
  expectCounted(setting.update(&vr, 77), record.update, record.stat, 3);
}

TEST_P(SettingTest, Update_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_update_obj", 13044);
  expectCounted(setting.update(&vr, 77), {0, {}}, record.stat, 1);
}

TEST_P(SettingTest, Update_whose_object_fails_says_what_its_record_says) {
  platform.fail(createOf(record), kCode);
  expectFailed(setting.update(&vr, 77), record.updateCreate);
}

TEST_P(SettingTest, Write_and_Update_of_NULL_return_1_without_a_call) {
  EXPECT_EQ(setting.write(nullptr, 77), 1u);
  EXPECT_EQ(setting.update(nullptr, 77), 1u);
  EXPECT_TRUE(nothingHappened());
}

const auto kName = [](const auto& info) { return info.param->records; };
INSTANTIATE_TEST_SUITE_P(Config, SettingTest, eachOf(allSettings()), kName);
INSTANTIATE_TEST_SUITE_P(Config, ReadableSettingTest, eachOf(readableSettings()), kName);

}  // namespace
}  // namespace fibdb::test
