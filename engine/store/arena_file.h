// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/arena_file.h: the file of an arena that the processes of a device share.
//
// DESCRIPTION  A name without a slash is a file in /dev/shm; one with a slash is a path, on tmpfs, hugetlbfs or an
// ordinary file system. Who finds none creates it: without a name, filled in, and only then linked to the name, so that
// nobody ever sees half of one. Who finds one reads its head, and joins if the head is that of this very engine: magic
// number, version of the layout, size of every stored structure, schema. Whatever is wrong is said and changes nothing.
//
// The file has its full length from the start, with holes: its space is allocated before an extent is handed out, so
// that a full file system is an answer and not a bus error. A file that is cut while it is mapped is one all the same,
// unless the process has a bus guard (bus_guard.h).
//
// Who is there: each process holds a lock of its own on one byte far behind the file's end; where it lies says who it
// is. The kernel keeps these locks, and lets go of a process's whatever way it ends. Readers need no more than to open
// the file for reading.
//
// THREADS      open, giveName and close by one thread; the rest from any.
#ifndef FIBDB_ENGINE_STORE_ARENA_FILE_H
#define FIBDB_ENGINE_STORE_ARENA_FILE_H

#include <climits>
#include <cstddef>
#include <cstdint>
#include <span>

namespace fibdb::store {

inline constexpr char kArenaFolder[] = "/dev/shm/";
inline constexpr char kArenaPrefix[] = "fibdb.";

// How an arena is asked for.
struct ArenaRequest {
  const char* name;
  uint64_t bytes;  // address space, when it is created
  uint32_t mode;   // of the file, when it is created
  bool readOnly;   // an arena that is not there is not created
};

// What the head must say for this engine to join.
struct StoredSize {
  const char* what;
  uint32_t bytes;
};
struct ArenaIdentity {
  std::span<const StoredSize> sizes;  // of the stored structures, at most kMostSizes
  uint64_t schema;                    // a hash of it
};
inline constexpr size_t kMostSizes = 16;

// At the start of the arena's first extent. Of a private arena all is zero.
struct ArenaHead {
  char magic[16];
  uint32_t layout;
  uint32_t sizeCount;
  uint32_t sizes[kMostSizes];
  uint64_t schema;
  uint64_t bytes;      // of the file
  uint64_t createdAt;  // microseconds since 1970
};

struct ArenaProcess {
  uint32_t pid;
  bool writes;
  uint64_t joinedAt;  // seconds since 1970
};

class ArenaFile {
 public:
  ArenaFile() = default;
  ~ArenaFile() { close(); }
  ArenaFile(const ArenaFile&) = delete;
  ArenaFile& operator=(const ArenaFile&) = delete;

  // 0, or a code of fibdb/engine.h, and text() says what was expected and found.
  uint32_t open(const ArenaRequest& request, const ArenaIdentity& identity);
  // Created by this process, and known to nobody yet: to be filled, then given its name. DB_ERR_EXISTS: another was
  // faster, and its arena is to be opened instead.
  bool isNew() const { return isNew_; }
  uint32_t giveName();
  void close();
  // The same file for writing, in the place of the one for reading.
  uint32_t openForWriting();

  bool isOpen() const { return descriptor_ >= 0; }
  int descriptor() const { return descriptor_; }
  bool readOnly() const { return readOnly_; }
  uint64_t bytes() const { return head_.bytes; }
  const ArenaHead& head() const { return head_; }
  const char* path() const { return path_; }
  bool hasName(const char* name) const;
  const char* text() const { return text_; }
  // What is wrong with an arena that was opened, but cannot be used.
  void explain(uint32_t code);

  // Allocates space up to the step in which this byte lies: false when the file system has none. mapped: where the file
  // is, at a multiple of a huge page.
  bool allocateAt(uint64_t place, std::byte* mapped);
  // Whether the file has become shorter than its head says.
  bool isCut() const;

  // Enters this process: after open(), and in the child after fork().
  void enter();
  // This process, as the others see it.
  ArenaProcess self() const { return processOf(ownLock_); }
  // Whether another process with this number is there.
  bool hasProcess(uint32_t pid) const;
  // Calls visit for each other process that is there.
  template <class Visit>
  void eachProcess(Visit&& visit) const {
    eachLock(0, kLastLock, [&](uint64_t lock) { visit(processOf(lock)); });
  }

 private:
  static constexpr uint64_t kLocks = uint64_t{1} << 62;  // where they begin
  static constexpr uint64_t kLastLock = kLocks - 1;      // counted from there

  uint32_t fail(uint32_t code, const char* format, ...) __attribute__((format(printf, 3, 4)));
  uint32_t create(const ArenaRequest& request, const ArenaIdentity& identity);
  uint32_t join(const ArenaIdentity& identity);
  static ArenaProcess processOf(uint64_t lock);
  bool findLock(uint64_t first, uint64_t last, uint64_t& lock) const;
  bool allocate(uint64_t begin, uint64_t end);

  template <class Visit>
  void eachLock(uint64_t first, uint64_t last, Visit&& visit) const {
    uint64_t lock;
    if (first > last || !findLock(first, last, lock)) return;
    if (lock > first) eachLock(first, lock - 1, visit);
    visit(lock);
    if (lock < last) eachLock(lock + 1, last, visit);
  }

  int descriptor_ = -1;
  bool readOnly_ = false;
  bool isNew_ = false;
  uint64_t allocated_ = 0;  // known to be, by this process
  uint64_t ownLock_ = 0;
  ArenaHead head_{};
  char path_[PATH_MAX] = {};
  char text_[PATH_MAX + 256] = {};
};

}  // namespace fibdb::store

#endif
