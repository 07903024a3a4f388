// The pieces of the tunable program that scripts depend on: its command line, checked as a whole
// before any file is read, its exit statuses, its report for scripts and its progress line.
#pragma once

#include "core/core.h"

namespace hypra {

// Exit statuses: 0 for a finished run, kExitFailure for a bad input file, an output that cannot be
// written or a bound that cannot be met, kExitUsage for a bad command line.
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

struct AdvancedArgs {
  const char *program = "hypra-advanced";
  const char *graphfile = nullptr;
  const char *fixfile = nullptr;
  const char *outfile = nullptr;
  const char *jsonfile = nullptr;
  int format = -1;  // a format code of io/io.h, or -1 to choose by the file's extension
  int nparts = 0;
  int ubfactor = 5;
  double imbalance = 0;  // 0: balance by ubfactor; else every part at most (1 + it) x ceil(W/k)
  int runs = 10, ctype = 1, rtype = 1, vcycle = 1, reconst = 0, dbglvl = 8;
  bool runs_given = false;  // --runs was given (the quality preset has its own default)
  bool seeded = false;
  int seed = -1;
  bool kway = false;
  bool quality = false;  // --preset quality
  int threads = 0;       // 0: the serial run
  int progress = 0;      // 1: --progress; the line is also shown when standard error is a terminal
};

// Whether the run takes the direct k-way path (--kway).
bool UsesDirectPath(const AdvancedArgs &a);

// Runs per bisection of the quality preset for k parts when --runs is not given. Measured on the
// ISPD98 circuits, a few runs and k-way FM after the recursion cut less than ten runs without
// it, in a fraction of the time; with few parts the recursion is short and the runs are cheap,
// so they get more of them. A single bisection gets four: with its weighted rating and the flows
// on its V-cycles' levels they cut about 1 % less than the default ten runs in less time.
inline int QualityRuns(int nparts) {
  return nparts <= 4 ? 4 : nparts <= 8 ? 3 : 2;
}

// Reads the command line and checks every value against its range, so that a mistake ends the
// program before any file is read: a message and the usage on standard error, status kExitUsage.
// --help and --version print to standard output and end with status 0.
AdvancedArgs ParseAdvancedArguments(int argc, char *argv[]);

// What a finished run reports beside the partition itself.
struct RunFigures {
  int nvtxs, nhedges;
  long long npins;
  const char *format;  // the format's name
  PartitionMetrics metrics;
  const long long *pwgts;  // nparts part weights
  long long bound;         // the heaviest a part may weigh under --imbalance, else 0
  double cpu_seconds, wall_seconds;
};

// Prints connectivity - 1 and the achieved imbalance below the quality summary.
void PrintExtraFigures(const AdvancedArgs &args, const RunFigures &figures);

// Writes the run as one JSON object to args.jsonfile (complete or not at all); a file that cannot
// be written ends the program with status kExitFailure.
void WriteJsonReport(const AdvancedArgs &args, const RunFigures &figures);

// A progress line on standard error, updated in place: steps done of total (bisections, or
// trials of the direct path) and the time since the start. Safe to call from any thread.
struct ProgressLine;
ProgressLine *StartProgressLine(const char *what);
void ReportProgressLine(void *line, int done, int total);
// Ends the line (it is cleared when shown on a terminal) and releases it; null is allowed.
void EndProgressLine(ProgressLine *line);

}  // namespace hypra
