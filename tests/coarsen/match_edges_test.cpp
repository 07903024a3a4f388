#include <gtest/gtest.h>

#include <vector>

#include "coarsen/coarsen.h"
#include "coarsen/grouping.h"
#include "common/test_run.h"
#include "test_graphs.h"

using namespace hypra;

namespace {

PartCtrl MakeCtrl(int maxcellwgt = 1000) {
  return testgraphs::Ctrl(0, maxcellwgt);
}

struct Scratch {
  std::vector<int> perm, htable;
  std::vector<KeyValue> vpairs;
  explicit Scratch(const HGraph *g)
      : perm(std::max(g->nvtxs, g->nhedges) + 1),
        htable(2 * std::max(g->nvtxs, g->nhedges) + 2, -1),
        vpairs(std::max(g->nvtxs, g->nhedges) + 1) {}
};

int Find(PartCtrl *ctrl, HGraph *g, int v, std::vector<int> &htable) {
  return FindCell__(ctrl, v, g->incptr, g->incind, g->netptr, g->netind, g->cellwgt, g->edgewgt,
                    g->cellmap, htable.data());
}

int FindStar(PartCtrl *ctrl, HGraph *g, int v, std::vector<int> &htable, const int *gwgts) {
  return FindCellStar__(ctrl, v, g->incptr, g->incind, g->netptr, g->netind, g->cellwgt, g->edgewgt,
                        g->cellmap, htable.data(), gwgts);
}

bool AllMinusOne(const std::vector<int> &h) {
  for (int x : h)
    if (x != -1) return false;
  return true;
}

TEST(FindCell, VertexWithoutHyperedgesStaysAlone) {
  PartCtrl ctrl = MakeCtrl();
  HGraph *g = testgraphs::Make(3, {{0, 1}});
  g->cellmap = ismalloc__(3, -1, "test: cellmap");
  std::vector<int> htable(3, -1);
  EXPECT_EQ(Find(&ctrl, g, 2, htable), -1);
  FreeHGraph__(g);

  testrun::Seed(1);
  g = testgraphs::Make(3, {{0, 1}});
  Scratch s(g);
  Match_Edges__(&ctrl, g, s.perm.data(), s.htable.data(), s.vpairs.data());
  const int c = g->cellmap[2];
  EXPECT_EQ(g->mptr[c + 1] - g->mptr[c], 1);
  EXPECT_EQ(g->coarser->nvtxs, 2);
  EXPECT_TRUE(AllMinusOne(s.htable));
  testgraphs::FreeChain(g);
}

TEST(FindCell, EqualScoresTakeTheLighterThenTheFirstFound) {
  PartCtrl ctrl = MakeCtrl();
  HGraph *g = testgraphs::Make(3, {{0, 1}, {0, 2}}, {}, {1, 2, 1});
  g->cellmap = ismalloc__(3, -1, "test: cellmap");
  std::vector<int> htable(3, -1);
  EXPECT_EQ(Find(&ctrl, g, 0, htable), 2);
  g->cellwgt[1] = 1;
  EXPECT_EQ(Find(&ctrl, g, 0, htable), 1);
  EXPECT_TRUE(AllMinusOne(htable));
  // A higher score beats weight: 1 shares two hyperedges with 0 below.
  FreeHGraph__(g);
  g = testgraphs::Make(3, {{0, 1}, {0, 2}, {0, 1}}, {}, {1, 5, 1});
  g->cellmap = ismalloc__(3, -1, "test: cellmap");
  EXPECT_EQ(Find(&ctrl, g, 0, htable), 1);
  FreeHGraph__(g);
}

TEST(FindCellStar, PrefersAnUngroupedCandidateOnTies) {
  PartCtrl ctrl = MakeCtrl();
  HGraph *g = testgraphs::Make(3, {{0, 1}, {0, 2}});
  g->cellmap = ismalloc__(3, -1, "test: cellmap");
  std::vector<int> wgts(4, 0);
  const int *gwgts = wgts.data() + 1;
  wgts[1] = 1;  // group 0 holds vertex 1
  std::vector<int> htable(3, -1);
  g->cellmap[1] = 0;
  EXPECT_EQ(FindStar(&ctrl, g, 0, htable, gwgts), 2);
  // Ungrouped found first: the grouped one found later does not replace it.
  g->cellmap[1] = -1;
  g->cellmap[2] = 0;
  EXPECT_EQ(FindStar(&ctrl, g, 0, htable, gwgts), 1);
  // The group weight counts against the capacity.
  g->cellmap[1] = 0;
  g->cellmap[2] = -1;
  wgts[1] = 1000;
  EXPECT_EQ(FindStar(&ctrl, g, 0, htable, gwgts), 2);
  EXPECT_TRUE(AllMinusOne(htable));
  FreeHGraph__(g);
}

TEST(FindCellStar, WeightedRatingPrefersMoreSharedWeightPerGroupWeight) {
  PartCtrl ctrl = MakeCtrl();
  // 0 shares two hyperedges with 1 (weight 4) and one with 2 (weight 1): by shared weight 1
  // wins (2 against 1), per unit of weight 2 does (1 against 0.5).
  HGraph *g = testgraphs::Make(3, {{0, 1}, {0, 1}, {0, 2}}, {}, {1, 4, 1});
  g->cellmap = ismalloc__(3, -1, "test: cellmap");
  std::vector<int> wgts(4, 0);
  const int *gwgts = wgts.data() + 1;
  std::vector<int> htable(3, -1);
  EXPECT_EQ(FindStar(&ctrl, g, 0, htable, gwgts), 1);
  ctrl.WeightedRating = 1;
  EXPECT_EQ(FindStar(&ctrl, g, 0, htable, gwgts), 2);
  // A grouped candidate is rated by its group's weight: 2 in a group of weight 3 rates 1/3.
  g->cellmap[2] = 0;
  wgts[1] = 3;
  EXPECT_EQ(FindStar(&ctrl, g, 0, htable, gwgts), 1);
  // Equal rates: the grouped best gives way to the later ungrouped candidate, as without it.
  wgts[1] = 8;
  g->cellmap[1] = 0;
  g->cellmap[2] = -1;
  g->cellwgt[2] = 4;
  for (int h : {0, 1}) g->edgewgt[h] = 2;  // 1 shares 4 in a group of 8: 0.5
  g->edgewgt[2] = 2;                       // 2 shares 2 at weight 4: 0.5
  EXPECT_EQ(FindStar(&ctrl, g, 0, htable, gwgts), 2);
  EXPECT_TRUE(AllMinusOne(htable));
  FreeHGraph__(g);
}

TEST(MatchEdges, CapacityBelowEveryPairKeepsEveryVertexAlone) {
  PartCtrl ctrl = MakeCtrl(3);
  for (int scheme = 0; scheme < 3; scheme++) {
    testrun::Seed(7);
    HGraph *g = testgraphs::Make(5, {{0, 1, 2}, {2, 3}, {3, 4}, {0, 4}}, {}, {2, 2, 2, 2, 2});
    Scratch s(g);
    if (scheme == 0) Match_Edges__(&ctrl, g, s.perm.data(), s.htable.data(), s.vpairs.data());
    if (scheme > 0)
      Match_EdgesStars__(&ctrl, g, s.perm.data(), s.htable.data(), s.vpairs.data(), scheme - 1);
    EXPECT_EQ(g->coarser->nvtxs, 5);
    testgraphs::FreeChain(g);
  }
}

TEST(MatchEdgesStars, StopsGroupingAtFortyPercent) {
  PartCtrl ctrl = MakeCtrl();
  std::vector<std::vector<int>> nets;
  for (int i = 0; i < 10; i++)
    for (int j = i + 1; j < 10; j++) nets.push_back({i, j});
  for (int byweight = 0; byweight < 2; byweight++) {
    testrun::Seed(3);
    HGraph *g = testgraphs::Make(10, nets);
    Scratch s(g);
    Match_EdgesStars__(&ctrl, g, s.perm.data(), s.htable.data(), s.vpairs.data(), byweight);
    // Every success merges one vertex into a group: 4 successes leave 6 groups.
    EXPECT_EQ(g->coarser->nvtxs, 6);
    // Members are listed in increasing vertex number.
    for (int c = 0; c < 6; c++)
      for (int j = g->mptr[c] + 1; j < g->mptr[c + 1]; j++) EXPECT_LT(g->mind[j - 1], g->mind[j]);
    testgraphs::FreeChain(g);
  }
}

TEST(MatchEdges, FixedSuperVerticesAreNeverGrouped) {
  PartCtrl ctrl = MakeCtrl();
  for (int scheme = 0; scheme < 3; scheme++) {
    testrun::Seed(5);
    HGraph *g = testgraphs::Make(6, {{0, 2}, {1, 3}, {0, 1, 4, 5}, {2, 3, 4}});
    g->nfixed = 2;
    Scratch s(g);
    if (scheme == 0) Match_Edges__(&ctrl, g, s.perm.data(), s.htable.data(), s.vpairs.data());
    if (scheme > 0)
      Match_EdgesStars__(&ctrl, g, s.perm.data(), s.htable.data(), s.vpairs.data(), scheme - 1);
    EXPECT_EQ(g->cellmap[0], 0);
    EXPECT_EQ(g->cellmap[1], 1);
    for (int v = 2; v < 6; v++) EXPECT_GE(g->cellmap[v], 2);
    EXPECT_EQ(g->mptr[1], 1);
    EXPECT_EQ(g->mptr[2], 2);
    EXPECT_EQ(g->coarser->nfixed, 2);
    EXPECT_LT(g->coarser->nvtxs, 6);
    testgraphs::FreeChain(g);
  }
}

TEST(ComputeAllWeights, WeakHyperedgesAreIgnored) {
  PartCtrl ctrl = MakeCtrl();
  // {0, 1} has edgewgt 10; {1, 4} has 3; the 12-pin hyperedge 1/11 < 0.1.
  std::vector<int> big = {2, 3, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
  HGraph *g = testgraphs::Make(15, {{0, 1}, big, {1, 4}}, {10, 1, 3});
  std::vector<int> keys(15), htable(15, -1);
  const int ret = ComputeAllWeights__(&ctrl, g, keys.data(), htable.data());
  EXPECT_EQ(ret, 34);      // 100 / 3 = 33 is the largest key
  EXPECT_EQ(keys[0], 10);  // 100 / 10
  EXPECT_EQ(keys[1], 10);  // best of 10 and 3
  EXPECT_EQ(keys[4], 33);  // 100 / 3, truncated
  for (int v : big) EXPECT_EQ(keys[v], 34);
  EXPECT_TRUE(AllMinusOne(htable));
  FreeHGraph__(g);

  HGraph *empty = testgraphs::Make(0, {});
  EXPECT_EQ(ComputeAllWeights__(&ctrl, empty, keys.data(), htable.data()), 1);
  FreeHGraph__(empty);
}

TEST(BucketSortKeysInc, StableAscending) {
  std::vector<int> keys = {2, 0, 1, 0, 2};
  std::vector<int> in = {4, 3, 2, 1, 0}, out(5, -1);
  BucketSortKeysInc(5, 2, keys.data(), in.data(), out.data());
  EXPECT_EQ(out, (std::vector<int>{3, 1, 2, 4, 0}));
}

TEST(FindCell, LargeNeighbourhoodsBeyondTenThousandCandidates) {
  // Vertex 0 shares a hyperedge with each of 12000 others; the last one also shares a second.
  PartCtrl ctrl = MakeCtrl();
  const int n = 12001;
  std::vector<std::vector<int>> nets;
  for (int u = 1; u < n; u++) nets.push_back({0, u});
  nets.push_back({0, n - 1});
  HGraph *g = testgraphs::Make(n, nets);
  g->cellmap = ismalloc__(n, -1, "test: cellmap");
  std::vector<int> htable(n, -1);
  EXPECT_EQ(Find(&ctrl, g, 0, htable), n - 1);
  EXPECT_TRUE(AllMinusOne(htable));
  FreeHGraph__(g);
}

}  // namespace
