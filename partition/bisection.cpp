// Multilevel bisection: several coarsen / bisect / refine runs from different random starts,
// optional V-cycles, and the best bisection kept.
#include <cstdio>
#include <iterator>

#include "coarsen/coarsen.h"
#include "partition/best_of_runs.h"
#include "partition/partition.h"
#include "refine2/refine2.h"

namespace hypra {

namespace {

constexpr int kVCycles = 10;
// Rounds of local moving and aggregation behind a bisection's communities. Two leave groups of
// tens to hundreds of vertices on the ISPD98 circuits; the full hierarchy's few dozen large
// communities hardly restrict the coarsening and left the cuts as they were.
constexpr int kCommunityLevels = 2;
constexpr int kFullRefinePasses = 10;

// Releases the per-level work arrays of a hypergraph while keeping its bisection.
void ReleaseLevelWork(HGraph *graph) {
  RVfree__(&graph->cellmap, &graph->netmap, &graph->mptr, &graph->mind, &graph->gain,
           &graph->ndeg[0], &graph->ndeg[1], &graph->islandmap);
}

void RefineFull(const PartCtrl *ctrl, HGraph *graph) {
  if (ctrl->run->now.HeavyCells)
    Refine_FM2__(ctrl, graph, kFullRefinePasses);
  else
    Refine_FM__(ctrl, graph, kFullRefinePasses);
}

// Whether some vertex lies in no hyperedge: coarsening moves such islands to the end of the
// numbering in place, so a hypergraph with islands cannot share its arrays.
bool HasIslands(const HGraph *graph) {
  for (int v = 0; v < graph->nvtxs; v++)
    if (graph->incptr[v + 1] == graph->incptr[v]) return true;
  return false;
}

// The pruned hypergraph's own copy of the lists, without the hyperedges above the limit.
void CopyKeptHyperedges(const PartCtrl *ctrl, const HGraph *graph, HGraph *sgraph) {
  const int nhedges = graph->nhedges;
  const int *netptr = graph->netptr, *netind = graph->netind, *netwgt = graph->netwgt;
  int *snetptr = imalloc__(static_cast<long long>(nhedges) + 1, "PruneHGraph: snetptr");
  int *snetind = imalloc__(netptr[nhedges], "PruneHGraph: snetind");
  int *snetwgt = imalloc__(nhedges, "PruneHGraph: sgraph->netwgt");
  int kept = 0, npins = 0;
  snetptr[0] = 0;
  for (int e = 0; e < nhedges; e++) {
    if (netptr[e + 1] - netptr[e] > ctrl->MaxNetSize) continue;
    for (int j = netptr[e]; j < netptr[e + 1]; j++) snetind[npins++] = netind[j];
    snetwgt[kept++] = netwgt[e];
    snetptr[kept] = npins;
  }
  sgraph->nhedges = kept;
  sgraph->netptr = snetptr;
  sgraph->netind = snetind;
  sgraph->netwgt = snetwgt;
  CreateIncidentHGraph__(sgraph);
}

}  // namespace

// The runs only read the pruned hypergraph's weights and lists unless it has islands, so what
// equals the full hypergraph's is shared rather than copied: everything when no hyperedge is too
// large, else the cell weights (FreePrunedHGraph__ leaves the shared arrays to the full one).
HGraph *PruneHGraph__(const PartCtrl *ctrl, HGraph *graph) {
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges;
  const int *netptr = graph->netptr;

  HGraph *sgraph = CreateHGraph__();
  sgraph->nvtxs = nvtxs;
  sgraph->nfixed = graph->nfixed;
  bool pruned = false;
  for (int e = 0; e < nhedges && !pruned; e++)
    pruned = netptr[e + 1] - netptr[e] > ctrl->MaxNetSize;
  if (!pruned && graph->incptr != nullptr && !HasIslands(graph)) {
    sgraph->nhedges = nhedges;
    sgraph->netptr = graph->netptr;
    sgraph->netind = graph->netind;
    sgraph->netwgt = graph->netwgt;
    sgraph->incptr = graph->incptr;
    sgraph->incind = graph->incind;
    sgraph->adjwgt = graph->adjwgt;
    sgraph->edgewgt = graph->edgewgt;
    sgraph->cellwgt = graph->cellwgt;
    return sgraph;
  }
  CopyKeptHyperedges(ctrl, graph, sgraph);
  sgraph->cellwgt = HasIslands(sgraph) ? icopy__(nvtxs, graph->cellwgt,
                                                 imalloc__(nvtxs, "PruneHGraph: sgraph->cellwgt"))
                                       : graph->cellwgt;
  return sgraph;
}

void FreePrunedHGraph__(const HGraph *graph, HGraph *pgraph) {
  int **const lists[] = {&pgraph->cellwgt, &pgraph->netptr, &pgraph->netind, &pgraph->netwgt,
                         &pgraph->incptr,  &pgraph->incind, &pgraph->adjwgt};
  const int *const own[] = {graph->cellwgt, graph->netptr, graph->netind, graph->netwgt,
                            graph->incptr,  graph->incind, graph->adjwgt};
  for (size_t i = 0; i < std::size(lists); i++)
    if (*lists[i] == own[i]) *lists[i] = nullptr;
  if (pgraph->edgewgt == graph->edgewgt) pgraph->edgewgt = nullptr;
  FreeHGraph__(pgraph);
}

int ComputeMaxCellWgt__(const PartCtrl *ctrl, int nvtxs, const int *cellwgt) {
  int total = iasum__(nvtxs, cellwgt);
  const int limit = (2 * total) / ctrl->run->now.CoarsenTo;
  int nheavy = 0;
  for (int v = 0; v < nvtxs; v++)
    if (cellwgt[v] > limit) {
      nheavy++;
      total -= cellwgt[v];
    }
  ctrl->run->now.HeavyCells = nheavy > 0 ? 1 : 0;
  return (2 * total) / (ctrl->run->now.CoarsenTo - nheavy);
}

int ComputeActualCut__(const HGraph *graph, const int *where) {
  int cut = 0;
  for (int e = 0; e < graph->nhedges; e++) {
    const int first = graph->netptr[e];
    for (int j = first + 1; j < graph->netptr[e + 1]; j++)
      if (where[graph->netind[j]] != where[graph->netind[first]]) {
        cut += graph->netwgt[e];
        break;
      }
  }
  return cut;
}

float ComputeBalance__(const HGraph *graph, const int *where) {
  int w[2] = {0, 0};
  for (int v = 0; v < graph->nvtxs; v++) w[where[v]] += graph->cellwgt[v];
  const int lighter = w[0] < w[1] ? w[0] : w[1];
  return static_cast<float>(static_cast<double>(lighter) / (w[0] + w[1]));
}

namespace {

// The steps of the best-of-runs loop that are particular to bisection: the cut as objective, FM
// refinement and two-way V-cycles.
struct Bisection {
  // Groups the coarsening may not mix; null for none.
  const int *community = nullptr;

