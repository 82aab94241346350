// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_group_node_faults.cc: the rows of the members of next-hop groups for the fault loop.
#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbNhpGroupNodeItem node{.nhp_group_id = 42, .vr_id = 1};
FibDbNhpGroupNodeItem nodes[4];
uint32_t count;

template <class Step>
uint32_t step(Step step) {
  return stepWith(FIB_DB_CreateNhpGrpNodeIteratorByNhpGrpId(42, 1, 0), step, FIB_DB_ReleaseNhpGrpNodeIterator);
}

// A read on an object of the caller's.
uint32_t onObject(uint32_t (*read)(uint64_t obj)) {
  uint64_t obj = 0;
  if (const uint32_t code = db_create_nhp_group_node_obj(FIB_DB_OBJ_OP_SCAN, 0, &obj)) return code;
  const uint32_t status = read(obj);
  db_release_nhp_group_node_object(obj);
  return status;
}

const Rules kUnpacking{{"db_get_nhp_group_node_*", ignored}};
const Rules kCounting = onObjectOf("nhp_group_node", {{"db_get_table_record_count_by_key", raw}});
const Rules kReadingMany = Rules{{"db_create_root_iter", raw}, {"db_root_iterator_next", counted}} + kUnpacking;

const FaultRows kRows{
    {"FIB_DB_FillNhpGroupNodeKey",
     [] {
       FibDbKeyDesc desc{};
       uint8_t key[30];
       return FIB_DB_FillNhpGroupNodeKey(&node, &desc, key), 0u;
     },
     {}},
    {"FIB_DB_SetNhpGroupNodeKey", [] { return FIB_DB_SetNhpGroupNodeKey(&nodes[0], &node), 0u; }, {}},
    {"FIB_DB_SetNhpGroupNodeKeyByPriAttr", [] { return FIB_DB_SetNhpGroupNodeKeyByPriAttr(&nodes[0], 1, 2), 0u; }, {}},
    {"FIB_DB_SetNhpGroupNodeAttrIdKey", [] { return keyBuilt(FIB_DB_SetNhpGroupNodeAttrIdKey, &node); }, {}},
    {"FIB_DB_SetNhpGroupNodeItem",
     [] { return FIB_DB_SetNhpGroupNodeItem(callersObject, &node); },
     {{"db_set_nhp_group_node_*", one}}},
    {"FIB_DB_GetNhpGroupNodeItem", [] { return FIB_DB_GetNhpGroupNodeItem(callersObject, &node), 0u; }, kUnpacking},
    {"FIB_DB_GetNhpGroupNodeFields",
     [] {
       const FibDbNhpGroupNodeRow row{};
       return FIB_DB_GetNhpGroupNodeFields(&row, &nodes[0]), 0u;
     },
     {}},
    {"FIB_DB_WriteNhpGroupNode", [] { return FIB_DB_WriteNhpGroupNode(&node); },
     onObjectOf("nhp_group_node", {{"db_set_nhp_group_node_*", one}, {"db_write_obj", written}})},
    {"FIB_DB_ReadNhpGroupNode", [] { return FIB_DB_ReadNhpGroupNode(&node); },
     onObjectOf("nhp_group_node", Rules{{"db_read_obj", readOrRaw}} + kUnpacking)},
    {"FIB_DB_RemoveNhpGroupNode", [] { return FIB_DB_RemoveNhpGroupNode(&node); },
     onObjectOf("nhp_group_node", {{"db_remove_obj", written}})},
    {"FIB_DB_UpdateNhpGroupNodeFields",
     [] { return FIB_DB_UpdateNhpGroupNodeFields(&node, [](uint64_t, const void*) { return 5u; }); },
     onObjectOf("nhp_group_node", {{"db_update_obj", written}})},
    {"FIB_DB_SetNhpGroupNodeFlags",
     [] { return FIB_DB_SetNhpGroupNodeFlags(callersObject, &node); },
     {{"db_set_nhp_group_node_flags", raw}}},
    {"FIB_DB_SetNhpGroupNodeSmoothID",
     [] { return FIB_DB_SetNhpGroupNodeSmoothID(callersObject, &node); },
     {{"db_set_nhp_group_node_group_smooth_id", raw}}},
    {"FIB_DB_UpdateNhpGroupNodeFlags", [] { return FIB_DB_UpdateNhpGroupNodeFlags(&node); },
     onObjectOf("nhp_group_node", {{"db_set_nhp_group_node_flags", ignored}, {"db_update_obj", written}})},
    {"FIB_DB_UpdateNhpGroupNodeSmoothID", [] { return FIB_DB_UpdateNhpGroupNodeSmoothID(&node); },
     onObjectOf("nhp_group_node", {{"db_set_nhp_group_node_group_smooth_id", ignored}, {"db_update_obj", written}})},
    {"FIB_DB_CountNhpGroupNodeByNhpGroup", [] { return FIB_DB_CountNhpGroupNodeByNhpGroup(1, 2, &count); }, kCounting},
    {"FIB_DB_CountNhpGroupNodeByPrimaryNhpId", [] { return FIB_DB_CountNhpGroupNodeByPrimaryNhpId(1, &count); },
     kCounting},
    {"FIB_DB_CountNhpGroupNodeByBackupNhpId", [] { return FIB_DB_CountNhpGroupNodeByBackupNhpId(1, &count); },
     kCounting},
    {"FIB_DB_CountNhpGroupNodeByNhpIndex", [] { return FIB_DB_CountNhpGroupNodeByNhpIndex(1, &count); }, kCounting},
    {"FIB_DB_ReadNhpGroupNodeByNhpGroup", [] { return FIB_DB_ReadNhpGroupNodeByNhpGroup(1, 2, sizeof nodes, nodes); },
     onObjectOf("nhp_group_node", kReadingMany)},
    {"FIB_DB_ReadNhpPriGroupNodeByNhpIndex",
     [] {
       return onObject([](uint64_t obj) { return FIB_DB_ReadNhpPriGroupNodeByNhpIndex(obj, 1, 4, &count, nodes); });
     },
     onObjectOf("nhp_group_node", kReadingMany)},
    {"FIB_DB_ReadNhpBakGroupNodeByNhpIndex",
     [] {
       return onObject([](uint64_t obj) { return FIB_DB_ReadNhpBakGroupNodeByNhpIndex(obj, 1, 4, &count, nodes); });
     },
     onObjectOf("nhp_group_node", kReadingMany)},
    {"FIB_DB_ReadNhpGroupNodeByNhpIndex", [] { return FIB_DB_ReadNhpGroupNodeByNhpIndex(1, sizeof nodes, nodes); },
     onObjectOf("nhp_group_node", Rules{{"db_reset_nhp_group_node_object", raw}} + kReadingMany)},
    {"FIB_DB_ReadNhpGroupNodeByPriAttr",
     [] { return FIB_DB_ReadNhpGroupNodeByPriAttr(&node); },
     {{"UFIB_DB_ReadUniqueHash", raw}}},
    {"FIB_DB_CreateNhpGrpNodeIteratorByKey",
     [] { return made(FIB_DB_CreateNhpGrpNodeIteratorByKey(nullptr, nullptr, 0), FIB_DB_ReleaseNhpGrpNodeIterator); },
     iteratorOf("nhp_group_node")},
    {"FIB_DB_CreateNhpGrpNodeIteratorByNhpGrpId",
     [] { return made(FIB_DB_CreateNhpGrpNodeIteratorByNhpGrpId(1, 2, 0), FIB_DB_ReleaseNhpGrpNodeIterator); },
     iteratorOf("nhp_group_node")},
    {"FIB_DB_CreateNhpGrpNodeIteratorByPrimaryNhpId",
     [] { return made(FIB_DB_CreateNhpGrpNodeIteratorByPrimaryNhpId(1, 0), FIB_DB_ReleaseNhpGrpNodeIterator); },
     iteratorOf("nhp_group_node")},
    {"FIB_DB_CreateNhpGrpNodeIteratorByBackupNhpId",
     [] { return made(FIB_DB_CreateNhpGrpNodeIteratorByBackupNhpId(1, 0), FIB_DB_ReleaseNhpGrpNodeIterator); },
     iteratorOf("nhp_group_node")},
    {"FIB_DB_GetNextNhpGroupNode",
     [] { return step([](FibDbIterator* iterator) { return FIB_DB_GetNextNhpGroupNode(iterator, &node); }); },
     iteratorOf("nhp_group_node", Rules{{"db_root_iterator_next", stepped}} + kUnpacking)},
    {"FIB_DB_ReleaseNhpGrpNodeIterator", [] { return step([](FibDbIterator*) { return 0u; }); },
     iteratorOf("nhp_group_node")},
};

}  // namespace
}  // namespace fibdb::test::fault
