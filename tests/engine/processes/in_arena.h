// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/processes/in_arena.h: processes that join an arena, do something, and end.
#ifndef FIBDB_TESTS_ENGINE_PROCESSES_IN_ARENA_H
#define FIBDB_TESTS_ENGINE_PROCESSES_IN_ARENA_H

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/engine/client/engine_fixture.h"
#include "tests/support/emulator.h"

namespace fibdb::testing {

// In a child nothing of the test framework may be used: what went wrong first is its exit status, by line.
#define CHECK_IN_CHILD(condition)                                                \
  if (!(condition)) {                                                            \
    std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
    return __LINE__ % 255 + 1;                                                   \
  }

// The test process itself is in no arena: every process of a test is a child, which ends with it.
template <class Work>
pid_t start(Work&& work) {
  const pid_t process = fork();
  if (process != 0) return process;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  _exit(work());
}

// What the child returned; the negated signal when one ended it.
inline int await(pid_t process) {
  int status = 0;
  if (process < 0 || waitpid(process, &status, 0) != process) return -1000;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

template <class Work>
int inChild(Work&& work) {
  return emulation::onLastThread([&] { return await(start(work)); });
}

// A folder of its own for the arena's file, in memory, which goes with the test.
class ArenaFolder {
 public:
  ArenaFolder() {
    char name[] = "/dev/shm/fibdb-test-XXXXXX";
    folder_ = mkdtemp(name);
  }
  ~ArenaFolder() { std::filesystem::remove_all(folder_); }
  ArenaFolder(const ArenaFolder&) = delete;
  ArenaFolder& operator=(const ArenaFolder&) = delete;

  const std::string& path() const { return folder_; }
  std::string arena() const { return folder_ + "/arena"; }

 private:
  std::string folder_;
};

inline constexpr uint64_t kArenaBytes = uint64_t{256} << 20;

inline uint32_t join(const std::string& arena, bool readOnly = false, uint32_t mode = 0) {
  const FibDbEngineArena how{arena.c_str(), kArenaBytes, mode, readOnly};
  return fibdb_engine_join(&how);
}

inline uint32_t writeRow(const Row& row) {
  uint64_t object = 0;
  uint32_t code = db_create_ip4forward_obj(FIB_DB_OBJ_OP_WRITE, 0, &object);
  if (code != 0) return code;
  code = db_set_ip4forward_all_fields(object, row.data(), row.length());
  if (code == 0) code = db_write_obj(object);
  db_release_ip4forward_object(object);
  return code;
}

inline uint32_t removeRow(const Row& row) {
  uint64_t object = 0;
  uint32_t code = db_create_ip4forward_obj(FIB_DB_OBJ_OP_REMOVE, 0, &object);
  if (code != 0) return code;
  const Key key = keyOfRow(TableId::ip4forward, kRouteKey, row);
  code = db_remove_obj(object, &key.desc, key.data());
  db_release_ip4forward_object(object);
  return code;
}

inline uint32_t readRow(Row& row) {
  uint64_t object = 0;
  uint32_t code = db_create_ip4forward_obj(FIB_DB_OBJ_OP_READ, 0, &object);
  if (code != 0) return code;
  const Key key = keyOfRow(TableId::ip4forward, kRouteKey, row);
  code = db_read_obj_with_buf(object, &key.desc, key.data(), row.data(), row.length());
  db_release_ip4forward_object(object);
  return code;
}

inline uint64_t routesStored() {
  FibDbEngineTableStats stats{};
  fibdb_engine_table_stats(numberOf(TableId::ip4forward), &stats);
  return stats.records;
}

}  // namespace fibdb::testing

#endif
