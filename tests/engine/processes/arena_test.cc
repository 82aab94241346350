// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/processes/arena_test.cc: making, joining and removing an arena, and who is in it.
#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <atomic>
#include <cinttypes>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <vector>

#include "in_arena.h"
#include "tests/support/emulator.h"

namespace fibdb::testing {
namespace {

constexpr uint32_t kAddr = 0x0A000000;

Row numbered(uint32_t number, uint32_t group = 7) { return route(kAddr + number * 256, 24, group); }

TEST(Arena, what_one_process_writes_another_reads_and_it_stays_when_both_are_gone) {
  const ArenaFolder folder;
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(folder.arena()) == 0);
              for (uint32_t i = 0; i < 5000; ++i) CHECK_IN_CHILD(writeRow(numbered(i, i)) == 0);
              return 0;
            }),
            0);
  const auto readAll = [&](bool readOnly) {
    return inChild([&] {
      CHECK_IN_CHILD(join(folder.arena(), readOnly) == 0);
      CHECK_IN_CHILD(routesStored() == 5000);
      for (uint32_t i = 0; i < 5000; ++i) {
        Row row = numbered(i);
        CHECK_IN_CHILD(readRow(row) == 0);
        CHECK_IN_CHILD(row.get("attr_word_a") == i);
      }
      return 0;
    });
  };
  EXPECT_EQ(readAll(false), 0);
  EXPECT_EQ(readAll(true), 0);
}

TEST(Arena, the_environment_alone_makes_a_program_join) {
  const ArenaFolder folder;
  const auto inEnvironment = [&](const char* size, const char* mode, auto&& work) {
    return inChild([&] {
      setenv("FIBDB_ARENA", folder.arena().c_str(), 1);
      setenv("FIBDB_ARENA_SIZE", size, 1);
      setenv("FIBDB_ARENA_MODE", mode, 1);
      return work();
    });
  };
  EXPECT_EQ(inEnvironment("64M", "0640",
                          [] {
                            CHECK_IN_CHILD(writeRow(numbered(1)) == 0);
                            return 0;
                          }),
            0);
  struct stat file;
  ASSERT_EQ(stat(folder.arena().c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 07777, 0640U);
  EXPECT_EQ(file.st_size, off_t{64} << 20);
  EXPECT_EQ(
      inEnvironment("1Q", "0640",
                    [] {
                      CHECK_IN_CHILD(writeRow(numbered(1)) == DB_ERR_ARENA_ACCESS);
                      CHECK_IN_CHILD(std::strstr(fibdb_engine_join_text(), "FIBDB_ARENA_SIZE: \"1Q\"") != nullptr);
                      return 0;
                    }),
      0);
}

TEST(Arena, tables_of_a_process_have_the_address_space_that_it_asks_for) {
  EXPECT_EQ(inChild([] {
              setenv("FIBDB_ARENA_SIZE", "8M", 1);
              uint32_t i = 0;
              while (i < 200'000 && writeRow(numbered(i)) == 0) ++i;  // of 171 bytes and more
              CHECK_IN_CHILD(writeRow(numbered(i)) == DB_ERR_NO_MEMORY);
              CHECK_IN_CHILD(i > 0 && i == routesStored());
              return 0;
            }),
            0);
  EXPECT_EQ(inChild([] {
              setenv("FIBDB_ARENA_SIZE", "1K", 1);
              CHECK_IN_CHILD(writeRow(numbered(1)) == DB_ERR_NO_MEMORY);
              CHECK_IN_CHILD(std::strstr(fibdb_engine_join_text(), "for tables in 1024 bytes") != nullptr);
              return 0;
            }),
            0);
}

TEST(Arena, of_many_that_come_at_the_same_time_one_makes_it_and_all_join) {
  const ArenaFolder folder;
  constexpr uint32_t kProcesses = 8;
  auto* const go =
      static_cast<std::atomic<bool>*>(mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  std::vector<pid_t> processes;
  for (uint32_t i = 0; i < kProcesses; ++i) {
    processes.push_back(start([&, i] {
      while (!go->load()) usleep(10);
      CHECK_IN_CHILD(join(folder.arena()) == 0);
      for (uint32_t j = 0; j < 500; ++j) CHECK_IN_CHILD(writeRow(numbered(i * 500 + j)) == 0);
      return 0;
    }));
  }
  go->store(true);
  for (const pid_t process : processes) EXPECT_EQ(await(process), 0);
  munmap(go, 4096);
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(folder.arena()) == 0);
              CHECK_IN_CHILD(routesStored() == kProcesses * 500);
              return 0;
            }),
            0);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << "and nothing lies beside it";
}

