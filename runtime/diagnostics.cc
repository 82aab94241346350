// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// runtime/diagnostics.cc: error statistics, operation names, update timing, and the family of result processors.
#include "runtime/diagnostics.h"

#include <iterator>

uint32_t g_fibDbErrStat[FIB_DB_TABLE_COUNT][FIB_DB_OPER_COUNT];
FibDbTickCost g_fibDbOperTickCost = {
    .all = 0, .latest = 0, .averg = 0, .max = 0, .min = 1000.0, .count = 0, .ReachedThresholdCount = 0};
uint32_t g_fibGetDbOperTickCost;

static_assert(sizeof g_fibDbErrStat == 19 * 7 * sizeof(uint32_t));
static_assert(sizeof(FibDbTickCost) == 56);

namespace fibdb {

uint32_t settleWrite(FibDbTableId table, uint32_t code, uint32_t oper, const FailureText& failed) {
  if (succeeds(table, code)) return FIB_DB_OK;
  failed.error(FIB_DB_GetDbErrOprStr(oper), code);
  FIB_DB_RecordErrStat(table, oper);
  return code;
}

uint32_t settleRead(FibDbTableId table, uint32_t code, uint32_t oper, const FailureText& failed) {
  if (code == FIB_DB_OK) return FIB_DB_OK;
  if (code == DB_ERR_NO_DATA) return FIB_DB_NOT_FOUND;
  failed.error(FIB_DB_GetDbErrOprStr(oper), code);
  FIB_DB_RecordErrStat(table, oper);
  return FIB_DB_ERR;
}

namespace {

constexpr const char* kOperNames[] = {"READ", "PUB", "WRITE", "UPDATE", "REMOVE", "EXEC", "ITERATOR", "ERR"};
static_assert(std::size(kOperNames) == FIB_DB_OPER_ERR + 1);

// A sample above this many seconds is an error line.
constexpr double kTickThresholdSec = 0.1;

// Required: the prefix names nhp_std, whichever table's update was timed.
constexpr Text<double, double, double, double, double, uint64_t, uint32_t> kTickText =
    "[fib nhp std] DB oper timeCost: latest=%fs, all=%fs, max=%fs, min=%fs, averg=%fs, count=%lu, "
    "ReachedThresholdCount=%u.";

// A code that is neither success nor the one that is nobody's fault: said and counted, with no status to return.
void check(uint32_t code, uint32_t harmless, FibDbOperType oper, const Text<uint32_t>& failed) {
  if (code == FIB_DB_OK || code == harmless) return;
  failed.error(code);
  FIB_DB_RecordErrStat(FIB_DB_TABLE_IP4FORWARD, oper);
}

}  // namespace
}  // namespace fibdb

using fibdb::settleRead;
using fibdb::settleWrite;

void FIB_DB_RecordErrStat(uint32_t tableId, uint32_t oper) {
  constexpr fibdb::Text<uint32_t, uint32_t> outside = "Set db error stat fail. table %u, error %u";
  if (tableId >= FIB_DB_TABLE_COUNT || oper >= FIB_DB_OPER_COUNT) {
    outside.error(tableId, oper);
    return;
  }
  ++g_fibDbErrStat[tableId][oper];
}

const char* FIB_DB_GetDbErrOprStr(uint32_t oper) {
  // Required: the misspelling.
  return oper < std::size(fibdb::kOperNames) ? fibdb::kOperNames[oper] : "UNKNOW";
}

uint32_t FIB_DB_GetTickCost() { return g_fibGetDbOperTickCost; }

void FIB_DB_UpdateTick(double elapsedSec) {
  FibDbTickCost& cost = g_fibDbOperTickCost;
  cost.all += elapsedSec;
  cost.latest = elapsedSec;
  if (elapsedSec > cost.max) cost.max = elapsedSec;
  if (elapsedSec < cost.min) cost.min = elapsedSec;
  ++cost.count;
  cost.averg = cost.all / static_cast<double>(cost.count);
  const bool slow = elapsedSec > fibdb::kTickThresholdSec;
  if (slow) ++cost.ReachedThresholdCount;

  const auto say = slow ? &decltype(fibdb::kTickText)::error : &decltype(fibdb::kTickText)::info;
  (fibdb::kTickText.*say)(cost.latest, cost.all, cost.max, cost.min, cost.averg, cost.count,
                          cost.ReachedThresholdCount);
}

