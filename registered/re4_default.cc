// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// registered/re4_default.cc: IPv4 default routes, keyed by forwarding VRF. Not registered with the table service: they
// are written and removed through the object database, and nothing reads or walks them.
#include "fibdb/registered.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"

namespace {

using Item = FibDbRe4DefaultItem;
using Key = fibdb::PackedKey<FIB_DB_RE4_DEFAULT_PRIMARY>;

static_assert(sizeof(Item) == 16);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_re4_default, {FIB_DB_RE4_DEFAULT_PRIMARY}));

constexpr fibdb::Table<Item, Key> kRe4Default{
    .create = db_create_re4_default_obj,
    .release = db_release_re4_default_object,
    .stage = FIB_DB_SetRe4DefaultItem,
};

}  // namespace

uint32_t FIB_DB_SetRe4DefaultItem(uint64_t obj, const FibDbRe4DefaultItem* item) {
  uint32_t code = db_set_re4_default_fvrf_index(obj, item->fvrfIndex);
  code |= db_set_re4_default_status_high_prio(obj, item->statusHigh);
  code |= db_set_re4_default_status_normal_prio(obj, item->statusNormal);
  code |= db_set_re4_default_sys_time(obj, item->sysTime);
  return fibdb::settleFields(code, "SetRe4DefaultItem setField failed, ret: %d");
}

uint32_t FIB_DB_WriteRe4Default(const FibDbRe4DefaultItem* item) {
  return fibdb::write(kRe4Default, item,
                      {.createFailed = "WriteRe4Default failed, create object failed. ret: %d",
                       .failure = {FIB_DB_TABLE_RE4_DEFAULT, FIB_DB_OPER_WRITE, "WriteRe4Default failed, ret: %d"}});
}

uint32_t FIB_DB_RemoveRe4Default(const uint32_t* fvrfIndex) {
  if (fvrfIndex == nullptr) return FIB_DB_ERR;
  return fibdb::removeUnder(
      kRe4Default, Key(*fvrfIndex),
      {.createFailed = "RemoveRe4Default failed, create object failed. ret: %d",
       .failure = {FIB_DB_TABLE_RE4_DEFAULT, FIB_DB_OPER_REMOVE, "RemoveRe4Default failed, ret: %d"}});
}
