// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/failure.h: how a command ends, and the exception that carries a refusal to the shell.
#ifndef FIBDB_TOOLS_FAILURE_H
#define FIBDB_TOOLS_FAILURE_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace fibdb::program {

// Exit statuses of the program; a command's own status is one of them too.
enum class Status : int {
  kOk = 0,
  kFailed = 1,         // refused, not found, or bad input
  kUsage = 2,          // no such command, or words that do not fit it
  kInterrupted = 130,  // SIGINT, as shells report it
};

// Ends the command that throws it. advice is a second line for the operator: a usage, a nearest word.
class Failure : public std::runtime_error {
 public:
  Failure(Status status, const std::string& message, std::string advice = {})
      : std::runtime_error(message), status_(status), advice_(std::move(advice)) {}

  // The same, about a file that a command names.
  Failure inFile(std::string file) && {
    file_ = std::move(file);
    return std::move(*this);
  }
  // The same, about a word that was given.
  Failure of(std::string text) && {
    text_ = std::move(text);
    return std::move(*this);
  }

  Status status() const { return status_; }
  const std::string& advice() const { return advice_; }
  const std::string& file() const { return file_; }
  const std::string& text() const { return text_; }

 private:
  Status status_;
  std::string advice_;
  std::string file_;
  std::string text_;
};

// A line for any status or code of the library and the engine, the number included.
std::string codeText(uint32_t code);

}  // namespace fibdb::program

#endif
