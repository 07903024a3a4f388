// Multilevel recursive partitioning: recursion over parts, multilevel bisection, fixed vertices.
#pragma once

#include "core/core.h"

int MultilevelPartition__(PartCtrl *ctrl, HGraph *graph, int *part);
int MLRB__(PartCtrl *ctrl, HGraph *graph, int *part, int nparts, int offset);
void SplitGraphPart__(PartCtrl *ctrl, HGraph *graph, const int *bisection, HGraph *lgraph,
                      HGraph *rgraph);

int Hypergraph_Bisection__(PartCtrl *ctrl, HGraph *graph, int *bisection);
HGraph *PruneHGraph__(PartCtrl *ctrl, HGraph *graph);
int ComputeMaxCellWgt__(PartCtrl *ctrl, int nvtxs, const int *cellwgt);
int VCycleRefinement__(PartCtrl *ctrl, HGraph *graph, int maxcycles);
int ComputeActualCut__(const HGraph *graph, const int *where);
float ComputeBalance__(const HGraph *graph, const int *where);

void CompressFixedCells__(PartCtrl *ctrl, HGraph *graph, const int *fixpart);
void ProjectFixedCells__(PartCtrl *ctrl, HGraph *graph, int *part, const int *cpart);
