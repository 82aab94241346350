// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/client/batch.h: asynchronous connections, and the batches of operations that objects build for them.
//
// DESCRIPTION  A connection has one thread. A batch object copies operations into a buffer; executing hands
// the buffer to the thread and gives the object an empty one, so that the next batch is built while the last
// is applied. Batches are applied in the order of their execution, operations in the order of their adding;
// each is atomic to readers, and one that fails is counted and passed over. Buffers go round: once as many
// were needed at the same time before, nothing is allocated.
//
// COST        begin, stage, add: no lock; staging and adding copy the row once each. execute: one lock and
//             one wake-up for the whole batch. A batch of few operations that nobody wants to hear of is applied by
//             its own thread if the connection's has nothing to do: waking that would take longer.
// THREADS     A batch object belongs to one thread at a time; any number of them may share a connection.
// FORK        A child has no connection: the threads of the parent's are not in it, their handles are stale, and
//             batches that wait are the parent's to apply. A completion may fork; in the child its thread ends
//             once it returns.
// INVARIANTS  A connection's handle is 0 exactly while it is closed or closing. Slots are never given back.
#ifndef FIBDB_ENGINE_CLIENT_BATCH_H
#define FIBDB_ENGINE_CLIENT_BATCH_H

#include "engine/client/object.h"

namespace fibdb::client {

inline constexpr uint32_t kMaxConnections = 64;
static_assert(kMaxConnections <= uint32_t{1} << kSlotBits);
inline constexpr uint64_t kDefaultBatchLimit = 4096;
inline constexpr uint64_t kDefaultQueueLimit = 8;
inline constexpr uint64_t kMostBatchLimit = uint64_t{1} << 24;

// db_create_<t>_obj_specific_conn: kind 6 only.
uint32_t createBatchObject(TableId table, uint32_t kind, uint64_t connection, uint64_t* out);
// db_reset_<t>_batch_object: begins one operation, a write (0), update (1) or removal (4).
uint32_t beginOperation(uint64_t handle, TableId table, uint32_t kind);

// Whether fields may be staged on the batch object now: an operation that has fields was begun, and the batch has room.
uint32_t checkStaging(const Object& object);
// Discards the operations added and not yet executed.
uint32_t emptyBatch(Object& object);

uint32_t connectionStats(uint64_t connection, FibDbEngineConnectionStats& out);
// Waits until all batches executed so far are applied and their completions have returned. DB_ERR_BATCH_BUSY
// from such a completion, which would wait for itself.
uint32_t drain(uint64_t connection);
uint64_t countConnections();
// What all connections did, closed ones included; limits are a connection's own, and 0 here.
FibDbEngineConnectionStats batchTotals();

// Around fork(), of all connections: held before, let go in the parent, gone in the child.
void holdConnections();
void letConnectionsGo();
void forgetConnections();

}  // namespace fibdb::client

#endif
