// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/config/record_test.cc: what is one shape in both configuration records, over the recorded platform.
#include <optional>

#include "tests/config/config_fixture.h"
#include "tests/config/nodes.h"
#include "tests/config/settings.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

int sayAndReturn1234(const char*, ...) { return 1234; }

class RecordTest : public ConfigTest, public testing::WithParamInterface<const Record*> {
 protected:
  void SetUp() override { platform.record(record.table) = fullRow(); }

  // A record of router 42, each field of a value of its own; as a row, and as the item that is filled from it.
  Row fullRow() const {
    Row row;
    putField(record.table, row, "vr_id", 42);
    for (const Setting& setting : settings) putField(record.table, row, setting.field, valueOf(setting));
    for (const Node& node : nodes) {
      for (const NodeField& field : node.fields) putField(record.table, row, node.inRow(field), Node::valueOf(field));
    }
    return row;
  }
  Bytes fullItem() const {
    Bytes item = itemFor(record, 42);
    putNumber(item, kFlagsInItem, 4, 0xFFFFFFFF);
    for (const Setting& setting : settings) putNumber(item, setting.inItem, setting.width, valueOf(setting));
    for (const Node& node : nodes) {
      std::ranges::copy(node.full(), item.begin() + static_cast<ptrdiff_t>(node.inItem));
    }
    return item;
  }
  static uint64_t valueOf(const Setting& setting) { return setting.widest() - 1 - setting.inItem % 100; }

  Calls scalarCalls(const std::string& handle = "#1") const {
    Calls calls;
    for (const std::string& field : record.scalars) calls.push_back(getCall(record, field, handle));
    return calls;
  }
  Calls nodeCalls(const std::string& object = "#1") const {
    Calls calls;
    for (size_t i = 0; i < nodes.size(); ++i) {
      const Node& node = nodes[i];
      calls.push_back(opened(node.name, object));
      const std::string handle = "+" + std::to_string(i + 1);
      for (const NodeField& field : node.fields) calls.push_back(getCall(record, node.inRow(field), handle));
    }
    return calls;
  }
  Calls fillCalls(const std::string& object = "#1") const { return scalarCalls(object) + nodeCalls(object); }

  const Record& record = *GetParam();
  const std::vector<Setting> settings = settingsOf(record);
  const std::vector<Node> nodes = nodesOf(record);
};

