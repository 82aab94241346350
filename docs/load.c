/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* docs/load.c: the libraries loaded at run time, not linked: first a database, then the library over it. */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "fibdb/fibdb.h"

typedef uint32_t NextHopCall(FibDbNhpItem* item);

/* ISO C has no conversion from an object pointer to a function pointer. */
static NextHopCall* find(void* library, const char* name) {
  NextHopCall* call = NULL;
  void* symbol = dlsym(library, name);
  memcpy(&call, &symbol, sizeof call);
  return call;
}

static uint32_t call(const char* name, FibDbNhpItem* item) {
  void* library = dlopen("libfibdb.so.1", RTLD_LAZY | RTLD_LOCAL);
  if (library == NULL) return FIB_DB_ERR;
  NextHopCall* function = find(library, name);
  const uint32_t status = function != NULL ? function(item) : FIB_DB_ERR;
  return dlclose(library) == 0 ? status : FIB_DB_ERR;
}

int main(void) {
  FibDbNhpItem item = {.nhp_index = 7, .flags = 5};
  if (call("FIB_DB_WriteNhp", &item) == FIB_DB_OK) return 1; /* no database: the library cannot be loaded */
  /* Global, so that the library finds the database's calls. */
  void* database = dlopen("libfibdb-engine.so.1", RTLD_NOW | RTLD_GLOBAL);
  if (database == NULL) return 1;
  if (call("FIB_DB_WriteNhp", &item) != FIB_DB_OK) return 1;
  /* The tables live on: the library has none to lose, and the engine stays once it is loaded. */
  dlclose(database);
  item.flags = 0;
  if (call("FIB_DB_ReadNhp", &item) != FIB_DB_OK) return 1;
  printf("flags %u\n", item.flags);
  return 0;
}
