// Balancing: moves the highest-gain vertices off the heavier side until both sides meet their
// lower weight bounds. Runs before refinement, so its moves are never taken back.
#include <cstdio>

#include "refine2/moves.h"
#include "refine2/refine2.h"

namespace hypra {

namespace {

using refine2::Bounds;

void RecomputeSideWeights(HGraph *graph) {
  const int *where = graph->where, *cellwgt = graph->cellwgt;
  graph->pwgts[0] = graph->pwgts[1] = 0;
  for (int v = 0; v < graph->nvtxs; v++) {
    if (where[v] != 0 && where[v] != 1)
      errexit__("Balance: vertex %d is on side %d of a bisection", v, where[v]);
    graph->pwgts[where[v]] += cellwgt[v];
  }
}

}  // namespace

void Balance__(const PartCtrl *ctrl, HGraph *graph) {
  const int nvtxs = graph->nvtxs, nfixed = graph->nfixed;
  int *where = graph->where, *gain = graph->gain, *pwgts = graph->pwgts;
  const int *cellwgt = graph->cellwgt;

  RecomputeSideWeights(graph);
  const Bounds b = refine2::BalanceBounds(ctrl, pwgts);
  if (refine2::IsBalanced(pwgts, b)) return;

  PQueue queues[2];
  const int maxgain = refine2::MaxGain(graph);
  PQueueInitPair__(queues, nvtxs, maxgain);
  int *moved = ismalloc__(nvtxs, -1, "FM_Refine: perm");
  int *perm = imalloc__(nvtxs, "FM_Refine: perm");

  starttimer__(ctrl, ctrl->run->time.InitRefTmr);
  ComputeInitGains__(graph);
  PQueueReset__(&queues[0]);
  PQueueReset__(&queues[1]);
  int cut = graph->mincut;
  RandomPermute__(&ctrl->run->rng, perm, nvtxs, 1);
  for (int i = 0; i < nvtxs; i++) {
    const int v = perm[i];
    if (v < nfixed)
      moved[v] = 1;
    else
      PQueueInsert__(&queues[where[v]], v, gain[v]);
  }
  stoptimer__(ctrl, ctrl->run->time.InitRefTmr);

  if (ctrl->run->now.dbglvl & DBG_REFINE)
    Printf__(ctrl, "Partitions[B]: [%6d,%8d]  [%6d,%8d], Initial Cut: %8d [%d] [%d]\n",
             queues[0].nitems, pwgts[0], queues[1].nitems, pwgts[1], cut, ComputeCut__(graph),
             b.min0);

  starttimer__(ctrl, ctrl->run->time.IterTmr);
  for (int nswaps = 0; nswaps < nvtxs; nswaps++) {
    const int top0 = PQueueSeeMax__(&queues[0]);
    const int top1 = PQueueSeeMax__(&queues[1]);
    int from, v;
    // Side 0 gives while it meets its bound (side 1 is then the short one), side 1 otherwise.
    if (pwgts[0] >= b.min0) {
      if (pwgts[1] >= b.min1 || top0 == -1) break;
      from = 0;
      v = top0;
    } else {
      if (top1 == -1) break;
      from = 1;
      v = top1;
    }
    PQueueGetMax__(&queues[from]);
    // A vertex whose departure would break the giving side's own bound is locked where it is.
    if (pwgts[from] - cellwgt[v] < refine2::SideBound(b, from)) {
      moved[v] = 1;
      continue;
    }

    const int to = 1 - from;
    cut -= gain[v];
    moved[v] = 1;
    refine2::FlipVertex(graph, v, from, to);
    gain[v] = -gain[v];
    refine2::UpdateMove(
        graph, v, from, to, [](int) { return true; },
        [&queues, moved, where, gain](int u, int oldgain) {
          if (moved[u] == -1) PQueueUpdate__(&queues[where[u]], u, oldgain, gain[u]);
        });

    if (refine2::IsBalanced(pwgts, b)) break;
  }
  stoptimer__(ctrl, ctrl->run->time.IterTmr);

  graph->mincut = cut;
  PQueueFreePair__(queues);
  RVfree__(&moved, &perm);
}

}  // namespace hypra
