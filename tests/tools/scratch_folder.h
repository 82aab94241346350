// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/scratch_folder.h: a folder that a test has to itself, and that is gone afterwards.
#ifndef FIBDB_TESTS_TOOLS_SCRATCH_FOLDER_H
#define FIBDB_TESTS_TOOLS_SCRATCH_FOLDER_H

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace fibdb::program {

class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "fibdb-test-XXXXXX").string();
    path_ = mkdtemp(name.data());
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string path(const std::string& name) const { return (path_ / name).string(); }

  std::string write(const std::string& name, std::string_view content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
  }

  static std::string read(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  size_t fileCount() const {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
  }

 private:
  std::filesystem::path path_;
};

}  // namespace fibdb::program

#endif
