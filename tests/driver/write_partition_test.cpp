#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "driver/driver.h"
#include "driver_test_util.h"

using namespace hypra;

namespace {

using driver_test::ReadFile;
using driver_test::ScratchDir;

int FilesIn(const std::string &dir) {
  int n = 0;
  for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator(dir)) n++;
  return n;
}

TEST(WriteHGraphPart, NameCarriesOneMoreThanTheLargestPart) {
  ScratchDir dir;
  const int part[5] = {0, 3, 1, 2, 3};
  WriteHGraphPart(5, part, dir.File("x.hgr").c_str());
  EXPECT_EQ(ReadFile(dir.File("x.hgr.part.4")), "0\n3\n1\n2\n3\n");
  EXPECT_EQ(FilesIn(dir.path), 1);  // no temporary file left behind
}

TEST(WriteHGraphPart, RelativeNameWritesIntoTheCurrentDirectory) {
  ScratchDir dir;
  const int part[2] = {1, 0};
  driver_test::InDirectory(dir.path, [&] { WriteHGraphPart(2, part, "g"); });
  EXPECT_EQ(ReadFile(dir.File("g.part.2")), "1\n0\n");
}

TEST(WriteHGraphPart, ReplacesAnOlderFile) {
  ScratchDir dir;
  dir.Write("y.part.2", "stale contents\n");
  const int part[3] = {0, 1, 1};
  WriteHGraphPart(3, part, dir.File("y").c_str());
  EXPECT_EQ(ReadFile(dir.File("y.part.2")), "0\n1\n1\n");
}

TEST(WriteHGraphPartDeathTest, UnwritableDirectory) {
  const int part[2] = {0, 1};
  EXPECT_EXIT(WriteHGraphPart(2, part, "/nonexistent/dir/x.hgr"), ::testing::ExitedWithCode(0),
              "^WriteHGraphPart: partfile: No such file or directory\n$");
}

TEST(WriteHGraphPartDeathTest, NameTooLong) {
  const int part[2] = {0, 1};
  const std::string name(250, 'a');
  EXPECT_EXIT(WriteHGraphPart(2, part, name.c_str()), ::testing::ExitedWithCode(0),
              "WriteHGraphPart: the partition file name for a+ is too long");
}

}  // namespace
