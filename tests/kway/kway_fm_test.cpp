// The k-way FM refiner: on random small weighted hypergraphs with fixed vertices it never worsens
// its objective, never makes a part heavier than the bound allows, leaves fixed vertices in place,
// keeps its gain cache equal to a recomputation, and repeats itself exactly.
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <set>
#include <vector>

#include "kway_fixtures.h"

using namespace hypra;
using namespace kwaytest;

namespace {

struct Instance {
  HGraph *graph;
  int nparts;
  std::vector<int> where;
};

// A random hypergraph of up to 150 vertices: hyperedges of 1 to 8 pins (single-pin ones too),
// weights 1 to 5, vertex weights 1 to 4, the first few vertices fixed. The partition is random,
// so some parts may start above any bound.
Instance RandomInstance(unsigned seed) {
  std::mt19937 rng(seed);
  auto pick = [&rng](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  const int nvtxs = pick(10, 150), nparts = pick(2, 9), nhedges = pick(nvtxs / 2, 2 * nvtxs);
  std::vector<std::vector<int>> nets;
  std::vector<int> netwgts, cellwgts;
  for (int e = 0; e < nhedges; e++) {
    const int size = pick(1, 8);
    std::set<int> pins;
    // Mostly local pins, so that the hypergraph has structure to find.
    const int centre = pick(0, nvtxs - 1);
    while (static_cast<int>(pins.size()) < size && static_cast<int>(pins.size()) < nvtxs)
      pins.insert(pick(0, 3) == 0 ? pick(0, nvtxs - 1) : (centre + pick(0, 9)) % nvtxs);
    nets.emplace_back(pins.begin(), pins.end());
    netwgts.push_back(pick(1, 5));
  }
  for (int v = 0; v < nvtxs; v++) cellwgts.push_back(pick(1, 4));
  const int nfixed = pick(0, nvtxs / 5);
  Instance in{MakeGraph(nvtxs, nets, netwgts, cellwgts), nparts, {}};
  in.graph->nfixed = nfixed;
  for (int v = 0; v < nvtxs; v++) in.where.push_back(pick(0, nparts - 1));
  in.graph->where = imalloc__(nvtxs, "test: where");
  for (int v = 0; v < nvtxs; v++) in.graph->where[v] = in.where[v];
  return in;
}

long long Km1(const HGraph *g) {
  long long km1 = 0;
  for (int e = 0; e < g->nhedges; e++) {
    std::set<int> parts;
    for (int i = g->netptr[e]; i < g->netptr[e + 1]; i++) parts.insert(g->where[g->netind[i]]);
    km1 += static_cast<long long>(parts.size() - 1) * g->netwgt[e];
  }
  return km1;
}

long long ObjectiveOf(const HGraph *g, KwayFmObjective obj) {
  const auto [cut, soed] = CutAndSoed(g);
  return obj == KWAYFM_CUT ? cut : obj == KWAYFM_KM1 ? Km1(g) : soed;
}

const KwayFmObjective kObjectives[] = {KWAYFM_CUT, KWAYFM_KM1, KWAYFM_SOED};

TEST(KwayFm, NeverWorsensTheObjectiveNorBreaksTheBound) {
  for (unsigned seed = 1; seed <= 60; seed++) {
    for (const KwayFmObjective obj : kObjectives) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << " objective " << obj);
      Instance in = RandomInstance(seed);
      HGraph *g = in.graph;
      PartCtrl ctrl = MakeCtrl(in.nparts, 1.1f);
      int total = 0;
      for (int v = 0; v < g->nvtxs; v++) total += g->cellwgt[v];
      const int bound = total / in.nparts + 4;
      const std::vector<int> before = PartWeights(g, in.nparts);
      const long long start = ObjectiveOf(g, obj);

      const KwayFmResult r = RefineKwayFM__(&ctrl, g, obj, bound, 0, 10);

      const long long end = ObjectiveOf(g, obj);
      EXPECT_LE(end, start);
      const auto [cut, soed] = CutAndSoed(g);
      EXPECT_EQ(r.cut, cut);
      EXPECT_EQ(r.km1, Km1(g));
      EXPECT_EQ(r.cut + r.km1, soed);
      const std::vector<int> after = PartWeights(g, in.nparts);
      for (int p = 0; p < in.nparts; p++) {
        // A part may only grow while it stays within the bound; one above it may only shrink.
        if (after[p] > before[p]) {
          EXPECT_LE(after[p], bound) << "part " << p;
        }
      }
      for (int v = 0; v < g->nfixed; v++) EXPECT_EQ(g->where[v], in.where[v]) << "vertex " << v;
      FreeHGraph__(g);
    }
  }
}

TEST(KwayFm, ImprovesAPoorPartition) {
  // Four cliques of eight vertices, joined in a ring by single hyperedges, split badly.
  std::vector<std::vector<int>> nets;
  for (int c = 0; c < 4; c++) {
    for (int i = 0; i < 8; i++)
      for (int j = i + 1; j < 8; j++) nets.push_back({8 * c + i, 8 * c + j});
    nets.push_back({8 * c, (8 * c + 8) % 32});
  }
  HGraph *g = MakeGraph(32, nets);
  g->where = imalloc__(32, "test: where");
  for (int v = 0; v < 32; v++) g->where[v] = (v / 8 + (v % 8 < 2 ? 1 : 0)) % 4;
  PartCtrl ctrl = MakeCtrl(4, 1.0f);
  const int before = CutAndSoed(g).first;
  const KwayFmResult r = RefineKwayFM__(&ctrl, g, KWAYFM_CUT, 10, 0, 10);
  EXPECT_LT(r.cut, before);
  EXPECT_EQ(r.cut, 4);  // only the ring is left cut
  EXPECT_EQ(PartWeights(g, 4), (std::vector<int>{8, 8, 8, 8}));
  FreeHGraph__(g);
}

