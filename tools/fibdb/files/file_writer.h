// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/files/file_writer.h: a file that appears when it is complete, or not at all.
//
// DESCRIPTION: lines go to a new file without a name, which takes the target's name in commit(). Whatever ends the
// program before, a signal included, the target is as it was and nothing lies beside it; where a file system knows no
// files without a name, one beside the target is used, which only an orderly end removes. A symbolic link stays one:
// the file it leads to is written, be it there already or not. "-" is standard output; pipes and devices are written to
// as they stand, for nothing can be renamed over them. Throws Failure when a write fails.
#ifndef FIBDB_TOOLS_FILE_WRITER_H
#define FIBDB_TOOLS_FILE_WRITER_H

#include <sys/stat.h>

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
  // Refuses to put a file without a single record in the place of one that holds something.
  // command: what would replace it all the same.
  void requireRecords(uint64_t records, const std::string& command) const;
  void commit();
  uint64_t count() const { return count_; }  // of lines

 private:
  void open();
  void openBeside(const struct stat* replaced);
  void openNamed();
  void giveName();
  void finish();
  [[noreturn]] void fail() const;

  const std::string file_;
  const std::string target_;  // file_ with symbolic links followed
  std::string temporary_;     // a name beside the target, to be removed unless it becomes the target's
  bool renamed_ = false;      // the target's name is taken at the end; else it is written in place
  bool replacesContent_ = false;
  std::FILE* stream_ = nullptr;
  uint64_t count_ = 0;
};

}  // namespace fibdb::program

#endif
