// Two-way refinement: the bisection state of a hypergraph, the move-based refiners, balancing,
// the level-by-level uncoarsening driver and the initial bisection.
#pragma once

#include "core/core.h"

namespace hypra {

void AllocateRefinementMemory__(HGraph *graph);
void ComputeInitGains__(HGraph *graph);
int ComputeCut__(const HGraph *graph);
void ProjectPartition__(const PartCtrl *ctrl, HGraph *coarse);

// The two-way refiners a caller may choose by RType, and their names ("??" for any other code).
bool IsTwoWayRefiner__(int rtype);
const char *TwoWayRefinerName__(int rtype);

// Projects and refines from coarsest up to orggraph, leaving where and mincut on orggraph. With
// flows, each level's refinement is followed by FlowRefineBisection__, and by the level's
// refiner again when that lowered the cut.
void Refine__(const PartCtrl *ctrl, HGraph *orggraph, HGraph *coarsest, bool flows = false);

// Moves vertices between the two sides along minimum cuts of flow networks around their common
// boundary, within the balance bounds the FM keeps, when that lowers the cut; the two-way state
// (gains, side weights, mincut) is recomputed then. Returns the gain.
int FlowRefineBisection__(const PartCtrl *ctrl, HGraph *graph);

void Refine_FM__(const PartCtrl *ctrl, HGraph *graph, int npasses);
void Refine_FM2__(const PartCtrl *ctrl, HGraph *graph, int npasses);
void Refine_EEFM__(const PartCtrl *ctrl, HGraph *graph, int npasses, float fraction);
void Refine_EEFM2__(const PartCtrl *ctrl, HGraph *graph, int npasses, float fraction);
void Refine_OneWayFM__(const PartCtrl *ctrl, HGraph *graph, int npasses);
void Balance__(const PartCtrl *ctrl, HGraph *graph);

void InitPartition__(const PartCtrl *ctrl, HGraph *graph);
void Random_FMPartition__(const PartCtrl *ctrl, HGraph *graph);

int CheckDegrees(HGraph *graph);
float RelDiff__(int a, int b);

}  // namespace hypra
