// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/nhp_group_ftn.cc: prefixes bound to next-hop groups, keyed by router, VRF, address and mask length. They
// share the item of the groups, and say most things in the groups' words.
#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"

namespace {

using fibdb::Text;
using Item = FibDbNhpGroupItem;
using Key = fibdb::KeyBytes<FIB_DB_NHP_GROUP_FTN_PRIMARY>;

static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_nhp_group_ftn, {FIB_DB_NHP_GROUP_FTN_PRIMARY}));

// The kind of change that readers of the table are told: the whole record was written.
constexpr uint32_t kWhole = 1;

constexpr fibdb::Table<Item, Key> kNhpGroupFtn{
    .create = db_create_nhp_group_ftn_obj,
    .release = db_release_nhp_group_ftn_object,
    .stage = FIB_DB_SetNhpGroupFtnItem,
    .key = [](FibDbKeyDesc* desc, Key* key, const Item* item) { FIB_DB_SetNhpGroupFtnKeyField(desc, key, item); },
    .fetch = fibdb::fetchFields<Item, FIB_DB_GetNhpGroupFtnItem>,
};

uint32_t readFailed(uint32_t code, const Item*) {
  // Required: 1, whatever the code.
  constexpr fibdb::Failure failed{FIB_DB_TABLE_NHP_GROUP_FTN, FIB_DB_OPER_READ, "ReadNhpGroup ftn failed, ret: %u"};
  failed(code);
  return FIB_DB_ERR;
}

}  // namespace

void FIB_DB_SetNhpGroupFtnKeyField(FibDbKeyDesc* desc, void* key, const FibDbNhpGroupItem* item) {
  desc->indexId = FIB_DB_NHP_GROUP_FTN_PRIMARY;
  fibdb::putKey<FIB_DB_NHP_GROUP_FTN_PRIMARY>(key, item->vr_id, item->vrf_index, item->dest_ip_addr,
                                              item->dest_mask_len);
}

uint32_t FIB_DB_SetNhpGroupFtnItem(uint64_t obj, const FibDbNhpGroupItem* item) {
  // Required: the group's words.
  uint32_t code = db_set_nhp_group_ftn_nhp_group_id(obj, item->nhp_group_id);
  code |= db_set_nhp_group_ftn_vr_id(obj, item->vr_id);
  code |= db_set_nhp_group_ftn_vrf_index(obj, item->vrf_index);
  code |= db_set_nhp_group_ftn_dest_ip_addr(obj, item->dest_ip_addr);
  code |= db_set_nhp_group_ftn_dest_mask_len(obj, item->dest_mask_len);
  code |= db_set_nhp_group_ftn_nhp_number(obj, item->nhp_number);
  code |= db_set_nhp_group_ftn_flags(obj, item->flags);
  code |= db_set_nhp_group_ftn_ref_count(obj, item->ref_count);
  code |= db_set_nhp_group_ftn_new_vrf(obj, item->new_vrf);
  code |= db_set_nhp_group_ftn_app_source_id(obj, item->app_source_id);
  code |= db_set_nhp_group_ftn_table_smooth_id(obj, item->table_smooth_id);
  code |= db_set_nhp_group_ftn_db_attr_flag(obj, item->db_attr_flag);
  code |= db_set_nhp_group_ftn_nhp_type_high_prio(obj, item->nhp_type_high_prio);
  code |= db_set_nhp_group_ftn_nhp_type_normal_prio(obj, item->nhp_type_normal_prio);
  code |= db_set_nhp_group_ftn_status_high_prio(obj, item->status_high_prio);
  code |= db_set_nhp_group_ftn_status_normal_prio(obj, item->status_normal_prio);
  code |= db_set_nhp_group_ftn_errcode_high_prio(obj, item->errcode_high_prio, sizeof item->errcode_high_prio);
  code |= db_set_nhp_group_ftn_errcode_normal_prio(obj, item->errcode_normal_prio, sizeof item->errcode_normal_prio);
  code |= db_set_nhp_group_ftn_svc_ctx_high_prio(obj, item->svc_ctx_high_prio, sizeof item->svc_ctx_high_prio);
  code |= db_set_nhp_group_ftn_svc_ctx_normal_prio(obj, item->svc_ctx_normal_prio, sizeof item->svc_ctx_normal_prio);
  code |= db_set_nhp_group_ftn_oper_bitmap(obj, kWhole);
  code |= db_set_nhp_group_ftn_overlay_universal_id(obj, item->overlay_universal_id);
  code |= db_set_nhp_group_ftn_underlay_universal_id(obj, item->underlay_universal_id);
  code |= db_set_nhp_group_ftn_time_stamp_app(obj, item->time_stamp_app);
  code |= db_set_nhp_group_ftn_time_stamp_svc(obj, item->time_stamp_svc);
  return fibdb::settleFieldsUnsaid(code, "SetNhpGroupItem failed.");
}

