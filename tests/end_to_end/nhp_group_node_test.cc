// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/nhp_group_node_test.cc: members of next-hop groups against a model, and the way from an address over
// route, group and members to next hops.
#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <span>
#include <tuple>

#include "tests/end_to_end/engine_fixture.h"
#include "tests/support/group_items.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Node = FibDbNhpGroupNodeItem;

constexpr uint32_t kAny = FIB_DB_NO_PROPERTY;
constexpr uint32_t kSize = sizeof(Node);

// The fields of the primary key, in its order.
using Key = std::tuple<uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint16_t>;

class NodeTest : public EngineTest {
 protected:
  static Key keyOf(const Node& node) {
    return {node.nhp_group_id,  node.attribute_id, node.primary_nhp_id, node.primary_label,
            node.backup_nhp_id, node.backup_label, node.vr_id,          node.sequence};
  }
  static auto fieldsOf(const Node& node) {
    return std::make_tuple(keyOf(node), node.vrf_index, node.flags, node.app_source_id, node.group_smooth_id,
                           node.app_obj_id, node.rsv, node.time_stamp_app, node.time_stamp_svc, node.bandwidth);
  }
  static Node nodeOf(uint32_t group, uint32_t primary, uint32_t backup, uint16_t sequence = 0) {
    return {.nhp_group_id = group, .primary_nhp_id = primary, .backup_nhp_id = backup, .sequence = sequence};
  }

  static std::vector<Key> walk(FibDbIterator* iterator) {
    std::vector<Key> keys;
    EXPECT_NE(iterator, nullptr);
    Node node{};
    while (FIB_DB_GetNextNhpGroupNode(iterator, &node) == 0) keys.push_back(keyOf(node));
    EXPECT_EQ(FIB_DB_GetNextNhpGroupNode(iterator, &node), 60u);
    FIB_DB_ReleaseNhpGrpNodeIterator(iterator);
    std::ranges::sort(keys);
    return keys;
  }

  static std::vector<Key> keysOf(std::span<const Node> nodes) {
    std::vector<Key> keys;
    for (const Node& node : nodes) keys.push_back(keyOf(node));
    std::ranges::sort(keys);
    return keys;
  }

  // How many items at the beginning of a buffer full of 0xA5 were filled. The rest must be as it was.
  static uint32_t filledOf(const std::vector<uint8_t>& bytes) {
    const auto untouched = [](uint8_t byte) { return byte == 0xA5; };
    const auto last = std::find_if_not(bytes.rbegin(), bytes.rend(), untouched);
    return static_cast<uint32_t>((bytes.rend() - last + kSize - 1) / kSize);
  }
};

TEST_F(NodeTest, A_member_lives_its_life) {
  Node node = fullMember();
  Node read{};
  FIB_DB_SetNhpGroupNodeKey(&read, &node);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(&read), 60u);
  EXPECT_EQ(FIB_DB_WriteNhpGroupNode(&node), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(&read), 0u);
  EXPECT_TRUE(fieldsOf(read) == fieldsOf(node));

  Node change{};
  FIB_DB_SetNhpGroupNodeKey(&change, &node);
  change.flags = 90;
  change.group_smooth_id = 110;
  change.bandwidth = 170;
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeFlags(&change), 0u);
  node.flags = 90;
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(&read), 0u);
  EXPECT_TRUE(fieldsOf(read) == fieldsOf(node));
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeSmoothID(&change), 0u);
  node.group_smooth_id = 110;
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(&read), 0u);
  EXPECT_TRUE(fieldsOf(read) == fieldsOf(node));

  EXPECT_EQ(FIB_DB_RemoveNhpGroupNode(&node), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNode(&read), 60u);
}

