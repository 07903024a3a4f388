// FM and FM2 refinement. Graphs with fewer than 16 vertices are used where the move order
// matters: the coarse shuffle leaves such arrays in identity order, so vertices are queued in
// increasing number and equal gains come out last-in first-out.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "refine2/fixtures.h"

using namespace hypra;

namespace {

using r2test::Make;
using r2test::Vec;
using r2test::Where;

std::string RunFM(PartCtrl *ctrl, HGraph *g, int npasses, bool constrained = false) {
  testing::internal::CaptureStdout();
  if (constrained)
    Refine_FM2__(ctrl, g, npasses);
  else
    Refine_FM__(ctrl, g, npasses);
  return testing::internal::GetCapturedStdout();
}

TEST(FM, ZeroPassesChangeNothing) {
  HGraph *g = Make(4, {{0, 2}, {1, 3}}, {}, {}, {0, 0, 1, 1});
  for (int v = 0; v < 4; v++) g->gain[v] = 40 + v;
  g->mincut = 99;
  g->pwgts[0] = 7;
  g->pwgts[1] = 8;
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE | DBG_MOVES);
  EXPECT_EQ(RunFM(&ctrl, g, 0), "");
  EXPECT_EQ(RunFM(&ctrl, g, 0, true), "");
  EXPECT_EQ(Where(g), (std::vector<int>{0, 0, 1, 1}));
  EXPECT_EQ(Vec(g->gain, 4), (std::vector<int>{40, 41, 42, 43}));
  EXPECT_EQ(g->mincut, 99);
  EXPECT_EQ(g->pwgts[0], 7);
  EXPECT_EQ(g->pwgts[1], 8);
  FreeHGraph__(g);
}

TEST(FM, PassWithoutBetterPointUndoesEverythingAndEnds) {
  // Two blocks joined by one hyperedge: the given bisection (cut 1, perfect balance) is optimal.
  HGraph *g =
      Make(8, {{0, 1, 2, 3}, {4, 5, 6, 7}, {3, 4}}, {5, 5, 1}, {}, {0, 0, 0, 0, 1, 1, 1, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE);
  const std::string out = RunFM(&ctrl, g, 10);
  EXPECT_EQ(r2test::Count(out, "Minimum Cut"), 1);
  EXPECT_NE(out.find("\tMinimum Cut:        1 at    -1 [     4      4]\n"), std::string::npos);
  EXPECT_EQ(Where(g), (std::vector<int>{0, 0, 0, 0, 1, 1, 1, 1}));
  EXPECT_EQ(g->mincut, 1);
  EXPECT_EQ(g->pwgts[0], 4);
  EXPECT_EQ(g->pwgts[1], 4);
  FreeHGraph__(g);
}

TEST(FM, EqualTopGainsWithEqualRoomMoveFromSideZero) {
  // Every vertex has gain 1 and both sides have room 1 above their bound of 1.
  HGraph *g = Make(4, {{0, 2}, {1, 3}}, {}, {}, {0, 0, 1, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_MOVES);
  const std::string out = RunFM(&ctrl, g, 1);
  // Vertex 1 was queued after vertex 0 with the same gain, so it is on top.
  EXPECT_EQ(out.rfind("Gains from moving        1 from  0:    1, \tNewcut: 1 [     1      3]\n", 0),
            0u)
      << out;
  FreeHGraph__(g);
}

TEST(FM, MoveBreakingABoundIsMadeWhenOtherQueueIsEmptyAndUndone) {
  // Vertex 0 is fixed on side 1, so queue 1 stays empty. Moving 1 then 2 empties side 0 (below
  // its bound of 1); no balanced point beats the start, so both moves are undone.
  HGraph *g = Make(3, {{0, 1}, {1, 2}}, {}, {}, {1, 0, 0}, 1);
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE | DBG_MOVES);
  const std::string out = RunFM(&ctrl, g, 10);
  EXPECT_EQ(out,
            "Partitions: [     2,       2]  [     0,       1], Initial Cut:        1 [1] [1 1]\n"
            "Gains from moving        1 from  0:    0, \tNewcut: 1 [     1      2]\n"
            "Gains from moving        2 from  0:    1, \tNewcut: 0 [     0      3]\n"
            "\tMinimum Cut:        1 at    -1 [     2      1]\n");
  EXPECT_EQ(Where(g), (std::vector<int>{1, 0, 0}));
  EXPECT_EQ(g->mincut, 1);
  EXPECT_EQ(g->pwgts[0], 2);
  EXPECT_EQ(g->pwgts[1], 1);
  FreeHGraph__(g);
}

TEST(FM, FixedVerticesStayAndUndoStopsAtMovableCount) {
  // Moving the fixed vertices 0 (side 0) and 1 (side 1) would cut less; they never move, and
  // each pass makes exactly nvtxs - nfixed = 4 moves.
  HGraph *g = Make(6, {{0, 3}, {0, 4}, {1, 2}, {1, 5}, {2, 3}, {4, 5}}, {4, 4, 4, 4, 1, 1}, {},
                   {0, 1, 0, 1, 1, 0}, 2);
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE | DBG_MOVES);
  const std::string out = RunFM(&ctrl, g, 10);
  EXPECT_EQ(g->where[0], 0);
  EXPECT_EQ(g->where[1], 1);
  const int passes = r2test::Count(out, "Minimum Cut");
  EXPECT_GE(passes, 1);
  EXPECT_EQ(r2test::Count(out, "Gains from moving"), 4 * passes);
  EXPECT_EQ(r2test::Count(out, "moving        0 "), 0);
  EXPECT_EQ(r2test::Count(out, "moving        1 "), 0);
  r2test::ExpectCutAndWeightsExact(g);
  // The best bisection with the fixed vertices in place: 3 and 4 join 0, 2 and 5 join 1.
  EXPECT_EQ(Where(g), (std::vector<int>{0, 1, 1, 0, 0, 1}));
  EXPECT_EQ(g->mincut, 2);
  FreeHGraph__(g);
}

