/*
 * hypra: multilevel hypergraph partitioning (public C interface).
 *
 * A hypergraph is passed in compressed form:
 *   nvtxs, nhedges  number of vertices and of hyperedges;
 *   vwgts           nvtxs vertex weights, or NULL for unit weights;
 *   eptr, eind      the pins of hyperedge e are eind[eptr[e]] .. eind[eptr[e+1]-1]
 *                   (0-based vertex numbers, eptr[0] = 0, eptr has nhedges+1 entries);
 *   hewgts          nhedges hyperedge weights, or NULL for unit weights.
 * The caller's arrays are never changed, apart from part and edgecut.
 *
 * The options vector has nine ints. options[0] = 0 selects the defaults for all others;
 * otherwise they are taken as given (a NULL vector also selects the defaults):
 *   options[1]  Nruns: multilevel runs per bisection, at least 1            (default 10)
 *   options[2]  CType: coarsening scheme, 1 = HFC, 2 = FC, 3 = GFC,
 *               4 = HEDGE, 5 = EDGE                                          (default 1)
 *   options[3]  RType: refinement, 1 = FM, 2 = one-way FM then FM,
 *               3 = early-exit FM                                            (default 1)
 *   options[4]  Vcycle: 0 = none, 1 = on the best run(s) at the end,
 *               2 = on every run that improves, 3 = on every run that is
 *               close to the best                                           (default 1)
 *   options[5]  Reconst: 1 keeps cut hyperedges, restricted to each side,
 *               when a hypergraph is split for the next bisection            (default 0)
 *   options[6]  Fixed: 1 when part holds pre-assigned vertices on entry      (default 0)
 *   options[7]  Seed: random seed; negative seeds from the clock             (default -1)
 *   options[8]  dbglvl: bit mask of diagnostic output on standard output:
 *               1 coarsening, 2 initial bisection, 4 refinement passes,
 *               8 one summary per bisection, 16 one line per run, 32 timers,
 *               128 detailed trace, 256 every vertex move                    (default 0)
 *
 * Errors: the entry points that take an options vector (HYPRA_PartRecursive,
 * HYPRA_PartRecursiveInternal, HYPRA_PartKway, HYPRA_2WayRefine) return no error code: invalid
 * arguments (for example nparts < 2, a UBfactor outside 1..49, an option out of range, a pin
 * outside 0..nvtxs-1, a fixed part outside -1..nparts-1) and exhausted memory print a message to
 * standard error and END THE PROCESS with exit status 0. HYPRA_Partition and every function
 * declared after it return a status instead, never end the process and print nothing unless
 * asked (see HYPRA_OK and HYPRA_LastError below): use them with untrusted input.
 *
 * Threads: every call keeps its state to itself, so calls may run on several threads at once.
 * The entry points below that take an options vector continue one random sequence per thread
 * from call to call (HYPRA_2WayRefine does not reseed it); they never touch the C library's
 * rand() sequence.
 */
#ifndef HYPRA_H
#define HYPRA_H

/* The entry points are the library's only exported symbols; everything else stays inside. */
#if defined(__GNUC__) && !defined(_WIN32)
#define HYPRA_API __attribute__((visibility("default")))
#else
#define HYPRA_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Partitions the hypergraph into nparts parts by multilevel recursive bisection; for 3 to 64
 * parts a k-way refinement then improves the whole partition.
 *   nparts    number of parts, at least 2;
 *   ubfactor  balance tolerance 1..49: each bisection's sides must each hold at least
 *             (target share - ubfactor/100) of the weight (5 allows a 45-55 bisection);
 *   options   see above;
 *   part      nvtxs ints; receives the part (0..nparts-1) of every vertex. With options[6] = 1
 *             it must hold on entry -1 for a free vertex or the part a vertex is fixed to;
 *   edgecut   receives the weight of the cut hyperedges.
 */
HYPRA_API void HYPRA_PartRecursive(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                                   const int *eind, const int *hewgts, int nparts, int ubfactor,
                                   const int *options, int *part, int *edgecut);

