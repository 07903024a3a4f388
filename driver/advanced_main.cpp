// The tunable command-line partitioner for scripts: the same report as `hypra` and every entry of
// the options vector on a flag, plus the balance users state (--imbalance), the sparse-matrix
// formats, strict input, exit statuses that tell failure from success, a JSON report and a
// progress line.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/core.h"
#include "driver/advanced.h"
#include "driver/driver.h"
#include "driver/driver_internal.h"
#include "io/io.h"
#include "partition/hypra.h"
#include "partition/partition.h"

using namespace hypra;

namespace {

[[noreturn]] void Fail(const char *program, const char *message) {
  std::fprintf(stderr, "%s: %s\n", program, message);
  std::fflush(stdout);
  std::exit(kExitFailure);
}

// Finds out before any work is done whether the output files can be written: the chosen
// partition file (or the default name next to the hypergraph) and the JSON report.
void CheckOutputs(const AdvancedArgs &a) {
  char defaultname[4200];
  const char *path = a.outfile;
  if (path == nullptr) {
    std::snprintf(defaultname, sizeof(defaultname), "%s.part.%d", a.graphfile, a.nparts);
    path = defaultname;
  }
  const struct {
    const char *what, *path;
  } targets[] = {{"the partition file", path}, {"the JSON report", a.jsonfile}};
  for (const auto &target : targets) {
    if (target.path == nullptr) continue;
    const int err = CheckOutputTarget(target.path);
    if (err == 0) continue;
    std::fprintf(stderr, "%s: cannot write %s %s: %s\n", a.program, target.what, target.path,
                 std::strerror(err));
    std::exit(kExitFailure);
  }
}

// The hypergraph in arrays and the part vector (the fixed parts when a fix file is given).
struct Input {
  HypergraphArrays arrays;
  int format;
  std::vector<int> part;
  double io_time;
};

void ReadInput(const AdvancedArgs &a, Input *in) {
  const double start = seconds__();
  in->format = a.format >= 0 ? a.format : FormatFromPath(a.graphfile);
  IoError err;
  if (ReadHypergraphFile(a.graphfile, in->format, &in->arrays, &err) != 0)
    Fail(a.program, err.message);
  const int nvtxs = in->arrays.nvtxs;
  if (a.nparts > nvtxs) {
    char message[4400];
    std::snprintf(message, sizeof(message), "%s has %d vertices, fewer than the %d parts asked for",
                  a.graphfile, nvtxs, a.nparts);
    Fail(a.program, message);
  }
  in->part.assign(static_cast<size_t>(nvtxs), 0);
  if (a.fixfile != nullptr && ReadFixFile(a.fixfile, nvtxs, a.nparts, in->part.data(), &err) != 0)
    Fail(a.program, err.message);
  in->io_time = seconds__() - start;
}

long long VertexWeight(const HypergraphArrays &h, int v) {
  return h.cellwgt == nullptr ? 1 : h.cellwgt[v];
}

// A bound no partition can meet is reported before any work: a vertex heavier than the bound, or
// more fixed weight in one part than it.
void CheckBoundFeasible(const AdvancedArgs &a, const Input &in, long long bound) {
  const HypergraphArrays &h = in.arrays;
  std::vector<long long> fixed(static_cast<size_t>(a.nparts), 0);
  char message[512];
  for (int v = 0; v < h.nvtxs; v++) {
    if (VertexWeight(h, v) > bound) {
      std::snprintf(message, sizeof(message),
                    "the imbalance bound %g cannot be met: vertex %d weighs %lld, more than the "
                    "%lld a part may weigh",
                    a.imbalance, v + 1, VertexWeight(h, v), bound);
      Fail(a.program, message);
    }
    if (a.fixfile != nullptr && in.part[v] >= 0) fixed[in.part[v]] += VertexWeight(h, v);
  }
  for (int p = 0; p < a.nparts; p++) {
    if (fixed[p] <= bound) continue;
    std::snprintf(message, sizeof(message),
                  "the imbalance bound %g cannot be met: the vertices fixed to part %d weigh "
                  "%lld, more than the %lld a part may weigh",
                  a.imbalance, p, fixed[p], bound);
    Fail(a.program, message);
  }
}

long long TotalWeight(const HypergraphArrays &h) {
  long long total = 0;
  for (int v = 0; v < h.nvtxs; v++) total += VertexWeight(h, v);
  return total;
}

bool ShowProgress(const AdvancedArgs &a) {
  return a.progress != 0 || isatty(STDERR_FILENO);
}

int Partition(const AdvancedArgs &a, const Input &in, int *part, ProgressLine *progress) {
  const HypergraphArrays &h = in.arrays;
  HYPRA_Params params;
  HYPRA_DefaultParams(&params);
  params.method = UsesDirectPath(a) ? HYPRA_DIRECT : HYPRA_RECURSIVE;
  params.preset = a.quality ? HYPRA_PRESET_QUALITY : HYPRA_PRESET_DEFAULT;
  params.nparts = a.nparts;
  params.ubfactor = a.ubfactor;
  params.runs = a.runs;
  params.ctype = a.ctype;
  params.rtype = a.rtype;
  params.vcycle = a.vcycle;
  params.reconst = a.reconst;
  params.seed = a.seed;
  params.fixed = a.fixfile != nullptr ? part : nullptr;
  params.threads = a.threads;
  params.dbglvl = a.dbglvl;
  params.imbalance = a.imbalance;
  if (progress != nullptr) {
    params.progress = ReportProgressLine;
    params.progress_data = progress;
  }
  int objective = 0;
  return HYPRA_Partition(h.nvtxs, h.nhedges, h.cellwgt, h.netptr, h.netind, h.netwgt, &params, part,
                         &objective);
}

void PrintHeader(const AdvancedArgs &a, const HypergraphArrays &h, long long bound) {
  HGraph sizes{};
  sizes.nvtxs = h.nvtxs;
  sizes.nhedges = h.nhedges;
  const int options[9] = {
      1,      a.runs,  a.ctype, a.rtype, a.vcycle, a.reconst, a.fixfile != nullptr ? 1 : 0,
      a.seed, a.dbglvl};
  const int mode = UsesDirectPath(a) ? 2 : 1;
  // The quality preset names the method it used.
  char note[256];
  const int attempts = QualityAttempts__(a.nparts, a.ctype);
  if (a.kway)
    std::snprintf(note, sizeof(note),
                  "Preset: quality: direct k-way partitioning, k-way FM on every level");
  else if (attempts > 1)
    std::snprintf(note, sizeof(note),
                  "Preset: quality: recursive bisection (%d runs each), then k-way refinement "
                  "with k-way FM; %d attempts at the recursion, %d of them coarsening within "
                  "communities, the lowest cuts refined",
                  a.runs, attempts, attempts - 1);
  else
    std::snprintf(note, sizeof(note),
                  "Preset: quality: recursive bisection (%d runs each), then k-way refinement "
                  "with k-way FM",
                  a.runs);
  const char *shown = a.quality ? note : nullptr;
  if (a.imbalance > 0)
    PrintInfoWithBound(&sizes, a.nparts, a.imbalance, bound, options, a.graphfile, mode, shown);
  else
    PrintInfo(&sizes, a.nparts, a.ubfactor, options, a.graphfile, mode, shown);
}

}  // namespace

