// Grouping routines of the coarsening subsystem, shared by its drivers and its tests.
#pragma once

#include "coarsen/coarsen.h"
#include "core/core.h"

namespace hypra {

// Candidate search around one vertex. Each returns the chosen vertex or -1; htable must be all -1
// on entry and is all -1 again on return. gwgts is the group-weight view (group g at gwgts[g],
// gwgts[-1] == 0 for ungrouped vertices). A non-null community admits only candidates of v's
// community.
int FindCell__(const PartCtrl *ctrl, int v, const int *incptr, const int *incind, const int *netptr,
               const int *netind, const int *cellwgt, const float *edgewgt, const int *cellmap,
               int *htable, const int *community = nullptr);
int FindCellStar__(const PartCtrl *ctrl, int v, const int *incptr, const int *incind,
                   const int *netptr, const int *netind, const int *cellwgt, const float *edgewgt,
                   const int *cellmap, int *htable, const int *gwgts,
                   const int *community = nullptr);
int CFindCell__(const PartCtrl *ctrl, int v, const int *incptr, const int *incind,
                const int *netptr, const int *netind, const int *cellwgt, const float *edgewgt,
                const int *cellmap, const int *where, int *htable);
int CFindCellStar__(const PartCtrl *ctrl, int v, const int *incptr, const int *incind,
                    const int *netptr, const int *netind, const int *cellwgt, const float *edgewgt,
                    const int *cellmap, const int *where, int *htable, const int *gwgts);

// One key per vertex from the strength of its best connection; returns the largest key + 1.
int ComputeAllWeights__(const PartCtrl *ctrl, HGraph *graph, int *keys, int *htable);

// Stable counting sort of the vertices in `in` by keys[v] in 0 .. max into `out`.
void BucketSortKeysInc(int n, int max, const int *keys, const int *in, int *out);

// Grouping schemes; each leaves the next level in graph->coarser. vpairs holds at least
// max(nvtxs, nhedges) key/value pairs (2 x that many ints).
void Match_Edges__(const PartCtrl *ctrl, HGraph *graph, int *perm, int *htable, KeyValue *vpairs);
void Match_EdgesStars__(const PartCtrl *ctrl, HGraph *graph, int *perm, int *htable,
                        KeyValue *vpairs, int byweight);
void Match_Hedges__(const PartCtrl *ctrl, HGraph *graph, int *perm, int *htable, KeyValue *vpairs);
void Match_Hedges_Edges__(const PartCtrl *ctrl, HGraph *graph, int *perm, int *htable,
                          KeyValue *vpairs);
void Match_Hedges_PHedges_Edges__(const PartCtrl *ctrl, HGraph *graph, int *perm, int *htable,
                                  KeyValue *vpairs);
void CMatch_Edges__(const PartCtrl *ctrl, HGraph *graph, const int *where, int *perm, int *htable,
                    KeyValue *vpairs);
void CMatch_EdgesStars__(const PartCtrl *ctrl, HGraph *graph, const int *where, int *perm,
                         int *htable, KeyValue *vpairs);

// Visiting order by degree: a fresh random permutation in keys[n..2n), degree keys in keys[0..n),
// sorted into perm.
void DegreeOrder__(const PartCtrl *ctrl, const HGraph *graph, int *perm, int *keys);

// Progress test of the coarsening drivers: c vertices out of f is progress when c differs from f
// and c > ratio x f is false in float arithmetic.
bool CoarseningProgress__(int c, int f, float ratio);

}  // namespace hypra