/* As HYPRA_PartRecursive, but never runs the final k-way refinement. */
HYPRA_API void HYPRA_PartRecursiveInternal(int nvtxs, int nhedges, const int *vwgts,
                                           const int *eptr, const int *eind, const int *hewgts,
                                           int nparts, int ubfactor, const int *options, int *part,
                                           int *edgecut);

/*
 * Partitions the hypergraph into nparts parts directly: each of options[1] trials coarsens the
 * whole hypergraph, splits the coarsest level into nparts parts at once and refines the
 * partition k-way level by level on the way back; the best trial is kept.
 *   nparts     number of parts, at least 2;
 *   ubfactor   balance tolerance 1..49: no part may weigh more than (1 + ubfactor/100) times
 *              the average part weight, nor less than the average divided by that factor;
 *   options    see above, read as for HYPRA_PartRecursive, except that options[3] chooses the
 *              objective: 1 minimizes the cut, 2 the sum of external degrees (SOED); 3 passes
 *              the validation but has no k-way refiner (the run ends with "Unknown refinement
 *              type" as soon as a coarsened level is refined); options[5] is not used. Fixed
 * vertices are not supported: options[6] = 1 ends the process with a message (use
 * HYPRA_PartRecursive for pre-assigned vertices); part       nvtxs ints; receives the part
 * (0..nparts-1) of every vertex; objective  receives the best objective found: the cut weight with
 * options[3] = 1, else the SOED.
 */
HYPRA_API void HYPRA_PartKway(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                              const int *eind, const int *hewgts, int nparts, int ubfactor,
                              const int *options, int *part, int *objective);

/*
 * Improves a bisection the caller already has by 10 passes of FM refinement, whatever the
 * options say about refinement (options[5] and options[6] are not read; the seed is not reset,
 * so the random sequence continues).
 *   ubfactor  balance tolerance (each side keeps at least (0.5 - ubfactor/100) of the weight);
 *   part      nvtxs ints, 0 or 1 each: the bisection on entry, the refined bisection on return;
 *   edgecut   receives its cut.
 */
HYPRA_API void HYPRA_2WayRefine(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                                const int *eind, const int *hewgts, int ubfactor,
                                const int *options, int *part, int *edgecut);

/* Methods of HYPRA_Partition. */
#define HYPRA_RECURSIVE 0 /* recursive bisection, then k-way refinement for 3 to 64 parts */
#define HYPRA_DIRECT 1    /* direct k-way partitioning */

/*
 * The settings of HYPRA_Partition. Fill one with HYPRA_DefaultParams, then change what you
 * need: fields may be added at the end in later versions, and `size` tells the library how much
 * of the record the caller knows.
 */
typedef struct HYPRA_Params {
  int size;         /* sizeof(HYPRA_Params), set by HYPRA_DefaultParams */
  int method;       /* HYPRA_RECURSIVE or HYPRA_DIRECT                             (recursive) */
  int nparts;       /* parts, at least 2                                                   (2) */
  int ubfactor;     /* balance tolerance 1..49, read as by the options-vector entry points (5) */
  int runs;         /* runs per bisection (recursive) or trials (direct), at least 1      (10) */
  int ctype;        /* coarsening scheme 1..5, as options[2]                               (1) */
  int rtype;        /* refinement 1..3 (recursive) or objective 1 cut, 2 SOED (direct)     (1) */
  int vcycle;       /* V-cycle mode 0..3, as options[4]                                    (1) */
  int reconst;      /* 1 keeps cut hyperedges when splitting (recursive)                   (0) */
  long long seed;   /* random seed; negative: from the clock                            (-1) */
  const int *fixed; /* NULL, or nvtxs entries: -1 for a free vertex, else its part (NULL) */
  int threads;      /* 0: exactly the options-vector entry points' run; N >= 1: the parallel
                       mode on N threads, whose result is the same for every N              (0) */
  int dbglvl;       /* diagnostic output, as options[8]                                    (0) */
  double imbalance; /* 0: use ubfactor as today; 0 < EPS < 1: every part at most
                       (1+EPS) x ceil(W/k), W the total vertex weight, k = nparts          (0) */
  /* Called after each multilevel run finishes (every bisection makes `runs` of them, the direct
     path `runs` trials), with the runs done so far and their total; from whichever thread ran
     it, so it must be thread-safe. NULL: no reports.                                   (NULL) */
  void (*progress)(void *data, int done, int total);
  void *progress_data; /* handed to progress                                          (NULL) */
  /* HYPRA_PRESET_DEFAULT, or HYPRA_PRESET_QUALITY: better cuts for more time (see below). A
     record whose size predates this field gets the default.                      (default) */
  int preset;
} HYPRA_Params;

