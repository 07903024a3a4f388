// Early-exit FM and one-way FM. As in the FM tests, graphs of fewer than 16 vertices keep the
// queue filling in increasing vertex order.
#include <gtest/gtest.h>

#include <string>

#include "refine2/fixtures.h"

using namespace hypra;

namespace {

using r2test::Make;
using r2test::Vec;
using r2test::Where;

std::string RunEEFM(PartCtrl *ctrl, HGraph *g, int npasses, float fraction, bool constrained) {
  testing::internal::CaptureStdout();
  if (constrained)
    Refine_EEFM2__(ctrl, g, npasses, fraction);
  else
    Refine_EEFM__(ctrl, g, npasses, fraction);
  return testing::internal::GetCapturedStdout();
}

std::string RunOneWay(PartCtrl *ctrl, HGraph *g, int npasses) {
  testing::internal::CaptureStdout();
  Refine_OneWayFM__(ctrl, g, npasses);
  return testing::internal::GetCapturedStdout();
}

TEST(EEFM, LimitZeroEndsPassAtFirstMoveAboveBest) {
  // Two separate pairs on their own sides: cut 0, every gain -1. With 4 vertices and fraction
  // 0.1 the limit is 0, so the first move (cut 1) is taken back at once without a move line.
  for (bool constrained : {false, true}) {
    HGraph *g = Make(4, {{0, 1}, {2, 3}}, {}, {}, {0, 0, 1, 1});
    PartCtrl ctrl = r2test::Ctrl(DBG_REFINE | DBG_MOVES);
    const std::string out = RunEEFM(&ctrl, g, 3, 0.1f, constrained);
    EXPECT_EQ(out,
              "Partitions: [     2,       2]  [     2,       2], Initial Cut:        0 [0] [1]\n"
              "\tMinimum Cut:        0 [       0] at    -1 [     2      2]\n");
    EXPECT_EQ(Where(g), (std::vector<int>{0, 0, 1, 1}));
    r2test::ExpectCutAndWeightsExact(g);
    r2test::ExpectGainsExact(g);
    FreeHGraph__(g);
  }
}

TEST(EEFM, FirstMoveBestThenEqualCutThenExit) {
  // e0 {0,2} w2 and e1 {0,1} w1; vertex 3 has no hyperedge. Side 1 gives vertex 2 (gain 2):
  // cut 0, a new best. Then vertex 3 (gain 0) leaves the cut at the best, which never ends the
  // pass although one move has passed the limit of 0. Then vertex 1 (gain -1) raises the cut
  // above the best and is taken back; vertex 3's move is undone.
  HGraph *g = Make(4, {{0, 2}, {0, 1}}, {2, 1}, {}, {0, 0, 1, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_MOVES);
  const std::string out = RunEEFM(&ctrl, g, 1, 0.1f, false);
  EXPECT_EQ(out,
            "Gains from moving        2 from  1:    2, \tNewcut: 0\n"
            "Gains from moving        3 from  1:    0, \tNewcut: 0\n");
  EXPECT_EQ(Where(g), (std::vector<int>{0, 0, 0, 1}));
  EXPECT_EQ(g->mincut, 0);
  r2test::ExpectCutAndWeightsExact(g);
  r2test::ExpectGainsExact(g);
  FreeHGraph__(g);
}

TEST(EEFM, EqualCutMovesNeverEndThePassEarly) {
  // Without hyperedges every move keeps the cut at its best: all four vertices move (the limit
  // is 0) and, with nothing better found, all are undone and the call ends after one pass.
  HGraph *g = Make(4, {}, {}, {}, {0, 0, 1, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE | DBG_MOVES);
  const std::string out = RunEEFM(&ctrl, g, 3, 0.1f, false);
  EXPECT_EQ(r2test::Count(out, "Gains from moving"), 4);
  EXPECT_EQ(r2test::Count(out, "Minimum Cut"), 1);
  EXPECT_EQ(Where(g), (std::vector<int>{0, 0, 1, 1}));
  FreeHGraph__(g);
}

TEST(EEFM, PassWithoutImprovementRestoresStartingGainsAndCounts) {
  HGraph *g = Make(6, {{0, 1, 2}, {3, 4, 5}, {2, 3}, {0, 1}}, {3, 3, 1, 2}, {}, {0, 0, 0, 1, 1, 1});
  ComputeInitGains__(g);
  const std::vector<int> gain = Vec(g->gain, 6), nd0 = Vec(g->ndeg[0], 4), nd1 = Vec(g->ndeg[1], 4);
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE | DBG_MOVES);
  const std::string out = RunEEFM(&ctrl, g, 3, 1.0f, false);
  EXPECT_EQ(r2test::Count(out, "Minimum Cut"), 1);
  EXPECT_EQ(r2test::Count(out, "Gains from moving"), 6);
  EXPECT_EQ(Where(g), (std::vector<int>{0, 0, 0, 1, 1, 1}));
  EXPECT_EQ(Vec(g->gain, 6), gain);
  EXPECT_EQ(Vec(g->ndeg[0], 4), nd0);
  EXPECT_EQ(Vec(g->ndeg[1], 4), nd1);
  EXPECT_EQ(g->mincut, 1);
  FreeHGraph__(g);
}

TEST(EEFM, EqualGainsWithBothSidesInBoundsRepeatThePreviousSide) {
  // Hyperedge {3, 0, 1}; the others have no hyperedge. Side 1 gives vertex 3 (gain 1 beats 0).
  // Then both tops have gain 0 and both sides meet their bounds of 2, so the side of the
  // previous move gives again: vertex 5, not side 0's top vertex 2.
  HGraph *g = Make(6, {{3, 0, 1}}, {}, {}, {0, 0, 0, 1, 1, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_MOVES);
  const std::string out = RunEEFM(&ctrl, g, 1, 1.0f, false);
  EXPECT_EQ(out.rfind("Gains from moving        3 from  1:    1, \tNewcut: 0\n"
                      "Gains from moving        5 from  1:    0, \tNewcut: 0\n",
                      0),
            0u)
      << out;
  r2test::ExpectCutAndWeightsExact(g);
  r2test::ExpectGainsExact(g);
  FreeHGraph__(g);

  // The constrained form decides equal gains by room instead: side 0 has 2 above its bound,
  // side 1 none, so side 0 gives its top, vertex 2.
  g = Make(6, {{3, 0, 1}}, {}, {}, {0, 0, 0, 1, 1, 1});
  const std::string out2 = RunEEFM(&ctrl, g, 1, 1.0f, true);
  EXPECT_EQ(out2.rfind("Gains from moving        3 from  1:    1, \tNewcut: 0\n"
                       "Gains from moving        2 from  0:    0, \tNewcut: 0\n",
                       0),
            0u)
      << out2;
  r2test::ExpectGainsExact(g);
  FreeHGraph__(g);
}

TEST(EEFM, ZeroPassesStillComputeGains) {
  HGraph *g = Make(3, {{0, 1}, {1, 2}}, {}, {}, {0, 0, 1});
  g->mincut = 50;
  PartCtrl ctrl = r2test::Ctrl();
  Refine_EEFM__(&ctrl, g, 0, 0.1f);
  EXPECT_EQ(g->mincut, 1);
  r2test::ExpectGainsExact(g);
  FreeHGraph__(g);
}

TEST(OneWayFM, GivingSideAtItsBoundWithNonPositiveTopMakesEmptyPass) {
  // Weights 3 each; side 0 = {0, 2} (6), side 1 = {1} (3); bounds 4 and 4. Side 0 gives first:
  // its top, vertex 2 (gain -1), would leave 3 < 4 and has no positive gain, so the pass is
  // empty. Pass 0 without improvement does not end the call: pass 1 gives from side 1, where
  // vertex 1 (gain 1) is too heavy and is passed over; that pass ends the call.
  HGraph *g = Make(3, {{0, 2}, {2, 1}}, {2, 1}, {3, 3, 3}, {0, 1, 0});
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE | DBG_MOVES);
  const std::string out = RunOneWay(&ctrl, g, 10);
  EXPECT_EQ(out,
            "1-way Partitions: [     2        6        3] Initial Cut:        1 [1] [4 4]\n"
            "\tMinimum Cut:        1 [       1] at    -1 [     6      3] [0]\n"
            "\tMinimum Cut:        1 [       1] at    -1 [     6      3] [1]\n");
  EXPECT_EQ(Where(g), (std::vector<int>{0, 1, 0}));
  r2test::ExpectGainsExact(g);
  FreeHGraph__(g);
}

TEST(OneWayFM, PassedOverVertexIsNeitherMovedNorUndone) {
  // Side 0 = {0 (w5), 1, 2}, side 1 = {3 (w4), 4}; bounds 5 and 5. Vertex 1 (gain 3) moves and
  // gives the best cut 2 at (6, 6); vertex 0 (gain 2) would leave side 0 at 1 and is passed
  // over; vertex 2 moves at equal cut with worse balance and is undone. Vertex 0 stays.
  HGraph *g = Make(5, {{0, 3}, {1, 4}}, {2, 3}, {5, 1, 1, 4, 1}, {0, 0, 0, 1, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE | DBG_MOVES);
  const std::string out = RunOneWay(&ctrl, g, 1);
  EXPECT_EQ(out,
            "1-way Partitions: [     3        7        5] Initial Cut:        5 [5] [5 5]\n"
            "Gains from moving        1 from  0:    3, \tNewcut: 2\n"
            "Gains from moving        2 from  0:    0, \tNewcut: 2\n"
            "\tMinimum Cut:        2 [       2] at     0 [     6      6] [0]\n");
  EXPECT_EQ(Where(g), (std::vector<int>{0, 1, 0, 1, 1}));
  EXPECT_EQ(g->mincut, 2);
  r2test::ExpectCutAndWeightsExact(g);
  r2test::ExpectGainsExact(g);
  FreeHGraph__(g);
}

TEST(OneWayFM, SinglePassGivesFromHeavierSide) {
  // Sides (1, 2): side 1 gives. Vertex 2 (last queued) moves to (2, 1), no better balance, and
  // vertex 1 would break side 1's bound with gain 0, which ends the pass.
  HGraph *g = Make(3, {}, {}, {}, {0, 1, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE | DBG_MOVES);
  const std::string out = RunOneWay(&ctrl, g, 1);
  EXPECT_EQ(out,
            "1-way Partitions: [     2        2        1] Initial Cut:        0 [0] [1 1]\n"
            "Gains from moving        2 from  1:    0, \tNewcut: 0\n"
            "\tMinimum Cut:        0 [       0] at    -1 [     1      2] [1]\n");
  EXPECT_EQ(Where(g), (std::vector<int>{0, 1, 1}));
  FreeHGraph__(g);

  // Equal weights: side 0 gives.
  g = Make(2, {}, {}, {}, {0, 1});
  const std::string eq = RunOneWay(&ctrl, g, 1);
  EXPECT_NE(eq.find("] [0]\n"), std::string::npos) << eq;
  EXPECT_EQ(r2test::Count(eq, "Minimum Cut"), 1);
  FreeHGraph__(g);
}

TEST(OneWayFM, ZeroPassesOnlyComputeGains) {
  HGraph *g = Make(3, {{0, 1}, {1, 2}}, {}, {}, {0, 0, 1});
  g->mincut = 50;
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE);
  EXPECT_EQ(RunOneWay(&ctrl, g, 0), "");
  EXPECT_EQ(g->mincut, 1);
  r2test::ExpectGainsExact(g);
  FreeHGraph__(g);
}

}  // namespace
