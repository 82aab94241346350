// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/arena_file.cc: making and joining the file of a shared arena, and the locks of those who are there.
#include "engine/store/arena_file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "engine/store/arena.h"
#include "engine/store/wall_time.h"
#include "fibdb/engine.h"

namespace fibdb::store {
namespace {

constexpr char kMagic[sizeof ArenaHead::magic] = "fibdb arena";
constexpr uint32_t kLayout = 3;  // one more with every change of what the stored words mean

// Space is allocated in steps: a huge page, where there are any.
constexpr uint64_t kStep = uint64_t{2} << 20;

// What the file system makes small pages of unless it is mounted otherwise the kernel makes a huge one of when asked,
// from Linux 6.1 on, if there is one page already; a fifth of the work. Elsewhere nothing comes of it.
constexpr uint64_t kOnePage = 4096;
void askForHugePage(std::byte* step) {
#ifndef MADV_COLLAPSE
  constexpr int MADV_COLLAPSE = 25;
#endif
  madvise(step, kStep, MADV_COLLAPSE);
}

// A lock lies where it says who holds it: the second of joining, the process, whether it writes.
constexpr unsigned kPidBits = 22;  // the most that the kernel gives out
constexpr unsigned kPidShift = 1;
constexpr unsigned kTimeShift = kPidShift + kPidBits;

// False when the name is too long.
bool findPath(const char* name, char (&path)[PATH_MAX]) {
  const bool isPath = std::strchr(name, '/') != nullptr;
  const int length =
      std::snprintf(path, sizeof path, "%s%s%s", isPath ? "" : kArenaFolder, isPath ? "" : kArenaPrefix, name);
  return length >= 0 && static_cast<size_t>(length) < sizeof path;
}

}  // namespace

uint32_t ArenaFile::fail(uint32_t code, const char* format, ...) {
  const int length = std::snprintf(text_, sizeof text_, "arena %s: ", path_);
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text_ + length, sizeof text_ - static_cast<size_t>(length), format, arguments);
  va_end(arguments);
  const int error = errno;
  close();
  errno = error;
  return code;
}

bool ArenaFile::hasName(const char* name) const {
  char path[PATH_MAX];
  return findPath(name, path) && std::strcmp(path, path_) == 0;
}

uint32_t ArenaFile::open(const ArenaRequest& request, const ArenaIdentity& identity) {
  text_[0] = '\0';
  if (!findPath(request.name, path_)) return fail(DB_ERR_ARENA_ACCESS, "the name is too long");
  readOnly_ = request.readOnly;
  descriptor_ = ::open(path_, (readOnly_ ? O_RDONLY : O_RDWR) | O_CLOEXEC);
  if (descriptor_ >= 0) return join(identity);
  if (errno == ENOENT && !readOnly_) return create(request, identity);
  return fail(DB_ERR_ARENA_ACCESS, "%s", std::strerror(errno));
}

