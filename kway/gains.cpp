// K-way refinement bookkeeping: per-hyperedge part lists and per-vertex move gains.
#include <climits>

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

// Adds one hyperedge's share to the entry for part q, opening it when q is first met; entries
// stay in that order, and the slot table finds them without a search through the record.
[[gnu::always_inline]] inline void AddToEntry(CellKwayInfo &r, int *slot, int q, int w, int sign,
                                              int ewgt) {
  int k = slot[q];
  if (k < 0) {
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
      AddToEntry(r, slot, other.pid, w, PinSign(own.npins, other.npins), own.npins == 1 ? w : 0);
      continue;
    }
    const int c = PinsInPart(net, p);
    if (c == 1) r.solewgt += w;
    const int ewgt = c == 1 && net.nnbrs == 2 ? w : 0;
    for (int j = 0; j < net.nnbrs; j++) {
      const int q = net.nbrs[j].pid;
      if (q != p) AddToEntry(r, slot, q, w, PinSign(c, net.nbrs[j].npins), ewgt);
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

// Gathers in crinfo[v].nnbrs the most entries the record of vertex v can ever hold: one per part
// other than its own, and no more than its hyperedges' part lists can name. A list never has more
// entries than its hyperedge has pins, and a single-pin hyperedge names no other part.
void GatherRecordRoom(HGraph *graph, int nparts) {
  const int nvtxs = graph->nvtxs, most = nparts - 1;
  CellKwayInfo *crinfo = graph->crinfo;
  if (graph->incptr == nullptr) {
    for (int v = 0; v < nvtxs; v++) crinfo[v].nnbrs = most;
    return;
  }
  const int *incptr = graph->incptr, *incind = graph->incind, *netptr = graph->netptr;
  for (int v = 0; v < nvtxs; v++) {
    int room = 0;
    for (int i = incptr[v]; i < incptr[v + 1] && room < most; i++) {
      const int size = netptr[incind[i] + 1] - netptr[incind[i]];
      if (size > 1) room = most - room > size ? room + size : most;
    }
    crinfo[v].nnbrs = room;
  }
}

// Points every vertex record into one pool sized by what each can hold, rather than a full
// Nparts entries each: at many parts most of that would be allocated and touched for nothing.
// A pool handed over from another level is kept when it is large enough, so that its pages are
// not returned to the system and faulted in again level after level. Every record starts empty.
void AllocateVertexRecords(HGraph *graph, int nparts) {
  const int nvtxs = graph->nvtxs;
  CellKwayInfo *crinfo = graph->crinfo;
  GatherRecordRoom(graph, nparts);
  long long total = 0;
  for (int v = 0; v < nvtxs; v++) total += crinfo[v].nnbrs;
  if (graph->crdata == nullptr || graph->crdatasize < total) {
    RVfree__(&graph->crdata);
    graph->crdata =
        static_cast<KwayDegree *>(RVmalloc__(total * static_cast<long long>(sizeof(KwayDegree)),
                                             "AllocateKwayRefinementMemory: crdata"));
    graph->crdatasize = static_cast<int>(total);
  }
  long long next = 0;
  for (int v = 0; v < nvtxs; v++) {
    crinfo[v].nbrs = graph->crdata + next;
    next += crinfo[v].nnbrs;
    crinfo[v].nnbrs = 0;
  }
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

  for (int v = 0; v < nvtxs; v++) {
    graph->kpwgts[where[v]] += graph->cellwgt[v];
    ComputeVertexGains(graph, v);
  }
}

void HandOverKwayPool__(HGraph *from, HGraph *to) {
  if (from == to || from->crdata == nullptr) return;
  RVfree__(&from->crinfo);
  if (to->crinfo == nullptr && (to->crdata == nullptr || to->crdatasize < from->crdatasize)) {
    RVfree__(&to->crdata);
    to->crdata = from->crdata;
    to->crdatasize = from->crdatasize;
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
