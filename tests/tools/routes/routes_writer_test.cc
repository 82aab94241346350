// tests/tools/routes/routes_writer_test.cc: a routes file is replaced as a whole, or left alone.
#include "tools/fibdb/routes/routes_writer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/tools/scratch_folder.h"
#include "tools/fibdb/base/failure.h"

namespace fibdb::program {
namespace {

const Route kRoute{{0x0a000000, 8}, 3, 0};

TEST(RoutesWriter, a_committed_file_holds_every_line_and_nothing_else_remains) {
  const ScratchFolder folder;
  RoutesWriter writer(folder.path("routes"));
  writer.write(kRoute);
  writer.commit();
  EXPECT_EQ(writer.count(), 1u);
  EXPECT_EQ(ScratchFolder::read(folder.path("routes")), "10.0.0.0/8 group 3\n");
  EXPECT_EQ(folder.fileCount(), 1u);
}

TEST(RoutesWriter, without_a_commit_the_old_file_stays_as_it_was) {
  const ScratchFolder folder;
  const std::string file = folder.write("routes", "old");
  {
    RoutesWriter writer(file);
    writer.write(kRoute);
  }
  EXPECT_EQ(ScratchFolder::read(file), "old");
  EXPECT_EQ(folder.fileCount(), 1u);
}

TEST(RoutesWriter, a_replaced_file_keeps_its_mode_and_a_link_stays_a_link) {
  const ScratchFolder folder;
  const std::string file = folder.write("routes", "old");
  ASSERT_EQ(chmod(file.c_str(), 0640), 0);
  const std::string link = folder.path("link");
  ASSERT_EQ(symlink("routes", link.c_str()), 0);
  RoutesWriter writer(link);
  writer.write(kRoute);
  writer.commit();
  struct stat status {};
  ASSERT_EQ(lstat(link.c_str(), &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640u);
  EXPECT_EQ(ScratchFolder::read(file), "10.0.0.0/8 group 3\n");
}

TEST(RoutesWriter, a_device_without_space_is_a_failure_by_name) {
  RoutesWriter writer("/dev/full");
  writer.write(kRoute);
  try {
    writer.commit();
    FAIL() << "no failure";
  } catch (const Failure& failure) {
    EXPECT_STREQ(failure.what(), "/dev/full: No space left on device");
  }
}

TEST(RoutesWriter, a_folder_that_is_missing_or_given_as_the_file_is_a_failure) {
  const ScratchFolder folder;
  EXPECT_THROW(RoutesWriter(folder.path("no/such")), Failure);
  EXPECT_THROW(RoutesWriter(folder.path("")), Failure);
}

}  // namespace
}  // namespace fibdb::program
