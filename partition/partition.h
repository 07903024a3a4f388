// Multilevel recursive partitioning: recursion over parts, multilevel bisection, fixed vertices.
#pragma once

#include <new>

#include "core/core.h"

namespace hypra {

// Checks of a caller's arrays; a problem goes through errexit__ with a message naming it.
void ValidateHypergraph__(int nvtxs, int nhedges, const int *eptr, const int *eind);
void ValidateWeights__(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                       const int *hewgts);
void ValidateParts__(int nvtxs, const int *part, int lo, int hi, const char *what);

// A library call that reports failure instead of ending the process (see FailureTrap): body
// returns a status; a fatal error inside it becomes its status, with everything the call
// allocated released. The message of a failure is kept for HYPRA_LastError (body sets its own
// with SetLastError__ when it returns a failure itself).
void SetLastError__(const char *format, ...) __attribute__((format(printf, 1, 2)));
template <typename Body>
int RunTrapped__(Body &&body) {
  FailureTrap trap;
  FailureTrap *const outer = CurrentTrap__();
  SetCurrentTrap__(&trap);
  SetLastError__("%s", "");
  int status = 0;
  bool failed = true;
  try {
    status = body();
    failed = false;
  } catch (const CallFailed &) {
    status = trap.status;
  } catch (const std::bad_alloc &) {
    status = kFailedMemory;
  }
  SetCurrentTrap__(outer);
  if (failed) {
    ReleaseTrappedMemory__(&trap);
    SetLastError__("%s", trap.message[0] != '\0' ? trap.message : "out of memory");
  }
  return status;
}

int MultilevelPartition__(const PartCtrl *ctrl, HGraph *graph, int *part);
// How many recursive bisections the quality preset makes for nparts parts before it refines those
// of lowest cut and keeps the best: 3 for 3 or 4 parts (the usual one and two whose coarsening
// keeps within communities), 2 for 5 to 8 parts, else 1; 1 with the hyperedge coarsening scheme
// (ctype 4), whose groups of whole hyperedges may span communities.
int QualityAttempts__(int nparts, int ctype);
// Reseeds the sequence that the library's entry points continue on this thread (the two-way
// refiner draws from it without reseeding).
void SeedSharedSequence__(unsigned int seed);
// Recursive bisection without the final k-way refinement, as HYPRA_PartRecursiveInternal, but
// drawing from (and advancing) the generator of the run that asks for it.
// A positive `imbalance` runs it in the bounded-imbalance mode (PartCtrl::Imbalance).
void PartRecursiveInRun__(RunState *run, int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                          const int *eind, const int *hewgts, int nparts, int ubfactor,
                          double imbalance, const int *options, int *part, int *edgecut);
int MLRB__(const PartCtrl *ctrl, HGraph *graph, int *part, int nparts, int offset);
void SplitGraphPart__(const PartCtrl *ctrl, HGraph *graph, const int *bisection, HGraph *lgraph,
                      HGraph *rgraph);

// The bounded-imbalance mode. PartWeightBound__ is the heaviest a part may be:
// (1 + imbalance) x ceil(total / nparts), rounded down. BisectionTolerance__ is the UBfactor of
// a bisection of `graph` into nleft and nparts - nleft parts (TargetFrac already set) under which
// both sides can still be split into parts within MaxPartWgt.
int PartWeightBound__(long long total, int nparts, double imbalance);
float BisectionTolerance__(const PartCtrl *ctrl, const HGraph *graph, int nparts, int nleft);

int Hypergraph_Bisection__(const PartCtrl *ctrl, HGraph *graph, int *bisection);
// The hypergraph the runs partition: graph without its hyperedges of more than MaxNetSize pins.
// It may share arrays with graph; release it with FreePrunedHGraph__ before graph.
HGraph *PruneHGraph__(const PartCtrl *ctrl, HGraph *graph);
void FreePrunedHGraph__(const HGraph *graph, HGraph *pgraph);
int ComputeMaxCellWgt__(const PartCtrl *ctrl, int nvtxs, const int *cellwgt);
int VCycleRefinement__(const PartCtrl *ctrl, HGraph *graph, int maxcycles);
int ComputeActualCut__(const HGraph *graph, const int *where);
float ComputeBalance__(const HGraph *graph, const int *where);

void CompressFixedCells__(const PartCtrl *ctrl, HGraph *graph, const int *fixpart);
void ProjectFixedCells__(const PartCtrl *ctrl, HGraph *graph, int *part, const int *cpart);

// Best-of-runs bookkeeping shared with direct k-way partitioning. Whether a run that reached
// `obj` deserves V-cycles (Vcycle 2 or 3), judged against the best objective before it.
bool WantsVCycles__(const PartCtrl *ctrl, int obj, int best, bool improved);
// The V-cycle modes a caller may choose by Vcycle, and their names ("??" for any other code).
bool IsVCycleMode__(int vcycle);
const char *VCycleModeName__(int vcycle);

// Slots that keep the best few runs for the final V-cycles: a run replaces the slot holding the
// largest objective when its own is smaller.
struct KeepSlots {
  int count = 0;
  int *parts[3] = {nullptr, nullptr, nullptr};
  int objs[3] = {0, 0, 0};
};
// Allocates count (at most 3) slots, each holding the objective `impossible`.
void InitKeepSlots__(KeepSlots *keep, int count, int nvtxs, int impossible);
void OfferToSlots__(KeepSlots *keep, const int *where, int nvtxs, int obj);

}  // namespace hypra
