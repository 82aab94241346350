// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/peer.cc: what peers share, and the list of them.
#include "bench/peers/peer.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

namespace fibdb::bench {

void fail(const std::string& what) {
  std::fprintf(stderr, "fibdb-bench: %s\n", what.c_str());
  std::exit(1);
}

const std::string& scratch() {
  struct Folder {
    Folder() {
      const char* const asked = std::getenv("TMPDIR");
      std::string pattern = std::string(asked != nullptr ? asked : "/dev/shm") + "/fibdb-bench-XXXXXX";
      require(mkdtemp(pattern.data()) != nullptr, "no folder for files");
      path = pattern;
    }
    ~Folder() {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::string path;
  };
  static const Folder folder;
  return folder.path;
}

namespace {
std::vector<Entry>& entries() {
  static std::vector<Entry> all;
  return all;
}
}  // namespace

Enlisted::Enlisted(const char* name, std::unique_ptr<Peer> (*make)()) {
  const auto rank = [](const std::string& of) { return std::pair(!of.starts_with("fibdb"), of); };
  entries().push_back({name, make});
  std::ranges::sort(entries(), {}, [&](const Entry& entry) { return rank(entry.name); });
}

const std::vector<Entry>& roster() { return entries(); }

}  // namespace fibdb::bench