TEST_F(NodeTest, To_change_or_remove_a_missing_member_is_said_and_counted) {
  const uint32_t updates = g_fibDbErrStat[FIB_DB_TABLE_NHP_GROUP_NODE][FIB_DB_OPER_UPDATE];
  const Node node = nodeOf(1, 2, 3);
  EXPECT_EQ(FIB_DB_UpdateNhpGroupNodeFlags(&node), 15005u);
  EXPECT_EQ(g_fibDbErrStat[FIB_DB_TABLE_NHP_GROUP_NODE][FIB_DB_OPER_UPDATE], updates + 1);
  EXPECT_EQ(FIB_DB_RemoveNhpGroupNode(&node), 15005u);
  EXPECT_THAT(logged, ElementsAre("UPDATE fib nhp group node db fail. ret = 15005",
                                  "REMOVE fib nhp group node db fail. ret = 15005"));
  logged.clear();
}

TEST_F(NodeTest, Every_field_of_the_key_tells_members_apart) {
  const Node first = nodeOf(1, 1, 1, 1);
  ASSERT_EQ(FIB_DB_WriteNhpGroupNode(&first), 0u);
  for (uint32_t Node::*field : {&Node::nhp_group_id, &Node::attribute_id, &Node::primary_nhp_id, &Node::primary_label,
                                &Node::backup_nhp_id, &Node::backup_label, &Node::vr_id}) {
    Node other = first;
    other.*field = 99;
    ASSERT_EQ(FIB_DB_WriteNhpGroupNode(&other), 0u);
  }
  Node other = first;
  other.sequence = 0xFFFF;
  ASSERT_EQ(FIB_DB_WriteNhpGroupNode(&other), 0u);
  EXPECT_EQ(walk(FIB_DB_CreateNhpGrpNodeIteratorByKey(nullptr, nullptr, kAny)).size(), 9u);
}

TEST_F(NodeTest, Bulk_reads_fill_what_there_is_room_for) {
  // Next hop 7 is primary of three members and backup of two; one of them is both.
  const std::vector<Node> primary{nodeOf(1, 7, 8, 1), nodeOf(1, 7, 8, 2), nodeOf(1, 7, 7, 3)};
  const std::vector<Node> backup{nodeOf(2, 8, 7, 4), primary[2]};
  for (const Node& node : primary) ASSERT_EQ(FIB_DB_WriteNhpGroupNode(&node), 0u);
  ASSERT_EQ(FIB_DB_WriteNhpGroupNode(&backup[0]), 0u);
  const Node elsewhere = nodeOf(1, 9, 9, 5);
  const Node otherRouter = {.nhp_group_id = 1, .primary_nhp_id = 9, .backup_nhp_id = 9, .vr_id = 1, .sequence = 6};
  ASSERT_EQ(FIB_DB_WriteNhpGroupNode(&elsewhere), 0u);
  ASSERT_EQ(FIB_DB_WriteNhpGroupNode(&otherRouter), 0u);
  const std::vector<Node> ofGroup{primary[0], primary[1], primary[2], elsewhere};

  // Every size from nothing to one item more than there are, byte by byte around the items' ends.
  for (uint32_t bufLen = 0; bufLen <= 6 * kSize + 1; ++bufLen) {
    if (bufLen % kSize > 1 && bufLen % kSize < kSize - 1) continue;
    SCOPED_TRACE(bufLen);
    const uint32_t room = bufLen / kSize;
    std::vector<uint8_t> bytes(7 * kSize, 0xA5);
    auto* const items = reinterpret_cast<Node*>(bytes.data());
    ASSERT_EQ(FIB_DB_ReadNhpGroupNodeByNhpGroup(1, 0, bufLen, items), 0u);
    uint32_t filled = filledOf(bytes);
    ASSERT_EQ(filled, std::min<uint32_t>(room, 4));
    EXPECT_TRUE(std::ranges::includes(keysOf(ofGroup), keysOf({items, filled})));

    std::ranges::fill(bytes, uint8_t{0xA5});
    ASSERT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(7, bufLen, items), 0u);
    filled = filledOf(bytes);
    ASSERT_EQ(filled, std::min<uint32_t>(room, 5));
    const uint32_t fromPrimary = std::min<uint32_t>(filled, 3);
    EXPECT_TRUE(std::ranges::includes(keysOf(primary), keysOf({items, fromPrimary})));
    EXPECT_TRUE(std::ranges::includes(keysOf(backup), keysOf({items + fromPrimary, filled - fromPrimary})));
  }
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_CountNhpGroupNodeByNhpIndex(7, &count), 0u);
  EXPECT_EQ(count, 5u) << "a member with 7 as primary and backup counts twice";
  Node none = nodeOf(77, 0, 0);
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpGroup(9, 0, sizeof none, &none), 0u) << "no member is no failure";
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(99, sizeof none, &none), 0u);
  EXPECT_EQ(none.nhp_group_id, 77u);
}

