// FM refinement of a bisection: passes in which every movable vertex moves once, in gain order,
// keeping the best balanced prefix of the moves. The plain refiners recompute gains every pass
// and undo by flipping sides; the early-exit refiners give up after a run of moves without a
// new best, undo move by move and so keep gains exact across passes. The "2" forms pick, within
// each side, a high-gain vertex the side can afford to give up.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "refine2/moves.h"
#include "refine2/refine2.h"

namespace hypra {

namespace {

using refine2::Bounds;
using refine2::FlipVertex;

// Per-vertex state of a plain FM pass in one byte, so that the pin scans of the move loop read
// one small array instead of both where and moved: a free vertex holds its side, a vertex that
// moved in this pass (or is fixed) holds kLocked.
constexpr unsigned char kLocked = 2;

// What a plain FM pass reads and changes of one hyperedge, kept together so that the move loop
// fetches one record per hyperedge instead of one entry from each of seven arrays: on large
// hypergraphs those fetches miss the cache and dominate the pass.
struct NetPass {
  int nd[2];    // pins on each side
  int free[2];  // of those, the pins not yet moved in this pass (and not fixed)
  int wgt;
  int begin;  // its pins are netind[begin, end)
  int end;
  int lockedsides;  // the sides that vertices moved to in this pass (bit s for side s)
};

struct Scratch {
  PQueue queues[2];
  int *moved;
  int *swaps;
  int *perm;
  // Plain refiners only: the byte state above and the hyperedge records.
  unsigned char *state;
  NetPass *nets;
  // Plain refiners only: the pin counts, gains and cut at the start of the pass, from which the
  // next pass's state is derived by replaying the moves that were kept.
  int *startndeg[2];
  int *startgain;
  int startcut;
  int *netstamp;
  int *cellstamp;
  int *touched;
  int *oldnd;  // the pin counts of touched[t] before the replay, at 2t and 2t + 1
};

void CreateScratch(const HGraph *graph, Scratch *s, bool plain) {
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges;
  const int maxgain = refine2::MaxGain(graph);
  PQueueInitPair__(s->queues, nvtxs, maxgain);
  s->moved = imalloc__(nvtxs, "FM_Refine: moved");
  s->swaps = imalloc__(nvtxs, "FM_Refine: swaps");
  s->perm = imalloc__(nvtxs, "FM_Refine: perm");
  s->state = nullptr;
  s->nets = nullptr;
  s->startndeg[0] = s->startndeg[1] = s->startgain = nullptr;
  s->netstamp = s->cellstamp = s->touched = s->oldnd = nullptr;
  if (!plain) return;
  s->state = static_cast<unsigned char *>(RVmalloc__(nvtxs, "FM_Refine: state"));
  s->nets = static_cast<NetPass *>(
      RVmalloc__(sizeof(NetPass) * static_cast<size_t>(nhedges), "FM_Refine: nets"));
  s->startndeg[0] = imalloc__(nhedges, "FM_Refine: startndeg[0]");
  s->startndeg[1] = imalloc__(nhedges, "FM_Refine: startndeg[1]");
  s->startgain = imalloc__(nvtxs, "FM_Refine: startgain");
  s->netstamp = ismalloc__(nhedges, -1, "FM_Refine: netstamp");
  s->cellstamp = ismalloc__(nvtxs, -1, "FM_Refine: cellstamp");
  s->touched = imalloc__(nhedges, "FM_Refine: touched");
  s->oldnd = imalloc__(2LL * nhedges, "FM_Refine: oldnd");
}

void FreeScratch(Scratch *s) {
  PQueueFreePair__(s->queues);
  RVfree__(&s->moved, &s->swaps, &s->perm, &s->state, &s->nets, &s->startndeg[0], &s->startndeg[1],
           &s->startgain, &s->netstamp, &s->cellstamp, &s->touched, &s->oldnd);
}

// Empties both queues, unlocks every vertex and queues the movable ones on their sides in a
// fresh random order; fixed vertices stay locked for the pass.
void FillQueues(const PartCtrl *ctrl, HGraph *graph, Scratch *s) {
  const int nvtxs = graph->nvtxs, nfixed = graph->nfixed;
  const int *where = graph->where, *gain = graph->gain;
  PQueueReset__(&s->queues[0]);
  PQueueReset__(&s->queues[1]);
  // Only the early-exit refiners read moved; the plain ones lock by the state byte.
  const bool trackmoved = s->state == nullptr;
  if (trackmoved) iset__(nvtxs, -1, s->moved);
  RandomPermute__(&ctrl->run->rng, s->perm, nvtxs, 1);
  for (int i = 0; i < nvtxs; i++) {
    const int v = s->perm[i];
    if (v >= nfixed)
      PQueueInsert__(&s->queues[where[v]], v, gain[v]);
    else if (trackmoved)
      s->moved[v] = 1;
  }
}

// Plain refiners: after FillQueues, marks every free vertex with its side and every fixed one
// as locked, and fills the hyperedge records from the pass's saved starting pin counts, with
// nothing moved yet. The pass keeps its pin counts in the records only.
// Returns whether no hyperedge weight is negative.
bool StartPlainPass(const HGraph *graph, Scratch *s) {
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges, nfixed = graph->nfixed;
  const int *where = graph->where, *netptr = graph->netptr, *netwgt = graph->netwgt;
  const int *nd0 = s->startndeg[0], *nd1 = s->startndeg[1];
  for (int v = 0; v < nvtxs; v++)
    s->state[v] = v < nfixed ? kLocked : static_cast<unsigned char>(where[v]);
  NetPass *nets = s->nets;
  int minwgt = 0;
  for (int e = 0; e < nhedges; e++) {
    nets[e].nd[0] = nets[e].free[0] = nd0[e];
    nets[e].nd[1] = nets[e].free[1] = nd1[e];
    nets[e].wgt = netwgt[e];
    minwgt = std::min(minwgt, netwgt[e]);
    nets[e].begin = netptr[e];
    nets[e].end = netptr[e + 1];
    nets[e].lockedsides = 0;
  }
  // Every pin is free but the fixed ones.
  for (int v = 0; v < nfixed; v++)
    for (int j = graph->incptr[v]; j < graph->incptr[v + 1]; j++)
      nets[graph->incind[j]].free[where[v]]--;
  return minwgt >= 0;
}

// Plain refiners, on a pass after the first without fixed vertices: the same state as
// StartPlainPass, restored only where the previous pass left a trace. A hyperedge none of whose
// pins moved in that pass (its lockedsides is still 0) kept its records untouched, and the
// start derived since then changed only hyperedges of kept moves, so only the moved vertices and
// the hyperedges they touched need resetting (every pin is free without fixed vertices). The
// hyperedges are found through the moved vertices when those have few pins in all, else by a
// sweep.
void RestartPlainPass(const HGraph *graph, Scratch *s, int nmoved) {
  const int nhedges = graph->nhedges;
  const int *where = graph->where, *incptr = graph->incptr, *incind = graph->incind;
  const int *nd0 = s->startndeg[0], *nd1 = s->startndeg[1];
  NetPass *nets = s->nets;
  long long npins = 0;
  for (int i = 0; i < nmoved; i++) {
    const int v = s->swaps[i];
    s->state[v] = static_cast<unsigned char>(where[v]);
    npins += incptr[v + 1] - incptr[v];
  }
  const auto reset = [&](int e) {
    nets[e].nd[0] = nets[e].free[0] = nd0[e];
    nets[e].nd[1] = nets[e].free[1] = nd1[e];
    nets[e].lockedsides = 0;
  };
  if (npins < nhedges) {
    for (int i = 0; i < nmoved; i++) {
      const int v = s->swaps[i];
      for (int j = incptr[v], jend = incptr[v + 1]; j < jend; j++)
        if (nets[incind[j]].lockedsides != 0) reset(incind[j]);
    }
  } else {
    for (int e = 0; e < nhedges; e++)
      if (nets[e].lockedsides != 0) reset(e);
  }
}

// Keeps the state a pass starts from (pin counts, gains, cut), so that the next pass can derive
// its own from it instead of recomputing everything.
void SaveStartState(const HGraph *graph, Scratch *s) {
  icopy__(graph->nhedges, graph->ndeg[0], s->startndeg[0]);
  icopy__(graph->nhedges, graph->ndeg[1], s->startndeg[1]);
  icopy__(graph->nvtxs, graph->gain, s->startgain);
  s->startcut = graph->mincut;
}

// What a hyperedge of weight w with own pins on a vertex's side and other pins on the other
// adds to the vertex's gain, as refine2::VertexGain counts it.
inline int GainShare(int own, int other, int w) {
  return other != 0 && own == 1 ? w : (other == 0 ? -w : 0);
}

// Gives the saved start the pin counts, and the graph the gains and cut, that a fresh
// computation from `where` would, when `where` differs from the previous pass's start only by
// the first nkept moves of that pass: their pin counts are replayed on the saved start, the cut is
// corrected for the hyperedges they touched, and the pins of those hyperedges have the change of
// each hyperedge's share in their gains applied (a moved pin trades its old side's share for its
// new side's). The saved start becomes this new state, ready for the pass after.
void DeriveStartState(HGraph *graph, Scratch *s, int nkept, int stamp) {
  const int *incptr = graph->incptr, *incind = graph->incind;
  const int *netptr = graph->netptr, *netind = graph->netind, *netwgt = graph->netwgt;
  const int *where = graph->where;
  int *nd0 = s->startndeg[0], *nd1 = s->startndeg[1];
  int *startgain = s->startgain, *cellstamp = s->cellstamp, *oldnd = s->oldnd;
  int ntouched = 0;
  int cut = s->startcut;
  for (int i = 0; i < nkept; i++) {
    const int v = s->swaps[i];
    const int to = where[v];
    cellstamp[v] = stamp;
    int *ndto = to == 0 ? nd0 : nd1, *ndfrom = to == 0 ? nd1 : nd0;
    for (int j = incptr[v], jend = incptr[v + 1]; j < jend; j++) {
      const int e = incind[j];
      if (s->netstamp[e] != stamp) {
        s->netstamp[e] = stamp;
        oldnd[2 * ntouched] = nd0[e];
        oldnd[2 * ntouched + 1] = nd1[e];
        s->touched[ntouched++] = e;
        if (nd0[e] != 0 && nd1[e] != 0) cut -= netwgt[e];
      }
      ndto[e]++;
      ndfrom[e]--;
    }
  }
  for (int t = 0; t < ntouched; t++) {
    const int e = s->touched[t];
    const int n0 = nd0[e], n1 = nd1[e], o0 = oldnd[2 * t], o1 = oldnd[2 * t + 1];
    const int w = netwgt[e];
    if (n0 != 0 && n1 != 0) cut += w;
    const int new0 = GainShare(n0, n1, w), new1 = GainShare(n1, n0, w);
    const int old0 = GainShare(o0, o1, w), old1 = GainShare(o1, o0, w);
    // The change by current side, for a pin that stayed and for one that moved here.
    const int stayed[2] = {new0 - old0, new1 - old1};
    const int moved[2] = {new0 - old1, new1 - old0};
    if ((stayed[0] | stayed[1] | moved[0] | moved[1]) == 0) continue;
    for (int k = netptr[e], kend = netptr[e + 1]; k < kend; k++) {
      const int u = netind[k];
      const int side = where[u];
      startgain[u] += cellstamp[u] == stamp ? moved[side] : stayed[side];
    }
  }
  s->startcut = cut;
  icopy__(graph->nvtxs, startgain, graph->gain);
  graph->mincut = cut;
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

// The pin-count and gain update after v moved from `from` to `to`, for the plain refiners,
// which keep the gains of free vertices only. Besides the usual skip (more than two pins on the
// receiving side and at least two on the giving side), a hyperedge that already had a vertex
// moved to each side in this pass is passed over: with a locked pin on both sides it stays cut
// whatever the free pins do, so none of their gains can change, and its pin counts are left
// as they are (nothing reads them before the next pass resets them).
// Returns the weight of the hyperedges that this move locked on both sides. kBuckets: both
// queues are in bucket mode, which the caller checked once for the whole pass. kCheckRange: a
// new gain may fall outside the buckets. Not so without negative hyperedge weights: every pin
// occurrence adds between -w and w of its hyperedge's weight w to a free vertex's gain, which
// the updates keep exact, so no gain exceeds the vertex's adjwgt in size, and the buckets span
// the largest adjwgt.
template <bool kBuckets, bool kCheckRange>
int UpdatePlainMove(HGraph *graph, Scratch *s, int v, int from, int to) {
  const int *incptr = graph->incptr, *incind = graph->incind, *netind = graph->netind;
  const unsigned char *state = s->state;
  NetPass *nets = s->nets;
  int *gain = graph->gain;
  PQueue *queues = s->queues;
  const int tobit = 1 << to;
  int newlylocked = 0;
  // The gain change of a pin by its state byte; a locked pin keeps its (unused) gain.
  int delta[kLocked + 1];
  delta[kLocked] = 0;
  // Bucket mode: both queues' lists and tops in locals for the whole move, which the stores to
  // gains and links cannot alias; the tops go back at the end. The two queues share their
  // links and were built for the same gain range.
  PQueueLink *links = nullptr;
  int *heads[2] = {nullptr, nullptr};
  int top[2] = {0, 0};
  unsigned int span = 0;
  if constexpr (kBuckets) {
    links = queues[0].links;
    heads[0] = queues[0].buckets;
    heads[1] = queues[1].buckets;
    top[0] = queues[0].topbucket;
    top[1] = queues[1].topbucket;
    span = static_cast<unsigned int>(queues[0].gainspan);
  }

  // Loop bounds are read once: the stores to counts and gains could otherwise alias them.
  for (int j = incptr[v], jend = incptr[v + 1]; j < jend; j++) {
    NetPass &net = nets[incind[j]];
    // Locked on both sides: no later move reads its counts, which the next pass resets.
    const int sides = net.lockedsides;
    if (sides == 3) continue;
    const int nto = ++net.nd[to];
    const int nfrom = --net.nd[from];
    const int nfreefrom = --net.free[from];
    // Here sides is 0 or one side's bit; the other side's bit means this move locks both.
    if (sides != tobit) {
      net.lockedsides = sides | tobit;
      if (sides != 0) newlylocked += net.wgt;
    }
    if (nto > 2 && nfrom >= 2) continue;
    const int w = net.wgt;
    // Only these counts change a free pin's gain: the giving side down to its last pin (or
    // emptied), the receiving side at its first or second pin.
    const int fromdelta = (nfrom == 1 ? w : 0) + (nto == 1 ? w : 0);
    const int todelta = (nfrom == 0 ? w : 0) + (nto == 2 ? w : 0);
    // The free pins whose gains change: nothing to scan without them, else the scan ends at the
    // last of them. Every free pin on a side with a change gets it, and the free counts are
    // exact but for a vertex that is a pin of one hyperedge more than once: while v's copies
    // are taken off one by one, the rest still count. The bound guards that case.
    int left = (fromdelta != 0 ? nfreefrom : 0) + (todelta != 0 ? net.free[to] : 0);
    if (left == 0) continue;
    delta[from] = fromdelta;
    delta[to] = -todelta;
    for (const int *pin = netind + net.begin, *end = netind + net.end; pin < end; pin++) {
      const int u = *pin;
      const int side = state[u];
      const int d = delta[side];
      if (d == 0) continue;
      left--;
      const int oldgain = gain[u];
      const int newgain = oldgain + d;
      gain[u] = newgain;
      if constexpr (kBuckets) {
        // PQueueUpdate__ on the locals: out of the old bucket, to the head of the new one,
        // the top following the highest non-empty bucket.
        PQueueLink *l = links;
        int *b = heads[side];
        const int prev = l[u].prev, next = l[u].next;
        if (prev != -1)
          l[prev].next = next;
        else
          b[oldgain] = next;
        if (next != -1) l[next].prev = prev;
        if constexpr (kCheckRange) {
          if (static_cast<unsigned int>(newgain) + span > 2u * span) [[unlikely]]
            pqueue_detail::GainOutOfRange(&queues[side], newgain);
        }
        const int head = b[newgain];
        l[u].prev = -1;
        l[u].next = head;
        if (head != -1) l[head].prev = u;
        b[newgain] = u;
        int t = top[side];
        if (newgain > t) {
          top[side] = newgain;
        } else if (t == oldgain && b[t] == -1) {
          do t--;
          while (b[t] == -1);
          top[side] = t;
        }
      } else {
        // Heap mode (newgain differs from oldgain).
        pqueue_detail::HeapUpdate(&queues[side], u, oldgain, newgain);
      }
      if (left == 0) break;
    }
  }
  if constexpr (kBuckets) {
    queues[0].topbucket = top[0];
    queues[1].topbucket = top[1];
  }
  return newlylocked;
}

// One pass's move loop of the plain refiners; returns the best point as (bestcut, mincutorder)
// and the number of moves made.
//
// A hyperedge with a vertex moved to each side stays cut for the rest of the pass, so the total
// weight of such hyperedges bounds every later cut from below (the tracked cut is never below
// the true one while hyperedge weights are not negative: single-pin hyperedges only raise it).
// Once that bound exceeds the best cut no later point can be recorded, and with `canstop` the
// pass ends there: the moves it skips would all be undone.
template <bool kConstrained>
int FMMoves(const PartCtrl *ctrl, HGraph *graph, Scratch *s, Bounds b, int initcut,
            bool nonnegative, bool canstop, int *bestcut, int *mincutorder) {
  const int nvtxs = graph->nvtxs;
  int *gain = graph->gain, *pwgts = graph->pwgts;
  const int *cellwgt = graph->cellwgt;
  PQueue *queues = s->queues;

  const bool buckets = queues[0].qtype == PQUEUE_BUCKETS && queues[1].qtype == PQUEUE_BUCKETS;
  int newcut = initcut;
  int mindiff = refine2::AbsDiff(pwgts[0], pwgts[1]);
  long long lockedcut = 0;
  *bestcut = initcut;
  *mincutorder = -1;

  int nswaps;
  for (nswaps = 0; nswaps < nvtxs; nswaps++) {
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

    if (ctrl->run->now.dbglvl & DBG_MOVES) {
      if constexpr (kConstrained)
        Printf__(ctrl, "Gains from moving %8d from %2d: %4d, \tNewcut: %d [%6d %6d %6d]\n", v, from,
                 gain[v], newcut, cellwgt[v], pwgts[0], pwgts[1]);
      else
        Printf__(ctrl, "Gains from moving %8d from %2d: %4d, \tNewcut: %d [%6d %6d]\n", v, from,
                 gain[v], newcut, pwgts[0], pwgts[1]);
    }

    s->state[v] = kLocked;
    if (!buckets)
      lockedcut += UpdatePlainMove<false, false>(graph, s, v, from, to);
    else if (nonnegative)
      lockedcut += UpdatePlainMove<true, false>(graph, s, v, from, to);
    else
      lockedcut += UpdatePlainMove<true, true>(graph, s, v, from, to);
    if (canstop && lockedcut > *bestcut) return nswaps + 1;
  }
  return nswaps;
}

template <bool kConstrained>
void RefineFMImpl(const PartCtrl *ctrl, HGraph *graph, int npasses) {
  const int nfixed = graph->nfixed;
  int *where = graph->where, *pwgts = graph->pwgts;

  Scratch s;
  CreateScratch(graph, &s, true);
  if (npasses >= 1 && nfixed < 0) errexit__("Refine_FM: negative fixed-vertex count %d", nfixed);

  // Whether no hyperedge weight is negative (found on the first pass's start): only then do the
  // gains stay within the buckets and the locked-cut bound hold. A pass may end as soon as no
  // later point can beat its best with such weights, unless every move is traced.
  bool nonnegative = true;
  bool canstop = !(ctrl->run->now.dbglvl & DBG_MOVES);
  int nkept = 0;   // moves the previous pass kept
  int nmoved = 0;  // moves the previous pass made
  for (int pass = 0; pass < npasses; pass++) {
    starttimer__(ctrl, ctrl->run->time.InitRefTmr);
    // The side weights stay exact through the undo; pin counts, gains and the cut are computed
    // afresh on the first pass and derived from the previous pass's start afterwards (which
    // moves the saved start along with them).
    if (pass == 0) {
      ComputeInitGains__(graph);
      SaveStartState(graph, &s);
    } else {
      DeriveStartState(graph, &s, nkept, pass);
    }
    const Bounds b = refine2::BalanceBounds(ctrl, pwgts);
    const int initcut = graph->mincut;
    FillQueues(ctrl, graph, &s);
    if (pass == 0) {
      nonnegative = StartPlainPass(graph, &s);
      canstop = nonnegative && canstop;
    } else if (nfixed != 0) {
      StartPlainPass(graph, &s);
    } else {
      RestartPlainPass(graph, &s, nmoved);
    }
    if ((ctrl->run->now.dbglvl & DBG_REFINE) && pass == 0)
      Printf__(ctrl,
               kConstrained ? "Partitions2: [%6d,%8d]  [%6d,%8d], Initial Cut: %8d [%d] [%d %d]\n"
                            : "Partitions: [%6d,%8d]  [%6d,%8d], Initial Cut: %8d [%d] [%d %d]\n",
               s.queues[0].nitems, pwgts[0], s.queues[1].nitems, pwgts[1], initcut,
               ComputeCut__(graph), b.min0, b.min1);
    stoptimer__(ctrl, ctrl->run->time.InitRefTmr);

    starttimer__(ctrl, ctrl->run->time.IterTmr);
    int bestcut, mincutorder;
    const int nmoves = FMMoves<kConstrained>(ctrl, graph, &s, b, initcut, nonnegative, canstop,
                                             &bestcut, &mincutorder);
    stoptimer__(ctrl, ctrl->run->time.IterTmr);

    starttimer__(ctrl, ctrl->run->time.WrapUpTmr);
    for (int i = mincutorder + 1; i < nmoves; i++) {
      const int v = s.swaps[i];
      const int from = where[v];
      FlipVertex(graph, v, from, (from + 1) % 2);
    }
    if (ctrl->run->now.dbglvl & DBG_REFINE)
      Printf__(ctrl, "\tMinimum Cut: %8d at %5d [%6d %6d]\n", bestcut, mincutorder, pwgts[0],
               pwgts[1]);
    graph->mincut = bestcut;
    nkept = mincutorder + 1;
    nmoved = nmoves;
    stoptimer__(ctrl, ctrl->run->time.WrapUpTmr);
    if (bestcut == initcut) break;
  }
  FreeScratch(&s);
}

// One pass's move loop of the early-exit refiners. Sets last to the index of the last move that
// stands (a move taken back at once does not count).
template <bool kConstrained>
void EEFMMoves(const PartCtrl *ctrl, HGraph *graph, Scratch *s, Bounds b, int limit, int initcut,
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

    if (ctrl->run->now.dbglvl & DBG_MOVES)
      Printf__(ctrl, "Gains from moving %8d from %2d: %4d, \tNewcut: %d\n", v, from, gain[v],
               newcut);

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
void RefineEEFMImpl(const PartCtrl *ctrl, HGraph *graph, int npasses, float fraction) {
  const int nvtxs = graph->nvtxs;
  int *where = graph->where, *gain = graph->gain, *pwgts = graph->pwgts;
  const int limit = static_cast<int>(static_cast<float>(nvtxs) * fraction);

  Scratch s;
  CreateScratch(graph, &s, false);

  starttimer__(ctrl, ctrl->run->time.InitRefTmr);
  ComputeInitGains__(graph);
  stoptimer__(ctrl, ctrl->run->time.InitRefTmr);

  for (int pass = 0; pass < npasses; pass++) {
    starttimer__(ctrl, ctrl->run->time.InitRefTmr);
    const Bounds b = refine2::BalanceBounds(ctrl, pwgts);
    const int initcut = graph->mincut;
    FillQueues(ctrl, graph, &s);
    if ((ctrl->run->now.dbglvl & DBG_REFINE) && pass == 0)
      Printf__(ctrl, "Partitions: [%6d,%8d]  [%6d,%8d], Initial Cut: %8d [%d] [%d]\n",
               s.queues[0].nitems, pwgts[0], s.queues[1].nitems, pwgts[1], initcut,
               ComputeCut__(graph), b.min0);
    stoptimer__(ctrl, ctrl->run->time.InitRefTmr);

    starttimer__(ctrl, ctrl->run->time.IterTmr);
    int bestcut, mincutorder, last;
    EEFMMoves<kConstrained>(ctrl, graph, &s, b, limit, initcut, &bestcut, &mincutorder, &last);
    stoptimer__(ctrl, ctrl->run->time.IterTmr);

    starttimer__(ctrl, ctrl->run->time.WrapUpTmr);
    // Undo move by move, so that gains and pin counts describe the bisection that is kept.
    for (int i = last; i > mincutorder; i--) {
      const int v = s.swaps[i];
      const int from = where[v], to = 1 - from;
      FlipVertex(graph, v, from, to);
      gain[v] = -gain[v];
      refine2::UpdateMove(
          graph, v, from, to, [](int) { return true; }, [](int, int) {});
    }
    if (ctrl->run->now.dbglvl & DBG_REFINE)
      Printf__(ctrl, "\tMinimum Cut: %8d [%8d] at %5d [%6d %6d]\n", bestcut, ComputeCut__(graph),
               mincutorder, pwgts[0], pwgts[1]);
    graph->mincut = bestcut;
    stoptimer__(ctrl, ctrl->run->time.WrapUpTmr);
    if (bestcut == initcut) break;
  }
  FreeScratch(&s);
}

}  // namespace

void Refine_FM__(const PartCtrl *ctrl, HGraph *graph, int npasses) {
  RefineFMImpl<false>(ctrl, graph, npasses);
}

void Refine_FM2__(const PartCtrl *ctrl, HGraph *graph, int npasses) {
  RefineFMImpl<true>(ctrl, graph, npasses);
}

void Refine_EEFM__(const PartCtrl *ctrl, HGraph *graph, int npasses, float fraction) {
  RefineEEFMImpl<false>(ctrl, graph, npasses, fraction);
}

void Refine_EEFM2__(const PartCtrl *ctrl, HGraph *graph, int npasses, float fraction) {
  RefineEEFMImpl<true>(ctrl, graph, npasses, fraction);
}

}  // namespace hypra
