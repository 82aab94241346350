// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/probes.h: places that a tracer can watch in a running process (docs/operations.md names them).
//
// DESCRIPTION  FIBDB_PROBE(name, a, b) is one instruction that does nothing, and a note in the library that says
// where it is. Built without sys/sdt.h it is nothing at all. a and b are at hand where the probe stands:
// numbers, and names of tables.
#ifndef FIBDB_ENGINE_STORE_PROBES_H
#define FIBDB_ENGINE_STORE_PROBES_H

#ifdef FIBDB_PROBES
#include <sys/sdt.h>
#define FIBDB_PROBE(name, a, b) DTRACE_PROBE2(fibdb, name, a, b)
#else
#define FIBDB_PROBE(name, a, b) static_cast<void>(0)
#endif

#endif
