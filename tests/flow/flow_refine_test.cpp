// The whole refinement on random hypergraphs with weights and fixed vertices, k = 2 .. 5.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "flow/flow.h"
#include "flow_test_util.h"

using namespace hypra;
using namespace flowtest;

namespace {

struct Case {
  Instance in;
  int nparts;
  long long bound;
  std::vector<int> part, fixed;
};

Case RandomCase(Lcg &rng, int nparts) {
  Case c;
  c.nparts = nparts;
  const int nvtxs = 30 + rng.Next(70);
  c.in = RandomInstance(rng, nvtxs, nvtxs / 2 + rng.Next(nvtxs), 6, 4, 6);
  const long long total = TotalWeight(c.in);
  const long long even = (total + nparts - 1) / nparts;
  c.bound = even + even * (1 + rng.Next(10)) / 100 + 4;  // room for the heaviest vertex
  c.part = RandomPartition(rng, c.in, nparts, c.bound);
  c.fixed.assign(nvtxs, -1);
  for (int v = 0; v < nvtxs; v++)
    if (rng.Next(10) == 0) c.fixed[v] = c.part[v];
  return c;
}

FlowSettings Settings(const Case &c, int objective, double scale) {
  return FlowSettings{objective, c.bound, scale, 8};
}

TEST(FlowRefine, NeverWorseNeverAboveTheBoundFixedVerticesStay) {
  Lcg rng(5);
  long long totalgain = 0;
  int improvedk2 = 0;
  for (int trial = 0; trial < 240; trial++) {
    const int nparts = 2 + trial % 4;
    const int objective = (trial / 4) % 2 == 0 ? FLOW_OBJ_CUT : FLOW_OBJ_KM1;
    const double scale = (trial / 8) % 2 == 0 ? 16.0 : 1.0;
    Case c = RandomCase(rng, nparts);
    HGraph *g = ToGraph(c.in, trial % 3 != 0);
    const std::vector<long long> w0 = PartWeights(c.in, c.part, nparts);
    bool met = true;
    for (long long w : w0) met &= w <= c.bound;
    const long long before = Objective(c.in, c.part, objective);
    std::vector<int> part = c.part;
    const long long gain = FlowRefine__(nullptr, g, nparts, part.data(), c.fixed.data(),
                                        Settings(c, objective, scale));
    const long long after = Objective(c.in, part, objective);
    EXPECT_GE(gain, 0);
    EXPECT_EQ(gain, before - after) << "trial " << trial;
    const std::vector<long long> w = PartWeights(c.in, part, nparts);
    for (int p = 0; p < nparts; p++) {
      if (met) {
        EXPECT_LE(w[p], c.bound) << "trial " << trial;
      }
      EXPECT_LE(w[p], std::max(c.bound, w0[p])) << "trial " << trial;
    }
    for (int v = 0; v < c.in.nvtxs; v++) {
      ASSERT_GE(part[v], 0);
      ASSERT_LT(part[v], nparts);
      if (c.fixed[v] >= 0) {
        EXPECT_EQ(part[v], c.fixed[v]) << "trial " << trial;
      }
    }
    totalgain += gain;
    improvedk2 += nparts == 2 && gain > 0;
    FreeHGraph__(g);
  }
  // Random partitions leave a lot to gain.
  EXPECT_GT(totalgain, 1000);
  EXPECT_GT(improvedk2, 40);
}

TEST(FlowRefine, SameInputSameOutput) {
  Lcg rng(9);
  for (int trial = 0; trial < 40; trial++) {
    const int nparts = 2 + trial % 4;
    const int objective = trial % 2 == 0 ? FLOW_OBJ_CUT : FLOW_OBJ_KM1;
    Case c = RandomCase(rng, nparts);
    // With and without incidence lists of its own the hypergraph is the same.
    HGraph *g1 = ToGraph(c.in, true);
    HGraph *g2 = ToGraph(c.in, false);
    std::vector<int> p1 = c.part, p2 = c.part, p3 = c.part;
    const FlowSettings s = Settings(c, objective, 16.0);
    const long long a = FlowRefine__(nullptr, g1, nparts, p1.data(), c.fixed.data(), s);
    const long long b = FlowRefine__(nullptr, g1, nparts, p2.data(), c.fixed.data(), s);
    const long long d = FlowRefine__(nullptr, g2, nparts, p3.data(), c.fixed.data(), s);
    EXPECT_EQ(a, b);
    EXPECT_EQ(a, d);
    EXPECT_EQ(p1, p2);
    EXPECT_EQ(p1, p3);
    FreeHGraph__(g1);
    FreeHGraph__(g2);
  }
}

TEST(FlowRefine, WithoutFixedVerticesOrWeights) {
  Lcg rng(31);
  for (int trial = 0; trial < 60; trial++) {
    const int nparts = 2 + trial % 4;
    Case c = RandomCase(rng, nparts);
    c.in.cellwgt.assign(c.in.nvtxs, 1);
    c.in.netwgt.assign(c.in.nets.size(), 1);
    const long long even = (c.in.nvtxs + nparts - 1) / nparts;
    c.bound = even + even / 20 + 1;
    c.part = RandomPartition(rng, c.in, nparts, c.bound);
    HGraph *g = testhg::NetsOnly(c.in.nvtxs, c.in.nets);
    RVfree__(&g->netwgt);  // null arrays: unit weights
    const long long before = Objective(c.in, c.part, FLOW_OBJ_KM1);
    std::vector<int> part = c.part;
    const long long gain = FlowRefine__(nullptr, g, nparts, part.data(), nullptr,
                                        FlowSettings{FLOW_OBJ_KM1, c.bound, 16.0, 8});
    EXPECT_EQ(gain, before - Objective(c.in, part, FLOW_OBJ_KM1));
    for (long long w : PartWeights(c.in, part, nparts)) EXPECT_LE(w, c.bound);
    FreeHGraph__(g);
  }
}

// Bounds that differ per part (a bisection into one part and two, say): no part ends above its
// own bound, a uniform bound between the two would be wrong for both, and the objective never
// gets worse.
TEST(FlowRefine, PerPartBoundsAreEachKept) {
  Lcg rng(47);
  long long totalgain = 0;
  for (int trial = 0; trial < 120; trial++) {
    const int nparts = 2 + trial % 3;
    const int objective = trial % 2 == 0 ? FLOW_OBJ_CUT : FLOW_OBJ_KM1;
    Case c = RandomCase(rng, nparts);
    const long long total = TotalWeight(c.in);
    // Part 0 is meant to hold one share, the others two each.
    const int shares = 2 * nparts - 1;
    std::vector<long long> caps(nparts);
    for (int p = 0; p < nparts; p++)
      caps[p] = total * (p == 0 ? 1 : 2) / shares + total * (1 + rng.Next(6)) / 100 + 4;
    // A start within those bounds: vertices in random order, each into a part with room.
    std::vector<int> order(c.in.nvtxs);
    for (int v = 0; v < c.in.nvtxs; v++) order[v] = v;
    for (int i = c.in.nvtxs - 1; i > 0; i--) std::swap(order[i], order[rng.Next(i + 1)]);
    std::vector<long long> w(nparts, 0);
    for (int v : order) {
      int p = rng.Next(nparts);
      while (w[p] + c.in.cellwgt[v] > caps[p]) p = (p + 1) % nparts;
      c.part[v] = p;
      w[p] += c.in.cellwgt[v];
    }
    for (int v = 0; v < c.in.nvtxs; v++)
      if (c.fixed[v] >= 0) c.fixed[v] = c.part[v];
    HGraph *g = ToGraph(c.in, trial % 2 == 0);
    const long long before = Objective(c.in, c.part, objective);
    std::vector<int> part = c.part;
    FlowSettings s{objective, 0, 16.0, 8};  // maxpartwgt 0: only the per-part bounds may count
    s.partcap = caps.data();
    const long long gain = FlowRefine__(nullptr, g, nparts, part.data(), c.fixed.data(), s);
    EXPECT_GE(gain, 0);
    EXPECT_EQ(gain, before - Objective(c.in, part, objective)) << "trial " << trial;
    const std::vector<long long> after = PartWeights(c.in, part, nparts);
    for (int p = 0; p < nparts; p++) EXPECT_LE(after[p], caps[p]) << "trial " << trial;
    for (int v = 0; v < c.in.nvtxs; v++)
      if (c.fixed[v] >= 0) {
        EXPECT_EQ(part[v], c.fixed[v]) << "trial " << trial;
      }
    totalgain += gain;
    FreeHGraph__(g);
  }
  EXPECT_GT(totalgain, 500);
}

// A part already above the bound never grows, and no other part goes above it.
TEST(FlowRefine, AnOverweightInputDoesNotGetWorse) {
  Lcg rng(41);
  for (int trial = 0; trial < 60; trial++) {
    const int nparts = 2 + trial % 3;
    Case c = RandomCase(rng, nparts);
    for (int v = 0; v < c.in.nvtxs / 2; v++)
      if (c.fixed[v] < 0) c.part[v] = 0;
    const std::vector<long long> w0 = PartWeights(c.in, c.part, nparts);
    HGraph *g = ToGraph(c.in, true);
    std::vector<int> part = c.part;
    FlowRefine__(nullptr, g, nparts, part.data(), c.fixed.data(), Settings(c, FLOW_OBJ_CUT, 16.0));
    const std::vector<long long> w = PartWeights(c.in, part, nparts);
    for (int p = 0; p < nparts; p++) EXPECT_LE(w[p], std::max(c.bound, w0[p]));
    FreeHGraph__(g);
  }
}

}  // namespace

