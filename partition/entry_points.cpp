// Public entry points: build the control record from the arguments and the options vector,
// take the caller's hypergraph as the top level, partition or refine it, and hand the result back.
#include <cstddef>

#include "coarsen/coarsen.h"
#include "core/core.h"
#include "kway/kway.h"
#include "parallel/parallel.h"
#include "partition/hypra.h"
#include "partition/partition.h"
#include "refine2/refine2.h"

namespace hypra {

namespace {

constexpr int kRefinePasses = 10;

// The specified entry points draw from one sequence per thread that continues from call to call
// (the two-way refiner does not reseed it), as the C library's generator did, but without
// touching the host program's rand().
struct SharedSequence {
  bool seeded = false;
  RandomState rng;
};
thread_local SharedSequence tSequence;

RandomState *SharedRng() {
  if (!tSequence.seeded) {
    SeedRandom__(&tSequence.rng, 1);  // the C library's sequence before any srand()
    tSequence.seeded = true;
  }
  return &tSequence.rng;
}

// A run of a specified entry point: it continues the thread's sequence and hands it back.
struct SharedRun {
  RunState run;
  SharedRun() {
    InitRunState__(&run, 1);
    run.rng = *SharedRng();
  }
  ~SharedRun() {
    *SharedRng() = run.rng;
    FreeRunState__(&run);
  }
  SharedRun(const SharedRun &) = delete;
  SharedRun &operator=(const SharedRun &) = delete;
};

// Fills the options-driven fields, with the defaults when options[0] is 0 (or no vector is
// given). `with_split_options` is false for the two-way refiner, which ignores options 5 and 6.
void ReadOptions(PartCtrl *ctrl, const int *options, bool with_split_options) {
  ctrl->Nruns = 10;
  ctrl->CType = 1;
  ctrl->RType = 1;
  ctrl->Vcycle = 1;
  ctrl->Reconst = 0;
  ctrl->Fixed = 0;
  ctrl->Seed = -1;
  ctrl->dbglvl = 0;
  if (options == nullptr || options[0] == 0) return;
  ctrl->Nruns = options[1];
  ctrl->CType = options[2];
  ctrl->RType = options[3];
  ctrl->Vcycle = options[4];
  if (with_split_options) {
    ctrl->Reconst = options[5];
    ctrl->Fixed = options[6];
  }
  ctrl->Seed = options[7];  // sign-extended
  ctrl->dbglvl = options[8];
}

// The control record of a run: the caller's part count and balance, the options, and the fixed
// coarsening and hyperedge-size limits.
PartCtrl MakeControl(int nparts, int ubfactor, const int *options, bool with_split_options) {
  PartCtrl ctrl{};
  ctrl.Nparts = nparts;
  ctrl.UBfactor = static_cast<float>(ubfactor / 100.0);
  ReadOptions(&ctrl, options, with_split_options);
  ctrl.CoarsenTo = 100;
  ctrl.MaxNetSize = 50;
  return ctrl;
}

bool OutOfRange(int value, unsigned lo, unsigned hi) {
  const auto u = static_cast<unsigned>(value);
  return u < lo || u > hi;
}

void ValidateControl(const PartCtrl *ctrl, int nparts, int ubfactor) {
  if (nparts < 2) errexit__("Nparts should be at least 2.\n");
  if (ubfactor < 1 || ubfactor > 49) errexit__("UBfactor should be between 1 and 49.\n");
  if (ctrl->Nruns < 1) errexit__("Nruns should be at least 1.\n");
  if (!IsCoarseningScheme__(ctrl->CType)) errexit__("Ctype should be between 1 and 5.\n");
  // The direct path reads RType as its objective and accepts the same codes.
  if (!IsTwoWayRefiner__(ctrl->RType)) errexit__("Rtype should be between 1 and 3.\n");
  if (!IsVCycleMode__(ctrl->Vcycle)) errexit__("Vcycle should be between 0 and 3.\n");
  if (OutOfRange(ctrl->Reconst, 0, 1)) errexit__("Reconst should be between 0 and 1.\n");
  if (OutOfRange(ctrl->Fixed, 0, 1)) errexit__("Fixed should be between 0 and 1.\n");
}

// Starts the run's values from the settings, now final, and its total timer (timers only run
// with the timing debug bit).
void StartRun(const PartCtrl *ctrl) {
  InitRunValues__(&ctrl->run->now, ctrl);
  InitTimers__(&ctrl->run->time);
  starttimer__(ctrl, ctrl->run->time.TotalTmr);
}

// The caller's hypergraph as the run's top level. The run only reads the top level's weights
// and pin lists (every level below is built anew), so they are used in place instead of copied:
// a second copy of the input would be the largest block alive at the run's peak. Missing
// weights become unit weights of the run's own.
struct TopLevel {
  HGraph *graph = nullptr;
  bool owns_cellwgt = false;
  bool owns_netwgt = false;
};

TopLevel BorrowHypergraph(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                          const int *eind, const int *hewgts) {
  TopLevel top;
  HGraph *graph = top.graph = CreateHGraph__();
  graph->nvtxs = nvtxs;
  graph->nhedges = nhedges;
  top.owns_cellwgt = vwgts == nullptr;
  top.owns_netwgt = hewgts == nullptr;
  graph->cellwgt = vwgts ? const_cast<int *>(vwgts) : ismalloc__(nvtxs, 1, "HYPRA: graph->cellwgt");
  graph->netwgt =
      hewgts ? const_cast<int *>(hewgts) : ismalloc__(nhedges, 1, "HYPRA: graph->netwgt");
  graph->netptr = const_cast<int *>(eptr);
  graph->netind = const_cast<int *>(eind);
  return top;
}

// Stops the total timer, prints the timers when asked and releases what the run allocated,
// leaving the caller's arrays to the caller.
void FinishRun(const PartCtrl *ctrl, const TopLevel &top) {
  stoptimer__(ctrl, ctrl->run->time.TotalTmr);
  if (ctrl->run->now.dbglvl & DBG_TIME) PrintTimers__(&ctrl->run->time, 0);
  HGraph *graph = top.graph;
  if (!top.owns_cellwgt) graph->cellwgt = nullptr;
  if (!top.owns_netwgt) graph->netwgt = nullptr;
  graph->netptr = graph->netind = nullptr;
  FreeHGraph__(graph);
}

// What the parameters-record entry point adds to the options vector: a seed wider than an int,
// the parallel mode and the bounded-imbalance mode.
struct RunSetup {
  bool has_seed = false;
  int64_t seed = 0;
  int threads = 0;         // 0: the serial path; N >= 1: the parallel mode on N threads
  double imbalance = 0.0;  // 0: ubfactor rules the balance; else the bound on every part
  bool quality = false;    // the quality preset: k-way FM after the greedy k-way passes
  ProgressHook *progress = nullptr;
};

long long TotalWeight(int nvtxs, const int *vwgts) {
  long long total = 0;
  for (int v = 0; v < nvtxs; v++) total += vwgts != nullptr ? vwgts[v] : 1;
  return total;
}

// Releases the pool at the end of a call, also when a failure unwinds it (every task is over by
// then: a failing group waits for all of its tasks before it passes the failure on).
struct SchedulerOwner {
  Scheduler *sched;
  ~SchedulerOwner() { FreeScheduler__(sched); }
};

// Puts the setup into the control record; returns the scheduler to release (null when serial).
Scheduler *ApplySetup(PartCtrl *ctrl, const RunSetup &setup, int nvtxs, const int *vwgts) {
  if (setup.imbalance > 0) {
    ctrl->Imbalance = setup.imbalance;
    ctrl->MaxPartWgt = PartWeightBound__(TotalWeight(nvtxs, vwgts), ctrl->Nparts, setup.imbalance);
  }
  if (setup.has_seed) ctrl->Seed = setup.seed;
  ctrl->Quality = setup.quality ? 1 : 0;
  ctrl->Progress = setup.progress;
  if (setup.threads < 1) return nullptr;
  // One seed for the whole call: every stream derives from it, whatever runs when.
  if (ctrl->Seed < 0) ctrl->Seed = ClockSeed__();
  ctrl->Parallel = 1;
  // What draws outside the bisections' runs (the k-way polish after the recursion) has its own
  // stream too.
  SeedStream__(&ctrl->run->rng, ctrl->Seed, -1, 0);
  ctrl->Sched = CreateScheduler__(setup.threads);
  return ctrl->Sched;
}

void PartRecursive(RunState *run, int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                   const int *eind, const int *hewgts, int nparts, int ubfactor, const int *options,
                   int *part, int *edgecut, bool kway_refine, const RunSetup &setup = RunSetup()) {
  PartCtrl ctrl = MakeControl(nparts, ubfactor, options, true);
  ctrl.run = run;
  // With a bound to keep, the polish after the recursion runs for any number of parts: its
  // records grow with the parts each vertex touches, not with the number of parts.
  ctrl.KwayRefine = kway_refine && (nparts <= 64 || setup.imbalance > 0 || setup.quality) ? 1 : 0;
  ValidateControl(&ctrl, nparts, ubfactor);
  ValidateHypergraph__(nvtxs, nhedges, eptr, eind);
  ValidateWeights__(nvtxs, nhedges, vwgts, eptr, hewgts);
  if (ctrl.Fixed) ValidateParts__(nvtxs, part, -1, nparts - 1, "the fixed part");
  if (nvtxs > 0 && part == nullptr) errexit__("HYPRA: the part array is missing.");
  const SchedulerOwner sched{ApplySetup(&ctrl, setup, nvtxs, vwgts)};
  // Measured on the ISPD98 circuits, rating by shared weight per group weight lowers the cut of
  // a single bisection (about 1 % at k = 2 with six runs) but not that of a longer recursion.
  ctrl.WeightedRating = ctrl.Quality && nparts == 2 ? 1 : 0;

  StartRun(&ctrl);
  const TopLevel top = BorrowHypergraph(nvtxs, nhedges, vwgts, eptr, eind, hewgts);
  HGraph *graph = top.graph;

  starttimer__(&ctrl, ctrl.run->time.MultilevelTmr);
  const int cut = MultilevelPartition__(&ctrl, graph, part);
  if (edgecut) *edgecut = cut;
  stoptimer__(&ctrl, ctrl.run->time.MultilevelTmr);
  FinishRun(&ctrl, top);
}

// The bounded-imbalance mode after the best trial: every level was held to the bound, but
// islands are placed by weight alone, so a part may still be above it. Returns the objective of
// the final partition.
int KeepBoundAfterTrials(const PartCtrl *ctrl, HGraph *graph, int *part) {
  const bool soed = ctrl->run->now.RType == 2;
  EnforcePartBound__(ctrl, graph, part, soed);
  return soed ? ComputeActualSOED__(graph, part) : ComputeActualCut__(graph, part);
}

void PartKway(RunState *run, int nvtxs, int nhedges, const int *vwgts, const int *eptr,
              const int *eind, const int *hewgts, int nparts, int ubfactor, const int *options,
              int *part, int *objective, const RunSetup &setup = RunSetup()) {
  PartCtrl ctrl = MakeControl(nparts, ubfactor, options, true);
  ctrl.run = run;
  ctrl.KwayRefine = nparts <= 64 ? 1 : 0;
  ValidateControl(&ctrl, nparts, ubfactor);
  // The direct path keeps no vertex in place; honouring a pre-assignment needs recursive
  // bisection, which contracts the fixed vertices first.
  if (ctrl.Fixed)
    errexit__(
        "HYPRA_PartKway: fixed vertices (options[6] = 1) are not supported by direct "
        "k-way partitioning; use HYPRA_PartRecursive.\n");
  ValidateHypergraph__(nvtxs, nhedges, eptr, eind);
  ValidateWeights__(nvtxs, nhedges, vwgts, eptr, hewgts);
  if (nvtxs > 0 && part == nullptr) errexit__("HYPRA: the part array is missing.");
  const SchedulerOwner sched{ApplySetup(&ctrl, setup, nvtxs, vwgts)};

  StartRun(&ctrl);
  const TopLevel top = BorrowHypergraph(nvtxs, nhedges, vwgts, eptr, eind, hewgts);
  HGraph *graph = top.graph;
  graph->nfixed = 0;
  // The k-way refiners bound every part by a multiple of the average part weight (with a bound
  // to keep, by the bound, and the factor only keeps parts from growing too light).
  ctrl.run->now.UBfactor =
      static_cast<float>(ctrl.Imbalance > 0 ? 1 + ctrl.Imbalance : 1 + ubfactor / 100.0);

  starttimer__(&ctrl, ctrl.run->time.MultilevelTmr);
  int best = MultilevelKwayPartition__(&ctrl, graph, part);
  if (ctrl.Imbalance > 0) best = KeepBoundAfterTrials(&ctrl, graph, part);
  if (objective) *objective = best;
  stoptimer__(&ctrl, ctrl.run->time.MultilevelTmr);
  FinishRun(&ctrl, top);
}

// The size of the parameters record before `imbalance` joined it: a caller built against that
// layout passes it, and gets the mode off.
constexpr size_t kParamsSizeBeforeImbalance = offsetof(HYPRA_Params, imbalance);

// Likewise before the progress report joined it.
constexpr size_t kParamsSizeBeforeProgress = offsetof(HYPRA_Params, progress);

// Likewise before the preset joined it: such a caller gets the default preset.
constexpr size_t kParamsSizeBeforePreset = offsetof(HYPRA_Params, preset);

bool KnownParamsSize(int size) {
  return size == static_cast<int>(sizeof(HYPRA_Params)) ||
         size == static_cast<int>(kParamsSizeBeforePreset) ||
         size == static_cast<int>(kParamsSizeBeforeProgress) ||
         size == static_cast<int>(kParamsSizeBeforeImbalance);
}

double ImbalanceOf(const HYPRA_Params *params) {
  const size_t size = static_cast<size_t>(params->size);
  return size >= kParamsSizeBeforeImbalance + sizeof(double) ? params->imbalance : 0.0;
}

bool HasProgress(const HYPRA_Params *params) {
  return static_cast<size_t>(params->size) >= kParamsSizeBeforePreset &&
         params->progress != nullptr;
}

int PresetOf(const HYPRA_Params *params) {
  return static_cast<size_t>(params->size) == sizeof(HYPRA_Params) ? params->preset
                                                                   : HYPRA_PRESET_DEFAULT;
}

// Whether no partition can keep every part within `bound`, whatever it does: a vertex heavier
// than the bound, or vertices fixed to one part that together are (fixed may be null).
bool BoundOutOfReach(int nvtxs, const int *vwgts, const int *fixed, int nparts, int bound) {
  long long *fixedwgt = static_cast<long long *>(
      RVmalloc__(static_cast<long long>(nparts) * sizeof(long long), "HYPRA: fixedwgt"));
  for (int p = 0; p < nparts; p++) fixedwgt[p] = 0;
  bool out = false;
  for (int v = 0; v < nvtxs && !out; v++) {
    const int w = vwgts != nullptr ? vwgts[v] : 1;
    if (w > bound) out = true;
    if (fixed != nullptr && fixed[v] >= 0) out = out || (fixedwgt[fixed[v]] += w) > bound;
  }
  RVfree__(&fixedwgt);
  return out;
}

// Whether a part of the partition weighs more than `bound`.
bool BoundBroken(int nvtxs, const int *vwgts, const int *part, int nparts, int bound) {
  long long *pwgts = static_cast<long long *>(
      RVmalloc__(static_cast<long long>(nparts) * sizeof(long long), "HYPRA: pwgts"));
  for (int p = 0; p < nparts; p++) pwgts[p] = 0;
  for (int v = 0; v < nvtxs; v++) pwgts[part[v]] += vwgts != nullptr ? vwgts[v] : 1;
  bool broken = false;
  for (int p = 0; p < nparts; p++) broken = broken || pwgts[p] > bound;
  RVfree__(&pwgts);
  return broken;
}

// The bounded-imbalance mode's check before any work: the arrays are validated first, since the
// check reads them (the run validates them again, as it always does).
bool BoundInfeasible(int nvtxs, int nhedges, const int *vwgts, const int *eptr, const int *eind,
                     const int *hewgts, const HYPRA_Params *params, double imbalance) {
  const int nparts = params->nparts;
  if (nparts < 2) return false;  // the run reports it
  ValidateHypergraph__(nvtxs, nhedges, eptr, eind);
  ValidateWeights__(nvtxs, nhedges, vwgts, eptr, hewgts);
  // Only recursive bisection honours fixed vertices; the direct path refuses them itself.
  const int *fixed = params->method == HYPRA_RECURSIVE ? params->fixed : nullptr;
  if (fixed != nullptr) ValidateParts__(nvtxs, fixed, -1, nparts - 1, "the fixed part");
  const int bound = PartWeightBound__(TotalWeight(nvtxs, vwgts), nparts, imbalance);
  return BoundOutOfReach(nvtxs, vwgts, fixed, nparts, bound);
}

}  // namespace

void SeedSharedSequence__(unsigned int seed) {
  SeedRandom__(SharedRng(), seed);
}

void PartRecursiveInRun__(RunState *run, int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                          const int *eind, const int *hewgts, int nparts, int ubfactor,
                          double imbalance, const int *options, int *part, int *edgecut) {
  RunSetup setup;
  setup.imbalance = imbalance;
  // The inner run goes by its own settings; the caller's values and timers are its own again
  // afterwards.
  const RunValues now = run->now;
  const RunTimers time = run->time;
  PartRecursive(run, nvtxs, nhedges, vwgts, eptr, eind, hewgts, nparts, ubfactor, options, part,
                edgecut, false, setup);
  run->now = now;
  run->time = time;
}

}  // namespace hypra

