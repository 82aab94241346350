// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/fuzz/routes_file_fuzz.cc: any file is read to its end or refused; a plain one as its lines are, one by one.
#include "tests/fuzz/program_input.h"
#include "tools/fibdb/base/failure.h"
#include "tools/fibdb/base/words.h"
#include "tools/fibdb/routes/routes_file.h"

namespace {

using namespace fibdb;
using program::Route;

// Compressed files begin with one of these, and are compared with nothing.
bool looksCompressed(std::string_view bytes) {
  using namespace std::string_view_literals;
  for (const auto magic : {"\x1F"sv, "\xFD"sv, "BZ"sv, "\x28\xB5"sv, "\x50\x2A\x4D\x18"sv, "\x2A\x4D\x18"sv}) {
    if (bytes.substr(0, 8).find(magic) != std::string_view::npos) return true;
  }
  return false;
}

struct Expected {
  std::vector<Route> routes;
  uint64_t badLines = 0;
};

Expected readLineByLine(std::string_view bytes) {
  Expected expected;
  for (uint64_t number = 1; !bytes.empty(); ++number) {
    const size_t newline = bytes.find('\n');
    const std::string_view line = bytes.substr(0, newline);
    bytes.remove_prefix(newline == std::string_view::npos ? bytes.size() : newline + 1);
    auto parsed = program::parseRouteLine(number == 1 ? program::withoutByteOrderMark(line) : line);
    auto* const route = std::get_if<Route>(&parsed);
    if (line.size() > program::kMaxLineLength || std::holds_alternative<program::LineFault>(parsed)) {
      ++expected.badLines;
    } else if (route != nullptr) {
      route->line = number;
      expected.routes.push_back(*route);
    }
  }
  return expected;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes = test::textOf(data, size);
  const test::MemoryFile file(bytes);
  test::QuietOutput quiet(false);
  program::Progress progress({}, "loading");
  std::vector<Route> routes;
  program::RoutesFileReport report;
  try {
    report = program::readRoutes(file.name(), quiet.output(), progress,
                                 [&](const Route& route) { routes.push_back(route); });
  } catch (const program::Failure&) {
    test::require(looksCompressed(bytes), "a plain file is refused");
    return 0;
  }
  test::require(report.routes == routes.size(), "routes are counted otherwise than they are handed out");
  if (looksCompressed(bytes)) return 0;
  const Expected expected = readLineByLine(bytes);
  test::require(!report.broken && report.badLines == expected.badLines, "other lines are bad");
  test::require(routes == expected.routes, "other routes");
  return 0;
}
