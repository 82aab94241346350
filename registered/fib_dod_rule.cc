// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// registered/fib_dod_rule.cc: rules of on-demand routes, keyed by three words and a length; found by the longest prefix
// that covers a key, too. The table service stores the caller's item as it is, and no time is stamped.
#include "fibdb/registered.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "runtime/ops.h"
#include "runtime/registered.h"

namespace {

using Item = FibDbDodRuleItem;
using Row = FibDbDodRuleItem;

static_assert(fibdb::schema::kIsRow_fib_dod_rule<Row>);
static_assert(fibdb::schema::indexesAre(fibdb::schema::kIndexes_fib_dod_rule,
                                        {FIB_DB_DOD_RULE_PRIMARY, FIB_DB_DOD_RULE_LONGEST}));

// All but the two bytes that are the caller's.
void copyFields(const Row* from, Item* to) {
  to->ruleKey1 = from->ruleKey1;
  to->ruleKey2 = from->ruleKey2;
  to->ruleKey3 = from->ruleKey3;
  to->ruleKeyLen = from->ruleKeyLen;
  to->ruleFlag = from->ruleFlag;
  std::memcpy(to->ruleData, from->ruleData, sizeof to->ruleData);
  to->smoothId = from->smoothId;
  to->ruleStamp1 = from->ruleStamp1;
  to->ruleStamp2 = from->ruleStamp2;
}

constexpr fibdb::RegisteredTable<Item, Row> kDodRule{
    .id = fibdb::kUfibDodRule,
    .unpack = FIB_DB_GetDodRuleFields,
};

// The longest match goes past the table service.
constexpr fibdb::Table<Item, fibdb::KeyBytes<FIB_DB_DOD_RULE_LONGEST>> kDodRuleObject{
    .create = db_create_fib_dod_rule_obj,
    .release = db_release_fib_dod_rule_object,
    .fetch = fibdb::fetchRow<Item, Row, copyFields>,
};

}  // namespace

void FIB_DB_GetDodRuleFields(const void* row, FibDbDodRuleItem* item) {
  copyFields(static_cast<const Row*>(row), item);
}

void FIB_DB_SetDodRulePriKey(const FibDbDodRuleItem* item, uint32_t* indexId, void* key) {
  fibdb::giveKey<FIB_DB_DOD_RULE_PRIMARY>(indexId, key, item->ruleKey1, item->ruleKey2, item->ruleKey3,
                                          item->ruleKeyLen);
}

uint32_t FIB_DB_SetDodRuleSmoothID(const FibDbUfibData* ctx, uint64_t obj) {
  return fibdb::stageSmoothId<Item>(ctx, obj, db_set_fib_dod_rule_table_smooth_id);
}

// Required: Creat, without its final e.
uint32_t FIB_DB_CreatDodRule(const FibDbDodRuleItem* item) {
  if (item == nullptr) return FIB_DB_ERR;
  const fibdb::DataRequest entry(const_cast<Item*>(item), sizeof *item);
  return UFIB_DB_Create(kDodRule.id, entry.get());
}

uint32_t FIB_DB_ReadDodRule(FibDbDodRuleItem* item) {
  return fibdb::readEntry(kDodRule, item, FIB_DB_SetDodRulePriKey, UFIB_DB_Read);
}

uint32_t FIB_DB_ReadDodRuleByLpm(FibDbDodRuleItem* item) {
  if (item == nullptr) return FIB_DB_ERR;
  const fibdb::Object obj(kDodRuleObject, FIB_DB_OBJ_OP_SCAN);
  if (const uint32_t code = obj.error()) return code;
  const fibdb::PackedKey<FIB_DB_DOD_RULE_LONGEST> key(item->ruleKey1, item->ruleKey2, item->ruleKey3, item->ruleKeyLen);
  uint64_t rootIter = 0;
  if (const uint32_t code = db_create_root_iter(obj.handle(), &key.desc, &key.bytes, &rootIter)) return code;
  // The first entry is the longest prefix.
  const uint32_t code = db_root_iterator_next(rootIter);
  if (code != FIB_DB_OK) return code == DB_ERR_ITER_END ? uint32_t{FIB_DB_NO_ROUTE} : code;
  return kDodRuleObject.fetch(obj.handle(), nullptr, nullptr, item);
}

// Required: Smth here, Smooth in the name of its setter.
uint32_t FIB_DB_UpdateDodRuleSmthId(const FibDbDodRuleItem* item) {
  return fibdb::updateEntry(kDodRule, item, FIB_DB_SetDodRulePriKey, FIB_DB_SetDodRuleSmoothID);
}
uint32_t FIB_DB_DeleteDodRule(const FibDbDodRuleItem* item) {
  return fibdb::deleteEntry(kDodRule, item, FIB_DB_SetDodRulePriKey);
}
void* FIB_DB_CreateDodRuleIterator(uint32_t property) { return UFIB_DB_CreateIterator(kDodRule.id, property); }
uint32_t FIB_DB_GetNextDodRuleEntry(void* iter, FibDbDodRuleItem* item) {
  return fibdb::nextEntry(kDodRule, iter, item);
}
uint32_t FIB_DB_ReleaseDodRuleIterator(void* iter) { return fibdb::releaseEntries(kDodRule, iter); }