using namespace hypra;

extern "C" void HYPRA_PartRecursive(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                                    const int *eind, const int *hewgts, int nparts, int ubfactor,
                                    const int *options, int *part, int *edgecut) {
  SharedRun shared;
  PartRecursive(&shared.run, nvtxs, nhedges, vwgts, eptr, eind, hewgts, nparts, ubfactor, options,
                part, edgecut, true);
}

extern "C" void HYPRA_PartRecursiveInternal(int nvtxs, int nhedges, const int *vwgts,
                                            const int *eptr, const int *eind, const int *hewgts,
                                            int nparts, int ubfactor, const int *options, int *part,
                                            int *edgecut) {
  SharedRun shared;
  PartRecursive(&shared.run, nvtxs, nhedges, vwgts, eptr, eind, hewgts, nparts, ubfactor, options,
                part, edgecut, false);
}

extern "C" void HYPRA_PartKway(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                               const int *eind, const int *hewgts, int nparts, int ubfactor,
                               const int *options, int *part, int *objective) {
  SharedRun shared;
  PartKway(&shared.run, nvtxs, nhedges, vwgts, eptr, eind, hewgts, nparts, ubfactor, options, part,
           objective);
}

extern "C" void HYPRA_DefaultParams(HYPRA_Params *params) {
  if (params == nullptr) errexit__("HYPRA_DefaultParams: the parameters record is missing.");
  *params = HYPRA_Params{};
  params->size = static_cast<int>(sizeof(HYPRA_Params));
  params->method = HYPRA_RECURSIVE;
  params->nparts = 2;
  params->ubfactor = 5;
  params->runs = 10;
  params->ctype = 1;
  params->rtype = 1;
  params->vcycle = 1;
  params->reconst = 0;
  params->seed = -1;
  params->fixed = nullptr;
  params->threads = 0;
  params->dbglvl = 0;
  params->imbalance = 0.0;
  params->preset = HYPRA_PRESET_DEFAULT;
}

