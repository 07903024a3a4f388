#include <gtest/gtest.h>

#include <vector>

#include "coarsen/coarsen.h"
#include "coarsen/grouping.h"
#include "common/test_run.h"
#include "test_graphs.h"

using namespace hypra;

namespace {

PartCtrl MakeCtrl(int maxcellwgt) {
  return testgraphs::Ctrl(0, maxcellwgt);
}

using Scheme = void (*)(const PartCtrl *, HGraph *, int *, int *, KeyValue *);

// Runs one scheme on g with the driver's scratch sizes.
void RunScheme(Scheme scheme, const PartCtrl *ctrl, HGraph *g) {
  const int n = std::max(g->nvtxs, g->nhedges);
  std::vector<int> perm(n), htable(2 * n, -1);
  std::vector<KeyValue> vpairs(n);
  testrun::Seed(11);
  scheme(ctrl, g, perm.data(), htable.data(), vpairs.data());
}

TEST(MatchHedges, HeavyHyperedgeOnlyItsFreePinsCountInThePartialPass) {
  PartCtrl ctrl = MakeCtrl(3);
  // {0..4} (weight 5) is tried first but weighs 5 > 3; {0, 1} is contracted whole; the partial
  // pass then groups the free pins 2, 3, 4 (weight 3).
  HGraph *g = testgraphs::Make(5, {{0, 1, 2, 3, 4}, {0, 1}}, {5, 1});
  RunScheme(Match_Hedges_PHedges_Edges__, &ctrl, g);
  EXPECT_EQ(g->cellmap[0], 0);
  EXPECT_EQ(g->cellmap[1], 0);
  EXPECT_EQ(g->cellmap[2], 1);
  EXPECT_EQ(g->cellmap[3], 1);
  EXPECT_EQ(g->cellmap[4], 1);
  EXPECT_EQ(g->coarser->nvtxs, 2);
  testgraphs::FreeChain(g);

  // Without the partial pass the heavy hyperedge is never contracted.
  g = testgraphs::Make(5, {{0, 1, 2, 3, 4}, {0, 1}}, {5, 1});
  RunScheme(Match_Hedges__, &ctrl, g);
  EXPECT_EQ(g->coarser->nvtxs, 4);
  testgraphs::FreeChain(g);
}

TEST(MatchHedges, PartialPassNeedsMoreThanHalfFree) {
  // {1, 2} (weight 5) goes first; {0, 1, 2, 3} then has 2 of 4 pins free: passed over.
  PartCtrl ctrl = MakeCtrl(5);
  HGraph *g = testgraphs::Make(4, {{0, 1, 2, 3}, {1, 2}}, {1, 5}, {10, 1, 1, 1});
  RunScheme(Match_Hedges_PHedges_Edges__, &ctrl, g);
  EXPECT_EQ(g->cellmap[1], 0);
  EXPECT_EQ(g->cellmap[2], 0);
  EXPECT_NE(g->cellmap[0], g->cellmap[3]);
  EXPECT_EQ(g->coarser->nvtxs, 3);
  testgraphs::FreeChain(g);

  // {1, 5} goes first; {0, 1, 2, 3} has 3 of 4 free, weighing 3: grouped.
  ctrl = MakeCtrl(3);
  g = testgraphs::Make(6, {{0, 1, 2, 3}, {1, 5}}, {1, 5});
  RunScheme(Match_Hedges_PHedges_Edges__, &ctrl, g);
  EXPECT_EQ(g->cellmap[1], 0);
  EXPECT_EQ(g->cellmap[5], 0);
  EXPECT_EQ(g->cellmap[0], 1);
  EXPECT_EQ(g->cellmap[2], 1);
  EXPECT_EQ(g->cellmap[3], 1);
  EXPECT_EQ(g->mind[g->mptr[1]], 0);
  testgraphs::FreeChain(g);
}

TEST(MatchHedges, SinglePinHyperedgeBecomesAGroupOfOne) {
  PartCtrl ctrl = MakeCtrl(10);
  HGraph *g = testgraphs::Make(3, {{2}});
  RunScheme(Match_Hedges__, &ctrl, g);
  // The hyperedge pass comes first, then the rest in increasing vertex number.
  EXPECT_EQ(g->cellmap[2], 0);
  EXPECT_EQ(g->cellmap[0], 1);
  EXPECT_EQ(g->cellmap[1], 2);
  EXPECT_EQ(g->coarser->nhedges, 0);
  EXPECT_EQ(g->coarser->lostwgt, 1);
  testgraphs::FreeChain(g);
}

TEST(MatchHedges, EqualWeightsSmallerHyperedgeFirst) {
  PartCtrl ctrl = MakeCtrl(10);
  HGraph *g = testgraphs::Make(4, {{0, 1, 2}, {2, 3}});
  RunScheme(Match_Hedges__, &ctrl, g);
  EXPECT_EQ(g->cellmap[2], 0);
  EXPECT_EQ(g->cellmap[3], 0);
  EXPECT_EQ(g->cellmap[0], 1);
  EXPECT_EQ(g->cellmap[1], 2);
  testgraphs::FreeChain(g);
}

TEST(MatchHedges, NoHyperedgesLeavesTheRemainingVertexRule) {
  PartCtrl ctrl = MakeCtrl(10);
  HGraph *g = testgraphs::Make(3, {});
  RunScheme(Match_Hedges__, &ctrl, g);
  EXPECT_EQ((std::vector<int>(g->cellmap, g->cellmap + 3)), (std::vector<int>{0, 1, 2}));
  testgraphs::FreeChain(g);
  for (Scheme s : {Match_Hedges_Edges__, Match_Hedges_PHedges_Edges__}) {
    g = testgraphs::Make(3, {});
    RunScheme(s, &ctrl, g);
    EXPECT_EQ(g->coarser->nvtxs, 3);
    for (int c = 0; c < 3; c++) EXPECT_EQ(g->mptr[c + 1] - g->mptr[c], 1);
    testgraphs::FreeChain(g);
  }
}

TEST(MatchHedges, LeftoversArePaired) {
  PartCtrl ctrl = MakeCtrl(2);
  // {0, 1, 2} weighs 3 > 2 and is never contracted; the leftover vertices are paired through it
  // (one pair and one single), unlike the hyperedge-only scheme.
  for (Scheme s : {Match_Hedges_Edges__, Match_Hedges_PHedges_Edges__, Match_Hedges__}) {
    HGraph *g = testgraphs::Make(3, {{0, 1, 2}});
    RunScheme(s, &ctrl, g);
    EXPECT_EQ(g->coarser->nvtxs, s == Match_Hedges__ ? 3 : 2);
    testgraphs::FreeChain(g);
  }
}

TEST(MatchHedges, EmptyHyperedgeIsAGroupWithoutMembers) {
  PartCtrl ctrl = MakeCtrl(10);
  HGraph *g = testgraphs::Make(2, {{0, 1}, {}});
  RunScheme(Match_Hedges__, &ctrl, g);
  // The empty hyperedge has the larger key (weight x nvtxs - 0) and is tried first.
  EXPECT_EQ(g->mptr[1], 0);
  EXPECT_EQ(g->cellmap[0], 1);
  EXPECT_EQ(g->coarser->nvtxs, 2);
  EXPECT_EQ(g->coarser->cellwgt[0], 0);
  EXPECT_EQ(g->coarser->cellwgt[1], 2);
  testgraphs::FreeChain(g);
}

}  // namespace
