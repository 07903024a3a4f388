#include <gtest/gtest.h>

#include <string>

#include "refine2/fixtures.h"

using namespace hypra;

namespace {

using r2test::Make;
using r2test::Vec;
using r2test::Where;

TEST(Balance, BalancedInputReturnsWithoutComputingGains) {
  HGraph *g = Make(4, {{0, 2}, {1, 3}}, {}, {}, {0, 0, 1, 1});
  for (int v = 0; v < 4; v++) g->gain[v] = 70 + v;
  g->ndeg[0][0] = g->ndeg[0][1] = g->ndeg[1][0] = g->ndeg[1][1] = 9;
  g->mincut = 33;
  g->pwgts[0] = g->pwgts[1] = -5;
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE);
  testing::internal::CaptureStdout();
  Balance__(&ctrl, g);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(Vec(g->gain, 4), (std::vector<int>{70, 71, 72, 73}));
  EXPECT_EQ(Vec(g->ndeg[0], 2), (std::vector<int>{9, 9}));
  EXPECT_EQ(g->mincut, 33);
  // Side weights are recomputed from where.
  EXPECT_EQ(g->pwgts[0], 2);
  EXPECT_EQ(g->pwgts[1], 2);
  FreeHGraph__(g);
}

TEST(Balance, CandidatesThatWouldBreakTheHeavySideAreLocked) {
  // Side 0 = {0, 1} of weight 10 each, side 1 = {2} of weight 5; bounds 11 and 11. Either
  // vertex would leave side 0 at 10 < 11: both are locked and nothing moves.
  HGraph *g = Make(3, {{0, 2}, {1, 2}}, {}, {10, 10, 5}, {0, 0, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE);
  testing::internal::CaptureStdout();
  Balance__(&ctrl, g);
  EXPECT_EQ(
      testing::internal::GetCapturedStdout(),
      "Partitions[B]: [     2,      20]  [     1,       5], Initial Cut:        2 [2] [11]\n");
  EXPECT_EQ(Where(g), (std::vector<int>{0, 0, 1}));
  EXPECT_EQ(g->pwgts[0], 20);
  EXPECT_EQ(g->pwgts[1], 5);
  EXPECT_EQ(g->mincut, 2);
  FreeHGraph__(g);
}

TEST(Balance, FixedVerticesNeverMove) {
  // Side 0 holds the fixed vertices 0 and 1 (weight 5 each) and vertex 2; side 1 only vertex 3.
  // Only vertex 2 can go; side 1 stays below its bound of 5 afterwards.
  HGraph *g = Make(4, {{0, 2, 3}, {1, 2}}, {1, 2}, {5, 5, 1, 1}, {0, 0, 0, 1}, 2);
  PartCtrl ctrl = r2test::Ctrl();
  Balance__(&ctrl, g);
  EXPECT_EQ(Where(g), (std::vector<int>{0, 0, 1, 1}));
  EXPECT_EQ(g->pwgts[0], 10);
  EXPECT_EQ(g->pwgts[1], 2);
  EXPECT_EQ(g->mincut, 3);
  r2test::ExpectCutAndWeightsExact(g);
  r2test::ExpectGainsExact(g);
  FreeHGraph__(g);
}

TEST(Balance, LightSideZeroTakesFromSideOneUntilBalanced) {
  // Side 0 = {0}, side 1 = {1..5}, unit weights; bounds 2 and 2. Side 1 gives its highest-gain
  // vertices, negative gains included, until side 0 reaches 2: one move.
  HGraph *g = Make(6, {{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}}, {}, {}, {0, 1, 1, 1, 1, 1});
  PartCtrl ctrl = r2test::Ctrl();
  Balance__(&ctrl, g);
  // Vertex 1 (gain 0) is side 1's highest-gain vertex.
  EXPECT_EQ(Where(g), (std::vector<int>{0, 0, 1, 1, 1, 1}));
  EXPECT_EQ(g->mincut, 1);
  r2test::ExpectCutAndWeightsExact(g);
  r2test::ExpectGainsExact(g);
  FreeHGraph__(g);
}

}  // namespace
