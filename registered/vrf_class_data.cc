// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// registered/vrf_class_data.cc: how far a producer's data of a VRF have come, keyed by table, producer, router and VRF.
// Records are read from the object database, and counted through the table service; others write them.
#include "fibdb/registered.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"
#include "runtime/registered.h"

namespace {

using fibdb::Text;
using Item = FibDbVrfClassDataItem;
using Key = fibdb::KeyBytes<FIB_DB_VRF_CLASS_DATA_PRIMARY>;

static_assert(sizeof(Item) == 72);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_vrf_class_data,
                                        {FIB_DB_VRF_CLASS_DATA_PRIMARY, FIB_DB_VRF_CLASS_DATA_BY_SMOOTH_END}));

// Required: a field that cannot be read leaves the read a success.
void fill(uint64_t obj, Item* item) { FIB_DB_GetVrfClassDataItem(obj, item); }

constexpr fibdb::Table<Item, Key> kVrfClassData{
    .create = db_create_vrf_class_data_obj,
    .release = db_release_vrf_class_data_object,
    .key = [](FibDbKeyDesc* desc, Key* key,
              const Item* item) { FIB_DB_SetVrfClassDataKeyField(&desc->indexId, key, item); },
    .fetch = fibdb::fetchFields<Item, fill>,
};

}  // namespace

void FIB_DB_SetVrfClassDataKey(FibDbVrfClassDataItem* item, uint32_t tableId, uint32_t producerPid, uint32_t vrId,
                               uint32_t vrfIndex) {
  item->table_id = tableId;
  item->producer_pid = producerPid;
  item->vr_id = vrId;
  item->vrf_index = vrfIndex;
}

void FIB_DB_SetVrfClassDataKeyField(uint32_t* indexId, void* key, const FibDbVrfClassDataItem* item) {
  fibdb::giveKey<FIB_DB_VRF_CLASS_DATA_PRIMARY>(indexId, key, item->table_id, item->producer_pid, item->vr_id,
                                                item->vrf_index);
}

void FIB_DB_SetVrfClassDataSmoothEndHashKey(const FibDbVrfClassDataItem* item, uint32_t* indexId, void* key) {
  fibdb::giveKey<FIB_DB_VRF_CLASS_DATA_BY_SMOOTH_END>(indexId, key, item->table_id, item->vrf_state, item->smooth_flag);
}

uint32_t FIB_DB_GetVrfClassDataItem(uint64_t obj, FibDbVrfClassDataItem* item) {
  constexpr Text<uint32_t> getFailed = "GetVrfClassDataItem getField failed, ret: %d.";
  if (item == nullptr) return FIB_DB_ERR;
  uint32_t code = db_get_vrf_class_data_table_id(obj, &item->table_id);
  code |= db_get_vrf_class_data_producer_pid(obj, &item->producer_pid);
  code |= db_get_vrf_class_data_vr_id(obj, &item->vr_id);
  code |= db_get_vrf_class_data_vrf_index(obj, &item->vrf_index);
  code |= db_get_vrf_class_data_topology_id(obj, &item->topology_id);
  code |= db_get_vrf_class_data_vrf_state(obj, &item->vrf_state);
  code |= db_get_vrf_class_data_vrf_data_machine(obj, &item->vrf_data_machine);
  code |= db_get_vrf_class_data_vrf_state_version(obj, &item->vrf_state_version);
  code |= db_get_vrf_class_data_vrf_data_version(obj, &item->vrf_data_version);
  code |= db_get_vrf_class_data_smooth_flag(obj, &item->smooth_flag);
  code |= db_get_vrf_class_data_time_stamp_verify_begin(obj, &item->time_stamp_verify_begin);
  code |= db_get_vrf_class_data_time_stamp_verify_end(obj, &item->time_stamp_verify_end);
  code |= db_get_vrf_class_data_time_stamp_age_begin(obj, &item->time_stamp_age_begin);
  code |= db_get_vrf_class_data_time_stamp_age_end(obj, &item->time_stamp_age_end);
  if (code != 0) getFailed.error(code);
  return code;
}

uint32_t FIB_DB_ReadVrfClassData(FibDbVrfClassDataItem* item) {
  return fibdb::read(
      kVrfClassData, item,
      {.createFailed = "ReadVrfClassData createObj failed, ret: %d",
       .failure = {FIB_DB_TABLE_VRF_CLASS_DATA, FIB_DB_OPER_READ, "ReadVrfClassData read failed, ret: %d"}});
}

uint32_t FIB_DB_CountVrfClassDataByKey(const FibDbVrfClassDataItem* item, uint32_t* count) {
  // Required: the item is not checked for NULL.
  const fibdb::KeyRequest key(item, FIB_DB_SetVrfClassDataSmoothEndHashKey);
  return UFIB_DB_CountByKey(fibdb::kUfibVrfClassData, key.get(), count);
}
