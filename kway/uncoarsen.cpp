// K-way uncoarsening: the partition of a coarse level is carried back level by level and
// refined at each one.

#include "coarsen/coarsen.h"
#include "kway/kway.h"

namespace {

// Refines the current level as RType asks; a level without vertices only gets its records.
void RefineLevel(PartCtrl *ctrl, HGraph *graph) {
  if (graph->nvtxs < 1) {
    ComputeInitKwayGains__(ctrl, graph);
    return;
  }
  switch (ctrl->RType) {
    case 1:
      RefineCutKway_Random__(ctrl, graph, 10);
      break;
    case 2:
      RefineSOEDKway_Random__(ctrl, graph, 10);
      break;
    case 10:
      break;
    default:
      errexit__("Unknown refinement type: %d\n", ctrl->RType);
  }
}

}  // namespace

void ProjectKwayPartition__(PartCtrl *ctrl, HGraph *graph) {
  starttimer__(ctrl, ctrl->ProjectTmr);
  HGraph *finer = graph->finer;
  HandOverKwayPool__(graph, finer);
  AllocateKwayRefinementMemory__(ctrl, finer);
  const int *cellmap = finer->cellmap, *cwhere = graph->where;
  const int ncoarse = graph->nvtxs + graph->nislands;
  for (int v = 0; v < finer->nvtxs; v++) {
    if (cellmap[v] < 0 || cellmap[v] >= ncoarse)
      errexit__("ProjectKwayPartition: vertex %d maps to coarse vertex %d, outside 0..%d", v,
                cellmap[v], ncoarse - 1);
    finer->where[v] = cwhere[cellmap[v]];
  }
  FreeHGraph__(graph);
  finer->coarser = nullptr;
  stoptimer__(ctrl, ctrl->ProjectTmr);
}

void RefineKway__(PartCtrl *ctrl, HGraph *orggraph, HGraph *graph) {
  struct KwayLevel {
    void Project(PartCtrl *c, HGraph *coarse) const { ProjectKwayPartition__(c, coarse); }
    void Refine(PartCtrl *c, HGraph *level) const { RefineLevel(c, level); }
    void PlaceIslands(PartCtrl *c, HGraph *level) const { PartitionIslandsKway__(c, level); }
  };
  Uncoarsen__(ctrl, orggraph, graph, KwayLevel());
}

void ReleaseKwayWork__(HGraph *graph) {
  RVfree__(&graph->cellmap, &graph->netmap, &graph->mptr, &graph->mind, &graph->nrinfo,
           &graph->crinfo, &graph->nrdata, &graph->kpwgts, &graph->kslot, &graph->islandmap);
}
