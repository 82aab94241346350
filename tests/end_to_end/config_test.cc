// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/config_test.cc: the configuration records over the engine.
#include <algorithm>

#include "tests/config/nodes.h"
#include "tests/config/settings.h"
#include "tests/end_to_end/engine_fixture.h"
#include "tests/support/each_of.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint32_t kVr = 42;

// Stages what a record can hold: every scalar with a value of its own, every node. The data is the record.
uint64_t valueOf(const Setting& setting) { return 100 + setting.inItem % 100; }
uint32_t stageEverything(uint64_t obj, const void* data) {
  const auto* const record = static_cast<const Record*>(data);
  uint32_t code = 0;
  for (const Setting& setting : settingsOf(*record)) code |= setting.set(obj, valueOf(setting));
  for (const Node& node : nodesOf(*record)) code |= node.set(obj, node.full());
  return code;
}
uint32_t stageNothing(uint64_t, const void*) { return 0; }

class ConfigTest : public EngineTest {
 protected:
  // The item of a router. Nodes that were never written are said, which is no failure here.
  static Bytes itemOf(const Record& record, uint32_t vrId = kVr) {
    Bytes item = itemFor(record, vrId);
    EXPECT_EQ(record.readItem(item.data()), 0u) << vrId;
    logged.clear();
    return item;
  }
  static void writeEverything(const Record& record, uint32_t vrId = kVr) {
    ASSERT_EQ(record.writeWith(&vrId, &record, stageEverything), 0u);
  }
  // The item of a record that was written with defaults alone.
  static Bytes newItem(const Record& record) {
    Bytes item = itemFor(record, kVr);
    for (const Setting& setting : settingsOf(record)) {
      const auto given = std::ranges::find(record.defaults, setting.field, &Record::Default::field);
      putNumber(item, setting.inItem, setting.width, given == record.defaults.end() ? 0 : given->value);
    }
    // No node, and no value that is not set.
    putNumber(item, kFlagsInItem, 4, &record == &ecmpRecord() ? 0xFFFFDC20 : 0xFFFFFFFB);
    return item;
  }
  static void putNode(Bytes& item, const Node& node) {
    std::ranges::copy(node.full(), item.begin() + static_cast<ptrdiff_t>(node.inItem));
    putNumber(item, kFlagsInItem, 4, flagsIn(item) | node.validFlag);
  }
  // The routers that an iterator visits, in order.
  static std::vector<uint32_t> walk(const Record& record, uint32_t vrId) {
    FibDbIterator* const iterator = record.iterate(vrId);
    EXPECT_NE(iterator, nullptr);
    std::vector<uint32_t> routers;
    Bytes item = itemFor(record, 0);
    for (; record.next(iterator, item.data()) == 0; item = itemFor(record, 0)) {
      routers.push_back(static_cast<uint32_t>(numberIn(item, kRouterInItem, 4)));
      EXPECT_EQ(item, itemOf(record, routers.back()));
    }
    EXPECT_EQ(record.next(iterator, item.data()), 60u);
    EXPECT_EQ(item, itemFor(record, 0));
    record.releaseIterator(iterator);
    logged.clear();
    std::ranges::sort(routers);
    return routers;
  }

  const uint32_t vr = kVr;
};

// Both records, as their callers see them.
TEST_F(ConfigTest, WriteEcmpDlb_makes_a_record_of_defaults_with_that_one_value) {
  EXPECT_EQ(FIB_DB_WriteEcmpDlb(&vr, 1), 0u);
  FibDbEcmpCfgItem item{.vrId = kVr};
  EXPECT_EQ(FIB_DB_ReadEcmpCfg(&item), 0u);
  EXPECT_EQ(item.dlbEnable, 1);
  EXPECT_EQ(item.dlbGapTime, 2000u);
  EXPECT_EQ(item.perPacketMode, 1);
  EXPECT_EQ(item.vxlanOverlayMode, 0xFFFFFFFFu);
  EXPECT_EQ(item.localEnhanced, 0xFFFFFFFFu);
  EXPECT_EQ(item.localChassis, 0xFFFFFFFFu);
  EXPECT_EQ(item.gtpTeid, 0xFFFFFFFFu);
  EXPECT_EQ(item.statefulNum, 0);
  EXPECT_EQ(item.validFlags, 0xFFFFDC20u) << "no node, and four values that are not set";
  EXPECT_THAT(logged, ElementsAre("GetEcmpHashMode fail, create child node failed, ret=10058.",
                                  "GetEcmpSeed fail, create child node failed, ret=10058.",
                                  "GetEcmpProc fail, create child node failed, ret=10058.",
                                  "GetNvo3VxlanHash fail, create child node failed, ret=10058.",
                                  "GetEcmpUniversalId fail, create child node failed, ret=10058."));
  logged.clear();
}

