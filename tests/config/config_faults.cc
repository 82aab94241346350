// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/config/config_faults.cc: the rows of both configuration records for the fault loop.
#include "platform/objdb_tables.h"
#include "tests/config/nodes.h"
#include "tests/config/settings.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

uint32_t vr = 42;
FibDbEcmpCfgItem ecmpItem{.vrId = 42};
FibDbGlbCfgItem globalItem{.vrId = 42};

uint32_t stageNothing(uint64_t, const void*) { return 0; }
uint32_t getNothing(uint64_t, void*) { return 0; }

std::string setters(const Record& record) { return "db_set_" + record.name + "_*"; }
std::string getters(const Record& record) { return "db_get_" + record.name + "_*"; }

// A sequence on an object of the record whose creation gives this.
Rules onObject(const Record& record, Gives created, const Rules& calls) {
  return Rules{{"db_create_" + record.name + "_obj", created}} + calls +
         Rules{{"db_release_" + record.name + "_object", ignored}};
}

// The sequences; what is got or set in between has rules of its own.
Rules reading(const Record& record, const Rules& gets) {
  return onObject(record, one, Rules{{"db_read_obj", one}} + gets);
}
Rules writing(const Record& record, const Rules& sets) {
  const bool isEcmp = &record == &ecmpRecord();
  return onObject(record, isEcmp ? raw : one,
                  Rules{{setters(record), one}, {"db_write_obj", isEcmp ? written : writtenOrOne}} + sets);
}
Rules updating(const Record& record, const Rules& sets) {
  const bool isEcmp = &record == &ecmpRecord();
  return onObject(record, isEcmp ? one : raw, sets + Rules{{"db_update_obj", isEcmp ? writtenOrOne : written}});
}

// A record's functions that are not of a setting.
std::vector<Exported> rowsOf(const Record& record) {
  const bool isEcmp = &record == &ecmpRecord();
  const auto named = [&](const char* ecmp, const char* global) { return std::string(isEcmp ? ecmp : global); };
  const Record* const r = &record;
  void* const item = isEcmp ? static_cast<void*>(&ecmpItem) : &globalItem;
  const auto step = [r](const std::function<uint32_t(FibDbIterator*)>& use) {
    return stepWith(r->iterate(0), use, r->releaseIterator);
  };
  const Rules filling{{getters(record), ignored}, {"db_create_child_node", ignored}};
  return {
      {named("FIB_DB_InitEcmpCfg", "FIB_DB_InitCfgValue"),
       [=] { return r->init(callersObject); },
       {{setters(record), raw}}},
      {named("FIB_DB_GetEcmpCfgItem", "FIB_DB_GetGlbCfgItem"), [=] { return r->fill(callersObject, item), 0u; },
       filling},
      {named("FIB_DB_ReadEcmpCfgCommon", "FIB_DB_ReadCfgCommon"),
       [=] {
         uint64_t obj = 0;
         const uint32_t status = r->readCommon(42, &obj);
         if (status == 0) (r == &ecmpRecord() ? db_release_ecmp_cfg_object : db_release_global_cfg_object)(obj);
         return status;
       },
       onObject(record, one, {{"db_read_obj", read}})},
      {named("FIB_DB_IsEcmpCfgExist", "FIB_DB_GlbCfgExist"), [=] { return 1 - r->exists(&vr); }, reading(record, {})},
      {named("FIB_DB_ReadEcmpCfg", "FIB_DB_ReadGlbCfg"), [=] { return r->readItem(item); }, reading(record, filling)},
      {named("FIB_DB_ReadEcmpCfgInfo", "FIB_DB_ReadGlbCfgFunc"), [=] { return r->readWith(&vr, nullptr, getNothing); },
       reading(record, {})},
      {named("FIB_DB_WriteEcmpCfg", "FIB_DB_WriteGlbCfgFunc"), [=] { return r->writeWith(&vr, nullptr, stageNothing); },
       writing(record, {})},
      {named("FIB_DB_UpdateEcmpCfg", "FIB_DB_UpdateGlbCfgFunc"),
       [=] { return r->updateWith(&vr, nullptr, stageNothing); }, updating(record, {})},
      {named("FIB_DB_RemoveEcmpCfg", "FIB_DB_RemoveGlbCfg"), [=] { return r->removeOf(&vr); },
       onObject(record, raw, {{"db_remove_obj", written}})},
      {named("FIB_DB_CreateEcmpCfgIterator", "FIB_DB_CreateGlbCfgIterator"),
       [=] { return made(r->iterate(0), r->releaseIterator); }, iteratorOf(record.name)},
      {named("FIB_DB_GetNextEcmpCfg", "FIB_DB_GetNextGlbCfg"),
       [=] { return step([=](FibDbIterator* iterator) { return r->next(iterator, item); }); },
       iteratorOf(record.name, Rules{{"db_root_iterator_next", stepped}} + filling)},
      {named("FIB_DB_ReleaseEcmpCfgIterator", "FIB_DB_ReleaseGlbCfgIterator"),
       [=] { return step([](FibDbIterator*) { return 0u; }); }, iteratorOf(record.name)},
  };
}

