// tools/fibdb/routes/routes_file.h: the text form of a routing table.
//
// DESCRIPTION: one route a line, `prefix[/length] [group N | origin-as N]`; blank lines and # comments are
// skipped. Files may be plain, or compressed by gzip, xz, bzip2 or zstd; "-" is standard input. A bad line
// never stops the file: it is reported with its place and its reason, and the next line is read. COST:
// constant memory whatever the file holds, a file of one endless line included.
#ifndef FIBDB_TOOLS_ROUTES_FILE_H
#define FIBDB_TOOLS_ROUTES_FILE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "tools/fibdb/base/words.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/output/progress.h"

namespace fibdb::program {

inline constexpr size_t kMaxLineLength = 4096;
inline constexpr uint32_t kOriginGroups = 256;  // origin-as N stands for group N mod 256
inline constexpr uint64_t kShownBadLines = 20;

struct Route {
  Prefix prefix;
  uint32_t group = 0;
  uint64_t line = 0;  // 0: no file

  bool operator==(const Route&) const = default;
};

struct LineFault {
  std::string text;  // the offending part
  std::string reason;
};

// Nothing: a blank line or a comment.
using ParsedLine = std::variant<std::monostate, Route, LineFault>;
ParsedLine parseRouteLine(std::string_view line);

// What `save routes` writes and parseRouteLine reads.
std::string formatRouteLine(const Route& route);

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

struct RoutesFileReport {
  uint64_t routes = 0;
  uint64_t badLines = 0;
  bool broken = false;       // the rest could not be read; reported
  bool interrupted = false;  // SIGINT: the rest was not read
};

// Hands every route of the file to visit and reports bad lines to output, the first kShownBadLines of them one by one.
RoutesFileReport readRoutes(const std::string& file, Output& output, Progress& progress,
                            const std::function<void(const Route&)>& visit);

}  // namespace fibdb::program

#endif
