// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/routes/routes_file_test.cc: lines of a routes file, good and bad, plain and compressed.
#include "tools/fibdb/routes/routes_file.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>

#include "tests/tools/scratch_folder.h"
#include "tools/fibdb/base/failure.h"

namespace fibdb::program {
namespace {

Route goodLine(std::string_view line) {
  const ParsedLine parsed = parseRouteLine(line);
  const auto* route = std::get_if<Route>(&parsed);
  EXPECT_NE(route, nullptr) << line;
  return route != nullptr ? *route : Route{};
}

TEST(ParseRouteLine, all_forms_of_a_route_are_understood) {
  EXPECT_EQ(goodLine("10.0.0.0/8"), (Route{{0x0a000000, 8}, 0, 0}));
  EXPECT_EQ(goodLine("10.0.0.1"), (Route{{0x0a000001, 32}, 0, 0}));
  EXPECT_EQ(goodLine("  10.0.0.0/8\tgroup  7 \r"), (Route{{0x0a000000, 8}, 7, 0}));
  EXPECT_EQ(goodLine("10.0.0.0/8 group 4294967295 # the last"), (Route{{0x0a000000, 8}, UINT32_MAX, 0}));
  EXPECT_EQ(goodLine("default group 3"), (Route{{0, 0}, 3, 0}));
}

TEST(ParseRouteLine, an_origin_is_kept_and_says_the_group_unless_one_is_given) {
  const Route expected{{0x08080800, 24}, 15169 % 256, 0, 15169};
  for (const char* origin : {"origin-as 15169", "origin-as AS15169", "AS15169", "as15169"}) {
    EXPECT_EQ(goodLine("8.8.8.0/24 " + std::string(origin)), expected) << origin;
    EXPECT_EQ(goodLine("8.8.8.0/24 group 7 " + std::string(origin)), (Route{{0x08080800, 24}, 7, 0, 15169})) << origin;
  }
}

TEST(ParseRouteLine, blank_lines_and_comments_are_nothing) {
  for (const char* line : {"", "  \t\r", "# comment", "   # 10.0.0.0/8"}) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(parseRouteLine(line))) << line;
  }
}

TEST(ParseRouteLine, each_bad_line_names_the_offending_part_and_the_reason) {
  struct Case {
    std::string_view line, text, reason;
  };
  constexpr Case kCases[] = {
      {"bogus", "bogus", "not an IPv4 prefix"},
      {"10.0.0.0/33 group 1", "10.0.0.0/33", "mask above 32"},
      {"10.0.0.1/8", "10.0.0.1/8", "bits set beyond the mask"},
      {"10.0.0.0/8 via 1", "via", "neither group nor origin-as"},
      {"10.0.0.0/8 group", "group", "a number is missing"},
      {"10.0.0.0/8 group -1", "-1", "not a number below 2^32"},
      {"10.0.0.0/8 origin-as 4294967296", "4294967296", "not a number below 2^32"},
      {"10.0.0.0/8 group 1 group 2", "group", "words after the route"},
      {"10.0.0.0/8 AS1 AS1", "AS1", "words after the route"},
      {"10.0.0.0/8 origin-as 1 group 2", "group", "words after the route"},
      {"10.0.0.0/8 asx", "asx", "neither group nor origin-as"},
      {"10.0.0.0/8 AS4294967296", "4294967296", "not a number below 2^32"},
      {"10.0.0.0/8 origin-as", "origin-as", "a number is missing"},
      {{"10.0.0.0/8\0", 11}, {"10.0.0.0/8\0", 11}, "binary content"},
  };
  for (const Case& c : kCases) {
    const ParsedLine parsed = parseRouteLine(c.line);
    const auto* fault = std::get_if<LineFault>(&parsed);
    ASSERT_NE(fault, nullptr) << c.line;
    EXPECT_EQ(fault->text, c.text);
    EXPECT_EQ(fault->reason, c.reason);
  }
}

TEST(FormatRouteLine, is_read_back_as_the_same_route) {
  for (const Route& route : {Route{{0, 0}, 0, 0}, Route{{0x0a000000, 8}, UINT32_MAX, 0}, Route{{7, 32}, 1, 0},
                             Route{{7, 32}, 65, 0, 15169}, Route{{7, 32}, 66, 0, 15169}, Route{{7, 32}, 0, 0, 256}}) {
    const std::string line = formatRouteLine(route);
    EXPECT_EQ(line.back(), '\n');
    EXPECT_EQ(goodLine(std::string_view(line).substr(0, line.size() - 1)), route);
  }
}