  // A cut no bisection reaches: the total hyperedge weight plus one. Negative weights can make a
  // cut (a sum of some of the weights) exceed the total, so the start is never below the sum of
  // the positive weights plus one.
  int Impossible(const HGraph *graph) const {
    int impossible = iasum__(graph->nhedges, graph->netwgt) + 1;
    long long positive = 0;
    for (int e = 0; e < graph->nhedges; e++)
      positive += graph->netwgt[e] > 0 ? graph->netwgt[e] : 0;
    if (positive >= impossible) impossible = static_cast<int>(positive + 1);
    return impossible;
  }
  int KeptSlots(const PartCtrl *ctrl) const {
    const int wanted = ctrl->Nruns > 10 ? 3 : 1;
    return wanted > ctrl->Nruns ? ctrl->Nruns : wanted;
  }
  void PartitionPruned(const PartCtrl *ctrl, HGraph *pgraph) const {
    HGraph *coarsest = Coarsen__(ctrl, pgraph, community);
    InitPartition__(ctrl, coarsest);
    Refine__(ctrl, pgraph, coarsest);
  }
  void TraceRun(const PartCtrl *ctrl, int run, const HGraph *pgraph) const {
    Printf__(ctrl, "    Cut of trial %4d:\t %6d ", run, pgraph->mincut);
  }
  void Adopt(const PartCtrl *ctrl, HGraph *graph, HGraph *pgraph) const {
    const bool trace = ctrl->run->now.dbglvl & DBG_TRACE;
    if (pgraph->nhedges < graph->nhedges) {
      AllocateRefinementMemory__(graph);
      RVfree__(&graph->where);
      graph->where = pgraph->where;
      pgraph->where = nullptr;
      if (trace) {
        Printf__(ctrl, "[%d, ", ComputeActualCut__(graph, graph->where));
        Flush__(ctrl);
      }
      RefineFull(ctrl, graph);
      if (trace) {
        Printf__(ctrl, "%d]", graph->mincut);
        Flush__(ctrl);
      }
    } else {
      graph->mincut = pgraph->mincut;
      graph->where = pgraph->where;
      pgraph->where = nullptr;
    }
  }
  float Balance(const PartCtrl *, HGraph *graph, const int *where) const {
    return ComputeBalance__(graph, where);
  }
  int Objective(const HGraph *graph) const { return graph->mincut; }
  void SetObjective(HGraph *graph, int obj) const { graph->mincut = obj; }
  void VCycles(const PartCtrl *ctrl, HGraph *graph) const {
    ReleaseLevelWork(graph);
    VCycleRefinement__(ctrl, graph, kVCycles);
  }
  void ReleaseWork(HGraph *graph) const { ReleaseLevelWork(graph); }
  void PrintRun(const PartCtrl *ctrl, int run, HGraph *graph, int obj) const {
    Printf__(ctrl, "    Cut of trial %4d:\t %6d [%4.2f]\n", run, obj,
             ComputeBalance__(graph, graph->where));
  }
  void FreeRun(HGraph *graph, HGraph *pgraph) const {
    FreeRootHGraph__(graph);
    FreeRootHGraph__(pgraph);
  }
  void StartFinalVCycles(HGraph *, HGraph *) const {}
  void OpenVCycleTrace(const PartCtrl *ctrl, const HGraph *) const {
    Printf__(ctrl, "          [");
  }
  // The quality preset adds flows to the V-cycles' levels only: there a single partition is
  // refined, while the runs before them would pay for the flows once each.
  void RefineCoarsened(const PartCtrl *ctrl, HGraph *graph, HGraph *coarsest) const {
    Refine__(ctrl, graph, coarsest, ctrl->Quality != 0);
  }
};

}  // namespace

int VCycleRefinement__(const PartCtrl *ctrl, HGraph *graph, int maxcycles) {
  return VCycleLoop__(ctrl, graph, maxcycles, Bisection());
}

int Hypergraph_Bisection__(const PartCtrl *ctrl, HGraph *graph, int *bisection) {
  const bool summary = ctrl->run->now.dbglvl & (DBG_BISECT | DBG_TRACE);
  if (summary)
    Printf__(ctrl, "\n  Bisecting a hgraph of size [vertices=%d, hedges=%d, balance=%4.2f]\n",
             graph->nvtxs, graph->nhedges, ctrl->run->now.TargetFrac);

  // The communities are found once and serve every run: they depend on the hypergraph alone.
  Bisection how;
  int *community = nullptr;
  if (ctrl->CommunityPins > 0) {
    community = imalloc__(graph->nvtxs, "Bisection: community");
    FindCommunities__(graph, kCommunityLevels, ctrl->CommunityPins, community);
    how.community = community;
  }
  const BestOfRunsResult result = BestOfRuns__(ctrl, graph, bisection, how);
  RVfree__(&community);
  const int bestcut = result.best;

  if (summary)
    Printf__(ctrl, "    The mincut for this bisection = %d, (average = %3.1f) (balance = %4.2f)\n",
             bestcut, static_cast<double>(result.total) / ctrl->Nruns,
             ComputeBalance__(graph, bisection));

  const int actual = ComputeActualCut__(graph, bisection);
  if (actual != bestcut) Printf__(ctrl, "Wrong cut! %d %d\n", bestcut, actual);
  return bestcut;
}

}  // namespace hypra
