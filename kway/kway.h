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

// The part weights the k-way refiners keep to, for parts that weigh tpwgt in all: at most the
// bound in the bounded-imbalance mode (on every level), else the tolerance times the average;
// at least the average over the tolerance.
struct KwayBounds {
  int maxpwgt, minpwgt;
};
KwayBounds KwayPartBounds__(const PartCtrl *ctrl, int tpwgt);

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

// K-way FM refinement (kway_fm.cpp). Passes of single-vertex moves, best gain first from a gain
// cache kept current by differences, each vertex moving at most once per pass and the pass rolled
// back to its best prefix (the best objective, ties to the lighter heaviest part). No move makes
// a part heavier than maxpwgt or takes one below minpwgt; vertices below graph->nfixed never
// move. Works on graph->where (building the incidence when missing) and keeps graph->kpwgts, when
// allocated, current; the greedy refiners' records are left as they were. Deterministic: it
// draws nothing at random. Stops after npasses passes or the first pass that gains nothing.
enum KwayFmObjective {
  KWAYFM_CUT,   // weight of the hyperedges spanning two parts or more
  KWAYFM_KM1,   // connectivity - 1
  KWAYFM_SOED,  // sum of external degrees, the cut plus connectivity - 1
};
struct KwayFmResult {
  long long cut, km1;  // of the refined partition
  int passes, moves;   // passes made, moves kept over all of them
};
KwayFmResult RefineKwayFM__(const PartCtrl *ctrl, HGraph *graph, KwayFmObjective objective,
                            int maxpwgt, int minpwgt, int npasses);
// The quality mode's k-way FM on a refined level, by the objective RType names (1 cut, 2 SOED;
// nothing for any other code) and under the part bounds of the greedy refiners. Leaves the
// greedy records, mincut, soed and kwayobj current.
void RefineLevelKwayFM__(const PartCtrl *ctrl, HGraph *graph);
// Debugging aid: builds the gain cache of graph->where, makes nmoves pseudo-random moves (from
// `seed`), and compares the cache and the objectives against a recomputation after each. Returns
// the number of disagreements (0 when the cache is exact). Changes graph->where.
int CheckKwayFMCache__(const PartCtrl *ctrl, HGraph *graph, int nmoves, int seed);

// Direct k-way partitioning.
int MultilevelKwayPartition__(const PartCtrl *ctrl, HGraph *graph, int *part);
void InitPartitionKway__(const PartCtrl *ctrl, HGraph *graph);
float ComputeBalanceKway__(const PartCtrl *ctrl, HGraph *graph, const int *part);
int ComputeActualSOED__(HGraph *graph, const int *part);

}  // namespace hypra
