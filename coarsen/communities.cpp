// Communities: groups of vertices more densely connected among themselves than the hypergraph's
// degrees would predict, found by modularity optimisation (local moving of single vertices, then
// of whole communities on the aggregated graph). A hyperedge counts as a clique whose pairs each
// weigh netwgt / (pins - 1), so every vertex's degree is the weight of its hyperedges; hyperedges
// with more pins than the caller's limit are left out, they say little about which vertices
// belong together.
//
// Coarsening that never groups across communities keeps the first levels from blurring a
// structure that a good partition follows, and the vertices it cannot group any more are the
// communities themselves.
#include <algorithm>
#include <vector>

#include "coarsen/coarsen.h"

namespace hypra {

namespace {

// Local moving stops after this many sweeps, or once a sweep moves fewer than one vertex in
// kSettledFraction.
constexpr int kMaxSweeps = 20;
constexpr int kSettledFraction = 1000;

// The aggregated graph of a level: adjacency with weights, and the weight inside each node.
struct WeightedGraph {
  int n = 0;
  std::vector<int> ptr, adj;
  std::vector<double> wgt;
  std::vector<double> inside;
};

// Neighbours of a hypergraph vertex in the clique expansion. A neighbour met through several
// hyperedges is visited once per hyperedge. The view lists each vertex's hyperedges itself: the
// levels of a recursion are handed on without those lists.
struct CliqueView {
  const HGraph *graph;
  int maxpins;
  std::vector<int> incptr, incind;

  CliqueView(const HGraph *g, int limit)
      : graph(g), maxpins(limit), incptr(g->nvtxs + 1), incind(g->netptr[g->nhedges]) {
    BuildIncidence__(g->nvtxs, g->nhedges, g->netptr, g->netind, incptr.data(), incind.data());
  }
  int n() const { return graph->nvtxs; }
  double Inside(int) const { return 0; }
  template <typename F>
  void ForEachNeighbour(int v, F f) const {
    const int *netptr = graph->netptr, *netind = graph->netind;
    for (int j = incptr[v]; j < incptr[v + 1]; j++) {
      const int e = incind[j];
      const int size = netptr[e + 1] - netptr[e];
      if (size < 2 || size > maxpins) continue;
      const double w = static_cast<double>(graph->netwgt[e]) / (size - 1);
      for (int t = netptr[e]; t < netptr[e + 1]; t++)
        if (netind[t] != v) f(netind[t], w);
    }
  }
};

struct AggregateView {
  const WeightedGraph *g;
  int n() const { return g->n; }
  double Inside(int v) const { return g->inside[v]; }
  template <typename F>
  void ForEachNeighbour(int v, F f) const {
    for (int j = g->ptr[v]; j < g->ptr[v + 1]; j++) f(g->adj[j], g->wgt[j]);
  }
};

// Scratch of one level: the weight from the vertex being moved to each community it touches.
struct Touch {
  std::vector<double> weight;
  std::vector<int> list;
  explicit Touch(int n) : weight(n, 0.0) {}
  void Add(int c, double w) {
    if (weight[c] == 0) list.push_back(c);
    weight[c] += w;
  }
  void Clear() {
    for (int c : list) weight[c] = 0;
    list.clear();
  }
};

// Moves vertices, in order, to the neighbouring community of the largest modularity gain while
// that is positive. comm[v] starts as v. Returns the number of communities left, renumbered
// 0 .. count-1 in order of their first vertex.
template <typename View>
int MoveVertices(const View &view, std::vector<int> &comm) {
  const int n = view.n();
  std::vector<double> degree(n, 0.0);
  double total = 0;
  for (int v = 0; v < n; v++) {
    double d = 2 * view.Inside(v);
    view.ForEachNeighbour(v, [&](int, double w) { d += w; });
    degree[v] = d;
    total += d;
  }
  comm.resize(n);
  for (int v = 0; v < n; v++) comm[v] = v;
  if (total <= 0) return n;

  std::vector<double> tot(degree);
  Touch touch(n);
  for (int sweep = 0; sweep < kMaxSweeps; sweep++) {
    int moved = 0;
    for (int v = 0; v < n; v++) {
      const int own = comm[v];
      view.ForEachNeighbour(v, [&](int u, double w) { touch.Add(comm[u], w); });
      tot[own] -= degree[v];
      const double scale = degree[v] / total;
      int best = own;
      double bestgain = touch.weight[own] - tot[own] * scale;
      for (int c : touch.list) {
        const double gain = touch.weight[c] - tot[c] * scale;
        if (gain > bestgain + 1e-12) {
          bestgain = gain;
          best = c;
        }
      }
      touch.Clear();
      tot[best] += degree[v];
      if (best != own) {
        comm[v] = best;
        moved++;
      }
    }
    if (moved == 0 || moved < n / kSettledFraction) break;
  }

  std::vector<int> number(n, -1);
  int count = 0;
  for (int v = 0; v < n; v++) {
    if (number[comm[v]] == -1) number[comm[v]] = count++;
    comm[v] = number[comm[v]];
  }
  return count;
}

// The graph whose nodes are the communities of view's vertices.
template <typename View>
WeightedGraph Aggregate(const View &view, const std::vector<int> &comm, int count) {
  const int n = view.n();
  std::vector<int> start(count + 1, 0), members(n);
  for (int v = 0; v < n; v++) start[comm[v] + 1]++;
  for (int c = 0; c < count; c++) start[c + 1] += start[c];
  std::vector<int> fill(start.begin(), start.end() - 1);
  for (int v = 0; v < n; v++) members[fill[comm[v]]++] = v;

  WeightedGraph g;
  g.n = count;
  g.ptr.assign(count + 1, 0);
  g.inside.assign(count, 0.0);
  Touch touch(count);
  for (int c = 0; c < count; c++) {
    for (int i = start[c]; i < start[c + 1]; i++) {
      const int v = members[i];
      g.inside[c] += view.Inside(v);
      view.ForEachNeighbour(v, [&](int u, double w) {
        // Each inner pair is met from both ends.
        if (comm[u] == c)
          g.inside[c] += w / 2;
        else
          touch.Add(comm[u], w);
      });
    }
    std::sort(touch.list.begin(), touch.list.end());
    for (int d : touch.list) {
      g.adj.push_back(d);
      g.wgt.push_back(touch.weight[d]);
    }
    touch.Clear();
    g.ptr[c + 1] = static_cast<int>(g.adj.size());
  }
  return g;
}

}  // namespace

int FindCommunities__(const HGraph *graph, int levels, int maxpins, int *community) {
  std::vector<int> comm;
  const CliqueView clique(graph, maxpins);
  int count = MoveVertices(clique, comm);
  for (int v = 0; v < graph->nvtxs; v++) community[v] = comm[v];
  WeightedGraph current;
  for (int level = 1; level < levels && count > 1; level++) {
    current = level == 1 ? Aggregate(clique, comm, count)
                         : Aggregate(AggregateView{&current}, comm, count);
    const int next = MoveVertices(AggregateView{&current}, comm);
    if (next == count) break;
    for (int v = 0; v < graph->nvtxs; v++) community[v] = comm[community[v]];
    count = next;
  }
  return count;
}

}  // namespace hypra
