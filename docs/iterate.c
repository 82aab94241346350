/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* docs/iterate.c: iterators and reads of several records at once. */
#include <inttypes.h>
#include <stdio.h>

#include "fibdb/fibdb.h"

enum { kRoutes = 100, kGroups = 2, kRoom = 8 };

static FibDbIp4forwardItem routeOf(uint32_t i) {
  const FibDbIp4forwardItem route = {
      .dest_ip_addr = 0x0A000000u + (i << 8), .mask_len = 24, .attr_word_a = i % kGroups};
  return route;
}

static int load(void) {
  uint64_t batch = 0, argument = 0;
  if (FIB_DB_CreateAsyncConnect(0, 0) != FIB_DB_OK) return 0;
  if (FIB_DB_GetIp4forwardBatchAsyncObject(&batch) != FIB_DB_OK) return 0;
  for (uint32_t i = kRoutes; i-- > 0;) {
    const FibDbIp4forwardItem route = routeOf(i);
    if (FIB_DB_BatchAddOperWriteIp4forward(&batch, &route, 0) != FIB_DB_OK) return 0;
  }
  if (FIB_DB_BatchExecuteAsync(&batch, &argument) != FIB_DB_OK) return 0;
  FIB_DB_DestroyAsyncConnect();
  return 1;
}

/* In key order; the handle is the caller's until it is released, and one thread's. */
static uint32_t walk(void) {
  FibDbIp4forwardItem route;
  uint32_t seen = 0, status;
  FibDbIterator* iterator = FIB_DB_CreateDictionaryIterator(FIB_DB_NO_PROPERTY);
  if (iterator == NULL) return 0;
  while ((status = FIB_DB_GetNextIp4forward(iterator, &route)) == FIB_DB_OK) {
    if (route.dest_ip_addr != routeOf(seen).dest_ip_addr) break;
    ++seen;
  }
  FIB_DB_ReleaseIp4forwardIterator(iterator);
  return status == FIB_DB_NOT_FOUND ? seen : 0; /* 60 is the end; 1 would be a failure, which was logged */
}

/* The routes of a group, a few at a time: here 1 says that there is more to come, and 0 that this was all. */
static uint32_t routesOfGroup(uint32_t group) {
  FibDbIp4forwardItem routes[kRoom];
  uint32_t total = 0, count, status;
  FibDbIterator* iterator = FIB_DB_CreateIp4forwardIteratorByNhpGrpId(group, 0, -1);
  if (iterator == NULL) return 0;
  do {
    count = 0; /* the call adds to it */
    status = FIB_DB_GetNextIp4forwardByNhpGrpId(iterator, sizeof routes, routes, &count);
    total += count;
  } while (status == FIB_DB_ERR);
  FIB_DB_ReleaseIp4forwardByNhpGrpId(iterator);
  return total;
}

/* Reads into an array do not say that there was more: count first. */
static uint32_t interfacesOf(uint32_t nhpIndex) {
  FibDbNhpStdItem found[kRoom];
  uint32_t expected = 0, count = 0;
  if (FIB_DB_CountNhpStdByNhpIndex(nhpIndex, &expected) != FIB_DB_OK || expected > kRoom) return 0;
  if (FIB_DB_ReadNhpStdByNhpIndex(nhpIndex, sizeof found, found, &count) != FIB_DB_OK) return 0;
  return count;
}

int main(void) {
  if (!load()) return 1;
  for (uint32_t i = 0; i < 3; ++i) {
    const FibDbNhpStdItem nextHop = {.nhp_index = 7, .next_hop = 0xC0000201u, .out_if_index = i};
    if (FIB_DB_WriteNhpStd(&nextHop) != FIB_DB_OK) return 1;
  }
  printf("%" PRIu32 " routes in key order, %" PRIu32 " of group 1, %" PRIu32 " interfaces\n", walk(), routesOfGroup(1),
         interfacesOf(7));
  return 0;
}
