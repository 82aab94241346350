// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/files/lines.cc: see lines.h.
#include "tools/fibdb/files/lines.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "tools/fibdb/base/failure.h"
#include "tools/fibdb/base/interrupt.h"
#include "tools/fibdb/base/words.h"
#include "tools/fibdb/output/text.h"

namespace fibdb::program {
namespace {

constexpr uint64_t kLinesPerProgress = 4096;
constexpr const char* kOverlongReason = "a line of more than 4096 bytes";
static_assert(kMaxLineLength == 4096, "the text above says so");

constexpr size_t kShownText = 200;  // of an offending text
constexpr const char* kGarbage = "garbage behind the compressed content";

}  // namespace

LineFault fault(std::string_view text, std::string reason) {
  return {std::string(text.substr(0, kShownText)), std::move(reason)};
}

// The file behind a LineSource: its descriptor, how much of it was read, and the decompression above it.
class LineSource::Archive {
 public:
  explicit Archive(const std::string& file) : file_(file), reader_(archive_read_new()) {
    open();
    // raw: the content as one entry; empty: a file of no bytes is a table of no routes.
    archive_read_support_format_raw(reader_);
    archive_read_support_format_empty(reader_);
    // Named one by one: some of the library's other filters start programs to decompress.
    archive_read_support_filter_gzip(reader_);
    archive_read_support_filter_xz(reader_);
    archive_read_support_filter_bzip2(reader_);
    archive_read_support_filter_zstd(reader_);
    archive_entry* entry = nullptr;
    if (archive_read_open(reader_, this, nullptr, &Archive::readSome, nullptr) != ARCHIVE_OK) giveUp();
    const int header = archive_read_next_header(reader_, &entry);
    if (header == ARCHIVE_EOF) ended_ = true;
    if (header < ARCHIVE_WARN) giveUp();
  }

  ~Archive() { close(); }

  // The next decompressed block; empty at the end.
  std::string_view block() {
    const void* data = nullptr;
    size_t size = 0;
    la_int64_t offset = 0;
    while (!ended_) {
      const int code = archive_read_data_block(reader_, &data, &size, &offset);
      if (code == ARCHIVE_EOF) end();
      if (code < ARCHIVE_WARN) fail();
      if (!ended_ && size > 0) return {static_cast<const char*>(data), size};
    }
    return {};
  }

  double share() const { return size_ == 0 ? -1.0 : static_cast<double>(read_) / static_cast<double>(size_); }

