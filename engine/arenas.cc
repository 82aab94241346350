// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/arenas.cc: joining an arena, who is in it, which there are, and removing one.
#include <dirent.h>
#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "engine/client/object.h"
#include "engine/store/wall_time.h"
#include "fibdb/engine.h"

namespace fibdb {
namespace {

using store::ArenaFile;
using store::Store;

// Opens an arena's file to look at it.
uint32_t lookInto(const char* name, ArenaFile& out) {
  return out.open({name, 0, 0, /*readOnly=*/true}, Store::identityOf(schema::kTables));
}

// The arena's file if it is the one that the process is in. To look at an arena is not to join one.
const ArenaFile* ownFile(const char* name) {
  const Store* const store = Store::known();
  const bool isOwn = store != nullptr && store->valid() && store->isShared() && store->arena().file()->hasName(name);
  return isOwn ? store->arena().file() : nullptr;
}

void readName(uint32_t pid, char (&name)[sizeof FibDbEngineProcess::name]) {
  char path[64];
  std::snprintf(path, sizeof path, "/proc/%u/comm", pid);
  name[0] = '\0';
  FILE* file = std::fopen(path, "re");
  if (file == nullptr) return;
  if (std::fgets(name, sizeof name, file) != nullptr) name[std::strcspn(name, "\n")] = '\0';
  std::fclose(file);
}

// Whoever is there by its lock, and what those tell that write.
class Census {
 public:
  Census(const ArenaFile& file, const store::Arena* arena, FibDbEngineProcessVisit visit, void* context)
      : file_(file), arena_(arena), visit_(visit), context_(context) {}

  void takeOthers() {
    file_.eachProcess([&](const store::ArenaProcess& process) { take(process); });
  }
  void take(const store::ArenaProcess& present) {
    FibDbEngineProcess process{};
    process.pid = present.pid;
    process.writes = present.writes;
    process.joinedAt = present.joinedAt * store::kMicrosPerSecond;
    if (arena_ != nullptr && present.writes) {
      arena_->eachWriter([&](const store::ArenaWriter& writer) {
        if (writer.pid == present.pid) tell(process, writer);
      });
    }
    readName(present.pid, process.name);
    say(process);
  }
  // Those that left their seat behind.
  void takeDead(uint32_t own) {
    arena_->eachWriter([&](const store::ArenaWriter& writer) {
      if (writer.pid == own || file_.hasProcess(writer.pid)) return;
      FibDbEngineProcess process{};
      process.pid = writer.pid;
      process.writes = 1;
      process.isDead = 1;
      tell(process, writer);
      say(process);
    });
  }

 private:
  static void tell(FibDbEngineProcess& process, const store::ArenaWriter& writer) {
    process.waiting = writer.waiting;
    process.lastWriteAt = writer.lastWriteAt;
  }
  void say(const FibDbEngineProcess& process) { ended_ = ended_ || visit_(&process, context_) != 0; }

  const ArenaFile& file_;
  const store::Arena* arena_;
  FibDbEngineProcessVisit visit_;
  void* context_;
  bool ended_ = false;
};

uint32_t countProcesses(const ArenaFile& file) {
  uint32_t count = 0;
  file.eachProcess([&](const store::ArenaProcess&) { ++count; });
  return count;
}

// The file of a name in /dev/shm that an arena has, or nullptr.
const char* arenaNameOf(const char* file) {
  const size_t length = std::strlen(store::kArenaPrefix);
  return std::strncmp(file, store::kArenaPrefix, length) == 0 && file[length] != '\0' ? file + length : nullptr;
}

bool describe(const char* name, FibDbEngineArenaVisit visit, void* context) {
  ArenaFile other;
  const ArenaFile* const own = ownFile(name);
  FibDbEngineArenaEntry entry{};
  entry.name = name;
  // To open the own arena's file once more would end this process's lock with the second descriptor.
  if (own == nullptr) entry.code = lookInto(name, other);
  const ArenaFile& known = own != nullptr ? *own : other;
  entry.text = known.text();
  struct stat status;
  if (stat(known.path(), &status) == 0) entry.allocated = static_cast<uint64_t>(status.st_blocks) * 512;
  if (entry.code == 0) {
    entry.bytes = known.bytes();
    entry.createdAt = known.head().createdAt;
    entry.processes = countProcesses(known) + (own != nullptr ? 1 : 0);
  }
  return visit(&entry, context) == 0;
}

uint32_t unlinkArena(const ArenaFile& file) { return unlink(file.path()) == 0 ? 0 : uint32_t{DB_ERR_ARENA_ACCESS}; }

}  // namespace
}  // namespace fibdb

