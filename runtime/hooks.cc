// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// runtime/hooks.cc: allocation and log hooks, and the source process id of written routes.
#include <cstdlib>

#include "fibdb/runtime.h"
#include "platform/bounds.h"

static_assert(sizeof(FibDbMemHooks) == 16 && sizeof(FibDbLogHooks) == 16);

FibDbMemHooks g_fibDbMemCallback = {.alloc = std::malloc, .free = std::free};
FibDbLogHooks g_FibDbLogger = {.info = nullptr, .error = nullptr};
uint32_t g_fibSourcePid = 7415578;

void FIB_DB_InitMem(const FibDbMemHooks* hooks) { g_fibDbMemCallback = *hooks; }

void* FIB_DB_Malloc(uint32_t size) { return size == 0 ? nullptr : g_fibDbMemCallback.alloc(size); }

void FIB_DB_Free(void* block) { g_fibDbMemCallback.free(block); }

void* FIB_DB_MemCalloc(uint32_t count, uint64_t size, uint8_t fill) {
  const uint64_t total = count * size;
  // Required: the allocation takes the low 32 bits and the fill the full width, so that memset_s refuses a total that
  // was cut, and the short block is given back.
  void* block = FIB_DB_Malloc(static_cast<uint32_t>(total));
  if (block == nullptr) return nullptr;
  if (memset_s(block, total, fill, total) != 0) {
    FIB_DB_Free(block);
    return nullptr;
  }
  return block;
}

uint32_t FIB_DB_LogFuncInit(const FibDbLogHooks* hooks) {
  if (hooks == nullptr) return FIB_DB_ERR;
  g_FibDbLogger = *hooks;
  return FIB_DB_OK;
}

FibDbLogFunc FIB_DB_GetInfoLogCallBack() { return g_FibDbLogger.info; }

FibDbLogFunc FIB_DB_GetErrLogCallBack() { return g_FibDbLogger.error; }

uint32_t FIB_DB_GetSourcePid() { return g_fibSourcePid; }
