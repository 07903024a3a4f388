#include <gtest/gtest.h>

#include <random>
#include <string>

#include "coarsen/coarsen.h"
#include "common/test_run.h"
#include "kway_fixtures.h"

using namespace hypra;

using namespace kwaytest;

namespace {

// Five vertices, vertex 2 without hyperedges; after island separation vertices 0, 1, 3, 4 take
// positions 0..3 and vertex 2 position 4. A two-vertex coarse level holds {0,1} and {3,4}.
struct TwoLevels {
  PartCtrl ctrl = MakeCtrl(2, 1.0f);
  HGraph *fine;
  HGraph *coarse;
  TwoLevels(int rtype, std::vector<int> cellwgts) {
    ctrl.run->now.RType = rtype;
    fine = MakeGraph(5, {{0, 1}, {1, 3}, {3, 4}}, {}, cellwgts);
    SeparateIslands__(fine);
    fine->cellmap = imalloc__(5, "test: cellmap");
    const int map[] = {0, 0, 1, 1};
    for (int v = 0; v < 4; v++) fine->cellmap[v] = map[v];
    coarse = MakeGraph(2, {{0, 1}}, {}, {cellwgts[0] + cellwgts[1], cellwgts[3] + cellwgts[4]});
    coarse->where = imalloc__(2, "test: where");
    coarse->where[0] = 0;
    coarse->where[1] = 1;
    coarse->finer = fine;
    fine->coarser = coarse;
  }
  ~TwoLevels() {
    if (fine->coarser != nullptr) FreeHGraph__(fine->coarser);
    FreeHGraph__(fine);
  }
};

TEST(KwayUncoarsen, NoRefinementStillProjectsAndPlacesIslands) {
  TwoLevels t(10, {1, 1, 1, 1, 1});
  ASSERT_EQ(t.fine->nvtxs, 4);
  ASSERT_EQ(t.fine->nislands, 1);
  RefineKway__(&t.ctrl, t.fine, t.coarse);
  EXPECT_EQ(t.fine->coarser, nullptr);
  ASSERT_EQ(t.fine->nvtxs, 5);
  EXPECT_EQ(t.fine->nislands, 0);
  // No vertex moves; the island goes to the lightest part of the untouched (zeroed) weights.
  const int expected[] = {0, 0, 0, 1, 1};
  for (int v = 0; v < 5; v++) EXPECT_EQ(t.fine->where[v], expected[v]) << v;
  EXPECT_EQ(t.fine->kpwgts[0], 1);
  EXPECT_EQ(t.fine->kpwgts[1], 0);
}

TEST(KwayUncoarsen, RefinedLevelPlacesIslandInLighterPart) {
  // Part 0 weighs 2 + 3, part 1 weighs 1 + 1: the island (weight 4) joins part 1.
  TwoLevels t(1, {2, 3, 4, 1, 1});
  t.ctrl.run->now.UBfactor = 1.0f;  // bounds 5..5 after the island: nothing can move
  RefineKway__(&t.ctrl, t.fine, t.coarse);
  ASSERT_EQ(t.fine->nvtxs, 5);
  const int expected[] = {0, 0, 1, 1, 1};
  for (int v = 0; v < 5; v++) EXPECT_EQ(t.fine->where[v], expected[v]) << v;
  EXPECT_EQ(t.fine->kpwgts[0], 5);
  EXPECT_EQ(t.fine->kpwgts[1], 6);
  EXPECT_EQ(t.fine->kwayobj, 1);
}

TEST(KwayUncoarsen, CoarsestLevelAloneIsLeftAsItIs) {
  PartCtrl ctrl = MakeCtrl(2, 1.0f);
  HGraph *g = MakeGraph(3, {{0, 1, 2}});
  g->where = imalloc__(3, "test: where");
  g->where[0] = 0;
  g->where[1] = 1;
  g->where[2] = 1;
  RefineKway__(&ctrl, g, g);
  EXPECT_EQ(g->crinfo, nullptr);
  EXPECT_EQ(g->where[0], 0);
  EXPECT_EQ(g->where[1], 1);
  FreeHGraph__(g);
}

TEST(KwayUncoarsenDeathTest, UnknownRefinementTypeIsFatal) {
  TwoLevels t(7, {1, 1, 1, 1, 1});
  EXPECT_EXIT(RefineKway__(&t.ctrl, t.fine, t.coarse), testing::ExitedWithCode(0),
              "Unknown refinement type: 7");
}

TEST(KwayProject, FinerLevelGetsTheCoarsePartsAndTheCoarseLevelGoes) {
  TwoLevels t(1, {1, 1, 1, 1, 1});
  ProjectKwayPartition__(&t.ctrl, t.coarse);
  EXPECT_EQ(t.fine->coarser, nullptr);
  ASSERT_NE(t.fine->crinfo, nullptr);
  const int expected[] = {0, 0, 1, 1};
  for (int v = 0; v < 4; v++) EXPECT_EQ(t.fine->where[v], expected[v]);
}

// A hypergraph of at most 1000 vertices is not coarsened by a V-cycle.
HGraph *SmallGraph(PartCtrl *ctrl, std::vector<int> where) {
  HGraph *g = MakeGraph(6, {{0, 1, 2}, {2, 3}, {3, 4, 5}});
  SetPartition(ctrl, g, where);
  return g;
}

TEST(KwayVCycle, NoCyclesPrintsOnlyTheBrackets) {
  PartCtrl ctrl = MakeCtrl(2, 1.2f);
  ctrl.run->now.dbglvl = DBG_TRACE;
  HGraph *g = SmallGraph(&ctrl, {0, 0, 0, 1, 1, 1});
  g->kwayobj = 42;
  testing::internal::CaptureStdout();
  EXPECT_EQ(VCycleRefinementKway__(&ctrl, g, 0), 42);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "          [42 (min = 42)]\n");
  EXPECT_EQ(ctrl.run->now.CoarsenTo, 100);
  FreeHGraph__(g);
}

