#include <gtest/gtest.h>

#include <vector>

#include "coarsen/coarsen.h"
#include "coarsen/grouping.h"
#include "common/test_run.h"
#include "test_graphs.h"

using namespace hypra;

namespace {

PartCtrl MakeCtrl(int ctype, int maxcellwgt) {
  return testgraphs::Ctrl(ctype, maxcellwgt, 3);
}

int CFind(PartCtrl *ctrl, HGraph *g, int v, const int *where, std::vector<int> &htable) {
  return CFindCell__(ctrl, v, g->incptr, g->incind, g->netptr, g->netind, g->cellwgt, g->edgewgt,
                     g->cellmap, where, htable.data());
}

int CFindStar(PartCtrl *ctrl, HGraph *g, int v, const int *where, std::vector<int> &htable) {
  std::vector<int> wgts(g->nvtxs + 1, 0);
  return CFindCellStar__(ctrl, v, g->incptr, g->incind, g->netptr, g->netind, g->cellwgt,
                         g->edgewgt, g->cellmap, where, htable.data(), wgts.data() + 1);
}

TEST(CFindCell, HyperedgesAboveMaxNetSizeAreNotScanned) {
  PartCtrl ctrl = MakeCtrl(1, 100);
  HGraph *g = testgraphs::Make(4, {{0, 1, 2, 3}});
  g->cellmap = ismalloc__(4, -1, "test: cellmap");
  const int where[4] = {0, 0, 0, 0};
  std::vector<int> htable(4, -1);
  EXPECT_EQ(CFind(&ctrl, g, 0, where, htable), -1);
  EXPECT_EQ(CFindStar(&ctrl, g, 0, where, htable), -1);
  EXPECT_NE(FindCell__(&ctrl, 0, g->incptr, g->incind, g->netptr, g->netind, g->cellwgt, g->edgewgt,
                       g->cellmap, htable.data()),
            -1);
  ctrl.MaxNetSize = 4;
  EXPECT_EQ(CFind(&ctrl, g, 0, where, htable), 1);
  FreeHGraph__(g);
}

TEST(CFindCell, NeighboursInTheOtherPartAreNotCandidates) {
  PartCtrl ctrl = MakeCtrl(1, 100);
  HGraph *g = testgraphs::Make(4, {{0, 1}, {0, 2}, {2, 3}});
  g->cellmap = ismalloc__(4, -1, "test: cellmap");
  const int where[4] = {0, 1, 1, 0};
  std::vector<int> htable(4, -1);
  EXPECT_EQ(CFind(&ctrl, g, 0, where, htable), -1);
  EXPECT_EQ(CFindStar(&ctrl, g, 0, where, htable), -1);
  EXPECT_EQ(CFind(&ctrl, g, 1, where, htable), -1);
  EXPECT_EQ(CFind(&ctrl, g, 2, where, htable), -1);
  EXPECT_EQ(CFind(&ctrl, g, 3, where, htable), -1);
  for (int x : htable) EXPECT_EQ(x, -1);
  FreeHGraph__(g);

  // In a pairing step, a vertex whose neighbours all lie in the other part stays alone.
  g = testgraphs::Make(4, {{0, 1}, {0, 2}, {1, 2}});
  g->where = imalloc__(4, "test: where");
  const int w[4] = {0, 1, 1, 0};
  for (int v = 0; v < 4; v++) g->where[v] = w[v];
  std::vector<int> perm(4), ht(8, -1);
  std::vector<KeyValue> vpairs(4);
  testrun::Seed(2);
  CMatch_Edges__(&ctrl, g, g->where, perm.data(), ht.data(), vpairs.data());
  EXPECT_EQ(g->mptr[g->cellmap[0] + 1] - g->mptr[g->cellmap[0]], 1);
  EXPECT_EQ(g->cellmap[1], g->cellmap[2]);
  testgraphs::FreeChain(g);
}

HGraph *PathWithWhere(int n) {
  std::vector<std::vector<int>> nets;
  for (int i = 0; i + 1 < n; i++) nets.push_back({i, i + 1});
  HGraph *g = testgraphs::Make(n, nets);
  g->where = imalloc__(n, "test: where");
  for (int v = 0; v < n; v++) g->where[v] = v < n / 2 ? 0 : 1;
  return g;
}

TEST(CCoarsenDeathTest, OnlyStarsAndPairs) {
  HGraph *g = PathWithWhere(200);
  PartCtrl ctrl = MakeCtrl(2, 10);
  EXPECT_EXIT(CCoarsen__(&ctrl, g), testing::ExitedWithCode(0), "Unknown matching type! 2");
  testgraphs::FreeChain(g);
}

TEST(CCoarsen, FirstSlowLevelEndsWithoutSecondChance) {
  for (int ctype : {0, 1}) {
    HGraph *g = PathWithWhere(200);
    PartCtrl ctrl = MakeCtrl(ctype, 1);
    ctrl.run->now.dbglvl = DBG_COARSEN;
    testrun::Seed(3);
    testing::internal::CaptureStdout();
    HGraph *c = CCoarsen__(&ctrl, g);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(c->level, 1);
    EXPECT_EQ(c->nvtxs, 200);
    EXPECT_EQ(g->where, nullptr);
    ASSERT_NE(c->where, nullptr);
    EXPECT_EQ(c->where[0], 0);
    EXPECT_EQ(c->where[199], 1);
    const std::string tail = "\nSlow progress in coarsening. Aborted at 200 nodes\n\n";
    ASSERT_GE(out.size(), tail.size());
    EXPECT_EQ(out.substr(out.size() - tail.size()), tail);
    EXPECT_EQ(out.find("\n" + std::string(35, '-') + "\n"), std::string::npos);
    testgraphs::FreeChain(g);
  }
  EXPECT_FALSE(CoarseningProgress__(801, 1000, 0.8f));
}

TEST(CCoarsen, PathCoarsensWithinParts) {
  for (int ctype : {0, 1}) {
    HGraph *g = PathWithWhere(1000);
    PartCtrl ctrl = MakeCtrl(ctype, 20);
    testrun::Seed(4);
    HGraph *c = CCoarsen__(&ctrl, g);
    EXPECT_LT(c->nvtxs, 1000);
    // The cut of the path split in the middle is the one middle hyperedge at every level.
    int cut = 0;
    for (int e = 0; e < c->nhedges; e++) {
      const int *p = c->netind + c->netptr[e];
      for (int j = 1; j < c->netptr[e + 1] - c->netptr[e]; j++)
        if (c->where[p[j]] != c->where[p[0]]) {
          cut += c->netwgt[e];
          break;
        }
    }
    EXPECT_EQ(cut, 1);
    testgraphs::FreeChain(g);
  }
}

}  // namespace
