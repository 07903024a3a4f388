#include <gtest/gtest.h>

#include <vector>

#include "coarsen/coarsen.h"
#include "test_graphs.h"

using namespace hypra;

namespace {

PartCtrl MakeCtrl() {
  return testgraphs::Ctrl(0, 1000000);
}

// Installs the grouping given as cellmap (groups listed in increasing vertex number).
void SetGrouping(HGraph *g, const std::vector<int> &cellmap, int ngroups) {
  g->cellmap = imalloc__(g->nvtxs, "test: cellmap");
  g->mptr = ismalloc__(ngroups + 1, 0, "test: mptr");
  g->mind = imalloc__(g->nvtxs, "test: mind");
  for (int v = 0; v < g->nvtxs; v++) {
    g->cellmap[v] = cellmap[v];
    g->mptr[cellmap[v] + 1]++;
  }
  for (int c = 0; c < ngroups; c++) g->mptr[c + 1] += g->mptr[c];
  std::vector<int> next(g->mptr, g->mptr + ngroups);
  for (int v = 0; v < g->nvtxs; v++) g->mind[next[cellmap[v]]++] = v;
}

std::vector<int> Pins(const HGraph *g, int e) {
  return std::vector<int>(g->netind + g->netptr[e], g->netind + g->netptr[e + 1]);
}

TEST(CreateCoarseHGraph, HyperedgeInsideOneGroupVanishes) {
  PartCtrl ctrl = MakeCtrl();
  HGraph *g = testgraphs::Make(4, {{0, 1}, {1, 2, 3}}, {7, 2});
  g->lostwgt = 5;
  SetGrouping(g, {0, 0, 1, 2}, 3);
  CreateCoarseHGraph__(&ctrl, g, 3);
  HGraph *c = g->coarser;
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->finer, g);
  EXPECT_EQ(g->netmap[0], -1);
  EXPECT_EQ(g->netmap[1], 0);
  EXPECT_EQ(c->nhedges, 1);
  EXPECT_EQ(c->lostwgt, 12);
  EXPECT_EQ(Pins(c, 0), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(c->netwgt[0], 2);
  EXPECT_EQ(c->cellwgt[0], 2);
  testgraphs::FreeChain(g);
}

TEST(CreateCoarseHGraph, ContractedCopiesMergeAndSumWeights) {
  PartCtrl ctrl = MakeCtrl();
  // a = 0, b = 1, c = 2; a and c grouped.
  HGraph *g = testgraphs::Make(3, {{0, 1}, {1, 0, 2}}, {4, 3});
  SetGrouping(g, {0, 1, 0}, 2);
  CreateCoarseHGraph__(&ctrl, g, 2);
  HGraph *c = g->coarser;
  ASSERT_EQ(c->nhedges, 1);
  EXPECT_EQ(c->netwgt[0], 7);
  EXPECT_EQ(g->netmap[0], 0);
  EXPECT_EQ(g->netmap[1], 0);
  EXPECT_EQ(Pins(c, 0), (std::vector<int>{0, 1}));
  EXPECT_EQ(c->lostwgt, 0);
  EXPECT_FLOAT_EQ(c->edgewgt[0], 7.0f);
  // Both coarse vertices see the one hyperedge once.
  EXPECT_EQ(c->incptr[2], 2);
  EXPECT_EQ(c->adjwgt[0], 7);
  EXPECT_EQ(c->adjwgt[1], 7);
  testgraphs::FreeChain(g);
}

TEST(CreateCoarseHGraph, SameSignatureOtherSizeEndsTheScan) {
  PartCtrl ctrl = MakeCtrl();
  // 100 x (1*117899 + 2*117902) + 2 equals 100 x sum(k * (k-1), k = 1..102) + 102: the pair
  // {117899, 117902} and the 102 pins 0..101 share one signature.
  const int n = 117903;
  std::vector<int> big;
  for (int v = 0; v < 102; v++) big.push_back(v);
  HGraph *g = testgraphs::Make(n, {{117899, 117902}, big, {117902, 117899}}, {1, 1, 1});
  std::vector<int> identity(n);
  for (int v = 0; v < n; v++) identity[v] = v;
  SetGrouping(g, identity, n);
  CreateCoarseHGraph__(&ctrl, g, n);
  HGraph *c = g->coarser;
  // The copy of the pair lies behind the 102-pin hyperedge and is not merged.
  EXPECT_EQ(c->nhedges, 3);
  EXPECT_NE(g->netmap[0], g->netmap[2]);
  EXPECT_EQ(Pins(c, g->netmap[0]), Pins(c, g->netmap[2]));
  testgraphs::FreeChain(g);
}

TEST(CreateCoarseHGraph, EdgeWeightIsWeightOverPinsMinusOne) {
  PartCtrl ctrl = MakeCtrl();
  HGraph *g = testgraphs::Make(7, {{0, 1}, {2, 3, 4, 5, 6}}, {5, 3});
  std::vector<int> identity = {0, 1, 2, 3, 4, 5, 6};
  SetGrouping(g, identity, 7);
  CreateCoarseHGraph__(&ctrl, g, 7);
  HGraph *c = g->coarser;
  ASSERT_EQ(c->nhedges, 2);
  EXPECT_FLOAT_EQ(c->edgewgt[g->netmap[0]], 5.0f);
  EXPECT_FLOAT_EQ(c->edgewgt[g->netmap[1]], 0.75f);
  testgraphs::FreeChain(g);
}

TEST(CreateCoarseHGraph, WeightsAndIncidencesAreConserved) {
  PartCtrl ctrl = MakeCtrl();
  HGraph *g =
      testgraphs::Make(6, {{0, 1, 2}, {2, 3}, {3, 4, 5}, {0, 5}}, {1, 2, 3, 4}, {1, 2, 3, 4, 5, 6});
  SetGrouping(g, {0, 0, 1, 1, 2, 2}, 3);
  CreateCoarseHGraph__(&ctrl, g, 3);
  HGraph *c = g->coarser;
  EXPECT_EQ(iasum__(3, c->cellwgt), 21);
  EXPECT_EQ((std::vector<int>(c->cellwgt, c->cellwgt + 3)), (std::vector<int>{3, 7, 11}));
  EXPECT_LE(c->incptr[3], g->incptr[6]);
  EXPECT_EQ(c->lostwgt, 2);  // {2, 3} falls inside group 1
  // Coarse hyperedges: {0,1} w1, {1,2} w3, {0,2} w4.
  EXPECT_EQ(c->nhedges, 3);
  EXPECT_EQ(iasum__(3, c->netwgt) + c->lostwgt, 10);
  // Incidence of coarse vertex 0 in first-occurrence order over vertices 0 and 1: hyperedges
  // of finer 0 then finer 3.
  ASSERT_EQ(c->incptr[1] - c->incptr[0], 2);
  EXPECT_EQ(c->incind[0], g->netmap[0]);
  EXPECT_EQ(c->incind[1], g->netmap[3]);
  EXPECT_EQ(c->adjwgt[0], 5);
  testgraphs::FreeChain(g);
}

TEST(CreateCoarseHGraph, SingletonGroupsKeepHyperedgesSortedAndMerged) {
  PartCtrl ctrl = MakeCtrl();
  HGraph *g = testgraphs::Make(5, {{3, 1, 4}, {4, 0}, {4, 3, 1}, {2, 0}}, {1, 2, 3, 4});
  SetGrouping(g, {0, 1, 2, 3, 4}, 5);
  CreateCoarseHGraph__(&ctrl, g, 5);
  HGraph *c = g->coarser;
  ASSERT_EQ(c->nhedges, 3);
  EXPECT_EQ(g->netmap[0], g->netmap[2]);
  EXPECT_EQ(Pins(c, g->netmap[0]), (std::vector<int>{1, 3, 4}));
  EXPECT_EQ(c->netwgt[g->netmap[0]], 4);
  EXPECT_EQ(Pins(c, g->netmap[1]), (std::vector<int>{0, 4}));
  EXPECT_EQ(Pins(c, g->netmap[3]), (std::vector<int>{0, 2}));
  EXPECT_EQ(c->lostwgt, 0);
  testgraphs::FreeChain(g);
}

TEST(CreateCoarseHGraph, ThreeCopiesMergeAroundOthers) {
  // Three copies of one hyperedge in different pin orders, with hyperedges of the same size and
  // of another size between them: one coarse hyperedge carries the copies' summed weight, the
  // others stay as they are, and the lists hold exactly the kept pins.
  PartCtrl ctrl = MakeCtrl();
  HGraph *g =
      testgraphs::Make(5, {{0, 1, 2}, {3, 4}, {2, 0, 1}, {0, 1, 3}, {1, 2, 0}}, {1, 2, 4, 8, 16});
  SetGrouping(g, {0, 1, 2, 3, 4}, 5);
  CreateCoarseHGraph__(&ctrl, g, 5);
  HGraph *c = g->coarser;
  ASSERT_EQ(c->nhedges, 3);
  EXPECT_EQ(g->netmap[0], g->netmap[2]);
  EXPECT_EQ(g->netmap[0], g->netmap[4]);
  EXPECT_NE(g->netmap[0], g->netmap[3]);
  EXPECT_EQ(Pins(c, g->netmap[0]), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(c->netwgt[g->netmap[0]], 21);
  EXPECT_EQ(Pins(c, g->netmap[1]), (std::vector<int>{3, 4}));
  EXPECT_EQ(c->netwgt[g->netmap[1]], 2);
  EXPECT_EQ(Pins(c, g->netmap[3]), (std::vector<int>{0, 1, 3}));
  EXPECT_EQ(c->netwgt[g->netmap[3]], 8);
  EXPECT_EQ(c->netptr[3], 8);
  EXPECT_EQ(c->incptr[5], 8);
  EXPECT_EQ(c->adjwgt[0], 29);
  EXPECT_EQ(c->adjwgt[4], 2);
  EXPECT_EQ(c->lostwgt, 0);
  testgraphs::FreeChain(g);
}

TEST(CreateCoarseHGraph, MoreGroupsThanVerticesAndHyperedgesFit) {
  // With contracted fixed vertices the group count may exceed both sizes; the marker array must
  // still cover every coarse vertex.
  PartCtrl ctrl = MakeCtrl();
  HGraph *g = testgraphs::Make(2, {{0, 1}});
  SetGrouping(g, {3, 4}, 5);
  g->mptr[0] = 0;
  CreateCoarseHGraph__(&ctrl, g, 5);
  HGraph *c = g->coarser;
  EXPECT_EQ(c->nhedges, 1);
  EXPECT_EQ(Pins(c, 0), (std::vector<int>{3, 4}));
  EXPECT_EQ(c->incptr[5], 2);
  testgraphs::FreeChain(g);
}

TEST(CreateCoarseHGraphDeathTest, GroupingOutsideTheCoarseRangeEndsCleanly) {
  PartCtrl ctrl = MakeCtrl();
  HGraph *g = testgraphs::Make(2, {{0, 1}});
  SetGrouping(g, {0, 1}, 2);
  g->cellmap[1] = 7;
  EXPECT_EXIT(CreateCoarseHGraph__(&ctrl, g, 2), testing::ExitedWithCode(0), "maps to 7");
  g->cellmap[1] = 1;
  g->mind[1] = 5;
  EXPECT_EXIT(CreateCoarseHGraph__(&ctrl, g, 2), testing::ExitedWithCode(0), "lists vertex 5");
  FreeHGraph__(g);
}

TEST(CollapseSameHEdges, MergesIdenticalAndSortsInput) {
  std::vector<int> netptr = {0, 3, 5, 8, 10};
  std::vector<int> netind = {2, 0, 1, 3, 1, 1, 2, 0, 1, 3};
  std::vector<int> netwgt = {1, 2, 4, 8};
  int n = -1, *np = nullptr, *ni = nullptr, *nw = nullptr;
  CollapseSameHEdges__(4, netptr.data(), netind.data(), netwgt.data(), &n, &np, &ni, &nw);
  EXPECT_EQ(netind, (std::vector<int>{0, 1, 2, 1, 3, 0, 1, 2, 1, 3}));
  ASSERT_EQ(n, 2);
  int total = 0;
  for (int e = 0; e < n; e++) {
    std::vector<int> pins(ni + np[e], ni + np[e + 1]);
    if (pins.size() == 3) {
      EXPECT_EQ(pins, (std::vector<int>{0, 1, 2}));
      EXPECT_EQ(nw[e], 5);
    } else {
      EXPECT_EQ(pins, (std::vector<int>{1, 3}));
      EXPECT_EQ(nw[e], 10);
    }
    total += nw[e];
  }
  EXPECT_EQ(total, 15);
  RVfree__(&np, &ni, &nw);
}

TEST(CollapseSameHEdges, NoHyperedges) {
  int netptr[1] = {0};
  int n = -1, *np = nullptr, *ni = nullptr, *nw = nullptr;
  CollapseSameHEdges__(0, netptr, nullptr, nullptr, &n, &np, &ni, &nw);
  EXPECT_EQ(n, 0);
  ASSERT_NE(np, nullptr);
  EXPECT_EQ(np[0], 0);
  RVfree__(&np, &ni, &nw);
}

}  // namespace