namespace {

int PartitionWithParams(int nvtxs, int nhedges, const int *vwgts, const int *eptr, const int *eind,
                        const int *hewgts, const HYPRA_Params *params, int *part, int *objective) {
  if (params == nullptr) errexit__("HYPRA_Partition: the parameters record is missing.");
  if (!KnownParamsSize(params->size))
    errexit__(
        "HYPRA_Partition: the parameters record has size %d, this library reads %d; fill it "
        "with HYPRA_DefaultParams.",
        params->size, static_cast<int>(sizeof(HYPRA_Params)));
  if (params->method != HYPRA_RECURSIVE && params->method != HYPRA_DIRECT)
    errexit__("HYPRA_Partition: method %d is neither HYPRA_RECURSIVE nor HYPRA_DIRECT.",
              params->method);
  if (params->threads < 0 || params->threads > 4096)
    errexit__("HYPRA_Partition: threads should be between 0 and 4096, not %d.", params->threads);
  const int preset = PresetOf(params);
  if (preset != HYPRA_PRESET_DEFAULT && preset != HYPRA_PRESET_QUALITY)
    errexit__(
        "HYPRA_Partition: preset %d is neither HYPRA_PRESET_DEFAULT nor HYPRA_PRESET_QUALITY.",
        preset);
  const double imbalance = ImbalanceOf(params);
  if (!(imbalance >= 0 && imbalance < 1))
    errexit__("HYPRA_Partition: imbalance should be 0 or between 0 and 1, not %g.", imbalance);
  if (imbalance > 0) {
    // The bound is checked on arrays known to be sound.
    ValidateHypergraph__(nvtxs, nhedges, eptr, eind);
    ValidateWeights__(nvtxs, nhedges, vwgts, eptr, hewgts);
    if (params->fixed != nullptr)
      ValidateParts__(nvtxs, params->fixed, -1, params->nparts - 1, "the fixed part");
    if (BoundInfeasible(nvtxs, nhedges, vwgts, eptr, eind, hewgts, params, imbalance)) {
      SetLastError__(
          "HYPRA_Partition: the imbalance bound %g cannot be met: a vertex, or the vertices "
          "fixed to one part, weigh more than a part may",
          imbalance);
      return HYPRA_ERROR_BALANCE;
    }
  }
  if (params->fixed != nullptr && nvtxs > 0) {
    if (part == nullptr) errexit__("HYPRA: the part array is missing.");
    if (params->fixed != part) icopy__(nvtxs, params->fixed, part);
  }
  const int options[9] = {1,
                          params->runs,
                          params->ctype,
                          params->rtype,
                          params->vcycle,
                          params->reconst,
                          params->fixed != nullptr ? 1 : 0,
                          -1,
                          params->dbglvl};
  RunSetup setup;
  setup.has_seed = true;
  setup.seed = params->seed;
  setup.threads = params->threads;
  setup.imbalance = imbalance;
  setup.quality = preset == HYPRA_PRESET_QUALITY;
  // Every bisection of the recursion (nparts - 1 of them) makes `runs` runs, once per attempt of
  // the quality preset; the direct path makes `runs` trials.
  ProgressHook progress{nullptr, nullptr, 0, {0}};
  if (HasProgress(params)) {
    progress.report = params->progress;
    progress.data = params->progress_data;
    const long long attempts = setup.quality ? QualityAttempts__(params->nparts, params->ctype) : 1;
    const long long runs = static_cast<long long>(params->runs) *
                           (params->method == HYPRA_DIRECT ? 1 : (params->nparts - 1LL) * attempts);
    progress.total = runs > INT_MAX ? INT_MAX : static_cast<int>(runs);
    setup.progress = &progress;
  }
  // The serial setting continues the thread's sequence as the options-vector entry points do;
  // the parallel mode draws only from streams of its own and leaves that sequence alone.
  SharedRun shared;
  RunState own;
  InitRunState__(&own, 1);
  RunState *run = setup.threads >= 1 ? &own : &shared.run;
  if (params->method == HYPRA_DIRECT)
    PartKway(run, nvtxs, nhedges, vwgts, eptr, eind, hewgts, params->nparts, params->ubfactor,
             options, part, objective, setup);
  else
    PartRecursive(run, nvtxs, nhedges, vwgts, eptr, eind, hewgts, params->nparts, params->ubfactor,
                  options, part, objective, true, setup);
  FreeRunState__(&own);
  const int bound =
      imbalance > 0 ? PartWeightBound__(TotalWeight(nvtxs, vwgts), params->nparts, imbalance) : 0;
  if (imbalance > 0 && BoundBroken(nvtxs, vwgts, part, params->nparts, bound)) {
    SetLastError__(
        "HYPRA_Partition: the imbalance bound %g cannot be met: no partition found keeps every "
        "part at most %d",
        imbalance, bound);
    return HYPRA_ERROR_BALANCE;
  }
  return HYPRA_OK;
}

}  // namespace

