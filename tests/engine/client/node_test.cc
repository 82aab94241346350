// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/node_test.cc: child nodes: fields of a record that are reached through a handle of their own; and
// the call that copies the head of a row.
#include <algorithm>

#include "engine_fixture.h"

namespace fibdb::testing {
namespace {

using EcmpObject = Object<db_create_ecmp_cfg_obj, db_release_ecmp_cfg_object>;
using GlobalObject = Object<db_create_global_cfg_obj, db_release_global_cfg_object>;
using VrfObject = Object<db_create_vrf_obj, db_release_vrf_object>;

Key ecmpKey(uint32_t vr) { return makeKey(TableId::ecmp_cfg, 0x00010004, {vr}); }

uint64_t nodeOf(uint64_t object, const char* name, uint32_t expected = 0) {
  uint64_t node = 0;
  EXPECT_EQ(db_create_child_node(object, 0, name, 0, 0, &node), expected) << name;
  return node;
}

// A record of this router whose seed is written.
void writeSeed(uint32_t vr, uint32_t seed) {
  EcmpObject object(FIB_DB_OBJ_OP_WRITE);
  ASSERT_EQ(db_set_ecmp_cfg_vr_id(object, vr), 0u);
  ASSERT_EQ(db_set_ecmp_cfg_ecmp_seed_globalSeed(nodeOf(object, "ecmp_seed"), seed), 0u);
  ASSERT_EQ(db_write_obj(object), 0u);
}

void readRecord(uint64_t object, uint32_t vr) {
  const Key key = ecmpKey(vr);
  ASSERT_EQ(db_read_obj(object, &key.desc, key.data()), 0u);
}

class Nodes : public EngineTest {};

TEST_F(Nodes, fields_written_through_a_node_are_read_through_it) {
  writeSeed(7, 0xABCD);
  EcmpObject object(FIB_DB_OBJ_OP_READ);
  readRecord(object, 7);
  const uint64_t seed = nodeOf(object, "ecmp_seed");
  uint32_t value = 1;
  EXPECT_EQ(db_get_ecmp_cfg_ecmp_seed_globalSeed(seed, &value), 0u);
  EXPECT_EQ(value, 0xABCDu);
  EXPECT_EQ(db_get_ecmp_cfg_ecmp_seed_overlaySeed(seed, &value), 0u);
  EXPECT_EQ(value, 0u);
}

TEST_F(Nodes, a_node_that_was_never_written_says_so_and_reads_as_zero) {
  writeSeed(7, 1);
  EcmpObject object(FIB_DB_OBJ_OP_READ);
  readRecord(object, 7);
  uint32_t value = 1;
  EXPECT_EQ(db_get_ecmp_cfg_ecmp_hash_mode_hashmode(nodeOf(object, "ecmp_hash_mode", DB_ERR_FIELD_ABSENT), &value), 0u);
  EXPECT_EQ(value, 0u);
}

TEST_F(Nodes, an_iteration_tells_absent_nodes_from_written_ones_record_by_record) {
  writeSeed(7, 1);
  {
    EcmpObject object(FIB_DB_OBJ_OP_WRITE);
    ASSERT_EQ(db_set_ecmp_cfg_vr_id(object, 8), 0u);
    ASSERT_EQ(db_write_obj(object), 0u);
  }
  EcmpObject object(FIB_DB_OBJ_OP_SCAN);
  uint64_t iterator = 0;
  ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iterator), 0u);
  for (int records = 0; records < 2; ++records) {
    ASSERT_EQ(db_root_iterator_next(iterator), 0u);
    uint32_t vr = 0;
    ASSERT_EQ(db_get_ecmp_cfg_vr_id(object, &vr), 0u);
    nodeOf(object, "ecmp_seed", vr == 7 ? 0 : DB_ERR_FIELD_ABSENT);
  }
}