TEST_F(ConfigTest, WriteEcmpSeed_makes_a_record_with_that_node_alone) {
  const FibDbEcmpSeed seed{.callerWord = 77, .globalSeed = 1, .underlaySeed = 2, .overlaySeed = 3};
  EXPECT_EQ(FIB_DB_WriteEcmpSeed(&vr, &seed), 0u);
  FibDbEcmpCfgItem item{.vrId = kVr};
  EXPECT_EQ(FIB_DB_ReadEcmpCfg(&item), 0u);
  EXPECT_EQ(item.validFlags, 0xFFFFDC60u);
  EXPECT_EQ(item.seed.callerWord, 0u);
  EXPECT_EQ(item.seed.underlaySeed, 2u);
  EXPECT_EQ(item.dlbGapTime, 2000u);
  EXPECT_EQ(item.perPacketMode, 1);
  logged.clear();
}

TEST_F(ConfigTest, WriteDodEnable_makes_a_record_of_defaults_with_that_one_value) {
  EXPECT_EQ(FIB_DB_WriteDodEnable(&vr, 1), 0u);
  FibDbGlbCfgItem item{.vrId = kVr};
  EXPECT_EQ(FIB_DB_ReadGlbCfg(&item), 0u);
  EXPECT_EQ(item.dodEnable, 1u);
  EXPECT_EQ(item.methIsolate, 2);
  EXPECT_EQ(item.icmpFast, 2);
  EXPECT_EQ(item.inNextEn, 2u);
  EXPECT_EQ(item.ipv4GlbTtl, 0u);
  EXPECT_EQ(item.validFlags, 0xFFFFFFFBu) << "no load balance";
}

TEST_F(ConfigTest, ReadBalanceMode_reads_zeros_from_a_record_whose_load_balance_was_never_written) {
  ASSERT_EQ(FIB_DB_WriteDodEnable(&vr, 1), 0u);
  FibDbLoadBalance node;
  std::memset(&node, 0xA5, sizeof node);
  EXPECT_EQ(FIB_DB_ReadBalanceMode(&vr, &node), 0u);
  EXPECT_EQ(node.callerWord, 0xA5A5A5A5u);
  EXPECT_THAT((std::vector<int>{node.mode, node.sip, node.dip, node.l4sport, node.l4dport}),
              ElementsAre(0, 0, 0, 0, 0));
  EXPECT_THAT(node.rsv, ElementsAre(0xA5, 0xA5, 0xA5));
}

TEST_F(ConfigTest, The_tunnel_that_was_never_written_is_counted) {
  ASSERT_EQ(FIB_DB_WriteEcmpDlb(&vr, 1), 0u);
  const uint32_t before = g_fibDbErrStat[FIB_DB_TABLE_ECMP_CFG][FIB_DB_OPER_READ];
  FibDbEcmpTunnel node{};
  EXPECT_EQ(FIB_DB_ReadFeiEcmpTunnel(&vr, &node), 1u);
  EXPECT_EQ(g_fibDbErrStat[FIB_DB_TABLE_ECMP_CFG][FIB_DB_OPER_READ], before + 1);
}

TEST_F(ConfigTest, An_update_of_a_missing_record_is_1_for_ECMP_and_the_code_for_the_global_record) {
  EXPECT_EQ(FIB_DB_UpdateEcmpDlb(&vr, 1), 1u);
  EXPECT_EQ(FIB_DB_UpdateDodEnable(&vr, 1), 15005u);
  EXPECT_THAT(logged,
              ElementsAre("UPDATE ecmp cfg db fail. ret = 15005", "UPDATE fib global cfg db fail. ret = 15005"));
  logged.clear();
  EXPECT_EQ(FIB_DB_IsEcmpCfgExist(&vr), 0u);
  EXPECT_EQ(FIB_DB_GlbCfgExist(&vr), 0u);
}

