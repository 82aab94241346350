// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/output/progress.cc: see progress.h.
#include "tools/fibdb/output/progress.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "tools/fibdb/base/clock.h"
#include "tools/fibdb/output/terminal.h"
#include "tools/fibdb/output/text.h"

namespace fibdb::program {
namespace {

constexpr int64_t kPause = 100'000'000;
constexpr size_t kProgressWidth = 30;
constexpr const char* kClearLine = "\r\033[K";

}  // namespace

Progress::Progress(ProgressStyle style, std::string work)
    : style_(style), work_(std::move(work)), start_(clockNow()), drawn_(start_) {}

Progress::~Progress() { clear(); }

void Progress::clear() {
  if (!shown_) return;
  std::fputs(kClearLine, stderr);
  std::fflush(stderr);
  shown_ = false;
}

void Progress::update(double share, uint64_t steps) {
  const int64_t now = clockNow();
  if (!style_.enabled || now - drawn_ < kPause) return;
  drawn_ = now;
  shown_ = true;
  const double seconds = static_cast<double>(now - start_) / 1e9;
  const auto rate = static_cast<uint64_t>(static_cast<double>(steps) / seconds);
  std::string line = work_;
  if (share >= 0) {
    const double known = std::min(share, 1.0);
    char percent[16];
    std::snprintf(percent, sizeof percent, " %3.0f %% ", known * 100);
    line += percent + drawBar(known, kProgressWidth, style_.unicode);
  }
  line += "  " + formatCount(steps) + "  " + formatCount(rate) + "/s";
  // Cut to one line that leaves the last column free: some terminals wrap as soon as it is written.
  const size_t width = errorWidth();
  if (width > 0) line = firstColumns(line, width - 1);
  std::fputs((kClearLine + line).c_str(), stderr);
  std::fflush(stderr);
}

}  // namespace fibdb::program
