// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/service/table_service.cc: the table service, a client of the object database like any other.
//
// It reaches a table through the functions that were registered for it and the generic calls. Two things it
// asks the engine besides: to insert a staged row unless its key is there, so that a create does not replace,
// and whether a buffer can take a row.
#include "engine/service/table_service.h"

#include <time.h>

#include <atomic>
#include <cstring>

#include "engine/client/handle.h"
#include "engine/client/mutex.h"
#include "engine/client/object.h"
#include "fibdb/engine.h"
#include "platform/objdb.h"
#include "platform/ufib.h"

namespace fibdb::service {
namespace {

using client::Lock;
using client::Mutex;

constexpr uint32_t kTables = 64;
constexpr size_t kNameRoom = 64;
constexpr uint32_t kKeyLengthMask = 0xFFFF;  // of an index id
constexpr uint32_t kVrProperty = 0;

struct RegisteredTable {
  std::atomic<bool> known{false};  // set once the rest is
  FibDbTableDesc desc{};           // its name is the one below
  char name[kNameRoom]{};
};

Mutex registering;
RegisteredTable tables[kTables];

// What UFIB_DB_CreateIterator makes; callers hold its handle, dressed as a pointer.
struct Iterator {
  std::atomic<uint64_t> handle;  // kNoHandle: the slot is free
  uint64_t generation;
  uint32_t id;
  uint32_t nextFree;  // slot + 1, or 0
  uint64_t object;
  uint64_t rootIter;
};

constexpr uint32_t kMaxIterators = 4096;
static_assert(kMaxIterators <= uint32_t{1} << client::kSlotBits);
static_assert(sizeof(void*) == sizeof(uint64_t));

Mutex iterating;
Iterator iterators[kMaxIterators];
uint32_t firstFree;  // under iterating: slot + 1, or 0
uint32_t slotsUsed;  // under iterating: later ones were never used

Iterator* takeIterator(uint32_t id) {
  const Lock lock(iterating);
  if (firstFree == 0 && slotsUsed == kMaxIterators) return nullptr;
  const uint32_t slot = firstFree != 0 ? firstFree - 1 : slotsUsed++;
  Iterator& iterator = iterators[slot];
  if (firstFree != 0) firstFree = iterator.nextFree;
  iterator.id = id;
  iterator.handle.store(client::makeHandle(client::HandleTag::kServiceIterator, ++iterator.generation, slot),
                        std::memory_order_relaxed);
  return &iterator;
}

// Of two releases at the same time one finds the handle gone. What else the slot holds is looked at once it is sure
// whose it is: another iterator may be made in it meanwhile.
bool giveBack(Iterator& iterator, uint64_t handle, uint32_t id, uint64_t& object) {
  const Lock lock(iterating);
  if (iterator.handle.load(std::memory_order_relaxed) != handle || iterator.id != id) return false;
  object = iterator.object;
  iterator.handle.store(client::kNoHandle, std::memory_order_relaxed);
  iterator.nextFree = firstFree;
  firstFree = static_cast<uint32_t>(&iterator - iterators) + 1;
  return true;
}

RegisteredTable* find(uint32_t id) {
  if (id >= kTables || !tables[id].known.load(std::memory_order_acquire)) return nullptr;
  return &tables[id];
}

bool isComplete(const FibDbTableDesc& desc) {
  return desc.name != nullptr && strnlen(desc.name, kNameRoom) < kNameRoom && desc.create != nullptr &&
         desc.release != nullptr && desc.reset != nullptr && desc.setAllFields != nullptr;
}

uint32_t checkKey(const FibDbUfibKey* request) {
  if (request == nullptr || request->desc == nullptr || request->key == nullptr) return DB_ERR_NULL_ARGUMENT;
  const bool fits =
      request->descLen == sizeof(FibDbKeyDesc) && request->keyLen == (request->desc->indexId & kKeyLengthMask);
  return fits ? 0 : uint32_t{DB_ERR_BAD_LENGTH};
}

// An object of the table for the time of one call.
class [[nodiscard]] Borrowed {
 public:
  Borrowed(const RegisteredTable& table, uint32_t kind) : table_(table) {
    code_ = table.desc.create(kind, 0, &handle_);
  }
  ~Borrowed() {
    if (code_ == 0) table_.desc.release(handle_);
  }
  Borrowed(const Borrowed&) = delete;
  Borrowed& operator=(const Borrowed&) = delete;

  uint32_t code() const { return code_; }
  uint64_t handle() const { return handle_; }

