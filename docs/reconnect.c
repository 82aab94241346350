/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* docs/reconnect.c: a process that loses its connection and opens another, over and over: what to do with the cached
 * batch object, which belongs to the connection that is gone. */
#include <stdio.h>

#include "fibdb/fibdb.h"

/* The object database's own call; its client header declares it. */
extern uint32_t db_release_ip4forward_object(uint64_t obj);

enum { kRounds = 20 };

static int logLine(const char* fmt, ...) { return fprintf(stderr, "fibdb: %s\n", fmt); }

/* The library keeps the batch object when its connection ends. Released and forgotten, it is made anew, on the next
 * connection, by the next FIB_DB_GetIp4forwardBatchAsyncObject. */
static void disconnect(void) {
  FIB_DB_DestroyAsyncConnect(); /* waits until every batch is applied */
  if (g_fibAsyncBatchObject != 0) db_release_ip4forward_object(g_fibAsyncBatchObject);
  g_fibAsyncBatchObject = 0;
}

/* One route of its own a round: 10.0.ROUND.0/24 to group ROUND. */
static FibDbIp4forwardItem routeOf(uint32_t round) {
  FibDbIp4forwardItem route = {.dest_ip_addr = 0x0A000000u + (round << 8), .mask_len = 24, .attr_word_a = round};
  return route;
}

static uint32_t writeRound(uint32_t round) {
  uint64_t batch = 0, argument = 0;
  FibDbIp4forwardItem route = routeOf(round);
  uint32_t status = FIB_DB_GetIp4forwardBatchAsyncObject(&batch);
  if (status == FIB_DB_OK) status = FIB_DB_BatchAddOperWriteIp4forward(&batch, &route, 0);
  if (status == FIB_DB_OK) status = FIB_DB_BatchExecuteAsync(&batch, &argument);
  return status;
}

int main(void) {
  FibDbLogHooks hooks = {NULL, logLine};
  FIB_DB_LogFuncInit(&hooks);

  for (uint32_t round = 0; round < kRounds; ++round) {
    if (FIB_DB_CreateAsyncConnect(0, 0) != FIB_DB_OK) return 1;
    uint32_t status = writeRound(round);
    disconnect();
    if (status != FIB_DB_OK) return 1;
  }

  for (uint32_t round = 0; round < kRounds; ++round) {
    FibDbIp4forwardItem route = routeOf(round);
    if (FIB_DB_ReadIp4forward(&route) != FIB_DB_OK || route.attr_word_a != round) return 1;
  }
  printf("%d connections, a route of each\n", kRounds);
  return 0;
}
