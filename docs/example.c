/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* docs/example.c: what a caller writes: one next hop, one route through a batch, one lookup. */
#include <inttypes.h>
#include <stdarg.h>
#include <stdio.h>

#include "fibdb/fibdb.h"

/* Messages end without a newline. */
static int logLine(const char* fmt, ...) {
  va_list arguments;
  int length = fputs("fibdb: ", stderr);
  va_start(arguments, fmt);
  length += vfprintf(stderr, fmt, arguments);
  va_end(arguments);
  return length + fputs("\n", stderr);
}

/* Called by the engine's thread when the batch has been applied; a refused operation does not stop the others. */
static void applied(void* context, const FibDbBatchResult* result) { *(FibDbBatchResult*)context = *result; }

static int fail(const char* what, uint32_t status) {
  fprintf(stderr, "%s: %s (%" PRIu32 ")\n", what, fibdb_engine_error_text(status), status);
  return 1;
}

int main(void) {
  const FibDbLogHooks hooks = {NULL, logLine};
  uint32_t status = FIB_DB_LogFuncInit(&hooks);
  FIB_DB_TableRegisterInit();

  const FibDbNhpItem nextHop = {.nhp_index = 7, .vrf_index = 0, .flags = 1};
  if ((status = FIB_DB_WriteNhp(&nextHop)) != FIB_DB_OK) return fail("next hop", status);

  FibDbBatchResult result = {0};
  FibDbBatchCompletion completion = {.done = applied, .context = &result};
  uint64_t batch = 0, argument = (uint64_t)(uintptr_t)&completion;
  const FibDbIp4forwardItem route = {.dest_ip_addr = 0x0A000000, .mask_len = 8, .attr_word_a = 7}; /* 10.0.0.0/8 */
  if ((status = FIB_DB_CreateAsyncConnect(0, 0)) != FIB_DB_OK) return fail("connection", status);
  if ((status = FIB_DB_GetIp4forwardBatchAsyncObject(&batch)) != FIB_DB_OK) return fail("batch", status);
  if ((status = FIB_DB_BatchAddOperWriteIp4forward(&batch, &route, 0)) != FIB_DB_OK) return fail("route", status);
  if ((status = FIB_DB_BatchExecuteAsync(&batch, &argument)) != FIB_DB_OK) return fail("execution", status);
  FIB_DB_DestroyAsyncConnect(); /* waits until the batch is applied and its completion has returned */
  if (result.failed > 0) return fail("a route was refused", result.code);

  FibDbIp4forwardItem found = {.dest_ip_addr = 0x0A010203, .mask_len = 32}; /* 10.1.2.3 */
  if ((status = FIB_DB_ReadIp4forwardByLpm(&found)) != FIB_DB_OK) return fail("lookup", status);
  printf("10.1.2.3 goes by 0x%08" PRIX32 "/%u to group %" PRIu32 "\n", found.dest_ip_addr, found.mask_len,
         found.attr_word_a);
  return 0;
}