TEST_F(NodeTest, The_halves_of_a_read_by_next_hop_work_on_one_object_of_the_callers) {
  const std::vector<Node> nodes{nodeOf(1, 7, 8, 1), nodeOf(1, 8, 7, 2), nodeOf(1, 8, 7, 3)};
  for (const Node& node : nodes) ASSERT_EQ(FIB_DB_WriteNhpGroupNode(&node), 0u);
  uint64_t obj = 0;
  ASSERT_EQ(db_create_nhp_group_node_obj(FIB_DB_OBJ_OP_SCAN, 0, &obj), 0u);
  Node items[4];
  uint32_t count = 77;
  EXPECT_EQ(FIB_DB_ReadNhpPriGroupNodeByNhpIndex(obj, 7, 4, &count, items), 0u);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(items[0].sequence, 1);
  EXPECT_EQ(db_reset_nhp_group_node_object(obj, FIB_DB_OBJ_OP_SCAN), 0u);
  EXPECT_EQ(FIB_DB_ReadNhpBakGroupNodeByNhpIndex(obj, 7, 4, &count, items), 0u);
  EXPECT_EQ(count, 2u);
  EXPECT_THAT((std::vector{items[0].sequence, items[1].sequence}), UnorderedElementsAre(2, 3));
  EXPECT_EQ(db_release_nhp_group_node_object(obj), 0u);
}

