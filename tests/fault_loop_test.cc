// tests/fault_loop_test.cc: every exported function, with each of its platform calls failing in turn.
//
// Each function runs once per call that it makes and per code below. After each run nothing may be alive, nothing may
// have been released twice, and the status must be the one that the function's rules give for the call that failed. A
// call without a rule fails the test, and so does a rule whose call never came, and an exported function without a row.
#include <algorithm>
#include <fstream>
#include <functional>
#include <ostream>
#include <set>

#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;

constexpr uint32_t kCodes[] = {7, 10740, 13044, 15005, 60003, 60023, 110012};

// In place of a status: an iterator could not be made, and a block could not be had.
constexpr uint32_t kNull = 0xFFFFFFFF;

// What a failed call makes of its code.
using Gives = uint32_t (*)(uint32_t code);
uint32_t raw(uint32_t code) { return code; }
uint32_t one(uint32_t) { return 1; }
uint32_t null(uint32_t) { return kNull; }
uint32_t ignored(uint32_t) { return 0; }
uint32_t written(uint32_t code) { return code == 13044 ? 0 : code; }
uint32_t read(uint32_t code) { return code == 15005 ? 60 : 1; }
uint32_t readOrRaw(uint32_t code) { return code == 15005 ? 60 : code; }
uint32_t stepped(uint32_t code) { return code == 110012 ? 60 : 1; }
uint32_t matched(uint32_t code) { return code == 110012 ? 10003 : code; }
uint32_t executed(uint32_t code) { return code == 60003 || code == 60023 ? 10001 : 1; }
uint32_t counted(uint32_t code) { return code == 110012 ? 0 : code; }

struct Rule {
  std::string call;  // a trailing * stands for any rest
  Gives gives;

  bool covers(const std::string& name) const {
    return call.back() == '*' ? name.starts_with(call.substr(0, call.size() - 1)) : name == call;
  }
};

struct Exported {
  const char* name;
  std::function<uint32_t()> run;
  std::vector<Rule> rules;  // none: it calls nothing

  friend void PrintTo(const Exported& row, std::ostream* out) { *out << row.name; }
};

FibDbNhpItem nhp{.nhp_index = 42};
FibDbIp4forwardItem route{.vr_id = 1, .dest_ip_addr = 0x0A000000, .mask_len = 8};
FibDbArGroupAttrItem group{.keyWord1 = 1, .originType = 1};
FibDbIp4forwardItem routes[4];
FibDbUfibData groupContext{.data = &group, .len = sizeof group};

// A run that ends by giving its iterator back.
template <class Release>
uint32_t made(FibDbIterator* iterator, Release release) {
  if (iterator == nullptr) return kNull;
  release(iterator);
  return 0;
}

template <class Next>
uint32_t stepNhp(Next next) {
  FibDbIterator* const iterator = FIB_DB_CreateNhpIterator(0);
  if (iterator == nullptr) return kNull;
  const uint32_t status = next(iterator);
  FIB_DB_ReleaseNhpIterator(iterator);
  return status;
}

template <class Next>
uint32_t stepRoutes(Next next) {
  FibDbIterator* const iterator = FIB_DB_CreateIp4forwardIteratorByNhpGrpId(1, 2, 0);
  if (iterator == nullptr) return kNull;
  const uint32_t status = next(iterator);
  FIB_DB_ReleaseIp4forwardByNhpGrpId(iterator);
  return status;
}

// A batch object is the platform's to give back: the library never does.
template <class Use>
uint32_t withBatchObject(Use use) {
  g_fibDbAsyncConn = 77;
  uint64_t object = 0;
  uint32_t status = FIB_DB_GetIp4forwardBatchAsyncObject(&object);
  if (status == 0) status = use(&object);
  if (g_fibAsyncBatchObject != 0) PlatformDouble::instance().releaseObject(g_fibAsyncBatchObject);
  return status;
}

const std::vector<Rule> kMakeNhpIterator{{"alloc", null},
                                         {"db_create_nhp_obj", null},
                                         {"db_create_root_iter", null},
                                         {"db_set_root_iterator_property", null},
                                         {"db_release_nhp_object", ignored}};
const std::vector<Rule> kMakeRouteIterator{{"alloc", null},
                                           {"db_create_ip4forward_obj", null},
                                           {"db_create_root_iter", null},
                                           {"db_set_root_iterator_property", null},
                                           {"db_release_ip4forward_object", ignored}};
