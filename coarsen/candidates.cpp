// Candidate search around one vertex: scores are float sums of edgewgt over the shared
// hyperedges, accumulated in order of discovery, with a per-routine candidate test, hyperedge
// filter and tie rule.
#include "coarsen/grouping.h"

namespace hypra {

namespace {

// The run's candidate lists: one for the free grouping routines, one for the restricted ones.
CandidateList &FreeList(const PartCtrl *ctrl) {
  return ctrl->run->lists[0];
}
CandidateList &RestrictedList(const PartCtrl *ctrl) {
  return ctrl->run->lists[1];
}

struct Incidence {
  const int *incptr, *incind, *netptr, *netind, *cellwgt;
  const float *edgewgt;
};

// Scans v's hyperedges accepted by useNet and their pins accepted by qualifies, then picks the
// best score; on an exact tie replaces(best, i) decides. Returns the index in s.cand or -1.
template <typename UseNet, typename Qualifies, typename Replaces>
int Scan(int v, const Incidence &g, int *htable, CandidateList &s, UseNet useNet,
         Qualifies qualifies, Replaces replaces) {
  s.ncand = 0;
  if (g.incptr[v + 1] == g.incptr[v]) return -1;
  // The list is worked on through locals, which the stores to htable and the scores cannot
  // alias, and written back when it grows and at the end.
  int *cand = s.cand;
  float *cwgt = s.cwgt;
  int ncand = 0;
  // Loop bounds are read once: the stores to htable and the lists could otherwise alias them.
  for (int j = g.incptr[v], jend = g.incptr[v + 1]; j < jend; j++) {
    const int h = g.incind[j];
    if (!useNet(h)) continue;
    const float ew = g.edgewgt[h];
    for (int t = g.netptr[h], tend = g.netptr[h + 1]; t < tend; t++) {
      const int u = g.netind[t];
      // A pin already listed passed the test when it was first met (nothing the test reads
      // changes during the scan), so only new pins are tested; v itself is never listed.
      const int slot = htable[u];
      if (slot != -1) {
        cwgt[slot] += ew;
      } else if (u != v && qualifies(u)) {
        if (ncand == s.capacity) {
          s.ncand = ncand;
          GrowCandidateList__(&s);
          cand = s.cand;
          cwgt = s.cwgt;
        }
        htable[u] = ncand;
        cand[ncand] = u;
        cwgt[ncand] = ew;
        ncand++;
      }
    }
  }
  s.ncand = ncand;
  if (ncand == 0) return -1;
  int best = 0;
  htable[cand[0]] = -1;
  for (int i = 1; i < ncand; i++) {
    htable[cand[i]] = -1;
    if (cwgt[i] > cwgt[best])
      best = i;
    else if (cwgt[i] == cwgt[best] && replaces(best, i))
      best = i;
  }
  return best;
}

// The capacity left to v, wide enough that no weight can overflow it.
long long Room(const PartCtrl *ctrl, const int *cellwgt, int v) {
  return static_cast<long long>(ctrl->run->now.MaxCellWgt) - cellwgt[v];
}

// Pairing: ungrouped candidates that fit; the strictly lighter wins a tie.
template <typename UseNet, typename Extra>
int PairCandidate(const PartCtrl *ctrl, int v, const Incidence &g, const int *cellmap, int *htable,
                  CandidateList &s, UseNet useNet, Extra extra) {
  const long long room = Room(ctrl, g.cellwgt, v);
  const int *cellwgt = g.cellwgt;
  const int best = Scan(
      v, g, htable, s, useNet,
      [&](int u) { return cellmap[u] == -1 && cellwgt[u] <= room && extra(u); },
      [&](int b, int i) { return cellwgt[s.cand[b]] > cellwgt[s.cand[i]]; });
  return best == -1 ? -1 : s.cand[best];
}

// With WeightedRating: the listed candidate of highest shared weight per unit of its group's
// weight (its own while ungrouped), with the same tie rule; the scan's list is left as it is.
int BestRatePerWeight(const CandidateList &s, const int *cellwgt, const int *cellmap,
                      const int *gwgts) {
  auto weight = [&](int u) {
    const int w = cellmap[u] != -1 ? gwgts[cellmap[u]] : cellwgt[u];
    return w > 0 ? static_cast<double>(w) : 1.0;
  };
  int best = 0;
  double bestrate = s.cwgt[0] / weight(s.cand[0]);
  for (int i = 1; i < s.ncand; i++) {
    const double rate = s.cwgt[i] / weight(s.cand[i]);
    if (rate > bestrate || (rate == bestrate && cellmap[s.cand[best]] != -1)) {
      best = i;
      bestrate = rate;
    }
  }
  return best;
}

// Stars: candidates whose own weight and group weight fit; on a tie an already grouped best
// gives way to the later candidate.
template <typename UseNet, typename Extra>
int StarCandidate(const PartCtrl *ctrl, int v, const Incidence &g, const int *cellmap, int *htable,
                  const int *gwgts, CandidateList &s, UseNet useNet, Extra extra) {
  const long long room = Room(ctrl, g.cellwgt, v);
  const int *cellwgt = g.cellwgt;
  int best = Scan(
      v, g, htable, s, useNet,
      [&](int u) { return cellwgt[u] <= room && gwgts[cellmap[u]] <= room && extra(u); },
      [&](int b, int) { return cellmap[s.cand[b]] != -1; });
  if (best != -1 && ctrl->WeightedRating) best = BestRatePerWeight(s, cellwgt, cellmap, gwgts);
  return best == -1 ? -1 : s.cand[best];
}

// Lets every hyperedge (as a hyperedge filter) or every candidate (as an extra test) through.
auto Always() {
  return [](int) { return true; };
}
auto SameCommunity(const int *community, int v) {
  return [=](int u) { return community[u] == community[v]; };
}

// The restricted routines look only at hyperedges of 1 to MaxNetSize pins.
auto SmallNets(const PartCtrl *ctrl, const int *netptr) {
  return [=](int h) {
    const int size = netptr[h + 1] - netptr[h];
    return size >= 1 && size <= ctrl->MaxNetSize;
  };
}

auto SamePart(const int *where, int v) {
  return [=](int u) { return where[u] == where[v]; };
}

}  // namespace

int FindCell__(const PartCtrl *ctrl, int v, const int *incptr, const int *incind, const int *netptr,
               const int *netind, const int *cellwgt, const float *edgewgt, const int *cellmap,
               int *htable, const int *community) {
  const Incidence g{incptr, incind, netptr, netind, cellwgt, edgewgt};
  // Without communities the scan's innermost test stays as it was.
  if (community == nullptr)
    return PairCandidate(ctrl, v, g, cellmap, htable, FreeList(ctrl), Always(), Always());
  return PairCandidate(ctrl, v, g, cellmap, htable, FreeList(ctrl), Always(),
                       SameCommunity(community, v));
}

int FindCellStar__(const PartCtrl *ctrl, int v, const int *incptr, const int *incind,
                   const int *netptr, const int *netind, const int *cellwgt, const float *edgewgt,
                   const int *cellmap, int *htable, const int *gwgts, const int *community) {
  const Incidence g{incptr, incind, netptr, netind, cellwgt, edgewgt};
  if (community == nullptr)
    return StarCandidate(ctrl, v, g, cellmap, htable, gwgts, FreeList(ctrl), Always(), Always());
  return StarCandidate(ctrl, v, g, cellmap, htable, gwgts, FreeList(ctrl), Always(),
                       SameCommunity(community, v));
}

int CFindCell__(const PartCtrl *ctrl, int v, const int *incptr, const int *incind,
                const int *netptr, const int *netind, const int *cellwgt, const float *edgewgt,
                const int *cellmap, const int *where, int *htable) {
  const Incidence g{incptr, incind, netptr, netind, cellwgt, edgewgt};
  return PairCandidate(ctrl, v, g, cellmap, htable, RestrictedList(ctrl), SmallNets(ctrl, netptr),
                       SamePart(where, v));
}

int CFindCellStar__(const PartCtrl *ctrl, int v, const int *incptr, const int *incind,
                    const int *netptr, const int *netind, const int *cellwgt, const float *edgewgt,
                    const int *cellmap, const int *where, int *htable, const int *gwgts) {
  const Incidence g{incptr, incind, netptr, netind, cellwgt, edgewgt};
  return StarCandidate(ctrl, v, g, cellmap, htable, gwgts, RestrictedList(ctrl),
                       SmallNets(ctrl, netptr), SamePart(where, v));
}

int ComputeAllWeights__(const PartCtrl *ctrl, HGraph *graph, int *keys, int *htable) {
  const Incidence g{graph->incptr, graph->incind,  graph->netptr,
                    graph->netind, graph->cellwgt, graph->edgewgt};
  const float *edgewgt = graph->edgewgt;
  const int *cellwgt = graph->cellwgt;
  CandidateList &s = FreeList(ctrl);
  int maxkey = 0;
  for (int v = 0; v < graph->nvtxs; v++) {
    const long long room = Room(ctrl, cellwgt, v);
    const int best = Scan(
        v, g, htable, s, [&](int h) { return static_cast<double>(edgewgt[h]) >= 0.1; },
        [&](int u) { return cellwgt[u] <= room; },
        [&](int b, int i) { return cellwgt[s.cand[b]] > cellwgt[s.cand[i]]; });
    keys[v] = -1;
    if (best != -1) {
      // Scores here are at least 0.1 (only hyperedges of edgewgt >= 0.1 count), so the key
      // stays within 0 .. 1000.
      keys[v] = static_cast<int>(100.0 / static_cast<double>(s.cwgt[best]));
      if (keys[v] > maxkey) maxkey = keys[v];
    }
  }
  for (int v = 0; v < graph->nvtxs; v++)
    if (keys[v] == -1) keys[v] = maxkey + 1;
  return maxkey + 1;
}

}  // namespace hypra
