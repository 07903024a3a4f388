// Hypergraph core: the records shared by every stage and the runtime beneath them.
//
// Everything here is plain data and free procedures. Internal routines end in a double
// underscore; arrays are malloc'ed through the checked allocators so that a failed allocation
// names its purpose, and released through RVfree__, which nulls every pointer it frees.
#pragma once

#include <atomic>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace hypra {

// ---------------------------------------------------------------------------------------------
// Records
// ---------------------------------------------------------------------------------------------

// Bits of PartCtrl::dbglvl.
enum : int {
  DBG_COARSEN = 1,   // coarsening trace
  DBG_INITPART = 2,  // initial bisection trace
  DBG_REFINE = 4,    // refinement progress lines
  DBG_BISECT = 8,    // one line before and after each bisection
  DBG_RUNS = 16,     // one line per run
  DBG_TIME = 32,     // timers
  DBG_TRACE = 128,   // detailed run and V-cycle trace
  DBG_MOVES = 256,   // one line per vertex move
};

// A (key, value) pair of 32-bit integers; the sorts compare only the key.
struct KeyValue {
  int key;
  int val;
};

// One part touched by a hyperedge, in the hyperedge's k-way part list.
struct NetKwayEntry {
  int pid;    // the part
  int npins;  // pins of the hyperedge in that part
};

// Per-hyperedge k-way record.
struct NetKwayInfo {
  int nnbrs;           // distinct parts touched (span)
  NetKwayEntry *nbrs;  // nnbrs entries, inside HGraph::nrdata
};

// Gain entry of a vertex toward one other part.
struct KwayDegree {
  int pid;
  int ewgt;
  int pinbias;
  int conngain;
};

// Per-vertex k-way record.
struct CellKwayInfo {
  int nnbrs;
  int iwgt;
  int solewgt;
  int cap;           // entries nbrs has room for
  KwayDegree *nbrs;  // inside HGraph::crdata (null while cap is 0)
};

// One hypergraph: the caller's, a pruned copy, a coarsening level or a sub-hypergraph.
struct HGraph {
  int nvtxs;
  int nislands;
  int nhedges;
  int lostwgt;
  int isroot;
  int nfixed;

  int *incptr;
  int *incind;
  int *netptr;
  int *netind;
  int *islandmap;

  int *cellwgt;
  int *netwgt;
  int *adjwgt;
  float *edgewgt;

  int *label;  // not owned by the release routines
  // Only while coarsening runs: the community of each vertex, which grouping may not mix.
  int *community;

  int *cellmap;
  int *netmap;
  int *mptr;
  int *mind;

  HGraph *coarser;
  HGraph *finer;
  int level;

  int *where;
  int mincut;
  int *gain;
  int *ndeg[2];
  int pwgts[2];

  int kwayobj;
  int soed;
  NetKwayInfo *nrinfo;
  CellKwayInfo *crinfo;
  NetKwayEntry *nrdata;
  // The vertex records' entries, packed: a record takes what it holds and moves to the end of
  // the used stretch when it needs more. The pool is kept for the next level.
  KwayDegree *crdata;
  long long crdatasize;  // entries crdata has room for
  long long crdataused;  // entries given to records so far
  int crmost;            // the most entries a record can need: parts - 1
  int *kpwgts;
  int *kslot;  // part -> its entry in the vertex record being rebuilt, -1 for every other part
};

// The random generator of a run. It repeats, draw for draw, the additive-feedback generator
// behind the GNU C library's rand() (31 words, taps 3 apart), so that a seed gives the same
// partition on every platform and no run touches the process's own rand() sequence.
struct RandomState {
  int32_t table[31];
  int front;  // the word each draw updates
  int rear;   // the word added to it
};

// A list of grouping candidates around one vertex and the strength of each; grown on demand.
struct CandidateList {
  int *cand;
  float *cwgt;
  int ncand;
  int capacity;
};

// Text a run prints while it runs beside others, kept until it can appear in the order a run on
// its own would print it.
struct OutputBuffer {
  char *data;
  long long size;
  long long capacity;
};

// The values a run goes by and changes as it goes. They start as the caller's settings
// (InitRunValues__) and are overridden for a stretch of the run: a V-cycle coarsens by its own
// scheme to its own size, each bisection of the recursion has its own target and tolerance, the
// initial bisection quiets the refinement traces. The control record itself is only read.
struct RunValues {
  int CoarsenTo;
  int CType;
  int RType;
  float UBfactor;
  float TargetFrac;
  int dbglvl;
  int HeavyCells;
  int MaxCellWgt;
  int64_t Place;  // the current bisection's place in the recursion (parallel mode)
};

