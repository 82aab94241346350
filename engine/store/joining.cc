// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/joining.cc: which store the process has: one of its own, or that of an arena which it joins.
#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "engine/store/table.h"

namespace fibdb::store {

std::atomic<Store*> theStore;

namespace {

// Address space only; memory is taken as it is used.
constexpr uint64_t kReserveBytes = uint64_t{32} << 30;
static_assert(kReserveBytes <= kMaxArenaBytes);
constexpr uint32_t kMode = 0660;

pthread_mutex_t joining = PTHREAD_MUTEX_INITIALIZER;
// Never destroyed: threads of the process may still be in it while it exits.
alignas(Store) unsigned char room[sizeof(Store)];
union Kept {
  constexpr Kept() : file() {}
  ~Kept() {}
  ArenaFile file;
};
constinit Kept kept;
ArenaFile& theFile = kept.file;
char ownText[128];  // why the process has no tables, where no file is to blame

const char* setting(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr ? value : "";
}

// A number with K, M or G behind it, or nothing, which is 0.
bool parseSize(const char* text, uint64_t& bytes) {
  constexpr char kUnits[] = "KMG";
  char* end = nullptr;
  bytes = std::strtoull(text, &end, 10);
  if (*end == '\0') return true;
  const char* const unit = std::strchr(kUnits, *end);
  if (unit == nullptr || end == text || end[1] != '\0') return false;
  bytes <<= 10 * (unit - kUnits + 1);
  return true;
}

uint32_t refuse(const char* variable, const char* value) {
  std::snprintf(ownText, sizeof ownText, "%s: \"%s\" is not what stands there", variable, value);
  return DB_ERR_ARENA_ACCESS;
}

// REQUIRES, of these: joining is held.

Store& putStore(auto&&... how) {
  Store* const known = theStore.load(std::memory_order_relaxed);
  if (known != nullptr) known->~Store();
  auto* const made = new (room) Store(how...);
  theStore.store(made, std::memory_order_release);
  return *made;
}

uint32_t joinFile(const ArenaRequest& request) {
  for (;;) {
    uint32_t code = theFile.open(request, Store::identityOf(schema::kTables));
    if (code == 0) {
      const Store& store = putStore(schema::kTables, theFile);
      code = store.code();
      if (code == 0 && theFile.isNew()) code = theFile.giveName();
      if (code == 0) {
        theStore.load(std::memory_order_relaxed)->arena().enter();
        return 0;
      }
      if (code != DB_ERR_EXISTS) theFile.explain(code);
    }
    putStore(code);
    theFile.close();
    if (code != DB_ERR_EXISTS) return code;
  }
}

uint32_t joinOwn(uint64_t bytes) {
  const uint32_t code = putStore(schema::kTables, bytes).code();
  if (code != 0) {
    std::snprintf(ownText, sizeof ownText, "no address space, or too little, for tables in %llu bytes",
                  static_cast<unsigned long long>(bytes));
  }
  return code;
}

uint32_t joinAs(const ArenaRequest& request) {
  ownText[0] = '\0';
  ArenaRequest whole = request;
  if (whole.bytes == 0) whole.bytes = kReserveBytes;
  if (whole.name == nullptr || *whole.name == '\0') return joinOwn(whole.bytes);
  if (whole.mode == 0) whole.mode = kMode;
  return joinFile(whole);
}

uint32_t joinAsEnvironmentSays() {
  ArenaRequest request{setting("FIBDB_ARENA"), 0, 0, *setting("FIBDB_ARENA_READ_ONLY") != '\0'};
  const char* const mode = setting("FIBDB_ARENA_MODE");
  char* end = nullptr;
  request.mode = static_cast<uint32_t>(std::strtoul(mode, &end, 8));
  const bool hasMode = *end == '\0' && request.mode <= 07777;
  const char* const size = setting("FIBDB_ARENA_SIZE");
  uint32_t code = 0;
  if (!hasMode) code = refuse("FIBDB_ARENA_MODE", mode);
  if (code == 0 && !parseSize(size, request.bytes)) code = refuse("FIBDB_ARENA_SIZE", size);
  if (code == 0) return joinAs(request);
  putStore(code);
  return code;
}

// The same arena once more: perhaps to write now.
uint32_t joinAgain(Store& store, const ArenaRequest& request) {
  if (!store.isShared() || request.name == nullptr || !theFile.hasName(request.name)) return DB_ERR_ARENA_JOINED;
  if (request.readOnly || !theFile.readOnly()) return 0;
  if (const uint32_t code = theFile.openForWriting()) return code;
  if (!store.arena().mapFile()) return DB_ERR_NO_MEMORY;
  store.arena().enter();
  return 0;
}

// The store, if its tables are the process's own.
Store* ownStore() {
  Store* const known = theStore.load(std::memory_order_relaxed);
  return known != nullptr && known->valid() && !known->isShared() ? known : nullptr;
}

}  // namespace

Store& Store::makeInstance() {
  pthread_mutex_lock(&joining);
  if (theStore.load(std::memory_order_relaxed) == nullptr) joinAsEnvironmentSays();
  pthread_mutex_unlock(&joining);
  return *theStore.load(std::memory_order_acquire);
}

uint32_t Store::join(const ArenaRequest* request) {
  pthread_mutex_lock(&joining);
  Store* const known = theStore.load(std::memory_order_relaxed);
  uint32_t code = 0;
  if (known != nullptr && known->valid()) {
    code = request != nullptr ? joinAgain(*known, *request) : 0;
  } else {
    code = request != nullptr ? joinAs(*request) : joinAsEnvironmentSays();
  }
  pthread_mutex_unlock(&joining);
  return code;
}

void Store::holdStore() {
  pthread_mutex_lock(&joining);
  if (Store* const own = ownStore()) own->holdWriters();
}

void Store::letStoreGo() {
  if (Store* const own = ownStore()) own->letWritersGo();
  pthread_mutex_unlock(&joining);
}

void Store::remakeStore() {
  if (Store* const own = ownStore()) own->remakeLocks();
  Store* const known = theStore.load(std::memory_order_relaxed);
  if (known != nullptr && known->valid() && known->isShared()) known->arena().enter();
  pthread_mutex_unlock(&joining);
}

const char* Store::joinText() { return ownText[0] != '\0' ? ownText : theFile.text(); }

}  // namespace fibdb::store