TEST(Arena, a_process_that_only_reads_cannot_change_it) {
  const ArenaFolder folder;
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(folder.arena(), /*readOnly=*/true) == DB_ERR_ARENA_ACCESS);
              CHECK_IN_CHILD(std::strstr(fibdb_engine_join_text(), "No such file") != nullptr);
              CHECK_IN_CHILD(writeRow(numbered(1)) == DB_ERR_ARENA_ACCESS);
              return 0;
            }),
            0);
  EXPECT_FALSE(std::filesystem::exists(folder.arena()));
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(folder.arena()) == 0);
              CHECK_IN_CHILD(writeRow(numbered(1)) == 0);
              return 0;
            }),
            0);
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(folder.arena(), /*readOnly=*/true) == 0);
              Row row = numbered(1);
              CHECK_IN_CHILD(readRow(row) == 0);
              CHECK_IN_CHILD(writeRow(row) == DB_ERR_READ_ONLY);
              CHECK_IN_CHILD(removeRow(row) == DB_ERR_READ_ONLY);
              CHECK_IN_CHILD(fibdb_engine_set_limits(numberOf(TableId::ip4forward), 1, 1) == DB_ERR_READ_ONLY);
              CHECK_IN_CHILD(fibdb_engine_clear(numberOf(TableId::ip4forward), nullptr) == DB_ERR_READ_ONLY);
              CHECK_IN_CHILD(fibdb_engine_reset() == DB_ERR_ARENA_JOINED);
              FibDbEngineShared shared{};
              CHECK_IN_CHILD(fibdb_engine_shared(&shared) == 0);
              CHECK_IN_CHILD(shared.readOnly == 1 && shared.refused == 4 && shared.path == folder.arena());
              // The same arena, to write as well.
              CHECK_IN_CHILD(join(folder.path() + "/other") == DB_ERR_ARENA_JOINED);
              CHECK_IN_CHILD(join(folder.arena()) == 0);
              CHECK_IN_CHILD(writeRow(numbered(2)) == 0);
              CHECK_IN_CHILD(routesStored() == 2);
              return 0;
            }),
            0);
}

// Changes some bytes of an arena's file.
void overwrite(const std::string& file, off_t at, const void* bytes, size_t length) {
  const int descriptor = open(file.c_str(), O_WRONLY);
  ASSERT_EQ(pwrite(descriptor, bytes, length, at), static_cast<ssize_t>(length));
  close(descriptor);
}

TEST(Arena, a_wrong_file_is_refused_with_what_was_expected_and_found) {
  const ArenaFolder folder;
  const auto joinSays = [&](uint32_t code, const char* text) {
    return inChild([&] {
      CHECK_IN_CHILD(join(folder.arena()) == code);
      if (std::strstr(fibdb_engine_join_text(), text) == nullptr) std::puts(fibdb_engine_join_text());
      CHECK_IN_CHILD(std::strstr(fibdb_engine_join_text(), text) != nullptr);
      CHECK_IN_CHILD(writeRow(numbered(1)) == code);
      return 0;
    });
  };
  std::ofstream(folder.arena()) << "not an arena";
  EXPECT_EQ(joinSays(DB_ERR_ARENA_FOREIGN, "has 12 bytes"), 0);
  std::ofstream(folder.arena()) << std::string(100000, 'x');
  EXPECT_EQ(joinSays(DB_ERR_ARENA_FOREIGN, "does not begin with \"fibdb arena\""), 0);
  EXPECT_EQ(std::filesystem::file_size(folder.arena()), 100000U) << "nothing was changed";
  std::filesystem::remove(folder.arena());
  std::filesystem::create_directory(folder.arena());
  EXPECT_EQ(joinSays(DB_ERR_ARENA_ACCESS, "Is a directory"), 0);
  std::filesystem::remove(folder.arena());

  const auto damaged = [&](off_t at, uint64_t value, size_t length, uint32_t code, const char* text) {
    std::filesystem::remove(folder.arena());
    EXPECT_EQ(inChild([&] { return static_cast<int>(join(folder.arena())); }), 0);
    overwrite(folder.arena(), at, &value, length);
    EXPECT_EQ(joinSays(code, text), 0) << text;
  };
  damaged(16, 99, 4, DB_ERR_ARENA_LAYOUT, "has layout 99, this engine has 3");
  damaged(20, 3, 4, DB_ERR_ARENA_LAYOUT, "has 3 stored structures");
  damaged(24, 4, 4, DB_ERR_ARENA_LAYOUT, "a word has 4 bytes there and 8 in this engine");
  damaged(88, 5, 8, DB_ERR_ARENA_LAYOUT, "has the schema 0000000000000005, this engine has ");
  damaged(96, 5, 8, DB_ERR_ARENA_FOREIGN, "claims to have 5 bytes");
  damaged(96, uint64_t{1} << 30, 8, DB_ERR_ARENA_CUT, "has 268435456 bytes, its head says 1073741824");
}

