// Rebalancing under an absolute bound on part weights: vertices leave the parts above the bound
// for parts with room, the moves that cost the objective least first, until every part fits or
// no vertex can move any more.
//
// Candidates sit in a max-heap keyed by their gain toward the best part that can still take
// them. Entries are never updated in place: a vertex whose gains change (a neighbour moved) gets
// a new stamp and a fresh entry, and an entry whose target filled up meanwhile is re-offered
// when it reaches the top. A vertex only ever moves into a part that stays within the bound, so
// it never moves twice and the loop ends after at most one move per vertex.
#include <cstring>

#include "kway/kway.h"

namespace hypra {

namespace {

struct Candidate {
  int gain;
  int v;
  int to;
  int stamp;
};

// Higher gain first; equal gains go to the lower vertex number, so that the order of moves, and
// with it the result, depends on nothing but the partition.
bool Before(const Candidate &a, const Candidate &b) {
  return a.gain != b.gain ? a.gain > b.gain : a.v < b.v;
}

struct CandidateHeap {
  Candidate *items = nullptr;
  int size = 0;
  int capacity = 0;

  void Push(const Candidate &c) {
    if (size == capacity) Grow();
    int i = size++;
    while (i > 0 && Before(c, items[(i - 1) / 2])) {
      items[i] = items[(i - 1) / 2];
      i = (i - 1) / 2;
    }
    items[i] = c;
  }

  Candidate Pop() {
    const Candidate top = items[0];
    const Candidate last = items[--size];
    int i = 0;
    for (;;) {
      int child = 2 * i + 1;
      if (child >= size) break;
      if (child + 1 < size && Before(items[child + 1], items[child])) child++;
      if (!Before(items[child], last)) break;
      items[i] = items[child];
      i = child;
    }
    if (size > 0) items[i] = last;
    return top;
  }

