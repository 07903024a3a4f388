#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <vector>

#include "common/test_run.h"
#include "fixtures.h"
#include "partition/partition.h"

using namespace hypra;

namespace {

PartCtrl BisectionCtrl(int nruns, int vcycle, int dbglvl) {
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.run->now.CoarsenTo = 100;
  ctrl.MaxNetSize = 50;
  ctrl.run->now.CType = 1;
  ctrl.run->now.RType = 1;
  ctrl.Nruns = nruns;
  ctrl.Vcycle = vcycle;
  ctrl.Seed = 3;
  ctrl.run->now.dbglvl = dbglvl;
  ctrl.Nparts = 2;
  ctrl.run->now.TargetFrac = 0.5f;
  ctrl.run->now.UBfactor = 0.05f;
  return ctrl;
}

// The hypergraph as the runs receive it: no fixed vertices, incidence lists built.
HGraph *RunInput(const TestHypergraph &h) {
  HGraph *g = ToHGraph(h);
  g->nfixed = 0;
  CreateIncidentHGraph__(g);
  return g;
}

// "[%d, %d]" pieces: the cut before and after refining on the full hypergraph.
int FullRefinements(const std::string &out) {
  std::regex re("\\[[0-9]+, [0-9]+\\]");
  return static_cast<int>(
      std::distance(std::sregex_iterator(out.begin(), out.end(), re), std::sregex_iterator()));
}

struct Bisected {
  std::vector<int> bisection;
  int cut;
  std::string out;
};

Bisected Bisect(const TestHypergraph &h, PartCtrl ctrl) {
  HGraph *g = ToHGraph(h);
  g->nfixed = 0;
  Bisected b;
  b.bisection.assign(h.nvtxs, -1);
  testing::internal::CaptureStdout();
  b.cut = Hypergraph_Bisection__(&ctrl, g, b.bisection.data());
  b.out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(ctrl.run->now.CType, 1);  // restored
  EXPECT_EQ(ctrl.run->now.CoarsenTo, 100);
  FreeHGraph__(g);
  return b;
}

TEST(Bisection, OneRunGetsOneRoundOfVCyclesAtTheEnd) {
  TestHypergraph h = RingHypergraph(2500, 3000, 31);
  Bisected b = Bisect(h, BisectionCtrl(1, 1, DBG_TRACE));
  EXPECT_EQ(Count(b.out, "          ["), 1);
  EXPECT_EQ(b.cut, CutOf(h, b.bisection));
  EXPECT_EQ(Count(b.out, "Wrong cut!"), 0);
}

TEST(Bisection, ElevenRunsKeepThreeForTheFinalVCycles) {
  TestHypergraph h = RingHypergraph(1500, 1800, 32);
  Bisected b = Bisect(h, BisectionCtrl(11, 1, DBG_TRACE));
  EXPECT_EQ(Count(b.out, "    Cut of trial "), 11);
  EXPECT_EQ(Count(b.out, "          ["), 3);
}

TEST(Bisection, SmallHyperedgesSkipTheFullRefinement) {
  TestHypergraph h = RingHypergraph(400, 500, 33);
  Bisected b = Bisect(h, BisectionCtrl(2, 0, DBG_TRACE));
  EXPECT_EQ(FullRefinements(b.out), 0);
}

TEST(Bisection, LargeHyperedgeIsPrunedButCounted) {
  TestHypergraph h = RingHypergraph(400, 500, 34);
  std::vector<int> big;
  for (int v = 0; v < 51; v++) big.push_back(v * 7);
  h.Add(big, 9);
  Bisected b = Bisect(h, BisectionCtrl(2, 0, DBG_TRACE));
  EXPECT_EQ(FullRefinements(b.out), 2);  // one per run
  EXPECT_EQ(b.cut, CutOf(h, b.bisection));
}

TEST(Bisection, EqualCutsKeepTheEarlierRun) {
  // Two separate cliques of 60 vertices: every run finds cut 0, so the first run's bisection
  // wins, and it is the same as a single run's from the same seed.
  TestHypergraph h;
  h.nvtxs = 120;
  for (int c = 0; c < 2; c++)
    for (int i = 0; i < 60; i++) h.Add({c * 60 + i, c * 60 + (i + 1) % 60, c * 60 + (i + 7) % 60});
  h.vwgts.assign(120, 1);
  Bisected one = Bisect(h, BisectionCtrl(1, 0, 0));
  Bisected many = Bisect(h, BisectionCtrl(4, 0, 0));
  ASSERT_EQ(one.cut, 0);
  EXPECT_EQ(many.cut, 0);
  EXPECT_EQ(one.bisection, many.bisection);
}

TEST(Bisection, VcycleThreeAlwaysPolishesTheFirstRun) {
  TestHypergraph h = RingHypergraph(1500, 1800, 35);
  Bisected b = Bisect(h, BisectionCtrl(1, 3, DBG_TRACE));
  EXPECT_EQ(Count(b.out, "          ["), 1);
  EXPECT_EQ(b.cut, CutOf(h, b.bisection));
}

TEST(Bisection, HeavyVertexSetsHeavyCellsAndUsesConstrainedFm) {
  PartCtrl ctrl = BisectionCtrl(1, 0, 0);
  std::vector<int> w(100, 1);
  w[5] = 10;  // limit = 2 * 109 / 100 = 2
  EXPECT_EQ(ComputeMaxCellWgt__(&ctrl, 100, w.data()), (2 * 99) / 99);
  EXPECT_EQ(ctrl.run->now.HeavyCells, 1);
  std::vector<int> flat(100, 1);
  EXPECT_EQ(ComputeMaxCellWgt__(&ctrl, 100, flat.data()), 2);
  EXPECT_EQ(ctrl.run->now.HeavyCells, 0);

  TestHypergraph h = RingHypergraph(300, 360, 36);
  h.vwgts[10] = 40;
  std::vector<int> big;
  for (int v = 0; v < 60; v++) big.push_back(v * 5);
  h.Add(big, 1);
  Bisected b = Bisect(h, BisectionCtrl(1, 0, DBG_REFINE));
  EXPECT_GT(Count(b.out, "Partitions2: ["), 0);
}

TEST(Bisection, ActualCutAndBalance) {
  TestHypergraph h;
  h.nvtxs = 4;
  h.Add({0, 1}, 3);
  h.Add({1, 2, 3}, 5);
  h.Add({2}, 7);
  h.vwgts = {89, 1, 50, 60};
  HGraph *g = ToHGraph(h);
  std::vector<int> where = {0, 0, 1, 1};
  EXPECT_EQ(ComputeActualCut__(g, where.data()), 5);
  EXPECT_FLOAT_EQ(ComputeBalance__(g, where.data()), static_cast<float>(90.0 / 200.0));
  char text[16];
  std::snprintf(text, sizeof(text), "%4.2f", ComputeBalance__(g, where.data()));
  EXPECT_STREQ(text, "0.45");
  g->nvtxs = 0;
  EXPECT_TRUE(std::isnan(ComputeBalance__(g, where.data())));
  g->nvtxs = 4;
  FreeHGraph__(g);
}

TEST(Bisection, PruneKeepsHyperedgesUpToTheLimit) {
  TestHypergraph h;
  h.nvtxs = 60;
  std::vector<int> fifty, fiftyone;
  for (int v = 0; v < 50; v++) fifty.push_back(v);
  for (int v = 0; v < 51; v++) fiftyone.push_back(v);
  h.Add({0, 1}, 2);
  h.Add(fiftyone, 3);
  h.Add(fifty, 4);
  HGraph *g = ToHGraph(h);
  g->nfixed = 0;
  PartCtrl ctrl = BisectionCtrl(1, 0, 0);
  HGraph *p = PruneHGraph__(&ctrl, g);
  EXPECT_EQ(p->nhedges, 2);
  EXPECT_EQ(p->netwgt[0], 2);
  EXPECT_EQ(p->netwgt[1], 4);
  EXPECT_EQ(p->netptr[2], 52);
  EXPECT_NE(p->incptr, nullptr);
  EXPECT_EQ(p->nvtxs, 60);
  FreePrunedHGraph__(g, p);
  g->nhedges = 0;
  HGraph *empty = PruneHGraph__(&ctrl, g);
  EXPECT_EQ(empty->nhedges, 0);
  EXPECT_EQ(empty->netptr[0], 0);
  FreePrunedHGraph__(g, empty);
  g->nhedges = 3;
  FreeHGraph__(g);
}

TEST(Bisection, PruneSharesTheArraysWhenNoHyperedgeIsTooLarge) {
  TestHypergraph h;
  h.nvtxs = 6;
  h.Add({0, 1, 2}, 2);
  h.Add({2, 3}, 1);
  h.Add({3, 4, 5}, 3);
  HGraph *g = RunInput(h);
  PartCtrl ctrl = BisectionCtrl(1, 0, 0);
  HGraph *p = PruneHGraph__(&ctrl, g);
  EXPECT_EQ(p->nhedges, 3);
  EXPECT_EQ(p->netind, g->netind);
  EXPECT_EQ(p->incind, g->incind);
  EXPECT_EQ(p->edgewgt, g->edgewgt);
  EXPECT_EQ(p->cellwgt, g->cellwgt);
  FreePrunedHGraph__(g, p);
  // The full hypergraph keeps what the pruned one shared (a leak checker sees the rest).
  EXPECT_EQ(g->netind[4], 3);
  EXPECT_EQ(g->adjwgt[3], 4);
  FreeHGraph__(g);
}

TEST(Bisection, PruneCopiesTheListsWhenItDropsAHyperedge) {
  TestHypergraph h;
  h.nvtxs = 60;
  std::vector<int> big;
  for (int v = 0; v < 60; v++) big.push_back(v);
  for (int v = 0; v + 1 < 60; v += 2) h.Add({v, v + 1}, 2);
  h.Add(big, 1);
  HGraph *g = RunInput(h);
  PartCtrl ctrl = BisectionCtrl(1, 0, 0);
  HGraph *p = PruneHGraph__(&ctrl, g);
  EXPECT_EQ(p->nhedges, 30);
  EXPECT_NE(p->netind, g->netind);
  EXPECT_NE(p->incind, g->incind);
  EXPECT_EQ(p->cellwgt, g->cellwgt);
  FreePrunedHGraph__(g, p);
  EXPECT_EQ(g->nhedges, 31);
  FreeHGraph__(g);
}

TEST(Bisection, PruneCopiesEverythingWhenVerticesAreLeftInNoHyperedge) {
  TestHypergraph h;
  h.nvtxs = 6;
  h.Add({0, 1}, 2);
  h.Add({2, 3}, 1);
  HGraph *g = RunInput(h);
  PartCtrl ctrl = BisectionCtrl(1, 0, 0);
  HGraph *p = PruneHGraph__(&ctrl, g);
  EXPECT_EQ(p->nhedges, 2);
  EXPECT_NE(p->netind, g->netind);
  EXPECT_NE(p->cellwgt, g->cellwgt);
  FreePrunedHGraph__(g, p);
  FreeHGraph__(g);
}

}  // namespace
