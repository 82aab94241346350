/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* platform/bounds.h: the bounds-checked memory and string functions (C11 Annex K signatures and semantics). A device
 * supplies them; so does libfibdb-engine. 0, or a code when a bound is violated. */
#ifndef FIBDB_PLATFORM_BOUNDS_H
#define FIBDB_PLATFORM_BOUNDS_H

#include <stddef.h>

#include "fibdb/common.h"

#ifdef __cplusplus
extern "C" {
#endif

FIBDB_API int memcpy_s(void* dst, size_t dstMax, const void* src, size_t count);
FIBDB_API int memset_s(void* dst, size_t dstMax, int value, size_t count);
FIBDB_API int strcpy_s(char* dst, size_t dstMax, const char* src);
FIBDB_API int strncpy_s(char* dst, size_t dstMax, const char* src, size_t count);

#ifdef __cplusplus
}
#endif

#endif