TEST(KwayVCycle, NoCoarserLevelLeavesPartitionAndStopsAfterTwoCycles) {
  PartCtrl ctrl = MakeCtrl(2, 1.2f);
  ctrl.run->now.dbglvl = DBG_TRACE;
  ctrl.run->now.CType = 5;
  // A poor partition: the cycles would improve it if any level were refined.
  const std::vector<int> where = {0, 1, 0, 1, 0, 1};
  HGraph *g = SmallGraph(&ctrl, where);
  g->kwayobj = 3;
  testing::internal::CaptureStdout();
  EXPECT_EQ(VCycleRefinementKway__(&ctrl, g, 10), 3);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "          [3 3 3 (min = 3)]\n");
  for (int v = 0; v < 6; v++) EXPECT_EQ(g->where[v], where[v]);
  EXPECT_EQ(ctrl.run->now.CoarsenTo, 100);
  EXPECT_EQ(ctrl.run->now.CType, 5);
  EXPECT_EQ(g->kpwgts, nullptr);
  EXPECT_EQ(g->crinfo, nullptr);
  FreeHGraph__(g);
}

// Disjoint chains of 2..5 vertices, some isolated vertices, random weights.
HGraph *ChainGraph(int nvtxs, unsigned seed, std::vector<int> *chainof) {
  std::mt19937 rng(seed);
  std::vector<std::vector<int>> nets;
  std::vector<int> netwgts, cellwgts(nvtxs);
  chainof->assign(nvtxs, -1);
  int v = 0, chain = 0;
  while (v < nvtxs) {
    if (rng() % 10 == 0) {
      v++;  // an island
      continue;
    }
    const int len = std::min(2 + static_cast<int>(rng() % 4), nvtxs - v);
    for (int i = 0; i < len; i++) (*chainof)[v + i] = chain;
    for (int i = 0; i + 1 < len; i++) {
      nets.push_back({v + i, v + i + 1});
      netwgts.push_back(1 + static_cast<int>(rng() % 3));
    }
    v += len;
    chain++;
  }
  for (int &w : cellwgts) w = 1 + static_cast<int>(rng() % 2);
  return MakeGraph(nvtxs, nets, netwgts, cellwgts);
}

TEST(KwayVCycle, UncutPartitionStaysUncutAndStopsAfterTwoCycles) {
  std::vector<int> chainof;
  HGraph *g = ChainGraph(3000, 11, &chainof);
  PartCtrl ctrl = MakeCtrl(4, 1.5f);
  ctrl.run->now.MaxCellWgt = 60;
  ctrl.run->now.dbglvl = DBG_TRACE;
  std::vector<int> where(g->nvtxs);
  for (int v = 0; v < g->nvtxs; v++) where[v] = chainof[v] < 0 ? v % 4 : chainof[v] % 4;
  SetPartition(&ctrl, g, where);
  RefineCutKway_Random__(&ctrl, g, 0);
  ASSERT_EQ(g->kwayobj, 0);
  RVfree__(&g->nrinfo, &g->crinfo, &g->crdata, &g->nrdata, &g->kpwgts);
  testrun::Seed(2);
  testing::internal::CaptureStdout();
  EXPECT_EQ(VCycleRefinementKway__(&ctrl, g, 10), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "          [0 0 0 (min = 0)]\n");
  ASSERT_EQ(g->nvtxs, 3000);
  EXPECT_EQ(CutAndSoed(g).first, 0);
  FreeHGraph__(g);
}

// Random hypergraph with some isolated vertices and no single-pin hyperedges.
HGraph *ScatteredGraph(int nvtxs, int nhedges, unsigned seed) {
  std::mt19937 rng(seed);
  std::vector<std::vector<int>> nets;
  std::vector<int> netwgts, cellwgts(nvtxs);
  const int used = nvtxs - nvtxs / 20;
  for (int e = 0; e < nhedges; e++) {
    const int a = static_cast<int>(rng() % used);
    const int size = 2 + static_cast<int>(rng() % 4);
    std::vector<int> pins;
    for (int i = 0; i < size; i++) {
      const int v = (a + static_cast<int>(rng() % 40)) % used;
      if (std::find(pins.begin(), pins.end(), v) == pins.end()) pins.push_back(v);
    }
    if (pins.size() < 2) continue;
    nets.push_back(pins);
    netwgts.push_back(1 + static_cast<int>(rng() % 3));
  }
  for (int &w : cellwgts) w = 1 + static_cast<int>(rng() % 2);
  return MakeGraph(nvtxs, nets, netwgts, cellwgts);
}

