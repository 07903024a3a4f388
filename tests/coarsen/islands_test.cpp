#include <gtest/gtest.h>

#include <vector>

#include "coarsen/coarsen.h"
#include "common/test_run.h"
#include "test_graphs.h"

using namespace hypra;

namespace {

std::vector<int> Vec(const int *a, int n) {
  return std::vector<int>(a, a + n);
}

TEST(SeparateIslands, FixedVerticesWithoutHyperedgesAreNotIslands) {
  HGraph *g = testgraphs::Make(5, {{2, 3}});
  g->nfixed = 2;
  SeparateIslands__(g);
  EXPECT_EQ(g->nislands, 1);
  EXPECT_EQ(g->nvtxs, 4);
  ASSERT_NE(g->islandmap, nullptr);
  EXPECT_EQ(Vec(g->islandmap, 5), (std::vector<int>{0, 1, 2, 3, 4}));
  FreeHGraph__(g);
}

TEST(SeparateIslands, IslandsFillTheTailInReverseOrder) {
  // Vertices 3 and 5 have no hyperedge.
  HGraph *g = testgraphs::Make(6, {{0, 1}, {1, 2, 4}}, {}, {1, 2, 3, 4, 5, 6});
  SeparateIslands__(g);
  EXPECT_EQ(g->nislands, 2);
  EXPECT_EQ(g->nvtxs, 4);
  EXPECT_EQ(Vec(g->islandmap, 6), (std::vector<int>{0, 1, 2, 5, 3, 4}));
  EXPECT_EQ(Vec(g->cellwgt, 6), (std::vector<int>{1, 2, 3, 5, 6, 4}));
  EXPECT_EQ(Vec(g->netind, 5), (std::vector<int>{0, 1, 1, 2, 3}));
  EXPECT_EQ(Vec(g->incptr, 5), (std::vector<int>{0, 1, 3, 4, 5}));
  FreeHGraph__(g);
}

TEST(SeparateIslands, CombineRestoresTheTopLevel) {
  HGraph *g = testgraphs::Make(7, {{6, 1}, {1, 2, 4}, {4, 6}}, {3, 1, 2}, {1, 2, 3, 4, 5, 6, 7});
  g->where = imalloc__(7, "test: where");
  for (int v = 0; v < 7; v++) g->where[v] = v % 2;
  const auto netind = Vec(g->netind, 7), cellwgt = Vec(g->cellwgt, 7), adjwgt = Vec(g->adjwgt, 7),
             where = Vec(g->where, 7), incptr = Vec(g->incptr, 8), incind = Vec(g->incind, 7);
  SeparateIslands__(g);
  EXPECT_EQ(g->nislands, 3);
  CombineIslands__(g);
  EXPECT_EQ(g->nvtxs, 7);
  EXPECT_EQ(g->nislands, 0);
  EXPECT_EQ(Vec(g->netind, 7), netind);
  EXPECT_EQ(Vec(g->cellwgt, 7), cellwgt);
  EXPECT_EQ(Vec(g->adjwgt, 7), adjwgt);
  EXPECT_EQ(Vec(g->where, 7), where);
  EXPECT_EQ(Vec(g->incptr, 8), incptr);
  EXPECT_EQ(Vec(g->incind, 7), incind);
  CombineIslands__(g);  // nothing set aside: no effect
  EXPECT_EQ(Vec(g->netind, 7), netind);
  FreeHGraph__(g);
}

TEST(SeparateIslands, RewritesTheFinerCellmap) {
  HGraph *fine = testgraphs::Make(2, {{0, 1}});
  HGraph *g = testgraphs::Make(3, {{0, 2}});
  g->finer = fine;
  fine->coarser = g;
  fine->cellmap = imalloc__(2, "test: cellmap");
  fine->cellmap[0] = 1;
  fine->cellmap[1] = 2;
  SeparateIslands__(g);
  EXPECT_EQ(g->nislands, 1);
  EXPECT_EQ(g->islandmap, nullptr);
  EXPECT_EQ(fine->cellmap[0], 2);
  EXPECT_EQ(fine->cellmap[1], 1);
  FreeHGraph__(g);
  FreeHGraph__(fine);
}

TEST(PartitionIslands, LighterSideThenTieToSideOne) {
  HGraph *g = testgraphs::Make(4, {{0, 1}}, {}, {1, 1, 3, 1});
  SeparateIslands__(g);  // islands: 2 -> position 3, 3 -> position 2
  ASSERT_EQ(g->nislands, 2);
  g->where = ismalloc__(4, -1, "test: where");
  g->pwgts[0] = g->pwgts[1] = 10;
  // Position 2 holds the island of weight 1 (vertex 3); make it weigh 3 to follow the example.
  g->cellwgt[2] = 3;
  g->cellwgt[3] = 1;
  PartitionIslands__(g);
  EXPECT_EQ(g->where[2], 1);
  EXPECT_EQ(g->where[3], 0);
  EXPECT_EQ(g->pwgts[0], 11);
  EXPECT_EQ(g->pwgts[1], 13);
  FreeHGraph__(g);
}

TEST(PartitionIslandsKway, SmallestPartFirstTiesToLowest) {
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.Nparts = 3;
  HGraph *g = testgraphs::Make(5, {{0, 1}}, {}, {1, 1, 2, 2, 2});
  SeparateIslands__(g);
  ASSERT_EQ(g->nislands, 3);
  g->where = ismalloc__(5, -1, "test: where");
  g->kpwgts = imalloc__(3, "test: kpwgts");
  g->kpwgts[0] = 5;
  g->kpwgts[1] = 3;
  g->kpwgts[2] = 3;
  PartitionIslandsKway__(&ctrl, g);
  EXPECT_EQ(g->where[2], 1);  // 3,3 tie: lowest part
  EXPECT_EQ(g->where[3], 2);
  EXPECT_EQ(g->where[4], 0);  // 5,5,5
  EXPECT_EQ(Vec(g->kpwgts, 3), (std::vector<int>{7, 5, 5}));
  FreeHGraph__(g);
}

}  // namespace