TEST_F(NodeTest, Counts_reads_and_iterators_agree_with_a_model) {
  std::mt19937 random(seedOfToday());
  const auto below = [&](uint32_t bound) { return static_cast<uint32_t>(random() % bound); };
  std::map<Key, Node> model;
  const auto modelKeys = [&](auto holds) {
    std::vector<Key> keys;
    for (const auto& [key, node] : model) {
      if (holds(node)) keys.push_back(key);
    }
    return keys;
  };
  for (int round = 0; round < 3000; ++round) {
    Node node = nodeOf(below(4), below(4), below(4), static_cast<uint16_t>(below(2)));
    node.vr_id = below(2);
    node.attribute_id = below(3);
    const Key key = keyOf(node);
    const bool there = model.contains(key);
    switch (below(6)) {
      case 0:
      case 1:
        node.flags = below(100);
        ASSERT_EQ(FIB_DB_WriteNhpGroupNode(&node), 0u);
        model[key] = node;
        break;
      case 2:
        ASSERT_EQ(FIB_DB_RemoveNhpGroupNode(&node), there ? 0u : 15005u);
        logged.clear();  // a missing record is said
        model.erase(key);
        break;
      case 3:
        node.flags = below(100);
        ASSERT_EQ(FIB_DB_UpdateNhpGroupNodeFlags(&node), there ? 0u : 15005u);
        logged.clear();
        if (there) model[key].flags = node.flags;
        break;
      case 4:
        ASSERT_EQ(FIB_DB_ReadNhpGroupNode(&node), there ? 0u : 60u);
        if (there) {
          ASSERT_TRUE(fieldsOf(node) == fieldsOf(model[key]));
        }
        break;
      default: {
        Node found{};
        FIB_DB_SetNhpGroupNodeKeyByPriAttr(&found, node.vr_id, node.attribute_id);
        const auto keys =
            modelKeys([&](const Node& n) { return n.vr_id == node.vr_id && n.attribute_id == node.attribute_id; });
        ASSERT_EQ(FIB_DB_ReadNhpGroupNodeByPriAttr(&found), keys.empty() ? 15005u : 0u);
        if (!keys.empty()) {
          ASSERT_EQ(keyOf(found), keys.front()) << "the first in the order of the primary key";
          ASSERT_TRUE(fieldsOf(found) == fieldsOf(model[keys.front()]));
        }
      }
    }
    const uint32_t group = node.nhp_group_id;
    const uint32_t hop = node.primary_nhp_id;
    const auto ofGroup = modelKeys([&](const Node& n) { return n.nhp_group_id == group && n.vr_id == node.vr_id; });
    const auto ofPrimary = modelKeys([&](const Node& n) { return n.primary_nhp_id == hop; });
    const auto ofBackup = modelKeys([&](const Node& n) { return n.backup_nhp_id == hop; });
    uint32_t count = 77;
    ASSERT_EQ(FIB_DB_CountNhpGroupNodeByNhpGroup(group, node.vr_id, &count), 0u);
    ASSERT_EQ(count, ofGroup.size());
    ASSERT_EQ(FIB_DB_CountNhpGroupNodeByPrimaryNhpId(hop, &count), 0u);
    ASSERT_EQ(count, ofPrimary.size());
    ASSERT_EQ(FIB_DB_CountNhpGroupNodeByBackupNhpId(hop, &count), 0u);
    ASSERT_EQ(count, ofBackup.size());
    ASSERT_EQ(FIB_DB_CountNhpGroupNodeByNhpIndex(hop, &count), 0u);
    ASSERT_EQ(count, ofPrimary.size() + ofBackup.size());
    if (round % 50 != 0) continue;
    ASSERT_EQ(walk(FIB_DB_CreateNhpGrpNodeIteratorByKey(nullptr, nullptr, kAny)),
              modelKeys([](const Node&) { return true; }));
    ASSERT_EQ(walk(FIB_DB_CreateNhpGrpNodeIteratorByKey(nullptr, nullptr, 1)),
              modelKeys([](const Node& n) { return n.vr_id == 1; }));
    ASSERT_EQ(walk(FIB_DB_CreateNhpGrpNodeIteratorByNhpGrpId(group, node.vr_id, kAny)), ofGroup);
    ASSERT_EQ(walk(FIB_DB_CreateNhpGrpNodeIteratorByPrimaryNhpId(hop, kAny)), ofPrimary);
    ASSERT_EQ(walk(FIB_DB_CreateNhpGrpNodeIteratorByBackupNhpId(hop, 0)),
              modelKeys([&](const Node& n) { return n.backup_nhp_id == hop && n.vr_id == 0; }));
    const FibDbKeyDesc byAttribute{.indexId = FIB_DB_NHP_GROUP_NODE_BY_PRI_ATTR, .rsv1 = 0, .rsv2 = 0};
    const uint32_t attributeKey[2] = {1, 2};
    ASSERT_EQ(walk(FIB_DB_CreateNhpGrpNodeIteratorByKey(&byAttribute, attributeKey, kAny)),
              modelKeys([](const Node& n) { return n.vr_id == 1 && n.attribute_id == 2; }));
  }
}

TEST_F(NodeTest, A_publication_is_a_success_that_is_counted) {
  const uint32_t before = g_fibDbErrStat[FIB_DB_TABLE_NHP_GROUP_NODE][FIB_DB_OPER_PUB];
  ASSERT_EQ(fibdb_engine_fault(fibdb_engine_find_table("nhp_group_node"), DB_RET_PUB_STATUS, 1), 0u);
  const Node node = nodeOf(1, 2, 3);
  EXPECT_EQ(FIB_DB_WriteNhpGroupNode(&node), 0u);
  EXPECT_EQ(g_fibDbErrStat[FIB_DB_TABLE_NHP_GROUP_NODE][FIB_DB_OPER_PUB], before + 1);
}

TEST_F(NodeTest, Without_registration_the_read_by_primary_attribute_says_so) {
  ASSERT_EQ(fibdb_engine_reset(), 0u);
  Node node{};
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByPriAttr(&node), uint32_t{DB_ERR_NOT_REGISTERED});
}

