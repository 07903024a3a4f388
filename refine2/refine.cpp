// Uncoarsening: the bisection of each level is projected onto the next finer one, balanced and
// refined there, until the hypergraph the hierarchy was built from is reached.
#include "coarsen/coarsen.h"
#include "refine2/refine2.h"

namespace {

// Ten passes of FM, in the variant that copes with heavy vertices when there are any.
void FullFM(PartCtrl *ctrl, HGraph *graph) {
  if (ctrl->HeavyCells)
    Refine_FM2__(ctrl, graph, 10);
  else
    Refine_FM__(ctrl, graph, 10);
}

// Refines one level by the scheme RType selects; coarselevel is the level of the coarsest graph.
void RefineLevel(PartCtrl *ctrl, HGraph *graph, int coarselevel) {
  Balance__(ctrl, graph);
  switch (static_cast<unsigned>(ctrl->RType)) {
    case 1:
      FullFM(ctrl, graph);
      break;
    case 2:
      Refine_OneWayFM__(ctrl, graph, 10);
      FullFM(ctrl, graph);
      break;
    case 3:
      // The cheap early-exit refiners serve the fine levels, where most of the work lies; the
      // two levels next to the coarsest still get full FM.
      if (graph->level < coarselevel - 2) {
        if (ctrl->HeavyCells)
          Refine_EEFM2__(ctrl, graph, 3, 0.1f);
        else
          Refine_EEFM__(ctrl, graph, 3, 0.1f);
      } else {
        FullFM(ctrl, graph);
      }
      break;
    case 5:
      Refine_FM2__(ctrl, graph, 10);
      break;
    case 10:
      break;
    default:
      errexit__("Unknown refinement type: %d\n", ctrl->RType);
  }
}

}  // namespace

void ProjectPartition__(PartCtrl *ctrl, HGraph *coarse) {
  starttimer__(ctrl, ctrl->ProjectTmr);
  HGraph *fine = coarse->finer;
  if (fine == nullptr) errexit__("ProjectPartition: the hypergraph has no finer level");
  AllocateRefinementMemory__(fine);
  const int *cellmap = fine->cellmap, *cwhere = coarse->where;
  int *where = fine->where;
  for (int v = 0; v < fine->nvtxs; v++) where[v] = cwhere[cellmap[v]];
  FreeHGraph__(coarse);
  fine->coarser = nullptr;
  stoptimer__(ctrl, ctrl->ProjectTmr);
}

void Refine__(PartCtrl *ctrl, HGraph *orggraph, HGraph *coarsest) {
  // Levels between the coarsest and its two finer neighbours get different refiners (RType 3).
  struct TwoWayLevel {
    int coarselevel;
    void Project(PartCtrl *c, HGraph *coarse) const { ProjectPartition__(c, coarse); }
    void Refine(PartCtrl *c, HGraph *graph) const {
      if (graph->nvtxs <= 0)
        ComputeInitGains__(graph);
      else
        RefineLevel(c, graph, coarselevel);
    }
    void PlaceIslands(PartCtrl *, HGraph *graph) const { PartitionIslands__(graph); }
  };
  Uncoarsen__(ctrl, orggraph, coarsest, TwoWayLevel{coarsest->level});
}