uint32_t ArenaFile::create(const ArenaRequest& request, const ArenaIdentity& identity) {
  char folder[PATH_MAX];
  std::strcpy(folder, path_);
  char* const slash = std::strrchr(folder, '/');
  slash[slash == folder ? 1 : 0] = '\0';
  descriptor_ = ::open(folder, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (descriptor_ < 0) return fail(DB_ERR_ARENA_ACCESS, "cannot be made in %s: %s", folder, std::strerror(errno));
  isNew_ = true;
  head_ = {};
  std::memcpy(head_.magic, kMagic, sizeof kMagic);
  head_.layout = kLayout;
  head_.sizeCount = static_cast<uint32_t>(identity.sizes.size());
  for (size_t i = 0; i < identity.sizes.size(); ++i) head_.sizes[i] = identity.sizes[i].bytes;
  head_.schema = identity.schema;
  head_.bytes = std::clamp(request.bytes, 2 * kStep, kMaxArenaBytes) / kStep * kStep;
  head_.createdAt = microsecondsNow();
  // The mode as asked for, whatever the umask of who comes first.
  if (fchmod(descriptor_, request.mode) != 0 || ftruncate(descriptor_, static_cast<off_t>(head_.bytes)) != 0) {
    return fail(DB_ERR_ARENA_ACCESS, "cannot have %llu bytes: %s", static_cast<unsigned long long>(head_.bytes),
                std::strerror(errno));
  }
  if (!allocate(0, kStep)) return fail(DB_ERR_NO_MEMORY, "the file system is full");
  allocated_ = kStep;
  return 0;
}

uint32_t ArenaFile::giveName() {
  char own[64];
  std::snprintf(own, sizeof own, "/proc/self/fd/%d", descriptor_);
  if (linkat(AT_FDCWD, own, AT_FDCWD, path_, AT_SYMLINK_FOLLOW) == 0) {
    isNew_ = false;
    return 0;
  }
  return errno == EEXIST ? fail(DB_ERR_EXISTS, "another process was faster")
                         : fail(DB_ERR_ARENA_ACCESS, "cannot be given its name: %s", std::strerror(errno));
}

uint32_t ArenaFile::join(const ArenaIdentity& identity) {
  struct stat file;
  if (fstat(descriptor_, &file) != 0) return fail(DB_ERR_ARENA_ACCESS, "%s", std::strerror(errno));
  if (!S_ISREG(file.st_mode)) return fail(DB_ERR_ARENA_FOREIGN, "not a file");
  const auto length = static_cast<unsigned long long>(file.st_size);
  const bool isWhole = pread(descriptor_, &head_, sizeof head_, 0) == static_cast<ssize_t>(sizeof head_);
  if (!isWhole) return fail(DB_ERR_ARENA_FOREIGN, "has %llu bytes, no arena has so few", length);
  if (std::memcmp(head_.magic, kMagic, sizeof kMagic) != 0) {
    return fail(DB_ERR_ARENA_FOREIGN, "does not begin with \"%s\"", kMagic);
  }
  if (head_.layout != kLayout) {
    return fail(DB_ERR_ARENA_LAYOUT, "has layout %u, this engine has %u", head_.layout, kLayout);
  }
  if (head_.sizeCount != identity.sizes.size()) {
    return fail(DB_ERR_ARENA_LAYOUT, "has %u stored structures, this engine has %zu", head_.sizeCount,
                identity.sizes.size());
  }
  for (size_t i = 0; i < identity.sizes.size(); ++i) {
    const StoredSize& own = identity.sizes[i];
    if (head_.sizes[i] == own.bytes) continue;
    return fail(DB_ERR_ARENA_LAYOUT, "%s has %u bytes there and %u in this engine", own.what, head_.sizes[i],
                own.bytes);
  }
  if (head_.schema != identity.schema) {
    return fail(DB_ERR_ARENA_LAYOUT, "has the schema %016llx, this engine has %016llx",
                static_cast<unsigned long long>(head_.schema), static_cast<unsigned long long>(identity.schema));
  }
  if (head_.bytes < 2 * kStep || head_.bytes > kMaxArenaBytes || head_.bytes % kStep != 0) {
    return fail(DB_ERR_ARENA_FOREIGN, "claims to have %llu bytes", static_cast<unsigned long long>(head_.bytes));
  }
  if (length < head_.bytes) {
    return fail(DB_ERR_ARENA_CUT, "has %llu bytes, its head says %llu", length,
                static_cast<unsigned long long>(head_.bytes));
  }
  return 0;
}

void ArenaFile::explain(uint32_t code) {
  if (text_[0] != '\0') return;
  if (code == DB_ERR_ARENA_FOREIGN) {
    fail(code, "has a head but no tables");
  } else {
    fail(code, "no address space, or huge pages, for its %llu bytes", static_cast<unsigned long long>(head_.bytes));
  }
}

uint32_t ArenaFile::openForWriting() {
  const int writing = ::open(path_, O_RDWR | O_CLOEXEC);
  struct stat here, there;
  const bool isSame = writing >= 0 && fstat(writing, &here) == 0 && fstat(descriptor_, &there) == 0 &&
                      here.st_dev == there.st_dev && here.st_ino == there.st_ino;
  if (!isSame) {
    const int error = errno;
    if (writing >= 0) ::close(writing);
    std::snprintf(text_, sizeof text_, "arena %s: %s", path_,
                  writing < 0 ? std::strerror(error) : "another file has its name now");
    return DB_ERR_ARENA_ACCESS;
  }
  ::close(std::exchange(descriptor_, writing));  // and with it the lock of a reader
  readOnly_ = false;
  return 0;
}

void ArenaFile::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
  isNew_ = false;
  allocated_ = 0;
}

bool ArenaFile::allocateAt(uint64_t place, std::byte* mapped) {
  const uint64_t known = __atomic_load_n(&allocated_, __ATOMIC_RELAXED);
  if (place < known) return true;
  // Where a step begins nobody uses any of it yet.
  if (place % kStep == 0 && allocate(place, place + kOnePage)) askForHugePage(mapped + place);
  const uint64_t end = (place / kStep + 1) * kStep;
  if (!allocate(known, end)) return false;
  __atomic_store_n(&allocated_, end, __ATOMIC_RELAXED);
  return true;
}

// Two processes may allocate the same at the same time: the second finds it done.
bool ArenaFile::allocate(uint64_t begin, uint64_t end) {
  int error = 0;
  do {
    error = posix_fallocate(descriptor_, static_cast<off_t>(begin), static_cast<off_t>(end - begin));
  } while (error == EINTR);
  return error == 0;
}

bool ArenaFile::isCut() const {
  struct stat file;
  return fstat(descriptor_, &file) != 0 || static_cast<uint64_t>(file.st_size) < head_.bytes;
}

void ArenaFile::enter() {
  ownLock_ = (microsecondsNow() / kMicrosPerSecond) << kTimeShift | static_cast<uint64_t>(getpid()) << kPidShift |
             (readOnly_ ? 0 : 1);
  struct flock lock {};
  lock.l_type = F_RDLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = static_cast<off_t>(kLocks | ownLock_);
  lock.l_len = 1;
  fcntl(descriptor_, F_SETLK, &lock);
}

ArenaProcess ArenaFile::processOf(uint64_t lock) {
  return {static_cast<uint32_t>(lock >> kPidShift & ((1U << kPidBits) - 1)), (lock & 1) != 0, lock >> kTimeShift};
}

bool ArenaFile::hasProcess(uint32_t pid) const {
  bool has = false;
  eachProcess([&](const ArenaProcess& process) { has = has || process.pid == pid; });
  return has;
}

// A process's own locks do not stand in its way, so it is not found by itself.
bool ArenaFile::findLock(uint64_t first, uint64_t last, uint64_t& found) const {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = static_cast<off_t>(kLocks | first);
  lock.l_len = static_cast<off_t>(last - first + 1);
  if (fcntl(descriptor_, F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) return false;
  found = static_cast<uint64_t>(lock.l_start) & (kLocks - 1);
  return true;
}

}  // namespace fibdb::store
