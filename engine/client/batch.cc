// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/client/batch.cc: connections, their threads and queues; building, handing over and applying batches.
#include "engine/client/batch.h"

#include <pthread.h>
#include <sched.h>
#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>

#include "engine/client/mutex.h"
#include "engine/store/probes.h"
#include "engine/store/wall_time.h"
#include "platform/objdb.h"

namespace fibdb::client {
namespace {

constexpr schema::TableId kBatchTables[] = {
#define BATCH(t) TableId::t,
#include "platform/schema/tables.def"
};

consteval size_t longestRow() {
  size_t longest = 0;
  for (const TableId table : kBatchTables) {
    longest = std::max<size_t>(longest, schema::kTables[static_cast<size_t>(table)].rowLength);
  }
  return longest;
}

// One entry of a batch.
struct Operation {
  const schema::Index* index;  // what key belongs to: the primary index, or that of a removal
  store::FieldSet staged;      // updates
  uint8_t kind;
  store::Key key;
  uint8_t row[longestRow()];  // writes and updates
};

}  // namespace

// The operations follow in memory.
struct Batch {
  Batch* next;
  store::Table* table;
  uint64_t argument;
  uint32_t count;
  uint32_t capacity;

  Operation* operations() { return reinterpret_cast<Operation*>(this + 1); }
};
static_assert(sizeof(Batch) % alignof(Operation) == 0);

struct Connection {
  std::atomic<uint64_t> handle{kNoHandle};  // changes under mutex

  Mutex mutex;
  Condition work;     // a batch was handed over, or the connection closes
  Condition applied;  // a batch was applied
  // All under mutex, but that the counts are looked at without it, too. Both run on from one connection in this slot to
  // the next, so that no one who waits for a count is ever left behind.
  std::atomic<uint64_t> batchesTaken{0};
  std::atomic<uint64_t> batchesDone{0};
  Batch* first = nullptr;  // handed over, oldest first
  Batch* last = nullptr;
  Batch* spare = nullptr;
  FibDbEngineConnectionStats stats{};
  pthread_t thread{};

  uint64_t generation = 0;  // under slotsMutex; stays as it is while the connection lives
  bool slotTaken = false;   // under slotsMutex