// Seconds spent per stage, kept only with the timing debug bit.
struct RunTimers {
  double TotalTmr, CoarsenTmr, RefTmr, InitRefTmr, IterTmr, WrapUpTmr, MultilevelTmr, InitPartTmr,
      ProjectTmr, SpareTmr, UncoarsenTmr, AuxTmr1, AuxTmr2, AuxTmr3, AuxTmr4;
};

// What a run changes besides the hypergraphs: its generator, its scratch lists, where its lines
// go, the values it goes by and its timers. One record per run, handed down through the control
// record, so that runs in one process never share state and the control record stays as the
// caller set it.
struct RunState {
  RandomState rng;
  CandidateList lists[2];  // [0] free grouping, [1] grouping restricted to one part
  OutputBuffer *out;       // null: straight to standard output
  RunValues now;
  RunTimers time;
  // Set by another thread when the work is no longer wanted (a V-cycle started early whose input
  // turned out not to be the best): V-cycles stop at the next cycle. Null: never.
  const std::atomic<bool> *stop;
};

// The worker pool of the parallel mode (parallel/parallel.h).
struct Scheduler;

// The control record handed as first argument to every internal routine.
// Tells whoever shows a run's progress that one more multilevel run (of a bisection, or a trial
// of the direct path) has finished, from whichever thread finished it.
struct ProgressHook {
  void (*report)(void *data, int done, int total);
  void *data;
  int total;
  std::atomic<int> done;
};

struct PartCtrl {
  int CoarsenTo;
  int CType;
  int RType;
  int Nruns;
  int MaxNetSize;
  float UBfactor;
  int Fixed;
  int64_t Seed;
  int dbglvl;
  int Reconst;
  int Vcycle;
  int Nparts;
  int KwayRefine;

  RunState *run;  // not owned; everything a run changes lives there

  // Parallel mode (0: the specified serial behaviour). Each run of a bisection draws from a
  // stream of its own, seeded from (Seed, the bisection's place in the recursion, the run's
  // index), so that the result does not depend on how many threads Sched has or how they
  // interleave.
  int Parallel;
  Scheduler *Sched;        // not owned; null runs everything on the calling thread
  ProgressHook *Progress;  // not owned; null when nobody is told

  // Bounded-imbalance mode (0: off, the ubfactor-driven behaviour). With 0 < Imbalance < 1 no
  // final part may weigh more than MaxPartWgt = (1 + Imbalance) x ceil(W / Nparts), W the total
  // vertex weight. Both are set once per call and only read below it: every bisection derives
  // its own tolerance from them, and the k-way refiners never let a part grow past MaxPartWgt.
  double Imbalance;
  int MaxPartWgt;

  // Quality mode (0: off). On, every level of the direct path's uncoarsening and the polish after
  // recursive bisection end with k-way FM refinement (kway/kway_fm.cpp) after the greedy passes.
  int Quality;

  // How the star grouping rates a candidate (0: by the weight of the hyperedges it shares with
  // the vertex; 1: by that weight per unit of the candidate's group weight, which keeps groups
  // even in size and gives the bisection's runs better cuts; set by the quality preset for a
  // single bisection).
  int WeightedRating;

  // Coarsening of every bisection within communities of its hypergraph (0: off; else the most
  // pins a hyperedge may have to count for them). Set by the quality preset for some of its
  // attempts.
  int CommunityPins;
};

// Starts a run's values from the control record's settings.
void InitRunValues__(RunValues *now, const PartCtrl *ctrl);

// ---------------------------------------------------------------------------------------------
// Hypergraph record
// ---------------------------------------------------------------------------------------------

HGraph *CreateHGraph__();
void InitHGraph__(HGraph *graph);
void FreeHGraph__(HGraph *graph);
// A coarse level about to be projected: everything but its partition (where) and its island map
// goes, so that its arrays are not alive beside the finer level's new records. FreeHGraph__ still
// ends it.
void ReleaseAllButPartition__(HGraph *graph);
void FreeRootHGraph__(HGraph *graph);
void CreateIncidentHGraph__(HGraph *graph);
// The vertex-to-hyperedge lists alone: incptr (nvtxs + 1 offsets) and incind (one entry per pin,
// each vertex's hyperedges in increasing order), into the caller's arrays.
void BuildIncidence__(int nvtxs, int nhedges, const int *netptr, const int *netind, int *incptr,
                      int *incind);
// A run of its own on a root hypergraph: a copy of everything a run may rewrite in place (the
// pins, the incidence, the weights), and nothing of any earlier run. Released by FreeHGraph__.
HGraph *CopyRunGraph__(const HGraph *graph);
// A view of a root hypergraph for a run that only reads its structure: the arrays are shared,
// the per-run fields start empty. Released by FreeRunView__, which frees only the run's fields.
HGraph *CreateRunView__(const HGraph *graph);
void FreeRunView__(HGraph *view);

