#include <gtest/gtest.h>

#include <string>

#include "kway_fixtures.h"

using namespace hypra;

using namespace kwaytest;

namespace {

int CountOf(const std::string &text, const std::string &what) {
  int n = 0;
  for (size_t p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) n++;
  return n;
}

using Refiner = void (*)(const PartCtrl *, HGraph *, int);

TEST(KwayPasses, NothingMovesWhenEveryPartIsFull) {
  // Three parts of ten unit vertices; u = 1.05 puts maxpwgt at 10 and minpwgt at 9.
  std::vector<std::vector<int>> nets;
  std::vector<int> where(30);
  for (int v = 0; v < 30; v++) where[v] = v / 10;
  for (int i = 0; i < 10; i++) nets.push_back({i, 10 + i});
  PartCtrl ctrl = MakeCtrl(3, 1.05f);
  ctrl.run->now.dbglvl = DBG_REFINE;
  HGraph *g = MakeGraph(30, nets);
  SetPartition(&ctrl, g, where);
  testing::internal::CaptureStdout();
  RefineCutKway_Random__(&ctrl, g, 10);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out,
            "Partitions: [   10,   10], Balance: [1.05,     9,   10], Init Cut:    10, Init SOED:"
            "    20\n"
            "\tCut:       10, SOED:       20, Nmoves:   0, Pwgts: [    10     10]\n");
  for (int v = 0; v < 30; v++) EXPECT_EQ(g->where[v], v / 10);
  EXPECT_EQ(g->kwayobj, 10);
  FreeHGraph__(g);
}

// Vertex 0 (weight 3, part 0) and vertex 1 (weight 4, part 1) share a hyperedge of weight 5.
void RunLightPartCase(float ubfactor, int expected_where0) {
  PartCtrl ctrl = MakeCtrl(2, ubfactor);
  HGraph *g = MakeGraph(2, {{0, 1}}, {5}, {3, 4});
  SetPartition(&ctrl, g, {0, 1});
  RefineCutKway_Random__(&ctrl, g, 1);
  EXPECT_EQ(g->where[0], expected_where0);
  FreeHGraph__(g);
}

TEST(KwayPasses, VertexIsNotMovedBelowMinimumPartWeight) {
  // W = 7, u = 3: minpwgt = trunc(7 / 6) = 1, so emptying either part is refused.
  RunLightPartCase(3.0f, 0);
}

TEST(KwayPasses, SameVertexMovesWhenMinimumAllowsEmptyPart) {
  // u = 4: minpwgt = trunc(7 / 8) = 0, maxpwgt = 14.
  RunLightPartCase(4.0f, 1);
}

// Vertex 0 (weight w) and vertex 1 (weight 10 - w) in part 0, vertex 2 (weight 4) in part 1;
// hyperedges {0, 1} and {0, 2}: moving vertex 0 changes neither cut nor connectivity.
std::string RunZeroGainCase(int w, int *where0) {
  PartCtrl ctrl = MakeCtrl(2, 1.5f);  // maxpwgt 10, minpwgt 4
  ctrl.run->now.dbglvl = DBG_REFINE | DBG_MOVES;
  HGraph *g = MakeGraph(3, {{0, 1}, {0, 2}}, {}, {w, 10 - w, 4});
  SetPartition(&ctrl, g, {0, 0, 1});
  testing::internal::CaptureStdout();
  RefineCutKway_Random__(&ctrl, g, 10);
  std::string out = testing::internal::GetCapturedStdout();
  *where0 = g->where[0];
  EXPECT_EQ(g->mincut, 1);
  EXPECT_EQ(g->soed, 2);
  FreeHGraph__(g);
  return out;
}

TEST(KwayPasses, ZeroGainMoveIsMadeWhenItStrictlyImprovesBalance) {
  int where0;
  const std::string out = RunZeroGainCase(5, &where0);  // 10 - 4 > 5
  EXPECT_EQ(where0, 1);
  EXPECT_EQ(CountOf(out, "\tMoving      0[  2] (  0 ->   1) [   1    1    0    0]     1     2\n"),
            1);
  // The pass changed neither objective, so it is the last one.
  EXPECT_EQ(CountOf(out, "\tCut:"), 1);
  EXPECT_EQ(CountOf(out, "Nmoves:   1"), 1);
}

TEST(KwayPasses, ZeroGainMoveIsRefusedWithoutStrictBalanceImprovement) {
  int where0;
  const std::string out = RunZeroGainCase(6, &where0);  // 10 - 4 = 6
  EXPECT_EQ(where0, 0);
  EXPECT_EQ(CountOf(out, "Moving"), 0);
}

void RunFixedCase(int nfixed, int expected_where0) {
  PartCtrl ctrl = MakeCtrl(2, 3.0f);
  HGraph *g = MakeGraph(3, {{0, 1}, {0, 2}});
  g->nfixed = nfixed;
  SetPartition(&ctrl, g, {0, 1, 1});
  RefineCutKway_Random__(&ctrl, g, 1);
  EXPECT_EQ(g->where[0], expected_where0);
  FreeHGraph__(g);
}

