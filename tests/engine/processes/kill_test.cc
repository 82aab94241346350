// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/processes/kill_test.cc: writers are killed at random moments, while others write and read.
//
// Each writer says on a board, in memory of its own kind, what it is about to write and when it is done. After its
// death each of its records is as the board says, before or after the write that was under way; the next write of
// another process goes through at once, and readers do not wait and never see what no writer wrote.
#include <sys/mman.h>
#include <time.h>

#include <atomic>
#include <random>
#include <vector>

#include "dead_owners.h"
#include "in_arena.h"

namespace fibdb::testing {
namespace {

constexpr uint32_t kWriters = 2;
constexpr uint32_t kReaders = 2;
constexpr uint32_t kKeys = 600;  // of each writer

// No read takes so many microseconds. A machine whose processors are somebody else's, too, may take milliseconds of any
// thread, and calls them the thread's own: seldom, while each death in a write would delay readers that waited for it.
constexpr uint64_t kSlow = 1000;

// A record's stamp; 0: there is none.
struct Place {
  std::atomic<uint32_t> done, wanted;
};

struct Reading {
  std::atomic<uint64_t> reads;
  std::atomic<uint64_t> longest;  // microseconds of the reader's own time
  std::atomic<uint32_t> slow;     // of more than kSlow
};

struct Board {
  Place places[kWriters][kKeys];
  std::atomic<uint64_t> writes[kWriters];
  Reading reading;
  Reading alone;  // of tables that nobody writes: what the machine itself does to a read
  std::atomic<uint32_t> falseRecords;
  std::atomic<bool> over;
};

uint64_t ownMicroseconds(clockid_t clock) {
  timespec now;
  clock_gettime(clock, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1'000'000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

uint32_t proofOf(uint32_t key, uint32_t stamp) { return key * 2654435761U ^ stamp * 40503U; }

// Prefixes inside each other, some with bits below their masks; groups that come and go.
Row rowOf(uint32_t writer, uint32_t key, uint32_t stamp) {
  static constexpr uint8_t kMasks[] = {24, 16, 28, 32, 32, 20};
  const uint32_t number = key / 6;
  Row row = route(0x0A000000 + writer * 0x1000000 + number * 0x100 + key % 6, kMasks[key % 6], stamp % 50);
  row.set("attr_word_b", stamp).set("attr_word_c", key).set("attr_word_d", proofOf(key, stamp));
  row.set("attr_dword_c", uint64_t{proofOf(key, stamp)} << 32 | stamp);
  return row;
}

bool isTrue(const Row& row) {
  const auto key = static_cast<uint32_t>(row.get("attr_word_c")), stamp = static_cast<uint32_t>(row.get("attr_word_b"));
  return row.get("attr_word_d") == proofOf(key, stamp) && row.get("attr_word_a") == stamp % 50 &&
         row.get("attr_dword_c") == (uint64_t{proofOf(key, stamp)} << 32 | stamp);
}

// Until it is killed.
int writeOn(Board& board, uint32_t writer, uint64_t seed) {
  std::mt19937_64 random(seed);
  for (;;) {
    const auto key = static_cast<uint32_t>(random() % kKeys);
    Place& place = board.places[writer][key];
    const uint32_t known = place.done.load();
    const bool removes = known != 0 && random() % 3 == 0;
    const uint32_t wanted = removes ? 0 : static_cast<uint32_t>(random() % 1'000'000 + 1);
    place.wanted.store(wanted);
    const uint32_t code = removes ? removeRow(rowOf(writer, key, 0)) : writeRow(rowOf(writer, key, wanted));
    CHECK_IN_CHILD(code == 0);
    place.done.store(wanted);
    board.writes[writer].fetch_add(1);
  }
}

int readOn(Board& board, Reading& reading, uint64_t seed) {
  std::mt19937_64 random(seed);
  uint64_t object = 0;
  CHECK_IN_CHILD(db_create_ip4forward_obj(FIB_DB_OBJ_OP_SCAN, 0, &object) == 0);
  while (!board.over.load()) {
    const auto writer = static_cast<uint32_t>(random() % kWriters), key = static_cast<uint32_t>(random() % kKeys);
    Row row = rowOf(writer, key, 0);
    const uint64_t began = ownMicroseconds(CLOCK_THREAD_CPUTIME_ID);
    uint32_t code = 0;
    if (random() % 2 == 0) {
      code = readRow(row);
    } else {
      Key host = keyOfRow(TableId::ip4forward, kRouteLongest, row);
      host.bytes.back() = 32;
      uint64_t iterator = 0;
      code = db_create_root_iter(object, &host.desc, host.data(), &iterator);
      if (code == 0) code = db_root_iterator_next(iterator);
      if (code == 0) code = db_read_obj_with_buf(object, nullptr, nullptr, row.data(), row.length());
    }
    const uint64_t took = ownMicroseconds(CLOCK_THREAD_CPUTIME_ID) - began;
    if (took > reading.longest.load()) reading.longest.store(took);
    if (took > kSlow) reading.slow.fetch_add(1);
    if (code == 0 && !isTrue(row)) board.falseRecords.fetch_add(1);
    reading.reads.fetch_add(1);
  }
  return 0;
}

// Beside the others, in an arena of its own.
int readAlone(Board& board, const std::string& arena, uint64_t seed) {
  CHECK_IN_CHILD(join(arena) == 0);
  for (uint32_t key = 0; key < kKeys; ++key) CHECK_IN_CHILD(writeRow(rowOf(key % kWriters, key, 1)) == 0);
  return readOn(board, board.alone, seed);
}

// What a writer that is gone left is what it had written, or what it was about to write.
int settle(Board& board, uint32_t writer) {
  for (uint32_t key = 0; key < kKeys; ++key) {
    Place& place = board.places[writer][key];
    Row row = rowOf(writer, key, 0);
    const uint32_t code = readRow(row);
    CHECK_IN_CHILD(code == 0 || code == DB_ERR_NO_DATA);
    const uint32_t stamp = code == 0 ? static_cast<uint32_t>(row.get("attr_word_b")) : 0;
    CHECK_IN_CHILD(code != 0 || isTrue(row));
    CHECK_IN_CHILD(stamp == place.done.load() || stamp == place.wanted.load());
    place.done.store(stamp);
    place.wanted.store(stamp);
  }
  return 0;
}

int sayFinding(const char* table, const char* finding, void*) {
  std::fprintf(stderr, "%s: %s\n", table, finding != nullptr ? finding : "overtaken");
  return 0;
}

// REQUIRES: nobody writes, and the table was written since somebody died.
int checkAll() {
  FibDbEngineCheck check{};
  CHECK_IN_CHILD(fibdb_engine_check(sayFinding, nullptr, &check) == 0);
  CHECK_IN_CHILD(check.findings == 0 && check.overtaken == 0);
  return 0;
}

// Kills it, and waits until the locks that it held are told to be without an owner.
bool killNow(pid_t process, const std::string& arena) {
  kill(process, SIGKILL);
  return await(process) == -SIGKILL && tellDeathOf(process, arena);
}

int killOn(Board& board, const std::string& arena, uint32_t kills, uint64_t seed) {
  CHECK_IN_CHILD(join(arena) == 0);
  std::mt19937_64 random(seed);
  std::vector<pid_t> readers, writers;
  for (uint32_t i = 0; i < kReaders; ++i) {
    readers.push_back(start([&] { return readOn(board, board.reading, seed + i); }));
  }
  for (uint32_t i = 0; i < kWriters; ++i) writers.push_back(start([&] { return writeOn(board, i, seed * 31 + i); }));
  uint64_t longestWrite = 0;
  const auto begin = [&](uint32_t writer, uint32_t i) {
    writers[writer] = start([&] { return writeOn(board, writer, seed * 1000 + i); });
  };
  for (uint32_t i = 0; i < kills; ++i) {
    const auto writer = static_cast<uint32_t>(random() % kWriters);
    const uint64_t before = board.writes[writer].load();
    // It has begun, and is somewhere in one of its next writes.
    while (board.writes[writer].load() == before) sched_yield();
    for (uint64_t spins = random() % 20000; spins > 0; --spins) __asm__ volatile("");
    CHECK_IN_CHILD(killNow(writers[writer], arena));
    const uint64_t began = ownMicroseconds(CLOCK_THREAD_CPUTIME_ID);
    CHECK_IN_CHILD(writeRow(route(0x01000000, 32, i)) == 0);
    longestWrite = std::max(longestWrite, ownMicroseconds(CLOCK_THREAD_CPUTIME_ID) - began);
    if (const int wrong = settle(board, writer)) return wrong;
    if (i % 20 == 0) {
      // The other, too, so that nobody writes.
      const uint32_t other = 1 - writer;
      CHECK_IN_CHILD(killNow(writers[other], arena));
      CHECK_IN_CHILD(writeRow(route(0x01000000, 32, i)) == 0);
      if (const int wrong = settle(board, other)) return wrong;
      if (const int wrong = checkAll()) return wrong;
      begin(other, i + kills);
    }
    begin(writer, i);
  }
  for (const pid_t writer : writers) CHECK_IN_CHILD(killNow(writer, arena));
  board.over.store(true);
  for (const pid_t reader : readers) CHECK_IN_CHILD(await(reader) == 0);
  for (uint32_t writer = 0; writer < kWriters; ++writer) {
    CHECK_IN_CHILD(writeRow(route(0x01000000, 32, 1)) == 0);
    if (const int wrong = settle(board, writer)) return wrong;
  }
  if (const int wrong = checkAll()) return wrong;
  uint64_t records = 1;
  for (const auto& places : board.places) {
    for (const Place& place : places) records += place.done.load() != 0;
  }
  CHECK_IN_CHILD(routesStored() == records);
  FibDbEngineShared shared{};
  CHECK_IN_CHILD(fibdb_engine_shared(&shared) == 0);
  std::printf(
      "%u kills, %llu writes, %llu reads, %llu repairs; longest write after a kill %llu us; longest read %llu us, "
      "%llu us where nobody writes; %u and %u reads of more than %llu us\n",
      kills, static_cast<unsigned long long>(board.writes[0] + board.writes[1]),
      static_cast<unsigned long long>(board.reading.reads), static_cast<unsigned long long>(shared.repairs),
      static_cast<unsigned long long>(longestWrite), static_cast<unsigned long long>(board.reading.longest),
      static_cast<unsigned long long>(board.alone.longest), board.reading.slow.load(), board.alone.slow.load(),
      static_cast<unsigned long long>(kSlow));
  std::fflush(stdout);
  CHECK_IN_CHILD(shared.repairs > kills / 100);
  CHECK_IN_CHILD(longestWrite < 10'000);
  CHECK_IN_CHILD(board.reading.reads > 0 && board.reading.slow * 50 < shared.repairs + 150);
  CHECK_IN_CHILD(board.falseRecords == 0);
  return 0;
}

// Unless others are asked for. An emulated process is long in coming.
constexpr uint32_t kKills = emulation::kIsEmulated ? 100 : 300;

TEST(Kill, a_writer_killed_at_any_moment_harms_nobody) {
  const char* given = std::getenv("FIBDB_KILLS");
  const uint32_t kills = given != nullptr ? static_cast<uint32_t>(std::strtoul(given, nullptr, 0)) : kKills;
  const uint64_t seed = testSeed();
  const ArenaFolder folder;
  auto* const board =
      static_cast<Board*>(mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  const pid_t alone = start([&] { return readAlone(*board, folder.path() + "/alone", seed); });
  EXPECT_EQ(inChild([&] { return killOn(*board, folder.arena(), kills, seed); }), 0) << "FIBDB_SEED=" << seed;
  board->over.store(true);
  EXPECT_EQ(await(alone), 0);
  munmap(board, sizeof(Board));
}

}  // namespace
}  // namespace fibdb::testing