const std::vector<Rule> kMakeDictionary{{"alloc", null},
                                        {"db_create_ip4forward_obj", null},
                                        {"db_create_stmt", ignored},
                                        {"db_append_stmt_condition", ignored},
                                        {"db_create_root_iterator_by_filter", null},
                                        {"db_set_root_iterator_property", null},
                                        {"db_release_ip4forward_object", ignored}};
const std::vector<Rule> kMakeBatchObject{{"db_create_ip4forward_obj_specific_conn", raw}};

std::vector<Rule> operator+(std::vector<Rule> rules, const std::vector<Rule>& more) {
  rules.insert(rules.end(), more.begin(), more.end());
  return rules;
}

std::vector<Rule> updating(const char* setter) {
  return {
      {"db_create_nhp_obj", raw}, {setter, ignored}, {"db_update_obj", written}, {"db_release_nhp_object", ignored}};
}

const std::vector<Exported>& allExported() {
  static const std::vector<Exported> all{
      // runtime.h
      {"FIB_DB_InitMem", [] { return FIB_DB_InitMem(&g_fibDbMemCallback), 0u; }, {}},
      {"FIB_DB_Malloc",
       [] {
         void* const block = FIB_DB_Malloc(8);
         if (block == nullptr) return kNull;
         FIB_DB_Free(block);
         return 0u;
       },
       {{"alloc", null}}},
      {"FIB_DB_Free",
       [] {
         void* const block = FIB_DB_Malloc(8);
         if (block == nullptr) return kNull;
         return FIB_DB_Free(block), 0u;
       },
       {{"alloc", null}}},
      {"FIB_DB_MemCalloc",
       [] {
         void* const block = FIB_DB_MemCalloc(2, 8, 1);
         if (block == nullptr) return kNull;
         FIB_DB_Free(block);
         return 0u;
       },
       {{"alloc", null}, {"memset_s", null}}},
      {"FIB_DB_LogFuncInit", [] { return FIB_DB_LogFuncInit(&g_FibDbLogger); }, {}},
      {"FIB_DB_GetInfoLogCallBack", [] { return FIB_DB_GetInfoLogCallBack() == nullptr ? kNull : 0u; }, {}},
      {"FIB_DB_GetErrLogCallBack", [] { return FIB_DB_GetErrLogCallBack() == nullptr ? kNull : 0u; }, {}},
      {"FIB_DB_GetSourcePid", [] { return FIB_DB_GetSourcePid() - 7415578u; }, {}},
      {"FIB_DB_RecordErrStat", [] { return FIB_DB_RecordErrStat(0, 0), 0u; }, {}},
      {"FIB_DB_GetDbErrOprStr", [] { return FIB_DB_GetDbErrOprStr(0) == nullptr ? kNull : 0u; }, {}},
      {"FIB_DB_GetTickCost", [] { return FIB_DB_GetTickCost(); }, {}},
      {"FIB_DB_UpdateTick", [] { return FIB_DB_UpdateTick(0.01), 0u; }, {}},
      {"FIB_DB_ProcEcmpCfgReadDBErrResult", [] { return FIB_DB_ProcEcmpCfgReadDBErrResult(0, 0) - 1; }, {}},
      {"FIB_DB_ProcEcmpCfgWriteDBResult", [] { return FIB_DB_ProcEcmpCfgWriteDBResult(0, 2); }, {}},
      {"FIB_DB_ProcGlbCfgWriteDBResult", [] { return FIB_DB_ProcGlbCfgWriteDBResult(0, 2); }, {}},
      {"FIB_DB_ProcIp4FwdReadDBResult", [] { return FIB_DB_ProcIp4FwdReadDBResult(0, 0); }, {}},
      {"FIB_DB_ProcIp4FwdIterDBResult", [] { return FIB_DB_ProcIp4FwdIterDBResult(0), 0u; }, {}},
      {"FIB_DB_PrintIp4FwdReadDBResult", [] { return FIB_DB_PrintIp4FwdReadDBResult(0), 0u; }, {}},
      {"FIB_DB_ProcNhpWriteDBResult", [] { return FIB_DB_ProcNhpWriteDBResult(0, 2); }, {}},
      {"FIB_DB_ProcNhpExtWriteDBResult", [] { return FIB_DB_ProcNhpExtWriteDBResult(0, 2); }, {}},
      {"FIB_DB_ProcNhpGrpNodeWriteDBResult", [] { return FIB_DB_ProcNhpGrpNodeWriteDBResult(0, 2); }, {}},
      {"FIB_DB_ProcNhpLlaWriteDBResult", [] { return FIB_DB_ProcNhpLlaWriteDBResult(0, 2); }, {}},
      {"FIB_DB_Nhp4ExtSrv6TeLog", [] { return FIB_DB_Nhp4ExtSrv6TeLog(0, 2); }, {}},
      {"FIB_DB_ProcNhpStdWriteDBResult", [] { return FIB_DB_ProcNhpStdWriteDBResult(0, 2); }, {}},
      {"FIB_DB_ProcNhpVpnWriteDBResult", [] { return FIB_DB_ProcNhpVpnWriteDBResult(0, 2); }, {}},
      {"FIB_DB_NhpVpnSidLog", [] { return FIB_DB_NhpVpnSidLog(0, 2); }, {}},
      {"FIB_DB_ProcNhpVxlanWriteDBResult", [] { return FIB_DB_ProcNhpVxlanWriteDBResult(0, 2); }, {}},
      {"FIB_DB_ProcNhpVxlanReadDBResult", [] { return FIB_DB_ProcNhpVxlanReadDBResult(0, 0); }, {}},
      {"FIB_DB_TableRegisterInit", [] { return FIB_DB_TableRegisterInit(), 0u; }, {{"UFIB_DB_TableRegister", ignored}}},
      {"FIB_DB_NhpExtRegister", FIB_DB_NhpExtRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_NhpExtLabelRegister", FIB_DB_NhpExtLabelRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_NhpVpnSidRegister", FIB_DB_NhpVpnSidRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_NhpGroupNodeRegister", FIB_DB_NhpGroupNodeRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_NhpGroupRegister", FIB_DB_NhpGroupRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_PriAttrRegister", FIB_DB_PriAttrRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_ArGroupAttrRegister", FIB_DB_ArGroupAttrRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_DodAgingRegister", FIB_DB_DodAgingRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_DodRuleRegister", FIB_DB_DodRuleRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_VrfClassDataRegister", FIB_DB_VrfClassDataRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_IpForceFragRegister", FIB_DB_IpForceFragRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_VirtualMethHostRegister", FIB_DB_VirtualMethHostRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_FwdVsVpnRegister", FIB_DB_FwdVsVpnRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_SpecialIpRegister", FIB_DB_SpecialIpRegister, {{"UFIB_DB_TableRegister", raw}}},
      {"FIB_DB_SpecialIpSubRegister", FIB_DB_SpecialIpSubRegister, {{"UFIB_DB_TableRegister", raw}}},

      // nexthop.h
      {"FIB_DB_SetNhpKey", [] { return FIB_DB_SetNhpKey(&nhp.vr_id, 0), 0u; }, {}},
      {"FIB_DB_SetNhpKeyField",
       [] {
         FibDbKeyDesc desc{};
         uint32_t key = 0;
         return FIB_DB_SetNhpKeyField(&desc, &key, &nhp), 0u;
       },
       {}},
      {"FIB_DB_SetNhpItem", [] { return FIB_DB_SetNhpItem(1, &nhp); }, {{"db_set_nhp_*", one}}},
      {"FIB_DB_GetNhpItem", [] { return FIB_DB_GetNhpItem(1, &nhp), 0u; }, {{"db_get_nhp_*", ignored}}},
      {"FIB_DB_WriteNhp",
       [] { return FIB_DB_WriteNhp(&nhp); },
       {{"db_create_nhp_obj", raw},
        {"db_set_nhp_*", one},
        {"db_write_obj", written},
        {"db_release_nhp_object", ignored}}},
      {"FIB_DB_ReadNhp",
       [] { return FIB_DB_ReadNhp(&nhp); },
       {{"db_create_nhp_obj", raw},
        {"db_read_obj", readOrRaw},
        {"db_get_nhp_*", ignored},
        {"db_release_nhp_object", ignored}}},
      {"FIB_DB_RemoveNhp",
       [] { return FIB_DB_RemoveNhp(&nhp); },
       {{"db_create_nhp_obj", raw}, {"db_remove_obj", written}, {"db_release_nhp_object", ignored}}},
      {"FIB_DB_UpdateNhpFields",
       [] { return FIB_DB_UpdateNhpFields(&nhp, [](uint64_t, const void*) { return 5u; }); },
       {{"db_create_nhp_obj", raw}, {"db_update_obj", written}, {"db_release_nhp_object", ignored}}},
      {"FIB_DB_SetNhpRefCount", [] { return FIB_DB_SetNhpRefCount(1, &nhp); }, {{"db_set_nhp_ref_cnt", raw}}},
      {"FIB_DB_SetNhpFlags", [] { return FIB_DB_SetNhpFlags(1, &nhp); }, {{"db_set_nhp_flags", raw}}},
      {"FIB_DB_SetNhpNumAndSmoothID", [] { return FIB_DB_SetNhpNumAndSmoothID(1, &nhp); }, {{"db_set_nhp_*", one}}},
      {"FIB_DB_SetNhpSmoothID", [] { return FIB_DB_SetNhpSmoothID(1, &nhp); }, {{"db_set_nhp_table_smooth_id", one}}},
      {"FIB_DB_UpdateNhpRefCount", [] { return FIB_DB_UpdateNhpRefCount(&nhp); }, updating("db_set_nhp_ref_cnt")},
      {"FIB_DB_UpdateNhpFlags", [] { return FIB_DB_UpdateNhpFlags(&nhp); }, updating("db_set_nhp_flags")},
      {"FIB_DB_UpdateNhpNumAndSmoothID", [] { return FIB_DB_UpdateNhpNumAndSmoothID(&nhp); }, updating("db_set_nhp_*")},
      {"FIB_DB_UpdateNhpSmoothID", [] { return FIB_DB_UpdateNhpSmoothID(&nhp); },
       updating("db_set_nhp_table_smooth_id")},
      {"FIB_DB_CreateNhpIterator", [] { return made(FIB_DB_CreateNhpIterator(0), FIB_DB_ReleaseNhpIterator); },
       kMakeNhpIterator},
      {"FIB_DB_CreateNhpIteratorByVrf",
       [] { return made(FIB_DB_CreateNhpIteratorByVrf(1, 2, 3, 0), FIB_DB_ReleaseNhpIterator); }, kMakeNhpIterator},
      {"FIB_DB_GetNextNhpEntry",
       [] { return stepNhp([](FibDbIterator* iterator) { return FIB_DB_GetNextNhpEntry(iterator, &nhp); }); },
       kMakeNhpIterator + std::vector<Rule>{{"db_root_iterator_next", stepped}, {"db_get_nhp_*", ignored}}},
      {"FIB_DB_ReleaseNhpIterator", [] { return stepNhp([](FibDbIterator*) { return 0u; }); }, kMakeNhpIterator},

      // route.h
      {"FIB_DB_SetIp4forwardKey",
       [] {
         FibDbIp4forwardKey key;
         return FIB_DB_SetIp4forwardKey(&key, 1, 2, 3, 4), 0u;
       },
       {}},
      {"FIB_DB_GetIp4forwardKey",
       [] {
         FibDbIp4forwardKey key{}, copy;
         return FIB_DB_GetIp4forwardKey(&key, &copy), 0u;
       },
       {}},
      {"FIB_DB_SetIp4forwardItem",
       [] {
         FibDbIp4forwardRecord record;
         return FIB_DB_SetIp4forwardItem(&route, &record), 0u;
       },
       {{"memcpy_s", ignored}}},
      {"FIB_DB_GetIp4forwardItem",
       [] {
         FibDbIp4forwardRecord record{};
         return FIB_DB_GetIp4forwardItem(&record, &route), 0u;
       },
       {{"memcpy_s", ignored}}},
      {"FIB_DB_SetIp4forwardKeyField",
       [] {
         FibDbKeyDesc desc{};
         FibDbIp4forwardKey key;
         return FIB_DB_SetIp4forwardKeyField(&desc, &key, &route), 0u;
       },
       {}},
      {"FIB_DB_ReadIp4forward",
       [] { return FIB_DB_ReadIp4forward(&route); },
       {{"db_create_ip4forward_obj", raw},
        {"db_read_obj_with_buf", read},
        {"memcpy_s", ignored},
        {"db_release_ip4forward_object", ignored}}},
      {"FIB_DB_ReadIp4forwardByLpm",
       [] { return FIB_DB_ReadIp4forwardByLpm(&route); },
       {{"db_create_ip4forward_obj", raw},
        {"db_create_root_iter", raw},
        {"db_root_iterator_next", matched},
        {"db_read_obj_with_buf", read},
        {"memcpy_s", ignored},
        {"db_release_ip4forward_object", ignored}}},
      {"FIB_DB_CountIp4forward",
       [] {
         uint32_t count;
         return FIB_DB_CountIp4forward(&count);
       },
       {{"db_create_ip4forward_obj", raw},
        {"db_get_table_record_count", raw},
        {"db_release_ip4forward_object", ignored}}},
      {"FIB_DB_CountIp4forwardByHighStatus",
       [] {
         uint32_t count;
         return FIB_DB_CountIp4forwardByHighStatus(0, &count);
       },
       {{"db_create_ip4forward_obj", raw},
        {"db_create_root_iter", raw},
        {"db_root_iterator_next", counted},
        {"db_get_ip4forward_all_fields", raw},
        {"db_release_ip4forward_object", ignored}}},
      {"FIB_DB_CreateIp4forwardIterator",
       [] { return made(FIB_DB_CreateIp4forwardIterator(0), FIB_DB_ReleaseIp4forwardIterator); }, kMakeRouteIterator},
      {"FIB_DB_CreateDictionaryIterator",
       [] { return made(FIB_DB_CreateDictionaryIterator(0), FIB_DB_ReleaseIp4forwardIterator); }, kMakeDictionary},
      {"FIB_DB_CreateIp4forwardIteratorByVrf",
       [] { return made(FIB_DB_CreateIp4forwardIteratorByVrf(1, 2, 3, 0), FIB_DB_ReleaseIp4forwardIterator); },
       kMakeRouteIterator},
      {"FIB_DB_CreateIp4forwardIteratorByNhpGrpId",
       [] { return made(FIB_DB_CreateIp4forwardIteratorByNhpGrpId(1, 2, 0), FIB_DB_ReleaseIp4forwardByNhpGrpId); },
       kMakeRouteIterator},
      {"FIB_DB_GetNextIp4forward",
       [] { return stepRoutes([](FibDbIterator* iterator) { return FIB_DB_GetNextIp4forward(iterator, &route); }); },
       kMakeRouteIterator + std::vector<Rule>{{"db_root_iterator_next", stepped},
                                              {"db_read_obj_with_buf", read},
                                              {"memcpy_s", ignored}}},
      {"FIB_DB_GetNextIp4forwardByNhpGrpId",
       [] {
         return stepRoutes([](FibDbIterator* iterator) {
           uint32_t filled = 0;
           return FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, sizeof routes, routes, &filled);
         });
       },
       kMakeRouteIterator + std::vector<Rule>{{"db_root_iterator_next", ignored},
                                              {"db_read_obj_with_buf", ignored},
                                              {"memcpy_s", ignored}}},
      {"FIB_DB_ReleaseIp4forwardIterator",
       [] { return made(FIB_DB_CreateIp4forwardIterator(0), FIB_DB_ReleaseIp4forwardIterator); }, kMakeRouteIterator},
      {"FIB_DB_ReleaseIp4forwardByNhpGrpId", [] { return stepRoutes([](FibDbIterator*) { return 0u; }); },
       kMakeRouteIterator},
      {"FIB_DB_CreateAsyncConnect", [] { return FIB_DB_CreateAsyncConnect(1, 2); }, {{"db_connect", raw}}},
      {"FIB_DB_DestroyAsyncConnect",
       [] {
         g_fibDbAsyncConn = 77;
         return FIB_DB_DestroyAsyncConnect(), 0u;
       },
       {{"db_disconnect", ignored}}},
      {"FIB_DB_GetAsyncConn", [] { return static_cast<uint32_t>(FIB_DB_GetAsyncConn()); }, {}},
      {"FIB_DB_GetIp4forwardBatchAsyncObject",
       [] { return withBatchObject([](uint64_t* object) { return FIB_DB_GetIp4forwardBatchAsyncObject(object); }); },
       kMakeBatchObject + std::vector<Rule>{{"db_reset_ip4forward_object", raw}}},
      {"FIB_DB_BatchAddOperWriteIp4forward",
       [] {
         return withBatchObject([](uint64_t* object) { return FIB_DB_BatchAddOperWriteIp4forward(object, &route, 0); });
       },
       kMakeBatchObject + std::vector<Rule>{{"memcpy_s", ignored},
                                            {"db_reset_ip4forward_batch_object", raw},
                                            {"db_set_ip4forward_all_fields", raw},
                                            {"db_batch_add_oper", raw}}},
      {"FIB_DB_WriteIp4forward",
       [] { return withBatchObject([](uint64_t* object) { return FIB_DB_WriteIp4forward(*object, &route); }); },
       kMakeBatchObject + std::vector<Rule>{{"memcpy_s", ignored},
                                            {"db_reset_ip4forward_batch_object", raw},
                                            {"db_set_ip4forward_all_fields", raw},
                                            {"db_batch_add_oper", raw}}},
      {"FIB_DB_UpdateIp4forward",
       [] { return withBatchObject([](uint64_t* object) { return FIB_DB_UpdateIp4forward(*object, &route); }); },
       kMakeBatchObject + std::vector<Rule>{{"db_reset_ip4forward_batch_object", raw},
                                            {"db_set_ip4forward_table_smooth_id", raw},
                                            {"db_set_ip4forward_time_stamp_svc", raw},
                                            {"db_batch_add_oper", raw}}},
      {"FIB_DB_BatchAddOperRemoveIp4forward",
       [] {
         return withBatchObject([](uint64_t* object) { return FIB_DB_BatchAddOperRemoveIp4forward(object, &route); });
       },
       kMakeBatchObject + std::vector<Rule>{{"db_reset_ip4forward_batch_object", raw}, {"db_batch_add_oper", raw}}},
      {"FIB_DB_BatchExecuteAsync",
       [] {
         uint64_t argument = 0;
         return withBatchObject([&](uint64_t* object) { return FIB_DB_BatchExecuteAsync(object, &argument); });
       },
       kMakeBatchObject + std::vector<Rule>{{"db_batch_exec_async", executed}}},

      // registered.h
      {"FIB_DB_SetArGroupAttrFields",
       [] {
         FibDbArGroupAttrRow row{};
         return FIB_DB_SetArGroupAttrFields(&group, &row) == 0 ? kNull : 0u;
       },
       {}},
      {"FIB_DB_GetArGroupAttrFields",
       [] {
         FibDbArGroupAttrRow row{};
         return FIB_DB_GetArGroupAttrFields(&row, &group), 0u;
       },
       {}},
      {"FIB_DB_SetArGroupAttrPriKey",
       [] {
         uint32_t id;
         uint8_t key[9];
         return FIB_DB_SetArGroupAttrPriKey(&group, &id, key), 0u;
       },
       {}},
      {"FIB_DB_SetArGroupAttrAttrIdHashKey",
       [] {
         uint32_t id;
         uint8_t key[8];
         return FIB_DB_SetArGroupAttrAttrIdHashKey(&group, &id, key), 0u;
       },
       {}},
      {"FIB_DB_SetArGroupAttrOriginatorIdHashKey",
       [] {
         uint32_t id;
         uint8_t key[9];
         return FIB_DB_SetArGroupAttrOriginatorIdHashKey(&group, &id, key), 0u;
       },
       {}},
      {"FIB_DB_SetArGroupAttrOriginAsnHashKey",
       [] {
         uint32_t id;
         uint8_t key[9];
         return FIB_DB_SetArGroupAttrOriginAsnHashKey(&group, &id, key), 0u;
       },
       {}},
      {"FIB_DB_SetArGroupAttrGroupTypeHashKey",
       [] {
         FibDbArGroupAttrItem query{};
         return FIB_DB_SetArGroupAttrGroupTypeHashKey(&query, &group), 0u;
       },
       {}},
      {"FIB_DB_SetArGroupAttrSmoothID",
       [] { return FIB_DB_SetArGroupAttrSmoothID(&groupContext, 1); },
       {{"db_set_ar_group_attr_*", raw}}},
      {"FIB_DB_CreateArGroupAttr", [] { return FIB_DB_CreateArGroupAttr(&group); }, {{"UFIB_DB_Create", raw}}},
      {"FIB_DB_ReadArGroupAttr", [] { return FIB_DB_ReadArGroupAttr(&group); }, {{"UFIB_DB_Read", raw}}},
      {"FIB_DB_ReadArGroupAttrByAttrIdHash",
       [] { return FIB_DB_ReadArGroupAttrByAttrIdHash(&group); },
       {{"UFIB_DB_ReadUniqueHash", raw}}},
      {"FIB_DB_ReadArGroupAttrByGroupTypeHash",
       [] { return FIB_DB_ReadArGroupAttrByGroupTypeHash(&group); },
       {{"UFIB_DB_ReadUniqueHash", raw}}},
      {"FIB_DB_UpdateArGroupAttrSmoothId",
       [] { return FIB_DB_UpdateArGroupAttrSmoothId(&group); },
       {{"UFIB_DB_Update", raw}, {"db_set_ar_group_attr_*", raw}}},
      {"FIB_DB_DeleteArGroupAttr", [] { return FIB_DB_DeleteArGroupAttr(&group); }, {{"UFIB_DB_Delete", raw}}},
      {"FIB_DB_CountArGroupAttrByGroupTypeHash",
       [] {
         uint32_t count;
         return FIB_DB_CountArGroupAttrByGroupTypeHash(&group, &count);
       },
       {{"UFIB_DB_CountByKey", raw}}},
      {"FIB_DB_CreateArGroupAttrIterator",
       [] {
         void* const iterator = FIB_DB_CreateArGroupAttrIterator(0);
         return iterator == nullptr ? kNull : FIB_DB_ReleaseArGroupAttrIterator(iterator);
       },
       {{"UFIB_DB_CreateIterator", null}, {"UFIB_DB_ReleaseIterator", raw}}},
      {"FIB_DB_CreateArGroupAttrIteratorByOriginValue",
       [] {
         void* const iterator = FIB_DB_CreateArGroupAttrIteratorByOriginValue(&group, 0);
         return iterator == nullptr ? kNull : FIB_DB_ReleaseArGroupAttrIterator(iterator);
       },
       {{"UFIB_DB_CreateIteratorByKey", null}, {"UFIB_DB_ReleaseIterator", raw}}},
      {"FIB_DB_GetNextArGroupAttrEntry",
       [] { return FIB_DB_GetNextArGroupAttrEntry(&group, &group); },
       {{"UFIB_DB_GetNextEntry", raw}}},
      {"FIB_DB_ReleaseArGroupAttrIterator", [] { return FIB_DB_ReleaseArGroupAttrIterator(nullptr); }, {}},
  };
  return all;
}