/* Presets of HYPRA_Params. The quality preset keeps the chosen method and adds k-way FM
   refinement (moves of any gain, best first, each pass rolled back to its best prefix, never past
   the part bound, fixed vertices kept): HYPRA_DIRECT runs it on every level of the uncoarsening
   (cut objective with rtype 1, SOED with rtype 2); HYPRA_RECURSIVE runs it in the k-way
   refinement after the recursion, for any number of parts, and for two parts also rates the
   coarsening's grouping candidates by shared weight per unit of weight; HYPRA_RECURSIVE also runs
   flow-based refinement on the levels of every bisection's V-cycles and between adjacent parts at
   the end; for 3 to 8 parts it also runs the recursion with every bisection's coarsening kept
   within communities of its hypergraph, found by modularity (twice up to 4 parts), refines the
   recursions within 1 % of the lowest cut and keeps the best; with dbglvl bit 8 each attempt's
   cuts are printed. These draw nothing at random. With a seed (>= 0) the quality preset repeats
   its partition on every call, also with HYPRA_DIRECT on one thread, whose inner bisections it
   seeds from that seed rather than from the clock; it is the same for every number of threads. */
#define HYPRA_PRESET_DEFAULT 0
#define HYPRA_PRESET_QUALITY 1

HYPRA_API void HYPRA_DefaultParams(HYPRA_Params *params);

/*
 * Statuses of HYPRA_Partition and of every function below it. A failed call prints nothing,
 * releases everything it allocated, leaves the process as it was, and makes a message
 * available through HYPRA_LastError; the next call works as usual.
 */
#define HYPRA_OK 0            /* done */
#define HYPRA_ERROR_ARGS 1    /* an argument is invalid (a count, a pin, a weight, a setting) */
#define HYPRA_ERROR_BALANCE 2 /* imbalance > 0 and no partition found keeps parts within it */
#define HYPRA_ERROR_INPUT 3   /* a file cannot be read or is not valid in its format */
#define HYPRA_ERROR_MEMORY 4  /* memory ran out */

/* The message of this thread's last failed call ("" when its last call succeeded); valid until
   the thread's next call of a function that returns a status. */
HYPRA_API const char *HYPRA_LastError(void);

/* The library's version, at compile time and at run time ("1.0.0"). */
#define HYPRA_VERSION_MAJOR 1
#define HYPRA_VERSION_MINOR 0
#define HYPRA_VERSION_PATCH 0
#define HYPRA_VERSION_STRING "1.0.0"
HYPRA_API const char *HYPRA_Version(void);