TEST(Arena, no_permission_is_said) {
  const ArenaFolder folder;
  std::filesystem::permissions(folder.path(), std::filesystem::perms::others_exec, std::filesystem::perm_options::add);
  EXPECT_EQ(inChild([&] { return static_cast<int>(join(folder.arena(), false, 0400)); }), 0);
  EXPECT_EQ(inChild([&] {
              constexpr uid_t kNobody = 65534;
              if (geteuid() == 0) CHECK_IN_CHILD(setuid(kNobody) == 0);  // root may open anything
              CHECK_IN_CHILD(join(folder.arena()) == DB_ERR_ARENA_ACCESS);
              CHECK_IN_CHILD(std::strstr(fibdb_engine_join_text(), "Permission denied") != nullptr);
              return 0;
            }),
            0);
}

// A small file system over the folder, for this process alone.
bool mountSmall(const std::string& folder) {
  return unshare(geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
         mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=8m") == 0;
}

TEST(Arena, a_full_file_system_is_an_answer) {
  const ArenaFolder folder;
  if (inChild([&] { return mountSmall(folder.path()) ? 0 : 1; }) != 0) GTEST_SKIP() << "this user may mount nothing";
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(mountSmall(folder.path()));
              CHECK_IN_CHILD(join(folder.arena()) == 0);
              uint32_t code = 0, stored = 0;
              for (; code == 0 && stored < 1000000; ++stored) code = writeRow(numbered(stored));
              CHECK_IN_CHILD(code == DB_ERR_NO_MEMORY);
              CHECK_IN_CHILD(routesStored() == stored - 1 && stored > 1000);
              for (uint32_t i = 0; i + 1 < stored; ++i) CHECK_IN_CHILD(removeRow(numbered(i)) == 0);
              return 0;
            }),
            0);
}

// Whether the kernel makes a huge page in this folder when it is asked to.
bool makesHugePages(const std::string& folder) {
#ifndef MADV_COLLAPSE
  constexpr int MADV_COLLAPSE = 25;
#endif
  constexpr size_t kHuge = size_t{2} << 20;
  const int file = open(folder.c_str(), O_TMPFILE | O_RDWR, 0600);
  if (file < 0 || posix_fallocate(file, 0, kHuge) != 0) return false;
  auto* const room = static_cast<std::byte*>(mmap(nullptr, 2 * kHuge, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  std::byte* const page = room + -reinterpret_cast<uintptr_t>(room) % kHuge;
  mmap(page, kHuge, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0);
  const bool makes = madvise(page, kHuge, MADV_COLLAPSE) == 0;
  munmap(room, 2 * kHuge);
  close(file);
  return makes;
}

// Of files in memory that this process maps: kilobytes in huge pages.
uint64_t inHugePages() {
  std::ifstream maps("/proc/self/smaps");
  uint64_t sum = 0, some = 0;
  for (std::string line; std::getline(maps, line);) {
    if (std::sscanf(line.c_str(), "ShmemPmdMapped: %" SCNu64, &some) == 1) sum += some;
  }
  return sum;
}

TEST(Arena, lies_in_huge_pages_for_who_writes_and_who_reads) {
  const ArenaFolder folder;
  if (emulation::kIsEmulated || !makesHugePages(folder.path())) GTEST_SKIP() << "no huge pages are made when asked for";
  constexpr uint32_t kRoutes = 60'000;
  constexpr uint64_t kTheirs = kRoutes * 100 / 1024;
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(folder.arena()) == 0);
              for (uint32_t i = 0; i < kRoutes; ++i) CHECK_IN_CHILD(writeRow(numbered(i)) == 0);
              CHECK_IN_CHILD(inHugePages() > kTheirs);
              return 0;
            }),
            0);
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(folder.arena(), /*readOnly=*/true) == 0);
              for (uint32_t i = 0; i < kRoutes; ++i) {
                Row row = numbered(i);
                CHECK_IN_CHILD(readRow(row) == 0);
              }
              CHECK_IN_CHILD(inHugePages() > kTheirs);
              return 0;
            }),
            0);
}

