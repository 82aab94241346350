// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/config/nodes_test.cc: the child nodes of both configuration records over the recorded platform.
#include "tests/config/nodes.h"

#include "tests/config/config_fixture.h"
#include "tests/support/each_of.h"

namespace fibdb::test {
namespace {

class NodeTest : public ConfigTest, public testing::WithParamInterface<const Node*> {
 protected:
  void SetUp() override { putNode(platform.record(record.table)); }

  // Opening the node of an object, and getting or setting its fields.
  Calls getCalls(const std::string& object = "#1") const {
    Calls calls{opened(node.name, object)};
    for (const NodeField& field : node.fields) calls.push_back(getCall(record, node.inRow(field), "+1"));
    return calls;
  }
  Calls setCalls(const std::string& object = "#1") const {
    Calls calls{opened(node.name, object)};
    for (const NodeField& field : node.fields) {
      calls.push_back(setCall(record, node.inRow(field), Node::valueOf(field), "+1"));
    }
    return calls;
  }
  // What the calls put into a row.
  void putNode(Row& row) const {
    for (const NodeField& field : node.fields) putField(record.table, row, node.inRow(field), Node::valueOf(field));
  }
  // A node without a byte of its own.
  Bytes blank() const { return Bytes(node.size, 0xA5); }

  const Node& node = *GetParam();
  const Record& record = *node.record;
};

TEST_P(NodeTest, Get_fills_every_field_in_order_and_nothing_beside_them) {
  Bytes out = blank();
  EXPECT_EQ(node.get(7, out), 0u);
  EXPECT_EQ(out, node.full());
  EXPECT_EQ(platform.calls, getCalls("7"));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(NodeTest, Get_whose_field_fails_fills_the_others_says_so_and_returns_1) {
  for (const NodeField& failing : node.fields) {
    platform.reset();
    SetUp();
    platform.fail(getterOf(record, node.inRow(failing)), kCode);
    Bytes out = blank();
    expectFailed(node.get(7, out), {1, {node.texts.get}});
    EXPECT_EQ(platform.calls, getCalls("7"));
    Bytes expected = node.full();
    std::fill_n(expected.begin() + static_cast<ptrdiff_t>(failing.offset), failing.width, uint8_t{0xA5});
    EXPECT_EQ(out, expected) << failing.name;
  }
}

// The codes of the first and the last field together are kCode.
TEST_P(NodeTest, Fields_that_fail_are_said_with_their_codes_ORed) {
  for (const bool getting : {true, false}) {
    platform.reset();
    const auto call = getting ? getterOf : setterOf;
    platform.fail(call(record, node.inRow(node.fields.front())), 0xFFFFFFF0);
    platform.fail(call(record, node.inRow(node.fields.back())), 0x9);
    Bytes bytes = node.full();
    expectFailed(getting ? node.get(7, bytes) : node.set(7, bytes), {1, {getting ? node.texts.get : node.texts.set}});
  }
}

TEST_P(NodeTest, Get_of_a_node_that_cannot_be_opened_reads_nothing_and_returns_1) {
  platform.fail("db_create_child_node", kCode);
  Bytes out = blank();
  EXPECT_EQ(node.get(7, out), 1u);
  EXPECT_EQ(out, blank());
  EXPECT_EQ(platform.calls, Calls{opened(node.name, "7")});
  const Calls line{node.texts.getOpen};
  EXPECT_EQ(platform.infoLines, node.openFailure == OpenFailure::kInformation ? line : Calls());
  EXPECT_EQ(platform.errorLines, node.openFailure == OpenFailure::kError ? line : Calls());
  if (node.openFailure == OpenFailure::kCount) {
    EXPECT_TRUE(countedOnce(14, 0));
  } else {
    EXPECT_EQ(allCounted(), 0u);
  }
}

TEST_P(NodeTest, Set_stages_every_field_in_order) {
  EXPECT_EQ(node.set(7, node.full()), 0u);
  EXPECT_EQ(platform.calls, setCalls("7"));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(NodeTest, Set_whose_field_fails_tries_the_others_says_so_and_returns_1) {
  for (const NodeField& failing : node.fields) {
    platform.reset();
    platform.fail(setterOf(record, node.inRow(failing)), kCode);
    expectFailed(node.set(7, node.full()), {1, {node.texts.set}});
    EXPECT_EQ(platform.calls, setCalls("7")) << failing.name;
  }
}

TEST_P(NodeTest, Set_of_a_node_that_cannot_be_opened_stages_nothing_says_so_and_returns_1) {
  platform.fail("db_create_child_node", kCode);
  expectFailed(node.set(7, node.full()), {1, {node.texts.setOpen}});
  EXPECT_EQ(platform.calls, Calls{opened(node.name, "7")});
}

// Read, write, update: the caller's node is passed through.
TEST_P(NodeTest, Read_fills_the_callers_node_from_the_record_of_the_router) {
  Bytes out = blank();
  EXPECT_EQ(node.read(&vr, out), 0u);
  EXPECT_EQ(out, node.full());
  EXPECT_EQ(platform.calls, readCalls(record, getCalls()));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(NodeTest, Read_of_a_missing_record_returns_1_silently) {
  platform.fail("db_read_obj", 15005);
  Bytes out = blank();
  expectFailed(node.read(&vr, out), {1, {}});
  EXPECT_EQ(out, blank());
}

TEST_P(NodeTest, Read_whose_field_fails_returns_1_and_releases) {
  platform.fail(getterOf(record, node.inRow(node.fields.front())), kCode);
  Bytes out = blank();
  expectFailed(node.read(&vr, out), {1, {node.texts.get}});
  EXPECT_EQ(platform.calls, readCalls(record, getCalls()));
}

TEST_P(NodeTest, Write_stages_the_callers_node_behind_the_defaults) {
  EXPECT_EQ(node.write(&vr, node.full()), 0u);
  EXPECT_EQ(platform.calls, writeCalls(record, setCalls()));
  Row expected = newRow(record);
  putNode(expected);
  EXPECT_EQ(platform.staged(record.table), expected);
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(NodeTest, Write_refused_by_the_database_says_so_and_counts_WRITE) {
  platform.fail("db_write_obj", kCode);
  expectCounted(node.write(&vr, node.full()), record.write, record.stat, 2);
}

TEST_P(NodeTest, Update_stages_the_callers_node_alone) {
  EXPECT_EQ(node.update(&vr, node.full()), 0u);
  EXPECT_EQ(platform.calls, updateCalls(record, setCalls()));
  EXPECT_TRUE(nothingSaidOrCounted());
}

TEST_P(NodeTest, Update_refused_by_the_database_says_so_and_counts_UPDATE) {
  platform.fail("db_update_obj", kCode);
  expectCounted(node.update(&vr, node.full()), record.update, record.stat, 3);
}

TEST_P(NodeTest, Write_and_Update_whose_field_fails_return_1_and_send_nothing) {
  const std::string failing = setterOf(record, node.inRow(node.fields.back()));
  platform.fail(failing, kCode);
  EXPECT_EQ(node.write(&vr, node.full()), 1u);
  EXPECT_EQ(platform.calls, stageCalls(record, setCalls()) + released(record));
  Calls lines = Calls{node.texts.set} + record.writeStage.lines;
  EXPECT_EQ(platform.errorLines, lines);
  platform.reset();
  platform.fail(failing, kCode);
  EXPECT_EQ(node.update(&vr, node.full()), 1u);
  EXPECT_EQ(platform.calls, created(record, 1) + setCalls() + released(record));
  lines = Calls{node.texts.set} + record.updateStage.lines;
  EXPECT_EQ(platform.errorLines, lines);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_P(NodeTest, Read_Write_and_Update_of_a_NULL_router_return_1_without_a_call) {
  Bytes out = blank();
  EXPECT_EQ(node.read(nullptr, out), 1u);
  EXPECT_EQ(node.write(nullptr, out), 1u);
  EXPECT_EQ(node.update(nullptr, out), 1u);
  EXPECT_TRUE(nothingHappened());
  EXPECT_EQ(out, blank());
}

INSTANTIATE_TEST_SUITE_P(Config, NodeTest, eachOf(allNodes()), [](const auto& info) { return info.param->name; });

}  // namespace
}  // namespace fibdb::test