uint32_t FIB_DB_ProcEcmpCfgReadDBErrResult(uint32_t dbRet, uint32_t oper) {
  // Required: called after failures only, so a 0 is an error, though one that is neither said nor counted.
  if (dbRet == FIB_DB_OK) return FIB_DB_ERR;
  return settleRead(FIB_DB_TABLE_ECMP_CFG, dbRet, oper, "%s ecmp cfg db fail. ret = %d.");
}
uint32_t FIB_DB_ProcEcmpCfgWriteDBResult(uint32_t dbRet, uint32_t oper) {
  return settleWrite(FIB_DB_TABLE_ECMP_CFG, dbRet, oper, "%s ecmp cfg db fail. ret = %d");
}
uint32_t FIB_DB_ProcGlbCfgWriteDBResult(uint32_t dbRet, uint32_t oper) {
  return settleWrite(FIB_DB_TABLE_GLOBAL_CFG, dbRet, oper, "%s fib global cfg db fail. ret = %d");
}
uint32_t FIB_DB_ProcIp4FwdReadDBResult(uint32_t dbRet, uint32_t oper) {
  return settleRead(FIB_DB_TABLE_IP4FORWARD, dbRet, oper, "%s fib ipv4 forward db fail. ret = %d.");
}
void FIB_DB_ProcIp4FwdIterDBResult(uint32_t dbRet) {
  fibdb::check(dbRet, DB_ERR_ITER_END, FIB_DB_OPER_ITERATOR, "Get next ipv4 forward db fail. ret = %d");
}
void FIB_DB_PrintIp4FwdReadDBResult(uint32_t dbRet) {
  fibdb::check(dbRet, DB_ERR_NO_DATA, FIB_DB_OPER_READ, "Get ipv4 forward db fail. ret = %d.");
}
uint32_t FIB_DB_ProcNhpWriteDBResult(uint32_t dbRet, uint32_t oper) {
  // Required: counts, says nothing.
  return settleWrite(FIB_DB_TABLE_NHP, dbRet, oper, {});
}
uint32_t FIB_DB_ProcNhpExtWriteDBResult(uint32_t dbRet, uint32_t oper) {
  return settleWrite(FIB_DB_TABLE_NHP_EXT, dbRet, oper, "%s fib nhp ext db fail. ret = %d");
}
uint32_t FIB_DB_ProcNhpGrpNodeWriteDBResult(uint32_t dbRet, uint32_t oper) {
  return settleWrite(FIB_DB_TABLE_NHP_GROUP_NODE, dbRet, oper, "%s fib nhp group node db fail. ret = %d");
}
uint32_t FIB_DB_ProcNhpLlaWriteDBResult(uint32_t dbRet, uint32_t oper) {
  return settleWrite(FIB_DB_TABLE_NHP_LLA, dbRet, oper, "%s fib nhp lla db fail. ret = %d");
}
uint32_t FIB_DB_Nhp4ExtSrv6TeLog(uint32_t dbRet, uint32_t oper) {
  return settleWrite(FIB_DB_TABLE_PP4EXT_SRV6_TE, dbRet, oper, "%s nhp Nhp4ExtSrv6Te db fail. ret = %u");
}
uint32_t FIB_DB_ProcNhpStdWriteDBResult(uint32_t dbRet, uint32_t oper) {
  return settleWrite(FIB_DB_TABLE_NHP_STD, dbRet, oper, "%s fib nhp std db fail. ret = %d");
}
uint32_t FIB_DB_ProcNhpVpnWriteDBResult(uint32_t dbRet, uint32_t oper) {
  // Required: counted under nhp_vpn, said in the words of the global configuration.
  return settleWrite(FIB_DB_TABLE_NHP_VPN, dbRet, oper, "%s fib global cfg db fail. ret = %d");
}
uint32_t FIB_DB_NhpVpnSidLog(uint32_t dbRet, uint32_t oper) {
  return settleWrite(FIB_DB_TABLE_NHP_VPNSID, dbRet, oper, "%s nhp vpnsid db fail. ret = %u");
}
uint32_t FIB_DB_ProcNhpVxlanWriteDBResult(uint32_t dbRet, uint32_t oper) {
  return settleWrite(FIB_DB_TABLE_NHP_VXLAN, dbRet, oper, "%s fib nhp vxlan db fail. ret = %d");
}
uint32_t FIB_DB_ProcNhpVxlanReadDBResult(uint32_t dbRet, uint32_t oper) {
  return settleRead(FIB_DB_TABLE_NHP_VXLAN, dbRet, oper, "%s fib nhp vxlan db fail. ret = %d.");
}
