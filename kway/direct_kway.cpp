// Direct k-way partitioning: coarsen the whole hypergraph once per trial, split the coarsest
// level into k parts at once, refine k-way on the way back, and keep the best of several trials.
#include "kway/direct_kway.h"

#include <climits>
#include <cstdio>

#include "coarsen/coarsen.h"
#include "kway/kway.h"
#include "partition/best_of_runs.h"
#include "partition/partition.h"

namespace hypra {

namespace {

constexpr int kRefinePasses = 10;
constexpr int kVCycles = 10;

bool CutObjective(const PartCtrl *ctrl) {
  return ctrl->run->now.RType == 1;
}

// The greedy refiner of the chosen objective.
void RefineForObjective(const PartCtrl *ctrl, HGraph *graph) {
  if (CutObjective(ctrl))
    RefineCutKway_Random__(ctrl, graph, kRefinePasses);
  else
    RefineSOEDKway_Random__(ctrl, graph, kRefinePasses);
}

// The chosen objective of `where`, computed from scratch on `graph`.
int ActualObjective(const PartCtrl *ctrl, HGraph *graph, const int *where) {
  return CutObjective(ctrl) ? ComputeActualCut__(graph, where) : ComputeActualSOED__(graph, where);
}

// Frees what a trial left on a root hypergraph except its vertex-entry pool, which the next
// trial's levels take over.
void FreeRootKeepingPool(HGraph *graph) {
  KwayDegree *pool = graph->crdata;
  graph->crdata = nullptr;
  FreeRootHGraph__(graph);
  graph->crdata = pool;
}

// An objective that no partition can reach: every hyperedge cut into ten parts, plus one. A
// hyperedge of more than ten pins can count more often than that in the sum of external degrees,
// and negative weights make the total small, so the start is raised to the largest objective
// possible, each hyperedge counted once per pin, plus one. The weight limits keep that within an
// int; nothing beyond the largest int is needed, since no objective reaches it.
int ImpossibleObjective(const HGraph *graph) {
  long long total = 0, weighted_pins = 0;
  for (int e = 0; e < graph->nhedges; e++) {
    const long long w = graph->netwgt[e];
    const long long pins = graph->netptr[e + 1] - graph->netptr[e];
    total += w;
    weighted_pins += (w < 0 ? -w : w) * (pins > 1 ? pins : 1);
  }
  long long impossible = 10 * total + 1;
  if (impossible <= weighted_pins) impossible = weighted_pins + 1;
  return impossible > INT_MAX ? INT_MAX : static_cast<int>(impossible);
}

// Takes the pruned hypergraph's partition over onto the full hypergraph. When hyperedges were
// pruned, the partition is refined again with every hyperedge counted.
void AdoptPrunedPartition(const PartCtrl *ctrl, HGraph *graph, HGraph *pgraph) {
  const bool trace = ctrl->run->now.dbglvl & DBG_TRACE;
  HandOverKwayPool__(pgraph, graph);
  if (pgraph->nhedges < graph->nhedges) {
    if (trace) {
      Printf__(ctrl, "[%d, ", ActualObjective(ctrl, graph, pgraph->where));
      Flush__(ctrl);
    }
    AllocateKwayRefinementMemory__(ctrl, graph);
    RVfree__(&graph->where);
    graph->where = pgraph->where;
    pgraph->where = nullptr;
    RefineForObjective(ctrl, graph);
    KeepPartBound__(ctrl, graph);
    if (ctrl->Quality) RefineLevelKwayFM__(ctrl, graph);
    if (trace) {
      Printf__(ctrl, "%d]", graph->kwayobj);
      Flush__(ctrl);
    }
  } else {
    graph->where = pgraph->where;
    pgraph->where = nullptr;
    graph->mincut = pgraph->mincut;
    graph->soed = pgraph->soed;
    graph->kwayobj = pgraph->kwayobj;
  }
}

}  // namespace

bool DirectKwayWantsVCycles(const PartCtrl *ctrl, int obj, int best, bool improving) {
  return WantsVCycles__(ctrl, obj, best, improving);
}

int DirectKwayKeptSlots(const PartCtrl *ctrl) {
  const int wanted = ctrl->Nruns > 10 ? 3 : 2;
  return wanted < ctrl->Nruns ? wanted : ctrl->Nruns;
}

int ComputeActualSOED__(HGraph *graph, const int *part) {
  const int nvtxs = graph->nvtxs;
  int nparts = 0;
  if (nvtxs > 0) {
    const int least = part[iamin__(nvtxs, part)];
    if (least < 0) errexit__("ComputeActualSOED: a vertex has the negative part %d", least);
    nparts = part[iamax__(nvtxs, part)] + 1;
  }
  int *htable = ismalloc__(nparts, -1, "htable");
  int soed = 0;
  for (int e = 0; e < graph->nhedges; e++) {
    int span = 0;
    for (int j = graph->netptr[e]; j < graph->netptr[e + 1]; j++) {
      const int p = part[graph->netind[j]];
      if (htable[p] != e) {
        htable[p] = e;
        span++;
      }
    }
    if (span > 1) soed += span * graph->netwgt[e];
  }
  RVfree__(&htable);
  return soed;
}

float ComputeBalanceKway__(const PartCtrl *ctrl, HGraph *graph, const int *part) {
  const int nparts = ctrl->Nparts;
  int *kpwgts = ismalloc__(nparts, 0, "ComputeBalanceKway: kpwgts");
  for (int v = 0; v < graph->nvtxs; v++) {
    if (part[v] < 0 || part[v] >= nparts)
      errexit__("ComputeBalanceKway: vertex %d is in part %d, outside 0..%d", v, part[v],
                nparts - 1);
    kpwgts[part[v]] += graph->cellwgt[v];
  }
  const int heaviest = nparts > 0 ? kpwgts[iamax__(nparts, kpwgts)] : 0;
  const int total = iasum__(nparts, kpwgts);
  RVfree__(&kpwgts);
  return static_cast<float>(static_cast<double>(nparts) * heaviest / total);
}

void InitPartitionKway__(const PartCtrl *ctrl, HGraph *graph) {
  starttimer__(ctrl, ctrl->run->time.InitPartTmr);
  const int nvtxs = graph->nvtxs;
  int *bestwhere = imalloc__(nvtxs, "InitPartitionKway: bestwhere");
  AllocateKwayRefinementMemory__(ctrl, graph);

  // Two quick runs of recursive bisection, no V-cycles, seeded from the clock; in the parallel
  // mode, and in the quality preset when the caller gave a seed, from that seed, so that the
  // result does not depend on when it runs.
  const bool repeatable = (ctrl->Parallel || ctrl->Quality) && ctrl->Seed >= 0;
  const int seed = repeatable ? static_cast<int>(ctrl->Seed & 0x7fffffff) : -1;
  const int options[9] = {1, 2, 2, 1, 0, 0, 0, seed, 0};
  int edgecut = 0;
  PartRecursiveInRun__(ctrl->run, nvtxs, graph->nhedges, graph->cellwgt, graph->netptr,
                       graph->netind, graph->netwgt, ctrl->Nparts, 1, ctrl->Imbalance, options,
                       graph->where, &edgecut);

  // Without a refiner for the objective, kwayobj stays as the record held it.
  if (RefineForKwayObjective__(ctrl, graph, kRefinePasses)) KeepPartBound__(ctrl, graph);

  // A single initial trial, kept in the shape of a best-of loop.
  const int bestobj = graph->kwayobj;
  icopy__(nvtxs, graph->where, bestwhere);
  icopy__(nvtxs, bestwhere, graph->where);
  graph->kwayobj = bestobj;

  if (ctrl->run->now.dbglvl & DBG_INITPART)
    Printf__(ctrl, "%d-way initial %s: %d\n", ctrl->Nparts, CutObjective(ctrl) ? "cut" : "soed",
             graph->kwayobj);
  RVfree__(&bestwhere);
  stoptimer__(ctrl, ctrl->run->time.InitPartTmr);
}

namespace {

// The steps of the best-of-runs loop that are particular to direct k-way partitioning: the cut or
// the SOED as objective, greedy k-way refinement and k-way V-cycles, with one vertex-entry pool
// handed from level to level and from trial to trial.
struct DirectKway {
  int Impossible(const HGraph *graph) const { return ImpossibleObjective(graph); }
  int KeptSlots(const PartCtrl *ctrl) const { return DirectKwayKeptSlots(ctrl); }
  void PartitionPruned(const PartCtrl *ctrl, HGraph *pgraph) const {
    HGraph *coarsest = Coarsen__(ctrl, pgraph);
    HandOverKwayPool__(pgraph, coarsest);
    InitPartitionKway__(ctrl, coarsest);
    RefineKway__(ctrl, pgraph, coarsest);
  }
  void TraceRun(const PartCtrl *ctrl, int run, const HGraph *pgraph) const {
    Printf__(ctrl, "    Cut/SOED of trial %4d:\t %6d %6d", run, pgraph->mincut, pgraph->soed);
  }
  void Adopt(const PartCtrl *ctrl, HGraph *graph, HGraph *pgraph) const {
    AdoptPrunedPartition(ctrl, graph, pgraph);
  }
  float Balance(const PartCtrl *ctrl, HGraph *graph, const int *where) const {
    return ComputeBalanceKway__(ctrl, graph, where);
  }
  int Objective(const HGraph *graph) const { return graph->kwayobj; }
  void SetObjective(HGraph *graph, int obj) const { graph->kwayobj = obj; }
  void VCycles(const PartCtrl *ctrl, HGraph *graph) const {
    ReleaseKwayWork__(graph);
    VCycleRefinementKway__(ctrl, graph, kVCycles);
  }
  void ReleaseWork(HGraph *graph) const { ReleaseKwayWork__(graph); }
  void PrintRun(const PartCtrl *ctrl, int run, HGraph *graph, int) const {
    Printf__(ctrl, "    Cut/SOED of trial %4d:\t %6d %6d [%4.2f]\n", run, graph->mincut,
             graph->soed, ComputeBalanceKway__(ctrl, graph, graph->where));
  }
  void FreeRun(HGraph *graph, HGraph *pgraph) const {
    HandOverKwayPool__(graph, pgraph);
    FreeRootHGraph__(graph);
    FreeRootKeepingPool(pgraph);
  }
  void StartFinalVCycles(HGraph *graph, HGraph *pgraph) const { HandOverKwayPool__(pgraph, graph); }
  void OpenVCycleTrace(const PartCtrl *ctrl, const HGraph *graph) const {
    Printf__(ctrl, "          [%d ", graph->kwayobj);
  }
  void RefineCoarsened(const PartCtrl *ctrl, HGraph *graph, HGraph *coarsest) const {
    HandOverKwayPool__(graph, coarsest);
    RefineKway__(ctrl, graph, coarsest);
  }
};

}  // namespace

int VCycleRefinementKway__(const PartCtrl *ctrl, HGraph *graph, int nvcycles) {
  return VCycleLoop__(ctrl, graph, nvcycles, DirectKway());
}

int MultilevelKwayPartition__(const PartCtrl *ctrl, HGraph *graph, int *part) {
  const bool summary = ctrl->run->now.dbglvl & (DBG_BISECT | DBG_TRACE);
  if (summary)
    Printf__(ctrl, "\n  Partitioning a hgraph of size [vertices=%d, hedges=%d, balance=%4.2f]\n",
             graph->nvtxs, graph->nhedges, ctrl->run->now.UBfactor);

  const BestOfRunsResult result = BestOfRuns__(ctrl, graph, part, DirectKway());
  const int best = result.best;

  if (summary)
    Printf__(ctrl, "    The %s for this partitioning = %d, (average = %3.1f) (balance = %4.2f)\n",
             CutObjective(ctrl) ? "mincut" : "minsoed", best,
             static_cast<double>(result.total) / ctrl->Nruns,
             ComputeBalanceKway__(ctrl, graph, part));
  return best;
}

}  // namespace hypra