std::vector<Exported> rowsOf(const Setting& setting) {
  const Record& record = *setting.record;
  const Rules gets{{"db_get_" + record.name + "_" + setting.field, one}};
  const Rules sets{{"db_set_" + record.name + "_" + setting.field, one}};
  std::vector<Exported> rows{
      {"FIB_DB_Set" + setting.accessors, [=] { return setting.set(callersObject, 5); }, sets},
      {"FIB_DB_Write" + setting.records, [=] { return setting.write(&vr, 5); }, writing(record, {})},
      {"FIB_DB_Update" + setting.records, [=] { return setting.update(&vr, 5); }, updating(record, sets)}};
  if (setting.get) {
    rows.push_back({"FIB_DB_Get" + setting.accessors,
                    [=] {
                      uint64_t value = 0;
                      return setting.get(callersObject, &value);
                    },
                    gets});
    rows.push_back({"FIB_DB_Read" + setting.records,
                    [=] {
                      uint64_t value = 0;
                      return setting.read(&vr, &value);
                    },
                    reading(record, gets)});
  }
  return rows;
}

std::vector<Exported> rowsOf(const Node& node) {
  const Record& record = *node.record;
  const Rules opens{{"db_create_child_node", one}};
  const Rules gets = opens + Rules{{"db_get_" + record.name + "_" + node.name + "_*", one}};
  const Rules sets = opens + Rules{{"db_set_" + record.name + "_" + node.name + "_*", one}};
  return {{"FIB_DB_Get" + node.getter,
           [=] {
             Bytes out = node.full();
             return node.get(callersObject, out);
           },
           gets},
          {"FIB_DB_Set" + node.setter, [=] { return node.set(callersObject, node.full()); }, sets},
          {"FIB_DB_Read" + node.records,
           [=] {
             Bytes out = node.full();
             return node.read(&vr, out);
           },
           reading(record, gets)},
          {"FIB_DB_Write" + node.records, [=] { return node.write(&vr, node.full()); }, writing(record, opens)},
          {"FIB_DB_Update" + node.records, [=] { return node.update(&vr, node.full()); }, updating(record, sets)}};
}

std::vector<Exported> rows() {
  std::vector<Exported> rows{
      {"FIB_DB_FillEcmpCfgPrimaryKey",
       [] {
         uint32_t words[2];
         return FIB_DB_FillEcmpCfgPrimaryKey(&words[0], &words[1], 42), 0u;
       },
       {}},
      {"FIB_DB_FillGlbCfgKey",
       [] {
         uint32_t words[2];
         return FIB_DB_FillGlbCfgKey(&words[0], &words[1], &vr), 0u;
       },
       {}},
      {"FIB_DB_HandleEcmpCfgDefaultValue", [] { return FIB_DB_HandleEcmpCfgDefaultValue(&ecmpItem), 0u; }, {}},
      {"FIB_DB_GetGlbCfgLoadBalance",
       [] { return FIB_DB_GetGlbCfgLoadBalance(callersObject, &globalItem.loadBalance); },
       {{"db_create_child_node", raw}, {"db_get_global_cfg_load_balance_*", raw}}},
  };
  const auto add = [&](const std::vector<Exported>& more) { rows.insert(rows.end(), more.begin(), more.end()); };
  for (const Record* const record : {&ecmpRecord(), &globalRecord()}) add(rowsOf(*record));
  for (const Setting& setting : allSettings()) add(rowsOf(setting));
  for (const Node& node : allNodes()) add(rowsOf(node));
  return rows;
}

const FaultRows kRows(rows());

}  // namespace
}  // namespace fibdb::test::fault