int main(int argc, char *argv[]) {
  // A script must be able to tell a failed run from a finished one.
  SetFatalExitStatus__(kExitFailure);
  InstallOutOfMemoryHandler__();
  const AdvancedArgs args = ParseAdvancedArguments(argc, argv);
  CheckOutputs(args);

  Input in;
  ReadInput(args, &in);
  const HypergraphArrays &h = in.arrays;
  const long long bound =
      args.imbalance > 0 ? PartWeightBound__(TotalWeight(h), args.nparts, args.imbalance) : 0;
  if (args.imbalance > 0) CheckBoundFeasible(args, in, bound);

  // Pinning the clock makes the clock-seeded inner bisections of the direct k-way path draw the
  // same numbers on every run with this seed.
  if (args.seeded) SetClockOverride__(args.seed);
  PrintHeader(args, h, bound);
  std::fflush(stdout);

  ProgressLine *progress =
      ShowProgress(args) ? StartProgressLine(UsesDirectPath(args) ? "trials" : "runs") : nullptr;
  const double cpu_start = seconds__();
  const auto wall_start = std::chrono::steady_clock::now();
  const int status = Partition(args, in, in.part.data(), progress);
  const double cpu = seconds__() - cpu_start;
  const double wall =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - wall_start).count();
  EndProgressLine(progress);
  if (status == HYPRA_ERROR_BALANCE) {
    char message[256];
    std::snprintf(message, sizeof(message),
                  "the imbalance bound %g cannot be met: no partition found keeps every part at "
                  "most %lld",
                  args.imbalance, bound);
    Fail(args.program, message);
  }
  // Memory run out, or a limit of the engine reached: the library says which.
  if (status != HYPRA_OK) Fail(args.program, HYPRA_LastError());

  std::vector<long long> pwgts(static_cast<size_t>(args.nparts));
  RunFigures figures{};
  figures.nvtxs = h.nvtxs;
  figures.nhedges = h.nhedges;
  figures.npins = h.netptr[h.nhedges];
  figures.format = FormatName(in.format);
  figures.pwgts = pwgts.data();
  figures.bound = bound;
  figures.cpu_seconds = cpu;
  figures.wall_seconds = wall;
  ComputePartitionMetrics__(h.nvtxs, h.nhedges, h.cellwgt, h.netptr, h.netind, h.netwgt,
                            args.nparts, in.part.data(), pwgts.data(), &figures.metrics);

  const double io_time = in.io_time + WriteRunPartition(h.nvtxs, in.part.data(), args.graphfile,
                                                        args.outfile, kExitFailure);
  PrintPartStatistics(h.nvtxs, h.nhedges, args.nparts, h.netptr, h.netind, h.netwgt, h.cellwgt,
                      in.part.data());
  PrintExtraFigures(args, figures);
  PrintTimingBlock(cpu, io_time, args.threads > 0 ? wall : -1.0, args.threads);
  if (args.jsonfile != nullptr) WriteJsonReport(args, figures);
  FreeHypergraphArrays(&in.arrays);
  return 0;
}