// The defaults of a new record.
TEST_P(RecordTest, The_defaults_are_staged_in_order) {
  EXPECT_EQ(record.init(7), 0u);
  Calls calls;
  for (const auto& [field, value] : record.defaults) calls.push_back(setCall(record, field, value, "7"));
  EXPECT_EQ(platform.calls, calls);
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(RecordTest, Defaults_that_fail_are_all_tried_and_give_their_codes_ORed_silently) {
  for (const auto& failing : record.defaults) {
    platform.reset();
    platform.fail(setterOf(record, failing.field), kCode);
    expectFailed(record.init(7), {kCode, {}});
    EXPECT_THAT(platform.calls, SizeIs(record.defaults.size()));
  }
  platform.fail(setterOf(record, record.defaults.front().field), 5);
  platform.fail(setterOf(record, record.defaults.back().field), 8);
  EXPECT_EQ(record.init(7), 13u);
}

// Filling an item.
TEST_P(RecordTest, An_item_is_filled_in_order_and_nothing_beside_its_fields) {
  Bytes item(record.itemSize, 0xA5);
  EXPECT_EQ(record.fill(7, item.data()), 0u);
  EXPECT_EQ(item, fullItem());
  EXPECT_EQ(platform.calls, fillCalls("7"));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(RecordTest, An_item_whose_scalar_fails_has_no_valid_part_says_so_and_reads_no_node) {
  for (const std::string& failing : record.scalars) {
    platform.reset();
    platform.fail(getterOf(record, failing), kCode);
    Bytes item(record.itemSize, 0xA5);
    expectFailed(record.fill(7, item.data()), {0, {record.fillFailed}});
    EXPECT_EQ(flagsIn(item), 0u) << failing;
    EXPECT_EQ(platform.calls, scalarCalls("7")) << failing;
  }
}

TEST_P(RecordTest, An_item_whose_scalar_fails_gives_what_the_hook_gave) {
  const FibDbLogHooks hooks{.info = sayAndReturn1234, .error = sayAndReturn1234};
  const FibDbLogHooks none{};
  Bytes item(record.itemSize, 0xA5);
  platform.failAlways(getterOf(record, "vr_id"), kCode);
  FIB_DB_LogFuncInit(&hooks);
  EXPECT_EQ(record.fill(7, item.data()), 1234u);
  FIB_DB_LogFuncInit(&none);
  EXPECT_EQ(record.fill(7, item.data()), 0u);
}

TEST_P(RecordTest, An_item_whose_node_cannot_be_opened_lacks_its_flag_alone) {
  for (size_t failing = 0; failing < nodes.size(); ++failing) {
    platform.reset();
    SetUp();
    for (size_t i = 0; i < failing; ++i) platform.fail("db_create_child_node", 0);
    platform.fail("db_create_child_node", 10058);
    const Node& node = nodes[failing];
    Bytes item(record.itemSize, 0xA5);
    record.fill(7, item.data());
    Bytes expected = fullItem();
    std::fill_n(expected.begin() + static_cast<ptrdiff_t>(node.inItem), node.size, uint8_t{0xA5});
    putNumber(expected, kFlagsInItem, 4, 0xFFFFFFFF & ~node.validFlag);
    EXPECT_EQ(item, expected) << node.name;
  }
}

TEST_P(RecordTest, An_item_whose_node_has_a_failing_field_lacks_its_flag_alone) {
  for (const Node& node : nodes) {
    for (const NodeField& field : node.fields) {
      platform.reset();
      SetUp();
      platform.fail(getterOf(record, node.inRow(field)), kCode);
      Bytes item(record.itemSize, 0xA5);
      record.fill(7, item.data());
      Bytes expected = fullItem();
      std::fill_n(expected.begin() + static_cast<ptrdiff_t>(node.inItem + field.offset), field.width, uint8_t{0xA5});
      putNumber(expected, kFlagsInItem, 4, 0xFFFFFFFF & ~node.validFlag);
      EXPECT_EQ(item, expected) << node.inRow(field);
      EXPECT_EQ(platform.calls, fillCalls("7"));
    }
  }
}

// The keyed read.
TEST_P(RecordTest, A_read_hands_out_an_object_that_stands_on_the_record) {
  uint64_t obj = 0;
  EXPECT_EQ(record.readCommon(42, &obj), 0u);
  EXPECT_EQ(platform.calls, created(record, 3) + Calls{"db_read_obj(#1, 0x00010004 2a000000)"});
  EXPECT_EQ(platform.nameOf(obj), "#1");
  EXPECT_EQ(platform.leaks(), "#1 alive; ");
  platform.releaseObject(obj);
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(RecordTest, A_read_of_a_missing_record_returns_60_silently_and_hands_out_nothing) {
  uint64_t obj = 77;
  platform.fail("db_read_obj", 15005);
  expectFailed(record.readCommon(42, &obj), {60, {}});
  EXPECT_EQ(platform.calls, readCalls(record, {}));
  EXPECT_EQ(obj, 77u);
}

TEST_P(RecordTest, A_read_that_fails_returns_1_says_so_counts_READ_and_hands_out_nothing) {
  uint64_t obj = 77;
  platform.fail("db_read_obj", kCode);
  expectCounted(record.readCommon(42, &obj), record.read, record.stat, 0);
  EXPECT_EQ(platform.calls, readCalls(record, {}));
  EXPECT_EQ(obj, 77u);
}

TEST_P(RecordTest, A_publication_is_a_failure_of_a_read) {
  uint64_t obj = 77;
  platform.fail("db_read_obj", 13044);
  EXPECT_EQ(record.readCommon(42, &obj), 1u);
  EXPECT_THAT(platform.errorLines, SizeIs(1));
  EXPECT_TRUE(countedOnce(record.stat, 0));
}

TEST_P(RecordTest, A_read_whose_object_fails_returns_1_says_so_and_hands_out_nothing) {
  uint64_t obj = 77;
  platform.fail(createOf(record), kCode);
  expectFailed(record.readCommon(42, &obj), record.readCreate);
  EXPECT_EQ(obj, 77u);
}

// Whether there is a record.
TEST_P(RecordTest, A_record_that_can_be_read_exists) {
  EXPECT_EQ(record.exists(&vr), 1u);
  EXPECT_EQ(platform.calls, readCalls(record, {}));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(RecordTest, A_record_that_is_missing_or_cannot_be_read_does_not_exist) {
  platform.fail("db_read_obj", 15005);
  expectFailed(record.exists(&vr), {0, {}});
  platform.fail("db_read_obj", kCode);
  expectCounted(record.exists(&vr), {0, record.read.lines}, record.stat, 0);
  platform.reset();
  platform.fail(createOf(record), kCode);
  expectFailed(record.exists(&vr), {0, record.readCreate.lines});
}

TEST_P(RecordTest, A_record_of_NULL_exists_without_a_call) {
  EXPECT_EQ(record.exists(nullptr), 1u);
  EXPECT_TRUE(nothingHappened());
}

// Reading an item.
TEST_P(RecordTest, Reading_an_item_fills_it_and_releases) {
  Bytes item = itemFor(record, 42);
  EXPECT_EQ(record.readItem(item.data()), 0u);
  EXPECT_EQ(item, fullItem());
  EXPECT_EQ(platform.calls, readCalls(record, fillCalls()));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(RecordTest, Reading_an_item_with_parts_that_fail_is_a_success) {
  platform.fail(getterOf(record, "vr_id"), kCode);
  Bytes item = itemFor(record, 42);
  EXPECT_EQ(record.readItem(item.data()), 0u);
  EXPECT_EQ(flagsIn(item), 0u);
  platform.failAlways("db_create_child_node", kCode);
  EXPECT_EQ(record.readItem(item.data()), 0u);
  uint32_t lacking = 0;
  for (const Node& node : nodes) lacking |= node.validFlag;
  EXPECT_EQ(flagsIn(item), ~lacking);
}

TEST_P(RecordTest, Reading_an_item_without_a_record_returns_1_silently_and_keeps_it) {
  platform.fail("db_read_obj", 15005);
  Bytes item = itemFor(record, 42);
  expectFailed(record.readItem(item.data()), {1, {}});
  EXPECT_EQ(item, itemFor(record, 42));
}

TEST_P(RecordTest, Reading_an_item_that_fails_returns_1_and_keeps_it) {
  Bytes item = itemFor(record, 42);
  platform.fail("db_read_obj", kCode);
  expectCounted(record.readItem(item.data()), record.read, record.stat, 0);
  platform.reset();
  platform.fail(createOf(record), kCode);
  expectFailed(record.readItem(item.data()), record.readCreate);
  EXPECT_EQ(item, itemFor(record, 42));
}

TEST_P(RecordTest, Reading_NULL_returns_1_without_a_call) {
  EXPECT_EQ(record.readItem(nullptr), 1u);
  EXPECT_TRUE(nothingHappened());
}

// Reading with a getter of the caller's, writing and updating with a setter of the caller's.
struct Given {
  uint64_t obj;
  const void* data;
};
std::optional<Given> given;
uint32_t note(uint64_t obj, const void* data) {
  given = {obj, data};
  return 0;
}

TEST_P(RecordTest, A_getter_is_handed_the_object_and_the_data_and_its_result_is_returned) {
  given.reset();
  int data = 0;
  const auto noteAndReturnTheCode = [](uint64_t obj, void* d) { return note(obj, d), kCode; };
  expectFailed(record.readWith(&vr, &data, noteAndReturnTheCode), {kCode, {}});
  EXPECT_EQ(platform.calls, readCalls(record, {}));
  EXPECT_EQ(platform.nameOf(given->obj), "#1");
  EXPECT_EQ(given->data, &data);
}

TEST_P(RecordTest, A_getter_is_not_called_without_a_record) {
  const auto never = [](uint64_t, void*) { return ADD_FAILURE() << "called", 0u; };
  platform.fail("db_read_obj", 15005);
  expectFailed(record.readWith(&vr, nullptr, never), {1, {}});
  platform.fail("db_read_obj", kCode);
  expectCounted(record.readWith(&vr, nullptr, never), record.read, record.stat, 0);
  platform.reset();
  EXPECT_EQ(record.readWith(nullptr, nullptr, never), 1u);
  EXPECT_TRUE(nothingHappened());
}

TEST_P(RecordTest, A_setter_of_a_write_is_handed_the_object_and_the_data_behind_the_defaults) {
  given.reset();
  int data = 0;
  EXPECT_EQ(record.writeWith(&vr, &data, note), 0u);
  EXPECT_EQ(platform.calls, writeCalls(record, {}));
  EXPECT_EQ(platform.staged(record.table), newRow(record));
  EXPECT_EQ(platform.nameOf(given->obj), "#1");
  EXPECT_EQ(given->data, &data);
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(RecordTest, A_write_with_a_failing_part_tries_every_part_and_writes_nothing) {
  Calls parts{setterOf(record, "vr_id")};
  for (const auto& [field, value] : record.defaults) parts.push_back(setterOf(record, field));
  for (const std::string& failing : parts) {
    platform.reset();
    given.reset();
    platform.fail(failing, 1);
    expectFailed(record.writeWith(&vr, nullptr, note), record.writeStage);
    EXPECT_EQ(platform.calls, stageCalls(record, {}) + released(record)) << failing;
    EXPECT_TRUE(given.has_value()) << failing;
  }
  platform.reset();
  expectFailed(record.writeWith(&vr, nullptr, failToStage), record.writeStage);
  EXPECT_EQ(platform.calls, stageCalls(record, {}) + released(record));
}

TEST_P(RecordTest, A_write_whose_object_fails_stages_nothing) {
  platform.fail(createOf(record), kCode);
  expectFailed(record.writeWith(&vr, nullptr, failToStage), record.writeCreate);
  EXPECT_THAT(platform.calls, SizeIs(1));
}

TEST_P(RecordTest, A_write_that_fails_says_so_and_counts_WRITE) {
  platform.fail("db_write_obj", kCode);
  expectCounted(record.writeWith(&vr, nullptr, stageNothing), record.write, record.stat, 2);
}

TEST_P(RecordTest, A_setter_of_an_update_is_handed_the_object_and_the_data) {
  given.reset();
  int data = 0;
  EXPECT_EQ(record.updateWith(&vr, &data, note), 0u);
  EXPECT_EQ(platform.calls, updateCalls(record, {}));
  EXPECT_EQ(platform.nameOf(given->obj), "#1");
  EXPECT_EQ(given->data, &data);
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(RecordTest, An_update_whose_setter_fails_updates_nothing) {
  expectFailed(record.updateWith(&vr, nullptr, failToStage), record.updateStage);
  EXPECT_EQ(platform.calls, created(record, 1) + released(record));
}

TEST_P(RecordTest, An_update_whose_object_fails_stages_nothing) {
  platform.fail(createOf(record), kCode);
  expectFailed(record.updateWith(&vr, nullptr, failToStage), record.updateCreate);
  EXPECT_THAT(platform.calls, SizeIs(1));
}

TEST_P(RecordTest, An_update_that_fails_says_so_and_counts_UPDATE) {
  platform.fail("db_update_obj", kCode);
  expectCounted(record.updateWith(&vr, nullptr, stageNothing), record.update, record.stat, 3);
}

// Remove.
TEST_P(RecordTest, A_removal_is_by_the_router) {
  EXPECT_EQ(record.removeOf(&vr), 0u);
  EXPECT_EQ(platform.calls, removeCalls(record));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(RecordTest, A_removal_that_fails_returns_the_code_says_so_and_counts_REMOVE) {
  platform.fail("db_remove_obj", kCode);
  expectCounted(record.removeOf(&vr), record.remove, record.stat, 4);
}

TEST_P(RecordTest, A_removal_of_a_missing_record_is_a_failure) {
  platform.fail("db_remove_obj", 15005);
  EXPECT_EQ(record.removeOf(&vr), 15005u);
  EXPECT_THAT(platform.errorLines, SizeIs(1));
  EXPECT_TRUE(countedOnce(record.stat, 4));
}

TEST_P(RecordTest, A_removal_whose_object_fails_returns_the_code_and_says_so) {
  platform.fail(createOf(record), kCode);
  expectFailed(record.removeOf(&vr), record.removeCreate);
}

// All three.
TEST_P(RecordTest, Publications_of_writes_updates_and_removals_return_0_and_count_PUB) {
  for (const char* const call : {"db_write_obj", "db_update_obj", "db_remove_obj"}) platform.failAlways(call, 13044);
  EXPECT_EQ(record.writeWith(&vr, nullptr, stageNothing), 0u);
  EXPECT_TRUE(countedOnce(record.stat, 1));
  EXPECT_EQ(record.updateWith(&vr, nullptr, stageNothing), 0u);
  EXPECT_EQ(record.removeOf(&vr), 0u);
  EXPECT_EQ(counted(record.stat, 1), 3u);
  EXPECT_EQ(allCounted(), 3u);
  EXPECT_TRUE(silent());
}

TEST_P(RecordTest, Writes_updates_and_removals_of_NULL_return_1_without_a_call) {
  EXPECT_EQ(record.writeWith(nullptr, nullptr, stageNothing), 1u);
  EXPECT_EQ(record.updateWith(nullptr, nullptr, stageNothing), 1u);
  EXPECT_EQ(record.removeOf(nullptr), 1u);
  EXPECT_TRUE(nothingHappened());
}

TEST_P(RecordTest, A_failure_is_said_and_counted_before_the_object_is_released) {
  std::vector<std::pair<size_t, uint64_t>> atRelease;
  platform.watch = [&](std::string_view call) {
    if (call == object(record, "release", "object")) atRelease.emplace_back(platform.errorLines.size(), allCounted());
  };
  for (const char* const call : {"db_read_obj", "db_write_obj", "db_update_obj", "db_remove_obj"}) {
    platform.failAlways(call, kCode);
  }
  uint64_t obj = 0;
  record.readCommon(42, &obj);
  record.writeWith(&vr, nullptr, stageNothing);
  record.updateWith(&vr, nullptr, stageNothing);
  record.removeOf(&vr);
  using At = std::pair<size_t, uint64_t>;
  EXPECT_THAT(atRelease, ElementsAre(At{1, 1}, At{2, 2}, At{3, 3}, At{4, 4}));
}

TEST_P(RecordTest, A_failed_setter_is_said_before_the_object_is_released) {
  std::vector<size_t> linesAtRelease;
  platform.watch = [&](std::string_view call) {
    if (call == object(record, "release", "object")) linesAtRelease.push_back(platform.errorLines.size());
  };
  record.writeWith(&vr, nullptr, failToStage);
  record.updateWith(&vr, nullptr, failToStage);
  const size_t ofWrite = record.writeStage.lines.size();
  EXPECT_THAT(linesAtRelease, ElementsAre(ofWrite, ofWrite + record.updateStage.lines.size()));
}

// Iteration.
TEST_P(RecordTest, An_iterator_gives_every_record_then_60_every_time) {
  for (uint32_t router = 1; router <= 3; ++router) {
    Row row = fullRow();
    putField(record.table, row, "vr_id", router);
    platform.entries.push_back(row);
  }
  FibDbIterator* const iterator = record.iterate(0xFFFFFFFF);
  ASSERT_NE(iterator, nullptr);
  EXPECT_EQ(platform.calls, created(record, 5) + Calls{"db_create_root_iter(#1, NULL)"});
  EXPECT_EQ(platform.nameOf(iterator->obj), "#1");
  EXPECT_EQ(platform.nameOf(iterator->rootIter), "~1");
  Bytes item(record.itemSize, 0xA5);
  for (uint32_t router = 1; router <= 3; ++router) {
    EXPECT_EQ(record.next(iterator, item.data()), 0u);
    Bytes expected = fullItem();
    putNumber(expected, kRouterInItem, 4, router);
    EXPECT_EQ(item, expected);
  }
  EXPECT_EQ(record.next(iterator, item.data()), 60u);
  EXPECT_EQ(record.next(iterator, item.data()), 60u);
  platform.calls.clear();
  record.releaseIterator(iterator);
  EXPECT_EQ(platform.calls, released(record));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(RecordTest, An_iterator_is_restricted_to_any_router_but_the_one_that_means_all) {
  const std::pair<uint32_t, std::string> routers[] = {
      {0, "00000000"}, {0x01020304, "04030201"}, {0xFFFFFFFE, "feffffff"}};
  for (const auto& [router, bytes] : routers) {
    platform.reset();
    record.releaseIterator(record.iterate(router));
    const Calls restricted{"db_create_root_iter(#1, NULL)", "db_set_root_iterator_property(~1, 0, " + bytes + ")"};
    EXPECT_EQ(platform.calls, created(record, 5) + restricted + released(record));
  }
}

TEST_P(RecordTest, A_step_to_a_record_with_parts_that_fail_is_a_success) {
  platform.entries = {fullRow()};
  FibDbIterator* const iterator = record.iterate(0xFFFFFFFF);
  platform.fail(getterOf(record, "vr_id"), kCode);
  Bytes item(record.itemSize, 0xA5);
  EXPECT_EQ(record.next(iterator, item.data()), 0u);
  EXPECT_EQ(flagsIn(item), 0u);
  record.releaseIterator(iterator);
}

TEST_P(RecordTest, A_step_that_fails_returns_1_says_so_counts_ITERATOR_and_keeps_the_item) {
  platform.entries = {fullRow()};
  FibDbIterator* const iterator = record.iterate(0xFFFFFFFF);
  platform.fail("db_root_iterator_next", kCode);
  Bytes item(record.itemSize, 0xA5);
  expectCounted(record.next(iterator, item.data()), {1, {record.stepFailed}}, record.stat, 6);
  EXPECT_EQ(item, Bytes(record.itemSize, 0xA5));
  record.releaseIterator(iterator);
}

TEST_P(RecordTest, Steps_of_NULL_return_1_and_releasing_NULL_does_nothing) {
  FibDbIterator iterator{};
  Bytes item(record.itemSize, 0xA5);
  EXPECT_EQ(record.next(nullptr, item.data()), 1u);
  EXPECT_EQ(record.next(&iterator, nullptr), 1u);
  record.releaseIterator(nullptr);
  EXPECT_TRUE(nothingHappened());
}

TEST_P(RecordTest, Iterator_creation_failures_say_which_step_and_give_NULL) {
  const struct {
    std::string call, line;
  } steps[] = {{"alloc", record.iterator.malloc},
               {createOf(record), record.iterator.createObj},
               {"db_create_root_iter", record.iterator.createIter},
               {"db_set_root_iterator_property", record.iterator.setProperty}};
  for (const auto& step : steps) {
    platform.reset();
    platform.fail(step.call, kCode);
    EXPECT_EQ(record.iterate(0), nullptr);
    EXPECT_THAT(platform.errorLines, ElementsAre(step.line));
    EXPECT_EQ(allCounted(), 0u);
    EXPECT_EQ(platform.leaks(), "");
  }
}

INSTANTIATE_TEST_SUITE_P(Config, RecordTest, testing::Values(&ecmpRecord(), &globalRecord()),
                         [](const auto& info) { return info.param->name; });

}  // namespace
}  // namespace fibdb::test