 private:
  const RegisteredTable& table_;
  uint64_t handle_ = 0;
  uint32_t code_;
};

uint32_t read(uint32_t id, const FibDbUfibKey* key, FibDbUfibData* entry) {
  const RegisteredTable* table = find(id);
  if (table == nullptr) return DB_ERR_NOT_REGISTERED;
  if (const uint32_t code = checkKey(key)) return code;
  if (entry == nullptr) return DB_ERR_NULL_ARGUMENT;
  const Borrowed object(*table, FIB_DB_OBJ_OP_READ);
  if (object.code() != 0) return object.code();
  return db_read_obj_with_buf(object.handle(), key->desc, key->key, entry->data, entry->len);
}

// Tables without vr_id take any property and ignore it.
uint32_t setProperty(uint64_t rootIter, uint32_t property) {
  if (property == FIB_DB_NO_PROPERTY) return 0;
  const uint32_t code = db_set_root_iterator_property(rootIter, kVrProperty, &property, sizeof property);
  return code == DB_ERR_BAD_PROPERTY ? 0 : code;
}

uint32_t open(const RegisteredTable& table, uint32_t property, const FibDbKeyDesc* desc, const void* key,
              Iterator& iterator) {
  if (const uint32_t code = table.desc.create(FIB_DB_OBJ_OP_SCAN, 0, &iterator.object)) return code;
  uint32_t code = db_create_root_iter(iterator.object, desc, key, &iterator.rootIter);
  if (code == 0) code = setProperty(iterator.rootIter, property);
  if (code != 0) table.desc.release(iterator.object);
  return code;
}

void* createIterator(uint32_t id, uint32_t property, const FibDbKeyDesc* desc, const void* key) {
  const RegisteredTable* table = find(id);
  if (table == nullptr) return nullptr;
  Iterator* iterator = takeIterator(id);
  if (iterator == nullptr) return nullptr;
  const uint64_t handle = iterator->handle.load(std::memory_order_relaxed);
  if (open(*table, property, desc, key, *iterator) == 0) return reinterpret_cast<void*>(handle);
  uint64_t released = 0;
  giveBack(*iterator, handle, id, released);
  return nullptr;
}

// The slot that a handle names, whatever it holds now.
uint32_t findSlot(uint32_t id, const void* handle, Iterator*& out) {
  if (find(id) == nullptr) return DB_ERR_NOT_REGISTERED;
  if (handle == nullptr) return DB_ERR_NULL_ARGUMENT;
  const uint32_t slot = client::slotOf(reinterpret_cast<uint64_t>(handle));
  if (slot >= kMaxIterators) return DB_ERR_BAD_HANDLE;
  out = &iterators[slot];
  return 0;
}

uint32_t findIterator(uint32_t id, const void* handle, Iterator*& out) {
  if (const uint32_t code = findSlot(id, handle, out)) return code;
  const bool alive = out->handle.load(std::memory_order_relaxed) == reinterpret_cast<uint64_t>(handle);
  return alive && out->id == id ? 0 : uint32_t{DB_ERR_BAD_HANDLE};
}

uint32_t checkBuffer(const Iterator& iterator, const FibDbUfibData* entry) {
  if (entry == nullptr) return DB_ERR_NULL_ARGUMENT;
  client::Object* object = nullptr;
  if (const uint32_t code = client::findIterator(iterator.rootIter, object)) return code;
  return client::checkRowBuffer(*object, entry->data, entry->len);
}

}  // namespace

void forgetTables() {
  const Lock lock(registering);
  for (RegisteredTable& table : tables) table.known.store(false, std::memory_order_release);
}

// The service's locks guard nothing that a child could find half done: a table that is not yet known is registered
// anew, and of the iterators only their slots' generations are kept.
void forgetIterators() {
  registering.makeAnew();
  iterating.makeAnew();
  firstFree = 0;
  for (uint32_t slot = slotsUsed; slot-- > 0;) {
    iterators[slot].handle.store(client::kNoHandle, std::memory_order_relaxed);
    iterators[slot].nextFree = firstFree;
    firstFree = slot + 1;
  }
}

}  // namespace fibdb::service

using namespace fibdb::service;

