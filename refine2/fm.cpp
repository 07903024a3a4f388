// FM refinement of a bisection: passes in which every movable vertex moves once, in gain order,
// keeping the best balanced prefix of the moves. The plain refiners recompute gains every pass
// and undo by flipping sides; the early-exit refiners give up after a run of moves without a
// new best, undo move by move and so keep gains exact across passes. The "2" forms pick, within
// each side, a high-gain vertex the side can afford to give up.
#include <cstdio>

#include "refine2/moves.h"
#include "refine2/refine2.h"

namespace {

using refine2::Bounds;
using refine2::FlipVertex;

struct Scratch {
  PQueue queues[2];
  int *moved;
  int *swaps;
  int *perm;
};

void CreateScratch(const HGraph *graph, Scratch *s) {
  const int nvtxs = graph->nvtxs;
  const int maxgain = refine2::MaxGain(graph);
  PQueueInit__(&s->queues[0], nvtxs, maxgain);
  PQueueInit__(&s->queues[1], nvtxs, maxgain);
  s->moved = imalloc__(nvtxs, "FM_Refine: moved");
  s->swaps = imalloc__(nvtxs, "FM_Refine: swaps");
  s->perm = imalloc__(nvtxs, "FM_Refine: perm");
}

void FreeScratch(Scratch *s) {
  PQueueFree__(&s->queues[0]);
  PQueueFree__(&s->queues[1]);
  RVfree__(&s->moved, &s->swaps, &s->perm);
}

// Empties both queues, unlocks every vertex and queues the movable ones on their sides in a
// fresh random order; fixed vertices stay locked for the pass.
void FillQueues(HGraph *graph, Scratch *s) {
  const int nvtxs = graph->nvtxs, nfixed = graph->nfixed;
  const int *where = graph->where, *gain = graph->gain;
  PQueueReset__(&s->queues[0]);
  PQueueReset__(&s->queues[1]);
  iset__(nvtxs, -1, s->moved);
  RandomPermute__(s->perm, nvtxs, 1);
  for (int i = 0; i < nvtxs; i++) {
    const int v = s->perm[i];
    if (v < nfixed)
      s->moved[v] = 1;
    else
      PQueueInsert__(&s->queues[where[v]], v, gain[v]);
  }
}

// Takes the chosen side's candidate out of its queue and moves it to the other side, recording
// the move; returns the vertex and lowers newcut by its gain.
template <bool kConstrained>
int MoveCandidate(HGraph *graph, Scratch *s, int from, int u0, int u1, int nswaps, int *newcut) {
  const int v = from == 0 ? u0 : u1;
  refine2::TakeCandidate<kConstrained>(graph, &s->queues[from], v);
  *newcut -= graph->gain[v];
  s->moved[v] = nswaps;
  s->swaps[nswaps] = v;
  FlipVertex(graph, v, from, 1 - from);
  return v;
}

// One pass's move loop of the plain refiners; returns the best point as (bestcut, mincutorder).
template <bool kConstrained>
void FMMoves(PartCtrl *ctrl, HGraph *graph, Scratch *s, Bounds b, int initcut, int *bestcut,
             int *mincutorder) {
  const int nvtxs = graph->nvtxs;
  int *where = graph->where, *gain = graph->gain, *pwgts = graph->pwgts;
  const int *cellwgt = graph->cellwgt;
  int *moved = s->moved;
  PQueue *queues = s->queues;

  int newcut = initcut;
  int mindiff = refine2::AbsDiff(pwgts[0], pwgts[1]);
  *bestcut = initcut;
  *mincutorder = -1;

  for (int nswaps = 0; nswaps < nvtxs; nswaps++) {
    const int u0 = refine2::SideCandidate<kConstrained>(graph, &queues[0], b, 0);
    const int u1 = refine2::SideCandidate<kConstrained>(graph, &queues[1], b, 1);
    int from;
    if (u0 == -1 && u1 == -1) break;
    if (u0 == -1)
      from = 1;
    else if (u1 == -1)
      from = 0;
    else
      from = refine2::ChooseSideByRoom(graph, b, u0, u1);
    const int to = 1 - from;
    const int v = MoveCandidate<kConstrained>(graph, s, from, u0, u1, nswaps, &newcut);

    if (refine2::IsBalanced(pwgts, b)) {
      const int diff = refine2::AbsDiff(pwgts[0], pwgts[1]);
      if (newcut < *bestcut || (newcut == *bestcut && diff < mindiff)) {
        *bestcut = newcut;
        *mincutorder = nswaps;
        mindiff = diff;
      }
    }

    if (ctrl->dbglvl & DBG_MOVES) {
      if constexpr (kConstrained)
        std::printf("Gains from moving %8d from %2d: %4d, \tNewcut: %d [%6d %6d %6d]\n", v, from,
                    gain[v], newcut, cellwgt[v], pwgts[0], pwgts[1]);
      else
        std::printf("Gains from moving %8d from %2d: %4d, \tNewcut: %d [%6d %6d]\n", v, from,
                    gain[v], newcut, pwgts[0], pwgts[1]);
    }

    refine2::UpdateMove(
        graph, v, from, to, [moved](int u) { return moved[u] == -1; },
        [queues, where, gain](int u, int oldgain) {
          PQueueUpdate__(&queues[where[u]], u, oldgain, gain[u]);
        });
  }
}

template <bool kConstrained>
void RefineFMImpl(PartCtrl *ctrl, HGraph *graph, int npasses) {
  const int nvtxs = graph->nvtxs, nfixed = graph->nfixed;
  int *where = graph->where, *pwgts = graph->pwgts;

  Scratch s;
  CreateScratch(graph, &s);
  if (npasses >= 1 && nfixed < 0) errexit__("Refine_FM: negative fixed-vertex count %d", nfixed);

  for (int pass = 0; pass < npasses; pass++) {
    starttimer__(ctrl, ctrl->InitRefTmr);
    ComputeInitGains__(graph);
    const Bounds b = refine2::BalanceBounds(ctrl, pwgts);
    const int initcut = graph->mincut;
    FillQueues(graph, &s);
    if ((ctrl->dbglvl & DBG_REFINE) && pass == 0)
      std::printf(kConstrained
                      ? "Partitions2: [%6d,%8d]  [%6d,%8d], Initial Cut: %8d [%d] [%d %d]\n"
                      : "Partitions: [%6d,%8d]  [%6d,%8d], Initial Cut: %8d [%d] [%d %d]\n",
                  s.queues[0].nitems, pwgts[0], s.queues[1].nitems, pwgts[1], initcut,
                  ComputeCut__(graph), b.min0, b.min1);
    stoptimer__(ctrl, ctrl->InitRefTmr);

    starttimer__(ctrl, ctrl->IterTmr);
    int bestcut, mincutorder;
    FMMoves<kConstrained>(ctrl, graph, &s, b, initcut, &bestcut, &mincutorder);
    stoptimer__(ctrl, ctrl->IterTmr);

    starttimer__(ctrl, ctrl->WrapUpTmr);
    // Every movable vertex was moved once, so the moves fill swaps[0 .. nvtxs-nfixed-1].
    for (int i = mincutorder + 1; i < nvtxs - nfixed; i++) {
      const int v = s.swaps[i];
      const int from = where[v];
      FlipVertex(graph, v, from, (from + 1) % 2);
    }
    if (ctrl->dbglvl & DBG_REFINE)
      std::printf("\tMinimum Cut: %8d at %5d [%6d %6d]\n", bestcut, mincutorder, pwgts[0],
                  pwgts[1]);
    graph->mincut = bestcut;
    stoptimer__(ctrl, ctrl->WrapUpTmr);
    if (bestcut == initcut) break;
  }
  FreeScratch(&s);
}

// One pass's move loop of the early-exit refiners. Sets last to the index of the last move that
// stands (a move taken back at once does not count).
template <bool kConstrained>
void EEFMMoves(PartCtrl *ctrl, HGraph *graph, Scratch *s, Bounds b, int limit, int initcut,
               int *bestcut, int *mincutorder, int *last) {
  const int nvtxs = graph->nvtxs;
  int *where = graph->where, *gain = graph->gain, *pwgts = graph->pwgts;
  int *moved = s->moved;
  PQueue *queues = s->queues;

  int newcut = initcut;
  int lastfrom = 0;
  *bestcut = initcut;
  *mincutorder = -1;

  int nswaps;
  for (nswaps = 0; nswaps < nvtxs; nswaps++) {
    const int u0 = refine2::SideCandidate<kConstrained>(graph, &queues[0], b, 0);
    const int u1 = refine2::SideCandidate<kConstrained>(graph, &queues[1], b, 1);
    int from;
    if (u0 == -1 && u1 == -1) break;
    if (u0 == -1) {
      from = 1;
    } else if (u1 == -1) {
      from = 0;
    } else if constexpr (kConstrained) {
      from = refine2::ChooseSideByRoom(graph, b, u0, u1);
    } else {
      // Only the side weights steer here, not the weights of the candidates; on equal gains
      // with both sides in bounds the pass keeps giving from the side it gave from last.
      const int g0 = gain[u0], g1 = gain[u1];
      if (g0 > g1)
        from = pwgts[0] < b.min0 ? 1 : 0;
      else if (g0 < g1)
        from = pwgts[1] >= b.min1 ? 1 : 0;
      else if (pwgts[0] < b.min0)
        from = 1;
      else if (pwgts[1] < b.min1)
        from = 0;
      else
        from = lastfrom;
    }
    const int to = 1 - from;
    const int v = MoveCandidate<kConstrained>(graph, s, from, u0, u1, nswaps, &newcut);

    if (refine2::IsBalanced(pwgts, b) && newcut < *bestcut) {
      *bestcut = newcut;
      *mincutorder = nswaps;
    } else if (newcut > *bestcut && nswaps - *mincutorder > limit) {
      // Too long without a new best: take this move back before it touched gains or counts.
      FlipVertex(graph, v, to, from);
      break;
    }

    if (ctrl->dbglvl & DBG_MOVES)
      std::printf("Gains from moving %8d from %2d: %4d, \tNewcut: %d\n", v, from, gain[v], newcut);

    gain[v] = -gain[v];
    refine2::UpdateMove(
        graph, v, from, to, [](int) { return true; },
        [queues, moved, where, gain](int u, int oldgain) {
          if (moved[u] == -1) PQueueUpdate__(&queues[where[u]], u, oldgain, gain[u]);
        });
    lastfrom = from;
  }
  *last = nswaps - 1;
}

template <bool kConstrained>
void RefineEEFMImpl(PartCtrl *ctrl, HGraph *graph, int npasses, float fraction) {
  const int nvtxs = graph->nvtxs;
  int *where = graph->where, *gain = graph->gain, *pwgts = graph->pwgts;
  const int limit = static_cast<int>(static_cast<float>(nvtxs) * fraction);

  Scratch s;
  CreateScratch(graph, &s);

  starttimer__(ctrl, ctrl->InitRefTmr);
  ComputeInitGains__(graph);
  stoptimer__(ctrl, ctrl->InitRefTmr);

  for (int pass = 0; pass < npasses; pass++) {
    starttimer__(ctrl, ctrl->InitRefTmr);
    const Bounds b = refine2::BalanceBounds(ctrl, pwgts);
    const int initcut = graph->mincut;
    FillQueues(graph, &s);
    if ((ctrl->dbglvl & DBG_REFINE) && pass == 0)
      std::printf("Partitions: [%6d,%8d]  [%6d,%8d], Initial Cut: %8d [%d] [%d]\n",
                  s.queues[0].nitems, pwgts[0], s.queues[1].nitems, pwgts[1], initcut,
                  ComputeCut__(graph), b.min0);
    stoptimer__(ctrl, ctrl->InitRefTmr);

    starttimer__(ctrl, ctrl->IterTmr);
    int bestcut, mincutorder, last;
    EEFMMoves<kConstrained>(ctrl, graph, &s, b, limit, initcut, &bestcut, &mincutorder, &last);
    stoptimer__(ctrl, ctrl->IterTmr);

    starttimer__(ctrl, ctrl->WrapUpTmr);
    // Undo move by move, so that gains and pin counts describe the bisection that is kept.
    for (int i = last; i > mincutorder; i--) {
      const int v = s.swaps[i];
      const int from = where[v], to = 1 - from;
      FlipVertex(graph, v, from, to);
      gain[v] = -gain[v];
      refine2::UpdateMove(
          graph, v, from, to, [](int) { return true; }, [](int, int) {});
    }
    if (ctrl->dbglvl & DBG_REFINE)
      std::printf("\tMinimum Cut: %8d [%8d] at %5d [%6d %6d]\n", bestcut, ComputeCut__(graph),
                  mincutorder, pwgts[0], pwgts[1]);
    graph->mincut = bestcut;
    stoptimer__(ctrl, ctrl->WrapUpTmr);
    if (bestcut == initcut) break;
  }
  FreeScratch(&s);
}

}  // namespace

void Refine_FM__(PartCtrl *ctrl, HGraph *graph, int npasses) {
  RefineFMImpl<false>(ctrl, graph, npasses);
}

void Refine_FM2__(PartCtrl *ctrl, HGraph *graph, int npasses) {
  RefineFMImpl<true>(ctrl, graph, npasses);
}

void Refine_EEFM__(PartCtrl *ctrl, HGraph *graph, int npasses, float fraction) {
  RefineEEFMImpl<false>(ctrl, graph, npasses, fraction);
}

void Refine_EEFM2__(PartCtrl *ctrl, HGraph *graph, int npasses, float fraction) {
  RefineEEFMImpl<true>(ctrl, graph, npasses, fraction);
}
