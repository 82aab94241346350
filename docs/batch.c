/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* docs/batch.c: batches that fill up, a queue that is full, and operations that the database refuses. */
#include <inttypes.h>
#include <pthread.h>
#include <stdio.h>

#include "fibdb/fibdb.h"

enum { kRoutes = 10000, kRefusedEvery = 1000, kOperations = 256, kWaiting = 2 };

/* Results come on the connection's thread, one after the other. */
static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static FibDbBatchResult total;
static uint32_t batches;

static void applied(void* context, const FibDbBatchResult* result) {
  (void)context;
  pthread_mutex_lock(&mutex);
  ++batches;
  total.operations += result->operations;
  total.inserted += result->inserted;
  total.failed += result->failed;
  if (total.code == 0) total.code = result->code; /* of the first that was refused */
  pthread_mutex_unlock(&mutex);
}

/* Hands the batch over. The record lives as long as the program: it must live until the batch is applied. */
static uint32_t execute(uint64_t* batch) {
  static const FibDbBatchCompletion completion = {.done = applied, .context = NULL};
  uint64_t argument = (uint64_t)(uintptr_t)&completion;
  uint32_t status = FIB_DB_BatchExecuteAsync(batch, &argument);
  while (status == FIB_DB_BATCH_NOT_EXECUTED) { /* too many are waiting: nothing is lost, the batch is kept */
    fibdb_engine_drain(FIB_DB_GetAsyncConn());
    status = FIB_DB_BatchExecuteAsync(batch, &argument);
  }
  return status;
}

/* Adds the route; a batch that is full goes first. */
static uint32_t add(uint64_t* batch, const FibDbIp4forwardItem* route) {
  uint32_t status = FIB_DB_BatchAddOperWriteIp4forward(batch, route, 0);
  if (status != DB_ERR_RETRY) return status;
  status = execute(batch);
  return status != FIB_DB_OK ? status : FIB_DB_BatchAddOperWriteIp4forward(batch, route, 0);
}

int main(void) {
  uint64_t batch = 0;
  if (FIB_DB_CreateAsyncConnect(kWaiting, kOperations) != FIB_DB_OK) return 1; /* in this order */
  if (FIB_DB_GetIp4forwardBatchAsyncObject(&batch) != FIB_DB_OK) return 1;
  for (uint32_t i = 0; i < kRoutes; ++i) {
    /* A mask of 40 is taken into the batch, and refused when the batch is applied. */
    const uint8_t mask = i % kRefusedEvery == 0 ? 40 : 24;
    const FibDbIp4forwardItem route = {.dest_ip_addr = 0x0A000000u + (i << 8), .mask_len = mask, .attr_word_a = i};
    if (add(&batch, &route) != FIB_DB_OK) return 1;
  }
  if (execute(&batch) != FIB_DB_OK) return 1;

  FibDbEngineConnectionStats stats;
  fibdb_engine_drain(FIB_DB_GetAsyncConn()); /* every result is there */
  fibdb_engine_connection_stats(FIB_DB_GetAsyncConn(), &stats);
  FIB_DB_DestroyAsyncConnect();

  if (stats.failed != total.failed || stats.batches != batches) return 1;
  printf("%" PRIu32 " operations in %" PRIu32 " batches: %" PRIu32 " inserted, %" PRIu32 " refused: %s (%" PRIu32 ")\n",
         total.operations, batches, total.inserted, total.failed, fibdb_engine_error_text(total.code), total.code);
  printf("%" PRIu32 " times a batch was full\n", g_ip4WriteDbSetDataRetry);
  return 0;
}
