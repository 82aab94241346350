// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/facade_cost.cc: exported calls over a platform that does nothing, to be run under an instruction counter.
//   facade_cost            prints the names of the calls
//   facade_cost CALL N     makes N of them, and prints how many blocks of memory they asked for
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "fibdb/fibdb.h"

namespace {

uint64_t blocks;

void* take(size_t size) {
  ++blocks;
  return std::malloc(size);
}

FibDbNhpStdItem standard{};
FibDbIp4forwardItem route{};
FibDbIterator handle{.obj = 1, .rootIter = 1, .rsv = 0};

struct Call {
  std::string_view name;
  uint32_t (*make)();
};

constexpr Call kCalls[] = {
    {"FIB_DB_WriteNhpStd", [] { return FIB_DB_WriteNhpStd(&standard); }},
    {"FIB_DB_ReadNhpStd", [] { return FIB_DB_ReadNhpStd(&standard); }},
    {"FIB_DB_GetNextNhpStdEntry", [] { return FIB_DB_GetNextNhpStdEntry(&handle, &standard); }},
    {"FIB_DB_ReadIp4forwardByLpm",
     [] {
       route.mask_len = 32;
       return FIB_DB_ReadIp4forwardByLpm(&route);
     }},
};

}  // namespace

int main(int argc, char** argv) {
  const FibDbMemHooks hooks{take, std::free};
  FIB_DB_InitMem(&hooks);
  uint32_t failed = 0;
  for (const Call& call : kCalls) {
    if (argc < 3) std::printf("%s\n", call.name.data());
    if (argc < 3 || call.name != argv[1]) continue;
    for (long left = std::atol(argv[2]); left > 0; --left) failed += call.make() != 0;
    std::printf("%llu\n", static_cast<unsigned long long>(blocks));
  }
  return failed == 0 ? 0 : 1;
}
