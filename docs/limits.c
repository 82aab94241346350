/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* docs/limits.c: a table at its limits, and what the counters say then. */
#include <inttypes.h>
#include <stdio.h>

#include "fibdb/fibdb.h"

static FibDbEngineTableStats statsOf(uint32_t table) {
  FibDbEngineTableStats stats = {0};
  fibdb_engine_table_stats(table, &stats);
  return stats;
}

static uint32_t writeNextHop(uint32_t index) {
  const FibDbNhpItem nextHop = {.nhp_index = index};
  return FIB_DB_WriteNhp(&nextHop);
}

int main(void) {
  const uint32_t table = fibdb_engine_find_table("nhp");
  if (table == UINT32_MAX || fibdb_engine_set_limits(table, 1000, 0) != 0) return 1;
  uint32_t index = 0, status;
  while ((status = writeNextHop(index)) == FIB_DB_OK) ++index;
  printf("%" PRIu32 " next hops, then %" PRIu32 ": %s\n", index, status, fibdb_engine_error_text(status));
  if (writeNextHop(0) != FIB_DB_OK) return 1; /* what is there can be replaced */
  const FibDbNhpItem first = {.nhp_index = 0};
  if (FIB_DB_RemoveNhp(&first) != FIB_DB_OK || writeNextHop(index) != FIB_DB_OK) return 1; /* and make room */

  if (fibdb_engine_set_limits(table, 0, 4u << 20) != 0) return 1; /* no limit of records, 4 MiB */
  while ((status = writeNextHop(++index)) == FIB_DB_OK) continue;
  const FibDbEngineTableStats stats = statsOf(table);
  if (stats.bytes > stats.memoryLimit) return 1;
  printf("then %" PRIu32 ": %s\n", status, fibdb_engine_error_text(status));
  printf("refused %" PRIu64 ", counted under nhp WRITE %" PRIu32 "\n", stats.refused,
         g_fibDbErrStat[FIB_DB_TABLE_NHP][FIB_DB_OPER_WRITE]);
  return 0;
}