class RoutesFile : public testing::Test {
 protected:
  RoutesFileReport read(const std::string& file) {
    Progress progress({}, "");
    return readRoutes(file, output_, progress, [this](const Route& route) { routes_.push_back(route); });
  }

  // The content as one compressed stream, as gzip, xz, bzip2 or zstd would write it.
  std::string compress(const std::string& name, const std::string& content, int (*filter)(archive*)) {
    const std::string file = folder_.path(name);
    archive* writer = archive_write_new();
    archive_entry* entry = archive_entry_new();
    archive_entry_set_filetype(entry, AE_IFREG);
    EXPECT_EQ(filter(writer), ARCHIVE_OK);
    archive_write_set_format_raw(writer);
    EXPECT_EQ(archive_write_open_filename(writer, file.c_str()), ARCHIVE_OK);
    archive_write_header(writer, entry);
    EXPECT_EQ(archive_write_data(writer, content.data(), content.size()), static_cast<la_ssize_t>(content.size()));
    archive_entry_free(entry);
    EXPECT_EQ(archive_write_free(writer), ARCHIVE_OK);
    return file;
  }

  std::string failureOf(const std::string& file) {
    try {
      read(file);
    } catch (const Failure& failure) {
      return failure.file() + (failure.file().empty() ? "" : ": ") + failure.what();
    }
    return "no failure";
  }

  static std::string manyRoutes(uint32_t count) {
    std::string text;
    for (uint32_t i = 0; i < count; ++i) text += formatRouteLine({{i << 8, 24}, i, 0});
    return text;
  }

  ScratchFolder folder_;
  std::ostringstream answers_, errors_;
  Output output_{answers_, errors_, {}};
  std::vector<Route> routes_;
};

TEST_F(RoutesFile, routes_arrive_in_order_with_their_line_numbers) {
  const auto report = read(folder_.write("f", "# first\n10.0.0.0/8 group 1\n\n11.0.0.0/8"));
  EXPECT_EQ(report.routes, 2u);
  EXPECT_EQ(report.badLines, 0u);
  EXPECT_EQ(routes_, (std::vector<Route>{{{0x0a000000, 8}, 1, 2}, {{0x0b000000, 8}, 0, 4}}));
}

TEST_F(RoutesFile, lines_end_with_or_without_carriage_returns_and_last_newline) {
  EXPECT_EQ(read(folder_.write("f", "10.0.0.0/8 group 1\r\n11.0.0.0/8\r\n")).routes, 2u);
  EXPECT_EQ(read(folder_.write("g", "10.0.0.0/8\n\n\n")).routes, 1u);
}

TEST_F(RoutesFile, a_byte_order_mark_is_no_part_of_the_first_line) {
  EXPECT_EQ(read(folder_.write("f",
                               "\xef\xbb\xbf"
                               "10.0.0.0/8\n11.0.0.0/8\n"))
                .routes,
            2u);
  EXPECT_EQ(read(folder_.write("g",
                               "10.0.0.0/8\n\xef\xbb\xbf"
                               "11.0.0.0/8\n"))
                .badLines,
            1u)
      << "later it is one";
}

TEST_F(RoutesFile, an_empty_file_is_an_empty_table) {
  const auto report = read(folder_.write("f", ""));
  EXPECT_EQ(report.routes + report.badLines, 0u);
  EXPECT_FALSE(report.broken);
}

TEST_F(RoutesFile, a_line_at_the_limit_is_read_and_one_byte_more_is_refused_by_number) {
  const std::string longest = "10.0.0.0/8 #" + std::string(kMaxLineLength - 12, 'x');
  ASSERT_EQ(longest.size(), kMaxLineLength);
  const std::string file = folder_.write("f", longest + "\n" + longest + "x\n11.0.0.0/8\n");
  const auto report = read(file);
  EXPECT_EQ(report.routes, 2u);
  EXPECT_EQ(report.badLines, 1u);
  EXPECT_EQ(routes_.back().line, 3u);
  EXPECT_EQ(errors_.str().find(file + ":2: \"10.0.0.0/8 #xxx"), 0u);
}