TEST(FM, EqualCutWithBetterBalanceIsRecordedButDoesNotContinue) {
  // No hyperedges: every cut is 0. From sides (3, 1) the first move reaches (2, 2), the only
  // point with a smaller imbalance; it is kept, and since the cut did not drop the call ends.
  HGraph *g = Make(4, {}, {}, {}, {0, 0, 0, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE);
  const std::string out = RunFM(&ctrl, g, 10);
  EXPECT_EQ(r2test::Count(out, "Minimum Cut"), 1);
  EXPECT_NE(out.find("\tMinimum Cut:        0 at     0 [     2      2]\n"), std::string::npos);
  // Vertex 2 was the top of queue 0 (last queued of gain 0).
  EXPECT_EQ(Where(g), (std::vector<int>{0, 0, 1, 1}));
  FreeHGraph__(g);
}

TEST(FM, BoundsUseSingleAndDoublePrecision) {
  // Total 20: side 0's bound 0.45f x 20 rounds to 9.0f in single precision, while side 1's
  // (1 - 0.5 - 0.05f) x 20 = 8.99999998... in double truncates to 8.
  HGraph *g = Make(20, {}, {}, {}, std::vector<int>(20, 0));
  for (int v = 10; v < 20; v++) g->where[v] = 1;
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE);
  const std::string out = RunFM(&ctrl, g, 1);
  EXPECT_EQ(out.rfind("Partitions: [    10,      10]  [    10,      10], Initial Cut:        0 "
                      "[0] [9 8]\n",
                      0),
            0u)
      << out;
  FreeHGraph__(g);
}

