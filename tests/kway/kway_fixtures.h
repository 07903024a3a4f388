// Small in-memory hypergraphs and independent recomputations for the k-way tests.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "common/test_hypergraphs.h"
#include "common/test_run.h"
#include "core/core.h"
#include "kway/kway.h"

using namespace hypra;

namespace kwaytest {

// Builds a hypergraph with incidence arrays from pin lists (unit weights unless given).
inline HGraph *MakeGraph(int nvtxs, const std::vector<std::vector<int>> &nets,
                         const std::vector<int> &netwgts = {},
                         const std::vector<int> &cellwgts = {}) {
  return testhg::Make(nvtxs, nets, netwgts, cellwgts);
}

inline PartCtrl MakeCtrl(int nparts, float ubfactor) {
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.Nparts = nparts;
  ctrl.run->now.UBfactor = ubfactor;
  ctrl.run->now.CoarsenTo = 100;
  ctrl.MaxNetSize = 50;
  ctrl.run->now.RType = 1;
  return ctrl;
}

// Allocates the k-way arrays and copies the given partition into where.
inline void SetPartition(PartCtrl *ctrl, HGraph *g, const std::vector<int> &where) {
  AllocateKwayRefinementMemory__(ctrl, g);
  for (int v = 0; v < g->nvtxs; v++) g->where[v] = where[v];
}

// Cut and sum of external degrees recomputed from where alone.
inline std::pair<int, int> CutAndSoed(const HGraph *g) {
  int cut = 0, soed = 0;
  for (int e = 0; e < g->nhedges; e++) {
    std::map<int, int> parts;
    for (int i = g->netptr[e]; i < g->netptr[e + 1]; i++) parts[g->where[g->netind[i]]]++;
    if (parts.size() > 1) {
      cut += g->netwgt[e];
      soed += static_cast<int>(parts.size()) * g->netwgt[e];
    }
  }
  return {cut, soed};
}

inline std::vector<int> PartWeights(const HGraph *g, int nparts) {
  std::vector<int> w(nparts, 0);
  for (int v = 0; v < g->nvtxs; v++) w[g->where[v]] += g->cellwgt[v];
  return w;
}

// The entry of v's record for part q, or null.
inline const KwayDegree *EntryFor(const HGraph *g, int v, int q) {
  const CellKwayInfo &r = g->crinfo[v];
  for (int k = 0; k < r.nnbrs; k++)
    if (r.nbrs[k].pid == q) return &r.nbrs[k];
  return nullptr;
}

// Pins of hyperedge e per part, from its k-way part list.
inline std::map<int, int> NetParts(const HGraph *g, int e) {
  std::map<int, int> m;
  for (int j = 0; j < g->nrinfo[e].nnbrs; j++)
    m[g->nrinfo[e].nbrs[j].pid] = g->nrinfo[e].nbrs[j].npins;
  return m;
}

// Reads a benchmark hypergraph (unweighted or with vertex weights); drops repeated pins and
// hyperedges left with fewer than two pins, whose tracked gains are known to drift.
inline HGraph *ReadBench(const std::string &path) {
  return testhg::MakeBench(path, 2);
}

}  // namespace kwaytest
