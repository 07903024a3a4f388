// K-way uncoarsening: the partition of a coarse level is carried back level by level and
// refined at each one.

#include "coarsen/coarsen.h"
#include "kway/kway.h"

namespace hypra {

namespace {

// The k-way objectives, by RType: each with its greedy refiner. Codes 1 and 2 are the ones a
// caller may choose; 10 (no refinement) serves the engine's own callers.
struct ObjectiveEntry {
  int rtype;
  const char *name;
  void (*refine)(const PartCtrl *ctrl, HGraph *graph, int npasses);
};

constexpr ObjectiveEntry kObjectives[] = {
    {1, "Cut-minimization", RefineCutKway_Random__},
    {2, "SOED-minimization", RefineSOEDKway_Random__},
    {10, "none", [](const PartCtrl *, HGraph *, int) {}},
};
constexpr int kPublicObjectives = 2;  // codes 1 .. 2

const ObjectiveEntry *FindObjective(int rtype) {
  for (const ObjectiveEntry &entry : kObjectives)
    if (entry.rtype == rtype) return &entry;
  return nullptr;
}

// Refines the current level as RType asks; a level without vertices only gets its records.
void RefineLevel(const PartCtrl *ctrl, HGraph *graph) {
  if (graph->nvtxs < 1) {
    ComputeInitKwayGains__(ctrl, graph);
    return;
  }
  const ObjectiveEntry *objective = FindObjective(ctrl->run->now.RType);
  if (objective == nullptr) errexit__("Unknown refinement type: %d\n", ctrl->run->now.RType);
  objective->refine(ctrl, graph, 10);
  KeepPartBound__(ctrl, graph);
  // The greedy passes take the easy gains cheaply; the FM then looks past local minima.
  if (ctrl->Quality) RefineLevelKwayFM__(ctrl, graph);
}

}  // namespace

void ProjectKwayPartition__(const PartCtrl *ctrl, HGraph *graph) {
  starttimer__(ctrl, ctrl->run->time.ProjectTmr);
  HGraph *finer = graph->finer;
  HandOverKwayPool__(graph, finer);
  // The projection reads only the coarse partition: the coarse level's hypergraph and records go
  // before the finer level's records arrive, so that the two never sit side by side at the peak.
  ReleaseAllButPartition__(graph);
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
  stoptimer__(ctrl, ctrl->run->time.ProjectTmr);
}

void RefineKway__(const PartCtrl *ctrl, HGraph *orggraph, HGraph *graph) {
  struct KwayLevel {
    void Project(const PartCtrl *c, HGraph *coarse) const { ProjectKwayPartition__(c, coarse); }
    void Refine(const PartCtrl *c, HGraph *level) const { RefineLevel(c, level); }
    void PlaceIslands(const PartCtrl *c, HGraph *level) const { PartitionIslandsKway__(c, level); }
  };
  Uncoarsen__(ctrl, orggraph, graph, KwayLevel());
}

void ReleaseKwayWork__(HGraph *graph) {
  // The entry pool goes too: a V-cycle coarsens next, and the pool of the finest level would
  // sit beside the whole new hierarchy. Packed, it is cheap to build again.
  RVfree__(&graph->cellmap, &graph->netmap, &graph->mptr, &graph->mind, &graph->nrinfo,
           &graph->crinfo, &graph->nrdata, &graph->kpwgts, &graph->kslot, &graph->islandmap,
           &graph->crdata);
  graph->crdatasize = graph->crdataused = 0;
}

bool RefineForKwayObjective__(const PartCtrl *ctrl, HGraph *graph, int npasses) {
  const ObjectiveEntry *objective = FindObjective(ctrl->run->now.RType);
  if (objective == nullptr) return false;
  objective->refine(ctrl, graph, npasses);
  return true;
}

const char *KwayObjectiveName__(int rtype) {
  const ObjectiveEntry *objective =
      rtype >= 1 && rtype <= kPublicObjectives ? FindObjective(rtype) : nullptr;
  return objective != nullptr ? objective->name : "??";
}

}  // namespace hypra
