// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// nexthop/nhp_ext_label.cc: labels of next-hop extensions, keyed by seven words; walked by VRF, too. The table service
// stores the caller's layout as it is, and no time is stamped.
#include "fibdb/nexthop.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/registered.h"

namespace {

using Item = FibDbNhpExtLabelItem;
using Row = FibDbNhpExtLabelItem;

static_assert(fibdb::schema::kIsRow_nhp_ext_label<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_nhp_ext_label,
                                        {FIB_DB_NHP_EXT_LABEL_PRIMARY, FIB_DB_NHP_EXT_LABEL_BY_VRF}));

constexpr fibdb::RegisteredTable<Item, Row> kNhpExtLabel{
    .id = fibdb::kUfibNhpExtLabel,
    .pack = FIB_DB_SetNhpExtLabelFields,
    .unpack = FIB_DB_GetNhpExtLabelFields,
};

// The layouts agree, but the two bytes that nobody uses are not carried over.
void copyFields(const Row* from, Item* to) {
  std::memcpy(to->keyWords, from->keyWords, sizeof to->keyWords);
  to->labelWord1 = from->labelWord1;
  to->labelWord2 = from->labelWord2;
  to->labelByte1 = from->labelByte1;
  to->labelByte2 = from->labelByte2;
  std::memcpy(to->labelData, from->labelData, sizeof to->labelData);
  to->labelWord3 = from->labelWord3;
  to->smoothId = from->smoothId;
  to->stamp1 = from->stamp1;
  to->stamp2 = from->stamp2;
}

}  // namespace

void FIB_DB_SetNhpExtLabelPriKey(const FibDbNhpExtLabelItem* item, uint32_t* indexId, void* key) {
  static_assert(sizeof item->keyWords == fibdb::keyLengthOf(FIB_DB_NHP_EXT_LABEL_PRIMARY));
  *indexId = FIB_DB_NHP_EXT_LABEL_PRIMARY;
  std::memcpy(key, item->keyWords, sizeof item->keyWords);
}

void FIB_DB_SetNhpExtLabelFields(const FibDbNhpExtLabelItem* item, void* row) {
  copyFields(item, static_cast<Row*>(row));
}
void FIB_DB_GetNhpExtLabelFields(const void* row, FibDbNhpExtLabelItem* item) {
  copyFields(static_cast<const Row*>(row), item);
}

uint32_t FIB_DB_SetNhpExtLabelSmoothID(const FibDbUfibData* ctx, uint64_t obj) {
  return fibdb::stageSmoothId<Item>(ctx, obj, db_set_nhp_ext_label_table_smooth_id);
}

uint32_t FIB_DB_CreateNhpExtLabel(const FibDbNhpExtLabelItem* item) { return fibdb::createEntry(kNhpExtLabel, item); }
uint32_t FIB_DB_ReadNhpExtLabel(FibDbNhpExtLabelItem* item) {
  return fibdb::readEntry(kNhpExtLabel, item, FIB_DB_SetNhpExtLabelPriKey, UFIB_DB_Read);
}
// Required: SmoothId here, SmoothID in the name of its setter.
uint32_t FIB_DB_UpdateNhpExtLabelSmoothId(const FibDbNhpExtLabelItem* item) {
  return fibdb::updateEntry(kNhpExtLabel, item, FIB_DB_SetNhpExtLabelPriKey, FIB_DB_SetNhpExtLabelSmoothID);
}
uint32_t FIB_DB_DeleteNhpExtLabel(const FibDbNhpExtLabelItem* item) {
  return fibdb::deleteEntry(kNhpExtLabel, item, FIB_DB_SetNhpExtLabelPriKey);
}
void* FIB_DB_CreateNhpExtLabelIterator(uint32_t property) { return UFIB_DB_CreateIterator(kNhpExtLabel.id, property); }
void* FIB_DB_CreateNhpExtLabelIteratorByVrf(uint32_t key0, uint32_t key1, uint32_t property) {
  return fibdb::iterateUnder(kNhpExtLabel, fibdb::PackedKey<FIB_DB_NHP_EXT_LABEL_BY_VRF>(key0, key1), property);
}
uint32_t FIB_DB_GetNextNhpExtLabel(void* iter, FibDbNhpExtLabelItem* item) {
  return fibdb::nextEntry(kNhpExtLabel, iter, item);
}
uint32_t FIB_DB_ReleaseNhpExtLabelIterator(void* iter) { return fibdb::releaseEntries(kNhpExtLabel, iter); }