  bool isOpenAs(uint64_t expected) const { return handle.load(std::memory_order_acquire) == expected; }
  bool isClosing() const { return isOpenAs(kNoHandle); }
  uint64_t waiting() const { return batchesTaken.load() - batchesDone.load(); }
};

namespace {

Mutex slotsMutex;
Connection connections[kMaxConnections];

// Of all connections since the start: these survive the connection that they were counted on.
struct Totals {
  std::atomic<uint64_t> taken, batches, operations, failed, refusedBatches;
};
Totals totals;

void count(std::atomic<uint64_t>& total, uint64_t more) {
  if (more != 0) total.fetch_add(more, std::memory_order_relaxed);
}

// REQUIRES: the mutex of the count's connection is held.
void addOne(std::atomic<uint64_t>& count) {
  count.store(count.load(std::memory_order_relaxed) + 1, std::memory_order_release);
}

// The slot that a handle names, to be locked and then checked.
Connection* slotFor(uint64_t handle) {
  const uint32_t slot = slotOf(handle);
  return slot < kMaxConnections && handle != kNoHandle ? &connections[slot] : nullptr;
}

// The batch that an object builds, made when it has none: 0 or DB_ERR_NO_MEMORY.
uint32_t ensureBatch(BatchBuilding& building) {
  if (building.batch != nullptr) return 0;
  auto* batch = static_cast<Batch*>(std::malloc(sizeof(Batch) + building.limit * sizeof(Operation)));
  if (batch == nullptr) return DB_ERR_NO_MEMORY;
  batch->count = 0;
  batch->capacity = building.limit;
  building.batch = batch;
  return 0;
}

void freeAll(Batch* batch) {
  while (batch != nullptr) {
    Batch* next = batch->next;
    std::free(batch);
    batch = next;
  }
}

// REQUIRES: the connection's mutex is held.
Batch* takeSpare(Connection& connection) {
  Batch* batch = connection.spare;
  if (batch == nullptr) return nullptr;
  connection.spare = batch->next;
  batch->count = 0;
  return batch;
}

Batch* takeSpares(Connection& connection) {
  const Lock lock(connection.mutex);
  return std::exchange(connection.spare, nullptr);
}

// REQUIRES: the connection's mutex is held.
void putSpare(Connection& connection, Batch* batch) {
  batch->next = connection.spare;
  connection.spare = batch;
}

uint32_t applyWrite(store::Table& table, const Operation& operation, FibDbBatchResult& result) {
  store::Change change{};
  if (const uint32_t code = table.write(operation.key, operation.row, change)) return code;
  ++(change == store::Change::kInserted ? result.inserted : result.replaced);
  return 0;
}

uint32_t applyUpdate(store::Table& table, const Operation& operation, FibDbBatchResult& result) {
  if (const uint32_t code = table.update(operation.key, operation.row, operation.staged)) return code;
  ++result.updated;
  return 0;
}

uint32_t applyRemoval(store::Table& table, const Operation& operation, FibDbBatchResult& result) {
  uint64_t removed = 0;
  if (const uint32_t code = table.remove(*operation.index, operation.key, removed)) return code;
  result.removed += static_cast<uint32_t>(removed);
  return 0;
}

uint32_t applyOne(store::Table& table, const Operation& operation, FibDbBatchResult& result) {
  switch (operation.kind) {
    case FIB_DB_OBJ_OP_WRITE:
      return applyWrite(table, operation, result);
    case FIB_DB_OBJ_OP_UPDATE:
      return applyUpdate(table, operation, result);
    default:
      return applyRemoval(table, operation, result);
  }
}

// So many operations ahead memory is asked for what they will look at: enough for it to come, few enough to stay.
constexpr uint32_t kFetchFirst = 12;
constexpr uint32_t kFetchThen = 6;

bool isByPrimaryKey(const Operation& operation) { return operation.index->kind == schema::IndexKind::kPrimary; }

void fetchAhead(Batch& batch, uint32_t at) {
  const Operation* const operations = batch.operations();
  if (at + kFetchFirst < batch.count && isByPrimaryKey(operations[at + kFetchFirst])) {
    batch.table->fetchFirst(operations[at + kFetchFirst].key);
  }
  if (at + kFetchThen < batch.count && isByPrimaryKey(operations[at + kFetchThen])) {
    batch.table->fetchThen(operations[at + kFetchThen].key);
  }
}

// What a flapping prefix makes: so few operations take less time than waking a thread.
constexpr uint32_t kFewOperations = 4;

// Of few operations memory is asked for what they will look at as they are added, and again as they are handed over.
void fetchFirst(const Batch& batch, const store::Table& table, const Operation& added) {
  if (batch.count <= kFewOperations && isByPrimaryKey(added)) table.fetchFirst(added.key);
}
void fetchThen(Batch& batch) {
  if (batch.count > kFewOperations) return;
  for (const Operation& operation : std::span(batch.operations(), batch.count)) {
    if (isByPrimaryKey(operation)) batch.table->fetchThen(operation.key);
  }
}

FibDbBatchResult applyAll(Batch& batch) {
  FibDbBatchResult result{};
  result.operations = batch.count;
  for (uint32_t i = 0; i < batch.count; ++i) {
    fetchAhead(batch, i);
    const uint32_t code = applyOne(*batch.table, batch.operations()[i], result);
    if (code == 0) continue;
    ++result.failed;
    if (result.code == 0) result.code = code;
  }
  FIBDB_PROBE(batch_applied, result.operations, result.failed);
  return result;
}

void complete(const Batch& batch, const FibDbBatchResult& result) {
  const auto* completion = reinterpret_cast<const FibDbBatchCompletion*>(batch.argument);
  if (completion != nullptr && completion->done != nullptr) completion->done(completion->context, &result);
}

// Whether the threads of this process may run on more than one processor; asked when a connection opens.
std::atomic<bool> hasProcessors;
bool mayUseProcessors() {
  cpu_set_t usable;
  return sched_getaffinity(0, sizeof usable, &usable) == 0 && CPU_COUNT(&usable) > 1;
}

// To put a thread to sleep and wake it takes longer than most batches: who waits for another looks out for it first, a
// moment long. It looks again under the mutex.
constexpr uint64_t kMomentMicroseconds = 50;
constexpr int kLooksPerTime = 50;  // as long as it takes to tell the time
template <class Happened>
void lookOut(Happened&& happened) {
  if (!hasProcessors.load(std::memory_order_relaxed)) return;
  const uint64_t began = store::microsecondsNow(CLOCK_MONOTONIC);
  do {
    for (int i = 0; i < kLooksPerTime; ++i) {
      if (happened()) return;
    }
  } while (store::microsecondsNow(CLOCK_MONOTONIC) - began < kMomentMicroseconds);
}

// The oldest batch, waiting for one; nullptr when the connection closes and all are applied.
Batch* nextBatch(Connection& connection) {
  lookOut([&] { return connection.waiting() != 0 || connection.isClosing(); });
  Lock lock(connection.mutex);
  while (connection.first == nullptr && !connection.isClosing()) connection.work.wait(lock);
  Batch* batch = connection.first;
  if (batch != nullptr) connection.first = batch->next;
  return batch;
}

// In a shared arena the others see how many batches of this process wait.
void tellWaiting() { store::Store::instance().arena().noteWaiting(batchTotals().waiting); }

// REQUIRES: the connection's mutex is held.
void countApplied(Connection& connection, const FibDbBatchResult& result) {
  addOne(connection.batchesDone);
  ++connection.stats.batches;
  connection.stats.operations += result.operations;
  connection.stats.failed += result.failed;
  count(totals.operations, result.operations);
  count(totals.failed, result.failed);
  count(totals.batches, 1);
  tellWaiting();
}

void finish(Connection& connection, Batch* batch, const FibDbBatchResult& result) {
  const Lock lock(connection.mutex);
  countApplied(connection, result);
  putSpare(connection, batch);
  connection.applied.wakeAll();
}

// A removal under a secondary key may be of many records.
bool isAppliedAtOnce(Batch& batch) {
  if (batch.count > kFewOperations || batch.argument != 0) return false;
  const std::span operations(batch.operations(), batch.count);
  return std::ranges::all_of(operations, isByPrimaryKey);
}

void* work(void* argument) {
  Connection& connection = *static_cast<Connection*>(argument);
  const uint64_t generation = connection.generation;
  while (Batch* batch = nextBatch(connection)) {
    const FibDbBatchResult result = applyAll(*batch);
    complete(*batch, result);
    if (connection.generation != generation) {  // the completion forked: in the child the slot is another's
      std::free(batch);
      break;
    }
    finish(connection, batch, result);
  }
  return nullptr;
}

// The process's signals are its own threads' business. REQUIRES: the connection's mutex is held.
bool startThread(Connection& connection) {
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const int failed = pthread_create(&connection.thread, nullptr, work, &connection);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return failed == 0;
}

Connection* takeSlot() {
  const Lock lock(slotsMutex);
  for (Connection& connection : connections) {
    if (connection.slotTaken) continue;
    connection.slotTaken = true;
    ++connection.generation;
    return &connection;
  }
  return nullptr;
}

void leaveSlot(Connection& connection) {
  const Lock lock(slotsMutex);
  connection.slotTaken = false;
}

bool onOwnThread(const Connection& connection) { return pthread_equal(connection.thread, pthread_self()) != 0; }

uint32_t openConnection(Connection& connection, uint64_t batchLimit, uint64_t queueLimit) {
  const auto slot = static_cast<uint32_t>(&connection - connections);
  hasProcessors.store(mayUseProcessors(), std::memory_order_relaxed);
  const Lock lock(connection.mutex);
  connection.stats = {};
  connection.stats.batchLimit = batchLimit;
  connection.stats.queueLimit = queueLimit;
  const uint64_t handle = makeHandle(HandleTag::kConnection, connection.generation, slot);
  connection.handle.store(handle, std::memory_order_release);
  if (startThread(connection)) return 0;
  connection.handle.store(kNoHandle, std::memory_order_release);
  return DB_ERR_NO_MEMORY;
}

// From here on the handle is stale; the thread still applies what was handed over, then ends.
uint32_t closeConnection(Connection& connection, uint64_t handle) {
  const Lock lock(connection.mutex);
  if (!connection.isOpenAs(handle)) return DB_ERR_BAD_HANDLE;
  if (onOwnThread(connection)) return DB_ERR_BATCH_BUSY;
  connection.handle.store(kNoHandle, std::memory_order_release);
  connection.work.wakeOne();
  return 0;
}

// After fork(), in the child. A new generation: the slot may serve a new connection before the forking thread, which
// may be this one's, comes back to it.
void forget(Connection& connection) {
  if (connection.slotTaken) connection.mutex.letGo();
  connection.mutex.makeAnew();  // of free slots, too: a stale handle is looked up under it
  if (!connection.slotTaken) return;
  connection.handle.store(kNoHandle, std::memory_order_release);
  connection.work.makeAnew();
  connection.applied.makeAnew();
  freeAll(std::exchange(connection.first, nullptr));
  freeAll(std::exchange(connection.spare, nullptr));
  connection.batchesDone = connection.batchesTaken.load();
  ++connection.generation;
  connection.slotTaken = false;
}

// What every call on a batch object begins with.
uint32_t checkConnection(const Object& object) {
  const BatchBuilding& building = object.building;
  return building.connection->isOpenAs(building.connectionHandle) ? 0 : uint32_t{DB_ERR_CONNECTION_CLOSED};
}

bool isFull(const BatchBuilding& building) {
  return building.batch != nullptr && building.batch->count == building.batch->capacity;
}

uint32_t findBatchObject(uint64_t handle, Object*& out) {
  if (const uint32_t code = findObject(handle, only(FIB_DB_OBJ_OP_BATCH), out)) return code;
  return checkConnection(*out);
}

// Writes need no key; updates go by the primary key, removals by any key that a direct removal takes.
uint32_t findOperationIndex(const Object& object, const FibDbKeyDesc* desc, const void* key,
                            const schema::Index*& out) {
  if (object.building.operation == FIB_DB_OBJ_OP_WRITE) return 0;
  if (const uint32_t code = findIndex(object, desc, key, out)) return code;
  const bool serves = out->kind == schema::IndexKind::kPrimary ||
                      (out->kind == schema::IndexKind::kSecondary && object.building.operation == FIB_DB_OBJ_OP_REMOVE);
  return serves ? 0 : uint32_t{DB_ERR_BAD_INDEX};
}

void fill(Operation& operation, Object& object, const schema::Index* index, const void* key) {
  operation.index = index != nullptr ? index : &object.table->layout().primary();
  operation.staged = object.staged;
  operation.kind = static_cast<uint8_t>(object.building.operation);
  // The key is worked out here, not by the one thread that applies all batches.
  if (index != nullptr) {
    object.table->keyOf(*index, static_cast<const uint8_t*>(key), operation.key);
  } else {
    object.table->keyOf(stagedRowOf(object), operation.key);
  }
  if (object.building.operation == FIB_DB_OBJ_OP_REMOVE) return;
  std::memcpy(operation.row, stagedRowOf(object), object.table->layout().rowLength);
}

}  // namespace

uint32_t createBatchObject(TableId table, uint32_t kind, uint64_t connection, uint64_t* out) {
  if (kind != FIB_DB_OBJ_OP_BATCH) return DB_ERR_WRONG_KIND;
  if (out == nullptr) return DB_ERR_NULL_ARGUMENT;
  FibDbEngineConnectionStats stats;
  if (const uint32_t code = connectionStats(connection, stats)) return code;
  Object* object = nullptr;
  if (const uint32_t code = takeObject(table, kind, object)) return code;
  object->building = {&connections[slotOf(connection)], connection, static_cast<uint32_t>(stats.batchLimit),
                      kNoOperation, nullptr};
  *out = object->handle.load(std::memory_order_relaxed);
  return 0;
}

uint32_t beginOperation(uint64_t handle, TableId table, uint32_t kind) {
  Object* object = nullptr;
  if (const uint32_t code = findObject(handle, table, only(FIB_DB_OBJ_OP_BATCH), object)) return code;
  if (const uint32_t code = checkConnection(*object)) return code;
  if (kind != FIB_DB_OBJ_OP_WRITE && kind != FIB_DB_OBJ_OP_UPDATE && kind != FIB_DB_OBJ_OP_REMOVE) {
    return DB_ERR_WRONG_KIND;
  }
  object->staged = 0;
  object->building.operation = kind;
  return 0;
}

uint32_t checkStaging(const Object& object) {
  if (const uint32_t code = checkConnection(object)) return code;
  if (object.building.operation == kNoOperation) return DB_ERR_BATCH_EMPTY_OBJECT;
  if (object.building.operation == FIB_DB_OBJ_OP_REMOVE) return DB_ERR_WRONG_KIND;
  return isFull(object.building) ? uint32_t{DB_ERR_RETRY} : 0;
}

uint32_t emptyBatch(Object& object) {
  if (const uint32_t code = checkConnection(object)) return code;
  if (object.building.batch != nullptr) object.building.batch->count = 0;
  object.building.operation = kNoOperation;
  object.staged = 0;
  return 0;
}

void dropBatch(Object& object) {
  const BatchBuilding& building = object.building;
  if (building.batch == nullptr) return;
  {
    const Lock lock(building.connection->mutex);
    if (building.connection->isOpenAs(building.connectionHandle)) {
      putSpare(*building.connection, building.batch);
      return;
    }
  }
  std::free(building.batch);
}

uint32_t connectionStats(uint64_t handle, FibDbEngineConnectionStats& out) {
  Connection* connection = slotFor(handle);
  if (connection == nullptr) return DB_ERR_BAD_HANDLE;
  const Lock lock(connection->mutex);
  if (!connection->isOpenAs(handle)) return DB_ERR_BAD_HANDLE;
  out = connection->stats;
  out.waiting = connection->waiting();
  return 0;
}

uint32_t drain(uint64_t handle) {
  Connection* connection = slotFor(handle);
  if (connection == nullptr) return DB_ERR_BAD_HANDLE;
  uint64_t taken = 0;
  {
    const Lock lock(connection->mutex);
    if (!connection->isOpenAs(handle)) return DB_ERR_BAD_HANDLE;
    if (onOwnThread(*connection)) return DB_ERR_BATCH_BUSY;
    taken = connection->batchesTaken;
  }
  lookOut([&] { return connection->batchesDone >= taken; });
  Lock lock(connection->mutex);
  while (connection->batchesDone < taken) connection->applied.wait(lock);
  return 0;
}

uint64_t countConnections() {
  const Lock lock(slotsMutex);
  return static_cast<uint64_t>(std::count_if(std::begin(connections), std::end(connections),
                                             [](const Connection& slot) { return slot.slotTaken; }));
}

FibDbEngineConnectionStats batchTotals() {
  const auto read = [](const std::atomic<uint64_t>& total) { return total.load(std::memory_order_relaxed); };
  FibDbEngineConnectionStats stats{};
  stats.batches = totals.batches.load(std::memory_order_acquire);
  // Read later, it is never less.
  stats.waiting = read(totals.taken) - stats.batches;
  stats.operations = read(totals.operations);
  stats.failed = read(totals.failed);
  stats.refusedBatches = read(totals.refusedBatches);
  return stats;
}

// Slots that nobody has taken change under slotsMutex only.
void holdConnections() {
  slotsMutex.hold();
  for (Connection& connection : connections) {
    if (connection.slotTaken) connection.mutex.hold();
  }
}

void letConnectionsGo() {
  for (Connection& connection : connections) {
    if (connection.slotTaken) connection.mutex.letGo();
  }
  slotsMutex.letGo();
}

void forgetConnections() {
  for (Connection& connection : connections) forget(connection);
  // What waits is the parent's to apply.
  totals.taken.store(totals.batches.load(std::memory_order_relaxed), std::memory_order_relaxed);
  slotsMutex.letGo();
  slotsMutex.makeAnew();
}

}  // namespace fibdb::client