TEST_F(Nodes, an_update_adds_a_node_and_keeps_the_others) {
  writeSeed(7, 0xABCD);
  {
    EcmpObject object(FIB_DB_OBJ_OP_UPDATE);
    ASSERT_EQ(db_set_ecmp_cfg_ecmp_proc_sip(nodeOf(object, "ecmp_proc"), 1), 0u);
    const Key key = ecmpKey(7);
    ASSERT_EQ(db_update_obj(object, &key.desc, key.data()), 0u);
  }
  EcmpObject object(FIB_DB_OBJ_OP_READ);
  readRecord(object, 7);
  uint32_t seed = 0;
  EXPECT_EQ(db_get_ecmp_cfg_ecmp_seed_globalSeed(nodeOf(object, "ecmp_seed"), &seed), 0u);
  EXPECT_EQ(seed, 0xABCDu);
  uint8_t sip = 0;
  EXPECT_EQ(db_get_ecmp_cfg_ecmp_proc_sip(nodeOf(object, "ecmp_proc"), &sip), 0u);
  EXPECT_EQ(sip, 1u);
  nodeOf(object, "ecmp_tunnel", DB_ERR_FIELD_ABSENT);
}

TEST_F(Nodes, a_write_over_a_record_leaves_only_its_own_nodes) {
  writeSeed(7, 1);
  {
    EcmpObject object(FIB_DB_OBJ_OP_WRITE);
    ASSERT_EQ(db_set_ecmp_cfg_vr_id(object, 7), 0u);
    ASSERT_EQ(db_set_ecmp_cfg_ecmp_hash_mode_hashmode(nodeOf(object, "ecmp_hash_mode"), 3), 0u);
    ASSERT_EQ(db_write_obj(object), 0u);
  }
  EcmpObject object(FIB_DB_OBJ_OP_READ);
  readRecord(object, 7);
  nodeOf(object, "ecmp_hash_mode");
  nodeOf(object, "ecmp_seed", DB_ERR_FIELD_ABSENT);
}

TEST_F(Nodes, a_node_that_is_opened_and_not_set_is_not_written) {
  {
    EcmpObject object(FIB_DB_OBJ_OP_WRITE);
    ASSERT_EQ(db_set_ecmp_cfg_vr_id(object, 7), 0u);
    nodeOf(object, "ecmp_seed");
    ASSERT_EQ(db_write_obj(object), 0u);
  }
  EcmpObject object(FIB_DB_OBJ_OP_READ);
  readRecord(object, 7);
  nodeOf(object, "ecmp_seed", DB_ERR_FIELD_ABSENT);
}

TEST_F(Nodes, several_nodes_of_an_object_are_open_together) {
  EcmpObject object(FIB_DB_OBJ_OP_WRITE);
  const char* const names[] = {"ecmp_proc",      "nvo3_vxlan_hash",  "ecmp_tunnel",
                               "ecmp_hash_mode", "ecmp_universalId", "ecmp_seed"};
  std::vector<uint64_t> handles;
  for (const char* name : names) handles.push_back(nodeOf(object, name));
  std::sort(handles.begin(), handles.end());
  EXPECT_EQ(std::adjacent_find(handles.begin(), handles.end()), handles.end());
  EXPECT_NE(handles.front(), 0u);
}

