#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>
#include <vector>

#include "driver/driver.h"
#include "driver_test_util.h"

using namespace hypra;

namespace {

using driver_test::DataPath;
using driver_test::ScratchDir;

std::vector<int> Pins(const HGraph *g, int e) {
  return std::vector<int>(g->netind + g->netptr[e], g->netind + g->netptr[e + 1]);
}

// Reads the file with the address space limited to 256 MiB where the build allows a limit (a
// sanitizer reserves terabytes of it), so that an allocation sized by the header alone fails.
// Only the soft limit is lowered, and it is put back, so later tests in the process are not
// affected.
HGraph *ReadWithLittleMemory(const std::string &path) {
#if HYPRA_SANITIZED
  return ReadHGraph(path.c_str());
#else
  rlimit saved{};
  getrlimit(RLIMIT_AS, &saved);
  rlimit limit = saved;
  if (limit.rlim_max == RLIM_INFINITY || limit.rlim_max > (256ull << 20))
    limit.rlim_cur = 256ull << 20;
  setrlimit(RLIMIT_AS, &limit);
  HGraph *g = ReadHGraph(path.c_str());
  setrlimit(RLIMIT_AS, &saved);
  return g;
#endif
}

TEST(ReadHGraph, TwoNumberHeaderAndCommentsEverywhere) {
  HGraph *g = ReadHGraph(DataPath("small.hgr").c_str());
  EXPECT_EQ(g->nhedges, 4);
  EXPECT_EQ(g->nvtxs, 6);
  EXPECT_EQ(g->netwgt, nullptr);  // fmt 0: no weights
  EXPECT_EQ(g->cellwgt, nullptr);
  EXPECT_EQ(Pins(g, 0), (std::vector<int>{0, 1}));
  EXPECT_EQ(Pins(g, 1), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(Pins(g, 2), (std::vector<int>{3, 4, 5}));
  EXPECT_EQ(Pins(g, 3), (std::vector<int>{0, 5}));
  FreeHGraph__(g);
}

TEST(ReadHGraph, BothWeightKindsWithCommentsBetweenWeightLines) {
  HGraph *g = ReadHGraph(DataPath("weighted.hgr").c_str());
  ASSERT_EQ(g->nhedges, 3);
  ASSERT_EQ(g->nvtxs, 5);
  ASSERT_NE(g->netwgt, nullptr);
  ASSERT_NE(g->cellwgt, nullptr);
  EXPECT_EQ((std::vector<int>(g->netwgt, g->netwgt + 3)), (std::vector<int>{2, 5, 1}));
  EXPECT_EQ(Pins(g, 0), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(Pins(g, 1), (std::vector<int>{2, 3}));
  EXPECT_EQ(Pins(g, 2), (std::vector<int>{4, 0}));
  // The first number of each weight line, whatever follows it.
  EXPECT_EQ((std::vector<int>(g->cellwgt, g->cellwgt + 5)), (std::vector<int>{4, 1, 2, 3, 9}));
  FreeHGraph__(g);
}

TEST(ReadHGraph, RepeatedVertexIsDroppedKeepingFirstAppearance) {
  ScratchDir dir;
  HGraph *g = ReadHGraph(dir.Write("dup.hgr", "2 5\n3 3 5 3\n1 2\n").c_str());
  EXPECT_EQ(Pins(g, 0), (std::vector<int>{2, 4}));
  EXPECT_EQ(g->netptr[2], 4);
  FreeHGraph__(g);
}

TEST(ReadHGraph, ZeroTokenEndsTheHyperedge) {
  ScratchDir dir;
  HGraph *g = ReadHGraph(dir.Write("zero.hgr", "2 5\n1 2 0 4 5\n3 -1 4\n").c_str());
  EXPECT_EQ(Pins(g, 0), (std::vector<int>{0, 1}));
  EXPECT_EQ(Pins(g, 1), (std::vector<int>{2}));
  FreeHGraph__(g);
}

TEST(ReadHGraph, NonNumberEndsTheHyperedge) {
  ScratchDir dir;
  HGraph *g = ReadHGraph(dir.Write("word.hgr", "2 5\n1 2 x 4\n3\n").c_str());
  EXPECT_EQ(Pins(g, 0), (std::vector<int>{0, 1}));
  FreeHGraph__(g);
}

TEST(ReadHGraph, LastHyperedgeMayBeEmpty) {
  ScratchDir dir;
  HGraph *g = ReadHGraph(dir.Write("lastempty.hgr", "3 4\n1 2\n3 4\n0\n").c_str());
  EXPECT_EQ(g->nhedges, 3);
  EXPECT_EQ(g->netptr[2], 4);
  EXPECT_EQ(g->netptr[3], 4);
  FreeHGraph__(g);
}

TEST(ReadHGraph, HyperedgeWeightIsKeptWhateverItsValue) {
  ScratchDir dir;
  // The first pass counts "-3 1 2" as -1 pins and "4 1 3 3 3 3" as 5, bounding the total at 4;
  // the repeated 3s leave room for both pins of the second hyperedge.
  HGraph *g = ReadHGraph(dir.Write("negw.hgr", "2 4 1\n4 1 3 3 3 3\n-3 1 2\n").c_str());
  EXPECT_EQ(g->netwgt[0], 4);
  EXPECT_EQ(g->netwgt[1], -3);
  EXPECT_EQ(Pins(g, 0), (std::vector<int>{0, 2}));
  EXPECT_EQ(Pins(g, 1), (std::vector<int>{0, 1}));
  FreeHGraph__(g);
}

TEST(ReadHGraph, WeightLineWithoutNumberGivesZero) {
  ScratchDir dir;
  HGraph *g = ReadHGraph(dir.Write("w0.hgr", "1 3 10\n1 2 3\n5\nabc\n7\n").c_str());
  EXPECT_EQ((std::vector<int>(g->cellwgt, g->cellwgt + 3)), (std::vector<int>{5, 0, 7}));
  FreeHGraph__(g);
}

TEST(ReadHGraph, UnusualFormatCodeReadByItsDigits) {
  ScratchDir dir;
  // 21: units digit -> hyperedge weights, tens digit -> vertex weights.
  HGraph *g = ReadHGraph(dir.Write("f21.hgr", "1 2 21\n3 1 2\n6\n8\n").c_str());
  EXPECT_EQ(g->netwgt[0], 3);
  EXPECT_EQ(g->cellwgt[1], 8);
  FreeHGraph__(g);
}

TEST(ReadHGraph, OverlongLineContinuesAsTheNextLine) {
  ScratchDir dir;
  // One read takes 131071 characters: the spaces and the "1"; " 2" becomes hyperedge 1.
  const std::string text = "2 4\n" + std::string(131070, ' ') + "1 2\n3 4\n";
  HGraph *g = ReadHGraph(dir.Write("long.hgr", text).c_str());
  EXPECT_EQ(Pins(g, 0), (std::vector<int>{0}));
  EXPECT_EQ(Pins(g, 1), (std::vector<int>{1}));
  FreeHGraph__(g);
}

TEST(ReadHGraph, LongHyperedgeWithRepeatsKeepsFirstAppearances) {
  ScratchDir dir;
  // 20000 distinct pins in one read, then repeats of some of them.
  std::string line;
  for (int v = 20000; v >= 1; v--) line += std::to_string(v) + " ";
  line += "5 20000 1 7";
  ASSERT_LT(line.size(), 131071u);
  HGraph *g = ReadHGraph(dir.Write("big.hgr", "1 20000\n" + line + "\n").c_str());
  ASSERT_EQ(g->netptr[1], 20000);
  for (int j = 0; j < 20000; j++) ASSERT_EQ(g->netind[j], 19999 - j);
  FreeHGraph__(g);
}

TEST(ReadHGraph, FirstPassCountsEveryTokenIncludingRepeats) {
  ScratchDir dir;
  EXPECT_EQ(GetNetListSize(dir.Write("a.hgr", "2 5\n3 3 5 3\n1 2 0 4\n").c_str()), 6);
  // With hyperedge weights one token per line is taken off; a weight of 0 counts as -1.
  EXPECT_EQ(GetNetListSize(dir.Write("b.hgr", "2 5 1\n7 1 2\n0 1 2\n").c_str()), 1);
}

TEST(ReadHGraph, NoHyperedges) {
  ScratchDir dir;
  HGraph *g = ReadHGraph(dir.Write("none.hgr", "0 3\n").c_str());
  EXPECT_EQ(g->nhedges, 0);
  EXPECT_EQ(g->netptr[0], 0);
  EXPECT_EQ(g->netind, nullptr);
  FreeHGraph__(g);
}

TEST(ReadHGraph, VertexNumberBeyondLongIsAMismatch) {
  ScratchDir dir;
  EXPECT_EXIT(ReadHGraph(dir.Write("big.hgr", "1 4\n1 99999999999999999999999\n").c_str()),
              ::testing::ExitedWithCode(0),
              "^Mismatch between the provided and actual value of num_cells\n\n$");
  EXPECT_EXIT(ReadHGraph(dir.Write("big2.hgr", "1 4\n1 4294967297\n").c_str()),
              ::testing::ExitedWithCode(0), "^Mismatch between");
}

TEST(ReadHGraphDeathTest, ValidationMessages) {
  EXPECT_EXIT(ReadHGraph(DataPath("one_cell.hgr").c_str()), ::testing::ExitedWithCode(0),
              "^Cannot partition graph with 1 cells\n\n$");
  EXPECT_EXIT(ReadHGraph(DataPath("bad_fmt.hgr").c_str()), ::testing::ExitedWithCode(0),
              "^Cannot read this type of file format!\n$");
  EXPECT_EXIT(ReadHGraph(DataPath("missing_hedge.hgr").c_str()), ::testing::ExitedWithCode(0),
              "^Data about hyperedge 2 missing from the input file!\n\n$");
  EXPECT_EXIT(ReadHGraph(DataPath("mismatch.hgr").c_str()), ::testing::ExitedWithCode(0),
              "^Mismatch between the provided and actual value of num_cells\n\n$");
  EXPECT_EXIT(ReadHGraph(DataPath("out_of_netind.hgr").c_str()), ::testing::ExitedWithCode(0),
              "^Out of netind memory!\n$");
  EXPECT_EXIT(ReadHGraph(DataPath("empty_hedge.hgr").c_str()), ::testing::ExitedWithCode(0),
              "^Empty Hyperedge # 2\n\n$");
  EXPECT_EXIT(ReadHGraph(DataPath("missing_weights.hgr").c_str()), ::testing::ExitedWithCode(0),
              "^Weights from vertex 2 onwards missing from the input file!\n\n$");
  EXPECT_EXIT(ReadHGraph("/nonexistent/none.hgr"), ::testing::ExitedWithCode(0),
              "^Can't open input file: No such file or directory\n$");
}

TEST(ReadHGraphDeathTest, EmptyHyperedgeZeroIsReportedAsOne) {
  ScratchDir dir;
  EXPECT_EXIT(ReadHGraph(dir.Write("e0.hgr", "3 4\n0\n1 2\n3 4\n").c_str()),
              ::testing::ExitedWithCode(0), "^Empty Hyperedge # 1\n\n$");
}

TEST(ReadHGraphDeathTest, MissingHyperedgeFoundByFirstPassBeforeMismatch) {
  ScratchDir dir;
  EXPECT_EXIT(ReadHGraph(dir.Write("m.hgr", "3 4\n1 9\n1 2\n").c_str()),
              ::testing::ExitedWithCode(0),
              "^Data about hyperedge 2 missing from the input file!\n\n$");
}

TEST(ReadHGraphDeathTest, MismatchBeforeDuplicateBeforeBound) {
  ScratchDir dir;
  // Bound 1 (the 0 weight counts -1, the second line 2); the repeated 1 is skipped without
  // hitting the bound, the 2 then exceeds it.
  EXPECT_EXIT(ReadHGraph(dir.Write("o.hgr", "2 4 1\n0 1 1 2\n5 3 4\n").c_str()),
              ::testing::ExitedWithCode(0), "^Out of netind memory!\n$");
  // A vertex beyond nvtxs is reported even where the bound is already exhausted.
  EXPECT_EXIT(ReadHGraph(dir.Write("p.hgr", "2 4 1\n0 1 9\n5 3 4\n").c_str()),
              ::testing::ExitedWithCode(0), "^Mismatch between");
}

TEST(ReadHGraphDeathTest, MalformedHeaders) {
  ScratchDir dir;
  EXPECT_EXIT(ReadHGraph(DataPath("short_header.hgr").c_str()), ::testing::ExitedWithCode(0),
              "^Malformed header in file .*short_header.hgr: expected the numbers of hyperedges "
              "and vertices\n$");
  EXPECT_EXIT(ReadHGraph(dir.Write("empty.hgr", "% nothing but a comment\n").c_str()),
              ::testing::ExitedWithCode(0), "^Malformed header in file .*empty.hgr");
  EXPECT_EXIT(ReadHGraph(dir.Write("neg.hgr", "-2 4\n").c_str()), ::testing::ExitedWithCode(0),
              "^Malformed header in file .*neg.hgr: negative number of hyperedges \\(-2\\)\n$");
  EXPECT_EXIT(ReadHGraph(dir.Write("range.hgr", "1 99999999999\n1 2\n").c_str()),
              ::testing::ExitedWithCode(0),
              "^Malformed header in file .*range.hgr: the number 99999999999 is out of range\n$");
  EXPECT_EXIT(ReadHGraph(dir.Write("negv.hgr", "1 -5\n1 2\n").c_str()),
              ::testing::ExitedWithCode(0), "^Cannot partition graph with -5 cells\n\n$");
}

TEST(ReadHGraphDeathTest, WeightsOutOfIntRange) {
  ScratchDir dir;
  EXPECT_EXIT(ReadHGraph(dir.Write("hw.hgr", "1 2 1\n3000000000 1 2\n").c_str()),
              ::testing::ExitedWithCode(0),
              "^Weight 3000000000 of hyperedge 0 in file .*hw.hgr is out of range\n$");
  EXPECT_EXIT(ReadHGraph(dir.Write("cw.hgr", "1 2 10\n1 2\n1\n-3000000000\n").c_str()),
              ::testing::ExitedWithCode(0),
              "^Weight -3000000000 of vertex 1 in file .*cw.hgr is out of range\n$");
  EXPECT_EXIT(ReadHGraph(dir.Write("tot.hgr", "1 2 10\n1 2\n2000000000\n2000000000\n").c_str()),
              ::testing::ExitedWithCode(0),
              "^File .*tot.hgr: the vertex weights add up to 4000000000, more than the "
              "1073741823 allowed\n$");
}

TEST(ReadHGraph, HugeVertexCountInTheHeaderCostsNothingToRead) {
  ScratchDir dir;
  HGraph *g = ReadHGraph(dir.Write("wide.hgr", "2 2147483647\n1 3\n5 1\n").c_str());
  EXPECT_EQ(g->nvtxs, 2147483647);
  EXPECT_EQ(Pins(g, 0), (std::vector<int>{0, 2}));
  EXPECT_EQ(Pins(g, 1), (std::vector<int>{4, 0}));
  FreeHGraph__(g);
}

TEST(ReadHGraph, FewPinsNamingVerticesInTheBillionsCostNothingToRead) {
  ScratchDir dir;
  // Repeats are still dropped, keeping first appearances, without an array over every vertex.
  const std::string path =
      dir.Write("far.hgr", "3 2000000000\n2000000000 7 2000000000 1999999999 7\n5 5\n2000000000\n");
  HGraph *g = ReadWithLittleMemory(path);
  ASSERT_EQ(g->nhedges, 3);
  EXPECT_EQ(Pins(g, 0), (std::vector<int>{1999999999, 6, 1999999998}));
  EXPECT_EQ(Pins(g, 1), (std::vector<int>{4}));
  EXPECT_EQ(Pins(g, 2), (std::vector<int>{1999999999}));
  FreeHGraph__(g);
}

TEST(ReadHGraphDeathTest, HugeHyperedgeCountInAShortFileIsMissingData) {
  ScratchDir dir;
  EXPECT_EXIT(ReadHGraph(dir.Write("tall.hgr", "2147483647 3\n1 2\n").c_str()),
              ::testing::ExitedWithCode(0),
              "^Data about hyperedge 1 missing from the input file!\n\n$");
}

TEST(ReadHGraphDeathTest, HugeWeightedVertexCountInAShortFileIsMissingWeights) {
  ScratchDir dir;
  // Two billion vertex weights announced, none given: the weight array is sized by the lines
  // the file holds, so the read ends with the missing weights, not out of memory.
  EXPECT_EXIT(ReadWithLittleMemory(dir.Write("heavy.hgr", "2 2000000002 10\n1 3\n5 1\n")),
              ::testing::ExitedWithCode(0),
              "^Weights from vertex 0 onwards missing from the input file!\n\n$");
  EXPECT_EXIT(ReadWithLittleMemory(dir.Write("some.hgr", "2 2000000002 10\n1 3\n5 1\n4\n7\n")),
              ::testing::ExitedWithCode(0),
              "^Weights from vertex 2 onwards missing from the input file!\n\n$");
}

TEST(ReadHGraphDeathTest, EmptyHyperedgeIsTestedAfterTheNextLineIsRead) {
  ScratchDir dir;
  // Hyperedge 0 is empty and hyperedge 1 names a vertex beyond nvtxs: the line is read (and
  // the mismatch found) before hyperedge 0 is tested.
  EXPECT_EXIT(ReadHGraph(dir.Write("em.hgr", "3 4\n\n1 7\n3 4\n").c_str()),
              ::testing::ExitedWithCode(0), "^Mismatch between");
}

}  // namespace
