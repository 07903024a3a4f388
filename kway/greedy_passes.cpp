// Greedy k-way passes: each vertex, in random order, moves at most once per pass to its best
// admissible part. The cut and the sum-of-external-degrees refiners differ only in the order in
// which they weigh an entry's cut gain and connectivity gain.
#include <climits>
#include <cstdio>

#include "kway/kway.h"

namespace hypra {

namespace {

enum Objective { OBJ_CUT, OBJ_SOED };

// The refiner's primary and secondary keys of an entry.
template <int obj>
int PrimaryKey(const KwayDegree &d) {
  return obj == OBJ_CUT ? d.ewgt : d.conngain;
}
template <int obj>
int SecondaryKey(const KwayDegree &d) {
  return obj == OBJ_CUT ? d.conngain : d.ewgt;
}

// Whether an entry may open the search for the best target.
template <int obj>
bool PassesEntryTest(const KwayDegree &d, int iwgt) {
  return obj == OBJ_CUT ? d.ewgt >= iwgt : d.conngain >= 0;
}

// Whether entry a is at least as good as entry b; a complete tie goes to a.
template <int obj>
bool AtLeastAsGood(const KwayDegree &a, const KwayDegree &b, const int *kpwgts) {
  if (PrimaryKey<obj>(a) != PrimaryKey<obj>(b)) return PrimaryKey<obj>(a) > PrimaryKey<obj>(b);
  if (SecondaryKey<obj>(a) != SecondaryKey<obj>(b))
    return SecondaryKey<obj>(a) > SecondaryKey<obj>(b);
  if (a.pinbias != b.pinbias) return a.pinbias > b.pinbias;
  return kpwgts[a.pid] <= kpwgts[b.pid];
}

// Index of the best admissible entry of v's record, or -1 when v has none.
template <int obj>
int BestEntry(const CellKwayInfo &r, int w, int maxpwgt, const int *kpwgts) {
  int best = 0;
  while (best < r.nnbrs &&
         !(kpwgts[r.nbrs[best].pid] + w <= maxpwgt && PassesEntryTest<obj>(r.nbrs[best], r.iwgt)))
    best++;
  if (best == r.nnbrs) return -1;
  for (int k = best + 1; k < r.nnbrs; k++) {
    if (kpwgts[r.nbrs[k].pid] + w > maxpwgt) continue;
    if (AtLeastAsGood<obj>(r.nbrs[k], r.nbrs[best], kpwgts)) best = k;
  }
  return best;
}

// Whether moving a vertex of weight w from part from along entry d pays off. Zero-gain moves
// are taken only for a better pin-count preference or a strictly better balance.
template <int obj>
bool WorthMoving(const KwayDegree &d, int iwgt, int w, int from, const int *kpwgts) {
  const int g = d.ewgt - iwgt;
  const int first = obj == OBJ_CUT ? g : d.conngain;
  const int second = obj == OBJ_CUT ? d.conngain : g;
  if (first != 0) return first > 0;
  if (second != 0) return second > 0;
  if (d.pinbias != 0) return d.pinbias > 0;
  return kpwgts[from] - kpwgts[d.pid] > w;
}

template <int obj>
void RefineKwayRandom(const PartCtrl *ctrl, HGraph *graph, int npasses) {
  const int nvtxs = graph->nvtxs, nparts = ctrl->Nparts;

  int *perm = imalloc__(nvtxs, "RefineKway_Random: perm");
  int *marker = imalloc__(nvtxs, "RefineKway_Random: marker");
  int *updind = imalloc__(nvtxs, "RefineKway_Random: updind");
  for (int i = 0; i < nvtxs; i++) perm[i] = i;

  starttimer__(ctrl, ctrl->run->time.InitRefTmr);
  ComputeInitKwayGains__(ctrl, graph);
  stoptimer__(ctrl, ctrl->run->time.InitRefTmr);

  int *kpwgts = graph->kpwgts, *where = graph->where;
  const int *cellwgt = graph->cellwgt, *incptr = graph->incptr;
  const int tpwgt = iasum__(nparts, kpwgts);
  // The bounded-imbalance mode caps parts at one absolute weight on every level: the bound is on
  // the final parts, and a coarse level holds the same weight (less any islands set aside).
  const KwayBounds bounds = KwayPartBounds__(ctrl, tpwgt);
  const int maxpwgt = bounds.maxpwgt, minpwgt = bounds.minpwgt;

  for (int pass = 0; pass < npasses; pass++) {
    RandomPermute__(&ctrl->run->rng, perm, nvtxs, 0);

    if (pass == 0 && (ctrl->run->now.dbglvl & DBG_REFINE))
      Printf__(ctrl,
               "Partitions: [%5d,%5d], Balance: [%3.2f, %5d,%5d], Init Cut: %5d, Init SOED: %5d\n",
               kpwgts[iamin__(nparts, kpwgts)], kpwgts[iamax__(nparts, kpwgts)],
               ctrl->run->now.UBfactor, minpwgt, maxpwgt, graph->mincut, graph->soed);

    const int oldcut = graph->mincut, oldsoed = graph->soed;
    iset__(nvtxs, -1, marker);
    int nmoves = 0;

    starttimer__(ctrl, ctrl->run->time.IterTmr);
    for (int ii = 0; ii < nvtxs; ii++) {
      const int v = perm[ii];
      if (v < graph->nfixed) continue;
      const int from = where[v], w = cellwgt[v];
      const CellKwayInfo &r = graph->crinfo[v];

      if (r.solewgt < r.iwgt) continue;
      if (minpwgt > kpwgts[from] - w) continue;
      const int best = BestEntry<obj>(r, w, maxpwgt, kpwgts);
      if (best < 0) continue;
      // Copied: the update below rewrites v's record.
      const KwayDegree d = r.nbrs[best];
      const int iwgt = r.iwgt;
      if (!WorthMoving<obj>(d, iwgt, w, from, kpwgts)) continue;

      const int to = d.pid, g = d.ewgt - iwgt;
      graph->mincut -= g;
      graph->soed -= g + d.conngain;
      kpwgts[to] += w;
      kpwgts[from] -= w;
      where[v] = to;
      if (ctrl->run->now.dbglvl & DBG_MOVES)
        Printf__(ctrl, "\tMoving %6d[%3d] (%3d -> %3d) [%4d %4d %4d %4d] %5d %5d\n", v,
                 incptr[v + 1] - incptr[v], from, to, iwgt, d.ewgt, d.conngain, d.pinbias,
                 graph->mincut, graph->soed);
      KwayUpdateGainInfo__(graph, v, from, to, marker, updind);
      nmoves++;
    }
    stoptimer__(ctrl, ctrl->run->time.IterTmr);

    if (ctrl->run->now.dbglvl & DBG_REFINE)
      Printf__(ctrl, "\tCut: %8d, SOED: %8d, Nmoves: %3d, Pwgts: [%6d %6d]\n", graph->mincut,
               graph->soed, nmoves, kpwgts[iamin__(nparts, kpwgts)],
               kpwgts[iamax__(nparts, kpwgts)]);

    if (graph->mincut == oldcut && graph->soed == oldsoed) break;
  }

  graph->kwayobj = obj == OBJ_CUT ? graph->mincut : graph->soed;
  RVfree__(&perm, &marker, &updind);
}

}  // namespace

void RefineCutKway_Random__(const PartCtrl *ctrl, HGraph *graph, int npasses) {
  RefineKwayRandom<OBJ_CUT>(ctrl, graph, npasses);
}

void RefineSOEDKway_Random__(const PartCtrl *ctrl, HGraph *graph, int npasses) {
  RefineKwayRandom<OBJ_SOED>(ctrl, graph, npasses);
}

namespace {

// Truncates a single-precision bound toward zero; a factor of 0 or below gives bounds that no
// int holds, which are clamped instead of converted out of range.
int TruncateBound(float x) {
  if (!(x > -2147483648.0f)) return x != x ? 0 : INT_MIN;
  if (x >= 2147483648.0f) return INT_MAX;
  return static_cast<int>(x);
}

}  // namespace

KwayBounds KwayPartBounds__(const PartCtrl *ctrl, int tpwgt) {
  const int nparts = ctrl->Nparts;
  const int maxpwgt = ctrl->Imbalance > 0 ? ctrl->MaxPartWgt
                                          : TruncateBound(ctrl->run->now.UBfactor * tpwgt / nparts);
  return KwayBounds{maxpwgt, TruncateBound(tpwgt / (nparts * ctrl->run->now.UBfactor))};
}

}  // namespace hypra