// From an address to what it is sent to.
class ChainTest : public NodeTest {
 protected:
  void SetUp() override {
    // Group 3: over 10 or 11, each backing the other up. Group 4: over 12 alone.
    for (uint32_t index = 10; index <= 12; ++index) {
      const FibDbNhpItem hop{.nhp_index = index, .nhp_num = 1};
      ASSERT_EQ(FIB_DB_WriteNhp(&hop), 0u);
      const FibDbNhpStdItem standard{.nhp_index = index, .next_hop = 0xC0000200 + index, .out_if_index = index * 100};
      ASSERT_EQ(FIB_DB_WriteNhpStd(&standard), 0u);
    }
    for (const Node& node : {nodeOf(3, 10, 11, 1), nodeOf(3, 11, 10, 2), nodeOf(4, 12, 0, 1)}) {
      ASSERT_EQ(FIB_DB_WriteNhpGroupNode(&node), 0u);
    }
    for (uint32_t id = 3; id <= 4; ++id) {
      FibDbNhpGroupItem group{};
      group.nhp_group_id = id;
      ASSERT_EQ(FIB_DB_CountNhpGroupNodeByNhpGroup(id, 0, &group.ref_count), 0u);
      group.nhp_number = static_cast<uint16_t>(group.ref_count);
      ASSERT_EQ(FIB_DB_WriteNhpGroup(&group), 0u);
    }
    Batch batch;
    ASSERT_EQ(batch.write(routeOf(0x0A000000, 8, 3)), 0u);
    ASSERT_EQ(batch.write(routeOf(0x0A010000, 16, 4)), 0u);
  }

  // The interfaces behind the longest prefix of an address, by their members' primary next hops.
  static std::vector<uint32_t> interfacesOf(uint32_t address) {
    FibDbIp4forwardItem route = routeOf(address, 32);
    EXPECT_EQ(FIB_DB_ReadIp4forwardByLpm(&route), 0u);
    FibDbNhpGroupItem group{};
    group.nhp_group_id = route.attr_word_a;
    EXPECT_EQ(FIB_DB_ReadNhpGroup(&group), 0u);
    std::vector<Node> nodes(group.nhp_number);
    EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpGroup(group.nhp_group_id, group.vr_id,
                                                static_cast<uint32_t>(nodes.size() * kSize), nodes.data()),
              0u);
    std::vector<uint32_t> interfaces;
    for (const Node& node : nodes) {
      FibDbNhpItem hop{.nhp_index = node.primary_nhp_id};
      EXPECT_EQ(FIB_DB_ReadNhp(&hop), 0u);
      FibDbNhpStdItem standard{};
      uint32_t count = 0;
      EXPECT_EQ(FIB_DB_ReadNhpStdByNhpIndex(hop.nhp_index, sizeof standard, &standard, &count), 0u);
      EXPECT_EQ(count, 1u);
      interfaces.push_back(standard.out_if_index);
    }
    return interfaces;
  }
};

TEST_F(ChainTest, An_address_leads_over_route_group_and_members_to_its_next_hops) {
  EXPECT_THAT(interfacesOf(0x0A000001), UnorderedElementsAre(1000, 1100));
  EXPECT_THAT(interfacesOf(0x0A010001), ElementsAre(1200));
}

TEST_F(ChainTest, A_next_hop_leads_back_to_its_groups_and_a_group_to_its_routes) {
  Node nodes[4];
  for (Node& node : nodes) node.nhp_group_id = 0xDEAD;
  EXPECT_EQ(FIB_DB_ReadNhpGroupNodeByNhpIndex(10, sizeof nodes, nodes), 0u);
  EXPECT_EQ(nodes[0].sequence, 1) << "primary first";
  EXPECT_EQ(nodes[1].sequence, 2);
  EXPECT_EQ(nodes[2].nhp_group_id, 0xDEADu);
  FibDbIterator* const iterator = FIB_DB_CreateIp4forwardIteratorByNhpGrpId(nodes[0].nhp_group_id, 0, -1);
  ASSERT_NE(iterator, nullptr);
  FibDbIp4forwardItem routes[2];
  uint32_t count = 0;
  EXPECT_EQ(FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, sizeof routes, routes, &count), 0u);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(routes[0].dest_ip_addr, 0x0A000000u);
  FIB_DB_ReleaseIp4forwardByNhpGrpId(iterator);
}

}  // namespace
}  // namespace fibdb::test
