// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// route/vrf.cc: VRFs of a virtual router, keyed by router and VRF id; found by router and name, and by router.
#include <array>
#include <cstddef>

#include "fibdb/route.h"
#include "platform/bounds.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "platform/ufib.h"
#include "runtime/ops.h"

namespace {

using fibdb::Failure;
using fibdb::PackedKey;
using fibdb::Text;
using Item = FibDbVrfItem;
using Key = PackedKey<FIB_DB_VRF_PRIMARY>;
using Name = std::array<char, FIB_DB_VRF_NAME_SIZE>;

static_assert(sizeof(Item) == 64);
// What is read whole is laid out as the item is.
static_assert(offsetof(Item, app_version) + sizeof(Item::app_version) ==
              fibdb::schema::offsetOf(fibdb::schema::kFields_vrf, "time_stamp_create"));
static_assert(offsetof(Item, app_obj_id) == fibdb::schema::offsetOf(fibdb::schema::kFields_vrf, "app_obj_id"));
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_vrf,
                                        {FIB_DB_VRF_PRIMARY, FIB_DB_VRF_BY_NAME, FIB_DB_VRF_BY_VR_ID}));

uint32_t stage(uint64_t obj, const Item* item) {
  uint32_t code = db_set_vrf_vr_id(obj, item->vr_id);
  code |= db_set_vrf_vrf_id(obj, item->vrf_id);
  code |= db_set_vrf_vrf_name(obj, item->vrf_name, sizeof item->vrf_name);
  code |= db_set_vrf_app_source_id(obj, item->app_source_id);
  code |= db_set_vrf_table_smooth_id(obj, item->table_smooth_id);
  code |= db_set_vrf_app_obj_id(obj, item->app_obj_id);
  code |= db_set_vrf_app_version(obj, item->app_version);
  code |= db_set_vrf_time_stamp_create(obj, UFIB_DB_GetSysTime());
  return fibdb::settleFieldsUnsaid(code, "Write vrf DB failed, set fields failed.");
}

constexpr fibdb::Table<Item, fibdb::KeyBytes<FIB_DB_VRF_PRIMARY>> kVrf{
    .create = db_create_vrf_obj,
    .release = db_release_vrf_object,
    .stage = stage,
};

// A step of an iteration: router, id and name, nothing else.
uint32_t arrive(uint64_t obj, Item* item) {
  const void* name = nullptr;
  uint32_t length = 0;
  uint32_t code = db_get_vrf_vr_id(obj, &item->vr_id);
  code |= db_get_vrf_vrf_id(obj, &item->vrf_id);
  code |= db_get_vrf_vrf_name(obj, &name, &length);
  if (code != 0) return fibdb::settleFields(code, "GetNextVrf getField failed, ret: %d");
  const int copied = strncpy_s(item->vrf_name, sizeof item->vrf_name, static_cast<const char*>(name), length);
  return copied == 0 ? FIB_DB_OK : FIB_DB_ERR;
}

}  // namespace

uint32_t VRF_DB_Write(const FibDbVrfItem* item) {
  return fibdb::write(kVrf, item,
                      {.createFailed = "Write vrf DB failed, create object failed. ret: %d",
                       .failure = {FIB_DB_TABLE_VRF, FIB_DB_OPER_WRITE, "Write vrf DB failed, ret: %d"}});
}

uint32_t VRF_DB_Read(FibDbVrfItem* item) {
  constexpr Text<uint32_t> createFailed = "read vrf DB failed, create object failed. ret: %d";
  constexpr Failure readFailed{FIB_DB_TABLE_VRF, FIB_DB_OPER_READ, "Read vrf DB failed, ret: %d"};
  constexpr Text<uint32_t> unpackFailed = "Read vrf DB getSpAllData failed, ret: %d";
  if (item == nullptr) return FIB_DB_ERR;
  const fibdb::Object obj(kVrf, FIB_DB_OBJ_OP_READ);
  if (const uint32_t code = obj.error()) return createFailed.error(code), code;
  const Key key(item->vr_id, item->vrf_id);
  if (const uint32_t code = db_read_obj(obj.handle(), &key.desc, &key.bytes)) {
    return code == DB_ERR_NO_DATA ? uint32_t{FIB_DB_NOT_FOUND} : readFailed(code);
  }
  const uint32_t code = db_get_vrf_sp_all_data(obj.handle(), item);
  if (code != FIB_DB_OK) unpackFailed.error(code);
  return code;
}

uint32_t VRF_DB_Remove(const FibDbVrfItem* item) {
  if (item == nullptr) return FIB_DB_ERR;
  return fibdb::removeUnder(kVrf, Key(item->vr_id, item->vrf_id),
                            {.createFailed = "remove vrf DB failed, create object failed. ret: %d",
                             .failure = {FIB_DB_TABLE_VRF, FIB_DB_OPER_REMOVE, "Remove vrf DB failed, ret: %d"}});
}

uint32_t VRF_INTF_GetNameById(uint32_t vrId, uint32_t vrfId, char* name, uint32_t size) {
  name[0] = '\0';
  Item item{};
  item.vr_id = vrId;
  item.vrf_id = vrfId;
  if (VRF_DB_Read(&item) != FIB_DB_OK) return FIB_DB_ERR;
  return fibdb::settleFields(static_cast<uint32_t>(strcpy_s(name, size, item.vrf_name)),
                             "GetNameById failed, strcpy failed. ret: %d");
}

