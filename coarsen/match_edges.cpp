// Edge-based grouping: pairs (each vertex with its best ungrouped neighbour) and stars (each
// vertex joins its best neighbour's group), plus their restricted twins that never group
// vertices of different parts.
#include <algorithm>
#include <climits>

#include "coarsen/grouping.h"

namespace hypra {

namespace {

// The grouping arrays every edge scheme writes into the finer level.
void AllocateGrouping(HGraph *graph) {
  const int nvtxs = graph->nvtxs;
  // A level grouped before (a reused top level) must not leak its previous grouping.
  RVfree__(&graph->mptr, &graph->mind, &graph->cellmap);
  graph->mptr = imalloc__(nvtxs + 1, "Match_Edges: graph->mptr");
  graph->mind = imalloc__(nvtxs, "Match_Edges: graph->mind");
  graph->cellmap = ismalloc__(nvtxs, -1, "Match_Edges: graph->cellmap");
}

int FixedCount(const HGraph *graph) {
  return std::clamp(graph->nfixed, 0, graph->nvtxs);
}

// Pairs in visiting order; findPartner(v) returns v's partner or -1.
template <typename FindPartner>
void MatchPairs(const PartCtrl *ctrl, HGraph *graph, int *perm, KeyValue *vpairs,
                FindPartner findPartner) {
  const int nvtxs = graph->nvtxs, nfixed = FixedCount(graph);
  AllocateGrouping(graph);
  int *cellmap = graph->cellmap, *mptr = graph->mptr, *mind = graph->mind;
  DegreeOrder__(ctrl, graph, perm, reinterpret_cast<int *>(vpairs));
  mptr[0] = 0;

  // Fixed super-vertices are groups of their own, never visited nor chosen.
  for (int v = 0; v < nfixed; v++) {
    cellmap[v] = mind[v] = v;
    mptr[v + 1] = v + 1;
  }
  int ngroups = nfixed, nmind = nfixed;
  for (int i = 0; i < nvtxs; i++) {
    const int v = perm[i];
    if (cellmap[v] != -1) continue;
    const int u = findPartner(v);
    cellmap[v] = ngroups;
    mind[nmind++] = v;
    if (u != -1) {
      cellmap[u] = ngroups;
      mind[nmind++] = u;
    }
    mptr[++ngroups] = nmind;
  }
  CreateCoarseHGraph__(ctrl, graph, ngroups);
}

// Lists every group's members in increasing vertex number.
void GroupsFromCellmap(HGraph *graph, int ngroups) {
  const int nvtxs = graph->nvtxs;
  const int *cellmap = graph->cellmap;
  int *mptr = graph->mptr, *mind = graph->mind;
  iset__(ngroups + 1, 0, mptr);
  for (int v = 0; v < nvtxs; v++) mptr[cellmap[v] + 1]++;
  for (int g = 0; g < ngroups; g++) mptr[g + 1] += mptr[g];
  for (int v = 0; v < nvtxs; v++) mind[mptr[cellmap[v]]++] = v;
  for (int g = ngroups; g > 0; g--) mptr[g] = mptr[g - 1];
  mptr[0] = 0;
}

// Stars in visiting order until 40 % of the vertices have found a partner. findStar(v, gwgts)
// returns the vertex v joins or -1; gwgts is the one-slot-offset group-weight view.
template <typename BuildOrder, typename FindStar>
void MatchStars(const PartCtrl *ctrl, HGraph *graph, bool timed, BuildOrder buildOrder,
                FindStar findStar) {
  const int nvtxs = graph->nvtxs, nfixed = FixedCount(graph);
  AllocateGrouping(graph);
  int *wgts = ismalloc__(nvtxs + 1, 0, "Match_EdgesStars: wgts");
  // Group g weighs gwgts[g]; an ungrouped vertex (cellmap -1) reads the constant 0 at wgts[0].
  int *gwgts = wgts + 1;
  int *cellmap = graph->cellmap;
  const int *cellwgt = graph->cellwgt;

  if (timed) starttimer__(ctrl, ctrl->run->time.AuxTmr3);
  const int *perm = buildOrder();
  if (timed) stoptimer__(ctrl, ctrl->run->time.AuxTmr3);

  const int fixedwgt = static_cast<int>(
      std::min<long long>(2LL * ctrl->run->now.MaxCellWgt, static_cast<long long>(INT_MAX)));
  for (int v = 0; v < nfixed; v++) {
    cellmap[v] = v;
    gwgts[v] = fixedwgt;
  }

  if (timed) starttimer__(ctrl, ctrl->run->time.AuxTmr4);
  int ngroups = nfixed, grouped = 0;
  for (int i = 0; i < nvtxs; i++) {
    const int v = perm[i];
    if (cellmap[v] != -1) continue;
    if (nvtxs * 0.4 > grouped) {
      const int u = findStar(v, gwgts);
      if (u != -1) {
        grouped++;
        if (cellmap[u] == -1) {
          cellmap[v] = cellmap[u] = ngroups;
          gwgts[ngroups++] = cellwgt[v] + cellwgt[u];
        } else {
          cellmap[v] = cellmap[u];
          gwgts[cellmap[u]] += cellwgt[v];
        }
        continue;
      }
    }
    cellmap[v] = ngroups;
    gwgts[ngroups++] = cellwgt[v];
  }
  if (timed) stoptimer__(ctrl, ctrl->run->time.AuxTmr4);

  GroupsFromCellmap(graph, ngroups);
  ReleaseMemory__(wgts);
  CreateCoarseHGraph__(ctrl, graph, ngroups);
}

}  // namespace

void BucketSortKeysInc(int n, int max, const int *keys, const int *in, int *out) {
  if (max < 0) errexit__("BucketSortKeysInc: negative key bound %d\n", max);
  int *counts = ismalloc__(max + 2, 0, "BucketSortKeysInc: counts");
  for (int i = 0; i < n; i++) {
    if (keys[i] < 0 || keys[i] > max)
      errexit__("BucketSortKeysInc: key %d outside 0 .. %d\n", keys[i], max);
    counts[keys[i]]++;
  }
  // Exclusive prefix sums: counts[k] = number of keys below k.
  int sum = 0;
  for (int k = 0; k <= max + 1; k++) {
    const int c = counts[k];
    counts[k] = sum;
    sum += c;
  }
  for (int i = 0; i < n; i++) {
    const int v = in[i];
    out[counts[keys[v]]++] = v;
  }
  ReleaseMemory__(counts);
}

void DegreeOrder__(const PartCtrl *ctrl, const HGraph *graph, int *perm, int *keys) {
  const int nvtxs = graph->nvtxs;
  const int *incptr = graph->incptr;
  RandomPermute__(&ctrl->run->rng, keys + nvtxs, nvtxs, 1);
  for (int v = 0; v < nvtxs; v++) keys[v] = std::min(incptr[v + 1] - incptr[v], ctrl->MaxNetSize);
  BucketSortKeysInc(nvtxs, ctrl->MaxNetSize + 1, keys, keys + nvtxs, perm);
}

void Match_Edges__(const PartCtrl *ctrl, HGraph *graph, int *perm, int *htable, KeyValue *vpairs) {
  MatchPairs(ctrl, graph, perm, vpairs, [&](int v) {
    return FindCell__(ctrl, v, graph->incptr, graph->incind, graph->netptr, graph->netind,
                      graph->cellwgt, graph->edgewgt, graph->cellmap, htable, graph->community);
  });
}

void CMatch_Edges__(const PartCtrl *ctrl, HGraph *graph, const int *where, int *perm, int *htable,
                    KeyValue *vpairs) {
  MatchPairs(ctrl, graph, perm, vpairs, [&](int v) {
    return CFindCell__(ctrl, v, graph->incptr, graph->incind, graph->netptr, graph->netind,
                       graph->cellwgt, graph->edgewgt, graph->cellmap, where, htable);
  });
}

void Match_EdgesStars__(const PartCtrl *ctrl, HGraph *graph, int *perm, int *htable,
                        KeyValue *vpairs, int byweight) {
  int *keys = reinterpret_cast<int *>(vpairs);
  auto order = [&]() -> const int * {
    const int nvtxs = graph->nvtxs;
    if (!byweight) {
      DegreeOrder__(ctrl, graph, perm, keys);
      return perm;
    }
    // Strongest best connection first, then low degree, then random.
    RandomPermute__(&ctrl->run->rng, perm, nvtxs, 1);
    const int *incptr = graph->incptr;
    for (int v = 0; v < nvtxs; v++) keys[v] = std::min(incptr[v + 1] - incptr[v], ctrl->MaxNetSize);
    BucketSortKeysInc(nvtxs, ctrl->MaxNetSize + 1, keys, perm, keys + nvtxs);
    const int maxkey = ComputeAllWeights__(ctrl, graph, keys, htable);
    BucketSortKeysInc(nvtxs, maxkey + 1, keys, keys + nvtxs, perm);
    return perm;
  };
  MatchStars(ctrl, graph, true, order, [&](int v, const int *gwgts) {
    return FindCellStar__(ctrl, v, graph->incptr, graph->incind, graph->netptr, graph->netind,
                          graph->cellwgt, graph->edgewgt, graph->cellmap, htable, gwgts,
                          graph->community);
  });
}

void CMatch_EdgesStars__(const PartCtrl *ctrl, HGraph *graph, const int *where, int *perm,
                         int *htable, KeyValue *vpairs) {
  auto order = [&]() -> const int * {
    DegreeOrder__(ctrl, graph, perm, reinterpret_cast<int *>(vpairs));
    return perm;
  };
  MatchStars(ctrl, graph, false, order, [&](int v, const int *gwgts) {
    return CFindCellStar__(ctrl, v, graph->incptr, graph->incind, graph->netptr, graph->netind,
                           graph->cellwgt, graph->edgewgt, graph->cellmap, where, htable, gwgts);
  });
}

}  // namespace hypra