TEST(FM, HigherGainSideGivesUnlessItWouldBreakItsBound) {
  // Queue 0's top (vertex 0, gain 3, weight 3) would take side 0 from 5 to 2, below its bound
  // of 4; side 1 gives its top (vertex 3, gain 1) instead.
  HGraph *g = Make(4, {{0, 2, 3}, {1, 3}}, {3, 1}, {3, 2, 2, 3}, {0, 0, 1, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_MOVES);
  const std::string out = RunFM(&ctrl, g, 1);
  EXPECT_EQ(out.rfind("Gains from moving        3 from  1:    1, \tNewcut: 3 [     8      2]\n", 0),
            0u)
      << out;
  FreeHGraph__(g);
}

TEST(FM2, PicksAHighGainVertexTheSideCanAfford) {
  // With UBfactor 0.3 both sides have well over 1000 of room, so weights are looked at: side
  // 0's top (vertex 0, gain 5, weight 3000) does not fit the room of 2409; vertex 1 (gain 2,
  // weight 10) does. Side 1 offers vertex 4 (gain 2); with equal gains and more room on side 0,
  // side 0 gives vertex 1.
  HGraph *g = Make(5, {{0, 3, 4}, {1, 4}}, {5, 2}, {3000, 10, 1000, 2000, 2000}, {0, 0, 0, 1, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE | DBG_MOVES);
  ctrl.run->now.UBfactor = 0.3f;
  const std::string out = RunFM(&ctrl, g, 1, true);
  EXPECT_EQ(
      out.rfind("Partitions2: [     3,    4010]  [     2,    4000], Initial Cut:        7 ", 0), 0u)
      << out;
  EXPECT_NE(
      out.find("\nGains from moving        1 from  0:    2, \tNewcut: 5 [    10   4000   4010]\n"),
      std::string::npos)
      << out;
  r2test::ExpectCutAndWeightsExact(g);
  FreeHGraph__(g);
}

TEST(FMDeathTest, NegativeFixedCountEndsTheRun) {
  HGraph *g = Make(2, {{0, 1}}, {}, {}, {0, 1}, -1);
  PartCtrl ctrl = r2test::Ctrl();
  EXPECT_EXIT(Refine_FM__(&ctrl, g, 1), ::testing::ExitedWithCode(0), "fixed-vertex count");
  FreeHGraph__(g);
}

}  // namespace

namespace {

// Gains at both ends of the queues' range: the range is the largest adjwgt, 6, small enough
// against the vertex count for gain buckets, and vertices 0, 4 and 6 start at +6, -6 and -6.
// Vertex 6 is a pin of one hyperedge twice, so that hyperedge counts twice in its adjwgt and its
// gain alike. The passes keep every gain within the range, where the move loop no longer checks
// it (the sanitizer builds would see a write outside the buckets), and end with the exact cut
// and side weights.
TEST(FM, GainsAtTheEndsOfTheirRangeStayExact) {
  for (bool constrained : {false, true}) {
    HGraph *g = Make(8, {{0, 1}, {0, 2}, {0, 3}, {4, 5}, {6, 6, 7}, {1, 2, 3, 5, 7}},
                     {2, 2, 2, 6, 3, 1}, {}, {0, 1, 1, 1, 0, 0, 0, 0});
    ComputeInitGains__(g);
    EXPECT_EQ(g->gain[0], 6);
    EXPECT_EQ(g->gain[4], -6);
    EXPECT_EQ(g->gain[6], -6);
    EXPECT_EQ(g->adjwgt[0], 6);
    EXPECT_EQ(g->adjwgt[6], 6);
    PartCtrl ctrl = r2test::Ctrl();
    ctrl.run->now.UBfactor = 0.3f;
    RunFM(&ctrl, g, 10, constrained);
    r2test::ExpectCutAndWeightsExact(g);
    const r2test::State s = r2test::Reference(g);
    for (int v = 0; v < g->nvtxs; v++) EXPECT_LE(std::abs(s.gain[v]), g->adjwgt[v]) << v;
    FreeHGraph__(g);
  }
}

}  // namespace
