/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* docs/short.c: the shortest way from a route to a lookup, without a look at what the calls return: see example.c. */
#include <stdio.h>

#include "fibdb/fibdb.h"

int main(void) {
  FIB_DB_TableRegisterInit();
  FibDbNhpItem nextHop = {.nhp_index = 7, .vrf_index = 0, .flags = 1};
  FIB_DB_WriteNhp(&nextHop);

  uint64_t batch = 0, argument = 0;
  FibDbIp4forwardItem route = {.dest_ip_addr = 0x0A000000, .mask_len = 8, .attr_word_a = 7}; /* 10.0.0.0/8 */
  FIB_DB_CreateAsyncConnect(0, 0);
  FIB_DB_GetIp4forwardBatchAsyncObject(&batch);
  FIB_DB_BatchAddOperWriteIp4forward(&batch, &route, 0);
  FIB_DB_BatchExecuteAsync(&batch, &argument);
  FIB_DB_DestroyAsyncConnect(); /* waits until the batch is applied */

  FibDbIp4forwardItem found = {.dest_ip_addr = 0x0A010203, .mask_len = 32}; /* 10.1.2.3 */
  FIB_DB_ReadIp4forwardByLpm(&found);
  /* 0, and found is 10.0.0.0/8 with group 7 */

  printf("group %u\n", found.attr_word_a);
  return 0;
}
