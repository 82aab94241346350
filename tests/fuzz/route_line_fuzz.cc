// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/fuzz/route_line_fuzz.cc: any line is a route, a fault with a reason, or nothing; a route that
// is written reads as the same route.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tools/fibdb/routes/routes_file.h"

using fibdb::program::LineFault;
using fibdb::program::Route;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view line(reinterpret_cast<const char*>(data), size);
  const auto parsed = fibdb::program::parseRouteLine(line);
  if (const auto* fault = std::get_if<LineFault>(&parsed); fault != nullptr && fault->reason.empty()) std::abort();
  const auto* route = std::get_if<Route>(&parsed);
  if (route == nullptr) return 0;
  std::string written = fibdb::program::formatRouteLine(*route);
  if (written.back() != '\n') std::abort();
  written.pop_back();
  const auto again = fibdb::program::parseRouteLine(written);
  if (!std::holds_alternative<Route>(again) || !(std::get<Route>(again) == *route)) std::abort();
  return 0;
}
