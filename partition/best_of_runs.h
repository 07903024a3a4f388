// The best-of-runs loop shared by multilevel bisection and direct k-way partitioning: each run
// coarsens the pruned hypergraph, partitions its coarsest level and refines on the way back; the
// partition is taken over onto the full hypergraph, may earn V-cycles, and the best is kept,
// with the best few offered to final V-cycles when Vcycle is 1.
//
// The two drivers differ only in the steps a Method supplies (its objective, its refiners and
// the words of its traces), so the order of draws and lines is the same code for both.
#pragma once

#include <cstdio>
#include <mutex>

#include "coarsen/coarsen.h"
#include "core/core.h"
#include "parallel/parallel.h"
#include "partition/partition.h"

namespace hypra {

// What the loop reports back besides the best partition.
struct BestOfRunsResult {
  int best;         // the objective of the partition left in `part`
  long long total;  // the sum of the runs' objectives, for the average
};

// Method supplies:
//   int Impossible(const HGraph *graph): an objective no partition reaches;
//   int KeptSlots(const PartCtrl *ctrl): partitions kept for the final V-cycles (Vcycle 1);
//   void PartitionPruned(const PartCtrl *ctrl, HGraph *pgraph): one run's coarsen, initial
//   partition
//     and refinement of the pruned hypergraph;
//   void TraceRun(const PartCtrl *ctrl, int run, const HGraph *pgraph): the first words of the
//   run's trace line; void Adopt(const PartCtrl *ctrl, HGraph *graph, HGraph *pgraph): the pruned
//   partition taken over
//     onto the full hypergraph (and refined there when hyperedges were pruned);
//   float Balance(const PartCtrl *ctrl, HGraph *graph, const int *where);
//   int Objective(const HGraph *graph), void SetObjective(HGraph *graph, int obj);
//   void VCycles(const PartCtrl *ctrl, HGraph *graph): releases the run's level work, then
//   V-cycles; void ReleaseWork(HGraph *graph): after a final V-cycle; void PrintRun(const PartCtrl
//   *ctrl, int run, HGraph *graph, int obj): the one-line run summary; void FreeRun(HGraph *graph,
//   HGraph *pgraph): what a run leaves on the two root hypergraphs; void StartFinalVCycles(HGraph
//   *graph, HGraph *pgraph): before the final V-cycles.
// and for the V-cycles (VCycleLoop__):
//   void OpenVCycleTrace(const PartCtrl *ctrl, const HGraph *graph): the start of the V-cycle
//   trace; void RefineCoarsened(const PartCtrl *ctrl, HGraph *graph, HGraph *coarsest): the way
//   back up from
//     a restricted coarsening.
// CType 1 alternates its two schemes from run to run; any other CType stays as it is.
inline int RunCType__(int ctype, int run) {
  return ctype == 1 ? (run % 2 == 0 ? 1 : 2) : ctype;
}

template <typename Method>
BestOfRunsResult SerialRuns__(const PartCtrl *ctrl, HGraph *graph, HGraph *pgraph, int *part,
                              const Method &method);
template <typename Method>
BestOfRunsResult ParallelRuns__(const PartCtrl *ctrl, HGraph *graph, HGraph *pgraph, int *part,
                                const Method &method);

template <typename Method>
BestOfRunsResult BestOfRuns__(const PartCtrl *ctrl, HGraph *graph, int *part,
                              const Method &method) {
  CreateIncidentHGraph__(graph);
  HGraph *pgraph = PruneHGraph__(ctrl, graph);
  return ctrl->Parallel ? ParallelRuns__(ctrl, graph, pgraph, part, method)
                        : SerialRuns__(ctrl, graph, pgraph, part, method);
}

// The runs one after the other, all drawing from the run record's generator, seeded once.
template <typename Method>
BestOfRunsResult SerialRuns__(const PartCtrl *ctrl, HGraph *graph, HGraph *pgraph, int *part,
                              const Method &method) {
  const int nvtxs = graph->nvtxs;
  const bool trace = ctrl->run->now.dbglvl & DBG_TRACE;
  const int impossible = method.Impossible(graph);
  int best = impossible, bestpruned = impossible;
  long long total = 0;
  ctrl->run->now.MaxCellWgt = ComputeMaxCellWgt__(ctrl, nvtxs, graph->cellwgt);

  KeepSlots keep;
  if (ctrl->Vcycle == 1) InitKeepSlots__(&keep, method.KeptSlots(ctrl), nvtxs, impossible);

  const int oldCType = ctrl->run->now.CType;
  InitRandom__(&ctrl->run->rng, ctrl->Seed);

  for (int run = 0; run < ctrl->Nruns; run++) {
    ctrl->run->now.CType = RunCType__(oldCType, run);

    method.PartitionPruned(ctrl, pgraph);
    const int prunedobj = method.Objective(pgraph);
    if (trace) {
      method.TraceRun(ctrl, run, pgraph);
      Flush__(ctrl);
    }
    const bool improved = prunedobj < bestpruned;
    if (improved) bestpruned = prunedobj;

    method.Adopt(ctrl, graph, pgraph);
    if (trace) {
      Printf__(ctrl, " [%4.2f]\n", method.Balance(ctrl, graph, graph->where));
      Flush__(ctrl);
    }

    int obj = method.Objective(graph);
    if (WantsVCycles__(ctrl, obj, best, improved)) {
      method.VCycles(ctrl, graph);
      obj = method.Objective(graph);
    }
    if (ctrl->run->now.dbglvl & DBG_RUNS) method.PrintRun(ctrl, run, graph, obj);

    total += obj;
    if (obj < best) {
      icopy__(nvtxs, graph->where, part);
      best = obj;
    }
    if (ctrl->Vcycle == 1) OfferToSlots__(&keep, graph->where, nvtxs, obj);
    method.FreeRun(graph, pgraph);
    ReportRunDone__(ctrl);
  }
  ctrl->run->now.CType = oldCType;

  if (ctrl->Vcycle == 1) {
    graph->where = imalloc__(nvtxs, "BestOfRuns: where");
    method.StartFinalVCycles(graph, pgraph);
    for (int i = 0; i < keep.count; i++) {
      icopy__(nvtxs, keep.parts[i], graph->where);
      method.SetObjective(graph, keep.objs[i]);
      method.VCycles(ctrl, graph);
      if (method.Objective(graph) < best) {
        icopy__(nvtxs, graph->where, part);
        best = method.Objective(graph);
      }
      RVfree__(&keep.parts[i]);
      method.ReleaseWork(graph);
    }
    FreeRootHGraph__(graph);
  }
  FreePrunedHGraph__(graph, pgraph);
  return BestOfRunsResult{best, total};
}

// What one run of the parallel mode hands over from its concurrent part to the serial part.
struct ParallelRun {
  RunState run;      // its own stream, continued by its V-cycles
  OutputBuffer out;  // its lines so far
  int *where;        // the partition of the full hypergraph
  int prunedobj;     // the objective it reached on the pruned hypergraph
  int mincut, soed, kwayobj;
  int obj;  // its objective on the full hypergraph
};

// One final V-cycle of a kept partition, on a copy of the hypergraph and a stream of its own.
struct FinalVCycle {
  RunState run;
  OutputBuffer out;
  int *where;
  int obj;
};

inline void FreeFinalVCycle__(FinalVCycle *v) {
  RVfree__(&v->where);
  FreeOutput__(&v->out);
  FreeRunState__(&v->run);
}

// The final V-cycle of kept slot `slot` (partition `where`, objective `obj`, which it takes
// over): the same work and stream wherever and whenever it runs.
template <typename Method>
void RunFinalVCycle__(const PartCtrl *ctrl, HGraph *graph, int slot, int *where, int obj,
                      const Method &method, FinalVCycle *result,
                      const std::atomic<bool> *stop = nullptr) {
  InitTaskRunState__(&result->run, ctrl->run);
  result->run.stop = stop;
  SeedStream__(&result->run.rng, ctrl->Seed, ctrl->run->now.Place,
               static_cast<int64_t>(ctrl->Nruns) + slot);
  result->out = OutputBuffer{nullptr, 0, 0};
  result->run.out = &result->out;
  PartCtrl c = *ctrl;
  c.run = &result->run;
  HGraph *g = CopyRunGraph__(graph);
  g->where = where;
  method.SetObjective(g, obj);
  method.VCycles(&c, g);
  result->obj = method.Objective(g);
  result->where = g->where;
  g->where = nullptr;
  FreeHGraph__(g);
}

// The parallel mode: every run coarsens, partitions and refines a copy of the pruned hypergraph
// on its own stream, side by side with the others; then, in run order, each run's lines appear,
// its V-cycles (which depend on the best run before it) run, and the best is kept. The result is
// the same whatever the number of threads.
template <typename Method>
BestOfRunsResult ParallelRuns__(const PartCtrl *ctrl, HGraph *graph, HGraph *pgraph, int *part,
                                const Method &method) {
  const int nvtxs = graph->nvtxs, nruns = ctrl->Nruns;
  const bool trace = ctrl->run->now.dbglvl & DBG_TRACE;
  const int impossible = method.Impossible(graph);
  int best = impossible, bestpruned = impossible;
  long long total = 0;
  ctrl->run->now.MaxCellWgt = ComputeMaxCellWgt__(ctrl, nvtxs, graph->cellwgt);

  KeepSlots keep;
  if (ctrl->Vcycle == 1) InitKeepSlots__(&keep, method.KeptSlots(ctrl), nvtxs, impossible);

  const int oldCType = ctrl->run->now.CType;
  auto *runs = static_cast<ParallelRun *>(
      RVmalloc__(static_cast<long long>(sizeof(ParallelRun)) * nruns, "ParallelRuns: runs"));
  // With one kept partition its final V-cycle may start while the last runs still go on, on the
  // best run finished by then (the lowest objective, the earliest run on a tie, as the slots
  // choose); a run that finishes better stops it, and it starts again on that one. It is kept
  // only if its run is the best of all; otherwise the V-cycle is done again on the best. Either
  // way the result is the one a V-cycle after all runs gives.
  const bool start_early = ctrl->Vcycle == 1 && keep.count == 1;
  std::mutex finished_lock;
  std::atomic<bool> stale{false};
  int *finished = ismalloc__(nruns, 0, "ParallelRuns: finished");
  int earlyrun = -1;
  FinalVCycle early{};
  auto better = [&](int a, int b) {
    return runs[a].obj < runs[b].obj || (runs[a].obj == runs[b].obj && a < b);
  };
  auto run_task = [&](int r) {
    ParallelRun &pr = runs[r];
    InitTaskRunState__(&pr.run, ctrl->run);
    SeedStream__(&pr.run.rng, ctrl->Seed, ctrl->run->now.Place, r);
    pr.out = OutputBuffer{nullptr, 0, 0};
    pr.run.out = &pr.out;
    PartCtrl c = *ctrl;
    c.run = &pr.run;
    pr.run.now.CType = RunCType__(oldCType, r);

    HGraph *pg = CopyRunGraph__(pgraph);
    HGraph *g = CreateRunView__(graph);
    method.PartitionPruned(&c, pg);
    pr.prunedobj = method.Objective(pg);
    if (trace) method.TraceRun(&c, r, pg);
    method.Adopt(&c, g, pg);
    if (trace) Printf__(&c, " [%4.2f]\n", method.Balance(&c, g, g->where));
    pr.where = g->where;
    g->where = nullptr;
    pr.mincut = g->mincut;
    pr.soed = g->soed;
    pr.kwayobj = g->kwayobj;
    pr.obj = method.Objective(g);
    FreeRunView__(g);
    FreeHGraph__(pg);
    ReportRunDone__(ctrl);
    std::lock_guard<std::mutex> guard(finished_lock);
    finished[r] = 1;
    if (earlyrun >= 0 && better(r, earlyrun)) stale.store(true, std::memory_order_relaxed);
  };
  auto early_vcycle = [&]() {
    if (!start_early) return;
    for (;;) {
      int chosen = -1;
      {
        std::lock_guard<std::mutex> guard(finished_lock);
        for (int r = 0; r < nruns; r++)
          if (finished[r] && (chosen < 0 || better(r, chosen))) chosen = r;
        earlyrun = chosen;
        stale.store(false, std::memory_order_relaxed);
      }
      if (chosen < 0) return;
      int *where =
          icopy__(nvtxs, runs[chosen].where, imalloc__(nvtxs, "ParallelRuns: early V-cycle"));
      RunFinalVCycle__(ctrl, graph, 0, where, runs[chosen].obj, method, &early, &stale);
      if (!stale.load(std::memory_order_relaxed)) return;
      FreeFinalVCycle__(&early);
    }
  };
  ForEachTaskWithFollowUp__(ctrl->Sched, nruns, 1, run_task, early_vcycle);
  RVfree__(&finished);

  int keptrun = -1;
  for (int r = 0; r < nruns; r++) {
    ParallelRun &pr = runs[r];
    EmitOutput__(ctrl, &pr.out);
    pr.run.out = ctrl->run->out;
    PartCtrl c = *ctrl;
    c.run = &pr.run;
    // The V-cycles go by the values this run started from, not by what its task left.
    pr.run.now = ctrl->run->now;
    pr.run.now.CType = RunCType__(oldCType, r);

    const bool improved = pr.prunedobj < bestpruned;
    if (improved) bestpruned = pr.prunedobj;
    RVfree__(&graph->where);
    graph->where = pr.where;
    pr.where = nullptr;
    graph->mincut = pr.mincut;
    graph->soed = pr.soed;
    graph->kwayobj = pr.kwayobj;

    int obj = method.Objective(graph);
    if (WantsVCycles__(&c, obj, best, improved)) {
      method.VCycles(&c, graph);
      obj = method.Objective(graph);
    }
    if (c.run->now.dbglvl & DBG_RUNS) method.PrintRun(&c, r, graph, obj);

    total += obj;
    if (obj < best) {
      icopy__(nvtxs, graph->where, part);
      best = obj;
    }
    if (ctrl->Vcycle == 1) {
      if (keep.count == 1 && obj < keep.objs[0]) keptrun = r;
      OfferToSlots__(&keep, graph->where, nvtxs, obj);
    }
    method.FreeRun(graph, pgraph);
    FreeOutput__(&pr.out);
    FreeRunState__(&pr.run);
  }
  ReleaseMemory__(runs);

  if (ctrl->Vcycle == 1) {
    // The kept partitions' V-cycles side by side too, each on a copy of the hypergraph and a
    // stream of its own; the best is chosen in slot order. A V-cycle started early on the kept
    // run is that slot's V-cycle already.
    FinalVCycle slots[3];
    const bool hit = earlyrun >= 0 && earlyrun == keptrun;
    if (hit) {
      slots[0] = early;
      RVfree__(&keep.parts[0]);
    } else if (earlyrun >= 0) {
      FreeFinalVCycle__(&early);
    }
    ForEachTask__(ctrl->Sched, hit ? 0 : keep.count, [&](int i) {
      int *where = keep.parts[i];
      keep.parts[i] = nullptr;
      RunFinalVCycle__(ctrl, graph, i, where, keep.objs[i], method, &slots[i]);
    });
    for (int i = 0; i < keep.count; i++) {
      FinalVCycle &slot = slots[i];
      EmitOutput__(ctrl, &slot.out);
      if (slot.obj < best) {
        icopy__(nvtxs, slot.where, part);
        best = slot.obj;
      }
      FreeFinalVCycle__(&slot);
    }
    FreeRootHGraph__(graph);
  }
  FreePrunedHGraph__(graph, pgraph);
  return BestOfRunsResult{best, total};
}

// V-cycles: restricted coarsenings of a partitioned hypergraph (at most `maxcycles`, coarsening
// alternately by CType 0 and 1 to 1000 vertices), each refined back; they stop after two cycles
// in a row without a better objective. Returns the objective reached.
template <typename Method>
int VCycleLoop__(const PartCtrl *ctrl, HGraph *graph, int maxcycles, const Method &method) {
  const int oldCoarsenTo = ctrl->run->now.CoarsenTo, oldCType = ctrl->run->now.CType;
  // Re-coarsening stops early: the partition is already good, only local structure is left.
  ctrl->run->now.CoarsenTo = 1000;

  int best = method.Objective(graph), lastgain = -1;
  if (ctrl->run->now.dbglvl & DBG_TRACE) method.OpenVCycleTrace(ctrl, graph);
  for (int i = 0; i < maxcycles; i++) {
    if (ctrl->run->stop != nullptr && ctrl->run->stop->load(std::memory_order_relaxed)) break;
    ctrl->run->now.CType = i % 2;
    HGraph *coarsest = CCoarsen__(ctrl, graph);
    method.RefineCoarsened(ctrl, graph, coarsest);
    if (ctrl->run->now.dbglvl & DBG_TRACE) {
      Printf__(ctrl, "%d ", method.Objective(graph));
      Flush__(ctrl);
    }
    method.ReleaseWork(graph);
    if (method.Objective(graph) < best) {
      best = method.Objective(graph);
      lastgain = i;
    } else if (i - lastgain > 1) {
      break;
    }
  }
  if (ctrl->run->now.dbglvl & DBG_TRACE) Printf__(ctrl, "(min = %d)]\n", method.Objective(graph));

  ctrl->run->now.CoarsenTo = oldCoarsenTo;
  ctrl->run->now.CType = oldCType;
  return method.Objective(graph);
}

}  // namespace hypra
