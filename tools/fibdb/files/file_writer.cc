// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/files/file_writer.cc: see routes_writer.h.
#include "tools/fibdb/files/file_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "tools/fibdb/base/failure.h"

namespace fibdb::program {
namespace {

// What a file gets that is newly made; there is no call that only reads the mask.
mode_t newFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

FileWriter::FileWriter(const std::string& file) : file_(file), target_(file) {
  std::error_code missing;
  const auto resolved = std::filesystem::canonical(file, missing);
  if (!missing) target_ = resolved;
  struct stat status {};
  const bool exists = file != "-" && stat(target_.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    fail();
  }
  if (file == "-") {
    stream_ = fdopen(dup(STDOUT_FILENO), "w");
  } else if (exists && !S_ISREG(status.st_mode)) {
    stream_ = std::fopen(file.c_str(), "we");
  } else {
    openBeside();
    if (stream_ != nullptr) fchmod(fileno(stream_), exists ? status.st_mode & 07777 : newFileMode());
  }
  if (stream_ == nullptr) fail();
}

FileWriter::~FileWriter() {
  if (stream_ != nullptr) std::fclose(stream_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void FileWriter::openBeside() {
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

void FileWriter::close() {
  std::FILE* stream = stream_;
  stream_ = nullptr;
  const bool synced = std::fflush(stream) == 0 && (temporary_.empty() || fsync(fileno(stream)) == 0);
  const int error = errno;
  const bool closed = std::fclose(stream) == 0;
  if (!synced) errno = error;
  if (!synced || !closed) fail();
}

void FileWriter::commit() {
  close();
  if (temporary_.empty()) return;
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail();
  temporary_.clear();
}

void FileWriter::fail() const {
  const std::string name = file_ == "-" ? "standard output" : file_;
  throw Failure(Status::kFailed, name + ": " + std::strerror(errno));
}

}  // namespace fibdb::program