TEST(Arena, a_file_that_is_cut_while_it_is_used_is_an_answer) {
  const ArenaFolder folder;
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(folder.arena()) == 0);
              for (uint32_t i = 0; i < 2000; ++i) CHECK_IN_CHILD(writeRow(numbered(i)) == 0);
              CHECK_IN_CHILD(truncate(folder.arena().c_str(), 4096) == 0);
              Row row = numbered(1999);
              readRow(row);
              CHECK_IN_CHILD(readRow(row) == DB_ERR_ARENA_CUT);
              CHECK_IN_CHILD(writeRow(row) == DB_ERR_ARENA_CUT);
              return 0;
            }),
            0);
}

TEST(Arena, a_bus_error_elsewhere_ends_the_process_as_ever) {
  const ArenaFolder folder;
  EXPECT_EQ(inChild([&] {
              std::signal(SIGBUS, SIG_DFL);  // a sanitizer has a handler, and ends the process in its own way
              CHECK_IN_CHILD(join(folder.arena()) == 0);
              const int file = open((folder.path() + "/other").c_str(), O_RDWR | O_CREAT, 0600);
              CHECK_IN_CHILD(ftruncate(file, 4096) == 0);
              const auto* const bytes =
                  static_cast<volatile char*>(mmap(nullptr, 8192, PROT_READ, MAP_SHARED, file, 0));
              return int{bytes[4096]};
            }),
            -SIGBUS);
}

struct Seen {
  uint32_t writers = 0, readers = 0, dead = 0;
  std::string names;
};

Seen lookWhoIsThere(const char* arena) {
  Seen seen;
  fibdb_engine_processes(
      arena,
      [](const FibDbEngineProcess* process, void* context) {
        auto& counted = *static_cast<Seen*>(context);
        ++(process->isDead != 0 ? counted.dead : process->writes != 0 ? counted.writers : counted.readers);
        counted.names += process->name + std::string(" ");
        return 0;
      },
      &seen);
  return seen;
}

TEST(Arena, who_is_there_is_known_and_the_dead_are_swept) {
  const ArenaFolder folder;
  const std::string arena = folder.arena();
  const auto stay = [&](bool readOnly) {
    return start([&arena, readOnly] {
      CHECK_IN_CHILD(join(arena, readOnly) == 0);
      if (!readOnly) CHECK_IN_CHILD(writeRow(numbered(1)) == 0);
      pause();
      return 0;
    });
  };
  const pid_t writer = stay(false);
  EXPECT_EQ(inChild([&] {
              while (join(arena, true) != 0 || routesStored() == 0) usleep(1000);
              return 0;
            }),
            0);
  const pid_t reader = stay(true);
  EXPECT_EQ(inChild([&] {
              while (lookWhoIsThere(arena.c_str()).readers == 0) usleep(1000);
              const Seen outside = lookWhoIsThere(arena.c_str());
              CHECK_IN_CHILD(outside.writers == 1 && outside.readers == 1);
              CHECK_IN_CHILD(fibdb_engine_arena_remove(arena.c_str(), 0) == DB_ERR_ARENA_BUSY);
              CHECK_IN_CHILD(join(arena) == 0);
              const Seen inside = lookWhoIsThere(nullptr);
              CHECK_IN_CHILD(inside.writers == 2 && inside.readers == 1 && inside.dead == 0);
              CHECK_IN_CHILD(inside.names.find(emulation::nameInSystem("fibdb-processes")) != std::string::npos);
              kill(writer, SIGKILL);
              while (lookWhoIsThere(nullptr).writers == 2) usleep(1000);
              CHECK_IN_CHILD(lookWhoIsThere(nullptr).dead == 1);
              return 0;
            }),
            0);
  kill(writer, SIGKILL);  // whatever went wrong above, it ends
  EXPECT_EQ(await(writer), -SIGKILL);
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(arena) == 0);
              const Seen seen = lookWhoIsThere(nullptr);
              CHECK_IN_CHILD(seen.writers == 1 && seen.readers == 1);
              CHECK_IN_CHILD(seen.dead <= 1);
              return 0;
            }),
            0);
  kill(reader, SIGKILL);
  EXPECT_EQ(await(reader), -SIGKILL);
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(fibdb_engine_arena_remove(arena.c_str(), 0) == 0);
              CHECK_IN_CHILD(fibdb_engine_arena_remove(arena.c_str(), 0) == DB_ERR_ARENA_ACCESS);
              return 0;
            }),
            0);
  EXPECT_FALSE(std::filesystem::exists(arena));
}

