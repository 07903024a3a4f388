// Invariants of every refiner on generated and benchmark hypergraphs (none with single-pin
// hyperedges, whose gains count a cut that can never happen): the tracked cut and side weights
// match the bisection, fixed vertices stay, refiners that keep gains keep them exact, and a
// balanced input never comes back with a larger cut or unbalanced.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "coarsen/coarsen.h"
#include "refine2/fixtures.h"

using namespace hypra;

namespace {

using r2test::Where;

enum Refiner { kFM, kFM2, kEEFM, kEEFM2, kOneWay, kBalance, kFlow };

const char *Name(Refiner r) {
  static const char *names[] = {"FM", "FM2", "EEFM", "EEFM2", "OneWay", "Balance", "Flow"};
  return names[r];
}

void Run(Refiner r, PartCtrl *ctrl, HGraph *g) {
  switch (r) {
    case kFM:
      Refine_FM__(ctrl, g, 10);
      break;
    case kFM2:
      Refine_FM2__(ctrl, g, 10);
      break;
    case kEEFM:
      Refine_EEFM__(ctrl, g, 3, 0.1f);
      break;
    case kEEFM2:
      Refine_EEFM2__(ctrl, g, 3, 0.1f);
      break;
    case kOneWay:
      Refine_OneWayFM__(ctrl, g, 10);
      break;
    case kBalance:
      Balance__(ctrl, g);
      break;
    case kFlow:
      FlowRefineBisection__(ctrl, g);
      break;
  }
}

// Sides in vertex order, each vertex to the currently lighter side: balanced within the
// heaviest vertex weight.
void Greedy(HGraph *g) {
  int w[2] = {0, 0};
  for (int v = 0; v < g->nvtxs; v++) {
    const int side = w[0] <= w[1] ? 0 : 1;
    g->where[v] = side;
    w[side] += g->cellwgt[v];
  }
}

// Roughly three quarters of the weight on side 0.
void Lopsided(HGraph *g) {
  for (int v = 0; v < g->nvtxs; v++) g->where[v] = v % 4 == 3 ? 1 : 0;
}

void CheckRefiner(Refiner r, HGraph *g, PartCtrl ctrl, bool balancedstart) {
  SCOPED_TRACE(Name(r));
  ComputeInitGains__(g);
  const int incut = g->mincut;
  const bool inbalanced = r2test::Balanced(g, ctrl);
  if (balancedstart) {
    ASSERT_TRUE(inbalanced);
  }
  const std::vector<int> before = Where(g);
  Run(r, &ctrl, g);

  r2test::ExpectCutAndWeightsExact(g);
  for (int v = 0; v < g->nfixed; v++) ASSERT_EQ(g->where[v], before[v]) << "fixed vertex " << v;
  if (r == kEEFM || r == kEEFM2 || r == kOneWay || r == kBalance || r == kFlow)
    r2test::ExpectGainsExact(g);
  if (inbalanced) {
    EXPECT_LE(g->mincut, incut);
    EXPECT_TRUE(r2test::Balanced(g, ctrl));
  }
}

struct Config {
  unsigned seed;
  int nvtxs, nhedges, maxsize, maxcw, maxnw, nfixed;
  float ubfactor;
};

// Small and large gain ranges (bucket and heap queues), light and heavy vertices (the weight
// constraint of the "2" refiners only acts with more than 1000 of room), with and without fixed
// vertices.
const Config kConfigs[] = {
    {1, 300, 400, 5, 1, 1, 0, 0.05f},     {2, 300, 500, 8, 3, 4, 6, 0.05f},
    {3, 200, 300, 4, 200, 3, 0, 0.2f},    {4, 250, 350, 6, 1, 1000, 0, 0.05f},
    {5, 150, 600, 12, 150, 700, 4, 0.1f}, {6, 40, 30, 3, 2, 2, 2, 0.05f},
};

TEST(Invariants, EveryRefinerOnGeneratedHypergraphs) {
  for (const Config &c : kConfigs) {
    for (Refiner r : {kFM, kFM2, kEEFM, kEEFM2, kOneWay, kBalance, kFlow}) {
      SCOPED_TRACE(c.seed);
      HGraph *g = r2test::Random(c.seed, c.nvtxs, c.nhedges, c.maxsize, c.maxcw, c.maxnw, c.nfixed);
      PartCtrl ctrl = r2test::Ctrl();
      ctrl.run->now.UBfactor = c.ubfactor;
      testrun::Seed(c.seed * 7 + r);
      Greedy(g);
      CheckRefiner(r, g, ctrl, true);
      // Again from an unbalanced bisection: balancing first, as the uncoarsening does.
      Lopsided(g);
      if (r != kBalance) {
        Balance__(&ctrl, g);
        r2test::ExpectCutAndWeightsExact(g);
      }
      CheckRefiner(r, g, ctrl, false);
      FreeHGraph__(g);
    }
  }
}

TEST(Invariants, RefinersOnBenchmark) {
  HGraph *g = r2test::ReadBench("ibm01.hgr");
  if (g == nullptr)
    GTEST_SKIP() << "benchmark hypergraph ibm01.hgr absent from " << HYPRA_BENCH_DIR;
  for (Refiner r : {kFM, kEEFM, kOneWay, kFlow}) {
    PartCtrl ctrl = r2test::Ctrl();
    testrun::Seed(5);
    Greedy(g);
    CheckRefiner(r, g, ctrl, true);
  }
  PartCtrl ctrl = r2test::Ctrl();
  Lopsided(g);
  CheckRefiner(kBalance, g, ctrl, false);
  EXPECT_TRUE(r2test::Balanced(g, ctrl));
  FreeHGraph__(g);

  g = r2test::ReadBench("ibm02.weight.hgr");
  if (g == nullptr)
    GTEST_SKIP() << "benchmark hypergraph ibm02.weight.hgr absent from " << HYPRA_BENCH_DIR;
  ctrl = r2test::Ctrl();
  testrun::Seed(9);
  Greedy(g);
  CheckRefiner(kFM2, g, ctrl, true);
  FreeHGraph__(g);
}

// The flow step after FM: on a bisection that FM has settled it still finds a lower cut, and
// reports exactly what it took off; with sides meant to hold one third and two thirds it keeps
// both sides' own bounds.
TEST(Invariants, FlowsAfterFMLowerTheCutWithinEitherTarget) {
  for (float target : {0.5f, 1.0f / 3}) {
    SCOPED_TRACE(target);
    HGraph *g = r2test::Random(21, 2000, 2600, 6, 3, 3, 5);
    PartCtrl ctrl = r2test::Ctrl();
    ctrl.run->now.TargetFrac = target;
    testrun::Seed(3);
    for (int v = 0; v < g->nvtxs; v++) g->where[v] = v % 3 == 0 ? 0 : 1;
    if (target == 0.5f) Greedy(g);
    ComputeInitGains__(g);
    Balance__(&ctrl, g);
    Refine_FM__(&ctrl, g, 10);
    ASSERT_TRUE(r2test::Balanced(g, ctrl));
    const std::vector<int> before = Where(g);
    const int cut = g->mincut;
    const int gain = FlowRefineBisection__(&ctrl, g);
    EXPECT_GT(gain, 0);
    EXPECT_EQ(g->mincut, cut - gain);
    r2test::ExpectCutAndWeightsExact(g);
    r2test::ExpectGainsExact(g);
    EXPECT_TRUE(r2test::Balanced(g, ctrl));
    for (int v = 0; v < g->nfixed; v++) EXPECT_EQ(g->where[v], before[v]) << "fixed vertex " << v;
    FreeHGraph__(g);
  }
}

// Coarsening, initial bisection and uncoarsening end to end.
void Multilevel(HGraph *g, int rtype, bool flows = false) {
  RVfree__(&g->where, &g->gain, &g->ndeg[0], &g->ndeg[1]);
  PartCtrl ctrl = r2test::Ctrl();
  ctrl.run->now.RType = rtype;
  const int total = iasum__(g->nvtxs, g->cellwgt);
  ctrl.run->now.MaxCellWgt = 2 * total / ctrl.run->now.CoarsenTo;
  HGraph *coarsest = Coarsen__(&ctrl, g);
  InitPartition__(&ctrl, coarsest);
  const int initcut = coarsest->mincut;
  Refine__(&ctrl, g, coarsest, flows);
  EXPECT_EQ(g->coarser, nullptr);
  EXPECT_EQ(g->nislands, 0);
  const r2test::State s = r2test::Reference(g);
  EXPECT_EQ(g->mincut, s.cut);
  EXPECT_LE(g->mincut, initcut);
  EXPECT_TRUE(r2test::Balanced(g, ctrl) || rtype == 10);
}

TEST(Invariants, MultilevelOnGeneratedHypergraph) {
  for (int rtype : {1, 2, 3, 5}) {
    SCOPED_TRACE(rtype);
    HGraph *g = r2test::Random(11, 3000, 4000, 6, 1, 2);
    testrun::Seed(rtype);
    Multilevel(g, rtype);
    FreeHGraph__(g);
  }
}

TEST(Invariants, MultilevelWithFlowsOnGeneratedHypergraph) {
  for (int rtype : {1, 3}) {
    SCOPED_TRACE(rtype);
    HGraph *g = r2test::Random(13, 3000, 4000, 6, 2, 2, 4);
    testrun::Seed(rtype);
    Multilevel(g, rtype, true);
    FreeHGraph__(g);
  }
}

TEST(Invariants, MultilevelOnBenchmark) {
  HGraph *g = r2test::ReadBench("ibm01.hgr");
  if (g == nullptr)
    GTEST_SKIP() << "benchmark hypergraph ibm01.hgr absent from " << HYPRA_BENCH_DIR;
  testrun::Seed(1);
  Multilevel(g, 3);
  FreeHGraph__(g);
}

}  // namespace