// Each record.
class ConfigRecordTest : public ConfigTest, public testing::WithParamInterface<const Record*> {
 protected:
  const Record& record = *GetParam();
};

TEST_P(ConfigRecordTest, Lives_its_life) {
  Bytes item = itemFor(record, kVr);
  uint64_t obj = 77;
  EXPECT_EQ(record.exists(&vr), 0u);
  EXPECT_EQ(record.readItem(item.data()), 1u);
  EXPECT_EQ(record.readCommon(kVr, &obj), 60u);
  EXPECT_EQ(obj, 77u);
  EXPECT_THAT(logged, IsEmpty()) << "a missing record is nobody's fault";

  writeEverything(record);
  EXPECT_EQ(record.exists(&vr), 1u);
  Bytes expected = itemFor(record, kVr);
  for (const Setting& setting : settingsOf(record)) {
    putNumber(expected, setting.inItem, setting.width, valueOf(setting));
  }
  putNumber(expected, kFlagsInItem, 4, 0xFFFFFFFF);
  for (const Node& node : nodesOf(record)) putNode(expected, node);
  EXPECT_EQ(record.readItem(item.data()), 0u);
  EXPECT_EQ(item, expected);
  EXPECT_THAT(logged, IsEmpty());

  EXPECT_EQ(record.writeWith(&vr, nullptr, stageNothing), 0u);
  EXPECT_EQ(itemOf(record), newItem(record)) << "a write replaces everything";

  EXPECT_EQ(record.removeOf(&vr), 0u);
  EXPECT_EQ(record.exists(&vr), 0u);
  EXPECT_EQ(record.removeOf(&vr), 15005u);
  EXPECT_EQ(logged.size(), 1u);
  logged.clear();
}

TEST_P(ConfigRecordTest, Iterators_visit_one_router_or_all) {
  EXPECT_THAT(walk(record, FIB_DB_NO_PROPERTY), IsEmpty());
  for (const uint32_t router : {0u, 5u, 0x80000000u}) writeEverything(record, router);
  EXPECT_EQ(record.writeWith(&vr, nullptr, stageNothing), 0u);
  EXPECT_THAT(walk(record, FIB_DB_NO_PROPERTY), ElementsAre(0, 5, kVr, 0x80000000));
  for (const uint32_t router : {0u, 5u, kVr, 0x80000000u}) EXPECT_THAT(walk(record, router), ElementsAre(router));
  EXPECT_THAT(walk(record, 6), IsEmpty());
}

TEST_P(ConfigRecordTest, A_publication_is_a_success_that_is_counted) {
  const uint32_t* const published = &g_fibDbErrStat[record.stat][FIB_DB_OPER_PUB];
  const uint32_t before = *published;
  ASSERT_EQ(fibdb_engine_fault(fibdb_engine_find_table(record.name.c_str()), DB_RET_PUB_STATUS, 3), 0u);
  EXPECT_EQ(record.writeWith(&vr, nullptr, stageNothing), 0u);
  EXPECT_EQ(record.updateWith(&vr, &record, stageEverything), 0u);
  EXPECT_EQ(flagsIn(itemOf(record)), 0xFFFFFFFFu);
  EXPECT_EQ(record.removeOf(&vr), 0u);
  EXPECT_EQ(record.exists(&vr), 0u);
  EXPECT_EQ(*published, before + 3);
}

TEST_P(ConfigRecordTest, Changes_to_a_router_leave_the_others_alone) {
  writeEverything(record, 1);
  writeEverything(record, 2);
  const Bytes other = itemOf(record, 2);
  const uint32_t first = 1;
  for (const Setting& setting : settingsOf(record)) EXPECT_EQ(setting.update(&first, 0), 0u);
  EXPECT_EQ(itemOf(record, 2), other);
  EXPECT_EQ(record.removeOf(&first), 0u);
  EXPECT_EQ(itemOf(record, 2), other);
}