TEST(KwayFm, NegativeMovesLeadOutOfALocalMinimum) {
  // Vertices 0..3 in part 0 and 4..7 in part 1; the 4-pin hyperedge {2, 3, 4, 5} of weight 3 is
  // cut. Every pin of it is tied to its own part by a weight-1 pair, so every single move costs
  // at least 1, but moving 2 and then 3 (or 5 and then 4) uncuts it: cut 3 becomes 2.
  HGraph *g = MakeGraph(8, {{2, 3, 4, 5}, {1, 2}, {5, 6}, {0, 1}, {6, 7}, {0, 3}, {4, 7}},
                        {3, 1, 1, 5, 5, 1, 1});
  g->where = imalloc__(8, "test: where");
  const int start[8] = {0, 0, 0, 0, 1, 1, 1, 1};
  for (int v = 0; v < 8; v++) g->where[v] = start[v];
  PartCtrl ctrl = MakeCtrl(2, 1.0f);
  const KwayFmResult r = RefineKwayFM__(&ctrl, g, KWAYFM_CUT, 6, 0, 10);
  EXPECT_EQ(r.cut, 2);
  EXPECT_EQ(CutAndSoed(g).first, 2);
  FreeHGraph__(g);
}

TEST(KwayFm, GainCacheMatchesARecomputationAfterRandomMoves) {
  for (unsigned seed = 1; seed <= 40; seed++) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Instance in = RandomInstance(1000 + seed);
    PartCtrl ctrl = MakeCtrl(in.nparts, 1.1f);
    EXPECT_EQ(CheckKwayFMCache__(&ctrl, in.graph, 200, static_cast<int>(seed)), 0);
    FreeHGraph__(in.graph);
  }
}

TEST(KwayFm, SameInputSamePartition) {
  for (unsigned seed = 1; seed <= 20; seed++) {
    Instance a = RandomInstance(seed), b = RandomInstance(seed);
    PartCtrl ctrl = MakeCtrl(a.nparts, 1.1f);
    const KwayFmResult ra = RefineKwayFM__(&ctrl, a.graph, KWAYFM_KM1, INT_MAX, 0, 10);
    const KwayFmResult rb = RefineKwayFM__(&ctrl, b.graph, KWAYFM_KM1, INT_MAX, 0, 10);
    EXPECT_EQ(ra.km1, rb.km1);
    EXPECT_EQ(std::vector<int>(a.graph->where, a.graph->where + a.graph->nvtxs),
              std::vector<int>(b.graph->where, b.graph->where + b.graph->nvtxs));
    FreeHGraph__(a.graph);
    FreeHGraph__(b.graph);
  }
}

TEST(KwayFm, KeepsPartsAboveTheFloor) {
  for (unsigned seed = 1; seed <= 20; seed++) {
    Instance in = RandomInstance(500 + seed);
    HGraph *g = in.graph;
    PartCtrl ctrl = MakeCtrl(in.nparts, 1.1f);
    const std::vector<int> before = PartWeights(g, in.nparts);
    const int floor = 5;
    RefineKwayFM__(&ctrl, g, KWAYFM_CUT, INT_MAX, floor, 10);
    const std::vector<int> after = PartWeights(g, in.nparts);
    for (int p = 0; p < in.nparts; p++)
      if (after[p] < before[p]) {
        EXPECT_GE(after[p], floor) << "seed " << seed << " part " << p;
      }
    FreeHGraph__(g);
  }
}

TEST(KwayFm, LevelRefinementKeepsTheGreedyRecordsCurrent) {
  for (unsigned seed = 1; seed <= 20; seed++) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Instance in = RandomInstance(700 + seed);
    HGraph *g = in.graph;
    for (const int rtype : {1, 2}) {
      PartCtrl ctrl = MakeCtrl(in.nparts, 3.0f);
      ctrl.run->now.RType = rtype;
      SetPartition(&ctrl, g, in.where);
      ComputeInitKwayGains__(&ctrl, g);
      const int before = rtype == 1 ? g->mincut : g->soed;
      RefineLevelKwayFM__(&ctrl, g);
      const auto [cut, soed] = CutAndSoed(g);
      EXPECT_EQ(g->mincut, cut);
      EXPECT_EQ(g->soed, soed);
      EXPECT_EQ(g->kwayobj, rtype == 1 ? cut : soed);
      EXPECT_LE(g->kwayobj, before);
      // The records agree with a fresh computation.
      const int tracked_cut = g->mincut;
      ComputeInitKwayGains__(&ctrl, g);
      EXPECT_EQ(g->mincut, tracked_cut);
      EXPECT_EQ(PartWeights(g, in.nparts), std::vector<int>(g->kpwgts, g->kpwgts + in.nparts));
      RVfree__(&g->nrinfo, &g->crinfo, &g->nrdata, &g->crdata, &g->kpwgts, &g->kslot);
    }
    FreeHGraph__(g);
  }
}

}  // namespace