TEST(KwayPasses, FixedSuperVerticesKeepTheirParts) {
  RunFixedCase(1, 0);
}

TEST(KwayPasses, FreeVertexWithTheSameGainMoves) {
  RunFixedCase(0, 1);
}

void RunNoPasses(Refiner refine, int expected_obj) {
  PartCtrl ctrl = MakeCtrl(3, 1.0f);
  ctrl.run->now.dbglvl = DBG_REFINE;
  HGraph *g = MakeGraph(4, {{0, 1, 2}, {2, 3}}, {2, 3});
  SetPartition(&ctrl, g, {0, 1, 2, 2});
  g->kwayobj = -7;
  testing::internal::CaptureStdout();
  refine(&ctrl, g, 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(g->where[0], 0);
  EXPECT_EQ(g->where[1], 1);
  EXPECT_EQ(g->where[2], 2);
  EXPECT_EQ(g->where[3], 2);
  EXPECT_EQ(g->mincut, 2);
  EXPECT_EQ(g->soed, 6);
  EXPECT_EQ(g->kpwgts[2], 2);
  EXPECT_EQ(g->crinfo[0].nnbrs, 2);
  EXPECT_EQ(g->kwayobj, expected_obj);
  FreeHGraph__(g);
}

TEST(KwayPasses, NoPassesOnlyRecomputesAndSetsCutObjective) {
  RunNoPasses(RefineCutKway_Random__, 2);
}

TEST(KwayPasses, NoPassesOnlyRecomputesAndSetsSoedObjective) {
  RunNoPasses(RefineSOEDKway_Random__, 6);
}

// Vertex 0 of part 0 ties toward parts 1 and 2; filler decides which of them is heavier.
int TieTarget(const std::vector<int> &where) {
  PartCtrl ctrl = MakeCtrl(3, 3.0f);
  HGraph *g = MakeGraph(static_cast<int>(where.size()), {{0, 1}, {0, 2}});
  SetPartition(&ctrl, g, where);
  ctrl.run->now.dbglvl = DBG_MOVES;
  testing::internal::CaptureStdout();
  RefineCutKway_Random__(&ctrl, g, 1);
  const std::string out = testing::internal::GetCapturedStdout();
  const int to = out.find("Moving      0[  2] (  0 ->   1)") != std::string::npos   ? 1
                 : out.find("Moving      0[  2] (  0 ->   2)") != std::string::npos ? 2
                                                                                    : -1;
  FreeHGraph__(g);
  return to;
}

TEST(KwayPasses, TieGoesToTheLighterPart) {
  EXPECT_EQ(TieTarget({0, 1, 2, 1}), 2);
  EXPECT_EQ(TieTarget({0, 1, 2, 2}), 1);
}

TEST(KwayPasses, CompleteTieGoesToTheLaterEntry) {
  EXPECT_EQ(TieTarget({0, 1, 2}), 2);
}

// Vertex 0 can make a two-part hyperedge of weight 2 internal (toward part 1), or leave a
// three-part hyperedge of weight 3 (toward part 2 or 3).
std::string FirstMove(Refiner refine) {
  PartCtrl ctrl = MakeCtrl(4, 4.0f);
  ctrl.run->now.dbglvl = DBG_MOVES;
  HGraph *g = MakeGraph(4, {{0, 1}, {0, 2, 3}}, {2, 3});
  SetPartition(&ctrl, g, {0, 1, 2, 3});
  testing::internal::CaptureStdout();
  refine(&ctrl, g, 1);
  std::string out = testing::internal::GetCapturedStdout();
  FreeHGraph__(g);
  return out.substr(0, out.find('\n') + 1);
}

TEST(KwayPasses, CutRefinerPrefersCutGain) {
  EXPECT_EQ(FirstMove(RefineCutKway_Random__),
            "\tMoving      0[  2] (  0 ->   1) [   0    2    2    0]     3     9\n");
}

TEST(KwayPasses, SoedRefinerPrefersConnectivityGain) {
  // Cut 5 stays; SOED 13 drops by 0 + 3.
  EXPECT_EQ(FirstMove(RefineSOEDKway_Random__),
            "\tMoving      0[  2] (  0 ->   3) [   0    0    3    0]     5    10\n");
}

TEST(KwayPasses, VertexWithMoreInternalThanSoleWeightStays) {
  // Vertex 0: internal weight 3 against sole weight 2, although part 1 would take it.
  PartCtrl ctrl = MakeCtrl(2, 4.0f);
  HGraph *g = MakeGraph(4, {{0, 2}, {0, 1}}, {2, 3});
  g->nfixed = 0;
  SetPartition(&ctrl, g, {0, 0, 1, 1});
  ctrl.run->now.dbglvl = DBG_MOVES;
  testing::internal::CaptureStdout();
  RefineCutKway_Random__(&ctrl, g, 1);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(CountOf(out, "Moving      0["), 0);
  FreeHGraph__(g);
}

}  // namespace
