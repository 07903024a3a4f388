// A hypergraph whose per-run work arrays were released can be coarsened again: the runs of one
// bisection all start from the same record.
#include <gtest/gtest.h>

#include <vector>

#include "coarsen/coarsen.h"
#include "common/test_run.h"
#include "test_graphs.h"

using namespace hypra;

namespace {

// Vertex counts of every level below g.
std::vector<int> LevelSizes(HGraph *coarsest) {
  std::vector<int> sizes;
  for (HGraph *g = coarsest; g != nullptr; g = g->finer) sizes.push_back(g->nvtxs);
  return sizes;
}

TEST(Recoarsen, FreeRootThenCoarsenAgainRepeatsTheHierarchy) {
  // Every vertex has hyperedges, so no islands renumber the top level.
  std::vector<std::vector<int>> nets;
  for (int v = 0; v < 3000; v++) nets.push_back({v, (v + 1) % 3000, (v + 7 * (v % 5) + 2) % 3000});
  HGraph *g = testgraphs::Make(3000, nets);
  for (int v = 0; v < g->nvtxs; v++) ASSERT_GT(g->incptr[v + 1], g->incptr[v]);
  PartCtrl ctrl = testgraphs::MakeCtrl(1, g);

  std::vector<int> first, second;
  for (auto *sizes : {&first, &second}) {
    testrun::Seed(5);
    HGraph *coarsest = Coarsen__(&ctrl, g);
    ASSERT_NE(coarsest, g);
    *sizes = LevelSizes(coarsest);
    testgraphs::FreeChain(g->coarser);
    g->coarser = nullptr;
    FreeRootHGraph__(g);
    EXPECT_EQ(g->cellmap, nullptr);
    EXPECT_EQ(g->netmap, nullptr);
    EXPECT_NE(g->incptr, nullptr);
    EXPECT_EQ(g->nvtxs, 3000);
  }
  EXPECT_EQ(first, second);
  EXPECT_GT(first.size(), 2u);
  FreeHGraph__(g);
}

}  // namespace
