// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/group_items.h: a group and a member of one, each field of a value of its own, for tests over either
// database.
#ifndef FIBDB_TESTS_SUPPORT_GROUP_ITEMS_H
#define FIBDB_TESTS_SUPPORT_GROUP_ITEMS_H

#include <cstddef>
#include <cstring>

#include "fibdb/nexthop.h"

namespace fibdb::test {

// The layout that callers were compiled against.
static_assert(offsetof(FibDbNhpGroupItem, nhp_number) == 24 && offsetof(FibDbNhpGroupItem, status_high_prio) == 28);
static_assert(offsetof(FibDbNhpGroupItem, errcode_high_prio) == 30);
static_assert(offsetof(FibDbNhpGroupItem, errcode_normal_prio) == 32);
static_assert(offsetof(FibDbNhpGroupItem, svc_ctx_high_prio) == 34);
static_assert(offsetof(FibDbNhpGroupItem, svc_ctx_normal_prio) == 66);
static_assert(offsetof(FibDbNhpGroupItem, app_source_id) == 100 && offsetof(FibDbNhpGroupItem, table_smooth_id) == 104);
static_assert(offsetof(FibDbNhpGroupItem, overlay_universal_id) == 108);
static_assert(offsetof(FibDbNhpGroupItem, db_attr_flag) == 112 && offsetof(FibDbNhpGroupItem, time_stamp_svc) == 128);
static_assert(offsetof(FibDbNhpGroupItem, reserved) == 136 && offsetof(FibDbNhpGroupItem, skip_db_oper) == 140);
static_assert(offsetof(FibDbNhpGroupItem, dest_ip_addr) == 144 && offsetof(FibDbNhpGroupItem, dest_mask_len) == 148);
static_assert(offsetof(FibDbNhpGroupItem, forwardVsId) == 149 && sizeof(FibDbNhpGroupItem) == 152);

static_assert(offsetof(FibDbNhpGroupNodeItem, vr_id) == 24 && offsetof(FibDbNhpGroupNodeItem, group_smooth_id) == 40);
static_assert(offsetof(FibDbNhpGroupNodeItem, app_obj_id) == 48 && offsetof(FibDbNhpGroupNodeItem, sequence) == 56);
static_assert(offsetof(FibDbNhpGroupNodeItem, rsv) == 58 && offsetof(FibDbNhpGroupNodeItem, time_stamp_app) == 64);
static_assert(offsetof(FibDbNhpGroupNodeItem, time_stamp_svc) == 72);
static_assert(offsetof(FibDbNhpGroupNodeItem, bandwidth) == 80 && sizeof(FibDbNhpGroupNodeItem) == 88);
static_assert(sizeof(FibDbNhpGroupNodeRow) == 76);

// Group 42 of router 2; as a prefix 10.0.1.0/24 of VRF 3. No group starts with its service state.
inline FibDbNhpGroupItem fullGroup() {
  FibDbNhpGroupItem item{.nhp_group_id = 42,
                         .vr_id = 2,
                         .vrf_index = 3,
                         .flags = 4,
                         .ref_count = 5,
                         .new_vrf = 6,
                         .nhp_number = 7,
                         .nhp_type_high_prio = 8,
                         .nhp_type_normal_prio = 9,
                         .status_high_prio = 10,
                         .status_normal_prio = 11,
                         .errcode_high_prio = {12, 0x12},
                         .errcode_normal_prio = {13, 0x13},
                         .app_source_id = 16,
                         .table_smooth_id = 17,
                         .overlay_universal_id = 18,
                         .underlay_universal_id = 19,
                         .db_attr_flag = 0x2000000000,
                         .time_stamp_app = 0x2100000000,
                         .time_stamp_svc = 0x2200000000,
                         .dest_ip_addr = 0x0A000100,
                         .dest_mask_len = 24,
                         .forwardVsId = 27};
  std::memset(item.svc_ctx_high_prio, 0x14, sizeof item.svc_ctx_high_prio);
  std::memset(item.svc_ctx_normal_prio, 0x15, sizeof item.svc_ctx_normal_prio);
  item.svc_ctx_high_prio[31] = 0xEE;
  item.svc_ctx_normal_prio[31] = 0xFF;
  return item;
}

// A member of group 42 of router 7.
inline FibDbNhpGroupNodeItem fullMember() {
  return {.nhp_group_id = 42,
          .attribute_id = 2,
          .primary_nhp_id = 3,
          .primary_label = 4,
          .backup_nhp_id = 5,
          .backup_label = 6,
          .vr_id = 7,
          .vrf_index = 8,
          .flags = 9,
          .app_source_id = 10,
          .group_smooth_id = 11,
          .app_obj_id = 0x1200000000,
          .sequence = 13,
          .rsv = 14,
          .time_stamp_app = 0x1500000000,
          .time_stamp_svc = 0x1600000000,
          .bandwidth = 17};
}

}  // namespace fibdb::test

#endif
