// Uncoarsening: the bisection of each level is projected onto the next finer one, balanced and
// refined there, until the hypergraph the hierarchy was built from is reached.
#include "coarsen/coarsen.h"
#include "refine2/refine2.h"

namespace hypra {

namespace {

// Ten passes of FM, in the variant that copes with heavy vertices when there are any.
void FullFM(const PartCtrl *ctrl, HGraph *graph) {
  if (ctrl->run->now.HeavyCells)
    Refine_FM2__(ctrl, graph, 10);
  else
    Refine_FM__(ctrl, graph, 10);
}

// The two-way refiners, by RType. Codes 1 to 3 are the ones a caller may choose; 5 (always the
// heavy-vertex FM) and 10 (no refinement) serve the engine's own callers.
using LevelRefiner = void (*)(const PartCtrl *ctrl, HGraph *graph, int coarselevel);

struct RefinerEntry {
  int rtype;
  const char *name;
  LevelRefiner refine;
};

constexpr RefinerEntry kRefiners[] = {
    {1, "FM", [](const PartCtrl *ctrl, HGraph *graph, int) { FullFM(ctrl, graph); }},
    {2, "1WayFM",
     [](const PartCtrl *ctrl, HGraph *graph, int) {
       Refine_OneWayFM__(ctrl, graph, 10);
       FullFM(ctrl, graph);
     }},
    // The cheap early-exit refiners serve the fine levels, where most of the work lies; the two
    // levels next to the coarsest still get full FM.
    {3, "EEFM",
     [](const PartCtrl *ctrl, HGraph *graph, int coarselevel) {
       if (graph->level < coarselevel - 2) {
         if (ctrl->run->now.HeavyCells)
           Refine_EEFM2__(ctrl, graph, 3, 0.1f);
         else
           Refine_EEFM__(ctrl, graph, 3, 0.1f);
       } else {
         FullFM(ctrl, graph);
       }
     }},
    {5, "FM2", [](const PartCtrl *ctrl, HGraph *graph, int) { Refine_FM2__(ctrl, graph, 10); }},
    {10, "none", [](const PartCtrl *, HGraph *, int) {}},
};
constexpr int kPublicRefiners = 3;  // codes 1 .. 3

const RefinerEntry *FindRefiner(int rtype) {
  for (const RefinerEntry &entry : kRefiners)
    if (entry.rtype == rtype) return &entry;
  return nullptr;
}

// Balances, then refines one level by the refiner RType selects; coarselevel is the level of
// the coarsest graph.
void RefineLevel(const PartCtrl *ctrl, HGraph *graph, int coarselevel) {
  Balance__(ctrl, graph);
  const RefinerEntry *refiner = FindRefiner(ctrl->run->now.RType);
  if (refiner == nullptr) errexit__("Unknown refinement type: %d\n", ctrl->run->now.RType);
  refiner->refine(ctrl, graph, coarselevel);
}

// The level's refiner; with flows, a flow step after it, and when the flows moved the boundary,
// the refiner once more from there.
void RefineLevelWithFlows(const PartCtrl *ctrl, HGraph *graph, int coarselevel, bool flows) {
  RefineLevel(ctrl, graph, coarselevel);
  if (flows && FlowRefineBisection__(ctrl, graph) > 0) RefineLevel(ctrl, graph, coarselevel);
}

}  // namespace

void ProjectPartition__(const PartCtrl *ctrl, HGraph *coarse) {
  starttimer__(ctrl, ctrl->run->time.ProjectTmr);
  HGraph *fine = coarse->finer;
  if (fine == nullptr) errexit__("ProjectPartition: the hypergraph has no finer level");
  // Only the coarse partition is read from here on.
  ReleaseAllButPartition__(coarse);
  AllocateRefinementMemory__(fine);
  const int *cellmap = fine->cellmap, *cwhere = coarse->where;
  int *where = fine->where;
  for (int v = 0; v < fine->nvtxs; v++) where[v] = cwhere[cellmap[v]];
  FreeHGraph__(coarse);
  fine->coarser = nullptr;
  stoptimer__(ctrl, ctrl->run->time.ProjectTmr);
}

void Refine__(const PartCtrl *ctrl, HGraph *orggraph, HGraph *coarsest, bool flows) {
  // Levels between the coarsest and its two finer neighbours get different refiners (RType 3).
  struct TwoWayLevel {
    int coarselevel;
    bool flows;
    void Project(const PartCtrl *c, HGraph *coarse) const { ProjectPartition__(c, coarse); }
    void Refine(const PartCtrl *c, HGraph *graph) const {
      if (graph->nvtxs <= 0)
        ComputeInitGains__(graph);
      else
        RefineLevelWithFlows(c, graph, coarselevel, flows);
    }
    void PlaceIslands(const PartCtrl *, HGraph *graph) const { PartitionIslands__(graph); }
  };
  Uncoarsen__(ctrl, orggraph, coarsest, TwoWayLevel{coarsest->level, flows});
}

bool IsTwoWayRefiner__(int rtype) {
  return rtype >= 1 && rtype <= kPublicRefiners;
}

const char *TwoWayRefinerName__(int rtype) {
  const RefinerEntry *refiner = IsTwoWayRefiner__(rtype) ? FindRefiner(rtype) : nullptr;
  return refiner != nullptr ? refiner->name : "??";
}

}  // namespace hypra
