// Islands: vertices without any incident hyperedge. Each level moves them behind its last vertex
// before grouping; uncoarsening gives them a part by weight alone.
#include "coarsen/coarsen.h"

namespace hypra {

namespace {

// x[newnum[v]] = x[v] for v < n, through aux.
void MoveValues(int n, const int *newnum, int *x, int *aux) {
  if (!x) return;
  for (int v = 0; v < n; v++) aux[newnum[v]] = x[v];
  icopy__(n, aux, x);
}

}  // namespace

void SeparateIslands__(HGraph *graph) {
  const int nvtxs = graph->nvtxs, nfixed = graph->nfixed;
  int *incptr = graph->incptr;

  int *ncells = imalloc__(nvtxs, "SeparateIslands: ncells");
  // Fixed super-vertices keep their numbers; the others keep their relative order at the front
  // while islands fill the tail from the back.
  int front = 0, back = nvtxs - 1;
  for (int v = 0; v < nvtxs && v < nfixed; v++) ncells[v] = front++;
  for (int v = front; v < nvtxs; v++) ncells[v] = incptr[v + 1] > incptr[v] ? front++ : back--;

  graph->nislands = nvtxs - front;
  graph->nvtxs = front;
  if (graph->nislands == 0) {
    RVfree__(&ncells);
    return;
  }

  // Islands have empty lists, so compacting the offsets leaves incind as it is; the island
  // slots read degree 0.
  for (int v = 0; v < nvtxs; v++)
    if (ncells[v] < front) incptr[ncells[v] + 1] = incptr[v + 1];
  for (int v = front + 1; v <= nvtxs; v++) incptr[v] = incptr[front];

  int *aux = imalloc__(nvtxs, "SeparateIslands: aux");
  MoveValues(nvtxs, ncells, graph->where, aux);
  MoveValues(nvtxs, ncells, graph->cellwgt, aux);
  MoveValues(nvtxs, ncells, graph->adjwgt, aux);
  MoveValues(nvtxs, ncells, graph->community, aux);

  int *netind = graph->netind;
  for (int j = 0; j < graph->netptr[graph->nhedges]; j++) netind[j] = ncells[netind[j]];

  if (HGraph *finer = graph->finer) {
    int *cellmap = finer->cellmap;
    for (int v = 0; v < finer->nvtxs; v++) cellmap[v] = ncells[cellmap[v]];
    RVfree__(&ncells);
  } else {
    RVfree__(&graph->islandmap);
    graph->islandmap = imalloc__(nvtxs, "SeparateIslands: graph->islandmap");
    icopy__(nvtxs, ncells, graph->islandmap);
    RVfree__(&ncells);
  }
  RVfree__(&aux);
}

void CombineIslands__(HGraph *graph) {
  if (graph->nislands == 0 || !graph->islandmap) return;
  const int nvtxs = graph->nvtxs, total = nvtxs + graph->nislands;
  const int *islandmap = graph->islandmap;

  int *imap = imalloc__(total, "CombineIslands: imap");
  int *aux = imalloc__(total + 1, "CombineIslands: aux");
  for (int v = 0; v < total; v++) imap[islandmap[v]] = v;

  int *netind = graph->netind;
  for (int j = 0; j < graph->netptr[graph->nhedges]; j++) netind[j] = imap[netind[j]];

  MoveValues(total, imap, graph->cellwgt, aux);
  MoveValues(total, imap, graph->adjwgt, aux);
  MoveValues(total, imap, graph->where, aux);

  // Degrees in the initial numbering (islands have none), then prefix sums. Non-islands never
  // changed their relative order, so incind already lists them in the initial order.
  int *incptr = graph->incptr;
  iset__(total + 1, 0, aux);
  for (int i = 0; i < nvtxs; i++) aux[imap[i] + 1] = incptr[i + 1] - incptr[i];
  for (int v = 0; v < total; v++) aux[v + 1] += aux[v];
  icopy__(total + 1, aux, incptr);

  graph->nvtxs = total;
  graph->nislands = 0;
  RVfree__(&imap, &aux);
}

void PartitionIslands__(HGraph *graph) {
  const int end = graph->nvtxs + graph->nislands;
  int *where = graph->where, *pwgts = graph->pwgts;
  for (int v = graph->nvtxs; v < end; v++) {
    const int side = pwgts[0] >= pwgts[1] ? 1 : 0;
    where[v] = side;
    pwgts[side] += graph->cellwgt[v];
  }
}

void PartitionIslandsKway__(const PartCtrl *ctrl, HGraph *graph) {
  const int end = graph->nvtxs + graph->nislands;
  for (int v = graph->nvtxs; v < end; v++) {
    const int part = iamin__(ctrl->Nparts, graph->kpwgts);
    graph->where[v] = part;
    graph->kpwgts[part] += graph->cellwgt[v];
  }
}

}  // namespace hypra
