// The k-way rebalancer on its own: hand-made partitions with parts above the bound.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "kway_fixtures.h"

using namespace hypra;

using namespace kwaytest;

namespace {

// Prepares g's k-way records for `where`, as a refinement pass would leave them.
void Prepare(PartCtrl *ctrl, HGraph *g, const std::vector<int> &where) {
  SetPartition(ctrl, g, where);
  ComputeInitKwayGains__(ctrl, g);
}

std::vector<int> Where(const HGraph *g) {
  return std::vector<int>(g->where, g->where + g->nvtxs);
}

// Part 0 holds vertices 0 .. 7 (the bound is 5), parts 1 and 2 two vertices each. Vertices 5, 6
// and 7 each share a weight-2 hyperedge with another part and a weight-1 hyperedge with vertex 0;
// vertices 0 .. 4 are tied together by a ring of weight-3 hyperedges.
HGraph *Crowded() {
  std::vector<std::vector<int>> nets = {{5, 8}, {6, 9}, {7, 10}, {5, 0},
                                        {6, 0}, {7, 0}, {8, 9},  {10, 11}};
  std::vector<int> wgts = {2, 2, 2, 1, 1, 1, 1, 1};
  for (int v = 0; v < 5; v++) {
    nets.push_back({v, (v + 1) % 5});
    wgts.push_back(3);
  }
  return MakeGraph(12, nets, wgts);
}

const std::vector<int> kCrowded = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 2, 2};

TEST(Rebalance, MovesTheCheapestVerticesIntoPartsWithRoom) {
  PartCtrl ctrl = MakeCtrl(3, 1.0f);
  HGraph *g = Crowded();
  Prepare(&ctrl, g, kCrowded);
  ASSERT_EQ(g->mincut, 6);
  EXPECT_EQ(RebalanceKway__(&ctrl, g, 5, false), 0);
  // Each of 5, 6, 7 gains 1 by following its weight-2 hyperedge; nothing else moves.
  EXPECT_EQ(Where(g), (std::vector<int>{0, 0, 0, 0, 0, 1, 1, 2, 1, 1, 2, 2}));
  EXPECT_EQ(PartWeights(g, 3), (std::vector<int>{5, 4, 3}));
  const auto [cut, soed] = CutAndSoed(g);
  EXPECT_EQ(cut, 3);
  EXPECT_EQ(g->mincut, cut);
  EXPECT_EQ(g->soed, soed);
  EXPECT_EQ(g->kwayobj, cut);
  FreeHGraph__(g);
}

TEST(Rebalance, NothingMovesWithinTheBound) {
  PartCtrl ctrl = MakeCtrl(3, 1.0f);
  HGraph *g = Crowded();
  Prepare(&ctrl, g, kCrowded);
  EXPECT_EQ(RebalanceKway__(&ctrl, g, 8, false), 0);
  EXPECT_EQ(Where(g), kCrowded);
  EXPECT_EQ(g->mincut, 6);
  FreeHGraph__(g);
}

TEST(Rebalance, FixedVerticesNeverMove) {
  PartCtrl ctrl = MakeCtrl(3, 1.0f);
  HGraph *g = Crowded();
  g->nfixed = 6;  // vertices 0 .. 5
  Prepare(&ctrl, g, kCrowded);
  // Only 6 and 7 may leave: part 0 keeps weight 6, above the bound, and says so.
  EXPECT_EQ(RebalanceKway__(&ctrl, g, 5, false), 1);
  const std::vector<int> where = Where(g);
  for (int v = 0; v < 6; v++) EXPECT_EQ(where[v], 0) << v;
  EXPECT_NE(where[6], 0);
  EXPECT_NE(where[7], 0);
  EXPECT_EQ(g->mincut, CutAndSoed(g).first);
  FreeHGraph__(g);
}

TEST(Rebalance, InteriorVerticesMoveWhenNoBoundaryVertexFits) {
  // Two parts: part 0 holds vertices 0 .. 5 on a chain, part 1 vertex 6 alone, unconnected.
  // Every move cuts something; the chain's ends cut least.
  PartCtrl ctrl = MakeCtrl(2, 1.0f);
  HGraph *g = MakeGraph(7, {{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}});
  Prepare(&ctrl, g, {0, 0, 0, 0, 0, 0, 1});
  EXPECT_EQ(RebalanceKway__(&ctrl, g, 4, false), 0);
  EXPECT_EQ(PartWeights(g, 2), (std::vector<int>{4, 3}));
  EXPECT_EQ(g->mincut, CutAndSoed(g).first);
  EXPECT_LE(g->mincut, 2);
  FreeHGraph__(g);
}

TEST(Rebalance, NoPartIsPushedAboveTheBound) {
  // Part 0 holds four vertices of weight 3 (12), parts 1 and 2 four unit vertices each. Under the
  // bound 7 part 0 must give up two of its vertices, and each other part has room for one only.
  PartCtrl ctrl = MakeCtrl(3, 1.0f);
  std::vector<std::vector<int>> nets;
  for (int v = 0; v < 4; v++) nets.push_back({v, 4});
  HGraph *g = MakeGraph(12, nets, {}, {3, 3, 3, 3, 1, 1, 1, 1, 1, 1, 1, 1});
  Prepare(&ctrl, g, {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2});
  EXPECT_EQ(RebalanceKway__(&ctrl, g, 7, false), 0);
  EXPECT_EQ(PartWeights(g, 3), (std::vector<int>{6, 7, 7}));
  EXPECT_EQ(g->mincut, CutAndSoed(g).first);
  FreeHGraph__(g);
}

