#include <gtest/gtest.h>

#include <cmath>

#include "refine2/fixtures.h"

using namespace hypra;

namespace {

using r2test::Make;
using r2test::Vec;

// e0 {0,1} w2, e1 {1,2,3} w3, e2 {3} w5 (a single pin), e3 {0,2} w1; sides 0,0,1,1.
HGraph *Sample() {
  return Make(4, {{0, 1}, {1, 2, 3}, {3}, {0, 2}}, {2, 3, 5, 1}, {1, 2, 3, 4}, {0, 0, 1, 1});
}

TEST(Gains, InitialGainsPinCountsCutAndWeights) {
  HGraph *g = Sample();
  g->mincut = -7;
  ComputeInitGains__(g);
  EXPECT_EQ(Vec(g->ndeg[0], 4), (std::vector<int>{2, 1, 0, 1}));
  EXPECT_EQ(Vec(g->ndeg[1], 4), (std::vector<int>{0, 2, 1, 1}));
  // e1 and e3 are cut.
  EXPECT_EQ(g->mincut, 4);
  EXPECT_EQ(g->pwgts[0], 3);
  EXPECT_EQ(g->pwgts[1], 7);
  // v0: -2 (e0 uncut) +1 (last pin of cut e3); v1: -2 +3 (last side-0 pin of e1);
  // v2: 0 (e1 keeps a side-1 pin) +1 (e3); v3: 0 (e1) -5 (its single-pin hyperedge).
  EXPECT_EQ(Vec(g->gain, 4), (std::vector<int>{-1, 1, 1, -5}));
  EXPECT_EQ(ComputeCut__(g), 4);
  FreeHGraph__(g);
}

TEST(Gains, SinglePinHyperedgeLowersItsPinsGain) {
  HGraph *g = Make(2, {{0}, {0, 1}}, {6, 1}, {}, {0, 1});
  ComputeInitGains__(g);
  EXPECT_EQ(g->gain[0], -6 + 1);
  EXPECT_EQ(g->gain[1], 1);
  FreeHGraph__(g);
}

TEST(Gains, CutReadsStoredPinCounts) {
  HGraph *g = Sample();
  ComputeInitGains__(g);
  // Make e0 look cut in the stored counts only.
  g->ndeg[1][0] = 1;
  EXPECT_EQ(ComputeCut__(g), 6);
  FreeHGraph__(g);

  HGraph *empty = Make(3, {}, {}, {}, {0, 1, 0});
  ComputeInitGains__(empty);
  EXPECT_EQ(ComputeCut__(empty), 0);
  EXPECT_EQ(empty->mincut, 0);
  EXPECT_EQ(Vec(empty->gain, 3), (std::vector<int>{0, 0, 0}));
  FreeHGraph__(empty);
}

TEST(Gains, AllocationCoversIslands) {
  HGraph *g = Make(3, {{0, 1}}, {}, {}, {});
  FreeHGraph__(g);
  g = CreateHGraph__();
  g->nvtxs = 3;
  g->nislands = 2;
  g->nhedges = 4;
  AllocateRefinementMemory__(g);
  ASSERT_NE(g->where, nullptr);
  // Every slot of the five is writable (checked by the sanitizer build).
  for (int v = 0; v < 5; v++) g->where[v] = v % 2;
  for (int e = 0; e < 4; e++) g->ndeg[0][e] = g->ndeg[1][e] = 0;
  for (int v = 0; v < 3; v++) g->gain[v] = 0;
  FreeHGraph__(g);
}

TEST(Gains, CheckDegreesLeavesTheGraphAlone) {
  HGraph *g = Sample();
  for (int v = 0; v < 4; v++) g->gain[v] = 100 + v;
  for (int e = 0; e < 4; e++) g->ndeg[0][e] = g->ndeg[1][e] = 9;
  g->mincut = 77;
  g->pwgts[0] = g->pwgts[1] = 55;
  EXPECT_EQ(CheckDegrees(g), 1);
  EXPECT_EQ(Vec(g->gain, 4), (std::vector<int>{100, 101, 102, 103}));
  EXPECT_EQ(Vec(g->ndeg[0], 4), (std::vector<int>{9, 9, 9, 9}));
  EXPECT_EQ(g->mincut, 77);
  EXPECT_EQ(g->pwgts[0], 55);
  FreeHGraph__(g);
}

TEST(Gains, RelativeDifference) {
  EXPECT_FLOAT_EQ(RelDiff__(10, 5), 0.5f);
  EXPECT_FLOAT_EQ(RelDiff__(5, 10), 0.5f);
  EXPECT_FLOAT_EQ(RelDiff__(3, 4), 0.25f);
  EXPECT_FLOAT_EQ(RelDiff__(7, 7), 0.0f);
  EXPECT_TRUE(std::isnan(RelDiff__(0, 0)));
}

TEST(Gains, ProjectionCopiesCoarseSidesAndFreesCoarseLevel) {
  HGraph *fine = Make(5, {{0, 1, 2}, {3, 4}});
  fine->cellmap = imalloc__(5, "test: cellmap");
  const int cmap[5] = {0, 0, 1, 2, 2};
  for (int v = 0; v < 5; v++) fine->cellmap[v] = cmap[v];
  RVfree__(&fine->where, &fine->gain, &fine->ndeg[0], &fine->ndeg[1]);
  HGraph *coarse = Make(3, {{0, 1}, {2}}, {}, {}, {1, 0, 1});
  coarse->finer = fine;
  fine->coarser = coarse;
  PartCtrl ctrl = r2test::Ctrl();
  ProjectPartition__(&ctrl, coarse);
  EXPECT_EQ(fine->coarser, nullptr);
  ASSERT_NE(fine->where, nullptr);
  ASSERT_NE(fine->gain, nullptr);
  ASSERT_NE(fine->ndeg[0], nullptr);
  EXPECT_EQ(r2test::Where(fine), (std::vector<int>{1, 1, 0, 1, 1}));
  FreeHGraph__(fine);
}

TEST(GainsDeathTest, SideOutsideTheBisectionEndsTheRun) {
  HGraph *g = Make(3, {{0, 1, 2}}, {}, {}, {0, 2, 1});
  EXPECT_EXIT(ComputeInitGains__(g), ::testing::ExitedWithCode(0), "side 2");
  FreeHGraph__(g);
}

}  // namespace
