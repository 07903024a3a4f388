// The uncoarsening driver on small hand-built hierarchies.
#include <gtest/gtest.h>

#include <string>

#include "coarsen/coarsen.h"
#include "refine2/fixtures.h"

using namespace hypra;

namespace {

using r2test::Make;
using r2test::Where;

// Drops the refinement arrays a level gets only when a bisection is projected onto it.
void Bare(HGraph *g) {
  RVfree__(&g->where, &g->gain, &g->ndeg[0], &g->ndeg[1]);
}

// Builds the next coarser level of fine from the grouping cmap (fine vertex -> group): pins are
// mapped and de-duplicated, hyperedges left with one pin vanish, weights add up.
HGraph *Coarser(HGraph *fine, const std::vector<int> &cmap, int cnvtxs) {
  r2test::Nets nets;
  std::vector<int> netwgt, cellwgt(cnvtxs, 0);
  for (int e = 0; e < fine->nhedges; e++) {
    std::vector<int> pins;
    for (int j = fine->netptr[e]; j < fine->netptr[e + 1]; j++) {
      const int c = cmap[fine->netind[j]];
      bool dup = false;
      for (int u : pins) dup = dup || u == c;
      if (!dup) pins.push_back(c);
    }
    if (pins.size() >= 2) {
      nets.push_back(pins);
      netwgt.push_back(fine->netwgt[e]);
    }
  }
  for (int v = 0; v < fine->nvtxs; v++) cellwgt[cmap[v]] += fine->cellwgt[v];
  HGraph *coarse = Make(cnvtxs, nets, netwgt, cellwgt, {}, fine->nfixed);
  Bare(coarse);
  fine->cellmap = imalloc__(fine->nvtxs, "test: cellmap");
  for (int v = 0; v < fine->nvtxs; v++) fine->cellmap[v] = cmap[v];
  fine->coarser = coarse;
  coarse->finer = fine;
  coarse->level = fine->level + 1;
  return coarse;
}

// Pairs consecutive vertices: v -> v / 2.
std::vector<int> Halves(int n) {
  std::vector<int> cmap(n);
  for (int v = 0; v < n; v++) cmap[v] = v / 2;
  return cmap;
}

// A ring of 16 unit vertices with chords, coarsened by halving `levels` times; the coarsest
// level gets the bisection `coarsewhere`.
HGraph *Hierarchy(int levels, HGraph **coarsest, const std::vector<int> &coarsewhere) {
  r2test::Nets nets;
  for (int v = 0; v < 16; v++) nets.push_back({v, (v + 1) % 16});
  for (int v = 0; v < 16; v += 4) nets.push_back({v, (v + 5) % 16, (v + 9) % 16});
  HGraph *top = Make(16, nets);
  Bare(top);
  top->level = 0;
  HGraph *g = top;
  for (int l = 0; l < levels; l++) g = Coarser(g, Halves(g->nvtxs), g->nvtxs / 2);
  AllocateRefinementMemory__(g);
  for (int v = 0; v < g->nvtxs; v++) g->where[v] = coarsewhere[v];
  *coarsest = g;
  return top;
}

std::string RunRefine(PartCtrl *ctrl, HGraph *top, HGraph *coarsest) {
  testing::internal::CaptureStdout();
  Refine__(ctrl, top, coarsest);
  return testing::internal::GetCapturedStdout();
}

// FM prints "Minimum Cut: <cut> at", the early-exit refiners "Minimum Cut: <cut> [<cut>] at".
int EarlyExitPasses(const std::string &out) {
  return r2test::Count(out, "] at ");
}

TEST(Refine, TypeThreeOnThreeLevelsNeverUsesEarlyExit) {
  HGraph *coarsest;
  HGraph *top = Hierarchy(2, &coarsest, {0, 0, 1, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE);
  ctrl.run->now.RType = 3;
  const std::string out = RunRefine(&ctrl, top, coarsest);
  EXPECT_EQ(EarlyExitPasses(out), 0) << out;
  EXPECT_GE(r2test::Count(out, "Minimum Cut"), 2);
  r2test::ExpectCutAndWeightsExact(top);
  FreeHGraph__(top);
}

TEST(Refine, TypeThreeUsesEarlyExitMoreThanTwoLevelsBelowCoarsest) {
  // Levels 0..3: only level 0 is below L - 2 = 1. Both refiners print one pass-0 line, and the
  // early-exit one prints a single bound.
  HGraph *coarsest;
  HGraph *top = Hierarchy(3, &coarsest, {0, 1});
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE);
  ctrl.run->now.RType = 3;
  const std::string out = RunRefine(&ctrl, top, coarsest);
  EXPECT_GE(EarlyExitPasses(out), 1) << out;
  EXPECT_EQ(r2test::Count(out, "Initial Cut"), 3);
  const size_t last = out.rfind("Partitions: ");
  ASSERT_NE(last, std::string::npos);
  EXPECT_EQ(out.find("Partitions: [     8,       8]  [     8,       8]", last), last) << out;
  EXPECT_EQ(out.substr(out.find('\n', last) - 3, 4), "[7]\n") << out;
  r2test::ExpectCutAndWeightsExact(top);
  FreeHGraph__(top);
}

TEST(Refine, DispatchFollowsRefinementType) {
  struct Case {
    int rtype, heavy;
    const char *marker;
    int count;
  } cases[] = {{1, 0, "Partitions: ", 1},       {1, 1, "Partitions2: ", 1},
               {2, 0, "1-way Partitions: ", 1}, {2, 0, "\nPartitions: ", 1},
               {5, 0, "Partitions2: ", 1},      {10, 0, "Initial Cut", 0}};
  for (const Case &c : cases) {
    HGraph *coarsest;
    HGraph *top = Hierarchy(1, &coarsest, {0, 1, 0, 1, 0, 1, 0, 1});
    PartCtrl ctrl = r2test::Ctrl(DBG_REFINE);
    ctrl.run->now.RType = c.rtype;
    ctrl.run->now.HeavyCells = c.heavy;
    const std::string out = RunRefine(&ctrl, top, coarsest);
    EXPECT_EQ(r2test::Count(out, c.marker), c.count) << c.rtype << "\n" << out;
    // Without refinement a balanced level's cut is never computed.
    if (c.rtype != 10) r2test::ExpectCutAndWeightsExact(top);
    FreeHGraph__(top);
  }
}

TEST(Refine, TypeTenBalancesAndPlacesIslandsWithoutRefining) {
  // Vertices 2 and 5 have no hyperedge. Separation numbers 0,1,3,4 as 0..3 and puts 5 at
  // position 4, 2 at position 5. The coarse level pairs {0,1} and {3,4} and puts both on side 0.
  HGraph *top = Make(6, {{0, 1}, {3, 4}});
  Bare(top);
  top->level = 0;
  SeparateIslands__(top);
  ASSERT_EQ(top->nvtxs, 4);
  ASSERT_EQ(top->nislands, 2);
  HGraph *coarse = Coarser(top, {0, 0, 1, 1}, 2);
  AllocateRefinementMemory__(coarse);
  coarse->where[0] = coarse->where[1] = 0;
  PartCtrl ctrl = r2test::Ctrl();
  ctrl.run->now.RType = 10;
  Refine__(&ctrl, top, coarse);
  // Balancing moves the top of side 0 (position 3, queued last among gains of -1), giving
  // sides (3, 1) and cut 1; FM would have found cut 0 but does not run. The islands then go to
  // the lighter side, side 1 on ties: position 4 to side 1 (3 >= 1), position 5 to side 1
  // (3 >= 2).
  EXPECT_EQ(top->nvtxs, 6);
  EXPECT_EQ(top->nislands, 0);
  EXPECT_EQ(Where(top), (std::vector<int>{0, 0, 1, 0, 1, 1}));
  EXPECT_EQ(top->mincut, 1);
  FreeHGraph__(top);
}

TEST(Refine, LevelWithoutVerticesOnlyGetsGainsComputed) {
  // Every vertex is an island: the level keeps no vertex. An unknown refinement type would end
  // the run if the level were refined. The recomputed side weights (0, 0) decide the islands:
  // positions 0, 1, 2 go to sides 1, 0, 1; positions are in reverse order of the vertices.
  HGraph *top = Make(3, {});
  Bare(top);
  top->level = 0;
  SeparateIslands__(top);
  ASSERT_EQ(top->nvtxs, 0);
  HGraph *coarse = Coarser(top, {}, 0);
  AllocateRefinementMemory__(coarse);
  top->pwgts[0] = 100;
  top->pwgts[1] = 0;
  PartCtrl ctrl = r2test::Ctrl();
  ctrl.run->now.RType = 4;
  Refine__(&ctrl, top, coarse);
  EXPECT_EQ(top->mincut, 0);
  EXPECT_EQ(Where(top), (std::vector<int>{1, 0, 1}));
  FreeHGraph__(top);
}

TEST(Refine, NothingCoarsenedReturnsAtOnce) {
  HGraph *g = Make(4, {{0, 1}, {2, 3}}, {}, {}, {0, 1, 0, 1});
  g->mincut = 12;
  PartCtrl ctrl = r2test::Ctrl(DBG_REFINE);
  EXPECT_EQ(RunRefine(&ctrl, g, g), "");
  EXPECT_EQ(Where(g), (std::vector<int>{0, 1, 0, 1}));
  EXPECT_EQ(g->mincut, 12);
  FreeHGraph__(g);
}

TEST(RefineDeathTest, UnknownRefinementTypeEndsTheRun) {
  for (int rtype : {0, 4, 6, 9, 11, -1}) {
    HGraph *coarsest;
    HGraph *top = Hierarchy(1, &coarsest, {0, 1, 0, 1, 0, 1, 0, 1});
    PartCtrl ctrl = r2test::Ctrl();
    ctrl.run->now.RType = rtype;
    EXPECT_EXIT(Refine__(&ctrl, top, coarsest), ::testing::ExitedWithCode(0),
                "Unknown refinement type: " + std::to_string(rtype) + "\n");
    FreeHGraph__(coarsest);
    FreeHGraph__(top);
  }
}

}  // namespace
