// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/tables/resolve_test.cc: groups, members and next hops, found over the engine.
#include "tools/fibdb/tables/resolve.h"

#include "tests/end_to_end/engine_fixture.h"
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ResolveTest : public test::EngineTest {
 protected:
  template <class Item>
  static void write(const RecordTable& table, Item item) {
    writeRecord(table, &item);
  }

  static void addGroup(uint32_t id, uint32_t vr = 0) {
    FibDbNhpGroupItem item{};
    item.nhp_group_id = id;
    item.vr_id = vr;
    write(kGroups, item);
  }

  static void addMember(uint32_t group, uint32_t primary, uint32_t backup = 0, uint32_t vr = 0) {
    FibDbNhpGroupNodeItem item{};
    item.nhp_group_id = group;
    item.primary_nhp_id = primary;
    item.backup_nhp_id = backup;
    item.vr_id = vr;
    write(kGroupMembers, item);
  }

  static void addNexthop(uint32_t index) {
    FibDbNhpItem item{};
    item.nhp_index = index;
    write(kNexthops, item);
  }

  static void addStandard(uint32_t index, uint32_t address, uint32_t interface) {
    FibDbNhpStdItem item{};
    item.nhp_index = index;
    item.next_hop = address;
    item.out_if_index = interface;
    write(kStandardNexthops, item);
  }

  static void addVpn(uint32_t index, uint32_t vpn) {
    FibDbNhpVpnItem item{};
    item.nhp_index = index;
    item.dst_vpn_id = vpn;
    write(kVpnNexthops, item);
  }

  // One record of this index in every table of next hops.
  static void addEverywhere(uint32_t index) {
    addNexthop(index);
    addStandard(index, 0xC0000201, 3);
    FibDbNhpLlaItem lla{};
    lla.iid_index = index;
    write(kLlaNexthops, lla);
    addVpn(index, 1);
    FibDbNhpVxlanItem vxlan{};
    vxlan.nhp_index = index;
    write(kVxlanNexthops, vxlan);
    FibDbNhpVpnSidItem vpnSid{};
    vpnSid.key_word1 = index;
    write(kVpnSidNexthops, vpnSid);
    FibDbNhpSrv6TeItem srv6{};
    srv6.key_word1 = index;
    write(kSrv6TeNexthops, srv6);
    FibDbNhpExtItem ext{};
    ext.keyWords[0] = index;
    write(kNexthopExts, ext);
  }

  static std::vector<std::string> titlesOf(const std::vector<NexthopRecord>& records) {
    std::vector<std::string> titles;
    for (const NexthopRecord& known : records) titles.push_back(titleOf(*known.table, known.record.data()));
    return titles;
  }

  static std::vector<std::string> linesOf(const std::vector<Tree>& trees) {
    std::vector<std::string> lines;
    for (const Tree& tree : trees) lines.push_back(tree.line);
    return lines;
  }
};

TEST_F(ResolveTest, an_index_is_looked_for_in_every_table_of_next_hops) {
  for (const uint32_t index : {64u, 65u, 66u}) addEverywhere(index);
  EXPECT_THAT(titlesOf(recordsOfNexthop(65)),
              ElementsAre("next hop 65", "standard next hop 65 192.0.2.1 3", "LLA next hop 65 :: 0",
                          "VPN next hop 65 0 0 1", "VXLAN next hop 65 0 0 0 0 0 ::", "VPN SID next hop 65 0 0 ::",
                          "SRv6 TE next hop 65 0 0 0 :: 0", "next-hop extension 65 0 0 0 0"));
  EXPECT_THAT(recordsOfNexthop(67), IsEmpty());
}

TEST_F(ResolveTest, an_index_may_be_known_to_one_table_alone_and_have_many_records_there) {
  addStandard(65, 0xC0000209, 1);
  addStandard(65, 0xC0000201, 2);
  addStandard(65, 0xC0000201, 1);
  EXPECT_THAT(titlesOf(recordsOfNexthop(65)),
              ElementsAre("standard next hop 65 192.0.2.1 1", "standard next hop 65 192.0.2.1 2",
                          "standard next hop 65 192.0.2.9 1"));
}

// Of an index the library reads one VPN next hop, and counts them in a byte.
TEST_F(ResolveTest, all_VPN_next_hops_of_an_index_are_found_however_many_there_are) {
  for (uint32_t vpn = 1; vpn <= 300; ++vpn) addVpn(65, vpn);
  addVpn(66, 1);
  const auto records = recordsOfNexthop(65);
  ASSERT_THAT(records, SizeIs(300));
  for (uint32_t vpn = 1; vpn <= 300; ++vpn) {
    EXPECT_EQ(records[vpn - 1].record.as<FibDbNhpVpnItem>().dst_vpn_id, vpn);
  }
  EXPECT_THAT(recordsOfNexthop(66), SizeIs(1));
}

