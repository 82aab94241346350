// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/rte_memory.cc: DPDK's memory.
#include "bench/peers/rte_memory.h"

#include <pthread.h>
#include <rte_eal.h>
#include <rte_eal_memconfig.h>
#include <rte_malloc.h>
#include <rte_memory.h>
#include <sys/mman.h>

#include <iterator>

#include "bench/peers/peer.h"

namespace fibdb::bench {

void startRte() {
  static const bool started = [] {
    // Starting binds the thread to one processor, and with it all that it makes later.
    cpu_set_t processors;
    pthread_getaffinity_np(pthread_self(), sizeof processors, &processors);
    const char* words[] = {"bench",       "--no-huge", "--no-pci", "--no-telemetry",
                           "--no-shconf", "-m",        "8192",     "--log-level=error"};
    const bool done = rte_eal_init(static_cast<int>(std::size(words)), const_cast<char**>(words)) >= 0;
    pthread_setaffinity_np(pthread_self(), sizeof processors, &processors);
    require(done, "rte: not started");
    // Huge pages that need no file.
    rte_memseg_list_walk(
        [](const rte_memseg_list* list, void*) {
          madvise(list->base_va, list->len, MADV_HUGEPAGE);
          return 0;
        },
        nullptr);
    return true;
  }();
  require(started, "rte: not started");
}

uint64_t rteBytes() {
  rte_malloc_socket_stats stats{};
  rte_malloc_get_socket_stats(0, &stats);
  return stats.heap_allocsz_bytes;
}

}  // namespace fibdb::bench
