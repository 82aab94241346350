// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/group_rows.h: rows of the groups and of the prefixes bound to them.
#ifndef FIBDB_TESTS_NEXTHOP_GROUP_ROWS_H
#define FIBDB_TESTS_NEXTHOP_GROUP_ROWS_H

#include "tests/support/group_items.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {

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
