// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/runtime/runtime_faults.cc: the rows of runtime.h for the fault loop.
#include "fibdb/runtime.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

const FaultRows kRows{
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
};

}  // namespace
}  // namespace fibdb::test::fault