int firstWaiting(const FibDbEngineProcess* process, void* context) {
  *static_cast<uint64_t*>(context) = process->waiting;
  return 1;
}

// Stops the connection's thread until it is let go.
struct Gate {
  std::atomic<bool> entered{false}, open{false};
};
void waitAtGate(void* context, const FibDbBatchResult*) {
  auto& gate = *static_cast<Gate*>(context);
  gate.entered = true;
  while (!gate.open) usleep(100);
}

TEST(Arena, the_batches_that_wait_are_told) {
  const ArenaFolder folder;
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(folder.arena()) == 0);
              uint64_t connection = 0, batch = 0, waiting = 99;
              CHECK_IN_CHILD(db_connect(0, 0, &connection) == 0);
              CHECK_IN_CHILD(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &batch) == 0);
              Gate gate;
              FibDbBatchCompletion completion{waitAtGate, &gate};
              for (uint32_t i = 0; i < 3; ++i) {
                const Row row = numbered(i);
                CHECK_IN_CHILD(db_reset_ip4forward_batch_object(batch, FIB_DB_OBJ_OP_WRITE) == 0);
                CHECK_IN_CHILD(db_set_ip4forward_all_fields(batch, row.data(), row.length()) == 0);
                CHECK_IN_CHILD(db_batch_add_oper(batch, nullptr, nullptr) == 0);
                CHECK_IN_CHILD(db_batch_exec_async(batch, reinterpret_cast<uint64_t>(&completion)) == 0);
              }
              while (!gate.entered) usleep(100);
              fibdb_engine_processes(nullptr, firstWaiting, &waiting);
              CHECK_IN_CHILD(waiting == 3);
              gate.open = true;
              CHECK_IN_CHILD(fibdb_engine_drain(connection) == 0);
              fibdb_engine_processes(nullptr, firstWaiting, &waiting);
              CHECK_IN_CHILD(waiting == 0);
              return 0;
            }),
            0);
}

TEST(Arena, a_child_of_fork_goes_on_and_its_copies_of_handles_are_stale) {
  const ArenaFolder folder;
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(folder.arena()) == 0);
              uint64_t object = 0;
              CHECK_IN_CHILD(db_create_ip4forward_obj(FIB_DB_OBJ_OP_WRITE, 0, &object) == 0);
              const int child = inChild([&] {
                CHECK_IN_CHILD(db_release_ip4forward_object(object) == DB_ERR_BAD_HANDLE);
                for (uint32_t i = 0; i < 100; ++i) CHECK_IN_CHILD(writeRow(numbered(i)) == 0);
                CHECK_IN_CHILD(lookWhoIsThere(nullptr).writers == 2);
                return 0;
              });
              CHECK_IN_CHILD(child == 0);
              CHECK_IN_CHILD(routesStored() == 100);
              CHECK_IN_CHILD(writeRow(numbered(100)) == 0);
              CHECK_IN_CHILD(db_release_ip4forward_object(object) == 0);
              return 0;
            }),
            0);
}

TEST(Arena, those_in_memory_are_listed) {
  const std::string name = "test-" + std::to_string(getpid());
  EXPECT_EQ(inChild([&] {
              CHECK_IN_CHILD(join(name) == 0);
              CHECK_IN_CHILD(writeRow(numbered(1)) == 0);
              return 0;
            }),
            0);
  EXPECT_EQ(inChild([&] {
              struct Found {
                const std::string& name;
                FibDbEngineArenaEntry entry{};
              } found{name};
              CHECK_IN_CHILD(fibdb_engine_arenas(
                                 [](const FibDbEngineArenaEntry* entry, void* context) {
                                   auto& wanted = *static_cast<Found*>(context);
                                   if (entry->name == wanted.name) wanted.entry = *entry;
                                   return 0;
                                 },
                                 &found) == 0);
              CHECK_IN_CHILD(found.entry.bytes == kArenaBytes && found.entry.code == 0);
              CHECK_IN_CHILD(found.entry.allocated >= 1 << 20 && found.entry.allocated < 64 << 20);
              CHECK_IN_CHILD(found.entry.processes == 0);
              CHECK_IN_CHILD(fibdb_engine_arena_remove(name.c_str(), 0) == 0);
              return 0;
            }),
            0);
}

}  // namespace
}  // namespace fibdb::testing