 private:
  void open() {
    const bool input = file_ == "-";
    descriptor_ = input ? STDIN_FILENO : ::open(file_.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    const bool opened = descriptor_ >= 0 && fstat(descriptor_, &status) == 0;
    error_ = opened && S_ISDIR(status.st_mode) ? EISDIR : errno;
    if (!opened || S_ISDIR(status.st_mode)) giveUp();
    error_ = 0;
    if (S_ISREG(status.st_mode)) size_ = static_cast<uint64_t>(status.st_size);
  }

  void close() {
    archive_read_free(reader_);
    if (descriptor_ > STDIN_FILENO) ::close(descriptor_);
  }

  // Some of the filters leave what stands behind the compressed content unread, and say nothing.
  void end() {
    ended_ = true;
    const bool consumed = archive_filter_bytes(reader_, -1) == static_cast<la_int64_t>(read_);
    const void* more = nullptr;
    if (!consumed || readSome(reader_, this, &more) != 0) fail(error_ == 0 ? kGarbage : nullptr);
  }

  [[noreturn]] void fail(const char* why = nullptr) const {
    const char* text = why != nullptr ? why : archive_error_string(reader_);
    const std::string reason = error_ != 0 ? std::strerror(error_) : text != nullptr ? text : "cannot be read";
    throw Failure(error_ == EINTR ? Status::kInterrupted : Status::kFailed, reason);
  }

  // From the constructor, whose failure runs no destructor.
  [[noreturn]] void giveUp() {
    try {
      fail();
    } catch (...) {
      close();
      throw;
    }
  }

  static la_ssize_t readSome(archive* reader, void* context, const void** buffer) {
    auto& self = *static_cast<Archive*>(context);
    *buffer = self.buffer_.data();
    const bool ready = waitForInput(self.descriptor_);
    const ssize_t got = ready ? ::read(self.descriptor_, self.buffer_.data(), self.buffer_.size()) : -1;
    if (got >= 0) {
      self.read_ += static_cast<uint64_t>(got);
      return got;
    }
    self.error_ = ready ? errno : EINTR;
    archive_set_error(reader, self.error_, "%s", std::strerror(self.error_));
    return -1;
  }

  const std::string file_;
  archive* reader_;
  int descriptor_ = -1;
  int error_ = 0;  // of read(2): it says more than the library's text
  bool ended_ = false;
  uint64_t size_ = 0;  // bytes; 0: unknown
  uint64_t read_ = 0;
  std::array<char, 65536> buffer_;
};

LineSource::LineSource(const std::string& file) : archive_(std::make_unique<Archive>(file)) {}
LineSource::LineSource(LineSource&&) noexcept = default;
LineSource::~LineSource() = default;

bool LineSource::fill() {
  block_ = archive_->block();
  return !block_.empty();
}

LineSource::Next LineSource::next(std::string_view& line) {
  held_.clear();
  bool started = false;
  while (!block_.empty() || fill()) {
    if (!started) ++lineNumber_;
    started = true;
    const size_t newline = block_.find('\n');
    const std::string_view piece = block_.substr(0, newline);
    const bool ended = newline != std::string_view::npos;
    block_.remove_prefix(ended ? newline + 1 : block_.size());
    if (ended && held_.empty() && piece.size() <= kMaxLineLength) {
      line = piece;
      return Next::kLine;
    }
    // One byte above the limit is kept, as the mark of an overlong line.
    held_.append(piece.substr(0, kMaxLineLength + 1 - held_.size()));
    if (ended) break;
  }
  line = held_;
  if (!started) return Next::kEnd;
  return held_.size() > kMaxLineLength ? Next::kOverlong : Next::kLine;
}

double LineSource::share() const { return archive_->share(); }

namespace {

// Shows the first bad lines and counts the others.
class BadLines {
 public:
  BadLines(const std::string& file, Output& output, Progress& progress)
      : file_(file), output_(output), progress_(progress) {}

  void add(uint64_t line, const LineFault& bad) {
    if (++count_ <= kShownBadLines) show(line, bad.reason, bad.text);
  }

  // A message that is always shown. line 0: about the whole file.
  void show(uint64_t line, const std::string& message, const std::string& text = {}) {
    progress_.clear();
    output_.complain({message, {file_, line}, text});
  }

  void close() {
    if (count_ > kShownBadLines) show(0, "and " + counted(count_ - kShownBadLines, "more bad line"));
  }

  uint64_t count() const { return count_; }

 private:
  const std::string& file_;
  Output& output_;
  Progress& progress_;
  uint64_t count_ = 0;
};

LineSource openFile(const std::string& file) {
  try {
    return LineSource(file);
  } catch (const Failure& failure) {
    if (file == "-") throw Failure(failure.status(), std::string("standard input: ") + failure.what());
    throw Failure(failure.status(), failure.what()).inFile(file.empty() ? inQuotes(file) : file);
  }
}

// The next line; the end also when SIGINT or a damaged file ends it early, which report then says.
LineSource::Next nextLine(LineSource& source, std::string_view& line, BadLines& bad, FileReport& report) {
  try {
    report.interrupted = interrupted();
    return report.interrupted ? LineSource::Next::kEnd : source.next(line);
  } catch (const Failure& failure) {
    report.interrupted = failure.status() == Status::kInterrupted;
    report.broken = !report.interrupted;
    if (report.broken) bad.show(source.lineNumber(), failure.what());
    return LineSource::Next::kEnd;
  }
}

}  // namespace

FileReport readLines(const std::string& file, Output& output, Progress& progress, const TakeLine& take) {
  using Next = LineSource::Next;
  FileReport report;
  BadLines bad(file, output, progress);
  LineSource source = openFile(file);
  std::string_view line;
  for (Next next = nextLine(source, line, bad, report); next != Next::kEnd;
       next = nextLine(source, line, bad, report)) {
    const uint64_t number = source.lineNumber();
    if (number == 1) line = withoutByteOrderMark(line);
    const auto wrong = next == Next::kOverlong ? fault(line, kOverlongReason) : take(line, number);
    if (wrong) bad.add(number, *wrong);
    if (number % kLinesPerProgress == 0) progress.update(source.share(), number);
  }
  bad.close();
  report.badLines = bad.count();
  return report;
}

}  // namespace fibdb::program
