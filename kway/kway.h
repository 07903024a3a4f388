// K-way refinement and direct k-way partitioning.
#pragma once

#include "core/core.h"

namespace hypra {

void AllocateKwayRefinementMemory__(const PartCtrl *ctrl, HGraph *graph);
void ComputeInitKwayGains__(const PartCtrl *ctrl, HGraph *graph);
// Gives the vertex-entry pool of `from`, whose vertex records are dropped with it, to `to`, which
// keeps the larger of the two pools unless it holds vertex records of its own; the other pool is
// freed. Reusing one pool spares faulting fresh pages in at every level and trial.
void HandOverKwayPool__(HGraph *from, HGraph *to);
// Releases the grouping and k-way arrays of a hypergraph while keeping its partition and its
// vertex-entry pool, which the next levels, trials or cycles take over.
void ReleaseKwayWork__(HGraph *graph);
int ComputeKwayGainsSet__(HGraph *graph, int n, const int *list);
int KwayUpdateGainInfo__(HGraph *graph, int v, int from, int to, int *marker, int *list);

void RefineCutKway_Random__(const PartCtrl *ctrl, HGraph *graph, int npasses);
// The greedy refiner of the objective RType names (none for RType 10); false, and nothing done,
// for a code without one. The name of a code a caller may choose ("??" for any other).
bool RefineForKwayObjective__(const PartCtrl *ctrl, HGraph *graph, int npasses);
const char *KwayObjectiveName__(int rtype);
void RefineSOEDKway_Random__(const PartCtrl *ctrl, HGraph *graph, int npasses);

void ProjectKwayPartition__(const PartCtrl *ctrl, HGraph *graph);
void RefineKway__(const PartCtrl *ctrl, HGraph *orggraph, HGraph *graph);
int VCycleRefinementKway__(const PartCtrl *ctrl, HGraph *graph, int nvcycles);

// Bounded part weights. RebalanceKway__ moves vertices out of the parts of graph->where above
// maxpwgt into parts that stay within it, cheapest first by the cut (or, with soed, the sum of
// external degrees); vertices below graph->nfixed never move. The k-way records must be current
// (as a refinement pass leaves them) and stay so; mincut, soed and kwayobj follow the moves.
// Returns the number of parts still above maxpwgt.
int RebalanceKway__(const PartCtrl *ctrl, HGraph *graph, int maxpwgt, bool soed);
// In the bounded-imbalance mode, rebalances a refined level whose parts exceed MaxPartWgt, by
// the objective RType names; otherwise does nothing.
void KeepPartBound__(const PartCtrl *ctrl, HGraph *graph);
// Rebalances `part`, a partition of the whole of graph, against MaxPartWgt when a part is above
// it, building and releasing the k-way records it needs. Returns the parts still above.
int EnforcePartBound__(const PartCtrl *ctrl, HGraph *graph, int *part, bool soed);

// Direct k-way partitioning.
int MultilevelKwayPartition__(const PartCtrl *ctrl, HGraph *graph, int *part);
void InitPartitionKway__(const PartCtrl *ctrl, HGraph *graph);
float ComputeBalanceKway__(const PartCtrl *ctrl, HGraph *graph, const int *part);
int ComputeActualSOED__(HGraph *graph, const int *part);

}  // namespace hypra