extern "C" int HYPRA_Partition(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                               const int *eind, const int *hewgts, const HYPRA_Params *params,
                               int *part, int *objective) {
  return RunTrapped__([&] {
    return PartitionWithParams(nvtxs, nhedges, vwgts, eptr, eind, hewgts, params, part, objective);
  });
}

extern "C" void HYPRA_2WayRefine(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                                 const int *eind, const int *hewgts, int ubfactor,
                                 const int *options, int *part, int *edgecut) {
  SharedRun shared;
  PartCtrl ctrl = MakeControl(2, ubfactor, options, false);
  ctrl.run = &shared.run;
  ValidateHypergraph__(nvtxs, nhedges, eptr, eind);
  ValidateWeights__(nvtxs, nhedges, vwgts, eptr, hewgts);
  ValidateParts__(nvtxs, part, 0, 1, "the side");

  StartRun(&ctrl);
  ctrl.run->now.TargetFrac = 0.5f;
  const TopLevel top = BorrowHypergraph(nvtxs, nhedges, vwgts, eptr, eind, hewgts);
  HGraph *graph = top.graph;
  graph->nfixed = 0;
  CreateIncidentHGraph__(graph);
  AllocateRefinementMemory__(graph);
  icopy__(nvtxs, part, graph->where);

  starttimer__(&ctrl, ctrl.run->time.MultilevelTmr);
  Refine_FM__(&ctrl, graph, kRefinePasses);
  stoptimer__(&ctrl, ctrl.run->time.MultilevelTmr);

  icopy__(nvtxs, graph->where, part);
  if (edgecut) *edgecut = graph->mincut;
  FinishRun(&ctrl, top);
}
