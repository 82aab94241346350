// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/files/file_writer.cc: see file_writer.h.
#include "tools/fibdb/files/file_writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "tools/fibdb/base/failure.h"
#include "tools/fibdb/base/words.h"

namespace fibdb::program {
namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;  // as the kernel follows

// What a file gets that is newly made; there is no call that only reads the mask.
mode_t newFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

// Where the links end, also when nothing is there yet.
std::string followed(const std::string& file) {
  fs::path target(file);
  std::error_code none;
  for (int links = 0; links < kMostLinks && fs::is_symlink(target, none); ++links) {
    const fs::path next = fs::read_symlink(target, none);
    target = next.is_absolute() ? next : target.parent_path() / next;
  }
  return target;
}

std::string openFilePath(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

// A file without a name in the folder of target, or -1 where there are none.
int openNameless(const std::string& target) {
  const std::string folder = fs::path(target).parent_path();
  const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
  if (descriptor < 0 || access(openFilePath(descriptor).c_str(), F_OK) == 0) return descriptor;
  ::close(descriptor);
  return -1;
}

}  // namespace

FileWriter::FileWriter(const std::string& file) : file_(file), target_(followed(file)) {
  open();
  if (stream_ == nullptr) fail();
}

void FileWriter::open() {
  struct stat status {};
  std::error_code none;
  if (file_ == "-") {
    stream_ = fdopen(dup(STDOUT_FILENO), "w");
  } else if (fs::is_symlink(target_, none)) {
    errno = ELOOP;
  } else if (stat(target_.c_str(), &status) != 0) {
    openBeside(nullptr);
  } else if (S_ISDIR(status.st_mode)) {
    errno = EISDIR;
  } else if (S_ISREG(status.st_mode)) {
    replacesContent_ = status.st_size > 0;
    openBeside(&status);
  } else {
    stream_ = std::fopen(file_.c_str(), "we");
  }
}

FileWriter::~FileWriter() {
  if (stream_ != nullptr) std::fclose(stream_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void FileWriter::openBeside(const struct stat* replaced) {
  renamed_ = true;
  const int nameless = openNameless(target_);
  if (nameless >= 0) {
    stream_ = fdopen(nameless, "w");
  } else {
    openNamed();
  }
  if (stream_ == nullptr) return;
  const int descriptor = fileno(stream_);
  // The owner only root can keep; the mode follows, for a change of the owner takes bits of it away.
  if (replaced != nullptr) (void)!fchown(descriptor, replaced->st_uid, replaced->st_gid);
  fchmod(descriptor, replaced != nullptr ? replaced->st_mode & 07777 : newFileMode());
}

void FileWriter::openNamed() {
  temporary_ = target_ + ".XXXXXX";
  const int descriptor = mkostemp(temporary_.data(), O_CLOEXEC);
  if (descriptor < 0) {
    temporary_.clear();
    return;
  }
  stream_ = fdopen(descriptor, "w");
}

void FileWriter::write(std::string_view line) {
  if (std::fwrite(line.data(), 1, line.size(), stream_) != line.size()) fail();
  ++count_;
}

void FileWriter::requireRecords(uint64_t records, const std::string& command) const {
  if (records > 0 || !replacesContent_) return;
  throw Failure(Status::kFailed, "kept, for it holds something and there is nothing to save",
                "to replace it all the same: " + command)
      .inFile(file_);
}

// A new link cannot take a name that is taken: it gets one beside the target first.
void FileWriter::giveName() {
  const std::string path = openFilePath(fileno(stream_));
  for (int number = 0;; ++number) {
    const std::string name = target_ + '.' + std::to_string(getpid()) + '.' + std::to_string(number);
    if (linkat(AT_FDCWD, path.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
      temporary_ = name;
      return;
    }
    if (errno != EEXIST) fail();
  }
}

void FileWriter::finish() {
  const bool written = std::fflush(stream_) == 0 && (!renamed_ || fsync(fileno(stream_)) == 0);
  if (!written) fail();
  if (renamed_ && temporary_.empty()) giveName();
  std::FILE* stream = stream_;
  stream_ = nullptr;
  if (std::fclose(stream) != 0) fail();
}

void FileWriter::commit() {
  finish();
  if (!renamed_) return;
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail();
  temporary_.clear();
}

void FileWriter::fail() const {
  const std::string reason = std::strerror(errno);
  if (file_ == "-") throw Failure(Status::kFailed, "standard output: " + reason);
  throw Failure(Status::kFailed, reason).inFile(file_.empty() ? inQuotes(file_) : file_);
}

}  // namespace fibdb::program