using namespace fibdb;
using namespace fibdb::client;

uint32_t db_connect(uint64_t mostOperations, uint64_t mostWaiting, uint64_t* outConn) {
  if (outConn == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (mostOperations == 0) mostOperations = kDefaultBatchLimit;
  if (mostWaiting == 0) mostWaiting = kDefaultQueueLimit;
  if (mostOperations > kMostBatchLimit) return DB_ERR_NO_MEMORY;
  Connection* connection = takeSlot();
  if (connection == nullptr) return DB_ERR_OBJECT_LIMIT;
  if (const uint32_t code = openConnection(*connection, mostOperations, mostWaiting)) {
    leaveSlot(*connection);
    return code;
  }
  *outConn = connection->handle.load(std::memory_order_relaxed);
  return 0;
}

uint32_t db_disconnect(uint64_t conn) {
  Connection* connection = slotFor(conn);
  if (connection == nullptr) return DB_ERR_BAD_HANDLE;
  // Half a disconnection would keep the slot for ever.
  const Uncancelled whole;
  if (const uint32_t code = closeConnection(*connection, conn)) return code;
  pthread_join(connection->thread, nullptr);
  freeAll(takeSpares(*connection));
  leaveSlot(*connection);
  return 0;
}

uint32_t db_batch_add_oper(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  Object* object = nullptr;
  if (const uint32_t code = findBatchObject(obj, object)) return code;
  BatchBuilding& building = object->building;
  if (building.operation == kNoOperation) return DB_ERR_BATCH_EMPTY_OBJECT;
  const schema::Index* index = nullptr;
  if (const uint32_t code = findOperationIndex(*object, desc, key, index)) return code;
  if (isFull(building)) return DB_ERR_RETRY;
  if (const uint32_t code = ensureBatch(building)) return code;
  Operation& operation = building.batch->operations()[building.batch->count++];
  fill(operation, *object, index, key);
  fetchFirst(*building.batch, *object->table, operation);
  building.operation = kNoOperation;
  object->staged = 0;
  return 0;
}

uint32_t db_batch_exec_async(uint64_t obj, uint64_t argument) {
  Object* object = nullptr;
  if (const uint32_t code = findBatchObject(obj, object)) return code;
  BatchBuilding& building = object->building;
  Connection& connection = *building.connection;
  if (const uint32_t code = ensureBatch(building)) return code;
  building.batch->table = object->table;
  building.batch->argument = argument;
  building.batch->next = nullptr;
  fetchThen(*building.batch);

  const Lock lock(connection.mutex);
  if (const uint32_t code = checkConnection(*object)) return code;
  if (connection.waiting() >= connection.stats.queueLimit) {
    ++connection.stats.refusedBatches;
    count(totals.refusedBatches, 1);
    FIBDB_PROBE(batch_refused, building.batch->count, connection.stats.queueLimit);
    return DB_ERR_BATCH_QUEUE_FULL;
  }
  addOne(connection.batchesTaken);
  count(totals.taken, 1);
  tellWaiting();
  if (connection.waiting() == 1 && isAppliedAtOnce(*building.batch)) {
    countApplied(connection, applyAll(*building.batch));
    building.batch->count = 0;
    return 0;
  }
  (connection.first == nullptr ? connection.first : connection.last->next) = building.batch;
  connection.last = building.batch;
  FIBDB_PROBE(batch_handed_over, connection.last->count, connection.waiting());
  building.batch = takeSpare(connection);
  connection.work.wakeOne();
  return 0;
}
