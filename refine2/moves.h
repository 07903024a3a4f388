// Pieces shared by the two-way refiners: the balance bounds, the queue size, the side choice
// between two queue tops and the pin-count and gain update that follows one vertex move.
#pragma once

#include "core/core.h"
#include "refine2/pqueue.h"

namespace hypra {

namespace refine2 {

// Lower weight bounds of the two sides. Side 0's bound is evaluated in single precision and side
// 1's in double; the two differ in rounding on purpose, so they are not computed alike.
struct Bounds {
  int min0;
  int min1;
};

inline Bounds BalanceBounds(const PartCtrl *ctrl, const int *pwgts) {
  const int total = pwgts[0] + pwgts[1];
  Bounds b;
  b.min0 = static_cast<int>((ctrl->run->now.TargetFrac - ctrl->run->now.UBfactor) *
                            static_cast<float>(total));
  b.min1 = static_cast<int>((1.0 - static_cast<double>(ctrl->run->now.TargetFrac) -
                             static_cast<double>(ctrl->run->now.UBfactor)) *
                            static_cast<double>(total));
  return b;
}

inline bool IsBalanced(const int *pwgts, Bounds b) {
  return pwgts[0] >= b.min0 && pwgts[1] >= b.min1;
}

inline int SideBound(Bounds b, int side) {
  return side == 0 ? b.min0 : b.min1;
}

// No vertex gains more than the total weight of its hyperedges, so the largest adjwgt entry
// sizes the queues.
inline int MaxGain(const HGraph *graph) {
  if (graph->nvtxs < 1) return 0;
  return graph->adjwgt[iamax__(graph->nvtxs, graph->adjwgt)];
}

inline int AbsDiff(int a, int b) {
  return a > b ? a - b : b - a;
}

// The weight-aware choice of the side to move from, given the two queue tops u0 and u1 (both
// present): the higher gain wins unless taking it would break its side's bound; on equal gains
// the side with strictly more room above its bound gives, side 0 otherwise.
inline int ChooseSideByRoom(const HGraph *graph, Bounds b, int u0, int u1) {
  const int *gain = graph->gain, *cellwgt = graph->cellwgt, *pwgts = graph->pwgts;
  const int g0 = gain[u0], g1 = gain[u1];
  if (g0 > g1) return pwgts[0] - cellwgt[u0] < b.min0 ? 1 : 0;
  if (g0 < g1) return pwgts[1] - cellwgt[u1] >= b.min1 ? 1 : 0;
  return pwgts[0] - b.min0 < pwgts[1] - b.min1 ? 1 : 0;
}

// Candidate of one side: the plain top, or (constrained) a high-gain vertex no heavier than the
// room the side has above its bound.
template <bool kConstrained>
inline int SideCandidate(const HGraph *graph, const PQueue *queue, Bounds b, int side) {
  if constexpr (kConstrained)
    return PQueueSeeConstraintMax(queue, graph->pwgts[side] - SideBound(b, side), graph->cellwgt);
  else
    return PQueueSeeMax__(queue);
}

// Takes the chosen candidate v out of its queue: the top is popped, a constrained pick (which
// need not be the top) is deleted.
template <bool kConstrained>
inline void TakeCandidate(const HGraph *graph, PQueue *queue, int v) {
  if constexpr (kConstrained)
    PQueueDelete(queue, v, graph->gain[v]);
  else
    PQueueGetMax__(queue);
}

// After v has changed side from `from` to `to`, updates the pin counts of v's hyperedges and the
// gains of their pins. A hyperedge that keeps more than two pins on the receiving side and at
// least two on the giving side changes no gain and is skipped. For every other hyperedge each
// pin u other than v for which select(u) holds gets its gain adjusted, and then requeue(u,
// oldgain) is called, in pin order.
template <typename Select, typename Requeue>
inline void UpdateMove(HGraph *graph, int v, int from, int to, Select select, Requeue requeue) {
  const int *incptr = graph->incptr, *incind = graph->incind;
  const int *netptr = graph->netptr, *netind = graph->netind, *netwgt = graph->netwgt;
  const int *where = graph->where;
  int *gain = graph->gain;
  int *ndfrom = graph->ndeg[from], *ndto = graph->ndeg[to];

  for (int j = incptr[v]; j < incptr[v + 1]; j++) {
    const int e = incind[j];
    const int w = netwgt[e];
    const int nto = ++ndto[e];
    const int nfrom = --ndfrom[e];
    if (nto > 2 && nfrom >= 2) continue;
    for (int k = netptr[e]; k < netptr[e + 1]; k++) {
      const int u = netind[k];
      if (u == v || !select(u)) continue;
      const int oldgain = gain[u];
      if (where[u] == from) {
        if (nfrom == 1) gain[u] += w;
        if (nto == 1) gain[u] += w;
      } else {
        if (nfrom == 0) gain[u] -= w;
        if (nto == 2) gain[u] -= w;
      }
      requeue(u, oldgain);
    }
  }
}

// Gain of moving v alone from side s to the other side t: each hyperedge of which v is the last
// pin on s while t already holds pins gains its weight; each hyperedge entirely on s (a
// single-pin hyperedge included) loses it.
inline int VertexGain(const HGraph *graph, int v, const int *ndeg0, const int *ndeg1) {
  const int *incptr = graph->incptr, *incind = graph->incind, *netwgt = graph->netwgt;
  const int *own = graph->where[v] == 0 ? ndeg0 : ndeg1;
  const int *other = graph->where[v] == 0 ? ndeg1 : ndeg0;
  int gain = 0;
  for (int j = incptr[v], jend = incptr[v + 1]; j < jend; j++) {
    const int e = incind[j];
    if (other[e] != 0 && own[e] == 1)
      gain += netwgt[e];
    else if (other[e] == 0)
      gain -= netwgt[e];
  }
  return gain;
}

// Puts v on side `to`, taking its weight from side `from`.
inline void FlipVertex(HGraph *graph, int v, int from, int to) {
  graph->where[v] = to;
  graph->pwgts[to] += graph->cellwgt[v];
  graph->pwgts[from] -= graph->cellwgt[v];
}

}  // namespace refine2

}  // namespace hypra
