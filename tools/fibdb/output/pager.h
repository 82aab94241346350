// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/pager.h: standard output, behind a pager when an answer is longer than the terminal.
//
// DESCRIPTION: between begin() and end() what is written is held until it no longer fits the screen; then the pager is
// started and gets all of it. $PAGER says which one; without it `less -FRX`, if there is one. Empty or "cat": none.
// THREADS: one.
#ifndef FIBDB_TOOLS_PAGER_H
#define FIBDB_TOOLS_PAGER_H

#include <sys/types.h>

#include <array>
#include <streambuf>
#include <string>

namespace fibdb::program {

class Pager final : public std::streambuf {
 public:
  Pager();
  ~Pager() override;
  Pager(const Pager&) = delete;
  Pager& operator=(const Pager&) = delete;

  // read: an answer that is to be read, and may be longer than the screen.
  void begin(bool read);
  // Waits until the reader is done.
  void end();
  // Whether the pager was left, or interrupted: nobody waits for the rest of the answer.
  bool wasLeft() const { return left_; }

 protected:
  int_type overflow(int_type character) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;
  int sync() override;

 private:
  bool put(const char* text, size_t size);
  bool writeOut(const char* text, size_t size);
  bool release();
  bool fits() const;
  void start();

  std::string command_;
  std::string held_;
  bool holding_ = false;
  bool left_ = false;
  bool failed_ = false;  // something could not be written
  pid_t process_ = -1;
  int descriptor_;
};

}  // namespace fibdb::program

#endif
