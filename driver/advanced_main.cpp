// The tunable command-line partitioner: the same files and report as `hypra`, with every entry of
// the options vector on a flag, a seed that makes whole runs reproducible, the direct k-way path
// and a chosen partition file name.
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/core.h"
#include "driver/driver.h"
#include "driver/driver_internal.h"
#include "io/io.h"
#include "partition/hypra.h"

using namespace hypra;

namespace {

constexpr int kUsageError = 2;
// A partition file that cannot be written is an error of the run, reported by the exit status.
constexpr int kOutputError = 1;

void PrintUsage(FILE *out, const char *program) {
  std::fprintf(out,
               "Usage: %s GraphFile Nparts UBfactor [--fix FILE] [--runs N] [--ctype C] "
               "[--rtype R]\n"
               "       [--vcycle V] [--reconst] [--seed S] [--dbglvl D] [--kway] [--out FILE]\n"
               "       [--threads N]\n",
               program);
  std::fprintf(out, "Where:\n");
  std::fprintf(out, " GraphFile   : name of the hypergraph file\n");
  std::fprintf(out, " Nparts      : number of partitions desired\n");
  std::fprintf(out,
               " UBfactor    : balance, 1 to 49 (5 allows a 45-55 bisection; with --kway a part "
               "may weigh 1.05 x the average)\n");
  std::fprintf(out,
               " --fix FILE  : pre-assignment of vertices to partitions (-1 = free); not with "
               "--kway\n");
  std::fprintf(out, " --runs N    : multilevel runs per bisection, or trials with --kway (10)\n");
  std::fprintf(out, " --ctype C   : coarsening, 1 HFC, 2 FC, 3 GFC, 4 HEDGE, 5 EDGE (1)\n");
  std::fprintf(out,
               " --rtype R   : refinement, 1 FM, 2 1WayFM, 3 EEFM; with --kway the objective, "
               "1 cut, 2 SOED (1)\n");
  std::fprintf(out,
               " --vcycle V  : 0 none, 1 on the best runs at the end, 2 for each new minimum, 3 "
               "always (1)\n");
  std::fprintf(out,
               " --reconst   : keep cut hyperedges, restricted to each side, when splitting\n");
  std::fprintf(out, " --seed S    : random seed; the same seed repeats the same run (clock)\n");
  std::fprintf(out, " --dbglvl D  : bit mask of diagnostic output (8)\n");
  std::fprintf(out, " --kway      : partition directly into Nparts parts instead of bisecting\n");
  std::fprintf(out,
               " --out FILE  : write the partition to FILE instead of GraphFile.part.Nparts\n");
  std::fprintf(out,
               " --threads N : parallel mode on N threads: the same result for every N (and a\n"
               "               different one from the run without --threads)\n");
  std::fprintf(out, " --help      : print this text\n");
}

[[noreturn]] void UsageError(const char *program, const char *format, const char *what) {
  std::fprintf(stderr, "%s: ", program);
  std::fprintf(stderr, format, what);
  std::fprintf(stderr, "\n");
  PrintUsage(stderr, program);
  std::exit(kUsageError);
}

int ParseInt(const char *program, const char *name, const char *text) {
  char *end = nullptr;
  errno = 0;
  const long value = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || errno == ERANGE || value < INT_MIN || value > INT_MAX) {
    std::fprintf(stderr, "%s: %s expects an integer, got '%s'\n", program, name, text);
    PrintUsage(stderr, program);
    std::exit(kUsageError);
  }
  return static_cast<int>(value);
}

struct Arguments {
  const char *graphfile = nullptr;
  const char *fixfile = nullptr;
  const char *outfile = nullptr;
  int nparts = 0;
  int ubfactor = 0;
  int runs = 10, ctype = 1, rtype = 1, vcycle = 1, reconst = 0, dbglvl = 8;
  bool seeded = false;
  int seed = -1;
  bool kway = false;
  int threads = 0;  // 0: the serial run
};

