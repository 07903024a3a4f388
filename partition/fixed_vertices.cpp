// Fixed vertices: all vertices fixed to one part are contracted into a single super-vertex, so
// that partitioning only has to keep Nparts super-vertices apart; afterwards the partition is
// projected back and the parts relabelled so that every fixed vertex lands in its own part.
#include "coarsen/coarsen.h"
#include "partition/partition.h"

namespace hypra {

void CompressFixedCells__(const PartCtrl *ctrl, HGraph *graph, const int *fixpart) {
  const int nvtxs = graph->nvtxs, nparts = ctrl->Nparts;

  int nfree = 0;
  for (int v = 0; v < nvtxs; v++)
    if (fixpart[v] == -1) nfree++;
  const int cnvtxs = nparts + nfree;

  // One offset per contracted vertex; the count can exceed nvtxs when few vertices are fixed.
  int *mptr = ismalloc__(static_cast<long long>(cnvtxs > nvtxs ? cnvtxs : nvtxs) + 1, 0,
                         "CompressFixedCells: graph->mptr");
  int *mind = imalloc__(nvtxs, "CompressFixedCells: graph->mind");
  int *cellmap = ismalloc__(nvtxs, -1, "CompressFixedCells: graph->cellmap");

  int next = nparts;
  for (int v = 0; v < nvtxs; v++) cellmap[v] = fixpart[v] != -1 ? fixpart[v] : next++;

  for (int v = 0; v < nvtxs; v++) mptr[cellmap[v] + 1]++;
  for (int c = 1; c <= cnvtxs; c++) mptr[c] += mptr[c - 1];
  for (int v = 0; v < nvtxs; v++) mind[mptr[cellmap[v]]++] = v;
  for (int c = cnvtxs; c > 0; c--) mptr[c] = mptr[c - 1];
  mptr[0] = 0;

  graph->mptr = mptr;
  graph->mind = mind;
  graph->cellmap = cellmap;

  CreateIncidentHGraph__(graph);
  CreateCoarseHGraph__(ctrl, graph, cnvtxs);

  HGraph *cgraph = graph->coarser;
  RVfree__(&graph->incptr, &graph->incind, &graph->adjwgt, &graph->edgewgt);
  RVfree__(&cgraph->incptr, &cgraph->incind, &cgraph->adjwgt, &cgraph->edgewgt);
}

void ProjectFixedCells__(const PartCtrl *ctrl, HGraph *graph, int *part, const int *cpart) {
  const int nparts = ctrl->Nparts;
  int *imap = ismalloc__(nparts, -1, "ProjectFixedCells: imap");
  for (int i = 0; i < nparts; i++) imap[cpart[i]] = i;
  for (int p = 0; p < nparts; p++)
    if (imap[p] == -1) {
      RVfree__(&imap);
      errexit__("ProjectFixedCells: two groups of fixed vertices ended in the same part %d", p);
    }
  for (int v = 0; v < graph->nvtxs; v++) part[v] = imap[cpart[graph->cellmap[v]]];
  RVfree__(&imap);
}

}  // namespace hypra
