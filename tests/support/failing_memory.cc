// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/failing_memory.cc: see failing_memory.h.
#include "tests/support/failing_memory.h"

#include <dlfcn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "fibdb/engine.h"
#include "fibdb/runtime.h"

namespace fibdb::test {

Requests hookRequests;
thread_local constinit Requests engineRequests;

namespace {

constexpr size_t kLargestMapping = size_t{80} << 20;  // the smallest arena, and what lies around it

std::set<void*> blocks;
uint64_t strayReleases;

void* allocate(size_t size) {
  if (hookRequests.failsNow()) return nullptr;
  void* const block = std::malloc(size);
  blocks.insert(block);
  return block;
}

void release(void* block) {
  if (blocks.erase(block) == 0) {
    ++strayReleases;
  } else {
    std::free(block);
  }
}

// The place where the engine was loaded, found without a request for memory.
const void* engineBase() {
  static const void* const base = [] {
    Dl_info info{};
    dladdr(dlsym(RTLD_DEFAULT, "fibdb_engine_version"), &info);
    return info.dli_fbase;
  }();
  return base;
}

bool isOfEngine(const void* caller) {
  static thread_local bool asking = false;  // finding the engine may itself ask for memory
  if (asking) return false;
  asking = true;
  Dl_info info{};
  const bool found = dladdr(caller, &info) != 0 && info.dli_fbase == engineBase();
  asking = false;
  return found;
}

}  // namespace

void installFailingHooks() {
  const FibDbMemHooks hooks{.alloc = allocate, .free = release};
  FIB_DB_InitMem(&hooks);
}

std::string blocksLeft() {
  std::string text;
  if (!blocks.empty()) text += std::to_string(blocks.size()) + " blocks alive; ";
  if (strayReleases > 0) text += std::to_string(strayReleases) + " releases of what was not alive";
  return text;
}

}  // namespace fibdb::test

// The C library's functions go by these names, too; under a sanitizer the sanitizer's are to be asked.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_memalign(size_t alignment, size_t size);
[[gnu::weak]] void* __interceptor_malloc(size_t size);
[[gnu::weak]] void* __interceptor_aligned_alloc(size_t alignment, size_t size);

[[gnu::noinline]] void* malloc(size_t size) noexcept {
  using namespace fibdb::test;
  if (engineRequests.armed() && isOfEngine(__builtin_return_address(0)) && engineRequests.failsNow()) return nullptr;
  return __interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size);
}

[[gnu::noinline]] void* aligned_alloc(size_t alignment, size_t size) noexcept {
  using namespace fibdb::test;
  if (engineRequests.armed() && isOfEngine(__builtin_return_address(0)) && engineRequests.failsNow()) return nullptr;
  return __interceptor_aligned_alloc != nullptr ? __interceptor_aligned_alloc(alignment, size)
                                                : __libc_memalign(alignment, size);
}

[[gnu::noinline]] void* mmap(void* address, size_t length, int protection, int flags, int file, off_t offset) noexcept {
  using namespace fibdb::test;
  if (length > kLargestMapping && isOfEngine(__builtin_return_address(0))) {
    errno = ENOMEM;
    return MAP_FAILED;
  }
  const long mapped = syscall(SYS_mmap, address, length, protection, flags, file, offset);
  return reinterpret_cast<void*>(mapped);
}
}
