// Communities by modularity, and coarsening that keeps within them until they are exhausted.
#include <gtest/gtest.h>

#include <set>
#include <utility>
#include <vector>

#include "coarsen/coarsen.h"
#include "common/test_run.h"
#include "test_graphs.h"

using namespace hypra;

namespace {

using Nets = std::vector<std::vector<int>>;

// `groups` cliques of `size` vertices each (every pair a 2-pin hyperedge), numbered group by
// group, and one hyperedge from the last vertex of each group to the first of the next.
Nets Cliques(int groups, int size) {
  Nets nets;
  for (int g = 0; g < groups; g++) {
    const int base = g * size;
    for (int i = 0; i < size; i++)
      for (int j = i + 1; j < size; j++) nets.push_back({base + i, base + j});
    if (g + 1 < groups) nets.push_back({base + size - 1, base + size});
  }
  return nets;
}

std::vector<int> Communities(const HGraph *g, int levels, int maxpins, int *count) {
  std::vector<int> community(g->nvtxs, -1);
  *count = FindCommunities__(g, levels, maxpins, community.data());
  return community;
}

TEST(Communities, CliquesJoinedBySingleHyperedgesAreTheCommunities) {
  HGraph *g = testgraphs::Make(40, Cliques(4, 10));
  for (const int levels : {1, 2, 5}) {
    int count = 0;
    const std::vector<int> c = Communities(g, levels, 50, &count);
    EXPECT_EQ(count, 4) << levels << " levels";
    // Numbered in order of their first vertex.
    for (int v = 0; v < 40; v++) EXPECT_EQ(c[v], v / 10) << "vertex " << v;
  }
  FreeHGraph__(g);
}

TEST(Communities, NeedNoIncidenceListsAndRepeat) {
  // As the levels of a recursion are handed on: hyperedge lists only.
  HGraph *g = testhg::NetsOnly(30, Cliques(3, 10));
  ASSERT_EQ(g->incptr, nullptr);
  int first = 0, second = 0;
  const std::vector<int> a = Communities(g, 2, 50, &first);
  const std::vector<int> b = Communities(g, 2, 50, &second);
  EXPECT_EQ(first, 3);
  EXPECT_EQ(a, b);
  FreeHGraph__(g);
}

TEST(Communities, HyperedgesAboveTheLimitAndLonelyVerticesStayOut) {
  Nets nets = Cliques(2, 6);
  // One hyperedge over every vertex of both cliques: counted, it would draw them together.
  std::vector<int> all;
  for (int v = 0; v < 12; v++) all.push_back(v);
  for (int copies = 0; copies < 20; copies++) nets.push_back(all);
  // Vertices 12 and 13 lie only on a 12-pin hyperedge; 14 on none.
  std::vector<int> wide = {12, 13};
  for (int v = 0; v < 10; v++) wide.push_back(v);
  nets.push_back(wide);
  HGraph *g = testgraphs::Make(15, nets);
  int count = 0;
  const std::vector<int> c = Communities(g, 2, 10, &count);
  EXPECT_EQ(count, 5);
  for (int v = 0; v < 6; v++) EXPECT_EQ(c[v], 0) << v;
  for (int v = 6; v < 12; v++) EXPECT_EQ(c[v], 1) << v;
  EXPECT_EQ(c[12], 2);
  EXPECT_EQ(c[13], 3);
  EXPECT_EQ(c[14], 4);
  // Counted, the wide hyperedge draws vertices 12 and 13 into a clique's community.
  const std::vector<int> wider = Communities(g, 2, 50, &count);
  EXPECT_EQ(count, 3);
  EXPECT_LT(wider[12], 2);
  EXPECT_LT(wider[13], 2);
  FreeHGraph__(g);
}

TEST(Communities, HyperedgeWeightsCount) {
  // A ring of 8 vertices: which neighbours pair up depends on the weights alone.
  Nets nets;
  std::vector<int> netwgt;
  for (int v = 0; v < 8; v++) {
    nets.push_back({v, (v + 1) % 8});
    netwgt.push_back(v % 2 == 0 ? 10 : 1);
  }
  HGraph *g = testgraphs::Make(8, nets, netwgt);
  int count = 0;
  const std::vector<int> c = Communities(g, 1, 50, &count);
  EXPECT_EQ(count, 4);
  for (int v = 0; v < 8; v += 2) EXPECT_EQ(c[v], c[v + 1]) << v;
  FreeHGraph__(g);
}

// The original vertices each vertex of `level` stands for, found through the cellmaps above it;
// `n` vertices at the top. Islands (moved behind a level's vertices, never grouped) are left out.
std::vector<std::set<int>> Members(const HGraph *top, int n, const HGraph *level) {
  std::vector<int> at(n);
  for (int v = 0; v < n; v++) at[v] = top->islandmap != nullptr ? top->islandmap[v] : v;
  for (const HGraph *g = top; g != level; g = g->coarser)
    for (int &x : at) x = x >= 0 && x < g->nvtxs ? g->cellmap[x] : -1;
  std::vector<std::set<int>> members(level->nvtxs);
  for (int v = 0; v < n; v++)
    if (at[v] >= 0 && at[v] < level->nvtxs) members[at[v]].insert(v);
  return members;
}

TEST(Communities, CoarseningKeepsWithinThemUntilTheyAreSingleVertices) {
  for (const int ctype : {1, 2, 3, 5}) {
    SCOPED_TRACE(ctype);
    // Sixteen cliques of 25, with one vertex in each of several pairs of them put in the other's
    // community: the coarsening must follow the given communities, not the structure.
    HGraph *g = testgraphs::Make(400, Cliques(16, 25));
    std::vector<int> community(400);
    for (int v = 0; v < 400; v++) community[v] = v / 25;
    for (int q = 0; q < 16; q += 4) std::swap(community[q * 25 + 3], community[(q + 1) * 25 + 3]);
    PartCtrl ctrl = testgraphs::Ctrl(ctype, 400, 50);
    ctrl.run->now.CoarsenTo = 4;
    testrun::Seed(3);
    HGraph *coarsest = Coarsen__(&ctrl, g, community.data());
    bool mixed = false;
    int levels_within = 0;
    for (HGraph *level = g->coarser; level != nullptr; level = level->coarser) {
      const std::vector<std::set<int>> members = Members(g, 400, level);
      bool mixes = false;
      for (const std::set<int> &m : members)
        for (int v : m) mixes = mixes || community[v] != community[*m.begin()];
      if (!mixed && !mixes) levels_within++;
      // Once the communities were given up, they stay given up; before, a level held more
      // vertices than there are communities or exactly one per community.
      if (mixes && !mixed) {
        EXPECT_GE(level->finer->nvtxs, 16);
      }
      mixed = mixed || mixes;
      EXPECT_EQ(level->community, nullptr);
    }
    EXPECT_GE(levels_within, 2);
    EXPECT_TRUE(mixed);
    EXPECT_LE(coarsest->nvtxs, 16);
    EXPECT_EQ(g->community, nullptr);
    testgraphs::FreeChain(g);
  }
}

TEST(Communities, IslandsMoveWithTheirCommunities) {
  // Two cliques of 20 and 10 vertices without hyperedges interleaved among them.
  Nets nets;
  std::vector<int> left, right;
  for (int v = 0; v < 50; v++) {
    if (v % 5 == 4) continue;  // islands
    (v < 25 ? left : right).push_back(v);
  }
  for (const std::vector<int> *side : {&left, &right})
    for (size_t i = 0; i < side->size(); i++)
      for (size_t j = i + 1; j < side->size(); j++) nets.push_back({(*side)[i], (*side)[j]});
  HGraph *g = testgraphs::Make(50, nets);
  // Communities across the cliques, in runs of five vertices: wrongly placed after the islands
  // moved, a community would be read from a neighbour's run.
  std::vector<int> community(50);
  for (int v = 0; v < 50; v++) community[v] = v / 5 % 2;
  PartCtrl ctrl = testgraphs::Ctrl(1, 50, 50);
  ctrl.run->now.CoarsenTo = 2;
  testrun::Seed(5);
  Coarsen__(&ctrl, g, community.data());
  ASSERT_NE(g->coarser, nullptr);
  // The first level was built while every community still had pairs to make.
  for (const std::set<int> &m : Members(g, 50, g->coarser))
    for (int v : m) EXPECT_EQ(community[v], community[*m.begin()]) << "vertex " << v;
  testgraphs::FreeChain(g);
}

}  // namespace
