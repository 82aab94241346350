// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/rte_memory.h: DPDK's memory, without huge page files, devices or other processes.
#ifndef FIBDB_BENCH_PEERS_RTE_MEMORY_H
#define FIBDB_BENCH_PEERS_RTE_MEMORY_H

#include <cstdint>

namespace fibdb::bench {

// Once in a process; the second time it does nothing.
void startRte();

// What is allocated from it.
uint64_t rteBytes();

}  // namespace fibdb::bench

#endif
