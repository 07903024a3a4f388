// The hypergraph record: creation, release and the vertex-to-hyperedge incidence builder.
#include <cstring>

#include "core/core.h"

namespace hypra {

HGraph *CreateHGraph__() {
  // Zero-filled first, so the fields that InitHGraph__ leaves alone read 0 or null.
  auto *graph = static_cast<HGraph *>(RVmalloc__(sizeof(HGraph), "CreateCoarseHGraph: graph"));
  std::memset(static_cast<void *>(graph), 0, sizeof(HGraph));
  InitHGraph__(graph);
  return graph;
}

void InitHGraph__(HGraph *graph) {
  graph->nvtxs = -1;
  graph->nislands = 0;
  graph->nhedges = -1;
  graph->lostwgt = 0;
  graph->nfixed = -1;
  graph->incptr = graph->incind = nullptr;
  graph->netptr = graph->netind = nullptr;
  graph->islandmap = nullptr;
  graph->community = nullptr;
  graph->cellwgt = graph->netwgt = graph->adjwgt = nullptr;
  graph->edgewgt = nullptr;
  graph->cellmap = graph->netmap = graph->mptr = graph->mind = nullptr;
  graph->coarser = graph->finer = nullptr;
  graph->level = -1;
  graph->where = graph->gain = nullptr;
  graph->ndeg[0] = graph->ndeg[1] = nullptr;
  graph->pwgts[0] = graph->pwgts[1] = -1;
  graph->nrinfo = nullptr;
  graph->crinfo = nullptr;
  graph->nrdata = nullptr;
  graph->crdata = nullptr;
  graph->crdatasize = graph->crdataused = 0;
  graph->crmost = 0;
  graph->kpwgts = nullptr;
  graph->kslot = nullptr;
}

void FreeHGraph__(HGraph *graph) {
  ReleaseAllButPartition__(graph);
  RVfree__(&graph->islandmap, &graph->where);
  ReleaseMemory__(graph);
}

void ReleaseAllButPartition__(HGraph *graph) {
  RVfree__(&graph->incptr, &graph->incind, &graph->netptr, &graph->netind, &graph->cellwgt,
           &graph->netwgt, &graph->adjwgt, &graph->edgewgt, &graph->cellmap, &graph->netmap,
           &graph->mptr, &graph->mind, &graph->gain, &graph->ndeg[0], &graph->ndeg[1],
           &graph->kpwgts, &graph->nrinfo, &graph->crinfo, &graph->nrdata, &graph->crdata,
           &graph->kslot, &graph->community);
}

void FreeRootHGraph__(HGraph *graph) {
  RVfree__(&graph->cellmap, &graph->netmap, &graph->mptr, &graph->mind, &graph->gain,
           &graph->ndeg[0], &graph->ndeg[1], &graph->islandmap, &graph->where, &graph->kpwgts,
           &graph->nrinfo, &graph->crinfo, &graph->nrdata, &graph->crdata, &graph->kslot,
           &graph->community);
}

void BuildIncidence__(int nvtxs, int nhedges, const int *netptr, const int *netind, int *incptr,
                      int *incind) {
  for (int v = 0; v <= nvtxs; v++) incptr[v] = 0;
  // Counts land one slot ahead so that after the fill pass, which advances each start offset,
  // incptr[v] is v's start again without a second shift.
  for (int e = 0; e < nhedges; e++)
    for (int j = netptr[e]; j < netptr[e + 1]; j++) incptr[netind[j] + 1]++;
  for (int v = 1; v < nvtxs; v++) incptr[v] += incptr[v - 1];
  for (int e = 0; e < nhedges; e++)
    for (int j = netptr[e]; j < netptr[e + 1]; j++) incind[incptr[netind[j]]++] = e;
  for (int v = nvtxs; v > 0; v--) incptr[v] = incptr[v - 1];
  incptr[0] = 0;
}

void CreateIncidentHGraph__(HGraph *graph) {
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges;
  const int *netptr = graph->netptr, *netind = graph->netind, *netwgt = graph->netwgt;

  int *incptr = imalloc__(nvtxs + 1, "CreateIncidentHGraph: incptr");
  int *incind = imalloc__(netptr[nhedges], "CreateIncidentHGraph: graph->incind");
  int *adjwgt = imalloc__(nvtxs, "CreateIncidentHGraph: adjwgt");
  float *edgewgt = fmalloc__(nhedges, "CreateIncidentHGraph: graph->edgewgt");
  BuildIncidence__(nvtxs, nhedges, netptr, netind, incptr, incind);

  for (int v = 0; v < nvtxs; v++) {
    int sum = 0;
    for (int j = incptr[v]; j < incptr[v + 1]; j++) sum += netwgt[incind[j]];
    adjwgt[v] = sum;
  }
  // A single-pin hyperedge divides by zero and gets infinity (NaN for weight 0); kept as it is so
  // that every later score sums exactly the same values.
  for (int e = 0; e < nhedges; e++)
    edgewgt[e] = static_cast<float>(static_cast<double>(netwgt[e]) /
                                    (static_cast<double>(netptr[e + 1] - netptr[e]) - 1.0));

  graph->incptr = incptr;
  graph->incind = incind;
  graph->adjwgt = adjwgt;
  graph->edgewgt = edgewgt;
}

namespace {

template <typename T>
T *CopyOf(const T *src, long long n, const char *msg) {
  if (src == nullptr) return nullptr;
  auto *dst = static_cast<T *>(RVmalloc__(static_cast<long long>(sizeof(T)) * n, msg));
  if (n > 0) std::memcpy(dst, src, sizeof(T) * static_cast<size_t>(n));
  return dst;
}

}  // namespace

HGraph *CopyRunGraph__(const HGraph *graph) {
  HGraph *copy = CreateHGraph__();
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges;
  const long long npins = graph->netptr[nhedges];
  copy->nvtxs = nvtxs;
  copy->nhedges = nhedges;
  copy->nfixed = graph->nfixed;
  copy->nislands = graph->nislands;
  copy->lostwgt = graph->lostwgt;
  copy->isroot = graph->isroot;
  copy->level = graph->level;
  copy->netptr = CopyOf(graph->netptr, nhedges + 1LL, "CopyRunGraph: netptr");
  copy->netind = CopyOf(graph->netind, npins, "CopyRunGraph: netind");
  copy->netwgt = CopyOf(graph->netwgt, nhedges, "CopyRunGraph: netwgt");
  copy->cellwgt = CopyOf(graph->cellwgt, nvtxs, "CopyRunGraph: cellwgt");
  copy->incptr = CopyOf(graph->incptr, nvtxs + 1LL, "CopyRunGraph: incptr");
  copy->incind = CopyOf(graph->incind, npins, "CopyRunGraph: incind");
  copy->adjwgt = CopyOf(graph->adjwgt, nvtxs, "CopyRunGraph: adjwgt");
  copy->edgewgt = CopyOf(graph->edgewgt, nhedges, "CopyRunGraph: edgewgt");
  return copy;
}

HGraph *CreateRunView__(const HGraph *graph) {
  auto *view = static_cast<HGraph *>(RVmalloc__(sizeof(HGraph), "CreateRunView: view"));
  std::memcpy(static_cast<void *>(view), graph, sizeof(HGraph));
  view->where = view->gain = nullptr;
  view->ndeg[0] = view->ndeg[1] = nullptr;
  view->cellmap = view->netmap = view->mptr = view->mind = view->islandmap = nullptr;
  view->community = nullptr;
  view->coarser = view->finer = nullptr;
  view->nrinfo = nullptr;
  view->crinfo = nullptr;
  view->nrdata = nullptr;
  view->crdata = nullptr;
  view->crdatasize = view->crdataused = 0;
  view->crmost = 0;
  view->kpwgts = view->kslot = nullptr;
  view->label = nullptr;
  return view;
}

void FreeRunView__(HGraph *view) {
  FreeRootHGraph__(view);
  ReleaseMemory__(view);
}

}  // namespace hypra
