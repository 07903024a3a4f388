// Coarsening: successively smaller hypergraphs built by grouping vertices, restricted
// coarsening that keeps an existing partition representable, and island handling.
#pragma once

#include "core/core.h"

namespace hypra {

// Builds the coarsening hierarchy below graph and returns its coarsest level (graph itself when
// it is already small enough). Levels stay linked through coarser/finer. With community (one
// entry per vertex of graph) the pair and star schemes group only vertices of the same community
// until that stalls, and freely from then on.
HGraph *Coarsen__(const PartCtrl *ctrl, HGraph *graph, const int *community = nullptr);

// Communities of graph's vertices by modularity on its clique expansion (hyperedges of 2 to
// maxpins pins), after `levels` rounds of local moving and aggregation; fills community with
// 0 .. count-1 and returns count. Needs no incidence lists; the same graph gives the same
// communities.
int FindCommunities__(const HGraph *graph, int levels, int maxpins, int *community);

// The grouping schemes a caller may choose by CType, and their names ("??" for any other code).
bool IsCoarseningScheme__(int ctype);
const char *CoarseningSchemeName__(int ctype);

// Coarsens while grouping only vertices of the same part; each level carries the partition in
// where. CType 0 selects stars, 1 pairs.
HGraph *CCoarsen__(const PartCtrl *ctrl, HGraph *graph);

int NumOfLargeNets__(int nhedges, const int *netptr);

// Turns the grouping of graph (cellmap, mptr, mind) into graph->coarser.
void CreateCoarseHGraph__(const PartCtrl *ctrl, HGraph *graph, int cnvtxs);

// Merges identical hyperedges, summing their weights; sorts each input hyperedge's pins in place.
// The three output arrays are new and belong to the caller.
void CollapseSameHEdges__(int nhedges, int *netptr, int *netind, int *netwgt, int *newnhedges,
                          int **newnetptr, int **newnetind, int **newnetwgt);

// Islands: vertices without any incident hyperedge.
void SeparateIslands__(HGraph *graph);
void CombineIslands__(HGraph *graph);
void PartitionIslands__(HGraph *graph);
void PartitionIslandsKway__(const PartCtrl *ctrl, HGraph *graph);

// The way back up a hierarchy: the partition of `coarsest` is projected onto each finer level
// (which frees the coarser one), the level is refined and its islands placed, until `orggraph`
// is reached; then the islands set aside before coarsening rejoin it. Level supplies
//   void Project(const PartCtrl *ctrl, HGraph *coarse): onto coarse->finer, freeing coarse;
//   void Refine(const PartCtrl *ctrl, HGraph *graph): one level's refinement;
//   void PlaceIslands(const PartCtrl *ctrl, HGraph *graph).
// Nothing is done when `coarsest` has no finer level.
template <typename Level>
void Uncoarsen__(const PartCtrl *ctrl, HGraph *orggraph, HGraph *coarsest, const Level &level) {
  if (coarsest->finer == nullptr) return;
  starttimer__(ctrl, ctrl->run->time.UncoarsenTmr);
  HGraph *graph = coarsest->finer;
  level.Project(ctrl, coarsest);
  for (;;) {
    starttimer__(ctrl, ctrl->run->time.RefTmr);
    level.Refine(ctrl, graph);
    level.PlaceIslands(ctrl, graph);
    stoptimer__(ctrl, ctrl->run->time.RefTmr);
    if (graph == orggraph) break;
    if (graph->finer == nullptr)
      errexit__("Uncoarsen: the hierarchy ends before the hypergraph it was built from");
    graph = graph->finer;
    level.Project(ctrl, graph->coarser);
  }
  CombineIslands__(orggraph);
  stoptimer__(ctrl, ctrl->run->time.UncoarsenTmr);
}

}  // namespace hypra
