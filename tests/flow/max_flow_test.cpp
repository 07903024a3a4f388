// The maximum flow and its chain of minimum cuts against a plain augmenting-path flow.
#include <gtest/gtest.h>

#include <algorithm>
#include <queue>
#include <vector>

#include "flow/flow_internal.h"
#include "flow_test_util.h"

using namespace hypra;
using flowtest::Lcg;

namespace {

// Shortest augmenting paths on a capacity matrix.
long long ReferenceFlow(int n, std::vector<std::vector<long long>> cap, int s, int t) {
  long long total = 0;
  for (;;) {
    std::vector<int> prev(n, -1);
    prev[s] = s;
    std::queue<int> q;
    q.push(s);
    while (!q.empty() && prev[t] < 0) {
      const int u = q.front();
      q.pop();
      for (int v = 0; v < n; v++)
        if (cap[u][v] > 0 && prev[v] < 0) {
          prev[v] = u;
          q.push(v);
        }
    }
    if (prev[t] < 0) return total;
    long long f = kFlowInfinity;
    for (int v = t; v != s; v = prev[v]) f = std::min(f, cap[prev[v]][v]);
    for (int v = t; v != s; v = prev[v]) {
      cap[prev[v]][v] -= f;
      cap[v][prev[v]] += f;
    }
    total += f;
  }
}

struct Arc {
  int u, v;
  long long cap, back;
};

void Build(FlowNetwork *net, int n, const std::vector<Arc> &arcs) {
  StartFlowNetwork__(net, n, 0, n - 1);
  for (const Arc &a : arcs) AddFlowArc__(net, a.u, a.v, a.cap, a.back);
  FinishFlowNetwork__(net);
}

// Capacity of the arcs leaving the node set `inside`, with the capacities before the flow.
long long CutCapacity(const FlowNetwork &net, const std::vector<long long> &original,
                      const std::vector<char> &inside) {
  long long total = 0;
  for (int u = 0; u < net.nnodes; u++)
    for (int a = net.first[u]; a < net.first[u + 1]; a++)
      if (inside[u] && !inside[net.head[a]]) total += original[a];
  return total;
}

TEST(MaxFlow, EqualsAugmentingPathsAndEveryCutOfTheChainIsMinimum) {
  Lcg rng(7);
  int nontrivial = 0, chains = 0;
  for (int trial = 0; trial < 600; trial++) {
    const int n = 2 + rng.Next(11);
    const int narcs = rng.Next(4 * n);
    std::vector<Arc> arcs;
    std::vector<std::vector<long long>> matrix(n, std::vector<long long>(n, 0));
    for (int i = 0; i < narcs; i++) {
      const int u = rng.Next(n), v = rng.Next(n);
      if (u == v) continue;
      const long long c = rng.Next(6) == 0 ? 1000 : rng.Next(10);
      const long long back = rng.Next(3) == 0 ? rng.Next(10) : 0;
      arcs.push_back({u, v, c, back});
      matrix[u][v] += c;
      matrix[v][u] += back;
    }
    FlowNetwork net;
    Build(&net, n, arcs);
    const std::vector<long long> original = net.cap;
    const long long flow = MaxFlow__(&net);
    ASSERT_EQ(flow, ReferenceFlow(n, matrix, 0, n - 1)) << "trial " << trial;
    nontrivial += flow > 0;

    MinCutChain chain;
    ComputeMinCutChain__(net, &chain);
    EXPECT_EQ(chain.piece[0], 0);
    EXPECT_EQ(chain.piece[n - 1], chain.npieces + 1);
    chains += chain.npieces > 0;
    for (int i = 0; i <= chain.npieces; i++) {
      std::vector<char> inside(n);
      for (int u = 0; u < n; u++) inside[u] = chain.piece[u] <= i;
      EXPECT_EQ(CutCapacity(net, original, inside), flow) << "trial " << trial << " cut " << i;
    }
  }
  EXPECT_GT(nontrivial, 100);
  EXPECT_GT(chains, 50);
}

// A path of 300000 nodes: every search walks it end to end, deeper than any call stack would.
TEST(MaxFlow, LongPathsNeedNoRecursion) {
  const int n = 300000;
  std::vector<Arc> arcs;
  arcs.push_back({0, 1, 1, 0});
  for (int u = 1; u + 2 < n; u++) arcs.push_back({u, u + 1, 5, 0});
  arcs.push_back({n - 2, n - 1, 1, 0});
  FlowNetwork net;
  Build(&net, n, arcs);
  EXPECT_EQ(MaxFlow__(&net), 1);
  // Both end arcs are full; the inner nodes form one strongly connected set of the residual
  // network, so the chain has the smallest cut, that set, and the largest.
  MinCutChain chain;
  ComputeMinCutChain__(net, &chain);
  EXPECT_EQ(chain.npieces, 1);
  EXPECT_EQ(chain.piece[n / 2], 1);
  EXPECT_EQ(chain.piece[n - 1], 2);
}

TEST(MaxFlow, NoPathMeansNoFlow) {
  FlowNetwork net;
  Build(&net, 4, {{0, 1, 3, 0}, {2, 3, 3, 0}});
  EXPECT_EQ(MaxFlow__(&net), 0);
  MinCutChain chain;
  ComputeMinCutChain__(net, &chain);
  EXPECT_EQ(chain.piece[1], 0);
  EXPECT_EQ(chain.piece[2], chain.npieces + 1);
}

}  // namespace
