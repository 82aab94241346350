/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* fibdb/fibdb.h: the whole exported interface of libfibdb. */
#ifndef FIBDB_FIBDB_H
#define FIBDB_FIBDB_H

#include "fibdb/common.h"
#include "fibdb/config.h"
#include "fibdb/engine.h"
#include "fibdb/nexthop.h"
#include "fibdb/registered.h"
#include "fibdb/route.h"
#include "fibdb/runtime.h"

#endif
