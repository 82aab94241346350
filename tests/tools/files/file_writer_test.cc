// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/files/file_writer_test.cc: a file is replaced as a whole, or left alone.
#include "tools/fibdb/files/file_writer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/tools/scratch_folder.h"
#include "tools/fibdb/base/failure.h"

namespace fibdb::program {
namespace {

constexpr std::string_view kLine = "10.0.0.0/8 group 3\n";

TEST(FileWriter, a_committed_file_holds_every_line_and_nothing_else_remains) {
  const ScratchFolder folder;
  FileWriter writer(folder.path("routes"));
  writer.write(kLine);
  writer.commit();
  EXPECT_EQ(writer.count(), 1u);
  EXPECT_EQ(ScratchFolder::read(folder.path("routes")), "10.0.0.0/8 group 3\n");
  EXPECT_EQ(folder.fileCount(), 1u);
}

TEST(FileWriter, without_a_commit_the_old_file_stays_as_it_was) {
  const ScratchFolder folder;
  const std::string file = folder.write("routes", "old");
  {
    FileWriter writer(file);
    writer.write(kLine);
  }
  EXPECT_EQ(ScratchFolder::read(file), "old");
  EXPECT_EQ(folder.fileCount(), 1u);
}

TEST(FileWriter, a_replaced_file_keeps_its_mode_and_a_link_stays_a_link) {
  const ScratchFolder folder;
  const std::string file = folder.write("routes", "old");
  ASSERT_EQ(chmod(file.c_str(), 0640), 0);
  const std::string link = folder.path("link");
  ASSERT_EQ(symlink("routes", link.c_str()), 0);
  FileWriter writer(link);
  writer.write(kLine);
  writer.commit();
  struct stat status {};
  ASSERT_EQ(lstat(link.c_str(), &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640u);
  EXPECT_EQ(ScratchFolder::read(file), "10.0.0.0/8 group 3\n");
}

TEST(FileWriter, a_device_without_space_is_a_failure_by_name) {
  FileWriter writer("/dev/full");
  writer.write(kLine);
  try {
    writer.commit();
    FAIL() << "no failure";
  } catch (const Failure& failure) {
    EXPECT_STREQ(failure.what(), "/dev/full: No space left on device");
  }
}

TEST(FileWriter, a_folder_that_is_missing_or_given_as_the_file_is_a_failure) {
  const ScratchFolder folder;
  EXPECT_THROW(FileWriter(folder.path("no/such")), Failure);
  EXPECT_THROW(FileWriter(folder.path("")), Failure);
}

}  // namespace
}  // namespace fibdb::program
