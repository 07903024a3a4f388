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

// Projects and refines from coarsest up to orggraph, leaving where and mincut on orggraph.
void Refine__(const PartCtrl *ctrl, HGraph *orggraph, HGraph *coarsest);

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