TEST_F(RoutesFile, an_endless_line_of_zeros_is_one_bad_line) {
  const auto report = read(folder_.write("f", std::string(10'000'000, '\0')));
  EXPECT_EQ(report.badLines, 1u);
  EXPECT_LT(errors_.str().size(), 1000u);
}

TEST_F(RoutesFile, twenty_bad_lines_are_shown_and_the_others_counted) {
  std::string text;
  for (int i = 0; i < 1000; ++i) text += "bad\n";
  const auto report = read(folder_.write("f", text + "10.0.0.0/8\n"));
  EXPECT_EQ(report.badLines, 1000u);
  EXPECT_EQ(report.routes, 1u);
  const std::string errors = errors_.str();
  EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 21);
  EXPECT_NE(errors.find("and 980 more bad lines"), std::string::npos);
}

TEST_F(RoutesFile, compressed_files_read_like_plain_ones) {
  const std::string text = manyRoutes(50000);
  read(folder_.write("plain", text));
  const std::vector<Route> expected = std::exchange(routes_, {});
  ASSERT_EQ(expected.size(), 50000u);
  struct Case {
    const char* name;
    int (*filter)(archive*);
  };
  for (const Case& c : {Case{"gz", archive_write_add_filter_gzip}, Case{"xz", archive_write_add_filter_xz},
                        Case{"bz2", archive_write_add_filter_bzip2}, Case{"zst", archive_write_add_filter_zstd}}) {
    SCOPED_TRACE(c.name);
    read(compress(c.name, text, c.filter));
    EXPECT_EQ(std::exchange(routes_, {}), expected);
  }
  EXPECT_EQ(errors_.str(), "");
}

TEST_F(RoutesFile, a_cut_compressed_file_gives_what_it_holds_and_says_where_it_broke) {
  const std::string whole = ScratchFolder::read(compress("gz", manyRoutes(50000), archive_write_add_filter_gzip));
  const std::string file = folder_.write("cut", std::string_view(whole).substr(0, whole.size() / 2));
  const auto report = read(file);
  EXPECT_TRUE(report.broken);
  EXPECT_GT(report.routes, 0u);
  EXPECT_LT(report.routes, 50000u);
  EXPECT_EQ(errors_.str().find(file + ":"), 0u);
}

TEST_F(RoutesFile, garbage_behind_a_compressed_file_is_said) {
  const std::string text = manyRoutes(50000);
  struct Case {
    const char* name;
    int (*filter)(archive*);
  };
  for (const Case& c : {Case{"gz", archive_write_add_filter_gzip}, Case{"xz", archive_write_add_filter_xz},
                        Case{"bz2", archive_write_add_filter_bzip2}, Case{"zst", archive_write_add_filter_zstd}}) {
    const std::string whole = ScratchFolder::read(compress(c.name, text, c.filter));
    // As much as is read at once with the end of what is compressed, and more than that.
    for (const size_t garbage : {size_t{1}, size_t{200000}}) {
      SCOPED_TRACE(c.name + std::to_string(garbage));
      EXPECT_TRUE(read(folder_.write("f", whole + std::string(garbage, 'x'))).broken);
    }
    EXPECT_FALSE(read(folder_.write("f", whole + whole)).broken) << "several compressed files in a row are one";
  }
}

TEST_F(RoutesFile, a_file_that_is_not_there_or_is_a_folder_is_a_failure_with_its_name) {
  const std::string missing = folder_.path("missing");
  EXPECT_EQ(failureOf(missing), missing + ": No such file or directory");
  EXPECT_EQ(failureOf(folder_.path("")), folder_.path("") + ": Is a directory");
}

TEST_F(RoutesFile, standard_input_that_is_a_folder_is_a_failure_in_words) {
  const int before = dup(STDIN_FILENO);
  const int opened = open(folder_.path("").c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_GE(opened, 0);
  ASSERT_EQ(dup2(opened, STDIN_FILENO), STDIN_FILENO);
  EXPECT_EQ(failureOf("-"), "standard input: Is a directory");
  close(opened);
  if (before < 0) {
    close(STDIN_FILENO);
  } else {
    dup2(before, STDIN_FILENO);
    close(before);
  }
}

}  // namespace
}  // namespace fibdb::program