namespace {

// A start for the benchmark runs: vertices in breadth-first order through the hyperedges, cut
// into k runs of about even weight.
std::vector<int> BreadthFirstChunks(const Instance &in, int nparts) {
  std::vector<std::vector<int>> incident(in.nvtxs);
  for (size_t e = 0; e < in.nets.size(); e++)
    for (int v : in.nets[e]) incident[v].push_back(static_cast<int>(e));
  std::vector<int> order, part(in.nvtxs, -1);
  std::vector<char> seen(in.nvtxs, 0), used(in.nets.size(), 0);
  for (int r = 0; r < in.nvtxs; r++) {
    if (seen[r]) continue;
    seen[r] = 1;
    order.push_back(r);
    for (size_t i = order.size() - 1; i < order.size(); i++)
      for (int e : incident[order[i]]) {
        if (used[e]) continue;
        used[e] = 1;
        for (int u : in.nets[e])
          if (!seen[u]) {
            seen[u] = 1;
            order.push_back(u);
          }
      }
  }
  const long long even = (TotalWeight(in) + nparts - 1) / nparts;
  long long filled = 0;
  int p = 0;
  for (int v : order) {
    if (filled + in.cellwgt[v] > even && p + 1 < nparts && filled > 0) {
      p++;
      filled = 0;
    }
    part[v] = p;
    filled += in.cellwgt[v];
  }
  return part;
}

void RunOnBenchmark(const char *name, int nparts, int objective) {
  const std::string path = std::string(HYPRA_BENCH_DIR) + "/" + name;
  const auto bench = testhg::ReadBench(path);
  if (!bench) GTEST_SKIP() << "benchmark hypergraph " << path << " absent";
  Instance in;
  in.nvtxs = bench->nvtxs;
  in.nets = bench->nets;
  in.netwgt = bench->netwgt;
  in.cellwgt = bench->cellwgt;
  const std::vector<int> start = BreadthFirstChunks(in, nparts);
  const long long even = (TotalWeight(in) + nparts - 1) / nparts;
  const long long bound = even * 103 / 100;
  HGraph *g = ToGraph(in, false);
  std::vector<int> part = start;
  const long long before = Objective(in, start, objective);
  const long long gain = FlowRefine__(nullptr, g, nparts, part.data(), nullptr,
                                      FlowSettings{objective, bound, 16.0, 4});
  const long long after = Objective(in, part, objective);
  std::printf("%s k=%d objective %d: %lld -> %lld\n", name, nparts, objective, before, after);
  EXPECT_EQ(gain, before - after);
  EXPECT_GT(gain, 0);
  const std::vector<long long> w0 = PartWeights(in, start, nparts);
  const std::vector<long long> w = PartWeights(in, part, nparts);
  for (int p = 0; p < nparts; p++) EXPECT_LE(w[p], std::max(bound, w0[p]));
  FreeHGraph__(g);
}

TEST(FlowBenchmark, Ibm01CutEightParts) {
  RunOnBenchmark("ibm01.hgr", 8, FLOW_OBJ_CUT);
}

TEST(FlowBenchmark, Ibm01WeightedConnectivityFiveParts) {
  RunOnBenchmark("ibm01.weight.hgr", 5, FLOW_OBJ_KM1);
}

}  // namespace

