// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/files/file_writer_test.cc: a file is replaced as a whole, or left alone.
#include "tools/fibdb/files/file_writer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

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

TEST(FileWriter, a_link_that_leads_nowhere_yet_is_followed_to_where_it_leads) {
  const ScratchFolder folder;
  const std::string link = folder.path("link");
  ASSERT_EQ(symlink("first", folder.path("second").c_str()), 0);
  ASSERT_EQ(symlink("second", link.c_str()), 0);
  FileWriter writer(link);
  writer.write(kLine);
  writer.commit();
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_FALSE(std::filesystem::is_symlink(folder.path("first")));
  EXPECT_EQ(ScratchFolder::read(folder.path("first")), kLine);
}

TEST(FileWriter, a_program_that_is_killed_leaves_the_old_file_and_nothing_beside_it) {
  const ScratchFolder folder;
  const std::string file = folder.write("routes", "old");
  const pid_t process = fork();
  ASSERT_GE(process, 0);
  if (process == 0) {
    FileWriter writer(file);
    writer.write(kLine);
    raise(SIGKILL);
  }
  int status = 0;
  ASSERT_EQ(waitpid(process, &status, 0), process);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(ScratchFolder::read(file), "old");
  EXPECT_EQ(folder.fileCount(), 1u);
}

TEST(FileWriter, nothing_does_not_take_the_place_of_something) {
  const ScratchFolder folder;
  const FileWriter overFull(folder.write("full", "old"));
  EXPECT_NO_THROW(overFull.requireRecords(1, "command"));
  try {
    overFull.requireRecords(0, "command");
    FAIL() << "no failure";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.file(), folder.path("full"));
    EXPECT_STREQ(failure.what(), "kept, for it holds something and there is nothing to save");
    EXPECT_EQ(failure.advice(), "to replace it all the same: command");
  }
  EXPECT_NO_THROW(FileWriter(folder.write("empty", "")).requireRecords(0, "command"));
  EXPECT_NO_THROW(FileWriter(folder.path("new")).requireRecords(0, "command"));
}

TEST(FileWriter, a_device_without_space_is_a_failure_by_name) {
  FileWriter writer("/dev/full");
  writer.write(kLine);
  try {
    writer.commit();
    FAIL() << "no failure";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.file(), "/dev/full");
    EXPECT_STREQ(failure.what(), "No space left on device");
  }
}

TEST(FileWriter, a_link_that_leads_nowhere_but_to_itself_is_a_failure_and_stays) {
  const ScratchFolder folder;
  const std::string link = folder.path("link");
  ASSERT_EQ(symlink("link", link.c_str()), 0);
  EXPECT_THROW(FileWriter{link}, Failure);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST(FileWriter, a_folder_that_is_missing_or_given_as_the_file_is_a_failure) {
  const ScratchFolder folder;
  EXPECT_THROW(FileWriter(folder.path("no/such")), Failure);
  EXPECT_THROW(FileWriter(folder.path("")), Failure);
}

}  // namespace
}  // namespace fibdb::program