  void Grow() {
    const int larger = capacity < 64 ? 64 : 2 * capacity;
    auto *grown = static_cast<Candidate *>(
        RVmalloc__(static_cast<long long>(larger) * sizeof(Candidate), "RebalanceKway: heap"));
    if (size > 0) std::memcpy(grown, items, static_cast<size_t>(size) * sizeof(Candidate));
    RVfree__(&items);
    items = grown;
    capacity = larger;
  }
};

// What a rebalancing pass works with besides the hypergraph's own k-way records.
struct Rebalance {
  HGraph *graph;
  int nparts;
  int maxpwgt;
  bool soed;
  int *single;  // per vertex: the weight of its single-pin hyperedges
  int *stamp;   // per vertex: bumped whenever its entries go stale
  int lightest;
  CandidateHeap heap;
};

// The k-way records count a single-pin hyperedge as internal, as if leaving its part would cut
// it; it never is cut, so its weight is set aside to make the gains exact.
int *SinglePinWeights(const HGraph *graph) {
  int *single = ismalloc__(graph->nvtxs, 0, "RebalanceKway: single");
  for (int e = 0; e < graph->nhedges; e++)
    if (graph->netptr[e + 1] - graph->netptr[e] == 1)
      single[graph->netind[graph->netptr[e]]] += graph->netwgt[e];
  return single;
}

// Exact change of the cut or of the SOED (positive: it drops) when v moves to the part of entry
// d, or to a part that none of v's hyperedges touches when d is null.
int MoveGain(const Rebalance &rb, int v, const KwayDegree *d, bool soed) {
  const CellKwayInfo &r = rb.graph->crinfo[v];
  const int single = rb.single[v];
  const int ewgt = d != nullptr ? d->ewgt : 0;
  if (!soed) return ewgt - (r.iwgt - single);
  const int conngain = d != nullptr ? d->conngain : r.solewgt - rb.graph->adjwgt[v];
  return ewgt + conngain - r.iwgt + 2 * single;
}

bool HasRoom(const Rebalance &rb, int part, int w) {
  return rb.graph->kpwgts[part] + w <= rb.maxpwgt;
}

bool Overweight(const Rebalance &rb, int part) {
  return rb.graph->kpwgts[part] > rb.maxpwgt;
}

// Queues v's cheapest move into a part with room for it, if it has one. Any part v's
// hyperedges touch costs no more than one they do not (with non-negative hyperedge weights), so
// the untouched parts are tried only when no touched one has room, and then the lightest part
// is the only one worth asking.
void Offer(Rebalance &rb, int v) {
  const HGraph *graph = rb.graph;
  const CellKwayInfo &r = graph->crinfo[v];
  const int from = graph->where[v], w = graph->cellwgt[v];
  const int *kpwgts = graph->kpwgts;
  int to = -1, gain = 0;
  for (int k = 0; k < r.nnbrs; k++) {
    const KwayDegree &d = r.nbrs[k];
    if (d.pid == from || !HasRoom(rb, d.pid, w)) continue;
    const int g = MoveGain(rb, v, &d, rb.soed);
    if (to < 0 || g > gain || (g == gain && kpwgts[d.pid] < kpwgts[to])) {
      to = d.pid;
      gain = g;
    }
  }
  if (to < 0 && rb.lightest != from && HasRoom(rb, rb.lightest, w)) {
    to = rb.lightest;
    gain = MoveGain(rb, v, nullptr, rb.soed);
  }
  if (to >= 0) rb.heap.Push(Candidate{gain, v, to, rb.stamp[v]});
}

bool Movable(const Rebalance &rb, int v) {
  return v >= rb.graph->nfixed && rb.graph->cellwgt[v] > 0 && Overweight(rb, rb.graph->where[v]);
}

void Move(Rebalance &rb, int v, int to, int *marker, int *list) {
  HGraph *graph = rb.graph;
  const int from = graph->where[v], w = graph->cellwgt[v];
  // Both objectives are kept current, as the k-way refiners keep them.
  const CellKwayInfo &r = graph->crinfo[v];
  const KwayDegree *d = nullptr;
  for (int k = 0; k < r.nnbrs; k++)
    if (r.nbrs[k].pid == to) d = &r.nbrs[k];
  graph->mincut -= MoveGain(rb, v, d, false);
  graph->soed -= MoveGain(rb, v, d, true);

  graph->kpwgts[from] -= w;
  graph->kpwgts[to] += w;
  graph->where[v] = to;
  const int count = KwayUpdateGainInfo__(graph, v, from, to, marker, list);
  rb.lightest = iamin__(rb.nparts, graph->kpwgts);
  for (int i = 0; i < count; i++) {
    const int u = list[i];
    rb.stamp[u]++;
    if (u != v && Movable(rb, u)) Offer(rb, u);
  }
}

// Moves every queued candidate whose target still has room, cheapest first.
int DrainCandidates(Rebalance &rb, int *marker, int *list) {
  HGraph *graph = rb.graph;
  int nmoves = 0;
  while (rb.heap.size > 0) {
    const Candidate c = rb.heap.Pop();
    if (c.stamp != rb.stamp[c.v] || !Movable(rb, c.v)) continue;
    if (!HasRoom(rb, c.to, graph->cellwgt[c.v])) {
      rb.stamp[c.v]++;
      Offer(rb, c.v);
      continue;
    }
    Move(rb, c.v, c.to, marker, list);
    nmoves++;
  }
  return nmoves;
}

const KwayDegree *DegreeTo(const CellKwayInfo &r, int part) {
  for (int k = 0; k < r.nnbrs; k++)
    if (r.nbrs[k].pid == part) return &r.nbrs[k];
  return nullptr;
}

// When no vertex of an overweight part fits anywhere (the parts with room have less of it than
// the lightest vertex weighs), a vertex may still go to the lightest part if it overfills that
// part by less than it relieves its own: the total weight above the bound drops, and the
// overfilled part then sheds lighter vertices in turn. The total excess falls with every move,
// so the rebalancing ends. Takes the move of largest relief, then of largest gain; returns
// whether there was one.
bool ExcessReducingMove(Rebalance &rb, int *marker, int *list) {
  const HGraph *graph = rb.graph;
  const int q = rb.lightest, room = rb.maxpwgt - graph->kpwgts[q];
  int best = -1, bestrelief = 0, bestgain = 0;
  for (int v = 0; v < graph->nvtxs; v++) {
    if (!Movable(rb, v) || graph->where[v] == q) continue;
    const int w = graph->cellwgt[v], excess = graph->kpwgts[graph->where[v]] - rb.maxpwgt;
    const int relief = (w < excess ? w : excess) - (w > room ? w - room : 0);
    if (relief <= 0 || relief < bestrelief) continue;
    const int gain = MoveGain(rb, v, DegreeTo(graph->crinfo[v], q), rb.soed);
    if (relief > bestrelief || gain > bestgain) {
      best = v;
      bestrelief = relief;
      bestgain = gain;
    }
  }
  if (best < 0) return false;
  Move(rb, best, q, marker, list);
  return true;
}

int PartsAbove(const Rebalance &rb) {
  int above = 0;
  for (int p = 0; p < rb.nparts; p++) above += Overweight(rb, p) ? 1 : 0;
  return above;
}

}  // namespace

int RebalanceKway__(const PartCtrl *ctrl, HGraph *graph, int maxpwgt, bool soed) {
  const int nvtxs = graph->nvtxs, nparts = ctrl->Nparts;
  const int *kpwgts = graph->kpwgts;
  int above = 0;
  for (int p = 0; p < nparts; p++) above += kpwgts[p] > maxpwgt ? 1 : 0;
  if (above == 0) return 0;

  Rebalance rb{graph,
               nparts,
               maxpwgt,
               soed,
               SinglePinWeights(graph),
               ismalloc__(nvtxs, 0, "RebalanceKway: stamp"),
               iamin__(nparts, kpwgts),
               {}};
  int *marker = ismalloc__(nvtxs, -1, "RebalanceKway: marker");
  int *list = imalloc__(nvtxs, "RebalanceKway: list");
  int nmoves = 0;
  for (;;) {
    for (int v = 0; v < nvtxs; v++)
      if (Movable(rb, v)) Offer(rb, v);
    nmoves += DrainCandidates(rb, marker, list);
    if (PartsAbove(rb) == 0 || !ExcessReducingMove(rb, marker, list)) break;
    nmoves++;
  }
  graph->kwayobj = soed ? graph->soed : graph->mincut;
  above = PartsAbove(rb);
  if (ctrl->run->now.dbglvl & DBG_REFINE)
    Printf__(ctrl, "Rebalance: %d moves, bound %d, %d parts above it, cut %d, soed %d\n", nmoves,
             maxpwgt, above, graph->mincut, graph->soed);
  RVfree__(&rb.single, &rb.stamp, &rb.heap.items, &marker, &list);
  return above;
}

void KeepPartBound__(const PartCtrl *ctrl, HGraph *graph) {
  if (ctrl->Imbalance > 0 && graph->nvtxs > 0)
    RebalanceKway__(ctrl, graph, ctrl->MaxPartWgt, ctrl->run->now.RType == 2);
}

int EnforcePartBound__(const PartCtrl *ctrl, HGraph *graph, int *part, bool soed) {
  const int nvtxs = graph->nvtxs, nparts = ctrl->Nparts;
  int *pwgts = ismalloc__(nparts, 0, "EnforcePartBound: pwgts");
  for (int v = 0; v < nvtxs; v++) pwgts[part[v]] += graph->cellwgt[v];
  int above = 0;
  for (int p = 0; p < nparts; p++) above += pwgts[p] > ctrl->MaxPartWgt ? 1 : 0;
  RVfree__(&pwgts);
  if (above == 0) return 0;

  if (graph->incptr == nullptr) CreateIncidentHGraph__(graph);
  RVfree__(&graph->nrinfo, &graph->crinfo, &graph->nrdata, &graph->kpwgts);
  AllocateKwayRefinementMemory__(ctrl, graph);
  icopy__(nvtxs, part, graph->where);
  ComputeInitKwayGains__(ctrl, graph);
  above = RebalanceKway__(ctrl, graph, ctrl->MaxPartWgt, soed);
  icopy__(nvtxs, graph->where, part);
  RVfree__(&graph->where, &graph->nrinfo, &graph->crinfo, &graph->nrdata, &graph->crdata,
           &graph->kpwgts, &graph->kslot);
  return above;
}

}  // namespace hypra
