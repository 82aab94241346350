// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/files/lines.h: the lines of a text file.
//
// DESCRIPTION: files may be plain, or compressed by gzip, xz, bzip2 or zstd; "-" is standard input. A bad line never
// stops the file: it is reported with its place and its reason, and the next line is read. COST: constant memory
// whatever the file holds, a file of one endless line included.
#ifndef FIBDB_TOOLS_LINES_H
#define FIBDB_TOOLS_LINES_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/progress.h"

namespace fibdb::program {

inline constexpr size_t kMaxLineLength = 4096;
inline constexpr uint64_t kShownBadLines = 20;

struct LineFault {
  std::string text;  // the offending part
  std::string reason;
};
// The text is shortened.
LineFault fault(std::string_view text, std::string reason);

// The lines of a file, decompressed. Throws Failure when the file cannot be opened or read.
class LineSource {
 public:
  enum class Next { kLine, kOverlong, kEnd };

  explicit LineSource(const std::string& file);
  LineSource(LineSource&&) noexcept;
  ~LineSource();

  // The next line without its newline; of an overlong one, its beginning. Valid until the next call.
  Next next(std::string_view& line);
  uint64_t lineNumber() const { return lineNumber_; }
  // How much of the file was read, 0 to 1; below 0 when its size is unknown.
  double share() const;

 private:
  class Archive;

  bool fill();

  std::unique_ptr<Archive> archive_;
  std::string_view block_;  // decompressed, not yet handed out
  std::string held_;        // the line that spans two blocks
  uint64_t lineNumber_ = 0;
};

struct FileReport {
  uint64_t badLines = 0;
  bool broken = false;       // the rest could not be read; reported
  bool interrupted = false;  // SIGINT: the rest was not read
};

// Hands every line of the file with its number to take, which says what is wrong with it, if anything; bad lines are
// reported to output, the first kShownBadLines of them one by one.
using TakeLine = std::function<std::optional<LineFault>(std::string_view line, uint64_t number)>;
FileReport readLines(const std::string& file, Output& output, Progress& progress, const TakeLine& take);

}  // namespace fibdb::program

#endif
