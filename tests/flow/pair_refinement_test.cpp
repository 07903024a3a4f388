// One pair of parts on tiny hypergraphs, against every assignment of the region's vertices.
#include <gtest/gtest.h>

#include <vector>

#include "flow/flow_internal.h"
#include "flow_test_util.h"

using namespace hypra;
using namespace flowtest;

namespace {

struct Tiny {
  Instance in;
  std::vector<int> part, fixed;
  int nparts;
};

// Up to 14 vertices; a few are fixed where they are, at least one in each of parts 0 and 1 so
// that both ends of the network hold something.
Tiny RandomTiny(Lcg &rng, int nparts) {
  Tiny t;
  t.nparts = nparts;
  const int nvtxs = 6 + rng.Next(9);
  t.in = RandomInstance(rng, nvtxs, 3 + rng.Next(10), 4, 3, 5);
  t.part.resize(nvtxs);
  for (int v = 0; v < nvtxs; v++) t.part[v] = v < nparts ? v : rng.Next(nparts);
  t.fixed.assign(nvtxs, -1);
  t.fixed[0] = 0;
  t.fixed[1] = 1;
  for (int v = 2; v < nvtxs; v++)
    if (rng.Next(6) == 0) t.fixed[v] = t.part[v];
  return t;
}

// The best objective over all moves of the region's vertices between parts 0 and 1 (every other
// vertex where it is) that keep parts 0 and 1 within caps.
long long BruteForce(const Tiny &t, const std::vector<int> &region, int objective, long long cap0,
                     long long cap1) {
  const int n = static_cast<int>(region.size());
  long long best = -1;
  std::vector<int> part = t.part;
  for (long long mask = 0; mask < (1LL << n); mask++) {
    for (int i = 0; i < n; i++) part[region[i]] = (mask >> i) & 1;
    const std::vector<long long> w = PartWeights(t.in, part, t.nparts);
    if (w[0] > cap0 || w[1] > cap1) continue;
    const long long obj = Objective(t.in, part, objective);
    if (best < 0 || obj < best) best = obj;
  }
  return best;
}

// With room for everything, the region holds every movable vertex the boundary reaches, and the
// flow finds the best of all assignments of the region that keep the rest in place.
TEST(PairRefinement, FlowReachesTheBruteForceMinimum) {
  Lcg rng(11);
  int improved = 0;
  for (int trial = 0; trial < 400; trial++) {
    const int nparts = 2 + trial % 2;
    const int objective = trial % 4 < 2 ? FLOW_OBJ_CUT : FLOW_OBJ_KM1;
    Tiny t = RandomTiny(rng, nparts);
    HGraph *g = ToGraph(t.in, trial % 3 != 0);
    const long long total = TotalWeight(t.in);
    std::vector<int> part = t.part;
    FlowContext ctx;
    InitFlowContext__(&ctx, g, nparts, part.data(), t.fixed.data(), objective, total);
    const long long before = FlowObjective__(&ctx);
    ASSERT_EQ(before, Objective(t.in, t.part, objective));

    GrowPairRegion__(&ctx, 0, 1, total, total);
    const std::vector<int> region = ctx.region;
    for (int v : region) {
      EXPECT_EQ(t.fixed[v], -1);
      EXPECT_LT(t.part[v], 2);
    }
    const long long best = BruteForce(t, region, objective, total, total);
    if (!region.empty()) {
      const long long oldcut = BuildPairNetwork__(&ctx, 0, 1);
      const long long flow = MaxFlow__(&ctx.net);
      EXPECT_EQ(before - oldcut + flow, best) << "trial " << trial;
    }
    ClearPairRegion__(&ctx);

    const PairOutcome outcome = RefinePairOnce__(&ctx, 0, 1, 1e9);
    EXPECT_EQ(Objective(t.in, part, objective), best) << "trial " << trial;
    EXPECT_EQ(outcome.gain, before - best);
    improved += best < before;
    for (int v = 0; v < t.in.nvtxs; v++) {
      if (t.fixed[v] >= 0 || t.part[v] >= 2) {
        EXPECT_EQ(part[v], t.part[v]);
      }
    }
    FreeHGraph__(g);
  }
  EXPECT_GT(improved, 100);
}

// Under a bound the result fits it, is no worse than before and no better than the best
// assignment that fits.
TEST(PairRefinement, BoundedStepFitsAndIsBetweenStartAndBruteForce) {
  Lcg rng(23);
  int improved = 0;
  for (int trial = 0; trial < 400; trial++) {
    const int nparts = 2 + trial % 2;
    const int objective = trial % 4 < 2 ? FLOW_OBJ_CUT : FLOW_OBJ_KM1;
    Tiny t = RandomTiny(rng, nparts);
    HGraph *g = ToGraph(t.in, true);
    const std::vector<long long> w0 = PartWeights(t.in, t.part, nparts);
    const long long bound = (w0[0] + w0[1] + 1) / 2 + rng.Next(4);
    std::vector<int> part = t.part;
    FlowContext ctx;
    InitFlowContext__(&ctx, g, nparts, part.data(), t.fixed.data(), objective, bound);
    const long long before = FlowObjective__(&ctx);
    const double scale = trial % 5 == 0 ? 1.0 : 16.0;
    const PairOutcome outcome = RefinePair__(&ctx, 0, 1, scale);
    const long long after = Objective(t.in, part, objective);
    EXPECT_LE(after, before);
    EXPECT_EQ(outcome.gain, before - after);
    const std::vector<long long> w = PartWeights(t.in, part, nparts);
    EXPECT_LE(w[0], std::max(bound, w0[0]));
    EXPECT_LE(w[1], std::max(bound, w0[1]));
    // Every vertex of 0 and 1 that may move could have been in the region.
    std::vector<int> movable;
    for (int v = 0; v < t.in.nvtxs; v++)
      if (t.fixed[v] < 0 && t.part[v] < 2) movable.push_back(v);
    EXPECT_GE(after,
              BruteForce(t, movable, objective, std::max(bound, w0[0]), std::max(bound, w0[1])));
    improved += after < before;
    FreeHGraph__(g);
  }
  EXPECT_GT(improved, 50);
}

}  // namespace
