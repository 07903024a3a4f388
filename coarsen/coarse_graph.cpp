// Contraction of a grouping into the next coarser hypergraph, and the merging of identical
// hyperedges that it shares with the split of a bisection.
#include <algorithm>

#include "coarsen/coarsen.h"

namespace hypra {

namespace {

// Merged hyperedges: the result of one signature sort and the pin comparisons inside runs of
// equal signature.
struct Merged {
  int nhedges;
  int *netptr;
  int *netind;
  int *netwgt;
};

// 100 x sum(k * p_k) + n over the sorted pins, wrapping at 32 bits as the signatures always have.
int WeightedSignature(int n, const int *pins) {
  uint32_t sum = 0;
  for (int k = 0; k < n; k++) sum += static_cast<uint32_t>(k + 1) * static_cast<uint32_t>(pins[k]);
  return static_cast<int>(100u * sum + static_cast<uint32_t>(n));
}

// 100 x sum(p_k + 100 k) + n, the cheaper form used when collapsing the halves of a split.
int OffsetSignature(int n, const int *pins) {
  uint32_t sum = 0;
  for (int k = 0; k < n; k++)
    sum += static_cast<uint32_t>(pins[k]) + 100u * static_cast<uint32_t>(k + 1);
  return static_cast<int>(100u * sum + static_cast<uint32_t>(n));
}

bool SamePins(const int *netptr, const int *netind, int e, int f) {
  const int n = netptr[e + 1] - netptr[e];
  if (netptr[f + 1] - netptr[f] != n) return false;
  return std::equal(netind + netptr[e], netind + netptr[e + 1], netind + netptr[f]);
}

// Sorts the hyperedges by signature and merges every run of identical pin lists into the copy
// that the sort put first. dnetmap (may be null) receives hyperedge -> merged hyperedge.
template <typename Signature>
Merged MergeIdentical(int nhedges, const int *netptr, const int *netind, const int *netwgt,
                      int *dnetmap, const char *ptrmsg, const char *indmsg, const char *wgtmsg,
                      const char *seenmsg, Signature signature) {
  const int m = std::max(nhedges, 0);
  auto *cand =
      static_cast<KeyValue *>(RVmalloc__(sizeof(KeyValue) * m, "CreateCoarseHGraph: cand"));
  for (int j = 0; j < m; j++) {
    const int n = netptr[j + 1] - netptr[j];
    cand[j].key = n > 0 ? signature(n, netind + netptr[j]) : 0;
    cand[j].val = j;
  }
  ikeysort__(m, cand);

  // First the runs of identical lists (head[j]: the sorted place of the copy that j merges
  // into, -1 for a first copy), then the merged lists, in arrays of their exact size: a level
  // lives on through the whole uncoarsening.
  int *head = ismalloc__(m, -1, seenmsg);
  int d = 0, npins = 0;
  for (int i = 0; i < m; i++) {
    if (head[i] != -1) continue;
    const int e = cand[i].val;
    const int esize = netptr[e + 1] - netptr[e];
    d++;
    npins += esize;
    for (int j = i + 1; j < m; j++) {
      if (head[j] != -1) continue;
      if (cand[j].key != cand[i].key) break;
      const int f = cand[j].val;
      // A same-signature hyperedge of another size ends the search on purpose.
      if (netptr[f + 1] - netptr[f] != esize) break;
      if (SamePins(netptr, netind, e, f)) head[j] = i;
    }
  }

  Merged out;
  out.nhedges = d;
  out.netptr = imalloc__(d + 1LL, ptrmsg);
  out.netind = imalloc__(npins, indmsg);
  out.netwgt = imalloc__(d, wgtmsg);
  out.netptr[0] = 0;
  d = 0;
  npins = 0;
  // One pass in sorted order: a first copy takes the next merged place (kept in its key, no
  // longer needed), and every later copy joins the place of its first.
  for (int i = 0; i < m; i++) {
    const int e = cand[i].val;
    if (head[i] != -1) {
      const int merged = cand[head[i]].key;
      if (dnetmap) dnetmap[e] = merged;
      out.netwgt[merged] += netwgt[e];
      continue;
    }
    for (int j = netptr[e], jend = netptr[e + 1]; j < jend; j++) out.netind[npins++] = netind[j];
    out.netptr[d + 1] = npins;
    if (dnetmap) dnetmap[e] = d;
    out.netwgt[d] = netwgt[e];
    cand[i].key = d++;
  }
  RVfree__(&cand, &head);
  return out;
}

// Pin lists up to this length are sorted inline.
constexpr int kInlineSort = 16;

// Maps the pins of every finer hyperedge to distinct coarse vertices (first occurrence, then
// sorted); hyperedges left with a single coarse vertex vanish into lost. Returns the number m of
// surviving hyperedges.

int MapPins(const HGraph *graph, int cnvtxs, int *htable, int *netmap, int *cnetptr, int *cnetind,
            int *cnetwgt, int *lost) {
  const int *netptr = graph->netptr, *netind = graph->netind, *netwgt = graph->netwgt;
  const int *cellmap = graph->cellmap;
  int k = 0, m = 0;
  cnetptr[0] = 0;
  for (int i = 0; i < graph->nhedges; i++) {
    const int start = k;
    for (int j = netptr[i], jend = netptr[i + 1]; j < jend; j++) {
      const int c = cellmap[netind[j]];
      if (c < 0 || c >= cnvtxs)
        errexit__("CreateCoarseHGraph: vertex %d maps to %d of %d\n", netind[j], c, cnvtxs);
      if (htable[c] != i) {
        htable[c] = i;
        cnetind[k++] = c;
      }
    }
    const int n = k - start;
    if (n == 1) {
      netmap[i] = -1;
      k--;
      *lost += netwgt[i];
      continue;
    }
    if (n <= kInlineSort) {
      // Short lists (most of them) by straight insertion in place; the pins are distinct, so
      // any sort gives the same order.
      int *pins = cnetind + start;
      for (int a = 1; a < n; a++) {
        const int x = pins[a];
        int b = a;
        for (; b > 0 && pins[b - 1] > x; b--) pins[b] = pins[b - 1];
        pins[b] = x;
      }
    } else {
      iintsort__(n, cnetind + start);
    }
    netmap[i] = m;
    cnetwgt[m] = netwgt[i];
    m++;
    cnetptr[m] = k;
  }
  return m;
}

// Per coarse vertex: summed member weights, distinct coarse hyperedges in order of first
// occurrence over the members' incidence lists, and their summed weight.
void BuildIncidence(const HGraph *graph, HGraph *coarser, int *htable) {
  const int cnvtxs = coarser->nvtxs;
  const int *mptr = graph->mptr, *mind = graph->mind, *netmap = graph->netmap;
  const int *incptr = graph->incptr, *incind = graph->incind, *cellwgt = graph->cellwgt;
  const int *cnetwgt = coarser->netwgt;
  int *cincptr = imalloc__(cnvtxs + 1, "CreateCoarseHGraph: coarser->incptr");
  // Every pin of a coarse hyperedge is one entry of its vertex's list, and no more.
  const int capacity = coarser->netptr[coarser->nhedges];
  int *cincind = imalloc__(capacity, "CreateCoarseHGraph: coarser->incind");
  int *ccellwgt = imalloc__(cnvtxs, "CreateCoarseHGraph: coarser->cellwgt");
  int *cadjwgt = imalloc__(cnvtxs, "CreateCoarseHGraph: coarser->adjwgt");

  if (cnvtxs > 0 && (mptr[0] != 0 || mptr[cnvtxs] != graph->nvtxs))
    errexit__("CreateCoarseHGraph: the groups list %d of %d vertices\n", mptr[cnvtxs] - mptr[0],
              graph->nvtxs);
  int ninc = 0;
  cincptr[0] = 0;
  for (int c = 0; c < cnvtxs; c++) {
    if (mptr[c + 1] < mptr[c]) errexit__("CreateCoarseHGraph: group %d has a negative size\n", c);
    // Sums in locals: the stores to the lists could otherwise alias them.
    int cwgt = 0, adjwgt = 0;
    for (int j = mptr[c], jend = mptr[c + 1]; j < jend; j++) {
      const int v = mind[j];
      if (v < 0 || v >= graph->nvtxs)
        errexit__("CreateCoarseHGraph: group %d lists vertex %d of %d\n", c, v, graph->nvtxs);
      cwgt += cellwgt[v];
      for (int t = incptr[v], tend = incptr[v + 1]; t < tend; t++) {
        const int ch = netmap[incind[t]];
        if (ch != -1 && htable[ch] != c) {
          // Only groups that disagree with the vertex map could list more.
          if (ninc == capacity)
            errexit__("CreateCoarseHGraph: group %d meets more hyperedges than its pins\n", c);
          cincind[ninc++] = ch;
          htable[ch] = c;
          adjwgt += cnetwgt[ch];
        }
      }
    }
    ccellwgt[c] = cwgt;
    cadjwgt[c] = adjwgt;
    cincptr[c + 1] = ninc;
  }
  coarser->incptr = cincptr;
  coarser->incind = cincind;
  coarser->cellwgt = ccellwgt;
  coarser->adjwgt = cadjwgt;
}

}  // namespace

void CreateCoarseHGraph__(const PartCtrl *ctrl, HGraph *graph, int cnvtxs) {
  starttimer__(ctrl, ctrl->run->time.AuxTmr2);
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges;

  RVfree__(&graph->netmap);
  graph->netmap = ismalloc__(nhedges, -1, "CreateCoarseHGraph: graph->netmap");
  HGraph *coarser = CreateHGraph__();
  // One entry per finer hyperedge, finer vertex and coarse vertex: with fixed vertices the
  // groups can outnumber both.
  const int hsize = std::max({nhedges, nvtxs, cnvtxs});
  int *htable = ismalloc__(hsize, -1, "CreateCoarseHGraph: htable");
  int *cnetptr = imalloc__(nhedges + 1, "CreateCoarseHGraph: coarser->netptr");
  int *cnetind = imalloc__(graph->netptr[nhedges], "CreateCoarseHGraph: coarser->netind");
  int *cnetwgt = imalloc__(nhedges, "CreateCoarseHGraph: coarser->netwgt");
  coarser->nvtxs = cnvtxs;
  coarser->nfixed = graph->nfixed;
  coarser->finer = graph;
  graph->coarser = coarser;

  int lost = 0;
  const int m = MapPins(graph, cnvtxs, htable, graph->netmap, cnetptr, cnetind, cnetwgt, &lost);
  coarser->nhedges = m;
  coarser->lostwgt = lost + graph->lostwgt;

  int *dnetmap = ismalloc__(m, -1, "CreateCoarseHGraph: dnetmap");
  Merged merged =
      MergeIdentical(m, cnetptr, cnetind, cnetwgt, dnetmap, "CreateCoarseHGraph: dnetptr",
                     "CreateCoarseHGraph: dnetind", "CreateCoarseHGraph: dnetwgt",
                     "CreateCoarseHGraph: dseen", WeightedSignature);
  for (int i = 0; i < nhedges; i++)
    if (graph->netmap[i] != -1) graph->netmap[i] = dnetmap[graph->netmap[i]];
  RVfree__(&dnetmap, &cnetptr, &cnetind, &cnetwgt);
  coarser->netptr = merged.netptr;
  coarser->netind = merged.netind;
  coarser->netwgt = merged.netwgt;
  coarser->nhedges = merged.nhedges;

  coarser->edgewgt = fmalloc__(coarser->nhedges, "CreateCoarseHGraph: coarser->edgewgt");
  for (int e = 0; e < coarser->nhedges; e++)
    coarser->edgewgt[e] = static_cast<float>(
        static_cast<double>(coarser->netwgt[e]) /
        (static_cast<double>(coarser->netptr[e + 1] - coarser->netptr[e]) - 1.0));

  iset__(hsize, -1, htable);
  BuildIncidence(graph, coarser, htable);
  RVfree__(&htable);
  stoptimer__(ctrl, ctrl->run->time.AuxTmr2);
}

void CollapseSameHEdges__(int nhedges, int *netptr, int *netind, int *netwgt, int *newnhedges,
                          int **newnetptr, int **newnetind, int **newnetwgt) {
  for (int e = 0; e < nhedges; e++) iintsort__(netptr[e + 1] - netptr[e], netind + netptr[e]);
  Merged merged =
      MergeIdentical(nhedges, netptr, netind, netwgt, nullptr, "CollapseSameHEdges: dnetptr",
                     "CollapseSameHEdges: dnetind", "CollapseSameHEdges: dnetwgt",
                     "CollapseSameHEdges: dseen", OffsetSignature);
  *newnhedges = merged.nhedges;
  *newnetptr = merged.netptr;
  *newnetind = merged.netind;
  *newnetwgt = merged.netwgt;
}

}  // namespace hypra