uint32_t FIB_DB_GetNhpGroupFtnBaseItem(uint64_t obj, FibDbNhpGroupItem* item) {
  uint32_t code = db_get_nhp_group_ftn_nhp_group_id(obj, &item->nhp_group_id);
  code |= db_get_nhp_group_ftn_vr_id(obj, &item->vr_id);
  code |= db_get_nhp_group_ftn_dest_ip_addr(obj, &item->dest_ip_addr);
  code |= db_get_nhp_group_ftn_dest_mask_len(obj, &item->dest_mask_len);
  code |= db_get_nhp_group_ftn_vrf_index(obj, &item->vrf_index);
  code |= db_get_nhp_group_ftn_nhp_number(obj, &item->nhp_number);
  code |= db_get_nhp_group_ftn_flags(obj, &item->flags);
  code |= db_get_nhp_group_ftn_overlay_universal_id(obj, &item->overlay_universal_id);
  code |= db_get_nhp_group_ftn_underlay_universal_id(obj, &item->underlay_universal_id);
  code |= db_get_nhp_group_ftn_ref_count(obj, &item->ref_count);
  code |= db_get_nhp_group_ftn_new_vrf(obj, &item->new_vrf);
  return code;
}

void FIB_DB_GetNhpGroupFtnItem(uint64_t obj, FibDbNhpGroupItem* item) {
  // Required: the group's words but for their %u, and what a failed copy is said with is 0, not its code.
  constexpr auto said = fibdb::Said::kZero;
  constexpr Text<uint32_t> highFailed = "GetNhpGroupItem memcpy nhp group high svcCtx failed, ret: %u.";
  constexpr Text<uint32_t> normalFailed = "GetNhpGroupItem memcpy nhp group normal svcCtx failed, ret: %u.";
  constexpr Text<uint32_t> failed = "GetNhpGroupItem failed, ret: %u.";
  uint32_t code = FIB_DB_GetNhpGroupFtnBaseItem(obj, item);
  code |= db_get_nhp_group_ftn_nhp_type_high_prio(obj, &item->nhp_type_high_prio);
  code |= db_get_nhp_group_ftn_nhp_type_normal_prio(obj, &item->nhp_type_normal_prio);
  code |= db_get_nhp_group_ftn_status_high_prio(obj, &item->status_high_prio);
  code |= db_get_nhp_group_ftn_status_normal_prio(obj, &item->status_normal_prio);
  // Required: the normal error code goes first.
  fibdb::unpackErrcode(obj, db_get_nhp_group_ftn_errcode_normal_prio, item->errcode_normal_prio, code);
  fibdb::unpackErrcode(obj, db_get_nhp_group_ftn_errcode_high_prio, item->errcode_high_prio, code);
  if (!fibdb::unpackContext(obj, db_get_nhp_group_ftn_svc_ctx_high_prio, item->svc_ctx_high_prio, code, highFailed,
                            said) ||
      !fibdb::unpackContext(obj, db_get_nhp_group_ftn_svc_ctx_normal_prio, item->svc_ctx_normal_prio, code,
                            normalFailed, said)) {
    return;
  }
  code |= db_get_nhp_group_ftn_app_source_id(obj, &item->app_source_id);
  code |= db_get_nhp_group_ftn_table_smooth_id(obj, &item->table_smooth_id);
  code |= db_get_nhp_group_ftn_db_attr_flag(obj, &item->db_attr_flag);
  code |= db_get_nhp_group_ftn_time_stamp_app(obj, &item->time_stamp_app);
  code |= db_get_nhp_group_ftn_time_stamp_svc(obj, &item->time_stamp_svc);
  if (code != 0) failed.error(code);
}

uint32_t FIB_DB_WriteNhpGroupFtn(const FibDbNhpGroupItem* item) {
  // Required: the group's words, but where the database refuses.
  return fibdb::write(kNhpGroupFtn, item,
                      {.createFailed = "WriteNhpGroup failed, create object failed, ret:%u.",
                       .stageFailed = "WriteNhpGroup failed, set item failed, ret:%u.",
                       .failure = {FIB_DB_TABLE_NHP_GROUP_FTN, FIB_DB_OPER_WRITE, "Write nhp group db fail. ret: %u"}});
}

uint32_t FIB_DB_ReadNhpGroupFtn(FibDbNhpGroupItem* item) {
  return fibdb::read(kNhpGroupFtn, item,
                     {.createFailed = "ReadNhpGroup ftn failed, create object failed, ret:%u.", .failed = readFailed});
}

uint32_t FIB_DB_RemoveNhpGroupFtn(const FibDbNhpGroupItem* item) {
  // Required: the group's words.
  return fibdb::remove(kNhpGroupFtn, item,
                       {.createFailed = "RemoveNhpGroup failed, create object failed, ret:%u.",
                        .failure = {FIB_DB_TABLE_NHP_GROUP_FTN, FIB_DB_OPER_REMOVE, "RemoveNhpGroup failed, ret: %u"}});
}