uint32_t UFIB_DB_TableRegister(uint32_t id, const FibDbTableDesc* desc) {
  if (desc == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (id >= kTables || !isComplete(*desc)) return DB_ERR_BAD_DESCRIPTOR;
  RegisteredTable& table = tables[id];
  const Lock lock(registering);
  if (table.known.load(std::memory_order_relaxed)) {
    return std::strcmp(table.name, desc->name) == 0 ? 0 : uint32_t{DB_ERR_ALREADY_REGISTERED};
  }
  std::strcpy(table.name, desc->name);
  table.desc = *desc;
  table.desc.name = table.name;
  table.known.store(true, std::memory_order_release);
  return 0;
}

uint32_t UFIB_DB_Create(uint32_t id, const FibDbUfibData* entry) {
  const RegisteredTable* table = find(id);
  if (table == nullptr) return DB_ERR_NOT_REGISTERED;
  if (entry == nullptr) return DB_ERR_NULL_ARGUMENT;
  const Borrowed object(*table, FIB_DB_OBJ_OP_WRITE);
  if (object.code() != 0) return object.code();
  if (const uint32_t code = table->desc.setAllFields(object.handle(), entry->data, entry->len)) return code;
  return fibdb::client::insertStaged(object.handle());
}

uint32_t UFIB_DB_Read(uint32_t id, const FibDbUfibKey* key, FibDbUfibData* entry) { return read(id, key, entry); }

uint32_t UFIB_DB_ReadUniqueHash(uint32_t id, const FibDbUfibKey* key, FibDbUfibData* entry) {
  return read(id, key, entry);
}

uint32_t UFIB_DB_Update(uint32_t id, const FibDbUfibKey* key, const FibDbUfibData* ctx, FibDbUfibSetter setter) {
  const RegisteredTable* table = find(id);
  if (table == nullptr) return DB_ERR_NOT_REGISTERED;
  if (const uint32_t code = checkKey(key)) return code;
  if (setter == nullptr) return DB_ERR_NULL_ARGUMENT;
  const Borrowed object(*table, FIB_DB_OBJ_OP_UPDATE);
  if (object.code() != 0) return object.code();
  if (const uint32_t code = setter(ctx, object.handle())) return code;
  return db_update_obj(object.handle(), key->desc, key->key);
}

uint32_t UFIB_DB_Delete(uint32_t id, const FibDbUfibKey* key) {
  const RegisteredTable* table = find(id);
  if (table == nullptr) return DB_ERR_NOT_REGISTERED;
  if (const uint32_t code = checkKey(key)) return code;
  const Borrowed object(*table, FIB_DB_OBJ_OP_REMOVE);
  if (object.code() != 0) return object.code();
  return db_remove_obj(object.handle(), key->desc, key->key);
}

uint32_t UFIB_DB_CountByKey(uint32_t id, const FibDbUfibKey* key, uint32_t* count) {
  const RegisteredTable* table = find(id);
  if (table == nullptr) return DB_ERR_NOT_REGISTERED;
  if (const uint32_t code = checkKey(key)) return code;
  if (count == nullptr) return DB_ERR_NULL_ARGUMENT;
  const Borrowed object(*table, FIB_DB_OBJ_OP_COUNT);
  if (object.code() != 0) return object.code();
  uint64_t records = 0;
  if (const uint32_t code = db_get_table_record_count_by_key(object.handle(), key->desc, key->key, &records)) {
    return code;
  }
  *count = static_cast<uint32_t>(records);
  return 0;
}

void* UFIB_DB_CreateIterator(uint32_t id, uint32_t property) { return createIterator(id, property, nullptr, nullptr); }

void* UFIB_DB_CreateIteratorByKey(uint32_t id, uint32_t property, const FibDbUfibKey* key) {
  return checkKey(key) == 0 ? createIterator(id, property, key->desc, key->key) : nullptr;
}

uint32_t UFIB_DB_GetNextEntry(uint32_t id, void* iter, FibDbUfibData* entry) {
  Iterator* iterator = nullptr;
  if (const uint32_t code = findIterator(id, iter, iterator)) return code;
  // Before the step, which would lose a record to a buffer that cannot take it.
  if (const uint32_t code = checkBuffer(*iterator, entry)) return code;
  if (const uint32_t code = db_root_iterator_next(iterator->rootIter)) return code;
  return db_read_obj_with_buf(iterator->object, nullptr, nullptr, entry->data, entry->len);
}

uint32_t UFIB_DB_ReleaseIterator(uint32_t id, void* iter) {
  Iterator* iterator = nullptr;
  if (const uint32_t code = findSlot(id, iter, iterator)) return code;
  uint64_t object = 0;
  if (!giveBack(*iterator, reinterpret_cast<uint64_t>(iter), id, object)) return DB_ERR_BAD_HANDLE;
  return tables[id].desc.release(object);
}

uint64_t UFIB_DB_GetSysTime(void) {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  constexpr uint64_t kMicroPerSecond = 1'000'000;
  constexpr uint64_t kNanoPerMicro = 1000;
  return static_cast<uint64_t>(now.tv_sec) * kMicroPerSecond + static_cast<uint64_t>(now.tv_nsec) / kNanoPerMicro;
}
