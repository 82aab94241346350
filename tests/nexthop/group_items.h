// tests/nexthop/group_items.h: an item of the groups and of the prefixes bound to them, each field of its own value.
#ifndef FIBDB_TESTS_NEXTHOP_GROUP_ITEMS_H
#define FIBDB_TESTS_NEXTHOP_GROUP_ITEMS_H

#include <cstddef>
#include <cstring>

#include "tests/support/tables_fixture.h"

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

// The fields that both tables have; what else the table has is added by its test.
inline Row rowOfGroup(schema::TableId table, const FibDbNhpGroupItem& item) {
  Row row;
  const auto put = [&](std::string_view name, uint64_t value) { putField(table, row, name, value); };
  put("nhp_group_id", item.nhp_group_id);
  put("vr_id", item.vr_id);
  put("vrf_index", item.vrf_index);
  put("nhp_number", item.nhp_number);
  put("flags", item.flags);
  put("ref_count", item.ref_count);
  put("new_vrf", item.new_vrf);
  put("app_source_id", item.app_source_id);
  put("table_smooth_id", item.table_smooth_id);
  put("db_attr_flag", item.db_attr_flag);
  put("nhp_type_high_prio", item.nhp_type_high_prio);
  put("nhp_type_normal_prio", item.nhp_type_normal_prio);
  put("status_high_prio", item.status_high_prio);
  put("status_normal_prio", item.status_normal_prio);
  putBytes(table, row, "errcode_high_prio", item.errcode_high_prio);
  putBytes(table, row, "errcode_normal_prio", item.errcode_normal_prio);
  putBytes(table, row, "svc_ctx_high_prio", item.svc_ctx_high_prio);
  putBytes(table, row, "svc_ctx_normal_prio", item.svc_ctx_normal_prio);
  put("overlay_universal_id", item.overlay_universal_id);
  put("underlay_universal_id", item.underlay_universal_id);
  put("time_stamp_app", item.time_stamp_app);
  put("time_stamp_svc", item.time_stamp_svc);
  return row;
}

}  // namespace fibdb::test

#endif
