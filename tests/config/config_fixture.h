// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/config/config_fixture.h: tests of the configuration records over the recorded platform: the calls of their
// sequences, and what becomes of failures.
#ifndef FIBDB_TESTS_CONFIG_CONFIG_FIXTURE_H
#define FIBDB_TESTS_CONFIG_CONFIG_FIXTURE_H

#include "platform/objdb_tables.h"
#include "tests/config/records.h"
#include "tests/support/calls.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {

class ConfigTest : public TablesTest {
 protected:
  // A setter that stages nothing, and one that fails.
  static uint32_t stageNothing(uint64_t, const void*) { return 0; }
  static uint32_t failToStage(uint64_t, const void*) { return 1; }

  static std::string object(const Record& record, const char* verb, const char* behind) {
    return std::string("db_") + verb + "_" + record.name + "_" + behind;
  }
  static std::string createOf(const Record& record) { return object(record, "create", "obj"); }
  static std::string getterOf(const Record& record, const std::string& field) {
    return object(record, "get", field.c_str());
  }
  static std::string setterOf(const Record& record, const std::string& field) {
    return object(record, "set", field.c_str());
  }
  static std::string setCall(const Record& record, const std::string& field, uint64_t value,
                             const std::string& handle = "#1") {
    return setterOf(record, field) + "(" + handle + ", " + std::to_string(value) + ")";
  }
  static std::string getCall(const Record& record, const std::string& field, const std::string& handle = "#1") {
    return getterOf(record, field) + "(" + handle + ")";
  }
  static std::string opened(const std::string& node, const std::string& handle = "#1") {
    return "db_create_child_node(" + handle + ", " + node + ")";
  }
  static Calls created(const Record& record, int kind) { return {createOf(record) + "(" + std::to_string(kind) + ")"}; }
  static Calls released(const Record& record) { return {object(record, "release", "object(#1)")}; }

  // Sequences over the record of router 42, with what is done in between.
  static Calls readCalls(const Record& record, const Calls& gets) {
    return created(record, 3) + Calls{"db_read_obj(#1, 0x00010004 2a000000)"} + gets + released(record);
  }
  static Calls stageCalls(const Record& record, const Calls& sets) {
    Calls calls = created(record, 0) + Calls{setCall(record, "vr_id", 42)};
    for (const auto& [field, value] : record.defaults) calls.push_back(setCall(record, field, value));
    return calls + sets;
  }
  static Calls writeCalls(const Record& record, const Calls& sets) {
    return stageCalls(record, sets) + Calls{"db_write_obj(#1)"} + released(record);
  }
  static Calls updateCalls(const Record& record, const Calls& sets) {
    return created(record, 1) + sets + Calls{"db_update_obj(#1, 0x00010004 2a000000)"} + released(record);
  }
  static Calls removeCalls(const Record& record) {
    return created(record, 4) + Calls{"db_remove_obj(#1, 0x00010004 2a000000)"} + released(record);
  }

  // The row that a write over the defaults leaves.
  static Row newRow(const Record& record) {
    Row row;
    putField(record.table, row, "vr_id", 42);
    for (const auto& [field, value] : record.defaults) putField(record.table, row, field, value);
    return row;
  }

  testing::AssertionResult nothingHappened() const {
    if (platform.allCalls.empty() && silent() && allCounted() == 0) return testing::AssertionSuccess();
    return testing::AssertionFailure() << testing::PrintToString(platform.allCalls) << silent().message();
  }
  testing::AssertionResult nothingSaidOrCounted() const {
    if (silent() && allCounted() == 0) return testing::AssertionSuccess();
    return testing::AssertionFailure() << silent().message() << allCounted() << " counted";
  }

  // A call failed: its status, its lines, nothing counted.
  void expectFailed(uint32_t status, const Failed& expected) {
    EXPECT_EQ(status, expected.status);
    EXPECT_EQ(platform.errorLines, expected.lines);
    EXPECT_TRUE(platform.infoLines.empty());
    EXPECT_EQ(allCounted(), 0u);
  }
  // The same, counted.
  void expectCounted(uint32_t status, const Failed& expected, uint32_t stat, uint32_t oper) {
    EXPECT_EQ(status, expected.status);
    EXPECT_EQ(platform.errorLines, expected.lines);
    EXPECT_TRUE(platform.infoLines.empty());
    EXPECT_TRUE(countedOnce(stat, oper));
  }

  const uint32_t vr = 42;
};

}  // namespace fibdb::test

#endif
