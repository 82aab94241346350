// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/files/file_writer.h: a file that appears when it is complete, or not at all.
//
// DESCRIPTION: lines go to a new file beside the target, which takes the target's name in commit(). Without a
// commit the new file is removed and the target is as it was. "-" is standard output; pipes and devices are
// written to as they stand, for nothing can be renamed over them. Throws Failure when a write fails.
#ifndef FIBDB_TOOLS_FILE_WRITER_H
#define FIBDB_TOOLS_FILE_WRITER_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace fibdb::program {

class FileWriter {
 public:
  explicit FileWriter(const std::string& file);
  ~FileWriter();
  FileWriter(const FileWriter&) = delete;
  FileWriter& operator=(const FileWriter&) = delete;

  // A line with its newline.
  void write(std::string_view line);
  void commit();
  uint64_t count() const { return count_; }  // of lines

 private:
  void openBeside();
  void close();
  [[noreturn]] void fail() const;

  const std::string file_;
  std::string target_;     // file_ with symbolic links followed
  std::string temporary_;  // empty: written in place
  std::FILE* stream_ = nullptr;
  uint64_t count_ = 0;
};

}  // namespace fibdb::program

#endif
