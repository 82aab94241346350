// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/fuzz/program_input.h: the program without a terminal, and input that it reads as a file.
#ifndef FIBDB_TESTS_FUZZ_PROGRAM_INPUT_H
#define FIBDB_TESTS_FUZZ_PROGRAM_INPUT_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "fibdb/fibdb.h"
#include "tools/fibdb/output/output.h"

namespace fibdb::test {

inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

// An empty database that says nothing.
inline void startAnew() {
  require(fibdb_engine_reset() == 0, "the engine is not at rest");
  FIB_DB_TableRegisterInit();
}

// Takes what is written and forgets it.
class Nowhere : public std::streambuf {
 protected:
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }
  std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

// Renders answers like the program's own output, for nobody.
class QuietOutput {
 public:
  explicit QuietOutput(bool json)
      : output_(stream_, stream_, {}, json ? program::Form::kJsonLines : program::Form::kTable) {}

  program::Output& output() { return output_; }

 private:
  Nowhere nowhere_;
  std::ostream stream_{&nowhere_};
  program::Output output_;
};

// A file of these bytes that lies in no folder.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes) : descriptor_(memfd_create("input", MFD_CLOEXEC)) {
    for (size_t done = 0; done < bytes.size();) {
      const ssize_t written = write(descriptor_, bytes.data() + done, bytes.size() - done);
      require(written > 0, "no memory for a file");
      done += static_cast<size_t>(written);
    }
  }
  ~MemoryFile() { close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string name() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

inline std::string_view textOf(const uint8_t* data, size_t size) { return {reinterpret_cast<const char*>(data), size}; }

}  // namespace fibdb::test

#endif