TEST_F(ResolveTest, facts_of_a_record_begin_with_the_word_of_its_table) {
  addStandard(65, 0xC0000201, 3);
  const std::vector<Fact> facts = factsOf(recordsOfNexthop(65).at(0));
  EXPECT_EQ(facts.at(0).name, "table");
  EXPECT_EQ(facts.at(0).value, Value(std::string("standard-nexthop")));
  EXPECT_EQ(facts.at(2).name, "address");
  EXPECT_EQ(facts.at(2).value, Value(std::string("192.0.2.1")));
}

TEST_F(ResolveTest, a_group_has_the_members_of_its_router_alone) {
  addGroup(3);
  addGroup(3, 1);
  addMember(3, 66);
  addMember(3, 65);
  addMember(3, 67, 0, 1);
  addMember(4, 68);
  const Group group = findGroup(3, 0);
  EXPECT_TRUE(group.stored);
  ASSERT_THAT(group.members, SizeIs(2));
  EXPECT_EQ(group.members[0].as<FibDbNhpGroupNodeItem>().primary_nhp_id, 65u);
  EXPECT_EQ(group.members[1].as<FibDbNhpGroupNodeItem>().primary_nhp_id, 66u);
  EXPECT_THAT(findGroup(3, 1).members, SizeIs(1));
}

TEST_F(ResolveTest, a_group_exists_by_its_record_or_by_its_members) {
  addGroup(3);
  addMember(4, 65);
  EXPECT_TRUE(findGroup(3, 0).exists());
  EXPECT_TRUE(findGroup(4, 0).exists());
  EXPECT_FALSE(findGroup(4, 0).stored);
  EXPECT_FALSE(findGroup(5, 0).exists());
  EXPECT_FALSE(findGroup(3, 1).exists());
}

TEST_F(ResolveTest, the_tree_leads_from_the_group_over_its_members_to_what_is_known_of_their_next_hops) {
  addGroup(3);
  addMember(3, 65, 66);
  addNexthop(65);
  addStandard(65, 0xC0000201, 3);
  addStandard(66, 0xC0000202, 4);
  const Tree tree = treeOf(findGroup(3, 0));
  EXPECT_EQ(tree.line, "group 3");
  EXPECT_EQ(tree.below, "members");
  ASSERT_THAT(linesOf(tree.children), ElementsAre("group member 3 65 66"));
  const Tree& member = tree.children[0];
  EXPECT_EQ(member.below, "nexthops");
  ASSERT_THAT(linesOf(member.children), ElementsAre("primary 65", "backup 66"));
  EXPECT_EQ(member.children[0].below, "records");
  EXPECT_THAT(linesOf(member.children[0].children), ElementsAre("next hop 65", "standard next hop 65 192.0.2.1 3"));
  EXPECT_THAT(linesOf(member.children[1].children), ElementsAre("standard next hop 66 192.0.2.2 4"));
  EXPECT_EQ(member.children[1].children[0].below, "") << "a leaf";
}

TEST_F(ResolveTest, what_is_missing_is_said_where_it_is_missing) {
  addGroup(3);
  addMember(4, 65, 66);
  addNexthop(66);
  EXPECT_EQ(treeOf(findGroup(3, 0)).line, "group 3: no members");
  EXPECT_EQ(treeOf(findGroup(5, 0)).line, "no group 5");
  EXPECT_EQ(treeOf(findGroup(5, 2)).line, "no group 5 2");
  const Tree tree = treeOf(findGroup(4, 0));
  EXPECT_EQ(tree.line, "group 4: no record");
  ASSERT_THAT(tree.children, SizeIs(1));
  EXPECT_THAT(linesOf(tree.children[0].children), ElementsAre("primary 65: no next hop", "backup 66"));
}

TEST_F(ResolveTest, a_group_without_a_record_has_no_facts_but_its_key) {
  addMember(4, 65);
  const std::vector<Fact> facts = treeOf(findGroup(4, 0)).facts;
  ASSERT_THAT(facts, SizeIs(3));
  EXPECT_EQ(facts[0].value, Value(uint64_t{4}));
  EXPECT_EQ(facts[1].name, "vr");
  EXPECT_EQ(facts[2].name, "stored");
  EXPECT_EQ(facts[2].value, Value(false));
}

TEST_F(ResolveTest, a_member_without_a_backup_has_one_next_hop) {
  addMember(4, 65);
  addMember(4, 0, 65);
  const Tree tree = treeOf(findGroup(4, 0));
  ASSERT_THAT(tree.children, SizeIs(2));
  EXPECT_THAT(linesOf(tree.children[0].children), ElementsAre("primary 0: no next hop", "backup 65: no next hop"));
  EXPECT_THAT(linesOf(tree.children[1].children), ElementsAre("primary 65: no next hop"));
}

}  // namespace
}  // namespace fibdb::program