INSTANTIATE_TEST_SUITE_P(Config, ConfigRecordTest, testing::Values(&ecmpRecord(), &globalRecord()),
                         [](const auto& info) { return info.param->name; });

// Each setting.
class ConfigSettingTest : public ConfigTest, public testing::WithParamInterface<const Setting*> {
 protected:
  // What the setting is in the record, read alone where that is possible, and beside the others.
  void expectStored(uint64_t value) {
    EXPECT_EQ(setting.in(itemOf(record)), value);
    if (!setting.read) return;
    uint64_t read = 0;
    EXPECT_EQ(setting.read(&vr, &read), 0u);
    EXPECT_EQ(read, value);
  }

  const Setting& setting = *GetParam();
  const Record& record = *setting.record;
};

TEST_P(ConfigSettingTest, Write_and_update_store_every_bit) {
  for (const uint64_t value : {setting.widest(), uint64_t{0}, setting.widest() / 3}) {
    EXPECT_EQ(setting.write(&vr, value), 0u);
    expectStored(value);
    EXPECT_EQ(setting.update(&vr, setting.widest() - value), 0u);
    expectStored(setting.widest() - value);
  }
}

TEST_P(ConfigSettingTest, Update_changes_its_field_and_no_other) {
  writeEverything(record);
  Bytes expected = itemOf(record);
  putNumber(expected, setting.inItem, setting.width, 5);
  EXPECT_EQ(setting.update(&vr, 5), 0u);
  EXPECT_EQ(itemOf(record), expected);
}

TEST_P(ConfigSettingTest, Write_replaces_the_whole_record) {
  writeEverything(record);
  EXPECT_EQ(setting.write(&vr, 5), 0u);
  Bytes item = itemOf(record);
  EXPECT_EQ(setting.in(item), 5u);
  // Beside this field, and the flag of its value, the record is new.
  Bytes expected = newItem(record);
  putNumber(expected, setting.inItem, setting.width, 5);
  putNumber(expected, kFlagsInItem, 4, flagsIn(item));
  EXPECT_EQ(item, expected);
}

INSTANTIATE_TEST_SUITE_P(Config, ConfigSettingTest, eachOf(allSettings()),
                         [](const auto& info) { return info.param->records; });

// Each node.
class ConfigNodeTest : public ConfigTest, public testing::WithParamInterface<const Node*> {
 protected:
  Bytes blank() const { return Bytes(node.size, 0xA5); }

  const Node& node = *GetParam();
  const Record& record = *node.record;
};

TEST_P(ConfigNodeTest, Write_makes_a_new_record_with_this_node_alone) {
  writeEverything(record);
  EXPECT_EQ(node.write(&vr, node.full()), 0u);
  Bytes expected = newItem(record);
  putNode(expected, node);
  EXPECT_EQ(itemOf(record), expected);
}

TEST_P(ConfigNodeTest, Update_adds_this_node_and_changes_nothing_else) {
  ASSERT_EQ(record.writeWith(&vr, nullptr, stageNothing), 0u);
  EXPECT_EQ(node.update(&vr, node.full()), 0u);
  Bytes expected = newItem(record);
  putNode(expected, node);
  EXPECT_EQ(itemOf(record), expected);
  Bytes out = blank();
  EXPECT_EQ(node.read(&vr, out), 0u);
  EXPECT_EQ(out, node.full());
}

TEST_P(ConfigNodeTest, Update_replaces_this_node_among_the_others) {
  writeEverything(record);
  Bytes expected = itemOf(record);
  Bytes changed = blank();
  for (const NodeField& field : node.fields) putNumber(changed, field.offset, field.width, field.offset);
  std::ranges::copy(changed, expected.begin() + static_cast<ptrdiff_t>(node.inItem));
  EXPECT_EQ(node.update(&vr, changed), 0u);
  EXPECT_EQ(itemOf(record), expected);
}

INSTANTIATE_TEST_SUITE_P(Config, ConfigNodeTest, eachOf(allNodes()), [](const auto& info) { return info.param->name; });

}  // namespace
}  // namespace fibdb::test