TEST(Rebalance, ReportsWhatCannotFit) {
  // Three vertices of weight 10 in two parts under the bound 16: one part keeps two.
  PartCtrl ctrl = MakeCtrl(2, 1.0f);
  HGraph *g = MakeGraph(3, {{0, 1}, {1, 2}}, {}, {10, 10, 10});
  Prepare(&ctrl, g, {0, 0, 0});
  EXPECT_EQ(RebalanceKway__(&ctrl, g, 16, false), 1);
  EXPECT_EQ(PartWeights(g, 2), (std::vector<int>{20, 10}));
  FreeHGraph__(g);
}

TEST(Rebalance, OverfillsALighterPartWhenNoVertexFitsAnywhere) {
  // Part 0 holds four vertices of weight 2 (8, bound 6); parts 1, 2 and 3 five unit vertices
  // each (room 1). No vertex of part 0 fits anywhere, but one may overfill part 1 by 1 while
  // relieving part 0 by 2; part 1 then passes a unit vertex on to a part with room.
  PartCtrl ctrl = MakeCtrl(4, 1.0f);
  std::vector<std::vector<int>> nets;
  for (int v = 0; v + 1 < 19; v++) nets.push_back({v, v + 1});
  std::vector<int> weights(19, 1);
  for (int v = 0; v < 4; v++) weights[v] = 2;
  HGraph *g = MakeGraph(19, nets, {}, weights);
  std::vector<int> where = {0, 0, 0, 0};
  for (int p = 1; p <= 3; p++)
    for (int i = 0; i < 5; i++) where.push_back(p);
  Prepare(&ctrl, g, where);
  EXPECT_EQ(RebalanceKway__(&ctrl, g, 6, false), 0);
  for (int w : PartWeights(g, 4)) EXPECT_LE(w, 6);
  EXPECT_EQ(g->mincut, CutAndSoed(g).first);
  FreeHGraph__(g);
}

// A deterministic generator for the random cases below.
struct Lcg {
  uint64_t state;
  int Next(int range) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<int>((state >> 33) % static_cast<uint64_t>(range));
  }
};

// Random hypergraphs (single-pin hyperedges included) and lopsided partitions: the bound is met,
// and the cut and SOED kept along the moves are exact.
TEST(Rebalance, TrackedObjectivesStayExact) {
  for (int soed = 0; soed < 2; soed++)
    for (uint64_t seed = 1; seed <= 6; seed++) {
      Lcg rng{seed};
      const int nvtxs = 300, nparts = 2 + static_cast<int>(seed % 5);
      std::vector<std::vector<int>> nets;
      std::vector<int> wgts;
      for (int e = 0; e < 500; e++) {
        std::vector<int> pins;
        const int size = 1 + rng.Next(5);
        for (int k = 0; k < size; k++) {
          const int v = rng.Next(nvtxs);
          bool dup = false;
          for (int p : pins) dup |= p == v;
          if (!dup) pins.push_back(v);
        }
        nets.push_back(pins);
        wgts.push_back(1 + rng.Next(4));
      }
      std::vector<int> where(nvtxs);
      for (int v = 0; v < nvtxs; v++) where[v] = rng.Next(3) == 0 ? rng.Next(nparts) : 0;
      PartCtrl ctrl = MakeCtrl(nparts, 1.0f);
      ctrl.run->now.RType = soed ? 2 : 1;
      HGraph *g = MakeGraph(nvtxs, nets, wgts);
      Prepare(&ctrl, g, where);
      const int bound = (nvtxs + nparts - 1) / nparts + 2;
      EXPECT_EQ(RebalanceKway__(&ctrl, g, bound, soed == 1), 0);
      for (int w : PartWeights(g, nparts)) EXPECT_LE(w, bound);
      const auto [cut, actualsoed] = CutAndSoed(g);
      EXPECT_EQ(g->mincut, cut) << "seed " << seed;
      EXPECT_EQ(g->soed, actualsoed) << "seed " << seed;
      EXPECT_EQ(g->kwayobj, soed ? actualsoed : cut);
      FreeHGraph__(g);
    }
}

TEST(Rebalance, EnforceOnAPartVector) {
  PartCtrl ctrl = MakeCtrl(3, 1.0f);
  ctrl.Imbalance = 0.25;
  ctrl.MaxPartWgt = 5;
  HGraph *g = Crowded();
  std::vector<int> part = kCrowded;
  EXPECT_EQ(EnforcePartBound__(&ctrl, g, part.data(), false), 0);
  EXPECT_EQ(part, (std::vector<int>{0, 0, 0, 0, 0, 1, 1, 2, 1, 1, 2, 2}));
  EXPECT_EQ(g->where, nullptr) << "the k-way records are released";
  FreeHGraph__(g);
}

}  // namespace
