// Multilevel bisection: several coarsen / bisect / refine runs from different random starts,
// optional V-cycles, and the best bisection kept.
#include <cstdio>

#include "coarsen/coarsen.h"
#include "partition/partition.h"
#include "refine2/refine2.h"

namespace {

constexpr int kVCycles = 10;
constexpr int kFullRefinePasses = 10;

// Releases the per-level work arrays of a hypergraph while keeping its bisection.
void ReleaseLevelWork(HGraph *graph) {
  RVfree__(&graph->cellmap, &graph->netmap, &graph->mptr, &graph->mind, &graph->gain,
           &graph->ndeg[0], &graph->ndeg[1], &graph->islandmap);
}

void RefineFull(PartCtrl *ctrl, HGraph *graph) {
  if (ctrl->HeavyCells)
    Refine_FM2__(ctrl, graph, kFullRefinePasses);
  else
    Refine_FM__(ctrl, graph, kFullRefinePasses);
}

void Flush() {
  std::fflush(stdout);
}

}  // namespace

HGraph *PruneHGraph__(PartCtrl *ctrl, HGraph *graph) {
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges;
  const int *netptr = graph->netptr, *netind = graph->netind, *netwgt = graph->netwgt;

  HGraph *sgraph = CreateHGraph__();
  sgraph->nvtxs = nvtxs;
  sgraph->nfixed = graph->nfixed;

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
  sgraph->cellwgt =
      icopy__(nvtxs, graph->cellwgt, imalloc__(nvtxs, "PruneHGraph: sgraph->cellwgt"));
  return sgraph;
}

