// K-way refinement bookkeeping: per-hyperedge part lists and per-vertex move gains.
#include <climits>
#include <cstdint>
#include <cstring>

#include "kway/kway.h"

namespace hypra {

namespace {

// Pins of e that lie in part p according to e's part list (0 when p is absent).
int PinsInPart(const NetKwayInfo &net, int p) {
  for (int j = 0; j < net.nnbrs; j++)
    if (net.nbrs[j].pid == p) return net.nbrs[j].npins;
  return 0;
}

// -1, 0 or 1 as a part with cq pins of a hyperedge holds fewer, as many or more of them than the
// vertex's own part with c.
int PinSign(int c, int cq) {
  return c > cq ? -1 : (c == cq ? 0 : 1);
}

// Makes room in the entry pool for `need` entries. The pool grows in place where the system can
// extend it (large blocks are remapped, not copied); when it moves, the records move with it.
void ReservePool(HGraph *graph, long long need) {
  if (graph->crdata != nullptr && need <= graph->crdatasize) return;
  const long long had = graph->crdata != nullptr ? graph->crdatasize : 0;
  long long size = had + had / 2 + 1024;
  if (size < need) size = need;
  const auto old = reinterpret_cast<uintptr_t>(graph->crdata);
  auto *pool = static_cast<KwayDegree *>(
      RVrealloc__(graph->crdata, size * static_cast<long long>(sizeof(KwayDegree)),
                  "AllocateKwayRefinementMemory: crdata"));
  graph->crdata = pool;
  graph->crdatasize = size;
  if (old == 0 || reinterpret_cast<uintptr_t>(pool) == old) return;
  CellKwayInfo *crinfo = graph->crinfo;
  for (int v = 0; v < graph->nvtxs; v++)
    if (crinfo[v].nbrs != nullptr)
      crinfo[v].nbrs =
          pool + (reinterpret_cast<uintptr_t>(crinfo[v].nbrs) - old) / sizeof(KwayDegree);
}

// Gives a full record room for more entries: the last record of the used stretch grows in place,
// any other moves to its end with its entries. Room doubles, up to one entry per other part.
[[gnu::noinline]] void GrowRecord(HGraph *graph, CellKwayInfo &r) {
  int cap = r.cap > 2 ? 2 * r.cap : 4;
  if (cap > graph->crmost) cap = graph->crmost;
  if (cap <= r.nnbrs)
    errexit__("KwayGains: a vertex record needs more than %d entries, one per other part",
              graph->crmost);
  const bool last = r.nbrs != nullptr && r.nbrs + r.cap == graph->crdata + graph->crdataused;
  const long long start = last ? graph->crdataused - r.cap : graph->crdataused;
  ReservePool(graph, start + cap);
  KwayDegree *dst = graph->crdata + start;
  if (dst != r.nbrs && r.nnbrs > 0)
    std::memcpy(dst, r.nbrs, static_cast<size_t>(r.nnbrs) * sizeof(KwayDegree));
  r.nbrs = dst;
  r.cap = cap;
  graph->crdataused = start + cap;
}

// Adds one hyperedge's share to the entry for part q, opening it when q is first met; entries
// stay in that order, and the slot table finds them without a search through the record.
[[gnu::always_inline]] inline void AddToEntry(HGraph *graph, CellKwayInfo &r, int *slot, int q,
                                              int w, int sign, int ewgt) {
  int k = slot[q];
  if (k < 0) {
    if (r.nnbrs == r.cap) GrowRecord(graph, r);
    k = slot[q] = r.nnbrs++;
    r.nbrs[k] = KwayDegree{q, 0, 0, 0};
  }
  KwayDegree &d = r.nbrs[k];
  d.conngain += w;
  d.pinbias += sign;
  d.ewgt += ewgt;
}

// Recomputes the record of vertex v from the hyperedge part lists and where.
void ComputeVertexGains(HGraph *graph, int v) {
  const int *incptr = graph->incptr, *incind = graph->incind, *netwgt = graph->netwgt;
  const NetKwayInfo *nrinfo = graph->nrinfo;
  int *slot = graph->kslot;
  CellKwayInfo &r = graph->crinfo[v];
  const int p = graph->where[v];

  r.iwgt = r.solewgt = r.nnbrs = 0;
  for (int i = incptr[v]; i < incptr[v + 1]; i++) {
    const int e = incind[i];
    const int w = netwgt[e];
    const NetKwayInfo &net = nrinfo[e];
    if (net.nnbrs == 1) {
      r.iwgt += w;
      continue;
    }
    if (net.nnbrs == 2 && (net.nbrs[0].pid == p || net.nbrs[1].pid == p)) {
      // The most common cut hyperedge: v's part and one other, read off without scanning.
      const NetKwayEntry &own = net.nbrs[net.nbrs[0].pid == p ? 0 : 1];
      const NetKwayEntry &other = net.nbrs[net.nbrs[0].pid == p ? 1 : 0];
      if (own.npins == 1) r.solewgt += w;
      AddToEntry(graph, r, slot, other.pid, w, PinSign(own.npins, other.npins),
                 own.npins == 1 ? w : 0);
      continue;
    }
    const int c = PinsInPart(net, p);
    if (c == 1) r.solewgt += w;
    const int ewgt = c == 1 && net.nnbrs == 2 ? w : 0;
    for (int j = 0; j < net.nnbrs; j++) {
      const int q = net.nbrs[j].pid;
      if (q != p) AddToEntry(graph, r, slot, q, w, PinSign(c, net.nbrs[j].npins), ewgt);
    }
  }
  const int base = r.solewgt - graph->adjwgt[v];
  for (int k = 0; k < r.nnbrs; k++) {
    r.nbrs[k].conngain += base;
    slot[r.nbrs[k].pid] = -1;
  }
}

// Takes one pin of e out of part from and puts it into part to.
void MovePinBetweenParts(NetKwayInfo &net, int e, int from, int to, int *fromleft, int *toafter) {
  int j = 0;
  while (j < net.nnbrs && net.nbrs[j].pid != from) j++;
  if (j == net.nnbrs)
    errexit__("KwayUpdateGainInfo: hyperedge %d has no pin in part %d; the part lists are stale", e,
              from);
  *fromleft = --net.nbrs[j].npins;
  if (*fromleft == 0) {
    // Order within the list is not kept: the last entry fills the hole.
    net.nbrs[j] = net.nbrs[net.nnbrs - 1];
    net.nnbrs--;
    if (net.nnbrs == 0) {
      net.nbrs[0].pid = to;
      net.nbrs[0].npins = 1;
      net.nnbrs = 1;
      *toafter = 1;
      return;
    }
  }
  int k = 0;
  while (k < net.nnbrs && net.nbrs[k].pid != to) k++;
  if (k == net.nnbrs) {
    net.nbrs[k].pid = to;
    net.nbrs[k].npins = 0;
    net.nnbrs++;
  }
  *toafter = ++net.nbrs[k].npins;
}

// Starts every record empty and without room: the records take room from the pool as their
// entries appear (ComputeInitKwayGains__ packs them in vertex order), so the pool holds what the
// records hold rather than what each might ever hold, which at many parts is most of the memory
// of the whole run. A pool handed over from another level is kept, so that its pages are not
// returned to the system and faulted in again level after level.
void AllocateVertexRecords(HGraph *graph, int nparts) {
  const int nvtxs = graph->nvtxs;
  CellKwayInfo *crinfo = graph->crinfo;
  graph->crmost = nparts - 1;
  graph->crdataused = 0;
  for (int v = 0; v < nvtxs; v++) crinfo[v] = CellKwayInfo{0, 0, 0, 0, nullptr};
}

}  // namespace

void AllocateKwayRefinementMemory__(const PartCtrl *ctrl, HGraph *graph) {
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges, nparts = ctrl->Nparts;
  if (nvtxs < 0 || nhedges < 0 || graph->nislands < 0)
    errexit__(
        "AllocateKwayRefinementMemory: hypergraph has negative sizes (%d vertices, %d "
        "hyperedges)",
        nvtxs, nhedges);
  if (nparts < 1) errexit__("AllocateKwayRefinementMemory: number of parts %d is below 1", nparts);
  // Entry positions are counted in ints: refuse a hypergraph whose vertices times parts do not fit
  // one, so that no sum over records can wrap.
  if (nvtxs > INT_MAX / nparts)
    errexit__(
        "AllocateKwayRefinementMemory: %d vertices x %d parts exceeds the largest entry "
        "pool (%d entries)",
        nvtxs, nparts, INT_MAX);
  const int npins = (nhedges > 0 && graph->netptr != nullptr) ? graph->netptr[nhedges] : 0;

  RVfree__(&graph->where);
  graph->where =
      imalloc__(static_cast<long long>(nvtxs) + graph->nislands, "AllocateRefinementMemory: where");
  graph->kpwgts = ismalloc__(nparts, 0, "AllocateKwayRefinementMemory: kpwgts");
  RVfree__(&graph->kslot);
  graph->kslot = ismalloc__(nparts, -1, "AllocateKwayRefinementMemory: kslot");
  graph->nrinfo =
      static_cast<NetKwayInfo *>(RVmalloc__(static_cast<long long>(nhedges) * sizeof(NetKwayInfo),
                                            "AllocateKwayRefinementMemory: nrinfo"));
  graph->crinfo =
      static_cast<CellKwayInfo *>(RVmalloc__(static_cast<long long>(nvtxs) * sizeof(CellKwayInfo),
                                             "AllocateKwayRefinementMemory: crinfo"));
  graph->nrdata =
      static_cast<NetKwayEntry *>(RVmalloc__(static_cast<long long>(npins) * sizeof(NetKwayEntry),
                                             "AllocateKwayRefinementMemory: nrdata"));
  AllocateVertexRecords(graph, nparts);

  for (int e = 0; e < nhedges; e++) {
    graph->nrinfo[e].nnbrs = 0;
    graph->nrinfo[e].nbrs = graph->nrdata + graph->netptr[e];
  }
}

void ComputeInitKwayGains__(const PartCtrl *ctrl, HGraph *graph) {
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges, nparts = ctrl->Nparts;
  const int *netptr = graph->netptr, *netind = graph->netind, *netwgt = graph->netwgt;
  const int *where = graph->where;

  // A part number outside 0..Nparts-1 would index past kpwgts and the entry pools.
  for (int v = 0; v < nvtxs; v++)
    if (where[v] < 0 || where[v] >= nparts)
      errexit__("ComputeInitKwayGains: vertex %d is in part %d, outside 0..%d", v, where[v],
                nparts - 1);

  iset__(nparts, 0, graph->kpwgts);
  graph->mincut = graph->soed = 0;

  // Parts are listed in the order the pins meet them; the slot table stands in for a search.
  int *slot = graph->kslot;
  for (int e = 0; e < nhedges; e++) {
    NetKwayInfo &net = graph->nrinfo[e];
    net.nnbrs = 0;
    for (int i = netptr[e]; i < netptr[e + 1]; i++) {
      const int p = where[netind[i]];
      if (slot[p] < 0) {
        slot[p] = net.nnbrs++;
        net.nbrs[slot[p]] = NetKwayEntry{p, 0};
      }
      net.nbrs[slot[p]].npins++;
    }
    for (int j = 0; j < net.nnbrs; j++) slot[net.nbrs[j].pid] = -1;
    if (net.nnbrs > 1) {
      graph->mincut += netwgt[e];
      graph->soed += net.nnbrs * netwgt[e];
    }
  }

  // Every record is rebuilt at the end of the used stretch: it is lent all the room left there,
  // then keeps exactly what it filled.
  graph->crdataused = 0;
  ReservePool(graph, static_cast<long long>(nvtxs) + 1024);
  CellKwayInfo *crinfo = graph->crinfo;
  for (int v = 0; v < nvtxs; v++) {
    graph->kpwgts[where[v]] += graph->cellwgt[v];
    CellKwayInfo &r = crinfo[v];
    const long long left = graph->crdatasize - graph->crdataused;
    r.cap = static_cast<int>(left < graph->crmost ? left : graph->crmost);
    r.nbrs = graph->crdata + graph->crdataused;
    graph->crdataused += r.cap;
    ComputeVertexGains(graph, v);
    graph->crdataused -= r.cap - r.nnbrs;
    r.cap = r.nnbrs;
    if (r.cap == 0) r.nbrs = nullptr;
  }
}

void HandOverKwayPool__(HGraph *from, HGraph *to) {
  if (from == to || from->crdata == nullptr) return;
  RVfree__(&from->crinfo);
  if (to->crinfo == nullptr && (to->crdata == nullptr || to->crdatasize < from->crdatasize)) {
    RVfree__(&to->crdata);
    to->crdata = from->crdata;
    to->crdatasize = from->crdatasize;
    to->crdataused = 0;
    from->crdata = nullptr;
  } else {
    RVfree__(&from->crdata);
  }
}

int ComputeKwayGainsSet__(HGraph *graph, int n, const int *list) {
  for (int i = 0; i < n; i++) ComputeVertexGains(graph, list[i]);
  return n;
}

int KwayUpdateGainInfo__(HGraph *graph, int v, int from, int to, int *marker, int *list) {
  const int *incptr = graph->incptr, *incind = graph->incind;
  const int *netptr = graph->netptr, *netind = graph->netind;

  marker[v] = v;
  list[0] = v;
  int count = 1;

  for (int i = incptr[v]; i < incptr[v + 1]; i++) {
    const int e = incind[i];
    int fromleft, toafter;
    MovePinBetweenParts(graph->nrinfo[e], e, from, to, &fromleft, &toafter);
    // With two pins still in from and three now in to, no pin's tested fields can have changed.
    if (fromleft >= 2 && toafter >= 3) continue;
    for (int j = netptr[e]; j < netptr[e + 1]; j++) {
      const int u = netind[j];
      if (marker[u] != v) {
        marker[u] = v;
        list[count++] = u;
      }
    }
  }

  return ComputeKwayGainsSet__(graph, count, list);
}

}  // namespace hypra