// Coarsening trace lines ("[nvtxs ...") of levels smaller than the top one.
int CountLevels(const std::string &trace, int topnvtxs) {
  int n = 0;
  for (size_t p = trace.find("\n["); p != std::string::npos; p = trace.find("\n[", p + 1))
    if (std::atoi(trace.c_str() + p + 2) < topnvtxs) n++;
  return n;
}

void CheckVCycle(int k, int rtype, unsigned seed) {
  HGraph *g = ScatteredGraph(4000, 5000, seed);
  std::mt19937 rng(seed);
  std::vector<int> where(g->nvtxs), pw(k, 0);
  for (int v = 0; v < g->nvtxs; v++) pw[where[v] = static_cast<int>(rng() % k)] += g->cellwgt[v];
  const int tpwgt = iasum__(k, pw.data());
  PartCtrl ctrl =
      MakeCtrl(k, static_cast<float>(static_cast<double>(k) * pw[iamax__(k, pw.data())] / tpwgt));
  ctrl.run->now.RType = rtype;
  ctrl.run->now.MaxCellWgt = (2 * tpwgt) / 100;
  ctrl.run->now.CType = 3;
  testrun::Seed(seed);
  SetPartition(&ctrl, g, where);
  if (rtype == 1)
    RefineCutKway_Random__(&ctrl, g, 10);
  else
    RefineSOEDKway_Random__(&ctrl, g, 10);
  const int before = g->kwayobj;
  RVfree__(&g->nrinfo, &g->crinfo, &g->crdata, &g->nrdata, &g->kpwgts);
  ctrl.run->now.dbglvl = DBG_COARSEN | DBG_TRACE;
  testing::internal::CaptureStdout();
  const int after = VCycleRefinementKway__(&ctrl, g, 10);
  const std::string trace = testing::internal::GetCapturedStdout();
  // The hypergraph is above 1000 vertices, so every cycle coarsens at least one level.
  EXPECT_NE(trace.find("(min = " + std::to_string(after) + ")]\n"), std::string::npos);
  EXPECT_NE(trace.find("          [" + std::to_string(before) + " "), std::string::npos);
  EXPECT_GE(CountLevels(trace, 4000), 2) << trace;
  EXPECT_LE(after, before);
  EXPECT_EQ(after, g->kwayobj);
  ASSERT_EQ(g->nvtxs, 4000);
  for (int v = 0; v < g->nvtxs; v++) ASSERT_TRUE(g->where[v] >= 0 && g->where[v] < k) << v;
  const auto [cut, soed] = CutAndSoed(g);
  EXPECT_EQ(after, rtype == 1 ? cut : soed);
  EXPECT_EQ(ctrl.run->now.CoarsenTo, 100);
  EXPECT_EQ(ctrl.run->now.CType, 3);
  FreeHGraph__(g);
}

TEST(KwayVCycle, NeverAboveItsInputCut) {
  for (int k : {3, 8, 16}) CheckVCycle(k, 1, 100 + k);
}

TEST(KwayVCycle, NeverAboveItsInputSoed) {
  for (int k : {4, 64}) CheckVCycle(k, 2, 200 + k);
}

}  // namespace

namespace {

TEST(KwayVCycleBench, Ibm01NeverAboveItsInputCut) {
  const std::string path = std::string(HYPRA_BENCH_DIR) + "/ibm01.hgr";
  HGraph *g = ReadBench(path);
  if (g == nullptr) GTEST_SKIP() << "benchmark hypergraph " << path << " absent";
  const int k = 8;
  std::vector<int> where(g->nvtxs), pw(k, 0);
  for (int v = 0; v < g->nvtxs; v++) pw[where[v] = (v / 7) % k] += g->cellwgt[v];
  const int tpwgt = iasum__(k, pw.data());
  PartCtrl ctrl =
      MakeCtrl(k, static_cast<float>(static_cast<double>(k) * pw[iamax__(k, pw.data())] / tpwgt));
  ctrl.run->now.MaxCellWgt = (2 * tpwgt) / 100;
  testrun::Seed(9);
  SetPartition(&ctrl, g, where);
  RefineCutKway_Random__(&ctrl, g, 10);
  const int before = g->kwayobj;
  RVfree__(&g->nrinfo, &g->crinfo, &g->crdata, &g->nrdata, &g->kpwgts);
  const int after = VCycleRefinementKway__(&ctrl, g, 10);
  EXPECT_LE(after, before);
  EXPECT_EQ(after, CutAndSoed(g).first);
  FreeHGraph__(g);
}

}  // namespace