namespace {

// Odd shapes: single-pin and empty hyperedges, a repeated pin, empty parts, every vertex fixed,
// no rounds at all.
TEST(FlowRefine, OddInputs) {
  Instance in;
  in.nvtxs = 8;
  in.nets = {{0}, {}, {0, 1, 1}, {1, 2}, {2, 3, 4}, {4, 5}, {5, 6, 7}, {0, 7}, {3, 3}};
  in.netwgt = {5, 1, 2, 3, 1, 2, 4, 1, 7};
  in.cellwgt = {1, 2, 1, 1, 3, 1, 1, 2};
  HGraph *g = ToGraph(in, false);
  const std::vector<int> start = {0, 3, 0, 3, 0, 3, 0, 3};
  for (int objective : {FLOW_OBJ_CUT, FLOW_OBJ_KM1}) {
    const long long before = Objective(in, start, objective);
    std::vector<int> part = start;
    // Parts 1 and 2 stay empty; the bound leaves room for any split.
    long long gain =
        FlowRefine__(nullptr, g, 5, part.data(), nullptr, FlowSettings{objective, 12, 16.0, 8});
    EXPECT_EQ(gain, before - Objective(in, part, objective));
    EXPECT_GT(gain, 0);
    for (long long w : PartWeights(in, part, 5)) EXPECT_LE(w, 12);

    std::vector<int> fixed = start;
    part = start;
    gain = FlowRefine__(nullptr, g, 5, part.data(), fixed.data(),
                        FlowSettings{objective, 12, 16.0, 8});
    EXPECT_EQ(gain, 0);
    EXPECT_EQ(part, start);

    gain = FlowRefine__(nullptr, g, 5, part.data(), nullptr, FlowSettings{objective, 12, 16.0, 0});
    EXPECT_EQ(gain, 0);
    EXPECT_EQ(part, start);
  }
  FreeHGraph__(g);

  // No hyperedges at all.
  Instance bare;
  bare.nvtxs = 4;
  bare.cellwgt = {1, 1, 1, 1};
  HGraph *h = testhg::NetsOnly(4, {});
  std::vector<int> part = {0, 1, 0, 1};
  EXPECT_EQ(FlowRefine__(nullptr, h, 2, part.data(), nullptr, FlowSettings{1, 2, 16.0, 8}), 0);
  EXPECT_EQ(part, (std::vector<int>{0, 1, 0, 1}));
  FreeHGraph__(h);
}

}  // namespace
