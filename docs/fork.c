/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* docs/fork.c: a child has a copy of the tables, and makes connections and objects of its own. */
#define _POSIX_C_SOURCE 200809L
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fibdb/fibdb.h"

static uint32_t writeRoute(uint32_t address, uint32_t group) {
  uint64_t batch = 0, argument = 0;
  const FibDbIp4forwardItem route = {.dest_ip_addr = address, .mask_len = 24, .attr_word_a = group};
  uint32_t status = FIB_DB_GetIp4forwardBatchAsyncObject(&batch);
  if (status == FIB_DB_OK) status = FIB_DB_BatchAddOperWriteIp4forward(&batch, &route, 0);
  if (status == FIB_DB_OK) status = FIB_DB_BatchExecuteAsync(&batch, &argument);
  return status != FIB_DB_OK ? status : fibdb_engine_drain(FIB_DB_GetAsyncConn());
}

static uint32_t groupOf(uint32_t address) {
  FibDbIp4forwardItem route = {.dest_ip_addr = address, .mask_len = 32};
  return FIB_DB_ReadIp4forwardByLpm(&route) == FIB_DB_OK ? route.attr_word_a : 0;
}

static int child(void) {
  if (groupOf(0x0A000001) != 1) return 1; /* the parent's route */
  /* Both handles are stale here. They are forgotten, not released. */
  g_fibDbAsyncConn = 0;
  g_fibAsyncBatchObject = 0;
  if (FIB_DB_CreateAsyncConnect(0, 0) != FIB_DB_OK) return 1;
  if (writeRoute(0x0A000000, 2) != FIB_DB_OK || groupOf(0x0A000001) != 2) return 1;
  FIB_DB_DestroyAsyncConnect();
  return 0;
}

int main(void) {
  if (FIB_DB_CreateAsyncConnect(0, 0) != FIB_DB_OK || writeRoute(0x0A000000, 1) != FIB_DB_OK) return 1;
  int status = 1;
  const pid_t pid = fork();
  if (pid < 0) return 1;
  if (pid == 0) _exit(child());
  if (waitpid(pid, &status, 0) != pid) return 1;
  /* The parent's connection goes on, and its table is its own. */
  if (writeRoute(0x0A000100, 3) != FIB_DB_OK) return 1;
  printf("the child ended with %d; group %u here\n", status, groupOf(0x0A000001));
  FIB_DB_DestroyAsyncConnect();
  return 0;
}