using namespace fibdb;

uint32_t fibdb_engine_join(const FibDbEngineArena* how) {
  if (how == nullptr) return Store::join(nullptr);
  const store::ArenaRequest request{how->name, how->bytes, how->mode, how->readOnly != 0};
  return Store::join(&request);
}

const char* fibdb_engine_join_text(void) { return Store::joinText(); }

uint32_t fibdb_engine_shared(FibDbEngineShared* out) {
  if (out == nullptr) return DB_ERR_NULL_ARGUMENT;
  Store& store = Store::instance();
  if (const uint32_t code = store.code()) return code;
  if (!store.isShared()) return DB_ERR_NO_DATA;
  const ArenaFile& file = *store.arena().file();
  *out = {};
  out->path = file.path();
  out->bytes = file.bytes();
  out->used = store.arena().usedBytes();
  out->createdAt = file.head().createdAt;
  for (uint32_t i = 0; i < schema::kTableCount; ++i) out->repairs += store.table(i).stats().repairs;
  out->refused = store::refusedAsReader();
  out->readOnly = file.readOnly();
  return 0;
}

uint32_t fibdb_engine_processes(const char* name, FibDbEngineProcessVisit visit, void* context) {
  if (visit == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (name != nullptr && ownFile(name) == nullptr) {
    ArenaFile other;
    if (const uint32_t code = lookInto(name, other)) return code;
    Census(other, nullptr, visit, context).takeOthers();
    return 0;
  }
  const Store& store = Store::instance();
  if (const uint32_t code = store.code()) return code;
  if (!store.isShared()) return DB_ERR_NO_DATA;
  const ArenaFile& file = *store.arena().file();
  Census census(file, &store.arena(), visit, context);
  census.take(file.self());
  census.takeOthers();
  census.takeDead(file.self().pid);
  return 0;
}

uint32_t fibdb_engine_arenas(FibDbEngineArenaVisit visit, void* context) {
  if (visit == nullptr) return DB_ERR_NULL_ARGUMENT;
  DIR* folder = opendir(store::kArenaFolder);
  if (folder == nullptr) return DB_ERR_ARENA_ACCESS;
  bool goesOn = true;
  while (const dirent* entry = goesOn ? readdir(folder) : nullptr) {
    if (const char* name = arenaNameOf(entry->d_name)) goesOn = describe(name, visit, context);
  }
  closedir(folder);
  return 0;
}

uint32_t fibdb_engine_arena_remove(const char* name, uint32_t busyToo) {
  if (name == nullptr) return DB_ERR_NULL_ARGUMENT;
  const ArenaFile* const own = ownFile(name);
  if (own != nullptr && busyToo == 0) return DB_ERR_ARENA_BUSY;
  if (own != nullptr) return unlinkArena(*own);
  ArenaFile other;
  const uint32_t code = lookInto(name, other);
  // What another version made, or what was cut, is an arena all the same.
  if (code != 0 && code != DB_ERR_ARENA_LAYOUT && code != DB_ERR_ARENA_CUT) return code;
  if (code == 0 && busyToo == 0 && countProcesses(other) > 0) return DB_ERR_ARENA_BUSY;
  return unlinkArena(other);
}
