#include <gtest/gtest.h>

#include <cmath>

#include "core/core.h"

using namespace hypra;

namespace {

// Builds a record around the given pin lists (weights default to 1).
HGraph *MakeGraph(int nvtxs, std::vector<std::vector<int>> nets, std::vector<int> wgts = {}) {
  HGraph *g = CreateHGraph__();
  g->nvtxs = nvtxs;
  g->nhedges = static_cast<int>(nets.size());
  g->netptr = imalloc__(g->nhedges + 1, "test: netptr");
  int npins = 0;
  for (auto &n : nets) npins += static_cast<int>(n.size());
  g->netind = imalloc__(npins, "test: netind");
  g->netwgt = imalloc__(g->nhedges, "test: netwgt");
  g->cellwgt = ismalloc__(nvtxs, 1, "test: cellwgt");
  g->netptr[0] = 0;
  int k = 0;
  for (int e = 0; e < g->nhedges; e++) {
    for (int v : nets[e]) g->netind[k++] = v;
    g->netptr[e + 1] = k;
    g->netwgt[e] = wgts.empty() ? 1 : wgts[e];
  }
  return g;
}

TEST(HGraph, CreateGivesDefaultsAndZeroedUntouchedFields) {
  HGraph *g = CreateHGraph__();
  EXPECT_EQ(g->nvtxs, -1);
  EXPECT_EQ(g->nhedges, -1);
  EXPECT_EQ(g->nislands, 0);
  EXPECT_EQ(g->lostwgt, 0);
  EXPECT_EQ(g->nfixed, -1);
  EXPECT_EQ(g->level, -1);
  EXPECT_EQ(g->pwgts[0], -1);
  EXPECT_EQ(g->pwgts[1], -1);
  // Fields InitHGraph__ does not set read zero on a fresh record.
  EXPECT_EQ(g->isroot, 0);
  EXPECT_EQ(g->label, nullptr);
  EXPECT_EQ(g->mincut, 0);
  EXPECT_EQ(g->kwayobj, 0);
  EXPECT_EQ(g->soed, 0);
  EXPECT_EQ(g->netptr, nullptr);
  EXPECT_EQ(g->coarser, nullptr);
  FreeHGraph__(g);
}

// A coarse level about to be projected keeps what the projection reads and nothing else.
TEST(HGraph, ReleaseAllButPartitionKeepsThePartitionAndIslandMapOnly) {
  HGraph *g = MakeGraph(3, {{0, 1}, {1, 2}});
  CreateIncidentHGraph__(g);
  g->where = imalloc__(3, "test: where");
  g->islandmap = imalloc__(1, "test: islandmap");
  g->gain = imalloc__(3, "test: gain");
  g->cellmap = imalloc__(3, "test: cellmap");
  for (int v = 0; v < 3; v++) g->where[v] = v % 2;
  int *const where = g->where;
  ReleaseAllButPartition__(g);
  EXPECT_EQ(g->where, where);
  EXPECT_EQ(g->where[2], 0);
  EXPECT_NE(g->islandmap, nullptr);
  EXPECT_EQ(g->netptr, nullptr);
  EXPECT_EQ(g->netind, nullptr);
  EXPECT_EQ(g->incptr, nullptr);
  EXPECT_EQ(g->incind, nullptr);
  EXPECT_EQ(g->cellwgt, nullptr);
  EXPECT_EQ(g->netwgt, nullptr);
  EXPECT_EQ(g->adjwgt, nullptr);
  EXPECT_EQ(g->edgewgt, nullptr);
  EXPECT_EQ(g->gain, nullptr);
  EXPECT_EQ(g->cellmap, nullptr);
  FreeHGraph__(g);
}

TEST(HGraph, InitLeavesUnlistedFieldsAlone) {
  HGraph g{};
  g.isroot = 1;
  g.mincut = 17;
  g.kwayobj = 5;
  g.soed = 9;
  int label[1] = {0};
  g.label = label;
  InitHGraph__(&g);
  EXPECT_EQ(g.isroot, 1);
  EXPECT_EQ(g.mincut, 17);
  EXPECT_EQ(g.kwayobj, 5);
  EXPECT_EQ(g.soed, 9);
  EXPECT_EQ(g.label, label);
}

TEST(HGraph, NoHyperedgesGivesEmptyIncidence) {
  HGraph *g = MakeGraph(4, {});
  CreateIncidentHGraph__(g);
  for (int v = 0; v <= 4; v++) EXPECT_EQ(g->incptr[v], 0);
  EXPECT_EQ(g->incind, nullptr);
  for (int v = 0; v < 4; v++) EXPECT_EQ(g->adjwgt[v], 0);
  EXPECT_EQ(g->edgewgt, nullptr);
  FreeHGraph__(g);
}

TEST(HGraph, EdgeWeightIsWeightOverSizeMinusOne) {
  HGraph *g = MakeGraph(5, {{0, 1}, {1, 2, 3, 4}, {2}, {3}}, {3, 3, 2, 0});
  CreateIncidentHGraph__(g);
  EXPECT_EQ(g->edgewgt[0], 3.0f);
  EXPECT_EQ(g->edgewgt[1], 1.0f);
  EXPECT_TRUE(std::isinf(g->edgewgt[2]));
  EXPECT_TRUE(std::isnan(g->edgewgt[3]));
  FreeHGraph__(g);
}

TEST(HGraph, IncidenceListsSortedByHyperedgeWithAdjacentWeights) {
  HGraph *g = MakeGraph(4, {{3, 1}, {0, 1, 2}, {1, 3}}, {2, 5, 7});
  CreateIncidentHGraph__(g);
  std::vector<int> incptr(g->incptr, g->incptr + 5);
  EXPECT_EQ(incptr, (std::vector<int>{0, 1, 4, 5, 7}));
  std::vector<int> incind(g->incind, g->incind + 7);
  EXPECT_EQ(incind, (std::vector<int>{1, 0, 1, 2, 1, 0, 2}));
  std::vector<int> adj(g->adjwgt, g->adjwgt + 4);
  EXPECT_EQ(adj, (std::vector<int>{5, 14, 5, 9}));
  EXPECT_EQ(g->incptr[4], g->netptr[3]);
  FreeHGraph__(g);
}

TEST(HGraph, FreeRootKeepsHypergraphAndReleasesWorkArrays) {
  HGraph *g = MakeGraph(3, {{0, 1}, {1, 2}});
  CreateIncidentHGraph__(g);
  g->where = imalloc__(3, "test: where");
  g->cellmap = imalloc__(3, "test: cellmap");
  g->gain = imalloc__(3, "test: gain");
  g->ndeg[0] = imalloc__(2, "test: ndeg0");
  g->ndeg[1] = imalloc__(2, "test: ndeg1");
  g->kpwgts = imalloc__(2, "test: kpwgts");
  FreeRootHGraph__(g);
  EXPECT_EQ(g->where, nullptr);
  EXPECT_EQ(g->cellmap, nullptr);
  EXPECT_EQ(g->gain, nullptr);
  EXPECT_EQ(g->ndeg[0], nullptr);
  EXPECT_EQ(g->ndeg[1], nullptr);
  EXPECT_EQ(g->kpwgts, nullptr);
  ASSERT_NE(g->netptr, nullptr);
  ASSERT_NE(g->incptr, nullptr);
  ASSERT_NE(g->adjwgt, nullptr);
  EXPECT_EQ(g->netind[3], 2);
  EXPECT_EQ(g->incptr[3], 4);
  FreeRootHGraph__(g);  // releasing twice is harmless
  FreeHGraph__(g);
}

}  // namespace