uint32_t VRF_INTF_GetIdByName(uint32_t vrId, const char* name, uint32_t* vrfId) {
  constexpr Text<> nameFailed = "GetIdByName failed, strcpy failed.";
  constexpr Text<uint32_t> createFailed = "Get Id by name failed, create object failed. ret: %d";
  constexpr Text<uint32_t> keyFailed = "Get Id by name failed, memcpy failed. ret: %d";
  constexpr Text<uint32_t> createIterFailed = "Get Id by name failed, create root iter failed. ret: %d";
  constexpr Text<uint32_t> fieldFailed = "vrf GetIdByName get Field failed, ret: %d";
  constexpr Failure stepFailed{FIB_DB_TABLE_VRF, FIB_DB_OPER_ITERATOR, "Vrf GetIdByName next failed, ret: %d"};
  Name padded{};
  if (strcpy_s(padded.data(), padded.size(), name) != 0) return nameFailed.error(), FIB_DB_ERR;
  const fibdb::Object obj(kVrf, FIB_DB_OBJ_OP_SCAN);
  if (const uint32_t code = obj.error()) return createFailed.error(code), code;
  PackedKey<FIB_DB_VRF_BY_NAME> key(vrId, Name{});
  const int copied = memcpy_s(key.bytes.data() + sizeof vrId, sizeof padded, padded.data(), sizeof padded);
  if (copied != 0) return keyFailed.error(static_cast<uint32_t>(copied)), static_cast<uint32_t>(copied);
  uint64_t rootIter = 0;
  if (const uint32_t code = db_create_root_iter(obj.handle(), &key.desc, &key.bytes, &rootIter)) {
    return createIterFailed.error(code), code;
  }
  // Required: the last match counts; no match, and a failure from here on, are 0 as well.
  uint32_t code = db_root_iterator_next(rootIter);
  for (; code == FIB_DB_OK; code = db_root_iterator_next(rootIter)) {
    if (const uint32_t failed = db_get_vrf_vrf_id(obj.handle(), vrfId)) return fieldFailed.error(failed), FIB_DB_OK;
  }
  if (code != DB_ERR_ITER_END) stepFailed(code);
  return FIB_DB_OK;
}

FibDbIterator* FIB_DB_CreateVrfIterator(uint32_t property) {
  return fibdb::createIterator(kVrf,
                               {.mallocFailed = "CreateVrfIterator malloc failed",
                                .createObjFailed = "CreateVrfIterator createObj failed, ret: %d",
                                .createIterFailed = "CreateVrfIterator createIter failed, ret: %d",
                                .setPropertyFailed = "CreateVrfIterator setProperty failed, ret: %d"},
                               property, fibdb::WholeTable());
}

uint32_t FIB_DB_GetNextVrf(FibDbIterator* handle, FibDbVrfItem* item) {
  constexpr Failure failed{FIB_DB_TABLE_VRF, FIB_DB_OPER_ITERATOR, "GetNextVrf next failed, ret: %d"};
  return fibdb::next(handle, item, failed, arrive);
}

void FIB_DB_ReleaseVrfIterator(FibDbIterator* handle) { fibdb::releaseIterator(kVrf, handle); }

uint32_t FIB_DB_CountVrf(uint32_t* count) {
  return fibdb::count(kVrf, count,
                      {.createFailed = "CountVrf failed, create object failed. ret: %d",
                       .countFailed = "CountVrf failed, get table record count failed. ret: %d"});
}

uint32_t FIB_DB_GetVrfByVrId(uint32_t vrId, uint32_t* ids, uint32_t capacity, uint32_t* count) {
  constexpr Text<uint32_t> createFailed = "GetVrfByVrId createObj failed, ret: %d";
  constexpr Text<uint32_t> createIterFailed = "GetVrfByVrId, create root iter failed. ret: %d";
  constexpr Text<uint32_t> stepFailed = "GetVrfByVrId get next rootIterator fail. ret = %d";
  constexpr Text<uint32_t> fieldFailed = "GetVrfByVrId getField failed, ret: %d";
  fibdb::Object obj(kVrf, FIB_DB_OBJ_OP_SCAN);
  if (const uint32_t code = obj.error()) return createFailed.error(code), code;
  const PackedKey<FIB_DB_VRF_BY_VR_ID> key(vrId);
  uint64_t rootIter = 0;
  if (const uint32_t code = db_create_root_iter(obj.handle(), &key.desc, &key.bytes, &rootIter)) {
    return createIterFailed.error(code), code;
  }
  // Required: a step is made beyond the last id that there is room for, and the object goes before a failure is said.
  const auto fail = [&](uint32_t code, const Text<uint32_t>& failed) {
    obj.release();
    return fibdb::settleFields(code, failed);
  };
  uint32_t code = db_root_iterator_next(rootIter);
  for (uint32_t i = 0; i < capacity && code != DB_ERR_ITER_END; ++i) {
    if (code != FIB_DB_OK) return fail(code, stepFailed);
    if (const uint32_t failed = db_get_vrf_vrf_id(obj.handle(), &ids[i])) return fail(failed, fieldFailed);
    ++*count;
    code = db_root_iterator_next(rootIter);
  }
  return FIB_DB_OK;
}