Arguments ParseArguments(int argc, char *argv[]) {
  const char *program = argv[0];
  Arguments a;
  const char *positional[3];
  int npositional = 0;
  for (int i = 1; i < argc; i++) {
    const char *arg = argv[i];
    if (std::strncmp(arg, "--", 2) != 0 || arg[2] == '\0') {
      if (npositional == 3) UsageError(program, "unexpected argument '%s'", arg);
      positional[npositional++] = arg;
      continue;
    }
    if (std::strcmp(arg, "--help") == 0) {
      PrintUsage(stdout, program);
      std::exit(0);
    }
    if (std::strcmp(arg, "--reconst") == 0) {
      a.reconst = 1;
      continue;
    }
    if (std::strcmp(arg, "--kway") == 0) {
      a.kway = true;
      continue;
    }
    static const char *const kWithValue[] = {"--fix",    "--runs",   "--ctype",
                                             "--rtype",  "--vcycle", "--seed",
                                             "--dbglvl", "--out",    "--threads"};
    bool known = false;
    for (const char *flag : kWithValue) known = known || std::strcmp(arg, flag) == 0;
    if (!known) UsageError(program, "unknown option '%s'", arg);
    if (i + 1 >= argc) UsageError(program, "option '%s' needs a value", arg);
    const char *value = argv[++i];
    if (std::strcmp(arg, "--fix") == 0) {
      a.fixfile = value;
    } else if (std::strcmp(arg, "--out") == 0) {
      a.outfile = value;
    } else if (std::strcmp(arg, "--runs") == 0) {
      a.runs = ParseInt(program, arg, value);
    } else if (std::strcmp(arg, "--ctype") == 0) {
      a.ctype = ParseInt(program, arg, value);
    } else if (std::strcmp(arg, "--rtype") == 0) {
      a.rtype = ParseInt(program, arg, value);
    } else if (std::strcmp(arg, "--vcycle") == 0) {
      a.vcycle = ParseInt(program, arg, value);
    } else if (std::strcmp(arg, "--dbglvl") == 0) {
      a.dbglvl = ParseInt(program, arg, value);
    } else if (std::strcmp(arg, "--threads") == 0) {
      a.threads = ParseInt(program, arg, value);
      if (a.threads < 1 || a.threads > 4096)
        UsageError(program, "--threads should be between 1 and 4096, not %s", value);
    } else {
      a.seed = ParseInt(program, arg, value);
      a.seeded = true;
    }
  }
  if (npositional != 3) {
    std::fprintf(stderr, "%s: expected GraphFile, Nparts and UBfactor, got %d of them\n", program,
                 npositional);
    PrintUsage(stderr, program);
    std::exit(kUsageError);
  }
  // The direct k-way path has two objectives; any other refinement code would end the run at
  // the first level it refines, or report no objective at all when there is none to refine.
  if (a.kway && (a.rtype < 1 || a.rtype > 2)) {
    std::fprintf(stderr, "%s: with --kway, --rtype is 1 (cut) or 2 (SOED), got %d\n", program,
                 a.rtype);
    PrintUsage(stderr, program);
    std::exit(kUsageError);
  }
  a.graphfile = positional[0];
  a.nparts = ParseInt(program, "Nparts", positional[1]);
  a.ubfactor = ParseInt(program, "UBfactor", positional[2]);
  return a;
}

// Finds out before any work is done whether the partition file can be written: the chosen file,
// or the default name in the hypergraph file's folder.
void CheckOutput(const char *program, const Arguments &a) {
  char defaultname[4200];
  const char *path = a.outfile;
  if (path == nullptr) {
    std::snprintf(defaultname, sizeof(defaultname), "%s.part.%d", a.graphfile, a.nparts);
    path = defaultname;
  }
  const int err = CheckOutputTarget(path);
  if (err == 0) return;
  std::fprintf(stderr, "%s: cannot write the partition file %s: %s\n", program, path,
               std::strerror(err));
  std::exit(kOutputError);
}

// The parallel mode through the parameters record; `part` holds the fixed parts on entry when a
// fix file was read.
void PartitionInParallel(const Arguments &args, const HGraph *graph, int *part, int *objective) {
  HYPRA_Params params;
  HYPRA_DefaultParams(&params);
  params.method = args.kway ? HYPRA_DIRECT : HYPRA_RECURSIVE;
  params.nparts = args.nparts;
  params.ubfactor = args.ubfactor;
  params.runs = args.runs;
  params.ctype = args.ctype;
  params.rtype = args.rtype;
  params.vcycle = args.vcycle;
  params.reconst = args.reconst;
  params.seed = args.seed;
  params.fixed = args.fixfile != nullptr ? part : nullptr;
  params.threads = args.threads;
  params.dbglvl = args.dbglvl;
  HYPRA_Partition(graph->nvtxs, graph->nhedges, graph->cellwgt, graph->netptr, graph->netind,
                  graph->netwgt, &params, part, objective);
}

}  // namespace

int main(int argc, char *argv[]) {
  const Arguments args = ParseArguments(argc, argv);
  CheckOutput(argv[0], args);
  const char *graphfile = args.graphfile;
  const int nparts = args.nparts, ubfactor = args.ubfactor;

  // Pinning the clock makes the clock-seeded inner bisections of the direct k-way path draw the
  // same numbers on every run with this seed.
  if (args.seeded) SetClockOverride__(args.seed);
  const int options[9] = {1,
                          args.runs,
                          args.ctype,
                          args.rtype,
                          args.vcycle,
                          args.reconst,
                          args.fixfile != nullptr ? 1 : 0,
                          args.seed,
                          args.dbglvl};

  RunInput in;
  // Weights and fix-file entries must be whole integers here; hypra reads them as far as they go.
  ReadRunInput(graphfile, args.fixfile, nparts, 1, &in);
  HGraph *graph = in.graph;
  const int nvtxs = graph->nvtxs;

  PrintInfo(graph, nparts, ubfactor, options, graphfile, args.kway ? 2 : 1);

  int objective = 0;
  const double part_time = -seconds__();
  const auto wall_start = std::chrono::steady_clock::now();
  if (args.threads > 0)
    PartitionInParallel(args, graph, in.part, &objective);
  else if (args.kway)
    HYPRA_PartKway(nvtxs, graph->nhedges, graph->cellwgt, graph->netptr, graph->netind,
                   graph->netwgt, nparts, ubfactor, options, in.part, &objective);
  else
    HYPRA_PartRecursive(nvtxs, graph->nhedges, graph->cellwgt, graph->netptr, graph->netind,
                        graph->netwgt, nparts, ubfactor, options, in.part, &objective);
  const double end_part = seconds__();
  const double wall =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - wall_start).count();

  FinishRun(&in, nparts, graphfile, args.outfile, end_part + part_time, kOutputError,
            args.threads > 0 ? wall : -1.0, args.threads);
  return 0;
}
