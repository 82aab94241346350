/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* platform/ufib.h: the table service. A device supplies it; so does libfibdb-engine.
 *
 * Every call names a table by the service's own id and returns 0 or a code, unless it returns a handle. A table must
 * be registered first; the service copies the descriptor and works through its functions.
 */
#ifndef FIBDB_PLATFORM_UFIB_H
#define FIBDB_PLATFORM_UFIB_H

#include "fibdb/common.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Stages the changed fields on obj; ctx is what UFIB_DB_Update was given. */
typedef uint32_t (*FibDbUfibSetter)(const FibDbUfibData* ctx, uint64_t obj);

FIBDB_API uint32_t UFIB_DB_TableRegister(uint32_t id, const FibDbTableDesc* desc);
FIBDB_API uint32_t UFIB_DB_Create(uint32_t id, const FibDbUfibData* entry);
FIBDB_API uint32_t UFIB_DB_Read(uint32_t id, const FibDbUfibKey* key, FibDbUfibData* entry);
FIBDB_API uint32_t UFIB_DB_ReadUniqueHash(uint32_t id, const FibDbUfibKey* key, FibDbUfibData* entry);
FIBDB_API uint32_t UFIB_DB_Update(uint32_t id, const FibDbUfibKey* key, const FibDbUfibData* ctx,
                                  FibDbUfibSetter setter);
FIBDB_API uint32_t UFIB_DB_Delete(uint32_t id, const FibDbUfibKey* key);
FIBDB_API uint32_t UFIB_DB_CountByKey(uint32_t id, const FibDbUfibKey* key, uint32_t* count);
/* The iterator, or NULL. */
FIBDB_API void* UFIB_DB_CreateIterator(uint32_t id, uint32_t property);
FIBDB_API void* UFIB_DB_CreateIteratorByKey(uint32_t id, uint32_t property, const FibDbUfibKey* key);
FIBDB_API uint32_t UFIB_DB_GetNextEntry(uint32_t id, void* iter, FibDbUfibData* entry);
FIBDB_API uint32_t UFIB_DB_ReleaseIterator(uint32_t id, void* iter);
/* Microseconds since the Unix epoch. */
FIBDB_API uint64_t UFIB_DB_GetSysTime(void);

#ifdef __cplusplus
}
#endif

#endif
