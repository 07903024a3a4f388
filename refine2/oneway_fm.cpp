// One-way FM refinement: passes that move vertices from one side only, alternating the giving
// side from pass to pass. Gains are computed once and kept exact by an incremental undo.
#include <cstdio>

#include "refine2/moves.h"
#include "refine2/refine2.h"

namespace hypra {

using refine2::Bounds;
using refine2::FlipVertex;

void Refine_OneWayFM__(const PartCtrl *ctrl, HGraph *graph, int npasses) {
  const int nvtxs = graph->nvtxs, nfixed = graph->nfixed;
  int *where = graph->where, *gain = graph->gain, *pwgts = graph->pwgts;
  const int *cellwgt = graph->cellwgt;

  PQueue queue;
  PQueueInit__(&queue, nvtxs, refine2::MaxGain(graph));
  int *moved = imalloc__(nvtxs, "FM_Refine: moved");
  int *swaps = imalloc__(nvtxs, "FM_Refine: swaps");
  int *perm = imalloc__(nvtxs, "FM_Refine: perm");

  starttimer__(ctrl, ctrl->run->time.InitRefTmr);
  ComputeInitGains__(graph);
  stoptimer__(ctrl, ctrl->run->time.InitRefTmr);
  const Bounds b = refine2::BalanceBounds(ctrl, pwgts);

  // The heavier side gives first; later passes alternate so that each direction gets its turn.
  int from = pwgts[0] >= pwgts[1] ? 0 : 1;
  for (int pass = 0; pass < npasses; pass++, from = 1 - from) {
    const int to = 1 - from;
    const int frombound = refine2::SideBound(b, from);

    starttimer__(ctrl, ctrl->run->time.InitRefTmr);
    PQueueReset__(&queue);
    const int initcut = graph->mincut;
    int bestcut = initcut, newcut = initcut, mincutorder = -1;
    iset__(nvtxs, -1, moved);
    int mindiff = refine2::AbsDiff(pwgts[0], pwgts[1]);
    RandomPermute__(&ctrl->run->rng, perm, nvtxs, 1);
    for (int i = 0; i < nvtxs; i++) {
      const int v = perm[i];
      if (where[v] != from) continue;
      if (v < nfixed)
        moved[v] = 1;
      else
        PQueueInsert__(&queue, v, gain[v]);
    }
    stoptimer__(ctrl, ctrl->run->time.InitRefTmr);

    if ((ctrl->run->now.dbglvl & DBG_REFINE) && pass == 0)
      Printf__(ctrl, "1-way Partitions: [%6d %8d %8d] Initial Cut: %8d [%d] [%d %d]\n",
               queue.nitems, pwgts[from], pwgts[to], initcut, ComputeCut__(graph), b.min0, b.min1);

    starttimer__(ctrl, ctrl->run->time.IterTmr);
    int nswaps;
    for (nswaps = 0; nswaps < nvtxs; nswaps++) {
      const int v = PQueueGetMax__(&queue);
      if (v == -1) break;

      if (pwgts[from] - cellwgt[v] < frombound) {
        if (gain[v] < 1) break;
        // Too heavy to give now but worth a look later: passed over, marked with nvtxs.
        moved[v] = nvtxs;
        swaps[nswaps] = v;
        continue;
      }

      newcut -= gain[v];
      moved[v] = nswaps;
      swaps[nswaps] = v;
      FlipVertex(graph, v, from, to);

      if (refine2::IsBalanced(pwgts, b)) {
        const int diff = refine2::AbsDiff(pwgts[0], pwgts[1]);
        if (newcut < bestcut || (newcut == bestcut && diff < mindiff)) {
          bestcut = newcut;
          mincutorder = nswaps;
          mindiff = diff;
        }
      }

      if (ctrl->run->now.dbglvl & DBG_MOVES)
        Printf__(ctrl, "Gains from moving %8d from %2d: %4d, \tNewcut: %d\n", v, from, gain[v],
                 newcut);

      gain[v] = -gain[v];
      refine2::UpdateMove(
          graph, v, from, to, [](int) { return true; },
          [&queue, moved, where, gain, from](int u, int oldgain) {
            if (where[u] == from && moved[u] == -1) PQueueUpdate__(&queue, u, oldgain, gain[u]);
          });
    }
    const int last = nswaps - 1;
    stoptimer__(ctrl, ctrl->run->time.IterTmr);

    starttimer__(ctrl, ctrl->run->time.WrapUpTmr);
    for (int i = last; i > mincutorder; i--) {
      const int v = swaps[i];
      if (moved[v] == nvtxs) continue;
      FlipVertex(graph, v, to, from);
      gain[v] = -gain[v];
      refine2::UpdateMove(
          graph, v, to, from, [](int) { return true; }, [](int, int) {});
    }
    if (ctrl->run->now.dbglvl & DBG_REFINE)
      Printf__(ctrl, "\tMinimum Cut: %8d [%8d] at %5d [%6d %6d] [%d]\n", bestcut,
               ComputeCut__(graph), mincutorder, pwgts[0], pwgts[1], from);
    graph->mincut = bestcut;
    stoptimer__(ctrl, ctrl->run->time.WrapUpTmr);

    // An even pass never ends the call, so both directions are always tried.
    if ((pass % 2) == 1 && bestcut == initcut) break;
  }

  PQueueFree__(&queue);
  RVfree__(&moved, &swaps, &perm);
}

}  // namespace hypra