// Limits on weights, so that every sum the engine forms fits an int: the total vertex weight
// (doubled by the coarsening limit) and the sum over hyperedges of |weight| x max(size, 1), which
// bounds every cut, the recursion's sum of cuts and the sum of external degrees.
constexpr int kMaxTotalCellWgt = INT_MAX / 2;
constexpr int kMaxWeightedPins = INT_MAX - 1;
// 0 when the weights (null arrays mean unit weights) are within those limits and no vertex weight
// is negative (hyperedge weights count by magnitude); otherwise 1 with the reason in why.
int WeightLimitProblem__(int nvtxs, int nhedges, const int *cellwgt, const int *netptr,
                         const int *netwgt, char *why, int size);

// Quality of a partition: the cut (weight of the hyperedges touching two or more parts), the sum
// of external degrees (each cut hyperedge counted once per part it touches), connectivity - 1
// (each hyperedge's weight times the parts it touches less one), and the imbalance, the heaviest
// part's weight over ceil(total / nparts), less 1.
struct PartitionMetrics {
  long long cut, soed, km1;
  long long total, maxpart;
  double imbalance;
};
// Fills m (and pwgts, nparts part weights, when not null); null weight arrays mean unit weights.
// Returns 1, leaving m unset, when a part is outside 0..nparts-1 or a size is negative.
int ComputePartitionMetrics__(int nvtxs, int nhedges, const int *cellwgt, const int *netptr,
                              const int *netind, const int *netwgt, int nparts, const int *part,
                              long long *pwgts, PartitionMetrics *m);

// ---------------------------------------------------------------------------------------------
// Runtime support
// ---------------------------------------------------------------------------------------------

// A library call that reports failure instead of ending the process. While a trap is set on a
// thread (and on the pool's threads for the tasks that call queues), errexit__ and a failed
// allocation record the status and message in it and throw CallFailed back to the call, and
// every array allocated in the meantime is tracked, so that ReleaseTrappedMemory__ can free what
// the failed run left behind. Without a trap, errors end the process as they always have.
constexpr int kFailedArguments = 1;  // the status of errexit__
constexpr int kFailedMemory = 4;     // the status of a failed allocation
struct CallFailed {};
struct FailureTrap {
  int status;         // 0, or the status of the first failure
  char message[512];  // its message, without the trailing newline
  struct Blocks;
  Blocks *blocks;  // the arrays allocated and not yet released
  FailureTrap();
  ~FailureTrap();
  FailureTrap(const FailureTrap &) = delete;
  FailureTrap &operator=(const FailureTrap &) = delete;
};
FailureTrap *CurrentTrap__();
void SetCurrentTrap__(FailureTrap *trap);
[[noreturn]] void FailTrappedCall__(FailureTrap *trap, int status, const char *format,
                                    va_list args);
[[noreturn]] void FailTrappedCallf__(FailureTrap *trap, int status, const char *format, ...)
    __attribute__((format(printf, 3, 4)));
void TrackMemory__(FailureTrap *trap, void *ptr);
// A tracked block that moved (RVrealloc__) is tracked under its new address.
// (The old address is passed as a number: the block there is gone.)
void RetrackMemory__(FailureTrap *trap, uintptr_t from, void *to);
void ReleaseTrappedMemory__(FailureTrap *trap);
// Frees an array of the checked allocators (null is harmless); RVfree__ calls it.
void ReleaseMemory__(void *ptr);

// Marks the coming exit as the end of a failed run, whose arrays are still allocated by design
// (so that a leak checker does not report them); errexit__ calls it.
void MarkFatalExit__();
// The status a fatal error ends the process with: 0 unless a program chose another at its start,
// before any run began.
void SetFatalExitStatus__(int status);
int FatalExitStatus__();
// Makes a failed `new` (a standard container growing, a thread pool starting) end the program
// through errexit__ with a message, as a failed array allocation does, instead of aborting.
void InstallOutOfMemoryHandler__();
[[noreturn]] void errexit__(const char *format, ...) __attribute__((format(printf, 1, 2)));

void *RVmalloc__(long long nbytes, const char *msg);
// Grows (or shrinks) a block of RVmalloc__ to nbytes, keeping its contents; it may move. On
// failure the block stays as it was and the call fails as RVmalloc__ does.
void *RVrealloc__(void *ptr, long long nbytes, const char *msg);
// For tests: the nth checked allocation from now on fails as if memory had run out (0 cancels).
void InjectAllocationFailure__(long long nth);
int *imalloc__(long long n, const char *msg);
int *ismalloc__(long long n, int value, const char *msg);
float *fmalloc__(long long n, const char *msg);
float *fsmalloc__(long long n, float value, const char *msg);

