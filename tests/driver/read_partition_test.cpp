#include <gtest/gtest.h>

#include <vector>

#include "driver/driver.h"
#include "driver_test_util.h"

using namespace hypra;

namespace {

using driver_test::ScratchDir;

TEST(ReadPartition, ReadsOneValuePerVertex) {
  ScratchDir dir;
  std::vector<int> part(4, 0);
  ReadPartition(4, part.data(), dir.Write("f", "-1\n2\n0\n-1\n").c_str());
  EXPECT_EQ(part, (std::vector<int>{-1, 2, 0, -1}));
}

TEST(ReadPartition, ShortFileLeavesTheRestAsTheyWere) {
  ScratchDir dir;
  // main starts from zeros, so the missing vertices end up fixed to part 0.
  std::vector<int> part(5, 0);
  ReadPartition(5, part.data(), dir.Write("f", "1\n-1\n").c_str());
  EXPECT_EQ(part, (std::vector<int>{1, -1, 0, 0, 0}));
}

TEST(ReadPartition, AfterAFailedReadLaterEntriesKeepTheirValue) {
  ScratchDir dir;
  std::vector<int> part(5, 7);
  // "x" is never consumed, so the 3 after it is never read either.
  ReadPartition(5, part.data(), dir.Write("f", "1\n0\nx\n3\n").c_str());
  EXPECT_EQ(part, (std::vector<int>{1, 0, 7, 7, 7}));
}

TEST(ReadPartition, ValuesMayShareLinesOrSpreadOverBlankLines) {
  ScratchDir dir;
  std::vector<int> part(3, 0);
  ReadPartition(3, part.data(), dir.Write("f", "1 2\n\n\n-1").c_str());
  EXPECT_EQ(part, (std::vector<int>{1, 2, -1}));
}

TEST(ReadPartitionDeathTest, MissingFile) {
  int part[2] = {0, 0};
  EXPECT_EXIT(ReadPartition(2, part, "/nonexistent/fix"), ::testing::ExitedWithCode(0),
              "^ReadPartition: partfile: No such file or directory\n$");
}

TEST(ReadPartitionDeathTest, PartBelowMinusOneIsRefused) {
  ScratchDir dir;
  int part[3] = {0, 0, 0};
  EXPECT_EXIT(ReadPartition(3, part, dir.Write("f", "0\n-2\n1\n").c_str()),
              ::testing::ExitedWithCode(0),
              "^File .*/f: vertex 1 is fixed to part -2; a part must be -1 \\(free\\) or 0 to "
              "2147483647\n$");
}

TEST(ReadPartitionDeathTest, PartBeyondIntIsRefused) {
  ScratchDir dir;
  int part[2] = {0, 0};
  EXPECT_EXIT(ReadPartition(2, part, dir.Write("f", "4294967296\n1\n").c_str()),
              ::testing::ExitedWithCode(0), "vertex 0 is fixed to part 4294967296");
}

}  // namespace
