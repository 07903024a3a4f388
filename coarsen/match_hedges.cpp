// Hyperedge-based grouping: whole hyperedges first, heaviest and then smallest first, optionally
// the free part of mostly free hyperedges, then pairs among the vertices left over.
#include <algorithm>

#include "coarsen/grouping.h"

namespace hypra {

namespace {

enum : int { HEDGES_ONLY = 0, HEDGES_EDGES = 1, HEDGES_PHEDGES_EDGES = 2 };

struct Grouping {
  int *cellmap, *mptr, *mind;
  int ngroups, nmind;

  void Add(int v) {
    cellmap[v] = ngroups;
    mind[nmind++] = v;
  }
  void Close() { mptr[++ngroups] = nmind; }
};

// Heavier hyperedges first, among equal weights the smaller ones, the rest as the random
// permutation and the sort leave them.
void HedgeOrder(const PartCtrl *ctrl, const HGraph *graph, int *perm, KeyValue *vpairs) {
  const int nhedges = graph->nhedges;
  const int *netptr = graph->netptr, *netwgt = graph->netwgt;
  RandomPermute__(&ctrl->run->rng, perm, nhedges, 1);
  for (int i = 0; i < nhedges; i++) {
    const int h = perm[i];
    // 32-bit wrap-around is accepted for very heavy hyperedges of very large hypergraphs.
    const uint32_t key = static_cast<uint32_t>(netwgt[h]) * static_cast<uint32_t>(graph->nvtxs) -
                         static_cast<uint32_t>(netptr[h + 1] - netptr[h]);
    vpairs[i].key = static_cast<int>(key);
    vpairs[i].val = h;
  }
  dkeysort__(nhedges, vpairs);
  for (int i = 0; i < nhedges; i++) perm[i] = vpairs[i].val;
}

// Pins of h that are still free go into one new group, in pin order. A repeated pin is listed
// once.
void GroupFreePins(const HGraph *graph, int h, Grouping &g) {
  for (int j = graph->netptr[h]; j < graph->netptr[h + 1]; j++) {
    const int u = graph->netind[j];
    if (g.cellmap[u] == -1) g.Add(u);
  }
  g.Close();
}

void WholeHedges(const PartCtrl *ctrl, const HGraph *graph, const int *order, Grouping &g) {
  const int *netptr = graph->netptr, *netind = graph->netind, *cellwgt = graph->cellwgt;
  for (int i = 0; i < graph->nhedges; i++) {
    const int h = order[i];
    bool free = true;
    long long wgt = 0;
    for (int j = netptr[h]; j < netptr[h + 1] && free; j++) {
      free = g.cellmap[netind[j]] == -1;
      wgt += cellwgt[netind[j]];
    }
    if (free && wgt <= ctrl->run->now.MaxCellWgt) GroupFreePins(graph, h, g);
  }
}

void PartialHedges(const PartCtrl *ctrl, const HGraph *graph, const int *order, Grouping &g) {
  const int *netptr = graph->netptr, *netind = graph->netind, *cellwgt = graph->cellwgt;
  for (int i = 0; i < graph->nhedges; i++) {
    const int h = order[i];
    int nfree = 0;
    long long wgt = 0;
    for (int j = netptr[h]; j < netptr[h + 1]; j++) {
      if (g.cellmap[netind[j]] != -1) continue;
      nfree++;
      wgt += cellwgt[netind[j]];
    }
    // Strictly more than half of the pins must be free.
    if (static_cast<double>(nfree) > 0.5 * (netptr[h + 1] - netptr[h]) &&
        wgt <= ctrl->run->now.MaxCellWgt)
      GroupFreePins(graph, h, g);
  }
}

void MatchHedges(const PartCtrl *ctrl, HGraph *graph, int *perm, int *htable, KeyValue *vpairs,
                 int scheme) {
  const int nvtxs = graph->nvtxs, nfixed = std::clamp(graph->nfixed, 0, nvtxs);
  const bool plain = scheme == HEDGES_ONLY;
  RVfree__(&graph->mptr, &graph->mind, &graph->cellmap);
  // An empty hyperedge becomes a group without members, so there can be a group per vertex and
  // one more per empty hyperedge.
  int nempty = 0;
  for (int h = 0; h < graph->nhedges; h++) nempty += graph->netptr[h + 1] == graph->netptr[h];
  Grouping g;
  g.mptr = imalloc__(static_cast<long long>(nvtxs) + 1 + nempty,
                     plain ? "Match_Hedges: graph->mptr" : "HGraphMatch: graph->mptr");
  g.mind = imalloc__(nvtxs, plain ? "Match_Hedges: graph->mind" : "HGraphMatch: graph->mind");
  g.cellmap =
      ismalloc__(nvtxs, -1, plain ? "Match_Hedges: graph->cellmap" : "HGraphMatch: graph->cellmap");
  graph->cellmap = g.cellmap;
  graph->mptr = g.mptr;
  graph->mind = g.mind;

  HedgeOrder(ctrl, graph, perm, vpairs);

  g.mptr[0] = 0;
  g.ngroups = g.nmind = 0;
  for (int v = 0; v < nfixed; v++) {
    g.Add(v);
    g.Close();
  }
  WholeHedges(ctrl, graph, perm, g);
  if (scheme == HEDGES_PHEDGES_EDGES) PartialHedges(ctrl, graph, perm, g);

  if (plain) {
    for (int v = 0; v < nvtxs; v++) {
      if (g.cellmap[v] != -1) continue;
      g.Add(v);
      g.Close();
    }
  } else {
    DegreeOrder__(ctrl, graph, perm, reinterpret_cast<int *>(vpairs));
    for (int i = 0; i < nvtxs; i++) {
      const int v = perm[i];
      if (g.cellmap[v] != -1) continue;
      const int u = FindCell__(ctrl, v, graph->incptr, graph->incind, graph->netptr, graph->netind,
                               graph->cellwgt, graph->edgewgt, g.cellmap, htable);
      g.Add(v);
      if (u != -1) g.Add(u);
      g.Close();
    }
  }
  CreateCoarseHGraph__(ctrl, graph, g.ngroups);
}

}  // namespace

void Match_Hedges__(const PartCtrl *ctrl, HGraph *graph, int *perm, int *htable, KeyValue *vpairs) {
  MatchHedges(ctrl, graph, perm, htable, vpairs, HEDGES_ONLY);
}

void Match_Hedges_Edges__(const PartCtrl *ctrl, HGraph *graph, int *perm, int *htable,
                          KeyValue *vpairs) {
  MatchHedges(ctrl, graph, perm, htable, vpairs, HEDGES_EDGES);
}

void Match_Hedges_PHedges_Edges__(const PartCtrl *ctrl, HGraph *graph, int *perm, int *htable,
                                  KeyValue *vpairs) {
  MatchHedges(ctrl, graph, perm, htable, vpairs, HEDGES_PHEDGES_EDGES);
}

}  // namespace hypra
