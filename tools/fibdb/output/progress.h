// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/progress.h: a line on the terminal that says how far long work has come.
//
// DESCRIPTION: drawn on standard error at most ten times a second, and taken away when the work ends.
// Switched off, it writes nothing at all. COST: update() is meant to be called every few thousand steps; it
// reads the clock.
#ifndef FIBDB_TOOLS_PROGRESS_H
#define FIBDB_TOOLS_PROGRESS_H

#include <cstdint>
#include <string>

namespace fibdb::program {

struct ProgressStyle {
  bool enabled = false;
  bool unicode = false;
};

class Progress {
 public:
  Progress(ProgressStyle style, std::string work);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // share: 0 to 1, or below 0 when nobody knows. steps: what was done so far.
  void update(double share, uint64_t steps);
  // Takes the line away until the next update, for a message to be written in its place.
  void clear();

 private:
  const ProgressStyle style_;
  const std::string work_;
  const int64_t start_;
  int64_t drawn_;
  bool shown_ = false;
};

}  // namespace fibdb::program

#endif