int ComputeMaxCellWgt__(PartCtrl *ctrl, int nvtxs, const int *cellwgt) {
  int total = iasum__(nvtxs, cellwgt);
  const int limit = (2 * total) / ctrl->CoarsenTo;
  int nheavy = 0;
  for (int v = 0; v < nvtxs; v++)
    if (cellwgt[v] > limit) {
      nheavy++;
      total -= cellwgt[v];
    }
  ctrl->HeavyCells = nheavy > 0 ? 1 : 0;
  return (2 * total) / (ctrl->CoarsenTo - nheavy);
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

int VCycleRefinement__(PartCtrl *ctrl, HGraph *graph, int maxcycles) {
  const int oldCoarsenTo = ctrl->CoarsenTo, oldCType = ctrl->CType;
  ctrl->CoarsenTo = 1000;

  int best = graph->mincut, lastgain = -1;
  if (ctrl->dbglvl & DBG_TRACE) std::printf("          [");
  for (int i = 0; i < maxcycles; i++) {
    ctrl->CType = i % 2;
    HGraph *coarsest = CCoarsen__(ctrl, graph);
    Refine__(ctrl, graph, coarsest);
    if (ctrl->dbglvl & DBG_TRACE) {
      std::printf("%d ", graph->mincut);
      Flush();
    }
    ReleaseLevelWork(graph);
    if (graph->mincut < best) {
      best = graph->mincut;
      lastgain = i;
    } else if (i - lastgain > 1) {
      break;
    }
  }
  if (ctrl->dbglvl & DBG_TRACE) std::printf("(min = %d)]\n", graph->mincut);

  ctrl->CoarsenTo = oldCoarsenTo;
  ctrl->CType = oldCType;
  return graph->mincut;
}

int Hypergraph_Bisection__(PartCtrl *ctrl, HGraph *graph, int *bisection) {
  const int nvtxs = graph->nvtxs;
  const bool summary = ctrl->dbglvl & (DBG_BISECT | DBG_TRACE);
  const bool trace = ctrl->dbglvl & DBG_TRACE;
  if (summary)
    std::printf("\n  Bisecting a hgraph of size [vertices=%d, hedges=%d, balance=%4.2f]\n", nvtxs,
                graph->nhedges, ctrl->TargetFrac);

  CreateIncidentHGraph__(graph);
  HGraph *pgraph = PruneHGraph__(ctrl, graph);

  // A cut no bisection reaches: the total hyperedge weight plus one. Negative weights can make a
  // cut (a sum of some of the weights) exceed the total, so the start is never below the sum of
  // the positive weights plus one.
  int impossible = iasum__(graph->nhedges, graph->netwgt) + 1;
  long long positive = 0;
  for (int e = 0; e < graph->nhedges; e++) positive += graph->netwgt[e] > 0 ? graph->netwgt[e] : 0;
  if (positive >= impossible) impossible = static_cast<int>(positive + 1);
  int bestcut = impossible, bestpruned = impossible;
  long long totalcut = 0;  // Nruns cuts may add up to more than an int holds

  ctrl->MaxCellWgt = ComputeMaxCellWgt__(ctrl, nvtxs, graph->cellwgt);

  KeepSlots keep;
  if (ctrl->Vcycle == 1) {
    const int wanted = ctrl->Nruns > 10 ? 3 : 1;
    InitKeepSlots__(&keep, wanted > ctrl->Nruns ? ctrl->Nruns : wanted, nvtxs, impossible);
  }

  const int oldCType = ctrl->CType;
  InitRandom__(ctrl->Seed);

  for (int run = 0; run < ctrl->Nruns; run++) {
    if (oldCType == 1) ctrl->CType = run % 2 == 0 ? 1 : 2;

    HGraph *coarsest = Coarsen__(ctrl, pgraph);
    InitPartition__(ctrl, coarsest);
    Refine__(ctrl, pgraph, coarsest);
    const int prunedcut = pgraph->mincut;
    if (trace) {
      std::printf("    Cut of trial %4d:\t %6d ", run, prunedcut);
      Flush();
    }

    const bool improved = prunedcut < bestpruned;
    if (improved) bestpruned = prunedcut;

    if (pgraph->nhedges < graph->nhedges) {
      AllocateRefinementMemory__(graph);
      RVfree__(&graph->where);
      graph->where = pgraph->where;
      pgraph->where = nullptr;
      if (trace) {
        std::printf("[%d, ", ComputeActualCut__(graph, graph->where));
        Flush();
      }
      RefineFull(ctrl, graph);
      if (trace) {
        std::printf("%d]", graph->mincut);
        Flush();
      }
    } else {
      graph->mincut = pgraph->mincut;
      graph->where = pgraph->where;
      pgraph->where = nullptr;
    }
    if (trace) {
      std::printf(" [%4.2f]\n", ComputeBalance__(graph, graph->where));
      Flush();
    }

    int cut = graph->mincut;
    if (WantsVCycles__(ctrl, cut, bestcut, improved)) {
      ReleaseLevelWork(graph);
      VCycleRefinement__(ctrl, graph, kVCycles);
      cut = graph->mincut;
    }
    if (ctrl->dbglvl & DBG_RUNS)
      std::printf("    Cut of trial %4d:\t %6d [%4.2f]\n", run, cut,
                  ComputeBalance__(graph, graph->where));

    totalcut += cut;
    if (cut < bestcut) {
      icopy__(nvtxs, graph->where, bisection);
      bestcut = cut;
    }
    if (ctrl->Vcycle == 1) OfferToSlots__(&keep, graph->where, nvtxs, cut);

    FreeRootHGraph__(graph);
    FreeRootHGraph__(pgraph);
  }
  ctrl->CType = oldCType;

  if (ctrl->Vcycle == 1) {
    graph->where = imalloc__(nvtxs, "Hypergraph_Bisection: where");
    for (int i = 0; i < keep.count; i++) {
      icopy__(nvtxs, keep.parts[i], graph->where);
      graph->mincut = keep.objs[i];
      VCycleRefinement__(ctrl, graph, kVCycles);
      if (graph->mincut < bestcut) {
        icopy__(nvtxs, graph->where, bisection);
        bestcut = graph->mincut;
      }
      RVfree__(&keep.parts[i]);
      ReleaseLevelWork(graph);
    }
    FreeRootHGraph__(graph);
  }

  if (summary)
    std::printf("    The mincut for this bisection = %d, (average = %3.1f) (balance = %4.2f)\n",
                bestcut, static_cast<double>(totalcut) / ctrl->Nruns,
                ComputeBalance__(graph, bisection));

  FreeHGraph__(pgraph);

  const int actual = ComputeActualCut__(graph, bisection);
  if (actual != bestcut) std::printf("Wrong cut! %d %d\n", bestcut, actual);
  return bestcut;
}