class FaultLoop : public TablesTest, public testing::WithParamInterface<Exported> {
 protected:
  // Two entries to iterate over: rows of any table, of the longest length.
  void prepare() {
    platform.reset();
    platform.entries = {Row(schema::kMaxRowLength), Row(schema::kMaxRowLength)};
  }
};

TEST_P(FaultLoop, gives_the_required_status_and_leaves_nothing_behind) {
  const Exported& exported = GetParam();
  prepare();
  EXPECT_EQ(exported.run(), 0u);
  EXPECT_EQ(platform.leaks(), "");
  const uint64_t calls = platform.allCalls.size();
  EXPECT_EQ(calls == 0, exported.rules.empty());

  std::set<std::string> used;
  for (const uint32_t code : kCodes) {
    for (uint64_t n = 1; n <= calls; ++n) {
      prepare();
      platform.failNth(n, code);
      const uint32_t status = exported.run();
      const std::string failed = platform.failedCall();
      const auto rule = std::ranges::find_if(exported.rules, [&](const Rule& r) { return r.covers(failed); });
      ASSERT_NE(rule, exported.rules.end()) << "no rule for " << failed << ", call " << n;
      used.insert(rule->call);
      EXPECT_EQ(status, rule->gives(code)) << failed << " failing with " << code << ", call " << n;
      EXPECT_EQ(platform.leaks(), "") << failed << " failing with " << code << ", call " << n;
    }
  }
  EXPECT_EQ(used.size(), exported.rules.size()) << "a rule whose call never came";
}

INSTANTIATE_TEST_SUITE_P(Exports, FaultLoop, testing::ValuesIn(allExported()),
                         [](const auto& info) { return std::string(info.param.name); });

// The checked-in list of what the library exports, functions only.
TEST(FaultLoopRows, cover_every_exported_function) {
  std::set<std::string> rows;
  for (const Exported& exported : allExported()) EXPECT_TRUE(rows.insert(exported.name).second) << exported.name;
  std::ifstream list(FIBDB_EXPORTS_FILE);
  std::set<std::string> functions;
  for (std::string line; std::getline(list, line);) {
    if (!line.empty() && line[0] != '#' && !line.starts_with("g_")) functions.insert(line);
  }
  EXPECT_FALSE(functions.empty());
  EXPECT_EQ(rows, functions);
}

}  // namespace
}  // namespace fibdb::test
