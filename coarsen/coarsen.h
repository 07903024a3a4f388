// Coarsening: successively smaller hypergraphs built by grouping vertices, restricted
// coarsening that keeps an existing partition representable, and island handling.
#pragma once

#include "core/core.h"

// Builds the coarsening hierarchy below graph and returns its coarsest level (graph itself when
// it is already small enough). Levels stay linked through coarser/finer.
HGraph *Coarsen__(PartCtrl *ctrl, HGraph *graph);

// Coarsens while grouping only vertices of the same part; each level carries the partition in
// where. CType 0 selects stars, 1 pairs.
HGraph *CCoarsen__(PartCtrl *ctrl, HGraph *graph);

int NumOfLargeNets__(int nhedges, const int *netptr);

// Turns the grouping of graph (cellmap, mptr, mind) into graph->coarser.
void CreateCoarseHGraph__(PartCtrl *ctrl, HGraph *graph, int cnvtxs);

// Merges identical hyperedges, summing their weights; sorts each input hyperedge's pins in place.
// The three output arrays are new and belong to the caller.
void CollapseSameHEdges__(int nhedges, int *netptr, int *netind, int *netwgt, int *newnhedges,
                          int **newnetptr, int **newnetind, int **newnetwgt);

// Islands: vertices without any incident hyperedge.
void SeparateIslands__(HGraph *graph);
void CombineIslands__(HGraph *graph);
void PartitionIslands__(HGraph *graph);
void PartitionIslandsKway__(PartCtrl *ctrl, HGraph *graph);