TEST_F(Nodes, names_that_the_table_does_not_have_are_refused) {
  EcmpObject object(FIB_DB_OBJ_OP_WRITE);
  uint64_t node = 0;
  for (const char* name : {"", "ecmp", "ecmp_seed ", "load_balance"}) {
    EXPECT_EQ(db_create_child_node(object, 0, name, 0, 0, &node), DB_ERR_BAD_NODE) << name;
  }
  EXPECT_EQ(db_create_child_node(object, 0, nullptr, 0, 0, &node), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_create_child_node(object, 0, "ecmp_seed", 0, 0, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(node, 0u);
  NhpObject nexthop(FIB_DB_OBJ_OP_WRITE);
  EXPECT_EQ(db_create_child_node(nexthop, 0, "ecmp_seed", 0, 0, &node), DB_ERR_BAD_NODE);
}

TEST_F(Nodes, handles_of_other_nodes_tables_and_objects_are_refused) {
  EcmpObject object(FIB_DB_OBJ_OP_WRITE);
  const uint64_t proc = nodeOf(object, "ecmp_proc");
  GlobalObject global(FIB_DB_OBJ_OP_WRITE);
  const uint64_t balance = nodeOf(global, "load_balance");
  uint64_t stale = 0;
  {
    EcmpObject gone(FIB_DB_OBJ_OP_WRITE);
    stale = nodeOf(gone, "ecmp_proc");
  }
  EXPECT_EQ(db_set_ecmp_cfg_ecmp_seed_globalSeed(proc, 1), DB_ERR_BAD_NODE);
  EXPECT_EQ(db_set_ecmp_cfg_ecmp_proc_sip(balance, 1), DB_ERR_WRONG_TABLE);
  uint8_t value = 0;
  for (const uint64_t bad : {uint64_t{0}, uint64_t{object}, stale, uint64_t{1}}) {
    EXPECT_EQ(db_set_ecmp_cfg_ecmp_proc_sip(bad, 1), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_get_ecmp_cfg_ecmp_proc_sip(bad, &value), DB_ERR_BAD_HANDLE);
  }
  // And a node is no object.
  EXPECT_EQ(db_write_obj(proc), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(db_release_ecmp_cfg_object(proc), DB_ERR_BAD_HANDLE);
}

TEST_F(Nodes, an_object_must_fit_the_use_of_its_node) {
  uint64_t node = 0;
  EcmpObject reader(FIB_DB_OBJ_OP_READ);
  EXPECT_EQ(db_create_child_node(reader, 0, "ecmp_seed", 0, 0, &node), DB_ERR_NO_CURRENT);
  EcmpObject remover(FIB_DB_OBJ_OP_REMOVE);
  EXPECT_EQ(db_create_child_node(remover, 0, "ecmp_seed", 0, 0, &node), DB_ERR_WRONG_KIND);
  writeSeed(7, 1);
  readRecord(reader, 7);
  EXPECT_EQ(db_set_ecmp_cfg_ecmp_seed_globalSeed(nodeOf(reader, "ecmp_seed"), 2), DB_ERR_WRONG_KIND);
  EcmpObject writer(FIB_DB_OBJ_OP_WRITE);
  uint32_t value = 0;
  EXPECT_EQ(db_get_ecmp_cfg_ecmp_seed_globalSeed(nodeOf(writer, "ecmp_seed"), &value), DB_ERR_NO_CURRENT);
  EXPECT_EQ(db_get_ecmp_cfg_ecmp_seed_globalSeed(nodeOf(reader, "ecmp_seed"), nullptr), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Nodes, the_head_of_a_row_is_copied_as_far_as_its_table_says) {
  Row row(TableId::vrf);
  {
    VrfObject object(FIB_DB_OBJ_OP_WRITE);
    ASSERT_EQ(db_set_vrf_vr_id(object, 1), 0u);
    ASSERT_EQ(db_set_vrf_vrf_id(object, 2), 0u);
    ASSERT_EQ(db_set_vrf_app_version(object, 3), 0u);
    ASSERT_EQ(db_set_vrf_time_stamp_create(object, UINT64_MAX), 0u);
    ASSERT_EQ(db_write_obj(object), 0u);
    EXPECT_EQ(db_get_vrf_sp_all_data(object, row.data()), DB_ERR_NO_CURRENT);
  }
  VrfObject object(FIB_DB_OBJ_OP_READ);
  const Key key = makeKey(TableId::vrf, 0x00010008, {1, 2});
  ASSERT_EQ(db_read_obj(object, &key.desc, key.data()), 0u);
  EXPECT_EQ(db_get_vrf_sp_all_data(object, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_get_vrf_sp_all_data(object, row.data()), 0u);
  EXPECT_EQ(row.get("app_version"), 3u);
  EXPECT_EQ(row.get("time_stamp_create"), 0u);
}

}  // namespace
}  // namespace fibdb::testing