/*
 * Partitions the hypergraph as `params` asks. part receives the part of every vertex and
 * objective, when not NULL, the cut (or with HYPRA_DIRECT and rtype 2 the SOED). Returns HYPRA_OK,
 * or a failure status (see above): invalid arguments and hypergraphs (HYPRA_ERROR_ARGS), a
 * bound that cannot be met (HYPRA_ERROR_BALANCE), exhausted memory (HYPRA_ERROR_MEMORY). It never
 * ends the process, and prints only the diagnostics dbglvl asks for.
 *
 * With imbalance = EPS (0 < EPS < 1) no part may weigh more than L = (1+EPS) x ceil(W/nparts),
 * rounded down; ubfactor is then not used for the balance (it is still validated). The bisection
 * tolerances follow from L, the k-way refinement runs for any number of parts (recursive method),
 * and parts left above L are rebalanced by moving the vertices that cost the objective least.
 * The call returns HYPRA_ERROR_BALANCE, without ending the process:
 *   - before partitioning, leaving part and objective as they were, when a vertex weighs more than
 *     L or (HYPRA_RECURSIVE) the vertices fixed to one part weigh more than L together;
 *   - after partitioning, when a part is still above L; part then holds the partition found.
 * A record whose size predates the imbalance field is read with imbalance = 0.
 *
 * The parallel mode (threads >= 1) runs the runs of every bisection, and the two halves of every
 * split, side by side. Each run draws from a random stream of its own, derived from the seed,
 * the bisection's place in the recursion and the run's index, so that for a given seed the
 * partition and every printed line (times aside) are the same for every number of threads; they
 * differ from those of threads = 0, which draws every run from one sequence. Fixed vertices are
 * honoured by HYPRA_RECURSIVE only.
 */
HYPRA_API int HYPRA_Partition(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                              const int *eind, const int *hewgts, const HYPRA_Params *params,
                              int *part, int *objective);

/* Hypergraph file formats for HYPRA_ReadHypergraph. */
#define HYPRA_FORMAT_AUTO (-1)    /* by the file's extension: .mtx, .patoh, else hgr */
#define HYPRA_FORMAT_HGR 0        /* "nhedges nvtxs [fmt]", then one line of pins per hyperedge */
#define HYPRA_FORMAT_MTX_COLNET 1 /* Matrix Market: rows are vertices, columns hyperedges */
#define HYPRA_FORMAT_MTX_ROWNET 2 /* Matrix Market: rows are hyperedges, columns vertices */
#define HYPRA_FORMAT_PATOH 3      /* "base cells nets pins [scheme [constraints]]", nets, weights */

/* A hypergraph in the arrays every entry point takes; filled by HYPRA_ReadHypergraph, released
   by HYPRA_FreeHypergraph. */
typedef struct HYPRA_Hypergraph {
  int nvtxs;
  int nhedges;
  int *eptr;   /* nhedges + 1 offsets into eind */
  int *eind;   /* eptr[nhedges] pins, 0-based vertices */
  int *vwgts;  /* nvtxs vertex weights, or NULL for unit weights */
  int *hewgts; /* nhedges hyperedge weights, or NULL for unit weights */
} HYPRA_Hypergraph;

/* Reads a hypergraph file, held strictly to its format (see README): any problem returns
   HYPRA_ERROR_INPUT with the file and line in HYPRA_LastError, and leaves out empty. */
HYPRA_API int HYPRA_ReadHypergraph(const char *path, int format, HYPRA_Hypergraph *out);
/* Releases what HYPRA_ReadHypergraph filled in and empties the record; harmless when empty. */
HYPRA_API void HYPRA_FreeHypergraph(HYPRA_Hypergraph *h);

/* Quality of a partition: the cut (weight of hyperedges touching two or more parts), the sum of
   external degrees (each cut hyperedge once per part it touches), connectivity - 1 (each
   hyperedge's weight times the parts it touches less one), the total and heaviest part weight,
   and the imbalance, heaviest part / ceil(total / nparts) - 1. */
typedef struct HYPRA_Metrics {
  long long cut;
  long long soed;
  long long km1;
  long long total_weight;
  long long max_part_weight;
  double imbalance;
} HYPRA_Metrics;

/* Computes the metrics of part (nvtxs parts in 0..nparts-1); part_weights, when not NULL,
   receives the nparts part weights. HYPRA_ERROR_ARGS for a part out of range or a malformed
   hypergraph. */
HYPRA_API int HYPRA_ComputeMetrics(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                                   const int *eind, const int *hewgts, int nparts, const int *part,
                                   long long *part_weights, HYPRA_Metrics *metrics);

#ifdef __cplusplus
}
#endif

#endif /* HYPRA_H */
