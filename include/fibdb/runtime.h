/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* fibdb/runtime.h: allocation and log hooks, error statistics, update timing, registration of tables.
 *
 * State here is process-wide and plain: no locks, no atomics. Install hooks once, before other threads call in.
 * Counters may lose increments when threads count at the same moment; they are diagnostics.
 */
#ifndef FIBDB_RUNTIME_H
#define FIBDB_RUNTIME_H

#include <stddef.h>

#include "fibdb/common.h"

#ifdef __cplusplus
extern "C" {
#endif

/* size: bytes, never above 32 bits wide. Initially malloc and free of the C library. */
typedef struct FibDbMemHooks {
  void* (*alloc)(size_t size);
  void (*free)(void* block);
} FibDbMemHooks;

/* printf-style; no message ends with a newline. The returned value is not looked at. */
typedef int (*FibDbLogFunc)(const char* fmt, ...) FIBDB_PRINTF;

/* A NULL member drops the messages of that severity; both are NULL initially. */
typedef struct FibDbLogHooks {
  FibDbLogFunc info;
  FibDbLogFunc error;
} FibDbLogHooks;

/* Durations of timed updates, in seconds. */
typedef struct FibDbTickCost {
  double all;
  double latest;
  double averg;
  double max;
  double min;                     /* 1000.0 until the first sample below it */
  uint64_t count;                 /* samples */
  uint32_t ReachedThresholdCount; /* samples above 0.1 s */
} FibDbTickCost;

extern FIBDB_API FibDbMemHooks g_fibDbMemCallback;
extern FIBDB_API FibDbLogHooks g_FibDbLogger;

/* The source_pid of the route item converted last; 7415578 until then. */
extern FIBDB_API uint32_t g_fibSourcePid;

/* Failures by [FibDbTableId][FibDbOperType]; counters wrap. Never reset by the library. */
extern FIBDB_API uint32_t g_fibDbErrStat[FIB_DB_TABLE_COUNT][FIB_DB_OPER_COUNT];

extern FIBDB_API FibDbTickCost g_fibDbOperTickCost;

/* Set non-zero by the embedding process to time the updates that can be timed. Never written by the library. */
extern FIBDB_API uint32_t g_fibGetDbOperTickCost;

/* The fifteen register functions, in the order in which FIB_DB_TableRegisterInit calls them. */
extern FIBDB_API uint32_t (*const g_fibDbTableRegister[15])(void);

/* Takes over both members unchecked: hooks must be non-NULL, and so must its members. Do not replace hooks while
 * blocks of the old pair are alive. */
FIBDB_API void FIB_DB_InitMem(const FibDbMemHooks* hooks);

/* size: bytes. NULL for 0 (the hook is not called), else what the alloc hook returns. */
FIBDB_API void* FIB_DB_Malloc(uint32_t size);

/* Hands block to the free hook, NULL included. */
FIBDB_API void FIB_DB_Free(void* block);

/* A block of count * size bytes, all equal to fill; NULL when it cannot be had or not be filled. */
FIBDB_API void* FIB_DB_MemCalloc(uint32_t count, uint64_t size, uint8_t fill);

/* FIB_DB_ERR for NULL, else FIB_DB_OK. NULL members are accepted: they switch that severity off. */
FIBDB_API uint32_t FIB_DB_LogFuncInit(const FibDbLogHooks* hooks);
FIBDB_API FibDbLogFunc FIB_DB_GetInfoLogCallBack(void);
FIBDB_API FibDbLogFunc FIB_DB_GetErrLogCallBack(void);

FIBDB_API uint32_t FIB_DB_GetSourcePid(void);

/* Adds one to a cell of g_fibDbErrStat; a pair outside the matrix is logged and ignored. */
FIBDB_API void FIB_DB_RecordErrStat(uint32_t tableId, uint32_t oper);

/* The operation's name ("READ", "PUB", ...); never NULL. */
FIBDB_API const char* FIB_DB_GetDbErrOprStr(uint32_t oper);

/* g_fibGetDbOperTickCost. */
FIBDB_API uint32_t FIB_DB_GetTickCost(void);

/* Adds one sample to g_fibDbOperTickCost and logs the record: above 0.1 s as an error, else as information. */
FIBDB_API void FIB_DB_UpdateTick(double elapsedSec);

/* Result processors: a database code and the operation (FibDbOperType) in, the library's status out.
 * Write processors: 0 and 13044 give 0 (13044 is counted under PUB); any other code is logged, counted and
 * returned as it is. Read processors: 15005 gives 60, uncounted; any other failure is logged, counted and gives 1. */
FIBDB_API uint32_t FIB_DB_ProcEcmpCfgReadDBErrResult(uint32_t dbRet, uint32_t oper); /* 0 gives 1 */
FIBDB_API uint32_t FIB_DB_ProcEcmpCfgWriteDBResult(uint32_t dbRet, uint32_t oper);
FIBDB_API uint32_t FIB_DB_ProcGlbCfgWriteDBResult(uint32_t dbRet, uint32_t oper);
FIBDB_API uint32_t FIB_DB_ProcIp4FwdReadDBResult(uint32_t dbRet, uint32_t oper);
FIBDB_API void FIB_DB_ProcIp4FwdIterDBResult(uint32_t dbRet);                  /* 0 and 110012 pass silently */
FIBDB_API void FIB_DB_PrintIp4FwdReadDBResult(uint32_t dbRet);                 /* 0 and 15005 pass silently */
FIBDB_API uint32_t FIB_DB_ProcNhpWriteDBResult(uint32_t dbRet, uint32_t oper); /* logs nothing */
FIBDB_API uint32_t FIB_DB_ProcNhpExtWriteDBResult(uint32_t dbRet, uint32_t oper);
FIBDB_API uint32_t FIB_DB_ProcNhpGrpNodeWriteDBResult(uint32_t dbRet, uint32_t oper);
FIBDB_API uint32_t FIB_DB_ProcNhpLlaWriteDBResult(uint32_t dbRet, uint32_t oper);
FIBDB_API uint32_t FIB_DB_Nhp4ExtSrv6TeLog(uint32_t dbRet, uint32_t oper);
FIBDB_API uint32_t FIB_DB_ProcNhpStdWriteDBResult(uint32_t dbRet, uint32_t oper);
FIBDB_API uint32_t FIB_DB_ProcNhpVpnWriteDBResult(uint32_t dbRet, uint32_t oper);
FIBDB_API uint32_t FIB_DB_NhpVpnSidLog(uint32_t dbRet, uint32_t oper);
FIBDB_API uint32_t FIB_DB_ProcNhpVxlanWriteDBResult(uint32_t dbRet, uint32_t oper);
FIBDB_API uint32_t FIB_DB_ProcNhpVxlanReadDBResult(uint32_t dbRet, uint32_t oper);

/* Registers all fifteen tables with the table service; a failure is logged and the next table follows. */
FIBDB_API void FIB_DB_TableRegisterInit(void);

/* One table each; the table service's code. */
FIBDB_API uint32_t FIB_DB_NhpExtRegister(void);
FIBDB_API uint32_t FIB_DB_NhpExtLabelRegister(void);
FIBDB_API uint32_t FIB_DB_NhpVpnSidRegister(void);
FIBDB_API uint32_t FIB_DB_NhpGroupNodeRegister(void);
FIBDB_API uint32_t FIB_DB_NhpGroupRegister(void);
FIBDB_API uint32_t FIB_DB_PriAttrRegister(void);
FIBDB_API uint32_t FIB_DB_ArGroupAttrRegister(void);
FIBDB_API uint32_t FIB_DB_DodAgingRegister(void);
FIBDB_API uint32_t FIB_DB_DodRuleRegister(void);
FIBDB_API uint32_t FIB_DB_VrfClassDataRegister(void);
FIBDB_API uint32_t FIB_DB_IpForceFragRegister(void);
FIBDB_API uint32_t FIB_DB_VirtualMethHostRegister(void);
FIBDB_API uint32_t FIB_DB_FwdVsVpnRegister(void);
FIBDB_API uint32_t FIB_DB_SpecialIpRegister(void);
FIBDB_API uint32_t FIB_DB_SpecialIpSubRegister(void);

#ifdef __cplusplus
}
#endif

#endif
