// The bisection state of a hypergraph: its allocation, its computation from scratch (pin counts
// per side, side weights, cut and vertex gains) and the cut read back from the pin counts.
#include <cmath>

#include "refine2/moves.h"
#include "refine2/refine2.h"

namespace hypra {

namespace {

// Fills pin counts, gains, side weights and the cut from where. The gains are summed per
// hyperedge rather than per vertex, with the contributions refine2::VertexGain counts: a
// hyperedge on one side only takes its weight from every pin, and a cut one gives it to a pin
// that is alone on its side.
void ComputeStateInto(const HGraph *graph, int *ndeg0, int *ndeg1, int *gain, int *pwgts,
                      int *cut) {
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges;
  const int *netptr = graph->netptr, *netind = graph->netind, *netwgt = graph->netwgt;
  const int *where = graph->where, *cellwgt = graph->cellwgt;

  iset__(nvtxs, 0, gain);
  *cut = 0;
  for (int e = 0; e < nhedges; e++) {
    // Sides are summed, and or-ed to catch any that is neither 0 nor 1; the first such pin is
    // then looked up for the report.
    unsigned int n1 = 0, sides = 0;
    const int jbegin = netptr[e], jend = netptr[e + 1];
    for (int j = jbegin; j < jend; j++) {
      const int side = where[netind[j]];
      n1 += static_cast<unsigned int>(side);
      sides |= static_cast<unsigned int>(side);
    }
    if (sides > 1) [[unlikely]] {
      for (int j = jbegin; j < jend; j++)
        if (where[netind[j]] != 0 && where[netind[j]] != 1)
          errexit__("ComputeInitGains: vertex %d is on side %d of a bisection", netind[j],
                    where[netind[j]]);
    }
    const int nd1 = static_cast<int>(n1), nd0 = jend - jbegin - nd1;
    ndeg0[e] = nd0;
    ndeg1[e] = nd1;
    const int w = netwgt[e];
    if (nd0 == 0 || nd1 == 0) {
      for (int j = jbegin; j < jend; j++) gain[netind[j]] -= w;
    } else {
      *cut += w;
      if (nd0 == 1 || nd1 == 1) {
        for (int j = jbegin; j < jend; j++) {
          const int u = netind[j];
          if ((where[u] == 0 ? nd0 : nd1) == 1) gain[u] += w;
        }
      }
    }
  }

  pwgts[0] = pwgts[1] = 0;
  for (int v = 0; v < nvtxs; v++) {
    const int side = where[v];
    if (side != 0 && side != 1)
      errexit__("ComputeInitGains: vertex %d is on side %d of a bisection", v, side);
    pwgts[side] += cellwgt[v];
  }
}

}  // namespace

void AllocateRefinementMemory__(HGraph *graph) {
  graph->where = imalloc__(static_cast<long long>(graph->nvtxs) + graph->nislands,
                           "AllocateRefinementMemory: where");
  graph->gain = imalloc__(graph->nvtxs, "AllocateRefinementMemory: gain");
  graph->ndeg[0] = imalloc__(graph->nhedges, "AllocateRefinementMemory: ndeg[0]");
  graph->ndeg[1] = imalloc__(graph->nhedges, "AllocateRefinementMemory: ndeg[1]");
}

void ComputeInitGains__(HGraph *graph) {
  ComputeStateInto(graph, graph->ndeg[0], graph->ndeg[1], graph->gain, graph->pwgts,
                   &graph->mincut);
}

int ComputeCut__(const HGraph *graph) {
  const int *ndeg0 = graph->ndeg[0], *ndeg1 = graph->ndeg[1], *netwgt = graph->netwgt;
  int cut = 0;
  for (int e = 0; e < graph->nhedges; e++)
    if (ndeg0[e] != 0 && ndeg1[e] != 0) cut += netwgt[e];
  return cut;
}

int CheckDegrees(HGraph *graph) {
  int *gain = ismalloc__(graph->nvtxs, 0, "ComputePartitionParams: gain");
  int *ndeg0 = ismalloc__(graph->nhedges, 0, "ComputePartitionParams: ndeg[0]");
  int *ndeg1 = ismalloc__(graph->nhedges, 0, "ComputePartitionParams: ndeg[1]");
  int pwgts[2], cut;
  ComputeStateInto(graph, ndeg0, ndeg1, gain, pwgts, &cut);
  RVfree__(&gain, &ndeg0, &ndeg1);
  return 1;
}

float RelDiff__(int a, int b) {
  const double diff = std::fabs(static_cast<double>(a) - static_cast<double>(b));
  return static_cast<float>(a > b ? diff / a : diff / b);
}

}  // namespace hypra