// Frees every non-null pointer whose address is given and nulls it, so that releasing twice
// is harmless.
template <typename... T>
void RVfree__(T **...ptrs) {
  ((ReleaseMemory__(*ptrs), *ptrs = nullptr), ...);
}

FILE *RVfopen__(const char *path, const char *mode, const char *msg);
void RVfclose__(FILE *fp);

double seconds__();

int *iset__(int n, int value, int *x);
int *icopy__(int n, const int *src, int *dst);
int iasum__(int n, const int *x);
int iamax__(int n, const int *x);
int iamin__(int n, const int *x);
double *dcopy__(int n, const double *src, double *dst);
float sasum__(int n, const float *x);
double dasum__(int n, const double *x);
double ddot__(int n, const double *x, const double *y);
void daxpy__(int n, const double *x, double *y, double alpha);
void dscal__(int n, double *x, double alpha);
void dswap__(int n, double *x, double *y);
double dnrm2__(int n, const double *x);

// Timers: a measured stretch subtracts seconds__() at its start and adds it at its end, only
// when dbglvl has the timer bit.
inline void starttimer__(const PartCtrl *ctrl, double &tmr) {
  if (ctrl->run->now.dbglvl & DBG_TIME) tmr -= seconds__();
}
inline void stoptimer__(const PartCtrl *ctrl, double &tmr) {
  if (ctrl->run->now.dbglvl & DBG_TIME) tmr += seconds__();
}
void InitTimers__(RunTimers *time);
void PrintTimers__(const RunTimers *time, int detail);

// Counts one finished multilevel run towards the progress the caller is shown, if any.
inline void ReportRunDone__(const PartCtrl *ctrl) {
  ProgressHook *hook = ctrl->Progress;
  if (hook == nullptr) return;
  const int done = hook->done.fetch_add(1, std::memory_order_relaxed) + 1;
  hook->report(hook->data, done, hook->total);
}

// Randomness. Every random choice comes from a run's RandomState; a negative seed seeds from the
// clock, which is read through ClockSeed__ so that a whole run can be made reproducible by
// pinning the clock (SetClockOverride__).
long long ClockSeed__();
void SetClockOverride__(long long value);
void ClearClockOverride__();
void SeedRandom__(RandomState *rng, unsigned int seed);
void InitRandom__(RandomState *rng, int64_t seed);
// Seeds one of many independent streams: the same (seed, place, index) always gives the same
// sequence, and neighbouring places or indices give unrelated ones.
void SeedStream__(RandomState *rng, int64_t seed, int64_t place, int64_t index);
void RandomPermute__(RandomState *rng, int *p, int n, int flag);
void RandomPermuteFine__(RandomState *rng, int *p, int n, int flag);

// The next draw, uniform over 0 .. 2^31 - 1.
inline int NextRandom__(RandomState *rng) {
  const uint32_t sum =
      static_cast<uint32_t>(rng->table[rng->front]) + static_cast<uint32_t>(rng->table[rng->rear]);
  rng->table[rng->front] = static_cast<int32_t>(sum);
  if (++rng->front == 31) {
    rng->front = 0;
    ++rng->rear;
  } else if (++rng->rear == 31) {
    rng->rear = 0;
  }
  return static_cast<int>(sum >> 1);
}

// A run's lines: into its output buffer when it has one, else to standard output (flushed by
// Flush__, so that a trace shows progress).
void Printf__(const PartCtrl *ctrl, const char *format, ...) __attribute__((format(printf, 2, 3)));
void Flush__(const PartCtrl *ctrl);
// Appends text to a buffer; hands a buffer's text on to the run's own output and empties it.
void AppendOutput__(OutputBuffer *out, const char *text, long long length);
void EmitOutput__(const PartCtrl *ctrl, OutputBuffer *out);
void FreeOutput__(OutputBuffer *out);

// A run's state: the generator seeded from `seed` as InitRandom__ does, empty candidate lists,
// output to standard output.
void InitRunState__(RunState *run, int64_t seed);
// The run record of a task that carries on part of a run on another thread: a generator and
// scratch of its own, and the values the parent run goes by at this point.
void InitTaskRunState__(RunState *run, const RunState *parent);
void FreeRunState__(RunState *run);
// Makes room for at least one more candidate.
void GrowCandidateList__(CandidateList *list);

// ---------------------------------------------------------------------------------------------
// Sorting
// ---------------------------------------------------------------------------------------------

void iintsort__(int n, int *a);
void ikeysort__(int n, KeyValue *pairs);
void ikeysort2__(int n, KeyValue *pairs);
void dkeysort__(int n, KeyValue *pairs);

}  // namespace hypra
