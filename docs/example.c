/* docs/example.c: what a caller writes: one next hop, one route through a batch, one lookup. */
#include <stdio.h>

#include "fibdb/fibdb.h"

static int logLine(const char* fmt, ...) { return fprintf(stderr, "fibdb: %s\n", fmt); }

int main(void) {
  FibDbLogHooks hooks = {NULL, logLine};
  FIB_DB_LogFuncInit(&hooks);
  FIB_DB_TableRegisterInit();

  FibDbNhpItem nextHop = {.nhp_index = 7, .vrf_index = 0, .flags = 1};
  if (FIB_DB_WriteNhp(&nextHop) != FIB_DB_OK) return 1;

  uint64_t batch = 0, argument = 0;
  FibDbIp4forwardItem route = {.dest_ip_addr = 0x0A000000, .mask_len = 8, .attr_word_a = 7}; /* 10.0.0.0/8 */
  if (FIB_DB_CreateAsyncConnect(0, 0) != FIB_DB_OK) return 1;
  if (FIB_DB_GetIp4forwardBatchAsyncObject(&batch) != FIB_DB_OK) return 1;
  if (FIB_DB_BatchAddOperWriteIp4forward(&batch, &route, 0) != FIB_DB_OK) return 1;
  if (FIB_DB_BatchExecuteAsync(&batch, &argument) != FIB_DB_OK) return 1;
  FIB_DB_DestroyAsyncConnect(); /* waits until the batch is applied */

  FibDbIp4forwardItem found = {.dest_ip_addr = 0x0A010203, .mask_len = 32}; /* 10.1.2.3 */
  if (FIB_DB_ReadIp4forwardByLpm(&found) != FIB_DB_OK) return 1;
  printf("10.1.2.3 goes by 0x%08X/%u to group %u\n", found.dest_ip_addr, found.mask_len, found.attr_word_a);
  return 0;
}
